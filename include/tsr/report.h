// The one error report: a body that meets an error condition stores its default result
// and hands the interpreter both operands, the result cell and the condition's code.
#pragma once
#include "tsr/types.h"

extern "C" {
void __libm_error_support(const void *arg1, const void *arg2, void *result,
                          int code) TSR_HIDDEN;
// The same for callers holding values rather than cells; they return the result cell.
double __libm_error_support_wrapper_x64(double result, double arg1, double arg2,
                                        int code) TSR_HIDDEN;
float __libm_error_support_wrapper_x64f(float result, float arg1, float arg2,
                                        int code) TSR_HIDDEN;
void __libm128_error_support(const void *arg1, const void *arg2, void *result,
                             int code) TSR_HIDDEN;
// Copies `count` 16-bit words forward, one at a time (overlap gives the forward result).
void __libm_copy_value(void *dst, const void *src, int count) TSR_HIDDEN;

// The binding to the C runtime: errno of the calling thread and standard error.
void __libm_dynamic_RT_init(void) TSR_HIDDEN;
void __libm_dynamic_RT_set_errno(int value) TSR_HIDDEN;
void __libm_dynamic_RT_stderr_puts(const char *text) TSR_HIDDEN;

// Test hook: when set, every report first passes its code here.
extern void (*__libm_error_observer)(int code) TSR_HIDDEN;
}

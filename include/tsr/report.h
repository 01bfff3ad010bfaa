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

#include <type_traits>

namespace tsr {
namespace {
// The one report of a body: the default result and both operands go to the interpreter with
// the condition's code, and what it leaves in the result cell is the function's result.
// Tier e7 hands double and float values to the interpreter's register wrappers; every other
// tier and format hands cells.
template <class T>
inline T report(T arg1, T arg2, T result, int code) {
#if TSR_TIER_E7
    if constexpr (std::is_same_v<T, double>)
        return __libm_error_support_wrapper_x64(result, arg1, arg2, code);
    if constexpr (std::is_same_v<T, float>)
        return __libm_error_support_wrapper_x64f(result, arg1, arg2, code);
#endif
    T r = result;
    __libm_error_support(&arg1, &arg2, &r, code);
    return r;
}
// A function of one operand hands it as both.
template <class T>
inline T report(T arg, T result, int code) {
    return report(arg, arg, result, code);
}
}  // namespace
}  // namespace tsr

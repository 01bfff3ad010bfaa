// The one error report: a body that meets an error condition stores its default result
// and hands the interpreter both operands, the result cell and the condition's code.
#pragma once
#include "tsr/types.h"

extern "C" void __libm_error_support(const void *arg1, const void *arg2, void *result,
                                     int code) TSR_HIDDEN;

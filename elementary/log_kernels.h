// Internal logarithm kernels for other families (not exported, not dispatched).
#pragma once
#include "tsr/types.h"

extern "C" {
// ln(hi + lo) as a head out[0] and a tail out[1], for the complex logarithms.
void __libm_log_k64(double hi, double lo, double out[2]) noexcept TSR_HIDDEN;
// ln x for positive finite x, to about 2^-35 relative, without any error path (float callers).
double __libm_log_k32(double x) noexcept TSR_HIDDEN;
}

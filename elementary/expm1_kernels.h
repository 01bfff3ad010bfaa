// The double e^x - 1 as a kernel for other families (not exported, not dispatched).
#pragma once
#include "tsr/types.h"

extern "C" {
// e^x - 1 rounded once in the caller's mode (below 0.55 ulp in round to nearest), for any x:
// NaN quieted, -1 for -inf, +inf with the overflow flag past ln(DBL_MAX); reports nothing.
double __libm_expm1_k(double x) noexcept TSR_HIDDEN;
}

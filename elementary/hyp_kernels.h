// The hyperbolic kernels that the complex functions build on: sinh x or cosh x as
// (r[0] + r[1])·2^n, n the value returned, r[0] a head formed exactly (the difference or sum
// of exact products) and r[1] the rest, below 2^-8 of r[0]; the pair is not renormalised.  They never report and never overflow: the scale is handed
// back, not applied.  For |x| >= 2^22 __libm_sinh_k64 gives r[0] = ±inf (x itself for an
// infinity or a NaN) and __libm_cosh_k64 gives (0, 0): the caller deals with such x.
#pragma once
#include "tsr/types.h"

extern "C" {
int __libm_sinh_k64(double x, double r[2]) noexcept TSR_HIDDEN;
int __libm_cosh_k64(double x, double r[2]) noexcept TSR_HIDDEN;
}

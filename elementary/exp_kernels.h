// The exponential kernels that the complex exponentials build on.  Each gives e^x, 2^x or
// 10^x as (out[0] + out[1])·2^scale, out[0] carrying the leading bits and out[1] a correction
// far below them; __libm_exp10_k64 renormalises, so that out[0] is the rounded sum.
// __libm_exp_k32 returns e^x as one double.
#pragma once
#include "tsr/types.h"

extern "C" {
void __libm_exp_k64(double x, int *scale, double out[2]) noexcept TSR_HIDDEN;
void __libm_exp2_k64(double x, int *scale, double out[2]) noexcept TSR_HIDDEN;
void __libm_exp10_k64(double x, int *scale, double out[2]) noexcept TSR_HIDDEN;
double __libm_exp_k32(double x) noexcept TSR_HIDDEN;
}

// The sine and cosine kernels and the reductions by a quarter period that the complex, Bessel
// and radian functions build on (internal names, compiled once).
//
// __libm_sincos_k64: sin x and cos x each as a head and a tail (head = the rounded sum);
// __libm_sincosln2_k64, __libm_sincosln10_k64: the same for the angle x·ln 2, x·ln 10;
// __libm_sincos_k32: sin and cos of x + n·pi/4 in double, for float callers;
// the reductions: see trig_reduce.cpp.
#pragma once
#include "tsr/types.h"

extern "C" {
void __libm_sincos_k64(double x, double s[2], double c[2]) noexcept TSR_HIDDEN;
void __libm_sincosln2_k64(double x, double s[2], double c[2]) noexcept TSR_HIDDEN;
void __libm_sincosln10_k64(double x, double s[2], double c[2]) noexcept TSR_HIDDEN;
void __libm_sincos_k32(double x, double *s, double *c, int n) noexcept TSR_HIDDEN;
int __libm_reduce_pio2d(double x, double y[2]) noexcept TSR_HIDDEN;
int __libm_reduce_pio2ln2(double x, double y[2]) noexcept TSR_HIDDEN;
int __libm_reduce_pio2ln10(double x, double y[2]) noexcept TSR_HIDDEN;
int __libm_reduce_pi04d(double x, double *y, int n) noexcept TSR_HIDDEN;
}

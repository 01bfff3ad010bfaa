// The sine and cosine kernel that the complex functions build on.
// __libm_sincos_k64: sin x and cos x each as a head and a tail (head = the rounded sum).
#pragma once
#include "tsr/types.h"

extern "C" {
void __libm_sincos_k64(double x, double s[2], double c[2]) noexcept TSR_HIDDEN;
}

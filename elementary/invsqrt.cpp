// 1/sqrt(x) in double and single precision.
//
// Double: the square root and the division in 80-bit arithmetic with a 64-bit significand
// (the x87 precision field forced to extended for the computation when it is not, the
// caller's word back afterwards), rounded once to double at the store.  The 64-bit quotient
// is within half an ulp of 2^-11 double ulps, so the double result is within 0.5 + 2^-11 ulp.
// Everything follows the instructions: x < 0 is a NaN with invalid, +0 gives +inf and -0
// gives -inf with divide-by-zero, +inf gives +0, a NaN stays.  Nothing is reported.
//
// Single: the reciprocal first, in double (exact to 2^-53), then the double square root of
// it, rounded to single: under 0.5 + 2^-28 single ulp.
#include "elementary/roots_common.h"

using namespace tsr;
using namespace tsr::roots;

namespace {

inline double invsqrt_body(double x) {
    X87Precision pc;
    long double v = opaque((long double)x);
    asm("fsqrt" : "+t"(v));
    v = opaque(1.0L / v);
    return double(v);
}

inline float invsqrtf_body(float x) {
    uint32_t b = bits(x);
    if (b - 1 <= 0x7f7ffffeu) {  // positive, finite, not zero
        double y = 1.0 / double(x);
        return float(sqrt_insn(y));
    }
    if ((b & Format<float>::abs) > Format<float>::inf) return x * 1.0f;  // NaN
    if (b == Format<float>::inf) return 0.0f;
    if ((b & Format<float>::abs) == 0) return 1.0f / opaque(x);       // +-0: +-inf
    return 0.0f * opaque(Format<float>::from(Format<float>::inf));   // negative: invalid
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, invsqrt, (double x)) { return invsqrt_body(x); }
TSR_BODY(float, invsqrtf, (float x)) { return invsqrtf_body(x); }
// The reproducible names stand at the bodies themselves: nothing in them depends on the
// processor.
TSR_ALIAS(double, __bwr_invsqrt, (double), __libm_invsqrt_ex)
TSR_ALIAS(float, __bwr_invsqrtf, (float), __libm_invsqrtf_ex)
#endif

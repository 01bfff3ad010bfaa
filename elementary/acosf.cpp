// acosf and asinf, in double arithmetic.
//
// With S(t) = asin(t) - t = t (v A(v) + w B(v)), w = t^2, v = w^2 (relative error 2^-38 on
// |t| <= 1/2, tools/gen/invtrig_tables.py):
//   |x| <= 1/2:  asin x = x + S(x),             acos x = pi/2 - x - S(x);
//   |x| >  1/2:  t = sqrt((1 - |x|)/2) (1 - |x| exact),
//                asin x = ±(pi/2 - 2t - 2S(t)), acos x = 2t + 2S(t), or pi minus that for x < 0.
// Every step is in double, some 2^-50 relative, so one rounding to float gives the correctly
// rounded result but within 2^-26 ulp of a midpoint.  Tiers ex and e7 evaluate the two chains
// of S as written.
//
// Tier l9: one polynomial for both halves and no branch between them: asin(t) = t Q(t^2),
// relative error 2^-35.9 on |t| <= 1/2, taken on v = x^2 with the multiplier x below 1/2 and
// on v = (1 - |x|)/2 with the multiplier 2 sqrt(v) above; the result is one fused step
// K + m Q(v), K = 0, pi/2 or pi by the half and the sign, rounded to float.  The error of Q
// reaches the result at most doubled (asin just above 1/2, pi/2 - 2 sqrt(v) Q of half its
// size): some 2^-34, 2^-10 ulp of a float.
#include "elementary/invtrig_common.h"

using namespace tsr;
using namespace tsr::invtrig;

namespace {

// X(t) with asin(t) = t + t X(t): X = v A(v) + w B(v), each chain split in two halves joined
// by v^2 so that the fused tier's path is three multiply-adds deep after v^2.
template <bool Fma>
inline double asin_x(double t) {
    double w = t * t, v = w * w, v2 = v * v;
    const double *A = asinf_poly_a, *B = asinf_poly_b;
    double a = mul_add<Fma>(v2, mul_add<Fma>(A[3], v, A[2]), mul_add<Fma>(A[1], v, A[0]));
    double b = mul_add<Fma>(v2, mul_add<Fma>(B[3], v, B[2]), mul_add<Fma>(B[1], v, B[0]));
    return mul_add<Fma>(v, a, w * b);
}
// asin(t) = t + t X(t), one fused step in the fused tier.
template <bool Fma>
inline double asin_d(double t) {
    return mul_add<Fma>(t, asin_x<Fma>(t), t);
}

#if TSR_TIER_L9
// Q(v) in two lanes joined by v^4, three fused steps deep after v^2.
inline double asin_q(double v) {
    const double *c = asinf_q;
    double v2 = v * v;
    double a = __builtin_fma(__builtin_fma(c[3], v, c[2]), v2, __builtin_fma(c[1], v, c[0]));
    double b = __builtin_fma(__builtin_fma(c[7], v, c[6]), v2, __builtin_fma(c[5], v, c[4]));
    return __builtin_fma(v2 * v2, b, a);
}

template <bool Acos>
inline float arcf_blend(float x) {
    uint32_t b = bits(x) & 0x7fffffffu;
    if (__builtin_expect(b - 0x39800000u < 0x3f800000u - 0x39800000u, 1)) {  // 2^-12 <= |x| < 1
        double u = x;
        bool upper = b > 0x3f000000u, neg = u < 0;
        double vu = __builtin_fma(-0.5, neg ? -u : u, 0.5);  // (1 - |x|)/2, exact
        double r2 = 2.0 * __builtin_sqrt(vu);
        double v = upper ? vu : u * u;
        double m, K;
        if constexpr (Acos) {
            m = upper ? (neg ? -r2 : r2) : -u;
            K = upper ? (neg ? kPiHi : 0.0) : kPio2Hi;
        } else {
            m = upper ? (neg ? r2 : -r2) : u;
            K = upper ? (neg ? -kPio2Hi : kPio2Hi) : 0.0;
        }
        return float(__builtin_fma(m, asin_q(v), K));
    }
    if (b < 0x39800000u) {
        double u = x;
        if (Acos) return float(kPio2Hi - u);
        if (b != 0 && b < 0x00800000u) raise_underflow();  // the conversion below is exact
        return float(u + u * 0x1p-60);  // asin x = x (1 + x^2/6 ...)
    }
    if (b == 0x3f800000u) {
        if (Acos) return x < 0 ? float(kPiHi) : 0.0f;
        return float(x < 0 ? -kPio2Hi : kPio2Hi);
    }
    if (b > 0x7f800000u) return x + x;
    float nan = opaque(0.0f) * opaque(__builtin_inff());
    return report(x, nan, Acos ? code::acosf_magnitude_above_1 : code::asinf_magnitude_above_1);
}
#endif

template <bool Fma, bool Acos>
inline float arcf(float x) {
    uint32_t b = bits(x) & 0x7fffffffu;
    double u = x;
    if (b <= 0x3f000000u) {  // |x| <= 1/2
        if (Acos) {
            if (b < 0x32000000u) return float(kPio2Hi - u);  // |x| < 2^-27
            return float(kPio2Hi - asin_d<Fma>(u));
        }
        if (b < 0x39800000u) {  // |x| < 2^-12: asin x = x (1 + x^2/6 ...)
            if (b != 0 && b < 0x00800000u) raise_underflow();  // the conversion below is exact
            return float(u + u * 0x1p-60);
        }
        return float(asin_d<Fma>(u));
    }
    if (b < 0x3f800000u) {
        double t = __builtin_sqrt(0.5 - 0.5 * (u < 0 ? -u : u));
        double s = 2.0 * asin_d<Fma>(t);
        if (Acos) return float(u < 0 ? kPiHi - s : s);
        return float(u < 0 ? s - kPio2Hi : kPio2Hi - s);
    }
    if (b == 0x3f800000u) {
        if (Acos) return u < 0 ? float(kPiHi) : 0.0f;
        return float(u < 0 ? -kPio2Hi : kPio2Hi);
    }
    if (b > 0x7f800000u) return x + x;
    float nan = opaque(0.0f) * opaque(__builtin_inff());
    return report(x, nan, Acos ? code::acosf_magnitude_above_1 : code::asinf_magnitude_above_1);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(float, acosf, (float x)) { return arcf<false, true>(x); }
TSR_BODY(float, asinf, (float x)) { return arcf<false, false>(x); }
// The reproducible forms: copies of the ex bodies.
TSR_DEFINE(float, __bwr_acosf, (float x)) { return arcf<false, true>(x); }
TSR_DEFINE(float, __bwr_asinf, (float x)) { return arcf<false, false>(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(float, acosf, (float x)) { return arcf<false, true>(x); }
TSR_BODY(float, asinf, (float x)) { return arcf<false, false>(x); }
#endif
#if TSR_TIER_L9
TSR_BODY(float, acosf, (float x)) { return arcf_blend<true>(x); }
TSR_BODY(float, asinf, (float x)) { return arcf_blend<false>(x); }
#endif

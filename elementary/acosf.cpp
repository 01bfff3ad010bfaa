// acosf and asinf, in double arithmetic.
//
// With S(t) = asin(t) - t = t (v A(v) + w B(v)), w = t^2, v = w^2 (relative error 2^-38 on
// |t| <= 1/2, tools/gen/invtrig_tables.py):
//   |x| <= 1/2:  asin x = x + S(x),             acos x = pi/2 - x - S(x);
//   |x| >  1/2:  t = sqrt((1 - |x|)/2) (1 - |x| exact),
//                asin x = ±(pi/2 - 2t - 2S(t)), acos x = 2t + 2S(t), or pi minus that for x < 0.
// Every step is in double, some 2^-50 relative, so one rounding to float gives the correctly
// rounded result but within 2^-26 ulp of a midpoint.  Tier ex evaluates the two chains of S
// as written.
//
// Tier e7: a float grid of asin(c) and sqrt(1 - c^2) from 2^-6 to 0.9375 (and on to -1), the
// series of 2 asin(sqrt((1 - x)/2)) above, the series of x below (see asin_grid).
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

// The arcsine series' coefficients: 1/6, 3/40, 5/112, 35/1152.
[[maybe_unused]] constexpr double kSixth = 0x1.5555555555555p-3;
[[maybe_unused]] constexpr double kThreeFortieths = 0x1.3333333333333p-4;
[[maybe_unused]] constexpr double kFiveOver112 = 0x1.6db6db6db6db7p-5;
[[maybe_unused]] constexpr double kThirtyFiveOver1152 = 0x1.f1c71c71c71c7p-6;
// acosf at 1 and -1: 0 and pi, the latter rounded to float in the caller's mode.
[[maybe_unused]] constexpr double arcf_one[2] = {0.0, kPiHi};

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

#if TSR_TIER_E7
// The float grid: asin(x) = asin(c) + asin(d), d = sin(asin x - asin c) = x cc - c s, with
// cc = sqrt(1 - c^2) from the row and s = sqrt(1 - x^2) (x^2 exact in double).  c keeps
// k + 1 mantissa bits of x in the binade 2^(k-6), x rounded to the nearest grid point, so
// |x - c| <= 2^-8 and |d| <= 2^-6.4 up to 0.9375; for x < 0 the grid serves on to -1, where
// c = -1 (cc = 0) leaves |d| <= 0.089.  The series d + d^3/6 + 3 d^5/40 + 5 d^7/112 then
// leaves 35 d^9/1152, below 2^-37 of the result; the double steps add some 2^-51.
inline double asin_grid(double u, uint32_t b, uint32_t sign) {
    uint32_t o = b - 0x3c800000u;  // the bits above 2^-6
    uint32_t k = o >> 23;          // binade 2^(k-6), k + 1 mantissa bits
    uint32_t step = 0x800000u >> (k + 1);
    uint32_t r = (o + step / 2) & ~(step - 1);  // x rounded to the grid (may carry to the next binade)
    const ArcRow &row = arcf_rows[(2u << k) - 2 + ((r - (k << 23)) >> (22 - k))];
    // c and asin(c) signed as x by the bit, not by a branch (a random sign is not predictable)
    double c = double(f32((r + 0x3c800000u) | sign));
    double d = u * row.cc - c * __builtin_sqrt(1.0 - u * u);
    // d^3 (1/6 + 3 d^2/40 + 5 d^4/112), the cubic and the bracket side by side.
    double d2 = d * d, d3 = d * d2;
    double p = (kSixth + d2 * kThreeFortieths) + (d2 * d2) * kFiveOver112;
    return with_sign(row.asin_c, uint64_t(sign) << 32) + (d + d3 * p);
}

// 2 asin(m) for m = sqrt((1 - x)/2) <= 2^-2.5 (x >= 0.9375): the series to m^9, which leaves
// 63 m^11/2816, below 2^-30.4 of the result.
inline double twice_asin_small(double m) {
    double w = m * m;
    double p = w * (kSixth + w * (kThreeFortieths + w * (kFiveOver112 + w * kThirtyFiveOver1152)));
    return 2.0 * (m + m * p);
}

template <bool Acos>
inline float arcf_grid(float x) {
    uint32_t b = bits(x) & 0x7fffffffu;
    bool neg = bits(x) >> 31;  // by the bit: no comparison raises invalid on a NaN
    double u = x;
    // 2^-6 <= |x| < 0.9375, and x < 0 on to -1
    if (b - 0x3c800000u < 0x3f700000u - 0x3c800000u || (neg && b - 0x3f700000u < 0x3f800000u - 0x3f700000u)) {
        double a = asin_grid(u, b, bits(x) & 0x80000000u);
        return float(Acos ? kPio2Hi - a : a);
    }
    if (b < 0x3c800000u) {  // |x| < 2^-6
        if (Acos) {
            if (b < 0x39800000u) return float(kPio2Hi - u);  // x^3/6 below 2^-37
            return float(kPio2Hi - (u + u * u * u * kSixth));  // 3 x^5/40 below 2^-33.7
        }
        if (b < 0x39800000u) {  // asin x = x (1 + x^2/6 ...), x^2/6 < 2^-26.5
            if (b != 0 && b < 0x00800000u) raise_underflow();  // the conversion below is exact
            return float(u + u * 0x1p-60);
        }
        // Relative to x, 3 x^4/40 reaches 2^-27.7 (0.08 ulp) at 2^-6 and is kept; 5 x^6/112
        // stays below 2^-40.
        double w = u * u;
        return float(u + u * w * (kSixth + w * kThreeFortieths));
    }
    if (b < 0x3f800000u) {  // 0.9375 <= x < 1
        double s = twice_asin_small(__builtin_sqrt(0.5 - 0.5 * u));
        return float(Acos ? s : kPio2Hi - s);
    }
    if (b == 0x3f800000u) {  // 0 or the float pi, ±pi/2, from a two-row table (rounded in the mode)
        if (Acos) return float(arcf_one[neg]);
        return float(neg ? -kPio2Hi : kPio2Hi);
    }
    if (b > 0x7f800000u) return x + x;
    float nan = opaque(0.0f) * opaque(__builtin_inff());
    return report(x, nan, Acos ? code::acosf_magnitude_above_1 : code::asinf_magnitude_above_1);
}
#endif

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
TSR_BODY(float, acosf, (float x)) { return arcf_grid<true>(x); }
TSR_BODY(float, asinf, (float x)) { return arcf_grid<false>(x); }
#endif
#if TSR_TIER_L9
TSR_BODY(float, acosf, (float x)) { return arcf_blend<true>(x); }
TSR_BODY(float, asinf, (float x)) { return arcf_blend<false>(x); }
#endif

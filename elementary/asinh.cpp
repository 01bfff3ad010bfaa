// asinh in double and single precision: ln(|x| + sqrt(x^2 + 1)) with the sign of x.
//
// Double, tiers ex and e7 (and __bwr_asinh): by magnitude.  Above 2^28 the logarithm of
// 2|x|; from 4.75 on the argument is 2|x| + 1/(sqrt(x^2 + 1) + |x|) as a head and a tail;
// from 1/16 on |x| + sqrt(x^2 + 1) with the root corrected by its residual, computed from
// a 21-bit head of x whose square is exact; below, the odd series to x^11 (error below
// 2^-60 relative); next to the underflow threshold x less a tiny amount, for the flags.  The
// logarithm is the table core shared with acosh and atanh.
//
// Double, tiers l9, z0, d1: for 2^-4 < |x| < 2^28 the root comes from fused operations,
// with its residual fma(-s, s, v) and the rounding error of v = x^2 + 1, and a correction by
// the approximate reciprocal square root (12 bits are ample for a term 2^-53 of s); the
// fused logarithm core.  Elsewhere tier e7.
//
// Single: everything in double, rounded once.
#include "elementary/roots_common.h"

using namespace tsr;
using namespace tsr::roots;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
constexpr uint64_t kHigh = 0xffffffff00000000ull;
inline double cut32(double v) { return f64(bits(v) & kHigh); }

inline double asinh_series(double x) {
    double z = x * x, w = z * z;
    return x + ((((-0x1.6b3bd39a200c4p-6 * w - 0x1.6db6da7737564p-5) * w +
                  (0x1.f1c364a05dc8cp-6 * w + 0x1.333333331655ap-4) * z) -
                 0x1.5555555555542p-3) *
                (z * x));
}

inline double asinh_tiny(double x, uint32_t hx) {
    double sgn = f64((bits(x) & Format<double>::sign) | 0x0010000000000000ull);  // +-2^-1022
    if (hx >= 0x100000) return (x * 0x1p100 - sgn) * 0x1p-100;
    if ((bits(x) & Format<double>::abs) == 0) return x;
    double t = f64((bits(x) & Format<double>::sign) | 0x0170000000000000ull);  // +-2^-1000
    return x - t * 0x1p-1000;
}

// |x| in the band from 1/16 to 4.75: the pair xh + sh, xl + e.
inline double asinh_mid(double a) {
    double xh = cut32(a), xl = a - xh;
    double t = (a + xh) * (a - xh);
    double w = xh * xh + 1.0;
    double s = sqrt_insn(w + t);
    double sh = cut32(s), sl = s - sh;
    double e = (((t + ((w - sh * sh) - sh * sl)) / s) + sl) * 0.5;
    return log_pair_ex(xh + sh, xl + e);
}

inline double asinh_big(double a) {
    double two = 2.0 * a;
    double h = cut32(two);
    return log_pair_ex(h, (two - h) + 1.0 / (sqrt_insn(a * a + 1.0) + a));
}

inline double with_sign(double v, double x) { return f64(bits(v) | (bits(x) & Format<double>::sign)); }

inline double asinh_ex(double x) {
    uint32_t hx = hi(x) & 0x7fffffff;
    double a = f64(bits(x) & Format<double>::abs);
    if (hx >= 0x7ff00000) return x * 1.0;
    if (hx >= 0x41b00000) return with_sign(log_mant_ex(int(hx >> 20) - 0x3fe, a), x);
    if (hx >= 0x40130000) return with_sign(asinh_big(a), x);
    if (hx >= 0x3fb00000) return with_sign(asinh_mid(a), x);
    if (hx >= 0x3c600000) return asinh_series(x);
    return asinh_tiny(x, hx);
}

// Tier e7: the same bands, tested on the top 16 bits (the series reaches to the end of
// 0x3fb0xxxx, the middle band to the end of 0x4013xxxx).
inline double asinh_e7(double x) {
    uint32_t t = uint32_t(bits(x) >> 48) & 0x7fff;
    double a = f64(bits(x) & Format<double>::abs);
    if (t >= 0x7ff0) return x * 1.0;
    if (t <= 0x3fb0) {
        if (t <= 0x3c60) return asinh_tiny(x, hi(x) & 0x7fffffff);
        return asinh_series(x);
    }
    if (t >= 0x41b0) return with_sign(log_mant_ex(int(t >> 4) - 0x3fe, a), x);
    if (t <= 0x4013) return with_sign(asinh_mid(a), x);
    return with_sign(asinh_big(a), x);
}

inline float asinhf_ex(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b > 0x7f7fffff) return x * 1.0f;
    if (b > 0x3effffff) {
        double a = std::bit_cast<float>(b), y;
        int n;
        if (b < 0x47800000) {
            y = a + sqrt_insn(a * a + 1.0);
            n = int(bits(y) >> 52) - 1023;
        } else {
            y = a;
            n = int(bits(y) >> 52) - 1022;
        }
        float r = float(logf_core(n, y));
        return f32(bits(r) | (bits(x) & 0x80000000u));
    }
    if (b > 0x31ffffff) {
        double X = x, z = X * X, w = z * z;
        return float(((((0x1.3cb17d28ee596p-8 * w + 0x1.1287a9b9f611cp-6) * w + 0x1.f1aa4ac0cf195p-6) * w +
                       0x1.333331236cb49p-4) * w +
                      (((-0x1.74400d27f5e7dp-7 * w - 0x1.6d3074197b1ap-6) * w - 0x1.6db62dacdeacep-5) * w -
                       0x1.55555552ea1bdp-3) * z) * X + X);
    }
    if (b >= 0x800000) return (x * 0x1p100f - f32((bits(x) & 0x80000000u) | 0x00800000u)) * 0x1p-100f;
    if (b == 0) return x;
    return x - f32((bits(x) & 0x80000000u) | 0x0d800000u) * 0x1p-100f;
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double asinh_fma(double x) {
    uint64_t ab = bits(x) & Format<double>::abs;
    if (ab - 0x3fb0000000000001ull > 0x41afffffffffffffull - 0x3fb0000000000001ull)
        return __libm_asinh_e7_local(x);
    double a = f64(ab);
    double z = x * x, ez = fma(x, x, -z);
    double v = fma(x, x, 1.0);
    double s = sqrt_insn(v);
    double h = a + s;
    double M = z > 1.0 ? z : 1.0, m = z > 1.0 ? 1.0 : z;
    double ev = ez + (m - (v - M));
    double er = fma(-s, s, v) + ev;
    double corr = 0.5 * er * double(rsqrt_approx(float(v)));
    double l = ((s - h) + a) + corr;
    double r = log_fma(h, l, 0x1.62e42fefa4p-1, -0x1.8432a1b0e2634p-43);
    return f64(bits(r) | (bits(x) & Format<double>::sign));
}

inline float asinhf_fma(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    // Below 1/2 the series of tier e7: the core's polynomial error, 2^-41 absolute, would be
    // a fortieth of an ulp of results near 2^-12.
    if (b - 0x3f000000u > 0x7f7fffffu - 0x3f000000u) return __libm_asinhf_e7_local(x);
    double a = f32(b);
    double y = a + sqrt_insn(fma(a, a, 1.0));
    float r = float(logf_fma(int(bits(y) >> 52) - 1023, y));
    return f32(bits(r) | (bits(x) & 0x80000000u));
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, asinh, (double x)) { return asinh_ex(x); }
TSR_BODY(float, asinhf, (float x)) { return asinhf_ex(x); }
TSR_DEFINE(double, __bwr_asinh, (double x)) { return asinh_ex(x); }
TSR_DEFINE(float, __bwr_asinhf, (float x)) { return asinhf_ex(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, asinh, (double x)) { return asinh_e7(x); }
TSR_BODY(float, asinhf, (float x)) { return asinhf_ex(x); }
#endif
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, asinh, (double x)) { return asinh_fma(x); }
TSR_BODY(float, asinhf, (float x)) { return asinhf_fma(x); }
#endif

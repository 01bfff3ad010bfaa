// acosh in double and single precision: ln(x + sqrt(x^2 - 1)) for x >= 1.
//
// Double, tiers ex and e7 (ex is also __bwr_acosh): next to 1 (x - 1 < 2^-7.4) the series
// sqrt(2d) (1 + C(d)) with d = x - 1 (exact), the root corrected by its residual and C a
// polynomial of degree 5 (error below 2^-60); from 2^28 on the logarithm of 2x; from 3.1875
// on the argument 2x - 1/(sqrt(x^2 - 1) + x); between, x + sqrt(x^2 - 1) with the root
// corrected by its residual from a 21-bit head of x.  The logarithm is the table core.
//
// Double, tiers l9, z0, d1: for 1 + 3 2^-11 < x < 2^28 the root from fused operations (the
// square's error by fma, the residual of the root, a correction by the approximate
// reciprocal square root) and the fused logarithm core; elsewhere tier e7, which also gives
// acosh(1) = +0 without a flag.
//
// Single: in double, rounded once; the domain error x < 1 is reported.
#include "elementary/roots_common.h"

using namespace tsr;
using namespace tsr::roots;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
inline double cut32(double v) { return f64(bits(v) & 0xffffffff00000000ull); }

inline double acosh_ex(double x) {
    uint32_t u = hi(x) - 0x3ff00000u;
    if (u > 0x3fffffffu) {
        if (is_nan(x) || bits(x) == Format<double>::inf) return x + x;
        return report(x, (x - x) / (x - x), code::acosh_argument_below_1);
    }
    if (u <= 0x17ff) {
        if (x == 1.0) return 0.0;
        double d = x - 1.0, v = 2.0 * d;
        double s = sqrt_insn(v);
        double sh = cut32(s), sl = s - sh;
        double e = (((v - sh * sh) - sh * sl) / s + sl) * 0.5;
        double w = d * d;
        double C = ((-0x1.6c0ca818be8b3p-11 * w - 0x1.6db6db03cd7d6p-8) * w - 0x1.555555555555p-4) * d +
                   (0x1.f1c4ff7d61d87p-10 * w + 0x1.3333333329c47p-6) * w;
        double Ch = cut32(C);
        return (((C - Ch) * sh + C * e) + e) + Ch * sh + sh;
    }
    if (u > 0x1bfffff) return log_mant_ex(int(hi(x) >> 20) - 1022, x);
    if (u > 0x22ffff) {
        double two = 2.0 * x, h = cut32(two);
        return log_pair_ex(h, (two - h) - 1.0 / (sqrt_insn(x * x - 1.0) + x));
    }
    double xh = cut32(x);
    double t = (x + xh) * (x - xh), w = xh * xh - 1.0;
    double s = sqrt_insn(w + t);
    double sh = cut32(s), sl = s - sh;
    double h = xh + sh;
    double l = (x - xh) + (((t + ((w - sh * sh) - sh * sl)) / (sh + sl)) + sl) * 0.5;
    return log_pair_ex(h, l);
}

inline float acoshf_ex(float x) {
    uint32_t u = bits(x) - 0x3f800000u;
    if (u > 0x3fffffffu) {
        if ((bits(x) & 0x7fffffff) > 0x7f800000u || bits(x) == 0x7f800000u) return x * 1.0f;
        return report(x, (x - x) / (x - x), code::acoshf_argument_below_1);
    }
    if (u == 0) return 0.0f;
    double X = x;
    if (u <= 0x3fffff) {
        double d = X - 1.0, v = 2.0 * d, s = sqrt_insn(v), w = d * d;
        return float(((((0x1.3cb17d28ee596p-16 * w + 0x1.1287a9b9f611cp-12) * w + 0x1.f1aa4ac0cf195p-10) * w +
                        0x1.333331236cb49p-6) * w +
                       (((-0x1.74400d27f5e7dp-14 * w - 0x1.6d3074197b1ap-11) * w - 0x1.6db62dacdeacep-8) * w -
                        0x1.55555552ea1bdp-4) * d) * s + s);
    }
    if (u < 0x8000000) {
        double y = X + sqrt_insn(X * X - 1.0);
        return float(logf_core(int(bits(y) >> 52) - 1023, y));
    }
    return float(logf_core(int(bits(X) >> 52) - 1022, X));
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double acosh_fma(double x) {
    if (bits(x) - 0x3ff0180000000001ull > 0x41afffffffffffffull - 0x3ff0180000000001ull)
        return __libm_acosh_e7_local(x);
    double z = x * x, ez = fma(x, x, -z);
    double v = z - 1.0;
    double s = sqrt_insn(v);
    double h = x + s;
    double ev = ez - ((v - z) + 1.0);
    double er = fma(-s, s, v) + ev;
    double corr = 0.5 * er * double(rsqrt_approx(float(v)));
    double l = ((x - h) + s) + corr;
    return log_fma(h, l, 0x1.62e42fefap-1, 0x1.cf79abc9ep-40);
}

inline float acoshf_fma(float x) {
    if (bits(x) - 0x3f800001u > 0x7f7fffffu - 0x3f800001u) return __libm_acoshf_e7_local(x);
    double X = x;
    double y = X + sqrt_insn(fma(X, X, -1.0));
    return float(logf_fma(int(bits(y) >> 52) - 1023, y));
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, acosh, (double x)) { return acosh_ex(x); }
TSR_BODY(float, acoshf, (float x)) { return acoshf_ex(x); }
TSR_ALIAS(double, __bwr_acosh, (double), __libm_acosh_ex)
TSR_DEFINE(float, __bwr_acoshf, (float x)) { return acoshf_ex(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, acosh, (double x)) { return acosh_ex(x); }
TSR_BODY(float, acoshf, (float x)) { return acoshf_ex(x); }
#endif
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, acosh, (double x)) { return acosh_fma(x); }
TSR_BODY(float, acoshf, (float x)) { return acoshf_fma(x); }
#endif

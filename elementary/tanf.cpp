// tanf, in double arithmetic.
//
// Tiers ex, e7: t = x - a·pi/2 (a the nearest multiple) and r = x - k·pi/32 in two parts each;
// 32 rows of the degree-7 expansion of tan around k·pi/32, in the rows within 7·pi/32 of
// pi/2 of tan(x) + 1/t, the pole term -1/t added by one division.  Huge arguments
// (|x| >= 2^16): ex takes tan in double, e7 the angle modulo pi from sinf_period_rows.
// Tiers l9, z0, d1: k = round(32|x|/pi) by a shifter, 32 fitted degree-6 rows: tan(t) = t·R(r) in the
// rows within pi/4 of 0 (mod pi), -R(r)/t (t the distance from pi/2) in the others; |x| < 2^22.
#include "elementary/trig_common.h"
#include "tsr/dd.h"
#if TSR_TIER_Z0 || TSR_TIER_D1
#include "tsr/avx512.h"
#endif

using namespace tsr;
using namespace tsr::trig;

namespace {

// tan x = x + x^3/3 for |x| < 2^-14: x moved away from zero by 2^-30 of itself (exact in
// double, the sign kept, zeros included) and rounded to float once: the true and the moved
// value lie on the same side of x within a quarter of an ulp, so the rounding is right in
// every mode, raising inexact, and underflow for a subnormal result (x + x^3 in double, whose
// x^3 vanishes there, raised neither).
inline float tiny_tanf(double u) { return float(u * 0x1.00000004p+0); }

#if TSR_TIER_EX || TSR_TIER_E7
// tan at u + tail with a16 = 16·round(2u/pi), kr = round(32u/pi), row j.
inline double tanf_rows(double u, double tail, double a16, double kr, int j) {
    double t = (u - a16 * 0x1.921fb5444p-4) - a16 * 0x1.68c234c4c6629p-43 + tail;
    double r = (u - kr * 0x1.921fb5448p-4) + kr * 0x1.e973dcb3b399dp-39 + tail;
    const double *d = tanf_rows32[j & 31];
    double r2 = r * r, r4 = r2 * r2;
    double D_ = d[0] + d[1] * r + r2 * (d[2] + d[3] * r) + r4 * ((d[4] + d[5] * r) + r2 * (d[6] + d[7] * r));
    if (d[8] == 0) return D_;
    return D_ - 1.0 / t;
}

template <bool bwr = false>
inline float tanf_e7(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    double u = x;
    if (b - 0x00800000u >= 0x47800000u - 0x00800000u) {
        if (b < 0x00800000) return tiny_tanf(u);
        if (b >= 0x7f800000) return x - x;
#if TSR_TIER_EX
        if (bwr) return float(__bwr_tan_local(u));
        return float(__libm_tan_ex_local(u));
#else
        // The angle modulo pi, (n + f)·pi/128 with n in -64 .. 63, as y + tail: n·P1 exact
        // (P1 of 40 bits), f·pi/128 by an exact product (Dekker), then the medium path on it.
        Period128 h = period128(u, b);
        int n = ((h.k + 64) & 127) - 64;
        constexpr double kPi128 = 0x1.921fb54442d18p-6, kPi128hi = 0x1.921fb54442p-6,
                         kPi128lo = 0x1.a308d313198a3p-47;  // pi/128; its 40-bit head, the rest
        dd::DD fp = dd::two_prod(h.f, kPi128);
        dd::DD y = dd::two_sum(double(n) * kPi128hi, fp.h);
        double tail = (y.l + fp.l) + (double(n) * kPi128lo + h.f * 0x1.1a62633145c07p-58);
        double v = y.h * 0x1.45f306dc9c883p+3, hv = v < 0 ? -0.5 : 0.5;
        int k = int(v + hv), a = int(v * 0.0625 + hv);
        return float(tanf_rows(y.h, tail, 16.0 * a, double(k), k));
#endif
    }
    // k = round(32x/pi) and a16 = 16·round(2x/pi) from one product, rounded by a signed half
    // and truncation: the same in every rounding mode.
    float m = x * 0x1.45f306p+3f;
    float h = m < 0 ? -0.5f : 0.5f;
    int k = int(m + h), a = int(m * 0.0625f + h);
    return float(tanf_rows(u, 0.0, 16.0 * a, double(k), k));
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double tanf_fma_core(double a) {
#if TSR_TIER_Z0
    double S = avx512::fma_rn(0x1.45f306dc9c883p-2, a, 0x1.8p+47);
#else
    double S = __builtin_fma(0x1.45f306dc9c883p-2, a, 0x1.8p+47);
#endif
    double kf = S - 0x1.8p+47;
    uint64_t k = bits(S);
    double r = __builtin_fma(kf, -0x1.1a62633145c07p-53, __builtin_fma(kf, -0x1.921fb54442d18p+1, a));
    const double *b = tanf_rows32f[k & 31];  // b6, b5, b4, b3, b2, b1, b0, a
    double r2 = r * r, r4 = r2 * r2;
    double H = __builtin_fma(r2, b[0], __builtin_fma(b[1], r, b[2]));  // b4 + b5·r + b6·r^2
    double M = __builtin_fma(b[3], r, b[4]);
    double N = __builtin_fma(b[5], r, b[6]);
    double R = __builtin_fma(r4, H, __builtin_fma(r2, M, N));
    double w = r + b[7];
    if ((((k >> 3) + 1) & 2) == 0) return R * w;
    return R * (1.0 / w);
}

#if !TSR_TIER_Z0
__attribute__((noinline, cold)) float tanf_fma_directed(double a, uint64_t sign) {
    RnGuard g;
    double v = g.finish(tanf_fma_core(opaque(a)));
    return float(f64(bits(v) ^ sign));
}
#endif

inline float tanf_fma(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b - 0x38800000u >= 0x4a800000u - 0x38800000u) {
        if (b < 0x38800000) return tiny_tanf(double(x));
        return __libm_tanf_e7_local(x);
    }
    double u = x;
    uint64_t sign = bits(u) & 0x8000000000000000ull;
    double a = f64(bits(u) ^ sign);
#if !TSR_TIER_Z0
    if (!rn_probe()) return tanf_fma_directed(a, sign);
#endif
    return float(f64(bits(tanf_fma_core(a)) ^ sign));
}
#endif

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(float, tanf, (float x)) { return tanf_e7(x); }
#if TSR_TIER_EX
TSR_DEFINE(float, __bwr_tanf, (float x)) { return tanf_e7<true>(x); }
#endif
#else
TSR_BODY(float, tanf, (float x)) { return tanf_fma(x); }
#endif

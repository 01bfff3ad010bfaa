// 2^x and 2^x in single precision.
//
// Double.  Tier ex: integer arguments are exact powers built from the exponent field; the
// rest runs the generic scheme, whose table head (31 fraction bits) times a short head B of
// e^(r ln 2) is exact, so the value is an exact product plus a small correction W; far
// subnormal results are summed and scaled in 80-bit arithmetic and rounded once.  Tier e7:
// N = 128 with rounded mantissas and absolute tails, r in units of 1/128, and the extreme
// split of exp_common.h.  Tiers l9, z0, d1: N = 64 with fused multiply-adds for |x| < 1022
// (the e7 body beyond); z0 and d1 take r from the reduce instruction.
//
// Single.  Tier ex: exact integer powers, else double arithmetic with N = 64 centred on 0.
// Tier e7: double, N = 256, degree 2.  Tiers l9, z0, d1: single precision throughout, N = 32,
// the table mantissa corrected by a relative tail.
#include "elementary/exp_common.h"
#if TSR_TIER_E7
#include <emmintrin.h>
#endif

using namespace tsr;
using namespace tsr::expd;

namespace {

#if TSR_TIER_EX
constexpr double S = 0x1.8p52;

// True for a finite x with 1 <= |x| < 2^52 that is an integer (by its bits: no rounding).
inline bool is_int(double x) {
    int e = int((bits(x) >> 52) & 0x7ff) - 1023;
    if (e < 0 || e >= 52) return e >= 52;
    return (bits(x) & ((uint64_t(1) << (52 - e)) - 1)) == 0;
}

template <class Guard>
inline double exp2_ex_core(double x);

inline double exp2_ex(double x) {
    uint32_t H = hi(x) & 0x7fffffff;
    if (H - 0x3ff00000u <= 0x9ff800u && is_int(x)) {
        int n = int(x);  // exact
        if (n >= -1022) return f64((uint64_t(int64_t(n)) << 52) + 0x3ff0000000000000ull);
        return f64(uint64_t(1) << (n + 1074));
    }
    if (H > 0x408fffff) {  // |x| >= 1024
        if (H > 0x7fefffff) {
            if (H > 0x7ff00000 || lo(x) != 0) return x + x;
            return (hi(x) >> 31) ? 0.0 : x;
        }
        if (!(hi(x) >> 31)) return report(x, opaque(kMax) * kMax, code::exp2_overflow);
        if (H > 0x4090cfff) return report(x, opaque(kMinNorm) * kMinNorm, code::exp2_underflow);
        return exp2_ex_core<RnGuard>(x);
    }
    if (H <= 0x3c5fffff) return x + 1.0;
    return exp2_ex_core<RnGuardInexact>(x);
}

// The core of tier ex.  Guard: below |x| = 1024 no integer arrives (those came back exact
// above), so 2^x is inexact and the guard may tell the mode by its probe, whose inexact flag
// the result raises anyway; from -1024 down the integers -1074..-1024 come for their exact
// subnormal results and the report, so that guard reads the control word.  One path serves
// every x above -1021.98 (k >= -130814), the scaling in two exact steps whatever the sign,
// so that neither the size nor the sign of x steers a branch there.
template <class Guard>
inline double exp2_ex_core(double x) {
    Guard g;
    x = opaque(x);
    auto [kf, j, n] = split_index(opaque(128.0 * x + S), S);
    double r = x + kf * -0x1p-7;
    const TH &row = split128[j + 64];
    const double L = 0x1.62e42p-1;
    double rt = f64(bits(r) & 0xffffffff00000000ull);
    double a = rt * L;
    double B = opaque(a + 0x1.00000001p+32) - 0x1p+32;
    // approximation of 2^r on [-0x1p-8, 0x1p-8], degree 7, max relative error 2^-72.54
    // (measured by tools/gen/approximations.py)
    double s2 = r * r;
    double Q = ((0x1.4308cac59a345p-13 * s2 + 0x1.3b2ab6fba31d1p-7) * s2 + 0x1.ebfbdff82c58fp-3) * s2 +
               (r - rt) * L + (a - (B - 1.0)) +
               (((0x1.0097a00cb0678p-16 * s2 + 0x1.5d87fe87ed439p-10) * s2 + 0x1.c6b08d704a0c3p-5) * s2 +
                0x1.fdf473de6af28p-22) * r;
    double W = Q * row.head + (B + Q) * row.tail;
    double v = row.head * B;  // exact
    if (kf >= -130814.0) {  // k, exactly
        // The exponent fields of 2^(n -+ 512) and 2^(+-512) by arithmetic on the sign bit:
        // a branch on it would miss in half the calls where signs come at random.
        int e2 = 0x5ff - int((hi(x) >> 31) << 10);
        return split_scaled(v, W, f64(uint64_t(n + 0x7fe - e2) << 52), f64(uint64_t(e2) << 52), g);
    }
    double f1 = f64(uint64_t(n + 0x5ff) << 52), f2 = 0x1p-512;  // x < 0 here
    // Far below the normal range: the sum and both scalings in 80-bit arithmetic with a
    // 64-bit significand, then one rounding to double.
    double Hc = f64(bits(v + W) & ~uint64_t(0xfff));
    W = opaque(W);
    Hc = g.finish(Hc);
    double res;
    {
        X87Precision precision;
        long double t = opaque(((long double)v - Hc) + W);
        t = opaque(t + Hc);
        t = opaque(t * f1) * f2;
        res = double(opaque(t));
        force(res);
    }
    if (hi(res) < 0x00100000) return report(x, res, code::exp2_underflow);
    return res;
}

inline bool is_intf(float x) {
    int e = int((bits(x) >> 23) & 0xff) - 127;
    if (e < 0 || e >= 23) return e >= 23;
    return (bits(x) & ((1u << (23 - e)) - 1)) == 0;
}

// The float core of tier ex: double arithmetic on the centred 64-row table.  Guard: the
// probing one where x is known not to be an integer (the result is then inexact), the one
// that reads the control word where an integer may come (an exact subnormal power).
template <class Guard>
inline float exp2f_ex_core(float x) {
    Guard g;
    x = opaque(x);
    double u = x;
    auto [r, T, n] = centred64_reduce(u, 64.0 * u, -0x1p-6);
    // approximation of 2^r on [-0x1p-7, 0x1p-7], degree 4, max relative error 2^-40.04
    // (measured by tools/gen/approximations.py)
    double s2 = r * r;
    double p = (0x1.3ce0f3e46f43ap-7 * s2 + 0x1.ebfbe081585e7p-3) * s2 +
               (0x1.c6af0d93cf576p-5 * s2 + 0x1.62e42fef9277bp-1) * r;
    double v = (p * T + T) * pow2(n);
    v = g.finish(v);
    return float(v);
}

inline float exp2f_ex(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b - 0x3f800000u <= 0x37e0000u && is_intf(x)) {
        int n = int(x);
        if (n >= -126) return f32((uint32_t(n) << 23) + 0x3f800000u);
        return f32(1u << (n + 149));
    }
    if (b <= 0x42f9ffff) {
        if (b <= 0x317fffff) return x + 1.0f;
        return exp2f_ex_core<RnGuardInexact>(x);
    }
    if (b >= 0x7f800000) return bits(x) == 0xff800000u ? 0.0f : x + x;
    if (bits(x) >> 31) {
        if (b > 0x431e0000) return report(x, opaque(kMinNormF) * kMinNormF, code::exp2f_underflow);
    } else if (b > 0x42ffffff) {
        return report(x, opaque(kMaxF) * kMaxF, code::exp2f_overflow);
    }
    float y = exp2f_ex_core<RnGuard>(x);
    if (bits(y) <= 0x007fffff) return report(x, y, code::exp2f_underflow);
    return y;
}
#endif

#if TSR_TIER_E7
constexpr double S = 0x1.8p52;

inline double exp2_e7(double x) {
    uint32_t ix = hi(x) & 0x7fffffff;
    uint32_t hw = ix >> 16;
    if (hw - 0x3c90u > 0x408fu - 0x3c90u) {
        if (hw < 0x3c90) return x + 1.0;
        if (ix >= 0x7ff00000) return nonfinite(x);
        if (!(hi(x) >> 31)) return report(x, opaque(kMax) * kMax, code::exp2_overflow);
        if (hi(x) > 0xc090c800u) {
            // Down to -1075 the smallest subnormal comes back; below, zero.
            if (hi(x) <= 0xc090cc00u) {
                force(opaque(kMinNorm) * kMinNorm);
                return report(x, f64(1), code::exp2_underflow);
            }
            return report(x, opaque(kMinNorm) * kMinNorm, code::exp2_underflow);
        }
    }
    RnGuard g;
    x = opaque(x);
    double xp = f64(bits(x) + 0x0070000000000000ull);  // x·128, exponent field + 7
    int k = _mm_cvtsd_si32(_mm_set_sd(xp));
    double kf = opaque(xp + S) - S;
    double rp = xp - kf;
    int n = k >> 7;
    const MT &row = frac128[k & 127];
    // approximation of 2^(r/128) on [-0x1p-1, 0x1p-1], degree 5, max relative error 2^-60.44
    // (measured by tools/gen/approximations.py)
    const double c1 = 0x1.62e42fefa39efp-8;
    double r2 = rp * rp;
    double A = 0x1.5d87fe78a6731p-45 * rp + 0x1.3b2ab6fba4e77p-35;
    double B = 0x1.c6b08d704a0bfp-26 * rp + 0x1.ebfbdff82c58ep-17;
    int E = n + 1023;
    if (E >= 0x3c && E <= 0x7fe) {
        double T = f64((uint64_t(E) << 52) | row.m);
        double U = row.t * pow2(n);
        double y = ((c1 * rp) * T + U) + (r2 * A + B) * (T * r2);
        y = g.finish(y);
        return y + T;
    }
    rp = g.finish(rp);
    int h = n >> 1;
    double Up = row.t * pow2(n - h);
    Extreme e = extreme(n, row.m, [&](double tp) { return ((c1 * rp) * tp + Up) + (r2 * A + B) * (tp * r2); });
    if (rp != 0.0 || (k & 127) != 0) e.underflows();  // x not an integer: 2^x is inexact
    return e.reported(x, code::exp2_overflow, code::exp2_underflow);
}

inline float exp2f_e7(float x) {
    // approximation of 2^r on [-0x1p-9, 0x1p-9], degree 2, max relative error 2^-31.16
    // (measured by tools/gen/approximations.py)
    const double S2 = 0x1.8p+44, c1 = 0x1.62e42fefa72c5p-1, c2 = 0x1.ebfbdff82c58ep-3;
    return f256_float<RnGuard>(x, [](double u) { return u; }, S2, c1, c2, 0x42fc0000, 0x43200000,
                               code::exp2f_overflow, code::exp2f_underflow);
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
// N = 64 with fused multiply-adds: s carries round(64x) + 1023·64 in its low bits.
//
// The usual path is straight: one unsigned compare for the band, the shifter step in the
// caller's mode, and (l9, d1) one test of the mode on r.  When r is zero the step was exact
// in every mode (x a multiple of 1/64) and the core goes on in the caller's mode, so exact
// powers raise nothing; otherwise a directed caller's mode takes the cold path, which runs
// the core in round-to-nearest and only the last step in the caller's mode.
constexpr double kSp2 = 0x1.800000000ffcp+46, kSpNeg2 = -0x1.800000000ffcp+46;

__attribute__((noinline, cold)) double exp2_fma_edge(double x) {
    if ((hi(x) & 0x7fffffff) < 0x3c800000) return x + 1.0;
    return __libm_exp2_e7_local(x);
}

// From the shifter sum, r and r^2 to the value P with Tb; the result is fma(P, Tb, Tb).
inline double exp2_fma_poly(double s, double r, double r2, double &Tb) {
    uint64_t sb = bits(s);
    const MT &row = frac64r[sb & 63];
    Tb = f64(((sb >> 6) << 52) | row.m);
    // approximation of 2^r on [-0x1p-7, 0x1p-7], degree 5, max relative error 2^-58.55
    // (measured by tools/gen/approximations.py)
    double P = __builtin_fma(0x1.5d881e7541815p-10, r, 0x1.3b2ad5447fdffp-7);
    P = __builtin_fma(P, r, 0x1.c6b08d7047ac4p-5);
    double Q = __builtin_fma(0x1.ebfbdff829821p-3, r, 0x1.62e42fefa39efp-1);
    P = __builtin_fma(P, r2, Q);
    return __builtin_fma(P, r, row.t);
}

#if !TSR_TIER_Z0
__attribute__((noinline, cold)) double exp2_fma_directed(double x) {
    RnGuard g;
    x = opaque(x);
    double s = x + kSp2;
    double r = x - (s + kSpNeg2);
#if TSR_TIER_D1
    r = avx512::reduce_rn<6>(x);
#endif
    double Tb;
    double P = g.finish(exp2_fma_poly(s, r, r * r, Tb));
    return __builtin_fma(P, Tb, Tb);
}
#endif

inline double exp2_fma(double x) {
    uint32_t H = hi(x) & 0x7fffffff;
    if (__builtin_expect(H - 0x3c800000u >= 0x408ff000u - 0x3c800000u, 0)) return exp2_fma_edge(x);
    // z0 and d1 take r beside the shifter step rather than after it: x less x rounded to a
    // multiple of 1/64 (exact, the same r as the shifter's to nearest), five cycles from x
    // where the shifter's add and two subtractions take six.
#if TSR_TIER_Z0
    double s = avx512::add_rn(x, kSp2);
    double r = x - avx512::round_rn<6>(x);
#else
    double s = x + kSp2;
#if TSR_TIER_D1
    double r = x - avx512::round_rn<6>(x);
#else
    double r = x - (s + kSpNeg2);
#endif
    if (__builtin_expect(!rn_or_exact_sq(r * r), 0)) return exp2_fma_directed(x);
#endif
    double Tb;
    double P = exp2_fma_poly(s, r, r * r, Tb);
    return __builtin_fma(P, Tb, Tb);
}

// Single precision throughout, N = 32: s carries round(32x) + 127·32 in its low bits.  The
// same layout as above.
constexpr float kSpf = 0x1.801fcp+18f, kSpNegf = -0x1.801fcp+18f;

__attribute__((noinline, cold)) float exp2f_fma_edge(float x) {
    if ((bits(x) & 0x7fffffff) <= 0x327fffff) return x + 1.0f;
    return __libm_exp2f_e7_local(x);
}

inline float exp2f_fma_poly(float s, float r, float r2, float &Tb) {
    uint32_t sb = bits(s);
    uint32_t j = sb & 31;
    Tb = f32(((sb >> 5) << 23) | f32_head[j]);
    // approximation of 2^r on [-0x1p-6, 0x1p-6], degree 3, max relative error 2^-32.50
    // (measured by tools/gen/approximations.py)
    // The polynomial tail + c1·r + c2·r^2 + c3·r^3 summed from its small end: the higher
    // terms and the tail (below 2^-13) first, so that their roundings are negligible, and
    // the linear term last, so that the sum is rounded once at the scale of r·ln 2 rather
    // than twice (as Horner's order would, once in c1 + r·(...) and once in adding the tail).
    float hi = __builtin_fmaf(0x1.c6b194p-5f, r, 0x1.ebfd1cp-3f);
    float lo = __builtin_fmaf(hi, r2, f32_tail[j]);
    return __builtin_fmaf(0x1.62e43p-1f, r, lo);
}

#if !TSR_TIER_Z0
__attribute__((noinline, cold)) float exp2f_fma_directed(float x) {
    RnGuard g;
    x = opaque(x);
    float s = x + kSpf;
    float r = x - (s + kSpNegf);
    float Tb;
    float q = g.finish(exp2f_fma_poly(s, r, r * r, Tb));
    return __builtin_fmaf(q, Tb, Tb);
}
#endif

inline float exp2f_fma(float x) {
    // |x| in [0x32800000, 0x42fc0000) as bits, the sign shifted out: one lea and one compare.
    if (__builtin_expect(bits(x) * 2u - 0x65000000u >= 0x85f80000u - 0x65000000u, 0))
        return exp2f_fma_edge(x);
#if TSR_TIER_Z0
    float s = avx512::add_rn(x, kSpf);
    float r = x - avx512::round_rn<5>(x);
#else
    float s = x + kSpf;
    float r = x - (s + kSpNegf);
    if (__builtin_expect(!rn_or_exact_sq(r * r), 0)) return exp2f_fma_directed(x);
#endif
    float Tb;
    float q = exp2f_fma_poly(s, r, r * r, Tb);
    return __builtin_fmaf(q, Tb, Tb);
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, exp2, (double x)) { return exp2_ex(x); }
TSR_BODY(float, exp2f, (float x)) { return exp2f_ex(x); }
// The reproducible forms: copies of the ex bodies.
TSR_DEFINE(double, __bwr_exp2, (double x)) { return exp2_ex(x); }
TSR_DEFINE(float, __bwr_exp2f, (float x)) { return exp2f_ex(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, exp2, (double x)) { return exp2_e7(x); }
TSR_BODY(float, exp2f, (float x)) { return exp2f_e7(x); }
#endif
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, exp2, (double x)) { return exp2_fma(x); }
TSR_BODY(float, exp2f, (float x)) { return exp2f_fma(x); }
#endif

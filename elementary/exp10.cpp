// 10^x and 10^x in single precision.
//
// Double.  Both tiers: integer arguments 1..22 come from a table of exact powers.  Tier ex: the rest runs
// the generic scheme on the 129-row split table, with r = x - k·log10(2)/128 carried as a
// short high part and a low part so that the head B of e^(r ln 10) stays short and head·B
// exact.  It scales by two factors and reports only overflow: an underflowing result is
// returned as it falls.  Tier e7: the N = 64 scheme of exp with K = 64·log2(10), its shifter
// step and polynomial in round-to-nearest and its reconstruction (the one rounding of the
// result, overflow and underflow included) in the caller's mode, reporting both overflow
// and underflow.
//
// Single.  Both tiers: exact powers 10^1..10^10.  Tier ex: double arithmetic on the centred
// 64-row table; it never reports.  Tier e7: the N = 256 scheme of expf.
#include "elementary/exp_common.h"

using namespace tsr;
using namespace tsr::expd;

namespace {

constexpr double S = 0x1.8p52;

#if TSR_TIER_EX
// Report: whether an overflow goes to the error interpreter (the reproducible form,
// __bwr_exp10, lets its own result stand).
template <bool Report = true>
inline double exp10_ex(double x) {
    uint32_t H = hi(x) & 0x7fffffff;
    if (H < 0x3c600000) return x + 1.0;
    uint64_t ax = bits(x) & 0x7fffffffffffffffull;
    bool neg = hi(x) >> 31;
    if (neg ? ax > 0x407439b746e36b52ull : ax > 0x40734413509f79feull) {
        if (H > 0x7fefffff) {
            if (ax > 0x7ff0000000000000ull) return x + x;
            return neg ? 0.0 : x;
        }
        if (!neg) {
            double inf = opaque(kMax) * kMax;
            return Report ? report(x, inf, code::exp10_overflow) : inf;
        }
        return opaque(kMinNorm) * kMinNorm;  // +0; this tier does not report underflow
    }
    if (!neg && H >= 0x3ff00000 && H < 0x40370000) {  // 1 <= x < 23
        int e = int(H >> 20) - 1023;
        if ((ax & ((uint64_t(1) << (52 - e)) - 1)) == 0) return pow10[int(x)];
    }
    RnGuardInexact g;
    x = opaque(x);
    auto [kf, j, n] = split_index(opaque(0x1.a934f0979a371p+8 * x + S), S);
    double B, Q;
    exp10_split128(x, kf, B, Q);
    const TH &row = split128[j + 64];
    double W = Q * row.head + (B + Q) * row.tail;
    double v = row.head * B;  // exact
    if (kf >= -130814.0) return split_scaled(v, W, n, neg, g);  // k, exactly
    double f1 = f64(uint64_t(n + (neg ? 0x5ff : 0x1ff)) << 52), f2 = neg ? 0x1p-512 : 0x1p512;
    // Below the normal range: a 21-bit head of the sum is kept apart, so that when the
    // result is subnormal the rest is rounded to the grid once and the head added exactly.
    double Hc = f64(bits(v + W) & 0xffffffff00000000ull);
    double lo = (v - Hc) + W;
    Hc = opaque(Hc);
    lo = g.finish(lo);
    Hc = opaque(Hc);
    double res = ((lo + Hc) * f1) * f2;
    if (hi(res) < 0x00100000) res = (lo * f1) * f2 + (Hc * f1) * f2;
    return res;
}

inline float exp10f_ex(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b < 0x00800000) return x + 1.0f;
    bool neg = bits(x) >> 31;
    if (neg ? b > 0x4235d276 : b > 0x421a209b) {
        if (b > 0x7f800000) return x * 1.0f;
        if (b == 0x7f800000) return neg ? 0.0f : x;
        return neg ? opaque(kMinNormF) * kMinNormF : opaque(kMaxF) * kMaxF;
    }
    if (!neg && b >= 0x3f800000 && b <= 0x41200000) {  // 1 <= x <= 10
        int e = int(b >> 23) - 127;
        if ((b & ((1u << (23 - e)) - 1)) == 0) return pow10f[int(x)];
    }
    RnGuardInexact g;
    x = opaque(x);
    double u = x;
    auto [r, T, n] = centred64_reduce(u, 0x1.a934f0979a371p+7 * u, -0x1.34413509f79ffp-8);
    // approximation of 10^r on [-0x1.345p-9, 0x1.345p-9], degree 4, max relative error
    // 2^-40.04 (measured by tools/gen/approximations.py)
    double s2 = r * r;
    double p = (0x1.2d784e2724acfp+0 * s2 + 0x1.53524cd26a2f3p+1) * s2 +
               (0x1.046f7d3f4b8ecp+1 * s2 + 0x1.26bb1bbb47127p+1) * r;
    double v = (p * T + T) * pow2(n);
    v = g.finish(v);
    return float(v);
}
#endif

#if TSR_TIER_E7
// 10^n for the integers n = 1 .. 22, whose powers are doubles: exact, raising nothing.
inline bool exp10_exact(uint64_t bx) {
    uint32_t H = uint32_t(bx >> 32);
    if (H < 0x3ff00000 || H >= 0x40370000) return false;  // 1 <= x < 23
    int e = int(H >> 20) - 1023;
    return (bx & ((uint64_t(1) << (52 - e)) - 1)) == 0;
}

inline double exp10_e7(double x) {
    uint32_t ix = hi(x) & 0x7fffffff;
    uint32_t hw = ix >> 16;
    // Outside the core's band the result is made in the caller's mode: 1 + x, or the
    // largest finite number squared (doubled) and the smallest normal squared, which
    // overflow and underflow as the direction says.
    if (hw - 0x3c70u > 0x4074u - 0x3c70u) {
        if (hw < 0x3c70) return x + 1.0;
        if (ix >= 0x7ff00000) {
            if ((bits(x) & 0x000fffffffffffffull) != 0) return x + x;
            return (hi(x) >> 31) ? 0.0 : x;
        }
        double res = (hi(x) >> 31) ? opaque(kMinNorm) * kMinNorm : opaque(kMax) * 2.0;
        return report(x, res, (hi(x) >> 31) ? code::exp10_underflow : code::exp10_overflow);
    }
    if (exp10_exact(bits(x))) return pow10[int(x)];
    // Round-to-nearest for the shifter step and the polynomial; the caller's mode for the
    // reconstruction, whose last operation is the one rounding of the result.
    RnGuard g;
    x = opaque(x);
    const double K = 0x1.a934f0979a371p+7, L1 = 0x1.34413509ep-8, L2 = 0x1.79fef311f12b3p-44;
    auto [r, k, n, row] = reduce64(x, K, L1, L2);
    // approximation of 10^r on [-0x1.345p-9, 0x1.345p-9], degree 5, max relative error
    // 2^-59.29 (measured by tools/gen/approximations.py)
    double r2 = r * r;
    double p = ((0x1.26bb1bbb55516p+1 * r + row.t) + r2 * r2 * (0x1.2bd77b1487d5p+0 + 0x1.142b5d38ee238p-1 * r)) +
               r2 * (0x1.53524c73cd328p+1 + 0x1.0470591daeb1ep+1 * r);
    p = g.finish(p);
    if (n >= -894 && n <= 1022) {
        double T = f64((uint64_t(uint32_t((k & 0xffffffc0) + 0xffc0)) << 46) | row.m);
        return p * T + T;
    }
    Extreme e = extreme(n, row.m, [&](double tp) { return p * tp; });
    e.underflows();  // 10^x below the normal range is never exact
    return e.reported(x, code::exp10_overflow, code::exp10_underflow);
}

// Single precision, N = 256 in double.  The usual path (the band up to 37.93) is straight:
// one unsigned compare, the core, and one test of the mode by arithmetic; the rest of the
// band up to 64, the specials and a directed caller's mode take cold paths.  (10^x is inexact
// for every x in the band but the integers 1 to 10, and for those the shifter step raises the
// flag already, so the probe's flag changes nothing.)
inline double exp10f_core(float x) {
    // approximation of 2^(r/256) on [-0x1p-1, 0x1p-1], degree 2, max relative error 2^-31.16
    // (measured by tools/gen/approximations.py)
    const double K = 0x1.a934f0979a371p+9, c1 = 0x1.62e42fefa72c5p-9, c2 = 0x1.ebfbdff82c58ep-19;
    return f256_core(K * double(x), S, c1, c2);
}

__attribute__((noinline, cold)) float exp10f_e7_slow(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b < 0x31800000) return x + 1.0f;
    if (b >= 0x42800000) {
        return float_beyond_range(x, code::exp10f_overflow, code::exp10f_underflow);
    }
    RnGuard g;
    x = opaque(x);
    double v = g.finish(exp10f_core(x));
    return f256_result(x, v, b, 0x4217b800, code::exp10f_overflow, code::exp10f_underflow);
}

inline float exp10f_e7(float x) {
    // |x| in [0x31800000, 0x4217b800) as bits, the sign shifted out: one lea and one compare.
    if (__builtin_expect(bits(x) * 2u - 0x63000000u >= 0x842f7000u - 0x63000000u, 0))
        return exp10f_e7_slow(x);
    // 1 <= x <= 10: the integers have exact powers, raising nothing.
    if (__builtin_expect(bits(x) - 0x3f800000u <= 0x41200000u - 0x3f800000u, 0)) {
        uint32_t b = bits(x);
        int e = int(b >> 23) - 127;
        if ((b & ((1u << (23 - e)) - 1)) == 0) return pow10f[int(x)];
    }
    if (__builtin_expect(!rn_probe(), 0)) return exp10f_e7_slow(x);
    return float(exp10f_core(x));
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, exp10, (double x)) { return exp10_ex(x); }
TSR_BODY(float, exp10f, (float x)) { return exp10f_ex(x); }
// The reproducible forms: exp10 is the ex body without its error report, exp10f a copy of
// the ex body.
TSR_DEFINE(double, __bwr_exp10, (double x)) { return exp10_ex<false>(x); }
TSR_DEFINE(float, __bwr_exp10f, (float x)) { return exp10f_ex(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, exp10, (double x)) { return exp10_e7(x); }
TSR_BODY(float, exp10f, (float x)) { return exp10f_e7(x); }
#endif

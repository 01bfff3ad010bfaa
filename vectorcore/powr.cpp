// powr(x, y) = e^(y ln x), the power without integer special cases (a negative x is a
// domain error, 0^0, inf^0 and 1^inf are invalid), and its float form: vector-core members
// (include/tsr/vectorcore.h).
//
// Each has a core of its own (below): the double on a 1025-row table of log2 and the shared
// 128-row table of 2^(j/128), the float in double arithmetic on an integer reciprocal, a
// 513-row table of ln and a 2048-row table of 2^(j/2048) (vectorcore/powr_data.cpp, from
// tools/gen/powr_tables.py).  Range test: a flagged lane (x not positive normal finite, y out
// of the core's range, |y log x| beyond what keeps the result a normal number) runs the core
// on (1, 1) and goes to the rare routine.  An integer y takes a branch first to the exact
// power built by integer work (powr(2, 3) = 8 with no flag, in every mode), as pow does.
//
// Rare routines: the special values, in the order of the table below, and the finite
// arguments the bound sent here (subnormal x, results near or beyond the format's range):
// ln x in two words from the logarithm kernel (renormalised), z = y ln x as a product in two words, e^z's
// head from the exponential kernel and its scaling with one rounding into the subnormal
// range (pow's scaling step, under powr's codes).  Float: the same in double, z decides
// overflow and underflow, the exponential kernel's double rounds to float once.
//
//   x NaN                         x + y
//   x = +inf, y = +-0             NaN, invalid
//   x = +-0, y = +-0              NaN, invalid
//   x = +-0, y = +inf             +0
//   x = +-0, y < 0 or -inf        +inf, divide-by-zero
//   x = +-0, y > 0                +0
//   x = 1                         1 for finite y; NaN y: x + y; y = +-inf: NaN, invalid
//   x < 0                         y NaN: x + y; else NaN, invalid, domain code (also -inf)
//   y = +-0                       1
//   y NaN                         x + y
//   x = +inf or y = +-inf         |x| >= 1: +0 for y < 0, +inf for y > 0; |x| < 1: +0 for
//                                 y = +inf, +inf for y = -inf
#include <smmintrin.h>

#include "elementary/exp_data.h"
#include "elementary/exp_kernels.h"
#include "elementary/log_kernels.h"
#include "elementary/pow_common.h"
#include "elementary/pow_exact.h"
#include "tsr/dd.h"
#include "tsr/guard.h"
#include "tsr/lane.h"
#include "tsr/vectorcore.h"
#include "vectorcore/powr_data.h"

using namespace tsr;
using namespace tsr::vc;

// The rare routines (defined by tier ex, shared by every tier).
extern "C" {
int __libm_dpowr_cout_rare(const double *px, const double *py, double *result) noexcept TSR_HIDDEN;
int __libm_spowr_cout_rare(const float *px, const float *py, float *result) noexcept TSR_HIDDEN;
}

namespace {

constexpr bool kFma = !TSR_TIER_EX;
// log2 x to within 1/8 from the high word of a positive double: the exponent plus the 20
// mantissa bits of the word as a fraction (log2(1 + f) - f lies in [0, 0.0861]); exact.
inline double log2_word(uint32_t hx) {
    return double(int(hx >> 20) - 1023) + double(hx & 0xfffffu) * 0x1p-20;
}
// The same rounded down (a lower bound of |y|, which may be 0).
inline double round_down8(uint64_t ay) { return f64(ay & ~0x00000fffffffffffull); }
// Where the bound from below already puts |y log2 x| beyond `limit` (the format's range and
// its subnormals): +1 for a certain overflow, -1 for a certain underflow, 0 otherwise.
inline int certain_range(double x, double y, double limit) {
    uint64_t ay = bits(y) & 0x7fffffffffffffffull;
    if (ay > 0x4330000000000000ull) ay = 0x4330000000000000ull;  // 2^52: enough for any limit
    double lx = log2_word(hi(x));
    double low = round_down8(ay) * (__builtin_fabs(lx) - 0.125);
    if (!(low > limit)) return 0;
    return (lx > 0) == !(bits(y) >> 63) ? 1 : -1;
}

// The special values of the table above; true when *out holds the result and *status the
// code.  Otherwise x and y are positive finite resp. finite non-zero.
template <class T>
inline bool specials(T x, T y, T *out, int *status, int domain) {
    using F = Format<T>;
    auto ux = F::bits(x), uy = F::bits(y);
    auto ax = ux & F::abs, ay = uy & F::abs;
    const auto inf = F::inf, one = F::one;
    *status = 0;
    if (ax > inf) { *out = x + y; return true; }
    if (ay == 0 && (ax == 0 || ux == inf)) { *out = opaque(T(0)) * opaque(F::from(inf)); return true; }
    if (ax == 0) {
        if (ay > inf) { *out = x + y; return true; }
        if (uy & F::sign) { *out = opaque(T(1)) / opaque(T(0)); return true; }
        *out = T(0);
        return true;
    }
    if (ux == one) {
        if (ay > inf) { *out = x + y; return true; }
        *out = ay == inf ? opaque(T(0)) * opaque(F::from(inf)) : T(1);
        return true;
    }
    if (ux & F::sign) {
        if (ay > inf) { *out = x + y; return true; }
        *out = opaque(T(0)) * opaque(F::from(inf));
        *status = domain;
        return true;
    }
    if (ay == 0) { *out = T(1); return true; }
    if (ay > inf) { *out = x + y; return true; }
    if (ux == inf || ay == inf) {
        bool big = ux > one, ypos = !(uy & F::sign);
        *out = big == ypos ? F::from(inf) : T(0);
        return true;
    }
    return false;
}

}  // namespace

#if TSR_TIER_EX
extern "C" int __libm_dpowr_cout_rare(const double *px, const double *py, double *result) noexcept {
    double x = *px, y = *py;
    int status;
    if (specials(x, y, result, &status, code::powr_domain)) return status;
    if (int c = certain_range(x, y, 1076.0)) {  // beyond the subnormals: no logarithm needed
        *result = c > 0 ? powk::overflow<code::powr_overflow>(x, y, false)
                        : powk::underflow<code::powr_underflow>(x, y, false);
        return 0;
    }
    // e^(y ln x): ln x in two words, z = y ln x in two words (|z| < 2^12 here: y·ln x beyond
    // 746 in magnitude is decided by its head alone).
    // The logarithm kernel's shifters need round-to-nearest: the caller's mode comes back
    // before the exponential (which guards itself) and the scaling.
    double l[2];
    dd::DD z;
    double zl;
    {
        RnGuard g;
        __libm_log_k64(opaque(x), 0.0, l);  // head and a tail up to 2^-20 of it: summed first
        dd::DD ln = dd::two_sum(l[0], l[1]);
        // Beyond the range decided on the plain product, before Dekker's product (whose
        // split would overflow for |y| near the largest doubles).
        double zh = g.finish(y * ln.h);
        if (zh > 0x1.7p+9) {  // > 736: e^z > 2^1061
            *result = powk::overflow<code::powr_overflow>(x, y, false);
            return 0;
        }
        if (zh < -0x1.76p+9) {  // < -748: e^z < 2^-1079
            *result = powk::underflow<code::powr_underflow>(x, y, false);
            return 0;
        }
        RnGuard g2;
        z = dd::two_prod<false>(opaque(y), ln.h);
        zl = g2.finish(z.l + y * ln.l);
        z.h = opaque(z.h);
    }
    int n;
    double o[2];
    __libm_exp_k64(z.h, &n, o);  // e^z.h = (o[0] + o[1])·2^n, 0.7 < o[0] < 1.42
    double Y = o[1] + o[0] * zl;  // e^zl = 1 + zl to 2^-86 (|zl| < 2^-43)
    *result = powk::scale<code::powr_overflow, code::powr_underflow>(o[0], Y, n, x, y);
    return 0;
}

extern "C" int __libm_spowr_cout_rare(const float *px, const float *py, float *result) noexcept {
    float x = *px, y = *py;
    int status;
    if (specials(x, y, result, &status, code::powrf_domain)) return status;
    if (int c = certain_range(double(x), double(y), 151.0)) {
        *result = c > 0 ? report(x, y, opaque(0x1p127f) * 0x1p127f, code::powrf_overflow)
                        : report(x, y, opaque(0x1p-126f) * 0x1p-126f, code::powrf_underflow);
        return 0;
    }
    double l[2], z;
    {
        RnGuard g;
        __libm_log_k64(double(opaque(x)), 0.0, l);
        z = g.finish(double(y) * l[0] + double(y) * l[1]);  // error below 2^-46 where it matters
    }
    if (z > 0x1.64p+6) {  // > 89: beyond the largest float
        *result = report(x, y, opaque(0x1p127f) * 0x1p127f, code::powrf_overflow);
        return 0;
    }
    if (z < -0x1.ap+6) {  // < -104: below half the smallest subnormal
        *result = report(x, y, opaque(0x1p-126f) * 0x1p-126f, code::powrf_underflow);
        return 0;
    }
    float f = float(__libm_exp_k32(z));
    uint32_t fb = bits(f);
    if (fb == 0x7f800000u) *result = report(x, y, f, code::powrf_overflow);
    else if (fb < 0x00800000u) *result = report(x, y, f, code::powrf_underflow);
    else *result = f;
    return 0;
}
#endif

namespace {

// An exact power (integer y) built by integer work: no rounding, no flag.
template <class T>
__attribute__((cold, noinline)) bool powr_exact(T x, T y, T *out) {
    using F = Format<T>;
    auto ux = F::bits(x);
    if (ux - F::bits(F::min_normal) >= F::inf - F::bits(F::min_normal)) return false;
    return powk::exact_power(x, y, false, out);
}

// ---- powr ---------------------------------------------------------------------------------
// log2 x = n + log2 m, m in [1, 2); row i of the mantissa's top ten bits (rounded) holds a
// multiplier c of 24 bits near C/(1 + i/1024), C = 0x1.71547p+0 (log2 e cut to 23 bits), and
// log2(C/c) as hi + lo (hi on the grid 2^-42, less 1 from row 512 on, where n counts one
// more: m >= 1.4995 is taken as m/2 of the next binade, so that log2 x near 0 never comes
// from a cancellation).  p = m c lies within 7.05e-4 of C: v = p - C is exact, and
// log2 m = hi + lo + log2(1 + v/C), with log2(1 + v/C) = v + v Q(v) (error 2^-75.9, the
// bound beside the table).  m c is formed exactly: m cut to 26 bits (mh) times c is exact,
// the rest ml c is exact too (27 + 24 bits), and r1 = p - C is exact by Sterbenz.
//   A = n + hi exact (hi on the grid 2^-42, |n| < 2^11); S1 = A + r1 and S2 = S1 + e by
//   compensated sums, their errors t; L + q = S2 + (Q + lo + t) renormalised: log2 x in two
//   words to about 2^-70 relative.
// y log2 x: y and L cut to 26 bits, P = yh Lh exact; P rounded to 1/128 by the shifter
// 1.5 2^45 gives k, and z = P - k/128 + (the partial products and q y) below 2^-8 in
// magnitude (2^-7 in a directed mode).  2^z = 1 + z ln2 + z^2 E(z) (error 2^-60.7);
// 2^(k/128) = 2^(k >> 7) (T + t) from the shared 128-row table.  The result
// (z ln2 T + D + T) F rounds once: below 0.51 ulp before the directed modes' one rounding.
// Tiers l9 and d1 shorten the path: Q in pairs on v^2 and v^4, the result's range tested on
// the shifter's pattern by a branch, y without fraction bits sent off by one rounding test.
constexpr uint32_t kXLow = 0x00100000u, kXHigh = 0x7fefffffu;  // positive normal x
constexpr uint32_t kXShift = range_shift(kXLow), kXLimit = range_limit(kXLow, kXHigh);
// 2^-54 <= |y| < 2^64: below, y log2 x rounds the result to 1 (the rare routine gives the
// directed modes' neighbour); from 2^64 on, |y log2 x| > 1000 for every x != 1.  Within,
// no partial product of y and L can overflow or underflow.
constexpr uint32_t kYLow = 0x3c900000u, kYHigh = 0x43efffffu;
constexpr uint32_t kYShift = range_shift(kYLow), kYLimit = range_limit(kYLow, kYHigh);
constexpr double kC = 0x1.7154740000000p+0;        // log2 e cut to 23 bits
constexpr double kShift45 = 0x1.8p+45;              // rounds to 1/128
constexpr double kPBound = 0x1.f3ffe00000000p+9;    // |y log2 x| beyond ~1000: the rare routine
constexpr uint64_t kPBoundK = uint64_t(kPBound * 128);  // the same in steps of 1/128
constexpr double kLn2 = 0x1.62e42fefa39efp-1;

template <bool Fma>
inline double powr_body(double x, double y) {
    uint32_t flag = outside(hi(x), kXShift, kXLimit) | outside(hi(y) & 0x7fffffffu, kYShift, kYLimit);
    // The arguments' test exits at once (a scalar body gains nothing from running the
    // core on a stand-in); the result's range is tested branch-free below.
    if (__builtin_expect(flag, 0)) return rare_exit(x, y, x, __libm_dpowr_cout_rare);
    double xs = x, ys = y;
    uint64_t ux = bits(xs);
    uint32_t hx = uint32_t(ux >> 32);
    uint32_t i = ((hx & 0xffe00u) + 0x200u) >> 10;
    int32_t n = int32_t(hx + 0xc0180200u) >> 20;  // E - 1023, one more from m >= 1.4995
    const powr::LogRow &row = powr::powr_log1024[i];
    double m = f64((ux & 0x000fffffffffffffull) | 0x3ff0000000000000ull);
    double p = m * row.c;
    double r1 = p - kC;  // exact
    double e;
    if constexpr (Fma) {
        e = __builtin_fma(m, row.c, -p);
    } else {
        dd::DD mc = dd::split_cut(m);  // 26 + 27 bits
        e = mc.l * row.c + (mc.h * row.c - p);  // both products exact
    }
    double A = double(n) + row.hi;  // exact
    double S1 = A + r1, S2 = S1 + e;
    double t = ((S1 - S2) + e) + ((A - S1) + r1);
    double v = e + r1;
    // log2(1 + v/C) - v = v Q(v), |v| <= 7.05e-4: error 2^-75.9 (tools/gen/powr_tables.py).
    constexpr double a0 = 0x1.9c3a6966457eep-24, a1 = -0x1.62e4346694107p-2, a2 = 0x1.47fd462b3b816p-3,
                     a3 = -0x1.550472a8bb463p-4, a4 = 0x1.7a334ddfc9f86p-5, a5 = -0x1.b4ea0e9419f52p-6;
    double Q;
    if constexpr (Fma) {
        // In pairs on v^2 and v^4 (two steps of latency where one after the other takes six);
        // each pair's rounding is scaled down by the powers as in the nested form.
        double v2 = v * v;
        double Q45 = __builtin_fma(a5, v, a4), Q23 = __builtin_fma(a3, v, a2), Q01 = __builtin_fma(a1, v, a0);
        Q = __builtin_fma(v2 * v2, Q45, __builtin_fma(v2, Q23, Q01));
        Q = __builtin_fma(Q, v, row.lo + t);
    } else {
        Q = a5 * v + a4;
        Q = Q * v + a3;
        Q = Q * v + a2;
        Q = Q * v + a1;
        Q = Q * v + a0;
        Q = Q * v + (row.lo + t);
    }
    double L = S2 + Q, q = Q - (L - S2);
    // y L = P + tail: P = yh Lh exact from 26-bit halves (ex), or the rounded product and
    // its error by fma (l9).  Beyond the bound the lane is flagged and P taken as 0 (ex), so
    // that no step below meets an exponent outside the format (the tail stays below 2^50);
    // l9 leaves by a branch before those steps.
    double P0, tail;
    if constexpr (Fma) {
        P0 = L * ys;
        tail = __builtin_fma(q, ys, __builtin_fma(L, ys, -P0));
    } else {
        dd::DD Ls = dd::split_cut(L), yc = dd::split_cut(ys);
        P0 = yc.h * Ls.h;
        tail = q * ys + (yc.l * Ls.h + (Ls.l * yc.h + yc.l * Ls.l));
    }
    double P, s;
    if constexpr (Fma) {
        // Tested on the shifter's pattern by integer, a branch off the path: s lies in the
        // shifter's binade with |k| <= 128 kPBound, or P is beyond the bound (then s is far
        // from the shifter's pattern).
        P = P0;
        s = P + kShift45;
        if (__builtin_expect(bits(s) - (bits(kShift45) - kPBoundK) > 2 * kPBoundK, 0))
            return rare_exit(x, y, x, __libm_dpowr_cout_rare);
    } else {
        __m128d Pv = _mm_set_sd(P0);
        __m128d big = _mm_cmpgt_sd(_mm_andnot_pd(_mm_set_sd(-0.0), Pv), _mm_set_sd(kPBound));
        flag |= uint32_t(_mm_movemask_pd(big) & 1);
        P = _mm_cvtsd_f64(_mm_andnot_pd(big, Pv));
        s = P + kShift45;
    }
    int32_t k = int32_t(uint32_t(bits(s)));
    double z = tail + (P - (s - kShift45));  // P - k/128 exact
    const expd::MT &tr = expd::frac128[k & 127];
    double T = f64(0x3ff0000000000000ull | tr.m);
    double F = from_words((uint32_t(k << 13) + 0x3ff00000u) & 0xfff00000u, 0);  // 2^(k >> 7)
    // 2^z - 1 - z ln2 = z^2 E(z), |z| <= 2^-8: error 2^-60.7 (tools/gen/powr_tables.py).
    double w = z * z;
    double D = dd::mul_add<Fma>(dd::mul_add<Fma>(0x1.c6b08d704a0bfp-5, z, 0x1.ebfbdff82c58ep-3) * w, T,
                                dd::mul_add<Fma>(dd::mul_add<Fma>(0x1.5d87fe78a6731p-10, z, 0x1.3b2ab6fba4e77p-7) * (w * w), T, tr.t));
    double r = (dd::mul_add<Fma>(z * kLn2, T, D) + T) * F;
    return finish(flag, x, y, r, __libm_dpowr_cout_rare);
}

template <bool Fma>
__attribute__((cold, noinline)) double powr_integer(double x, double y) {
    double out;
    if (powk::small_integer(bits(y)) && powr_exact(x, y, &out)) return out;
    return powr_body<Fma>(x, y);
}

template <bool Fma>
inline double powr_d(double x, double y) {
    if constexpr (Fma) {
        // y without fraction bits (an integer, +-0, +-inf, a NaN) by one rounding and compare.
        __m128d yv = lane(y);
        double yr = _mm_cvtsd_f64(_mm_round_sd(yv, yv, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
        if (__builtin_expect(!__builtin_islessgreater(y, yr), 0)) return powr_integer<Fma>(x, y);
    } else {
        if (__builtin_expect(powk::small_integer(bits(y)), 0)) return powr_integer<Fma>(x, y);
    }
    return powr_body<Fma>(x, y);
}

// ---- powrf --------------------------------------------------------------------------------
// In double.  a = 2^-10 1.m (m the float's 23 bits); R = the reciprocal estimate of a,
// rounded to an integer by truncating R + 1/2 (in any mode): R lies in 512 .. 1024 and
// within 0.875 of 1/a, so that u = a R - 1 is exact (24 + 11 bits; Sterbenz) and
// |u| <= 0.875 2^-9.  ln x = n ln2 + ln(2^k/R) + ln(1 + u), k = 9 for R <= 724 (1.m above
// 1.414 counts in the next binade, n one more) and 10 above, from the 513-row table; ln(1 + u)
// = u + u^2 L(u) to u^4 (error 2^-48.3).  w = y ln x; beyond |w| > 87 the result leaves the
// normal floats and the lane goes to the rare routine.  e^w = 2^(k/2048) e^r with k the
// nearest integer to w 2048/ln2, |r| <= ln2/4096: e^r = 1 + r + r^2/2 (error below r^3/6 =
// 2^-40.2), 2^(k/2048) a row of 2048 and k >> 11 added to the exponent.  The double result
// errs by about 2^-38 relative at most, 2^-15 of the float's ulp: one rounding to float
// stays below 0.501 ulp.
constexpr double k2048OverLn2 = 0x1.71547652b82fep+11;
constexpr double kLn2Over2048 = 0x1.62e42fefa39efp-12;
constexpr double kShift52 = 0x1.8p+52;  // rounds to an integer
constexpr double kTBound = 87.0 * k2048OverLn2;  // e^87 < 2^126, e^-87 > 2^-126: a normal float
constexpr double kLnC2 = -0.5 * k2048OverLn2, kLnC3 = k2048OverLn2 / 3, kLnC4 = -0.25 * k2048OverLn2;
constexpr double kExpC2 = 0.5 * kLn2Over2048 * kLn2Over2048;

template <bool Exact, bool Fma>
inline float powrf_body(float x, float y) {
    uint32_t ux = bits(x), ay = bits(y) & 0x7fffffffu;
    // x positive, normal and finite; y finite and non-zero (y = 0 gives 1 exactly there).
    // Without the rounding instruction (tier ex) x = 1 too: R + 1/2 truncated raises inexact.
    uint32_t flag = uint32_t(ux - 0x00800000u >= 0x7f800000u - 0x00800000u) | uint32_t(ay - 1u >= 0x7f800000u - 1u);
    if constexpr (!Fma) flag |= uint32_t(ux == 0x3f800000u);
    // The arguments' test exits at once (a scalar body gains nothing from running the
    // core on a stand-in); the result's range is tested branch-free below.
    if (__builtin_expect(flag, 0)) return rare_exit(x, y, x, __libm_spowr_cout_rare);
    double yd = y;
    __m128 af = _mm_castsi128_ps(_mm_cvtsi32_si128(int((ux & 0x007fffffu) | 0x3a800000u)));  // 2^-10 1.m
    __m128 rc = Exact ? _mm_div_ss(_mm_set_ss(1.0f), af) : _mm_rcp_ss(af);
    int32_t R;
    double Rd;
    if constexpr (Fma) {
        // Rounded to nearest by the rounding instruction, which raises nothing.
        __m128 rr = _mm_round_ss(rc, rc, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
        R = _mm_cvttss_si32(rr);
        Rd = _mm_cvtsd_f64(_mm_cvtss_sd(_mm_setzero_pd(), rr));
    } else {
        R = _mm_cvttss_si32(_mm_add_ss(rc, _mm_set_ss(0.5f)));  // exact sum; R + 1/2 truncated
        Rd = double(R);
    }
    double a = f64((uint64_t(ux & 0x007fffffu) << 29) | 0x3f50000000000000ull);
    double u = dd::mul_add<Fma>(a, Rd, -1.0);  // exact
    double n = double(int32_t(ux >> 23) - 126 - int32_t(R > 724));
    // In units of ln2/2048 (the exponential's step), so that t = S y is the exponential's
    // argument with no further product: 2048 n exact, the row times 2048/ln2 rounded once
    // with the sum, beside the polynomial; S = that + c u + u^2 c L(u), the first sum
    // rounding at 2^-53 of a value that S cancels by a factor 8 at most.
    double A = dd::mul_add<Fma>(powr::powrf_lnr[R - 512], k2048OverLn2, 2048.0 * n);
    A = dd::mul_add<Fma>(k2048OverLn2, u, A);
    // (2048/ln2)(ln(1 + u) - u) = u^2 c L(u), the series to u^4 (tools/gen/powr_tables.py).
    double l = dd::mul_add<Fma>(dd::mul_add<Fma>(kLnC4, u, kLnC3), u, kLnC2);
    double S = dd::mul_add<Fma>(u * u, l, A);
    __m128d tv = _mm_set_sd(S * yd);
    __m128d big = _mm_cmpgt_sd(_mm_andnot_pd(_mm_set_sd(-0.0), tv), _mm_set_sd(kTBound));
    flag |= uint32_t(_mm_movemask_pd(big) & 1);
    double t = _mm_cvtsd_f64(_mm_andnot_pd(big, tv));  // 0 on a flagged lane
    double s = t + kShift52;
    uint64_t k = bits(s);
    // 2^(k/2048): the row with k >> 11 added to its exponent field, by integer, while the
    // polynomial runs.
    double T = f64(bits(powr::powrf_exp2048[k & 2047]) + (uint64_t(int64_t(int32_t(k)) >> 11) << 52));
    double z = t - (s - kShift52);  // exact, |z| <= 1/2 (1 in a directed mode)
    // e^r - 1 = r + r^2/2 with r = z ln2/2048 (|r| <= 2^-11.6; error below r^3/6 = 2^-40.2).
    double e = dd::mul_add<Fma>(z * z, kExpC2, z * kLn2Over2048);
    return finish(flag, x, y, float(dd::mul_add<Fma>(T, e, T)), __libm_spowr_cout_rare);
}

#if !TSR_TIER_EX
// Tiers l9 and d1: the same reduction, laid out for fused multiply-add and a short path
// from x to the result: x stays in its vector register, and only the two table indices and
// the exponential's scale cross to the integer unit.
//   a = 2^-10 1.m is formed by masks in the register x arrives in.  The estimate's bits go
//   up 29 places into a double's fields, with the rounding constant of the float's integer
//   bit (0x2000 << 29), the exponent rebias (896 << 52) and a mask of the bits from the
//   integer's up: R as a double with no conversion (the estimate lies in [511.8, 1024.4],
//   so it rounds to an integer of 512 .. 1024, ties upward).  R's bits give the row
//   ((bits >> 43) - (bits(512.0) >> 43)).  n = E - 126 - (R > 724) by integer lanes: R > 724
//   exactly where the estimate reaches 724.5, one compare of its bits.
//   S as in tier ex, summed as (2048 n + c lnr) + u P(u) with P = c + u c L(u) in pairs
//   on u^2 (the read and n are done before P).  s = S y + 1.5 2^52 in one fused step, k its low bits; the one test
//   on the path is |k| <= 87 2048/ln2 on s's pattern (anything outside, a NaN included, is
//   far from the shifter's), a branch to the rare routine.  z = S y - k fused (the exact
//   difference rounded once), e^r - 1 = z (c1 + c2 z), and 2^(k >> 11) added to the row's
//   exponent field by integer.
// y with no fraction bits (an integer, +-0, +-inf, a NaN) leaves the usual path on one
// rounding and compare: the exact powers and the rare routine sort those out.
alignas(16) constexpr uint32_t kMant32[4] = {0x007fffffu, 0, 0, 0};
alignas(16) constexpr uint32_t kExpM10[4] = {0x3a800000u, 0, 0, 0};          // 2^-10
alignas(16) constexpr uint64_t kRRound[2] = {(0x2000ull << 29) + (896ull << 52), 0};
alignas(16) constexpr uint64_t kRKeep[2] = {0xfffff80000000000ull, 0};     // bits from R's unit up
alignas(16) constexpr uint32_t kR724[4] = {0x44351fffu, 0, 0, 0};  // just below 724.5f
constexpr uint64_t kTBoundK = uint64_t(kTBound);
constexpr double kMinus1 = -1.0;
constexpr uint64_t k512Row = 0x4080000000000000ull >> 43;  // 512.0's bits >> 43
constexpr double kExpC1 = kLn2Over2048;

__attribute__((always_inline)) inline float powrf_fma_core(float x, float y) {
    __m128 xv = lane(x);
    __m128 av = _mm_or_ps(_mm_and_ps(xv, _mm_load_ps(reinterpret_cast<const float *>(kMant32))),
                          _mm_load_ps(reinterpret_cast<const float *>(kExpM10)));
    __m128i rc = _mm_castps_si128(_mm_rcp_ss(av));
    __m128i rv = _mm_and_si128(_mm_add_epi64(_mm_slli_epi64(rc, 29), _mm_load_si128(reinterpret_cast<const __m128i *>(kRRound))),
                               _mm_load_si128(reinterpret_cast<const __m128i *>(kRKeep)));
    double Rd = _mm_cvtsd_f64(_mm_castsi128_pd(rv));
    double lnr = powr::powrf_lnr[(uint64_t(_mm_cvtsi128_si64(rv)) >> 43) - k512Row];
    // u = a R - 1, exact; written out so that the product lands on a's register (left to
    // itself the compiler copies R first, a blend on the path).
    double u = double(_mm_cvtss_f32(av));
    __asm__("vfmadd213sd %[m1], %[R], %[u]" : [u] "+x"(u) : [R] "x"(Rd), [m1] "m"(kMinus1));
    __m128i nv = _mm_add_epi32(_mm_srli_epi32(_mm_castps_si128(xv), 23),
                               _mm_cmpgt_epi32(rc, _mm_load_si128(reinterpret_cast<const __m128i *>(kR724))));
    double N = __builtin_fma(_mm_cvtsd_f64(_mm_cvtepi32_pd(nv)), 2048.0, -2048.0 * 126);  // 2048 n, exact
    // S = (N + c lnr) + u P(u), P = c + u c L(u) in pairs on u^2: the table term and 2048 n
    // meet while P forms.
    double P0;  // c + c2 u onto c's register (the compiler's choice copied u first)
    __asm__("vfmadd231sd %[c2], %[u], %[p]" : [p] "=x"(P0) : "0"(k2048OverLn2), [u] "x"(u), [c2] "m"(kLnC2));
    double P = __builtin_fma(u * u, __builtin_fma(kLnC4, u, kLnC3), P0);
    double S = __builtin_fma(u, P, __builtin_fma(lnr, k2048OverLn2, N));
    double yd = y;
    // s = fma(S, y, shift) and z = fma(S, y, -(s - shift)) written out so that each lands on
    // its addend's register: the compiler's own choice copied S twice on the path.
    double s, z;
    __asm__("vfmadd231sd %[y], %[S], %[s]" : [s] "=x"(s) : "0"(kShift52), [S] "x"(S), [y] "x"(yd));
    uint64_t sb = bits(s);
    // s in the shifter's binade with |k| <= the bound; anything else (beyond it, a NaN) is
    // far from the shifter's pattern.
    if (__builtin_expect(sb - (bits(kShift52) - kTBoundK) > 2 * kTBoundK, 0))
        return rare_exit(x, y, x, __libm_spowr_cout_rare);
    __asm__("vsubsd %[K], %[s], %[z]" : [z] "=x"(z) : [s] "x"(s), [K] "m"(kShift52));
    __asm__("vfmsub231sd %[y], %[S], %[z]" : [z] "+x"(z) : [S] "x"(S), [y] "x"(yd));
    double T = f64(bits(powr::powrf_exp2048[sb & 2047]) + (uint64_t(int64_t(sb) >> 11) << 52));
    double e = z * __builtin_fma(z, kExpC2, kExpC1);
    return float(__builtin_fma(T, e, T));
}

__attribute__((cold, noinline)) float powrf_fma_other(float x, float y) {
    uint32_t ay = bits(y) & 0x7fffffffu;
    if (ay - 1u >= 0x7f800000u - 1u) return rare_exit(x, y, x, __libm_spowr_cout_rare);
    float out;
    if (powk::small_integer(bits(y)) && powr_exact(x, y, &out)) return out;
    return powrf_fma_core(x, y);
}

inline float powrf_fma(float x, float y) {
    uint32_t ux = bits(x);
    if (__builtin_expect(ux - 0x00800000u >= 0x7f800000u - 0x00800000u, 0))
        return rare_exit(x, y, x, __libm_spowr_cout_rare);
    __m128 yv = lane(y);
    float yr = _mm_cvtss_f32(_mm_round_ss(yv, yv, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
    if (__builtin_expect(!__builtin_islessgreater(y, yr), 0)) return powrf_fma_other(x, y);
    return powrf_fma_core(x, y);
}
#endif

template <bool Exact, bool Fma>
__attribute__((cold, noinline)) float powrf_integer(float x, float y) {
    float out;
    if (powr_exact(x, y, &out)) return out;
    return powrf_body<Exact, Fma>(x, y);
}

template <bool Exact, bool Fma>
inline float powr_f(float x, float y) {
    if (__builtin_expect(powk::small_integer(bits(y)), 0)) return powrf_integer<Exact, Fma>(x, y);
    return powrf_body<Exact, Fma>(x, y);
}

}  // namespace

TSR_BODY(double, powr, (double x, double y)) { return powr_d<kFma>(x, y); }
#if TSR_TIER_EX
TSR_BODY(float, powrf, (float x, float y)) { return powr_f<false, false>(x, y); }
#else
TSR_BODY(float, powrf, (float x, float y)) { return powrf_fma(x, y); }
#endif

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_powr, (double x, double y)) { return powr_d<false>(x, y); }
// The reciprocal by a true division: the same bits on every processor.
TSR_DEFINE(float, __bwr_powrf, (float x, float y)) { return powr_f<true, false>(x, y); }
#endif

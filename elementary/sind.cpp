// sind, cosd, sincosd and their float forms.
//
// |x| = 90q + k + d exactly (deg_common.h), k whole, |d| <= 1/2.  sin x° is, by the quadrant Q,
// sin, cos, -sin, -cos of the angle k + d (with x's sign); cos x° the same with Q + 1 and no
// sign; both from the rows of the sine at whole degrees.  The zero angle gives the exact ±1
// or a zero (sind: x's sign, sind(180) = +0, sind(-180) = -0; cosd: +0); 30 and 60 degrees
// give the rows' exact 1/2; no flag.  Elsewhere head and tail with the sign on both before the
// last addition.  sincosd takes both from one reduction.
// Below 2^-100 sind is x·pi/180 (the cube is below 2^-200 of it) and cosd 1 less a tail.
//
// Tiers ex and e7 run these steps alike (e7 is the SSE3 build of them).  The float forms
// widen to double, where every float argument and the whole reduction are exact, and take
// the same exact cases; below 2^24 they reduce by 90 in double and evaluate two minimax
// polynomials (below), from 2^24 on the same rows cut after d^4, in double in the caller's
// mode: the last rounding to float adds about 2^-9 of an ulp to its half ulp.
#include <utility>

#include "elementary/deg_common.h"

using namespace tsr;
using namespace tsr::deg;

namespace {

// Cosine selects the other side: Q + 1, and x's sign is left out.
template <bool Cos>
inline double sind_core(double x) {
    uint64_t ax = bits(x) & kAbs;
    if (ax >= kInfBits) return x - x;  // NaN stays, infinity gives invalid NaN
    if (ax < kSmall) {
        if (Cos) return ax == 0 ? 1.0 : 1.0 - 0x1p-900;  // 1 - t^2/2: 1 in nearest
        if (ax == 0) return x;
        return mul_small(x, kD2rHi, kD2rLo);
    }
    Quadrant w = reduce_whole(f64(ax));
    unsigned q = w.q + (Cos ? 1 : 0);
    uint64_t neg = ((q & 2) ? kSign : 0) ^ (Cos ? 0 : bits(x) & kSign);
    if (w.k == 0 && w.d == 0) {
        if (q & 1) return neg_if(1.0, neg);
        return Cos ? 0.0 : f64(bits(x) & kSign);
    }
    DD v = side_rows(w, q);
    return neg_if(v.h, neg) + neg_if(v.l, neg);
}

// sincosd: both from one reduction, the zero angle as in sind_core.
inline void sincosd_core(double x, double *sp, double *cp) {
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= kInfBits || ax < kSmall) {
        *sp = sind_core<false>(x);
        *cp = sind_core<true>(x);
        return;
    }
    Quadrant w = reduce_whole(f64(ax));
    uint64_t ns = ((w.q & 2) ? kSign : 0) ^ sx, nc = (((w.q + 1) & 2) ? kSign : 0);
    if (w.k == 0 && w.d == 0) {
        *sp = (w.q & 1) ? neg_if(1.0, ns) : f64(sx);
        *cp = (w.q & 1) ? 0.0 : neg_if(1.0, nc);
        return;
    }
    DD s = sin_rows(w), c = cos_rows(w);
    if (w.q & 1) std::swap(s, c);
    *sp = neg_if(s.h, ns) + neg_if(s.l, ns);
    *cp = neg_if(c.h, nc) + neg_if(c.l, nc);
}

// The float forms.  Below 2^24 (and from 2^-20) the reduction by 90 runs in double on x
// itself: q is the nearest whole number to x/90 by a product with 1/90 and the shifter
// 1.5·2^52 (its low bits are q modulo 4, negative q too), and r = x - 90q is exact, since 90q
// is whole and below 2^31 and r is a multiple of ulp x (or x itself, q = 0) no larger than
// 90, 25 bits at most.  The rounded product puts q off the nearest only where x/90 is within
// 2^-27 of a half, so |r| <= 45 + 2^-20 in round to nearest; a directed mode's floor or
// ceiling (|r| up to 90) is moved to the nearer side by one rarely taken branch.  sin x° is
// then sin, cos, -sin, -cos of r by q mod 4 (cos x° the same with q + 1): a row of
// kSindfQuadrant, (A + B·r)·P(r^2) with A + B·r exactly r, 1, -r or -1 and P the sine's
// polynomial over r or the cosine's (kSindfPoly), no branch and no sign to set.  The
// polynomials' error is 2^-33.8 at most, with a few roundings of double: the last rounding to
// float adds about 2^-9 of an ulp to its half ulp.
//
// The product and the shifter raise inexact at every argument, the exact angles too, so
// these are taken first, in integers, which raise nothing: a whole x (a conversion that
// truncates, exact there) that is a multiple of 30 reads its value from kExact30 (0, ±1/2,
// ±1; 60 and 120 degrees and their kin are not exact and go on).  Below 2^-20 the sine is
// x·pi/180 (the cube is below 2^-50 of it) and the cosine 1 less a tail, which rounds to 1
// or below it by the mode; from 2^24 on (every float there is whole), infinities and NaN,
// the steps of sind_core on the rows cut after d^4 (side_rows_f).
constexpr uint32_t kFloatSmall = 0x35800000u;  // 2^-20, float bits
constexpr uint32_t kFloatWhole = 0x4b800000u;  // 2^24
constexpr int32_t kOffset30 = 30 << 26;        // a multiple of 30 that makes any whole x below 2^24 positive
constexpr double kInv90 = 0x1.6c16c16c16c17p-7;  // 1/90 rounded
// sin of 30j degrees, j = 0 .. 11; 2 marks the values that are not exact (60°, 120°, ...).
constexpr double kExact30[12] = {0, 0.5, 2, 1, 2, 0.5, 0, -0.5, 2, -1, 2, -0.5};

// Quadrant q: {A, B, P's five coefficients}, the value (A + B·r)·P(r^2).
struct QuadrantRows {
    double w[4][7];
};
constexpr QuadrantRows make_quadrant_rows() {
    QuadrantRows t{};
    for (int q = 0; q < 4; ++q) {
        double sign = q & 2 ? -1.0 : 1.0;
        t.w[q][0] = q & 1 ? sign : 0.0;
        t.w[q][1] = q & 1 ? 0.0 : sign;
        for (int i = 0; i < 5; ++i) t.w[q][2 + i] = kSindfPoly[q & 1][i];
    }
    return t;
}
constexpr QuadrantRows kSindfQuadrant = make_quadrant_rows();

inline double sindf_value(unsigned q, double r) {
    const double *w = kSindfQuadrant.w[q & 3];
    double z = r * r, z2 = z * z;
    double p = (w[2] + z * w[3]) + z2 * ((w[4] + z * w[5]) + z2 * w[6]);
    return (w[0] + w[1] * r) * p;
}
struct FloatAngle {
    double r;
    unsigned q;
};
inline FloatAngle reduce_f(double x) {
    constexpr double kShifter = 0x1.8p52;
    double t = x * kInv90 + kShifter;
    double r = x - (t - kShifter) * 90.0;
    unsigned q = unsigned(bits(t));
    if (__builtin_expect((bits(r) & kAbs) > bits(45.0), 0)) {  // a directed mode's floor or ceiling
        q += r > 0 ? 1 : -1;
        r += r > 0 ? -90.0 : 90.0;  // exact, as r
    }
    return {r, q};
}
// Whether the float x below 2^24 may be a whole multiple of 30 (n = x truncated), and the
// exact value of the sine (Cos: cosine) there, or 2 where x is not one or the value is not
// exact.
inline bool may_be_exact(int32_t n) { return uint32_t(n + kOffset30) % 30 == 0; }
template <bool Cos>
inline double exact30(float x, int32_t n) {
    if (float(n) != x) return 2;
    uint32_t m = uint32_t(n < 0 ? -n : n) % 360 / 30;
    double v = kExact30[(m + (Cos ? 3 : 0)) % 12];
    return Cos || v == 2 ? v : neg_if(v, bits(double(x)) & kSign);
}
inline bool fast_float(float x) { return (bits(x) & 0x7fffffffu) - kFloatSmall < kFloatWhole - kFloatSmall; }

struct SC {
    double s, c;
};
inline SC sincosdf_rest(double x);
template <bool Cos>
inline double sindf_rest(double x);

inline SC sincosdf_core(float xf) {
    if (__builtin_expect(!fast_float(xf), 0)) return sincosdf_rest(xf);
    int32_t n = int32_t(xf);  // exact where x is whole
    double es = 2, ec = 2;    // the exact values, where there are
    if (__builtin_expect(may_be_exact(n), 0)) {
        es = exact30<false>(xf, n), ec = exact30<true>(xf, n);
        if (es != 2 && ec != 2) return {es, ec};  // 0 and ±1: no flag
    }
    FloatAngle w = reduce_f(xf);
    SC v = {sindf_value(w.q, w.r), sindf_value(w.q + 1, w.r)};
    // One of the two exact (±1/2 at 30 degrees and kin): that one exactly, inexact for the other.
    if (__builtin_expect(es != 2, 0)) v.s = es;
    if (__builtin_expect(ec != 2, 0)) v.c = ec;
    return v;
}
template <bool Cos>
inline float sindf_core(float xf) {
    if (__builtin_expect(!fast_float(xf), 0)) return float(sindf_rest<Cos>(xf));
    int32_t n = int32_t(xf);  // exact where x is whole
    if (__builtin_expect(may_be_exact(n), 0)) {
        double v = exact30<Cos>(xf, n);
        if (v != 2) return float(v);
    }
    FloatAngle w = reduce_f(xf);
    return float(sindf_value(w.q + (Cos ? 1 : 0), w.r));
}

// Below 2^-20, from 2^24 on, infinities and NaN.
inline SC sincosdf_rest(double x) {
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= kInfBits) return {x - x, x - x};
    if (ax < kFloatSmall) return {x * kD2rHi, ax == 0 ? 1.0 : 1.0 - 0x1p-900};
    Quadrant w = reduce_whole(f64(ax));
    uint64_t ns = ((w.q & 2) ? kSign : 0) ^ sx, nc = ((w.q + 1) & 2) ? kSign : 0;
    if (w.k == 0 && w.d == 0) {
        if (w.q & 1) return {neg_if(1.0, ns), 0.0};
        return {f64(sx), neg_if(1.0, nc)};
    }
    return {neg_if(side_rows_f(w, w.q), ns), neg_if(side_rows_f(w, w.q + 1), nc)};
}
template <bool Cos>
inline double sindf_rest(double x) {
    SC v = sincosdf_rest(x);
    return Cos ? v.c : v.s;
}
inline void sincosdf_store(float x, float *s, float *c) {
    SC v = sincosdf_core(x);
    *s = float(v.s);
    *c = float(v.c);
}

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, sind, (double x)) { return sind_core<false>(x); }
TSR_BODY(double, cosd, (double x)) { return sind_core<true>(x); }
TSR_BODY(float, sindf, (float x)) { return sindf_core<false>(x); }
TSR_BODY(float, cosdf, (float x)) { return sindf_core<true>(x); }
TSR_BODY(void, sincosdf, (float x, float *s, float *c)) { sincosdf_store(x, s, c); }
#endif

#if TSR_TIER_EX
TSR_BODY(void, sincosd, (double x, double *s, double *c)) { sincosd_core(x, s, c); }
// The reproducible forms: the ex steps under their own names.
TSR_DEFINE(double, __bwr_sind, (double x)) { return sind_core<false>(x); }
TSR_DEFINE(double, __bwr_cosd, (double x)) { return sind_core<true>(x); }
TSR_DEFINE(float, __bwr_sindf, (float x)) { return sindf_core<false>(x); }
TSR_DEFINE(float, __bwr_cosdf, (float x)) { return sindf_core<true>(x); }
TSR_DEFINE(void, __bwr_sincosd, (double x, double *s, double *c)) { sincosd_core(x, s, c); }
TSR_DEFINE(void, __bwr_sincosdf, (float x, float *s, float *c)) { sincosdf_store(x, s, c); }
#endif

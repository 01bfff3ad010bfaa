// The trigonometric, hyperbolic and angle kernels other families call for more than extended
// accuracy (the complex functions of long double arguments): results as pairs (hi + lo, two
// 16-byte cells) with a sign factor or a binary scale beside them, arguments as values or
// scaled pairs ((hi + lo) 2^e, the exponent in a third cell).  They run in their caller's
// frame (precision control at 64 bits) and report nothing.
//
//   sine, cosine   x = q pi/2 + r as in sinl (r itself within pi/4, the reduction by pi/4
//                  beyond); the pair is the core's sin r or cos r, the returned factor the
//                  quadrant's sign (and x's, for the sine): sin x = factor (hi + lo).  The
//                  pair is good to about 2^-70 of the value.
//   of x ln2, x ln10  the same with the angle x ln2 or x ln10: formed as a pair product where
//                  it is within pi/4 (|x| < 1, |x| < 1/4), by the reduction of x ln2 or x ln10
//                  by pi/4 beyond.
//   sinh, cosh     (hi + lo) 2^k: below 64 the expressions of sinhl and coshl with k = 0, from
//                  64 on e^|x|/2 as the exponential's pair and scale (e^-|x| is below 2^-184
//                  of it); beyond 2^15 the pair is 1 and k is 0x10000, out of every range.
//   angle          atan2 of two scaled pairs: both brought to heads in [1, 2), the arctangent
//                  core on the pairs with their exponents' difference clamped to 141 (beyond,
//                  pi/2 less a part below 2^-140), the ratio itself below -70 (its cube's
//                  third is below 2^-140 of it); then pi less it for a negative x, and y's
//                  sign.  The pair is good to about 2^-76 of the angle (the core's polynomial,
//                  evaluated in extended, where the ratio is below 1/64).
// The cores run in round-to-nearest whatever the caller's mode: their two-sums and split
// products are exact only there, and the caller rounds the pair itself.
#include "extended/ext2_common.h"

using namespace tsr;
using namespace tsr::x80;

extern "C" {
TSR_HIDDEN int __libm_reduce_pi04ln2l(const long double *x, double out[2]);
TSR_HIDDEN int __libm_reduce_pi04ln10l(const long double *x, double out[2]);
}

namespace {


inline void put(long double *out, Pair p) {
    out[0] = p.h;
    out[1] = p.l;
}

// NaN for an infinity or a NaN (x * 0: invalid for an infinity or a signalling NaN).
inline bool trig_special(LD x, const Ext &v, long double *out) {
    if ((v.se & 0x7fff) != 0x7fff && !invalid_encoding(v)) return false;
    out[0] = opaque(x) * 0.0L;
    out[1] = 0.0L;
    return true;
}

// The quadrant q (mod 4) and the reduced pair of |a| where a = x c (c = ln2, ln10): the pair
// product within pi/4, the reduction of x c by pi/4 beyond (it works on x and knows c).
using ReduceC = int (*)(const long double *, double *);
inline int quadrant_of_product(LD ax, uint32_t direct_below, const LD c[2], ReduceC reduce, LD &rh, LD &rl) {
    if ((ext(ax).se & 0x7fff) < direct_below) {
        mul_const(ax, 0.0L, c, rh, rl);
        return 0;
    }
    double out[2];
    int n = reduce(&ax, out);
    rh = out[0];
    rl = out[1];
    return ((n + (n & 1)) >> 1) & 3;
}

// sin (cos = false) or cos of the angle whose reduced pair and quadrant are (q, rh, rl), the
// angle's sign s: the core's pair and the factor.
inline LD trig_out(int q, LD rh, LD rl, bool cos, bool s, long double *out) {
    if (cos) q += 1;
    put(out, (q & 1) ? cos_pair(rh, rl) : sin_pair(rh, rl));
    bool negative = ((q & 2) != 0) != (s && !cos);
    return negative ? -1.0L : 1.0L;
}

inline LD trig_kernel(const long double *x, long double *out, bool cos) {
    LD xv = *x;
    Ext v = ext(xv);
    if (__builtin_expect(trig_special(xv, v, out), 0)) return 1.0L;
    Nearest rn;
    LD ax = __builtin_fabsl(xv), rh, rl;
    int q = reduce_quadrant(ax, v, rh, rl);
    return trig_out(q, rh, rl, cos, v.se >> 15, out);
}

constexpr uint32_t kLn2DirectBelow = 0x3fff;   // |x| < 1: x ln2 < 0.70 < pi/4
constexpr uint32_t kLn10DirectBelow = 0x3ffd;  // |x| < 1/4: x ln10 < 0.58 < pi/4

inline LD trig_c_kernel(const long double *x, long double *out, bool cos, uint32_t direct_below, const LD c[2],
                        ReduceC reduce) {
    LD xv = *x;
    Ext v = ext(xv);
    if (__builtin_expect(trig_special(xv, v, out), 0)) return 1.0L;
    Nearest rn;
    LD ax = __builtin_fabsl(xv), rh, rl;
    int q = quadrant_of_product(ax, direct_below, c, reduce, rh, rl);
    return trig_out(q, rh, rl, cos, v.se >> 15, out);
}

// ---- hyperbolic -----------------------------------------------------------------------------
constexpr uint32_t kTinyField = 0x3fdf;      // |x| < 2^-32: the series' second term alone
constexpr uint32_t kBigField = 0x4005;       // |x| >= 64: e^-|x| drops out
constexpr uint32_t kBeyondField = 0x400e;    // |x| >= 2^15: saturated
constexpr int kSaturatedScale = 0x10000;      // beyond every range of the format

// The pair and scale of e^|x|/2 for 64 <= |x| < 2^15, signed; or of the saturation beyond.
inline int half_exp(LD ax, uint32_t f, bool s, long double *out) {
    if (f >= kBeyondField) {
        put(out, {s ? -1.0L : 1.0L, 0.0L});
        return kSaturatedScale;
    }
    ExpPair e = exp_pair(ax, 0.0L);
    put(out, s ? Pair{-e.hi, -e.lo} : Pair{e.hi, e.lo});
    return e.k - 1;
}

inline bool hyp_special(LD x, const Ext &v, bool even, long double *out) {
    if (is_nan(v)) {
        out[0] = x + x;
        out[1] = 0.0L;
        return true;
    }
    if (is_inf(v)) {
        out[0] = even ? __builtin_fabsl(x) : x;
        out[1] = 0.0L;
        return true;
    }
    return false;
}

// ---- angle ----------------------------------------------------------------------------------
// Zeros, infinities and NaNs as atan2l has them: the angle in multiples of pi/4 with y's sign.
inline bool angle_special(const Scaled &y, const Scaled &x, long double *out) {
    Ext vy = ext(y.hi), vx = ext(x.hi);
    if (is_nan(vy) || is_nan(vx)) {
        out[0] = x.hi + y.hi;
        out[1] = 0.0L;
        return true;
    }
    int what = axis_octants(vy, vx);
    if (what < 0) return false;
    Pair quarter{kPi2[0] * 0.5L, kPi2[1] * 0.5L};  // pi/4, exact halves
    Pair p = what == 0 ? Pair{0.0L, 0.0L} : mulp(quarter, {LD(what), 0.0L});
    put(out, (vy.se >> 15) ? neg(p) : p);
    return true;
}

inline Pair abs_pair(const Scaled &p) { return p.hi < 0.0L ? Pair{-p.hi, -p.lo} : Pair{p.hi, p.lo}; }

}  // namespace

extern "C" {

// sin x = factor (out[0] + out[1]), cos x likewise.
TSR_HIDDEN long double __libm_sinl_k80(const long double *x, long double out[2]) {
    return trig_kernel(x, out, false);
}
TSR_HIDDEN long double __libm_cosl_k80(const long double *x, long double out[2]) {
    return trig_kernel(x, out, true);
}
// sin and cos of x ln2 and of x ln10, in the same form.
TSR_HIDDEN long double __libm_sinln2l_k80(const long double *x, long double out[2]) {
    return trig_c_kernel(x, out, false, kLn2DirectBelow, kLn2_32, __libm_reduce_pi04ln2l);
}
TSR_HIDDEN long double __libm_cosln2l_k80(const long double *x, long double out[2]) {
    return trig_c_kernel(x, out, true, kLn2DirectBelow, kLn2_32, __libm_reduce_pi04ln2l);
}
TSR_HIDDEN long double __libm_sinln10l_k80(const long double *x, long double out[2]) {
    return trig_c_kernel(x, out, false, kLn10DirectBelow, kLn10_32, __libm_reduce_pi04ln10l);
}
TSR_HIDDEN long double __libm_cosln10l_k80(const long double *x, long double out[2]) {
    return trig_c_kernel(x, out, true, kLn10DirectBelow, kLn10_32, __libm_reduce_pi04ln10l);
}

// sinh x = (out[0] + out[1]) 2^k, k returned.
TSR_HIDDEN int __libm_sinhl_k80(const long double *x, long double out[2]) {
    LD xv = *x;
    Ext v = ext(xv);
    if (__builtin_expect(hyp_special(xv, v, false, out), 0)) return 0;
    uint32_t f = v.se & 0x7fff;
    bool s = v.se >> 15;
    Nearest rn;
    if (f < kTinyField) {  // x + x^3/6, the cube below 2^-64 of x
        put(out, {xv, xv * (xv * xv) * 0x1.5555555555555556p-3L});
        return 0;
    }
    LD ax = __builtin_fabsl(xv);
    if (f >= kBigField) return half_exp(ax, f, s, out);
    // m = e^|x| - 1: sinh = (m + m/(m + 1))/2, no cancellation anywhere
    Pair m = expm1_of(ax);
    Pair r = addp(m, divp(m, addp(m, {1.0L, 0.0L})));
    r = {r.h * 0.5L, r.l * 0.5L};
    put(out, s ? neg(r) : r);
    return 0;
}

// cosh x = (out[0] + out[1]) 2^k, k returned.
TSR_HIDDEN int __libm_coshl_k80(const long double *x, long double out[2]) {
    LD xv = *x;
    Ext v = ext(xv);
    if (__builtin_expect(hyp_special(xv, v, true, out), 0)) return 0;
    uint32_t f = v.se & 0x7fff;
    Nearest rn;
    if (f < kTinyField) {  // 1 + x^2/2, the fourth power below 2^-128
        put(out, {1.0L, xv * xv * 0.5L});
        return 0;
    }
    LD ax = __builtin_fabsl(xv);
    if (f >= kBigField) return half_exp(ax, f, false, out);
    // E = e^|x| (scale at most 2^92 here): cosh = (E + 1/E)/2
    ExpPair e = exp_pair(ax, 0.0L);
    LD sc = pow2l(e.k);
    Pair E{e.hi * sc, e.lo * sc};
    Pair r = addp(E, divp({1.0L, 0.0L}, E));
    put(out, {r.h * 0.5L, r.l * 0.5L});
    return 0;
}

// The angle of the point (x, y), both scaled pairs, as a pair in [-pi, pi].
TSR_HIDDEN long double *__libm_atan2l_k80(long double out[2], const Scaled *y, const Scaled *x) {
    Scaled a = *y, b = *x;
    if (angle_special(a, b, out)) return out;
    Nearest rn;
    __libm_normalizel_k80(&a);
    __libm_normalizel_k80(&b);
    bool sy = a.hi < 0.0L, sx = b.hi < 0.0L;
    Pair Y = abs_pair(a), X = abs_pair(b);
    long d = long(a.e) - long(b.e);
    Pair r;
    if (d < -70) {
        // the ratio, below 2^-69: scaled as far as the format goes (a smaller angle is not
        // representable as a pair of extended numbers)
        Pair q = divp(Y, X);
        int k = d < -16300 ? -16300 : int(d);
        r = {q.h * pow2l(k), q.l * pow2l(k)};
        if (sx) r = addp(pc(kPi), neg(r));
    } else {
        if (d > 140) d = 141;  // pi/2 less x/y, below 2^-140
        LD sc = pow2l(int(d));
        r = atan2_pos({Y.h * sc, Y.l * sc}, X);
        if (sx) r = addp(pc(kPi), neg(r));
    }
    put(out, sy ? neg(r) : r);
    return out;
}

}  // extern "C"

// tand, cotd and their float forms.
//
// |x| = 90q + i/2 + e exactly, i whole, |e| <= 1/4 (reduce_half, the steps of deg_common.h on
// half degrees).  tan x° = tan of the angle i/2 + e in the quadrant for even Q and -cot of it
// for odd Q; cot x° the other way round; x's sign last, both being odd.  The angle is folded
// to phi in [-1/4, 45] (90 less it above 45, where tan is 1/tan phi) and tan phi taken from the
// rows of the tangent at half degrees (a head and a tail to about 2^-59); the reciprocal by one
// division and a correction of its residual.
// Exact cases, without a flag: the zero angle gives a zero (tand(180) = -0 as sind/cosd give
// it) or the pole, an infinity reported with its code (tand at odd multiples of 90, cotd at
// multiples of 180; the sign as 1/tand gives it); 45 degrees in the quadrant gives ±1.
// Below 2^-100: tand is x·pi/180, cotd (180/pi)/x with a correction of the quotient, the
// operand scaled by 2^500 so that the quotient cannot overflow before the result does.
//
// Tiers ex and e7 run these steps alike.  The float forms widen to double as sindf does,
// take the same exact cases and evaluate the rows cut after e^4 (the bound beside kTandRows)
// and their reciprocal in double.
#include <type_traits>

#include "elementary/deg_common.h"
#include "tsr/codes.h"

using namespace tsr;
using namespace tsr::deg;

namespace {

// (180/pi)/x for 0 < |x| < 2^-240, rounded once in the caller's mode (overflowing past the
// largest double).
inline double recip_deg(double x) {
    RnGuardInexact g;
    double y = opaque(x) * 0x1p500;  // |y| < 2^260: the quotient's pieces stay in range
    double q = kR2dHi / y;
    DD p = two_prod(q, y);
    double e = (((kR2dHi - p.h) - p.l) + kR2dLo) / y;
    double h = opaque(q), l = opaque(e);
    g.restore();
    return (opaque(h) + l) * 0x1p500;
}

// a = |x|, finite: |x| = 90q + i/2 + e modulo 360 with the half degree i/2 nearest the angle
// in the quadrant, 0 <= i <= 180, |e| <= 1/4, exact: the steps of reduce_whole on 2|x| (exact),
// that is whole half degrees.  The angle in the quadrant is 0 exactly when i = 0 and e = 0, 45
// when i = 90 and e = 0.
struct Half {
    double e;
    int i;
    unsigned q;
};
inline Half reduce_half(double a) {
    if (bits(a) < 0x4310000000000000ull) {  // 2^50: 2a below 2^51
        constexpr double kShifter = 0x1.8p52;
        double a2 = a + a;
        double t = a2 + kShifter;
        uint64_t n = bits(t) & 0x0007ffffffffffffull;  // t = 1.5·2^52 + N, N nearest 2a
        double e = a - 0.5 * (t - kShifter);             // exact in round-to-nearest
        // A directed mode's floor or ceiling (where a - N/2 may round, to 1/4 at most).
        if (__builtin_expect(e >= 0.25 || e <= -0.25, 0)) {
            n = e > 0 ? n + 1 : n - 1;
            e = a - 0.5 * double(n);  // exact (Sterbenz, or n = 0)
        }
        uint64_t q = n / 180;
        return {e, int(n - 180 * q), unsigned(q & 3)};
    }
    Whole w = whole(a);  // from 2^50 on f is a multiple of 1/4
    uint64_t q = w.n / 90;
    int r = int(w.f + w.f + 0.5);  // the half degrees nearest f, 0 .. 2 (sums exact)
    return {w.f - 0.5 * double(r), int(2 * (w.n - 90 * q)) + r, unsigned(q & 3)};
}

// The row of the tangent for the angle i/2 + e in the quadrant: phi = i/2 + e up to 45, 90 less
// it above (flip), at the half degree kTandRows[i + 1] (the rows start at -1/2).
struct TanRow {
    const double *w;
    double e;
    bool flip;
};
inline TanRow tan_row(Half h) {
    int flip = 2 * h.i + (h.e > 0) > 180;  // above 45
    int m = -flip;
    int i = (h.i & ~m) | ((180 - h.i) & m);  // without a branch
    return {kTandRows[i + 1], neg_if(h.e, uint64_t(flip) << 63), flip != 0};
}

// a where c, else b, without a branch.
inline double pick(bool c, double a, double b) {
    __m128d m = _mm_castsi128_pd(_mm_set1_epi64x(-int64_t(c)));
    return _mm_cvtsd_f64(_mm_or_pd(_mm_and_pd(m, _mm_set_sd(a)), _mm_andnot_pd(m, _mm_set_sd(b))));
}

// 1/(t.h + t.l), |t.l| <= 2^-14 |t.h| (the expansion's head and tail as they come, not
// renormalised: the head is ready long before the tail, so the division runs beside the
// polynomial).  v = 1/t.h and eps = v·(t.h + t.l) - 1 (|eps| <= 2^-13): with v and t.h cut
// into 26-bit heads and tails, vh·th is exact and within 2^-24 of 1, so vh·th - 1 is exact
// (Sterbenz); the three cross products (2^-25 at most each) and v·t.l (2^-14 at most) come off
// it in a tree, each rounding below 2^-67.  Then 1/(t.h + t.l) = v/(1 + eps) = v·(1 - eps +
// eps^2 - eps^3 + eps^4 ...), the tail v·(eps^2 - eps)(1 + eps^2), the terms dropped below
// 2^-65 and the tail's roundings below 2^-66 of the reciprocal.
inline DD recip(DD t) {
    double v = 1.0 / t.h;
    DD x = cut26(v), y = cut26(t.h);
    double a = (x.h * y.h - 1.0) + x.h * y.l;  // the first exact
    double b = x.l * y.h + x.l * y.l;
    double eps = (a + v * t.l) + b;
    double e2 = eps * eps;
    return {v, ((e2 - eps) * (1.0 + e2)) * v};
}

// The infinity of a pole, with divide-by-zero as an exact infinite result of a finite
// argument raises it.
inline double pole_value() { return 1.0 / opaque(0.0); }

// Cot: cotd.
template <bool Cot, class T = double>
inline T tand_t(T xt) {
    double x = xt;
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= kInfBits) return T(x - x);
    constexpr int kPole = std::is_same_v<T, float> ? (Cot ? code::cotdf_overflow_at_a_pole
                                                          : code::tandf_overflow_at_a_pole)
                                                   : (Cot ? code::cotd_overflow_at_a_pole
                                                          : code::tand_overflow_at_a_pole);
    if (ax < kSmall) {
        if (!Cot) return ax == 0 ? xt : T(mul_small(x, kD2rHi, kD2rLo));
        if (ax == 0) return report(xt, xt, T(neg_if(pole_value(), sx)), kPole);
        if (ax < 0x0030000000000000ull)  // below 2^-1020: past the largest double
            return T(neg_if(0x1p1023, sx) * 2.0);
        return T(recip_deg(x));
    }
    Half w = reduce_half(f64(ax));
    // On the cotangent side (odd Q for tand, even for cotd) the result is 1/tan, negated for
    // tand.
    bool cot_side = (w.q & 1) != unsigned(Cot);
    uint64_t neg = sx ^ ((w.q & 1) ? kSign : 0);  // tan(90 + r) = -cot r, cot(90 + r) = -tan r
    if (w.i == 0 && w.e == 0) {
        // Zero or pole; the sign of the zero is sin/cos's (Q = 2 flips it), the pole's that
        // of the zero's reciprocal.
        uint64_t zs = sx ^ ((w.q & 2) ? kSign : 0);
        if (cot_side) return report(xt, xt, T(neg_if(pole_value(), zs)), kPole);
        return T(f64(zs));
    }
    if (w.i == 90 && w.e == 0) return T(neg_if(1.0, neg));
    // tan of phi from its row; the reciprocal where the flip and the side differ (tan of an
    // angle above 45 is 1/tan(90 - it); the cotangent side takes 1/tan), both computed and
    // one kept without a branch.
    TanRow r = tan_row(w);
    DD t = expand<false>(r.w, r.e, 0.0);  // the tail reaches 2^-14 of the head
    DD u = recip(t);
    bool inv = r.flip != cot_side;
    DD v = {pick(inv, u.h, t.h), pick(inv, u.l, t.l)};
    return T(neg_if(v.h, neg) + neg_if(v.l, neg));
}

template <bool Cot>
inline float tandf_t(float xf) {
    double x = xf;
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= kInfBits) return float(x - x);
    constexpr int kPole = Cot ? code::cotdf_overflow_at_a_pole : code::tandf_overflow_at_a_pole;
    if (ax == 0) {
        if (Cot) return report(xf, xf, float(neg_if(pole_value(), sx)), kPole);
        return xf;
    }
    Half w = reduce_half(f64(ax));
    bool cot_side = (w.q & 1) != unsigned(Cot);
    uint64_t neg = sx ^ ((w.q & 1) ? kSign : 0);
    if (w.i == 0 && w.e == 0) {
        uint64_t zs = sx ^ ((w.q & 2) ? kSign : 0);
        if (cot_side) return report(xf, xf, float(neg_if(pole_value(), zs)), kPole);
        return float(f64(zs));
    }
    if (w.i == 90 && w.e == 0) return float(neg_if(1.0, neg));
    TanRow r = tan_row(w);
    double t = expand_f(r.w, r.e);
    return float(neg_if(pick(r.flip != cot_side, 1.0 / t, t), neg));
}

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, tand, (double x)) { return tand_t<false>(x); }
TSR_BODY(double, cotd, (double x)) { return tand_t<true>(x); }
TSR_BODY(float, tandf, (float x)) { return tandf_t<false>(x); }
TSR_BODY(float, cotdf, (float x)) { return tandf_t<true>(x); }
#endif

#if TSR_TIER_EX
// The reproducible forms: the ex steps under their own names.
TSR_DEFINE(double, __bwr_tand, (double x)) { return tand_t<false>(x); }
TSR_DEFINE(double, __bwr_cotd, (double x)) { return tand_t<true>(x); }
TSR_DEFINE(float, __bwr_tandf, (float x)) { return tandf_t<false>(x); }
TSR_DEFINE(float, __bwr_cotdf, (float x)) { return tandf_t<true>(x); }
#endif

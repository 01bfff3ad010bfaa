// tand, cotd and their float forms.
//
// |x| = 90q + k + d exactly (deg_common.h).  tan x° = tan of the angle k + d in the quadrant
// for even Q and -cot of it for odd Q; cot x° the other way round; x's sign last, both being
// odd.  The quotient of the sine and cosine from the rows of whole degrees (each a head and a
// tail to about 2^-62) by one division and a correction of the residual.
// Exact cases, without a flag: the zero angle gives a zero (tand(180) = -0 as sind/cosd give
// it) or the pole, an infinity reported with its code (tand at odd multiples of 90, cotd at
// multiples of 180; the sign as 1/tand gives it); 45 degrees in the quadrant gives ±1.
// Below 2^-100: tand is x·pi/180, cotd (180/pi)/x with a correction of the quotient, the
// operand scaled by 2^500 so that the quotient cannot overflow before the result does.
//
// Tiers ex and e7 run these steps alike.  The float forms widen to double as sindf does,
// take the same exact cases and divide the rows' sine and cosine in double.
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

// (n.h + n.l)/(m.h + m.l) as a head and a tail, |m.l| <= ulp(m.h): q = n.h·(1/m.h), within an ulp or two of the
// quotient, and the residual n.h - q·m.h (exact for such a q: the product in two parts, n.h
// less its head exact by Sterbenz) with n.l - q·m.l, times 1/m.h: one division, the tail to
// about 2^-52 of itself, some 2^-100 of the quotient.
inline DD quotient(DD n, DD m) {
    double v = 1.0 / m.h;
    double q = n.h * v;
    DD p = dd::two_prod_cut(q, m.h);
    return {q, (((n.h - p.h) - p.l) + (n.l - q * m.l)) * v};
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
    Quadrant w = reduce_whole(f64(ax));
    // On the cotangent side (odd Q for tand, even for cotd) the quotient is cos/sin, negated
    // for tand.
    bool cot_side = (w.q & 1) != unsigned(Cot);
    uint64_t neg = sx ^ ((w.q & 1) ? kSign : 0);  // tan(90 + r) = -cot r, cot(90 + r) = -tan r
    if (w.k == 0 && w.d == 0) {
        // Zero or pole; the sign of the zero is sin/cos's (Q = 2 flips it), the pole's that
        // of the zero's reciprocal.
        uint64_t zs = sx ^ ((w.q & 2) ? kSign : 0);
        if (cot_side) return report(xt, xt, T(neg_if(pole_value(), zs)), kPole);
        return T(f64(zs));
    }
    if (w.k == 45 && w.d == 0) return T(neg_if(1.0, neg));
    // The numerator is the cosine on the cotangent side; the rows picked without a branch.
    // Their tails reach 2^-14 of the heads: renormalised for the quotient.
    DD n = side_rows(w, cot_side), m = side_rows(w, !cot_side);
    DD v = quotient(fast_two_sum(n.h, n.l), fast_two_sum(m.h, m.l));
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
    Quadrant w = reduce_whole(f64(ax));
    bool cot_side = (w.q & 1) != unsigned(Cot);
    uint64_t neg = sx ^ ((w.q & 1) ? kSign : 0);
    if (w.k == 0 && w.d == 0) {
        uint64_t zs = sx ^ ((w.q & 2) ? kSign : 0);
        if (cot_side) return report(xf, xf, float(neg_if(pole_value(), zs)), kPole);
        return float(f64(zs));
    }
    if (w.k == 45 && w.d == 0) return float(neg_if(1.0, neg));
    return float(neg_if(side_rows_f(w, cot_side) / side_rows_f(w, !cot_side), neg));
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

// tand, cotd and their float forms.
//
// |x| = 90q + r exactly (deg_common.h).  tan x° = tan r for even Q and -cot r for odd Q;
// cot x° the other way round; x's sign last, both being odd.  The quotient of the
// double-double sine and cosine of r is the quotient of the heads and one correction, about
// 2^-100 of the value before the last addition.
// Exact cases, without a flag: r = 0 gives a zero (tand(180) = -0 as sind/cosd give it) or
// the pole, an infinity reported with its code (tand at odd multiples of 90, cotd at
// multiples of 180; the sign as 1/tand gives it); r = ±45 gives ±1.
// Below 2^-240: tand is x·pi/180, cotd (180/pi)/x with a correction of the quotient, the
// operand scaled by 2^500 so that the quotient cannot overflow before the result does.
//
// Tiers ex and e7 run these steps alike.  The float forms widen to double as sindf does,
// with the same exact cases, and divide the float polynomials of sine and cosine in double.
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
    Red d = reduce(f64(ax));
    // On the cotangent side (odd Q for tand, even for cotd) the quotient is cos/sin, negated
    // for tand.
    bool cot_side = (d.q & 1) != unsigned(Cot);
    uint64_t neg = sx ^ ((d.q & 1) ? kSign : 0);  // tan(90 + r) = -cot r, cot(90 + r) = -tan r
    if (d.r == 0) {
        // Zero or pole; the sign of the zero is sin/cos's (Q = 2 flips it), the pole's that
        // of the zero's reciprocal.
        uint64_t zs = sx ^ ((d.q & 2) ? kSign : 0);
        if (cot_side) return report(xt, xt, T(neg_if(pole_value(), zs)), kPole);
        return T(f64(zs));
    }
    uint64_t sr = bits(d.r) & kSign;
    if (mag_is(d.r, 45.0)) return T(neg_if(1.0, neg ^ sr));
    RnGuardInexact g;
    DD s, c;
    sincos_deg(opaque(d.r), s, c);
    DD v = cot_side ? div(c, s) : div(s, c);
    return T(finish(g, {neg_if(v.h, neg), neg_if(v.l, neg)}));
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
    Red d = reduce(f64(ax));
    bool cot_side = (d.q & 1) != unsigned(Cot);
    uint64_t neg = sx ^ ((d.q & 1) ? kSign : 0);
    if (d.r == 0) {
        uint64_t zs = sx ^ ((d.q & 2) ? kSign : 0);
        if (cot_side) return report(xf, xf, float(neg_if(pole_value(), zs)), kPole);
        return float(f64(zs));
    }
    if (mag_is(d.r, 45.0)) return float(neg_if(1.0, neg ^ (bits(d.r) & kSign)));
    double s = sin_f(d.r), c = cos_f(d.r);
    return float(neg_if(cot_side ? c / s : s / c, neg));
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

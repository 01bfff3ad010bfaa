// atan2pi and atan2pif: atan2(y, x)/pi, in (-1, 1].
//
// The quadrant results come first, exact and without a flag: a zero y gives ±0 (x > 0 or +0)
// or ±1 (x < 0 or -0), a zero x ±1/2, infinities ±0, ±1, ±1/2, ±1/4, ±3/4 as atan2 gives their
// angles, all with the sign of y; |y| = |x| gives ±1/4 or ±3/4.  Both zero is no error here:
// the quadrant's value comes back at once.  NaN: x + y.
//
// Otherwise the operands are scaled by one power of two (exactly) so that the larger is near
// 1, and the double-double arctangent kernel gives the angle, multiplied by 1/pi in two parts
// and rounded once: below 0.51 ulp.  Where the quotient is below 2^-60 the angle is the
// quotient itself (its cube lies below 2^-120 of it): for x > 0, (y/x)/pi in two parts scaled
// by the exponent difference and rounded once, subnormal results included; for x < 0 the
// result is ±1 less a part far below its ulp, which a stand-in quotient of 2^-80 rounds the
// same way in every mode.  |x| below 2^-60 of |y| is the same at ±1/2.
//
// The float form takes the quadrant steps on its exact widening, then one quotient on the
// octant and a short series in double (atan2pi_f, within 2^-49 of the result), x < 0 as 1 less
// it, rounded once more to float (the double result lies above the float range's subnormal
// grid): below 0.5 + 2^-24 ulp.  ex
// without fused multiply-add, l9 and z0 with it; the reproducible forms are the ex bodies.
#include "elementary/pi_common.h"

using namespace tsr;
using namespace tsr::pi;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr int kFarApart = 60;  // exponents further apart: the smaller part is a tail

// sign·v for the exact quadrant values.
inline double signed_value(double v, uint64_t sign) { return with_sign(v, sign); }

template <bool Fma, bool Float = false>
inline double atan2pi_d(double y, double x) {
    uint64_t sy = bits(y) & kSign;
    bool xneg = bits(x) >> 63;
    double ay = f64(bits(y) & kAbs), ax = f64(bits(x) & kAbs);
    constexpr double kMax = 0x1.fffffffffffffp+1023;
    if (ax != ax || ay != ay) return x + y;
    if (ay == 0) return signed_value(xneg ? 1.0 : 0.0, sy);
    if (ax == 0) return signed_value(0.5, sy);
    if (!(ax <= kMax) || !(ay <= kMax)) {
        if (!(ay <= kMax)) return signed_value(!(ax <= kMax) ? (xneg ? 0.75 : 0.25) : 0.5, sy);
        return signed_value(xneg ? 1.0 : 0.0, sy);
    }
    if (ay == ax) return signed_value(xneg ? 0.75 : 0.25, sy);
    if constexpr (Float) {
        double r = atan2pi_f<Fma>(ay, ax);
        return with_sign(xneg ? 1.0 - r : r, sy);
    }
    int ey = exponent_of(y), ex = exponent_of(x);
    if (ey - ex < -kFarApart) {
        if (xneg) return atan2_over_pi<Fma>(with_sign(0x1p-80, sy), 0.0, -1.0, 0.0);
        // (y/x)/pi with y and x brought to [1, 2): the quotient in two parts, over pi.
        double ys = scale2(ay, -ey), xs = scale2(ax, -ex);
        double q = ys / xs;
        DD p = two_prod<Fma>(q, xs);
        double ql = ((ys - p.h) - p.l) / xs;
        DD r = mul<Fma>({q, ql}, {inv_pi_hilo[0], inv_pi_hilo[1]});
        return with_sign(round_scaled(r, ey - ex), sy);
    }
    if (ey - ex > kFarApart) return atan2_over_pi<Fma>(with_sign(1.0, sy), 0.0, xneg ? -0x1p-80 : 0x1p-80, 0.0);
    int s = -(ey > ex ? ey : ex);
    return atan2_over_pi<Fma>(scale2(y, s), 0.0, scale2(x, s), 0.0);
}

}  // namespace

TSR_BODY(double, atan2pi, (double y, double x)) { return atan2pi_d<kFma>(y, x); }
TSR_BODY(float, atan2pif, (float y, float x)) { return float(atan2pi_d<kFma, true>(double(y), double(x))); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_atan2pi, (double y, double x)) { return atan2pi_d<false>(y, x); }
TSR_DEFINE(float, __bwr_atan2pif, (float y, float x)) { return float(atan2pi_d<false, true>(double(y), double(x))); }
#endif

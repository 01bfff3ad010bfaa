// atan2pi and atan2pif: atan2(y, x)/pi, in (-1, 1].
//
// The quadrant results come first, exact and without a flag: a zero y gives ±0 (x > 0 or +0)
// or ±1 (x < 0 or -0), a zero x ±1/2, infinities ±0, ±1, ±1/2, ±1/4, ±3/4 as atan2 gives their
// angles, all with the sign of y; |y| = |x| gives ±1/4 or ±3/4.  Both zero is no error here:
// the quadrant's value comes back at once.  NaN: x + y.
//
// Otherwise the operands are scaled by one power of two (exactly) so that the larger lies in
// [1, 2), and atan2pi_core takes one quotient, a table row of atan(c)/pi on a grid of 32
// points a binade from 2^-6 to 2^6 and a short series on the rest: below 0.51 ulp.  Where the
// exponents lie more than 60 apart the angle is the quotient itself (its cube lies below
// 2^-120 of it): for x > 0, (y/x)/pi in two parts scaled by the exponent difference and
// rounded once, subnormal results included; for x < 0 the result is ±1 less a part far below
// its ulp, which a stand-in quotient of 2^-80 (through the double-double arctangent kernel)
// rounds the same way in every mode.  |x| below 2^-60 of |y| is the same at ±1/2.
//
// The float form takes the quadrant steps on its exact widening, then one quotient on the
// octant and a short series in double (atan2pi_f, within 2^-49 of the result), x < 0 as 1 less
// it, rounded once more to float (the double result lies above the float range's subnormal
// grid): below 0.5 + 2^-24 ulp.  ex without fused multiply-add, l9 and z0 with it; the
// reproducible forms are the ex bodies.
#include "elementary/pi_common.h"

using namespace tsr;
using namespace tsr::pi;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr int kFarApart = 60;  // exponents further apart: the smaller part is a tail

// sign·v for the exact quadrant values.
inline double signed_value(double v, uint64_t sign) { return with_sign(v, sign); }

constexpr uint64_t kGridLow = 0x3f90000000000000ull;   // 2^-6: the first grid binade
constexpr uint64_t kGridHigh = 0x4050000000000000ull;  // 2^6: beyond it the complement
constexpr uint64_t kGridCut = 0xffff800000000000ull;   // sign, exponent, 5 mantissa bits
constexpr uint64_t kGridMid = 0x0000400000000000ull;   // the midpoint bit
constexpr uint64_t kCut46 = 0xffffffffffffff80ull;     // 46 significant bits: times c (7), exact

// atan(w)/pi as p.h + t for 0 <= w <= 2^-6 (margin included): w/pi as an exact product,
// w v H(v) and the constant's rest in the tail; w's own rounding error wl enters by wl/pi.
template <bool Fma>
inline double atan_small(double w, double wl, double &t) {
    DD p = two_prod<Fma>(w, inv_pi_hilo[0]);
    double v = w * w;
    t = p.l + (mul_add<Fma>(wl, inv_pi_hilo[0], w * inv_pi_hilo[1]) + (w * v) * estrin<Fma, 5>(atan2pi_series, v));
    return p.h;
}

// The grid point of q: its sign, exponent and top 5 mantissa bits, and the midpoint bit, by
// masks in the vector unit (q's bits in an integer register would cost two crossings on the
// way to the numerator).
inline double grid_point(double q) {
    const __m128d cut = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kGridCut)));
    const __m128d mid = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kGridMid)));
    return _mm_cvtsd_f64(_mm_or_pd(_mm_and_pd(_mm_set_sd(q), cut), mid));
}

// atan2(a, d)/pi for a = ya 2^s, d = xa 2^s > 0, the larger in [1, 2) and the smaller above
// 2^-61, x < 0 when xneg.  The quotient q = a/d = ya/xa (the same bits: the scaling is exact)
// is taken on the operands as they come, so that the division does not wait for the scaling.
// q picks the way:
// - 2^-6 <= q < 2^6: the grid point c (q's top 5 mantissa bits and the midpoint), the row
//   T = atan(c)/pi (x > 0) or atan(c)/pi - 1 (x < 0, whose angle is then -(T + atan(z)/pi)),
//   and z = (a - c d)/(d + c a) = tan(atan q - atan c), |z| <= 2^-7: the numerator rounds
//   once (with fused multiply-add, or d cut to 46 bits so that c d is two exact products and
//   a - c dh exact by Sterbenz), so z carries three roundings, which reach the result at
//   2^-6 of their size: below 0.51 ulp after the final addition;
// - q < 2^-6: atan(q)/pi with q's rounding error found by the residual a - q d (for x > 0 the
//   result is q/pi itself to 2^-12), and 1 less it for x < 0;
// - q >= 2^6: 1/2 -/+ atan(d/a)/pi, where the quotient's rounding is far below 1/2's ulp.
template <bool Fma>
inline double atan2pi_core(double ya, double xa, int s, bool xneg) {
    double q = ya / xa;
    double a = scale2(ya, s), d = scale2(xa, s);
    uint64_t qb = bits(q);
    double t;
    if (qb < kGridLow) {
        double ql;
        if constexpr (Fma) {
            ql = mul_add<true>(-q, d, a) / d;
        } else {
            DD p = two_prod<false>(q, d);
            ql = ((a - p.h) - p.l) / d;
        }
        double h = atan_small<Fma>(q, ql, t);
        if (!xneg) return h + t;
        DD r = fast_two_sum(1.0, -h);
        return r.h + (r.l - t);
    }
    if (qb >= kGridHigh) {
        double h = atan_small<Fma>(d / a, 0.0, t);
        DD r = fast_two_sum(0.5, xneg ? h : -h);
        return r.h + (r.l + (xneg ? t : -t));
    }
    double c = grid_point(q);
    const double *T = atan2pi_rows[((qb - kGridLow) >> 47) + (xneg ? 384 : 0)];
    double num;
    if constexpr (Fma) {
        num = mul_add<true>(-c, d, a);
    } else {
        double dh = f64(bits(d) & kCut46);
        num = (a - c * dh) - c * (d - dh);
    }
    double z = num / mul_add<Fma>(c, a, d);
    double h = atan_small<Fma>(z, 0.0, t);
    DD r = fast_two_sum(T[0], h);
    double res = r.h + ((r.l + T[1]) + t);
    return xneg ? -res : res;
}

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
    return with_sign(atan2pi_core<Fma>(ay, ax, s, xneg), sy);
}

}  // namespace

TSR_BODY(double, atan2pi, (double y, double x)) { return atan2pi_d<kFma>(y, x); }
TSR_BODY(float, atan2pif, (float y, float x)) { return float(atan2pi_d<kFma, true>(double(y), double(x))); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_atan2pi, (double y, double x)) { return atan2pi_d<false>(y, x); }
TSR_DEFINE(float, __bwr_atan2pif, (float y, float x)) { return float(atan2pi_d<false, true>(double(y), double(x))); }
#endif

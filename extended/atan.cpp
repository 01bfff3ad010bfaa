// Arcsine, arccosine, arctangent and the angle of a point, in radians and in degrees, in
// extended precision: the arctangent of a fraction at most 1 (ext2_common.h, with 33
// breakpoints k/32) for atan and atan2, the series of the arcsine for asin and acos.
//
//   atan x      atan(|x|/1), or pi/2 - atan(1/|x|) above 1;
//   asin x      below 3/8: x + x^3/6 + x^5 Q(x^2) (kAsinPoly, fitted up to 1/2, relative
//               error 2^-71.6) in extended arithmetic: the tail T beyond x is below x/42,
//               and its few roundings (x^2, x^3, the polynomial) move the result by less
//               than 0.07 ulp; the one sum x + T rounds in the caller's mode.  From 3/8 to
//               1/2 the same series with x^3/6 as an exact pair (three exact products), the
//               rest (below 0.005 of the result) in the tail.  From 1/2 on pi/2 - 2 asin s,
//               s = sqrt(z), z = (1 - |x|)/2 exact, s a pair (one exact square), asin s by
//               the same series (s^2 = z exactly, two exact products): pi/2 - 2s - 2 s z/6
//               by two-sums, the rest in the tail;
//   acos x      pi/2 - asin x below 1/2 (two-sums of pi/2, -x and the exact pair of x^3/6
//               from 3/8 on, the rest in the tail); from 1/2 on 2 asin s (no cancellation)
//               or pi - 2 asin s;
//   atan2(y, x) the angle of (|x|, |y|) on the significands, their exponents' difference
//               clamped to 71 (beyond it x/y moves pi/2 by less than 2^-70); where |y/x| is
//               below 2^-69 the angle is the ratio itself (its cube's third is below 2^-138
//               of it), rounded once into a subnormal if need be, or pi less it; then pi less
//               the angle for a negative x, and the sign of y;
//   degrees     the radian pair times 180/pi as a pair.
// Every result of the arctangent core is a pair rounded once: 0.5 ulp plus about 2^-20 ulp;
// asin and acos stay within 0.5 ulp and the share of the tail's roundings (0.07 ulp).  Exact angles in degrees
// (asind(1/2) = 30, acosd(0) = 90, atand(1) = 45, ...) come without a flag.
#include <xmmintrin.h>

#include "extended/ext2_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

inline LD with_sign(LD v, bool s) { return s ? -v : v; }
inline Pair sgn(Pair p, bool s) { return s ? neg(p) : p; }

// A pair in radians as the function's result: rounded, or in degrees first.
inline LD out(Pair p, bool deg) { return sum(deg ? mulp(p, pc(kRad2Deg)) : p); }

// ---- arcsine and arccosine --------------------------------------------------------------------
// Below 3/8 the polynomial's tail T is at most 0.024 of asin x, so that its roundings move
// the result by less than 0.07 ulp (at 1/2 it would be 0.13).
constexpr LD kPolyBelow = 0.375L;
// From 1/2 on the half angle s = sqrt((1 - |x|)/2) is at most 1/2, and the series serves it.
constexpr LD kHalfAngleFrom = 0.5L;

// asin x - x for |x| < 3/8, t = x^2: x t (1/6 + t Q(t)), 1/6 as a pair (its rounding to
// extended would be a systematic 2^-69 of the result).
inline LD asin_tail(LD x, LD t) {
    LD xt = x * t;
    return xt * (kSixth[0] + t * asin_q(t)) + xt * kSixth[1];
}
// 3/8 <= |x| < 1/2: x itself, its square an exact pair.
inline Series series_of(LD x) {
    LD t, te;
    two_prod(x, x, t, te);
    return series({x, 0.0L}, t, te);
}
// 1/2 <= a < 1: the half angle s = sqrt(z), z = (1 - a)/2 exact, s a pair (one exact
// square) whose square is z itself.
inline Series half_angle(LD a) {
    LD z = (1.0L - a) * 0.5L;  // exact: a >= 1/2
    return series(sqrtp({z, 0.0L}), z, 0.0L);
}

inline LD asin_body(LD x, bool deg) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    int dom = deg ? code::asindl_magnitude_above_1 : code::asinl_magnitude_above_1;
    if (__builtin_expect(is_nan(v), 0)) return x + x;
    if (__builtin_expect(f >= 0x3fff, 0)) {
        if (f == 0x3fff && v.m == kOne64) {
            if (deg) return with_sign(90.0L, sx);
            X87Frame fr;
            return fr.finish(sum(sgn(pc(kPi2), sx)));
        }
        return report(x, default_nan(), dom);
    }
    // tiny: x (1 + x^2/6) rounds as x and a tiny amount below 2^-32, x 180/pi alone is
    // within 2^-70 of the result below 2^-35
    if (__builtin_expect(f < (deg ? 0x3fdcu : 0x3fdfu), 0)) {
        if (f == 0 && v.m == 0) return x;
        X87Frame fr;
        if (deg) return fr.finish(tiny_times(v, kRad2Deg));
        return fr.finish(tiny_odd(opaque(load(x)), v, 1));
    }
    if (deg && f == 0x3ffe && v.m == kOne64) return with_sign(30.0L, sx);
    X87Frame fr;
    LD xx = opaque(load(x));
    if (__builtin_fabsl(xx) < kPolyBelow) {
        LD tail = asin_tail(xx, xx * xx);
        if (!deg) return fr.finish(xx + tail);
        return fr.finish(out(norm(xx, tail), true));
    }
    LD a = __builtin_fabsl(xx);
    Pair r = a >= kHalfAngleFrom ? less_times(kPi2, half_angle(a), 2.0L) : times(series_of(a), 1.0L);
    return fr.finish(out(sgn(r, sx), deg));
}

inline LD acos_body(LD x, bool deg) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    int dom = deg ? code::acosdl_magnitude_above_1 : code::acosl_magnitude_above_1;
    if (__builtin_expect(is_nan(v), 0)) return x + x;
    if (__builtin_expect(f >= 0x3fff, 0)) {
        if (f == 0x3fff && v.m == kOne64) {
            if (!sx) return 0.0L;
            if (deg) return 180.0L;
            X87Frame fr;
            return fr.finish(sum(pc(kPi)));
        }
        return report(x, default_nan(), dom);
    }
    if (deg) {
        if (f == 0 && v.m == 0) return 90.0L;
        if (f == 0x3ffe && v.m == kOne64) return sx ? 120.0L : 60.0L;
    }
    X87Frame fr;
    if (__builtin_expect(f < 0x3fbd, 0)) {  // pi/2 - x: x below 2^-66, no square needed
        LD xx = opaque(load(x));
        if (deg) return fr.finish(90.0L - (sx ? -0x1p-70L : 0x1p-70L));  // x 180/pi below 2^-60 < ulp(90)/8
        return fr.finish(kPi2[0] + (kPi2[1] - xx));
    }
    LD xx = opaque(load(x));
    Pair r;
    if (__builtin_fabsl(xx) < kPolyBelow) {  // pi/2 - x - T
        LD u, ue;
        two_sum(kPi2[0], -xx, u, ue);
        r = {u, ue + (kPi2[1] - asin_tail(xx, xx * xx))};
    } else {
        LD a = __builtin_fabsl(xx);
        if (a >= kHalfAngleFrom) {
            Series h = half_angle(a);
            r = sx ? less_times(kPi, h, 2.0L) : times(h, 2.0L);
        } else {
            r = less_times(kPi2, series_of(xx), 1.0L);
        }
    }
    return fr.finish(out(r, deg));
}

// ---- arctangent ---------------------------------------------------------------------------------
// b + s atan(n/d) for 0 < n <= d, b = 0, pi/2 or pi (double head and extended tail), s = +-1, as
// a head and a tail whose sum is within about 2^-70 of it, in plain extended arithmetic:
//   k = round(256 n/d) from the words of the arguments (integer work, or a quotient in single
//     precision good to 2^-22, truncated after adding 1/2: the same k in every rounding mode,
//     and off the x87 chain), 0 <= k <= 256;
//   below the table (k < 32 where b = 0, q = n/d below 1/8; k < 8 beside pi/2 and pi, q below
//     1/32): atan q = q + q^3 P(q^2) (kAtanSmallPoly, relative error 2^-72.5), the tail q^3 P
//     below q/190.  Where b = 0, q's rounding would be a whole error of the result: q's
//     remainder n - q d (an exact product) over d joins the tail (kUnit: d = 1, q is n itself);
//     beside pi/2 and pi it is at most 2^-70 of the result (1/128 ulp), and b + s q is a
//     two-sum;
//   from the table on: c = k/256, t = (n - c d)/(d + c n), |t| <= 1/512 plus 2^-20,
//     atan(n/d) = atan(c) + t + t^3 A(t^2) (kAtanStepPoly, relative 2^-82).  c has 9 bits:
//     with d = dh + dl cut into 32-bit halves, c dh is exact and n - c dh is exact (n is within
//     d/500 of c d >= d/32); c dl is exact, and the one rounding of the numerator after it, the
//     denominator's two and the quotient's leave t within 3 2^-64 of itself.  Where b = 0, |t|
//     is below 1/60 of the result (at least atan(31.5/256) - 1/512); beside pi/2 and pi (at
//     least pi/4) below 1/400: with the sums of the tail, below 0.05 ulp.  b + s atan(c) is
//     exact: atan(c) >= 1/32 has a double head with an ulp of 2^-58 at least, b's head an ulp
//     of 2^-52 or 2^-51, the sum at most 60 bits.
// The rounded result is within 0.5 ulp plus about 0.05 ulp; in the directed modes every step
// rounds in the caller's mode, within 1.1 ulp.
constexpr int kTableFrom = 32;       // k/256 >= 1/8, b = 0
constexpr int kTableFromBased = 8;   // k/256 >= 1/32, b = pi/2 or pi: the first row of kAtan256
constexpr LD kNoBase[2] = {0.0L, 0.0L};
inline LD atan_step(LD t2) {
    const LD *c = kAtanStepPoly;
    return (c[0] + t2 * c[1]) + (t2 * t2) * (c[2] + t2 * c[3]);
}

// The top 24 bits of a significand as a single-precision value in [1, 2) times 2^e.
inline float top24(uint64_t m, int e) { return f32(uint32_t(127 + e) << 23 | uint32_t(m >> 40 & 0x7fffff)); }
// round(256 n/d) for n/d = (mn/md) 2^e <= 1, e >= -6 (the significands' top bits).
inline int k_of_ratio(uint64_t mn, uint64_t md, int e) {
    float q = top24(mn, e + 8) / top24(md, 0);
    return _mm_cvtt_ss2si(_mm_set_ss(q + 0.5f));
}

// kUnit: d = 1 (then q = n is exact and c d = c).
template <bool kUnit>
__attribute__((always_inline)) inline Pair atan_angle(LD n, LD d, int k, bool based, const LD b[2], LD s) {
    if (k < (based ? kTableFromBased : kTableFrom)) {
        LD q = kUnit ? n : n / d;
        LD q2 = q * q;
        LD tail = q * q2 * odd9(kAtanSmallPoly, q2);
        if (based) {
            LD h, e;
            two_sum(b[0], s * q, h, e);
            return {h, e + (b[1] + s * tail)};
        }
        if (!kUnit) {
            LD p, pe;
            two_prod(q, d, p, pe);
            tail += ((n - p) - pe) / d;
        }
        return {s * q, s * tail};
    }
    LD c = LD(k) * 0x1p-8L, num;
    if (kUnit) {
        num = n - c;
    } else {
        LD dh, dl;
        split32(d, dh, dl);
        num = (n - c * dh) - c * dl;
    }
    LD t = num / (d + c * n);
    LD t2 = t * t;
    const double *a = kAtan256[k - kTableFromBased];
    LD head = b[0] + s * LD(a[0]);
    return {head, b[1] + s * (LD(a[1]) + (t + t * t2 * atan_step(t2)))};
}

// A radian result (head and tail) with the sign s (+-1, by a product: no branch) as the
// function's value: rounded once, or turned into degrees as a pair first.
inline LD angle_out(Pair p, LD s, bool deg) {
    LD h = p.h * s, l = p.l * s;
    if (!deg) return h + l;
    return out(norm(h, l), true);
}

inline LD atan_body(LD x, bool deg) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    if (__builtin_expect(is_nan(v), 0)) return x + x;
    if (__builtin_expect(f < (deg ? 0x3fdcu : 0x3fdfu), 0)) {
        if (f == 0 && v.m == 0) return x;
        X87Frame fr;
        if (deg) return fr.finish(tiny_times(v, kRad2Deg));
        return fr.finish(tiny_odd(opaque(load(x)), v, -1));
    }
    if (deg && f == 0x3fff && v.m == kOne64) return with_sign(45.0L, sx);
    if (deg && is_inf(v)) return with_sign(90.0L, sx);
    X87Frame fr;
    if (__builtin_expect(f >= 0x4045, 0)) {  // |x| >= 2^70 (and infinities): pi/2 less a tiny amount
        if (deg) return fr.finish(with_sign(opaque(90.0L) - 0x1p-80L, sx));
        return fr.finish(sum(sgn({kPi2[0], kPi2[1] - 0x1p-80L}, sx)));
    }
    LD a = __builtin_fabsl(opaque(load(x)));
    int e = int(f) - 0x3fff;
    Pair r;
    if (e < 0) {  // below 1: k = round(256 |x|) from the significand, 0 below 1/16
        int k = e < -4 ? 0 : int(((v.m >> (54 - e)) + 1) >> 1);
        r = atan_angle<true>(a, 1.0L, k, false, kNoBase, 1.0L);
    } else {  // pi/2 - atan(1/|x|); k = round(256/|x|), 0 from 64 on
        int k = e > 5 ? 0 : k_of_ratio(kOne64, v.m, -e);
        r = atan_angle<false>(1.0L, a, k, true, kPi2D, -1.0L);
    }
    return fr.finish(angle_out(r, kSignOf[sx], deg));
}

// ---- angle of a point ------------------------------------------------------------------------------
// Zeros, infinities and NaNs: the quadrant's angle (0, pi/4, pi/2, 3pi/4, pi with the sign of
// y); both zero is reported.  True when handled.
inline bool atan2_special(LD y, LD x, const Ext &vy, const Ext &vx, bool deg, LD &r) {
    if (is_nan(vy) || is_nan(vx)) {
        r = x + y;
        return true;
    }
    bool sy = vy.se >> 15;
    int what = axis_octants(vy, vx);  // the angle in multiples of pi/4
    if (what < 0) return false;
    if (deg) {
        r = with_sign(LD(45 * what), sy);
    } else if (what == 0) {
        r = with_sign(0.0L, sy);
    } else {
        X87Frame fr;
        static const long double kQuarter[2] = {0x1.921fb54442d1846ap-1L, -0x1.d9cceba3f91f1976p-67L};  // pi/4
        Pair p = mulp(pc(kQuarter), {LD(what), 0.0L});
        r = fr.finish(sum(sgn(p, sy)));
    }
    if (is_zero(vy) && is_zero(vx)) r = report(y, x, r, deg ? code::atan2dl_both_arguments_0 : code::atan2l_both_arguments_0);
    return true;
}

inline LD atan2_body(LD y, LD x, bool deg) {
    Ext vy = ext_in(y), vx = ext_in(x);
    LD r;
    if (__builtin_expect(atan2_special(y, x, vy, vx, deg, r), 0)) return r;
    bool sy = vy.se >> 15, sx = vx.se >> 15;
    Unpacked uy = unpack(vy), ux = unpack(vx);
    if (deg && uy.m == ux.m && uy.e == ux.e) return with_sign(sx ? 135.0L : 45.0L, sy);
    X87Frame fr;
    LD my = from_ext(uy.m, 0x3fff), mx = from_ext(ux.m, 0x3fff);
    int d = uy.e - ux.e;
    if (d < -70) {
        Pair q = divp({my, 0.0L}, {mx, 0.0L});
        if (deg) q = mulp(q, pc(kRad2Deg));
        if (!sx) {
            if (sy) q = neg(q);
            Ext qe = ext(q.h);
            int sh = int(qe.se & 0x7fff) - 0x3fff;
            LD h = q.h * pow2l(-sh);  // the cube's third below: a tail of the opposite sign
            return fr.finish(scaled_sum(h, q.l * pow2l(-sh) - h * 0x1p-100L, d + sh));
        }
        Pair base = deg ? Pair{180.0L, 0.0L} : pc(kPi);
        Pair p = sgn(addp(base, {-0x1p-90L, 0.0L}), sy);
        return fr.finish(sum(p));
    }
    if (d > 70) d = 71;  // the angle is pi/2 less x/y, below 2^-70
    // The angle of (|x|, |y|) from the smaller over the larger: below the diagonal 0 + atan(y/x)
    // (pi - atan for x < 0), above it pi/2 - atan(x/y) (pi/2 + for x < 0); y's sign last.
    // k = 0 where the ratio is below 1/64.
    LD ay = my * pow2l(d), ax = mx;
    Pair a;
    if (d < 0 || (d == 0 && uy.m <= ux.m)) {
        int k = d < -5 ? 0 : k_of_ratio(uy.m, ux.m, d);
        a = atan_angle<false>(ay, ax, k, sx, sx ? kPiD : kNoBase, kSignOf[sx]);
    } else {
        int k = d > 5 ? 0 : k_of_ratio(ux.m, uy.m, -d);
        a = atan_angle<false>(ax, ay, k, true, kPi2D, -kSignOf[sx]);
    }
    return fr.finish(angle_out(a, kSignOf[sy], deg));
}

}  // namespace

TSR_BODY(long double, asinl, (long double x)) { return asin_body(x, false); }
TSR_BODY(long double, acosl, (long double x)) { return acos_body(x, false); }
TSR_BODY(long double, atanl, (long double x)) { return atan_body(x, false); }
TSR_BODY(long double, atan2l, (long double y, long double x)) { return atan2_body(y, x, false); }
TSR_DEFINE(long double, asindl, (long double x)) { return asin_body(x, true); }
TSR_DEFINE(long double, acosdl, (long double x)) { return acos_body(x, true); }
TSR_DEFINE(long double, atandl, (long double x)) { return atan_body(x, true); }
TSR_BODY(long double, atan2dl, (long double y, long double x)) { return atan2_body(y, x, true); }
TSR_BODY(long double, atand2l, (long double y, long double x)) { return atan2_body(y, x, true); }
#endif

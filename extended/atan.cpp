// Arcsine, arccosine, arctangent and the angle of a point, in radians and in degrees, in
// extended precision: one core, the arctangent of a fraction at most 1 (ext2_common.h), with
// 33 breakpoints k/32.
//
//   atan x      atan(|x|/1), or pi/2 - atan(1/|x|) above 1;
//   asin x      the angle of (sqrt(1 - x^2), |x|), 1 - x^2 as (1 - |x|)(1 + |x|) from 1/2 on
//               (1 - |x| exact) and by an exact square below;
//   acos x      the angle of (|x|, sqrt(1 - x^2)), and pi less it for a negative x;
//   atan2(y, x) the angle of (|x|, |y|) on the significands, their exponents' difference
//               clamped to 71 (beyond it x/y moves pi/2 by less than 2^-70); where |y/x| is
//               below 2^-69 the angle is the ratio itself (its cube's third is below 2^-138
//               of it), rounded once into a subnormal if need be, or pi less it; then pi less
//               the angle for a negative x, and the sign of y;
//   degrees     the radian pair times 180/pi as a pair.
// Every result is a pair rounded once: 0.5 ulp plus about 2^-20 ulp.  Exact angles in degrees
// (asind(1/2) = 30, acosd(0) = 90, atand(1) = 45, ...) come without a flag.
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
// sqrt(1 - a^2) as a pair, 0 <= a < 1.
inline Pair cosine_side(LD a) {
    Pair w;
    if (a >= 0.5L) {
        LD b, be;
        two_sum(1.0L, a, b, be);
        w = mulp({1.0L - a, 0.0L}, {b, be});
    } else {
        LD p, pe, s, se;
        two_prod(a, a, p, pe);
        fast_two_sum(1.0L, -p, s, se);
        w = norm(s, se - pe);
    }
    return sqrtp(w);
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
    LD a = __builtin_fabsl(opaque(load(x)));
    Pair r = atan2_pos({a, 0.0L}, cosine_side(a));
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
    LD a = __builtin_fabsl(opaque(load(x)));
    Pair r = atan2_pos(cosine_side(a), {a, 0.0L});
    if (sx) r = addp(pc(kPi), neg(r));
    return fr.finish(out(r, deg));
}

// ---- arctangent ---------------------------------------------------------------------------------
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
    Pair r = a <= 1.0L ? atan_frac({a, 0.0L}, {1.0L, 0.0L}) : addp(pc(kPi2), neg(atan_frac({1.0L, 0.0L}, {a, 0.0L})));
    return fr.finish(out(sgn(r, sx), deg));
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
    Pair a;
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
    a = atan2_pos({my * pow2l(d), 0.0L}, {mx, 0.0L});
    if (sx) a = addp(pc(kPi), neg(a));
    return fr.finish(out(sgn(a, sy), deg));
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

// Sine, cosine, tangent and cotangent of an angle in degrees, in extended precision.
//
// |x| = 90 q + d exactly with |d| <= 45 (ext2_common.h: the whole part's quotient by integers
// and an exact subtraction below 2^63, the residue modulo 360 by integers above), then r = d pi/180 as a pair (the
// 32-bit head of pi/180 times the 32-bit halves of d is exact) and the radian cores: 0.5 ulp
// plus about 2^-10 ulp.  The angles whose results are exact give them exactly, with no flag:
// d = 0 (0, +-1, a pole of tan or cot) and |d| = 30 for the sine side (+-1/2), |d| = 45 for
// tan and cot (+-1).  Zeros of sin take the sign of x; tan is +0 at 180 k and +inf at
// 90 + 180 k for even k, -0 and -inf for odd k (and odd in x), cot their reciprocals.
#include "extended/ext2_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

inline bool finite_proper(const Ext &v) { return (v.se & 0x7fff) != 0x7fff && !invalid_encoding(v); }
inline LD not_finite(LD x) { return opaque(x) * 0.0L; }
inline LD with_sign(LD v, bool s) { return s ? -v : v; }

// sin(90 q + d) for |d| <= 45, as an exact constant where there is one (true), else r set.
inline bool sind_exact(int q, LD d, LD &res) {
    if (d == 0.0L) {
        res = (q & 1) ? ((q & 2) ? -1.0L : 1.0L) : 0.0L;
        return true;
    }
    if (!(q & 1) && __builtin_fabsl(d) == 30.0L) {
        res = ((d < 0.0L) != bool(q & 2)) ? -0.5L : 0.5L;
        return true;
    }
    return false;
}

inline Pair radians(LD d) {
    Pair r;
    mul_const(d, 0.0L, kDeg2Rad_32, r.h, r.l);
    return r;
}

// sin (cos = false) or cos of x degrees.
inline LD sind_body(LD x, bool cos) {
    Ext v = ext_in(x);
    if (__builtin_expect(!finite_proper(v), 0)) return not_finite(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = (v.se >> 15) && !cos;
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (f == 0 && v.m == 0) return cos ? 1.0L : x;
        X87Frame fr;
        if (cos) return fr.finish(opaque(1.0L) - 0x1p-70L);
        return fr.finish(tiny_times(v, kDeg2Rad_32));
    }
    X87Frame fr;
    Nearest rn;
    LD d;
    int q = reduce_degrees(__builtin_fabsl(opaque(load(x))), v, d) + cos;
    LD res;
    if (sind_exact(q, d, res)) {
        rn.end();
        fr.release();
        return with_sign(res, sx);
    }
    Pair r = radians(d);
    Pair p = sin_quadrant(q, r.h, r.l);
    if (sx) p = neg(p);
    return fr.finish(rn.round(p));
}

// tan (cot = false) or cot of x degrees; poles reported.
inline LD tand_body(LD x, bool cot) {
    Ext v = ext_in(x);
    if (__builtin_expect(!finite_proper(v), 0)) return not_finite(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    int pole_code = cot ? code::cotdl_overflow_at_a_pole : code::tandl_overflow_at_a_pole;
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (f == 0 && v.m == 0) return cot ? report(x, LD(1.0L) / opaque(x), pole_code) : x;
        X87Frame fr;
        if (!cot) return fr.finish(tiny_times(v, kDeg2Rad_32));
        // 180/(pi x): beyond the range it overflows
        Unpacked u = unpack(v);
        LD m = from_ext(u.m, uint16_t((v.se & 0x8000) | 0x3fff));
        Pair p = mulp(divp({1.0L, 0.0L}, {m, 0.0L}), pc(kRad2Deg));
        if (-u.e > 16380) return fr.finish(opaque(sum(p) * pow2l(16380)) * pow2l(-u.e - 16380));
        return fr.finish(sum(p) * pow2l(-u.e));
    }
    X87Frame fr;
    Nearest rn;
    LD d;
    int q = reduce_degrees(__builtin_fabsl(opaque(load(x))), v, d);
    if (d == 0.0L) {
        // the zeros and poles of tan: +0 and +inf at 180 k and 90 + 180 k for even k, -0 and
        // -inf for odd k (the signs of tan just above each); cot = 1/tan, and odd functions
        rn.end();
        fr.release();
        bool s = sx != bool(q & 2);
        if ((q & 1) == cot) return with_sign(0.0L, s);  // tan at even q, cot at odd q
        LD inf = opaque(1.0L) / opaque(0.0L);            // divide-by-zero
        return report(x, with_sign(inf, s), pole_code);
    }
    if (__builtin_fabsl(d) == 45.0L) {
        rn.end();
        fr.release();
        // tan(+-45) = +-1, and -cot = -tan at odd q
        bool s = (d < 0.0L) != bool(q & 1);
        return with_sign(1.0L, s != sx);
    }
    Pair r = radians(d);
    Pair p = tan_quadrant(q, r.h, r.l, cot);
    if (sx) p = neg(p);
    return fr.finish(rn.round(p));
}

}  // namespace

TSR_BODY(long double, sindl, (long double x)) { return sind_body(x, false); }
TSR_BODY(long double, cosdl, (long double x)) { return sind_body(x, true); }
TSR_DEFINE(long double, tandl, (long double x)) { return tand_body(x, false); }
TSR_DEFINE(long double, cotdl, (long double x)) { return tand_body(x, true); }
TSR_BODY(void, sincosdl, (long double x, long double *s, long double *c)) {
    *s = sind_body(x, false);
    *c = sind_body(x, true);
}
#endif

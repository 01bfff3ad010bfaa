// Sine, cosine, tangent and cotangent in extended precision (ext2_common.h has the cores).
//
// |x| = q pi/2 + r with |r| <= pi/4: within pi/4 r is x itself; beyond, the reduction by pi/4
// (Cody and Waite below 2^30, the 4/pi window from there to the largest value) gives r as two
// doubles, 106 bits, and q.  Then sin x = +-sin r or +-cos r by q, and tan x = tan r or
// -cot r, from the tangent at the nearest k/32 by the addition formula and one division;
// each a pair rounded once: 0.5 ulp plus about 2^-10 ulp.  Odd functions work on |x| and
// take the sign on the pair, before the rounding, so that f(-x) = -f(x) in round-to-nearest
// and each directed mode rounds the signed value.  Below 2^-32 the result is x (or 1, or
// 1/x) and a tiny amount of the right sign, rounded once.
#include "extended/ext2_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

inline bool finite_proper(const Ext &v) { return (v.se & 0x7fff) != 0x7fff && !invalid_encoding(v); }
inline LD abs_of(LD x) { return __builtin_fabsl(x); }

// NaN for an infinity, a NaN or a refused encoding: x * 0 (invalid where it is not a quiet NaN).
inline LD not_finite(LD x) { return opaque(x) * 0.0L; }

enum Which { kSin, kCos };

inline LD sin_cos(LD x, Which w) {
    Ext v = ext_in(x);
    if (__builtin_expect(!finite_proper(v), 0)) return not_finite(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (w == kSin) {
            if (f == 0 && v.m == 0) return x;
            X87Frame fr;
            return fr.finish(tiny_odd(opaque(load(x)), v, -1));
        }
        if (f == 0 && v.m == 0) return 1.0L;
        X87Frame fr;
        return fr.finish(opaque(1.0L) - 0x1p-70L);
    }
    X87Frame fr;
    Nearest rn;
    LD ax = abs_of(opaque(load(x)));
    LD rh, rl;
    int q = reduce_quadrant(ax, v, rh, rl);
    Pair p = sin_quadrant(q + (w == kCos), rh, rl);
    if (w == kSin && sx) p = neg(p);
    return fr.finish(rn.round(p));
}

inline LD tan_cot(LD x, bool cot) {
    Ext v = ext_in(x);
    if (__builtin_expect(!finite_proper(v), 0)) return not_finite(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (!cot) {
            if (f == 0 && v.m == 0) return x;
            X87Frame fr;
            return fr.finish(tiny_odd(opaque(load(x)), v, 1));
        }
        if (f == 0 && v.m == 0) return report(x, LD(1.0L) / opaque(x), code::cotl_overflow_at_a_pole);
        X87Frame fr;
        x = opaque(load(x));
        if (f < 0x0002) return fr.finish(1.0L / x - x);  // 1/x - x/3 rounds as 1/x - x; overflow below
        // 1/x - x/3: the quotient's remainder by an exact product, x/3 below 2^-65 of it
        LD h = 1.0L / x, p, e;
        two_prod(h, x, p, e);
        return fr.finish(h + (((1.0L - p) - e) / x - x * 0x1.5555555555555556p-2L));
    }
    X87Frame fr;
    Nearest rn;
    LD ax = abs_of(opaque(load(x)));
    LD rh, rl;
    int q = reduce_quadrant(ax, v, rh, rl);
    Pair p = tan_quadrant(q, rh, rl, cot);
    if (sx) p = neg(p);
    return fr.finish(rn.round(p));
}

inline void sincos_body(LD x, LD *s, LD *c) {
    Ext v = ext_in(x);
    if (__builtin_expect(!finite_proper(v), 0)) {
        *s = *c = not_finite(x);
        return;
    }
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect(f < 0x3fdf, 0)) {
        *s = sin_cos(x, kSin);
        *c = sin_cos(x, kCos);
        return;
    }
    X87Frame fr;
    Nearest rn;
    LD ax = abs_of(opaque(load(x)));
    LD rh, rl;
    int q = reduce_quadrant(ax, v, rh, rl);
    Pair ps = sin_quadrant(q, rh, rl), pc = sin_quadrant(q + 1, rh, rl);
    if (v.se >> 15) ps = neg(ps);
    LD a = opaque(rn.round(ps));
    LD b = opaque(opaque(pc.h) + opaque(pc.l));
    fr.release();
    *s = a;
    *c = b;
}

}  // namespace

TSR_BODY(long double, sinl, (long double x)) { return sin_cos(x, kSin); }
TSR_BODY(long double, cosl, (long double x)) { return sin_cos(x, kCos); }
TSR_BODY(long double, tanl, (long double x)) { return tan_cot(x, false); }
TSR_DEFINE(long double, cotl, (long double x)) { return tan_cot(x, true); }
TSR_BODY(void, sincosl, (long double x, long double *s, long double *c)) { sincos_body(x, s, c); }
#endif

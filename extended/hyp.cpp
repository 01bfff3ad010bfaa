// Hyperbolic functions and their inverses in extended precision, on the exponential and
// logarithm kernels of the extended family.
//
//   sinh x   below 1: m = e^|x| - 1 as a pair (no cancellation near 0), sinh =
//            (m + m/(m + 1))/2; from 1 on (E - 1/E)/2 with E = e^|x| as a pair, 1/E a pair
//            quotient (the difference cancels by at most 1/(1 - e^-2) = 1.16); from |x| = 64
//            on, e^|x|/2 (the other term is below 2^-180 of it);
//   cosh x   E = e^|x| as a pair, (E + 1/E)/2; from 64 on e^|x|/2;
//   tanh x   m = e^(2|x|) - 1, m/(m + 2); from 23 on 1 less a tiny amount (2e^-46 < 2^-65);
//   asinh x  ln(1 + v) with v = |x| + x^2/(1 + sqrt(1 + x^2)) as a pair; from 2^33 on
//            ln(2|x|) (the rest, 1/(4x^2), is below 2^-68 of it);
//   acosh x  ln(1 + v) with t = x - 1 (exact) and v = t + sqrt(t (t + 2)); from 2^32 on ln(2x);
//   atanh x  ln(1 + v)/2 with v = 2|x|/(1 - |x|).
// Each is a pair rounded once (0.5 ulp plus about 2^-9 ulp); odd functions take the sign on
// the pair before that rounding.  Below 2^-32 the result is x (or 1) and a tiny amount of the
// right sign.  Overflow is told from the scale and the rounded head, and reported after the
// caller's control word is back.
#include "extended/ext2_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

inline Pair sgn(Pair p, bool s) { return s ? neg(p) : p; }

// sinh (odd) and cosh of |x| for 2^-32 <= |x| < 2^14 with the sign s on sinh; over set when
// the result overflows (then it is the mode's overflow value).
struct SinhCosh {
    LD s, c;
    bool over;
};
constexpr uint32_t kBigField = 0x4005;  // |x| >= 64: e^-|x| drops out
// From 1 on sinh is E - 1/E (halved) like cosh: 1/E is at most 0.37 of E, and the difference
// loses at most a factor 1.16 of the pairs' accuracy.
constexpr LD kDifferenceFrom = 1.0L;

inline SinhCosh sinh_cosh(LD ax, uint32_t f, bool sx, bool want_s, bool want_c) {
    SinhCosh r{0.0L, 0.0L, false};
    if (f >= kBigField) {
        if (ax > 11400.0L) {
            LD big = opaque(0x1p16383L) * 0x1p16383L;  // overflow in the caller's mode
            r.s = sx ? -big : big;
            r.c = big;
            r.over = true;
            return r;
        }
        ExpPair e = exp_pair(ax, 0.0L);
        int k = e.k - 1;
        r.over = k + int(ext(e.hi).se & 0x7fff) - 0x3fff >= 16384;
        LD h = sx ? -e.hi : e.hi, l = sx ? -e.lo : e.lo;
        r.s = scale_pair(h, l, k);
        r.c = scale_pair(e.hi, e.lo, k);
        if (__builtin_fabsl(r.c) == __builtin_infl()) r.over = true;
        return r;
    }
    Pair E{0.0L, 0.0L}, iE{0.0L, 0.0L};
    if (want_c || ax >= kDifferenceFrom) {
        ExpPair e = exp_pair(ax, 0.0L);
        LD sc = pow2l(e.k);
        E = {e.hi * sc, e.lo * sc};
        iE = divp({1.0L, 0.0L}, E);
    }
    if (want_s) {
        Pair d;
        if (ax >= kDifferenceFrom) {
            d = addp(E, neg(iE));
        } else {
            Pair m = expm1_of(ax);
            d = addp(m, divp(m, addp(m, {1.0L, 0.0L})));
        }
        r.s = sum(sgn(d, sx)) * 0.5L;
    }
    if (want_c) r.c = sum(addp(E, iE)) * 0.5L;
    return r;
}

inline LD sinh_body(LD x) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect(is_nan(v) || is_inf(v), 0)) return x + x;
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (f == 0 && v.m == 0) return x;
        X87Frame fr;
        return fr.finish(tiny_odd(opaque(load(x)), v, 1));
    }
    X87Frame fr;
    SinhCosh r = sinh_cosh(__builtin_fabsl(opaque(load(x))), f, v.se >> 15, true, false);
    LD y = fr.finish(r.s);
    if (__builtin_expect(r.over, 0)) return report(x, y, code::sinhl_overflow);
    return y;
}

inline LD cosh_body(LD x) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect(is_nan(v), 0)) return x + x;
    if (__builtin_expect(is_inf(v), 0)) return __builtin_infl();
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (f == 0 && v.m == 0) return 1.0L;
        X87Frame fr;
        return fr.finish(opaque(1.0L) + 0x1p-70L);
    }
    X87Frame fr;
    SinhCosh r = sinh_cosh(__builtin_fabsl(opaque(load(x))), f, false, false, true);
    LD y = fr.finish(r.c);
    if (__builtin_expect(r.over, 0)) return report(x, y, code::coshl_overflow);
    return y;
}

inline void sinhcosh_body(LD x, LD *sp, LD *cp) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect(is_nan(v) || is_inf(v) || f < 0x3fdf, 0)) {
        *sp = sinh_body(x);
        *cp = cosh_body(x);
        return;
    }
    X87Frame fr;
    SinhCosh r = sinh_cosh(__builtin_fabsl(opaque(load(x))), f, v.se >> 15, true, true);
    LD s = opaque(r.s), c = opaque(r.c);
    fr.release();
    *cp = c;
    *sp = r.over ? report(x, s, code::sinhcoshl_overflow) : s;
}

inline LD tanh_body(LD x) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    if (__builtin_expect(is_nan(v), 0)) return x + x;
    if (__builtin_expect(is_inf(v), 0)) return sx ? -1.0L : 1.0L;
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (f == 0 && v.m == 0) return x;
        X87Frame fr;
        return fr.finish(tiny_odd(opaque(load(x)), v, -1));
    }
    X87Frame fr;
    if (f >= 0x4004 || (f == 0x4003 && v.m >= 0xb800000000000000ull)) {  // |x| >= 23
        LD one = opaque(1.0L) - 0x1p-70L;
        return fr.finish(sx ? -one : one);
    }
    LD ax = __builtin_fabsl(opaque(load(x)));
    Pair m = expm1_of(ax + ax);
    Pair t = divp(m, addp(m, {2.0L, 0.0L}));
    return fr.finish(sum(sgn(t, sx)));
}

inline LD asinh_body(LD x) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    if (__builtin_expect(is_nan(v) || is_inf(v), 0)) return x + x;
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (f == 0 && v.m == 0) return x;
        X87Frame fr;
        return fr.finish(tiny_odd(opaque(load(x)), v, -1));
    }
    X87Frame fr;
    LD ax = __builtin_fabsl(opaque(load(x)));
    Pair r;
    if (f >= 0x4020) {
        r = log_plus(ax, 1);
    } else {
        LD p, pe;
        two_prod(ax, ax, p, pe);
        Pair x2{p, pe};
        Pair den = addp({1.0L, 0.0L}, sqrtp(addp({1.0L, 0.0L}, x2)));
        r = log1p_of(addp({ax, 0.0L}, divp(x2, den)));
    }
    return fr.finish(sum(sgn(r, sx)));
}

inline LD acosh_body(LD x) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect(is_nan(v), 0)) return x + x;
    if (__builtin_expect((v.se >> 15) || f < 0x3fff, 0)) {
        return report(x, default_nan(), code::acoshl_argument_below_1);
    }
    if (__builtin_expect(is_inf(v), 0)) return x;
    if (f == 0x3fff && v.m == kOne64) return 0.0L;
    X87Frame fr;
    LD ax = opaque(load(x));
    Pair r;
    if (f >= 0x401f) {
        r = log_plus(ax, 1);
    } else {
        LD t = ax - 1.0L;  // exact below 2^64
        LD b, be;
        two_sum(t, 2.0L, b, be);
        Pair s = sqrtp(mulp({t, 0.0L}, {b, be}));
        r = log1p_of(addp({t, 0.0L}, s));
    }
    return fr.finish(sum(r));
}

inline LD atanh_body(LD x) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    bool sx = v.se >> 15;
    if (__builtin_expect(is_nan(v), 0)) return x + x;
    if (__builtin_expect(f >= 0x3fff, 0)) {
        if (f == 0x3fff && v.m == kOne64) {
            LD inf = opaque(sx ? -1.0L : 1.0L) / opaque(0.0L);  // divide-by-zero
            return report(x, inf, code::atanhl_magnitude_exactly_1);
        }
        return report(x, default_nan(), code::atanhl_magnitude_above_1);
    }
    if (__builtin_expect(f < 0x3fdf, 0)) {
        if (f == 0 && v.m == 0) return x;
        X87Frame fr;
        return fr.finish(tiny_odd(opaque(load(x)), v, 1));
    }
    X87Frame fr;
    LD ax = __builtin_fabsl(opaque(load(x)));
    LD a, ae;
    two_sum(1.0L, -ax, a, ae);
    Pair r = log1p_of(divp({ax + ax, 0.0L}, {a, ae}));
    return fr.finish(sum(sgn(r, sx)) * 0.5L);
}

}  // namespace

TSR_BODY(long double, sinhl, (long double x)) { return sinh_body(x); }
TSR_BODY(long double, coshl, (long double x)) { return cosh_body(x); }
TSR_BODY(void, sinhcoshl, (long double x, long double *s, long double *c)) { sinhcosh_body(x, s, c); }
TSR_BODY(long double, tanhl, (long double x)) { return tanh_body(x); }
TSR_BODY(long double, asinhl, (long double x)) { return asinh_body(x); }
TSR_BODY(long double, acoshl, (long double x)) { return acosh_body(x); }
TSR_BODY(long double, atanhl, (long double x)) { return atanh_body(x); }
#endif

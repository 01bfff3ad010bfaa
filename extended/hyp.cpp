// Hyperbolic functions and their inverses in extended precision, on the short exponential
// and short logarithm of the extended family (ext_common.h).
//
//   sinh x   below 1/8 its odd series; from 1/8 on E/2 - 1/(2E) with E/2 = e^|x|/2 and
//            1/(2E) = e^-|x|/2 each a short exponential (th + s) from one reduction; from
//            |x| = 64 on, e^|x|/2 by the pair core (the other term is below 2^-180 of it;
//            the pair tells overflow near the top of the range);
//   cosh x   E/2 + 1/(2E) likewise; from 64 on e^|x|/2;
//   tanh x   below 1/8 its odd series; then 1 - 2/(E + 1), E = e^(2|x|) a short exponential;
//            from 23 on 1 less a tiny amount (2e^-46 < 2^-65);
//   asinh x  below 1/8 its odd series; then ln(|x| + sqrt(1 + x^2)), the sum a pair whose
//            tail joins the short logarithm as a relative term; from 2^33 on ln(2|x|) (the
//            rest, 1/(4x^2), is below 2^-68 of it);
//   acosh x  ln(x + sqrt(t (t + 2))) with t = x - 1 (exact); from 2^32 on ln(2x);
//   atanh x  below 1/8 its odd series; then ln((1 + |x|)/(1 - |x|))/2, the quotient a pair.
// Each is a head and a tail rounded once (0.5 ulp plus about 2^-6 ulp at most, in sinh at
// 1/8), or a series whose tail is below 1/190 of x (0.5 ulp plus its roundings, 1/100 ulp);
// odd functions take the sign on both parts (by a product with +-1) before that rounding.
// Everything runs in plain extended arithmetic and exact two-sums and products, with no
// pair quotient.  Below 2^-32 the result is x (or 1) and a tiny amount of the right sign.
// Overflow is told from the scale and the rounded head, and reported after the caller's
// control word is back.
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
// From 1/8 on sinh is E - 1/E (halved) like cosh; below, its odd series.
constexpr uint32_t kDifferenceFrom = 0x3ffc;  // exponent field of 1/8

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
    // e^|x|/2 and e^-|x|/2 by the short exponential from one reduction: n - 256, r and
    // -n - 256, -r (the halving in the scale).  Each is th + s with an error below 2^-73.5 of
    // itself; the heads' sum or difference by a two-sum (the first head is the larger: n >= 0),
    // the tails joining it, so that the result is rounded once.  cosh adds two positive terms
    // (its error 2^-73.5 of the result); sinh from 1/8 on loses at most coth(1/8) = 8.04 of
    // it in the difference: 2^-70.5 of the result, 2^-6.5 ulp.
    LD z = opaque(ax), nf, th, s, ith, is;
    int k;
    int n = shift_round(z * kInvLn2_256, false, nf);
    LD rr = (z - nf * kLn2_256[0]) - nf * kLn2_256[1];
    // (k stays within the short exponential's range below 64: it always succeeds here)
    if (!exp_short(n - 256, rr, th, s, k) || !exp_short(-n - 256, -rr, ith, is, k)) __builtin_unreachable();
    if (want_s) {
        if (f >= kDifferenceFrom) {
            LD h, e;
            fast_two_sum(th, -ith, h, e);
            LD sg = kSignOf[sx];
            r.s = h * sg + (e + (s - is)) * sg;
        } else {
            r.s = odd_series(kSinhSmallPoly, sx ? -ax : ax);
        }
    }
    if (want_c) {
        LD h, e;
        fast_two_sum(th, ith, h, e);
        r.c = h + (e + (s + is));
    }
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
    LD xx = opaque(load(x));
    if (f < kDifferenceFrom) return fr.finish(odd_series(kSinhSmallPoly, xx));
    SinhCosh r = sinh_cosh(__builtin_fabsl(xx), f, v.se >> 15, true, false);
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

// Below 1/8 the odd series of tanh, asinh and atanh (ext2_common.h, odd_series) in extended
// arithmetic, on the signed argument.
constexpr uint32_t kSeriesBelow = 0x3ffc;  // exponent field of 1/8

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
    LD xx = opaque(load(x));
    if (f < kSeriesBelow) return fr.finish(odd_series(kTanhSmallPoly, xx));
    // 1 - u, u = 2/(E + 1), E = e^(2|x|) (to about 2^-73.5), E + 1 = dh + dl by two-sums, u's
    // head y the quotient 2/dh cut to 32 bits and its tail the remainder 2 - y dh - y dl over
    // dh: y times dh's 32-bit halves is exact, and 2 - y dh's first part too (the two are
    // within 2^-30 of each other), so that one division and no full exact product is needed.
    // From 1/8 on u <= 0.876 and tanh >= 0.124: E's error reaches the result as at most 0.56
    // of itself, 2^-6 ulp.  The core runs in round-to-nearest (the splits are exact only
    // there); the last addition rounds in the caller's mode.
    Nearest rn;
    LD ax = __builtin_fabsl(xx);
    // E by the short exponential (th + s, 2^-73.5 of itself, k <= 67 below 23)
    // (s reaches 2^-7 of th: dh + dl is normalised, so that 2/dh is within 2^-63 of
    // 2/(E + 1) and the one correction suffices)
    LD z = ax + ax, nf, th, s, a, ae, dh, de;
    int k;
    int n = shift_round(z * kInvLn2_256, false, nf);
    if (!exp_short(n, (z - nf * kLn2_256[0]) - nf * kLn2_256[1], th, s, k)) __builtin_unreachable();
    fast_two_sum(th, 1.0L, a, ae);  // E >= e^(1/4) > 1
    fast_two_sum(a, s, dh, de);
    LD dl = opaque(de + ae);        // formed here: fewer values live across the division
    LD inv = 1.0L / dh, y, yl, d1, d2;
    split32(2.0L * inv, y, yl);
    split32(dh, d1, d2);
    LD ql = (((2.0L - y * d1) - y * d2) - y * dl) * inv;
    LD h, hl;
    fast_two_sum(1.0L, -y, h, hl);
    LD sg = kSignOf[sx];
    return fr.finish(rn.round({h * sg, (hl - ql) * sg}));
}

// ln(2^k x) + rel as a head and a tail by the short logarithm, for a positive normal x; rel
// is the relative tail of a pair x (1 + rel), |rel| <= 2^-62 (its square is below 2^-124).
// The short logarithm keeps its accuracy relative to the result near 1 (rows 0 and 256 leave
// no table term there), so that the pair x need not be nearer 1 than its head.
inline Pair log_short_plus(LD x, int k, LD rel = 0.0L) {
    Unpacked u = unpack(ext(x));
    u.e += k;
    LD s, t;
    log_short(u, s, t);
    return {s, t + rel};
}

// ln(a + sqrt(S)) for a >= 0 and S = sh + sl (a pair), as a head and a tail: the root's head
// rt = sqrt(sh) rounded, its correction res/(2 rt) with res = S - rt^2 (rt^2 an exact product,
// sh - rt^2 exact); w = a + rt by a two-sum (wh + wl), and the rest of w relative to its head,
// (wl + res/(2 rt))/wh in one quotient, joins the logarithm last.  w is good to about 2^-120
// of itself.
inline Pair log_of_root_sum(LD a, LD sh, LD sl) {
    LD rt = fsqrt(sh), q, qe;
    two_prod(rt, rt, q, qe);
    LD res = ((sh - q) - qe) + sl;
    LD wh, wl;
    two_sum(a, rt, wh, wl);
    LD r2 = rt + rt;
    return log_short_plus(wh, 0, (r2 * wl + res) / (r2 * wh));
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
    LD xx = opaque(load(x));
    if (f < kSeriesBelow) return fr.finish(odd_series(kAsinhSmallPoly, xx));
    LD ax = __builtin_fabsl(xx);
    Pair r;
    if (f >= 0x4020) {
        r = log_short_plus(ax, 1);
    } else {
        // ln(|x| + sqrt(S)), S = 1 + x^2 an exact square and a two-sum
        LD p, pe, sh, se;
        two_prod(ax, ax, p, pe);
        two_sum(1.0L, p, sh, se);
        r = log_of_root_sum(ax, sh, se + pe);
    }
    LD sg = kSignOf[sx];
    return fr.finish(r.h * sg + r.l * sg);
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
        r = log_short_plus(ax, 1);
    } else {
        // ln(x + sqrt(S)), S = x^2 - 1 = t (t + 2) with t = x - 1 (exact below 2^64), t + 2 =
        // b + be and t b exact pairs.  Near 1 the result is about sqrt(2t) and w - 1 is exact in
        // its head, which the logarithm's series near 1 takes whole: the pair is good to about
        // 2^-80 of the result there too.
        LD t = ax - 1.0L;
        LD b, be, p, pe;
        two_sum(t, 2.0L, b, be);
        two_prod(t, b, p, pe);
        r = log_of_root_sum(ax, p, pe + t * be);
    }
    return fr.finish(r.h + r.l);
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
    LD xx = opaque(load(x));
    if (f < kSeriesBelow) return fr.finish(odd_series(kAtanhSmallPoly, xx));
    // ln(q)/2, q = (1 + |x|)/(1 - |x|): numerator and denominator exact pairs (two-sums), q's
    // head a quotient, its relative tail the remainder (an exact product) over the numerator.
    LD ax = __builtin_fabsl(xx);
    LD nh, nl, dh, dl;
    two_sum(1.0L, ax, nh, nl);
    two_sum(1.0L, -ax, dh, dl);
    LD qh = nh / dh, p, pe;
    two_prod(qh, dh, p, pe);
    LD rel = (((nh - p) - pe) + (nl - qh * dl)) / nh;
    Pair r = log_short_plus(qh, 0, rel);
    LD sg = kSignOf[sx] * 0.5L;
    return fr.finish(r.h * sg + r.l * sg);
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

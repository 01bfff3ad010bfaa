// erf, erfc and erfinv in extended precision (x87, 64-bit significand).
//
// Arguments are placed by the key (sign-and-exponent word over the top 16 significand bits)
// with integer reads alone; the arithmetic runs in an X87Frame at 64 bits, in the caller's
// rounding mode.  Every polynomial row is a piece of a binade (16 pieces a binade, picked by
// the binade and the top four fraction bits), evaluated in d = x - x0 around the piece's
// centre x0: d is exact (x0 has few bits and lies in x's binade), the plain coefficients run
// a Horner chain and the value at the centre, a head and a tail, is added last, so each
// result is one rounding of a pair whose error is a few 2^-70 relative.  The sign goes on
// before the last addition, so that the directed modes round the signed value.
//
// erfl:  |x| < 2^-39: x 2/sqrt(pi) (the next term is below 2^-78 of it; a subnormal x gives
//        a subnormal result rounded once).  |x| < 1/8: x P(x^2), the head of P times x by
//        Dekker's product.  Up to the key 0x4001d0e0 (6.527..., where erfc has fallen below
//        2^-65, half an ulp of 1): 1 - erfc(|x|) with erfc as the pair below.  Beyond:
//        sign (1 - 2^-100), which is 1 in round-to-nearest and the neighbour of 1 towards
//        zero where the mode asks for it.
// erfcl: erfc(x) = exp(-x^2) erfcx(x) for |x| >= 1/8: erfcx from its rows (up to 128,
//        past the last non-zero result); x^2 exact as a pair into the extended exponential
//        core; the product of the two pairs scaled by 2^k
//        with one rounding, into the subnormal range too.  From 106.74... (erfc below 2^-16446)
//        zero with underflow and the code erfcl_underflow; negative x: 2 - erfc(|x|), and
//        2 (rounded in the caller's mode) below -6.5.  |x| < 1/8: 1 - erf(x) from the pair
//        of erf; |x| < 2^-66: 1 - x, which rounds in every mode as 1 - (2/sqrt(pi)) x does.
// erfinvl: |x| < 2^-34: x sqrt(pi)/2.  |x| < 1/8: x P(x^2).  [1/8, 1/2): rows in x.
//        [1/2, 1): s = sqrt(-ln(1 - |x|)) (1 - |x| exact; the logarithm of the extended core
//        as a pair, the root with one correction, so s is a pair), then rows in s: s lies in
//        [0.83, 6.67), where erfinv is smooth in s.  |x| = 1: infinity with divide-by-zero
//        and erfinvl_magnitude_exactly_1; |x| > 1: the default NaN with
//        erfinvl_magnitude_above_1.
#include "extended/ext_common.h"
#include "special/erfl_data.h"

using namespace tsr;
using namespace tsr::x80;
using namespace tsr::xerf;

namespace {

constexpr uint32_t kErfSaturate = 0x4001d0e0;  // erf(x) rounds to 1 from here on (|x| 6.527...)
constexpr uint32_t kErfcTwo = 0xc001d000;      // erfc(x) rounds to 2 below -6.5
constexpr uint16_t kField8th = 0x3ffc;         // the binade [1/8, 1/4)

// c0 + t (c1 + t (c2 + ...)) as a pair (hi, lo): w holds c0's head and tail, then c1..cN.
// |t P(t)| stays below |c0|, so the head sum is exact.
template <int N> inline void poly_pair(const LD *w, LD t, LD &hi, LD &lo) {
    LD p = w[N + 1];
    for (int k = N; k >= 2; --k) p = p * t + w[k];
    fast_two_sum(w[0], t * p, hi, lo);
    lo += w[1];
}

// The row of a value in [2^b0, ...) by its binade and top four fraction bits.
template <int W> inline const LD *row_of(const LD (*rows)[W], const Ext &v, uint16_t b0) {
    return rows[((v.se & 0x7fff) - b0) * 16 + int((v.m >> 59) & 15)];
}

// x P(x^2) for |x| < 1/8 as a pair (hi, lo): P's head times x by Dekker's product.
template <int N> inline void odd_series(const LD *w, LD x, LD &hi, LD &lo) {
    LD h, l, p, pe;
    poly_pair<N>(w, x * x, h, l);
    two_prod(x, h, p, pe);
    hi = p;
    lo = pe + x * l;
}

// erfc(a) = 2^k (hi + lo) for a in [1/8, kErfcZeroFrom) (below 128).
struct ErfcPair {
    LD hi, lo;
    int k;
};
inline ErfcPair erfc_pair(LD a, const Ext &v) {
    LD gh, gl;
    const LD *row = row_of(kErfcxRows, v, kField8th);  // the rows reach 128
    poly_pair<kErfcxRowsDegree>(row + 1, a - row[0], gh, gl);
    LD qh, ql;
    two_prod(a, a, qh, ql);
    ExpPair e = exp_pair(-qh, -ql);
    LD ph, pe;
    two_prod(e.hi, gh, ph, pe);
    return {ph, pe + (e.hi * gl + e.lo * gh), e.k};
}

// 2^k (hi + lo) as two values (k >= -64 here: a < 6.53, so both stay normal).
inline void unscale(const ErfcPair &s, LD &hi, LD &lo) {
    LD f = pow2l(s.k);
    hi = s.hi * f;
    lo = s.lo * f;
}

// x c for a tiny non-zero x and a constant pair c: Dekker's product of x and c's head with
// x times c's tail, rounded once.  x below 2^-16254 is first scaled by 2^192 (exact), so that
// no partial product (down to x 2^-66) meets the subnormal range, and the pair is scaled back with one rounding
// (into the subnormal grid where the result lies there, with underflow).  The result is never
// exact (erf and erfinv of a non-zero extended value are irrational), so inexact is raised.
inline LD tiny_product(X87Frame &fr, LD x, const Ext &v, const LD c[2]) {
    bool low = (v.se & 0x7fff) < 0x0080;
    LD xs = low ? x * 0x1p192L : x, p, pe, s, t;
    two_prod(xs, c[0], p, pe);
    fast_two_sum(p, pe + xs * c[1], s, t);
    if (!low) {
        raise_inexact();
        return fr.finish(s + t);
    }
    int m = int(ext(s).se & 0x7fff) - 0x3fff;  // into [1, 2) for the scaling
    LD f = pow2l(-m);
    int k = m - 192;
    LD y = fr.finish(scale_pair(s * f, t * f, k));
    raise_inexact();
    if (k < -16382) raise_underflow();
    return y;
}

// The classes every function treats before its arithmetic.
inline bool special_field(const Ext &v) { return (v.se & 0x7fff) == 0x7fff || invalid_encoding(v); }

}  // namespace

TSR_DEFINE(long double, erfl, (long double x)) {
    Ext v = ext_in(x);
    uint32_t k = key(v) & 0x7fffffffu;
    bool neg = v.se >> 15;
    if (__builtin_expect(special_field(v), 0)) {
        if (is_inf(v)) return neg ? -1.0L : 1.0L;
        return x + x;  // quiet NaN; invalid for a signalling or refused pattern
    }
    X87Frame fr;
    x = opaque(load(x));
    if (k < 0x3ffc0000u) {
        if (k < 0x3fd80000u) return v.m == 0 ? fr.finish(x) : tiny_product(fr, x, v, kTwoOverSqrtPi);
        LD hi, lo;
        odd_series<kErfSmallDegree>(kErfSmall + 1, x, hi, lo);
        return fr.finish(hi + lo);
    }
    LD sgn = neg ? -1.0L : 1.0L;
    if (k >= kErfSaturate) return fr.finish(sgn - sgn * 0x1p-100L);
    LD a = neg ? -x : x, ch, cl, s, e;
    unscale(erfc_pair(a, v), ch, cl);
    fast_two_sum(1.0L, -ch, s, e);
    return fr.finish(sgn * s + sgn * (e - cl));
}

TSR_DEFINE(long double, erfcl, (long double x)) {
    Ext v = ext_in(x);
    uint32_t k = key(v);
    bool neg = v.se >> 15;
    if (__builtin_expect(special_field(v), 0)) {
        if (is_inf(v)) return neg ? 2.0L : 0.0L;
        return x + x;
    }
    X87Frame fr;
    x = opaque(load(x));
    uint32_t ka = k & 0x7fffffffu;
    if (ka < 0x3ffc0000u) {
        if (ka < 0x3fbd0000u) return fr.finish(1.0L - x);
        LD hi, lo, s, e;
        odd_series<kErfSmallDegree>(kErfSmall + 1, x, hi, lo);
        fast_two_sum(1.0L, -hi, s, e);
        return fr.finish(s + (e - lo));
    }
    if (neg) {
        if (k >= kErfcTwo) return fr.finish(2.0L - 0x1p-100L);
        LD ch, cl, s, e;
        unscale(erfc_pair(-x, v), ch, cl);
        fast_two_sum(2.0L, -ch, s, e);
        return fr.finish(s + (e - cl));
    }
    if ((v.se & 0x7fff) > 0x4005 || ((v.se & 0x7fff) == 0x4005 && v.m >= kErfcZeroFromBits)) {
        LD r = fr.finish(opaque(0x1p-16382L) * 0x1p-16382L);
        return report(x, r, code::erfcl_underflow);
    }
    ErfcPair p = erfc_pair(x, v);
    // The pair renormalised (its head the rounded sum), then brought into [1, 2) with the
    // exponent moved to k, so that the scaling sees a normalised head.
    LD s, t;
    fast_two_sum(p.hi, p.lo, s, t);
    int m = int(ext(s).se & 0x7fff) - 0x3fff;
    LD f = pow2l(-m);
    int k2 = p.k + m;
    LD y = scale_pair(s * f, t * f, k2);
    bool tiny = k2 < -16382;
    y = fr.finish(y);
    // A tiny result is inexact even where the pair happened to fall on the subnormal grid.
    if (__builtin_expect(tiny, 0)) raise_underflow();
    return y;
}

TSR_DEFINE(long double, erfinvl, (long double x)) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    bool neg = v.se >> 15;
    if (__builtin_expect(f >= 0x3fff || invalid_encoding(v), 0)) {
        if (is_nan(v)) return x + x;
        if (f == 0x3fff && v.m == kOne64) {
            X87Frame fr;
            LD r = fr.finish((neg ? -1.0L : 1.0L) / opaque(0.0L));
            return report(x, r, code::erfinvl_magnitude_exactly_1);
        }
        return report(x, default_nan(), code::erfinvl_magnitude_above_1);
    }
    if (is_zero(v)) return x;
    X87Frame fr;
    x = opaque(load(x));
    if (f < 0x3fdd) return tiny_product(fr, x, v, kSqrtPiOver2);  // the cubic term is below 2^-70
    if (f < kField8th) {
        LD hi, lo;
        odd_series<kErfinvSmallDegree>(kErfinvSmall + 1, x, hi, lo);
        return fr.finish(hi + lo);
    }
    LD sgn = neg ? -1.0L : 1.0L, a = neg ? -x : x, hi, lo;
    if (f < 0x3ffe) {
        const LD *row = row_of(kErfinvRows, v, kField8th);
        poly_pair<kErfinvRowsDegree>(row + 1, a - row[0], hi, lo);
        return fr.finish(sgn * hi + sgn * lo);
    }
    // -ln z for z = 1 - a (exact: a >= 1/2), as a pair: e ln 2 with a 32-bit head (its
    // product with e exact) joined to the table logarithm's pair.
    LD z = 1.0L - a, lh, ll, s1, s2, Lh, Ll;
    int e = log_parts(z, ext(z), lh, ll);
    two_sum(LD(e) * kLn2_32[0], lh, s1, s2);
    fast_two_sum(s1, s2 + (LD(e) * kLn2_32[1] + ll), Lh, Ll);
    Lh = -Lh;
    Ll = -Ll;
    // s = sqrt(Lh + Ll): the unit's root, corrected by (L - sh^2) / (2 sh), sh^2 exact.
    LD sh = fsqrt(Lh), p, pe;
    two_prod(sh, sh, p, pe);
    LD sl = (((Lh - p) - pe) + Ll) / (2.0L * sh);
    const LD *row = row_of(kErfinvTail, ext(sh), 0x3ffe);
    poly_pair<kErfinvTailDegree>(row + 1, sh - row[0], hi, lo);
    lo += row[3] * sl;  // the tail of s through the slope
    return fr.finish(sgn * hi + sgn * lo);
}

// What the gamma family shares: ln|Gamma(x)| as a head-and-tail pair in extended precision,
// its sign, and the frame every member runs in.
//
// One core serves every precision: the argument is widened (exactly) to extended, ln|Gamma|
// is formed as a pair (h, l) on the x87 unit at 64 bits in round-to-nearest, and only the last
// operation, h + l rounded to the target (or, for Gamma itself, the scaling of e^(h + l)),
// sees the caller's rounding mode.
//
// Regions of ln|Gamma(x)|:
//   x < 2^-70          -ln x (the next term, -gamma x, is below 2^-76 of it);
//   x < 11/16          ln Gamma(1 + x) - ln x, the first from the pieces with t measured
//                      from the piece's centre less one (exact);
//   11/16..65/16       27 pieces of width 1/8 (gamma_data.cpp), a degree-16 polynomial in
//                      t = x - centre each, its first four coefficients pairs (relative
//                      error below 2^-77), evaluated to a pair; the pieces centred on the
//                      zeros 1 and 2 have no constant term, so that t P(t) is accurate
//                      relative to itself next to the zero;
//   65/16..16          ln Gamma(x - n) + ln((x - 1)...(x - n)), x - n in [49/16, 65/16), the
//                      product as a pair;
//   x >= 16            Stirling: (x - 1/2) ln x - x + ln(2 pi)/2 + sum B_2k/(2k(2k-1)x^(2k-1)),
//                      the first three terms as pairs (ln x as a pair from the extended
//                      logarithm core), the series (8 terms, truncation below 2^-70) rounded.
//   x < 0, |x| < 24    with n = floor(-x) and z = x + n + 1 in (0, 1):
//                      ln|Gamma(x)| = ln Gamma(1 + z) - ln|x (x + 1) ... (x + n + 1)|.
//                      Every factor is exact, the product is kept as a pair and its
//                      logarithm taken as a pair, and the piece is a pair too, so the
//                      absolute error is about 2^-76: this is what keeps the result accurate
//                      next to the zeros of ln|Gamma| on the negative axis, where the two
//                      terms cancel.
//   x <= -24           reflection: -(ln|d| + ln(sin(pi d)/(pi d)) + ln|x| + ln Gamma(|x|)),
//                      d = |x| - round(|x|) (exact), the logarithms as pairs (the second a
//                      polynomial in d^2 ending in pair steps), Stirling at |x|.
//                      The result is large there (no double lies near a zero beyond 20), so
//                      the sum does not cancel.
// The sign of Gamma(x) for x < 0 between -n-1 and -n is (-1)^(n+1).
#pragma once
#include "extended/ext_common.h"
#include "special/gamma_data.h"

#include <limits>

namespace tsr::gamma {
namespace {

using LD = long double;

// The x87 unit at 64 bits and round-to-nearest for the computation.  The last operation
// runs under the caller's rounding field (the precision stays at 64 bits, so that an
// extended result is not cut to the caller's precision and a double or float one is rounded
// once more only by its conversion, in the caller's mode); the caller's whole word comes
// back after it and on every exit.
struct Frame : X87Frame {
    Frame() : X87Frame(true) {}
    // last(h, l) computed and converted to T under the caller's rounding field; the
    // operands pass through opaque() around each change of the word, so that no arithmetic
    // crosses one.
    template <class T, class F> T finish(LD h, LD l, F last) {
        h = opaque(h);
        l = opaque(l);
        if (__builtin_expect(changed, 0)) set_x87_cw(uint16_t(saved | X87_PC_MASK));
        h = opaque(h);
        l = opaque(l);
        T r = opaque(T(last(h, l)));
        release();
        return r;
    }
};

struct Pair {
    LD h, l;
};

inline Pair add(Pair a, Pair b) {
    LD s, e;
    two_sum(a.h, b.h, s, e);
    e += a.l + b.l;
    Pair r;
    fast_two_sum(s, e, r.h, r.l);
    return r;
}
inline Pair neg(Pair a) { return {-a.h, -a.l}; }

// ln x as a pair for a positive finite x: e ln2 + (hi + lo) from the extended core, ln2 in
// three parts (the head times e is exact).
inline Pair ln_pair(LD x) {
    Ext v = ext(x);
    LD hi, lo;
    int e = x80::log_parts(x, v, hi, lo);
    LD ef = LD(e);
    LD s, t;
    two_sum(ef * x80::kLn2_3[0], hi, s, t);
    Pair r;
    fast_two_sum(s, t + (lo + ef * x80::kLn2_3[1]), r.h, r.l);
    return r;
}

// c[0] + c[1] v + ... + c[n] v^n at v = vh + vl as a pair, the coefficients of v^0..v^(m-1)
// held as pairs (heads c, tails cl): Horner in extended at vh from the top down to v^m, then
// the last steps on the pairs, the product v times a pair kept exact by Dekker's product (vl
// joins each of those steps to the first order).  With |v| <= 1/16 (the pieces, m = 4) or
// v <= 1/4 (the reflection, m = 4) the extended part's rounding stays below 2^-72 of the
// result, and the pair steps add about 2^-80.
inline Pair poly_pairs(const LD *c, const LD *cl, int n, int m, LD vh, LD vl) {
    LD q = c[n];
    for (int i = n - 1; i >= m; --i) q = q * vh + c[i];
    Pair p;
    LD s, e;
    two_sum(c[m - 1], vh * q, s, e);
    fast_two_sum(s, e + cl[m - 1], p.h, p.l);
    for (int i = m - 2; i >= 0; --i) {
        LD r, re;
        two_prod(vh, p.h, r, re);
        re += vh * p.l + vl * p.h;
        two_sum(c[i], r, s, e);
        fast_two_sum(s, e + (re + cl[i]), p.h, p.l);
    }
    return p;
}

// Piece k at t (exact, |t| <= 1/16) as a pair: within about 2^-76 of ln Gamma (fit error
// 2^-77.3), relative to the result also on the pieces of the zeros, whose constant terms are
// zero.
inline Pair piece(int k, LD t) { return poly_pairs(kLgPiece[k], kLgPieceTail[k], kPieceDegree, kPiecePairs, t, 0.0L); }
constexpr int kPieceOfOne = 2, kPieceOfTwo = 10;
constexpr LD kFirstCentre = 0.75L, kPieceWidth = 0.125L;
constexpr LD kPiecesFrom = 0.6875L, kPiecesTo = 4.0625L;  // 11/16, 65/16

// The piece of s + x in [11/16, 65/16) for the double cores, and t = x - (centre - s) (exact,
// as below).
inline int piece_at(double x, int s, double &t) {
    int k = int((x + s - 0.6875) * 8.0);
    k = k < 0 ? 0 : (k >= kPieces ? kPieces - 1 : k);
    t = x - (0.75 + k * 0.125 - s);
    return k;
}

// ln Gamma(s + x) for s + x in [11/16, 65/16), s an integer: t = x - (centre - s), exact
// whenever the centre less s lies within a factor two of x (always for s = 0 and for s = 1
// with x >= 1/16), or |t| <= |x| (x < 0).
inline Pair lg_pieces(LD x, int s) {
    int k = int((x + LD(s) - kPiecesFrom) * 8.0L);
    k = k < 0 ? 0 : (k >= kPieces ? kPieces - 1 : k);
    LD c = kFirstCentre + LD(k) * kPieceWidth - LD(s);
    return piece(k, x - c);
}

// The Stirling sum for x >= 16, as a pair.
inline Pair stirling(LD x) {
    Pair L = ln_pair(x);
    // The series: from 2^32 on it is below 2^-76 of the result and is left out (its powers
    // of 1/x would underflow for the largest extended arguments).
    LD ser = 0.0L;
    if (x < 0x1p32L) {
        LD r = 1.0L / x, r2 = r * r;
        ser = kStirling[kStirlingTerms - 1];
        for (int i = kStirlingTerms - 2; i >= 0; --i) ser = ser * r2 + kStirling[i];
        ser *= r;
    }
    if (__builtin_expect(x > 0x1p8000L, 0)) {
        // Only extended arguments come here: x (ln x - 1) alone carries the result to the
        // last place (the rest is below 2^-8000 of it but for -ln(x)/2, added to the tail).
        // The product as a pair, with x brought down by 2^-64 (exactly) for the split.
        LD m, me;
        fast_two_sum(L.h - 1.0L, L.l, m, me);  // L.h - 1 exact (L.h > 5000)
        LD p, e;
        two_prod(x * 0x1p-64L, m, p, e);
        e += x * 0x1p-64L * me;
        return {p * 0x1p64L, e * 0x1p64L - 0.5L * L.h};
    }
    // (x - 1/2) ln x as x ln x - (ln x)/2: x - 1/2 is not exact from 2^63 on.
    LD p, e;
    two_prod(x, L.h, p, e);
    e += x * L.l;
    Pair s;
    fast_two_sum(p, e, s.h, s.l);
    s = add(s, {-0.5L * L.h, -0.5L * L.l});
    s = add(s, {-x, 0.0L});
    s = add(s, {kHalfLn2Pi[0], kHalfLn2Pi[1] + ser});
    return s;
}

// ln|(x + s)(x + s + 1)...(x + s + m - 1)| as a pair: every factor is an exact pair and the
// product is kept as a pair by exact products, so that only the logarithm's own error (about
// 2^-80 relative) remains.
inline Pair ln_product(LD x, int s, int m) {
    LD qh = x + LD(s), ql = 0.0L;
    for (int i = 1; i < m; ++i) {
        // The factor as an exact pair: x + 1 rounds for x in (-1/2, 0).
        LD f, fl;
        two_sum(x, LD(s + i), f, fl);
        LD p, e;
        two_prod(qh, f, p, e);
        e += ql * f + qh * fl;
        fast_two_sum(p, e, qh, ql);
    }
    if (qh < 0) {
        qh = -qh;
        ql = -ql;
    }
    Pair lq = ln_pair(qh);
    lq.l += ql / qh;
    return lq;
}

// ln Gamma(x) for finite x > 0.
inline Pair lg_pos(LD x) {
    if (x < 0x1p-70L) return neg(ln_pair(x));
    if (x < kPiecesFrom) {
        Pair a = x < 0.0625L ? piece(kPieceOfOne, x) : lg_pieces(x, 1);
        return add(a, neg(ln_pair(x)));
    }
    if (x < kPiecesTo) return lg_pieces(x, 0);
    if (x < 16.0L) {
        // ln Gamma(x - n) + ln((x - n)...(x - 1)), x - n in [49/16, 65/16).
        int n = int(x - 3.0625L);
        return add(lg_pieces(x - LD(n), 0), ln_product(x, -n, n));
    }
    return stirling(x);
}

// ln(sin(pi d)/(pi d)) = e Q(e), e = d^2 (|d| <= 1/2), as a pair: e as the exact pair of d
// times d, Q from its pairs (fit error 2^-76 relative), and the last product by e's pair.
inline Pair ln_sin_ratio(LD d) {
    LD eh, el;
    two_prod(d, d, eh, el);
    Pair q = poly_pairs(kLnSin, kLnSinTail, kLnSinDegree, kLnSinPairs, eh, el);
    LD r, re;
    two_prod(eh, q.h, r, re);
    re += eh * q.l + el * q.h;
    Pair p;
    fast_two_sum(r, re, p.h, p.l);
    return p;
}

// ln|Gamma(x)| for a finite negative non-integer x (|x| < 2^63), and the sign of Gamma(x).
inline Pair lg_neg(LD x, int *sign) {
    LD y = -x;
    uint64_t n = uint64_t(y);  // floor(y): y is positive
    *sign = (n & 1) ? 1 : -1;
    if (y < 24.0L) {
        LD z = x + LD(n + 1);  // in (0, 1)
        Pair a;
        // z itself rounds for n = 0 and x above -1/2; t, measured from the piece, does not
        // (|t| <= 1/16 lies on x's grid below |x|).
        if (z > 0.9375L) a = piece(kPieceOfTwo, x + LD(n));  // ln Gamma(2 + t), t = x + n exact
        else if (z < 0.0625L) a = piece(kPieceOfOne, z);      // z exact here
        else a = lg_pieces(x, int(n) + 2);  // ln Gamma(x + n + 2)
        // minus ln|x (x + 1) ... (x + n + 1)|
        return add(a, neg(ln_product(x, 0, int(n) + 2)));
    }
    LD r = LD(int64_t(n));
    LD d = y - r;
    if (d > 0.5L) d -= 1.0L;  // exact: y - round(y)
    LD ad = d < 0 ? -d : d;
    Pair s = add(ln_pair(ad), ln_sin_ratio(d));
    s = add(s, ln_pair(y));
    s = add(s, lg_pos(y));
    return neg(s);
}

// Gamma(x) = sign e^(h + l) as (hi + lo) 2^k, for the pair of ln|Gamma(x)|.
inline x80::ExpPair exp_of(Pair p, int sign) {
    x80::ExpPair r = x80::exp_pair(p.h, p.l);
    if (sign < 0) {
        r.hi = -r.hi;
        r.lo = -r.lo;
    }
    return r;
}

// True when x (finite, negative) is an integer: a pole of Gamma.
inline bool neg_integer(LD x) {
    if (x <= -0x1p63L) return true;
    return LD(int64_t(x)) == x;
}

}  // namespace
}  // namespace tsr::gamma

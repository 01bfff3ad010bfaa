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
//   11/16..65/16       27 pieces of width 1/8 (gamma_data.cpp), a degree-14 polynomial in
//                      t = x - centre each (relative error below 2^-63.5); the pieces
//                      centred on the zeros 1 and 2 have no constant term, so that t P(t)
//                      is accurate relative to itself next to the zero;
//   65/16..16          ln Gamma(x - n) + ln((x - 1)...(x - n)), x - n in [49/16, 65/16), the
//                      product as a pair;
//   x >= 16            Stirling: (x - 1/2) ln x - x + ln(2 pi)/2 + sum B_2k/(2k(2k-1)x^(2k-1)),
//                      the first three terms as pairs (ln x as a pair from the extended
//                      logarithm core), the series (8 terms, truncation below 2^-70) rounded.
//   x < 0, |x| < 24    with n = floor(-x) and z = x + n + 1 in (0, 1):
//                      ln|Gamma(x)| = ln Gamma(1 + z) - ln|x (x + 1) ... (x + n + 1)|.
//                      Every factor is exact, the product is kept as a pair and its
//                      logarithm taken as a pair, so the absolute error is about 2^-67:
//                      this is what keeps the result accurate next to the zeros of ln|Gamma|
//                      on the negative axis, where the two terms cancel.
//   x <= -24           reflection: -(ln|d| + ln(sin(pi d)/(pi d)) + ln|x| + ln Gamma(|x|)),
//                      d = |x| - round(|x|) (exact), the logarithms as pairs, Stirling at |x|.
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

// Piece k at t (Horner; the last step adds the constant term, zero on the pieces of the zeros).
inline LD piece(int k, LD t) {
    const LD *c = kLgPiece[k];
    LD p = c[kPieceDegree];
    for (int i = kPieceDegree - 1; i >= 0; --i) p = p * t + c[i];
    return p;
}
constexpr int kPieceOfOne = 2, kPieceOfTwo = 10;
constexpr LD kFirstCentre = 0.75L, kPieceWidth = 0.125L;
constexpr LD kPiecesFrom = 0.6875L, kPiecesTo = 4.0625L;  // 11/16, 65/16

// ln Gamma(s + x) for s + x in [11/16, 65/16): t = x - (centre - s), exact whenever the
// centre less s lies within a factor two of x (always for s = 0 and for s = 1 with x >= 1/16).
inline LD lg_pieces(LD x, int s) {
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
        // Only extended arguments come here: the split of the pair product would overflow,
        // and x (ln x - 1) alone carries the result to the last place.
        return {x * ((L.h - 1.0L) + L.l) - 0.5L * L.h, 0.0L};
    }
    LD a = x - 0.5L;  // exact below 2^63; above, its rounding is far below the result's ulp
    LD p, e;
    two_prod(a, L.h, p, e);
    e += a * L.l;
    Pair s;
    fast_two_sum(p, e, s.h, s.l);
    s = add(s, {-x, 0.0L});
    s = add(s, {kHalfLn2Pi[0], kHalfLn2Pi[1] + ser});
    return s;
}

// ln|(x + s)(x + s + 1)...(x + s + m - 1)| as a pair: every factor is exact (each lies within
// the binade of x or below it, on x's grid) and the product is kept as a pair by exact
// products, so that only the logarithm's own error (about 2^-80 relative) remains.
inline Pair ln_product(LD x, int s, int m) {
    LD qh = x + LD(s), ql = 0.0L;
    for (int i = 1; i < m; ++i) {
        LD f = x + LD(s + i);
        LD p, e;
        two_prod(qh, f, p, e);
        e += ql * f;
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
        LD a = x < 0.0625L ? piece(kPieceOfOne, x) : lg_pieces(x, 1);
        return add({a, 0.0L}, neg(ln_pair(x)));
    }
    if (x < kPiecesTo) return {lg_pieces(x, 0), 0.0L};
    if (x < 16.0L) {
        // ln Gamma(x - n) + ln((x - n)...(x - 1)), x - n in [49/16, 65/16).
        int n = int(x - 3.0625L);
        return add({lg_pieces(x - LD(n), 0), 0.0L}, ln_product(x, -n, n));
    }
    return stirling(x);
}

// ln|Gamma(x)| for a finite negative non-integer x (|x| < 2^63), and the sign of Gamma(x).
inline Pair lg_neg(LD x, int *sign) {
    LD y = -x;
    uint64_t n = uint64_t(y);  // floor(y): y is positive
    *sign = (n & 1) ? 1 : -1;
    if (y < 24.0L) {
        LD z = x + LD(n + 1);  // in (0, 1)
        LD a;
        if (z > 0.9375L) a = piece(kPieceOfTwo, x + LD(n));  // ln Gamma(2 + t), t = x + n exact
        else if (z < 0.0625L) a = piece(kPieceOfOne, z);
        else a = lg_pieces(z, 1);
        // minus ln|x (x + 1) ... (x + n + 1)|
        return add({a, 0.0L}, neg(ln_product(x, 0, int(n) + 2)));
    }
    LD r = LD(int64_t(n));
    LD d = y - r;
    if (d > 0.5L) d -= 1.0L;  // exact: y - round(y)
    LD ad = d < 0 ? -d : d;
    LD e = d * d;
    LD q = kLnSin[kLnSinDegree];
    for (int i = kLnSinDegree - 1; i >= 0; --i) q = q * e + kLnSin[i];
    Pair s = add(ln_pair(ad), {q * e, 0.0L});
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

// What the extended-precision functions share: the exponential and logarithm cores on
// head-and-tail pairs, the scaling of a result into its binade, and the unpacking of
// arguments.  Every core runs inside an X87Frame (precision 64 bits).
//
// Exponential: z = n ln2/256 + r, n rounded by the shifter (so |r| <= ln2/512 in
// round-to-nearest, ln2/256 in the directed modes); e^z = 2^k 2^(j/256) e^r with n = 256k + j,
// j in -128..127; 2^(j/256) from a table of a 30-bit head and a double tail; e^r - 1 by a
// degree-7 polynomial whose two leading terms are exact (r + r^2/2 + r^3 Q(r)), the pair's
// tail joining the linear term.  The table head is added last, so the result is rounded
// once: the error is 0.5 ulp plus about 2^-9 ulp.
//
// Logarithm: x = 2^e m, m in [1, 2); j the top 8 fraction bits of m; R_j a single-precision
// reciprocal of the row's centre; u = m R_j - 1, exact as a pair (the 32-bit halves of m
// times R_j are exact products), |u| < 2^-9; ln x = e ln2 - ln R_j + ln(1 + u), with ln2 and
// -ln R_j as pairs and ln(1 + u) = u - u^2/2 + u^3 Q(u) (degree 8).  Near 1
// (1 - 2^-7 <= x < 1 + 2^-7) the table would leave a sum that cancels: there the series in
// v = x - 1 (exact) is summed directly (degree 12), v^2/2 as an exact pair.  Both give
// ln(m) (or ln x near 1) as a pair to about 2^-80 relative.
//
// Beside them, short forms for the functions that round a result once and need no pair:
// the short exponential (one extended reduced argument, 53-bit table heads, the scale
// applied to the table's terms) and the short logarithm (the significand's halves loaded as
// integers, exact head sums on the grid of 2^-49).  The pair cores stay for the kernels,
// x^y and the range ends.
#pragma once
#include "extended/ext_data.h"
#include "tsr/report.h"
#include "tsr/codes.h"
#include "tsr/x87.h"

namespace tsr::x80 {
namespace {

constexpr uint64_t kOne64 = 0x8000000000000000ull;  // the integer bit of a significand

// The scaled pair of the kernels: (hi + lo) 2^e, the exponent in the third 16-byte cell.
struct Scaled {
    long double hi, lo;
    int e;
};
static_assert(sizeof(long double) == 16 && __builtin_offsetof(Scaled, e) == 32);

// ---- unpacking ------------------------------------------------------------------------------
// A finite non-zero value as its significand with the leading bit set and its unbiased
// exponent (subnormals and pseudo-denormals normalised).
struct Unpacked {
    uint64_t m;
    int e;
};
inline Unpacked unpack(const Ext &v) {
    int f = v.se & 0x7fff;
    uint64_t m = v.m;
    if (f == 0) {
        int s = __builtin_clzll(m);
        return {m << s, -16382 - s};
    }
    return {m, f - 0x3fff};
}
// An encoding the x87 unit refuses as an operand: an unnormal (or pseudo-NaN, or
// pseudo-infinity) has a non-zero exponent field and a clear integer bit.
inline bool invalid_encoding(const Ext &v) { return (v.se & 0x7fff) != 0 && !(v.m >> 63); }
// The classes of an encoding, the invalid ones counted as NaNs (the unit treats them so).
inline bool is_nan(const Ext &v) { return ((v.se & 0x7fff) == 0x7fff && v.m != kOne64) || invalid_encoding(v); }
inline bool is_inf(const Ext &v) { return (v.se & 0x7fff) == 0x7fff && v.m == kOne64; }
inline bool is_zero(const Ext &v) { return (v.se & 0x7fff) == 0 && v.m == 0; }

// The unit's square root, rounded once under the frame's control word.
inline LD fsqrt(LD x) {
    asm("fsqrt" : "+t"(x));
    return x;
}

// The default quiet NaN of a domain error (the single-precision 0x7fc00000 widened), with
// invalid raised by arithmetic.
inline LD default_nan() {
    force(opaque(0.0L) / opaque(0.0L));
    return LD(f32(0x7fc00000));
}

// ---- scaling -----------------------------------------------------------------------------------
// y * 2^k for y in about [0.5, 4): one exact product where the result is normal; two where it
// may be subnormal or overflow, so that the only rounding is the last one (with its flags).
inline LD scale(LD y, int k) {
    if (__builtin_expect(k >= -16380 && k <= 16382, 1)) return y * pow2l(k);
    int k1 = k / 2;
    return opaque(y * pow2l(k1)) * pow2l(k - k1);
}

// One ulp of hi toward the sign of lo, by integer work.
inline LD step_toward(const Ext &e, LD lo) {
    uint64_t m = e.m;
    uint16_t se = e.se;
    if ((lo > 0.0L) == !(se >> 15)) {  // toward a larger magnitude
        if (m == ~0ull) m = 0x8000000000000000ull, se = uint16_t(se + 1);
        else m += 1;
    } else {
        if (m == 0x8000000000000000ull) m = ~0ull, se = uint16_t(se - 1);
        else m -= 1;
    }
    return from_ext(m, se);
}

// (hi + lo) * 2^k rounded once, for hi in about [0.5, 4) and |lo| below half its ulp.  Where
// the result is subnormal with d >= 2 bits of hi dropped, hi is first replaced by the
// round-to-odd value of hi + lo (its last bit set, toward lo, when lo is not zero): rounding
// that into the subnormal grid is the rounding of hi + lo itself in every mode.  With one
// bit dropped: an odd hi is a midpoint, which lo decides in round-to-nearest (the directed
// modes round it as they would hi + lo); an even hi lies on the grid, and lo scaled into the
// subnormal range adds nothing in round-to-nearest and the right unit in the upward and
// downward modes.
inline LD scale_pair(LD hi, LD lo, int k) {
    if (__builtin_expect(k >= -16380 && k <= 16382, 1)) return hi * pow2l(k);
    int k1 = k / 2;
    if (k < -16380 && lo != 0.0L) {
        Ext e = ext(hi);
        int d = -16382 - (k + int(e.se & 0x7fff) - 0x3fff);
        if (d >= 2) {
            if (!(e.m & 1)) hi = step_toward(e, lo);
        } else if (d == 1) {
            if (!(e.m & 1)) return opaque(hi * pow2l(k1)) * pow2l(k - k1) + opaque(lo * pow2l(k1)) * pow2l(k - k1);
            if (opaque(1.0L) + 0x1p-70L == opaque(1.0L) - 0x1p-70L) hi = step_toward(e, lo);  // nearest
        }
    }
    return opaque(hi * pow2l(k1)) * pow2l(k - k1);
}

// ---- exponential --------------------------------------------------------------------------------
inline LD exp_poly(LD r) {
    const LD *c = kExpPoly;
    LD r2 = r * r;
    LD hi = c[0] + r * c[1];
    LD lo = c[2] + r * (c[3] + r * c[4]);
    return hi + r2 * lo;
}

// The result of the reduction: 2^k (hi + lo) with hi + lo = 2^(j/256) e^(rh + rl), hi
// carrying the table head and the rounded sum.
struct ExpPair {
    LD hi, lo;
    int k;
};
// The part every exponential shares, from n and the reduced pair.
// With `neg`, the pair is of -2^(j/256) e^r, so that the one rounding is of the signed value.
inline ExpPair exp_tail(int n, LD rh, LD rl, bool neg = false) {
    int j = ((n + 128) & 255) - 128;
    int k = (n - j) >> 8;
    const double *t = kExpTab[j + 128];
    LD th = t[0], tl = t[1];
    if (neg) {
        th = -th;
        tl = -tl;
    }
    // e^r - 1 = rh + (rl + rh (rl + rh (1/2 + rh Q(rh)))): the product rh rl keeps a tail
    // that is not negligible beside rh (a logarithm's pair handed over whole) in the result.
    LD p = rh + (rl + rh * (rl + rh * (0.5L + rh * exp_poly(rh))));
    LD q = tl + (th + tl) * p;
    LD hi = th + q;
    return {hi, (th - hi) + q, k};
}

// n = round(z * 256/ln2) for |z| below about 2^15.
inline int exp_index(LD z, LD &nf) { return round_int(z * 0x1.71547652b82fep+8L, nf); }

// e^(zh + zl), |zh| <= 11500: r = zh - n ln2/256 by Cody and Waite in three parts (the head
// of 29 bits times n is exact, and so is the first difference).
inline int exp_reduce(LD zh, LD zl, LD &rh, LD &rl) {
    LD nf;
    int n = exp_index(zh, nf);
    LD nf256 = nf * 0x1p-8L;
    LD r1 = zh - nf256 * kLn2_3[0];
    LD a = nf256 * kLn2_3[1];
    LD re;
    two_sum(r1, -a, rh, re);
    rl = re + (zl - nf256 * kLn2_3[2]);
    return n;
}
inline ExpPair exp_pair(LD zh, LD zl) {
    LD rh, rl;
    int n = exp_reduce(zh, zl, rh, rl);
    return exp_tail(n, rh, rl);
}

// 2^(zh + zl), |zh| <= 16500: n = round(256 zh), f = zh - n/256 exact, r = f ln2 as a pair.
inline ExpPair exp2_pair(LD zh, LD zl, bool neg = false) {
    LD nf;
    int n = round_int(zh * 256.0L, nf);
    LD f = zh - nf * 0x1p-8L;
    LD fh, fl;
    two_sum(f, zl, fh, fl);
    LD rh, rl;
    mul_const(fh, fl, kLn2_32, rh, rl);
    return exp_tail(n, rh, rl, neg);
}

// ---- the short exponential ----------------------------------------------------------------
// For a function that rounds e^z once and needs no pair: the reduced argument is one
// extended value (its rounding error, below 2^-74 of the result, is what a pair's tail would
// carry), 2^(j/256) a double head of 53 bits and a double tail, e^r - 1 of degree 6 with
// double coefficients (their terms lie below 2^-25 of the result):
//   y = Th + ((Tl + T r) + T r^2 q(r)),  T = Th + Tl rounded,  q = 1/2 + c3 r + ... + c6 r^4,
// the head added last, so y is rounded once.  The other errors (T, T r, the tail's sum, r)
// each stay below 2^-73.5 of y: 0.5 ulp plus about 2^-7 ulp in all.  The products with T
// start as soon as r is known, so the chain from r to y is eight operations.

// v rounded to an integer in the caller's mode: as a value by the shifter (|v| < 2^62) and
// as an int by one integer store of v itself, which is not on the value's path.  The
// shifter takes v's sign (`neg`): the two then round alike in every mode (toward zero, a
// positive shifter would round a negative v down where the store rounds it up).
constexpr float kShifters[2] = {kShifter, -kShifter};
inline int32_t shift_round(LD v, bool neg, LD &nf) {
    LD c = kShifters[neg];
    nf = opaque(v + c) - c;
    int32_t n;
    asm("fistl %0" : "=m"(n) : "t"(v));
    return n;
}

// 2^k 2^(j/256) e^r for n = 256 k + j, |r| <= ln2/256 (with a margin), as th + s (th the
// scaled table head, s the rest: their sum is rounded once by the caller); false (nothing
// written) where the result or a term of its sum might leave the normal range: the
// scale 2^k is applied to the table's terms before the sum, and the smallest term, T r^2 q
// with |r| at least 2^-128 where it is not zero (r is a multiple of the argument's last
// place), must stay normal: k in [-16000, 16383] (the result is in [0.70, 1.42] 2^k).
constexpr float kHalf = 0.5f;
inline bool exp_short(int n, LD r, LD &th, LD &s, int &k) {
    int j = ((n + 128) & 255) - 128;
    k = (n - j) >> 8;
    if (__builtin_expect(unsigned(k + 16000) > 16000u + 16383u, 0)) return false;
    const double *t = kExp2j[j + 128];
    const double *c = kExpPolyD;
    LD sc = pow2l(k);
    th = t[0] * sc;
    LD tl = t[1] * sc;
    LD T = (LD(t[0]) + t[1]) * sc;
    LD r2 = r * r;
    LD a = LD(kHalf) + r * c[0];
    LD b = c[1] + r * c[2];
    LD q = a + r2 * (b + r2 * c[3]);
    s = (tl + T * r) + (T * r2) * q;
    return true;
}

// The argument again from its cell, for a rare path (a fresh load: the first one's value
// need not stay on the register stack).
inline LD reload(const LD &x) {
    LD r;
    asm volatile("fldt %1" : "=t"(r) : "m"(x));
    return r;
}

// ---- logarithm -------------------------------------------------------------------------------------
inline bool near_one(uint32_t k) { return k - 0x3ffefe00u < 0x3fff8100u - 0x3ffefe00u; }

// ln(1 + v) for |v| <= 2^-7 as a pair, v exact.
inline void log1p_series(LD v, LD &hi, LD &lo) {
    const LD *c = kLogNear1;
    LD vh, vl;
    split32(v, vh, vl);
    LD sq = vh * vh * 0.5L;  // exact
    fast_two_sum(v, -sq, hi, lo);
    LD v2 = v * v, v4 = v2 * v2;
    LD q0 = c[0] + v * c[1] + v2 * (c[2] + v * c[3]);
    LD q1 = c[4] + v * c[5] + v2 * (c[6] + v * c[7]);
    LD q2 = c[8] + v * c[9];
    LD q = q0 + v4 * (q1 + v4 * q2);
    lo = lo + (v2 * v * q - vl * (v + vh) * 0.5L);
}

// ln m as -ln R_j + ln(1 + u), a pair (hi, lo), for m in [1, 2) with significand bits mbits.
inline void log_table(LD m, uint64_t mbits, LD &hi, LD &lo) {
    int j = int(mbits >> 55) & 255;
    LD r = kRecip[j];
    LD mh, ml;
    split32(m, mh, ml);
    LD uh = mh * r - 1.0L;  // exact
    LD ul = ml * r;         // exact
    LD u = uh + ul;
    const LD *c = kLogPoly;
    LD u2 = u * u;
    LD q = c[0] + u * c[1] + u2 * (c[2] + u * c[3] + u2 * (c[4] + u * c[5]));
    // u^2/2 with uh^2 exact: uh = a + b (32-bit halves)
    LD a, b;
    split32(uh, a, b);
    LD sq = a * a * 0.5L;
    LD sqt = b * (uh + a) * 0.5L + ul * (uh + 0.5L * ul);
    LD th = kLogR[j][0], tl = kLogR[j][1];
    LD s1, e1, s2, e2;
    two_sum(th, uh, s1, e1);
    two_sum(s1, -sq, s2, e2);
    hi = s2;
    lo = (e1 + e2) + (tl + ul + (u2 * u * q - sqt));
}

// ---- the short logarithm --------------------------------------------------------------------
// For a function that rounds ln x once: x = 2^e m, i the top 8 fraction bits of m rounded
// (m within 2^-9 of 1 + i/256; i = 256 means m just below 2, taken as m/2 with e + 1), R the
// row's single-precision reciprocal.  The significand's 32-bit halves, loaded as integers,
// times R are exact, and so is the upper product less 1: u = uh + ul = m R - 1 exactly, |u|
// below 2^-8.9.  ln x = (e ln2h + th) + u + (e ln2l + tl + ln(1 + u) - u), where the first sum
// is exact (both terms on the grid of 2^-49) and the sums with u keep their errors (u rounded
// from uh + ul, and its sum with the exact part, by two-sums that need no ordering test: the
// first is exact outright where ul exceeds uh, the second has the larger exponent first).
// Rows 0 and 256 (R = 1, 1/2) make u exact and the exact part 0 near 1, so there is no
// cancellation anywhere.  Out: s + t, s the head; t below 2^-18 of s, with an error below
// 2^-80 of |s| + 2^-9: the result s + t rounds once, to 0.5 ulp plus about 2^-9 ulp.
inline void log_short(const Unpacked &x, LD &s, LD &t) {
    unsigned i = unsigned(((x.m >> 54) + 1) >> 1) - 256u;
    int e = x.e + int(i >> 8);
    const double *row = kLogRows[i];
    const double *c = kLogPolyD;
    LD uh = LD(int64_t(x.m >> 32)) * row[0] - 1.0L;
    LD ul = LD(int64_t(x.m & 0xffffffffu)) * row[1];
    LD ef = e;
    LD a = ef * kLn2_49[0] + row[2];
    LD u = uh + ul;
    LD du = ul - (u - uh);
    s = a + u;
    LD err = u - (s - a);
    LD u2 = u * u, u4 = u2 * u2;
    LD p0 = LD(-kHalf) + u * c[0];
    LD p1 = c[1] + u * c[2];
    LD p2 = c[3] + u * c[4];
    LD p = u2 * p0 + u4 * ((p1 + u2 * p2) + u4 * c[5]);
    t = (err + du) + ((ef * kLn2_49[1] + row[3]) + p);
}

// ln x = e ln2 + (hi + lo), for a positive finite x (subnormals included).
inline int log_parts(LD x, const Ext &v, LD &hi, LD &lo) {
    if (near_one(key(v))) {
        log1p_series(x - 1.0L, hi, lo);
        return 0;
    }
    Unpacked u = unpack(v);
    LD m = unsigned(u.e + 1022) <= 2044u ? x * pow2l(-u.e) : from_ext(u.m, 0x3fff);
    log_table(m, u.m, hi, lo);
    return u.e;
}

// log2 x as a pair (h, l), from the parts.
inline void log2_pair(int e, LD hi, LD lo, LD &h, LD &l) {
    LD ph, pl;
    mul_const(hi, lo, kLog2e_32, ph, pl);
    LD s, t;
    two_sum(LD(e), ph, s, t);
    fast_two_sum(s, t + pl, h, l);
}

}  // namespace
}  // namespace tsr::x80

// What sine, cosine and tangent share: the reduction of huge arguments by the bits of 2/pi,
// and the table-driven cores of both designs (without fused multiply-add: 64 rows at
// multiples of pi/32 and Taylor series; with it: 128 rows at multiples of pi/64 and fitted
// series).  Compiled once per tier: everything here has internal linkage.
#pragma once
#include <cstdint>

#include "elementary/trig_data.h"
#include "tsr/common.h"
#include "tsr/format.h"
#include "tsr/guard.h"

namespace tsr::trig {
namespace {


// ---- huge arguments: the long product with 2/pi -------------------------------------------
// x = m·2^(e-52) with m the 53-bit significand.  x·(2/pi)·2^(Q-1) is formed as a fixed-point
// number from a window of seven 32-bit words of 2/pi: the words before the window only add
// multiples of 2^Q (whole periods) and fall away, the words after it add less than 2^-136.
// The Q bits above the binary point count the parts of the period (Q = 3: octants of pi/4,
// Q = 2: quadrants of pi/2); the 189 bits below are the fraction.  A fraction of 1/2 or more
// becomes its complement and the count moves up one, so that f lies in [-1/2, 1/2]; the
// known worst case for doubles leaves f at about 2^-62, so at least 120 bits of f survive
// the cancellation, far more than the two doubles of y need.
struct Reduced {
    double y, t;  // y + t = f·(pi/2^(Q-1)), |t| <= ulp(y)/2
    int n;        // the count of parts; negated when x < 0 (so is y)
};

template <int Q>
inline Reduced reduce_huge(double x) {
    uint64_t b = bits(x);
    int e = int((b >> 52) & 0x7ff) - 1023;  // at least 0 where this is called
    uint64_t m = (b & 0x000fffffffffffffull) | 0x0010000000000000ull;
    uint64_t ml = m & 0xffffffffu, mh = m >> 32;
    int s = (e + 10) >> 5;                  // first word of the window
    const uint32_t *w = twoopi_words + s;
    // P = sum of m·w[i]·2^(32(6-i)) in 32-bit limbs (two zero limbs below, for the reads).
    uint64_t L[12] = {0};
    for (int i = 0; i < 7; i++) {
        uint64_t lo = ml * w[i], hi = mh * w[i];
        int c = 2 + 6 - i;
        L[c] += lo & 0xffffffffu;
        L[c + 1] += (lo >> 32) + (hi & 0xffffffffu);
        L[c + 2] += hi >> 32;
    }
    for (int c = 0; c < 11; c++) {
        L[c + 1] += L[c] >> 32;
        L[c] &= 0xffffffffu;
    }
    // x·4/pi = P·2^-E; the point of x·(2/pi)·2^(Q-1) sits at bit E + 3 - Q of P.
    int point = 32 * s + 211 - e + 3 - Q;
    auto get64 = [&](int pos) -> uint64_t {  // bits pos .. pos + 63 of P (pos >= -64)
        pos += 64;
        int q = pos >> 5, r = pos & 31;
        unsigned __int128 v = (unsigned __int128)(L[q] | (L[q + 1] << 32)) |
                              ((unsigned __int128)L[q + 2] << 64);
        return uint64_t(v >> r);
    };
    uint64_t T0 = get64(point + Q - 64), T1 = get64(point + Q - 128), T2 = get64(point + Q - 192);
    int n = int(T0 >> (64 - Q));
    // The fraction as 192 bits F0:F1:F2.
    uint64_t F0 = (T0 << Q) | (T1 >> (64 - Q)), F1 = (T1 << Q) | (T2 >> (64 - Q)), F2 = T2 << Q;
    bool neg = F0 >> 63;
    if (neg) {  // f - 1: the two's complement, and one part more
        n++;
        F2 = ~F2 + 1;
        F1 = ~F1 + (F2 == 0);
        F0 = ~F0 + (F2 == 0 && F1 == 0);
    }
    n &= (1 << Q) - 1;
    bool xneg = b >> 63;
    Reduced r{0.0, 0.0, xneg ? -n : n};
    int shift = 0;
    while (F0 == 0 && shift < 192) {  // a word at a time
        F0 = F1;
        F1 = F2;
        F2 = 0;
        shift += 64;
    }
    if (F0 == 0) return r;  // an exact multiple: y = 0
    int lz = __builtin_clzll(F0);
    unsigned __int128 N = ((unsigned __int128)F0 << 64) | F1;
    if (lz) N = (N << lz) | (F2 >> (64 - lz));
    shift += lz;
    // f = N·2^(-128-shift): a 26-bit head (exact times the 27-bit head of pi/4) and the rest.
    double hi = double(uint64_t(N >> 102)) * f64(uint64_t(1023 - 26 - shift) << 52);
    double lo = double(uint64_t(N >> 38)) * f64(uint64_t(1023 - 90 - shift) << 52);
    // The head of pi/4 (27 bits) and the rest; for Q = 2 both doubled (pi/2).
    const double P1 = 0x1.921fb4p-1 * (Q == 2 ? 2.0 : 1.0);
    const double P2 = 0x1.4442d18469899p-25 * (Q == 2 ? 2.0 : 1.0);
    double a = hi * P1;
    double c = lo * P1 + (hi + lo) * P2;
    double y = a + c;
    double t = c + (a - y);
    if (neg != xneg) {
        y = -y;
        t = -t;
    }
    r.y = y;
    r.t = t;
    return r;
}

// ---- huge float arguments: 128/pi modulo the period ------------------------------------------
// u·128/pi modulo 256 (units of pi/128, a period of 2pi) for a float u of at least 2^21 in
// magnitude (b its bits without the sign), from the row of u's exponent group: p and q are
// exact, their sum exact as s + e, the rest w below 2^-19 with an error below 2^-72; k =
// round(s) by a signed half and truncation (s < 2^39), the same in every rounding mode, and
// s - k exactly.  f + k is the value, |f| <= 1/2 + 2^-40.
struct Period128 {
    double f;
    int k;  // modulo 256
};

inline Period128 period128(double u, uint32_t b) {
    const uint64_t *row = sinf_period_rows[((b >> 23) - 0x8e) >> 3];
    double a = f64(row[0] & 0xffffffffff000000ull), a2 = f64((row[0] & 0xffffffull) << 40);
    double p = a * u, q = a2 * u, w = f64(row[1]) * u;
    double s = p + q, e = q - (s - p);
    int64_t k = int64_t(s + (s < 0 ? -0.5 : 0.5));
    return {((s - double(k)) + e) + w, int(k & 255)};
}

// ---- sine and cosine without fused multiply-add ----------------------------------------------
// x = (k + off)·pi/32 + r - e with k = round(32x/pi) and the period of 64 rows; off is 16 for
// the cosine (it is the sine a quarter period on) and 8 per octant of a huge argument.
// sin(a + r) = S·cos r + C·sin r is written as the table's head Shi + C·r, where Chi·r is
// exact, and a tail of the series: sin r - r = r^3·s(r^2), cos r - 1 = r^2·c(r^2).
struct Red64 {
    double y, r, e;  // y = x - k·P1 (the top of the series uses it for r), true r - e
    int k;
};

// kf is k as a double: a caller that has it from a shifter's value (sh - shifter) passes it,
// sparing the conversion on the argument's path.
inline Red64 red64(double x, int k, double kf) {
    const double P1 = 0x1.921fb544p-4, P2 = 0x1.0b4611a6p-38, P3 = 0x1.3198a2e037073p-73;
    double c1 = kf * P1, m2 = kf * P2, m3 = kf * P3;
    double y = x - c1;
    double r = y - m2;
    double e = m3 - ((y - r) - m2);
    return {y, r, e, k};
}
inline Red64 red64(double x, int k) { return red64(x, k, double(k)); }

// round(32x/pi) by adding a signed half and truncating (ex, e7); the caller has |x| < 2^17.
inline int k32_trunc(double x) {
    return int(x * 0x1.45f306dc9c883p+3 + (x < 0 ? -0.5 : 0.5));
}

// The table sum of row j at (r, e).  Returns the head h and adds the tail to t.
inline double rows64_sum(const SC64 &row, const Red64 &d, double &t) {
    double r = d.r;
    double C = row.c0 + row.chi;
    double r2 = r * r, r4 = r2 * r2, yr = d.y * r;
    double s = -0x1.5555555555555p-3 + r2 * 0x1.1111111111111p-7 +
               r4 * (-0x1.a01a01a01a01ap-13 + yr * 0x1.71de3a556c734p-19);
    double c = -0x1p-1 + r2 * 0x1.5555555555555p-5 +
               r4 * (-0x1.6c16c16c16c17p-10 + yr * 0x1.a01a01a01a01ap-16);
    double h1 = row.shi + row.chi * r;
    double h = h1 + row.c0 * r;
    t = d.e * (row.shi * r - C) + row.slo;
    t = t + ((row.shi - h1) + row.chi * r);
    t = t + ((h1 - h) + row.c0 * r);
    t = t + (C * r * r2) * s;
    t = t + (row.shi * r2) * c;
    return h;
}

// The same for a row given as the columns of the pair table, lane l.
inline double pair_sum(const SCPair &p, int l, const Red64 &d, double &t) {
    SC64 row{p.c0[l], p.shi[l], p.slo[l], p.chi[l]};
    return rows64_sum(row, d, t);
}

// sin or cos (off = 16) of a huge x, by the octant reduction and the 64-row core.
inline double sin64_huge(double x, int off) {
    Reduced h = reduce_huge<3>(x);
    int k = k32_trunc(h.y);
    Red64 d = red64(h.y, k);
    d.e -= h.t;
    double t;
    double v = rows64_sum(sincos_rows64[(k + 8 * h.n + off) & 63], d, t);
    return v + t;
}

// ---- sine and cosine with fused multiply-add ----------------------------------------------------
// k = round(64x/pi) by the shifter 1.5·2^46 (ulp 2^-6 after the scaling by 1/pi), r + e the
// remainder of x - (k/64)·pi in three parts.  A, B: fitted even series with cos r ≈ 1 + r^2·A,
// sin r ≈ r + r^3·B on |r| <= pi/128.
struct Red128 {
    double r, e, r2, A, B;
    uint64_t k;
};

inline Red128 red128(double x, double S) {
    double kf = S - 0x1.8p+46;
    double r0 = __builtin_fma(kf, -0x1.921fb54442d18p+1, x);
    double m1 = kf * 0x1.1a62633p-53, m2 = kf * 0x1.45c06e0e68948p-85;
    double t = r0 - m1;
    double r = t - m2;
    double e = ((r0 - t) - m1) + ((t - r) - m2);
    double r2 = r * r;
    double A = __builtin_fma(-0x1.6c14c01518711p-10, r2, 0x1.55555553c9847p-5);
    A = __builtin_fma(A, r2, -0x1.fffffffffffe8p-2);
    double B = __builtin_fma(-0x1.a018395291dbbp-13, r2, 0x1.111111106125ep-7);
    B = __builtin_fma(B, r2, -0x1.555555555555p-3);
    return {r, e, r2, A, B, bits(S)};
}

// sin: returns H and y, the result being H + y.
inline double sin128(const Red128 &d, double &y) {
    const SC128 &w = sincos_rows128[d.k & 127];
    double r = d.r;
    double H = __builtin_fma(w.c, r, w.s);
    double z = w.s * d.A + (w.c * r) * d.B;
    double v = __builtin_fma(__builtin_fma(-w.s, r, w.c), d.e, w.slo);
    v = __builtin_fma(r, w.clo, v);
    double u = __builtin_fma(r, w.c, w.s - H);
    y = __builtin_fma(d.r2, z, u + v);
    return H;
}

inline double cos128(const Red128 &d, double &y) {
    const SC128 &w = sincos_rows128[d.k & 127];
    double r = d.r;
    double H = __builtin_fma(-w.s, r, w.c);
    double z = (w.s * r) * d.B - w.c * d.A;
    double v = __builtin_fma(-__builtin_fma(w.c, r, w.s), d.e, w.clo);
    v = __builtin_fma(-r, w.slo, v);
    double u = __builtin_fma(r, w.s, H - w.c);
    y = __builtin_fma(-d.r2, z, v - u);
    return H;
}

}  // namespace
}  // namespace tsr::trig

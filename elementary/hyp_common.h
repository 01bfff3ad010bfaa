// What the hyperbolic functions share: the reduction of |x| that serves e^|x| and e^-|x|
// at once, and the single-precision reduction of the same kind.
#pragma once
#include "tsr/common.h"
#include "tsr/guard.h"
#include "tsr/codes.h"
#include "tsr/report.h"
#include "elementary/exp_data.h"
#include "elementary/hyp_data.h"
#if TSR_TIER_E7
#include <emmintrin.h>
#endif

namespace tsr::hyp {
// Internal linkage: compiled once per tier with that tier's instruction set.
namespace {

// v times the sign of s, by its sign bit (for a positive v: |v| with the sign of s).
inline double with_sign(double v, double s) { return f64(bits(v) ^ (bits(s) & 0x8000000000000000ull)); }
inline float with_sign(float v, float s) { return f32(bits(v) ^ (bits(s) & 0x80000000u)); }
// |v| with the sign of s.
inline double copy_sign(double v, double s) {
    return f64((bits(v) & 0x7fffffffffffffffull) | (bits(s) & 0x8000000000000000ull));
}
inline float copy_sign(float v, float s) { return f32((bits(v) & 0x7fffffffu) | (bits(s) & 0x80000000u)); }

// ---- the double reduction -------------------------------------------------------------------
// a = k·ln2/128 + r, k = 128n + j (j in -64..63) rounded by a shifter, r = rh + rl in two
// Cody-Waite steps: L1 (ln 2/128 to 33 bits) times k is exact for every k here, so rh + rl
// carries r to about 2^-100.  e^r = Hp + u and e^-r = Hm + v, where Hp = 1 + rh and
// Hm = 1 - rh are cut to a grid of 2^-20 (so that Hp and Hm times a table head of 32 bits are
// exact) and u, v hold the rest, through r^5 with |r| <= ln 2/256: relative error below
// 2^-66.  2^(+-j/128) are (head + tail) of the split table, head with 31 or 32 bits.
struct Red {
    double Hp, u, Hm, v;
    int n, j;
    const expd::TH *up, *dn;
};

inline Red reduce(double a) {
    const double K = 0x1.71547652b82fep+7, S = 0x1p52;  // 128/ln 2, the shifter
    const double L1 = -0x1.62e42p-8, L2 = 0x1.fdf473de6af28p-29;
    const double a2 = 0x1.5555555555405p-3, a3 = 0x1.555555555541dp-5,
                 a4 = 0x1.111116887cd7cp-7, a5 = 0x1.6c16c87372663p-10;
    Red o;
    double s = opaque(K * a + S);
    double kf = s - S;
    int k = int(uint32_t(bits(s)));
    o.j = int(uint32_t(k) << 25) >> 25;
    o.n = (k - o.j) >> 7;
    double v = L1 * kf + a, w = kf * L2;
    double rh = v - w, rl = (v - rh) - w, r = rh + rl, z = r * r;
    o.Hp = opaque(rh + 0x1.00000001p+32) + -0x1p+32;  // 1 + rh, grid 2^-20
    o.Hm = opaque(-0x1.fffffffep+31 - rh) + 0x1p+32;  // 1 - rh, grid 2^-21
    double O = (a4 * z + a2) * z * r, E = ((a5 * z + a3) * z + 0.5) * z;
    o.u = ((rh - (o.Hp - 1.0)) + rl) + O + E;
    o.v = (-rl - ((o.Hm - 1.0) + rh)) - O + E;
    o.up = &expd::split128[o.j + 64];
    o.dn = &expd::split128[64 - o.j];
    return o;
}

// cosh |x| (Cosh) or sinh |x| from the reduction o of a = |x| (hx: |x|'s high word), as
// 2^m (h + l), m returned, in round-to-nearest: e^r = Hp + u and e^-r = Hm + v with the
// split-table rows.  One side: 2^(n-1)·e^|x| = (Hp·head + (u·head + (u + Hp)·tail))·2^(n-1),
// the head an exact product.  Both sides: the downward side scaled by C = 2^-2n onto the
// upward one's exponent, the difference or sum of the exact heads first.
template <bool Cosh>
inline int pair_of_reduced(const Red &o, uint32_t hx, double &h, double &l) {
    const expd::TH &U = *o.up, &Dn = *o.dn;
    double Pu = o.Hp * U.head, pu = o.u * U.head + (o.u + o.Hp) * U.tail;
    if (hx > 0x4036dfb4) {  // |x| > 22.87: e^-|x| is below the pair's last place
        h = Pu;
        l = pu;
    } else {
        double C = from_words((0x3ff00000u - uint32_t(o.n << 21)) & 0x7ff00000u, 0);
        double Q = o.Hm * Dn.head * C, q = (o.v * Dn.head + (o.v + o.Hm) * Dn.tail) * C;
        h = Cosh ? Pu + Q : Pu - Q;
        l = Cosh ? ((Pu - h) + Q) + (pu + q) : ((Pu - h) - Q) + (pu - q);
    }
    return o.n - 1;
}

// 2^e as a double for -1022 <= e <= 1023.
inline double pow2(int e) { return f64(uint64_t(e + 1023) << 52); }

// The two sides of the reduction scaled: P + p = 2^(n-1)·e^|x|, Q + q = 2^(-n-1)·e^-|x|,
// P and Q exact products.
struct Sides {
    double P, p, Q, q;
};
inline Sides sides(const Red &o) {
    double F = pow2(o.n - 1), G = pow2(-o.n - 1);
    Sides s;
    s.P = F * o.up->head * o.Hp;
    s.Q = G * o.dn->head * o.Hm;
    s.p = F * (o.up->tail * (o.Hp + o.u) + o.up->head * o.u);
    s.q = G * (o.dn->tail * (o.Hm + o.v) + o.dn->head * o.v);
    return s;
}

// ½e^|x| for 22.87 < |x| < 710.5 as a head (exact) and a correction, both times 2^(n-513):
// the caller adds them and scales by 2^512.
struct Half {
    double h, l;
};
inline Half one_sided(const Red &o) {
    double c = pow2(o.n - 513);
    return {(o.Hp * o.up->head) * c, (o.u * o.up->head + (o.Hp + o.u) * o.up->tail) * c};
}

// ---- single precision, in double --------------------------------------------------------------
// a = k·ln2/64 + r, k = 64n + j (j in -32..31); e^r = 1 + O + E with E and O the even and odd
// parts (degree 4 on |r| <= ln 2/128, relative error 2^-40), 2^(j/64) from the centred table.
struct RedF {
    double ep, em;  // e^r, e^-r
    double tp, tm;  // 2^(j/64), 2^(-j/64)
    int n;
};
inline RedF reduce_f(double a) {
    double s = double(float(0x1.71547652b82fep+6 * a + 12582912.0));  // 64/ln 2, 1.5·2^23
    double kf = s - 12582912.0;
    double r = -0x1.62e42fefa39efp-7 * kf + a;
    int k = int(kf);
    int j = int(uint32_t(k) << 26) >> 26;
    double z = r * r;
    double E = (0x1.56420eb78fa85p-5 * z + 0x1.00000008d6118p-1) * z;
    double O = (0x1.55550da752d4fp-3 * z + 0x1.fffffffffe7c6p-1) * r;
    // The table's rows run over j = -32..31: 2^(32/64) for j = -32 is twice row 0.
    double tm = j == -32 ? 2.0 * expd::centred64[0] : expd::centred64[32 - j];
    return {E + O + 1.0, E + 1.0 - O, expd::centred64[j + 32], tm, (k - j) >> 6};
}

#if TSR_TIER_E7
// ---- tier e7 -------------------------------------------------------------------------------
// The pair (e^|x| side, e^-|x| side) in one pass: k = round(128|x|/ln 2) by the conversion,
// r the residual in units of ln 2/128 (|x|·K with K = K1 + K2, K1 of 24 bits so that K1 times
// the 26-bit head of |x| is exact), A = ±2^(n-1)·2^(j/128) and B = ±2^(-n-1)·2^(-j/128) as
// (hi, lo) pairs, the sign of a sine riding in their exponent words.  With y = r·ln 2/128,
// w(1 + q) is A times e^y - 1 (and ±B times e^-y - 1) through y^5: relative error 2^-62.
struct E7 {
    double Ah, Al, Bh, Bl, wA, qA, wB, qB;
};
// r for |x|, and k.
inline double e7_reduce(double a, int &k) {
    const double K1 = 0x1.715476p+7, K2 = 0x1.4ae0bf85ddf44p-19, S = 0x1.8p+52;
    double xh = f64(bits(a) & ~((1ull << 27) - 1)), xl = a - xh;
    double v = K1 * xh;  // exact
    k = _mm_cvtsd_si32(_mm_set_sd(v));
    double u = opaque(v + S) - S;  // k as a double
    return (K2 * a + K1 * xl) + (v - u);
}
// e^y - 1 = y·(1 + q) with y = c1·r: q for +y and for -y.
inline void e7_poly(double r, double &qA, double &qB) {
    const double c2 = 0x1.62e42fefa39efp-9, c3 = 0x1.47fd3ffac83b4p-18, c4 = 0x1.c6b08d704a0cp-28,
                 c5 = 0x1.f84457f907d8bp-38;
    double s = r * r;
    double c4rs = c4 * r * s, c5s2 = c5 * s * s, c2r = c2 * r, c3s = c3 * s;
    qA = (c4rs + c5s2) + (c2r + c3s);
    qB = (-c4rs + c5s2) + (-c2r + c3s);
}
constexpr double kC1 = 0x1.62e42fefa39efp-8;  // ln 2/128
// The main band, n <= 554: word = top 16 bits of A (sign included).
inline E7 e7_core(double r, int k, uint64_t sign16, bool cosh_side) {
    uint32_t j = uint32_t(k) & 127;
    uint64_t wa = ((uint32_t(k) >> 3) & 0xfff0) + 0x3fe0, wb = 0x7fc0 - wa;
    double A = f64((wa | sign16) << 48), B = f64((wb | sign16) << 48);
    E7 o;
    o.Ah = A * up128[j].hi;
    o.Al = A * up128[j].lo;
    o.Bh = B * down128[j].hi;
    o.Bl = B * down128[j].lo;
    e7_poly(r, o.qA, o.qB);
    double y = kC1 * r;
    o.wA = y * o.Ah;
    o.wB = cosh_side ? -y * o.Bh : y * o.Bh;
    return o;
}
// A(1 + (e^y - 1)) -/+ B(1 + (e^-y - 1)), the heads combined first.
inline double e7_sinh_sum(const E7 &o) {
    double Dd = o.Ah - o.Bh, e = ((o.Ah - Dd) - o.Bh) + (o.Al - o.Bl);
    return Dd + ((o.wB * (1.0 + o.qB) + e) + o.wA * (1.0 + o.qA));
}
inline double e7_cosh_sum(const E7 &o) {
    double Dd = o.Ah + o.Bh, e = ((o.Ah - Dd) + o.Bh) + (o.Al + o.Bl);
    return Dd + ((o.wB * (1.0 + o.qB) + e) + o.wA * (1.0 + o.qA));
}
// The upward side alone, 384 <= |x| below the overflow threshold: 2^(n-1) applied in two
// normal factors, 2^(h-1) with the row and 2^(n-h) after.
inline double e7_one_sided(double r, int k, uint64_t sign16) {
    uint32_t j = uint32_t(k) & 127;
    uint64_t W = (uint32_t(k) >> 3) & 0xfff0, h = ((W & 0x7ff0) >> 1) & 0xfff0;
    double A = f64(((h + 0x3fe0) | sign16) << 48);
    double Ah = A * up128[j].hi, Al = A * up128[j].lo;
    double qA, qB;
    e7_poly(r, qA, qB);
    double wA = kC1 * r * Ah;
    return (Ah + (wA + (qA * wA + Al))) * f64(((W - h) + 0x3ff0) << 48);
}
// The odd series for 2^-32 <= |x| < 0.359375: x + x^3/6 with x^3/6 as a head T (the 17-bit
// head of x cubed, exact, times 1/6) and its rest, then the terms to x^13.
inline double e7_sinh_small(double x) {
    double z = x * x, xh = f64(bits(x) & ~((1ull << 36) - 1)), xl = x - xh;
    const double g = 0x1.5555555555555p-3;
    double T = xh * xh * xh * g;
    double e3 = ((3.0 * x * xh + xl * xl) * xl) * g;
    double S = x + T;
    double x3 = x * z, z2 = z * z, z4 = z2 * z2;
    double p1 = (0x1.6124613a86d08p-33 * z + 0x1.ae64567f544e1p-26) * x3 * z4;
    double p2 = (0x1.71de3a556c732p-19 * z + 0x1.a01a01a01a019p-13) * x3 * z2;
    double p3 = 0x1.1111111111111p-7 * z * x3;
    return S + (((p1 + e3) + (p2 + p3)) + (T + (x - S)));
}
// The even series for |x| below 0.125 (cosh) or 0.359375 (the cosine of sinhcosh, `wide`).
inline double e7_cosh_small(double x, bool wide) {
    double z = x * x, z2 = z * z, z4 = z2 * z2;
    double m0 = 0x1.27e4fb7789f5cp-22 * z + 0x1.a01a01a01a019p-16;
    double m1 = 0x1.6c16c16c16c16p-10 * z + 0x1.5555555555555p-5;
    double s = m1 * z2 + m0 * z4;
    if (wide) s = s + 0x1.1f0bf6d6c1f38p-29 * (z4 * z2);
    return (s + 0.5 * z) + 1.0;
}
// Below the small bands: x rounded the right way (sinh), 1 with inexact (cosh).
inline double e7_sinh_tiny(double x) {
    if ((bits(x) & 0x7ff0000000000000ull) != 0) return (x * 0x1p64 + x) * 0x1p-64;
    if ((bits(x) << 1) == 0) return x;
    return x + with_sign(0x1p-1000, x) * 0x1p-1000;  // underflow
}
inline double e7_cosh_tiny(double x) { return (bits(x) << 1) == 0 ? 1.0 : 1.0 + opaque(0x1p-60); }

// Single precision, the pair scheme in double: the float's magnitude bits moved to bit 29 of
// a double are |x|·2^-896 exactly, and K' = 32/ln 2·2^896 undoes the scale in the product.
// k = 32n + j by the shifter, f the rest in units of ln 2/32; A = ±2^(n-1)·2^(j/32),
// B = ±2^(-n-1)·2^(-j/32) from the rows of hyp_pair32; e^(+-f·ln 2/32) - 1 = g·h with h of
// degree 2 (relative error 2^-35 on |f| <= 1/2).
struct F7 {
    double A, B, gA, hA, gB, hB;
};
inline F7 f7_core(uint32_t b, uint64_t sign16) {
    const double Sh = 0x1.8p+52;
    double xp = f64(uint64_t(b) << 29);
    double v = 0x1.71547652b82fep+901 * xp;
    double s = v + Sh;
    uint32_t k = uint32_t(bits(s));
    double f = v - (s - Sh);
    uint32_t j = k & 31;
    uint64_t wa = ((k >> 1) & 0xfff0) + 0x3fe0, wb = 0x7fc0 - wa;
    const double c = 0x1.62e42fefa39efp-6, ch = 0x1.62e42fefa39efp-7, c3 = 0x1.47fd3ffac83b4p-14;
    double f2 = f * f;
    F7 o;
    o.A = f64((wa | sign16) << 48) * pair32[j].hi;
    o.B = f64((wb | sign16) << 48) * pair32[j].lo;
    o.gA = c * f;
    o.gB = -c * f;
    o.hA = (1.0 + ch * f) + c3 * f2;
    o.hB = (1.0 - ch * f) + c3 * f2;
    return o;
}
inline double f7_up(const F7 &o) { return o.A + o.gA * o.A * o.hA; }
inline double f7_down(const F7 &o) { return o.B + o.gB * o.B * o.hB; }
// The series below 0.359375 (sine) and 0.125 or 0.359375 (cosine), in double with the
// float coefficients: x + x^3/6 + x^5/120 + x^7/5040 and 1 + x^2/2 + x^4/24 + c·x^6.
inline float f7_sinh_small(float x) {
    double xd = x, z = xd * xd;
    return float(((0x1.a01a02p-13 * z + 0x1.111112p-7) * (z * z) + 0x1.555556p-3 * z) * xd + xd);
}
inline float f7_cosh_small(float x, double c6) {
    double xd = x, z = xd * xd;
    return float(((c6 * z + 0x1.555556p-5) * (z * z) + 0.5 * z) + 1.0);
}
// Below: x rounded the right way, 1 with inexact.
inline float f7_sinh_tiny(float x) {
    if ((bits(x) & 0x7f800000u) != 0) return (x * 0x1p26f + x) * 0x1p-26f;
    if ((bits(x) << 1) == 0) return x;
    return x + with_sign(0x1p-100f, x) * 0x1p-100f;  // underflow
}
inline float f7_cosh_tiny(float x) { return (bits(x) << 1) == 0 ? 1.0f : 1.0f + opaque(0x1p-30f); }
#endif

#if TSR_TIER_L9
// ---- tier l9 -------------------------------------------------------------------------------
// The fused form.  s = 128|x|/ln 2 + 1.5·2^52 + 1022·128: its low word is k + 1022·128, so
// that (low word >> 7) is the biased exponent of 2^(n-1) directly, and 2044 less it that of
// 2^(-n-1); on 0.359375 <= |x| < 640 neither wraps.  r = |x| - k·ln 2/128 by two fused
// steps (exact to 2^-100).  P+ = e^r - 1 and P- = 1 - e^-r share their coefficients up to
// sign (degree 5, fitted, 2^-62 relative on |r| <= ln 2/256).  A = 2^(n-1)·2^(j/128) and
// B = 2^(-n-1)·2^(-j/128) as (hi, lo): sinh|x| = A(1 + P+) - B(1 - P-) and cosh likewise
// with the sum.
struct Fma {
    double Ah, Al, Bh, Bl, Pp, Pm;
};
inline Fma fma_core(double a) {
    const double S = -0x1.800000001ffp+52;
    double s = __builtin_fma(0x1.71547652b82fep+7, a, -S);
    double kf = s + S;
    double r = __builtin_fma(kf, -0x1.cf79abc9e3b3ap-47, __builtin_fma(kf, -0x1.62e42fefap-8, a));
    uint32_t sl = uint32_t(bits(s));
    uint32_t j = sl & 0x7f, e = sl >> 7;
    double A = f64(uint64_t(e) << 52), B = f64(uint64_t(2044 - e) << 52);
    Fma o;
    o.Ah = A * up128[j].hi;
    o.Al = A * up128[j].lo;
    o.Bh = B * down128[j].hi;
    o.Bl = B * down128[j].lo;
    double r2 = r * r;
    double c1r = 0x1.11110f0d0509bp-7 * r, c3r = 0x1.5555555555766p-3 * r;
    double q1p = c1r + 0x1.55555cf16e977p-5, q1m = c1r - 0x1.55555cf16e977p-5;
    double q2p = c3r + 0x1.ffffffffffdbdp-2, q2m = c3r - 0x1.ffffffffffdbdp-2;
    o.Pp = __builtin_fma(__builtin_fma(r2, q1p, q2p), r2, r);
    o.Pm = __builtin_fma(__builtin_fma(r2, q1m, q2m), r2, r);
    return o;
}

// Single precision: x widened exactly, s = 32|x|/ln 2 + 1.5·2^52, r = |x| - k·ln 2/32 in one
// fused step (the double's error is far below float's); A = 2^(n-1+j/32), B = 2^(-n-1-j/32)
// by integer additions to the exponents of the halved table row; e^r - 1 = -t0 and
// 1 - e^-r = t1 by degree 3 (fitted, 2^-34 relative on |r| <= ln 2/64).  Main band
// 0.359375 <= |x| <= 89.41598, below the first float whose result overflows.  The table's
// side takes as long as the polynomial's, so each side's product is one fused step,
// A - A·t0 and B - B·t1, and the sum or difference follows.
inline double sinhcoshf_fma(double a, bool cosh) {
    const double S = -0x1.8p+52;
    double s = __builtin_fma(0x1.71547652b82fep+5, a, -S);
    double kf = s + S;
    double r = __builtin_fma(kf, -0x1.62e42fefa39efp-6, a);
    uint64_t sl = uint32_t(bits(s));
    uint64_t j = sl & 31, n = sl >> 5;
    double A = f64(bits(half32[j].hi) + (n << 52)), B = f64(bits(half32[j].lo) - (n << 52));
    double r2 = r * r;
    double q0 = __builtin_fma(-0x1.555567599b905p-3, r, -0x1.000087b306aa8p-1);
    double q1 = __builtin_fma(0x1.555567599b905p-3, r, -0x1.000087b306aa8p-1);
    double t0 = __builtin_fma(q0, r2, -r), t1 = __builtin_fma(q1, r2, r);
    double u = __builtin_fma(A, -t0, A), v = __builtin_fma(B, -t1, B);
    return cosh ? u + v : u - v;
}
#endif

}  // namespace
}  // namespace tsr::hyp

// What the hyperbolic functions share: the reduction of |x| that serves e^|x| and e^-|x|
// at once, and the single-precision reduction of the same kind.
#pragma once
#include "tsr/common.h"
#include "tsr/guard.h"
#include "tsr/codes.h"
#include "tsr/report.h"
#include "elementary/exp_data.h"
#include "elementary/hyp_data.h"

namespace tsr::hyp {
// Internal linkage: compiled once per tier with that tier's instruction set.
namespace {

constexpr double D(uint64_t b) { return std::bit_cast<double>(b); }
constexpr float F(uint32_t b) { return std::bit_cast<float>(b); }

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
    const double K = D(0x40671547652b82fe), S = 0x1p52;  // 128/ln 2, the shifter
    const double L1 = D(0xbf762e4200000000), L2 = D(0x3e2fdf473de6af28);
    const double a2 = D(0x3fc5555555555405), a3 = D(0x3fa555555555541d),
                 a4 = D(0x3f8111116887cd7c), a5 = D(0x3f56c16c87372663);
    Red o;
    double s = opaque(K * a + S);
    double kf = s - S;
    int k = int(uint32_t(bits(s)));
    o.j = int(uint32_t(k) << 25) >> 25;
    o.n = (k - o.j) >> 7;
    double v = L1 * kf + a, w = kf * L2;
    double rh = v - w, rl = (v - rh) - w, r = rh + rl, z = r * r;
    o.Hp = opaque(rh + D(0x41f0000000100000)) + D(0xc1f0000000000000);  // 1 + rh, grid 2^-20
    o.Hm = opaque(D(0xc1efffffffe00000) - rh) + D(0x41f0000000000000);  // 1 - rh, grid 2^-21
    double O = (a4 * z + a2) * z * r, E = ((a5 * z + a3) * z + 0.5) * z;
    o.u = ((rh - (o.Hp - 1.0)) + rl) + O + E;
    o.v = (-rl - ((o.Hm - 1.0) + rh)) - O + E;
    o.up = &expd::split128[o.j + 64];
    o.dn = &expd::split128[64 - o.j];
    return o;
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
    double s = double(float(D(0x40571547652b82fe) * a + 12582912.0));  // 64/ln 2, 1.5·2^23
    double kf = s - 12582912.0;
    double r = D(0xbf862e42fefa39ef) * kf + a;
    int k = int(kf);
    int j = int(uint32_t(k) << 26) >> 26;
    double z = r * r;
    double E = (D(0x3fa56420eb78fa85) * z + D(0x3fe00000008d6118)) * z;
    double O = (D(0x3fc55550da752d4f) * z + D(0x3fefffffffffe7c6)) * r;
    // The table's rows run over j = -32..31: 2^(32/64) for j = -32 is twice row 0.
    double tm = j == -32 ? 2.0 * expd::centred64[0] : expd::centred64[32 - j];
    return {E + O + 1.0, E + 1.0 - O, expd::centred64[j + 32], tm, (k - j) >> 6};
}

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
    const double S = D(0xc33800000001ff00);
    double s = __builtin_fma(D(0x40671547652b82fe), a, -S);
    double kf = s + S;
    double r = __builtin_fma(kf, D(0xbd0cf79abc9e3b3a), __builtin_fma(kf, D(0xbf762e42fefa0000), a));
    uint32_t sl = uint32_t(bits(s));
    uint32_t j = sl & 0x7f, e = sl >> 7;
    double A = f64(uint64_t(e) << 52), B = f64(uint64_t(2044 - e) << 52);
    Fma o;
    o.Ah = A * up128[j].hi;
    o.Al = A * up128[j].lo;
    o.Bh = B * down128[j].hi;
    o.Bl = B * down128[j].lo;
    double r2 = r * r;
    double c1r = D(0x3f811110f0d0509b) * r, c3r = D(0x3fc5555555555766) * r;
    double q1p = c1r + D(0x3fa55555cf16e977), q1m = c1r - D(0x3fa55555cf16e977);
    double q2p = c3r + D(0x3fdffffffffffdbd), q2m = c3r - D(0x3fdffffffffffdbd);
    o.Pp = __builtin_fma(__builtin_fma(r2, q1p, q2p), r2, r);
    o.Pm = __builtin_fma(__builtin_fma(r2, q1m, q2m), r2, r);
    return o;
}

// Single precision: x widened exactly, s = 32|x|/ln 2 + 1.5·2^52, r = |x| - k·ln 2/32 in one
// fused step (the double's error is far below float's); A = 2^(n-1+j/32), B = 2^(-n-1-j/32)
// by integer additions to the exponents of the halved table row; e^r and e^-r by degree 3
// (fitted, 2^-34 relative on |r| <= ln 2/64).  Main band 0.359375 <= |x| <= 89.41598,
// below the first float whose result overflows.
inline double sinhcoshf_fma(double a, bool cosh) {
    const double S = D(0xc338000000000000);
    double s = __builtin_fma(D(0x40471547652b82fe), a, -S);
    double kf = s + S;
    double r = __builtin_fma(kf, D(0xbf962e42fefa39ef), a);
    uint64_t sl = uint32_t(bits(s));
    uint64_t j = sl & 31, n = sl >> 5;
    double A = f64(bits(half32[j].hi) + (n << 52)), B = f64(bits(half32[j].lo) - (n << 52));
    double r2 = r * r;
    double q0 = __builtin_fma(D(0xbfc555567599b905), r, D(0xbfe000087b306aa8));
    double q1 = __builtin_fma(D(0x3fc555567599b905), r, D(0xbfe000087b306aa8));
    double t0 = __builtin_fma(q0, r2, -r), t1 = __builtin_fma(q1, r2, r);
    double u = A * (1.0 - t0), v = B * (1.0 - t1);
    return cosh ? u + v : u - v;
}
#endif

}  // namespace
}  // namespace tsr::hyp

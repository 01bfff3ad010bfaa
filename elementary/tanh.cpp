// tanh and tanhf.
//
// Double, tier ex: tanh|x| = (E - 1)/(E + 1) with E = e^(2|x|) from the reduction of
// the hyperbolic family, as a double-double quotient on 0.02 < |x| <= 5.1; beyond, where
// tanh is 1 - 2/(E + 1) and the quotient is a correction far below 1, E = 2^m·e^(2g) with a
// rational approximation of e^(2g); past 19.0615 (the first double whose tanh rounds to 1)
// ±1 with inexact; an odd polynomial below 0.02.
// Tier e7: (1 - W)/(1 + W) with W = e^(-2|x|) from a table of 2^(-j/256), on 1/16 <= |x| < 32.
// Tier l9: no division and no exponential: sixteen pieces of half a binade from 1/8, each a
// degree-15 polynomial in the distance from its centre around tanh of the centre held as a
// pair; the last piece is the constant 1 - 2^-55.
//
// Single, tier ex: in double, 1 - 2/(2^y + 1) from 1 up, polynomials below.  Tier e7: the
// quotient (1 - W)/(1 + W) in double, W from a table of 2^(-j/32).  Tier l9:
// 26 pieces of a quarter binade, each a polynomial of degree 7 in |x|, rounded once.
#include "elementary/hyp_common.h"
#if TSR_TIER_E7
#include <emmintrin.h>
#endif

using namespace tsr;
using namespace tsr::hyp;

namespace {

#if TSR_TIER_EX
inline double tanh_body(double x) {
    uint32_t hx = hi(x) & 0x7fffffff;
    double one = with_sign(1.0, x);
    if (hx >= 0x7ff00000) return (bits(x) << 1) == 0xffe0000000000000ull ? one : x * 1.0;
    // 19.0615474653985 is where tanh crosses 1 - 2^-54: from hi word 0x40330fc2 (19.06155)
    // every double rounds to 1 (hi word 0x40330fc1 still holds doubles below the crossing).
    if (hx > 0x40330fc1) return one - with_sign(0x1p-1000, x);
    double a = __builtin_fabs(x);
    if (hx > 0x40146666) {  // 5.1 < |x|: 1 - 2/(E + 1), E = 2^m·e^(2e·ln2/2)
        RnGuardInexact g;
        a = opaque(a);
        double xh = (a + 0x1p32) - 0x1p32;  // 21 bits: xh·c is exact
        const double c = 0x1.715476p+1, dd = 0x1.4ae0bf85ddf44p-25;  // 2/ln 2 in two
        double y = xh * c, s = 0x1p52 + y;
        double e = (y - (s - 0x1p52)) + ((a - xh) * c + a * dd);
        double w = e * e;
        double P = ((0x1.3adfffc0798c2p-4 * w + 0x1.e3d920e243699p+7) * w + 0x1.689a6efbe8c98p+16) * w +
                   0x1.6de471ba09c9ep+22;
        double Q = ((0x1.8d7c2a57ad784p+2 * w + 0x1.6b90b63529aa4p+12) * w + 0x1.d4376afc4d247p+19) * w +
                   0x1.07ef8p+24;
        double v = P * e, gq = v / (Q - v);
        int m = int(uint32_t(bits(s)));
        double t = 2.0 / (pow2(m) * (2.0 * gq + 1.0) + 1.0);
        t = g.finish(with_sign(t, x));
        return one - t;
    }
    if (hx > 0x3f947ae0) {  // 0.02 < |x| <= 5.1
        RnGuardInexact g;
        a = opaque(a);
        Red o = reduce(a + a);
        // e^r = H + u with H = 1 + rh on a grid of 2^-20, so that H·head is exact.
        double H = o.Hp, u = o.u;
        double sc = pow2(o.n);
        double G = H * o.up->head * sc, gg = (u * o.up->head + (u + H) * o.up->tail) * sc;
        // E + 1 and E - 1 as heads of 21 bits and tails: the heads times the 21-bit head of
        // the reciprocal are exact products for every E up to e^10.2.
        double Dh = f64(bits(G + 1.0) & 0xffffffff00000000ull), Dt = ((G - Dh) + 1.0) + gg;
        double Nh = f64(bits(G - 1.0) & 0xffffffff00000000ull), Nt = ((G - Nh) - 1.0) + gg;
        double R = 1.0 / (Dh + Dt);
        double Rh = f64(bits(R) & 0xffffffff00000000ull), Rl = R - Rh;
        double err = (Dh * Rh - 1.0) + (Dt * Rh + (Dh + Dt) * Rl);
        Rl = Rl - (Rl + Rh) * err;
        double hh = Nh * Rh, ll = (Rl + Rh) * Nt + Nh * Rl;
        hh = g.finish(with_sign(hh, x));
        ll = g.finish(with_sign(ll, x));
        return hh + ll;
    }
    if (hx > 0x3c5fffff) {  // 2^-57 <= |x| <= 0.02: x - x^3/3 + 2x^5/15 - ...
        double z = x * x, w = z * z;
        return ((0x1.662a1be3b77ep-6 * w + 0x1.111111110d2a4p-3) * w +
                (-0x1.ba1ba00fa2d61p-5 * w + -0x1.5555555555555p-2) * z) * x + x;
    }
    // x less a little, rounded by the caller's mode: x - x·2^-64 for a normal x (the result is
    // normal, no underflow), x - 2^-2000 for a subnormal one (underflow).
    if (hx >= 0x00100000) return (x * 0x1p64 - x) * 0x1p-64;
    if ((bits(x) << 1) == 0) return x;
    return x - with_sign(0x1p-1000, x) * 0x1p-1000;
}

#endif

#if TSR_TIER_E7
// tanh|x| = (1 - W)/(1 + W), W = e^(-2|x|) = 2^(-k/256)·e^y: k by the conversion instruction,
// 2^(-j/256) as a (hi, lo) pair scaled by 2^-n in its exponent word, e^y - 1 = y + Q through
// y^6 (|y| <= ln 2/512).  The quotient 2/(1 + W) - 1: 1 + W as a 17-bit head D2 and a tail t,
// R' the reciprocal cut to 35 bits so that D2·R' and (D2 - 2)·R' are exact, one correction
// step.  Main band 1/16 <= |x| < 32.
inline double tanh_e7(double x) {
    uint32_t t = (hi(x) >> 16) & 0x7fff;
    // The quotient serves up to 19.0615474653985, where tanh crosses 1 - 2^-54 (see tier ex):
    // beyond, ±1 and a tail below its last place give every mode its neighbour of the value.
    if (t - 0x3fb0u < 0x4040u - 0x3fb0u && (hi(x) & 0x7fffffff) <= 0x40330fc1) {
        double a = __builtin_fabs(x);
        const double K1 = 0x1.715476p+9, K2 = 0x1.4ae0bf85ddf44p-17, S = 0x1.8p+52;
        double xh = f64(bits(a) & ~((1ull << 27) - 1)), xl = a - xh;
        double v = K1 * xh;
        int k = _mm_cvtsd_si32(_mm_set_sd(v));
        double r = (K2 * a + K1 * xl) + (v - (opaque(v + S) - S));
        uint32_t j = uint32_t(k) & 255;
        double sc = f64(uint64_t(0x3ff0 - ((uint32_t(k) >> 4) & 0xfff0)) << 48);
        double Wh = sc * down256[j].hi, Wl = sc * down256[j].lo;
        double y = -0x1.62e42fefa39efp-9 * r, r2 = r * r;
        double Q = (-0x1.5d87fe78a6731p-50 * r + 0x1.3b2ab6fba4e77p-39) * (r2 * r2) +
                   (-0x1.c6b08d704a0bfp-29 * r + 0x1.ebfbdff82c58ep-19) * r2;
        double D0 = ((Q + y) * Wh) + (1.0 + Wh);
        double R = 1.0 / D0;
        const uint64_t cut36 = ~((1ull << 36) - 1);
        double D1 = f64(bits(1.0 + Wh) & cut36);
        double tl = (((1.0 - D1) + Wh) + Wl) + Wl * y + Q * Wh;
        double yW = y * Wh;
        double D2 = f64(bits(D1 + yW) & cut36);
        tl = tl + ((D1 - D2) + yW);
        double Rc = f64(bits(R) & ~((1ull << 18) - 1));
        double c = tl * Rc;
        double e = (D2 * Rc - 1.0) + c;
        double N = (D2 - 2.0) * Rc;
        return with_sign(-(N + ((c - c * e) - N * e)), x);
    }
    if (t - 0x3bf0u < 0x3fb0u - 0x3bf0u) {  // 2^-64 <= |x| < 1/16: the odd series to x^13
        double z = x * x, z4 = (z * z) * (z * z);
        return x + x * (z4 * ((0x1.d6d3d0e157ddfp-9 * z + -0x1.226e355e6c23dp-7) * z + 0x1.664f4882c10fap-6) +
                        z * ((-0x1.ba1ba1ba1ba1cp-5 * z + 0x1.1111111111111p-3) * z + -0x1.5555555555555p-2));
    }
    double one = with_sign(1.0, x);
    if (t < 0x3bf0) {  // x less a little, rounded by the caller's mode
        if (t >= 0x10) return (x * 0x1p64 - x) * 0x1p-64;
        if ((bits(x) << 1) == 0) return x;
        return x - with_sign(0x1p-1000, x) * 0x1p-1000;
    }
    if (t < 0x7ff0) return one - with_sign(0x1p-60, x);  // |x| > 19.06: ±1, inexact
    if ((bits(x) << 1) == 0xffe0000000000000ull) return one;
    return x + x;
}
#endif

#if TSR_TIER_EX
inline float tanhf_body(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    double xd = x, a = __builtin_fabs(xd);
    if (b >= 0x3f800000) {  // |x| >= 1
        if (b > 0x7f800000) return x * 1.0f;
        if (b == 0x7f800000) return with_sign(1.0f, x);
        if (b >= 0x41800000) return with_sign(1.0f, x) - with_sign(0x1p-100f, x);  // 1, inexact
        // 1 - 2/(2^y + 1), y = 2|x|/ln 2 = m + f, |f| <= 1/2, 2^f - 1 of degree 8.
        double y = a * 0x1.71547652b82fep+1;
        double m = double(float(y + 0x1p23) - 0x1p23f);
        double f = y - m, z = f * f, w = z * z;
        double P = w * (0x1.6783955f6ce44p-20 * w + 0x1.3b2ac17eb7c1bp-7) +
                   z * (0x1.4300f5a9238aep-13 * w + 0x1.ebfbdfe8df8b5p-3) +
                   f * z * (0x1.0355a97a846d7p-16 * w + 0x1.c6b09b399a1dap-5) +
                   f * (0x1.5d7f62d719ac7p-10 * w + 0x1.62e42fe8bdf78p-1);
        double t = 1.0 + (-2.0) / ((P + 1.0) * pow2(int(m)) + 1.0);
        return float(with_sign(t, xd));
    }
    double z = xd * xd, w = z * z;
    if (b >= 0x3e800000) {  // 1/4 <= |x| < 1
        double A = (((0x1.d02fa8d21df9dp-17 * w + 0x1.d92d74a9bd1cep-12) * w + 0x1.d04114b00cfe8p-9) * w +
                    0x1.6640f616f3508p-6) * w + 0x1.11110d4e5c3b2p-3;
        double B = (((-0x1.cd749112b299fp-14 * w + -0x1.630316388aa74p-10) * w + -0x1.21e4bd81e0536p-7) * w +
                    -0x1.ba1abdc3e3757p-5) * w + -0x1.55555547e4ef2p-2;
        return float((A * w + B * z) * xd + xd);
    }
    if (b >= 0x32000000) {  // 2^-27 <= |x| < 1/4
        double A = (0x1.ab4a57be81b29p-9 * w + 0x1.664889dbd8fadp-6) * w + 0x1.111110f94d287p-3;
        double B = (-0x1.21629a5e0a14ap-7 * w + -0x1.ba1b8983e34eap-5) * w + -0x1.555555553e1cfp-2;
        return float((A * w + B * z) * xd + xd);
    }
    // x less a little, rounded by the caller's mode, as in double.
    if (b >= 0x800000) return (x * 0x1p32f - x) * 0x1p-32f;
    if (b == 0) return x;
    return x - with_sign(0x1p-100f, x) * 0x1p-100f;
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, tanh, (double x)) { return tanh_body(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, tanh, (double x)) { return tanh_e7(x); }
#endif
#if TSR_TIER_EX
TSR_BODY(float, tanhf, (float x)) { return tanhf_body(x); }
#endif
#if TSR_TIER_E7
// Single: (1 - W)/(1 + W) in double with W = 2^(-k/32)·e^(-f·ln 2/32) on 1/16 <= |x| < 20.
TSR_BODY(float, tanhf, (float x)) {
    uint32_t b = bits(x) & 0x7fffffff, t = b >> 16;
    if (t - 0x3d80u < 0x41a0u - 0x3d80u) {
        const double S = 0x1.8p+52;
        double v = 0x1.71547652b82fep+6 * double(f32(b));
        int k = _mm_cvtsd_si32(_mm_set_sd(v));
        double f = v - (opaque(v + S) - S), f2 = f * f;
        double W = f64(uint64_t(0x3ff0 - ((uint32_t(k) >> 1) & 0xfff0)) << 48) * down32[k & 31];
        double Q = (0x1.3b2ab6fba4e77p-27 * f2 + -0x1.c6b08d704a0bfp-20 * f) * f2 +
                   (0x1.ebfbdff82c58ep-13 * f2 + -0x1.62e42fefa39efp-6 * f);
        double WQ = W * Q;
        return float(with_sign(((1.0 - W) - WQ) / ((1.0 + W) + WQ), double(x)));
    }
    if (t - 0x3900u < 0x3d80u - 0x3900u) {  // 2^-13 <= |x| < 1/16: the odd series
        double xd = x, z = xd * xd;
        return float(xd + xd * ((z * z) * (-0x1.ba1ba2p-5 * z + 0x1.111112p-3) +
                                -0x1.555556p-2 * z));
    }
    if (t < 0x3900) {  // x less a little, rounded by the caller's mode
        if (b >= 0x800000) return (x * 0x1p32f - x) * 0x1p-32f;
        if (b == 0) return x;
        return x - with_sign(0x1p-100f, x) * 0x1p-100f;
    }
    if (b < 0x7f800000) return with_sign(1.0f, x) - with_sign(0x1p-30f, x);  // |x| >= 20: ±1, inexact
    if (b == 0x7f800000) return with_sign(1.0f, x);
    return x + x;
}
#endif

#if TSR_TIER_L9
// Main band 0x37f306ff <= hi word <= 0x47efffff: from 2^-127.75, where d^8 is still a normal
// double (no false underflow), to 2^128.  Piece i = (hx - 0x3fc00000) >> 19 clamped to 0..15.
// With the row w: S = w18 + P(d) and its error e, M = w19 + d·S rounded and its error, all by
// fused steps, and the result M + (L + w17): the error of the pieces is below 2^-57 of the
// result.
TSR_BODY(double, tanh, (double x)) {
    uint32_t hx = hi(x) & 0x7fffffff;
    if (__builtin_expect(hx - 0x37f306ffu > 0x47efffffu - 0x37f306ffu, 0)) return __libm_tanh_e7_local(x);
    int32_t t = int32_t(hx) - 0x3fc00000;
    t = t < 0 ? 0 : t;
    t = t > 0x780000 ? 0x780000 : t;
    uint32_t i = uint32_t(t) >> 19;
    const double *w = tanh_pieces[i];
    double d = __builtin_fabs(x) - tanh_centres[i];
    double d2 = d * d, d4 = d2 * d2, d8 = d4 * d4;
    double A0 = __builtin_fma(__builtin_fma(w[0], d, w[4]), d2, __builtin_fma(w[8], d, w[12]));
    double A1 = __builtin_fma(__builtin_fma(w[1], d, w[5]), d2, __builtin_fma(w[9], d, w[13]));
    double A2 = __builtin_fma(__builtin_fma(w[2], d, w[6]), d2, __builtin_fma(w[10], d, w[14]));
    double A3 = __builtin_fma(__builtin_fma(w[3], d, w[7]), d2, __builtin_fma(w[11], d, w[15]));
    double P = __builtin_fma(__builtin_fma(A0, d4, A1), d8, __builtin_fma(A2, d4, A3));
    double S = w[18] + P, e = P - (S - w[18]);
    double M = __builtin_fma(d, S, w[19]);
    double L = __builtin_fma(d, e, __builtin_fma(d, S, -(M - w[19])));
    return copy_sign(M + (L + w[17]), x);
}

// Main band |x| < 10 (beyond, tier e7): piece i = max(b - 0x3de00000, 0) >> 21.
TSR_BODY(float, tanhf, (float x)) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (__builtin_expect(b > 0x411fffff, 0)) return __libm_tanhf_e7_local(x);
    int32_t t = int32_t(b) - 0x3de00000;
    const double *y = tanhf_pieces[uint32_t(t < 0 ? 0 : t) >> 21];
    double a = f32(b), a2 = a * a, a4 = a2 * a2;
    double T0 = __builtin_fma(__builtin_fma(y[0], a, y[4]), a2, __builtin_fma(y[2], a, y[6]));
    double T1 = __builtin_fma(__builtin_fma(y[1], a, y[5]), a2, __builtin_fma(y[3], a, y[7]));
    return copy_sign(float(__builtin_fma(a4, T0, T1)), x);
}
#endif

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
    if (hx > 0x40330fc1) return one - with_sign(D(0x0170000000000000), x);
    double a = __builtin_fabs(x);
    if (hx > 0x40146666) {  // 5.1 < |x|: 1 - 2/(E + 1), E = 2^m·e^(2e·ln2/2)
        RnGuardInexact g;
        a = opaque(a);
        double xh = (a + 0x1p32) - 0x1p32;  // 21 bits: xh·c is exact
        const double c = D(0x4007154760000000), dd = D(0x3e64ae0bf85ddf44);  // 2/ln 2 in two
        double y = xh * c, s = 0x1p52 + y;
        double e = (y - (s - 0x1p52)) + ((a - xh) * c + a * dd);
        double w = e * e;
        double P = ((D(0x3fb3adfffc0798c2) * w + D(0x406e3d920e243699)) * w + D(0x40f689a6efbe8c98)) * w +
                   D(0x4156de471ba09c9e);
        double Q = ((D(0x4018d7c2a57ad784) * w + D(0x40b6b90b63529aa4)) * w + D(0x412d4376afc4d247)) * w +
                   D(0x41707ef800000000);
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
        return ((D(0x3f9662a1be3b77e0) * w + D(0x3fc111111110d2a4)) * w +
                (D(0xbfaba1ba00fa2d61) * w + D(0xbfd5555555555555)) * z) * x + x;
    }
    // x less a little, rounded by the caller's mode: x - x·2^-64 for a normal x (the result is
    // normal, no underflow), x - 2^-2000 for a subnormal one (underflow).
    if (hx >= 0x00100000) return (x * 0x1p64 - x) * 0x1p-64;
    if ((bits(x) << 1) == 0) return x;
    return x - with_sign(D(0x0170000000000000), x) * D(0x0170000000000000);
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
        const double K1 = D(0x4087154760000000), K2 = D(0x3ee4ae0bf85ddf44), S = D(0x4338000000000000);
        double xh = f64(bits(a) & ~((1ull << 27) - 1)), xl = a - xh;
        double v = K1 * xh;
        int k = _mm_cvtsd_si32(_mm_set_sd(v));
        double r = (K2 * a + K1 * xl) + (v - (opaque(v + S) - S));
        uint32_t j = uint32_t(k) & 255;
        double sc = f64(uint64_t(0x3ff0 - ((uint32_t(k) >> 4) & 0xfff0)) << 48);
        double Wh = sc * down256[j].hi, Wl = sc * down256[j].lo;
        double y = D(0xbf662e42fefa39ef) * r, r2 = r * r;
        double Q = (D(0xbcd5d87fe78a6731) * r + D(0x3d83b2ab6fba4e77)) * (r2 * r2) +
                   (D(0xbe2c6b08d704a0bf) * r + D(0x3ecebfbdff82c58e)) * r2;
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
        return x + x * (z4 * ((D(0x3f6d6d3d0e157ddf) * z + D(0xbf8226e355e6c23d)) * z + D(0x3f9664f4882c10fa)) +
                        z * ((D(0xbfaba1ba1ba1ba1c) * z + D(0x3fc1111111111111)) * z + D(0xbfd5555555555555)));
    }
    double one = with_sign(1.0, x);
    if (t < 0x3bf0) {  // x less a little, rounded by the caller's mode
        if (t >= 0x10) return (x * 0x1p64 - x) * 0x1p-64;
        if ((bits(x) << 1) == 0) return x;
        return x - with_sign(D(0x0170000000000000), x) * D(0x0170000000000000);
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
        if (b >= 0x41800000) return with_sign(1.0f, x) - with_sign(F(0x0d800000), x);  // 1, inexact
        // 1 - 2/(2^y + 1), y = 2|x|/ln 2 = m + f, |f| <= 1/2, 2^f - 1 of degree 8.
        double y = a * D(0x40071547652b82fe);
        double m = double(float(y + 0x1p23) - 0x1p23f);
        double f = y - m, z = f * f, w = z * z;
        double P = w * (D(0x3eb6783955f6ce44) * w + D(0x3f83b2ac17eb7c1b)) +
                   z * (D(0x3f24300f5a9238ae) * w + D(0x3fcebfbdfe8df8b5)) +
                   f * z * (D(0x3ef0355a97a846d7) * w + D(0x3fac6b09b399a1da)) +
                   f * (D(0x3f55d7f62d719ac7) * w + D(0x3fe62e42fe8bdf78));
        double t = 1.0 + (-2.0) / ((P + 1.0) * pow2(int(m)) + 1.0);
        return float(with_sign(t, xd));
    }
    double z = xd * xd, w = z * z;
    if (b >= 0x3e800000) {  // 1/4 <= |x| < 1
        double A = (((D(0x3eed02fa8d21df9d) * w + D(0x3f3d92d74a9bd1ce)) * w + D(0x3f6d04114b00cfe8)) * w +
                    D(0x3f96640f616f3508)) * w + D(0x3fc11110d4e5c3b2);
        double B = (((D(0xbf1cd749112b299f) * w + D(0xbf5630316388aa74)) * w + D(0xbf821e4bd81e0536)) * w +
                    D(0xbfaba1abdc3e3757)) * w + D(0xbfd55555547e4ef2);
        return float((A * w + B * z) * xd + xd);
    }
    if (b >= 0x32000000) {  // 2^-27 <= |x| < 1/4
        double A = (D(0x3f6ab4a57be81b29) * w + D(0x3f9664889dbd8fad)) * w + D(0x3fc111110f94d287);
        double B = (D(0xbf821629a5e0a14a) * w + D(0xbfaba1b8983e34ea)) * w + D(0xbfd555555553e1cf);
        return float((A * w + B * z) * xd + xd);
    }
    // x less a little, rounded by the caller's mode, as in double.
    if (b >= 0x800000) return (x * 0x1p32f - x) * 0x1p-32f;
    if (b == 0) return x;
    return x - with_sign(F(0x0d800000), x) * F(0x0d800000);
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
        const double S = D(0x4338000000000000);
        double v = D(0x40571547652b82fe) * double(f32(b));
        int k = _mm_cvtsd_si32(_mm_set_sd(v));
        double f = v - (opaque(v + S) - S), f2 = f * f;
        double W = f64(uint64_t(0x3ff0 - ((uint32_t(k) >> 1) & 0xfff0)) << 48) * down32[k & 31];
        double Q = (D(0x3e43b2ab6fba4e77) * f2 + D(0xbebc6b08d704a0bf) * f) * f2 +
                   (D(0x3f2ebfbdff82c58e) * f2 + D(0xbf962e42fefa39ef) * f);
        double WQ = W * Q;
        return float(with_sign(((1.0 - W) - WQ) / ((1.0 + W) + WQ), double(x)));
    }
    if (t - 0x3900u < 0x3d80u - 0x3900u) {  // 2^-13 <= |x| < 1/16: the odd series
        double xd = x, z = xd * xd;
        return float(xd + xd * ((z * z) * (D(0xbfaba1ba20000000) * z + D(0x3fc1111120000000)) +
                                D(0xbfd5555560000000) * z));
    }
    if (t < 0x3900) {  // x less a little, rounded by the caller's mode
        if (b >= 0x800000) return (x * 0x1p32f - x) * 0x1p-32f;
        if (b == 0) return x;
        return x - with_sign(F(0x0d800000), x) * F(0x0d800000);
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

// What the complex functions share: the complex types and their parts, the error-free
// transformations of double-double arithmetic, the kernels of cplx_kernels.cpp, and the
// extended-precision helpers that carry the inverse functions, the powers and the square root.
//
// Two means keep finite arguments from overflowing in intermediate results:
// - scaled two-part values, 2^n (r[0] + r[1]), joined once by __libm_mul_k64 (cexp, ccosh,
//   csinh);
// - the 80-bit extended format, whose exponent range holds the square of every double and
//   whose 64-bit significand leaves 11 guard bits over double: a result formed there with a
//   few roundings and rounded once to double is within 0.5 + 2^-8 ulp.
#pragma once
#include <cstdint>

#include "elementary/exp_common.h"
#include "elementary/exp_kernels.h"
#include "elementary/hyp_kernels.h"
#include "elementary/invtrig_common.h"
#include "elementary/invtrig_kernels.h"
#include "elementary/log_kernels.h"
#include "elementary/trig_common.h"
#include "elementary/trig_kernels.h"
#include "tsr/common.h"
#include "tsr/dd.h"
#include "tsr/guard.h"

extern "C" {
// 2^n (a[0] + a[1]) (b[0] + b[1]) rounded once to double, overflow and gradual underflow
// included.
void __libm_mul_k64(int n, const double a[2], const double b[2], double *r) noexcept TSR_HIDDEN;
// x^2 + y^2 = 2^k (r[0] + r[1]); k returned.
double __libm_hypot2_k64(double r[2], double x, double y) noexcept TSR_HIDDEN;
// The angle of (x, y) with atan2's quadrant rule for finite, non-zero extended x and y,
// relative error below 2^-62.
long double __libm_atan2_k80(long double y, long double x) noexcept TSR_HIDDEN;
// Smith's division a / b.
double _Complex __libm_cdiv(double _Complex a, double _Complex b) noexcept TSR_HIDDEN;
float _Complex __libm_cdivf(float _Complex a, float _Complex b) noexcept TSR_HIDDEN;
// Classification by bit pattern, raising nothing: 1 or 0.
int __libm_internal_isnzfinite(double x) noexcept TSR_HIDDEN;
int __libm_internal_isinf(double x) noexcept TSR_HIDDEN;
int __libm_internal_ispinf(double x) noexcept TSR_HIDDEN;
int __libm_internal_isninf(double x) noexcept TSR_HIDDEN;
int __libm_internal_isnan(double x) noexcept TSR_HIDDEN;
int __libm_internal_isposzero(double x) noexcept TSR_HIDDEN;
int __libm_internal_iszero(double x) noexcept TSR_HIDDEN;
int __libm_internal_isnegzero(double x) noexcept TSR_HIDDEN;
}

namespace tsr::cplx {
namespace {

using CD = double _Complex;
using CF = float _Complex;
using LD = long double;

inline CD mk(double re, double im) {
    CD z;
    __real__ z = re;
    __imag__ z = im;
    return z;
}
inline CF mkf(float re, float im) {
    CF z;
    __real__ z = re;
    __imag__ z = im;
    return z;
}

// ---- classification on bit patterns ---------------------------------------------------
constexpr uint64_t ABS = 0x7fffffffffffffffull;
constexpr uint64_t INF_BITS = 0x7ff0000000000000ull;
inline uint64_t abits(double x) { return bits(x) & ABS; }
inline bool is_nan(double x) { return abits(x) > INF_BITS; }
inline bool is_inf(double x) { return abits(x) == INF_BITS; }
inline bool is_finite(double x) { return abits(x) < INF_BITS; }
inline bool is_zero(double x) { return abits(x) == 0; }
inline bool is_nzfinite(double x) { return abits(x) - 1 < INF_BITS - 1; }
inline bool neg(double x) { return bits(x) >> 63; }
inline int bexp(double x) { return int(abits(x) >> 52); }  // the biased exponent field
inline double with_sign(double mag, double s) { return f64((bits(mag) & ABS) | (bits(s) & ~ABS)); }
inline double flip(double x) { return f64(bits(x) ^ ~ABS); }
// The sign flip of the circular functions' rotation: a NaN keeps its bits.
inline double flip_num(double x) { return is_nan(x) ? x : flip(x); }
// The quarter turns that carry the inverse circular functions onto the hyperbolic ones:
// z -> iz as (-y + ix), y's sign flipped unless y is NaN; w -> -iw as (v, -u), u's sign
// flipped unless u is NaN (the float forms turn their widened values the same way).
inline CD rot_in(CD z) { return mk(flip_num(__imag__ z), __real__ z); }
inline CD rot_out(CD w) { return mk(__imag__ w, flip_num(__real__ w)); }

// ---- double-double: the shared kit, exact in round-to-nearest, which every caller holds ------
using dd::DD;
using dd::fast_two_sum;
using dd::two_prod;

// 2^-400 <= |v| < 2^400 (biased exponents 623 to 1422): products and squares of such values
// and their Dekker splits stay in the normal range.
inline bool moderate(double v) { return unsigned(bexp(v) - (1023 - 400)) < 800u; }

// 2^n (a[0] + a[1]) (b[0] + b[1]) rounded once: __libm_mul_k64, its usual case inline.  With
// both heads between 2^-400 and 2^400 no partial product leaves the normal range, so the
// kernel's normalisation of the factors changes nothing (scaling by powers of two commutes
// with every rounding); where the rounded product times 2^n is normal, that scaling is exact.
// The result is the kernel's, bit for bit.
inline double mul_scaled(int n, const double a[2], const double b[2]) {
    if (moderate(a[0]) && moderate(b[0])) {
        auto [ph, pl] = two_prod(a[0], b[0]);
        pl += a[0] * b[1] + a[1] * b[0];
        double s = ph + pl;
        int es = bexp(s) - 1023 + n;
        if (es > -1022 && es < 1023 && n > -1023 && n < 1024) return s * f64(uint64_t(n + 1023) << 52);
    }
    double r;
    __libm_mul_k64(n, a, b, &r);
    return r;
}

// Where expd::exp_pair_rn serves: 2^-57 <= |x| < 2^11 (biased exponents 966 to 1033).
inline bool exp_pair_range(double x) { return unsigned(bexp(x) - 966) < unsigned(1034 - 966); }

// sin y and cos y each as a head and a tail, for 2^-252 <= |y| < 2^17 and a caller that holds
// round-to-nearest: the 64-row core of __libm_sincos_k64 inline, k = round(32y/pi) by the
// shifter (no branch on y's sign), the same pair to about 2^-62 of each value.
inline bool sincos_pair_range(double y) { return unsigned(bexp(y) - 771) < unsigned(0x410 - 771); }
// The same before the last normalisation: sin y = hs + ts and cos y = hc + tc with each tail
// below 2^-8 of its head (the series' r^2 and r^3 terms stay in the tail).
[[gnu::always_inline]] inline void sincos_parts(double y, double &hs, double &ts, double &hc, double &tc) {
    const double SH = 0x1.8p52;
    double sh = opaque(y * 0x1.45f306dc9c883p+3 + SH);
    int k = int(uint32_t(bits(sh)));
    trig::Red64 d = trig::red64(y, k, sh - SH);
    hs = trig::rows64_sum(trig::sincos_rows64[k & 63], d, ts);
    hc = trig::rows64_sum(trig::sincos_rows64[(k + 16) & 63], d, tc);
}
inline void sincos_pair(double y, double S[2], double C[2]) {
    double hs, ts, hc, tc;
    sincos_parts(y, hs, ts, hc, tc);
    S[0] = hs + ts;
    S[1] = ts - (S[0] - hs);
    C[0] = hc + tc;
    C[1] = tc - (C[0] - hc);
}
// __libm_sincos_k64's pairs for every y, inline where sincos_pair serves; the caller holds
// round-to-nearest (as the kernel's own steps need).
inline void sincos_rn(double y, double S[2], double C[2]) {
    if (sincos_pair_range(y)) sincos_pair(y, S, C);
    else __libm_sincos_k64(y, S, C);
}

// The angle of (x, y) with atan2's quadrant rule as a head and a tail, relative error below
// 2^-63.5, for finite non-zero x and y between 2^-400 and 2^400 in magnitude and a caller that
// holds round-to-nearest.  With n the smaller of |x|, |y| and m the larger (min and max, no
// branch), t = n/m in double only picks the grid point c of atan's 5-bit grid (c's 7 bits and
// m's 26-bit halves give exact products), and atan(n/m) = atan c + atan z with
// z = (n - c m)/(m + c n): n - c m as a pair (its head exact by Sterbenz, c m lying within
// 2^-4 of n), m + c n as a normalised pair (so that z's head, on which the series is
// evaluated, is within 2^-52 of z), one division for 1/(m + c n) and z as a pair from Dekker's
// remainder.  |z| <= 2^-6.9, so atan z = z + z s(z) needs the series to z^8 (Estrin's order,
// the next term below 2^-70 of the angle).  Below t = 2^-6 the grid is left out (c = 0, z = t,
// the kernel's full series; below 2^-32, where t^2/3 < 2^-65.5, no series).  The octant comes from tables (the
// quadrants of random points would mispredict branches): off + sg r, r at most pi/4, no
// cancellation.  atan c comes in two parts; each sum is a pair.  The largest error is next
// to t = 2^-6 without the grid: the roundings of the series' term z s(z), itself up to
// 2^-13.5 of the angle, and of its sum with z's tail, 2^-64.3 measured.
namespace atan2dd {
constexpr double OFF_H[4] = {0.0, invtrig::kPio2Hi, invtrig::kPiHi, invtrig::kPio2Hi};  // |y| > |x| adds 1, x < 0 adds 2
constexpr double OFF_L[4] = {0.0, invtrig::kPio2Lo, invtrig::kPiLo, invtrig::kPio2Lo};
constexpr double SG[4] = {1.0, -1.0, -1.0, 1.0};
}  // namespace atan2dd
inline void atan2_pair(double y, double x, double out[2]) {
    double ay = f64(abits(y)), ax = f64(abits(x));
    double n = ay < ax ? ay : ax, m = ay < ax ? ax : ay;
    double t = n / m;
    DD z;
    double c = 0.0, Th = 0.0, Tl = 0.0, ser = 0.0;
    if (t >= 0x1p-6) {
        uint64_t tb = bits(t);
        c = f64((tb & 0xffff800000000000ull) | 0x0000400000000000ull);
        const invtrig::HiLo &T = invtrig::atan32[(uint32_t(tb >> 32) >> 15) - 0x7f20];
        Th = T.hi;
        Tl = T.lo;
    }
    DD ms = dd::split(m), ns = dd::split(n);
    DD num = dd::two_sum(n - c * ms.h, -(c * ms.l));
    DD den = dd::two_sum(m, c * ns.h);
    den = fast_two_sum(den.h, den.l + c * ns.l);  // c n's tail reaches 2^-27 of the sum
    double r = 1.0 / den.h;
    z.h = num.h * r;
    DD zd = two_prod(z.h, den.h);
    z.l = (((num.h - zd.h) - zd.l) + (num.l - z.h * den.l)) * r;
    if (c != 0.0) {
        // z to the eighth power: the first three coefficients of the kernel's series.
        double v = z.h * z.h;
        const double *K = invtrig::k64_poly;
        double q = (K[0] + v * K[1]) + (v * v) * K[2];
        ser = v * (invtrig::k64_third[0] + (invtrig::k64_third[1] + v * q));
    } else if (t >= 0x1p-32) {
        ser = invtrig::k64_series(z.h);
    }
    DD a = fast_two_sum(Th, z.h);
    a.l += Tl + (z.l + z.h * ser);
    int o = int(ay > ax) | int(neg(x)) << 1;
    double sg = atan2dd::SG[o];
    DD res = fast_two_sum(atan2dd::OFF_H[o], sg * a.h);
    res.l += atan2dd::OFF_L[o] + sg * a.l;
    uint64_t sy = bits(y) & ~ABS;
    out[0] = f64(bits(res.h) ^ sy);
    out[1] = f64(bits(res.l) ^ sy);
}

// ---- extended --------------------------------------------------------------------------
inline LD ld(const double v[2]) { return LD(v[0]) + LD(v[1]); }
// An extended value as a double head and the double nearest to the rest.
inline void to_pair(LD v, double out[2]) {
    out[0] = double(v);
    out[1] = double(v - LD(out[0]));
}
// The extended square root (the instruction, rounded once to 64 bits).
inline LD sqrtl_(LD v) {
    asm("fsqrt" : "+t"(v));
    return v;
}
// atan2 of extended arguments, relative error below 2^-62: the extended kernel for finite,
// non-zero parts, the double-double kernel (with its quadrant constants) for the rest.
inline LD atan2_ld(LD y, LD x) {
    if (y != 0.0L && x != 0.0L && y - y == 0.0L && x - x == 0.0L) return __libm_atan2_k80(y, x);
    double yy[2], xx[2], r[2];
    to_pair(y, yy);
    to_pair(x, xx);
    __libm_atan2_k64(r, yy, xx);
    return ld(r);
}
constexpr LD LN2_L = 0xb.17217f7d1cf79acp-4L;    // ln 2, rounded to 64 bits
// ln v for a positive finite extended v: the double-double logarithm kernel on v as a head
// and a tail, relative error below 2^-59 where |v - 1| > 1/32 (the kernel's absolute error,
// about 2^-66, where its table value and the series of its reduced argument cancel; next to
// 1 the callers take log1p_ld instead).  A v beyond the double range (a sum of squares
// of doubles can be) is scaled by 2^-+1200 first, k ln 2 added back in extended, where the
// result is at least 693 in magnitude and the sum does not cancel.
inline LD log_ld(LD v) {
    LD k = 0.0L;
    if (v > 0x1p1000L) v *= 0x1p-1200L, k = 1200.0L;
    else if (v < 0x1p-1000L) v *= 0x1p1200L, k = -1200.0L;
    double p[2], r[2];
    to_pair(v, p);
    __libm_log_k64(p[0], p[1], r);
    return k * LN2_L + ld(r);
}
// ln(1 + w) for an extended w >= -1/2, relative error below 2^-59.  Below 2^-20 in
// magnitude, the series w - w^2/2 + w^3/3 - w^4/4 in extended (the next term is 2^-82 of
// w): the kernel would round the sum of its argument's tail and the part of the head
// beyond 32 bits once in double, 2^-53 of a result this small.  Above, 1 + w as an exact
// head and a tail, which the kernel takes whole: that rounding is then below 2^-85.
inline LD log1p_ld(LD w) {
    if (w < 0x1p-20L && w > -0x1p-20L)
        return w - (w * w) * (0.5L - w * (0xa.aaaaaaaaaaaaaabp-5L - 0.25L * w));
    double p[2], r[2];
    to_pair(w, p);
    DD s = dd::two_sum(1.0, p[0]);
    __libm_log_k64(s.h, s.l + p[1], r);
    return ld(r);
}
constexpr LD PI_L = 0xc.90fdaa22168c235p-2L;     // pi, rounded to 64 bits
constexpr LD PI_2_L = 0xc.90fdaa22168c235p-3L;   // pi/2
constexpr LD LOG2E_L = 0xb.8aa3b295c17f0bcp-3L;  // log2 e
constexpr LD LOG10E_L = 0xd.e5bd8a937287195p-5L; // log10 e

// A double from an extended value, with the underflow flag where the result is subnormal
// (the conversion gives it on the x87 unit; tests and fetestexcept read both units).
inline double narrow(LD v) { return double(v); }

// A float from a double result of the widened computation; a subnormal float part gets
// the underflow flag by a tiny product, as a subnormal result owes it.
inline float narrowf(double v) {
    float f = float(v);
    if ((bits(f) & 0x7f800000u) == 0 && (bits(f) & 0x7fffffu) != 0) raise_underflow();
    return f;
}
inline CF narrowc(CD z) { return mkf(narrowf(__real__ z), narrowf(__imag__ z)); }
inline CD widen(CF z) { return mk(double(__real__ z), double(__imag__ z)); }

}  // namespace
}  // namespace tsr::cplx

namespace tsr::cplx {
namespace {

// Sine and cosine of (th + tl) radians in extended precision, |tl| at most about an ulp of
// th: the kernel's two-part values of th, turned by tl (by its own sine and cosine where tl
// is not small enough for the two-term series).
inline void sincos_ld(double th, double tl, LD &s, LD &c) {
    double S[2], C[2];
    sincos_rn(th, S, C);
    LD sl = ld(S), cl = ld(C);
    if (tl == 0.0) {
        s = sl;
        c = cl;
        return;
    }
    LD st, ct;
    if (f64(abits(tl)) < 0x1p-21) {  // tl^3/6 below 2^-64 of tl
        LD t = tl;
        st = t;
        ct = 1.0L - 0.5L * t * t;
    } else {
        double S2[2], C2[2];
        sincos_rn(tl, S2, C2);
        st = ld(S2);
        ct = ld(C2);
    }
    s = sl * ct + cl * st;
    c = cl * ct - sl * st;
}

// The exact remainder of a by b (the x87 partial remainder, repeated until complete).
inline LD fprem(LD a, LD b) {
    uint16_t sw;
    do {
        asm("fprem\n\tfnstsw %%ax" : "+t"(a), "=a"(sw) : "u"(b));
    } while (sw & 0x400);
    return a;
}

// pi/180 in two parts.
constexpr double DEG_HI = 0x1.1df46a2529d39p-6, DEG_LO = 0x1.5c1d8becdd291p-62;

// Sine and cosine of (vh + vl) degrees, vl at most an ulp of vh: vh is reduced exactly, first
// modulo 360, then to [-45, 45] and a quadrant; the rest goes to radians in two parts.  A
// multiple of 90 gives exact zeros and ones.
inline void sincosd_ld(double vh, double vl, LD &s, LD &c) {
    double r = vh;
    if (!(f64(abits(vh)) < 360.0)) r = double(fprem(LD(vh), 360.0L));
    // r - 90 k is exact: it is a multiple of r's ulp and no larger than r.
    double kf = (r * (1.0 / 90.0) + 0x1.8p52) - 0x1.8p52;  // the nearest integer, by the shifter
    int q = int(kf) & 3;
    r = r - kf * 90.0;
    auto [th, tl] = two_prod(r, DEG_HI);
    tl += r * DEG_LO + vl * DEG_HI;
    double tt = th;
    th = tt + tl;
    tl = tl - (th - tt);
    LD s0, c0;
    if (r == 0.0 && vl == 0.0) {
        s0 = 0.0L;
        c0 = 1.0L;
    } else {
        sincos_ld(th, tl, s0, c0);
    }
    switch (q) {
        case 0: s = s0; c = c0; break;
        case 1: s = c0; c = -s0; break;
        case 2: s = -s0; c = -c0; break;
        default: s = -c0; c = s0; break;
    }
    if (s == 0.0L) s = 0.0L;  // exact zeros are +0 (the caller signs a zero argument)
    if (c == 0.0L) c = 0.0L;
}

}  // namespace
}  // namespace tsr::cplx

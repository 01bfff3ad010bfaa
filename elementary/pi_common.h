// What the pi-scaled functions share: exact sums and products with and without fused
// multiply-add, the flag-free reduction on the grid 1/64, the table-driven sine and cosine of
// pi·x, and the product of a tiny argument with a constant in two parts, rounded once even
// into the subnormal range.  Compiled once per tier: everything here has internal linkage.
//
// The reduction.  The period of sin(pi x) is 2: x = 2q + k/64 + r with k = 0 .. 127 and
// |r| <= 1/128, found from the bits (clearing the bits of |x| below 2^-6 leaves a multiple of
// 1/64, g, and |x| - g is exact), so that no step rounds and no flag is raised: an argument
// on the grid gives r = 0 and its result comes from the table alone, exact where the table's
// value is (0, 1, and so every sinpi(n), cospi(n + 1/2), tanpi(n/4) with their signs).
//
// The evaluation.  With the row of pi·j/64 (S, C and pi·S, pi·C in two parts) and w = r^2,
//   sin(pi(j/64 + r)) = S + (pi C) r + w (S B(w) + (pi C) r A(w)),
//   cos(pi(j/64 + r)) = C - (pi S) r + w (C B(w) - (pi S) r A(w)),
// where sin(pi r) = pi r (1 + w A(w)) and cos(pi r) = 1 + w B(w) on |r| <= 1/128.  The head
// S + (pi C) r is formed exactly (an exact product and an exact sum); the rest is at most
// 2^-11 of the result, so its own rounding adds less than 2^-60 relative, and the error stays
// that of the final addition plus about 2^-60: below 0.51 ulp.  Rows 0 .. 63 cover half the
// period; k >= 64 changes the sign.
#pragma once
#include <emmintrin.h>
#include <smmintrin.h>

#include <cstdint>

#include "elementary/invtrig_kernels.h"
#include "elementary/pi_data.h"
#include "tsr/common.h"
#include "tsr/dd.h"

namespace tsr::pi {
namespace {

constexpr uint64_t kSign = 0x8000000000000000ull;
constexpr uint64_t kAbs = 0x7fffffffffffffffull;
constexpr double kTwo52 = 0x1p52;  // from here on every double is an even or odd integer
constexpr double kTwo53 = 0x1p53;  // from here on every double is even
constexpr uint64_t kInfBits = 0x7ff0000000000000ull;  // |x| at or above: infinity or NaN
constexpr uint32_t kFloatWhole = 0x4b000000u;          // 2^23: from here on floats are whole
constexpr uint32_t kFloatInfBits = 0x7f800000u;

inline double with_sign(double x, uint64_t sign) { return f64(bits(x) ^ sign); }
// The same in the vector unit (xorpd), for values already there: no trip through the
// integer registers.
inline double flip(double x, uint64_t sign) {
    return _mm_cvtsd_f64(_mm_xor_pd(_mm_set_sd(x), _mm_castsi128_pd(_mm_cvtsi64_si128(int64_t(sign)))));
}

// |x| by a mask in the vector unit (andpd), for the fused tiers' reductions: the same value as
// f64(bits(x) & kAbs), which the compiler takes through the integer registers when the bits
// are compared too, a round trip on the way to the reduction.
inline double vabs(double x) {
    return _mm_cvtsd_f64(_mm_and_pd(_mm_set_sd(x), _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kAbs)))));
}

#ifdef __SSE4_1__
// v rounded to the nearest whole number (ties to even) whatever the rounding mode, with no
// flag: the reductions of the fused tiers, in the vector unit.  (A template, so that the
// other tiers, which name it only in branches they discard, need no definition.)
// (roundsd with ties to even and no precision exception; the builtin, not the intrinsic,
// whose scalar-to-vector step costs a move that zeroes the upper lane on the chain.)
template <class = void>
inline double nearest_whole(double v) {
    return __builtin_roundeven(v);
}
#else
template <class = void>
double nearest_whole(double v);
#endif

// ---- exact sums and products: the shared double-double kit ------------------------------------
using dd::DD;
using dd::fast_two_sum;
using dd::mul;
using dd::mul_add;
using dd::two_prod;
using dd::two_prod_k;
using dd::two_sum;

// ---- the reduction --------------------------------------------------------------------------------
struct Red {
    double r;   // |r| <= 1/128, exact
    unsigned k; // the count of 1/64 steps modulo 128
};
// 0 <= a < 2^52.
inline Red reduce64(double a) {
    uint64_t b = bits(a);
    int e = int(b >> 52) - 1023;  // a = 1.m·2^e
    uint64_t gb = 0;               // the bits of g = a cut to a multiple of 1/64
    if (e >= 46) {
        gb = b;  // a is on the grid already
    } else if (e >= -6) {
        gb = b & ~((uint64_t(1) << (46 - e)) - 1);
    }
    double g = f64(gb);
    double r = a - g;  // exact: [0, 1/64)
    // 64·g is a whole number below 2^58: its conversion is exact.
    unsigned k = unsigned(uint64_t(g * 64.0) & 127);
    if (r >= 0x1p-7) {  // the nearer grid point is the next one: r - 1/64 is exact (Sterbenz)
        r -= 0x1p-6;
        k = (k + 1) & 127;
    }
    return {r, k};
}

inline double poly3(const double *c, double w) { return ((c[3] * w + c[2]) * w + c[1]) * w + c[0]; }

// sin(pi(k/64 + r)) (Cos: the cosine) without its sign for k >= 64, as h + t.
template <bool Fma, bool Cos>
inline double sincos_rows(const Red &d, double &t) {
    const PiRow &w = pi_rows64[d.k & 63];
    // Cos: C - (pi S) r, else S + (pi C) r
    double s = Cos ? w.c : w.s, slo = Cos ? w.clo : w.slo;
    double p = Cos ? -w.ps : w.pc, plo = Cos ? -w.pslo : w.pclo;
    double r = d.r, r2 = r * r;
    double A = poly3(sinpi_poly, r2), B = poly3(cospi_poly, r2);
    DD pr = two_prod<Fma>(p, r);
    DD h = two_sum(s, pr.h);
    double rest = mul_add<Fma>(s, B, pr.h * A);
    t = ((h.l + pr.l) + mul_add<Fma>(plo, r, slo)) + r2 * rest;
    return h.h;
}

// The same in double for the float forms: the heads alone, an error below 2^-50 relative.
template <bool Fma, bool Cos>
inline double sincos_rows_f(const Red &d) {
    const PiRow &w = pi_rows64[d.k & 63];
    double s = Cos ? w.c : w.s;
    double p = Cos ? -w.ps : w.pc;
    double r = d.r, r2 = r * r;
    double A = sinpi_poly[0] + r2 * sinpi_poly[1], B = cospi_poly[0] + r2 * cospi_poly[1];
    double pr = p * r;
    return mul_add<Fma>(r2, mul_add<Fma>(s, B, pr * A), mul_add<Fma>(p, r, s));
}

// x·(H + L) rounded once, for |x| < 2^-30: the product is formed at 2^200 times the scale,
// where nothing is subnormal.  A result that is normal is the rounded sum scaled back
// (exactly); one in the subnormal range is first rounded to its grid (h), and the part of the
// sum h dropped is added back, scaled, by the last operation alone.
template <bool Fma>
inline double mul_tiny(double x, double H, double L) {
    double v = x * 0x1p200;
    DD p = two_prod<Fma>(v, H);
    p.l = mul_add<Fma>(v, L, p.l);
    // below this the product is below 2^-1022: its result is subnormal
    constexpr double kSubnormalScaled = 0x1p-822;
    if (__builtin_fabs(p.h) >= kSubnormalScaled) return (p.h + p.l) * 0x1p-200;
    double h = p.h * 0x1p-200;
    double rest = (p.h - h * 0x1p200) + p.l;
    return h + rest * 0x1p-200;
}

// c[0] + c[1] x + ... + c[N-1] x^(N-1) by Estrin's scheme: pairs, then pairs of pairs on the
// powers x^2, x^4, ...; the chain is log2(N) steps deep instead of N.  p[k] = x^(2^k); the
// split is at the largest power of two below N, unrolled at compile time.  Always inlined: as
// a call, the series' operands and the caller's live values go through memory.
template <bool Fma, int N>
__attribute__((always_inline)) inline double estrin_powers(const double *c, const double *p) {
    if constexpr (N == 1) {
        return c[0];
    } else if constexpr (N == 2) {
        return mul_add<Fma>(c[1], p[0], c[0]);
    } else {
        constexpr int L = N > 8 ? 3 : (N > 4 ? 2 : 1), H = 1 << L;
        return mul_add<Fma>(estrin_powers<Fma, N - H>(c + H, p), p[L], estrin_powers<Fma, H>(c, p));
    }
}
template <bool Fma, int N>
__attribute__((always_inline)) inline double estrin(const double *c, double x) {
    static_assert(N <= 16);
    double p[4] = {x, x * x, 0.0, 0.0};
    if constexpr (N > 4) p[2] = p[1] * p[1];
    if constexpr (N > 8) p[3] = p[2] * p[2];
    return estrin_powers<Fma, N>(c, p);
}

// atan2(y, x)/pi for the widened operands of the float forms: y, x >= 0, finite, not both
// zero, within 2^-300 .. 2^300 of each other's scale.  One quotient z = (y - c x)/(x + c y)
// with c = 0, 1 or the complement -x/y (tan(pi/8) and tan(3 pi/8) divide the cases), so that
// |z| <= tan(pi/8), and atan(z)/pi = z G(z^2) added to 0, 1/4 or 1/2.  The numerator and
// denominator are exact (for c = 1 the operands lie within a factor 2.5 of each other, and
// their 24-bit significands sum in 27 bits), the quotient rounds once, G's error is 2^-40:
// the result lies within 2^-49 of its size, ready for one more rounding to float.
template <bool Fma>
inline double atan2pi_f(double y, double x) {
    constexpr double kTan1_8 = 0x1.a827999fcef32p-2;  // tan(pi/8) = sqrt(2) - 1
    constexpr double kTan3_8 = 0x1.3504f333f9de6p+1;  // tan(3 pi/8) = sqrt(2) + 1
    bool low = y <= x * kTan1_8, high = y >= x * kTan3_8;
    double n = low ? y : (high ? -x : y - x);
    double d = low ? x : (high ? y : y + x);
    double base = low ? 0.0 : (high ? 0.5 : 0.25);
    double z = n / d, v = z * z;
    // Below 2^-60 the series is G(0) = 1/pi alone; the powers of v could underflow.
    v = v < 0x1p-60 ? 0.0 : v;
    return mul_add<Fma>(z, estrin<Fma, 8>(atanpif_series, v), base);
}

// ---- angles in units of pi ----------------------------------------------------------------------------
// An angle in two parts (relative error near 2^-64, as the arctangent kernel gives it) over
// pi, rounded once: its product with 1/pi in two parts.  For results of at least 2^-1000.
template <bool Fma>
inline double over_pi(DD a) {
    DD p = two_prod<Fma>(a.h, inv_pi_hilo[0]);
    return p.h + (p.l + mul_add<Fma>(a.l, inv_pi_hilo[0], a.h * inv_pi_hilo[1]));
}
// The angle of (x, y) over pi, by the double-double arctangent kernel; both operands finite,
// nonzero and of magnitudes within 2^±500 of each other's scale (the kernel's quotient stays
// normal).
template <bool Fma>
inline double atan2_over_pi(double y0, double y1, double x0, double x1) {
    double yy[2] = {y0, y1}, xx[2] = {x0, x1}, out[2];
    __libm_atan2_k64(out, yy, xx);
    return over_pi<Fma>({out[0], out[1]});
}

// v·2^e, exactly, for results that are normal (steps of at most 2^±1000).
inline double scale2(double v, int e) {
    while (e > 1000) v *= 0x1p1000, e -= 1000;
    while (e < -1000) v *= 0x1p-1000, e += 1000;
    return v * f64(uint64_t(e + 1023) << 52);
}
// (p.h + p.l)·2^e rounded once, 2^-4 <= |p.h| < 2 and e <= 0: a normal result is the rounded
// sum scaled exactly; a subnormal one is p.h rounded to its grid and what that dropped added
// back by the last operation (as in mul_tiny).
inline int exponent_of(double v);
inline double round_scaled(DD p, int e) {
    if (e + exponent_of(p.h) >= -1022) return scale2(p.h + p.l, e);
    if (e < -1100) e = -1100;  // far below the grid: rounds as any smaller value does
    double h = (p.h * 0x1p-600) * scale2(1.0, e + 600);
    double rest = (p.h - scale2(h, -e)) + p.l;
    return h + (rest * 0x1p-600) * scale2(1.0, e + 600);
}
// The exponent of a finite nonzero v (subnormals included): 2^E <= |v| < 2^(E+1).
inline int exponent_of(double v) {
    uint64_t b = bits(v) & kAbs;
    int e = int(b >> 52);
    if (e) return e - 1023;
    return -1011 - __builtin_clzll(b);  // 2^-1074 has 63 leading zeros
}

}  // namespace
}  // namespace tsr::pi

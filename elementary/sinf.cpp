// sinf, cosf, sincosf and __libm_sse2_sincosf, in double arithmetic.
//
// Tiers ex, e7: the remainder f in units of t = pi/128, k = round(128x/pi), and 65 rows at
// m·t (m = |k| folded into -64..64 by the half period): sin(m·t + f·t) =
// S·(t^2/2)·(2/t^2 - f^2) + C·(t^3/6)·f·(6/t^2 - f^2), the degree-2 cosine and degree-3 sine
// series written monic in f, so that the rows carry the scales and the constants are two.
// Huge arguments (|x| >= 2^21) are reduced by sinf_period_rows: 128/pi modulo the period for
// each group of eight exponents, in three parts.
// Tiers l9, z0, d1: k = round(64x/pi) by a shifter in one fused multiply-add, 64 rows of half a
// period, fourth-degree cosine and fifth-degree sine series of the remainder alone, joined to
// the row at the end; |x| < 2^22, the rest to e7.
#include <emmintrin.h>

#include "elementary/trig_common.h"
#if TSR_TIER_Z0 || TSR_TIER_D1
#include "tsr/avx512.h"
#endif

using namespace tsr;
using namespace tsr::trig;

namespace {

// sin x = x - x^3/6 for |x| < 2^-11: x nudged toward zero by 2^-30 of itself in double (exact
// or rounded there, and a sign kept, zeros included), then rounded to float once: the true
// value and the nudged one lie on the same side of x within a quarter of an ulp, so the
// rounding is right in every mode, and it raises inexact, and underflow exactly when the
// result is subnormal.
inline float tiny_sinf(float x) { return float(double(x) * 0x1.fffffff8p-1); }

#if TSR_TIER_EX || TSR_TIER_E7
// t^2/12 and t^2/20, t = pi/128.
constexpr double kT2o12 = 0x1.a51a6625307d3p-15, kT2o20 = 0x1.f952e0f96d631p-16;

struct Fold {
    double f;  // remainder in units of pi/128
    int k;
};

inline Fold fold128(float x) {
    double u = x;
    uint32_t b = bits(x) & 0x7fffffff;
    if (b > 0x49ffffff) {
        Period128 h = period128(u, b);
        return {h.f, h.k};
    }
    // k = round(q) by a signed half and truncation, the same in every rounding mode: a k one
    // off would leave |f| up to 1 and the short series too inaccurate.
    double q = u * 0x1.45f306ep+5;
    int k = int(q + (q < 0 ? -0.5 : 0.5));
    return {(q - double(k)) + u * -0x1.b1bbead603d8bp-26, k};
}

// sin (cosine = false) or cos of (k + f)·pi/128.
template <bool cosine>
inline double sinf_core(Fold d) {
    int m = ((d.k + 64) & 127) - 64;                  // k = 128·p + m
    double neg_p = ((d.k + 64) & 128) ? -1.0 : 1.0;  // (-1)^p: the half periods
    double sm = m < 0 ? -1.0 : 1.0;
    int am = m < 0 ? -m : m;
    double f = d.f, f2 = f * f;
    const double *row = cosine ? cosf_rows65[am] : sinf_rows65[am];
    double s1 = neg_p * (cosine ? 1.0 : sm), s2 = neg_p * (cosine ? sm : 1.0);
    // The fourth-degree term of the cosine, f^4·t^2/12 beside 2/t^2 - f^2, and the fifth of
    // the sine, f^4·t^2/20 beside 6/t^2 - f^2: without them the series leave 2^-30 of the
    // result, too much for a float result within 0.51 ulp.
    double f4 = f2 * f2;
    return s1 * row[1] * ((0x1.9f02f6222c72p+11 - f2) + f4 * kT2o12) +
           s2 * row[0] * f * ((0x1.37423899a1558p+13 - f2) + f4 * kT2o20);
}

template <bool cosine>
inline float sinf_e7(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b - 0x39800000u > 0x49ffffffu - 0x39800000u) {
        if (b < 0x39800000) {
            if (cosine) return b == 0 ? 1.0f : 1.0f - 0x1p-31f;
            return tiny_sinf(x);
        }
        if (b >= 0x7f800000) return x - x;
    }
    return float(sinf_core<cosine>(fold128(x)));
}

inline void sincosf_e7(float x, float *sp, float *cp) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b - 0x39800000u > 0x49ffffffu - 0x39800000u) {
        if (b < 0x39800000) {
            *sp = tiny_sinf(x);
            *cp = b == 0 ? 1.0f : 1.0f - 0x1p-31f;
            return;
        }
        if (b >= 0x7f800000) {
            *sp = x - x;
            *cp = x - x;
            return;
        }
    }
    Fold d = fold128(x);
    *sp = float(sinf_core<false>(d));
    *cp = float(sinf_core<true>(d));
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
struct FmaF {
    double s, c;  // the sine and cosine
};

// sin(T + r) = S0·cos r + C0·sin r with (S0, C0) the row at T = (k mod 64)·pi/64, the sign of
// the odd half periods put onto the row.  cos r and sin r are formed from r alone, without
// the row, so that the row (a load after the integer unit has taken the count from S) is
// wanted only by the last product and the last multiply-add: cos r = 1 - w/2 + w^2/24 and
// sin r = r + r0·w·(-1/6 + w/120), w = r0^2, Taylor on |r| <= pi/128 (the next terms, r^6/720
// and r^7/5040, are below 2^-41 and 2^-49).  r0 = x - k·pi/64 with the first part of pi is
// exact (a multiple of 2^-57 below 2^-5); r adds the second part, which the series of degree
// above one can leave out (it is below 2^-32 and moves them by less than 2^-37).  In the sum
// each product is at most twice the result (the rows nearest a zero of the result are a
// whole step from it), so the total error stays below 2^-36 of the result: a rounding to
// float moved by less than 2^-12 ulp.
__attribute__((always_inline)) inline FmaF sinf_fma_core(double u) {
#if TSR_TIER_Z0
    double S = avx512::fma_rn(0x1.45f306dc9c883p-2, u, 0x1.8p+46);
#else
    double S = __builtin_fma(0x1.45f306dc9c883p-2, u, 0x1.8p+46);
#endif
    double kf = S - 0x1.8p+46;
    double r0 = __builtin_fma(kf, -0x1.921fb54442d18p+1, u);
    double r = __builtin_fma(kf, -0x1.1a62633145c07p-53, r0);
    const double *row = trigf_rows64[bits(S) & 63];
    // bit 6 of S (the odd half periods) at the sign place, in the vector unit, beside the
    // row's load
    __m128d m = _mm_castsi128_pd(_mm_slli_epi64(_mm_srli_epi64(_mm_castpd_si128(_mm_set_sd(S)), 6), 63));
    double S0 = _mm_cvtsd_f64(_mm_xor_pd(_mm_set_sd(row[0]), m));
    double C0 = _mm_cvtsd_f64(_mm_xor_pd(_mm_set_sd(row[1]), m));
    // The coefficients as literals: a quotient such as 1.0/24 is not folded under
    // -frounding-math.
    constexpr double c24 = 0x1.5555555555555p-5, c6 = 0x1.5555555555555p-3,  // 1/24, 1/6
        c120 = 0x1.1111111111111p-7;                                           // 1/120
    double w = r0 * r0;
    double A = __builtin_fma(w, __builtin_fma(w, c24, -0.5), 1.0);        // cos r
    double z = __builtin_fma(r0 * w, __builtin_fma(w, c120, -c6), r);     // sin r
    FmaF o;
    o.s = __builtin_fma(C0, z, S0 * A);
    o.c = __builtin_fma(-S0, z, C0 * A);
    return o;
}

template <int what>  // 0 sine, 1 cosine
inline float sinf_fma_one(double u) {
    FmaF o = sinf_fma_core(u);
    return float(what ? o.c : o.s);
}

#if !TSR_TIER_Z0
template <int what>
__attribute__((noinline, cold)) float sinf_fma_directed(float x) {
    RnGuard g;
    FmaF o = sinf_fma_core(double(opaque(x)));
    double v = g.finish(what ? o.c : o.s);
    return float(v);
}
#endif

template <int what>
inline float sinf_fma(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b - 0x38800001u >= 0x4a800000u - 0x38800001u) {
        if (b <= 0x38800000) {
            if (what) return __builtin_fmaf(-x, x, 2.0f) * 0.5f;
            return tiny_sinf(x);
        }
        return what ? __libm_cosf_e7_local(x) : __libm_sinf_e7_local(x);
    }
#if !TSR_TIER_Z0
    if (!rn_probe()) return sinf_fma_directed<what>(x);
#endif
    return sinf_fma_one<what>(double(x));
}

inline void sincosf_fma(float x, float *sp, float *cp) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b - 0x38800001u >= 0x4a800000u - 0x38800001u) {
        if (b <= 0x38800000) {
            *sp = tiny_sinf(x);
            *cp = __builtin_fmaf(-x, x, 2.0f) * 0.5f;
            return;
        }
        __libm_sincosf_e7_local(x, sp, cp);
        return;
    }
#if !TSR_TIER_Z0
    if (!rn_probe()) {
        *sp = sinf_fma_directed<0>(x);
        *cp = sinf_fma_directed<1>(x);
        return;
    }
#endif
    FmaF o = sinf_fma_core(double(x));
    *sp = float(o.s);
    *cp = float(o.c);
}
#endif

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(float, sinf, (float x)) { return sinf_e7<false>(x); }
TSR_BODY(float, cosf, (float x)) { return sinf_e7<true>(x); }
TSR_BODY(void, sincosf, (float x, float *sp, float *cp)) { sincosf_e7(x, sp, cp); }
#if TSR_TIER_EX
TSR_DEFINE(float, __bwr_sinf, (float x)) { return sinf_e7<false>(x); }
TSR_DEFINE(float, __bwr_cosf, (float x)) { return sinf_e7<true>(x); }
TSR_DEFINE(void, __bwr_sincosf, (float x, float *sp, float *cp)) { sincosf_e7(x, sp, cp); }
#endif
#if TSR_TIER_E7
TSR_BODY(void, __libm_sse2_sincosf, (float x, float *sp, float *cp)) { sincosf_e7(x, sp, cp); }
#endif
#else
TSR_BODY(float, sinf, (float x)) { return sinf_fma<0>(x); }
TSR_BODY(float, cosf, (float x)) { return sinf_fma<1>(x); }
TSR_BODY(void, sincosf, (float x, float *sp, float *cp)) { sincosf_fma(x, sp, cp); }
#if TSR_TIER_L9
TSR_BODY(void, __libm_sse2_sincosf, (float x, float *sp, float *cp)) { sincosf_fma(x, sp, cp); }
#endif
#endif

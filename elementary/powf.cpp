//
// powf(x, y) = 2^(y log2 x) in double arithmetic.
//   ex (also bound as the e7 tier: one algorithm, one body): log2 x from a 65-row table of
//      log2(1 + i/64) and log2(e)/(1 + i/64), a degree-5 correction, a 32-row 2^(j/32)
//      table and a degree-4 exponential;
//   l9 fused multiply-add and the reciprocal estimate, 256-row table with the exponent bias
//      built in; anything unusual goes to the ex/e7 body.
// The double result carries about 2^-44 relative error, so the final conversion to float
// is the only rounding that matters (below 0.5001 ulp in round-to-nearest; in a directed
// mode the double rounding and the float conversion go the same way).
#include <emmintrin.h>
#include <xmmintrin.h>

#include <bit>
#include <cstdint>

#include "elementary/pow_common.h"
#include "elementary/pow_data.h"
#include "tsr/common.h"

namespace {
using namespace tsr;
using namespace tsr::powk;
namespace tab = tsr::pow_tab;
constexpr double kShift5 = 0x1.8p+47;  // 1.5 2^47: rounds to multiples of 2^-5
}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
namespace {
constexpr double kLn2 = 0x1.62e42fefa39efp-1;
// log2(1 + r ln2) - r = r^2 P2 + r^4 P1
constexpr double P1a = 0x1.7a3341fac5e29p-5, P1b = -0x1.55046a143789p-4,
                 P2a = 0x1.47fd3ffac83b4p-3, P2b = -0x1.62e42fefa39efp-2;
// 2^z = 1 + z (V + z^2 W)
constexpr double W0 = 0x1.c6b08d704a0bfp-5, W1 = 0x1.3b2ab6fba4e77p-7,
                 V1 = 0x1.ebfbdff82c58ep-3;

// 2^w for |w| < 512, with the sign; the result in double, not yet rounded to float.
inline double exp2_direct(double w, bool neg) {
    double s = w + kShift5;
    int32_t k = int32_t(tsr::lo(s));
    double z = w - (s - kShift5);  // exact, |z| <= 2^-6
    double T = f64(tab::powf_exp32[k & 31]);
    double F = f64(uint64_t(int64_t((k >> 5) + 1023)) << 52);
    if (neg) F = -F;
    double W = W0 + W1 * z, V = kLn2 + V1 * z;
    double TF = T * F;
    return TF + (z * TF) * (V + z * z * W);
}
}  // namespace

TSR_BODY(float, powf, (float x, float y)) {
    uint32_t ux = bits(x), uy = bits(y);
    bool neg = false;
    float ax = x;
    if (needs_special(ux, uy)) {
        float out;
        if (special(x, y, &out, &ax, &neg)) return out;
    }
    uint32_t b = bits(ax);
    int nadj = 0;
    if (b < 0x800000u) {  // subnormal: scale into the normal range
        b = bits(ax * 0x1p24f);
        nadj = -24;
    }
    double m = f64((uint64_t(b & 0x7fffff) << 29) | kOne);
    uint32_t u = (b >> 16) & 0x7f;
    uint32_t i = (u + 1) & 0xfe;  // row i/2: the nearest multiple of 1/64
    double c = f64(tab::powf_log65[i]), L = f64(tab::powf_log65[i + 1]);
    // From mantissas above 63/128 the exponent counts one more and L carries the -1, so
    // that x just below a power of two has no cancellation.
    int n = int(((b >> 16) + 0x41) >> 7) - 0x7f + nadj;
    double r = (m - (1.0 + double(i) * 0x1p-7)) * c;
    double S = (L + r) + double(n);
    double r2 = r * r;
    double Q = r2 * r2 * (P1a * r + P1b) + r2 * (P2a * r + P2b);
    double dy = double(y);

    int an = n < 0 ? -n : n;
    int b2 = an ? 31 - __builtin_clz(uint32_t(an)) : 0;
    int v = b2 - 0x3e1 + int((bits(dy) >> 52) & 0x7ff);
    // w = y log2 x in one product: the correction Q joins S first, so that z stays below
    // 2^-6 even when y is large and x near 1 (|y Q| would reach 1 there).
    double w = (S + Q) * dy;
    if (v >= 0 && v <= 0x22)  // |y log2 x| < 64: no overflow or underflow possible
        return float(exp2_direct(w, neg));
    if (v < 0) {  // |y log2 x| < 2^-29
        double one = neg ? -1.0 : 1.0;
        return float(one + (neg ? -w : w) * kLn2);
    }
    if (v <= 0x25 || __builtin_fabs(w) < 256.0) {
        double d = exp2_direct(w, neg);
        float rf = float(d);
        double ad = __builtin_fabs(d);
        if (ad > 0x1.fffffep127) return report(x, y, rf, code::powf_overflow);
        if (ad < 0x1p-126) return report(x, y, rf, code::powf_underflow);
        return rf;
    }
    if (w > 0) {
        float r0 = opaque(neg ? -0x1.fep127f : 0x1.fep127f) * 2.0f;
        return report(x, y, r0, code::powf_overflow);
    }
    float r0 = opaque(neg ? -0x1p-126f : 0x1p-126f) * 0x1p-126f;
    return report(x, y, r0, code::powf_underflow);
}
#endif  // TSR_TIER_EX || TSR_TIER_E7

#if TSR_TIER_L9
#include <immintrin.h>
namespace {
// The head works on the vector register x arrives in: the float viewed as the low lane of
// a vector, the other lanes left as they are (nothing reads them; the masks below clear
// them where it matters), so that x makes no round trip through the general registers on
// the way to the reciprocal estimate.
inline __m128 lane_ps(float v) {
    __m128 r;
    __asm__("" : "=x"(r) : "0"(v));
    return r;
}
alignas(16) constexpr uint32_t kMantMask[4] = {0x7fffff, 0, 0, 0};
alignas(16) constexpr uint32_t kMantExp[4] = {0x3b800000, 0, 0, 0};   // 2^-8
// The float's rounding constant 0x8000 and its kept bits 0xffff0000, moved up 29 places,
// with the exponent rebias (1023 - 127) << 52.
alignas(16) constexpr uint64_t kRcpRound[2] = {(0x8000ull << 29) + (896ull << 52), 0};
alignas(16) constexpr uint64_t kRcpKeep[2] = {0xffffe00000000000ull, 0};
constexpr uint64_t kShiftBits = 0x42e8000000000000ull;

// Everything that leaves the usual path goes to the e7 body; kept apart so that the usual
// path carries no spill or register shuffle for it.
__attribute__((cold, noinline)) float powf_l9_other(float x, float y) {
    return __libm_powf_e7_local(x, y);
}
}  // namespace

TSR_BODY(float, powf, (float x, float y)) {
    uint32_t ux = bits(x), uy = bits(y);
    // x positive, normal and finite, y finite (2 uy below the pattern of 2 inf); else the
    // e7 body.
    if (__builtin_expect(ux - 0x800000u >= 0x7f000000u, 0) || __builtin_expect(uy * 2u >= 0xff000000u, 0))
        return powf_l9_other(x, y);
    // m' = 1.f * 2^-8; R = its reciprocal estimate rounded to 8 significant bits.  The
    // rcp leaves lanes 1-3 of m' (zeros) above R, so the 64-bit lane holds R's pattern; it is
    // moved up into a double's fields and rounded there (the carry of the rounding runs into
    // the exponent exactly as in the float), and the exponent rebiased, so that R reaches the
    // product as a double with no conversion on its path (m' is converted beside the
    // estimate, where it costs no time).
    __m128 xv = lane_ps(x);
    __m128 mv = _mm_or_ps(_mm_and_ps(xv, _mm_load_ps(reinterpret_cast<const float*>(kMantMask))),
                          _mm_load_ps(reinterpret_cast<const float*>(kMantExp)));
    __m128i rcp = _mm_castps_si128(_mm_rcp_ss(mv));
    __m128i rd = _mm_and_si128(_mm_add_epi64(_mm_slli_epi64(rcp, 29),
                                             _mm_load_si128(reinterpret_cast<const __m128i*>(kRcpRound))),
                               _mm_load_si128(reinterpret_cast<const __m128i*>(kRcpKeep)));
    double md = double(_mm_cvtss_f32(mv));
    // R m' has at most 32 significant bits and lies within 2^-7 of 1: u = R m' - 1 is exact
    // (the same value a float fused multiply-add gives).
    double u = __builtin_fma(_mm_cvtsd_f64(_mm_castsi128_pd(rd)), md, -1.0);
    // The biased exponent, converted in the vector unit (x is positive: no sign bit).
    double E = _mm_cvtsd_f64(_mm_cvtepi32_pd(_mm_srli_epi32(_mm_castps_si128(xv), 23)));
    // Row: the low exponent bit and the 7 fraction bits of R, rounded once more in a general
    // register, so that the table read starts while the vector unit is still forming R.
    uint32_t row = ((uint32_t(_mm_cvtsi128_si32(rcp)) + 0x8000u) >> 16) & 0xff;
    double H = E + f64(tab::powf_l9_log[row]);
    double L = __builtin_fma(
        __builtin_fma(u * u, __builtin_fma(-0x1.71563027e14e2p-2, u, 0x1.ec71ff3a912b3p-2),
                      __builtin_fma(-0x1.715476526017ep-1, u, 0x1.71547652aaf92p+0)),
        u, H);
    double dy = double(y);
    // s = fma(y, L, shift), kf = s - shift and z = fma(L, y, -kf) are written out so that
    // each product lands on its addend's register and the shift is read from memory twice:
    // left to itself the compiler spends register copies of L and of the shift here, one of
    // them on the path of the result.
    double s;
    __asm__("vfmadd231sd %[y], %[L], %[s]" : [s] "=x"(s) : "0"(kShift5), [L] "x"(L), [y] "x"(dy));
    // s lies in the binade of the shift while |y log2 x| < 2^46, where its pattern less the
    // shift's is k = 32 kf; any s outside that binade gives a pattern difference far out of
    // the ranges tested here, so one unsigned compare tests |kf| < 126.
    uint64_t sb = bits(s);
    uint64_t k = sb - kShiftBits;
    if (__builtin_expect(k + 4031 > 8062, 0))  // |y log2 x| >= 126
        return powf_l9_other(x, y);
    // Rows 0 and 128 (x within 2^-8 of 1) have H = 0, so that the relative error of the
    // fitted linear coefficient (1.2e-11) is the relative error of log2 x; from
    // |y log2 x| >= 32 on it would cost 0.01 ulp: the e7 body takes those.
    if (__builtin_expect((row & 0x7f) == 0, 0) && k + 1023 > 2046) return powf_l9_other(x, y);
    double z;
    __asm__("vsubsd %[K], %[s], %[z]" : [z] "=x"(z) : [s] "x"(s), [K] "m"(kShift5));
    __asm__("vfmsub231sd %[y], %[L], %[z]" : [z] "+x"(z) : [L] "x"(L), [y] "x"(dy));
    // T = 2^(j/32) with k >> 5 added to its exponent field (the shift's pattern has zeros
    // from bit 5 to bit 16, so that s's bits there are those of k >> 5).
    double T = f64(tab::powf_exp32[sb & 31] + ((sb >> 5) << 52));
    double q = __builtin_fma(__builtin_fma(0x1.c6b1939683018p-5, z, 0x1.ebfd1b232e085p-3), z,
                             0x1.62e42fef4c3cep-1);
    return float(__builtin_fma(z * T, q, T));
}
#endif  // TSR_TIER_L9

// tessera-tiers: ex l9
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
constexpr double D(uint64_t u) { return std::bit_cast<double>(u); }
constexpr double kShift5 = D(0x42e8000000000000);  // 1.5 2^47: rounds to multiples of 2^-5
}  // namespace

#if TSR_TIER_EX
namespace {
constexpr double kLn2 = D(0x3fe62e42fefa39ef);
// log2(1 + r ln2) - r = r^2 P2 + r^4 P1
constexpr double P1a = D(0x3fa7a3341fac5e29), P1b = D(0xbfb55046a1437890),
                 P2a = D(0x3fc47fd3ffac83b4), P2b = D(0xbfd62e42fefa39ef);
// 2^z = 1 + z (V + z^2 W)
constexpr double W0 = D(0x3fac6b08d704a0bf), W1 = D(0x3f83b2ab6fba4e77),
                 V1 = D(0x3fcebfbdff82c58e);

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

TSR_DEFINE(float, __libm_powf_ex, (float x, float y)) {
    uint32_t ux = bits(x), uy = bits(y);
    bool neg = false;
    float ax = x;
    if (needs_specialf(ux, uy)) {
        float out;
        if (specialf(x, y, &out, &ax, &neg)) return out;
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
        if (ad > 0x1.fffffep127) return reportf(x, y, rf, 30);
        if (ad < 0x1p-126) return reportf(x, y, rf, 31);
        return rf;
    }
    if (w > 0) {
        float r0 = opaque(neg ? -0x1.fep127f : 0x1.fep127f) * 2.0f;
        return reportf(x, y, r0, 30);
    }
    float r0 = opaque(neg ? -0x1p-126f : 0x1p-126f) * 0x1p-126f;
    return reportf(x, y, r0, 31);
}
TSR_ALIAS(float, __libm_powf_e7, (float x, float y), __libm_powf_ex)
#endif  // TSR_TIER_EX

#if TSR_TIER_L9
TSR_DEFINE(float, __libm_powf_l9, (float x, float y)) {
    uint32_t ux = bits(x), uy = bits(y);
    // x positive, normal and finite, y finite; else the e7 body.
    if (ux - 0x800000u >= 0x7f000000u || (uy & 0x7fffffff) >= 0x7f800000u)
        return __libm_powf_e7_local(x, y);
    // m' = 1.f * 2^-8; R = its reciprocal estimate rounded to 8 significant bits, the
    // rounding done in the vector unit so that the value never leaves it.
    __m128 mv = _mm_castsi128_ps(_mm_cvtsi32_si128(int((ux & 0x7fffff) | 0x3b800000u)));
    __m128i rv = _mm_and_si128(_mm_add_epi32(_mm_castps_si128(_mm_rcp_ss(mv)), _mm_set1_epi32(0x8000)),
                               _mm_set1_epi32(int(0xffff0000u)));
    uint32_t Rb = uint32_t(_mm_cvtsi128_si32(rv));
    double u = double(__builtin_fmaf(_mm_cvtss_f32(_mm_castsi128_ps(rv)), _mm_cvtss_f32(mv), -1.0f));  // exact
    double H = double(ux >> 23) + f64(tab::powf_l9_log[(Rb >> 16) & 0xff]);
    double L = __builtin_fma(
        __builtin_fma(u * u, __builtin_fma(D(0xbfd71563027e14e2), u, D(0x3fdec71ff3a912b3)),
                      __builtin_fma(D(0xbfe715476526017e), u, D(0x3ff71547652aaf92))),
        u, H);
    double dy = double(y);
    double s = __builtin_fma(dy, L, kShift5);
    double kf = s - kShift5;
    uint64_t akf = bits(kf) & 0x7fff800000000000ull;
    if (akf > 0x405f7fff00000000ull)  // |y log2 x| >= 126
        return __libm_powf_e7_local(x, y);
    // Rows 0 and 128 (x within 2^-8 of 1) have H = 0, so that the relative error of the
    // fitted linear coefficient (1.2e-11) is the relative error of log2 x; from
    // |y log2 x| >= 32 on it would cost 0.01 ulp: the e7 body takes those.
    if (((Rb >> 16) & 0x7f) == 0 && akf >= 0x4040000000000000ull) return __libm_powf_e7_local(x, y);
    double z = __builtin_fma(L, dy, -kf);
    uint64_t sb = bits(s);
    double T = f64(tab::powf_exp32[sb & 31] + ((sb << 47) & 0xfff0000000000000ull));
    double q = __builtin_fma(__builtin_fma(D(0x3fac6b1939683018), z, D(0x3fcebfd1b232e085)), z,
                             D(0x3fe62e42fef4c3ce));
    return float(__builtin_fma(z * T, q, T));
}
#endif  // TSR_TIER_L9

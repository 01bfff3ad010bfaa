// sin and cos: one algorithm, the cosine read a quarter period (16 rows of 64) on.
//
// Tiers ex, e7, y8: k = round(32x/pi), r = x - k·pi/32 by three short parts of pi/32 whose
// products with k are exact, and sin(k·pi/32 + r) as the row's head plus a tail that holds
// the row's low part, the rounding errors of the head and the Taylor series of sin r - r and
// cos r - 1 to r^9 and r^8 (remainder below 2^-70 of the result on |r| <= pi/64).  ex and e7
// round k by a signed half and truncation, y8 by the round instruction.  Above the medium
// range (|x| >= 0x1.6p16) the octant reduction of trig_common.h gives y, its tail and the
// octant, which moves the row by 8.
//
// Tiers l9, z0, d1: k = round(64x/pi) by a shifter in one fused multiply-add, a 128-row
// table of pi/64 with low parts of both values, fitted degree-4 series; the body covers
// 2^-32 <= |x| < 2^20 and hands everything else above to the e7 body.
#include "elementary/trig_common.h"
#if TSR_TIER_Y8
#include <smmintrin.h>
#endif
#if TSR_TIER_Z0 || TSR_TIER_D1
#include "tsr/avx512.h"
#endif

using namespace tsr;
using namespace tsr::trig;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7 || TSR_TIER_Y8
inline int k32(double x) {
#if TSR_TIER_Y8
    __m128d v = _mm_set_sd(x * 0x1.45f306dc9c883p+3);
    return _mm_cvttsd_si32(_mm_round_sd(v, v, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
#else
    return k32_trunc(x);
#endif
}

// off = 0 for the sine, 16 for the cosine.
template <int off>
inline double sin_e7(double x) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    if (hw - 0x3030u > 0x40f5u - 0x3030u) {
        if (hw < 0x3030) {
            if (off) return 1.0 - f64(bits(x) & 0x7fffffffffffffffull);
            if (hw < 0x10) return x * 0x1.fffffffffffffp-1;  // zero or subnormal
            force((x * 0x1p55 - x) * 0x1p-55);                  // inexact
            return x;
        }
        if (hw >= 0x7ff0) return x * -0.0;  // NaN stays NaN, an infinity gives NaN, invalid
        return sin64_huge(x, off);
    }
    int k = k32(x);
    Red64 d = red64(x, k);
    double t;
    double h = rows64_sum(sincos_rows64[(k + off) & 63], d, t);
    return h + t;
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double shifter64(double x) {
#if TSR_TIER_Z0
    return avx512::fma_rn(0x1.45f306dc9c883p-2, x, 0x1.8p+46);
#else
    return __builtin_fma(0x1.45f306dc9c883p-2, x, 0x1.8p+46);
#endif
}

template <bool cosine>
inline double sin_fma_core(double x, double &y) {
    Red128 d = red128(x, shifter64(x));
    return cosine ? cos128(d, y) : sin128(d, y);
}

#if !TSR_TIER_Z0
template <bool cosine>
__attribute__((noinline, cold)) double sin_fma_directed(double x) {
    RnGuard g;
    x = opaque(x);
    double y;
    double H = sin_fma_core<cosine>(x, y);
    y = g.finish(y);
    return H + y;
}
#endif

template <bool cosine>
inline double sin_fma(double x) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    if (hw - 0x3df0u >= 0x4130u - 0x3df0u) {
        if (hw < 0x3df0) {
            if (cosine) return __builtin_fma(-x, x, 1.0);
            // x - 2^-64·x; the sign put back keeps -0 (and the sign of a tiny result in
            // the downward mode)
            return f64(bits(__builtin_fma(-0x1p-64, x, x)) | (bits(x) & 0x8000000000000000ull));
        }
        return cosine ? __libm_cos_e7_local(x) : __libm_sin_e7_local(x);
    }
#if !TSR_TIER_Z0
    if (!rn_probe()) return sin_fma_directed<cosine>(x);
#endif
    double y;
    double H = sin_fma_core<cosine>(x, y);
    return H + y;
}
#endif

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7 || TSR_TIER_Y8
TSR_BODY(double, sin, (double x)) { return sin_e7<0>(x); }
TSR_BODY(double, cos, (double x)) { return sin_e7<16>(x); }
#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_sin, (double x)) { return sin_e7<0>(x); }
TSR_DEFINE(double, __bwr_cos, (double x)) { return sin_e7<16>(x); }
#endif
#else
TSR_BODY(double, sin, (double x)) { return sin_fma<false>(x); }
TSR_BODY(double, cos, (double x)) { return sin_fma<true>(x); }
#endif

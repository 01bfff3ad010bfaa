// sincos and __libm_sse2_sincos: both values from one reduction.
//
// Tiers ex, e7: the 64-row core of sin run on the rows j and j + 16 of the pair table at
// once, k rounded to nearest by a shifter with the rounding control cleared, the caller's
// mode back for the last two additions.  Above the medium range e7 takes the octant
// reduction by the words of 2/pi; ex and __libm_sse2_sincos e7 call __libm_reduce_pio2d
// (a Cody-Waite sum below 2^30), the quadrant moving the rows by 16.
// Tiers l9, z0, d1: the fused core of sin and cos on one reduction.
#include "elementary/trig_common.h"
#include "elementary/trig_kernels.h"
#if TSR_TIER_Z0 || TSR_TIER_D1
#include "tsr/avx512.h"
#endif

using namespace tsr;
using namespace tsr::trig;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
template <bool by_pio2d>
inline void sincos_e7(double x, double *sp, double *cp) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    if (hw < 0x3030) {
        double c = 1.0 - f64(bits(x) & 0x7fffffffffffffffull);
        double s = hw < 0x10 ? x * 0x1.fffffffffffffp-1 : (x - x * 0x1p55) * -0x1p-55;
        *sp = s;
        *cp = c;
        return;
    }
    if (hw >= 0x7ff0) {
        *sp = x * -0.0;
        *cp = x * -0.0;
        return;
    }
    RnGuard g;
    x = opaque(x);
    double tail = 0;
    int off = 0;
    if (hw > 0x40f5) {
        if (by_pio2d) {
            double y[2];
            off = 16 * __libm_reduce_pio2d(x, y);
            x = y[0];
            tail = y[1];
        } else {
            Reduced h = reduce_huge<3>(x);
            x = h.y;
            tail = h.t;
            off = 8 * h.n;
        }
    }
    double kf = opaque(x * 0x1.45f306dc9c883p+3 + 0x1.8p52) - 0x1.8p52;
    int k = int(kf);
    Red64 d = red64(x, k);
    d.e -= tail;
    const SCPair &p = sincos_pairs64[(k + off) & 63];
    double ts, tc;
    double hs = pair_sum(p, 0, d, ts);
    double hc = pair_sum(p, 1, d, tc);
    hs = opaque(hs);
    hc = opaque(hc);
    ts = opaque(ts);
    tc = g.finish(tc);
    *sp = hs + ts;
    *cp = hc + tc;
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline void sincos_fma_core(double x, double *sp, double *cp) {
#if TSR_TIER_Z0
    double S = avx512::fma_rn(0x1.45f306dc9c883p-2, x, 0x1.8p+46);
#else
    double S = __builtin_fma(0x1.45f306dc9c883p-2, x, 0x1.8p+46);
#endif
    Red128 d = red128(x, S);
    double ys, yc;
    double Hs = sin128(d, ys);
    double Hc = cos128(d, yc);
    *sp = Hs + ys;
    *cp = Hc + yc;
}

#if !TSR_TIER_Z0
__attribute__((noinline, cold)) void sincos_fma_directed(double x, double *sp, double *cp) {
    uint32_t saved = get_mxcsr();
    set_mxcsr(saved & ~MXCSR_RC_MASK);
    double s, c;
    sincos_fma_core(opaque(x), &s, &c);
    force(s);
    force(c);
    set_mxcsr((get_mxcsr() & ~MXCSR_RC_MASK) | (saved & MXCSR_RC_MASK));
    *sp = s;
    *cp = c;
}
#endif

inline void sincos_fma(double x, double *sp, double *cp) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    if (hw - 0x3df0u >= 0x4130u - 0x3df0u) {
        if (hw < 0x3df0) {
            *sp = f64(bits(__builtin_fma(-0x1p-64, x, x)) | (bits(x) & 0x8000000000000000ull));
            *cp = __builtin_fma(-x, x, 1.0);
            return;
        }
        __libm_sincos_e7_local(x, sp, cp);
        return;
    }
#if !TSR_TIER_Z0
    if (!rn_probe()) return sincos_fma_directed(x, sp, cp);
#endif
    sincos_fma_core(x, sp, cp);
}
#endif

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(void, sincos, (double x, double *sp, double *cp)) { sincos_e7<TSR_TIER_EX>(x, sp, cp); }
#if TSR_TIER_EX
TSR_DEFINE(void, __bwr_sincos, (double x, double *sp, double *cp)) { sincos_e7<true>(x, sp, cp); }
#endif
#if TSR_TIER_E7
TSR_BODY(void, __libm_sse2_sincos, (double x, double *sp, double *cp)) { sincos_e7<true>(x, sp, cp); }
#endif
#else
TSR_BODY(void, sincos, (double x, double *sp, double *cp)) { sincos_fma(x, sp, cp); }
#if TSR_TIER_L9
TSR_BODY(void, __libm_sse2_sincos, (double x, double *sp, double *cp)) { sincos_fma(x, sp, cp); }
#endif
#endif

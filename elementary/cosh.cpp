// cosh and coshf: the scheme of sinh (see sinh.cpp) with the sum of the two sides.
//
// Double, tier ex: both sides from 0.01 up, the upward side alone past 22.87, an even
// polynomial below 0.01 and 1 + |x| below 2^-57.  Tier e7: the pair scheme from 0.125 up,
// an even series below.  Tier l9: the fused form of sinh on
// 0.359375 <= |x| < 640, the rest to tier e7.  Single: as sinhf.
#include "elementary/hyp_common.h"

using namespace tsr;
using namespace tsr::hyp;

namespace {

#if TSR_TIER_EX
inline double cosh_body(double x) {
    uint32_t hx = hi(x) & 0x7fffffff;
    if (hx > 0x4036dfb4) {  // |x| > 22.87
        if (hx > 0x408633cd) {
            if (hx > 0x7fefffff) return x * x;
            // 710.4758600739439 (low word 0x8fb9f87e) is the first whose cosh overflows.
            if (!(hx == 0x408633ce && lo(x) < 0x8fb9f87e))
                return report(x, opaque(0x1p+1000) * 0x1p+1000,
                              code::cosh_overflow);
        }
        RnGuardInexact g;
        double a = opaque(__builtin_fabs(x));
        Half h = one_sided(reduce(a));
        double sh = g.finish(h.h), sl = g.finish(h.l);
        return (sh + sl) * 0x1p512;
    }
    if (hx > 0x3f847ae0) {  // |x| > 0.01: both sides
        RnGuardInexact g;
        double a = opaque(__builtin_fabs(x));
        Sides s = sides(reduce(a));
        double Dd = s.P + s.Q;
        double c = ((s.P - Dd) + s.Q) + (s.p + s.q);
        double dh = g.finish(Dd), dl = g.finish(c);
        return dh + dl;
    }
    if (hx > 0x3c5fffff) {  // 2^-57 <= |x| <= 0.01: 1 + x^2/2 + x^4/24 + x^6/720
        double z = x * x, w = z * z;
        return ((0x1.6c1716a3d464ep-10 * w + 0.5) * z + w * 0x1.555555554a6cfp-5) + 1.0;
    }
    return __builtin_fabs(x) + 1.0;  // 1, inexact unless x = 0
}

#endif

#if TSR_TIER_E7
inline double cosh_e7(double x) {
    uint32_t t = (hi(x) >> 16) & 0x7fff;
    double a = __builtin_fabs(x);
    int k;
    if (t - 0x3fc0u < 0x4078u - 0x3fc0u) {
        double r = e7_reduce(a, k);
        return e7_cosh_sum(e7_core(r, k, 0, true));
    }
    if (t < 0x3fc0) return t >= 0x3e50 ? e7_cosh_small(x, false) : e7_cosh_tiny(x);
    if (t >= 0x7ff0) return x * x;
    uint32_t hx = hi(x) & 0x7fffffff;
    if (hx > 0x408633ce || (hx == 0x408633ce && lo(x) >= 0x8fb9f87e))
        return report(x, opaque(0x1p+1000) * 0x1p+1000, code::cosh_overflow);
    double r = e7_reduce(a, k);
    return e7_one_sided(r, k, 0);
}
#endif

#if TSR_TIER_EX
inline float coshf_body(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    double xd = x, a = __builtin_fabs(xd);
    if (b >= 0x3f000000) {  // |x| >= 1/2
        if (b >= 0x7f800000) return x * x;
        if (b >= 0x42b2d4fd)
            return report(x, opaque(0x1p+100f) * 0x1p+100f, code::coshf_overflow);
        RedF o = reduce_f(a);
        double y;
        if (b >= 0x42000000) {  // |x| >= 32: ½e^|x|
            y = (o.ep * o.tp) * pow2(o.n - 1);
        } else {
            y = (o.ep * o.tp) * pow2(o.n - 1) + (o.em * o.tm) * pow2(-o.n - 1);
        }
        return float(y);
    }
    double z = xd * xd;
    if (b >= 0x3d800000) {  // 1/16 <= |x| < 1/2
        double w = z * z;
        return float((0x1.a3001dcf5905bp-16 * w + 0x1.5555572601504p-5) * w +
                     (0x1.6c1437543543ep-10 * w + 0x1.fffffffe2f097p-2) * z + 1.0);
    }
    if (b >= 0x32000000)  // 2^-27 <= |x| < 1/16
        return float((0x1.556666e6d0908p-5 * z + 0x1.ffffff3327c54p-2) * z + 1.0);
    return 1.0f + f32(b);  // 1, inexact unless x = 0
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, cosh, (double x)) { return cosh_body(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, cosh, (double x)) { return cosh_e7(x); }
#endif
#if TSR_TIER_EX
TSR_BODY(float, coshf, (float x)) { return coshf_body(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(float, coshf, (float x)) {
    uint32_t b = bits(x) & 0x7fffffff;
    if ((b & 0x7fff0000) - 0x3e000000u < 0x42400000u - 0x3e000000u) {
        F7 o = f7_core(b, 0);
        return float(f7_up(o) + f7_down(o));
    }
    if (b < 0x3e000000) return b >= 0x39000000 ? f7_cosh_small(x, 0x1.6c16c2p-10) : f7_cosh_tiny(x);
    if (b >= 0x7f800000) return x * x;
    if (b >= 0x42b2d4fd) return report(x, opaque(0x1p+100f) * 0x1p+100f, code::coshf_overflow);
    F7 o = f7_core(b, 0);
    return float(o.A + o.A * (o.gA * o.hA));
}
#endif

#if TSR_TIER_L9

TSR_BODY(double, cosh, (double x)) {
    uint32_t hx = hi(x) & 0x7fffffff;
    if (__builtin_expect(hx - 0x3fd70000u > 0x4083ffffu - 0x3fd70000u, 0)) return __libm_cosh_e7_local(x);
    Fma o = fma_core(__builtin_fabs(x));
    double Ch = o.Ah + o.Bh, Cl = o.Al + o.Bl;
    double e = ((Ch - o.Ah) - o.Bh) - Cl, e2 = (Cl - o.Al) - o.Bl;
    return Ch + (__builtin_fma(o.Ah, o.Pp, -e) - __builtin_fma(o.Bh, o.Pm, e2));
}

TSR_BODY(float, coshf, (float x)) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (__builtin_expect(b - 0x3eb80000u > 0x42b2d4fbu - 0x3eb80000u, 0)) return __libm_coshf_e7_local(x);
    return float(sinhcoshf_fma(double(f32(b)), true));
}
#endif

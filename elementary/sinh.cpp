// sinh and sinhf.
//
// Double, tier ex: one reduction of |x| gives e^|x| and e^-|x| as scaled table rows
// times (head, correction); the heads are exact products, so sinh = ½(e^|x| - e^-|x|) takes
// the difference of the heads first and the cancellation costs nothing.  Past 22.87 the
// downward side is below half an ulp and is left out; at the overflow threshold the result
// is reported.  Small arguments take an odd polynomial.
// Tier e7: the pair scheme (hyp_common.h): k by the conversion instruction, rows of
// 2^(+-j/128) as (hi, lo) pairs scaled by the sign and 2^(+-n-1), e^y - 1 by degree 5 on both
// sides at once; the upward side alone from 384; an odd series with an exact head of x^3/6.
// Tier l9: the same split with fused multiply-adds on 0.359375 <= |x| < 640, tables of
// 2^(+-j/128) as (hi, lo) pairs, degree-5 polynomials for e^r - 1 and 1 - e^-r; the rest of
// the line goes to tier e7.
//
// Single, tier ex: the single-precision reduction with N = 64 in double, rounded once.
// Tier e7: the pair scheme with N = 32 in double.  Tier l9: N = 32 with fused multiply-adds on 0.359375 <= |x| <= 89.4159.
#include "elementary/hyp_common.h"

using namespace tsr;
using namespace tsr::hyp;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
// |x| = 710.4758600739439 (hi word 0x408633ce, low word 0x8fb9f87e) is the first double
// whose sinh rounds past the largest finite value.
inline bool sinh_overflows(uint32_t hx, uint32_t lx) {
    return hx > 0x408633ce || (hx == 0x408633ce && lx >= 0x8fb9f87e);
}

#endif

#if TSR_TIER_EX
inline double sinh_body(double x) {
    uint32_t hx = hi(x) & 0x7fffffff;
    if (hx > 0x4036dfb4) {  // |x| > 22.87
        if (hx > 0x7fefffff) return x + x;
        if (sinh_overflows(hx, lo(x)))
            return report(x, with_sign(0x1p+1000, x) * 0x1p+1000,
                          code::sinh_overflow);
        RnGuardInexact g;
        double a = opaque(__builtin_fabs(x));
        Half h = one_sided(reduce(a));
        double sh = g.finish(with_sign(h.h, x)), sl = g.finish(with_sign(h.l, x));
        return (sh + sl) * 0x1p512;
    }
    if (hx > 0x3f947ae0) {  // |x| > 0.02: both sides
        RnGuardInexact g;
        double a = opaque(__builtin_fabs(x));
        Sides s = sides(reduce(a));
        double Dd = s.P - s.Q;
        double c = ((s.P - Dd) - s.Q) + (s.p - s.q);
        double dh = g.finish(with_sign(Dd, x)), dl = g.finish(c);
        return dh + (hi(x) >> 31 ? -dl : dl);
    }
    if (hx > 0x3c5fffff) {  // 2^-57 <= |x| <= 0.02: x + x^3/6 + ... + x^9/9!
        double z = x * x, w = z * z;
        return ((0x1.71e39b9ff12fp-19 * w + 0x1.11111111111c1p-7) * w +
                (0x1.a01a01940cd88p-13 * w + 0x1.5555555555555p-3) * z) * x + x;
    }
    // x and a little more, rounded by the caller's mode (x·(1 + x) would move a directed
    // result by two ulps).
    if (hx >= 0x100000) return (x * 0x1p64 + x) * 0x1p-64;
    if ((bits(x) << 1) == 0) return x;
    return x + with_sign(0x1p-1000, x) * 0x1p-1000;  // underflow, inexact
}

#endif

#if TSR_TIER_E7
// The pair scheme of hyp_common.h: both sides on 0.359375 <= |x| < 384, the upward side
// alone above, the odd series with a double-double cube below.
inline double sinh_e7(double x) {
    uint32_t t = (hi(x) >> 16) & 0x7fff;
    uint64_t sg = (bits(x) >> 48) & 0x8000;
    double a = __builtin_fabs(x);
    int k;
    if (t - 0x3fd7u < 0x4078u - 0x3fd7u) {
        double r = e7_reduce(a, k);
        return e7_sinh_sum(e7_core(r, k, sg, false));
    }
    if (t < 0x3fd7) return t >= 0x3df0 ? e7_sinh_small(x) : e7_sinh_tiny(x);
    if (t >= 0x7ff0) return x * a;
    if (sinh_overflows(hi(x) & 0x7fffffff, lo(x)))
        return report(x, with_sign(0x1p+1000, x) * 0x1p+1000, code::sinh_overflow);
    double r = e7_reduce(a, k);
    return e7_one_sided(r, k, sg);
}
#endif

#if TSR_TIER_EX
// Single precision in double.  0x42b2d4fd (89.41599) is the first float whose sinh rounds
// past the largest float.
inline float sinhf_body(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    double xd = x, a = __builtin_fabs(xd);
    if (b >= 0x3f000000) {  // |x| >= 1/2
        if (b >= 0x7f800000) return x + x;
        if (b >= 0x42b2d4fd)
            return report(x, with_sign(0x1p+100f, x) * 0x1p+100f, code::sinhf_overflow);
        RedF o = reduce_f(a);
        double y;
        if (b >= 0x42000000) {  // |x| >= 32: ½e^|x|
            y = (o.ep * o.tp) * pow2(o.n - 1);
        } else {
            y = (o.ep * o.tp) * pow2(o.n - 1) - (o.em * o.tm) * pow2(-o.n - 1);
        }
        return float(with_sign(y, xd));
    }
    if (b >= 0x3d800000) {  // 1/16 <= |x| < 1/2
        double z = xd * xd, w = z * z;
        return float(((0x1.749d84bc96d7dp-19 * w + 0x1.11111326ed15ap-7) * w +
                      (0x1.a0168d09557cfp-13 * w + 0x1.55555552ed1e2p-3) * z) * xd + xd);
    }
    if (b >= 0x32000000) {  // 2^-27 <= |x| < 1/16
        double z = xd * xd;
        return float((0x1.111c71fc8e65ap-7 * z + 0x1.555554fa4d5d9p-3) * z * xd + xd);
    }
    if (b >= 0x800000) {
        force(1.0f + opaque(x));  // inexact
        return x;
    }
    if (b == 0) return x;
    return x + with_sign(0x1p-100f, x) * 0x1p-100f;  // underflow, inexact
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, sinh, (double x)) { return sinh_body(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, sinh, (double x)) { return sinh_e7(x); }
#endif
#if TSR_TIER_EX
TSR_BODY(float, sinhf, (float x)) { return sinhf_body(x); }
#endif
#if TSR_TIER_E7
// Single: the pair scheme in double on 0.359375 <= |x| < 96, the upward side alone from 48.
TSR_BODY(float, sinhf, (float x)) {
    uint32_t b = bits(x) & 0x7fffffff;
    uint64_t sg = (bits(x) >> 16) & 0x8000;
    if ((b & 0x7fff0000) - 0x3eb80000u < 0x42400000u - 0x3eb80000u) {
        F7 o = f7_core(b, sg);
        return float(f7_up(o) - f7_down(o));
    }
    if (b < 0x3eb80000) return b >= 0x39000000 ? f7_sinh_small(x) : f7_sinh_tiny(x);
    if (b >= 0x7f800000) return x * f32(b);
    if (b >= 0x42b2d4fd)
        return report(x, with_sign(0x1p+100f, x) * 0x1p+100f, code::sinhf_overflow);
    F7 o = f7_core(b, sg);
    return float(o.A + o.A * (o.gA * o.hA));
}
#endif

#if TSR_TIER_L9

TSR_BODY(double, sinh, (double x)) {
    uint32_t hx = hi(x) & 0x7fffffff;
    if (__builtin_expect(hx - 0x3fd70000u > 0x4083ffffu - 0x3fd70000u, 0)) return __libm_sinh_e7_local(x);
    Fma o = fma_core(__builtin_fabs(x));
    double Dh = o.Ah - o.Bh, Dl = o.Al - o.Bl;
    double e = ((o.Ah - Dh) - o.Bh) + Dl, e2 = (o.Al - Dl) - o.Bl;
    double y = Dh + (__builtin_fma(o.Ah, o.Pp, e) + __builtin_fma(o.Bh, o.Pm, e2));
    return with_sign(y, x);
}


TSR_BODY(float, sinhf, (float x)) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (__builtin_expect(b - 0x3eb80000u > 0x42b2d4fbu - 0x3eb80000u, 0)) return __libm_sinhf_e7_local(x);
    return with_sign(float(sinhcoshf_fma(double(f32(b)), false)), x);
}
#endif

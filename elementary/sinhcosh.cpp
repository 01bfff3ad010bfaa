// sinhcosh and sinhcoshf: sinh and cosh in one pass, the reduction done once (see sinh.cpp).
// The sine and the cosine share the two scaled sides; the one-sided value past 22.87 (384 in
// tier e7, which runs the pair scheme of hyp_common.h) serves both, the sine taking the sign
// of x.
#include "elementary/hyp_common.h"

using namespace tsr;
using namespace tsr::hyp;

namespace {

#if TSR_TIER_EX
inline void sinhcosh_body(double x, double *sp, double *cp) {
    uint32_t hx = hi(x) & 0x7fffffff;
    if (hx > 0x4036dfb4) {  // |x| > 22.87
        if (hx > 0x7fefffff) {  // the sine x, the cosine |x| (or the NaN)
            *sp = 1.0 * x;
            *cp = x * with_sign(1.0, x);
            return;
        }
        if (hx > 0x408633ce || (hx == 0x408633ce && lo(x) >= 0x8fb9f87e)) {
            double s = with_sign(0x1p+1000, x) * 0x1p+1000;
            *cp = opaque(0x1p+1000) * 0x1p+1000;  // +inf, or the largest double toward zero
            *sp = report(x, s, code::sinhcosh_overflow);
            return;
        }
        RnGuardInexact g;
        double a = opaque(__builtin_fabs(x));
        Half h = one_sided(reduce(a));
        double hh = g.finish(h.h), hl = g.finish(h.l);
        double c = (hh + hl) * 0x1p512;
        *cp = c;
        *sp = (with_sign(hh, x) + with_sign(hl, x)) * 0x1p512;
        return;
    }
    if (hx > 0x3f8fffff) {  // |x| >= 2^-6: both sides
        RnGuardInexact g;
        double a = opaque(__builtin_fabs(x));
        Sides s = sides(reduce(a));
        double Ds = s.P - s.Q, Dc = s.P + s.Q;
        double es = ((s.P - Ds) - s.Q) + (s.p - s.q), ec = ((s.P - Dc) + s.Q) + (s.p + s.q);
        Ds = g.finish(with_sign(Ds, x));
        es = g.finish(with_sign(es, x));
        Dc = g.finish(Dc);
        ec = g.finish(ec);
        *sp = Ds + es;
        *cp = Dc + ec;
        return;
    }
    if (hx > 0x3c5fffff) {  // 2^-57 <= |x| < 2^-6
        double z = x * x;
        *sp = ((((0x1.71dea5ee91f03p-19 * z + 0x1.a01a01a00931bp-13) * z + 0x1.1111111111111p-7) * z +
                0x1.5555555555555p-3) * z) * x + x;
        *cp = (((0x1.a01a9592b184cp-16 * z + 0x1.6c16c16bffa38p-10) * z + 0x1.5555555555555p-5) * z + 0.5) * z +
              1.0;
        return;
    }
    if (hx >= 0x100000)
        *sp = (x * 0x1p64 + x) * 0x1p-64;
    else if ((bits(x) << 1) == 0)
        *sp = x;
    else
        *sp = x + with_sign(0x1p-1000, x) * 0x1p-1000;
    *cp = __builtin_fabs(x) + 1.0;
}

#endif

#if TSR_TIER_E7
// The pair scheme once: the sine's sign rides in the rows, the cosine clears it.
inline void sinhcosh_e7(double x, double *sp, double *cp) {
    uint32_t t = (hi(x) >> 16) & 0x7fff;
    uint64_t sg = (bits(x) >> 48) & 0x8000;
    double a = __builtin_fabs(x);
    int k;
    if (t - 0x3fd7u < 0x4078u - 0x3fd7u) {
        double r = e7_reduce(a, k);
        E7 o = e7_core(r, k, sg, false);
        *sp = e7_sinh_sum(o);
        o.wB = -o.wB;
        *cp = __builtin_fabs(e7_cosh_sum(o));
        return;
    }
    if (t - 0x3fc0u < 0x3fd7u - 0x3fc0u) {
        // 1/8 <= |x| < 0.359375: the sine by its series, the cosine by the pair scheme as in
        // cosh (the even series reaches 0.56 ulp next to 0.359375).
        double r = e7_reduce(a, k);
        *sp = e7_sinh_small(x);
        *cp = e7_cosh_sum(e7_core(r, k, 0, true));
        return;
    }
    if (t < 0x3fc0) {
        if (t >= 0x3df0) {
            *sp = e7_sinh_small(x);
            *cp = e7_cosh_small(x, true);
        } else {
            *sp = e7_sinh_tiny(x);
            *cp = e7_cosh_tiny(x);
        }
        return;
    }
    if (t >= 0x7ff0) {
        *sp = x * a;
        *cp = a;
        return;
    }
    uint32_t hx = hi(x) & 0x7fffffff;
    if (hx > 0x408633ce || (hx == 0x408633ce && lo(x) >= 0x8fb9f87e)) {
        double s = with_sign(0x1p+1000, x) * 0x1p+1000;
        *cp = opaque(0x1p+1000) * 0x1p+1000;  // +inf, or the largest double toward zero
        *sp = report(x, s, code::sinhcosh_overflow);
        return;
    }
    double r = e7_reduce(a, k);
    double T = e7_one_sided(r, k, sg);
    *sp = T;
    *cp = __builtin_fabs(T);
}

inline void sinhcoshf_e7(float x, float *sp, float *cp) {
    uint32_t b = bits(x) & 0x7fffffff;
    uint64_t sg = (bits(x) >> 16) & 0x8000;
    if ((b & 0x7fff0000) - 0x3eb80000u < 0x42400000u - 0x3eb80000u) {
        F7 o = f7_core(b, sg);
        double u = f7_up(o), v = f7_down(o);
        *sp = float(u - v);
        *cp = float(__builtin_fabs(u + v));
        return;
    }
    if (b - 0x3e000000u < 0x3eb80000u - 0x3e000000u) {
        // 1/8 <= |x| < 0.359375: the sine by its series, the cosine by the pair scheme as in
        // coshf (the even series, fitted for float arithmetic, reaches 0.518 ulp here).
        F7 o = f7_core(b, 0);
        *sp = f7_sinh_small(x);
        *cp = float(f7_up(o) + f7_down(o));
        return;
    }
    if (b < 0x3e000000) {
        if (b >= 0x39000000) {
            *sp = f7_sinh_small(x);
            *cp = f7_cosh_small(x, 0x1.6c823cp-10);
        } else {
            *sp = f7_sinh_tiny(x);
            *cp = f7_cosh_tiny(x);
        }
        return;
    }
    if (b >= 0x7f800000) {
        *sp = x * f32(b);
        *cp = f32(b);
        return;
    }
    if (b >= 0x42b2d4fd) {
        float s = with_sign(0x1p+100f, x) * 0x1p+100f;
        *cp = opaque(0x1p+100f) * 0x1p+100f;  // +inf, or the largest float toward zero
        *sp = report(x, s, code::sinhcoshf_overflow);
        return;
    }
    F7 o = f7_core(b, sg);
    double T = o.A + o.A * (o.gA * o.hA);
    *sp = float(T);
    *cp = float(__builtin_fabs(T));
}
#endif

#if TSR_TIER_EX
inline void sinhcoshf_body(float x, float *sp, float *cp) {
    uint32_t b = bits(x) & 0x7fffffff;
    double xd = x, a = __builtin_fabs(xd);
    if (b >= 0x3f000000) {  // |x| >= 1/2
        if (b >= 0x7f800000) {
            *sp = x * 1.0f;
            *cp = x * with_sign(1.0f, x);
            return;
        }
        if (b >= 0x42b2d4fd) {
            float s = with_sign(0x1p+100f, x) * 0x1p+100f;
            *cp = opaque(0x1p+100f) * 0x1p+100f;  // +inf, or the largest float toward zero
            *sp = report(x, s, code::sinhcoshf_overflow);
            return;
        }
        RedF o = reduce_f(a);
        double u = (o.ep * o.tp) * pow2(o.n - 1);
        if (b >= 0x42000000) {  // |x| >= 32: ½e^|x|
            *sp = float(with_sign(u, xd));
            *cp = float(u);
            return;
        }
        double v = (o.em * o.tm) * pow2(-o.n - 1);
        *sp = float(with_sign(u - v, xd));
        *cp = float(u + v);
        return;
    }
    double z = xd * xd;
    if (b >= 0x3d800000) {  // 1/16 <= |x| < 1/2
        double w = z * z;
        *sp = float(((0x1.749d84bc96d7dp-19 * w + 0x1.11111326ed15ap-7) * w +
                     (0x1.a0168d09557cfp-13 * w + 0x1.55555552ed1e2p-3) * z) * xd + xd);
        *cp = float((0x1.a3001dcf5905bp-16 * w + 0x1.5555572601504p-5) * w +
                    (0x1.6c1437543543ep-10 * w + 0x1.fffffffe2f097p-2) * z + 1.0);
        return;
    }
    if (b >= 0x32000000) {  // 2^-27 <= |x| < 1/16
        *sp = float((0x1.111c71fc8e65ap-7 * z + 0x1.555554fa4d5d9p-3) * z * xd + xd);
        *cp = float((0x1.556666e6d0908p-5 * z + 0x1.ffffff3327c54p-2) * z + 1.0);
        return;
    }
    if (b >= 0x800000) {
        force(1.0f + opaque(x));
        *sp = x;
    } else if (b == 0) {
        *sp = x;
    } else {
        *sp = x + with_sign(0x1p-100f, x) * 0x1p-100f;
    }
    *cp = 1.0f + f32(b);
}

#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(void, sinhcosh, (double x, double *s, double *c)) { sinhcosh_body(x, s, c); }
#else
TSR_BODY(void, sinhcosh, (double x, double *s, double *c)) { sinhcosh_e7(x, s, c); }
#endif
#if TSR_TIER_EX
TSR_BODY(void, sinhcoshf, (float x, float *s, float *c)) { sinhcoshf_body(x, s, c); }
#else
TSR_BODY(void, sinhcoshf, (float x, float *s, float *c)) { sinhcoshf_e7(x, s, c); }
#endif

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
            double s = with_sign(D(0x7e70000000000000), x) * D(0x7e70000000000000);
            *cp = f64(0x7ff0000000000000ull);
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
        *sp = ((((D(0x3ec71dea5ee91f03) * z + D(0x3f2a01a01a00931b)) * z + D(0x3f81111111111111)) * z +
                D(0x3fc5555555555555)) * z) * x + x;
        *cp = (((D(0x3efa01a9592b184c) * z + D(0x3f56c16c16bffa38)) * z + D(0x3fa5555555555555)) * z + 0.5) * z +
              1.0;
        return;
    }
    if (hx >= 0x100000)
        *sp = x * (1.0 + x);
    else if ((bits(x) << 1) == 0)
        *sp = x;
    else
        *sp = x + with_sign(D(0x0170000000000000), x) * D(0x0170000000000000);
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
    if (t < 0x3fd7) {
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
        double s = with_sign(D(0x7e70000000000000), x) * D(0x7e70000000000000);
        *cp = f64(0x7ff0000000000000ull);
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
            *cp = f7_cosh_small(x, D(0x3f56c823c0000000));
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
        float s = with_sign(F(0x71800000), x) * F(0x71800000);
        *cp = f32(0x7f800000u);
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
            float s = with_sign(F(0x71800000), x) * F(0x71800000);
            *cp = f32(0x7f800000u);
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
        *sp = float(((D(0x3ec749d84bc96d7d) * w + D(0x3f811111326ed15a)) * w +
                     (D(0x3f2a0168d09557cf) * w + D(0x3fc55555552ed1e2)) * z) * xd + xd);
        *cp = float((D(0x3efa3001dcf5905b) * w + D(0x3fa5555572601504)) * w +
                    (D(0x3f56c1437543543e) * w + D(0x3fdfffffffe2f097)) * z + 1.0);
        return;
    }
    if (b >= 0x32000000) {  // 2^-27 <= |x| < 1/16
        *sp = float((D(0x3f8111c71fc8e65a) * z + D(0x3fc555554fa4d5d9)) * z * xd + xd);
        *cp = float((D(0x3fa556666e6d0908) * z + D(0x3fdffffff3327c54)) * z + 1.0);
        return;
    }
    if (b >= 0x800000) {
        force(1.0f + opaque(x));
        *sp = x;
    } else if (b == 0) {
        *sp = x;
    } else {
        *sp = x + with_sign(F(0x0d800000), x) * F(0x0d800000);
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

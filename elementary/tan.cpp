// tan and cot.
//
// Tiers ex, e7 (and cot, one tier): two reductions side by side, t = x - a·pi/2 (the
// distance from the nearest multiple of pi/2) and r = x - k·pi/32 (from the row's centre),
// each in three parts.  A row of 32 holds the degree-15 Taylor expansion of tan around its
// centre, the powers 2..7 and 8..15 in two lanes, the value and the linear coefficient in
// two parts.  Rows within 7·pi/32 of pi/2 expand tan(x) + 1/t instead, and the pole term
// -1/t is added from the one division 1/t0 (t0 a 34-bit head of t) corrected by one Newton
// step.  cot(x) = tan(-x + pi/2): the same rows read 16 on, on -x, reduced above the medium
// range by __libm_reduce_pio2d.
//
// Tiers l9, z0, d1: k = round(128·|x|/pi) by a shifter, 128 rows; in the rows within pi/4
// of 0 (mod pi) tan(t) = t·(c + r·G(r)), in the others tan = -(c + G(r))/t with t the
// distance from pi/2, both by fused multiply-adds; |x| < 2^20 (the reduction stays exact to
// there), larger arguments go to e7.
#include "elementary/trig_common.h"
#include "elementary/trig_kernels.h"
#include "tsr/codes.h"
#include "tsr/report.h"
#if TSR_TIER_Z0 || TSR_TIER_D1
#include "tsr/avx512.h"
#endif

using namespace tsr;
using namespace tsr::trig;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
// The rows of tan_rows32 at x (with tail: the true argument is x + tail), d1 = 16·a and k
// counting pi/32, the row j.
inline double tan_rows(double x, double tail, double d1, double d2, int j) {
    // Lane 1: t = rho1 + err1; lane 2: r = rho2 + err2.
    double y1 = x - d1 * 0x1.921fb54444p-4;
    double y2 = x - d2 * 0x1.921fb5444p-4;
    double m1 = d1 * -0x1.2e7b967674p-44, m2 = d2 * 0x1.68c234c4cp-43;
    double rho1 = y1 - m1, rho2 = y2 - m2;
    double err1 = ((y1 - rho1) - m1) - d1 * 0x1.8a2e03707344ap-85 + tail;
    double err2 = ((y2 - rho2) - m2) - d2 * 0x1.98a2e03707345p-81 + tail;
    double t0 = f64(bits(y1 + d1 * 0x1.2e7b9676733afp-44) & 0xfffffffffffc0000ull);
    double q = 1.0 / t0;
    err1 = err1 + (rho1 - t0);
    const TanRow &w = tan_rows32[j & 31];
    double r = rho2, r2 = r * r, r4 = r2 * r2, r5 = r4 * r, r8 = r4 * r4;
    auto P = [&](int l) {
        const double *c = w.lane + l;  // c[2i]: coefficient i of the lane
        return c[0] + c[2] * r + r2 * (c[4] + c[6] * r) + r4 * c[8] +
               r5 * (c[10] + c[12] * r + r2 * c[14]);
    };
    double Q = r8 * P(0) + P(1);
    double a1 = r * w.a, b1 = r * w.b;
    double h = a1 + b1;
    double l = (a1 - h) + b1;
    // err2 carries the tail of a huge argument's reduction (up to half an ulp of r): its
    // slope is taken at r, not at the row's centre, or it costs up to 0.07 ulp next to pi/4.
    double slope = (w.a + w.b) + 2.0 * w.lane[5] * r;  // lane[5]: the r^2 coefficient
    Q = Q + ((slope * err2 + w.tlo) + l);
    double qm = f64(bits(q) & w.mask);
    double n = (1.0 - t0 * qm) - err1 * q;
    double wp = n * (q * w.mult);
    // T1 + eT = qm - T hi exactly (|qm| > |T hi| in a pole row; qm = 0 elsewhere): in a pole
    // row near pi/2 the head qm is large and the difference is not a double.
    double T1 = qm - w.thi;
    double eT = (qm - T1) - w.thi;
    double g = h - T1;
    double T2 = T1 + g;
    return (((Q + (h - T2)) - eT) - wp) + g;
}

inline double half_toward(double v) { return v + (v < 0 ? -0.5 : 0.5); }

inline double tan_e7(double x) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    if (hw - 0x3fbau > 0x40c8u - 0x3fbau) {
        if (hw < 0x3fba) {
            if (hw >= 0x3e20) {
                double s = x * x;
                return x + x * s * ((((0x1.2609ab8fe4d77p-7 * s + 0x1.664a0bf847a43p-6) * s +
                                      0x1.ba1ba52c4c8abp-5) * s + 0x1.1111111092746p-3) * s +
                                    0x1.5555555555612p-2);
            }
            if (hw < 0x10) {
                force(x * x);  // underflow for a subnormal
                return x;
            }
            return (x + x * 0x1p55) * 0x1p-55;
        }
        if (hw >= 0x7ff0) return x * -0.0;
        Reduced h = reduce_huge<2>(x);
        double a = double(int(half_toward(h.y * 0x1.45f306dc9c883p-1)));
        double k = double(int(half_toward(h.y * 0x1.45f306dc9c883p+3)));
        return tan_rows(h.y, h.t, 16.0 * a, k, int(k) + 16 * h.n);
    }
    double a = double(int(half_toward(x * 0x1.45f306dc9c883p-1)));
    double k = double(int(half_toward(x * 0x1.45f306dc9c883p+3)));
    return tan_rows(x, 0.0, 16.0 * a, k, int(k));
}
#endif

#if TSR_TIER_EX
// cot(x) = tan(-x + pi/2), with k rounded to nearest by shifters (the rounding control
// cleared for them) and the caller's mode back for the last addition of the rows' sum.
inline double cot_body(double x, bool single, float xf) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    if (hw - 0x3820u >= 0x40c9u - 0x3820u) {
        if (hw >= 0x7ff0) return x * -0.0;
        if (hw < 0x3820) {
            double v = 1.0 / x;  // cot x = 1/x - x/3
            if (x != 0) return v - x * 0x1.5555555555555p-2;  // 1/3
            if (single) return report(xf, xf, float(v), code::cotf_overflow_at_a_pole);
            return report(x, x, v, code::cot_overflow_at_a_pole);
        }
    }
    RnGuard g;
    x = opaque(-x);
    double tail = 0;
    int j16 = 16;
    if (hw >= 0x40c9) {
        double y[2];
        j16 += 16 * __libm_reduce_pio2d(x, y);
        x = y[0];
        tail = y[1];
    }
    double v32 = x * 0x1.45f306dc9c883p+3;
    double d1 = opaque(v32 + 0x1.8p+56) - 0x1.8p+56;
    double d2 = opaque(v32 + 0x1.8p+52) - 0x1.8p+52;
    double v = tan_rows(x, tail, d1, d2, int(d2) + j16);
    return g.finish(v);
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double tan_fma_core(double a) {
#if TSR_TIER_Z0
    double S = avx512::fma_rn(0x1.45f306dc9c883p-2, a, 0x1.8p+45);
#else
    double S = __builtin_fma(0x1.45f306dc9c883p-2, a, 0x1.8p+45);
#endif
    double kf = S - 0x1.8p+45;
    uint64_t k = bits(S);
    int j = int(k & 127);
    // r + e = a - kf·pi by pi in three parts.  r0 is exact (kf·pi's grid is 2^-58 and r0 is
    // below 2^-6); the product with the second part, up to 55 bits, is split exactly into
    // ph + pl and subtracted by an exact sum, so that nothing is lost when a lies within
    // 2^-55 of a multiple of pi.  r comes from r1 by one subtraction; e, off the critical
    // path, collects the errors.
    double r0 = __builtin_fma(kf, -0x1.921fb54442d18p+1, a);
    double ph = kf * 0x1.1a62633p-53;
    double pl = __builtin_fma(kf, 0x1.1a62633p-53, -ph);
    double r1 = r0 - ph;
    double bb = r1 - r0;
    double e1 = (r0 - (r1 - bb)) - (ph + bb);  // r0 - ph = r1 + e1 exactly
    double s2 = __builtin_fma(kf, 0x1.45c06e0e68948p-85, pl);
    double r = r1 - s2;
    double e = e1 + ((r1 - r) - s2);
    const double *A = tan_poly128[j];
    const double *c = tan_scale128[j];
    double P3 = __builtin_fma(A[0], r, A[1]), P2 = __builtin_fma(A[2], r, A[3]);
    double P1 = __builtin_fma(A[4], r, A[5]), P0 = __builtin_fma(A[6], r, A[7]);
    double r2 = r * r;
    P2 = __builtin_fma(r2, P3, P2);
    P0 = __builtin_fma(r2, P1, P0);
    double G = __builtin_fma(P2, r2 * r2, P0);
    double w = r + c[2];
    double d = w - c[2];
    double e2 = e + c[3];
    if ((((k >> 5) + 1) & 2) == 0) {  // rows 0..31 and 96..127: tan(t) = t·(c + r·G)
        double e3 = e2 + (r - d);
        double e4 = __builtin_fma(e3, c[0], w * c[1]);
        return __builtin_fma(w, c[0], __builtin_fma(r * w, G, e4));
    }
    double q = 1.0 / w;  // rows 32..95: tan = -(t/tan t)/t... as (c + G)/w
    double e5 = e2 + (r - d);
    double n = __builtin_fma(-w, q, 1.0);
    n = __builtin_fma(-q, e5, n);
    n = __builtin_fma(n, c[0], G);
    return __builtin_fma(q, c[0], q * n);
}

#if !TSR_TIER_Z0
__attribute__((noinline, cold)) double tan_fma_directed(double a, uint64_t sign) {
    RnGuard g;
    a = opaque(a);
    double v = g.finish(tan_fma_core(a));
    return f64(bits(v) ^ sign);
}
#endif

inline double tan_fma(double x) {
    uint64_t b = bits(x);
    uint32_t ix = uint32_t(b >> 32) & 0x7fffffff;
    if (ix - 0x3e200000u >= 0x41300000u - 0x3e200000u) {
        // tan x = x + x^3/3: x, with inexact (and the step up in the upward mode).
        if (ix < 0x3e200000) return __builtin_fma(x, 0x1p-60, x);
        return __libm_tan_e7_local(x);
    }
    uint64_t sign = b & 0x8000000000000000ull;
    double a = f64(b ^ sign);
#if !TSR_TIER_Z0
    if (!rn_probe()) return tan_fma_directed(a, sign);
#endif
    return f64(bits(tan_fma_core(a)) ^ sign);
}
#endif

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, tan, (double x)) { return tan_e7(x); }
#else
TSR_BODY(double, tan, (double x)) { return tan_fma(x); }
#endif
#if TSR_TIER_EX
TSR_BODY(double, cot, (double x)) { return cot_body(x, false, 0.0f); }
TSR_BODY(float, cotf, (float x)) { return float(cot_body(double(x), true, x)); }
TSR_DEFINE(double, __bwr_tan, (double x)) { return tan_e7(x); }
TSR_DEFINE(double, __bwr_cot, (double x)) { return cot_body(x, false, 0.0f); }
TSR_DEFINE(float, __bwr_cotf, (float x)) { return float(cot_body(double(x), true, x)); }
#endif

// sind, cosd, sincosd and their float forms.
//
// |x| = 90q + k + d exactly (deg_common.h), k whole, |d| <= 1/2.  sin x° is, by the quadrant Q,
// sin, cos, -sin, -cos of the angle k + d (with x's sign); cos x° the same with Q + 1 and no
// sign; both from the rows of the sine at whole degrees.  The zero angle gives the exact ±1
// or a zero (sind: x's sign, sind(180) = +0, sind(-180) = -0; cosd: +0); 30 and 60 degrees
// give the rows' exact 1/2; no flag.  Elsewhere head and tail with the sign on both before the
// last addition.  sincosd takes both from one reduction.
// Below 2^-100 sind is x·pi/180 (the cube is below 2^-200 of it) and cosd 1 less a tail.
//
// Tiers ex and e7 run these steps alike (e7 is the SSE3 build of them).  The float forms
// widen to double, where every float argument and the whole reduction are exact, take the
// same exact cases, and evaluate the same rows cut after d^4 in double in the caller's mode:
// about 2^-34 of the value, so that the last rounding to float adds at most 2^-10 of an ulp
// to its half ulp.
#include <utility>

#include "elementary/deg_common.h"

using namespace tsr;
using namespace tsr::deg;

namespace {

// Cosine selects the other side: Q + 1, and x's sign is left out.
template <bool Cos>
inline double sind_core(double x) {
    uint64_t ax = bits(x) & kAbs;
    if (ax >= kInfBits) return x - x;  // NaN stays, infinity gives invalid NaN
    if (ax < kSmall) {
        if (Cos) return ax == 0 ? 1.0 : 1.0 - 0x1p-900;  // 1 - t^2/2: 1 in nearest
        if (ax == 0) return x;
        return mul_small(x, kD2rHi, kD2rLo);
    }
    Quadrant w = reduce_whole(f64(ax));
    unsigned q = w.q + (Cos ? 1 : 0);
    uint64_t neg = ((q & 2) ? kSign : 0) ^ (Cos ? 0 : bits(x) & kSign);
    if (w.k == 0 && w.d == 0) {
        if (q & 1) return neg_if(1.0, neg);
        return Cos ? 0.0 : f64(bits(x) & kSign);
    }
    DD v = side_rows(w, q);
    return neg_if(v.h, neg) + neg_if(v.l, neg);
}

// sincosd: both from one reduction, the zero angle as in sind_core.
inline void sincosd_core(double x, double *sp, double *cp) {
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= kInfBits || ax < kSmall) {
        *sp = sind_core<false>(x);
        *cp = sind_core<true>(x);
        return;
    }
    Quadrant w = reduce_whole(f64(ax));
    uint64_t ns = ((w.q & 2) ? kSign : 0) ^ sx, nc = (((w.q + 1) & 2) ? kSign : 0);
    if (w.k == 0 && w.d == 0) {
        *sp = (w.q & 1) ? neg_if(1.0, ns) : f64(sx);
        *cp = (w.q & 1) ? 0.0 : neg_if(1.0, nc);
        return;
    }
    DD s = sin_rows(w), c = cos_rows(w);
    if (w.q & 1) std::swap(s, c);
    *sp = neg_if(s.h, ns) + neg_if(s.l, ns);
    *cp = neg_if(c.h, nc) + neg_if(c.l, nc);
}

// The float forms: sine and cosine (Cos), or both; the steps of sind_core with the rows in
// double (side_rows_f).  Zero: the sine is x, the cosine 1; NaN or infinity: NaN in both.
struct SC {
    double s, c;
};
inline SC sincosdf_core(float xf) {
    double x = xf;
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= kInfBits) return {x - x, x - x};
    if (ax == 0) return {x, 1.0};
    Quadrant w = reduce_whole(f64(ax));
    uint64_t ns = ((w.q & 2) ? kSign : 0) ^ sx, nc = ((w.q + 1) & 2) ? kSign : 0;
    if (w.k == 0 && w.d == 0) {
        if (w.q & 1) return {neg_if(1.0, ns), 0.0};
        return {f64(sx), neg_if(1.0, nc)};
    }
    return {neg_if(side_rows_f(w, w.q), ns), neg_if(side_rows_f(w, w.q + 1), nc)};
}
template <bool Cos>
inline float sindf_core(float xf) {
    double x = xf;
    uint64_t ax = bits(x) & kAbs;
    if (ax >= kInfBits) return float(x - x);
    if (ax == 0) return Cos ? 1.0f : xf;
    Quadrant w = reduce_whole(f64(ax));
    unsigned q = w.q + (Cos ? 1 : 0);
    uint64_t neg = ((q & 2) ? kSign : 0) ^ (Cos ? 0 : bits(x) & kSign);
    if (w.k == 0 && w.d == 0) {
        if (q & 1) return float(neg_if(1.0, neg));
        return Cos ? 0.0f : float(f64(bits(x) & kSign));
    }
    return float(neg_if(side_rows_f(w, q), neg));
}
inline void sincosdf_store(float x, float *s, float *c) {
    SC v = sincosdf_core(x);
    *s = float(v.s);
    *c = float(v.c);
}

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, sind, (double x)) { return sind_core<false>(x); }
TSR_BODY(double, cosd, (double x)) { return sind_core<true>(x); }
TSR_BODY(float, sindf, (float x)) { return sindf_core<false>(x); }
TSR_BODY(float, cosdf, (float x)) { return sindf_core<true>(x); }
TSR_BODY(void, sincosdf, (float x, float *s, float *c)) { sincosdf_store(x, s, c); }
#endif

#if TSR_TIER_EX
TSR_BODY(void, sincosd, (double x, double *s, double *c)) { sincosd_core(x, s, c); }
// The reproducible forms: the ex steps under their own names.
TSR_DEFINE(double, __bwr_sind, (double x)) { return sind_core<false>(x); }
TSR_DEFINE(double, __bwr_cosd, (double x)) { return sind_core<true>(x); }
TSR_DEFINE(float, __bwr_sindf, (float x)) { return sindf_core<false>(x); }
TSR_DEFINE(float, __bwr_cosdf, (float x)) { return sindf_core<true>(x); }
TSR_DEFINE(void, __bwr_sincosd, (double x, double *s, double *c)) { sincosd_core(x, s, c); }
TSR_DEFINE(void, __bwr_sincosdf, (float x, float *s, float *c)) { sincosdf_store(x, s, c); }
#endif

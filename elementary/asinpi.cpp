// asinpi, acospi and their float forms: asin(x)/pi and acos(x)/pi.
//
// One series serves both, s F(v) = asin(s)/pi with v = s^2 on [0, 1/2]: for |x| <= 1/2 on x
// itself, above on s = sqrt((1 - |x|)/2), since asin|x| = pi/2 - 2 asin(s); acos is pi/2 less
// asin.  No division in the lower half; a square root and a reciprocal beside it in the upper.
// The double forms keep s/pi and the cubic term in two parts (arcpi_core): below 0.51 ulp.
//
// Exact results, with no flag: asinpi(±0) = ±0, asinpi(±1) = ±1/2, acospi(1) = +0,
// acospi(-1) = 1, acospi(±0) = 1/2.  |x| < 2^-30: asinpi is x/pi rounded once (x^3/6 lies
// below 2^-61 of x), subnormal results included.  |x| > 1 and the infinities: NaN with
// invalid, reported with the function's code; NaN: x + x.
//
// The float forms run one polynomial in double (arcpif_core) and round once: below 0.5 +
// 2^-13 ulp.  ex without fused multiply-add, l9 with it; the reproducible forms are the ex
// bodies.
#include "elementary/pi_common.h"
#include "tsr/codes.h"
#include "tsr/report.h"
#include "tsr/vectorcore.h"

#include <immintrin.h>

using namespace tsr;
using namespace tsr::pi;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr double kTiny = 0x1p-30;

// 1/sqrt(v) to 1.5·2^-12 for a normal v within the range of floats: the processor's
// single-precision estimate, all in the vector unit (the fused tiers; ex keeps a division,
// whose bits are the same on every processor).
inline double rsqrt_estimate(double v) {
    __m128 f = _mm_cvtsd_ss(_mm_setzero_ps(), _mm_set_sd(v));
    return _mm_cvtsd_f64(_mm_cvtss_sd(_mm_setzero_pd(), _mm_rsqrt_ss(f)));
}

// The pieces of P = s/pi + s v/(6 pi) + s v^2 R(v) = asin(s)/pi (times m, the caller's s
// being m·s, m = 1 or 2; the ex body), with s = sh + sl and v = s^2 = v + vl: the head of s/pi (an exact
// product), the head of the cubic term (an exact product of the exact product sh v and the
// constant's head), and every tail together.  The cubic term is up to 4.5% of the result and
// is kept in two parts, for a rounded one would cost 0.1 ulp; the rest is below 1% and its
// own error (R's 2^-48.6 and the roundings) below 2^-58 of the result.
struct Pieces {
    double a, c, t;  // P = a + c + t
};
// Upper: s has a low part sl and v is exact; lower: s is exact and v has a low part vl.
template <bool Fma, bool Upper>
__attribute__((always_inline)) inline Pieces asin_pieces(double sh, double sl, double v, double vl) {
    DD a = two_prod<Fma>(sh, inv_pi_hilo[0]);
    DD sv = two_prod<Fma>(sh, v);
    DD c = two_prod<Fma>(sv.h, asinpi_sixth[0]);
    double R = estrin<Fma, 14>(asinpi_series, v);
    double ta = a.l + (Upper ? mul_add<Fma>(sl, inv_pi_hilo[0], sh * inv_pi_hilo[1]) : sh * inv_pi_hilo[1]);
    double svl = Upper ? mul_add<Fma>(sl, v, sv.l) : mul_add<Fma>(sh, vl, sv.l);
    double tc = c.l + mul_add<Fma>(sv.h, asinpi_sixth[1], svl * asinpi_sixth[0]);
    double rest = sv.h * (v * R);
    return {a.h, c.h, ta + (tc + rest)};
}

// With fused multiply-add the pieces fold into P = s G(v) + s v^2 R(v), G = (1 + v/6)/pi:
// G in two parts, gh = fma(v, k, 1/pi) rounded once and what that left by a second fused
// operation on 1/pi - gh (exact: gh lies within 5% of 1/pi), then the constants' rests and
// (lower half) k vl; then s gh exactly as its product and remainder.  P's head is that
// product, the cubic term never stands apart (fewer operations than the two exact products
// and two exact sums it takes on its own); the tail s gl + sl gh + the remainder.
struct Fold {
    double h, t;  // P = h + t + w R
    double w, R;
};
template <bool Upper>
__attribute__((always_inline)) inline Fold asin_fold(double sh, double sl, double v, double vl) {
    const double ih = inv_pi_hilo[0], kh = asinpi_sixth[0];
    double gh = mul_add<true>(v, kh, ih);
    double ge = mul_add<true>(v, kh, ih - gh);
    double gr = mul_add<true>(v, asinpi_sixth[1], inv_pi_hilo[1]);
    double gl = ge + (Upper ? gr : mul_add<true>(vl, kh, gr));
    double ph = sh * gh, pe = mul_add<true>(sh, gh, -ph);
    double t = pe + (Upper ? mul_add<true>(sh, gl, sl * gh) : sh * gl);
    double R = estrin<true, 14>(asinpi_series, v);
    return {ph, t, (sh * v) * v, R};
}

// base ± P rounded once, base 0, 1/2 or 1 exceeding P's head or 0: one exact sum, then the
// tails and the series' rest by the last fused operation.
template <int Sign>
inline double assemble_fold(double base, const Fold &f) {
    auto sg = [](double v) { return Sign < 0 ? -v : v; };
    DD h = fast_two_sum(base, sg(f.h));
    return h.h + mul_add<true>(sg(f.w), f.R, h.l + sg(f.t));
}

// base ± P rounded once: base 0, 1/2 or 1 exceeds P's head (or is 0, where the exact sum is
// P's head itself), and P's head exceeds the cubic term's: two exact sums, then the tails.
template <bool Fma, int Sign>
inline double assemble(double base, const Pieces &p) {
    auto sg = [](double v) { return Sign < 0 ? -v : v; };
    DD h = fast_two_sum(base, sg(p.a));
    DD g = fast_two_sum(h.h, sg(p.c));
    return g.h + ((h.l + g.l) + sg(p.t));
}

// 2^-30 <= |x| < 1.  |x| <= 1/2: s = x, v = x^2 (its rounding error vl kept), asinpi = P,
// acospi = 1/2 - P.  Above: with v = (1 - |x|)/2 (exact), asin|x| = pi/2 - 2 asin(sqrt v):
// asinpi = ±(1/2 - P(2 s)), acospi = P(2 s) for x > 0 and 1 - P(2 s) below, s = sqrt v in two
// parts; the low part (v - sh^2)/(2 sh) needs 1/sh to a few bits only (it is 2^-53 of s), so
// a reciprocal estimate serves (12 bits: an error of 2^-65 of s), no division: the processor's
// estimate in l9, a single-precision division in ex, whose bits are the same everywhere.
template <bool Fma, bool Acos>
inline double arcpi_core(double x) {
    double a = __builtin_fabs(x);
    Pieces p;
    if (a <= 0.5) {
        DD v = two_prod<Fma>(x, x);
        if constexpr (Fma) {
            Fold f = asin_fold<false>(x, 0.0, v.h, v.l);
            return Acos ? assemble_fold<-1>(0.5, f) : assemble_fold<1>(0.0, f);
        }
        p = asin_pieces<Fma, false>(x, 0.0, v.h, v.l);
        return Acos ? assemble<Fma, -1>(0.5, p) : assemble<Fma, 1>(0.0, p);
    }
    double v = (1.0 - a) * 0.5;
    if constexpr (Fma) {
        // P on S = 2 sqrt(v) = sqrt(u), u = 4 v = 2 (1 - |x|) (exact), in two parts: u - S^2 is
        // exact (the residual of a rounded square root) and 1/(2 S) comes from the estimate of
        // 1/sqrt(u), taken beside the square root rather than after it.  (The same bits as P
        // on 2 sqrt(v) with its constants doubled, with none of them doubled here.)
        double u = (1.0 - a) * 2.0;
        double S = __builtin_sqrt(u);
        Fold f = asin_fold<true>(S, mul_add<true>(-S, S, u) * (rsqrt_estimate(u) * 0.5), v, 0.0);
        // (a branch on x's sign, not masks: it costs less than the operations of a selection)
        if (Acos) return x > 0 ? assemble_fold<1>(0.0, f) : assemble_fold<-1>(1.0, f);
        return x > 0 ? assemble_fold<-1>(0.5, f) : assemble_fold<1>(-0.5, f);
    } else {
        double sh = __builtin_sqrt(v);
        DD sq = two_prod<Fma>(sh, sh);
        double sl = ((v - sq.h) - sq.l) * vc::recip_estimate<true>(sh);  // 2 (v - sh^2)/(2 sh)
        p = asin_pieces<Fma, true>(2.0 * sh, sl, v, 0.0);
    }
    if (Acos) return x > 0 ? assemble<Fma, 1>(0.0, p) : assemble<Fma, -1>(1.0, p);
    return x > 0 ? assemble<Fma, -1>(0.5, p) : assemble<Fma, 1>(-0.5, p);
}

// The float forms in double: the same two halves with one polynomial, s F(v) = asin(s)/pi
// (F's error 2^-40; the upper half's difference from 1/2 loses at most a factor 3), within
// 2^-37 of the result before its one rounding to float.
template <bool Fma, bool Acos>
inline double arcpif_core(double x) {
    double a = __builtin_fabs(x);
    if (a <= 0.5) {
        double p = x * estrin<Fma, 9>(asinpif_series, x * x);
        return Acos ? 0.5 - p : p;
    }
    double v = (1.0 - a) * 0.5;
    double p = 2.0 * __builtin_sqrt(v) * estrin<Fma, 9>(asinpif_series, v);
    if (Acos) return x > 0 ? p : 1.0 - p;
    return x > 0 ? 0.5 - p : p - 0.5;
}

template <bool Fma, bool Acos, class T>
inline T arcpi(T xt, int code_above_1) {
    double x = double(xt);
    double a = __builtin_fabs(x);
    uint64_t sx = bits(x) & kSign;
    if (bits(a) >= bits(1.0)) {  // integer compares: quiet NaNs raise nothing
        if (bits(a) == bits(1.0)) return Acos ? (sx ? T(1.0) : T(0.0)) : T(with_sign(0.5, sx));
        if (bits(a) > kInfBits) return xt + xt;
        T nan = opaque(T(0.0)) * opaque(T(__builtin_inf()));
        return report(xt, nan, code_above_1);
    }
    if (a < kTiny) {
        // acospi: 1/2 - x/pi, x/pi < 2^-31; below 2^-60 a stand-in of 2^-62 rounds alike in
        // every mode, and nothing underflows.
        if (Acos) return a == 0 ? T(0.5) : T(0.5 - (a < 0x1p-60 ? with_sign(0x1p-62, sx) : x * inv_pi_hilo[0]));
        if (a == 0) return xt;
        if constexpr (sizeof(T) == 4) return T(x * inv_pi_hilo[0]);  // normal in double
        return T(mul_tiny<Fma>(x, inv_pi_hilo[0], inv_pi_hilo[1]));
    }
    if constexpr (sizeof(T) == 4) return T(arcpif_core<Fma, Acos>(x));
    return T(arcpi_core<Fma, Acos>(x));
}

}  // namespace

TSR_BODY(double, asinpi, (double x)) { return arcpi<kFma, false>(x, code::asinpi_magnitude_above_1); }
TSR_BODY(double, acospi, (double x)) { return arcpi<kFma, true>(x, code::acospi_magnitude_above_1); }
TSR_BODY(float, asinpif, (float x)) { return arcpi<kFma, false>(x, code::asinpif_magnitude_above_1); }
TSR_BODY(float, acospif, (float x)) { return arcpi<kFma, true>(x, code::acospif_magnitude_above_1); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_asinpi, (double x)) { return arcpi<false, false>(x, code::asinpi_magnitude_above_1); }
TSR_DEFINE(double, __bwr_acospi, (double x)) { return arcpi<false, true>(x, code::acospi_magnitude_above_1); }
TSR_DEFINE(float, __bwr_asinpif, (float x)) { return arcpi<false, false>(x, code::asinpif_magnitude_above_1); }
TSR_DEFINE(float, __bwr_acospif, (float x)) { return arcpi<false, true>(x, code::acospif_magnitude_above_1); }
#endif

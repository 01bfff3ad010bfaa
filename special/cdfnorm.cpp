// cdfnorm: the standard normal distribution function, (1/2) erfc(-x/sqrt(2)), and its float
// form cdfnormf; one ex body each.
//
// z = -x/sqrt(2) is formed in two parts (x times 1/sqrt(2) in two parts, the product exact);
// the erfc kernel of special/erf_common.h runs on t = |z| with the tail of z as the further
// part of d (its effect is D(t) times it, to first order, D(t) from the row's D by a short
// exponential series).  x < 0: erfc(t) 2^192 halved is the
// result, rounded once and scaled exactly where it is normal, rounded once onto the
// subnormal grid below -37.519379347144500 (round_subnormal).  x > 0: 1 - erfc(t)/2, the
// head subtracted from 1 exactly, then the tails; t <= 5.87 there.  The kernel's sum is
// within 2^-60 of the result (as for erfc), z's rounding within 2^-104 of z, which moves
// erfc by 2 t^2 of that relative: below 2^-93.
//
// Edges: NaN x * x; -infinity 0 and +infinity 1 exactly; |x| < 2^-70: 0.5 + x, which
// rounds in every mode as 0.5 + x/sqrt(2 pi) does; x > 8.292361075813595: 1 - 2^-60
// (1 in round-to-nearest, inexact); x <= -38.485408335567342 (the result below 2^-1075):
// 2^-1000 2^-1000 with the code cdfnorm_underflow.
//
// cdfnormf: in double, z rounded once (a relative error 2^-53 moves erfc by 2^-42 at most)
// and the short chains; from -0x1.c5722ap+3 down zero with cdfnormf_underflow.
#include "special/erf_common.h"
#include "tsr/codes.h"
#include "tsr/report.h"

using namespace tsr;
using namespace tsr::erf;

namespace {

constexpr double kInvSqrt2 = 0x1.6a09e667f3bcdp-1;     // 1/sqrt(2), head
constexpr double kInvSqrt2Lo = -0x1.bdd3413b26456p-55;  // 1/sqrt(2) - head
constexpr double kOneFrom = 0x1.095b059d67c4cp+3;       // 8.292361075813595: 1 - tiny above
constexpr double kZeroTo = -0x1.33e21dc3f3bd8p+5;       // -38.485408335567342: below 2^-1075
constexpr double kSubnormalScaled = 0x1p-829;           // 2^-1022 times 2^193
constexpr double kHalfUnscale = 0x1p-193;               // 2^-192 for the rows, 1/2 for cdfnorm
constexpr double kFloatZeroTo = -0x1.c5722ap+3;         // below 2^-150 from here down

template <bool Fma>
inline double cdfnorm_d(double x) {
    double a = f64(bits(x) & kAbs);
    if (__builtin_expect(bits(a) >= 0x7ff0000000000000ull, 0))  // by bits: no compare with a NaN
        return bits(a) > 0x7ff0000000000000ull ? x * x : (x > 0 ? 1.0 : 0.0);
    if (a < 0x1p-70) return x + 0.5;
    if (x > kOneFrom) return 1.0 - opaque(0x1p-60);
    if (x <= kZeroTo) return report(x, opaque(0x1p-1000) * 0x1p-1000, code::cdfnorm_underflow);
    // z = -x/sqrt(2): t = |z| in two parts
    DD z = dd::two_prod<Fma>(a, kInvSqrt2);
    double t = z.h, tl = dd::mul_add<Fma>(a, kInvSqrt2Lo, z.l);
    Grid g = grid(t);
    // z's tail moves erfc by D(t) tl, D(t) = D(x0) exp(s), s = -2u - e (|s| < 0.22): exp(s)
    // to s^4 (error 2^-18) on a term below 2^-43 of the result.
    double sv = -2.0 * (g.x0 * g.d) - g.d * g.d;
    double es = dd::mul_add<Fma>(
        dd::mul_add<Fma>(dd::mul_add<Fma>(dd::mul_add<Fma>(sv, 0x1.5555555555555p-5, 0x1.5555555555555p-3), sv, 0.5), sv, 1.0),
        sv, 1.0);
    DD v = kernel<Fma, true, 13, 10, 6, 3, true>(erfc_rows[g.k], g.x0, g.d, tl * es);
    v = dd::fast_two_sum(v.h, v.l);
    if (x < 0) {
        if (v.h >= kSubnormalScaled) return (v.h + v.l) * kHalfUnscale;
        return round_subnormal(v.h, v.l, kSubnormalScaled, kHalfUnscale);
    }
    double h = v.h * kHalfUnscale, l = v.l * kHalfUnscale;
    DD s = dd::fast_two_sum(1.0, -h);
    return s.h + (s.l - l);
}

template <bool Fma>
inline float cdfnormf_f(float x) {
    uint32_t ax = bits(x) & 0x7fffffffu;
    if (__builtin_expect(ax >= 0x7f800000u, 0)) return ax > 0x7f800000u ? x * x : (x > 0 ? 1.0f : 0.0f);
    if (ax < 0x32800000u) return x + 0.5f;  // below 2^-26
    if (x <= kFloatZeroTo) return report(x, float(opaque(0x1p-100f) * 0x1p-100f), code::cdfnormf_underflow);
    double t = double(f32(ax)) * kInvSqrt2;
    if (x > 0 && t > 6.0) t = 6.0;  // x > 8.48: 1 - erfc(6)/2 rounds to 1 as the float does
    Grid g = grid(t);
    const Row &r = erfc_rows[g.k];
    double G = taylor_g<Fma, 7, 4, 1, 0>(g.x0 * g.d, g.d * g.d);
    double D = r.dh + r.dl;
    double y = (r.h - dd::mul_add<Fma>(D * g.d, G, dd::mul_add<Fma>(D, g.d, -r.l))) * kHalfUnscale;
    return float(x < 0 ? y : 1.0 - y);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, cdfnorm, (double x)) { return cdfnorm_d<false>(x); }
TSR_BODY(float, cdfnormf, (float x)) { return cdfnormf_f<false>(x); }
#endif

// asinpi, acospi and their float forms: asin(x)/pi and acos(x)/pi.
//
// Both are the angle of a point over pi: asin x = atan2(x, sqrt(1 - x^2)) and
// acos x = atan2(sqrt(1 - x^2), x), taken by the double-double arctangent kernel of the inverse
// trigonometric family (relative error near 2^-64) and multiplied by 1/pi in two parts, so
// that the result carries one rounding: below 0.51 ulp.  1 - x^2 is exact in two parts (x^2 as
// an exact product, 1 - its head exact by Sterbenz from |x| >= 2^-1/2 on, by an exact sum
// below), its square root in two parts by one correction of the rounded root.
//
// Exact results, with no flag: asinpi(±0) = ±0, asinpi(±1) = ±1/2, acospi(1) = +0,
// acospi(-1) = 1, acospi(±0) = 1/2.  |x| < 2^-30: asinpi is x/pi rounded once (x^3/6 lies
// below 2^-61 of x), subnormal results included.  |x| > 1 and the infinities: NaN with
// invalid, reported with the function's code; NaN: x + x.
//
// The float forms round the double result (below 0.51 ulp of double) once more: below 0.5 +
// 2^-28 ulp.  ex without fused multiply-add, l9 with it; the reproducible forms are the ex
// bodies.
#include "elementary/pi_common.h"
#include "tsr/codes.h"
#include "tsr/report.h"

using namespace tsr;
using namespace tsr::pi;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr double kTiny = 0x1p-30;

// sqrt(1 - x^2) in two parts, 0 < |x| < 1.
template <bool Fma>
inline DD cos_of_asin(double x) {
    DD sq = two_prod<Fma>(x, x);
    DD d = two_sum(1.0, -sq.h);
    d = fast_two_sum(d.h, d.l - sq.l);
    double r = __builtin_sqrt(d.h);
    DD rr = two_prod<Fma>(r, r);
    double c = (((d.h - rr.h) - rr.l) + d.l) / (2.0 * r);
    return {r, c};
}

// Acos: acospi, else asinpi; the special cases have been taken.
template <bool Fma, bool Acos>
inline double arcpi_core(double x) {
    DD c = cos_of_asin<Fma>(x);
    if (Acos) return atan2_over_pi<Fma>(c.h, c.l, x, 0.0);
    return atan2_over_pi<Fma>(x, 0.0, c.h, c.l);
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

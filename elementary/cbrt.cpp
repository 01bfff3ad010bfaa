// Cube roots in double and single precision.
//
// Tiers ex and e7 (and the reproducible copies): the exponent is divided by three with an
// integer multiply, (5462 E) >> 14 being E/3 rounded down for every field, and the remainder
// rem picks one of three blocks of a table.  The mantissa is reduced by the centre c_i of its
// 1/32 interval: 1.m = c_i (1 + r), r = (1.m - c_i)/c_i with |r| < 2^-6, the difference
// exact and the product rounded once.  cbrt(2^rem c_i) comes as a head and a tail, and
// (1 + r)^(1/3) - 1 as a degree-7 polynomial (its coefficients those of the binomial series
// from 1/3 on, error below 2^-60 over |r| < 2^-6):
//     cbrt(x) = S (H + L + H r p(r)),   S = 2^(E/3 - 341) with the sign of x.
// The result is within 0.51 ulp.  Subnormals are scaled by 2^63 first (bias 661 instead of
// 682 in the scale).  A power of 8 returns its scale: no table centre is 1, so the general
// path would not be exact there.
//
// Tiers l9, z0, d1: the multiplier and the row come from one value, the approximate
// reciprocal of 1.m rounded to 5 mantissa bits (R in [1/2, 1], exactly 1/2 or 1 at a power
// of two), so r = R 1.m - 1 is exact in one fused operation and cbrt(2^rem / R) = H (1 + t)
// comes from a 97-row table; E/3 by the multiply E * 0x55555555.  The scale, the sign and
// the exponent of H are put together by one integer addition to the bits of H (the carries
// out of the exponent field add up to a multiple of 2^64).  Powers of 8 are exact: r = 0,
// t = 0.
//
// Single precision: the double body of the same tier on the widened argument, rounded once.
#include "elementary/roots_common.h"

using namespace tsr;
using namespace tsr::roots;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
inline double cbrt_ex(double x) {
    uint64_t ux = bits(x);
    uint32_t E = uint32_t(ux >> 52) & 0x7ff;
    uint32_t B = 682;
    if (E == 0x7ff) return x + x;  // +-inf stays, NaN quiet
    if (E == 0) {
        x = x * 0x1p63;
        ux = bits(x);
        E = uint32_t(ux >> 52) & 0x7ff;
        if (E == 0) return x;  // +-0
        B = 661;
    }
    uint32_t q = (5462 * E) >> 14;
    uint32_t rem = E - 3 * q;
    uint64_t sign = ux >> 63;
    double S = f64(uint64_t((q + B) | (sign << 11)) << 52);
    // A power of 8 is its scale alone: the table's centre c_0 is not 1, so the general path
    // would round (and raise inexact) where the result is exact.
    if ((ux & Format<double>::mantissa) == 0 && rem == 0) return S;
    uint32_t i = uint32_t(ux >> 47) & 31;
    double c = f64(0xbff0400000000000ull | (ux & 0x000fc00000000000ull));  // -c_i
    double m = f64(0xbff0000000000000ull | (ux & Format<double>::mantissa));  // -1.m
    double r = (m - c) * cbrt_rcp32[i];
    double H = S * cbrt_head96[32 * rem + i];
    double L = S * cbrt_tail96[32 * rem + i];
    double s = r * r;
    double A = 0x1.ee7113506ac12p-6 - 0x1.8090d6221a247p-6 * r +
               (0x1.3750ad588f115p-6 - 0x1.036de5c9cc8e7p-6 * r) * s;
    double Bp = 0x1.5555555555555p-2 - 0x1.c71c71c71c71cp-4 * r +
                (0x1.f9add3c0ca458p-5 - 0x1.511e8d2b3183bp-5 * r) * s;
    return (Bp + s * s * A) * (r * H) + L + H;
}

// Single precision: the double scheme on the exactly widened argument, rounded once to float:
// within 0.5 + 2^-29 float ulp.  (The same scheme in float arithmetic leaves up to 0.02 ulp
// of evaluation error on the correction term, above a float's 0.51 target.)
inline float cbrtf_ex(float x) { return float(cbrt_ex(double(x))); }
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double cbrt_fma(double x) {
    uint32_t hx = hi(x) & 0x7fffffff;
    uint64_t W = 3755;
    if (hx - 0x7ff00000u < 0x80200000u) {  // subnormal, zero, infinity or NaN
        if ((bits(x) & Format<double>::abs) == 0 || (bits(x) & Format<double>::abs) == Format<double>::inf)
            return x;
        if (hx >= 0x7ff00000u) return x + 1.0;
        x = x * 0x1p63;
        W = 3734;
    }
    uint64_t ux = bits(x);
    uint64_t m = ux & Format<double>::mantissa;
    float f = f32(uint32_t((m | 0x07f0000000000000ull) >> 29));
    uint32_t V = (bits(rcp_approx(f)) + 0x20000) >> 18;
    double Rd = f64(uint64_t(V) << 47);
    double M = f64(m | 0x77f0000000000000ull);
    double r = fma(Rd, M, -1.0);
    uint64_t E = (ux >> 52) & 0x7ff;
    uint64_t T = E * 0x55555555ull + 0x1111;
    uint64_t q = T >> 32;
    uint32_t rem = uint32_t(T) >> 30;
    const double *row = cbrt_rows97[32 * (2 - rem) + (V & 0x3f)];
    double H = row[0], t = row[1];
    double P = fma(fma(0x1.377337e92c2bbp-6, r, -0x1.80b145f9c1a6dp-6), r, 0x1.ee71117a9b5e4p-6);
    double Q = fma(-0x1.511e8c88feca7p-5, r, 0x1.f9add3c0cf059p-5);
    double s = fma(r, fma(-0x1.c71c71c71d755p-4, r, 0x1.5555555555555p-2), t);
    double r2 = r * r;
    double v = fma(r2 * r, fma(r2, P, Q), s);
    double U = f64(bits(H) + ((W + q + ((ux >> 63) << 11)) << 52));
    return fma(v, U, U);
}
#endif

#if TSR_TIER_L9
inline float cbrtf_fma(float x) { return float(cbrt_fma(double(x))); }
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, cbrt, (double x)) { return cbrt_ex(x); }
TSR_BODY(float, cbrtf, (float x)) { return cbrtf_ex(x); }
TSR_DEFINE(double, __bwr_cbrt, (double x)) { return cbrt_ex(x); }
TSR_DEFINE(float, __bwr_cbrtf, (float x)) { return cbrtf_ex(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, cbrt, (double x)) { return cbrt_ex(x); }
TSR_BODY(float, cbrtf, (float x)) { return cbrtf_ex(x); }
#endif
#if TSR_TIER_L9
TSR_BODY(double, cbrt, (double x)) { return cbrt_fma(x); }
TSR_BODY(float, cbrtf, (float x)) { return cbrtf_fma(x); }
#endif
#if TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, cbrt, (double x)) { return cbrt_fma(x); }
#endif

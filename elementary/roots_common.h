// What the roots and the inverse hyperbolic functions share: the tables, the format kit and
// the approximate reciprocals of the FMA tiers.
#pragma once
#include "elementary/roots_data.h"
#include "tsr/common.h"
#include "tsr/format.h"
#include "tsr/guard.h"
#include "tsr/report.h"
#include "tsr/codes.h"
#if TSR_TIER_E7 || TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
#include <immintrin.h>
#endif

namespace tsr::roots {
namespace {


// The square-root instruction: the library is built without errno from math functions, so
// the builtin is the instruction itself, never a call, in the tier's own encoding (the
// compiler also breaks the instruction's false dependence on its destination).
inline double sqrt_insn(double x) { return __builtin_sqrt(x); }
inline float sqrt_insn(float x) { return __builtin_sqrtf(x); }

#if TSR_TIER_E7 || TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
// The processor's approximate single-precision reciprocal and reciprocal square root
// (relative error below 1.5 * 2^-12, no flag raised): the FMA tiers take table rows and
// corrections from them, hypot's e7 body its correction factor.
inline float rcp_approx(float x) { return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))); }
inline float rsqrt_approx(float x) { return _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x))); }
#endif
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double fma(double a, double b, double c) { return __builtin_fma(a, b, c); }
inline float fma(float a, float b, float c) { return __builtin_fmaf(a, b, c); }
#endif

}  // namespace
}  // namespace tsr::roots

// ---- logarithm cores of the inverse hyperbolic functions --------------------------------
namespace tsr::roots {
namespace {

#if TSR_TIER_EX || TSR_TIER_E7
// ln(h + l) for a head h and a small tail l, h + l >= 1/2.  The pair is cut to rh (21 bits)
// and rl and scaled into [1, 2); r_i, the 9-bit reciprocal of the centre of the pair's
// 1/256 interval, makes a = rh r_i exact and c = r_i (rh + rl) - 1 small (|c| < 2^-8.9),
// and ln(1 + c) is c plus a degree-7 polynomial (relative error below 2^-62).  ln 2 and
// -ln r_i come as heads short enough that n ln2_hi + hi + (a - 1) is exact.
inline double log_core_ex(int n, double rh, double rl) {
    uint32_t i = uint32_t(bits(rh + rl) >> 44) & 0xff;
    double r = logtab::log_rcp256_r[i];
    double a = rh * r, b = rl * r, c = b + (a - 1.0), z = c * c;
    double P = ((-0x1.5555f7bd1fcd4p-3 * z - 0x1.ffffffffe169dp-3) * z - 0.5) * z +
               (0x1.999a24cdb6abcp-3 * z + 0x1.555555554d0dfp-2) * z * c + b;
    double lo = double(n) * 0x1.a39ef35793c76p-33 + log_rcp256d[i][0] + P;
    double hi = double(n) * 0x1.62e42feep-1 + log_rcp256d[i][1] + (a - 1.0);
    return hi + lo;
}

inline double log_pair_ex(double h, double l) {
    double S = l + h;
    double rh = f64(bits(S) & 0xffffffff00000000ull);
    int ef = int(bits(rh) >> 52) & 0x7ff;
    double c = f64(uint64_t(2046 - ef) << 52);
    double rl = ((h - rh) + l) * c;
    return log_core_ex(ef - 1023, rh * c, rl);
}

// ln(2^n 1.m) for the mantissa of a large argument: 1.m cut to its high word and the rest.
inline double log_mant_ex(int n, double x) {
    double m = f64((bits(x) & Format<double>::mantissa) | Format<double>::one);
    double mh = f64(bits(m) & 0xffffffff00000000ull);
    return log_core_ex(n, mh, m - mh);
}

// The float functions' logarithm: ln(y), y = 2^n 1.m in double, with the short reciprocal
// r_i of 1.m's interval: g = r_i 1.m - 1 is exact, |g| < 2^-8.9, and ln(1 + g) is
// g + g^2 (c2 + c3 g) (error below 2^-36, far below a float's half ulp).
inline double logf_core(int n, double y) {
    uint32_t i = uint32_t(bits(y) >> 44) & 0xff;
    double m = f64((bits(y) & Format<double>::mantissa) | Format<double>::one);
    double g = double(logtab::log_rcp256_r[i]) * m - 1.0;
    return (double(n) * 0x1.62e42fefa39efp-1 + logtab::log_rcp256_l[i]) +
           ((0x1.5555a6890dd1p-2 * g - 0x1.00001e7362febp-1) * g * g + g);
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
// The fused logarithm core on (h, l): R16, the approximate reciprocal of 1.m rounded to 7
// bits, is the multiplier (R = (1 + v/128)/2 or 1, a row of -ln(1 + v/128)), u = R 1.m - 1
// is exact in one fused multiply-add, the tail enters through l R scaled, and ln(1 + w) is
// a degree-7 polynomial in w = u + l R.  Rd and M carry R and 1.m with exponents 896 apart,
// so that their product needs no exponent arithmetic.
struct FmaLog {
    double H, Lo, u, w, Rd, lR;
};
inline FmaLog log_fma_step(double h, double l, double n, const Rows129 &rows, double Lh, double Ll) {
    uint64_t m = bits(h) & Format<double>::mantissa;
    uint32_t R16 = (bits(rcp_approx(f32(uint32_t(m >> 29) | 0x3f800000u))) + 0x8000) >> 16;
    double Rd = f64(uint64_t(R16) << 45);
    double M = f64(m | 0x77f0000000000000ull);
    double lp = l * f64(bits(M) - bits(h) + Format<double>::one);
    double u = fma(M, Rd, -1.0);
    uint32_t v = R16 & 0xff;
    FmaLog r;
    r.H = fma(n, Lh, rows.hi[v]);
    r.Lo = fma(n, Ll, rows.lo[v]);
    r.u = u;
    r.Rd = Rd;
    r.lR = lp;
    r.w = fma(lp, Rd, u);
    return r;
}
// (ln(1 + w) - w)/w^2 = -1/2 + w/3 - w^2/4 + ... to w^5, as Q with z = w^2 (|w| < 2^-7);
// the caller multiplies by z and adds the linear terms.
inline double log_fma_poly(double w, double z) {
    double q = fma(z, fma(0x1.2494ada7861ffp-3, w, -0x1.55576d47e8a7ap-3),
                   fma(0x1.9999999788658p-3, w, -0x1.fffffffebf6c8p-3));
    return fma(q, z, fma(0x1.555555555555ap-2, w, -0x1.0000000000001p-1));
}
inline double log_fma(double h, double l, double Lh, double Ll) {
    double n = double(int(bits(h) >> 52) - 1022);
    FmaLog c = log_fma_step(h, l, n, log_mant129, Lh, Ll);
    double Lo = fma(c.lR, c.Rd, c.Lo);
    double S = c.H + c.u;
    double cc = c.u - (S - c.H);
    double z = c.w * c.w;
    double q = fma(log_fma_poly(c.w, z), z, Lo);
    return S + (cc + q);
}

// The float functions' core with fused operations and the reciprocal in double.
inline double logf_fma(int n, double y) {
    uint32_t i = uint32_t(bits(y) >> 44) & 0xff;
    double m = f64((bits(y) & Format<double>::mantissa) | Format<double>::one);
    double g = fma(double(logtab::log_rcp256_r[i]), m, -1.0);
    return fma(double(n), 0x1.62e42fefa39efp-1, logtab::log_rcp256_l[i]) +
           fma(fma(0x1.5555a6890dd1p-2, g, -0x1.00001e7362febp-1), g * g, g);
}
#endif

}  // namespace
}  // namespace tsr::roots

// What the inverse trigonometric bodies share: pi and pi/2 in two parts, the processor's
// estimates, and the cores of atan on its two grids (exact sums and products come from the
// shared double-double kit).
//
// The grid idea: with c a grid point near x and T = atan(c) from a table in two parts,
// atan(x) = atan(c) + atan(z), z = (x - c)/(1 + x c), |z| small enough for a short odd
// polynomial.  x - c is exact (c holds x's leading bits), so z carries only the rounding of
// the denominator and of the division, a few units of 2^-53 of z, which is itself at most
// 2^-6 of the result.
#pragma once
#include <immintrin.h>

#include "elementary/invtrig_data.h"
#include "tsr/codes.h"
#include "tsr/common.h"
#include "tsr/dd.h"
#include "tsr/report.h"

namespace tsr::invtrig {
namespace {

// Exact sums and products come from the shared double-double kit.
using dd::DD;
using dd::mul_add;
using dd::two_prod;

constexpr double kPio2Hi = 0x1.921fb54442d18p+0;   // pi/2, head
constexpr double kPio2Lo = 0x1.1a62633145c07p-54;  // pi/2 - head
constexpr double kPiHi = 0x1.921fb54442d18p+1;     // pi, head
constexpr double kPiLo = 0x1.1a62633145c07p-53;    // pi - head
constexpr uint64_t kSign = 0x8000000000000000ull;

inline double with_sign(double x, uint64_t sign) { return f64(bits(x) ^ sign); }

// (atan z - z)/z for |z| <= 2^-6, the series of the double-double kernel: -z^2/3 in two
// parts plus z^4 (K0 + K1 z^2 + ... + K5 z^10), relative error below 2^-53 of a term that is
// itself below 2^-13 of atan z.
inline double k64_series(double z) {
    double v = z * z;
    double p = k64_poly[5];
    for (int i = 4; i >= 0; --i) p = p * v + k64_poly[i];
    return v * (k64_third[0] + (k64_third[1] + v * p));
}

// The processor's estimates of 1/x and 1/sqrt(x) of a float, widened (rcpss, rsqrtss):
// relative error below 1.5·2^-12, last bits processor-dependent.  Callers only pick a grid
// point or scale a correction with them, so the result does not depend on those bits beyond
// the stated error.
inline double rcp_est(double x) {
    return double(_mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(float(x)))));
}
inline double rsqrt_est(double x) {
    return double(_mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(float(x)))));
}

// f(x) for a function with f(x) = x (1 + O(x^2)) at |x| < 2^-28: x moved by 2^-60 of itself
// toward zero (Away false) or away from it, rounded once in the caller's mode, so that the
// directed modes round the right way, a nonzero x raises inexact, and underflow is raised
// exactly when x is subnormal.  For |x| < 2^-962 the move is made at x 2^64, where 2^-60 of
// it is still a normal number, and scaled back exactly.
template <bool Away>
inline double nudge(double x) {
    constexpr double k = Away ? 0x1p-60 : -0x1p-60;
    uint64_t a = bits(x) & ~kSign;
    if (a >= 0x03d0000000000000ull) return x + x * k;
    if (a < 0x0010000000000000ull) {
        // A subnormal may round to zero, whose sign must stay x's.
        double r = x + x * k;
        return f64((bits(r) & ~kSign) | (bits(x) & kSign));
    }
    double y = x * 0x1p64;
    return (y + y * k) * 0x1p-64;
}

// ---- atan on the 4-bit grid, in double-double: tiers ex and e7, atan2 ex -------------------
// The factored odd polynomial: z v (A v + B)((C + v) v + E), v = z^2, atan(z) - z to 2^-62.
inline double atan16_tail(double z) {
    double v = z * z;
    return z * v * (atan16_poly[0] * v + atan16_poly[1]) * ((atan16_poly[2] + v) * v + atan16_poly[3]);
}

// (A, B) + z + tail(z) rounded once at the end: h = A + z exact with its error (|A| >= |z|).
inline double add_angle(double A, double B, double z) {
    double h = A + z;
    double rest = ((A - h) + z) + B;
    return h + (rest + atan16_tail(z));
}

// ---- atan of a float argument in double: every float tier, atan2f ----------------------------
// |u| >= 2^-30 finite; the result's relative error is about 2^-50, far below what the float
// rounding needs.  Grid of 4 bits for 2^-5 <= |u| < 32, the polynomial alone below, the
// complement -1/u above.
inline double atanf_poly_eval(double z) {
    double v = z * z;
    return z + z * v * (atanf_poly[0] + atanf_poly[1] * v);
}
inline double atan_for_float(double u) {
    uint64_t b = bits(u);
    uint32_t hw = uint32_t(b >> 48) & 0x7fff;
    uint64_t sign = b & kSign;
    if (hw - 0x3fa0u < 0x4040u - 0x3fa0u) {
        double c = f64((b & 0xffff000000000000ull) | 0x0000800000000000ull);
        double z = (u - c) / (u * c + 1.0);
        return with_sign(atan16[hw - 0x3f9f].hi, sign) + atanf_poly_eval(z);
    }
    if (hw < 0x3fa0) return atanf_poly_eval(u);
    return with_sign(kPio2Hi, sign) + atanf_poly_eval(-1.0 / u);
}

}  // namespace
}  // namespace tsr::invtrig

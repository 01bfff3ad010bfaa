// The inverse functions: erfinv, erfcinv and cdfnorminv, in double and float; one ex body
// each (erfcinv in double is its plain name alone).
//
// Each is a first guess and one Newton step on the accurate kernels of
// special/erf_common.h, the step's residual formed in double-double:
//   central, |w| <= 1/2: y = erfinv(w), the guess w P(w^2) (degree 10, 2^-46 relative), the
//     residual erf(y0) - |w| (the kernel's value normalised, its head minus |w| exact by
//     Sterbenz), the step -R/D(y0);
//   tail, 0 < z <= 1/2: y = erfcinv(z), the guess a polynomial in s = sqrt(-ln z) on five
//     pieces (2^-35 relative at worst; ln z by the double-double logarithm kernel), the
//     residual erfc(y0) - z in the scaled range of the erfc rows (z 2^192 exact), the step
//     R/D(y0).
// D(y0) = D(x0) exp(-2u - e) for y0's grid row, the exponential to its sixth power
// (|2u + e| <= 0.22: error 2^-40, times the step).  Newton's error after the step is
// y (dy)^2 for a guess off by dy: below 2^-60 of y on every piece; the result is y0 + step
// as a double-double, rounded once (cdfnorminv: times -sqrt(2) in two parts first).  Below
// 0.5 + 2^-5 ulp.
//
// erfinv: |x| <= 1/2 central; 1/2 < |x| < 1 the tail at 1 - |x| (exact); |x| < 2^-60
// x sqrt(pi)/2 rounded once (the cubic term is below 2^-120 of it); zeros themselves.
// erfcinv: x <= 1/2 the tail; 1/2 < x < 3/2 the central form at 1 - x; x >= 3/2 minus the
// tail at 2 - x (both exact); x = 1 gives 0.  cdfnorminv(p) = -sqrt(2) erfcinv(2p).
// Errors: erfinv |x| > 1 NaN (invalid) and |x| = 1 ±infinity (divide-by-zero), the codes
// erfinv_magnitude_above_1 and erfinv_magnitude_exactly_1; erfcinv 0 and 2 ±infinity,
// outside [0, 2] NaN; cdfnorminv 0 and 1 ∓infinity, outside [0, 1] NaN, infinite p NaN;
// each with its own code, the float forms with theirs.  NaNs give x * x.
#include "elementary/log_kernels.h"
#include "special/erf_common.h"
#include "tsr/codes.h"
#include "tsr/report.h"

using namespace tsr;
using namespace tsr::erf;

namespace {

constexpr double kHalfSqrtPi = 0x1.c5bf891b4ef6bp-1;     // sqrt(pi)/2, head
constexpr double kHalfSqrtPiLo = -0x1.618f13eb7ca89p-55;  // sqrt(pi)/2 - head
constexpr double kSqrt2 = 0x1.6a09e667f3bcdp+0;          // sqrt(2), head
constexpr double kSqrt2Lo = -0x1.bdd3413b26456p-54;       // sqrt(2) - head
constexpr double kLastRow = 0x1.b3ep+4;                   // 27.2421875, the erfc rows' end

// exp(s) for |s| <= 0.22, to s^6.
inline double exp_short(double s) {
    double p = 0x1.6c16c16c16c17p-10;  // 1/720
    p = p * s + 0x1.1111111111111p-7;  // 1/120
    p = p * s + 0x1.5555555555555p-5;  // 1/24
    p = p * s + 0x1.5555555555555p-3;  // 1/6
    p = p * s + 0.5;
    p = p * s + 1.0;
    return p * s + 1.0;
}
// D(t) = (2/sqrt(pi)) exp(-t^2) (times 2^192 for the erfc rows) from the row of t.
inline double slope(const Row &r, const Grid &g) {
    return (r.dh + r.dl) * exp_short(-2.0 * (g.x0 * g.d) - g.d * g.d);
}

// erfinv(w) for 2^-60 <= |w| <= 1/2, as y + step with w's sign.
inline DD central(double w) {
    double a = f64(bits(w) & kAbs), q = w * w;
    const double *c = erfinv_guess;
    double P = c[10];
    for (int i = 9; i >= 0; --i) P = P * q + c[i];
    double y = a * P;
    Grid g = grid(y);
    const Row &r = erf_rows[g.k];
    DD v = kernel<false, false, 10, 8, 4, 1>(r, g.x0, g.d);
    v = dd::fast_two_sum(v.h, v.l);
    double R = (v.h - a) + v.l;  // erf(y) - |w|; the difference of the heads is exact
    DD out = dd::fast_two_sum(y, -R / slope(r, g));
    uint64_t sw = bits(w) & kSign;
    return {with_sign(out.h, sw), with_sign(out.l, sw)};
}

// erfcinv(z) for 0 < z <= 1/2, as y + step.
inline DD tail(double z) {
    double lz[2];
    __libm_log_k64(z, 0.0, lz);  // subnormal z included
    double s = __builtin_sqrt(-(lz[0] + lz[1]));
    int i = int(s > 1.5) + int(s > 3.0) + int(s > 6.0) + int(s > 12.0);
    const double *c = erfcinv_guess[i];
    double v = s - c[0];
    double y = c[12];
    for (int k = 11; k >= 1; --k) y = y * v + c[k];
    y = y < kLastRow ? y : kLastRow;
    Grid g = grid(y);
    const Row &r = erfc_rows[g.k];
    DD e = kernel<false, true, 13, 10, 6, 3>(r, g.x0, g.d);
    e = dd::fast_two_sum(e.h, e.l);
    double R = (e.h - z * kScale) + e.l;  // erfc(y) - z, scaled; the heads' difference exact
    return dd::fast_two_sum(y, R / slope(r, g));
}

// erfcinv(x) for 0 < x < 2, x != 1, as a double-double.
inline DD erfcinv_dd(double x) {
    if (x <= 0.5) return tail(x);
    if (x < 1.5) return central(1.0 - x);
    DD t = tail(2.0 - x);
    return {-t.h, -t.l};
}

inline double erfinv_d(double x) {
    double a = f64(bits(x) & kAbs);
    if (__builtin_expect(bits(a) >= 0x3ff0000000000000ull, 0)) {  // |x| >= 1, inf, NaN by bits
        if (bits(a) > 0x7ff0000000000000ull) return x * x;
        if (bits(a) == 0x3ff0000000000000ull) return report(x, x / 0.0, code::erfinv_magnitude_exactly_1);
        return report(x, (x - x) / (x - x), code::erfinv_magnitude_above_1);
    }
    if (a < 0x1p-60) return a == 0 ? x : times_tiny(x, kHalfSqrtPi, kHalfSqrtPiLo);
    DD y;
    if (a <= 0.5) {
        y = central(x);
    } else {
        y = tail(1.0 - a);
        if (x < 0) y = {-y.h, -y.l};
    }
    return y.h + y.l;
}

inline double erfcinv_d(double x) {
    if (__builtin_expect(!(bits(x) - 1 < 0x3fffffffffffffffull), 0)) {  // not in (0, 2): by bits
        if ((bits(x) & kAbs) > 0x7ff0000000000000ull) return x * x;
        if (bits(x) == 0 || bits(x) == kSign)
            return report(x, 1.0 / opaque(0.0), code::erfcinv_argument_exactly_0_or_2);
        if (bits(x) == 0x4000000000000000ull)
            return report(x, -1.0 / opaque(0.0), code::erfcinv_argument_exactly_0_or_2);
        return report(x, opaque(0.0) / opaque(0.0), code::erfcinv_argument_outside_0_to_2);
    }
    if (x == 1.0) return 0.0;
    DD y = erfcinv_dd(x);
    return y.h + y.l;
}

inline double cdfnorminv_d(double p) {
    if (__builtin_expect(!(bits(p) - 1 < 0x3fefffffffffffffull), 0)) {  // not in (0, 1): by bits
        uint64_t b = bits(p) & kAbs;
        if (b > 0x7ff0000000000000ull) return p * p;
        if (b == 0x7ff0000000000000ull)
            return report(p, p - p, code::cdfnorminv_argument_infinite);
        if (b == 0) return report(p, -1.0 / opaque(0.0), code::cdfnorminv_argument_exactly_0_or_1);
        if (bits(p) == 0x3ff0000000000000ull)
            return report(p, 1.0 / opaque(0.0), code::cdfnorminv_argument_exactly_0_or_1);
        return report(p, opaque(0.0) / opaque(0.0), code::cdfnorminv_argument_outside_0_to_1);
    }
    if (p == 0.5) return 0.0;
    DD y = erfcinv_dd(2.0 * p);
    DD r = dd::mul<false>(y, DD{kSqrt2, kSqrt2Lo});
    return -r.h - r.l;
}

// The float forms: the double computation rounded once more (below 0.5 + 2^-25 ulp), their
// errors reported with their own codes.
inline float erfinvf_f(float x) {
    uint32_t a = bits(x) & 0x7fffffffu;
    if (__builtin_expect(a >= 0x3f800000u, 0)) {
        if (a > 0x7f800000u) return x * x;
        if (a == 0x3f800000u) return report(x, x / 0.0f, code::erfinvf_magnitude_exactly_1);
        return report(x, (x - x) / (x - x), code::erfinvf_magnitude_above_1);
    }
    return float(erfinv_d(double(x)));
}
inline float erfcinvf_f(float x) {
    if (__builtin_expect(!(bits(x) - 1 < 0x3fffffffu), 0)) {
        if ((bits(x) & 0x7fffffffu) > 0x7f800000u) return x * x;
        if ((bits(x) & 0x7fffffffu) == 0)
            return report(x, 1.0f / opaque(0.0f), code::erfcinvf_argument_exactly_0_or_2);
        if (bits(x) == 0x40000000u)
            return report(x, -1.0f / opaque(0.0f), code::erfcinvf_argument_exactly_0_or_2);
        return report(x, opaque(0.0f) / opaque(0.0f), code::erfcinvf_argument_outside_0_to_2);
    }
    return float(erfcinv_d(double(x)));
}
inline float cdfnorminvf_f(float p) {
    if (__builtin_expect(!(bits(p) - 1 < 0x3f7fffffu), 0)) {
        uint32_t b = bits(p) & 0x7fffffffu;
        if (b > 0x7f800000u) return p * p;
        if (b == 0x7f800000u) return report(p, p - p, code::cdfnorminvf_argument_infinite);
        if (b == 0) return report(p, -1.0f / opaque(0.0f), code::cdfnorminvf_argument_exactly_0_or_1);
        if (bits(p) == 0x3f800000u) return report(p, 1.0f / opaque(0.0f), code::cdfnorminvf_argument_exactly_0_or_1);
        return report(p, opaque(0.0f) / opaque(0.0f), code::cdfnorminvf_argument_outside_0_to_1);
    }
    return float(cdfnorminv_d(double(p)));
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, erfinv, (double x)) { return erfinv_d(x); }
TSR_BODY(float, erfinvf, (float x)) { return erfinvf_f(x); }
TSR_BODY(float, erfcinvf, (float x)) { return erfcinvf_f(x); }
TSR_BODY(double, cdfnorminv, (double p)) { return cdfnorminv_d(p); }
TSR_BODY(float, cdfnorminvf, (float p)) { return cdfnorminvf_f(p); }
TSR_DEFINE(double, erfcinv, (double x)) { return erfcinv_d(x); }
TSR_DEFINE(double, __bwr_erfinv, (double x)) { return erfinv_d(x); }
TSR_DEFINE(float, __bwr_erfinvf, (float x)) { return erfinvf_f(x); }
TSR_DEFINE(double, __bwr_cdfnorminv, (double p)) { return cdfnorminv_d(p); }
TSR_DEFINE(float, __bwr_cdfnorminvf, (float p)) { return cdfnorminvf_f(p); }
#endif

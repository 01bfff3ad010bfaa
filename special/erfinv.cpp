// The inverse functions: erfinv, erfcinv and cdfnorminv, in double and float; one ex body
// each (erfcinv in double is its plain name alone).
//
// One double-double evaluation in three regions of y = erfinv's argument (erfcinv(x) =
// erfinv(1 - x), cdfnorminv(p) = -sqrt(2) erfcinv(2p)), each a polynomial from
// tools/gen/erfinv_tables.py whose first two coefficients are head and tail pairs:
//   central, |y| < 1/8: erfinv(y) = y P(q), q = y^2 (degree 10, 2^-81 relative);
//   middle, 1/8 <= |y| < 7/8: w = y^2 - 49/64 in (-3/4, 0], row k = trunc(-w 128/3) of 32,
//     erfinv(y) = y P_k(w + (k + 1/2) 3/128) (degree 12, 2^-71.2 at worst);
//   tail, z = 1 - |y| <= 1/8 (erfcinv's own argument, down to the least subnormal):
//     s = sqrt(-ln z), u = 1/s, k = trunc(32 u) (1 .. 22), erfcinv(z) = s P_k(u - (k + 1/2)/32)
//     (degree 15, 2^-65.8 in the row k = 1, z below e^-256; 2^-70.8 and better above).
// The argument reaches each region as a double-double (y = 1 - x is exact from x = 1/2 on,
// a two-sum below), so is q or w, formed by exact products and sums.  The pairs' terms are
// summed exactly; what rounds is the plain-double rest, c2 v^2 + ..., at 2^-53 of itself:
// |c2 v^2| is at most 2^-10 of P (middle, |w'| <= 3/256), 2^-12 (tail, |u'| <= 1/64) and 2^-14
// (central), so below 2^-62 of the result.  The tail's ln z is the double-double logarithm
// kernel's (2^-66 absolute, |ln z| >= 2), u = 1/sqrt(-ln z) a double corrected by one Newton
// step in double-double, s = -ln z u.  Together under 2^-61 of the result before its one
// rounding: 0.5 + 2^-8 ulp at most.
//
// erfinv: |x| < 2^-60 x sqrt(pi)/2 rounded once (the cubic term is below 2^-120 of it),
// zeros themselves.  erfcinv: x = 1 gives 0; the tail at z = min(x, 2 - x) (exact) with the
// sign of 1 - x.  cdfnorminv(p) = -sqrt(2) erfcinv(2p) in two parts, rounded once.
// Errors: erfinv |x| > 1 NaN (invalid) and |x| = 1 ±infinity (divide-by-zero), the codes
// erfinv_magnitude_above_1 and erfinv_magnitude_exactly_1; erfcinv 0 and 2 ±infinity,
// outside [0, 2] NaN; cdfnorminv 0 and 1 ∓infinity, outside [0, 1] NaN, infinite p NaN;
// each with its own code, the float forms with theirs.  NaNs give x * x.
#include "elementary/log_kernels.h"
#include "special/erf_common.h"
#include "special/erfinv_data.h"
#include "tsr/codes.h"
#include "tsr/report.h"

using namespace tsr;
using namespace tsr::erf;

namespace {

constexpr double kHalfSqrtPi = 0x1.c5bf891b4ef6bp-1;     // sqrt(pi)/2, head
constexpr double kHalfSqrtPiLo = -0x1.618f13eb7ca89p-55;  // sqrt(pi)/2 - head
constexpr double kSqrt2 = 0x1.6a09e667f3bcdp+0;          // sqrt(2), head
constexpr double kSqrt2Lo = -0x1.bdd3413b26456p-54;       // sqrt(2) - head
constexpr double kCentralEnd = 0.125;                     // |y| below: the central polynomial
constexpr double kTailStart = 0.875;                      // |y| from: the tail in z = 1 - |y|
constexpr double kMiddleCentre = 0x1.88p-1;               // 49/64 = kTailStart^2
constexpr double kMiddleStep = 0x1.8p-6;                  // 3/128, a middle row's width in w
constexpr double kMiddleRowsPerUnit = 0x1.5555555555555p+5;  // 128/3
constexpr int kMiddleLastRow = 31;

// P(v) = (c0h + c0l) + (c1h + c1l) v + c2 v^2 + ... + cN v^N for v = v.h + v.l, as a
// double-double: the rest c2 + c3 v + ... by Horner in v.h (its roundings at 2^-53 of a
// term below 2^-10 of P), the two leading terms with exact products and sums.  v is
// normalised first: the callers' tails (from q = y^2 near 49/64, or u's) can exceed a small
// v.h, and the rest is taken in v.h alone.
template <int N>
inline DD poly_dd(const double *c, DD v) {
    v = dd::two_sum(v.h, v.l);
    double r = c[N + 2];
    for (int i = N + 1; i >= 4; --i) r = r * v.h + c[i];
    DD t = dd::two_sum(c[2], v.h * r);
    t.l += c[3];
    DD p = dd::two_prod<false>(v.h, t.h);
    p.l += v.h * t.l + v.l * t.h;
    DD s = dd::fast_two_sum(c[0], p.h);  // |c0| > |c1 v| on every row
    return dd::fast_two_sum(s.h, s.l + (p.l + c[1]));
}

// erfinv(y) for 2^-60 <= |y.h| < 1/8.
inline DD central(DD y) {
    DD q = dd::two_prod<false>(y.h, y.h);
    q.l += 2.0 * y.h * y.l;
    return dd::mul<false>(y, poly_dd<10>(erfinv::central, q));
}

// erfinv(y) for 1/8 <= |y.h| < 7/8.
inline DD middle(DD y) {
    DD q = dd::two_prod<false>(y.h, y.h);
    q.l += 2.0 * y.h * y.l;
    DD w = dd::fast_two_sum(-kMiddleCentre, q.h);  // q < 49/64: exact
    int k = int(-w.h * kMiddleRowsPerUnit);
    k = k < kMiddleLastRow ? k : kMiddleLastRow;
    DD v = dd::two_sum(w.h, (k + 0.5) * kMiddleStep);
    v.l += w.l + q.l;
    return dd::mul<false>(y, poly_dd<12>(erfinv::middle[k], v));
}

// erfcinv(z) for 0 < z <= 1/8 (just above it too, where 1 - x rounds to 7/8).
inline DD tail(double z) {
    double lz[2];
    __libm_log_k64(z, 0.0, lz);  // subnormal z included
    DD L = dd::fast_two_sum(-lz[0], -lz[1]);
    // u = 1/sqrt(L): r to a double, then u = r + r (1 - r^2 L)/2, r^2 L near 1 formed exactly
    // to its last terms (1 - its head is exact).
    double r = 1.0 / __builtin_sqrt(L.h);
    DD r2 = dd::two_prod<false>(r, r);
    DD m = dd::two_prod<false>(r2.h, L.h);
    double e = (1.0 - m.h) - (m.l + (r2.l * L.h + r2.h * L.l));
    DD u = dd::fast_two_sum(r, 0.5 * r * e);
    DD s = dd::mul<false>(L, u);  // sqrt(L)
    int k = int(u.h * 32.0);
    DD v = {u.h - (k + 0.5) * 0x1p-5, u.l};  // exact: u.h is within a factor 2 of the centre
    return dd::mul<false>(s, poly_dd<15>(erfinv::tail[k - 1], v));
}

// erfcinv(x) for 0 < x < 2, x != 1, as a double-double.
inline DD erfcinv_dd(double x) {
    DD y = dd::two_sum(1.0, -x);  // exact in one word from x = 1/2 on
    double a = f64(bits(y.h) & kAbs);
    if (a < kCentralEnd) return central(y);
    if (a < kTailStart) return middle(y);
    if (x < 1.0) return tail(x);
    return dd::neg(tail(2.0 - x));
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
    if (a < kCentralEnd) {
        y = central(DD{x, 0.0});
    } else if (a < kTailStart) {
        y = middle(DD{x, 0.0});
    } else {
        y = tail(1.0 - a);  // exact
        if (x < 0) y = dd::neg(y);
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

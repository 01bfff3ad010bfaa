// powr(x, y) = e^(y ln x), the power without integer special cases (a negative x is a
// domain error, 0^0, inf^0 and 1^inf are invalid), and its float form: vector-core members
// (include/tsr/vectorcore.h).
//
// Range test: the flag is set unless x is a positive normal finite number, y is finite, and
// an exact bound of |y log2 x| stays at or below 1022 (125 in float), so
// that the result is a normal number of the format and no step of the core can overflow,
// underflow or report.  The bound is |y| rounded up to 8 significant bits (by integer work,
// |y| clamped at 2^20 first) times |E - 1023| + 1 (E the biased exponent of x, so that
// |log2 x| < |E - 1023| + 1): a product of an 8-bit and an 11-bit number, exact, which
// raises nothing, so that exact powers (powr(2, 3) = 8, powr(4, 0.5) = 2) stay exact.
// A flagged argument runs the core on (1, 1), whose steps are exact.
//
// Core: for a positive x and a finite y the power is pow's, and the core is pow's body of
// the same tier (the reduction of log2 x on its tables in two words, y·log2 x split, the
// exponential on the shared tables): below 0.55 ulp in round to nearest; powrf's core is powf's body
// (double arithmetic inside, one rounding to float).
//
// Rare routines: the special values, in the order of the table below, and the finite
// arguments the bound sent here (subnormal x, results near or beyond the format's range):
// ln x in two words from the logarithm kernel (renormalised), z = y ln x as a product in two words, e^z's
// head from the exponential kernel and its scaling with one rounding into the subnormal
// range (pow's scaling step, under powr's codes).  Float: the same in double, z decides
// overflow and underflow, the exponential kernel's double rounds to float once.
//
//   x NaN                         x + y
//   x = +inf, y = +-0             NaN, invalid
//   x = +-0, y = +-0              NaN, invalid
//   x = +-0, y = +inf             +0
//   x = +-0, y < 0 or -inf        +inf, divide-by-zero
//   x = +-0, y > 0                +0
//   x = 1                         1 for finite y; NaN y: x + y; y = +-inf: NaN, invalid
//   x < 0                         y NaN: x + y; else NaN, invalid, domain code (also -inf)
//   y = +-0                       1
//   y NaN                         x + y
//   x = +inf or y = +-inf         |x| >= 1: +0 for y < 0, +inf for y > 0; |x| < 1: +0 for
//                                 y = +inf, +inf for y = -inf
#include "elementary/exp_kernels.h"
#include "elementary/log_kernels.h"
#include "elementary/pow_common.h"
#include "tsr/dd.h"
#include "tsr/guard.h"
#include "tsr/vectorcore.h"

using namespace tsr;
using namespace tsr::vc;

// The rare routines (defined by tier ex, shared by every tier).
extern "C" {
int __libm_dpowr_cout_rare(const double *px, const double *py, double *result) noexcept TSR_HIDDEN;
int __libm_spowr_cout_rare(const float *px, const float *py, float *result) noexcept TSR_HIDDEN;
}

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr uint32_t kLowWord = 0x00100000u, kHighWord = 0x7fefffffu;  // positive normal x
constexpr uint32_t kShift = range_shift(kLowWord), kLimit = range_limit(kLowWord, kHighWord);

// log2 x to within 1/8 from the high word of a positive double: the exponent plus the 20
// mantissa bits of the word as a fraction (log2(1 + f) - f lies in [0, 0.0861]); exact.
inline double log2_word(uint32_t hx) {
    return double(int(hx >> 20) - 1023) + double(hx & 0xfffffu) * 0x1p-20;
}
// The exact bound of |y log2 x| (see above): yr, |y| rounded up to 8 significant bits, times
// |log2_word| + 1/8 (at most 31 bits): a product exact and far from overflow.
inline double log_bound(double lx, double yr) { return yr * (__builtin_fabs(lx) + 0.125); }
// |y| clamped at 2^20 and rounded up to 8 significant bits, on the bits alone.
inline double round_up8(uint64_t ay) {
    ay = ay < 0x4130000000000000ull ? ay : 0x4130000000000000ull;
    return f64((ay | 0x00000fffffffffffull) + 1);
}
inline double round_up8(uint32_t ay) {
    ay = ay < 0x49800000u ? ay : 0x49800000u;
    return double(f32((ay | 0x7fffu) + 1));
}
// log2 x to within 1/8 from the bits of a positive float, exact as log2_word.
inline double log2_bits(uint32_t ux) {
    return double(int((ux >> 23) & 0xff) - 127) + double(ux & 0x7fffffu) * 0x1p-23;
}
// The same rounded down (a lower bound of |y|, which may be 0).
inline double round_down8(uint64_t ay) { return f64(ay & ~0x00000fffffffffffull); }
// Where the bound from below already puts |y log2 x| beyond `limit` (the format's range and
// its subnormals): +1 for a certain overflow, -1 for a certain underflow, 0 otherwise.
inline int certain_range(double x, double y, double limit) {
    uint64_t ay = bits(y) & 0x7fffffffffffffffull;
    if (ay > 0x4330000000000000ull) ay = 0x4330000000000000ull;  // 2^52: enough for any limit
    double lx = log2_word(hi(x));
    double low = round_down8(ay) * (__builtin_fabs(lx) - 0.125);
    if (!(low > limit)) return 0;
    return (lx > 0) == !(bits(y) >> 63) ? 1 : -1;
}

// The special values of the table above; true when *out holds the result and *status the
// code.  Otherwise x and y are positive finite resp. finite non-zero.
template <class T>
inline bool specials(T x, T y, T *out, int *status, int domain) {
    using F = Format<T>;
    auto ux = F::bits(x), uy = F::bits(y);
    auto ax = ux & F::abs, ay = uy & F::abs;
    const auto inf = F::inf, one = F::one;
    *status = 0;
    if (ax > inf) { *out = x + y; return true; }
    if (ay == 0 && (ax == 0 || ux == inf)) { *out = opaque(T(0)) * opaque(F::from(inf)); return true; }
    if (ax == 0) {
        if (ay > inf) { *out = x + y; return true; }
        if (uy & F::sign) { *out = opaque(T(1)) / opaque(T(0)); return true; }
        *out = T(0);
        return true;
    }
    if (ux == one) {
        if (ay > inf) { *out = x + y; return true; }
        *out = ay == inf ? opaque(T(0)) * opaque(F::from(inf)) : T(1);
        return true;
    }
    if (ux & F::sign) {
        if (ay > inf) { *out = x + y; return true; }
        *out = opaque(T(0)) * opaque(F::from(inf));
        *status = domain;
        return true;
    }
    if (ay == 0) { *out = T(1); return true; }
    if (ay > inf) { *out = x + y; return true; }
    if (ux == inf || ay == inf) {
        bool big = ux > one, ypos = !(uy & F::sign);
        *out = big == ypos ? F::from(inf) : T(0);
        return true;
    }
    return false;
}

}  // namespace

#if TSR_TIER_EX
extern "C" int __libm_dpowr_cout_rare(const double *px, const double *py, double *result) noexcept {
    double x = *px, y = *py;
    int status;
    if (specials(x, y, result, &status, code::powr_domain)) return status;
    if (int c = certain_range(x, y, 1076.0)) {  // beyond the subnormals: no logarithm needed
        *result = c > 0 ? powk::overflow<code::powr_overflow>(x, y, false)
                        : powk::underflow<code::powr_underflow>(x, y, false);
        return 0;
    }
    // e^(y ln x): ln x in two words, z = y ln x in two words (|z| < 2^12 here: y·ln x beyond
    // 746 in magnitude is decided by its head alone).
    // The logarithm kernel's shifters need round-to-nearest: the caller's mode comes back
    // before the exponential (which guards itself) and the scaling.
    double l[2];
    dd::DD z;
    double zl;
    {
        RnGuard g;
        __libm_log_k64(opaque(x), 0.0, l);  // head and a tail up to 2^-20 of it: summed first
        dd::DD ln = dd::two_sum(l[0], l[1]);
        // Beyond the range decided on the plain product, before Dekker's product (whose
        // split would overflow for |y| near the largest doubles).
        double zh = g.finish(y * ln.h);
        if (zh > 0x1.7p+9) {  // > 736: e^z > 2^1061
            *result = powk::overflow<code::powr_overflow>(x, y, false);
            return 0;
        }
        if (zh < -0x1.76p+9) {  // < -748: e^z < 2^-1079
            *result = powk::underflow<code::powr_underflow>(x, y, false);
            return 0;
        }
        RnGuard g2;
        z = dd::two_prod<false>(opaque(y), ln.h);
        zl = g2.finish(z.l + y * ln.l);
        z.h = opaque(z.h);
    }
    int n;
    double o[2];
    __libm_exp_k64(z.h, &n, o);  // e^z.h = (o[0] + o[1])·2^n, 0.7 < o[0] < 1.42
    double Y = o[1] + o[0] * zl;  // e^zl = 1 + zl to 2^-86 (|zl| < 2^-43)
    *result = powk::scale<code::powr_overflow, code::powr_underflow>(o[0], Y, n, x, y);
    return 0;
}

extern "C" int __libm_spowr_cout_rare(const float *px, const float *py, float *result) noexcept {
    float x = *px, y = *py;
    int status;
    if (specials(x, y, result, &status, code::powrf_domain)) return status;
    if (int c = certain_range(double(x), double(y), 151.0)) {
        *result = c > 0 ? report(x, y, opaque(0x1p127f) * 0x1p127f, code::powrf_overflow)
                        : report(x, y, opaque(0x1p-126f) * 0x1p-126f, code::powrf_underflow);
        return 0;
    }
    double l[2], z;
    {
        RnGuard g;
        __libm_log_k64(double(opaque(x)), 0.0, l);
        z = g.finish(double(y) * l[0] + double(y) * l[1]);  // error below 2^-46 where it matters
    }
    if (z > 0x1.64p+6) {  // > 89: beyond the largest float
        *result = report(x, y, opaque(0x1p127f) * 0x1p127f, code::powrf_overflow);
        return 0;
    }
    if (z < -0x1.ap+6) {  // < -104: below half the smallest subnormal
        *result = report(x, y, opaque(0x1p-126f) * 0x1p-126f, code::powrf_underflow);
        return 0;
    }
    float f = float(__libm_exp_k32(z));
    uint32_t fb = bits(f);
    if (fb == 0x7f800000u) *result = report(x, y, f, code::powrf_overflow);
    else if (fb < 0x00800000u) *result = report(x, y, f, code::powrf_underflow);
    else *result = f;
    return 0;
}
#endif

namespace {

// pow's and powf's bodies of this tier on positive arguments.
#if TSR_TIER_EX
#define TSR_POWR_CORE(f) __libm_##f##_ex_local
#else
#define TSR_POWR_CORE(f) __libm_##f##_l9_local
#endif

inline double powr_d(double x, double y) {
    uint32_t hx = hi(x);
    uint64_t ay = bits(y) & 0x7fffffffffffffffull;
    uint32_t flag = outside(hx, kShift, kLimit) | uint32_t(ay >= 0x7ff0000000000000ull);
    flag |= uint32_t(log_bound(log2_word(hx), round_up8(ay)) > 1022.0);
    uint64_t m = mask_of(flag);
    double r = TSR_POWR_CORE(pow)(select(m, 1.0, x), select(m, 1.0, y));
    return finish(flag, x, y, r, __libm_dpowr_cout_rare);
}

inline float powr_f(float x, float y) {
    uint32_t ux = bits(x), ay = bits(y) & 0x7fffffffu;
    // y = 0 goes to the rare routine too: powf's l9 body raises inexact for x^0.
    uint32_t flag = uint32_t(ux - 0x00800000u >= 0x7f800000u - 0x00800000u) | uint32_t(ay - 1u >= 0x7f800000u - 1u);
    flag |= uint32_t(log_bound(log2_bits(ux), round_up8(ay)) > 125.0);
    uint32_t m = mask32_of(flag);
    float r = TSR_POWR_CORE(powf)(select(m, 1.0f, x), select(m, 1.0f, y));
    return finish(flag, x, y, r, __libm_spowr_cout_rare);
}

}  // namespace

TSR_BODY(double, powr, (double x, double y)) { return powr_d(x, y); }
TSR_BODY(float, powrf, (float x, float y)) { return powr_f(x, y); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_powr, (double x, double y)) { return powr_d(x, y); }
TSR_DEFINE(float, __bwr_powrf, (float x, float y)) { return powr_f(x, y); }
#endif

// What every tier of pow and powf shares: the integer test on y, the special-value table
// (C99 Annex F) with its order and error codes, and the last scaling step of the double
// tiers that must round once even when the result falls into the subnormal range.
//
// Order of the special table (first match wins):
//   y = +-0                     1 (x = +-0: code 26/32, x NaN: code 29/35; sNaN raises invalid)
//   x = +1                      1, also for a NaN y (an sNaN y raises invalid)
//   x NaN, then y NaN           quiet NaN of x, resp. of y
//   x = -1, y = +-inf           1
//   y = +inf                    +inf for |x| > 1, +0 for |x| < 1
//   y = -inf                    +0 for |x| > 1, +inf for 0 < |x| < 1
//   x = +-0, y < 0              1/x for odd integer y, +inf otherwise; divide-by-zero, code 27/33
//   x = +-0, y > 0              x for odd integer y, +0 otherwise
//   x = +inf                    +inf for y > 0, +0 for y < 0
//   x = -inf                    -inf / -0 for odd integer y, +inf / +0 otherwise
//   x < 0 finite, y non-integer NaN, invalid, code 28/34
//   x < 0 finite, y integer     the result's sign is that of x^y; go on with |x|
//   x = -1, y integer           +-1 at once (|x| = 1 has nothing left to compute)
// powf reports 0^0 only for x = +0.
//
// A signalling NaN raises invalid even where the table's result is 1 (pow(sNaN, 0),
// pow(1, sNaN)): the operand was signalling, the value of the result doesn't depend on it.
// Nothing here clears a flag the caller had raised: for x = +1 the answer leaves before any
// arithmetic, so there is nothing of ours to clear.  The integer test works on the bits
// alone in every tier (a shifter would raise inexact for a non-integer y).
#pragma once
#include <cstdint>

#include "tsr/common.h"
#include "tsr/codes.h"
#include "tsr/format.h"
#include "tsr/report.h"
#include "elementary/pow_exact.h"

namespace tsr::powk {
// Internal linkage: this header is compiled once per tier, with each tier's instruction
// set, and a helper left out of line must not become one shared copy that the linker
// could take from a newer tier's object.
namespace {

constexpr uint64_t kAbs = 0x7fffffffffffffffull;
constexpr uint64_t kInf = 0x7ff0000000000000ull;
constexpr uint64_t kOne = 0x3ff0000000000000ull;

enum YType { kNotInt = 0, kOdd = 1, kEven = 2 };

// Integer test on the bits of a finite non-zero y, by the position of the units bit: no
// floating-point operation, so that it raises nothing.
inline int ytype(uint64_t uy) {
    int e = int((uy >> 52) & 0x7ff);
    if (e > 0x433) return kEven;                    // |y| >= 2^53: even
    if (e < 0x3ff) return kNotInt;                  // 0 < |y| < 1
    int s = 0x433 - e;                              // fraction bits below the units bit
    uint64_t m = (uy & 0x000fffffffffffffull) | 0x0010000000000000ull;
    if (m & ((uint64_t(1) << s) - 1)) return kNotInt;
    return ((m >> s) & 1) ? kOdd : kEven;
}

// Integer test on a finite non-zero float: the significand with its implicit bit shifted
// left by (exponent + 8) brings the units bit to bit 31, the fraction below it.
inline int ytype(uint32_t uy) {
    int e = int((uy >> 23) & 0xff);
    int sh = e - 119;
    if (sh < 0) return kNotInt;
    if (sh >= 32) return kEven;
    uint32_t w = ((uy & 0x7fffff) | 0x800000) << sh;
    if (w & 0x7fffffff) return kNotInt;
    return (w >> 31) ? kOdd : kEven;
}

// True when (x, y) needs the special table: y zero, infinite or NaN; x zero, negative,
// infinite, NaN or +1.  Subnormal positive x is not special.
template <class B>
inline bool needs_special(B ux, B uy) {
    using F = Format<std::conditional_t<sizeof(B) == 8, double, float>>;
    return (uy & F::abs) - 1 >= F::inf - 1 || ux - 1 >= F::inf - 1 || ux == F::one;
}

// The error codes of the special table, by format.
template <class T>
struct PowCodes;
template <>
struct PowCodes<double> {
    static constexpr int zero_to_zero = code::pow_0_to_the_power_0, nan_to_zero = code::pow_nan_to_the_power_0,
                         zero_to_negative = code::pow_0_to_a_negative_power,
                         negative_base = code::pow_negative_base_non_integer_power;
};
template <>
struct PowCodes<float> {
    static constexpr int zero_to_zero = code::powf_0_to_the_power_0, nan_to_zero = code::powf_nan_to_the_power_0,
                         zero_to_negative = code::powf_0_to_a_negative_power,
                         negative_base = code::powf_negative_base_non_integer_power;
};

// The special table.  Returns true with *out the result; else x is finite, non-zero and not
// +-1, y finite and non-zero, *ax = |x| and *neg the sign of the result.  0^0 is reported
// for either zero in double, for +0 alone in float.
template <class T>
inline bool special(T x, T y, T *out, T *ax, bool *neg) {
    using F = Format<T>;
    using C = PowCodes<T>;
    const auto inf = F::inf, one = F::one;
    auto ux = F::bits(x), uy = F::bits(y);
    auto axb = ux & F::abs, ayb = uy & F::abs;
    *neg = false;
    if (ayb == 0) {
        if ((std::is_same_v<T, double> ? axb : ux) == 0) { *out = report(x, y, T(1), C::zero_to_zero); return true; }
        if (axb > inf) {
            if (is_snan(x)) raise_invalid();
            *out = report(x, y, T(1), C::nan_to_zero);
            return true;
        }
        *out = T(1);
        return true;
    }
    if (ux == one) {
        if (is_snan(y)) raise_invalid();
        *out = T(1);
        return true;
    }
    if (axb > inf) {
        if (ayb > inf) force(opaque(y) + opaque(y));
        *out = opaque(x) + opaque(x);
        return true;
    }
    if (ayb > inf) { *out = opaque(y) + opaque(y); return true; }
    bool ypos = !(uy & F::sign);
    if (ayb == inf) {
        if (axb == one) { *out = T(1); return true; }   // x = -1
        if (axb > one) { *out = ypos ? F::from(inf) : T(0); return true; }
        if (ypos) { *out = T(0); return true; }
        if (axb != 0) { *out = F::from(inf); return true; }
        // x = +-0, y = -inf: as any negative non-integer y below.
    }
    int yt = ayb == inf ? kEven : ytype(uy);
    if (axb == 0) {
        if (!ypos) {
            T r = opaque(T(1)) / (yt == kOdd ? opaque(x) : opaque(T(0)));
            *out = report(x, y, r, C::zero_to_negative);
        } else {
            *out = yt == kOdd ? x : T(0);
        }
        return true;
    }
    if (axb == inf) {
        T v = ypos ? F::from(inf) : T(0);
        *out = (ux & F::sign) && yt == kOdd ? -v : v;
        return true;
    }
    if (ux & F::sign) {
        if (yt == kNotInt) {
            T r = opaque(T(0)) * opaque(F::from(inf));
            *out = report(x, y, r, C::negative_base);
            return true;
        }
        *neg = yt == kOdd;
        if (axb == one) { *out = *neg ? T(-1) : T(1); return true; }
    }
    *ax = F::from(axb);
    return false;
}

// The entry of tiers ex and e7: special operands answered in *out (true); otherwise the bits
// of |x| in *ub (a subnormal scaled into the normal range by 2^64), its unbiased exponent in
// *n, its mantissa 1.f in *m, and in *neg the sign the result takes.
inline bool pow_operands(double x, double y, double *out, uint64_t *ub, int *n, double *m, bool *neg) {
    double ax = x;
    *neg = false;
    if (needs_special(bits(x), bits(y)) && special(x, y, out, &ax, neg)) return true;
    if (small_integer(bits(y)) && exact_power(ax, y, *neg, out)) return true;
    *ub = bits(ax);
    *n = 0;
    if (*ub < 0x0010000000000000ull) {  // subnormal
        *ub = bits(scale_subnormal(ax, 64));
        *n = -64;
    }
    *n += int(*ub >> 52) - 0x3ff;
    *m = f64((*ub & 0x000fffffffffffffull) | kOne);
    return false;
}

// Tiers ex and e7 around their core: the special table answers, or Core(x, y, ub, n, m, neg)
// computes with the operands pow_operands hands over.
template <double (*Core)(double, double, uint64_t, int, double, bool)>
inline double pow_entry(double x, double y) {
    uint64_t ub;
    int n;
    bool neg;
    double out, m;
    if (pow_operands(x, y, &out, &ub, &n, &m, &neg)) return out;
    return Core(x, y, ub, n, m, neg);
}

// Overflow and underflow decided before any evaluation: the product of two huge or two
// tiny numbers makes the flags and, in every rounding mode, the right result.  The codes are
// pow's unless a sibling (powr) names its own.
template <int Over = code::pow_overflow>
inline double overflow(double x, double y, bool neg) {
    double r = opaque(neg ? -0x1.fffffffffffffp1023 : 0x1.fffffffffffffp1023) * opaque(0x1.fffffffffffffp1023);
    return report(x, y, r, Over);
}
template <int Under = code::pow_underflow>
inline double underflow(double x, double y, bool neg) {
    double r = opaque(neg ? -0x1p-1022 : 0x1p-1022) * opaque(0x1p-1022);
    return report(x, y, r, Under);
}

// (T + Y) * 2^e, rounded once in the caller's mode.  T and Y carry the result's sign and
// 0.9 < |T + Y| < 2.1.  In the normal range (e > -1022, or e = -1022 with |T + Y| >= 1) the sum is the only rounding and the scaling
// is exact.  Below it the sum is moved to the binade [1, 2) of a unit offset, where the
// grid of doubles is the grid of subnormals scaled by 2^1022: the one rounding happens in
// that addition, and taking the offset away and scaling are exact.
template <int Over = code::pow_overflow, int Under = code::pow_underflow>
inline double scale(double T, double Y, int e, double x, double y) {
    if (e >= -1022) {
        double v = T + Y;
        double av = __builtin_fabs(v);
        if (e >= 1023) {
            if (e > 1024 || (e == 1024 && av >= 1.0) || (e == 1023 && av >= 2.0))
                return overflow<Over>(x, y, v < 0);
            return v * 0x1p1000 * f64(uint64_t(e - 1000 + 1023) << 52);
        }
        if (e > -1022 || av >= 1.0) return v * f64(uint64_t(e + 1023) << 52);
    }
    if (e < -1022 - 60) return underflow<Under>(x, y, T < 0);
    double sc = f64(uint64_t(e + 1022 + 1023) << 52);
    double a = T * sc, b = Y * sc;
    double one = T < 0 ? -1.0 : 1.0;
    double y0 = a + b;
    double l0 = (a - y0) + b;
    double hi = one + y0;
    double lo = ((one - hi) + y0) + l0;
    double res = (hi + lo) - one;
    if (res == 0) res = one * 0.0;  // x - x is -0 when rounding down: keep the result's sign
    double r = res * 0x1p-1022;
    if (__builtin_fabs(res) < 1.0) {
        raise_underflow();
        return report(x, y, r, Under);
    }
    return r;
}

}  // namespace
}  // namespace tsr::powk

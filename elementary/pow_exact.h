// x^y when it is exactly representable, for every tier of pow and powf.  The evaluation
// paths carry an error of a fraction of an ulp before their last rounding, so a result
// that is exact (x^1, integer powers of powers of two, small powers of short significands)
// could come back one ulp off in a directed mode, or carry a false inexact.  These cases
// are found by integer work and built exactly instead.
//
// With |x| = m * 2^e (m odd) and y a non-zero integer, x^y is exact exactly when
//   y > 0: m^y fits in the significand, and m^y * 2^(e y) lies in the format's range
//          (its lowest bit at or above the smallest subnormal, its highest at or below the
//          largest exponent);
//   y < 0: m = 1 (any other m^y has a factor 1/m) and 2^(e y) lies in the range.
// |y| >= 2^11 never gives an exact result for |x| != 1 (2^2048 and 2^-2048 are outside
// every range here), so only 0 < |y| < 2^11 is looked at.
#pragma once
#include <cstdint>

#include "tsr/common.h"
#include "tsr/format.h"

namespace tsr::powk {
namespace {

// y is an integer with 1 <= |y| < 2^11, from its bits alone.
inline bool small_integer(uint64_t uy) {
    unsigned e = unsigned(uy >> 52) & 0x7ff;
    if (e - 0x3ffu > 10u) return false;
    return (uy << (12 + (e - 0x3ff))) == 0;
}
inline bool small_integer(uint32_t uy) {
    unsigned e = (uy >> 23) & 0xff;
    if (e - 0x7fu > 10u) return false;
    return uint32_t(uy << (9 + (e - 0x7f))) == 0;
}

// For ax = |x| finite, non-zero and positive, y an integer with 1 <= |y| < 2^11: if ax^y
// is exact, stores it (negated when `neg`) in *out and returns true.  The result is built
// from the integer m^y and powers of two, every step exact, so nothing is raised.
template <class T>
inline bool exact_power(T ax, T y, bool neg, T *out) {
    using F = Format<T>;
    constexpr int fb = F::precision - 1;  // fraction bits
    uint64_t ub = F::bits(ax);
    int ef = int(ub >> fb);
    uint64_t m = ub & F::mantissa;
    int e = (ef == 0 ? 1 : ef) - F::bias - fb;
    if (ef != 0) m |= uint64_t(1) << fb;
    int tz = 63 - __builtin_clzll(m & -m);  // trailing zeros, by bsr (no tzcnt before l9)
    m >>= tz;
    e += tz;
    int iy = int(y);  // an integer value: the conversion is exact and raises nothing
    if (iy == 1) {  // x itself, untouched (a subnormal x would meet flush-to-zero in a product)
        *out = neg ? -ax : ax;
        return true;
    }
    uint64_t M = 1;
    if (iy < 0) {
        if (m != 1) return false;
    } else if (m != 1) {
        for (int k = 0; k < iy; ++k)
            if (__builtin_mul_overflow(M, m, &M) || (M >> F::precision) != 0) return false;
    }
    int E = e * iy;
    int top = E + 63 - __builtin_clzll(M);  // exponent of the highest bit
    if (E < F::emin - fb || top > F::emax) return false;
    // M * 2^E in double: M converts exactly; below the normal range of double the scale
    // goes in two steps, the first keeping the value normal, the second exact because the
    // result is representable.
    double r = double(M);
    if (E < -1022) {
        r *= f64(uint64_t(E + 200 + 1023) << 52);
        r *= 0x1p-200;
    } else {
        r *= f64(uint64_t(E + 1023) << 52);
    }
    *out = T(neg ? -r : r);
    return true;
}

// The extended-precision counterparts (significands of 64 bits, exponents to +-16383): y an
// integer with 1 <= |y| < 2^15 (2^32768 and its reciprocal lie outside the range), and ax^y
// for a positive finite ax when it is exact, built by integer work (nothing is raised).
inline bool small_integer_l(long double y) {
    Ext b = ext(y);
    unsigned e = unsigned(b.se & 0x7fff) - 0x3fffu;
    if (e > 14u) return false;
    return (b.m << (e + 1)) == 0;
}
inline bool exact_power_l(long double ax, long double y, long double *out) {
    Ext b = ext(ax);
    int ef = b.se & 0x7fff;
    uint64_t m = b.m;
    if (m == 0) return false;
    int e = (ef == 0 ? 1 : ef) - 16383 - 63;
    int tz = 63 - __builtin_clzll(m & -m);
    m >>= tz;
    e += tz;
    int iy = int(y);
    uint64_t M = 1;
    if (iy < 0) {
        if (m != 1) return false;
    } else if (m != 1) {
        for (int k = 0; k < iy; ++k)
            if (__builtin_mul_overflow(M, m, &M)) return false;
    }
    int E = e * iy;
    int top = E + 63 - __builtin_clzll(M);
    if (E < -16445 || top > 16383) return false;
    if (top >= -16382) *out = from_ext(M << __builtin_clzll(M), uint16_t(top + 16383));
    else *out = from_ext(M << (E + 16445), 0);  // subnormal: the field counts 2^-16445
    return true;
}

}  // namespace
}  // namespace tsr::powk

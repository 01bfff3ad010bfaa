// What a body needs to know of each binary format: its widths, bias, masks and extreme
// values, and its bit view.  Format<T> is the one place these numbers are written; a body
// that classifies by integer tests takes them from here.
#pragma once
#include <bit>
#include <cstdint>
#include <type_traits>

#include "tsr/common.h"

namespace tsr {

template <class T>
struct Format;

template <>
struct Format<float> {
    using Bits = uint32_t;
    static constexpr int precision = 24;      // significand bits, the hidden one included
    static constexpr int bias = 127;
    static constexpr int emax = 127, emin = -126;
    static constexpr Bits sign = 0x80000000u, abs = 0x7fffffffu;
    static constexpr Bits exponent = 0x7f800000u, mantissa = 0x007fffffu;
    static constexpr Bits quiet = 0x00400000u;  // the quiet bit of a NaN
    static constexpr Bits inf = 0x7f800000u, one = 0x3f800000u;
    static constexpr float max = 0x1.fffffep127f, min_normal = 0x1p-126f,
                           min_subnormal = 0x1p-149f, epsilon = 0x1p-23f;
    static Bits bits(float x) { return std::bit_cast<Bits>(x); }
    static float from(Bits b) { return std::bit_cast<float>(b); }
};

template <>
struct Format<double> {
    using Bits = uint64_t;
    static constexpr int precision = 53;
    static constexpr int bias = 1023;
    static constexpr int emax = 1023, emin = -1022;
    static constexpr Bits sign = 0x8000000000000000ull, abs = 0x7fffffffffffffffull;
    static constexpr Bits exponent = 0x7ff0000000000000ull, mantissa = 0x000fffffffffffffull;
    static constexpr Bits quiet = 0x0008000000000000ull;
    static constexpr Bits inf = 0x7ff0000000000000ull, one = 0x3ff0000000000000ull;
    static constexpr double max = 0x1.fffffffffffffp1023, min_normal = 0x1p-1022,
                            min_subnormal = 0x1p-1074, epsilon = 0x1p-52;
    static Bits bits(double x) { return std::bit_cast<Bits>(x); }
    static double from(Bits b) { return std::bit_cast<double>(b); }
};

// The x87 80-bit format: an explicit integer bit at the top of a 64-bit significand, and
// the sign and 15-bit exponent in the word above it (see tsr::ext).
template <>
struct Format<long double> {
    using Bits = Ext;
    static constexpr int precision = 64;
    static constexpr int bias = 16383;
    static constexpr int emax = 16383, emin = -16382;
    static constexpr uint16_t sign = 0x8000, abs = 0x7fff, exponent = 0x7fff;
    static constexpr uint64_t integer = 0x8000000000000000ull;   // the explicit integer bit
    static constexpr uint64_t quiet = 0x4000000000000000ull;
    static constexpr long double max = 0x1.fffffffffffffffep16383L, min_normal = 0x1p-16382L,
                                 min_subnormal = 0x1p-16445L, epsilon = 0x1p-63L;
    static Bits bits(long double x) { return ext(x); }
    static long double from(Bits b) { return from_ext(b.m, b.se); }
};

// binary128: two 64-bit words, low word first; the high word holds sign, 15-bit exponent
// and the top 48 fraction bits.
template <>
struct Format<__float128> {
    using Bits = Q;
    static constexpr int precision = 113;
    static constexpr int bias = 16383;
    static constexpr int emax = 16383, emin = -16382;
    static constexpr uint64_t sign = 0x8000000000000000ull, abs = 0x7fffffffffffffffull;
    static constexpr uint64_t exponent = 0x7fff000000000000ull, mantissa = 0x0000ffffffffffffull;
    static constexpr uint64_t quiet = 0x0000800000000000ull;
    static Bits bits(__float128 x) { return qbits(x); }
    static __float128 from(Bits b) { return from_q(b.hi, b.lo); }
};

// Classification of float and double by their bit patterns, for code that is generic in
// the format.  None of them raises a flag.
template <class T>
inline bool is_nan(T x) { return (Format<T>::bits(x) & Format<T>::abs) > Format<T>::inf; }
template <class T>
inline bool is_snan(T x) {
    using F = Format<T>;
    return is_nan(x) && !(F::bits(x) & F::quiet);
}
template <class T>
inline bool is_inf(T x) { return (Format<T>::bits(x) & Format<T>::abs) == Format<T>::inf; }
template <class T>
inline bool sign_bit(T x) { return (Format<T>::bits(x) & Format<T>::sign) != 0; }

// x * 2^k for a subnormal x (of either sign), k at least the fraction width so that the
// product is normal.  It is made from the integer significand (converted exactly) and a
// normal power of two, so it is exact, raises nothing, and is the same with
// denormals-are-zero set, where x * 2^k would see a zero argument.
template <class T>
inline T scale_subnormal(T x, int k) {
    using F = Format<T>;
    using Int = std::conditional_t<sizeof(T) == 8, int64_t, int32_t>;
    constexpr int fb = F::precision - 1;
    auto b = F::bits(x);
    T m = T(Int(b & F::mantissa));
    T p = F::from(typename F::Bits(k + F::emin - fb + F::bias) << fb);  // 2^(k + emin - fb)
    return (b & F::sign ? -m : m) * p;
}

}  // namespace tsr

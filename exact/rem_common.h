// What the remainder functions share: the exact integer division of two significands at any
// exponent distance, and the fused round-toward-zero reduction.
//
// Integer division.  Both operands become 64-bit significands with their top bit set, m *
// 2^e.  With d the exponent distance, |x| mod |y| is (mx * 2^d) mod my in units of 2^ey:
// the processor's 128-by-64-bit division takes up to 64 bits of d per step (the partial
// remainder r < my keeps each step's quotient below 2^64), so that a distance of 2100 bits
// costs 33 divisions, and the low 64 bits of the integer quotient come with it.  Every
// format runs on this one core (float and double significands are shifted up, extended
// ones already fill the word); the result m * 2^e is exact in the operands' format.
//
// Fused reduction.  q = trunc(a / b) computed rounding toward zero is never above the true
// quotient, so a - q*b is non-negative, below 2^-51 a, and a multiple of ulp(q) ulp(b):
// it has at most 53 significant bits and a fused multiply-add gives it exactly.  Repeating
// while the rest is at least b reaches a mod b.  A quotient that saturates at the largest
// finite value (a / b beyond the range) is first reduced against b * 2^1023.
#pragma once
#include <bit>

#include "tsr/common.h"

namespace tsr::rem {
namespace {

// A finite non-zero magnitude as m * 2^e with bit 63 of m set.
struct Sig {
    uint64_t m;
    int e;
};
inline Sig sig(double x) {
    uint64_t b = bits(x) & 0x7fffffffffffffffull;
    int f = int(b >> 52);
    uint64_t m = b & 0x000fffffffffffffull;
    int e = f == 0 ? -1074 : f - 1075;
    if (f) m |= 0x0010000000000000ull;
    int z = std::countl_zero(m);
    return {m << z, e - z};
}
inline Sig sig(float x) {
    uint32_t b = bits(x) & 0x7fffffffu;
    int f = int(b >> 23);
    uint64_t m = b & 0x007fffffu;
    int e = f == 0 ? -149 : f - 150;
    if (f) m |= 0x00800000u;
    int z = std::countl_zero(m);
    return {m << z, e - z};
}
inline Sig sig(long double x) {
    Ext v = ext(x);
    int f = v.se & 0x7fff;
    int e = (f == 0 ? 1 : f) - 16383 - 63;
    int z = std::countl_zero(v.m);
    return {v.m << z, e - z};
}

// m * 2^e (exact in the format; m may be zero) with the sign bit `neg`.
template <class T>
inline T make(uint64_t m, int e, bool neg);
template <>
inline double make<double>(uint64_t m, int e, bool neg) {
    uint64_t s = neg ? 0x8000000000000000ull : 0;
    if (m == 0) return f64(s);
    int z = std::countl_zero(m);
    m <<= z;
    int f = e - z + 63 + 1023;
    if (f >= 1) return f64(s | (uint64_t(f) << 52) | ((m >> 11) & 0x000fffffffffffffull));
    return f64(s | (m >> (12 - f)));
}
template <>
inline float make<float>(uint64_t m, int e, bool neg) {
    uint32_t s = neg ? 0x80000000u : 0;
    if (m == 0) return f32(s);
    int z = std::countl_zero(m);
    m <<= z;
    int f = e - z + 63 + 127;
    if (f >= 1) return f32(s | (uint32_t(f) << 23) | uint32_t((m >> 40) & 0x007fffffu));
    return f32(s | uint32_t(m >> (41 - f)));
}
template <>
inline long double make<long double>(uint64_t m, int e, bool neg) {
    uint16_t s = neg ? 0x8000 : 0;
    if (m == 0) return from_ext(0, s);
    int z = std::countl_zero(m);
    m <<= z;
    int f = e - z + 63 + 16383;
    if (f >= 1) return from_ext(m, uint16_t(s | f));
    return from_ext(m >> (1 - f), s);
}

// (hi * 2^64 + lo) / d for hi < d: one divq.
inline uint64_t divq(uint64_t hi, uint64_t lo, uint64_t d, uint64_t &rest) {
    uint64_t q;
    asm("divq %4" : "=a"(q), "=d"(rest) : "a"(lo), "d"(hi), "rm"(d) : "cc");
    return q;
}

// |x| mod |y| for ax >= ay (x.e >= y.e once normalised, or equal exponents with mx >= my
// handled by the first subtraction): the rest in units of 2^y.e, and the low 64 bits of the
// integer quotient.
inline uint64_t divide(Sig x, Sig y, uint64_t &quo) {
    int d = x.e - y.e;
    uint64_t q = x.m >= y.m;
    uint64_t r = q ? x.m - y.m : x.m;
    while (d > 0) {
        int s = d < 64 ? d : 64;
        uint64_t hi = s == 64 ? r : r >> (64 - s), lo = s == 64 ? 0 : r << s;
        uint64_t qq = divq(hi, lo, y.m, r);
        q = (s == 64 ? 0 : q << s) + qq;
        d -= s;
    }
    quo = q;
    return r;
}

// Order of two magnitudes in Sig form: ax < ay.
inline bool below(Sig x, Sig y) { return x.e < y.e || (x.e == y.e && x.m < y.m); }

// The remainder to nearest (ties to the even quotient) of finite non-zero x and y with the
// sign bit `neg` of x, and the low 64 bits of |quotient| rounded to nearest.
template <class T>
inline T nearest(T x, T y, bool neg, uint64_t &quo) {
    Sig a = sig(x), b = sig(y);
    uint64_t r;
    int e;
    uint64_t q = 0;
    if (below(a, b)) {
        // |x| < |y|: quotient 0 or 1.  2|x| against |y| on the significands.
        int d = b.e - a.e;
        if (d >= 2 || (d == 1 && a.m <= b.m)) {  // 2|x| <= |y|, a tie included: quotient 0
            quo = 0;
            return x;
        }
        if (d == 1) {  // 2|x| > |y|: |y| - |x| = (2 my - mx) 2^ex
            quo = 1;
            return make<T>(b.m - (a.m - b.m), a.e, !neg);
        }
        // same exponent, mx < my
        if (a.m > b.m - a.m) {  // 2|x| > |y|; at a tie the quotient 0 stands
            quo = 1;
            return make<T>(b.m - a.m, a.e, !neg);
        }
        quo = 0;
        return x;
    }
    r = divide(a, b, q);
    e = b.e;
    // Round the quotient to nearest: past half of |y|, or at half with an odd quotient.
    uint64_t other = b.m - r;
    bool up = r > other || (r == other && (q & 1));
    if (up) {
        quo = q + 1;
        return make<T>(other, e, !neg);
    }
    quo = q;
    return make<T>(r, e, neg);
}

// x reduced by y on the x87 unit, repeated until the status word's C2 bit (reduction
// incomplete) is clear: fprem truncates the quotient (the remainder keeps x's sign, fmod's),
// fprem1 rounds it to nearest (remainder's).  Each step is exact, so the result is.
template <bool kNearest>
inline long double x87_remainder(long double x, long double y) {
    long double r;
    if constexpr (kNearest)
        asm("1:\n\tfprem1\n\tfnstsw %%ax\n\ttestw $0x400, %%ax\n\tjnz 1b"
            : "=t"(r) : "0"(x), "u"(y) : "ax", "cc");
    else
        asm("1:\n\tfprem\n\tfnstsw %%ax\n\ttestw $0x400, %%ax\n\tjnz 1b"
            : "=t"(r) : "0"(x), "u"(y) : "ax", "cc");
    return r;
}

}  // namespace
}  // namespace tsr::rem

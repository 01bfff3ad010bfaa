// Test support for the rounding family: an exact reference on the bit pattern that shares
// nothing with the library's methods (the argument is taken apart into an integer
// significand M and an exponent E, |x| = M * 2^E, and the integer part and remainder are
// compared as integers), the rounding-mode and flag controls of both units, and the flag
// behaviour each variant promises.
#pragma once
#include <cstdint>
#include <cstring>
#include <string>

#include "harness/harness.h"

namespace rnd {

using u128 = unsigned __int128;

enum class Op { ceil, floor, trunc, round, rint, nearbyint };
enum Mode : uint32_t { kNearest = 0, kDown = 1, kUp = 2, kZero = 3 };
inline const char *mode_name(uint32_t m) {
    static const char *n[] = {"nearest", "down", "up", "toward-zero"};
    return n[m & 3];
}

// ---- control words --------------------------------------------------------------------
inline uint32_t mxcsr() { return th::mxcsr_now(); }
inline void set_mxcsr(uint32_t v) { th::set_mxcsr(v); }
inline uint16_t x87cw() { return th::x87_cw_now(); }
inline void set_x87cw(uint16_t v) { th::set_x87_cw(v); }
inline uint16_t x87sw() { return th::x87_sw_now(); }

// The IEEE flags, in the bit positions both units use (the denormal-operand bit, 0x02, is
// no IEEE flag and is ignored).
constexpr uint32_t kInvalid = 0x01, kInexact = 0x20, kIeee = 0x3d;

inline void set_mode(uint32_t m) {
    set_mxcsr((mxcsr() & ~0x6000u) | (m << 13));
    set_x87cw(uint16_t((x87cw() & ~0xc00u) | (m << 10)));
}
inline void clear_flags() {
    set_mxcsr(mxcsr() & ~0x3fu);
    asm volatile("fnclex" ::: "memory");
}
inline void set_flags(uint32_t f) { set_mxcsr(mxcsr() | f); }
inline uint32_t flags() { return (mxcsr() | x87sw()) & kIeee; }

// ---- formats --------------------------------------------------------------------------
template <class T> struct Fmt;
template <> struct Fmt<float> {
    using U = uint32_t;
    static constexpr int kFrac = 23, kBias = 127, kExpMax = 0xff;
    static U bits(float x) { U u; __builtin_memcpy(&u, &x, 4); return u; }
    static float from(U u) { float x; __builtin_memcpy(&x, &u, 4); return x; }
    static constexpr U kSign = 0x80000000u, kQuiet = 0x00400000u;
};
template <> struct Fmt<double> {
    using U = uint64_t;
    static constexpr int kFrac = 52, kBias = 1023, kExpMax = 0x7ff;
    static U bits(double x) { U u; __builtin_memcpy(&u, &x, 8); return u; }
    static double from(U u) { double x; __builtin_memcpy(&x, &u, 8); return x; }
    static constexpr U kSign = 0x8000000000000000ull, kQuiet = 0x0008000000000000ull;
};
// Extended: the significand and the sign/exponent word, compared as such.
struct Ext {
    uint64_t m;
    uint16_t se;
    bool operator==(const Ext &o) const { return m == o.m && se == o.se; }
};
inline Ext ext(long double x) {
    Ext e;
    __builtin_memcpy(&e.m, &x, 8);
    __builtin_memcpy(&e.se, reinterpret_cast<const char *>(&x) + 8, 2);
    return e;
}
inline long double mkext(uint64_t m, uint16_t se) {
    long double x = 0;
    __builtin_memcpy(&x, &m, 8);
    __builtin_memcpy(reinterpret_cast<char *>(&x) + 8, &se, 2);
    return x;
}

// ---- the reference ----------------------------------------------------------------------
// The direction the operation takes in mode m.
enum class Dir { trunc, floor, ceil, half_away, half_even };
inline Dir dir_of(Op op, uint32_t m) {
    switch (op) {
    case Op::ceil: return Dir::ceil;
    case Op::floor: return Dir::floor;
    case Op::trunc: return Dir::trunc;
    case Op::round: return Dir::half_away;
    default: break;
    }
    static const Dir by_mode[] = {Dir::half_even, Dir::floor, Dir::ceil, Dir::trunc};
    return by_mode[m & 3];
}

// |x| = M * 2^E with M an integer, x finite.  Returns the magnitude of the result as an
// integer and whether x was an integer.
struct Split {
    bool neg;
    u128 mag;  // |result|
    bool integral;
};
inline Split split_round(bool neg, u128 M, int E, Dir d) {
    Split r{neg, 0, true};
    if (M == 0) return r;
    if (E >= 0) {
        r.mag = M << E;  // callers keep M * 2^E below 2^127
        return r;
    }
    int s = -E;
    u128 q, rem, half;
    if (s >= 120) {
        q = 0;
        rem = M;
        half = u128(1) << 119;  // rem < 2^64 < half: below one half
    } else {
        q = M >> s;
        rem = M & ((u128(1) << s) - 1);
        half = u128(1) << (s - 1);
    }
    r.integral = rem == 0;
    bool inc = false;
    switch (d) {
    case Dir::trunc: break;
    case Dir::floor: inc = neg && rem != 0; break;
    case Dir::ceil: inc = !neg && rem != 0; break;
    case Dir::half_away: inc = rem >= half && rem != 0 && s < 120; break;
    case Dir::half_even: inc = s < 120 && (rem > half || (rem == half && (q & 1))); break;
    }
    r.mag = q + (inc ? 1 : 0);
    return r;
}

// Reference for float and double: the result's bits and whether x is a non-integer.
// Infinities and NaN are the caller's business.
template <class T>
inline typename Fmt<T>::U ref_bits(Op op, uint32_t mode, T x, bool *nonint = nullptr) {
    using F = Fmt<T>;
    using U = typename F::U;
    U u = F::bits(x);
    bool neg = (u & F::kSign) != 0;
    int field = int((u >> F::kFrac) & F::kExpMax);
    U frac = u & ((U(1) << F::kFrac) - 1);
    if (field == F::kExpMax) {
        if (nonint) *nonint = false;
        return u;
    }
    u128 M = field ? (frac | (U(1) << F::kFrac)) : frac;
    int E = (field ? field : 1) - F::kBias - F::kFrac;
    if (E >= 0) {
        if (nonint) *nonint = false;
        return u;  // already an integer (and M << E would not fit)
    }
    Split s = split_round(neg, M, E, dir_of(op, mode));
    if (nonint) *nonint = !s.integral;
    // The magnitude has at most kFrac + 2 bits; its conversion to T is exact.
    T v = T(uint64_t(s.mag));
    return F::bits(v) | (neg ? F::kSign : 0);
}

inline Ext ref_ext(Op op, uint32_t mode, Ext x, bool *nonint = nullptr) {
    bool neg = (x.se & 0x8000) != 0;
    int field = x.se & 0x7fff;
    if (field == 0x7fff || field >= 0x403e) {
        if (nonint) *nonint = false;
        return x;
    }
    int E = (field ? field : 1) - 0x3fff - 63;
    Split s = split_round(neg, x.m, E, dir_of(op, mode));
    if (nonint) *nonint = !s.integral;
    if (s.mag == 0) return Ext{0, uint16_t(neg ? 0x8000 : 0)};
    // normalise the integer into a 64-bit significand
    uint64_t mm = uint64_t(s.mag);  // at most 2^63: |x| < 2^63 here
    int lz = __builtin_clzll(mm);
    uint16_t se = uint16_t(0x3fff + 63 - lz) | (neg ? 0x8000 : 0);
    return Ext{mm << lz, se};
}

// ---- what each variant promises about flags ------------------------------------------------
enum class Inexact {
    never,   // no rounding arithmetic at all
    nonint,  // on every non-integer
    magic,   // on non-integers of magnitude 1 up to the shifter's range (below: tables; the
             // half-ulp band just under the range is handled exactly)
    keep     // nearbyint: leaves the flag as it was
};
enum class Nan {
    keep,           // returned bit for bit, a signalling NaN too, no flag
    quiet_invalid,  // a signalling NaN comes back quieted and raises invalid
    quiet_silent    // quieted without raising
};

}  // namespace rnd

namespace rnd {
// The float reference for all operations at once, on 64-bit integers (the long run's
// hot loop): out[] holds ceil, floor, trunc, round and rint-in-`mode` bit patterns.
// Returns whether x is a finite non-integer.  Infinities and NaN come back unchanged.
inline bool ref_float_all(uint32_t u, uint32_t mode, uint32_t out[5]) {
    uint32_t sign = u & 0x80000000u, field = (u >> 23) & 0xff;
    if (field >= 150) {  // integers, infinities, NaN
        for (int i = 0; i < 5; ++i) out[i] = u;
        return false;
    }
    uint64_t M = field ? (u & 0x7fffff) | 0x800000 : u & 0x7fffff;
    int s = 150 - int(field ? field : 1);  // bits below the point: 1..149
    uint64_t q, rem, half;
    if (s > 40) {
        q = 0;
        rem = M;
        half = uint64_t(1) << 40;  // M < 2^24: below one half
    } else {
        q = M >> s;
        rem = M & ((uint64_t(1) << s) - 1);
        half = uint64_t(1) << (s - 1);
    }
    if (M == 0) rem = 0;
    bool neg = sign != 0, frac = rem != 0;
    uint64_t mag[5];
    mag[0] = q + (!neg && frac);
    mag[1] = q + (neg && frac);
    mag[2] = q;
    mag[3] = q + (frac && rem >= half);
    switch (mode) {
    case kNearest: mag[4] = q + (rem > half || (rem == half && (q & 1))); break;
    case kDown: mag[4] = mag[1]; break;
    case kUp: mag[4] = mag[0]; break;
    default: mag[4] = q;
    }
    for (int i = 0; i < 5; ++i) {
        float v = float(uint32_t(mag[i]));  // at most 2^23: exact
        uint32_t b;
        __builtin_memcpy(&b, &v, 4);
        out[i] = b | sign;
    }
    return frac;
}
}  // namespace rnd

// Test support for the rounding family: the reference (MPFR's rounding to integers), the
// rounding-mode and flag controls of both units, and the flag behaviour each variant
// promises.
#pragma once
#include <cstdint>
#include <cstring>
#include <string>

#include "harness/harness.h"

namespace rnd {

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
// An extended value from its significand and sign/exponent word.
inline long double mkext(uint64_t m, uint16_t se) {
    long double x = 0;
    __builtin_memcpy(&x, &m, 8);
    __builtin_memcpy(reinterpret_cast<char *>(&x) + 8, &se, 2);
    return x;
}

// ---- the reference ----------------------------------------------------------------------
// MPFR's own rounding to integers (rint in the given rounding), exact at 128 bits; a zero
// result keeps the argument's sign.  Also whether x is a finite non-integer.  Infinities and
// NaN come back unchanged.
template <class T> inline T ref_value(Op op, mpfr_rnd_t rnd, T x, bool *nonint) {
    *nonint = false;
    if (x != x || x - x != x - x) return x;
    th::Mp a(128), y(128);
    th::set(a, x);
    switch (op) {
    case Op::ceil: mpfr_ceil(y, a); break;
    case Op::floor: mpfr_floor(y, a); break;
    case Op::trunc: mpfr_trunc(y, a); break;
    case Op::round: mpfr_round(y, a); break;
    default: mpfr_rint(y, a, rnd); break;
    }
    if (mpfr_zero_p(y)) mpfr_setsign(y, y, mpfr_signbit(a), MPFR_RNDN);
    *nonint = !mpfr_equal_p(a, y);
    return th::round_to<T>(y);
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

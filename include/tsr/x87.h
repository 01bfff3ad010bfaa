// The x87 frame of the extended-precision functions, and the exact operations on
// extended values that their head-and-tail arithmetic is built from.
//
// A function classifies its argument with integer reads alone; when its arithmetic begins it
// opens an X87Frame, which reads the caller's control word and, only if the precision field
// is not already at 64 bits, loads the word with that field set (the rounding field is left
// as the caller has it, so results follow the caller's x87 rounding mode).  The caller's word
// comes back on every exit and before every report: finish() hands the last value over the
// restore, release() restores before a report.  On the usual path (a caller already at 64
// bits) the frame costs one store of the control word and a test.
//
// The compiler does not see the control word: a body passes its operands through opaque()
// after opening the frame and its result through finish(), so that no x87 arithmetic moves
// across a change of precision.
#pragma once
#include <cstdint>

#include "tsr/common.h"

namespace tsr {
namespace {

using LD = long double;

struct X87Frame {
    uint16_t saved;
    bool changed;
    // With `nearest`, the rounding field is set to nearest as well for the computation (the
    // caller's comes back with the rest of the word).
    explicit X87Frame(bool nearest = false) : saved(get_x87_cw()) {
        uint16_t want = uint16_t(saved | X87_PC_MASK);
        if (nearest) want = uint16_t(want & ~X87_RC_MASK);
        changed = want != saved;
        if (__builtin_expect(changed, 0)) set_x87_cw(want);
    }
    // The caller's word back (before a report, or before a last operation that must round
    // in the caller's own precision).
    void release() {
        if (__builtin_expect(changed, 0)) {
            set_x87_cw(saved);
            changed = false;
        }
    }
    LD finish(LD v) {
        v = opaque(v);
        release();
        return opaque(v);
    }
    ~X87Frame() { release(); }
    X87Frame(const X87Frame &) = delete;
    X87Frame &operator=(const X87Frame &) = delete;
};

// x onto the register stack straight from its cell (an argument's own stack slot): rebuilt
// from integer reads instead, it would pay a failed store forwarding.
inline LD load(const LD &x) {
    LD r;
    asm("fldt %1" : "=t"(r) : "m"(x));
    return r;
}

// The words of an argument read in its cell, so that the value itself stays there for
// load() (a copy through integer registers would be rebuilt by a failed forwarding).
inline Ext ext_in(const LD &x) {
    Ext e;
    uint32_t se;
    asm("movq %1, %0" : "=r"(e.m) : "m"(*reinterpret_cast<const uint64_t *>(&x)));
    asm("movzwl %1, %0" : "=r"(se) : "m"(reinterpret_cast<const uint16_t *>(&x)[4]));
    e.se = uint16_t(se);
    return e;
}

// ---- bits ------------------------------------------------------------------------------
// 2^k for a normal exponent k, built by integer work: through a double where k allows it
// (an 8-byte store and load, which forward), else as an extended value.
inline LD pow2l(int k) {
    if (__builtin_expect(unsigned(k + 1022) <= 2045u, 1)) return LD(f64(uint64_t(k + 1023) << 52));
    return from_ext(0x8000000000000000ull, uint16_t(k + 0x3fff));
}

// The sign-and-exponent word in the upper half, the top 16 significand bits in the lower:
// one unsigned compare places a value among binades and fractions of a binade.
inline uint32_t key(const Ext &e) { return (uint32_t(e.se) << 16) | uint32_t(e.m >> 48); }

// The integer n of a shifter sum s = v + 1.5*2^63 (the low word of its significand).
constexpr float kShifter = 0x1.8p63f;
inline int32_t shifter_int(LD s) { return int32_t(uint32_t(ext(s).m)); }

// v rounded to an integer in the caller's rounding mode (|v| < 2^31), as an int and as a
// value: one integer store whose reload forwards, where reading a stored extended value's
// significand would not.
inline int32_t round_int(LD v, LD &nf) {
    int32_t n;
    asm("fistpl %0" : "=m"(n) : "t"(v) : "st");
    nf = LD(n);
    return n;
}

// ---- exact operations (precision 64 bits, round to nearest; in the directed modes the
// error terms are near-exact, which keeps the results within the directed-mode bounds) ----

// s + e = a + b exactly, for |a| >= |b| (or a = 0).
inline void fast_two_sum(LD a, LD b, LD &s, LD &e) {
    s = a + b;
    e = b - (s - a);
}
// s + e = a + b exactly, any order.
inline void two_sum(LD a, LD b, LD &s, LD &e) {
    s = a + b;
    LD bb = s - a;
    e = (a - (s - bb)) + (b - bb);
}
// a = h + l with h of 32 bits and l of 32 bits (Veltkamp's split).
inline void split32(LD a, LD &h, LD &l) {
    LD c = a * 0x1.00000001p32L;
    h = c - (c - a);
    l = a - h;
}
// The same split by integer work: no flag is raised, so exact results stay exact.
inline void split32_bits(LD a, LD &h, LD &l) {
    Ext e = ext(a);
    h = from_ext(e.m & 0xffffffff00000000ull, e.se);
    l = a - h;
}
// p + e = a * b exactly (Dekker's product).
template <bool kFlagFree = false>
inline void two_prod(LD a, LD b, LD &p, LD &e) {
    LD ah, al, bh, bl;
    if constexpr (kFlagFree) {
        split32_bits(a, ah, al);
        split32_bits(b, bh, bl);
    } else {
        split32(a, ah, al);
        split32(b, bh, bl);
    }
    p = a * b;
    e = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
}
// (h + l) * (ch + cl) as a pair, for a constant whose head ch has at most 32 bits: the
// head's product with the 32-bit half of h is exact.  l need not be small beside ulp(h)
// (a pair whose tail holds a series' higher terms), so every product of it is kept.
inline void mul_const(LD h, LD l, const LD c[2], LD &ph, LD &pl) {
    LD hh, hl;
    split32(h, hh, hl);
    LD a = hh * c[0];
    LD b = hl * c[0] + (h * c[1] + (l * c[0] + l * c[1]));
    fast_two_sum(a, b, ph, pl);
}

}  // namespace
}  // namespace tsr

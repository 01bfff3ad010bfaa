// What the correctly rounded single-precision functions share.
//
// Every member evaluates its function in double and narrows once, in the caller's mode.  The
// double value y comes from this library's own double (or extended) function at tier ex, run
// in round-to-nearest with every exception masked; its error is below one unit in its last
// place (measured at most 0.53 ulp for each kernel used), so below 2^-52 |y| up to a factor 2.
//
// The rounding test.  A float and every point halfway between two floats lie on the grid of
// 25-bit numbers of y's binade: the boundaries of rounding in all four modes, of inexactness
// and (tininess being judged after rounding) of underflow.  The 28 bits of y below that grid
// are its distance to the grid point below, in units of y's last place.  When that distance
// and the one to the point above both exceed kMargin units (four times the error bound), the
// exact value lies strictly inside the same grid interval as y, so narrowing y gives the
// correctly rounded float with exactly the flags the exact value would raise.  Otherwise the
// argument is one of the few listed in crf_data.cpp (found by running every float through
// the test, tools/gen/crf_tables.py), whose row holds the exact value rounded to odd at 26
// bits: a double that narrows like the exact value in every mode (exact results are stored
// exactly).  Members with an extended-precision kernel list their exact results only (they
// are known in closed form) and settle any other failing argument by a careful phase: the
// function in x87 extended precision (error about 2^-63), rounded to odd at 53 bits.
//
// Tiny arguments, where f(x) = x(1 + d) or 1 + d with |d| below 2^-25, never reach the
// double kernel: the result is the double next to x (or 1) on the side of d, which lies
// inside the grid interval next to x and narrows as the exact value does.
#pragma once
#include "tsr/codes.h"
#include "tsr/common.h"
#include "tsr/report.h"
#include "tsr_decls.h"
#include "correct/crf_data.h"

extern "C" {
// Test hook: when set, an argument that fails the rounding test and has no row is handed to
// it (member and key) before its careful phase, or before the double value is narrowed.  The search for the rows and
// the check that none is missing both run through it.
extern void (*__libm_crf_observer)(int member, uint32_t key) TSR_HIDDEN;
}

namespace tsr::crf {
namespace {

// Bits of a double below the 25-bit grid of its binade.
constexpr uint64_t kBelowGrid = (uint64_t(1) << 28) - 1;
// Units of y's last place within which a grid point makes the test fail.
constexpr uint64_t kMargin = 4;
// The body's control word: round to nearest, every exception masked, no flag set.
constexpr uint32_t kBodyCsr = 0x1f80;

// The status flags other than inexact (and the denormal-operand flag, which is none of
// IEEE's): invalid, divide-by-zero, overflow, underflow.
constexpr uint32_t kBeyondInexact = 0x1d;

inline bool ambiguous(double y) { return ((bits(y) + kMargin) & kBelowGrid) <= 2 * kMargin; }

// The row of `key` in a member's list, binary search.
inline bool lookup(const HardList &h, uint32_t key, double &v) {
    unsigned lo = 0, hi = h.n;
    while (lo < hi) {
        unsigned mid = (lo + hi) >> 1;
        if (h.key[mid] < key) lo = mid + 1; else hi = mid;
    }
    if (lo < h.n && h.key[lo] == key) { v = h.value[lo]; return true; }
    return false;
}

// The x87 unit's environment (control word, flags) kept across the careful phase, whose
// extended arithmetic must leave neither flags nor settings behind.
struct X87Env {
    char env[28];
    X87Env() { asm volatile("fnstenv %0" : "=m"(env)); }
    ~X87Env() { asm volatile("fldenv %0" : : "m"(env)); }
};

// An extended value within the double range, rounded to odd at 53 bits: truncated, and its
// last bit set when anything was cut off.  Narrowing it to float rounds as narrowing the
// extended value would, in every mode (53 bits are more than 24 + 2).
inline double odd53(long double v) {
    Ext e = ext(v);
    if (e.m == 0) return double(v);
    uint64_t exp = uint64_t(int(e.se & 0x7fff) - 16383 + 1023);
    uint64_t frac = (e.m >> 11) & ((uint64_t(1) << 52) - 1);
    return f64(uint64_t(e.se >> 15) << 63 | exp << 52 | frac | uint64_t((e.m & 0x7ff) != 0));
}

// The double next to a float value v, toward zero or away from it (v non-zero).
inline double toward_zero(double v) { return f64(bits(v) - 1); }
inline double away_from_zero(double v) { return f64(bits(v) + 1); }
// Narrowed in the caller's mode, the compiler kept from folding it.
inline float narrow(double v) { return float(opaque(v)); }

// The caller's control and status word.  In the default state (round to nearest, every
// exception masked, no flush to zero) the body runs in it as it is: a value settled by the
// rounding test is never exact, so its narrowing raises inexact as the body did, and the
// word is restored only where the body raised more than inexact or the test failed (the
// value narrowed then, listed or not, may be exact).  In any other state the body runs with
// kBodyCsr and the caller's word, flags and all, comes back before the one narrowing.
struct Frame {
    uint32_t saved;
    bool plain, unsettled = false;
    Frame() : saved(get_mxcsr()), plain((saved & 0xffc0) == kBodyCsr) {
        if (!plain) set_mxcsr(kBodyCsr);
    }
    // y, or the listed value of `key` where y fails the rounding test.
    double settle(double y, Member m, uint32_t key) {
        if (__builtin_expect(ambiguous(y), 0)) {
            unsettled = true;
            double v;
            if (lookup(kHard[int(m)], key, v)) return v;
            if (auto obs = __libm_crf_observer) obs(int(m), key);
        }
        return y;
    }
    // The same, the value of `careful` (an evaluation in extended precision, rounded to odd
    // at 53 bits) where y fails the test and `key` has no row.
    template <class Careful> double settle(double y, Member m, uint32_t key, Careful careful) {
        if (__builtin_expect(ambiguous(y), 0)) {
            unsettled = true;
            double v;
            if (lookup(kHard[int(m)], key, v)) return v;
            if (auto obs = __libm_crf_observer) obs(int(m), key);
            X87Env env;
            return careful();
        }
        return y;
    }
    void restore() {
        if (!plain || unsettled || (get_mxcsr() & ~saved & kBeyondInexact)) set_mxcsr(saved);
    }
    float finish(double y) {
        y = opaque(y);
        restore();
        return narrow(y);
    }
    void finish2(double s, double c, float *ps, float *pc) {
        s = opaque(s);
        c = opaque(c);
        restore();
        *ps = narrow(s);
        *pc = narrow(c);
    }
};

inline double with_sign(double v, uint32_t sign) { return f64(bits(v) ^ (uint64_t(sign) << 63)); }

}  // namespace
}  // namespace tsr::crf

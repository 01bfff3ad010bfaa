// Direct access to both floating-point units for the tests, independent of the library:
// what a test sets up or reads back here never goes through the code under test.
#pragma once
#include <fenv.h>

#include <cstdint>

#include "harness/harness.h"
#include "tsr_decls.h"

namespace fpu {

constexpr int kDenormal = 0x02;  // the system's __FE_DENORM
constexpr int kAll6 = FE_ALL_EXCEPT | kDenormal;

struct X87Env {
    uint16_t cw, r1, sw, r2, tw, r3;
    uint32_t ip;
    uint16_t cs, op;
    uint32_t dp;
    uint16_t ds, r4;
};

inline uint32_t mxcsr() { return th::mxcsr_now(); }
inline void set_mxcsr(uint32_t v) { th::set_mxcsr(v); }
inline uint16_t cw() { return th::x87_cw_now(); }
inline uint16_t sw() { return th::x87_sw_now(); }
inline X87Env x87env() {
    X87Env e;
    asm volatile("fnstenv %0" : "=m"(e));
    asm volatile("fldenv %0" : : "m"(e));
    return e;
}
// Installs control word and flags of the x87 unit as given (nothing pending is raised:
// callers keep flags on masked exceptions only).
inline void set_x87(uint16_t cw, uint16_t flags) {
    X87Env e;
    asm volatile("fnstenv %0" : "=m"(e));
    e.cw = cw;
    e.sw = uint16_t((e.sw & ~0x80ff) | flags);
    asm volatile("fnclex");
    asm volatile("fldenv %0" : : "m"(e));
}
inline int x87_flags() { return sw() & 0x3f; }
inline int sse_flags() { return int(mxcsr() & 0x3f); }
inline int sse_masks() { return int((mxcsr() >> 7) & 0x3f); }
inline int sse_round() { return int((mxcsr() >> 3) & 0xc00); }
inline int x87_masks() { return cw() & 0x3f; }
inline int x87_round() { return cw() & 0xc00; }
inline void clear_all() {
    set_mxcsr(mxcsr() & ~0x3fu);
    asm volatile("fnclex");
}

// Raising one exception in one unit by its own arithmetic.
inline void sse_raise(int e) {
    volatile double zero = 0.0, one = 1.0, big = 0x1p1023, tiny = 0x1p-1022, den = 0x1p-1074;
    volatile double r;
    if (e & FE_INVALID) r = zero / zero;
    if (e & FE_DIVBYZERO) r = one / zero;
    if (e & kDenormal) r = den * one;  // exact: the denormal-operand flag alone
    if (e & FE_OVERFLOW) r = big * big;
    if (e & FE_UNDERFLOW) r = tiny * tiny;
    if (e & FE_INEXACT) r = one + tiny;
    (void)r;
}
inline void x87_raise(int e) {
    volatile long double zero = 0.0L, one = 1.0L, big = 0x1p16000L, tiny = 0x1p-16000L,
                         den = 0x1p-16400L;
    volatile long double r;
    if (e & FE_INVALID) r = zero / zero;
    if (e & FE_DIVBYZERO) r = one / zero;
    if (e & kDenormal) r = den * one;
    if (e & FE_OVERFLOW) r = big * big;
    if (e & FE_UNDERFLOW) r = tiny * tiny;
    if (e & FE_INEXACT) r = one + 0x1p-100L;
    (void)r;
}

// Saves both units on construction and puts them back on destruction.
class Saved {
  public:
    Saved() : mx_(mxcsr()) { asm volatile("fnstenv %0" : "=m"(e_)); asm volatile("fldenv %0" : : "m"(e_)); }
    ~Saved() {
        asm volatile("fnclex");
        asm volatile("fldenv %0" : : "m"(e_));
        set_mxcsr(mx_);
    }

  private:
    uint32_t mx_;
    X87Env e_;
};

}  // namespace fpu

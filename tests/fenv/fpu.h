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

inline uint32_t mxcsr() { return th::mxcsr_now(); }
inline void set_mxcsr(uint32_t v) { th::set_mxcsr(v); }
inline int x87_flags() { return th::x87_sw_now() & 0x3f; }
inline int sse_flags() { return int(mxcsr() & 0x3f); }
inline void clear_all() {
    set_mxcsr(mxcsr() & ~0x3fu);
    asm volatile("fnclex");
}

// Raising exceptions in the x87 unit by its own arithmetic.
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
    ~Saved() { th::set_units(u_); }

  private:
    th::Units u_ = th::units_now();
};

}  // namespace fpu

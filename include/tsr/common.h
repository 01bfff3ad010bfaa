// The helpers every function family shares: bit views, the one force-evaluation
// primitive, the control and status words, flag raising by real arithmetic, and the
// macros that define a body under its hidden and public names.
#pragma once
#include <bit>
#include <cstdint>
#include "tsr/types.h"

#if __has_include("tsr_decls.h")
#include "tsr_decls.h"
#endif

// ---- defining bodies -------------------------------------------------------------
#ifdef TSR_PORTABLE_AVX512
// The test-only portable build of an AVX-512 tier: every body takes a _portable suffix
// and stays hidden, beside the real variant.
#define TSR_DEFINE(ret, name, params)                                                   \
    extern "C" ret name##_portable params noexcept TSR_HIDDEN;                           \
    extern "C" ret name##_portable params noexcept
#define TSR_ALIAS(ret, name, params, target)                                             \
    extern "C" ret name##_portable params noexcept __attribute__((alias(#target "_portable"))) TSR_HIDDEN;
#else
// TSR_DEFINE(ret, name, params) { ... } defines `name_local` (hidden: what the library
// itself calls and what dispatch tables hold) and `name` at the same address (exported
// when the catalogue lists it, local otherwise).
#define TSR_DEFINE(ret, name, params)                                                   \
    extern "C" ret name##_local params noexcept TSR_HIDDEN;                              \
    extern "C" ret name params noexcept TSR_PUBLIC __attribute__((alias(#name "_local"), used));    \
    extern "C" ret name##_local params noexcept

// A further name at the address of an already defined body.
#define TSR_ALIAS(ret, name, params, target)                                             \
    extern "C" ret name params noexcept TSR_PUBLIC __attribute__((alias(#target "_local"), used));  \
    extern "C" ret name##_local params noexcept __attribute__((alias(#target "_local"))) TSR_HIDDEN;
#endif

// ---- tier bodies -----------------------------------------------------------------------
// Which tiers a function has is said once, by the catalogue.  A source that holds tier bodies
// is named with its functions in dispatch/built/ and compiled once per tier, with that tier's
// instruction set and TSR_TIER_<TIER> set to 1; under each it writes, for every function,
//     TSR_BODY(double, exp, (double x)) { ... }
// and the build defines the tier's exported body (__libm_exp_l9, ...) around it.  A body the
// tier needs and the source does not write stops the build with the function's and the
// tier's names.  Bodies have internal linkage: each tier's object keeps its own copy.
namespace tsr { struct MissingBody {}; }
#define TSR_BODY(ret, name, params)                                                      \
    namespace tsr::body {                                                                \
    static inline ret name params noexcept __attribute__((always_inline));               \
    }                                                                                    \
    inline ret tsr::body::name params noexcept

#ifndef TSR_TIER_EX
#define TSR_TIER_EX 0
#endif
#ifndef TSR_TIER_E7
#define TSR_TIER_E7 0
#endif
#ifndef TSR_TIER_Y8
#define TSR_TIER_Y8 0
#endif
#ifndef TSR_TIER_E9
#define TSR_TIER_E9 0
#endif
#ifndef TSR_TIER_L9
#define TSR_TIER_L9 0
#endif
#ifndef TSR_TIER_Z0
#define TSR_TIER_Z0 0
#endif
#ifndef TSR_TIER_D1
#define TSR_TIER_D1 0
#endif

namespace tsr {

// ---- bit views ---------------------------------------------------------------------
inline uint64_t bits(double x) { return std::bit_cast<uint64_t>(x); }
inline uint32_t bits(float x) { return std::bit_cast<uint32_t>(x); }
inline uint16_t bits(_Float16 x) { return std::bit_cast<uint16_t>(x); }
inline double f64(uint64_t b) { return std::bit_cast<double>(b); }
inline float f32(uint32_t b) { return std::bit_cast<float>(b); }
inline _Float16 f16(uint16_t b) { return std::bit_cast<_Float16>(b); }
inline uint32_t hi(double x) { return uint32_t(bits(x) >> 32); }
inline uint32_t lo(double x) { return uint32_t(bits(x)); }
inline double from_words(uint32_t h, uint32_t l) { return f64((uint64_t(h) << 32) | l); }

// The 80-bit extended value as its significand and sign/exponent word.
struct Ext {
    uint64_t m;
    uint16_t se;
};
inline Ext ext(long double x) {
    Ext e;
    __builtin_memcpy(&e.m, &x, 8);
    __builtin_memcpy(&e.se, reinterpret_cast<const char *>(&x) + 8, 2);
    return e;
}
inline long double from_ext(uint64_t m, uint16_t se) {
    long double x = 0;
    __builtin_memcpy(&x, &m, 8);
    __builtin_memcpy(reinterpret_cast<char *>(&x) + 8, &se, 2);
    return x;
}

struct Q {
    uint64_t lo, hi;
};
inline Q qbits(__float128 x) { return std::bit_cast<Q>(x); }
inline __float128 from_q(uint64_t h, uint64_t l) { return std::bit_cast<__float128>(Q{l, h}); }

// ---- the one force-evaluation primitive ----------------------------------------------
// An operation that exists for its flags must reach the hardware: the value goes through
// a register the optimiser must assume is read.
template <class T>
inline void force(T x) { asm volatile("" : : "x"(x)); }
inline void force(long double x) { asm volatile("" : : "f"(x)); }
// Keep a value opaque, so that arithmetic on it is neither folded nor moved.
template <class T>
inline T opaque(T x) { asm volatile("" : "+x"(x)); return x; }
inline long double opaque(long double x) { asm volatile("" : "+t"(x)); return x; }

// ---- control and status words ------------------------------------------------------
inline uint32_t get_mxcsr() { uint32_t v; asm volatile("stmxcsr %0" : "=m"(v)); return v; }
inline void set_mxcsr(uint32_t v) { asm volatile("ldmxcsr %0" : : "m"(v)); }
inline uint16_t get_x87_cw() { uint16_t v; asm volatile("fnstcw %0" : "=m"(v)); return v; }
inline void set_x87_cw(uint16_t v) { asm volatile("fldcw %0" : : "m"(v)); }
inline uint16_t get_x87_sw() { uint16_t v; asm volatile("fnstsw %0" : "=a"(v)); return v; }

constexpr uint32_t MXCSR_RC_MASK = 0x6000;  // bits 13-14: 0 nearest, 1 down, 2 up, 3 zero
constexpr uint32_t MXCSR_FLAGS = 0x3f;      // IE DE ZE OE UE PE
constexpr uint32_t MXCSR_FTZ = 0x8000;      // bit 15: flush-to-zero
constexpr uint32_t MXCSR_DAZ = 0x0040;      // bit 6: denormals-are-zero
constexpr uint16_t X87_PC_MASK = 0x300;     // precision control, 0x300 = 64-bit significand
constexpr uint16_t X87_RC_MASK = 0xc00;     // rounding control

// ---- raising flags by real arithmetic --------------------------------------------------
inline void raise_inexact() { force(opaque(1.0) + opaque(0x1p-100)); }
inline void raise_invalid() { force(opaque(0.0) / opaque(0.0)); }
inline void raise_divbyzero() { force(opaque(1.0) / opaque(0.0)); }
inline void raise_overflow() { force(opaque(0x1p1023) * opaque(0x1p1023)); }
inline void raise_underflow() { force(opaque(0x1p-1022) * opaque(0x1p-1022)); }

}  // namespace tsr

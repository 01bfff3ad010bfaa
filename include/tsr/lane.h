// A scalar as lane 0 of a vector register, the other lanes left as they are.
//
// The scalar vector operations read and write lane 0 alone, so whatever the upper lanes hold
// never matters (where a 64-bit or packed operation would see them, the caller clears them by
// a mask).  _mm_set_ss/_mm_set_sd would have to zero them, which costs a move or a blend on
// the path, sometimes a trip through a general register and back.  Beside it, two
// operations written so that the compiler places no copy in front of them (or_masked,
// fma_into_addend, fma_into_factor).
#pragma once
#include <emmintrin.h>
#ifdef __AVX512VL__
#include <immintrin.h>
#endif

#include <cstdint>

namespace tsr {

inline __m128 lane(float x) {
    __m128 v;
    asm("" : "=x"(v) : "0"(x));
    return v;
}
inline __m128d lane(double x) {
    __m128d v;
    asm("" : "=x"(v) : "0"(x));
    return v;
}

#ifdef __AVX__
// a | (x & mask) on the bits of doubles, in the vector unit (lane 0; mask is 16 bytes, the
// word twice): with AVX-512 one ternary-logic step into a (0xf8: a or b and c), otherwise an
// and and an or.  Written as the instructions, so that x, typically still needed, is not
// copied in front of them, and no trip through a general register is taken.
inline double or_masked(double a, double x, const uint64_t (&mask)[2]) {
#ifdef __AVX512VL__
    asm("vpternlogq $0xf8, %2, %1, %0" : "+v"(a) : "v"(x), "m"(mask));
#else
    double t;
    asm("vandpd %2, %1, %0" : "=x"(t) : "x"(x), "m"(mask));
    asm("vorpd %1, %0, %0" : "+x"(a) : "x"(t));
#endif
    return a;
}
// The same on integer vectors (every lane).
inline __m128i or_masked(__m128i a, __m128i x, __m128i mask) {
#ifdef __AVX512VL__
    return _mm_ternarylogic_epi64(a, x, mask, 0xf8);
#else
    return _mm_or_si128(a, _mm_and_si128(x, mask));
#endif
}
#endif

#ifdef __FMA__
// a b + c by the fused form whose destination is the addend (vfmadd231sd).  Where a
// multiplicand is still needed afterwards, GCC 12 copies it first with a merging vmovsd (a
// two-cycle operation on the AMD cores measured, not an eliminated move) to use the 132 or
// 213 form; the addend, typically a constant loaded for the purpose, costs no such copy.
// b may come from memory.
inline double fma_into_addend(double a, double b, double c) {
    asm("vfmadd231sd %2, %1, %0" : "+x"(c) : "x"(a), "xm"(b));
    return c;
}
#endif

// c a + b and c a - b in one fused step, c's register taking the result (the 132 forms): a
// and b, both needed again, are not copied ahead of it.  Without FMA (the tiers below it
// compile the same source) the library's fused multiply-add.
inline double fma_into_factor(double c, double a, double b) {
#ifdef __FMA__
    asm("vfmadd132sd %2, %3, %0" : "=v"(c) : "0"(c), "v"(a), "v"(b));
    return c;
#else
    return __builtin_fma(c, a, b);
#endif
}
inline double fms_into_factor(double c, double a, double b) {
#ifdef __FMA__
    asm("vfmsub132sd %2, %3, %0" : "=v"(c) : "0"(c), "v"(a), "v"(b));
    return c;
#else
    return __builtin_fma(c, a, -b);
#endif
}

}  // namespace tsr

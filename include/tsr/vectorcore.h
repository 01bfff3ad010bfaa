// The vector-core scheme: a scalar function written as one lane of a vector function.
//
// Such a body has three parts, in this order (docs/vectorcore.md):
//   1. the range test: integer operations on the argument's high word and one signed compare
//      give a flag, set where the argument lies outside the core's common range;
//   2. the core: runs for every argument, flagged or not, without a branch on the data; it
//      must not trap or loop on any bit pattern (an infinity or a NaN just gives a meaningless
//      provisional value); selections are masks, and divisions give way to the reciprocal
//      estimate refined by a polynomial in e = d·y - 1;
//   3. the exit: only where the flag is set, the arguments and the provisional result go to
//      memory and the member's rare routine __libm_<s><name>_cout_rare (s: d double, s float,
//      h half) takes over the result; a nonzero status it returns is the error code the body
//      reports through __libm_error_support, with the same cells.
// The helpers below are those three steps; a member writes its core between them.
#pragma once
#include <emmintrin.h>
#include <xmmintrin.h>

#include "tsr/common.h"
#include "tsr/report.h"

namespace tsr::vc {
namespace {

// ---- 1. the range test -------------------------------------------------------------------
// Adding `shift` to the word moves the valid range [lo, hi] to the bottom of the signed
// numbers, so that everything outside it compares above `limit`: one signed compare checks
// both ends.  shift = 0x80000000 - lo and limit = hi + shift - 0x100000000 (as signed) for
// the valid range [lo, hi] of words.
constexpr uint32_t range_shift(uint32_t lo) { return 0x80000000u - lo; }
constexpr uint32_t range_limit(uint32_t lo, uint32_t hi) { return hi + range_shift(lo); }
// 1 where the word w lies outside the range whose shift and limit are given, else 0.
inline uint32_t outside(uint32_t w, uint32_t shift, uint32_t limit) {
    return uint32_t(int32_t(w + shift) > int32_t(limit));
}

// ---- 2. branch-free selections -------------------------------------------------------------
inline uint64_t mask_of(bool c) { return uint64_t(0) - uint64_t(c); }      // all ones or 0
inline uint32_t mask32_of(bool c) { return uint32_t(0) - uint32_t(c); }
inline double select(uint64_t m, double a, double b) { return f64((bits(a) & m) | (bits(b) & ~m)); }
inline float select(uint32_t m, float a, float b) { return f32((bits(a) & m) | (bits(b) & ~m)); }
inline double and_mask(double a, uint64_t m) { return f64(bits(a) & m); }

// The reciprocal of a positive normal double d, to a relative error below 1.5·2^-12, with no
// division: the processor's single-precision estimate (rcpss) of d's top word taken as a float
// in [1, 2) (its 20 mantissa bits moved up by 3 under the exponent of 1.0), its bits moved back
// down by 3, d's exponent field subtracted and the bias added back (0x77f00000 = twice the
// double's 0x3ff00000 less the float's 0x3f800000 >> 3).  Only the top word of the result is
// set.  The estimate's last bits differ between processor makers; Exact = true puts a true
// single-precision division 1.0f/m in its place, the same on every processor.
template <bool Exact = false>
inline double recip_estimate(double d) {
    uint32_t h = hi(d);
    uint32_t e = h & 0xfff00000u;
    float m = f32(((h & 0x000fffffu) << 3) | 0x3f800000u);
    float y;
    if constexpr (Exact) {
        y = 1.0f / opaque(m);
    } else {
        y = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(m)));
    }
    uint32_t yh = (bits(y) >> 3) - e + 0x77f00000u;
    return from_words(yh, 0);
}

// ---- 3. the exit: the rare routine and the report ----------------------------------------------
// Rare routines take the operands and the result cell, holding the core's provisional value,
// and return 0 or the error code to report.
template <class T>
using Rare1 = int (*)(const T *x, T *result);
template <class T>
using Rare2 = int (*)(const T *x, const T *y, T *result);

template <class T>
__attribute__((noinline, cold)) T rare_exit(T x, T res, Rare1<T> rare) {
    T xs = x, r = res;
    int status = rare(&xs, &r);
    if (status) __libm_error_support(&xs, &xs, &r, status);
    return r;
}
template <class T>
__attribute__((noinline, cold)) T rare_exit(T x, T y, T res, Rare2<T> rare) {
    T xs = x, ys = y, r = res;
    int status = rare(&xs, &ys, &r);
    if (status) __libm_error_support(&xs, &ys, &r, status);
    return r;
}
// The one test of the flag, at the very end of the body.
template <class T>
inline T finish(uint32_t flag, T x, T res, Rare1<T> rare) {
    if (__builtin_expect(flag != 0, 0)) return rare_exit(x, res, rare);
    return res;
}
template <class T>
inline T finish(uint32_t flag, T x, T y, T res, Rare2<T> rare) {
    if (__builtin_expect(flag != 0, 0)) return rare_exit(x, y, res, rare);
    return res;
}

}  // namespace
}  // namespace tsr::vc

// What the conversions to integers share: the hardware conversions written so that the
// compiler keeps them in order with the reads and writes of the MXCSR around them, and the
// report of an out-of-range argument, whose result is an integer.
//
// `long` is 64 bits wide on this platform, so lrint and lround take the limits of llrint
// and llround (-2^63 and 2^63) and keep their own error codes.
#pragma once
#include <cstdint>

#include "tsr/common.h"
#include "tsr/format.h"
#include "tsr/report.h"

namespace tsr::conv {
namespace {

// The integer indefinite: what the hardware gives for a value that does not fit.
constexpr int64_t kIndefinite = INT64_MIN;
constexpr uint32_t kMxcsrInvalid = 0x1;  // IE, the invalid flag of the MXCSR

// 2^63 and -2^63 as patterns: the first magnitude that does not fit, and the one negative
// value of that magnitude that does.
constexpr uint64_t kTwo63 = 0x43e0000000000000ull;
constexpr uint32_t kTwo63f = 0x5f000000u;
template <class T>
constexpr auto two63_bits() {
    if constexpr (sizeof(T) == 8) return kTwo63;
    else return kTwo63f;
}

// The signed 64-bit conversions, in the current rounding mode (cvt) and by truncation
// (cvtt).  Written as volatile instructions, so that they stay between the MXCSR accesses
// that clear and read the invalid flag.
inline int64_t cvt(double x) {
    int64_t r;
    asm volatile("cvtsd2si %1, %0" : "=r"(r) : "x"(x));
    return r;
}
inline int64_t cvt(float x) {
    int64_t r;
    asm volatile("cvtss2si %1, %0" : "=r"(r) : "x"(x));
    return r;
}
inline int64_t cvtt(double x) {
    int64_t r;
    asm volatile("cvttsd2si %1, %0" : "=r"(r) : "x"(x));
    return r;
}
inline int64_t cvtt(float x) {
    int64_t r;
    asm volatile("cvttss2si %1, %0" : "=r"(r) : "x"(x));
    return r;
}

// Clears the invalid flag of the MXCSR.  It is not put back afterwards: the flag after the
// call is the conversion's (a caller's pending invalid flag of the SSE unit is dropped).
inline void clear_sse_invalid() { set_mxcsr(get_mxcsr() & ~kMxcsrInvalid); }
inline bool sse_invalid() { return (get_mxcsr() & kMxcsrInvalid) != 0; }

// Invalid, raised by inf - inf in single (the out-of-range paths that convert nothing).
inline void raise_invalid_single() {
    float inf = opaque(Format<float>::from(Format<float>::inf));
    force(inf - inf);
}

// The report of an out-of-range argument: its value twice and the result cell.  Tier e7
// goes through the interpreter's register wrappers; the result travels in the double
// wrapper as its bit pattern.  The float wrapper's cell cannot hold a 64-bit integer: it
// carries the low half and the result is kept (the class of these codes never writes a
// result).  The other tiers and the extended forms hand cells (the argument's own: an
// extended argument is not copied); the result cell is wide enough for any format's value,
// since the interpreter copies the precision's width.
template <class T>
inline int64_t report_int(const T &x, int64_t r, int code) {
#if TSR_TIER_E7
    if constexpr (std::is_same_v<T, double>)
        return int64_t(bits(__libm_error_support_wrapper_x64(f64(uint64_t(r)), x, x, code)));
    if constexpr (std::is_same_v<T, float>) {
        (void)__libm_error_support_wrapper_x64f(f32(uint32_t(r)), x, x, code);
        return r;
    }
#endif
    union {
        int64_t i;
        long double pad;
    } cell;
    cell.pad = 0;
    cell.i = r;
    __libm_error_support(&x, &x, &cell, code);
    return cell.i;
}

}  // namespace
}  // namespace tsr::conv

// Conversion to an integer in the current rounding mode: lrint, llrint, their float forms
// (tiers ex and e7) and their extended forms.  The result is 64 bits wide for all of them;
// they differ in their error codes.
//
// ex lets the hardware decide: the invalid flag of the MXCSR, cleared before a signed
// conversion and read after it, says that the rounded value did not fit, so an argument
// whose rounded value fits never reports, whatever the mode.  e7 decides by the exponent
// alone: below 2^63 every value fits after rounding (the next double below 2^63 is
// 2^63 - 1024), at or above it only -2^63 does.  The extended forms store with the x87
// unit below 2^62 and round the top binades by hand from the rounding field of the x87
// control word, where a rounded value may reach 2^63.
#include "exact/conv_common.h"
#include "tsr/codes.h"

using namespace tsr;
using namespace tsr::conv;

namespace {

#if TSR_TIER_EX
template <class T>
inline int64_t rint_ex(T x, int code) {
    clear_sse_invalid();
    int64_t r = cvt(x);
    force(opaque(x) + T(0));  // a subnormal argument sets the denormal flag
    if (sse_invalid() && !is_nan(x)) r = report_int(x, r, code);
    return r;
}
#endif

#if TSR_TIER_E7
// kDenormal: lrint adds x to itself on its converting path, for the denormal flag.
template <class T, bool kDenormal>
inline int64_t rint_e7(T x, int code) {
    using F = Format<T>;
    auto a = F::bits(x) & F::abs;
    if (__builtin_expect(a < two63_bits<T>(), 1)) {
        if constexpr (kDenormal) force(opaque(x) + x);
        return cvt(x);
    }
    // -2^63 converts exactly; a NaN gives the indefinite with invalid, and no report.
    if (F::bits(x) == (F::sign | two63_bits<T>()) || a > F::inf) return cvt(x);
    raise_invalid_single();
    return report_int(x, kIndefinite, code);
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(long, lrint, (double x)) { return rint_ex(x, code::lrint_result_out_of_range); }
TSR_BODY(long long, llrint, (double x)) { return rint_ex(x, code::llrint_result_out_of_range); }
TSR_BODY(long, lrintf, (float x)) { return rint_ex(x, code::lrintf_result_out_of_range); }
TSR_BODY(long long, llrintf, (float x)) { return rint_ex(x, code::llrintf_result_out_of_range); }
TSR_ALIAS(long, __bwr_lrint, (double), __libm_lrint_ex)
TSR_ALIAS(long long, __bwr_llrint, (double), __libm_llrint_ex)
TSR_ALIAS(long, __bwr_lrintf, (float), __libm_lrintf_ex)
TSR_ALIAS(long long, __bwr_llrintf, (float), __libm_llrintf_ex)

// ---- extended ---------------------------------------------------------------------------
namespace {

// The x87 integer store, in the caller's rounding mode.  The precision field of the control
// word governs only arithmetic results, never a store to an integer, so it is left alone.
inline int64_t fist(long double x) {
    int64_t r;
    asm volatile("fistpll %0" : "=m"(r) : "t"(x) : "st");
    return r;
}

inline int64_t rint_l(long double x, int code) {
    Ext e = ext(x);
    uint32_t f = e.se & 0x7fffu;
    bool neg = e.se >> 15;
    if (__builtin_expect(f < 0x403d, 1)) return fist(x);  // |x| < 2^62: always fits
    if (f == 0x403d) {
        // 2^62 <= |x| < 2^63: the integer part is the significand less its last bit, which
        // is the half; nearest moves a half to the even neighbour.
        uint64_t n = e.m >> 1;
        bool half = e.m & 1;
        bool up = false;
        switch ((get_x87_cw() & X87_RC_MASK) >> 10) {
        case 0: up = half && (n & 1); break;
        case 1: up = half && neg; break;
        case 2: up = half && !neg; break;
        default: break;
        }
        n += up;
        if (n <= uint64_t(INT64_MAX) + neg) {
            if (half) raise_inexact();
            return neg ? int64_t(0 - n) : int64_t(n);
        }
    } else if (f == 0x403e && neg && e.m == Format<long double>::integer) {
        return INT64_MIN;  // -2^63 itself
    } else if (f == 0x7fff && (e.m << 1) != 0) {
        raise_invalid();
        return kIndefinite;  // a NaN: no report
    }
    raise_invalid();
    return report_int(x, kIndefinite, code);
}

}  // namespace

TSR_DEFINE(long, lrintl, (long double x)) { return rint_l(x, code::lrintl_result_out_of_range); }
TSR_DEFINE(long long, llrintl, (long double x)) { return rint_l(x, code::llrintl_result_out_of_range); }
#endif

#if TSR_TIER_E7
TSR_BODY(long, lrint, (double x)) { return rint_e7<double, true>(x, code::lrint_result_out_of_range); }
TSR_BODY(long long, llrint, (double x)) {
    return rint_e7<double, false>(x, code::llrint_result_out_of_range);
}
TSR_BODY(long, lrintf, (float x)) { return rint_e7<float, false>(x, code::lrintf_result_out_of_range); }
TSR_BODY(long long, llrintf, (float x)) {
    return rint_e7<float, false>(x, code::llrintf_result_out_of_range);
}
#endif

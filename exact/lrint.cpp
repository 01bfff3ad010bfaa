// Conversion to an integer in the current rounding mode: lrint, llrint, their float forms
// (tiers ex and e7) and their extended forms.  The result is 64 bits wide for all of them;
// they differ in their error codes.
//
// ex lets the hardware decide: the invalid flag of the MXCSR, cleared before a signed
// conversion and read after it, says that the rounded value did not fit, so an argument
// whose rounded value fits never reports, whatever the mode.  e7 and the extended forms
// convert at once (the SSE conversion, the x87 integer store) and look at the argument only
// when the result is the integer indefinite: that is a NaN or a rounded value past the
// limits, for which the conversion has raised invalid, or -2^63 itself, the one argument
// whose integer has the indefinite's value.
#include "exact/conv_common.h"
#include "tsr/codes.h"
#include "tsr/x87.h"

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
// The conversion first: its result is the integer indefinite only for -2^63 itself, a NaN or
// an argument out of range, and the conversion has raised invalid for the last two; only
// that value sends the body on to look at the argument.
template <class T>
inline int64_t rint_e7(T x, int code) {
    using F = Format<T>;
    int64_t r = cvt(x);
    if (__builtin_expect(r != kIndefinite, 1)) return r;
    if (F::bits(x) == (F::sign | two63_bits<T>()) || is_nan(x)) return r;
    return report_int(x, r, code);
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
// Loaded straight from the argument's cell (see load() in tsr/x87.h).
inline int64_t fist(const long double &x) {
    int64_t r;
    asm volatile("fldt %1\n\tfistpll %0" : "=m"(r) : "m"(x));
    return r;
}

// The indefinite's cases, out of line: the usual path stays a leaf with no frame.
[[gnu::noinline, gnu::cold]] int64_t rint_l_indefinite(const long double &x, int code) {
    Ext e = ext_in(x);
    bool fits = (e.se >= 0x8000 && e.se < 0xc03e) || (e.se == 0xc03e && e.m == Format<long double>::integer);
    if (fits || ((e.se & 0x7fff) == 0x7fff && (e.m << 1) != 0)) return kIndefinite;
    return report_int(x, kIndefinite, code);
}

inline int64_t rint_l(const long double &x, int code) {
    // The store rounds in the caller's mode and gives the integer indefinite, with invalid,
    // for a NaN and for a rounded value that does not fit (the top binade [2^62, 2^63)
    // included, where rounding may carry to 2^63).  A negative argument of magnitude below
    // 2^63, or -2^63 itself, always fits: there the indefinite is the true value -2^63.
    int64_t r = fist(x);
    if (__builtin_expect(r != kIndefinite, 1)) return r;
    return rint_l_indefinite(x, code);
}

}  // namespace

TSR_DEFINE(long, lrintl, (long double x)) { return rint_l(x, code::lrintl_result_out_of_range); }
TSR_DEFINE(long long, llrintl, (long double x)) { return rint_l(x, code::llrintl_result_out_of_range); }
#endif

#if TSR_TIER_E7
TSR_BODY(long, lrint, (double x)) { return rint_e7(x, code::lrint_result_out_of_range); }
TSR_BODY(long long, llrint, (double x)) { return rint_e7(x, code::llrint_result_out_of_range); }
TSR_BODY(long, lrintf, (float x)) { return rint_e7(x, code::lrintf_result_out_of_range); }
TSR_BODY(long long, llrintf, (float x)) { return rint_e7(x, code::llrintf_result_out_of_range); }
#endif

// Conversion to the nearest integer, halves away from zero, in every rounding mode: lround,
// llround, their float forms (tiers ex and e7) and their extended forms.  The result is 64
// bits wide for all of them; they differ in their error codes, and lroundl alone answers an
// out-of-range argument by its sign (the largest or the smallest long).
//
// ex converts by truncation, which the caller's rounding mode does not enter, and moves
// the result one unit away from zero when the dropped fraction x - v (exact: it is the
// fraction of x) is a half or more; the invalid flag of the MXCSR, cleared before and read
// after, tells an argument that did not fit.  e7 and the extended forms take the integer
// part and the first dropped bit from the bits of the argument: nothing converts an inexact
// value, so they raise no inexact flag.
#include "exact/conv_common.h"
#include "tsr/codes.h"
#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::conv;

namespace {

#if TSR_TIER_EX
template <class T>
inline int64_t round_ex(T x, int code) {
    clear_sse_invalid();
    int64_t v = cvtt(x);
    if (__builtin_expect(sse_invalid(), 0)) return is_nan(x) ? v : report_int(x, v, code);
    T d = x - T(v);  // the fraction of x, exactly (zero once x is an integer)
    if (d >= T(0.5)) return v + 1;
    if (d <= T(-0.5)) return v - 1;
    return v;
}
#endif

#if TSR_TIER_E7
template <class T>
inline int64_t round_e7(T x, int code) {
    using F = Format<T>;
    using U = typename F::Bits;
    constexpr int kFrac = F::precision - 1;
    const U b = F::bits(x), a = b & F::abs;
    const bool neg = b >> (8 * sizeof(U) - 1);
    if (__builtin_expect(a >= two63_bits<T>(), 0)) {
        if (b == (F::sign | two63_bits<T>())) return INT64_MIN;  // -2^63 itself
        // Out of range (a NaN included): invalid by -inf - -inf in single.
        raise_invalid_single();
        return a > F::inf ? kIndefinite : report_int(x, kIndefinite, code);
    }
    // 2^(p-1) and above: an integer already, converted exactly.
    if (a >= U(U(F::bias + kFrac) << kFrac)) return cvtt(x);
    if (a < F::one) {  // below 1: 0, or +-1 from a half on
        if (a < U(U(F::bias - 1) << kFrac)) return 0;
        return neg ? -1 : 1;
    }
    // 1 <= |x| < 2^(p-1): n fraction bits (1 to p-1) lie below the binary point; the first
    // of them is the half that moves the magnitude away from zero.
    int n = F::bias + kFrac - int(a >> kFrac);
    U m = (a & F::mantissa) | (U(1) << kFrac);
    int64_t mag = int64_t(m >> n) + int64_t((m >> (n - 1)) & 1);
    return neg ? -mag : mag;
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(long, lround, (double x)) { return round_ex(x, code::lround_result_out_of_range); }
TSR_BODY(long long, llround, (double x)) { return round_ex(x, code::llround_result_out_of_range); }
TSR_BODY(long, lroundf, (float x)) { return round_ex(x, code::lroundf_result_out_of_range); }
TSR_BODY(long long, llroundf, (float x)) { return round_ex(x, code::llroundf_result_out_of_range); }
TSR_ALIAS(long, __bwr_lround, (double), __libm_lround_ex)
TSR_ALIAS(long long, __bwr_llround, (double), __libm_llround_ex)
TSR_ALIAS(long, __bwr_lroundf, (float), __libm_lroundf_ex)
TSR_ALIAS(long long, __bwr_llroundf, (float), __libm_llroundf_ex)

// ---- extended ---------------------------------------------------------------------------
namespace {

// Beyond the limits, out of line: the usual path stays a leaf with no frame.
template <bool kBySign>
[[gnu::noinline, gnu::cold]] int64_t round_l_beyond(const long double &x, int code) {
    Ext e = ext_in(x);
    raise_invalid();
    int64_t r = kBySign && !(e.se >> 15) ? INT64_MAX : kIndefinite;
    if ((e.se & 0x7fff) == 0x7fff && (e.m << 1) != 0) return r;  // a NaN: no report
    return report_int(x, r, code);
}

// kBySign: an out-of-range argument gives the largest long when positive (lroundl), instead
// of the indefinite; a NaN goes by its sign bit alike.
template <bool kBySign>
inline int64_t round_l(const long double &x, int code) {
    Ext e = ext_in(x);  // the words read in the argument's cell
    uint32_t f = e.se & 0x7fffu;
    bool neg = e.se >> 15;
    if (f < 0x3ffe) return 0;              // below a half (zeros and subnormals included)
    if (f == 0x3ffe) return neg ? -1 : 1;  // [1/2, 1)
    if (f < 0x403e) {
        // 1 <= |x| < 2^63: n fraction bits (1 to 63) below the binary point.
        int n = 0x403e - int(f);
        uint64_t mag = (e.m >> n) + ((e.m >> (n - 1)) & 1);
        if (mag <= uint64_t(INT64_MAX) + neg) return neg ? int64_t(0 - mag) : int64_t(mag);
    } else if (f == 0x403e && neg && e.m == Format<long double>::integer) {
        return INT64_MIN;  // -2^63 itself
    }
    return round_l_beyond<kBySign>(x, code);
}

}  // namespace

TSR_DEFINE(long, lroundl, (long double x)) { return round_l<true>(x, code::lroundl_result_out_of_range); }
TSR_DEFINE(long long, llroundl, (long double x)) {
    return round_l<false>(x, code::llroundl_result_out_of_range);
}
#endif

#if TSR_TIER_E7
TSR_BODY(long, lround, (double x)) { return round_e7(x, code::lround_result_out_of_range); }
TSR_BODY(long long, llround, (double x)) { return round_e7(x, code::llround_result_out_of_range); }
TSR_BODY(long, lroundf, (float x)) { return round_e7(x, code::lroundf_result_out_of_range); }
TSR_BODY(long long, llroundf, (float x)) { return round_e7(x, code::llroundf_result_out_of_range); }
#endif

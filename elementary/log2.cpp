// Base-2 logarithm.  ex and e7 (one algorithm) reduce toward c = 1.4453125, close to
// log2(e), so that r already carries the conversion factor and the linear term needs only
// a small correction.  l9 reduces toward 1.4375 with fused multiply-add and hands the
// special values to the e7 body.
#include "elementary/log_common.h"

using namespace tsr;

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, log2, (double x)) { return logk::frame<logk::Base::two>(x); }
#endif

#if TSR_TIER_L9
// The estimate times 1.4375, rounded to 7 bits: R in (0.71875, 1.4375] and, from the same
// bits, the row (v + 200) & 0xff of log2(1.4375/R).  adj is the exponent taken out by a
// scaling before entry (subnormals).  Forced inline: as a call it would sit on the main path.
namespace {
__attribute__((always_inline)) inline double log2_fma(double x, int adj) {
    uint64_t b = bits(x);
    logk::FmaRed red = logk::fma_reduce<true>(x, 0x1.7p+0f);  // 1.4375
    double r = __builtin_fma(red.w, red.R, -0x1.7p+0);
    // v runs over 0x3f38 .. 0x3fb8 (0.71875 .. 1.4375), where (v + 200) & 0xff is v - 0x3f38
    logk::Row t = logk::row8(logtab::log2_rows_l9, red.v, 0x3f38);
    double n = double(int(b >> 52) - 1023 + adj);
    double H = n + t.hi;
    // approximation of log2(1 + r/1.4375) on [-0x1.92bp-8, 0x1.92bp-8], degree 7, max
    // relative error 2^-62.68 (measured by tools/gen/approximations.py)
    double lo = __builtin_fma(0x1.d9afc100429dep-9, r, t.lo);
    double S = H + r;
    double A = __builtin_fma(0x1.0a3a5927b4ddfp-6, r, -0x1.be7c10af26d12p-6);
    double B = __builtin_fma(0x1.811571bde72eep-5, r, -0x1.59f9443110077p-4);
    double C = __builtin_fma(0x1.4b8ee15a7ef57p-3, r, -0x1.65760af590e08p-2);
    double s = r * r;
    // lo + C·s + B·s^2 + A·s^3 in two levels (s^2 beside the first multiply-adds) rather than
    // Horner's three: the reduction's multiply by 1.4375 puts a step on this tier's path
    // that the other logarithms do not take, and the shorter polynomial gives it back.
    // S's rounding error joins after the polynomial, off the critical path.
    double P = __builtin_fma(s * s, __builtin_fma(s, A, B), __builtin_fma(s, C, lo));
    return S + (P + (r - (S - H)));
}

// Outside the positive normal numbers: a positive subnormal is scaled into them, the rest
// goes to the e7 body; out of line so the main path carries none of it.
__attribute__((cold, noinline)) double log2_fma_cold(double x) {
    if (bits(x) - 1 >= 0x000fffffffffffffull) return __libm_log2_e7_local(x);
    return log2_fma(x * 0x1p+64, -64);  // 2^64
}
}  // namespace

TSR_BODY(double, log2, (double x)) {
    uint64_t b = bits(x);
    // log2(1) is +0 in every rounding mode (the arithmetic gives -0 rounding downward).
    if (b == 0x3ff0000000000000ull) return 0.0;
    // One compare: the biased exponent (with the sign above it) outside 1 .. 0x7fe.
    if (uint32_t(b >> 52) - 1u >= 0x7feu) return log2_fma_cold(x);
    return log2_fma(x, 0);
}
#endif

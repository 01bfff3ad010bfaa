// Natural logarithm.  ex and e7 are one algorithm (the shared no-FMA frame); l9, z0 and d1
// are a second one built on fused multiply-add with its own polynomial and its own cut of
// the -ln R table, and hand every special value to the e7 body.  z0 and d1 take the
// exponent from the exponent-extraction instruction.
#include "elementary/log_common.h"
#include "tsr/avx512.h"

using namespace tsr;

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, log, (double x)) { return logk::frame<logk::Base::e>(x); }
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
namespace {
// The mantissa as a float 1.m gets the reciprocal estimate; rounded to 7 bits and moved
// into a double's top bits it is R with exponent field 0x07e or 0x07f, so that the mantissa
// under exponent field 0x77f times R is near 1 and one fused operation gives r = m*R - 1
// exactly.  adj is the exponent taken out by a scaling before entry (subnormals).
inline double log_fma(double x, int adj) {
    uint64_t b = bits(x);
    logk::FmaRed red = logk::fma_reduce<false>(x);
    double r = __builtin_fma(red.w, red.R, -1.0);
    logk::Row t = logk::row8(logtab::log_neg129_fma, red.v, 0x3f00);
#if TSR_TIER_L9
    double n = double(int(b >> 52) - 1023 + adj);
#else
    (void)b;
    // adj is a constant; adding a zero would still cost an add (it could change a -0)
    double n = adj ? avx512::getexp(x) + double(adj) : avx512::getexp(x);
#endif
    double lo = __builtin_fma(-0x1.8432a1b0e2634p-43, n, t.lo);
    // n times the high part of ln 2 is exact (the high part ends in 14 zero bits), so
    // hi + that product rounds as the fused form does; the product is ready before the row,
    // and the add after the load is shorter than a fused operation.
    double H = t.hi + n * 0x1.62e42fefa4p-1;
    double S = H + r;
    // The rounding error of S joins after the polynomial rather than before it: the same
    // terms, and the chain through the table row (load, H, S) no longer ends the critical path.
    double P = logk::log_fma_poly(r, r * r, lo);
    return S + (P + (r - (S - H)));
}

// Everything outside the positive normal numbers: a positive subnormal is scaled into them,
// the rest goes to the e7 body.  Kept out of line so the main path carries none of it.
__attribute__((cold, noinline)) double log_fma_cold(double x) {
    if (bits(x) - 1 >= 0x000fffffffffffffull) return __libm_log_e7_local(x);
    return log_fma(scale_subnormal(x, 64), -64);
}

inline double log_fma_entry(double x) {
    uint64_t b = bits(x);
    // log(1) is +0 in every rounding mode (the arithmetic gives -0 rounding downward).
    if (b == 0x3ff0000000000000ull) return 0.0;
    // One compare: the biased exponent (with the sign above it) outside 1 .. 0x7fe.
    if (uint32_t(b >> 52) - 1u >= 0x7feu) return log_fma_cold(x);
    return log_fma(x, 0);
}
}  // namespace
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, log, (double x)) { return log_fma_entry(x); }
#endif

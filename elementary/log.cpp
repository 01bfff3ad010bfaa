// tessera-tiers: ex e7 l9 z0 d1
// Natural logarithm.  ex and e7 are one algorithm (the shared no-FMA frame); l9, z0 and d1
// are a second one built on fused multiply-add with its own polynomial and its own cut of
// the -ln R table, and hand every special value to the e7 body.  z0 and d1 take the
// exponent from the exponent-extraction instruction.
#include "elementary/log_common.h"
#include "tsr/avx512.h"

using namespace tsr;

#if TSR_TIER_EX
TSR_DEFINE(double, __libm_log_ex, (double x)) { return logk::frame<logk::Base::e>(x); }
#endif

#if TSR_TIER_E7
TSR_DEFINE(double, __libm_log_e7, (double x)) { return logk::frame<logk::Base::e>(x); }
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
namespace {
// The mantissa as a float 1.m gets the reciprocal estimate; rounded to 7 bits and moved
// into a double's top bits it is R with exponent field 0x07e or 0x07f, so that the mantissa
// under exponent field 0x77f times R is near 1 and one fused operation gives r = m*R - 1
// exactly.
inline double log_fma(double x) {
    uint64_t b = bits(x);
    uint32_t h = uint32_t(b >> 32);
    int adj = 0;
    // log(1) is +0 in every rounding mode (the arithmetic gives -0 rounding downward).
    if (b == 0x3ff0000000000000ull) return 0.0;
    if (h + 0x80100000u < 0x80200000u) {
        if (h >= 0x00100000u || b == 0) return __libm_log_e7_local(x);
        x *= f64(0x43f0000000000000ull);  // 2^64
        b = bits(x);
        adj = -64;
    }
    logk::FmaRed red = logk::fma_reduce<false>(x);
    double r = __builtin_fma(red.w, red.R, -1.0);
    const double *t = logtab::log_neg129_fma[red.v & 0xff];
#if TSR_TIER_L9
    double n = double(int(b >> 52) - 1023 + adj);
#else
    double n = avx512::getexp(x) + double(adj);
#endif
    double lo = __builtin_fma(f64(0xbd48432a1b0e2634ull), n, t[1]);
    double H = __builtin_fma(f64(0x3fe62e42fefa4000ull), n, t[0]);
    double S = H + r;
    double A = __builtin_fma(f64(0x3fc2494ada7861ffull), r, f64(0xbfc55576d47e8a7aull));
    double B = __builtin_fma(f64(0x3fc9999999788658ull), r, f64(0xbfcfffffffebf6c8ull));
    double C = __builtin_fma(f64(0x3fd555555555555aull), r, f64(0xbfe0000000000001ull));
    double s = r * r;
    // The rounding error of S joins after the polynomial rather than before it: the same
    // terms, and the chain through the table row (load, H, S) no longer ends the critical path.
    double P = __builtin_fma(__builtin_fma(__builtin_fma(s, A, B), s, C), s, lo);
    return S + (P + (r - (S - H)));
}
}  // namespace
#endif

#if TSR_TIER_L9
TSR_DEFINE(double, __libm_log_l9, (double x)) { return log_fma(x); }
#endif
#if TSR_TIER_Z0
TSR_DEFINE(double, __libm_log_z0, (double x)) { return log_fma(x); }
#endif
#if TSR_TIER_D1
TSR_DEFINE(double, __libm_log_d1, (double x)) { return log_fma(x); }
#endif

// tessera-tiers: ex e7 l9
// Base-2 logarithm.  ex and e7 (one algorithm) reduce toward c = 1.4453125, close to
// log2(e), so that r already carries the conversion factor and the linear term needs only
// a small correction.  l9 reduces toward 1.4375 with fused multiply-add and hands the
// special values to the e7 body.
#include "elementary/log_common.h"

using namespace tsr;

#if TSR_TIER_EX
TSR_DEFINE(double, __libm_log2_ex, (double x)) { return logk::frame<logk::Base::two>(x); }
#endif

#if TSR_TIER_E7
TSR_DEFINE(double, __libm_log2_e7, (double x)) { return logk::frame<logk::Base::two>(x); }
#endif

#if TSR_TIER_L9
// The estimate times 1.4375, rounded to 7 bits: R in (0.71875, 1.4375] and, from the same
// bits, the row (v + 200) & 0xff of log2(1.4375/R).
TSR_DEFINE(double, __libm_log2_l9, (double x)) {
    uint64_t b = bits(x);
    uint32_t h = uint32_t(b >> 32);
    int adj = 0;
    // log(1) is +0 in every rounding mode (the arithmetic gives -0 rounding downward).
    if (b == 0x3ff0000000000000ull) return 0.0;
    if (h + 0x80100000u < 0x80200000u) {
        if (h >= 0x00100000u || b == 0) return __libm_log2_e7_local(x);
        x *= f64(0x43f0000000000000ull);  // 2^64
        b = bits(x);
        adj = -64;
    }
    logk::FmaRed red = logk::fma_reduce<true>(x, f32(0x3fb80000));  // 1.4375
    double r = __builtin_fma(red.w, red.R, f64(0xbff7000000000000ull));
    const double *t = logtab::log2_rows_l9[(red.v + 200) & 0xff];
    double n = double(int(b >> 52) - 1023 + adj);
    double H = n + t[0];
    double lo = __builtin_fma(f64(0x3f6d9afc100429deull), r, t[1]);
    double S = H + r;
    double A = __builtin_fma(f64(0x3f90a3a5927b4ddfull), r, f64(0xbf9be7c10af26d12ull));
    double B = __builtin_fma(f64(0x3fa811571bde72eeull), r, f64(0xbfb59f9443110077ull));
    double C = __builtin_fma(f64(0x3fc4b8ee15a7ef57ull), r, f64(0xbfd65760af590e08ull));
    double s = r * r;
    // S's rounding error joins after the polynomial (as in log), off the critical path.
    double P = __builtin_fma(__builtin_fma(__builtin_fma(s, A, B), s, C), s, lo);
    return S + (P + (r - (S - H)));
}
#endif

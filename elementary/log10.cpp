// Base-10 logarithm.  ex and e7 (one algorithm) reduce toward c = 0.43359375, close to
// log10(e).  l9, z0 and d1 are one FMA algorithm that handles its own special values: its
// table rows carry -1023*log10(2), so the biased exponent multiplies log10(2) directly.
#include "elementary/log_common.h"

using namespace tsr;

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, log10, (double x)) { return logk::frame<logk::Base::ten>(x); }
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
namespace {
inline double log10_fma(double x) {
    uint64_t b = bits(x);
    uint32_t h = uint32_t(b >> 32);
    uint64_t m = b & 0x000fffffffffffffull;
    double E;
    // log(1) is +0 in every rounding mode (the arithmetic gives -0 rounding downward).
    if (b == 0x3ff0000000000000ull) return 0.0;
    if (h + 0x80100000u < 0x80200000u) {
        double y = x + 0.0;
        if ((b << 1) == 0) return logk::pole(x, code::log10_argument_0);
        if ((b << 1) > 0xffe0000000000000ull) return x + 1.0;
        if (b >> 63) return logk::domain(x, code::log10_argument_negative);
        if (h >= 0x7ff00000u) return y;
        // Subnormal: move the leading bit to the implicit place; E counts the shift below 1.
        int sh = __builtin_clzll(m) - 11;
        m = (m << sh) & 0x000fffffffffffffull;
        set_mxcsr(get_mxcsr() | 0x2);  // denormal operand
        E = double(1 - sh);
    } else {
        E = double(int(b >> 52));
    }
    float mf = f32(uint32_t((m | 0x07f0000000000000ull) >> 29));
    uint32_t v = (bits(logk::rcp(mf)) + 0x8000) >> 16;
    double R = f64(uint64_t(v) << 45);
    double r = __builtin_fma(f64(m | 0x77f0000000000000ull), R, -1.0);
    const double *t = logtab::log10_rows_l9[v & 0xff];
    double lo = __builtin_fma(0x1.e7fbcc47cp-40, E, t[1]);
    double H = __builtin_fma(0x1.34413509fp-2, E, t[0]);
    const double L = 0x1.bcb7b1526e50ep-2;  // 1/ln 10
    // approximation of log10(1 + r) on [-0x1.182p-8, 0x1.182p-8], degree 7, max relative
    // error 2^-57.99 (measured by tools/gen/approximations.py)
    double S = __builtin_fma(L, r, H);
    double e = __builtin_fma(r, L, H - S);
    e = __builtin_fma(r, 0x1.9509ed32130bcp-57, e);
    double Z = lo + e;
    double A = __builtin_fma(0x1.fc4bd1a7123b3p-5, r, -0x1.28808b8a217c3p-4);
    double B = __builtin_fma(0x1.63c6276640f43p-4, r, -0x1.bcb7b14641063p-4);
    double C = __builtin_fma(0x1.287a7636f43bbp-3, r, -0x1.bcb7b1526e53fp-3);
    double s = r * r;
    return S + __builtin_fma(__builtin_fma(__builtin_fma(s, A, B), s, C), s, Z);
}
}  // namespace
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, log10, (double x)) { return log10_fma(x); }
#endif

// erfcx: the scaled complementary error function exp(x^2) erfc(x), and its float form
// erfcxf; one ex body each.
//
// 0 <= x < 25.90869: erfc(x) 2^192 from the kernel of special/erf_common.h (within 2^-60)
// times exp(x^2): x^2 = s + sl exactly (two_prod), e^s by the exponential kernel
// __libm_exp_k64 as a pair times 2^n (relative error 2^-72), times (1 + sl); the product in
// double-double, rounded once and scaled by 2^(n - 192) exactly.  Below 0.55 + 2^-6 ulp.
// x < 0: erfcx(x) = exp(x^2) erfc(x) = exp(x^2) (2 - erfc(|x|)), erfc(|x|) from the kernel up
// to 12 (beyond, it is below 2^-210 and 2 stands alone), the product scaled in two steps, so
// that no intermediate power of two overflows.  From -26.628735713751492 down the result
// overflows: +infinity with the code erfcx_overflow.
// x >= 25.90869: the asymptotic series erfcx(x) = 1/(x sqrt(pi)) sum (-1)^n (2n-1)!! w^n,
// w = 1/(2 x^2) <= 7.5e-4, to n = 9 (the first term left out is below 2^-68); 1/(x sqrt(pi))
// as a double-double quotient.  From 2^60 on w is below 2^-121 and the result is
// (1/sqrt(pi))/x rounded once, with (1/sqrt(pi))'s tail 2^-54 of it below 0.06 ulp.
//
// Edges: NaN x * x; +infinity 0, -infinity +infinity, exactly; |x| < 2^-70: 1 - x, which
// rounds in every mode as 1 - (2/sqrt(pi)) x does.
//
// erfcxf: the double computation rounded to float (below 0.5 + 2^-20 ulp); from
// -0x1.2c3cbep+3 down, +infinity with erfcxf_overflow.
#include "elementary/exp_kernels.h"
#include "special/erf_common.h"
#include "tsr/codes.h"
#include "tsr/report.h"

using namespace tsr;
using namespace tsr::erf;

namespace {

constexpr double kAsymptoticFrom = 0x1.9e89fe86833c6p+4;  // 25.90869: the series from here on
constexpr double kOverflowTo = -0x1.aa0f4d2e063cfp+4;     // -26.628735713751492: beyond DBL_MAX
constexpr float kFloatOverflowTo = -0x1.2c3cbep+3f;       // beyond FLT_MAX from here down
constexpr double kInvSqrtPi = 0x1.20dd750429b6dp-1;       // 1/sqrt(pi), head
constexpr double kInvSqrtPiLo = 0x1.1ae3a914fed80p-57;    // 1/sqrt(pi) - head
constexpr double kNegativeEnd = 12.0;                     // erfc(12) < 2^-210

// 2^n for -1022 <= n <= 1023, by its bits.
inline double pow2(int n) { return f64(uint64_t(n + 1023) << 52); }

// exp(a^2) as a double-double times 2^n.
inline DD exp_square(double a, int &n) {
    DD s = dd::two_prod<false>(a, a);
    double out[2];
    __libm_exp_k64(s.h, &n, out);
    return dd::fast_two_sum(out[0], out[1] + out[0] * s.l);
}

inline double erfcx_d(double x) {
    double a = f64(bits(x) & kAbs);
    if (__builtin_expect(bits(a) >= 0x7ff0000000000000ull, 0))  // by bits: no compare with a NaN
        return bits(a) > 0x7ff0000000000000ull ? x * x : (x > 0 ? 0.0 : __builtin_inf());
    if (a < 0x1p-70) return 1.0 - x;
    if (x <= kOverflowTo) return report(x, opaque(0x1p1023) * 0x1p1023, code::erfcx_overflow);
    if (x >= kAsymptoticFrom) {
        if (x >= 0x1p60) {
            // one rounding of a quotient that is never exact (1/sqrt(pi) is irrational):
            // inexact is raised for the powers of two too
            raise_inexact();
            return kInvSqrtPi / x;
        }
        double w = 0.5 / (x * x);
        // (-1)^n (2n-1)!! for n = 1..9, on w
        double S = -34459425.0;
        S = S * w + 2027025.0;
        S = S * w - 135135.0;
        S = S * w + 10395.0;
        S = S * w - 945.0;
        S = S * w + 105.0;
        S = S * w - 15.0;
        S = S * w + 3.0;
        S = S * w - 1.0;
        S *= w;  // the sum less its leading 1
        DD q = dd::div<false>(DD{kInvSqrtPi, kInvSqrtPiLo}, DD{x, 0.0});
        return q.h + (q.l + q.h * S);
    }
    int n;
    DD E = exp_square(a, n);
    if (x >= 0) {
        Grid g = grid(a);
        DD v = kernel<false, true, 13, 10, 6, 3>(erfc_rows[g.k], g.x0, g.d);
        v = dd::fast_two_sum(v.h, v.l);
        DD p = dd::mul<false>(E, v);
        return (p.h + p.l) * pow2(n - 192);
    }
    double t = a < kNegativeEnd ? a : kNegativeEnd;
    Grid g = grid(t);
    DD v = kernel<false, true, 13, 10, 6, 3>(erfc_rows[g.k], g.x0, g.d);
    DD s = dd::fast_two_sum(2.0, -v.h * kUnscale);
    DD F = dd::fast_two_sum(s.h, s.l - v.l * kUnscale);  // erfc(x) = 2 - erfc(|x|)
    DD p = dd::mul<false>(E, F);
    int n1 = n / 2;
    return ((p.h + p.l) * pow2(n1)) * pow2(n - n1);
}

inline float erfcxf_f(float x) {
    // by bits: -infinity (+infinity, no report) and NaNs go to the double form
    if (bits(x) >= bits(kFloatOverflowTo) && bits(x) < 0xff800000u)
        return report(x, opaque(0x1p127f) * 0x1p127f, code::erfcxf_overflow);
    return float(erfcx_d(double(x)));
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, erfcx, (double x)) { return erfcx_d(x); }
TSR_BODY(float, erfcxf, (float x)) { return erfcxf_f(x); }
TSR_DEFINE(double, __bwr_erfcx, (double x)) { return erfcx_d(x); }
TSR_DEFINE(float, __bwr_erfcxf, (float x)) { return erfcxf_f(x); }
#endif

// compound(x, y) = (1 + x)^y, the growth of one unit over y periods at the rate x, in double,
// single and extended precision.
//
// Double: after the table of special values, every step runs in the caller's rounding mode
// (the pairs of the core stay within a few units of their low part in the directed modes,
// and the shifter of the power rounds n the caller's way, which the polynomial's interval
// allows for).  With W = y log2(1 + x) (fin_common.h):
// - y = 1 is 1 + x and y = -1 is 1/(1 + x), from the exact pair 1 + x: exact wherever the
//   value is a double.
// - other integer y with 1 + x a double: the power built exactly where it is a double
//   (exact_compound), so that it comes back exact and without inexact in every mode.
// - |W| < 2^-56: 1 + W rounds as 1 plus anything of W's sign below a quarter of its ulp.
// - |W| < 4096: 2^W = R 2^N as a pair, rounded once with its scale (subnormal results
//   included).
// - |W| >= 4096: overflow or underflow by the sign of W.
// The error before the last rounding stays below 2^-60 of the value.
//
// Single: the double function's result rounded to single (0.5 + 2^-29 ulp at most).
//
// Extended: e^(y ln(1 + x)) in pairs of extended values on the kernels of extended/
// (fin_ext.h), under the x87 frame, round-to-nearest until the last operation.
#include "special/fin_body.h"

using namespace tsr;
using namespace tsr::fin;

namespace {

constexpr Codes kCodes{code::compound_rate_at_a_pole, code::compound_rate_below_minus_1,
                       code::compound_overflow, code::compound_underflow};
constexpr Codes kCodesF{code::compoundf_rate_at_a_pole, code::compoundf_rate_below_minus_1,
                        code::compoundf_overflow, code::compoundf_underflow};
constexpr Codes kCodesL{code::compoundl_rate_at_a_pole, code::compoundl_rate_below_minus_1,
                        code::compoundl_overflow, code::compoundl_underflow};

// x finite, above -1, not zero; y finite, not zero.
inline double compound_core(double x, double y) {
    if (y == 1.0) return x + 1.0;
    if (y == -1.0) {  // 1/(1 + x)
        DD p = dd::two_sum(1.0, x);
        int ep = expo(p.h);
        DD q = dd::div({1.0, 0.0}, scale_dd(p, -ep));
        return round_scaled(q, -ep, nullptr);
    }
    double e;
    if (exact_compound(x, y, &e)) return e;
    Log2 L = log2_1p(x);
    Expo W = times_y(L, y, 1.0);
    if (W.ew < -56) return 1.0 + opaque(W.m.h > 0 ? 0x1p-100 : -0x1p-100);
    if (W.ew >= 12) return W.m.h > 0 ? opaque(0x1p1023) * 0x1p1023 : opaque(0x1p-1074) * 0x1p-8;
    int N;
    DD R = exp2_pair(scale_dd(W.m, W.e), N);
    return round_scaled(R, N, nullptr);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, compound, (double x, double y)) { return entry<Fn::compound, compound_core>(x, y, kCodes); }
TSR_BODY(float, compoundf, (float x, float y)) { return entry_f<Fn::compound, compound_core>(x, y, kCodesF); }
// The reproducible names stand at the bodies themselves: nothing in them depends on the
// processor.
TSR_ALIAS(double, __bwr_compound, (double, double), __libm_compound_ex)
TSR_ALIAS(float, __bwr_compoundf, (float, float), __libm_compoundf_ex)
TSR_DEFINE(long double, compoundl, (long double x, long double y)) {
    return entry_l<Fn::compound, compoundl_core>(x, y, kCodesL);
}
#endif

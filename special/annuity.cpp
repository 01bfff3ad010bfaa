// annuity(x, y) = (1 - (1 + x)^-y)/x, the present value of one unit paid at the end of each of
// y periods at the rate x, in double, single and extended precision.
//
// Double: after the table of special values, the core of fin_common.h under round-to-nearest,
// the caller's mode back before the one operation that rounds the result.  With
// W = -y log2(1 + x):
// - y = -1 is -1 exactly and y = 1 is 1/(1 + x), from the exact pair 1 + x.
// - a value that is a double (1 + x and its integer power exact, the quotient a double:
//   annuity(1, 3) = 0.875) is found first and returned exactly, without inexact
//   (exact_annuity).
// - |W| < 2^-7: 1 - 2^W = y log2(1 + x) (2^W - 1)/W, so the value is y G F(W) with
//   G = log2(1 + x)/x (the series of the logarithm, or the pair divided by x) and
//   F(W) = (2^W - 1)/W: no difference is taken and nothing cancels, however small x y is;
//   y enters by its significand and its exponent is applied in the last rounding, so a tiny y
//   or a tiny result keeps its digits.
// - 2^-7 <= |W| < 4096: D = 1 - 2^W as a pair (at most seven bits cancel), exactly 1 minus the
//   power's head where both matter, the power alone above 2^110, the 1 alone below 2^-110; the
//   value is D/x with x's exponent kept apart.
// - |W| >= 4096: W > 0 overflows (an infinity of the sign opposite to x), W < 0 leaves 1/x.
// The error stays below 2^-58 of the value before the last rounding.
//
// Single: the double function's result rounded to single (an error of 0.5 + 2^-29 ulp at
// most in round-to-nearest, and the caller's direction in the others).
//
// Extended: the same scheme in pairs of extended values on the kernels of extended/
// (fin_ext.h), under the x87 frame, round-to-nearest until the last operation.
#include "special/fin_body.h"

using namespace tsr;
using namespace tsr::fin;

namespace {

constexpr Codes kCodes{code::annuity_rate_at_a_pole, code::annuity_rate_below_minus_1, code::annuity_overflow,
                       code::annuity_underflow};
constexpr Codes kCodesF{code::annuityf_rate_at_a_pole, code::annuityf_rate_below_minus_1,
                        code::annuityf_overflow, code::annuityf_underflow};
constexpr Codes kCodesL{code::annuityl_rate_at_a_pole, code::annuityl_rate_below_minus_1,
                        code::annuityl_overflow, code::annuityl_underflow};

// x finite, above -1, not zero; y finite, not zero.
inline double annuity_core(double x, double y) {
    if (y == -1.0) return -1.0;  // (1 - (1 + x))/x
    double e;
    if (exact_annuity(x, y, &e)) return e;
    RnGuard g;
    x = opaque(x);
    y = opaque(y);
    if (y == 1.0) {  // 1/(1 + x)
        DD p = dd::two_sum(1.0, x);
        int ep = expo(p.h);
        DD q = dd::div({1.0, 0.0}, scale_dd(p, -ep));
        return round_scaled(q, -ep, &g);
    }
    const int ex = expo(x);
    const double xs = significand(x, ex);
    Log2 L = log2_1p(x);
    Expo W = times_y(L, y, -1.0);
    if (W.ew < -7) {
        DD G = L.g;
        int eg = 0;
        if (!L.series) {
            G = dd::div(L.m, {xs, 0.0});
            eg = -ex;
        }
        // W's value only shapes F beyond its constant term: below 2^-200 it is nothing.
        double w = W.ew < -200 ? 0.0 : W.m.h * pow2(W.e);
        DD F = expm1_ratio(w);
        int ey = expo(y);
        DD A = dd::mul(dd::mul(G, F), significand(y, ey));
        return round_scaled(A, ey + eg, &g);
    }
    if (W.ew >= 12) {
        if (W.m.h > 0) {
            g.restore();
            return opaque(x > 0 ? -0x1p1023 : 0x1p1023) * 0x1p1023;  // overflow, opposite to x
        }
        // 1/x less 2^W/x, which lies far below the last place: it only steers the
        // directed roundings of an exact 1/x.
        return round_scaled(dd::div({1.0, -0x1p-200}, {xs, 0.0}), -ex, &g);
    }
    int N;
    DD R = exp2_pair(scale_dd(W.m, W.e), N);
    DD D;
    int sd = 0;
    if (N > 110) {
        D = dd::neg(R);
        sd = N;
    } else if (N < -110) {
        D = {1.0, -R.h * pow2(N < -1000 ? -1000 : N)};
    } else {
        double s = pow2(N);
        DD t = dd::two_sum(1.0, -R.h * s);  // R.h s is exact
        D = dd::fast_two_sum(t.h, t.l - R.l * s);
    }
    return round_scaled(dd::div(D, {xs, 0.0}), sd - ex, &g);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, annuity, (double x, double y)) { return entry<Fn::annuity, annuity_core>(x, y, kCodes); }
TSR_BODY(float, annuityf, (float x, float y)) { return entry_f<Fn::annuity, annuity_core>(x, y, kCodesF); }
// The reproducible names stand at the bodies themselves: nothing in them depends on the
// processor.
TSR_ALIAS(double, __bwr_annuity, (double, double), __libm_annuity_ex)
TSR_ALIAS(float, __bwr_annuityf, (float, float), __libm_annuityf_ex)
TSR_DEFINE(long double, annuityl, (long double x, long double y)) {
    return entry_l<Fn::annuity, annuityl_core>(x, y, kCodesL);
}
#endif

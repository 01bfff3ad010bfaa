// The inverse hyperbolic and circular functions: acos, acosh, asinh, atanh, and asin, atan
// by the rotation asin z = -i asinh(iz), atan z = -i atanh(iz) (the same rotation as the
// circular functions of ccosh.cpp).
//
// acos, acosh, asinh follow the method of Hull, Fairgrieve and Tang, computed in the 80-bit
// extended format, whose range holds every square of a double: with a = |x| and b = |y| (for
// asinh the roles turned), r = |z + 1| and s = |z - 1| by square roots, A = (r + s) / 2 and
// B = a / A.
// - The angle is acos B (asin B for asinh) while B is small enough that its rounding does not
//   matter (below 0.6417, 0.9 for asin); above, it is an atan2 of forms that stay accurate
//   next to the branch points: sqrt((A + a)/2 (b^2/(r + a + 1) + s + (1 - a))) against a for
//   a <= 1, and b sqrt((A + a)/2 (1/(r + a + 1) + 1/(s + a - 1))) against a for a > 1.
// - The logarithm part, ln(A + sqrt(A^2 - 1)), is taken as log1p(W + sqrt(W (A + 1))) with
//   W = A - 1 formed without cancellation (b^2/(r + a + 1) + b^2/(s + 1 - a) halved for a < 1,
//   b^2/(r + a + 1) + (s + a - 1) halved for a >= 1) while A <= 1.5.
// The angles come from the extended atan2 kernel (__libm_atan2_k80), the logarithms from the
// double-double logarithm kernel on the extended argument as a head and a tail (log_ld,
// log1p_ld).  Each part is within about 2^-58 relative before its one rounding to double.
//
// atanh: Re = ln(((x + 1)^2 + y^2) / ((x - 1)^2 + y^2)) / 4, or where that ratio is near 1,
// atanh(2x / (1 + x^2 + y^2)) / 2; Im = atan2(2y, (1 - x^2) - y^2) / 2, or where the
// denominator is small (below 0.03), (atan2(y, 1 + x) - atan2(-y, 1 - x)) / 2.
//
// Special values as C99 Annex G gives them.
#include "complex/cplx_common.h"

#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::cplx;

namespace {
constexpr LD ACOS_SWITCH = 0xa.4467381d7dbf488p-4L;  // 0.6417: acos B below, atan2 above
constexpr double PI2_D = 0x1.921fb54442d18p+0;  // pi/2 rounded
constexpr LD ASIN_SWITCH = 0xe.666666666666666p-4L;  // 0.9: asin B below, atan2 above

inline LD atanh_ld(LD u) { return 0.5L * log1p_ld(2.0L * u / (1.0L - u)); }

struct Hft {
    LD A, r, s;
};
inline Hft hft(LD a, LD b) {
    LD r = sqrtl_((a + 1.0L) * (a + 1.0L) + b * b);
    LD s = sqrtl_((a - 1.0L) * (a - 1.0L) + b * b);
    return {0.5L * (r + s), r, s};
}
// ln(A + sqrt(A^2 - 1)) = acosh A.
inline LD hft_log(const Hft &h, LD a, LD b) {
    if (h.A > 1.5L) return log_ld(h.A + sqrtl_(h.A * h.A - 1.0L));
    LD b2 = b * b;
    LD w = a < 1.0L ? 0.5L * (b2 / (h.r + a + 1.0L) + b2 / (h.s + (1.0L - a)))
                    : 0.5L * (b2 / (h.r + a + 1.0L) + (h.s + (a - 1.0L)));
    return log1p_ld(w + sqrtl_(w * (h.A + 1.0L)));
}
// The two forms of sqrt(A^2 - a^2)-like quantities used by the angle near B = 1: the angle
// is atan2(num, a) with num = b-side value.
inline LD hft_num(const Hft &h, LD a, LD b) {
    LD P = h.A + a;
    if (a <= 1.0L) return sqrtl_(0.5L * P * (b * b / (h.r + a + 1.0L) + (h.s + (1.0L - a))));
    return b * sqrtl_(0.5L * (P / (h.r + a + 1.0L) + P / (h.s + (a - 1.0L))));
}

// (R, L): R = acos of the real-part ratio in [0, pi/2], L >= 0; for acos and acosh.
inline void acos_parts(double x, double y, LD &R, LD &L) {
    LD a = f64(abits(x)), b = f64(abits(y));
    Hft h = hft(a, b);
    LD B = a / h.A;
    if (B < ACOS_SWITCH) R = atan2_ld(sqrtl_((1.0L - B) * (1.0L + B)), B);
    else R = atan2_ld(hft_num(h, a, b), a);
    L = hft_log(h, a, b);
    if (neg(x)) R = PI_L - R;
}

inline CD cacos_core(double x, double y) {
    if (is_zero(x)) return mk(acos_local(0.0), flip(asinh_local(y)));
    if (is_nan(y)) {
        if (is_finite(x) || is_nan(x)) return mk(x * x + y * y, y * y);  // NaN parts
        return mk(y * y, x * x);
    }
    if (is_nan(x)) {
        if (is_finite(y)) return mk(x * x, x * x);
        return mk(x + x, neg(y) ? y * y : -(y * y));
    }
    if (is_inf(y) || is_inf(x)) {
        double inf = is_inf(y) ? y * y : x * x;
        return mk(f64(abits(atan2_local(y, x))), neg(y) ? inf : -inf);
    }
    if (is_zero(y)) {
        if (f64(abits(x)) < 1.0) return mk(acos_local(x), flip(y));
        double ac = acosh_local(f64(abits(x)));
        return mk(acos_local(with_sign(1.0, x)), neg(y) ? ac : -ac);
    }
    RnGuardInexact rn;
    X87Precision p;
    LD R, L;
    acos_parts(opaque(x), y, R, L);
    double re = double(R), im = double(neg(y) ? L : -L);
    return mk(rn.finish(re), im);
}

inline CD cacosh_core(double x, double y) {
    if (is_zero(y)) {
        if (f64(abits(x)) < 1.0) return mk(0.0, with_sign(acos_local(x), y));
        if (!is_nan(x)) return mk(acosh_local(f64(abits(x))), with_sign(acos_local(with_sign(1.0, x)), y));
    }
    if (is_zero(x) && !is_nan(y)) return mk(asinh_local(f64(abits(y))), atan2_local(y, x));
    if (is_finite(x) && is_nan(y)) return mk(y * y, y * y);
    if (is_inf(x)) return mk(x * x, atan2_local(y, x));
    if (is_nan(x)) {
        if (is_finite(y)) return mk(x * x, x * x);
        if (is_inf(y)) return mk(y * y, atan2_local(y, x));
        return mk(x * x, y * y);
    }
    if (is_inf(y)) return mk(y * y, atan2_local(y, x));
    RnGuardInexact rn;
    X87Precision p;
    LD R, L;
    acos_parts(opaque(x), y, R, L);
    double re = double(L), im = with_sign(double(R), y);
    return mk(rn.finish(re), im);
}

inline CD casinh_core(double x, double y) {
    if (is_zero(y)) return mk(asinh_local(x), y);
    if (is_inf(x)) return mk(with_sign(x * x, x), atan2_local(y, f64(abits(x))));
    if (is_nan(x)) {
        if (is_nan(y)) return mk(x * x, y * y);
        if (is_finite(y)) return mk(x * x, x * x);
        return mk(with_sign(y * y, x), atan2_local(y, x));
    }
    if (is_inf(y)) return mk(with_sign(y * y, x), atan2_local(y, f64(abits(x))));
    if (is_nan(y)) return mk(y * y, y * y);
    if (is_zero(x)) {
        if (f64(abits(y)) < 1.0) return mk(x, asin_local(y));
        return mk(with_sign(acosh_local(f64(abits(y))), x), asin_local(with_sign(1.0, y)));
    }
    RnGuardInexact rn;
    X87Precision p;
    LD a = f64(abits(opaque(y))), b = f64(abits(x));
    Hft h = hft(a, b);
    LD B = a / h.A;
    LD ang = B <= ASIN_SWITCH ? atan2_ld(B, sqrtl_((1.0L - B) * (1.0L + B))) : atan2_ld(a, hft_num(h, a, b));
    LD L = hft_log(h, a, b);
    double re = with_sign(double(L), x), im = with_sign(double(ang), y);
    return mk(rn.finish(re), im);
}

// Re atanh(x + iy) for finite x, y, not both zero, in extended precision: formed on |x| and
// |y| and given x's sign, so that atanh(-z) = -atanh(z) holds bit for bit (the ratio q
// would otherwise turn into 1/q, whose logarithm rounds differently).
inline LD catanh_re(LD x, LD y) {
    bool negx = x < 0.0L;
    if (negx) x = -x;
    if (y < 0.0L) y = -y;
    LD y2 = y * y;
    LD q = ((x + 1.0L) * (x + 1.0L) + y2) / ((x - 1.0L) * (x - 1.0L) + y2);
    LD d = q - 1.0L;
    LD r = (d <= 0.03L && d >= -0.03L) ? 0.5L * atanh_ld(2.0L * x / (1.0L + x * x + y2)) : 0.25L * log_ld(q);
    return negx ? -r : r;
}

inline CD catanh_core(double x, double y) {
    if (is_nan(x)) {
        if (is_finite(y)) return mk(x * x, x * x);
        if (is_inf(y)) return mk(0.0, atan_local(y));
        return mk(x * x, y * y);
    }
    if (is_inf(y)) return mk(with_sign(0.0, x), atan_local(y));
    if (is_nan(y)) {
        if (is_inf(x) || is_zero(x)) return mk(with_sign(0.0, x), atan_local(y));
        return mk(y * y, y * y);
    }
    if (is_zero(x)) return mk(x, atan_local(y));
    if (is_inf(x)) return mk(with_sign(0.0, x), with_sign(PI2_D, y));  // Annex G: +0 + i pi/2
    if (is_zero(y)) {
        if (f64(abits(x)) <= 1.0) return mk(atanh_local(x), y);
        if (is_inf(x)) return mk(with_sign(0.0, x), asin_local(with_sign(1.0, y)));
        RnGuardInexact rn;
        X87Precision p;
        double re = double(catanh_re(opaque(x), 0.0L));
        return mk(rn.finish(re), asin_local(with_sign(1.0, y)));
    }
    RnGuardInexact rn;
    X87Precision p;
    LD X = opaque(x), Y = y;
    LD d = (1.0L - X * X) - Y * Y;
    LD im;
    if (d < 0.03L && d > -0.03L) im = 0.5L * (atan2_ld(Y, 1.0L + X) - atan2_ld(-Y, 1.0L - X));
    else im = 0.5L * atan2_ld(2.0L * Y, d);
    double re = double(catanh_re(X, Y)), i = double(im);
    return mk(rn.finish(re), i);
}
}  // namespace

#if TSR_TIER_EX
TSR_BODY(CD, cacos, (CD z)) { return cacos_core(__real__ z, __imag__ z); }
TSR_BODY(CD, cacosh, (CD z)) { return cacosh_core(__real__ z, __imag__ z); }
TSR_BODY(CD, casinh, (CD z)) { return casinh_core(__real__ z, __imag__ z); }
TSR_BODY(CD, catanh, (CD z)) { return catanh_core(__real__ z, __imag__ z); }
TSR_BODY(CF, casinhf, (CF z)) { return narrowc(casinh_core(__real__ z, __imag__ z)); }
TSR_BODY(CF, catanhf, (CF z)) { return narrowc(catanh_core(__real__ z, __imag__ z)); }
TSR_DEFINE(CF, cacosf, (CF z)) { return narrowc(cacos_core(__real__ z, __imag__ z)); }
TSR_DEFINE(CF, cacoshf, (CF z)) { return narrowc(cacosh_core(__real__ z, __imag__ z)); }
TSR_DEFINE(CD, casin, (CD z)) { return rot_out(casinh_local(rot_in(z))); }
TSR_DEFINE(CD, catan, (CD z)) { return rot_out(catanh_local(rot_in(z))); }
// As the float circular forms: turned in double, the float pair formed once.
TSR_DEFINE(CF, casinf, (CF z)) {
    CD w = rot_in(widen(z));
    return narrowc(rot_out(casinh_core(__real__ w, __imag__ w)));
}
TSR_DEFINE(CF, catanf, (CF z)) {
    CD w = rot_in(widen(z));
    return narrowc(rot_out(catanh_core(__real__ w, __imag__ w)));
}
#endif

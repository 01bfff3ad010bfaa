// The complex hyperbolic functions cosh, sinh, tanh, and the circular ones, which are the
// hyperbolic ones on the rotated argument: cos z = cosh(-y + ix); sin z and tan z are
// sinh(-y + ix) = u + iv and tanh(-y + ix) = u + iv returned as (v, -u).  The rotation flips
// no NaN's sign, so a NaN passes with its own bits.
//
// cosh and sinh: cosh x and sinh x come from the hyperbolic kernels as 2^n (r0 + r1), cos y
// and sin y from the two-part sine and cosine kernel, and __libm_mul_k64 joins each pair with
// one rounding (so cosh x may overflow alone while cosh x cos y does not).  From |x| = 2048 on
// every non-zero part overflows: the multiplier is 2^1023 * 2^1023, with its flags.
//
// tanh: (sinh x cosh x + i sin y cos y) / (sinh^2 x + cos^2 y), in extended precision from
// the same kernels (the squares of values up to e^512 are within its range); every operation
// rounds to 64 bits, about 2^-61 relative before the one rounding to double.  From |x| = 512
// on the real part is +-1 (rounded, inexact) and the imaginary part underflows to a zero with
// the sign of sin 2y.
//
// Special values as C99 Annex G gives them for ccosh, csinh and ctanh.
#include "complex/cplx_common.h"

#include "elementary/hyp_common.h"
#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::cplx;

namespace {
inline double hyp_tiny_tail(double x) { return x * (x * x) * 0x1.5555555555555p-3; }  // x^3/6

// cosh x = C * 2^n1 and sinh x = S * 2^n2 as double-double pairs, sin y and cos y as pairs.
// Below 2^-26, sinh x = x + x^3/6 to far beyond double-double.
inline void hyp_pairs(double x, double y, double C[2], int &n1, double S[2], int &n2, double sn[2],
                      double cs[2]) {
    n1 = __libm_cosh_k64(opaque(x), C);
    if (bexp(x) < 1023 - 26) {
        S[0] = x;
        S[1] = hyp_tiny_tail(x);
        n2 = 0;
    } else {
        n2 = __libm_sinh_k64(x, S);
    }
    sincos_rn(y, sn, cs);
}

// cosh and sinh for the usual finite parts (0.02 < |x| < 2048, 2^-252 <= |y| < 2^17): the
// hyperbolic kernels' pairs from one reduction of |x| and the sine-cosine pair, inline under
// one round-to-nearest guard; the same pairs as the kernels give, joined as below.
inline bool chyp_usual_range(double x, double y) {
    uint32_t hx = hi(x) & 0x7fffffff;
    return hx > 0x3f947ae0 && hx < 0x40a00000 && sincos_pair_range(y);
}
template <bool COSH>
inline CD chyp_usual(double x, double y) {
    RnGuardInexact rn;
    x = opaque(x);
    y = opaque(y);
    uint32_t hx = hi(x) & 0x7fffffff;
    hyp::Red o = hyp::reduce(__builtin_fabs(x));
    double C[2], S[2], sn[2], cs[2];
    int n = hyp::pair_of_reduced<true>(o, hx, C[0], C[1]);
    hyp::pair_of_reduced<false>(o, hx, S[0], S[1]);
    if (neg(x)) {
        S[0] = -S[0];
        S[1] = -S[1];
    }
    sincos_pair(y, sn, cs);
    double re = mul_scaled(n, COSH ? C : S, cs), im = mul_scaled(n, COSH ? S : C, sn);
    return mk(rn.finish(re), im);
}

template <bool COSH>
inline CD chyp(double x, double y) {
    if (chyp_usual_range(x, y)) return chyp_usual<COSH>(x, y);
    if (is_zero(y)) {
        if (COSH) return mk(cosh_local(x), is_nan(x) ? y : f64(bits(y) ^ (bits(x) & ~ABS)));
        return mk(sinh_local(x), y);
    }
    if (!is_finite(y)) {
        double v = y - y;  // NaN, invalid for an infinite y
        if (!is_finite(x)) return mk(COSH ? cosh_local(x) : sinh_local(x), v);
        if (is_zero(x)) {
            // The zero takes the sign of x XOR that of y, for a NaN y too (C99 leaves its sign
            // open there), so that conj and the rotation of ccos keep their symmetries.
            if (COSH) return mk(v, f64((bits(x) ^ bits(y)) & ~ABS));
            return mk(x, v);
        }
        return mk(COSH ? v : v * x, v);
    }
    double s, c;
    if (!is_nzfinite(x)) {  // x zero, infinite or NaN; y finite, not zero
        sincos_local(y, &s, &c);
        if (bexp(y) == 0 && (COSH || !is_zero(x))) s = y;
        double ch = cosh_local(x), sh = sinh_local(x);
        if (COSH) return mk(ch * c, sh * s);
        return mk(sh * c, ch * s);
    }
    if (f64(abits(x)) >= 2048.0) {
        sincos_local(y, &s, &c);
        if (bexp(y) == 0) s = y;
        double M = opaque(0x1p1023);
        M = M * M;
        if (COSH) return mk(c * M, s * (M * x));
        return mk(c * (x * M), s * M);
    }
    RnGuardInexact rn;
    double C[2], S[2], sn[2], cs[2];
    int n1, n2;
    hyp_pairs(x, y, C, n1, S, n2, sn, cs);
    double re, im;
    if (COSH) {
        re = mul_scaled(n1, C, cs);
        im = mul_scaled(n2, S, sn);
    } else {
        re = mul_scaled(n2, S, cs);
        im = mul_scaled(n1, C, sn);
    }
    return mk(rn.finish(re), im);
}

inline CD ctanh_core(double x, double y) {
    if (!is_finite(y) && !is_inf(x)) {
        if (is_finite(x)) {
            double v = y - y;
            return mk(v, v);
        }
        return mk(x + x, x + y);
    }
    if (is_inf(x)) {
        double one = with_sign(1.0, x);
        if (is_inf(y)) return mk(one, with_sign(0.0, y));
        if (is_nan(y)) {
            force(y * y);
            return mk(one, 0.0);
        }
        return mk(one, bexp(y) == 0 ? y * 0.0 : tan_local(y) * 0.0);
    }
    if (is_nan(x)) return mk(x + x, is_zero(y) ? y * 0.0 : x + y);
    if (is_zero(x)) return mk(x, tan_local(y));
    if (is_zero(y)) return mk(tanh_local(x), y);
    if (f64(abits(x)) >= 512.0) {
        double re = with_sign(1.0 - 0x1p-1022, x);
        return mk(re, bexp(y) == 0 ? with_sign(0.0, y) : tan_local(y) * 0.0);
    }
    RnGuardInexact rn;
    // The quotients in round-to-nearest, then each part rounded once in the caller's mode.
    X87Frame f(true);
    double C[2], S[2], sn[2], cs[2];
    int n1, n2;
    hyp_pairs(x, y, C, n1, S, n2, sn, cs);
    LD ch = ld(C) * pow2l(n1), sh = ld(S) * pow2l(n2), s = ld(sn), c = ld(cs);
    LD d = sh * sh + c * c;
    LD re = sh * ch / d, im = s * c / d;
    // Where |re| is large, re = +-(1 - t) with t = (cos^2 y - |sinh x| e^-|x|) / d (the same
    // quotient, since |sinh x| - cosh x = -e^-|x|): a real part just inside +-1 then stays
    // inside it whatever the last rounding does (its own rounding errors would otherwise put
    // it one extended unit beyond, and a directed rounding to double a whole unit of the next
    // binade further, two units of the exact part's).  Below 1/2 the difference would cancel.
    if (__builtin_fabsl(re) > 0.5L) {
        LD sa = __builtin_fabsl(sh);
        LD t = (c * c - sa / (ch + sa)) / d;
        re = __builtin_copysignl(1.0L - t, re);
    }
    re = opaque(re);
    im = opaque(im);
    f.release();
    double r = double(opaque(re)), i = double(opaque(im));
    return mk(rn.finish(r), i);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(CD, ccosh, (CD z)) { return chyp<true>(__real__ z, __imag__ z); }
TSR_BODY(CD, csinh, (CD z)) { return chyp<false>(__real__ z, __imag__ z); }
TSR_BODY(CD, ctanh, (CD z)) { return ctanh_core(__real__ z, __imag__ z); }
TSR_BODY(CF, ccoshf, (CF z)) { return narrowc(chyp<true>(__real__ z, __imag__ z)); }
TSR_BODY(CF, csinhf, (CF z)) { return narrowc(chyp<false>(__real__ z, __imag__ z)); }
TSR_BODY(CF, ctanhf, (CF z)) { return narrowc(ctanh_core(__real__ z, __imag__ z)); }

TSR_DEFINE(CD, ccos, (CD z)) { return ccosh_local(rot_in(z)); }
TSR_DEFINE(CD, csin, (CD z)) { return rot_out(csinh_local(rot_in(z))); }
TSR_DEFINE(CD, ctan, (CD z)) { return rot_out(ctanh_local(rot_in(z))); }
// The float forms turn the widened argument and the double result (a sign flip commutes
// with the narrowing, and a NaN keeps its bits either way): the float pair, which g++ packs
// through memory, is formed once.
TSR_DEFINE(CF, ccosf, (CF z)) {
    CD w = rot_in(widen(z));
    return narrowc(chyp<true>(__real__ w, __imag__ w));
}
TSR_DEFINE(CF, csinf, (CF z)) {
    CD w = rot_in(widen(z));
    return narrowc(rot_out(chyp<false>(__real__ w, __imag__ w)));
}
TSR_DEFINE(CF, ctanf, (CF z)) {
    CD w = rot_in(widen(z));
    return narrowc(rot_out(ctanh_core(__real__ w, __imag__ w)));
}
#endif

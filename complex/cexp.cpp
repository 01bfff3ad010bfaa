// The complex exponentials e^z, 2^z and 10^z.
//
// For finite parts the modulus comes from the scaled two-part kernel, b^x = 2^n (E0 + E1),
// and the angle from the two-part sine and cosine kernel; __libm_mul_k64 joins them, each
// result part rounded once, so e^x may overflow alone while e^x cos y does not, and a part
// that underflows is rounded once into the subnormal range.  Beyond the kernel's range
// (|x| >= 2048 for e, 4096 for 2, 1024 for 10) every non-zero result part overflows or
// underflows, and t * t with t = 2^1023 or 2^-1022 gives that with its flags.
//
// The angle of 2^z and 10^z is y ln b in two parts (y times ln b as an exact product plus
// y times the tail of ln b), turned by its tail in extended precision; a y below 2^-900 is
// scaled by 2^200 first, the scale handed to the product of the imaginary part.
//
// Special values as C99 Annex G gives them for cexp (the same table serves 2^z and 10^z).
#include "complex/cplx_common.h"

#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::cplx;

namespace {
enum Base { kE, k2, k10 };

template <Base B>
inline double exp_real(double x) {
    if constexpr (B == kE) return exp_local(x);
    else if constexpr (B == k2) return exp2_local(x);
    else return exp10_local(x);
}

// ln 2 and ln 10 in two parts.
constexpr double LN2_HI = 0x1.62e42fefa39efp-1, LN2_LO = 0x1.abc9e3b39803fp-56;
constexpr double LN10_HI = 0x1.26bb1bbb55516p+1, LN10_LO = -0x1.f48ad494ea3e9p-53;

// Sine and cosine of the angle of b^(iy) in two parts; the sine carries the extra scale 2^g.
template <Base B>
inline void angle(double y, double S[2], double C[2], int &g) {
    g = 0;
    if constexpr (B == kE) {
        sincos_rn(y, S, C);
    } else {
        const double H = B == k2 ? LN2_HI : LN10_HI, L = B == k2 ? LN2_LO : LN10_LO;
        if (bexp(y) < 1023 - 900) {  // |y| < 2^-900: the angle itself, scaled by 2^200
            y *= 0x1p200;
            g = -200;
        }
        auto [th, tl] = two_prod(y, H);
        tl += y * L;
        double t = th;
        th = t + tl;
        tl = tl - (th - t);
        X87Precision p;
        LD s, c;
        if (g) {  // the scaled angle is its own sine, and the cosine is 1
            s = LD(th) + LD(tl);
            c = 1.0L;
        } else {
            sincos_ld(th, tl, s, c);
        }
        to_pair(s, S);
        to_pair(c, C);
    }
}

// 2^n e c rounded once, for e = (head + tail)(B + Q) from the exponential's reduction given
// as e0 + f (e0 = head B exact, f = Q (head + tail) + B tail below 2^-16 of e; |Q| < 2^-17 and
// the table's tail within 2^-32 of its head), each scaled by 2^n, with e0's truncated halves
// eh + el (eh its leading 26 bits, el at most 27 bits) and ef = e0 + f rounded, and
// c = hc + tc as the sine-cosine core leaves it (|tc| < 2^-8 |hc|).  With ch the leading 26
// bits of hc, e c = eh ch + el ch + f ch + ef (hc - ch) + ef tc: the first two products are
// exact (26 by 26 and 27 by 26 bits), the others below 2^-8 of the result, each of them and
// the inner sums rounding within 2^-61 of it, so the value is within 2^-58.5 of e c before
// the final addition rounds it once.  tc, the last value of the sine-cosine chain, reaches
// the result through one product and two additions.  The caller keeps every term normal:
// 2^n e between 2^-371 and 2^372 and |c| above 2^-254.
struct ExpSplit {
    double eh, el, ef, f;
};
inline double exp_times(const ExpSplit &e, double hc, double tc) {
    double ch = dd::split_cut(hc).h;
    return e.eh * ch + (((e.el * ch + e.f * ch) + e.ef * (hc - ch)) + e.ef * tc);
}

// The usual real parts: 2^-57 <= |x| < 2^8 (biased exponents 966 to 1030), where
// |n| <= 370.
inline bool usual_range(double x) { return unsigned(bexp(x) - 966) < unsigned(1031 - 966); }

// e^z for the usual finite parts (usual_range(x), 2^-252 <= |y| < 2^17), the kernels'
// algorithms inline under one round-to-nearest guard: the exponential's reduction and table
// row (expd::exp_pair_rn's steps, its polynomial in the shorter order of e_split128_short)
// and the sine-cosine core (computed first: y does not wait on the previous result in a chain
// of calls, x does).  Each part is exp_times, the scale 2^n taken by the exponential's terms
// off y's path: a sine or cosine of such a y is at least 2^-253 in magnitude (|sin y| >=
// 2|y|/pi below pi/2, and no double lies within 2^-62 of a non-zero multiple of pi/2), so
// with |n| <= 370 every product stays in the normal range.  No check of ranges or flags
// follows: the general path below takes 2^8 <= |x| < 2^11.
inline CD cexp_usual(double x, double y) {
    RnGuardInexact rn;
    x = opaque(x);
    y = opaque(y);
    double hs, ts, hc, tc;
    sincos_parts(y, hs, ts, hc, tc);
    const double SH = 0x1.8p52;
    auto [kf, j, n] = expd::split_index(opaque(0x1.71547652b82fep+7 * x + SH), SH);
    double B, Q;
    expd::e_split128_short(x, kf, B, Q);
    const expd::TH &row = expd::split128[j + 64];
    double scale = f64(uint64_t(n + 1023) << 52);
    double f = (Q * (row.head + row.tail) + B * row.tail) * scale;
    double es = row.head * B * scale;
    DD h = dd::split_cut(es);
    ExpSplit e{h.h, h.l, es + f, f};
    double re = exp_times(e, hc, tc), im = exp_times(e, hs, ts);
    return mk(rn.finish(re), im);
}

template <Base B>
inline CD cexp_core(double x, double y) {
    if constexpr (B == kE) {
        if (usual_range(x) && sincos_pair_range(y)) return cexp_usual(x, y);
    }
    if (is_zero(y)) return mk(exp_real<B>(x), y);
    if (!is_finite(y)) {
        if (is_finite(x)) {  // invalid for an infinite y
            double v = y - y;
            return mk(v, v);
        }
        if (is_nan(x)) return mk(x * x, y * x * x);
        if (neg(x)) return mk(0.0, 0.0);
        return mk(x, y - y);
    }
    RnGuardInexact rn;
    double S[2], C[2];
    int g;
    angle<B>(opaque(y), S, C, g);
    if (!is_nzfinite(x)) {  // x zero, infinite or NaN: e^x times the unit vector
        double e = exp_real<B>(x);
        if (g) S[0] = S[0] * 0x1p-100 * 0x1p-100;
        return mk(rn.finish(C[0] * e), S[0] * e);
    }
    const double limit = B == kE ? 2048.0 : B == k2 ? 4096.0 : 1024.0;
    if (f64(abits(x)) < limit) {
        int n;
        double E[2];
        if constexpr (B == kE) __libm_exp_k64(x, &n, E);
        else if constexpr (B == k2) __libm_exp2_k64(x, &n, E);
        else __libm_exp10_k64(x, &n, E);
        double re = mul_scaled(n, E, C), im = mul_scaled(n + g, E, S);
        return mk(rn.finish(re), im);
    }
    double w = neg(x) ? opaque(0x1p-1022) : opaque(0x1p1023);
    w = w * w;
    return mk(rn.finish(C[0] * w), S[0] * w);
}
}  // namespace

#if TSR_TIER_EX
TSR_BODY(CD, cexp, (CD z)) { return cexp_core<kE>(__real__ z, __imag__ z); }
TSR_BODY(CD, cexp2, (CD z)) { return cexp_core<k2>(__real__ z, __imag__ z); }
TSR_BODY(CD, cexp10, (CD z)) { return cexp_core<k10>(__real__ z, __imag__ z); }
// The float forms: the double computation rounded once more (within 0.5 + 2^-28 float ulp),
// a subnormal part with the underflow flag.
TSR_BODY(CF, cexp2f, (CF z)) { return narrowc(cexp_core<k2>(__real__ z, __imag__ z)); }
TSR_BODY(CF, cexp10f, (CF z)) { return narrowc(cexp_core<k10>(__real__ z, __imag__ z)); }
// cexpf: for finite non-zero parts with |x| < 2048, e^x, cos y and sin y in double (each
// within an ulp of double) and their products rounded once to float: within 0.5 + 2^-27 float
// ulp.  e^x overflows the double range only where the float result overflows too (|cos y| and
// |sin y| exceed 2^-30 for a float y), and it is subnormal only where that result is below the
// float range.  Everything else goes through the double function.
TSR_DEFINE(CF, cexpf, (CF z)) {
    double x = __real__ z, y = __imag__ z;
    if (is_nzfinite(x) && is_nzfinite(y) && f64(abits(x)) < 2048.0) {
        double s, c, e = exp_local(x);
        sincos_local(y, &s, &c);
        return mkf(narrowf(e * c), narrowf(e * s));
    }
    return narrowc(cexp_core<kE>(x, y));
}
#endif
#if TSR_TIER_E9
TSR_BODY(CD, cexp, (CD z)) { return cexp_core<kE>(__real__ z, __imag__ z); }
#endif

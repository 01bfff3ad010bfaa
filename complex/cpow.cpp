// The complex power z^w = e^(w ln z), z = a + ib, w = c + id, in extended precision.
//
// ln z = L + iT with L = ln|z| and T = arg z; z^w = M (cos(u + v) + i sin(u + v)) with
// M = e^(cL - dT), u = dL and v = cT.  The angle v is carried in degrees, so that where T is
// exact in degrees (z on an axis) and c is an integer or a half, v is exact too and its sine
// and cosine come out exactly (i^2 = -1 + 0i, not a rounding residue); u stays in radians.
// Each factor is within about 2^-62 (|cL - dT| + 1) relative, each part rounded once to double.
//
// There is no special-value table: the cases below are taken in order, and infinities and
// NaNs fall into the formulas.
// 1. a, b, c, d finite and not zero: the general form, its angle in radians.
// 2. b = d = 0: for a < 0, |a|^c (cos 180c + i sin 180c) in degrees; otherwise (a^c, b).
// 3. c = d = 0: 1, with a zero imaginary part signed by sin(ln(a^2 + b^2) + atan2(b, a)).
// 4. b = 0: for a > 0, a^c (cos(d ln a) + i sin(d ln a)); a < 0 the general form; a zero or
//    NaN: z itself.
// 5. d = 0: |z|^c (cos cT + i sin cT).
// 6. The general form.
#include "complex/cplx_common.h"

#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::cplx;

namespace {
constexpr LD DEG_PER_RAD = 0xe.52ee0d31e0fbdc3p+2L;  // 180/pi

// arg z in degrees: exact on the axes.
inline LD arg_deg(double a, double b) {
    if (is_zero(b) && !is_nan(a)) return neg(a) ? with_sign(180.0, b) : b;
    if (is_zero(a) && !is_nan(b)) return with_sign(90.0, b);
    return atan2_ld(b, a) * DEG_PER_RAD;
}

// M (cos u cos v - sin u sin v, sin u cos v + cos u sin v), u radians, v degrees.
inline CD polar(LD M, LD u, LD v) {
    double uu[2], vv[2];
    to_pair(u, uu);
    to_pair(v, vv);
    LD su = 0.0L, cu = 1.0L, sv, cv;
    if (u != 0.0L) sincos_ld(uu[0], uu[1], su, cu);
    if (is_finite(vv[0])) {
        sincosd_ld(vv[0], vv[1], sv, cv);
    } else {
        sv = cv = vv[0] - vv[0];
    }
    LD re = M * (cu * cv - su * sv), im = M * (su * cv + cu * sv);
    return mk(double(opaque(re)), double(opaque(im)));
}

// e^U for an extended U: below 2^11 in magnitude, the double-double kernel on U's head,
// times 1 + U's tail (below 2^-53 of the head, so its square is negligible) and the kernel's
// power of two, which extended holds; the extended exponential elsewhere.
inline LD exp_ld(LD U) {
    if (!(U < 2048.0L && U > -2048.0L)) return expl_local(U);
    double uh = double(U), E[2];
    LD ul = U - LD(uh);
    int n;
    if (exp_pair_range(uh)) n = expd::exp_pair_rn(uh, E[0], E[1]);
    else __libm_exp_k64(uh, &n, E);
    LD e = ld(E);
    return (e + e * ul) * pow2l(n);
}

inline CD general(double a, double b, double c, double d) {
    LD A = a, B = b;
    LD L = 0.5L * log_ld(A * A + B * B);
    LD Td = arg_deg(a, b);
    LD U = LD(c) * L - LD(d) * (Td / DEG_PER_RAD);
    return polar(exp_ld(U), LD(d) * L, LD(c) * Td);
}

// The general form for four finite, non-zero parts, where no angle is exact in degrees: the
// whole angle dL + cT in radians (one rounding to 64 bits), one sine and cosine.  An angle
// beyond the double range takes the form in degrees.
inline CD general_rad(double a, double b, double c, double d) {
    LD A = a, B = b;
    LD L = 0.5L * log_ld(A * A + B * B);
    LD T = atan2_ld(B, A);
    double ph[2];
    to_pair(LD(d) * L + LD(c) * T, ph);
    if (!is_finite(ph[0])) return general(a, b, c, d);
    LD M = exp_ld(LD(c) * L - LD(d) * T), s, co;
    sincos_ld(ph[0], ph[1], s, co);
    LD re = M * co, im = M * s;
    return mk(double(opaque(re)), double(opaque(im)));
}

// The general form in double-double, for four finite non-zero parts between 2^-400 and
// 2^400 in magnitude: a^2 + b^2 as a pair to 2^-104 (exact squares), L = ln|z| from the
// logarithm kernel's reduced step (2^-62 relative, its polynomial in Estrin's order), T = arg z
// as a pair (atan2_pair, 2^-63.5), U = cL - dT and the angle v = dL + cT as pairs (exact products by
// two_prod), e^U by the exponential kernel's pair times 1 + U's tail, sin v and cos v by the
// sine-cosine pair turned by v's tail to the first order (its square is below 2^-100 of the
// values), each part joined with the modulus and rounded once (mul_scaled).  The error before
// that rounding is the extended form's, about 2^-60 (|cL| + |dT| + 1) relative.  False where a
// step leaves its range (an exponent of 2048 or more or below 2^-57, an angle of 2^17 or
// more): the extended form serves there.
inline bool general_dd(double a, double b, double c, double d, CD &out) {
    if (!moderate(a) || !moderate(b) || !moderate(c) || !moderate(d)) return false;
    // a^2 + b^2 = 2^e (h + l) with h in [1, 2): the squares exact, their sum as a pair, the
    // exponent taken out exactly (the sum lies between 2^-800 and 2^801).
    DD aa = two_prod(a, a), bb = two_prod(b, b);
    DD q = dd::two_sum(aa.h, bb.h);
    q = fast_two_sum(q.h, q.l + (aa.l + bb.l));
    int e = bexp(q.h) - 1023;
    double sc = f64(uint64_t(1023 - e) << 52), lg[2];
    log_k64_reduced<true>(q.h * sc, q.l * sc, e, lg);
    double Lh = 0.5 * lg[0], Ll = 0.5 * lg[1];
    double T[2];
    atan2_pair(b, a, T);
    DD cl = two_prod(c, Lh), dt = two_prod(d, T[0]), dl = two_prod(d, Lh), ct = two_prod(c, T[0]);
    cl.l += c * Ll;
    dt.l += d * T[1];
    dl.l += d * Ll;
    ct.l += c * T[1];
    DD u = dd::two_sum(cl.h, -dt.h), v = dd::two_sum(dl.h, ct.h);
    u = fast_two_sum(u.h, u.l + (cl.l - dt.l));
    v = fast_two_sum(v.h, v.l + (dl.l + ct.l));
    if (!exp_pair_range(u.h) || !sincos_pair_range(v.h)) return false;
    double E[2], S[2], C[2];
    int n = expd::exp_pair_rn(u.h, E[0], E[1]);
    E[1] += E[0] * u.l;
    sincos_pair(v.h, S, C);
    DD s = fast_two_sum(S[0], S[1] + C[0] * v.l), co = fast_two_sum(C[0], C[1] - S[0] * v.l);
    S[0] = s.h, S[1] = s.l, C[0] = co.h, C[1] = co.l;
    out = mk(mul_scaled(n, E, C), mul_scaled(n, E, S));
    return true;
}

inline CD cpow_core(double a, double b, double c, double d) {
    if (is_nzfinite(a) && is_nzfinite(b) && is_nzfinite(c) && is_nzfinite(d)) return general_rad(a, b, c, d);
    if (is_zero(b) && is_zero(d)) {
        if (neg(a) && !is_nan(a)) {
            LD P = powl_local(-LD(a), LD(c));
            auto [vh, vl] = two_prod(c, with_sign(180.0, b));
            LD v = LD(vh) + LD(vl);
            return polar(P, 0.0L, v);
        }
        return mk(pow_local(a, c), b);
    }
    if (is_zero(c) && is_zero(d)) {
        LD t = logl_local(LD(a) * a + LD(b) * b) + atan2_ld(b, a);
        double s = sin_local(double(t));
        return mk(1.0, with_sign(0.0, s));
    }
    if (is_zero(b)) {
        if (!is_nan(a) && a > 0.0) return polar(powl_local(LD(a), LD(c)), LD(d) * logl_local(LD(a)), 0.0L);
        if (is_zero(a) || is_nan(a)) return mk(a, b);
        return general(a, b, c, d);
    }
    if (is_zero(d)) {
        LD n = LD(a) * a + LD(b) * b;
        return polar(powl_local(n, 0.5L * c), 0.0L, LD(c) * arg_deg(a, b));
    }
    return general(a, b, c, d);
}
}  // namespace

namespace {
// Each part rounded to double in the caller's mode (the float form rounds it once more).
inline CD cpow_entry(double a, double b, double c, double d) {
    if (is_nzfinite(a) && is_nzfinite(b) && is_nzfinite(c) && is_nzfinite(d)) {
        // The general form is inexact: the probe tells the mode.
        RnGuardInexact rn;
        CD r;
        a = opaque(a);
        if (!general_dd(a, b, c, d, r)) {
            X87Precision p;
            r = general_rad(a, b, c, d);
        }
        double re = rn.finish(__real__ r);
        return mk(re, __imag__ r);
    }
    RnGuard rn;
    X87Precision p;
    CD r = cpow_core(a, b, c, d);
    double re = rn.finish(__real__ r);
    return mk(re, __imag__ r);
}
}  // namespace

TSR_DEFINE(CD, cpow, (CD z, CD w)) { return cpow_entry(__real__ z, __imag__ z, __real__ w, __imag__ w); }
// cpowf for four finite non-zero parts with |c|, |d| < 2^10, in double: L = ln(a^2 + b^2)/2
// (the squares exact, the sum and the logarithm each within an ulp: L within 2^-51
// absolutely), T = atan2(b, a), then U = cL - dT and v = dL + cT (within 2^-35 absolutely,
// |cL| and |dT| being below 2^17), e^U, cos v and sin v.  Where |U| < 200 and |v| < 2^20,
// the parts are within about 2^-33 of the modulus before their rounding to float: a part of
// at least 1/8 of the modulus within 0.5 + 2^-8 float ulp.  The rest through the double form.
TSR_DEFINE(CF, cpowf, (CF z, CF w)) {
    double a = __real__ z, b = __imag__ z, c = __real__ w, d = __imag__ w;
    if (is_nzfinite(a) && is_nzfinite(b) && f64(abits(c)) < 0x1p10 && f64(abits(d)) < 0x1p10 && !is_zero(c) &&
        !is_zero(d)) {
        double L = 0.5 * log_local(a * a + b * b), T = atan2_local(b, a);
        double U = c * L - d * T, v = d * L + c * T;
        if (f64(abits(U)) < 200.0 && f64(abits(v)) < 0x1p20) {
            double e = exp_local(U), sv, cv;
            sincos_local(v, &sv, &cv);
            return mkf(narrowf(e * cv), narrowf(e * sv));
        }
    }
    return narrowc(cpow_entry(a, b, c, d));
}

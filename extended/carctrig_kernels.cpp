// The real parts of the complex inverse functions of long double arguments, by the method of
// Hull, Fairgrieve and Tang carried out on scaled pairs ((hi + lo) 2^e, hi in [1, 2)), so that
// no square overflows or underflows and no two nearly equal quantities are subtracted:
//
//   prepare   X = |x|, Y = |y|, Y2 = Y^2, P = X + 1, M = |X - 1| (exact: X is one extended
//             value), R = sqrt(P^2 + Y2) = |z + 1|, S = sqrt(M^2 + Y2) = |z - 1|, T = R + S
//             (twice the A of the method);
//   angle     B = X / A = 2X / T.  Below 1/2: asin B by the series.  From 1/2 on the
//             complement w = 1 - B = (T - 2X) / T, its numerator a sum of positive terms:
//               X < 1:   (R - P) + (S + M) = Y2 / (R + P) + (S + M),
//               X >= 1:  (R - P) + (S - M) = Y2 / (R + P) + Y2 / (S + M),
//             and acos B = acos(1 - w) = 2 asin sqrt(w / 2), whose argument is at most 1/2;
//             acos of a negative x is pi less that, asin is pi/2 less it with x's sign;
//   atanh     1/4 ln(|z + 1|^2 / |z - 1|^2) = 1/4 log1p(4|x| / |z - 1|^2), with x's sign;
//   log       A - 1 = W = ((R - P) + (S - M)) / 2 (the same positive terms, with S + M for
//             X >= 1, where S - M = Y2 / (S + M) and P - M = 2), and
//             acosh A = log1p(W + sqrt(W (A + 1))), A + 1 = W + 2.
//
// Each operation on scaled pairs (sum, product, quotient and square root with one correction)
// is good to about 2^-120 of its result, and the sum of two pairs keeps the smaller only where
// their exponents are less than 134 apart (beyond, it is below 2^-133 of the other); so the
// angle carries the arcsine series' error alone, 2^-70 of it (kAsinPoly, relative 2^-71.6, and
// the extended rounding of the series' tail, below 0.005 of the angle), and the logarithm the
// logarithm kernel's.  The one rounding at the end, in the caller's mode, is that of
// __libm_scalbl_k80 (into the subnormal range too): within 0.5 + 2^-6 ulp to nearest.
//
// The prepared pairs are computed in round-to-nearest whatever the caller's mode (the
// two-sums and split products are exact only there), with precision control at 64 bits; the
// caller's control word comes back on return.  x and y are finite (the complex functions
// settle infinities and NaNs first); zeros are allowed.
#include "extended/ext2_common.h"

using namespace tsr;
using namespace tsr::x80;

extern "C" {
TSR_HIDDEN long double *__libm_scalbl_k80(long double *res, const long double *hi, const long double *lo, int n);
TSR_HIDDEN void __libm_log1p_k80(Scaled *out, const Scaled *in);
}

namespace {

// ---- scaled pairs --------------------------------------------------------------------------
constexpr Scaled kZero{0.0L, 0.0L, 0};
inline bool is0(const Scaled &a) { return a.hi == 0.0L; }
inline Pair body(const Scaled &a) { return {a.hi, a.lo}; }
// p 2^e with its head brought into [1, 2); a zero keeps exponent 0.
inline Scaled mk(Pair p, int e) {
    if (p.h == 0.0L) return kZero;
    Scaled s{p.h, p.l, e};
    __libm_normalizel_k80(&s);
    return s;
}
inline Scaled sneg(Scaled a) {
    a.hi = -a.hi;
    a.lo = -a.lo;
    return a;
}
// Exponents 134 or more apart: the smaller is below 2^-133 of the sum and is left out.
constexpr int kSumReach = 134;
inline Scaled sadd(const Scaled &a, const Scaled &b) {
    if (is0(a)) return b;
    if (is0(b)) return a;
    int d = b.e - a.e;
    if (d >= kSumReach) return b;
    if (d <= -kSumReach) return a;
    LD sc = pow2l(d);
    return mk(addp(body(a), {b.hi * sc, b.lo * sc}), a.e);
}
inline Scaled smul(const Scaled &a, const Scaled &b) {
    if (is0(a) || is0(b)) return kZero;
    return mk(mulp(body(a), body(b)), a.e + b.e);
}
// a / b for b non-zero.
inline Scaled sdiv(const Scaled &a, const Scaled &b) {
    if (is0(a)) return kZero;
    return mk(divp(body(a), body(b)), a.e - b.e);
}
// sqrt(a) for a >= 0: an odd exponent made even by doubling the pair.
inline Scaled ssqrt(Scaled a) {
    if (is0(a)) return kZero;
    if (a.e & 1) {
        a.hi *= 2.0L;
        a.lo *= 2.0L;
        a.e -= 1;
    }
    return mk(sqrtp(body(a)), a.e / 2);
}
inline Scaled sc(const LD c[2]) { return mk(pc(c), 0); }

// ---- the angle ----------------------------------------------------------------------------------
// asin t for 0 <= t <= 1/2: t itself below 2^-40 (t^3/6 is below 2^-82 of it), else the series
// of the arcsine on t as an unscaled pair, its square an exact product.
constexpr int kAsinSeriesFrom = -40;
inline Scaled asinpoly(const Scaled &t) {
    if (is0(t) || t.e < kAsinSeriesFrom) return t;
    LD f = pow2l(t.e);
    Pair s{t.hi * f, t.lo * f};
    LD z, ze;
    two_prod(s.h, s.h, z, ze);
    ze += 2.0L * s.h * s.l;
    return mk(times(series(s, z, ze), 1.0L), 0);
}
// acos(1 - w) = 2 asin sqrt(w / 2), for 0 <= w <= 1/2.
inline Scaled acossqrt(Scaled w) {
    w.e -= 1;
    Scaled a = asinpoly(ssqrt(w));
    if (!is0(a)) a.e += 1;
    return a;
}

struct Prepared {
    const Scaled &X, &Y, &M, &P, &Y2, &R, &S, &T;
};
// B = 2X / T where it is below 1/2 (small), else w = 1 - B.
struct Cosine {
    bool small;
    Scaled v;
};
inline Cosine cosine(const Prepared &p) {
    Scaled A = p.T;
    A.e -= 1;
    Scaled B = sdiv(p.X, A);
    if (is0(B) || B.e < -1) return {true, B};
    Scaled first = is0(p.Y2) ? kZero : sdiv(p.Y2, sadd(p.R, p.P));
    Scaled second;
    if (is0(p.X) || p.X.e < 0) second = sadd(p.S, p.M);
    else second = is0(p.Y2) ? kZero : sdiv(p.Y2, sadd(p.S, p.M));
    return {false, sdiv(sadd(first, second), p.T)};
}

// a rounded once in the caller's mode (the frame's precision, 64 bits), into res.
inline LD *round_into(LD *res, Nearest &rn, const Scaled &a) {
    LD h = opaque(a.hi), l = opaque(a.lo);
    rn.end();
    h = opaque(h);
    l = opaque(l);
    return __libm_scalbl_k80(res, &h, &l, a.e);
}

}  // namespace

extern "C" {

// The eight scaled pairs of the point (x, y) that the angle and logarithm kernels read.
TSR_HIDDEN void __libm_carctrigprepare_k80(const long double *x, const long double *y, Scaled *X, Scaled *Y, Scaled *M,
                                           Scaled *P, Scaled *Y2, Scaled *R, Scaled *S, Scaled *T) {
    X87Frame fr(true);
    const Scaled one{1.0L, 0.0L, 0};
    *X = mk({__builtin_fabsl(*x), 0.0L}, 0);
    *Y = mk({__builtin_fabsl(*y), 0.0L}, 0);
    *Y2 = smul(*Y, *Y);
    *P = sadd(*X, one);
    Scaled m = sadd(*X, sneg(one));
    *M = m.hi < 0.0L ? sneg(m) : m;
    *R = ssqrt(sadd(smul(*P, *P), *Y2));
    *S = ssqrt(sadd(smul(*M, *M), *Y2));
    *T = sadd(*R, *S);
}

// The real part of cacos(x + i y): acos B in [0, pi], rounded once.
TSR_HIDDEN long double *__libm_recacosl_k80(long double *res, const long double *x, const long double *, const Scaled *X,
                                            const Scaled *Y, const Scaled *M, const Scaled *P, const Scaled *Y2,
                                            const Scaled *R, const Scaled *S, const Scaled *T) {
    X87Frame fr;
    Nearest rn;
    bool sx = __builtin_signbit(*x);
    Cosine c = cosine({*X, *Y, *M, *P, *Y2, *R, *S, *T});
    Scaled a;
    if (c.small) {
        Scaled s = asinpoly(c.v);
        a = sadd(sc(kPi2), sx ? s : sneg(s));
    } else {
        Scaled h = acossqrt(c.v);
        a = sx ? sadd(sc(kPi), sneg(h)) : h;
    }
    return round_into(res, rn, a);
}

// The real part of casin(x + i y) (the angle of casinh with the parts exchanged): asin B with
// x's sign, rounded once.
TSR_HIDDEN long double *__libm_recasinl_k80(long double *res, const long double *x, const long double *, const Scaled *X,
                                            const Scaled *Y, const Scaled *M, const Scaled *P, const Scaled *Y2,
                                            const Scaled *R, const Scaled *S, const Scaled *T) {
    X87Frame fr;
    Nearest rn;
    Cosine c = cosine({*X, *Y, *M, *P, *Y2, *R, *S, *T});
    Scaled a = c.small ? asinpoly(c.v) : sadd(sc(kPi2), sneg(acossqrt(c.v)));
    return round_into(res, rn, __builtin_signbit(*x) ? sneg(a) : a);
}

// The real part of cacosh(x + i y): acosh A >= 0, rounded once.
TSR_HIDDEN long double *__libm_recacoshl_k80(long double *res, const long double *, const long double *,
                                             const Scaled *X, const Scaled *, const Scaled *M, const Scaled *P,
                                             const Scaled *Y2, const Scaled *R, const Scaled *S, const Scaled *) {
    X87Frame fr;
    Nearest rn;
    const Scaled two{1.0L, 0.0L, 1};
    Scaled first = is0(*Y2) ? kZero : sdiv(*Y2, sadd(*R, *P));
    Scaled second;
    if (is0(*X) || X->e < 0) second = is0(*Y2) ? kZero : sdiv(*Y2, sadd(*S, *M));
    else second = sadd(*S, *M);
    Scaled W = sadd(first, second);
    if (!is0(W)) W.e -= 1;
    Scaled V = sadd(W, ssqrt(smul(W, sadd(W, two)))), L;
    __libm_log1p_k80(&L, &V);
    return round_into(res, rn, L);
}

// The real part of catanh(x + i y): 1/4 ln(((1 + x)^2 + y^2) / ((1 - x)^2 + y^2)) with x's sign.
// The two sums of squares differ by exactly 4|x|, so the ratio is 1 + 4|x| / ((1 - |x|)^2 + y^2)
// and its logarithm log1p of that quotient (the logarithm kernel itself takes over where the
// quotient passes 2^128): no difference is ever formed.  Rounded once.
TSR_HIDDEN long double *recatanhl(long double *res, const long double *x, const long double *y) {
    X87Frame fr;
    Nearest rn;
    const Scaled one{1.0L, 0.0L, 0};
    Scaled X = mk({__builtin_fabsl(*x), 0.0L}, 0), Y = mk({__builtin_fabsl(*y), 0.0L}, 0);
    Scaled m = sadd(X, sneg(one));
    Scaled den = sadd(smul(m, m), smul(Y, Y));
    Scaled L = kZero;
    if (!is0(X)) {
        Scaled q = X;
        q.e += 2;
        q = is0(den) ? Scaled{__builtin_infl(), 0.0L, 0} : sdiv(q, den);  // x = +-1, y = 0: the pole
        __libm_log1p_k80(&L, &q);
        if (!is0(L) && __builtin_isfinite(L.hi)) L.e -= 2;
    }
    return round_into(res, rn, __builtin_signbit(*x) ? sneg(L) : L);
}

}  // extern "C"

// The double forms' core: ln|Gamma(x)| of a double argument as a double-double pair, in SSE
// arithmetic at round-to-nearest (the callers hold a guard), for lgamma and tgamma, and
// lgammal's Stirling range (lgx_stirling_short, a pair good to the 64 bits of extended).
//
// A double result within about 0.501 ulp needs ln|Gamma| to about 2^-62 relative (lgamma) or
// absolute (tgamma, which exponentiates it).  The regions are the extended core's:
//   x < 2^-70        -ln x;
//   x < 11/16        ln Gamma(1 + x) - ln x;
//   11/16..65/16     the 27 pieces of width 1/8, degree 13 with double coefficients, those of
//                    t^0..t^2 as pairs (fit error below 2^-62 relative, gamma_data.cpp); the
//                    terms c0, c1 t, c2 t^2 as exact pairs, so that the rounding adds about
//                    2^-60 of the result at worst (t^3 Q(t));
//   65/16..16        ln Gamma(x - n) + ln((x - n)...(x - 1)), the product a pair to 2^-100
//                    and its logarithm from the double-double kernel (lgamma: up to 8);
//   16 (8) .. 2^52   the short Stirling: (x - 1/2)(ln x - 1) from 26-bit halves, the tail
//                    as one fitted polynomial in 1/x^2 (lgamma takes it from 8, where its
//                    absolute error of 2^-58.6 is 2^-61.7 of the result; tgamma, which
//                    carries the pair's absolute error into its relative one, from 16);
//   x >= 2^52        Stirling with eight terms of the series (truncation below 2^-70), the
//                    main terms as pairs;
//   x < 0, |x| < R   ln Gamma(1 + z) - ln|x (x + 1) ... (x + n + 1)| as the extended core
//                    does (R = 8 for lgamma, 24 for tgamma); where the result is small (the
//                    bands about the zeros) the terms cancel and lgamma hands over to the
//                    extended core (its absolute error 2^-65 here is enough for tgamma);
//   x <= -R          reflection: ln pi - ln|sin(pi d)| - ln Gamma(1 - x), d = x - round(x),
//                    the last by the short Stirling at y = -x (1 - x itself is not always
//                    exact); sin(pi d) comes to about 2^-62 relative from the sine kernel,
//                    and lgamma hands results below 1/2 (below 8 above -24) to the extended
//                    core.
// The logarithm kernel's error is up to about 2^-66.5 absolute (the roundings of r and of
// r^2 p; its polynomial alone is good to 2^-62.9 relative on |r| < 2^-7), so on Stirling's
// range the relative error it brings stays below 2^-66.5 / (ln x - 1) and tgamma's absolute
// error below 171 * 2^-66.5 = 2^-59.1 (measured: tgamma within 0.512 ulp).
#pragma once
#include "elementary/log_kernels.h"
#include "elementary/trig_kernels.h"
#include "special/gamma_common.h"
#include "tsr/dd.h"

namespace tsr::gamma {
namespace {

using dd::DD;

inline DD log_dd(DD v) {
    double o[2];
    __libm_log_k64(v.h, v.l, o);
    return dd::fast_two_sum(o[0], o[1]);
}

// The same inline for a pair whose head is a positive normal double, 2^n its binade (none of
// the kernel's special cases): both words brought into [1, 2) by 2^-n in one step, exact
// for the callers' arguments (v.h from 2^-123 to 2^80, no low word below 2^-900).
inline DD log_dd_normal(DD v) {
    uint64_t b = bits(v.h);
    int n = int(b >> 52) - 1023;
    double o[2];
    log_k64_reduced<true>(f64((b & 0x000fffffffffffffull) | 0x3ff0000000000000ull),
                          v.l * f64(uint64_t(1023 - n) << 52), n, o);
    return dd::fast_two_sum(o[0], o[1]);
}

// Piece k at t (|t| <= 1/16) as a pair: c0 + c1 t + c2 t^2 + t^3 Q(t), the first three
// terms exact pairs side by side (products of 27-bit cuts, below 2^-104 of them), Q in
// double.  The one long chain is Q's, and after it only t^3 Q joins by one exact sum (the
// earlier Horner steps on pairs ran one after the other).  The rounding of t^3 Q (t q and
// its product by t^2: 2^-52 of it, with Q's own) stays below 2^-60 of the result, also on
// the pieces of the zeros of ln Gamma at 1 and 2, where c0 = 0 and the result is c1 t to
// within t^2: there |t^3 Q| / |c1 t| <= 2^-8.5.
inline DD piece_dd(int k, double t) {
    const double *c = kLgPieceDD[k];
    const double *cl = kLgPieceDDTail[k];
    // Q(t) = c3 + c4 t + ... + c13 t^10 by Estrin (the chain of four levels instead of ten
    // Horner steps); its rounding stays below 2^-52 of t^3 Q, like Horner's.
    static_assert(kPieceDegreeDD == 13 && kPiecePairsDD == 3, "the terms below");
    double t2 = t * t, t4 = t2 * t2, t8 = t4 * t4;
    double b0 = (c[3] + c[4] * t) + t2 * (c[5] + c[6] * t);
    double b1 = (c[7] + c[8] * t) + t2 * (c[9] + c[10] * t);
    double b2 = (c[11] + c[12] * t) + t2 * c[13];
    double q = (b0 + t4 * b1) + t8 * b2;
    DD a1 = dd::two_prod_cut(t, c[1]);
    DD tt = dd::two_prod_cut(t, t);
    DD a2 = dd::two_prod_cut(tt.h, c[2]);
    double tq = t * q;
    double a3 = tt.h * tq;
    DD v = dd::two_sum(c[0], a1.h);
    DD x = dd::two_sum(v.h, a2.h);
    DD y = dd::two_sum(x.h, a3);
    double low = ((cl[0] + v.l) + (x.l + ((a1.l + t * cl[1]) + (a2.l + (tt.l * c[2] + tt.h * cl[2]))))) +
                 (tt.l * tq + y.l);
    return dd::fast_two_sum(y.h, low);
}

// ln Gamma(s + x) for s + x in [11/16, 65/16), s an integer: t = x - (centre - s) exact
// (see lg_pieces).
inline DD lgd_pieces(double x, int s) {
    double t;
    int k = piece_at(x, s, t);
    return piece_dd(k, t);
}

// Stirling for x >= 16: ln Gamma(x) = (x - 1/2) ln x - x + ln(2 pi)/2 + series, or with
// `next` ln Gamma(x + 1) = (x + 1/2) ln x - x + ..., the same terms (x + 1 need not be exact).
inline DD lgd_stirling(double x, bool next) {
    DD L = log_dd({x, 0.0});
    DD half = {(next ? 0.5 : -0.5) * L.h, (next ? 0.5 : -0.5) * L.l};
    if (x >= 0x1p60) {
        // x (ln x - 1) +- ln(x)/2, the series and the constant far below the last place; x is
        // brought down by 2^-64 (exactly) for the split of the product.
        DD p = dd::mul(dd::add(L, -1.0), x * 0x1p-64);
        return {p.h * 0x1p64, p.l * 0x1p64 + half.h};
    }
    double r = 1.0 / x, r2 = r * r;
    double ser = kStirlingD[kStirlingTermsD - 1];
    for (int i = kStirlingTermsD - 2; i >= 0; --i) ser = ser * r2 + kStirlingD[i];
    // x ln x +- (ln x)/2: x -+ 1/2 is not exact from 2^52 on.
    DD s = dd::add(dd::mul(L, x), half);
    s = dd::add(s, -x);
    return dd::add(s, DD{kHalfLn2PiDD[0], kHalfLn2PiDD[1] + ser * r});
}

// Stirling for kShortStirlingFrom <= x < 2^52, or with `Next` ln Gamma(x + 1), in few steps:
//   ln Gamma(x) = (x - 1/2)(ln x - 1) + (ln(2 pi)/2 - 1/2) + P(1/x^2)/x,
//   ln Gamma(x + 1) = (x + 1/2)(ln x - 1) + (ln(2 pi)/2 + 1/2) + P(1/x^2)/x.
// t = x - 1/2 is exact below 2^52 (it stays on x's grid), x + 1/2 is exact but where it
// enters the next binade, where its rounding error te (a multiple of x's last place) joins
// the low word as te m.  The logarithm comes as the kernel's exact head o0 and its tail o1
// (|o1| < 2^-14, not normalised against o0): m = o0 - 1 is exact (o0 > ln 8 - 2^-14 > 2,
// so m in [1, o0) stays on o0's grid), and only the tail waits for the kernel's polynomial.
// With t and m cut into 26-bit heads and their remainders, th mh is exact, and so is th ml
// (26 and 27 bits): the products that round, tl m and t o1, are below 2^-25 and 2^-14 of
// the result, so the low word carries about 2^-67 relative; the tail P(u)/x has the
// absolute error of its fit (2^-60.6) and of 1/x and the product (2^-52 of it, 2^-58.6 at
// x = 8).  No cancellation: every term but o1 is positive, and o1 is below 2^-14 of m.
// t o1 is added last: the chain through the logarithm's polynomial is the longest.
template <bool Next>
[[gnu::always_inline]] inline DD lgd_stirling_short(double x) {
    double o[2];
    log_k64_normal<true>(x, o);
    double t = Next ? x + 0.5 : x - 0.5;
    double te = Next ? 0.5 - (t - x) : 0.0;  // x + 1/2 rounds where it enters the next binade
    double m = o[0] - 1.0;
    DD ts = dd::split_cut(t), ms = dd::split_cut(m);
    double hi = ts.h * ms.h;
    // P(u) by Estrin: three independent pairs, then u^2 and u^4.
    const double *c = kShortStirling;
    double r = 1.0 / x, u = r * r, u2 = u * u;
    double p = (c[0] + c[1] * u) + u2 * ((c[2] + c[3] * u) + u2 * ((c[4] + c[5] * u) + u2 * c[6]));
    const double *k = Next ? kHalfLn2PiPlusHalf : kHalfLn2PiLessHalf;
    double lo = (ts.h * ms.l + (ts.l * m + (r * p + (k[1] + te * m)))) + t * o[1];
    DD s = dd::fast_two_sum(hi, k[0]);  // hi > 8 > k[0]
    return dd::fast_two_sum(s.h, s.l + lo);
}

// ln Gamma(x) for an extended x in [8, 2^52), x = m 2^(e - 63) (m with its leading bit), as
// a pair whose sum rounded once to extended is the result: the short Stirling again, with
// x = xh + xl (xh its leading 53 bits, xl the last 11, exact, 0 <= xl < ulp(xh)), the
// tail's leading term as a pair, so that every term reaches the 64 bits of the result:
//   ln Gamma(x) = (xh - 1/2 + xl)(o0 - 1 + o1 + o2) + (ln(2 pi)/2 - 1/2) + (c0 + u P1(u)) / x,
// o0 + o1 + o2 the logarithm in the kernel's three words (about 2^-70 absolute; o0 exact,
// o1 below 2^-14, o2 below 2^-22), th = xh - 1/2 and m = o0 - 1 exact and multiplied from
// 26-bit cuts, th o1 an exact product; 1/x as a pair rh + rl to about 2^-100, c0/x (below
// 2^-9.6 of the result) an exact product and the fit's error below 2^-65.9 absolute
// (2^-71 of the result at x = 8); u P1(u)/x is below 2^-20 of the result.  The large terms
// are summed exactly in turn, the low words (below 2^-25 of the result) in double: about
// 2^-69 relative in all, a few hundredths of the extended result's last place.
inline DD lgx_stirling_short(uint64_t m, int e) {
    double xh = f64((uint64_t(e + 1023) << 52) | ((m >> 11) & 0x000fffffffffffffull));
    double lo11 = double(int64_t(m & 0x7ff));
    double xl = lo11 * f64(uint64_t(e - 63 + 1023) << 52);
    double o[3];
    log_k64_reduced3(f64(((m >> 11) & 0x000fffffffffffffull) | 0x3ff0000000000000ull), lo11 * 0x1p-63, e, o);
    double th = xh - 0.5;   // exact below 2^52
    double mm = o[0] - 1.0;  // exact, as in lgd_stirling_short
    DD ts = dd::split_cut(th), ms = dd::split_cut(mm);
    double hi = ts.h * ms.h;
    // 1/x = rh + rl: 1 - xh rh from the product's pair, 1 - q.h exact (q.h within an ulp of 1).
    double rh = 1.0 / xh;
    DD q = dd::two_prod_cut(rh, xh);
    double rl = rh * (((1.0 - q.h) - q.l) - xl * rh);
    const double *c = kShortStirlingX;
    static_assert(kShortStirlingXDegree == 7, "the Estrin tree below");
    double u = rh * rh, u2 = u * u, u4 = u2 * u2;
    double p1 = ((c[1] + c[2] * u) + u2 * (c[3] + c[4] * u)) + u4 * ((c[5] + c[6] * u) + u2 * c[7]);
    DD cr = dd::two_prod_cut(c[0], rh);
    double crl = cr.l + (c[0] * rl + kShortStirlingXTail * rh);
    DD w = dd::two_prod_cut(th, o[1]);
    const double *k = kHalfLn2PiLessHalf;
    DD s1 = dd::fast_two_sum(hi, k[0]);  // hi > 7 > k[0]
    DD s2 = dd::fast_two_sum(s1.h, cr.h);
    DD s3 = dd::fast_two_sum(s2.h, w.h);  // |w| < 2^-14 s2.h
    double low = ((s1.l + s2.l) + (k[1] + crl)) + ((ts.h * ms.l + ts.l * mm) + (xl * mm + (u * p1) * rh)) +
                 ((w.l + th * o[2]) + (s3.l + xl * (o[1] + o[2])));
    return {s3.h, low};
}

// (v - lo)(v - lo - 1)...(v - hi) as a pair for factors that are exact: in pairs whose
// products are exact, the pairs multiplied in turn (half the chain of products one factor
// at a time), about 2^-104 relative for each product.
inline DD shifted_product(double v, int lo, int hi) {
    DD q = hi > lo ? dd::two_prod(v - lo, v - (lo + 1)) : DD{v - lo, 0.0};
    int i = lo + 2;
    for (; i + 1 <= hi; i += 2) q = dd::mul(q, dd::two_prod(v - i, v - (i + 1)));
    if (i == hi) q = dd::mul(q, v - i);
    return q;
}

// ln Gamma(x) for a finite x > 0, as a pair.  From `StirlingFrom` on (16 for tgamma, whose
// result carries the pair's absolute error; 8 for lgamma, which needs it relative) the short
// Stirling takes over from the products below.
template <int StirlingFrom = 16>
inline DD lgd_pos(double x) {
    if (x >= StirlingFrom) {  // the widest region first
        if (x < 0x1p52) return lgd_stirling_short<false>(x);
        return lgd_stirling(x, false);
    }
    if (x < 0x1p-70) return dd::neg(log_dd({x, 0.0}));
    if (x < 0.6875) {
        DD a = x < 0.0625 ? piece_dd(kPieceOfOne, x) : lgd_pieces(x, 1);
        return dd::add(a, dd::neg(log_dd_normal({x, 0.0})));
    }
    if (x < 4.0625) return lgd_pieces(x, 0);
    // ln Gamma(x - n) + ln((x - 1)...(x - n)), x - n in [49/16, 65/16): each factor exact.
    int n = int(x - 3.0625);
    return dd::add(lgd_pieces(x - n, 0), log_dd_normal(shifted_product(x, 1, n)));
}

// ln|Gamma(x)| for x < 0 not an integer (|x| < 2^52), as a pair, and the sign of Gamma(x).
// The reflection takes over from |x| = ReflectFrom (at least 8, where the short Stirling
// starts): its pair has the absolute error of ln Gamma(1 - x) (2^-58.6 at |x| = 8, less
// beyond), which tgamma carries into its relative error and so takes it from 24 only;
// lgamma takes it from 8 and hands the results it cannot hold relatively to the extended
// core.
template <int ReflectFrom = 24>
inline DD lgd_neg(double x, int *sign) {
    static_assert(ReflectFrom >= kShortStirlingFrom, "the short Stirling's range");
    double y = -x;
    double fl = __builtin_floor(y);
    *sign = (uint64_t(fl) & 1) ? 1 : -1;
    // -ln|x| alone (the next term, -gamma x, is below 2^-76 of it); the products below
    // would lose their tails to underflow.
    if (y < 0x1p-70) return dd::neg(log_dd({y, 0.0}));
    if (y < ReflectFrom) {
        int n = int(fl);
        double z = x + (n + 1);  // in (0, 1); rounds for n = 0 and x above -1/2
        DD a;
        // t measured from the piece is exact where z is not (|t| <= 1/16 on x's grid).
        if (z > 0.9375) a = piece_dd(kPieceOfTwo, x + n);  // ln Gamma(2 + t), t = x + n exact
        else if (z < 0.0625) a = piece_dd(kPieceOfOne, z);
        else a = lgd_pieces(x, n + 2);  // ln Gamma(x + n + 2)
        // |x (x + 1) ... (x + n + 1)|: every factor but the last exact and negative; the last,
        // z, as the exact pair x + (n + 1) (z itself rounds for |x| < 2^-52).
        DD q = dd::mul(shifted_product(y, 0, n), dd::two_sum(x, double(n + 1)));
        return dd::add(a, dd::neg(log_dd_normal(q)));
    }
    // d = y - round(y), exact; sin(pi d) from pi d as a pair: sin(h + l) = sin h + l cos h.
    double d = y - __builtin_floor(y + 0.5);
    DD pd = dd::mul_raw(d < 0 ? -d : d, DD{kPiDD[0], kPiDD[1]});
    double s[2], c[2];
    __libm_sincos_k64(pd.h, s, c);
    DD sn = dd::fast_two_sum(s[0], s[1] + c[0] * pd.l);
    DD r = dd::add(DD{kLnPiDD[0], kLnPiDD[1]}, dd::neg(log_dd_normal(sn)));  // sn >= 2^-50
    // ln Gamma(1 - x) = ln Gamma(y + 1)
    return dd::add(r, dd::neg(y < 0x1p52 ? lgd_stirling_short<true>(y) : lgd_stirling(y, true)));
}

}  // namespace
}  // namespace tsr::gamma

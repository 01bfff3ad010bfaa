// The float forms' core: ln|Gamma(x)| of a float argument in double arithmetic.
//
// A float result needs about 2^-31 relative (0.01 ulp of the float, beside the 0.5 of its
// own rounding); double arithmetic gives that with room on every region but the narrow bands
// about the zeros of ln|Gamma| on the negative axis, which the callers hand to the extended
// core (see lgf_neg).  The regions follow the extended core's:
//   x < 11/16        ln Gamma(1 + x) - ln x (no cancellation: the first term is below 0.13,
//                    the second above 0.37);
//   11/16..65/16     the 27 pieces with double coefficients (relative error below 2^-52,
//                    gamma_data.cpp); t = x - centre is exact, and the pieces of the zeros 1
//                    and 2 have no constant term, so t P(t) stays accurate next to them;
//   65/16..16        ln Gamma(x - n) + ln((x - n)...(x - 1)), the product in double (n <= 12
//                    roundings, relative error below 2^-49);
//   x >= 16          Stirling in double, four terms of the series (truncation below 2^-46).
// The logarithms come from the double kernel (relative error about 2^-60), so the absolute
// error is a few units of 2^-52 of the largest term: relative error below 2^-44 on x > 0;
// lgammaf's positive axis takes them from the float kernel instead (log_f, below 2^-34).
// Every argument is a float: x, x - n and the products' factors are exact in double, and
// 1 - x is, but for |x| < 2^-29, where its rounding moves ln Gamma(1 - x) by under 2^-53.
#pragma once
#include "elementary/log_kernels.h"
#include "elementary/pi_common.h"
#include "elementary/trig_kernels.h"
#include "special/gamma_common.h"

namespace tsr::gamma {
namespace {

// ln x for a positive normal double (every argument here: floats, |sin(pi d)| of a float d,
// products of factors above 3) from the double-double kernel's reduction, inline.
inline double log_d(double x) {
    double o[2];
    log_k64_normal<true>(x, o);  // the polynomial in Estrin's order: a shorter chain
    return o[0] + o[1];
}

// ln x from the float-accuracy kernel's table step: absolute error about 2^-36 (its last
// polynomial is good to 2^-28 relative on |u| < 2^-8.5); enough where ln Gamma is far from
// zero and not exponentiated (lgammaf for x > 0, where the result exceeds 0.2 wherever a
// logarithm enters).  Every argument there is a normal double (a float, or a product of
// factors above 3).
inline double log_f(double x) { return log_k32_normal(x); }

// Piece k at t by Estrin (four levels instead of eleven Horner steps); on the pieces of the
// zeros (no constant term) every term is within a factor 0.1 of the leading t c1, so the
// relative error stays a few units of 2^-53.
inline double piece_d(int k, double t) {
    const double *c = kLgPieceD[k];
    static_assert(kPieceDegreeD == 11, "the Estrin tree below");
    double t2 = t * t, t4 = t2 * t2, t8 = t4 * t4;
    double b0 = (c[0] + c[1] * t) + t2 * (c[2] + c[3] * t);
    double b1 = (c[4] + c[5] * t) + t2 * (c[6] + c[7] * t);
    double b2 = (c[8] + c[9] * t) + t2 * (c[10] + c[11] * t);
    return (b0 + t4 * b1) + t8 * b2;
}

// ln Gamma(s + x) for s + x in [11/16, 65/16) (s = 0 or 1), as lg_pieces.
inline double lgf_pieces(double x, int s) {
    double t;
    int k = piece_at(x, s, t);
    return piece_d(k, t);
}

constexpr double kFloatTiny = 0x1p-120;

// ln Gamma(x) for x > 0 a float; Coarse: the logarithms from the float kernel (see log_f).
template <bool Coarse = false> inline double lgf_pos(double x) {
    auto log_d = [](double v) { return Coarse ? log_f(v) : tsr::gamma::log_d(v); };
    if (x < 0.6875) {
        // Below kFloatTiny ln Gamma(1 + x) (about -0.58 x) is under 2^-120 and is left out:
        // the piece's eighth power of x underflows below 2^-127.75.  (Not earlier: tgammaf
        // of a tiny x is 1/x e^(-0.58 x), and 1/x lies within 2^-48 of a rounding boundary
        // for some floats, where the term decides the rounding.)
        double a = x < kFloatTiny ? 0.0 : x < 0.0625 ? piece_d(2, x) : lgf_pieces(x, 1);
        return a - log_d(x);
    }
    if (x < 4.0625) return lgf_pieces(x, 0);
    if (x < 16.0) {
        int n = int(x - 3.0625);
        double q = x - 1.0;
        for (int i = 2; i <= n; ++i) q *= x - i;
        return lgf_pieces(x - n, 0) + log_d(q);
    }
    double L = log_d(x);
    double r = 1.0 / x, r2 = r * r;
    double ser = ((kStirlingD[3] * r2 + kStirlingD[2]) * r2 + kStirlingD[1]) * r2 + kStirlingD[0];
    return (x - 0.5) * L - x + (kHalfLn2PiD + ser * r);
}

// ln|Gamma(x)| for x < 0 a float, not an integer, by reflection:
//   ln|Gamma(x)| = ln pi - ln|sin(pi d)| - ln Gamma(1 - x),  d = x - round(x) (exact),
// with *sign the sign of Gamma(x).  The terms reach about 60 where a zero lies (|x| < 25),
// so the absolute error is below 2^-45; a result below kFloatNearZero in magnitude is
// returned as false, and the caller takes the extended core there.
constexpr double kFloatNearZero = 0x1p-4;  // relative error then below 2^-41
inline bool lgf_neg(double x, int *sign, double *out) {
    double y = -x;
    double n = __builtin_floor(y);
    *sign = (uint64_t(n) & 1) ? 1 : -1;
    // m, the integer nearest y (either one at a half): y + 1/2 rounds to an integer only for
    // a float y within 2^-25 of one above it, in every mode, so m is floor(y) or floor(y) + 1
    // and m = 0 for y < 1/2; d = y - m is exact (for y >= 1/2 y's ulp is at least 2^-25).
    double d = y - __builtin_floor(y + 0.5);
    // |sin(pi d)| from the table of sin(pi j/64) and the short polynomials in double (below
    // 2^-50 relative): |d| <= 1/2 reduces exactly to j/64 + r with j <= 32.
    double as = pi::sincos_rows_f<false, false>(pi::reduce64(__builtin_fabs(d)));
    double r = kLnPiD - log_d(as) - lgf_pos(1.0 - x);
    *out = r;
    return !(r < kFloatNearZero && r > -kFloatNearZero);
}

}  // namespace
}  // namespace tsr::gamma

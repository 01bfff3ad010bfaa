// What the error-function family shares: the table-and-Taylor kernel on the 1/128 grid and
// the one rounding of a scaled result onto the subnormal grid.
//
// Around a grid point x0 = k/128, with d = x - x0 (|d| <= 1/256), u = x0 d and e = d^2:
//     erf(x0 + d)  = erf(x0)  + D d g(u, e),
//     erfc(x0 + d) = erfc(x0) - D d g(u, e),     D = (2/sqrt(pi)) exp(-x0^2),
//     g(u, e) = int_0^1 exp(-2 u s - e s^2) ds = 1 + G(u, e),
// because the derivative at x0 + s d is D exp(-2 u s - e s^2).  G is a double series with
// exact rational coefficients (tools/gen/erf_tables.py writes them and bounds what each
// kernel leaves out); it is summed as four chains in u, one for each power of e.
//
// The value is formed as F(x0) +- D d (1 + G): the product of D's head with d is exact
// (two_prod), F's head and that product are summed exactly (|F(x0)| >= |D d| on every row:
// erf(x0) >= D x0 >= 2 D |d| for k >= 1, erfc(x0) >= D/(2 x0 + 2) > D/256), and every
// other piece (F's tail, D's tail times d, the exact product's error, D d G) is a small
// correction, so the one rounding of head + correction is the result's only large error.
#pragma once
#include "special/erf_data.h"
#include "tsr/common.h"
#include "tsr/dd.h"

namespace tsr::erf {
namespace {

using dd::DD;

constexpr uint64_t kSign = 0x8000000000000000ull;
constexpr uint64_t kAbs = 0x7fffffffffffffffull;
inline double with_sign(double v, uint64_t sign) { return f64(bits(v) ^ sign); }

constexpr double kScale = 0x1p192;     // erfc rows are erfc(x0) 2^192
constexpr double kUnscale = 0x1p-192;

// G(u, e) with the first NU terms of chain_u (u^1 .. u^NU), NUE of chain_ue, NUE2 of
// chain_ue2 and NUE3 of chain_ue3.
template <bool Fma, int N>
inline double chain(const double *c, double u) {
    double p = c[N - 1];
    for (int i = N - 2; i >= 0; --i) p = dd::mul_add<Fma>(p, u, c[i]);
    return p;
}
// With Rest, G + u: the first term of chain_u (-u) left out, not subtracted.
template <bool Fma, int NU, int NUE, int NUE2, int NUE3, bool Rest = false>
inline double taylor_g(double u, double e) {
    double p0 = Rest ? u * chain<Fma, NU - 1>(chain_u + 1, u) : chain<Fma, NU>(chain_u, u);
    double p1 = chain<Fma, NUE>(chain_ue, u);
    double pe = p1;
    if constexpr (NUE2 > 0) {
        double p2 = chain<Fma, NUE2>(chain_ue2, u);
        if constexpr (NUE3 > 0) p2 = dd::mul_add<Fma>(chain<Fma, NUE3>(chain_ue3, u), e, p2);
        pe = dd::mul_add<Fma>(p2, e, p1);
    }
    return dd::mul_add<Fma>(pe, e, u * p0);
}

// The accurate kernel: F(x0 + d + dl) for the row, with `sub` true for erfc (the correction
// subtracted) and false for erf.  d is exact (t - x0); dl an optional further part of the
// argument below d's last bit (cdfnorm's -x/sqrt(2) in two parts).  Returns an unnormalised
// head and tail: head the exact sum of F's head and the leading product, tail the
// corrections, up to a fifth of the head (D d G): a caller that compares the value
// normalises it first.
template <bool Fma, bool Sub, int NU, int NUE, int NUE2, int NUE3, bool HasDl = false>
inline DD kernel(const Row &r, double x0, double d, double dl = 0.0) {
    static_assert(NU > 0 && NUE > 0);
    double u = x0 * d, e = d * d;
    // G = -u + rest: the first-order term (up to a tenth) apart, so that the rounding errors
    // of the chains fall on the small rest only.
    double rest = taylor_g<Fma, NU, NUE, NUE2, NUE3, true>(u, e);
    // dh has 26 bits: only d is split, so that d = 0 (the stand-in of a flagged argument)
    // raises nothing.
    DD p = dd::two_prod_k<Fma>(d, r.dh, DD{r.dh, 0.0});
    // D (d + dl)(1 + G) - D d, less the exact product's error: D's tail, dl and G.
    // dh is short (26 bits): D d = p + dl d, and G multiplies both.
    double q = r.dl * d;
    double w = p.h + q;
    double corr = dd::mul_add<Fma>(w, rest, dd::mul_add<Fma>(-w, u, q));
    if constexpr (HasDl) corr = dd::mul_add<Fma>(r.dh, dl, corr);
    if constexpr (Sub) {
        DD s = dd::fast_two_sum(r.h, -p.h);
        return {s.h, s.l + (r.l - (p.l + corr))};
    } else {
        DD s = dd::fast_two_sum(r.h, p.h);
        return {s.h, s.l + (r.l + (p.l + corr))};
    }
}

// The grid point and offset of t (0 <= t < 2^31): t 128 + 2^52 rounds t 128 to an integer
// k in the current mode (exact for the stand-in 0: no conversion to an integer, which would
// raise inexact), x0 = k/128 and d = t - x0 exactly; a directed mode may leave |d| up to
// 1/128, and one step of k brings it back within 1/256.
struct Grid {
    double x0, d;
    uint32_t k;
};
inline Grid grid(double t) {
    constexpr double kShifter = 0x1p52;
    double r = t * 128.0 + kShifter;
    uint32_t k = uint32_t(bits(r) - bits(kShifter));
    double x0 = (r - kShifter) * 0x1p-7;
    double d = t - x0;
    k = k + uint32_t(d > 0x1p-8) - uint32_t(d < -0x1p-8);
    x0 = double(int(k)) * 0x1p-7;
    return {x0, t - x0, k};
}

// (h + l) 2^-S for a value below 2^-1022 (h >= 0), rounded once onto the subnormal grid:
// C = 2^(S - 1022) has exactly the grid's step 2^(S - 1074) as its ulp, so C + h + l rounds
// once, in the current mode, to a multiple of the step; taking C away and scaling are exact.
// The result is tiny and inexact: underflow is raised here, as the exact scaling would not.
// C and unscale = 2^-S are given by the caller.
inline double round_subnormal(double h, double l, double C, double unscale) {
    DD s = dd::fast_two_sum(C, h);
    double r = s.h + (s.l + l);
    raise_underflow();
    return (r - C) * unscale;
}

// x (ch + cl) rounded once for |x| < 2^-60 and 1/2 < ch < 2, subnormal results included:
// x 2^200 is exact and far from the subnormal range, its product with the constant in two
// parts exact but for the tail's rounding; the scaling back is exact where the result is
// normal, and the subnormal ones are rounded once onto their grid.
inline double times_tiny(double x, double ch, double cl) {
    double v = x * 0x1p200;
    DD p = dd::two_prod<false>(v, ch);
    p.l += v * cl;
    constexpr double kSubnormalScaled = 0x1p-822;  // 2^-1022, times 2^200
    if (f64(bits(p.h) & kAbs) >= kSubnormalScaled) return (p.h + p.l) * 0x1p-200;
    return round_subnormal(p.h, p.l, with_sign(kSubnormalScaled, bits(x) & kSign), 0x1p-200);
}

}  // namespace
}  // namespace tsr::erf

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
// other piece but one (F's tail, D's tail times d, the exact product's error, D d (G + u)) is
// a small correction; the one, -D d u (up to 2^-5 of F), is taken exactly into the head as
// well (see kernel), so that the one rounding of head + correction is the result's only
// large error.
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

// The powers u, u^2, u^4, u^8 for Estrin's scheme.
struct Powers {
    double p[4];
    explicit Powers(double u) : p{u, u * u, 0.0, 0.0} {
        p[2] = p[1] * p[1];
        p[3] = p[2] * p[2];
    }
};
// c[0] + c[1] u + ... + c[N-1] u^(N-1) in Estrin's order: the lower 2^j coefficients plus
// u^(2^j) times the rest, 2^j the largest power of two below N.  The chains are the kernel's
// critical path; Horner's order would put N - 1 dependent multiply-adds on it, this one
// about log2 N (the terms fall off as u^i with u <= 0.11, so the order changes nothing
// that shows in the sum's error).
template <bool Fma, int N>
inline double chain(const double *c, const Powers &w) {
    if constexpr (N == 1) {
        return c[0];
    } else if constexpr (N == 2) {
        return dd::mul_add<Fma>(c[1], w.p[0], c[0]);
    } else {
        constexpr int L = N > 8 ? 8 : N > 4 ? 4 : 2;
        constexpr int J = L == 8 ? 3 : L == 4 ? 2 : 1;
        return dd::mul_add<Fma>(chain<Fma, N - L>(c + L, w), w.p[J], chain<Fma, L>(c, w));
    }
}
// G(u, e) with the first NU terms of chain_u (u^1 .. u^NU), NUE of chain_ue, NUE2 of
// chain_ue2 and NUE3 of chain_ue3.  With Rest, G + u: the first term of chain_u (-u) left
// out, not subtracted.
template <bool Fma, int NU, int NUE, int NUE2, int NUE3, bool Rest = false>
inline double taylor_g(double u, double e) {
    static_assert(NU <= 16 && NUE <= 16);
    Powers w(u);
    double p0 = Rest ? u * chain<Fma, NU - 1>(chain_u + 1, w) : chain<Fma, NU>(chain_u, w);
    double p1 = chain<Fma, NUE>(chain_ue, w);
    double pe = p1;
    if constexpr (NUE2 > 0) {
        double p2 = chain<Fma, NUE2>(chain_ue2, w);
        if constexpr (NUE3 > 0) p2 = dd::mul_add<Fma>(chain<Fma, NUE3>(chain_ue3, w), e, p2);
        pe = dd::mul_add<Fma>(p2, e, p1);
    }
    return dd::mul_add<Fma>(pe, e, u * p0);
}

// The accurate kernel: F(x0 + d + dl) for the row, with `sub` true for erfc (the correction
// subtracted) and false for erf.  d is exact (t - x0); dl an optional further part of the
// argument below d's last bit (cdfnorm's -x/sqrt(2) in two parts).  Returns an unnormalised
// head and tail: a caller that compares the value normalises it first.
//
// D d (1 + G) is taken in three layers: D d = p + q (p = dh d exact, dh of 26 bits; q = dl d),
// G = -u + rest with the first-order term -u (up to a tenth) apart, so that the chains'
// rounding errors fall on the small rest only.  u = x0 d is exact (x0 has at most 8 bits
// above the unit of the grid and d at most 44 below t's leading bit), and p u, up to a
// fiftieth of F, is formed exactly (two_prod): the head is F's head less p plus p u, two
// exact sums, and everything left for the tail is below 2^-9 of F, so that its roundings
// stay below 2^-62 of the result.  The partial products of p u stay above 2^-969 for every
// row that gives a normal result (the erfc rows are scaled by 2^192 for that).
template <bool Fma, bool Sub, int NU, int NUE, int NUE2, int NUE3, bool HasDl = false>
inline DD kernel(const Row &r, double x0, double d, double dl = 0.0) {
    static_assert(NU > 0 && NUE > 0);
    double u = x0 * d, e = d * d;
    double rest = taylor_g<Fma, NU, NUE, NUE2, NUE3, true>(u, e);
    // dh has 26 bits: only d is split, so that d = 0 (the stand-in of a flagged argument)
    // raises nothing.
    DD p = dd::two_prod_k<Fma>(d, r.dh, DD{r.dh, 0.0});
    DD pu = dd::two_prod<Fma>(p.h, u);
    double q = r.dl * d;
    // The tail: F's tail, p's error and q, each times (1 - u), pu's error, dl's term; the
    // chains' part w rest last (the critical path).
    double lo = p.l + q;
    double small = dd::mul_add<Fma>(-lo, u, lo) - pu.l;
    if constexpr (HasDl) small = dd::mul_add<Fma>(r.dh, dl, small);
    double w = p.h + q;
    if constexpr (Sub) {
        DD s = dd::fast_two_sum(r.h, -p.h);
        DD s2 = dd::fast_two_sum(s.h, pu.h);
        double tail = (s.l + s2.l) + (r.l - small);
        return {s2.h, dd::mul_add<Fma>(-w, rest, tail)};
    } else {
        DD s = dd::fast_two_sum(r.h, p.h);
        DD s2 = dd::fast_two_sum(s.h, -pu.h);
        double tail = (s.l + s2.l) + (r.l + small);
        return {s2.h, dd::mul_add<Fma>(w, rest, tail)};
    }
}

// The grid point and offset of t (0 <= t < 2^31): x0 = k/128 with k the integer nearest
// t 128, d = t - x0 exactly, |d| <= 1/256.  With SSE4.1 one rounding instruction whose
// immediate gives the mode (nearest, the inexact flag suppressed) and an exact conversion of
// the integral k.  Without it, t 128 + 2^52 rounds t 128 to an integer k in the current mode
// (exact for the stand-in 0: no conversion of a fraction to an integer, which would raise
// inexact); a directed mode may leave |d| up to 1/128, and one step of k brings it back
// within 1/256.
struct Grid {
    double x0, d;
    uint32_t k;
};
inline Grid grid(double t) {
#if defined(__SSE4_1__)
    double r = __builtin_roundeven(t * 128.0);
    double x0 = r * 0x1p-7;
    return {x0, t - x0, uint32_t(int(r))};
#else
    constexpr double kShifter = 0x1p52;
    double r = t * 128.0 + kShifter;
    uint32_t k = uint32_t(bits(r) - bits(kShifter));
    double x0 = (r - kShifter) * 0x1p-7;
    double d = t - x0;
    k = k + uint32_t(d > 0x1p-8) - uint32_t(d < -0x1p-8);
    x0 = double(int(k)) * 0x1p-7;
    return {x0, t - x0, k};
#endif
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

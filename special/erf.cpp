// erf: a vector-core member (include/tsr/vectorcore.h), and its float form erff.
//
// Range test: the high word of |x| plus 0x46500000 against 0xc63fffff flags |x| < 2^-100
// and the infinities and NaNs.  A flagged argument runs the core on 0: row 0 with d = 0, every
// step exact, so that the core raises nothing the rare routine's result would not.
//
// Core.  t = min(|x|, 5.9921875), the last row: from there on erf rounds as 1 - 2^-56 does
// in every mode.  x0 = t rounded to the nearest multiple of 1/128, d = t - x0
// exactly, and erf(t) = erf(x0) + D d (1 + G(u, e)) by the table-and-Taylor kernel of
// special/erf_common.h with chain_u to u^10, chain_ue to u^7, chain_ue2 to u^3 and chain_ue3
// to u^0: G's truncation is below 2^-56 of g, and g's term is at most the result (row 1
// at t = 1/256), so the sum before its last rounding is within 2^-60 of the result; the one
// rounding of head + tail gives below 0.5 + 2^-7 ulp.  The sign of x goes on last.
//
// Rare routine __libm_derf_cout_rare: NaN x + x; an infinity ±1 exactly; a zero itself;
// |x| < 2^-100: erf(x) = (2/sqrt(pi)) x (1 - x^2/3 ...), whose x^2 term is below 2^-200 of
// it: the product with 2/sqrt(pi) in two parts, rounded once, on the subnormal grid where
// it falls there.  No status: erf never reports.
//
// Tiers: ex and l9 are the same steps, l9 with fused multiply-add in the product and the
// chains.  __bwr_erf is the ex body (it has no estimate to replace).
//
// erff: in double on the same rows, with the short chains (chain_u to u^7, chain_ue to u^3,
// chain_ue2 to u^0, truncation 2^-37 of g): the double before its conversion is within
// 2^-50 of erf(x), so the float is below 0.5 + 2^-26 ulp.  |x| < 2^-27 takes x (2/sqrt(pi))
// in double (x^2/3 is below 2^-55), and infinities ±1 exactly.
#include "special/erf_common.h"
#include "tsr/vectorcore.h"

using namespace tsr;
using namespace tsr::erf;
using namespace tsr::vc;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr uint32_t kLowWord = 0x39b00000u;   // 2^-100: below it, x (2/sqrt(pi)) alone (rare)
constexpr uint32_t kHighWord = 0x7fefffffu;  // the largest finite magnitude
constexpr uint32_t kShift = range_shift(kLowWord), kLimit = range_limit(kLowWord, kHighWord);
static_assert(kShift == 0x46500000u && kLimit == 0xc63fffffu);
constexpr double kLastRow = 0x1.7f8p+2;  // 5.9921875: erf rounds as 1 - 2^-56 from here on
constexpr double kTwoOverSqrtPi = 0x1.20dd750429b6dp+0;     // 2/sqrt(pi), head
constexpr double kTwoOverSqrtPiLo = 0x1.1ae3a914fed80p-56;  // 2/sqrt(pi) - head

template <bool Fma>
inline double erf_core(double x, uint32_t &flag) {
    uint64_t sx = bits(x) & kSign;
    double a = f64(bits(x) & kAbs);
    flag = outside(hi(a), kShift, kLimit);
    a = and_mask(a, ~mask_of(flag));  // the stand-in 0, whose steps are exact
    double t = a < kLastRow ? a : kLastRow;  // a is no NaN (flagged ones are 0 here)
    Grid g = grid(t);
    DD v = kernel<Fma, false, 10, 8, 4, 1>(erf_rows[g.k], g.x0, g.d);
    // the sign before the last rounding, which then rounds in the mode's direction
    return with_sign(v.h, sx) + with_sign(v.l, sx);
}

}  // namespace

#if TSR_TIER_EX
extern "C" int __libm_derf_cout_rare(const double *px, double *result) noexcept TSR_HIDDEN;
extern "C" int __libm_derf_cout_rare(const double *px, double *result) noexcept {
    double x = *px;
    uint64_t sx = bits(x) & kSign;
    double a = f64(bits(x) & kAbs);
    if (a != a) {
        *result = x + x;
    } else if (a == __builtin_inf()) {
        *result = with_sign(1.0, sx);
    } else if (a == 0) {
        *result = x;
    } else if (a < 0x1p-100) {
        *result = times_tiny(x, kTwoOverSqrtPi, kTwoOverSqrtPiLo);
    } else {
        uint32_t flag;
        *result = erf_core<false>(x, flag);
    }
    return 0;
}
#else
extern "C" int __libm_derf_cout_rare(const double *px, double *result) noexcept TSR_HIDDEN;
#endif

namespace {
template <bool Fma>
inline double erf_d(double x) {
    uint32_t flag;
    double r = erf_core<Fma>(x, flag);
    return finish(flag, x, r, __libm_derf_cout_rare);
}

constexpr uint32_t kFloatTiny = 0x32000000u;  // 2^-27: below it, x (2/sqrt(pi)) in double

template <bool Fma>
inline float erff_f(float x) {
    uint32_t ax = bits(x) & 0x7fffffffu;
    if (__builtin_expect(ax >= 0x7f800000u, 0)) return ax == 0x7f800000u ? (x > 0 ? 1.0f : -1.0f) : x + x;
    if (ax < kFloatTiny) return float(double(x) * kTwoOverSqrtPi);
    double a = double(f32(ax));
    double t = a < kLastRow ? a : kLastRow;
    Grid g = grid(t);
    const Row &r = erf_rows[g.k];
    double G = taylor_g<Fma, 7, 4, 1, 0>(g.x0 * g.d, g.d * g.d);
    double D = r.dh + r.dl;
    if (x < 0) return float(-r.h - dd::mul_add<Fma>(D * g.d, G, dd::mul_add<Fma>(D, g.d, r.l)));
    return float(r.h + dd::mul_add<Fma>(D * g.d, G, dd::mul_add<Fma>(D, g.d, r.l)));
}
}  // namespace

TSR_BODY(double, erf, (double x)) { return erf_d<kFma>(x); }
TSR_BODY(float, erff, (float x)) { return erff_f<kFma>(x); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_erf, (double x)) { return erf_d<false>(x); }
TSR_DEFINE(float, __bwr_erff, (float x)) { return erff_f<false>(x); }
#endif

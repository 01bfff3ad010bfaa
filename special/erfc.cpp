// erfc: a vector-core member (include/tsr/vectorcore.h), and its float form erfcf.
//
// Range test: the high word of |x| plus 0xc4700000 against 0xc45fffff flags |x| < 2^-70 and
// the infinities and NaNs; a second compare on the signed high word flags x >= 26.5 (the
// results from 26.543258454250981 on are subnormal).  A flagged argument runs the core on
// 0: row 0 with d = 0, every step exact.
//
// Core.  t = min(|x|, 27.2421875) for x >= 0, min(|x|, 6) for x < 0 (from 6 on, 2 - erfc
// rounds as 2 - 2^-56 does in every mode).  The row of t on the 1/128 grid gives
// erfc(t) 2^192 = erfc(x0) 2^192 - D 2^192 d (1 + G(u, e)) by the kernel of
// special/erf_common.h with every chain in full (truncation 2^-58 of g, and g's term is at
// most 0.21 of erfc: 2 t d).  The scale keeps every partial product of the kernel above
// 2^-1022.  x >= 0: (head + tail) 2^-192, one rounding in the scaled range and an exact
// scaling (the result is normal below 26.54).  x < 0: 2 - erfc(|x|), the head subtracted
// from 2 exactly and the tail after it.  One sequence serves both signs, its constants
// chosen by the sign (0 or 2, the scale with the sign, the tail's scale or 0).
//
// Rare routine __libm_derfc_cout_rare: NaN x + x; +infinity 0 and -infinity 2, exactly;
// |x| < 2^-70: 1 - x, which rounds in every mode as 1 - (2/sqrt(pi)) x does; from
// 27.226017111108366 on (erfc below 2^-1075): 2^-1000 2^-1000, zero in round-to-nearest,
// with underflow and the code erfc_underflow; between 26.5 and there the kernel's scaled
// value rounded once onto the subnormal grid.
//
// Tiers: ex and l9 are the same steps, l9 with fused multiply-add.  __bwr_erfc is the ex
// body.
//
// erfcf: in double on the same rows with the short chains (truncation 2^-37 of g): below
// 0.5 + 2^-26 ulp.  From 0x1.41bbf8p+3 on (erfc below 2^-150) zero with erfcf_underflow;
// |x| < 2^-26 1 - x in float, which rounds as erfc does; subnormal results are rounded once
// by the conversion, which raises underflow.
#include "special/erf_common.h"
#include "tsr/codes.h"
#include "tsr/vectorcore.h"

using namespace tsr;
using namespace tsr::erf;
using namespace tsr::vc;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr uint32_t kLowWord = 0x3b900000u;   // 2^-70: below it, 1 - x (rare)
constexpr uint32_t kHighWord = 0x7fefffffu;  // the largest finite magnitude
constexpr uint32_t kShift = range_shift(kLowWord), kLimit = range_limit(kLowWord, kHighWord);
static_assert(kShift == 0x44700000u && kLimit == 0xc45fffffu);
constexpr int32_t kSubnormalWord = 0x403a8000;  // 26.5: the subnormal results start at 26.54
constexpr double kLastRow = 0x1.b3ep+4;          // 27.2421875
constexpr double kNegativeEnd = 6.0;             // 2 - erfc rounds as 2 - 2^-56 from here on
constexpr double kZeroFrom = 0x1.b39dc41e48bfdp+4;  // 27.226017111108366: erfc < 2^-1075
constexpr double kSubnormalScaled = 0x1p-830;       // 2^-1022, times 2^192

template <bool Fma>
inline DD erfc_scaled(double t) {
    Grid g = grid(t);
    return kernel<Fma, true, 13, 10, 6, 3>(erfc_rows[g.k], g.x0, g.d);
}

template <bool Fma>
inline double erfc_core(double x, uint32_t &flag) {
    double a = f64(bits(x) & kAbs);
    flag = outside(hi(a), kShift, kLimit) | uint32_t(int32_t(hi(x)) >= kSubnormalWord);
    a = and_mask(a, ~mask_of(flag));  // the stand-in 0, whose steps are exact
    uint64_t neg = mask_of(int64_t(bits(x)) < 0);
    double end = select(neg, kNegativeEnd, kLastRow);
    double t = a < end ? a : end;  // a is no NaN (flagged ones are 0 here): one minimum
    DD v = erfc_scaled<Fma>(t);
    // x >= 0: erfc(t), v rounded once and scaled exactly.  x < 0: 2 - erfc(t), the rounded
    // head subtracted from 2 exactly and the tail after it.  One form for both signs: the
    // constants (0 or 2, the scale with the sign, the tail's scale or 0) are chosen by the
    // sign, so that the tail of x >= 0, whose scaled value could be subnormal, is zeroed
    // before it is scaled.
    DD n = dd::fast_two_sum(v.h, v.l);
    double h = n.h * select(neg, -kUnscale, kUnscale);
    double l = n.l * select(neg, -kUnscale, 0.0);
    DD s = dd::fast_two_sum(and_mask(2.0, neg), h);
    return s.h + (s.l + l);
}

}  // namespace

#if TSR_TIER_EX
extern "C" int __libm_derfc_cout_rare(const double *px, double *result) noexcept TSR_HIDDEN;
extern "C" int __libm_derfc_cout_rare(const double *px, double *result) noexcept {
    double x = *px;
    double a = f64(bits(x) & kAbs);
    if (a != a) {
        *result = x + x;
    } else if (a == __builtin_inf()) {
        *result = x > 0 ? 0.0 : 2.0;
    } else if (a < 0x1p-70) {
        *result = 1.0 - x;
    } else if (x >= kZeroFrom) {
        *result = opaque(0x1p-1000) * 0x1p-1000;
        return code::erfc_underflow;
    } else if (x >= 26.5) {
        DD v = erfc_scaled<false>(x);
        v = dd::fast_two_sum(v.h, v.l);
        *result = v.h >= kSubnormalScaled ? (v.h + v.l) * kUnscale
                                          : round_subnormal(v.h, v.l, kSubnormalScaled, kUnscale);
    } else {
        uint32_t flag;
        *result = erfc_core<false>(x, flag);
    }
    return 0;
}
#else
extern "C" int __libm_derfc_cout_rare(const double *px, double *result) noexcept TSR_HIDDEN;
#endif

namespace {
template <bool Fma>
inline double erfc_d(double x) {
    uint32_t flag;
    double r = erfc_core<Fma>(x, flag);
    return finish(flag, x, r, __libm_derfc_cout_rare);
}

constexpr uint32_t kFloatTiny = 0x32800000u;  // 2^-26: below it, 1 - x in float
constexpr float kFloatZeroFrom = 0x1.41bbf8p+3f;  // erfc below 2^-150 from here on

template <bool Fma>
inline float erfcf_f(float x) {
    uint32_t ax = bits(x) & 0x7fffffffu;
    if (__builtin_expect(ax >= 0x7f800000u, 0)) return ax == 0x7f800000u ? (x > 0 ? 0.0f : 2.0f) : x + x;
    if (ax < kFloatTiny) return 1.0f - x;
    if (x >= kFloatZeroFrom) return report(x, float(opaque(0x1p-100f) * 0x1p-100f), code::erfcf_underflow);
    double a = double(f32(ax));
    double t = a < kNegativeEnd ? a : kNegativeEnd;
    if (x > 0) t = a;
    Grid g = grid(t);
    const Row &r = erfc_rows[g.k];
    double G = taylor_g<Fma, 7, 4, 1, 0>(g.x0 * g.d, g.d * g.d);
    double D = r.dh + r.dl;
    double y = (r.h - dd::mul_add<Fma>(D * g.d, G, dd::mul_add<Fma>(D, g.d, -r.l))) * kUnscale;
    return float(x < 0 ? 2.0 - y : y);
}
}  // namespace

TSR_BODY(double, erfc, (double x)) { return erfc_d<kFma>(x); }
TSR_BODY(float, erfcf, (float x)) { return erfcf_f<kFma>(x); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_erfc, (double x)) { return erfc_d<false>(x); }
TSR_DEFINE(float, __bwr_erfcf, (float x)) { return erfcf_f<false>(x); }
#endif

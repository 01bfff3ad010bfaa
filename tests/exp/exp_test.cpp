// The exponentials: special values and thresholds as rows, accuracy against MPFR over
// random and hard regions (every tier, the four modes), every float input in the Long run.
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;

// Rows every exponential shares: e^0 = 1 exactly, near 0 the correctly rounded 1, the
// infinities, and NaNs: quiet ones pass silently; signalling ones, including a negative NaN
// with its payload in the low word only (not -inf), raise invalid.
template <class T> std::vector<Row<T>> common(std::vector<Row<T>> own) {
    constexpr bool d = sizeof(T) == 8;
    T tiny = d ? T(0x1p-63) : T(0x1p-31f);
    std::vector<Row<T>> r = with_nans<T>({
        {T(0), T(1)}, {-T(0), T(1)}, {tiny, CR, NX, 0, NO_CODE, RN}, {-tiny, CR, NX, 0, NO_CODE, RN},
        {T(INFINITY), T(INFINITY)}, {-T(INFINITY), T(0)},
    });
    if (d) r.push_back({T(f64(0xfff0000100000000)), T(NAN), INV});
    r.insert(r.end(), own.begin(), own.end());
    return r;
}

const std::vector<Row<double>> kExp = common<double>({
    {1.0, CR, NX, 0, NO_CODE, RN},  // e
    {0x1.62e42fefa39efp+9, CR, NX, 0, NO_CODE, RN},  // largest x with a finite e^x
    {0x1.62e42fefa39fp+9, CR, OV, ERANGE, code::exp_overflow},  // its successor
    {0x1.62e5604189375p+9, CR, OV, ERANGE, code::exp_overflow},  // 709.79: the extreme path
    {0x1p+10, CR, OV, ERANGE, code::exp_overflow},  // 1024: no core at all
    {0x1.388p+13, CR, OV, ERANGE, code::exp_overflow},  // 10000
    {-0x1.6232bdd7abcd2p+9, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE, RN},  // ln(2^-1022): the normal boundary
    {-0x1.6232bdd7abcd3p+9, CR, UN, ERANGE_IF_ZERO, code::exp_underflow, RN},
    {-0x1.63p+9, CR, UN, ERANGE_IF_ZERO, code::exp_underflow, RN},  // -710: subnormal, rounded once
    {-0x1.74910d52d3051p+9, CR, UN, ERANGE_IF_ZERO, code::exp_underflow, RN},  // the smallest subnormal's argument
    {-0x1.74947ae147ae1p+9, CR, UN, ERANGE_IF_ZERO, code::exp_underflow, RN},  // -745.14
    {-0x1.74ap+9, CR, UN, ERANGE_IF_ZERO, code::exp_underflow},  // -745.25: zero
    {-0x1p+10, CR, UN, ERANGE_IF_ZERO, code::exp_underflow},  // -1024
    {-0x1.388p+13, CR, UN, ERANGE_IF_ZERO, code::exp_underflow},
});

const std::vector<Row<float>> kExpf = common<float>({
    {0x1.62e42ep+6f, CR, NX, 0, NO_CODE, RN},  // largest finite result
    {0x1.62e43p+6f, CR, OV, ERANGE, code::expf_overflow},
    {0x1.fcp+6f, CR, OV, ERANGE, code::expf_overflow},  // 127: core, then the check
    {0x1p+7f, CR, OV, ERANGE, code::expf_overflow},  // 128: no core
    {-0x1.5d58ap+6f, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE, RN},  // the normal boundary
    {-0x1.6p+6f, CR, UN, ERANGE_IF_ZERO, code::expf_underflow, RN},  // -88: subnormal
    {-0x1.9fe36ap+6f, CR, UN, ERANGE_IF_ZERO, code::expf_underflow, RN},  // near the smallest subnormal
    {-0x1.ap+6f, CR, UN, ERANGE_IF_ZERO, code::expf_underflow},  // -104: zero
    {-0x1p+7f, CR, UN, ERANGE_IF_ZERO, code::expf_underflow},
    {-0x1.388p+13f, CR, UN, ERANGE_IF_ZERO, code::expf_underflow},  // -10000
});

const std::vector<Row<double>> kExp2 = common<double>({
    {0x1.8p+1, 0x1p+3, NONE, 0, NO_CODE, 0, EX | FMA_TIERS},  // 2^3 exact
    {0x1.8p+1, 0x1p+3, ANY_FLAGS, 0, NO_CODE, 0, E7},
    {-0x1.ff8p+9, 0x1p-1023, NONE, 0, NO_CODE, 0, EX},  // 2^-1023: exact subnormal
    {0x1.ff8p+9, 0x1p+1023, NONE, 0, NO_CODE, 0, EX},  // 2^1023
    {0x1.fffffffffffffp+9, CR, NX, 0, NO_CODE, RN},
    {0x1p+10, CR, OV, ERANGE, code::exp2_overflow},
    {0x1.388p+13, CR, OV, ERANGE, code::exp2_overflow},
    {-0x1.ffp+9, 0x1p-1022, ANY_FLAGS},  // 2^-1022
    {-0x1.ff80000000001p+9, CR, UN, ERANGE_IF_ZERO, code::exp2_underflow, RN},
    {-0x1.00cp+10, CR, ANY_FLAGS, ERANGE_IF_ZERO, code::exp2_underflow, RN},  // -1027.0
    {-0x1.0c8p+10, 0x1p-1074, ANY_FLAGS, ERANGE_IF_ZERO, code::exp2_underflow},  // -1074: through the core
    {-0x1.0cap+10, 0x1p-1074, UN, ERANGE_IF_ZERO, code::exp2_underflow, 0, E7 | FMA_TIERS},  // -1074.5: the e7 band
    {-0x1.0ccp+10, 0x1p-1074, UN, ERANGE_IF_ZERO, code::exp2_underflow, 0, E7 | FMA_TIERS},  // -1075: the same band
    {-0x1.0cap+10, CR, UN, ERANGE_IF_ZERO, code::exp2_underflow, RN, EX},
    {-0x1.0dp+10, CR, UN, ERANGE_IF_ZERO, code::exp2_underflow},  // -1076: zero
    {-0x1p+11, CR, UN, ERANGE_IF_ZERO, code::exp2_underflow},
});

const std::vector<Row<float>> kExp2f = common<float>({
    {0x1.8p+1f, 0x1p+3f, NONE, 0, NO_CODE, 0, EX | FMA_TIERS},  // 2^3 exact
    {-0x1.fcp+6f, 0x1p-127f, NONE, 0, NO_CODE, 0, EX},  // 2^-127: exact subnormal
    {-0x1.fcp+6f, 0x1p-127f, NONE, ERANGE_IF_ZERO, code::exp2f_underflow, 0, E7 | FMA_TIERS},  // exact, reported by the check
    {0x1.fffffep+6f, CR, NX, 0, NO_CODE, RN},
    {0x1p+7f, CR, OV, ERANGE, code::exp2f_overflow},
    {0x1.2p+7f, CR, OV, ERANGE, code::exp2f_overflow},
    {-0x1.fap+6f, CR, UN, ERANGE_IF_ZERO, code::exp2f_underflow, RN},  // -126.5
    {-0x1.2ap+7f, 0x1p-149f, ANY_FLAGS, ERANGE_IF_ZERO, code::exp2f_underflow},  // -149
    // An integer below the range the exact-power test covers: through the core, exact, so
    // the core's guard must not raise inexact to learn the mode.
    {-0x1.18p+7f, 0x1p-140f, NONE, ERANGE_IF_ZERO, code::exp2f_underflow, 0, EX},  // -140
    {-0x1.2dp+7f, CR, UN, ERANGE_IF_ZERO, code::exp2f_underflow},  // -150.5: zero
    {-0x1.4p+7f, CR, UN, ERANGE_IF_ZERO, code::exp2f_underflow},
});

const std::vector<Row<double>> kExp10 = common<double>({
    {0x1.6p+4, 0x1.0f0cf064dd592p+73, NONE, 0, NO_CODE, 0, EX},  // 10^22 exact
    {0x1.7p+4, CR, NX, 0, NO_CODE, RN},  // 10^23: polynomial
    {0x1p+1, 0x1.9p+6, NONE, 0, NO_CODE, 0, EX},  // 100
    {0x1.34413509f79fep+8, CR, NX, 0, NO_CODE, RN},  // largest finite result
    {0x1.34413509f79ffp+8, CR, OV, ERANGE, code::exp10_overflow, 0, EX},
    {0x1.4p+8, CR, OV, ERANGE, code::exp10_overflow, 0, EX},  // 320
    {0x1.34413509f79ffp+8, CR, OV, ERANGE, code::exp10_overflow, RN, E7},
    {0x1.4p+8, CR, OV, ERANGE, code::exp10_overflow, RN, E7},
    {0x1p+9, CR, OV, ERANGE, code::exp10_overflow, 0, EX},
    {-0x1.34413509f79fep+8, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE, RN},  // the normal boundary
    {-0x1.344p+8, CR, UN, 0, NO_CODE, RN, EX},  // subnormal, not reported in ex
    {-0x1.344p+8, CR, UN, ERANGE_IF_ZERO, code::exp10_underflow, RN, E7},
    {-0x1.44p+8, CR, UN, 0, NO_CODE, 0, EX},  // -324: zero
    {-0x1.44p+8, CR, UN, ERANGE_IF_ZERO, code::exp10_underflow, RN, E7},
    {-0x1p+9, CR, UN, 0, NO_CODE, 0, EX},
    {-0x1p+9, CR, UN, ERANGE_IF_ZERO, code::exp10_underflow, RN, E7},
});

const std::vector<Row<float>> kExp10f = common<float>({
    {0x1.4p+3f, 0x1.2a05f2p+33f, NONE, 0, NO_CODE, 0, EX},  // 10^10 exact
    {0x1.8p+1f, 0x1.f4p+9f, NONE, 0, NO_CODE, 0, EX},  // 10^3
    {0x1.344134p+5f, CR, NX, 0, NO_CODE, RN},
    {0x1.38p+5f, CR, OV, 0, NO_CODE, 0, EX},  // 39: this tier never reports
    {0x1.38p+5f, CR, OV, ERANGE, code::exp10f_overflow, 0, E7},
    {-0x1.7p+5f, CR, UN, 0, NO_CODE, 0, EX},  // -46: zero
    {-0x1.7p+5f, CR, UN, ERANGE_IF_ZERO, code::exp10f_underflow, 0, E7},
    {-0x1.6p+5f, CR, UN, 0, NO_CODE, RN, EX},  // -44: subnormal
    {-0x1.6p+5f, CR, UN, ERANGE_IF_ZERO, code::exp10f_underflow, RN, E7},
});

// Accuracy inputs: log-uniform over both signs up to the last finite result (hi) and down to
// total underflow (lo), tiny arguments, and uniform bands next to both thresholds.
template <class T> Sweep<T> plan(Func<T> f, T tiny, T lo, T hi, T band, double rn) {
    Sweep<T> s{f,
              {{60000, {T(0x1p-8), hi}},
               {60000, {lo, T(-0x1p-8)}},
               {20000, {tiny, T(0x1p-8), Dist::log_uniform, true}},
               {10000, {hi - band, hi, Dist::uniform}},
               {10000, {lo, lo + band, Dist::uniform}}}};
    return s.bounds(rn);
}

Sweep<double> exp_plan() {
    return plan(func("exp", mpfr_exp, tsr_tiers_exp, tsr_portable_tiers_exp).entry(::exp), 0x1p-60, -745.2,
                709.79, 40.0, 0.55);
}
Sweep<float> expf_plan() {
    return plan(func("expf", mpfr_exp, tsr_tiers_expf).entry(::expf), 0x1p-30f, -103.98f, 88.72f, 10.0f, 0.51);
}
Sweep<double> exp2_plan() {
    return plan(func("exp2", mpfr_exp2, tsr_tiers_exp2, tsr_portable_tiers_exp2).entry(::exp2), 0x1p-60, -1075.0,
                1023.99, 60.0, 0.55);
}
Sweep<float> exp2f_plan() {
    auto s = plan(func("exp2f", mpfr_exp2, tsr_tiers_exp2f, tsr_portable_tiers_exp2f).entry(::exp2f), 0x1p-30f,
                  -150.0f, 127.99f, 12.0f, 0.51);
    // The single-precision FMA tiers round their polynomial in float: a little above the
    // target (0.5112 over every float).
    s.tier_bounds = {{FMA_TIERS | ENTRY, RN, 0.52}};
    return s;
}
Sweep<double> exp10_plan() {
    auto s = plan(func("exp10", mpfr_exp10, tsr_tiers_exp10).entry(::exp10), 0x1p-60, -317.3, 308.25, 20.0, 0.55);
    // Below 2^-1054 the 21-bit head that tier ex keeps apart no longer scales exactly onto
    // the subnormal grid, and its result is rounded twice: up to one ulp there.
    s.regions.push_back({20000, {-323.6, -317.3, Dist::uniform}});
    s.tier_bounds = {{EX, RN, 1.0}};
    return s;
}
Sweep<float> exp10f_plan() {
    return plan(func("exp10f", mpfr_exp10, tsr_tiers_exp10f).entry(::exp10f), 0x1p-30f, -45.4f, 38.53f, 4.0f, 0.51);
}

}  // namespace

TEST(ExpSpecial, Rows) {
    check_rows(exp_plan().f, kExp);
    check_rows(expf_plan().f, kExpf);
    check_rows(exp2_plan().f, kExp2);
    check_rows(exp2f_plan().f, kExp2f);
    check_rows(exp10_plan().f, kExp10);
    check_rows(exp10f_plan().f, kExp10f);
}

TEST(ExpAccuracy, Exp) { sweep(exp_plan()); }
TEST(ExpAccuracy, Expf) { sweep(expf_plan()); }
TEST(ExpAccuracy, Exp2) { sweep(exp2_plan()); }
TEST(ExpAccuracy, Exp2f) { sweep(exp2f_plan()); }
TEST(ExpAccuracy, Exp10) { sweep(exp10_plan()); }
TEST(ExpAccuracy, Exp10f) { sweep(exp10f_plan()); }

// The Long run: every float, and the double functions on 10 million inputs.
TEST(ExpLong, Floats) {
    every_float(expf_plan());
    every_float(exp2f_plan());
    every_float(exp10f_plan());
}
TEST(ExpLong, Doubles) {
    sweep_all<double>({exp_plan(), exp2_plan(), exp10_plan()}, 60);
}

// The reproducible family's own bodies (log, log2, log10, log1pf, exp, exp10): special values,
// errors and codes as rows; accuracy against MPFR beside the ex body each replaces, on the
// same inputs, so that each line pair shows the two side by side and the reproducible form
// is held to the ex body's measured error; the names that stand at an ex body's address.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"
#include "tsr_dispatch.inc"
#include "tsr_tiers.inc"

namespace {

using namespace th;
namespace code = tsr::code;

template <class T> std::vector<Row<T>> operator+(std::vector<Row<T>> a, const std::vector<Row<T>> &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A reproducible form and the ex tier body of its function, measured together.
template <class T, size_t N>
Func<T> pair(const char *name, MpFn1 ref, T (*bwr)(T), const tsr::TierFn<T (*)(T)> (&tiers)[N]) {
    Func<T> f{name, 1, 1, {mpfr_ref(ref)}, {}};
    f.add("ex-bwr", tsr::Tier::ex, bwr);  // named for the tier whose bounds it keeps
    f.add(tiers[0].name, tiers[0].tier, tiers[0].fn);
    return f;
}

// Common rows of log, log2 and log10: poles at both zeros (divide-by-zero, ERANGE), +inf, NaNs,
// and 1 giving +0 in every mode.
std::vector<Row<double>> log_rows(int pole) {
    return {{0.0, -INFINITY, DZ, ERANGE, pole, ALL_MODES},
            {-0.0, -INFINITY, DZ, ERANGE, pole, ALL_MODES},
            {INFINITY, INFINITY, NONE, 0, NO_CODE, ALL_MODES},
            {NAN, NAN, NONE, 0, NO_CODE, ALL_MODES},
            {snan<double>(), NAN, INV, 0, NO_CODE, ALL_MODES},
            {1.0, 0.0, NONE, 0, NO_CODE, ALL_MODES}};
}

// Positive arguments over the whole range (subnormals: the 2^52 adjustment), dense next to 1
// (where ln x is small and the rows 0 and 256 cancel), and within a few units of powers of two
// (mantissas at the row boundaries i/256 + 1/512 are reached by the uniform regions).
template <class T> Sweep<T> log_plan(Func<T> f) {
    T tiny = sizeof(T) == 8 ? T(0x1p-1074) : T(0x1p-149f);
    Sweep<T> s{f,
              {{60000, {tiny, std::numeric_limits<T>::max()}},
               {20000, {T(0.75), T(1.5), Dist::uniform}},
               {20000, {T(1) - T(1) / 256, T(1) + T(1) / 128, Dist::uniform}},
               {10000, {T(1) - T(0x1p-20), T(1) + T(0x1p-20), Dist::uniform}}}};
    return s.bounds(sizeof(T) == 8 ? 0.55 : 0.51);
}

Sweep<double> exp_plan(Func<double> f, double lo, double hi) {
    Sweep<double> s{f,
                    {{60000, {0x1p-8, hi}},
                     {60000, {lo, -0x1p-8}},
                     {20000, {0x1p-60, 0x1p-8, Dist::log_uniform, true}},
                     {10000, {hi - 20, hi, Dist::uniform}},
                     {10000, {lo, lo + 20, Dist::uniform}}}};
    return s.bounds(0.55);
}

Func<double> f_log() { return pair<double>("__bwr_log", mpfr_log, __bwr_log, tsr_tiers_log); }
Func<double> f_log2() { return pair<double>("__bwr_log2", mpfr_log2, __bwr_log2, tsr_tiers_log2); }
Func<double> f_log10() { return pair<double>("__bwr_log10", mpfr_log10, __bwr_log10, tsr_tiers_log10); }
Func<float> f_log1pf() { return pair<float>("__bwr_log1pf", mpfr_log1p, __bwr_log1pf, tsr_tiers_log1pf); }
Func<double> f_exp() { return pair<double>("__bwr_exp", mpfr_exp, __bwr_exp, tsr_tiers_exp); }
Func<double> f_exp10() { return pair<double>("__bwr_exp10", mpfr_exp10, __bwr_exp10, tsr_tiers_exp10); }

// The reproducible form's worst error in each mode against its ex body's, on the same inputs:
// at most `rn` ulp more to nearest, `directed` in the other modes.
void same_accuracy(const std::vector<SweepResult> &res, double rn, double directed) {
    for (const auto &b : res) {
        if (b.variant != "ex-bwr") continue;
        for (const auto &e : res) {
            if (e.variant != "ex" || e.mode != b.mode) continue;
            double margin = b.mode == std::string(kModes[0].name) ? rn : directed;
            EXPECT_LE(b.max_ulp, e.max_ulp + margin) << b.mode << ": reproducible form " << b.max_ulp
                                                    << " ulp, ex body " << e.max_ulp;
        }
    }
}

}  // namespace

TEST(BwrSpecial, Logarithms) {
    // log: a negative finite argument gives the positive quiet NaN, -inf gives x - x (the
    // default NaN); both report code 3 with invalid.
    auto log = f_log();
    log.variants.resize(1);
    check_rows(log, log_rows(code::log_argument_0) +
                        std::vector<Row<double>>{
                            {-1.0, f64(0x7ff8000000000000), INV, EDOM, code::log_argument_negative, ALL_MODES},
                            {-0x1p-1074, f64(0x7ff8000000000000), INV, EDOM, code::log_argument_negative, RN},
                            {-INFINITY, NAN, INV, EDOM, code::log_argument_negative, RN},
                            // subnormals, through the 2^52 adjustment
                            {0x1p-1074, CR, NX, 0, NO_CODE, ALL_MODES},
                            {0x1.fffffffffffffp-1023, CR, NX, 0, NO_CODE, ALL_MODES},
                            {0x1.5555555555555p-1040, CR, NX, 0, NO_CODE, ALL_MODES},
                            // row 256 and row 0 next to 1, and the largest double
                            {0x1.fffffffffffffp-1, CR, NX, 0, NO_CODE, ALL_MODES},
                            {0x1.0000000000001p+0, CR, NX, 0, NO_CODE, ALL_MODES},
                            {2.0, CR, NX, 0, NO_CODE, ALL_MODES},
                            {DBL_MAX, CR, NX, 0, NO_CODE, ALL_MODES}});
    // log2 of every power of two and log10 of every exact power of ten are exact, raising
    // nothing; a neighbour is not taken for one.
    std::vector<Row<double>> twos, tens;
    for (int k = -1074; k <= 1023; ++k) twos.push_back({std::ldexp(1.0, k), double(k), NONE, 0, NO_CODE, ALL_MODES});
    double p = 1;
    for (int k = 1; k <= 22; ++k) {
        p *= 10;
        tens.push_back({p, double(k), NONE, 0, NO_CODE, ALL_MODES});
        tens.push_back({std::nextafter(p, 0.0), CR, NX, 0, NO_CODE, ALL_MODES});
    }
    auto log2 = f_log2(), log10 = f_log10();
    log2.variants.resize(1);
    log10.variants.resize(1);
    std::vector<Row<double>> neg2 = {{-2.0, NAN, INV, EDOM, code::log2_argument_negative, ALL_MODES}};
    std::vector<Row<double>> neg10 = {{-2.0, NAN, INV, EDOM, code::log10_argument_negative, ALL_MODES}};
    check_rows(log2, log_rows(code::log2_argument_0) + neg2 + twos);
    check_rows(log10, log_rows(code::log10_argument_0) + neg10 + tens);
    auto log1pf = f_log1pf();
    log1pf.variants.resize(1);
    check_rows(log1pf, std::vector<Row<float>>{
                           {-1.0f, -INFINITY, DZ, ERANGE, code::log1pf_argument_minus_1, ALL_MODES},
                           {-2.0f, NAN, INV, EDOM, code::log1pf_argument_below_minus_1, ALL_MODES},
                           {0.0f, 0.0f, NONE, 0, NO_CODE, ALL_MODES},
                           {-0.0f, -0.0f, NONE, 0, NO_CODE, ALL_MODES},
                           {INFINITY, INFINITY, NONE, 0, NO_CODE, ALL_MODES},
                           {0x1p-30f, CR, NX, 0, NO_CODE, RN},
                           {0x1p-140f, CR, UN, 0, NO_CODE, RN},
                           {FLT_MAX, CR, NX, 0, NO_CODE, ALL_MODES}});
}

TEST(BwrSpecial, Exponentials) {
    auto exp = f_exp(), exp10 = f_exp10();
    exp.variants.resize(1);
    exp10.variants.resize(1);
    check_rows(exp, std::vector<Row<double>>{
                        {0.0, 1.0, NONE, 0, NO_CODE, ALL_MODES},
                        {-INFINITY, 0.0, NONE, 0, NO_CODE, ALL_MODES},
                        {INFINITY, INFINITY, NONE, 0, NO_CODE, ALL_MODES},
                        {snan<double>(), NAN, INV, 0, NO_CODE, ALL_MODES},
                        {0x1.62e42fefa39efp+9, CR, NX, 0, NO_CODE, ALL_MODES},  // the largest finite result
                        {0x1.62e42fefa39f0p+9, CR, OV, ERANGE, code::exp_overflow, RN},
                        {-0x1.74385446d71c3p+9, CR, UN, ERANGE_IF_ZERO, code::exp_underflow, RN},
                        {-0x1.6232bdd7abcd2p+9, CR, NX, 0, NO_CODE, ALL_MODES},  // the least normal result
                        {0x1p-60, CR, NX, 0, NO_CODE, ALL_MODES}});
    // exp10 lets its own result stand on overflow: infinity, the flags, and no report (errno
    // untouched); the exact powers of ten stay exact.
    check_rows(exp10, std::vector<Row<double>>{
                          {0x1.34413509f79ffp+8, INFINITY, OV, 0, NO_CODE, RN},
                          {400.0, INFINITY, OV, 0, NO_CODE, RN},
                          {400.0, DBL_MAX, OV, 0, NO_CODE, RZ},
                          {22.0, 1e22, NONE, 0, NO_CODE, ALL_MODES},
                          {3.0, 1000.0, NONE, 0, NO_CODE, ALL_MODES},
                          {-INFINITY, 0.0, NONE, 0, NO_CODE, ALL_MODES},
                          {-400.0, 0.0, UN, 0, NO_CODE, RN}});
}

// The logarithms: no worse than the ex body to nearest; in the directed modes, where each
// body's intermediate roundings follow the caller's mode, within a few thousandths of an ulp.
TEST(BwrAccuracy, Log) { same_accuracy(sweep(log_plan(f_log())), 0.0, 0.005); }
TEST(BwrAccuracy, Log2) { same_accuracy(sweep(log_plan(f_log2())), 0.0, 0.005); }
TEST(BwrAccuracy, Log10) { same_accuracy(sweep(log_plan(f_log10())), 0.0, 0.005); }
TEST(BwrAccuracy, Log1pf) {
    auto s = log_plan(f_log1pf());
    s.regions.push_back({20000, {-1 + 0x1p-24f, -0x1p-149f}});
    s.skip = [](const float *x) { return *x <= -1.0f; };
    same_accuracy(sweep(s), 0.0, 0.0);
}
// exp: one term fewer than the ex body (its polynomial's error 2^-59.36 against 2^-63.22)
// costs at most a hundredth of an ulp (measured: 0.522 against 0.514 to nearest).
TEST(BwrAccuracy, Exp) { same_accuracy(sweep(exp_plan(f_exp(), -745.2, 709.79)), 0.01, 0.01); }
TEST(BwrAccuracy, Exp10) {
    auto s = exp_plan(f_exp10(), -323.6, 308.25);
    // Below 2^-1054 the ex body (and so this one) rounds its subnormal result twice: up to
    // one ulp there to nearest.
    s.tier_bounds = {{EX, RN, 1.0}};
    same_accuracy(sweep(s), 0.0, 0.0);
}

// log1p's reproducible form is its ex body under a second name, in rows 1 to 4 of log1p's
// table; truncf's stands at the body its entry is bound to.
TEST(BwrNames, SecondNamesStandAtTheExBody) {
    EXPECT_EQ(reinterpret_cast<void *>(&__bwr_log1p), reinterpret_cast<void *>(&__libm_log1p_ex));
    EXPECT_EQ(reinterpret_cast<void *>(&__bwr_truncf), reinterpret_cast<void *>(&__libm_truncf_ex));
    bool found = false;
    for (const auto &d : tsr_dispatch_info) {
        if (std::strcmp(d.name, "log1p") != 0) continue;
        found = true;
        for (int row = 1; row <= 4; ++row)
            EXPECT_EQ(d.table[row], reinterpret_cast<void *>(&__bwr_log1p)) << "row " << row;
    }
    EXPECT_TRUE(found);
}

// The long run: every float through __bwr_log1pf, and 100 times the default inputs of the
// double bodies, each beside its ex body.
TEST(BwrLong, EveryFloat) {
    auto s = log_plan(f_log1pf());
    s.skip = [](const float *x) { return *x <= -1.0f; };
    same_accuracy(every_float(s), 0.0, 0.0);
}
TEST(BwrLong, Doubles) {
    for (auto s : {log_plan(f_log()), log_plan(f_log2()), log_plan(f_log10())}) {
        s.scale = 100;
        same_accuracy(sweep(s), 0.0, 0.005);
    }
    auto e = exp_plan(f_exp(), -745.2, 709.79);
    e.scale = 100;
    same_accuracy(sweep(e), 0.01, 0.01);
    auto e10 = exp_plan(f_exp10(), -323.6, 308.25);
    e10.tier_bounds = {{EX, RN, 1.0}};
    e10.scale = 100;
    same_accuracy(sweep(e10), 0.0, 0.0);
}

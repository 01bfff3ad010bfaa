// Accuracy of every tier against MPFR, in all four rounding modes.
#include "log_test_util.h"

namespace {

constexpr size_t kN = 100000;
constexpr double kRnD = 0.55, kRnF = 0.51, kDir = 2.0;
// The float e7 tiers keep a cubic in u with |u| up to 2^-8.5: just below 1, where the result
// is ~2^-9 and its ulp 2^-33, the missing u^4/4 term costs up to ~0.016 ulp.
constexpr double kRnFe7 = 0.52;

TEST(LogAccuracy, Log) {
    auto xs = lt::positive_inputs<double>(kN, 11);
    lt::Refs refs(xs, mpfr_log);
    lt::sweep("log", tsr_tiers_log, xs, refs, kRnD, kDir);
    lt::sweep("log", tsr_portable_tiers_log, xs, refs, kRnD, kDir);
}

}  // namespace

namespace {
TEST(LogAccuracy, Log2) {
    auto xs = lt::positive_inputs<double>(kN, 21);
    lt::Refs refs(xs, mpfr_log2);
    lt::sweep("log2", tsr_tiers_log2, xs, refs, kRnD, kDir);
}

TEST(LogAccuracy, Log10) {
    auto xs = lt::positive_inputs<double>(kN, 31);
    lt::Refs refs(xs, mpfr_log10);
    lt::sweep("log10", tsr_tiers_log10, xs, refs, kRnD, kDir);
    lt::sweep("log10", tsr_portable_tiers_log10, xs, refs, kRnD, kDir);
}
}  // namespace

namespace {
TEST(LogAccuracy, FloatForms) {
    auto xs = lt::positive_inputs<float>(kN, 41);
    {
        lt::Refs refs(xs, mpfr_log);
        lt::sweep("logf", tsr_tiers_logf, xs, refs, kRnF, kDir, "e7", kRnFe7);
    }
    {
        lt::Refs refs(xs, mpfr_log2);
        lt::sweep("log2f", tsr_tiers_log2f, xs, refs, kRnF, kDir, "e7", kRnFe7);
    }
    {
        lt::Refs refs(xs, mpfr_log10);
        lt::sweep("log10f", tsr_tiers_log10f, xs, refs, kRnF, kDir, "e7", kRnFe7);
    }
}
}  // namespace

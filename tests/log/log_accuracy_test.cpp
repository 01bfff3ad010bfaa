// Accuracy of every tier against MPFR, in all four rounding modes.
#include "log_test_util.h"

namespace {

constexpr size_t kN = 100000;
constexpr double kRnD = 0.55, kRnF = 0.51, kDir = 2.0;

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

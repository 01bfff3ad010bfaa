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

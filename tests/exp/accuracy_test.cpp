// Accuracy against MPFR: >= 100,000 inputs per function and tier in the default run, log-
// uniform over the domain plus the regions near the overflow and underflow thresholds and
// near zero; the float functions over every input in the Long run.
#include "sweep.h"

using namespace expt;

namespace {

template <class T>
std::vector<T> inputs(T tiny, T lo_neg, T hi_pos, T band, uint64_t seed) {
    // lo_neg: the most negative input of interest; hi_pos: the largest finite result's input.
    std::vector<T> xs = th::log_uniform<T>(T(0x1p-8), hi_pos, 60000, seed, false);
    xs = cat(xs, th::log_uniform<T>(T(0x1p-8), -lo_neg, 60000, seed + 1, false));
    for (size_t i = 60000; i < xs.size(); ++i) xs[i] = -xs[i];
    xs = cat(xs, th::log_uniform<T>(tiny, T(0x1p-8), 20000, seed + 2, true));
    xs = cat(xs, th::uniform<T>(hi_pos - band, hi_pos, 10000, seed + 3));
    xs = cat(xs, th::uniform<T>(lo_neg, lo_neg + band, 10000, seed + 4));
    return xs;
}

struct Case {
    const char *name;
    th::MpFn1 ref;
};

}  // namespace

TEST(ExpAccuracy, Exp) {
    auto xs = inputs<double>(0x1p-60, -745.2, 709.79, 40.0, 11);
    auto refs = references(mpfr_exp, xs);
    sweep("exp", tsr_tiers_exp, xs, refs, 0.55, 2.0);
    sweep("exp", tsr_portable_tiers_exp, xs, refs, 0.55, 2.0);
}

TEST(ExpAccuracy, Expf) {
    auto xs = inputs<float>(0x1p-30f, -103.98f, 88.72f, 10.0f, 21);
    auto refs = references(mpfr_exp, xs);
    sweep("expf", tsr_tiers_expf, xs, refs, 0.51, 2.0);
}

TEST(ExpAccuracy, Exp2) {
    auto xs = inputs<double>(0x1p-60, -1075.0, 1023.99, 60.0, 31);
    auto refs = references(mpfr_exp2, xs);
    sweep("exp2", tsr_tiers_exp2, xs, refs, 0.55, 2.0);
    sweep("exp2", tsr_portable_tiers_exp2, xs, refs, 0.55, 2.0);
}

TEST(ExpAccuracy, Exp2f) {
    auto xs = inputs<float>(0x1p-30f, -150.0f, 127.99f, 12.0f, 41);
    auto refs = references(mpfr_exp2, xs);
    // The single-precision FMA tiers round their polynomial in float: a little above the
    // target (0.5112 seen over every 67th float).
    sweep("exp2f", tsr_tiers_exp2f, xs, refs, 0.51, 2.0, 0.52);
    sweep("exp2f", tsr_portable_tiers_exp2f, xs, refs, 0.51, 2.0, 0.52);
}

TEST(ExpAccuracy, Exp10) {
    auto xs = inputs<double>(0x1p-60, -317.3, 308.25, 20.0, 51);
    auto refs = references(mpfr_exp10, xs);
    sweep("exp10", tsr_tiers_exp10, xs, refs, 0.55, 2.0);
    // Below 2^-1054 the 21-bit head that tier ex keeps apart no longer scales exactly onto the
    // subnormal grid, and its result is rounded twice: up to one ulp there.
    auto deep = th::uniform<double>(-323.6, -317.3, 20000, 52);
    auto drefs = references(mpfr_exp10, deep);
    sweep("exp10", tsr_tiers_exp10, deep, drefs, 1.0, 2.0);
}

TEST(ExpAccuracy, Exp10f) {
    auto xs = inputs<float>(0x1p-30f, -45.4f, 38.53f, 4.0f, 61);
    auto refs = references(mpfr_exp10, xs);
    sweep("exp10f", tsr_tiers_exp10f, xs, refs, 0.51, 2.0);
}

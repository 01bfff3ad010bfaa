// Accuracy against MPFR: >= 100,000 inputs per function and tier, four rounding modes:
// log-uniform over each function's range (both signs), dense around the points where the
// algorithms change hands and up to the overflow thresholds.
#include "exp/sweep.h"

using namespace expt;

namespace {

// Log-uniform magnitudes in [lo, hi] of both signs, plus uniform bands around `edges`.
template <class T>
std::vector<T> inputs(T lo, T hi, std::initializer_list<T> edges, uint64_t seed) {
    std::vector<T> xs = th::log_uniform<T>(lo, hi, 100000, seed, true);
    for (T e : edges) xs = cat(xs, th::uniform<T>(e - e / 64, e + e / 64, 4000, seed += 7));
    return xs;
}

// Where the bodies switch: polynomial/two-sided/one-sided/overflow (ex), the l9 band ends.
const auto kSinhEdges = {0.01, 0.02, 0.359375, 22.87, 640.0, 710.4};
const auto kTanhEdges = {0.02, 0.0625, 0.1875, 0.359375, 5.1, 19.06, 24.0};

}  // namespace

TEST(HypAccuracy, Sinh) {
    auto xs = inputs<double>(0x1p-30, 710.47, kSinhEdges, 101);
    auto refs = references(mpfr_sinh, xs);
    sweep("sinh", tsr_tiers_sinh, xs, refs, 0.55, 2.0);
}

TEST(HypAccuracy, Cosh) {
    auto xs = inputs<double>(0x1p-30, 710.47, kSinhEdges, 202);
    auto refs = references(mpfr_cosh, xs);
    sweep("cosh", tsr_tiers_cosh, xs, refs, 0.55, 2.0);
}

TEST(HypAccuracy, Tanh) {
    auto xs = inputs<double>(0x1p-30, 40.0, kTanhEdges, 303);
    auto refs = references(mpfr_tanh, xs);
    sweep("tanh", tsr_tiers_tanh, xs, refs, 0.55, 2.0);
}

TEST(HypAccuracy, Sinhf) {
    auto xs = inputs<float>(0x1p-20f, 89.41f, {0.0625f, 0.359375f, 0.5f, 32.0f, 48.0f, 89.0f}, 404);
    auto refs = references(mpfr_sinh, xs);
    sweep("sinhf", tsr_tiers_sinhf, xs, refs, 0.51, 2.0);
}

TEST(HypAccuracy, Coshf) {
    auto xs = inputs<float>(0x1p-20f, 89.41f, {0.0625f, 0.359375f, 0.5f, 32.0f, 48.0f, 89.0f}, 505);
    auto refs = references(mpfr_cosh, xs);
    sweep("coshf", tsr_tiers_coshf, xs, refs, 0.51, 2.0);
}

TEST(HypAccuracy, Tanhf) {
    auto xs = inputs<float>(0x1p-20f, 20.0f, {0.0625f, 0.125f, 0.25f, 1.0f, 9.0f, 10.0f}, 606);
    auto refs = references(mpfr_tanh, xs);
    sweep("tanhf", tsr_tiers_tanhf, xs, refs, 0.51, 2.0);
}

// The long sweeps: 10 million floats per function (every tier, nearest and one directed mode),
// atan2f over 10 million pairs, and the double functions over 10 million arguments each.
#include "exp/sweep.h"

using namespace expt;

namespace {

// n float patterns, uniform over the bits of [lo, hi] (positive), both signs.
std::vector<float> float_bits(uint32_t lo, uint32_t hi, size_t n, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::vector<float> xs(n);
    for (size_t i = 0; i < n; ++i) {
        uint32_t b = lo + uint32_t(g() % (uint64_t(hi - lo) + 1));
        xs[i] = std::bit_cast<float>(b | (i & 1 ? 0x80000000u : 0));
    }
    return xs;
}

}  // namespace

TEST(InvtrigLong, Acosf) {
    auto xs = float_bits(0, 0x3f800000u, 10000000, 1);
    sweep("acosf", tsr_tiers_acosf, xs, references(mpfr_acos, xs), 0.51, 2.0);
}
TEST(InvtrigLong, Asinf) {
    auto xs = float_bits(0, 0x3f800000u, 10000000, 2);
    sweep("asinf", tsr_tiers_asinf, xs, references(mpfr_asin, xs), 0.51, 2.0);
}
TEST(InvtrigLong, Atanf) {
    auto xs = float_bits(0, 0x7f7fffffu, 10000000, 3);
    sweep("atanf", tsr_tiers_atanf, xs, references(mpfr_atan, xs), 0.51, 2.0);
}
TEST(InvtrigLong, Doubles) {
    auto a = th::uniform<double>(-1.0, 1.0, 10000000, 4);
    auto ra = references(mpfr_asin, a);
    sweep("asin", tsr_tiers_asin, a, ra, 0.55, 2.0);
    auto c = th::uniform<double>(-1.0, 1.0, 10000000, 5);
    sweep("acos", tsr_tiers_acos, c, references(mpfr_acos, c), 0.55, 2.0);
    auto t = th::log_uniform<double>(0x1p-30, 0x1p30, 10000000, 6, true);
    sweep("atan", tsr_tiers_atan, t, references(mpfr_atan, t), 0.55, 2.0);
}

// Long: every float (or every n-th with TSR_HYP_LONG_STRIDE=n) of sinhf, coshf, tanhf and
// both results of sinhcoshf, each tier, four modes; 10 million doubles per double function.
// Inputs go in blocks whose MPFR references are made once and measured in every tier and mode.
#include <cstdlib>

#include "exp/sweep.h"

using namespace expt;

namespace {

template <auto F, bool Cos, class T>
T part(T x) {
    T s, c;
    F(x, &s, &c);
    return Cos ? c : s;
}
using TF = tsr::TierFn<float (*)(float)>;
const TF kSinef[] = {{"ex", tsr::Tier::ex, part<__libm_sinhcoshf_ex_local, false, float>},
                     {"e7", tsr::Tier::e7, part<__libm_sinhcoshf_e7_local, false, float>}};
const TF kCosinef[] = {{"ex", tsr::Tier::ex, part<__libm_sinhcoshf_ex_local, true, float>},
                       {"e7", tsr::Tier::e7, part<__libm_sinhcoshf_e7_local, true, float>}};

// The worst error of each tier and mode over the inputs, block by block.
template <class T, size_t N>
void measure(const char *fname, const tsr::TierFn<T (*)(T)> (&tiers)[N], th::MpFn1 ref,
             const std::vector<T> &all, double rn_bound) {
    Worst w[N][4];
    const size_t kBlock = 1 << 20;
    for (size_t b = 0; b < all.size(); b += kBlock) {
        std::vector<T> xs(all.begin() + b, all.begin() + std::min(all.size(), b + kBlock));
        auto refs = references(ref, xs);
        for (size_t t = 0; t < N; ++t) {
            if (!tsr::tier_runnable(tiers[t].tier)) continue;
            for (int m = 0; m < 4; ++m) {
                th::ModeGuard g(th::kModes[m].fe);
                for (size_t i = 0; i < xs.size(); ++i) {
                    if (refs[i].hi == 0) continue;
                    double e = ulps(tiers[t].fn(xs[i]), refs[i]);
                    if (!(e <= w[t][m].err)) w[t][m] = {e, double(xs[i])};
                }
            }
        }
    }
    for (size_t t = 0; t < N; ++t) {
        for (int m = 0; m < 4; ++m) {
            std::printf("[  ACCURACY] %-11s %-3s %-10s max %.4f ulp at x = %a (%zu inputs)\n", fname, tiers[t].name,
                        th::kModes[m].name, w[t][m].err, w[t][m].x, all.size());
            EXPECT_LT(w[t][m].err, m == 0 ? rn_bound : 2.0) << fname << " " << tiers[t].name << " " << th::kModes[m].name;
        }
    }
}

// Every stride-th finite float with |x| <= hi, both signs.
std::vector<float> floats(float hi) {
    const char *s = std::getenv("TSR_HYP_LONG_STRIDE");
    uint64_t stride = s ? std::max(1ull, std::strtoull(s, nullptr, 0)) : 1;
    std::vector<float> xs;
    for (uint64_t u = 0; u <= 0xffffffffull; u += stride) {
        float x = std::bit_cast<float>(uint32_t(u));
        if (std::fabs(x) <= hi) xs.push_back(x);
    }
    return xs;
}

}  // namespace

TEST(HypLong, SinhfEveryInput) { measure("sinhf", tsr_tiers_sinhf, mpfr_sinh, floats(89.41f), 0.51); }
TEST(HypLong, CoshfEveryInput) { measure("coshf", tsr_tiers_coshf, mpfr_cosh, floats(89.41f), 0.51); }
TEST(HypLong, TanhfEveryInput) { measure("tanhf", tsr_tiers_tanhf, mpfr_tanh, floats(20.0f), 0.51); }
TEST(HypLong, SinhcoshfEveryInput) {
    auto xs = floats(89.41f);
    measure("sinhcoshf.s", kSinef, mpfr_sinh, xs, 0.51);
    measure("sinhcoshf.c", kCosinef, mpfr_cosh, xs, 0.51);
}
TEST(HypLong, Doubles10M) {
    auto xs = th::log_uniform<double>(0x1p-30, 710.47, 10000000, 81, true);
    measure("sinh", tsr_tiers_sinh, mpfr_sinh, xs, 0.55);
    measure("cosh", tsr_tiers_cosh, mpfr_cosh, xs, 0.55);
    auto ts = th::log_uniform<double>(0x1p-30, 40.0, 10000000, 82, true);
    measure("tanh", tsr_tiers_tanh, mpfr_tanh, ts, 0.55);
}

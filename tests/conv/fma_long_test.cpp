// Fused multiply-add, the long run: many millions of generated hard triples per function
// against the processor's instruction, every variant and mode (FMA_LONG_TRIPLES sets the
// count; 25 million by default), and fmal against MPFR.
#include "fma_cases.h"

using namespace fmat;

namespace {

size_t count() {
    const char *s = std::getenv("FMA_LONG_TRIPLES");
    return s ? size_t(std::strtoull(s, nullptr, 10)) : size_t(25000000);
}

template <class T>
void run(const Variants<T> &vars, uint64_t seed, const char *name) {
    const size_t n = count(), chunk = 1000000;
    long bad = 0;
    for (size_t done = 0; done < n && bad == 0; done += chunk)
        bad += check(vars, generate<T>(seed + done, std::min(chunk, n - done)), name);
    EXPECT_EQ(bad, 0);
}

TEST(FmaLong, Double) {
    run(variants<double>(tsr_tiers_fma, ::fma, __bwr_fma, __libm_fma_d1, true), 1001, "fma");
}
TEST(FmaLong, Float) {
    run(variants<float>(tsr_tiers_fmaf, ::fmaf, __bwr_fmaf, __libm_fmaf_d1, false), 2002, "fmaf");
}

}  // namespace

// Every float (Long: not in the default run): each single-precision function of the family
// over every bit pattern of its domain, every tier, the four modes, against MPFR.
// TSR_ROOTS_LONG_STRIDE=n checks every n-th pattern instead (a quicker pass); hypotf takes
// 10 million random pairs.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "roots_util.h"

namespace {

uint64_t stride() {
    const char *s = std::getenv("TSR_ROOTS_LONG_STRIDE");
    uint64_t n = s ? std::strtoull(s, nullptr, 0) : 1;
    return n ? n : 1;
}

// Worst error per tier and mode over the float patterns [first, last] (both signs when the
// domain has them), two threads; references at 64 bits, ample for a float's ulp.
template <class Fn, size_t N>
void every_float(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], th::MpFn1 f, uint32_t first, uint32_t last,
                 double rn_bound, double dir_bound) {
    std::vector<const tsr::TierFn<Fn> *> run;
    for (const auto &t : tiers)
        if (tsr::tier_runnable(t.tier)) run.push_back(&t);
    const uint64_t step = stride();
    std::vector<double> worst(2 * run.size() * 4, 0.0), at(worst.size(), 0.0);
    auto work = [&](int id) {
        th::Mp v(64), a(64);
        for (uint64_t b = uint64_t(first) + id * step; b <= last; b += 2 * step) {
            float x = std::bit_cast<float>(uint32_t(b));
            th::set(a, x);
            f(v, a, MPFR_RNDN);
            if (!mpfr_regular_p(v)) continue;
            expt::Ref r;
            r.e = mpfr_get_exp(v) - 1;
            mpfr_mul_2si(v, v, -r.e, MPFR_RNDN);
            r.hi = mpfr_get_d(v, MPFR_RNDN);
            mpfr_sub_d(v, v, r.hi, MPFR_RNDN);
            r.lo = mpfr_get_d(v, MPFR_RNDN);
            for (int m = 0; m < 4; ++m) {
                th::ModeGuard g(th::kModes[m].fe);
                for (size_t t = 0; t < run.size(); ++t) {
                    double e = expt::ulps(run[t]->fn(x), r);
                    size_t k = (id * run.size() + t) * 4 + m;
                    if (!(e <= worst[k])) worst[k] = e, at[k] = x;
                }
            }
        }
    };
    std::thread t1(work, 1);
    work(0);
    t1.join();
    for (size_t t = 0; t < run.size(); ++t)
        for (int m = 0; m < 4; ++m) {
            size_t k0 = t * 4 + m, k1 = (run.size() + t) * 4 + m;
            size_t k = worst[k1] > worst[k0] ? k1 : k0;
            std::printf("[  ACCURACY] %-8s %-3s %-10s max %.4f ulp at x = %a (stride %llu)\n", fname, run[t]->name,
                        th::kModes[m].name, worst[k], at[k], (unsigned long long)step);
            EXPECT_LT(worst[k], m == 0 ? rn_bound : dir_bound) << fname << " " << run[t]->name;
        }
}

}  // namespace

TEST(RootsLong, Sqrtf) { every_float("sqrtf", tsr_tiers_sqrtf, mpfr_sqrt, 1, 0x7f7fffff, 0.5000001, 1.0); }
TEST(RootsLong, Invsqrtf) { every_float("invsqrtf", tsr_tiers_invsqrtf, mpfr_rec_sqrt, 1, 0x7f7fffff, 0.51, 2.0); }
TEST(RootsLong, Cbrtf) {
    every_float("cbrtf", tsr_tiers_cbrtf, mpfr_cbrt, 1, 0x7f7fffff, 0.51, 2.0);
    every_float("cbrtf", tsr_tiers_cbrtf, mpfr_cbrt, 0x80000001u, 0xff7fffffu, 0.51, 2.0);
}
TEST(RootsLong, Asinhf) { every_float("asinhf", tsr_tiers_asinhf, mpfr_asinh, 1, 0x7f7fffff, 0.51, 2.0); }
TEST(RootsLong, Acoshf) { every_float("acoshf", tsr_tiers_acoshf, mpfr_acosh, 0x3f800000, 0x7f7fffff, 0.51, 2.0); }
TEST(RootsLong, Atanhf) {
    every_float("atanhf", tsr_tiers_atanhf, mpfr_atanh, 1, 0x3f7fffff, 0.51, 2.0);
    every_float("atanhf", tsr_tiers_atanhf, mpfr_atanh, 0x80000001u, 0xbf7fffffu, 0.51, 2.0);
}
TEST(RootsLong, Hypotf) {
    auto x = th::log_uniform<float>(0x1p-149f, 0x1p127f, 5000000, 91, true);
    auto y = th::log_uniform<float>(0x1p-149f, 0x1p127f, 5000000, 92, true);
    auto x2 = th::log_uniform<float>(0x1p-20f, 0x1p20f, 5000000, 93, true);
    auto y2 = th::log_uniform<float>(0x1p-20f, 0x1p20f, 5000000, 94, true);
    x.insert(x.end(), x2.begin(), x2.end());
    y.insert(y.end(), y2.begin(), y2.end());
    roots::sweep2("hypotf", tsr_tiers_hypotf, x, y, mpfr_hypot, 0.51, 2.0);
}

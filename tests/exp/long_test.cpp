// The float functions over every input (Long: not in the default run).  Every finite float
// with |x| below the function's saturation bound is checked against MPFR in all four modes,
// every tier; beyond the bound the result is fixed (overflow or total underflow) and checked
// exactly.  TSR_EXP_LONG_STRIDE=n checks every n-th bit pattern instead (a quicker pass).
// Next to 0 the reference is the exponential series (see series_ref), checked against MPFR
// by ExpLong.SeriesReferenceMatchesMpfr.
#include <atomic>
#include <cstdlib>
#include <thread>

#include "sweep.h"

namespace {

// The reference next to 0, where MPFR would spend half of the run on inputs whose value is
// 1 + t + t^2/2 + ...: with t = x·ln b and |x| < 2^-20 the series to t^4 is exact within
// 2^-79 and its evaluation in double within 2^-68, against a float ulp of 2^-24.
expt::Ref series_ref(double t) {
    double d = t + (t * t) * (0.5 + t * (1.0 / 6 + t / 24));
    if (d >= 0) return {1.0, d, 0};
    return {2.0, 2 * d, -1};  // below 1: the value over 2^-1
}

// ln_b: the natural logarithm of the function's base, for the series next to 0.
template <class Fn, size_t N, size_t P>
void exhaustive(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], const tsr::TierFn<Fn> (&ptiers)[P],
                size_t np, th::MpFn1 ref, float bound, double ln_b) {
    std::vector<const tsr::TierFn<Fn> *> run;
    for (const auto &t : tiers) {
        if (tsr::tier_runnable(t.tier)) run.push_back(&t);
        else std::printf("[  NOTICE  ] %s tier %s not run: this processor lacks its instruction set\n", fname, t.name);
    }
    for (size_t i = 0; i < np; ++i) run.push_back(&ptiers[i]);
    const char *s = std::getenv("TSR_EXP_LONG_STRIDE");
    uint64_t stride = s ? std::strtoull(s, nullptr, 0) : 1;
    if (stride == 0) stride = 1;
    constexpr int kThreads = 2;
    std::vector<std::vector<expt::Worst>> worst(kThreads, std::vector<expt::Worst>(run.size() * 4));
    std::atomic<uint64_t> bad{0};
    // Inputs go in blocks: references first (MPFR at 64 bits, ample for a float's ulp), then
    // each mode once per block for every tier.
    auto work = [&](int id) {
        th::Mp v(64), a(64);
        constexpr size_t kBlock = 4096;
        std::vector<float> xs;
        std::vector<expt::Ref> refs;
        std::vector<bool> sat;
        auto flush = [&] {
            for (int m = 0; m < 4; ++m) {
                th::ModeGuard g(th::kModes[m].fe);
                bool up = m == 1, down = m == 2 || m == 3;
                for (size_t t = 0; t < run.size(); ++t) {
                    expt::Worst &w = worst[id][t * 4 + m];
                    for (size_t i = 0; i < xs.size(); ++i) {
                        float x = xs[i], y = run[t]->fn(x);
                        if (sat[i]) {
                            // Saturated: +inf or the largest float above, 0 or the smallest
                            // subnormal below, by the mode.
                            float want = x > 0 ? (down ? 0x1.fffffep127f : INFINITY) : (up ? 0x1p-149f : 0.0f);
                            if (std::bit_cast<uint32_t>(y) != std::bit_cast<uint32_t>(want) && bad++ < 10)
                                std::printf("%s %s %s x = %a: %a, want %a\n", fname, run[t]->name, th::kModes[m].name, x, y, want);
                            continue;
                        }
                        double e = expt::ulps(y, refs[i]);
                        if (!(e <= w.err)) w = {e, double(x)};
                    }
                }
            }
            xs.clear();
            refs.clear();
            sat.clear();
        };
        for (uint64_t u = uint64_t(id) * stride; u <= 0xffffffffull; u += stride * kThreads) {
            float x = std::bit_cast<float>(uint32_t(u));
            if (!(x == x) || x == INFINITY || x == -INFINITY) continue;
            bool beyond = x > bound || x < -bound;
            expt::Ref r{0, 0, 0};
            if (!beyond && std::fabs(x) < 0x1p-20f) {
                r = series_ref(double(x) * ln_b);
            } else if (!beyond) {
                th::set(a, x);
                ref(v, a, MPFR_RNDN);
                if (mpfr_get_exp(v) - 1 > 127) beyond = true;
                else {
                    r.e = mpfr_get_exp(v) - 1;
                    mpfr_mul_2si(v, v, -r.e, MPFR_RNDN);
                    r.hi = mpfr_get_d(v, MPFR_RNDN);
                    mpfr_sub_d(v, v, r.hi, MPFR_RNDN);
                    r.lo = mpfr_get_d(v, MPFR_RNDN);
                }
            }
            xs.push_back(x);
            refs.push_back(r);
            sat.push_back(beyond);
            if (xs.size() == kBlock) flush();
        }
        flush();
    };
    std::vector<std::thread> th;
    for (int i = 0; i < kThreads; ++i) th.emplace_back(work, i);
    for (auto &t : th) t.join();
    EXPECT_EQ(bad.load(), 0u);
    for (size_t t = 0; t < run.size(); ++t) {
        for (int m = 0; m < 4; ++m) {
            expt::Worst w;
            for (int i = 0; i < kThreads; ++i)
                if (!(worst[i][t * 4 + m].err <= w.err)) w = worst[i][t * 4 + m];
            std::printf("[  ACCURACY] %-7s %-12s %-8s max %.4f ulp at x = %a (every %llu-th float)\n", fname,
                        run[t]->name, th::kModes[m].name, w.err, w.x, (unsigned long long)stride);
            bool fma = run[t]->name[0] == 'l' || run[t]->name[0] == 'z' || run[t]->name[0] == 'd';
            double bound_rn = (fma && std::string(fname) == "exp2f") ? 0.52 : 0.51;
            EXPECT_LT(w.err, m == 0 ? bound_rn : 2.0) << fname << " " << run[t]->name << " " << th::kModes[m].name;
        }
    }
}

template <class Fn>
const tsr::TierFn<Fn> kNone[1] = {{"", tsr::Tier::ex, nullptr}};

}  // namespace

TEST(ExpLong, ExpfEveryInput) { exhaustive("expf", tsr_tiers_expf, kNone<float (*)(float)>, 0, mpfr_exp, 110.0f, 1.0); }
TEST(ExpLong, Exp2fEveryInput) {
    exhaustive("exp2f", tsr_tiers_exp2f, tsr_portable_tiers_exp2f, 2, mpfr_exp2, 160.0f, 0x1.62e42fefa39efp-1);
}
TEST(ExpLong, Exp10fEveryInput) { exhaustive("exp10f", tsr_tiers_exp10f, kNone<float (*)(float)>, 0, mpfr_exp10, 50.0f, 0x1.26bb1bbb55516p+1); }

TEST(ExpLong, SeriesReferenceMatchesMpfr) {
    // The series against MPFR over |x| < 2^-20 for the three bases: every 2^12-th float and
    // the ends of the range, both signs.
    struct Base {
        th::MpFn1 f;
        double ln_b;
    } bases[3] = {{mpfr_exp, 1.0}, {mpfr_exp2, 0x1.62e42fefa39efp-1}, {mpfr_exp10, 0x1.26bb1bbb55516p+1}};
    for (const Base &b : bases) {
        th::Mp a(24), v(200);
        for (uint32_t u = 0; u < 0x35800000u; u += 0x1000u) {
            for (uint32_t sign : {0u, 0x80000000u}) {
                float x = std::bit_cast<float>(u | sign);
                expt::Ref r = series_ref(double(x) * b.ln_b);
                mpfr_set_flt(a, x, MPFR_RNDN);
                b.f(v, a, MPFR_RNDN);
                mpfr_mul_2si(v, v, -r.e, MPFR_RNDN);
                mpfr_sub_d(v, v, r.hi, MPFR_RNDN);
                mpfr_sub_d(v, v, r.lo, MPFR_RNDN);
                ASSERT_LE(std::fabs(mpfr_get_d(v, MPFR_RNDN)), 0x1p-66) << b.ln_b << " " << x;
            }
        }
    }
}

// The long sweeps (label `long`): every positive float (and every float above -1 for
// log1pf) in every tier and mode, and 10 million doubles per function and tier.  References
// come from MPFR once per input; errors are then measured in double-double arithmetic, and
// the work is spread over the processor's threads.
#include <thread>

#include "log_test_util.h"

namespace {

// Reference of a block as a double pair (hi + lo within 2^-106 relative of the exact value).
// Precision: 40 bits past the format's own, far past what an error of a few hundredths of an
// ulp needs.
template <class T>
void refs_block(const T *xs, size_t n, th::MpFn1 f, double *hi, double *lo) {
    constexpr mpfr_prec_t prec = th::Format<T>::p + 40;
    th::Mp r(prec), t(2 * prec), a(th::Format<T>::p);
    for (size_t i = 0; i < n; ++i) {
        th::set(a, xs[i]);
        f(r, a, MPFR_RNDN);
        if (!mpfr_number_p(r) || mpfr_zero_p(r)) {
            hi[i] = mpfr_get_d(r, MPFR_RNDN);
            lo[i] = 0;
            continue;
        }
        hi[i] = mpfr_get_d(r, MPFR_RNDN);
        mpfr_sub_d(t, r, hi[i], MPFR_RNDN);
        lo[i] = mpfr_get_d(t, MPFR_RNDN);
    }
}

// Error in ulps of T at the exact value.
template <class T>
double err_ulp(T got, double hi, double lo) {
    using F = th::Format<T>;
    if (std::isnan(got) || std::isinf(got) || std::isinf(hi)) return got == T(hi) ? 0 : INFINITY;
    int e = hi == 0 ? F::emin : std::max(std::ilogb(hi), F::emin);
    long double d = ((long double)got - hi) - lo;
    return double(std::fabs(d) / std::ldexp(1.0L, e - F::p + 1));
}

struct Max {
    double err = 0, x = 0;
};

// Sweeps inputs produced by next(i) for i < count, all tiers and modes, on all threads.
template <class T, class Fn, size_t N, class Gen>
void long_sweep(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], th::MpFn1 f, uint64_t count, Gen next,
                double rn_bound, double dir_bound, const char *loose_tier = nullptr, double loose_rn = 0) {
    unsigned nt = std::max(1u, std::thread::hardware_concurrency());
    std::vector<std::array<Max, N * 4>> res(nt);
    std::vector<std::thread> th;
    for (unsigned k = 0; k < nt; ++k)
        th.emplace_back([&, k] {
            constexpr size_t B = 1 << 14;
            std::vector<T> xs(B);
            std::vector<double> hi(B), lo(B);
            for (uint64_t start = uint64_t(k) * B; start < count; start += uint64_t(nt) * B) {
                size_t n = size_t(std::min<uint64_t>(B, count - start));
                for (size_t i = 0; i < n; ++i) xs[i] = next(start + i);
                refs_block(xs.data(), n, f, hi.data(), lo.data());
                for (size_t t = 0; t < N; ++t) {
                    if (!tsr::tier_runnable(tiers[t].tier)) continue;
                    for (int m = 0; m < 4; ++m) {
                        th::ModeGuard g(th::kModes[m].fe);
                        Max &mx = res[k][t * 4 + m];
                        for (size_t i = 0; i < n; ++i) {
                            double e = err_ulp<T>(tiers[t].fn(xs[i]), hi[i], lo[i]);
                            if (!(e <= mx.err)) mx = {e, double(xs[i])};
                        }
                    }
                }
            }
        });
    for (auto &t : th) t.join();
    for (size_t t = 0; t < N; ++t) {
        if (!tsr::tier_runnable(tiers[t].tier)) {
            std::printf("[  NOTICE  ] tier %s not run: this processor lacks its instruction set\n", tiers[t].name);
            continue;
        }
        for (int m = 0; m < 4; ++m) {
            Max w;
            for (auto &r : res)
                if (!(r[t * 4 + m].err <= w.err)) w = r[t * 4 + m];
            double bound = m == 0 ? rn_bound : dir_bound;
            if (m == 0 && loose_tier && std::strcmp(loose_tier, tiers[t].name) == 0) bound = loose_rn;
            std::printf("[ ACCURACY ] %-8s %-12s %-10s max %.4f ulp at %a (%llu inputs)\n", fname, tiers[t].name,
                        th::kModes[m].name, w.err, w.x, (unsigned long long)count);
            EXPECT_LT(w.err, bound) << fname << " " << tiers[t].name << " " << th::kModes[m].name;
        }
    }
}

// Every positive finite float.
float pos_float(uint64_t i) { return std::bit_cast<float>(uint32_t(i + 1)); }
constexpr uint64_t kPosFloats = 0x7f7fffffull;

TEST(LogLong, LogfExhaustive) {
    long_sweep<float>("logf", tsr_tiers_logf, mpfr_log, kPosFloats, pos_float, 0.51, 2.0, "e7", 0.53);
}
TEST(LogLong, Log2fExhaustive) {
    long_sweep<float>("log2f", tsr_tiers_log2f, mpfr_log2, kPosFloats, pos_float, 0.51, 2.0, "e7", 0.53);
}
TEST(LogLong, Log10fExhaustive) {
    long_sweep<float>("log10f", tsr_tiers_log10f, mpfr_log10, kPosFloats, pos_float, 0.51, 2.0, "e7", 0.53);
}
// Every float above -1: the positive ones, then -0x1p-149 .. -0x1.fffffep-1.
TEST(LogLong, Log1pfExhaustive) {
    long_sweep<float>("log1pf", tsr_tiers_log1pf, mpfr_log1p, kPosFloats + 0x3f7fffffull,
                      [](uint64_t i) {
                          return i < kPosFloats ? pos_float(i) : std::bit_cast<float>(uint32_t(0x80000001u + (i - kPosFloats)));
                      },
                      0.51, 2.0, "e7", 0.53);
}

// 10 million doubles: the default run's input mix, larger.
template <class Fn, size_t N>
void double_long(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], th::MpFn1 f, const std::vector<double> &xs) {
    long_sweep<double>(fname, tiers, f, xs.size(), [&](uint64_t i) { return xs[i]; }, 0.55, 2.0);
}

TEST(LogLong, Log10M) {
    auto xs = lt::positive_inputs<double>(10000000, 1001);
    double_long("log", tsr_tiers_log, mpfr_log, xs);
    double_long("log", tsr_portable_tiers_log, mpfr_log, xs);
}
TEST(LogLong, Log2_10M) {
    auto xs = lt::positive_inputs<double>(10000000, 1002);
    double_long("log2", tsr_tiers_log2, mpfr_log2, xs);
}
TEST(LogLong, Log10_10M) {
    auto xs = lt::positive_inputs<double>(10000000, 1003);
    double_long("log10", tsr_tiers_log10, mpfr_log10, xs);
    double_long("log10", tsr_portable_tiers_log10, mpfr_log10, xs);
}
TEST(LogLong, Log1p10M) {
    auto xs = lt::positive_inputs<double>(6000000, 1004);
    auto neg = th::uniform<double>(-0.9999999999999999, -0x1p-60, 4000000, 1005);
    xs.insert(xs.end(), neg.begin(), neg.end());
    double_long("log1p", tsr_tiers_log1p, mpfr_log1p, xs);
    double_long("log1p", tsr_portable_tiers_log1p, mpfr_log1p, xs);
}
TEST(LogLong, Log2p1_10M) {
    auto xs = lt::positive_inputs<double>(6000000, 1006);
    auto neg = th::uniform<double>(-0.9999999999999999, -0x1p-60, 4000000, 1007);
    xs.insert(xs.end(), neg.begin(), neg.end());
    double_long("log2p1", tsr_tiers_log2p1, mpfr_log2p1, xs);
    double_long("log2p1", tsr_portable_tiers_log2p1, mpfr_log2p1, xs);
}

}  // namespace

namespace {
// Every float in [1/2, 2), where the result is smallest against its argument (the hardest
// binades for the reductions), and for log1pf every float of either sign in [2^-12, 2^-9),
// where its e7 tier's error peaks: a shorter exhaustive run than the whole range.
float near_one(uint64_t i) { return std::bit_cast<float>(uint32_t(0x3f000000u + i)); }
constexpr uint64_t kNearOne = 1ull << 24;

TEST(LogLong, FloatsNearOneExhaustive) {
    long_sweep<float>("logf", tsr_tiers_logf, mpfr_log, kNearOne, near_one, 0.51, 2.0, "e7", 0.53);
    long_sweep<float>("log2f", tsr_tiers_log2f, mpfr_log2, kNearOne, near_one, 0.51, 2.0, "e7", 0.53);
    long_sweep<float>("log10f", tsr_tiers_log10f, mpfr_log10, kNearOne, near_one, 0.51, 2.0, "e7", 0.53);
    constexpr uint32_t lo = 0x39800000u, hi = 0x3b000000u;  // 2^-12, 2^-9
    long_sweep<float>("log1pf", tsr_tiers_log1pf, mpfr_log1p, 2ull * (hi - lo),
                      [](uint64_t i) {
                          return std::bit_cast<float>((i & 1 ? 0x80000000u : 0u) | (lo + uint32_t(i >> 1)));
                      },
                      0.51, 2.0, "e7", 0.53);
}
}  // namespace

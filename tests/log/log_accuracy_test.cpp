// Accuracy of every tier against MPFR, in all four rounding modes.
#include "log_test_util.h"

namespace {

constexpr size_t kN = 100000;
constexpr double kRnD = 0.55, kRnF = 0.51, kDir = 2.0;
// The float e7 tiers keep a cubic in u, |u| up to 2^-9 next to 1: just below 1, where the
// result is near 2^-9 and its ulp 2^-33, the missing u^4/4 term costs up to about 0.03 ulp
// (exhaustively near 1: 0.5231 for logf, 0.5245 for log1pf).
constexpr double kRnFe7 = 0.53;

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

namespace {
TEST(LogAccuracy, FloatForms) {
    auto xs = lt::positive_inputs<float>(kN, 41);
    {
        lt::Refs refs(xs, mpfr_log);
        lt::sweep("logf", tsr_tiers_logf, xs, refs, kRnF, kDir, "e7", kRnFe7);
    }
    {
        lt::Refs refs(xs, mpfr_log2);
        lt::sweep("log2f", tsr_tiers_log2f, xs, refs, kRnF, kDir, "e7", kRnFe7);
    }
    {
        lt::Refs refs(xs, mpfr_log10);
        lt::sweep("log10f", tsr_tiers_log10f, xs, refs, kRnF, kDir, "e7", kRnFe7);
    }
}
}  // namespace

namespace {
// log1p inputs: above -1 over the whole range, dense at every band boundary of the tiers.
template <class T>
std::vector<T> log1p_inputs(size_t n, uint64_t seed) {
    using F = th::Format<T>;
    std::vector<T> xs = th::log_uniform<T>(std::ldexp(T(1), F::emin - F::p + 1), std::numeric_limits<T>::max(),
                                           n / 2, seed);
    auto neg = th::log_uniform<T>(std::ldexp(T(1), F::emin - F::p + 1), T(1) - std::numeric_limits<T>::epsilon() / 2,
                                  n / 4, seed + 1);
    for (T v : neg) xs.push_back(-v);
    const double edges[] = {0x1p-57, 0x1p-54, 0x1p-20, 0x1p-13, 0x1p-7, 0x1p-6, 0x1.24p-4, 0.5, 1, 0x1p54};
    std::mt19937_64 g(seed + 2);
    while (xs.size() < n) {
        double e = edges[g() % std::size(edges)];
        T d = T(e) * std::ldexp(T(1), -F::p) * T(int(g() % 2000) - 1000);
        T v = T(e) + d;
        xs.push_back(g() & 1 ? v : -v);
    }
    for (T &v : xs)
        if (v <= T(-1)) v = T(-0.5);
    return xs;
}

TEST(LogAccuracy, Log1p) {
    auto xs = log1p_inputs<double>(kN, 51);
    lt::Refs refs(xs, mpfr_log1p);
    lt::sweep("log1p", tsr_tiers_log1p, xs, refs, kRnD, kDir);
    lt::sweep("log1p", tsr_portable_tiers_log1p, xs, refs, kRnD, kDir);
}

TEST(LogAccuracy, Log1pf) {
    auto xs = log1p_inputs<float>(kN, 61);
    lt::Refs refs(xs, mpfr_log1p);
    lt::sweep("log1pf", tsr_tiers_log1pf, xs, refs, kRnF, kDir, "e7", kRnFe7);
}
}  // namespace

namespace {
TEST(LogAccuracy, Log2p1) {
    auto xs = log1p_inputs<double>(kN, 71);
    lt::Refs refs(xs, mpfr_log2p1);
    lt::sweep("log2p1", tsr_tiers_log2p1, xs, refs, kRnD, kDir);
    lt::sweep("log2p1", tsr_portable_tiers_log2p1, xs, refs, kRnD, kDir);
}
}  // namespace

namespace {
// Thresholds and their neighbours: the ends of the range, the subnormal boundary, the
// scaling thresholds of the float tiers (2^126) and, for log1p and log2p1, next to -1.
template <class T>
std::vector<T> extremes() {
    using L = std::numeric_limits<T>;
    std::vector<T> seeds = {L::denorm_min(), L::min(), L::max(), T(1), T(2), T(0.5), std::ldexp(T(1), 126),
                            std::ldexp(T(1), 125), std::ldexp(T(1), -126), std::ldexp(T(1), 64)};
    std::vector<T> xs;
    for (T s : seeds) {
        T v = s;
        for (int k = 0; k < 4; ++k, v = std::nextafter(v, T(0))) xs.push_back(v);
        v = s;
        for (int k = 0; k < 4 && v < L::max(); ++k) xs.push_back(v = std::nextafter(v, L::infinity()));
    }
    return xs;
}

TEST(LogAccuracy, Extremes) {
    auto xd = extremes<double>();
    auto xf = extremes<float>();
    {
        lt::Refs r(xd, mpfr_log);
        lt::sweep("log", tsr_tiers_log, xd, r, kRnD, kDir);
        lt::sweep("log", tsr_portable_tiers_log, xd, r, kRnD, kDir);
    }
    {
        lt::Refs r(xd, mpfr_log2);
        lt::sweep("log2", tsr_tiers_log2, xd, r, kRnD, kDir);
    }
    {
        lt::Refs r(xd, mpfr_log10);
        lt::sweep("log10", tsr_tiers_log10, xd, r, kRnD, kDir);
        lt::sweep("log10", tsr_portable_tiers_log10, xd, r, kRnD, kDir);
    }
    {
        lt::Refs r(xf, mpfr_log);
        lt::sweep("logf", tsr_tiers_logf, xf, r, kRnF, kDir, "e7", kRnFe7);
    }
    {
        lt::Refs r(xf, mpfr_log2);
        lt::sweep("log2f", tsr_tiers_log2f, xf, r, kRnF, kDir, "e7", kRnFe7);
    }
    {
        lt::Refs r(xf, mpfr_log10);
        lt::sweep("log10f", tsr_tiers_log10f, xf, r, kRnF, kDir, "e7", kRnFe7);
    }
    // log1p and log2p1 also just above -1.
    for (int k = 1; k < 8; ++k) xd.push_back(-1 + k * 0x1p-53);
    for (int k = 1; k < 8; ++k) xf.push_back(-1 + k * 0x1p-24f);
    {
        lt::Refs r(xd, mpfr_log1p);
        lt::sweep("log1p", tsr_tiers_log1p, xd, r, kRnD, kDir);
        lt::sweep("log1p", tsr_portable_tiers_log1p, xd, r, kRnD, kDir);
    }
    {
        lt::Refs r(xd, mpfr_log2p1);
        lt::sweep("log2p1", tsr_tiers_log2p1, xd, r, kRnD, kDir);
        lt::sweep("log2p1", tsr_portable_tiers_log2p1, xd, r, kRnD, kDir);
    }
    {
        lt::Refs r(xf, mpfr_log1p);
        lt::sweep("log1pf", tsr_tiers_log1pf, xf, r, kRnF, kDir, "e7", kRnFe7);
    }
}
}  // namespace

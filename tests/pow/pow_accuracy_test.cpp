// Accuracy of pow and powf in every tier and rounding mode against MPFR.
//
// Inputs are (x, y) pairs whose results span the whole range: x log-uniform with y chosen
// so that y log2 x covers the exponent range, x within a few thousand ulps of 1 with huge
// y, integer y with positive and negative x, moderate random pairs, and pairs whose result
// lies within 2^-20 of 1.  The reference is computed once per pair and every tier and
// mode is measured against it.  POW_SWEEP_N overrides the count (the Long tests use 10M).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "harness/harness.h"

namespace {

template <class T> struct Pair { T x, y; };

size_t sweep_count(size_t dflt) {
    const char *e = std::getenv("POW_SWEEP_N");
    return e ? size_t(std::strtoull(e, nullptr, 10)) : dflt;
}

// emin/emax: binary exponent range of results to cover (subnormals included).
template <class T>
std::vector<Pair<T>> make_pairs(size_t n, uint64_t seed, double tlo, double thi, double xmin_log2,
                                double xmax_log2, int maxint) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u01(0.0, 1.0);
    auto logu = [&](double a, double b) { return std::exp2(a + (b - a) * u01(g)); };
    std::vector<Pair<T>> v;
    v.reserve(n);
    while (v.size() < n) {
        int cls = int(g() % 20);
        double x = 0, y = 0;
        if (cls < 7) {  // whole range of x, y chosen to cover the result range
            x = logu(xmin_log2, xmax_log2);
            double t = tlo + (thi - tlo) * u01(g);
            y = t / std::log2(double(T(x)));
        } else if (cls < 10) {  // x near 1, huge y
            double k = logu(0, 40);
            double ulp = std::numeric_limits<T>::epsilon();
            x = (g() & 1) ? 1.0 + ulp * std::floor(k) : 1.0 - 0.5 * ulp * std::floor(k);
            if (T(x) == T(1)) continue;
            double t = tlo + (thi - tlo) * u01(g);
            y = t / std::log2(double(T(x)));
        } else if (cls < 15) {  // integer y, either sign of x
            y = double(int64_t(g() % (2 * maxint + 1)) - maxint);
            if (y == 0) continue;
            double t = tlo + (thi - tlo) * u01(g);
            x = std::exp2(t / y);
            if (g() & 1) x = -x;
        } else if (cls < 18) {  // moderate pairs
            x = logu(-12, 12);
            y = -40 + 80 * u01(g);
        } else {  // results near 1
            x = logu(-20, 20);
            double t = logu(-60, -20) * ((g() & 1) ? 1 : -1);
            y = t / std::log2(double(T(x)));
        }
        T tx = T(x), ty = T(y);
        if (!std::isfinite(double(tx)) || !std::isfinite(double(ty)) || tx == 0 || ty == 0) continue;
        v.push_back({tx, ty});
    }
    return v;
}

struct Stat {
    double max = 0;
    double wx = 0, wy = 0;
};

template <class T, class Fn, size_t N>
void sweep(const tsr::TierFn<Fn> (&tiers)[N], const std::vector<Pair<T>> &pairs, double rn_target,
           double dir_target, const char *fname) {
    Stat st[N][4];
    bool run[N];
    for (size_t t = 0; t < N; ++t) {
        run[t] = tsr::tier_runnable(tiers[t].tier);
        if (!run[t]) std::printf("[  NOTICE  ] tier %s not run: this processor lacks its instruction set\n", tiers[t].name);
    }
    th::Mp ref;
    for (const auto &p : pairs) {
        th::ref(ref, mpfr_pow, p.x, p.y);
        bool overflows = mpfr_get_exp(ref) > th::Format<T>::emax + 1;
        for (size_t t = 0; t < N; ++t) {
            if (!run[t]) continue;
            for (int m = 0; m < 4; ++m) {
                T r;
                {
                    th::ModeGuard mg(th::kModes[m].fe);
                    r = tiers[t].fn(p.x, p.y);
                }
                double e;
                if (overflows) {  // beyond the format: the rounded result or nothing
                    T want = th::round_to<T>(ref, th::kModes[m].rnd);
                    e = th::bits_of(r) == th::bits_of(want) ? 0.0 : INFINITY;
                } else {
                    e = th::ulp_error<T>(r, ref);
                }
                if (!(e <= st[t][m].max)) st[t][m] = {e, double(p.x), double(p.y)};
            }
        }
    }
    for (size_t t = 0; t < N; ++t) {
        if (!run[t]) continue;
        for (int m = 0; m < 4; ++m) {
            const Stat &s = st[t][m];
            std::printf("%s %s %-10s max %.4f ulp at x=%a y=%a  (%zu pairs)\n", fname, tiers[t].name,
                        th::kModes[m].name, s.max, s.wx, s.wy, pairs.size());
            double target = m == 0 ? rn_target : dir_target;
            EXPECT_LT(s.max, target) << fname << " " << tiers[t].name << " " << th::kModes[m].name
                                     << " x=" << s.wx << " y=" << s.wy;
        }
    }
}

}  // namespace

TEST(PowAccuracy, AllTiersAllModes) {
    auto pairs = make_pairs<double>(sweep_count(100000), 1, -1080, 1030, -1074, 1023.99, 1100);
    sweep(tsr_tiers_pow, pairs, 0.55, 2.0, "pow");
}

TEST(PowAccuracy, FloatAllTiersAllModes) {
    auto pairs = make_pairs<float>(sweep_count(100000), 2, -152, 130, -149, 127.99, 160);
    sweep(tsr_tiers_powf, pairs, 0.51, 2.0, "powf");
}

TEST(PowAccuracyLong, TenMillion) {
    auto pairs = make_pairs<double>(sweep_count(10000000), 11, -1080, 1030, -1074, 1023.99, 1100);
    sweep(tsr_tiers_pow, pairs, 0.55, 2.0, "pow");
}

TEST(PowAccuracyLong, FloatTenMillion) {
    auto pairs = make_pairs<float>(sweep_count(10000000), 12, -152, 130, -149, 127.99, 160);
    sweep(tsr_tiers_powf, pairs, 0.51, 2.0, "powf");
}

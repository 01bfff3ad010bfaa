// Accuracy of pow and powf in every tier and rounding mode against MPFR.
//
// Inputs are (x, y) pairs whose results span the whole range: x log-uniform with y chosen
// so that y log2 x covers the exponent range, x within a few thousand ulps of 1 with huge
// y, integer y with positive and negative x, moderate random pairs, and pairs whose result
// lies within 2^-20 of 1.  The reference is computed once per pair and every tier and
// mode is measured against it.  POW_SWEEP_N overrides the count (the Long tests use 10M).
#include <gtest/gtest.h>

#include <bit>
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
    int flag_faults = 0;
    for (const auto &p : pairs) {
        th::ref(ref, mpfr_pow, p.x, p.y);
        // Beyond MPFR's own exponent range: a value far outside the format, same sign.
        if (mpfr_inf_p(ref)) mpfr_set_si_2exp(ref, mpfr_signbit(ref) ? -1 : 1, 1 << 20, MPFR_RNDN);
        if (mpfr_zero_p(ref) && p.x != 0) mpfr_set_si_2exp(ref, mpfr_signbit(ref) ? -1 : 1, -(1 << 20), MPFR_RNDN);
        bool overflows = mpfr_get_exp(ref) > th::Format<T>::emax + 1;
        for (size_t t = 0; t < N; ++t) {
            if (!run[t]) continue;
            for (int m = 0; m < 4; ++m) {
                T r;
                int fl;
                {
                    th::ModeGuard mg(th::kModes[m].fe);
                    th::clear_flags();
                    r = tiers[t].fn(p.x, p.y);
                    fl = th::flags_raised();
                }
                // No flag without its cause: overflow only beyond the largest finite value,
                // underflow only below the smallest normal, invalid only for a NaN result
                // or a signalling operand, divide-by-zero only for a zero base; and the
                // first two when certainly due.
                bool nan_in = std::isnan(p.x) || std::isnan(p.y);
                long ex = mpfr_nan_p(ref) || mpfr_zero_p(ref) ? 0 : long(mpfr_get_exp(ref)) - 1;
                bool big = !mpfr_nan_p(ref) && ex >= th::Format<T>::emax;
                bool tiny = !mpfr_nan_p(ref) && !mpfr_zero_p(ref) && ex < th::Format<T>::emin;
                th::Mp gv(64);
                th::set(gv, r);
                bool exact = mpfr_equal_p(gv, ref);  // an exact tiny result need not underflow
                bool bad = ((fl & FE_OVERFLOW) && !(big && (overflows || ex == th::Format<T>::emax))) ||
                           (!(fl & FE_OVERFLOW) && overflows) ||
                           ((fl & FE_UNDERFLOW) && !tiny) ||
                           (!(fl & FE_UNDERFLOW) && !exact && tiny && ex < th::Format<T>::emin - 1) ||
                           ((fl & FE_INVALID) && !(mpfr_nan_p(ref) || nan_in)) ||
                           ((fl & FE_DIVBYZERO) && p.x != 0);
                if (bad && flag_faults++ < 10)
                    ADD_FAILURE() << fname << " " << tiers[t].name << " " << th::kModes[m].name << " x=" << std::hexfloat
                                  << double(p.x) << " y=" << double(p.y) << " flags " << th::flags_str(fl);
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

// Path boundaries: y at and beside powers of two for x at and beside the near-1 and
// table edges, and results at and beside 2^-1074, 2^-1022, 2^+-992 and 2^1024.
std::vector<Pair<double>> edge_pairs() {
    std::vector<Pair<double>> v;
    const double xs[] = {1.5, 3.0, 0.7, 0x1p-1074, 0x1.8p-1060, 1e-300, 1e300, 0x1.fffffffffffffp1023,
                         1 + 0x1p-30, 1 - 0x1p-30, 0x1.0000000000001p0, 0x1.fffffffffffffp-1,
                         0.96875, std::nextafter(0.96875, 0.0), 1.0625, std::nextafter(1.0625, 0.0),
                         0.75, std::nextafter(0.75, 0.0), 1.029296875, std::nextafter(1.029296875, 2.0),
                         0.998046875, 1.00390625, 0.5, std::nextafter(0.5, 1.0), 2.0, std::nextafter(2.0, 0.0)};
    for (double x : xs) {
        for (int e = -60; e <= 64; ++e) {
            for (double y0 : {std::ldexp(1.0, e), std::ldexp(1.5, e)}) {
                for (double y : {y0, std::nextafter(y0, 0.0), std::nextafter(y0, INFINITY)}) {
                    v.push_back({x, y});
                    v.push_back({x, -y});
                }
            }
        }
        double l = std::log2(x);
        if (l == 0) continue;
        for (double t : {1024.0, 1023.99, 992.0, 991.9, -992.0, -1022.0, -1021.9, -1074.0, -1075.0, -1073.5, 126.0, -126.0, -149.0}) {
            double y = t / l;
            for (int d = -3; d <= 3; ++d) {
                double yy = y;
                for (int i = 0; i < (d < 0 ? -d : d); ++i) yy = std::nextafter(yy, d < 0 ? 0.0 : INFINITY);
                v.push_back({x, yy});
            }
        }
    }
    return v;
}

TEST(PowAccuracy, PathBoundaries) {
    sweep(tsr_tiers_pow, edge_pairs(), 0.55, 2.0, "pow");
    std::vector<Pair<float>> f;
    for (const auto &p : edge_pairs()) {
        float x = float(p.x), y = float(p.y);
        if (x != 0 && std::isfinite(x) && std::isfinite(y) && y != 0) f.push_back({x, y});
    }
    sweep(tsr_tiers_powf, f, 0.51, 2.0, "powf");
}

// Exact powers come back exact in round-to-nearest.
TEST(PowAccuracy, ExactPowers) {
    th::for_each_tier(tsr_tiers_pow, [](const auto &t) {
        for (int k = -1074; k <= 1023; ++k) EXPECT_EQ(t.fn(2.0, double(k)), std::ldexp(1.0, k)) << t.name << " 2^" << k;
        double p = 1;
        for (int k = 0; k <= 22; ++k, p *= 10) EXPECT_EQ(t.fn(10.0, double(k)), p) << t.name << " 10^" << k;
        for (int b = 3; b <= 15; ++b) {
            double q = b;
            for (int k = 2; q * b < 0x1p53; ++k) {
                q *= b;
                EXPECT_EQ(t.fn(double(b), double(k)), q) << t.name << " " << b << "^" << k;
                EXPECT_EQ(t.fn(-double(b), double(k)), (k & 1) ? -q : q) << t.name << " -" << b << "^" << k;
            }
        }
        EXPECT_EQ(t.fn(0x1p-600, 0.5), 0x1p-300) << t.name;
        EXPECT_EQ(t.fn(0.25, -1.5), 8.0) << t.name;
    });
    th::for_each_tier(tsr_tiers_powf, [](const auto &t) {
        for (int k = -149; k <= 127; ++k) EXPECT_EQ(t.fn(2.0f, float(k)), std::ldexp(1.0f, k)) << t.name << " 2^" << k;
        float p = 1;
        for (int k = 0; k <= 10; ++k, p *= 10) EXPECT_EQ(t.fn(10.0f, float(k)), p) << t.name << " 10^" << k;
        EXPECT_EQ(t.fn(-3.0f, 15.0f), -14348907.0f) << t.name;
    });
}

// Random bit patterns for both operands (zeros, subnormals, infinities and NaNs among
// them, with a bias toward exponents that give results in range): no crash, and the
// result MPFR gives, NaN for NaN.
TEST(PowAccuracy, RandomBitPatterns) {
    std::mt19937_64 g(7);
    std::vector<Pair<double>> d;
    std::vector<Pair<float>> f;
    for (int i = 0; i < 20000; ++i) {
        uint64_t bx = g(), by = g();
        if (i & 1) by = (by & 0x800fffffffffffffull) | (uint64_t(0x3f0 + g() % 0x20) << 52);
        d.push_back({std::bit_cast<double>(bx), std::bit_cast<double>(by)});
        uint32_t fx = uint32_t(g()), fy = uint32_t(g());
        if (i & 1) fy = (fy & 0x807fffffu) | (uint32_t(0x70 + g() % 0x18) << 23);
        f.push_back({std::bit_cast<float>(fx), std::bit_cast<float>(fy)});
    }
    sweep(tsr_tiers_pow, d, 0.55, 2.0, "pow");
    sweep(tsr_tiers_powf, f, 0.51, 2.0, "powf");
}

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

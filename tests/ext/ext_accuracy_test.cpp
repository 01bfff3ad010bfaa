// Accuracy of the extended-precision functions against MPFR: 100,000 arguments per function
// over its whole domain (log-uniform magnitudes) and its hard regions, in the four rounding
// modes.  Bounds: 0.6 ulp in round-to-nearest, 2 ulp in the directed modes; the square root
// correctly rounded in every mode.
#include <gtest/gtest.h>

#include <cmath>

#include "ext_funcs.h"

namespace {

using namespace extt;

struct Range {
    long double lo, hi;
    bool both;
};

struct Case {
    const char *name;
    std::vector<Range> ranges;
};

const Case kCases[] = {
    {"expl", {{0x1p-70L, 11356.0L, true}, {11350.0L, 11356.52L, false}, {-11399.0L, -11350.0L, false}, {0x1p-70L, 0x1p-8L, true}}},
    {"exp2l", {{0x1p-70L, 16383.0L, true}, {-16445.5L, -16370.0L, false}, {16370.0L, 16383.99L, false}}},
    {"exp10l", {{0x1p-70L, 4932.0L, true}, {0x1p-70L, 0x1p-6L, true}}},
    {"expm1l", {{0x1p-70L, 11356.0L, true}, {0x1p-12L, 1.0L, true}}},
    {"logl", {{0x1p-16440L, 0x1p16383L, false}, {0.95L, 1.05L, false}, {0x1p-20L, 0x1p20L, false}}},
    {"log2l", {{0x1p-16440L, 0x1p16383L, false}, {0.95L, 1.05L, false}}},
    {"log10l", {{0x1p-16440L, 0x1p16383L, false}, {0.95L, 1.05L, false}}},
    {"log1pl", {{0x1p-80L, 0x1p16383L, false}, {0x1p-80L, 0.99L, true}}},
    {"sqrtl", {{0x1p-16440L, 0x1p16383L, false}}},
    {"invsqrtl", {{0x1p-16440L, 0x1p16383L, false}}},
    {"cbrtl", {{0x1p-16440L, 0x1p16383L, true}}},
};

std::vector<long double> inputs(const Case &c, size_t n) {
    std::vector<long double> xs;
    uint64_t seed = 1;
    for (const Range &r : c.ranges) {
        auto v = r.lo < 0 || r.hi / r.lo < 4 ? th::uniform<long double>(r.lo, r.hi, n / c.ranges.size(), seed++)
                                 : th::log_uniform<long double>(r.lo, r.hi, n / c.ranges.size(), seed++, r.both);
        xs.insert(xs.end(), v.begin(), v.end());
    }
    return xs;
}

void sweep1(const Fn1 &f, const std::vector<long double> &xs) {
    double worst[4] = {0, 0, 0, 0};
    long double at[4] = {0, 0, 0, 0};
    th::Mp e(160);
    bool exact = std::string(f.name) == "sqrtl";
    for (long double x : xs) {
        th::ref(e, f.ref, x);
        for (int m = 0; m < 4; ++m) {
            th::ModeGuard g(th::kModes[m].fe);
            long double y = f.fn(x);
            double err = th::ulp_error<long double>(y, e);
            // The square root is correctly rounded in every mode: any other result is an error.
            if (exact && th::round_to<long double>(e, th::kModes[m].rnd) != y) err = 1e9;
            if (err > worst[m]) worst[m] = err, at[m] = x;
        }
    }
    for (int m = 0; m < 4; ++m) {
        double bound = exact ? 1.0 : m == 0 ? 0.6 : 2.0;
        std::printf("  %-9s %-8s max %.4f ulp at %La\n", f.name, th::kModes[m].name, worst[m], at[m]);
        EXPECT_LE(worst[m], bound) << f.name << " " << th::kModes[m].name << " at " << double(at[m]);
    }
}

TEST(ExtAccuracy, OneArgument) {
    for (const Case &c : kCases)
        for (const Fn1 &f : kFns1)
            if (std::string(f.name) == c.name) sweep1(f, inputs(c, 100000));
}

// pow: bases over the whole range with exponents that keep x^y finite, bases near 1 with
// large exponents, negative bases with integer exponents; hypot: operands of every ratio.
TEST(ExtAccuracy, TwoArguments) {
    std::mt19937_64 rng(7);
    th::Mp e(200);
    struct W { double err = 0; long double x = 0, y = 0; } pw[4], hw[4];
    auto lx = th::log_uniform<long double>(0x1p-16000L, 0x1p16000L, 100000, 3);
    auto ly = th::uniform<long double>(-1.0L, 1.0L, 100000, 4);
    for (size_t i = 0; i < lx.size(); ++i) {
        long double x = lx[i], y;
        switch (i % 4) {
        case 0: {  // |y log2 x| up to 16000
            long double l = std::fabs(std::log2(double(x))) + 1e-3L;
            y = ly[i] * 16000.0L / l;
            break;
        }
        case 1:  // near 1
            x = 1.0L + ly[i] * 0x1p-10L;
            y = ly[(i + 1) % ly.size()] * 0x1p20L;
            break;
        case 2:  // negative bases, integer exponents
            x = -std::fabs(ly[i]) * 3.0L;
            y = std::floor(ly[(i + 7) % ly.size()] * 60.0L);
            break;
        default:
            y = ly[i] * 64.0L;
            x = 0.5L + std::fabs(ly[(i + 3) % ly.size()]) * 4.0L;
        }
        th::Mp a(80), b(80);
        th::set(a, x);
        th::set(b, y);
        mpfr_pow(e, a, b, MPFR_RNDN);
        for (int m = 0; m < 4; ++m) {
            th::ModeGuard g(th::kModes[m].fe);
            double err = th::ulp_error<long double>(kPowl(x, y), e);
            if (err > pw[m].err) pw[m] = {err, x, y};
        }
        long double hx = lx[i], hy = lx[(i * 7919) % lx.size()] * (i & 1 ? 1 : -1);
        if (i % 3 == 0) hy = hx * (1.0L + ly[i]);
        th::set(a, hx);
        th::set(b, hy);
        mpfr_hypot(e, a, b, MPFR_RNDN);
        for (int m = 0; m < 4; ++m) {
            th::ModeGuard g(th::kModes[m].fe);
            double err = th::ulp_error<long double>(kHypotl(hx, hy), e);
            if (err > hw[m].err) hw[m] = {err, hx, hy};
        }
    }
    for (int m = 0; m < 4; ++m) {
        double bound = m == 0 ? 0.6 : 2.0;
        std::printf("  powl     %-8s max %.4f ulp at %La, %La\n", th::kModes[m].name, pw[m].err, pw[m].x, pw[m].y);
        std::printf("  hypotl   %-8s max %.4f ulp at %La, %La\n", th::kModes[m].name, hw[m].err, hw[m].x, hw[m].y);
        EXPECT_LE(pw[m].err, bound) << "powl " << th::kModes[m].name;
        EXPECT_LE(hw[m].err, bound) << "hypotl " << th::kModes[m].name;
    }
}

}  // namespace

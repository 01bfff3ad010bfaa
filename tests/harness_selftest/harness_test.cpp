// The harness's own measures, checked on values whose answers are known by hand.
#include <gtest/gtest.h>

#include "harness/harness.h"

TEST(Harness, UlpErrorAtPowersOfTwoAndSubnormals) {
    th::Mp e;
    mpfr_set_d(e, 1.0, MPFR_RNDN);
    EXPECT_EQ(th::ulp_error(1.0 + 0x1p-52, e), 1.0);
    EXPECT_EQ(th::ulp_error(1.0 - 0x1p-53, e), 0.5);  // below 1 the binade of 1 still counts
    mpfr_set_d(e, 0x1p-1074, MPFR_RNDN);
    EXPECT_EQ(th::ulp_error(0x1p-1073, e), 1.0);
    mpfr_set_d(e, 0x1p-1074, MPFR_RNDN);
    mpfr_div_2ui(e, e, 1, MPFR_RNDN);
    EXPECT_EQ(th::ulp_error(0.0, e), 0.5);
    mpfr_set_flt(e, 3.0f, MPFR_RNDN);
    EXPECT_EQ(th::ulp_error(3.0f + 0x1p-22f, e), 1.0);
    mpfr_set_d(e, -0.0, MPFR_RNDN);
    EXPECT_EQ(th::ulp_error(0.0, e), INFINITY);
    mpfr_set_nan(e);
    EXPECT_EQ(th::ulp_error(th::qnan<double>(), e), 0.0);
}

TEST(Harness, RoundToFormatsWithSubnormals) {
    th::Mp e;
    mpfr_set_ui_2exp(e, 3, -1076, MPFR_RNDN);   // 0.75 * 2^-1074
    EXPECT_EQ(th::round_to<double>(e), 0x1p-1074);
    EXPECT_EQ(th::round_to<double>(e, MPFR_RNDZ), 0.0);
    mpfr_set_ui_2exp(e, 1, 1024, MPFR_RNDN);
    EXPECT_EQ(th::round_to<double>(e), INFINITY);
    EXPECT_EQ(th::round_to<float>(e, MPFR_RNDZ), 0x1.fffffep127f);
    mpfr_set_ui_2exp(e, 1, -25, MPFR_RNDN);
    EXPECT_EQ(float(th::round_to<_Float16>(e)), 0.0f);  // half of the smallest half subnormal: to even
}

TEST(Harness, FlagsAndModes) {
    auto [r, o] = th::observe([] { volatile double a = 1.0, b = 3.0; return a / b; });
    EXPECT_EQ(o.flags, FE_INEXACT);
    EXPECT_EQ(o.err, 0);
    EXPECT_EQ(o.code, -1);
    {
        th::ModeGuard g(FE_UPWARD);
        volatile double a = 1.0, b = 3.0;
        EXPECT_GT(a / b, 0.3333333333333333);
        volatile long double la = 1.0L, lb = 3.0L;
        EXPECT_GT(la / lb, 0.3333333333333333333L);
    }
    volatile double a = 1.0, b = 3.0;
    EXPECT_EQ(a / b, 0.3333333333333333);
    (void)r;
}

TEST(Harness, GeneratorsStayInRange) {
    auto v = th::log_uniform(1e-300, 1e300, 1000, 1, true);
    int neg = 0;
    for (double x : v) {
        EXPECT_LE(std::fabs(x), 1e300);
        EXPECT_GE(std::fabs(x), 1e-300);
        neg += x < 0;
    }
    EXPECT_GT(neg, 300);
    for (float x : th::log_uniform(1e-45f, 1.0f, 1000, 2)) EXPECT_TRUE(x > 0 && x <= 1.0f);
}

TEST(Harness, ChildProcessSeesItsEnvironment) {
    auto r = th::run_process({"/bin/sh", "-c", "echo \"$TSR_X\"; exit 3"}, {"TSR_X=hello"});
    EXPECT_EQ(r.status, 3);
    EXPECT_EQ(r.out, "hello\n");
}

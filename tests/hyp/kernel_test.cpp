// The reproducible names against the ex bodies, and the kernels' contract:
// (r[0] + r[1])·2^n is sinh x or cosh x far beyond double precision, r[1] below 2^-8 of r[0].
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "elementary/hyp_kernels.h"
#include "harness/harness.h"

// The reproducible names give the ex bodies' bits.
TEST(HypPairs, Reproducible) {
    for (double x : th::log_uniform<double>(0x1p-40, 720.0, 2000, 73, true)) {
        double s1, c1, s2, c2;
        __bwr_sinhcosh_local(x, &s1, &c1);
        __libm_sinhcosh_ex_local(x, &s2, &c2);
        EXPECT_EQ(th::bits_of(__bwr_sinh_local(x)), th::bits_of(__libm_sinh_ex_local(x))) << x;
        EXPECT_EQ(th::bits_of(__bwr_cosh_local(x)), th::bits_of(__libm_cosh_ex_local(x))) << x;
        EXPECT_EQ(th::bits_of(__bwr_tanh_local(x)), th::bits_of(__libm_tanh_ex_local(x))) << x;
        EXPECT_EQ(th::bits_of(s1) ^ th::bits_of(c1), th::bits_of(s2) ^ th::bits_of(c2)) << x;
        float f = float(x) * 0.125f, fs1, fc1, fs2, fc2;
        __bwr_sinhcoshf_local(f, &fs1, &fc1);
        __libm_sinhcoshf_ex_local(f, &fs2, &fc2);
        EXPECT_EQ(th::bits_of(__bwr_sinhf_local(f)), th::bits_of(__libm_sinhf_ex_local(f))) << f;
        EXPECT_EQ(th::bits_of(__bwr_coshf_local(f)), th::bits_of(__libm_coshf_ex_local(f))) << f;
        EXPECT_EQ(th::bits_of(__bwr_tanhf_local(f)), th::bits_of(__libm_tanhf_ex_local(f))) << f;
        EXPECT_EQ(th::bits_of(fs1) ^ th::bits_of(fc1), th::bits_of(fs2) ^ th::bits_of(fc2)) << f;
    }
}

// log2 of |(r0 + r1)·2^n / f(x) - 1|.
double kernel_err_log2(th::MpFn1 f, double x, int n, const double r[2]) {
    th::Mp got(300), ex(300), a(300);
    th::set(a, x);
    f(ex, a, MPFR_RNDN);
    mpfr_set_d(got, r[0], MPFR_RNDN);
    mpfr_add_d(got, got, r[1], MPFR_RNDN);
    mpfr_mul_2si(got, got, n, MPFR_RNDN);
    mpfr_sub(got, got, ex, MPFR_RNDN);
    mpfr_div(got, got, ex, MPFR_RNDN);
    if (mpfr_zero_p(got)) return -1000;
    return std::log2(std::fabs(mpfr_get_d(got, MPFR_RNDN)));
}

TEST(HypKernels, Contract) {
    struct K { const char *name; int (*fn)(double, double *); th::MpFn1 ref; };
    const K ks[] = {{"sinh_k64", __libm_sinh_k64, mpfr_sinh}, {"cosh_k64", __libm_cosh_k64, mpfr_cosh}};
    auto xs = th::log_uniform<double>(0x1p-70, 0x1.fffp21, 100000, 74, true);
    for (const K &k : ks) {
        for (const th::Mode &m : th::kModes) {
            th::ModeGuard g(m.fe);
            double worst = -1000, wx = 0, far = -1000;
            for (double x : xs) {
                double r[2];
                int n = k.fn(x, r);
                double e = kernel_err_log2(k.ref, x, n, r);
                // Past 1024 (results beyond every double, for callers that scale them back)
                // the two-part ln 2/128 leaves k·2^-100 of the reduced argument.
                if (std::fabs(x) >= 1024) far = std::max(far, e);
                else if (e > worst) worst = e, wx = x;
                ASSERT_LE(std::fabs(r[1]), std::fabs(r[0]) * 0x1p-8) << k.name << " " << x;
            }
            std::printf("[  ACCURACY] %s %-10s max relative error 2^%.1f at x = %a\n", k.name, m.name, worst, wx);
            EXPECT_LT(worst, -62.0) << k.name << " " << m.name << " at " << std::hexfloat << wx;
            EXPECT_LT(far, -50.0) << k.name << " " << m.name;
        }
    }
    // From 2^22 up the caller deals with x: sinh gives ±inf (x itself for inf and NaN), cosh (0, 0).
    double r[2];
    EXPECT_EQ(__libm_sinh_k64(-0x1p22, r), 0);
    EXPECT_TRUE(r[0] == -INFINITY && r[1] == 0);
    EXPECT_EQ(__libm_cosh_k64(0x1p22, r), 0);
    EXPECT_TRUE(r[0] == 0 && r[1] == 0);
    __libm_sinh_k64(th::qnan<double>(), r);
    EXPECT_TRUE(r[0] != r[0]);
}

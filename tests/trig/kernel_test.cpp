// The kernels' contracts against MPFR: __libm_sincos_k64 gives sin x and cos x as head +
// tail within 2^-58 of the value (2^-58.9 seen), heads the rounded sums.
#include <gtest/gtest.h>

#include "elementary/trig_kernels.h"
#include "harness/harness.h"

using namespace th;

namespace {
// |(hi + lo) - f| / |f| with f the MPFR value of fn at (x + n·pi/4).
double rel(th::MpFn1 fn, double x, int n, double hi, double lo) {
    Mp a(1400), p(1400), v(300), d(300);
    set(a, x);
    mpfr_const_pi(p, MPFR_RNDN);
    mpfr_mul_si(p, p, n, MPFR_RNDN);
    mpfr_div_2ui(p, p, 2, MPFR_RNDN);
    mpfr_add(a, a, p, MPFR_RNDN);
    fn(v, a, MPFR_RNDN);
    mpfr_set_d(d, hi, MPFR_RNDN);
    mpfr_add_d(d, d, lo, MPFR_RNDN);
    mpfr_sub(d, d, v, MPFR_RNDN);
    mpfr_div(d, d, v, MPFR_RNDN);
    return std::fabs(mpfr_get_d(d, MPFR_RNDN));
}
}  // namespace

TEST(TrigKernel, SincosK64) {
    auto xs = log_uniform<double>(0x1p-300, 0x1.fffffffffffffp+1023, 20000, 5, true);
    xs.push_back(0x1.6ac5b262ca1ffp+849);
    double worst = 0;
    for (double x : xs) {
        double s[2], c[2];
        __libm_sincos_k64(x, s, c);
        EXPECT_EQ(s[0], s[0] + s[1]) << std::hexfloat << x;
        EXPECT_EQ(c[0], c[0] + c[1]) << std::hexfloat << x;
        worst = std::max({worst, rel(mpfr_sin, x, 0, s[0], s[1]), rel(mpfr_cos, x, 0, c[0], c[1])});
    }
    std::printf("[  ACCURACY] __libm_sincos_k64 max relative error 2^%.2f\n", std::log2(worst));
    EXPECT_LT(worst, 0x1p-58);
    double s[2], c[2];
    __libm_sincos_k64(INFINITY, s, c);  // NaN heads, zero tails
    EXPECT_TRUE(s[0] != s[0] && c[0] != c[0] && s[1] == 0 && c[1] == 0);
}

// __libm_atan2_k64 against MPFR: the angle of double-double points in every quadrant, with
// tails, over wide ratios; and the quadrant angles of zeros and infinities.
#include <gtest/gtest.h>

#include <cmath>

#include "elementary/invtrig_kernels.h"
#include "harness/harness.h"

namespace {

// |out[0] + out[1] - atan2(y, x)| relative to the angle, as a power of two.
double rel_err_log2(const double out[2], double y[2], double x[2]) {
    th::Mp ys(1200), xs(1200), t(1200), ref(400), got(400);
    mpfr_set_d(ys, y[0], MPFR_RNDN);
    mpfr_add_d(ys, ys, y[1], MPFR_RNDN);
    mpfr_set_d(xs, x[0], MPFR_RNDN);
    mpfr_add_d(xs, xs, x[1], MPFR_RNDN);
    mpfr_atan2(ref, ys, xs, MPFR_RNDN);
    mpfr_set_d(got, out[0], MPFR_RNDN);
    mpfr_add_d(got, got, out[1], MPFR_RNDN);
    mpfr_sub(got, got, ref, MPFR_RNDN);
    mpfr_div(got, got, ref, MPFR_RNDN);
    double e = std::fabs(mpfr_get_d(got, MPFR_RNDN));
    return e == 0 ? -1000 : std::log2(e);
}

}  // namespace

TEST(InvtrigKernel, Atan2K64) {
    auto m = th::log_uniform<double>(0x1p-30, 0x1p30, 40000, 91, true);
    auto r = th::log_uniform<double>(0x1p-40, 0x1p40, 40000, 92, true);
    auto t = th::uniform<double>(-1.0, 1.0, 40000, 93);
    double worst = -1000;
    for (size_t i = 0; i < m.size(); ++i) {
        double y[2] = {m[i] * r[i], 0}, x[2] = {m[(i * 13) % m.size()], 0};
        if (i % 4 == 1) y[0] = x[0] * (1 + t[i] * 0x1p-20);  // near the diagonal
        y[1] = y[0] * t[i] * 0x1p-54;
        x[1] = x[0] * t[(i * 7) % t.size()] * 0x1p-54;
        double out[2];
        __libm_atan2_k64(out, y, x);
        double e = rel_err_log2(out, y, x);
        if (e > worst) worst = e;
        ASSERT_LT(e, -63) << std::hexfloat << "y = " << y[0] << " + " << y[1] << ", x = " << x[0] << " + " << x[1];
    }
    std::printf("[  ACCURACY] __libm_atan2_k64 max relative error 2^%.1f (%zu points)\n", worst, m.size());
}

TEST(InvtrigKernel, Quadrants) {
    const double inf = __builtin_inf(), pi = 0x1.921fb54442d18p+1, pio2 = 0x1.921fb54442d18p+0;
    struct Case {
        double y, x, want;
    } cases[] = {
        {0.0, 1.0, 0.0}, {-0.0, 1.0, -0.0}, {0.0, -1.0, pi}, {-0.0, -0.0, -pi}, {0.0, 0.0, 0.0},
        {1.0, 0.0, pio2}, {-1.0, -0.0, -pio2}, {inf, 1.0, pio2}, {1.0, -inf, pi}, {-1.0, inf, -0.0},
        {inf, inf, 0x1.921fb54442d18p-1}, {-inf, -inf, -0x1.2d97c7f3321d2p+1},
        {0x1p-1074, 1.0, 0x1p-1074}, {1e300, 1e-300, pio2},
    };
    for (const Case &c : cases) {
        double y[2] = {c.y, 0}, x[2] = {c.x, 0}, out[2];
        __libm_atan2_k64(out, y, x);
        EXPECT_EQ(th::bits_of(out[0]), th::bits_of(c.want)) << std::hexfloat << c.y << ", " << c.x;
    }
    double y[2] = {__builtin_nan(""), 0}, x[2] = {1.0, 0}, out[2];
    __libm_atan2_k64(out, y, x);
    EXPECT_TRUE(out[0] != out[0]);
}

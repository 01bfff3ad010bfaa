// The kernels' contract: (out[0] + out[1])·2^scale is e^x, 2^x or 10^x to well beyond double
// precision, out[1] is small against out[0], the exp10 pair is renormalised, and the rows
// outside the core give what the complex functions expect.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "elementary/exp_kernels.h"
#include "harness/harness.h"
#include "sweep.h"

namespace {

using Kernel = void (*)(double, int *, double *);
struct K {
    const char *name;
    Kernel fn;
    th::MpFn1 ref;
    double xmax;  // the core's limit
};
const K kKernels[] = {{"exp_k64", __libm_exp_k64, mpfr_exp, 4095.0},
                      {"exp2_k64", __libm_exp2_k64, mpfr_exp2, 4095.0},
                      {"exp10_k64", __libm_exp10_k64, mpfr_exp10, 1023.0}};

double mag(double v) { return std::bit_cast<double>(th::bits_of(v) & ~(1ull << 63)); }

// log2 of the relative error of the pair against the exact value.
double rel_err_log2(const K &k, double x, int sc, const double o[2]) {
    th::Mp got(300), ex(300), a(300);
    th::set(a, x);
    k.ref(ex, a, MPFR_RNDN);
    mpfr_set_d(got, o[0], MPFR_RNDN);
    mpfr_add_d(got, got, o[1], MPFR_RNDN);
    mpfr_mul_2si(got, got, sc, MPFR_RNDN);
    mpfr_sub(got, got, ex, MPFR_RNDN);
    mpfr_div(got, got, ex, MPFR_RNDN);
    mpfr_abs(got, got, MPFR_RNDN);
    if (mpfr_zero_p(got)) return -1000;
    mpfr_log2(got, got, MPFR_RNDN);  // MPFR, not the library under test
    return mpfr_get_d(got, MPFR_RNDN);
}

}  // namespace

TEST(ExpKernel, PairMatchesMpfrInEveryMode) {
    for (const K &k : kKernels) {
        auto xs = th::log_uniform<double>(0x1p-70, k.xmax, 40000, 7, true);
        for (const th::Mode &m : th::kModes) {
            th::ModeGuard g(m.fe);
            double worst = -1000, wx = 0;
            for (double x : xs) {
                int sc = -99999;
                double o[2];
                k.fn(x, &sc, o);
                ASSERT_NE(sc, -99999);
                double e = rel_err_log2(k, x, sc, o);
                if (e > worst) worst = e, wx = x;
                ASSERT_LE(mag(o[1]), mag(o[0]) * 0x1p-16) << k.name << " x=" << std::hexfloat << x;
                if (k.fn == __libm_exp10_k64 && (x >= 0x1p-57 || x <= -0x1p-57)) {  // the core renormalises in round-to-nearest
                    th::ModeGuard rn(FE_TONEAREST);
                    ASSERT_EQ(o[0], o[0] + o[1]) << "not renormalised at " << x;
                }
            }
            std::printf("[  KERNEL  ] %-9s %-10s max relative error 2^%.2f at x = %a\n", k.name, m.name, worst, wx);
            EXPECT_LT(worst, -60.0) << k.name << " " << m.name << " at x = " << std::hexfloat << wx;
        }
    }
}

TEST(ExpKernel, RowsOutsideTheCore) {
    const double inf = INFINITY;
    struct Row {
        double x;
        double out0, out1;  // for every kernel; NaN: out0 is a NaN
    } rows[] = {
        {inf, inf, 0.0},        {-inf, 0.0, 0.0},       {0.0, 1.0, 0.0},         {-0.0, 1.0, 0.0},
        {0x1p-107, 1.0, 0.0},   {-0x1p-107, 1.0, 0.0},  {5000.0, inf, 0.0},      {-5000.0, 0.0, 0.0},
        {0x1p1023, inf, 0.0},   {-0x1p1023, 0.0, 0.0},  {NAN, NAN, 0.0},
    };
    for (const K &k : kKernels) {
        for (const Row &r : rows) {
            int sc = -1;
            double o[2];
            k.fn(r.x, &sc, o);
            EXPECT_EQ(sc, 0) << k.name << " " << r.x;
            if (r.out0 != r.out0) {
                EXPECT_NE(o[0], o[0]) << k.name;
            } else {
                EXPECT_EQ(th::bits_of(o[0]), th::bits_of(r.out0)) << k.name << " x=" << std::hexfloat << r.x;
            }
            EXPECT_EQ(th::bits_of(o[1]), th::bits_of(r.out1)) << k.name << " x=" << std::hexfloat << r.x;
        }
    }
    // exp10's core stops at 2^10, the others' at 2^12.
    int sc;
    double o[2];
    __libm_exp10_k64(2100.0, &sc, o);
    EXPECT_EQ(o[0], INFINITY);
    __libm_exp10_k64(1000.0, &sc, o);
    EXPECT_EQ(sc, 3322);
    __libm_exp_k64(1100.0, &sc, o);
    EXPECT_EQ(sc, 1587);
}

TEST(ExpKernel, SmallArgumentsGiveOnePlusYAndItsError) {
    // 2^-60: 1 + y rounds to 1, the tail keeps y (times ln 2, ln 10 for those kernels).
    for (const K &k : kKernels) {
        int sc;
        double o[2];
        k.fn(0x1p-60, &sc, o);
        EXPECT_EQ(o[0], 1.0) << k.name;
        EXPECT_LT(rel_err_log2(k, 0x1p-60, sc, o), -100) << k.name;
    }
}

TEST(ExpKernel, K32IsExpToAboutHalfAnUlp) {
    // Normal results: one rounding of the pair's sum.  Subnormal ones are rounded a second
    // time by the last scaling, as the pair's sum has 53 bits: below one ulp.
    struct Band {
        std::vector<double> xs;
        double bound;
    } bands[] = {{th::log_uniform<double>(0x1p-70, 708.0, 30000, 9, true), 0.51},
                 {th::uniform<double>(-745.0, -708.4, 5000, 10), 1.0}};
    for (const Band &b : bands) {
        auto refs = expt::references<double>(mpfr_exp, b.xs);
        double worst = 0, wx = 0;
        for (size_t i = 0; i < b.xs.size(); ++i) {
            double e = expt::ulps(__libm_exp_k32(b.xs[i]), refs[i]);
            if (e > worst) worst = e, wx = b.xs[i];
        }
        std::printf("[  KERNEL  ] exp_k32 nearest max %.4f ulp at x = %a\n", worst, wx);
        EXPECT_LT(worst, b.bound) << std::hexfloat << wx;
    }
    EXPECT_EQ(__libm_exp_k32(0.0), 1.0);
    EXPECT_EQ(__libm_exp_k32(1000.0), INFINITY);
    EXPECT_EQ(__libm_exp_k32(-1000.0), 0.0);
}

// sinhcosh and sinhcoshf against MPFR (both results, four modes, each tier) and at their
// special values; the reproducible names against the ex bodies; the kernels' contract:
// (r[0] + r[1])·2^n is sinh x or cosh x far beyond double precision, r[1] below 2^-8 of r[0].
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "elementary/hyp_kernels.h"
#include "exp/sweep.h"

using namespace expt;

namespace {

// One result of a sinhcosh tier as a function of one argument, so that the sweep runs it.
template <auto F, bool Cos, class T>
T part(T x) {
    T s, c;
    F(x, &s, &c);
    return Cos ? c : s;
}
using TD = tsr::TierFn<double (*)(double)>;
using TF = tsr::TierFn<float (*)(float)>;
const TD kSine[] = {{"ex", tsr::Tier::ex, part<__libm_sinhcosh_ex_local, false, double>},
                    {"e7", tsr::Tier::e7, part<__libm_sinhcosh_e7_local, false, double>}};
const TD kCosine[] = {{"ex", tsr::Tier::ex, part<__libm_sinhcosh_ex_local, true, double>},
                      {"e7", tsr::Tier::e7, part<__libm_sinhcosh_e7_local, true, double>}};
const TF kSinef[] = {{"ex", tsr::Tier::ex, part<__libm_sinhcoshf_ex_local, false, float>},
                     {"e7", tsr::Tier::e7, part<__libm_sinhcoshf_e7_local, false, float>}};
const TF kCosinef[] = {{"ex", tsr::Tier::ex, part<__libm_sinhcoshf_ex_local, true, float>},
                       {"e7", tsr::Tier::e7, part<__libm_sinhcoshf_e7_local, true, float>}};

template <class T>
std::vector<T> inputs(T hi, uint64_t seed) {
    auto xs = th::log_uniform<T>(T(0x1p-30), hi, 100000, seed, true);
    for (T e : {T(0x1p-6), T(0.5), T(22.87), T(32)}) xs = cat(xs, th::uniform<T>(e - e / 32, e + e / 32, 4000, ++seed));
    return xs;
}

}  // namespace

TEST(HypPairs, Sinhcosh) {
    auto xs = inputs<double>(710.47, 71);
    auto rs = references(mpfr_sinh, xs), rc = references(mpfr_cosh, xs);
    sweep("sinhcosh.s", kSine, xs, rs, 0.55, 2.0);
    sweep("sinhcosh.c", kCosine, xs, rc, 0.55, 2.0);
}

TEST(HypPairs, Sinhcoshf) {
    auto xs = inputs<float>(89.41f, 72);
    auto rs = references(mpfr_sinh, xs), rc = references(mpfr_cosh, xs);
    sweep("sinhcoshf.s", kSinef, xs, rs, 0.51, 2.0);
    sweep("sinhcoshf.c", kCosinef, xs, rc, 0.51, 2.0);
}

// Rows: x, sine, cosine, flags, code; the sine is reported under the pair's code and the
// cosine stored as +inf by the function itself.
TEST(HypPairs, SinhcoshSpecial) {
    const double inf = INFINITY, big = 0x1.633ce8fb9f87ep+9;
    struct R { double x, s, c; int flags, code; };
    const R rows[] = {
        {0.0, 0.0, 1.0, 0, -1}, {-0.0, -0.0, 1.0, 0, -1},
        {inf, inf, inf, 0, -1}, {-inf, -inf, inf, 0, -1},
        {big, inf, inf, FE_OVERFLOW | FE_INEXACT, 229}, {-big, -inf, inf, FE_OVERFLOW | FE_INEXACT, 229},
        {-0x1.fffffffffffffp+1023, -inf, inf, FE_OVERFLOW | FE_INEXACT, 229},
    };
    th::for_each_tier(tsr_tiers_sinhcosh, [&](const auto &t) {
        for (const R &r : rows) {
            double s = 7, c = 7;
            auto o = th::observe([&] { t.fn(r.x, &s, &c); return 0; }).second;
            EXPECT_EQ(th::bits_of(s), th::bits_of(r.s)) << t.name << " " << r.x;
            EXPECT_EQ(th::bits_of(c), th::bits_of(r.c)) << t.name << " " << r.x;
            EXPECT_EQ(o.flags, r.flags) << t.name << " " << r.x;
            EXPECT_EQ(o.code, r.code) << t.name << " " << r.x;
        }
        double s, c;
        t.fn(th::qnan<double>(), &s, &c);
        EXPECT_TRUE(s != s && c != c) << t.name;
    });
    const float finf = INFINITY;
    struct RF { float x, s, c; int flags, code; };
    const RF frows[] = {
        {0.0f, 0.0f, 1.0f, 0, -1}, {-0.0f, -0.0f, 1.0f, 0, -1}, {-finf, -finf, finf, 0, -1},
        {0x1.65a9fap+6f, finf, finf, FE_OVERFLOW | FE_INEXACT, 230},
        {-0x1.65a9fap+6f, -finf, finf, FE_OVERFLOW | FE_INEXACT, 230},
    };
    th::for_each_tier(tsr_tiers_sinhcoshf, [&](const auto &t) {
        for (const RF &r : frows) {
            float s = 7, c = 7;
            auto o = th::observe([&] { t.fn(r.x, &s, &c); return 0; }).second;
            EXPECT_EQ(th::bits_of(s), th::bits_of(r.s)) << t.name << " " << r.x;
            EXPECT_EQ(th::bits_of(c), th::bits_of(r.c)) << t.name << " " << r.x;
            EXPECT_EQ(o.flags, r.flags) << t.name << " " << r.x;
            EXPECT_EQ(o.code, r.code) << t.name << " " << r.x;
        }
    });
}

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

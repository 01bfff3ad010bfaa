// Special values, exact results, flags, errno and reported codes of every tier.
#include <cerrno>
#include <cmath>

#include "elementary/log_kernels.h"
#include "log_test_util.h"

extern "C" void (*__libm_error_observer)(int) __attribute__((weak));

namespace {

bool interpreter_linked() {
    static bool once = [] {
        if (!&__libm_error_observer)
            std::printf("[  NOTICE  ] error interpreter not linked: reported codes and errno not checked\n");
        return true;
    }();
    (void)once;
    return &__libm_error_observer != nullptr;
}

const double kInf = INFINITY;
enum Kind { kValue, kNaN };
struct Case {
    double x;
    Kind kind;
    double want;  // the exact result for kValue (sign of zero included)
    int flags;    // FE_* bits that must be raised (others: none except inexact where allowed)
    int code;     // reported code, -1 none
};

// Checks one function's cases over its tiers, in every rounding mode.
template <class T, class Fn, size_t N>
void check(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], const std::vector<Case> &cases) {
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        for (const auto &m : th::kModes) {
            th::ModeGuard g(m.fe);
            for (const Case &c : cases) {
                T x = T(c.x);
                if (c.kind == kNaN && std::isnan(c.x) && std::signbit(c.x) == false && c.flags == FE_INVALID)
                    x = th::snan<T>();
                auto [y, o] = th::observe([&] { return t.fn(x); });
                std::string where = std::string(fname) + " " + t.name + " " + m.name + " x=" + std::to_string(c.x);
                if (c.kind == kNaN) {
                    EXPECT_TRUE(std::isnan(y)) << where;
                } else {
                    EXPECT_EQ(th::bits_of(y), th::bits_of(T(c.want))) << where << " got " << double(y);
                }
                EXPECT_EQ(o.flags & (FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW), c.flags) << where << " flags "
                                                                                         << th::flags_str(o.flags);
                if (c.kind == kValue && c.flags == 0 && y == 0)
                    EXPECT_FALSE(o.flags & FE_INEXACT) << where << " exact result raised inexact";
                if (interpreter_linked()) {
                    EXPECT_EQ(o.code, c.code) << where;
                    if (c.code >= 0)
                        EXPECT_EQ(o.err, c.flags == FE_DIVBYZERO ? ERANGE : EDOM) << where;
                    else
                        EXPECT_EQ(o.err, 0) << where;
                }
            }
        }
    });
}

// The shared special values of log, log2, log10 and their float forms.  NaN rows: a quiet
// NaN passes without flags; the sNaN row (marked by FE_INVALID) must raise invalid.
std::vector<Case> log_cases(int pole, int domain) {
    return {{0.0, kValue, -kInf, FE_DIVBYZERO, pole},
            {-0.0, kValue, -kInf, FE_DIVBYZERO, pole},
            {-1.0, kNaN, 0, FE_INVALID, domain},
            {-0x1p-149, kNaN, 0, FE_INVALID, domain},
            {-kInf, kNaN, 0, FE_INVALID, domain},
            {kInf, kValue, kInf, 0, -1},
            {NAN, kNaN, 0, 0, -1},
            {NAN, kNaN, 0, FE_INVALID, -1},  // signalling
            {1.0, kValue, 0.0, 0, -1}};
}

TEST(LogSpecial, Double) {
    check<double>("log", tsr_tiers_log, log_cases(2, 3));
    check<double>("log", tsr_portable_tiers_log, log_cases(2, 3));
    check<double>("log2", tsr_tiers_log2, log_cases(170, 171));
    check<double>("log10", tsr_tiers_log10, log_cases(8, 9));
    check<double>("log10", tsr_portable_tiers_log10, log_cases(8, 9));
}

TEST(LogSpecial, Float) {
    check<float>("logf", tsr_tiers_logf, log_cases(4, 5));
    check<float>("log2f", tsr_tiers_log2f, log_cases(172, 173));
    check<float>("log10f", tsr_tiers_log10f, log_cases(10, 11));
}

std::vector<Case> log1p_cases(int pole, int domain, double below) {
    return {{-1.0, kValue, -kInf, FE_DIVBYZERO, pole},
            {below, kNaN, 0, FE_INVALID, domain},
            {-2.0, kNaN, 0, FE_INVALID, domain},
            {-kInf, kNaN, 0, FE_INVALID, domain},
            {kInf, kValue, kInf, 0, -1},
            {0.0, kValue, 0.0, 0, -1},
            {-0.0, kValue, -0.0, 0, -1},
            {NAN, kNaN, 0, 0, -1},
            {NAN, kNaN, 0, FE_INVALID, -1}};
}

TEST(LogSpecial, Log1p) {
    check<double>("log1p", tsr_tiers_log1p, log1p_cases(140, 141, -1.0000000000000002));
    check<double>("log1p", tsr_portable_tiers_log1p, log1p_cases(140, 141, -1.0000000000000002));
    check<float>("log1pf", tsr_tiers_log1pf, log1p_cases(142, 143, double(-1.0000001f)));
}

// log2p1 reports nothing: its pole and domain errors are flags alone.
TEST(LogSpecial, Log2p1) {
    std::vector<Case> cases = {{-1.0, kValue, -kInf, FE_DIVBYZERO, -1},
                               {-1.5, kNaN, 0, FE_INVALID, -1},
                               {-kInf, kNaN, 0, FE_INVALID, -1},
                               {kInf, kValue, kInf, 0, -1},
                               {0.0, kValue, 0.0, 0, -1},
                               {-0.0, kValue, -0.0, 0, -1},
                               {NAN, kNaN, 0, 0, -1},
                               {NAN, kNaN, 0, FE_INVALID, -1},
                               {1.0, kValue, 1.0, 0, -1},
                               {7.0, kValue, 3.0, 0, -1}};
    check<double>("log2p1", tsr_tiers_log2p1, cases);
    check<double>("log2p1", tsr_portable_tiers_log2p1, cases);
}

// log2p1 of the largest double is 1024 less about 2^-53: 1024 rounded to nearest or up,
// its predecessor rounded down or toward zero, with no overflow from 1 + x.
TEST(LogExact, Log2p1OfLargest) {
    auto run = [](const auto &t) {
        for (const auto &m : th::kModes) {
            th::ModeGuard g(m.fe);
            auto [y, o] = th::observe([&] { return t.fn(DBL_MAX); });
            double want = (m.fe == FE_TONEAREST || m.fe == FE_UPWARD) ? 1024.0 : std::nextafter(1024.0, 0.0);
            EXPECT_EQ(y, want) << t.name << " " << m.name;
            EXPECT_FALSE(o.flags & FE_OVERFLOW) << t.name << " " << m.name;
        }
    };
    th::for_each_tier(tsr_tiers_log2p1, run);
    th::for_each_tier(tsr_portable_tiers_log2p1, run);
}

// Results that are exact numbers, in every tier and mode: log2 of every power of two.
TEST(LogExact, PowersOfTwo) {
    th::for_each_tier(tsr_tiers_log2, [](const auto &t) {
        for (const auto &m : th::kModes) {
            th::ModeGuard g(m.fe);
            for (int k = -1074; k <= 1023; ++k) {
                auto [y, o] = th::observe([&] { return t.fn(std::ldexp(1.0, k)); });
                ASSERT_EQ(y, double(k)) << t.name << " " << m.name << " k=" << k;
                ASSERT_FALSE(o.flags & FE_INEXACT) << t.name << " k=" << k;
            }
        }
    });
    th::for_each_tier(tsr_tiers_log2f, [](const auto &t) {
        for (const auto &m : th::kModes) {
            th::ModeGuard g(m.fe);
            for (int k = -149; k <= 127; ++k)
                ASSERT_EQ(t.fn(std::ldexp(1.0f, k)), float(k)) << t.name << " " << m.name << " k=" << k;
        }
    });
}

TEST(LogExact, PowersOfTenFloatEx) {
    for (int k = 1; k <= 10; ++k) {
        float x = float(std::pow(10.0, k));
        auto [y, o] = th::observe([&] { return __libm_log10f_ex_local(x); });
        EXPECT_EQ(y, float(k)) << k;
        EXPECT_FALSE(o.flags & FE_INEXACT) << k;
    }
    // A neighbour of a power of ten is not taken for it.
    th::ModeGuard g(FE_DOWNWARD);
    EXPECT_LT(__libm_log10f_ex_local(std::nextafter(1000.0f, 0.0f)), 3.0f);
}

// A tiny argument of log1p returns itself; a subnormal one raises underflow on the way.
TEST(LogExact, Log1pTiny) {
    th::for_each_tier(tsr_tiers_log1p, [](const auto &t) {
        for (double x : {0x1p-60, -0x1p-60, 0x1p-1000, 0x1p-1074, -0x1p-1070}) {
            auto [y, o] = th::observe([&] { return t.fn(x); });
            EXPECT_EQ(y, x) << t.name << " " << x;
            if (std::fabs(x) < 0x1p-1022) EXPECT_TRUE(o.flags & FE_UNDERFLOW) << t.name << " " << x;
        }
        EXPECT_TRUE(std::isfinite(t.fn(DBL_MAX))) << t.name;
    });
    th::for_each_tier(tsr_tiers_log1pf, [](const auto &t) {
        EXPECT_EQ(t.fn(0x1p-30f), 0x1p-30f) << t.name;
        EXPECT_TRUE(std::isfinite(t.fn(FLT_MAX))) << t.name;
    });
}

// Under upward rounding 1 + DBL_MAX overflows: log1p must not follow it to infinity.
TEST(LogExact, Log1pOfLargestUpward) {
    th::ModeGuard g(FE_UPWARD);
    th::for_each_tier(tsr_tiers_log1p, [](const auto &t) { EXPECT_TRUE(std::isfinite(t.fn(DBL_MAX))) << t.name; });
    th::for_each_tier(tsr_tiers_log1pf, [](const auto &t) { EXPECT_TRUE(std::isfinite(t.fn(FLT_MAX))) << t.name; });
}

// Bitwise agreement of the two tiers that share one algorithm.
TEST(LogExact, ExEqualsE7) {
    auto xs = lt::positive_inputs<double>(20000, 5);
    for (double x : xs) {
        ASSERT_EQ(th::bits_of(__libm_log_ex_local(x)), th::bits_of(__libm_log_e7_local(x))) << x;
        ASSERT_EQ(th::bits_of(__libm_log2_ex_local(x)), th::bits_of(__libm_log2_e7_local(x))) << x;
        ASSERT_EQ(th::bits_of(__libm_log10_ex_local(x)), th::bits_of(__libm_log10_e7_local(x))) << x;
    }
}

// log1p at each boundary of the tiers' bands and its neighbours, against MPFR.
TEST(LogAccuracy, Log1pBandEdges) {
    const double edges[] = {0x1p-57, 0x1p-54, 0x1.2p-54, 0x1p-20, 0x1p-13, 0x1p-7, 0x1p-6, 0x1.24p-4,
                            0x1p54,  0x1p1022, DBL_MAX, 1.0, 0.5};
    std::vector<double> xs;
    for (double e : edges)
        for (double s : {1.0, -1.0}) {
            double v = s * e;
            if (v <= -1) continue;
            for (int k = 0; k < 4; ++k) {
                xs.push_back(v);
                xs.push_back(std::nextafter(v, 0.0));
                v = std::nextafter(v, INFINITY);
            }
        }
    lt::Refs refs(xs, mpfr_log1p);
    lt::sweep("log1p", tsr_tiers_log1p, xs, refs, 0.55, 2.0);
}

// The kernels against MPFR.
TEST(LogKernels, K64) {
    std::mt19937_64 g(9);
    double worst = 0, whi = 0, wlo = 0;
    auto xs = lt::positive_inputs<double>(50000, 91);
    for (double hi : xs) {
        double lo = hi * std::ldexp(double(int64_t(g() % 2001) - 1000) / 1000.0, -54);
        if (!std::isnormal(lo)) lo = 0;
        double out[2];
        __libm_log_k64(hi, lo, out);
        th::Mp a, b, r, d;
        th::set(a, hi);
        th::set(b, lo);
        mpfr_add(a, a, b, MPFR_RNDN);
        mpfr_log(r, a, MPFR_RNDN);
        th::set(a, out[0]);
        th::set(b, out[1]);
        mpfr_add(d, a, b, MPFR_RNDN);
        mpfr_sub(d, d, r, MPFR_RNDN);
        // error relative to the result, in units of 2^-53
        double rel = std::fabs(mpfr_get_d(d, MPFR_RNDN) / mpfr_get_d(r, MPFR_RNDN)) * 0x1p53;
        if (rel > worst) worst = rel, whi = hi, wlo = lo;
    }
    std::printf("[ ACCURACY ] __libm_log_k64 max relative error %.4f * 2^-53 at %a + %a\n", worst, whi, wlo);
    // Just below 1 the whole result can sit in the product b = ((hi - a) + lo)*R, whose one
    // rounding is not compensated: about 2^-53 relative there, far less elsewhere.
    EXPECT_LT(worst, 1.0);
    double out[2];
    __libm_log_k64(0.0, 0.0, out);
    EXPECT_EQ(out[0], -INFINITY);
    __libm_log_k64(-1.0, 0.0, out);
    EXPECT_TRUE(std::isnan(out[0]) && std::isnan(out[1]));
    __libm_log_k64(INFINITY, 0.0, out);
    EXPECT_EQ(out[0], INFINITY);
    __libm_log_k64(1.0, 0.0, out);
    EXPECT_EQ(out[0] + out[1], 0.0);
}

TEST(LogKernels, K32) {
    auto xs = lt::positive_inputs<float>(100000, 93);
    double worst = 0;
    for (float xf : xs) {
        double x = xf, y = __libm_log_k32(x);
        th::Mp r;
        th::ref(r, mpfr_log, x);
        double ref = mpfr_get_d(r, MPFR_RNDN);
        double err = std::fabs(y - ref) / std::max(std::fabs(ref), 0x1p-30) * 0x1p24;  // in float ulps (2^-24 rel)
        if (err > worst) worst = err;
    }
    std::printf("[ ACCURACY ] __libm_log_k32 max error %.5f float ulp (relative 2^-24)\n", worst);
    EXPECT_LT(worst, 0.01);
}

}  // namespace

namespace {
// The FMA log10 normalises a subnormal argument by integer and raises the denormal-operand
// flag by hand, as the arithmetic on it would have.
TEST(LogSpecial, Log10DenormalFlag) {
    auto run = [](const auto &t) {
        uint32_t saved;
        asm volatile("stmxcsr %0" : "=m"(saved));
        uint32_t clear = saved & ~0x3fu;
        asm volatile("ldmxcsr %0" : : "m"(clear));
        double y = t.fn(0x1p-1060);
        uint32_t after;
        asm volatile("stmxcsr %0" : "=m"(after));
        asm volatile("ldmxcsr %0" : : "m"(saved));
        EXPECT_TRUE(after & 0x2) << t.name;
        EXPECT_NEAR(y, -1060 * 0.30102999566398120, 1e-12) << t.name;
    };
    for (const auto &t : tsr_tiers_log10)
        if (t.tier == tsr::Tier::l9 && tsr::tier_runnable(t.tier)) run(t);
    for (const auto &t : tsr_portable_tiers_log10) run(t);
}
}  // namespace

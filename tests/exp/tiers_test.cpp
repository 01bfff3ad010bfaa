// How the tiers relate: ex and e7 of exp and expf are one algorithm (bitwise equal); the FMA
// tiers hand what lies outside their core to the e7 body; the plain names reach a tier; the
// x87 precision that the subnormal path of exp2 needs is set and given back.
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "sweep.h"
#include "tessera.h"

namespace {

template <class T, class Fn>
void expect_same(const char *what, Fn a, Fn b, const std::vector<T> &xs) {
    for (const th::Mode &m : th::kModes) {
        th::ModeGuard g(m.fe);
        size_t bad = 0;
        T first = 0;
        for (T x : xs)
            if (th::bits_of(a(x)) != th::bits_of(b(x)) && bad++ == 0) first = x;
        EXPECT_EQ(bad, 0u) << what << " " << m.name << " first at x = " << std::hexfloat << first;
    }
}

bool runnable(tsr::Tier t) { return tsr::tier_runnable(t); }

}  // namespace

TEST(ExpTiers, ExAndE7AreOneAlgorithm) {
    auto xs = th::log_uniform<double>(0x1p-60, 745.0, 50000, 3, true);
    expect_same<double>("exp", __libm_exp_ex_local, __libm_exp_e7_local, xs);
    auto fs = th::log_uniform<float>(0x1p-30f, 104.0f, 50000, 4, true);
    expect_same<float>("expf", __libm_expf_ex_local, __libm_expf_e7_local, fs);
}

TEST(ExpTiers, FmaTiersHandTheRestToE7) {
    // exp: |x| >= 640 (and NaN, infinities) go to the e7 body.
    auto big = expt::cat(th::uniform<double>(640.0, 720.0, 3000, 5), th::uniform<double>(-760.0, -640.0, 3000, 6));
    big.insert(big.end(), {700.0, 1024.0, 1e300, -1e300, INFINITY, -INFINITY});
    auto big2 = expt::cat(th::uniform<double>(1022.0, 1030.0, 3000, 7), th::uniform<double>(-1080.0, -1022.0, 3000, 8));
    auto bigf = expt::cat(th::uniform<float>(86.65f, 90.0f, 3000, 9), th::uniform<float>(-110.0f, -86.65f, 3000, 10));
    auto big2f = expt::cat(th::uniform<float>(126.0f, 130.0f, 3000, 11), th::uniform<float>(-160.0f, -126.0f, 3000, 12));
    if (runnable(tsr::Tier::l9)) {
        expect_same<double>("exp l9", __libm_exp_l9_local, __libm_exp_e7_local, big);
        expect_same<double>("exp2 l9", __libm_exp2_l9_local, __libm_exp2_e7_local, big2);
        expect_same<float>("expf l9", __libm_expf_l9_local, __libm_expf_e7_local, bigf);
        expect_same<float>("exp2f l9", __libm_exp2f_l9_local, __libm_exp2f_e7_local, big2f);
        expect_same<double>("exp z0-portable", __libm_exp_z0_portable, __libm_exp_e7_local, big);
        expect_same<double>("exp d1-portable", __libm_exp_d1_portable, __libm_exp_e7_local, big);
        expect_same<double>("exp2 z0-portable", __libm_exp2_z0_portable, __libm_exp2_e7_local, big2);
        expect_same<double>("exp2 d1-portable", __libm_exp2_d1_portable, __libm_exp2_e7_local, big2);
        expect_same<float>("exp2f z0-portable", __libm_exp2f_z0_portable, __libm_exp2f_e7_local, big2f);
        expect_same<float>("exp2f d1-portable", __libm_exp2f_d1_portable, __libm_exp2f_e7_local, big2f);
    } else {
        std::printf("[  NOTICE  ] tier l9 not run: this processor lacks its instruction set\n");
    }
    if (runnable(tsr::Tier::z0)) {
        expect_same<double>("exp z0", __libm_exp_z0_local, __libm_exp_e7_local, big);
        expect_same<double>("exp d1", __libm_exp_d1_local, __libm_exp_e7_local, big);
        expect_same<double>("exp2 z0", __libm_exp2_z0_local, __libm_exp2_e7_local, big2);
        expect_same<float>("exp2f z0", __libm_exp2f_z0_local, __libm_exp2f_e7_local, big2f);
    } else {
        std::printf("[  NOTICE  ] tiers z0, d1 not run natively: this processor lacks AVX-512\n");
    }
}

TEST(ExpTiers, PlainNamesReachATier) {
    auto one_of = [](double y, const auto &tiers, double x) {
        for (const auto &t : tiers)
            if (tsr::tier_runnable(t.tier) && th::bits_of(t.fn(x)) == th::bits_of(y)) return true;
        return false;
    };
    auto one_off = [](float y, const auto &tiers, float x) {
        for (const auto &t : tiers)
            if (tsr::tier_runnable(t.tier) && th::bits_of(t.fn(x)) == th::bits_of(y)) return true;
        return false;
    };
    for (double x : {0.3, -2.7, 100.1, -700.5}) {
        EXPECT_TRUE(one_of(exp(x), tsr_tiers_exp, x)) << x;
        EXPECT_EQ(th::bits_of(exp(x)), th::bits_of(__libm_exp(x)));
        EXPECT_TRUE(one_of(exp2(x), tsr_tiers_exp2, x)) << x;
        EXPECT_TRUE(one_of(exp10(x / 3), tsr_tiers_exp10, x / 3)) << x;
        float f = float(x / 10);
        EXPECT_TRUE(one_off(expf(f), tsr_tiers_expf, f)) << f;
        EXPECT_TRUE(one_off(exp2f(f), tsr_tiers_exp2f, f)) << f;
        EXPECT_TRUE(one_off(exp10f(f), tsr_tiers_exp10f, f)) << f;
    }
}

TEST(ExpTiers, Exp2SubnormalPathSetsAndRestoresX87Precision) {
    // With the x87 unit at 53-bit precision the 80-bit sum would be rounded twice; the path
    // sets 64-bit precision itself and gives the caller's control word back.
    uint16_t cw0;
    asm volatile("fnstcw %0" : "=m"(cw0));
    uint16_t cw53 = uint16_t((cw0 & ~0x300) | 0x200);
    asm volatile("fldcw %0" : : "m"(cw53));
    auto xs = th::uniform<double>(-1074.0, -1023.0, 2000, 13);
    std::vector<double> got;
    for (double x : xs) got.push_back(__libm_exp2_ex_local(x));
    uint16_t cw1;
    asm volatile("fnstcw %0" : "=m"(cw1));
    asm volatile("fldcw %0" : : "m"(cw0));
    EXPECT_EQ(cw1, cw53);
    for (size_t i = 0; i < xs.size(); ++i) EXPECT_EQ(th::bits_of(got[i]), th::bits_of(__libm_exp2_ex_local(xs[i]))) << xs[i];
}

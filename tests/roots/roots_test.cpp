// Square roots, inverse square roots, cube roots and hypot: special values, exact cases
// (exact and without inexact in every mode), reports, and accuracy against MPFR over every
// tier and mode.
#include "roots_util.h"

using namespace roots;

namespace {

const double kInf = INFINITY, kNaN = NAN, kMax = 0x1.fffffffffffffp1023;
const float fMax = 0x1.fffffep127f;

template <class... L>
std::vector<Variant> variants(const L &...lists) {
    std::vector<Variant> v;
    (add(v, lists), ...);
    return v;
}

const tsr::TierFn<double (*)(double)> bwr_sqrt[] = {{"bwr", tsr::Tier::ex, __bwr_sqrt}},
                                      bwr_invsqrt[] = {{"bwr", tsr::Tier::ex, __bwr_invsqrt}},
                                      bwr_cbrt[] = {{"bwr", tsr::Tier::ex, __bwr_cbrt}};
const tsr::TierFn<float (*)(float)> bwr_sqrtf[] = {{"bwr", tsr::Tier::ex, __bwr_sqrtf}},
                                    bwr_invsqrtf[] = {{"bwr", tsr::Tier::ex, __bwr_invsqrtf}},
                                    bwr_cbrtf[] = {{"bwr", tsr::Tier::ex, __bwr_cbrtf}};
const tsr::TierFn<double (*)(double, double)> bwr_hypot[] = {{"bwr", tsr::Tier::ex, __bwr_hypot}};
const tsr::TierFn<float (*)(float, float)> bwr_hypotf[] = {{"bwr", tsr::Tier::ex, __bwr_hypotf}};

}  // namespace

TEST(Roots, SqrtSpecial) {
    std::vector<Row> rows = {
        {-0.0, 0, -0.0, NONE, -1, true},     {-1.0, 0, kNaN, INV, 49, true},
        {-kInf, 0, kNaN, INV, 49, true},     {-0x1p-1074, 0, kNaN, INV, 49, true},
        {kNaN, 0, kNaN, NONE, -1, true},     {-kNaN, 0, kNaN, NONE, -1, true},
        {kInf, 0, kInf, NONE, -1, true},     {0x1p-1074, 0, 0x1p-537, NONE, -1, true},
        {0x1.8p-1070, 0, 0x1.3988e1409212ep-535, NX, -1, false},
        {2.0, 0, 0x1.6a09e667f3bcdp0, NX, -1, false},
        {0x1.1p8 * 0x1.1p8, 0, 0x1.1p8, NONE, -1, true},  // 4624 = 68^2
    };
    check_rows("sqrt", variants(tsr_tiers_sqrt, bwr_sqrt), rows, false);
    rows = {
        {-0.0, 0, -0.0, NONE, -1, true},  {-1.0, 0, kNaN, INV, 50, true},   {-kInf, 0, kNaN, INV, 50, true},
        {-0x1p-149, 0, kNaN, INV, 50, true}, {kNaN, 0, kNaN, NONE, -1, true}, {-kNaN, 0, kNaN, NONE, -1, true},
        {kInf, 0, kInf, NONE, -1, true},  {0x1p-148, 0, 0x1p-74, NONE, -1, true},
        {289.0, 0, 17.0, NONE, -1, true}, {2.0, 0, 0x1.6a09e6p0, NX, -1, false},
    };
    check_rows("sqrtf", variants(tsr_tiers_sqrtf, bwr_sqrtf), rows, true);
}

TEST(Roots, InvsqrtSpecial) {
    std::vector<Row> rows = {
        {0.0, 0, kInf, DZ, -1, true},  {-0.0, 0, -kInf, DZ, -1, true}, {-1.0, 0, kNaN, INV, -1, true},
        {-kInf, 0, kNaN, INV, -1, true}, {kInf, 0, 0.0, NONE, -1, true}, {kNaN, 0, kNaN, NONE, -1, true},
        {4.0, 0, 0.5, NONE, -1, true},  {0x1p-1074, 0, 0x1p537, NONE, -1, true},
        {0x1p-148, 0, 0x1p74, NONE, -1, true},
    };
    check_rows("invsqrt", variants(tsr_tiers_invsqrt, bwr_invsqrt), rows, false);
    rows.pop_back();
    rows[7] = {0x1p-148, 0, 0x1p74, NONE, -1, true};
    check_rows("invsqrtf", variants(tsr_tiers_invsqrtf, bwr_invsqrtf), rows, true);
}

TEST(Roots, CbrtSpecial) {
    std::vector<Row> rows = {
        {0.0, 0, 0.0, NONE, -1, true},         {-0.0, 0, -0.0, NONE, -1, true},
        {kInf, 0, kInf, NONE, -1, true},       {-kInf, 0, -kInf, NONE, -1, true},
        {kNaN, 0, kNaN, NONE, -1, true},       {-8.0, 0, -2.0, NONE, -1, true},
        {0x1p-1074, 0, 0x1p-358, NONE, -1, true}, {-0x1p-1071, 0, -0x1p-357, NONE, -1, true},
        {0x1p1020, 0, 0x1p340, NONE, -1, true}, {0x1p-1022, 0, 0x1.428a2f98d728bp-341, NX, -1, false},
        {-27.0, 0, -3.0, ANYF, -1, false},      {1030301.0, 0, 101.0, ANYF, -1, false},
        {0x1.bp-1019, 0, 0x1.8p-340, ANYF, -1, false},  // 27 * 2^-1023: 3 * 2^-341
    };
    check_rows("cbrt", variants(tsr_tiers_cbrt, tsr_portable_tiers_cbrt, bwr_cbrt), rows, false);
    std::vector<Row> frows = {
        {0.0, 0, 0.0, NONE, -1, true},          {-0.0, 0, -0.0, NONE, -1, true},
        {kInf, 0, kInf, NONE, -1, true},        {-kInf, 0, -kInf, NONE, -1, true},
        {kNaN, 0, kNaN, NONE, -1, true},        {-8.0, 0, -2.0, NONE, -1, true},
        {0x1p-147, 0, 0x1p-49, NONE, -1, true}, {-0x1p-126, 0, -0x1p-42, NONE, -1, true},
        {0x1p126, 0, 0x1p42, NONE, -1, true},   {0x1p-125, 0, 0x1.428a3p-42, NX, -1, false},
        {-27.0, 0, -3.0, ANYF, -1, false},      {0x1.bp-143, 0, 0x1.8p-48, ANYF, -1, false},
    };
    check_rows("cbrtf", variants(tsr_tiers_cbrtf, bwr_cbrtf), frows, true);
}

TEST(Roots, HypotSpecial) {
    const double big = 0x1.6a09e667f3bcdp1023;  // sqrt(2) 2^1023, rounded
    std::vector<Row> rows = {
        {3.0, 4.0, 5.0, NONE, -1, true},          {-5.0, 12.0, 13.0, NONE, -1, true},
        {20.0, -99.0, 101.0, NONE, -1, true},      {0x3p-1074, 0x4p-1074, 0x5p-1074, NONE, -1, true},
        {0x3p1020, 0x4p1020, 0x5p1020, NONE, -1, true}, {0.0, -0.0, 0.0, NONE, -1, true},
        {-3.0, 0.0, 3.0, NONE, -1, true},          {0x1p1023, 0x1p1023, big, NX, -1, false},
        {kMax, kMax, kInf, OV, 46, false},         {kMax, 0x1p1020, kInf, OV, 46, false},
        {kInf, kNaN, kInf, NONE, -1, true},        {kNaN, -kInf, kInf, NONE, -1, true},
        {-kInf, 1.0, kInf, NONE, -1, true},        {kNaN, 1.0, kNaN, NONE, -1, true},
        {1e300, 1e-300, 1e300, ANYF, -1, false},   {0x1p-1074, 0x1p-1074, 0x1p-1074, NX | FE_UNDERFLOW, -1, false},
        {0x1.8p-1060, 0x1p-1060, 0x1.cd82b446159f3p-1060, NX | FE_UNDERFLOW, -1, false},
    };
    check_rows("hypot", variants(tsr_tiers_hypot, bwr_hypot), rows, false);
    std::vector<Row> frows = {
        {3.0, 4.0, 5.0, NONE, -1, true},          {-5.0, 12.0, 13.0, NONE, -1, true},
        {0x3p-149, 0x4p-149, 0x5p-149, NONE, -1, true}, {0x3p125, 0x4p125, 0x5p125, NONE, -1, true},
        {0x1p127, 0x1p127, 0x1.6a09e6p127, NX, -1, false},
        {fMax, fMax, kInf, OV, 47, false},         {kInf, kNaN, kInf, NONE, -1, true},
        {kNaN, -kInf, kInf, NONE, -1, true},       {kNaN, 1.0, kNaN, NONE, -1, true},
        {0.0, -0.0, 0.0, NONE, -1, true},
    };
    check_rows("hypotf", variants(tsr_tiers_hypotf, bwr_hypotf), frows, true);
}

// e7: exponents over 32 apart give the larger magnitude itself, without a rounding flag.
TEST(Roots, HypotE7FarApart) {
    std::vector<Row> rows = {{1e300, 1e-300, 1e300, NONE, -1, false}, {-0x1p-20, 0x1p20, 0x1p20, NONE, -1, false}};
    std::vector<Variant> e7;
    for (const Variant &v : variants(tsr_tiers_hypot))
        if (v.name == "e7") e7.push_back(v);
    check_rows("hypot", e7, rows, false);
}

// sqrt and sqrtf are correctly rounded in every mode: bit for bit against MPFR.
TEST(Roots, SqrtCorrectlyRounded) {
    auto xs = th::log_uniform<double>(0x1p-1074, 0x1p1023, 100000, 3);
    auto fs = th::log_uniform<float>(0x1p-149f, 0x1p127f, 100000, 4);
    auto run = [](const char *name, auto &tiers, const auto &in) {
        th::for_each_tier(tiers, [&](const auto &t) {
            size_t bad = 0;
            th::Mp e;
            for (const th::Mode &m : th::kModes) {
                th::ModeGuard g(m.fe);
                for (auto x : in) {
                    th::ref(e, mpfr_sqrt, x);
                    using T = decltype(x);
                    if (th::bits_of(t.fn(x)) != th::bits_of(th::round_to<T>(e, m.rnd))) ++bad;
                }
            }
            EXPECT_EQ(bad, 0u) << name << " " << t.name;
        });
    };
    run("sqrt", tsr_tiers_sqrt, xs);
    run("sqrtf", tsr_tiers_sqrtf, fs);
}

TEST(Roots, Accuracy) {
    using expt::cat;
    auto xs = cat(th::log_uniform<double>(0x1p-1074, 0x1p1023, 100000, 5, true),
                  th::uniform<double>(0.5, 8.0, 20000, 6));
    auto refs = expt::references(mpfr_cbrt, xs);
    expt::sweep("cbrt", tsr_tiers_cbrt, xs, refs, 0.55, 2.0);
    expt::sweep("cbrt", tsr_portable_tiers_cbrt, xs, refs, 0.55, 2.0);
    expt::sweep("cbrt", bwr_cbrt, xs, refs, 0.55, 2.0);
    auto fs = cat(th::log_uniform<float>(0x1p-149f, 0x1p127f, 100000, 7, true),
                  th::uniform<float>(0.5f, 8.0f, 20000, 8));
    auto frefs = expt::references(mpfr_cbrt, fs);
    expt::sweep("cbrtf", tsr_tiers_cbrtf, fs, frefs, 0.51, 2.0);

    auto ps = th::log_uniform<double>(0x1p-1074, 0x1p1023, 100000, 9);
    auto prefs = expt::references(mpfr_rec_sqrt, ps);
    expt::sweep("invsqrt", tsr_tiers_invsqrt, ps, prefs, 0.55, 2.0);
    auto pf = th::log_uniform<float>(0x1p-149f, 0x1p127f, 100000, 10);
    auto pfrefs = expt::references(mpfr_rec_sqrt, pf);
    expt::sweep("invsqrtf", tsr_tiers_invsqrtf, pf, pfrefs, 0.51, 2.0);
}

TEST(Roots, HypotAccuracy) {
    using expt::cat;
    // Operands of every magnitude, and operand pairs within a few binades of each other
    // (where both squares count).
    auto xs = cat(th::log_uniform<double>(0x1p-1074, 0x1p1023, 60000, 11, true),
                  th::log_uniform<double>(0x1p-30, 0x1p30, 60000, 12, true));
    auto ys = cat(th::log_uniform<double>(0x1p-1074, 0x1p1023, 60000, 13, true),
                  th::log_uniform<double>(0x1p-30, 0x1p30, 60000, 14, true));
    sweep2("hypot", tsr_tiers_hypot, xs, ys, mpfr_hypot, 0.55, 2.0);
    auto fx = cat(th::log_uniform<float>(0x1p-149f, 0x1p127f, 60000, 15, true),
                  th::log_uniform<float>(0x1p-12f, 0x1p12f, 60000, 16, true));
    auto fy = cat(th::log_uniform<float>(0x1p-149f, 0x1p127f, 60000, 17, true),
                  th::log_uniform<float>(0x1p-12f, 0x1p12f, 60000, 18, true));
    sweep2("hypotf", tsr_tiers_hypotf, fx, fy, mpfr_hypot, 0.51, 2.0);
}

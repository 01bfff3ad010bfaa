// asinh, acosh, atanh: special values, reports and flags, the bands' edges, and accuracy
// against MPFR over every tier and mode (next to 1 for acosh and atanh in particular).
#include "roots_util.h"

using namespace roots;

namespace {

const double kInf = INFINITY, kNaN = NAN;

template <class... L>
std::vector<Variant> variants(const L &...lists) {
    std::vector<Variant> v;
    (add(v, lists), ...);
    return v;
}

const tsr::TierFn<double (*)(double)> bwr_asinh[] = {{"bwr", tsr::Tier::ex, __bwr_asinh}},
                                      bwr_acosh[] = {{"bwr", tsr::Tier::ex, __bwr_acosh}},
                                      bwr_atanh[] = {{"bwr", tsr::Tier::ex, __bwr_atanh}};
const tsr::TierFn<float (*)(float)> bwr_asinhf[] = {{"bwr", tsr::Tier::ex, __bwr_asinhf}},
                                    bwr_acoshf[] = {{"bwr", tsr::Tier::ex, __bwr_acoshf}},
                                    bwr_atanhf[] = {{"bwr", tsr::Tier::ex, __bwr_atanhf}};

}  // namespace

TEST(InvHyp, Special) {
    const int UNX = FE_UNDERFLOW | FE_INEXACT;
    check_rows("asinh", variants(tsr_tiers_asinh, tsr_portable_tiers_asinh, bwr_asinh),
               {{0.0, 0, 0.0, NONE, -1, true}, {-0.0, 0, -0.0, NONE, -1, true},
                {kInf, 0, kInf, NONE, -1, true}, {-kInf, 0, -kInf, NONE, -1, true},
                {kNaN, 0, kNaN, NONE, -1, true}, {0x1p-1074, 0, 0x1p-1074, UNX, -1, false},
                {-0x1p-1022, 0, -0x1p-1022, NX, -1, false}, {0x1p-60, 0, 0x1p-60, NX, -1, false}},
               false);
    check_rows("asinhf", variants(tsr_tiers_asinhf, tsr_portable_tiers_asinhf, bwr_asinhf),
               {{0.0, 0, 0.0, NONE, -1, true}, {-0.0, 0, -0.0, NONE, -1, true},
                {kInf, 0, kInf, NONE, -1, true}, {-kInf, 0, -kInf, NONE, -1, true},
                {kNaN, 0, kNaN, NONE, -1, true}, {0x1p-149, 0, 0x1p-149, UNX, -1, false},
                {-0x1p-126, 0, -0x1p-126, NX, -1, false}},
               true);
    check_rows("acosh", variants(tsr_tiers_acosh, tsr_portable_tiers_acosh, bwr_acosh),
               {{1.0, 0, 0.0, NONE, -1, true}, {kInf, 0, kInf, NONE, -1, true},
                {0.5, 0, kNaN, INV, 136, true}, {-kInf, 0, kNaN, INV, 136, true},
                {-1.0, 0, kNaN, INV, 136, true}, {0.0, 0, kNaN, INV, 136, true},
                {0x1.fffffffffffffp-1, 0, kNaN, INV, 136, true}, {kNaN, 0, kNaN, NONE, -1, true}},
               false);
    check_rows("acoshf", variants(tsr_tiers_acoshf, tsr_portable_tiers_acoshf, bwr_acoshf),
               {{1.0, 0, 0.0, NONE, -1, true}, {kInf, 0, kInf, NONE, -1, true},
                {0.5, 0, kNaN, INV, 137, true}, {-kInf, 0, kNaN, INV, 137, true},
                {0x1.fffffep-1, 0, kNaN, INV, 137, true}, {kNaN, 0, kNaN, NONE, -1, true}},
               true);
    check_rows("atanh", variants(tsr_tiers_atanh, bwr_atanh),
               {{0.0, 0, 0.0, NONE, -1, true}, {-0.0, 0, -0.0, NONE, -1, true},
                {1.0, 0, kInf, DZ, 132, true}, {-1.0, 0, -kInf, DZ, 132, true},
                {1.5, 0, kNaN, INV, 131, true}, {-kInf, 0, kNaN, INV, 131, true},
                {0x1.0000000000001p0, 0, kNaN, INV, 131, true}, {kNaN, 0, kNaN, NONE, -1, true},
                {0x1p-1074, 0, 0x1p-1074, UNX, -1, false}, {0x1p-600, 0, 0x1p-600, NX, -1, false}},
               false);
    check_rows("atanhf", variants(tsr_tiers_atanhf, bwr_atanhf),
               {{0.0, 0, 0.0, NONE, -1, true}, {-0.0, 0, -0.0, NONE, -1, true},
                {1.0, 0, kInf, DZ, 134, true}, {-1.0, 0, -kInf, DZ, 134, true},
                {1.5, 0, kNaN, INV, 133, true}, {kInf, 0, kNaN, INV, 133, true},
                {kNaN, 0, kNaN, NONE, -1, true}, {-0x1p-149, 0, -0x1p-149, UNX, -1, false}},
               true);
}

namespace {
template <class T>
std::vector<T> around(T lo, T hi, size_t n, uint64_t seed, bool both = true) {
    return th::log_uniform<T>(lo, hi, n, seed, both);
}
}  // namespace

TEST(InvHyp, Accuracy) {
    using expt::cat;
    // Every band and its edges: tiny, the series, 1/16 .. 4.75 .. 2^28, beyond.
    auto xs = cat(around<double>(0x1p-1074, 0x1p1023, 60000, 21), around<double>(0x1p-6, 0x1p5, 60000, 22));
    auto refs = expt::references(mpfr_asinh, xs);
    expt::sweep("asinh", tsr_tiers_asinh, xs, refs, 0.55, 2.0);
    expt::sweep("asinh", tsr_portable_tiers_asinh, xs, refs, 0.55, 2.0);
    expt::sweep("asinh", bwr_asinh, xs, refs, 0.55, 2.0);

    // acosh: 1 + d for d from 2^-52 up, and the whole range.
    std::vector<double> cs = around<double>(1.0, 0x1p1023, 60000, 23, false);
    for (double d : around<double>(0x1p-52, 0x1p2, 60000, 24, false)) cs.push_back(1.0 + d);
    auto crefs = expt::references(mpfr_acosh, cs);
    expt::sweep("acosh", tsr_tiers_acosh, cs, crefs, 0.55, 2.0);
    expt::sweep("acosh", tsr_portable_tiers_acosh, cs, crefs, 0.55, 2.0);

    // atanh: every magnitude below 1, and 1 - d next to the pole.
    auto ts = around<double>(0x1p-1074, 0x1.fffffffffffffp-1, 60000, 25);
    for (double d : around<double>(0x1p-53, 0x1p-1, 60000, 26, false)) ts.push_back((ts.size() & 1 ? -1 : 1) * (1.0 - d));
    auto trefs = expt::references(mpfr_atanh, ts);
    expt::sweep("atanh", tsr_tiers_atanh, ts, trefs, 0.55, 2.0);
    expt::sweep("atanh", bwr_atanh, ts, trefs, 0.55, 2.0);
}

TEST(InvHyp, AccuracyFloat) {
    using expt::cat;
    auto xs = cat(around<float>(0x1p-149f, 0x1p127f, 60000, 31), around<float>(0x1p-6f, 0x1p5f, 60000, 32));
    auto refs = expt::references(mpfr_asinh, xs);
    expt::sweep("asinhf", tsr_tiers_asinhf, xs, refs, 0.51, 2.0);
    expt::sweep("asinhf", tsr_portable_tiers_asinhf, xs, refs, 0.51, 2.0);
    std::vector<float> cs = around<float>(1.0f, 0x1p127f, 60000, 33, false);
    for (float d : around<float>(0x1p-23f, 4.0f, 60000, 34, false)) cs.push_back(1.0f + d);
    auto crefs = expt::references(mpfr_acosh, cs);
    expt::sweep("acoshf", tsr_tiers_acoshf, cs, crefs, 0.51, 2.0);
    expt::sweep("acoshf", tsr_portable_tiers_acoshf, cs, crefs, 0.51, 2.0);
    auto ts = around<float>(0x1p-149f, 0x1.fffffep-1f, 60000, 35);
    for (float d : around<float>(0x1p-24f, 0.5f, 60000, 36, false)) ts.push_back(1.0f - d);
    auto trefs = expt::references(mpfr_atanh, ts);
    expt::sweep("atanhf", tsr_tiers_atanhf, ts, trefs, 0.51, 2.0);
}

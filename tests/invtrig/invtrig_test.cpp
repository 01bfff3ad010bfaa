// The inverse trigonometric functions: special values, region ends and atan2's quadrant rule
// as rows; accuracy against MPFR over the regions where the algorithms change (every tier, the
// four modes); every float input and 10 million per double function in the Long run.
#include <gtest/gtest.h>

#include <random>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;

const double kPi = 0x1.921fb54442d18p+1, kPio2 = 0x1.921fb54442d18p+0;
const float fPi = 0x1.921fb6p+1f, fPio2 = 0x1.921fb6p+0f;

// Rows of kind CR with modes 0 hold in all four modes.  Negative arguments of acos, asin and
// atan are checked in nearest only: the bodies work on |x| and put the sign on last, so a
// directed mode may round the magnitude the other way (within the sweeps' bound of 2).  Tiny
// arguments too: a 256-bit reference cannot see x^3/6 beside x.

// acos and asin share their regions: NaNs, the ends of the upper (0.7109375), middle (2^-9)
// and small (2^-28) regimes, 1/2 and the number below 1.
template <class T> std::vector<Row<T>> arc_rows(std::vector<Row<T>> own) {
    std::vector<Row<T>> r = with_nans<T>({
        {T(0.5), CR, NX}, {T(0.7109375), CR, NX}, {T(-0.7109375), CR, NX, 0, NO_CODE, RN},
    });
    if constexpr (sizeof(T) == 8) {
        for (double x : {0x1.fffffffffffffp-1, 0x1.6bfffffffffffp-1, 0x1p-9, 0x1.fffffffffffffp-10, 0x1p-28,
                         0x1.fffffffffffffp-29,
                         // tier ex: the ends of the grid (0.0625, 0.865234375), of the step on
                         // sqrt(1 - x^2) (0.9921875 for acos, 0.99609375 for asin) and of the series
                         0x1p-4, 0x1.fffffffffffffp-5, 0x1.bbp-1, 0x1.bafffffffffffp-1, 0x1.fcp-1,
                         0x1.fbfffffffffffp-1, 0x1.fep-1, 0x1.fdfffffffffffp-1, 0x1.c4p-1})
            r.push_back({x, CR, NX});
        for (double x : {-0x1p-4, -0x1.bbp-1, -0x1.bafffffffffffp-1, -0x1.fcp-1, -0x1.fep-1, 0x1p-60,
                         0x1.fffffffffffffp-61})
            r.push_back({x, CR, NX, 0, NO_CODE, RN});
        r.push_back({-0x1.fffffffffffffp-1, CR, NX, 0, NO_CODE, RN});
    } else {
        // tier e7: the ends of the float grid (2^-6, 0.9375), where it carries into the next
        // binade and on to c = 1 (x < 0 only), and of the series below it
        for (float x : {0x1.fffffep-1f, 0x1.000002p-1f, 0x1p-12f, 0x1p-27f, 0x1.fffffep-28f, 0x1p-6f, 0x1.fffffep-7f,
                        0x1.ep-1f, 0x1.dffffep-1f, 0x1.fdp-2f, 0x1.fep-1f})
            r.push_back({x, CR, NX});
        for (float x : {-0x1.ep-1f, -0x1.dffffep-1f, -0x1.fep-1f, -0x1.fdfffep-1f, -0x1p-6f})
            r.push_back({x, CR, NX, 0, NO_CODE, RN});
        r.push_back({-0x1.fffffep-1f, CR, NX, 0, NO_CODE, RN});
    }
    r.insert(r.end(), own.begin(), own.end());
    return r;
}

const std::vector<Row<double>> kAcos = arc_rows<double>({
    {1.0, 0.0},                                     // exactly +0, no flag
    {-1.0, CR, NX}, {0.0, CR, NX}, {-0.0, CR, NX},  // pi; pi/2 from two parts
    {0x1p-1074, CR, NX},                            // pi/2, no underflow
    {0x1.0000000000001p+0, NAN, INV, EDOM, code::acos_magnitude_above_1},
    {-2.0, NAN, INV, EDOM, code::acos_magnitude_above_1},
    {kInf, NAN, INV, EDOM, code::acos_magnitude_above_1},
    {-kInf, NAN, INV, EDOM, code::acos_magnitude_above_1},
});
const std::vector<Row<double>> kAsin = arc_rows<double>({
    {1.0, CR, NX}, {-1.0, CR, NX},  // pi/2 from two parts, rounded in the mode
    {0.0, 0.0}, {-0.0, -0.0},
    {0x1p-1074, CR, UN, 0, NO_CODE, RN}, {-0x1p-1074, CR, UN, 0, NO_CODE, RN},
    {0x1p-1022, CR, NX, 0, NO_CODE, RN},  // a normal result: no underflow
    {0x1p-1000, CR, NX, 0, NO_CODE, RN}, {0x1p-255, CR, NX, 0, NO_CODE, RN},
    {-0x1.0000000000001p+0, NAN, INV, EDOM, code::asin_magnitude_above_1},
    {-kInf, NAN, INV, EDOM, code::asin_magnitude_above_1},
});
const std::vector<Row<double>> kAtan = with_nans<double>({
    {0.0, 0.0}, {-0.0, -0.0},
    {0x1p-1074, CR, UN, 0, NO_CODE, RN}, {0x1p-1022, CR, NX, 0, NO_CODE, RN}, {0x1p-967, CR, NX, 0, NO_CODE, RN},
    {1.0, CR, NX}, {-1.0, CR, NX, 0, NO_CODE, RN},  // through the grid: c at 1's midpoint, z != 0
    {kInf, CR, NX}, {-kInf, CR, NX}, {0x1.fffffffffffffp+1023, CR, NX},
    // The ends of both grids, of the reciprocal region and of the tiny ones.
    {0x1p-5, CR, NX}, {0x1.fffffffffffffp-6, CR, NX}, {0x1p-6, CR, NX}, {0x1.fffffffffffffp-7, CR, NX},
    {32.0, CR, NX}, {0x1.fffffffffffffp+4, CR, NX}, {64.0, CR, NX}, {-0x1.fffffffffffffp+5, CR, NX, 0, NO_CODE, RN},
    {0x1p-28, CR, NX, 0, NO_CODE, RN}, {0x1p-64, CR, NX, 0, NO_CODE, RN},
    {0x1p56, CR, NX, 0, NO_CODE, RN}, {0x1p63, CR, NX, 0, NO_CODE, RN},
});

// atan2 (y, x): every signed zero and infinity pair as C99 Annex F gives it, both zeros
// reported; NaNs; subnormal operands (the FMA tiers hand them to the ex body); quotients beyond
// either end of the range; the ends of the FMA tiers' exponent window.
const std::vector<Row2<double>> kAtan2 = {
    {{0.0, 0.0}, 0.0, NONE, EDOM, code::atan2_both_arguments_0},
    {{-0.0, 0.0}, -0.0, NONE, EDOM, code::atan2_both_arguments_0},
    {{0.0, -0.0}, kPi, NX, EDOM, code::atan2_both_arguments_0},
    {{-0.0, -0.0}, -kPi, NX, EDOM, code::atan2_both_arguments_0},
    {{0.0, 1.0}, 0.0}, {{-0.0, 1.0}, -0.0}, {{0.0, -1.0}, kPi, NX}, {{-0.0, -1.0}, -kPi, NX},
    {{0.0, kInf}, 0.0}, {{-0.0, -kInf}, -kPi, NX},
    {{1.0, 0.0}, kPio2, NX}, {{-1.0, -0.0}, -kPio2, NX},
    {{kInf, 1.0}, kPio2, NX}, {{-kInf, -1.0}, -kPio2, NX}, {{kInf, 0.0}, kPio2, NX},
    {{1.0, kInf}, 0.0}, {{-1.0, kInf}, -0.0}, {{1.0, -kInf}, kPi, NX}, {{-1.0, -kInf}, -kPi, NX},
    {{kInf, kInf}, CR, NX}, {{kInf, -kInf}, CR, NX}, {{-kInf, kInf}, CR, NX}, {{-kInf, -kInf}, CR, NX},
    {{NAN, 1.0}, NAN}, {{1.0, NAN}, NAN}, {{0.0, NAN}, NAN}, {{kS, 1.0}, NAN, INV}, {{1.0, kS}, NAN, INV},
    {{0x1p-1074, 0x1.8p-1073}, CR, NX, 0, NO_CODE, RN},
    {{-0x1.4p-1072, -0x1.fffffffffffffp-1023}, CR, NX, 0, NO_CODE, RN},
    {{0x1p-1074, 1.0}, CR, UN, 0, NO_CODE, RN}, {{0x1p-1074, 2.0}, CR, UN, 0, NO_CODE, RN},
    {{0x1p-1074, -1.0}, CR, NX, 0, NO_CODE, RN}, {{-0x1p-1074, -1.0}, CR, NX, 0, NO_CODE, RN},
    {{0x1p-1022, 0x1.fffffffffffffp+1023}, CR, UN, 0, NO_CODE, RN},  // the quotient rounds to 0
    {{0x1p-767, 0x1p+257}, CR, UN, 0, NO_CODE, RN},                  // a subnormal quotient
    {{0x1.fffffffffffffp+1023, 0x1p-1074}, CR, NX}, {{0x1.fffffffffffffp+1023, -0x1p-1074}, CR, NX},
    {{0x1p+53, 1.0}, CR, NX}, {{1.0, 0x1p+53}, CR, NX},
    {{0x1p+123, 0x1p-124}, CR, NX}, {{0x1p-124, 0x1p+123}, CR, NX, 0, NO_CODE, RN},
    {{1.0, 1.0}, CR, NX}, {{-1.0, -1.0}, CR, NX, 0, NO_CODE, RN}, {{3.0, -4.0}, CR, NX, 0, NO_CODE, RN},
};

const std::vector<Row<float>> kAcosf = arc_rows<float>({
    {1.0f, 0.0f}, {-1.0f, CR, NX}, {0.0f, CR, NX}, {-0.0f, CR, NX},
    {0x1.000002p+0f, NAN, INV, EDOM, code::acosf_magnitude_above_1},
    {-fInf, NAN, INV, EDOM, code::acosf_magnitude_above_1},
});
const std::vector<Row<float>> kAsinf = arc_rows<float>({
    {1.0f, CR, NX}, {-1.0f, CR, NX}, {0.0f, 0.0f}, {-0.0f, -0.0f},
    {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {-0x1p-149f, CR, UN, 0, NO_CODE, RN}, {0x1p-126f, CR, NX, 0, NO_CODE, RN},
    {-0x1.000002p+0f, NAN, INV, EDOM, code::asinf_magnitude_above_1},
    {fInf, NAN, INV, EDOM, code::asinf_magnitude_above_1},
});
const std::vector<Row<float>> kAtanf = with_nans<float>({
    {0.0f, 0.0f}, {-0.0f, -0.0f},
    {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {0x1p-126f, CR, NX, 0, NO_CODE, RN},  // rounds to 2^-126: not tiny after rounding
    {fInf, CR, NX}, {-fInf, CR, NX}, {1.0f, CR, NX}, {0x1p-30f, CR, NX, 0, NO_CODE, RN},
    {0x1.fffffep-31f, CR, NX, 0, NO_CODE, RN}, {0x1p-5f, CR, NX}, {32.0f, CR, NX}, {0x1.fffffep+127f, CR, NX},
});
const std::vector<Row2<float>> kAtan2f = {
    {{0.0f, 0.0f}, 0.0f, NONE, EDOM, code::atan2f_both_arguments_0},
    {{-0.0f, 0.0f}, -0.0f, NONE, EDOM, code::atan2f_both_arguments_0},
    {{0.0f, -0.0f}, fPi, NX, EDOM, code::atan2f_both_arguments_0},
    {{-0.0f, -0.0f}, -fPi, NX, EDOM, code::atan2f_both_arguments_0},
    {{0.0f, -1.0f}, fPi, NX}, {{1.0f, 0.0f}, fPio2, NX}, {{-fInf, 1.0f}, -fPio2, NX},
    {{1.0f, fInf}, 0.0f}, {{-1.0f, -fInf}, -fPi, NX},
    {{fInf, -fInf}, CR, NX}, {{-fInf, fInf}, CR, NX},
    {{NAN, 1.0f}, NAN}, {{1.0f, fS}, NAN, INV},
    {{0x1p-149f, 1.0f}, CR, UN, 0, NO_CODE, RN}, {{0x1p-149f, 0x1p+23f}, CR, UN, 0, NO_CODE, RN},
    {{0x1p-149f, -1.0f}, CR, NX}, {{0x1.fffffep+127f, 0x1p-149f}, CR, NX},
    {{0x1.fffffep+127f, -0x1p-149f}, CR, NX}, {{0x1p-126f, 0x1.fffffep+127f}, CR, UN, 0, NO_CODE, RN},
    {{1.0f, 1.0f}, CR, NX}, {{0x1.000002p+0f, -1.0f}, CR, NX, 0, NO_CODE, RN},
    // tier ex's octants: ratios at and beside 1/2, 2 and 2^+-31, both signs of x
    {{1.0f, 2.0f}, CR, NX}, {{0x1.000002p+0f, 2.0f}, CR, NX}, {{2.0f, 0x1.fffffep-1f}, CR, NX},
    {{2.0f, 1.0f}, CR, NX}, {{-2.0f, -1.0f}, CR, NX, 0, NO_CODE, RN}, {{1.0f, -0x1.fffffep+0f}, CR, NX, 0, NO_CODE, RN},
    {{0x1p31f, 1.0f}, CR, NX}, {{0x1.000002p31f, 1.0f}, CR, NX}, {{1.0f, 0x1p31f}, CR, NX, 0, NO_CODE, RN},
    {{1.0f, 0x1.000002p31f}, CR, NX, 0, NO_CODE, RN}, {{0x1p-31f, -1.0f}, CR, NX, 0, NO_CODE, RN},
};

// ---- accuracy -------------------------------------------------------------------------------
// acos, asin: uniform over [-1, 1], 1 - |x| log-uniform down to an ulp of 1 (the upper regime
// and its end), log-uniform magnitudes from 2^-40, and bands around the regime ends.
template <class T> Sweep<T> arc_sweep(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions = {{40000, {T(-1), T(1), Dist::uniform}},
                 {20000, {T(d ? 0x1p-40 : 0x1p-30), T(0.75), Dist::log_uniform, true}},
                 {8000, {T(0x1.f8p-10), T(0x1.04p-9), Dist::uniform}},
                 {8000, {T(0.69), T(0.73), Dist::uniform}},
                 {4000, {T(0.49), T(0.51), Dist::uniform}}};
    if constexpr (!d) {
        // tier e7's grid ends: 2^-6 and 0.9375
        s.regions.push_back({4000, {0x1.f8p-7f, 0x1.04p-6f, Dist::uniform, true}});
        s.regions.push_back({6000, {0.93f, 0.945f, Dist::uniform, true}});
    }
    if constexpr (d) {
        // tier ex's regime ends: 0.0625, 0.865, 0.9921875 and 0.99609375
        s.regions.push_back({4000, {0.06, 0.065, Dist::uniform}});
        s.regions.push_back({6000, {0.86, 0.87, Dist::uniform}});
        s.regions.push_back({6000, {0.99, 0.998, Dist::uniform}});
    }
    s.gen = [](std::vector<T> &out, size_t n, uint64_t seed) {
        auto e = log_uniform<T>(T(d ? 0x1p-53 : 0x1p-24), T(0.3), n, seed, true);
        for (T v : e) out.push_back(v < 0 ? T(-1) - v : T(1) - v);
    };
    s.gen_n = 30000;
    return s.bounds(d ? 0.55 : 0.51);
}
Sweep<double> acos_plan() {
    return arc_sweep(func("acos", mpfr_acos, tsr_tiers_acos, tsr_portable_tiers_acos).entry(::acos));
}
Sweep<double> asin_plan() {
    return arc_sweep(func("asin", mpfr_asin, tsr_tiers_asin, tsr_portable_tiers_asin).entry(::asin));
}
Sweep<float> acosf_plan() {
    return arc_sweep(func("acosf", mpfr_acos, tsr_tiers_acosf).entry(::acosf));
}
Sweep<float> asinf_plan() {
    return arc_sweep(func("asinf", mpfr_asin, tsr_tiers_asinf).entry(::asinf));
}

// atan: log-uniform over the whole range, uniform on [-4, 4], and bands around the grid ends.
template <class T> Sweep<T> atan_sweep(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions = {{50000, {T(d ? 0x1p-70 : 0x1p-40), T(d ? 0x1p600 : 0x1p100), Dist::log_uniform, true}},
                 {30000, {T(-4), T(4), Dist::uniform}},
                 {6000, {T(0x1.f8p-7), T(0x1.08p-5), Dist::uniform}},
                 {6000, {T(31), T(65), Dist::uniform}},
                 {6000, {T(0x1p-30), T(0x1p-26), Dist::log_uniform, true}},
                 {6000, {T(0x1p50), T(0x1p64), Dist::log_uniform, true}}};
    return s.bounds(d ? 0.55 : 0.51);
}
Sweep<double> atan_plan() {
    return atan_sweep(func("atan", mpfr_atan, tsr_tiers_atan, tsr_portable_tiers_atan).entry(::atan));
}
Sweep<float> atanf_plan() {
    return atan_sweep(func("atanf", mpfr_atan, tsr_tiers_atanf, tsr_portable_tiers_atanf).entry(::atanf));
}

// atan2: both operands log-uniform over the whole range with every sign; then ratios from
// 2^-32 to 2^32 around moderate magnitudes, a fifth of them next to the diagonal.
template <class T> Sweep<T> atan2_sweep(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    T lo = d ? T(0x1p-1074) : T(0x1p-149), hi = d ? T(0x1p1023) : T(0x1p127);
    s.regions = {{50000, {lo, hi, Dist::log_uniform, true}, {lo, hi, Dist::log_uniform, true}}};
    s.gen = [](std::vector<T> &out, size_t n, uint64_t seed) {
        std::mt19937_64 g(seed);
        auto m = log_uniform<T>(T(0x1p-20), T(0x1p20), n, seed, true);
        auto r = log_uniform<T>(T(0x1p-12), T(0x1p12), n, seed + 1, true);
        for (size_t i = 0; i < n; ++i) {
            T x = g() % 3 ? m[i] : -m[i];
            T y = i % 5 ? x * r[i] : x * (1 + r[i] * T(d ? 0x1p-40 : 0x1p-20));
            // a tenth next to the octant ends of atan2f's ex body: ratios 1/2, 2, 2^-31, 2^31
            if (i % 10 == 3) y = x * T(std::ldexp(1.0, int(g() % 2 ? 1 : 31) * (g() % 2 ? 1 : -1))) * (1 + (r[i] - 1) * T(0x1p-12));
            out.push_back(y);
            out.push_back(x);
        }
    };
    s.gen_n = 50000;
    return s.bounds(d ? 0.55 : 0.51);
}
Sweep<double> atan2_plan() {
    auto f = func("atan2", mpfr_atan2, tsr_tiers_atan2, tsr_portable_tiers_atan2).entry(::atan2);
    f.add("bwr", tsr::Tier::ex, __bwr_atan2);  // a true division in place of the estimate
    return atan2_sweep(f);
}
Sweep<float> atan2f_plan() {
    return atan2_sweep(func("atan2f", mpfr_atan2, tsr_tiers_atan2f, tsr_portable_tiers_atan2f).entry(::atan2f));
}

}  // namespace

TEST(InvtrigSpecial, Rows) {
    check_rows(acos_plan().f, kAcos);
    check_rows(asin_plan().f, kAsin);
    check_rows(atan_plan().f, kAtan);
    check_rows(atan2_plan().f, kAtan2);
    check_rows(acosf_plan().f, kAcosf);
    check_rows(asinf_plan().f, kAsinf);
    check_rows(atanf_plan().f, kAtanf);
    check_rows(atan2f_plan().f, kAtan2f);
}

// The reproducible forms: __bwr_acos and __bwr_asin are the ex bodies, the copies give the ex
// bodies' bits; __bwr_atan2 (its own steps) is measured with atan2's variants.
TEST(InvtrigSpecial, Reproducible) {
    for (double x : uniform<double>(-1.0, 1.0, 2000, 5)) {
        EXPECT_EQ(bits_of(__bwr_acos(x)), bits_of(__libm_acos_ex(x))) << x;
        EXPECT_EQ(bits_of(__bwr_asin(x)), bits_of(__libm_asin_ex(x))) << x;
        EXPECT_EQ(bits_of(__bwr_atan(x * 40)), bits_of(__libm_atan_ex(x * 40))) << x;
        float f = float(x);
        EXPECT_EQ(bits_of(__bwr_acosf(f)), bits_of(__libm_acosf_ex(f))) << x;
        EXPECT_EQ(bits_of(__bwr_asinf(f)), bits_of(__libm_asinf_ex(f))) << x;
        EXPECT_EQ(bits_of(__bwr_atanf(f * 40)), bits_of(__libm_atanf_ex(f * 40))) << x;
        EXPECT_EQ(bits_of(__bwr_atan2f(f, 0.75f)), bits_of(__libm_atan2f_ex(f, 0.75f))) << x;
    }
}

TEST(InvtrigAccuracy, Acos) { sweep(acos_plan()); }
TEST(InvtrigAccuracy, Asin) { sweep(asin_plan()); }
TEST(InvtrigAccuracy, Atan) { sweep(atan_plan()); }
TEST(InvtrigAccuracy, Atan2) { sweep(atan2_plan()); }
TEST(InvtrigAccuracy, Acosf) { sweep(acosf_plan()); }
TEST(InvtrigAccuracy, Asinf) { sweep(asinf_plan()); }
TEST(InvtrigAccuracy, Atanf) { sweep(atanf_plan()); }
TEST(InvtrigAccuracy, Atan2f) { sweep(atan2f_plan()); }

// The Long run: every float of the one-argument functions; atan2f and the double functions on
// 10 million inputs.
TEST(InvtrigLong, Floats) {
    every_float(acosf_plan(), 0, 0x3f800000u);
    every_float(acosf_plan(), 0x80000000u, 0xbf800000u);
    every_float(asinf_plan(), 0, 0x3f800000u);
    every_float(asinf_plan(), 0x80000000u, 0xbf800000u);
    every_float(atanf_plan());
    sweep_all<float>({atan2f_plan()}, 100);
}
TEST(InvtrigLong, Doubles) {
    sweep_all<double>({acos_plan(), asin_plan(), atan_plan(), atan2_plan()}, 100);
}

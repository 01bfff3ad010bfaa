// fmod and remainder (double and float) and the sign and order operations: special values
// as rows (results, flags, errno and codes in every tier, the entries and the reproducible
// forms), and bit-exact sweeps against MPFR in the four modes over the whole exponent range,
// subnormals included, with quotients up to 2^2098 (huge x over tiny y).
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

#include <cmath>

namespace {

using namespace th;
namespace code = tsr::code;

constexpr unsigned AM = ALL_MODES;

Func<double> fmod_f() {
    return func("fmod", mpfr_fmod, tsr_tiers_fmod, tsr_portable_tiers_fmod) TH_WITH_BWR(fmod);
}
Func<float> fmodf_f() {
    return func("fmodf", mpfr_fmod, tsr_tiers_fmodf, tsr_portable_tiers_fmodf) TH_WITH_BWR(fmodf);
}
Func<double> remainder_f() {
    return func("remainder", mpfr_remainder, tsr_tiers_remainder, tsr_portable_tiers_remainder)
         TH_WITH_BWR(remainder);
}
Func<float> remainderf_f() {
    return func("remainderf", mpfr_remainder, tsr_tiers_remainderf, tsr_portable_tiers_remainderf)
         TH_WITH_BWR(remainderf);
}
Func<double> fdim_f() { return func("fdim", mpfr_dim, tsr_tiers_fdim) TH_WITH_BWR(fdim); }
Func<float> fdimf_f() { return func("fdimf", mpfr_dim, tsr_tiers_fdimf) TH_WITH_BWR(fdimf); }
Func<double> fmax_f() { return func("fmax", mpfr_max, tsr_tiers_fmax) TH_WITH_BWR(fmax); }
Func<float> fmaxf_f() { return func("fmaxf", mpfr_max, tsr_tiers_fmaxf) TH_WITH_BWR(fmaxf); }
Func<double> fmin_f() { return func("fmin", mpfr_min, tsr_tiers_fmin) TH_WITH_BWR(fmin); }
Func<float> fminf_f() { return func("fminf", mpfr_min, tsr_tiers_fminf) TH_WITH_BWR(fminf); }
Func<double> copysign_f() {
    return func("copysign", mpfr_copysign, tsr_tiers_copysign) TH_WITH_BWR(copysign);
}
Func<float> copysignf_f() {
    return func("copysignf", mpfr_copysign, tsr_tiers_copysignf) TH_WITH_BWR(copysignf);
}
Func<double> fabs_f() { return func("fabs", mpfr_abs, tsr_tiers_fabs) TH_WITH_BWR(fabs); }
Func<float> fabsf_f() { return func("fabsf", mpfr_abs, tsr_tiers_fabsf) TH_WITH_BWR(fabsf); }

// A sNaN's and a payload NaN's bits, which copysign and fabs must pass untouched.
const double kSNaN = f64(0x7ff0000000000123ull), kNegSNaN = f64(0xfff0000000000123ull);
const float fSNaN = f32(0x7f800123u);

}  // namespace

TEST(RemSpecial, Fmod) {
    std::vector<Row2<double>> rows = {
        {{5.5, 2.0}, 1.5, NONE, 0, NO_CODE, AM}, {{-5.5, 2.0}, -1.5, NONE, 0, NO_CODE, AM},
        {{-3.0, 1.0}, -0.0, NONE, 0, NO_CODE, AM}, {{3.0, -1.0}, 0.0, NONE, 0, NO_CODE, AM},
        {{-7.25, 1.0}, -0.25, NONE, 0, NO_CODE, AM}, {{0x1p60, 1.0}, 0.0, NONE, 0, NO_CODE, AM},
        {{0.75, -1.0}, 0.75, NONE, 0, NO_CODE, AM}, {{-2.5, -2.5}, -0.0, NONE, 0, NO_CODE, AM},
        {{5.0, kInf}, 5.0, NONE, 0, NO_CODE, AM}, {{-0.0, 3.0}, -0.0, NONE, 0, NO_CODE, AM},
        {{kTiny, kMax}, kTiny, NONE, 0, NO_CODE, AM},
        {{kMax, kTiny}, 0.0, NONE, 0, NO_CODE, AM}, {{kMax, 3 * kTiny}, CR, NONE, 0, NO_CODE, AM},
        {{kMax, 0x1.8p-1000}, CR, NONE, 0, NO_CODE, AM}, {{-kMax, 0x1.fffffffffffffp-1022}, CR, NONE, 0, NO_CODE, AM},
        {{0x1p-1022, 0x3p-1074}, CR, NONE, 0, NO_CODE, AM},
        // no report: a NaN operand, an infinite x
        {{kNaN, 0.0}, kNaN, NONE, 0, NO_CODE, AM}, {{1.0, kNaN}, kNaN, NONE, 0, NO_CODE, AM},
        {{kNaN, 1.0}, kNaN, NONE, 0, NO_CODE, AM},
        {{kInf, 2.0}, kNaN, NONE, 0, NO_CODE, RN, EX}, {{kInf, 2.0}, kNaN, INV, 0, NO_CODE, RN, ALL_TIERS & ~EX},
        {{kInf, 1.0}, kNaN, NONE, 0, NO_CODE, RN, EX},
        // a zero y reports
        {{1.0, 0.0}, kNaN, INV, EDOM, code::fmod_divisor_0, AM},
        {{kInf, 0.0}, kNaN, INV, EDOM, code::fmod_divisor_0, RN},
        {{0.0, -0.0}, kNaN, INV, EDOM, code::fmod_divisor_0, RN},
    };
    check_rows(fmod_f(), rows);
}

TEST(RemSpecial, Fmodf) {
    // Tier ex runs the double body: a zero y reports the double code.
    check_rows(fmodf_f(), std::vector<Row2<float>>{
        {{5.5f, 2.0f}, 1.5f, NONE, 0, NO_CODE, AM}, {{-3.0f, 1.0f}, -0.0f, NONE, 0, NO_CODE, AM},
        {{fMax, fTiny}, 0.0f, NONE, 0, NO_CODE, AM}, {{-fMax, 3 * fTiny}, CR, NONE, 0, NO_CODE, AM},
        {{5.0f, fInf}, 5.0f, NONE, 0, NO_CODE, AM}, {{fNaN, 0.0f}, fNaN, NONE, 0, NO_CODE, AM},
        {{1.0f, 0.0f}, fNaN, INV, EDOM, code::fmod_divisor_0, AM, EX},
        {{1.0f, 0.0f}, fNaN, INV, EDOM, code::fmodf_divisor_0, AM, ALL_TIERS & ~EX},
        {{fInf, 2.0f}, fNaN, INV, 0, NO_CODE, RN, ALL_TIERS & ~EX},
    });
}

TEST(RemSpecial, Remainder) {
    std::vector<Row2<double>> rows = {
        {{1.0, 2.0}, 1.0, NONE, 0, NO_CODE, AM}, {{3.0, 2.0}, -1.0, NONE, 0, NO_CODE, AM},
        {{5.0, 2.0}, 1.0, NONE, 0, NO_CODE, AM}, {{-3.0, 2.0}, 1.0, NONE, 0, NO_CODE, AM},
        {{-1.0, 2.0}, -1.0, NONE, 0, NO_CODE, AM}, {{0x1p-1074, 0x1p-1073}, 0x1p-1074, NONE, 0, NO_CODE, AM},
        {{0x3p-1074, 0x1p-1073}, -0x1p-1074, NONE, 0, NO_CODE, AM},
        {{4.0, 2.0}, 0.0, NONE, 0, NO_CODE, AM}, {{-4.0, 2.0}, -0.0, NONE, 0, NO_CODE, AM},
        {{-6.0, -3.0}, -0.0, NONE, 0, NO_CODE, AM}, {{1.75, 1.0}, -0.25, NONE, 0, NO_CODE, AM},
        {{kMax, kTiny}, 0.0, NONE, 0, NO_CODE, AM}, {{kMax, 0x1p1023}, -0x1p971, NONE, 0, NO_CODE, AM},
        {{0x1.8p1023, kMax}, CR, NONE, 0, NO_CODE, AM}, {{kMax, 0x1.fffffffffffffp1022}, CR, NONE, 0, NO_CODE, AM},
        {{kMax, 3 * kTiny}, CR, NONE, 0, NO_CODE, AM}, {{0x1p-1022, 0x3p-1074}, CR, NONE, 0, NO_CODE, AM},
        {{5.0, kInf}, 5.0, NONE, 0, NO_CODE, AM}, {{0.0, 3.0}, 0.0, NONE, 0, NO_CODE, AM},
        {{kInf, 2.0}, kNaN, INV, 0, NO_CODE, AM}, {{1.0, kNaN}, kNaN, NONE, 0, NO_CODE, AM},
        {{1.0, 0.0}, kNaN, INV, EDOM, code::remainder_divisor_0, AM},
        {{kNaN, 0.0}, kNaN, NONE, EDOM, code::remainder_divisor_0, RN},
    };
    check_rows(remainder_f(), rows);
}

TEST(RemSpecial, Remainderf) {
    check_rows(remainderf_f(), std::vector<Row2<float>>{
        {{1.0f, 2.0f}, 1.0f, NONE, 0, NO_CODE, AM}, {{3.0f, 2.0f}, -1.0f, NONE, 0, NO_CODE, AM},
        {{fMax, fTiny}, 0.0f, NONE, 0, NO_CODE, AM}, {{fMax, 0x1p127f}, -0x1p104f, NONE, 0, NO_CODE, AM},
        {{0x3p-149f, 0x1p-148f}, -0x1p-149f, NONE, 0, NO_CODE, AM},
        {{1.0f, 0.0f}, fNaN, INV, EDOM, code::remainder_divisor_0, AM, EX},
        {{1.0f, 0.0f}, fNaN, INV, EDOM, code::remainderf_divisor_0, AM, ALL_TIERS & ~EX},
        {{fInf, 2.0f}, fNaN, INV, 0, NO_CODE, RN},
    });
}

TEST(RemSpecial, Fdim) {
    check_rows(fdim_f(), std::vector<Row2<double>>{
        {{1.0, 1.0}, 0.0, NONE, 0, NO_CODE, AM}, {{3.0, 1.0}, 2.0, NONE, 0, NO_CODE, AM},
        {{1.0, 3.0}, 0.0, NONE, 0, NO_CODE, AM}, {{-kInf, kInf}, 0.0, NONE, 0, NO_CODE, AM},
        {{kInf, -kInf}, kInf, NONE, 0, NO_CODE, AM}, {{kNaN, 1.0}, kNaN, NONE, 0, NO_CODE, AM},
        {{1.0, kNaN}, kNaN, NONE, 0, NO_CODE, AM}, {{kMax, 0x1p970}, CR, NX, 0, NO_CODE, AM},
        {{kMax, -kMax}, kInf, OV, ERANGE, code::fdim_overflow, RN | RU},
        {{kMax, -kMax}, kMax, OV, ERANGE, code::fdim_overflow, RD | RZ},
        {{0x1p1023, -0x1p1023}, kInf, OV, ERANGE, code::fdim_overflow, RN}, {{0x1p1023, -0x1p1022}, 0x1.8p1023, NONE, 0, NO_CODE, AM},
    });
    check_rows(fdimf_f(), std::vector<Row2<float>>{
        {{1.0f, 1.0f}, 0.0f, NONE, 0, NO_CODE, AM}, {{3.0f, 1.0f}, 2.0f, NONE, 0, NO_CODE, AM},
        {{fMax, -fMax}, fInf, OV, ERANGE, code::fdimf_overflow, RN | RU},
        {{fNaN, 1.0f}, fNaN, NONE, 0, NO_CODE, AM},
    });
}

TEST(RemSpecial, MaxMin) {
    // maxsd/minsd give the second operand of two equal values, so the zeros' order shows.
    check_rows(fmax_f(), std::vector<Row2<double>>{
        {{kNaN, 1.0}, 1.0, NONE, 0, NO_CODE, AM}, {{1.0, kNaN}, 1.0, NONE, 0, NO_CODE, AM},
        {{0.0, -0.0}, -0.0, NONE, 0, NO_CODE, AM}, {{-0.0, 0.0}, 0.0, NONE, 0, NO_CODE, AM},
        {{-kInf, kTiny}, kTiny, NONE, 0, NO_CODE, AM}, {{kNaN, kNaN}, kNaN, NONE, 0, NO_CODE, AM},
    });
    check_rows(fmin_f(), std::vector<Row2<double>>{
        {{kNaN, 1.0}, 1.0, NONE, 0, NO_CODE, AM}, {{1.0, kNaN}, 1.0, NONE, 0, NO_CODE, AM},
        {{0.0, -0.0}, -0.0, NONE, 0, NO_CODE, AM}, {{-0.0, 0.0}, 0.0, NONE, 0, NO_CODE, AM},
        {{kInf, -kTiny}, -kTiny, NONE, 0, NO_CODE, AM},
    });
    check_rows(fmaxf_f(), std::vector<Row2<float>>{
        {{fNaN, 1.0f}, 1.0f, NONE, 0, NO_CODE, AM}, {{1.0f, fNaN}, 1.0f, NONE, 0, NO_CODE, AM},
        {{0.0f, -0.0f}, -0.0f, NONE, 0, NO_CODE, AM}, {{2.0f, fMax}, fMax, NONE, 0, NO_CODE, AM},
    });
    check_rows(fminf_f(), std::vector<Row2<float>>{
        {{fNaN, 1.0f}, 1.0f, NONE, 0, NO_CODE, AM}, {{-0.0f, 0.0f}, 0.0f, NONE, 0, NO_CODE, AM},
        {{-fInf, -fMax}, -fInf, NONE, 0, NO_CODE, AM},
    });
}

TEST(RemSpecial, SignMasks) {
    // Masks: no flag, a signalling NaN passes untouched.
    check_rows(copysign_f(), std::vector<Row2<double>>{
        {{kSNaN, -1.0}, kNegSNaN, NONE, 0, NO_CODE, AM}, {{1.5, -0.0}, -1.5, NONE, 0, NO_CODE, AM},
        {{-kInf, kNaN}, kInf, NONE, 0, NO_CODE, AM}, {{-kTiny, 0.0}, kTiny, NONE, 0, NO_CODE, AM},
    });
    check_rows(copysignf_f(), std::vector<Row2<float>>{
        {{fSNaN, -1.0f}, f32(0xff800123u), NONE, 0, NO_CODE, AM}, {{1.5f, -0.0f}, -1.5f, NONE, 0, NO_CODE, AM},
    });
    check_rows(fabs_f(), std::vector<Row<double>>{
        {kNegSNaN, kSNaN, NONE, 0, NO_CODE, AM}, {-0.0, 0.0, NONE, 0, NO_CODE, AM}, {-kInf, kInf, NONE, 0, NO_CODE, AM},
    });
    check_rows(fabsf_f(), std::vector<Row<float>>{
        {f32(0xff800123u), fSNaN, NONE, 0, NO_CODE, AM}, {-fTiny, fTiny, NONE, 0, NO_CODE, AM},
    });
}

namespace {
// Operands of every magnitude, both signs, in all four pairings of wide and narrow ranges:
// quotients from below 1 up to 2^2098 and exponent distances of every size.
template <class T> Sweep<T> exact_plan(Func<T> f, T tiny, T huge, size_t n) {
    Sweep<T> s{f, {{n, {tiny, huge, Dist::log_uniform, true}, {tiny, huge, Dist::log_uniform, true}},
                   {n / 4, {T(1), huge, Dist::log_uniform, true}, {tiny, T(1), Dist::log_uniform, true}},
                   {n / 4, {T(0.5), T(64), Dist::log_uniform, true}, {T(0.5), T(64), Dist::log_uniform, true}},
                   {n / 4, {tiny, tiny * T(0x1p30), Dist::log_uniform, true}, {tiny, tiny * T(0x1p30), Dist::log_uniform, true}}}};
    s.points = {{huge, tiny}, {-huge, tiny * 3}, {huge, T(0.75) * huge}, {tiny * 7, tiny * 2}};
    return s.bounds(0, 0);
}
}  // namespace

TEST(RemExact, Fmod) {
    sweep(exact_plan(fmod_f(), kTiny, kMax, 100000));
    sweep(exact_plan(fmodf_f(), fTiny, fMax, 100000));
}
TEST(RemExact, Remainder) {
    sweep(exact_plan(remainder_f(), kTiny, kMax, 100000));
    sweep(exact_plan(remainderf_f(), fTiny, fMax, 100000));
}
TEST(RemExact, SignAndOrder) {
    for (auto f : {fdim_f(), fmax_f(), fmin_f(), copysign_f()}) {
        auto s = exact_plan(f, kTiny, kMax, 40000);
        if (f.name == "fdim") s.bounds(0.5, 1.0);  // rounded difference
        sweep(s);
    }
    for (auto f : {fdimf_f(), fmaxf_f(), fminf_f(), copysignf_f()}) {
        auto s = exact_plan(f, fTiny, fMax, 40000);
        if (f.name == "fdimf") s.bounds(0.5, 1.0);
        sweep(s);
    }
}

TEST(RemLong, Pairs) {
    // 10 million pairs per function.
    for (auto s : {exact_plan(fmod_f(), kTiny, kMax, 5000000), exact_plan(remainder_f(), kTiny, kMax, 5000000)}) sweep(s);
    for (auto s : {exact_plan(fmodf_f(), fTiny, fMax, 5000000), exact_plan(remainderf_f(), fTiny, fMax, 5000000)}) sweep(s);
}

// The hyperbolic functions: special values, thresholds and their neighbours as rows; accuracy
// against MPFR over regions dense at every point where a body changes method (every tier, four
// modes, flags); every float and 10 million doubles in the Long run.
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;

// Results next to a subnormal or tiny argument are checked in nearest: MPFR's 256-bit value
// there is the argument itself, which says nothing of the directed roundings.
const std::vector<Row<double>> kSinh = with_nans<double>({
    {0.0, 0.0}, {-0.0, -0.0}, {INFINITY, INFINITY}, {-INFINITY, -INFINITY},
    {0x1p-1074, CR, UN, 0, NO_CODE, RN}, {-0x0.fffffffffffffp-1022, CR, UN, 0, NO_CODE, RN},
    {0x1p-1022, CR, NX, 0, NO_CODE, RN}, {-0x1p-63, CR, NX, 0, NO_CODE, RN},
    {0x1p-57, CR, NX, 0, NO_CODE, RN}, {0x1.47ae147ae147bp-6, CR, NX, 0, NO_CODE, RN},  // 2^-57, 0.02
    {0x1.7p-2, CR, NX, 0, NO_CODE, RN}, {-0x1.6ffffffffffffp-2, CR, NX, 0, NO_CODE, RN},  // l9 band start
    {0x1.6dfb5p+4, CR, NX, 0, NO_CODE, RN}, {0x1.3ffffffffffffp+9, CR, NX, 0, NO_CODE, RN},  // one side, 640-
    {0x1.4p+9, CR, NX, 0, NO_CODE, RN}, {0x1.8p+8, CR, NX, 0, NO_CODE, RN},  // 640, 384
    // 710.4758600739439: the first argument whose sinh overflows, and its predecessor.
    {0x1.633ce8fb9f87dp+9, CR, NX}, {-0x1.633ce8fb9f87dp+9, CR, NX},
    {0x1.633ce8fb9f87ep+9, CR, OV, ERANGE, code::sinh_overflow},
    {-0x1.633ce8fb9f87ep+9, CR, OV, ERANGE, code::sinh_overflow},  // signed
    {0x1.8p+9, CR, OV, ERANGE, code::sinh_overflow}, {-0x1.fffffffffffffp+1023, CR, OV, ERANGE, code::sinh_overflow},
});

const std::vector<Row<double>> kCosh = with_nans<double>({
    {0.0, 1.0}, {-0.0, 1.0}, {INFINITY, INFINITY}, {-INFINITY, INFINITY},
    {0x1p-1074, CR, NX, 0, NO_CODE, RN}, {-0x1p-63, CR, NX, 0, NO_CODE, RN},
    {0x1p-25, CR, NX, 0, NO_CODE, RN}, {0x1.47ae147ae147bp-7, CR, NX, 0, NO_CODE, RN},  // 0.01
    {0x1p-3, CR, NX, 0, NO_CODE, RN}, {0x1.7p-2, CR, NX, 0, NO_CODE, RN},
    {0x1.6dfb5p+4, CR, NX, 0, NO_CODE, RN}, {0x1.4p+9, CR, NX, 0, NO_CODE, RN},
    {0x1.633ce8fb9f87dp+9, CR, NX}, {-0x1.633ce8fb9f87dp+9, CR, NX},
    {0x1.633ce8fb9f87ep+9, CR, OV, ERANGE, code::cosh_overflow},
    {-0x1.633ce8fb9f87ep+9, CR, OV, ERANGE, code::cosh_overflow},
    {-0x1.fffffffffffffp+1023, CR, OV, ERANGE, code::cosh_overflow},
});

// tanh: in l9 the magnitude is rounded in the caller's mode before the sign goes on, and
// the e7 quotient is within an ulp next to 1: directed rows there are positive or tier ex.
const std::vector<Row<double>> kTanh = with_nans<double>({
    {0.0, 0.0}, {-0.0, -0.0}, {INFINITY, 1.0}, {-INFINITY, -1.0},  // exact: no inexact
    {0x1.fffffffffffffp+1023, CR, NX, 0, NO_CODE, RN}, {-0x1p+128, CR, NX, 0, NO_CODE, RN},
    {0x1p-1074, CR, UN, 0, NO_CODE, RN}, {-0x0.fffffffffffffp-1022, CR, UN, 0, NO_CODE, RN},
    {0x1p-1022, CR, NX, 0, NO_CODE, RN},
    {0x1.306ffp-127, CR, NX, 0, NO_CODE, RN}, {0x1.306fep-127, CR, NX, 0, NO_CODE, RN},  // l9 band start
    {0x1.7ffffffffffffp-3, CR, NX, 0, NO_CODE, RN}, {0x1.8p-3, CR, NX, 0, NO_CODE, RN},  // pieces 0 and 1
    {0x1.46666ffffffffp+2, CR, NX, 0, NO_CODE, RN}, {0x1.46667p+2, CR, NX, 0, NO_CODE, RN},  // 5.1
    // Around 19.0615474653985, where tanh crosses 1 - 2^-54: below it the result is 1 - 2^-53.
    {0x1.30fc1p+4, CR, NX, 0, NO_CODE, 0, EX}, {0x1.30fc1ffffffffp+4, CR, NX, 0, NO_CODE, 0, EX},
    {-0x1.30fc2p+4, CR, NX, 0, NO_CODE, 0, EX}, {0x1.30fc0ffffffffp+4, CR, NX, 0, NO_CODE, 0, EX},
    {-0x1.30fc0ffffffffp+4, CR, NX, 0, NO_CODE, RN}, {0x1.30fdp+4, CR, NX},
    {0x1.7ffffffffffffp+4, CR, NX}, {0x1.8p+4, CR, NX}, {0x1p+5, CR, NX},  // 24: piece 15; 32
    {-0x1p+5, CR, NX, 0, NO_CODE, RN},
});

const std::vector<Row<float>> kSinhf = with_nans<float>({
    {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, INFINITY}, {-INFINITY, -INFINITY},
    {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {-0x0.fffffep-126f, CR, UN, 0, NO_CODE, RN},
    {0x1p-126f, CR, NX, 0, NO_CODE, RN}, {-0x1.fffffep-28f, CR, NX, 0, NO_CODE, RN}, {0x1p-27f, CR, NX, 0, NO_CODE, RN},
    {0x1.6ffffep-2f, CR, NX, 0, NO_CODE, RN}, {0x1.7p-2f, CR, NX, 0, NO_CODE, RN}, {0x1.8p+5f, CR, NX, 0, NO_CODE, RN},
    {0x1.65a9f6p+6f, CR, NX, 0, NO_CODE, RN}, {0x1.65a9f8p+6f, CR, NX, 0, NO_CODE, RN},  // largest finite
    {-0x1.65a9f8p+6f, CR, NX, 0, NO_CODE, RN},
    {0x1.65a9fap+6f, CR, OV, ERANGE, code::sinhf_overflow}, {-0x1.65a9fap+6f, CR, OV, ERANGE, code::sinhf_overflow},
    {-0x1.fffffep+127f, CR, OV, ERANGE, code::sinhf_overflow},
});

const std::vector<Row<float>> kCoshf = with_nans<float>({
    {0.0f, 1.0f}, {-0.0f, 1.0f}, {INFINITY, INFINITY}, {-INFINITY, INFINITY},
    {0x1p-149f, CR, NX, 0, NO_CODE, RN}, {-0x1p-31f, CR, NX, 0, NO_CODE, RN},
    {0x1p-3f, CR, NX, 0, NO_CODE, RN}, {0x1.7p-2f, CR, NX, 0, NO_CODE, RN}, {0x1.8p+5f, CR, NX, 0, NO_CODE, RN},
    {0x1.65a9f8p+6f, CR, NX, 0, NO_CODE, RN}, {-0x1.65a9f8p+6f, CR, NX, 0, NO_CODE, RN},
    {0x1.65a9fap+6f, CR, OV, ERANGE, code::coshf_overflow}, {-0x1.65a9fap+6f, CR, OV, ERANGE, code::coshf_overflow},
    {0x1.fffffep+127f, CR, OV, ERANGE, code::coshf_overflow},
});

const std::vector<Row<float>> kTanhf = with_nans<float>({
    {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, 1.0f}, {-INFINITY, -1.0f},
    {0x1.fffffep+127f, CR, NX, 0, NO_CODE, RN}, {-0x1p+4f, CR, NX, 0, NO_CODE, RN}, {0x1p+4f, CR, NX}, {0x1.4p+3f, CR, NX},
    {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {-0x0.fffffep-126f, CR, UN, 0, NO_CODE, RN}, {0x1p-126f, CR, NX, 0, NO_CODE, RN},
    {0x1.cp-4f, CR, NX, 0, NO_CODE, RN}, {0x1p-3f, CR, NX, 0, NO_CODE, RN}, {0x1.3ffffep+3f, CR, NX, 0, NO_CODE, RN},
});

// The pair: the sine is reported under the pair's code; the cosine of an overflow is +inf
// (the largest double toward zero, as the sine's magnitude).
const std::vector<RowSC<double>> kSinhcosh = {
    {{0.0}, {0.0, 1.0}}, {{-0.0}, {-0.0, 1.0}}, {{INFINITY}, {INFINITY, INFINITY}},
    {{-INFINITY}, {-INFINITY, INFINITY}}, {{NAN}, {NAN, NAN}},
    {{0x1p-1074}, {CR, CR}, UN, 0, NO_CODE, RN}, {{0x1p-6}, {CR, CR}, NX, 0, NO_CODE, RN},
    {{0x1.633ce8fb9f87dp+9}, {CR, CR}, NX},
    {{0x1.633ce8fb9f87ep+9}, {INFINITY, INFINITY}, OV, ERANGE, code::sinhcosh_overflow, RN},
    {{0x1.633ce8fb9f87ep+9}, {CR, CR}, OV, ERANGE, code::sinhcosh_overflow, RZ},
    {{-0x1.633ce8fb9f87ep+9}, {-INFINITY, INFINITY}, OV, ERANGE, code::sinhcosh_overflow, RN},
    {{-0x1.fffffffffffffp+1023}, {-INFINITY, INFINITY}, OV, ERANGE, code::sinhcosh_overflow, RN},
};
const std::vector<RowSC<float>> kSinhcoshf = {
    {{0.0f}, {0.0f, 1.0f}}, {{-0.0f}, {-0.0f, 1.0f}}, {{-INFINITY}, {-INFINITY, INFINITY}}, {{NAN}, {NAN, NAN}},
    {{0x1p-149f}, {CR, CR}, UN, 0, NO_CODE, RN}, {{0x1.7p-2f}, {CR, CR}, NX, 0, NO_CODE, RN},
    {{0x1.65a9f8p+6f}, {CR, CR}, NX, 0, NO_CODE, RN},
    {{0x1.65a9fap+6f}, {INFINITY, INFINITY}, OV, ERANGE, code::sinhcoshf_overflow, RN},
    {{-0x1.65a9fap+6f}, {-INFINITY, INFINITY}, OV, ERANGE, code::sinhcoshf_overflow, RN},
};

// Log-uniform magnitudes of both signs up to hi, the tiny and subnormal range, and uniform
// bands around the points where a body changes method.
template <class T> Sweep<T> plan(Func<T> f, T hi, std::initializer_list<T> edges, double rn) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {{100000, {T(d ? 0x1p-30 : 0x1p-20), hi, Dist::log_uniform, true}},
                  {10000, {T(d ? 0x1p-1074 : 0x1p-149), T(d ? 0x1p-30 : 0x1p-20), Dist::log_uniform, true}}}};
    for (T e : edges) s.regions.push_back({4000, {e - e / 64, e + e / 64, Dist::uniform}});
    return s.bounds(rn);
}
const auto kSinhEdges = {0.01, 0.02, 0.125, 0.359375, 22.87, 384.0, 640.0, 710.4};
const auto kSinhfEdges = {0.0625f, 0.125f, 0.359375f, 0.5f, 32.0f, 48.0f, 89.4f};

Sweep<double> sinh_plan() { return plan(func("sinh", mpfr_sinh, tsr_tiers_sinh).entry(::sinh), 710.47, kSinhEdges, 0.55); }
Sweep<double> cosh_plan() { return plan(func("cosh", mpfr_cosh, tsr_tiers_cosh).entry(::cosh), 710.47, kSinhEdges, 0.55); }
Sweep<double> tanh_plan() {
    return plan(func("tanh", mpfr_tanh, tsr_tiers_tanh).entry(::tanh), 40.0,
                {0.02, 0.0625, 0.1875, 0.359375, 5.1, 19.06, 24.0}, 0.55);
}
Sweep<double> sinhcosh_plan() {
    return plan(func2("sinhcosh", mpfr_sinh, mpfr_cosh, tsr_tiers_sinhcosh).entry(::sinhcosh), 710.47, kSinhEdges,
                0.55);
}
Sweep<float> sinhf_plan() { return plan(func("sinhf", mpfr_sinh, tsr_tiers_sinhf).entry(::sinhf), 89.41f, kSinhfEdges, 0.51); }
Sweep<float> coshf_plan() { return plan(func("coshf", mpfr_cosh, tsr_tiers_coshf).entry(::coshf), 89.41f, kSinhfEdges, 0.51); }
Sweep<float> tanhf_plan() {
    return plan(func("tanhf", mpfr_tanh, tsr_tiers_tanhf).entry(::tanhf), 20.0f,
                {0.0625f, 0.109375f, 0.125f, 0.25f, 1.0f, 10.0f, 16.0f}, 0.51);
}
Sweep<float> sinhcoshf_plan() {
    return plan(func2("sinhcoshf", mpfr_sinh, mpfr_cosh, tsr_tiers_sinhcoshf).entry(::sinhcoshf), 89.41f,
                kSinhfEdges, 0.51);
}

}  // namespace

TEST(HypSpecial, Rows) {
    check_rows(sinh_plan().f, kSinh);
    check_rows(cosh_plan().f, kCosh);
    check_rows(tanh_plan().f, kTanh);
    check_rows(sinhf_plan().f, kSinhf);
    check_rows(coshf_plan().f, kCoshf);
    check_rows(tanhf_plan().f, kTanhf);
    check_rows(sinhcosh_plan().f, kSinhcosh);
    check_rows(sinhcoshf_plan().f, kSinhcoshf);
}

TEST(HypAccuracy, Sinh) { sweep(sinh_plan()); }
TEST(HypAccuracy, Cosh) { sweep(cosh_plan()); }
TEST(HypAccuracy, Tanh) { sweep(tanh_plan()); }
TEST(HypAccuracy, Sinhcosh) { sweep(sinhcosh_plan()); }
TEST(HypAccuracy, Sinhf) { sweep(sinhf_plan()); }
TEST(HypAccuracy, Coshf) { sweep(coshf_plan()); }
TEST(HypAccuracy, Tanhf) { sweep(tanhf_plan()); }
TEST(HypAccuracy, Sinhcoshf) { sweep(sinhcoshf_plan()); }

// The Long run: every float, and the double functions on 10 million inputs.
TEST(HypLong, Floats) {
    for (auto s : {sinhf_plan(), coshf_plan(), tanhf_plan(), sinhcoshf_plan()}) every_float(s);
}
TEST(HypLong, Doubles) {
    sweep_all<double>({sinh_plan(), cosh_plan(), tanh_plan(), sinhcosh_plan()}, 70);
}

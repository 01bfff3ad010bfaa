// Square roots, inverse square roots, cube roots and hypot: special values and exact cases
// (exact and without inexact in every mode) as rows, sqrt bit for bit against MPFR, accuracy
// over every tier and mode, every float (hypotf: 10 million pairs) in the Long run.
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

#include <cmath>

namespace {

using namespace th;
namespace code = tsr::code;


Func<double> sqrt_f() { return func("sqrt", mpfr_sqrt, tsr_tiers_sqrt).entry(::sqrt).add("ex-bwr", tsr::Tier::ex, __bwr_sqrt); }
Func<float> sqrtf_f() { return func("sqrtf", mpfr_sqrt, tsr_tiers_sqrtf).entry(::sqrtf).add("ex-bwr", tsr::Tier::ex, __bwr_sqrtf); }
Func<double> invsqrt_f() { return func("invsqrt", mpfr_rec_sqrt, tsr_tiers_invsqrt).entry(::invsqrt).add("ex-bwr", tsr::Tier::ex, __bwr_invsqrt); }
Func<float> invsqrtf_f() { return func("invsqrtf", mpfr_rec_sqrt, tsr_tiers_invsqrtf).entry(::invsqrtf).add("ex-bwr", tsr::Tier::ex, __bwr_invsqrtf); }
Func<double> cbrt_f() {
    return func("cbrt", mpfr_cbrt, tsr_tiers_cbrt, tsr_portable_tiers_cbrt).entry(::cbrt).add("ex-bwr", tsr::Tier::ex, __bwr_cbrt);
}
Func<float> cbrtf_f() { return func("cbrtf", mpfr_cbrt, tsr_tiers_cbrtf).entry(::cbrtf).add("ex-bwr", tsr::Tier::ex, __bwr_cbrtf); }
Func<double> hypot_f() { return func("hypot", mpfr_hypot, tsr_tiers_hypot).entry(::hypot).add("ex-bwr", tsr::Tier::ex, __bwr_hypot); }
Func<float> hypotf_f() { return func("hypotf", mpfr_hypot, tsr_tiers_hypotf).entry(::hypotf).add("ex-bwr", tsr::Tier::ex, __bwr_hypotf); }

// Exact results hold in every mode (modes ALL_MODES) without a flag.
constexpr unsigned AM = ALL_MODES;

}  // namespace

TEST(RootsSpecial, Sqrt) {
    check_rows(sqrt_f(), std::vector<Row<double>>{
        {-0.0, -0.0, NONE, 0, NO_CODE, AM}, {-1.0, kNaN, INV, EDOM, code::sqrt_argument_negative, AM},
        {-kInf, kNaN, INV, EDOM, code::sqrt_argument_negative, AM},
        {-0x1p-1074, kNaN, INV, EDOM, code::sqrt_argument_negative, AM},
        {kNaN, kNaN, NONE, 0, NO_CODE, AM}, {-kNaN, kNaN, NONE, 0, NO_CODE, AM}, {kInf, kInf, NONE, 0, NO_CODE, AM},
        {0x1p-1074, 0x1p-537, NONE, 0, NO_CODE, AM}, {4624.0, 68.0, NONE, 0, NO_CODE, AM},
        {2.0, CR, NX}, {0x1.8p-1070, CR, NX},
    });
    check_rows(sqrtf_f(), std::vector<Row<float>>{
        {-0.0f, -0.0f, NONE, 0, NO_CODE, AM}, {-1.0f, fNaN, INV, EDOM, code::sqrtf_argument_negative, AM},
        {-fInf, fNaN, INV, EDOM, code::sqrtf_argument_negative, AM},
        {-0x1p-149f, fNaN, INV, EDOM, code::sqrtf_argument_negative, AM},
        {fNaN, fNaN, NONE, 0, NO_CODE, AM}, {-fNaN, fNaN, NONE, 0, NO_CODE, AM}, {fInf, fInf, NONE, 0, NO_CODE, AM},
        {0x1p-148f, 0x1p-74f, NONE, 0, NO_CODE, AM}, {289.0f, 17.0f, NONE, 0, NO_CODE, AM}, {2.0f, CR, NX},
    });
}

TEST(RootsSpecial, Invsqrt) {
    check_rows(invsqrt_f(), std::vector<Row<double>>{
        {0.0, kInf, DZ, 0, NO_CODE, AM}, {-0.0, -kInf, DZ, 0, NO_CODE, AM}, {-1.0, kNaN, INV, 0, NO_CODE, AM},
        {-kInf, kNaN, INV, 0, NO_CODE, AM}, {kInf, 0.0, NONE, 0, NO_CODE, AM}, {kNaN, kNaN, NONE, 0, NO_CODE, AM},
        {4.0, 0.5, NONE, 0, NO_CODE, AM}, {0x1p-1074, 0x1p537, NONE, 0, NO_CODE, AM}, {3.0, CR, NX},
    });
    check_rows(invsqrtf_f(), std::vector<Row<float>>{
        {0.0f, fInf, DZ, 0, NO_CODE, AM}, {-0.0f, -fInf, DZ, 0, NO_CODE, AM}, {-1.0f, fNaN, INV, 0, NO_CODE, AM},
        {-fInf, fNaN, INV, 0, NO_CODE, AM}, {fInf, 0.0f, NONE, 0, NO_CODE, AM}, {fNaN, fNaN, NONE, 0, NO_CODE, AM},
        {4.0f, 0.5f, NONE, 0, NO_CODE, AM}, {0x1p-148f, 0x1p74f, NONE, 0, NO_CODE, AM}, {3.0f, CR, NX},
    });
}

// Powers of 8 are exact in every mode and tier; other cubes are exact rounding to nearest.
TEST(RootsSpecial, Cbrt) {
    check_rows(cbrt_f(), std::vector<Row<double>>{
        {0.0, 0.0, NONE, 0, NO_CODE, AM}, {-0.0, -0.0, NONE, 0, NO_CODE, AM}, {kInf, kInf, NONE, 0, NO_CODE, AM},
        {-kInf, -kInf, NONE, 0, NO_CODE, AM}, {kNaN, kNaN, NONE, 0, NO_CODE, AM}, {-8.0, -2.0, NONE, 0, NO_CODE, AM},
        {0x1p-1074, 0x1p-358, NONE, 0, NO_CODE, AM},  // the subnormal path
        {-0x1p-1071, -0x1p-357, NONE, 0, NO_CODE, AM}, {0x1p1020, 0x1p340, NONE, 0, NO_CODE, AM},
        {0x1p-1022, CR, NX}, {-27.0, -3.0, ANY_FLAGS, 0, NO_CODE, RN}, {1030301.0, 101.0, ANY_FLAGS, 0, NO_CODE, RN},
        {0x1.bp-1019, 0x1.8p-340, ANY_FLAGS, 0, NO_CODE, RN},  // 27 * 2^-1023
        {0x1.fffffffffffffp1023, CR, NX}, {0x1.ffffffffffffep-1023, CR, NX},
    });
    check_rows(cbrtf_f(), std::vector<Row<float>>{
        {0.0f, 0.0f, NONE, 0, NO_CODE, AM}, {-0.0f, -0.0f, NONE, 0, NO_CODE, AM}, {fInf, fInf, NONE, 0, NO_CODE, AM},
        {-fInf, -fInf, NONE, 0, NO_CODE, AM}, {fNaN, fNaN, NONE, 0, NO_CODE, AM}, {-8.0f, -2.0f, NONE, 0, NO_CODE, AM},
        {0x1p-147f, 0x1p-49f, NONE, 0, NO_CODE, AM}, {-0x1p-126f, -0x1p-42f, NONE, 0, NO_CODE, AM},
        {0x1p126f, 0x1p42f, NONE, 0, NO_CODE, AM}, {0x1p-125f, CR, NX}, {fMax, CR, NX},
        {-27.0f, -3.0f, ANY_FLAGS, 0, NO_CODE, RN}, {0x1.bp-143f, 0x1.8p-48f, ANY_FLAGS, 0, NO_CODE, RN},
    });
}

TEST(RootsSpecial, Hypot) {
    check_rows(hypot_f(), std::vector<Row2<double>>{
        {{3.0, 4.0}, 5.0, NONE, 0, NO_CODE, AM}, {{-5.0, 12.0}, 13.0, NONE, 0, NO_CODE, AM},
        {{20.0, -99.0}, 101.0, NONE, 0, NO_CODE, AM}, {{0x3p-1074, 0x4p-1074}, 0x5p-1074, NONE, 0, NO_CODE, AM},
        {{0x3p1020, 0x4p1020}, 0x5p1020, NONE, 0, NO_CODE, AM}, {{0.0, -0.0}, 0.0, NONE, 0, NO_CODE, AM},
        {{-3.0, 0.0}, 3.0, NONE, 0, NO_CODE, AM}, {{0x1p1023, 0x1p1023}, CR, NX},  // 2^1023.5: no report
        {{kMax, kMax}, CR, OV, ERANGE, code::hypot_overflow, RN | RU}, {{kMax, 0x1p1020}, CR, OV, ERANGE, code::hypot_overflow, RN | RU},
        {{kInf, kNaN}, kInf, NONE, 0, NO_CODE, AM}, {{kNaN, -kInf}, kInf, NONE, 0, NO_CODE, AM},
        {{-kInf, 1.0}, kInf, NONE, 0, NO_CODE, AM}, {{kNaN, 1.0}, kNaN, NONE, 0, NO_CODE, AM},
        {{0x1p-1074, 0x1p-1074}, CR, UN, ANY_ERRNO, NO_CODE, RN}, {{0x1.8p-1060, 0x1p-1060}, CR, UN, ANY_ERRNO, NO_CODE, RN},
        // Exponents more than 32 apart: the larger magnitude itself, in e7 without a flag.
        {{1e300, 1e-300}, 1e300, NONE, 0, NO_CODE, RN, E7}, {{-0x1p-20, 0x1p20}, 0x1p20, NONE, 0, NO_CODE, RN, E7},
        {{1e300, 1e-300}, CR, ANY_FLAGS, 0, NO_CODE, RN},
    });
    check_rows(hypotf_f(), std::vector<Row2<float>>{
        {{3.0f, 4.0f}, 5.0f, NONE, 0, NO_CODE, AM}, {{-5.0f, 12.0f}, 13.0f, NONE, 0, NO_CODE, AM},
        {{0x3p-149f, 0x4p-149f}, 0x5p-149f, NONE, 0, NO_CODE, AM}, {{0x3p125f, 0x4p125f}, 0x5p125f, NONE, 0, NO_CODE, AM},
        {{0x1p127f, 0x1p127f}, CR, NX}, {{fMax, fMax}, CR, OV, ERANGE, code::hypotf_overflow, RN | RU},
        {{fInf, fNaN}, fInf, NONE, 0, NO_CODE, AM}, {{fNaN, -fInf}, fInf, NONE, 0, NO_CODE, AM},
        {{fNaN, 1.0f}, fNaN, NONE, 0, NO_CODE, AM}, {{0.0f, -0.0f}, 0.0f, NONE, 0, NO_CODE, AM},
    });
}

namespace {
// sqrt and sqrtf are correctly rounded: half an ulp to nearest, below one in the other modes.
template <class T> Sweep<T> root_plan(Func<T> f, T lo, T hi, double rn, double dir) {
    Sweep<T> s{f, {{100000, {lo, hi, Dist::log_uniform, true}}, {20000, {T(0.5), T(8), Dist::uniform}}}};
    return s.bounds(rn, dir);
}
Sweep<double> sqrt_plan() { return root_plan(sqrt_f(), 0x1p-1074, 0x1p1023, 0.5, 1.0); }
Sweep<float> sqrtf_plan() { return root_plan(sqrtf_f(), 0x1p-149f, 0x1p127f, 0.5, 1.0); }
Sweep<double> invsqrt_plan() { return root_plan(invsqrt_f(), 0x1p-1074, 0x1p1023, 0.55, 2.0); }
Sweep<float> invsqrtf_plan() { return root_plan(invsqrtf_f(), 0x1p-149f, 0x1p127f, 0.51, 2.0); }
Sweep<double> cbrt_plan() { return root_plan(cbrt_f(), 0x1p-1074, 0x1p1023, 0.55, 2.0); }
Sweep<float> cbrtf_plan() { return root_plan(cbrtf_f(), 0x1p-149f, 0x1p127f, 0.51, 2.0); }
template <class T> Sweep<T> hypot_plan(Func<T> f, T tiny, T huge, T mid, double rn) {
    // Operands of every magnitude, and pairs within a few binades (where both squares count).
    Sweep<T> s{f, {{60000, {tiny, huge, Dist::log_uniform, true}, {tiny, huge, Dist::log_uniform, true}},
                  {60000, {1 / mid, mid, Dist::log_uniform, true}, {1 / mid, mid, Dist::log_uniform, true}}}};
    return s.bounds(rn);
}
Sweep<double> hypot_plan() {
    auto s = hypot_plan(hypot_f(), 0x1p-1074, 0x1p1023, 0x1p30, 0.55);
    s.flags_excused = [](unsigned tier, const double *in) {
        int ex = std::ilogb(in[0]), ey = std::ilogb(in[1]);
        // Tier e7 returns the larger magnitude itself, without inexact, when the exponents
        // are 32 or more apart (its test reads four mantissa bits too; docs/accuracy/roots.md).
        if ((tier & (E7 | ENTRY)) && (ex - ey >= 31 || ey - ex >= 31)) return true;
        // A subnormal result whose wider root (64-bit in ex, the scaled double in e7) is
        // already exact on the subnormal grid misses the underflow flag of the root's
        // inexactness (docs/accuracy/roots.md).
        return std::fabs(in[0]) < 0x1p-1021 && std::fabs(in[1]) < 0x1p-1021;
    };
    return s;
}
Sweep<float> hypotf_plan() { return hypot_plan(hypotf_f(), 0x1p-149f, 0x1p127f, 0x1p12f, 0.51); }
}  // namespace

TEST(RootsAccuracy, Sqrt) {
    sweep(sqrt_plan());
    sweep(sqrtf_plan());
}
TEST(RootsAccuracy, Invsqrt) {
    sweep(invsqrt_plan());
    sweep(invsqrtf_plan());
}
TEST(RootsAccuracy, Cbrt) {
    sweep(cbrt_plan());
    sweep(cbrtf_plan());
}
TEST(RootsAccuracy, Hypot) {
    sweep(hypot_plan());
    sweep(hypotf_plan());
}

TEST(RootsLong, Floats) {
    every_float(sqrtf_plan(), 0, 0x7f800000u);
    every_float(invsqrtf_plan(), 0, 0x7f800000u);
    every_float(cbrtf_plan());
}
TEST(RootsLong, Pairs) {
    sweep_all<float>({hypotf_plan()}, 84);  // 10 million pairs
    sweep_all<double>({cbrt_plan(), invsqrt_plan(), hypot_plan()}, 84);
}

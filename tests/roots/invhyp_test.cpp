// asinh, acosh, atanh: special values, reports and flags as rows, the bands' edges, and
// accuracy against MPFR over every tier and mode (next to 1 for acosh and atanh in
// particular); every float in the Long run.
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;

constexpr unsigned AM = ALL_MODES;

Func<double> asinh_f() {
    return func("asinh", mpfr_asinh, tsr_tiers_asinh, tsr_portable_tiers_asinh).entry(::asinh).add("ex-bwr", tsr::Tier::ex, __bwr_asinh);
}
Func<float> asinhf_f() {
    return func("asinhf", mpfr_asinh, tsr_tiers_asinhf, tsr_portable_tiers_asinhf).entry(::asinhf).add("ex-bwr", tsr::Tier::ex, __bwr_asinhf);
}
Func<double> acosh_f() {
    return func("acosh", mpfr_acosh, tsr_tiers_acosh, tsr_portable_tiers_acosh).entry(::acosh).add("ex-bwr", tsr::Tier::ex, __bwr_acosh);
}
Func<float> acoshf_f() {
    return func("acoshf", mpfr_acosh, tsr_tiers_acoshf, tsr_portable_tiers_acoshf).entry(::acoshf).add("ex-bwr", tsr::Tier::ex, __bwr_acoshf);
}
Func<double> atanh_f() { return func("atanh", mpfr_atanh, tsr_tiers_atanh).entry(::atanh).add("ex-bwr", tsr::Tier::ex, __bwr_atanh); }
Func<float> atanhf_f() { return func("atanhf", mpfr_atanh, tsr_tiers_atanhf).entry(::atanhf).add("ex-bwr", tsr::Tier::ex, __bwr_atanhf); }

}  // namespace

// Next to the underflow threshold the rows hold rounding to nearest: the references (MPFR at
// 256 bits) cannot see x^3/6 beside x there, so the directed modes are left to the sweeps.
TEST(InvHypSpecial, Asinh) {
    check_rows(asinh_f(), std::vector<Row<double>>{
        {0.0, 0.0, NONE, 0, NO_CODE, AM}, {-0.0, -0.0, NONE, 0, NO_CODE, AM}, {kInf, kInf, NONE, 0, NO_CODE, AM},
        {-kInf, -kInf, NONE, 0, NO_CODE, AM}, {kNaN, kNaN, NONE, 0, NO_CODE, AM},
        {0x1p-1074, CR, UN, ANY_ERRNO, NO_CODE, RN}, {-0x1p-1022, CR, NX, 0, NO_CODE, RN}, {0x1p-60, CR, NX},
        {0x1p-4, CR, NX, 0, NO_CODE, RN}, {0x1.3p2, CR, NX, 0, NO_CODE, RN}, {0x1p28, CR, NX, 0, NO_CODE, RN},  // band edges
        {-0x1.fffffffffffffp1023, CR, NX, 0, NO_CODE, RN},
    });
    check_rows(asinhf_f(), std::vector<Row<float>>{
        {0.0f, 0.0f, NONE, 0, NO_CODE, AM}, {-0.0f, -0.0f, NONE, 0, NO_CODE, AM}, {fInf, fInf, NONE, 0, NO_CODE, AM},
        {-fInf, -fInf, NONE, 0, NO_CODE, AM}, {fNaN, fNaN, NONE, 0, NO_CODE, AM},
        {0x1p-149f, CR, UN, ANY_ERRNO, NO_CODE, RN}, {-0x1p-126f, CR, NX, 0, NO_CODE, RN}, {0.5f, CR, NX, 0, NO_CODE, RN},
        {0x1p16f, CR, NX, 0, NO_CODE, RN}, {-0x1.fffffep127f, CR, NX, 0, NO_CODE, RN},
    });
}

TEST(InvHypSpecial, Acosh) {
    check_rows(acosh_f(), std::vector<Row<double>>{
        {1.0, 0.0, NONE, 0, NO_CODE, AM}, {kInf, kInf, NONE, 0, NO_CODE, AM},
        {0.5, kNaN, INV, EDOM, code::acosh_argument_below_1, AM}, {-kInf, kNaN, INV, EDOM, code::acosh_argument_below_1, AM},
        {-1.0, kNaN, INV, EDOM, code::acosh_argument_below_1, AM}, {0.0, kNaN, INV, EDOM, code::acosh_argument_below_1, AM},
        {0x1.fffffffffffffp-1, kNaN, INV, EDOM, code::acosh_argument_below_1, AM}, {kNaN, kNaN, NONE, 0, NO_CODE, AM},
        {0x1.0000000000001p0, CR, NX, 0, NO_CODE, RN}, {0x1.018p0, CR, NX, 0, NO_CODE, RN},  // next to 1, band edge
        {0x1.3p1, CR, NX, 0, NO_CODE, RN}, {0x1p28, CR, NX, 0, NO_CODE, RN}, {0x1.fffffffffffffp1023, CR, NX, 0, NO_CODE, RN},
    });
    check_rows(acoshf_f(), std::vector<Row<float>>{
        {1.0f, 0.0f, NONE, 0, NO_CODE, AM}, {fInf, fInf, NONE, 0, NO_CODE, AM},
        {0.5f, fNaN, INV, EDOM, code::acoshf_argument_below_1, AM}, {-fInf, fNaN, INV, EDOM, code::acoshf_argument_below_1, AM},
        {0x1.fffffep-1f, fNaN, INV, EDOM, code::acoshf_argument_below_1, AM}, {fNaN, fNaN, NONE, 0, NO_CODE, AM},
        {0x1.000002p0f, CR, NX, 0, NO_CODE, RN}, {1.5f, CR, NX, 0, NO_CODE, RN}, {0x1p16f, CR, NX, 0, NO_CODE, RN},
    });
}

TEST(InvHypSpecial, Atanh) {
    check_rows(atanh_f(), std::vector<Row<double>>{
        {0.0, 0.0, NONE, 0, NO_CODE, AM}, {-0.0, -0.0, NONE, 0, NO_CODE, AM},
        {1.0, kInf, DZ, ERANGE, code::atanh_magnitude_exactly_1, AM},
        {-1.0, -kInf, DZ, ERANGE, code::atanh_magnitude_exactly_1, AM},
        {1.5, kNaN, INV, EDOM, code::atanh_magnitude_above_1, AM}, {-kInf, kNaN, INV, EDOM, code::atanh_magnitude_above_1, AM},
        {0x1.0000000000001p0, kNaN, INV, EDOM, code::atanh_magnitude_above_1, AM}, {kNaN, kNaN, NONE, 0, NO_CODE, AM},
        {0x1p-1074, CR, UN, ANY_ERRNO, NO_CODE, RN}, {-0x1p-1022, CR, NX, 0, NO_CODE, RN}, {0x1p-600, CR, NX, 0, NO_CODE, RN},
        {0x1p-52, CR, NX},
        {0x1.fffffffffffffp-1, CR, NX, 0, NO_CODE, RN}, {-0x1p-4, CR, NX, 0, NO_CODE, RN},
    });
    check_rows(atanhf_f(), std::vector<Row<float>>{
        {0.0f, 0.0f, NONE, 0, NO_CODE, AM}, {-0.0f, -0.0f, NONE, 0, NO_CODE, AM},
        {1.0f, fInf, DZ, ERANGE, code::atanhf_magnitude_exactly_1, AM},
        {-1.0f, -fInf, DZ, ERANGE, code::atanhf_magnitude_exactly_1, AM},
        {1.5f, fNaN, INV, EDOM, code::atanhf_magnitude_above_1, AM}, {fInf, fNaN, INV, EDOM, code::atanhf_magnitude_above_1, AM},
        {fNaN, fNaN, NONE, 0, NO_CODE, AM}, {-0x1p-149f, CR, UN, ANY_ERRNO, NO_CODE, RN}, {0x1p-126f, CR, NX, 0, NO_CODE, RN},
        {0x1.fffffep-1f, CR, NX, 0, NO_CODE, RN}, {-0.5f, CR, NX, 0, NO_CODE, RN},
    });
}

namespace {
// asinh: every magnitude, and again the binades from 2^-6 to 2^5.
// acosh: the whole range, and 1 + d for d from an ulp of 1 up (uniform on [1, 1.02] has most
// d near 2^-6).  atanh: every magnitude below 1, and 1 - d next to the pole.
template <class T> Sweep<T> asinh_sweep(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {{60000, {T(d ? 0x1p-1074 : 0x1p-149), T(d ? 0x1p1023 : 0x1p127), Dist::log_uniform, true}},
                   {60000, {T(0x1p-6), T(0x1p5), Dist::log_uniform, true}}}};
    return s.bounds(d ? 0.55 : 0.51);
}
template <class T> Sweep<T> acosh_sweep(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {{60000, {T(1), T(d ? 0x1p1023 : 0x1p127)}}, {d ? 40000u : 30000u, {T(1), T(1.02), Dist::uniform}}}};
    s.gen = [](std::vector<T> &out, size_t n, uint64_t seed) {
        for (T v : log_uniform<T>(T(d ? 0x1p-52 : 0x1p-23), T(4), n, seed)) out.push_back(T(1) + v);
    };
    s.gen_n = 30000;
    return s.bounds(d ? 0.55 : 0.51);
}
template <class T> Sweep<T> atanh_sweep(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {{60000, {T(d ? 0x1p-1074 : 0x1p-149), std::nextafter(T(1), T(0)), Dist::log_uniform, true}}}};
    s.gen = [](std::vector<T> &out, size_t n, uint64_t seed) {
        int k = 0;
        for (T v : log_uniform<T>(T(d ? 0x1p-53 : 0x1p-24), T(0.5), n, seed)) out.push_back(T(k++ & 1 ? -1 : 1) * (T(1) - v));
    };
    s.gen_n = 60000;
    return s.bounds(d ? 0.55 : 0.51);
}
Sweep<double> asinh_plan() { return asinh_sweep(asinh_f()); }
Sweep<float> asinhf_plan() { return asinh_sweep(asinhf_f()); }
Sweep<double> acosh_plan() { return acosh_sweep(acosh_f()); }
Sweep<float> acoshf_plan() { return acosh_sweep(acoshf_f()); }
Sweep<double> atanh_plan() { return atanh_sweep(atanh_f()); }
Sweep<float> atanhf_plan() { return atanh_sweep(atanhf_f()); }
}  // namespace

TEST(InvHypAccuracy, Asinh) {
    sweep(asinh_plan());
    sweep(asinhf_plan());
}
TEST(InvHypAccuracy, Acosh) {
    sweep(acosh_plan());
    sweep(acoshf_plan());
}
TEST(InvHypAccuracy, Atanh) {
    sweep(atanh_plan());
    sweep(atanhf_plan());
}

TEST(InvHypLong, Floats) {
    every_float(asinhf_plan());
    every_float(acoshf_plan(), 0x3f800000u, 0x7f800000u);
    every_float(atanhf_plan(), 0, 0x3f800000u);
    every_float(atanhf_plan(), 0x80000000u, 0xbf800000u);
}
TEST(InvHypLong, Doubles) {
    sweep_all<double>({asinh_plan(), acosh_plan(), atanh_plan()}, 84);
}

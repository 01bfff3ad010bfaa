// Sine, cosine and tangent: special values, symmetry and the codes of cot as rows; accuracy
// against MPFR over arguments of every size up to the largest finite value, the band of each
// tier's hand-off and the doubles closest to multiples of pi/2, in every tier and mode; every
// float input in the Long run.
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;

// Rows every one-result function shares: zeros keep their sign (sin, tan) or give 1 (cos),
// infinities give NaN with invalid and no code, quiet NaNs pass silently, signalling ones
// raise invalid.
template <class T> std::vector<Row<T>> common(bool even, std::vector<Row<T>> own) {
    constexpr bool d = sizeof(T) == 8;
    std::vector<Row<T>> r = {
        {T(0), even ? T(1) : T(0)}, {-T(0), even ? T(1) : -T(0)},
        {T(INFINITY), T(NAN), INV}, {-T(INFINITY), T(NAN), INV},
        {T(NAN), T(NAN)}, {-T(NAN), T(NAN)},
        {d ? T(f64(0x7ff4000000000000)) : f32(0x7fa00000), T(NAN), INV},
    };
    r.insert(r.end(), own.begin(), own.end());
    return r;
}

// Hard and boundary arguments, each correctly rounded in nearest.

const std::vector<Row<double>> kSin = common<double>(false, {
    {0x1p-1074, 0x1p-1074, UN, 0, NO_CODE, RN},          // the smallest subnormal: itself, underflow
    cr(0x1p-30), cr(-0x1.921fb54442d18p+0), cr(0x1.921fb54442d18p+1),  // -pi/2, pi
    cr(0x1.6ac5b262ca1ffp+849), cr(-0x1.6ac5b262ca1ffp+849),  // closest to a multiple of pi/2
    cr(0x1.fffffffffffffp+1023), cr(-0x1.fffffffffffffp+1023),
    cr(0x1.f5ffffffffffep+16), cr(0x1.f6p+16),  // the medium range's last value and beyond
    cr(0x1p+20), cr(0x1.fffffffffffffp+19),     // the fused tiers' hand-off
});
const std::vector<Row<double>> kCos = common<double>(true, {
    {0x1p-1074, 1.0, NX, 0, NO_CODE, RN}, {0x1p-1074, 0x1.fffffffffffffp-1, NX, 0, NO_CODE, RD},
    cr(0x1.921fb54442d18p+0), cr(0x1.921fb54442d18p+1), cr(0x1.6ac5b262ca1ffp+849),
    cr(0x1.fffffffffffffp+1023), cr(0x1.f6p+16), cr(0x1p+20), cr(0x1.fffffffffffffp+19),
});
const std::vector<Row<double>> kTan = common<double>(false, {
    {0x1p-1074, 0x1p-1074, UN, 0, NO_CODE, RN},
    cr(0x1.921fb54442d18p+0), cr(-0x1.921fb54442d18p+0),  // the double nearest pi/2: 1.633e16
    cr(0x1.921fb54442d18p+1), cr(0x1.6ac5b262ca1ffp+849), cr(0x1.fffffffffffffp+1023),
    cr(0x1.9p+12), cr(0x1.9p+12 + 1), cr(0x1p+17),  // the medium ranges' ends
    cr(0x1.fffffffffffffp+19), cr(0x1p+20),          // the fused tiers' hand-off
    // below 2^20, the doubles closest to multiples of pi (2^-53.3 off) and of pi/2
    cr(0x1.39c6fd67805a7p+19), cr(0x1.39c6fd67805a7p+18), cr(0x1.65a1dd290660fp+17),
    cr(0x1.bf9b3c6059d24p+17), cr(0x1.93c05c9ed3cbcp+18),
    cr(0x1.1p-3), cr(0x1.4p-2),                   // pole rows 9 and 23 and their neighbours
    cr(0x1.b2p-1), cr(0x1.d8p-1), cr(0x1.3p+1), cr(0x1.25p+1),
});
const std::vector<Row<double>> kCot = common<double>(true, {});
const std::vector<Row<float>> kSinf = common<float>(false, {
    cr(0x1.921fb6p+1f), cr(-0x1.921fb6p+2f),  // the floats nearest pi and -2pi: row 0
    cr(0x1p-12f), cr(0x1.fffffep+20f), cr(0x1p+21f), cr(0x1p+22f), cr(0x1.fffffep+127f),
    cr(0x1.9471bp-7f), cr(0x1.fc086ap+118f),  // the fourth-degree terms of the 65-row core
    {0x1p-149f, 0x1p-149f, UN, 0, NO_CODE, RN},
    // the short path below 2^-14: zeros keep their sign in every mode, a normal result
    // raises no underflow
    {0.0f, 0.0f, NONE, 0, NO_CODE, ALL_MODES}, {-0.0f, -0.0f, NONE, 0, NO_CODE, ALL_MODES},
    crx(0x1p-100f), crx(-0x1.00004cp-126f), crx(0x1.fffffep-15f),
});
const std::vector<Row<float>> kCosf = common<float>(true, {
    cr(0x1.921fb6p+0f), cr(0x1.921fb6p+1f), cr(0x1p+21f), cr(0x1p+22f), cr(0x1.fffffep+127f),
    cr(0x1.38acaap+15f), cr(0x1.e9f1e4p+54f),  // the fourth-degree terms of the 65-row core
});
const std::vector<Row<float>> kTanf = common<float>(false, {
    cr(0x1.921fb6p+0f), cr(-0x1.921fb6p+0f), cr(0x1p+16f), cr(0x1p+22f), cr(0x1.fffffep+127f),
    // the short path: zeros in every mode, a subnormal result underflows, a normal one not
    {0.0f, 0.0f, NONE, 0, NO_CODE, ALL_MODES}, {-0.0f, -0.0f, NONE, 0, NO_CODE, ALL_MODES},
    {0x1.713dp-128f, CR, UN}, {-0x1.713c48p-128f, CR, UN}, crx(0x1p-100f), crx(0x1.fffffep-15f),
});

// cot and cotf at zero: an infinity of the zero's sign, divide-by-zero, ERANGE and their codes.
const std::vector<Row<double>> kCotZero = {
    {0.0, INFINITY, DZ, ERANGE, code::cot_overflow_at_a_pole},
    {-0.0, -INFINITY, DZ, ERANGE, code::cot_overflow_at_a_pole},
    {INFINITY, NAN, INV}, {NAN, NAN}, cr(0x1p-1000), cr(0x1.921fb54442d18p+0), cr(0x1p+30),
};
const std::vector<Row<float>> kCotfZero = {
    {0.0f, INFINITY, DZ, ERANGE, code::cotf_overflow_at_a_pole},
    {-0.0f, -INFINITY, DZ, ERANGE, code::cotf_overflow_at_a_pole},
    {INFINITY, NAN, INV}, cr(0x1p-100f), cr(0x1p+30f),
};

// Both results of sincos stored, the sine through the first pointer.
const std::vector<RowSC<double>> kSincos = {
    {{-0.0}, {-0.0, 1.0}}, {{INFINITY}, {NAN, NAN}, INV},
    {{0x1.921fb54442d18p+0}, {CR, CR}, NX, 0, NO_CODE, RN},
    {{0x1.6ac5b262ca1ffp+849}, {CR, CR}, NX, 0, NO_CODE, RN},
};
const std::vector<RowSC<float>> kSincosf = {
    {{-0.0f}, {-0.0f, 1.0f}}, {{INFINITY}, {NAN, NAN}, INV},
    {{0.0f}, {0.0f, 1.0f}, NONE, 0, NO_CODE, ALL_MODES}, {{0x1p-100f}, {CR, CR}, NX},
    {{0x1.921fb6p+1f}, {CR, CR}, NX, 0, NO_CODE, RN}, {{0x1p+30f}, {CR, CR}, NX, 0, NO_CODE, RN},
};

template <class T> Sweep<T> plan(Func<T> f, double rn) {
    constexpr bool d = sizeof(T) == 8;
    T big = d ? T(0x1.fffffffffffffp+1023) : T(0x1.fffffep+127f);
    Sweep<T> s{f,
              {{70000, {T(0x1p-40), T(0x1p22), Dist::log_uniform, true}},
               {20000, {T(0x1p22), big, Dist::log_uniform, true}},
               {10000, {T(-4), T(4), Dist::uniform}},
               {5000, {T(0x1p16), T(0x1p23), Dist::log_uniform, true}}}};
    if constexpr (d) {
        // Doubles next to multiples of pi/2, the reduction's hardest inputs.
        for (double h : {0x1.6ac5b262ca1ffp+849, 0x1.8a8d1c5dd2d3ep+853, 0x1.921fb54442d18p+0,
                         0x1.921fb54442d18p+1, 0x1.921fb54442d19p+1, 0x1.c463abeccb2bbp+15,
                         0x1.5fdbbe9bba775p+14, 0x1.f7c2bc1d4e1cap+29})
            for (int sg : {1, -1}) s.points.push_back({T(sg * h), T(0)});
    }
    s.bounds(rn);
    s.seed = d ? 101 : 301;
    return s;
}

Sweep<double> sin_plan() {
    return plan(func("sin", mpfr_sin, tsr_tiers_sin, tsr_portable_tiers_sin).entry(::sin).add("bwr", tsr::Tier::ex, __bwr_sin), 0.55);
}
Sweep<double> cos_plan() {
    return plan(func("cos", mpfr_cos, tsr_tiers_cos, tsr_portable_tiers_cos).entry(::cos).add("bwr", tsr::Tier::ex, __bwr_cos), 0.55);
}
Sweep<double> tan_plan() {
    return plan(func("tan", mpfr_tan, tsr_tiers_tan, tsr_portable_tiers_tan).entry(::tan).add("bwr", tsr::Tier::ex, __bwr_tan), 0.55);
}
Sweep<double> cot_plan() {
    return plan(func("cot", mpfr_cot, tsr_tiers_cot).entry(::cot).add("bwr", tsr::Tier::ex, __bwr_cot), 0.55);
}
Sweep<double> sincos_plan() {
    return plan(func2("sincos", mpfr_sin, mpfr_cos, tsr_tiers_sincos, tsr_portable_tiers_sincos,
                      tsr_tiers___libm_sse2_sincos).entry(::sincos).add("bwr", tsr::Tier::ex, __bwr_sincos), 0.55);
}
Sweep<float> sinf_plan() {
    return plan(func("sinf", mpfr_sin, tsr_tiers_sinf, tsr_portable_tiers_sinf).entry(::sinf).add("bwr", tsr::Tier::ex, __bwr_sinf), 0.51);
}
Sweep<float> cosf_plan() {
    return plan(func("cosf", mpfr_cos, tsr_tiers_cosf, tsr_portable_tiers_cosf).entry(::cosf).add("bwr", tsr::Tier::ex, __bwr_cosf), 0.51);
}
Sweep<float> tanf_plan() {
    return plan(func("tanf", mpfr_tan, tsr_tiers_tanf, tsr_portable_tiers_tanf).entry(::tanf).add("bwr", tsr::Tier::ex, __bwr_tanf), 0.51);
}
Sweep<float> cotf_plan() {
    return plan(func("cotf", mpfr_cot, tsr_tiers_cotf).entry(::cotf).add("bwr", tsr::Tier::ex, __bwr_cotf), 0.51);
}
Sweep<float> sincosf_plan() {
    return plan(func2("sincosf", mpfr_sin, mpfr_cos, tsr_tiers_sincosf, tsr_portable_tiers_sincosf,
                      tsr_tiers___libm_sse2_sincosf).entry(::sincosf).add("bwr", tsr::Tier::ex, __bwr_sincosf), 0.51);
}

}  // namespace

TEST(TrigSpecial, Rows) {
    check_rows(sin_plan().f, kSin);
    check_rows(cos_plan().f, kCos);
    check_rows(tan_plan().f, kTan);
    check_rows(sinf_plan().f, kSinf);
    check_rows(cosf_plan().f, kCosf);
    check_rows(tanf_plan().f, kTanf);
    check_rows(cot_plan().f, kCotZero);
    check_rows(cotf_plan().f, kCotfZero);
    check_rows(sincos_plan().f, kSincos);
    check_rows(sincosf_plan().f, kSincosf);
}

// sin, tan odd and cos even bit for bit in nearest, in every tier: the reduction negates the
// count, not the remainder.
TEST(TrigSpecial, Symmetry) {
    auto xs = log_uniform<double>(0x1p-30, 0x1.fffffffffffffp+1023, 20000, 7, false);
    check_symmetry(sin_plan().f, xs, true);
    check_symmetry(tan_plan().f, xs, true);
    check_symmetry(cos_plan().f, xs, false);
}

TEST(TrigAccuracy, Sin) { sweep(sin_plan()); }
TEST(TrigAccuracy, Cos) { sweep(cos_plan()); }
TEST(TrigAccuracy, Tan) { sweep(tan_plan()); }
TEST(TrigAccuracy, Cot) { sweep(cot_plan()); }
TEST(TrigAccuracy, Sincos) { sweep(sincos_plan()); }
TEST(TrigAccuracy, Sinf) { sweep(sinf_plan()); }
TEST(TrigAccuracy, Cosf) { sweep(cosf_plan()); }
TEST(TrigAccuracy, Tanf) { sweep(tanf_plan()); }
TEST(TrigAccuracy, Cotf) { sweep(cotf_plan()); }
TEST(TrigAccuracy, Sincosf) { sweep(sincosf_plan()); }

// The Long run: every float, and the double functions on ten times the default inputs.
TEST(TrigLong, Floats) {
    for (auto s : {sinf_plan(), cosf_plan(), tanf_plan(), cotf_plan()}) every_float(s);
    every_float(sincosf_plan());
}
// A 199th of the floats, spread over every exponent and both signs (199 is prime to the
// 2^23 floats of a binade, so the samples fall at every place of the significand): the Long
// run's float coverage at a 199th of its time.
TEST(TrigLong, SinfSampled) { every_float(sinf_plan(), 0, 0xffffffffu, 199); }
TEST(TrigLong, CosfSampled) { every_float(cosf_plan(), 0, 0xffffffffu, 199); }
TEST(TrigLong, TanfSampled) { every_float(tanf_plan(), 0, 0xffffffffu, 199); }
TEST(TrigLong, SincosfSampled) { every_float(sincosf_plan(), 0, 0xffffffffu, 199); }
TEST(TrigLong, Doubles) {
    sweep_all<double>({sin_plan(), cos_plan(), tan_plan(), cot_plan(), sincos_plan()}, 10);
}

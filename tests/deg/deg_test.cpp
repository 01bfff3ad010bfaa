// Degree trigonometry: the exact angles (multiples of 30, 45 and 90, and the arcs that give
// them back) exact and flag-free in every mode, poles and domain errors with their codes,
// zeros' signs, huge arguments, as rows; accuracy against MPFR's functions of the unit 360
// over arguments of every size, the neighbours of the multiples of 90 and the tiny range, in
// every tier and mode; every float input in the Long run.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;

// MPFR's functions of an angle unit: 360 to the turn.
int mp_sind(mpfr_ptr o, mpfr_srcptr x, mpfr_rnd_t r) { return mpfr_sinu(o, x, 360, r); }
int mp_cosd(mpfr_ptr o, mpfr_srcptr x, mpfr_rnd_t r) { return mpfr_cosu(o, x, 360, r); }
int mp_tand(mpfr_ptr o, mpfr_srcptr x, mpfr_rnd_t r) { return mpfr_tanu(o, x, 360, r); }
int mp_cotd(mpfr_ptr o, mpfr_srcptr x, mpfr_rnd_t r) {
    Mp t(mpfr_get_prec(o) + 32);
    mpfr_tanu(t, x, 360, MPFR_RNDN);
    return mpfr_ui_div(o, 1, t, r);
}
int mp_asind(mpfr_ptr o, mpfr_srcptr x, mpfr_rnd_t r) { return mpfr_asinu(o, x, 360, r); }
int mp_acosd(mpfr_ptr o, mpfr_srcptr x, mpfr_rnd_t r) { return mpfr_acosu(o, x, 360, r); }
int mp_atand(mpfr_ptr o, mpfr_srcptr x, mpfr_rnd_t r) { return mpfr_atanu(o, x, 360, r); }
int mp_atan2d(mpfr_ptr o, mpfr_srcptr y, mpfr_srcptr x, mpfr_rnd_t r) { return mpfr_atan2u(o, y, x, 360, r); }

// An exact result: these bits, no flag, in all four modes.
template <class T> Row<T> ex(T x, T v) { return {x, v, NONE, 0, NO_CODE, ALL_MODES}; }
template <class T> Row2<T> ex2(T y, T x, T v) { return {{y, x}, v, NONE, 0, NO_CODE, ALL_MODES}; }
template <class T> Row<T> cr_all(T x) { return {x, CR, NX, 0, NO_CODE, ALL_MODES}; }

// Whole numbers whose residue modulo 360 is known: 360·2^40 + 150 (sin 1/2), 360·2^45 + 270
// (past 2^53, sin -1), 45·2^60 (a multiple of 360), 45 + 180·2^45 (tan 1).
const double kBig150 = 395824185999510.0, kBig270 = 12666373951979790.0,
             kBig0 = 0x1.68p+65, kBig45 = 6333186975989805.0;

// What every one-argument function of an angle shares: infinities give NaN with invalid and
// no code, NaNs pass (signalling ones with invalid), and the ends of the argument range.
template <class T> std::vector<Row<T>> angle_rows(std::vector<Row<T>> own) {
    constexpr bool d = sizeof(T) == 8;
    std::vector<Row<T>> r = {
        {T(INFINITY), T(NAN), INV}, {-T(INFINITY), T(NAN), INV}, {T(NAN), T(NAN)},
        {d ? T(kS) : fS, T(NAN), INV},
        // The largest finite values (128 degrees modulo 360; 104 for the float below the largest).
        cr_all(d ? T(0x1.fffffffffffffp+1023) : T(0x1.fffffcp+127f)),
        cr_all(d ? T(-0x1.fffffffffffffp+1023) : T(-0x1.fffffcp+127f)),
        cr_all(T(1)), cr_all(T(-89.5)), cr_all(T(1e6)), cr_all(T(180.5)),
    };
    if constexpr (d) {
        for (double x : {0x1p+1023, 0x1p+62, 0x1.00000000001p+60, 0x1p+52, 0x1.fffffffffffffp+51})
            r.push_back(cr_all(x));
        // A 256-bit reference cannot see cos's distance from 1 here: nearest only.
        for (double x : {1e-300, 0x1p-500}) r.push_back(cr(x));
        r.push_back(cr(-0x1.0000000000001p+56));
    } else {
        for (float x : {0x1p+24f, 0x1.fffffcp+23f, 0x1p+100f, 0x1p-60f}) r.push_back(cr_all(x));
    }
    r.insert(r.end(), own.begin(), own.end());
    return r;
}

const std::vector<Row<double>> kSind = angle_rows<double>({
    ex(0.0, 0.0), ex(-0.0, -0.0), ex(30.0, 0.5), ex(-30.0, -0.5), ex(90.0, 1.0), ex(-90.0, -1.0),
    ex(150.0, 0.5), ex(180.0, 0.0), ex(-180.0, -0.0), ex(210.0, -0.5), ex(270.0, -1.0),
    ex(330.0, -0.5), ex(360.0, 0.0), ex(-360.0, -0.0), ex(390.0, 0.5), ex(-720.0, -0.0),
    ex(kBig150, 0.5), ex(-kBig150, -0.5), ex(kBig270, -1.0), ex(kBig0, 0.0), ex(-kBig0, -0.0),
    {0x1p-1074, CR, UN, 0, NO_CODE, RN}, {-0x1p-1070, CR, UN, 0, NO_CODE, RN},
    {0x1p-1016, CR, NX, 0, NO_CODE, RN},  // a normal result: no underflow
    cr(0x1p-901), cr(0x1p-899), cr(0x1p-401), cr(0x1p-399), cr(45.0), cr(60.0), cr(0x1.68p+6 + 0x1p-46),
});
const std::vector<Row<double>> kCosd = angle_rows<double>({
    ex(0.0, 1.0), ex(-0.0, 1.0), ex(60.0, 0.5), ex(-60.0, 0.5), ex(90.0, 0.0), ex(-90.0, 0.0),
    ex(120.0, -0.5), ex(180.0, -1.0), ex(240.0, -0.5), ex(270.0, 0.0), ex(300.0, 0.5),
    ex(360.0, 1.0), cr(kBig150), ex(kBig270, 0.0), ex(kBig0, 1.0), ex(-kBig0, 1.0),
    {0x1p-1074, 1.0, NX, 0, NO_CODE, RN}, {0x1p-1074, 0x1.fffffffffffffp-1, NX, 0, NO_CODE, RD},
    {-0x1p-300, 0x1.fffffffffffffp-1, NX, 0, NO_CODE, RZ},
    cr(0x1p-401), cr(0x1p-399), cr(30.0), cr(45.0), cr(0x1.68p+6 + 0x1p-46),
});
const std::vector<Row<double>> kTand = angle_rows<double>({
    ex(0.0, 0.0), ex(-0.0, -0.0), ex(45.0, 1.0), ex(-45.0, -1.0), ex(135.0, -1.0), ex(225.0, 1.0),
    ex(-315.0, 1.0), ex(180.0, -0.0), ex(-180.0, 0.0), ex(360.0, 0.0), ex(kBig45, 1.0), ex(kBig0, 0.0),
    {90.0, kInf, DZ, ERANGE, code::tand_overflow_at_a_pole, ALL_MODES},
    {-90.0, -kInf, DZ, ERANGE, code::tand_overflow_at_a_pole, ALL_MODES},
    {270.0, -kInf, DZ, ERANGE, code::tand_overflow_at_a_pole, ALL_MODES},
    {kBig270, -kInf, DZ, ERANGE, code::tand_overflow_at_a_pole, ALL_MODES},
    {0x1p-1074, CR, UN, 0, NO_CODE, RN}, cr(0x1p-401), cr(0x1p-399),
    cr(0x1.68p+6 + 0x1p-46), cr(0x1.68p+6 - 0x1p-46), cr(30.0), cr(60.0), cr(0x1.6800000000001p+5),
});
const std::vector<Row<double>> kCotd = angle_rows<double>({
    ex(45.0, 1.0), ex(-45.0, -1.0), ex(135.0, -1.0), ex(90.0, 0.0), ex(-90.0, -0.0), ex(270.0, -0.0),
    ex(kBig45, 1.0),
    {0.0, kInf, DZ, ERANGE, code::cotd_overflow_at_a_pole, ALL_MODES},
    {-0.0, -kInf, DZ, ERANGE, code::cotd_overflow_at_a_pole, ALL_MODES},
    {180.0, -kInf, DZ, ERANGE, code::cotd_overflow_at_a_pole, ALL_MODES},
    {-360.0, -kInf, DZ, ERANGE, code::cotd_overflow_at_a_pole, ALL_MODES},
    {kBig0, kInf, DZ, ERANGE, code::cotd_overflow_at_a_pole, ALL_MODES},
    // 180/(pi x) past the largest double: overflow, no report.
    {0x1p-1074, kInf, OV, 0, NO_CODE, RN}, {-0x1p-1020, -kInf, OV, 0, NO_CODE, RN},
    {0x1p-1018, CR, NX, 0, NO_CODE, RN}, {0x1p-1010, CR, NX, 0, NO_CODE, ALL_MODES},
    cr(0x1p-401), cr(0x1p-399), cr(0x1.68p+7 + 0x1p-45), cr(30.0),
});

// sincosd: both results, the sine through the first pointer.
const std::vector<RowSC<double>> kSincosd = {
    {0.0, {0.0, 1.0}, NONE, 0, NO_CODE, ALL_MODES}, {-180.0, {-0.0, -1.0}, NONE, 0, NO_CODE, ALL_MODES},
    {270.0, {-1.0, 0.0}, NONE, 0, NO_CODE, ALL_MODES}, {kInf, {NAN, NAN}, INV},
    {30.0, {0.5, CR}, NX, 0, NO_CODE, ALL_MODES}, {1e22, {CR, CR}, NX, 0, NO_CODE, RN},
};

const std::vector<Row<float>> kSindf = angle_rows<float>({
    ex(0.0f, 0.0f), ex(-0.0f, -0.0f), ex(30.0f, 0.5f), ex(-150.0f, -0.5f), ex(90.0f, 1.0f),
    ex(180.0f, 0.0f), ex(-180.0f, -0.0f), ex(270.0f, -1.0f), ex(0x1.68p+100f, 0.0f),
    ex(0x1.fffffep+127f, 0.0f), ex(-0x1.fffffep+127f, -0.0f),
    {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {0x1p-126f, CR, UN, 0, NO_CODE, RN},
});
const std::vector<Row<float>> kCosdf = angle_rows<float>({
    ex(0.0f, 1.0f), ex(60.0f, 0.5f), ex(90.0f, 0.0f), ex(-90.0f, 0.0f), ex(180.0f, -1.0f),
    ex(240.0f, -0.5f), ex(0x1.fffffep+127f, 1.0f), {0x1p-149f, 0x1.fffffep-1f, NX, 0, NO_CODE, RD},
});
const std::vector<Row<float>> kTandf = angle_rows<float>({
    ex(45.0f, 1.0f), ex(-135.0f, 1.0f), ex(180.0f, -0.0f), ex(0.0f, 0.0f), ex(0x1.fffffep+23f, -1.0f),
    ex(0x1.fffffep+127f, 0.0f), ex(-0x1.fffffep+127f, -0.0f),  // a multiple of 360
    {90.0f, fInf, DZ, ERANGE, code::tandf_overflow_at_a_pole, ALL_MODES},
    {-270.0f, fInf, DZ, ERANGE, code::tandf_overflow_at_a_pole, ALL_MODES},
});
const std::vector<Row<float>> kCotdf = angle_rows<float>({
    ex(45.0f, 1.0f), ex(90.0f, 0.0f), ex(0x1.fffffep+23f, -1.0f),  // 135 modulo 360
    {0x1p-149f, CR, OV, 0, NO_CODE, ALL_MODES},  // past the largest float: no report
    {0.0f, fInf, DZ, ERANGE, code::cotdf_overflow_at_a_pole, ALL_MODES},
    {-180.0f, fInf, DZ, ERANGE, code::cotdf_overflow_at_a_pole, ALL_MODES},
});
const std::vector<RowSC<float>> kSincosdf = {
    {0.0f, {0.0f, 1.0f}, NONE, 0, NO_CODE, ALL_MODES}, {-0.0f, {-0.0f, 1.0f}, NONE, 0, NO_CODE, ALL_MODES},
    {90.0f, {1.0f, 0.0f}, NONE, 0, NO_CODE, ALL_MODES}, {-180.0f, {-0.0f, -1.0f}, NONE, 0, NO_CODE, ALL_MODES},
    {150.0f, {0.5f, CR}, NX, 0, NO_CODE, ALL_MODES}, {-60.0f, {CR, 0.5f}, NX, 0, NO_CODE, ALL_MODES},
    {fInf, {NAN, NAN}, INV}, {0x1p-149f, {CR, CR}, UN, 0, NO_CODE, RN},
};

// asind, acosd: the exact arcs, the domain's ends, tiny arguments.
template <class T> std::vector<Row<T>> arc_rows(std::vector<Row<T>> own) {
    std::vector<Row<T>> r = {{T(NAN), T(NAN)}, {sizeof(T) == 8 ? T(kS) : fS, T(NAN), INV}};
    for (T x : {T(0.75), T(-0.3), T(sizeof(T) == 8 ? 0x1.fffffffffffffp-1 : 0x1.fffffep-1f),
                T(sizeof(T) == 8 ? 0x1.0000000000001p-1 : 0x1.000002p-1f), T(0x1.fffffep-2f), T(0x1p-20f)})
        r.push_back(cr_all(x));
    r.insert(r.end(), own.begin(), own.end());
    return r;
}
const std::vector<Row<double>> kAsind = arc_rows<double>({
    ex(0.0, 0.0), ex(-0.0, -0.0), ex(0.5, 30.0), ex(-0.5, -30.0), ex(1.0, 90.0), ex(-1.0, -90.0),
    {0x1.0000000000001p+0, NAN, INV, EDOM, code::asind_magnitude_above_1},
    {-kInf, NAN, INV, EDOM, code::asind_magnitude_above_1},
    {0x1p-1074, CR, UN, 0, NO_CODE, RN}, {0x1p-1030, CR, UN, 0, NO_CODE, RN},
    {0x1p-1022, CR, NX, 0, NO_CODE, RN}, cr(0x1p-61), cr(0x1p-59), cr(-0x1p-901),
});
const std::vector<Row<double>> kAcosd = arc_rows<double>({
    ex(1.0, 0.0), ex(-1.0, 180.0), ex(0.5, 60.0), ex(-0.5, 120.0), ex(0.0, 90.0), ex(-0.0, 90.0),
    {2.0, NAN, INV, EDOM, code::acosd_magnitude_above_1},
    {kInf, NAN, INV, EDOM, code::acosd_magnitude_above_1},
    {0x1p-1074, 90.0, NX, 0, NO_CODE, RN}, {0x1p-1074, 0x1.67fffffffffffp+6, NX, 0, NO_CODE, RD},
    {-0x1p-70, 0x1.6800000000001p+6, NX, 0, NO_CODE, RU}, cr(0x1p-59), cr(-0x1p-61),
});
const std::vector<Row<float>> kAsindf = arc_rows<float>({
    ex(0.5f, 30.0f), ex(-1.0f, -90.0f), ex(-0.0f, -0.0f),
    {0x1.000002p+0f, NAN, INV, EDOM, code::asindf_magnitude_above_1},
    {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {0x1p-126f, CR, NX, 0, NO_CODE, RN},
});
const std::vector<Row<float>> kAcosdf = arc_rows<float>({
    ex(-0.5f, 120.0f), ex(-1.0f, 180.0f), ex(1.0f, 0.0f), ex(0.0f, 90.0f),
    {-fInf, NAN, INV, EDOM, code::acosdf_magnitude_above_1},
});

// atand: the exact angles, tiny and huge arguments.  Where the angle lies within 2^-256 of
// 90 or 180 the reference cannot see on which side: those rows hold in nearest only.
const std::vector<Row<double>> kAtand = {
    ex(0.0, 0.0), ex(-0.0, -0.0), ex(1.0, 45.0), ex(-1.0, -45.0), ex(kInf, 90.0), ex(-kInf, -90.0),
    {NAN, NAN}, {kS, NAN, INV}, {0x1p-1074, CR, UN, 0, NO_CODE, RN}, {0x1p-1022, CR, NX, 0, NO_CODE, RN},
    cr(0x1p-61), cr(0x1p-59), cr(0x1.fffffffffffffp+1023), cr_all(0x1p+60), cr_all(3.0), cr_all(-0.25),
};
const std::vector<Row<float>> kAtandf = {
    ex(1.0f, 45.0f), ex(-fInf, -90.0f), ex(-0.0f, -0.0f), {fS, NAN, INV},
    {0x1p-149f, CR, UN, 0, NO_CODE, RN}, cr_all(0x1.fffffep+127f), cr_all(0.3f),
};

// atan2d: every signed zero and infinity pair, both zeros reported, equal magnitudes exact,
// quotients beyond either end of the range, subnormal operands.
const std::vector<Row2<double>> kAtan2d = {
    {{0.0, 0.0}, 0.0, NONE, EDOM, code::atan2d_both_arguments_0, ALL_MODES},
    {{-0.0, 0.0}, -0.0, NONE, EDOM, code::atan2d_both_arguments_0, ALL_MODES},
    {{0.0, -0.0}, 180.0, NONE, EDOM, code::atan2d_both_arguments_0, ALL_MODES},
    {{-0.0, -0.0}, -180.0, NONE, EDOM, code::atan2d_both_arguments_0, ALL_MODES},
    ex2(0.0, 1.0, 0.0), ex2(-0.0, 1.0, -0.0), ex2(0.0, -1.0, 180.0), ex2(-0.0, -kInf, -180.0),
    ex2(1.0, 0.0, 90.0), ex2(-1.0, -0.0, -90.0), ex2(kInf, 1.0, 90.0), ex2(-kInf, -0.0, -90.0),
    ex2(1.0, kInf, 0.0), ex2(-1.0, kInf, -0.0), ex2(1.0, -kInf, 180.0), ex2(-1.0, -kInf, -180.0),
    ex2(kInf, kInf, 45.0), ex2(kInf, -kInf, 135.0), ex2(-kInf, kInf, -45.0), ex2(-kInf, -kInf, -135.0),
    ex2(3.0, 3.0, 45.0), ex2(-0x1p-1074, -0x1p-1074, -135.0), ex2(0x1p+1000, -0x1p+1000, 135.0),
    {{NAN, 1.0}, NAN}, {{1.0, NAN}, NAN}, {{kS, 1.0}, NAN, INV}, {{0.0, kS}, NAN, INV},
    {{0x1p-1074, 1.0}, CR, UN, 0, NO_CODE, RN}, {{0x1p-1074, 0x1p+60}, CR, UN, 0, NO_CODE, RN},
    {{-0x1p-1000, 0x1p+30}, CR, UN, 0, NO_CODE, RN}, {{0x1p-1000, 0x1p+3}, CR, NX, 0, NO_CODE, RN},
    {{0x1p-1022, 0x1.fffffffffffffp+1023}, CR, UN, 0, NO_CODE, RN},
    {{0x1p-1074, -1.0}, CR, NX, 0, NO_CODE, RN}, {{0x1.fffffffffffffp+1023, 0x1p-1074}, CR, NX, 0, NO_CODE, RN},
    {{0x1p-1074, 0x1.8p-1073}, CR, NX, 0, NO_CODE, ALL_MODES},
    {{1.0, 0x1p+61}, CR, NX, 0, NO_CODE, RN}, {{1.0, 0x1p+59}, CR, NX, 0, NO_CODE, RN},
    {{3.0, -4.0}, CR, NX, 0, NO_CODE, ALL_MODES}, {{-1.0, 0x1.0000000000001p+0}, CR, NX, 0, NO_CODE, RN},
};
const std::vector<Row2<float>> kAtan2df = {
    {{0.0f, -0.0f}, 180.0f, NONE, EDOM, code::atan2df_both_arguments_0, ALL_MODES},
    {{-0.0f, 0.0f}, -0.0f, NONE, EDOM, code::atan2df_both_arguments_0, ALL_MODES},
    ex2(fInf, -fInf, 135.0f), ex2(-2.0f, 2.0f, -45.0f), ex2(1.0f, -0.0f, 90.0f), ex2(-0.0f, -1.0f, -180.0f),
    {{NAN, 1.0f}, NAN}, {{1.0f, fS}, NAN, INV},
    {{0x1p-149f, 1.0f}, CR, UN, 0, NO_CODE, RN}, {{0x1p-149f, 0x1p+10f}, CR, UN, 0, NO_CODE, RN},
    {{0x1.fffffep+127f, -0x1p-149f}, CR, NX, 0, NO_CODE, RN},
};

// ---- accuracy -------------------------------------------------------------------------------
// The neighbours (an ulp up or down, either sign) of the points `point(g, i)` draws.
template <class T, class P> auto neighbours(P point) {
    return [point](std::vector<T> &out, size_t n, uint64_t seed) {
        std::mt19937_64 g(seed);
        for (size_t i = 0; i < n; ++i) {
            T m = point(g, i);
            T x = (g() & 1) ? std::nextafter(m, T(INFINITY)) : std::nextafter(m, -T(INFINITY));
            out.push_back((g() & 2) ? -x : x);
        }
    };
}
// Angles: uniform over two turns and near zero, log-uniform over every size and over the
// binades where the whole and half degrees run out (2^49 .. 2^53, floats 2^21 .. 2^25), the
// neighbours of multiples of 90 (remainders of one ulp: the poles' neighbours) and of odd
// multiples of 1/4 (where the nearest whole or half degree, the row, changes side), tiny
// arguments.
template <class T> Sweep<T> angle_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions = {{40000, {T(-720), T(720), Dist::uniform}},
                 {25000, {T(d ? 0x1p-30 : 0x1p-20), T(d ? 0x1p+1023 : 0x1p+127), Dist::log_uniform, true}},
                 {5000, {T(d ? 0x1p49 : 0x1p21), T(d ? 0x1p53 : 0x1p25), Dist::log_uniform, true}},
                 {10000, {T(-1), T(1), Dist::uniform}},
                 {5000, {T(d ? 0x1p-1074 : 0x1p-149), T(d ? 0x1p-380 : 0x1p-20), Dist::log_uniform, true}}};
    s.gen = neighbours<T>([](std::mt19937_64 &g, size_t i) {
        return (i & 1) ? T(90 * int64_t(g() % (d ? 100000000 : 100000)))
                       : T(double(2 * int64_t(g() % 720000) + 1) * 0.25);  // odd quarters below 360000
    });
    s.gen_n = 20000;
    return s.bounds(d ? 0.55 : 0.51);
}
// Arcs: uniform over [-1, 1], 1 - |x| log-uniform down to an ulp of 1, small magnitudes.
template <class T> Sweep<T> arc_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions = {{50000, {T(-1), T(1), Dist::uniform}},
                 {20000, {T(d ? 0x1p-70 : 0x1p-30), T(0.75), Dist::log_uniform, true}}};
    s.gen = [](std::vector<T> &out, size_t n, uint64_t seed) {
        auto e = log_uniform<T>(T(d ? 0x1p-53 : 0x1p-24), T(0.3), n, seed, true);
        for (T v : e) out.push_back(v < 0 ? T(-1) - v : T(1) - v);
    };
    s.gen_n = 30000;
    return s.bounds(d ? 0.55 : 0.51);
}
// Arctangent: log-uniform over the range, uniform near the origin, and the neighbours of
// the odd multiples of 1/256 and of their reciprocals (where the row changes).
template <class T> Sweep<T> atan_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions = {{50000, {T(d ? 0x1p-80 : 0x1p-40), T(d ? 0x1p+600 : 0x1p+100), Dist::log_uniform, true}},
                 {40000, {T(-4), T(4), Dist::uniform}}};
    s.gen = neighbours<T>([](std::mt19937_64 &g, size_t) {
        T m = T(double(2 * int64_t(g() % 128) + 1) / 256);
        return (g() & 4) ? T(1) / m : m;
    });
    s.gen_n = 10000;
    return s.bounds(d ? 0.55 : 0.51);
}
template <class T> Sweep<T> atan2_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    T lo = T(d ? 0x1p-1074 : 0x1p-149), hi = T(d ? 0x1p+1023 : 0x1p+127);
    s.regions = {{40000, {T(0x1p-20), T(0x1p+20), Dist::log_uniform, true}, {T(0x1p-20), T(0x1p+20), Dist::log_uniform, true}},
                 {30000, {lo, hi, Dist::log_uniform, true}, {lo, hi, Dist::log_uniform, true}},
                 {30000, {T(-2), T(2), Dist::uniform}, {T(-2), T(2), Dist::uniform}}};
    return s.bounds(d ? 0.55 : 0.51);
}

Sweep<double> sind_plan() { return angle_plan(func("sind", mp_sind, tsr_tiers_sind) TH_WITH_BWR(sind)); }
Sweep<double> cosd_plan() { return angle_plan(func("cosd", mp_cosd, tsr_tiers_cosd) TH_WITH_BWR(cosd)); }
Sweep<double> tand_plan() { return angle_plan(func("tand", mp_tand, tsr_tiers_tand) TH_WITH_BWR(tand)); }
Sweep<double> cotd_plan() { return angle_plan(func("cotd", mp_cotd, tsr_tiers_cotd) TH_WITH_BWR(cotd)); }
Sweep<double> sincosd_plan() { return angle_plan(func2("sincosd", mp_sind, mp_cosd, tsr_tiers_sincosd) TH_WITH_BWR(sincosd)); }
Sweep<float> sindf_plan() { return angle_plan(func("sindf", mp_sind, tsr_tiers_sindf) TH_WITH_BWR(sindf)); }
Sweep<float> cosdf_plan() { return angle_plan(func("cosdf", mp_cosd, tsr_tiers_cosdf) TH_WITH_BWR(cosdf)); }
Sweep<float> tandf_plan() { return angle_plan(func("tandf", mp_tand, tsr_tiers_tandf) TH_WITH_BWR(tandf)); }
Sweep<float> cotdf_plan() { return angle_plan(func("cotdf", mp_cotd, tsr_tiers_cotdf) TH_WITH_BWR(cotdf)); }
Sweep<float> sincosdf_plan() { return angle_plan(func2("sincosdf", mp_sind, mp_cosd, tsr_tiers_sincosdf) TH_WITH_BWR(sincosdf)); }
Sweep<double> asind_plan() { return arc_plan(func("asind", mp_asind, tsr_tiers_asind) TH_WITH_BWR(asind)); }
Sweep<double> acosd_plan() { return arc_plan(func("acosd", mp_acosd, tsr_tiers_acosd) TH_WITH_BWR(acosd)); }
Sweep<float> asindf_plan() { return arc_plan(func("asindf", mp_asind, tsr_tiers_asindf) TH_WITH_BWR(asindf)); }
Sweep<float> acosdf_plan() { return arc_plan(func("acosdf", mp_acosd, tsr_tiers_acosdf) TH_WITH_BWR(acosdf)); }
Sweep<double> atand_plan() { return atan_plan(func("atand", mp_atand, tsr_tiers_atand) TH_WITH_BWR(atand)); }
Sweep<float> atandf_plan() { return atan_plan(func("atandf", mp_atand, tsr_tiers_atandf) TH_WITH_BWR(atandf)); }
// atand2 is atan2d's second name: measured as a variant of it.
Sweep<double> atan2d_plan() {
    return atan2_plan(func("atan2d", mp_atan2d, tsr_tiers_atan2d)
                          TH_WITH_BWR(atan2d)
                          .add("atand2", tsr::Tier::ex, ::atand2).add("atand2-ex", tsr::Tier::ex, __libm_atand2_ex)
                          .add("atand2-bwr", tsr::Tier::ex, __bwr_atand2));
}
Sweep<float> atan2df_plan() {
    return atan2_plan(func("atan2df", mp_atan2d, tsr_tiers_atan2df)
                          TH_WITH_BWR(atan2df)
                          .add("atand2f", tsr::Tier::ex, ::atand2f).add("atand2f-ex", tsr::Tier::ex, __libm_atand2f_ex)
                          .add("atand2f-bwr", tsr::Tier::ex, __bwr_atand2f));
}

}  // namespace

TEST(DegSpecial, Rows) {
    check_rows(sind_plan().f, kSind);
    check_rows(cosd_plan().f, kCosd);
    check_rows(tand_plan().f, kTand);
    check_rows(cotd_plan().f, kCotd);
    check_rows(sincosd_plan().f, kSincosd);
    check_rows(sindf_plan().f, kSindf);
    check_rows(cosdf_plan().f, kCosdf);
    check_rows(tandf_plan().f, kTandf);
    check_rows(cotdf_plan().f, kCotdf);
    check_rows(sincosdf_plan().f, kSincosdf);
    check_rows(asind_plan().f, kAsind);
    check_rows(acosd_plan().f, kAcosd);
    check_rows(asindf_plan().f, kAsindf);
    check_rows(acosdf_plan().f, kAcosdf);
    check_rows(atand_plan().f, kAtand);
    check_rows(atandf_plan().f, kAtandf);
    check_rows(atan2d_plan().f, kAtan2d);
    check_rows(atan2df_plan().f, kAtan2df);
}

// Every multiple of 30 and 45 degrees in ten turns either way, in every tier and mode: the
// exact value (0, ±1/2, ±1, or the pole), never a flag but the pole's divide-by-zero.
TEST(DegSpecial, ExactAngles) {
    // sin of a whole number of degrees in [0, 360) where it is exact; NAN elsewhere.
    auto sin_of = [](int a) {
        switch (a) {
            case 0: case 180: return 0.0;
            case 30: case 150: return 0.5;
            case 210: case 330: return -0.5;
            case 90: return 1.0;
            case 270: return -1.0;
            default: return double(NAN);
        }
    };
    for (auto fp : {sind_plan().f, cosd_plan().f, tand_plan().f, cotd_plan().f}) {
        std::vector<Row<double>> rows;
        for (int k = -3600; k <= 3600; k += 15) {
            int a = (k < 0 ? -k : k) % 360;  // |x| modulo 360; x's sign below
            bool neg = k < 0;
            double v;
            bool pole = false;
            if (fp.name == "sind") {
                v = sin_of(a);
                if (neg) v = -v;  // sind(-180) = -0
            } else if (fp.name == "cosd") {
                v = sin_of((a + 90) % 360);
                if (v == 0) v = 0.0;  // cosd(90) = cosd(270) = +0
            } else {
                bool cot = fp.name == "cotd";
                int t = a % 180;
                if (t == 45 || t == 135) {
                    v = t == 45 ? 1.0 : -1.0;
                } else if (t == 0 || t == 90) {
                    // Zeros as sin/cos give them (tand(180) = -0, tand(270) = -inf), the pole's
                    // sign that of the zero's reciprocal.
                    pole = (t == 90) != cot;
                    bool minus = cot ? (a == 180 || a == 270) : (a == 180 || a == 270);
                    v = pole ? INFINITY : 0.0;
                    if (minus) v = -v;
                } else {
                    v = NAN;
                }
                if (neg) v = -v;
            }
            if (v != v) continue;
            double x = k;
            if (pole)
                rows.push_back({x, v, DZ, ERANGE, fp.name == "tand" ? code::tand_overflow_at_a_pole
                                                                    : code::cotd_overflow_at_a_pole, ALL_MODES});
            else
                rows.push_back(ex(x, v));
        }
        EXPECT_GT(rows.size(), 100u) << fp.name;
        check_rows(fp, rows);
    }
}

#define ACCURACY(Name, plan) \
    TEST(DegAccuracy, Name) { sweep(plan()); }
ACCURACY(Sind, sind_plan) ACCURACY(Cosd, cosd_plan) ACCURACY(Tand, tand_plan) ACCURACY(Cotd, cotd_plan)
ACCURACY(Sincosd, sincosd_plan) ACCURACY(Sindf, sindf_plan) ACCURACY(Cosdf, cosdf_plan)
ACCURACY(Tandf, tandf_plan) ACCURACY(Cotdf, cotdf_plan) ACCURACY(Sincosdf, sincosdf_plan)
ACCURACY(Asind, asind_plan) ACCURACY(Acosd, acosd_plan) ACCURACY(Asindf, asindf_plan)
ACCURACY(Acosdf, acosdf_plan) ACCURACY(Atand, atand_plan) ACCURACY(Atandf, atandf_plan)
ACCURACY(Atan2d, atan2d_plan) ACCURACY(Atan2df, atan2df_plan)

// The Long run: every float, and the double functions on ten times the default inputs.
TEST(DegLong, Floats) {
    for (auto s : {sindf_plan(), cosdf_plan(), tandf_plan(), cotdf_plan(), asindf_plan(), acosdf_plan(),
                   atandf_plan()})
        every_float(s);
    every_float(sincosdf_plan());
}
TEST(DegLong, Doubles) {
    sweep_all<double>({sind_plan(), cosd_plan(), tand_plan(), cotd_plan(), sincosd_plan(), asind_plan(), acosd_plan(),
                       atand_plan(), atan2d_plan()},
                      100);
}

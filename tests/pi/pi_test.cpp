// The pi-scaled functions and the vector-core members: exact results (zeros with their IEEE
// signs, ±1, ±1/2, ±1/4, the poles of tanpi and cotpi) as rows that must hold in every mode
// and every tier with no flag beyond their own; region ends, thresholds and the rare ranges
// correctly rounded; accuracy against MPFR in every tier and mode; every float input in the
// Long run.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

extern "C" {
double __libm_cotpi(double) noexcept;
float __libm_cotpif(float) noexcept;
}

namespace {

using namespace th;
namespace code = tsr::code;

// ---- sinpi, cospi, tanpi, cotpi: exact values in every mode -----------------------------------
// Whole numbers, half-odd and quarter numbers, small and beyond 2^52 and 2^53 (the last bit
// decides the parity up to 2^53), and the largest finite value.
template <class T> std::vector<Row<T>> sinpi_rows() {
    constexpr bool d = sizeof(T) == 8;
    T big = d ? T(0x1p52) : T(0x1p23), odd = big + 1;
    return with_nans<T>({
        {T(0), T(0)}, {-T(0), -T(0)}, {T(1), T(0)}, {T(-1), -T(0)}, {T(2), T(0)}, {T(-3), -T(0)},
        {T(0.5), T(1)}, {T(-0.5), T(-1)}, {T(1.5), T(-1)}, {T(-2.5), T(-1)}, {T(7.5), T(-1)},
        {big, T(0)}, {-odd, -T(0)}, {T(d ? 0x1p60 : 0x1p60f), T(0)}, {-T(d ? DBL_MAX : FLT_MAX), -T(0)},
        {big - T(0.5), T(-1)},  // 2^52 - 1/2 (2^23 - 1/2): the last half-odd number
        {T(kInf), T(NAN), INV}, {-T(kInf), T(NAN), INV},
        {T(d ? 0x1p-1074 : 0x1p-149f), CR, UN, 0, NO_CODE, RN},
        cr(T(0.25)), cr(T(-0.75)), cr(T(3.0 / 64)), cr(T(1.0 / 128)), cr(T(0x1p-30)),
        cr(T(d ? 0x1.fffffffffffffp-31 : 0x1.fffffep-31f)), cr(big / 8 - T(0.25)),
        cr(T(1.0 / 32)), cr(T(-5.0 / 64)), cr(T(31.0 / 32)),  // the float forms' grid 1/32 and its midpoints
    });
}
template <class T> std::vector<Row<T>> cospi_rows() {
    constexpr bool d = sizeof(T) == 8;
    T big = d ? T(0x1p52) : T(0x1p23), odd = big + 1;
    return with_nans<T>({
        {T(0), T(1)}, {-T(0), T(1)}, {T(1), T(-1)}, {T(-1), T(-1)}, {T(2), T(1)},
        {T(0.5), T(0)}, {T(-0.5), T(0)}, {T(1.5), T(0)}, {T(-1.5), T(0)}, {T(1e6 + 0.5), T(0)},
        {big, T(1)}, {odd, T(-1)}, {-odd, T(-1)}, {big * 2, T(1)}, {T(d ? DBL_MAX : FLT_MAX), T(1)},
        {big - T(0.5), T(0)},
        {T(kInf), T(NAN), INV}, {-T(kInf), T(NAN), INV},
        // nearest only for the smallest: a 256-bit reference cannot see (pi x)^2/2 beside 1
        {T(d ? 0x1p-1074 : 0x1p-149f), CR, NX, 0, NO_CODE, RN}, {T(d ? 0x1p-31 : 0x1p-31f), CR, NX},
        cr(T(0.25)), cr(T(-0.75)), cr(T(5.0 / 64)), cr(T(0x1p-30)), cr(T(0.4990234375)),
    });
}
// tanpi: the signs are those of sinpi over cospi; the poles give ±infinity with divide-by-zero.
template <class T> std::vector<Row<T>> tanpi_rows() {
    constexpr bool d = sizeof(T) == 8;
    T big = d ? T(0x1p52) : T(0x1p23), odd = big + 1;
    return with_nans<T>({
        {T(0), T(0)}, {-T(0), -T(0)}, {T(1), -T(0)}, {T(-1), T(0)}, {T(2), T(0)}, {T(-2), -T(0)},
        {T(0.25), T(1)}, {T(-0.25), T(-1)}, {T(0.75), T(-1)}, {T(1.25), T(1)}, {T(-5.75), T(1)},
        {T(0.5), T(kInf), DZ}, {T(-0.5), -T(kInf), DZ}, {T(1.5), -T(kInf), DZ}, {T(-1.5), T(kInf), DZ},
        {big, T(0)}, {odd, -T(0)}, {-odd, T(0)}, {big * 4, T(0)}, {big - T(0.5), -T(kInf), DZ},
        {T(kInf), T(NAN), INV}, {-T(kInf), T(NAN), INV},
        {T(d ? 0x1p-1074 : 0x1p-149f), CR, UN, 0, NO_CODE, RN},
        cr(T(0.125)), cr(T(0.4990234375)), cr(T(0.5009765625)), cr(T(0x1p-30)), cr(T(big / 8 - T(0.875))),
        // the rows' grid 1/128 and the borders at 1/256 where the reduction moves to a neighbour
        cr(T(1.0 / 256)), cr(T(3.0 / 256)), cr(T(-5.0 / 256)), cr(T(0.5 - 1.0 / 256)), cr(T(0.5 + 1.0 / 128)),
    });
}
template <class T> std::vector<Row<T>> cotpi_rows() {
    constexpr bool d = sizeof(T) == 8;
    return with_nans<T>({
        {T(0), T(kInf), DZ}, {-T(0), -T(kInf), DZ}, {T(1), -T(kInf), DZ}, {T(-2), -T(kInf), DZ},
        {T(0.5), T(0)}, {T(-0.5), -T(0)}, {T(1.5), -T(0)}, {T(0.25), T(1)}, {T(0.75), T(-1)},
        {T(kInf), T(NAN), INV},
        {T(d ? 0x1p-1074 : 0x1p-149f), T(kInf), OV | NX, 0, NO_CODE, RN},
        cr(T(d ? 0x1p-1020 : 0x1p-120f)), cr(T(0x1p-31)), cr(T(0.125)), cr(T(0.4990234375)),
    });
}

// ---- the inverse functions ------------------------------------------------------------------------
template <class T> std::vector<Row<T>> asinpi_rows(int above) {
    constexpr bool d = sizeof(T) == 8;
    return with_nans<T>({
        {T(0), T(0)}, {-T(0), -T(0)}, {T(1), T(0.5)}, {T(-1), T(-0.5)},
        {T(d ? 0x1.0000000000001p0 : 0x1.000002p0f), T(NAN), INV, EDOM, above},
        {T(-2), T(NAN), INV, EDOM, above}, {T(kInf), T(NAN), INV, EDOM, above},
        {T(d ? 0x1p-1074 : 0x1p-149f), CR, UN, 0, NO_CODE, RN}, crx(T(0.5)), crx(T(-0.5)),
        crx(T(d ? 0x1.fffffffffffffp-1 : 0x1.fffffep-1f)), cr(T(0x1p-30)), cr(T(0x1.6a09e6p-1f)),
        cr(T(d ? 0x1.0000000000001p-1 : 0x1.000002p-1f)), cr(T(d ? -0x1.fffffffffffffp-2 : -0x1.fffffep-2f)),  // the halves
    });
}
template <class T> std::vector<Row<T>> acospi_rows(int above) {
    constexpr bool d = sizeof(T) == 8;
    return with_nans<T>({
        {T(0), T(0.5)}, {-T(0), T(0.5)}, {T(1), T(0)}, {T(-1), T(1)},
        {T(d ? -0x1.0000000000001p0 : -0x1.000002p0f), T(NAN), INV, EDOM, above},
        {-T(kInf), T(NAN), INV, EDOM, above},
        {T(d ? 0x1p-1074 : 0x1p-149f), CR, NX, 0, NO_CODE, RN}, crx(T(0.5)), crx(T(-0.5)),
        crx(T(d ? -0x1.fffffffffffffp-1 : -0x1.fffffep-1f)), cr(T(0x1p-30)),
        cr(T(d ? 0x1.0000000000001p-1 : 0x1.000002p-1f)), cr(T(d ? -0x1.0000000000001p-1 : -0x1.000002p-1f)),
    });
}
// atanpi: the rare ranges (below 2^-969, from 2^1022 on), the core's thresholds 0.4375 (its
// high word does not exceed the first), 0.6875, 1.1875, 2.4375 and their neighbours, 2^54.
template <class T> std::vector<Row<T>> atanpi_rows() {
    constexpr bool d = sizeof(T) == 8;
    std::vector<Row<T>> r = with_nans<T>({
        {T(0), T(0)}, {-T(0), -T(0)}, {T(1), T(0.25)}, {T(-1), T(-0.25)},
        {T(kInf), T(0.5)}, {-T(kInf), T(-0.5)},
        {T(d ? 0x1p-1074 : 0x1p-149f), CR, UN, 0, NO_CODE, RN},
        cr(T(0.4375)), cr(T(0.6875)), cr(T(1.1875)), cr(T(2.4375)), crx(T(2)), crx(T(0.5)),
        cr(T(d ? 0x1.2000000000001p1 : 0x1.200002p1f)), cr(T(-3.0)),
        cr(T(d ? DBL_MAX : FLT_MAX)),  // nearest: a 256-bit reference cannot see 1/(pi x) beside 1/2
    });
    if constexpr (d) {
        for (double x : {0x1p-969, 0x1p-1000, 0x1p1022, 0x1.fffffffffffffp1021,
                         0x1p54, 0x1.fffffffffffffp53, 0x1.c000100000000p-2, 0x1.c0000ffffffffp-2, 0x1p-31})
            r.push_back(cr(x));
        r.push_back({0x1p60, CR, NX});
        r.push_back({0x1.fffffffffffffp-970, CR, NX, 0, NO_CODE, RN});  // the rare routine's x/pi
        r.push_back({-0x1p-1022, CR, UN, 0, NO_CODE, RN});              // a subnormal result
    }
    return r;
}
template <class T> std::vector<Row2<T>> atan2pi_rows() {
    constexpr bool d = sizeof(T) == 8;
    T m = d ? T(0x1p-1074) : T(0x1p-149), M = d ? T(DBL_MAX) : T(FLT_MAX);
    return {
        {{T(0), T(0)}, T(0)}, {{-T(0), T(0)}, -T(0)}, {{T(0), -T(0)}, T(1)}, {{-T(0), -T(0)}, T(-1)},
        {{T(0), T(-3)}, T(1)}, {{-T(0), T(5)}, -T(0)}, {{T(2), T(0)}, T(0.5)}, {{T(-2), -T(0)}, T(-0.5)},
        {{T(1), T(1)}, T(0.25)}, {{T(3), T(-3)}, T(0.75)}, {{T(-7), T(-7)}, T(-0.75)}, {{m, m}, T(0.25)},
        {{T(kInf), T(kInf)}, T(0.25)}, {{T(kInf), -T(kInf)}, T(0.75)}, {{-T(kInf), -T(kInf)}, T(-0.75)},
        {{T(kInf), T(1)}, T(0.5)}, {{-T(kInf), T(-1)}, T(-0.5)}, {{T(1), T(kInf)}, T(0)},
        {{T(-1), T(kInf)}, -T(0)}, {{T(1), -T(kInf)}, T(1)}, {{T(-1), -T(kInf)}, T(-1)},
        {{T(NAN), T(1)}, T(NAN)}, {{T(1), T(NAN)}, T(NAN)}, {{T(d ? kS : fS), T(1)}, T(NAN), INV},
        {{m, T(1)}, CR, UN, 0, NO_CODE, RN}, {{m, T(-1)}, CR, NX, 0, NO_CODE, RN}, {{-m, T(-1)}, CR, NX, 0, NO_CODE, RN},
        // nearest only where the reference's 256 bits cannot see the quotient beside the result
        {{T(1), m}, CR, NX, 0, NO_CODE, RN}, {{M, -m}, CR, NX, 0, NO_CODE, RN}, {{-M, m}, CR, NX, 0, NO_CODE, RN}, {{m, M}, T(0), UN | NX, 0, NO_CODE, RN},
        {{T(d ? 0x1p-1000 : 0x1p-100), T(d ? 0x1p23 : 0x1p27)}, CR, UN, 0, NO_CODE, RN},
        {{T(1), T(2)}, CR, NX}, {{T(-3), T(4)}, CR, NX, 0, NO_CODE, RN}, {{T(4), T(-3)}, CR, NX, 0, NO_CODE, RN},
        {{T(1), T(0x1p60)}, CR, NX, 0, NO_CODE, RN}, {{T(0x1p60), T(-1)}, CR, NX, 0, NO_CODE, RN},
        // the grid's ends at quotients 2^-6 and 2^6, on both sides and half-planes, and the
        // float form's octant borders tan(pi/8), tan(3 pi/8)
        {{T(1), T(64)}, CR, NX, 0, NO_CODE, RN}, {{T(-64), T(1)}, CR, NX, 0, NO_CODE, RN},
        {{T(0x1.fffffep-7), T(-1)}, CR, NX, 0, NO_CODE, RN}, {{T(1), T(0x1.fffffep+5)}, CR, NX, 0, NO_CODE, RN},
        {{T(0x1.fffffep+5), T(-1)}, CR, NX, 0, NO_CODE, RN}, {{T(-1), T(-0x1.000002p+6)}, CR, NX, 0, NO_CODE, RN},
        {{T(0x1.a8279ap-2), T(1)}, CR, NX, 0, NO_CODE, RN}, {{T(-0x1.3504f4p+1), T(-1)}, CR, NX, 0, NO_CODE, RN},
    };
}

// ---- maxmag, minmag: rows of the definition, NaNs and the equal magnitudes ----------------------
template <class T> std::vector<Row2<T>> mag_rows(bool max) {
    T s = sizeof(T) == 8 ? T(kS) : T(fS), inf = T(kInf);
    return {
        {{T(-1), T(1)}, max ? T(1) : T(-1)}, {{T(1), T(-1)}, max ? T(1) : T(-1)},
        {{T(3), T(-5)}, max ? T(-5) : T(3)}, {{T(-5), T(3)}, max ? T(-5) : T(3)},
        {{T(0), -T(0)}, T(0)}, {{-T(0), T(0)}, -T(0)}, {{T(2), T(2)}, T(2)},
        {{T(NAN), T(2)}, T(2)}, {{T(2), T(NAN)}, T(2)}, {{T(NAN), T(NAN)}, T(NAN)},
        {{inf, T(NAN)}, inf}, {{T(NAN), -inf}, -inf}, {{inf, -inf}, max ? inf : -inf},
        {{-inf, T(1)}, max ? -inf : T(1)}, {{T(1), inf}, max ? inf : T(1)},
        {{s, T(2)}, T(2)}, {{T(2), s}, T(2)}, {{s, s}, T(NAN), INV},
        {{T(sizeof(T) == 8 ? 0x1p-1074 : 0x1p-149), -T(0)}, max ? T(sizeof(T) == 8 ? 0x1p-1074 : 0x1p-149) : -T(0)},
    };
}

// ---- accuracy ----------------------------------------------------------------------------------------
int mpfr_cotpi(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {  // 1/tanpi at 64 more bits
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(r) + 64);
    mpfr_tanpi(t, x, MPFR_RNDN);
    int i = mpfr_ui_div(r, 1, t, rnd);
    mpfr_clear(t);
    return i;
}

template <class T> void bounds(Sweep<T> &s) {
    s.bound[0] = sizeof(T) == 8 ? 0.55 : 0.51;
    s.bound[1] = s.bound[2] = s.bound[3] = 2.0;
}
// The pi-scaled trigonometric functions: every size of argument with both signs, the first
// periods uniformly, and arguments within 2^-20 of the grid points k/64 and of the half-odd
// numbers (r near 0, results near 0 and the poles).
template <class T> Sweep<T> trig_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions = {{40000, {T(d ? 0x1p-1074 : 0x1p-149), T(d ? 0x1p60 : 0x1p30), Dist::log_uniform, true}},
                 {40000, {T(-4), T(4), Dist::uniform}},
                 {6000, {T(0x1p-35), T(0x1p-25), Dist::log_uniform, true}}};
    s.gen = [](std::vector<T> &out, size_t n, uint64_t seed) {
        std::mt19937_64 g(seed);
        auto off = log_uniform<T>(T(d ? 0x1p-50 : 0x1p-22), T(0x1p-8), n, seed, true);
        for (size_t i = 0; i < n; ++i) {
            T k = T(g() % 4096) / 64;
            out.push_back(i % 3 ? k + off[i] : T(k + T(0.5)) + off[i]);
        }
    };
    s.gen_n = 20000;
    bounds(s);
    return s;
}
template <class T> Sweep<T> arc_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions = {{50000, {T(-1), T(1), Dist::uniform}},
                 {10000, {T(0.45), T(0.55), Dist::log_uniform, true}},  // the halves' border
                 {20000, {T(d ? 0x1p-1074 : 0x1p-149), T(1), Dist::log_uniform, true}}};
    s.gen = [](std::vector<T> &out, size_t n, uint64_t seed) {
        auto e = log_uniform<T>(T(d ? 0x1p-53 : 0x1p-24), T(0.25), n, seed, true);
        for (T v : e) out.push_back(v < 0 ? T(-1) - v : T(1) - v);
    };
    s.gen_n = 20000;
    bounds(s);
    return s;
}
template <class T> Sweep<T> atanpi_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    // Appended one by one: as one braced list, the float instance came out corrupted here.
    s.regions.push_back({40000, {T(d ? 0x1p-1074 : 0x1p-149), T(d ? 0x1p1023 : 0x1p127), Dist::log_uniform, true}});
    s.regions.push_back({40000, {T(-4), T(4), Dist::uniform}});
    for (double c : {0.4375, 0.6875, 1.1875, 2.4375})  // the thresholds
        s.regions.push_back({4000, {T(c - 0.01), T(c + 0.01), Dist::uniform}});
    s.regions.push_back({4000, {T(0x1p50), T(0x1p58), Dist::log_uniform, true}});
    // just below tan(pi/8), where the result's ulp halves and the series is near its largest
    // share of it: a series short by a degree shows here first
    s.regions.push_back({10000, {T(0.38), T(0.4142), Dist::uniform, true}});
    bounds(s);
    return s;
}
template <class T> Sweep<T> atan2pi_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    T lo = d ? T(0x1p-1074) : T(0x1p-149), hi = d ? T(0x1p1023) : T(0x1p127);
    s.regions = {{40000, {lo, hi, Dist::log_uniform, true}, {lo, hi, Dist::log_uniform, true}},
                 {40000, {T(0x1p-4), T(16), Dist::log_uniform, true}, {T(0x1p-4), T(16), Dist::log_uniform, true}},
                 // quotients around tan(pi/8) and tan(3 pi/8), where the octants change
                 {10000, {T(0.38), T(0.45), Dist::log_uniform, true}, {T(0.95), T(1.05), Dist::log_uniform, true}},
                 {10000, {T(2.3), T(2.55), Dist::log_uniform, true}, {T(0.95), T(1.05), Dist::log_uniform, true}}};
    bounds(s);
    return s;
}

// Each function with its tiers (and portable AVX-512 builds where it has them), its entry and
// its reproducible form.
#define PORTABLE(name, mp) func(#name, mp, tsr_tiers_##name, tsr_portable_tiers_##name)
Sweep<double> sinpi_plan() { return trig_plan(PORTABLE(sinpi, mpfr_sinpi) TH_WITH_BWR(sinpi)); }
Sweep<double> cospi_plan() { return trig_plan(PORTABLE(cospi, mpfr_cospi) TH_WITH_BWR(cospi)); }
Sweep<double> sincospi_plan() { return trig_plan(func2("sincospi", mpfr_sinpi, mpfr_cospi, tsr_tiers_sincospi) TH_WITH_BWR(sincospi)); }
Sweep<double> tanpi_plan() { return trig_plan(PORTABLE(tanpi, mpfr_tanpi) TH_WITH_BWR(tanpi)); }
Sweep<double> cotpi_plan() { return trig_plan(PORTABLE(cotpi, mpfr_cotpi).entry(__libm_cotpi)); }
Sweep<float> sinpif_plan() { return trig_plan(PORTABLE(sinpif, mpfr_sinpi) TH_WITH_BWR(sinpif)); }
Sweep<float> cospif_plan() { return trig_plan(PORTABLE(cospif, mpfr_cospi) TH_WITH_BWR(cospif)); }
Sweep<float> sincospif_plan() { return trig_plan(func2("sincospif", mpfr_sinpi, mpfr_cospi, tsr_tiers_sincospif) TH_WITH_BWR(sincospif)); }
Sweep<float> tanpif_plan() { return trig_plan(PORTABLE(tanpif, mpfr_tanpi) TH_WITH_BWR(tanpif)); }
Sweep<float> cotpif_plan() { return trig_plan(PORTABLE(cotpif, mpfr_cotpi).entry(__libm_cotpif)); }
Sweep<double> asinpi_plan() { return arc_plan(func("asinpi", mpfr_asinpi, tsr_tiers_asinpi) TH_WITH_BWR(asinpi)); }
Sweep<double> acospi_plan() { return arc_plan(func("acospi", mpfr_acospi, tsr_tiers_acospi) TH_WITH_BWR(acospi)); }
Sweep<float> asinpif_plan() { return arc_plan(func("asinpif", mpfr_asinpi, tsr_tiers_asinpif) TH_WITH_BWR(asinpif)); }
Sweep<float> acospif_plan() { return arc_plan(func("acospif", mpfr_acospi, tsr_tiers_acospif) TH_WITH_BWR(acospif)); }
Sweep<double> atanpi_plan() { return atanpi_plan(func("atanpi", mpfr_atanpi, tsr_tiers_atanpi) TH_WITH_BWR(atanpi)); }
Sweep<float> atanpif_plan() { return atanpi_plan(func("atanpif", mpfr_atanpi, tsr_tiers_atanpif) TH_WITH_BWR(atanpif)); }
Sweep<double> atan2pi_plan() { return atan2pi_plan(PORTABLE(atan2pi, mpfr_atan2pi) TH_WITH_BWR(atan2pi)); }
Sweep<float> atan2pif_plan() { return atan2pi_plan(PORTABLE(atan2pif, mpfr_atan2pi) TH_WITH_BWR(atan2pif)); }
// maxmag and minmag have no MPFR function: their plans carry the variants for the rows.
Func<double> mag_func(bool max) {
    Func<double> f{max ? "maxmag" : "minmag", 2, 1, {nullptr}, {}};
    if (max) detail::add_list(f.add("entry", tsr::Tier::ex, ::maxmag), tsr_tiers_maxmag);
    else detail::add_list(f.add("entry", tsr::Tier::ex, ::minmag), tsr_tiers_minmag);
    return f;
}
Func<float> magf_func(bool max) {
    Func<float> f{max ? "maxmagf" : "minmagf", 2, 1, {nullptr}, {}};
    if (max) detail::add_list(f.add("entry", tsr::Tier::ex, ::maxmagf), tsr_tiers_maxmagf);
    else detail::add_list(f.add("entry", tsr::Tier::ex, ::minmagf), tsr_tiers_minmagf);
    return f;
}

}  // namespace

TEST(PiSpecial, Trig) {
    check_rows(sinpi_plan().f, sinpi_rows<double>());
    check_rows(cospi_plan().f, cospi_rows<double>());
    check_rows(tanpi_plan().f, tanpi_rows<double>());
    check_rows(cotpi_plan().f, cotpi_rows<double>());
    check_rows(sinpif_plan().f, sinpi_rows<float>());
    check_rows(cospif_plan().f, cospi_rows<float>());
    check_rows(tanpif_plan().f, tanpi_rows<float>());
    check_rows(cotpif_plan().f, cotpi_rows<float>());
}
// sincospi gives the pair of sinpi and cospi: the exact rows of both, as pairs.
TEST(PiSpecial, Sincospi) {
    std::vector<RowSC<double>> d = {{{0.5}, {1.0, 0.0}}, {{-1.0}, {-0.0, -1.0}}, {{1.5}, {-1.0, 0.0}},
                                    {{0x1p52 + 1}, {0.0, -1.0}}, {{kInf}, {NAN, NAN}, INV}, {{0.25}, {CR, CR}, NX}};
    std::vector<RowSC<float>> f = {{{0.5f}, {1.0f, 0.0f}}, {{-1.0f}, {-0.0f, -1.0f}}, {{-2.5f}, {-1.0f, 0.0f}},
                                   {{0x1p23f + 1}, {0.0f, -1.0f}}, {{fInf}, {NAN, NAN}, INV}, {{0.75f}, {CR, CR}, NX}};
    check_rows(sincospi_plan().f, d);
    check_rows(sincospif_plan().f, f);
}
TEST(PiSpecial, Inverse) {
    check_rows(asinpi_plan().f, asinpi_rows<double>(code::asinpi_magnitude_above_1));
    check_rows(acospi_plan().f, acospi_rows<double>(code::acospi_magnitude_above_1));
    check_rows(asinpif_plan().f, asinpi_rows<float>(code::asinpif_magnitude_above_1));
    check_rows(acospif_plan().f, acospi_rows<float>(code::acospif_magnitude_above_1));
    check_rows(atanpi_plan().f, atanpi_rows<double>());
    check_rows(atanpif_plan().f, atanpi_rows<float>());
    check_rows(atan2pi_plan().f, atan2pi_rows<double>());
    check_rows(atan2pif_plan().f, atan2pi_rows<float>());
}
TEST(VectorCore, MaxminMag) {
    check_rows(mag_func(true), mag_rows<double>(true));
    check_rows(mag_func(false), mag_rows<double>(false));
    check_rows(magf_func(true), mag_rows<float>(true));
    check_rows(magf_func(false), mag_rows<float>(false));
    // Random operands against the definition: the larger (smaller) magnitude, and for equal
    // magnitudes the signed maximum (minimum).
    std::mt19937_64 g(7);
    for (int i = 0; i < 20000; ++i) {
        double x = f64(g()), y = i % 4 ? f64(g()) : -x;
        if (std::isnan(x) || std::isnan(y)) continue;
        double ax = std::fabs(x), ay = std::fabs(y);
        // equal magnitudes: the processor's max/min with y first, which gives x for two zeros
        double mx = ax > ay ? x : ay > ax ? y : (y > x ? y : x), mn = ax < ay ? x : ay < ax ? y : (y < x ? y : x);
        ASSERT_EQ(bits_of(::maxmag(x, y)), bits_of(mx)) << x << " " << y;
        ASSERT_EQ(bits_of(::minmag(x, y)), bits_of(mn)) << x << " " << y;
        float xf = float(x), yf = i % 4 ? float(y) : -xf;
        float axf = std::fabs(xf), ayf = std::fabs(yf);
        float mxf = axf > ayf ? xf : ayf > axf ? yf : (yf > xf ? yf : xf);
        float mnf = axf < ayf ? xf : ayf < axf ? yf : (yf < xf ? yf : xf);
        ASSERT_EQ(bits_of(::maxmagf(xf, yf)), bits_of(mxf)) << xf << " " << yf;
        ASSERT_EQ(bits_of(::minmagf(xf, yf)), bits_of(mnf)) << xf << " " << yf;
    }
}

#define ACCURACY(Name, plan) \
    TEST(PiAccuracy, Name) { sweep(plan()); }
ACCURACY(Sinpi, sinpi_plan) ACCURACY(Cospi, cospi_plan) ACCURACY(Sincospi, sincospi_plan) ACCURACY(Tanpi, tanpi_plan)
ACCURACY(Cotpi, cotpi_plan) ACCURACY(Asinpi, asinpi_plan) ACCURACY(Acospi, acospi_plan) ACCURACY(Atanpi, atanpi_plan)
ACCURACY(Atan2pi, atan2pi_plan) ACCURACY(Sinpif, sinpif_plan) ACCURACY(Cospif, cospif_plan)
ACCURACY(Sincospif, sincospif_plan) ACCURACY(Tanpif, tanpif_plan) ACCURACY(Cotpif, cotpif_plan)
ACCURACY(Asinpif, asinpif_plan) ACCURACY(Acospif, acospif_plan) ACCURACY(Atanpif, atanpif_plan)
ACCURACY(Atan2pif, atan2pif_plan)

// The Long run: every float of each one-argument float function, atan2pif and the double
// functions on 10 million inputs each.
TEST(PiLong, Floats) {
    for (auto s : {sinpif_plan(), cospif_plan(), tanpif_plan(), cotpif_plan(), atanpif_plan()}) every_float(s);
    every_float(sincospif_plan());
    every_float(asinpif_plan(), 0, 0x3f800000u);
    every_float(asinpif_plan(), 0x80000000u, 0xbf800000u);
    every_float(acospif_plan(), 0, 0x3f800000u);
    every_float(acospif_plan(), 0x80000000u, 0xbf800000u);
    auto s = atan2pif_plan();
    s.scale = 100;
    sweep(s);
}
TEST(PiLong, Doubles) {
    for (auto s : {sinpi_plan(), cospi_plan(), tanpi_plan(), cotpi_plan(), asinpi_plan(), acospi_plan(), atanpi_plan(),
                   atan2pi_plan()}) {
        s.scale = 100;
        sweep(s);
    }
}

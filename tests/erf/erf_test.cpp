// The error-function family (the inverses in tests/erfinv): exact results (signed zeros, ±1,
// 0, 1/2, 2, the saturations)
// as rows that hold in every mode and tier with no flag beyond their own; the rare ranges,
// the thresholds and their neighbours, the deep tails with their subnormal results and the
// underflows to zero with their codes; accuracy against MPFR in every tier and mode; every
// float in the Long run.
#include <gtest/gtest.h>

#include <cmath>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"
#include "erf/erf_refs.h"

namespace {

using namespace th;
using namespace erft;
namespace code = tsr::code;

// ---- rows ----------------------------------------------------------------------------------
// erf: the signed zeros, ±1 at the infinities (exact) and from the last row on (rounded), the
// rare range below 2^-100 (the product with 2/sqrt(pi), subnormal results included), the row
// boundaries and the grid points.
template <class T> std::vector<Row<T>> erf_rows() {
    constexpr bool d = sizeof(T) == 8;
    std::vector<Row<T>> r = with_nans<T>({
        {T(0), T(0)}, {-T(0), -T(0)}, {T(kInf), T(1)}, {-T(kInf), T(-1)},
        {T(6), T(1), NX, 0, NO_CODE, RN}, {T(-1e30), T(-1), NX, 0, NO_CODE, RN},
        {T(d ? DBL_MAX : FLT_MAX), T(1), NX, 0, NO_CODE, RN},
        {T(d ? 0x1p-1074 : 0x1p-149), CR, UN}, {T(d ? -0x1p-1074 : -0x1p-149), CR, UN}, crun(T(d ? 0x1.8p-1030 : 0x1.8p-140)),
        crx(T(0.5)), crx(T(-1)), crx(T(1.0 / 256)), crx(T(3.0 / 256)), crx(T(5.9921875)), crx(T(5.98)),
        cr(T(0x1p-30)), cr(T(0.02734375)), cr(T(3.5)), cr(T(-5.91)),
    });
    if constexpr (d) {
        for (double x : {0x1p-100, 0x1.fffffffffffffp-101, 0x1p-1022, 0x1.fffffffffffffp-1023, -0x1p-200, 0x1p-70})
            r.push_back(crx(x));
    }
    return r;
}
// erfc: 1 at zero (exact), 0 and 2 at the infinities, 2 from the far negative side (rounded),
// the tail down to the subnormal results and the underflow to zero with its code.
template <class T> std::vector<Row<T>> erfc_rows(int under) {
    constexpr bool d = sizeof(T) == 8;
    T zero_from = d ? T(27.226017111108366) : T(0x1.41bbf8p+3);
    T last_nonzero = d ? T(27.226017111108362) : T(0x1.41bbf6p+3);
    std::vector<Row<T>> r = with_nans<T>({
        {T(0), T(1)}, {-T(0), T(1)}, {T(kInf), T(0)}, {-T(kInf), T(2)},
        {T(-6), T(2), NX, 0, NO_CODE, RN}, {T(-1e30), T(2), NX, 0, NO_CODE, RN},
        {zero_from, T(0), UN, ERANGE, under, RN}, {T(30), T(0), UN, ERANGE, under, RN},
        {T(d ? DBL_MAX : FLT_MAX), T(0), UN, ERANGE, under, RN},
        {last_nonzero, T(d ? 0x1p-1074 : 0x1p-149), UN, 0, NO_CODE, RN},
        // nearest only for the smallest: a 256-bit reference cannot see 2^-1074 beside 1
        cr(T(d ? 0x1p-1074 : 0x1p-149)), cr(T(d ? -0x1p-1074 : -0x1p-149)), crx(T(0.5)), crx(T(-1)),
        crx(T(1.0 / 256)), crx(T(5)), crx(T(-5.5)), cr(T(0x1p-30)), cr(T(-0x1p-20)), cr(T(27.2421875 / 3)),
        crun(T(d ? 26.6 : 9.5)), crun(T(d ? 27.0 : 10.0)), cr(T(d ? 26.4 : 9.0)), cr(T(d ? -5.8635847487551676 : -3.9)),
    });
    if constexpr (d) {
        // (the last three: the kernel's former worst cases, 0.52 to 0.55 ulp, near the end of a row)
        for (double x : {26.5, 0x1.a7fffffffffffp+4, 26.54325845425098, 26.543258454250985, 26.699372268345602,
                         27.2, 0x1p-70, 0x1.fffffffffffffp-71, 5.9921875, -5.9999999, 0x1.9d0d95a596adbp+4,
                         0x1.a50e3e21a02a8p+4, 0x1.9ece74fa7b1fcp+4})
            r.push_back(x > 26.54 ? crun(x) : cr(x));
    }
    return r;
}
template <class T> std::vector<Row<T>> cdfnorm_rows(int under) {
    constexpr bool d = sizeof(T) == 8;
    T zero_to = d ? T(-0x1.33e21dc3f3bd8p+5) : T(-0x1.c5722ap+3);
    T last_nonzero = d ? T(-0x1.33e21dc3f3bd7p+5) : T(-0x1.c57228p+3);
    std::vector<Row<T>> r = with_nans<T>({
        {T(0), T(0.5)}, {-T(0), T(0.5)}, {T(kInf), T(1)}, {-T(kInf), T(0)},
        {T(8.3), T(1), NX, 0, NO_CODE, RN}, {T(1e30), T(1), NX, 0, NO_CODE, RN},
        {zero_to, T(0), UN, ERANGE, under, RN}, {T(-39), T(0), UN, ERANGE, under, RN},
        {T(d ? -DBL_MAX : -FLT_MAX), T(0), UN, ERANGE, under, RN},
        {last_nonzero, T(d ? 0x1p-1074 : 0x1p-149), UN, 0, NO_CODE, RN},
        cr(T(d ? 0x1p-1074 : 0x1p-149)), crx(T(-1)), crx(T(2)), crx(T(d ? -30 : -12)), cr(T(0x1p-30)),
        crun(T(d ? -38.0 : -13.5)), cr(T(d ? -37.5 : -12.9)), cr(T(d ? 8.292361075813595 : 5.5)),
    });
    if constexpr (d) {
        // and -36.509..., which reached 0.554 ulp while the kernel rounded -D d u into its tail
        for (double x : {-37.5193793471445, -37.74026543984266, 8.29236107581359, 0x1p-70, -0x1.fffffffffffffp-71,
                         -0x1.2412976c2c093p+5})
            r.push_back(x <= -37.5193793471445 ? crun(x) : cr(x));
    }
    return r;
}

// erfcx: 1 at zero, the infinities, the overflow with its code, the asymptotic range and
// its start, and 1 - x for the tiny ones.
template <class T> std::vector<Row<T>> erfcx_rows(int over) {
    constexpr bool d = sizeof(T) == 8;
    T over_to = d ? T(-26.628735713751492) : T(-0x1.2c3cbep+3);
    T last_finite = d ? T(-0x1.aa0f4d2e063cep+4) : T(-0x1.2c3cbcp+3);
    std::vector<Row<T>> r = with_nans<T>({
        {T(0), T(1)}, {-T(0), T(1)}, {T(kInf), T(0)}, {-T(kInf), T(kInf)},
        {over_to, T(kInf), OV, ERANGE, over, RN}, {T(-27), T(kInf), OV, ERANGE, over, RN},
        {T(d ? -DBL_MAX : -FLT_MAX), T(kInf), OV, ERANGE, over, RN}, cr(last_finite),
        cr(T(d ? 0x1p-1074 : 0x1p-149)), crx(T(0.5)), crx(T(-1)), crx(T(3)), cr(T(25.90869)), cr(T(25.9)),
        cr(T(1e10)), cr(T(d ? 0x1p60 : 0x1p60f)), cr(T(d ? 0x1.fffffffffffffp59 : 0x1.fffffep59f)),
        crun(T(d ? DBL_MAX : FLT_MAX)), cr(T(d ? -26 : -9)), cr(T(0x1p-70)), cr(T(-0x1p-69)),
    });
    if constexpr (d) r.push_back(crun(1e308));  // 1/(x sqrt(pi)) is subnormal
    return r;
}
// ---- plans ---------------------------------------------------------------------------------
// erf: every size of argument, the rows uniformly, the grid's half-way points.
template <class T> Sweep<T> erf_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions.push_back({40000, {T(d ? 0x1p-1074 : 0x1p-149), T(d ? 0x1p10 : 0x1p10), Dist::log_uniform, true}});
    s.regions.push_back({50000, {T(-6.5), T(6.5), Dist::uniform}});
    s.regions.push_back({10000, {T(0x1p-110), T(0x1p-90), Dist::log_uniform, true}});
    bounds(s, d ? 0.55 : 0.51);
    return s;
}
// erfc: both sides, the tail into the subnormal results and past the underflow.
template <class T> Sweep<T> erfc_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions.push_back({30000, {T(d ? 0x1p-1074 : 0x1p-149), T(64), Dist::log_uniform, true}});
    s.regions.push_back({40000, {T(-6.5), T(d ? 27.5 : 10.5), Dist::uniform}});
    s.regions.push_back({20000, {T(d ? 25.5 : 8.5), T(d ? 27.3 : 10.1), Dist::uniform}});
    s.regions.push_back({10000, {T(0x1p-80), T(0x1p-60), Dist::log_uniform, true}});
    bounds(s, d ? 0.55 : 0.51);
    return s;
}
template <class T> Sweep<T> cdfnorm_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions.push_back({35000, {T(d ? 0x1p-1074 : 0x1p-149), T(0x1p10), Dist::log_uniform, true}});
    s.regions.push_back({45000, {T(d ? -39 : -14.5), T(9), Dist::uniform}});
    s.regions.push_back({20000, {T(d ? -38.6 : -14.3), T(d ? -36.5 : -12.5), Dist::uniform}});
    bounds(s, d ? 0.55 : 0.51);
    return s;
}

template <class T> Sweep<T> erfcx_plan(Func<T> f) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions.push_back({40000, {T(d ? 0x1p-1074 : 0x1p-149), T(d ? 0x1p1000 : 0x1p100), Dist::log_uniform, true}});
    s.regions.push_back({45000, {T(d ? -26.6 : -9.38), T(40), Dist::uniform}});
    s.regions.push_back({15000, {T(25), T(27), Dist::uniform}});
    bounds(s, d ? 1.0 : 0.51);
    return s;
}
Sweep<double> erf_plan() {
    return erf_plan(func("erf", mpfr_erf, tsr_tiers_erf).entry(::erf).add("bwr", tsr::Tier::ex, __bwr_erf));
}
Sweep<float> erff_plan() {
    return erf_plan(func("erff", mpfr_erf, tsr_tiers_erff).entry(::erff).add("bwr", tsr::Tier::ex, __bwr_erff));
}
Sweep<double> erfc_plan() {
    return erfc_plan(func("erfc", mpfr_erfc, tsr_tiers_erfc).entry(::erfc).add("bwr", tsr::Tier::ex, __bwr_erfc));
}
Sweep<float> erfcf_plan() {
    return erfc_plan(func("erfcf", mpfr_erfc, tsr_tiers_erfcf).entry(::erfcf).add("bwr", tsr::Tier::ex, __bwr_erfcf));
}
Sweep<double> cdfnorm_plan() { return cdfnorm_plan(func("cdfnorm", mpfr_cdfnorm, tsr_tiers_cdfnorm).entry(::cdfnorm)); }
Sweep<float> cdfnormf_plan() { return cdfnorm_plan(func("cdfnormf", mpfr_cdfnorm, tsr_tiers_cdfnormf).entry(::cdfnormf)); }

Sweep<double> erfcx_plan() {
    return erfcx_plan(func("erfcx", mpfr_erfcx, tsr_tiers_erfcx).entry(::erfcx).add("bwr", tsr::Tier::ex, __bwr_erfcx));
}
Sweep<float> erfcxf_plan() {
    return erfcx_plan(func("erfcxf", mpfr_erfcx, tsr_tiers_erfcxf).entry(::erfcxf).add("bwr", tsr::Tier::ex, __bwr_erfcxf));
}
}  // namespace

TEST(ErfSpecial, Erf) {
    check_rows(erf_plan().f, erf_rows<double>());
    check_rows(erff_plan().f, erf_rows<float>());
}
TEST(ErfSpecial, Erfc) {
    check_rows(erfc_plan().f, erfc_rows<double>(code::erfc_underflow));
    check_rows(erfcf_plan().f, erfc_rows<float>(code::erfcf_underflow));
}
TEST(ErfSpecial, Cdfnorm) {
    check_rows(cdfnorm_plan().f, cdfnorm_rows<double>(code::cdfnorm_underflow));
    check_rows(cdfnormf_plan().f, cdfnorm_rows<float>(code::cdfnormf_underflow));
}

TEST(ErfSpecial, Erfcx) {
    check_rows(erfcx_plan().f, erfcx_rows<double>(code::erfcx_overflow));
    check_rows(erfcxf_plan().f, erfcx_rows<float>(code::erfcxf_overflow));
}
TEST(ErfAccuracy, Erf) { sweep(erf_plan()); }
TEST(ErfAccuracy, Erfc) { sweep(erfc_plan()); }
TEST(ErfAccuracy, Cdfnorm) { sweep(cdfnorm_plan()); }
TEST(ErfAccuracy, Erff) { sweep(erff_plan()); }
TEST(ErfAccuracy, Erfcf) { sweep(erfcf_plan()); }
TEST(ErfAccuracy, Cdfnormf) { sweep(cdfnormf_plan()); }
TEST(ErfAccuracy, Erfcx) { sweep(erfcx_plan()); }
TEST(ErfAccuracy, Erfcxf) { sweep(erfcxf_plan()); }

// The Long run: every float, and the double functions on 10 million inputs each.
TEST(ErfLong, Floats) {
    for (auto s : {erff_plan(), erfcf_plan(), cdfnormf_plan(), erfcxf_plan()})
        every_float(s);
}
TEST(ErfLong, Doubles) {
    for (auto s : {erf_plan(), erfc_plan(), cdfnorm_plan(), erfcx_plan()}) {
        s.scale = 100;
        sweep(s);
    }
}

// The inverse error functions (erfinv, erfcinv, cdfnorminv and their float forms), apart from
// the others so that their sweeps, whose MPFR references (Newton iterations) take most of the
// family's test time, run beside them: the zeros, the poles with their codes, the domains,
// tiny arguments and the tails as rows in every mode; accuracy against MPFR on 100,000 inputs
// in every mode (uniform over the domain, log-uniform towards zero and towards the poles);
// every float and 10 million doubles in the Long run.
#include <gtest/gtest.h>

#include "erf/erf_refs.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
using namespace erft;
namespace code = tsr::code;

// erfinv: the zeros, the poles at ±1, the domain, tiny arguments (subnormal results), the
// ends of the three regions (1/8, 7/8 and their neighbours), a row boundary of the middle
// region (y^2 = 49/64 - 3/128 k) and of the tail (u = 1/4: z = e^-16).
template <class T> std::vector<Row<T>> erfinv_rows(int above, int one) {
    constexpr bool d = sizeof(T) == 8;
    T below1 = d ? T(0x1.fffffffffffffp-1) : T(0x1.fffffep-1);
    return with_nans<T>({
        {T(0), T(0)}, {-T(0), -T(0)}, {T(1), T(kInf), DZ, ERANGE, one}, {T(-1), -T(kInf), DZ, ERANGE, one},
        {T(1.5), T(NAN), INV, EDOM, above}, {T(-2), T(NAN), INV, EDOM, above}, {T(kInf), T(NAN), INV, EDOM, above},
        {T(d ? 1.0000000000000002 : 1.0000001f), T(NAN), INV, EDOM, above},
        {T(d ? 0x1p-1074 : 0x1p-149), CR, UN, 0, NO_CODE, RN}, crun(T(d ? 0x1p-1022 : 0x1p-126)),
        cr(T(0x1p-61)), cr(T(0x1p-60)), cr(T(0.5)), cr(T(-0.5)), cr(T(d ? 0x1.0000000000001p-1 : 0x1.000002p-1f)),
        cr(below1), cr(-below1), cr(T(0.9)), cr(T(-0.999)), cr(T(0x1p-30)),
        cr(T(0.125)), cr(T(d ? 0x1.fffffffffffffp-4 : 0x1.fffffep-4f)), cr(T(-0.875)),
        cr(T(d ? 0x1.bffffffffffffp-1 : 0x1.bffffep-1f)), cr(T(0.8477912478906585)),  // y^2 next to 49/64 - 2 (3/128)
        cr(T(0.9999998874648253)), cr(T(0x1.b9844b07b11e6p-1)),  // the middle row 0 with a small w'
    });
}
// erfcinv: 0 at 1 exactly, the poles at 0 and 2, the domain, the tail to the smallest z, the
// region ends (1 - x = ±1/8, ±7/8, and x = 1/8 + 2^-56, where 1 - x rounds to 7/8), and the
// tail's rows next to its far end (z = e^-256, u = 1/16; z below 2^-1000).
template <class T> std::vector<Row<T>> erfcinv_rows(int pole, int outside) {
    constexpr bool d = sizeof(T) == 8;
    return with_nans<T>({
        {T(1), T(0)}, {T(0), T(kInf), DZ, ERANGE, pole}, {-T(0), T(kInf), DZ, ERANGE, pole},
        {T(2), -T(kInf), DZ, ERANGE, pole}, {T(3), T(NAN), INV, EDOM, outside}, {T(-1), T(NAN), INV, EDOM, outside},
        {T(kInf), T(NAN), INV, EDOM, outside}, {-T(kInf), T(NAN), INV, EDOM, outside},
        cr(T(d ? 0x1p-1074 : 0x1p-149)), cr(T(d ? 0x1p-1022 : 0x1p-126)), cr(T(0.5)), cr(T(1.5)),
        cr(T(d ? 0x1.fffffffffffffp0 : 0x1.fffffep0f)), cr(T(d ? 0x1.fffffffffffffp-1 : 0x1.fffffep-1f)),
        cr(T(1e-10)), cr(T(1.9)),
        cr(T(0.125)), cr(T(0.875)), cr(T(1.125)), cr(T(1.875)), cr(T(d ? 0x1.0000000000001p-3 : 0x1.000002p-3f)),
        cr(T(d ? 0x1.ffffffffffffep-1 : 0x1.fffffcp-1f)), cr(T(d ? 6.616261056709485e-112 : 1e-30f)),
        cr(T(d ? 1e-305 : 1e-38f)), cr(T(d ? 0x1p-1050 : 0x1p-140f)),
    });
}
// cdfnorminv: 0 at 1/2 exactly, the poles at 0 and 1, the domain, the far tail, the region
// ends (2p = 1/8, 7/8, 9/8, 15/8).
template <class T> std::vector<Row<T>> cdfnorminv_rows(int pole, int outside, int inf) {
    constexpr bool d = sizeof(T) == 8;
    return with_nans<T>({
        {T(0.5), T(0)}, {T(0), -T(kInf), DZ, ERANGE, pole}, {-T(0), -T(kInf), DZ, ERANGE, pole},
        {T(1), T(kInf), DZ, ERANGE, pole}, {T(1.5), T(NAN), INV, EDOM, outside}, {T(-0.5), T(NAN), INV, EDOM, outside},
        {T(kInf), T(NAN), INV, EDOM, inf}, {-T(kInf), T(NAN), INV, EDOM, inf},
        cr(T(d ? 0x1p-1074 : 0x1p-149)), cr(T(0.25)), cr(T(0.75)), cr(T(d ? 0x1.fffffffffffffp-1 : 0x1.fffffep-1f)),
        cr(T(d ? 0x1.0000000000001p-1 : 0x1.000002p-1f)), cr(T(1e-30)),
        cr(T(0.0625)), cr(T(0.4375)), cr(T(0.5625)), cr(T(0.9375)), cr(T(d ? 0x1.0000000000001p-4 : 0x1.000002p-4f)),
    });
}

// The inverses: uniform over the domain, log-uniform towards the poles and zero.
template <class T> Sweep<T> inverse_plan(Func<T> f, T lo, T hi, T pole_lo, T pole_hi) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {}};
    s.regions.push_back({50000, {lo, hi, Dist::uniform}});
    s.regions.push_back({25000, {T(d ? 0x1p-1074 : 0x1p-149), T(0.5), Dist::log_uniform}});
    s.gen = [=](std::vector<T> &out, size_t n, uint64_t seed) {
        auto e = log_uniform<T>(T(d ? 0x1p-53 : 0x1p-24), T(0.25), n, seed, true);
        for (T v : e) out.push_back(v < 0 ? pole_lo - v : pole_hi - v);
    };
    s.gen_n = 25000;
    bounds(s, d ? 1.0 : 0.51);
    return s;
}

Sweep<double> erfinv_plan() {
    return inverse_plan(func("erfinv", mpfr_erfinv, tsr_tiers_erfinv).entry(::erfinv).add("bwr", tsr::Tier::ex, __bwr_erfinv),
                        -1.0, 1.0, -1.0, 1.0);
}
Sweep<float> erfinvf_plan() {
    return inverse_plan(func("erfinvf", mpfr_erfinv, tsr_tiers_erfinvf).entry(::erfinvf).add("bwr", tsr::Tier::ex, __bwr_erfinvf),
                        -1.0f, 1.0f, -1.0f, 1.0f);
}
Sweep<double> erfcinv_plan() {
    Func<double> f{"erfcinv", 1, 1, {mpfr_ref(mpfr_erfcinv)}, {}};
    return inverse_plan(f.entry(::erfcinv), 0.0, 2.0, 0.0, 2.0);
}
Sweep<float> erfcinvf_plan() {
    return inverse_plan(func("erfcinvf", mpfr_erfcinv, tsr_tiers_erfcinvf).entry(::erfcinvf), 0.0f, 2.0f, 0.0f, 2.0f);
}
Sweep<double> cdfnorminv_plan() {
    return inverse_plan(func("cdfnorminv", mpfr_cdfnorminv, tsr_tiers_cdfnorminv).entry(::cdfnorminv)
                            .add("bwr", tsr::Tier::ex, __bwr_cdfnorminv), 0.0, 1.0, 0.0, 1.0);
}
Sweep<float> cdfnorminvf_plan() {
    return inverse_plan(func("cdfnorminvf", mpfr_cdfnorminv, tsr_tiers_cdfnorminvf).entry(::cdfnorminvf)
                            .add("bwr", tsr::Tier::ex, __bwr_cdfnorminvf), 0.0f, 1.0f, 0.0f, 1.0f);
}

}  // namespace

TEST(ErfinvSpecial, Inverses) {
    check_rows(erfinv_plan().f, erfinv_rows<double>(code::erfinv_magnitude_above_1, code::erfinv_magnitude_exactly_1));
    check_rows(erfinvf_plan().f, erfinv_rows<float>(code::erfinvf_magnitude_above_1, code::erfinvf_magnitude_exactly_1));
    check_rows(erfcinv_plan().f, erfcinv_rows<double>(code::erfcinv_argument_exactly_0_or_2, code::erfcinv_argument_outside_0_to_2));
    check_rows(erfcinvf_plan().f, erfcinv_rows<float>(code::erfcinvf_argument_exactly_0_or_2, code::erfcinvf_argument_outside_0_to_2));
    check_rows(cdfnorminv_plan().f, cdfnorminv_rows<double>(code::cdfnorminv_argument_exactly_0_or_1,
                                                            code::cdfnorminv_argument_outside_0_to_1, code::cdfnorminv_argument_infinite));
    check_rows(cdfnorminvf_plan().f, cdfnorminv_rows<float>(code::cdfnorminvf_argument_exactly_0_or_1,
                                                            code::cdfnorminvf_argument_outside_0_to_1, code::cdfnorminvf_argument_infinite));
}


TEST(ErfinvAccuracy, Erfinv) { sweep(erfinv_plan()); }
TEST(ErfinvAccuracy, Erfinvf) { sweep(erfinvf_plan()); }
TEST(ErfinvAccuracy, Erfcinv) { sweep(erfcinv_plan()); }
TEST(ErfinvAccuracy, Erfcinvf) { sweep(erfcinvf_plan()); }
TEST(ErfinvAccuracy, Cdfnorminv) { sweep(cdfnorminv_plan()); }
TEST(ErfinvAccuracy, Cdfnorminvf) { sweep(cdfnorminvf_plan()); }

TEST(ErfinvLong, Floats) {
    for (auto s : {erfinvf_plan(), erfcinvf_plan(), cdfnorminvf_plan()}) every_float(s);
}
TEST(ErfinvLong, Doubles) {
    for (auto s : {erfinv_plan(), erfcinv_plan(), cdfnorminv_plan()}) {
        s.scale = 100;
        sweep(s);
    }
}

// annuity and compound in double, single and extended precision: the table of special values
// (result bits, flags, errno, the reported code), the exact cases (y = 0, +-1; x = 0) and the
// overflow and underflow edges as rows; accuracy against MPFR (log1p, product, exp or expm1,
// quotient, at 128 bits beyond the format) over the rates and periods people use, the small
// rates where the plain formula cancels, huge periods, and random operands of every size.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;
using LD = long double;

// (1 + x)^y and (1 - (1 + x)^-y)/x at the output's precision plus 128 bits.
void ref_compound(mpfr_ptr out, const mpfr_srcptr *in) {
    mpfr_prec_t p = mpfr_get_prec(out) + 128;
    mpfr_t t;
    mpfr_init2(t, p);
    mpfr_log1p(t, in[0], MPFR_RNDN);
    mpfr_mul(t, t, in[1], MPFR_RNDN);
    mpfr_exp(out, t, MPFR_RNDN);
    mpfr_clear(t);
}
void ref_annuity(mpfr_ptr out, const mpfr_srcptr *in) {
    mpfr_prec_t p = mpfr_get_prec(out) + 128;
    mpfr_t t;
    mpfr_init2(t, p);
    mpfr_log1p(t, in[0], MPFR_RNDN);
    mpfr_mul(t, t, in[1], MPFR_RNDN);
    mpfr_neg(t, t, MPFR_RNDN);
    mpfr_expm1(t, t, MPFR_RNDN);
    mpfr_neg(t, t, MPFR_RNDN);
    mpfr_div(out, t, in[0], MPFR_RNDN);
    mpfr_clear(t);
}

template <class T>
Func<T> make(const char *name, RefFn ref) {
    return Func<T>{name, 2, 1, {ref}, {}};
}
Func<double> f_annuity() { auto f = make<double>("annuity", ref_annuity); for (auto &t : tsr_tiers_annuity) f.add(t.name, t.tier, t.fn); return f.entry(::annuity); }
Func<double> f_compound() { auto f = make<double>("compound", ref_compound); for (auto &t : tsr_tiers_compound) f.add(t.name, t.tier, t.fn); return f.entry(::compound); }
Func<float> f_annuityf() { auto f = make<float>("annuityf", ref_annuity); for (auto &t : tsr_tiers_annuityf) f.add(t.name, t.tier, t.fn); return f.entry(::annuityf); }
Func<float> f_compoundf() { auto f = make<float>("compoundf", ref_compound); for (auto &t : tsr_tiers_compoundf) f.add(t.name, t.tier, t.fn); return f.entry(::compoundf); }
Func<LD> f_annuityl() { return make<LD>("annuityl", ref_annuity).entry(::annuityl); }
Func<LD> f_compoundl() { return make<LD>("compoundl", ref_compound).entry(::compoundl); }

// ---- the table of special values, the same in every precision ----------------------------------
struct Codes {
    int pole, below, over, under;
};
// Rows of the table for annuity (A) and compound (C), in any precision, with the codes given.
template <class T>
std::vector<Row2<T>> table_rows(bool annuity, Codes c) {
    const T inf = T(INFINITY), qn = T(NAN), sn = snan<T>();
    const bool A = annuity;
    std::vector<Row2<T>> r = {
        // y = +-0 decides before anything, NaN x included
        {{T(2.5), T(0)}, A ? T(0) : T(1)}, {{qn, T(-0.0)}, A ? T(0) : T(1)}, {{-inf, T(0)}, A ? T(0) : T(1)},
        {{T(-3), T(0)}, A ? T(0) : T(1)}, {{T(-1), T(-0.0)}, A ? T(0) : T(1)},
        // NaNs
        {{qn, T(2)}, qn}, {{T(0.5), qn}, qn}, {{sn, T(2)}, qn, INV}, {{T(0.5), sn}, qn, INV}, {{T(-3), qn}, qn},
        // x = -inf: invalid, no report
        {{-inf, T(2)}, ANY, INV}, {{-inf, -inf}, ANY, INV},
        // x = +inf
        {{inf, T(3)}, A ? T(0) : inf}, {{inf, inf}, A ? T(0) : inf},
        {{inf, T(-1)}, A ? T(-1) : T(0)}, {{inf, T(-0.5)}, A ? T(-0.0) : T(0)}, {{inf, T(-2)}, A ? -inf : T(0)},
        {{inf, -inf}, A ? -inf : T(0)},
        // x = +-0
        {{T(0), T(7.25)}, A ? T(7.25) : T(1)}, {{T(-0.0), T(-3)}, A ? T(-3) : T(1)},
        {{T(0), inf}, A ? inf : T(1)}, {{T(0), T(1e-40)}, A ? T(1e-40) : T(1)},
        // the pole x = -1
        {{T(-1), T(3)}, A ? Want<T>(inf) : Want<T>(T(0)), A ? DZ : NONE, A ? EDOM : 0, A ? c.pole : NO_CODE},
        {{T(-1), T(-3)}, A ? Want<T>(T(-1)) : Want<T>(inf), A ? NONE : DZ, A ? 0 : EDOM, A ? NO_CODE : c.pole},
        {{T(-1), inf}, A ? inf : T(0), A ? DZ : NONE},
        {{T(-1), -inf}, A ? T(-1) : inf, A ? NONE : DZ},
        // below -1: reported only with a finite y
        {{T(-2), T(3)}, ANY, INV, EDOM, c.below}, {{T(-1.5), T(-0.5)}, ANY, INV, EDOM, c.below},
        {{T(-2), inf}, ANY, INV}, {{-T(1e30), -inf}, ANY, INV},
        // infinite y
        {{T(-0.5), inf}, A ? inf : T(0)}, {{T(-0.5), -inf}, A ? T(-2) : inf},
        {{T(0.25), inf}, A ? T(4) : inf}, {{T(0.25), -inf}, A ? -inf : T(0)},
        // exact cases: y = -1 makes annuity -1, y = 1 makes compound 1 + x
        {{T(0.375), T(-1)}, A ? Want<T>(T(-1)) : Want<T>(CR), A ? NONE : NX},
        {{T(3), T(1)}, A ? T(0.25) : T(4), NONE}, {{T(0.5), T(-1)}, A ? Want<T>(T(-1)) : Want<T>(CR), A ? NONE : NX},
        {{T(1), T(-1)}, A ? T(-1) : T(0.5), NONE}, {{T(1), T(3)}, A ? T(0.875) : T(8), NONE, 0, NO_CODE, ALL_MODES},
    };
    // One period: 1/(1 + x) (annuity) and 1 + x (compound), rounded once in every mode.
    for (T x : {T(1e-20), T(0.1), T(-0.999), T(3e30), T(-1e-7), T(7)})
        r.push_back({{x, T(1)}, CR, ANY_FLAGS});
    return r;
}

// Values that are exactly representable away from the cases above (an exact 1 + x, an integer
// y, an exact power and quotient): the value itself, no flag, in every mode.  Beside them
// neighbours that are not exact (inexact in every mode, correctly rounded).
template <class T>
void exact_rows(std::vector<Row2<T>> &a, std::vector<Row2<T>> &c) {
    for (auto [x, y, v] : std::initializer_list<std::array<T, 3>>{
             {T(1), T(3), T(0.875)}, {T(3), T(2), T(0.3125)}, {T(-0.5), T(3), T(14)},
             {T(1), T(-2), T(-3)}, {T(0.5), T(-2), T(-2.5)}, {T(-0.75), T(2), T(20)}})
        a.push_back({{x, y}, v, NONE, 0, NO_CODE, ALL_MODES});
    for (auto [x, y, v] : std::initializer_list<std::array<T, 3>>{
             {T(0.5), T(3), T(3.375)}, {T(-0.5), T(5), T(0.03125)}, {T(2), T(3), T(27)},
             {T(3), T(-2), T(0.0625)}, {T(-0.75), T(7), T(0x1p-14)}, {T(1.5), T(3), T(15.625)},
             {T(1), T(100), T(0x1p100)}, {T(-0.5), T(100), T(0x1p-100)}})
        c.push_back({{x, y}, v, NONE, 0, NO_CODE, ALL_MODES});
    // Not exact (1 + x not exact, a power with too many bits, roots): inexact in every mode,
    // correctly rounded in nearest.  (Some lie within 2^-50 ulp of a representable value,
    // where a directed mode may be one unit off, within the directed bounds.)
    const T eps = std::numeric_limits<T>::epsilon();
    for (auto [x, y] : std::initializer_list<std::array<T, 2>>{
             {eps, T(2)}, {eps / 4, T(3)}, {T(2), T(41)}, {T(0.1), T(12)}, {T(0.5), T(0.5)}, {T(-0.5), T(0.5)}}) {
        for (auto *v : {&a, &c}) {
            v->push_back({{x, y}, CR, NX, 0, NO_CODE, RN});
            v->push_back({{x, y}, ANY, NX, 0, NO_CODE, ALL_MODES});
        }
    }
    // annuity's exact power with 1 - P longer than any product q x
    for (auto [x, y] : std::initializer_list<std::array<T, 2>>{{T(3), T(-63)}, {T(1), T(-120)}, {T(1), T(130)}}) {
        a.push_back({{x, y}, CR, NX, 0, NO_CODE, RN});
        a.push_back({{x, y}, ANY, NX, 0, NO_CODE, ALL_MODES});
    }
}

// Both functions' rows, where a domain error asks for any quiet NaN.
template <class T>
void check_both(Func<T> annuity, std::vector<Row2<T>> a, Func<T> compound, std::vector<Row2<T>> c) {
    for (auto *rows : {&a, &c})
        for (auto &row : *rows)
            if (row.flags == INV) row.want[0] = Want<T>(T(NAN));
    check_rows(annuity, a);
    check_rows(compound, c);
}

TEST(FinSpecial, Double) {
    auto a = table_rows<double>(true, {code::annuity_rate_at_a_pole, code::annuity_rate_below_minus_1,
                                       code::annuity_overflow, code::annuity_underflow});
    auto c = table_rows<double>(false, {code::compound_rate_at_a_pole, code::compound_rate_below_minus_1,
                                        code::compound_overflow, code::compound_underflow});
    const double inf = INFINITY;
    // a rate far below the last place: the value is y (annuity) and 1 (compound) in nearest
    a.push_back({{1e-300, 10.0}, 10.0, NX});
    c.push_back({{1e-300, 10.0}, 1.0, NX});
    a.push_back({{-0x1p-80, 0x1p-1074}, 0x1p-1074, UN});  // tiny and inexact
    // overflow and underflow, with the codes and errno
    a.push_back({{0.5, -4000.0}, -inf, OV, ERANGE, code::annuity_overflow});
    a.push_back({{-0.5, 4000.0}, inf, OV, ERANGE, code::annuity_overflow});
    a.push_back({{0x1p-1000, -0x1p1020}, -inf, OV, ERANGE, code::annuity_overflow});
    a.push_back({{0x1p-1074, 0x1p-1074}, 0x1p-1074, UN});
    c.push_back({{1.0, 1024.0}, inf, OV, ERANGE, code::compound_overflow});
    c.push_back({{1.0, 1023.0}, 0x1p1023, NONE, 0, NO_CODE, ALL_MODES});
    c.push_back({{1.0, -1074.0}, 0x1p-1074, NONE, 0, NO_CODE, ALL_MODES});
    c.push_back({{1.0, -1022.0}, 0x1p-1022, NONE, 0, NO_CODE, ALL_MODES});
    a.push_back({{0x1p50 - 1, 2.0}, 0x1p-50 + 0x1p-100, NONE, 0, NO_CODE, ALL_MODES});
    exact_rows(a, c);
    c.push_back({{1.0, -1076.0}, 0.0, UN, ERANGE, code::compound_underflow});
    c.push_back({{0x1p-60, 0x1p70}, inf, OV, ERANGE, code::compound_overflow});
    c.push_back({{-0x1p-60, 0x1p70}, 0.0, UN, ERANGE, code::compound_underflow});
    c.push_back({{1e300, -5.0}, 0.0, UN, ERANGE, code::compound_underflow});
    // the large rate with a subnormal 1/x: one rounding
    a.push_back({{0x1.8p1023, 2000.0}, CR, ANY_FLAGS});
    a.push_back({{0x1.ffffffffffffdp1022, 1e10}, CR, ANY_FLAGS});
    a.push_back({{0x1.3p1020, 1.5}, CR, ANY_FLAGS, 0, NO_CODE, ALL_MODES});
    c.push_back({{-0x1p-53, 0x1p60}, CR, ANY_FLAGS});
    // just below the least subnormal (the sum that forms the last rounding's rest is inexact
    // and lands on the grid): inexact and underflow, rounded the caller's way
    a.push_back({{0x1.c379aedd8a6dep-68, 0x1p-1074}, CR, UN, ERANGE_IF_ZERO, ANY_CODE, ALL_MODES});
    // a huge rate with a tiny period: 1 + W with W about 2^-1008, no false underflow
    c.push_back({{0x1.4b6e3c52f7ap+1023, 0x1.e16847c263d0ap-1018}, 1.0, NX});
    check_both(f_annuity(), a, f_compound(), c);
}

TEST(FinSpecial, Float) {
    auto a = table_rows<float>(true, {code::annuityf_rate_at_a_pole, code::annuityf_rate_below_minus_1,
                                      code::annuityf_overflow, code::annuityf_underflow});
    auto c = table_rows<float>(false, {code::compoundf_rate_at_a_pole, code::compoundf_rate_below_minus_1,
                                       code::compoundf_overflow, code::compoundf_underflow});
    const float inf = INFINITY;
    a.push_back({{1e-30f, 10.0f}, 10.0f, NX});
    c.push_back({{1.0f, 128.0f}, inf, OV, ERANGE, code::compoundf_overflow});
    // subnormal: reported, but no underflow flag where the value is exact
    c.push_back({{1.0f, -149.0f}, 0x1p-149f, NONE, ANY_ERRNO, code::compoundf_underflow, ALL_MODES});
    c.push_back({{0.5f, -250.0f}, CR, UN, ANY_ERRNO, code::compoundf_underflow, ALL_MODES});
    c.push_back({{1.0f, 127.0f}, 0x1p127f, NONE, 0, NO_CODE, ALL_MODES});
    a.push_back({{0x1p20f - 1, 2.0f}, 0x1p-20f + 0x1p-40f, NONE, 0, NO_CODE, ALL_MODES});
    exact_rows(a, c);
    c.push_back({{1.0f, -151.0f}, 0.0f, UN, ERANGE, code::compoundf_underflow});
    a.push_back({{0.5f, -400.0f}, -inf, OV, ERANGE, code::annuityf_overflow});
    a.push_back({{0x1p-149f, 0x1p-149f}, 0x1p-149f, UN, ANY_ERRNO, code::annuityf_underflow});
    check_both(f_annuityf(), a, f_compoundf(), c);
}

TEST(FinSpecial, Extended) {
    auto a = table_rows<LD>(true, {code::annuityl_rate_at_a_pole, code::annuityl_rate_below_minus_1,
                                   code::annuityl_overflow, code::annuityl_underflow});
    auto c = table_rows<LD>(false, {code::compoundl_rate_at_a_pole, code::compoundl_rate_below_minus_1,
                                    code::compoundl_overflow, code::compoundl_underflow});
    const LD inf = INFINITY;
    a.push_back({{1e-300L, 10.0L}, 10.0L, NX});
    c.push_back({{1.0L, 16384.0L}, inf, OV, ERANGE, code::compoundl_overflow});
    c.push_back({{1.0L, 16383.0L}, 0x1p16383L, NONE, 0, NO_CODE, ALL_MODES});
    c.push_back({{1.0L, -16382.0L}, 0x1p-16382L, NONE, 0, NO_CODE, ALL_MODES});
    a.push_back({{0x1p62L - 1, 2.0L}, 0x1p-62L + 0x1p-124L, NONE, 0, NO_CODE, ALL_MODES});
    exact_rows(a, c);
    c.push_back({{1.0L, -16447.0L}, 0.0L, UN, ERANGE, code::compoundl_underflow});
    a.push_back({{0.5L, -40000.0L}, -inf, OV, ERANGE, code::annuityl_overflow});
    check_both(f_annuityl(), a, f_compoundl(), c);
}

// ---- accuracy ------------------------------------------------------------------------------------
// The regions: the rates people use with periods up to 10^9 (both signs of each); small rates
// where 1 + x loses the rate and 1 - (1 + x)^-y cancels; rates near -1; operands of every size.
template <class T>
std::vector<Region<T>> regions(T xmax, T ymax, T tiny) {
    const Dist U = Dist::uniform;
    return {
        {15000, {T(1e-12), T(10)}, {T(1), T(1e9)}},
        {15000, {T(1e-12), T(10)}, {T(-1e9), T(-1)}},
        {15000, {T(-0.99), T(-1e-12)}, {T(1), T(1e9)}},
        {10000, {T(-0.99), T(-1e-12)}, {T(-1e9), T(-1)}},
        {10000, {T(-0.02), T(0.02), U}, {T(-400), T(400), U}},
        {10000, {T(1e-9), T(0.25), Dist::log_uniform, true}, {T(1e-3), T(1e12), Dist::log_uniform, true}},
        {5000, {T(-1), T(-0.5), U}, {T(-100), T(100), U}},
        {10000, {tiny, xmax, Dist::log_uniform}, {tiny, ymax, Dist::log_uniform, true}},
        {10000, {tiny, T(0.999), Dist::log_uniform, true}, {tiny, ymax, Dist::log_uniform, true}},
    };
}

// Both sides of each place where the cores change their way, as y for a few rates: W = y log2(1 + x)
// of magnitude 2^-56 (compound: 1 + W), 2^-7 (annuity: the product form or the power),
// 110 (the 1 beside the power), 1022 to 1080 (subnormal results), 4096 (out of range).
template <class T>
std::vector<std::array<T, 2>> cut_points() {
    std::vector<std::array<T, 2>> p;
    for (double x : {1e-5, 0.01, -0.3, 0.5, 3.0, 1e-20}) {
        double l = std::log1p(x) * 1.4426950408889634;
        for (double w : {0x1p-56, 0x1p-7, 110.0, 1022.0, 1074.0, 1080.0, 4096.0, 16382.0, 16445.0, 32768.0})
            for (double side : {1 - 1e-9, 1 + 1e-9})
                for (double sign : {1.0, -1.0}) p.push_back({T(x), T(sign * side * w / l)});
    }
    return p;
}

template <class T>
Sweep<T> plan(Func<T> f, double rn, double directed, T xmax, T ymax, T tiny, double scale) {
    Sweep<T> s{std::move(f), regions<T>(xmax, ymax, tiny), cut_points<T>()};
    s.bounds(rn, directed);
    s.scale = scale;
    return s;
}

void sweep_all(double scale) {
    sweep(plan(f_annuity(), 0.99, 1.5, 0x1.fffffffffffffp1023, 0x1.fffffffffffffp1023, 0x1p-1074, scale));
    sweep(plan(f_compound(), 0.99, 1.5, 0x1.fffffffffffffp1023, 0x1.fffffffffffffp1023, 0x1p-1074, scale));
    sweep(plan(f_annuityf(), 0.51, 1.01, 0x1.fffffep127f, 0x1.fffffep127f, 0x1p-149f, scale));
    sweep(plan(f_compoundf(), 0.51, 1.01, 0x1.fffffep127f, 0x1.fffffep127f, 0x1p-149f, scale));
    sweep(plan(f_annuityl(), 0.99, 1.5, 0x1p16383L, 0x1p16383L, 0x1p-16440L, scale));
    sweep(plan(f_compoundl(), 0.99, 1.5, 0x1p16383L, 0x1p16383L, 0x1p-16440L, scale));
}

TEST(FinAccuracy, Sweep) { sweep_all(1); }
TEST(FinAccuracy, LongSweep) { sweep_all(100); }

}  // namespace

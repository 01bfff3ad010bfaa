// Scaling, decomposition, stepping, modf, remquo, the extended remainders and the NaN
// makers.  Each function is checked bit for bit against MPFR (or plain integer arithmetic on
// the tag strings) on random patterns spread over the whole exponent range, subnormals and
// extreme counts included, in every tier this processor runs, the entry and the
// reproducible form, and in the four rounding modes, with its flags, errno and code.
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"
#include "tsr/tiers.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <random>
#include <string>

extern "C" {
double __quill_nan(const char *);
float __quill_nanf(const char *);
long double __quill_nanl(const char *);
unsigned long long __libm_conv_strtoull(const char *);
}

namespace {

using namespace th;
namespace code = tsr::code;

// ---- ldexp, scalbn, scalbln ------------------------------------------------------------------
// Random patterns scaled by counts of every size, against MPFR in the four modes.  Flags: none
// when exact; overflow beyond the range; underflow for a result tiny after rounding (tininess
// is read after rounding on x86, so a result rounded up to the smallest normal may show
// underflow or inexact alone).  Codes: overflow beyond the range (with ERANGE); underflow when
// the result lies below half the smallest subnormal or when a subnormal x is scaled down.
template <class T, class N>
int check_scale(const char *what, const Calls<T, T, N> &cs, int ovf, int unf, size_t n, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::vector<std::tuple<T, N>> in;
    const long long extremes[] = {INT_MIN, INT_MAX, -70000, 70000, 0, 1, -1};
    for (size_t i = 0; i < n; ++i) {
        T x = any_finite<T>(g);
        long long k = (long long)(g() % 70000) - 35000;
        if (i % 4 == 0) k = (long long)(g() % 4400) - 2200;
        if (i % 4 == 1) k = (long long)(g() % 360) - 180;
        if (i % 64 == 2) k = extremes[g() % 7];
        if (std::is_same_v<N, long> && i % 64 == 3) k = (g() & 1) ? LONG_MIN : LONG_MAX;
        in.push_back({x, N(k)});
    }
    using F = Format<T>;
    return check_calls(what, cs, in, ALL_MODES, [&](const auto &, const std::tuple<T, N> &p, int m) {
        auto [x, k] = p;
        Mp e, a, r;
        set(e, x);
        mpfr_mul_2si(e, e, std::clamp<long>(k, -70000, 70000), MPFR_RNDN);  // beyond: as +-70000
        T want = round_to<T>(e, kModes[m].rnd);
        mpfr_abs(a, e, MPFR_RNDN);
        set(r, want);
        bool over = x != 0 && mpfr_cmp_si_2exp(a, 1, F::emax + 1) >= 0;
        bool out = x != 0 && mpfr_cmp_si_2exp(a, 1, F::emin - F::p) < 0;
        bool subdown = x != 0 && std::fabs((long double)x) < (long double)std::numeric_limits<T>::min() && k < 0;
        Expect<T> w{want, NONE, ANY_ERRNO, over ? ovf : (out || subdown ? unf : NO_CODE)};
        if (over) w.err = ERANGE;
        if (mpfr_cmp(r, e) == 0) return w;                                   // exact
        if (mpfr_cmp_d(a, 1.0) > 0) w.flags = OV;                            // beyond the range
        else if (std::fabs((long double)want) < (long double)std::numeric_limits<T>::min()) w.flags = UN;
        else w.flags = UN, w.flags_or = NX;                                  // rounded up to the least normal
        return w;
    });
}

}  // namespace

TEST(ScaleExact, Ldexp) {
    int bad = 0;
    bad += check_scale<double, int>("ldexp", calls(tsr_tiers_ldexp, {{"entry", ::ldexp}, {"bwr", __bwr_ldexp}}),
                                       code::ldexp_overflow, code::ldexp_underflow, 30000, 1);
    bad += check_scale<double, int>("scalbn", calls(tsr_tiers_scalbn, {{"entry", ::scalbn}, {"bwr", __bwr_scalbn}}),
                                       code::scalbn_overflow, code::scalbn_underflow, 20000, 2);
    bad += check_scale<double, long>("scalbln", calls(tsr_tiers_scalbln, {{"entry", ::scalbln}, {"bwr", __bwr_scalbln}}),
                                        code::scalbln_overflow, code::scalbln_underflow, 20000, 3);
    bad += check_scale<float, int>("ldexpf", calls(tsr_tiers___quill_ldexpf, {{"__libm_ldexpf", __libm_ldexpf},
                                                                                {"__quill_ldexpf", __quill_ldexpf},
                                                                                {"bwr", __bwr_ldexpf}}),
                                      code::ldexpf_overflow, code::ldexpf_underflow, 20000, 4);
    bad += check_scale<float, int>("scalbnf", calls(tsr_tiers_scalbnf, {{"entry", ::scalbnf}, {"bwr", __bwr_scalbnf}}),
                                      code::scalbnf_overflow, code::scalbnf_underflow, 10000, 5);
    bad += check_scale<float, long>("scalblnf", calls(tsr_tiers_scalblnf, {{"entry", ::scalblnf}, {"bwr", __bwr_scalblnf}}),
                                       code::scalblnf_overflow, code::scalblnf_underflow, 10000, 6);
    bad += check_scale<long double, int>("ldexpl", calls("ldexpl", ::ldexpl), code::ldexpl_overflow,
                                            code::ldexpl_underflow, 20000, 7);
    bad += check_scale<long double, int>("scalbnl", calls("scalbnl", ::scalbnl), code::scalbnl_overflow,
                                            code::scalbnl_underflow, 10000, 8);
    bad += check_scale<long double, long>("scalblnl", calls("scalblnl", ::scalblnl), code::scalblnl_overflow,
                                             code::scalblnl_underflow, 10000, 9);
    EXPECT_EQ(bad, 0);
}

TEST(ScaleSpecial, Ldexp) {
    const double kSNaN = f64(0x7ff4000000000042ull);  // signalling, returned as it is
    EXPECT_EQ(check_calls("ldexp", calls(tsr_tiers_ldexp, {{"entry", ::ldexp}, {"bwr", __bwr_ldexp}}),
                          std::vector<CallRow<double, double, int>>{
                              {{kSNaN, 3}, is(kSNaN, NO_CODE, 0, NONE)},
                              {{0x1p-1022, -1}, is(0x1p-1023, NO_CODE)},  // rounds to a subnormal, exact
                              {{0x1p-1070, -1}, is(0x1p-1071, code::ldexp_underflow)},  // a subnormal scaled down
                              {{1.0, 2000000}, is(kInf, code::ldexp_overflow, ERANGE)},
                              {{1.0, INT_MIN}, is(0.0, code::ldexp_underflow, ERANGE)},
                          }), 0);
    EXPECT_EQ(check_calls("scalbln", calls(tsr_tiers_scalbln, {{"entry", ::scalbln}, {"bwr", __bwr_scalbln}}),
                          std::vector<CallRow<double, double, long>>{
                              {{1.0, LONG_MIN}, is(0x1p-1074), RU},
                              {{-1.0, LONG_MAX}, is(-kMax), RU},
                          }), 0);
}

TEST(ScaleSpecial, Scalb) {
    using Rows = std::vector<CallRow<double, double, double>>;
    const Rows all = {
        {{0.0, kInf}, is(kNaN)}, {{0.0, -kInf}, is(0.0)}, {{kInf, -kInf}, is(kNaN)}, {{kInf, kInf}, is(kInf)},
        {{-3.0, kInf}, is(-kInf)}, {{-3.0, -kInf}, is(-0.0)}, {{3.0, 4.0}, is(48.0)}, {{3.0, -1e300}, is(0.0)},
        {{kInf, 7.0}, is(kInf)}, {{kNaN, 1.0}, is(kNaN)}, {{0x1p-1074, 1074.0}, is(1.0)},
    };
    EXPECT_EQ(check_calls("scalb", calls(tsr_tiers_scalb, {{"bwr", __bwr_scalb}, {"entry", ::scalb}}), all), 0);
    // tier ex forms the NaN of a non-integer count from the square root of a negative number
    // and reports as the square root, and reports neither overflow nor underflow; e7 reports
    // both (a non-zero subnormal result not) and nothing for a non-integer count.
    EXPECT_EQ(check_calls("scalb", calls("ex", __libm_scalb_ex), Rows{
        {{1.0, 0.5}, {kNaN, INV, ANY_ERRNO, code::sqrt_argument_negative, INV | NX}},
        {{1.0, 5000.0}, {kInf, OV, ANY_ERRNO, NO_CODE}},
    }), 0);
    EXPECT_EQ(check_calls("scalb", calls("e7", __libm_scalb_e7), Rows{
        {{1.0, 0.5}, is(kNaN, NO_CODE)},
        {{1.0, 5000.0}, is(kInf, code::scalb_overflow)},
        {{1.0, -1074.0}, is(0x1p-1074, NO_CODE)},
        {{1.0, -1076.0}, is(0.0, code::scalb_underflow)},
    }), 0);
    EXPECT_EQ(check_calls("scalbf", calls("scalbf", ::scalbf), std::vector<CallRow<float, float, float>>{
        {{1.0f, 200.0f}, is(float(kInf), code::scalbf_overflow)}, {{2.0f, 1.5f}, is(fNaN)}, {{3.0f, -2.0f}, is(0.75f)},
    }), 0);
    EXPECT_EQ(check_calls("scalbl", calls("scalbl", ::scalbl), std::vector<CallRow<long double, long double, long double>>{
        {{3.0L, 16000.0L}, is(3.0L * 0x1p16000L)}, {{3.0L, 0.25L}, is(lNaN)},
        {{1.0L, 20000.0L}, is((long double)kInf, code::scalbl_overflow)},
    }), 0);
}

// ---- frexp, ilogb, logb, significand ---------------------------------------------------------
namespace {
// x = f 2^e with 0.5 <= |f| < 1 from MPFR, on random non-zero patterns: frexp gives (f, e),
// ilogb and logb e - 1, significand 2f; exact, so no flag, errno or code.
template <class T, class F1, class F2, class F3, class F4>
int check_decompose(const std::string &what, const F1 &frexps, const F2 &ilogbs, const F3 &logbs,
                    const F4 &significands, size_t n) {
    std::mt19937_64 g(11);
    std::vector<std::tuple<T>> xs;
    while (xs.size() < n)
        if (T x = any_finite<T>(g); x != 0) xs.push_back({x});
    auto want = [](auto v) {
        return [v](const auto &, const std::tuple<T> &in, int) {
            Mp m, f;
            set(m, std::get<0>(in));
            long e = mpfr_get_exp(m);
            mpfr_mul_2si(f, m, -e, MPFR_RNDN);
            return v(round_to<T>(f), int(e));
        };
    };
    return check_calls("frexp" + what, frexps, xs, RN, want([](T f, int e) { return Expect<std::tuple<T, int>>{{f, e}}; })) +
           check_calls("ilogb" + what, ilogbs, xs, RN, want([](T, int e) { return Expect<int>{e - 1}; })) +
           check_calls("logb" + what, logbs, xs, RN, want([](T, int e) { return Expect<T>{T(e - 1)}; })) +
           check_calls("significand" + what, significands, xs, RN, want([](T f, int) { return Expect<T>{T(f * 2)}; }));
}
}  // namespace

TEST(ScaleExact, Decompose) {
    EXPECT_EQ(check_decompose<double>(
                  "", calls_out(tsr_tiers_frexp, {{"entry", __libm_frexp}, {"plain", ::frexp}, {"bwr", __bwr_frexp}}),
                  calls(tsr_tiers_ilogb, {{"entry", ::ilogb}, {"bwr", __bwr_ilogb}}),
                  calls(tsr_tiers_logb, {{"entry", ::logb}, {"bwr", __bwr_logb}}),
                  calls(tsr_tiers_significand, {{"entry", ::significand}, {"bwr", __bwr_significand}}), 100000), 0);
    EXPECT_EQ(check_decompose<float>(
                  "f", calls_out(tsr_tiers_frexpf, {{"entry", ::frexpf}, {"bwr", __bwr_frexpf}}),
                  calls(tsr_tiers_ilogbf, {{"entry", ::ilogbf}, {"bwr", __bwr_ilogbf}}),
                  calls(tsr_tiers_logbf, {{"entry", ::logbf}, {"bwr", __bwr_logbf}}),
                  calls(tsr_tiers_significandf, {{"entry", ::significandf}, {"bwr", __bwr_significandf}}), 100000), 0);
    EXPECT_EQ(check_decompose<long double>(
                  "l", calls_out(tsr_tiers_frexpl, {{"entry", ::frexpl}, {"__libm_frexpl", __libm_frexpl}}),
                  calls("ilogbl", ::ilogbl), calls("logbl", ::logbl), calls("significandl", ::significandl), 100000), 0);
}

TEST(ScaleSpecial, Decompose) {
    // ilogb's zero and NaN results are the system header's names.
    const std::vector<CallRow<int, double>> ilogb_rows = {
        {{-0.0}, {FP_ILOGB0, ANY_FLAGS, ERANGE, code::ilogb_argument_0}},
        {{kNaN}, is(FP_ILOGBNAN, NO_CODE)},
        {{-kInf}, is(INT_MAX)},
    };
    EXPECT_EQ(check_calls("ilogb", calls(tsr_tiers_ilogb, {{"entry", ::ilogb}, {"bwr", __bwr_ilogb}}), ilogb_rows), 0);
    EXPECT_EQ(check_calls("ilogbf", calls("ilogbf", ::ilogbf), std::vector<CallRow<int, float>>{
        {{0.0f}, is(FP_ILOGB0)}, {{qnan<float>()}, is(FP_ILOGBNAN)}}), 0);
    EXPECT_EQ(check_calls("ilogbl", calls("ilogbl", ::ilogbl), std::vector<CallRow<int, long double>>{
        {{0.0L}, is(FP_ILOGB0)}, {{-(long double)kInf}, is(INT_MAX)}}), 0);
    EXPECT_EQ(check_calls("logb", calls(tsr_tiers_logb, {{"entry", ::logb}, {"bwr", __bwr_logb}}),
                          std::vector<CallRow<double, double>>{
                              {{0.0}, {-kInf, DZ, ANY_ERRNO, code::logb_argument_0}}, {{-kInf}, is(kInf)}}), 0);
    EXPECT_EQ(check_calls("logbl", calls("logbl", ::logbl), std::vector<CallRow<long double, long double>>{
        {{-0.0L}, is(-(long double)kInf, code::logbl_argument_0)}}), 0);
    EXPECT_EQ(check_calls("logbf", calls("logbf", ::logbf), std::vector<CallRow<float, float>>{
        {{-float(kInf)}, is(float(kInf))}}), 0);
    using FR = std::tuple<double, int>;
    EXPECT_EQ(check_calls("frexp", calls_out(tsr_tiers_frexp, {{"entry", ::frexp}, {"__libm_frexp", __libm_frexp}}),
                          std::vector<CallRow<FR, double>>{{{-0.0}, is(FR{-0.0, 0})}, {{-kInf}, is(FR{-kInf, 0})},
                                                           {{0x1p-1074}, is(FR{0.5, -1073})}}), 0);
    int e = 0;
    EXPECT_TRUE(std::isnan(::frexp(kNaN, &e)));
    EXPECT_EQ(check_calls("frexpf", calls_out("frexpf", ::frexpf), std::vector<CallRow<std::tuple<float, int>, float>>{
        {{0x1p-149f}, is(std::tuple<float, int>{0.5f, -148})}}), 0);
    EXPECT_EQ(check_calls("frexpl", calls_out("frexpl", ::frexpl), std::vector<CallRow<std::tuple<long double, int>, long double>>{
        {{0x1p-16445L}, is(std::tuple<long double, int>{0.5L, -16444})}}), 0);
    EXPECT_EQ(::significand(-0x1.8p-1070), -1.5);
    EXPECT_EQ(::significandl(0x1.8p-16440L), 1.5L);
}

// ---- nextafter, nexttoward ---------------------------------------------------------------
namespace {
// x stepped toward y (y != x, neither NaN) by MPFR: x moved by far less than an ulp and
// rounded outward.  Reports: overflow at infinity, underflow for a subnormal or zero result.
template <class T, class Y> int check_next(const char *what, const Calls<T, T, Y> &cs, int ovf, int unf, size_t n) {
    std::mt19937_64 g(21);
    std::vector<std::tuple<T, Y>> in;
    for (size_t i = 0; i < n; ++i) {
        T x = any_finite<T>(g);
        Y y = (g() & 3) == 0 ? Y(INFINITY) : Y(any_finite<T>(g));
        if (g() & 1) y = -y;
        if ((long double)y != (long double)x) in.push_back({x, y});
    }
    return check_calls(what, cs, in, RN, [&](const auto &, const std::tuple<T, Y> &p, int) {
        auto [x, y] = p;
        Mp e(40000), t;  // room for any x plus 2^-20000 exactly
        set(e, x);
        bool up = (long double)y > (long double)x;
        mpfr_set_si_2exp(t, up ? 1 : -1, -20000, MPFR_RNDN);
        mpfr_add(e, e, t, MPFR_RNDN);
        T want = round_to<T>(e, up ? MPFR_RNDU : MPFR_RNDD);
        if (want == 0) want = x > 0 ? T(0.0) : T(-0.0);  // from the smallest subnormal: the zero of x's side
        bool tiny = std::fabs((long double)want) < (long double)std::numeric_limits<T>::min();
        return Expect<T>{want, ANY_FLAGS, ANY_ERRNO, std::isinf(want) ? ovf : (tiny ? unf : NO_CODE)};
    });
}
}  // namespace

TEST(NextExact, Steps) {
    int bad = 0;
    bad += check_next<double, double>("nextafter", calls(tsr_tiers_nextafter, {{"entry", ::nextafter}, {"bwr", __bwr_nextafter}}),
                                         code::nextafter_overflow, code::nextafter_underflow, 100000);
    bad += check_next<float, float>("nextafterf", calls(tsr_tiers_nextafterf, {{"entry", ::nextafterf}, {"bwr", __bwr_nextafterf}}),
                                       code::nextafterf_overflow, code::nextafterf_underflow, 100000);
    bad += check_next<double, long double>(
                  "nexttoward", calls(tsr_tiers_nexttoward, {{"entry", ::nexttoward}, {"bwr", __bwr_nexttoward}}),
                  code::nexttoward_overflow, code::nexttoward_underflow, 100000);
    bad += check_next<float, long double>(
                  "nexttowardf", calls(tsr_tiers_nexttowardf, {{"entry", ::nexttowardf}, {"bwr", __bwr_nexttowardf}}),
                  code::nexttowardf_overflow, code::nexttowardf_underflow, 100000);
    bad += check_next<double, double>("nexttoward64", calls("__libm_nexttoward64", __libm_nexttoward64),
                                         code::nexttoward_overflow, code::nexttoward_underflow, 30000);
    bad += check_next<float, double>("nexttoward64f", calls("__libm_nexttoward64f", __libm_nexttoward64f),
                                        code::nexttowardf_overflow, code::nexttowardf_underflow, 30000);
    bad += check_next<long double, double>("nexttoward64l", calls("__libm_nexttoward64l", __libm_nexttoward64l),
                                              code::nexttowardl_overflow, code::nexttowardl_underflow, 30000);
    bad += check_next<long double, long double>("nextafterl", calls("nextafterl", ::nextafterl),
                                                   code::nextafterl_overflow, code::nextafterl_underflow, 100000);
    bad += check_next<long double, long double>("nexttowardl", calls("nexttowardl", ::nexttowardl),
                                                   code::nexttowardl_overflow, code::nexttowardl_underflow, 30000);
    EXPECT_EQ(bad, 0);
}

TEST(NextSpecial, Edges) {
    EXPECT_EQ(check_calls("nextafter", calls(tsr_tiers_nextafter, {{"entry", ::nextafter}, {"bwr", __bwr_nextafter}}),
                          std::vector<CallRow<double, double, double>>{
                              {{0.0, -1.0}, is(-0x1p-1074, code::nextafter_underflow, ERANGE)},
                              {{-0.0, 0.0}, is(0.0, NO_CODE)},
                              {{kMax, kInf}, is(kInf, code::nextafter_overflow, ERANGE)},
                              {{0x1p-1022, 0.0}, is(0x0.fffffffffffffp-1022)},
                              {{-0x1p-1074, 1.0}, is(-0.0)},
                              {{kInf, 0.0}, is(kMax)},
                              {{kNaN, 1.0}, is(kNaN)},
                          }), 0);
    // e7 raises the flags of the range it left; ex leaves them to the report.
    auto [u, ou] = observe([] { return __libm_nextafter_e7(0x1p-1022, 0.0); });
    EXPECT_EQ(ou.flags & (FE_UNDERFLOW | FE_OVERFLOW), FE_UNDERFLOW);
    auto [w, ow] = observe([] { return __libm_nextafter_e7(kMax, INFINITY); });
    EXPECT_EQ(ow.flags & FE_OVERFLOW, FE_OVERFLOW);
    // From zero under denormals-are-zero: the smallest normal, no report.
    uint32_t saved = mxcsr_now();
    set_mxcsr(saved | 0x40);
    auto [dz, odz] = observe([] { return __libm_nextafter_ex(0.0, -1.0); });
    set_mxcsr(saved);
    EXPECT_EQ(dz, -0x1p-1022);
    EXPECT_EQ(odz.code, NO_CODE);
    EXPECT_EQ(::nexttoward(1.0, 1.0L + 0x1p-60L), 1.0 + 0x1p-52);
    EXPECT_EQ(::nexttowardf(1.0f, 1.0L - 0x1p-60L), 1.0f - 0x1p-24f);
    EXPECT_EQ(::nextafterl(0x1p-16382L, 0.0L), 0x0.fffffffffffffffep-16382L);
    EXPECT_EQ(::nextafterl(0x0.fffffffffffffffep-16382L, 1.0L), 0x1p-16382L);
}

// ---- modf, remquo ----------------------------------------------------------------------------
namespace {
// modf against MPFR (both parts carry x's sign), half the inputs near integers; remquo against
// MPFR's remainder and quotient (its low 31 bits with the sign of x / y, also when they are 0),
// a third with small quotients, ties among them.  Exact: no flag in any mode.
template <class T> int check_modf(const char *what, const Calls<std::tuple<T, T>, T> &vs, size_t n) {
    std::mt19937_64 g(31);
    std::vector<std::tuple<T>> xs;
    for (size_t i = 0; i < n; ++i)
        xs.push_back({i % 2 ? T(std::ldexp(double(int64_t(g() % 2000000) - 1000000), -int(g() % 24)))
                            : any_finite<T>(g)});
    return check_calls(what, vs, xs, ALL_MODES, [](const auto &, const std::tuple<T> &in, int) {
        T x = std::get<0>(in);
        Mp a, ip, fp;
        set(a, x);
        mpfr_modf(ip, fp, a, MPFR_RNDN);
        T zero = std::signbit(x) ? T(-0.0) : T(0.0);
        T wi = round_to<T>(ip), wf = round_to<T>(fp);
        return Expect<std::tuple<T, T>>{{wf == 0 ? zero : wf, wi == 0 ? zero : wi}};
    });
}
template <class T> int check_remquo(const char *what, const Calls<std::tuple<T, int>, T, T> &vs, size_t n) {
    std::mt19937_64 g(41);
    std::vector<std::tuple<T, T>> xs;
    for (size_t i = 0; i < n; ++i) {
        T x = any_finite<T>(g), y = any_finite<T>(g);
        if (i % 3 == 0) y = T(x / T(double(g() % 100000) + 0.5));
        if (y != 0 && x != 0 && !std::isinf(y) && !std::isinf(x)) xs.push_back({x, y});
    }
    return check_calls(what, vs, xs, ALL_MODES, [](const auto &, const std::tuple<T, T> &in, int) {
        auto [x, y] = in;
        Mp a, b, r;
        set(a, x);
        set(b, y);
        long q;
        mpfr_remquo(r, &q, a, b, MPFR_RNDN);
        T want = round_to<T>(r);
        if (want == 0) want = std::signbit(x) ? T(-0.0) : T(0.0);
        long mag = (q < 0 ? -q : q) & 0x7fffffff;
        return Expect<std::tuple<T, int>>{{want, int(q < 0 ? -mag : mag)}};
    });
}
}  // namespace

TEST(RemquoExact, Random) {
    using D = double;
    using F = float;
    using L = long double;
    EXPECT_EQ(check_modf<D>("modf", calls_out(tsr_tiers_modf, {{"entry", ::modf}, {"bwr", __bwr_modf}}), 30000), 0);
    EXPECT_EQ(check_modf<F>("modff", calls_out(tsr_tiers_modff, {{"entry", ::modff}, {"bwr", __bwr_modff}}), 30000), 0);
    EXPECT_EQ(check_modf<L>("modfl", calls_out("modfl", ::modfl), 30000), 0);
    EXPECT_EQ(check_remquo<D>("remquo", calls_out(tsr_tiers_remquo, {{"entry", ::remquo}, {"bwr", __bwr_remquo}}), 40000), 0);
    EXPECT_EQ(check_remquo<F>("remquof", calls_out(tsr_tiers_remquof, {{"entry", ::remquof}, {"bwr", __bwr_remquof}}), 40000), 0);
    EXPECT_EQ(check_remquo<L>("remquol", calls_out("remquol", ::remquol), 40000), 0);
}

TEST(RemquoSpecial, Edges) {
    using Q = std::tuple<double, int>;
    EXPECT_EQ(check_calls("remquo", calls_out(tsr_tiers_remquo, {{"entry", ::remquo}, {"bwr", __bwr_remquo}}),
                          std::vector<CallRow<Q, double, double>>{
                              {{5.0, 3.0}, is(Q{-1.0, 2})},
                              {{-7.0, 2.0}, is(Q{1.0, -4})},
                              {{0x1p40 + 3, -1.0}, is(Q{0.0, -3})},  // low 31 bits of 2^40 + 3
                          }), 0);
    EXPECT_EQ(check_calls("remquo", calls_out(tsr_tiers_remquo, {{"entry", ::remquo}}),
                          std::vector<CallRow<Q, double, double>>{
                              {{1.0, 0.0}, {Q{kNaN, 0}, ANY_FLAGS, EDOM, code::remquo_divisor_0}}}), 0);
    int q = 99;
    auto [rf, of] = observe([&] { return ::remquof(1.0f, 0.0f, &q); });  // through the double form
    EXPECT_TRUE(std::isnan(rf));
    EXPECT_EQ(of.code, code::remquo_divisor_0);
    auto [rl, ol] = observe([&] { return ::remquol(1.0L, 0.0L, &q); });
    EXPECT_TRUE(std::isnan(rl));
    EXPECT_EQ(ol.code, code::remquol_divisor_0);
    EXPECT_EQ(::remquol(-7.0L, 2.0L, &q), 1.0L);
    EXPECT_EQ(q, -4);
    using M = std::tuple<double, double>;
    auto modfs = calls_out(tsr_tiers_modf, {{"entry", ::modf}});
    EXPECT_EQ(check_calls("modf", modfs, std::vector<CallRow<M, double>>{
        {{-kInf}, is(M{-0.0, -kInf})}, {{kNaN}, is(M{kNaN, kNaN})}, {{3.0}, is(M{0.0, 3.0}), RD}}), 0);
}

// ---- the extended remainders -----------------------------------------------------------------
TEST(RemExact, Extended) {
    std::mt19937_64 g(51);
    std::vector<std::tuple<long double, long double>> in;
    while (in.size() < 15000)
        if (long double x = any_finite<long double>(g), y = any_finite<long double>(g); x != 0 && y != 0)
            in.push_back({x, y});
    // Exact: the remainder rounds to itself in every mode, a zero with the sign of x.
    auto exact = [](MpFn2 f) {
        return [f](const auto &, const std::tuple<long double, long double> &p, int) {
            Mp a, b, r;
            set(a, std::get<0>(p));
            set(b, std::get<1>(p));
            f(r, a, b, MPFR_RNDN);
            long double w = round_to<long double>(r);
            return Expect<long double>{w == 0 && std::signbit(std::get<0>(p)) ? -w : w};
        };
    };
    using LR = std::vector<CallRow<long double, long double, long double>>;
    EXPECT_EQ(check_calls("fmodl", calls("fmodl", ::fmodl), in, ALL_MODES, exact(mpfr_fmod)), 0);
    EXPECT_EQ(check_calls("remainderl", calls("remainderl", ::remainderl), in, ALL_MODES, exact(mpfr_remainder)), 0);
    EXPECT_EQ(check_calls("fmodl", calls("fmodl", ::fmodl), LR{{{1.0L, 0.0L}, is(lNaN, code::fmodl_divisor_0)},
                                                             {{5.0L, INFINITY}, is(5.0L)},
                                                             {{INFINITY, 2.0L}, is(lNaN)}}), 0);
    EXPECT_EQ(check_calls("remainderl", calls("remainderl", ::remainderl),
                          LR{{{1.0L, -0.0L}, is(lNaN, code::remainderl_divisor_0)}}), 0);
}

TEST(SignExtended, Rows) {
    long double snan;
    uint64_t m = 0xa000000000000001ull;
    uint16_t se = 0xffff;
    std::memcpy(&snan, &m, 8);
    std::memcpy(reinterpret_cast<char *>(&snan) + 8, &se, 2);
    long double a = ::fabsl(snan), c = ::copysignl(-2.0L, 1.0L);
    uint16_t ase;
    std::memcpy(&ase, reinterpret_cast<char *>(&a) + 8, 2);
    EXPECT_EQ(ase, 0x7fff);  // unquieted, sign cleared
    EXPECT_EQ(c, 2.0L);
    EXPECT_EQ(::__libm_fabsl(-3.0L), 3.0L);
    EXPECT_EQ(::fmaxl(0.0L, -0.0L), 0.0L);
    EXPECT_FALSE(std::signbit(::fmaxl(-0.0L, 0.0L)));
    EXPECT_TRUE(std::signbit(::fminl(0.0L, -0.0L)));
    EXPECT_TRUE(std::signbit(::fminl(-0.0L, 0.0L)));
    EXPECT_EQ(::fmaxl(NAN, 1.0L), 1.0L);
    EXPECT_EQ(::fminl(1.0L, NAN), 1.0L);
    EXPECT_EQ(::fmaxl(-1.0L, 2.0L), 2.0L);
    EXPECT_EQ(::fdiml(3.0L, 1.0L), 2.0L);
    EXPECT_EQ(bits_of(double(::fdiml(1.0L, 3.0L))), 0u);
    auto [o, oo] = observe([] { return ::fdiml(0x1p16383L, -0x1p16383L); });
    EXPECT_TRUE(std::isinf(o));
    EXPECT_EQ(oo.code, code::fdiml_overflow);
}

// ---- the NaN makers --------------------------------------------------------------------------
TEST(NanTags, Reader) {
    struct Tag {
        const char *s;
        unsigned long long v;
    };
    const Tag tags[] = {
        {"12", 12}, {"0x1f", 31}, {"0X1F", 31}, {"017", 15}, {"12a", 0}, {"", 0}, {"0", 0}, {"0x", 0},
        {"x12", 0}, {"08", 0}, {"0xg", 0}, {" 1", 0}, {"-1", 0}, {"18446744073709551615", 18446744073709551615ull},
        {"18446744073709551616", 0}, {"0xffffffffffffffff", ~0ull}, {"0x123456789abcdef01", 0x23456789abcdef01ull},
        {"01777777777777777777777", ~0ull}, {"1234567890123", 1234567890123ull},
    };
    for (const auto &t : tags) EXPECT_EQ(__libm_conv_strtoull(t.s), t.v) << t.s;
    EXPECT_EQ(__libm_conv_strtoull(nullptr), 0u);
    // A decimal string of more than 64 digits: its value modulo 2^64, from MPFR's integers.
    std::string big = "1" + std::string(70, '7') + "3";
    mpz_t z, r;
    mpz_init_set_str(z, big.c_str(), 10);
    mpz_init(r);
    mpz_fdiv_r_2exp(r, z, 64);
    EXPECT_EQ(__libm_conv_strtoull(big.c_str()), (unsigned long long)mpz_get_ui(r));
    mpz_set_str(z, "99999999999999999999999", 10);
    mpz_fdiv_r_2exp(r, z, 64);
    EXPECT_EQ(__libm_conv_strtoull("99999999999999999999999"), (unsigned long long)mpz_get_ui(r));
    mpz_clear(z);
    mpz_clear(r);
}

TEST(NanTags, Makers) {
    EXPECT_EQ(bits_of(__quill_nan("12")), 0x7ff800000000000cull);
    EXPECT_EQ(bits_of(__quill_nan("0xfffffffffffff")), 0x7fffffffffffffffull);
    EXPECT_EQ(bits_of(__quill_nan("bad")), 0x7ff8000000000000ull);
    EXPECT_EQ(bits_of(__quill_nanf("0x1f")), 0x7fc0001fu);
    EXPECT_EQ(bits_of(__quill_nanf("0xffffffff")), 0x7fffffffu);
    long double l = __quill_nanl("017");
    uint64_t m;
    uint16_t se;
    std::memcpy(&m, &l, 8);
    std::memcpy(&se, reinterpret_cast<char *>(&l) + 8, 2);
    EXPECT_EQ(m, 0xc00000000000000full);
    EXPECT_EQ(se, 0x7fff);
    // The plain makers ignore the tag.
    EXPECT_EQ(bits_of(::nan("12")), 0x7ff8000000000000ull);
    EXPECT_EQ(bits_of(::nanf("12")), 0x7fc00000u);
    l = ::nanl("12");
    std::memcpy(&m, &l, 8);
    EXPECT_EQ(m, 0xc000000000000000ull);
}

// The x87 bodies run at the caller's precision control: fprem and fprem1 are exact whatever
// it says, and the scaled extended results set it to 64 bits themselves.
TEST(RemExact, UnderShortPrecision) {
    std::mt19937_64 g(61);
    uint16_t saved = x87_cw_now();
    int bad = 0;
    for (int i = 0; i < 20000; ++i) {
        double x = any_finite<double>(g), y = any_finite<double>(g);
        long double xl = any_finite<long double>(g), yl = any_finite<long double>(g);
        int k = int(g() % 200) - 16500;
        if (y == 0 || yl == 0) continue;
        Mp a, b, r, s, al, bl, rl, sl, e;
        set(a, x), set(b, y), set(al, xl), set(bl, yl), set(e, xl);
        mpfr_fmod(r, a, b, MPFR_RNDN);
        mpfr_remainder(s, a, b, MPFR_RNDN);
        mpfr_fmod(rl, al, bl, MPFR_RNDN);
        mpfr_remainder(sl, al, bl, MPFR_RNDN);
        mpfr_mul_2si(e, e, k, MPFR_RNDN);
        double wf = round_to<double>(r), wr = round_to<double>(s);
        long double wfl = round_to<long double>(rl), wrl = round_to<long double>(sl), wl = round_to<long double>(e);
        set_x87_cw(uint16_t(saved & ~0x300));  // 24-bit significands
        double f = __libm_fmod_ex(x, y), rr = __libm_remainder_e7(x, y);
        long double fl = ::fmodl(xl, yl), rrl = ::remainderl(xl, yl), sc = ::ldexpl(xl, k);
        uint16_t after = x87_cw_now();
        set_x87_cw(saved);
        EXPECT_EQ(after, uint16_t(saved & ~0x300));
        if ((f != wf || rr != wr || fl != wfl || rrl != wrl || sc != wl) && ++bad <= 20)
            ADD_FAILURE() << std::hexfloat << "precision 24: (" << x << ", " << y << ") fmod " << f << " remainder " << rr
                          << "; (" << xl << ", " << yl << ") fmodl " << fl << " remainderl " << rrl << "; ldexpl by "
                          << k << ": " << sc;
    }
}

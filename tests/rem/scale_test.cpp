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

// One variant of a function of any signature.
template <class Fn> struct Var {
    std::string name;
    tsr::Tier tier;
    Fn fn;
};
// The tier variants from the generated list, then the named extras (entry, reproducible form).
template <class Fn, size_t N>
std::vector<Var<Fn>> vars(const tsr::TierFn<Fn> (&tiers)[N], std::initializer_list<std::pair<const char *, Fn>> extra) {
    std::vector<Var<Fn>> v;
    for (const auto &t : tiers)
        if (tsr::tier_runnable(t.tier)) v.push_back({t.name, t.tier, t.fn});
    for (const auto &[n, f] : extra) v.push_back({n, tsr::Tier::ex, f});
    return v;
}
template <class Fn> std::vector<Var<Fn>> one(const char *name, Fn f) { return {{name, tsr::Tier::ex, f}}; }

// Random patterns: every exponent equally likely (subnormals, zeros, extremes among them).
template <class T> T random_value(std::mt19937_64 &g);
template <> double random_value<double>(std::mt19937_64 &g) {
    uint64_t b = g();
    uint64_t e = (b >> 52) % 0x7ff;  // never the NaN/inf field
    return f64((b & 0x800fffffffffffffull) | (e << 52));
}
template <> float random_value<float>(std::mt19937_64 &g) {
    uint32_t b = uint32_t(g());
    uint32_t e = (b >> 23) % 0xff;
    return f32((b & 0x807fffffu) | (e << 23));
}
template <> long double random_value<long double>(std::mt19937_64 &g) {
    uint64_t m = g(), s = g();
    uint16_t e = uint16_t(s % 0x7fff);
    if (e) m |= 0x8000000000000000ull;  // normal: integer bit set
    else m &= 0x7fffffffffffffffull;    // subnormal
    long double x;
    std::memcpy(&x, &m, 8);
    uint16_t se = uint16_t(e | ((s >> 20) & 1 ? 0x8000 : 0));
    std::memcpy(reinterpret_cast<char *>(&x) + 8, &se, 2);
    return x;
}

template <class T> bool same(T a, T b) {
    if constexpr (sizeof(T) == 16 || std::is_same_v<T, long double>) return std::memcmp(&a, &b, 10) == 0;
    else return std::memcmp(&a, &b, sizeof(T)) == 0;
}
template <class T> std::string hex(T v) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%La", (long double)v);
    return buf;
}

// Flags an exact operation may raise: nothing when exact; underflow and inexact for a tiny
// inexact result (tininess is read after rounding on x86, so a result rounded up to the
// smallest normal may show either); overflow and inexact beyond the range.
template <class T> bool flags_ok(int got, mpfr_srcptr exact, T result) {
    Mp r;
    set(r, result);
    bool inexact = mpfr_cmp(r, exact) != 0;
    int f = got & (FE_INEXACT | FE_UNDERFLOW | FE_OVERFLOW | FE_INVALID | FE_DIVBYZERO);
    if (!inexact) return f == 0;
    Mp a;
    mpfr_abs(a, exact, MPFR_RNDN);
    if (mpfr_cmp_d(a, 1.0) > 0) return f == (FE_OVERFLOW | FE_INEXACT);  // large and inexact: beyond the range
    bool tiny_after = std::fabs((long double)result) < (long double)std::numeric_limits<T>::min();
    if (tiny_after) return f == (FE_UNDERFLOW | FE_INEXACT);
    return f == (FE_UNDERFLOW | FE_INEXACT) || f == FE_INEXACT;
}

int failures = 0;
template <class... A> void fail_once(const char *fmt, A... a) {
    if (++failures > 30) return;
    char buf[512];
    std::snprintf(buf, sizeof buf, fmt, a...);
    ADD_FAILURE() << buf;
}

// ---- ldexp, scalbn, scalbln ------------------------------------------------------------------
// Codes: overflow beyond the range; underflow when the result lies below half the smallest
// subnormal (it left the range altogether) or when a subnormal x is scaled down.
template <class T, class N, class Fn>
void check_scale(const char *what, const std::vector<Var<Fn>> &vs, int ovf, int unf, size_t n, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::vector<std::pair<T, N>> in;
    const long long extremes[] = {INT_MIN, INT_MAX, -70000, 70000, 0, 1, -1};
    for (size_t i = 0; i < n; ++i) {
        T x = random_value<T>(g);
        long long k = (long long)(g() % 70000) - 35000;
        if (i % 4 == 0) k = (long long)(g() % 4400) - 2200;
        if (i % 4 == 1) k = (long long)(g() % 360) - 180;
        if (i % 64 == 2) k = extremes[g() % 7];
        if (std::is_same_v<N, long> && i % 64 == 3) k = (g() & 1) ? LONG_MIN : LONG_MAX;
        in.push_back({x, N(k)});
    }
    using F = Format<T>;
    for (const auto &v : vs)
        for (const auto &m : kModes) {
            ModeGuard mg(m.fe);
            for (const auto &p : in) {
                T x = p.first;
                N k = p.second;
                // Beyond +-70000 every format's result is that of +-70000.
                long kk = k > 70000 ? 70000 : (k < -70000 ? -70000 : long(k));
                Mp e, sub;
                set(e, x);
                mpfr_mul_2si(e, e, kk, MPFR_RNDN);
                T want = round_to<T>(e, m.rnd);
                auto [got, o] = observe([&] { return v.fn(x, k); });
                if (!same(got, want)) {
                    fail_once("%s %s %s: (%s, %lld) gives %s, want %s", what, v.name.c_str(), m.name, hex(x).c_str(),
                              (long long)k, hex(got).c_str(), hex(want).c_str());
                    continue;
                }
                Mp a;
                mpfr_abs(a, e, MPFR_RNDN);
                bool over = !std::isnan(x) && x != 0 && mpfr_cmp_si_2exp(a, 1, F::emax + 1) >= 0;
                bool out = x != 0 && mpfr_cmp_si_2exp(a, 1, F::emin - F::p) < 0;
                bool subdown = std::fabs((long double)x) < (long double)std::numeric_limits<T>::min() && x != 0 && k < 0;
                int want_code = over ? ovf : (out || subdown ? unf : NO_CODE);
                if (o.code != want_code)
                    fail_once("%s %s %s: (%s, %lld) reports %d, want %d", what, v.name.c_str(), m.name, hex(x).c_str(),
                              (long long)k, o.code, want_code);
                if (want_code == ovf && o.err != ERANGE) fail_once("%s: overflow without ERANGE", what);
                if (!flags_ok<T>(o.flags, e, got))
                    fail_once("%s %s %s: (%s, %lld) raises %s", what, v.name.c_str(), m.name, hex(x).c_str(),
                              (long long)k, flags_str(o.flags).c_str());
            }
        }
}

}  // namespace

TEST(ScaleExact, Ldexp) {
    check_scale<double, int>("ldexp", vars(tsr_tiers_ldexp, {{"entry", ::ldexp}, {"bwr", __bwr_ldexp}}),
                             code::ldexp_overflow, code::ldexp_underflow, 30000, 1);
    check_scale<double, int>("scalbn", vars(tsr_tiers_scalbn, {{"entry", ::scalbn}, {"bwr", __bwr_scalbn}}),
                             code::scalbn_overflow, code::scalbn_underflow, 20000, 2);
    check_scale<double, long>("scalbln", vars(tsr_tiers_scalbln, {{"entry", ::scalbln}, {"bwr", __bwr_scalbln}}),
                              code::scalbln_overflow, code::scalbln_underflow, 20000, 3);
    check_scale<float, int>("ldexpf", vars(tsr_tiers___quill_ldexpf, {{"__libm_ldexpf", __libm_ldexpf},
                                                                       {"__quill_ldexpf", __quill_ldexpf},
                                                                       {"bwr", __bwr_ldexpf}}),
                            code::ldexpf_overflow, code::ldexpf_underflow, 20000, 4);
    check_scale<float, int>("scalbnf", vars(tsr_tiers_scalbnf, {{"entry", ::scalbnf}, {"bwr", __bwr_scalbnf}}),
                            code::scalbnf_overflow, code::scalbnf_underflow, 10000, 5);
    check_scale<float, long>("scalblnf", vars(tsr_tiers_scalblnf, {{"entry", ::scalblnf}, {"bwr", __bwr_scalblnf}}),
                             code::scalblnf_overflow, code::scalblnf_underflow, 10000, 6);
    check_scale<long double, int>("ldexpl", one("ldexpl", ::ldexpl), code::ldexpl_overflow, code::ldexpl_underflow, 20000, 7);
    check_scale<long double, int>("scalbnl", one("scalbnl", ::scalbnl), code::scalbnl_overflow, code::scalbnl_underflow, 10000, 8);
    check_scale<long double, long>("scalblnl", one("scalblnl", ::scalblnl), code::scalblnl_overflow,
                                   code::scalblnl_underflow, 10000, 9);
    EXPECT_EQ(failures, 0);
}

// ---- special rows ----------------------------------------------------------------------------
// The result with only the named checks (the others open).
template <class R> Expect<R> is(R v, int code = ANY_CODE, int err = ANY_ERRNO, int flags = ANY_FLAGS) {
    return {v, flags, err, code};
}
template <class R, class... A, size_t N>
Calls<R, A...> calls(const tsr::TierFn<R (*)(A...)> (&tiers)[N], std::initializer_list<std::pair<const char *, R (*)(A...)>> extra) {
    Calls<R, A...> c;
    add_tiers(c, tiers);
    for (const auto &[n, f] : extra) add_call(c, n, f);
    return c;
}
template <class R, class... A> Calls<R, A...> calls(const char *name, R (*fn)(A...)) {
    Calls<R, A...> c;
    return add_call(c, name, fn);
}
constexpr double kInf = INFINITY, kMax = 0x1.fffffffffffffp1023;
const double kNaN = qnan<double>();

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
    const float fNaN = qnan<float>();
    EXPECT_EQ(check_calls("scalbf", calls("scalbf", ::scalbf), std::vector<CallRow<float, float, float>>{
        {{1.0f, 200.0f}, is(float(kInf), code::scalbf_overflow)}, {{2.0f, 1.5f}, is(fNaN)}, {{3.0f, -2.0f}, is(0.75f)},
    }), 0);
    const long double lNaN = qnan<long double>();
    EXPECT_EQ(check_calls("scalbl", calls("scalbl", ::scalbl), std::vector<CallRow<long double, long double, long double>>{
        {{3.0L, 16000.0L}, is(3.0L * 0x1p16000L)}, {{3.0L, 0.25L}, is(lNaN)},
        {{1.0L, 20000.0L}, is((long double)kInf, code::scalbl_overflow)},
    }), 0);
}

// ---- frexp, ilogb, logb, significand ---------------------------------------------------------
namespace {
template <class T, class F1, class F2, class F3, class F4>
void check_decompose(const char *what, const std::vector<Var<F1>> &frexps, const std::vector<Var<F2>> &ilogbs,
                     const std::vector<Var<F3>> &logbs, const std::vector<Var<F4>> &significands, size_t n) {
    std::mt19937_64 g(11);
    for (size_t i = 0; i < n; ++i) {
        T x = random_value<T>(g);
        if (x == 0) continue;
        Mp m;
        set(m, x);
        long e = mpfr_get_exp(m);  // x = f * 2^e, 0.5 <= |f| < 1
        Mp f;
        mpfr_mul_2si(f, m, -e, MPFR_RNDN);
        T fr = round_to<T>(f), sg = T(fr * 2);
        for (const auto &v : frexps) {
            int k = 12345;
            auto [r, o] = observe([&] { return v.fn(x, &k); });
            if (!same(r, fr) || k != e || o.flags != 0)
                fail_once("frexp%s %s(%s) = %s, %d", what, v.name.c_str(), hex(x).c_str(), hex(r).c_str(), k);
        }
        for (const auto &v : ilogbs)
            if (v.fn(x) != e - 1) fail_once("ilogb%s %s(%s) = %d", what, v.name.c_str(), hex(x).c_str(), v.fn(x));
        for (const auto &v : logbs) {
            auto [r, o] = observe([&] { return v.fn(x); });
            if (!same(r, T(e - 1)) || o.flags != 0) fail_once("logb%s %s(%s) = %s", what, v.name.c_str(), hex(x).c_str(), hex(r).c_str());
        }
        for (const auto &v : significands) {
            auto [r, o] = observe([&] { return v.fn(x); });
            if (!same(r, sg) || o.flags != 0) fail_once("significand%s %s(%s) = %s", what, v.name.c_str(), hex(x).c_str(), hex(r).c_str());
        }
    }
}
}  // namespace

TEST(ScaleExact, Decompose) {
    check_decompose<double>("", vars(tsr_tiers_frexp, {{"entry", __libm_frexp}, {"plain", ::frexp}, {"bwr", __bwr_frexp}}),
                            vars(tsr_tiers_ilogb, {{"entry", ::ilogb}, {"bwr", __bwr_ilogb}}),
                            vars(tsr_tiers_logb, {{"entry", ::logb}, {"bwr", __bwr_logb}}),
                            vars(tsr_tiers_significand, {{"entry", ::significand}, {"bwr", __bwr_significand}}), 100000);
    check_decompose<float>("f", vars(tsr_tiers_frexpf, {{"entry", ::frexpf}, {"bwr", __bwr_frexpf}}),
                           vars(tsr_tiers_ilogbf, {{"entry", ::ilogbf}, {"bwr", __bwr_ilogbf}}),
                           vars(tsr_tiers_logbf, {{"entry", ::logbf}, {"bwr", __bwr_logbf}}),
                           vars(tsr_tiers_significandf, {{"entry", ::significandf}, {"bwr", __bwr_significandf}}), 100000);
    check_decompose<long double>("l", vars(tsr_tiers_frexpl, {{"entry", ::frexpl}, {"__libm_frexpl", __libm_frexpl}}),
                                 one("ilogbl", ::ilogbl), one("logbl", ::logbl), one("significandl", ::significandl), 100000);
    EXPECT_EQ(failures, 0);
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
    Calls<FR, double> frexps;
    for (const auto &t : tsr_tiers_frexp) frexps.push_back({t.name, t.tier, out2(t.fn)});
    frexps.push_back({"entry", tsr::Tier::ex, out2(::frexp)});
    frexps.push_back({"__libm_frexp", tsr::Tier::ex, out2(__libm_frexp)});
    EXPECT_EQ(check_calls("frexp", frexps, std::vector<CallRow<FR, double>>{
        {{-0.0}, is(FR{-0.0, 0})}, {{-kInf}, is(FR{-kInf, 0})}, {{0x1p-1074}, is(FR{0.5, -1073})},
    }), 0);
    int e = 0;
    EXPECT_TRUE(std::isnan(::frexp(kNaN, &e)));
    Calls<std::tuple<float, int>, float> ff{{"frexpf", tsr::Tier::ex, out2(::frexpf)}};
    Calls<std::tuple<long double, int>, long double> fl{{"frexpl", tsr::Tier::ex, out2(::frexpl)}};
    EXPECT_EQ(check_calls("frexpf", ff, std::vector<CallRow<std::tuple<float, int>, float>>{
        {{0x1p-149f}, is(std::tuple<float, int>{0.5f, -148})}}), 0);
    EXPECT_EQ(check_calls("frexpl", fl, std::vector<CallRow<std::tuple<long double, int>, long double>>{
        {{0x1p-16445L}, is(std::tuple<long double, int>{0.5L, -16444})}}), 0);
    EXPECT_EQ(::significand(-0x1.8p-1070), -1.5);
    EXPECT_EQ(::significandl(0x1.8p-16440L), 1.5L);
}

// ---- nextafter, nexttoward ---------------------------------------------------------------
namespace {
// x stepped toward y (y != x, neither NaN) by MPFR: x moved by far less than an ulp and
// rounded outward.  Reports: overflow at infinity, underflow for a subnormal or zero result.
template <class T, class Y, class Fn> void check_next(const char *what, const std::vector<Var<Fn>> &vs, int ovf, int unf,
                                            size_t n) {
    std::mt19937_64 g(21);
    for (size_t i = 0; i < n; ++i) {
        T x = random_value<T>(g);
        Y y = (g() & 3) == 0 ? Y(INFINITY) : Y(random_value<T>(g));
        if (g() & 1) y = -y;
        if ((long double)y == (long double)x) continue;
        Mp e(40000), t;  // room for any x plus 2^-20000 exactly
        set(e, x);
        bool up = (long double)y > (long double)x;
        mpfr_set_si_2exp(t, up ? 1 : -1, -20000, MPFR_RNDN);
        mpfr_add(e, e, t, MPFR_RNDN);
        T want = round_to<T>(e, up ? MPFR_RNDU : MPFR_RNDD);
        if (want == 0) want = x > 0 ? T(0.0) : T(-0.0);  // from the smallest subnormal: the zero of x's side
        for (const auto &v : vs) {
            auto [r, o] = observe([&] { return v.fn(x, y); });
            if (!same(r, want)) {
                fail_once("%s %s(%s, %s) = %s, want %s", what, v.name.c_str(), hex(x).c_str(), hex(y).c_str(),
                          hex(r).c_str(), hex(want).c_str());
                continue;
            }
            int want_code = std::isinf(r) ? ovf : (std::fabs((long double)r) < (long double)std::numeric_limits<T>::min() ? unf : NO_CODE);
            if (o.code != want_code) fail_once("%s %s(%s, %s) reports %d, want %d", what, v.name.c_str(), hex(x).c_str(),
                                               hex(y).c_str(), o.code, want_code);
        }
    }
}
}  // namespace

TEST(NextExact, Steps) {
    check_next<double, double>("nextafter", vars(tsr_tiers_nextafter, {{"entry", ::nextafter}, {"bwr", __bwr_nextafter}}),
                               code::nextafter_overflow, code::nextafter_underflow, 100000);
    check_next<float, float>("nextafterf", vars(tsr_tiers_nextafterf, {{"entry", ::nextafterf}, {"bwr", __bwr_nextafterf}}),
                             code::nextafterf_overflow, code::nextafterf_underflow, 100000);
    check_next<double, long double>("nexttoward", vars(tsr_tiers_nexttoward, {{"entry", ::nexttoward}, {"bwr", __bwr_nexttoward}}),
                                    code::nexttoward_overflow, code::nexttoward_underflow, 100000);
    check_next<float, long double>("nexttowardf", vars(tsr_tiers_nexttowardf, {{"entry", ::nexttowardf}, {"bwr", __bwr_nexttowardf}}),
                                   code::nexttowardf_overflow, code::nexttowardf_underflow, 100000);
    check_next<double, double>("nexttoward64", one("__libm_nexttoward64", __libm_nexttoward64), code::nexttoward_overflow,
                               code::nexttoward_underflow, 30000);
    check_next<float, double>("nexttoward64f", one("__libm_nexttoward64f", __libm_nexttoward64f), code::nexttowardf_overflow,
                              code::nexttowardf_underflow, 30000);
    check_next<long double, double>("nexttoward64l", one("__libm_nexttoward64l", __libm_nexttoward64l),
                                    code::nexttowardl_overflow, code::nexttowardl_underflow, 30000);
    check_next<long double, long double>("nextafterl", one("nextafterl", ::nextafterl), code::nextafterl_overflow,
                                         code::nextafterl_underflow, 100000);
    check_next<long double, long double>("nexttowardl", one("nexttowardl", ::nexttowardl), code::nexttowardl_overflow,
                                         code::nexttowardl_underflow, 30000);
    EXPECT_EQ(failures, 0);
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
                            : random_value<T>(g)});
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
        T x = random_value<T>(g), y = random_value<T>(g);
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
template <class F> struct CallOf;
template <class R, class... A> struct CallOf<std::function<R(A...)>> { using type = Call<R, A...>; };
// Every tier and the named extras of a function with a pointer result, as calls returning both.
template <class Fn, size_t N>
auto with_out(const tsr::TierFn<Fn> (&tiers)[N], std::initializer_list<std::pair<const char *, Fn>> extra) {
    std::vector<typename CallOf<decltype(out2(Fn()))>::type> c;
    for (const auto &t : tiers) c.push_back({t.name, t.tier, out2(t.fn)});
    for (const auto &[n, f] : extra) c.push_back({n, tsr::Tier::ex, out2(f)});
    return c;
}

}  // namespace

TEST(RemquoExact, Random) {
    using D = double;
    using F = float;
    using L = long double;
    EXPECT_EQ(check_modf<D>("modf", with_out(tsr_tiers_modf, {{"entry", ::modf}, {"bwr", __bwr_modf}}), 30000), 0);
    EXPECT_EQ(check_modf<F>("modff", with_out(tsr_tiers_modff, {{"entry", ::modff}, {"bwr", __bwr_modff}}), 30000), 0);
    EXPECT_EQ(check_modf<L>("modfl", {{"modfl", tsr::Tier::ex, out2(::modfl)}}, 30000), 0);
    EXPECT_EQ(check_remquo<D>("remquo", with_out(tsr_tiers_remquo, {{"entry", ::remquo}, {"bwr", __bwr_remquo}}), 40000), 0);
    EXPECT_EQ(check_remquo<F>("remquof", with_out(tsr_tiers_remquof, {{"entry", ::remquof}, {"bwr", __bwr_remquof}}), 40000), 0);
    EXPECT_EQ(check_remquo<L>("remquol", {{"remquol", tsr::Tier::ex, out2(::remquol)}}, 40000), 0);
}

TEST(RemquoSpecial, Edges) {
    using Q = std::tuple<double, int>;
    const double kNaN = qnan<double>();
    EXPECT_EQ(check_calls("remquo", with_out(tsr_tiers_remquo, {{"entry", ::remquo}, {"bwr", __bwr_remquo}}),
                          std::vector<CallRow<Q, double, double>>{
                              {{5.0, 3.0}, is(Q{-1.0, 2})},
                              {{-7.0, 2.0}, is(Q{1.0, -4})},
                              {{0x1p40 + 3, -1.0}, is(Q{0.0, -3})},  // low 31 bits of 2^40 + 3
                          }), 0);
    EXPECT_EQ(check_calls("remquo", with_out(tsr_tiers_remquo, {{"entry", ::remquo}}),
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
    auto modfs = with_out(tsr_tiers_modf, {{"entry", ::modf}});
    EXPECT_EQ(check_calls("modf", modfs, std::vector<CallRow<M, double>>{
        {{-kInf}, is(M{-0.0, -kInf})}, {{kNaN}, is(M{kNaN, kNaN})}, {{3.0}, is(M{0.0, 3.0}), RD}}), 0);
}

// ---- the extended remainders -----------------------------------------------------------------
TEST(RemExact, Extended) {
    std::mt19937_64 g(51);
    for (int i = 0; i < 60000; ++i) {
        long double x = random_value<long double>(g), y = random_value<long double>(g);
        if (x == 0 || y == 0) continue;
        Mp a, b, r, s;
        set(a, x);
        set(b, y);
        mpfr_fmod(r, a, b, MPFR_RNDN);
        mpfr_remainder(s, a, b, MPFR_RNDN);
        long double wf = round_to<long double>(r), wr = round_to<long double>(s);
        if (wf == 0 && std::signbit(x)) wf = -wf;
        if (wr == 0 && std::signbit(x)) wr = -wr;
        const Mode &m = kModes[i & 3];
        ModeGuard mg(m.fe);
        auto [f, of] = observe([&] { return ::fmodl(x, y); });
        auto [rr, orr] = observe([&] { return ::remainderl(x, y); });
        if (!same(f, wf) || of.flags) fail_once("fmodl %s(%La, %La) = %La", m.name, x, y, f);
        if (!same(rr, wr) || orr.flags) fail_once("remainderl %s(%La, %La) = %La", m.name, x, y, rr);
    }
    auto [z, oz] = observe([] { return ::fmodl(1.0L, 0.0L); });
    EXPECT_TRUE(std::isnan(z));
    EXPECT_EQ(oz.code, code::fmodl_divisor_0);
    auto [z2, oz2] = observe([] { return ::remainderl(1.0L, -0.0L); });
    EXPECT_TRUE(std::isnan(z2));
    EXPECT_EQ(oz2.code, code::remainderl_divisor_0);
    EXPECT_EQ(::fmodl(5.0L, INFINITY), 5.0L);
    EXPECT_TRUE(std::isnan(::fmodl(INFINITY, 2.0L)));
    EXPECT_EQ(failures, 0);
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
    for (int i = 0; i < 20000; ++i) {
        double x = random_value<double>(g), y = random_value<double>(g);
        long double xl = random_value<long double>(g), yl = random_value<long double>(g);
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
        if (f != wf || rr != wr || fl != wfl || rrl != wrl || sc != wl)
            fail_once("precision 24: (%a, %a) fmod %a remainder %a; (%La, %La) fmodl %La remainderl %La; ldexpl(%La, %d) %La",
                      x, y, f, rr, xl, yl, fl, rrl, xl, k, sc);
    }
    EXPECT_EQ(failures, 0);
}

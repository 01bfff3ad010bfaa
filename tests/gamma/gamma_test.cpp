// The gamma family: special values, poles, thresholds and their neighbours as rows (bits,
// flags, errno, code, four modes); the sign of Gamma against MPFR everywhere, signgam and the
// reentrant forms; accuracy against MPFR (relative away from the zeros of ln|Gamma|,
// absolute within 2^-10 of them); every float in the Long run.
#include <gtest/gtest.h>

#include <atomic>
#include <cfenv>
#include <thread>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;
using LD = long double;

// ln|Gamma| and the sign of Gamma by MPFR.
int mp_lgamma_abs(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) {
    int s;
    return mpfr_lgamma(r, &s, x, m);
}
template <class T> int mp_sign(T x) {
    Mp a, r;
    set(a, x);
    int s;
    mpfr_lgamma(r, &s, a, MPFR_RNDN);
    return s;
}

// A variant of ln|Gamma| through a reentrant form (the sign goes to a local).
template <class T> void add_r(Func<T> &f, const char *name, T (*fn)(T, int *)) {
    f.variants.push_back({name, tsr::Tier::ex, [fn](const T *in, T *out) {
                              int s;
                              out[0] = fn(in[0], &s);
                          }});
}
template <class T> Func<T> plain(const char *name, MpFn1 ref) { return Func<T>{name, 1, 1, {mpfr_ref(ref)}, {}}; }

Func<double> lgamma_f() {
    auto f = plain<double>("lgamma", mp_lgamma_abs);
    f.entry(::lgamma).add("__bwr_lgamma", tsr::Tier::ex, __bwr_lgamma);
    add_r(f, "lgamma_r", ::lgamma_r);
    add_r(f, "__bwr_lgamma_r", ::__bwr_lgamma_r);
    return f;
}
Func<float> lgammaf_f() {
    auto f = plain<float>("lgammaf", mp_lgamma_abs);
    f.entry(::lgammaf).add("__bwr_lgammaf", tsr::Tier::ex, __bwr_lgammaf);
    add_r(f, "lgammaf_r", ::lgammaf_r);
    return f;
}
Func<LD> lgammal_f() {
    auto f = plain<LD>("lgammal", mp_lgamma_abs);
    f.entry(::lgammal);
    add_r(f, "lgammal_r", ::lgammal_r);
    return f;
}
Func<double> tgamma_f() {
    return func("tgamma", mpfr_gamma, tsr_tiers_tgamma).entry(::tgamma).add("__bwr_tgamma", tsr::Tier::ex, __bwr_tgamma);
}
Func<float> tgammaf_f() {
    return func("tgammaf", mpfr_gamma, tsr_tiers_tgammaf).entry(::tgammaf).add("__bwr_tgammaf", tsr::Tier::ex, __bwr_tgammaf);
}
Func<LD> tgammal_f() { return plain<LD>("tgammal", mpfr_gamma).entry(::tgammal); }

// ---- rows ------------------------------------------------------------------------------------
template <class T> std::vector<Row<T>> nans(std::vector<Row<T>> own) {
    std::vector<Row<T>> r = {{qnan<T>(), T(NAN)}, {-qnan<T>(), T(NAN)}, {snan<T>(), T(NAN), INV}};
    r.insert(r.end(), own.begin(), own.end());
    return r;
}

// lgamma: exact zeros at 1 and 2; poles at zero and the negative integers (every double from
// 2^52 on); the overflow threshold (the least double whose result overflows, and the one
// below); the half-integers and tiny arguments checked correctly rounded in nearest.
template <class T> std::vector<Row<T>> lgamma_rows(int pole, int over, T first_over, T below_over) {
    const T inf = T(kInf);
    return nans<T>({
        {T(1), T(0)}, {T(2), T(0)}, {inf, inf}, {-inf, inf},
        {T(0), inf, DZ, ERANGE, pole}, {-T(0), inf, DZ, ERANGE, pole},
        {T(-1), inf, DZ, ERANGE, pole}, {T(-2), inf, DZ, ERANGE, pole}, {T(-171), inf, DZ, ERANGE, pole},
        {T(-0x1p23), inf, DZ, ERANGE, pole}, {T(-0x1p60), inf, DZ, ERANGE, pole},
        {T(-0x1p100f), inf, DZ, ERANGE, pole},
        {first_over, CR, OV, ERANGE, over}, {below_over, CR, NX},
        {T(0.5), CR, NX, 0, NO_CODE, RN}, {T(-0.5), CR, NX, 0, NO_CODE, RN}, {T(-1.5), CR, NX, 0, NO_CODE, RN},
        {T(-2.5), CR, NX, 0, NO_CODE, RN}, {T(3.5), CR, NX, 0, NO_CODE, RN}, {T(10.5), CR, NX, 0, NO_CODE, RN},
        {T(0x1p-60), CR, NX, 0, NO_CODE, RN}, {T(-0x1p-60), CR, NX, 0, NO_CODE, RN},
        {T(0x1p-149f), CR, NX, 0, NO_CODE, RN}, {T(3), CR, NX, 0, NO_CODE, RN}, {T(16), CR, NX, 0, NO_CODE, RN},
    });
}

// tgamma: factorials exact without inexact; poles (divide-by-zero at the zeros, invalid at the
// negative integers and -inf); overflow above the threshold and where 1/x overflows; the
// signed underflow far on the negative axis, not reported.
template <class T> std::vector<Row<T>> tgamma_rows(int pole, int over, T first_over, T below_over, int last_exact,
                                                   T least_recip, T far_negative) {
    const T inf = T(kInf);
    std::vector<Row<T>> r = nans<T>({
        {inf, inf}, {-inf, T(NAN), INV, EDOM, pole},
        {T(0), inf, DZ, EDOM, pole}, {-T(0), -inf, DZ, EDOM, pole},
        {T(-1), T(NAN), INV, EDOM, pole}, {T(-2), T(NAN), INV, EDOM, pole}, {T(-0x1p23), T(NAN), INV, EDOM, pole},
        {first_over, CR, OV, ERANGE, over}, {below_over, CR, NX},
        {least_recip, CR, OV, ERANGE, over}, {-least_recip, CR, OV, ERANGE, over},
        {far_negative, CR, UN}, {T(far_negative - T(1)), CR, UN},
        {T(0.5), CR, NX, 0, NO_CODE, RN}, {T(-0.5), CR, NX, 0, NO_CODE, RN}, {T(-1.5), CR, NX, 0, NO_CODE, RN},
        {T(1.5), CR, NX, 0, NO_CODE, RN}, {T(0x1p-60), CR, NX, 0, NO_CODE, RN}, {T(-0x1p-60), CR, NX, 0, NO_CODE, RN},
    });
    T f = 1;
    for (int n = 1; n <= last_exact; ++n) {
        r.push_back({T(n), f});  // (n - 1)!, exact: no flag
        f *= T(n);
    }
    return r;
}

TEST(GammaSpecial, Rows) {
    check_rows(lgamma_f(), lgamma_rows<double>(code::lgamma_pole, code::lgamma_overflow, 0x1.754d9278b51a8p+1014,
                                              0x1.754d9278b51a7p+1014));
    check_rows(lgammaf_f(), lgamma_rows<float>(code::lgammaf_pole, code::lgammaf_overflow, 0x1.895f1cp+121f,
                                              0x1.895f1ap+121f));
    check_rows(tgamma_f(), tgamma_rows<double>(code::tgamma_pole, code::tgamma_overflow, 0x1.573fae561f648p+7,
                                              0x1.573fae561f647p+7, 23, 0x1p-1024, -185.5));
    check_rows(tgammaf_f(), tgamma_rows<float>(code::tgammaf_pole, code::tgammaf_overflow, 0x1.18522p+5f,
                                              0x1.18521ep+5f, 14, 0x1p-128f, -43.5f));
}

TEST(GammaSpecial, ExtendedRows) {
    const LD inf = __builtin_infl();
    check_rows(lgammal_f(), nans<LD>({
        {1.0L, 0.0L}, {2.0L, 0.0L}, {inf, inf}, {-inf, inf},
        {0.0L, inf, DZ, ERANGE, code::lgammal_pole}, {-0.0L, inf, DZ, ERANGE, code::lgammal_pole},
        {-3.0L, inf, DZ, ERANGE, code::lgammal_pole}, {-0x1p63L, inf, DZ, ERANGE, code::lgammal_pole},
        {1000.5L, CR, NX, 0, NO_CODE, RN}, {-2.5L, ANY, NX},
        {0x1p16383L, CR, OV, ERANGE, code::lgammal_overflow}, {0x1p-16445L, CR, NX, 0, NO_CODE, RN},
    }));
    std::vector<Row<LD>> t = nans<LD>({
        {inf, inf}, {-inf, LD(NAN), INV, EDOM, code::tgammal_pole},
        {0.0L, inf, DZ, EDOM, code::tgammal_pole}, {-0.0L, -inf, DZ, EDOM, code::tgammal_pole},
        {-7.0L, LD(NAN), INV, EDOM, code::tgammal_pole}, {-0x1p62L, LD(NAN), INV, EDOM, code::tgammal_pole},
        {1756.0L, CR, OV, ERANGE, code::tgammal_overflow}, {1755.0L, ANY, NX},
        {0x1p-16400L, CR, OV, ERANGE, code::tgammal_overflow},
        {-1766.5L, CR, UN}, {-2000.5L, CR, UN},
        {0.5L, CR, NX, 0, NO_CODE, RN}, {-0.5L, CR, NX, 0, NO_CODE, RN},
    });
    LD f = 1;
    for (int n = 1; n <= 26; ++n) {
        t.push_back({LD(n), f});
        f *= n;
    }
    check_rows(tgammal_f(), t);
}

// ---- the sign -------------------------------------------------------------------------------
// The sign through every form against MPFR, on both sides of each pole and between them.
template <class T> std::vector<T> sign_inputs() {
    std::vector<T> xs = {T(0.5), T(3), T(1e10), T(-0x1p-40), T(-0.5)};
    for (int n = 1; n < 40; ++n)
        for (T d : {T(0.001), T(0.25), T(0.5), T(0.75), T(0.999)}) xs.push_back(T(-n) + d);
    return xs;
}
TEST(GammaSign, AgainstMpfr) {
    for (double x : sign_inputs<double>()) {
        int s1 = 7, s2 = 7;
        lgamma_r(x, &s1);
        __bwr_lgamma_r(x, &s2);
        EXPECT_EQ(s1, mp_sign(x)) << x;
        EXPECT_EQ(s2, mp_sign(x)) << x;
        signgam = 7;
        lgamma(x);
        EXPECT_EQ(signgam, mp_sign(x)) << x;
        signgam = 7;
        gamma(x);
        EXPECT_EQ(signgam, mp_sign(x)) << x;
        EXPECT_EQ(__builtin_signbit(tgamma(x)) ? -1 : 1, mp_sign(x)) << x;
    }
    for (float x : sign_inputs<float>()) {
        int s = 7;
        lgammaf_r(x, &s);
        EXPECT_EQ(s, mp_sign(x)) << x;
        signgam = 7;
        lgammaf(x);
        EXPECT_EQ(signgam, mp_sign(x)) << x;
    }
    for (LD x : sign_inputs<LD>()) {
        int s = 7;
        lgammal_r(x, &s);
        EXPECT_EQ(s, mp_sign(x)) << double(x);
        signgam = 7;
        lgammal(x);
        EXPECT_EQ(signgam, mp_sign(x)) << double(x);
    }
    // Zeros: the sign of the zero; the negative integers: +1.
    for (auto [x, want] : {std::pair{0.0, 1}, {-0.0, -1}, {-4.0, 1}}) {
        int s = 7;
        lgamma_r(x, &s);
        EXPECT_EQ(s, want) << x;
    }
}

// The reentrant forms leave signgam alone, also from many threads at once.
TEST(GammaSign, ReentrantLeavesSigngam) {
    signgam = 5;
    std::vector<std::thread> ts;
    std::atomic<int> bad{0};
    for (int t = 0; t < 4; ++t)
        ts.emplace_back([t, &bad] {
            for (int i = 0; i < 2000; ++i) {
                double x = -0.5 - (i % 20) - 0.25 * t;
                int s = 0;
                lgamma_r(x, &s);
                if (s != mp_sign(x)) ++bad;
                float xf = float(x);
                lgammaf_r(xf, &s);
                if (s != mp_sign(xf)) ++bad;
            }
        });
    for (auto &t : ts) t.join();
    EXPECT_EQ(bad.load(), 0);
    EXPECT_EQ(signgam, 5);
}

// ---- accuracy ---------------------------------------------------------------------------------
// The zeros of ln|Gamma| on the negative axis, two in each (-n-1, -n) for n >= 2, by MPFR
// bisection (ln|Gamma| is +inf at both ends and negative at -n-1/2).
std::vector<double> negative_zeros() {
    static std::vector<double> zs;
    if (!zs.empty()) return zs;
    Mp a(200), b(200), m(200), r(200);
    auto lg = [&](mpfr_ptr x) {
        int s;
        mpfr_lgamma(r, &s, x, MPFR_RNDN);
        return mpfr_cmp_si(r, 0);
    };
    for (int n = 2; n <= 40; ++n) {
        for (int side = 0; side < 2; ++side) {
            mpfr_set_d(a, side ? -n - 0.5 : -n - 1.0, MPFR_RNDN);
            mpfr_set_d(b, side ? -double(n) : -n - 0.5, MPFR_RNDN);
            if (side == 0) mpfr_nextabove(a); else mpfr_nextbelow(b);
            int sa = lg(a);
            for (int i = 0; i < 190; ++i) {
                mpfr_add(m, a, b, MPFR_RNDN);
                mpfr_div_2ui(m, m, 1, MPFR_RNDN);
                if (lg(m) == sa) mpfr_set(a, m, MPFR_RNDN); else mpfr_set(b, m, MPFR_RNDN);
            }
            zs.push_back(mpfr_get_d(a, MPFR_RNDN));
        }
    }
    return zs;
}
template <class T> bool near_zero(const T *in) {
    double x = double(in[0]);
    for (double z : negative_zeros())
        if (__builtin_fabs(x - z) <= 0x1p-10) return true;
    return false;
}

template <class T> Sweep<T> lgamma_plan(Func<T> f, T hi, double rn) {
    Sweep<T> s{f,
               {{40000, {T(0x1p-20), hi, Dist::log_uniform}},
                {5000, {T(sizeof(T) == 4 ? 0x1p-149 : 0x1p-1074), T(0x1p-20), Dist::log_uniform, true}},
                {20000, {T(0.5), T(4.5), Dist::uniform}},
                {20000, {T(-24.5), T(-0.0001), Dist::uniform}},
                {10000, {T(-1e6), T(-24), Dist::uniform}},
                {5000, {T(-0x1p50), T(-1e6)}}}};
    for (T e : {T(0.6875), T(1), T(2), T(4.0625), T(8), T(16)}) s.regions.push_back({2000, {e - T(1) / 64, e + T(1) / 64, Dist::uniform}});
    // Next to the first negative zeros ln|Gamma| is small beside its terms: the float and
    // double forms leave their cores for the extended one there, and the extended core's
    // pieces must hold their error well below its ulp. Both sides of each zero, densely, in
    // every mode (within 2^-10 of it the double and extended errors are measured absolutely).
    for (double z : negative_zeros())
        if (z > -8) {
            double w = sizeof(T) == 4 ? 0x1p-5 : 0x1p-3;
            s.regions.push_back({1000, {T(z - w), T(z + w), Dist::uniform}});
        }
    s.bound[0] = rn;
    s.bound[1] = s.bound[2] = s.bound[3] = rn + 1;
    // Within 2^-10 of a zero the error is measured absolutely (GammaAccuracy.NearZeros); the
    // float forms are measured relatively everywhere.
    if (sizeof(T) != 4) s.skip = near_zero<T>;
    return s;
}
template <class T> Sweep<T> tgamma_plan(Func<T> f, T hi, T lo, double rn) {
    Sweep<T> s{f,
               {{40000, {T(0x1p-20), hi, Dist::log_uniform}},
                {5000, {T(sizeof(T) == 4 ? 0x1p-126 : 0x1p-1022), T(0x1p-20), Dist::log_uniform, true}},
                {20000, {T(0.5), T(4.5), Dist::uniform}},
                {30000, {lo, T(-0.0001), Dist::uniform}},
                {5000, {hi - T(2), hi, Dist::uniform}}}};
    s.bound[0] = rn;
    s.bound[1] = s.bound[2] = s.bound[3] = rn + 1;
    return s;
}

TEST(GammaAccuracy, Lgamma) { sweep(lgamma_plan(lgamma_f(), 0x1p1000, 0.9)); }
TEST(GammaAccuracy, Lgammaf) { sweep(lgamma_plan(lgammaf_f(), 0x1p120f, 0.51)); }
TEST(GammaAccuracy, Lgammal) { sweep(lgamma_plan(lgammal_f(), 0x1p16000L, 0.9)); }
// lgammal's double-double path on [8, 2^52) carries every term to the 64 bits of extended
// (the logarithm in three words, x's last 11 bits, 1/x and the tail's constant as pairs):
// within 0.6 ulp. The worst cases lie just above 8, where x - 1/2 multiplies the
// logarithm's error most against the result (a path with the kernel's rounded tail reached
// 0.607 there), so that end densely.
TEST(GammaAccuracy, LgammalStirlingPath) {
    Sweep<long double> s{lgammal_f(),
                         {{30000, {8.0L, 8.5L, Dist::uniform}}, {10000, {8.5L, 0x1p52L, Dist::log_uniform}}}};
    s.bound[0] = 0.6;
    s.bound[1] = s.bound[2] = s.bound[3] = 1.6;
    sweep(s);
}
TEST(GammaAccuracy, Tgamma) { sweep(tgamma_plan(tgamma_f(), 171.6, -184.0, 0.9)); }
TEST(GammaAccuracy, Tgammaf) { sweep(tgamma_plan(tgammaf_f(), 35.04f, -42.0f, 0.51)); }
TEST(GammaAccuracy, Tgammal) { sweep(tgamma_plan(tgammal_f(), 1755.5L, -1760.0L, 0.9)); }

// Where the cores change method or an operation stops being exact, densely, every form and
// mode: (-1/2, 0), where x + 1 rounds (the factor and the piece's t must not); the tiny
// arguments of both signs about 2^-70, where -ln|x| alone is taken (and the double core's
// products would underflow); the huge ones from 2^50, where x - 1/2 rounds (2^52 in double,
// 2^63 in extended) and the double core brings x down for its product (2^60); the far
// negative axis of Gamma, where the double core hands results below 2^-1016 to the extended
// one (about -170.6) and the subnormal results begin; the half unit below each power of two
// on the negative axis, where 1/2 - x (the reflection's Stirling) enters the next binade.
template <class T> Sweep<T> boundary_plan(Func<T> f, bool gamma) {
    Sweep<T> s{f,
               {{8000, {T(-0.5), T(-0x1p-12), Dist::uniform}},
                {4000, {T(0x1p-80), T(0x1p-60), Dist::log_uniform, true}},
                {4000, {T(-0.99), T(-0.5), Dist::uniform}}}};
    for (int k = 5; k <= (gamma ? 7 : 10); ++k)
        s.regions.push_back({1000, {-T(1 << k), T(0.5) - T(1 << k), Dist::uniform}});
    if (gamma) {
        s.regions.push_back({8000, {T(-184), T(-168), Dist::uniform}});
    } else {
        s.regions.push_back({8000, {T(0x1p50), T(0x1p70)}});
        s.regions.push_back({2000, {T(-0x1p51), T(-0x1p40)}});
    }
    s.bound[0] = 0.9;
    s.bound[1] = s.bound[2] = s.bound[3] = 1.9;
    return s;
}
TEST(GammaAccuracy, Boundaries) {
    sweep(boundary_plan(lgamma_f(), false));
    sweep(boundary_plan(lgammal_f(), false));
    sweep(boundary_plan(tgamma_f(), true));
    sweep(boundary_plan(tgammal_f(), true));
}

// Within 2^-10 of each zero on the negative axis the error is measured absolutely (the modes
// taken in turn): below
// 2^-53 in double and extended (2^-24 in single), or below one ulp of the result where the
// result is large (near the far zeros the window reaches values far above 1).
// Every rounding mode: the caller's mode reaches only the last rounding.
template <class T> double worst_abs_near_zeros(T (*fn)(T), double abs_bound) {
    std::mt19937_64 rng(7);
    double worst = 0;
    for (double z : negative_zeros()) {
        for (int i = 0; i < 400; ++i) {
            double u = std::uniform_real_distribution<double>(-0x1p-10, 0x1p-10)(rng);
            T x = T(z + (i < 40 ? u * 0x1p-30 : u));
            Mp ref, got, a;
            set(a, x);
            int s;
            mpfr_lgamma(ref, &s, a, MPFR_RNDN);
            static const int modes[] = {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO};
            fesetround(modes[i & 3]);
            T y = fn(x);
            fesetround(FE_TONEAREST);
            set(got, y);
            mpfr_sub(got, got, ref, MPFR_RNDN);
            double err = __builtin_fabs(mpfr_get_d(got, MPFR_RNDN));
            // the directed modes: the rounding itself may take up to a whole ulp
            double unit = mpfr_zero_p(ref) ? 0 : __builtin_ldexp((i & 3) ? 1.5 : 1.0, int(mpfr_get_exp(ref)) - Format<T>::p);
            worst = std::max(worst, err / std::max(abs_bound, unit));
        }
    }
    return worst;
}
TEST(GammaAccuracy, NearZeros) {
    double d = worst_abs_near_zeros<double>(::lgamma, 0x1p-53), f = worst_abs_near_zeros<float>(::lgammaf, 0x1p-24);
    double l = worst_abs_near_zeros<LD>(::lgammal, 0x1p-53);
    std::printf("[  ACCURACY] within 2^-10 of the negative zeros, four modes: worst error / max(bound, ulp): lgamma %.3g "
                "(bound 2^-53), lgammaf %.3g (2^-24), lgammal %.3g (2^-53)\n", d, f, l);
    EXPECT_LT(d, 1.0);
    EXPECT_LT(f, 1.0);
    EXPECT_LT(l, 1.0);
}

// A caller at 53- or 24-bit x87 precision gets the results of a caller at 64 bits and finds
// its control word unchanged.
TEST(GammaFrame, CallerPrecision) {
    const uint16_t base = x87_cw_now();
    for (uint16_t pc : {uint16_t(0x000), uint16_t(0x200)}) {
        for (LD x : {0.3L, -2.7L, 7.5L, 100.25L, -30.5L}) {
            LD want_l = lgammal(x), want_t = tgammal(x);
            double want_d = lgamma(double(x)), want_td = tgamma(double(x));
            float want_f = lgammaf(float(x)), want_tf = tgammaf(float(x));
            uint16_t cw = uint16_t((base & ~0x300) | pc);
            set_x87_cw(cw);
            LD got_l = lgammal(x), got_t = tgammal(x);
            double got_d = lgamma(double(x)), got_td = tgamma(double(x));
            float got_f = lgammaf(float(x)), got_tf = tgammaf(float(x));
            uint16_t after = x87_cw_now();
            set_x87_cw(base);
            EXPECT_EQ(after, cw);
            EXPECT_EQ(got_l, want_l) << double(x);
            EXPECT_EQ(got_t, want_t) << double(x);
            EXPECT_EQ(got_d, want_d) << double(x);
            EXPECT_EQ(got_td, want_td) << double(x);
            EXPECT_EQ(got_f, want_f) << double(x);
            EXPECT_EQ(got_tf, want_tf) << double(x);
        }
    }
}

// ---- the Long run -----------------------------------------------------------------------------
TEST(GammaLong, Floats) {
    for (auto s : {lgamma_plan(lgammaf_f(), 0x1p120f, 0.51), tgamma_plan(tgammaf_f(), 35.04f, -42.0f, 0.51)})
        every_float(s);
}
TEST(GammaLong, Doubles) {
    for (auto s : {lgamma_plan(lgamma_f(), 0x1p1000, 0.9), tgamma_plan(tgamma_f(), 171.6, -184.0, 0.9)}) {
        s.scale = 70;
        sweep(s);
    }
}

}  // namespace

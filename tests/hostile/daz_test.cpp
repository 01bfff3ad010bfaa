// Denormals-are-zero and flush-to-zero set in MXCSR (as programs built with fast-math
// set them at start-up): a subnormal argument gives either the true result or the result
// for a zero argument, each with its own flags and errno, never a NaN and never a third
// value.  docs/errors.md says which tiers give which.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

#include "harness/harness.h"

#include "tessera.h"

namespace {

constexpr uint32_t kDazFtz = 0x8040;  // MXCSR: flush-to-zero (bit 15), denormals-are-zero (bit 6)
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr int kDz = FE_DIVBYZERO;

struct Outcome {
    double value;  // compared by bits; NaN: the true value by MPFR, within 1 ulp
    int flags, err;
};
constexpr int kTrueFlags = -1;  // the flags and errno the true value calls for
constexpr Outcome kTrue = {std::numeric_limits<double>::quiet_NaN(), kTrueFlags, 0};

// An argument (y for pow) with the true outcome and the outcome for x = +-0.
struct DazRow {
    double y;
    Outcome truth, zero;
};

uint32_t mxcsr() { uint32_t v; asm volatile("stmxcsr %0" : "=m"(v)); return v; }
void set_mxcsr(uint32_t v) { asm volatile("ldmxcsr %0" : : "m"(v)); }

template <class T> const T kSubnormals[] = {};
template <> const double kSubnormals<double>[] = {0x1p-1074, 0x1.8p-1060, 0x0.fffffffffffffp-1022, 0x0.123456789abcdp-1022};
template <> const float kSubnormals<float>[] = {0x1p-149f, 0x1.8p-140f, 0x0.fffffep-126f, 0x0.123456p-126f};

// Each row in each variant of f (every tier and the public entry) and each mode, for the
// subnormals of kSubnormals (negated when `negative`).
template <class T>
void run(const th::Func<T> &f, const std::vector<DazRow> &rows, bool negative, th::MpFn2 ref) {
    const char *fname = f.name.c_str();
    for (const auto &t : f.variants) {
        if (!tsr::tier_runnable(t.tier)) continue;
        int n_true = 0, n_zero = 0;  // which outcome each call gave, for docs/errors.md
        for (const auto &r : rows)
            for (T ax : kSubnormals<T>)
                for (int m = 0; m < 4; ++m) {
                    T x = negative ? -ax : ax;
                    th::ModeGuard g(th::kModes[m].fe);
                    uint32_t saved = mxcsr();
                    set_mxcsr(saved | kDazFtz);
                    T in[2] = {x, T(r.y)}, got;
                    auto o = th::observe([&] { t.call(in, &got); return 0; }).second;
                    set_mxcsr((mxcsr() & 0x3f) | saved);
                    // 2200 bits: enough to tell x - x^2/2 from x at the smallest subnormal.
                    th::Mp a, b, exact(2200);
                    th::set(a, x);
                    th::set(b, T(r.y));
                    bool is_exact = ref(exact, a, b, MPFR_RNDN) == 0;
                    // The true value: correctly rounded in the mode, or within the tiers'
                    // error (1 ulp to nearest, 2 in a directed mode); an exact one raises
                    // nothing.
                    T cr = th::round_to<T>(exact, th::kModes[m].rnd);
                    auto is = [&](const Outcome &w) {
                        if (!std::isnan(w.value))
                            return th::bits_of(got) == th::bits_of(T(w.value)) && o.flags == w.flags &&
                                   o.err == w.err;
                        bool value = th::bits_of(got) == th::bits_of(cr) ||
                                     th::ulp_error(got, exact) <= (m == 0 ? 1.0 : 2.0);
                        // Flags and errno of the true value: inexact unless it is exact,
                        // overflow or underflow where it lies beyond the range (errno
                        // ERANGE or, for a non-zero underflowed result, 0).
                        th::Mp c;
                        th::set(c, cr);
                        bool exact_here = is_exact && mpfr_cmp(c, exact) == 0;
                        int want = exact_here ? 0 : FE_INEXACT;
                        th::Mp mx, mn;
                        th::set(mx, std::numeric_limits<T>::max());
                        th::set(mn, std::numeric_limits<T>::min());
                        bool over = mpfr_cmpabs(exact, mx) > 0;
                        bool under = !exact_here && !mpfr_zero_p(exact) && mpfr_cmpabs(exact, mn) < 0;
                        if (over) want |= FE_OVERFLOW;
                        if (under) want |= FE_UNDERFLOW;
                        bool err_ok = (over || under) ? (o.err == ERANGE || (under && got != 0 && o.err == 0))
                                                      : o.err == w.err;
                        bool flags_ok = o.flags == (w.flags == kTrueFlags ? want : w.flags) ||
                                        (is_exact && o.flags == FE_INEXACT);  // a false inexact is tolerated
                        return value && flags_ok && err_ok;
                    };
                    bool t_ok = is(r.truth), z_ok = is(r.zero);
                    n_true += t_ok;
                    n_zero += z_ok && !t_ok;
                    EXPECT_TRUE(t_ok || z_ok)
                        << fname << "_" << t.name.c_str() << "(" << std::hexfloat << double(x) << ", " << r.y << ") "
                        << th::kModes[m].name << ": got " << double(got) << " " << th::flags_str(o.flags)
                        << " errno " << o.err;
                }
        std::printf("[ DAZ/FTZ  ] %s_%s%s: %d true results, %d results for zero\n", fname, t.name.c_str(),
                    negative ? " (negative x)" : "", n_true, n_zero);
    }
}

// MPFR's one-argument functions under the two-argument signature (y unused).
template <int (*F)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)>
int ref1(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr, mpfr_rnd_t rnd) { return F(r, x, rnd); }

template <class T> void logs(const th::Func<T> &f, th::MpFn2 ref) {
    run<T>(f, {{0, kTrue, {-inf, kDz, ERANGE}}}, false, ref);
    run<T>(f, {{0, {std::numeric_limits<double>::quiet_NaN(), FE_INVALID, EDOM}, {-inf, kDz, ERANGE}}}, true, ref);
}

template <class T> void log1ps(const th::Func<T> &f) {
    run<T>(f, {{0, kTrue, {0.0, 0, 0}}}, false, ref1<mpfr_log1p>);
    run<T>(f, {{0, kTrue, {-0.0, 0, 0}}}, true, ref1<mpfr_log1p>);
}

// e^x and the like at a subnormal x: 1 + x, inexact; for x = 0, exactly 1.
template <class T> void exps(const th::Func<T> &f, th::MpFn2 ref) {
    for (bool negative : {false, true}) run<T>(f, {{0, kTrue, {1.0, 0, 0}}}, negative, ref);
}

// pow(x, y) for a subnormal x: the results for x = +0 are 0^y.
const std::vector<DazRow> kPowRows = {
    {0.5, kTrue, {0.0, 0, 0}},
    {-0.5, kTrue, {inf, kDz, ERANGE}},
    {2, kTrue, {0.0, 0, 0}},
    {-1, kTrue, {inf, kDz, ERANGE}},
    {1, kTrue, {0.0, 0, 0}},
    {0x1p-10, kTrue, {0.0, 0, 0}},
};

}  // namespace

TEST(DenormalsAreZero, LogarithmsOfSubnormals) {
    using th::func;
    logs(func("log", mpfr_log, tsr_tiers_log, tsr_portable_tiers_log).entry(::log), ref1<mpfr_log>);
    logs(func("log2", mpfr_log2, tsr_tiers_log2).entry(::log2), ref1<mpfr_log2>);
    logs(func("log10", mpfr_log10, tsr_tiers_log10, tsr_portable_tiers_log10).entry(::log10), ref1<mpfr_log10>);
    logs(func("logf", mpfr_log, tsr_tiers_logf).entry(::logf), ref1<mpfr_log>);
    logs(func("log2f", mpfr_log2, tsr_tiers_log2f).entry(::log2f), ref1<mpfr_log2>);
    logs(func("log10f", mpfr_log10, tsr_tiers_log10f).entry(::log10f), ref1<mpfr_log10>);
}

TEST(DenormalsAreZero, ExponentialsOfSubnormals) {
    using th::func;
    exps(func("exp", mpfr_exp, tsr_tiers_exp, tsr_portable_tiers_exp).entry(::exp), ref1<mpfr_exp>);
    exps(func("exp2", mpfr_exp2, tsr_tiers_exp2, tsr_portable_tiers_exp2).entry(::exp2), ref1<mpfr_exp2>);
    exps(func("exp10", mpfr_exp10, tsr_tiers_exp10).entry(::exp10), ref1<mpfr_exp10>);
    exps(func("expf", mpfr_exp, tsr_tiers_expf).entry(::expf), ref1<mpfr_exp>);
    exps(func("exp2f", mpfr_exp2, tsr_tiers_exp2f, tsr_portable_tiers_exp2f).entry(::exp2f), ref1<mpfr_exp2>);
    exps(func("exp10f", mpfr_exp10, tsr_tiers_exp10f).entry(::exp10f), ref1<mpfr_exp10>);
}

TEST(DenormalsAreZero, Log1pOfSubnormals) {
    log1ps(th::func("log1p", mpfr_log1p, tsr_tiers_log1p, tsr_portable_tiers_log1p).entry(::log1p));
    log1ps(th::func("log1pf", mpfr_log1p, tsr_tiers_log1pf).entry(::log1pf));
}

TEST(DenormalsAreZero, PowersOfSubnormals) {
    run(th::func("pow", mpfr_pow, tsr_tiers_pow).entry(::pow), kPowRows, false, mpfr_pow);
    run(th::func("powf", mpfr_pow, tsr_tiers_powf).entry(::powf), kPowRows, false, mpfr_pow);
}

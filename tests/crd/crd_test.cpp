// The correctly rounded double exp and log: special values and the edges of every path as rows
// (bits, flags, errno, code in all four modes); random arguments bit for bit against MPFR in
// every mode and tier, with the first phase and with the second phase forced for every
// argument; the hard-to-round arguments of tools/gen/crd_hard.py the same way; and the first
// phase's error, measured on the same arguments, below the margin of its rounding test (so
// that it hands every ambiguous argument on).  The Long label runs millions of arguments.
#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>

#include "harness/harness.h"
#include "tsr/codes.h"

extern "C" {
// The test hook of correct/crd.cpp: bit 0 forces the second phase, bit 1 records H and L.
extern int __libm_crd_test;
extern double __libm_crd_trace[2];
}

namespace {

using namespace th;
namespace code = tsr::code;

Func<double> f_exp() {
    return func("cr_exp", mpfr_exp, tsr_tiers___libm_cr_exp, tsr_portable_tiers___libm_cr_exp).entry(__libm_cr_exp_local);
}
Func<double> f_log() {
    return func("cr_log", mpfr_log, tsr_tiers___libm_cr_log, tsr_portable_tiers___libm_cr_log).entry(__libm_cr_log_local);
}

// The second phase for every argument while alive.
struct Forced {
    Forced() { __libm_crd_test = 1; }
    ~Forced() { __libm_crd_test = 0; }
};

const double kSNaN = f64(0x7ff4000000000000), kNegSNaN = f64(0xfff0000000000001);
std::vector<Row<double>> nans(std::vector<Row<double>> own) {
    std::vector<Row<double>> r = {{NAN, NAN}, {-NAN, NAN}, {kSNaN, NAN, INV}, {kNegSNaN, NAN, INV}};
    r.insert(r.end(), own.begin(), own.end());
    return r;
}
constexpr int EU = ERANGE_IF_ZERO;

std::vector<Row<double>> exp_rows() {
    return nans({
        {0.0, 1.0}, {-0.0, 1.0}, {INFINITY, INFINITY}, {-INFINITY, 0.0},
        // 1 + x below 2^-54, the series up to 2^-30, the first phase from there
        {0x1p-1074, CR, NX, 0, NO_CODE, RN}, {-0x1p-1074, CR, NX, 0, NO_CODE, RN},  // MPFR's 256 bits: nearest only
        {0x1p-1074, 0x1.0000000000001p+0, NX, 0, NO_CODE, RU}, {0x1p-1074, 1.0, NX, 0, NO_CODE, RD | RZ},
        {-0x1p-1074, 0x1.fffffffffffffp-1, NX, 0, NO_CODE, RD | RZ}, {-0x1p-1074, 1.0, NX, 0, NO_CODE, RU},
        {0x1.fffffffffffffp-55, CR, NX}, {-0x1.fffffffffffffp-55, CR, NX},
        {0x1p-54, CR, NX}, {-0x1p-54, CR, NX}, {0x1.0000000000001p-54, CR, NX}, {0x1p-53, CR, NX},
        {0x1.fffffffffffffp-31, CR, NX}, {-0x1.fffffffffffffp-31, CR, NX}, {0x1p-30, CR, NX}, {-0x1p-30, CR, NX},
        {1.0, CR, NX}, {-1.0, CR, NX}, {0x1.62e42fefa39efp-10, CR, NX}, {0x1.62e42fefa39efp-11, CR, NX},
        // the first phase's last arguments (708.39599609375) and the second's from there
        {0x1.6232affffffffp+9, CR, NX}, {-0x1.6232affffffffp+9, CR, NX}, {0x1.6232bp+9, CR, NX},
        {-0x1.6232bp+9, CR, NX}, {708.4, CR, NX}, {709.0, CR, NX},
        {0x1.62e42fefa39efp+9, CR, NX}, {0x1.62e42fefa39f0p+9, CR, OV, ERANGE, code::exp_overflow},
        {0x1p+10, CR, OV, ERANGE, code::exp_overflow}, {0x1.fffffffffffffp+1023, CR, OV, ERANGE, code::exp_overflow},
        // e^x crosses 2^-1022 at -1022 ln 2 = -708.3964185322641
        {-0x1.6232bdd7abcd2p+9, CR, ANY_FLAGS}, {-0x1.6232bdd7abcd3p+9, CR, ANY_FLAGS},
        {-708.5, CR, UN}, {-720.0, CR, UN}, {-740.0, CR, UN}, {-745.0, CR, UN},
        // the least subnormal's neighbourhood: -745.1332191019412 and beyond, code 15
        {-0x1.74910d52d3051p+9, CR, UN}, {-0x1.74910d52d3052p+9, CR, UN, EU, code::exp_underflow},
        {-0x1.74910d52d3053p+9, CR, UN, EU, code::exp_underflow}, {-746.0, CR, UN, EU, code::exp_underflow},
        {-0x1.fffffffffffffp+1023, CR, UN, EU, code::exp_underflow},
        // subnormal results whose scale puts them just below 2^-1022 and far below it
        {-0x1.6232bdd7abcd4p+9, CR, UN}, {-0x1.72b7b6c1d8b00p+9, CR, UN},
    });
}

std::vector<Row<double>> log_rows() {
    return nans({
        {INFINITY, INFINITY}, {1.0, 0.0},
        {0.0, -INFINITY, DZ, ERANGE, code::log_argument_0}, {-0.0, -INFINITY, DZ, ERANGE, code::log_argument_0},
        {-INFINITY, NAN, INV, EDOM, code::log_argument_negative}, {-1.0, NAN, INV, EDOM, code::log_argument_negative},
        {-0x1p-1074, NAN, INV, EDOM, code::log_argument_negative},
        // the scaled path for subnormals, the extremes
        {0x1p-1074, CR, NX}, {0x1.fffffffffffffp-1023, CR, NX}, {0x1p-1022, CR, NX}, {0x1.fffffffffffffp+1023, CR, NX},
        // next to 1 on both sides (N = 0, the near series), the switch of the significand at 17/12
        {0x1.0000000000001p+0, CR, NX}, {0x1.fffffffffffffp-1, CR, NX}, {0x1.0000000000002p+0, CR, NX},
        {0x1.ffffffffffffep-1, CR, NX}, {0x1.016p+0, CR, NX}, {0x1.fc2p-1, CR, NX},
        {0x1.6aaaaaaaaaaaap+0, CR, NX}, {0x1.6aaaaaaaaaaabp+0, CR, NX}, {0x1.6aaaaaaaaaaabp-1, CR, NX},
        {2.0, CR, NX}, {0.5, CR, NX}, {0x1.5bf0a8b145769p+1, CR, NX},
    });
}

TEST(CrdSpecial, Exp) {
    check_rows(f_exp(), exp_rows());
    Forced f;
    check_rows(f_exp(), exp_rows());
}

TEST(CrdSpecial, Log) {
    check_rows(f_log(), log_rows());
    Forced f;
    check_rows(f_log(), log_rows());
}

// ---- random arguments, bit for bit -------------------------------------------------------------
// exp: |x| log-uniform over [2^-60, 746] (both signs); log: positive doubles log-uniform over
// the whole range, a quarter of them uniform near 1.
std::vector<double> exp_args(size_t n, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u(-60, std::log2(746.0));
    std::vector<double> v;
    for (size_t i = 0; i < n; ++i) v.push_back((g() & 1 ? -1 : 1) * std::exp2(u(g)));
    return v;
}
std::vector<double> log_args(size_t n, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u(-1074, 1024), near(0.7, 1.45);
    std::vector<double> v;
    for (size_t i = 0; i < n; ++i) v.push_back(i % 4 == 0 ? near(g) : std::exp2(u(g)));
    return v;
}

std::vector<Row<double>> cr_rows(const std::vector<double> &xs) {
    std::vector<Row<double>> rows;
    for (double x : xs) rows.push_back({x, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE});
    return rows;
}

// n arguments a function, every mode, tier and the entry; then the same with the second phase.
void sample(size_t n, uint64_t seed) {
    check_rows(f_exp(), cr_rows(exp_args(n, seed)));
    check_rows(f_log(), cr_rows(log_args(n, seed + 1)));
    Forced f;
    check_rows(f_exp(), cr_rows(exp_args(n, seed + 2)));
    check_rows(f_log(), cr_rows(log_args(n, seed + 3)));
}

TEST(CrdSample, EveryModeEveryTier) { sample(100000, 11); }

// The second phase's near series (|u| < 2^-6: x within 2^-6 of a power of two, above or below)
// and both sides of its switch to the far series, forced, every mode and tier.
TEST(CrdSample, LogSecondPhaseNearSeries) {
    std::mt19937_64 g(13);
    std::uniform_real_distribution<double> near(-0x1.2p-6, 0x1.2p-6);
    std::uniform_int_distribution<int> scale(-1000, 1000);
    std::vector<double> xs;
    for (int i = 0; i < 20000; ++i) xs.push_back(std::ldexp(1 + near(g), i % 2 ? scale(g) : 0));
    Forced f;
    check_rows(f_log(), cr_rows(xs));
}
TEST(CrdLong, EveryModeEveryTier) { sample(1000000, 101); }

// Flags over regions: inexact always, underflow where the result is tiny, nothing else.
TEST(CrdAccuracy, Flags) {
    Sweep<double> e{f_exp(), {{20000, {0x1p-60, 746.0, Dist::log_uniform, true}}}};
    Sweep<double> l{f_log(), {{20000, {0x1p-1074, 0x1.fffffffffffffp+1023}}, {20000, {0.7, 1.45, Dist::uniform}}}};
    for (auto *s : {&e, &l}) {
        s->bound[0] = 0.5;
        s->bound[1] = s->bound[2] = s->bound[3] = 1.0;
        sweep(*s);
    }
}

// ---- hard-to-round arguments -----------------------------------------------------------------
// tests/crd/crd_hard.txt (written by tools/gen/crd_hard.py): "function bits hardness x" lines.
std::vector<double> hard_args(const std::string &fn) {
    std::vector<double> v;
    FILE *in = std::fopen(TSR_SOURCE_DIR "/tests/crd/crd_hard.txt", "r");
    char name[8], line[160];
    unsigned long long bits;
    while (in && std::fgets(line, sizeof line, in))
        if (std::sscanf(line, "%7s %llx", name, &bits) == 2 && name == fn) v.push_back(f64(bits));
    if (in) std::fclose(in);
    EXPECT_GE(v.size(), 100u) << "hard arguments of " << fn;
    return v;
}

TEST(CrdHard, BitForBit) {
    check_rows(f_exp(), cr_rows(hard_args("exp")));
    check_rows(f_log(), cr_rows(hard_args("log")));
    Forced f;
    check_rows(f_exp(), cr_rows(hard_args("exp")));
    check_rows(f_log(), cr_rows(hard_args("log")));
}

// ---- the first phase's error against its margin ------------------------------------------------
// The rounding test is sound when |H + L - f(x)| stays below its margin: 2^-61 for exp (H in
// [1 - 2^-10, 2 + 2^-9)), 2^-60 of H's binade (at least 2^-61 |H|) for log.  Measured in
// round-to-nearest on the random and hard arguments, every tier, and in the directed modes on
// a quarter of them (z0 and d1 run the steps that need no round-to-nearest in the caller's
// mode); the bound asserted is 2^-1/2 of the margin for exp, 2^-62 |H| for log.
struct PhaseOne {
    double worst = 0, at = 0;
};
template <class Fn>
PhaseOne phase_one(Fn fn, const std::vector<double> &xs, MpFn1 ref, bool relative, int mode) {
    PhaseOne p;
    mpfr_t y, s;
    mpfr_inits2(300, y, s, (mpfr_ptr)nullptr);
    __libm_crd_test = 2;
    for (double x : xs) {
        __libm_crd_trace[0] = __libm_crd_trace[1] = 0;
        std::fesetround(mode);
        fn(x);
        std::fesetround(FE_TONEAREST);
        double h = __libm_crd_trace[0], l = __libm_crd_trace[1];
        if (h == 0) continue;  // a path without the first phase
        // exp's H and L are 2^(j/512) e^r, e^x without its power of two: the power that
        // brings e^x nearest to them is the one
        set(y, x);
        ref(y, y, MPFR_RNDN);
        double e = INFINITY;
        int eh;
        std::frexp(h, &eh);
        long q0 = relative ? 0 : long(mpfr_get_exp(y)) - eh;
        for (long q = q0 - (relative ? 0 : 1); q <= q0 + (relative ? 0 : 1); ++q) {
            mpfr_set_d(s, h, MPFR_RNDN);
            mpfr_add_d(s, s, l, MPFR_RNDN);
            mpfr_mul_2si(s, s, q, MPFR_RNDN);
            mpfr_sub(s, s, y, MPFR_RNDN);
            mpfr_div(s, s, y, MPFR_RNDN);
            // relative to e^x times (H + L): the absolute error at H's scale for exp
            double v = std::fabs(mpfr_get_d(s, MPFR_RNDN)) * (relative ? 1 : std::fabs(h));
            e = std::min(e, v);
        }
        if (e > p.worst) p.worst = e, p.at = x;
    }
    __libm_crd_test = 0;
    mpfr_clears(y, s, (mpfr_ptr)nullptr);
    return p;
}

void first_phase(size_t n) {
    std::vector<double> ex = exp_args(n, 7), lg = log_args(n, 8);
    auto he = hard_args("exp"), hl = hard_args("log");
    ex.insert(ex.end(), he.begin(), he.end());
    lg.insert(lg.end(), hl.begin(), hl.end());
    // near 1 from both sides, where ln x is small and the table's head cancels
    std::mt19937_64 g(9);
    std::uniform_real_distribution<double> u(0.98, 1.02);
    for (size_t i = 0; i < n / 4; ++i) lg.push_back(u(g));
    // just above 1 - 2^-8, where c = 1/2 meets r = -2^-8 and the polynomial's error relative
    // to ln x peaks (2^-62.83 by tools/gen/crd_tables.py)
    std::uniform_real_distribution<double> edge(1 - 0x1p-8, 1 - 0x1p-8 + 0x1p-16);
    for (size_t i = 0; i < n / 16; ++i) lg.push_back(edge(g));
    std::vector<double> ex4, lg4;  // every fourth argument of each kind
    for (size_t i = 0; i < ex.size(); i += 4) ex4.push_back(ex[i]);
    for (size_t i = 0; i < lg.size(); i += 4) lg4.push_back(lg[i]);
    for (int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        bool rn = mode == FE_TONEAREST;
        for_each_tier(tsr_tiers___libm_cr_exp, [&](const auto &t) {
            PhaseOne p = phase_one(t.fn, rn ? ex : ex4, mpfr_exp, false, mode);
            std::printf("[  PHASE 1 ] cr_exp %s, mode %d: max error 2^%.2f at %a (margin 2^-61)\n", t.name, mode,
                        std::log2(p.worst), p.at);
            EXPECT_LE(p.worst, 0x1.6a09e667f3bcdp-62) << t.name << " at " << p.at;  // 2^-61.5
        });
        for_each_tier(tsr_tiers___libm_cr_log, [&](const auto &t) {
            PhaseOne p = phase_one(t.fn, rn ? lg : lg4, mpfr_log, true, mode);
            std::printf("[  PHASE 1 ] cr_log %s, mode %d: max relative error 2^%.2f at %a (margin 2^-60 of H's "
                        "binade)\n", t.name, mode, std::log2(p.worst), p.at);
            EXPECT_LE(p.worst, 0x1p-62) << t.name << " at " << p.at;
        });
    }
}

TEST(CrdFirstPhase, ErrorBelowMargin) { first_phase(200000); }
TEST(CrdLong, FirstPhaseErrorBelowMargin) { first_phase(2000000); }

}  // namespace

// Results that are exactly representable come back exact, without inexact, in every
// rounding mode and tier (and through the public entry): x^1, integer powers of powers of
// two, small integer powers that fit, 2^k, 10^k up to the last exact power, and their
// logarithms.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include "harness/harness.h"
#include "tessera.h"

namespace {

using namespace th;

// (x, y, x^y) with x^y exact.
const std::vector<Row2<double>> kPowExact = {
    {DBL_MAX, 1, DBL_MAX},
    {-DBL_MAX, 1, -DBL_MAX},
    {0x1p-1074, 1, 0x1p-1074},
    {0x1.23456789abcdep-3, 1, 0x1.23456789abcdep-3},
    {-2, 126, 0x1p126},
    {-2, 127, -0x1p127},
    {2, 1023, 0x1p1023},
    {2, -1074, 0x1p-1074},
    {0.5, 1074, 0x1p-1074},
    {4, 511, 0x1p1022},
    {0x1p-537, 2, 0x1p-1074},
    {8, -1, 0.125},
    {0x1p-1022, -1, 0x1p1022},
    {3, 2, 9},
    {-3, 3, -27},
    {1.5, 2, 2.25},
    {-1.5, 3, -3.375},
    {10, 22, 1e22},
    {7, 18, 1628413597910449.0},
    {0x1.fffffp0, 2, 0x1.ffffe000008p+1},
};

const std::vector<Row2<float>> kPowfExact = {
    {FLT_MAX, 1, FLT_MAX},
    {-FLT_MAX, 1, -FLT_MAX},
    {0x1p-149f, 1, 0x1p-149f},
    {0x1.234566p-3f, 1, 0x1.234566p-3f},
    {-2, 126, 0x1p126f},
    {-2, 127, -0x1p127f},
    {2, -149, 0x1p-149f},
    {0.5f, 149, 0x1p-149f},
    {8, -1, 0.125f},
    {3, 2, 9},
    {-3, 3, -27},
    {1.5f, 2, 2.25f},
    {10, 10, 1e10f},
    {0x1.ffp0f, 2, 0x1.fe008p+1f},
};

// Every row in all four modes.
template <class R> std::vector<R> all_modes(std::vector<R> rows) {
    for (auto &r : rows) r.modes = ALL_MODES;
    return rows;
}

// (k, base^k) or (base^k, k) for k = 0 and lo..hi, the powers exact.
template <class T> std::vector<Row<T>> powers(T base, int hi, bool inverse) {
    std::vector<Row<T>> v;
    T p = 1;
    for (int k = 0; k <= hi; ++k, p *= base)
        v.push_back(inverse ? Row<T>{p, T(k), NONE, 0, NO_CODE, ALL_MODES}
                            : Row<T>{T(k), p, NONE, 0, NO_CODE, ALL_MODES});
    return v;
}
// (The ex and e7 tiers of exp2 report their underflow code for the exact subnormal results
// 2^-1074 and 2^-1073, with no flag and no errno: the code is not checked here.)
template <class T> std::vector<Row<T>> two_powers(std::initializer_list<int> ks, bool inverse) {
    std::vector<Row<T>> v;
    for (int k : ks) {
        T p = std::ldexp(T(1), k);
        v.push_back(inverse ? Row<T>{p, T(k), NONE, 0, NO_CODE, ALL_MODES}
                            : Row<T>{T(k), p, NONE, 0, ANY_CODE, ALL_MODES});
    }
    return v;
}
const std::initializer_list<int> kTwoD = {-1074, -1073, -1023, -1022, -1, 0, 1, 52, 1023};
const std::initializer_list<int> kTwoF = {-149, -127, -126, -1, 0, 1, 23, 127};

}  // namespace

TEST(Exact, PowersComeBackExact) {
    check_rows(func("pow", mpfr_pow, tsr_tiers_pow).entry(::pow), all_modes(kPowExact));
    check_rows(func("powf", mpfr_pow, tsr_tiers_powf).entry(::powf), all_modes(kPowfExact));
}

TEST(Exact, ExponentialsAtIntegers) {
    check_rows(func("exp2", mpfr_exp2, tsr_tiers_exp2, tsr_portable_tiers_exp2).entry(::exp2),
               two_powers<double>(kTwoD, false));
    check_rows(func("exp2f", mpfr_exp2, tsr_tiers_exp2f, tsr_portable_tiers_exp2f).entry(::exp2f),
               two_powers<float>(kTwoF, false));
    check_rows(func("exp10", mpfr_exp10, tsr_tiers_exp10).entry(::exp10), powers<double>(10, 22, false));
    check_rows(func("exp10f", mpfr_exp10, tsr_tiers_exp10f).entry(::exp10f), powers<float>(10, 10, false));
}

TEST(Exact, LogarithmsOfExactPowers) {
    check_rows(func("log2", mpfr_log2, tsr_tiers_log2).entry(::log2), two_powers<double>(kTwoD, true));
    check_rows(func("log2f", mpfr_log2, tsr_tiers_log2f).entry(::log2f), two_powers<float>(kTwoF, true));
    check_rows(func("log10", mpfr_log10, tsr_tiers_log10, tsr_portable_tiers_log10).entry(::log10),
               powers<double>(10, 22, true));
    check_rows(func("log10f", mpfr_log10, tsr_tiers_log10f).entry(::log10f), powers<float>(10, 10, true));
}

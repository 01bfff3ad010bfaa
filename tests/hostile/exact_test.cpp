// Results that are exactly representable come back exact, without inexact, in every
// rounding mode and tier: x^1, integer powers of powers of two, small integer powers that
// fit, 2^k, 10^k up to the last exact power, and their logarithms.
#include "hostile.h"

#include <cfloat>

#include "tessera.h"

using hostile::Row;
using hostile::kAllModes;

namespace {

constexpr double kMax = DBL_MAX;
constexpr float kMaxF = FLT_MAX;

// (x, y, x^y) with x^y exact.
const std::vector<Row<double>> kPowExact = {
    {kMax, 1, kAllModes, kMax, 0},
    {-kMax, 1, kAllModes, -kMax, 0},
    {0x1p-1074, 1, kAllModes, 0x1p-1074, 0},
    {0x1.23456789abcdep-3, 1, kAllModes, 0x1.23456789abcdep-3, 0},
    {-2, 126, kAllModes, 0x1p126, 0},
    {-2, 127, kAllModes, -0x1p127, 0},
    {2, 1023, kAllModes, 0x1p1023, 0},
    {2, -1074, kAllModes, 0x1p-1074, 0},
    {0.5, 1074, kAllModes, 0x1p-1074, 0},
    {4, 511, kAllModes, 0x1p1022, 0},
    {0x1p-537, 2, kAllModes, 0x1p-1074, 0},
    {8, -1, kAllModes, 0.125, 0},
    {0x1p-1022, -1, kAllModes, 0x1p1022, 0},
    {3, 2, kAllModes, 9, 0},
    {-3, 3, kAllModes, -27, 0},
    {1.5, 2, kAllModes, 2.25, 0},
    {-1.5, 3, kAllModes, -3.375, 0},
    {10, 22, kAllModes, 1e22, 0},
    {7, 18, kAllModes, 1628413597910449.0, 0},
    {0x1.fffffp0, 2, kAllModes, 0x1.ffffe000008p+1, 0},
};

const std::vector<Row<float>> kPowfExact = {
    {kMaxF, 1, kAllModes, kMaxF, 0},
    {-kMaxF, 1, kAllModes, -kMaxF, 0},
    {0x1p-149f, 1, kAllModes, 0x1p-149f, 0},
    {0x1.234566p-3f, 1, kAllModes, 0x1.234566p-3f, 0},
    {-2, 126, kAllModes, 0x1p126f, 0},
    {-2, 127, kAllModes, -0x1p127f, 0},
    {2, -149, kAllModes, 0x1p-149f, 0},
    {0.5f, 149, kAllModes, 0x1p-149f, 0},
    {8, -1, kAllModes, 0.125f, 0},
    {3, 2, kAllModes, 9, 0},
    {-3, 3, kAllModes, -27, 0},
    {1.5f, 2, kAllModes, 2.25f, 0},
    {10, 10, kAllModes, 1e10f, 0},
    {0x1.ffp0f, 2, kAllModes, 0x1.fe008p+1f, 0},
};

template <class T> std::vector<Row<T>> powers(T base, int lo, int hi, bool inverse) {
    std::vector<Row<T>> v;
    T p = 1;
    v.push_back(inverse ? Row<T>{1, 0, kAllModes, 0, 0} : Row<T>{0, 0, kAllModes, 1, 0});
    for (int k = 1; k <= hi; ++k) {
        p *= base;  // exact while the power fits
        if (k >= lo) v.push_back(inverse ? Row<T>{p, 0, kAllModes, T(k), 0} : Row<T>{T(k), 0, kAllModes, p, 0});
    }
    return v;
}

std::vector<Row<double>> two_powers(bool inverse) {
    std::vector<Row<double>> v;
    for (int k : {-1074, -1073, -1023, -1022, -1, 0, 1, 52, 1023}) {
        double p = std::ldexp(1.0, k);
        v.push_back(inverse ? Row<double>{p, 0, kAllModes, double(k), 0} : Row<double>{double(k), 0, kAllModes, p, 0});
    }
    return v;
}
std::vector<Row<float>> two_powers_f(bool inverse) {
    std::vector<Row<float>> v;
    for (int k : {-149, -127, -126, -1, 0, 1, 23, 127}) {
        float p = std::ldexp(1.0f, k);
        v.push_back(inverse ? Row<float>{p, 0, kAllModes, float(k), 0} : Row<float>{float(k), 0, kAllModes, p, 0});
    }
    return v;
}

}  // namespace

TEST(Exact, PowersComeBackExact) {
    hostile::run2("pow", hostile::tiers(tsr_tiers_pow), kPowExact);
    hostile::run2("powf", hostile::tiers(tsr_tiers_powf), kPowfExact);
}

TEST(Exact, ExponentialsAtIntegers) {
    hostile::run1("exp2", hostile::tiers(tsr_tiers_exp2, tsr_portable_tiers_exp2), two_powers(false));
    hostile::run1("exp2f", hostile::tiers(tsr_tiers_exp2f, tsr_portable_tiers_exp2f), two_powers_f(false));
    hostile::run1("exp10", hostile::tiers(tsr_tiers_exp10), powers<double>(10, 1, 22, false));
    hostile::run1("exp10f", hostile::tiers(tsr_tiers_exp10f), powers<float>(10, 1, 10, false));
}

TEST(Exact, LogarithmsOfExactPowers) {
    hostile::run1("log2", hostile::tiers(tsr_tiers_log2), two_powers(true));
    hostile::run1("log2f", hostile::tiers(tsr_tiers_log2f), two_powers_f(true));
    hostile::run1("log10", hostile::tiers(tsr_tiers_log10, tsr_portable_tiers_log10), powers<double>(10, 1, 22, true));
    hostile::run1("log10f", hostile::tiers(tsr_tiers_log10f), powers<float>(10, 1, 10, true));
}

// pow and powf: the special-value table (every tier and the public entry: result bits,
// flags, errno, the reported code), overflow and underflow in every mode, exact powers and
// NaN payloads as rows; accuracy against MPFR on pairs whose results span the whole range,
// at the boundaries of the algorithm's paths and on random bit patterns.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

namespace {

using namespace th;
namespace code = tsr::code;

const double inf = INFINITY, qn = NAN, sn = snan<double>(), tiny = 0x1p-1074;
const float inff = INFINITY, qnf = NAN;

std::vector<Row2<double>> pow_rows() {
    std::vector<Row2<double>> r = {
        // y = +-0
        {0.0, 0.0, 1.0, NONE, 0, code::pow_0_to_the_power_0}, {-0.0, -0.0, 1.0, NONE, 0, code::pow_0_to_the_power_0},
        {0.0, -0.0, 1.0, NONE, 0, code::pow_0_to_the_power_0},
        {-0.0, 0.0, 1.0, NONE, 0, code::pow_0_to_the_power_0}, {qn, 0.0, 1.0, NONE, 0, code::pow_nan_to_the_power_0},
        {-qn, -0.0, 1.0, NONE, 0, code::pow_nan_to_the_power_0},
        {sn, 0.0, 1.0, INV, 0, code::pow_nan_to_the_power_0}, {inf, 0.0, 1.0, NONE}, {-inf, -0.0, 1.0, NONE},
        {2.5, 0.0, 1.0, NONE}, {tiny, -0.0, 1.0, NONE},
        // x = +1
        {1.0, qn, 1.0, NONE}, {1.0, sn, 1.0, INV}, {1.0, inf, 1.0, NONE},
        {1.0, -inf, 1.0, NONE}, {1.0, 0x1p1023, 1.0, NONE}, {1.0, -tiny, 1.0, NONE},
        // NaN operands
        {qn, 2.0, qn, NONE}, {2.0, qn, qn, NONE}, {sn, 2.0, qn, INV},
        {2.0, sn, qn, INV}, {-1.0, qn, qn, NONE}, {qn, qn, qn, NONE},
        // y infinite
        {-1.0, inf, 1.0, NONE}, {-1.0, -inf, 1.0, NONE},
        {2.0, inf, inf, NONE}, {-2.0, inf, inf, NONE}, {0.5, inf, 0.0, NONE},
        {-0.5, inf, 0.0, NONE}, {0x1.fffffffffffffp-1, inf, 0.0, NONE},
        {0x1.0000000000001p0, inf, inf, NONE}, {tiny, inf, 0.0, NONE},
        {2.0, -inf, 0.0, NONE}, {-inf, -inf, 0.0, NONE}, {0.5, -inf, inf, NONE},
        {-0.5, -inf, inf, NONE}, {inf, inf, inf, NONE}, {0.0, inf, 0.0, NONE},
        {-0.0, inf, 0.0, NONE},
        // x = +-0
        {0.0, -inf, inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {-0.0, -inf, inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {-0.0, -3.0, -inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {0.0, -3.0, inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {-0.0, -4.0, inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {-0.0, -0.5, inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {-0.0, -9007199254740991.0, -inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {-0.0, -9007199254740992.0, inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {-0.0, -0x1p-1074, inf, DZ, EDOM, code::pow_0_to_a_negative_power},
        {-0.0, 3.0, -0.0, NONE}, {-0.0, 4.0, 0.0, NONE}, {-0.0, 0.5, 0.0, NONE},
        {0.0, 3.0, 0.0, NONE}, {-0.0, 9007199254740991.0, -0.0, NONE},
        {-0.0, 0x1p1023, 0.0, NONE},
        // x infinite
        {inf, 2.0, inf, NONE}, {inf, -2.0, 0.0, NONE}, {inf, 0x1p-1074, inf, NONE},
        {-inf, 3.0, -inf, NONE}, {-inf, -3.0, -0.0, NONE}, {-inf, 4.0, inf, NONE},
        {-inf, -4.0, 0.0, NONE}, {-inf, 0.5, inf, NONE}, {-inf, -0.5, 0.0, NONE},
        {-inf, 0x1p60, inf, NONE},
        // negative finite x
        {-8.0, 1.0 / 3.0, qn, INV, EDOM, code::pow_negative_base_non_integer_power},
        {-2.0, 0.5, qn, INV, EDOM, code::pow_negative_base_non_integer_power},
        {-1.0, 0.5, qn, INV, EDOM, code::pow_negative_base_non_integer_power},
        {-0x1p-1074, 1.5, qn, INV, EDOM, code::pow_negative_base_non_integer_power},
        {-0x1.fffffffffffffp1023, -2.5, qn, INV, EDOM, code::pow_negative_base_non_integer_power},
        {-3.0, 4503599627370495.5, qn, INV, EDOM, code::pow_negative_base_non_integer_power},
        {-8.0, 3.0, -512.0, ANY_FLAGS}, {-2.0, 1023.0, -0x1p1023, ANY_FLAGS},
        {-2.0, -1022.0, 0x1p-1022, ANY_FLAGS}, {-3.0, 2.0, 9.0, ANY_FLAGS},
        {-1.0, 9007199254740991.0, -1.0, NONE}, {-1.0, 9007199254740992.0, 1.0, NONE},
        {-1.0, -0x1p1000, 1.0, NONE}, {-1.0, -3.0, -1.0, NONE},
        // over- and underflow, with the sign of an odd power
        {-2.0, 1025.0, -inf, OV, ERANGE, code::pow_overflow}, {2.0, 1024.0, inf, OV, ERANGE, code::pow_overflow},
        {10.0, 400.0, inf, OV, ERANGE, code::pow_overflow},
        {0x1.0000000000001p0, 0x1p62, inf, OV, ERANGE, code::pow_overflow},
        {0.5, -1100.0, inf, OV, ERANGE, code::pow_overflow},
        {0x1p-1074, -2.0, inf, OV, ERANGE, code::pow_overflow},
        {-0x1p-1074, -3.0, -inf, OV, ERANGE, code::pow_overflow},
        {-2.0, -1073.0, -0x1p-1073, NONE}, {2.0, -1074.0, 0x1p-1074, NONE},  // exact: no underflow
        {2.0, -1075.0, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {0.5, 1100.0, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {-0.5, 1101.0, -0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {0x1.fffffffffffffp-1, 0x1p63, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {0x1p-1074, 2.0, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {1e-300, 1e308, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {1e300, 1e308, inf, OV, ERANGE, code::pow_overflow},
        {0.9, 0x1p1023, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {1.1, -0x1p1023, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {0.9, -0x1p1023, inf, OV, ERANGE, code::pow_overflow},
        {1e300, -1e308, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        {1e300, -4.0, 0.0, UN, ERANGE_IF_ZERO, code::pow_underflow},
        // exact and near-exact powers
        {2.0, 10.0, 1024.0, ANY_FLAGS}, {10.0, 22.0, 1e22, ANY_FLAGS}, {0.5, 3.0, 0.125, ANY_FLAGS},
        {4.0, 0.5, 2.0, ANY_FLAGS}, {2.0, -1022.0, 0x1p-1022, ANY_FLAGS},
        {2.0, 1023.0, 0x1p1023, ANY_FLAGS}, {3.0, 3.0, 27.0, ANY_FLAGS},
        // |y log2 x| too small to move 1
        {2.0, 1e-300, 1.0, NX}, {2.0, 0x1p-1074, 1.0, NX},
        {0x1p-1000, -1e-300, 1.0, NX}, {0x1.8p-1000, 0x1p-1050, 1.0, NX},
        // NaN payloads are kept (quieted)
        {th::qnan<double>(), 1.0, th::qnan<double>(), NONE},
        // NaN payloads are kept (quieted)
        {f64(0x7ff8000000012345), 3.0, f64(0x7ff8000000012345), NONE},
        {2.0, f64(0x7ff8000000012345), f64(0x7ff8000000012345), NONE},
        {f64(0x7ff0000000012345), 3.0, f64(0x7ff8000000012345), INV},
        // overflow and underflow give each mode's rounded result, with the sign of an odd power
        {2.0, 1024.0, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE}, {-2.0, 1025.0, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE},
        {2.0, -1075.0, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE}, {-2.0, -1075.0, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE},
        {0.5, 1e5, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE}, {3.0, 1e5, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE},
        // exact in round-to-nearest
        {0x1p-600, 0.5, 0x1p-300, ANY_FLAGS}, {0.25, -1.5, 8.0, ANY_FLAGS},
    };
    for (int k = -1074; k <= 1023; ++k) r.push_back({2.0, double(k), std::ldexp(1.0, k), ANY_FLAGS, ANY_ERRNO, ANY_CODE});
    double p = 1;
    for (int k = 0; k <= 22; ++k, p *= 10) r.push_back({10.0, double(k), p, ANY_FLAGS});
    for (int b = 3; b <= 15; ++b) {
        double q = b;
        for (int k = 2; q * b < 0x1p53; ++k) {
            q *= b;
            r.push_back({double(b), double(k), q, ANY_FLAGS});
            r.push_back({-double(b), double(k), k & 1 ? -q : q, ANY_FLAGS});
        }
    }
    return r;
}

std::vector<Row2<float>> powf_rows() {
    const float sn = snan<float>();
    std::vector<Row2<float>> r = {
        {0.0f, 0.0f, 1.0f, NONE, 0, code::powf_0_to_the_power_0},
        {0.0f, -0.0f, 1.0f, NONE, 0, code::powf_0_to_the_power_0},
        {-0.0f, 0.0f, 1.0f, NONE}, {-0.0f, -0.0f, 1.0f, NONE},  // only +0 reports
        {qnf, 0.0f, 1.0f, NONE, 0, code::powf_nan_to_the_power_0},
        {sn, 0.0f, 1.0f, INV, 0, code::powf_nan_to_the_power_0}, {inff, 0.0f, 1.0f, NONE},
        {1.0f, qnf, 1.0f, NONE}, {1.0f, sn, 1.0f, INV}, {1.0f, -inff, 1.0f, NONE},
        {1.0f, 0x1p100f, 1.0f, NONE},
        {qnf, 2.0f, qnf, NONE}, {2.0f, qnf, qnf, NONE}, {sn, 2.0f, qnf, INV},
        {-1.0f, inff, 1.0f, NONE}, {-1.0f, -inff, 1.0f, NONE},
        {2.0f, inff, inff, NONE}, {0.5f, inff, 0.0f, NONE}, {2.0f, -inff, 0.0f, NONE},
        {-0.5f, -inff, inff, NONE}, {0.0f, -inff, inff, DZ, EDOM, code::powf_0_to_a_negative_power},
        {-0.0f, -3.0f, -inff, DZ, EDOM, code::powf_0_to_a_negative_power},
        {0.0f, -3.0f, inff, DZ, EDOM, code::powf_0_to_a_negative_power},
        {-0.0f, -2.0f, inff, DZ, EDOM, code::powf_0_to_a_negative_power},
        {-0.0f, -0.5f, inff, DZ, EDOM, code::powf_0_to_a_negative_power},
        {-0.0f, -16777215.0f, -inff, DZ, EDOM, code::powf_0_to_a_negative_power},
        {-0.0f, 3.0f, -0.0f, NONE}, {-0.0f, 2.0f, 0.0f, NONE}, {-0.0f, 0.5f, 0.0f, NONE},
        {inff, 2.0f, inff, NONE}, {inff, -2.0f, 0.0f, NONE},
        {-inff, 3.0f, -inff, NONE}, {-inff, -3.0f, -0.0f, NONE}, {-inff, 2.0f, inff, NONE},
        {-inff, -0.5f, 0.0f, NONE},
        {-8.0f, 1.0f / 3.0f, qnf, INV, EDOM, code::powf_negative_base_non_integer_power},
        {-2.0f, 0.5f, qnf, INV, EDOM, code::powf_negative_base_non_integer_power},
        {-3.0f, 8388607.5f, qnf, INV, EDOM, code::powf_negative_base_non_integer_power},
        {-1.0f, 16777215.0f, -1.0f, NONE}, {-1.0f, 16777216.0f, 1.0f, NONE},
        {-8.0f, 3.0f, -512.0f, ANY_FLAGS}, {-2.0f, 127.0f, -0x1p127f, ANY_FLAGS},
        {-2.0f, 129.0f, -inff, OV, ERANGE, code::powf_overflow}, {2.0f, 128.0f, inff, OV, ERANGE, code::powf_overflow},
        {0.5f, -200.0f, inff, OV, ERANGE, code::powf_overflow},
        {0x1.000002p0f, 0x1p40f, inff, OV, ERANGE, code::powf_overflow},
        {2.0f, -149.0f, 0x1p-149f, NONE}, {-2.0f, -149.0f, -0x1p-149f, NONE},  // exact: no underflow
        {2.0f, -150.0f, 0.0f, UN, ERANGE_IF_ZERO, code::powf_underflow},
        {0.5f, 200.0f, 0.0f, UN, ERANGE_IF_ZERO, code::powf_underflow},
        {-0.5f, 201.0f, -0.0f, UN, ERANGE_IF_ZERO, code::powf_underflow},
        {0x1.fffffep-1f, 0x1p40f, 0.0f, UN, ERANGE_IF_ZERO, code::powf_underflow},
        {2.0f, 10.0f, 1024.0f, ANY_FLAGS}, {2.0f, -126.0f, 0x1p-126f, ANY_FLAGS}, {9.0f, 0.5f, 3.0f, ANY_FLAGS},
        {2.0f, 1e-30f, 1.0f, NX}, {3.0f, 0x1p-149f, 1.0f, NX},
        {f32(0x7fc01234), 3.0f, f32(0x7fc01234), NONE}, {2.0f, f32(0x7fc01234), f32(0x7fc01234), NONE},
        {2.0f, 128.0f, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE}, {-2.0f, 129.0f, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE},
        {2.0f, -150.0f, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE}, {-2.0f, -151.0f, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE},
        {3.0f, 1e5f, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE}, {-3.0f, 15.0f, -14348907.0f, ANY_FLAGS},
    };
    for (int k = -149; k <= 127; ++k) r.push_back({2.0f, float(k), std::ldexp(1.0f, k), ANY_FLAGS, ANY_ERRNO, ANY_CODE});
    float p = 1;
    for (int k = 0; k <= 10; ++k, p *= 10) r.push_back({10.0f, float(k), p, ANY_FLAGS});
    return r;
}

// Pairs whose results span the range [2^tlo, 2^thi]: x log-uniform with y chosen to cover
// it, x within a few thousand ulps of 1 with huge y, integer y with either sign of x,
// moderate pairs, and results within 2^-20 of 1.
template <class T> void range_pairs(std::vector<T> &out, size_t n, uint64_t seed) {
    using F = Format<T>;
    const double tlo = F::emin - F::p - 3, thi = F::emax + 3, xlo = F::emin - F::p + 1, xhi = F::emax + 0.99;
    const int maxint = F::emax + 100;
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u01(0.0, 1.0);
    auto logu = [&](double a, double b) { return std::exp2(a + (b - a) * u01(g)); };
    for (size_t i = 0; i < n;) {
        int cls = int(g() % 20);
        double x = 0, y = 0, t = tlo + (thi - tlo) * u01(g);
        if (cls < 7) {
            x = logu(xlo, xhi);
            y = t / std::log2(double(T(x)));
        } else if (cls < 10) {
            double k = std::floor(logu(0, 40)), ulp = std::numeric_limits<T>::epsilon();
            x = g() & 1 ? 1.0 + ulp * k : 1.0 - 0.5 * ulp * k;
            y = t / std::log2(double(T(x)));
        } else if (cls < 15) {
            y = double(int64_t(g() % (2 * maxint + 1)) - maxint);
            x = std::exp2(t / y) * (g() & 1 ? -1 : 1);
        } else if (cls < 18) {
            x = logu(-12, 12);
            y = -40 + 80 * u01(g);
        } else {
            x = logu(-20, 20);
            y = logu(-60, -20) * (g() & 1 ? 1 : -1) / std::log2(double(T(x)));
        }
        T tx = T(x), ty = T(y);
        if (!std::isfinite(tx) || !std::isfinite(ty) || tx == 0 || ty == 0 || tx == 1) continue;
        out.insert(out.end(), {tx, ty});
        ++i;
    }
}

// Path boundaries: y at and beside powers of two for x at and beside the near-1 and table
// edges, and results at and beside 2^-1074, 2^-1022, 2^+-992 and 2^1024; then random bit
// patterns for both operands (zeros, subnormals, infinities and NaNs among them).
template <class T> void edge_pairs(std::vector<T> &out, size_t n, uint64_t seed) {
    const double xs[] = {1.5, 3.0, 0.7, 0x1p-1074, 0x1.8p-1060, 1e-300, 1e300, 0x1.fffffffffffffp1023,
                         1 + 0x1p-30, 1 - 0x1p-30, 0x1.0000000000001p0, 0x1.fffffffffffffp-1,
                         0.96875, std::nextafter(0.96875, 0.0), 1.0625, std::nextafter(1.0625, 0.0),
                         0.75, std::nextafter(0.75, 0.0), 1.029296875, std::nextafter(1.029296875, 2.0),
                         0.998046875, 1.00390625, 0.5, std::nextafter(0.5, 1.0), 2.0, std::nextafter(2.0, 0.0)};
    auto add = [&](double x, double y) {
        T tx = T(x), ty = T(y);
        if (tx != 0 && std::isfinite(tx) && std::isfinite(ty) && ty != 0) out.insert(out.end(), {tx, ty});
    };
    for (double x : xs) {
        for (int e = -60; e <= 64; ++e)
            for (double y0 : {std::ldexp(1.0, e), std::ldexp(1.5, e)})
                for (double y : {y0, std::nextafter(y0, 0.0), std::nextafter(y0, INFINITY)}) add(x, y), add(x, -y);
        double l = std::log2(x);
        if (l == 0) continue;
        for (double t : {1024.0, 1023.99, 992.0, 991.9, -992.0, -1022.0, -1021.9, -1074.0, -1075.0, -1073.5, 126.0,
                         -126.0, -149.0})
            for (int d = -3; d <= 3; ++d) {
                double y = t / l;
                for (int i = 0; i < std::abs(d); ++i) y = std::nextafter(y, d < 0 ? 0.0 : INFINITY);
                add(x, y);
            }
    }
    std::mt19937_64 g(seed);
    using U = std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t>;
    const int sh = Format<T>::p - 1, mid = sizeof(T) == 8 ? 0x3f0 : 0x70, span = sizeof(T) == 8 ? 0x20 : 0x18;
    for (size_t i = 0; i < n; ++i) {
        U bx = U(g()), by = U(g());
        if (i & 1) by = (by & ~(U(sizeof(T) == 8 ? 0x7ff : 0xff) << sh)) | (U(mid + g() % span) << sh);
        out.insert(out.end(), {std::bit_cast<T>(bx), std::bit_cast<T>(by)});
    }
}

template <class T> Sweep<T> pow_plan(Func<T> f, double rn) {
    Sweep<T> s{f, {}};
    s.gen = [](std::vector<T> &out, size_t n, uint64_t seed) {
        range_pairs<T>(out, n, seed);
        edge_pairs<T>(out, 20000, seed + 1);
    };
    s.gen_n = 100000;
    return s.bounds(rn);
}
Sweep<double> plan_pow() { return pow_plan(func("pow", mpfr_pow, tsr_tiers_pow).entry(::pow), 0.55); }
Sweep<float> plan_powf() { return pow_plan(func("powf", mpfr_pow, tsr_tiers_powf).entry(::powf), 0.51); }

}  // namespace

TEST(PowSpecial, Rows) {
    check_rows(plan_pow().f, pow_rows());
    check_rows(plan_powf().f, powf_rows());
}

TEST(PowAccuracy, Pow) { sweep(plan_pow()); }
TEST(PowAccuracy, Powf) { sweep(plan_powf()); }

TEST(PowAccuracyLong, TenMillion) {
    sweep_all<double>({plan_pow()}, 100);
    sweep_all<float>({plan_powf()}, 100);
}

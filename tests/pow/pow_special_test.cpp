// The special-value table of pow and powf in every tier and through the dispatched entry:
// result bits, flags, errno (default error mode) and the reported error code; the
// overflow and underflow results in every rounding mode; NaN payloads.
#include <gtest/gtest.h>

#include <bit>
#include <cerrno>
#include <cfenv>
#include <cmath>
#include <limits>

#include "harness/harness.h"
#include "tessera.h"

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr float inff = std::numeric_limits<float>::infinity();
const double qn = th::qnan<double>();
const float qnf = th::qnan<float>();

// Expected errno in the default mode by the class of the reported code.
int errno_for(int code, double result) {
    switch (code) {
    case 24: case 30: return ERANGE;
    case 25: case 31: return result == 0 ? ERANGE : 0;
    case 27: case 33: case 28: case 34: return EDOM;
    default: return 0;
    }
}

template <class T> struct Row {
    T x, y;
    T want;     // compared by bits; a NaN only by being NaN
    int flags;  // exactly these FE_* flags (FE_INEXACT ignored when `inexact_free`)
    int code;   // reported code, -1 none
};

constexpr int kNone = 0;
constexpr int kInv = FE_INVALID;
constexpr int kDz = FE_DIVBYZERO;
constexpr int kOvf = FE_OVERFLOW | FE_INEXACT;
constexpr int kUnf = FE_UNDERFLOW | FE_INEXACT;
constexpr int kAny = -1;  // a finite computed result: flags not checked beyond these

template <class T, class Fn>
void check_rows(const char *who, Fn fn, const std::vector<Row<T>> &rows) {
    for (const auto &r : rows) {
        auto [got, o] = th::observe([&] { return fn(r.x, r.y); });
        char buf[160];
        std::snprintf(buf, sizeof buf, "%s x=%a y=%a", who, double(r.x), double(r.y));
        if (std::isnan(r.want)) {
            EXPECT_TRUE(std::isnan(got)) << buf << " got " << double(got);
        } else {
            EXPECT_EQ(th::bits_of(got), th::bits_of(r.want)) << buf << " got " << double(got) << " want " << double(r.want);
        }
        if (r.flags != kAny) {
            EXPECT_EQ(o.flags, r.flags) << buf << " flags " << th::flags_str(o.flags) << " want " << th::flags_str(r.flags);
        }
        EXPECT_EQ(o.code, r.code) << buf;
        EXPECT_EQ(o.err, errno_for(r.code, double(r.want))) << buf;
    }
}

std::vector<Row<double>> pow_rows() {
    const double sn = th::snan<double>();
    const double tiny = 0x1p-1074;
    return {
        // y = +-0
        {0.0, 0.0, 1.0, kNone, 26}, {-0.0, -0.0, 1.0, kNone, 26}, {0.0, -0.0, 1.0, kNone, 26},
        {-0.0, 0.0, 1.0, kNone, 26}, {qn, 0.0, 1.0, kNone, 29}, {-qn, -0.0, 1.0, kNone, 29},
        {sn, 0.0, 1.0, kInv, 29}, {inf, 0.0, 1.0, kNone, -1}, {-inf, -0.0, 1.0, kNone, -1},
        {2.5, 0.0, 1.0, kNone, -1}, {tiny, -0.0, 1.0, kNone, -1},
        // x = +1
        {1.0, qn, 1.0, kNone, -1}, {1.0, sn, 1.0, kInv, -1}, {1.0, inf, 1.0, kNone, -1},
        {1.0, -inf, 1.0, kNone, -1}, {1.0, 0x1p1023, 1.0, kNone, -1}, {1.0, -tiny, 1.0, kNone, -1},
        // NaN operands
        {qn, 2.0, qn, kNone, -1}, {2.0, qn, qn, kNone, -1}, {sn, 2.0, qn, kInv, -1},
        {2.0, sn, qn, kInv, -1}, {-1.0, qn, qn, kNone, -1}, {qn, qn, qn, kNone, -1},
        // y infinite
        {-1.0, inf, 1.0, kNone, -1}, {-1.0, -inf, 1.0, kNone, -1},
        {2.0, inf, inf, kNone, -1}, {-2.0, inf, inf, kNone, -1}, {0.5, inf, 0.0, kNone, -1},
        {-0.5, inf, 0.0, kNone, -1}, {0x1.fffffffffffffp-1, inf, 0.0, kNone, -1},
        {0x1.0000000000001p0, inf, inf, kNone, -1}, {tiny, inf, 0.0, kNone, -1},
        {2.0, -inf, 0.0, kNone, -1}, {-inf, -inf, 0.0, kNone, -1}, {0.5, -inf, inf, kNone, -1},
        {-0.5, -inf, inf, kNone, -1}, {inf, inf, inf, kNone, -1}, {0.0, inf, 0.0, kNone, -1},
        {-0.0, inf, 0.0, kNone, -1},
        // x = +-0
        {0.0, -inf, inf, kDz, 27}, {-0.0, -inf, inf, kDz, 27}, {-0.0, -3.0, -inf, kDz, 27},
        {0.0, -3.0, inf, kDz, 27}, {-0.0, -4.0, inf, kDz, 27}, {-0.0, -0.5, inf, kDz, 27},
        {-0.0, -9007199254740991.0, -inf, kDz, 27}, {-0.0, -9007199254740992.0, inf, kDz, 27},
        {-0.0, -0x1p-1074, inf, kDz, 27},
        {-0.0, 3.0, -0.0, kNone, -1}, {-0.0, 4.0, 0.0, kNone, -1}, {-0.0, 0.5, 0.0, kNone, -1},
        {0.0, 3.0, 0.0, kNone, -1}, {-0.0, 9007199254740991.0, -0.0, kNone, -1},
        {-0.0, 0x1p1023, 0.0, kNone, -1},
        // x infinite
        {inf, 2.0, inf, kNone, -1}, {inf, -2.0, 0.0, kNone, -1}, {inf, 0x1p-1074, inf, kNone, -1},
        {-inf, 3.0, -inf, kNone, -1}, {-inf, -3.0, -0.0, kNone, -1}, {-inf, 4.0, inf, kNone, -1},
        {-inf, -4.0, 0.0, kNone, -1}, {-inf, 0.5, inf, kNone, -1}, {-inf, -0.5, 0.0, kNone, -1},
        {-inf, 0x1p60, inf, kNone, -1},
        // negative finite x
        {-8.0, 1.0 / 3.0, qn, kInv, 28}, {-2.0, 0.5, qn, kInv, 28}, {-1.0, 0.5, qn, kInv, 28},
        {-0x1p-1074, 1.5, qn, kInv, 28}, {-0x1.fffffffffffffp1023, -2.5, qn, kInv, 28},
        {-3.0, 4503599627370495.5, qn, kInv, 28},
        {-8.0, 3.0, -512.0, kAny, -1}, {-2.0, 1023.0, -0x1p1023, kAny, -1},
        {-2.0, -1022.0, 0x1p-1022, kAny, -1}, {-3.0, 2.0, 9.0, kAny, -1},
        {-1.0, 9007199254740991.0, -1.0, kNone, -1}, {-1.0, 9007199254740992.0, 1.0, kNone, -1},
        {-1.0, -0x1p1000, 1.0, kNone, -1}, {-1.0, -3.0, -1.0, kNone, -1},
        // over- and underflow, with the sign of an odd power
        {-2.0, 1025.0, -inf, kOvf, 24}, {2.0, 1024.0, inf, kOvf, 24}, {10.0, 400.0, inf, kOvf, 24},
        {0x1.0000000000001p0, 0x1p62, inf, kOvf, 24}, {0.5, -1100.0, inf, kOvf, 24},
        {0x1p-1074, -2.0, inf, kOvf, 24}, {-0x1p-1074, -3.0, -inf, kOvf, 24},
        // (exact subnormal powers do not underflow)
        {-2.0, -1073.0, -0x1p-1073, kNone, -1}, {2.0, -1074.0, 0x1p-1074, kNone, -1},
        {2.0, -1075.0, 0.0, kUnf, 25}, {0.5, 1100.0, 0.0, kUnf, 25}, {-0.5, 1101.0, -0.0, kUnf, 25},
        {0x1.fffffffffffffp-1, 0x1p63, 0.0, kUnf, 25}, {0x1p-1074, 2.0, 0.0, kUnf, 25},
        {1e-300, 1e308, 0.0, kUnf, 25}, {1e300, 1e308, inf, kOvf, 24}, {0.9, 0x1p1023, 0.0, kUnf, 25},
        {1.1, -0x1p1023, 0.0, kUnf, 25}, {0.9, -0x1p1023, inf, kOvf, 24}, {1e300, -1e308, 0.0, kUnf, 25},
        {1e300, -4.0, 0.0, kUnf, 25},
        // exact and near-exact powers
        {2.0, 10.0, 1024.0, kAny, -1}, {10.0, 22.0, 1e22, kAny, -1}, {0.5, 3.0, 0.125, kAny, -1},
        {4.0, 0.5, 2.0, kAny, -1}, {2.0, -1022.0, 0x1p-1022, kAny, -1},
        {2.0, 1023.0, 0x1p1023, kAny, -1}, {3.0, 3.0, 27.0, kAny, -1},
        // |y log2 x| too small to move 1
        {2.0, 1e-300, 1.0, FE_INEXACT, -1}, {2.0, 0x1p-1074, 1.0, FE_INEXACT, -1},
        {0x1p-1000, -1e-300, 1.0, FE_INEXACT, -1}, {0x1.8p-1000, 0x1p-1050, 1.0, FE_INEXACT, -1},
        // NaN payloads are kept (quieted)
        {th::qnan<double>(), 1.0, th::qnan<double>(), kNone, -1},
    };
}

std::vector<Row<float>> powf_rows() {
    const float sn = th::snan<float>();
    return {
        {0.0f, 0.0f, 1.0f, kNone, 32}, {0.0f, -0.0f, 1.0f, kNone, 32},
        {-0.0f, 0.0f, 1.0f, kNone, -1}, {-0.0f, -0.0f, 1.0f, kNone, -1},  // only +0 reports
        {qnf, 0.0f, 1.0f, kNone, 35}, {sn, 0.0f, 1.0f, kInv, 35}, {inff, 0.0f, 1.0f, kNone, -1},
        {1.0f, qnf, 1.0f, kNone, -1}, {1.0f, sn, 1.0f, kInv, -1}, {1.0f, -inff, 1.0f, kNone, -1},
        {1.0f, 0x1p100f, 1.0f, kNone, -1},
        {qnf, 2.0f, qnf, kNone, -1}, {2.0f, qnf, qnf, kNone, -1}, {sn, 2.0f, qnf, kInv, -1},
        {-1.0f, inff, 1.0f, kNone, -1}, {-1.0f, -inff, 1.0f, kNone, -1},
        {2.0f, inff, inff, kNone, -1}, {0.5f, inff, 0.0f, kNone, -1}, {2.0f, -inff, 0.0f, kNone, -1},
        {-0.5f, -inff, inff, kNone, -1}, {0.0f, -inff, inff, kDz, 33},
        {-0.0f, -3.0f, -inff, kDz, 33}, {0.0f, -3.0f, inff, kDz, 33}, {-0.0f, -2.0f, inff, kDz, 33},
        {-0.0f, -0.5f, inff, kDz, 33}, {-0.0f, -16777215.0f, -inff, kDz, 33},
        {-0.0f, 3.0f, -0.0f, kNone, -1}, {-0.0f, 2.0f, 0.0f, kNone, -1}, {-0.0f, 0.5f, 0.0f, kNone, -1},
        {inff, 2.0f, inff, kNone, -1}, {inff, -2.0f, 0.0f, kNone, -1},
        {-inff, 3.0f, -inff, kNone, -1}, {-inff, -3.0f, -0.0f, kNone, -1}, {-inff, 2.0f, inff, kNone, -1},
        {-inff, -0.5f, 0.0f, kNone, -1},
        {-8.0f, 1.0f / 3.0f, qnf, kInv, 34}, {-2.0f, 0.5f, qnf, kInv, 34}, {-3.0f, 8388607.5f, qnf, kInv, 34},
        {-1.0f, 16777215.0f, -1.0f, kNone, -1}, {-1.0f, 16777216.0f, 1.0f, kNone, -1},
        {-8.0f, 3.0f, -512.0f, kAny, -1}, {-2.0f, 127.0f, -0x1p127f, kAny, -1},
        {-2.0f, 129.0f, -inff, kOvf, 30}, {2.0f, 128.0f, inff, kOvf, 30}, {0.5f, -200.0f, inff, kOvf, 30},
        {0x1.000002p0f, 0x1p40f, inff, kOvf, 30},
        {2.0f, -149.0f, 0x1p-149f, kNone, -1}, {-2.0f, -149.0f, -0x1p-149f, kNone, -1},  // exact: no underflow
        {2.0f, -150.0f, 0.0f, kUnf, 31}, {0.5f, 200.0f, 0.0f, kUnf, 31}, {-0.5f, 201.0f, -0.0f, kUnf, 31},
        {0x1.fffffep-1f, 0x1p40f, 0.0f, kUnf, 31},
        {2.0f, 10.0f, 1024.0f, kAny, -1}, {2.0f, -126.0f, 0x1p-126f, kAny, -1}, {9.0f, 0.5f, 3.0f, kAny, -1},
        {2.0f, 1e-30f, 1.0f, FE_INEXACT, -1}, {3.0f, 0x1p-149f, 1.0f, FE_INEXACT, -1},
    };
}

}  // namespace

TEST(PowSpecial, TableEveryTier) {
    auto rows = pow_rows();
    th::for_each_tier(tsr_tiers_pow, [&](const auto &t) { check_rows(t.name, t.fn, rows); });
    check_rows<double>("pow", [](double x, double y) { return pow(x, y); }, rows);
}

TEST(PowSpecial, FloatTableEveryTier) {
    auto rows = powf_rows();
    th::for_each_tier(tsr_tiers_powf, [&](const auto &t) { check_rows(t.name, t.fn, rows); });
    check_rows<float>("powf", [](float x, float y) { return powf(x, y); }, rows);
}

// Overflow and underflow give the rounded result of each mode, with the sign of an odd
// power of a negative base.
TEST(PowSpecial, ExtremesInEveryMode) {
    const double M = 0x1.fffffffffffffp1023, t = 0x1p-1074;
    struct E { double x, y, rn, ru, rd, rz; };
    const E es[] = {
        {2.0, 1024.0, inf, inf, M, M},
        {-2.0, 1025.0, -inf, -M, -inf, -M},
        {2.0, -1075.0, 0.0, t, 0.0, 0.0},
        {-2.0, -1075.0, -0.0, -0.0, -t, -0.0},
        {0.5, 1e5, 0.0, t, 0.0, 0.0},
        {3.0, 1e5, inf, inf, M, M},
    };
    for (const auto &e : es) {
        const double want[4] = {e.rn, e.ru, e.rd, e.rz};
        th::for_each_tier(tsr_tiers_pow, [&](const auto &tf) {
            for (int m = 0; m < 4; ++m) {
                double r;
                {
                    th::ModeGuard g(th::kModes[m].fe);
                    r = tf.fn(e.x, e.y);
                }
                EXPECT_EQ(th::bits_of(r), th::bits_of(want[m]))
                    << tf.name << " " << th::kModes[m].name << " x=" << e.x << " y=" << e.y << " got " << r;
            }
        });
    }
    const float Mf = 0x1.fffffep127f, tf0 = 0x1p-149f;
    struct F { float x, y, rn, ru, rd, rz; };
    const F fs[] = {
        {2.0f, 128.0f, inff, inff, Mf, Mf},
        {-2.0f, 129.0f, -inff, -Mf, -inff, -Mf},
        {2.0f, -150.0f, 0.0f, tf0, 0.0f, 0.0f},
        {-2.0f, -151.0f, -0.0f, -0.0f, -tf0, -0.0f},
        {3.0f, 1e5f, inff, inff, Mf, Mf},
    };
    for (const auto &e : fs) {
        const float want[4] = {e.rn, e.ru, e.rd, e.rz};
        th::for_each_tier(tsr_tiers_powf, [&](const auto &tf) {
            for (int m = 0; m < 4; ++m) {
                float r;
                {
                    th::ModeGuard g(th::kModes[m].fe);
                    r = tf.fn(e.x, e.y);
                }
                EXPECT_EQ(th::bits_of(r), th::bits_of(want[m]))
                    << tf.name << " " << th::kModes[m].name << " x=" << e.x << " y=" << e.y << " got " << r;
            }
        });
    }
}

// A NaN operand comes back with its payload (quieted).
TEST(PowSpecial, NanPayloads) {
    const double xn = std::bit_cast<double>(0x7ff8000000012345ull);
    const double sx = std::bit_cast<double>(0x7ff0000000012345ull);
    th::for_each_tier(tsr_tiers_pow, [&](const auto &t) {
        EXPECT_EQ(th::bits_of(t.fn(xn, 3.0)), 0x7ff8000000012345ull) << t.name;
        EXPECT_EQ(th::bits_of(t.fn(2.0, xn)), 0x7ff8000000012345ull) << t.name;
        EXPECT_EQ(th::bits_of(t.fn(sx, 3.0)), 0x7ff8000000012345ull) << t.name;
    });
    const float fn = std::bit_cast<float>(0x7fc01234u);
    th::for_each_tier(tsr_tiers_powf, [&](const auto &t) {
        EXPECT_EQ(th::bits_of(t.fn(fn, 3.0f)), 0x7fc01234u) << t.name;
        EXPECT_EQ(th::bits_of(t.fn(2.0f, fn)), 0x7fc01234u) << t.name;
    });
}

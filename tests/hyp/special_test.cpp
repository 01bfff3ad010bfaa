// Special values, thresholds and their neighbours, tier by tier: result bits, flags, the
// reported code and errno.  CR rows are checked in all four rounding modes against MPFR's
// correctly rounded value, CRN rows in round-to-nearest, BITS rows in all four modes.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "harness/harness.h"

namespace {

// OVF: an overflow beyond MPFR's own range: ±inf, or ±DBL_MAX (FLT_MAX) where the mode
// rounds toward zero; `want` gives the sign.
enum Kind { BITS, CR, CRN, QNAN, OVF };
constexpr int OV = FE_OVERFLOW | FE_INEXACT, UN = FE_UNDERFLOW | FE_INEXACT, NX = FE_INEXACT, NONE = 0;

template <class T>
struct Row {
    std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t> x;
    Kind kind;
    std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t> want;  // BITS only
    int flags;
    int code;  // the code reported, or -1
    bool ex_only = false;  // a threshold of the ex body: checked in tier ex only
};

template <class T, class Fn, size_t N, size_t M>
void check(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], th::MpFn1 ref, const Row<T> (&rows)[M]) {
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        for (const Row<T> &r : rows) {
            if (r.ex_only && !(t.name[0] == 'e' && t.name[1] == 'x')) continue;
            T x = std::bit_cast<T>(r.x);
            for (const th::Mode &m : th::kModes) {
                if (r.kind == CRN && m.fe != FE_TONEAREST) continue;
                th::ModeGuard g(m.fe);
                auto [y, o] = th::observe([&] { return t.fn(x); });
                char where[96];
                std::snprintf(where, sizeof where, "%s %s %s x = %a", fname, t.name, m.name, double(x));
                if (r.kind == QNAN) {
                    EXPECT_TRUE(y != y) << where;
                } else {
                    T want = std::bit_cast<T>(r.want);
                    if (r.kind == OVF) {
                        bool neg = std::signbit(want);
                        bool tz = m.fe == FE_TOWARDZERO || m.fe == (neg ? FE_UPWARD : FE_DOWNWARD);
                        want = tz ? std::copysign(std::numeric_limits<T>::max(), want) : want;
                    } else if (r.kind != BITS) {
                        th::Mp e;
                        th::ref(e, ref, x);
                        want = th::round_to<T>(e, m.rnd);
                    }
                    EXPECT_EQ(th::bits_of(y), th::bits_of(want)) << where << std::hexfloat << " got " << y;
                }
                EXPECT_EQ(o.flags, r.flags) << where << " flags " << th::flags_str(o.flags);
                EXPECT_EQ(o.code, r.code) << where;
                EXPECT_EQ(o.err, r.code >= 0 ? ERANGE : 0) << where;
            }
        }
    });
}

// NaNs of both signs, quiet and signalling, pass through (the signalling ones raise invalid).
#define NANS_D                                                                               \
    {0x7ff8000000000000, QNAN, 0, NONE, -1}, {0xfff8000000000000, QNAN, 0, NONE, -1},       \
    {0x7ff4000000000000, QNAN, 0, FE_INVALID, -1}, {0xfff0000000000001, QNAN, 0, FE_INVALID, -1}
#define NANS_F                                                                        \
    {0x7fc00000u, QNAN, 0, NONE, -1}, {0xffc00000u, QNAN, 0, NONE, -1},               \
    {0x7fa00000u, QNAN, 0, FE_INVALID, -1}, {0xff800001u, QNAN, 0, FE_INVALID, -1}

const Row<double> kSinh[] = {
    NANS_D,
    {0, BITS, 0, NONE, -1}, {0x8000000000000000, BITS, 0x8000000000000000, NONE, -1},
    {0x7ff0000000000000, BITS, 0x7ff0000000000000, NONE, -1},
    {0xfff0000000000000, BITS, 0xfff0000000000000, NONE, -1},
    {0x0000000000000001, CRN, 0, UN, -1}, {0x800fffffffffffff, CRN, 0, UN, -1},  // subnormal
    {0x0010000000000000, CRN, 0, NX, -1}, {0xbc00000000000000, CRN, 0, NX, -1},
    {0x3c60000000000000, CRN, 0, NX, -1}, {0x3f947ae147ae147b, CRN, 0, NX, -1},  // 2^-57, 0.02
    {0x3fd7000000000000, CRN, 0, NX, -1}, {0xbfd6ffffffffffff, CRN, 0, NX, -1},  // l9 band start
    {0x4036dfb500000000, CRN, 0, NX, -1}, {0x4083ffffffffffff, CRN, 0, NX, -1},  // one-sided, 640-
    {0x4084000000000000, CRN, 0, NX, -1},
    {0x408633ce8fb9f87d, CR, 0, NX, -1}, {0xc08633ce8fb9f87d, CR, 0, NX, -1},  // largest finite
    {0x408633ce8fb9f87e, CR, 0, OV, 127}, {0xc08633ce8fb9f87e, CR, 0, OV, 127},  // overflow, signed
    {0x7fefffffffffffff, OVF, 0x7ff0000000000000, OV, 127}, {0xffefffffffffffff, OVF, 0xfff0000000000000, OV, 127},
};

const Row<double> kCosh[] = {
    NANS_D,
    {0, BITS, 0x3ff0000000000000, NONE, -1}, {0x8000000000000000, BITS, 0x3ff0000000000000, NONE, -1},
    {0x7ff0000000000000, BITS, 0x7ff0000000000000, NONE, -1},
    {0xfff0000000000000, BITS, 0x7ff0000000000000, NONE, -1},
    {0x0000000000000001, CRN, 0, NX, -1}, {0xbc00000000000000, CRN, 0, NX, -1},
    {0x3e60000000000000, CRN, 0, NX, -1}, {0x3f847ae147ae147b, CRN, 0, NX, -1},
    {0x3fd7000000000000, CRN, 0, NX, -1}, {0x4036dfb500000000, CRN, 0, NX, -1},
    {0x4083ffffffffffff, CRN, 0, NX, -1}, {0x4084000000000000, CRN, 0, NX, -1},
    {0x408633ce8fb9f87d, CR, 0, NX, -1}, {0xc08633ce8fb9f87d, CR, 0, NX, -1},
    {0x408633ce8fb9f87e, CR, 0, OV, 64}, {0xc08633ce8fb9f87e, CR, 0, OV, 64},
    {0xffefffffffffffff, OVF, 0x7ff0000000000000, OV, 64},
};

const Row<double> kTanh[] = {
    NANS_D,
    {0, BITS, 0, NONE, -1}, {0x8000000000000000, BITS, 0x8000000000000000, NONE, -1},
    {0x7ff0000000000000, BITS, 0x3ff0000000000000, NONE, -1},  // exact: no inexact
    {0xfff0000000000000, BITS, 0xbff0000000000000, NONE, -1},
    {0x7fefffffffffffff, CRN, 0, NX, -1}, {0xc7f0000000000000, CRN, 0, NX, -1},
    {0x0000000000000001, CRN, 0, UN, -1}, {0x800fffffffffffff, CRN, 0, UN, -1},
    {0x37f306ff00000000, CRN, 0, NX, -1}, {0x37f306fe00000000, CRN, 0, NX, -1},  // l9 band start
    {0x3fc7ffffffffffff, CRN, 0, NX, -1}, {0x3fc8000000000000, CRN, 0, NX, -1},  // pieces 0, 1
    {0x40146666ffffffff, CRN, 0, NX, -1}, {0x4014666700000000, CRN, 0, NX, -1},  // 5.1
    // Around 19.0615474653985, where tanh crosses 1 - 2^-54: below it the result is 1 - 2^-53.
    // Directed rows beyond tier ex are positive: tier l9 rounds the magnitude before the sign
    // goes on, and the quotient of tier e7 is within an ulp, not correctly rounded, next to 1.
    {0x40330fc100000000, CR, 0, NX, -1, true}, {0x40330fc1ffffffff, CR, 0, NX, -1, true},
    {0xc0330fc200000000, CR, 0, NX, -1, true}, {0x40330fc0ffffffff, CR, 0, NX, -1, true},
    {0xc0330fc0ffffffff, CRN, 0, NX, -1}, {0x40330fd000000000, CR, 0, NX, -1},
    {0x4037ffffffffffff, CR, 0, NX, -1}, {0x4038000000000000, CR, 0, NX, -1},  // 24: piece 15
    {0x4040000000000000, CR, 0, NX, -1}, {0xc040000000000000, CRN, 0, NX, -1},
    {0x47efffffffffffff, CRN, 0, NX, -1},
};

const Row<float> kSinhf[] = {
    NANS_F,
    {0u, BITS, 0u, NONE, -1}, {0x80000000u, BITS, 0x80000000u, NONE, -1},
    {0x7f800000u, BITS, 0x7f800000u, NONE, -1}, {0xff800000u, BITS, 0xff800000u, NONE, -1},
    {0x00000001u, CRN, 0, UN, -1}, {0x807fffffu, CRN, 0, UN, -1},
    {0x00800000u, CRN, 0, NX, -1}, {0xb1ffffffu, CRN, 0, NX, -1}, {0x32000000u, CRN, 0, NX, -1},
    {0x3eb7ffffu, CRN, 0, NX, -1}, {0x3eb80000u, CRN, 0, NX, -1}, {0x42400000u, CRN, 0, NX, -1},
    {0x42b2d4fbu, CRN, 0, NX, -1}, {0x42b2d4fcu, CRN, 0, NX, -1}, {0xc2b2d4fcu, CRN, 0, NX, -1},
    {0x42b2d4fdu, CR, 0, OV, 128}, {0xc2b2d4fdu, CR, 0, OV, 128}, {0xff7fffffu, OVF, 0xff800000u, OV, 128},
};

const Row<float> kCoshf[] = {
    NANS_F,
    {0u, BITS, 0x3f800000u, NONE, -1}, {0x80000000u, BITS, 0x3f800000u, NONE, -1},
    {0x7f800000u, BITS, 0x7f800000u, NONE, -1}, {0xff800000u, BITS, 0x7f800000u, NONE, -1},
    {0x00000001u, CRN, 0, NX, -1}, {0xb0000000u, CRN, 0, NX, -1},
    {0x3e000000u, CRN, 0, NX, -1}, {0x3eb80000u, CRN, 0, NX, -1}, {0x42400000u, CRN, 0, NX, -1},
    {0x42b2d4fcu, CRN, 0, NX, -1}, {0xc2b2d4fcu, CRN, 0, NX, -1},
    {0x42b2d4fdu, CR, 0, OV, 65}, {0xc2b2d4fdu, CR, 0, OV, 65}, {0x7f7fffffu, OVF, 0x7f800000u, OV, 65},
};

const Row<float> kTanhf[] = {
    NANS_F,
    {0u, BITS, 0u, NONE, -1}, {0x80000000u, BITS, 0x80000000u, NONE, -1},
    {0x7f800000u, BITS, 0x3f800000u, NONE, -1}, {0xff800000u, BITS, 0xbf800000u, NONE, -1},
    {0x7f7fffffu, CRN, 0, NX, -1}, {0xc1800000u, CR, 0, NX, -1}, {0x41200000u, CR, 0, NX, -1},
    {0x00000001u, CRN, 0, UN, -1}, {0x807fffffu, CRN, 0, UN, -1}, {0x00800000u, CRN, 0, NX, -1},
    {0x3de00000u, CRN, 0, NX, -1}, {0x3e000000u, CRN, 0, NX, -1}, {0x411fffffu, CRN, 0, NX, -1},
};

}  // namespace

TEST(HypSpecial, Sinh) { check("sinh", tsr_tiers_sinh, mpfr_sinh, kSinh); }
TEST(HypSpecial, Cosh) { check("cosh", tsr_tiers_cosh, mpfr_cosh, kCosh); }
TEST(HypSpecial, Tanh) { check("tanh", tsr_tiers_tanh, mpfr_tanh, kTanh); }
TEST(HypSpecial, Sinhf) { check("sinhf", tsr_tiers_sinhf, mpfr_sinh, kSinhf); }
TEST(HypSpecial, Coshf) { check("coshf", tsr_tiers_coshf, mpfr_cosh, kCoshf); }
TEST(HypSpecial, Tanhf) { check("tanhf", tsr_tiers_tanhf, mpfr_tanh, kTanhf); }

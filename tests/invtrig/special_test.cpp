// Special values, region ends and the quadrant rule: result bits, flags, errno and the reported
// code, tier by tier (the AVX-512 tiers in their portable build too).  Rows of kind CR are
// checked in all four modes against MPFR's correctly rounded value (they sit where the result
// is far from a rounding boundary); CRN rows in nearest only.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <string>

#include "harness/harness.h"
#include "tessera.h"

namespace {

enum Kind { BITS, CR, CRN, QNAN };
constexpr int NX = FE_INEXACT, UN = FE_UNDERFLOW | FE_INEXACT, IV = FE_INVALID, NONE = 0;
constexpr int EDOM_ = EDOM;

template <class T>
using B = std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t>;

// One row: the operands' bits (y, x for atan2), what is wanted, the flags, the code (-1: none).
template <class T>
struct Row {
    B<T> a, b;
    Kind kind;
    B<T> want;
    int flags, code;
};

template <class T> T val(B<T> v) { return std::bit_cast<T>(v); }

template <class T, class Call>
void check_row(const std::string &where0, const Row<T> &r, th::MpFn1 f1, th::MpFn2 f2, Call call) {
    for (const th::Mode &m : th::kModes) {
        if (r.kind != CR && r.kind != QNAN && m.fe != FE_TONEAREST) continue;
        if (r.kind == QNAN && m.fe != FE_TONEAREST) continue;
        th::ModeGuard g(m.fe);
        auto [y, o] = th::observe(call);
        char buf[96];
        std::snprintf(buf, sizeof buf, " %s (%a, %a)", m.name, double(val<T>(r.a)), double(val<T>(r.b)));
        std::string where = where0 + buf;
        if (r.kind == QNAN) {
            EXPECT_TRUE(y != y) << where;
        } else {
            T want = val<T>(r.want);
            if (r.kind != BITS) {
                th::Mp e;
                if (f2) th::ref(e, f2, val<T>(r.a), val<T>(r.b));
                else th::ref(e, f1, val<T>(r.a));
                want = th::round_to<T>(e, m.rnd);
            }
            EXPECT_EQ(th::bits_of(y), th::bits_of(want)) << where << std::hexfloat << " got " << y << " want " << want;
        }
        EXPECT_EQ(o.flags, r.flags) << where << " flags " << th::flags_str(o.flags);
        EXPECT_EQ(o.code, r.code) << where;
        EXPECT_EQ(o.err, r.code >= 0 ? EDOM_ : 0) << where;
    }
}

template <class T, class Fn, size_t N, size_t M>
void check1(const char *name, const tsr::TierFn<Fn> (&tiers)[N], th::MpFn1 f, const Row<T> (&rows)[M]) {
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        for (const Row<T> &r : rows)
            check_row<T>(std::string(name) + " " + t.name, r, f, nullptr, [&] { return t.fn(val<T>(r.a)); });
    });
}
template <class T, class Fn, size_t N, size_t M>
void check2(const char *name, const tsr::TierFn<Fn> (&tiers)[N], const Row<T> (&rows)[M]) {
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        for (const Row<T> &r : rows)
            check_row<T>(std::string(name) + " " + t.name, r, nullptr, mpfr_atan2,
                         [&] { return t.fn(val<T>(r.a), val<T>(r.b)); });
    });
}

// ---- double ------------------------------------------------------------------------------
constexpr uint64_t kZ = 0, kNZ = 0x8000000000000000, kOne = 0x3ff0000000000000, kNOne = 0xbff0000000000000,
                   kInf = 0x7ff0000000000000, kNInf = 0xfff0000000000000, kQ = 0x7ff8000000000000,
                   kS = 0x7ff4000000000000, kNS = 0xfff0000000000001, kPi = 0x400921fb54442d18,
                   kNPi = 0xc00921fb54442d18, kPio2 = 0x3ff921fb54442d18, kNPio2 = 0xbff921fb54442d18,
                   kBelow1 = 0x3fefffffffffffff, kMinSub = 1, kMinNorm = 0x0010000000000000;

// Shared by acos and asin: NaNs, and the region ends.
#define ARC_COMMON                                                                            \
    {kQ, 0, QNAN, 0, NONE, -1}, {kS, 0, QNAN, 0, IV, -1}, {kNS, 0, QNAN, 0, IV, -1},          \
    {kBelow1, 0, CR, 0, NX, -1}, {0xbfefffffffffffff, 0, CRN, 0, NX, -1},                       \
    {0x3fe6c00000000000, 0, CR, 0, NX, -1}, {0x3fe6bfffffffffff, 0, CR, 0, NX, -1},           \
    {0xbfe6c00000000000, 0, CRN, 0, NX, -1}, {0x3f68000000000000, 0, CR, 0, NX, -1},           \
    {0x3f67ffffffffffff, 0, CR, 0, NX, -1}, {0x3e50000000000000, 0, CR, 0, NX, -1},           \
    {0x3e4fffffffffffff, 0, CR, 0, NX, -1}, {0x3fe0000000000000, 0, CR, 0, NX, -1}

const Row<double> kAcos[] = {
    ARC_COMMON,
    {kOne, 0, BITS, kZ, NONE, -1},                      // exactly +0
    {kNOne, 0, CR, 0, NX, -1},                          // pi, rounded
    {kZ, 0, CR, 0, NX, -1}, {kNZ, 0, CR, 0, NX, -1},    // pi/2
    {kMinSub, 0, CR, 0, NX, -1},                        // pi/2, no underflow
    {0x3ff0000000000001, 0, QNAN, 0, IV, 58}, {0x4000000000000000, 0, QNAN, 0, IV, 58},
    {kInf, 0, QNAN, 0, IV, 58}, {kNInf, 0, QNAN, 0, IV, 58},
};
const Row<double> kAsin[] = {
    ARC_COMMON,
    {kOne, 0, CR, 0, NX, -1}, {kNOne, 0, CR, 0, NX, -1},  // ±pi/2
    {kZ, 0, BITS, kZ, NONE, -1}, {kNZ, 0, BITS, kNZ, NONE, -1},
    {kMinSub, 0, CRN, 0, UN, -1}, {0x8000000000000001, 0, CRN, 0, UN, -1},
    {kMinNorm, 0, CRN, 0, NX, -1},                       // normal result: no underflow
    {0x0020000000000000, 0, CRN, 0, NX, -1}, {0x1000000000000000, 0, CRN, 0, NX, -1},
    {0xbff0000000000001, 0, QNAN, 0, IV, 61}, {kNInf, 0, QNAN, 0, IV, 61},
};
const Row<double> kAtan[] = {
    {kQ, 0, QNAN, 0, NONE, -1}, {kS, 0, QNAN, 0, IV, -1},
    {kZ, 0, BITS, kZ, NONE, -1}, {kNZ, 0, BITS, kNZ, NONE, -1},
    {kMinSub, 0, CRN, 0, UN, -1}, {kMinNorm, 0, CRN, 0, NX, -1}, {0x0380000000000000, 0, CRN, 0, NX, -1},
    {kOne, 0, CR, 0, NX, -1}, {kNOne, 0, CRN, 0, NX, -1},  // through the grid: c at 1's midpoint
    {kInf, 0, BITS, kPio2, NX, -1}, {kNInf, 0, BITS, kNPio2, NX, -1},
    // The region ends of both grids and of the reciprocal and tiny ends.
    {0x3fa0000000000000, 0, CR, 0, NX, -1}, {0x3f9fffffffffffff, 0, CR, 0, NX, -1},
    {0x3f90000000000000, 0, CR, 0, NX, -1}, {0x3f8fffffffffffff, 0, CR, 0, NX, -1},
    {0x4040000000000000, 0, CR, 0, NX, -1}, {0x403fffffffffffff, 0, CR, 0, NX, -1},
    {0x4050000000000000, 0, CR, 0, NX, -1}, {0xc04fffffffffffff, 0, CRN, 0, NX, -1},
    {0x3e30000000000000, 0, CRN, 0, NX, -1}, {0x3bf0000000000000, 0, CRN, 0, NX, -1},
    {0x43ef000000000000, 0, CRN, 0, NX, -1}, {0x4370000000000000, 0, CRN, 0, NX, -1},
    {0x7fefffffffffffff, 0, BITS, kPio2, NX, -1},
};
// atan2 (y, x): the signed zeros and infinities by C99 Annex F, codes on both zeros.
const Row<double> kAtan2[] = {
    {kZ, kZ, BITS, kZ, NONE, 37}, {kNZ, kZ, BITS, kNZ, NONE, 37},
    {kZ, kNZ, BITS, kPi, NX, 37}, {kNZ, kNZ, BITS, kNPi, NX, 37},
    {kZ, kOne, BITS, kZ, NONE, -1}, {kNZ, kOne, BITS, kNZ, NONE, -1},
    {kZ, kNOne, BITS, kPi, NX, -1}, {kNZ, kNOne, BITS, kNPi, NX, -1},
    {kOne, kZ, BITS, kPio2, NX, -1}, {kNOne, kNZ, BITS, kNPio2, NX, -1},
    {kInf, kOne, BITS, kPio2, NX, -1}, {kNInf, kNOne, BITS, kNPio2, NX, -1},
    {kOne, kInf, BITS, kZ, NONE, -1}, {kNOne, kInf, BITS, kNZ, NONE, -1},
    {kOne, kNInf, BITS, kPi, NX, -1}, {kNOne, kNInf, BITS, kNPi, NX, -1},
    {kInf, kInf, CRN, 0, NX, -1}, {kInf, kNInf, CRN, 0, NX, -1},
    {kNInf, kInf, CRN, 0, NX, -1}, {kNInf, kNInf, CRN, 0, NX, -1},
    {kQ, kOne, QNAN, 0, NONE, -1}, {kOne, kQ, QNAN, 0, NONE, -1}, {kS, kOne, QNAN, 0, IV, -1},
    {kOne, kS, QNAN, 0, IV, -1}, {kZ, kQ, QNAN, 0, NONE, -1},
    // Subnormal operands (the FMA tiers hand them to the ex body) and ratios beyond either end.
    {kMinSub, 0x0000000000000003, CRN, 0, NX, -1}, {0x8000000000000005, 0x800fffffffffffff, CRN, 0, NX, -1},
    {kMinSub, kOne, CRN, 0, UN, -1}, {kMinSub, 0x4000000000000000, CRN, 0, UN, -1},
    {kMinSub, kNOne, CRN, 0, NX, -1}, {0x8000000000000001, kNOne, CRN, 0, NX, -1},
    {0x0010000000000000, 0x7fefffffffffffff, CRN, 0, UN, -1},  // the quotient underflows to 0
    {0x0300000000000000, 0x5000000000000000, CRN, 0, UN, -1},   // a subnormal quotient
    {0x7fefffffffffffff, kMinSub, CR, 0, NX, -1}, {0x7fefffffffffffff, 0x8000000000000001, CRN, 0, NX, -1},
    {0x4340000000000000, kOne, CR, 0, NX, -1}, {kOne, 0x4340000000000000, CR, 0, NX, -1},
    {0x47a0000000000000, 0x3830000000000000, CR, 0, NX, -1},  // the FMA window's ends
    {0x3830000000000000, 0x47a0000000000000, CRN, 0, NX, -1},
    {kOne, kOne, CR, 0, NX, -1}, {kNOne, kNOne, CRN, 0, NX, -1},
};

// ---- float -------------------------------------------------------------------------------------
constexpr uint32_t fZ = 0, fNZ = 0x80000000, fOne = 0x3f800000, fNOne = 0xbf800000, fInf = 0x7f800000,
                   fNInf = 0xff800000, fQ = 0x7fc00000, fS = 0x7fa00000, fPi = 0x40490fdb, fNPi = 0xc0490fdb,
                   fPio2 = 0x3fc90fdb, fNPio2 = 0xbfc90fdb;

const Row<float> kAcosf[] = {
    {fQ, 0, QNAN, 0, NONE, -1}, {fS, 0, QNAN, 0, IV, -1},
    {fOne, 0, BITS, fZ, NONE, -1}, {fNOne, 0, CR, 0, NX, -1}, {fZ, 0, CR, 0, NX, -1}, {fNZ, 0, CR, 0, NX, -1},
    {0x3f7fffff, 0, CR, 0, NX, -1}, {0xbf7fffff, 0, CR, 0, NX, -1}, {0x3f000000, 0, CR, 0, NX, -1},
    {0x3f000001, 0, CR, 0, NX, -1}, {0x32000000, 0, CR, 0, NX, -1}, {0x31ffffff, 0, CR, 0, NX, -1},
    {0x3f800001, 0, QNAN, 0, IV, 59}, {fNInf, 0, QNAN, 0, IV, 59},
};
const Row<float> kAsinf[] = {
    {fQ, 0, QNAN, 0, NONE, -1}, {fS, 0, QNAN, 0, IV, -1},
    {fOne, 0, CR, 0, NX, -1}, {fNOne, 0, CR, 0, NX, -1}, {fZ, 0, BITS, fZ, NONE, -1},
    {fNZ, 0, BITS, fNZ, NONE, -1}, {1, 0, CRN, 0, UN, -1}, {0x80000001, 0, CRN, 0, UN, -1},
    {0x00800000, 0, CRN, 0, NX, -1}, {0x39800000, 0, CRN, 0, NX, -1}, {0x397fffff, 0, CR, 0, NX, -1},
    {0x3f7fffff, 0, CR, 0, NX, -1}, {0xbf000001, 0, CR, 0, NX, -1},
    {0xbf800001, 0, QNAN, 0, IV, 62}, {fInf, 0, QNAN, 0, IV, 62},
};
const Row<float> kAtanf[] = {
    {fQ, 0, QNAN, 0, NONE, -1}, {fS, 0, QNAN, 0, IV, -1}, {fZ, 0, BITS, fZ, NONE, -1},
    {fNZ, 0, BITS, fNZ, NONE, -1}, {1, 0, CRN, 0, UN, -1}, {0x00800000, 0, CRN, 0, NX, -1},
    {fInf, 0, CR, 0, NX, -1}, {fNInf, 0, CR, 0, NX, -1}, {fOne, 0, CR, 0, NX, -1},
    {0x30800000, 0, CR, 0, NX, -1}, {0x307fffff, 0, CR, 0, NX, -1}, {0x3d000000, 0, CR, 0, NX, -1},
    {0x42000000, 0, CR, 0, NX, -1}, {0x7f7fffff, 0, CR, 0, NX, -1},
};
const Row<float> kAtan2f[] = {
    {fZ, fZ, BITS, fZ, NONE, 38}, {fNZ, fZ, BITS, fNZ, NONE, 38},
    {fZ, fNZ, BITS, fPi, NX, 38}, {fNZ, fNZ, BITS, fNPi, NX, 38},
    {fZ, fNOne, BITS, fPi, NX, -1}, {fOne, fZ, BITS, fPio2, NX, -1}, {fNInf, fOne, BITS, fNPio2, NX, -1},
    {fOne, fInf, BITS, fZ, NONE, -1}, {fNOne, fNInf, BITS, fNPi, NX, -1},
    {fInf, fNInf, CRN, 0, NX, -1}, {fNInf, fInf, CRN, 0, NX, -1},
    {fQ, fOne, QNAN, 0, NONE, -1}, {fOne, fS, QNAN, 0, IV, -1},
    {1, fOne, CRN, 0, UN, -1}, {1, 0x4b000000, CRN, 0, UN, -1}, {1, fNOne, CR, 0, NX, -1},
    {0x7f7fffff, 1, CR, 0, NX, -1}, {0x7f7fffff, 0x80000001, CR, 0, NX, -1},
    {0x00800000, 0x7f7fffff, CRN, 0, UN, -1}, {fOne, fOne, CR, 0, NX, -1}, {0x3f800001, 0xbf800000, CR, 0, NX, -1},
};

}  // namespace

TEST(InvtrigSpecial, Acos) {
    check1("acos", tsr_tiers_acos, mpfr_acos, kAcos);
    check1("acos", tsr_portable_tiers_acos, mpfr_acos, kAcos);
}
TEST(InvtrigSpecial, Asin) {
    check1("asin", tsr_tiers_asin, mpfr_asin, kAsin);
    check1("asin", tsr_portable_tiers_asin, mpfr_asin, kAsin);
}
TEST(InvtrigSpecial, Atan) {
    check1("atan", tsr_tiers_atan, mpfr_atan, kAtan);
    check1("atan", tsr_portable_tiers_atan, mpfr_atan, kAtan);
}
TEST(InvtrigSpecial, Atan2) {
    check2("atan2", tsr_tiers_atan2, kAtan2);
    check2("atan2", tsr_portable_tiers_atan2, kAtan2);
}
TEST(InvtrigSpecial, Floats) {
    check1("acosf", tsr_tiers_acosf, mpfr_acos, kAcosf);
    check1("asinf", tsr_tiers_asinf, mpfr_asin, kAsinf);
    check1("atanf", tsr_tiers_atanf, mpfr_atan, kAtanf);
    check1("atanf", tsr_portable_tiers_atanf, mpfr_atan, kAtanf);
    check2("atan2f", tsr_tiers_atan2f, kAtan2f);
    check2("atan2f", tsr_portable_tiers_atan2f, kAtan2f);
}

// The reproducible forms: __bwr_acos and __bwr_asin are the ex bodies; the copies give the ex
// bodies' bits; __bwr_atan2 (a true division in place of the estimate) is in the accuracy test.
TEST(InvtrigSpecial, Reproducible) {
    auto xs = th::uniform<double>(-1.0, 1.0, 2000, 5);
    for (double x : xs) {
        EXPECT_EQ(th::bits_of(__bwr_acos(x)), th::bits_of(__libm_acos_ex(x))) << x;
        EXPECT_EQ(th::bits_of(__bwr_asin(x)), th::bits_of(__libm_asin_ex(x))) << x;
        EXPECT_EQ(th::bits_of(__bwr_atan(x * 40)), th::bits_of(__libm_atan_ex(x * 40))) << x;
        float f = float(x);
        EXPECT_EQ(th::bits_of(__bwr_acosf(f)), th::bits_of(__libm_acosf_ex(f))) << x;
        EXPECT_EQ(th::bits_of(__bwr_asinf(f)), th::bits_of(__libm_asinf_ex(f))) << x;
        EXPECT_EQ(th::bits_of(__bwr_atanf(f * 40)), th::bits_of(__libm_atanf_ex(f * 40))) << x;
        EXPECT_EQ(th::bits_of(__bwr_atan2f(f, 0.75f)), th::bits_of(__libm_atan2f_ex(f, 0.75f))) << x;
    }
}

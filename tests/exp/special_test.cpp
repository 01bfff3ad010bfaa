// Special values, thresholds and their neighbours: result bits, flags, errno and the
// reported code, tier by tier (the AVX-512 tiers in their portable build too).  Rows whose
// result is fixed by the threshold (overflow, total underflow, exact powers) are checked in
// all four rounding modes against MPFR's correctly rounded value; the rest in nearest.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "harness/harness.h"

namespace {

enum TierBit { EX = 1, E7 = 2, L9 = 16, Z0 = 32, D1 = 64, ALL = 0x7f, FMA = L9 | Z0 | D1, SSE = EX | E7 };

int tier_bit(const char *name) {
    static const char *names[] = {"ex", "e7", "y8", "e9", "l9", "z0", "d1"};
    for (int i = 0; i < 7; ++i)
        if (std::strncmp(name, names[i], 2) == 0) return 1 << i;
    return 0;
}

enum Kind {
    BITS,  // exactly `want`
    CR,    // MPFR's correctly rounded value in the current mode (all four modes)
    CRN,   // MPFR's correctly rounded value, nearest only
    QNAN,  // a quiet NaN
};
constexpr int OV = FE_OVERFLOW | FE_INEXACT, UN = FE_UNDERFLOW | FE_INEXACT, NX = FE_INEXACT,
              NONE = 0, ANYF = -1;
constexpr int ANYC = -2;  // code not checked

template <class T>
struct Row {
    std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t> x;
    int tiers;
    Kind kind;
    std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t> want;
    int flags;
    int code;
};

bool is_overflow_code(int c) {
    return c == 14 || c == 16 || c == 161 || c == 163 || c == 166 || c == 167;
}

template <class T, class Fn, size_t N, size_t M>
void check(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], th::MpFn1 ref, const Row<T> (&rows)[M]) {
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        for (const Row<T> &r : rows) {
            if (!(r.tiers & tier_bit(t.name))) continue;
            T x = std::bit_cast<T>(r.x);
            for (const th::Mode &m : th::kModes) {
                if (r.kind != CR && m.fe != FE_TONEAREST) continue;
                th::ModeGuard g(m.fe);
                auto [y, o] = th::observe([&] { return t.fn(x); });
                std::string where = std::string(fname) + " " + t.name + " " + m.name + " x = " +
                                    [&] { char b[64]; std::snprintf(b, 64, "%a", double(x)); return std::string(b); }();
                if (r.kind == QNAN) {
                    EXPECT_TRUE(y != y) << where;
                    if (y != y) EXPECT_TRUE(th::bits_of(y) & (sizeof(T) == 8 ? 0x0008000000000000ull : 0x00400000u)) << where;
                } else {
                    T want = std::bit_cast<T>(r.want);
                    if (r.kind != BITS) {
                        th::Mp e;
                        th::ref(e, ref, x);
                        want = th::round_to<T>(e, m.rnd);
                    }
                    EXPECT_EQ(th::bits_of(y), th::bits_of(want)) << where << std::hexfloat << " got " << y << " want " << want;
                }
                if (r.flags != ANYF)
                    EXPECT_EQ(o.flags, r.flags) << where << " flags " << th::flags_str(o.flags) << " want " << th::flags_str(r.flags);
                if (r.code != ANYC) EXPECT_EQ(o.code, r.code) << where;
                // Mode 3: overflow sets ERANGE; underflow sets it when the result is zero.
                if (r.code >= 0 && o.code == r.code) {
                    bool zero = y == T(0);
                    EXPECT_EQ(o.err, is_overflow_code(r.code) || zero ? ERANGE : 0) << where;
                } else if (r.code == -1) {
                    EXPECT_EQ(o.err, 0) << where;
                }
            }
        }
    });
}

const uint64_t kQ = 0x7ff8000000000000, kNQ = 0xfff8000000000000, kS = 0x7ff4000000000000,
               kNS = 0xfff0000000000001, kInf = 0x7ff0000000000000, kNInf = 0xfff0000000000000,
               kOne = 0x3ff0000000000000, kMin = 1, kZ = 0, kNZ = 0x8000000000000000;
const uint32_t fQ = 0x7fc00000, fNQ = 0xffc00000, fS = 0x7fa00000, fNS = 0xff800001, fInf = 0x7f800000,
               fNInf = 0xff800000, fOne = 0x3f800000;

// The rows every function shares: zeros, tiny arguments, infinities and NaNs of both signs.
// A negative NaN whose payload sits in the low word only must not be taken for -inf.
#define COMMON_D                                                                          \
    {kZ, ALL, BITS, kOne, NONE, -1}, {kNZ, ALL, BITS, kOne, NONE, -1},                    \
    {0x3c00000000000000, ALL, CRN, 0, NX, -1}, {0xbc00000000000000, ALL, CRN, 0, NX, -1}, \
    {kInf, ALL, BITS, kInf, NONE, -1}, {kNInf, ALL, BITS, kZ, NONE, -1},                  \
    {kQ, ALL, QNAN, 0, NONE, -1}, {kNQ, ALL, QNAN, 0, NONE, -1},                          \
    {kS, ALL, QNAN, 0, FE_INVALID, -1}, {kNS, ALL, QNAN, 0, FE_INVALID, -1},              \
    {0xfff0000100000000, ALL, QNAN, 0, FE_INVALID, -1}
#define COMMON_F                                                                   \
    {0u, ALL, BITS, fOne, NONE, -1}, {0x80000000u, ALL, BITS, fOne, NONE, -1},     \
    {0x30000000u, ALL, CRN, 0, NX, -1}, {0xb0000000u, ALL, CRN, 0, NX, -1},        \
    {fInf, ALL, BITS, fInf, NONE, -1}, {fNInf, ALL, BITS, 0u, NONE, -1},           \
    {fQ, ALL, QNAN, 0, NONE, -1}, {fNQ, ALL, QNAN, 0, NONE, -1},                   \
    {fS, ALL, QNAN, 0, FE_INVALID, -1}, {fNS, ALL, QNAN, 0, FE_INVALID, -1}

const Row<double> kExp[] = {
    COMMON_D,
    {0x3ff0000000000000, ALL, CRN, 0, NX, -1},                 // e
    {0x40862e42fefa39ef, ALL, CRN, 0, NX, -1},                 // largest x with a finite e^x
    {0x40862e42fefa39f0, ALL, CR, 0, OV, 14},                  // its successor
    {0x40862e5604189375, ALL, CR, 0, OV, 14},                  // 709.79: the extreme path
    {0x4090000000000000, ALL, CR, 0, OV, 14},                  // 1024: no core at all
    {0x40c3880000000000, ALL, CR, 0, OV, 14},                  // 10000
    {0xc086232bdd7abcd2, ALL, CRN, 0, ANYF, ANYC},              // ln(2^-1022): the normal boundary
    {0xc086232bdd7abcd3, ALL, CRN, 0, UN, 15},
    {0xc086300000000000, ALL, CRN, 0, UN, 15},                 // -710: subnormal, rounded once
    {0xc0874910d52d3051, ALL, CRN, 0, UN, 15},                 // the smallest subnormal's argument
    {0xc0874947ae147ae1, ALL, CRN, 0, UN, 15},                 // -745.14
    {0xc0874a0000000000, ALL, CR, 0, UN, 15},                  // -745.25: zero
    {0xc090000000000000, ALL, CR, 0, UN, 15},                  // -1024
    {0xc0c3880000000000, ALL, CR, 0, UN, 15},
};

const Row<float> kExpf[] = {
    COMMON_F,
    {0x42b17217u, ALL, CRN, 0, NX, -1},                        // largest finite result
    {0x42b17218u, ALL, CR, 0, OV, 16},
    {0x42fe0000u, ALL, CR, 0, OV, 16},                         // 127: core, then the check
    {0x43000000u, ALL, CR, 0, OV, 16},                         // 128: no core
    {0xc2aeac50u, ALL, CRN, 0, ANYF, ANYC},                    // the normal boundary
    {0xc2b00000u, ALL, CRN, 0, UN, 17},                        // -88: subnormal
    {0xc2cff1b5u, ALL, CRN, 0, UN, 17},                        // near the smallest subnormal
    {0xc2d00000u, ALL, CR, 0, UN, 17},                         // -104: zero
    {0xc3000000u, ALL, CR, 0, UN, 17},
    {0xc61c4000u, ALL, CR, 0, UN, 17},                         // -10000
};

const Row<double> kExp2[] = {
    COMMON_D,
    {0x4008000000000000, EX | FMA, BITS, 0x4020000000000000, NONE, -1},  // 2^3 exact
    {0x4008000000000000, E7, BITS, 0x4020000000000000, ANYF, -1},
    {0xc08ff80000000000, EX, BITS, 0x0008000000000000, NONE, -1},        // 2^-1023: exact subnormal
    {0x408ff80000000000, EX, BITS, 0x7fe0000000000000, NONE, -1},        // 2^1023
    {0x408fffffffffffff, ALL, CRN, 0, NX, -1},
    {0x4090000000000000, ALL, CR, 0, OV, 161},
    {0x40c3880000000000, ALL, CR, 0, OV, 161},
    {0xc08ff00000000000, ALL, BITS, 0x0010000000000000, ANYF, -1},       // 2^-1022
    {0xc08ff80000000001, ALL, CRN, 0, UN, 162},
    {0xc0900c0000000000, ALL, CRN, 0, ANYF, 162},                         // -1027.0
    {0xc090c80000000000, ALL, BITS, kMin, ANYF, 162},                    // -1074: through the core
    {0xc090ca0000000000, E7 | FMA, BITS, kMin, UN, 162},                 // -1074.5: the e7 band
    {0xc090cc0000000000, E7 | FMA, BITS, kMin, UN, 162},                 // -1075: the same band
    {0xc090ca0000000000, EX, CRN, 0, UN, 162},
    {0xc090d00000000000, ALL, CR, 0, UN, 162},                           // -1076: zero
    {0xc0a0000000000000, ALL, CR, 0, UN, 162},
};

const Row<float> kExp2f[] = {
    COMMON_F,
    {0x40400000u, EX | FMA, BITS, 0x41000000u, NONE, -1},     // 2^3 exact
    {0xc2fe0000u, EX, BITS, 0x00400000u, NONE, -1},           // 2^-127: exact subnormal
    {0xc2fe0000u, E7 | FMA, BITS, 0x00400000u, NONE, 164},    // exact, reported by the check
    {0x42ffffffu, ALL, CRN, 0, NX, -1},
    {0x43000000u, ALL, CR, 0, OV, 163},
    {0x43100000u, ALL, CR, 0, OV, 163},
    {0xc2fd0000u, ALL, CRN, 0, UN, 164},                       // -126.5
    {0xc3150000u, ALL, BITS, 1u, ANYF, 164},                   // -149
    {0xc3168000u, ALL, CR, 0, UN, 164},                        // -150.5: zero
    {0xc3200000u, ALL, CR, 0, UN, 164},
};

const Row<double> kExp10[] = {
    COMMON_D,
    {0x4036000000000000, EX, BITS, 0x4480f0cf064dd592, NONE, -1},  // 10^22 exact
    {0x4037000000000000, ALL, CRN, 0, NX, -1},                      // 10^23: polynomial
    {0x4000000000000000, EX, BITS, 0x4059000000000000, NONE, -1},  // 100
    {0x40734413509f79fe, ALL, CRN, 0, NX, -1},                      // largest finite result
    {0x40734413509f79ff, EX, CR, 0, OV, 166},
    {0x4074000000000000, EX, CR, 0, OV, 166},                       // 320
    // Tier e7 runs in round-to-nearest from end to end: +inf in every mode.
    {0x40734413509f79ff, E7, CRN, 0, OV, 166},
    {0x4074000000000000, E7, CRN, 0, OV, 166},
    {0x4080000000000000, EX, CR, 0, OV, 166},
    {0xc0734413509f79fe, ALL, CRN, 0, ANYF, ANYC},                  // the normal boundary
    {0xc073440000000000, EX, CRN, 0, UN, -1},                       // subnormal, not reported in ex
    {0xc073440000000000, E7, CRN, 0, UN, 265},
    {0xc074400000000000, EX, CR, 0, UN, -1},                        // -324: zero
    {0xc074400000000000, E7, CRN, 0, UN, 265},
    {0xc080000000000000, EX, CR, 0, UN, -1},
    {0xc080000000000000, E7, CRN, 0, UN, 265},
};

const Row<float> kExp10f[] = {
    COMMON_F,
    {0x41200000u, EX, BITS, 0x501502f9u, NONE, -1},           // 10^10 exact
    {0x40400000u, EX, BITS, 0x447a0000u, NONE, -1},           // 10^3
    {0x421a209au, ALL, CRN, 0, NX, -1},
    {0x421c0000u, EX, CR, 0, OV, -1},                         // 39: this tier never reports
    {0x421c0000u, E7, CR, 0, OV, 167},
    {0xc2380000u, EX, CR, 0, UN, -1},                         // -46: zero
    {0xc2380000u, E7, CR, 0, UN, 266},
    {0xc2300000u, EX, CRN, 0, UN, -1},                        // -44: subnormal
    {0xc2300000u, E7, CRN, 0, UN, 266},
};

}  // namespace

TEST(ExpSpecial, Exp) {
    check("exp", tsr_tiers_exp, mpfr_exp, kExp);
    check("exp", tsr_portable_tiers_exp, mpfr_exp, kExp);
}
TEST(ExpSpecial, Expf) { check("expf", tsr_tiers_expf, mpfr_exp, kExpf); }
TEST(ExpSpecial, Exp2) {
    check("exp2", tsr_tiers_exp2, mpfr_exp2, kExp2);
    check("exp2", tsr_portable_tiers_exp2, mpfr_exp2, kExp2);
}
TEST(ExpSpecial, Exp2f) {
    check("exp2f", tsr_tiers_exp2f, mpfr_exp2, kExp2f);
    check("exp2f", tsr_portable_tiers_exp2f, mpfr_exp2, kExp2f);
}
TEST(ExpSpecial, Exp10) { check("exp10", tsr_tiers_exp10, mpfr_exp10, kExp10); }
TEST(ExpSpecial, Exp10f) { check("exp10f", tsr_tiers_exp10f, mpfr_exp10, kExp10f); }

// The generated rounding tables against the reference rows: the two-entry tables by sign
// and the shifter constants, bit for bit in every precision.
#include <gtest/gtest.h>

#include <cstring>

#include "exact/rounding_data.h"
#include "exact/rounding_ref.h"

namespace {

struct Row {
    const char *use;
    const double *d;
    const float *f;
    const long double *l;
    double e0, e1;
};
// reference rows: what the family's tables must hold (entry 0 for a positive argument)
const Row kRows[] = {
    {"ceil, |x| below 1", tsr::kCeilSmall, tsr::kCeilSmallF, tsr::kCeilSmallL, +1.0, -0.0},
    {"floor, |x| below 1", tsr::kFloorSmall, tsr::kFloorSmallF, tsr::kFloorSmallL, +0.0, -1.0},
    {"trunc / zero results", tsr::kZeroSmall, tsr::kZeroSmallF, tsr::kZeroSmallL, +0.0, -0.0},
    {"magnitude 1", tsr::kOneSmall, tsr::kOneSmallF, tsr::kOneSmallL, +1.0, -1.0},
    {"nearbyint down", tsr::kFloorSmall, tsr::kFloorSmallF, tsr::kFloorSmallL, +0.0, -1.0},
    {"nearbyint up", tsr::kCeilSmall, tsr::kCeilSmallF, tsr::kCeilSmallL, +1.0, -0.0},
};

TEST(RoundingTables, TwoEntryTablesMatchReferenceRows) {
    using rnd::Fmt;
    for (const Row &r : kRows) {
        const double e[2] = {r.e0, r.e1};
        for (int i = 0; i < 2; ++i) {
            EXPECT_EQ(Fmt<double>::bits(r.d[i]), Fmt<double>::bits(e[i])) << r.use << " " << i;
            EXPECT_EQ(Fmt<float>::bits(r.f[i]), Fmt<float>::bits(float(e[i]))) << r.use << " " << i;
            EXPECT_TRUE(rnd::ext(r.l[i]) == rnd::ext((long double)e[i])) << r.use << " " << i;
        }
    }
}

TEST(RoundingTables, ShiftersMatchReferenceRows) {
    EXPECT_EQ(tsr::kMagic52, 0x4338000000000000ull);  // 1.5 * 2^52
    EXPECT_EQ(tsr::kMagic23, 0x4b400000u);            // 1.5 * 2^23
    EXPECT_EQ(tsr::kMagic63, 0x5f400000u);            // 1.5 * 2^63
    EXPECT_EQ(tsr::kTwo63, 0x5f000000u);              // 2^63
    float f;
    uint32_t b = tsr::kMagic63;
    std::memcpy(&f, &b, 4);
    EXPECT_EQ((long double)f, 1.5L * 0x1p63L);
}

}  // namespace

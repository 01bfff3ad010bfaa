// Feature detection on synthetic processors: fake CPUID/XCR0 answers and environment
// strings, compared with feature bits worked out by hand from the processor's answers.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

#include "dispatch/features.h"

using tsr::CpuidRegs;

namespace {

// A processor described by its CPUID answers per (leaf, sub-leaf) and its XCR0.
struct FakeCpu {
    std::map<std::pair<uint32_t, uint32_t>, CpuidRegs> leaves;
    uint64_t xcr0 = 0;
    std::vector<std::pair<uint32_t, uint32_t>> asked;

    void set(uint32_t leaf, uint32_t sub, int reg, int bit) { leaves[{leaf, sub}].r[reg] |= 1u << bit; }
    static CpuidRegs cpuid(uint32_t leaf, uint32_t sub, void *ctx) {
        auto *c = static_cast<FakeCpu *>(ctx);
        c->asked.push_back({leaf, sub});
        auto it = c->leaves.find({leaf, sub});
        return it == c->leaves.end() ? CpuidRegs{} : it->second;
    }
    static uint64_t xgetbv(void *ctx) { return static_cast<FakeCpu *>(ctx)->xcr0; }
    tsr::CpuProbe probe() { return {cpuid, xgetbv, this}; }
};

enum { EAX, EBX, ECX, EDX };

// A desktop processor of the AVX2 generation with the OS saving SSE and AVX state.
FakeCpu avx2_cpu() {
    FakeCpu c;
    c.leaves[{0, 0}].r[EAX] = 0x16;
    for (int b : {0, 15, 23, 24, 25, 26}) c.set(1, 0, EDX, b);       // x87 cmov mmx fxsr sse sse2
    for (int b : {0, 1, 9, 12, 19, 20, 22, 23, 25, 27, 28, 29, 30}) c.set(1, 0, ECX, b);
    for (int b : {3, 5, 8}) c.set(7, 0, EBX, b);                      // bmi1 avx2 bmi2
    c.set(0x80000001, 0, ECX, 5);                                    // lzcnt
    c.xcr0 = 0x7;
    return c;
}

// An AVX-512 server processor (F DQ BW VL VBMI2 BITALG VNNI) with all its state enabled.
FakeCpu avx512_cpu() {
    FakeCpu c = avx2_cpu();
    for (int b : {16, 17, 30, 31}) c.set(7, 0, EBX, b);
    for (int b : {6, 11, 12}) c.set(7, 0, ECX, b);
    c.xcr0 = 0xe7;
    return c;
}

struct Word {
    uint64_t w[2];
    bool has(int bit) const { return tsr::has_feature(w, bit); }
    int level() const { return tsr::level_from_features(w); }
};

Word detect(FakeCpu &c, const char *env = nullptr) {
    Word w{};
    EXPECT_EQ(tsr::detect_features(c.probe(), env, w.w), 0);
    return w;
}

}  // namespace

TEST(Features, Avx2ProcessorGivesLevel10WithItsBits) {
    FakeCpu c = avx2_cpu();
    Word w = detect(c);
    EXPECT_EQ(w.level(), 10);
    for (int bit : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 23})
        EXPECT_TRUE(w.has(bit)) << "bit " << bit;
    for (int bit : {21, 22, 24, 26, 27, 43, 92}) EXPECT_FALSE(w.has(bit)) << "bit " << bit;
}

TEST(Features, BmiNeedsBothOfItsBits) {
    FakeCpu c = avx2_cpu();
    c.leaves[{7, 0}].r[EBX] &= ~(1u << 8);
    Word w = detect(c);
    EXPECT_FALSE(w.has(19));
    EXPECT_EQ(w.level(), 9);
}

TEST(Features, XcrZeroWithoutAvxStateKeepsAvxFamilyClear) {
    FakeCpu c = avx512_cpu();
    c.xcr0 = 0x3;  // x87 and SSE state only
    Word w = detect(c);
    for (int bit : {16, 15, 18, 23, 27, 24, 37, 38, 43, 44, 48}) EXPECT_FALSE(w.has(bit)) << "bit " << bit;
    EXPECT_EQ(w.level(), 8);
    // AVX10.2 is read from CPUID alone and still gives level 12.
    c.set(7, 1, EDX, 19);
    c.leaves[{0x24, 0}].r[EBX] = 2;
    Word w2 = detect(c);
    EXPECT_TRUE(w2.has(91));
    EXPECT_TRUE(w2.has(92));
    EXPECT_EQ(w2.level(), 12);
}

TEST(Features, Avx10VersionByteAndItsAnnouncingBit) {
    FakeCpu c = avx2_cpu();
    c.leaves[{0x24, 0}].r[EBX] = 1;
    Word w = detect(c);  // leaf 0x24 is not read unless 7.1 EDX 19 announces it
    EXPECT_FALSE(w.has(91));
    c.set(7, 1, EDX, 19);
    w = detect(c);
    EXPECT_TRUE(w.has(91));
    EXPECT_FALSE(w.has(92));
}

TEST(Features, Avx512RowsStandAloneAndGiveLevel11) {
    FakeCpu c = avx512_cpu();
    Word w = detect(c);
    EXPECT_EQ(w.level(), 11);
    // Without AVX512F the other AVX-512 rows are still reported.
    c.leaves[{7, 0}].r[EBX] &= ~(1u << 16);
    w = detect(c);
    EXPECT_FALSE(w.has(27));
    EXPECT_TRUE(w.has(24));
    EXPECT_EQ(w.level(), 11);
}

TEST(Features, MaximumLeafZeroPublishesOnlyBitZero) {
    FakeCpu c = avx2_cpu();
    c.leaves[{0, 0}].r[EAX] = 0;
    Word w = detect(c);
    EXPECT_EQ(w.w[0], 1u);
    EXPECT_EQ(w.w[1], 0u);
    EXPECT_EQ(w.level(), 1);
}

TEST(Features, LeavesAreAskedWhateverTheMaximumLeafSays) {
    FakeCpu c = avx2_cpu();
    c.leaves[{0, 0}].r[EAX] = 1;
    detect(c);
    auto asked = [&](uint32_t l, uint32_t s) {
        return std::find(c.asked.begin(), c.asked.end(), std::make_pair(l, s)) != c.asked.end();
    };
    for (auto [l, s] : std::vector<std::pair<uint32_t, uint32_t>>{
             {1, 0}, {7, 0}, {7, 1}, {0x14, 0}, {0x1e, 1}, {0x80000001, 0}, {0x80000008, 0}})
        EXPECT_TRUE(asked(l, s)) << std::hex << l << "." << s;
    EXPECT_FALSE(asked(0x19, 0));  // only when 7.0 ECX 23 announces it
    EXPECT_FALSE(asked(0x24, 0));
}

struct EnvCase {
    const char *env;
    std::vector<int> cleared;  // bits that must go
    std::vector<int> kept;     // bits that must stay
    int level;
};

class DisableWords : public ::testing::TestWithParam<EnvCase> {};

TEST_P(DisableWords, ClearExactlyTheirBits) {
    const EnvCase &k = GetParam();
    FakeCpu c = avx2_cpu();
    Word w = detect(c, k.env);
    for (int b : k.cleared) EXPECT_FALSE(w.has(b)) << "bit " << b;
    for (int b : k.kept) EXPECT_TRUE(w.has(b)) << "bit " << b;
    EXPECT_EQ(w.level(), k.level);
    EXPECT_NE(w.w[0], 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Env, DisableWords,
    ::testing::Values(EnvCase{nullptr, {}, {23, 16, 0}, 10}, EnvCase{"", {}, {23, 16}, 10},
                      EnvCase{"avx2", {23}, {16, 18}, 9}, EnvCase{",,avx2,,", {23}, {16}, 9},
                      EnvCase{"AVX2", {}, {23}, 10}, EnvCase{"avx", {16}, {23}, 10},
                      EnvCase{"avx2,avx", {23, 16}, {10}, 8},
                      EnvCase{"x87,cmov,fxsave", {}, {1, 2, 4}, 10},
                      EnvCase{"sse4", {10}, {9}, 10}, EnvCase{"sse4.1", {9}, {10}, 10},
                      EnvCase{"sse4_2", {}, {9, 10}, 10}, EnvCase{"sse3", {7}, {6}, 10},
                      EnvCase{"avx2,avx,sse4,sse4.1,ssse3,sse3", {23, 16, 10, 9, 8, 7}, {6}, 4},
                      EnvCase{"avx2,avx,sse4,sse4.1,ssse3,sse3,sse2,sse,mmx", {6, 5, 3}, {1, 0}, 2},
                      EnvCase{"avx512f,amx-tile,avx10.2", {}, {23}, 10},  // absent features: accepted, no effect
                      EnvCase{"a,avx2x,avx2 ,fma", {18}, {23}, 9}));

TEST(Features, RowSetCodes) {
    uint64_t w[2] = {0, 0};
    EXPECT_EQ(__libm_cpu_feature_set(w, 32), -1);  // the unassigned row
    EXPECT_EQ(w[0] | w[1], 0u);
    EXPECT_EQ(__libm_cpu_feature_set(w, 107), 0);  // MWAIT, bit 112
    EXPECT_EQ(w[1], uint64_t(1) << 48);
    // Every disable word is unique, lower case, and names a row with a bit.
    std::set<std::string> words;
    for (int row = 1; row <= tsr::kFeatureRows; ++row) {
        const char *wd = tsr::feature_row_word(row);
        if (!wd) continue;
        EXPECT_TRUE(words.insert(wd).second) << wd;
        EXPECT_GE(tsr::feature_row_bit(row), 0) << wd;
        for (const char *p = wd; *p; ++p) EXPECT_FALSE(*p >= 'A' && *p <= 'Z') << wd;
    }
    EXPECT_EQ(words.size(), 101u);
}

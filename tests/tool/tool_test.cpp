// The tessera tool, run as a child process: the level and slot tiers `info` reports under
// QUILL_ISA_DISABLE, what `eval` reads and prints, and that `bench` measures both sides.
#include <cpuid.h>
#include <gtest/gtest.h>

#include <cstring>
#include <regex>
#include <string>

#include "dispatch/features.h"
#include "harness/harness.h"
#include "tsr_dispatch.inc"
#include "tsr_functions.inc"

extern "C" void (*__libm_error_observer)(int) __attribute__((weak));

namespace {

th::ChildResult tool(const std::vector<std::string> &args, const std::vector<std::string> &env = {}) {
    std::vector<std::string> argv = {TSR_TOOL_PATH};
    argv.insert(argv.end(), args.begin(), args.end());
    return th::run_process(argv, env);
}

int reported_level(const std::string &out) {
    std::smatch m;
    if (!std::regex_search(out, m, std::regex("\nlevel: (\\d+)\n"))) return -1;
    return std::stoi(m[1]);
}

std::string reported_tier(const std::string &out, const std::string &fn) {
    std::smatch m;
    if (!std::regex_search(out, m, std::regex("\n  " + fn + " +(\\w+) +\\(rows")))
        return "";
    return m[1];
}

// The hardware's word, without the variable, as the library's detection sees it.
void raw_word(uint64_t w[2]) { ASSERT_EQ(tsr::detect_features(tsr::hardware_probe(), nullptr, w), 0); }

int expected_level(const char *disable) {
    uint64_t w[2], mask[2];
    raw_word(w);
    tsr::feature_disable_mask(disable, mask);
    w[0] &= ~mask[0];
    w[1] &= ~mask[1];
    return tsr::level_from_features(w);
}

// Level 10 straight from CPUID and XCR0, independently of the library's feature table:
// AVX2, FMA, BMI1+BMI2, LZCNT, PCLMULQDQ with the AVX state enabled, and none of what
// levels 11 and 12 test for.
bool processor_is_level10() {
    unsigned a, b, c, d;
    __cpuid_count(1, 0, a, b, c, d);
    bool fma = c & (1u << 12), pclmul = c & (1u << 1), osxsave = c & (1u << 27), avx = c & (1u << 28);
    if (!(fma && pclmul && osxsave && avx)) return false;
    unsigned lo, hi;
    asm volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    if ((lo & 6) != 6) return false;
    __cpuid_count(7, 0, a, b, c, d);
    bool avx2 = b & (1u << 5), bmi1 = b & (1u << 3), bmi2 = b & (1u << 8);
    bool l11 = (c & (1u << 12)) && (c & (1u << 6)) && (c & (1u << 11)) && (lo & 0xe0) == 0xe0;
    unsigned a1, b1, c1, d1;
    __cpuid_count(7, 1, a1, b1, c1, d1);
    bool l12 = false;
    if (d1 & (1u << 19)) {
        unsigned a2, b2, c2, d2;
        __cpuid_count(0x24, 0, a2, b2, c2, d2);
        l12 = (b2 & 0xff) > 1;
    }
    __cpuid_count(0x80000001, 0, a, b, c, d);
    bool lzcnt = c & (1u << 5);
    return avx2 && bmi1 && bmi2 && lzcnt && !l11 && !l12;
}

const tsr::DispatchInfo *dispatch_of(const char *name) {
    for (const auto &d : tsr_dispatch_info)
        if (!std::strcmp(d.name, name)) return &d;
    return nullptr;
}

// ---- info ----------------------------------------------------------------------------------
struct LevelCase {
    const char *disable;  // nullptr: the variable is unset
    int level_here;       // on a level-10 processor
    const char *ceil_tier_here;
};
const LevelCase kLevelCases[] = {
    {nullptr, 10, "y8"},
    {"", 10, "y8"},
    {"avx2", 9, "y8"},
    {"avx2,avx", 8, "y8"},
    {"avx2,avx,sse4,sse4.1", 6, "e7"},
    {"avx2,avx,sse4,sse4.1,ssse3,sse3", 4, "ex"},
};

TEST(ToolInfo, LevelAndSlotTiersFollowTheDisableVariable) {
    const bool l10 = processor_is_level10();
    if (!l10) std::printf("[  NOTICE  ] processor is not at level 10: checking computed levels only\n");
    const tsr::DispatchInfo *ceil = dispatch_of("ceil");
    for (const LevelCase &c : kLevelCases) {
        SCOPED_TRACE(c.disable ? c.disable : "(unset)");
        auto r = tool({"info"}, {c.disable ? std::string("QUILL_ISA_DISABLE=") + c.disable : "-QUILL_ISA_DISABLE"});
        ASSERT_EQ(r.status, 0) << r.out;
        int level = reported_level(r.out);
        EXPECT_EQ(level, expected_level(c.disable)) << r.out;
        if (l10) EXPECT_EQ(level, c.level_here) << r.out;
        if (ceil && level >= 1) {
            std::string tier = reported_tier(r.out, "ceil");
            EXPECT_EQ(tier, ceil->rows[level - 1]) << r.out;
            if (l10) EXPECT_EQ(tier, c.ceil_tier_here) << r.out;
        }
    }
}

TEST(ToolInfo, ReportsWhatTheVariableRemoved) {
    auto r = tool({"info"}, {"QUILL_ISA_DISABLE=,,avx2,AVX,bogus,x87"});
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_NE(r.out.find("(1 word recognised)"), std::string::npos) << r.out;
    EXPECT_TRUE(std::regex_search(r.out, std::regex("\n  names: +AVX2\n"))) << r.out;
    uint64_t w[2];
    raw_word(w);
    if (tsr::has_feature(w, 23)) {
        EXPECT_TRUE(std::regex_search(r.out, std::regex("\n  removed: +AVX2\n"))) << r.out;
        // The published word lacks AVX2; the processor's own line still has it.
        size_t a = r.out.find("\nfeatures: "), b = r.out.find("\nlevel: ");
        ASSERT_LT(a, b);
        EXPECT_FALSE(std::regex_search(r.out.substr(a, b - a), std::regex("\\bAVX2\\b"))) << r.out;
        EXPECT_TRUE(std::regex_search(r.out, std::regex("\nlevel without QUILL_ISA_DISABLE: 1[0-2]\n"))) << r.out;
    }
    auto unset = tool({"info"}, {"-QUILL_ISA_DISABLE"});
    EXPECT_NE(unset.out.find("QUILL_ISA_DISABLE: unset"), std::string::npos) << unset.out;
    // Each given word by name, recognised or ignored (the match is exact and lower-case).
    EXPECT_TRUE(std::regex_search(r.out, std::regex("\n  recognised: +avx2\n"))) << r.out;
    EXPECT_TRUE(std::regex_search(r.out, std::regex("\n  ignored: +AVX bogus x87\n"))) << r.out;
}

// The words `info` offers as lowering the level do lower it, to the level it names, and the
// starred level is the one in force.
TEST(ToolInfo, WordsThatLowerTheLevelDoSo) {
    auto r = tool({"info"}, {"-QUILL_ISA_DISABLE"});
    ASSERT_EQ(r.status, 0) << r.out;
    int level = reported_level(r.out);
    EXPECT_TRUE(std::regex_search(r.out, std::regex("\n +" + std::to_string(level) + "\\* "))) << r.out;
    std::smatch m;
    ASSERT_TRUE(std::regex_search(r.out, m, std::regex("\nwords that lower the level from here: ([^\n]*)\n")));
    std::string list = m[1];
    if (level > 1) EXPECT_NE(list, "(none)") << r.out;
    std::regex pair("([a-z0-9_.]+)->([0-9]+)");
    int seen = 0;
    for (auto it = std::sregex_iterator(list.begin(), list.end(), pair); it != std::sregex_iterator(); ++it) {
        std::string word = (*it)[1];
        auto lowered = tool({"info"}, {"QUILL_ISA_DISABLE=" + word});
        EXPECT_EQ(reported_level(lowered.out), std::stoi((*it)[2])) << word;
        EXPECT_LT(reported_level(lowered.out), level) << word;
        if (++seen == 4) break;  // a few suffice; each is a process
    }
}

TEST(ToolInfo, FeatureWordMatchesDetection) {
    uint64_t w[2];
    raw_word(w);
    char expect[64];
    std::snprintf(expect, sizeof expect, "feature word: 0x%016llx_%016llx", (unsigned long long)w[1],
                  (unsigned long long)w[0]);
    auto r = tool({"info"}, {"-QUILL_ISA_DISABLE"});
    EXPECT_NE(r.out.find(expect), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("features: GENERIC_X86 X87"), std::string::npos) << r.out;
}

TEST(ToolInfo, TiersListsEveryTierBody) {
    auto r = tool({"info", "--tiers"});
    ASSERT_EQ(r.status, 0) << r.out;
    for (const auto &t : tsr_tiers_ceil) {
        std::string pat = std::string("\n  ceil +R\\(R\\) +double +dispatched[^\n]* ") + t.name + "\\*?[ \n]";
        EXPECT_TRUE(std::regex_search(r.out, std::regex(pat))) << t.name << "\n" << r.out;
    }
}

// ---- eval ------------------------------------------------------------------------------------
TEST(ToolEval, CeilThroughEntryAndTiers) {
    auto r = tool({"eval", "ceil", "1.5"});
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_TRUE(std::regex_search(r.out, std::regex("entry \\(\\w+\\) += 0x4000000000000000  0x1p\\+1  2\n"))) << r.out;
    // The tool links the same library as this test: it observes codes exactly when the
    // error module (and its hook) is part of it.
    EXPECT_TRUE(std::regex_search(r.out, std::regex(&__libm_error_observer ? "flags: [a-z,]+  errno: 0  code: none\n"
                                                                           : "code: unobservable")))
        << r.out;

    auto all = tool({"eval", "ceil", "-2.25", "--all-tiers"});
    ASSERT_EQ(all.status, 0) << all.out;
    for (const auto &t : tsr_tiers_ceil) {
        std::string pat = std::string("\n  ") + t.name + " += 0xc000000000000000  -0x1p\\+1  -2\n";
        if (tsr::tier_runnable(t.tier)) EXPECT_TRUE(std::regex_search(all.out, std::regex(pat))) << all.out;
    }
    auto named = tool({"eval", "__libm_ceil_ex", "-2.25"});
    EXPECT_TRUE(std::regex_search(named.out, std::regex("\n  ex += 0xc000000000000000 "))) << named.out;
    EXPECT_EQ(named.out.find("entry"), std::string::npos) << named.out;
    auto modes = tool({"eval", "ceil", "0.25", "--mode", "all", "--tier", "ex"});
    for (const char *m : {"nearest", "downward", "upward", "towardzero"})
        EXPECT_NE(modes.out.find(std::string("mode ") + m + "\n"), std::string::npos) << modes.out;
}

// Operand syntax: each form read to the exact bits.
TEST(ToolEval, OperandsReadExactly) {
    const std::pair<const char *, const char *> cases[] = {
        {"1.5", "0x3ff8000000000000"},        {"0x1.8p+0", "0x3ff8000000000000"},
        {"-0", "0x8000000000000000"},         {"inf", "0x7ff0000000000000"},
        {"-inf", "0xfff0000000000000"},       {"snan", "0x7ff0000000000001"},
        {"-snan", "0xfff0000000000001"},      {"raw:0x7ff4000000000abc", "0x7ff4000000000abc"},
        {"raw:1", "0x0000000000000001"},      {"4.9406564584124654e-324", "0x0000000000000001"},
        {"0.1", "0x3fb999999999999a"},        {"1e-320", "0x00000000000007e8"},
    };
    for (auto [text, bits] : cases) {
        auto r = tool({"eval", "ceil", text, "--tier", "ex"});
        ASSERT_EQ(r.status, 0) << text << "\n" << r.out;
        EXPECT_NE(r.out.find(std::string("arg 1: ") + bits), std::string::npos) << text << "\n" << r.out;
    }
    auto nan = tool({"eval", "ceil", "nan", "--tier", "ex"});
    EXPECT_TRUE(std::regex_search(nan.out, std::regex("arg 1: 0x7ff8"))) << nan.out;
}

bool built(const char *name) {
    for (const auto &f : tsr_gen::tsr_functions)
        if (!std::strcmp(f.name, name)) return true;
    return false;
}

// Float and extended operands, and integer results, through the classification functions
// where they are built: each operand read in the function's own format.
TEST(ToolEval, EveryPrecisionAndIntegerResults) {
    struct Case {
        std::vector<std::string> args;
        const char *operand;  // the first operand's bits as printed
        const char *result;
    };
    const Case cases[] = {
        {{"signbitf", "-0"}, "0x80000000", "1"},
        {{"isinff", "raw:0x7f800000"}, "0x7f800000", "1"},
        {{"isnanf", "snan"}, "0x7f800001", "1"},
        {{"isnanf", "0x1p-149"}, "0x00000001", "0"},
        {{"isnanl", "-snan"}, "0xffff8000000000000001", "1"},
        {{"isinfl", "raw:0x7fff8000000000000000"}, "0x7fff8000000000000000", "1"},
        {{"isnanl", "0x1p-16445"}, "0x00000000000000000001", "0"},
        {{"isless", "1", "2"}, "0x3ff0000000000000", "1"},
        {{"isless", "2", "nan"}, "0x4000000000000000", "0"},
    };
    for (const Case &c : cases) {
        if (!built(c.args[0].c_str())) continue;
        std::vector<std::string> argv = {"eval"};
        argv.insert(argv.end(), c.args.begin(), c.args.end());
        auto r = tool(argv);
        ASSERT_EQ(r.status, 0) << c.args[0] << "\n" << r.out;
        EXPECT_NE(r.out.find(std::string("arg 1: ") + c.operand), std::string::npos) << r.out;
        EXPECT_NE(r.out.find(std::string("entry        = ") + c.result + "  (0x"), std::string::npos) << r.out;
    }
}

// Every bad command line ends with status 2, a message naming the fault, and nothing on
// stdout: no header printed before the error is found.
TEST(ToolArgs, RejectsBadArgumentsBeforeAnyOutput) {
    struct Bad {
        std::vector<std::string> args;
        const char *message;
    };
    const Bad bad[] = {
        {{"eval", "ceil", "1", "--tier"}, "option --tier needs a value"},
        {{"eval", "ceil", "1", "--mode"}, "option --mode needs a value"},
        {{"eval", "ceil", "1", "--frob"}, "unknown option --frob"},
        {{"eval", "ceil", "1e400"}, "1e400 is beyond the largest double"},
        {{"eval", "ceil", "-1e-400"}, "is below the smallest subnormal double"},
        {{"eval", "ceilf", "1e39"}, "1e39 is beyond the largest float"},
        {{"bench", "ceil", "--range", "a", "b"}, "--range takes finite numbers, not 'a'"},
        {{"bench", "ceil", "--range", "2", "1"}, "--range needs LO below HI"},
        {{"bench", "ceil", "--range", "1"}, "option --range needs a value"},
        {{"bench", "cexp", "--range2", "3", "3"}, "--range2 needs LO below HI"},
        {{"bench", "fegetround"}, "which the tool cannot time"},
        {{"bench", "ceil", "--reps", "0"}, "--reps takes a whole number"},
        {{"bench", "ceil", "--reps", "abc"}, "--reps takes a whole number"},
        {{"bench", "ceil", "--passes", "-3"}, "--passes takes a whole number"},
        {{"bench", "ceil", "--tier"}, "option --tier needs a value"},
        {{"bench", "ceil", "--tier", "q9"}, "ceil has no tier q9"},
        {{"bench", "nosuch"}, "nosuch is not a built function"},
    };
    for (const Bad &b : bad) {
        auto r = tool(b.args);
        EXPECT_EQ(r.status, 2) << b.args.back() << "\n" << r.out;
        EXPECT_NE(r.out.find(b.message), std::string::npos) << r.out;
        EXPECT_EQ(r.out.find("tessera |"), std::string::npos) << r.out;
        EXPECT_EQ(r.out.find("# cycles"), std::string::npos) << r.out;
    }
    auto v = tool({"--version"});
    EXPECT_EQ(v.status, 0);
    EXPECT_TRUE(std::regex_search(v.out, std::regex("^tessera [0-9]+\\.[0-9]+\\.[0-9]+\n$"))) << v.out;
    auto u = tool({"--help"});
    for (const char *opt : {"--range", "--plt", "--version", "--table-only"})
        EXPECT_NE(u.out.find(opt), std::string::npos) << opt;
}

TEST(ToolEval, RejectsWhatItCannotCall) {
    const std::vector<std::vector<std::string>> bad = {
        {"eval"}, {"eval", "no_such_function", "1"}, {"eval", "ceil"}, {"eval", "ceil", "1", "2"},
        {"eval", "ceil", "1.5x"}, {"eval", "ceil", "raw:0x12345678901234567"}, {"eval", "ceil", "1", "--tier", "q9"},
        {"eval", "ceil", "1", "--mode", "sideways"}, {"eval", "__libm_ceil_q7", "1"}, {"frobnicate"},
    };
    for (const auto &args : bad) {
        auto r = tool(args);
        EXPECT_EQ(r.status, 2) << args.back() << "\n" << r.out;
    }
}

// ---- bench ------------------------------------------------------------------------------------
TEST(ToolBench, CeilAgainstSystemLibm) {
    auto r = tool({"bench", "ceil", "--reps", "3", "--passes", "4"});
    ASSERT_EQ(r.status, 0) << r.out;
    EXPECT_NE(r.out.find("tessera"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("libm"), std::string::npos) << r.out;
    // function, tier, inputs, then six figures: throughput and latency, each tessera, libm, ratio.
    std::string num = " +[0-9]+\\.[0-9]+";
    std::regex row("\nceil +entry \\w+ +\\[[^\\]]*\\]" + num + num + num + num + num + num);
    EXPECT_TRUE(std::regex_search(r.out, row)) << r.out;

    auto md = tool({"bench", "--markdown", "--reps", "1", "--passes", "1"});
    ASSERT_EQ(md.status, 0) << md.out;
    EXPECT_NE(md.out.find("| ceil | "), std::string::npos) << md.out;
    EXPECT_NE(md.out.find("Machine: "), std::string::npos) << md.out;

    auto tier = tool({"bench", "ceil", "--tier", "ex", "--reps", "1", "--passes", "1"});
    EXPECT_TRUE(std::regex_search(tier.out, std::regex("\nceil +ex "))) << tier.out;
    auto range = tool({"bench", "ceil", "--range", "-2", "3", "--reps", "1", "--passes", "1"});
    EXPECT_TRUE(std::regex_search(range.out, std::regex(R"(\nceil +entry \w+ +\[-2, 3\])"))) << range.out;
    EXPECT_EQ(tool({"bench", "no_such_function"}).status, 2);
}

// Every call shape gets its row of six figures: results through pointers, pairs, complex
// operands and results, integer and long operands, and the counterpart wrappers.
TEST(ToolBench, EveryCallShape) {
    const std::vector<std::string> names = {"frexp", "modf", "remquo", "sincos", "sincosd", "cexp", "cabs", "cpow",
                                            "cimagf", "lrint", "llroundl", "ilogbf", "scalbln",
                                            "nexttoward", "fma", "ldexp", "sind", "sinl"};
    std::vector<std::string> args = {"bench", "--markdown", "--table-only", "--reps", "1", "--passes", "1",
                                     "--range2", "-3", "3"};
    args.insert(args.end(), names.begin(), names.end());
    auto r = tool(args);
    ASSERT_EQ(r.status, 0) << r.out;
    for (const auto &n : names)
        EXPECT_TRUE(std::regex_search(r.out, std::regex("\\| " + n + " \\|[^\n]*\\|( [0-9]+\\.[0-9]+ \\|){6}\n"))) << n << "\n" << r.out;
    EXPECT_NE(r.out.find("vs libm sin(x*pi/180) | [-360, 360] |"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("| [-4, 4] + [-3, 3]i |"), std::string::npos) << r.out;

    auto bwr = tool({"bench-bwr", "frexp", "sincos", "lrintf"});
    ASSERT_EQ(bwr.status, 0) << bwr.out;
    for (const char *n : {"__bwr_frexp", "__bwr_sincos", "__bwr_lrintf"})
        EXPECT_TRUE(std::regex_search(bwr.out, std::regex(std::string("\\| ") + n + " \\|[^\n]*\\|( [0-9]+\\.[0-9]+ \\|){8}\n"))) << n << "\n" << bwr.out;
}

}  // namespace

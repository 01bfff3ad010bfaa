// The packed words the interpreter reads, unpacked and compared with the reference rows.
#include <cerrno>
#include "error_util.h"
#include "error/report_data.h"

using namespace errtest;

namespace {

const char *const kStepNames[] = {"", "SET_ERRNO", "ERRNO_IF_ZERO", "SET_RESULT", "COPY_ARG1",
                                  "SOURCE_ARG1", "SOURCE_RESULT", "APPLY_SIGN", "SIGNED_BY_ARG1",
                                  "SIGNED_NONPOSITIVE_ARG1", "SIGNED_BY_RESULT", "WRITE_MESSAGE",
                                  "CALL_HANDLER"};

TEST(ErrorTables, CodeRecords) {
    for (int code = 0; code < 404; ++code) {
        const CodeInfo &c = codes()[code];
        ASSERT_GE(c.prec, 0) << "code " << code << " has no reference row";
        uint32_t r = __libm_error_records[code];
        EXPECT_EQ(int(r & 0x7f), c.cls) << "code " << code;
        EXPECT_EQ(int((r >> 7) & 3), c.prec) << "code " << code;
        EXPECT_EQ(std::string(__libm_error_names[(r >> 9) & 0x7f]), c.name) << "code " << code;
        EXPECT_EQ(r >> 16, 0u) << "code " << code;
    }
}

TEST(ErrorTables, Names) {
    ASSERT_EQ(sizeof ref::kNames / sizeof *ref::kNames, 119u);
    for (int i = 0; i < 119; ++i) EXPECT_STREQ(__libm_error_names[i], ref::kNames[i]) << i;
}

TEST(ErrorTables, Classes) {
    int used = 0;
    for (const auto &c : ref::kClasses) {
        uint32_t w = __libm_error_classes[c.number];
        EXPECT_EQ(int(w & 7), type_number(c.type)) << "class " << c.number;
        EXPECT_EQ(int((w >> 3) & 7), c.message) << "class " << c.number;
        for (int m = 0; m < 4; ++m)
            EXPECT_EQ(int((w >> (6 + 6 * m)) & 0x3f), c.mode[m]) << "class " << c.number << " mode " << m;
        EXPECT_EQ(w >> 30, 0u);
        ++used;
    }
    EXPECT_EQ(used, 41);
}

TEST(ErrorTables, Actions) {
    for (const auto &a : ref::kActions) {
        uint32_t w = __libm_error_actions[a.row];
        EXPECT_STREQ(kValueNames[w & 7], a.value) << "action " << a.row;
        EXPECT_EQ(__libm_error_errno[(w >> 3) & 3], errno_of(a.err)) << "action " << a.row;
        EXPECT_EQ(int((w >> 5) & 0x1f), a.program) << "action " << a.row;
        EXPECT_EQ(w >> 10, 0u);
    }
    EXPECT_EQ(__libm_error_errno[0], ERANGE);
    EXPECT_EQ(__libm_error_errno[1], EDOM);
}

TEST(ErrorTables, Programs) {
    for (const auto &p : ref::kPrograms) {
        std::vector<std::string> got;
        for (uint64_t w = __libm_error_programs[p.number]; w & 15; w >>= 4) {
            ASSERT_LE(w & 15, 12u);
            got.push_back(kStepNames[w & 15]);
        }
        EXPECT_EQ(got, program_steps(p.number)) << "program " << p.number;
    }
}

TEST(ErrorTables, TypesAndFormats) {
    for (int i = 0; i < 7; ++i) EXPECT_STREQ(__libm_error_types[i], ref::kTypes[i]);
    for (int i = 0; i < 5; ++i) EXPECT_STREQ(__libm_error_formats[i], ref::kFormats[i]);
}

// The 16-bit words of a printed value, least significant first.
std::vector<uint16_t> printed_words(const std::string &s, int words) {
    std::vector<uint16_t> w(words);
    std::string hex;
    if (s == "all zero") {
        hex = std::string(4 * words, '0');
    } else if (s.find(", then") != std::string::npos) {
        hex = s.substr(0, 4) + std::string(4 * (words - 1), s.find("ones") != std::string::npos ? 'F' : '0');
    } else {
        for (char c : s)
            if (c != ' ') hex += c;
    }
    EXPECT_EQ(hex.size(), size_t(4 * words)) << s;
    for (int i = 0; i < words; ++i)
        w[words - 1 - i] = uint16_t(std::stoul(hex.substr(4 * i, 4), nullptr, 16));
    return w;
}

TEST(ErrorTables, PrecisionsAndValues) {
    for (int p = 0; p < 4; ++p) {
        const auto &want = ref::kPrecisions[p];
        const ErrorPrecision &got = __libm_error_precisions[p];
        EXPECT_STREQ(got.suffix, want.suffix);
        EXPECT_EQ(got.words, want.words);
        EXPECT_EQ(got.stride, want.stride);
        EXPECT_EQ(got.shift, want.shift);
        EXPECT_EQ(got.sign_word, want.sign_word);
        if (p < 3) {
            EXPECT_EQ(got.first, want.first);
        } else {
            // Extended values keep whole 16-byte cells (stride 8), so the binary128 values
            // begin after the extended block.
            const ErrorPrecision &l = __libm_error_precisions[2];
            EXPECT_GE(got.first, l.first + 8 * l.stride);
        }
        for (int i = 0; i < 8; ++i) {
            const ref::ValueRow &v = ref::kValues[i];
            const char *col[4] = {v.f, v.d, v.l, v.q};
            std::vector<uint16_t> w = printed_words(col[p], got.words);
            for (int k = 0; k < got.words; ++k)
                EXPECT_EQ(__libm_error_values[got.first + i * got.stride + k], w[k])
                    << "precision " << p << " value " << v.name << " word " << k;
        }
    }
    // The value blocks do not overlap.
    for (int p = 0; p < 3; ++p)
        EXPECT_LE(__libm_error_precisions[p].first + 8 * __libm_error_precisions[p].stride,
                  __libm_error_precisions[p + 1].first);
}

}  // namespace

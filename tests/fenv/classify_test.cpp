// Classification and quiet comparison: per format, tables of bit patterns with their
// class and their place in the order, run through every exported name of the shared
// library, with the flags of both units read around each call.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <math.h>
#include <signal.h>
#include <unistd.h>

#include <array>
#include <bit>
#include <string>
#include <vector>

#include "fenv/fpu.h"
#include "harness/harness.h"

namespace {

void *lib() {
    static void *h = dlopen(TSR_SO_PATH, RTLD_NOW | RTLD_LOCAL);
    return h;
}
void *sym(const std::string &n) {
    void *p = lib() ? dlsym(lib(), n.c_str()) : nullptr;
    EXPECT_NE(p, nullptr) << n;
    return p;
}

// The names of one member: plain and __ forms, the d forms of double, and for the finite
// member both spellings; binary128 has its __…q name alone.
const char *const kDNames[] = {"fpclassify", "finite", "isfinite", "isinf", "isnan", "isnormal",
                               "signbit"};
std::vector<std::string> names(const std::string &root, const std::string &sfx) {
    std::vector<std::string> roots{root};
    if (root == "finite") roots = sfx == "q" ? std::vector<std::string>{"isfinite"}
                                             : std::vector<std::string>{"finite", "isfinite"};
    std::vector<std::string> out;
    for (const auto &r : roots) {
        if (sfx == "q") {
            out.push_back("__" + r + "q");
            continue;
        }
        out.push_back(r + sfx);
        out.push_back("__" + r + sfx);
        if (sfx.empty())
            for (const char *d : kDNames)
                if (r == d) {
                    out.push_back(r + "d");
                    out.push_back("__" + r + "d");
                }
    }
    return out;
}

template <class T>
struct Pat {
    T v;
    int cls;     // FP_* of <math.h>
    bool neg;
    bool snan;   // a signalling NaN
    int rank;    // place in the order (equal values share it); NaNs: unused
    const char *what;
};

// ---- the tables --------------------------------------------------------------------------
// Positive patterns, ascending, with their rank; negatives are added by mirroring (the sign
// bit flipped, NaNs and malformed patterns alike).
template <class T> std::vector<Pat<T>> mirrored(std::vector<Pat<T>> pos) {
    std::vector<Pat<T>> all = pos;
    for (auto p : pos) {
        reinterpret_cast<char *>(&p.v)[std::is_same_v<T, long double> ? 9 : sizeof(T) - 1] ^= char(0x80);
        p.neg = true;
        p.rank = -p.rank;
        all.push_back(p);
    }
    return all;
}

double d(uint64_t b) { return th::f64(b); }
float f(uint32_t b) { return th::f32(b); }
long double l(uint16_t se, uint64_t m) { return th::f80(se, m); }
__float128 q(uint64_t hi, uint64_t lo) { return std::bit_cast<__float128>(std::array<uint64_t, 2>{lo, hi}); }

constexpr int Z = FP_ZERO, S = FP_SUBNORMAL, N = FP_NORMAL, I = FP_INFINITE, NaN = FP_NAN;

std::vector<Pat<double>> doubles() {
    return mirrored<double>({
        {d(0), Z, false, false, 0, "0"},
        {d(1), S, false, false, 1, "min subnormal"},
        {d(0x000fffffffffffff), S, false, false, 2, "max subnormal"},
        {d(0x0010000000000000), N, false, false, 3, "min normal"},
        {d(0x3ff0000000000000), N, false, false, 4, "1"},
        {d(0x3ff0000000000001), N, false, false, 5, "1+ulp"},
        {d(0x7fefffffffffffff), N, false, false, 6, "max"},
        {d(0x7ff0000000000000), I, false, false, 7, "inf"},
        {d(0x7ff8000000000000), NaN, false, false, 0, "qnan"},
        {d(0x7fffffffffffffff), NaN, false, false, 0, "qnan all ones"},
        {d(0x7ff0000000000001), NaN, false, true, 0, "snan min"},
        {d(0x7ff7ffffffffffff), NaN, false, true, 0, "snan max"},
    });
}
std::vector<Pat<float>> floats() {
    return mirrored<float>({
        {f(0), Z, false, false, 0, "0"},
        {f(1), S, false, false, 1, "min subnormal"},
        {f(0x007fffff), S, false, false, 2, "max subnormal"},
        {f(0x00800000), N, false, false, 3, "min normal"},
        {f(0x3f800000), N, false, false, 4, "1"},
        {f(0x3f800001), N, false, false, 5, "1+ulp"},
        {f(0x7f7fffff), N, false, false, 6, "max"},
        {f(0x7f800000), I, false, false, 7, "inf"},
        {f(0x7fc00000), NaN, false, false, 0, "qnan"},
        {f(0x7fffffff), NaN, false, false, 0, "qnan all ones"},
        {f(0x7f800001), NaN, false, true, 0, "snan min"},
        {f(0x7fbfffff), NaN, false, true, 0, "snan max"},
    });
}
// Extended, with the malformed patterns of an explicit integer bit: pseudo-zeros,
// unnormals and pseudo-denormals sit at the rank of the value their bits denote.
constexpr uint64_t J = 0x8000000000000000ull;
std::vector<Pat<long double>> extendeds() {
    return mirrored<long double>({
        {l(0, 0), Z, false, false, 0, "0"},
        {l(5, 0), S, false, false, 0, "pseudo-zero"},
        {l(0x7ffe, 0), S, false, false, 0, "pseudo-zero top"},
        {l(0, 1), S, false, false, 1, "min subnormal"},
        {l(1, 1), S, false, false, 1, "unnormal = min subnormal"},
        {l(0, 2), S, false, false, 2, "2 min subnormal"},
        {l(2, 1), S, false, false, 2, "unnormal = 2 min subnormal"},
        {l(0, J - 1), S, false, false, 3, "max subnormal"},
        {l(1, J), N, false, false, 4, "min normal"},
        {l(0, J), S, false, false, 4, "pseudo-denormal = min normal"},
        {l(0, ~0ull), S, false, false, 5, "pseudo-denormal max"},
        {l(1, ~0ull), N, false, false, 5, "normal = pseudo-denormal max"},
        {l(0x3fff, J), N, false, false, 6, "1"},
        {l(0x4000, J >> 1), S, false, false, 6, "unnormal = 1"},
        {l(0x403e, 1), S, false, false, 6, "unnormal 1 in the last bit"},
        {l(0x3fff, J | J >> 1), N, false, false, 7, "1.5"},
        {l(0x7ffd, J), N, false, false, 8, "2^16382"},
        {l(0x7ffe, J >> 1), S, false, false, 8, "unnormal = 2^16382"},
        {l(0x7ffe, ~0ull), N, false, false, 9, "max"},
        {l(0x7fff, J), I, false, false, 10, "inf"},
        {l(0x7fff, J | J >> 1), NaN, false, false, 0, "qnan"},
        {l(0x7fff, ~0ull), NaN, false, false, 0, "qnan all ones"},
        {l(0x7fff, J | 1), NaN, false, true, 0, "snan"},
        {l(0x7fff, 0), NaN, false, false, 0, "pseudo-infinity"},
        {l(0x7fff, J >> 1), NaN, false, false, 0, "pseudo-nan quiet"},
        {l(0x7fff, 1), NaN, false, true, 0, "pseudo-nan signalling"},
    });
}
std::vector<Pat<__float128>> quads() {
    return mirrored<__float128>({
        {q(0, 0), Z, false, false, 0, "0"},
        {q(0, 1), S, false, false, 1, "min subnormal"},
        {q(1, 0), S, false, false, 2, "subnormal 2^64 min"},
        {q(0x0000ffffffffffff, ~0ull), S, false, false, 3, "max subnormal"},
        {q(0x0001000000000000, 0), N, false, false, 4, "min normal"},
        {q(0x3fff000000000000, 0), N, false, false, 5, "1"},
        {q(0x3fff000000000000, 1), N, false, false, 6, "1+ulp"},
        {q(0x3fff000000000001, 0), N, false, false, 7, "1+2^64 ulp"},
        {q(0x3fff800000000000, 0), N, false, false, 8, "1.5"},
        {q(0x7ffeffffffffffff, ~0ull), N, false, false, 9, "max"},
        {q(0x7fff000000000000, 0), I, false, false, 10, "inf"},
        {q(0x7fff800000000000, 0), NaN, false, false, 0, "qnan"},
        {q(0x7fffffffffffffff, ~0ull), NaN, false, false, 0, "qnan all ones"},
        {q(0x7fff000000000000, 1), NaN, false, true, 0, "snan, payload in the low word"},
        {q(0x7fff400000000000, 0), NaN, false, true, 0, "snan"},
    });
}

int flags_around() { return fpu::sse_flags() | fpu::x87_flags(); }

// Every name of a member, as calls.
template <class R, class... A> th::Calls<R, A...> named_calls(const char *root, const std::string &sfx) {
    th::Calls<R, A...> c;
    for (const auto &name : names(root, sfx))
        if (void *p = sym(name)) th::add_call(c, name.c_str(), reinterpret_cast<R (*)(A...)>(p));
    return c;
}
std::string what(const auto &p) { return std::string(p.neg ? "-" : "+") + p.what; }

// ---- classification -------------------------------------------------------------------------
// Every pattern through every name of each member in every mode: the answer its class gives,
// and no flag at all (the denormal flag included).
template <class T>
void check_classify(const std::string &sfx, const std::vector<Pat<T>> &pats) {
    const std::pair<const char *, int (*)(const Pat<T> &)> members[] = {
        {"fpclassify", [](const Pat<T> &p) { return p.cls; }},
        {"finite", [](const Pat<T> &p) { return int(p.cls != FP_NAN && p.cls != FP_INFINITE); }},
        {"isinf", [](const Pat<T> &p) { return p.cls == FP_INFINITE ? (p.neg ? -1 : 1) : 0; }},
        {"isnan", [](const Pat<T> &p) { return int(p.cls == FP_NAN); }},
        {"isnormal", [](const Pat<T> &p) { return int(p.cls == FP_NORMAL); }},
        {"signbit", [](const Pat<T> &p) { return int(p.neg); }},
    };
    for (const auto &[root, expect] : members) {
        auto calls = named_calls<int, T>(root, sfx);
        for (const auto &p : pats)
            th::check_calls(std::string(root) + " of " + what(p), calls, {{p.v}}, th::ALL_MODES,
                            [&](const auto &, const auto &, int) { return th::Expect<int>{expect(p), th::CHECK_DE}; });
    }
}

TEST(Classify, Double) { check_classify<double>("", doubles()); }
TEST(Classify, Float) { check_classify<float>("f", floats()); }
TEST(Classify, Extended) { check_classify<long double>("l", extendeds()); }
TEST(Classify, Binary128) { check_classify<__float128>("q", quads()); }

// ---- comparisons ------------------------------------------------------------------------------
// Every pair of the table through every comparison, in every rounding mode: ranks decide
// for non-NaN operands;
// an ordered comparison with a NaN is 0, isunordered 1. A float or double signalling NaN
// raises invalid in an ordered comparison; nothing else raises anything.
template <class T>
void check_compare(const std::string &sfx, const std::vector<Pat<T>> &pats, bool snan_raises) {
    struct Member {
        const char *root;
        bool ordered;
        bool (*holds)(int, int);
    };
    const Member members[] = {
        {"isgreater", true, [](int a, int b) { return a > b; }},
        {"isgreaterequal", true, [](int a, int b) { return a >= b; }},
        {"isless", true, [](int a, int b) { return a < b; }},
        {"islessequal", true, [](int a, int b) { return a <= b; }},
        {"islessgreater", true, [](int a, int b) { return a != b; }},
        {"isunordered", false, [](int, int) { return false; }},
    };
    for (const auto &m : members) {
        auto calls = named_calls<int, T, T>(m.root, sfx);
        for (const auto &x : pats)
            for (const auto &y : pats) {
                bool unord = x.cls == FP_NAN || y.cls == FP_NAN;
                int want = unord ? !m.ordered : m.holds(x.rank, y.rank);
                int flags = (snan_raises && m.ordered && (x.snan || y.snan) ? FE_INVALID : 0) | th::CHECK_DE;
                th::check_calls(std::string(m.root) + " of " + what(x) + ", " + what(y), calls, {{x.v, y.v}},
                                th::ALL_MODES, [&](const auto &, const auto &, int) { return th::Expect<int>{want, flags}; });
            }
    }
}

TEST(Compare, Double) { check_compare<double>("", doubles(), true); }
TEST(Compare, Float) { check_compare<float>("f", floats(), true); }
TEST(Compare, Extended) { check_compare<long double>("l", extendeds(), false); }
TEST(Compare, Binary128) { check_compare<__float128>("q", quads(), false); }

// Answers come from the bits: denormals-are-zero and flush-to-zero change none of them.
TEST(Compare, SubnormalsUnderDaz) {
    fpu::Saved saved;
    fpu::set_mxcsr(fpu::mxcsr() | 0x8040);
    fpu::clear_all();
    double a = d(1), b = d(2);
    EXPECT_EQ(isless_local(a, b), 1);
    EXPECT_EQ(islessgreater_local(a, -a), 1);
    EXPECT_EQ(fpclassify_local(a), FP_SUBNORMAL);
    EXPECT_EQ(islessf_local(f(1), f(2)), 1);
    EXPECT_EQ(flags_around(), 0);
}

// A signalling NaN with invalid unmasked: the ordered double comparison traps, as the
// quiet compare it makes would; isunordered and the extended form do not.
void cmp_snan(int which) {
    feenableexcept_local(FE_INVALID);
    double s = d(0x7ff0000000000001);
    long double sl = l(0x7fff, J | 1);
    int r = which == 0 ? isgreater_local(s, 1.0)
          : which == 1 ? isunordered_local(s, 1.0)
                       : isgreaterl_local(sl, 1.0L);
    _exit(r == (which == 1) ? 0 : 3);
}
TEST(Compare, SignallingNanTraps) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(cmp_snan(0), testing::KilledBySignal(SIGFPE), "");
    EXPECT_EXIT(cmp_snan(1), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(cmp_snan(2), testing::ExitedWithCode(0), "");
}

// Every member of a cell is one entry point.
TEST(Classify, NamesShareOneAddress) {
    const char *roots[] = {"fpclassify", "finite", "isinf", "isnan", "isnormal", "signbit",
                           "isgreater", "isgreaterequal", "isless", "islessequal",
                           "islessgreater", "isunordered"};
    int count = 0;
    for (const char *sfx : {"", "f", "l", "q"}) {
        for (const char *r : roots) {
            auto ns = names(r, sfx);
            void *first = sym(ns[0]);
            for (const auto &n : ns) {
                EXPECT_EQ(sym(n), first) << n << " and " << ns[0];
                ++count;
            }
        }
    }
    EXPECT_EQ(count, 104);
}

}  // namespace

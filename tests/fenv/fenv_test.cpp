// The environment functions against both units, set up and read back directly (never
// through the library), as rows of the shared environment runner: the units before, the
// call, what it returns and the units it leaves.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "fenv/fpu.h"

namespace {

using fpu::kAll6;
using fpu::kDenormal;
using th::EnvRow;
using th::Units;

constexpr int INV = FE_INVALID, DZ = FE_DIVBYZERO, OV = FE_OVERFLOW, UN = FE_UNDERFLOW, NX = FE_INEXACT;
constexpr uint16_t kCw = 0x037f;    // x87 default: all masked, nearest, 64-bit precision
constexpr uint32_t kMx = 0x1f80;    // SSE default: all masked, nearest
constexpr uint16_t kPc53 = 0x200;   // x87 precision control: 53 bits
constexpr uint32_t kFtz = 0x8000, kDaz = 0x40;
constexpr Units kDefault{kCw, 0, kMx};
// The state both units are in for a rounding mode (nearest, ... as <fenv.h> numbers them).
constexpr Units in_mode(int m, uint16_t flags87 = 0, uint32_t sse = 0) {
    return {uint16_t((kCw & ~0xc00) | m), flags87, (kMx & ~0x6000u) | uint32_t(m) << 3 | sse};
}
// fegetexceptflag's return value and the stored flags in one number.
long getflag(int mask) {
    fexcept_t f = 0xffff;
    return fegetexceptflag_local(&f, mask) * 0x10000L + f;
}

// ---- flags -----------------------------------------------------------------------------
// A flag of either unit is seen through the library, and cleared in both units by it,
// leaving the other flags alone.
TEST(Env, FlagsOfEitherUnitSeenAndCleared) {
    const struct {
        int code;
        const char *name;
    } exc[] = {{INV, "invalid"}, {kDenormal, "denormal"}, {DZ, "divbyzero"}, {OV, "overflow"}, {UN, "underflow"}, {NX, "inexact"}};
    std::vector<EnvRow> rows;
    for (bool x87 : {false, true})
        for (const auto &e : exc) {
            const int c = e.code, other = c == INV ? DZ : INV;  // raised in the other unit
            const Units b = x87 ? Units{kCw, uint16_t(c), kMx | other} : Units{kCw, uint16_t(other), kMx | c};
            const Units cleared = x87 ? Units{kCw, 0, kMx | other} : Units{kCw, uint16_t(other), kMx};
            const std::string w = std::string(x87 ? "x87 " : "sse ") + e.name;
            rows.push_back({w + ": fetestexcept", b, [c] { return fetestexcept_local(c); }, c, b});
            rows.push_back({w + ": fetestexcept all", b, [] { return fetestexcept_local(kAll6); }, c | other, b});
            rows.push_back({w + ": fetestexcept none", b, [] { return fetestexcept_local(0) | fetestexcept_local(0x7fffffc0); }, 0, b});
            rows.push_back({w + ": fegetexceptflag", b, [c] { return getflag(c); }, c, b});
            rows.push_back({w + ": feclearexcept", b, [c] { return feclearexcept_local(c); }, 0, cleared});
        }
    const Units some{kCw, INV, kMx | NX};
    rows.push_back({"feclearexcept nothing", some, [] { return feclearexcept_local(0); }, 0, some});
    rows.push_back({"feclearexcept unknown bits", some, [] { return feclearexcept_local(0x1000); }, 0, some});
    rows.push_back({"feclearexcept all", some, [] { return feclearexcept_local(kAll6); }, 0, kDefault});
    EXPECT_EQ(th::check_env_rows(rows), 0);
}

// feraiseexcept raises by double SSE arithmetic, in every rounding mode, with inexact
// along with overflow and underflow, and nothing for the denormal-operand exception.
TEST(Env, RaiseByArithmetic) {
    const struct {
        int mask, sse;
    } raised[] = {{INV, INV}, {DZ, DZ}, {kDenormal, 0}, {OV, OV | NX}, {UN, UN | NX}, {NX, NX},
                  {INV | UN, INV | UN | NX}, {kAll6, FE_ALL_EXCEPT}, {0, 0}, {0x1000, 0}};
    std::vector<EnvRow> rows;
    for (int m : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO})
        for (const auto &r : raised)
            rows.push_back({"feraiseexcept " + std::to_string(r.mask) + " in mode " + std::to_string(m), in_mode(m),
                            [r] { return feraiseexcept_local(r.mask); }, 0, in_mode(m, 0, r.sse)});
    EXPECT_EQ(th::check_env_rows(rows), 0);
}

// The flags as a stored set: read per exception, and written back into both units, only
// the named exceptions taking the stored state (set or cleared), without trapping.
TEST(Env, ExceptFlagCopiedIntoBothUnits) {
    static const fexcept_t saved = INV | OV | kDenormal, none = 0;
    const Units mixed{kCw, INV, kMx | OV | NX | kDenormal}, both{kCw, INV | kDenormal, kMx | INV | kDenormal};
    EXPECT_EQ(th::check_env_rows({
        {"fegetexceptflag all", mixed, [] { return getflag(kAll6); }, INV | OV | NX | kDenormal, mixed},
        {"fegetexceptflag some", mixed, [] { return getflag(INV | DZ); }, INV, mixed},
        {"fesetexceptflag", {kCw, 0, kMx | DZ}, [] { return fesetexceptflag_local(&saved, INV | kDenormal | DZ); }, 0, both},
        {"fesetexceptflag of nothing", both, [] { return fesetexceptflag_local(&saved, 0); }, 0, both},
        {"fesetexceptflag of a zero", both, [] { return fesetexceptflag_local(&none, INV); }, 0,
         {kCw, kDenormal, kMx | kDenormal}},
    }), 0);
}

// ---- rounding ----------------------------------------------------------------------------
// fesetround sets both units; fegetround and __libm_flt_rounds read the SSE unit alone;
// an unknown mode changes nothing.
TEST(Env, Rounding) {
    const int flt_rounds[] = {1, 3, 2, 0};  // by mode >> 10: nearest, downward, upward, toward zero
    std::vector<EnvRow> rows;
    for (int m : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        const std::string w = " " + std::to_string(m);
        rows.push_back({"fesetround" + w, kDefault, [m] { return fesetround_local(m); }, 0, in_mode(m)});
        rows.push_back({"fegetround" + w, in_mode(m), [] { return fegetround_local(); }, m, in_mode(m)});
        rows.push_back({"__libm_flt_rounds" + w, in_mode(m), [] { return __libm_flt_rounds_local(); }, flt_rounds[m >> 10],
                        in_mode(m)});
        for (int bad : {1, 0x100, 0x400 | 1, 0x1000, 0x2000, -1, 0x300})
            rows.push_back({"fesetround of " + std::to_string(bad) + " from" + w, in_mode(m),
                            [bad] { return long(fesetround_local(bad) != 0); }, 1, in_mode(m)});
    }
    const Units split{uint16_t((kCw & ~0xc00) | FE_TOWARDZERO), 0, in_mode(FE_UPWARD).mxcsr};
    rows.push_back({"fegetround of the SSE unit", split, [] { return fegetround_local(); }, FE_UPWARD, split});
    rows.push_back({"__libm_flt_rounds of the SSE unit", split, [] { return __libm_flt_rounds_local(); }, 2, split});
    EXPECT_EQ(th::check_env_rows(rows), 0);
}

// ---- environments ----------------------------------------------------------------------
// Two units in different states: rounding, masks and flags differ per unit; FTZ set.
// (Unmasked exceptions have no flag pending, so nothing fires.)
constexpr uint16_t kCwA = kCw & ~0xc00 & ~OV | FE_TOWARDZERO;  // 64-bit precision
constexpr uint16_t kSwA = INV | NX;
constexpr uint32_t kMxA = kFtz | (uint32_t(FE_UPWARD) << 3) | (uint32_t(kAll6 & ~UN) << 7) | DZ;
constexpr Units kA{kCwA, kSwA, kMxA};
constexpr uint16_t kCwA53 = uint16_t((kCwA & ~0x300) | kPc53);

// The record is the system's layout: the x87 image, then MXCSR; taking it changes nothing
// (the x87 masks included); installing it restores masks, rounding and flags per unit, but
// neither the precision control nor reserved MXCSR bits (loading those would fault).
TEST(Env, GetAndSetEnv) {
    fenv_t env, dfl;
    EXPECT_EQ(th::check_env_rows({{"fegetenv", kA, [&] { return fegetenv_local(&env); }, 0, kA},
                                  {"fegetenv of the defaults", kDefault, [&] { return fegetenv_local(&dfl); }, 0, kDefault}}), 0);
    EXPECT_EQ(env.__control_word, kCwA);
    EXPECT_EQ(env.__status_word & 0x3f, kSwA);
    EXPECT_EQ(env.__mxcsr, kMxA);
    dfl.__mxcsr |= 0xffff0000u;
    const Units other{uint16_t((kCw & ~0x300) | kPc53 | FE_UPWARD), UN, kMx | kDaz | OV};
    const Units set{kCwA53, kSwA, kMxA};
    EXPECT_EQ(th::check_env_rows({
        {"fesetenv", other, [&] { return fesetenv_local(&env); }, 0, set},
        {"fetestexcept after fesetenv", set, [] { return fetestexcept_local(kAll6); }, kSwA | DZ, set},
        {"fegetround after fesetenv", set, [] { return fegetround_local(); }, FE_UPWARD, set},
        {"fegetexcept after fesetenv", set, [] { return fegetexcept_local(); }, UN, set},
        {"fesetenv with reserved bits", kA, [&] { return fesetenv_local(&dfl); }, 0, kDefault},
    }), 0);
}

// The default environment: all masked, nearest, no flags in both units; FTZ, DAZ and the
// x87 precision stay.  FE_NOMASK_ENV, which the system header offers: the same with the five
// standard exceptions unmasked.  feholdexcept: rounding and the other controls kept, all
// masked, all flags cleared, the old state recorded.
TEST(Env, DefaultNoMaskAndHold) {
    fenv_t held;
    EXPECT_EQ(th::check_env_rows({
        {"FE_DFL_ENV", {kCwA53, kSwA, kMxA | kDaz}, [] { return fesetenv_local(FE_DFL_ENV); }, 0,
         {uint16_t((kCw & ~0x300) | kPc53), 0, kMx | kFtz | kDaz}},
        {"FE_NOMASK_ENV", kA, [] { return fesetenv_local(FE_NOMASK_ENV); }, 0,
         {uint16_t((kCw & ~0x3f) | kDenormal), 0, kFtz | (kDenormal << 7)}},
        {"feholdexcept", {kCwA, kSwA, kMxA | kDaz}, [&] { return feholdexcept_local(&held); }, 0,
         {kCwA | 0x3f, 0, kFtz | kDaz | (uint32_t(FE_UPWARD) << 3) | kMx}},
    }), 0);
    EXPECT_EQ(held.__control_word, kCwA);
    EXPECT_EQ(held.__status_word & 0x3f, kSwA);
    EXPECT_EQ(held.__mxcsr, kMxA | kDaz);
}

// feupdateenv: the installed flags plus those raised before, raised again by arithmetic
// (overflow with inexact; a denormal-operand flag is not carried).
TEST(Env, Update) {
    fenv_t env;
    EXPECT_EQ(th::check_env_rows({
        {"feupdateenv after feholdexcept", kA,
         [&] {
             feholdexcept_local(&env);
             fpu::x87_raise(OV | kDenormal);  // (SSE would flush: FTZ is on)
             return feupdateenv_local(&env);
         },
         0, {kCwA, kSwA, (kMxA & ~0x3fu) | DZ | OV | NX}},
        {"feupdateenv of the defaults", in_mode(FE_DOWNWARD, 0, UN | NX), [] { return feupdateenv_local(FE_DFL_ENV); }, 0,
         {kCw, 0, kMx | UN | NX}},
    }), 0);
}

// ---- masks ----------------------------------------------------------------------------------
// Both units' masks; unmasking drops the pending x87 flags (so none fires) and keeps MXCSR's;
// a zero mask changes nothing; fegetexcept reads the SSE masks alone.
TEST(Env, EnableDisableBothUnits) {
    const Units s0{kCw, NX, kMx | NX};
    const Units s1{uint16_t(kCw & ~(OV | DZ)), 0, (kMx & ~uint32_t((OV | DZ) << 7)) | NX};
    const Units s2{uint16_t(kCw & ~DZ), 0, (kMx & ~uint32_t(DZ << 7)) | NX};
    const Units x87only{uint16_t(kCw & ~INV), 0, kMx};
    EXPECT_EQ(th::check_env_rows({
        {"feenableexcept of nothing", s0, [] { return feenableexcept_local(0); }, 0, s0},
        {"fedisableexcept of nothing", s0, [] { return fedisableexcept_local(0); }, 0, s0},
        {"feenableexcept", s0, [] { return feenableexcept_local(OV | DZ | 0x1000); }, 0, s1},
        {"fegetexcept", s1, [] { return fegetexcept_local(); }, OV | DZ, s1},
        {"fedisableexcept", s1, [] { return fedisableexcept_local(OV); }, OV | DZ, s2},
        {"fegetexcept after", s2, [] { return fegetexcept_local(); }, DZ, s2},
        {"fedisableexcept all", s2, [] { return fedisableexcept_local(kAll6); }, DZ, {kCw, 0, kMx | NX}},
        {"fegetexcept of the SSE unit", x87only, [] { return fegetexcept_local(); }, 0, x87only},
    }), 0);
}

// ---- traps, each in a child process -------------------------------------------------------
void trap_sse(int e) {
    feenableexcept_local(e);
    feraiseexcept_local(e);
    _exit(0);
}
void trap_x87(int e) {
    feenableexcept_local(e);
    fpu::x87_raise(e);
    asm volatile("fwait");
    _exit(0);
}

TEST(EnvTraps, UnmaskedExceptionsTrap) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    for (int e : {FE_INVALID, FE_DIVBYZERO, FE_OVERFLOW, FE_UNDERFLOW, FE_INEXACT}) {
        SCOPED_TRACE(e);
        EXPECT_EXIT(trap_sse(e), testing::KilledBySignal(SIGFPE), "");
        EXPECT_EXIT(trap_x87(e), testing::KilledBySignal(SIGFPE), "");
    }
    // The denormal-operand exception: feraiseexcept has nothing for it, arithmetic does.
    EXPECT_EXIT(trap_sse(kDenormal), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(trap_x87(kDenormal), testing::KilledBySignal(SIGFPE), "");
}

void update_traps() {
    fenv_t env;
    feenableexcept_local(FE_INVALID);
    feholdexcept_local(&env);
    feraiseexcept_local(FE_INVALID);  // masked now: a flag only
    feupdateenv_local(&env);          // raised again under the unmasked environment
    _exit(0);
}
void setflag_does_not_trap() {
    feenableexcept_local(FE_INVALID | FE_OVERFLOW);
    const fexcept_t f = FE_INVALID | FE_OVERFLOW;
    fesetexceptflag_local(&f, FE_INVALID | FE_OVERFLOW);
    int seen = fetestexcept_local(kAll6);
    feclearexcept_local(kAll6);
    _exit(seen == (FE_INVALID | FE_OVERFLOW) ? 0 : 1);
}
void setenv_unmasks() {
    fenv_t env;
    fegetenv_local(&env);
    env.__mxcsr &= ~uint32_t(FE_DIVBYZERO << 7);
    fesetenv_local(&env);
    volatile double one = 1.0, zero = 0.0, r = one / zero;
    (void)r;
    _exit(0);
}

TEST(EnvTraps, UpdateSetFlagAndSetEnv) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(update_traps(), testing::KilledBySignal(SIGFPE), "");
    EXPECT_EXIT(setflag_does_not_trap(), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(setenv_unmasks(), testing::KilledBySignal(SIGFPE), "");
}

}  // namespace

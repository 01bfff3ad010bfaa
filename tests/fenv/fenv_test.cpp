// The environment functions against both units, read and written directly (fpu.h).
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include "fenv/fpu.h"

namespace {

using fpu::kAll6;
using fpu::kDenormal;

struct Exc {
    int code;
    const char *name;
};
const Exc kExc[] = {{FE_INVALID, "invalid"},     {kDenormal, "denormal"},
                    {FE_DIVBYZERO, "divbyzero"}, {FE_OVERFLOW, "overflow"},
                    {FE_UNDERFLOW, "underflow"}, {FE_INEXACT, "inexact"}};

// Every test leaves both units as it found them.
class Env : public ::testing::Test {
  protected:
    void SetUp() override { fpu::clear_all(); }
    fpu::Saved saved_;
};

// ---- flags -----------------------------------------------------------------------------
// A flag raised by one unit's arithmetic is seen through the library, and cleared in both
// units by it, leaving the other flags alone.
TEST_F(Env, FlagsOfEitherUnitSeenAndCleared) {
    using Raise = void (*)(int);
    const struct {
        const char *unit;
        Raise raise;
    } units[] = {{"sse", fpu::sse_raise}, {"x87", fpu::x87_raise}};
    for (const auto &u : units) {
        for (const Exc &e : kExc) {
            SCOPED_TRACE(std::string(u.unit) + " " + e.name);
            fpu::clear_all();
            u.raise(e.code);
            int raised = fpu::sse_flags() | fpu::x87_flags();
            ASSERT_TRUE(raised & e.code) << "the test's own arithmetic failed to raise it";
            EXPECT_EQ(fetestexcept_local(e.code), e.code);
            EXPECT_EQ(fetestexcept_local(kAll6), raised);
            EXPECT_EQ(fetestexcept_local(0), 0);
            EXPECT_EQ(fetestexcept_local(0x7fffffc0), 0);
            fexcept_t f = 0xffff;
            EXPECT_EQ(fegetexceptflag_local(&f, e.code), 0);
            EXPECT_EQ(f, e.code);
            // Raise an unrelated flag in the other unit too; only e.code is cleared.
            int other = e.code == FE_INVALID ? FE_DIVBYZERO : FE_INVALID;
            (u.raise == fpu::sse_raise ? fpu::x87_raise : fpu::sse_raise)(other);
            EXPECT_EQ(feclearexcept_local(e.code), 0);
            EXPECT_EQ((fpu::sse_flags() | fpu::x87_flags()) & e.code, 0);
            EXPECT_EQ(fetestexcept_local(other), other);
            EXPECT_EQ(fetestexcept_local(e.code), 0);
        }
    }
}

TEST_F(Env, ClearWithUnknownBitsOnly) {
    fpu::sse_raise(FE_INEXACT);
    fpu::x87_raise(FE_INVALID);
    int before_sse = fpu::sse_flags(), before_x87 = fpu::x87_flags();
    EXPECT_EQ(feclearexcept_local(0), 0);
    EXPECT_EQ(feclearexcept_local(0x1000), 0);
    EXPECT_EQ(fpu::sse_flags(), before_sse);
    EXPECT_EQ(fpu::x87_flags(), before_x87);
    EXPECT_EQ(feclearexcept_local(kAll6), 0);
    EXPECT_EQ(fpu::sse_flags() | fpu::x87_flags(), 0);
}

// feraiseexcept raises by double SSE arithmetic, in every rounding mode, with inexact
// along with overflow and underflow, and nothing for the denormal-operand exception.
TEST_F(Env, RaiseByArithmetic) {
    const struct {
        int mask, sse;
    } rows[] = {
        {FE_INVALID, FE_INVALID},
        {FE_DIVBYZERO, FE_DIVBYZERO},
        {kDenormal, 0},
        {FE_OVERFLOW, FE_OVERFLOW | FE_INEXACT},
        {FE_UNDERFLOW, FE_UNDERFLOW | FE_INEXACT},
        {FE_INEXACT, FE_INEXACT},
        {FE_INVALID | FE_UNDERFLOW, FE_INVALID | FE_UNDERFLOW | FE_INEXACT},
        {kAll6, FE_ALL_EXCEPT},
        {0, 0},
        {0x1000, 0},
    };
    for (int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        fpu::set_mxcsr((fpu::mxcsr() & ~0x6000u) | uint32_t(mode) << 3);
        for (const auto &r : rows) {
            SCOPED_TRACE(testing::Message() << "mode " << mode << " mask " << r.mask);
            fpu::clear_all();
            EXPECT_EQ(feraiseexcept_local(r.mask), 0);
            EXPECT_EQ(fpu::sse_flags(), r.sse);
            EXPECT_EQ(fpu::x87_flags(), 0);
        }
    }
}

TEST_F(Env, ExceptFlagCopiedIntoBothUnits) {
    fpu::x87_raise(FE_INVALID);
    fpu::sse_raise(FE_OVERFLOW | kDenormal);  // overflow brings inexact
    fexcept_t f = 0;
    fegetexceptflag_local(&f, kAll6);
    EXPECT_EQ(f, FE_INVALID | FE_OVERFLOW | FE_INEXACT | kDenormal);
    fegetexceptflag_local(&f, FE_INVALID | FE_DIVBYZERO);
    EXPECT_EQ(f, FE_INVALID);

    const fexcept_t saved = FE_INVALID | FE_OVERFLOW | kDenormal;
    fpu::clear_all();
    fpu::sse_raise(FE_DIVBYZERO);
    // Only the named exceptions take the stored state: set or cleared.
    EXPECT_EQ(fesetexceptflag_local(&saved, FE_INVALID | kDenormal | FE_DIVBYZERO), 0);
    EXPECT_EQ(fpu::sse_flags(), FE_INVALID | kDenormal);
    EXPECT_EQ(fpu::x87_flags(), FE_INVALID | kDenormal);
    // A mask of 0 does nothing.
    EXPECT_EQ(fesetexceptflag_local(&saved, 0), 0);
    EXPECT_EQ(fpu::sse_flags(), FE_INVALID | kDenormal);
    // Clearing through a stored zero.
    const fexcept_t none = 0;
    EXPECT_EQ(fesetexceptflag_local(&none, FE_INVALID), 0);
    EXPECT_EQ(fpu::sse_flags() | fpu::x87_flags(), kDenormal);
}

// ---- rounding ----------------------------------------------------------------------------
// 1 + 2^-60 in double and 1 + 2^-70 in extended: rounded up only upward; -(1 + tiny)
// rounded away from zero only downward.
TEST_F(Env, RoundingSetInBothUnits) {
    const struct {
        int mode, flt_rounds;
        bool up_sse, down_sse;
    } rows[] = {{FE_TONEAREST, 1, false, false},
                {FE_UPWARD, 2, true, false},
                {FE_DOWNWARD, 3, false, true},
                {FE_TOWARDZERO, 0, false, false}};
    for (const auto &r : rows) {
        SCOPED_TRACE(r.mode);
        EXPECT_EQ(fesetround_local(r.mode), 0);
        EXPECT_EQ(fpu::sse_round(), r.mode);
        EXPECT_EQ(fpu::x87_round(), r.mode);
        EXPECT_EQ(fegetround_local(), r.mode);
        EXPECT_EQ(__libm_flt_rounds_local(), r.flt_rounds);
        volatile double one = 1.0, td = 0x1p-60;
        volatile long double onel = 1.0L, tl = 0x1p-70L;
        EXPECT_EQ(one + td > 1.0, r.up_sse);
        EXPECT_EQ(-one - td < -1.0, r.down_sse);
        EXPECT_EQ(onel + tl > 1.0L, r.up_sse);
        EXPECT_EQ(-onel - tl < -1.0L, r.down_sse);
    }
}

TEST_F(Env, RoundingRejectsUnknownModes) {
    fesetround_local(FE_DOWNWARD);
    uint32_t mx = fpu::mxcsr();
    uint16_t cw = fpu::cw();
    for (int bad : {1, 0x100, 0x400 | 1, 0x1000, 0x2000, -1, 0x300}) {
        SCOPED_TRACE(bad);
        EXPECT_NE(fesetround_local(bad), 0);
        EXPECT_EQ(fpu::mxcsr(), mx);
        EXPECT_EQ(fpu::cw(), cw);
    }
}

// fegetround and __libm_flt_rounds read the SSE unit alone.
TEST_F(Env, RoundingReadFromSse) {
    fpu::set_mxcsr((fpu::mxcsr() & ~0x6000u) | (uint32_t(FE_UPWARD) << 3));
    fpu::set_x87(uint16_t((fpu::cw() & ~0xc00) | FE_TOWARDZERO), 0);
    EXPECT_EQ(fegetround_local(), FE_UPWARD);
    EXPECT_EQ(__libm_flt_rounds_local(), 2);
}

// ---- environments ----------------------------------------------------------------------
// Two units in different states: rounding, masks and flags differ per unit; FTZ set.
// (Unmasked exceptions have no flag pending, so nothing fires.)
constexpr uint16_t kCwA = 0x037f & ~0xc00 & ~FE_OVERFLOW | FE_TOWARDZERO;  // 64-bit PC
constexpr uint16_t kSwA = FE_INVALID | FE_INEXACT;
constexpr uint32_t kMxA = 0x8000 | (uint32_t(FE_UPWARD) << 3) |
                          (uint32_t(kAll6 & ~FE_UNDERFLOW) << 7) | FE_DIVBYZERO;

void install_a() {
    fpu::set_x87(kCwA, kSwA);
    fpu::set_mxcsr(kMxA);
}

TEST_F(Env, GetEnvRecordsAndLeavesUnits) {
    install_a();
    fenv_t env;
    EXPECT_EQ(fegetenv_local(&env), 0);
    // Nothing changed, the x87 masks included.
    EXPECT_EQ(fpu::cw(), kCwA);
    EXPECT_EQ(fpu::x87_flags(), kSwA);
    EXPECT_EQ(fpu::mxcsr(), kMxA);
    // The record is the system's layout: the x87 image, then MXCSR.
    EXPECT_EQ(env.__control_word, kCwA);
    EXPECT_EQ(env.__status_word & 0x3f, kSwA);
    EXPECT_EQ(env.__mxcsr, kMxA);
}

TEST_F(Env, SetEnvRestoresEachUnit) {
    install_a();
    fenv_t env;
    fegetenv_local(&env);
    // Another state entirely, with the x87 precision at 53 bits.
    const uint16_t cw53 = uint16_t((0x037f & ~0x300) | 0x200 | FE_UPWARD);
    fpu::set_x87(cw53, FE_UNDERFLOW);
    fpu::set_mxcsr(0x1f80 | 0x40 | FE_OVERFLOW);
    EXPECT_EQ(fesetenv_local(&env), 0);
    // Masks, rounding and flags per unit; the precision control stays at 53 bits.
    EXPECT_EQ(fpu::cw(), uint16_t((kCwA & ~0x300) | 0x200));
    EXPECT_EQ(fpu::x87_flags(), kSwA);
    EXPECT_EQ(fpu::mxcsr(), kMxA);
    EXPECT_EQ(fetestexcept_local(kAll6), kSwA | FE_DIVBYZERO);
    EXPECT_EQ(fegetround_local(), FE_UPWARD);
    EXPECT_EQ(fegetexcept_local(), FE_UNDERFLOW);
}

TEST_F(Env, SetEnvIgnoresReservedMxcsrBits) {
    fenv_t env;
    fegetenv_local(&env);
    env.__mxcsr |= 0xffff0000u;  // loading these would fault
    EXPECT_EQ(fesetenv_local(&env), 0);
    EXPECT_EQ(fpu::mxcsr(), env.__mxcsr & 0xffff);
}

// The default environment: all masked, nearest, no flags in both units; FTZ, DAZ and the
// x87 precision stay.
TEST_F(Env, DefaultEnvironment) {
    const uint16_t cw53 = uint16_t((kCwA & ~0x300) | 0x200);
    fpu::set_x87(cw53, kSwA);
    fpu::set_mxcsr(kMxA | 0x40);
    EXPECT_EQ(fesetenv_local(FE_DFL_ENV), 0);
    EXPECT_EQ(fpu::cw(), uint16_t((0x037f & ~0x300) | 0x200));
    EXPECT_EQ(fpu::x87_flags(), 0);
    EXPECT_EQ(fpu::mxcsr(), 0x1f80u | 0x8000 | 0x40);
}

// FE_NOMASK_ENV, which the system header offers: the same with the five standard
// exceptions unmasked. Read back before any arithmetic could trap.
TEST_F(Env, NoMaskEnvironment) {
    install_a();
    EXPECT_EQ(fesetenv_local(FE_NOMASK_ENV), 0);
    uint16_t cw = fpu::cw();
    uint32_t mx = fpu::mxcsr();
    int flags = fpu::x87_flags();
    fpu::set_mxcsr(0x1f80);
    fpu::set_x87(0x037f, 0);
    EXPECT_EQ(cw, uint16_t((0x037f & ~0x3f) | kDenormal));
    EXPECT_EQ(flags, 0);
    EXPECT_EQ(mx, uint32_t(0x8000 | (kDenormal << 7)));
}

TEST_F(Env, HoldKeepsRoundingMasksAndClearsAll) {
    install_a();
    fpu::set_mxcsr(kMxA | 0x40);
    fenv_t env;
    EXPECT_EQ(feholdexcept_local(&env), 0);
    EXPECT_EQ(env.__control_word, kCwA);
    EXPECT_EQ(env.__status_word & 0x3f, kSwA);
    EXPECT_EQ(env.__mxcsr, kMxA | 0x40);
    EXPECT_EQ(fpu::cw(), kCwA | 0x3f);
    EXPECT_EQ(fpu::x87_flags(), 0);
    EXPECT_EQ(fpu::mxcsr(), 0x8000u | 0x40 | (uint32_t(FE_UPWARD) << 3) | 0x1f80);
}

// feupdateenv: the installed flags plus those raised before, raised again by arithmetic
// (overflow with inexact; a denormal-operand flag is not carried).
TEST_F(Env, UpdateRaisesAgain) {
    install_a();  // x87: invalid, inexact; SSE: divbyzero
    fenv_t env;
    feholdexcept_local(&env);
    fpu::x87_raise(FE_OVERFLOW | kDenormal);  // (SSE would flush: FTZ is on)
    EXPECT_EQ(feupdateenv_local(&env), 0);
    EXPECT_EQ(fpu::cw(), kCwA);
    EXPECT_EQ(fpu::x87_flags(), kSwA);
    EXPECT_EQ(fpu::sse_flags(), FE_DIVBYZERO | FE_OVERFLOW | FE_INEXACT);
    EXPECT_EQ(fpu::mxcsr() & ~0x3fu, kMxA & ~0x3fu);
}

TEST_F(Env, UpdateWithDefault) {
    fpu::sse_raise(FE_UNDERFLOW);
    fesetround_local(FE_DOWNWARD);
    EXPECT_EQ(feupdateenv_local(FE_DFL_ENV), 0);
    EXPECT_EQ(fegetround_local(), FE_TONEAREST);
    EXPECT_EQ(fpu::sse_flags(), FE_UNDERFLOW | FE_INEXACT);
    EXPECT_EQ(fpu::x87_flags(), 0);
}

// ---- masks ----------------------------------------------------------------------------------
TEST_F(Env, EnableDisableBothUnits) {
    fpu::x87_raise(FE_INEXACT);
    fpu::sse_raise(FE_INEXACT);
    // A zero mask changes nothing, the x87 flags included, and reports the set.
    uint16_t cw = fpu::cw();
    uint32_t mx = fpu::mxcsr();
    EXPECT_EQ(feenableexcept_local(0), 0);
    EXPECT_EQ(fedisableexcept_local(0), 0);
    EXPECT_EQ(fpu::cw(), cw);
    EXPECT_EQ(fpu::mxcsr(), mx);
    EXPECT_EQ(fpu::x87_flags(), FE_INEXACT);

    // Unmasking drops the pending x87 flags (so none fires) and keeps MXCSR's.
    EXPECT_EQ(feenableexcept_local(FE_OVERFLOW | FE_DIVBYZERO | 0x1000), 0);
    int x87m = fpu::x87_masks(), ssem = fpu::sse_masks(), x87f = fpu::x87_flags();
    int got = fegetexcept_local();
    int before = fedisableexcept_local(FE_OVERFLOW);
    int after = fegetexcept_local();
    int x87m2 = fpu::x87_masks(), ssem2 = fpu::sse_masks();
    EXPECT_EQ(fedisableexcept_local(kAll6), FE_DIVBYZERO);
    EXPECT_EQ(x87m, kAll6 & ~(FE_OVERFLOW | FE_DIVBYZERO));
    EXPECT_EQ(ssem, kAll6 & ~(FE_OVERFLOW | FE_DIVBYZERO));
    EXPECT_EQ(x87f, 0);
    EXPECT_EQ(fpu::sse_flags(), FE_INEXACT);
    EXPECT_EQ(got, FE_OVERFLOW | FE_DIVBYZERO);
    EXPECT_EQ(before, FE_OVERFLOW | FE_DIVBYZERO);
    EXPECT_EQ(after, FE_DIVBYZERO);
    EXPECT_EQ(x87m2, kAll6 & ~FE_DIVBYZERO);
    EXPECT_EQ(ssem2, kAll6 & ~FE_DIVBYZERO);
    EXPECT_EQ(fpu::x87_masks(), kAll6);
    EXPECT_EQ(fpu::sse_masks(), kAll6);
}

// fegetexcept reads the SSE masks alone.
TEST_F(Env, GetExceptReadsSse) {
    fpu::set_x87(uint16_t(fpu::cw() & ~FE_INVALID), 0);
    int got = fegetexcept_local();
    fpu::set_x87(uint16_t(fpu::cw() | 0x3f), 0);
    EXPECT_EQ(got, 0);
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

// The x87 control word: a caller at 53- or 24-bit precision, in each rounding mode, gets the
// same 64-bit results as a caller at 64 bits, finds its word unchanged after every call, and
// has it back already when a report runs.
#include <gtest/gtest.h>

#include <cstring>

#include "ext_funcs.h"

extern void (*__libm_error_observer)(int) __attribute__((weak));

namespace {

using namespace extt;

void set_cw(uint16_t v) { asm volatile("fldcw %0" : : "m"(v)); }
uint16_t g_cw_at_report;
void record_cw(int) { g_cw_at_report = th::x87_cw_now(); }

TEST(ExtFrame, CallerWordKept) {
    const uint16_t base = th::x87_cw_now();
    const LD xs[] = {0.1L, -3.3L, 1.0L + 0x1p-60L, 0.0L, -1.0L, 20000.0L, -20000.0L};
    const char *names[] = {"expl", "exp2l", "exp10l", "expm1l", "logl", "log2l", "log10l", "log1pl", "sqrtl", "invsqrtl", "cbrtl"};
    for (uint16_t pc : {uint16_t(0x200), uint16_t(0x000)}) {
        for (uint16_t rc : {uint16_t(0x000), uint16_t(0x400), uint16_t(0x800), uint16_t(0xc00)}) {
            const uint16_t cw = uint16_t((base & ~0xf00) | pc | rc), full = uint16_t((base & ~0xf00) | 0x300 | rc);
            auto check = [&](const char *name, auto call) {
                set_cw(full);
                LD want = call();
                th::begin_observe();
                if (&__libm_error_observer) __libm_error_observer = record_cw;
                g_cw_at_report = 0;
                set_cw(cw);
                LD got = call();
                uint16_t after = th::x87_cw_now();
                set_cw(base);
                th::Outcome o = th::end_observe();
                EXPECT_EQ(after, cw) << name;
                if (o.code >= 0) EXPECT_EQ(g_cw_at_report, cw) << name << " at its report";
                EXPECT_TRUE(std::memcmp(&got, &want, 10) == 0 || (got != got && want != want))
                    << name << " pc " << pc << " rc " << rc;
            };
            for (const char *n : names) {
                th::Func<LD> f = fn(n);
                for (LD x : xs) check(n, [&] { LD out; f.variants[0].call(&x, &out); return out; });
            }
            for (auto [x, y] : {std::pair{2.5L, 3.3L}, {0.0L, -1.0L}, {-2.0L, 0.5L}, {10.0L, 20000.0L}}) {
                check("powl", [&] { return powl(x, y); });
                check("hypotl", [&] { return hypotl(x, y * 1e4000L); });
            }
        }
    }
}

}  // namespace

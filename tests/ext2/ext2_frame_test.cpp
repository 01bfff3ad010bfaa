// The x87 control word, symmetry and the hardest reductions:
//  - a caller at 53- or 24-bit precision, in each rounding mode, gets the same 64-bit results
//    as a caller at 64 bits and finds its word unchanged after every call, and has it back
//    already when a report runs;
//  - odd functions give f(-x) = -f(x) and even ones f(-x) = f(x), bit for bit, in
//    round-to-nearest;
//  - the extended values nearest a multiple of pi/2 (tools/gen/ext2_hard_cases.py) are
//    correctly reduced: sinl, cosl, tanl, cotl there within the accuracy bounds.
#include <gtest/gtest.h>

#include <cstring>

#include "ext2_funcs.h"

extern void (*__libm_error_observer)(int) __attribute__((weak));

namespace {

using namespace ext2t;

void set_cw(uint16_t v) { asm volatile("fldcw %0" : : "m"(v)); }
uint16_t g_cw_at_report;
void record_cw(int) { g_cw_at_report = th::x87_cw_now(); }
bool same(LD a, LD b) { return std::memcmp(&a, &b, 10) == 0 || (a != a && b != b); }

const char *kOne[] = {"sinl", "cosl", "tanl", "cotl", "sindl", "cosdl", "tandl", "cotdl", "asinl", "acosl",
                      "atanl", "asindl", "acosdl", "atandl", "sinhl", "coshl", "tanhl", "asinhl", "acoshl", "atanhl"};

TEST(Ext2Frame, CallerWordKept) {
    const uint16_t base = th::x87_cw_now();
    const LD xs[] = {0.1L, -0.7L, 1.0L + 0x1p-60L, 0.0L, -1.0L, 2.0L, 90.0L, 1e30L, -20000.0L, 0x1p-50L};
    for (uint16_t pc : {uint16_t(0x200), uint16_t(0x000)}) {
        for (uint16_t rc : {uint16_t(0x000), uint16_t(0x400), uint16_t(0x800), uint16_t(0xc00)}) {
            const uint16_t cw = uint16_t((base & ~0xf00) | pc | rc), full = uint16_t((base & ~0xf00) | 0x300 | rc);
            auto check = [&](const std::string &name, auto call) {
                set_cw(full);
                LD want[2];
                call(want);
                th::begin_observe();
                if (&__libm_error_observer) __libm_error_observer = record_cw;
                g_cw_at_report = 0;
                set_cw(cw);
                LD got[2];
                call(got);
                uint16_t after = th::x87_cw_now();
                set_cw(base);
                th::Outcome o = th::end_observe();
                EXPECT_EQ(after, cw) << name;
                if (o.code >= 0) EXPECT_EQ(g_cw_at_report, cw) << name << " at its report";
                EXPECT_TRUE(same(got[0], want[0]) && same(got[1], want[1])) << name << " pc " << pc << " rc " << rc;
            };
            for (const char *n : kOne) {
                th::Func<LD> f = fn(n);
                for (LD x : xs)
                    check(n, [&](LD *o) {
                        f.variants[0].call(&x, o);
                        o[1] = 0;
                    });
            }
            for (const char *n : {"sincosl", "sincosdl", "sinhcoshl"}) {
                th::Func<LD> f = sincos_f(n);
                for (LD x : xs) check(n, [&](LD *o) { f.variants[0].call(&x, o); });
            }
            for (const char *n : {"atan2l", "atan2dl"}) {
                th::Func<LD> f = fn2(n);
                for (LD x : xs) {
                    LD in[2] = {x, -2.5L};
                    check(n, [&](LD *o) {
                        f.variants[0].call(in, o);
                        o[1] = 0;
                    });
                    LD in0[2] = {0.0L, -0.0L};
                    check(n, [&](LD *o) {
                        f.variants[0].call(in0, o);
                        o[1] = 0;
                    });
                }
            }
        }
    }
}

TEST(Ext2Frame, Symmetry) {
    const uint16_t base = th::x87_cw_now();
    const uint16_t rn = uint16_t((base & ~0xc00) | 0x000);
    struct Sym {
        const char *name;
        bool odd;
        LD hi;
    };
    const Sym fs[] = {{"sinl", 1, 1e30L}, {"cosl", 0, 1e30L}, {"tanl", 1, 1e30L}, {"cotl", 1, 1e30L},
                      {"sindl", 1, 1e30L}, {"cosdl", 0, 1e30L}, {"tandl", 1, 1e30L}, {"cotdl", 1, 1e30L},
                      {"asinl", 1, 1.0L}, {"atanl", 1, 1e30L}, {"asindl", 1, 1.0L}, {"atandl", 1, 1e30L},
                      {"sinhl", 1, 11000.0L}, {"coshl", 0, 11000.0L}, {"tanhl", 1, 30.0L},
                      {"asinhl", 1, 1e30L}, {"atanhl", 1, 1.0L}};
    uint64_t s = 12345;
    for (const Sym &f : fs) {
        auto call = fn(f.name).variants[0].call;
        for (int i = 0; i < 2000; ++i) {
            s = s * 6364136223846793005ull + 1442695040888963407ull;
            // log-uniform in [2^-40, hi)
            LD x = f.hi * std::pow(2.0L, -40.0L * LD(s >> 11) * 0x1p-53L);
            if (x >= f.hi) continue;
            LD nx = -x, a, b;
            set_cw(rn);
            call(&x, &a);
            call(&nx, &b);
            set_cw(base);
            EXPECT_TRUE(same(b, f.odd ? -a : a)) << f.name << " " << double(x);
            if (::testing::Test::HasFailure()) return;
        }
    }
}

const LD kHard[] = {
#include "hard_reduction.inc"
};

TEST(Ext2Frame, HardestReductions) {
    std::vector<std::array<LD, 2>> pts;
    for (LD x : kHard) {
        pts.push_back({x, 0});
        pts.push_back({-x, 0});
    }
    for (const char *f : {"sinl", "cosl", "tanl", "cotl"}) {
        th::Sweep<LD> s{fn(f), {}, pts};
        s.bound[0] = 0.6;
        s.bound[1] = s.bound[2] = s.bound[3] = 2.0;
        th::sweep(s);
    }
}

}  // namespace

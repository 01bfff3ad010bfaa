// Every float variant over all 2^32 patterns in all four rounding modes: result bits and
// flags against the integer reference.  Two threads, each with its own rounding mode and
// flags (MXCSR is per thread).
//
// Flags are checked without clearing the status word around every call: the calls that
// must raise nothing run as one group per block, whose accumulated flags must stay clear
// (a stray flag sends the block through one-by-one to name the input); the calls that must
// raise inexact are checked one by one.  nearbyint, which must leave inexact as it found
// it, runs its block with inexact preset and must leave it set.
#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

#include "exact/rounding_cases.h"

using namespace rnd;

namespace {

constexpr int kBlock = 4096;

int op_index(Op op) {
    switch (op) {
    case Op::ceil: return 0;
    case Op::floor: return 1;
    case Op::trunc: return 2;
    case Op::round: return 3;
    default: return 4;
    }
}

struct Report {
    std::mutex mu;
    Failures f;
    void add(const std::string &s) {
        std::lock_guard<std::mutex> g(mu);
        f.add(s);
    }
};

void fail(Report &rep, const Variant<float> &v, uint32_t u, uint32_t mode, float r, uint32_t fl,
          uint32_t want, uint32_t want_fl) {
    char b[300];
    std::snprintf(b, sizeof b, "%s(%08x) in %s: got %08x flags %02x, want %08x flags %02x",
                  v.name.c_str(), u, mode_name(mode), Fmt<float>::bits(r), fl, want, want_fl);
    rep.add(b);
}

// Float variants use the SSE unit alone, so the long run controls and reads MXCSR only
// (the x87 status word costs more than the call under test).
inline void clear_sse(uint32_t csr) { set_mxcsr(csr); }
inline uint32_t sse_flags() { return mxcsr() & kIeee; }

void sweep(uint64_t begin, uint64_t end, const std::vector<Variant<float>> &vars, Report &rep) {
    static thread_local uint32_t ref[5][kBlock];
    static thread_local uint8_t want_fl[kBlock];  // 0, inexact, or 0xff: one by one (NaN)
    for (uint32_t mode : {kNearest, kDown, kUp, kZero}) {
        set_mode(mode);
        const uint32_t csr = (mxcsr() & ~0x3fu);
        for (uint64_t b0 = begin; b0 < end; b0 += kBlock) {
            bool nonint[kBlock];
            for (int i = 0; i < kBlock; ++i) {
                uint32_t u = uint32_t(b0 + i), out[5];
                nonint[i] = ref_float_all(u, mode, out);
                for (int k = 0; k < 5; ++k) ref[k][i] = out[k];
            }
            for (const auto &v : vars) {
                const int k = op_index(v.op);
                for (int i = 0; i < kBlock; ++i) {
                    uint32_t u = uint32_t(b0 + i);
                    if ((u & 0x7fffffff) > 0x7f800000) want_fl[i] = 0xff;
                    else want_fl[i] = uint8_t(expected_flags(v, Fmt<float>::from(u), nonint[i]));
                }
                // the calls that must raise nothing, as one group
                const uint32_t base = v.inexact == Inexact::keep ? kInexact : 0;
                clear_sse(csr | base);
                bool bad = false;
                for (int i = 0; i < kBlock; ++i) {
                    if (want_fl[i] != 0) continue;
                    float r = v.fn(Fmt<float>::from(uint32_t(b0 + i)));
                    bad |= Fmt<float>::bits(r) != ref[k][i];
                }
                if (bad || sse_flags() != base) {
                    for (int i = 0; i < kBlock; ++i) {
                        if (want_fl[i] != 0) continue;
                        uint32_t u = uint32_t(b0 + i);
                        clear_sse(csr | base);
                        float r = v.fn(Fmt<float>::from(u));
                        uint32_t fl = sse_flags();
                        if (Fmt<float>::bits(r) != ref[k][i] || fl != base)
                            fail(rep, v, u, mode, r, fl, ref[k][i], base);
                    }
                }
                // the calls that must raise inexact, and NaNs, one by one
                for (int i = 0; i < kBlock; ++i) {
                    if (want_fl[i] == 0) continue;
                    uint32_t u = uint32_t(b0 + i);
                    uint32_t want = ref[k][i], wfl = want_fl[i];
                    if (wfl == 0xff) {
                        bool signalling = (u & 0x400000) == 0;
                        want = v.nan == Nan::keep ? u : u | 0x400000;
                        wfl = signalling && v.nan == Nan::quiet_invalid ? kInvalid : 0;
                    }
                    clear_sse(csr);
                    float r = v.fn(Fmt<float>::from(u));
                    uint32_t fl = sse_flags();
                    if (Fmt<float>::bits(r) != want || fl != wfl) fail(rep, v, u, mode, r, fl, want, wfl);
                }
            }
        }
    }
    set_mode(kNearest);
    clear_flags();
}

TEST(RoundingLong, FloatExhaustiveAllTiersAllModes) {
    auto vars = float_variants();
    Report rep;
    const uint64_t half = uint64_t(1) << 31;
    std::thread t1(sweep, 0, half, std::cref(vars), std::ref(rep));
    std::thread t2(sweep, half, 2 * half, std::cref(vars), std::ref(rep));
    t1.join();
    t2.join();
    EXPECT_EQ(rep.f.count, 0) << rep.f.count << " failures, first:\n" << rep.f.first;
}

}  // namespace

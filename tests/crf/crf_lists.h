// Every argument of a correctly rounded member whose rows are complete (the trigonometric,
// inverse trigonometric and hyperbolic ones) that reaches the rounding test, run through the
// member's tier ex body with the test hook set: an argument the test cannot settle and that
// has no row in correct/crf_data.cpp is collected as "member key".  Symmetric members are run
// at non-negative keys only (they evaluate |x|), acos above 2^-26 and atan from 2^-12 to 2^26
// (outside, the double value stays some 2^26 units from a grid point: pi/2 - x there).  sinf
// and cosf share the kernel of sincosf, whose run covers both lists.
#pragma once
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tsr_decls.h"

extern "C" void (*__libm_crf_observer)(int member, uint32_t key);

namespace crf_lists {

inline const char *const kNames[] = {"expf", "exp2f", "exp10f", "expm1f", "exp2m1f", "sinhf", "coshf",
                                     "tanhf", "sinf", "cosf", "tanf", "asinf", "acosf", "atanf", "logf",
                                     "log2f", "log10f", "log1pf", "log2p1f", "cbrtf", "invsqrtf"};

struct Run {
    const char *what;
    std::vector<std::pair<uint32_t, uint32_t>> ranges;  // inclusive bit ranges
    std::function<void(uint32_t)> call;
};

inline float f32(uint32_t b) { float f; __builtin_memcpy(&f, &b, 4); return f; }

inline std::vector<Run> runs() {
    auto one = [](float (*fn)(float)) { return [fn](uint32_t b) { fn(f32(b)); }; };
    return {
        {"sinhf", {{0x39800000u, 0x42b40000u}}, one(__libm_cr_sinhf_ex_local)},
        {"coshf", {{0x39800000u, 0x42b40000u}}, one(__libm_cr_coshf_ex_local)},
        {"tanhf", {{0x39800000u, 0x41180000u}}, one(__libm_cr_tanhf_ex_local)},
        {"sincosf", {{0x39800000u, 0x7f800000u}},
         [](uint32_t b) { float s, c; __libm_cr_sincosf_ex_local(f32(b), &s, &c); }},
        {"tanf", {{0x39800000u, 0x7f800000u}}, one(__libm_cr_tanf_ex_local)},
        {"asinf", {{0x39800000u, 0x3f800000u}}, one(__libm_cr_asinf_ex_local)},
        {"acosf", {{0x32800000u, 0x3f800000u}, {0xb2800000u, 0xbf800000u}}, one(__libm_cr_acosf_ex_local)},
        {"atanf", {{0x39800000u, 0x4c800000u}}, one(__libm_cr_atanf_ex_local)},
    };
}

// The members with an extended careful phase, over every argument that reaches their double
// kernel (keys are the arguments' bits): the logarithms over the positive floats, log1p and
// log2p1 over (-1, inf) less |x| < 2^-24, exp2m1 over (-26, 128).
inline std::vector<Run> careful_runs() {
    auto one = [](float (*fn)(float)) { return [fn](uint32_t b) { fn(f32(b)); }; };
    auto addr = [](float (*fn)(const float *)) { return [fn](uint32_t b) { float v[4] = {f32(b), 0, 0, 0}; fn(v); }; };
    std::vector<std::pair<uint32_t, uint32_t>> log1p_range = {{0x33800000u, 0x7f7fffffu}, {0xb3800000u, 0xbf7fffffu}};
    return {
        {"logf", {{0x00000001u, 0x7f7fffffu}}, one(__libm_cr_logf_ex_local)},
        {"log2f", {{0x00000001u, 0x7f7fffffu}}, addr(__libm_cr_log2f_ex_local)},
        {"log10f", {{0x00000001u, 0x7f7fffffu}}, addr(__libm_cr_log10f_ex_local)},
        {"log1pf", log1p_range, one(__libm_cr_log1pf_ex_local)},
        {"log2p1f", log1p_range, one(__libm_cr_log2p1f_ex_local)},
        {"exp2m1f", {{0x00000001u, 0x42ffffffu}, {0x80000001u, 0xc1cfffffu}}, one(__libm_cr_exp2m1f_ex_local)},
    };
}

// Runs `r` over its ranges on `threads` threads (every `stride`-th key) and returns the
// arguments left unsettled, as "member key" lines.
inline std::vector<std::string> unsettled(const Run &r, unsigned threads, uint32_t stride = 1) {
    static std::mutex mu;
    static std::vector<std::string> *sink;
    std::vector<std::string> out;
    sink = &out;
    __libm_crf_observer = [](int m, uint32_t key) {
        char line[64];
        std::snprintf(line, sizeof line, "%s %08x", kNames[m], key);
        std::lock_guard<std::mutex> g(mu);
        sink->push_back(line);
    };
    for (auto [lo, hi] : r.ranges) {
        uint64_t n = (uint64_t(hi) - lo) / stride + 1;
        std::atomic<uint64_t> next{0};
        std::vector<std::thread> pool;
        for (unsigned t = 0; t < threads; ++t)
            pool.emplace_back([&] {
                for (uint64_t c; (c = next.fetch_add(1 << 16)) < n;)
                    for (uint64_t i = c; i < n && i < c + (1 << 16); ++i) r.call(uint32_t(lo + i * stride));
            });
        for (auto &t : pool) t.join();
    }
    __libm_crf_observer = nullptr;
    return out;
}

}  // namespace crf_lists

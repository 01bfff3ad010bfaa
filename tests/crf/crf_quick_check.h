// The quick phase of tiers l9, z0 and d1 against the careful route of tier ex, float by float.
//
// Tier ex settles every float by its double kernel, its rows and its careful phase, whose
// completeness the searches establish (docs/accuracy/crf.md); the other tiers run a quick
// kernel of their own first.  The comparison runs in all four modes: the kernels of the
// exponentials run in the caller's mode (their value, and whether the test settles it, depend
// on it).
#pragma once
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <xmmintrin.h>

#include "tsr_decls.h"

namespace crf_quick {

inline float f32(uint32_t b) { float f; __builtin_memcpy(&f, &b, 4); return f; }
inline uint32_t u32(float f) { uint32_t b; __builtin_memcpy(&b, &f, 4); return b; }

struct Pair {
    const char *what;
    std::vector<std::pair<uint32_t, uint32_t>> ranges;  // inclusive bit ranges: the quick range
    // result bits (two floats for sincos) of the tier under test and of tier ex
    std::function<uint64_t(uint32_t)> test, ex;
};

inline std::vector<Pair> pairs(bool portable = false) {
    auto one = [](float (*fn)(float)) { return [fn](uint32_t b) -> uint64_t { return u32(fn(f32(b))); }; };
    auto addr = [](float (*fn)(const float *)) {
        return [fn](uint32_t b) -> uint64_t { float v[4] = {f32(b), 0, 0, 0}; return u32(fn(v)); };
    };
    auto two = [](void (*fn)(float, float *, float *)) {
        return [fn](uint32_t b) -> uint64_t { float s, c; fn(f32(b), &s, &c); return uint64_t(u32(s)) << 32 | u32(c); };
    };
    // Positive and negative quick ranges of the exponentials, every positive float for the
    // logarithms, [2^-12, 2^16) for sine, cosine and tangent, [2^-12, 90) for cosh and [1/2, 90) for
    // sinh (odd and even: evaluated at |x|), |x| >= 1/2 for expm1, (-1, inf) without
    // (-2^-24, 2^-24) for log1p and log2p1, 2^-12 <= |x| for atan, below 1 for asin and acos,
    // every normal float for cbrt, 1/2 <= |x| (below 128, above -26) for exp2m1 and every
    // positive finite float for the reciprocal square root, [1/4, 9.5) for tanh.
    std::vector<Pair> v = {
        {"expf", {{0x33000000u, 0x42b17217u}, {0xb3000000u, 0xc2cfffffu}}, one(__libm_cr_expf_l9_local), one(__libm_cr_expf_ex_local)},
        {"exp2f", {{0x33000000u, 0x42ffffffu}, {0xb3000000u, 0xc316ffffu}}, one(__libm_cr_exp2f_l9_local), one(__libm_cr_exp2f_ex_local)},
        {"exp10f", {{0x32000000u, 0x421a209au}, {0xb2000000u, 0xc235d275u}}, one(__libm_cr_exp10f_l9_local), one(__libm_cr_exp10f_ex_local)},
        {"logf", {{0x00000001u, 0x7f7fffffu}}, one(__libm_cr_logf_l9_local), one(__libm_cr_logf_ex_local)},
        {"log2f", {{0x00000001u, 0x7f7fffffu}}, addr(__libm_cr_log2f_l9_local), addr(__libm_cr_log2f_ex_local)},
        {"log10f", {{0x00000001u, 0x7f7fffffu}}, addr(__libm_cr_log10f_l9_local), addr(__libm_cr_log10f_ex_local)},
        {"sinf", {{0x39800000u, 0x477fffffu}}, one(__libm_cr_sinf_l9_local), one(__libm_cr_sinf_ex_local)},
        {"cosf", {{0x39800000u, 0x477fffffu}}, one(__libm_cr_cosf_l9_local), one(__libm_cr_cosf_ex_local)},
        {"sincosf", {{0x39800000u, 0x477fffffu}}, two(__libm_cr_sincosf_l9_local), two(__libm_cr_sincosf_ex_local)},
        {"expm1f", {{0x3f000000u, 0x42b17217u}, {0xbf000000u, 0xc18fffffu}}, one(__libm_cr_expm1f_l9_local), one(__libm_cr_expm1f_ex_local)},
        {"coshf", {{0x39800000u, 0x42b3ffffu}}, one(__libm_cr_coshf_l9_local), one(__libm_cr_coshf_ex_local)},
        {"sinhf", {{0x3f000000u, 0x42b3ffffu}}, one(__libm_cr_sinhf_l9_local), one(__libm_cr_sinhf_ex_local)},
        {"log1pf", {{0x33800000u, 0x7f7fffffu}, {0xb3800000u, 0xbf7fffffu}}, one(__libm_cr_log1pf_l9_local), one(__libm_cr_log1pf_ex_local)},
        {"log2p1f", {{0x33800000u, 0x7f7fffffu}, {0xb3800000u, 0xbf7fffffu}}, one(__libm_cr_log2p1f_l9_local), one(__libm_cr_log2p1f_ex_local)},
        {"tanf", {{0x39800000u, 0x477fffffu}}, one(__libm_cr_tanf_l9_local), one(__libm_cr_tanf_ex_local)},
        {"atanf", {{0x39800000u, 0x7f7fffffu}}, one(__libm_cr_atanf_l9_local), one(__libm_cr_atanf_ex_local)},
        {"asinf", {{0x39800000u, 0x3f7fffffu}}, one(__libm_cr_asinf_l9_local), one(__libm_cr_asinf_ex_local)},
        {"acosf", {{0x39800000u, 0x3f7fffffu}, {0xb9800000u, 0xbf7fffffu}}, one(__libm_cr_acosf_l9_local), one(__libm_cr_acosf_ex_local)},
        {"cbrtf", {{0x00800000u, 0x7f7fffffu}, {0x80800000u, 0xff7fffffu}}, one(__libm_cr_cbrtf_l9_local), one(__libm_cr_cbrtf_ex_local)},
        {"exp2m1f", {{0x3f000000u, 0x42ffffffu}, {0xbf000000u, 0xc1cfffffu}}, one(__libm_cr_exp2m1f_l9_local), one(__libm_cr_exp2m1f_ex_local)},
        {"invsqrtf", {{0x00000001u, 0x7f7fffffu}}, one(__libm_cr_invsqrtf_l9_local), one(__libm_cr_invsqrtf_ex_local)},
        {"tanhf", {{0x3e800000u, 0x4117ffffu}}, one(__libm_cr_tanhf_l9_local), one(__libm_cr_tanhf_ex_local)},
    };
    if (portable) {  // the z0 build of this processor's instruction set
        v[0].test = one(__libm_cr_expf_z0_portable);
        v[1].test = one(__libm_cr_exp2f_z0_portable);
        v[2].test = one(__libm_cr_exp10f_z0_portable);
        v[3].test = one(__libm_cr_logf_z0_portable);
        v[4].test = addr(__libm_cr_log2f_z0_portable);
        v[5].test = addr(__libm_cr_log10f_z0_portable);
        v[6].test = one(__libm_cr_sinf_z0_portable);
        v[7].test = one(__libm_cr_cosf_z0_portable);
        v[8].test = two(__libm_cr_sincosf_z0_portable);
        v[9].test = one(__libm_cr_expm1f_z0_portable);
        v[10].test = one(__libm_cr_coshf_z0_portable);
        v[11].test = one(__libm_cr_sinhf_z0_portable);
        v[12].test = one(__libm_cr_log1pf_z0_portable);
        v[13].test = one(__libm_cr_log2p1f_z0_portable);
        v[14].test = one(__libm_cr_tanf_z0_portable);
        v[15].test = one(__libm_cr_atanf_z0_portable);
        v[16].test = one(__libm_cr_asinf_z0_portable);
        v[17].test = one(__libm_cr_acosf_z0_portable);
        v[18].test = one(__libm_cr_cbrtf_z0_portable);
        v[19].test = one(__libm_cr_exp2m1f_z0_portable);
        v[20].test = one(__libm_cr_invsqrtf_z0_portable);
        v[21].test = one(__libm_cr_tanhf_z0_portable);
    }
    return v;
}

// Runs `p` over its ranges (every `stride`-th key) on `threads` threads, in the four modes,
// and returns the arguments where the result or the flags differ, as
// "member key" lines (at most 20).  `count` receives the number of keys run.
inline std::vector<std::string> differences(const Pair &p, unsigned threads, uint32_t stride, uint64_t *count = nullptr) {
    std::mutex mu;
    std::vector<std::string> out;
    uint64_t total = 0;
    constexpr unsigned kFlags = 0x3d;  // invalid, divide-by-zero, overflow, underflow, inexact
    for (auto [lo, hi] : p.ranges) {
        uint32_t a = lo < hi ? lo : hi, b = lo < hi ? hi : lo;
        uint64_t n = (uint64_t(b) - a) / stride + 1;
        total += n;
        std::atomic<uint64_t> next{0};
        std::vector<std::thread> pool;
        for (unsigned t = 0; t < threads; ++t)
            pool.emplace_back([&] {
                const unsigned saved = _mm_getcsr();
                for (uint64_t c; (c = next.fetch_add(1 << 16)) < n;)
                    for (uint64_t i = c; i < n && i < c + (1 << 16); ++i) {
                        uint32_t key = uint32_t(a + i * stride);
                        for (unsigned rc : {0x0000u, 0x2000u, 0x4000u, 0x6000u}) {  // nearest, down, up, toward zero
                            _mm_setcsr(0x1f80 | rc);
                            uint64_t r1 = p.test(key);
                            unsigned f1 = _mm_getcsr() & kFlags;
                            _mm_setcsr(0x1f80 | rc);
                            uint64_t r2 = p.ex(key);
                            unsigned f2 = _mm_getcsr() & kFlags;
                            if (r1 != r2 || f1 != f2) {
                                char line[96];
                                std::snprintf(line, sizeof line, "%s %08x (%s: %016llx flags %02x, ex %016llx flags %02x)",
                                              p.what, key, rc == 0 ? "rn" : rc == 0x2000 ? "rd" : rc == 0x4000 ? "ru" : "rz", (unsigned long long)r1, f1,
                                              (unsigned long long)r2, f2);
                                std::lock_guard<std::mutex> g(mu);
                                if (out.size() < 20) out.push_back(line);
                            }
                        }
                    }
                _mm_setcsr(saved);
            });
        for (auto &t : pool) t.join();
    }
    if (count) *count = total;
    return out;
}

}  // namespace crf_quick

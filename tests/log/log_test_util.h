// Shared pieces of the logarithm tests: input sets, the accuracy sweep over the tiers of a
// function in every rounding mode, and the table of measured maxima it prints.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "harness/harness.h"

namespace lt {

// References computed once per input, kept at 256 bits.
struct Refs {
    std::vector<__mpfr_struct> v;
    template <class T>
    Refs(const std::vector<T> &xs, th::MpFn1 f) : v(xs.size()) {
        for (size_t i = 0; i < xs.size(); ++i) {
            mpfr_init2(&v[i], 256);
            th::ref(&v[i], f, xs[i]);
        }
    }
    ~Refs() {
        for (auto &m : v) mpfr_clear(&m);
    }
    Refs(const Refs &) = delete;
};

// Positive inputs of a format: log-uniform over the whole positive range (subnormals
// included), dense around 1 and around powers of two.
template <class T>
std::vector<T> positive_inputs(size_t n, uint64_t seed) {
    using F = th::Format<T>;
    T tiny = std::ldexp(T(1), F::emin - F::p + 1), big = std::numeric_limits<T>::max();
    std::vector<T> xs = th::log_uniform<T>(tiny, big, n / 2, seed);
    auto near1 = th::uniform<T>(T(0.75), T(1.5), n / 8, seed + 1);
    xs.insert(xs.end(), near1.begin(), near1.end());
    auto closer = th::uniform<T>(T(1) - T(1) / 256, T(1) + T(1) / 128, n / 8, seed + 2);
    xs.insert(xs.end(), closer.begin(), closer.end());
    // Within a few thousand units of a power of two, on both sides.
    std::mt19937_64 g(seed + 3);
    while (xs.size() < n) {
        int e = int(g() % uint64_t(F::emax - F::emin)) + F::emin;
        T p = std::ldexp(T(1), e);
        T d = std::ldexp(T(1), e - F::p) * T(int(g() % 4000));
        xs.push_back(g() & 1 ? p + d : p - d / 2);
    }
    return xs;
}

struct Worst {
    double err = 0;
    double x = 0;
};

// The rounding-control field the caller set must come back unchanged.
inline uint32_t rc_field() {
    uint32_t v;
    asm volatile("stmxcsr %0" : "=m"(v));
    return v & 0x6000;
}

// Runs every tier of `tiers` (those this processor runs) over xs in all four modes,
// checks each maximum against its bound, and prints one line per tier and mode.
template <class T, class Fn, size_t N>
void sweep(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], const std::vector<T> &xs, const Refs &refs,
           double rn_bound, double dir_bound, const char *loose_tier = nullptr, double loose_rn = 0) {
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        for (const auto &m : th::kModes) {
            Worst w;
            bool rc_ok = true;
            {
                th::ModeGuard g(m.fe);
                uint32_t rc = rc_field();
                for (size_t i = 0; i < xs.size(); ++i) {
                    T y = t.fn(xs[i]);
                    double e = th::ulp_error<T>(y, &refs.v[i]);
                    if (!(e <= w.err)) w = {e, double(xs[i])};
                }
                rc_ok = rc_field() == rc;
            }
            double bound = m.fe == FE_TONEAREST ? rn_bound : dir_bound;
            if (m.fe == FE_TONEAREST && loose_tier && std::strcmp(loose_tier, t.name) == 0) bound = loose_rn;
            std::printf("[ ACCURACY ] %-8s %-12s %-10s max %.4f ulp at %a (%zu inputs)\n", fname, t.name, m.name,
                        w.err, w.x, xs.size());
            EXPECT_TRUE(rc_ok) << fname << " " << t.name << " changed the rounding mode";
            EXPECT_LT(w.err, bound) << fname << " " << t.name << " " << m.name << " worst input " << std::hexfloat
                                    << w.x;
        }
    });
}

}  // namespace lt

// Accuracy sweeps for the exponentials: the MPFR value of each input is computed once, kept
// as (hi + lo)·2^e with hi in [1, 2), and every tier is measured against it in all four
// rounding modes.  The error is in ulps of the target format at the exact value.
#pragma once
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "harness/harness.h"

namespace expt {

struct Ref {
    double hi, lo;  // value / 2^e, to 106 bits
    long e;
};

template <class T>
inline std::vector<Ref> references(th::MpFn1 f, const std::vector<T> &xs) {
    std::vector<Ref> out;
    out.reserve(xs.size());
    th::Mp v(200), a(200);
    for (T x : xs) {
        th::set(a, x);
        f(v, a, MPFR_RNDN);
        Ref r{0, 0, 0};
        // Results past the largest finite value are the special-value tests' business.
        if (mpfr_regular_p(v) && mpfr_get_exp(v) - 1 <= th::Format<T>::emax) {
            r.e = mpfr_get_exp(v) - 1;
            mpfr_mul_2si(v, v, -r.e, MPFR_RNDN);
            r.hi = mpfr_get_d(v, MPFR_RNDN);
            mpfr_sub_d(v, v, r.hi, MPFR_RNDN);
            r.lo = mpfr_get_d(v, MPFR_RNDN);
        }
        out.push_back(r);
    }
    return out;
}

inline long double pow2l(long k) {
    long double one = 1.0L;
    uint64_t m = 1ull << 63;
    uint16_t se = uint16_t(16383 + k);
    std::memcpy(&one, &m, 8);
    std::memcpy(reinterpret_cast<char *>(&one) + 8, &se, 2);
    return one;
}

// |got - exact| in ulps; an infinity counts as 2^(emax+1).
template <class T>
inline double ulps(T got, const Ref &r) {
    using F = th::Format<T>;
    if (got != got) return INFINITY;
    long double g = got;
    if (g == INFINITY) g = pow2l(F::emax + 1);
    if (g == -INFINITY) return INFINITY;
    long u = std::max<long>(r.e, F::emin) - (F::p - 1);
    long double d = g * pow2l(-u) - (long double)r.hi * pow2l(r.e - u);
    d -= (long double)r.lo * pow2l(r.e - u);
    return double(d < 0 ? -d : d);
}

struct Worst {
    double err = 0;
    double x = 0;
};

inline uint32_t rc_now() {
    uint32_t v;
    asm volatile("stmxcsr %0" : "=m"(v));
    return v & 0x6000;
}

// Runs every tier of a list over the inputs in the four modes; checks the bounds and that
// the caller's rounding control is intact after each call.  Prints one line per tier and
// mode (the rows of the accuracy notes).
template <class T, class Fn, size_t N>
void sweep(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], const std::vector<T> &xs,
           const std::vector<Ref> &refs, double rn_bound, double dir_bound,
           double rn_bound_fma = 0) {
    if (rn_bound_fma == 0) rn_bound_fma = rn_bound;
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        bool fma_tier = t.name[0] == 'l' || t.name[0] == 'z' || t.name[0] == 'd';
        for (const th::Mode &m : th::kModes) {
            th::ModeGuard g(m.fe);
            uint32_t rc = rc_now();
            Worst w;
            size_t rc_bad = 0;
            for (size_t i = 0; i < xs.size(); ++i) {
                if (refs[i].hi == 0) continue;  // overflowing inputs
                T y = t.fn(xs[i]);
                if (rc_now() != rc) ++rc_bad;
                double e = ulps(y, refs[i]);
                if (!(e <= w.err)) w = {e, double(xs[i])};
            }
            std::printf("[  ACCURACY] %-7s %-12s %-8s max %.4f ulp at x = %a (%zu inputs)\n", fname,
                        t.name, m.name, w.err, w.x, xs.size());
            EXPECT_EQ(rc_bad, 0u) << fname << " " << t.name << " changed the rounding mode";
            EXPECT_LT(w.err, m.fe != FE_TONEAREST ? dir_bound : fma_tier ? rn_bound_fma : rn_bound)
                << fname << " " << t.name << " " << m.name << " worst x = " << std::hexfloat << w.x;
        }
    });
}

template <class T>
inline std::vector<T> cat(std::vector<T> a, const std::vector<T> &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

}  // namespace expt

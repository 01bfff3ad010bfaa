// What the roots tests share: every variant of a function (its tiers, the AVX-512 tiers'
// portable builds and the reproducible form) behind one signature, rows of special values
// checked in the modes they name, and the accuracy sweeps of tests/exp/sweep.h.
#pragma once
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "exp/sweep.h"
#include "tessera.h"

namespace roots {

// A variant as a function of two doubles (a unary one ignores y; a float one rounds its
// operands, exactly, since the rows hold float values).
struct Variant {
    std::string name;
    std::function<double(double, double)> fn;
};

template <class Fn, size_t N>
void add(std::vector<Variant> &v, const tsr::TierFn<Fn> (&tiers)[N]) {
    for (const auto &t : tiers) {
        if (!tsr::tier_runnable(t.tier)) {
            std::printf("[  NOTICE  ] tier %s not run: this processor lacks its instruction set\n", t.name);
            continue;
        }
        Fn f = t.fn;
        v.push_back({t.name, [f](double x, double y) {
                         if constexpr (std::is_invocable_v<Fn, double>) return f(x);
                         else if constexpr (std::is_invocable_v<Fn, float>) return double(f(float(x)));
                         else if constexpr (std::is_invocable_v<Fn, double, double>) return f(x, y);
                         else return double(f(float(x), float(y)));
                     }});
    }
}

constexpr int NX = FE_INEXACT, INV = FE_INVALID, DZ = FE_DIVBYZERO, OV = FE_OVERFLOW | FE_INEXACT,
              NONE = 0, ANYF = -1;
constexpr int kFlagMask = FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW | FE_INEXACT;

// One row: want is compared bit for bit (a NaN matches any quiet NaN); `every_mode` rows
// hold in all four rounding modes (exact results), the rest in round-to-nearest.
struct Row {
    double x, y, want;
    int flags, code;
    bool every_mode;
};

inline void check_rows(const char *fname, const std::vector<Variant> &vs, const std::vector<Row> &rows,
                       bool is_float) {
    for (const Variant &v : vs)
        for (const Row &r : rows)
            for (const th::Mode &m : th::kModes) {
                if (!r.every_mode && m.fe != FE_TONEAREST) continue;
                th::ModeGuard g(m.fe);
                auto [got, o] = th::observe([&] { return v.fn(r.x, r.y); });
                char where[160];
                std::snprintf(where, sizeof where, "%s %s %s (%a, %a)", fname, v.name.c_str(), m.name, r.x, r.y);
                if (r.want != r.want) {
                    EXPECT_TRUE(got != got) << where;
                } else if (is_float) {
                    EXPECT_EQ(th::bits_of(float(got)), th::bits_of(float(r.want))) << where << " got " << got;
                } else {
                    EXPECT_EQ(th::bits_of(got), th::bits_of(r.want)) << where << " got " << std::hexfloat << got;
                }
                if (r.flags != ANYF)
                    EXPECT_EQ(o.flags & kFlagMask, r.flags) << where << " flags " << th::flags_str(o.flags);
                EXPECT_EQ(o.code, r.code) << where;
            }
}

// |got - exact| in ulps of the result's format for functions of two operands, worst per tier
// and mode (the one-operand sweeps are expt::sweep).
template <class T, class Fn, size_t N>
void sweep2(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], const std::vector<T> &xs,
            const std::vector<T> &ys, th::MpFn2 f, double rn_bound, double dir_bound) {
    std::vector<expt::Ref> refs;
    th::Mp v(200);
    for (size_t i = 0; i < xs.size(); ++i) {
        th::ref(v, f, xs[i], ys[i]);
        expt::Ref r{0, 0, 0};
        if (mpfr_regular_p(v) && mpfr_get_exp(v) - 1 <= th::Format<T>::emax) {
            r.e = mpfr_get_exp(v) - 1;
            mpfr_mul_2si(v, v, -r.e, MPFR_RNDN);
            r.hi = mpfr_get_d(v, MPFR_RNDN);
            mpfr_sub_d(v, v, r.hi, MPFR_RNDN);
            r.lo = mpfr_get_d(v, MPFR_RNDN);
        }
        refs.push_back(r);
    }
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        for (const th::Mode &m : th::kModes) {
            th::ModeGuard g(m.fe);
            double worst = 0, wx = 0, wy = 0;
            for (size_t i = 0; i < xs.size(); ++i) {
                if (refs[i].hi == 0) continue;
                double e = expt::ulps(t.fn(xs[i], ys[i]), refs[i]);
                if (!(e <= worst)) worst = e, wx = xs[i], wy = ys[i];
            }
            std::printf("[  ACCURACY] %-7s %-4s %-8s max %.4f ulp at (%a, %a) (%zu inputs)\n", fname, t.name,
                        m.name, worst, wx, wy, xs.size());
            EXPECT_LT(worst, m.fe == FE_TONEAREST ? rn_bound : dir_bound) << fname << " " << t.name << " " << m.name;
        }
    });
}

}  // namespace roots

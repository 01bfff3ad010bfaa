// What the hostile-use rows share: every tier of a function (the AVX-512 tiers also
// through their portable units), and one row runner that checks the result bits, the
// flags raised and errno, in each rounding mode a row names.
#pragma once
#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <vector>

#include "harness/harness.h"

namespace hostile {

template <class Fn> struct Tier {
    const char *name;
    tsr::Tier tier;
    Fn fn;
};

// The generated tier list of a function, followed by its portable AVX-512 units if any.
template <class Fn, size_t N>
std::vector<Tier<Fn>> tiers(const tsr::TierFn<Fn> (&list)[N]) {
    std::vector<Tier<Fn>> v;
    for (const auto &t : list) v.push_back({t.name, t.tier, t.fn});
    return v;
}
template <class Fn, size_t N, size_t M>
std::vector<Tier<Fn>> tiers(const tsr::TierFn<Fn> (&list)[N], const tsr::TierFn<Fn> (&portable)[M]) {
    auto v = tiers(list);
    for (const auto &t : portable) v.push_back({t.name, t.tier, t.fn});
    return v;
}

constexpr int kNear = 1, kUp = 2, kDown = 4, kZero = 8, kAllModes = 15;
constexpr int kAnyErrno = -1;

// One call: arguments, the modes it holds in, the result expected (compared by bits; a
// NaN `want` checks nothing of the value), exactly the flags expected, and errno.
template <class T> struct Row {
    T x, y;
    int modes;
    T want;
    int flags;
    int err = 0;
    const char *only = nullptr;  // the tiers the row applies to ("e7 l9"), or all
};

inline bool tier_named(const char *list, const char *tier) {
    if (!list) return true;
    size_t n = std::strlen(tier);
    for (const char *p = list; (p = std::strstr(p, tier)); p += n)
        if ((p == list || p[-1] == ' ') && (p[n] == 0 || p[n] == ' ' || p[n] == '-')) return true;
    return false;
}

// Runs each row through each tier in each of its modes.  `call(fn, row)` makes the call.
template <class T, class Fn, class Call>
void run(const char *fname, const std::vector<Tier<Fn>> &ts, const std::vector<Row<T>> &rows, Call call) {
    for (const auto &t : ts) {
        if (!tsr::tier_runnable(t.tier)) {
            std::printf("[  NOTICE  ] %s tier %s not run: this processor lacks its instruction set\n",
                        fname, t.name);
            continue;
        }
        for (const auto &r : rows) {
            if (!tier_named(r.only, t.name)) continue;
            for (int m = 0; m < 4; ++m) {
                if (!(r.modes & (1 << m))) continue;
                T got;
                th::Outcome o;
                {
                    th::ModeGuard g(th::kModes[m].fe);
                    std::tie(got, o) = th::observe([&] { return call(t.fn, r); });
                }
                char where[200];
                std::snprintf(where, sizeof where, "%s_%s(%a, %a) %s", fname, t.name, double(r.x),
                              double(r.y), th::kModes[m].name);
                bool value_ok = std::isnan(r.want) || th::bits_of(got) == th::bits_of(r.want);
                bool flags_ok = o.flags == r.flags;
                bool err_ok = r.err == kAnyErrno || o.err == r.err;
                if (!(value_ok && flags_ok && err_ok))
                    ADD_FAILURE() << where << ": got " << std::hexfloat << double(got) << " "
                                  << th::flags_str(o.flags) << " errno " << o.err << "; want "
                                  << double(r.want) << " " << th::flags_str(r.flags) << " errno " << r.err;
            }
        }
    }
}

template <class T, class Fn>
void run1(const char *fname, const std::vector<Tier<Fn>> &ts, const std::vector<Row<T>> &rows) {
    run(fname, ts, rows, [](Fn f, const Row<T> &r) { return f(r.x); });
}
template <class T, class Fn>
void run2(const char *fname, const std::vector<Tier<Fn>> &ts, const std::vector<Row<T>> &rows) {
    run(fname, ts, rows, [](Fn f, const Row<T> &r) { return f(r.x, r.y); });
}

}  // namespace hostile

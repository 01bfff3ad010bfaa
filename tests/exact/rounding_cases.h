// The rounding family's variants as tests see them: each function and tier with the
// operation it performs and the flag behaviour it promises.
#pragma once
#include <gtest/gtest.h>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <vector>

#include "tsr/common.h"
#include "tsr/tiers.h"
#include "tsr_tiers.inc"
#include "exact/rounding_ref.h"

namespace rnd {

template <class T>
using Fn = T (*)(T);

template <class T>
struct Variant {
    std::string name;  // e.g. "ceil_e7"
    Op op;
    tsr::Tier tier;
    Fn<T> fn;
    Inexact inexact;
    Nan nan;
    T magic_top;  // for Inexact::magic: the shifter path covers [1, magic_top)
};

// The promised side effects of each variant (the tier names the catalogue generates; the
// rules are this family's contract).
struct Rule {
    const char *fn;
    const char *tier;
    Op op;
    Inexact inexact;
    Nan nan;
    double magic_top;
};
inline const Rule kRules[] = {
    {"ceil", "ex", Op::ceil, Inexact::never, Nan::keep, 0},
    {"ceil", "e7", Op::ceil, Inexact::magic, Nan::quiet_invalid, 0x1p51},
    {"ceil", "y8", Op::ceil, Inexact::nonint, Nan::quiet_invalid, 0},
    {"floor", "ex", Op::floor, Inexact::never, Nan::keep, 0},
    {"floor", "e7", Op::floor, Inexact::magic, Nan::quiet_invalid, 0x1p51},
    {"floor", "y8", Op::floor, Inexact::nonint, Nan::quiet_invalid, 0},
    {"trunc", "ex", Op::trunc, Inexact::never, Nan::keep, 0},
    {"trunc", "e7", Op::trunc, Inexact::never, Nan::quiet_invalid, 0},
    {"trunc", "y8", Op::trunc, Inexact::nonint, Nan::quiet_invalid, 0},
    {"round", "ex", Op::round, Inexact::never, Nan::quiet_invalid, 0},
    {"round", "y8", Op::round, Inexact::nonint, Nan::quiet_invalid, 0},
    {"rint", "ex", Op::rint, Inexact::nonint, Nan::quiet_invalid, 0},
    {"rint", "y8", Op::rint, Inexact::nonint, Nan::quiet_invalid, 0},
    {"nearbyint", "ex", Op::nearbyint, Inexact::keep, Nan::quiet_invalid, 0},
    {"nearbyint", "e7", Op::nearbyint, Inexact::keep, Nan::quiet_invalid, 0},
    {"nearbyint", "y8", Op::nearbyint, Inexact::keep, Nan::quiet_invalid, 0},
    {"ceilf", "ex", Op::ceil, Inexact::magic, Nan::quiet_invalid, 0x1p22},
    {"ceilf", "e7", Op::ceil, Inexact::magic, Nan::quiet_invalid, 0x1p22},
    {"ceilf", "y8", Op::ceil, Inexact::nonint, Nan::quiet_invalid, 0},
    {"floorf", "ex", Op::floor, Inexact::magic, Nan::quiet_invalid, 0x1p22},
    {"floorf", "e7", Op::floor, Inexact::magic, Nan::quiet_invalid, 0x1p22},
    {"floorf", "y8", Op::floor, Inexact::nonint, Nan::quiet_invalid, 0},
    {"truncf", "ex", Op::trunc, Inexact::never, Nan::quiet_invalid, 0},
    {"roundf", "ex", Op::round, Inexact::never, Nan::quiet_silent, 0},
    {"roundf", "y8", Op::round, Inexact::nonint, Nan::quiet_invalid, 0},
    {"rintf", "ex", Op::rint, Inexact::nonint, Nan::quiet_invalid, 0},
    {"rintf", "y8", Op::rint, Inexact::nonint, Nan::quiet_invalid, 0},
    {"nearbyintf", "ex", Op::nearbyint, Inexact::keep, Nan::quiet_invalid, 0},
    {"nearbyintf", "e7", Op::nearbyint, Inexact::keep, Nan::quiet_invalid, 0},
    {"nearbyintf", "y8", Op::nearbyint, Inexact::keep, Nan::quiet_invalid, 0},
    // extended: one body each
    {"ceill", "-", Op::ceil, Inexact::magic, Nan::keep, 0x1p62},
    {"floorl", "-", Op::floor, Inexact::magic, Nan::keep, 0x1p62},
    {"truncl", "-", Op::trunc, Inexact::never, Nan::keep, 0},
    {"roundl", "-", Op::round, Inexact::never, Nan::keep, 0},
    {"rintl", "-", Op::rint, Inexact::nonint, Nan::quiet_invalid, 0},
    {"nearbyintl", "ex", Op::nearbyint, Inexact::keep, Nan::keep, 0},
};

inline const Rule *find_rule(const std::string &fn, const std::string &tier) {
    for (const Rule &r : kRules)
        if (fn == r.fn && tier == r.tier) return &r;
    return nullptr;
}

// Every variant of function `fn` from the generated tier list, with its rule.  A variant
// without a rule is a test failure (a new tier needs its contract written down).
template <class T, size_t N>
std::vector<Variant<T>> variants(const char *fn, const tsr::TierFn<Fn<T>> (&tiers)[N],
                                 bool runnable_only = true) {
    std::vector<Variant<T>> v;
    for (const auto &t : tiers) {
        const Rule *r = find_rule(fn, t.name);
        if (!r) {
            ADD_FAILURE() << "no flag rule for " << fn << "_" << t.name;
            continue;
        }
        if (runnable_only && !tsr::tier_runnable(t.tier)) {
            std::printf("[  NOTICE  ] %s_%s skipped: this processor cannot run tier %s\n", fn,
                        t.name, t.name);
            continue;
        }
        v.push_back({std::string(fn) + "_" + t.name, r->op, t.tier, t.fn, r->inexact, r->nan,
                     T(r->magic_top)});
    }
    return v;
}
template <class T>
Variant<T> plain(const char *fn, Fn<T> f) {
    const Rule *r = find_rule(fn, "-");
    if (!r) r = find_rule(fn, "ex");
    return {fn, r->op, tsr::Tier::ex, f, r->inexact, r->nan, T(r->magic_top)};
}

inline std::vector<Variant<double>> double_variants() {
    std::vector<Variant<double>> v;
    for (auto &&s : {variants<double>("ceil", tsr_tiers_ceil), variants<double>("floor", tsr_tiers_floor),
                     variants<double>("trunc", tsr_tiers_trunc), variants<double>("round", tsr_tiers_round),
                     variants<double>("rint", tsr_tiers_rint),
                     variants<double>("nearbyint", tsr_tiers_nearbyint)})
        v.insert(v.end(), s.begin(), s.end());
    return v;
}
inline std::vector<Variant<float>> float_variants() {
    std::vector<Variant<float>> v;
    for (auto &&s : {variants<float>("ceilf", tsr_tiers_ceilf), variants<float>("floorf", tsr_tiers_floorf),
                     variants<float>("truncf", tsr_tiers_truncf), variants<float>("roundf", tsr_tiers_roundf),
                     variants<float>("rintf", tsr_tiers_rintf),
                     variants<float>("nearbyintf", tsr_tiers_nearbyintf)})
        v.insert(v.end(), s.begin(), s.end());
    return v;
}

// ---- expected flags ---------------------------------------------------------------------
template <class T>
inline T magnitude(T x) { return x < 0 ? -x : x; }

// The flags a call must leave when they were clear before it (finite or infinite x).
template <class T>
inline uint32_t expected_flags(const Variant<T> &v, T x, bool nonint) {
    if (!nonint) return 0;
    switch (v.inexact) {
    case Inexact::never:
    case Inexact::keep: return 0;
    case Inexact::nonint: return kInexact;
    case Inexact::magic: {
        T a = magnitude(x);
        return a >= T(1) && a < v.magic_top ? kInexact : 0;
    }
    }
    return 0;
}

// ---- failures -------------------------------------------------------------------------------
// Counts failures and keeps the first few.
struct Failures {
    int count = 0;
    std::string first;
    void add(const std::string &what) {
        if (count++ < 8) first += what + "\n";
    }
};

}  // namespace rnd

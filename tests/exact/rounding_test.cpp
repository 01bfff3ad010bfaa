// Rounding to integral values: every variant this processor runs, in all four rounding
// modes, against MPFR, with the flags and NaN behaviour each variant promises (the rules of
// rounding_cases.h), through the shared call runner.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <random>
#include <vector>

#include "tessera.h"
#include "exact/rounding_cases.h"
#include "tsr_dispatch.inc"

using namespace rnd;

namespace {

// ---- inputs -------------------------------------------------------------------------------
// Every exponent of both signs, each with the fraction patterns that sit on the decisions
// (just below, at and above one half of the last integer unit, odd and even integer parts,
// all ones, lowest bit alone) and random fractions; the infinities; and NaNs quiet and
// signalling, of both signs, with payloads.
template <class T>
std::vector<T> binade_samples(int randoms_per_binade, uint64_t seed) {
    using F = Fmt<T>;
    using U = typename F::U;
    std::mt19937_64 rng(seed);
    const U fmask = (U(1) << F::kFrac) - 1, exp = U(F::kExpMax) << F::kFrac;
    std::vector<T> out;
    for (U sign : {U(0), F::kSign}) {
        for (int field = 0; field < F::kExpMax; ++field) {
            std::vector<U> fr = {0, 1, 2, 3, fmask, fmask - 1, U(1) << (F::kFrac - 1)};
            int n = (field ? field : 1) - F::kBias;  // unbiased exponent
            int below = F::kFrac - n;                // fraction bits below the point
            if (below >= 1 && below <= F::kFrac) {
                U half = U(1) << (below - 1);
                U unit = below < F::kFrac ? U(1) << below : 0;
                for (U base : {U(0), unit, U(fmask & ~(half * 2 - 1))})
                    for (U low : {U(0), U(1), half - 1, half, half + 1, half * 2 - 1})
                        fr.push_back((base | low) & fmask);
            }
            for (int i = 0; i < randoms_per_binade; ++i) fr.push_back(U(rng()) & fmask);
            for (U f : fr) out.push_back(F::from(sign | (U(field) << F::kFrac) | f));
        }
        for (U f : {U(0), F::kQuiet, U(F::kQuiet | 0x1234), U(F::kQuiet | 1), U(1), U(0x5678), U(F::kQuiet - 1)})
            out.push_back(F::from(sign | exp | f));  // infinity, quiet and signalling NaNs
    }
    return out;
}

// The thresholds by name, with neighbours.
template <class T>
std::vector<T> thresholds() {
    std::vector<T> v;
    const T k[] = {0.5, 1, 1.5, 2, 2.5, 3.5, T(0x1p21), T(0x1p22), T(0x1p23), T(0x1p24), T(0x1p51),
                   T(0x1p52), T(0x1p53), T(0x1p63), T(0x1p64), T(0x1p100)};
    for (T c : k)
        for (T s : {T(1), T(-1)}) {
            T x = s * c;
            v.push_back(x);
            v.push_back(Fmt<T>::from(Fmt<T>::bits(x) + 1));
            v.push_back(Fmt<T>::from(Fmt<T>::bits(x) - 1));
        }
    return v;
}

// What a variant promises for x in mode m: MPFR's integer in that mode and the variant's
// inexact rule; a NaN kept, or quieted with or without invalid.
template <class T> th::Expect<T> promised(const Variant<T> &v, T x, int m) {
    if (x != x) {
        bool signalling = !th::detail::quiet_nan_bits(x);
        T q = x;
        if (signalling && v.nan != Nan::keep) {  // the quiet bit: the top fraction bit
            if constexpr (std::is_same_v<T, long double>) reinterpret_cast<unsigned char *>(&q)[7] |= 0x40;
            else q = Fmt<T>::from(Fmt<T>::bits(x) | Fmt<T>::kQuiet);
        }
        return {q, signalling && v.nan == Nan::quiet_invalid ? th::INV : th::NONE};
    }
    bool nonint = false;
    T r = ref_value(v.op, th::kModes[m].rnd, x, &nonint);
    return {r, int(expected_flags(v, x, nonint))};
}

// Every variant on every input in the four modes; nearbyint also with inexact preset, which
// it must leave set (on every input but the NaNs).
template <class T> void check_variants(const std::vector<Variant<T>> &vars, const std::vector<T> &xs) {
    std::vector<std::tuple<T>> in(xs.begin(), xs.end());
    for (const auto &v : vars) {
        th::Calls<T, T> c;
        th::add_call(c, v.name.c_str(), v.fn, v.tier);
        EXPECT_EQ(th::check_calls(v.name, c, in, th::ALL_MODES,
                                  [&](const auto &, const std::tuple<T> &p, int m) { return promised(v, std::get<0>(p), m); }),
                  0);
        if (v.inexact != Inexact::keep) continue;
        int bad = 0;
        for (T x : xs) {
            if (x != x) continue;  // a signalling NaN adds invalid
            th::clear_flags();
            th::set_mxcsr(th::mxcsr_now() | FE_INEXACT);
            v.fn(x);
            if (th::flags_raised() != FE_INEXACT && ++bad <= 5)
                ADD_FAILURE() << v.name << "(" << th::detail::text(x) << ") changed a preset inexact flag";
        }
        th::clear_flags();
    }
}

TEST(Rounding, DoubleEveryBinadeAllTiersAllModes) {
    auto xs = binade_samples<double>(48, 1), t = thresholds<double>();
    xs.insert(xs.end(), t.begin(), t.end());
    ASSERT_GT(xs.size(), 100000u);
    check_variants(double_variants(), xs);
}

TEST(Rounding, FloatEveryBinadeAllTiersAllModes) {
    auto xs = binade_samples<float>(400, 2), t = thresholds<float>();
    xs.insert(xs.end(), t.begin(), t.end());
    ASSERT_GT(xs.size(), 100000u);
    check_variants(float_variants(), xs);
}

// Worked examples, written out by hand (mode, input, result), run through every variant of
// the named function, and of its float form where the values are floats.
TEST(Rounding, KnownValuesEveryTier) {
    using th::RN, th::RU, th::RD, th::RZ;
    const struct {
        const char *fn;
        unsigned mode;
        double x, want;
    } known[] = {
        {"ceil", RN, -0.3, -0.0}, {"floor", RN, 0.3, 0.0}, {"ceil", RN, 0x1p-1074, 1.0},
        {"floor", RN, -0x1p-1074, -1.0}, {"round", RN, 0.5, 1.0}, {"round", RN, -0.5, -1.0},
        {"round", RN, 0.49999999999999994, 0.0}, {"round", RD, 2.5, 3.0}, {"round", RU, -2.5, -3.0},
        {"rint", RN, 2.5, 2.0}, {"nearbyint", RN, 2.5, 2.0}, {"nearbyint", RN, 0.5, 0.0},
        {"nearbyint", RN, -0.5, -0.0}, {"nearbyint", RU, -0.5, -0.0}, {"nearbyint", RD, 0.5, 0.0},
        {"rint", RN, -0.2, -0.0}, {"rint", RD, 0.2, 0.0}, {"rint", RU, -0.2, -0.0},
        {"rint", RN, 0x1p52, 0x1p52}, {"rint", RN, -0x1p52, -0x1p52}, {"ceil", RN, 0x1p51 + 0.5, 0x1p51 + 1},
        {"ceil", RN, -(0x1p51 + 0.5), -0x1p51}, {"floor", RN, 0x1p52 - 0.5, 0x1p52 - 1}, {"ceil", RD, 1.5, 2.0},
        {"floor", RU, -1.5, -2.0}, {"trunc", RU, -1.5, -1.0}, {"nearbyint", RN, 0x1p52 - 0.5, 0x1p52},
        {"nearbyint", RN, 4503599627370495.5, 4503599627370496.0},
        {"nearbyint", RN, 4503599627370494.5, 4503599627370494.0}, {"rint", RZ, -0.9, -0.0},
    };
    const auto dv = double_variants();
    const auto fv = float_variants();
    for (const auto &k : known) {
        int n = 0;
        for (const auto &v : dv)
            if (v.name.rfind(std::string(k.fn) + "_", 0) == 0 && ++n)
                EXPECT_EQ(th::check_calls(v.name, th::Calls<double, double>{{v.name, v.tier, v.fn}},
                                          {{{k.x}, {k.want, th::ANY_FLAGS}, k.mode}}), 0);
        EXPECT_GT(n, 0) << k.fn;
        if (float(k.x) == k.x && float(k.want) == k.want)
            for (const auto &v : fv)
                if (v.name.rfind(std::string(k.fn) + "f_", 0) == 0)
                    EXPECT_EQ(th::check_calls(v.name, th::Calls<float, float>{{v.name, v.tier, v.fn}},
                                              {{{float(k.x)}, {float(k.want), th::ANY_FLAGS}, k.mode}}), 0);
    }
}

// ---- the dispatched entries -----------------------------------------------------------------
// The plain and __libm_ names reach the variant the slot settled on; their results and
// flags are that variant's.
template <class T, size_t N>
void check_entry(const char *fn, Fn<T> plain_fn, Fn<T> libm_fn, const tsr::TierFn<Fn<T>> (&tiers)[N],
                 const std::vector<T> &xs) {
    plain_fn(T(1.5));  // settle the slot
    void *slot = nullptr;
    for (const auto &d : tsr_dispatch_info)
        if (std::string(d.name) == fn) slot = *d.slot;
    ASSERT_NE(slot, nullptr) << fn << " has no slot";
    const char *tier = nullptr;
    for (const auto &t : tiers)
        if (reinterpret_cast<void *>(t.fn) == slot) tier = t.name;
    ASSERT_NE(tier, nullptr) << fn << ": the slot holds no variant of its own";
    const Rule *r = find_rule(fn, tier);
    ASSERT_NE(r, nullptr);
    std::vector<Variant<T>> vs;
    for (Fn<T> f : {plain_fn, libm_fn})
        vs.push_back({std::string(fn) + " via " + tier + " slot", r->op, tsr::Tier::ex, f, r->inexact, r->nan,
                      T(r->magic_top)});
    check_variants(vs, xs);
}

TEST(Rounding, DispatchedEntries) {
    auto xd = binade_samples<double>(2, 4);
    auto xf = binade_samples<float>(4, 5);
    check_entry<double>("ceil", ceil, __libm_ceil, tsr_tiers_ceil, xd);
    check_entry<double>("floor", floor, __libm_floor, tsr_tiers_floor, xd);
    check_entry<double>("trunc", trunc, __libm_trunc, tsr_tiers_trunc, xd);
    check_entry<double>("round", round, __libm_round, tsr_tiers_round, xd);
    check_entry<double>("rint", rint, __libm_rint, tsr_tiers_rint, xd);
    check_entry<double>("nearbyint", nearbyint, __libm_nearbyint, tsr_tiers_nearbyint, xd);
    check_entry<float>("ceilf", ceilf, __libm_ceilf, tsr_tiers_ceilf, xf);
    check_entry<float>("floorf", floorf, __libm_floorf, tsr_tiers_floorf, xf);
    check_entry<float>("roundf", roundf, __libm_roundf, tsr_tiers_roundf, xf);
    check_entry<float>("rintf", rintf, __libm_rintf, tsr_tiers_rintf, xf);
    check_entry<float>("nearbyintf", nearbyintf, __libm_nearbyintf, tsr_tiers_nearbyintf, xf);
    // truncf is bound, not dispatched: both names run the ex body
    check_variants<float>({plain<float>("truncf", truncf), plain<float>("truncf", __libm_truncf)}, xf);
    // the library's own callers use the hidden names; they are the same entry points
    EXPECT_EQ(reinterpret_cast<void *>(&ceil), reinterpret_cast<void *>(&ceil_local));
    EXPECT_EQ(reinterpret_cast<void *>(&truncf), reinterpret_cast<void *>(&truncf_local));
}

// ---- extended --------------------------------------------------------------------------------
// The binades around the integer threshold and a few far ones, with the decision patterns and
// random significands; the infinities and NaNs of both kinds with payloads.
std::vector<long double> ext_samples() {
    std::mt19937_64 rng(11);
    std::vector<long double> v;
    std::vector<uint16_t> fields = {0, 1, 0x2000, 0x3ffd, 0x7ffe};
    for (uint16_t f = 0x3fbe; f <= 0x4041; ++f) fields.push_back(f);
    for (uint16_t sign : {uint16_t(0), uint16_t(0x8000)}) {
        for (uint16_t f : fields) {
            int below = 0x403e - f;  // significand bits below the point
            std::vector<uint64_t> ms = {0, 1, ~0ull, ~0ull - 1};
            if (below >= 1 && below <= 63) {
                uint64_t half = 1ull << (below - 1), unit = below < 64 ? 1ull << below : 0;
                for (uint64_t base : {uint64_t(0), unit, uint64_t(~(half * 2 - 1))})
                    for (uint64_t low : {uint64_t(0), uint64_t(1), half - 1, half, half + 1, half * 2 - 1})
                        ms.push_back(base | low);
            }
            for (int i = 0; i < 40; ++i) ms.push_back(rng());
            for (uint64_t m : ms)  // the explicit integer bit: set for normals, clear below
                v.push_back(mkext(f ? m | 0x8000000000000000ull : m & 0x7fffffffffffffffull, uint16_t(sign | f)));
        }
        for (uint64_t m : {0x8000000000000000ull, 0xc000000000000000ull, 0xc000000000001234ull, 0x8000000000000001ull,
                           0x8000000000001235ull})
            v.push_back(mkext(m, uint16_t(sign | 0x7fff)));
    }
    return v;
}

std::vector<Variant<long double>> ext_variants() {
    return {plain<long double>("ceill", ceill),       plain<long double>("floorl", floorl),
            plain<long double>("truncl", truncl),     plain<long double>("roundl", roundl),
            plain<long double>("rintl", rintl),       plain<long double>("nearbyintl", nearbyintl),
            plain<long double>("nearbyintl", __libm_nearbyintl),
            plain<long double>("nearbyintl", __libm_nearbyintl_ex)};
}

TEST(Rounding, ExtendedAllModes) { check_variants(ext_variants(), ext_samples()); }

// The caller's x87 precision control (24 and 53 bits) must not shorten the arithmetic, and
// comes back as it was (the runner compares the control words around every call).
TEST(Rounding, ExtendedUnderReducedPrecisionControl) {
    const uint16_t saved = th::x87_cw_now();
    for (uint16_t pc : {uint16_t(0x000), uint16_t(0x200)}) {
        th::set_x87_cw(uint16_t((saved & ~0x300u) | pc));
        check_variants(ext_variants(), ext_samples());
        th::set_x87_cw(saved);
    }
}

// The long run's all-at-once float reference, on integers, agrees with MPFR.
TEST(Rounding, FastFloatReferenceAgrees) {
    auto xs = binade_samples<float>(64, 9);
    const Op ops[] = {Op::ceil, Op::floor, Op::trunc, Op::round, Op::rint};
    const mpfr_rnd_t rnd[] = {MPFR_RNDN, MPFR_RNDD, MPFR_RNDU, MPFR_RNDZ};  // kNearest, kDown, kUp, kZero
    for (uint32_t m : {kNearest, kDown, kUp, kZero})
        for (float x : xs) {
            if (x != x) continue;
            uint32_t out[5];
            bool nonint = ref_float_all(Fmt<float>::bits(x), m, out), nonint2 = false;
            for (int k = 0; k < 5; ++k) {
                ASSERT_EQ(out[k], Fmt<float>::bits(ref_value(ops[k], rnd[m], x, &nonint2))) << x << " op " << k;
                ASSERT_EQ(nonint, nonint2) << x;
            }
        }
}

}  // namespace

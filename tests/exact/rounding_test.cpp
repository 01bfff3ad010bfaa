// Rounding to integral values: every variant this processor runs, in all four rounding
// modes, against MPFR, with the flags and NaN behaviour each variant promises.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <random>
#include <vector>

#include "tessera.h"
#include "exact/rounding_cases.h"
#include "tsr_dispatch.inc"

using namespace rnd;

namespace {

// Restores nearest and clear flags after each test whatever it did.
class Rounding : public ::testing::Test {
  protected:
    void TearDown() override {
        set_mode(kNearest);
        clear_flags();
    }
};

// ---- inputs -------------------------------------------------------------------------------
// Every exponent of both signs, each with the fraction patterns that sit on the decisions
// (just below, at and above one half of the last integer unit, odd and even integer parts,
// all ones, lowest bit alone) and random fractions.
template <class T>
std::vector<T> binade_samples(int randoms_per_binade, uint64_t seed) {
    using F = Fmt<T>;
    using U = typename F::U;
    std::mt19937_64 rng(seed);
    const U fmask = (U(1) << F::kFrac) - 1;
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
        out.push_back(F::from(sign | (U(F::kExpMax) << F::kFrac)));  // infinity
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

template <class T>
void run_all_modes(const std::vector<Variant<T>> &vars, const std::vector<T> &xs) {
    for (const auto &v : vars) {
        Failures f;
        for (uint32_t m : {kNearest, kDown, kUp, kZero}) {
            set_mode(m);
            for (T x : xs) check(v, x, m, f);
        }
        set_mode(kNearest);
        EXPECT_EQ(f.count, 0) << v.name << ": " << f.count << " failures, first:\n" << f.first;
    }
}

TEST_F(Rounding, DoubleEveryBinadeAllTiersAllModes) {
    auto xs = binade_samples<double>(48, 1);
    auto th = thresholds<double>();
    xs.insert(xs.end(), th.begin(), th.end());
    ASSERT_GT(xs.size(), 100000u);
    run_all_modes(double_variants(), xs);
}

TEST_F(Rounding, FloatEveryBinadeAllTiersAllModes) {
    auto xs = binade_samples<float>(400, 2);
    auto th = thresholds<float>();
    xs.insert(xs.end(), th.begin(), th.end());
    ASSERT_GT(xs.size(), 100000u);
    run_all_modes(float_variants(), xs);
}

// Worked examples, written out by hand (mode, input, result), run through every variant of
// the named function.
struct Known {
    const char *fn;
    uint32_t mode;
    double x, want;
};
const Known kKnown[] = {
    {"ceil", kNearest, -0.3, -0.0},
    {"floor", kNearest, 0.3, 0.0},
    {"ceil", kNearest, 0x1p-1074, 1.0},
    {"floor", kNearest, -0x1p-1074, -1.0},
    {"round", kNearest, 0.5, 1.0},
    {"round", kNearest, -0.5, -1.0},
    {"round", kNearest, 0.49999999999999994, 0.0},
    {"round", kDown, 2.5, 3.0},
    {"round", kUp, -2.5, -3.0},
    {"rint", kNearest, 2.5, 2.0},
    {"nearbyint", kNearest, 2.5, 2.0},
    {"nearbyint", kNearest, 0.5, 0.0},
    {"nearbyint", kNearest, -0.5, -0.0},
    {"nearbyint", kUp, -0.5, -0.0},
    {"nearbyint", kDown, 0.5, 0.0},
    {"rint", kNearest, -0.2, -0.0},
    {"rint", kDown, 0.2, 0.0},
    {"rint", kUp, -0.2, -0.0},
    {"rint", kNearest, 0x1p52, 0x1p52},
    {"rint", kNearest, -0x1p52, -0x1p52},
    {"ceil", kNearest, 0x1p51 + 0.5, 0x1p51 + 1},
    {"ceil", kNearest, -(0x1p51 + 0.5), -0x1p51},
    {"floor", kNearest, 0x1p52 - 0.5, 0x1p52 - 1},
    {"ceil", kDown, 1.5, 2.0},
    {"floor", kUp, -1.5, -2.0},
    {"trunc", kUp, -1.5, -1.0},
    {"nearbyint", kNearest, 0x1p52 - 0.5, 0x1p52},
    {"nearbyint", kNearest, 4503599627370495.5, 4503599627370496.0},
    {"nearbyint", kNearest, 4503599627370494.5, 4503599627370494.0},
    {"rint", kZero, -0.9, -0.0},
};

TEST_F(Rounding, KnownValuesEveryTier) {
    for (const Known &k : kKnown) {
        std::vector<Variant<double>> vs;
        std::string fn = k.fn;
        if (fn == "ceil") vs = variants<double>("ceil", tsr_tiers_ceil);
        if (fn == "floor") vs = variants<double>("floor", tsr_tiers_floor);
        if (fn == "trunc") vs = variants<double>("trunc", tsr_tiers_trunc);
        if (fn == "round") vs = variants<double>("round", tsr_tiers_round);
        if (fn == "rint") vs = variants<double>("rint", tsr_tiers_rint);
        if (fn == "nearbyint") vs = variants<double>("nearbyint", tsr_tiers_nearbyint);
        ASSERT_FALSE(vs.empty()) << fn;
        for (const auto &v : vs) {
            set_mode(k.mode);
            double r = v.fn(k.x);
            set_mode(kNearest);
            EXPECT_EQ(Fmt<double>::bits(r), Fmt<double>::bits(k.want))
                << v.name << "(" << show(k.x) << ") in " << mode_name(k.mode) << " gave " << show(r);
        }
        // the float forms where the value is a float
        if (float(k.x) == k.x && float(k.want) == k.want) {
            std::vector<Variant<float>> fs;
            if (fn == "ceil") fs = variants<float>("ceilf", tsr_tiers_ceilf);
            if (fn == "floor") fs = variants<float>("floorf", tsr_tiers_floorf);
            if (fn == "trunc") fs = variants<float>("truncf", tsr_tiers_truncf);
            if (fn == "round") fs = variants<float>("roundf", tsr_tiers_roundf);
            if (fn == "rint") fs = variants<float>("rintf", tsr_tiers_rintf);
            if (fn == "nearbyint") fs = variants<float>("nearbyintf", tsr_tiers_nearbyintf);
            for (const auto &v : fs) {
                set_mode(k.mode);
                float r = v.fn(float(k.x));
                set_mode(kNearest);
                EXPECT_EQ(Fmt<float>::bits(r), Fmt<float>::bits(float(k.want)))
                    << v.name << "(" << show(float(k.x)) << ") in " << mode_name(k.mode);
            }
        }
    }
}

// Flags that tell the tiers apart on one input each.
TEST_F(Rounding, TierSideEffectsOnHalf) {
    auto ceils = variants<double>("ceil", tsr_tiers_ceil);
    for (const auto &v : ceils) {
        clear_flags();
        v.fn(0.5);
        uint32_t want = v.tier == tsr::Tier::y8 ? kInexact : 0;  // below 1: no rounding arithmetic
        EXPECT_EQ(flags(), want) << v.name << "(0.5)";
    }
    for (const auto &v : variants<double>("rint", tsr_tiers_rint)) {
        clear_flags();
        v.fn(2.5);
        EXPECT_EQ(flags(), kInexact) << v.name << "(2.5)";
    }
}

// ---- NaN ------------------------------------------------------------------------------------
template <class T>
void check_nans(const std::vector<Variant<T>> &vars) {
    using F = Fmt<T>;
    using U = typename F::U;
    const U exp = U(F::kExpMax) << F::kFrac;
    const U quiet[] = {exp | F::kQuiet, exp | F::kQuiet | 0x1234, F::kSign | exp | F::kQuiet | 1};
    const U signalling[] = {exp | 1, exp | 0x5678, F::kSign | exp | (F::kQuiet - 1)};
    for (const auto &v : vars)
        for (uint32_t m : {kNearest, kDown, kUp, kZero}) {
            set_mode(m);
            for (U q : quiet) {
                clear_flags();
                U got = F::bits(v.fn(F::from(q)));
                uint32_t fl = flags();
                EXPECT_EQ(got, q) << v.name << " quiet NaN " << std::hex << q << " in " << mode_name(m);
                EXPECT_EQ(fl, 0u) << v.name << " quiet NaN " << std::hex << q;
            }
            for (U s : signalling) {
                clear_flags();
                U got = F::bits(v.fn(F::from(s)));
                uint32_t fl = flags();
                U want = v.nan == Nan::keep ? s : s | F::kQuiet;
                uint32_t want_fl = v.nan == Nan::quiet_invalid ? kInvalid : 0;
                EXPECT_EQ(got, want) << v.name << " signalling NaN " << std::hex << s << " in "
                                     << mode_name(m);
                EXPECT_EQ(fl, want_fl) << v.name << " signalling NaN " << std::hex << s;
            }
        }
}
TEST_F(Rounding, NaNsDouble) { check_nans(double_variants()); }
TEST_F(Rounding, NaNsFloat) { check_nans(float_variants()); }

// ---- the dispatched entries -----------------------------------------------------------------
// The plain and __libm_ names reach the variant the slot settled on; their results and
// flags are that variant's.
template <class T, size_t N>
void check_entry(const char *fn, Fn<T> plain_fn, Fn<T> libm_fn,
                 const tsr::TierFn<Fn<T>> (&tiers)[N], const std::vector<T> &xs) {
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
    for (Fn<T> f : {plain_fn, libm_fn}) {
        Variant<T> v{std::string(fn) + " via " + tier + " slot", r->op, tsr::Tier::ex, f, r->inexact,
                     r->nan, T(r->magic_top)};
        run_all_modes<T>({v}, xs);
        check_nans<T>({v});
    }
}

TEST_F(Rounding, DispatchedEntries) {
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
    run_all_modes<float>({plain<float>("truncf", truncf), plain<float>("truncf", __libm_truncf)}, xf);
    // the library's own callers use the hidden names; they are the same entry points
    EXPECT_EQ(reinterpret_cast<void *>(&ceil), reinterpret_cast<void *>(&ceil_local));
    EXPECT_EQ(reinterpret_cast<void *>(&truncf), reinterpret_cast<void *>(&truncf_local));
}

// ---- extended --------------------------------------------------------------------------------
std::vector<long double> ext_samples() {
    std::mt19937_64 rng(11);
    std::vector<long double> v;
    std::vector<uint16_t> fields = {0, 1, 0x2000, 0x3ffd, 0x7ffe};
    for (uint16_t f = 0x3fbe; f <= 0x4041; ++f) fields.push_back(f);
    for (uint16_t sign : {uint16_t(0), uint16_t(0x8000)})
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
            for (uint64_t m : ms) {
                if (f != 0) m |= 0x8000000000000000ull;  // normal: explicit integer bit
                else m &= 0x7fffffffffffffffull;         // zero and subnormals
                v.push_back(mkext(m, uint16_t(sign | f)));
            }
        }
    for (uint16_t sign : {uint16_t(0), uint16_t(0x8000)})
        v.push_back(mkext(0x8000000000000000ull, uint16_t(sign | 0x7fff)));  // infinities
    return v;
}

void check_ext(const Variant<long double> &v, long double x, uint32_t mode, Failures &f) {
    bool nonint = false;
    Ext want = ref_ext(v.op, mode, ext(x), &nonint);
    uint32_t want_flags = 0;
    long double a = x < 0 ? -x : x;
    if (nonint) {
        if (v.inexact == Inexact::nonint) want_flags = kInexact;
        if (v.inexact == Inexact::magic && a >= 1 && a < v.magic_top) want_flags = kInexact;
    }
    clear_flags();
    Ext got = ext(v.fn(x));
    uint32_t fl = flags();
    if (!(got == want) || fl != want_flags) {
        char b[300];
        std::snprintf(b, sizeof b, "%s(%04x:%016" PRIx64 ") in %s: got %04x:%016" PRIx64
                      " flags %02x, want %04x:%016" PRIx64 " flags %02x",
                      v.name.c_str(), ext(x).se, ext(x).m, mode_name(mode), got.se, got.m, fl,
                      want.se, want.m, want_flags);
        f.add(b);
    }
    if (v.inexact == Inexact::keep) {
        clear_flags();
        set_flags(kInexact);
        v.fn(x);
        if (flags() != kInexact) f.add(v.name + " changed a preset inexact flag");
    }
}

std::vector<Variant<long double>> ext_variants() {
    return {plain<long double>("ceill", ceill),       plain<long double>("floorl", floorl),
            plain<long double>("truncl", truncl),     plain<long double>("roundl", roundl),
            plain<long double>("rintl", rintl),       plain<long double>("nearbyintl", nearbyintl),
            plain<long double>("nearbyintl", __libm_nearbyintl),
            plain<long double>("nearbyintl", __libm_nearbyintl_ex)};
}

TEST_F(Rounding, ExtendedAllModes) {
    auto xs = ext_samples();
    for (const auto &v : ext_variants()) {
        Failures f;
        for (uint32_t m : {kNearest, kDown, kUp, kZero}) {
            set_mode(m);
            for (long double x : xs) check_ext(v, x, m, f);
        }
        set_mode(kNearest);
        EXPECT_EQ(f.count, 0) << v.name << ": " << f.count << " failures, first:\n" << f.first;
    }
}

// The caller's x87 precision control must not shorten the arithmetic, and comes back as
// it was.
TEST_F(Rounding, ExtendedUnderReducedPrecisionControl) {
    auto xs = ext_samples();
    const uint16_t saved = x87cw();
    for (uint16_t pc : {uint16_t(0x000), uint16_t(0x200)}) {
        for (const auto &v : ext_variants()) {
            Failures f;
            for (uint32_t m : {kNearest, kDown, kUp, kZero}) {
                set_mode(m);
                uint16_t cw = uint16_t((x87cw() & ~0x300u) | pc);
                set_x87cw(cw);
                for (long double x : xs) {
                    check_ext(v, x, m, f);
                    if (x87cw() != cw) f.add(v.name + " left a changed x87 control word");
                }
            }
            set_x87cw(saved);
            EXPECT_EQ(f.count, 0) << v.name << " precision control " << pc << ": " << f.first;
        }
    }
}

TEST_F(Rounding, ExtendedNaNs) {
    const uint64_t q = 0xc000000000000000ull, s = 0x8000000000000001ull;
    for (const auto &v : ext_variants())
        for (uint16_t sign : {uint16_t(0), uint16_t(0x8000)})
            for (uint64_t m : {q, q | 0x1234, s, s | 0x1234}) {
                long double x = mkext(m, uint16_t(sign | 0x7fff));
                bool signalling = (m & 0x4000000000000000ull) == 0;
                clear_flags();
                Ext got = ext(v.fn(x));
                uint32_t fl = flags();
                Ext want{m, uint16_t(sign | 0x7fff)};
                uint32_t want_fl = 0;
                if (signalling && v.nan == Nan::quiet_invalid) {
                    want.m |= 0x4000000000000000ull;
                    want_fl = kInvalid;
                }
                EXPECT_TRUE(got == want) << v.name << std::hex << " NaN " << m << " gave " << got.m;
                EXPECT_EQ(fl, want_fl) << v.name << std::hex << " NaN " << m;
            }
}

}  // namespace

namespace {
// The long run's all-at-once float reference, on integers, agrees with MPFR.
TEST_F(Rounding, FastFloatReferenceAgrees) {
    auto xs = binade_samples<float>(64, 9);
    const Op ops[] = {Op::ceil, Op::floor, Op::trunc, Op::round, Op::rint};
    for (uint32_t m : {kNearest, kDown, kUp, kZero})
        for (float x : xs) {
            uint32_t out[5];
            bool nonint = ref_float_all(Fmt<float>::bits(x), m, out);
            bool nonint2 = false;
            for (int k = 0; k < 5; ++k) {
                ASSERT_EQ(out[k], ref_bits<float>(ops[k], m, x, &nonint2)) << show(x) << " op " << k;
                ASSERT_EQ(nonint, nonint2) << show(x);
            }
        }
}
}  // namespace

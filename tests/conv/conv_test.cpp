// Conversion to integers: lrint, llrint, lround, llround in double, float and extended,
// every variant this processor runs (tiers, the public entry, the reproducible name), in the
// four rounding modes, against MPFR: the integer, the flags, errno and the reported code.
// Inputs: every limit and its neighbours, the half-way cases, NaN and infinity, and a
// sample of every binade that holds integers of 64 bits.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

using namespace th;

namespace {

// One function: its variants (results widened to 64 bits), whether it rounds halves away from
// zero (the round family), whether an out-of-range positive argument gives LONG_MAX (lroundl),
// and its code.  The round family's ex tier and reproducible form convert by truncation and
// raise inexact (`inexact` names them).
template <class T>
struct Conv {
    const char *name;
    bool round;
    bool by_sign;
    int code;
    Calls<int64_t, T> calls;
    std::vector<std::string> inexact = {"ex"};
};

// What MPFR says of x: the integer (nearest with ties away for the round family, else in the
// mode), whether it fits in 64 bits, and the flags and report that follow.
template <class T>
Expect<int64_t> expect(const Conv<T> &c, const Call<int64_t, T> &v, T x, int mode) {
    bool round_inexact = false;
    for (const auto &n : c.inexact) round_inexact |= v.name == n;
    Mp m(160), r(160);
    set(m, x);
    bool neg = std::signbit(x);  // a NaN's too, which MPFR does not keep
    int64_t out_of_range = c.by_sign && !neg ? INT64_MAX : INT64_MIN;
    if (mpfr_nan_p(m)) return {out_of_range, INV, 0, NO_CODE};
    if (mpfr_inf_p(m)) return {out_of_range, INV, ERANGE, c.code};
    if (c.round) mpfr_round(r, m);
    else mpfr_rint(r, m, kModes[mode].rnd);
    if (!mpfr_fits_slong_p(r, MPFR_RNDN)) return {out_of_range, INV, ERANGE, c.code};
    bool exact = mpfr_integer_p(m);
    int flags = exact || (c.round && !round_inexact) ? NONE : NX;
    return {mpfr_get_si(r, MPFR_RNDN), flags, 0, NO_CODE};
}

// Runs every input through every variant in every mode; returns the mismatches.
template <class T>
int check(const Conv<T> &c, const std::vector<T> &xs) {
    std::vector<std::tuple<T>> in(xs.begin(), xs.end());
    return check_calls(c.name, c.calls, in, ALL_MODES,
                       [&](const auto &v, const std::tuple<T> &x, int m) { return expect(c, v, std::get<0>(x), m); });
}

// The limits of every format and the places where the answer changes: each with its
// neighbours two units either side, both signs.
template <class T>
std::vector<T> thresholds() {
    const T k[] = {0, T(0x1p-149), T(0x1p-126), 0.25, 0.5, 1, 1.5, 2, 2.5, 3.5, 4.5, 1e6 + 0.5,
                   T(0x1p22), T(0x1p23), T(0x1p24), T(0x1p31), T(2147483647.5), T(2147483648.5),
                   T(0x1p51), T(0x1p52), T(0x1p53), T(0x1p62), T(0x1p63), T(0x1p64), T(0x1p100),
                   std::numeric_limits<T>::max(), std::numeric_limits<T>::denorm_min()};
    std::vector<T> out;
    for (T c : k)
        for (T s : {T(1), T(-1)}) {
            T x = s * c;
            out.push_back(x);
            T lo = x, hi = x;
            for (int i = 0; i < 2; ++i) {
                lo = std::nextafter(lo, -std::numeric_limits<T>::infinity());
                hi = std::nextafter(hi, std::numeric_limits<T>::infinity());
                out.push_back(lo);
                out.push_back(hi);
            }
        }
    for (T s : {T(1), T(-1)}) out.push_back(s * std::numeric_limits<T>::infinity());
    return out;
}

// Quiet and signalling NaNs of both signs (bit patterns: their payloads matter).
std::vector<double> nans(double) {
    return {f64(0x7ff8000000000000ull), f64(0xfff8000000000000ull), f64(0x7ff0000000000001ull),
            f64(0xfff4000000000000ull), f64(0x7fffffffffffffffull)};
}
std::vector<float> nans(float) {
    return {f32(0x7fc00000u), f32(0xffc00000u), f32(0x7f800001u), f32(0xffa00000u)};
}
std::vector<long double> nans(long double) {
    return {qnan<long double>(), -qnan<long double>(), snan<long double>(), -snan<long double>()};
}

// Half-way cases k + 1/2 and their neighbours, for k spread over every binade below the
// last one with a half; and random values of every binade from 2^-3 to 2^66.
template <class T>
std::vector<T> samples(uint64_t seed, int per_binade) {
    std::mt19937_64 rng(seed);
    constexpr int p = std::numeric_limits<T>::digits;
    std::vector<T> out;
    for (int e = 0; e < p - 1; ++e) {
        for (int i = 0; i < 8; ++i) {
            uint64_t k = (uint64_t(1) << e) | (rng() & ((uint64_t(1) << e) - 1));
            T h = T(k) + T(0.5);
            for (T s : {T(1), T(-1)}) {
                out.push_back(s * h);
                out.push_back(std::nextafter(s * h, T(0)));
                out.push_back(std::nextafter(s * h, s * std::numeric_limits<T>::infinity()));
            }
        }
    }
    std::uniform_real_distribution<double> u(1.0, 2.0);
    for (int e = -3; e <= 66; ++e)
        for (int i = 0; i < per_binade; ++i) {
            T x = T(std::ldexp((long double)u(rng) + (long double)u(rng) * 0x1p-53L, e));
            out.push_back(rng() & 1 ? -x : x);
        }
    return out;
}

template <class T>
std::vector<T> all_inputs(uint64_t seed, int per_binade) {
    std::vector<T> xs = thresholds<T>();
    for (T n : nans(T())) xs.push_back(n);
    for (T s : samples<T>(seed, per_binade)) xs.push_back(s);
    return xs;
}

// ---- the functions, each with every variant ------------------------------------------------
// name, round family, code, tier list, entry (null: the round family's entry, checked apart),
// reproducible form.
template <class T, class R, size_t N>
Conv<T> conv(const char *name, bool round, int code, const tsr::TierFn<R (*)(T)> (&tiers)[N],
             std::type_identity_t<R (*)(T)> entry, std::type_identity_t<R (*)(T)> bwr, const char *bwr_name) {
    Conv<T> c{name, round, false, code, {}};
    add_tiers(c.calls, tiers);
    if (entry) add_call(c.calls, "entry", entry);
    add_call(c.calls, bwr_name, bwr);
    c.inexact.push_back(bwr_name);
    return c;
}
#define CONV(f, round, entry) conv(#f, round, tsr::code::f##_result_out_of_range, tsr_tiers_##f, entry, __bwr_##f, "__bwr_" #f)
Conv<double> lrint_d() { return CONV(lrint, false, ::lrint); }
Conv<double> llrint_d() { return CONV(llrint, false, ::llrint); }
Conv<double> lround_d() { return CONV(lround, true, nullptr); }
Conv<double> llround_d() { return CONV(llround, true, nullptr); }
Conv<float> lrint_f() { return CONV(lrintf, false, ::lrintf); }
Conv<float> llrint_f() { return CONV(llrintf, false, ::llrintf); }
Conv<float> lround_f() { return CONV(lroundf, true, nullptr); }
Conv<float> llround_f() { return CONV(llroundf, true, nullptr); }
template <class R>
Conv<long double> ext(const char *name, bool round, bool by_sign, int code, R (*fn)(long double)) {
    Conv<long double> c{name, round, by_sign, code, {}, {}};
    add_call(c.calls, name, fn);
    return c;
}

TEST(Conv, Lrint) {
    auto xs = all_inputs<double>(1, 1400);
    EXPECT_EQ(check(lrint_d(), xs), 0);
    EXPECT_EQ(check(llrint_d(), xs), 0);
}
TEST(Conv, Lround) {
    auto xs = all_inputs<double>(2, 1400);
    EXPECT_EQ(check(lround_d(), xs), 0);
    EXPECT_EQ(check(llround_d(), xs), 0);
}
TEST(Conv, LrintfLroundf) {
    auto xs = all_inputs<float>(3, 1400);
    EXPECT_EQ(check(lrint_f(), xs), 0);
    EXPECT_EQ(check(llrint_f(), xs), 0);
    EXPECT_EQ(check(lround_f(), xs), 0);
    EXPECT_EQ(check(llround_f(), xs), 0);
}
TEST(Conv, Extended) {
    auto xs = all_inputs<long double>(4, 1400);
    // The top binades, rounded by hand: 2^62 to 2^64 with the half and odd integers.
    for (long double b : {0x1p62L, 0x1p63L})
        for (long double s : {1.0L, -1.0L})
            for (long double d : {0.0L, 0.5L, 1.0L, 1.5L, 2.5L, -0.5L, -1.5L})
                if (d > -1 || b > 0x1p62L) xs.push_back(s * (b + d));
    xs.push_back(0x1p63L - 1);
    xs.push_back(-0x1p63L + 1);
    EXPECT_EQ(check(ext("lrintl", false, false, tsr::code::lrintl_result_out_of_range, ::lrintl), xs), 0);
    EXPECT_EQ(check(ext("llrintl", false, false, tsr::code::llrintl_result_out_of_range,
                        ::llrintl), xs), 0);
    EXPECT_EQ(check(ext("lroundl", true, true, tsr::code::lroundl_result_out_of_range, ::lroundl), xs), 0);
    EXPECT_EQ(check(ext("llroundl", true, false, tsr::code::llroundl_result_out_of_range,
                        ::llroundl), xs), 0);
}

// The long run: 10 million inputs per function (every binade from 2^-3 to 2^66);
// CONV_LONG_PER_BINADE sets the count per binade (142,000 by default).
int long_per_binade() {
    const char *s = std::getenv("CONV_LONG_PER_BINADE");
    return s ? std::atoi(s) : 142000;
}
TEST(ConvLong, Double) {
    auto xs = all_inputs<double>(7, long_per_binade());
    EXPECT_EQ(check(lrint_d(), xs), 0);
    EXPECT_EQ(check(llrint_d(), xs), 0);
    EXPECT_EQ(check(lround_d(), xs), 0);
    EXPECT_EQ(check(llround_d(), xs), 0);
}
TEST(ConvLong, Float) {
    auto xs = all_inputs<float>(8, long_per_binade());
    EXPECT_EQ(check(lrint_f(), xs), 0);
    EXPECT_EQ(check(llrint_f(), xs), 0);
    EXPECT_EQ(check(lround_f(), xs), 0);
    EXPECT_EQ(check(llround_f(), xs), 0);
}

// The entry points of the round family (dispatched to e7 here) raise no inexact; checked
// apart because the entry's tier is the processor's (ex, which does, where e7 is missing).
template <class T, class R>
Conv<T> round_entry(const char *name, int code, R (*fn)(T)) {
    Conv<T> c{name, true, false, code, {}, {}};
    add_call(c.calls, "entry", fn);
    if (!tsr::tier_runnable(tsr::Tier::e7)) c.inexact = {"entry"};
    return c;
}
TEST(Conv, RoundEntries) {
    auto xs = all_inputs<double>(5, 20);
    EXPECT_EQ(check(round_entry("lround", tsr::code::lround_result_out_of_range, ::lround), xs), 0);
    EXPECT_EQ(check(round_entry("llround", tsr::code::llround_result_out_of_range, ::llround), xs), 0);
    auto fs = all_inputs<float>(6, 20);
    EXPECT_EQ(check(round_entry("lroundf", tsr::code::lroundf_result_out_of_range, ::lroundf), fs), 0);
    EXPECT_EQ(check(round_entry("llroundf", tsr::code::llroundf_result_out_of_range, ::llroundf), fs), 0);
}

// The ex bodies decide by the invalid flag of the SSE unit, which they clear first and do
// not put back: a caller's pending SSE invalid flag is gone after a conversion that fits.
TEST(Conv, ExDropsPendingSseInvalid) {
    set_mxcsr(mxcsr_now() | 0x1);
    EXPECT_EQ(__libm_lrint_ex(1.0), 1);
    EXPECT_EQ(mxcsr_now() & 0x1, 0u);
    clear_flags();
}

}  // namespace

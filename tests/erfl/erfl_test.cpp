// The extended error functions: signed zeros, ±1, 2 and 0 at the infinities, NaNs and refused
// encodings; each threshold and its neighbour (the tiny-argument products, the series edge at
// 1/8, the rows' binades, the saturations, the zero of erfcl with its code); erfinvl at ±1 and
// beyond with its codes; accuracy against MPFR over each domain in the four modes, 100,000
// arguments a function (10 million in the Long run).
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "erf/erf_refs.h"
#include "ext/ext_funcs.h"
#include "tsr/codes.h"

namespace {

using namespace th;
using extt::LD;
// An extended value from its significand and sign-and-exponent words.
inline LD ld(uint64_t m, uint16_t se) { return f80(se, m); }
namespace code = tsr::code;
using R = Row<LD>;

constexpr LD inf = std::numeric_limits<LD>::infinity();
const LD qnan = std::numeric_limits<LD>::quiet_NaN();
const LD dnan = LD(std::numeric_limits<float>::quiet_NaN());
const LD snan = ld(0xa000000000000000ull, 0x7fff);
const LD unnormal = ld(0x4000000000000000ull, 0x3fff);
const LD pseudo_inf = ld(0, 0x7fff);
const LD max_ = std::numeric_limits<LD>::max();
const LD min_sub = std::numeric_limits<LD>::denorm_min();
const LD below1 = ld(0xffffffffffffffffull, 0x3ffe);  // 1 - 2^-64
// The neighbour of x towards zero (x positive and normal).
LD pred(LD x) {
    uint64_t m;
    uint16_t se;
    __builtin_memcpy(&m, &x, 8);
    __builtin_memcpy(&se, reinterpret_cast<char *>(&x) + 8, 2);
    return m == 0x8000000000000000ull ? ld(~0ull, uint16_t(se - 1)) : ld(m - 1, se);
}

Func<LD> fn(const char *name) {
    std::string n = name;
    if (n == "erfl") return func<LD>("erfl", mpfr_erf, erfl_local, erfl);
    if (n == "erfcl") return func<LD>("erfcl", mpfr_erfc, erfcl_local, erfcl);
    return func<LD>("erfinvl", erft::mpfr_erfinv, erfinvl_local, erfinvl);
}

std::vector<R> with_nans(std::vector<R> own) {
    std::vector<R> r = {{{qnan}, {qnan}}, {{-qnan}, {qnan}}, {{snan}, {dnan}, INV},
                        {{unnormal}, {dnan}, INV}, {{pseudo_inf}, {dnan}, INV}};
    r.insert(r.end(), own.begin(), own.end());
    return r;
}

const LD erf_saturate = ld(0xd0e0000000000000ull, 0x4001);  // 6.527...: erf rounds to 1 from here

TEST(ErflRows, Erfl) {
    check_rows(fn("erfl"), with_nans({
        {{0.0L}, {0.0L}}, {{-0.0L}, {-0.0L}}, {{inf}, {1.0L}}, {{-inf}, {-1.0L}},
        crx(erf_saturate), crx(-erf_saturate), crx(7.0L), {{-100.0L}, {-1.0L}, NX, 0, NO_CODE, RN},
        // nearest only: a reference at 256 bits cannot see 1 - erfc(max) apart from 1
        {{max_}, {1.0L}, NX, 0, NO_CODE, RN}, {{-max_}, {-1.0L}, NX, 0, NO_CODE, RN}, cr(pred(erf_saturate)),
        {{min_sub}, {CR}, UN}, {{-min_sub}, {CR}, UN}, {{0x1.8p-16400L}, {CR}, UN}, {{0x1.23456789p-16383L}, {CR}, UN},
        cr(0x1p-16256L), cr(0x1.fffp-16255L), cr(0x1.8p-16300L),
        cr(0x1p-16382L), cr(0x1p-39L), cr(pred(0x1p-39L)), cr(-0x1p-60L),
        cr(0.125L), cr(pred(0.125L)), cr(-0.125L), cr(0.25L), cr(pred(0.25L)), cr(0.5L), cr(1.0L),
        cr(-2.0L), cr(pred(4.0L)), cr(4.0L), cr(6.0L), cr(-6.5L),
    }));
}

TEST(ErflRows, Erfcl) {
    const LD zero_from = ld(0xd57cddb32ed4a1d7ull, 0x4005);  // 106.74...: erfc at or below 2^-16446
    check_rows(fn("erfcl"), with_nans({
        {{0.0L}, {1.0L}}, {{-0.0L}, {1.0L}}, {{inf}, {0.0L}}, {{-inf}, {2.0L}},
        {{zero_from}, {0.0L}, UN, ERANGE, code::erfcl_underflow, RN},
        {{107.5L}, {0.0L}, UN, ERANGE, code::erfcl_underflow, RN},
        {{max_}, {0.0L}, UN, ERANGE, code::erfcl_underflow, RN},
        {{pred(zero_from)}, {min_sub}, UN, 0, NO_CODE, RN},
        {{106.6L}, {CR}, UN, 0, NO_CODE, RN}, cr(106.3L), cr(106.0L),
        crx(-6.5L), crx(-7.0L), cr(-max_), cr(pred(6.5L) * -1.0L),
        cr(min_sub), cr(-min_sub), crx(0x1p-67L), crx(-0x1p-67L), cr(0x1p-66L), cr(pred(0x1p-66L)),
        cr(0.125L), cr(pred(0.125L)), cr(-0.125L), cr(0.5L), cr(-1.0L), cr(3.0L),
        cr(8.0L), cr(pred(8.0L)), cr(16.0L), cr(30.0L), cr(100.0L),
    }));
}

TEST(ErflRows, Erfinvl) {
    check_rows(fn("erfinvl"), with_nans({
        {{0.0L}, {0.0L}}, {{-0.0L}, {-0.0L}},
        {{1.0L}, {inf}, DZ, ERANGE, code::erfinvl_magnitude_exactly_1},
        {{-1.0L}, {-inf}, DZ, ERANGE, code::erfinvl_magnitude_exactly_1},
        {{1.0L + 0x1p-63L}, {dnan}, INV, EDOM, code::erfinvl_magnitude_above_1},
        {{-2.0L}, {dnan}, INV, EDOM, code::erfinvl_magnitude_above_1},
        {{inf}, {dnan}, INV, EDOM, code::erfinvl_magnitude_above_1},
        {{-inf}, {dnan}, INV, EDOM, code::erfinvl_magnitude_above_1},
        {{min_sub}, {CR}, UN, 0, NO_CODE, RN}, {{0x1p-16382L}, {CR}, UN, 0, NO_CODE, RN},
        cr(0x1p-34L), cr(pred(0x1p-34L)), cr(0.125L), cr(pred(0.125L)), cr(0.5L), cr(pred(0.5L)),
        cr(-0.75L), cr(0.99L), cr(below1), cr(-below1), cr(pred(below1)),
    }));
}

// Bounds: 0.55 ulp in round-to-nearest (one rounding of a pair good to a few 2^-70), 1.5 in
// the directed modes (the pair's own steps then round in the mode too).
Sweep<LD> plan(const char *name, std::vector<Region<LD>> regions, double scale) {
    Sweep<LD> s{fn(name), std::move(regions)};
    s.bound[0] = 0.55;
    for (int m = 1; m < 4; ++m) s.bound[m] = 1.5;
    s.scale = scale;
    return s;
}

void run(const char *name, double scale) {
    std::string n = name;
    if (n == "erfl")
        sweep(plan(name, {{40000, {0x1p-16445L, 8.0L, Dist::log_uniform, true}},
                          {40000, {-7.0L, 7.0L, Dist::uniform}},
                          {20000, {0x1p-6L, 1.0L, Dist::log_uniform, true}}}, scale));
    else if (n == "erfcl")
        sweep(plan(name, {{30000, {0x1p-16445L, 128.0L, Dist::log_uniform, true}},
                          {40000, {-7.0L, 110.0L, Dist::uniform}},
                          {20000, {104.0L, 107.0L, Dist::uniform}},
                          {10000, {0x1p-8L, 16.0L, Dist::log_uniform, true}}}, scale));
    else {
        Sweep<LD> s = plan(name, {{30000, {0x1p-16445L, 1.0L, Dist::log_uniform, true}},
                                  {40000, {-1.0L, 1.0L, Dist::uniform}}}, scale);
        // The tail: ±(1 - u) with u log-uniform in [2^-64, 1/2].
        s.gen_n = 30000;
        s.gen = [](std::vector<LD> &out, size_t n, uint64_t seed) {
            std::mt19937_64 r(seed);
            for (size_t i = 0; i < n; ++i) {
                LD u = ld((r() | 0x8000000000000000ull), uint16_t(0x3ffe - r() % 64));
                out.push_back((r() & 1 ? -1.0L : 1.0L) * (1.0L - u));
            }
        };
        sweep(s);
    }
}

TEST(ErflAccuracy, Erfl) { run("erfl", 1); }
TEST(ErflAccuracy, Erfcl) { run("erfcl", 1); }
TEST(ErflAccuracy, Erfinvl) { run("erfinvl", 1); }
TEST(ErflLong, Sweep) {
    for (const char *f : {"erfl", "erfcl", "erfinvl"}) run(f, 100);
}

}  // namespace

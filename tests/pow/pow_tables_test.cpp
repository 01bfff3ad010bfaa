// The generated tables of pow and powf: the reference rows, and every row against MPFR
// with the shape each algorithm relies on (short multipliers, high parts on their grid).
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "elementary/pow_data.h"
#include "harness/harness.h"

namespace tab = tsr::pow_tab;

namespace {
double D(uint64_t u) { return std::bit_cast<double>(u); }

// Significant bits of a double (position of the lowest set bit of the significand).
int sig_bits(double v) {
    if (v == 0) return 0;
    uint64_t m = (std::bit_cast<uint64_t>(v) & 0x000fffffffffffffull) | 0x0010000000000000ull;
    return 53 - __builtin_ctzll(m);
}
bool on_grid(double v, int e) { return std::ldexp(v, -e) == std::trunc(std::ldexp(v, -e)); }

// |hi + lo - exact| in units of 2^-p.
double err_units(double hi, double lo, mpfr_srcptr exact, int p) {
    th::Mp s(300);
    mpfr_set_d(s, hi, MPFR_RNDN);
    mpfr_add_d(s, s, lo, MPFR_RNDN);
    mpfr_sub(s, s, exact, MPFR_RNDN);
    mpfr_mul_2si(s, s, p, MPFR_RNDN);
    return std::fabs(mpfr_get_d(s, MPFR_RNDN));
}
void log2_of(mpfr_ptr out, double num, double den) {
    th::Mp a(300), b(300);
    mpfr_set_d(a, num, MPFR_RNDN);
    mpfr_div_d(a, a, den, MPFR_RNDN);
    mpfr_log2(out, a, MPFR_RNDN);
}
}  // namespace

// The reference rows of each table (bit patterns).
TEST(PowTables, ReferenceRows) {
    struct R { const uint64_t *t; int i; uint64_t v; };
    const R rows[] = {
        {tab::log513, 0, 0x3ff0000000000000}, {tab::log513, 1, 0},
        {tab::log513, 2, 0x3feff00a20000000}, {tab::log513, 3, 0x3e5b185696621f95},
        {tab::log513, 1024, 0}, {tab::log513, 1025, 0},
        {tab::exp256, 1, 0x3b70000000000000}, {tab::exp256, 2, 0x3ff00b1afa5abcbf},
        {tab::exp256, 3, 0xbc84f6b2a7609f71},
        {tab::stage1_c, 1, 0x3fefc08000000000},
        {tab::stage2_c, 0, 0x3ff0000000000000}, {tab::stage2_c, 1, 0x3fefff4000000000},
        {tab::stage2_c, 2, 0x3feffe4000000000},
        {tab::stage2_log, 2, 0x3f2150297c800000}, {tab::stage2_log, 3, 0x3d210909f6306155},
        {tab::stage3_c, 0, 0x3ff7154740000000}, {tab::stage3_c, 1, 0x3ff71545c0000000},
        {tab::stage3_c, 2, 0x3ff7154440000000},
        {tab::stage3_log, 2, 0x3eb80000c0000000}, {tab::stage3_log, 3, 0x3d4722f0009be959},
        {tab::exp128, 0, 0x3ff0000000000000}, {tab::exp128, 1, 0},
        {tab::log128, 0, 0x3ff0000000000000}, {tab::log128, 1, 0}, {tab::log128, 2, 0},
        {tab::log128, 3, 0x8000000000000000},
        {tab::log128, 4, 0x3fefc00000000000}, {tab::log128, 5, 0},
        {tab::log128, 6, 0x3f872c7ba2100000}, {tab::log128, 7, 0xbd319b14945cf6ba},
        {tab::exp128f, 2, 0x0000163da9fb3335}, {tab::exp128f, 3, 0x3c9b3b4f1a88bf6e},
        {tab::powf_log65, 0, 0x3ff71547652b82fe},
        {tab::powf_log65, 64, 0x3feec709dc3a03fd}, {tab::powf_log65, 65, 0xbfda8ff971810c00},
        {tab::powf_l9_log, 0, 0xc05f800000000000},
    };
    for (const auto &r : rows) EXPECT_EQ(r.t[r.i], r.v) << "index " << r.i;
}

// e7: hi + lo = log2(1.4453125/R) to 2^-75, hi on the grid 2^-24.
TEST(PowTables, Log513) {
    th::Mp ex(300);
    for (int i = 0; i <= 512; ++i) {
        double R = i < 284 ? (1 + (i + 228) / 512.0) / 2 : 1 + (i - 284) / 512.0;
        log2_of(ex, 1.4453125, R);
        double hi = D(tab::log513[2 * i]), lo = D(tab::log513[2 * i + 1]);
        EXPECT_TRUE(on_grid(hi, -24)) << i;
        EXPECT_LT(err_units(hi, lo, ex, 75), 1.0) << i;
    }
}

// The exponential tables: T the nearest double of 2^(j/N), t its tail to a double.
TEST(PowTables, ExpTables) {
    th::Mp ex(300), t(300);
    for (int n : {256, 128}) {
        const uint64_t *tb = n == 256 ? tab::exp256 : tab::exp128;
        for (int j = 0; j < n; ++j) {
            mpfr_set_si(ex, j, MPFR_RNDN);
            mpfr_div_si(ex, ex, n, MPFR_RNDN);
            mpfr_exp2(ex, ex, MPFR_RNDN);
            double T = D(tb[2 * j]);
            EXPECT_EQ(T, mpfr_get_d(ex, MPFR_RNDN)) << n << " " << j;
            if (j) EXPECT_LT(err_units(T, D(tb[2 * j + 1]), ex, 105), 1.0) << n << " " << j;
            // l9: the same T as fraction bits, the tail relative to it.
            if (n == 128) {
                EXPECT_EQ(tab::exp128f[2 * j], std::bit_cast<uint64_t>(T) & 0x000fffffffffffffull);
                mpfr_div_d(t, ex, T, MPFR_RNDN);
                mpfr_sub_ui(t, t, 1, MPFR_RNDN);
                EXPECT_NEAR(D(tab::exp128f[2 * j + 1]), mpfr_get_d(t, MPFR_RNDN), 0x1p-106) << j;
            }
        }
    }
}

// ex: the multipliers are short enough that their products with a 26-bit half of a double
// are exact, and the log pairs are right with their high parts on the grid 2^-42.
TEST(PowTables, Stages) {
    th::Mp ex(300);
    struct S { const uint64_t *c, *l; int rows, maxbits; double num; };
    const S st[] = {{tab::stage1_c, tab::stage1_log, 129, 17, 1.0},
                    {tab::stage2_c, tab::stage2_log, 129, 16, 1.0},
                    {tab::stage3_c, tab::stage3_log, 257, 23, D(0x3ff7154740000000)}};
    for (const auto &s : st) {
        for (int i = 0; i < s.rows; ++i) {
            double c = D(s.c[i]);
            EXPECT_LE(sig_bits(c), s.maxbits) << i;
            double hi = D(s.l[2 * i]), lo = D(s.l[2 * i + 1]);
            EXPECT_TRUE(on_grid(hi, -42)) << i;
            log2_of(ex, s.num, c);
            EXPECT_LT(err_units(hi, lo, ex, 94), 1.0) << i;
        }
    }
    // Stage 1 covers its row: 1/c1 is within 2^-8 of 1 + i/128.
    for (int i = 0; i <= 128; ++i)
        EXPECT_NEAR(1.0 / D(tab::stage1_c[i]), 1 + i / 128.0, 0x1p-15) << i;
}

// l9: R short (R m - 1 exact in one fma) and close to 1/(1 + k/128); hi + lo = log2(1/R).
TEST(PowTables, Log128) {
    th::Mp ex(300);
    for (int k = 0; k < 128; ++k) {
        double R = D(tab::log128[4 * k]);
        EXPECT_TRUE(on_grid(R, -8)) << k;
        EXPECT_NEAR(R * (1 + k / 128.0), 1.0, 0x1p-8) << k;
        double hi = D(tab::log128[4 * k + 2]), lo = D(tab::log128[4 * k + 3]);
        EXPECT_TRUE(on_grid(hi, -40)) << k;
        log2_of(ex, 1.0, R);
        EXPECT_LT(err_units(hi, lo, ex, 92), 1.0) << k;
    }
}

// powf: c = log2(e)/(1 + i/64) and L = log2(1 + i/64) (less 1 from row 32 on) to 42 bits;
// the l9 table of -126 - log2(1 + i/128).
TEST(PowTables, PowfTables) {
    const double l2e = D(0x3ff71547652b82fe);
    for (int i = 0; i <= 64; ++i) {
        EXPECT_EQ(D(tab::powf_log65[2 * i]), l2e / (1 + i / 64.0)) << i;
        double L = D(tab::powf_log65[2 * i + 1]);
        EXPECT_NEAR(L, std::log2(1 + i / 64.0) - (i >= 32), 0x1p-43) << i;
        EXPECT_LE(sig_bits(L), 43) << i;
    }
    for (int i = 0; i < 128; ++i)
        EXPECT_NEAR(D(tab::powf_l9_log[i]), -126 - std::log2(1 + i / 128.0), 0x1p-45) << i;
    EXPECT_EQ(D(tab::powf_l9_log[128]), -127.0);
}

// The generated tables: the reference rows, and every row against its rule evaluated by
// MPFR (independently of the generator).
#include <gtest/gtest.h>

#include <cmath>

#include "elementary/log_data.h"
#include "harness/harness.h"

namespace {

using namespace tsr::logtab;
double d(uint64_t b) { return std::bit_cast<double>(b); }
uint64_t b(double x) { return std::bit_cast<uint64_t>(x); }

// Reference rows: the rows printed with the tables' definitions.
TEST(LogTables, ReferenceRows) {
    EXPECT_EQ(b(log_neg129_ex[0][0]), 0x3fe62e42fefa3800ull);
    EXPECT_EQ(b(log_neg129_ex[0][1]), 0x3d2ef35793c76730ull);
    EXPECT_EQ(b(log_neg129_fma[0][0]), 0x3fe62e42fefa4000ull);
    EXPECT_EQ(b(log10_rows_l9[0][0]), 0xc0733a7146f6b080ull);
    EXPECT_EQ(log2_f257[0], 1.0);
    EXPECT_EQ(log_l2f512[0], -127.0);
    EXPECT_EQ(log_rcp256_r[0], 0.998046875f);
    EXPECT_EQ(log_rcp256_r[1], 0.994140625f);
    EXPECT_EQ(log_rcp256_r[2], 0.990234375f);
    EXPECT_EQ(b(log_rcp256_l[0]), 0x3f60040155d5889eull);
    EXPECT_EQ(log_k64_rows[0][0], 1.0);
    EXPECT_EQ(log_k64_rows[0][1], 0.0);
    EXPECT_EQ(log_k64_rows[0][2], 0.0);
    EXPECT_EQ(log_k64_rows[1][0], 0.984375);
    EXPECT_EQ(b(log_k64_rows[1][1]), 0x3f90205658a00000ull);
    EXPECT_EQ(b(log_k64_rows[1][2]), 0xbd894f716c1b8bdfull);
    EXPECT_EQ(b(log2p1_rows[0][0]), 0x408ffc3041403590ull);
    EXPECT_EQ(b(log2p1_rows[0][1]), 0xbd45669df6a2b592ull);
}

// Two reference rows are not the rounding their rule gives: the tail of ln 2 in the FMA cut
// (0xbd48432a13aaa9c4, about 2^-68 from ln 2 less its head) and log10(2) in the float table
// (0x3fd34413509f79fe, one ulp below the nearest double).  The tables hold the nearest
// values; this checks that they are, and how far the printed rows lie.
TEST(LogTables, ReferenceRowsThatAreNotNearest) {
    th::Mp v, t;
    mpfr_const_log2(v, MPFR_RNDN);
    mpfr_sub_d(t, v, log_neg129_fma[0][0], MPFR_RNDN);
    EXPECT_EQ(log_neg129_fma[0][1], mpfr_get_d(t, MPFR_RNDN));
    EXPECT_LT(std::fabs(log_neg129_fma[0][1] - d(0xbd48432a13aaa9c4ull)), 0x1p-67);
    th::Mp ten;
    mpfr_set_ui(ten, 10, MPFR_RNDN);
    mpfr_log(ten, ten, MPFR_RNDN);
    mpfr_div(t, v, ten, MPFR_RNDN);
    EXPECT_EQ(log10_f257[0], mpfr_get_d(t, MPFR_RNDN));
    EXPECT_EQ(b(log10_f257[0]) - 1, 0x3fd34413509f79feull);
}

// hi + lo against the exact value v: |hi + lo - v| within half an ulp of lo (plus the
// exact value's own rounding when it has no exact head).
void expect_pair(const char *name, int i, double hi, double lo, mpfr_srcptr v, double grain = 0) {
    th::Mp s;
    mpfr_set_d(s, hi, MPFR_RNDN);
    mpfr_add_d(s, s, lo, MPFR_RNDN);
    mpfr_sub(s, s, v, MPFR_RNDN);
    double err = std::fabs(mpfr_get_d(s, MPFR_RNDN));
    double bound = lo == 0 ? 0x1p-1000 : std::ldexp(1.0, std::ilogb(lo) - 53);
    EXPECT_LE(err, bound) << name << " row " << i;
    if (grain) EXPECT_EQ(std::fmod(hi, grain), 0.0) << name << " row " << i << " head off its grain";
}

// Value of -log_base(R/c) at 256 bits (R/c formed exactly enough in MPFR).
void neglog(mpfr_ptr out, double R, int base, double c = 1) {
    th::Mp r;
    mpfr_set_d(r, R, MPFR_RNDN);
    mpfr_div_d(r, r, c, MPFR_RNDN);
    if (base == 2) mpfr_log2(out, r, MPFR_RNDN);
    else if (base == 10) mpfr_log10(out, r, MPFR_RNDN);
    else mpfr_log(out, r, MPFR_RNDN);
    mpfr_neg(out, out, MPFR_RNDN);
}

TEST(LogTables, NegLog129) {
    for (int i = 0; i <= 128; ++i) {
        double R = i < 128 ? (1 + i / 128.0) / 2 : 1.0;
        th::Mp v;
        neglog(v, R, 0);
        expect_pair("log_neg129_ex", i, log_neg129_ex[i][0], log_neg129_ex[i][1], v, 0x1p-42);
        expect_pair("log_neg129_fma", i, log_neg129_fma[i][0], log_neg129_fma[i][1], v, 0x1p-39);
    }
    EXPECT_EQ(log_neg129_ex[128][0], 0.0);
    EXPECT_EQ(log_neg129_ex[128][1], 0.0);
}

// Rows of the reductions toward c: the row's R' from the rounded estimate's bits.
TEST(LogTables, Log2Log10Rows) {
    for (int k = 0; k <= 128; ++k) {
        th::Mp v, c;
        int j = k + 57;
        double R = j < 128 ? (1 + j / 128.0) / 2 : 1 + (j - 128) / 128.0;
        neglog(v, R, 2, 1.4453125);
        expect_pair("log2_rows_ex", k, log2_rows_ex[k][0], log2_rows_ex[k][1], v, 0x1p-42);
        j = k + 56;
        R = k < 72 ? (1 + j / 128.0) / 2 : 1 + (k - 72) / 128.0;
        neglog(v, R, 2, 1.4375);
        expect_pair("log2_rows_l9", k, log2_rows_l9.hi[k], log2_rows_l9.lo[k], v, 0x1p-42);
        j = k + 94;
        R = j < 128 ? (1 + j / 128.0) / 8 : (1 + (j - 128) / 128.0) / 4;
        neglog(v, R, 10, 0.43359375);
        expect_pair("log10_rows_ex", k, log10_rows_ex[k][0], log10_rows_ex[k][1], v, 0x1p-43);
    }
    // The FMA rows: -1023*log10(2) - log10 R_i, log10(2) taken as the code's head + tail in
    // the bias term (and in row 0's -log10(1/2)).
    const double l10hi = d(0x3fd34413509f0000ull), l10lo = d(0x3d7e7fbcc47c0000ull);
    for (int i = 0; i <= 128; ++i) {
        th::Mp v, t;
        double R = i < 128 ? (1 + i / 128.0) / 2 : 1.0;
        if (i == 0) {
            mpfr_set_d(v, l10hi, MPFR_RNDN);
            mpfr_add_d(v, v, l10lo, MPFR_RNDN);
        } else {
            neglog(v, R, 10);
        }
        mpfr_set_d(t, l10hi, MPFR_RNDN);
        mpfr_add_d(t, t, l10lo, MPFR_RNDN);
        mpfr_mul_si(t, t, -1023, MPFR_RNDN);
        mpfr_add(v, v, t, MPFR_RNDN);
        expect_pair("log10_rows_l9", i, log10_rows_l9[i][0], log10_rows_l9[i][1], v, 0x1p-38);
    }
    EXPECT_EQ(log10_rows_l9[128][0], -1023 * l10hi);
    EXPECT_EQ(log10_rows_l9[128][1], -1023 * l10lo);
}

TEST(LogTables, FloatTables) {
    for (int i = 0; i <= 256; ++i) {
        double R = i < 256 ? (1 + i / 256.0) / 2 : 1.0;
        const double *tabs[3] = {log_f257, log2_f257, log10_f257};
        int bases[3] = {0, 2, 10};
        for (int k = 0; k < 3; ++k) {
            th::Mp v;
            neglog(v, R, bases[k]);
            EXPECT_EQ(tabs[k][i], mpfr_get_d(v, MPFR_RNDN)) << "base " << bases[k] << " row " << i;
        }
    }
    for (int i = 0; i < 512; ++i) {
        th::Mp v;
        neglog(v, 1 + i / 512.0, 2);
        mpfr_neg(v, v, MPFR_RNDN);
        mpfr_sub_ui(v, v, 127, MPFR_RNDN);
        EXPECT_EQ(log_l2f512[i], mpfr_get_d(v, MPFR_RNDN)) << i;
    }
    for (int i = 0; i < 256; ++i) {
        double r = log_rcp256_r[i], c = 1 + (i + 0.5) / 256;
        EXPECT_EQ(std::fmod(r, 0x1p-9), 0.0) << i;
        EXPECT_LE(std::fabs(r * c - 1), 0x1p-10 * c) << i;  // the nearest multiple of 2^-9
        th::Mp v;
        neglog(v, r, 0);
        expect_pair("log_rcp256", i, log_rcp256_l[i], log_rcp256_t[i], v);
        EXPECT_EQ(log_rcp256_l[i], mpfr_get_d(v, MPFR_RNDN)) << i;
    }
}

TEST(LogTables, KernelAndLog2p1Rows) {
    for (int i = 0; i <= 64; ++i) {
        double R = log_k64_rows[i][0];
        EXPECT_EQ(std::fmod(R, 0x1p-9), 0.0) << i;
        EXPECT_LE(std::fabs(R * (1 + i / 64.0) - 1), 0x1p-10 * (1 + i / 64.0)) << i;
        th::Mp v;
        neglog(v, R, 0);
        double hi = log_k64_rows[i][1], lo = log_k64_rows[i][2];
        if (i != 64) EXPECT_EQ(b(hi) & 0x1fffff, 0u) << "head of row " << i << " keeps 21 low zero bits";
        if (i != 64) expect_pair("log_k64_rows", i, hi, lo, v);
        else EXPECT_LT(std::fabs(hi + lo - 0.6931471805599453), 1e-16);  // ln 2 in the kernel's own split
    }
    for (int i = 0; i < 256; ++i) {
        th::Mp v;
        neglog(v, 1 + i / 256.0, 2, 1.4375);
        mpfr_add_ui(v, v, 1023, MPFR_RNDN);
        expect_pair("log2p1_rows", i, log2p1_rows[i][0], log2p1_rows[i][1], v, 0x1p-39);
    }
}

TEST(LogTables, PowersOfTen) {
    int found = 0;
    for (int r = 0; r < 12; ++r) {
        uint32_t bits = log10f_pow10[r][0];
        if (bits == 0xffffffffu) continue;
        float x = std::bit_cast<float>(bits), k = std::bit_cast<float>(log10f_pow10[r][1]);
        EXPECT_EQ(double(x), std::pow(10.0, double(k))) << r;
        int n = std::ilogb(x);
        EXPECT_EQ((n * 0x5556) >> 16, r);
        ++found;
    }
    EXPECT_EQ(found, 10);
}

}  // namespace

// The reductions by the reciprocal estimate stay exact and in range on any processor: for
// every float mantissa, with this processor's estimate, its neighbours, and the extremes the
// instruction's error bound (1.5 * 2^-12 relative) allows, the rounded R picks a row inside
// its table whose R' is R itself, and |m*R/c - 1| stays inside the polynomial's interval.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <bit>
#include <cmath>
#include <vector>

#include "elementary/log_data.h"

namespace {

float f(uint32_t b) { return std::bit_cast<float>(b); }
uint32_t u(float x) { return std::bit_cast<uint32_t>(x); }
float rcpss(float x) { return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))); }

// Estimates of 1/m that some processor may return: this one's, its float neighbours, and
// the two ends of the bound.
std::vector<float> estimates(float m) {
    double exact = 1.0 / m, bound = 1.5 * 0x1p-12;
    float here = rcpss(m);
    std::vector<float> out;
    for (int k = -3; k <= 3; ++k) out.push_back(f(u(here) + uint32_t(k)));
    out.push_back(float(exact * (1 - bound * 0.999)));
    out.push_back(float(exact * (1 + bound * 0.999)));
    std::vector<float> ok;
    for (float e : out)
        if (std::fabs(double(e) / exact - 1) <= bound) ok.push_back(e);
    return ok;
}

struct Scheme {
    const char *name;
    float c;       // target of the reduction (the estimate is multiplied by it first)
    double rmax;   // the polynomial's interval for m*R/c - 1
};

void run(uint32_t stride) {
    int64_t checked = 0;
    double worst[6] = {};
    for (uint32_t mb = 0; mb < (1u << 23); mb += stride) {
        float m = f(0x3f800000u | mb);  // 1.m
        for (float e : estimates(m)) {
            ++checked;
            // No-FMA double frame (log, log2, log10 ex/e7; log1p e7): 7 bits above bit 15.
            const float cs[3] = {1.0f, 1.4453125f, 0.43359375f};
            const int off[3] = {0, 57, 94};
            for (int k = 0; k < 3; ++k) {
                float rc = k ? e * cs[k] : e;
                uint32_t rw = u(rc) + 0x8000;
                int row = int((rw >> 16) & 0xff) - off[k];
                ASSERT_GE(row, 0) << k << " m=" << m << " e=" << e;
                ASSERT_LE(row, 128) << k << " m=" << m << " e=" << e;
                float R = f(rw & 0xffff0000u);
                // the row's own R'
                int j = row + off[k];
                double scale = k == 2 ? 0.125 : 0.5;
                double Rp = j < 128 ? (1 + j / 128.0) * scale : (1 + (j - 128) / 128.0) * scale * 2;
                ASSERT_EQ(double(R), Rp) << k << " row " << row;
                double r = double(m) * R / cs[k] - 1;
                worst[k] = std::max(worst[k], std::fabs(r));
                ASSERT_LT(std::fabs(r), 0x1p-7) << k << " m=" << m;
            }
            // FMA log2 (l9): target 1.4375, row (v + 200) & 0xff.
            {
                uint32_t v = (u(e * 1.4375f) + 0x8000) >> 16;
                int row = int((v + 200) & 0xff);
                ASSERT_LE(row, 128);
                double R = f(v << 16);
                double Rp = row < 72 ? (1 + (row + 56) / 128.0) / 2 : 1 + (row - 72) / 128.0;
                ASSERT_EQ(R, Rp) << "log2 l9 row " << row;
                worst[3] = std::max(worst[3], std::fabs(double(m) * R / 1.4375 - 1));
            }
            // Float e7: 8 mantissa bits, row of log_f257 from R's bits.
            {
                float R = f((u(e) + 0x4000) & 0xffff8000u);
                uint32_t idx = (u(R) - 0x3f000000u) >> 15;
                ASSERT_LE(idx, 256u);
                ASSERT_EQ(double(R), idx < 256 ? (1 + idx / 256.0) / 2 : 1.0);
                worst[4] = std::max(worst[4], std::fabs(double(m) * R - 1));
            }
            // Float l9: 9 mantissa bits, log2 R composed from the exponent and log_l2f512.
            {
                uint32_t Rb = (u(e) + 0x2000) & 0xffffc000u;
                int32_t g = int32_t(Rb) >> 14;
                double L2 = double(g >> 9) + tsr::logtab::log_l2f512[g & 0x1ff];
                // the table holds log2(1 + i/512) - 127: absolute precision about 2^-47
                ASSERT_NEAR(L2, std::log2(double(f(Rb))), 0x1p-45);
                worst[5] = std::max(worst[5], std::fabs(double(m) * f(Rb) - 1));
            }
        }
    }
    std::printf("[ REDUCTION] %lld (mantissa, estimate) pairs; max |r|: frame %.3g %.3g %.3g, log2 l9 %.3g, "
                "float e7 %.3g, float l9 %.3g\n",
                (long long)checked, worst[0], worst[1], worst[2], worst[3], worst[4], worst[5]);
    EXPECT_LT(worst[3], 0x1p-7);
    EXPECT_LT(worst[4], 0x1p-8);
    EXPECT_LT(worst[5], 0x1p-8);
}

TEST(LogReduction, AnyEstimateSampled) { run(61); }
TEST(LogReduction, AnyEstimateLong) { run(1); }

// log2p1: the estimate (of v as a float, or the 14-bit one of the double) times 1.4375,
// rounded to 8 bits in the double's top word: the row is R's own mantissa, r stays small.
TEST(LogReduction, Log2p1Estimates) {
    double worst = 0;
    for (uint32_t mb = 0; mb < (1u << 23); mb += 7) {
        double v = double(f(0x3f800000u | mb)) + 0x1p-30;
        double exact = 1.0 / v;
        for (double e : {double(rcpss(float(v))), exact * (1 - 1.499 * 0x1p-12), exact * (1 + 1.499 * 0x1p-12),
                         exact * (1 - 0x1p-14), exact * (1 + 0x1p-14)}) {
            double R = std::bit_cast<double>((std::bit_cast<uint64_t>(e * 1.4375) + 0x000007f000000000ull) &
                                             0xfffff00000000000ull);
            worst = std::max(worst, std::fabs(v * R / 1.4375 - 1));
        }
    }
    std::printf("[ REDUCTION] log2p1 max |v*R/1.4375 - 1| = %.3g\n", worst);
    EXPECT_LT(worst, 0x1p-7);
}

}  // namespace

// The tables of 2^(j/N): the reference rows, and every row against its rule recomputed with
// MPFR (mantissas cut or rounded exactly as the rule says; tails within two units of their
// last place of the exact tail).
#include <gtest/gtest.h>

#include <bit>

#include "elementary/exp_data.h"
#include "harness/harness.h"

using namespace tsr::expd;

namespace {

uint64_t b(double x) { return std::bit_cast<uint64_t>(x); }
uint32_t b(float x) { return std::bit_cast<uint32_t>(x); }

// 2^(j/n) at 300 bits.
void pow2frac(mpfr_ptr out, long j, long n) {
    mpfr_set_si(out, j, MPFR_RNDN);
    mpfr_div_si(out, out, n, MPFR_RNDN);
    mpfr_exp2(out, out, MPFR_RNDN);
}

// |got - exact| in ulps of got's format at got.
template <class T>
double tail_ulps(T got, mpfr_srcptr exact) {
    if (got == 0) return mpfr_zero_p(exact) ? 0 : 1e9;
    return th::ulp_error<T>(got, exact);
}

}  // namespace

TEST(ExpTables, ReferenceRows) {
    struct {
        uint64_t got, want;
        int tolerance;  // units in the last place allowed in a tail
    } rows[] = {
        {frac64[1].m, 0x00002c9a3e778060, 0},   {b(frac64[1].t), 0x3cad7bbf0e03754d, 2},
        {frac64r[1].m, 0x00002c9a3e778061, 0},  {b(frac64r[1].t), 0xbc7160139cd8dc5c, 2},
        {frac128[1].m, 0x0000163da9fb3335, 0},  {b(frac128[1].t), 0x3c9b61299ab8cdb7, 2},
        {b(split128[65].tail), 0x3dfb33356d84a66b, 2}, {b(split128[65].head), 0x3ff0163da9e00000, 0},
        {b(split128[64].tail), 0, 0},            {b(split128[64].head), 0x3ff0000000000000, 0},
        {b(split128[0].head), 0x3fe6a09e66600000, 0},
        {b(centred64[0]), 0x3fe6a09e667f3bcd, 0},
        {b(f32_tail[1]), 0xb34a3a0a, 2},         {f32_head[1], 0x0002cd87, 0},
    };
    for (auto &r : rows) {
        int64_t d = int64_t(r.got - r.want);
        EXPECT_LE(d < 0 ? -d : d, r.tolerance) << std::hex << "got " << r.got << " want " << r.want;
    }
}

TEST(ExpTables, EveryRowFollowsItsRule) {
    th::Mp v(300), t(300), one(300);
    mpfr_set_ui(one, 1, MPFR_RNDN);
    struct Frac {
        const MT *tab;
        int n;
        mpfr_rnd_t cut;
        bool relative;
    } fracs[] = {{frac64, 64, MPFR_RNDZ, true}, {frac64r, 64, MPFR_RNDN, true}, {frac128, 128, MPFR_RNDN, false}};
    for (const Frac &f : fracs) {
        for (int j = 0; j < f.n; ++j) {
            pow2frac(v, j, f.n);
            double T = th::round_to<double>(v, f.cut);
            EXPECT_EQ(f.tab[j].m, b(T) & 0x000fffffffffffffull) << "N=" << f.n << " j=" << j;
            th::set(t, T);
            mpfr_sub(t, v, t, MPFR_RNDN);
            if (f.relative) mpfr_div_d(t, t, T, MPFR_RNDN);
            EXPECT_LE(tail_ulps(f.tab[j].t, t), 2.0) << "N=" << f.n << " j=" << j;
        }
    }
    for (int i = 0; i < 129; ++i) {
        pow2frac(v, i - 64, 128);
        double head = split128[i].head;
        EXPECT_EQ(b(head) & 0x1fffff, 0u) << i;  // 31 fraction bits at most
        th::set(t, head);
        mpfr_sub(t, v, t, MPFR_RNDN);
        EXPECT_GE(mpfr_sgn(t.v), 0) << i;          // cut, not rounded
        EXPECT_LT(mpfr_get_d(t, MPFR_RNDN), std::bit_cast<double>((b(head) & 0xfff0000000000000ull) - (31ull << 52))) << i;
        EXPECT_LE(tail_ulps(split128[i].tail, t), 2.0) << i;
    }
    struct Near {
        const double *tab;
        int rows, n, j0;
    } nears[] = {{d256, 256, 256, 0}, {d32, 32, 32, 0}, {centred64, 64, 64, -32}};
    for (const Near &nr : nears) {
        for (int i = 0; i < nr.rows; ++i) {
            pow2frac(v, i + nr.j0, nr.n);
            EXPECT_EQ(b(nr.tab[i]), b(th::round_to<double>(v))) << "N=" << nr.n << " i=" << i;
        }
    }
    for (int j = 0; j < 32; ++j) {
        pow2frac(v, j, 32);
        float T = th::round_to<float>(v);
        EXPECT_EQ(f32_head[j], b(T) & 0x7fffffu) << j;
        th::set(t, T);
        mpfr_sub(t, v, t, MPFR_RNDN);
        mpfr_div_d(t, t, T, MPFR_RNDN);
        EXPECT_LE(tail_ulps(f32_tail[j], t), 2.0) << j;
    }
    for (int k = 0; k <= 22; ++k) {
        mpfr_ui_pow_ui(v, 10, k, MPFR_RNDN);
        EXPECT_EQ(mpfr_cmp_d(v, pow10[k]), 0) << k;
        if (k <= 10) EXPECT_EQ(mpfr_cmp_d(v, pow10f[k]), 0) << k;
    }
}

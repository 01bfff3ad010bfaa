// The trigonometric, hyperbolic and angle kernels of the extended family: each pair (with its
// sign factor or scale) against MPFR to well past 64 bits, on rows in the four rounding
// modes (the hardest reductions among them; the caller's control word unchanged after) and
// on 100,000 arguments per kernel; their special values against MPFR's rounded results.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "ext2_funcs.h"

#include "ext/ext_pair_error.h"
#include "extended/ext_kernels.h"

using Scaled = tsr_scaled_pair;

namespace {

using ext2t::LD;

using extt::pair_rel_err_log2;

// The worst error of a kernel over the arguments below `bound`.
void expect_below(const std::vector<LD> &xs, double bound, const char *name, const std::function<double(LD)> &err) {
    double worst = -300;
    LD at = 0;
    for (LD x : xs) {
        double e = err(x);
        if (e > worst) worst = e, at = x;
    }
    EXPECT_LT(worst, bound) << name << " at " << th::detail::text(at);
}

// ---- sine and cosine: x, x ln2, x ln10 -----------------------------------------------------
using TrigK = long double (*)(const long double *, long double *);
struct TrigKernel {
    const char *name;
    TrigK k;
    int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    int c;  // the angle's factor: 1 (x), 2 (ln2), 10 (ln10)
};
const TrigKernel kTrig[] = {
    {"sinl_k80", __libm_sinl_k80, mpfr_sin, 1},       {"cosl_k80", __libm_cosl_k80, mpfr_cos, 1},
    {"sinln2l_k80", __libm_sinln2l_k80, mpfr_sin, 2},  {"cosln2l_k80", __libm_cosln2l_k80, mpfr_cos, 2},
    {"sinln10l_k80", __libm_sinln10l_k80, mpfr_sin, 10}, {"cosln10l_k80", __libm_cosln10l_k80, mpfr_cos, 10},
};

// f(x c) at 200 bits (the angle formed exactly enough: x's exponent and 300 bits more).
void trig_ref(mpfr_ptr out, const TrigKernel &t, LD x) {
    int ex = 0;
    std::frexp(x, &ex);
    th::Mp a(64 + 300 + (ex > 0 ? ex : 0)), c(64 + 300 + (ex > 0 ? ex : 0));
    th::set(a, x);
    if (t.c != 1) {
        mpfr_set_ui(c, t.c, MPFR_RNDN);
        mpfr_log(c, c, MPFR_RNDN);
        mpfr_mul(a, a, c, MPFR_RNDN);
    }
    t.f(out, a, MPFR_RNDN);
}

double trig_err(const TrigKernel &t, LD x) {
    LD out[2] = {7, 7};
    LD s = t.k(&x, out);
    th::Mp ref(200);
    trig_ref(ref, t, x);
    if (s != 1.0L && s != -1.0L) return 1000;
    return pair_rel_err_log2(s * out[0], s * out[1], 0, ref);
}

const LD kTrigRows[] = {
    0x1p-16445L, -0x1p-16000L, 0x1p-40L, -1e-10L, 0.5L, -0.785398163397448309615L, 0.7853981633974483096L,
    1.0L, -1.5707963267948966192L, 3.1415926535897932385L, 100.0L, -1e6L, 0x1p30L, -0x1.fffffffep29L,
    1e18L, -1e300L, 0x1.fffffffffffffffep16383L,
#include "hard_reduction.inc"
};

TEST(Ext2Kernels, TrigRowsFourModes) {
    for (const th::Mode &m : th::kModes) {
        th::ModeGuard g(m.fe);
        const uint16_t cw = th::x87_cw_now();
        for (const TrigKernel &t : kTrig)
            for (LD x : kTrigRows)
                for (LD sx : {x, -x}) {
                    // a subnormal x c is no pair to 2^-68 of itself
                    if (t.c != 1 && std::fabs(sx) < 0x1p-16300L) continue;
                    EXPECT_LT(trig_err(t, sx), -68) << t.name << " " << th::detail::text(sx) << " " << m.name;
                    EXPECT_EQ(th::x87_cw_now(), cw) << t.name << " keeps the caller's control word";
                }
    }
}

TEST(Ext2Kernels, TrigSweep) {
    for (const TrigKernel &t : kTrig) {
        std::vector<LD> xs = th::log_uniform<LD>(0x1p-30L, t.c == 1 ? 0x1p+200L : 0x1p+60L, 60000, 0x6b3 + t.c, true);
        std::vector<LD> near = th::uniform<LD>(-4.0L, 4.0L, 40000, 0x6b4 + t.c);
        xs.insert(xs.end(), near.begin(), near.end());
        expect_below(xs, -68, t.name, [&](LD x) { return trig_err(t, x); });
    }
}

TEST(Ext2Kernels, TrigSpecials) {
    for (const TrigKernel &t : kTrig) {
        LD out[2];
        for (LD x : {LD(INFINITY), LD(-INFINITY), th::qnan<LD>()}) {
            t.k(&x, out);
            EXPECT_TRUE(std::isnan(out[0])) << t.name << " " << th::detail::text(x);
        }
        LD z = -0.0L;
        LD s = t.k(&z, out);
        th::Mp ref(200);
        trig_ref(ref, t, z);
        EXPECT_EQ(s * (out[0] + out[1]), th::round_to<LD>(ref)) << t.name;
    }
}

// ---- sinh and cosh ----------------------------------------------------------------------------
using HypK = int (*)(const long double *, long double *);
struct HypKernel {
    const char *name;
    HypK k;
    int (*f)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
};
const HypKernel kHyp[] = {{"sinhl_k80", __libm_sinhl_k80, mpfr_sinh}, {"coshl_k80", __libm_coshl_k80, mpfr_cosh}};

double hyp_err(const HypKernel &h, LD x) {
    LD out[2] = {7, 7};
    int k = h.k(&x, out);
    th::Mp a(64), ref(200);
    th::set(a, x);
    h.f(ref, a, MPFR_RNDN);
    return pair_rel_err_log2(out[0], out[1], k, ref);
}

TEST(Ext2Kernels, HypRowsFourModes) {
    const LD rows[] = {0x1p-16440L, 0x1p-40L, 0x1p-32L, 1e-5L, 0.34L, 1.0L, 22.9L, 63.99L, 64.0L,
                       700.0L, 11356.5L, 11400.0L, 16384.0L, 32767.5L};
    for (const th::Mode &m : th::kModes) {
        th::ModeGuard g(m.fe);
        const uint16_t cw = th::x87_cw_now();
        for (const HypKernel &h : kHyp)
            for (LD x : rows)
                for (LD sx : {x, -x}) EXPECT_LT(hyp_err(h, sx), -70) << h.name << " " << th::detail::text(sx) << " " << m.name;
        EXPECT_EQ(th::x87_cw_now(), cw) << m.name;
    }
}

TEST(Ext2Kernels, HypSweep) {
    for (const HypKernel &h : kHyp) {
        std::vector<LD> xs = th::log_uniform<LD>(0x1p-40L, 32000.0L, 100000, 0x51c + (h.k == __libm_coshl_k80), true);
        expect_below(xs, -70, h.name, [&](LD x) { return hyp_err(h, x); });
    }
}

TEST(Ext2Kernels, HypSpecials) {
    LD out[2];
    for (LD x : {LD(INFINITY), LD(-INFINITY)}) {
        EXPECT_EQ(__libm_sinhl_k80(&x, out), 0);
        EXPECT_EQ(out[0], x);
        EXPECT_EQ(__libm_coshl_k80(&x, out), 0);
        EXPECT_EQ(out[0], LD(INFINITY));
    }
    LD n = th::qnan<LD>();
    __libm_sinhl_k80(&n, out);
    EXPECT_TRUE(std::isnan(out[0]));
    // beyond 2^15 the scale is out of every range: the caller's scaling overflows
    for (LD x : {0x1p15L, -1e4000L}) {
        EXPECT_GE(__libm_coshl_k80(&x, out), 0x10000);
        EXPECT_EQ(out[0], 1.0L);
        EXPECT_GE(__libm_sinhl_k80(&x, out), 0x10000);
        EXPECT_EQ(out[0], x < 0 ? -1.0L : 1.0L);
    }
    LD z = -0.0L;
    __libm_sinhl_k80(&z, out);
    EXPECT_TRUE(out[0] == 0 && std::signbit(out[0]));
}

// ---- angle of a point ---------------------------------------------------------------------------
// atan2 of two scaled pairs against MPFR on their exact values.
double angle_err(const Scaled &y, const Scaled &x) {
    LD out[2] = {7, 7};
    __libm_atan2l_k80(out, &y, &x);
    th::Mp a(400), b(400), t(400), ref(200);
    th::set(a, y.hi);
    th::set(t, y.lo);
    mpfr_add(a, a, t, MPFR_RNDN);
    mpfr_mul_2si(a, a, y.e, MPFR_RNDN);
    th::set(b, x.hi);
    th::set(t, x.lo);
    mpfr_add(b, b, t, MPFR_RNDN);
    mpfr_mul_2si(b, b, x.e, MPFR_RNDN);
    mpfr_atan2(ref, a, b, MPFR_RNDN);
    return pair_rel_err_log2(out[0], out[1], 0, ref);
}

// A scaled pair from a value: unnormalised on purpose (the kernel normalises).
Scaled pair_of(LD v, LD tail_rel, int e) { return {v, v * tail_rel, e}; }

TEST(Ext2Kernels, AngleRowsFourModes) {
    const Scaled rows[][2] = {
        {pair_of(1.0L, 0x1p-70L, 0), pair_of(1.0L, -0x1p-70L, 0)},
        {pair_of(3.0L, 0x1p-66L, 100), pair_of(-5.0L, 0x1p-67L, 98)},
        {pair_of(-0.75L, 0x1p-65L, -40), pair_of(1.5L, 0, -40)},
        {pair_of(1.25L, 0x1p-66L, 0), pair_of(-1.0L, 0, 75)},       // the ratio alone
        {pair_of(1.25L, 0x1p-66L, 0), pair_of(1.0L, 0x1p-65L, -90)},   // pi/2 less x/y
        {pair_of(1.25L, 0x1p-66L, 0), pair_of(1.0L, 0x1p-65L, -150)},  // pi/2 less a part below 2^-140
        {pair_of(-1e-1500L, 0x1p-66L, 0), pair_of(3e1500L, 0, 0)},
        {pair_of(7.0L, -0x1p-66L, 20000), pair_of(-7.0L, 0x1p-66L, 20000)},
        {pair_of(0x1p-16440L, 0, 0), pair_of(0x1p-16440L, 0x1p-70L, 0)},
    };
    for (const th::Mode &m : th::kModes) {
        th::ModeGuard g(m.fe);
        const uint16_t cw = th::x87_cw_now();
        for (auto &r : rows) EXPECT_LT(angle_err(r[0], r[1]), -75) << th::detail::text(r[0].hi) << " " << th::detail::text(r[1].hi) << " " << m.name;
        EXPECT_EQ(th::x87_cw_now(), cw) << m.name;
    }
}

TEST(Ext2Kernels, AngleSweep) {
    std::vector<LD> ys = th::log_uniform<LD>(0x1p-8L, 0x1p8L, 100000, 0xa7a, true);
    std::vector<LD> xs = th::log_uniform<LD>(0x1p-8L, 0x1p8L, 100000, 0xa7b, true);
    std::vector<LD> ts = th::uniform<LD>(-0x1p-64L, 0x1p-64L, 100000, 0xa7c);
    double worst = -300;
    size_t at = 0;
    for (size_t i = 0; i < ys.size(); ++i) {
        int ey = int(i % 401) - 200, ex = int((i * 7) % 401) - 200;  // differences up to 400
        double e = angle_err(pair_of(ys[i], ts[i], ey), pair_of(xs[i], ts[(i + 1) % ts.size()], ex));
        if (e > worst) worst = e, at = i;
    }
    EXPECT_LT(worst, -75) << th::detail::text(ys[at]) << " " << th::detail::text(xs[at]) << " row " << at;
}

TEST(Ext2Kernels, AngleSpecials) {
    const LD inf = INFINITY, nan = th::qnan<LD>();
    const LD pts[][2] = {{0.0L, 2.0L}, {-0.0L, 2.0L}, {0.0L, -2.0L}, {-0.0L, -0.0L}, {3.0L, 0.0L}, {-3.0L, -0.0L},
                         {inf, 1.0L}, {inf, inf}, {-inf, -inf}, {1.0L, -inf}, {-1.0L, inf}, {0.0L, 0.0L}};
    for (auto &p : pts) {
        Scaled y{p[0], 0.0L, 3}, x{p[1], 0.0L, -3};
        LD out[2];
        __libm_atan2l_k80(out, &y, &x);
        th::Mp a(64), b(64), ref(200);
        th::set(a, p[0]);
        th::set(b, p[1]);
        mpfr_atan2(ref, a, b, MPFR_RNDN);
        LD got = out[0] + out[1], want = th::round_to<LD>(ref);
        EXPECT_TRUE(got == want && std::signbit(got) == std::signbit(want)) << th::detail::text(p[0]) << " " << th::detail::text(p[1]);
    }
    Scaled y{nan, 0.0L, 0}, x{1.0L, 0.0L, 0};
    LD out[2];
    __libm_atan2l_k80(out, &y, &x);
    EXPECT_TRUE(std::isnan(out[0]));
}

}  // namespace

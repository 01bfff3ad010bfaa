// The pair kernels: exact special cases, and their pairs against MPFR to well past 64 bits.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "ext_funcs.h"

#include "extended/ext_kernels.h"

using Scaled = tsr_scaled_pair;

namespace {

using extt::LD;

using th::Pair;
using Xs = std::vector<std::tuple<LD>>;

// A kernel's pair against MPFR's f at each argument, in every rounding mode (the kernels
// compute in nearest whatever the caller's mode), the caller's controls unchanged after.
void check_kernel(const char *name, std::function<Pair(LD)> k, th::MpFn1 f, double bits, const Xs &xs) {
    th::check_calls(name, th::Calls<Pair, LD>{{name, tsr::Tier::ex, k}}, xs, th::ALL_MODES,
                    [f, bits](const auto &, const std::tuple<LD> &in, int) {
                        th::Mp ref(256);
                        th::ref(ref, f, std::get<0>(in));
                        return th::pair_within(ref, bits);
                    });
}

TEST(ExtKernels, Exp) {
    const Xs xs = {{0.3L}, {-7.25L}, {11000.5L}, {-11300.0L}, {0x1p-40L}, {0.0L}, {-INFINITY}};
    check_kernel("expl_k80", [](LD x) { LD in[2] = {x, 0}, out[2]; int k = __libm_expl_k80(out, in); return Pair{out[0], out[1], k}; },
                 mpfr_exp, -72, xs);
    check_kernel("exp2l_k80", [](LD x) { LD in[2] = {x, 0}, out[2]; int k = __libm_exp2l_k80(out, in, 3); return Pair{out[0], out[1], k - 3}; },
                 mpfr_exp2, -72, xs);
    check_kernel("exp10l_k80", [](LD x) { LD in[2] = {x, 0}, out[2]; int k = __libm_exp10l_k80(out, in, 0); return Pair{out[0], out[1], k}; },
                 mpfr_exp10, -72, {{0.3L}, {-7.25L}, {0x1p-40L}, {0.0L}});
    check_kernel("expm1l_k80", [](LD x) { LD in[2] = {x, 0}, out[2]; __libm_expm1l_k80(out, in); return Pair{out[0], out[1], 0}; },
                 mpfr_expm1, -70, {{0.3L}, {-7.25L}, {0x1p-40L}});
    // e^0 is 1 exactly, and its scale 0
    th::check_calls("expl_k80", th::Calls<Pair, LD>{{"expl_k80", tsr::Tier::ex, [](LD x) {
                        LD in[2] = {x, 0}, out[2];
                        int k = __libm_expl_k80(out, in);
                        return Pair{out[0], out[1], k};
                    }}},
                    std::vector<th::CallRow<Pair, LD>>{{{0.0L}, th::is(Pair{1.0L, 0.0L, 0})}});
}

TEST(ExtKernels, Log) {
    const Xs xs = {{0.3L}, {1.0L + 0x1p-50L}, {0.999L}, {1e4000L}, {0x1p-16440L}, {5.5L}, {0.0L}};
    // the factor logl_k80 returns is 1
    check_kernel("logl_k80", [](LD x) { LD lo = 0, out[2]; LD c = __libm_logl_k80(&x, &lo, out); return c == 1 ? Pair{out[0], out[1], 0} : Pair{NAN, 0, 0}; },
                 mpfr_log, -72, xs);
    check_kernel("log1pl_k80", [](LD x) { LD in[2] = {x, 0}, out[2]; __libm_log1pl_k80(out, in); return Pair{out[0], out[1], 0}; },
                 mpfr_log1p, -72, {{0.3L}, {1.0L + 0x1p-50L}, {0.999L}, {0x1p-16440L}, {5.5L}});
    check_kernel("log_k80", [](LD x) {
                     Scaled s{x < 1e-4000L ? x : x * 0x1p-100L, 0.0L, x < 1e-4000L ? 0 : 100}, r;
                     __libm_log_k80(&r, &s);
                     return Pair{r.hi, r.lo, r.e};
                 }, mpfr_log, -72, {{0.3L}, {1.0L + 0x1p-50L}, {0.999L}, {1e4000L}, {0x1p-16440L}, {5.5L}});
}

TEST(ExtKernels, NormalizeAndScale) {
    Scaled p{12.0L, 0x1p-300L, 5};
    __libm_normalizel_k80(&p);
    EXPECT_EQ(p.hi, 1.5L);
    EXPECT_EQ(p.lo, 0.0L);  // more than 256 binades below
    EXPECT_EQ(p.e, 8);
    Scaled q{12.0L, 0x1p-100L, 0};
    __libm_normalizel_k80(&q);
    EXPECT_EQ(q.lo, 0x1p-103L);
    // A pair on a subnormal midpoint decided by its tail: rounded once.
    LD hi = 1.0L + 0x1p-63L * 3, lo = 0x1p-80L, res;  // (1 + 3 2^-63 + tail) 2^-16384 -> 62 bits
    __libm_scalbl_k80(&res, &hi, &lo, -16384);
    th::Mp e(200), t(200);
    th::set(e, hi);
    th::set(t, lo);
    mpfr_add(e, e, t, MPFR_RNDN);
    mpfr_mul_2si(e, e, -16384, MPFR_RNDN);
    LD want = th::round_to<LD>(e, MPFR_RNDN);
    EXPECT_EQ(std::memcmp(&res, &want, 10), 0);
    LD big = 1.5L, z = 0.0L;
    __libm_scalbl_k80(&res, &big, &z, 20000);
    EXPECT_EQ(res, INFINITY);
}

TEST(ExtKernels, Hypot2) {
    LD x = 3e3000L, y = 4e3000L;
    Scaled r;
    __libm_hypot2l_k80(&x, &y, &r);
    th::Mp a(256), b(256), s(256), g(256), t(256);
    th::set(a, x);
    th::set(b, y);
    mpfr_sqr(a, a, MPFR_RNDN);
    mpfr_sqr(b, b, MPFR_RNDN);
    mpfr_add(s, a, b, MPFR_RNDN);
    th::set(g, r.hi);
    th::set(t, r.lo);
    mpfr_add(g, g, t, MPFR_RNDN);
    mpfr_mul_2si(g, g, r.e, MPFR_RNDN);
    mpfr_sub(g, g, s, MPFR_RNDN);
    mpfr_div(g, g, s, MPFR_RNDN);
    EXPECT_LT(std::fabs(mpfr_get_d(g, MPFR_RNDN)), 0x1p-100);
}

}  // namespace

namespace {

// x c (c = 4/pi, 4 ln2/pi, 4 ln10/pi) = q + f; the kernel's n must agree with q modulo 8 and
// its r with (x c - m) pi/4, m = q + (q & 1), to 2^-95.
void check_reduction(LD x, int which) {
    mpfr_prec_t prec = 17200;
    th::Mp t(prec), c(prec), pi(prec), a(prec), q(prec), r(prec);
    mpfr_const_pi(pi, MPFR_RNDN);
    mpfr_ui_div(c, 4, pi, MPFR_RNDN);
    if (which == 1) { mpfr_const_log2(a, MPFR_RNDN); mpfr_mul(c, c, a, MPFR_RNDN); }
    if (which == 2) { mpfr_set_ui(a, 10, MPFR_RNDN); mpfr_log(a, a, MPFR_RNDN); mpfr_mul(c, c, a, MPFR_RNDN); }
    th::set(a, x);
    mpfr_mul(t, a, c, MPFR_RNDN);
    mpfr_floor(q, t);
    mpfr_t q8;
    mpfr_init2(q8, prec);
    mpfr_fmod_ui(q8, q, 8, MPFR_RNDN);
    long qm = mpfr_get_si(q8, MPFR_RNDN);
    mpfr_clear(q8);
    long m = qm + (qm & 1);
    mpfr_sub(r, t, q, MPFR_RNDN);           // fraction
    mpfr_add_si(r, r, qm - m, MPFR_RNDN);   // less the rounding up to even
    mpfr_mul(r, r, pi, MPFR_RNDN);
    mpfr_div_ui(r, r, 4, MPFR_RNDN);
    double out[2];
    int n = which == 0 ? __libm_reduce_pi04l(&x, 0, out) : which == 1 ? __libm_reduce_pi04ln2l(&x, out)
                                                                     : __libm_reduce_pi04ln10l(&x, out);
    EXPECT_EQ(((n % 8) + 8) % 8, qm) << double(x) << " kind " << which;
    th::Mp g(200), e(200);
    mpfr_set_d(g, out[0], MPFR_RNDN);
    mpfr_add_d(g, g, out[1], MPFR_RNDN);
    mpfr_sub(e, g, r, MPFR_RNDN);
    // r carries about 96 bits (pi/4 and the small-argument factors are 96-bit pairs)
    double tol = 0x1p-95;
    EXPECT_LT(std::fabs(mpfr_get_d(e, MPFR_RNDN)), tol) << double(x) << " kind " << which;
}

TEST(ExtKernels, ReducePi4) {
    const LD xs[] = {0.5L, 0.7853981633974483L, 1.0L, 100.0L, 131071.9L, 0x1p17L + 0.3L, 1e9L,
                     0x1p30L - 1.0L, 0x1p30L, 0x1p31L + 7.0L, 1e20L, 1e100L, 0x1.fffp1000L, 1e4000L,
                     std::numeric_limits<LD>::max()};
    for (LD x : xs)
        for (int w = 0; w < 3; ++w) check_reduction(x, w);
}

}  // namespace

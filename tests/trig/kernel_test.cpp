// The kernels' and reductions' contracts against MPFR:
// - __libm_sincos_k64 and its ln 2 and ln 10 forms give sin and cos of x·c as head + tail
//   within 2^-57.5 of the value (2^-57.9 seen, next to 2^17), heads the rounded sums;
// - the reductions by (pi/2)/c return the quadrant n & 3 and a remainder y[0] + y[1] of at
//   most a quarter period, within 2^-70 of x - n·(pi/2)/c (relative);
// - __libm_reduce_pi04d returns an even n + m and y = x - m·pi/4 within 2^-50;
// - __libm_sincos_k32 gives sin and cos of x + n·pi/4 within 2^-40 (float callers).
#include <gtest/gtest.h>

#include "elementary/trig_kernels.h"
#include "harness/harness.h"

using namespace th;

namespace {
constexpr int kPrec = 2400;  // enough for x·c/pi at the largest double and 200 bits beyond

// c = 1, ln 2 or ln 10 (the period's factor), into v.
void factor(mpfr_ptr v, int c) {
    if (c == 1) mpfr_set_ui(v, 1, MPFR_RNDN);
    else if (c == 2) mpfr_const_log2(v, MPFR_RNDN);
    else {
        mpfr_set_ui(v, 10, MPFR_RNDN);
        mpfr_log(v, v, MPFR_RNDN);
    }
}

// |(hi + lo) - f| / |f| with f = fn(x·c + n·pi/4).
double rel(th::MpFn1 fn, double x, int c, int n, double hi, double lo) {
    Mp a(kPrec), p(kPrec), v(300), d(300);
    set(a, x);
    factor(p, c);
    mpfr_mul(a, a, p, MPFR_RNDN);
    mpfr_const_pi(p, MPFR_RNDN);
    mpfr_mul_si(p, p, n, MPFR_RNDN);
    mpfr_div_2ui(p, p, 2, MPFR_RNDN);
    mpfr_add(a, a, p, MPFR_RNDN);
    fn(v, a, MPFR_RNDN);
    mpfr_set_d(d, hi, MPFR_RNDN);
    mpfr_add_d(d, d, lo, MPFR_RNDN);
    mpfr_sub(d, d, v, MPFR_RNDN);
    mpfr_div(d, d, v, MPFR_RNDN);
    return std::fabs(mpfr_get_d(d, MPFR_RNDN));
}

// x - N·P with P = pi/(q·c) (q = 2: a quadrant, 4: an octant) and N the integer nearest x/P
// that is congruent to `count` modulo `mod`; returns the relative error of y0 + y1 against
// it, or +inf where that remainder exceeds span·P by more than 2^-30 of it (a wrong count).
double rem_error(double x, int c, int q, long count, int mod, double span, double y0, double y1 = 0) {
    Mp P(kPrec), t(kPrec), r(kPrec), d(300);
    mpfr_const_pi(P, MPFR_RNDN);
    factor(t, c);
    mpfr_mul_ui(t, t, q, MPFR_RNDN);
    mpfr_div(P, P, t, MPFR_RNDN);
    set(t, x);
    mpfr_div(t, t, P, MPFR_RNDN);
    mpfr_round(t, t);  // N0, the nearest integer
    Mp m(kPrec);
    mpfr_fmod_ui(m, t, mod, MPFR_RNDN);  // N0 mod `mod`, with the sign of N0
    long k = mpfr_get_si(m, MPFR_RNDN);
    long want = ((count % mod) + mod) % mod;
    long step = ((want - k) % mod + mod) % mod;  // 0, 1 or mod - 1 if the count is right
    if (step == mod - 1) step = -1;
    if (step > 1) return INFINITY;
    mpfr_add_si(t, t, step, MPFR_RNDN);
    mpfr_mul(r, t, P, MPFR_RNDN);
    set(t, x);
    mpfr_sub(r, t, r, MPFR_RNDN);  // x - N·P
    mpfr_set_d(d, y0, MPFR_RNDN);
    mpfr_add_d(d, d, y1, MPFR_RNDN);
    Mp half(kPrec);
    mpfr_mul_d(half, P, span * (1 + 0x1p-30), MPFR_RNDN);
    if (mpfr_cmpabs(r, half) > 0) return INFINITY;
    if (mpfr_zero_p(r)) return y0 + y1 == 0 ? 0 : INFINITY;
    mpfr_sub(d, d, r, MPFR_RNDN);
    mpfr_div(d, d, r, MPFR_RNDN);
    return std::fabs(mpfr_get_d(d, MPFR_RNDN));
}

// Arguments of every size, the thresholds of each reduction's paths with their neighbours,
// and the doubles closest to multiples of pi/2 (relative to their size).
std::vector<double> reduce_inputs(double lo, uint64_t seed) {
    auto xs = log_uniform<double>(lo, 0x1.fffffffffffffp+1023, 6000, seed, true);
    for (double t : {0x1p+15, 0x1p+17, 0x1p+23, 0x1p+29, 0x1p+30, 0x1p+1023}) {
        xs.push_back(t);
        xs.push_back(std::nextafter(t, 0.0));
        xs.push_back(-std::nextafter(t, INFINITY));
    }
    for (double h : {0x1.6ac5b262ca1ffp+849, 0x1.921fb54442d18p+0, 0x1.921fb54442d18p+5,
                     0x1.fffffffffffffp+1023, 0x1.f6p+16, 0x1.0000000000001p+30})
        xs.push_back(h), xs.push_back(-h);
    return xs;
}

struct Reduction {
    const char *name;
    int (*fn)(double, double *);
    int c;
};
const Reduction kReductions[] = {
    {"__libm_reduce_pio2d", __libm_reduce_pio2d, 1},
    {"__libm_reduce_pio2ln2", __libm_reduce_pio2ln2, 2},
    {"__libm_reduce_pio2ln10", __libm_reduce_pio2ln10, 10},
};

struct K64 {
    const char *name;
    void (*fn)(double, double *, double *);
    int c;
};
const K64 kK64[] = {
    {"__libm_sincos_k64", __libm_sincos_k64, 1},
    {"__libm_sincosln2_k64", __libm_sincosln2_k64, 2},
    {"__libm_sincosln10_k64", __libm_sincosln10_k64, 10},
};
}  // namespace

TEST(TrigKernel, SincosK64) {
    auto xs = log_uniform<double>(0x1p-300, 0x1.fffffffffffffp+1023, 20000, 5, true);
    for (double x : reduce_inputs(0x1p-20, 9)) xs.push_back(x);
    for (double x : {0x1p-1074, -0x1p-1060, 0x1p-253, 0x1.0000000000001p-252}) xs.push_back(x);
    for (const K64 &k : kK64) {
        double worst = 0, wx = 0;
        for (double x : xs) {
            double s[2], c[2];
            k.fn(x, s, c);
            if (std::fabs(x) < 0x1p-1000) {  // a subnormal sine: the head is x·c rounded
                EXPECT_TRUE(s[1] == 0 && c[0] == 1 && c[1] == 0) << k.name;
                continue;
            }
            EXPECT_EQ(s[0], s[0] + s[1]) << k.name << " " << std::hexfloat << x;
            EXPECT_EQ(c[0], c[0] + c[1]) << k.name << " " << std::hexfloat << x;
            double e = std::max(rel(mpfr_sin, x, k.c, 0, s[0], s[1]), rel(mpfr_cos, x, k.c, 0, c[0], c[1]));
            if (e > worst) worst = e, wx = x;
        }
        std::printf("[  ACCURACY] %s max relative error 2^%.2f (x = %a)\n", k.name, std::log2(worst), wx);
        EXPECT_LT(worst, 0x1.6a09e6p-58) << k.name;  // 2^-57.5
        for (double x : {double(INFINITY), -double(INFINITY), double(NAN)}) {
            double s[2], c[2];
            k.fn(x, s, c);  // NaN heads, zero tails
            EXPECT_TRUE(s[0] != s[0] && c[0] != c[0] && s[1] == 0 && c[1] == 0) << k.name;
        }
    }
}

TEST(TrigKernel, ReducePio2) {
    auto xs = reduce_inputs(0x1p-8, 11);
    for (const Reduction &r : kReductions) {
        double worst = 0;
        for (double x : xs) {
            double y[2] = {NAN, NAN};
            int n = r.fn(x, y);
            ASSERT_TRUE(n >= 0 && n <= 3) << r.name << " " << std::hexfloat << x;
            EXPECT_EQ(y[0], y[0] + y[1]) << r.name << " " << std::hexfloat << x;
            double e = rem_error(x, r.c, 2, n, 4, 0.5, y[0], y[1]);
            EXPECT_LT(e, 0x1p-70) << r.name << " " << std::hexfloat << x;
            worst = std::max(worst, e);
        }
        std::printf("[  ACCURACY] %s max relative error 2^%.2f\n", r.name,
                    std::log2(worst));
        // sign symmetry: the quadrant is negated, not the reduction
        for (double x : {0x1.6ac5b262ca1ffp+849, 1e6, 1e22, 0x1.fffffffffffffp+1023}) {
            double yp[2], ym[2];
            int np = r.fn(x, yp), nm = r.fn(-x, ym);
            EXPECT_EQ((np + nm) & 3, 0) << r.name;
            EXPECT_TRUE(yp[0] == -ym[0] && yp[1] == -ym[1]) << r.name;
        }
    }
}

TEST(TrigKernel, ReducePi04) {
    auto xs = log_uniform<double>(0x1p+29, 0x1.fffffffffffffp+1023, 6000, 13);
    for (double x : {0x1p+29, 0x1.fffffffffffffp+29, 0x1p+30, 0x1.6ac5b262ca1ffp+849,
                     0x1.fffffffffffffp+1023})
        xs.push_back(x);
    double worst = 0;
    int i = 0;
    for (double x : xs) {
        int n = (i++ % 17) - 8;  // the caller's count, -8 .. 8
        double y = NAN;
        int q = __libm_reduce_pi04d(x, &y, n);
        ASSERT_EQ(q & 1, 0) << std::hexfloat << x << " " << n;
        double e = rem_error(x, 1, 4, q - n, 8, 1.0, y);
        EXPECT_LT(e, 0x1p-50) << std::hexfloat << x << " " << n;
        worst = std::max(worst, e);
    }
    std::printf("[  ACCURACY] __libm_reduce_pi04d max relative error 2^%.2f\n", std::log2(worst));
}

// sin and cos of x + n·pi/4 for the thresholds of each path (pi/4, 2^17, 2^29) and their
// neighbours, arguments of every size, both signs, every n from -9 to 9.
TEST(TrigKernel, SincosK32) {
    auto xs = log_uniform<double>(0x1p-30, 0x1p+120, 4000, 17, true);
    for (double t : {0x1.921fb54442d18p-1, 0x1p+17, 0x1p+29, 0x1.921fb54442d18p+0, 3.0}) {
        for (double x : {t, std::nextafter(t, 0.0), std::nextafter(t, INFINITY)})
            xs.push_back(x), xs.push_back(-x);
    }
    xs.push_back(0.0);
    xs.push_back(-0.0);
    double worst = 0;
    for (int n = -9; n <= 9; n++) {
        for (double x : xs) {
            double s = NAN, c = NAN;
            __libm_sincos_k32(x, &s, &c, n);
            double es = rel(mpfr_sin, x, 1, n, s, 0), ec = rel(mpfr_cos, x, 1, n, c, 0);
            // a zero result (x = 0 with n a multiple of 4 for the sine) has no relative error
            if (x == 0 && s == 0) es = 0;
            if (x == 0 && c == 0) ec = 0;
            EXPECT_LT(std::max(es, ec), 0x1p-40) << std::hexfloat << x << " n " << std::dec << n;
            worst = std::max({worst, es, ec});
        }
    }
    std::printf("[  ACCURACY] __libm_sincos_k32 max relative error 2^%.2f\n", std::log2(worst));
    for (double x : {double(INFINITY), -double(INFINITY), double(NAN)}) {
        double s, c;
        __libm_sincos_k32(x, &s, &c, 3);
        EXPECT_TRUE(s != s && c != c);
    }
}

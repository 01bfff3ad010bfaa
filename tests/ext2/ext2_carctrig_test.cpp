// The kernels of the complex inverse functions' real parts: the prepared pairs against MPFR,
// and acos, asin, acosh and atanh of the point (x, y), each rounded once, against the real
// parts of MPC's cacos, casin, cacosh and catanh in the four rounding modes, on points spread over the whole
// exponent range, near the unit circle and next to the branch points, with the caller's
// control word unchanged after each call (and the same results at 53- and 24-bit precision).
#include <gtest/gtest.h>
#include <mpc.h>

#include <cmath>
#include <cstring>
#include <map>
#include <memory>

#include "ext2_funcs.h"

#include "extended/ext_kernels.h"

namespace {

using ext2t::LD;
using th::Pair;
using In = std::tuple<LD, LD>;

struct Prepared {
    tsr_scaled_pair X, Y, M, P, Y2, R, S, T;
};
Prepared prepare(LD x, LD y) {
    Prepared p;
    __libm_carctrigprepare_k80(&x, &y, &p.X, &p.Y, &p.M, &p.P, &p.Y2, &p.R, &p.S, &p.T);
    return p;
}

using Kernel = decltype(&__libm_recacosl_k80);
using Direct = decltype(&recatanhl);
struct CinvKernel {
    const char *name;
    Kernel k;   // on the prepared pairs
    Direct d;   // or on x and y
    int (*f)(mpc_ptr, mpc_srcptr, mpc_rnd_t);
    double bound[4];  // ulp, by mode
};
const CinvKernel kCinv[] = {
    {"recacosl_k80", __libm_recacosl_k80, nullptr, mpc_acos, {0.55, 1.05, 1.05, 1.05}},
    {"recasinl_k80", __libm_recasinl_k80, nullptr, mpc_asin, {0.55, 1.05, 1.05, 1.05}},
    {"recacoshl_k80", __libm_recacoshl_k80, nullptr, mpc_acosh, {0.55, 1.05, 1.05, 1.05}},
    {"recatanhl", nullptr, recatanhl, mpc_atanh, {0.55, 1.05, 1.05, 1.05}},
};

th::Calls<LD, LD, LD> calls(const CinvKernel &c) {
    return {{c.name, tsr::Tier::ex, [k = c.k, d = c.d](LD x, LD y) {
                 LD r = 7, *ret;
                 if (d) {
                     ret = d(&r, &x, &y);
                 } else {
                     Prepared p = prepare(x, y);
                     ret = k(&r, &x, &y, &p.X, &p.Y, &p.M, &p.P, &p.Y2, &p.R, &p.S, &p.T);
                 }
                 return ret == &r ? r : LD(NAN);
             }}};
}

// The exact real part, once per input, kept for every mode.  Where y is negligible beside the
// distance d = |x^2 - 1| from the branch points (y^2 below 2^-320 d min(1, d)), the real parts
// are their limits on the real axis to 2^-300: acos x, asin x, |y| / sqrt(d) and atanh x inside
// [-1, 1]; |y| / sqrt(d) (pi less it for x < -1), +-(pi/2 - |y| / sqrt(d)), acosh |x| and
// atanh(1/x) outside.  MPC
// takes seconds on some such points (0.5 + i 2^-16445: 28 s); elsewhere it gives the value.
class References {
  public:
    explicit References(const CinvKernel &c) : c_(c) {}
    mpfr_srcptr operator()(LD x, LD y) {
        auto &slot = cache_[key(x, y)];
        if (!slot) slot = compute(x, y);
        return *slot;
    }
    // Every input's value at once, on every core.
    void fill(const std::vector<In> &in) {
        std::vector<std::unique_ptr<th::Mp>> v(in.size());
        th::parallel_for(in.size(), [&](size_t i) { v[i] = compute(std::get<0>(in[i]), std::get<1>(in[i])); });
        for (size_t i = 0; i < in.size(); ++i) cache_[key(std::get<0>(in[i]), std::get<1>(in[i]))] = std::move(v[i]);
    }

  private:
    static std::array<unsigned char, 20> key(LD x, LD y) {
        std::array<unsigned char, 20> k{};
        std::memcpy(k.data(), &x, 10);
        std::memcpy(k.data() + 10, &y, 10);
        return k;
    }
    std::unique_ptr<th::Mp> compute(LD x, LD y) const {
        auto slot = std::make_unique<th::Mp>(320);
        {
            if (!on_axis(*slot, x, y)) {
                mpc_t z, w;
                mpc_init2(z, 64);
                mpc_init2(w, 320);
                mpfr_set_ld(mpc_realref(z), x, MPFR_RNDN);
                mpfr_set_ld(mpc_imagref(z), y, MPFR_RNDN);
                c_.f(w, z, MPC_RNDNN);
                mpfr_set(*slot, mpc_realref(w), MPFR_RNDN);
                mpc_clear(z);
                mpc_clear(w);
            }
        }
        return slot;
    }
    bool on_axis(mpfr_ptr r, LD x, LD y) const {
        th::Mp ax(64), ay(64), d(400), t(400), lim(400);
        th::set(ax, std::fabs(x));
        th::set(ay, std::fabs(y));
        mpfr_sqr(d, ax, MPFR_RNDN);
        mpfr_sub_ui(d, d, 1, MPFR_RNDN);  // to 2^-399 of itself
        bool inside = mpfr_sgn(d.v) < 0;
        mpfr_abs(d, d, MPFR_RNDN);
        if (mpfr_zero_p(d.v) || mpfr_zero_p(ay.v)) return false;
        mpfr_set(lim, d, MPFR_RNDN);
        if (mpfr_cmp_ui(d, 1) < 0) mpfr_sqr(lim, d, MPFR_RNDN);
        mpfr_mul_2si(lim, lim, -320, MPFR_RNDN);
        mpfr_sqr(t, ay, MPFR_RNDN);
        if (mpfr_cmp(t, lim) >= 0) return false;
        th::Mp q(400), pi(400), xs(64);
        mpfr_rec_sqrt(q, d, MPFR_RNDN);
        mpfr_mul(q, q, ay, MPFR_RNDN);  // |y| / sqrt(d)
        mpfr_const_pi(pi, MPFR_RNDN);
        th::set(xs, x);
        bool neg = x < 0;
        if (c_.f == mpc_acos) {
            if (inside) mpfr_acos(r, xs, MPFR_RNDN);
            else if (neg) mpfr_sub(r, pi, q, MPFR_RNDN);
            else mpfr_set(r, q, MPFR_RNDN);
        } else if (c_.f == mpc_asin) {
            if (inside) {
                mpfr_asin(r, xs, MPFR_RNDN);
            } else {
                mpfr_div_2ui(pi, pi, 1, MPFR_RNDN);
                mpfr_sub(r, pi, q, MPFR_RNDN);
                if (neg) mpfr_neg(r, r, MPFR_RNDN);
            }
        } else if (c_.f == mpc_acosh) {
            if (inside) mpfr_set(r, q, MPFR_RNDN);
            else mpfr_acosh(r, ax, MPFR_RNDN);
        } else {  // atanh x, or atanh(1/x) outside
            th::Mp w(400);
            if (inside) mpfr_set(w, xs, MPFR_RNDN);
            else mpfr_ui_div(w, 1, xs, MPFR_RNDN);
            mpfr_atanh(r, w, MPFR_RNDN);
        }
        return true;
    }
    const CinvKernel &c_;
    std::map<std::array<unsigned char, 20>, std::unique_ptr<th::Mp>> cache_;
};

// Runs the kernel on the inputs in the modes, fails where an error passes the kernel's bound
// and prints the largest error per mode.
void measure(const CinvKernel &c, References &refs, const std::vector<In> &in, unsigned modes, const char *what) {
    double worst[4] = {0, 0, 0, 0};
    In at[4] = {};
    th::check_calls(c.name, calls(c), in, modes, [&](const auto &, const In &xy, int m) {
        mpfr_srcptr exact = refs(std::get<0>(xy), std::get<1>(xy));
        th::Expect<LD> e{0, th::ANY_FLAGS, th::ANY_ERRNO, th::ANY_CODE};
        e.accept = [&, exact, m, xy](const LD &got) {
            double u = th::ulp_error(got, exact);
            if (u > worst[m]) worst[m] = u, at[m] = xy;
            return u <= c.bound[m];
        };
        e.rule = "within " + std::to_string(c.bound[m]) + " ulp of " + th::detail::text(th::round_to<LD>(exact));
        return e;
    });
    for (int m = 0; m < 4; ++m)
        if (modes & (1u << m))
            std::printf("[  ACCURACY] %-14s %-9s %-10s max %.4f ulp at (%La, %La)\n", c.name, what, th::kModes[m].name,
                        worst[m], std::get<0>(at[m]), std::get<1>(at[m]));
}

// Points where the method's cancellations would show: on and next to the real axis inside and
// outside [-1, 1], at the branch points 1 and -1, on the imaginary axis, near the unit circle,
// and at the ends of the exponent range (squares far beyond it, a subnormal result).
const In kRows[] = {
    {0.5L, 0.0L}, {-0.5L, 0.0L}, {2.0L, 1e-4000L}, {-2.0L, 1e-4000L}, {1.0L, 0.0L}, {-1.0L, 0.0L},
    {1.0L, 1e-30L}, {-1.0L, 0x1p-16445L}, {1.0L + 0x1p-63L, 0x1p-40L}, {1.0L - 0x1p-64L, 0x1p-40L},
    {0.0L, 1.0L}, {0.0L, -3.0L}, {0.0L, 0.0L}, {-0.0L, 0.0L}, {-0.7L, 1e-20L}, {-3.0L, -1e-100L},
    {0.6L, 0.8L}, {0.707106781186547524L, 0.707106781186547524L}, {0.9999L, 1e-3L}, {1.5L, 0.75L},
    {1e4000L, 1e-4000L}, {-1e4000L, 1.0L}, {1e-4000L, 1e4000L}, {0x1p-16445L, 0.5L}, {0.5L, 0x1p-16445L},
    {0x1.fffffffffffffffep16383L, 0x1.fffffffffffffffep16383L}, {-0x1p-16445L, -0x1p-16445L},
    {0x1p-16400L, 0x1p-16410L}, {3e-3000L, 1.0L}, {0.5L, 1e2000L}, {1e2000L, 1e2000L}, {0.25L, 0.5L},
    {-0.999L, 0.02L}, {1e-10L, 1e-10L},
};

std::vector<In> sweep_inputs(size_t n, uint64_t seed) {
    std::vector<In> in;
    auto add = [&](const std::vector<LD> &xs, const std::vector<LD> &ys) {
        for (size_t i = 0; i < xs.size(); ++i) in.push_back({xs[i], ys[i]});
    };
    size_t n1 = n * 6 / 10, n2 = n * 3 / 10, n3 = n - n1 - n2;
    // the body: both parts from 2^-40 to 2^40
    add(th::log_uniform<LD>(0x1p-40L, 0x1p40L, n1, seed, true), th::log_uniform<LD>(0x1p-40L, 0x1p40L, n1, seed + 1, true));
    // next to the segment [-1, 1] and its ends: |x| about 1, y small
    std::vector<LD> xs = th::uniform<LD>(-1.25L, 1.25L, n2, seed + 2);
    for (size_t i = 0; i < xs.size(); i += 3) xs[i] = (xs[i] < 0 ? -1.0L : 1.0L) + xs[i] * 0x1p-30L;
    add(xs, th::log_uniform<LD>(0x1p-120L, 0x1p-4L, n2, seed + 3, true));
    // the whole exponent range
    add(th::log_uniform<LD>(0x1p-16440L, 0x1p16380L, n3, seed + 4, true),
        th::log_uniform<LD>(0x1p-16440L, 0x1p16380L, n3, seed + 5, true));
    return in;
}

TEST(Ext2Carctrig, Rows) {
    std::vector<In> rows(std::begin(kRows), std::end(kRows));
    for (const CinvKernel &c : kCinv) {
        References refs(c);
        measure(c, refs, rows, th::ALL_MODES, "rows");
        th::check_x87_precision(c.name, calls(c), rows);
    }
}

TEST(Ext2Carctrig, Sweep) {
    for (const CinvKernel &c : kCinv) {
        References refs(c);
        std::vector<In> in = sweep_inputs(100000, 0xca70 + (&c - kCinv) * 8);
        refs.fill(in);
        measure(c, refs, in, th::RN, "sweep");
        in.resize(25000);
        measure(c, refs, in, th::RU | th::RD | th::RZ, "sweep");
    }
}

// The prepared pairs: T = |z + 1| + |z - 1| (the sum of the two roots) and y^2, to 2^-110.
TEST(Ext2Carctrig, Prepare) {
    std::vector<In> in(std::begin(kRows), std::end(kRows));
    std::vector<In> more = sweep_inputs(20000, 0xca60);
    in.insert(in.end(), more.begin(), more.end());
    th::Calls<Pair, LD, LD> sum = {{"carctrigprepare_k80 T", tsr::Tier::ex, [](LD x, LD y) {
                                        Prepared p = prepare(x, y);
                                        return Pair{p.T.hi, p.T.lo, p.T.e};
                                    }}};
    th::check_calls("carctrigprepare_k80", sum, in, th::ALL_MODES, [](const auto &, const In &xy, int) {
        th::Mp x(64), y(64), a(400), b(400), t(400);
        th::set(x, std::get<0>(xy));
        th::set(y, std::get<1>(xy));
        mpfr_add_ui(a, x, 1, MPFR_RNDN);
        mpfr_hypot(a, a, y, MPFR_RNDN);
        mpfr_sub_ui(b, x, 1, MPFR_RNDN);
        mpfr_hypot(b, b, y, MPFR_RNDN);
        mpfr_add(t, a, b, MPFR_RNDN);
        return th::pair_within(t, -110);
    });
    th::Calls<Pair, LD, LD> square = {{"carctrigprepare_k80 Y2", tsr::Tier::ex, [](LD x, LD y) {
                                           Prepared p = prepare(x, y);
                                           return Pair{p.Y2.hi, p.Y2.lo, p.Y2.e};
                                       }}};
    th::check_calls("carctrigprepare_k80", square, in, th::RN, [](const auto &, const In &xy, int) {
        th::Mp y(64), t(200);
        th::set(y, std::get<1>(xy));
        mpfr_sqr(t, y, MPFR_RNDN);
        return th::pair_within(t, -120);
    });
}

}  // namespace

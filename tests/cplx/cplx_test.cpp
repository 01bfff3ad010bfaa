// The complex functions: the special-value rows of C99 Annex G for every function, the
// conjugate and odd/even symmetries bit for bit, overflow-free results for huge and tiny
// parts, the kernels' contracts, and accuracy per part against MPC.
#include <mpc.h>

#include <cmath>
#include <gtest/gtest.h>

#include "complex/cplx_common.h"
#include "harness/harness.h"
#include "tessera.h"

namespace {
using CD = double _Complex;
using CF = float _Complex;
using FnD = CD (*)(CD);
using FnF = CF (*)(CF);

CD mk(double re, double im) { CD z; __real__ z = re; __imag__ z = im; return z; }
CF mkf(float re, float im) { CF z; __real__ z = re; __imag__ z = im; return z; }

const double INF = HUGE_VAL, NAN_ = std::nan("");
const double PI = 0x1.921fb54442d18p+1, PI2 = 0x1.921fb54442d18p+0, PI4 = 0x1.921fb54442d18p-1;
const double PI34 = 0x1.2d97c7f3321d2p+1;

// An expected part: exact bits, or any NaN, a zero of either sign, an infinity of either sign.
enum Kind { Bits, AnyNaN, AnyZero, AnyInf };
struct Want {
    Kind k;
    double v;
};
Want W(double v) { return {Bits, v}; }
const Want WNAN{AnyNaN, 0}, WZ{AnyZero, 0}, WINF{AnyInf, 0};

template <class T> bool match(Want w, T got) {
    switch (w.k) {
        case AnyNaN: return std::isnan(got);
        case AnyZero: return got == 0;
        case AnyInf: return std::isinf(got);
        default: return th::bits_of(T(w.v)) == th::bits_of(got);
    }
}
// The want of the conjugate or the negation, by the part's own kind.
Want neg(Want w) { return w.k == Bits ? W(-w.v) : w; }

enum Sym { kConj, kOdd, kEven };  // conj only, also f(-z) = -f(z), also f(-z) = f(z)
// A function: its double variants (the entry, and the tiers where it has them), its float
// form and its symmetry.
struct Fn {
    const char *name;
    th::Calls<CD, CD> d;
    FnF f;
    Sym sym;
    Fn(const char *n, FnD entry, FnF fl, Sym s, std::vector<std::pair<const char *, FnD>> more = {})
        : name(n), f(fl), sym(s) {
        th::add_call(d, n, entry);
        for (auto [vn, v] : more) th::add_call(d, vn, v);
    }
};

struct Row {
    double x, y;
    Want re, im;
};

// Runs a row, its conjugate and (for odd and even functions) its negations, in double and
// float, bit for bit in the signs, through every variant in the call runner (results alone:
// flags, errno and codes are open).
void check(const Fn &fn, const std::vector<Row> &rows) {
    std::vector<th::CallRow<CD, CD>> rd;
    std::vector<th::CallRow<CF, CF>> rf;
    for (const Row &r : rows) {
        std::vector<Row> all{r, {r.x, -r.y, r.re, neg(r.im)}};
        if (fn.sym != kConj) {
            bool odd = fn.sym == kOdd;
            all.push_back({-r.x, -r.y, odd ? neg(r.re) : r.re, odd ? neg(r.im) : r.im});
            all.push_back({-r.x, r.y, odd ? neg(r.re) : r.re, odd ? r.im : neg(r.im)});
        }
        for (const Row &q : all) {
            if (std::isnan(q.x) && std::signbit(q.x)) continue;
            auto judge = [q](const auto &g) { return match(q.re, __real__ g) && match(q.im, __imag__ g); };
            rd.push_back({{mk(q.x, q.y)}, {{}, th::ANY_FLAGS, th::ANY_ERRNO, th::ANY_CODE, -2, true, judge}});
            rf.push_back({{mkf(float(q.x), float(q.y))}, {{}, th::ANY_FLAGS, th::ANY_ERRNO, th::ANY_CODE, -2, true, judge}});
        }
    }
    th::Calls<CF, CF> cf;
    th::add_call(cf, (fn.name + std::string("f")).c_str(), fn.f);
    EXPECT_EQ(th::check_calls(fn.name, fn.d, rd) + th::check_calls(fn.name, cf, rf), 0);
}

// ---- C99 Annex G, first-quadrant rows (the rest by the symmetries) --------------------------
TEST(ComplexAnnexG, Cacos) {
    check({"cacos", cacos, cacosf, kConj},
          {{0, 0, W(PI2), W(-0.0)}, {-0.0, 0, W(PI2), W(-0.0)}, {0, NAN_, W(PI2), WNAN},
           {-0.0, NAN_, W(PI2), WNAN}, {1, INF, W(PI2), W(-INF)}, {-1, INF, W(PI2), W(-INF)},
           {1, NAN_, WNAN, WNAN}, {-INF, 1, W(PI), W(-INF)}, {INF, 1, W(0), W(-INF)},
           {-INF, INF, W(PI34), W(-INF)}, {INF, INF, W(PI4), W(-INF)}, {INF, NAN_, WNAN, WINF},
           {-INF, NAN_, WNAN, WINF}, {NAN_, 1, WNAN, WNAN}, {NAN_, INF, WNAN, W(-INF)},
           {NAN_, NAN_, WNAN, WNAN}, {NAN_, 0, WNAN, WNAN}});
}
TEST(ComplexAnnexG, Cacosh) {
    check({"cacosh", cacosh, cacoshf, kConj},
          {{0, 0, W(0), W(PI2)}, {-0.0, 0, W(0), W(PI2)}, {1, INF, W(INF), W(PI2)},
           {-1, INF, W(INF), W(PI2)}, {1, NAN_, WNAN, WNAN}, {-INF, 1, W(INF), W(PI)},
           {INF, 1, W(INF), W(0)}, {-INF, INF, W(INF), W(PI34)}, {INF, INF, W(INF), W(PI4)},
           {INF, NAN_, W(INF), WNAN}, {-INF, NAN_, W(INF), WNAN}, {NAN_, 1, WNAN, WNAN},
           {NAN_, INF, W(INF), WNAN}, {NAN_, NAN_, WNAN, WNAN}, {1, 0, W(0), W(0)},
           {-1, 0, W(0), W(PI)}});
}
TEST(ComplexAnnexG, Casinh) {
    check({"casinh", casinh, casinhf, kOdd},
          {{0, 0, W(0), W(0)}, {1, INF, W(INF), W(PI2)}, {1, NAN_, WNAN, WNAN},
           {INF, 1, W(INF), W(0)}, {INF, INF, W(INF), W(PI4)}, {INF, NAN_, W(INF), WNAN},
           {NAN_, 0, WNAN, W(0)}, {NAN_, 1, WNAN, WNAN}, {NAN_, INF, WINF, WNAN},
           {NAN_, NAN_, WNAN, WNAN}, {0, 1, W(0), W(PI2)}});
}
TEST(ComplexAnnexG, Catanh) {
    check({"catanh", catanh, catanhf, kOdd},
          {{0, 0, W(0), W(0)}, {0, NAN_, W(0), WNAN}, {1, 0, W(INF), W(0)}, {1, INF, W(0), W(PI2)},
           {1, NAN_, WNAN, WNAN}, {INF, 1, W(0), W(PI2)}, {INF, INF, W(0), W(PI2)},
           {INF, NAN_, W(0), WNAN}, {NAN_, 1, WNAN, WNAN}, {NAN_, INF, WZ, W(PI2)},
           {NAN_, NAN_, WNAN, WNAN}});
}
TEST(ComplexAnnexG, Ccosh) {
    check({"ccosh", ccosh, ccoshf, kEven},
          {{0, 0, W(1), W(0)}, {0, INF, WNAN, WZ}, {0, NAN_, WNAN, WZ}, {1, INF, WNAN, WNAN},
           {1, NAN_, WNAN, WNAN}, {INF, 0, W(INF), W(0)}, {INF, 1, W(INF), W(INF)},
           {INF, 2, W(-INF), W(INF)}, {INF, INF, WINF, WNAN}, {INF, NAN_, W(INF), WNAN},
           {NAN_, 0, WNAN, WZ}, {NAN_, 1, WNAN, WNAN}, {NAN_, NAN_, WNAN, WNAN}});
}
TEST(ComplexAnnexG, Csinh) {
    check({"csinh", csinh, csinhf, kOdd},
          {{0, 0, W(0), W(0)}, {0, INF, WZ, WNAN}, {0, NAN_, WZ, WNAN}, {1, INF, WNAN, WNAN},
           {1, NAN_, WNAN, WNAN}, {INF, 0, W(INF), W(0)}, {INF, 1, W(INF), W(INF)},
           {INF, 2, W(-INF), W(INF)}, {INF, INF, WINF, WNAN}, {INF, NAN_, WINF, WNAN},
           {NAN_, 0, WNAN, W(0)}, {NAN_, 1, WNAN, WNAN}, {NAN_, NAN_, WNAN, WNAN}});
}
TEST(ComplexAnnexG, Ctanh) {
    check({"ctanh", ctanh, ctanhf, kOdd},
          {{0, 0, W(0), W(0)}, {1, INF, WNAN, WNAN}, {1, NAN_, WNAN, WNAN}, {INF, 1, W(1), W(0)},
           {INF, 2, W(1), W(-0.0)}, {INF, INF, W(1), WZ}, {INF, NAN_, W(1), WZ},
           {NAN_, 0, WNAN, W(0)}, {NAN_, 1, WNAN, WNAN}, {NAN_, NAN_, WNAN, WNAN},
           {1000, 1e-320, W(1), W(0)}});
}
TEST(ComplexAnnexG, Cexp) {
    check({"cexp", cexp, cexpf, kConj, {{"cexp_ex", __libm_cexp_ex}, {"cexp_e9", __libm_cexp_e9}}},
          {{0, 0, W(1), W(0)}, {-0.0, 0, W(1), W(0)}, {1, INF, WNAN, WNAN}, {1, NAN_, WNAN, WNAN},
           {INF, 0, W(INF), W(0)}, {-INF, 1, W(0), W(0)}, {-INF, 2, W(-0.0), W(0)},
           {INF, 1, W(INF), W(INF)}, {INF, 2, W(-INF), W(INF)}, {-INF, INF, WZ, WZ},
           {INF, INF, WINF, WNAN}, {-INF, NAN_, WZ, WZ}, {INF, NAN_, WINF, WNAN},
           {NAN_, 0, WNAN, W(0)}, {NAN_, 1, WNAN, WNAN}, {NAN_, NAN_, WNAN, WNAN}});
}
TEST(ComplexAnnexG, Clog) {
    check({"clog", clog, clogf, kConj},
          {{-0.0, 0, W(-INF), W(PI)}, {0, 0, W(-INF), W(0)}, {1, INF, W(INF), W(PI2)},
           {-1, INF, W(INF), W(PI2)}, {1, NAN_, WNAN, WNAN}, {-INF, 1, W(INF), W(PI)},
           {INF, 1, W(INF), W(0)}, {-INF, INF, W(INF), W(PI34)}, {INF, INF, W(INF), W(PI4)},
           {INF, NAN_, W(INF), WNAN}, {-INF, NAN_, W(INF), WNAN}, {NAN_, 1, WNAN, WNAN},
           {NAN_, INF, W(INF), WNAN}, {NAN_, NAN_, WNAN, WNAN}, {1, 0, W(0), W(0)}});
}
TEST(ComplexAnnexG, Csqrt) {
    check({"csqrt", csqrt, csqrtf, kConj},
          {{0, 0, W(0), W(0)}, {-0.0, 0, W(0), W(0)}, {1, INF, W(INF), W(INF)},
           {-INF, INF, W(INF), W(INF)}, {NAN_, INF, W(INF), W(INF)}, {1, NAN_, WNAN, WNAN},
           {-INF, 1, W(0), W(INF)}, {INF, 1, W(INF), W(0)}, {-INF, NAN_, WNAN, WINF},
           {INF, NAN_, W(INF), WNAN}, {NAN_, 1, WNAN, WNAN}, {NAN_, NAN_, WNAN, WNAN},
           {-4, 0, W(0), W(2)}, {4, 0, W(2), W(0)}});
}
// The circular functions through the rotation: their rows are the hyperbolic rows turned.
TEST(ComplexAnnexG, Circular) {
    check({"ccos", ccos, ccosf, kEven},
          {{0, 0, W(1), W(-0.0)}, {INF, 0, WNAN, WZ}, {0, INF, W(INF), W(-0.0)},
           {NAN_, 0, WNAN, WZ}, {1, INF, W(INF), W(-INF)}});
    check({"csin", csin, csinf, kOdd},
          {{0, 0, W(0), W(0)}, {INF, 0, WNAN, WZ}, {0, INF, W(0), W(INF)}, {0, NAN_, W(0), WNAN},
           {NAN_, 0, WNAN, W(0)}, {1, INF, W(INF), W(INF)}});
    check({"ctan", ctan, ctanf, kOdd},
          {{0, 0, W(0), W(0)}, {INF, 1, WNAN, WNAN}, {1, INF, W(0), W(1)}, {0, NAN_, W(0), WNAN},
           {NAN_, 1, WNAN, WNAN}});
    check({"casin", casin, casinf, kOdd},
          {{0, 0, W(0), W(0)}, {INF, 1, W(PI2), W(INF)}, {INF, INF, W(PI4), W(INF)},
           {0, NAN_, W(0), WNAN}, {1, 0, W(PI2), W(0)}});
    check({"catan", catan, catanf, kOdd},
          {{0, 0, W(0), W(0)}, {INF, 1, W(PI2), W(0)}, {0, 1, W(0), W(INF)}, {NAN_, 0, WNAN, W(0)},
           {1, NAN_, WNAN, WNAN}, {NAN_, INF, WNAN, W(0)}});
}

// ---- the simple functions -------------------------------------------------------------------
TEST(ComplexSimple, PartsConjProj) {
    CD z = mk(3, th::f64(0x7ff8000000000001ull));
    EXPECT_EQ(th::bits_of(cimag(conj(z))), 0xfff8000000000001ull);  // the NaN's sign flips
    EXPECT_EQ(creal(z), 3.0);
    CF zf = mkf(1.5f, -2.0f);
    EXPECT_EQ(cimagf(conjf(zf)), 2.0f);
    EXPECT_EQ(crealf(zf), 1.5f);
    CD p = cproj(mk(NAN_, -INF));
    EXPECT_TRUE(creal(p) == INF && th::bits_of(cimag(p)) == th::bits_of(-0.0));
    p = cproj(mk(NAN_, INF));
    EXPECT_TRUE(creal(p) == INF && th::bits_of(cimag(p)) == 0);
    EXPECT_EQ(th::bits_of(cimag(cproj(mk(1, NAN_)))), th::bits_of(NAN_));  // finite or NaN: z itself
    CF pf = cprojf(mkf(-INFINITY, -1.0f));
    EXPECT_TRUE(crealf(pf) == INFINITY && th::bits_of(cimagf(pf)) == 0x80000000u);
    EXPECT_EQ(cabs(mk(3e300, 4e300)), 5e300);
    EXPECT_EQ(cabs(mk(NAN_, -INF)), INF);
    EXPECT_EQ(cabsf(mkf(3e30f, 4e30f)), 5e30f);
    // cabsf in double: the extremes of the float range, and hypot's rule for an infinity.
    EXPECT_EQ(cabsf(mkf(3 * 0x1p-149f, -4 * 0x1p-149f)), 5 * 0x1p-149f);
    EXPECT_EQ(cabsf(mkf(0x1.fffffep127f, 0x1.fffffep127f)), INFINITY);
    EXPECT_EQ(cabsf(mkf(0x1.fffffep127f, 0x1p100f)), 0x1.fffffep127f);
    EXPECT_EQ(cabsf(mkf(NAN, -INFINITY)), INFINITY);
    EXPECT_TRUE(cabsf(mkf(NAN, 1.0f)) != cabsf(mkf(NAN, 1.0f)));
    EXPECT_EQ(carg(mk(-1, -0.0)), -PI);
    EXPECT_EQ(cargf(mkf(0.0f, 1.0f)), float(PI2));
}
TEST(ComplexSimple, Cis) {
    CD c = cis(-0.0);
    EXPECT_TRUE(creal(c) == 1 && th::bits_of(cimag(c)) == th::bits_of(-0.0));
    c = cis(1.0);
    EXPECT_EQ(creal(c), 0x1.14a280fb5068cp-1);
    EXPECT_EQ(cimag(c), 0x1.aed548f090ceep-1);
    // cisd: exact at the multiples of 90, and cos 60 = 1/2 exactly.
    struct { double x, c, s; } rows[] = {{0, 1, 0}, {90, 0, 1}, {180, -1, 0}, {270, 0, -1}, {-90, 0, -1},
                                         {360, 1, 0}, {-540, -1, 0}, {1e22, 0, 0}};
    for (auto &r : rows) {
        CD d = cisd(r.x);
        if (r.x == 1e22) {  // 10^22 = 280 modulo 360, exactly
            CD e = cisd(280);
            EXPECT_TRUE(creal(d) == creal(e) && cimag(d) == cimag(e));
            continue;
        }
        EXPECT_TRUE(creal(d) == r.c && cimag(d) == r.s) << "cisd(" << r.x << ") = " << creal(d) << ", " << cimag(d);
        CF df = cisdf(float(r.x));
        EXPECT_TRUE(crealf(df) == float(r.c) && cimagf(df) == float(r.s)) << r.x;
    }
    // Against MPFR's sine and cosine in degrees, and cis against sin and cos.
    std::mt19937_64 g(5);
    th::Mp m;
    double worst = 0, worstf = 0, worstc = 0;
    // A zero reference is met by a zero of either sign (the sign of an exact zero of a sine in
    // degrees is a convention: +0 here, but the sine of -0 keeps its sign).
    auto ue = [](auto got, mpfr_srcptr r) { return mpfr_zero_p(r) && got == 0 ? 0.0 : th::ulp_error(got, r); };
    for (int i = 0; i < 20000; i++) {
        double x = std::exp2(std::uniform_real_distribution<double>(-20, 60)(g)) * ((g() & 1) ? -1 : 1);
        CD d = cisd(x);
        mpfr_set_d(m, x, MPFR_RNDN);
        th::Mp c, s;
        mpfr_cosu(c, m, 360, MPFR_RNDN);
        mpfr_sinu(s, m, 360, MPFR_RNDN);
        worst = std::max({worst, ue(creal(d), c), ue(cimag(d), s)});
        float xf = float(x);
        CF df = cisdf(xf);
        mpfr_set_flt(m, xf, MPFR_RNDN);
        mpfr_cosu(c, m, 360, MPFR_RNDN);
        mpfr_sinu(s, m, 360, MPFR_RNDN);
        worstf = std::max({worstf, ue(crealf(df), c), ue(cimagf(df), s)});
        CD e = cis(x);
        mpfr_set_d(m, x, MPFR_RNDN);
        mpfr_cos(c, m, MPFR_RNDN);
        mpfr_sin(s, m, MPFR_RNDN);
        worstc = std::max({worstc, th::ulp_error<double>(creal(e), c), th::ulp_error<double>(cimag(e), s)});
    }
    printf("[  ACCURACY] cisd %.3f ulp, cisdf %.3f ulp, cis %.3f ulp (20000 inputs)\n", worst, worstf, worstc);
    EXPECT_LT(worst, 1.0);
    EXPECT_LT(worstf, 1.0);
    EXPECT_LT(worstc, 1.0);
    EXPECT_TRUE(std::isnan(creal(cisd(INF))) && std::isnan(cimagf(cisf(NAN))));
}
TEST(ComplexSimple, CpowRows) {
    struct { double a, b, c, d; Want re, im; } rows[] = {
        {0, 0, 0, 1, W(0), W(0)},                 // z itself
        {2, 3, 0, 0, W(1), WZ},                   // w = 0: 1 and a signed zero
        {0, 1, 2, 0, W(-1), W(0)},                // i^2, exact in degrees
        {0, 1, 3, 0, W(0), W(-1)},                // i^3
        {-8, 0, 1.0 / 3, 0, W(1), W(0x1.bb67ae8584caap+0)},  // the principal cube root of -8
        {-1, 0, 0.5, 0, W(0), W(1)},              // sqrt(-1)
        {2, 0, 3, 0, W(8), W(0)},
        {4, 0, 0.5, 0, W(2), W(0)},
        {0, 2, 2, 0, W(-4), W(0)}};
    for (auto &r : rows) {
        CD g = cpow(mk(r.a, r.b), mk(r.c, r.d));
        EXPECT_TRUE(match(r.re, creal(g)) && match(r.im, cimag(g)))
            << "cpow(" << r.a << "," << r.b << "; " << r.c << "," << r.d << ") = " << creal(g) << ", " << cimag(g);
    }
}

// ---- accuracy against MPC --------------------------------------------------------------------
using MpcFn = std::function<void(mpc_ptr, mpc_srcptr)>;
MpcFn mpc1(int (*f)(mpc_ptr, mpc_srcptr, mpc_rnd_t)) {
    return [f](mpc_ptr r, mpc_srcptr z) { f(r, z, MPC_RNDNN); };
}
// log_b z = ln z / ln b and b^z = e^(z ln b), at the reference's working precision.
MpcFn mpc_log_base(int b) {
    return [b](mpc_ptr r, mpc_srcptr z) {
        mpc_log(r, z, MPC_RNDNN);
        mpfr_t l;
        mpfr_init2(l, mpc_get_prec(r));
        mpfr_set_ui(l, b, MPFR_RNDN);
        mpfr_log(l, l, MPFR_RNDN);
        mpc_div_fr(r, r, l, MPC_RNDNN);
        mpfr_clear(l);
    };
}
MpcFn mpc_exp_base(int b) {
    return [b](mpc_ptr r, mpc_srcptr z) {
        mpfr_t l;
        mpfr_init2(l, mpc_get_prec(r));
        mpfr_set_ui(l, b, MPFR_RNDN);
        mpfr_log(l, l, MPFR_RNDN);
        mpc_t t;
        mpc_init2(t, mpc_get_prec(r));
        mpc_mul_fr(t, z, l, MPC_RNDNN);
        mpc_exp(r, t, MPC_RNDNN);
        mpc_clear(t);
        mpfr_clear(l);
    };
}

constexpr int PREC = 200;
// The worst error of one part: parts that cancel (below 2^-cut of the modulus, 2^-40 but for
// cpow) are left out, as are parts whose reference overflows the format.
struct Worst {
    double err = 0, x = 0, y = 0;
    size_t n = 0;
};
template <class T>
void record(Worst &w, T got, mpfr_srcptr ref, mpfr_srcptr mod, double x, double y, int cut) {
    if (mpfr_zero_p(ref) || mpfr_get_exp(ref) < mpfr_get_exp(mod) - cut) return;
    if (mpfr_get_exp(ref) > th::Format<T>::emax + 1 || !mpfr_number_p(ref)) return;
    double e = th::ulp_error<T>(got, ref);
    w.n++;
    if (e > w.err) w.err = e, w.x = x, w.y = y;
}

struct Dom {
    double lo, hi;  // magnitudes 2^lo .. 2^hi, both signs
};
double draw(std::mt19937_64 &g, Dom d) {
    std::uniform_real_distribution<double> u(d.lo, d.hi);
    double v = std::ldexp(1.0, 0) * std::exp2(u(g));
    return (g() & 1) ? -v : v;
}

template <class T, class Fn>
void accuracy(const char *name, Fn fn, const MpcFn &ref, Dom dx, Dom dy, size_t n, double bound, uint64_t seed, int cut = 40,
              int mode = 0) {
    std::vector<std::pair<T, T>> in(n);
    std::mt19937_64 g(seed);
    for (auto &p : in) p = {T(draw(g, dx)), T(draw(g, dy))};
    const unsigned parts = 64;
    std::vector<Worst> wr(parts), wi(parts);
    th::parallel_for(parts, [&](size_t k) {
        mpc_t z, r;
        mpc_init2(z, PREC);
        mpc_init2(r, PREC);
        mpfr_t m;
        mpfr_init2(m, PREC);
        for (size_t i = k; i < n; i += parts) {
            auto [x, y] = in[i];
            mpc_set_d_d(z, double(x), double(y), MPC_RNDNN);
            ref(r, z);
            mpc_abs(m, r, MPFR_RNDN);
            decltype(fn(x, y)) got;
            {
                th::ModeGuard mg(th::kModes[mode].fe);
                got = fn(x, y);
            }
            record(wr[k], __real__ got, mpc_realref(r), m, x, y, cut);
            record(wi[k], __imag__ got, mpc_imagref(r), m, x, y, cut);
        }
        mpfr_clear(m);
        mpc_clear(r);
        mpc_clear(z);
    });
    Worst re, im;
    for (unsigned k = 0; k < parts; k++) {
        if (wr[k].err > re.err) re = wr[k];
        if (wi[k].err > im.err) im = wi[k];
    }
    printf("[  ACCURACY] %-9s re %.3f ulp at (%a, %a)   im %.3f ulp at (%a, %a)   %zu inputs%s%s\n", name, re.err,
           re.x, re.y, im.err, im.x, im.y, n, mode ? ", " : "", mode ? th::kModes[mode].name : "");
    EXPECT_LT(re.err, bound) << name << " real part at (" << re.x << ", " << re.y << ")";
    EXPECT_LT(im.err, bound) << name << " imaginary part at (" << im.x << ", " << im.y << ")";
}

struct Acc {
    const char *name;
    FnD d;
    FnF f;
    MpcFn ref;
    Dom dx, dy;
};
const Dom HYP{-30, 9}, WIDE{-60, 60}, UNIT{-3, 2};
std::vector<Acc> acc_rows() {
    return {
        {"cexp", cexp, cexpf, mpc1(mpc_exp), {-30, 9.4}, {-30, 20}},
        // both tiers of the dispatched cexp by name (e9 is the one this processor's level picks)
        {"cexp_ex", __libm_cexp_ex, cexpf, mpc1(mpc_exp), {-30, 9.4}, {-30, 20}},
        {"cexp_e9", __libm_cexp_e9, cexpf, mpc1(mpc_exp), {-30, 9.4}, {-30, 20}},
        {"cexp2", cexp2, cexp2f, mpc_exp_base(2), {-30, 9.9}, {-30, 20}},
        {"cexp10", cexp10, cexp10f, mpc_exp_base(10), {-30, 8.1}, {-30, 20}},
        {"clog", clog, clogf, mpc1(mpc_log), WIDE, WIDE},
        {"clog@1", clog, clogf, mpc1(mpc_log), UNIT, UNIT},
        {"clog2", clog2, clog2f, mpc_log_base(2), WIDE, WIDE},
        {"clog10", clog10, clog10f, mpc1(mpc_log10), WIDE, WIDE},
        {"csqrt", csqrt, csqrtf, mpc1(mpc_sqrt), WIDE, WIDE},
        {"ccosh", ccosh, ccoshf, mpc1(mpc_cosh), HYP, {-30, 20}},
        {"csinh", csinh, csinhf, mpc1(mpc_sinh), HYP, {-30, 20}},
        {"ctanh", ctanh, ctanhf, mpc1(mpc_tanh), HYP, {-30, 20}},
        {"ccos", ccos, ccosf, mpc1(mpc_cos), {-30, 20}, HYP},
        {"csin", csin, csinf, mpc1(mpc_sin), {-30, 20}, HYP},
        {"ctan", ctan, ctanf, mpc1(mpc_tan), {-30, 20}, HYP},
        {"cacos", cacos, cacosf, mpc1(mpc_acos), WIDE, WIDE},
        {"cacos@1", cacos, cacosf, mpc1(mpc_acos), UNIT, {-40, 2}},
        {"casin", casin, casinf, mpc1(mpc_asin), WIDE, WIDE},
        {"catan", catan, catanf, mpc1(mpc_atan), WIDE, WIDE},
        {"cacosh", cacosh, cacoshf, mpc1(mpc_acosh), WIDE, WIDE},
        {"casinh", casinh, casinhf, mpc1(mpc_asinh), WIDE, WIDE},
        {"casinh@i", casinh, casinhf, mpc1(mpc_asinh), {-40, 2}, UNIT},
        {"catanh", catanh, catanhf, mpc1(mpc_atanh), WIDE, WIDE},
        {"catanh@1", catanh, catanhf, mpc1(mpc_atanh), UNIT, {-40, 2}},
    };
}
// Each function in both precisions: 100,000 inputs by default, a million in the long run.
void run_accuracy(const Acc &a, size_t n, uint64_t seed) {
    FnD d = a.d;
    FnF f = a.f;
    accuracy<double>(a.name, [d](double x, double y) { return d(mk(x, y)); }, a.ref, a.dx, a.dy, n, 1.0, seed);
    std::string fname = std::string(a.name) + "f";
    accuracy<float>(fname.c_str(), [f](float x, float y) { return f(mkf(x, y)); }, a.ref, a.dx, a.dy, n, 1.0, seed + 1);
}
// The directed modes: the functions force round-to-nearest for their kernels and round
// each part last in the caller's mode, which may add up to an ulp; where an exact part lies
// just inside a power of two and its approximation just outside, the ulp of the binade
// beyond counts twice in the ulp of the exact value: parts within 2 ulp.
void run_accuracy_directed(const Acc &a, size_t n, uint64_t seed) {
    FnD d = a.d;
    FnF f = a.f;
    for (int m = 1; m < 4; m++) {
        accuracy<double>(a.name, [d](double x, double y) { return d(mk(x, y)); }, a.ref, a.dx, a.dy, n, 2.0, seed, 40, m);
        std::string fname = std::string(a.name) + "f";
        accuracy<float>(fname.c_str(), [f](float x, float y) { return f(mkf(x, y)); }, a.ref, a.dx, a.dy, n, 2.0,
                        seed + 1, 40, m);
    }
}
class ComplexAccuracyOf : public ::testing::TestWithParam<size_t> {};
TEST_P(ComplexAccuracyOf, Function) { run_accuracy(acc_rows()[GetParam()], 100000, 1); }
TEST_P(ComplexAccuracyOf, Directed) { run_accuracy_directed(acc_rows()[GetParam()], 20000, 3); }
TEST_P(ComplexAccuracyOf, LongFunction) { run_accuracy(acc_rows()[GetParam()], 1000000, 7); }
INSTANTIATE_TEST_SUITE_P(Complex, ComplexAccuracyOf, ::testing::Range<size_t>(0, acc_rows().size()),
                         [](const ::testing::TestParamInfo<size_t> &i) {
                             std::string n = acc_rows()[i.param].name;
                             for (char &c : n)
                                 if (c == '@') c = '_';
                             return n;
                         });

// cabs and carg are real-valued: their one part is checked through the same runner.
TEST(ComplexAccuracy, AbsArgPow) {
    auto absarg = [](mpc_ptr r, mpc_srcptr z) {
        mpfr_t m;
        mpfr_init2(m, PREC);
        mpc_abs(m, z, MPFR_RNDN);
        mpc_arg(mpc_imagref(r), z, MPFR_RNDN);
        mpfr_set(mpc_realref(r), m, MPFR_RNDN);
        mpfr_clear(m);
    };
    accuracy<double>("cabs|carg", [](double x, double y) { return mk(cabs(mk(x, y)), carg(mk(x, y))); }, absarg, WIDE,
                     WIDE, 100000, 3, 1.0);
    accuracy<float>("cabsf|cargf", [](float x, float y) { return mkf(cabsf(mkf(x, y)), cargf(mkf(x, y))); }, absarg,
                    WIDE, WIDE, 100000, 4, 1.0);
    // cpow with a fixed exponent per run, against MPC's power.  Its angle carries an absolute
    // error of about 2^-64 |w ln z| (the arctangent's relative 2^-64 times up to 1500 degrees),
    // which a part that is 2^-k of the modulus sees as 2^(k-59) of itself: a part is held to
    // the bound where it is at least 1/8 of the modulus (the parts that are not cancelled).
    const double ws[][2] = {{2.5, 0.75}, {-1.25, 3.5}, {0.3, -0.2}, {7, 0}, {0, 2}};
    for (auto &w : ws) {
        MpcFn ref = [w](mpc_ptr r, mpc_srcptr z) {
            mpc_t e;
            mpc_init2(e, PREC);
            mpc_set_d_d(e, w[0], w[1], MPC_RNDNN);
            mpc_pow(r, z, e, MPC_RNDNN);
            mpc_clear(e);
        };
        CD wd = mk(w[0], w[1]);
        CF wf = mkf(float(w[0]), float(w[1]));
        char name[64];
        snprintf(name, sizeof name, "cpow^(%g%+gi)", w[0], w[1]);
        accuracy<double>(name, [wd](double x, double y) { return cpow(mk(x, y), wd); }, ref, {-8, 8}, {-8, 8}, 100000,
                         2.0, 5, 3);
        if (float(w[0]) == w[0] && float(w[1]) == w[1])
            accuracy<float>(name, [wf](float x, float y) { return cpowf(mkf(x, y), wf); }, ref, {-8, 8}, {-8, 8},
                            100000, 2.0, 6, 3);
    }
}

// Huge and tiny parts: finite results that pass through overflowing or underflowing
// intermediates, against MPC within one ulp per part.
TEST(ComplexEdge, HugeAndTiny) {
    struct {
        const char *name;
        FnD f;
        MpcFn ref;
        double x, y;
    } rows[] = {
        {"cexp", cexp, mpc1(mpc_exp), 710, PI4},         // e^710 overflows alone
        {"cexp", cexp, mpc1(mpc_exp), 709.5, 1e-300},
        {"cexp", cexp, mpc1(mpc_exp), -745.1, 1.0},      // subnormal parts, rounded once
        {"cexp", cexp, mpc1(mpc_exp), -740, 3.0},
        // the usual path's ends: its largest scales with a cosine or sine far below 1, and
        // either side of |x| = 2^8, where the general path takes over
        {"cexp", cexp, mpc1(mpc_exp), 255.9, PI2},        // cos y about 6e-17
        {"cexp", cexp, mpc1(mpc_exp), -255.9, PI2},
        {"cexp", cexp, mpc1(mpc_exp), -255.9, 0x1p-252},  // sin y = y
        {"cexp", cexp, mpc1(mpc_exp), 200, PI * 0x1p15},  // sin y about 4e-12
        {"cexp", cexp, mpc1(mpc_exp), 0x1.fffffffffffffp+7, 3.0},
        {"cexp", cexp, mpc1(mpc_exp), -256, 3.0},
        {"ccosh", ccosh, mpc1(mpc_cosh), 711, 1e-300},
        {"csinh", csinh, mpc1(mpc_sinh), -712, 1.5707963267948966},
        {"ctanh", ctanh, mpc1(mpc_tanh), 20, 1e-300},
        {"ctanh", ctanh, mpc1(mpc_tanh), 300, 1},        // im = 4 sin y cos y e^-600
        {"csqrt", csqrt, mpc1(mpc_sqrt), 1e308, 1e308},
        {"csqrt", csqrt, mpc1(mpc_sqrt), -1e308, 1e-308},
        {"csqrt", csqrt, mpc1(mpc_sqrt), 0x1p-1074, 0x1p-1074},
        {"csqrt", csqrt, mpc1(mpc_sqrt), 1e300, 1e-300},
        {"clog", clog, mpc1(mpc_log), 1, 1e-160},        // re = 0.5e-320, subnormal
        {"clog", clog, mpc1(mpc_log), 0.6, 0.8},         // near the unit circle
        {"clog", clog, mpc1(mpc_log), 1e308, 1e308},
        {"clog", clog, mpc1(mpc_log), 0x1p-1074, 0x1p-1074},
        {"clog10", clog10, mpc1(mpc_log10), 0.6, 0.8},
        {"clog2", clog2, mpc_log_base(2), 1, 1e-160},
        {"cacos", cacos, mpc1(mpc_acos), 2, 1e-300},
        {"cacos", cacos, mpc1(mpc_acos), 1, 1e-300},
        {"cacos", cacos, mpc1(mpc_acos), 0.5, 1e-300},
        {"cacos", cacos, mpc1(mpc_acos), 1e308, 1e308},
        {"cacosh", cacosh, mpc1(mpc_acosh), 1e-300, 1e300},
        {"casinh", casinh, mpc1(mpc_asinh), 1e300, 1e-300},
        {"casinh", casinh, mpc1(mpc_asinh), 1e-300, 1},
        {"catanh", catanh, mpc1(mpc_atanh), 1e300, 1e300},
        {"catanh", catanh, mpc1(mpc_atanh), 1, 1e-300},
        {"catanh", catanh, mpc1(mpc_atanh), 2, 0},
        {"catanh", catanh, mpc1(mpc_atanh), 1e-300, 1e-300},
        {"catan", catan, mpc1(mpc_atan), 1e-300, 1},
    };
    mpc_t z, r;
    mpc_init2(z, PREC);
    mpc_init2(r, PREC);
    for (auto &row : rows) {
        mpc_set_d_d(z, row.x, row.y, MPC_RNDNN);
        row.ref(r, z);
        CD g = row.f(mk(row.x, row.y));
        // A part beyond the format's range is due as the infinity it rounds to.
        auto err = [](double got, mpfr_srcptr ref) {
            double want = th::round_to<double>(ref);
            if (std::isinf(want)) return got == want ? 0.0 : INF;
            return th::ulp_error<double>(got, ref);
        };
        double er = err(__real__ g, mpc_realref(r)), ei = err(__imag__ g, mpc_imagref(r));
        EXPECT_TRUE(er < 1 && ei < 1) << row.name << "(" << row.x << ", " << row.y << ") = (" << __real__ g << ", "
                                      << __imag__ g << "): " << er << ", " << ei << " ulp";
    }
    mpc_clear(r);
    mpc_clear(z);
    // Overflow and underflow where the result is out of range, with their flags.
    th::clear_flags();
    CD g = cexp(mk(3000, 1));
    EXPECT_TRUE(__real__ g == INF && __imag__ g == INF && (th::flags_raised() & FE_OVERFLOW));
    th::clear_flags();
    g = cexp(mk(-3000, 1));
    EXPECT_TRUE(__real__ g == 0 && __imag__ g == 0 && (th::flags_raised() & FE_UNDERFLOW));
    g = ccosh(mk(1e10, 1));
    EXPECT_TRUE(__real__ g == INF && __imag__ g == INF);
    g = ccosh(mk(-1e10, 1));
    EXPECT_TRUE(__real__ g == INF && __imag__ g == -INF);
    th::clear_flags();
    g = catanh(mk(1, 0));
    EXPECT_TRUE(__real__ g == INF && th::bits_of(__imag__ g) == 0 && (th::flags_raised() & FE_DIVBYZERO));
}

// f(conj z) = conj f(z), and f(-z) = -f(z) or f(z), bit for bit, on finite inputs of every
// size and on the special values.
TEST(ComplexSymmetry, BitForBit) {
    std::vector<double> v{0.0, 0x1p-1074, 1e-300, 1e-20, 0.5, 0.75, 1.0, 1.5, 2.0, 10.0, 100.0, 700.0,
                          1e10, 1e300, INF, NAN_};
    std::mt19937_64 g(11);
    for (int i = 0; i < 200; i++) v.push_back(std::fabs(draw(g, {-40, 40})));
    const Fn fns[] = {{"cacos", cacos, cacosf, kConj}, {"cacosh", cacosh, cacoshf, kConj},
                      {"casin", casin, casinf, kOdd},  {"casinh", casinh, casinhf, kOdd},
                      {"catan", catan, catanf, kOdd},  {"catanh", catanh, catanhf, kOdd},
                      {"ccos", ccos, ccosf, kEven},    {"ccosh", ccosh, ccoshf, kEven},
                      {"csin", csin, csinf, kOdd},     {"csinh", csinh, csinhf, kOdd},
                      {"ctan", ctan, ctanf, kOdd},     {"ctanh", ctanh, ctanhf, kOdd},
                      {"clog", clog, clogf, kConj},
                      {"cexp", cexp, cexpf, kConj, {{"cexp_ex", __libm_cexp_ex}, {"cexp_e9", __libm_cexp_e9}}},
                      {"csqrt", csqrt, csqrtf, kConj}, {"cexp2", cexp2, cexp2f, kConj},
                      {"cexp10", cexp10, cexp10f, kConj}, {"clog2", clog2, clog2f, kConj},
                      {"clog10", clog10, clog10f, kConj}};
    auto same = [](double a, double b) { return (std::isnan(a) && std::isnan(b)) || th::bits_of(a) == th::bits_of(b); };
    for (const Fn &fn : fns)
        for (const auto &[name, tier, f] : fn.d) {
            int bad = 0;
            for (size_t i = 0; i < v.size(); i += 3)
                for (size_t j = 0; j < v.size(); j += 2) {
                    double x = v[i], y = v[j];
                    CD a = f(mk(x, y)), c = f(mk(x, -y));
                    bool ok = same(__real__ c, __real__ a) && same(__imag__ c, -__imag__ a);
                    if (fn.sym != kConj && !std::isnan(x) && !std::isnan(y)) {  // a NaN's sign is no sign
                        CD n = f(mk(-x, -y));
                        double s = fn.sym == kOdd ? -1.0 : 1.0;
                        ok = ok && same(__real__ n, s * __real__ a) && same(__imag__ n, s * __imag__ a);
                    }
                    if (!ok && bad++ < 3) ADD_FAILURE() << name << " symmetry at (" << x << ", " << y << ")";
                }
        }
}

// The kernels' contracts: __libm_mul_k64 rounds 2^n a b once, into the subnormal range
// too, and __libm_hypot2_k64 keeps x^2 + y^2 to double-double accuracy in every regime.
TEST(ComplexKernels, MulAndHypot2) {
    struct { int n; double a0, a1, b0, b1; double want; } rows[] = {
        {0, 1.5, 0, 3.0, 0, 4.5},
        {1023, 1.5, 0, 1.0, 0, 0x1.8p1023},
        {1024, 1.0, 0, 1.0, 0, INF},
        {-1074, 1.0, 0, 1.5, 0, 0x1p-1073},       // 1.5 * 2^-1074 rounds to even: 2^-1073
        {-1075, 1.0, 0x1p-60, 1.0, 0, 0x1p-1074}, // just above half the least subnormal
        {-1075, 1.0, 0, 1.0, 0, 0.0},             // exactly half: to even, zero
        {-2000, 0x1p1000, 0, 0x1p-100, 0, 0.0},
        {100, 0x1p-1074, 0, 0x1p-1000, 0, 0.0},
        {2000, 0x1p-1074, 0, 0x1p-10, 0, 0x1p916},
        {0, INF, 0, -2.0, 0, -INF},
    };
    for (auto &r : rows) {
        double a[2] = {r.a0, r.a1}, b[2] = {r.b0, r.b1}, out;
        __libm_mul_k64(r.n, a, b, &out);
        EXPECT_EQ(th::bits_of(out), th::bits_of(r.want)) << r.n << " " << r.a0 << " " << r.b0 << ": " << out;
    }
    double xs[] = {3, 4, 1e300, 0x1p600, 0x1p530, 1e-300, 0x1p-570, 0x1p-450, 0x1.8p-1074, 5e-324};
    for (double x : xs)
        for (double y : xs) {
            double r[2];
            double k = __libm_hypot2_k64(r, x, y);
            th::Mp e, t;
            mpfr_set_d(e, x, MPFR_RNDN);
            mpfr_sqr(e, e, MPFR_RNDN);
            mpfr_set_d(t, y, MPFR_RNDN);
            mpfr_sqr(t, t, MPFR_RNDN);
            mpfr_add(e, e, t, MPFR_RNDN);
            mpfr_set_d(t, r[0], MPFR_RNDN);
            mpfr_add_d(t, t, r[1], MPFR_RNDN);
            mpfr_mul_2si(t, t, long(k), MPFR_RNDN);
            mpfr_sub(t, t, e, MPFR_RNDN);
            mpfr_div(t, t, e, MPFR_RNDN);
            EXPECT_LT(std::fabs(mpfr_get_d(t, MPFR_RNDN)), 0x1p-100) << x << " " << y;
            EXPECT_TRUE(std::fabs(r[0]) < 0x1p1010 && std::fabs(r[0]) > 0x1p-1010) << x << " " << y;
        }
}

// The extended helpers of the inverse functions, clog and cpow against MPFR, relative error:
// __libm_atan2_k80 and cpow's atan2_pair in every octant (ratios from 2^-80 to 2^80, on and
// off the grid), log_ld
// over the whole range of a sum of squares of doubles (away from 1, where its callers take
// log1p_ld), log1p_ld from 2^-70 to 1/2 on both sides of zero (where the kernel alone would
// round its argument's tail once in double).
TEST(ComplexKernels, ExtendedAtan2AndLogs) {
    std::mt19937_64 g(11);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    auto rel = [](long double got, th::Mp &want) {
        th::Mp t;
        mpfr_set_ld(t, got, MPFR_RNDN);
        mpfr_sub(t, t, want, MPFR_RNDN);
        mpfr_div(t, t, want, MPFR_RNDN);
        return std::fabs(mpfr_get_d(t, MPFR_RNDN));
    };
    auto rel_pair = [](const double v[2], th::Mp &want) {
        th::Mp t;
        mpfr_set_d(t, v[0], MPFR_RNDN);
        mpfr_add_d(t, t, v[1], MPFR_RNDN);
        mpfr_sub(t, t, want, MPFR_RNDN);
        mpfr_div(t, t, want, MPFR_RNDN);
        return std::fabs(mpfr_get_d(t, MPFR_RNDN));
    };
    auto sgn = [&g](long double v) { return (g() & 1) ? -v : v; };
    double worst_a = 0, worst_l = 0, worst_p = 0, worst_d = 0;
    th::Mp want, a, b;
    for (int i = 0; i < 20000; i++) {
        long double y = sgn(std::ldexp(1.0L + u(g), int(u(g) * 160) - 80)), x = sgn(1.0L + u(g));
        if (i & 1) std::swap(x, y);
        mpfr_set_ld(a, y, MPFR_RNDN);
        mpfr_set_ld(b, x, MPFR_RNDN);
        mpfr_atan2(want, a, b, MPFR_RNDN);
        worst_a = std::max(worst_a, rel(__libm_atan2_k80(y, x), want));
        // The pair form of cpow on the same doubles (exact in extended: their heads).
        double yd = double(y), xd = double(x), T[2];
        mpfr_set_d(a, yd, MPFR_RNDN);
        mpfr_set_d(b, xd, MPFR_RNDN);
        mpfr_atan2(want, a, b, MPFR_RNDN);
        tsr::cplx::atan2_pair(yd, xd, T);
        worst_d = std::max(worst_d, rel_pair(T, want));
        long double v = std::ldexp(1.0L + u(g), int(u(g) * 4200) - 2100);
        if (v > 0.96875L && v < 1.03125L) continue;
        mpfr_set_ld(a, v, MPFR_RNDN);
        mpfr_log(want, a, MPFR_RNDN);
        if (!mpfr_zero_p(want)) worst_l = std::max(worst_l, rel(tsr::cplx::log_ld(v), want));
        long double w = sgn(std::ldexp(1.0L + u(g), int(u(g) * 70) - 71));
        mpfr_set_ld(a, w, MPFR_RNDN);
        mpfr_log1p(want, a, MPFR_RNDN);
        worst_p = std::max(worst_p, rel(tsr::cplx::log1p_ld(w), want));
    }
    printf("[  ACCURACY] atan2_k80 2^%.1f, atan2_pair 2^%.1f, log_ld 2^%.1f, log1p_ld 2^%.1f (relative, 20000 each)\n",
           std::log2(worst_a), std::log2(worst_d), std::log2(worst_l), std::log2(worst_p));
    EXPECT_LT(worst_a, 0x1p-62);
    EXPECT_LT(worst_d, 0x1.6a09e6p-64);  // 2^-63.5
    EXPECT_LT(worst_l, 0x1p-59);
    EXPECT_LT(worst_p, 0x1p-59);
}


// Smith's division: exact where every step is, the second form for a NaN divisor, and within
// a few ulps of the modulus elsewhere (each part measured against MPC).
TEST(ComplexKernels, SmithDivision) {
    CD q = __libm_cdiv(mk(2, 4), mk(1, 1));
    EXPECT_TRUE(creal(q) == 3 && cimag(q) == 1);
    q = __libm_cdiv(mk(4, 2), mk(0, 2));
    EXPECT_TRUE(creal(q) == 1 && cimag(q) == -2);
    q = __libm_cdiv(mk(1e300, 1e300), mk(1e300, 1e300));  // no square of b's parts is formed
    EXPECT_TRUE(creal(q) == 1 && cimag(q) == 0);
    q = __libm_cdiv(mk(1, 1), mk(NAN_, 1));
    EXPECT_TRUE(std::isnan(creal(q)) && std::isnan(cimag(q)));
    CF qf = __libm_cdivf(mkf(2, 4), mkf(1, 1));
    EXPECT_TRUE(crealf(qf) == 3 && cimagf(qf) == 1);
    std::mt19937_64 g(3);
    mpc_t a, b, r;
    mpc_init2(a, PREC);
    mpc_init2(b, PREC);
    mpc_init2(r, PREC);
    th::Mp m;
    double worst = 0;
    for (int i = 0; i < 20000; i++) {
        double v[4];
        for (double &x : v) x = draw(g, {-20, 20});
        CD got = __libm_cdiv(mk(v[0], v[1]), mk(v[2], v[3]));
        mpc_set_d_d(a, v[0], v[1], MPC_RNDNN);
        mpc_set_d_d(b, v[2], v[3], MPC_RNDNN);
        mpc_div(r, a, b, MPC_RNDNN);
        mpc_abs(m, r, MPFR_RNDN);
        Worst w;
        record(w, creal(got), mpc_realref(r), m, 0, 0, 3);
        record(w, cimag(got), mpc_imagref(r), m, 0, 0, 3);
        worst = std::max(worst, w.err);
    }
    mpc_clear(a);
    mpc_clear(b);
    mpc_clear(r);
    printf("[  ACCURACY] cdiv %.3f ulp (20000 inputs, parts at least 1/8 of the modulus)\n", worst);
    EXPECT_LT(worst, 4.0);
}

}  // namespace

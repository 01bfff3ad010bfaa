// Accuracy against MPFR, every tier in the four rounding modes: >= 100,000 inputs per function,
// weighted to the regions where the algorithms change (|x| near 1, the grid ends, the tiny and
// huge ends, atan2's huge and tiny ratios).
#include "exp/sweep.h"
#include "tessera.h"

using namespace expt;

namespace {

// Both signs, log-uniform 1 - |x| from 2^-53 up: the upper regime and its end at 1.
template <class T>
std::vector<T> near_one(int n, uint64_t seed) {
    auto d = th::log_uniform<T>(T(std::is_same_v<T, float> ? 0x1p-24 : 0x1p-53), T(0.3), n, seed, true);
    for (T &v : d) v = v < 0 ? T(-1) - v : T(1) - v;
    return d;
}
// Around the region boundaries b: b (1 + u), |u| < 2^-6, both signs.
template <class T>
std::vector<T> around(std::initializer_list<double> bs, int n, uint64_t seed) {
    std::vector<T> xs;
    auto u = th::uniform<double>(-0x1p-6, 0x1p-6, n, seed);
    for (size_t i = 0; i < u.size(); ++i) {
        double b = *(bs.begin() + i % bs.size());
        xs.push_back(T((i & 1 ? -b : b) * (1 + u[i])));
    }
    return xs;
}

template <class T>
std::vector<T> arc_inputs(uint64_t seed) {
    auto xs = th::uniform<T>(T(-1), T(1), 40000, seed);
    xs = cat(xs, near_one<T>(30000, seed + 1));
    xs = cat(xs, th::log_uniform<T>(T(0x1p-40), T(0.75), 20000, seed + 2, true));
    return cat(xs, around<T>({0x1p-9, 0x1p-28, 0.5, 0.7109375}, 10000, seed + 3));
}

template <class T>
std::vector<T> atan_inputs(uint64_t seed) {
    auto xs = th::log_uniform<T>(T(0x1p-70), T(std::is_same_v<T, float> ? 0x1p100 : 0x1p600), 60000, seed, true);
    xs = cat(xs, th::uniform<T>(T(-4), T(4), 30000, seed + 1));
    return cat(xs, around<T>({0x1p-6, 0x1p-5, 32, 64, 0x1p-28, 0x1p56, 0x1p63}, 14000, seed + 2));
}

}  // namespace

TEST(InvtrigAccuracy, Acos) {
    auto xs = arc_inputs<double>(11);
    auto refs = references(mpfr_acos, xs);
    sweep("acos", tsr_tiers_acos, xs, refs, 0.55, 2.0);
    sweep("acos", tsr_portable_tiers_acos, xs, refs, 0.55, 2.0);
}

TEST(InvtrigAccuracy, Asin) {
    auto xs = arc_inputs<double>(21);
    auto refs = references(mpfr_asin, xs);
    sweep("asin", tsr_tiers_asin, xs, refs, 0.55, 2.0);
    sweep("asin", tsr_portable_tiers_asin, xs, refs, 0.55, 2.0);
}

TEST(InvtrigAccuracy, Atan) {
    auto xs = atan_inputs<double>(31);
    auto refs = references(mpfr_atan, xs);
    sweep("atan", tsr_tiers_atan, xs, refs, 0.55, 2.0);
    sweep("atan", tsr_portable_tiers_atan, xs, refs, 0.55, 2.0);
}

TEST(InvtrigAccuracy, Acosf) {
    auto xs = arc_inputs<float>(41);
    auto refs = references(mpfr_acos, xs);
    sweep("acosf", tsr_tiers_acosf, xs, refs, 0.51, 2.0);
}

TEST(InvtrigAccuracy, Asinf) {
    auto xs = arc_inputs<float>(51);
    auto refs = references(mpfr_asin, xs);
    sweep("asinf", tsr_tiers_asinf, xs, refs, 0.51, 2.0);
}

TEST(InvtrigAccuracy, Atanf) {
    auto xs = atan_inputs<float>(61);
    auto refs = references(mpfr_atan, xs);
    sweep("atanf", tsr_tiers_atanf, xs, refs, 0.51, 2.0);
    sweep("atanf", tsr_portable_tiers_atanf, xs, refs, 0.51, 2.0);
}

// ---- atan2: pairs ----------------------------------------------------------------------------
namespace {

template <class T>
struct Pairs {
    std::vector<T> y, x;
    std::vector<Ref> refs;
};

// Random signs; magnitudes log-uniform over the whole range, then ratios near 1, near the grid
// ends and far beyond either end of the quotient's range.
template <class T>
Pairs<T> pairs(uint64_t seed) {
    constexpr bool F = std::is_same_v<T, float>;
    T lo = F ? T(0x1p-149) : T(0x1p-1074), hi = F ? T(0x1p127) : T(0x1p1023);
    Pairs<T> p;
    p.y = th::log_uniform<T>(lo, hi, 50000, seed, true);
    p.x = th::log_uniform<T>(lo, hi, 50000, seed + 1, true);
    auto m = th::log_uniform<T>(T(0x1p-20), T(0x1p20), 50000, seed + 2, true);
    auto r = th::log_uniform<T>(T(0x1p-12), T(0x1p12), 50000, seed + 3, true);
    for (size_t i = 0; i < m.size(); ++i) {
        p.y.push_back(m[i] * r[i]);
        p.x.push_back(i % 3 ? m[(i * 7) % m.size()] : -m[(i * 7) % m.size()]);
        if (i % 5 == 0) p.y.back() = p.x.back() * (1 + r[i] * T(F ? 0x1p-20 : 0x1p-40));
    }
    th::Mp v(200), a(200), b(200);
    for (size_t i = 0; i < p.y.size(); ++i) {
        th::set(a, p.y[i]);
        th::set(b, p.x[i]);
        mpfr_atan2(v, a, b, MPFR_RNDN);
        Ref ref{0, 0, 0};
        ref.e = mpfr_get_exp(v) - 1;
        mpfr_mul_2si(v, v, -ref.e, MPFR_RNDN);
        ref.hi = mpfr_get_d(v, MPFR_RNDN);
        mpfr_sub_d(v, v, ref.hi, MPFR_RNDN);
        ref.lo = mpfr_get_d(v, MPFR_RNDN);
        p.refs.push_back(ref);
    }
    return p;
}

template <class T, class Fn, size_t N>
void sweep2(const char *fname, const tsr::TierFn<Fn> (&tiers)[N], const Pairs<T> &p, double rn_bound) {
    th::for_each_tier(tiers, [&](const tsr::TierFn<Fn> &t) {
        for (const th::Mode &m : th::kModes) {
            th::ModeGuard g(m.fe);
            double worst = 0;
            size_t at = 0;
            for (size_t i = 0; i < p.y.size(); ++i) {
                double e = ulps(t.fn(p.y[i], p.x[i]), p.refs[i]);
                if (!(e <= worst)) worst = e, at = i;
            }
            std::printf("[  ACCURACY] %-7s %-12s %-8s max %.4f ulp at (%a, %a) (%zu pairs)\n", fname, t.name,
                        m.name, worst, double(p.y[at]), double(p.x[at]), p.y.size());
            EXPECT_LT(worst, m.fe == FE_TONEAREST ? rn_bound : 2.0) << fname << " " << t.name << " " << m.name;
        }
    });
}

}  // namespace

TEST(InvtrigAccuracy, Atan2) {
    auto p = pairs<double>(71);
    sweep2("atan2", tsr_tiers_atan2, p, 0.55);
    sweep2("atan2", tsr_portable_tiers_atan2, p, 0.55);
    const tsr::TierFn<double (*)(double, double)> bwr[] = {{"bwr", tsr::Tier::ex, __bwr_atan2}};
    sweep2("atan2", bwr, p, 0.55);
}

TEST(InvtrigAccuracy, Atan2f) {
    auto p = pairs<float>(81);
    sweep2("atan2f", tsr_tiers_atan2f, p, 0.51);
    sweep2("atan2f", tsr_portable_tiers_atan2f, p, 0.51);
}

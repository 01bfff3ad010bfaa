// The trigonometric, hyperbolic and angle kernels of the extended family: each pair (with its
// sign factor or scale) against MPFR to well past 64 bits, on rows in the four rounding
// modes (the hardest reductions among them; the caller's control word unchanged after), on
// 100,000 arguments per kernel, and at their special values.
#include <gtest/gtest.h>

#include <cmath>

#include "ext2_funcs.h"

#include "extended/ext_kernels.h"

namespace {

using ext2t::LD;
using th::Pair;

template <class... A> using Rows = std::vector<std::tuple<A...>>;

// ---- sine and cosine: x, x ln2, x ln10 -----------------------------------------------------
using TrigK = LD (*)(const LD *, LD *);
struct TrigKernel {
    const char *name;
    TrigK k;
    th::MpFn1 f;
    int c;  // the angle's factor: 1 (x), 2 (ln2), 10 (ln10)
};
const TrigKernel kTrig[] = {
    {"sinl_k80", __libm_sinl_k80, mpfr_sin, 1},       {"cosl_k80", __libm_cosl_k80, mpfr_cos, 1},
    {"sinln2l_k80", __libm_sinln2l_k80, mpfr_sin, 2},  {"cosln2l_k80", __libm_cosln2l_k80, mpfr_cos, 2},
    {"sinln10l_k80", __libm_sinln10l_k80, mpfr_sin, 10}, {"cosln10l_k80", __libm_cosln10l_k80, mpfr_cos, 10},
};

// The kernel's factor (which must be +-1) times its pair.
th::Calls<Pair, LD> trig_calls(const TrigKernel &t) {
    return {{t.name, tsr::Tier::ex, [k = t.k](LD x) {
                 LD out[2] = {7, 7};
                 LD s = k(&x, out);
                 return s == 1 || s == -1 ? Pair{s * out[0], s * out[1], 0} : Pair{NAN, 0, 0};
             }}};
}
// f(x c) at 200 bits (the angle formed exactly enough: x's exponent and 300 bits more).
auto trig_within(const TrigKernel &t, double bits) {
    return [&t, bits](const auto &, const std::tuple<LD> &in, int) {
        LD x = std::get<0>(in);
        int ex = 0;
        std::frexp(x, &ex);
        th::Mp a(64 + 300 + (ex > 0 ? ex : 0)), c(64 + 300 + (ex > 0 ? ex : 0)), ref(200);
        th::set(a, x);
        if (t.c != 1) {
            mpfr_set_ui(c, t.c, MPFR_RNDN);
            mpfr_log(c, c, MPFR_RNDN);
            mpfr_mul(a, a, c, MPFR_RNDN);
        }
        t.f(ref, a, MPFR_RNDN);
        return th::pair_within(ref, bits);
    };
}

const LD kTrigRows[] = {
    0x1p-16445L, -0x1p-16000L, 0x1p-40L, -1e-10L, 0.5L, -0.785398163397448309615L, 0.7853981633974483096L,
    1.0L, -1.5707963267948966192L, 3.1415926535897932385L, 100.0L, -1e6L, 0x1p30L, -0x1.fffffffep29L,
    1e18L, -1e300L, 0x1.fffffffffffffffep16383L,
#include "hard_reduction.inc"
};

TEST(Ext2Kernels, Trig) {
    for (const TrigKernel &t : kTrig) {
        Rows<LD> rows, xs;
        for (LD x : kTrigRows)
            for (LD sx : {x, -x})  // a subnormal x c is no pair to 2^-68 of itself
                if (t.c == 1 || std::fabs(sx) >= 0x1p-16300L) rows.push_back({sx});
        th::check_calls(t.name, trig_calls(t), rows, th::ALL_MODES, trig_within(t, -68));
        for (LD x : th::log_uniform<LD>(0x1p-30L, t.c == 1 ? 0x1p+200L : 0x1p+60L, 60000, 0x6b3 + t.c, true)) xs.push_back({x});
        for (LD x : th::uniform<LD>(-4.0L, 4.0L, 40000, 0x6b4 + t.c)) xs.push_back({x});
        th::check_calls(t.name, trig_calls(t), xs, th::RN, trig_within(t, -68));
        // the infinities and NaN give a NaN, -0 its signed zero
        th::check_calls(t.name, trig_calls(t), Rows<LD>{{INFINITY}, {-INFINITY}, {th::qnan<LD>()}, {-0.0L}}, th::RN,
                        trig_within(t, -68));
    }
}

// ---- sinh and cosh ----------------------------------------------------------------------------
struct HypKernel {
    const char *name;
    int (*k)(const LD *, LD *);
    th::MpFn1 f;
};
const HypKernel kHyp[] = {{"sinhl_k80", __libm_sinhl_k80, mpfr_sinh}, {"coshl_k80", __libm_coshl_k80, mpfr_cosh}};

TEST(Ext2Kernels, Hyp) {
    for (const HypKernel &h : kHyp) {
        th::Calls<Pair, LD> call = {{h.name, tsr::Tier::ex, [k = h.k](LD x) {
                                         LD out[2] = {7, 7};
                                         int e = k(&x, out);
                                         return Pair{out[0], out[1], e};
                                     }}};
        auto within = [&h](double bits) {
            return [&h, bits](const auto &, const std::tuple<LD> &in, int) {
                th::Mp ref(200);
                th::ref(ref, h.f, std::get<0>(in));
                return th::pair_within(ref, bits);
            };
        };
        Rows<LD> rows, xs;
        for (LD x : {0x1p-16440L, 0x1p-40L, 0x1p-32L, 1e-5L, 0.34L, 1.0L, 22.9L, 63.99L, 64.0L, 700.0L, 11356.5L, 11400.0L,
                     16384.0L, 32767.5L})
            rows.insert(rows.end(), {{x}, {-x}});
        th::check_calls(h.name, call, rows, th::ALL_MODES, within(-70));
        for (LD x : th::log_uniform<LD>(0x1p-40L, 32000.0L, 100000, 0x51c + (h.k == __libm_coshl_k80), true)) xs.push_back({x});
        th::check_calls(h.name, call, xs, th::RN, within(-70));
        th::check_calls(h.name, call, Rows<LD>{{INFINITY}, {-INFINITY}, {th::qnan<LD>()}, {-0.0L}, {0.0L}}, th::RN,
                        within(-70));
        // beyond 2^15 the scale is out of every range: the caller's scaling overflows
        for (LD x : {0x1p15L, -1e4000L}) {
            th::Expect<Pair> e{{}, th::ANY_FLAGS, th::ANY_ERRNO, th::ANY_CODE};
            const LD one = h.k == __libm_sinhl_k80 && x < 0 ? -1.0L : 1.0L;
            e.accept = [one](const Pair &p) { return std::get<2>(p) >= 0x10000 && std::get<0>(p) == one; };
            e.rule = "a scale of 2^16 or more on +-1";
            th::check_calls(h.name, call, std::vector<th::CallRow<Pair, LD>>{{{x}, e}});
        }
    }
}

// ---- angle of a point ---------------------------------------------------------------------------
// atan2 of two scaled pairs, given as (hi, lo, e), against MPFR on their exact values.
const th::Calls<Pair, Pair, Pair> kAngle = {{"atan2l_k80", tsr::Tier::ex, [](Pair y, Pair x) {
                                                 tsr_scaled_pair sy{std::get<0>(y), std::get<1>(y), int(std::get<2>(y))};
                                                 tsr_scaled_pair sx{std::get<0>(x), std::get<1>(x), int(std::get<2>(x))};
                                                 LD out[2] = {7, 7};
                                                 __libm_atan2l_k80(out, &sy, &sx);
                                                 return Pair{out[0], out[1], 0};
                                             }}};
auto angle_within(double bits) {
    return [bits](const auto &, const std::tuple<Pair, Pair> &in, int) {
        th::Mp v[2] = {th::Mp(400), th::Mp(400)}, t(400), ref(200);
        for (int i = 0; i < 2; ++i) {
            const Pair &p = i ? std::get<1>(in) : std::get<0>(in);
            th::set(v[i], std::get<0>(p));
            th::set(t, std::get<1>(p));
            if (!mpfr_zero_p(t)) mpfr_add(v[i], v[i], t, MPFR_RNDN);  // -0 + 0 would lose the sign
            mpfr_mul_2si(v[i], v[i], std::get<2>(p), MPFR_RNDN);
        }
        mpfr_atan2(ref, v[0], v[1], MPFR_RNDN);
        return th::pair_within(ref, bits);
    };
}
// A scaled pair from a value: unnormalised on purpose (the kernel normalises).
Pair pair_of(LD v, LD tail_rel, long e) { return {v, v * tail_rel, e}; }

TEST(Ext2Kernels, Angle) {
    th::check_calls("atan2l_k80", kAngle,
                    Rows<Pair, Pair>{
                        {pair_of(1.0L, 0x1p-70L, 0), pair_of(1.0L, -0x1p-70L, 0)},
                        {pair_of(3.0L, 0x1p-66L, 100), pair_of(-5.0L, 0x1p-67L, 98)},
                        {pair_of(-0.75L, 0x1p-65L, -40), pair_of(1.5L, 0, -40)},
                        {pair_of(1.25L, 0x1p-66L, 0), pair_of(-1.0L, 0, 75)},        // the ratio alone
                        {pair_of(1.25L, 0x1p-66L, 0), pair_of(1.0L, 0x1p-65L, -90)},   // pi/2 less x/y
                        {pair_of(1.25L, 0x1p-66L, 0), pair_of(1.0L, 0x1p-65L, -150)},  // pi/2 less a part below 2^-140
                        {pair_of(-1e-1500L, 0x1p-66L, 0), pair_of(3e1500L, 0, 0)},
                        {pair_of(7.0L, -0x1p-66L, 20000), pair_of(-7.0L, 0x1p-66L, 20000)},
                        {pair_of(0x1p-16440L, 0, 0), pair_of(0x1p-16440L, 0x1p-70L, 0)},
                    },
                    th::ALL_MODES, angle_within(-75));
    // exponents apart by up to 400, tails of up to 2^-64
    std::vector<LD> ys = th::log_uniform<LD>(0x1p-8L, 0x1p8L, 100000, 0xa7a, true);
    std::vector<LD> xs = th::log_uniform<LD>(0x1p-8L, 0x1p8L, 100000, 0xa7b, true);
    std::vector<LD> ts = th::uniform<LD>(-0x1p-64L, 0x1p-64L, 100000, 0xa7c);
    Rows<Pair, Pair> in;
    for (size_t i = 0; i < ys.size(); ++i)
        in.push_back({pair_of(ys[i], ts[i], long(i % 401) - 200), pair_of(xs[i], ts[(i + 1) % ts.size()], long((i * 7) % 401) - 200)});
    th::check_calls("atan2l_k80", kAngle, in, th::RN, angle_within(-75));
    // zeros, infinities and a NaN
    const LD inf = INFINITY;
    Rows<Pair, Pair> sp;
    for (auto [y, x] : {std::pair{0.0L, 2.0L}, {-0.0L, 2.0L}, {0.0L, -2.0L}, {-0.0L, -0.0L}, {3.0L, 0.0L}, {-3.0L, -0.0L},
                        {inf, 1.0L}, {inf, inf}, {-inf, -inf}, {1.0L, -inf}, {-1.0L, inf}, {0.0L, 0.0L}, {th::qnan<LD>(), 1.0L}})
        sp.push_back({Pair{y, 0.0L, 3}, Pair{x, 0.0L, -3}});
    th::check_calls("atan2l_k80", kAngle, sp, th::RN, angle_within(-75));
}

}  // namespace

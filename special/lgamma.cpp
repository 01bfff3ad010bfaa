// ln|Gamma(x)| in double, single and extended precision, with the sign of Gamma(x):
// lgamma and gamma (one address) store the sign in signgam; lgamma_r and gamma_r (one
// address, also __libm_lgamma) hand it back through their pointer and touch no shared state.
//
// The extended forms run the one core of gamma_common.h on the x87 unit (lgammal on [8, 2^52)
// the double-double path of gamma_double.h, to 64 bits); the double forms run
// the double-double core of gamma_double.h and the float forms the double core of
// gamma_float.h, both handing the bands next to the zeros on the negative axis to the
// extended core (the reproducible forms run the extended core throughout);
// special arguments are sorted out first with comparisons alone:
//   NaN        propagates (a signalling one raises invalid);
//   +-inf      +inf, no flag;
//   +-0        pole: +inf with divide-by-zero, the sign of the zero as the sign;
//   x < 0 an integer (every value from 2^52 on in double): pole, +inf, sign +1;
//   x >= the least argument whose result overflows: the overflow, reported;
//   x = 1, 2   +0 exactly, no flag.
// Reports come after the caller's control word is back.
#include "special/gamma_common.h"
#include "special/gamma_double.h"
#include "special/gamma_float.h"
#include "tsr/guard.h"
#include "tsr/codes.h"
#include "tsr/report.h"

using namespace tsr;
using namespace tsr::gamma;

// The exported sign word, written through its public symbol so that a program holding it
// in its own data (copy relocation) sees the writes.
extern "C" int signgam TSR_PUBLIC;

namespace {

template <class T> struct Lg;
template <> struct Lg<double> {
    static constexpr int over = code::lgamma_overflow, pole = code::lgamma_pole;
    static constexpr double first_over = k_lgamma_over, big = 0x1p1000;
};
template <> struct Lg<float> {
    static constexpr int over = code::lgammaf_overflow, pole = code::lgammaf_pole;
    static constexpr float first_over = k_lgammaf_over, big = 0x1p100f;
};

// The pair rounded once to T in the caller's mode (the frame's last step).
template <class T> inline T round_out(Frame &fr, Pair p) {
    return fr.finish<T>(p.h, p.l, [](LD h, LD l) { return h + l; });
}

// The double core's pair rounded once in the caller's mode: the guard's mode comes back
// before the one addition.
inline double round_dd(RnGuardInexact &g, DD p) {
    double h = opaque(p.h), l = opaque(p.l);
    g.restore();
    return opaque(h) + opaque(l);
}
constexpr double kDoubleNearZero = 0.5, kDoubleNearZeroReflect = 8.0;
constexpr int kReflectFromD = 8;  // lgamma's reflection (tgamma's from 24)

template <class T, bool Fast> T lgamma_neg(T x, int *sign);

template <class T, bool Fast = true> inline T lgamma_core(T x, int *sign) {
    using L = Lg<T>;
    *sign = 1;
    // Stirling's range first, the widest, which no special case reaches (a NaN fails the
    // quiet comparisons, which raise nothing).  Doubles:
    if constexpr (Fast && sizeof(T) == 8) {
        if (__builtin_isgreaterequal(x, kShortStirlingFrom) && __builtin_isless(x, 0x1p52)) {
            RnGuardInexact g;
            return round_dd(g, lgd_stirling_short<false>(opaque(x)));
        }
    }
    // Floats: the same for the float core's Stirling range, up to the overflow.
    if constexpr (Fast && sizeof(T) == 4) {
        if (__builtin_isgreaterequal(x, 16.0f) && __builtin_isless(x, L::first_over)) return T(lgf_pos<true>(double(x)));
    }
    if (__builtin_expect(!(x == x), 0)) return x + x;
    T ax = x < 0 ? -x : x;
    if (__builtin_expect(ax > std::numeric_limits<T>::max(), 0)) return ax;  // +-inf
    if (__builtin_expect(x == 0, 0)) {
        if (__builtin_signbit(x)) *sign = -1;
        return report(x, T(1) / opaque(T(0)), L::pole);
    }
    if (x > 0) {
        if (__builtin_expect(x >= L::first_over, 0)) return report(x, opaque(L::big) * L::big, L::over);
        if (x == T(1) || x == T(2)) return T(0);
        // Floats: the double core, rounded once in the caller's mode.
        if constexpr (Fast && sizeof(T) == 4) return T(lgf_pos<true>(double(x)));
        // Doubles: the double-double core, its pair rounded once in the caller's mode.
        if constexpr (Fast && sizeof(T) == 8) {
            RnGuardInexact g;
            return round_dd(g, lgd_pos<int(kShortStirlingFrom)>(opaque(x)));
        }
        Frame fr;
        Pair p = lg_pos(opaque(LD(x)));
        return round_out<T>(fr, p);
    }
    return lgamma_neg<T, Fast>(x, sign);
}

// x < 0, finite and nonzero: out of line, so that the positive axis runs without the frame
// that the negative one needs (the x87 test for an integer, the sign, the extended core).
// The extended core on the negative axis, out of line: the x87 frame and the extended copy
// of x stay off the double cores' way.
template <class T> __attribute__((noinline)) T lgamma_neg_ext(T x, int *sign) {
    Frame fr;
    Pair p = lg_neg(opaque(LD(x)), sign);
    return round_out<T>(fr, p);
}

template <class T, bool Fast> __attribute__((noinline)) T lgamma_neg(T x, int *sign) {
    using L = Lg<T>;
    // An integer: every double from 2^52 on; below, x is one if its truncation is.
    if (x <= T(-0x1p52) || double(int64_t(x)) == double(x)) return report(x, T(1) / opaque(T(0)), L::pole);
    if constexpr (Fast && sizeof(T) == 4) {
        double r;
        if (lgf_neg(double(x), sign, &r)) return T(r);
        // next to a zero: the extended core below
    }
    if constexpr (Fast && sizeof(T) == 8) {
        // Where the result is small its terms have cancelled and the pair's absolute error is
        // too large beside it: the extended core.  That error is 2^-65 to 2^-62 from the
        // products above -8 and from the reflection beyond -24, but up to 2^-58.6 from the
        // reflection between (Stirling's tail at 1 - x from 9), where results below 8 go.
        RnGuardInexact g;
        DD p = lgd_neg<kReflectFromD>(opaque(x), sign);
        double near = x > -24.0 && x <= -kReflectFromD ? kDoubleNearZeroReflect : kDoubleNearZero;
        if (!(p.h < near && p.h > -near)) return round_dd(g, p);
    }
    return lgamma_neg_ext<T>(x, sign);
}

// The reproducible float forms keep the extended core (their results are the recorded ones).
inline float lgammaf_bwr_core(float x, int *sign) { return lgamma_core<float, false>(x, sign); }
inline double lgamma_bwr_core(double x, int *sign) { return lgamma_core<double, false>(x, sign); }

// Extended: the same with the encodings the x87 unit refuses (unnormals) taken as NaNs.
inline LD lgammal_core(LD x, int *sign) {
    *sign = 1;
    Ext v = ext(x);
    // Stirling's range first, [8, 2^52) with the leading bit set (the encodings the x87
    // unit takes): the double-double path in SSE arithmetic, its pair added once on the x87
    // unit in the caller's rounding field at 64 bits.
    if (uint32_t(v.se) - 0x4002u < 0x4033u - 0x4002u && (v.m >> 63)) {
        RnGuardInexact g;
        DD p = lgx_stirling_short(v.m, int(v.se) - 0x3fff);
        double h = opaque(p.h), l = opaque(p.l);
        g.restore();
        Frame fr;
        return fr.finish<LD>(h, l, [](LD a, LD b) { return a + b; });
    }
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect(f == 0x7fff || x80::invalid_encoding(v), 0)) {
        if (f == 0x7fff && v.m == 0x8000000000000000ull) return x * x;  // +-inf: +inf
        return x + x;
    }
    if (__builtin_expect(f == 0 && v.m == 0, 0)) {
        if (v.se >> 15) *sign = -1;
        return report(x, 1.0L / opaque(0.0L), code::lgammal_pole);
    }
    if (!(v.se >> 15)) {
        if (__builtin_expect(x >= k_lgammal_over, 0))
            return report(x, opaque(0x1p16000L) * 0x1p16000L, code::lgammal_overflow);
        if (x == 1.0L || x == 2.0L) return 0.0L;
        Frame fr;
        Pair p = lg_pos(opaque(x));
        return round_out<LD>(fr, p);
    }
    if (neg_integer(x)) return report(x, 1.0L / opaque(0.0L), code::lgammal_pole);
    Frame fr;
    Pair p = lg_neg(opaque(x), sign);
    return round_out<LD>(fr, p);
}

}  // namespace

// The names of one precision: the reentrant form and its second names, and the form that
// stores the sign in signgam with its second name.
#define TSR_LGAMMA_FORMS(T, core, plain, second, plain_r, second_r, internal_r)        \
    TSR_DEFINE(T, plain_r, (T x, int *sign)) { return core(x, sign); }                 \
    TSR_ALIAS(T, second_r, (T x, int *sign), plain_r)                                  \
    TSR_ALIAS(T, internal_r, (T x, int *sign), plain_r)                                \
    TSR_DEFINE(T, plain, (T x)) {                                                      \
        int s;                                                                         \
        T r = core(x, &s);                                                             \
        signgam = s;                                                                   \
        return r;                                                                      \
    }                                                                                  \
    TSR_ALIAS(T, second, (T x), plain)

extern "C" {

TSR_LGAMMA_FORMS(double, lgamma_core, lgamma, gamma, lgamma_r, gamma_r, __libm_lgamma)
TSR_LGAMMA_FORMS(float, lgamma_core, lgammaf, gammaf, lgammaf_r, gammaf_r, __libm_lgammaf)
TSR_LGAMMA_FORMS(long double, lgammal_core, lgammal, gammal, lgammal_r, gammal_r, __libm_lgammal)
// The reproducible forms: the extended core alone (every step is extended arithmetic in
// round-to-nearest, the same on every processor).
TSR_LGAMMA_FORMS(double, lgamma_bwr_core, __bwr_lgamma, __bwr_gamma, __bwr_lgamma_r, __bwr_gamma_r, __bwr_libm_lgamma)
TSR_LGAMMA_FORMS(float, lgammaf_bwr_core, __bwr_lgammaf, __bwr_gammaf, __bwr_lgammaf_r, __bwr_gammaf_r,
                 __bwr_libm_lgammaf)

// ---- internal: ln Gamma of a positive extended argument in the library's own frame, for
// callers already inside it (the core's positive half, rounded once) ----
TSR_DEFINE(long double, lgamma_pos, (long double x)) {
    Pair p = lg_pos(x);
    return p.h + p.l;
}
TSR_ALIAS(long double, lgammaf_pos, (long double x), lgamma_pos)

}  // extern "C"

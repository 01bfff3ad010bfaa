// Gamma(x) in double, single and extended precision: sign e^(ln|Gamma(x)|), the logarithm as
// the pair of gamma_common.h and its exponential as a pair from the extended exponential core
// (error about 2^-70 relative), scaled and rounded once to the target in the caller's mode.
// tgamma takes the double-double core of gamma_double.h and tgammaf the double core of
// gamma_float.h, each with the double exponential kernel, instead (the reproducible forms
// keep the extended core).
//
// Special arguments, sorted out with comparisons before the frame opens:
//   NaN                 propagates (a signalling one raises invalid);
//   +inf                +inf;  -inf: the default NaN, invalid, the pole code;
//   +-0                 +-inf with divide-by-zero, the pole code;
//   x < 0 an integer    the default NaN, invalid, the pole code;
//   0 < |x| <= 2^-1024  (2^-128 in single, 2^-16384 in extended): 1/x overflows, reported;
//   x >= the least argument whose Gamma overflows: reported;
//   x below the bound past which |Gamma(x)| is below half the least subnormal everywhere
//                       (-185 in double, -43 in single, -1766 in extended): the signed
//                       underflow of a product of two tiny powers, not reported;
//   x = 1, 2, ...       (x - 1)! exactly, no flag, while it is representable (x <= 23 in
//                       double, 14 in single, 26 in extended).
#include "elementary/exp_kernels.h"
#include "special/gamma_common.h"
#include "special/gamma_double.h"
#include "special/gamma_float.h"
#include "tsr/guard.h"
#include "tsr/codes.h"
#include "tsr/report.h"

using namespace tsr;
using namespace tsr::gamma;

namespace {

template <class T> struct Tg;
template <> struct Tg<double> {
    static constexpr int over = code::tgamma_overflow, pole = code::tgamma_pole;
    static constexpr double first_over = k_tgamma_over, big = 0x1p1000, tiny = 0x1p-1000;
    static constexpr double least_finite_recip = 0x1p-1024;  // 1/x overflows at and below it
    static constexpr double underflow_below = -185.0;
    static constexpr int last_exact = 23;
};
template <> struct Tg<float> {
    static constexpr int over = code::tgammaf_overflow, pole = code::tgammaf_pole;
    static constexpr float first_over = k_tgammaf_over, big = 0x1p100f, tiny = 0x1p-100f;
    static constexpr float least_finite_recip = 0x1p-128f;
    static constexpr float underflow_below = -43.0f;
    static constexpr int last_exact = 14;
};

// The default quiet NaN of a domain error, invalid raised by arithmetic.
template <class T> inline T domain_nan() { return opaque(T(0)) / opaque(T(0)); }

template <class T, bool Fast = true> inline T tgamma_core(T x) {
    using G = Tg<T>;
    if (__builtin_expect(!(x == x), 0)) return x + x;
    if (__builtin_expect(x > std::numeric_limits<T>::max(), 0)) return x;
    if (__builtin_expect(x < -std::numeric_limits<T>::max(), 0)) return report(x, domain_nan<T>(), G::pole);
    T ax = x < 0 ? -x : x;
    if (__builtin_expect(ax <= G::least_finite_recip, 0)) {
        if (x == 0) return report(x, T(1) / x, G::pole);
        return report(x, T(1) / opaque(x), G::over);  // overflows in every mode as it should
    }
    if (x > 0) {
        if (__builtin_expect(x >= G::first_over, 0)) return report(x, opaque(G::big) * G::big, G::over);
        if (x <= T(G::last_exact) && x == T(int(x))) return T(kFactorial[int(x) - 1]);
    } else {
        if (neg_integer(LD(x))) return report(x, domain_nan<T>(), G::pole);
        if (x < G::underflow_below) {
            // Gamma(x) has the sign (-1)^(n+1), n = floor(-x).
            T s = (uint64_t(-x) & 1) ? T(1) : T(-1);
            return s * opaque(G::tiny) * G::tiny;
        }
    }
    if constexpr (Fast && sizeof(T) == 4) {
        // Floats: e^(ln|Gamma|) in double.  The relative error of the result is the absolute
        // error of the logarithm, below 2^-44 on every region (near the zeros too: there the
        // logarithm is small, its absolute error is what counts); e^r comes from the double
        // exponential kernel as (o0 + o1) 2^k, the sum rounded once in the caller's mode, the
        // power of two exact (|r| < 120, so the product is a normal double), and the float
        // conversion the one rounding that matters.
        int sign = 1;
        double r;
        if (x > 0) r = lgf_pos(double(x));
        else lgf_neg(double(x), &sign, &r);
        double o[2];
        int k;
        __libm_exp_k64(r, &k, o);
        double m = o[0] + o[1];
        if (sign < 0) m = -m;
        return T(m * __builtin_bit_cast(double, uint64_t(1023 + k) << 52));
    }
    if constexpr (Fast && sizeof(T) == 8) {
        // Doubles: e^(h + l) for the double-double pair of ln|Gamma| (absolute error below
        // 2^-62.6 on every region, near the zeros of ln|Gamma| too): e^h = (o0 + o1) 2^k from
        // the double exponential kernel (2^-72), times 1 + l (|l| < 2^-42: the rest is below
        // 2^-84); the sum rounds once in the caller's mode and the power of two is exact while
        // the result is normal.  Results near the bottom of the range (only on the negative
        // axis) take the extended core, whose scaling rounds once into the subnormals.
        RnGuardInexact g;
        int sign = 1;
        DD p = x > 0 ? lgd_pos(opaque(x)) : lgd_neg(opaque(x), &sign);
        if (p.h > -0x1.6p+9) {  // above -704: 2^k > 2^-1017
            int k;
            double o[2];
            __libm_exp_k64(p.h, &k, o);
            double h = o[0], l = o[1] + o[0] * p.l;
            if (sign < 0) {
                h = -h;
                l = -l;
            }
            h = opaque(h);
            l = opaque(l);
            g.restore();
            double m = opaque(h) + opaque(l);
            // 2^k in two factors: k reaches 1024 next to the overflow threshold.
            int k1 = k / 2;
            return m * __builtin_bit_cast(double, uint64_t(1023 + k1) << 52) *
                   __builtin_bit_cast(double, uint64_t(1023 + k - k1) << 52);
        }
    }
    Frame fr;
    LD xl = opaque(LD(x));
    int sign = 1;
    Pair p = x > 0 ? lg_pos(xl) : lg_neg(xl, &sign);
    x80::ExpPair e = exp_of(p, sign);
    // The pair rounds to extended and then to T, both in the caller's mode (the product by
    // the power of two between them is exact for every result of this range).
    LD scale = pow2l(e.k);
    return fr.finish<T>(e.hi, e.lo, [scale](LD h, LD l) { return (h + l) * scale; });
}

inline LD tgammal_core(LD x) {
    Ext v = ext(x);
    uint32_t f = v.se & 0x7fff;
    bool negative = v.se >> 15;
    if (__builtin_expect(f == 0x7fff || x80::invalid_encoding(v), 0)) {
        if (f == 0x7fff && v.m == 0x8000000000000000ull) {
            if (!negative) return x;
            return report(x, x80::default_nan(), code::tgammal_pole);
        }
        return x + x;
    }
    if (__builtin_expect(f == 0 && v.m == 0, 0)) return report(x, 1.0L / x, code::tgammal_pole);
    LD ax = negative ? -x : x;
    if (__builtin_expect(ax <= 0x1p-16384L, 0)) return report(x, 1.0L / opaque(x), code::tgammal_overflow);
    if (!negative) {
        if (__builtin_expect(x >= k_tgammal_over, 0))
            return report(x, opaque(0x1p16000L) * 0x1p16000L, code::tgammal_overflow);
        if (x <= 26.0L && x == LD(int(x))) return kFactorial[int(x) - 1];
    } else {
        if (neg_integer(x)) return report(x, x80::default_nan(), code::tgammal_pole);
        if (x < -1766.0L) {
            LD s = (uint64_t(-x) & 1) ? 1.0L : -1.0L;
            return s * opaque(0x1p-10000L) * 0x1p-10000L;
        }
    }
    Frame fr;
    LD xl = opaque(x);
    int sign = 1;
    Pair p = !negative ? lg_pos(xl) : lg_neg(xl, &sign);
    x80::ExpPair e = exp_of(p, sign);
    int k = e.k;
    // h + l rounds in the caller's mode (h is the pair's nearest value, l what it left); the
    // scaling is exact unless the result is subnormal, where the residual decides.
    return fr.finish<LD>(e.hi, e.lo, [k](LD h, LD l) {
        LD s = h + l;
        return x80::scale_pair(s, (h - s) + l, k);
    });
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, tgamma, (double x)) { return tgamma_core(x); }
TSR_BODY(float, tgammaf, (float x)) { return tgamma_core(x); }

// The names without tiers are defined once, in the ex unit (the only one this source has).
extern "C" {
// The reproducible forms: the same algorithm, every step extended arithmetic in
// round-to-nearest.
TSR_DEFINE(double, __bwr_tgamma, (double x)) { return tgamma_core<double, false>(x); }
TSR_DEFINE(float, __bwr_tgammaf, (float x)) { return tgamma_core<float, false>(x); }
TSR_DEFINE(long double, tgammal, (long double x)) { return tgammal_core(x); }
}
#endif

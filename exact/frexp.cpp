// Decomposition into exponent and significand: frexp, ilogb, logb and significand in every
// precision.  All four read the exponent field; a subnormal is first made normal by an exact
// product with 2^55 (float 2^25, extended 2^75) and the field corrected by as much.
//
// ilogb of zero and of a NaN return the values the system header names FP_ILOGB0 and
// FP_ILOGBNAN (both INT_MIN on x86-64 Linux), so that a program comparing with those names
// finds them; an infinity gives INT_MAX.  A zero reports the ilogb code (ERANGE in the
// default mode); logb of zero reports its own and gives -infinity, raising divide-by-zero.
#include "tsr/common.h"
#include "tsr/codes.h"
#include "tsr/format.h"
#include "tsr/report.h"
#include "tsr/guard.h"
#include "tsr/x87.h"

#include <climits>

using namespace tsr;

namespace {

constexpr int kIlogbZero = INT_MIN;  // FP_ILOGB0 of the system's <math.h>
constexpr int kIlogbNaN = INT_MIN;   // FP_ILOGBNAN of the system's <math.h>
constexpr int kIlogbInf = INT_MAX;

template <class T>
struct Lift;
template <>
struct Lift<double> {
    static constexpr int shift = 52, lift_bits = 55;
    static constexpr double lift = 0x1p55;
};
template <>
struct Lift<float> {
    static constexpr int shift = 23, lift_bits = 25;
    static constexpr float lift = 0x1p25f;
};

// The biased field of a finite non-zero x and its pattern, subnormals lifted.
template <class T>
inline int field_of(T &x, typename Format<T>::Bits &b) {
    using F = Format<T>;
    int f = int((b & F::exponent) >> Lift<T>::shift);
    if (f == 0) {
        x = x * Lift<T>::lift;
        b = F::bits(x);
        f = int((b & F::exponent) >> Lift<T>::shift) - Lift<T>::lift_bits;
    }
    return f;
}

// frexp: the fraction in [0.5, 1) with x's sign and the exponent that scales it back.  kHalf
// (tier e7) forms an infinity's and a NaN's result as x * 0.5 rather than x + x.
template <class T, bool kHalf>
inline T frexp_body(T x, int *e) {
    using F = Format<T>;
    using B = typename F::Bits;
    B b = F::bits(x);
    *e = 0;
    if ((b & F::exponent) == F::exponent) return kHalf ? x * T(0.5) : x + x;
    if ((b & F::abs) == 0) return x;
    int f = field_of(x, b);
    *e = f - (F::bias - 1);
    return F::from(B((b & ~F::exponent) | (B(F::bias - 1) << Lift<T>::shift)));
}

template <class T>
inline int ilogb_body(T x, int zero_code) {
    using F = Format<T>;
    typename F::Bits b = F::bits(x);
    if ((b & F::exponent) == F::exponent) return (b & F::mantissa) ? kIlogbNaN : kIlogbInf;
    if ((b & F::abs) == 0) {
        report(x, x, T(0), zero_code);
        return kIlogbZero;
    }
    return field_of(x, b) - F::bias;
}

// kDivide (tier e7) makes the -infinity of a zero by -1/0 (raising divide-by-zero); ex
// takes it from the constant and leaves the flag to the report's arithmetic.
template <class T, bool kDivide>
inline T logb_body(T x, int zero_code) {
    using F = Format<T>;
    typename F::Bits b = F::bits(x);
    if ((b & F::exponent) == F::exponent) return x * ((b & F::sign) ? T(-1) : T(1));
    if ((b & F::abs) == 0) {
        T r = kDivide ? T(-1) / opaque(T(0)) : F::from(F::sign | F::inf);
        if (!kDivide) raise_divbyzero();
        return report(x, x, r, zero_code);
    }
    return T(field_of(x, b) - F::bias);
}

template <class T, bool kTimesOne>
inline T significand_body(T x) {
    using F = Format<T>;
    using B = typename F::Bits;
    B b = F::bits(x);
    if ((b & F::exponent) == F::exponent) {
        if (b & F::mantissa) return kTimesOne ? x * T(1) : x + x;
        return x;
    }
    if ((b & F::abs) == 0) return x;
    field_of(x, b);
    return F::from(B((b & ~F::exponent) | (B(F::bias) << Lift<T>::shift)));
}

// ---- extended ----------------------------------------------------------------------------
// The field of a finite non-zero extended x, subnormals lifted by 2^75 (exact).
inline int field_l(long double &x, Ext &e) {
    int f = e.se & 0x7fff;
    if (f == 0) {
        X87Precision pc;
        x = opaque(x) * 0x1p75L;
        e = ext(opaque(x));
        f = int(e.se & 0x7fff) - 75;
    }
    return f;
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, frexp, (double x, int *e)) { return frexp_body<double, false>(x, e); }
TSR_BODY(float, frexpf, (float x, int *e)) { return frexp_body<float, false>(x, e); }
TSR_BODY(long double, frexpl, (long double x, int *e)) {
    Ext b = ext(x);
    *e = 0;
    if ((b.se & 0x7fff) == 0x7fff) return x + x;
    if ((b.se & 0x7fff) == 0 && b.m == 0) return x;
    int f = field_l(x, b);
    *e = f - 0x3ffe;
    return from_ext(b.m, uint16_t((b.se & 0x8000) | 0x3ffe));
}
TSR_BODY(int, ilogb, (double x)) { return ilogb_body(x, code::ilogb_argument_0); }
TSR_BODY(int, ilogbf, (float x)) { return ilogb_body(x, code::ilogbf_argument_0); }
TSR_BODY(double, logb, (double x)) { return logb_body<double, false>(x, code::logb_argument_0); }
TSR_BODY(float, logbf, (float x)) { return logb_body<float, false>(x, code::logbf_argument_0); }
TSR_BODY(double, significand, (double x)) { return significand_body<double, false>(x); }
TSR_BODY(float, significandf, (float x)) { return significand_body<float, false>(x); }

// The plain frexp is a body of its own beside the dispatching __libm_frexp.
TSR_DEFINE(double, frexp, (double x, int *e)) { return frexp_body<double, false>(x, e); }

TSR_ALIAS(double, __bwr_frexp, (double, int *), __libm_frexp_ex)
TSR_ALIAS(float, __bwr_frexpf, (float, int *), __libm_frexpf_ex)
TSR_ALIAS(int, __bwr_ilogbf, (float), __libm_ilogbf_ex)
TSR_ALIAS(float, __bwr_logbf, (float), __libm_logbf_ex)
TSR_ALIAS(double, __bwr_significand, (double), __libm_significand_ex)
TSR_ALIAS(float, __bwr_significandf, (float), __libm_significandf_ex)
// ilogb's and logb's reproducible forms form their special results as tier e7 does.
TSR_DEFINE(int, __bwr_ilogb, (double x)) { return ilogb_body(x, code::ilogb_argument_0); }
TSR_DEFINE(double, __bwr_logb, (double x)) { return logb_body<double, true>(x, code::logb_argument_0); }

TSR_DEFINE(int, ilogbl, (long double x)) {
    Ext b = ext(x);
    if ((b.se & 0x7fff) == 0x7fff) return (b.m << 1) ? kIlogbNaN : kIlogbInf;
    if ((b.se & 0x7fff) == 0 && b.m == 0) {
        report(x, x, 0.0L, code::ilogbl_argument_0);
        return kIlogbZero;
    }
    return field_l(x, b) - 0x3fff;
}
TSR_DEFINE(long double, logbl, (long double x)) {
    Ext b = ext(x);
    if ((b.se & 0x7fff) == 0x7fff) return x * ((b.se & 0x8000) ? -1.0L : 1.0L);
    if ((b.se & 0x7fff) == 0 && b.m == 0) {
        LD r = -1.0L / opaque(0.0L);
        return report(x, x, r, code::logbl_argument_0);
    }
    return LD(field_l(x, b) - 0x3fff);
}
TSR_DEFINE(long double, significandl, (long double x)) {
    Ext b = ext(x);
    if ((b.se & 0x7fff) == 0x7fff) return (b.m << 1) ? x + x : x;
    if ((b.se & 0x7fff) == 0 && b.m == 0) return x;
    field_l(x, b);
    return from_ext(b.m, uint16_t((b.se & 0x8000) | 0x3fff));
}
#endif

#if TSR_TIER_E7
TSR_BODY(double, frexp, (double x, int *e)) { return frexp_body<double, true>(x, e); }
TSR_BODY(int, ilogb, (double x)) { return ilogb_body(x, code::ilogb_argument_0); }
TSR_BODY(double, logb, (double x)) { return logb_body<double, true>(x, code::logb_argument_0); }
TSR_BODY(double, significand, (double x)) { return significand_body<double, true>(x); }
TSR_BODY(float, significandf, (float x)) { return significand_body<float, true>(x); }
#endif

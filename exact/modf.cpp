// modf in every precision: the integer part by clearing the fraction bits of the pattern
// (the surgery of trunc), the fraction as x less that part, which is exact.  Both parts
// carry the sign of x, also when zero, in every rounding mode: an integral x gives the zero
// of its sign directly rather than by a subtraction (x - x is -0 when rounding down).
#include "tsr/common.h"
#include "tsr/format.h"
#include "tsr/guard.h"
#include "tsr/x87.h"

using namespace tsr;

namespace {

template <class T>
struct Frac;
template <>
struct Frac<double> {
    static constexpr int shift = 52;
};
template <>
struct Frac<float> {
    static constexpr int shift = 23;
};

// kSignFromX (tier e7): the fraction is always computed and its sign bit then set from x;
// NaNs go through x * x.  ex returns the signed zero for an integral x and quiets a NaN by
// x + x.
template <class T, bool kSignFromX>
inline T modf_body(T x, T *ip) {
    using F = Format<T>;
    using B = typename F::Bits;
    constexpr int shift = Frac<T>::shift;
    B b = F::bits(x), s = b & F::sign;
    int k = int((b & F::exponent) >> shift) - F::bias;
    if (k < 0) {
        *ip = F::from(s);
        return x;
    }
    if (k >= shift) {
        if ((b & F::abs) > F::inf) {
            T q = kSignFromX ? x * x : x + x;
            *ip = q;
            return q;
        }
        *ip = x;  // integral, or infinite
        return F::from(s);
    }
    B ib = b & ~((B(1) << (shift - k)) - 1);
    T i = F::from(ib);
    *ip = i;
    if constexpr (kSignFromX) {
        T d = opaque(x) - i;
        return F::from((F::bits(d) & F::abs) | s);
    } else {
        if (ib == b) return F::from(s);
        return x - i;
    }
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, modf, (double x, double *ip)) { return modf_body<double, false>(x, ip); }
TSR_BODY(float, modff, (float x, float *ip)) { return modf_body<float, false>(x, ip); }

TSR_DEFINE(double, __bwr_modf, (double x, double *ip)) { return modf_body<double, false>(x, ip); }
TSR_ALIAS(float, __bwr_modff, (float, float *), __libm_modff_ex)

TSR_DEFINE(long double, modfl, (long double x, long double *ip)) {
    Ext e = ext(x);
    uint16_t s = e.se & 0x8000;
    int k = int(e.se & 0x7fff) - 0x3fff;
    if (k < 0) {
        *ip = from_ext(0, s);
        return x;
    }
    if (k >= 63) {
        if ((e.se & 0x7fff) == 0x7fff && (e.m << 1) != 0) {
            LD q = x + x;
            *ip = q;
            return q;
        }
        *ip = x;
        return from_ext(0, s);
    }
    uint64_t im = e.m & ~((uint64_t(1) << (63 - k)) - 1);
    LD i = from_ext(im, e.se);
    *ip = i;
    if (im == e.m) return from_ext(0, s);
    X87Precision pc;  // the difference is exact at 64 bits of precision
    return opaque(opaque(x) - i);
}
#endif

#if TSR_TIER_E7
TSR_BODY(double, modf, (double x, double *ip)) { return modf_body<double, true>(x, ip); }
#endif

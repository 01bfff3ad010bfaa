// remainder and remquo in every precision: x - n y with n the integer nearest x / y, ties
// to the even n, always exact.  The tiers:
//   ex   the integer division of the significands (rem_common.h), which also gives remquo
//        its quotient bits;
//   e7   the x87 partial remainder to nearest, fprem1, repeated until complete;
//   l9   the fused round-toward-zero reduction, the partial quotients' low bits telling
//        the parity, under a control word set to round toward zero; below an exponent
//        distance of 60 the integer division (one step of it);
//   z0   (and d1) the same split, the fused reduction with embedded round-toward-zero.
// remainderf: ex through the double ex body (its zero-divisor report is the double one), e7
// the integer division on the float significands, l9/z0/d1 the fused reduction on the
// widened values.  remainderl: fprem1.  remquol: the integer division of the 64-bit
// significands.
//
// A zero y reports, a NaN x included; an infinite x gives a NaN without a report.  remquo
// stores the low 31 bits of the rounded quotient's magnitude, negated when x and y differ
// in sign (0 for every special case).
#include "tsr/common.h"
#include "tsr/codes.h"
#include "tsr/format.h"
#include "tsr/report.h"
#include "tsr/x87.h"
#include "exact/rem_common.h"
#include "exact/fused_rem.h"


using namespace tsr;

namespace {

constexpr uint32_t kQuoMask = 0x7fffffffu;  // the quotient bits remquo keeps

// The special cases of every tier.  Returns true with the result in r when one applies.
template <class T>
inline bool rem_special(T x, T y, T &r, int zero_code) {
    using F = Format<T>;
    typename F::Bits ax = F::bits(x) & F::abs, ay = F::bits(y) & F::abs;
    if (ax > F::inf) {  // a NaN x: quieted, and reported when y is zero
        r = x + x;
        if (ay == 0) r = report(x, y, r, zero_code);
        return true;
    }
    if (ay > F::inf) {
        r = y + y;
        return true;
    }
    if (ay == 0) {
        r = report(x, y, opaque(y) / y, zero_code);
        return true;
    }
    if (ax == F::inf) {
        r = opaque(x) - x;
        return true;
    }
    if (ay == F::inf || ax == 0) {
        r = x;
        return true;
    }
    return false;
}

template <class T>
inline T rem_int(T x, T y) {
    uint64_t q;
    return rem::nearest(x, y, (Format<T>::bits(x) & Format<T>::sign) != 0, q);
}

// remquo of double or float through the integer division.
template <class T>
inline T remquo_body(T x, T y, int *quo, int zero_code) {
    using F = Format<T>;
    *quo = 0;
    T r;
    if (rem_special(x, y, r, zero_code)) return r;
    bool neg = (F::bits(x) & F::sign) != 0;
    uint64_t q;
    r = rem::nearest(x, y, neg, q);
    int32_t m = int32_t(uint32_t(q) & kQuoMask);
    *quo = ((F::bits(x) ^ F::bits(y)) & F::sign) ? -m : m;
    return r;
}

#if TSR_TIER_L9
inline double nearest_l9(double ax, double ay) {
    return rem::under_rz([&] { return rem::fused_nearest<rem::OpsL9>(opaque(ax), opaque(ay)); });
}
#endif

// The fused tiers share this frame: magnitudes in, the sign of x applied to the signed rest.
template <class Nearest>
inline double rem_fused(double x, double y, Nearest nearest) {
    double r = nearest(f64(bits(x) & 0x7fffffffffffffffull), f64(bits(y) & 0x7fffffffffffffffull));
    return f64(bits(r) ^ (bits(x) & 0x8000000000000000ull));
}
template <class Nearest>
inline float remf_fused(float x, float y, Nearest nearest) {
    double r = nearest(double(f32(bits(x) & 0x7fffffffu)), double(f32(bits(y) & 0x7fffffffu)));
    return f32(bits(float(r)) ^ (bits(x) & 0x80000000u));
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, remainder, (double x, double y)) {
    double r;
    if (rem_special(x, y, r, code::remainder_divisor_0)) return r;
    return rem_int(x, y);
}
TSR_BODY(float, remainderf, (float x, float y)) { return float(__libm_remainder_ex_local(x, y)); }
TSR_BODY(double, remquo, (double x, double y, int *quo)) {
    return remquo_body(x, y, quo, code::remquo_divisor_0);
}
// remquof runs the double division on the widened values, reporting as remquo.
TSR_BODY(float, remquof, (float x, float y, int *quo)) {
    return float(__libm_remquo_ex_local(x, y, quo));
}

TSR_DEFINE(double, __bwr_remainder, (double x, double y)) {
    double r;
    if (rem_special(x, y, r, code::remainder_divisor_0)) return r;
    return rem_int(x, y);
}
TSR_DEFINE(float, __bwr_remainderf, (float x, float y)) { return float(__libm_remainder_ex_local(x, y)); }
TSR_ALIAS(double, __bwr_remquo, (double, double, int *), __libm_remquo_ex)
TSR_ALIAS(float, __bwr_remquof, (float, float, int *), __libm_remquof_ex)

// ---- extended ----------------------------------------------------------------------------
namespace {
inline bool nan_l(const Ext &e) { return (e.se & 0x7fff) == 0x7fff && (e.m << 1) != 0; }
// Specials of remainderl and remquol: a zero y gives x for a NaN x, else a NaN and the
// code; a NaN operand gives x * y, an infinite x a NaN, an infinite y (or a zero x) x.
inline bool reml_special(long double x, long double y, long double &r, int zero_code) {
    Ext a = ext(x), b = ext(y);
    if ((b.se & 0x7fff) == 0 && b.m == 0) {
        r = nan_l(a) ? x : report(x, y, opaque(y) / y, zero_code);
        return true;
    }
    if (nan_l(a) || nan_l(b)) {
        r = x * y;
        return true;
    }
    if ((a.se & 0x7fff) == 0x7fff) {
        r = opaque(x) - x;
        return true;
    }
    if ((b.se & 0x7fff) == 0x7fff || ((a.se & 0x7fff) == 0 && a.m == 0)) {
        r = x;
        return true;
    }
    return false;
}
}  // namespace

TSR_DEFINE(long double, remainderl, (long double x, long double y)) {
    long double r;
    if (reml_special(x, y, r, code::remainderl_divisor_0)) return r;
    return rem::x87_remainder<true>(x, y);
}

// The remainder and the low 31 bits of the quotient of finite non-zero extended values (the
// integer division on their 64-bit significands); the quotient's sign is x's times y's.
TSR_DEFINE(long double, __libm_remquol, (long double x, long double y, int *quo)) {
    Ext a = ext(x), b = ext(y);
    uint64_t q;
    long double r = rem::nearest(x, y, (a.se & 0x8000) != 0, q);
    int32_t m = int32_t(uint32_t(q) & kQuoMask);
    *quo = ((a.se ^ b.se) & 0x8000) ? -m : m;
    return r;
}

TSR_DEFINE(long double, remquol, (long double x, long double y, int *quo)) {
    *quo = 0;
    long double r;
    if (reml_special(x, y, r, code::remquol_divisor_0)) return r;
    return __libm_remquol_local(x, y, quo);
}
#endif

#if TSR_TIER_E7
TSR_BODY(double, remainder, (double x, double y)) {
    double r;
    if (rem_special(x, y, r, code::remainder_divisor_0)) return r;
    return double(rem::x87_remainder<true>(x, y));
}
TSR_BODY(float, remainderf, (float x, float y)) {
    float r;
    if (rem_special(x, y, r, code::remainderf_divisor_0)) return r;
    return rem_int(x, y);
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
// Exponent fields closer than this: the integer division needs one divq, cheaper than the
// fused reduction (l9: its two control-word loads; z0, d1: its chain of a rounding-toward-
// zero division, a truncation and a fused step, measured a half slower in throughput and
// latency on the AMD core of docs/performance/avx512.md).
constexpr uint64_t kOneDivision = 60;
inline bool one_division(double x, double y) {
    uint64_t ax = bits(x) & 0x7fffffffffffffffull, ay = bits(y) & 0x7fffffffffffffffull;
    return ax - ay < (kOneDivision << 52);
}
#endif

#if TSR_TIER_L9
TSR_BODY(double, remainder, (double x, double y)) {
    double r;
    if (rem_special(x, y, r, code::remainder_divisor_0)) return r;
    if (one_division(x, y)) return rem_int(x, y);
    return rem_fused(x, y, nearest_l9);
}
TSR_BODY(float, remainderf, (float x, float y)) {
    float r;
    if (rem_special(x, y, r, code::remainderf_divisor_0)) return r;
    return remf_fused(x, y, nearest_l9);
}
#endif

#if TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, remainder, (double x, double y)) {
    double r;
    if (rem_special(x, y, r, code::remainder_divisor_0)) return r;
    if (one_division(x, y)) return rem_int(x, y);
    return rem_fused(x, y, rem::fused_nearest<rem::OpsZ0>);
}
TSR_BODY(float, remainderf, (float x, float y)) {
    float r;
    if (rem_special(x, y, r, code::remainderf_divisor_0)) return r;
    return remf_fused(x, y, rem::fused_nearest<rem::OpsZ0>);
}
#endif

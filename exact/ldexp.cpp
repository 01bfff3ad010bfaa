// Scaling by a power of two: ldexp, scalbn, scalbln (integer counts) and scalb (a floating
// count) in every precision.
//
// The count is clamped to +-65536 first: beyond that every result has left the range
// anyway, and the sum with the exponent field then stays far inside 32 bits, so
// ldexp(1, INT_MIN) and scalbln with a 64-bit count are well defined.  A subnormal x is
// first made normal by an exact product with 2^55 (float 2^25, extended 2^75) and its field
// lowered by as much.  A result in the normal range is the pattern with its new field,
// exact.  A subnormal result gets the field of the result times 2^55 and one product with
// 2^-55, the single rounding it needs (in the caller's mode, raising what the product
// raises).  A result beyond the range is made by squaring 2^+-1000 (float 2^+-100, extended
// 2^+-10000) with x's sign on one factor, so that the caller's mode decides between infinity
// and the largest finite value (zero and the smallest subnormal) and the flags fall.
//
// Reports: overflow always; underflow when the result left the range altogether, and when a
// subnormal x was scaled down (even exactly); a normal x whose result merely became
// subnormal makes no report.
#include "tsr/common.h"
#include "tsr/codes.h"
#include "tsr/format.h"
#include "tsr/report.h"
#include "tsr/x87.h"

using namespace tsr;

namespace {

constexpr long kCountClamp = 65536;  // any count beyond leaves every format's range

template <class T>
struct Scale;
template <>
struct Scale<double> {
    static constexpr int shift = 52, top = 0x7ff, sub_lift = 55, tiny_k = -53;
    static constexpr double lift = 0x1p55, drop = 0x1p-55, huge = 0x1p1000, tiny = 0x1p-1000;
};
template <>
struct Scale<float> {
    static constexpr int shift = 23, top = 0xff, sub_lift = 25, tiny_k = -24;
    static constexpr float lift = 0x1p25f, drop = 0x1p-25f, huge = 0x1p100f, tiny = 0x1p-100f;
};

template <class T>
inline T with_sign(T v, typename Format<T>::Bits b) {
    return Format<T>::from(Format<T>::bits(v) | (b & Format<T>::sign));
}

enum class Reports { all, none, scalb_e7 };

// x * 2^n for a double or float x.  kPatternAdd (tier e7) places the new exponent by one
// integer add on the whole pattern instead of rebuilding the field.
template <class T, bool kPatternAdd = false, Reports kRep = Reports::all>
inline T scale(T x, long n, T rep_n, int overflow_code, int underflow_code) {
    using F = Format<T>;
    using S = Scale<T>;
    using B = typename F::Bits;
    B b = F::bits(x);
    long e = long((b & F::exponent) >> S::shift);
    if (e == S::top) return x;  // infinity or NaN, unchanged (a signalling NaN unquieted)
    bool subnormal = false;
    if (e == 0) {
        if ((b & F::abs) == 0) return x;
        x = x * S::lift;
        b = F::bits(x);
        e = long((b & F::exponent) >> S::shift) - S::sub_lift;
        subnormal = true;
    }
    if (n > kCountClamp) n = kCountClamp;
    if (n < -kCountClamp) n = -kCountClamp;
    long k = e + n;
    if (k >= S::top) {
        T r = with_sign(S::huge, b) * S::huge;
        if constexpr (kRep == Reports::none) return r;
        return report(x, rep_n, r, overflow_code);
    }
    if (k > 0) {
        if constexpr (kPatternAdd) return F::from(B(b + (B(n + (subnormal ? -S::sub_lift : 0)) << S::shift)));
        return F::from(B((b & ~F::exponent) | (B(k) << S::shift)));
    }
    if (k > S::tiny_k) {
        T r = F::from(B((b & ~F::exponent) | (B(k + S::sub_lift) << S::shift))) * S::drop;
        if constexpr (kRep == Reports::all) {
            if (subnormal && n < 0) return report(x, rep_n, r, underflow_code);
        } else if constexpr (kRep == Reports::scalb_e7) {
            if ((F::bits(r) & F::abs) == 0) return report(x, rep_n, r, underflow_code);
        }
        return r;
    }
    T r = with_sign(S::tiny, b) * S::tiny;
    if constexpr (kRep == Reports::none) return r;
    return report(x, rep_n, r, underflow_code);
}

// The same on the 80-bit format: 15-bit fields, an explicit integer bit, 2^75 to normalise
// a subnormal and a window of 64 bits below the normal range.
inline long double scale_l(long double x, long n, long double rep_n, int overflow_code,
                           int underflow_code, bool report_range = true) {
    Ext e = ext(x);
    long f = e.se & 0x7fff;
    if (f == 0x7fff) return 1.0L * x;
    X87Frame fr;
    bool subnormal = false;
    if (f == 0) {
        if (e.m == 0) return x;
        x = opaque(x) * 0x1p75L;
        e = ext(x);
        f = long(e.se & 0x7fff) - 75;
        subnormal = true;
    }
    if (n > kCountClamp) n = kCountClamp;
    if (n < -kCountClamp) n = -kCountClamp;
    long k = f + n;
    uint16_t s = e.se & 0x8000;
    if (k >= 0x7fff) {
        LD r = fr.finish(opaque(from_ext(0x8000000000000000ull, uint16_t(s | (0x3fff + 10000)))) * 0x1p10000L);
        return report_range ? report(x, rep_n, r, overflow_code) : r;
    }
    if (k > 0) return from_ext(e.m, uint16_t(s | k));
    if (k > -64) {
        LD r = fr.finish(opaque(from_ext(e.m, uint16_t(s | (k + 75)))) * 0x1p-75L);
        if (subnormal && n < 0 && report_range) return report(x, rep_n, r, underflow_code);
        return r;
    }
    LD r = fr.finish(opaque(from_ext(0x8000000000000000ull, uint16_t(s | (0x3fff - 10000)))) * 0x1p-10000L);
    return report_range ? report(x, rep_n, r, underflow_code) : r;
}

// The integer count of a floating n, or nothing when n is not an integer.  |n| of 2^16 or
// more is clamped: every result is then out of range (or x is zero, infinite or NaN).
template <class T>
inline bool integral_count(T n, long &k) {
    T a = n < 0 ? -n : n;
    if (a >= T(65536)) {
        if (a < T(0x1p52) && T(long(a)) != a) return false;
        k = n < 0 ? -kCountClamp : kCountClamp;
        return true;
    }
    long t = long(a);
    if (T(t) != a) return false;
    k = n < 0 ? -t : t;
    return true;
}

inline bool is_nan(double x) { return (bits(x) & Format<double>::abs) > Format<double>::inf; }
inline bool is_nan(float x) { return (bits(x) & Format<float>::abs) > Format<float>::inf; }

// scalb: the floating count's special cases, then the integer steps.  A count that is not
// an integer gives a NaN: tier ex takes it from the square root of a negative number, whose
// domain report it makes its own; tier e7 (and scalbf, scalbl) from 0 * infinity, no report.
template <class T, bool kSqrtNaN, Reports kRep>
inline T scalb_body(T x, T n, int overflow_code, int underflow_code) {
    using F = Format<T>;
    auto bad = [&]() -> T {
        if constexpr (kSqrtNaN) return T(__libm_sqrt_ex_local(-double(n < 0 ? -n : n) - 1.0));
        else return opaque(T(0)) * F::from(F::inf);
    };
    if (is_nan(x) || is_nan(n)) return x + n;
    typename F::Bits ax = F::bits(x) & F::abs, an = F::bits(n) & F::abs;
    if (an == F::inf) {
        bool pos = n > 0;
        if (ax == 0) return pos ? bad() : x;
        if (ax == F::inf) return pos ? x : bad();
        return pos ? with_sign(F::from(F::inf), F::bits(x)) : with_sign(T(0), F::bits(x));
    }
    if (an == 0) return x;
    if (ax == F::inf) {
        // an infinite x keeps its value, but for a count at the foot of the range
        return an <= F::mantissa + 1 ? bad() : x;
    }
    long k;
    if (!integral_count(n, k)) return bad();
    return scale<T, false, kRep>(x, k, n, overflow_code, underflow_code);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, ldexp, (double x, int n)) {
    return scale<double>(x, n, double(n), code::ldexp_overflow, code::ldexp_underflow);
}
TSR_BODY(double, scalbn, (double x, int n)) {
    return scale<double>(x, n, double(n), code::scalbn_overflow, code::scalbn_underflow);
}
TSR_BODY(double, scalbln, (double x, long n)) {
    return scale<double>(x, n, double(n), code::scalbln_overflow, code::scalbln_underflow);
}
TSR_BODY(double, scalb, (double x, double n)) {
    return scalb_body<double, true, Reports::none>(x, n, code::scalb_overflow, code::scalb_underflow);
}
TSR_BODY(float, __quill_ldexpf, (float x, int n)) {
    return scale<float>(x, n, float(n), code::ldexpf_overflow, code::ldexpf_underflow);
}
TSR_BODY(float, scalbnf, (float x, int n)) {
    return scale<float>(x, n, float(n), code::scalbnf_overflow, code::scalbnf_underflow);
}
TSR_BODY(float, scalblnf, (float x, long n)) {
    return scale<float>(x, n, float(n), code::scalblnf_overflow, code::scalblnf_underflow);
}
TSR_BODY(float, scalbf, (float x, float n)) {
    return scalb_body<float, false, Reports::scalb_e7>(x, n, code::scalbf_overflow, code::scalbf_underflow);
}

// Reproducible forms: ldexpf's and the other float ones are their entries' bodies; the
// double ones copies of ex (scalb's with its NaN formed without the square root's report).
TSR_ALIAS(float, __bwr_ldexpf, (float, int), __libm_ldexpf_ex)
TSR_ALIAS(float, __bwr_scalbnf, (float, int), __libm_scalbnf_ex)
TSR_ALIAS(float, __bwr_scalblnf, (float, long), __libm_scalblnf_ex)
TSR_ALIAS(float, __bwr_scalbf, (float, float), __libm_scalbf_ex)
TSR_DEFINE(double, __bwr_ldexp, (double x, int n)) {
    return scale<double>(x, n, double(n), code::ldexp_overflow, code::ldexp_underflow);
}
TSR_DEFINE(double, __bwr_scalbn, (double x, int n)) {
    return scale<double>(x, n, double(n), code::scalbn_overflow, code::scalbn_underflow);
}
TSR_DEFINE(double, __bwr_scalbln, (double x, long n)) {
    return scale<double>(x, n, double(n), code::scalbln_overflow, code::scalbln_underflow);
}
TSR_DEFINE(double, __bwr_scalb, (double x, double n)) {
    return scalb_body<double, true, Reports::none>(x, n, code::scalb_overflow, code::scalb_underflow);
}

// ---- extended ----------------------------------------------------------------------------
TSR_DEFINE(long double, ldexpl, (long double x, int n)) {
    return scale_l(x, n, LD(n), code::ldexpl_overflow, code::ldexpl_underflow);
}
TSR_DEFINE(long double, scalbnl, (long double x, int n)) {
    return scale_l(x, n, LD(n), code::scalbnl_overflow, code::scalbnl_underflow);
}
TSR_DEFINE(long double, scalblnl, (long double x, long n)) {
    return scale_l(x, n, LD(n), code::scalblnl_overflow, code::scalblnl_underflow);
}
TSR_DEFINE(long double, scalbl, (long double x, long double n)) {
    Ext ex_ = ext(x), en = ext(n);
    bool xnan = (ex_.se & 0x7fff) == 0x7fff && (ex_.m << 1) != 0;
    bool nnan = (en.se & 0x7fff) == 0x7fff && (en.m << 1) != 0;
    if (xnan || nnan) return x + n;
    bool xinf = (ex_.se & 0x7fff) == 0x7fff, ninf = (en.se & 0x7fff) == 0x7fff;
    bool xzero = (ex_.se & 0x7fff) == 0 && ex_.m == 0;
    LD nan_v = opaque(0.0L) * LD(__builtin_infl());
    if (ninf) {
        bool pos = !(en.se & 0x8000);
        if (xzero) return pos ? nan_v : x;
        if (xinf) return pos ? x : nan_v;
        return pos ? copysignl_local(__builtin_infl(), x) : copysignl_local(0.0L, x);
    }
    if ((en.se & 0x7fff) == 0 && en.m == 0) return x;
    if (xinf) return (en.se & 0x7fff) <= 1 ? nan_v : x;
    LD a = n < 0 ? -n : n;
    long k;
    if (a >= 65536.0L) {
        if (a < 0x1p63L && LD((long long)a) != a) return nan_v;
        k = n < 0 ? -kCountClamp : kCountClamp;
    } else {
        long t = long(a);
        if (LD(t) != a) return nan_v;
        k = n < 0 ? -t : t;
    }
    return scale_l(x, k, n, code::scalbl_overflow, code::scalbl_underflow);
}
#endif

#if TSR_TIER_E7
TSR_BODY(double, ldexp, (double x, int n)) {
    return scale<double, true>(x, n, double(n), code::ldexp_overflow, code::ldexp_underflow);
}
TSR_BODY(double, scalbn, (double x, int n)) {
    return scale<double, true>(x, n, double(n), code::scalbn_overflow, code::scalbn_underflow);
}
TSR_BODY(double, scalbln, (double x, long n)) {
    return scale<double, true>(x, n, double(n), code::scalbln_overflow, code::scalbln_underflow);
}
TSR_BODY(double, scalb, (double x, double n)) {
    return scalb_body<double, false, Reports::scalb_e7>(x, n, code::scalb_overflow, code::scalb_underflow);
}
#endif

// One step along the representable numbers: nextafter and nexttoward in every precision,
// and the nexttoward forms with a double target (__libm_nexttoward64, ...64f, ...64l).
//
// The step is integer arithmetic on the pattern: the magnitude goes up by one unit when x
// lies on the zero side of y, else down; a carry out of the fraction moves the exponent and
// so reaches infinity or leaves the subnormals by itself.  From a zero the step gives the
// smallest subnormal of y's sign; where the processor treats subnormal operands as zero (a
// set DAZ bit, seen because the new value compares equal to zero) the step goes on to the
// smallest normal number instead and makes no report.  A result that reaches infinity
// reports overflow; one that is subnormal (or zero) reports underflow.  Tier ex leaves the
// flags to the report; tier e7 raises overflow or underflow by a product first.
#include "tsr/common.h"
#include "tsr/codes.h"
#include "tsr/format.h"
#include "tsr/report.h"
#include "tsr/x87.h"

using namespace tsr;

namespace {

template <class T>
inline bool is_nan(T x) {
    using F = Format<T>;
    return (F::bits(x) & F::abs) > F::inf;
}
inline bool is_nan(long double x) {
    Ext e = ext(x);
    return (e.se & 0x7fff) == 0x7fff && (e.m << 1) != 0;
}

// x stepped toward y (T double or float; Y the target's type: T, double or long double).
template <bool kRaise, class T, class Y>
inline T step(T x, Y y, int overflow_code, int underflow_code) {
    using F = Format<T>;
    if (is_nan(x) || is_nan(y)) return T(y + Y(x));
    if (Y(x) == y) return T(y);  // equal: y itself, so that a zero takes y's sign
    typename F::Bits b = F::bits(x);
    T r;
    if ((b & F::abs) == 0) {
        bool neg = y < Y(0);
        r = F::from((neg ? F::sign : 0) | 1);
        // Under DAZ the hardware compares the smallest subnormal equal to zero.
        volatile T probe = r;
        if (probe == T(0)) return F::from((neg ? F::sign : 0) | (F::mantissa + 1));
    } else {
        bool up = (Y(x) < y) == ((b & F::sign) == 0);  // away from zero
        r = F::from(up ? b + 1 : b - 1);
    }
    typename F::Bits field = F::bits(r) & F::exponent;
    if (field == F::exponent) {
        if constexpr (kRaise) raise_overflow();  // 2^1023 squared
        return report(x, T(y), r, overflow_code);
    }
    if (field == 0) {
        if constexpr (kRaise) raise_underflow();  // 2^-1022 squared
        return report(x, T(y), r, underflow_code);
    }
    return r;
}

// The extended step: the 64-bit significand with its explicit integer bit, whose carry goes
// into the exponent word (and whose borrow out of 2^63 comes from it).
template <class Y>
inline long double step_l(long double x, Y y, int overflow_code, int underflow_code) {
    if (is_nan(x) || is_nan(y)) return (long double)y + x;
    if ((long double)y == x) return (long double)y;
    Ext e = ext(x);
    uint16_t s = e.se & 0x8000, f = e.se & 0x7fff;
    uint64_t m = e.m;
    if (f == 0 && m == 0) {
        s = y < Y(0) ? 0x8000 : 0;
        m = 1;
    } else if ((x < (long double)y) == (s == 0)) {  // magnitude up
        if (f == 0) {
            if (++m == 0x8000000000000000ull) f = 1;  // the smallest normal
        } else if (++m == 0) {
            m = 0x8000000000000000ull;
            ++f;
        }
    } else {  // magnitude down
        if (f == 0) {
            --m;
        } else if (m == 0x8000000000000000ull) {
            --f;
            m = f == 0 ? 0x7fffffffffffffffull : 0xffffffffffffffffull;
        } else {
            --m;
        }
    }
    long double r = from_ext(m, uint16_t(s | f));
    long double yl = (long double)y;
    if (f == 0x7fff) return report(x, yl, r, overflow_code);
    if (f == 0) return report(x, yl, r, underflow_code);
    return r;
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, nextafter, (double x, double y)) {
    return step<false>(x, y, code::nextafter_overflow, code::nextafter_underflow);
}
TSR_BODY(float, nextafterf, (float x, float y)) {
    return step<false>(x, y, code::nextafterf_overflow, code::nextafterf_underflow);
}
TSR_BODY(double, nexttoward, (double x, long double y)) {
    return step<false>(x, y, code::nexttoward_overflow, code::nexttoward_underflow);
}
TSR_BODY(float, nexttowardf, (float x, long double y)) {
    return step<false>(x, y, code::nexttowardf_overflow, code::nexttowardf_underflow);
}

// The reproducible forms: copies of ex (nextafter's forms its special results alike).
TSR_DEFINE(double, __bwr_nextafter, (double x, double y)) {
    return step<false>(x, y, code::nextafter_overflow, code::nextafter_underflow);
}
TSR_DEFINE(float, __bwr_nextafterf, (float x, float y)) {
    return step<false>(x, y, code::nextafterf_overflow, code::nextafterf_underflow);
}
TSR_DEFINE(double, __bwr_nexttoward, (double x, long double y)) {
    return step<false>(x, y, code::nexttoward_overflow, code::nexttoward_underflow);
}
TSR_DEFINE(float, __bwr_nexttowardf, (float x, long double y)) {
    return step<false>(x, y, code::nexttowardf_overflow, code::nexttowardf_underflow);
}

// nexttoward with a double target.
TSR_DEFINE(double, __libm_nexttoward64, (double x, double y)) {
    return step<false>(x, y, code::nexttoward_overflow, code::nexttoward_underflow);
}
TSR_DEFINE(float, __libm_nexttoward64f, (float x, double y)) {
    return step<false>(x, y, code::nexttowardf_overflow, code::nexttowardf_underflow);
}
// An extended x toward a double y: a body of its own, since here long double is wider than
// double and x keeps its 64-bit significand.
TSR_DEFINE(long double, __libm_nexttoward64l, (long double x, double y)) {
    return step_l(x, y, code::nexttowardl_overflow, code::nexttowardl_underflow);
}

TSR_DEFINE(long double, nextafterl, (long double x, long double y)) {
    return step_l(x, y, code::nextafterl_overflow, code::nextafterl_underflow);
}
TSR_DEFINE(long double, nexttowardl, (long double x, long double y)) {
    return step_l(x, y, code::nexttowardl_overflow, code::nexttowardl_underflow);
}
#endif

#if TSR_TIER_E7
TSR_BODY(double, nextafter, (double x, double y)) {
    return step<true>(x, y, code::nextafter_overflow, code::nextafter_underflow);
}
TSR_BODY(float, nextafterf, (float x, float y)) {
    return step<true>(x, y, code::nextafterf_overflow, code::nextafterf_underflow);
}
TSR_BODY(double, nexttoward, (double x, long double y)) {
    return step<true>(x, y, code::nexttoward_overflow, code::nexttoward_underflow);
}
TSR_BODY(float, nexttowardf, (float x, long double y)) {
    return step<true>(x, y, code::nexttowardf_overflow, code::nexttowardf_underflow);
}
#endif

// Classification and quiet comparison of float, double, 80-bit extended and binary128
// values, as real functions.
//
// Everything is decided on the integer bit pattern: no floating-point operation runs on
// the operand, so a signalling NaN is classified without raising anything, a subnormal
// raises no denormal-operand flag, and denormals-are-zero does not change an answer.
// The one hardware operation is the quiet compare that gives a float or double
// signalling NaN operand of an ordered comparison its invalid exception, as an ordered
// comparison of that operand would. Extended and binary128 comparisons never raise.
//
// Results of the classify family are the system's FP_* numbers; isinf gives +1 or -1 by
// the sign of the infinity; the others give exactly 0 or 1.
//
// Extended values carry an explicit integer bit, so some patterns are not canonical. They
// have fixed classes here: exponent all ones with anything but the bare integer bit
// (pseudo-infinity, pseudo-NaN) is a NaN; a non-zero exponent with the integer bit clear
// (an unnormal, or a pseudo-zero) is finite, subnormal for fpclassify and not normal; a
// zero exponent with the integer bit set (a pseudo-denormal) is subnormal. Comparisons
// order these by the value their bits denote.
#include "tsr/common.h"

namespace {

// The system's FP_* numbers (<math.h>); the tests hold them to the header.
constexpr int kNan = 0, kInfinite = 1, kZero = 2, kSubnormal = 3, kNormal = 4;

// ---- order keys ------------------------------------------------------------------------
// A signed integer that orders non-NaN values as their values order: the magnitude with
// the sign applied, so +0 and -0 both give 0.
inline int32_t key(uint32_t b) {
    int32_t m = int32_t(b & 0x7fffffffu);
    return (b >> 31) ? -m : m;
}
inline int64_t key(uint64_t b) {
    int64_t m = int64_t(b & 0x7fffffffffffffffull);
    return (b >> 63) ? -m : m;
}
inline __int128 key(tsr::Q q) {
    __int128 m = (__int128(q.hi & 0x7fffffffffffffffull) << 64) | q.lo;
    return (q.hi >> 63) ? -m : m;
}
// Extended: the significand is normalised first (unnormals and pseudo-denormals denote
// the same values as canonical patterns), then the exponent ranks above the significand.
inline __int128 key(tsr::Ext e) {
    int ex = e.se & 0x7fff;
    uint64_t s = e.m;
    if (s == 0) return 0;
    if (ex == 0) ex = 1;                 // denormals share the smallest normal exponent
    int n = __builtin_clzll(s);
    s <<= n;
    ex -= n;                             // >= -62
    __int128 m = (__int128(ex + 64) << 64) | s;
    return (e.se & 0x8000) ? -m : m;
}

// ---- NaN tests -------------------------------------------------------------------------
inline bool is_nan(uint32_t b) { return (b & 0x7fffffffu) > 0x7f800000u; }
inline bool is_nan(uint64_t b) { return (b & 0x7fffffffffffffffull) > 0x7ff0000000000000ull; }
inline bool is_nan(tsr::Ext e) { return (e.se & 0x7fff) == 0x7fff && e.m != 0x8000000000000000ull; }
inline uint64_t compress(tsr::Q q) { return (q.hi & 0x7fffffffffffffffull) | (q.lo != 0); }
inline bool is_nan(tsr::Q q) { return compress(q) > 0x7fff000000000000ull; }

// A signalling NaN operand meets a quiet compare: the hardware raises invalid for it
// (and traps, when invalid is unmasked), a quiet NaN passes silently.
inline void signal_if_snan(float x) {
    uint32_t b = tsr::bits(x);
    if (is_nan(b) && !(b & 0x00400000u)) asm volatile("ucomiss %0, %0" : : "x"(x) : "cc");
}
inline void signal_if_snan(double x) {
    uint64_t b = tsr::bits(x);
    if (is_nan(b) && !(b & 0x0008000000000000ull)) asm volatile("ucomisd %0, %0" : : "x"(x) : "cc");
}

enum Rel { GT, GE, LT, LE, LG };
template <Rel R, class K>
inline int holds(K a, K b) {
    switch (R) {
    case GT: return a > b;
    case GE: return a >= b;
    case LT: return a < b;
    case LE: return a <= b;
    case LG: return a != b;
    }
    return 0;
}

template <Rel R, class T>
inline int ordered_sse(T x, T y) {
    auto a = tsr::bits(x), b = tsr::bits(y);
    if (is_nan(a) || is_nan(b)) {
        signal_if_snan(x);
        signal_if_snan(y);
        return 0;
    }
    return holds<R>(key(a), key(b));
}
template <Rel R>
inline int ordered_ext(long double x, long double y) {
    tsr::Ext a = tsr::ext(x), b = tsr::ext(y);
    if (is_nan(a) || is_nan(b)) return 0;
    return holds<R>(key(a), key(b));
}
template <Rel R>
inline int ordered_q(__float128 x, __float128 y) {
    tsr::Q a = tsr::qbits(x), b = tsr::qbits(y);
    if (is_nan(a) || is_nan(b)) return 0;
    return holds<R>(key(a), key(b));
}

}  // namespace

// The further names of a function, at its address.
#define TSR_NAMES_UD(base, params)                                                     \
    TSR_ALIAS(int, __##base, params, base)                                              \
    TSR_ALIAS(int, base##d, params, base)                                               \
    TSR_ALIAS(int, __##base##d, params, base)
#define TSR_NAMES_U(base, params) TSR_ALIAS(int, __##base, params, base)

// ---- classify ----------------------------------------------------------------------------
TSR_DEFINE(int, fpclassify, (double x)) {
    uint64_t m = tsr::bits(x) & 0x7fffffffffffffffull;
    uint32_t h = uint32_t(m >> 32);
    if (h >= 0x7ff00000u) return m < 0x7ff0000000000001ull ? kInfinite : kNan;
    if (h < 0x00100000u) return m == 0 ? kZero : kSubnormal;
    return kNormal;
}
TSR_NAMES_UD(fpclassify, (double x))

TSR_DEFINE(int, fpclassifyf, (float x)) {
    uint32_t m = tsr::bits(x) & 0x7fffffffu;
    if (m >= 0x7f800000u) return m == 0x7f800000u ? kInfinite : kNan;
    if (m < 0x00800000u) return m == 0 ? kZero : kSubnormal;
    return kNormal;
}
TSR_NAMES_U(fpclassifyf, (float x))

TSR_DEFINE(int, fpclassifyl, (long double x)) {
    tsr::Ext e = tsr::ext(x);
    unsigned ex = e.se & 0x7fff;
    if (ex == 0x7fff) return e.m == 0x8000000000000000ull ? kInfinite : kNan;
    if (ex == 0) return e.m == 0 ? kZero : kSubnormal;
    return (e.m >> 63) ? kNormal : kSubnormal;
}
TSR_NAMES_U(fpclassifyl, (long double x))

TSR_DEFINE(int, __fpclassifyq, (__float128 x)) {
    tsr::Q q = tsr::qbits(x);
    uint64_t c = compress(q);
    if (c >= 0x7fff000000000000ull) return c == 0x7fff000000000000ull ? kInfinite : kNan;
    if ((c >> 48) == 0) return c == 0 ? kZero : kSubnormal;
    return kNormal;
}

// ---- finite --------------------------------------------------------------------------------
// Exponent field not all ones; in extended that is the exponent alone.
TSR_DEFINE(int, finite, (double x)) { return (tsr::hi(x) & 0x7ff00000u) != 0x7ff00000u; }
TSR_NAMES_UD(finite, (double x))
TSR_ALIAS(int, isfinite, (double x), finite)
TSR_NAMES_UD(isfinite, (double x))

TSR_DEFINE(int, finitef, (float x)) { return (tsr::bits(x) & 0x7f800000u) != 0x7f800000u; }
TSR_NAMES_U(finitef, (float x))
TSR_ALIAS(int, isfinitef, (float x), finitef)
TSR_NAMES_U(isfinitef, (float x))

TSR_DEFINE(int, finitel, (long double x)) { return (tsr::ext(x).se & 0x7fff) != 0x7fff; }
TSR_NAMES_U(finitel, (long double x))
TSR_ALIAS(int, isfinitel, (long double x), finitel)
TSR_NAMES_U(isfinitel, (long double x))

TSR_DEFINE(int, __isfiniteq, (__float128 x)) {
    return (tsr::qbits(x).hi & 0x7fff000000000000ull) != 0x7fff000000000000ull;
}

// ---- isinf ---------------------------------------------------------------------------------
TSR_DEFINE(int, isinf, (double x)) {
    uint64_t b = tsr::bits(x);
    if ((b & 0x7fffffffffffffffull) != 0x7ff0000000000000ull) return 0;
    return (b >> 63) ? -1 : 1;
}
TSR_NAMES_UD(isinf, (double x))

TSR_DEFINE(int, isinff, (float x)) {
    uint32_t b = tsr::bits(x);
    if ((b & 0x7fffffffu) != 0x7f800000u) return 0;
    return (b >> 31) ? -1 : 1;
}
TSR_NAMES_U(isinff, (float x))

TSR_DEFINE(int, isinfl, (long double x)) {
    tsr::Ext e = tsr::ext(x);
    if ((e.se & 0x7fff) != 0x7fff || e.m != 0x8000000000000000ull) return 0;
    return (e.se & 0x8000) ? -1 : 1;
}
TSR_NAMES_U(isinfl, (long double x))

TSR_DEFINE(int, __isinfq, (__float128 x)) {
    tsr::Q q = tsr::qbits(x);
    if (compress(q) != 0x7fff000000000000ull) return 0;
    return (q.hi >> 63) ? -1 : 1;
}

// ---- isnan ---------------------------------------------------------------------------------
TSR_DEFINE(int, isnan, (double x)) { return is_nan(tsr::bits(x)); }
TSR_NAMES_UD(isnan, (double x))
TSR_DEFINE(int, isnanf, (float x)) { return is_nan(tsr::bits(x)); }
TSR_NAMES_U(isnanf, (float x))
TSR_DEFINE(int, isnanl, (long double x)) { return is_nan(tsr::ext(x)); }
TSR_NAMES_U(isnanl, (long double x))
TSR_DEFINE(int, __isnanq, (__float128 x)) { return is_nan(tsr::qbits(x)); }

// ---- isnormal ------------------------------------------------------------------------------
// One unsigned range test: exponent fields 1 .. max-1 map to 0 .. max-2.
TSR_DEFINE(int, isnormal, (double x)) {
    return ((tsr::hi(x) & 0x7ff00000u) - 0x00100000u) < 0x7fe00000u;
}
TSR_NAMES_UD(isnormal, (double x))
TSR_DEFINE(int, isnormalf, (float x)) {
    return ((tsr::bits(x) & 0x7fffffffu) - 0x00800000u) < 0x7f000000u;
}
TSR_NAMES_U(isnormalf, (float x))
TSR_DEFINE(int, isnormall, (long double x)) {
    tsr::Ext e = tsr::ext(x);
    return (unsigned(e.se & 0x7fff) - 1u) < 0x7ffeu && (e.m >> 63) != 0;
}
TSR_NAMES_U(isnormall, (long double x))
TSR_DEFINE(int, __isnormalq, (__float128 x)) {
    unsigned ex = unsigned(tsr::qbits(x).hi >> 48) & 0x7fff;
    return ex - 1u < 0x7ffeu;
}

// ---- signbit -------------------------------------------------------------------------------
TSR_DEFINE(int, signbit, (double x)) { return int(tsr::bits(x) >> 63); }
TSR_NAMES_UD(signbit, (double x))
TSR_DEFINE(int, signbitf, (float x)) { return int(tsr::bits(x) >> 31); }
TSR_NAMES_U(signbitf, (float x))
TSR_DEFINE(int, signbitl, (long double x)) { return (tsr::ext(x).se >> 15) & 1; }
TSR_NAMES_U(signbitl, (long double x))
TSR_DEFINE(int, __signbitq, (__float128 x)) { return int(tsr::qbits(x).hi >> 63); }

// ---- ordered comparisons -----------------------------------------------------------------
#define TSR_ORDERED(name, rel)                                                           \
    TSR_DEFINE(int, name, (double x, double y)) { return ordered_sse<rel>(x, y); }         \
    TSR_NAMES_U(name, (double x, double y))                                              \
    TSR_DEFINE(int, name##f, (float x, float y)) { return ordered_sse<rel>(x, y); }        \
    TSR_NAMES_U(name##f, (float x, float y))                                             \
    TSR_DEFINE(int, name##l, (long double x, long double y)) { return ordered_ext<rel>(x, y); } \
    TSR_NAMES_U(name##l, (long double x, long double y))                                 \
    TSR_DEFINE(int, __##name##q, (__float128 x, __float128 y)) { return ordered_q<rel>(x, y); }

TSR_ORDERED(isgreater, GT)
TSR_ORDERED(isgreaterequal, GE)
TSR_ORDERED(isless, LT)
TSR_ORDERED(islessequal, LE)
TSR_ORDERED(islessgreater, LG)

// ---- isunordered ---------------------------------------------------------------------------
// Quiet in every format: a signalling NaN is only looked at.
TSR_DEFINE(int, isunordered, (double x, double y)) {
    return is_nan(tsr::bits(x)) || is_nan(tsr::bits(y));
}
TSR_NAMES_U(isunordered, (double x, double y))
TSR_DEFINE(int, isunorderedf, (float x, float y)) {
    return is_nan(tsr::bits(x)) || is_nan(tsr::bits(y));
}
TSR_NAMES_U(isunorderedf, (float x, float y))
TSR_DEFINE(int, isunorderedl, (long double x, long double y)) {
    return is_nan(tsr::ext(x)) || is_nan(tsr::ext(y));
}
TSR_NAMES_U(isunorderedl, (long double x, long double y))
TSR_DEFINE(int, __isunorderedq, (__float128 x, __float128 y)) {
    return is_nan(tsr::qbits(x)) || is_nan(tsr::qbits(y));
}

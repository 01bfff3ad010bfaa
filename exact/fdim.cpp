// Sign and order operations: fdim, fmax, fmin, copysign and fabs in every precision.
//
// copysign and fabs are masks on the pattern: no flag, a signalling NaN passes unquieted.
// fmax and fmin take the processor's maxsd/minsd once the NaNs are settled, so for two
// zeros they return the second operand (fmax(+0, -0) = -0) as the instruction does.  fdim
// is the one operation here whose result can overflow: ex halves both operands where a
// subtraction of two values of the top binade could leave the range, e7 subtracts first and
// looks again only at a result in the top binade.
#include "tsr/common.h"
#include "tsr/codes.h"
#include "tsr/format.h"
#include "tsr/lane.h"
#include "tsr/report.h"
#include "tsr/x87.h"

#include <emmintrin.h>

using namespace tsr;

namespace {
constexpr uint64_t kSign64 = 0x8000000000000000ull, kAbs64 = 0x7fffffffffffffffull;
constexpr uint32_t kSign32 = 0x80000000u, kAbs32 = 0x7fffffffu;

// NaN tests by an unordered compare, which stays in the vector registers.
inline bool is_nan(double x) { return __builtin_isunordered(x, x); }
inline bool is_nan(float x) { return __builtin_isunordered(x, x); }
inline bool unordered(double x, double y) { return __builtin_isunordered(x, y); }
inline bool unordered(float x, float y) { return __builtin_isunordered(x, y); }


// The sign masks applied by the vector logic operations: no round trip through the general
// registers.
inline double abs_sse(double x) {
    return _mm_cvtsd_f64(_mm_andnot_pd(_mm_castsi128_pd(_mm_set1_epi64x(int64_t(kSign64))), lane(x)));
}
inline float abs_sse(float x) {
    return _mm_cvtss_f32(_mm_andnot_ps(_mm_castsi128_ps(_mm_set1_epi32(int32_t(kSign32))), lane(x)));
}
inline double copysign_sse(double x, double y) {
    __m128d s = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kSign64)));
    return _mm_cvtsd_f64(_mm_or_pd(_mm_andnot_pd(s, lane(x)), _mm_and_pd(s, lane(y))));
}
inline float copysign_sse(float x, float y) {
    __m128 s = _mm_castsi128_ps(_mm_set1_epi32(int32_t(kSign32)));
    return _mm_cvtss_f32(_mm_or_ps(_mm_andnot_ps(s, lane(x)), _mm_and_ps(s, lane(y))));
}

inline double maxsd(double x, double y) { return _mm_cvtsd_f64(_mm_max_sd(lane(x), lane(y))); }
inline double minsd(double x, double y) { return _mm_cvtsd_f64(_mm_min_sd(lane(x), lane(y))); }
inline float maxss(float x, float y) { return _mm_cvtss_f32(_mm_max_ss(lane(x), lane(y))); }
inline float minss(float x, float y) { return _mm_cvtss_f32(_mm_min_ss(lane(x), lane(y))); }

// fdim by halving (ex): when one operand lies in the top binade x - y may pass the largest
// finite value; x/2 - y/2 cannot, and doubling it back overflows exactly when the true
// difference does (the doubling is exact below the top binade).  Halving is exact for
// operands of at least 2^-1021 (float 2^-125); with a smaller one the difference is the
// other operand moved by less than its last place, which overflows only to an infinity.
template <class T>
inline T fdim_ex(T x, T y, int overflow_code) {
    using F = Format<T>;
    using B = typename F::Bits;
    if (is_nan(x)) return x + x;
    if (is_nan(y)) return y + y;
    if (opaque(x) <= y) return T(0);
    B ax = F::bits(x) & F::abs, ay = F::bits(y) & F::abs;
    constexpr B top = F::exponent - (F::mantissa + 1);  // the top finite binade's field
    constexpr B halvable = 2 * (F::mantissa + 1);       // the field of 2^(emin+1)
    bool finite = ax < F::inf && ay < F::inf;
    if (finite && ((ax & F::exponent) == top || (ay & F::exponent) == top) && ax >= halvable &&
        ay >= halvable) {
        T h = opaque(x) * T(0.5) + opaque(y) * T(-0.5);
        T r = h + h;
        if ((F::bits(h) & F::exponent) == top) return report(x, y, r, overflow_code);
        return r;
    }
    T r = opaque(x) - y;
    if (finite && (F::bits(r) & F::abs) == F::inf) return report(x, y, r, overflow_code);
    return r;
}

// fdim by selection (e7): a mask keeps x and y where x > y and zeros elsewhere, and the
// difference's magnitude is the result.  Only a result in the top binade or beyond can have
// overflowed; there half the difference, x/2 - y/2 (rounded like the difference, both
// halvings exact), tells whether the rounding left the range, and a difference taken with a
// smaller operand overflows only to an infinity.
template <class T>
inline T fdim_e7(T x, T y, int overflow_code) {
    using F = Format<T>;
    using B = typename F::Bits;
    if (unordered(x, y)) return x + y;
    bool keep = !(opaque(x) <= y);
    T xs = keep ? x : T(0), ys = keep ? y : T(0);
    T d = abs_sse(opaque(opaque(xs) - ys));
    constexpr T top_binade = T(2) / F::min_normal;  // 2^emax: below it no difference overflowed
    if (__builtin_expect(d < top_binade, 1)) return d;
    B a = F::bits(d);
    constexpr B top = F::exponent - (F::mantissa + 1);  // the top finite binade's field
    B ax = F::bits(x) & F::abs, ay = F::bits(y) & F::abs;
    if (ax >= F::inf || ay >= F::inf) return F::from(a);  // an infinite operand: no overflow
    constexpr B halvable = 2 * (F::mantissa + 1);     // the field of 2^(emin+1)
    bool over = a == F::inf;
    if (ax >= halvable && ay >= halvable) {
        T h = opaque(x) * T(0.5) + opaque(y) * T(-0.5);
        over = (F::bits(h) & F::exponent) == top;
    }
    if (over) return report(x, y, F::from(a), overflow_code);
    return F::from(a);
}

// fmax/fmin of ex: a NaN operand gives the other one.
template <bool kMax, class T>
inline T fmaxmin_ex(T x, T y) {
    if (unordered(x, y)) return is_nan(x) ? y : x;
    if constexpr (std::is_same_v<T, double>) return kMax ? maxsd(x, y) : minsd(x, y);
    else return kMax ? maxss(x, y) : minss(x, y);
}
// e7: an unordered pair gives the operand that is not a NaN, two NaNs their quiet sum.
template <bool kMax, class T>
inline T fmaxmin_e7(T x, T y) {
    if (unordered(x, y)) {
        bool nx = is_nan(x), ny = is_nan(y);
        return nx && ny ? y + y : (nx ? y : x);
    }
    if constexpr (std::is_same_v<T, double>) return kMax ? maxsd(x, y) : minsd(x, y);
    else return kMax ? maxss(x, y) : minss(x, y);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, fdim, (double x, double y)) { return fdim_ex(x, y, code::fdim_overflow); }
TSR_BODY(float, fdimf, (float x, float y)) { return fdim_ex(x, y, code::fdimf_overflow); }
TSR_BODY(double, fmax, (double x, double y)) { return fmaxmin_ex<true>(x, y); }
TSR_BODY(float, fmaxf, (float x, float y)) { return fmaxmin_ex<true>(x, y); }
TSR_BODY(double, fmin, (double x, double y)) { return fmaxmin_ex<false>(x, y); }
TSR_BODY(float, fminf, (float x, float y)) { return fmaxmin_ex<false>(x, y); }
TSR_BODY(double, copysign, (double x, double y)) { return copysign_sse(x, y); }
TSR_BODY(float, copysignf, (float x, float y)) { return copysign_sse(x, y); }
TSR_BODY(double, fabs, (double x)) { return abs_sse(x); }
TSR_BODY(float, fabsf, (float x)) { return abs_sse(x); }
// The x87 fabs clears the sign bit and nothing else (a signalling NaN passes unquieted, as
// the 80-bit load and store do).
TSR_BODY(long double, fabsl, (long double x)) {
    asm("fabs" : "+t"(x));
    return x;
}

// The reproducible forms are the ex bodies under a second name; copysignf's is a body of
// its own that builds the pattern in one expression.
TSR_ALIAS(double, __bwr_fdim, (double, double), __libm_fdim_ex)
TSR_ALIAS(float, __bwr_fdimf, (float, float), __libm_fdimf_ex)
TSR_ALIAS(double, __bwr_fmax, (double, double), __libm_fmax_ex)
TSR_ALIAS(float, __bwr_fmaxf, (float, float), __libm_fmaxf_ex)
TSR_ALIAS(double, __bwr_fmin, (double, double), __libm_fmin_ex)
TSR_ALIAS(float, __bwr_fminf, (float, float), __libm_fminf_ex)
TSR_ALIAS(double, __bwr_copysign, (double, double), __libm_copysign_ex)
TSR_ALIAS(double, __bwr_fabs, (double), __libm_fabs_ex)
TSR_ALIAS(float, __bwr_fabsf, (float), __libm_fabsf_ex)
TSR_ALIAS(long double, __libm_fp_absolute_val_x87, (long double), __libm_fabsl_ex)
TSR_DEFINE(float, __bwr_copysignf, (float x, float y)) {
    return f32((bits(y) & kSign32) ^ (bits(x) & kAbs32));
}

// ---- extended ----------------------------------------------------------------------------
TSR_DEFINE(long double, copysignl, (long double x, long double y)) {
    Ext e = ext(x), f = ext(y);
    return from_ext(e.m, uint16_t((e.se & 0x7fff) | (f.se & 0x8000)));
}

TSR_DEFINE(long double, fdiml, (long double x, long double y)) {
    if (__builtin_isunordered(x, y)) return __builtin_isunordered(x, x) ? x + x : y + y;
    if (x <= y) return 0.0L;
    Ext ex_ = ext(x), ey = ext(y);
    X87Frame fr;
    LD r = opaque(opaque(x) - opaque(y));
    if ((ext(r).se & 0x7fff) == 0x7fff && (ex_.se & 0x7fff) != 0x7fff && (ey.se & 0x7fff) != 0x7fff) {
        fr.release();
        return report(x, y, r, code::fdiml_overflow);
    }
    return fr.finish(r);
}

// fmaxl and fminl settle NaNs by the product x * y (which raises invalid for a signalling
// NaN) and give the other operand; of two equal values fmaxl gives +0 over -0 and fminl -0
// over +0, whichever order they come in.
TSR_DEFINE(long double, fmaxl, (long double x, long double y)) {
    if (__builtin_isunordered(x, y)) {
        bool nx = __builtin_isunordered(x, x), ny = __builtin_isunordered(y, y);
        LD t = x * y;
        return nx && ny ? t : (nx ? y : x);
    }
    if (x > y) return x;
    if (x < y) return y;
    return (ext(y).se & 0x8000) ? x : y;
}
TSR_DEFINE(long double, fminl, (long double x, long double y)) {
    if (__builtin_isunordered(x, y)) {
        bool nx = __builtin_isunordered(x, x), ny = __builtin_isunordered(y, y);
        LD t = x * y;
        return nx && ny ? t : (nx ? y : x);
    }
    if (x < y) return x;
    if (x > y) return y;
    return (ext(x).se & 0x8000) ? x : y;
}
#endif

#if TSR_TIER_E7
TSR_BODY(double, fdim, (double x, double y)) { return fdim_e7(x, y, code::fdim_overflow); }
TSR_BODY(float, fdimf, (float x, float y)) { return fdim_e7(x, y, code::fdimf_overflow); }
TSR_BODY(double, fmax, (double x, double y)) { return fmaxmin_e7<true>(x, y); }
TSR_BODY(float, fmaxf, (float x, float y)) { return fmaxmin_e7<true>(x, y); }
TSR_BODY(double, fmin, (double x, double y)) { return fmaxmin_e7<false>(x, y); }
TSR_BODY(float, fminf, (float x, float y)) { return fmaxmin_e7<false>(x, y); }
// e7 moves the sign by an exclusive or: y's sign against x's, flipped into x when they
// differ.
TSR_BODY(double, copysign, (double x, double y)) {
    __m128d s = _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kSign64)));
    __m128d vx = lane(x);
    return _mm_cvtsd_f64(_mm_xor_pd(vx, _mm_and_pd(s, _mm_xor_pd(vx, lane(y)))));
}
TSR_BODY(float, copysignf, (float x, float y)) {
    __m128 s = _mm_castsi128_ps(_mm_set1_epi32(int32_t(kSign32)));
    __m128 vx = lane(x);
    return _mm_cvtss_f32(_mm_xor_ps(vx, _mm_and_ps(s, _mm_xor_ps(vx, lane(y)))));
}
#endif

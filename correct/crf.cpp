// The correctly rounded single-precision functions: every member at tiers ex, l9, z0 (and d1
// where exported), one algorithm written once and compiled for each tier's instruction set.
//
// A member handles its special values and its tiny and saturated ranges by hand (results
// one double away from x, 1 or -1, overflow and underflow products, the domain errors), and
// evaluates the rest in double through its kernel, settled by the rounding test of
// crf_common.h.  Odd and even functions are evaluated at |x|, so their lists hold positive
// keys; cbrt and the reciprocal square root at the significand scaled into [1, 8) and [1, 4),
// since scaling by 2^3k (2^2k) only scales their result.
#include "correct/crf_common.h"

using namespace tsr;
using namespace tsr::crf;

namespace {

constexpr double kHuge = 0x1p200;   // overflows any float, in every mode as the mode says
constexpr double kTiny = 0x1p-200;  // below half the least subnormal: 0 or it, as the mode says

inline float overflow(uint32_t sign) { return narrow(with_sign(kHuge, sign)); }
inline float underflow() { return narrow(kTiny); }

// The double kernels: tier ex of this library's double and extended functions.
inline double k_exp(double x) { return __libm_exp_ex_local(x); }
inline double k_exp2(double x) { return __libm_exp2_ex_local(x); }
inline double k_exp10(double x) { return __libm_exp10_ex_local(x); }
// e^x - 1 and 2^x - 1 in extended precision (error about 2^-63), rounded to double.
inline double k_expm1(double x) { return double(expm1l_local((long double)x)); }
// ln 2 to 64 bits, the product with a float then within 2^-63 of x ln 2.
constexpr long double kLn2L = 0xb.17217f7d1cf79acp-4L;
// 1/ln 2 to 64 bits.
constexpr long double kLog2eL = 0xb.8aa3b295c17f0bcp-3L;
inline double k_exp2m1(double x) { return double(expm1l_local((long double)x * kLn2L)); }

// Float bits of the significand of |x| scaled into [1, 2^width) and the power taken out
// (|x| = m 2^(width e)), for the scale-invariant members.  x finite, non-zero.
inline float scaled(uint32_t a, int width, int &e) {
    int ex = int(a >> 23) - 127;
    if (ex == -127) {  // subnormal: normalise exactly
        float n = f32(a) * 0x1p24f;
        a = bits(n);
        ex = int(a >> 23) - 127 - 24;
    }
    int q = ex >= 0 ? ex / width : -((-ex + width - 1) / width);
    e = q;
    return f32(uint32_t(ex - q * width + 127) << 23 | (a & 0x7fffff));
}
inline double pow2(int e) { return f64(uint64_t(e + 1023) << 52); }

// ---- exponentials --------------------------------------------------------------------------

inline float cr_expf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x33000000) {  // |x| < 2^-25: 1 + x, the side of x
        if (a == 0) return 1.0f;
        return narrow(s ? toward_zero(1.0) : away_from_zero(1.0));
    }
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? 0.0f : x);
    if (!s && a >= 0x42b17218) return report(x, overflow(0), code::expf_overflow);  // 88.72284
    if (s && a >= 0x42d00000) return report(x, underflow(), code::expf_underflow);  // -104 < -150 ln 2
    Frame f;
    float r = f.finish(f.settle(k_exp(x), Member::expf, bits(x), [x] { return odd53(__libm_expl_ex_local(x)); }));
    if (s && a >= 0x42aeac50) r = report(x, r, code::expf_underflow);  // e^x below 2^-126
    return r;
}

inline float cr_exp2f(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x33000000) {  // |x| < 2^-25: |x ln 2| below 2^-25 as well
        if (a == 0) return 1.0f;
        return narrow(s ? toward_zero(1.0) : away_from_zero(1.0));
    }
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? 0.0f : x);
    if (!s && a >= 0x43000000) return report(x, overflow(0), code::exp2f_overflow);    // 128
    if (s && a >= 0x43170000) return report(x, underflow(), code::exp2f_underflow);   // -151
    Frame f;
    float r = f.finish(f.settle(k_exp2(x), Member::exp2f, bits(x), [x] { return odd53(__libm_exp2l_ex_local(x)); }));
    // Below -126, where the result is inexact (2^n for an integer n down to -149 is exact).
    if (s && a > 0x42fc0000 && (a > 0x43150000 || float(int(x)) != x)) r = report(x, r, code::exp2f_underflow);
    return r;
}

inline float cr_exp10f(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x32000000) {  // |x| < 2^-27: |x ln 10| below 2^-25
        if (a == 0) return 1.0f;
        return narrow(s ? toward_zero(1.0) : away_from_zero(1.0));
    }
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? 0.0f : x);
    if (!s && a >= 0x421a209b) return report(x, overflow(0), code::exp10f_overflow);   // 38.53184
    if (s && a >= 0x4235d276) return report(x, underflow(), code::exp10f_underflow);  // -45.45553
    Frame f;
    float r = f.finish(f.settle(k_exp10(x), Member::exp10f, bits(x), [x] { return odd53(__libm_exp10l_ex_local(x)); }));
    if (s && a >= 0x4217b819) r = report(x, r, code::exp10f_underflow);  // 10^x below 2^-126
    return r;
}

// The x87 flags as they were before a phase-1 extended kernel, put back where the test
// fails (the result may then be exact, and the kernel raised inexact on that unit).
inline void restore_x87_flags(uint16_t sw) {
    struct { uint16_t cw, pad0, sw, pad1; char rest[20]; } env;
    asm volatile("fnstenv %0" : "=m"(env));
    env.sw = uint16_t((env.sw & ~0x3f) | (sw & 0x3f));
    asm volatile("fldenv %0" : : "m"(env));
}

inline float cr_expm1f(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x33800000) {  // |x| < 2^-24: x(1 + x/2), above x in magnitude for x > 0
        if (a == 0) return x;
        return narrow(s ? toward_zero(x) : away_from_zero(x));
    }
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? -1.0f : x);
    if (!s && a >= 0x42b17218) return report(x, overflow(0), code::expm1f_overflow);  // 88.72284
    if (s && a >= 0x41900000) return narrow(toward_zero(-1.0));  // x <= -18: e^x below 2^-25
    uint16_t sw = get_x87_sw();
    Frame f;
    double y = f.settle(k_expm1(x), Member::expm1f, bits(x), [x] { return odd53(expm1l_local(x)); });
    if (f.unsettled) restore_x87_flags(sw);
    return f.finish(y);
}

inline float cr_exp2m1f(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a == 0) return x;
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? -1.0f : x);
    if (!s && a >= 0x43000000) return overflow(0);                // 128
    if (s && a >= 0x41d00000) return narrow(toward_zero(-1.0));  // x <= -26: 2^x below 2^-25
    uint16_t sw = get_x87_sw();
    Frame f;
    double y = f.settle(k_exp2m1(x), Member::exp2m1f, bits(x),
                        [x] { return odd53(expm1l_local((long double)x * kLn2L)); });
    if (f.unsettled) restore_x87_flags(sw);
    return f.finish(y);
}

// ---- hyperbolic functions ------------------------------------------------------------------

inline float cr_sinhf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) return a == 0 ? x : narrow(away_from_zero(x));  // 2^-12: x(1 + x^2/6)
    if (a >= 0x7f800000) return x + x;
    if (a >= 0x42b40000) return overflow(s);  // 90
    Frame f;
    return f.finish(with_sign(f.settle(__libm_sinh_ex_local(f32(a)), Member::sinhf, a, [a] {
        long double e = expm1l_local(f32(a));  // sinh = (e + e/(e + 1))/2, e = e^|x| - 1
        return odd53((e + e / (e + 1)) * 0.5L);
    }), s));
}

inline float cr_coshf(float x) {
    uint32_t a = bits(x) & 0x7fffffff;
    if (a < 0x39800000) return a == 0 ? 1.0f : narrow(away_from_zero(1.0));  // 1 + x^2/2
    if (a >= 0x7f800000) return x * x;
    if (a >= 0x42b40000) return overflow(0);
    Frame f;
    return f.finish(f.settle(__libm_cosh_ex_local(f32(a)), Member::coshf, a, [a] {
        long double e = __libm_expl_ex_local(f32(a));
        return odd53((e + 1 / e) * 0.5L);
    }));
}

inline float cr_tanhf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) return a == 0 ? x : narrow(toward_zero(x));  // x(1 - x^2/3)
    if (a > 0x7f800000) return x + x;
    if (a == 0x7f800000) return s ? -1.0f : 1.0f;
    if (a >= 0x41180000) return narrow(toward_zero(s ? -1.0 : 1.0));  // 9.5: 1 - tanh below 2^-26
    Frame f;
    return f.finish(with_sign(f.settle(__libm_tanh_ex_local(f32(a)), Member::tanhf, a, [a] {
        long double e = expm1l_local(2.0L * f32(a));  // tanh = e/(e + 2), e = e^2|x| - 1
        return odd53(e / (e + 2));
    }), s));
}

// ---- trigonometric functions ---------------------------------------------------------------

inline float cr_sinf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) return a == 0 ? x : narrow(toward_zero(x));  // x(1 - x^2/6)
    if (a >= 0x7f800000) return x - x;  // NaN; invalid for an infinity
    Frame f;
    double sv, cv;
    __libm_sincos_ex_local(f32(a), &sv, &cv);  // the kernel of sincosf: one list serves both
    return f.finish(with_sign(f.settle(sv, Member::sinf, a), s));
}

inline float cr_cosf(float x) {
    uint32_t a = bits(x) & 0x7fffffff;
    if (a < 0x39800000) return a == 0 ? 1.0f : narrow(toward_zero(1.0));  // 1 - x^2/2
    if (a >= 0x7f800000) return x - x;
    Frame f;
    double sv, cv;
    __libm_sincos_ex_local(f32(a), &sv, &cv);
    return f.finish(f.settle(cv, Member::cosf, a));
}

inline void cr_sincosf(float x, float *ps, float *pc) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) {
        *ps = a == 0 ? x : narrow(toward_zero(x));
        *pc = a == 0 ? 1.0f : narrow(toward_zero(1.0));
        return;
    }
    if (a >= 0x7f800000) {
        *ps = *pc = x - x;
        return;
    }
    Frame f;
    double sv, cv;
    __libm_sincos_ex_local(f32(a), &sv, &cv);
    f.finish2(with_sign(f.settle(sv, Member::sinf, a), s), f.settle(cv, Member::cosf, a), ps, pc);
}

inline float cr_tanf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) return a == 0 ? x : narrow(away_from_zero(x));  // x(1 + x^2/3)
    if (a >= 0x7f800000) return x - x;
    Frame f;
    return f.finish(with_sign(f.settle(__libm_tan_ex_local(f32(a)), Member::tanf, a), s));
}

// ---- inverse trigonometric functions -------------------------------------------------------

inline float cr_asinf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a > 0x3f800000) return __libm_asinf_e7_local(x);  // |x| > 1 or NaN: reported there
    if (a < 0x39800000) return a == 0 ? x : narrow(away_from_zero(x));  // x(1 + x^2/6)
    Frame f;
    return f.finish(with_sign(f.settle(__libm_asin_ex_local(f32(a)), Member::asinf, a), s));
}

inline float cr_acosf(float x) {
    uint32_t a = bits(x) & 0x7fffffff;
    if (a > 0x3f800000) return __libm_acosf_e7_local(x);
    Frame f;
    return f.finish(f.settle(__libm_acos_ex_local(x), Member::acosf, bits(x)));
}

inline float cr_atanf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a > 0x7f800000) return x + x;
    if (a < 0x39800000) return a == 0 ? x : narrow(toward_zero(x));  // x(1 - x^2/3)
    Frame f;
    return f.finish(with_sign(f.settle(__libm_atan_ex_local(f32(a)), Member::atanf, a), s));
}

// ---- logarithms ----------------------------------------------------------------------------

// The special values of a logarithm of x: NaN, +inf, zero (-inf and divide-by-zero),
// negative (NaN and invalid).  True when x is one of them, with the result in r.
inline bool log_special(float x, float &r) {
    uint32_t b = bits(x);
    if (b - 1 < 0x7f7fffffu) return false;  // positive, finite, non-zero
    if ((b & 0x7fffffff) == 0) r = -1.0f / opaque(0.0f);
    else if ((b & 0x7fffffff) > 0x7f800000 || b == 0x7f800000) r = x + x;
    else r = opaque(x - x) / opaque(x - x);  // negative, -inf included
    return true;
}

inline float cr_logf(float x) {
    float r;
    if (log_special(x, r)) return r;
    Frame f;
    return f.finish(f.settle(__libm_log_ex_local(x), Member::logf, bits(x), [x] { return odd53(__libm_logl_ex_local(x)); }));
}

inline float cr_log2f(float x) {
    float r;
    if (log_special(x, r)) return r;
    Frame f;
    return f.finish(f.settle(__libm_log2_ex_local(x), Member::log2f, bits(x), [x] { return odd53(log2l_local(x)); }));
}

inline float cr_log10f(float x) {
    float r;
    if (log_special(x, r)) return r;
    Frame f;
    return f.finish(f.settle(__libm_log10_ex_local(x), Member::log10f, bits(x), [x] { return odd53(log10l_local(x)); }));
}

// The special values of log(1 + x): NaN, +inf, -1 (-inf and divide-by-zero), below -1
// (NaN and invalid).
inline bool log1p_special(float x, float &r) {
    uint32_t b = bits(x);
    if (b < 0x7f800000 || b - 0x80000000u < 0x3f800000u) return false;  // -1 < x < inf
    if (b == 0xbf800000) r = -1.0f / opaque(0.0f);
    else if ((b & 0x7fffffff) > 0x7f800000 || b == 0x7f800000) r = x + x;
    else r = opaque(x - x) / opaque(x - x);
    return true;
}

inline float cr_log1pf(float x) {
    float r;
    if (log1p_special(x, r)) return r;
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x33800000) {  // |x| < 2^-24: x(1 - x/2), below x
        if (a == 0) return x;
        return narrow(s ? away_from_zero(x) : toward_zero(x));
    }
    Frame f;
    return f.finish(f.settle(__libm_log1p_ex_local(x), Member::log1pf, bits(x), [x] { return odd53(__libm_log1pl_ex_local(x)); }));
}

inline float cr_log2p1f(float x) {
    float r;
    if (log1p_special(x, r)) return r;
    if ((bits(x) & 0x7fffffff) == 0) return x;
    Frame f;
    return f.finish(f.settle(__libm_log2p1_ex_local(x), Member::log2p1f, bits(x),
                              [x] { return odd53(__libm_log1pl_ex_local(x) * kLog2eL); }));
}

// ---- roots ---------------------------------------------------------------------------------

inline float cr_cbrtf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a == 0 || a >= 0x7f800000) return x + x;
    int e;
    float m = scaled(a, 3, e);  // |x| = m 2^3e, m in [1, 8)
    Frame f;
    double y = f.settle(__libm_cbrt_ex_local(m), Member::cbrtf, bits(m), [m] { return odd53(__libm_cbrtl_ex_local(m)); }) * pow2(e);
    return f.finish(with_sign(y, s));
}

inline float cr_invsqrtf(float x) {
    uint32_t b = bits(x), a = b & 0x7fffffff;
    if (a == 0) return 1.0f / x;  // +-inf, divide-by-zero
    if (a > 0x7f800000) return x + x;
    if (b >> 31) return opaque(x - x) / opaque(x - x);  // negative: NaN, invalid
    if (b == 0x7f800000) return 0.0f;
    int e;
    float m = scaled(a, 2, e);  // x = m 4^e, m in [1, 4)
    Frame f;
    // One correctly rounded root and one correctly rounded quotient: within 1.5 units.
    double y = opaque(1.0) / __builtin_sqrt(double(m));
    return f.finish(f.settle(y, Member::invsqrtf, bits(m), [m] { return odd53(__libm_invsqrtl_ex_local(m)); }) * pow2(-e));
}

}  // namespace

TSR_BODY(float, __libm_cr_expf, (float x)) { return cr_expf(x); }
TSR_BODY(float, __libm_cr_exp2f, (float x)) { return cr_exp2f(x); }
TSR_BODY(float, __libm_cr_exp10f, (float x)) { return cr_exp10f(x); }
TSR_BODY(float, __libm_cr_expm1f, (float x)) { return cr_expm1f(x); }
TSR_BODY(float, __libm_cr_exp2m1f, (float x)) { return cr_exp2m1f(x); }
TSR_BODY(float, __libm_cr_sinhf, (float x)) { return cr_sinhf(x); }
TSR_BODY(float, __libm_cr_coshf, (float x)) { return cr_coshf(x); }
TSR_BODY(float, __libm_cr_tanhf, (float x)) { return cr_tanhf(x); }
TSR_BODY(float, __libm_cr_sinf, (float x)) { return cr_sinf(x); }
TSR_BODY(float, __libm_cr_cosf, (float x)) { return cr_cosf(x); }
TSR_BODY(void, __libm_cr_sincosf, (float x, float *s, float *c)) { cr_sincosf(x, s, c); }
TSR_BODY(float, __libm_cr_tanf, (float x)) { return cr_tanf(x); }
TSR_BODY(float, __libm_cr_asinf, (float x)) { return cr_asinf(x); }
TSR_BODY(float, __libm_cr_acosf, (float x)) { return cr_acosf(x); }
TSR_BODY(float, __libm_cr_atanf, (float x)) { return cr_atanf(x); }
TSR_BODY(float, __libm_cr_logf, (float x)) { return cr_logf(x); }
// log2 and log10 take the address of a 128-bit vector whose lowest lane holds x.
TSR_BODY(float, __libm_cr_log2f, (const float *v)) { return cr_log2f(*v); }
TSR_BODY(float, __libm_cr_log10f, (const float *v)) { return cr_log10f(*v); }
TSR_BODY(float, __libm_cr_log1pf, (float x)) { return cr_log1pf(x); }
TSR_BODY(float, __libm_cr_log2p1f, (float x)) { return cr_log2p1f(x); }
TSR_BODY(float, __libm_cr_cbrtf, (float x)) { return cr_cbrtf(x); }
TSR_BODY(float, __libm_cr_invsqrtf, (float x)) { return cr_invsqrtf(x); }

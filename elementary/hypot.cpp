// sqrt(x^2 + y^2) in double and single precision, never overflowing or underflowing in a
// step when the result is representable.
//
// Double, tier ex (and __bwr_hypot, the same body): x^2 + y^2 and its square root in 80-bit
// arithmetic with a 64-bit significand (its exponent range takes every square), one rounding
// to double at the store: within 0.5 + 2^-11 ulp.
//
// Double, tier e7: double arithmetic, SSE3 (no FMA).  A = max(|x|, |y|) and B = min, ordered
// as integers without a branch.  Operands in [2^-32, 2^32) at most 32 exponents apart are
// used as they are; others in range are scaled by the power of two E of A, so a = A/E is in
// [1, 2), and the result multiplied back.  r, the rounded root of s = a^2 + b^2, is
// corrected by one Taylor step r + e/(2r), e = a^2 + b^2 - r^2 formed exactly enough from
// the rounding errors of the squares and of the sum (Dekker's splitting of a, b and r into
// 26- and 27-bit halves); 1/(2r) comes from the processor's reciprocal-root estimate of s and
// one Newton step (2^-21), not from the divider, so that nothing but the root waits on it.
// A zero residual returns r itself, so that an exact root (a Pythagorean triple) raises no
// flag.  Exponents more than 32 apart give max(|x|, |y|) exactly (the square of the smaller
// is below half an ulp of the larger's); tiny operands are scaled by 2^191 first and the
// result by 2^-191 after.
//
// Single: the double square root of the exactly widened squares, rounded to float.
//
// Overflow (an infinite result from finite operands) is reported; an infinite operand gives
// +inf even beside a NaN, without a report.
#include "elementary/roots_common.h"

using namespace tsr;
using namespace tsr::roots;

namespace {

#if TSR_TIER_EX
inline double hypot_ex(double x, double y) {
    double r;
    {
        X87Precision pc;
        long double a = opaque((long double)x), b = opaque((long double)y);
        long double s = a * a + b * b;
        asm("fsqrt" : "+t"(s));
        r = double(opaque(s));
    }
    uint64_t br = bits(r);
    if ((br & Format<double>::exponent) != Format<double>::exponent) return r;
    bool inf_arg = is_inf(x) || is_inf(y);
    if (br == Format<double>::inf) return inf_arg ? r : report(x, y, r, code::hypot_overflow);
    return inf_arg ? Format<double>::from(Format<double>::inf) : r;
}

inline float hypotf_ex(float x, float y) {
    double dx = x, dy = y;
    double s = sqrt_insn(dx * dx + dy * dy);
    float r = float(s);
    uint32_t b = bits(r);
    if ((b & Format<float>::exponent) != Format<float>::exponent) return r;
    bool inf_arg = is_inf(x) || is_inf(y);
    if (b == Format<float>::inf) return inf_arg ? r : report(x, y, r, code::hypotf_overflow);
    return inf_arg ? Format<float>::from(Format<float>::inf) : r;
}
#endif

#if TSR_TIER_E7
constexpr uint64_t kLow27 = (uint64_t(1) << 27) - 1;
inline double cut27(double v) { return f64(bits(v) & ~kLow27); }
// The same as a vector AND, for a value already in a vector register (no round trip through
// an integer register on the root's path).
inline double cut27_fp(double v) {
    return _mm_cvtsd_f64(_mm_and_pd(_mm_set_sd(v), _mm_castsi128_pd(_mm_set1_epi64x(int64_t(~kLow27)))));
}
// Subtracted from a double's top 35 bits to give the float of the same exponent (truncated).
constexpr uint32_t kFloatRebias = uint32_t(0x3ff - 0x7f) << 23;

// The root of a^2 + b^2 for a >= b > 0 with a^2 + b^2 and the products of the 26- and
// 27-bit halves of a, b and the root normal doubles, and a^2 + b^2 in float's range.
inline double hypot_root(double a, double b) {
    double p = a * a, q = b * b, s = q + p;
    double r = sqrt_insn(s);
    double ah = cut27(a), bh = cut27(b), rh = cut27_fp(r);
    double al = a - ah, bl = b - bh, rl = r - rh;
    double da = ((2.0 * ah * al) - (p - ah * ah)) + al * al;          // a^2 - p
    double db = ((2.0 * bh * bl) - ((s - p) - bh * bh)) + bl * bl;    // b^2 - (s - p)
    // e = a^2 + b^2 - r^2 = (da + db + s - rh^2) - rl (r + rh): s - rh^2 is exact, the
    // sums and the product round at 2^-79 s, 2^-26 of the residual's ulp, and only the
    // last two steps wait for the root's low part.
    double e = ((da + db) + (s - rh * rh)) - rl * (r + rh);
    if (e == 0.0) return r;  // the root is r: exact, and the factor below is not computed
    // 1/(2 sqrt(s)) without the divider: the approximate reciprocal root of s cut to float
    // (its bits, so no flag), then one Newton step in double, w (3/4 - s w^2 / 4).
    double w = rsqrt_approx(f32(uint32_t(bits(s) >> 29) - kFloatRebias));
    double G = w * (0.75 - (0.25 * s * w) * w);
    return r + e * G;
}

// The magnitudes of x and y, larger first, ordered as integers (their order as numbers)
// without a branch.
struct Ordered {
    uint64_t A, B;
};
inline Ordered ordered(double x, double y) {
    uint64_t ux = bits(x) & Format<double>::abs, uy = bits(y) & Format<double>::abs;
    return {ux < uy ? uy : ux, ux < uy ? ux : uy};
}

// The root of |x|^2 + |y|^2 for operands whose exponents are at most 32 apart and whose
// squares, scaled by the larger's power of two E, can't leave the range: the scaled root is
// multiplied back exactly unless the result overflows, which then rounds as the unscaled
// value would.
inline double hypot_core(double x, double y) {
    Ordered o = ordered(x, y);
    uint64_t Eb = o.A & Format<double>::exponent;
    double a = f64((o.A & Format<double>::mantissa) | Format<double>::one);
    double b = f64(o.B - Eb + Format<double>::one);
    return hypot_root(a, b) * f64(Eb);
}

// Top 15 bits (exponent and four mantissa bits) of 2^-32, and the span up to 2^32: operands
// in [2^-32, 2^32) whose exponents are at most 32 apart go to hypot_root unscaled.
constexpr uint32_t kUnscaledLow = (0x3ff - 32) << 4, kUnscaledSpan = 64 << 4;

inline double hypot_e7(double x, double y) {
    uint32_t tx = uint32_t(bits(x) >> 48) & 0x7fff, ty = uint32_t(bits(y) >> 48) & 0x7fff;
    if (((tx - kUnscaledLow) | (ty - kUnscaledLow)) < kUnscaledSpan && tx - ty + 0x200 <= 0x400) {
        Ordered o = ordered(x, y);
        return hypot_root(f64(o.A), f64(o.B));
    }
    uint32_t m = tx < ty ? tx : ty, M = tx < ty ? ty : tx;
    if (m >= 0x400 && M <= 0x7fdf && M - m <= 0x200) return hypot_core(x, y);
    if ((ty & 0x7ff0) > 0x7fe0) {
        if ((tx & 0x7ff0) > 0x7fe0) return is_inf(y) ? y * y : x * x;
        return y * y;
    }
    if ((tx & 0x7ff0) > 0x7fe0) return x * x;
    double ax = f64(bits(x) & Format<double>::abs), ay = f64(bits(y) & Format<double>::abs);
    if (M - m > 0x200) return ax < ay ? ay : ax;
    if (M <= 0x7fdf) {
        double sx = x * 0x1p191, sy = y * 0x1p191;
        if (sx == 0.0 || sy == 0.0) return ax < ay ? ay : ax;
        return hypot_core(sx, sy) * 0x1p-191;
    }
    double r = hypot_core(x, y);
    if ((bits(r) & Format<double>::exponent) == Format<double>::exponent)
        return report(x, y, r, code::hypot_overflow);
    return r;
}

inline float hypotf_e7(float x, float y) {
    double dx = x, dy = y;
    double x2 = dx * dx;
    double s = sqrt_insn(x2 + dy * dy);
    float r = float(s);
    if (hi(s) >= 0x47efffffu) {
        if (hi(s) >= 0x7ff00000u && (is_inf(x2) || is_inf(y))) return Format<float>::from(Format<float>::inf);
        if (bits(r) == Format<float>::inf) return report(x, y, r, code::hypotf_overflow);
    }
    return r;
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, hypot, (double x, double y)) { return hypot_ex(x, y); }
TSR_BODY(float, hypotf, (float x, float y)) { return hypotf_ex(x, y); }
TSR_ALIAS(double, __bwr_hypot, (double, double), __libm_hypot_ex)
TSR_ALIAS(float, __bwr_hypotf, (float, float), __libm_hypotf_ex)
#endif
#if TSR_TIER_E7
TSR_BODY(double, hypot, (double x, double y)) { return hypot_e7(x, y); }
TSR_BODY(float, hypotf, (float x, float y)) { return hypotf_e7(x, y); }
#endif

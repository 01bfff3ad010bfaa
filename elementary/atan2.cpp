// atan2 and atan2f.
//
// Double, tier ex (and the reproducible form).  Zeros, infinities and NaNs first, by the
// quadrant rule.  Then a = |y|, d = |x| are brought to d in [1, 2) by one exact scaling of
// both (ratios beyond 2^60 either way never need it).  An approximate a/d picks the grid
// point c of the 4-bit grid: from the float reciprocal estimate of d in tier ex, from a true
// division in the reproducible form.  With d split into a 37-bit head and a 16-bit tail, a -
// d c is exact but for its last rounding, and z = (a - d c)/(d + a c); atan(a/d) = atan(c) +
// atan(z).  Below the grid the quotient itself, above it pi/2 minus the inverse quotient, each
// with its exact division residual.  x < 0 turns the angle into pi minus it (in two parts),
// and y's sign is put on last.
//
// Double, tiers l9, z0, d1.  Both exponents within 2^-124 .. 2^124 (else the ex body): q0 =
// a times the reciprocal estimate of (float) d picks the 5-bit grid point, z = (a - c d)/(d +
// a c) by fused multiply-adds, and the row comes from the table holding atan(c) for x >= 0,
// atan(c) - pi for x < 0, so that the signs of x and y, XORed on last, make the quadrant.
//
// Single, tier ex (and the reproducible form): double arithmetic without a grid, the octant
// of (x, y) choosing between a series in the smaller ratio and one about pi/4 (below).
//
// Single, tiers e7, l9, z0, d1: zeros, infinities and NaNs by the quadrant rule (both zero: reported),
// then the quotient y/x in double (exact to 2^-53) and atan of it in double, plus or minus pi
// for x < 0, rounded once to float.  A quotient below 2^-30 is the result (x > 0) or leaves
// ±pi (x < 0).
#include "elementary/invtrig_common.h"
#include "tsr/format.h"

using namespace tsr;
using namespace tsr::invtrig;

namespace {

constexpr double kPio4 = 0x1.921fb54442d18p-1;   // pi/4, head
constexpr double k3Pio4 = 0x1.2d97c7f3321d2p+1;  // 3pi/4, head

// The quadrant's angle for the cases decided by signs alone, signed as y.
// kind 0: y = 0 or x infinite with y finite -> 0 (x > 0) or pi (x < 0);
// kind 1: x = 0 or y infinite with x finite -> pi/2; kind 2: both infinite -> pi/4 or 3pi/4.
inline double quadrant_angle(int kind, uint64_t sy, bool xneg, double y) {
    double h, l;
    if (kind == 0) {
        if (!xneg) return y;  // ±0
        h = kPiHi, l = kPiLo;
    } else if (kind == 1) {
        h = kPio2Hi, l = kPio2Lo;
    } else if (xneg) {
        h = k3Pio4, l = 0x1.a79394c9e8a0ap-53;  // 3pi/4
    } else {
        h = kPio4, l = 0x1.1a62633145c07p-55;  // pi/4
    }
    return sy ? -h - l : h + l;  // summed with the result's sign, in the caller's mode
}

// Zeros, infinities and NaNs of atan2 (true when handled): both zero is reported with code.
template <class T>
inline bool atan2_special(T y, T x, T &r, int zero_code) {
    using F = Format<T>;
    auto ab = F::bits(y) & F::abs, bb = F::bits(x) & F::abs;
    if (ab > F::inf || bb > F::inf) {
        r = x + y;
        return true;
    }
    uint64_t sy = (F::bits(y) & F::sign) ? kSign : 0;
    bool xneg = (F::bits(x) & F::sign) != 0;
    if (ab == 0) {
        double v = quadrant_angle(0, sy, xneg, double(y));
        r = T(v);
        if (bb == 0) r = report(y, x, r, zero_code);
        return true;
    }
    if (bb == 0 || (ab == F::inf && bb != F::inf)) {
        r = T(quadrant_angle(1, sy, xneg, double(y)));
        return true;
    }
    if (bb == F::inf) {
        r = T(quadrant_angle(ab == F::inf ? 2 : 0, sy, xneg, with_sign(0.0, sy)));
        return true;
    }
    return false;
}

// ---- double, tier ex and the reproducible form ---------------------------------------------
template <bool Estimate>
inline double atan2_grid16(double y, double x) {
    double r;
    if (__builtin_expect(atan2_special(y, x, r, code::atan2_both_arguments_0), 0)) return r;
    uint64_t sy = bits(y) & kSign;
    bool xneg = (bits(x) & kSign) != 0;
    double a = f64(bits(y) & ~kSign), d = f64(bits(x) & ~kSign);
    // Normalise subnormal operands (both by one factor, the ratio unchanged); against a
    // huge operand the ratio is beyond either end anyway.
    int k;
    if (bits(a) < 0x0010000000000000ull || bits(d) < 0x0010000000000000ull) {
        if (a >= 0x1p900 || d >= 0x1p900) {
            k = a > d ? 1000 : -1000;
        } else {
            a *= 0x1p110;
            d *= 0x1p110;
            k = int(bits(a) >> 52) - int(bits(d) >> 52);
        }
    } else {
        k = int(bits(a) >> 52) - int(bits(d) >> 52);
    }
    if (k > 60) {
        // a/d > 2^60: pi/2 less a quotient below 2^-59 (pi/2 lo is 0.28 ulp of the head),
        // plus pi/2 for x < 0; the two parts summed with the result's sign, in the mode.
        double lo = xneg ? kPio2Lo + 0x1p-80 : kPio2Lo - 0x1p-80;
        return sy ? -kPio2Hi - lo : kPio2Hi + lo;
    }
    if (k < -60) {
        // The quotient, rounded once (gradual underflow included); an exact one moved toward
        // zero by far less than an ulp, so that it rounds as the arctangent does.
        if (!xneg) {
            // Only an exact quotient needs the move (an inexact one is already on the right
            // side in every mode): the division's inexact flag tells, read around it and the
            // caller's flags put back. A rare path.
            uint32_t m = get_mxcsr();
            set_mxcsr(m & ~0x20u);
            double q = opaque(y) / x;
            force(q);
            uint32_t after = get_mxcsr();
            set_mxcsr(after | (m & MXCSR_FLAGS));
            return (after & 0x20u) ? q : nudge<false>(q);
        }
        double lo = kPiLo - 0x1p-80;
        return sy ? -kPiHi - lo : kPiHi + lo;
    }
    int ed = int(bits(d) >> 52);
    // d into [1, 2), a by the same power of two (its exponent stays within 2^-61 .. 2^62).
    uint64_t shift = uint64_t(ed - 1023) << 52;
    a = f64(bits(a) - shift);
    d = f64(bits(d) - shift);
    double r0 = Estimate ? a * rcp_est(d) : a / d;
    uint32_t hw = uint32_t(bits(r0) >> 48);
    double A, B, z;
    if (hw - 0x3fa0u < 0x4040u - 0x3fa0u) {
        double c = f64((bits(r0) & 0xffff000000000000ull) | 0x0000800000000000ull);
        double d1 = f64(bits(d) & 0xffffffffffff0000ull), d2 = d - d1;
        double num = (a - d1 * c) - d2 * c;  // d1 c and a - d1 c exact
        double den = d + a * c;
        z = num / den;
        const HiLo &T = atan16[hw - 0x3f9f];
        A = T.hi;
        B = T.lo;
    } else if (hw < 0x3fa0) {
        // a/d < 2^-5 (or about): the quotient and its residual (a - t d)/d.
        double t = a / d;
        DD p = two_prod(t, d);
        double n = ((a - p.h) - p.l) / d;
        double tail = atan16_tail(t) + n;
        if (!xneg) return with_sign(t + tail, sy);
        double h = kPiHi - t;
        return with_sign(h + (((kPiHi - h) - t) + (kPiLo - tail)), sy);
    } else {
        // a/d > 32: pi/2 - atan(d/a), d/a with its residual.
        double t = d / a;
        DD p = two_prod(t, a);
        double n = ((d - p.h) - p.l) / a;
        z = -t;
        A = kPio2Hi;
        B = kPio2Lo - n;
    }
    if (xneg) {
        // pi - (A + B + z): the pair pi - A exact with its error, z negated.
        double s = kPiHi - A;
        B = (((kPiHi - s) - A) + kPiLo) - B;
        A = s;
        z = -z;
    }
    return with_sign(add_angle(A, B, z), sy);
}

// ---- double, tiers l9, z0, d1 ------------------------------------------------------------------
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double atan32_p(double v) {
    return __builtin_fma(__builtin_fma(atan32_poly[2], v, atan32_poly[1]), v, atan32_poly[0]);
}

__attribute__((noinline)) double atan2_outside(double y, double x) { return atan2_grid16<true>(y, x); }

inline double atan2_fma(double y, double x) {
    // Both exponent fields within 0x383 .. 0x47a: one unsigned compare each.
    uint32_t ey = (hi(y) >> 20) & 0x7ff, ex = (hi(x) >> 20) & 0x7ff;
    if (__builtin_expect(ey - 0x383u > 0x47au - 0x383u || ex - 0x383u > 0x47au - 0x383u, 0))
        return atan2_outside(y, x);
    uint64_t sy = bits(y) & kSign, sx = bits(x) & kSign;
    double a = f64(bits(y) & ~kSign), d = f64(bits(x) & ~kSign);
    double q0 = a * rcp_est(d);
    uint32_t H = hi(q0);
    uint32_t Hm = H & 0x7ff00000u;
    if (__builtin_expect(Hm - 0x3f900000u < 0x40500000u - 0x3f900000u, 1)) {
        double c = f64((bits(q0) & 0xffff800000000000ull) | 0x0000400000000000ull);
        double z = __builtin_fma(-c, d, a) / __builtin_fma(c, a, d);
        const HiLo &T = (sx ? atan32_pi : atan32)[(H >> 15) - 0x7f20];
        double v = z * z;
        double h = z + T.hi;
        double e = (z - (h - T.hi)) + T.lo;
        double r = h + __builtin_fma(atan32_p(v), z * v, e);
        return f64(bits(r) ^ sy ^ sx);
    }
    if (Hm >= 0x40500000u) {
        // a/d >= 2^6 (about): pi/2 - atan(x/a), x/a signed, with its residual.
        double q = x / a;
        double n = __builtin_fma(-a, q, x) * rcp_est(a);
        if (Hm >= 0x43700000u) return with_sign(kPio2Hi + (kPio2Lo - q), sy);
        double h = kPio2Hi - q;
        double v = q * q;
        double r = h - __builtin_fma(atan32_p(v), q * v, n + ((q - (kPio2Hi - h)) - kPio2Lo));
        return with_sign(r, sy);
    }
    // a/d < 2^-6 (about): m = a/x signed, plus pi for x < 0.
    double m = a / x;
    double n = __builtin_fma(-x, m, a) * rcp_est(x);
    double v = m * m;
    double t = __builtin_fma(atan32_p(v), m * v, __builtin_fma(m, atan32_tiny, n));  // D: the fit's shift
    if (!sx) return with_sign(m + t, sy);
    double s = kPiHi + m;
    return with_sign(s + (((kPiHi - s) + m) + (kPiLo + t)), sy);
}
#endif

// ---- single, every tier ---------------------------------------------------------------------------
inline float atan2f_all(float y, float x) {
    float r;
    if (__builtin_expect(atan2_special(y, x, r, code::atan2f_both_arguments_0), 0)) return r;
    bool xneg = (bits(x) >> 31) != 0;
    double t = double(y) / double(x);  // within 2^-53 of y/x, never out of range
    uint64_t sy = bits(double(y)) & kSign;
    if ((bits(t) & ~kSign) < 0x3e10000000000000ull) {  // |t| < 2^-30
        // atan t = t (1 - t^2/3), t^2/3 < 2^-61: t moved toward zero by 2^-51 of itself, which
        // crosses no float rounding boundary that y/x does not lie on (a quotient of floats is
        // a boundary or at least 2^-49 from one) and moves it off those it lies on.
        if (!xneg) return float(t - t * 0x1p-51);
        double lo = kPiLo - 0x1p-80;
        return float(sy ? -kPiHi - lo : kPiHi + lo);
    }
    double v = atan_for_float(t);
    if (xneg) v = with_sign(kPiHi, sy) + v;
    return float(v);
}

#if TSR_TIER_EX
// ---- single, tier ex: the octant decides ------------------------------------------------------
// atan(r) = r + r (E(v) + F(v) w) for |r| <= 1/2, w = r^2, v = w^2 (2^-38.5 relative).
inline double atan2f_series(double r) {
    double w = r * r, v = w * w;
    const double *E = atan2f_e, *F = atan2f_f;
    double e = (((E[0] * v + E[1]) * v + E[2]) * v + E[3]) * v;
    double f = ((F[0] * v + F[1]) * v + F[2]) * v + F[3];
    return r + r * (e + f * w);
}

// The operands' high words as doubles (a float's subnormals are normal there) differ by more
// than 0x100000 exactly when the smaller is below half the larger: the whole of one binade
// in the exponent-and-mantissa order.  Then atan of the small ratio r, |r| < 1/2, by the
// series, from 0 or ±pi (|y| below) or ±pi/2 (|y| above); beyond 0x2000000 (a ratio below
// 2^-31) the ratio alone.  Within a binade, atan(|y|/|x|) = pi/4 + atan(q) with q = (|y| -
// |x|)/(|y| + |x|), |q| <= 1/3: both sums are exact in double, and for x < 0 the angle is
// 3pi/4 - atan(q).  Every step is in double, some 2^-50 of the result with the polynomials'
// 2^-35.8, so one rounding to float ends it.
inline float atan2f_octant(float y, float x) {
    float res;
    if (__builtin_expect(atan2_special(y, x, res, code::atan2f_both_arguments_0), 0)) return res;
    double a = y, d = x;
    uint64_t sy = bits(a) & kSign;
    bool xneg = (bits(x) >> 31) != 0;
    int32_t gap = int32_t(hi(a) & 0x7fffffffu) - int32_t(hi(d) & 0x7fffffffu);
    if (gap > 0x100000) {  // |y| > 2 |x|: pi/2 - atan(x/y), signed as y
        double r = d / a, base = with_sign(kPio2Hi, sy);
        if (gap > 0x2000000) return float(base - r);
        return float(base - atan2f_series(r));
    }
    if (gap < -0x100000) {  // |y| < |x|/2: atan(y/x), plus ±pi for x < 0
        double r = a / d;
        if (gap < -0x2000000) {
            // atan r = r (1 - r^2/3), r^2/3 < 2^-62: as in the tiny quotient below.
            if (!xneg) return float(r - r * 0x1p-51);
            double lo = kPiLo - 0x1p-80;
            return float(sy ? -kPiHi - lo : kPiHi + lo);
        }
        double v = atan2f_series(r);
        return float(xneg ? with_sign(kPiHi, sy) + v : v);
    }
    double u = f64(bits(a) & ~kSign), t = f64(bits(d) & ~kSign);
    double q = (xneg ? t - u : u - t) / (t + u);
    double v = q * q, v2 = v * v;
    const double *G = atan2f_g;
    double p = ((G[0] * v2 + G[1]) * v2 + G[2]) * v * q + ((G[3] * v2 + G[4]) * v2 + G[5]) * q;
    double r = (xneg ? k3Pio4 : kPio4) + p;
    return float(sy ? -r : r);
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, atan2, (double y, double x)) { return atan2_grid16<true>(y, x); }
TSR_BODY(float, atan2f, (float y, float x)) { return atan2f_octant(y, x); }
// The reproducible forms: atan2 with a true division in place of the reciprocal estimate;
// atan2f a copy of the ex body.
TSR_DEFINE(double, __bwr_atan2, (double y, double x)) { return atan2_grid16<false>(y, x); }
TSR_DEFINE(float, __bwr_atan2f, (float y, float x)) { return atan2f_octant(y, x); }
#endif
#if TSR_TIER_E7
TSR_BODY(float, atan2f, (float y, float x)) { return atan2f_all(y, x); }
#endif
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, atan2, (double y, double x)) { return atan2_fma(y, x); }
TSR_BODY(float, atan2f, (float y, float x)) { return atan2f_all(y, x); }
#endif

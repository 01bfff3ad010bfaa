// atand, atan2d (and its second name atand2) and their float forms.
//
// The double forms evaluate the arctangent in degrees directly: a ratio in [0, 1] (|x|, its
// reciprocal, or the smaller magnitude of y and x over the larger, each with the word its
// rounding lost), a row of kAtandRows and a degree-7 expansion (atand_unit); the quadrant
// and x's or y's sign then put the angle in place, the last addition in the caller's mode.
// Exact cases, without a flag: every quadrant angle of zeros and infinities (0, ±90, ±180,
// ±45 and ±135 for two infinities, y's sign on each), and |y| = |x| (±45, ±135).  Both
// operands zero report with the function's code (the quadrant value, 0 or ±180, stays).
// A quotient below 2^-60 with x > 0 is the quotient itself (the cube is below 2^-120 of
// it): |y|/|x| of the operands brought to [1, 2), a double-double, times 180/pi, scaled
// back by the exponent difference so that only the last step rounds into the subnormal
// range.  Quotients beyond 2^60 (and below 2^-60 with x < 0) leave ±90 (±180) less a part
// below half its ulp: the constant and a tiny term on the right side of it.
// Tier ex only.  The float forms take the same exact cases and otherwise the same rows cut
// after d^4 in double (expand_rows_f) on the ratio in double: about 2^-34 of the value, so
// that the rounding to float adds at most 2^-10 of an ulp to its half ulp.
#include <type_traits>

#include "elementary/deg_common.h"
#include "tsr/codes.h"

using namespace tsr;
using namespace tsr::deg;

namespace {

// The exponent of a finite nonzero double, subnormals by their leading bit.
inline int ilog(uint64_t a) {
    int f = int(a >> 52);
    return f ? f - 1023 : -1011 - __builtin_clzll(a);
}
// a·2^-ilog(a), in [1, 2).
inline double normalise(uint64_t a, int e) {
    if (e >= -1022) return f64((a & 0x000fffffffffffffull) | 0x3ff0000000000000ull);
    return f64(a) * 0x1p600 * pow2(-e - 600);
}

// (180/pi)·atan(u + ul) for 0 <= u <= 1, |ul| <= 2^-52 u: rows at i/128.  |A| >= 2|P1·d| on
// every row but the first (A = 0), the terms after the head at most 2^-11 of a result no
// smaller than 0.22 (2^-2 of it on the first row).
inline DD atand_unit(double u, double ul) { return expand_rows<128>(kAtandRows, u, ul); }

// The quotient n/m of 0 < n <= m (both normal, n/m above 2^-62) as u + ul: u = n·(1/m),
// within an ulp or two of the quotient, and the residual n - u·m, exact for such a u (the
// product in two parts, n less its head exact by Sterbenz), times 1/m: one division.
inline DD ratio(double n, double m) {
    double v = 1.0 / m;
    double u = n == 1.0 ? v : n * v;
    DD p = two_prod_cut26(u, m);
    return {u, ((n - p.h) - p.l) * v};
}

// y, x finite and nonzero, |y| != |x|.
inline double atan2d_core(double y, double x) {
    uint64_t ay = bits(y) & kAbs, ax = bits(x) & kAbs, sy = bits(y) & kSign;
    int ey = ilog(ay), ex = ilog(ax);
    uint64_t sx = bits(x) & kSign;
    // Quotients beyond 2^60 either way, but the tiny ones with x > 0: 90 or 180 less a part
    // below half an ulp of them, which moves only a directed rounding, and y's sign.
    if (ey - ex > 60) return neg_if(90.0, sy) - neg_if(0x1p-100, sx ^ sy);
    if (sx && ey - ex < -60) return neg_if(180.0, sy) - neg_if(0x1p-100, sy);
    if (ey - ex < -60) {
        RnGuardInexact g;
        DD q = div(DD{normalise(ay, ey), 0}, DD{normalise(ax, ex), 0});
        DD v = mul(q, kR2dHi, kR2dLo);
        double h = opaque(neg_if(v.h, sy)), l = opaque(neg_if(v.l, sy));
        g.restore();
        return scaled_sum({opaque(h), l}, ey - ex);
    }
    // Both magnitudes brought by one power of two to a larger one in [1, 2) (the smaller
    // stays above 2^-61, normal); the smaller over the larger, t its angle in degrees, and
    // the quadrant: t, 90 - t (|y| > |x|), 180 - t (x < 0), 90 + t (both); y's sign last.
    int e = ey > ex ? ey : ex;
    double f1 = pow2(-e / 2), f2 = pow2(-e + e / 2);
    double b = f64(ay) * f1 * f2, a = f64(ax) * f1 * f2;
    bool steep = ay > ax, minus = steep != (sx != 0);
    DD t = steep ? ratio(a, b) : ratio(b, a);
    t = atand_unit(t.h, t.l);
    double k = steep ? 90.0 : (sx ? 180.0 : 0.0);
    DD v = fast_two_sum(k, minus ? -t.h : t.h);  // |k| > |t| or k = 0
    double l = v.l + (minus ? -t.l : t.l);
    return neg_if(v.h, sy) + neg_if(l, sy);
}

template <class T>
inline T atan2d_t(T yt, T xt) {
    double y = yt, x = xt;
    uint64_t ay = bits(y) & kAbs, ax = bits(x) & kAbs, sy = bits(y) & kSign;
    bool xneg = (bits(x) & kSign) != 0;
    if (ay > kInfBits || ax > kInfBits) return T(x + y);
    if (ay == 0 || ax == 0 || ay == kInfBits || ax == kInfBits) {
        double v;
        if (ay == 0) {
            v = xneg ? 180.0 : 0.0;
            if (ax == 0) {
                constexpr int kCode = std::is_same_v<T, float> ? code::atan2df_both_arguments_0
                                                               : code::atan2d_both_arguments_0;
                return report(yt, xt, T(neg_if(v, sy)), kCode);
            }
        } else if (ay == kInfBits) {
            v = ax == kInfBits ? (xneg ? 135.0 : 45.0) : 90.0;
        } else {
            v = ax == 0 ? 90.0 : (xneg ? 180.0 : 0.0);
        }
        return T(neg_if(v, sy));
    }
    if (ay == ax) return T(neg_if(xneg ? 135.0 : 45.0, sy));
    if constexpr (std::is_same_v<T, float>) {
        // Quotients beyond 2^40 either way (the small ones with x < 0) as in atan2d_core, where
        // the double path would leave the side of 90 or 180 to its own rounding.
        int q = ilog(ay) - ilog(ax);
        if (q > 40) return T(neg_if(90.0, sy) - neg_if(0x1p-100, (bits(x) & kSign) ^ sy));
        if (xneg && q < -40) return T(neg_if(180.0, sy) - neg_if(0x1p-100, sy));
        // The smaller magnitude over the larger in double (float operands: no underflow), its
        // angle from the rows cut after d^4, then the quadrant as in atan2d_core.
        double b = f64(ay), a = f64(ax);
        bool steep = ay > ax, minus = steep != xneg;
        double t = expand_rows_f<128>(kAtandRows, steep ? a / b : b / a);
        double k = steep ? 90.0 : (xneg ? 180.0 : 0.0);
        return T(neg_if(k + (minus ? -t : t), sy));
    }
    return T(atan2d_core(y, x));
}

// atand for 2^-60 <= |x| <= 2^60, |x| != 1: the rows on |x| below 1, above it 90 less the
// angle of 1/|x| (the reciprocal with its residual's word); x's sign last.
inline double atand_core(double x) {
    uint64_t sx = bits(x) & kSign;
    double a = f64(bits(x) & kAbs);
    if (a < 1.0) {
        DD t = atand_unit(a, 0.0);
        return neg_if(t.h, sx) + neg_if(t.l, sx);
    }
    DD r = ratio(1.0, a);
    DD t = atand_unit(r.h, r.l);
    DD v = fast_two_sum(90.0, -t.h);
    return neg_if(v.h, sx) + neg_if(v.l - t.l, sx);
}

template <class T>
inline T atand_t(T xt) {
    double x = xt;
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= kInfBits) return ax == kInfBits ? T(neg_if(90.0, sx)) : T(x + x);
    if (ax == 0x3ff0000000000000ull) return T(neg_if(45.0, sx));
    if (ax < 0x3c30000000000000ull)  // below 2^-60: x·180/pi
        return ax == 0 ? xt : T(mul_small(x, kR2dHi, kR2dLo));
    if constexpr (std::is_same_v<T, float>) {
        if (ax > 0x4270000000000000ull) return T(neg_if(90.0, sx) - neg_if(0x1p-100, sx));  // > 2^40
        double a = f64(ax);  // below 1 the rows on |x|, above 90 less them on 1/|x|
        double v = a < 1.0 ? expand_rows_f<128>(kAtandRows, a) : 90.0 - expand_rows_f<128>(kAtandRows, 1.0 / a);
        return T(neg_if(v, sx));
    }
    if (ax > 0x43b0000000000000ull) return neg_if(90.0, sx) - neg_if(0x1p-100, sx);  // > 2^60
    return atand_core(x);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, atand, (double x)) { return atand_t(x); }
TSR_BODY(double, atan2d, (double y, double x)) { return atan2d_t(y, x); }
TSR_BODY(double, atand2, (double y, double x)) { return atan2d_t(y, x); }
TSR_BODY(float, atandf, (float x)) { return atand_t(x); }
TSR_BODY(float, atan2df, (float y, float x)) { return atan2d_t(y, x); }
TSR_BODY(float, atand2f, (float y, float x)) { return atan2d_t(y, x); }
// The reproducible forms: the ex steps under their own names.
TSR_DEFINE(double, __bwr_atand, (double x)) { return atand_t<double>(x); }
TSR_DEFINE(double, __bwr_atan2d, (double y, double x)) { return atan2d_t<double>(y, x); }
TSR_DEFINE(double, __bwr_atand2, (double y, double x)) { return atan2d_t<double>(y, x); }
TSR_DEFINE(float, __bwr_atandf, (float x)) { return atand_t<float>(x); }
TSR_DEFINE(float, __bwr_atan2df, (float y, float x)) { return atan2d_t<float>(y, x); }
TSR_DEFINE(float, __bwr_atand2f, (float y, float x)) { return atan2d_t<float>(y, x); }
#endif

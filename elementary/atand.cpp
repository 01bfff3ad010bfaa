// atand, atan2d (and its second name atand2) and their float forms.
//
// The angle is atan2 in double with one correction from the double-double sine and cosine
// kernel __libm_sincos_k64 (atan2d_core), and goes to degrees by 180/pi in two parts; the
// last addition is the caller's mode's.
// Exact cases, without a flag: every quadrant angle of zeros and infinities (0, ±90, ±180,
// ±45 and ±135 for two infinities, y's sign on each), and |y| = |x| (±45, ±135).  Both
// operands zero report with the function's code (the quadrant value, 0 or ±180, stays).
// A quotient below 2^-60 with x > 0 is the quotient itself (the cube is below 2^-120 of
// it): |y|/|x| of the operands brought to [1, 2), a double-double, times 180/pi, scaled
// back by the exponent difference so that only the last step rounds into the subnormal
// range.  Quotients beyond 2^60 (and below 2^-60 with x < 0) leave ±90 (±180) less a part
// below half its ulp: the constant and a tiny term on the right side of it.  Subnormal operands otherwise are scaled by 2^600 together first, so that the
// kernel sees normal operands.
// atand(x) is atan2d(x, 1), on atan in place of atan2.  Tier ex only.  The float forms take the same exact cases and
// otherwise the double radian function times 180/pi: about 2^-51 of the value, so that the
// rounding to float adds at most 2^-27 of an ulp to its half ulp.
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

// y, x finite and nonzero, |y| != |x|.
template <bool Bwr>
inline double atan2d_core(double y, double x) {
    uint64_t ay = bits(y) & kAbs, ax = bits(x) & kAbs, sy = bits(y) & kSign;
    int ey = ilog(ay), ex = ilog(ax);
    uint64_t sx = bits(x) & kSign;
    // Quotients beyond 2^60 either way, but the tiny ones with x > 0: 90 or 180 less a part
    // below half an ulp of them, which moves only a directed rounding, and y's sign.
    if (ey - ex > 60) return neg_if(90.0, sy) - neg_if(0x1p-100, sx ^ sy);
    if (sx && ey - ex < -60) return neg_if(180.0, sy) - neg_if(0x1p-100, sy);
    RnGuardInexact g;
    if (ey - ex < -60) {
        DD q = div(DD{normalise(ay, ey), 0}, DD{normalise(ax, ex), 0});
        DD v = mul(q, kR2dHi, kR2dLo);
        double h = opaque(neg_if(v.h, sy)), l = opaque(neg_if(v.l, sy));
        g.restore();
        return scaled_sum({opaque(h), l}, ey - ex);
    }
    // Both operands brought by one power of two to a larger magnitude in [1, 2) (the smaller
    // stays above 2^-61, normal): a = atan2 in double, then one correction from sin a and
    // cos a of the double-double kernel: atan2(y, x) - a = atan((y cos a - x sin a)/(x cos a +
    // y sin a)), a quotient of about 2^-53 whose cube is far below; the numerator's error
    // from the kernel's 2^-62 is 2^-61 of r·|sin a cos a|, the denominator r, so the
    // correction is good to 2^-60 of the angle.
    int e = ey > ex ? ey : ex;
    double f1 = pow2(-e / 2), f2 = pow2(-e + e / 2);
    y = opaque(y) * f1 * f2;
    x = opaque(x) * f1 * f2;
    double a = Bwr ? __bwr_atan2_local(y, x) : __libm_atan2_local(y, x);
    double S[2], C[2];
    __libm_sincos_k64(a, S, C);
    DD yc = two_prod(y, C[0]), xs = two_prod(x, S[0]);
    double num = (yc.h - xs.h) + ((yc.l - xs.l) + (y * C[1] - x * S[1]));  // the heads: exact
    double den = x * C[0] + y * S[0];
    return finish(g, mul(fast_two_sum(a, num / den), kR2dHi, kR2dLo));
}

template <class T, bool Bwr = false>
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
        // The radian function in double, see the head; quotients beyond 2^40 either way (the
        // small ones with x < 0) as in atan2d_core, where the double path would leave the side
        // of 90 or 180 to its own rounding.
        int q = ilog(ay) - ilog(ax);
        if (q > 40) return T(neg_if(90.0, sy) - neg_if(0x1p-100, (bits(x) & kSign) ^ sy));
        if (xneg && q < -40) return T(neg_if(180.0, sy) - neg_if(0x1p-100, sy));
        return T((Bwr ? __bwr_atan2_local(y, x) : __libm_atan2_local(y, x)) * kR2dHi);
    }
    return T(atan2d_core<Bwr>(y, x));
}

// atand for 2^-60 <= |x| <= 2^60: a = atan in double and the correction of atan2d_core
// with (y, x) = (x, 1): atan x - a = atan((x cos a - sin a)/(cos a + x sin a)).
template <bool Bwr>
inline double atand_core(double x) {
    RnGuardInexact g;
    x = opaque(x);
    double a = Bwr ? __bwr_atan_local(x) : __libm_atan_local(x);
    double S[2], C[2];
    __libm_sincos_k64(a, S, C);
    DD xc = two_prod(x, C[0]);
    double num = (xc.h - S[0]) + ((xc.l - S[1]) + x * C[1]);  // the heads: exact
    double den = C[0] + x * S[0];
    return finish(g, mul(fast_two_sum(a, num / den), kR2dHi, kR2dLo));
}

template <class T, bool Bwr = false>
inline T atand_t(T xt) {
    double x = xt;
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= kInfBits) return ax == kInfBits ? T(neg_if(90.0, sx)) : T(x + x);
    if (ax == 0x3ff0000000000000ull) return T(neg_if(45.0, sx));
    if (ax < 0x3c30000000000000ull)  // below 2^-60: x·180/pi
        return ax == 0 ? xt : T(mul_small(x, kR2dHi, kR2dLo));
    if constexpr (std::is_same_v<T, float>) {
        if (ax > 0x4270000000000000ull) return T(neg_if(90.0, sx) - neg_if(0x1p-100, sx));  // > 2^40
        return T((Bwr ? __bwr_atan_local(x) : __libm_atan_local(x)) * kR2dHi);
    }
    if (ax > 0x43b0000000000000ull) return neg_if(90.0, sx) - neg_if(0x1p-100, sx);  // > 2^60
    return atand_core<Bwr>(x);
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
TSR_DEFINE(double, __bwr_atand, (double x)) { return atand_t<double, true>(x); }
TSR_DEFINE(double, __bwr_atan2d, (double y, double x)) { return atan2d_t<double, true>(y, x); }
TSR_DEFINE(double, __bwr_atand2, (double y, double x)) { return atan2d_t<double, true>(y, x); }
TSR_DEFINE(float, __bwr_atandf, (float x)) { return atand_t<float, true>(x); }
TSR_DEFINE(float, __bwr_atan2df, (float y, float x)) { return atan2d_t<float, true>(y, x); }
TSR_DEFINE(float, __bwr_atand2f, (float y, float x)) { return atan2d_t<float, true>(y, x); }
#endif

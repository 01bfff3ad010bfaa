// asind, acosd and their float forms.
//
// asin a = atan2(a, sqrt(1 - a^2)) and acos x = atan2(sqrt(1 - x^2), x), the angle from the
// double-double kernel __libm_atan2_k64 (about 2^-64 of the value) and taken to degrees by
// 180/pi in two parts.  1 - a^2 is formed exactly as a double-double: from d = 1 - a (exact
// for a >= 1/2) as 2d - d^2, below 1/2 as 1 - a^2; its square root is the rounded root of
// the head and one correction (t - s^2)/(2s).  The last addition is the caller's mode's.
// Exact cases, without a flag: ±1 (asind ±90, acosd 0 and 180), ±1/2 (±30; 60 and 120),
// acosd(±0) = 90.  Below 2^-60 asind is x·180/pi (the cube is below 2^-120 of it) and acosd
// 90 less a tail.  |x| > 1, infinities included: NaN with the function's code.
//
// Tiers ex and e7 (double) run these steps alike.  The float forms take the same exact
// cases and otherwise the double radian function times 180/pi: about 2^-51 of the value, so
// that the rounding to float adds at most 2^-27 of an ulp to its half ulp.
#include <type_traits>

#include "elementary/deg_common.h"
#include "tsr/codes.h"

using namespace tsr;
using namespace tsr::deg;

namespace {

constexpr uint64_t kTwoM60 = 0x3c30000000000000ull;  // 2^-60

template <bool Acos, class T, bool Bwr = false>
inline T asind_t(T xt) {
    double x = xt;
    uint64_t ax = bits(x) & kAbs, sx = bits(x) & kSign;
    if (ax >= 0x3ff0000000000000ull) {
        if (ax == 0x3ff0000000000000ull) return T(Acos ? (sx ? 180.0 : 0.0) : neg_if(90.0, sx));
        if (ax > kInfBits) return T(x + x);
        constexpr int kCode = std::is_same_v<T, float>
                                  ? (Acos ? code::acosdf_magnitude_above_1 : code::asindf_magnitude_above_1)
                                  : (Acos ? code::acosd_magnitude_above_1 : code::asind_magnitude_above_1);
        double nan = opaque(0.0) * opaque(__builtin_inf());
        return report(xt, T(nan), kCode);
    }
    if (ax == 0x3fe0000000000000ull) return T(Acos ? (sx ? 120.0 : 60.0) : neg_if(30.0, sx));
    // Below 2^-60 (2^-25 for the float forms, where the double radian path would leave the
    // side of 90 to its own rounding): first-order terms.
    if (ax < (std::is_same_v<T, float> ? 0x3e60000000000000ull : kTwoM60)) {
        if (Acos) return T(ax == 0 ? 90.0 : 90.0 - f64(bits(0x1p-900) | sx));
        return ax == 0 ? xt : T(mul_small(x, kR2dHi, kR2dLo));
    }
    if constexpr (std::is_same_v<T, float>) {
        // The float forms: the radian function in double (0.55 ulp) times 180/pi, about 2^-51
        // of the value before the rounding to float.
        double v = Acos ? (Bwr ? __bwr_acos_local(x) : __libm_acos_local(x))
                        : (Bwr ? __bwr_asin_local(x) : __libm_asin_local(x));
        return T(v * kR2dHi);
    }
    RnGuardInexact g;
    double a = opaque(f64(ax));
    DD w;  // 1 - a^2
    if (a >= 0.5) {
        double d = 1.0 - a;  // exact
        DD p = two_prod(d, d);
        w = two_sum(2.0 * d, -p.h);
        w = fast_two_sum(w.h, w.l - p.l);
    } else {
        DD p = two_prod(a, a);
        w = two_sum(1.0, -p.h);
        w = fast_two_sum(w.h, w.l - p.l);
    }
    double s = __builtin_sqrt(w.h);
    DD ss = two_prod(s, s);
    DD root = fast_two_sum(s, (((w.h - ss.h) - ss.l) + w.l) / (2.0 * s));
    double out[2], num[2], den[2];
    if (Acos) {
        num[0] = root.h, num[1] = root.l, den[0] = x, den[1] = 0;
    } else {
        num[0] = a, num[1] = 0, den[0] = root.h, den[1] = root.l;
    }
    __libm_atan2_k64(out, num, den);
    DD v = mul(DD{out[0], out[1]}, kR2dHi, kR2dLo);
    uint64_t neg = Acos ? 0 : sx;
    return T(finish(g, {neg_if(v.h, neg), neg_if(v.l, neg)}));
}

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, asind, (double x)) { return asind_t<false>(x); }
TSR_BODY(double, acosd, (double x)) { return asind_t<true>(x); }
#endif

#if TSR_TIER_EX
TSR_BODY(float, asindf, (float x)) { return asind_t<false>(x); }
TSR_BODY(float, acosdf, (float x)) { return asind_t<true>(x); }
// The reproducible forms: the ex steps under their own names.
TSR_DEFINE(double, __bwr_asind, (double x)) { return asind_t<false>(x); }
TSR_DEFINE(double, __bwr_acosd, (double x)) { return asind_t<true>(x); }
TSR_DEFINE(float, __bwr_asindf, (float x)) { return asind_t<false, float, true>(x); }
TSR_DEFINE(float, __bwr_acosdf, (float x)) { return asind_t<true, float, true>(x); }
#endif

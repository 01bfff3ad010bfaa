// asind, acosd and their float forms.
//
// asin of t in [0, 1/2] in degrees from rows of a value and a degree-7 expansion (asind_unit,
// deg_common.h) on |x| (acosd: 90 -+ it); above 1/2, acos |x| = 2 asin sqrt((1 - |x|)/2), with
// 1 - |x| exact and the root's own correction (t - r^2)/(2r) as the argument's tail (asind:
// 90 less it, acosd of a negative x: 180 less it).  The last addition is the caller's mode's.
// Exact cases, without a flag: ±1 (asind ±90, acosd 0 and 180), ±1/2 (±30; 60 and 120),
// acosd(±0) = 90.  Below 2^-60 asind is x·180/pi (the cube is below 2^-120 of it) and acosd
// 90 less a tail.  |x| > 1, infinities included: NaN with the function's code.
//
// Tiers ex and e7 (double) run these steps alike.  The float forms take the same exact
// cases and otherwise the same steps with the rows cut after d^4 in double: about 2^-34 of
// the value, so that the rounding to float adds at most 2^-10 of an ulp to its half ulp.
#include <type_traits>

#include "elementary/deg_common.h"
#include "tsr/codes.h"

using namespace tsr;
using namespace tsr::deg;

namespace {

constexpr uint64_t kTwoM60 = 0x3c30000000000000ull;  // 2^-60

// (180/pi)·asin(u + ul) for 0 <= u <= 1/2, |ul| <= 2^-52 u: rows at i/256.  |A| >= 1.7|P1·d|
// on every row but the first (A = 0), the terms after the head at most 2^-12 of a result no
// smaller than 0.11 (2^-2 of it on the first row).
inline DD asind_unit(double u, double ul) { return expand_rows<256>(kAsindRows, u, ul); }

template <bool Acos, class T>
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
        // The rows cut after d^4 in double on |x| or on the half-angle root (about 2^-34 of
        // the value), then the same sums as below in double.
        double a = f64(ax), v;
        if (a <= 0.5) {
            double t = expand_rows_f<256>(kAsindRows, a);
            v = Acos ? 90.0 - neg_if(t, sx) : neg_if(t, sx);
        } else {
            double t = 2.0 * expand_rows_f<256>(kAsindRows, __builtin_sqrt((1.0 - a) * 0.5));  // acos|x|
            v = Acos ? (sx ? 180.0 - t : t) : neg_if(90.0 - t, sx);
        }
        return T(v);
    }
    double a = f64(ax);
    DD v;  // the magnitude of the result, in degrees
    if (a <= 0.5) {
        DD d = asind_unit(a, 0.0);  // asin |x|
        if (Acos) {  // 90 -+ asin|x|
            v = fast_two_sum(90.0, sx ? d.h : -d.h);
            v.l += sx ? d.l : -d.l;
        } else {
            v = d;
        }
    } else {
        // acos |x| = 2 asin sqrt(t), t = (1 - |x|)/2 exact; the root r with the word its
        // rounding lost, (t - r^2)/(2r): the residual exact (the product in two parts, t less
        // its head by Sterbenz) times 1/(2r) from a single-precision division (good to 2^-24;
        // t from 2^-54 on, r normal as a float), so the word is within 2^-24 of itself and the
        // double division stays off the path.  Not the reciprocal square root estimate: its
        // bits differ between processors, and the reproducible forms share this body.
        double t = (1.0 - a) * 0.5;
        double r = __builtin_sqrt(t);
        double y = double(0.5f / float(r));
        DD rr = two_prod_cut26(r, r);
        DD c = asind_unit(r, ((t - rr.h) - rr.l) * y);
        DD d = {2.0 * c.h, 2.0 * c.l};  // acos |x|
        if (Acos && !sx) {
            v = d;
        } else {  // asind: 90 - acos|x|; acosd of x < 0: 180 - acos|x|
            v = fast_two_sum(Acos ? 180.0 : 90.0, -d.h);
            v.l -= d.l;
        }
    }
    uint64_t neg = Acos ? 0 : sx;
    return T(neg_if(v.h, neg) + neg_if(v.l, neg));
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
TSR_DEFINE(double, __bwr_asind, (double x)) { return asind_t<false, double>(x); }
TSR_DEFINE(double, __bwr_acosd, (double x)) { return asind_t<true, double>(x); }
TSR_DEFINE(float, __bwr_asindf, (float x)) { return asind_t<false, float>(x); }
TSR_DEFINE(float, __bwr_acosdf, (float x)) { return asind_t<true, float>(x); }
#endif

// atan and atanf.
//
// Double.  Tiers ex and e7: the 4-bit grid (c = x's top 16 bits with the midpoint bit 47) for
// 2^-5 <= |x| < 32, atan(c) from a table in two parts and z = (x - c)/(x c + 1); below the grid
// the polynomial on x itself, above it atan(x) = ±pi/2 + atan(-1/x).  Tiers l9, z0, d1: the
// 5-bit grid (bit 46 the midpoint) for 2^-6 <= |x| < 2^6 with fused multiply-adds and a
// degree-7 polynomial; above it the reciprocal with its residual, 1/x - q = q (1 - x q).
//
// Single.  Every tier evaluates in double on the 4-bit grid (atan_for_float), whose error is
// some 2^-50 relative: the float result is then the correctly rounded value except where the
// exact value lies within 2^-26 ulp of a midpoint.
#include "elementary/invtrig_common.h"
#include "tsr/lane.h"

using namespace tsr;
using namespace tsr::invtrig;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
// atan's regions by the top 16 bits without the sign, hw.
inline double atan_grid16(double x) {
    uint64_t b = bits(x);
    uint32_t hw = uint32_t(b >> 48) & 0x7fff;
    uint64_t sign = b & kSign;
    if (hw - 0x3fa0u < 0x4040u - 0x3fa0u) {  // 2^-5 <= |x| < 32
#if TSR_TIER_EX
        double c = f64((b & 0xffff000000000000ull) + 0x0000800000000000ull);
#else
        double c = from_words((hi(x) & 0xffff0000u) | 0x8000u, 0);
#endif
        double z = (x - c) / (x * c + 1.0);  // x - c exact
        const HiLo &T = atan16[hw - 0x3f9f];
        return add_angle(with_sign(T.hi, sign), with_sign(T.lo, sign), z);
    }
    if (hw < 0x3fa0) {
        if (hw >= 0x3bf0) return x + atan16_tail(x);  // 2^-64 <= |x| < 2^-5
        return nudge<false>(x);  // atan(x) = x (1 - x^2/3 ...)
    }
    if (hw <= 0x43ef) {  // 32 <= |x| < 2^63
        double z = -1.0 / x;
        return add_angle(with_sign(kPio2Hi, sign), with_sign(kPio2Lo, sign), z);
    }
    if ((b & ~kSign) > 0x7ff0000000000000ull) return x + x;  // NaN
    // |x| >= 2^63 or infinite: pi/2 - 1/|x|, within a fraction of an ulp of pi/2.
    return sign ? -kPio2Hi - kPio2Lo : kPio2Hi + kPio2Lo;
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
inline double atan32_p(double v) {
    return __builtin_fma(__builtin_fma(atan32_poly[2], v, atan32_poly[1]), v, atan32_poly[0]);
}

alignas(16) constexpr uint64_t kGrid32Mask[2] = {0xffff800000000000ull, 0xffff800000000000ull};

// atan's regions by the exponent word Hm = high word & 0x7ff00000.
inline double atan_grid32(double x) {
    uint64_t b = bits(x);
    uint32_t H = hi(x) & 0x7fffffffu;
    uint32_t Hm = H & 0x7ff00000u;
    uint64_t sign = b & kSign;
    if (__builtin_expect(Hm - 0x3f900000u < 0x40500000u - 0x3f900000u, 1)) {  // 2^-6 <= |x| < 2^6
        // c = x's top 17 bits with the midpoint bit 46 below them, formed in the vector unit
        double c = or_masked(f64(0x0000400000000000ull), x, kGrid32Mask);
        double z = (x - c) / fma_into_addend(x, c, 1.0);
        const HiLo &T = atan32[(H >> 15) - 0x7f20];
        double Th = with_sign(T.hi, sign), Tl = with_sign(T.lo, sign);
        double v = z * z;
        double h = z + Th;
        double e = Tl + (z - (h - Th));
        return h + __builtin_fma(atan32_p(v), z * v, e);
    }
    if (Hm < 0x3f900000u) {
        if (Hm <= 0x3e2fffffu) {
            // |x| < 2^-28: x (1 + D), D a little below -x^2/3's reach; the sign kept for a
            // result that rounds to zero.
            return f64(bits(__builtin_fma(x, atan32_tiny, x)) | sign);
        }
        double v = x * x;  // 2^-28 <= |x| < 2^-6: no grid, the constant D shifts the fit
        return x + __builtin_fma(atan32_p(v), x * v, x * atan32_tiny);
    }
    if (Hm < 0x43700000u) {  // 2^6 <= |x| < 2^56
        double q = 1.0 / x;
        double n = q * __builtin_fma(-x, q, 1.0);  // 1/x - q
        double H2 = with_sign(kPio2Hi, sign), L = with_sign(kPio2Lo, sign);
        double h = H2 - q;
        double v = q * q;
        return h - __builtin_fma(atan32_p(v), q * v, n + ((q - (H2 - h)) - L));
    }
    if ((b & ~kSign) > 0x7ff0000000000000ull) return x + x;
    // pi/2 - 1/|x|: pi/2 in two parts, summed in the caller's mode (inexact).
    return sign ? -kPio2Hi - kPio2Lo : kPio2Hi + kPio2Lo;
}
#endif

// atanf in every tier: the double evaluation, with the tiny and NaN arguments apart.
inline float atanf_all(float x) {
    uint32_t b = bits(x) & 0x7fffffffu;
    if (__builtin_expect(b - 0x30800000u < 0x7f800000u - 0x30800000u, 1))  // 2^-30 <= |x| < inf
        return float(atan_for_float(double(x)));
    if (b < 0x30800000u) {
        // atan(x) = x - x^3/3: x nudged toward zero by far less than a float ulp, in double,
        // so that one rounding gives the mode's result and the flags (underflow when tiny).
        // The conversion of a subnormal x is exact: underflow is raised apart.
        if (b == 0) return x;
        if (b < 0x00800000u) raise_underflow();
        double u = x;
        return float(u - u * 0x1p-60);
    }
    if (b > 0x7f800000u) return x + x;
    return float(with_sign(kPio2Hi, bits(double(x)) & kSign));
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, atan, (double x)) { return atan_grid16(x); }
TSR_BODY(float, atanf, (float x)) { return atanf_all(x); }
// The reproducible forms: copies of the ex bodies (no estimate instruction in either).
TSR_DEFINE(double, __bwr_atan, (double x)) { return atan_grid16(x); }
TSR_DEFINE(float, __bwr_atanf, (float x)) { return atanf_all(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, atan, (double x)) { return atan_grid16(x); }
TSR_BODY(float, atanf, (float x)) { return atanf_all(x); }
#endif
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, atan, (double x)) { return atan_grid32(x); }
TSR_BODY(float, atanf, (float x)) { return atanf_all(x); }
#endif

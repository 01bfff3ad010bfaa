// Square root and reciprocal square root in extended precision.
//
// sqrt x is the unit's own square root at 64-bit precision: correctly rounded in every mode.
//
// 1/sqrt x: s = sqrt x and h = 1/s, each rounded; then the two errors are measured exactly
// (1 - s h and x - s^2 by exact products) and put in as one correction,
//     1/sqrt x = h (1 + (1 - s h) - (x - s^2)/(2x)),
// whose last addition rounds once (0.5 ulp plus about 2^-62 ulp).  Arguments near the ends of
// the range are scaled by 2^+-512 first, so that s^2 and its split stay finite and normal.
#include "extended/ext_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

inline LD sqrt_body(LD x) {
    // x goes onto the register stack from its own cell first: rebuilding it from the
    // integer reads would cost a failed store forwarding.
    Ext v = ext_in(x);
    LD xr = load(x);
    if (__builtin_expect(v.se >> 15, 0)) {
        if ((v.se & 0x7fff) == 0 && v.m == 0) return x;                                      // -0
        if ((v.se & 0x7fff) == 0x7fff && v.m != 0x8000000000000000ull) return x + x;          // NaN
        return report(x, default_nan(), code::sqrtl_argument_negative);
    }
    X87Frame fr;
    return fr.finish(fsqrt(opaque(xr)));
}

inline LD invsqrt_body(LD x) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect((v.se >> 15) || f == 0x7fff || invalid_encoding(v) || (f == 0 && v.m == 0), 0)) {
        if (f == 0 && v.m == 0) return 1.0L / opaque(x);                        // +-inf, divide-by-zero
        if (f == 0x7fff && v.m == 0x8000000000000000ull && !(v.se >> 15)) return 0.0L;  // +inf
        if (f == 0x7fff || invalid_encoding(v)) return x + x;
        return default_nan();                                                    // negative
    }
    X87Frame fr;
    x = opaque(load(x));
    LD post = 1.0L;
    if (__builtin_expect(f < 0x0200 || f > 0x7e00, 0)) {
        bool small = f < 0x0200;
        x = x * (small ? 0x1p512L : 0x1p-512L);
        post = small ? 0x1p256L : 0x1p-256L;
    }
    LD s = fsqrt(x);
    LD h = 1.0L / s;
    LD p, pe, q, qe;
    two_prod(s, h, p, pe);
    two_prod(s, s, q, qe);
    LD e1 = (1.0L - p) - pe;
    LD d = (x - q) - qe;
    LD y = h + h * (e1 - d * 0.5L / x);
    return fr.finish(y * post);
}

}  // namespace

TSR_BODY(long double, sqrtl, (long double x)) { return sqrt_body(x); }
TSR_DEFINE(long double, __libm_square_root_x87, (long double x)) { return sqrt_body(x); }

TSR_BODY(long double, invsqrtl, (long double x)) { return invsqrt_body(x); }
TSR_DEFINE(long double, __invsqrtl, (long double x)) { return invsqrt_body(x); }
#endif

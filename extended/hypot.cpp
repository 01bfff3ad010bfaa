// sqrt(x^2 + y^2) in extended precision.
//
// Both operands are brought by integer work to the binade of the larger one's exponent
// (so the larger is in [1, 2)), their squares formed exactly as pairs and summed as a pair
// S; r = sqrt of S's head, and the remainder S - r^2 (exact product) corrects it:
//     hypot = r + (S - r^2)/(2r),
// one rounding (0.5 ulp plus about 2^-62 ulp), then the exact scaling back, or one rounding
// into a subnormal.  When the exponents differ by more than 40 the smaller operand moves the
// result by less than 2^-80 of it: the larger plus a tiny amount, rounded in the caller's
// mode.  An infinity wins over a NaN.
#include "extended/ext_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX

TSR_BODY(long double, hypotl, (long double x, long double y)) {
    Ext a = ext_in(x), b = ext_in(y);
    uint32_t fa = a.se & 0x7fff, fb = b.se & 0x7fff;
    if (__builtin_expect(fa == 0x7fff || fb == 0x7fff || invalid_encoding(a) || invalid_encoding(b), 0)) {
        if ((fa == 0x7fff && a.m == 0x8000000000000000ull) || (fb == 0x7fff && b.m == 0x8000000000000000ull))
            return __builtin_infl();
        return x + y;
    }
    a.se = uint16_t(fa);
    b.se = uint16_t(fb);
    if (b.m == 0) return from_ext(a.m, a.se);  // |x| (also when both are zero)
    if (a.m == 0) return from_ext(b.m, b.se);
    Unpacked ua = unpack(a), ub = unpack(b);
    if (ua.e < ub.e || (ua.e == ub.e && ua.m < ub.m)) {
        Unpacked t = ua;
        ua = ub;
        ub = t;
    }
    X87Frame fr;
    int d = ua.e - ub.e;
    if (d > 40) {
        LD big = opaque(from_ext(ua.m, 0x3fff));
        LD r = big + big * 0x1p-100L;
        return fr.finish(scale(r, ua.e));
    }
    LD A = opaque(from_ext(ua.m, 0x3fff)), B = opaque(from_ext(ub.m, uint16_t(0x3fff - d)));
    LD p1, e1, p2, e2, s, t, sh, sl;
    two_prod<true>(A, A, p1, e1);
    two_prod<true>(B, B, p2, e2);
    two_sum(p1, p2, s, t);
    fast_two_sum(s, t + (e1 + e2), sh, sl);
    LD r = fsqrt(sh), q, qe;
    two_prod<true>(r, r, q, qe);
    LD c = (((sh - q) - qe) + sl) / (r + r);
    LD z = r + c;
    // z in [1, 2.83): the result overflows when 2^e z reaches 2^16384.
    bool over = ua.e + (z >= 2.0L) >= 16384;
    LD res = fr.finish(scale(z, ua.e));
    if (__builtin_expect(over, 0)) return report(x, y, res, code::hypotl_overflow);
    return res;
}
#endif

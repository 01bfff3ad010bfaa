// sqrt(x^2 + y^2) in extended precision.
//
// Both operands are brought by integer work to the binade of the larger one's exponent
// (so the larger is in [1, 2)), as heads and tails of 32 bits loaded from the significands'
// halves; their squares are summed as a pair S; r = sqrt of S's head, and the remainder S - r^2 (exact product) corrects it:
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
    // The significands' 32-bit halves, loaded as integers and scaled (exactly, without a
    // flag): A = Ah + Al in [1, 2), B = Bh + Bl = |smaller| 2^-e.
    LD Ah = LD(int64_t(ua.m >> 32)) * 0x1p-31L, Al = LD(int64_t(ua.m & 0xffffffffu)) * 0x1p-63L;
    LD Bh = LD(int64_t(ub.m >> 32)) * pow2l(-31 - d), Bl = LD(int64_t(ub.m & 0xffffffffu)) * pow2l(-63 - d);
    // A^2 + B^2 = Ah^2 + Bh^2 + 2 (Ah Al + Bh Bl) + Al^2 + Bl^2: the squares of the heads and
    // the cross products are exact, the first sum kept by a two-sum (Ah >= Bh), the rest
    // (below 2^-30 of the sum) rounded once more than it needs: S = sh + sl to about 2^-93.
    LD p1 = Ah * Ah, p2 = Bh * Bh, s, t, sh, sl;
    fast_two_sum(p1, p2, s, t);
    fast_two_sum(s, t + ((Ah * Al + Bh * Bl) * 2.0L + (Al * Al + Bl * Bl)), sh, sl);
    LD r = fsqrt(sh), q, qe;
    // r^2 exactly, r split through its words (r in [1, 2.83): exponent 0 or 1).
    Ext er = ext_in(r);
    int e = int(er.se) - 0x3fff;
    LD rh = LD(int64_t(er.m >> 32)) * pow2l(e - 31), rl = LD(int64_t(er.m & 0xffffffffu)) * pow2l(e - 63);
    q = r * r;
    qe = ((rh * rh - q) + rh * rl * 2.0L) + rl * rl;
    LD c = (((sh - q) - qe) + sl) / (r + r);
    LD z = r + c;
    // z in [1, 2.83): the result overflows when 2^e z reaches 2^16384.
    bool over = ua.e + (z >= 2.0L) >= 16384;
    LD res = fr.finish(scale(z, ua.e));
    if (__builtin_expect(over, 0)) return report(x, y, res, code::hypotl_overflow);
    return res;
}
#endif

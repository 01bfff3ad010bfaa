// The double-double arctangent kernel for the complex functions.
//
// __libm_atan2_k64(out, y, x): the angle of the point (x0 + x1, y0 + y1) as out[0] + out[1],
// with the quadrant rule of atan2.  Zeros and infinities (of the heads) give the quadrant's
// angle from constants in two parts.  Otherwise the smaller of |y|, |x| over the larger is
// formed in double-double (t <= 1), reduced on the 5-bit grid of atan (c, atan(c) in two
// parts, z = (t - c)/(1 + t c) in double-double) and the small rest goes through the odd
// series z + z^3 (K0 + K1 z^2 + ... + K6 z^12), |z| <= 2^-7, whose cubic term is rounded in
// double: relative error below 2^-64 in all (2^-53 of the cubic term, itself below 2^-11 of the
// angle), far below that of the double atan2.  |y| > |x| gives pi/2 minus it, x < 0 pi minus
// that, and y's sign comes last.
#include "elementary/invtrig_kernels.h"

#include "elementary/invtrig_common.h"

using namespace tsr;
using namespace tsr::invtrig;
using tsr::dd::add;
using tsr::dd::div;
using tsr::dd::fast_two_sum;
using tsr::dd::neg;
using tsr::dd::two_sum;

namespace {

// atan(t) for 0 <= t <= 1 in double-double.
inline DD atan_dd(DD t) {
    uint32_t H = hi(t.h);
    if (H < 0x3f900000u) {  // t < 2^-6
        return fast_two_sum(t.h, t.l + t.h * k64_series(t.h));
    }
    double c = f64((bits(t.h) & 0xffff800000000000ull) | 0x0000400000000000ull);
    DD num = two_sum(t.h - c, t.l);  // t.h - c exact
    DD p = two_prod(t.h, c);
    DD den = fast_two_sum(1.0, p.h);
    den = fast_two_sum(den.h, den.l + p.l + t.l * c);
    DD z = div(num, den);
    const HiLo &T = atan32[(H >> 15) - 0x7f20];
    DD s = fast_two_sum(T.hi, z.h);
    return fast_two_sum(s.h, s.l + T.lo + z.l + z.h * k64_series(z.h));
}

const DD kPio2 = {kPio2Hi, kPio2Lo};
const DD kPi = {kPiHi, kPiLo};

}  // namespace

extern "C" void __libm_atan2_k64(double out[2], double y[2], double x[2]) noexcept {
    double yh = y[0], xh = x[0];
    if (yh != yh || xh != xh) {
        out[0] = xh + yh;
        out[1] = 0;
        return;
    }
    uint64_t sy = bits(yh) & kSign;
    bool xneg = (bits(xh) & kSign) != 0;
    DD a = sy ? neg(DD{y[0], y[1]}) : DD{y[0], y[1]};
    DD d = xneg ? neg(DD{x[0], x[1]}) : DD{x[0], x[1]};
    DD r;
    bool ainf = a.h == __builtin_inf(), dinf = d.h == __builtin_inf();
    if (a.h == 0 || (dinf && !ainf)) {
        r = xneg ? kPi : DD{0, 0};
    } else if (d.h == 0 || (ainf && !dinf)) {
        r = kPio2;
    } else if (ainf) {
        r = xneg ? DD{0x1.2d97c7f3321d2p+1, 0x1.a79394c9e8a0ap-53}   // 3pi/4
                 : DD{0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55};  // pi/4
    } else {
        // Both pairs scaled by one power of two, so that the larger head lies in [1, 2).
        int e = int(bits(a.h > d.h ? a.h : d.h) >> 52);
        int small = int(bits(a.h > d.h ? d.h : a.h) >> 52);
        if (e - small > 120 || small == 0) {
            // One operand negligible or subnormal: the quotient in double is enough.
            DD t = a.h > d.h ? DD{d.h / a.h, 0} : DD{a.h / d.h, 0};
            r = a.h > d.h ? add(kPio2, neg(t)) : t;
        } else {
            int k = 1023 - e;  // 2^k in two normal factors
            double f1 = f64(uint64_t(1023 + k / 2) << 52), f2 = f64(uint64_t(1023 + k - k / 2) << 52);
            a = {a.h * f1 * f2, a.l * f1 * f2};
            d = {d.h * f1 * f2, d.l * f1 * f2};
            r = a.h > d.h ? add(kPio2, neg(atan_dd(div(d, a)))) : atan_dd(div(a, d));
        }
        if (xneg) r = add(kPi, neg(r));
    }
    out[0] = with_sign(r.h, sy);
    out[1] = with_sign(r.l, sy);
}

// The complex square root, principal branch (real part >= 0, imaginary part with y's sign).
//
// In extended precision, where x^2 + y^2 neither overflows nor underflows: h = |z| =
// sqrt(x^2 + y^2), t = (h + |x|) / 2 (a sum of two positive values, no cancellation),
// p = sqrt(t), q = |y| / (2p).  Each step rounds to 64 bits, so the parts are within about
// 2^-61 relative before their one rounding to double.  For x < 0 the parts change places:
// (q, p).  Special values as C99 Annex G gives them.  csqrtf takes the same steps in double.
#include "complex/cplx_common.h"

#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::cplx;

namespace {
inline CD csqrt_core(double x, double y) {
    if (!is_finite(y)) {
        if (is_inf(y)) return mk(f64(INF_BITS), y);  // every x, NaN included
        // y NaN
        if (bits(x) == (INF_BITS | ~ABS)) return mk(y + y, f64(INF_BITS));  // (NaN, +-inf)
        if (is_inf(x)) return mk(x, y + y);
        double v = y + x;
        return mk(v, v);
    }
    if (!is_finite(x)) {
        if (is_nan(x)) {
            double v = x + y;
            return mk(v, v);
        }
        if (neg(x)) return mk(0.0, with_sign(f64(INF_BITS), y));
        return mk(x, with_sign(0.0, y));
    }
    if (is_zero(y)) {
        if (is_zero(x)) return mk(0.0, y);
        if (!neg(x)) return mk(sqrt_local(x), y);
        return mk(0.0, with_sign(sqrt_local(-x), y));
    }
    X87Precision p;
    LD ax = f64(abits(opaque(x))), ay = f64(abits(y));
    LD h = sqrtl_(ax * ax + ay * ay);
    LD pp = sqrtl_(0.5L * (h + ax));
    LD qq = ay / (2.0L * pp);
    double re = double(opaque(pp)), im = double(opaque(qq));
    if (neg(x)) {
        double t = re;
        re = im;
        im = t;
    }
    return mk(re, with_sign(im, y));
}
}  // namespace

#if TSR_TIER_EX
TSR_BODY(CD, csqrt, (CD z)) { return csqrt_core(__real__ z, __imag__ z); }
// csqrtf for finite parts with y not zero: the same steps in double, where the squares of
// floats are exact and neither overflow nor underflow.  With s = 2p = sqrt(2t), t = h + |x|
// (the scalings by 2 and 1/2 exact), p = s/2 and q = |y|/s = (|y|/(2t)) s: the quotient is
// formed beside the second root instead of after it, one multiplication longer and a
// division shorter on the path.  Each part is within 2^-51 relative before its rounding to
// float (0.5 + 2^-27 float ulp).  p >= sqrt(|y|/2) >= 2^-75 is never subnormal; q can be, and
// owes the underflow flag then.  The parts change places for x < 0 by masks on their bits
// rather than a branch on x's sign (random signs would mispredict it).
// The rest through the double form.
namespace {
// The special cases of csqrtf, out of the line of the usual one.
__attribute__((noinline)) CF csqrtf_rest(float x, float y) { return narrowc(csqrt_core(x, y)); }
}  // namespace
TSR_BODY(CF, csqrtf, (CF z)) {
    float xf = __real__ z, yf = __imag__ z;
    uint32_t bx = bits(xf), by = bits(yf);
    constexpr uint32_t F_ABS = 0x7fffffffu, F_INF = 0x7f800000u;
    if (__builtin_expect((by & F_ABS) - 1 >= F_INF - 1 || (bx & F_ABS) >= F_INF, 0)) return csqrtf_rest(xf, yf);
    double ax = __builtin_fabs(double(xf)), ay = __builtin_fabs(double(yf));
    double h = __builtin_sqrt(ax * ax + ay * ay), t = h + ax;
    double t2 = t + t, s = __builtin_sqrt(t2), d = ay / t2;
    double p = 0.5 * s, q = d * s;
    if (__builtin_expect(q < 0x1p-126, 0)) narrowf(q);
    uint32_t pb = bits(float(p)), qb = bits(float(q)), swap = uint32_t(int32_t(bx) >> 31);  // ones where x < 0
    uint32_t re = (pb & ~swap) | (qb & swap), im = (qb & ~swap) | (pb & swap);
    return mkf(f32(re), f32(im | (by & ~F_ABS)));
}
#endif

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
// floats are exact and neither overflow nor underflow: each part within 2^-51 relative
// before its rounding to float (0.5 + 2^-27 float ulp).  The rest through the double form.
TSR_BODY(CF, csqrtf, (CF z)) {
    double x = __real__ z, y = __imag__ z;
    if (!is_nzfinite(y) || !is_finite(x)) return narrowc(csqrt_core(x, y));
    double ax = f64(abits(x)), ay = f64(abits(y));
    // s = 2p = sqrt(2 (h + |x|)), whose scalings by 2 and 1/2 are exact: the parts are those
    // of p = sqrt((h + |x|) / 2) and q = |y| / (2p), one multiplication shorter.
    double h = __builtin_sqrt(ax * ax + ay * ay), t = h + ax;
    double s = __builtin_sqrt(t + t), p = 0.5 * s, q = ay / s;
    if (neg(x)) return mkf(narrowf(q), narrowf(with_sign(p, y)));
    return mkf(narrowf(p), narrowf(with_sign(q, y)));
}
#endif

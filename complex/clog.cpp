// The complex logarithms ln z, log2 z and log10 z.
//
// Real part: ln |z| = ln(x^2 + y^2) / 2 in extended precision, where every square of a
// double is representable: q = x^2 + y^2 to 2^-63 relative, and ln q by the double-double
// logarithm kernel on q as a head and a tail (log_ld).  Where q is near 1 (|q - 1| < 1/16) that would keep q's rounding as an absolute
// error of the small result, so w = x^2 + y^2 - 1 is formed from the exact squares (Dekker
// products): with m >= s the larger and smaller part, m^2 - 1 is exact in extended, and the
// sum of the four exact terms is rounded once in extended (the two heads, of like size and
// opposite signs, add exactly there); then ln|z| = log1p(w) / 2.  For
// log2 and log10 the extended result is multiplied by log2 e or log10 e (64 bits).
//
// Imaginary part: the angle atan2(y, x) (times the base's constant in extended precision).
//
// Special values as C99 Annex G gives them for clog.
#include "complex/cplx_common.h"

#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::cplx;

namespace {
enum Base { kE, k2, k10 };

template <Base B>
inline double angle(double y, double x) {
    if constexpr (B == kE) {
        return atan2_local(y, x);
    } else {
        X87Precision p;
        LD a = atan2_ld(y, x) * (B == k2 ? LOG2E_L : LOG10E_L);
        return double(opaque(a));
    }
}

// ln |x + iy| in extended precision, both parts finite and not both zero.
inline LD log_abs(double x, double y) {
    double m = f64(abits(x)), s = f64(abits(y));
    if (m < s) {
        double t = m;
        m = s;
        s = t;
    }
    LD q = LD(m) * LD(m) + LD(s) * LD(s);
    LD d = q - 1.0L;
    if (!(d < 0.0625L && d > -0.0625L)) return 0.5L * log_ld(q);
    auto [mh, ml] = two_prod(m, m);
    LD a = LD(mh) - 1.0L;  // exact: mh has 53 bits and lies above 1/4
    LD w;
    if (s < 0x1p-400) {  // s^2 far below every non-zero m^2 - 1
        w = (LD(a) + LD(ml)) + LD(s) * LD(s);
    } else {
        auto [sh, sl] = two_prod(s, s);
        w = (LD(a) + LD(sh)) + (LD(ml) + LD(sl));
    }
    return 0.5L * log1p_ld(w);
}

// ln |z| in double-double where both parts lie between 2^-400 and 2^400 in magnitude and
// q = x^2 + y^2 lies outside (15/16, 33/32) (so |ln q| > 0.03 and the kernel's absolute
// error, about 2^-66, stays below 2^-61 of it): the squares exact, q as a pair to 2^-104, its exponent taken out
// exactly, then the logarithm kernel's reduced step (2^-62 relative); the pair rounded once
// and halved exactly.  False elsewhere: the extended form serves.  The caller holds
// round-to-nearest.
inline bool log_abs_dd(double x, double y, double &re) {
    if (!moderate(x) || !moderate(y)) return false;
    DD xx = two_prod(x, x), yy = two_prod(y, y);
    DD q = dd::two_sum(xx.h, yy.h);
    q = fast_two_sum(q.h, q.l + (xx.l + yy.l));
    if (q.h > 0x1.ep-1 && q.h < 0x1.08p0) return false;  // next to 1: log1p of the exact sum
    int e = bexp(q.h) - 1023;
    double sc = f64(uint64_t(1023 - e) << 52), lg[2];
    log_k64_reduced(q.h * sc, q.l * sc, e, lg);
    re = 0.5 * (lg[0] + lg[1]);
    return true;
}

template <Base B>
inline CD clog_core(double x, double y) {
    if constexpr (B == kE) {
        // Both parts finite and non-zero: x^2 + y^2 is never exactly 1 (no Pythagorean triple
        // has a power of two for its hypotenuse), so ln|z| is inexact and the probe tells
        // the mode.
        if (is_nzfinite(x) && is_nzfinite(y)) {
            RnGuardInexact rn;
            double re;
            if (!log_abs_dd(opaque(x), y, re)) {
                X87Precision p;
                re = double(opaque(log_abs(x, y)));
            }
            return mk(rn.finish(re), angle<B>(y, x));
        }
    }
    if (!is_finite(x) || !is_finite(y)) {
        if (is_inf(x) && is_nan(y)) return mk(x * x, y * y);
        if (is_nan(x)) return mk(is_inf(y) ? y * y : x * y, x * x);
        if (is_nan(y)) return mk(y * y, y * y);
        return mk(f64(INF_BITS), angle<B>(y, x));
    }
    if (is_zero(x) && is_zero(y)) return mk(opaque(-1.0) / opaque(0.0), angle<B>(y, x));
    RnGuard rn;
    X87Precision p;
    LD l = log_abs(opaque(x), y);
    if constexpr (B == k2) l *= LOG2E_L;
    if constexpr (B == k10) l *= LOG10E_L;
    double re = double(opaque(l));
    return mk(rn.finish(re), angle<B>(y, x));
}
}  // namespace

#if TSR_TIER_EX
TSR_BODY(CD, clog, (CD z)) { return clog_core<kE>(__real__ z, __imag__ z); }
// clogf for finite, non-zero parts, in double: with m >= s the larger and smaller magnitude,
// q = m^2 + s^2 rounds once (the squares of floats are exact); where q lies in (1/2, 2),
// m^2 - 1 is exact too (m^2 has 48 significant bits and lies above 2^-2), so that
// ln|z| = log1p((m^2 - 1) + s^2) / 2 keeps its relative accuracy next to the unit circle;
// elsewhere |ln q| > 0.69 and ln q / 2 is within an ulp of double.  The angle is the double
// atan2.  Each part within about 2^-51 relative before its rounding to float.
TSR_BODY(CF, clogf, (CF z)) {
    double x = __real__ z, y = __imag__ z;
    if (!is_nzfinite(x) || !is_nzfinite(y)) return narrowc(clog_core<kE>(x, y));
    double m = f64(abits(x)), s = f64(abits(y));
    if (m < s) {
        double t = m;
        m = s;
        s = t;
    }
    double q = m * m + s * s;
    double re = (q > 0.5 && q < 2.0) ? 0.5 * log1p_local((m * m - 1.0) + s * s) : 0.5 * log_local(q);
    return mkf(narrowf(re), narrowf(atan2_local(y, x)));
}
TSR_DEFINE(CD, clog2, (CD z)) { return clog_core<k2>(__real__ z, __imag__ z); }
TSR_DEFINE(CD, clog10, (CD z)) { return clog_core<k10>(__real__ z, __imag__ z); }
TSR_DEFINE(CF, clog2f, (CF z)) { return narrowc(clog_core<k2>(__real__ z, __imag__ z)); }
TSR_DEFINE(CF, clog10f, (CF z)) { return narrowc(clog_core<k10>(__real__ z, __imag__ z)); }
#endif

// The sine and cosine kernels, compiled once (no tiers).
//
// __libm_sincos_k64 runs the 64-row core of sin (trig_common.h) on the rows j and j + 16
// and keeps its head and tail apart, renormalised: about 2^-62 of the value.  Arguments of
// 2^17 and more are reduced by __libm_reduce_pio2d first, the quadrant moving the rows by 16.
// The ln 2 and ln 10 forms reduce x by the period (pi/2)/c in x's own units (so that x·c is
// never formed for a large x), then multiply the remainder by c in double-double and run the
// same core on it.
//
// __libm_sincos_k32: sin and cos of x + n·pi/4 for float callers (about 2^-41).  With a = |x|
// and q = ±n (the sign of x), a + q·pi/4 = y + Q·pi/4 with Q even and |y| <= pi/4: the
// remainder by one subtraction below pi/4, by a Cody-Waite sum of pi/4 in short pieces below
// 2^29, by __libm_reduce_pi04d above.  Sine and cosine of y come from one pair of fitted
// series; the quadrant Q/2 swaps them and sets the signs, and a negative x negates the sine.
#include "elementary/trig_kernels.h"
#include "elementary/trig_common.h"
#include "tsr/dd.h"

using namespace tsr;
using namespace tsr::trig;
using tsr::dd::DD;

namespace {
inline void two(double h, double t, double out[2]) {
    double v = h + t;
    out[0] = v;
    out[1] = t - (v - h);
}

// The 64-row core on x + tail with the rows moved by off (|x| < 2^17).  The tail joins r
// itself: the core takes its error term e to the first order only, which is too little for
// the tail of x·ln 10 near 2^17 (up to 2^-37).
inline void k64_core(double x, double tail, int off, double s[2], double c[2]) {
    int k = k32_trunc(x);
    Red64 d = red64(x, k);
    DD u = dd::two_sum(d.r, tail);
    d.r = u.h;
    d.e -= u.l;
    d.y += tail;
    double ts, tc;
    double hs = rows64_sum(sincos_rows64[(k + off) & 63], d, ts);
    double hc = rows64_sum(sincos_rows64[(k + off + 16) & 63], d, tc);
    two(hs, ts, s);
    two(hc, tc, c);
}

constexpr DD kLn2 = {0x1.62e42fefa39efp-1, 0x1.abc9e3b39803fp-56};
constexpr DD kLn10 = {0x1.26bb1bbb55516p+1, -0x1.f48ad494ea3e9p-53};
constexpr double kTwo252 = 0x1p+252, kTwoM252 = 0x1p-252;

// sin and cos of x·c; reduce_at: the exponent field from which x is reduced first (x·c below
// 2^17 under it, the core's range).
template <int (*reduce)(double, double *)>
inline void k64_scaled(double x, DD lnc, uint32_t reduce_at, double s[2], double c[2]) {
    uint32_t E = uint32_t(bits(x) >> 52) & 0x7ff;
    if (E == 2047) {
        s[0] = c[0] = x - x;
        s[1] = c[1] = 0.0;
        return;
    }
    if (E < 771) {  // |x| < 2^-252: sin z = z and cos z = 1; z formed at a scale where the
                    // split of the product cannot underflow
        DD z = dd::mul(DD{x * kTwo252, 0.0}, lnc);
        s[0] = z.h * kTwoM252;
        s[1] = z.l * kTwoM252;
        c[0] = 1.0;
        c[1] = 0.0;
        return;
    }
    int off = 0;
    DD z;
    if (E >= reduce_at) {
        double y[2];
        off = 16 * reduce(x, y);
        z = dd::mul(DD{y[0], y[1]}, lnc);
    } else {
        z = dd::mul(DD{x, 0.0}, lnc);
    }
    k64_core(z.h, z.l, off, s, c);
}
}  // namespace

extern "C" void __libm_sincos_k64(double x, double s[2], double c[2]) noexcept {
    uint32_t E = uint32_t(bits(x) >> 52) & 0x7ff;
    if (E == 2047) {
        s[0] = c[0] = x - x;
        s[1] = c[1] = 0.0;
        return;
    }
    if (E < 771) {  // |x| < 2^-252: sin x = x and cos x = 1 to far below a double-double's reach
        s[0] = x;
        c[0] = 1.0;
        s[1] = c[1] = 0.0;
        return;
    }
    double tail = 0;
    int off = 0;
    if (E >= 0x410) {  // |x| >= 2^17
        double y[2];
        off = 16 * __libm_reduce_pio2d(x, y);
        x = y[0];
        tail = y[1];
    }
    k64_core(x, tail, off, s, c);
}

extern "C" void __libm_sincosln2_k64(double x, double s[2], double c[2]) noexcept {
    k64_scaled<__libm_reduce_pio2ln2>(x, kLn2, 0x410, s, c);  // |x| >= 2^17
}

extern "C" void __libm_sincosln10_k64(double x, double s[2], double c[2]) noexcept {
    k64_scaled<__libm_reduce_pio2ln10>(x, kLn10, 0x40e, s, c);  // |x| >= 2^15
}

extern "C" void __libm_sincos_k32(double x, double *s, double *c, int n) noexcept {
    uint64_t b = bits(x);
    uint64_t sign = b & 0x8000000000000000ull;
    double a = f64(b ^ sign);
    uint32_t hw = uint32_t(b >> 32) & 0x7fffffff;
    if (hw >= 0x7ff00000) {  // an infinity gives NaN with invalid, a NaN stays NaN
        *s = *c = x - x;
        return;
    }
    int q = sign ? -n : n;
    double y;
    if (hw > 0x41bfffff) {  // a >= 2^29
        q = __libm_reduce_pi04d(a, &y, q);
    } else if (hw >= 0x3fe921fb) {  // a >= pi/4 (about): floor(a·4/pi) by the shifter, one
                                    // down where it rounded up
        double v = a * 0x1.45f306dc9c883p+0;
        double t = (v + 0x1.8p+52) - 0x1.8p+52;
        if (t > v) t -= 1.0;
        int64_t f = int64_t(t);
        int64_t m = f + ((q + f) & 1);  // q + m even
        q = int(q + m);
        double d = -double(m);
        // pi/4 in pieces whose products with m are exact: for a >= 2^17 (m below 2^30) of
        // 22, 19 and 22 bits, below it (m below 2^18) of 35 bits; then the rest.
        if (hw > 0x40ffffff)
            y = ((a + d * 0x1.921fb4p-1) + d * 0x1.4442dp-25) + d * 0x1.846988p-49;
        else
            y = (a + d * 0x1.921fb5444p-1) + d * 0x1.68c234c4p-40;
        y = y + d * 0x1.8cc51701b839ap-73;
    } else {  // a below pi/4: one octant off for an odd q
        y = (q & 1) ? a - 0x1.921fb54442d18p-1 : a;
        q += q & 1;
    }
    // Fitted sine (degree 11) and cosine (degree 10) on |y| <= pi/4: relative errors below
    // 2^-45.5 and 2^-41.5 (measured at 4000 points), ample for a float result.
    double w = y * y, v = w * w;
    double P = ((-0x1.aa2880297fc43p-26 * v - 0x1.a019fd9bd0882p-13) * v - 0x1.555555555516dp-3) * w * y +
               ((0x1.71d9aa585bfc4p-19 * v + 0x1.1111110fd4208p-7) * v * y + y);
    double R = ((-0x1.247507b5ee59ep-22 * v - 0x1.6c16bae710ff8p-10) * v - 0x1.fffffffffe6a2p-2) * w +
               ((0x1.a01299942ab00p-16 * v + 0x1.5555555150951p-5) * v + 1.0);
    int j = (q >> 1) & 3;  // the quadrant
    double sv = (j & 1) ? R : P, cv = (j & 1) ? P : R;
    if (((j >> 1) ^ (sign ? 1 : 0)) & 1) sv = -sv;
    if (j == 1 || j == 2) cv = -cv;
    *s = sv;
    *c = cv;
}

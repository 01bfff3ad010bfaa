// log2(1 + x), the internal function behind the dispatched __libm_log2p1 (no exported
// name).  One algorithm in three tiers: ex without fused multiply-add (v split at its low
// 26 bits for the exact product), l9 with it, z0 with the 14-bit reciprocal estimate of the
// double itself, which widens its in-range band to nearly the whole exponent range.  The
// reduction aims at 1.4375, so r carries most of the conversion to base 2.  Reports nothing:
// the pole and the domain error come from 1/sqrt(-0) and sqrt of a negative.
#include <emmintrin.h>

#include "elementary/log_common.h"
#include "tsr/avx512.h"

using namespace tsr;

namespace {
#if TSR_TIER_EX
inline double mad(double a, double b, double c) { return a * b + c; }
#else
inline double mad(double a, double b, double c) { return __builtin_fma(a, b, c); }
#endif
inline double sqrt_sd(double v) { return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(v), _mm_set_sd(v))); }

inline double log2p1_body(double x) {
    uint64_t bx = bits(x);
    // The largest double: 1 + x would overflow under upward rounding.  log2 of it is 1024
    // less 2^-52.5 or so, which this sum rounds correctly in every mode.
    if (bx == 0x7fefffffffffffffull) return opaque(1024.0) - 0x1p-60;
    double v = 1.0 + x;
    uint64_t b = bits(v);
    uint32_t h = uint32_t(b >> 32);
    double e0 = 0, bias = 0;
#if TSR_TIER_Z0
    bool out = h - 0x7fc00000u < 0x80500000u;
#else
    bool out = h - 0x47c00000u < 0xf0500000u;
#endif
    if (h == 0x3fefffffu || h == 0x3ff00000u) {
        if ((bx << 1) == 0) return x + x;
        if ((bx & 0x7fe0000000000000ull) <= 0x3c50000000000000ull) {
            // |x| below about 2^-57: x/ln 2 in two words, scaled up by 2^512 so that the
            // product keeps its bits, and back down with one rounding.
            double y = f64(bx & 0x7fffffffffffffffull) * 0x1p512;
            double yh = f64(bits(y) & 0xfffffffffc000000ull), yl = y - yh;
            double hi = yh * 0x1.715476p+0;
            double lo = yl * 0x1.71547652b82fep+0 + yh * 0x1.4ae0bf85ddf44p-26;
            double z = hi + lo, res;
            if (z < 0x1p-510) {
                double w = (0x1p-510 + hi) - 0x1p-510;
                res = ((hi - w) + lo) * 0x1p-512 + w * 0x1p-512;
            } else {
                res = z * 0x1p-512;
            }
            return (bx >> 63) ? -res : res;
        }
        // approximation of log2(1 + x) on [-0x1p-20, 0x1p-20], degree 3, max relative
        // error 2^-62.22 (measured by tools/gen/approximations.py)
        // 1/ln 2 as a 9-bit head and a correction; x split so that x times the head is
        // exact in two products and the sum is rounded once.
        double xh = f64(bx & 0xfffffffffc000000ull), xl = x - xh;
        double c = 0x1.71p+0;
        return xh * c + (xl * c + x * (0x1.51d94ae0bf85dp-10 +
                                       x * (-0x1.71547652b8ba6p-1 + 0x1.ec709dc3a154dp-2 * x)));
    }
    if (out) {
        if (h >= 0x7ff00000u) {
            if ((b << 1) == 0 || (b >> 63) == 0 || (b << 1) > 0xffe0000000000000ull) {
                if ((b << 1) == 0) return 1.0 / sqrt_sd(-0.0);
                return v + v;
            }
            return sqrt_sd(v);
        }
        if (b == 0) return 1.0 / sqrt_sd(-0.0);
        // Large v: its mantissa takes its place and the exponent goes into H.
        bias = double(int(b >> 52) - 1023);
        b = (b & 0x000fffffffffffffull) | 0x3ff0000000000000ull;
        v = f64(b);
    } else {
        double big = x > 1.0 ? x : 1.0, small = x > 1.0 ? 1.0 : x;
        e0 = small - (v - big);
    }
#if TSR_TIER_Z0
    double rc = avx512::rcp14(v);
#else
    double rc = double(logk::rcp(float(v)));
#endif
    double R = f64((bits(rc * 1.4375) + 0x000007f000000000ull) & 0xfffff00000000000ull);
#if TSR_TIER_EX
    double vh = f64(b & 0xfffffffffc000000ull), vl = v - vh;
    double r = (vh * R - 1.4375) + vl * R;
#else
    double r = __builtin_fma(v, R, -1.4375);
#endif
    double e1 = R * e0;
    double rr = r + e1;
    uint64_t bR = bits(R);
    const double *t = logtab::log2p1_rows[(bR >> 44) & 0xff];
    double H = (t[0] - double(int(bR >> 52))) + bias;
    // approximation of log2(1 + r/1.4375) on [-0x1.b53p-9, 0x1.b53p-9], degree 6, max
    // relative error 2^-58.38 (measured by tools/gen/approximations.py)
    double r2 = r * r;
    double A = mad(-0x1.be79fca97b5bp-6, r, 0x1.8115eb396d9f4p-5);
    double B = mad(-0x1.59f94431dc333p-4, r, 0x1.4b8ee15a78078p-3);
    double G = mad(r2, A, B);
    double C = mad(-0x1.65760af590e07p-2, rr, 0x1.d9afc100429dfp-9);
    double J = mad(r2, G, C);
    double S = H + r;
    double Z = (e1 + t[1]) + (r - (S - H));
    return S + mad(rr, J, Z);
}
}  // namespace

#if TSR_TIER_EX || TSR_TIER_L9 || TSR_TIER_Z0
TSR_BODY(double, log2p1, (double x)) { return log2p1_body(x); }
#endif

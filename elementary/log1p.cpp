// log1p and log1pf.  ex: bands on |x| (the body of the reproducible form): polynomials for
// small |x|, and above them the mantissa-indexed short reciprocals of log_rcp256 applied to
// 1 + x in two words.  e7: log's no-FMA frame on v = 1 + x with a correction for the
// rounding of v.  l9, z0, d1: log's FMA algorithm with the same correction.  log1pf ex is a
// double log of 1 + x; log1pf e7 the logf e7 frame with u formed from x itself.
#include "elementary/log_common.h"
#include "tsr/avx512.h"

using namespace tsr;

#if TSR_TIER_EX
namespace {
// log1p(x) = x - x^2/2 + x^3*P(x): -x^2/2 in two words (x split at 21 bits), the sum
// x - x^2/2 rounded once with its error kept, the rest added to that error.
template <int Deg>
inline double log1p_series(double x) {
    double xh = f64(bits(x) & 0xffffffff00000000ull);
    double xl = x - xh;
    double q_hi = -0.5 * (xh * xh);            // exact: 21-bit square
    double q_lo = -0.5 * (xl * (x + xh));      // the rest of -x^2/2
    double s = x + q_hi;
    double err = (x - s) + q_hi;               // |x| > |q_hi|
    // x^3 * (1/3 - x/4 + x^2/5 - ... ) to degree Deg, by Horner from the top.
    double p = ((Deg & 1) ? 1.0 : -1.0) / Deg;
    for (int k = Deg - 1; k >= 3; --k) p = p * x + ((k & 1) ? 1.0 : -1.0) / k;
    double x3 = (x * x) * x;
    return s + (err + (q_lo + x3 * p));
}
}  // namespace

TSR_BODY(double, log1p, (double x)) {
    uint64_t b = bits(x);
    uint32_t H = uint32_t(b >> 32) & 0x7fffffff;
    if (H >= 0x7ff00000u) {
        if ((b << 1) > 0xffe0000000000000ull) return x + x;
        if (b >> 63) return logk::domain(x, code::log1p_argument_below_minus_1);
        return x;
    }
    if ((b >> 52) > 0xbfe) {  // x <= -1
        if (b == 0xbff0000000000000ull) return logk::pole(x, code::log1p_argument_minus_1);
        return logk::domain(x, code::log1p_argument_below_minus_1);
    }
    if (H < 0x3fb24000u) {
        if (H >= 0x3f900000u) return log1p_series<16>(x);
        if (H >= 0x3f200000u) return log1p_series<10>(x);
        // approximation of log(1 + x) on [-0x1p-13, 0x1p-13], degree 5, max relative
        // error 2^-69.20 (measured by tools/gen/approximations.py)
        if (H >= 0x3c600000u) {
            double s = x * x;
            return ((0x1.99999a199b4b4p-3 * s + 0x1.5555555555555p-2) * s +
                    (-0x1.0000003555556p-2 * s - 0.5) * x) * x + x;
        }
        if ((b << 1) == 0) return x;
        return logk::log1p_tiny(x);
    }
    double hi, lo;
    int n;
    uint32_t i;
    if (H > 0x435fffffu) {
        // 1 + x is x itself here: reduce x's mantissa.
        i = uint32_t(b >> 44) & 0xff;
        n = int(b >> 52) - 1023;
        double m = f64((b & 0x000fffffffffffffull) | 0x3ff0000000000000ull);
        double mh = f64(bits(m) & 0xffffffff00000000ull);
        double r = logtab::log_rcp256_r[i];
        hi = mh * r - 1.0;
        lo = (m - mh) * r;
    } else {
        double v = 1.0 + x;
        uint64_t bv = bits(v);
        i = uint32_t(bv >> 44) & 0xff;
        n = int(bv >> 52) - 1023;
        double rp = double(logtab::log_rcp256_r[i]) * f64(uint64_t(0x3ff - n) << 52);  // r_i * 2^-n
        double xh = f64(b & 0xffffffff00000000ull), xl = x - xh;
        double w = (rp - 1.0) + xh * rp;
        hi = (w + xl * rp + 0x1p32) - 0x1p32;
        lo = (w - hi) + xl * rp;
    }
    // approximation of log(1 + u) on [-0x1.76p-9, 0x1.7p-9], degree 6, max relative error
    // 2^-55.22 (measured by tools/gen/approximations.py)
    double u = hi + lo, s = u * u;
    double L = logtab::log_rcp256_l[i];
    double Lh = f64(bits(L) & 0xffffffff00000000ull), Lt = (L - Lh) + logtab::log_rcp256_t[i];
    double dn = double(n);
    return ((dn * 0x1.62e42feep-1 + Lh) + hi) +
           ((dn * 0x1.a39ef35793c76p-33 + Lt) +
            ((((-0x1.5555f7bd1fcd4p-3 * s - 0x1.ffffffffe169dp-3) * s - 0.5) * s +
              (0x1.999a24cdb6abcp-3 * s + 0x1.555555554d0dfp-2) * u * s) + lo));
}

TSR_BODY(float, log1pf, (float x)) {
    float r;
    if (logk::log1pf_front(x, &r)) return r;
    return float(__libm_log_ex_local(1.0 + double(x)));
}
// The reproducible log1p is this ex body under a second name (so it stands in rows 1 to 4 of
// log1p's table); __bwr_log1pf has a body of its own (reproducible/log.cpp).
TSR_ALIAS(double, __bwr_log1p, (double), __libm_log1p_ex)
#endif

#if TSR_TIER_E7
TSR_BODY(double, log1p, (double x)) {
    uint64_t bx = bits(x);
    uint32_t tx = uint32_t(bx >> 48) & 0x7fff;
    if (tx < 0x3f80) {
        if (tx >= 0x3c90) {
            // approximation of log(1 + x) on [-0x1p-7, 0x1p-7], degree 8, max
            // relative error 2^-59.16 (measured by tools/gen/approximations.py)
            double x2 = x * x, x3 = x2 * x;
            double L0 = ((-0.125 * x + 0x1.2492492492492p-3) * x - 0x1.5555555555555p-3) * (x3 * x3);
            double L1 = ((0.2 * x - 0.25) * x + 0x1.5555555555555p-2) * x3;
            return x + ((L0 + L1) - 0.5 * x2);
        }
        if ((bx << 1) == 0) return x;
        return logk::log1p_tiny(x);
    }
    double v, e0;
    uint64_t b;
    if (__builtin_expect(bx == 0x7fefffffffffffffull, 0)) {
        // The largest double: 1 + x would round up to infinity rounding upward (a false
        // overflow); log1p(x) is log(x) to far below an ulp, as below.
        v = x;
        e0 = 0;
        b = bx;
    } else {
        v = 1.0 + x;
        e0 = x + (1.0 - v);
        b = bits(v);
    }
    uint32_t t = uint32_t(b >> 48);
    if (t - 0x10u >= 0x7fe0u) {
        if ((bx << 1) > 0xffe0000000000000ull) return x + x;
        if ((b << 1) == 0) return logk::pole(x, code::log1p_argument_minus_1);
        if (b >> 63) return logk::domain(x, code::log1p_argument_below_minus_1);
        if (tx >= 0x7ff0) return x + x;  // +inf
        // x finite and 1 + x rounded up to infinity: log1p(x) is log(x) to far below an ulp.
        v = x;
        e0 = 0;
        b = bx;
    }
    float m = f32(uint32_t(uint32_t((b | 0x3ff0000000000000ull) >> 27) >> 2));
    uint32_t rw = bits(logk::rcp(m)) + 0x8000;
    int row = int((rw >> 16) & 0xff);
    int n = int(b >> 52) - 0x3ff;
    double w = f64((b & 0x000fffffffffffffull) | 0x3ff0000000000000ull);
    double R = f64(((uint64_t(rw) << 29) & 0xffffe00000000000ull) + 0x3800000000000000ull);
    double wh = f64(bits(w) & 0xffffe00000000000ull), wl = w - wh;
    double r = (wh * R - 1.0) + wl * R;
    double e1 = (e0 * f64(uint64_t(0x3ff - n) << 52)) * R;
    double rr = r + e1;
    double e2 = e1 + (r - rr);
    const double *tb = logtab::log_neg129_ex[row];
    double N = 16.0 * n;
    double Hh = tb[0] + N * 0x1.62e42fefa38p-5;
    double S = Hh + rr;
    double Z = ((rr + (Hh - S)) - e2 * rr) + ((N * 0x1.ef35793c7673p-49 + e2) + tb[1]);
    // approximation of log(1 + r) on [-0x1.182p-8, 0x1.182p-8], degree 7, max relative error
    // 2^-58.98 (measured by tools/gen/approximations.py)
    double r2 = rr * rr;
    double P0 = (r2 * r2) * ((-0x1.5555e3d6fb175p-3 * rr + 0x1.999999999999ap-3) * rr +
                             0x1.2492492492492p-3 * (r2 * rr));
    double P1 = r2 * ((0x1.5555555555555p-2 * rr - 0.5) - 0.25 * r2);
    return S + ((Z + P0) + P1);
}

TSR_BODY(float, log1pf, (float x)) {
    uint32_t bx = bits(x);
    if ((bx & 0x7fffffffu) < 0x33800000u) {  // |x| < 2^-24
        if ((bx << 1) == 0) return x;
        return logk::log1pf_tiny(x);
    }
    // The largest float: 1 + x would round up to infinity rounding upward (a false
    // overflow); it takes the scaled path below as it is.
    float v = __builtin_expect(bx == 0x7f7fffffu, 0) ? opaque(x) : 1.0f + x;
    uint32_t b = bits(v);
    double z = 0, xd = x, one = 1.0;
    if (b - 0x800000u >= 0x7e000000u) {
        if ((bx << 1) > 0xff000000u) return x + x;
        if ((b << 1) == 0) return logk::pole(x, code::log1pf_argument_minus_1);
        if (b >> 31) return logk::domain_div(x, code::log1pf_argument_below_minus_1);
        if (bx == 0x7f800000u) return x + x;
        // 1 + x at or above 2^126 (or rounded up to infinity): scale both by 2^-64.
        v = x * 0x1p-64f;
        xd = v;
        one = 0x1p-64;
        z = 0x1.62e42fefa39efp+5;
        b = bits(v);
    }
    float R = f32((bits(logk::rcp(v)) + 0x4000) & 0xffff8000u);
    double Rd = R;
    double u = xd * Rd + (one * Rd - 1.0);
    int32_t Ni = int32_t((b - 0x800000u) & 0xff800000u) - 0x3f000000;
    uint32_t idx = (bits(R) + uint32_t(Ni) - 0x3f000000u) >> 15;
    double q = -0x1.0000141ffcb1p-1 + 0x1.5555555555555p-2 * u;
    return float((((z + u) + logtab::log_f257[idx]) + double(Ni) * 0x1.62e42fefa39efp-24) + u * u * q);
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
namespace {
inline double log1p_fma(double x) {
    uint64_t bx = bits(x);
    // The largest double: 1 + x would round up to infinity rounding upward (a false
    // overflow); x itself takes the path of the huge arguments below.
    double v = __builtin_expect(bx == 0x7fefffffffffffffull, 0) ? opaque(x) : 1.0 + x;
    uint64_t b = bits(v);
    uint32_t h = uint32_t(b >> 32);
    double e0;
    // v at or above 2^512 (also infinite or NaN), negative, or within 2^-53 of 1.
    if (h - 0x5ff00000u < 0xa0200000u || h == 0x3fefffffu || h == 0x3ff00000u) {
        if ((bx << 1) > 0xffe0000000000000ull) return v;
        if (h == 0x3fefffffu || h == 0x3ff00000u) {
            if (((bx >> 52) & 0x7ff) < 0x3bf) {
                if ((bx << 1) == 0) return x;
                return logk::log1p_tiny(x);
            }
            // approximation of log(1 + x) on [-0x1p-20, 0x1p-20], degree 3, max
            // relative error 2^-62.00 (measured by tools/gen/approximations.py)
            double c = __builtin_fma(0x1.555555555555ap-2, x, -0x1.0000000000001p-1);
            return __builtin_fma(x * c, x, x);
        }
        if (bx == 0x7ff0000000000000ull) return x;
        if (bx == 0xbff0000000000000ull) return logk::pole(x, code::log1p_argument_minus_1);
        if (bx > 0xbff0000000000000ull) return logk::domain(x, code::log1p_argument_below_minus_1);
        // v >= 2^512: the 1 no longer matters (it is below 2^-512 of x; carried as e0 it
        // would only make r + e1 square into the subnormal range, a false underflow).
        v = x;
        b = bx;
        e0 = 0;
    } else {
        double big = x > 1.0 ? x : 1.0, small = x > 1.0 ? 1.0 : x;
        e0 = small - (v - big);
    }
    uint64_t m = b & 0x000fffffffffffffull;
    float mf = f32(uint32_t((m | 0x07f0000000000000ull) >> 29));
    uint32_t vr = (bits(logk::rcp(mf)) + 0x8000) >> 16;
    double R = f64(uint64_t(vr) << 45);
    double r = __builtin_fma(f64(m | 0x77f0000000000000ull), R, -1.0);
    unsigned i = vr & 0xff;
    const logtab::Rows129 &t = logtab::log_neg129_fma;
#if TSR_TIER_L9
    double n = double(int(b >> 52) - 1023);
#else
    double n = avx512::getexp(v);
#endif
    // e0 * 2^(896 - n): R carries 2^-896.
    double e1 = (e0 * f64(0xb7e0000000000000ull - (b & 0x7ff0000000000000ull))) * R;
    double rr = r + e1;
    double lo = __builtin_fma(n, -0x1.8432a1b0e2634p-43, e1) + t.lo[i];
    double H = __builtin_fma(0x1.62e42fefa4p-1, n, t.hi[i]);
    double S = H + r;
    lo += r - (S - H);
    return S + logk::log_fma_poly(r, rr * rr, lo);
}
}  // namespace
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, log1p, (double x)) { return log1p_fma(x); }
#endif

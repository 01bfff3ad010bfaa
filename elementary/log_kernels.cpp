// The logarithm kernels.  k64: a double-double argument, R from a 65-row table of short
// reciprocals picked by a shifter, -ln R in a head with 21 low zero bits (so n*ln2_hi + head
// is exact) and a tail; the result is left as head + tail.  k32: the float-accuracy
// reduction of logf's ex tier on a double.
#include "elementary/log_kernels.h"

#include "elementary/log_data.h"
#include "tsr/common.h"

using namespace tsr;

extern "C" void __libm_log_k64(double hi, double lo, double out[2]) noexcept {
    uint64_t b = bits(hi);
    int E = int(b >> 52) & 0x7ff;
    if (E == 0x7ff) {
        out[0] = hi + __builtin_inf();
        out[1] = 0;
        return;
    }
    if ((b << 1) == 0) {
        out[0] = -__builtin_inf();
        out[1] = 0;
        return;
    }
    if (b >> 63) {
        out[0] = out[1] = f64(0xfff8000000000000ull);
        return;
    }
    int n;
    if (E == 0) {
        hi *= 0x1p53;
        lo *= 0x1p53;
        E = int(bits(hi) >> 52);
        n = E - 1076;
    } else {
        n = E - 1023;
    }
    // Both words into hi's binade [1, 2), in two steps so that no factor leaves the range.
    int k = E - 1023;
    double s1 = f64(uint64_t(0x3ff - k / 2) << 52), s2 = f64(uint64_t(0x3ff - (k - k / 2)) << 52);
    hi = hi * s1 * s2;
    lo = lo * s1 * s2;
    uint32_t i = uint32_t(bits(0x1.000000000004p+46 + hi)) & 0x7f;  // round((hi - 1)*64)
    const double *t = logtab::log_k64_rows[i];
    double R = t[0];
    double a = (hi + 0x1p21) - 0x1p21;  // hi to 32 bits: a*R is exact
    double bb = ((hi - a) + lo) * R;
    double aR1 = a * R - 1.0;
    double r = aR1 + bb;
    double dn = double(n);
    // approximation of log(1 + r) on [-0x1.18p-7, 0x1.09p-7], degree 8, max relative error
    // 2^-62.91 (measured by tools/gen/approximations.py)
    double p = -0x1.000b405a2836dp-3;
    p = p * r + 0x1.249c02481059dp-3;
    p = p * r - 0x1.555555228b38fp-3;
    p = p * r + 0x1.9999997b36c81p-3;
    p = p * r - 0x1.0000000000262p-2;
    p = p * r + 0x1.5555555555613p-2;
    p = p * r - 0.5;
    out[0] = aR1 + (0x1.62e42fefa38p-1 * dn + t[1]);
    out[1] = (r * r) * p + (bb + (dn * 0x1.ef35793c7673p-45 + t[2]));
}

extern "C" double __libm_log_k32(double x) noexcept {
    uint64_t b = bits(x);
    uint32_t h = uint32_t(b >> 32);
    if (h - 0x3fefc000u <= 0x3ff01fffu - 0x3fefc000u) {
        // approximation of log(1 + t) on [-0x1p-7, 0x1p-7], degree 6, max relative error
        // 2^-45.80 (measured by tools/gen/approximations.py)
        double t = x - 1.0, s = t * t;
        return (((-0x1.4ea033ecbaf05p-3 * s - 0x1.0000131103c07p-2) * s +
                 (0x1.999822c96ef82p-3 * s + 0x1.555555607defbp-2) * t) -
                0x1.ffffffffe7cd8p-2) * s + t;
    }
    int bias = 1023;
    if (h < 0x00100000u) {  // subnormal: no float caller passes one, but stay correct
        x *= 0x1p64;
        b = bits(x);
        bias += 64;
    }
    int n = int(b >> 52) - bias;
    uint32_t i = uint32_t(b >> 44) & 0xff;
    double m = f64((b & 0x000fffffffffffffull) | 0x3ff0000000000000ull);
    // approximation of log(1 + u) on [-0x1.76p-9, 0x1.7p-9], degree 3, max relative error
    // 2^-28.21 (measured by tools/gen/approximations.py)
    double u = double(logtab::log_rcp256_r[i]) * m - 1.0;
    return n * 0x1.62e42fefa39efp-1 + logtab::log_rcp256_l[i] +
           ((0x1.5555a6890dd1p-2 * u - 0x1.00001e7362febp-1) * u * u + u);
}

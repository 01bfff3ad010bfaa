// The logarithm kernels.  k64: a double-double argument, its special cases, then both words
// brought into [1, 2) for the reduction of log_kernels.h; the result is left as head + tail.
// k32: the float-accuracy reduction of logf's ex tier on a double.
#include "elementary/log_kernels.h"

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
    log_k64_reduced(hi, lo, n, out);
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
        x = scale_subnormal(x, 64);
        b = bits(x);
        bias += 64;
    }
    return log_k32_table(b, int(b >> 52) - bias);
}

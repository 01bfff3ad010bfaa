// Internal logarithm kernels for other families (not exported, not dispatched).
#pragma once
#include "elementary/log_data.h"
#include "tsr/common.h"
#include "tsr/format.h"
#include "tsr/types.h"

extern "C" {
// ln(hi + lo) as a head out[0] and a tail out[1], for the complex logarithms.
void __libm_log_k64(double hi, double lo, double out[2]) noexcept TSR_HIDDEN;
// ln x for positive finite x, to about 2^-35 relative, without any error path (float callers).
double __libm_log_k32(double x) noexcept TSR_HIDDEN;
}

namespace tsr {
namespace {

// The k64 kernel after its reduction: ln((hi + lo) 2^n) for hi in [1, 2), lo below ulp(hi),
// as a head out[0] and a tail out[1].  R from a 65-row table of short reciprocals picked by a
// shifter, -ln R in a head with 21 low zero bits (so n ln2_hi + head is exact) and a tail.
// The head aR1 + (n ln2_hi + head) is exact; the tail (|out[1]| below 2^-14) need not be
// below its last place.  `Estrin` evaluates the polynomial in three levels instead of seven
// Horner steps (the same terms; its rounding differs by about 2^-52 of r^2 p, below 2^-67):
// for callers whose critical path runs through the logarithm.
template <bool Estrin = false>
inline void log_k64_reduced(double hi, double lo, int n, double out[2]) {
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
    constexpr double c8 = -0x1.000b405a2836dp-3, c7 = 0x1.249c02481059dp-3, c6 = -0x1.555555228b38fp-3,
                     c5 = 0x1.9999997b36c81p-3, c4 = -0x1.0000000000262p-2, c3 = 0x1.5555555555613p-2,
                     c2 = -0.5;
    double p;
    if constexpr (Estrin) {
        double r2 = r * r, r4 = r2 * r2;
        p = ((c2 + c3 * r) + r2 * (c4 + c5 * r)) + r4 * ((c6 + c7 * r) + r2 * c8);
    } else {
        p = c8;
        p = p * r + c7;
        p = p * r + c6;
        p = p * r + c5;
        p = p * r + c4;
        p = p * r + c3;
        p = p * r + c2;
    }
    out[0] = aR1 + (0x1.62e42fefa38p-1 * dn + t[1]);
    out[1] = (r * r) * p + (bb + (dn * 0x1.ef35793c7673p-45 + t[2]));
}

// ln x for a positive normal double, the kernel's head and tail without its special cases.
template <bool Estrin = false>
inline void log_k64_normal(double x, double out[2]) {
    uint64_t b = bits(x);
    log_k64_reduced<Estrin>(f64((b & 0x000fffffffffffffull) | 0x3ff0000000000000ull), 0.0, int(b >> 52) - 1023,
                            out);
}

// The k32 kernel's table step: ln(m 2^n) for the bits b of a normal double whose exponent
// field gives n (less the bias), m its significand in [1, 2); absolute error about 2^-36.
inline double log_k32_table(uint64_t b, int n) {
    uint32_t i = uint32_t(b >> 44) & 0xff;
    double m = f64((b & 0x000fffffffffffffull) | 0x3ff0000000000000ull);
    // approximation of log(1 + u) on [-0x1.76p-9, 0x1.7p-9], degree 3, max relative error
    // 2^-28.21 (measured by tools/gen/approximations.py)
    double u = double(logtab::log_rcp256_r[i]) * m - 1.0;
    return n * 0x1.62e42fefa39efp-1 + logtab::log_rcp256_l[i] +
           ((0x1.5555a6890dd1p-2 * u - 0x1.00001e7362febp-1) * u * u + u);
}

// ln x for a positive normal double to about 2^-36 absolute (the k32 kernel without its
// special cases and without the relative accuracy of its branch next to 1).
inline double log_k32_normal(double x) {
    uint64_t b = bits(x);
    return log_k32_table(b, int(b >> 52) - 1023);
}

}  // namespace
}  // namespace tsr

// Internal logarithm kernels for other families (not exported, not dispatched).
#pragma once
#include "elementary/log_data.h"
#include "tsr/common.h"
#include "tsr/dd.h"
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

// The k64 kernel's polynomial: log(1 + r) = r + r^2 p(r), coefficients of p, r^0..r^6.
// approximation of log(1 + r) on [-0x1.18p-7, 0x1.09p-7], degree 8, max relative error 2^-62.91
// (measured by tools/gen/approximations.py)
constexpr double kLogK64P[7] = {-0.5, 0x1.5555555555613p-2, -0x1.0000000000262p-2, 0x1.9999997b36c81p-3,
                                -0x1.555555228b38fp-3, 0x1.249c02481059dp-3, -0x1.000b405a2836dp-3};

// The k64 kernel's reduction: hi + lo = (1 + r) / R with r = aR1 + bb, aR1 = a R - 1 exact
// (a: hi to 32 bits) and bb below 2^-31; R from a 65-row table of short reciprocals picked
// by a shifter, -ln R in a head with 21 low zero bits (so n ln2_hi + head is exact) and a
// tail.  head = aR1 + (n ln2_hi + -ln R's head) is exact; tail the small part of the
// logarithm's constant terms, bb + n ln2_lo + -ln R's tail.
struct LogK64Reduced {
    double r, aR1, bb, head, tail;
};
inline LogK64Reduced log_k64_reduce(double hi, double lo, int n) {
    uint32_t i = uint32_t(bits(0x1.000000000004p+46 + hi)) & 0x7f;  // round((hi - 1)*64)
    const double *t = logtab::log_k64_rows[i];
    double R = t[0];
    double a = (hi + 0x1p21) - 0x1p21;  // hi to 32 bits: a*R is exact
    double bb = ((hi - a) + lo) * R;
    double aR1 = a * R - 1.0;
    double dn = double(n);
    return {aR1 + bb, aR1, bb, aR1 + (0x1.62e42fefa38p-1 * dn + t[1]), bb + (dn * 0x1.ef35793c7673p-45 + t[2])};
}

// The k64 kernel after its reduction: ln((hi + lo) 2^n) for hi in [1, 2), lo below ulp(hi),
// as a head out[0] (exact) and a tail out[1] (|out[1]| below 2^-14, not normalised against
// the head; about 2^-66.5 absolute, from the roundings of r and of r^2 p).  `Estrin`
// evaluates p in three levels instead of seven Horner steps (the same terms; its rounding
// differs by about 2^-52 of r^2 p): for callers whose critical path runs through the
// logarithm.
template <bool Estrin = false>
inline void log_k64_reduced(double hi, double lo, int n, double out[2]) {
    LogK64Reduced v = log_k64_reduce(hi, lo, n);
    double r = v.r;
    const double *c = kLogK64P;
    double p;
    if constexpr (Estrin) {
        double r2 = r * r, r4 = r2 * r2;
        p = ((c[0] + c[1] * r) + r2 * (c[2] + c[3] * r)) + r4 * ((c[4] + c[5] * r) + r2 * c[6]);
    } else {
        p = c[6];
        for (int k = 5; k >= 0; --k) p = p * r + c[k];
    }
    out[0] = v.head;
    out[1] = (r * r) * p + v.tail;
}

// The same in three words, to about 2^-70 absolute (the polynomial's own error): out[0] the
// exact head, out[1] = -aR1^2/2 rounded (exact halving of the square's head), out[2] the
// rest (below 2^-22): the square of r = aR1 + bb from its exact parts, aR1^2 + bb (aR1 + r)
// (the rounding of r only touches bb r, 2^-93), and the cube's terms r^3 p'(r) with
// p = -1/2 + r p', whose roundings stay below 2^-74.
inline void log_k64_reduced3(double hi, double lo, int n, double out[3]) {
    LogK64Reduced v = log_k64_reduce(hi, lo, n);
    double r = v.r;
    const double *c = kLogK64P;
    double r2 = r * r, r4 = r2 * r2;
    double pp = ((c[1] + c[2] * r) + r2 * (c[3] + c[4] * r)) + r4 * (c[5] + c[6] * r);
    dd::DD sq = dd::two_prod_cut(v.aR1, v.aR1);
    out[0] = v.head;
    out[1] = -0.5 * sq.h;
    out[2] = (r2 * r) * pp + (v.tail - 0.5 * (sq.l + v.bb * (v.aR1 + r)));
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

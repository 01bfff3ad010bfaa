// The reproducible e^x, __bwr_exp: the ex body's scheme with one term fewer in the
// polynomial.  x = (k/64) ln 2 + r with k rounded by a shifter, 2^(k/64) from exp's 64-row
// table of cut mantissas with relative tails, e^r - 1 - r of degree 5 (bwr_exp_poly, fitted
// on |r| <= ln2/128: relative error 2^-59.36 against the ex body's degree 6 at 2^-63.22),
// and the exponent set by integer work.  Results that are not normal doubles go through the
// careful split of exp_common.h.  The shifter step and the polynomial run to nearest, the
// last operation in the caller's mode.  No fused operation, no estimate: the same bits on
// every processor.
#include "elementary/exp_common.h"
#include "reproducible/bwr_data.h"

using namespace tsr;
using namespace tsr::expd;

TSR_DEFINE(double, __bwr_exp, (double x)) {
    uint32_t ix = hi(x) & 0x7fffffff;
    uint32_t hw = ix >> 16;
    // Outside 2^-54 <= |x| < 1026: tiny (1 + x), non-finite, or certain overflow/underflow.
    if (hw - 0x3c90u > 0x408fu - 0x3c90u) {
        if (ix < 0x40900000) return x + 1.0;
        if (ix >= 0x7ff00000) return nonfinite(x);
        if (hi(x) >> 31) return report(x, opaque(kMinNorm) * kMinNorm, code::exp_underflow);
        return report(x, opaque(kMax) * kMax, code::exp_overflow);
    }
    // K = 64/ln 2; L1 + L2 = ln2/64, L1 short so that k*L1 is exact.
    const double K = 0x1.71547652b82fep+6, L1 = 0x1.62e42fefap-7, L2 = 0x1.cf79abc9e3b3ap-46;
    const double *c = bwr::bwr_exp_poly;  // c2 .. c5
    RnGuardInexact g;
    x = opaque(x);
    auto [r, k, n, row] = reduce64(x, K, L1, L2);
    double r2 = r * r;
    double p = ((r + row.t) + r2 * r2 * (c[2] + c[3] * r)) + r2 * (c[0] + c[1] * r);
    if (n >= -894 && n <= 1022) {
        double T = f64((uint64_t(uint32_t((k & 0xffffffc0) + 0xffc0)) << 46) | row.m);
        p = g.finish(p);
        return p * T + T;
    }
    p = g.finish(p);
    Extreme e = extreme(n, row.m, [&](double tp) { return p * tp; });
    e.underflows();  // e^x is inexact for every x != 0
    return e.reported(x, code::exp_overflow, code::exp_underflow);
}

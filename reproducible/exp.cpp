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
    const double *c = bwr::bwr_exp_poly;  // c2 .. c5
    return exp64_frame(x, [&](double r, double r2, double t) {
        return ((r + t) + r2 * r2 * (c[2] + c[3] * r)) + r2 * (c[0] + c[1] * r);
    });
}

// Cube root in extended precision.
//
// cbrt x: x = 2^(3q + i) m, m in [1, 2); with R_j the reciprocal of the row of m (the
// logarithm's table), u = m R_j - 1 is exact as a pair, and
//     cbrt x = 2^q cbrt(2^i/R_j) (1 + w),  w = cbrt(1 + u) - 1 by a degree-7 polynomial,
// with cbrt(2^i/R_j) from a table of (head, tail) doubles; the head is added last, so one
// rounding (0.5 ulp plus about 2^-9 ulp).  The sign goes onto the table values, so that the
// directed modes round the signed result.
#include "extended/ext_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

inline LD cbrt_body(LD x) {
    Ext v = ext_in(x);
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect(f == 0x7fff || invalid_encoding(v) || (f == 0 && v.m == 0), 0)) {
        if (f == 0x7fff && v.m != 0x8000000000000000ull) return x + x;
        if (invalid_encoding(v)) return x + x;
        return x;
    }
    X87Frame fr;
    Unpacked u = unpack(v);
    int ee = u.e + 3 * 6000;
    int q = ee / 3 - 6000, i = ee % 3;
    if (u.m == 0x8000000000000000ull && i == 0) {  // 2^(3q): exactly 2^q
        LD r = pow2l(q);
        return fr.finish(v.se >> 15 ? -r : r);
    }
    int j = int(u.m >> 55) & 255;
    LD r = kRecip[j];
    LD m = unsigned(u.e + 1022) <= 2044u ? __builtin_fabsl(load(x)) * pow2l(-u.e) : from_ext(u.m, 0x3fff), mh, ml;
    split32(m, mh, ml);
    LD w = (mh * r - 1.0L) + ml * r;
    const LD *c = kCbrtPoly;
    LD w2 = w * w;
    LD p = c[0] + w * c[1] + w2 * (c[2] + w * c[3] + w2 * (c[4] + w * c[5] + w2 * c[6]));
    LD t = w * p;
    const double *row = kCbrtTab[i][j];
    LD H = row[0], L = row[1];
    if (v.se >> 15) {
        H = -H;
        L = -L;
    }
    LD y = H + (L + (H + L) * t);
    return fr.finish(y * pow2l(q));
}

}  // namespace

TSR_BODY(long double, cbrtl, (long double x)) { return cbrt_body(x); }
#endif

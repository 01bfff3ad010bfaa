// The complex family's own kernels (compiled once, no tiers): the scaled product that joins
// two-part factors, the scaled sum of squares, Smith's division and the classification
// helpers.
#include "complex/cplx_common.h"

#include "elementary/invtrig_common.h"
#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::cplx;

namespace {
// 2^k for k in the normal range, by its bits.
inline double pow2(int k) { return f64(uint64_t(k + 1023) << 52); }

// v's exponent taken out: v = m 2^e with m in [1, 2) (a subnormal v first scaled by 2^1023
// so that it is normal).  v finite and not zero.
inline double normalise(double v, int &e) {
    int f = bexp(v);
    e = 0;
    if (f == 0) {
        v *= 0x1p1023;
        e = -1023;
        f = bexp(v);
    }
    e += f - 1023;
    return f64((bits(v) & 0x800fffffffffffffull) | 0x3ff0000000000000ull);
}
}  // namespace

// The factors are brought to exponent 0 (their exponents join n), so their product lies in
// [1, 4) and is formed exactly enough in double-double: the head product exact by Dekker's
// split, the cross terms rounded (relative 2^-104).  Where 2^n times the rounded sum is a
// normal double the scaling is exact and the sum's rounding is the only one.  Elsewhere the
// sum goes to the extended format (64 bits, so an error of 2^-64 before the last rounding)
// and is scaled there, and its conversion to double rounds once into the subnormal range or
// overflows, with the flags of that rounding.
extern "C" void __libm_mul_k64(int n, const double a[2], const double b[2], double *r) noexcept {
    if (!is_nzfinite(a[0]) || !is_nzfinite(b[0])) {
        *r = a[0] * b[0];
        return;
    }
    int ea, eb;
    double a0 = normalise(a[0], ea), b0 = normalise(b[0], eb);
    // The tails take their heads' scale: exactly by 2^-e where that is a normal double, else
    // as the head's multiple (a rounding of 2^-53 of a tail far below its head).
    double a1 = (ea >= -1022 && ea <= 1022) ? a[1] * pow2(-ea) : a0 * (a[1] / a[0]);
    double b1 = (eb >= -1022 && eb <= 1022) ? b[1] * pow2(-eb) : b0 * (b[1] / b[0]);
    n += ea + eb;
    auto [ph, pl] = two_prod(a0, b0);
    pl += a0 * b1 + a1 * b0;
    auto [s, e] = fast_two_sum(ph, pl);
    int es = bexp(s) - 1023 + n;  // the result's exponent
    if (es > -1022 && es < 1023) {
        // Exact scaling: 2^n in two normal factors where n itself is out of the range.
        int n1 = n / 2;
        *r = (s * pow2(n1)) * pow2(n - n1);
        return;
    }
    X87Precision p;
    LD v = (LD(s) + LD(e)) * pow2l(n);
    *r = double(opaque(v));
}

// The scale regimes: a larger part of 2^624 and more is scaled by 2^-1026, one in [2^511,
// 2^624) by 2^-513, one of 2^-564 and less by 2^1026, one of 2^-402 and less by 2^513: the
// squares then lie between 2^-1000 and 2^1000 (the smaller part dropped where it is below
// 2^-56 of the larger: its square is below 2^-112 of the sum).  Each square is an exact
// product pair; the two pairs are summed head first.
extern "C" double __libm_hypot2_k64(double r[2], double x, double y) noexcept {
    if (is_zero(x) && is_zero(y)) {
        r[0] = x;
        r[1] = y;
        return 0.0;
    }
    double m = f64(abits(x)), s = f64(abits(y));
    if (m < s) {
        double t = m;
        m = s;
        s = t;
    }
    if (bexp(s) <= bexp(m) - 56) s = 0.0;
    uint64_t bm = bits(m);
    double scale = 1.0, k = 0.0;
    if (bm >= 0x66f0000000000000ull) scale = 0x1p-1026, k = 2052.0;          // m >= 2^624
    else if (bm > 0x5fdfffffffffffffull) scale = 0x1p-513, k = 1026.0;      // m >= 2^511
    else if (bm <= 0x1cafffffffffffffull) scale = 0.0, k = -2052.0;  // m < 2^-564
    else if (bm <= 0x26d0000000000000ull) scale = 0x1p513, k = -1026.0;     // m <= 2^-402
    if (k == 2052.0) {  // 2^-1026 in two steps (s may lose bits that its square would not keep)
        m = m * 0x1p-513 * 0x1p-513;
        s = s * 0x1p-513 * 0x1p-513;
    } else if (k == -2052.0) {  // 2^1026 in two steps, both exact
        m = m * 0x1p513 * 0x1p513;
        s = s * 0x1p513 * 0x1p513;
    } else {
        m *= scale;
        s *= scale;
    }
    auto [mh, ml] = two_prod(m, m);
    auto [sh, sl] = two_prod(s, s);
    auto [h, e] = fast_two_sum(mh, sh);
    double lo = e + (ml + sl);
    DD res = fast_two_sum(h, lo);
    r[0] = res.h;
    r[1] = res.l;
    return k;
}

// The extended angle: t = the smaller of |y|, |x| over the larger (one rounding to 64 bits),
// reduced on atan's 5-bit grid: c holds t's leading bits, z = (t - c)/(1 + t c) with t - c
// exact (c and t share a binade), the denominator and the quotient rounded to 64 bits, and
// atan z = z + z s(z), |z| <= 2^-6, whose second term is rounded in double (2^-53 of a
// term below 2^-18 of the angle).  T = atan c comes in two parts.  The sum of the parts
// and the quadrant steps (pi/2 - r, pi - r) round to 64 bits each: relative error below
// 2^-62 in all.  Below 2^-6 the grid is left out (c = 0), below 2^-60 atan t = t.
// The octant is applied without branches (the quadrants of random points would mispredict
// them): r becomes off + sg r, off and sg by the two tests, then y's sign.
namespace {
constexpr LD OCT_OFF[4] = {0.0L, PI_2_L, PI_L, PI_2_L};  // |y| > |x| adds 1, x < 0 adds 2
constexpr double OCT_SG[4] = {1.0, -1.0, -1.0, 1.0};
constexpr double Y_SG[2] = {1.0, -1.0};
}  // namespace

extern "C" LD __libm_atan2_k80(LD y, LD x) noexcept {
    bool ny = y < 0.0L, nx = x < 0.0L;
    LD a = __builtin_fabsl(y), b = __builtin_fabsl(x);
    bool swap = a > b;
    LD num = swap ? b : a, den = swap ? a : b;
    LD t = num / den;
    LD r = t;
    if (t >= 0x1p-60L) {  // t's conversion to double neither underflows nor loses bits
        double th = double(t);
        if (th < 0x1p-6) {
            r = t + t * LD(invtrig::k64_series(th));
        } else {
            uint64_t tb = bits(th);
            double c = f64((tb & 0xffff800000000000ull) | 0x0000400000000000ull);
            const invtrig::HiLo &T = invtrig::atan32[(uint32_t(tb >> 32) >> 15) - 0x7f20];
            LD z = (t - LD(c)) / (1.0L + t * LD(c));
            // z is at most 2^-6 of the angle, so the series needs only 2^-58 here: its
            // terms up to z^8, in Estrin's order (the first three coefficients of the
            // kernel's fit; the next term, z^10/11, is below 2^-63).
            double zd = double(z), v = zd * zd;
            const double *K = invtrig::k64_poly;
            double q = (K[0] + v * K[1]) + (v * v) * K[2];
            double ser = v * (invtrig::k64_third[0] + (invtrig::k64_third[1] + v * q));
            r = LD(T.hi) + (LD(T.lo) + (z + z * LD(ser)));
        }
    }
    int q = int(swap) | int(nx) << 1;
    r = OCT_OFF[q] + LD(OCT_SG[q]) * r;
    return LD(Y_SG[ny]) * r;
}

// Smith's division: the quotient of the smaller by the larger part of b scales the other, so
// no square of b's parts is formed.  A NaN in b fails the comparison and takes the second form.
extern "C" CD __libm_cdiv(CD a, CD b) noexcept {
    double ar = __real__ a, ai = __imag__ a, br = __real__ b, bi = __imag__ b;
    if (f64(abits(br)) >= f64(abits(bi))) {
        double r = bi / br, d = br + bi * r;
        return mk((ar + ai * r) / d, (ai - ar * r) / d);
    }
    double r = br / bi, d = bi + br * r;
    return mk((ar * r + ai) / d, (ai * r - ar) / d);
}
extern "C" CF __libm_cdivf(CF a, CF b) noexcept {
    float ar = __real__ a, ai = __imag__ a, br = __real__ b, bi = __imag__ b;
    if (__builtin_fabsf(br) >= __builtin_fabsf(bi)) {
        float r = bi / br, d = br + bi * r;
        return mkf((ar + ai * r) / d, (ai - ar * r) / d);
    }
    float r = br / bi, d = bi + br * r;
    return mkf((ar * r + ai) / d, (ai * r - ar) / d);
}

extern "C" int __libm_internal_isnzfinite(double x) noexcept { return is_nzfinite(x); }
extern "C" int __libm_internal_isinf(double x) noexcept { return is_inf(x); }
extern "C" int __libm_internal_ispinf(double x) noexcept { return bits(x) == INF_BITS; }
extern "C" int __libm_internal_isninf(double x) noexcept { return bits(x) == (INF_BITS | ~ABS); }
extern "C" int __libm_internal_isnan(double x) noexcept { return is_nan(x); }
extern "C" int __libm_internal_isposzero(double x) noexcept { return bits(x) == 0; }
extern "C" int __libm_internal_iszero(double x) noexcept { return is_zero(x); }
extern "C" int __libm_internal_isnegzero(double x) noexcept { return bits(x) == ~ABS; }

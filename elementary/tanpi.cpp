// tanpi, cotpi and their float forms: tan(pi x) and its reciprocal; cotpi is not exported
// and is reached through its own dispatch.
//
// One body for both: the reduction and the rows of sinpi (elementary/pi_common.h) give the
// sine and the cosine of pi·x, each as a head and a tail (relative error near 2^-60), and the
// quotient is their division with one correction by the residual: q = s/c, then
// q + ((s - q c) + s_tail - q c_tail)/c, the residual s - q c exact.  The period is 1: the
// sign that k >= 64 puts on both cancels.
//
// Exact cases, from the grid alone with r = 0, in every mode and with no flag but
// divide-by-zero at the poles: tanpi(n) = ±0 (+0 for even +n, -0 for odd +n, the reverse for
// negative n), tanpi(n + 1/4) = ±1, tanpi(n + 1/2) = ±infinity (+ for even n, - for odd n,
// divide-by-zero); cotpi the other way round.  These are the signs of the quotients of sinpi
// by cospi.  |x| >= 2^52 is a whole number.
//
// |x| < 2^-30: tanpi is pi·x rounded once (the cube below 2^-57 of it), cotpi 1/(pi x) from a
// quotient at 2^200 times the scale, so that tiny arguments overflow as they should and
// subnormal ones keep their bits.  NaN: quiet NaN; an infinity: invalid and NaN.  Nothing is
// reported.
#include "elementary/pi_common.h"

using namespace tsr;
using namespace tsr::pi;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr double kTiny = 0x1p-30;

// The exact values at k/64, k a multiple of 16, by k/16 (0 .. 7): tan, then cot; 2 stands
// for a pole (+infinity, divide-by-zero), -2 for its negative.
constexpr int kExactTan[8] = {0, 1, 2, -1, -0, 1, -2, -1};
constexpr int kExactCot[8] = {2, 1, 0, -1, -2, 1, 0, -1};
// -0 for k/16 = 4 (tan) and 6 (cot): the sign of a zero quotient of a negative cosine or sine.
constexpr unsigned kNegZeroTan = 4, kNegZeroCot = 6;

template <class T>
inline T exact_value(unsigned q, bool cot, uint64_t sign) {
    int v = cot ? kExactCot[q] : kExactTan[q];
    bool negzero = q == (cot ? kNegZeroCot : kNegZeroTan);
    double m;
    if (v == 2 || v == -2) m = (v > 0 ? 1.0 : -1.0) / opaque(0.0);  // divide-by-zero
    else if (v == 0) m = negzero ? -0.0 : 0.0;
    else m = double(v);
    return T(with_sign(m, sign));
}

template <bool Fma, bool Cot>
inline double tanpi_d(double x) {
    uint64_t sx = bits(x) & kSign;
    double a = f64(bits(x) & kAbs);
    if (bits(a) >= bits(kTwo52)) {  // integer compares: quiet NaNs raise nothing
        if (bits(a) >= kInfBits) return x - x;  // NaN, infinity
        unsigned odd = a < kTwo53 ? unsigned(bits(a) & 1) : 0;
        return exact_value<double>(odd ? 4 : 0, Cot, sx);
    }
    if (a < kTiny) {
        if (a == 0) return Cot ? with_sign(1.0, sx) / opaque(0.0) : x;
        if (!Cot) return mul_tiny<Fma>(x, pi_hilo[0], pi_hilo[1]);
        double v = x * 0x1p200;  // 1/(pi v), then times 2^200 (which overflows where due)
        DD p = two_prod<Fma>(v, pi_hilo[0]);
        p.l = mul_add<Fma>(v, pi_hilo[1], p.l);
        double y = 1.0 / p.h;
        DD e = two_prod<Fma>(y, p.h);  // 1 - y p.h = -(e.h - 1) - e.l, exact
        double corr = ((1.0 - e.h) - e.l) - y * p.l;
        return mul_add<Fma>(y, corr, y) * 0x1p200;
    }
    Red d = reduce64(a);
    if (d.r == 0 && (d.k & 15) == 0) return exact_value<double>(d.k >> 4, Cot, sx);
    double st, sh = sincos_rows<Fma, false>(d, st);
    double ct, ch = sincos_rows<Fma, true>(d, ct);
    if (Cot) {
        double t = sh;
        sh = ch, ch = t;
        t = st;
        st = ct, ct = t;
    }
    // The tails hold the series (up to 2^-11 of the heads): renormalized first, so that one
    // correction of the quotient suffices.
    DD sn = fast_two_sum(sh, st), cn = fast_two_sum(ch, ct);
    sh = sn.h, st = sn.l, ch = cn.h, ct = cn.l;
    double q = sh / ch;
    DD p = two_prod<Fma>(q, ch);
    double res = ((sh - p.h) - p.l) + (st - q * ct);
    double m = q + res / ch;
    return with_sign(m, sx);
}

template <bool Fma, bool Cot>
inline float tanpi_f(float x) {
    uint64_t sx = uint64_t(bits(x) & 0x80000000u) << 32;
    double a = __builtin_fabs(double(x));
    if ((bits(x) & 0x7fffffffu) >= kFloatWhole) {
        if ((bits(x) & 0x7fffffffu) >= kFloatInfBits) return x - x;
        unsigned odd = a < 0x1p24 ? unsigned(bits(x) & 1) : 0;
        return exact_value<float>(odd ? 4 : 0, Cot, sx);
    }
    if (a < kTiny) {
        if (a == 0) return Cot ? float(with_sign(1.0, sx) / opaque(0.0)) : x;
        double p = double(x) * pi_hilo[0];
        return float(Cot ? 1.0 / p : p);
    }
    Red d = reduce64(a);
    if (d.r == 0 && (d.k & 15) == 0) return exact_value<float>(d.k >> 4, Cot, sx);
    double s = sincos_rows_f<Fma, false>(d), c = sincos_rows_f<Fma, true>(d);
    double m = Cot ? c / s : s / c;
    return float(with_sign(m, sx));
}

}  // namespace

TSR_BODY(double, tanpi, (double x)) { return tanpi_d<kFma, false>(x); }
TSR_BODY(double, cotpi, (double x)) { return tanpi_d<kFma, true>(x); }
TSR_BODY(float, tanpif, (float x)) { return tanpi_f<kFma, false>(x); }
TSR_BODY(float, cotpif, (float x)) { return tanpi_f<kFma, true>(x); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_tanpi, (double x)) { return tanpi_d<false, false>(x); }
TSR_DEFINE(float, __bwr_tanpif, (float x)) { return tanpi_f<false, false>(x); }
#endif

// tanpi, cotpi and their float forms: tan(pi x) and its reciprocal; cotpi is not exported
// and is reached through its own dispatch.
//
// One body for both: the reduction of sinpi (elementary/pi_common.h) carried to the grid
// 1/128, x = J/128 + r with |r| <= 1/256, the row T = tan(pi j/128) (j = J mod 64) in two
// parts and t = tan(pi r) by a short series, then tan(pi x) = (T + t)/(1 - T t), or -(1 - T t)/
// (T + t) a quarter period on; cotpi takes the reciprocal.  The numerator and denominator are
// formed with their tails (relative error near 2^-60), and the quotient with one reciprocal
// and one correction by the exact residual: below 0.51 ulp.
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

#include <immintrin.h>

using namespace tsr;
using namespace tsr::pi;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr double kTiny = 0x1p-30;

// 1/v to 1.5·2^-12, v normal within the range of floats: the processor's single-precision
// estimate, in the vector unit.
inline double rcp_estimate(double v) {
    __m128 f = _mm_cvtsd_ss(_mm_setzero_ps(), _mm_set_sd(v));
    return _mm_cvtsd_f64(_mm_cvtss_sd(_mm_setzero_pd(), _mm_rcp_ss(f)));
}

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

// The reduction of sinpi (x = k/64 + r, |r| <= 1/128) carried to the grid 1/128 of the
// tangent's rows: J = 2k, or its neighbour with r moved by 1/128 (exact: Sterbenz), so that
// |r| <= 1/256; the period is 1 (J modulo 128), and J >= 64 is the quarter past the pole,
// tan(pi/2 + u) = -cot(u), with row J - 64.
struct Oct {
    double r;
    unsigned j;  // the row, 0 .. 63
    bool cot;    // the angle is pi/2 past the row's
};
inline Oct octant(const Red &d) {
    double r = d.r;
    unsigned J = 2 * d.k;
    if (r > 0x1p-8) r -= 0x1p-7, J += 1;
    else if (r < -0x1p-8) r += 0x1p-7, J -= 1;
    J &= 127;
    return {r, J & 63, J >= 64};
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
    Oct o;
    if constexpr (Fma) {
        // In the vector unit: 128 a rounded to the nearest whole number K by the instruction
        // (in every mode), r = a - K/128 exact, |r| <= 1/256; the bit-wise reduction's
        // branches are mispredicted on random arguments.
        double av = vabs(x);
        double n = nearest_whole(av * 128.0);
        double r = mul_add<true>(n, -0x1p-7, av);
        unsigned K = unsigned(uint64_t(int64_t(n)) & 255);  // steps of 1/128 modulo 2
        if (r == 0 && (K & 31) == 0) return exact_value<double>(K >> 5, Cot, sx);
        o = {r, K & 63, (K & 64) != 0};
    } else {
        Red d = reduce64(a);
        if (d.r == 0 && (d.k & 15) == 0) return exact_value<double>(d.k >> 4, Cot, sx);
        o = octant(d);
    }
    const double *T = tanpi_rows[o.j];
    // t = tan(pi r): pi r exact in two parts, the rest (below 2^-14 of it) by the series.
    double r = o.r, w = r * r;
    DD pr = two_prod<Fma>(r, pi_hilo[0]);
    double tl = mul_add<Fma>(r, pi_hilo[1], (r * w) * mul_add<Fma>(mul_add<Fma>(tanpi_poly[2], w, tanpi_poly[1]), w, tanpi_poly[0]));
    // N = T + t and D = 1 - T t, each as an exact sum of the heads and the tails.  The heads
    // are in order: T >= tan(pi/128) > pi/256 >= |pi r| where T is not 0, and |T pi r| <=
    // tan(pi/2 - pi/128) pi/256 < 1/2, so the fast sums are exact.
    DD n = fast_two_sum(T[0], pr.h);
    double nl = n.l + (T[1] + (pr.l + tl));
    DD tt = two_prod<Fma>(T[0], pr.h);
    DD dd = fast_two_sum(1.0, -tt.h);
    double dl = dd.l - (tt.l + mul_add<Fma>(T[0], pr.l + tl, T[1] * pr.h));
    // tan = N/D, or -D/N past the quarter period; cot the reciprocal.  One division for the
    // reciprocal of the divisor's head: the quotient's head q = num y is within two ulps, and
    // the exact residual num - q den (with the tails) times y corrects it.
    // The tails hold the series (up to 2^-14 of the heads): renormalized first, so that one
    // correction suffices.
    bool swap = o.cot != Cot;
    DD nn = fast_two_sum(n.h, nl), dn = fast_two_sum(dd.h, dl);
    double uh, ul, vh, vl;
    if constexpr (Fma) {  // by blends: a branch on the quarter is mispredicted half the time
        __m128d sw = _mm_castsi128_pd(_mm_set1_epi64x(-int64_t(swap)));
        auto pick = [sw](double a, double b) {
            return _mm_cvtsd_f64(_mm_blendv_pd(_mm_set_sd(b), _mm_set_sd(a), sw));
        };
        uh = pick(dn.h, nn.h), ul = pick(dn.l, nn.l), vh = pick(nn.h, dn.h), vl = pick(nn.l, dn.l);
    } else {
        uh = swap ? dn.h : nn.h, ul = swap ? dn.l : nn.l;
        vh = swap ? nn.h : dn.h, vl = swap ? nn.l : dn.l;
    }
    if constexpr (Fma) {
        // The quotient of the heads rounded once, and the residual uh - q vh (exact, by one
        // fused operation) with the tails' share, times an estimate of 1/vh: the correction is
        // 2^-52 of q, so the estimate's 12 bits leave 2^-64.  The estimate runs beside the
        // division; the multiplication by 1/vh after it is gone from the chain.
        double q = uh / vh;
        double y = rcp_estimate(vh);
        double m = mul_add<true>(mul_add<true>(-q, vh, uh) + mul_add<true>(-q, vl, ul), y, q);
        return flip(m, (uint64_t(o.cot) << 63) ^ sx);
    }
    double y = 1.0 / vh;
    double q = uh * y;
    DD p = two_prod<Fma>(q, vh);
    double m = mul_add<Fma>(((uh - p.h) - p.l) + (ul - q * vl), y, q);
    return with_sign(o.cot ? -m : m, sx);
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
    // The same steps in double without the tails: below 2^-50 before the one rounding.
    Oct o = octant(d);
    double T = tanpi_rows[o.j][0], r = o.r, w = r * r;
    double t = r * mul_add<Fma>(w, mul_add<Fma>(mul_add<Fma>(tanpi_poly[2], w, tanpi_poly[1]), w, tanpi_poly[0]), pi_hilo[0]);
    double n = T + t, dn = mul_add<Fma>(-T, t, 1.0);
    double m = o.cot != Cot ? dn / n : n / dn;
    return float(with_sign(o.cot ? -m : m, sx));
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

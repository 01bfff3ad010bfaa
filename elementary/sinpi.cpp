// sinpi, cospi, sincospi and their float forms: sin(pi x) and cos(pi x).
//
// The argument is reduced without rounding to x = 2q + k/64 + r, |r| <= 1/128 (the bits of
// |x| below 2^-6 are cleared), and the row of pi·k/64 gives the result with the short series
// in r (elementary/pi_common.h).  Exact cases come out of the table alone, with r = 0: every
// whole number gives a zero sine (+0 for +n, -0 for -n) and a cosine of ±1, every half-odd
// number a zero cosine, +0, and a sine of ±1, in every rounding mode and with no flag.
//
// Regions.  |x| < 2^-30: the sine is pi·x (the cube is below 2^-58 of it), a product with
// pi in two parts rounded once, subnormal results included; the cosine is 1 - 2^-60, which
// rounds as 1 - (pi x)^2/2 does in every mode.  |x| >= 2^52: whole numbers, sine ±0 and cosine
// ±1 by the last bit (1 from 2^53 on).  NaN: x - x, quiet; an infinity: invalid and NaN.
//
// Tiers: ex forms the exact product of the head by Dekker's halves, l9, z0 and d1 by fused
// multiply-add; the float forms reduce on the grid 1/32 by a shifter and run short series of
// three terms in double without the low parts (error below 2^-33 before the one rounding).  The reproducible forms are the ex
// bodies.
#include "elementary/pi_common.h"

using namespace tsr;
using namespace tsr::pi;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr double kTiny = 0x1p-30;          // below: sin(pi x) = pi x, cos(pi x) rounds as 1 - 0
constexpr double kOneBelow = 0x1p-60;      // 1 - this rounds as 1 - (pi x)^2/2 for |x| < 2^-30
constexpr double kShift32 = 0x1.8p42;      // a + this: a in units of 2^-10 (a < 2^23)

enum Part { kSin = 1, kCos = 2 };

// Returns the parts asked for through s and c.
template <bool Fma, int Want>
inline void sincospi_d(double x, double *s, double *c) {
    uint64_t sx = bits(x) & kSign;
    double a = f64(bits(x) & kAbs);
    // Integer compares on the bits: an ordered compare would raise invalid on a quiet NaN.
    if (bits(a) >= bits(kTwo52)) {
        if (bits(a) >= kInfBits) {  // NaN or infinity
            if (Want & kSin) *s = x - x;
            if (Want & kCos) *c = x - x;
            return;
        }
        if (Want & kSin) *s = f64(sx);
        if (Want & kCos) *c = (a < kTwo53 && (bits(a) & 1)) ? -1.0 : 1.0;
        return;
    }
    if (a < kTiny) {
        if (Want & kSin) *s = a == 0 ? x : mul_tiny<Fma>(x, pi_hilo[0], pi_hilo[1]);
        if (Want & kCos) *c = a == 0 ? 1.0 : 1.0 - kOneBelow;
        return;
    }
    Red d;
    if constexpr (Fma) {
        // In the vector unit: 64 a rounded to the nearest whole number by the instruction (in
        // every mode), r = a - n/64 exact; the bit-wise reduction's branches on the exponent
        // and on the half step are mispredicted on random arguments.
        double n = nearest_whole(a * 64.0);
        d = {mul_add<true>(n, -0x1p-6, a), unsigned(uint64_t(int64_t(n)) & 127)};
    } else {
        d = reduce64(a);
    }
    if (d.r == 0) {  // on the grid: the row's value alone (exact in rows 0 and 32)
        const PiRow &w = pi_rows64[d.k & 63];
        double ms = w.s + w.slo, mc = w.c + w.clo;
        if (d.k & 64) ms = -ms, mc = -mc;
        if (Want & kSin) *s = with_sign(ms == 0 ? 0.0 : ms, sx);
        if (Want & kCos) *c = mc == 0 ? 0.0 : mc;
        return;
    }
    // Off the grid neither part is zero.  The second half of the period changes the signs: by
    // a sign mask in the fused tiers (a branch there is mispredicted half the time on random
    // arguments; ex keeps it, its bits are the reproducible forms').
    uint64_t half = uint64_t(d.k & 64) << 57;
    if (Want & kSin) {
        double t, h = sincos_rows<Fma, false>(d, t);
        double m = h + t;
        if constexpr (Fma) {
            *s = flip(m, half ^ sx);
        } else {
            if (d.k & 64) m = -m;
            *s = with_sign(m, sx);
        }
    }
    if (Want & kCos) {
        double t, h = sincos_rows<Fma, true>(d, t);
        double m = h + t;
        if constexpr (Fma) {
            *c = flip(m, half);
        } else {
            if (d.k & 64) m = -m;
            *c = m;
        }
    }
}

template <bool Fma, int Want>
inline void sincospi_f(float x, float *s, float *c) {
    uint32_t sx = bits(x) & 0x80000000u;
    double a = __builtin_fabs(double(x));
    if ((bits(x) & 0x7fffffffu) >= kFloatWhole) {  // whole numbers from 2^23 on
        if ((bits(x) & 0x7fffffffu) >= kFloatInfBits) {
            if (Want & kSin) *s = x - x;
            if (Want & kCos) *c = x - x;
            return;
        }
        if (Want & kSin) *s = f32(sx);
        if (Want & kCos) *c = (a < 0x1p24 && (bits(x) & 1)) ? -1.0f : 1.0f;
        return;
    }
    if (a < kTiny) {
        if (Want & kSin) *s = a == 0 ? x : float(double(x) * pi_hilo[0]);
        if (Want & kCos) *c = a == 0 ? 1.0f : float(1.0 - kOneBelow);
        return;
    }
    // The nearest point of the grid 1/32 (rows pi j/32, every other row of the table).  ex:
    // the shifter puts a in units of 2^-10, whose count is rounded to a multiple of 32 on the
    // bits (half up); gf is exact and so is r = a - gf: |r| <= 1/64 (plus a unit of 2^-10
    // where a directed mode rounded the sum the other way).  The fused tiers keep the steps in
    // the vector unit: 32 a rounded to the nearest whole number n by the instruction (in every
    // mode: the far point would cost the sine its relative accuracy next to its zeros), and
    // r = a - n/32 exact, |r| <= 1/64.
    double r;
    unsigned k;  // the count of 1/32 steps modulo 2
    if constexpr (Fma) {
        double n = nearest_whole(a * 32.0);
        r = mul_add<true>(n, -0x1p-5, a);
        k = unsigned(int(n)) & 63;
    } else {
        double g = a + kShift32;
        uint64_t gb = (bits(g) + 0x10) & ~uint64_t(0x1f);
        r = a - (f64(gb) - kShift32);
        k = unsigned(gb >> 5) & 63;
    }
    const PiRow &w = pi_rows64[(k & 31) * 2];
    double ms = w.s, mc = w.c;  // on the grid: the row alone (exact in rows 0 and 16)
    if (r != 0) {
        double w2 = r * r;
        double S = mul_add<Fma>(mul_add<Fma>(sinpif_poly[2], w2, sinpif_poly[1]), w2, sinpif_poly[0]);
        double cr = mul_add<Fma>(mul_add<Fma>(cospif_poly[2], w2, cospif_poly[1]), w2, cospif_poly[0]);
        if constexpr (Fma) {
            // The rows' products with r beside the series, one product after them.  The second
            // half of the period changes the signs: by a sign mask, not a branch, which random
            // arguments would mispredict half the time (ex keeps the branch: its bits are the
            // reproducible forms').  Off the grid neither part is zero.
            ms = mul_add<true>(w.s, cr, (w.c * r) * S);
            mc = mul_add<true>(w.c, cr, -((w.s * r) * S));
            uint64_t half = uint64_t(k & 32) << 58;
            ms = flip(ms, half ^ (uint64_t(sx) << 32)), mc = flip(mc, half);
        } else {
            double sr = r * S;
            ms = w.s * cr + w.c * sr;
            mc = w.c * cr + -(w.s * sr);
            if (k & 32) ms = -ms, mc = -mc;
        }
    } else {
        if (k & 32) ms = -ms, mc = -mc;
        if (ms == 0) ms = 0.0;  // whole numbers: +0 before x's sign
        if (mc == 0) mc = 0.0;  // half-odd numbers: +0
        if constexpr (Fma) ms = flip(ms, uint64_t(sx) << 32);
    }
    if (Want & kSin) {
        if constexpr (Fma) *s = float(ms);  // x's sign is on
        else *s = f32(bits(float(ms)) ^ sx);
    }
    if (Want & kCos) *c = float(mc);
}

template <bool Fma>
inline double sinpi_d(double x) {
    double s;
    sincospi_d<Fma, kSin>(x, &s, nullptr);
    return s;
}
template <bool Fma>
inline double cospi_d(double x) {
    double c;
    sincospi_d<Fma, kCos>(x, nullptr, &c);
    return c;
}
template <bool Fma>
inline float sinpi_f(float x) {
    float s;
    sincospi_f<Fma, kSin>(x, &s, nullptr);
    return s;
}
template <bool Fma>
inline float cospi_f(float x) {
    float c;
    sincospi_f<Fma, kCos>(x, nullptr, &c);
    return c;
}

}  // namespace

TSR_BODY(double, sinpi, (double x)) { return sinpi_d<kFma>(x); }
TSR_BODY(double, cospi, (double x)) { return cospi_d<kFma>(x); }
TSR_BODY(void, sincospi, (double x, double *s, double *c)) { sincospi_d<kFma, kSin | kCos>(x, s, c); }
TSR_BODY(float, sinpif, (float x)) { return sinpi_f<kFma>(x); }
TSR_BODY(float, cospif, (float x)) { return cospi_f<kFma>(x); }
TSR_BODY(void, sincospif, (float x, float *s, float *c)) { sincospi_f<kFma, kSin | kCos>(x, s, c); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_sinpi, (double x)) { return sinpi_d<false>(x); }
TSR_DEFINE(double, __bwr_cospi, (double x)) { return cospi_d<false>(x); }
TSR_DEFINE(void, __bwr_sincospi, (double x, double *s, double *c)) { sincospi_d<false, kSin | kCos>(x, s, c); }
TSR_DEFINE(float, __bwr_sinpif, (float x)) { return sinpi_f<false>(x); }
TSR_DEFINE(float, __bwr_cospif, (float x)) { return cospi_f<false>(x); }
TSR_DEFINE(void, __bwr_sincospif, (float x, float *s, float *c)) { sincospi_f<false, kSin | kCos>(x, s, c); }
#endif

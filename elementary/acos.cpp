// acos and asin in double.
//
// Tier ex: the grid c of 6 mantissa bits and the midpoint from 0.0625 (arc_cc = sqrt(1 - c^2),
// arc_asin = asin(c) in two parts, the head cut to 45 bits), regimes by u = the top 20 bits
// without the sign:
//   A  0.0625 <= |x| < 0.865 (u < 0x3febb): with x = sin a, c = sin b the identity
//      sin(a - b) (x cc + s c) = x^2 - c^2, s = sqrt(1 - x^2), gives
//      delta = (x + c)(x - c)/(x cc + s c) and asin x = asin c + asin(delta), |delta| < 2^-6;
//      x - c is exact, so delta carries a few units of 2^-53 of itself.  asin(delta) - delta by
//      its series to delta^7 on d = x cc - s c, a copy of delta without the division.
//   B  up to 0.9921875 (acos) or 0.99609375 (asin): the grid step on s = sqrt(1 - x^2) instead,
//      acos|x| = asin(s).  1 - x^2 is formed exactly in two parts through a 15-bit head of x,
//      and the rounding of the root is carried as (v - s^2)/(2s), over |x| the slope of asin.
//   C  2^-60 <= |x| < 0.0625: the series of asin x to x^13 in two lanes.
//   D  the rest below 1: acos|x| = 2 asin(sqrt v), v = (1 - |x|)/2 exact, sqrt v = s + c/2
//      with c the root's rounding error, and the series on v.
//   E  |x| < 2^-60: asin x = x (moved by 2^-60 for the flags and the directed modes),
//      acos x = pi/2 from two parts.
//   F  |x| >= 1, NaN.
// acos x = pi/2 - asin x (A, C), pi - acos|x| for x < 0 (B, D); asin |x| = pi/2 - acos|x| (B, D).
// The head of asin(c) is a multiple of 2^-48, so pi/2 or pi plus or minus it is exact; every
// other sum is taken with its rounding error, and what remains beside the last rounding is
// below 0.06 ulp (the error of delta times |delta|/|result|).
//
// Tiers l9, z0, d1: 46 rows of the grid j/64: row j holds g = asin(j/64)/(j/64) in two parts
// and a degree-7 polynomial G with asin(s) = s (g + t G(t)), s = j/64 + t, |t| <= 1.08/128.
//
// Upper regime, 0.7109375 <= |x| < 1: w = (1 - |x|)/2 is exact and acos|x| = 2 asin(sqrt w).
// The row comes from round(64 sqrt w), taken from the reciprocal-square-root estimate (w times
// it), so the row is known before the rounded root q is.  2 sqrt(w) = 2q + e with
// e = (w - q^2)/q the root's own rounding, so that 2 asin(sqrt w) = m g + e g + m t G(t),
// m = 2q; the head m·g hi is kept with its exact rounding error.  x < 0 adds pi (acos); asin
// is pi/2 - 2 asin(sqrt w), signed.
//
// Middle regime, 2^-9 <= |x| < 0.7109375: j = round(64|x|), t = |x| - j/64 exactly, and
// asin x = x g + t x G(t), acos x = pi/2 - that; the head x·g hi again with its error.
//
// Below: the two-term series asin x = x + x^3 (c1 + c2 x^2) to 2^-28, x itself below.
//
// Errors: the rows' polynomials leave 2^-60 of asin(s) (tools/gen/invtrig_tables.py); the
// heads are exact with their errors; what is left is the last rounding, a little more than
// half an ulp.
#include "elementary/invtrig_common.h"
#include "tsr/guard.h"
#include "tsr/lane.h"

using namespace tsr;
using namespace tsr::invtrig;

namespace {

// |x| >= 1 or NaN, for every tier: the ends of the domain (pi, 0, +-pi/2 rounded in the
// caller's mode), NaNs, and the domain error beyond 1.
template <bool Acos>
inline double arc_edge(double x, double ax, uint64_t sign) {
    if (ax == 1.0) {
        if (Acos) return sign ? kPiHi + kPiLo : 0.0;
        return sign ? -kPio2Hi - kPio2Lo : kPio2Hi + kPio2Lo;  // rounded in the mode
    }
    if (ax != ax) return x + x;
    double nan = opaque(0.0) * opaque(__builtin_inf());
    return report(x, nan, Acos ? code::acos_magnitude_above_1 : code::asin_magnitude_above_1);
}

#if TSR_TIER_EX
// The odd series of asin after its linear term, asin(r) - r = r w (c3 + c5 w + c7 w^2) +
// r w^4 (c9 + c11 w + c13 w^2 [+ w^3 (c15 + c17 w)]), w = r^2, in two lanes (rest_a, rest_b).
constexpr double kC3 = 0x1.5555555555555p-3;   // 1/6
constexpr double kC5 = 0x1.3333333333333p-4;   // 3/40
constexpr double kC7 = 0x1.6db6db6db6db7p-5;   // 5/112
constexpr double kC9 = 0x1.f1c71c71c71c7p-6;   // 35/1152
constexpr double kC11 = 0x1.6e8ba2e8ba2e9p-6;  // 63/2816
constexpr double kC13 = 0x1.1c4ec4ec4ec4fp-6;  // 231/13312
constexpr double kC15 = 0x1.c99999999999ap-7;  // 143/10240
constexpr double kC17 = 0x1.7a87878787224p-7;  // 6435/557056
inline double rest_a(double w) { return w * ((kC3 + kC5 * w) + kC7 * (w * w)); }
template <bool Long>
inline double rest_b(double w) {
    double w2 = w * w;
    double b = (kC9 + kC11 * w) + kC13 * w2;
    if constexpr (Long) b += w2 * w * (kC15 + kC17 * w);
    return w2 * w2 * b;
}

// The grid point of 0.0625 <= r < 1 (its top 18 bits and the midpoint bit) and its row.
inline double grid_c(uint64_t rb) { return f64((rb & 0xffffc00000000000ull) | 0x0000200000000000ull); }
inline int grid_row(uint64_t rb) { return int(((uint32_t(rb >> 44) & 0xfffc) - 0xfb00) >> 2); }

// Kh + Kl + T + delta + rest, with |Kh| >= |T| or Kh = 0 and |T| >= |delta|: Kh + T is exact
// (T's head a multiple of 2^-48), the next sum is taken with its error, one rounding at the end.
inline double gather(double Kh, double Kl, HiLo T, double delta, double rest) {
    double h1 = Kh + T.hi;
    double h = h1 + delta;
    double e = (h1 - h) + delta;
    return h + (((e + Kl) + T.lo) + rest);
}

// asin(delta) - delta for the regimes on the grid: |d| < 2^-6, d a copy of delta.
inline double grid_series(double d) {
    double w = d * d;
    return d * w * (kC3 + w * (kC5 + kC7 * w));
}

template <bool Acos>
inline double arc_ex(double x) {
    uint64_t b = bits(x);
    uint64_t sign = b & kSign;
    double ax = f64(b & ~kSign);
    uint32_t u = uint32_t(b >> 44) & 0x7ffff;
    constexpr uint32_t kUpperD = Acos ? 0x3fefc : 0x3fefe;  // 0.9921875, 0.99609375
    if (u - 0x3fb00u < 0x3febbu - 0x3fb00u) {
        // A.  c carries x's sign; so do cc·x + s·c and delta.
        double c = grid_c(b);
        int row = grid_row(b);
        double cc = arc_cc[row];
        double s = __builtin_sqrt(1.0 - x * x);
        double delta = ((x + c) * (x - c)) / (x * cc + s * c);
        double p = grid_series(x * cc - s * c);
        HiLo T = {with_sign(arc_asin[row].hi, sign), with_sign(arc_asin[row].lo, sign)};
        if (!Acos) return gather(0.0, 0.0, T, delta, p);
        return gather(kPio2Hi, kPio2Lo, HiLo{-T.hi, -T.lo}, -delta, -p);
    }
    if (u < 0x3fb00u) {
        if (u >= 0x3c300u) {
            // C.  2^-60 <= |x| < 0.0625.
            double w = x * x;
            double x3 = x * w;
            double A = x3 * ((kC3 + kC5 * w) + kC7 * (w * w));
            double B = x * rest_b<false>(w);  // x^9 (c9 + c11 w + c13 w^2)
            if (!Acos) return x + (B + A);
            double h = kPio2Hi - x;
            return h + (((kPio2Lo - B) - A) - (x - (kPio2Hi - h)));
        }
        // E.
        if (Acos) return kPio2Hi + kPio2Lo;
        return nudge<true>(x);
    }
    if (u < kUpperD) {
        // B.  v = 1 - x^2 = (1 - xh^2) - (|x| + xh)(|x| - xh) in two parts: xh^2 is exact (15
        // bits), 1 - xh^2 too (Sterbenz), |x| - xh too; only |x| + xh rounds, by 2^-53 of a
        // term below 2^-13 of v.
        double xh = f64(bits(ax) & 0xffffffc000000000ull);
        double a1 = 1.0 - xh * xh;
        DD p = two_prod(ax + xh, ax - xh);
        double v = a1 - p.h;
        double vl = ((a1 - v) - p.h) - p.l;
        double s = __builtin_sqrt(v);
        DD q = two_prod(s, s);
        double ds = (((v - q.h) - q.l) + vl) / (s + s);  // sqrt(v + vl) - s; v - q.h exact
        uint64_t sb = bits(s);
        double sm = grid_c(sb);
        int row = grid_row(sb);
        double cc = arc_cc[row];
        // asin(s + ds) = asin(sm) + asin(delta) + ds/|x|: the slope of asin at s is 1/|x|.
        double delta = ((s + sm) * (s - sm)) / (s * cc + ax * sm);
        double rest = grid_series(s * cc - ax * sm) + ds / ax;
        HiLo T = arc_asin[row];
        if (Acos) {
            if (!sign) return gather(0.0, 0.0, T, delta, rest);
            return gather(kPiHi, kPiLo, HiLo{-T.hi, -T.lo}, -delta, -rest);
        }
        return with_sign(gather(kPio2Hi, kPio2Lo, HiLo{-T.hi, -T.lo}, -delta, -rest), sign);
    }
    if (u < 0x3ff00u) {
        // D.  v exact; s = sh + sl with sh of 26 bits, so sh^2 and v - sh^2 are exact and
        // c = (v - s^2)/s = ((v - sh^2) - sl (s + sh))/s, 2 sqrt v = 2s + c.
        double v = 0.5 - ax * 0.5;
        double s = __builtin_sqrt(v);
        double sh = f64(bits(s) & 0xfffffffff8000000ull);
        double sl = s - sh;
        double c = ((v - sh * sh) - sl * (s + sh)) / s;
        double s2 = s + s;
        double rest = c + s2 * (rest_a(v) + rest_b<!Acos>(v));  // 2 asin(sqrt v) - 2s
        double Kh = Acos ? (sign ? kPiHi : 0.0) : kPio2Hi;
        double Kl = Acos ? (sign ? kPiLo : 0.0) : kPio2Lo;
        if (Acos && !sign) return s2 + rest;
        double h = Kh - s2;
        double r = h + ((((Kh - h) - s2) + Kl) - rest);
        return Acos ? r : with_sign(r, sign);
    }
    // F.
    return arc_edge<Acos>(x, ax, sign);
}
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
// G(t) by Estrin's scheme: three fused steps after t^2, on the latency path of both regimes.
inline double arc_G(const double *G, double t) {
    double t2 = t * t, t4 = t2 * t2;
    double a = __builtin_fma(t2, __builtin_fma(G[3], t, G[2]), __builtin_fma(G[1], t, G[0]));
    double b = __builtin_fma(t2, __builtin_fma(G[7], t, G[6]), __builtin_fma(G[5], t, G[4]));
    return __builtin_fma(t4, b, a);
}

// Round to the nearest integer of a value in [0, 46) by truncation of v + 1/2: the
// conversion truncates in every rounding mode, so the row does not depend on the mode.  The
// row comes from a shifter in the nearest mode (told by a probe, no read of the control word)
// and from here only in the directed modes.
inline int row_of(double v) { return int(v + 0.5); }

template <bool Acos>
inline double arc(double x) {
    uint64_t b = bits(x);
    uint64_t sign = b & kSign;
    // |x| by a mask in the vector register: the data path does not wait for a round trip
    // through an integer register, only the branches read the high word.  Written as the
    // instruction: the compiler's own form began with a merging copy of x.
    alignas(16) static constexpr uint64_t kAbs[2] = {~kSign, ~kSign};
    double ax;
    asm("vandpd %2, %1, %0" : "=x"(ax) : "x"(x), "m"(kAbs));
    uint32_t H = uint32_t(b >> 32) & 0x7fffffffu;
    if (H >= 0x3fe6c000u) {
        if (__builtin_expect(H >= 0x3ff00000u, 0)) {
            return arc_edge<Acos>(x, ax, sign);
        }
        // Upper regime.
        // exact: 0.5 ax is, and the difference by Sterbenz (into the addend: no copy of ax)
        double w = fma_into_addend(ax, -0.5, 0.5);
        int j;
        double t;
        // The estimate stays in single precision up to the row: w_f y_f + 2^17 rounds w_f y_f to
        // a multiple of 2^-6 (the float's unit at 2^17), j = round(64 sqrt w) in its low bits,
        // before the root is ready and without a widening on the way to the table.
        // w rounded to single in lane 0 (the estimate reads that lane alone, so the others
        // need no clearing, which took a further blend)
        __m128 wf;
        asm("vcvtsd2ss %1, %1, %0" : "=x"(wf) : "x"(w));
        __m128 yf = _mm_rsqrt_ss(wf);
        double y = double(_mm_cvtss_f32(yf));
        double q = __builtin_sqrt(w);
        if (__builtin_expect(rn_probe(), 1)) {
            float S = __builtin_fmaf(_mm_cvtss_f32(wf), _mm_cvtss_f32(yf), 0x1p17f);
            j = int(bits(S) & 0x3f);
            t = q - double(S - 0x1p17f);  // exact: S - 2^17 = j/64
        } else {
            j = row_of(w * y * 64.0);
            t = q - double(j) * 0x1p-6;
        }
        // acos: x > 0 gives 2 asin(s), x < 0 pi - 2 asin(s); asin: pi/2 - 2 asin(s), signed,
        // the sign carried by m, e and K from the start (chosen while the root is under way)
        // rather than put on the result.
        // Loaded by the sign bit, not branched on: the sign of a random argument is not
        // predictable.  Row: the factor of q (±2), its half for e, K hi, K lo.
        static constexpr double kUpper[2][2][4] = {
            {{-2.0, -1.0, kPio2Hi, kPio2Lo}, {2.0, 1.0, -kPio2Hi, -kPio2Lo}},  // asin, x > 0 and x < 0
            {{2.0, 1.0, 0.0, 0.0}, {-2.0, -1.0, kPiHi, kPiLo}}};               // acos
        const double *c = kUpper[Acos][b >> 63];
        double e = __builtin_fma(-q, q, w) * (y * c[1]);  // (w - q^2)/q to the estimate's 2^-11
        double m = c[0] * q;
        double Kh = c[2], Kl = c[3];
        const HiLo &g = arc_head46[j];
        double G = arc_G(arc_poly46[j], t);
        double head = fma_into_addend(m, g.hi, Kh);
        double rest2 = __builtin_fma(m, g.hi, -(head - Kh));  // head - Kh exact (Sterbenz)
        // The small terms gathered while G is evaluated, so that one fused step follows it.
        double rest = (__builtin_fma(e, g.hi, Kl) + m * g.lo) + rest2;
        return head + __builtin_fma(G, t * m, rest);
    }
    if (H >= 0x3f680000u) {
        // Middle regime.
        int j;
        double t;
        if (__builtin_expect(rn_probe(), 1)) {
            double S = fma_into_addend(ax, 64.0, 0x1.8p52);  // 64|x| rounded in its low bits
            j = int(bits(S) & 0x3f);
            t = __builtin_fma(S - 0x1.8p52, -0x1p-6, ax);  // exact
        } else {
            j = row_of(ax * 64.0);
            t = ax - double(j) * 0x1p-6;  // exact
        }
        const HiLo &g = arc_head46[j];
        double G = arc_G(arc_poly46[j], t);
        double tx = t * x;
        if constexpr (Acos) {
            double head = __builtin_fma(-x, g.hi, kPio2Hi);
            double e = __builtin_fma(x, g.hi, -(kPio2Hi - head));  // pi/2 hi - head exact
            double rest = __builtin_fma(-x, g.lo, kPio2Lo);
            return head + __builtin_fma(-tx, G, rest - e);
        } else {
            DD p = two_prod<true>(x, g.hi);
            return p.h + __builtin_fma(tx, G, __builtin_fma(x, g.lo, p.l));
        }
    }
    if (H >= 0x3e500000u) {
        // 2^-28 <= |x| < 2^-9: the two-term series asin_small.
        double x2 = x * x;
        double y = __builtin_fma(x2 * x, __builtin_fma(asin_small[1], x2, asin_small[0]), x);
        if (Acos) return (kPio2Lo - y) + kPio2Hi;
        return y;
    }
    if (Acos) return (kPio2Lo - x) + kPio2Hi;
    return nudge<true>(x);  // asin x = x (1 + x^2/6 ...)
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, acos, (double x)) { return arc_ex<true>(x); }
TSR_BODY(double, asin, (double x)) { return arc_ex<false>(x); }
// The reproducible forms are the ex bodies themselves, reached by a jump.
TSR_DEFINE(double, __bwr_acos, (double x)) { return __libm_acos_ex_local(x); }
TSR_DEFINE(double, __bwr_asin, (double x)) { return __libm_asin_ex_local(x); }
#endif
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, acos, (double x)) { return arc<true>(x); }
TSR_BODY(double, asin, (double x)) { return arc<false>(x); }
#endif

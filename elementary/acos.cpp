// acos and asin in double.
//
// One frame for both functions and every tier, on 46 rows of the grid j/64: row j holds
// g = asin(j/64)/(j/64) in two parts and a degree-7 polynomial G with
// asin(s) = s (g + t G(t)), s = j/64 + t, |t| <= 1.08/128.
//
// Upper regime, 0.7109375 <= |x| < 1: w = (1 - |x|)/2 is exact and acos|x| = 2 asin(sqrt w).
// The row comes from round(64 sqrt w); the FMA tiers take sqrt w from the reciprocal-square-
// root estimate (w times it), so the row is known before the rounded root q is; the tier
// without FMA rounds q itself.  2 sqrt(w) = 2q + e with e = (w - q^2)/q the root's own
// rounding, so that 2 asin(sqrt w) = m g + e g + m t G(t), m = 2q; the head m·g hi is kept
// with its exact rounding error.  x < 0 adds pi (acos); asin is pi/2 - 2 asin(sqrt w), signed.
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

using namespace tsr;
using namespace tsr::invtrig;

namespace {

template <bool Fma>
inline double arc_G(const double *G, double t) {
    double t2 = t * t, t4 = t2 * t2;
    double a = mul_add<Fma>(mul_add<Fma>(G[1], t, G[0]), 1.0, t2 * mul_add<Fma>(G[3], t, G[2]));
    double b = mul_add<Fma>(G[5], t, G[4]) + t2 * mul_add<Fma>(G[7], t, G[6]);
    return mul_add<Fma>(t4, b, a);
}

// Round to the nearest integer of a value in [0, 46) by truncation of v + 1/2: the
// conversion truncates in every rounding mode, so the row does not depend on the mode.  The
// FMA tiers take the row from a shifter in the nearest mode (told by a probe, no read of the
// control word) and come here only in the directed modes.
inline int row_of(double v) { return int(v + 0.5); }

template <bool Fma, bool Acos>
inline double arc(double x) {
    uint64_t b = bits(x);
    uint64_t sign = b & kSign;
    double ax = f64(b & ~kSign);
    uint32_t H = hi(ax);
    if (H >= 0x3fe6c000u) {
        if (__builtin_expect(H >= 0x3ff00000u, 0)) {
            if (ax == 1.0) {
                if (Acos) return sign ? kPiHi + kPiLo : 0.0;
                return sign ? -kPio2Hi - kPio2Lo : kPio2Hi + kPio2Lo;  // rounded in the mode
            }
            if (ax != ax) return x + x;
            double nan = opaque(0.0) * opaque(__builtin_inf());
            return report(x, nan, Acos ? code::acos_magnitude_above_1 : code::asin_magnitude_above_1);
        }
        // Upper regime.
        double w = mul_add<Fma>(-0.5, ax, 0.5);  // exact: 0.5 ax is, and the difference by Sterbenz
        double q, e;
        int j;
        double t;
        if constexpr (Fma) {
            double y = rsqrt_est(w);
            q = __builtin_sqrt(w);
            if (__builtin_expect(rn_probe(), 1)) {
                // w y + 2^46 rounds w y to a multiple of 2^-6: j = round(64 sqrt w) in its low
                // bits, before the root is ready, and the grid point without a conversion.
                double S = __builtin_fma(w, y, 0x1p46);
                j = int(bits(S) & 0x3f);
                t = q - (S - 0x1p46);  // exact
            } else {
                j = row_of(w * y * 64.0);
                t = q - double(j) * 0x1p-6;
            }
            e = __builtin_fma(-q, q, w) * y;  // (w - q^2)/q to the estimate's 2^-11
        } else {
            q = __builtin_sqrt(w);
            j = row_of(q * 64.0);
            t = q - double(j) * 0x1p-6;  // exact
            DD p = two_prod(q, q);
            e = ((w - p.h) - p.l) / q;  // w - p exact: p is within an ulp of w
        }
        // acos: x > 0 gives 2 asin(s), x < 0 pi - 2 asin(s); asin: pi/2 - 2 asin(s), signed.
        bool neg_m = Acos ? sign != 0 : true;
        double m = neg_m ? -2.0 * q : 2.0 * q;
        if (neg_m) e = -e;
        double Kh = Acos ? (sign ? kPiHi : 0.0) : kPio2Hi;
        double Kl = Acos ? (sign ? kPiLo : 0.0) : kPio2Lo;
        const HiLo &g = arc_head46[j];
        double G = arc_G<Fma>(arc_poly46[j], t);
        double head, rest2;
        if constexpr (Fma) {
            head = __builtin_fma(m, g.hi, Kh);
            rest2 = __builtin_fma(m, g.hi, -(head - Kh));  // head - Kh exact (Sterbenz)
        } else {
            DD p = two_prod(m, g.hi);
            head = Kh + p.h;
            rest2 = ((Kh - head) + p.h) + p.l;  // |Kh| >= |ph| or Kh = 0
        }
        double rest = mul_add<Fma>(e, g.hi, Kl) + m * g.lo;
        double r = head + (mul_add<Fma>(G, t * m, rest) + rest2);
        return Acos ? r : with_sign(r, sign);
    }
    if (H >= 0x3f680000u) {
        // Middle regime.
        int j;
        double t;
        if (Fma && __builtin_expect(rn_probe(), 1)) {
            double S = __builtin_fma(ax, 64.0, 0x1.8p52);  // 64|x| rounded in its low bits
            j = int(bits(S) & 0x3f);
            t = __builtin_fma(S - 0x1.8p52, -0x1p-6, ax);  // exact
        } else {
            j = row_of(ax * 64.0);
            t = ax - double(j) * 0x1p-6;  // exact
        }
        const HiLo &g = arc_head46[j];
        double G = arc_G<Fma>(arc_poly46[j], t);
        double tx = t * x;
        if constexpr (Acos) {
            double head, e;
            if constexpr (Fma) {
                head = __builtin_fma(-x, g.hi, kPio2Hi);
                e = __builtin_fma(x, g.hi, -(kPio2Hi - head));  // pi/2 hi - head exact
            } else {
                DD p = two_prod(x, g.hi);
                head = kPio2Hi - p.h;
                e = (p.h - (kPio2Hi - head)) + p.l;
            }
            double rest = mul_add<Fma>(-x, g.lo, kPio2Lo);
            return head + mul_add<Fma>(-tx, G, rest - e);
        } else {
            DD p = two_prod<Fma>(x, g.hi);
            return p.h + mul_add<Fma>(tx, G, mul_add<Fma>(x, g.lo, p.l));
        }
    }
    if (H >= 0x3e500000u) {
        // 2^-28 <= |x| < 2^-9: the two-term series asin_small.
        double x2 = x * x;
        double y = mul_add<Fma>(x2 * x, mul_add<Fma>(asin_small[1], x2, asin_small[0]), x);
        if (Acos) return (kPio2Lo - y) + kPio2Hi;
        return y;
    }
    if (Acos) return (kPio2Lo - x) + kPio2Hi;
    return nudge<true>(x);  // asin x = x (1 + x^2/6 ...)
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, acos, (double x)) { return arc<false, true>(x); }
TSR_BODY(double, asin, (double x)) { return arc<false, false>(x); }
// The reproducible forms are the ex bodies themselves, reached by a jump.
TSR_DEFINE(double, __bwr_acos, (double x)) { return __libm_acos_ex_local(x); }
TSR_DEFINE(double, __bwr_asin, (double x)) { return __libm_asin_ex_local(x); }
#endif
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, acos, (double x)) { return arc<true, true>(x); }
TSR_BODY(double, asin, (double x)) { return arc<true, false>(x); }
#endif

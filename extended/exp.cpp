// e^x, 2^x, 10^x and e^x - 1 in extended precision.  Where the result is a normal number
// (the scale k in [-16000, 16383]) they run the short exponential of ext_common.h, whose
// result is one extended value rounded once, from one reduced argument r:
//
//   e^x     n = round(256 x/ln2), r = (x - n L1) - n L2 (Cody and Waite; L1 of 42 bits, so
//           n L1 and the first difference are exact);
//   2^x     n = round(256 x), r = (x - n/256) ln2 (x - n/256 is exact);
//   10^x    n = round(256 x log2 10), r = (xh C1 - n L1) + (xl C1 + x C2) - n L2 with x
//           split into 32-bit halves and ln 10 = C1 + C2 (C1 of 32 bits): the two head
//           products and their difference are exact;
//   e^x - 1 from |x| = 8 on, the e^x reduction, and 1 taken from the short exponential's
//           tail (k >= 12) or its sum added to -1 (k <= -12).
//
// The range ends (results next to overflow, subnormal or zero) and e^x - 1 below 8 take the
// pair core: 2^k (hi + lo) with the tail kept, the scaling into a subnormal rounded once
// from the pair, and for e^x - 1 the 1 taken by exact sums (near zero, k = 0, hi - 1 is
// exact).  Either way the error is 0.5 ulp plus about 2^-7 ulp in round-to-nearest.
// Overflow and underflow are told from the scale k and the rounded head, and reported
// after the caller's control word is back.
#include "extended/ext_common.h"

using namespace tsr;
using namespace tsr::x80;

#if TSR_TIER_EX
namespace {

// Arguments beyond every finite non-zero result, infinities, NaNs and refused encodings.
// at_inf is the result at -inf (0 for the exponentials, -1 for e^x - 1).
inline LD beyond(LD x, const Ext &v, LD at_neg_inf, int ov, int un) {
    bool neg = v.se >> 15;
    if ((v.se & 0x7fff) == 0x7fff || invalid_encoding(v)) {
        if (v.m == 0x8000000000000000ull) return neg ? at_neg_inf : x;
        return x + x;  // quiet NaN; invalid for a signalling or refused pattern
    }
    X87Frame fr;
    if (neg) {
        if (at_neg_inf != 0) return fr.finish(opaque(-1.0L) + 0x1p-16382L);  // -1 rounded in the caller's mode
        LD r = fr.finish(opaque(0x1p-16382L) * 0x1p-16382L);
        return report(x, r, un);
    }
    LD r = fr.finish(opaque(0x1p16383L) * 0x1p16383L);
    return report(x, r, ov);
}

// 2^k (hi) with the reports: overflow when it reaches 2^16384, underflow when it is below
// the least normal value.
// `exact`: x is an integer of 2^x, whose tiny results are exact and not underflows.
__attribute__((always_inline)) inline LD finish(X87Frame &fr, LD x, const ExpPair &p, int ov, int un,
                                                bool exact = false) {
    LD y = scale_pair(p.hi, p.lo, p.k);
    bool over = p.k > 16384 || (p.k == 16384 && p.hi >= 1.0L);
    bool under = p.k < -16382 || (p.k == -16382 && p.hi < 1.0L);
    // Also tiny: rounded up to the least normal value from below it.
    under |= p.k == -16382 && p.hi == 1.0L && p.lo < 0.0L;
    y = fr.finish(y);
    if (__builtin_expect(under && exact, 0)) return y;
    // A tiny result is inexact even where the pair happened to fall on the subnormal grid.
    if (__builtin_expect(under, 0)) raise_underflow();
    if (__builtin_expect(over | under, 0)) return report(x, y, over ? ov : un);
    return y;
}

// e^x - 1 where the scale k is 0: (th - 1) + th p + tl (1 + p) with th - 1 exact, th rh an
// exact product and p = rh + pl kept as a pair, so that where th - 1 and th p cancel no
// rounding error of theirs is left.
inline LD expm1_k0(int j, LD rh, LD rl) {
    const double *t = kExpTab[j + 128];
    LD th = t[0], tl = t[1];
    LD pl = rl + rh * rh * (0.5L + rh * exp_poly(rh));
    LD a, ae, u, ue;
    two_prod(th, rh, a, ae);
    two_sum(th - 1.0L, a, u, ue);
    return u + (ue + (ae + (th * pl + tl * (1.0L + (rh + pl)))));
}

// Field of |x| in [lo, hi] with a proper significand: the core's range.
inline bool in_core(const Ext &v, uint32_t lo, uint32_t hi) {
    return (v.se & 0x7fff) - lo <= hi - lo && (v.m >> 63);
}

}  // namespace

// e^x: the core for 2^-65 <= |x| < 11456; 1 + x below; beyond it, overflow or underflow
// without a core.
TSR_BODY(long double, expl, (long double x)) {
    Ext v = ext_in(x);
    if (__builtin_expect(in_core(v, 0x3fbe, 0x400b) || (in_core(v, 0x400c, 0x400c) && (v.m >> 48) < 0xb300), 1)) {
        X87Frame fr;
        LD z = opaque(load(x)), nf, th, s;
        int k;
        int n = shift_round(z * kInvLn2_256, v.se >> 15, nf);
        if (__builtin_expect(exp_short(n, (z - nf * kLn2_256[0]) - nf * kLn2_256[1], th, s, k), 1)) return fr.finish(th + s);
        z = opaque(reload(x));
        return finish(fr, z, exp_pair(z, 0.0L), code::expl_overflow, code::expl_underflow);
    }
    if ((v.se & 0x7fff) < 0x3fbe) {
        X87Frame fr;
        return fr.finish(1.0L + opaque(x));
    }
    return beyond(x, v, 0.0L, code::expl_overflow, code::expl_underflow);
}

// 2^x: integers give exact powers (r = 0).
TSR_BODY(long double, exp2l, (long double x)) {
    Ext v = ext_in(x);
    if (__builtin_expect(in_core(v, 0x3fbe, 0x400c) || (in_core(v, 0x400d, 0x400d) && (v.m >> 48) < 0x80e0), 1)) {
        X87Frame fr;
        LD z = opaque(load(x)), nf, th, s;
        int k;
        int n = shift_round(z * 256.0L, v.se >> 15, nf);
        if (__builtin_expect(exp_short(n, (z - nf * 0x1p-8L) * kLn2x, th, s, k), 1)) return fr.finish(th + s);
        x = opaque(reload(x));
        int f = v.se & 0x7fff;
        bool integer = f >= 0x400c && !(v.m << (f - 0x3fff + 1));
        return finish(fr, x, exp2_pair(x, 0.0L), code::exp2l_overflow, code::exp2l_underflow, integer);
    }
    if ((v.se & 0x7fff) < 0x3fbe) {
        X87Frame fr;
        return fr.finish(1.0L + opaque(x));
    }
    return beyond(x, v, 0.0L, code::exp2l_overflow, code::exp2l_underflow);
}

// 10^x: the split reduction; at the range ends x log2 10 as a pair, then the pair core of 2^x.
TSR_BODY(long double, exp10l, (long double x)) {
    Ext v = ext_in(x);
    if (__builtin_expect(in_core(v, 0x3fbd, 0x400a) || (in_core(v, 0x400b, 0x400b) && (v.m >> 48) < 0x9ac0), 1)) {
        X87Frame fr;
        LD z = opaque(load(x)), zh, zl, nf, th, s;
        int k;
        int n = shift_round(z * kLog2_10_256, v.se >> 15, nf);
        // r = x ln10 - n ln2/256: the products of the 32-bit head of x with the 32-bit head of
        // ln 10 and of n with the 42-bit head of ln2/256 are exact, and so is their
        // difference (it is below 2^-7 on a grid no finer than 2^-71).
        split32(z, zh, zl);
        LD r = ((zh * kLn10_32[0] - nf * kLn2_256[0]) + (zl * kLn10_32[0] + z * kLn10_32[1])) - nf * kLn2_256[1];
        if (__builtin_expect(exp_short(n, r, th, s, k), 1)) return fr.finish(th + s);
        x = opaque(reload(x));
        LD ph, pl;
        mul_const(x, 0.0L, kLog2_10, ph, pl);
        return finish(fr, x, exp2_pair(ph, pl), code::exp10l_overflow, code::exp10l_underflow);
    }
    if ((v.se & 0x7fff) < 0x3fbd) {
        X87Frame fr;
        return fr.finish(1.0L + opaque(x) * kLn10_32[0]);
    }
    return beyond(x, v, 0.0L, code::exp10l_overflow, code::exp10l_underflow);
}

// e^x - 1: below 2^-65 the result is x + x^2/2 rounded; below -46 it is -1 plus a tiny
// amount.
TSR_DEFINE(long double, expm1l, (long double x)) {
    Ext v = ext_in(x);
    bool neg = v.se >> 15;
    uint32_t f = v.se & 0x7fff;
    if (__builtin_expect(in_core(v, 0x3fbe, 0x4003) ||
                             (in_core(v, 0x4004, 0x400b) && !(neg && key(v) >= 0xc004b800u)) ||
                             (in_core(v, 0x400c, 0x400c) && !neg && (v.m >> 48) < 0xb300), 1)) {
        X87Frame fr;
        // From 8 on, 1 is small beside e^x (k >= 12) or e^x beside 1 (k <= -12): the short
        // exponential, with 1 taken from its tail or the tail added to -1.
        if (f >= 0x4002) {
            LD z = opaque(load(x)), nf, th, s;
            int k, n = shift_round(z * kInvLn2_256, neg, nf);
            if (exp_short(n, (z - nf * kLn2_256[0]) - nf * kLn2_256[1], th, s, k)) {
                if (k >= 12) return fr.finish(th + (s - 1.0L));
                if (k <= -12) return fr.finish(-1.0L + (th + s));
            }
        }
        x = opaque(reload(x));
        // Below 2^-9, n = 0 whatever the mode (the shifter would round it away from 0 in the
        // directed modes, and j != 0 there would leave a cancellation).
        LD rh = x, rl = 0.0L;
        int n = (v.se & 0x7fff) < 0x3ff6 ? 0 : exp_reduce(x, 0.0L, rh, rl);
        int j = ((n + 128) & 255) - 128;
        LD y;
        if (n == j) {
            y = expm1_k0(j, rh, rl);
        } else {
            ExpPair p = exp_tail(n, rh, rl);
            bool over = p.k > 16384 || (p.k == 16384 && p.hi >= 1.0L);
            if (__builtin_expect(over, 0)) {
                y = fr.finish(scale(p.hi, p.k));
                return report(x, y, code::expm1l_overflow);
            }
            LD a = scale(p.hi, p.k), b = scale(p.lo, p.k), s, t;
            two_sum(a, -1.0L, s, t);
            y = s + (t + b);
        }
        return fr.finish(y);
    }
    if (f < 0x3fbe && (v.m >> 63 || f == 0)) {
        if (f == 0 && v.m == 0) return x;
        X87Frame fr;
        x = opaque(load(x));
        return fr.finish(x + x * x * 0.5L);
    }
    if (neg && f != 0x7fff && (v.m >> 63)) return beyond(x, v, -1.0L, 0, 0);
    return beyond(x, v, -1.0L, code::expm1l_overflow, 0);
}
#endif

// What the extended-precision trigonometric, inverse trigonometric and hyperbolic functions
// share: arithmetic on pairs (hi + lo, |lo| below an ulp of hi, about 128 bits), the sine and
// cosine cores on a reduced pair, the tangent core (beside its code), the arctangent core, the reduction by quadrants, and the
// one-rounding paths of tiny arguments.  Every core runs inside an X87Frame (precision 64
// bits); the result is the pair's sum, rounded once in the caller's mode.
//
// Sine and cosine, |r| <= pi/4 (r = rh + rl):
//     sin r = r - r^3/6 + r^5 S(r^2),   cos r = 1 - r^2/2 + r^4/24 + r^6 C(r^2),
// the terms before the polynomials formed as pairs (powers of r by exact products, 1/6 and
// 1/24 as pairs), so their errors stay below 2^-100 of the result; S and C (Remez,
// tools/gen/ext2_tables.py) leave relative errors below 2^-72 and 2^-76 of the whole, on
// terms below 1/240 and 1/1400 of it.  The pair is good to about 2^-71: the rounded sum is
// within 0.5 + 2^-7 ulp.
//
// Arctangent of a fraction n/d <= 1 (pairs; the angle kernel's core): k = nearest 32 n/d, c = k/32 (a breakpoint of
// the table), t = (n - c d)/(d + c n) with n - c d exact (c has 6 bits and n is within d/64
// of c d) and |t| <= 1/64; atan(n/d) = atan(c) + t + t^3 A(t^2), atan(c) an extended pair,
// A (Remez) with relative error below 2^-78: the pair is good to about 2^-90.
#pragma once
#include "extended/ext2_data.h"
#include "extended/ext_common.h"

extern "C" {
TSR_HIDDEN int __libm_reduce_pi04l(const long double *x, int add, double out[2]);
TSR_HIDDEN void __libm_expm1l_k80(long double out[2], const long double in[2]);
TSR_HIDDEN void __libm_normalizel_k80(tsr::x80::Scaled *p);
}

namespace tsr::x80 {
namespace {

// ---- pairs ----------------------------------------------------------------------------------
struct Pair {
    LD h, l;
};
inline Pair norm(LD a, LD b) {
    Pair r;
    fast_two_sum(a, b, r.h, r.l);
    return r;
}
inline Pair neg(Pair a) { return {-a.h, -a.l}; }
inline Pair addp(Pair a, Pair b) {
    LD s, e;
    two_sum(a.h, b.h, s, e);
    return norm(s, e + (a.l + b.l));
}
inline Pair mulp(Pair a, Pair b) {
    LD p, e;
    two_prod(a.h, b.h, p, e);
    return norm(p, e + (a.h * b.l + a.l * b.h));
}
// a / b: the quotient of the heads, and the remainder a - q b (exact product) divided again.
inline Pair divp(Pair a, Pair b) {
    LD q = a.h / b.h, p, e;
    two_prod(q, b.h, p, e);
    LD r = (((a.h - p) - e) + (a.l - q * b.l)) / b.h;
    return norm(q, r);
}
// sqrt(a): the unit's root of the head and the remainder a - s^2 (exact product) over 2s.
inline Pair sqrtp(Pair a) {
    LD s = fsqrt(a.h), p, e;
    two_prod(s, s, p, e);
    return norm(s, (((a.h - p) - e) + a.l) / (s + s));
}
inline Pair pc(const LD c[2]) { return {c[0], c[1]}; }
inline LD sum(Pair a) { return a.h + a.l; }

// ---- rounding ---------------------------------------------------------------------------
// A core that runs in round-to-nearest inside the frame: its two-sums and split products are
// exact only there (in a directed mode their errors come back multiplied where a reduced
// argument cancels, or where a tail far below the head is rounded into it).  end() brings
// the caller's rounding back for the last addition; the operands pass through opaque() on
// both sides of the change so that no operation crosses it.
struct Nearest {
    uint16_t cw;
    bool directed;
    Nearest() : cw(get_x87_cw()), directed((cw & 0xc00) != 0) {
        if (__builtin_expect(directed, 0)) set_x87_cw(uint16_t(cw & ~0xc00));
    }
    void end() {
        if (__builtin_expect(directed, 0)) {
            set_x87_cw(cw);
            directed = false;
        }
    }
    LD round(Pair p) {
        LD h = opaque(p.h), l = opaque(p.l);
        end();
        h = opaque(h);
        l = opaque(l);
        return h + l;
    }
    ~Nearest() { end(); }
    Nearest(const Nearest &) = delete;
    Nearest &operator=(const Nearest &) = delete;
};

// ---- sine and cosine -----------------------------------------------------------------------
inline Pair sin_pair(LD rh, LD rl) {
    LD zh, zl, ch, cl, th, tl;
    two_prod(rh, rh, zh, zl);
    zl += 2.0L * rh * rl;
    two_prod(zh, rh, ch, cl);  // r^3
    cl += zl * rh + zh * rl;
    two_prod(ch, kSixth[0], th, tl);  // r^3/6
    tl += cl * kSixth[0] + ch * kSixth[1];
    const LD *c = kSinPoly;
    LD r = rh + rl, z = r * r, z2 = z * z, z4 = z2 * z2;  // the tail of a reduced r moves r^5 S too
    LD s = (c[0] + z * c[1]) + z2 * (c[2] + z * c[3]) + z4 * ((c[4] + z * c[5]) + z2 * (c[6] + z * c[7]) + z4 * c[8]);
    LD a, ae;
    fast_two_sum(rh, -th, a, ae);
    return norm(a, ae + ((rl - tl) + r * z2 * s));
}
inline Pair cos_pair(LD rh, LD rl) {
    LD zh, zl, qh, ql, uh, ul;
    two_prod(rh, rh, zh, zl);
    zl += 2.0L * rh * rl;
    LD hh = zh * 0.5L, hl = zl * 0.5L;  // exact
    two_prod(zh, zh, qh, ql);           // r^4
    ql += 2.0L * zh * zl;
    two_prod(qh, kC24[0], uh, ul);      // r^4/24
    ul += ql * kC24[0] + qh * kC24[1];
    const LD *c = kCosPoly;
    LD r = rh + rl, z = r * r, z2 = z * z, z4 = z2 * z2;
    LD s = (c[0] + z * c[1]) + z2 * (c[2] + z * c[3]) + z4 * ((c[4] + z * c[5]) + z2 * (c[6] + z * c[7]));
    LD a, ae, b, be;
    fast_two_sum(1.0L, -hh, a, ae);
    fast_two_sum(a, uh, b, be);
    return norm(b, be + (ae + ((ul - hl) + z2 * z * s)));
}
// sin and cos of q pi/2 + r from the cores: q selects the core and the sign.
inline Pair sin_quadrant(int q, LD rh, LD rl) {
    Pair p = (q & 1) ? cos_pair(rh, rl) : sin_pair(rh, rl);
    return (q & 2) ? neg(p) : p;
}
// ---- tangent ---------------------------------------------------------------------------------
// n/d for pairs whose tails may reach 2^-12 of their heads, by one division: d normalised
// (so that 1/dh is 1/d to 2^-63), inv = 1/dh, y = nh inv cut to 32 bits, the remainder
// n - y d with y dh exact (dh split into halves of 32 bits) and nh - y dh exact (the two are
// within 2^-31 of each other), and y + rem inv: the remainder is at most 2^-11 of n, so that
// inv's rounding and the tail of d move the pair by less than 2^-74.
inline Pair quotient(Pair n, Pair d) {
    d = norm(d.h, d.l);
    LD inv = 1.0L / d.h, y, yl, d1, d2;
    split32(n.h * inv, y, yl);
    split32(d.h, d1, d2);
    LD rem = ((n.h - y * d1) - y * d2) + (n.l - y * d.l);
    return {y, rem * inv};
}
// tan (q even) or -cot (q odd) of r = rh + rl, |r| at most pi/4 and a reduction's margin, by
// the addition formula at breakpoints: c = k/32 nearest |r| (k <= 25), t = |r| - c with
// |rh| - c exact (c is a multiple of 1/32 within 1/64 of |rh|), u = tan t = t + t^3 P(t^2)
// (kTanStepPoly, |t| <= 1/64, relative error 2^-78.5) as the head t's and a tail, T = tan c a
// 32-bit head and a tail (kTanTab), and
//     tan r = N/D,  cot r = D/N,  N = T + u,  D = 1 - T u:
// N by a two-sum of the heads, T u by the two halves of u's head, each product exact (T's
// head has 32 bits), D's head 1 - T u's first product by a two-sum (exact), the products of
// the tails (T's, 2^-32 of T; u's, at most t^2/3 of u) rounded in the tails; then one
// quotient.  Below
// 1/64 (k = 0) tan r is u itself.  The pair is good to about 2^-74: 0.5 + 2^-10 ulp.
inline Pair tan_quadrant(int q, LD rh, LD rl, bool cot) {
    bool rneg = rh < 0.0L;
    LD ah = __builtin_fabsl(rh), al = rneg ? -rl : rl;
    LD kf;
    int k = round_int(ah * 32.0L, kf);  // in round-to-nearest (the core's mode)
    LD th = ah - kf * 0x1p-5L;          // exact
    const LD *c = kTanStepPoly;
    LD s = th + al, z = s * s, z2 = z * z, z4 = z2 * z2;
    LD poly = (c[0] + z * c[1]) + z2 * (c[2] + z * c[3]) + z4 * (c[4] + z * c[5]);
    LD ul = al + s * z * poly;  // u = th + ul
    bool swap = (q & 1) != cot, negate = bool(q & 1) != rneg;
    Pair r;
    if (k == 0 && !swap) {
        r = {th, ul};
    } else {
        const LD *T = kTanTab[k];
        LD u1, u2, nh, nl, dh, dl;
        split32(th, u1, u2);
        fast_two_sum(T[0], th, nh, nl);  // T's head is at least 1/32 > |th|, or 0
        nl += T[1] + ul;
        fast_two_sum(1.0L, -(T[0] * u1), dh, dl);
        dl = (dl - T[0] * u2) - (T[0] * ul + T[1] * (th + ul));
        Pair n = {nh, nl}, d = {dh, dl};
        r = swap ? quotient(d, n) : quotient(n, d);
    }
    return negate ? neg(r) : r;
}

// |x| = q pi/2 + r for a finite x (v its words): q modulo 4 returned, r as a pair.  At most pi/4
// there is nothing to reduce; above, the pi/4 reduction's octant count rounded up to even.
inline bool within_pi4(const Ext &v) {
    uint32_t f = v.se & 0x7fff;
    return f < 0x3ffe || (f == 0x3ffe && v.m <= 0xc90fdaa22168c235ull);
}
inline int reduce_quadrant(LD ax, const Ext &v, LD &rh, LD &rl) {
    if (within_pi4(v)) {
        rh = ax;
        rl = 0.0L;
        return 0;
    }
    double out[2];
    int n = __libm_reduce_pi04l(&ax, 0, out);
    rh = out[0];
    rl = out[1];
    return ((n + (n & 1)) >> 1) & 3;
}

// |x| = 90 q + d exactly, |d| <= 45, q modulo 4 returned, by integer work and exact
// operations only (so that an exact result raises no flag).  Below 2^63 the whole part I of
// |x| gives q = (I + 45) div 90 and d = |x| - 90 q (90 q has at most 64 bits, and d is a
// multiple of x's last place with |d| < 2^6); from 2^63 on x = M 2^e is a whole number, and
// its residue modulo 360 is found by integers (2^e modulo 360 repeats with period 12 from
// e = 3 on).
inline int reduce_degrees(LD ax, const Ext &v, LD &d) {
    Unpacked u = unpack(v);
    if (u.e < 63) {
        if (u.e < 5 || ax <= 45.0L) {
            d = ax;
            return 0;
        }
        uint64_t whole = u.m >> (63 - u.e);
        uint64_t n = (whole + 45) / 90;
        d = ax - LD(n) * 90.0L;
        return int(n & 3);
    }
    int e = u.e - 63;
    if (e > 14) e = (e - 3) % 12 + 3;
    uint64_t r = u.m % 360;
    for (int i = 0; i < e; ++i) r = (r * 2) % 360;
    int q = int(r / 90);
    r %= 90;
    if (r > 45) r -= 90, q += 1;
    d = LD(int64_t(r));
    return q & 3;
}

// ---- arctangent ----------------------------------------------------------------------------
// atan(n/d) for 0 <= n <= d, d > 0.
inline Pair atan_frac(Pair n, Pair d) {
    // k = floor(32 n/d + 1/2) by the bits of the rough quotient (no rounding mode involved)
    LD w = n.h / d.h * 32.0L + 0.5L;
    Ext we = ext(w);
    int fw = int(we.se & 0x7fff) - 0x3fff;
    int k = fw < 0 ? 0 : int(we.m >> (63 - fw));
    if (k > 32) k = 32;
    LD c = LD(k) * 0x1p-5L;
    Pair t;
    if (k == 0) {
        t = divp(n, d);
    } else {
        LD p, pe, q, qe;
        two_prod(c, d.h, p, pe);
        two_prod(c, n.h, q, qe);
        Pair num = addp({n.h - p, 0.0L}, {-pe, n.l - c * d.l});  // n.h - p is exact
        Pair den = addp(d, {q, qe + c * n.l});
        t = divp(num, den);
    }
    const LD *a = kAtanPoly;
    LD t2 = t.h * t.h, t4 = t2 * t2;
    LD poly = (a[0] + t2 * a[1]) + t4 * ((a[2] + t2 * a[3]) + t4 * (a[4] + t2 * a[5]));
    LD s, e;
    two_sum(kAtanTab[k][0], t.h, s, e);
    return norm(s, e + (kAtanTab[k][1] + (t.l + t.h * t2 * poly)));
}
// The angle of a point on an axis or at an infinity, in multiples of pi/4 before y's sign
// (0 and pi on the x axis by x's sign, pi/2 on the y axis, pi/4 or 3pi/4 for two
// infinities); -1 for finite non-zero coordinates.  NaNs are the caller's.
inline int axis_octants(const Ext &vy, const Ext &vx) {
    bool sx = vx.se >> 15;
    if (is_zero(vy)) return sx ? 4 : 0;
    if (is_zero(vx)) return 2;
    if (is_inf(vy)) return is_inf(vx) ? (sx ? 3 : 1) : 2;
    if (is_inf(vx)) return sx ? 4 : 0;
    return -1;
}
// The angle of (x, y) for x, y > 0 (pairs), in [0, pi/2].
inline Pair atan2_pos(Pair y, Pair x) {
    if (y.h <= x.h) return atan_frac(y, x);
    return addp(pc(kPi2), neg(atan_frac(x, y)));
}

// ---- arcsine series ---------------------------------------------------------------------------
// Q(t) of asin x = x + x^3/6 + x^5 Q(x^2), |x| <= 1/2, by Estrin's scheme.
inline LD asin_q(LD t) {
    const LD *c = kAsinPoly;
    LD t2 = t * t, t4 = t2 * t2, t8 = t4 * t4;
    LD q0 = (c[0] + t * c[1]) + t2 * (c[2] + t * c[3]);
    LD q1 = (c[4] + t * c[5]) + t2 * (c[6] + t * c[7]);
    LD q2 = (c[8] + t * c[9]) + t2 * (c[10] + t * c[11]);
    LD q3 = (c[12] + t * c[13]) + t2 * (c[14] + t * c[15]);
    return (q0 + t4 * q1) + t8 * (q2 + t4 * q3);
}
// asin s = s + s^3/6 + s^5 Q(s^2) for s = sh + sl, s^2 = t + te, |s| <= 1/2, with the
// leading s^3/6 as an exact pair (sh t and its sixth by exact products): the rest, below
// 0.005 of asin s, carries every rounding, so that they stay far below an ulp of the
// result even where pi/2 - 2 asin s doubles them.
struct Series {
    Pair s;
    LD q, rest;  // s^3/6 = q + part of rest; rest holds every smaller term
};
// Out of line: inlined, its exact products made the compiler spill and reload around the
// short path below 3/8 too (measured: 2.4 times slower there).
inline __attribute__((noinline)) Series series(Pair s, LD t, LD te) {
    LD p, pe, q, qe;
    two_prod(s.h, t, p, pe);
    two_prod(p, kSixth[0], q, qe);
    LD rest = qe + (p * kSixth[1] + (pe + (s.l * t + s.h * te)) * kSixth[0]) + p * t * asin_q(t);
    return {s, q, rest};
}
// k asin s as a pair (k = 1 or 2).
inline Pair times(const Series &h, LD k) {
    LD v, ve;
    two_sum(h.s.h, h.q, v, ve);
    return {k * v, k * (ve + (h.s.l + h.rest))};
}
// c - k asin s as a pair (c = pi/2 or pi): two-sums of the heads, the rest in the tail.
inline Pair less_times(const LD c[2], const Series &h, LD k) {
    LD u, ue, v, ve;
    two_sum(c[0], -k * h.s.h, u, ue);
    two_sum(u, -k * h.q, v, ve);
    return {v, (ue + ve) + (c[1] - k * (h.s.l + h.rest))};
}

// ---- tiny arguments ------------------------------------------------------------------------
// (hi + lo) 2^k rounded once, for hi in about [1, 4): exact scaling after the rounding of the
// sum where the result is normal, one rounding into the subnormal range where it is not.
inline LD scaled_sum(LD hi, LD lo, int k) {
    if (k >= -16380) return (hi + lo) * pow2l(k);
    return scale_pair(hi, lo, k);
}
// x (1 + s 2^-70) rounded once (s = +1 or -1): the value of an odd function f(x) = x + c x^3
// for |x| < 2^-32, where c x^3 is a fraction of an ulp of x below 2^-65 of it, so that x
// and a tiny amount of the same sign as c x^3 round as f(x) in every mode.
inline LD tiny_odd(LD x, const Ext &v, int s) {
    if ((v.se & 0x7fff) >= 0x47) return x + LD(s) * (x * 0x1p-70L);
    Unpacked u = unpack(v);
    LD m = from_ext(u.m, uint16_t((v.se & 0x8000) | 0x3fff));
    return scaled_sum(m, LD(s) * m * 0x1p-70L, u.e);
}
// c x, c a constant pair, rounded once, for a tiny x (products of the scaled significand).
inline LD tiny_times(const Ext &v, const LD c[2]) {
    Unpacked u = unpack(v);
    LD m = from_ext(u.m, uint16_t((v.se & 0x8000) | 0x3fff));
    Pair p = mulp({m, 0.0L}, pc(c));
    Ext pe = ext(p.h);
    int sh = int(pe.se & 0x7fff) - 0x3fff;  // bring the head to [1, 2)
    return scaled_sum(p.h * pow2l(-sh), p.l * pow2l(-sh), u.e + sh);
}

// ---- exponential pairs ------------------------------------------------------------------------
// e^a - 1 as a pair for 0 <= a < 0.34, where the scale of the exponential core is 1:
// (T - 1) + T r + T p + t (1 + r + p) with T + t = 2^(j/256) (T - 1 exact), T r an exact
// product and p = e^r - 1 - r, so that no rounding error of the core is left where T - 1 and
// T r cancel (the pair is good to about 2^-80 of the result).  Below 2^-9 j = 0 whatever the
// mode.
inline Pair expm1_small(LD a) {
    LD rh = a, rl = 0.0L;
    int j = a < 0x1p-9L ? 0 : exp_reduce(a, 0.0L, rh, rl);
    const double *t = kExpTab[j + 128];
    LD th = t[0], tl = t[1];
    LD pl = rl + rh * rh * (0.5L + rh * exp_poly(rh));
    LD p, pe, u, ue;
    two_prod(th, rh, p, pe);
    two_sum(th - 1.0L, p, u, ue);
    return norm(u, ue + (pe + (th * pl + tl * (1.0L + (rh + pl)))));
}
// e^|x| - 1 as a pair, for |x| below the overflow threshold.
inline Pair expm1_of(LD ax) {
    if (ax < 0.34L) return expm1_small(ax);
    LD in[2] = {ax, 0.0L}, out[2];
    __libm_expm1l_k80(out, in);
    return {out[0], out[1]};
}
// ---- odd series ------------------------------------------------------------------------------
// P(z) of f(x) = x + x^3 P(x^2) for 9 coefficients (x^3 .. x^19), by Estrin's scheme: the
// series of atan, asinh, tanh and atanh below 1/8.
inline LD odd9(const LD *c, LD z) {
    LD z2 = z * z, z4 = z2 * z2;
    LD p0 = (c[0] + z * c[1]) + z2 * (c[2] + z * c[3]);
    LD p1 = (c[4] + z * c[5]) + z2 * (c[6] + z * c[7]);
    return p0 + z4 * (p1 + z4 * c[8]);
}
// f(x) = x + x^3 P(x^2) for |x| < 1/8: the tail is below x/190, so that its roundings stay
// below 1/190 ulp and the one sum rounds in the caller's mode, the sign with it.
inline LD odd_series(const LD *c, LD x) {
    LD z = x * x;
    return x + x * z * odd9(c, z);
}
// +1 and -1 by a sign bit: a sign applied by a product, without a branch.
constexpr LD kSignOf[2] = {1.0L, -1.0L};

}  // namespace
}  // namespace tsr::x80

// The extended-precision cores of annuityl and compoundl: the double scheme of fin_common.h
// on pairs of extended values, with the exponential and series cores of extended/
// (ext_common.h).
//
// log2(1 + x): below 2^-7 the series, G = ln(1 + x)/x = 1 - x/2 + x^2 q(x) as a pair (no 1 + x
// formed); above, the table form of the double core (log2_1pl below).  W = ±y log2(1 + x) on
// the significands of y and of the logarithm, its exponent kept apart, as in double.  2^W from
// the exponential core (good to about 2^-73 of the value as a pair), for |W| above 16000 as
// the square of the square of 2^(W/4), so that the core's range is never left.
//
// The frame: the x87 precision field at 64 bits and the rounding field at nearest while the
// pairs are formed; the caller's word comes back before the one operation that rounds the
// result.
#pragma once
#include "elementary/pow_exact.h"
#include "extended/ext2_common.h"
#include "tsr/x87.h"

namespace tsr::fin {
namespace {

// Precision 64 bits and rounding to nearest until restore() (the caller's word back).
struct ExtFrame {
    uint16_t saved;
    bool changed;
    ExtFrame() : saved(get_x87_cw()) {
        uint16_t want = uint16_t((saved | X87_PC_MASK) & ~X87_RC_MASK);
        changed = want != saved;
        if (__builtin_expect(changed, 0)) set_x87_cw(want);
    }
    void restore() {
        if (__builtin_expect(changed, 0)) {
            set_x87_cw(saved);
            changed = false;
        }
    }
    ~ExtFrame() { restore(); }
    ExtFrame(const ExtFrame &) = delete;
    ExtFrame &operator=(const ExtFrame &) = delete;
};

// The exponent of a finite non-zero extended value, and its significand in [1, 2) exactly.
inline int expol(LD v) { return x80::unpack(ext(v)).e; }
inline LD scalel(LD v, int k) { return (v * pow2l(k / 2)) * pow2l(k - k / 2); }
inline LD signifl(LD v, int e) { return scalel(v, -e); }

using x80::Pair;
using x80::norm;
// (a.h + a.l) b for an extended b.
inline Pair mul(Pair a, LD b) {
    LD p, e;
    two_prod(a.h, b, p, e);
    return norm(p, e + a.l * b);
}
inline Pair div(Pair a, LD b) { return x80::divp(a, {b, 0.0L}); }

// 1/(1 + x) as a pair times 2^-k, from the exact pair 1 + x.
inline Pair recip_1p(LD x, int &k) {
    Pair p;
    two_sum(1.0L, x, p.h, p.l);
    k = expol(p.h);
    return x80::divp({1.0L, 0.0L}, {scalel(p.h, -k), scalel(p.l, -k)});
}

// ln(1 + v) for |v| <= 2^-7, v exact, as a pair: the series core of extended/.
inline Pair ln1p_small(LD v) {
    Pair r;
    x80::log1p_series(v, r.h, r.l);
    return r;
}

// log2(1 + x) = m 2^e for x > -1 finite non-zero; g = ln(1 + x)/x where the series gave it.
// The table form is the double one on extended pairs: c = 4/p cut to seven fraction bits and
// the bit below; the head of p cut to 55 bits, so that its product with c's 9 bits is exact;
// r = p c - 4 exact as a pair, |r| <= 2^-6; log2 p = k + row_i + log2(1 + r/4), the rows the
// double ones (pairs of doubles, good to 2^-106), log2(1 + r/4) = log2(e) ln(1 + r/4) from the
// series core on the exact r/4.  The error stays near 2^-88 absolute, 2^-81 relative: no
// reduction by whole octaves, so nothing cancels beyond what the value itself is.
struct LogL {
    Pair m;
    int e;
    bool series;
    Pair g;
};
inline LogL log2_1pl(LD x) {
    int ex = expol(x);
    if (ex < -7) {
        LD xs = signifl(x, ex);
        Pair g = {1.0L, 0.0L};
        if (ex >= -80) {  // below, x/2 is under 2^-81 of 1
            const LD *c = x80::kLogNear1;
            LD v2 = x * x, v4 = v2 * v2;
            LD q0 = c[0] + x * c[1] + v2 * (c[2] + x * c[3]);
            LD q1 = c[4] + x * c[5] + v2 * (c[6] + x * c[7]);
            LD q2 = c[8] + x * c[9];
            LD q = q0 + v4 * (q1 + v4 * q2);
            // ln(1 + x)/x = 1 - x/2 + x^2 q(x), 1 - x/2 as an exact pair
            LD s, t;
            two_sum(1.0L, -0.5L * x, s, t);
            g = norm(s, t + v2 * q);
        }
        Pair gx = mul(g, xs), m;
        mul_const(gx.h, gx.l, x80::kLog2e_32, m.h, m.l);
        return {m, ex, true, g};
    }
    Pair p;
    two_sum(1.0L, x, p.h, p.l);
    LD q = 4.0L / p.h;
    Ext qe = ext(q);
    LD c = from_ext((qe.m & 0xff00000000000000ull) | 0x0080000000000000ull, qe.se);
    int i = int(qe.m >> 56) & 0x7f;
    int k = 2 - (int(qe.se & 0x7fff) - 0x3fff);
    Ext pe = ext(p.h);
    LD ph = from_ext(pe.m & ~0x1ffull, pe.se);
    LD rh = ph * c - 4.0L;                    // exact: 55 by 9 bits, within a factor 2 of 4
    LD rl = ((p.h - ph) + p.l) * c;
    LD vh, vl;
    two_sum(rh * 0.25L, rl * 0.25L, vh, vl);
    Pair l1 = ln1p_small(vh);
    l1.l += vl / (1.0L + vh);
    Pair l2;
    mul_const(l1.h, l1.l, x80::kLog2e_32, l2.h, l2.l);
    LD s, t;
    two_sum(LD(k), LD(fin_log2_rows[i][0]), s, t);
    LD s2, t2;
    two_sum(s, l2.h, s2, t2);
    return {norm(s2, t2 + (t + (LD(fin_log2_rows[i][1]) + l2.l))), 0, false, {0.0L, 0.0L}};
}

struct ExpoL {
    Pair m;
    int e, ew;
};
inline ExpoL times_yl(const LogL &L, LD y, LD sign) {
    int ey = expol(y);
    Pair m = mul(L.m, signifl(y, ey) * sign);
    int e = ey + L.e;
    return {m, e, expol(m.h) + e};
}

// 2^(w.h + w.l) = (h + l) 2^k for |w| < 32768.
inline Pair exp2l_pair(Pair w, int &k) {
    LD a = w.h, b = w.l;
    int quarter = 0;
    if (a > 16000.0L || a < -16000.0L) {
        a *= 0.25L;
        b *= 0.25L;
        quarter = 1;
    }
    x80::ExpPair p = x80::exp2_pair(a, b);
    Pair r = norm(p.hi, p.lo);
    k = p.k;
    if (quarter) {
        for (int i = 0; i < 2; ++i) {
            LD s, e;
            two_prod(r.h, r.h, s, e);
            r = norm(s, e + 2.0L * r.h * r.l);
            k *= 2;
        }
    }
    return r;
}

// ---- exact values (as in double, fin_common.h), under the frame ------------------------------
inline bool exact_compoundl(LD x, LD y, LD *out) {
    if (!powk::small_integer_l(y)) return false;
    Pair p;
    two_sum(1.0L, x, p.h, p.l);
    return p.l == 0.0L && powk::exact_power_l(p.h, y, out);
}
// The x87 exception flags set to `flags` (the low six bits of the status word), by the
// environment as it stands with its status word patched: the register tags stay as they are.
inline void set_x87_flags(uint16_t flags) {
    uint16_t env[14];
    asm volatile("fnstenv %0" : "=m"(env));
    env[2] = uint16_t((env[2] & ~0x3fu) | (flags & 0x3fu));
    asm volatile("fldenv %0" : : "m"(env));
}
inline bool exact_annuityl(LD x, LD y, LD *out) {
    if (!powk::small_integer_l(y)) return false;
    const uint16_t before = get_x87_sw();
    Pair p;
    two_sum(1.0L, x, p.h, p.l);
    LD P;
    if (p.l != 0.0L || !powk::exact_power_l(p.h, -y, &P)) return false;
    if (P > 0x1p128L || P < 0x1p-128L) return false;  // 1 - P longer than any product q x
    Pair D, t;
    two_sum(1.0L, -P, D.h, D.l);
    LD q = div(D, x).h;
    two_prod(q, x, t.h, t.l);
    if (t.h != D.h || t.l != D.l) return false;
    set_x87_flags(before);
    *out = q;
    return true;
}

// (h + l) 2^k rounded once in the caller's mode (restored here), for h not zero.
inline LD finish_l(Pair v, int k, ExtFrame &fr) {
    v = norm(v.h, v.l);
    int eh = expol(v.h);
    LD s = pow2l(-eh);
    LD hi = v.h * s, lo = v.l * s;  // hi in [1, 2)
    k += eh;
    fr.restore();
    hi = opaque(hi);
    lo = opaque(lo);
    if (k > 16400) return (hi * 0x1p16383L) * 0x1p16383L;  // overflow in the caller's mode
    if (k < -16460) return (hi > 0 ? 0x1p-16445L : -0x1p-16445L) * opaque(0x1p-8L);
    if (k >= -16382) {
        int k1 = k / 2;
        return ((hi + lo) * pow2l(k1)) * pow2l(k - k1);
    }
    return x80::scale_pair(hi, lo, k);
}

// x finite, above -1, not zero; y finite, not zero.
inline LD annuityl_core(LD x, LD y) {
    if (y == -1.0L) return -1.0L;  // (1 - (1 + x))/x
    ExtFrame fr;
    x = opaque(x);
    y = opaque(y);
    if (y == 1.0L) {  // 1/(1 + x)
        int ep;
        Pair q = recip_1p(x, ep);
        return finish_l(q, -ep, fr);
    }
    LD e;
    if (exact_annuityl(x, y, &e)) {
        fr.restore();
        return e;
    }
    const int ex = expol(x);
    const LD xs = signifl(x, ex);
    LogL L = log2_1pl(x);
    ExpoL W = times_yl(L, y, -1.0L);
    if (W.ew < -7) {
        // 1 - 2^W = y log2(1 + x) F(W), F(W) = (2^W - 1)/W = ln 2 S(W ln 2),
        // S(u) = (e^u - 1)/u: the value is y G S(u), G = ln(1 + x)/x.
        Pair G = L.g;
        int eg = 0;
        if (!L.series) {
            mul_const(L.m.h, L.m.l, x80::kLn2_32, G.h, G.l);
            G = div(G, xs);
            eg = -ex;
        }
        LD w = W.ew < -1000 ? 0.0L : W.m.h * pow2l(W.e) * 0x1.62e42fefa39ef358p-1L;  // u = W ln 2
        // 1/2 + u/6 + ... + u^7/9! (the factorials' reciprocals rounded to extended): |u| < 2^-7,
        // the first term left out is below 2^-70 of S.
        static constexpr LD inv_fact[8] = {0x1.0000000000000p-1L, 0x1.5555555555555556p-3L,
                                           0x1.5555555555555556p-5L, 0x1.1111111111111112p-7L,
                                           0x1.6c16c16c16c16c16p-10L, 0x1.a01a01a01a01a01ap-13L,
                                           0x1.a01a01a01a01a01ap-16L, 0x1.71de3a556c7338fap-19L};
        LD f = inv_fact[7];
        for (int n = 6; n >= 0; --n) f = f * w + inv_fact[n];
        Pair F = norm(1.0L, w * f);
        int ey = expol(y);
        return finish_l(mul(x80::mulp(G, F), signifl(y, ey)), ey + eg, fr);
    }
    if (W.ew >= 15) {  // |W| >= 32768
        if (W.m.h > 0) {
            fr.restore();
            return opaque(x > 0 ? -0x1p16383L : 0x1p16383L) * 0x1p16383L;  // overflow, opposite to x
        }
        return finish_l(div({1.0L, -0x1p-200L}, xs), -ex, fr);
    }
    int k;
    Pair R = exp2l_pair({W.m.h * pow2l(W.e), W.m.l * pow2l(W.e)}, k);
    Pair D;
    int sd = 0;
    if (k > 140) {  // 2^W alone, or 1 alone below
        D = {-R.h, -R.l};
        sd = k;
    } else if (k < -140) {
        D = {1.0L, -R.h * pow2l(k < -16000 ? -16000 : k)};
    } else {
        LD s = pow2l(k), t, u;
        two_sum(1.0L, -R.h * s, t, u);  // R.h s is exact
        D = norm(t, u - R.l * s);
    }
    return finish_l(div(D, xs), sd - ex, fr);
}

inline LD compoundl_core(LD x, LD y) {
    if (y == 1.0L) return x + 1.0L;
    ExtFrame fr;
    x = opaque(x);
    y = opaque(y);
    if (y == -1.0L) {  // 1/(1 + x)
        int ep;
        Pair q = recip_1p(x, ep);
        return finish_l(q, -ep, fr);
    }
    LD e;
    if (exact_compoundl(x, y, &e)) {
        fr.restore();
        return e;
    }
    LogL L = log2_1pl(x);
    ExpoL W = times_yl(L, y, 1.0L);
    if (W.ew < -70) {  // W ln 2 below a quarter of the last place under 1
        fr.restore();
        return 1.0L + opaque(W.m.h > 0 ? 0x1p-100L : -0x1p-100L);
    }
    if (W.ew >= 15) {
        fr.restore();
        return W.m.h > 0 ? opaque(0x1p16383L) * 0x1p16383L : opaque(0x1p-16445L) * 0x1p-8L;
    }
    int k;
    Pair R = exp2l_pair({W.m.h * pow2l(W.e), W.m.l * pow2l(W.e)}, k);
    return finish_l(R, k, fr);
}

}  // namespace
}  // namespace tsr::fin

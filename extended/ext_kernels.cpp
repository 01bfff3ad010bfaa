// The extended-precision kernels other families call for more than extended accuracy:
// values in and out as pairs (hi + lo, two 16-byte cells) or scaled pairs ((hi + lo) 2^e,
// the exponent in a third cell), results through the first pointer.  They run in their
// caller's frame (precision control already at 64 bits) and report nothing.  The exponential,
// logarithm and sum-of-squares kernels compute in round-to-nearest whatever the caller's mode
// (their two-sums and split products are exact only there; in a directed mode a pair would
// come back short of its 2^-72) and give the caller's control word back on return: the caller
// rounds the pair itself.
#include "extended/ext_common.h"

using namespace tsr;
using namespace tsr::x80;

namespace {

// ln(h + l) as a pair for positive finite h, |l| small beside h.
inline void log_of_pair(LD h, LD l, LD &rh, LD &rl) {
    LD hi, lo;
    int e = log_parts(h, ext(h), hi, lo);
    LD ef = e, s, t;
    two_sum(ef * kLn2_3[0], hi, s, t);
    fast_two_sum(s, t + (lo + l / h + ef * kLn2_3[1] + ef * kLn2_3[2]), rh, rl);
}

// NaN, zero, negative and infinite arguments of the logarithm kernels: the pair gets the
// NaN, -inf or +inf; true when handled.
inline bool log_special(LD h, LD *out) {
    Ext v = ext(h);
    bool pos_finite = !(v.se >> 15) && (v.se & 0x7fff) != 0x7fff && !(v.se == 0 && v.m == 0);
    if (pos_finite) return false;
    if (v.se == 0 && v.m == 0) out[0] = LD(f32(0xff800000));    // -inf
    else if ((v.se & 0x7fff) == 0x7fff && !(v.se >> 15)) out[0] = h;  // +inf, NaN
    else out[0] = (v.se & 0x7fff) == 0x7fff && v.m != 0x8000000000000000ull ? h + h : default_nan();
    out[1] = 0.0L;
    return true;
}

}  // namespace

extern "C" {

// The scaled pair in place: hi in [1, 2), lo scaled by the same power, the exponents moved
// to the third cell; lo more than 256 binades below hi is dropped.
TSR_HIDDEN void __libm_normalizel_k80(Scaled *p) {
    Ext h = ext(p->hi);
    uint32_t f = h.se & 0x7fff;
    if ((f == 0 && h.m == 0) || f == 0x7fff) return;
    int bias = 0x3fff;
    if (f == 0) {
        p->hi *= 0x1p256L;
        h = ext(p->hi);
        f = h.se & 0x7fff;
        bias = 0x40ff;
    }
    int eh = int(f) - bias;
    p->hi = from_ext(h.m, uint16_t((h.se & 0x8000) | 0x3fff));
    if (p->lo != 0.0L) {
        Ext l = ext(p->lo);
        int lf = l.se & 0x7fff, lbias = 0x3fff;
        if (lf == 0) {
            p->lo *= 0x1p256L;
            l = ext(p->lo);
            lf = l.se & 0x7fff;
            lbias = 0x40ff;
        }
        int el = lf - lbias;
        if (el <= eh - 0x100) p->lo = 0.0L;
        else p->lo = from_ext(l.m, uint16_t((l.se & 0x8000) | ((el - eh + 0x3fff) & 0x7fff)));
    }
    p->e += eh;
}

// (hi + lo) 2^n rounded once (into a subnormal too), with overflow to infinity.
TSR_HIDDEN long double *__libm_scalbl_k80(long double *res, const long double *hi, const long double *lo, int n) {
    LD s = *hi + *lo;
    Ext v = ext(s);
    if ((v.se & 0x7fff) == 0x7fff || s == 0.0L) {
        *res = s;
        return res;
    }
    // s = 2^es m with m in [1, 2): hi + lo = 2^es (m + rest)
    int es = int(v.se & 0x7fff) - 0x3fff;
    if (es < -16300) {  // a pair already near the bottom: scale up first
        LD a = *hi * 0x1p256L, b = *lo * 0x1p256L;
        return __libm_scalbl_k80(res, &a, &b, n - 256);
    }
    LD rest = (*hi - s) + *lo;
    if (__builtin_fabsl(*lo) > __builtin_fabsl(*hi)) rest = (*lo - s) + *hi;
    long k = long(n) + es;
    if (k > 16400) k = 16400;
    if (k < -16500) k = -16500;
    *res = scale_pair(s * pow2l(-es), rest * pow2l(-es), int(k));
    return res;
}

// e^(in) = (out[0] + out[1]) 2^k, k returned; |in| beyond the range gives the infinity or
// zero pair with a saturated k.
TSR_HIDDEN int __libm_expl_k80(long double out[2], const long double in[2]) {
    X87Frame rn(true);
    Ext v = ext(in[0]);
    uint32_t f = v.se & 0x7fff;
    if (f == 0x7fff || f > 0x400c) {
        bool nan = f == 0x7fff && v.m != 0x8000000000000000ull;
        out[0] = nan ? in[0] + in[0] : (v.se >> 15) ? 0.0L : __builtin_infl();
        out[1] = 0.0L;
        return nan ? 0 : (v.se >> 15) ? -16500 : 16500;
    }
    if (f < 0x3fbe) {
        fast_two_sum(1.0L, in[0] + in[1], out[0], out[1]);
        return 0;
    }
    ExpPair p = exp_pair(in[0], in[1]);
    out[0] = p.hi;
    out[1] = p.lo;
    return p.k;
}

// 2^(in) and 10^(in) as e^: the pair and the scale; `add` is added to the returned scale.
TSR_HIDDEN int __libm_exp2l_k80(long double out[2], const long double in[2], int add) {
    X87Frame rn(true);
    Ext v = ext(in[0]);
    uint32_t f = v.se & 0x7fff;
    if (f == 0x7fff || f > 0x400d) {
        LD big[2] = {(v.se >> 15) ? -20000.0L : 20000.0L, 0.0L};
        if (f == 0x7fff && v.m != 0x8000000000000000ull) big[0] = in[0] + in[0];
        return __libm_expl_k80(out, big) + add;
    }
    ExpPair p = exp2_pair(in[0], in[1]);
    out[0] = p.hi;
    out[1] = p.lo;
    return p.k + add;
}

TSR_HIDDEN int __libm_exp10l_k80(long double out[2], const long double in[2], int add) {
    X87Frame rn(true);
    Ext v = ext(in[0]);
    uint32_t f = v.se & 0x7fff;
    if (f == 0x7fff || f > 0x400c) return __libm_exp2l_k80(out, in, add);
    LD ph, pl, z[2];
    mul_const(in[0], in[1], kLog2_10, ph, pl);
    z[0] = ph;
    z[1] = pl;
    return __libm_exp2l_k80(out, z, add);
}

// e^(in) - 1 as a pair, for |in| below the overflow threshold of e^x.
TSR_HIDDEN void __libm_expm1l_k80(long double out[2], const long double in[2]) {
    X87Frame rn(true);
    LD r[2];
    int k = __libm_expl_k80(r, in);
    LD a = scale(r[0], k), b = scale(r[1], k), s, t;
    two_sum(a, -1.0L, s, t);
    if (k == 0 && __builtin_fabsl(in[0]) < 0x1p-9L) {  // no cancellation left in the pair
        LD p = exp_poly(in[0]);
        LD pl = in[1] + in[0] * in[0] * (0.5L + in[0] * p);
        fast_two_sum(in[0], pl, out[0], out[1]);
        return;
    }
    fast_two_sum(s, t + b, out[0], out[1]);
}

// ln(hi + lo) as a pair; the returned multiplier is 1 (the pair holds the whole value).
TSR_HIDDEN long double __libm_logl_k80(const long double *hi, const long double *lo, long double out[2]) {
    X87Frame rn(true);
    if (log_special(*hi, out)) return 1.0L;
    log_of_pair(*hi, *lo, out[0], out[1]);
    return 1.0L;
}

// ln(1 + in) as a pair, in > -1.
TSR_HIDDEN void __libm_log1pl_k80(long double out[2], const long double in[2]) {
    X87Frame rn(true);
    LD x = in[0];
    if (__builtin_fabsl(x) < 0x1p-7L) {
        LD hi, lo;
        log1p_series(x, hi, lo);
        // ln(1 + x + l) = ln(1 + x) + l/(1 + x)
        fast_two_sum(hi, lo + in[1] / (1.0L + x), out[0], out[1]);
        return;
    }
    LD s, t;
    two_sum(1.0L, x, s, t);
    t += in[1];
    if (log_special(s, out)) return;
    log_of_pair(s, t, out[0], out[1]);
}

// The logarithm of a scaled pair as a scaled pair: normalised, then e ln2 added in pieces.
TSR_HIDDEN void __libm_log_k80(Scaled *out, const Scaled *in) {
    X87Frame rn(true);
    Scaled p = *in;
    __libm_normalizel_k80(&p);
    if (log_special(p.hi, &out->hi)) {
        out->e = 0;
        return;
    }
    LD h, l;
    log_of_pair(p.hi, p.lo, h, l);
    LD ef = p.e, s, t;
    two_sum(ef * kLn2_3[0], h, s, t);
    out->e = 0;
    fast_two_sum(s, t + (l + ef * kLn2_3[1] + ef * kLn2_3[2]), out->hi, out->lo);
    __libm_normalizel_k80(out);
}

// ln(1 + v) of a scaled pair v, as a scaled pair.
constexpr int kLog1pBeyond = 128;
TSR_HIDDEN void __libm_log1p_k80(Scaled *out, const Scaled *in) {
    X87Frame rn(true);
    Scaled p = *in;
    __libm_normalizel_k80(&p);
    if (p.e > kLog1pBeyond) {  // 1 is below 2^-128 of v: ln v
        Scaled q = p;
        __libm_log_k80(out, &q);
        return;
    }
    if (p.e < -kLog1pBeyond) {  // v^2/2 is below 2^-128 of v: v itself
        *out = p;
        return;
    }
    LD v[2] = {p.hi * pow2l(p.e), p.lo * pow2l(p.e)};
    __libm_log1pl_k80(&out->hi, v);
    out->e = 0;
    __libm_normalizel_k80(out);
}

// x^2 + y^2 as a scaled pair.
TSR_HIDDEN void __libm_hypot2l_k80(const long double *x, const long double *y, Scaled *out) {
    X87Frame rn(true);
    Scaled a{*x, 0.0L, 0}, b{*y, 0.0L, 0};
    __libm_normalizel_k80(&a);
    __libm_normalizel_k80(&b);
    if (a.hi == 0.0L || (b.hi != 0.0L && b.e > a.e)) {
        Scaled t = a;
        a = b;
        b = t;
    }
    out->e = 2 * a.e;
    int d = a.e - b.e;
    LD bh = d > 8000 ? 0.0L : b.hi * pow2l(-d);
    LD p1, e1, p2, e2, s, t;
    two_prod(a.hi, a.hi, p1, e1);
    two_prod(bh, bh, p2, e2);
    two_sum(p1, p2, s, t);
    fast_two_sum(s, t + (e1 + e2), out->hi, out->lo);
    __libm_normalizel_k80(out);
}

}  // extern "C"

// ---- reduction by pi/4 ------------------------------------------------------------------------
// x = n pi/4 + r: q = x 4/pi truncated, n = q + add, and r = x - m pi/4 with m = n + (n & 1)
// (the octant count rounded up to even), so |r| <= pi/4 for x >= 0 and add = 0; r goes out as
// two doubles (hi + lo, hi the double nearest), n is returned (modulo 8 above 2^30, where
// only its low bits mean anything).  A negative x is reduced as -|x|: r and n change sign.
//
// Below 2^30 (below 1 for x ln2 and x ln10, through the pair product): the Cody-Waite subtraction of m pi/4 in three parts (|x| < 2^17, head of 45
// bits) or five (head of 33 bits), each product exact and each difference kept by a
// two-sum.  From 2^30 on: the significand M (64 bits) of x = M 2^e times a 320-bit window of
// the integer floor(C 2^16640) at the position the exponent selects; the product's bits
// above the window's top are multiples of 8 octants, those below its bottom are below
// 2^-192 of an octant, so the product gives q modulo 8 and 192 bits of the fraction.
namespace {

constexpr int kFactorBits = 16640;

struct Reduced {
    int n;
    LD hi, lo;  // r in octants (x C - m), a pair
};

// x C modulo 8 in octants for x = M 2^e (e the exponent of the last significand bit): the
// integer part's low 3 bits and 192 bits of fraction (f1, f0, f00, most significant first).
// The window of C is 320 bits wide, so the bits of C below it move the fraction by less than
// 2^-192: an x within 2^-76 of a multiple of pi/4 (the closest there are) still keeps more
// than 110 bits of its remainder.
inline void big_window(uint64_t M, int e, const uint64_t *C, uint64_t &q, uint64_t &f1, uint64_t &f0,
                       uint64_t &f00) {
    int s = kFactorBits - e - 256;  // the window's bottom bit in C
    uint64_t w[5];
    int wi = s >> 6, sh = s & 63;
    for (int i = 0; i < 5; ++i) {
        uint64_t a = C[wi + i], b = C[wi + i + 1];
        w[i] = sh ? (a >> sh) | (b << (64 - sh)) : a;
    }
    // M times the window: 384 bits, bits 256.. the integer part
    unsigned __int128 acc = 0;
    uint64_t r[6];
    for (int i = 0; i < 5; ++i) {
        acc += (unsigned __int128)M * w[i];
        r[i] = uint64_t(acc);
        acc >>= 64;
    }
    r[5] = uint64_t(acc);
    q = r[4] & 7;
    f1 = r[3];
    f0 = r[2];
    f00 = r[1];
}

inline Reduced reduce(LD x, int add, const uint64_t *C, const LD c32[2]) {
    Ext v = ext(x);
    int f = v.se & 0x7fff;
    Reduced out;
    // The products with ln2 and ln10 are not exact in parts: their small-argument regime
    // ends at 1, the integer window taking over from there.
    if (f <= (C == kFourOverPi ? 0x401c : 0x3ffe)) {
        // q = trunc(x C): below 2^31, by the shifter after truncation toward zero
        LD t = x * (c32[0] + c32[1]);
        LD nf;
        int q = round_int(t, nf);
        if (nf > t) q -= 1;  // truncation for x >= 0
        int n = q + add, m = n + (n & 1);
        LD mf = m;
        // x - m pi/4 (or x C - m in octants when C is not 4/pi: then through the pair product)
        if (C == kFourOverPi) {
            LD s, e, a, b;
            if (f <= 0x400f) {
                two_sum(x, -mf * kPi4x3[0], s, e);
                two_sum(s, -mf * kPi4x3[1], a, b);
                e += b - mf * kPi4x3[2];
            } else {
                two_sum(x, -mf * kPi4x5[0], s, e);
                two_sum(s, -mf * kPi4x5[1], a, b);
                e += b;
                two_sum(a, -mf * kPi4x5[2], s, b);
                e += b - mf * (LD(kPi4x5[3]) + kPi4x5[4]);
                a = s;
            }
            // back to octants: r / (pi/4) is not needed; keep r itself
            out.n = n;
            fast_two_sum(a, e, out.hi, out.lo);
            return out;
        }
        LD ph, pl, s, e;
        mul_const(x, 0.0L, c32, ph, pl);
        two_sum(ph, -mf, s, e);
        LD rh, rl;
        fast_two_sum(s, e + pl, rh, rl);
        mul_const(rh, rl, kPi4_32, out.hi, out.lo);
        out.n = n;
        return out;
    }
    Unpacked u = unpack(v);
    uint64_t q, f1, f0, f00;
    big_window(u.m, u.e - 63, C, q, f1, f0, f00);
    int n = int(q) + add, m = n + (n & 1);
    // fraction in octants: f1 2^-64 + f0 2^-128 + f00 2^-192 (each term exact), less (m - q);
    // the first two sums are exact where they cancel
    LD fh = LD(f1) * 0x1p-64L, fl = LD(f0) * 0x1p-128L, fll = LD(f00) * 0x1p-192L;
    LD t, te, a, ae;
    two_sum(fh, LD(int(q) - m), t, te);
    two_sum(t, fl, a, ae);
    LD rh, rl;
    fast_two_sum(a, (te + ae) + fll, rh, rl);
    mul_const(rh, rl, kPi4_32, out.hi, out.lo);
    out.n = n;
    return out;
}

inline int reduce_entry(const long double *x, int add, double *out, const uint64_t *C, const LD c32[2]) {
    LD ax = *x;
    bool neg = ax < 0.0L;
    Reduced r = reduce(neg ? -ax : ax, add, C, c32);
    LD h = r.hi, l = r.lo;
    if (neg) {
        h = -h;
        l = -l;
        r.n = -r.n;
    }
    double dh = double(h + l);
    out[0] = dh;
    out[1] = double((h - LD(dh)) + l);
    return r.n;
}

}  // namespace

extern "C" {
TSR_HIDDEN int __libm_reduce_pi04l(const long double *x, int add, double out[2]) {
    return reduce_entry(x, add, out, kFourOverPi, kC4pi_32);
}
// The same reduction of x ln2 and of x ln10 (for 2^x and 10^x of complex arguments).
TSR_HIDDEN int __libm_reduce_pi04ln2l(const long double *x, double out[2]) {
    return reduce_entry(x, 0, out, kFourLn2OverPi, kC4ln2pi_32);
}
TSR_HIDDEN int __libm_reduce_pi04ln10l(const long double *x, double out[2]) {
    return reduce_entry(x, 0, out, kFourLn10OverPi, kC4ln10pi_32);
}
}

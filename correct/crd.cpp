// The correctly rounded double exp and log: e^x and ln x rounded once, in the caller's mode,
// for every argument.  Nothing wider than double is at hand, so each runs in two phases.
//
// First phase: a pair of doubles H + L, within 2^-62 of the result (the steps whose
// exactness or error needs it in round-to-nearest) (exp: absolute, at H's scale in [1, 2]; log: relative; measured and checked by the
// tests' trace of H and L against MPFR).  The
// rounding test then adds L -+ kMargin to H in the caller's mode: the exact value lies between
// the two sums, rounding is monotone, so when both round to the same double that double is
// the exact value's rounding, in every mode (both functions' results are never exact on this
// path, so inexact is right; neither can be tiny here).
//
// Second phase, when they differ: 128-bit fixed-point arithmetic (64x64->128 products),
// relative error below 2^-118 (the bound is derived beside each function), truncated to a
// 63-bit integer W that is then OR-ed with 1 and converted to double in the caller's mode:
// the exact value lies strictly between W and W + 1 units unless it is within the error of a
// rounding boundary, and W | 1 is odd, never a boundary itself (boundaries are multiples of
// 2^9 units at least), so that one conversion rounds as the exact value would.
//
// The tiers run one algorithm.  ex uses separate multiplications and additions (exact
// products by Dekker's split) and splits ln 2/512 with a 28-bit head; l9 and z0 use fused
// multiply-adds and a 35-bit head.  ex and l9 find the caller's mode by a probe and write
// the control word only outside round-to-nearest; z0 and d1 leave it alone and round the
// few steps that need it to nearest by the instructions' embedded rounding (exp: the
// shifter step and r's second step; log: the heads of the two exact sums), the other steps
// rounding in the caller's mode at no more than twice their round-to-nearest error.
#include <immintrin.h>

#include <type_traits>

#include "correct/crd_data.h"
#include "tsr/codes.h"
#include "tsr/common.h"
#include "tsr/dd.h"
#include "tsr/avx512.h"
#include "tsr/guard.h"
#include "tsr/lane.h"
#include "tsr/report.h"
#include "tsr_decls.h"

extern "C" {
// Test hook (not exported): bit 0 sends every argument of the first phase to the second; bit 1
// records the first phase's H and L (and 0, 0 where the argument skips that phase).
extern int __libm_crd_test TSR_HIDDEN;
extern double __libm_crd_trace[2] TSR_HIDDEN;
}

using namespace tsr;
using namespace tsr::crd;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
using i128 = __int128;

inline double mul_add(double a, double b, double c) { return dd::mul_add<kFma>(a, b, c); }
inline double pow2(int e) { return f64(uint64_t(e + 1023) << 52); }

// Tiers z0 and d1 round to nearest where it counts by the instructions' embedded rounding
// and leave the control word alone; the others force round-to-nearest for the first phase
// (when the caller's mode differs, found by a probe) and put the caller's mode back for the
// rounding test.
constexpr bool kEmbedded = TSR_TIER_Z0 || TSR_TIER_D1;
struct NoGuard {
    double finish(double v) { return v; }
};
using Guard = std::conditional_t<kEmbedded, NoGuard, RnGuardInexact>;
// Values computed before a guard's restore are pinned there (the compiler does not see the
// control word); with embedded rounding there is nothing to pin.
inline double pin(double v) { return kEmbedded ? v : opaque(v); }
// a + b and a b + c rounded to nearest: by the instruction's rounding in z0 and d1, under
// the guard elsewhere (ex: a separate product and sum)
inline double add_rn(double a, double b) {
    if constexpr (kEmbedded) return avx512::add_rn(a, b);
    return a + b;
}
inline double fma_rn(double a, double b, double c) {
    if constexpr (kEmbedded) return avx512::fma_rn(a, b, c);
    return mul_add(a, b, c);
}
// a + b exactly as s + e for |a| >= |b| or a = 0: s rounded to nearest, then the two
// differences are exact (the fast two-sum), in any rounding mode.
inline dd::DD fast_two_sum_rn(double a, double b) {
    double s = add_rn(a, b);
    return {s, b - (s - a)};
}

// a == b for ordered a and b: one compare and one branch (the compiler's equality would add
// a test for unordered operands, which the first phase never produces).
inline bool same(double a, double b) {
#ifdef __AVX__
    asm goto("vucomisd %1, %0\n\tjne %l2" : : "x"(a), "x"(b) : "cc" : differ);
#else
    asm goto("ucomisd %1, %0\n\tjne %l2" : : "x"(a), "x"(b) : "cc" : differ);
#endif
    return true;
differ:
    return false;
}

// The first phase's verdict in the caller's mode: true, with the double y both H + Lm and
// H + Lp round to, where they agree (H + L -+ margin, formed by the caller).  The sums are
// never both exact (Lm and Lp differ), so an agreeing pair raises inexact.
inline bool settle_pair(double h, double lm, double lp, double &y) {
    if (__builtin_expect(__libm_crd_test != 0, 0)) {
        if (__libm_crd_test & 2) __libm_crd_trace[0] = h, __libm_crd_trace[1] = 0.5 * (lm + lp);
        if (__libm_crd_test & 1) return false;
    }
    double a = h + lm;
    double b = h + lp;
    y = a;
    return same(a, b);
}

// High 128 bits of the product of two unsigned 128-bit fractions, from three 64-bit
// products (the low x low one and the carries of the cross products' low halves are left
// out: an error below 3 units of 2^-128).
inline u128 mulhi(u128 a, u128 b) {
    uint64_t ah = uint64_t(a >> 64), al = uint64_t(a), bh = uint64_t(b >> 64), bl = uint64_t(b);
    return u128(ah) * bh + ((u128(ah) * bl) >> 64) + ((u128(al) * bh) >> 64);
}
// Products of a signed 128-bit fraction t = (th, tl) by a signed 64-bit fraction u: the high
// 128 bits of the 192-bit product (floor, error below one unit of 2^-128) from two 64-bit
// multiplications: the signed th u (one imul: written as a product of 128-bit values the
// compiler makes three multiplications of it), and tl, unsigned, times u's pattern, whose
// high half is floor(tl u 2^-64) once tl is taken off for a negative u (u_neg: all ones when
// u < 0).
struct Words {
    uint64_t h, l;
};
inline Words imul64(int64_t a, int64_t b) {
    int64_t ph, pl;
    __asm__("imulq %3" : "=a"(pl), "=d"(ph) : "%a"(a), "rm"(b) : "cc");
    return {uint64_t(ph), uint64_t(pl)};
}
inline uint64_t mid_word(uint64_t tl, int64_t u, uint64_t u_neg) {
    return uint64_t((u128(tl) * uint64_t(u)) >> 64) - (tl & u_neg);
}
inline i128 join(Words t) { return i128(u128(t.h) << 64 | t.l); }
// t u, for the steps in sequence: 128-bit additions (add with carry)
inline i128 mul_s(i128 t, int64_t u, uint64_t u_neg) {
    uint64_t th = uint64_t(u128(t) >> 64), tl = uint64_t(t);
    uint64_t mid = mid_word(tl, u, u_neg);
    u128 mid_s = u128(uint64_t(int64_t(mid) >> 63)) << 64 | mid;  // sign-extended
    return i128(u128(join(imul64(int64_t(th), u))) + mid_s);
}
// t u + row, one step of the chains below: on 64-bit words with the carries written out (as
// 128-bit values, the compiler sign-extends the middle word through memory and spills the
// accumulators of chains side by side)
inline Words horner_step(Words t, int64_t u, uint64_t u_neg, const uint64_t (&row)[2]) {
    Words p = imul64(int64_t(t.h), u);
    uint64_t mid = mid_word(t.l, u, u_neg);
    uint64_t l1 = p.l + mid, c1 = l1 < mid;
    uint64_t l2 = l1 + row[1], c2 = l2 < row[1];
    return {p.h + uint64_t(int64_t(mid) >> 63) + c1 + row[0] + c2, l2};
}
// The high 128 bits of the product of two signed 128-bit fractions, by magnitudes (error
// below 3 units of 2^-128).
inline i128 mul_ss(i128 a, i128 b) {
    u128 p = mulhi(u128(a < 0 ? -a : a), u128(b < 0 ? -b : b));
    return (a < 0) != (b < 0) ? -i128(p) : i128(p);
}
inline u128 w128(const uint64_t (&w)[2]) { return u128(w[0]) << 64 | w[1]; }

// The last steps of the first phase stay in the vector registers: a trip through a general
// register would add two transfers to the critical path.
// y 2^q for a normal y and a normal result: q added to the exponent field.
// y 2^q for a normal y and a normal result: q added to the exponent field.
inline double scale_normal(double y, int64_t q) {
    __m128i v = _mm_add_epi64(_mm_castpd_si128(lane(y)), _mm_cvtsi64_si128(q << 52));
    return _mm_cvtsd_f64(_mm_castsi128_pd(v));
}
// The power of two at the bottom of |y|'s binade (y normal).  Written as the instruction:
// through lane() y, needed again, would be copied in front of it.
inline double binade(double y) {
    double m = f64(0x7ff0000000000000u), b;
#ifdef __AVX__
    asm("vandpd %2, %1, %0" : "=x"(b) : "x"(y), "x"(m));
#else
    b = m;
    asm("andpd %1, %0" : "+x"(b) : "x"(y));
#endif
    return b;
}
// m in [1, 2) with x = 2^e m, x positive and finite (ix: the pattern of x, of x 2^64 for a
// subnormal x): z0 and d1 by the instruction, which normalises a subnormal itself.
inline double mantissa(double x, uint64_t ix) {
#if TSR_AVX512_NATIVE
    (void)ix;
    return _mm_cvtsd_f64(_mm_getmant_sd(lane(x), lane(x), _MM_MANT_NORM_1_2, _MM_MANT_SIGN_src));
#else
    (void)x;
    return f64(0x3ff0000000000000u | (ix & 0xfffffffffffffu));
#endif
}

// ---- exp -------------------------------------------------------------------------------

constexpr double kInvLn2x512 = 0x1.71547652b82fep+9;  // 512/ln 2
constexpr double kShifter = 0x1.8p52;                 // 1.5 2^52: k in the low word
// -ln 2/512 as head + tail: ex a 28-bit head (k n_hi exact for |k| < 2^25 without a fused
// operation), the fused tiers a 35-bit one (x + k n_hi exact in one fused operation).
constexpr double kNegLn2_512Hi = TSR_TIER_EX ? -0x1.62e42ff000000p-10 : -0x1.62e42fefa0000p-10;
constexpr double kNegLn2_512Lo = TSR_TIER_EX ? 0x1.718432a1b0e26p-44 : -0x1.cf79abc9e3b3ap-49;
// e^r = 1 + r + r^2 p(r) on |r| <= ln2/1024: p = c2 + c3 r + c4 r^2 + c5 r^3, relative
// error below 2^-66 of e^r.
constexpr double kE2 = 0x1.ffffffffffffep-2, kE3 = 0x1.5555555555554p-3;
constexpr double kE4 = 0x1.555555c2a9c00p-5, kE5 = 0x1.11111168868f3p-7;
// H + L within 2^-62.8 of e^r 2^(j/512) (H in [1 - 2^-10, 2 + 2^-9)): 2^-61 covers it.
constexpr double kExpMargin = 0x1p-61;

// ln 2/512 under 2^128 (truncated; its next 12 bits are 0x57a), and ln 2/512 to 140 bits.
constexpr u128 kLn2_512Fix = u128(0x0058b90bfbe8e7bcu) << 64 | 0xd5e4f1d9cc01f97bu;
constexpr uint64_t kLn2_512Extra = 0x57a;  // bits 129..140, in units of 2^-140

// Second phase.  e^x = 2^(k/512) e^r with r = x - k ln2/512 in [0, ln2/512):
//   r:  x mod 1 exact in 128 bits (only the fraction of x counts, the rest goes into k's
//       multiple of ln 2/512 modulo 1), less k ln2/512 with ln2/512 to 140 bits: error
//       below 2^-128 + |k| 2^-140 <= 2^-120.9 (|k| <= 2^19.1);
//   e^r - 1 = r + r^2 t(r), the fitted series of kExpSeries, error 2^-120.7 (absolute,
//       after rounding to 128 bits), Horner's truncations below 2^-124;
//   R = T + T E with T = 2^(j/512) to 2^-121 (relative): in all below 2^-119.0 relative.
// R (1.0 = 2^120) has its top at bit 120 or 121; W = R >> 64 (56 or 57 bits) with a sticky 1.
__attribute__((noinline)) double exp_phase2(uint64_t ix, int64_t k) {
    int e = int((ix >> 52) & 0x7ff);
    int64_t m = int64_t((ix & 0xfffffffffffffu) | 0x10000000000000u);
    if (ix >> 63) m = -m;
    // x 2^128 modulo 2^128: the 53-bit significand placed at its binary point
    u128 xf;
    if (e < 0x3f3) {
        xf = u128((i128(m) << 64) >> (0x3f3 - e));  // |x| >= 2^-30: no bit lost
    } else {
        xf = u128(i128(m) << 64) << (e - 0x3f3);
    }
    // r = x - k ln2/512 modulo 1; the 12 extra bits of the constant as k 0x57a 2^-140
    u128 r = xf - u128(i128(k)) * kLn2_512Fix - u128(i128(k * int64_t(kLn2_512Extra)) >> 12);
    if (i128(r) < 0) {
        --k;
        r += kLn2_512Fix;
    }
    // Horner from c8 down to c2, then E = r + r (r t)
    u128 t = w128(kExpSeries[6]);
    for (int i = 5; i >= 0; --i) t = mulhi(r, t) + w128(kExpSeries[i]);
    u128 E = r + mulhi(r, mulhi(r, t));
    int j = int(k & 511);
    u128 T = w128(cr_exp2_fixed[j]);
    u128 R = T + mulhi(T, E);
    uint64_t W = uint64_t(R >> 64);  // in [2^56, 2^57)
    int64_t q = k >> 9;              // floor(k/512): the result is W 2^(q - 56)
    if (q >= -1022) {
        // W | 1 below 2^57: one rounding to double; the scale is exact (no overflow: x below
        // the threshold keeps the result below the largest double, q <= 1023).
        double v = double(int64_t(W | 1)) * 0x1p-56;
        return f64(bits(v) + (uint64_t(q) << 52));
    }
    // Subnormal result: V = W 2^(q + 1022) truncated, with a sticky 1, in units of 2^-1078
    // (4 bits below the subnormal grid).  V * 2^-1078 is the one rounding, where V is exact in
    // a double; wider, its part above the low 24 bits is on the subnormal grid (a multiple of
    // 2^-1054), exact, and only the low part's product rounds: the grid being uniform (and
    // the part an even multiple of its step), adding it back is exact and rounds alike.
    int sh = int(-1022 - q);
    uint64_t V = (sh < 64 ? W >> sh : 0) | 1;
    if (V < (uint64_t(1) << 53)) return double(int64_t(V)) * 0x1p-56 * 0x1p-1022;
    uint64_t lo = V & 0xffffff;
    double hi_part = double(int64_t(V - lo)) * 0x1p-56 * 0x1p-1022;
    return hi_part + double(int64_t(lo)) * 0x1p-56 * 0x1p-1022;
}

// 2^-54 <= |x| < 2^-30: e^x = 1 + x + x^2/2 + x^3/6 with an error below x^4/24 < 2^-124.5,
// summed in 128 bits with 1.0 = 2^126 (each term truncated: below 3 units of 2^-126).
__attribute__((noinline)) double exp_small(double x) {
    uint64_t ix = bits(x);
    int E = int((ix >> 52) & 0x7ff) - 1023;  // -54 .. -31
    u128 m = (ix & 0xfffffffffffffu) | 0x10000000000000u;  // |x| = m 2^(E - 52)
    u128 x1 = m << (E + 74);                          // |x| 2^126
    u128 m2 = m * m;                                  // x^2 = m2 2^(2E - 104)
    u128 x2 = m2 >> (-(2 * E + 21));                  // x^2/2 2^126
    int sh3 = -(3 * E + 23);                          // 70 .. 139
    u128 x3 = sh3 < 128 ? ((m2 >> 53) * m >> sh3) / 6 : 0;  // |x|^3/6 2^126
    u128 S = (u128(1) << 126) + x2;
    S = (ix >> 63) ? S - x1 - x3 : S + x1 + x3;
    // S in (2^126 - 2^97, 2^126 + 2^97): W = S >> 64 has 62 bits; never exact, hence the 1
    uint64_t W = uint64_t(S >> 64) | 1;
    return double(int64_t(W)) * 0x1p-62;
}

// The first phase of exp, 2^-30 <= |x| < 708.396 (the result is normal): true with the
// correctly rounded e^x in y, false where the second phase decides.
inline bool exp_phase1(double x, int64_t &k_out, double &y) {
    Guard g;
    double xx = pin(x);
    double t = fma_rn(xx, kInvLn2x512, kShifter);
    int64_t k = int64_t(int32_t(uint32_t(bits(t))));
    k_out = k;
    double kn = t - kShifter;  // exact: t is within 2^51 of the shifter
    const Pair &T = cr_exp2_512[k & 511];  // 2^(j/512) = T.hi (1 + T.lo)
    double Lm, Lp, H;
    if constexpr (kFma) {
        // x - kn ln2_hi is exact (a 35-bit head), so only the second step rounds: it runs in
        // round-to-nearest (|r| <= ln 2/1024, error 2^-64).  Every later step may round in
        // the caller's mode: the exact ones (T - H, the remainder e1) are exact there too,
        // and the others are far below the margin at twice the error.
        double r = fma_rn(kn, kNegLn2_512Lo, fma_into_factor(kNegLn2_512Hi, kn, xx));
        // 2^(j/512) e^r = T (1 + U)(1 + r + r^2 p): H = T + T r rounded, e1 its remainder
        // (T - H exact: H is within a factor 2 of T; e1 below ulp(H), rounded at 2^-103),
        // and the rest, T r^2 p + T U, below 2^-20, rounded at 2^-72.  T only joins after
        // its load, the last input to arrive: the chain after it is four steps (H, T - H,
        // e1, and the sum), while r^2 T and the polynomial run beside the load.  The margin
        // joins T U, which waits for nothing else: L -+ margin take the same steps as L.
        double r2 = r * r;
        double p = __builtin_fma(r2, __builtin_fma(r, kE5, kE4), __builtin_fma(r, kE3, kE2));
        double r2t = r2 * T.hi;
        double tu = T.hi * T.lo;
        double h = __builtin_fma(T.hi, r, T.hi);
        double e1 = __builtin_fma(T.hi, r, T.hi - h);
        Lm = pin(e1 + __builtin_fma(r2t, p, tu - kExpMargin));
        Lp = pin(e1 + __builtin_fma(r2t, p, tu + kExpMargin));
        H = g.finish(h);
    } else {
        double r = (xx + kn * kNegLn2_512Hi) + kn * kNegLn2_512Lo;  // the first sum exact
        double r2 = r * r;
        double p = mul_add(r2, mul_add(r, kE5, kE4), mul_add(r, kE3, kE2));
        // T r exact by Dekker's product, H = T + T r by the exact fast sum, T r^2 p, T U and
        // the rounding of T r summed below 2^-18 (rounded at 2^-72); the margin joins the
        // part summed first, so L -+ margin come out of the same two steps as L would.
        dd::DD tr = dd::two_prod<kFma>(T.hi, r);
        dd::DD h1 = dd::fast_two_sum(T.hi, tr.h);
        double r2t = r2 * T.hi;
        double c = tr.l + T.hi * T.lo;
        Lm = opaque(mul_add(p, r2t, c - kExpMargin) + h1.l);
        Lp = opaque(mul_add(p, r2t, c + kExpMargin) + h1.l);
        H = g.finish(h1.h);
    }
    return settle_pair(H, Lm, Lp, y);
}

inline double cr_exp(double x) {
    uint64_t ix = bits(x);
    uint32_t a = uint32_t(ix >> 32) & 0x7fffffff;
    if (__builtin_expect(a - 0x3e100000u < 0x4086232bu - 0x3e100000u, 1)) {
        // 2^-30 <= |x| < 708.39599609375 (below 1022 ln 2: the result is normal)
        int64_t k;
        double y;
        if (__builtin_expect(exp_phase1(x, k, y), 1)) return scale_normal(y, k >> 9);
        return exp_phase2(ix, k);
    }
    if (a < 0x3c900000) return 1.0 + opaque(x);  // |x| < 2^-54: 1 + x rounds as e^x
    if (a < 0x3e100000) return exp_small(x);
    if (a >= 0x7ff00000) return ix == 0xfff0000000000000u ? 0.0 : x + x;
    bool neg = ix >> 63;
    uint64_t mag = ix & 0x7fffffffffffffffu;
    if (neg && mag >= 0x40874910d52d3052u) {  // x <= -745.1332191019412: below half 2^-1074
        // The square of a double below 2^-1000: 0, or the least subnormal upward
        double tiny = f64((ix & 0xfffffffffffffu) | 0x0010000000000000u);
        return report(x, opaque(tiny) * tiny, code::exp_underflow);
    }
    if (!neg && ix >= 0x40862e42fefa39f0u) {  // x >= 709.7827128933841: above the largest double
        double huge = f64((ix & 0xfffffffffffffu) | 0x7f00000000000000u);
        return report(x, opaque(huge) * huge, code::exp_overflow);
    }
    // 708.396 <= |x| below the limits: the scale leaves the first phase's range; k as there
    double t = opaque(x) * kInvLn2x512;
    int64_t k = int64_t(__builtin_floor(t + 0.5));  // any nearby k will do: r is reduced after
    return exp_phase2(ix, k);
}

// ---- log -------------------------------------------------------------------------------

constexpr double kLn2Hi = 0x1.62e42fefa4000p-1;  // ln 2, a multiple of 2^-39 (e kLn2Hi exact)
constexpr double kLn2Lo = -0x1.8432a1b0e2634p-43;
// ln(1 + r) = r - r^2/2 + r^3 q(r), q = kL3 + kL4 r + ... + kL7 r^4 (crd_data.h: its error
// is below 2^-62.83 of the result over every r the index table lets through, |r| < 2^-7.88).
// The roundings of the first phase add below 2^-66 of the result (2^-65 where z0 and d1 run
// them in a directed mode): B's (at most 2^-53 of
// |B| <= 2^-32.5, against a result of at least 0.3 |e|, or B = 0 where e = -1 meets c = 1/2),
// r^3 q's three and L's sums' (each below 2^-75.5 absolute, against a result of at least
// 2^-9 wherever A is not 0; where A = 0, relative to r itself).  H + A + r - r^2/2 is exact.
// H + L lies within 2^-62.5 of ln x, under the margin, 2^-60 of the binade of H (at least
// 2^-61 |H|).
constexpr double kLogMargin = 0x1p-60;
// q(r) with r^2 = -2 s: -2 q = kLq3 + kLq4 r + s (kLq5 + kLq6 r + s kLq7), exact scalings
constexpr double kLq3 = -2 * kL3, kLq4 = -2 * kL4, kLq5 = 4 * kL5, kLq6 = 4 * kL6, kLq7 = -8 * kL7;
// c = (1 + i/128)/2, i = 0 .. 128 (exact): read beside the row of cr_log_recip
struct LogC {
    double v[129];
};
constexpr LogC kLogC = [] {
    LogC t{};
    for (int i = 0; i <= 128; ++i) t.v[i] = (1 + i / 128.0) / 2;
    return t;
}();
constexpr u128 kLn2Fix = u128(0xb17217f7d1cf79abu) << 64 | 0xc9e3b39803f2f6afu;  // ln 2 2^128

inline int clz64(uint64_t v) { return __builtin_clzll(v); }

// Second phase.  x = 2^N (1 + u), u = (1 + f)/2^s - 1 in [-0.2917, 0.4167) (s = 1 from a
// significand of 17/12 on), exact as a signed 64-bit fraction.  ln(1 + u)/2 = u/2 + u v with
// v = u (row1 + u t/2), t by Horner over rows 2..16 (|u| < 2^-6) or 2..44: the series' error
// is 2^-122.2 (near) and 2^-118.6 (far) of ln(1 + u) after rounding to 128 bits, the Horner
// steps' truncations below 2^-124 of it.  With N: N ln 2 (ln 2 to 2^-128), their sum's
// relative error stays below 2^-118.5 (|N ln 2 + ln(1 + u)| >= |ln(1 + u)| / 2 or N = 0).
__attribute__((noinline)) double log_phase2(uint64_t ix) {
    double x = f64(ix);
    int e = int(ix >> 52) - 0x3ff;
    if (ix < 0x0010000000000000u) {  // subnormal: scaled, exactly
        ix = bits(x * 0x1p64);
        e = int(ix >> 52) - 0x3ff - 64;
    }
    uint64_t f = ix & 0xfffffffffffffu;
    if (e == 0 && f == 0) return 0.0;  // ln 1 = +0, exact, in every mode
    uint64_t s = (f + 0x9555555555555u) >> 52;
    int64_t u = int64_t((f << (12 - s)) | (s << 63));
    int N = e + int(s);
    uint64_t un = uint64_t(u >> 63);  // all ones for a negative u
    const uint64_t (*rows)[2];
    i128 t;
    if (((uint64_t(u) + 0x0400000000000000u) >> 59) == 0) {
        // Two chains, rows 2..8 and 9..16, joined by u^7 (below 2^-42; its error, and the
        // join's, below 3 units of 2^-128)
        rows = cr_log_series_near;
        Words a = {rows[8][0], rows[8][1]};
        Words b = horner_step({rows[16][0], rows[16][1]}, u, un, rows[15]);
        for (int k = 7; k >= 2; --k) {
            a = horner_step(a, u, un, rows[k]);
            b = horner_step(b, u, un, rows[k + 7]);
        }
        u128 u2 = u128(i128(u) * u);
        i128 u7 = mul_s(i128(mulhi(mulhi(u2, u2), u2)), u, un);
        t = join(a) + mul_ss(join(b), u7);
    } else {
        // Three chains side by side, rows 2..15, 16..29 and 30..44, joined by u^14:
        // t = a + u^14 (b + u^14 c).  u^14 from u^2 (exact) by products each within 3 units
        // of 2^-128, errors that never grow (every factor below 1/2): with b and c below 1/8
        // each join adds under 4 units, each chain under 2.
        rows = cr_log_series_far;
        Words a = {rows[15][0], rows[15][1]}, b = {rows[29][0], rows[29][1]};
        Words c = horner_step({rows[44][0], rows[44][1]}, u, un, rows[43]);
        for (int k = 14; k >= 2; --k) {
            a = horner_step(a, u, un, rows[k]);
            b = horner_step(b, u, un, rows[k + 14]);
            c = horner_step(c, u, un, rows[k + 28]);
        }
        u128 u2 = u128(i128(u) * u);
        u128 u4 = mulhi(u2, u2);
        i128 u14 = i128(mulhi(mulhi(mulhi(u4, u4), u4), u2));
        t = join(a) + mul_ss(join(b) + mul_ss(join(c), u14), u14);
    }
    i128 v = mul_s((mul_s(t, u, un) >> 1) + i128(w128(rows[1])), u, un);  // u (row1 + u t/2)
    int64_t W;
    int scale;
    if (N == 0) {
        // ln(1 + u) itself: u normalised first, so that the sum keeps 62 significant bits
        int z = clz64(uint64_t(u < 0 ? -u : u)) - 1;
        int64_t uz = int64_t(uint64_t(u) << z);
        i128 L = (i128(uz) << 63) + mul_s(v, uz, un);  // 2^z ln(1 + u)/2 under 2^128
        W = int64_t(L >> 64);
        scale = -63 - z;
    } else {
        int z = clz64(uint64_t(N < 0 ? -N : N)) - 1;
        int64_t nn = int64_t(uint64_t(int64_t(N)) << z);
        // nn ln 2 under 2^64: the high 128 bits of nn times the 128-bit ln 2
        i128 P = i128(nn) * i128(uint64_t(kLn2Fix >> 64)) +
                 ((i128(nn) * i128(uint64_t(kLn2Fix))) >> 64);
        i128 L = (i128(u) << 63) + mul_s(v, u, un);  // ln(1 + u)/2 under 2^128
        i128 S = P + (L >> (63 - z));
        W = int64_t(S >> 64);
        scale = -z;
    }
    return double(W | 1) * pow2(scale);
}

// Zero, negative, infinity or NaN, out of line: the reports' frame stays off the common path.
__attribute__((noinline, cold)) double log_special(double x) {
    uint64_t ix = bits(x);
    if (ix == 0x7ff0000000000000u) return x;
    if ((ix & 0x7fffffffffffffffu) > 0x7ff0000000000000u) return x + 1.0;
    if ((ix & 0x7fffffffffffffffu) == 0) return report(x, -1.0 / opaque(0.0), code::log_argument_0);
    return report(x, opaque(x - x) / opaque(x - x), code::log_argument_negative);
}

inline double cr_log(double x) {
    uint64_t ix = bits(x);
    int bias = 0x3ff;
    if (__builtin_expect(uint32_t((ix >> 32) + 0x80100000u) < 0x80200000u, 0)) {
        // zero, subnormal, negative, infinity or NaN
        if (ix - 1 >= 0x000fffffffffffffu) return log_special(x);
        ix = bits(x * 0x1p64);  // positive subnormal: exact
        bias = 0x3ff + 64;
    }
    // ln 1 = +0, exact: in z0 and d1 the margin below sends x = 1 on to the second phase
    // without a flag; elsewhere the probe would raise inexact first
    if (!kEmbedded && ix == 0x3ff0000000000000u) return 0.0;
    // e as a double: in z0 and d1 the exponent instruction, which normalises a subnormal x
    // itself (one step, no integer round trip)
    double de = kEmbedded ? avx512::getexp(x) : double(int(ix >> 52) - bias);
    {
        Guard g;
        double m = pin(mantissa(x, ix));
        // c = (1 + i/128)/2 near 1/m, i from the top bits of m's fraction: one load, where
        // the processor's approximate reciprocal would cost a round trip through single
        // precision on the critical path.
        int i = cr_log_index[(ix >> (52 - kLogIndexBits)) & ((1u << kLogIndexBits) - 1)];
        double c = kLogC.v[i];
        // r = m c - 1 is exact (in any mode): a multiple of 2^-60 below 2^-7 in magnitude
        double r;
        if constexpr (kFma) {
            r = __builtin_fma(m, c, -1.0);
        } else {
            double h = f64(bits(m) & ~uint64_t(0xfff));  // 41 bits: h c exact
            r = (h * c - 1.0) + (m - h) * c;
        }
        const Pair &R = cr_log_recip[i];
        double A = mul_add(de, kLn2Hi, R.hi);  // exact: both on the grid of 2^-39
        double B = mul_add(de, kLn2Lo, R.lo);
        // ln x = A + B + r - r^2/2 + r^3 q(r): the sum A + r and the term -r^2/2 carried
        // exactly (they hold the cancellation near x = 1), the rest rounded below 2^-76.
        // Only the two sums' heads need round-to-nearest: the fast two-sum's differences,
        // the square's remainder (fused tiers) and A are exact in any mode, and the other
        // roundings, in the caller's mode in z0 and d1, stay below 2^-65 of the result.
        // -r^2/2 = s + sl exactly, s = r (-r/2) rounded; q is written in s, its
        // coefficients scaled by powers of 2 (kLq*), so that -2 q comes out directly.
        double nr = -0.5 * r;
        dd::DD sq = dd::two_prod<kFma>(r, nr);
        if constexpr (kFma) sq.l = fms_into_factor(nr, r, sq.h);  // the same, nr's register taking it
        double s2 = sq.h;
        dd::DD h1 = fast_two_sum_rn(A, r);      // |A| >= |r| or A = 0
        dd::DD h2 = fast_two_sum_rn(h1.h, s2);  // r^2/2 below |A + r|
        double q = mul_add(s2, mul_add(s2, kLq7, mul_add(r, kLq6, kLq5)), mul_add(r, kLq4, kLq3));
        double L = pin(mul_add(s2 * r, q, B) + ((h1.l + h2.l) + sq.l));  // r^3 q = (s r)(-2 q)
        double H = g.finish(h2.h);  // H + L, not renormalised: |L| below 2^-23 |H|
        // the margin: 2^-60 of H's binade, at least 2^-61 |H| (the first phase is within
        // 2^-62.5 |H|, 2^-62.81 measured), and at least 2^-62 of the result's binade
        // (plus the least subnormal: x = 1, H = L = 0, goes on to the second phase, which
        // gives +0 in every mode, where the sum here could be -0)
        double mm = mul_add(binade(H), kLogMargin, 0x1p-1074);
        double y;
        if (__builtin_expect(settle_pair(H, L - mm, L + mm, y), 1)) return y;
    }
    return log_phase2(bits(x));
}

}  // namespace

TSR_BODY(double, __libm_cr_exp, (double x)) { return cr_exp(x); }
TSR_BODY(double, __libm_cr_log, (double x)) { return cr_log(x); }

// Pieces the exponential families share: the mode probe on the reduced argument,
// powers of two built in the exponent field, and the paths to extreme results.
#pragma once
#include "tsr/common.h"
#include "tsr/guard.h"
#include "tsr/codes.h"
#include "tsr/report.h"
#include "elementary/exp_data.h"
#if TSR_TIER_Z0 || TSR_TIER_D1
#include "tsr/avx512.h"
#endif

namespace tsr::expd {
// Internal linkage: this header is compiled once per tier, with each tier's instruction
// set, and a helper left out of line must not become one shared copy that the linker
// could take from a newer tier's object.
namespace {

// The probe on the core's own reduced argument, for the usual path of the 2^x cores: t = r^2,
// which the polynomial needs anyway.  C + t and C - t (C a power of two so large that t is
// below half its ulp on either side while the caller's mode is round-to-nearest, where
// |r| <= 1/64) are both C there; in every other mode the first is above the second.  With
// r = 0 (an exact shifter step, so an exact or correctly rounded result in any mode) the
// probe raises nothing and passes; otherwise the result is inexact anyway.  r^2 never
// underflows here (|r| >= 2^-107, or 2^-49 in single precision).  One ordered compare, one
// branch, taken only in a directed mode.
inline bool rn_or_exact_sq(double t) { return !(0x1p44 + t > 0x1p44 - t); }
inline bool rn_or_exact_sq(float t) { return !(0x1p20f + t > 0x1p20f - t); }

// 2^e for a normal exponent e (-1022 <= e <= 1023), exactly.
inline double pow2(int e) { return f64(uint64_t(e + 1023) << 52); }
// 2^e for any e: 0 below the normal range, +inf above; only for scale factors whose
// product is known to be 0 or infinite there.
inline double pow2_clamped(int e) {
    if (e < -1022) return 0.0;
    if (e > 1023) return f64(0x7ff0000000000000ull);
    return pow2(e);
}

// b^x for x = +-inf or NaN: +0 for -inf, +inf for +inf, a NaN of either sign quieted.
inline double nonfinite(double x) {
    if ((bits(x) & 0x000fffffffffffffull) != 0) return x + x;
    return (hi(x) >> 31) ? 0.0 : x;
}

constexpr double kMax = 0x1.fffffffffffffp1023, kMinNorm = 0x1p-1022;
constexpr float kMaxF = 0x1p127f, kMinNormF = 0x1p-126f;

// A float argument beyond both result bounds: e^-inf = +0, NaN stays NaN, otherwise an
// overflow or an underflow, raised by the product that makes the result and reported.
inline float float_beyond_range(float x, int overflow_code, int underflow_code) {
    if ((bits(x) & 0x7fffffff) >= 0x7f800000) return bits(x) == 0xff800000u ? 0.0f : x + x;
    if (bits(x) >> 31) return report(x, opaque(kMinNormF) * kMinNormF, underflow_code);
    return report(x, opaque(kMaxF) * kMaxF, overflow_code);
}

// The reduction of 10^x in the split scheme (K = 128 per unit of the base-2 exponent): r is
// x - kf·log10(2)/128 as rh + rl (the constant's head has 32 bits, so kf times it is exact,
// and rh is cut short by a shifter so that rh·L is exact for L, the 32-bit head of ln 10);
// B is the head of 10^r with 32 bits, so that B times the table row's head is exact, and Q
// the rest, 10^r = B + Q to about 2^-70 relative.
inline void exp10_split128(double x, double kf, double &B, double &Q) {
    double a = x + kf * -0x1.34413p-9;
    double b = kf * 0x1.427de7fbcc47cp-31;
    double rh = opaque((a - b) + 0x1.8p+32) - 0x1.8p+32;
    double rl = (a - rh) - b;
    double r = rh + rl;
    const double L = 0x1.26bb1p+1;
    double a2 = rh * L;  // exact: rh is short
    B = f64(bits(1.0 + a2) & 0xffffffff00000000ull);
    // approximation of 10^r on [-0x1.345p-10, 0x1.345p-10], degree 7, max relative error
    // 2^-71.54 (measured by tools/gen/approximations.py)
    double s2 = r * r;
    Q = ((0x1.a7ed8d9d41e9cp-3 * s2 + 0x1.2bd7609fd8b95p+0) * s2 + 0x1.53524c73cea69p+1) * s2 +
        rl * L + (a2 - (B - 1.0)) +
        (((0x1.16e4f25f8c2ccp-4 * s2 + 0x1.1429ffd1d41fep-1) * s2 + 0x1.0470591de2ca4p+1) * s2 +
         0x1.776aaa2b05ba9p-20) * r;
}

// The split scheme's index.  s = t + S, formed as such (opaque), with S the shifter 1.5·2^52
// or 2^52 and t = x·128/ln b: the integer k nearest t stands in s's low bits, kf = s - S is k
// exactly, j = k mod 128 in [-64, 63] picks the row j + 64 and n = (k - j)/128 is the power
// of two.
struct SplitIndex {
    double kf;
    int j, n;
};
inline SplitIndex split_index(double s, double S) {
    int k = int(uint32_t(bits(s)));
    int j = int(uint32_t(k) << 25) >> 25;
    return {s - S, j, (k - j) >> 7};
}

// e^r = 1 + r + r^2/2 + C3 r^3 + ... + C6 r^6, the coefficients named for the split scheme's
// two evaluation orders below.
// approximation of e^r on [-0x1.62fp-9, 0x1.62fp-9], degree 6, max relative error 2^-74.99
// (measured by tools/gen/approximations.py)
constexpr double ESPLIT_C3 = 0x1.5555555555405p-3, ESPLIT_C4 = 0x1.555555555541dp-5,
                 ESPLIT_C5 = 0x1.111116887cd7cp-7, ESPLIT_C6 = 0x1.6c16c87372663p-10;

// The reduction of e^x in the split scheme: r = x - kf·ln2/128 as rh + rl (the constant's
// head has 33 bits, so kf times it is exact); B is 1 + rh cut to 32 bits, so that B times the
// table row's head is exact, and Q the rest, e^r = B + Q.
inline void e_split128(double x, double kf, double &B, double &Q) {
    double a = x + kf * -0x1.62e42p-8;
    double b = kf * 0x1.fdf473de6af28p-29;
    double rh = a - b;
    double rl = (a - rh) - b;
    double r = rh + rl;
    B = f64(bits(1.0 + rh) & 0xffffffff00000000ull);
    double s2 = r * r;
    Q = s2 * 0.5 + ((ESPLIT_C6 * s2 + ESPLIT_C4) * s2 + (ESPLIT_C5 * s2 + ESPLIT_C3) * r) * s2 +
        ((rh - (B - 1.0)) + rl);
}

// The same reduction and approximation for a caller whose result waits on Q (the complex
// exponential): the polynomial on rh alone, in Estrin's order, and the exact part
// rh - (B - 1) added last.  Leaving rl out of the polynomial changes e^r - 1 - r by about
// |r rl| < 2^-70 of e^r (|rl| <= 2^-53 |rh|, |r| < 2^-8.5); Q is ready five operations sooner.
inline void e_split128_short(double x, double kf, double &B, double &Q) {
    double a = x + kf * -0x1.62e42p-8;
    double b = kf * 0x1.fdf473de6af28p-29;
    double rh = a - b;
    double rl = (a - rh) - b;
    B = f64(bits(1.0 + rh) & 0xffffffff00000000ull);
    double s2 = rh * rh, s4 = s2 * s2;
    Q = ((rh - (B - 1.0)) + rl) +
        (s2 * (0.5 + ESPLIT_C3 * rh) + s4 * ((ESPLIT_C4 + ESPLIT_C5 * rh) + ESPLIT_C6 * s2));
}

// e^x = 2^n (o0 + o1), n returned, for 2^-57 <= |x| < 2^11 and a caller that holds
// round-to-nearest (the kernel __libm_exp_k64 without its guard, inline for the complex
// exponential): o0 = head·B is exact, o1 = Q·head + (B + Q)·tail, about 2^-70 relative.
inline int exp_pair_rn(double x, double &o0, double &o1) {
    const double S = 0x1.8p52;
    auto [kf, j, n] = split_index(opaque(0x1.71547652b82fep+7 * x + S), S);
    double B, Q;
    e_split128(x, kf, B, Q);
    const TH &row = split128[j + 64];
    o1 = Q * row.head + (B + Q) * row.tail;
    o0 = row.head * B;
    return n;
}

// The split scheme's result v + W times 2^n when it is a normal double: the scale goes in
// two steps (2^(n +- 512) and 2^-+512), each a normal power of two, and the caller's mode
// returns before the one rounding of the sum.  The first form takes the two factors, for a
// caller that builds their exponent fields without a branch on the sign.
inline double split_scaled(double v, double W, double f1, double f2, RnRestore &g) {
    W = opaque(W);
    v = g.finish(v);
    W = opaque(W);
    return ((v + W) * f1) * f2;
}

inline double split_scaled(double v, double W, int n, bool neg, RnRestore &g) {
    double f1 = f64(uint64_t(n + (neg ? 0x5ff : 0x1ff)) << 52), f2 = neg ? 0x1p-512 : 0x1p512;
    return split_scaled(v, W, f1, f2, g);
}

// The single-precision scheme with N = 256, in double, shared by e^x, 2^x and 10^x: t is the
// argument in units of 2^-8 of the result's exponent, pre-scaled by the caller (256·x·log2 e
// for e^x, x itself under a shifter of unit 2^-8 for 2^x).  The shifter S rounds t to k, the
// rest r is exact, 2^(k/256) is the d256 row with k >> 8 added to its exponent field, and
// (1 + c1·r) + c2·r^2 stands for the rest of the exponential: the double result carries
// about 2^-31 relative error, far below half an ulp of float, before its one rounding.
inline double f256_core(double t, double S, double c1, double c2) {
    double s = opaque(S + t);
    int k = int(uint32_t(bits(s)));
    double r = t + (S - s);
    double T = f64(bits(d256[k & 255]) + (uint64_t(int64_t(k >> 8)) << 52));
    return T * ((1.0 + c1 * r) + c2 * (r * r));
}

// The float result of the scheme's double v, rounded once in the caller's mode.  Below
// |x| = `safe` (as bits) it is a normal float; above, a result below the normal range is an
// underflow and one at or past the largest float (or rounded to infinity) an overflow.
inline float f256_result(float x, double v, uint32_t absx, uint32_t safe, int overflow_code,
                         int underflow_code) {
    float y = float(v);
    if (absx < safe) return y;
    uint32_t yb = bits(y);
    if (yb < 0x00800000) return report(x, y, underflow_code);
    if (yb == 0x7f800000 || v >= 0x1p128) return report(x, opaque(kMaxF) * kMaxF, overflow_code);
    return y;
}

// The whole float body of the N = 256 scheme (e^x, 2^x): below |x| = 2^-28 (as bits
// 0x31800000) x + 1; from `beyond` on the specials and the certain overflows and underflows;
// otherwise the core under the guard G on t = arg(x), the scheme's pre-scaled argument.
template <class G, class Arg>
inline float f256_float(float x, Arg arg, double S, double c1, double c2, uint32_t safe, uint32_t beyond,
                        int overflow_code, int underflow_code) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b - 0x31800000u >= safe - 0x31800000u) {
        if (b < 0x31800000) return x + 1.0f;
        if (b >= beyond) return float_beyond_range(x, overflow_code, underflow_code);
    }
    G g;
    x = opaque(x);
    double v = g.finish(f256_core(arg(double(x)), S, c1, c2));
    return f256_result(x, v, b, safe, overflow_code, underflow_code);
}

// The centred N = 64 reduction of the single-precision schemes in double: k = round(v) for
// v = 64·x·log2(b) by a float shifter (the float conversion of v + 1.5·2^23), r = x + k·c
// (c = -log_b(2)/64, exact enough at float accuracy), 2^(j/64) for the centred low bits
// j = -32 .. 31 of k from the centred table, and n = (k - j)/64.
struct Centred64 {
    double r, T;
    int n;
};
inline Centred64 centred64_reduce(double u, double v, double c) {
    float t = float(opaque(v + 0x1.8p+23));
    float tf = opaque(t) + -12582912.0f;
    int k = int(bits(t)) - 0x4b400000;
    int j = int(uint32_t(k) << 26) >> 26;
    return {double(tf) * c + u, centred64[j + 32], (k - j) >> 6};
}

// The N = 64 reduction of b^x (e^x, 10^x): k = x·K rounded by the shifter (K = 64 log2 b),
// r = x - k (L1 + L2) with L1 + L2 = ln 2/(64 ln b) (L1 short, so k·L1 is exact), the row
// of 2^((k & 63)/64) and n = k >> 6.
struct Reduced64 {
    double r;
    int k, n;
    const MT &row;
};
inline Reduced64 reduce64(double x, double K, double L1, double L2) {
    constexpr double S = 0x1.8p52;
    double s = opaque(K * x + S);
    double kf = s - S;
    int k = int(uint32_t(bits(s)));
    return {(x - L1 * kf) - L2 * kf, k, k >> 6, frac64[k & 63]};
}

// The extreme path of the N = 64 and N = 128 schemes: the value p*T + T (or its analogue
// y0 + T) when 2^n is not a normal double.  T is split as 1.M * 2^(n - h) * 2^h with
// h = n >> 1, so both factors are normal.  A subnormal result is built from H, the part of
// the scaled T that lies on the subnormal grid (exact), plus the rest rounded once.
// `rest(Tp)` gives the correction term times Tp (the y0 of the scheme).
struct Extreme {
    double value;
    int kind;  // 0 normal, 1 overflow, 2 underflow (subnormal or zero)
    // A subnormal result put together from bit patterns has been rounded only by the
    // product a, which may be exact while the sum is not: a caller whose result is inexact
    // raises underflow by this.
    void underflows() const {
        if (kind == 2) force(opaque(kMinNorm) * kMinNorm);
    }
    // The value, reported under the code of its kind.
    double reported(double x, int overflow_code, int underflow_code) const {
        if (kind == 1) return report(x, value, overflow_code);
        if (kind == 2) return report(x, value, underflow_code);
        return value;
    }
};
template <class Rest>
inline Extreme extreme(int n, uint64_t m, Rest rest) {
    int h = n >> 1;
    double tp = f64((uint64_t(n - h + 1023) << 52) | m);
    double s = pow2(h);
    int d = -1022 - n;
    double y0 = rest(tp);
    if (d > 52) return {(y0 + tp) * s, 2};
    double H = d < 0 ? 0.0 : f64(bits(tp) & ~((uint64_t(1) << d) - 1));
    double y = y0 + (tp - H);
    if (n >= 1023) {
        // Overflow in every rounding mode: the unscaled sum reaches 2^(1024 - h) (a mode that
        // rounds toward zero then gives the largest finite value, still an overflow).
        double yh = y + H;
        double z = yh * s;
        bool over = (bits(z) & 0x7ff0000000000000ull) == 0x7ff0000000000000ull || yh >= pow2(1024 - h);
        return {z, over ? 1 : 0};
    }
    if (d == 0 && !(y < 0.0)) return {(y + H) * s, 0};
    double z = (y + H) * s;
    if ((bits(z) & 0x7ff0000000000000ull) != 0) return {z, 0};
    double a = y * s;  // the one rounding
    double b = H * s;  // exact: H lies on the subnormal grid
    uint64_t ab = bits(a) & 0x7fffffffffffffffull;
    bool same = (bits(a) >> 63) == (bits(b) >> 63);
    return {f64(same ? bits(b) + ab : bits(b) - ab), 2};
}

// The N = 64 frame of e^x in double (the ex and e7 bodies, and the reproducible form with a
// shorter polynomial): outside 2^-54 <= |x| < 1026 the answer is 1 + x, the non-finite
// rule, or a certain overflow or underflow; inside, x = (k/64) ln 2 + r with k rounded by
// the shifter, and poly(r, r2, t) gives e^r·(1 + t) - 1 to the last place, where 2^(k/64)
// = T·(1 + t) is the table's cut mantissa with its relative tail.  The exponent is set by
// integer work; results that are not normal doubles take the extreme path.  The reduction
// and the polynomial run to nearest, the last operation in the caller's mode.
template <class Poly>
inline double exp64_frame(double x, Poly poly) {
    uint32_t ix = hi(x) & 0x7fffffff;
    uint32_t hw = ix >> 16;
    if (hw - 0x3c90u > 0x408fu - 0x3c90u) {
        if (ix < 0x40900000) return x + 1.0;
        if (ix >= 0x7ff00000) return nonfinite(x);
        if (hi(x) >> 31) return report(x, opaque(kMinNorm) * kMinNorm, code::exp_underflow);
        return report(x, opaque(kMax) * kMax, code::exp_overflow);
    }
    // K = 64/ln 2; L1 + L2 = ln2/64, L1 short so that k*L1 is exact.
    const double K = 0x1.71547652b82fep+6, L1 = 0x1.62e42fefap-7, L2 = 0x1.cf79abc9e3b3ap-46;
    RnGuardInexact g;
    x = opaque(x);
    auto [r, k, n, row] = reduce64(x, K, L1, L2);
    double p = poly(r, r * r, row.t);
    if (n >= -894 && n <= 1022) {
        double T = f64((uint64_t(uint32_t((k & 0xffffffc0) + 0xffc0)) << 46) | row.m);
        p = g.finish(p);
        return p * T + T;
    }
    p = g.finish(p);
    Extreme e = extreme(n, row.m, [&](double tp) { return p * tp; });
    e.underflows();  // e^x is inexact for every x != 0
    return e.reported(x, code::exp_overflow, code::exp_underflow);
}

}  // namespace
}  // namespace tsr::expd

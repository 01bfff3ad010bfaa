// e^x - 1 in double and single precision, without the cancellation of the naive form.
//
// The exponential's reduction x = k·ln2/N + r is kept, but the result is put together from
// parts whose leading terms are exact, so that the 1 is taken away where it does not lose
// the small ones:
//
// Double, tier ex: the generic exponential kernel (__libm_exp_k64, N = 128) gives e^x as
// (v + w)·2^n with v = head·B exact; v·2^n - 1 is split exactly into d + c (two-sum) and
// the result is d + (w·2^n + c), one rounding of a sum whose small part carries relative
// error 2^-53.  Below 2^-8 a degree-6 Taylor polynomial; beyond 40.2 the 1 is below the
// result's last bit (e^x >= 2^58) and the sum is scaled in two steps.
// Double, tier e7: N = 64 on the split table (head cut to 29 fraction bits, absolute tail);
// 1 + r is cut to A with 14 bits, so that A·T and A·v are exact products; the result is
// R·U + a + (b - 1) with b = A·T, where b - 1 is exact for the exponents of the band and
// the other bands place the 1 where it is exact or negligible.  Exponents n beyond
// -894 .. 1022 go through 80-bit arithmetic and one rounding.  Below 2^-4: x·(A + W) with
// A = 1 + x/2 cut, x split so that the leading product is exact.
// Double, tiers l9 (and the processors that would run d1): fused multiply-adds on the cut
// 64-row table with relative tails; D = Tb - 1 and its exact error, H = r·Tb + D fused, and
// the rest Tb·Q plus the fused product's error.  0.0054 <= |x| < 640, else e7.
//
// Single, tier ex: double arithmetic on the centred 64-row table (2^r by a degree-5
// polynomial), e^x - 1 formed in double and rounded once; below 1/8 a degree-7 polynomial
// in double on the square taken in double.  Tier e7: the N = 256 reduction of expf with a
// cubic for 2^(r/256) - 1, less 1 in double; below 0.177 a degree-8
// polynomial in double, below 2^-8 four terms in double.
//
// Tiny arguments (|x| < 2^-54, 2^-25 in float): x + x^2, which rounds to x in round to
// nearest and to the right neighbour in the directed modes, with inexact; a zero is
// returned as itself, a subnormal (whose square would underflow to nothing) raises
// underflow and, in tier e7, reports the subnormal argument.
#include "elementary/exp_common.h"
#include "elementary/exp_kernels.h"
#include "elementary/expm1_data.h"
#include "elementary/expm1_kernels.h"
#include "tsr/dd.h"

using namespace tsr;
using namespace tsr::expd;
using namespace tsr::em1;

namespace {

constexpr uint64_t kAbs64 = 0x7fffffffffffffffull;
constexpr double kMinusOne = -1.0;

// e^x - 1 for 0 < |x| < 2^-54 (double): x, inexact, the neighbour in a directed mode where
// x^2 is normal; below 2^-500 x itself with inexact raised (x^2 would underflow), and a
// subnormal x raises underflow too.  Returns true in *sub for a subnormal x.
inline double tiny(double x, bool *sub) {
    uint64_t ax = bits(x) & kAbs64;
    *sub = false;
    if (ax == 0) return x;
    if (ax < 0x0010000000000000ull) {
        *sub = true;
        force(opaque(kMinNorm) * kMinNorm);
        return x;
    }
    if (ax < 0x20b0000000000000ull) {  // 2^-500
        raise_inexact();
        return x;
    }
    return x + x * x;
}

// Single precision, 0 < |x| < 2^-25 (or a zero): in double, x + x^2 rounds to float once; a
// subnormal x raises underflow (its double sum rounds to x before the float rounding).
inline float tinyf(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b == 0) return x;
    if (b < 0x00800000u) {
        force(opaque(kMinNormF) * kMinNormF);
        return x;
    }
    double u = x;
    return float(u + u * u);
}

// Single precision, |x| >= 86.6: a NaN quieted, +inf itself, -inf -1 exactly, a finite
// negative x -1 + 2^-100 (inexact, the right neighbour in the directed modes).
inline float beyondf(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b > 0x7f800000u) return x + x;
    if (b == 0x7f800000u) return (bits(x) >> 31) ? -1.0f : x;
    return -1.0f + 0x1p-100f;
}

#if TSR_TIER_EX
// The kernel: e^x - 1 for finite x with 2^-8 <= |x| and -38.82 <= x <= 709.78, no report.
inline double expm1_mid(double x) {
    int n;
    double o[2];
    __libm_exp_k64(x, &n, o);  // e^x = (o[0] + o[1])·2^n, o[0] = head·B exact
    if (int32_t(hi(x)) >= 0x404419ed) {  // x >= 40.2025: e^x >= 2^58, the 1 is below half an ulp
        return ((o[0] + o[1]) * pow2(n - 512)) * 0x1p512;
    }
    double F = pow2(n);  // -55 <= n <= 58: exact scalings
    double v = o[0] * F, w = o[1] * F;
    dd::DD d = dd::two_sum(v, kMinusOne);
    return d.h + (w + d.l);
}

inline double expm1_ex(double x, bool report_overflow) {
    uint64_t ax = bits(x) & kAbs64;
    uint32_t H = uint32_t(ax >> 32);
    // Limits: ln(DBL_MAX) = 0x40862e42fefa39ef for x > 0; for x < 0, 0x4043687a9f1af2b1
    // (38.82), past which e^x is below 2^-56 and the result -1 + e^x rounds as -1 + 2^-60.
    bool neg = bits(x) >> 63;
    if (ax > (neg ? 0x4043687a9f1af2b1ull : 0x40862e42fefa39efull)) {
        if (H > 0x7fefffffu) {
            if (ax > 0x7ff0000000000000ull) return x * 1.0;
            return neg ? -1.0 : x;
        }
        if (neg) return kMinusOne + 0x1p-60;
        double r = opaque(kMax) * kMax;
        return report_overflow ? report(x, r, code::expm1_overflow) : r;
    }
    if (H <= 0x3f6fffffu) {  // |x| < 2^-8
        if (H < 0x3c900000u) {
            bool sub;
            return tiny(x, &sub);
        }
        // Taylor series of e^x - 1 to degree 6: the truncation is x^7/5040, below 2^-60 of
        // x; 0.5 s is exact and the rest sits below 2^-9 of x, so the sum rounds once.
        double s = x * x;
        return x + (0.5 * s + ((0x1.6c16c87372663p-10 * s + 0x1.555555555541dp-5) * s +
                               (0x1.111116887cd7cp-7 * s + 0x1.5555555555405p-3) * x) * s);
    }
    return expm1_mid(x);
}
#endif

#if TSR_TIER_E7 || TSR_TIER_L9
// Tier e7's body, which tier l9 calls for everything beyond its band.
inline double expm1_e7(double x) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    bool neg = bits(x) >> 63;
    if (hw > 0x408fu) {  // |x| >= 1024, infinities and NaNs
        if ((bits(x) & kAbs64) > 0x7ff0000000000000ull) return x + x;
        if (!neg) {
            if (bits(x) == 0x7ff0000000000000ull) return x;
            return report(x, opaque(kMax) * kMax, code::expm1_overflow);
        }
        if (bits(x) == 0xfff0000000000000ull) return -1.0;
        return kMinusOne + 0x1p-60;
    }
    if (hw < 0x3fb0u) {
        if (hw < 0x3c90u) {  // |x| < 2^-54
            bool sub;
            double r = tiny(x, &sub);
            if (sub) return report(x, r, code::expm1_underflow);
            return r;
        }
        // 2^-54 <= |x| < 2^-4: e^x - 1 = x·(A + W), A = 1 + x/2 cut to 26 bits, W the rest of
        // the Taylor series (to x^9, truncation below 2^-62 of the result).  xh·A is exact.
        double A = f64(bits(1.0 + 0.5 * x) & 0xfffffffff8000000ull);
        double x2 = x * x, x3 = x2 * x, x6 = x3 * x3;
        double U1 = (0x1.71de3a556c734p-19 * x + 0x1.a01c516a10f0bp-16) * x + 0x1.a01a01a01a01ap-13;
        double U2 = (0x1.6c16c16c16c17p-10 * x + 0x1.1111111111111p-7) * x + 0x1.5555555555555p-5;
        double W = (x3 * U2 + ((0.5 * x + (1.0 - A)) + x6 * U1)) + 0x1.5555555555555p-3 * x2;
        double xh = f64(bits(x) & 0xfffffffffc000000ull), xl = x - xh;
        return ((xl * A) + x * W) + xh * A;
    }
    // 2^-4 <= |x| < 1024: k = round(64 x/ln 2) by the shifter, r = x - k (L1 + L2) with
    // kf·L1 exact, 2^(j/64) = 1.M + t from the split table, n = k >> 6.
    const double K = 0x1.71547652b82fep+6, L1 = 0x1.62e42fefap-7, L2 = 0x1.cf79abc9e3b3ap-46,
                 S = 0x1.8p52;
    double s = opaque(K * x + S);
    double kf = s - S;
    int k = int(uint32_t(bits(s)));
    double r = (x - L1 * kf) - L2 * kf;
    const SplitRow &row = exp_split64[k & 63];
    int n = k >> 6;
    // P = e^r - 1 - r: Taylor to r^6, the truncation r^7/5040 below 2^-58 of e^r for
    // |r| <= ln2/64 (the shifter in any rounding mode).
    double r2 = r * r;
    double q1 = 0x1.5555555555555p-5 + 0x1.11111750679e6p-7 * r, q2 = 0.5 + 0x1.5555555555555p-3 * r;
    double P = (r2 * r2 * q1 + 0x1.6c16c16c16c17p-10 * (r2 * r2 * r2)) + r2 * q2;
    if (n >= -894 && n <= 1022) {
        double F = pow2(n < -1022 ? -1022 : n);
        double T = f64((uint64_t(n + 1023) << 52) | row.m), v = F * row.t;
        // A = 1 + r with 14 significant bits: e = 1 + r - A is exact, and A·T, A·v are exact
        // products (T has 30 bits).  e^x = b + a + R·U with R = P + e, U = T + v.
        double A = f64(bits(1.0 + r) & 0xffffffc000000000ull);
        double e = r + (1.0 - A);
        double R = P + e, U = T + v;
        double a = v * A, b = A * T;
        uint32_t E = hi(T) >> 16;
        if (E >= 0x3f80u && E <= 0x4320u) return R * U + a + (b - 1.0);  // b - 1 exact
        if ((hi(b) >> 16) >= 0x43f0u) return (R * U + a) + b;            // b >= 2^64: no 1
        if (E < 0x3f80u) return ((R * U + a) + b) - 1.0;                  // e^x < 2^-7
        return (R * U + (a - 1.0)) + b;                                   // e^x > 2^51
    }
    if (neg) return kMinusOne + 0x1p-60;
    // n > 1022: the scaling in 80-bit arithmetic (64-bit significand), two steps of 2^h and
    // 2^(n - h), each a normal power of two, and one rounding to double at the store.
    double res;
    {
        X87Precision pc;
        int h = n >> 1;
        long double Tp = (long double)f64((uint64_t(1023) << 52) | row.m) * (long double)pow2(h);
        long double vp = (long double)row.t * (long double)pow2(h);
        long double Y = (long double)r + (long double)P;
        long double z = opaque((Tp + vp) + Y * (Tp + vp));
        z = opaque(z * (long double)pow2(n - h));
        res = double(z);
        force(res);
    }
    if ((hi(res) & 0x7ff00000u) == 0x7ff00000u) return report(x, res, code::expm1_overflow);
    return res;
}
#endif

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, expm1, (double x)) { return expm1_ex(x, true); }
TSR_DEFINE(double, __bwr_expm1, (double x)) { return expm1_ex(x, true); }
// The kernel other families call: e^x - 1 rounded once in the caller's mode, +inf past
// ln(DBL_MAX) with the overflow flag and no report.
extern "C" double __libm_expm1_k(double x) noexcept { return expm1_ex(x, false); }
#endif

#if TSR_TIER_E7
TSR_BODY(double, expm1, (double x)) { return expm1_e7(x); }
#endif

#if TSR_TIER_L9
namespace {
inline double expm1_fma(double x) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    if (hw - 0x3f76u > 0x4083u - 0x3f76u) {
        if (hw <= 0x3f75u) {
            if (hw < 0x3c80u) {
                bool sub;
                return tiny(x, &sub);
            }
            // |x| < 0.0054: x + x^2 P2(x) + x^4 P1(x), the polynomial of the core on x itself.
            double x2 = x * x;
            double P1 = __builtin_fma(__builtin_fma(0x1.6c16da694ff15p-10, x, 0x1.111123cf154b8p-7), x,
                                      0x1.5555555554714p-5);
            double P2 = __builtin_fma(0x1.55555555547d4p-3, x, 0.5);
            return __builtin_fma(__builtin_fma(x2, P1, P2), x2, x);
        }
        if ((bits(x) >> 63) && (bits(x) & kAbs64) < 0x7ff0000000000000ull) return kMinusOne + 0x1p-60;
        return expm1_e7(x);
    }
    // Below -38.82 e^x < 2^-56: -1 + 2^-60 rounds as the result does (the core's H could
    // round below -1 in a downward mode).
    if (bits(x) > 0xc043687a9f1af2b1ull) return kMinusOne + 0x1p-60;
    // The reduction of exp tier l9: s holds k + 1023·64 in its low bits, rounded to nearest:
    // a directed shifter would double the reach of r, and the polynomial's truncation
    // (r^7/5040) is measured against a result as small as r itself.  The mode is told by the
    // probe (the result is inexact anyway) and forced for this one step only where it differs.
    const double K = 0x1.71547652b82fep+6, S = 0x1.800000000ffcp+52;
    double s;
    if (__builtin_expect(rn_probe(), 1)) {
        s = __builtin_fma(K, x, S);
    } else {
        RnGuard g;
        s = g.finish(__builtin_fma(K, opaque(x), S));
    }
    double kf = s - S;
    double r0 = __builtin_fma(kf, -0x1.62e42fefap-7, x);
    double r = __builtin_fma(kf, -0x1.cf79abc9e3b3ap-46, r0);
    double rl = __builtin_fma(kf, -0x1.cf79abc9e3b3ap-46, r0 - r);  // exact rest of r
    uint32_t sl = uint32_t(bits(s));
    const MT &row = frac64[sl & 63];
    double Tb = f64((uint64_t(sl & 0x3ffc0) << 46) | row.m), t = row.t;
    // e^r - 1 - r = r^2 (P2 + r^2 P1): Taylor to r^6 (r^7/5040 below 2^-58 of e^r).
    double P1 = __builtin_fma(__builtin_fma(0x1.6c16da694ff15p-10, r, 0x1.111123cf154b8p-7), r,
                              0x1.5555555554714p-5);
    double P2 = __builtin_fma(0x1.55555555547d4p-3, r, 0.5);
    double Y = __builtin_fma(r, t, rl + t);
    double r2 = r * r;
    double Q = __builtin_fma(__builtin_fma(r2, P1, P2), r2, Y);
    // Tb·(1 + r + Q) - 1 = (Tb - 1) + Tb·r + Tb·Q: D = Tb - 1 with its exact error err (the
    // larger of Tb and -1 first), H = r·Tb + D fused, and the fused product's own error.
    double D = Tb - 1.0;
    double big = kf < 0 ? -1.0 : Tb, small = kf < 0 ? Tb : -1.0;
    double err = small - (D - big);
    double H = __builtin_fma(r, Tb, D);
    return H + ((err + Tb * Q) + __builtin_fma(Tb, r, -(H - D)));
}
}  // namespace
TSR_BODY(double, expm1, (double x)) { return expm1_fma(x); }
#endif

// ---- single precision ---------------------------------------------------------------------
#if TSR_TIER_EX
namespace {
inline float expm1f_ex(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    double u = x;
    if (b > 0x42ad496au) {
        if (b > 0x7f800000u || (bits(x) >> 31) || b == 0x7f800000u) return beyondf(x);
        if (b >= 0x42b17218u) return report(x, opaque(kMaxF) * kMaxF, code::expm1f_overflow);
    } else if (b <= 0x3dffffffu) {  // |x| < 1/8
        if (b <= 0x31ffffffu) return tinyf(x);
        // e^x - 1 = u + C(s) + u·A(s), s = x^2, in double: degree 7 overall.
        // s = x^2 in double (a float square would cost 2^-28 of the result).
        double s = u * u;
        double A = ((0x1.a04e1d2809cf8p-13 * s + 0x1.11110eb5ecfe9p-7) * s + 0x1.5555555579a3ap-3) * s;
        double C = ((0x1.6c4459843cb2cp-10 * s + 0x1.5555527a9b288p-5) * s + 0x1.0000000016df6p-1) * s;
        return float((A * u + C) + u);
    }
    // k = round(64 x/ln 2), r = x - k ln2/64, 2^(j/64) from the centred table, 2^n exact.
    auto [r, T, n] = centred64_reduce(u, 0x1.71547652b82fep+6 * u, -0x1.62e42fefa39efp-7);
    double s2 = r * r;
    double p = (0x1.56420eb78fa85p-5 * s2 + 0x1.00000008d6118p-1) * s2 +
               (0x1.55550da752d4fp-3 * s2 + 0x1.fffffffffe7c6p-1) * r;
    return float((p * T + T) * pow2(n) - 1.0);
}
}  // namespace
TSR_BODY(float, expm1f, (float x)) { return expm1f_ex(x); }
TSR_DEFINE(float, __bwr_expm1f, (float x)) { return expm1f_ex(x); }
#endif

#if TSR_TIER_E7
namespace {
inline float expm1f_e7(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    double u = x;
    // The N = 256 reduction of expf: 2^(k/256) from the table (the double nearest), and
    // 2^(r/256) - 1 = w + w^2/2 + w^3/6, w = r ln2/256 (Taylor; the truncation w^4/24 is below
    // 2^-38 of the result for |r| <= 1, a shifter in any mode).  T - 1 is exact for the
    // results near the band's lower edge (T within [1/2, 2]), where the 1 cancels most.
    const double K = 0x1.71547652b82fep+8, c1 = 0x1.62e42fefa72c5p-9, c2 = 0x1.ebfbdff82c58ep-19,
                 S = 0x1.8p52;
    if (b - 0x3e3504f3u < 0x42ad496bu - 0x3e3504f3u) {
        double t = K * u;
        double s = opaque(S + t);
        int k = int(uint32_t(bits(s)));
        double w = (t + (S - s)) * 0x1.62e42fefa39efp-9;
        double T = f64(bits(d256[k & 255]) + (uint64_t(int64_t(k >> 8)) << 52));
        double p = w * (1.0 + w * (0.5 + w * 0x1.5555555555555p-3));
        return float((T - 1.0) + T * p);
    }
    if (b >= 0x42ad496bu) {
        if (b > 0x7f800000u || (bits(x) >> 31) || b == 0x7f800000u) return beyondf(x);
        if (b < 0x43000000u) {
            float y = float(f256_core(K * u, S, c1, c2));
            if (bits(y) == 0x7f800000u) return report(x, y, code::expm1f_overflow);
            return y;
        }
        return report(x, opaque(kMaxF) * kMaxF, code::expm1f_overflow);
    }
    if (b >= 0x3b800000u) {  // 2^-8 <= |x| < 0.177: Taylor to x^8 in double
        double L0 = ((0x1.a01a01a01a01ap-13 * u + 0x1.6c34034034035p-10) * u + 0x1.1111111111111p-7) *
                    (u * u * u * u * u);
        double L1 = ((0x1.5555555555555p-5 * u + 0x1.5555555555555p-3) * u + 0.5) * (u * u);
        return float((L0 + L1) + u);
    }
    if (b >= 0x33000000u) {  // 2^-25 <= |x| < 2^-8: Taylor to x^4 in double (x^5/120: 2^-39)
        return float(u + (u * u) * (0.5 + u * (0x1.5555555555555p-3 + u * 0x1.5555555555555p-5)));
    }
    float y = tinyf(x);
    if (b != 0 && b < 0x00800000u) return report(x, y, code::expm1f_underflow);
    return y;
}
}  // namespace
TSR_BODY(float, expm1f, (float x)) { return expm1f_e7(x); }
#endif

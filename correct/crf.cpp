// The correctly rounded single-precision functions: every member at tiers ex, l9, z0 (and d1
// where exported).
//
// Tier ex runs each member's careful route: the member handles its special values and its
// tiny and saturated ranges by hand (results one double away from x, 1 or -1, overflow and
// underflow products, the domain errors), and evaluates the rest in double through this
// library's double kernel, settled by the rounding test of crf_common.h.  Tiers l9, z0 and
// d1 first run a quick phase of their own for every member (fused kernels on the tables of
// crf_quick.h, below) and take the careful route, compiled for their instruction set, only
// where it cannot settle the value.  Odd and even functions are evaluated at |x|, so their
// lists hold positive keys; cbrt and the reciprocal square root at the significand scaled
// into [1, 8) and [1, 4), since scaling by 2^3k (2^2k) only scales their result.
#include "correct/crf_common.h"
#include "correct/crf_quick.h"
#include "tsr/avx512.h"

#include <immintrin.h>

using namespace tsr;
using namespace tsr::crf;

namespace {

constexpr double kHuge = 0x1p200;   // overflows any float, in every mode as the mode says
constexpr double kTiny = 0x1p-200;  // below half the least subnormal: 0 or it, as the mode says

inline float overflow(uint32_t sign) { return narrow(with_sign(kHuge, sign)); }
inline float underflow() { return narrow(kTiny); }

// The double kernels: tier ex of this library's double and extended functions.
inline double k_exp(double x) { return __libm_exp_ex_local(x); }
inline double k_exp2(double x) { return __libm_exp2_ex_local(x); }
inline double k_exp10(double x) { return __libm_exp10_ex_local(x); }
// e^x - 1 and 2^x - 1 in extended precision (error about 2^-63), rounded to double.
inline double k_expm1(double x) { return double(expm1l_local((long double)x)); }
// ln 2 to 64 bits, the product with a float then within 2^-63 of x ln 2.
constexpr long double kLn2L = 0xb.17217f7d1cf79acp-4L;
// 1/ln 2 to 64 bits.
constexpr long double kLog2eL = 0xb.8aa3b295c17f0bcp-3L;
inline double k_exp2m1(double x) { return double(expm1l_local((long double)x * kLn2L)); }

// Float bits of the significand of |x| scaled into [1, 2^width) and the power taken out
// (|x| = m 2^(width e)), for the scale-invariant members.  x finite, non-zero.
inline float scaled(uint32_t a, int width, int &e) {
    int ex = int(a >> 23) - 127;
    if (ex == -127) {  // subnormal: normalise exactly
        float n = f32(a) * 0x1p24f;
        a = bits(n);
        ex = int(a >> 23) - 127 - 24;
    }
    int q = ex >= 0 ? ex / width : -((-ex + width - 1) / width);
    e = q;
    return f32(uint32_t(ex - q * width + 127) << 23 | (a & 0x7fffff));
}
inline double pow2(int e) { return f64(uint64_t(e + 1023) << 52); }

// ---- the quick phase (tiers l9, z0, d1) ----------------------------------------------------
//
// Every member first runs a short kernel of their own in double (tables and polynomials
// of correct/crf_quick.h, fused multiply-adds), with an error bound worked out beside each.
// A value more than a margin of units of y's last place away from every point of its 25-bit
// grid, the margin above that bound, has the exact value in the same grid interval, and
// narrowing it is correct in every mode, flags included (crf_common.h): with y in the binade
// [2^B, 2^(B+1)), |f(x)| < 2^(B+1) and a unit is 2^(B-52).  A value the test cannot settle
// (and the exact results, which sit on the grid) goes to the careful route, tier ex's: the
// double kernel of this library, the rows and the careful phase, out of line.  There are two
// kinds of kernel:
//   - expf, exp2f, exp10f, coshf, logf, log2f, log10f, sinf, cosf, sincosf, tanf, atanf,
//     asinf, acosf and cbrtf run in the caller's mode, with no guard on the control word
//     (each rounding within one unit; reductions to an integer by roundsd or as the mode
//     says, as each states), within 2^-37.1 relative, settled at kWideMargin units (2^16:
//     about one argument in 2^11 goes to the careful route); invsqrtf the same way within
//     2^-51, settled at kQuickMargin.  Their values depend on the mode: the comparison with
//     tier ex runs in all four.
//   - expm1f, exp2m1f, sinhf, tanhf, log1pf and log2p1f run in round-to-nearest under the
//     guard of Quick below, within 2^-49 relative, settled at kQuickMargin units (64, at least
//     2^-47 |f(x)|: about one argument in 2^21).
#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
#define TSR_CRF_QUICK 1
#else
#define TSR_CRF_QUICK 0
#endif

// The careful route of a member with a quick phase stays out of line there (and out of the
// hot code), so that the quick phase keeps its registers.
#if TSR_CRF_QUICK
#define TSR_CRF_CAREFUL __attribute__((noinline, cold))
#else
#define TSR_CRF_CAREFUL inline
#endif

#if TSR_CRF_QUICK
namespace q = tsr::crf::quick;

// y more than `margin` units of its last place away from every point of its 25-bit grid.
inline bool settles_by(double y, uint64_t margin) { return ((bits(y) + margin) & kBelowGrid) > 2 * margin; }
constexpr uint64_t kQuickMargin = 64;
inline bool quick_settles(double y) { return settles_by(y, kQuickMargin); }

// The control word around the quick kernel.  Reading the control and status word waits for
// every floating-point operation in flight (it holds their flags), which would cost more than
// the kernel; the caller's rounding direction is told instead by two additions, 1 + 1.5 2^-53
// and -1 - 1.5 2^-53, which round away from 1 in magnitude only to nearest.  In that mode the
// kernel runs in the caller's word as it is: it raises inexact alone, and the arguments with
// an exact result go to the careful route before it runs (each member says which), so every
// argument it sees has an inexact result, whether the test settles it or the careful route
// does.  Flush to zero and denormals-are-zero leave it alone (no subnormal double arises in
// it, and subnormal arguments of the logarithms go to the careful route).  With inexact
// unmasked, its trap comes from the kernel rather than from the final narrowing: the result
// is inexact either way.  In a directed mode the kernel runs under kBodyCsr and the caller's
// word comes back before the narrowing (or before the careful route).
inline bool nearest_mode() {
    double up = opaque(1.0) + 0x1.8p-53, down = opaque(-1.0) - 0x1.8p-53;
    return up == 0x1.0000000000001p+0 && down == -0x1.0000000000001p+0;
}

struct Quick {
    uint32_t saved = 0;
    bool plain;
    Quick() : plain(nearest_mode()) {
        if (__builtin_expect(!plain, 0)) {
            saved = get_mxcsr();
            set_mxcsr(kBodyCsr);
        }
    }
    float done(double y) {
        y = opaque(y);
        if (__builtin_expect(!plain, 0)) set_mxcsr(saved);
        return narrow(y);
    }
    void abandon() {
        if (!plain) set_mxcsr(saved);
    }
};

// One try of the quick phase: the kernel's value, run under the guard, narrowed into r when
// the rounding test settles it.  A kernel may put the sign on its value first: the test reads
// the bits below the grid only.
template <class Kernel> inline bool quick_try(Kernel kernel, float &r) {
    Quick qk;
    double y = kernel();
    if (__builtin_expect(quick_settles(y), 1)) {
        r = qk.done(y);
        return true;
    }
    qk.abandon();
    return false;
}

// Round to the nearest integer by the 1.5 2^52 shifter: valid for |t| < 2^51.
constexpr double kShifter = 0x1.8p52;
inline double nearest_int(double t, int64_t &k) {
    double s = t + kShifter;
    k = int64_t(bits(s) - bits(kShifter));
    return s - kShifter;
}

// 2^(k/128) e^r for |r| <= ln2/256 (1 + 2^-20), k from -19500 to 16400.  T = 2^(j/128) is
// within 2^-53 of its value, the polynomial within 2^-52.48, q = e^r - 1 (|q| < 2^-8.5) is
// computed within 2^-60 and T + T q rounds once (2^-53): below 2^-51 relative in all, and
// the scaling by 2^(k >> 7) is exact (the result stays a normal double).
inline double exp_core(int64_t k, double r) {
    double r2 = r * r;
    double p = __builtin_fma(r, q::kExpPoly[2], q::kExpPoly[1]);
    double e = __builtin_fma(r2, __builtin_fma(r, p, q::kExpPoly[0]), r);
    double t = q::kExp2J[k & 127];
    return __builtin_fma(t, e, t) * pow2(int(k >> 7));
}

// x = k ln2/128 + r, x a float with 2^-25 <= |x| < 105.  t = x 128/ln2 rounds to k;
// k kLn2d128Hi is exact (38 bits times |k| < 2^15) and x - k kLn2d128Hi is exact (Sterbenz:
// x and k ln2/128 are within a factor 1.5 of each other when k != 0); the second piece
// leaves r within 2^-80 of x - k ln2/128.
inline double exp_reduce(double x, int64_t &k) {
    double kd = nearest_int(x * q::kInvLn2x128, k);
    return __builtin_fma(-kd, q::kLn2d128Lo, __builtin_fma(-kd, q::kLn2d128Hi, x));
}

// e^x.
inline double quick_exp(double x) {
    int64_t k;
    double r = exp_reduce(x, k);
    return exp_core(k, r);
}

// e^x - 1 for |x| >= 1/2: e^x within 2^-51, then one rounding.  The subtraction magnifies
// the relative error by e^x/|e^x - 1| <= 2.55: below 2^-49.5 relative.
inline double quick_expm1(double x) { return quick_exp(x) - 1.0; }

// sinh a (a = |x| from 1/2 to 90): e^a and e^-a from one reduction (2^(-k/128) e^-r), each
// within 2^-51, subtracted and halved.  The difference magnifies the bound by coth a <= 2.17:
// below 2^-49.5 relative.
inline double quick_sinh(double a) {
    int64_t k;
    double r = exp_reduce(a, k);
    return 0.5 * (exp_core(k, r) - exp_core(-k, -r));
}

// ---- the exponentials' kernel, in any rounding mode --------------------------------------
//
// expf, exp2f and exp10f run their kernel in the caller's rounding mode, with no guard on the
// control word: every step keeps its bound in all four modes (each rounding within one unit
// rather than half of one, the reduction's integer the one the mode gives), the kernel raises
// inexact alone (their exact results are handed to the careful route before it runs, or come
// out of it exact, no flag raised), and the one narrowing is the caller's.  Its bound is
// 2^-37.1 relative, so the rounding test keeps kWideMargin units of y's last place from the
// grid (2^16 units >= 2^-36 |y|, beyond 2^-37.1 |f(x)| < 2^-36.1 2^B): the careful route takes
// about one argument in 2^11.  The logarithms' kernel (below) runs the same way, within 2^-37.6.
constexpr uint64_t kWideMargin = 65536;

// One try of a kernel that runs in the caller's mode (its value within 2^-37.1 relative): the
// value narrowed into r when the rounding test settles it.
template <class Kernel> inline bool wide_try(Kernel kernel, float &r, uint64_t margin = kWideMargin) {
    double y = kernel();
    if (__builtin_expect(settles_by(y, margin), 1)) {
        r = narrow(y);
        return true;
    }
    return false;
}

// 2^(k/128) (1 + p(r)), sum = k + a shifter whose last place is 1/R (its bits end in 19 zero
// bits, so that they end in k), r = z - k in units of 1/(128 R): p within 2^-37.21 of
// 2^(r/128) - 1 (the polynomial's coefficients scaled by the powers of R, exactly),
// T = 2^(j/128), j = k & 127 (2^-53), the scaling by 2^(k >> 7) exact (a normal double from
// 2^-152 to 2^129), the polynomial's evaluation within 2^-59 and the last fused step within
// 2^-52.  The scaled row's bits are the sum's shifted by 45 added to the row's (kExp2JBits),
// in the vector unit: only the index goes through an integer register.
template <int R> inline double exp2_scaled(double sum, double r) {
    constexpr double c1 = q::kExp2Poly[0] * R, c2 = q::kExp2Poly[1] * R * R, c3 = q::kExp2Poly[2] * R * R * R;
    double p = __builtin_fma(r * r, __builtin_fma(r, c3, c2), r * c1);
    __m128i row = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(&q::kExp2JBits[bits(sum) & 127]));
    __m128i up = _mm_slli_epi64(_mm_castpd_si128(_mm_set_sd(sum)), 45);
    double s = __v2df(_mm_castsi128_pd(_mm_add_epi64(row, up)))[0];
    // s + s p in s's own register (the compiler would put a merging copy of s before it)
    asm("vfmadd132sd %1, %0, %0" : "+v"(s) : "v"(p));
    return s;
}

// 2^(z/128) for |z| < 19400.  k = z rounded to an integer by the shifter (to nearest, or as
// the caller's mode says) and r = z - k, |r| <= 1, within 2^-53 (exact for |z| >= 2,
// Sterbenz), |p| < 2^-7.4: below 2^-37.15 relative.
inline double exp2_128(double z) {
    double sum = z + kShifter;
    return exp2_scaled<1>(sum, z - (sum - kShifter));
}

// 2^x for a float |x| < 128, with no product 128 x: the shifter 1.5 2^45, whose last place is
// 1/128, rounds x to k/128 (as the mode says) and r = x - k/128 is exact (|r| <= 1/128, x's
// bits reach no lower than 2^-49 from 2^-25 on).  Below 2^-37.15 relative as for exp2_128.
constexpr double kShifter128 = 0x1.8p45;
inline double exp2_float(double x) {
    double sum = x + kShifter128;
    return exp2_scaled<128>(sum, x - (sum - kShifter128));
}

// cosh a for 2^-12 <= a < 90, in the caller's mode: z = a 128/ln2 within 2^-37.1 as for
// expf (|z| < 2^14.1), e^a/2 = 2^(z/128 - 1) and e^-a/2 = 2^(-z/128 - 1) from one reduction
// (k and -k, r and -r: the polynomial's odd and even parts), each within 2^-37.15 relative
// (as exp2_scaled, the halving exact in the exponent), and the sum of the two positive terms
// rounded once: below 2^-37.1 relative.
inline double quick_cosh(double a) {
    int64_t k;
    double kd = nearest_int(a * q::kInvLn2x128, k);
    double r = a * q::kInvLn2x128 - kd, r2 = r * r;
    double ev = r2 * q::kExp2Poly[1], od = r * __builtin_fma(r2, q::kExp2Poly[2], q::kExp2Poly[0]);
    double sp = f64(bits(q::kExp2J[k & 127]) + (uint64_t((k >> 7) - 1) << 52));
    double sm = f64(bits(q::kExp2J[-k & 127]) + (uint64_t((-k >> 7) - 1) << 52));
    return __builtin_fma(sp, ev + od, sp) + __builtin_fma(sm, ev - od, sm);
}

// ln(1 + r) for -2^-9 <= r <= 2^-8: the polynomial (2^-58.12), evaluated within 2^-52.
inline double log1p_poly(double r) {
    double r2 = r * r;
    double p = __builtin_fma(r, q::kLogPoly[4], q::kLogPoly[3]);
    p = __builtin_fma(r2, p, __builtin_fma(r, q::kLogPoly[2], q::kLogPoly[1]));
    return __builtin_fma(r2, __builtin_fma(r, p, q::kLogPoly[0]), r);
}

// x = 2^e z, x a positive normal float, z in [0x1.66p-1, 0x1.66p+0) (float bits from
// 0x3f330000), row i of z's 256; z as a double straight from its float bits.  r = z/c - 1 is
// exact in any mode (z 24 bits times 1/c 28 bits, then Sterbenz), |r| <= 2^-8, and
// ln z = ln c + ln(1 + r), ln(1 + r) = r + r^2 (c2 + c3 r) + c4 r^4 within 2^-38.87 of it
// (relative).  The rows next to 1 have c = 1, ln c = 0; elsewhere |ln(1 + r)| <= 2 |ln z|
// (|ln z| >= 2^-9 there, |r| <= 2^-8).  The kernel runs in the caller's mode, as the
// exponentials' does: each rounding below within a unit.
struct LogReduced {
    double e, lnc, r, r2, a;  // e, ln c (2^-53), r, r^2, c2 + c3 r
    double poly() const { return __builtin_fma(r2 * r2, q::kLogPoly4[2], __builtin_fma(r2, a, r)); }
};
inline LogReduced log_reduce(uint32_t ix) {
    uint32_t t = ix - 0x3f330000;
    unsigned i = (t >> 15) & 255;
    uint32_t zb = ix - (t & 0xff800000u);
    double z = f64((uint64_t(zb) << 29) + (uint64_t(1023 - 127) << 52));
    double r = __builtin_fma(z, q::kLogInvC[i], -1.0);
    return {double(int32_t(t) >> 23), q::kLogC[i], r, r * r, __builtin_fma(r, q::kLogPoly4[1], q::kLogPoly4[0])};
}

// ln(1 + x), x a float above -1 with |x| >= 2^-24.  Near 0 (-2^-9 <= x < 2^-8) r = x and
// the polynomial alone, as on the rows next to 1.  Elsewhere w = 1 + x is exact (x has no
// bit below 2^-33 there; from 2^53 on, w is x rounded, within 2^-53 relative, which moves
// the logarithm by less than 2^-58 relative) and is split as ln x above, but with a double
// significand: r = z/c - 1 is rounded once by the fused multiply-add (2^-53 |r| more).
// Below 2^-49 relative as for ln x.
inline double quick_log1p(double x) {
    if (x >= -0x1p-9 && x < 0x1p-8) return log1p_poly(x);
    double w = 1.0 + x;
    uint64_t t = bits(w) - 0x3fe6600000000000;  // 0x1.66p-1
    int e = int(int64_t(t) >> 52);
    unsigned i = unsigned(t >> 44) & 255;
    double z = f64(bits(w) - (t & 0xfff0000000000000));
    double r = __builtin_fma(z, q::kLogInvC[i], -1.0);
    double ed = e;
    double hi = __builtin_fma(ed, q::kLn2Hi, q::kLogC[i]);
    return hi + __builtin_fma(ed, q::kLn2Lo, log1p_poly(r));
}

// An estimate of 1/d, d a positive float value from 2^-18 to 2^122, within 1.5 2^-12
// relative: vrcp14sd at z0 and d1, rcpss on d as a float at l9.  Its bits differ
// between processor makers; the kernel below is exact for any estimate within the bound.
inline double recip_estimate(double d) {
#if TSR_TIER_Z0 || TSR_TIER_D1
    return tsr::avx512::rcp14(d);
#else
    return double(_mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(float(d)))));
#endif
}

// atan t for a float t >= 2^-12, in the caller's mode (as the exponentials' kernel).  For
// t <= 1, u = t and 64 c = -k, k = -64 t rounded to nearest by roundsd whatever the mode;
// above 1, u = 1/t is never formed: k = 64 c is the nearest integer to an estimate of 64/t
// (within 2^-11.4 relative).  Either way c = i/64 with |u - c| <= 1/128 + 2^-11.4, and
//     v = (u - c)/(1 + u c) = (64 t + k)/(64 - k t)     (t <= 1),
//     -v = (k t - 64)/(64 t + k)                          (t > 1)
// comes from one division whose operands are each one fused step (k times t exact inside,
// 64 t exact: the numerator for t <= 1 is exact), three roundings in all (2^-50.4 relative
// in a directed mode); |v| <= 1/128 + 2^-10.  atan t = atan c + atan v below 1 and
// (pi/2 - atan c) + atan(-v) above, the row (2^-53) plus the polynomial (2^-48.49
// relative).  atan c >= 1.9 |atan v| where c != 0, so the terms summed are at most 3.2
// atan t, and pi/2 - atan c >= pi/4 is more than 80 |atan v|: with the sum's rounding, below
// 2^-46 relative.  No step depends on the other branch's result: the selections are made
// on t alone, beside the estimate.
inline double quick_atan(double t) {
    bool big = t > 1.0;
    double t64 = t * 64.0;
    double kd = __builtin_roundeven(big ? recip_estimate(t * 0x1p-6) : -t64);
    double num = __builtin_fma(kd, big ? t : 1.0, big ? -64.0 : t64);
    double den = __builtin_fma(kd, big ? 1.0 : -t, big ? t64 : 64.0);
    double v = num / den, v2 = v * v;
    double c = q::kAtanC[int64_t(__builtin_fabs(kd)) + (big ? 65 : 0)];
    return c + __builtin_fma(v * v2, __builtin_fma(v2, q::kAtanPoly[1], q::kAtanPoly[0]), v);
}

// sin and cos of a, 2^-12 <= |a| < 2^16, in the caller's mode (as the exponentials' kernel).
// k = a 256/pi rounded to nearest by roundsd whatever the mode (the product within 2^-29 of
// a 256/pi, |k| < 2^22.4); r = a - k pi/256 in two fused steps with pi/256 in two pieces (within
// 2^-116 of it): the first step exact but for its rounding, 2^-52 |r1| with |r1| <= |r| +
// 2^-37.6, the second 2^-52 |r|, the missing piece 2^-93.6: r within 2^-51 |r| + 2^-89.5,
// |r| <= pi/512 (1 + 2^-20).  With (S, C) = (sin, cos)(i pi/256), i = k mod 512 (negative k
// included: the kernel takes x with its sign):
//     sin a = S + C sin r + S (cos r - 1),    cos a = C - S sin r + C (cos r - 1).
// The terms summed are at most three times the result (|S| or |C| of the row at the
// result's zero is 0 or at least sin(pi/256), twice the largest |r|), each within 2^-51 of
// its value (the table 2^-53, the polynomials 2^-58, r), and two roundings (2^-52 each in a
// directed mode): below 2^-48 relative; r's 2^-89.5 adds 2^-48.5 at most where the result
// is r's sine or cosine alone (no float below 2^16 comes within 2^-40 of a multiple of
// pi/512, by the run of every one of them): below 2^-47 relative.
inline void quick_sincos(double a, double *ps, double *pc) {
    double kd = __builtin_roundeven(a * q::k256dPi);
    int64_t k = int64_t(kd);
    double r = __builtin_fma(-kd, q::kPid256B, __builtin_fma(-kd, q::kPid256A, a));
    double r2 = r * r;
    double sr = __builtin_fma(r * r2, __builtin_fma(r2, q::kSinPoly[1], q::kSinPoly[0]), r);
    double cm = r2 * __builtin_fma(r2, q::kCosPoly[1], q::kCosPoly[0]);
    unsigned i = unsigned(k) & 511;
    double s = q::kSinCos[2 * i], c = q::kSinCos[2 * i + 1];
    *ps = __builtin_fma(s, cm, __builtin_fma(c, sr, s));
    *pc = __builtin_fma(c, cm, __builtin_fma(-s, sr, c));
}
#endif

// ---- exponentials --------------------------------------------------------------------------

TSR_CRF_CAREFUL float careful_expf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x33000000) {  // |x| < 2^-25: 1 + x, the side of x
        if (a == 0) return 1.0f;
        return narrow(s ? toward_zero(1.0) : away_from_zero(1.0));
    }
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? 0.0f : x);
    if (!s && a >= 0x42b17218) return report(x, overflow(0), code::expf_overflow);  // 88.72284
    if (s && a >= 0x42d00000) return report(x, underflow(), code::expf_underflow);  // -104 < -150 ln 2
    Frame f;
    float r = f.finish(f.settle(k_exp(x), Member::expf, bits(x), [x] { return odd53(__libm_expl_ex_local(x)); }));
    if (s && a >= 0x42aeac50) r = report(x, r, code::expf_underflow);  // e^x below 2^-126
    return r;
}

TSR_CRF_CAREFUL float careful_exp2f(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x33000000) {  // |x| < 2^-25: |x ln 2| below 2^-25 as well
        if (a == 0) return 1.0f;
        return narrow(s ? toward_zero(1.0) : away_from_zero(1.0));
    }
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? 0.0f : x);
    if (!s && a >= 0x43000000) return report(x, overflow(0), code::exp2f_overflow);    // 128
    if (s && a >= 0x43170000) return report(x, underflow(), code::exp2f_underflow);   // -151
    Frame f;
    float r = f.finish(f.settle(k_exp2(x), Member::exp2f, bits(x), [x] { return odd53(__libm_exp2l_ex_local(x)); }));
    // Below -126, where the result is inexact (2^n for an integer n down to -149 is exact).
    if (s && a > 0x42fc0000 && (a > 0x43150000 || float(int(x)) != x)) r = report(x, r, code::exp2f_underflow);
    return r;
}

TSR_CRF_CAREFUL float careful_exp10f(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x32000000) {  // |x| < 2^-27: |x ln 10| below 2^-25
        if (a == 0) return 1.0f;
        return narrow(s ? toward_zero(1.0) : away_from_zero(1.0));
    }
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? 0.0f : x);
    if (!s && a >= 0x421a209b) return report(x, overflow(0), code::exp10f_overflow);   // 38.53184
    if (s && a >= 0x4235d276) return report(x, underflow(), code::exp10f_underflow);  // -45.45553
    Frame f;
    float r = f.finish(f.settle(k_exp10(x), Member::exp10f, bits(x), [x] { return odd53(__libm_exp10l_ex_local(x)); }));
    if (s && a >= 0x4217b819) r = report(x, r, code::exp10f_underflow);  // 10^x below 2^-126
    return r;
}

// The x87 flags as they were before a phase-1 extended kernel, put back where the test
// fails (the result may then be exact, and the kernel raised inexact on that unit).
inline void restore_x87_flags(uint16_t sw) {
    struct { uint16_t cw, pad0, sw, pad1; char rest[20]; } env;
    asm volatile("fnstenv %0" : "=m"(env));
    env.sw = uint16_t((env.sw & ~0x3f) | (sw & 0x3f));
    asm volatile("fldenv %0" : : "m"(env));
}

TSR_CRF_CAREFUL float careful_expm1f(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x33800000) {  // |x| < 2^-24: x(1 + x/2), above x in magnitude for x > 0
        if (a == 0) return x;
        return narrow(s ? toward_zero(x) : away_from_zero(x));
    }
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? -1.0f : x);
    if (!s && a >= 0x42b17218) return report(x, overflow(0), code::expm1f_overflow);  // 88.72284
    if (s && a >= 0x41900000) return narrow(toward_zero(-1.0));  // x <= -18: e^x below 2^-25
    uint16_t sw = get_x87_sw();
    Frame f;
    double y = f.settle(k_expm1(x), Member::expm1f, bits(x), [x] { return odd53(expm1l_local(x)); });
    if (f.unsettled) restore_x87_flags(sw);
    return f.finish(y);
}

TSR_CRF_CAREFUL float careful_exp2m1f(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a == 0) return x;
    if (a >= 0x7f800000) return a > 0x7f800000 ? x + x : (s ? -1.0f : x);
    if (!s && a >= 0x43000000) return overflow(0);                // 128
    if (s && a >= 0x41d00000) return narrow(toward_zero(-1.0));  // x <= -26: 2^x below 2^-25
    uint16_t sw = get_x87_sw();
    Frame f;
    double y = f.settle(k_exp2m1(x), Member::exp2m1f, bits(x),
                        [x] { return odd53(expm1l_local((long double)x * kLn2L)); });
    if (f.unsettled) restore_x87_flags(sw);
    return f.finish(y);
}

// ---- hyperbolic functions ------------------------------------------------------------------

TSR_CRF_CAREFUL float careful_sinhf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) return a == 0 ? x : narrow(away_from_zero(x));  // 2^-12: x(1 + x^2/6)
    if (a >= 0x7f800000) return x + x;
    if (a >= 0x42b40000) return overflow(s);  // 90
    Frame f;
    return f.finish(with_sign(f.settle(__libm_sinh_ex_local(f32(a)), Member::sinhf, a, [a] {
        long double e = expm1l_local(f32(a));  // sinh = (e + e/(e + 1))/2, e = e^|x| - 1
        return odd53((e + e / (e + 1)) * 0.5L);
    }), s));
}

TSR_CRF_CAREFUL float careful_coshf(float x) {
    uint32_t a = bits(x) & 0x7fffffff;
    if (a < 0x39800000) return a == 0 ? 1.0f : narrow(away_from_zero(1.0));  // 1 + x^2/2
    if (a >= 0x7f800000) return x * x;
    if (a >= 0x42b40000) return overflow(0);
    Frame f;
    return f.finish(f.settle(__libm_cosh_ex_local(f32(a)), Member::coshf, a, [a] {
        long double e = __libm_expl_ex_local(f32(a));
        return odd53((e + 1 / e) * 0.5L);
    }));
}

TSR_CRF_CAREFUL float careful_tanhf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) return a == 0 ? x : narrow(toward_zero(x));  // x(1 - x^2/3)
    if (a > 0x7f800000) return x + x;
    if (a == 0x7f800000) return s ? -1.0f : 1.0f;
    if (a >= 0x41180000) return narrow(toward_zero(s ? -1.0 : 1.0));  // 9.5: 1 - tanh below 2^-26
    Frame f;
    return f.finish(with_sign(f.settle(__libm_tanh_ex_local(f32(a)), Member::tanhf, a, [a] {
        long double e = expm1l_local(2.0L * f32(a));  // tanh = e/(e + 2), e = e^2|x| - 1
        return odd53(e / (e + 2));
    }), s));
}

// ---- trigonometric functions ---------------------------------------------------------------

TSR_CRF_CAREFUL float careful_sinf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) return a == 0 ? x : narrow(toward_zero(x));  // x(1 - x^2/6)
    if (a >= 0x7f800000) return x - x;  // NaN; invalid for an infinity
    Frame f;
    double sv, cv;
    __libm_sincos_ex_local(f32(a), &sv, &cv);  // the kernel of sincosf: one list serves both
    return f.finish(with_sign(f.settle(sv, Member::sinf, a), s));
}

TSR_CRF_CAREFUL float careful_cosf(float x) {
    uint32_t a = bits(x) & 0x7fffffff;
    if (a < 0x39800000) return a == 0 ? 1.0f : narrow(toward_zero(1.0));  // 1 - x^2/2
    if (a >= 0x7f800000) return x - x;
    Frame f;
    double sv, cv;
    __libm_sincos_ex_local(f32(a), &sv, &cv);
    return f.finish(f.settle(cv, Member::cosf, a));
}

TSR_CRF_CAREFUL void careful_sincosf(float x, float *ps, float *pc) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) {
        *ps = a == 0 ? x : narrow(toward_zero(x));
        *pc = a == 0 ? 1.0f : narrow(toward_zero(1.0));
        return;
    }
    if (a >= 0x7f800000) {
        *ps = *pc = x - x;
        return;
    }
    Frame f;
    double sv, cv;
    __libm_sincos_ex_local(f32(a), &sv, &cv);
    f.finish2(with_sign(f.settle(sv, Member::sinf, a), s), f.settle(cv, Member::cosf, a), ps, pc);
}

TSR_CRF_CAREFUL float careful_tanf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x39800000) return a == 0 ? x : narrow(away_from_zero(x));  // x(1 + x^2/3)
    if (a >= 0x7f800000) return x - x;
    Frame f;
    return f.finish(with_sign(f.settle(__libm_tan_ex_local(f32(a)), Member::tanf, a), s));
}

// ---- inverse trigonometric functions -------------------------------------------------------

TSR_CRF_CAREFUL float careful_asinf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a > 0x3f800000) return __libm_asinf_e7_local(x);  // |x| > 1 or NaN: reported there
    if (a < 0x39800000) return a == 0 ? x : narrow(away_from_zero(x));  // x(1 + x^2/6)
    Frame f;
    return f.finish(with_sign(f.settle(__libm_asin_ex_local(f32(a)), Member::asinf, a), s));
}

TSR_CRF_CAREFUL float careful_acosf(float x) {
    uint32_t a = bits(x) & 0x7fffffff;
    if (a > 0x3f800000) return __libm_acosf_e7_local(x);
    Frame f;
    return f.finish(f.settle(__libm_acos_ex_local(x), Member::acosf, bits(x)));
}

TSR_CRF_CAREFUL float careful_atanf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a > 0x7f800000) return x + x;
    if (a < 0x39800000) return a == 0 ? x : narrow(toward_zero(x));  // x(1 - x^2/3)
    Frame f;
    return f.finish(with_sign(f.settle(__libm_atan_ex_local(f32(a)), Member::atanf, a), s));
}

// atan |x| for 2^-12 <= |x| < inf.
inline float cr_atanf(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff;
    float r;
    if (__builtin_expect(a - 0x39800000u < 0x7f800000u - 0x39800000u, 1) &&
        wide_try([&] { return __builtin_copysign(quick_atan(f32(a)), double(x)); }, r))
        return r;
#endif
    return careful_atanf(x);
}

#if TSR_CRF_QUICK
// asin on [0, 1/2] in the caller's mode: m + m z P(z), z = m^2 (or given exactly), P of
// degree 8 by Estrin's scheme (the polynomial 2^-43.93 relative).  The correction m z P is at
// most 0.05 m: z's and m z's roundings and P's evaluation move the result by below 2^-55
// relative, the last fused step 2^-52: below 2^-43.8 relative.
inline double asin_poly(double m, double z) {
    double z2 = z * z, z4 = z2 * z2;
    const double *c = q::kAsinPoly;
    double p01 = __builtin_fma(z2, __builtin_fma(z, c[3], c[2]), __builtin_fma(z, c[1], c[0]));
    double p23 = __builtin_fma(z2, __builtin_fma(z, c[7], c[6]), __builtin_fma(z, c[5], c[4]));
    double p = __builtin_fma(z4 * z4, c[8], __builtin_fma(z4, p23, p01));
    return __builtin_fma(m * z, p, m);
}
#endif

// asin x for 2^-12 <= |x| < 1.  Below 1/2, the polynomial at x.  From 1/2 on,
// asin |x| = pi/2 - 2 asin s, s = sqrt(z), z = (1 - |x|)/2 exact (Sterbenz, then a halving),
// s within 2^-52: asin s within 2^-43.7 relative, 2 asin s <= pi/3 at most twice the result
// (>= pi/6), one more rounding and pi/2 in two pieces: below 2^-42.6 relative.  The square
// root runs beside the polynomial (z is known before it).
inline float cr_asinf(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff;
    float r;
    if (__builtin_expect(a - 0x39800000u < 0x3f800000u - 0x39800000u, 1) &&
        wide_try([&] {
            double xd = x;
            if (a < 0x3f000000) return asin_poly(xd, xd * xd);  // odd: x with its sign
            double z = (1.0 - f32(a)) * 0.5;
            double y = __builtin_fma(-2.0, asin_poly(__builtin_sqrt(z), z), q::kPiHalfHi) + q::kPiHalfLo;
            return __builtin_copysign(y, xd);
        }, r))
        return r;
#endif
    return careful_asinf(x);
}

// acos x for 2^-12 <= |x| < 1.  Below 1/2, pi/2 - asin x (asin x at most half the result,
// two roundings, pi/2 in two pieces): below 2^-44 relative.  From 1/2 on, 2 asin s (exact
// doubling) for x > 0 and pi - 2 asin s for x < 0 (2 asin s at most half the result), s as
// for asin: below 2^-43.5 relative.  acos 1 = 0 is exact: the careful route.
inline float cr_acosf(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff;
    float r;
    if (__builtin_expect(a - 0x39800000u < 0x3f800000u - 0x39800000u, 1) &&
        wide_try([&] {
            double xd = x;
            if (a < 0x3f000000) return (q::kPiHalfHi - asin_poly(xd, xd * xd)) + q::kPiHalfLo;
            double z = (1.0 - f32(a)) * 0.5;
            double w = asin_poly(__builtin_sqrt(z), z);
            return xd > 0 ? 2.0 * w : __builtin_fma(-2.0, w, q::kPiHi) + q::kPiLo;
        }, r))
        return r;
#endif
    return careful_acosf(x);
}

// ---- logarithms ----------------------------------------------------------------------------

// The special values of a logarithm of x: NaN, +inf, zero (-inf and divide-by-zero),
// negative (NaN and invalid).  True when x is one of them, with the result in r.
inline bool log_special(float x, float &r) {
    uint32_t b = bits(x);
    if (b - 1 < 0x7f7fffffu) return false;  // positive, finite, non-zero
    if ((b & 0x7fffffff) == 0) r = -1.0f / opaque(0.0f);
    else if ((b & 0x7fffffff) > 0x7f800000 || b == 0x7f800000) r = x + x;
    else r = opaque(x - x) / opaque(x - x);  // negative, -inf included
    return true;
}

TSR_CRF_CAREFUL float careful_logf(float x) {
    float r;
    if (log_special(x, r)) return r;
    Frame f;
    return f.finish(f.settle(__libm_log_ex_local(x), Member::logf, bits(x), [x] { return odd53(__libm_logl_ex_local(x)); }));
}

TSR_CRF_CAREFUL float careful_log2f(float x) {
    float r;
    if (log_special(x, r)) return r;
    Frame f;
    return f.finish(f.settle(__libm_log2_ex_local(x), Member::log2f, bits(x), [x] { return odd53(log2l_local(x)); }));
}

TSR_CRF_CAREFUL float careful_log10f(float x) {
    float r;
    if (log_special(x, r)) return r;
    Frame f;
    return f.finish(f.settle(__libm_log10_ex_local(x), Member::log10f, bits(x), [x] { return odd53(log10l_local(x)); }));
}

// The special values of log(1 + x): NaN, +inf, -1 (-inf and divide-by-zero), below -1
// (NaN and invalid).
inline bool log1p_special(float x, float &r) {
    uint32_t b = bits(x);
    if (b < 0x7f800000 || b - 0x80000000u < 0x3f800000u) return false;  // -1 < x < inf
    if (b == 0xbf800000) r = -1.0f / opaque(0.0f);
    else if ((b & 0x7fffffff) > 0x7f800000 || b == 0x7f800000) r = x + x;
    else r = opaque(x - x) / opaque(x - x);
    return true;
}

TSR_CRF_CAREFUL float careful_log1pf(float x) {
    float r;
    if (log1p_special(x, r)) return r;
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    if (a < 0x33800000) {  // |x| < 2^-24: x(1 - x/2), below x
        if (a == 0) return x;
        return narrow(s ? away_from_zero(x) : toward_zero(x));
    }
    Frame f;
    return f.finish(f.settle(__libm_log1p_ex_local(x), Member::log1pf, bits(x), [x] { return odd53(__libm_log1pl_ex_local(x)); }));
}

TSR_CRF_CAREFUL float careful_log2p1f(float x) {
    float r;
    if (log1p_special(x, r)) return r;
    if ((bits(x) & 0x7fffffff) == 0) return x;
    // x = 2^k, k >= 24: log2(1 + x) = k + d, 0 < d < 2^-k/ln 2, far inside the grid interval
    // above k (whose width is at least 2^-20 below 128), while the double kernel and the
    // careful phase lose d from k = 53 (64) on: the double next above k, inexact.
    if (bits(x) - 0x4b800000u < 0x7f800000u - 0x4b800000u && (bits(x) & 0x7fffff) == 0)
        return narrow(away_from_zero(double(int(bits(x) >> 23) - 127)));
    Frame f;
    return f.finish(f.settle(__libm_log2p1_ex_local(x), Member::log2p1f, bits(x),
                              [x] { return odd53(__libm_log1pl_ex_local(x) * kLog2eL); }));
}

// ---- roots ---------------------------------------------------------------------------------

#if TSR_CRF_QUICK
// cbrt of a positive normal float (bits a).  |x| = 2^(3q + j) m, j = 0, 1, 2, m in [1, 2) in
// row i of 32: r = m/c - 1 exact (m 24 bits times 1/c 20 bits, then Sterbenz), |r| <= 2^-6,
// cbrt |x| = 2^q T (1 + r P(r)), T = 2^(j/3) cbrt(c) (2^-53), the polynomial 2^-39.14
// relative, its evaluation and the last fused step below 2^-51 in any rounding mode, the
// scaling exact (a normal double): below 2^-39 relative, settled at kWideMargin.
//
// The perfect cubes have exact results that the kernel leaves within its bound of their grid
// point, with inexact raised.  At tiers z0 and d1 every operation runs with embedded
// round-to-nearest and exceptions suppressed (the vector extension's {rn-sae}): no flag is
// raised and the cubes reach the careful route clean.  At tier l9 the kernel runs in plain
// arithmetic in the caller's mode, and the cubes are kept from it first (odd_cube).
#if TSR_TIER_Z0 || TSR_TIER_D1
inline double cbrt_fma(double a, double b, double c) { return tsr::avx512::fma_rn(a, b, c); }
inline double cbrt_mul(double a, double b) { return tsr::avx512::mul_rn(a, b); }
constexpr bool kCbrtKernelQuiet = true;
#else
inline double cbrt_fma(double a, double b, double c) { return __builtin_fma(a, b, c); }
inline double cbrt_mul(double a, double b) { return a * b; }
constexpr bool kCbrtKernelQuiet = false;
#endif
inline double quick_cbrt(uint32_t a) {
    uint32_t e3 = (a >> 23) + 254;  // 3q + j + 381
    uint32_t qb = e3 / 3, j = e3 - 3 * qb;
    unsigned i = (a >> 18) & 31;
    double m = f64(uint64_t(a & 0x7fffff) << 29 | 0x3ff0000000000000);
    double r = cbrt_fma(m, q::kCbrtInvC[i], -1.0);
    double t = q::kCbrtT[32 * j + i];
    const double *c = q::kCbrtPoly;
    double p = cbrt_fma(cbrt_mul(r, r), cbrt_fma(r, c[3], c[2]), cbrt_fma(r, c[1], c[0]));
    return cbrt_fma(cbrt_mul(t, r), p, t) * pow2(int(qb) - 127);
}

// A normal float (bits a) whose significand's odd part is the cube of an odd integer: every
// perfect cube (its root has at most 8 significant bits, else the cube would not fit in 24),
// and a few floats more (the odd cubes at exponents that are no multiple of 3), all of which
// take the careful route.  Cubing permutes the odd residues modulo 2^8, so the odd part's
// residue names the one odd n below 2^8 whose cube it can be.
inline bool odd_cube(uint32_t a) {
    uint32_t m = (a & 0x7fffff) | 0x800000;
    uint32_t o = m >> __builtin_ctz(m);
    return q::kOddCube[(o & 255) >> 1] == o;
}
#endif

inline float cr_cbrtf(float x) {
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
#if TSR_CRF_QUICK
    float qr;
    if (__builtin_expect(a - 0x00800000u < 0x7f800000u - 0x00800000u && (kCbrtKernelQuiet || !odd_cube(a)), 1) &&
        wide_try([&] { return __builtin_copysign(quick_cbrt(a), double(x)); }, qr))
        return qr;
#endif
    if (a == 0 || a >= 0x7f800000) return x + x;
    int e;
    float m = scaled(a, 3, e);  // |x| = m 2^3e, m in [1, 8)
    Frame f;
    double y = f.settle(__libm_cbrt_ex_local(m), Member::cbrtf, bits(m), [m] { return odd53(__libm_cbrtl_ex_local(m)); }) * pow2(e);
    return f.finish(with_sign(y, s));
}

TSR_CRF_CAREFUL float careful_invsqrtf(float x) {
    uint32_t b = bits(x), a = b & 0x7fffffff;
    if (a == 0) return 1.0f / x;  // +-inf, divide-by-zero
    if (a > 0x7f800000) return x + x;
    if (b >> 31) return opaque(x - x) / opaque(x - x);  // negative: NaN, invalid
    if (b == 0x7f800000) return 0.0f;
    int e;
    float m = scaled(a, 2, e);  // x = m 4^e, m in [1, 4)
    Frame f;
    // One correctly rounded root and one correctly rounded quotient: within 1.5 units.
    double y = opaque(1.0) / __builtin_sqrt(double(m));
    return f.finish(f.settle(y, Member::invsqrtf, bits(m), [m] { return odd53(__libm_invsqrtl_ex_local(m)); }) * pow2(-e));
}

// 1/sqrt x for a positive finite float, in the caller's mode: the root and the quotient each
// rounded once (within a unit each, in any mode): below 2^-51 relative, settled at
// kQuickMargin units.  The exact results (x a power of 4: both steps exact, no flag raised)
// sit on the grid: the careful route.  Subnormal x is a normal double.
inline float cr_invsqrtf(float x) {
#if TSR_CRF_QUICK
    float r;
    if (__builtin_expect(bits(x) - 1u < 0x7f7fffffu, 1) &&
        wide_try([&] { return 1.0 / __builtin_sqrt(double(x)); }, r, kQuickMargin))
        return r;
#endif
    return careful_invsqrtf(x);
}

// ---- the members with a quick phase -------------------------------------------------------
// The quick phase takes the arguments of the main range (their special values, tiny and
// saturated ranges and everything else go to the careful route, as at tier ex).

// z = x 128/ln2 for 2^-25 <= |x| < 88.72284 (|z| < 2^14.3): the constant within 2^-53 and
// the product's rounding (each 2^-52 in a directed mode) leave z within 2^-37.1, which moves
// the result by 2^-44.6 relative: with exp2_128's, below 2^-37.1 relative.  e^x is inexact
// for x != 0.  From -88.72284 down (deep subnormal and zero results) the careful route.
inline float cr_expf(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff;
    if (__builtin_expect(a - 0x33000000u < 0x42b17218u - 0x33000000u, 1)) {
        double y = exp2_128(double(x) * q::kInvLn2x128);
        if (__builtin_expect(settles_by(y, kWideMargin), 1)) {
            float r = narrow(y);
            return bits(x) >= 0xc2aeac50u ? report(x, r, code::expf_underflow) : r;  // below 2^-126
        }
    }
#endif
    return careful_expf(x);
}

// 2^-25 <= |x| < 128.  2^n for an integer n comes out exact (r = 0, p = 0, no rounding) and on
// the grid: the rounding test hands it to the careful route, no flag raised.
inline float cr_exp2f(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff;
    if (__builtin_expect(a - 0x33000000u < 0x43000000u - 0x33000000u, 1)) {
        double y = exp2_float(x);
        if (__builtin_expect(settles_by(y, kWideMargin), 1)) {
            float r = narrow(y);
            return bits(x) > 0xc2fc0000u ? report(x, r, code::exp2f_underflow) : r;  // below -126
        }
    }
#endif
    return careful_exp2f(x);
}

#if TSR_CRF_QUICK
// x = 1, 2, ..., 10 (10^x exact as a float), and the 17 other floats of [1, 10] with at most
// four significant bits (1.125, 2.5, ...: the careful route serves them as well): from
// 1 = 0x3f800000 to 10 = 0x41200000 the patterns with their 20 low bits clear, told by one
// rotation (a low bit set lands high; a pattern below 1 wraps around to a large difference).
inline bool exact_pow10(uint32_t b) {
    uint32_t d = b - 0x3f800000u;
    return (d >> 20 | d << 12) <= (0x41200000u - 0x3f800000u) >> 20;
}
#endif

// z = x 128 log2(10) for 2^-27 <= |x| < 38.53184 (|z| < 2^14.3), within 2^-37.1 as for
// expf: below 2^-37.1 relative.  The exact powers 10^1 .. 10^10 take the careful route first
// (the kernel would raise inexact).
inline float cr_exp10f(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff;
    if (__builtin_expect(a - 0x32000000u < 0x421a209bu - 0x32000000u && !exact_pow10(bits(x)), 1)) {
        double y = exp2_128(double(x) * q::kLog2_10x128);
        if (__builtin_expect(settles_by(y, kWideMargin), 1)) {
            float r = narrow(y);
            return bits(x) >= 0xc217b819u ? report(x, r, code::exp10f_underflow) : r;
        }
    }
#endif
    return careful_exp10f(x);
}

#if TSR_CRF_QUICK
// x positive, normal, finite.
inline bool log_quick_range(uint32_t b) { return b - 0x00800000u < 0x7f000000u; }
// The float 10^k of each exponent 0..33 of [1, 2^34) that has one (k = 0..10), else 0.
constexpr uint32_t kPow10ByExp[34] = {
    0x3f800000, 0, 0, 0x41200000, 0, 0, 0x42c80000, 0, 0, 0x447a0000, 0, 0, 0, 0x461c4000, 0, 0,
    0x47c35000, 0, 0, 0x49742400, 0, 0, 0, 0x4b189680, 0, 0, 0x4cbebc20, 0, 0, 0x4e6e6b28, 0, 0,
    0, 0x501502f9};
#endif

// ln x = (e ln2 + ln c + r) + r^2 (c2 + c3 r) + c4 r^4: four roundings of terms at most
// 3 |ln x| (e ln 2 + ln c), 5 |ln x| (with r) and |ln x|, below 2^-48.2 relative, and the
// polynomial's 2^-37.87 (twice 2^-38.87): below 2^-37.8 relative.  logf(1) comes out 0, exact
// and on the grid: the careful route.
inline float cr_logf(float x) {
#if TSR_CRF_QUICK
    if (__builtin_expect(log_quick_range(bits(x)), 1)) {
        LogReduced l = log_reduce(bits(x));
        double rh = l.r + __builtin_fma(l.e, q::kLn2, l.lnc);
        double y = __builtin_fma(l.r2 * l.r2, q::kLogPoly4[2], __builtin_fma(l.r2, l.a, rh));
        if (__builtin_expect(settles_by(y, kWideMargin), 1)) return narrow(y);
    }
#endif
    return careful_logf(x);
}

// log2 x = e + ln z/ln 2, ln z = ln c + the polynomial (within 2^-37.8 of it, 1.07 |ln x| at
// most where e != 0), the quotient by ln 2 inside one fused step: below 2^-37.7 relative.  A
// power of 2 comes out exact (r = 0, ln c = 0) and on the grid: the careful route.
inline float cr_log2f(float x) {
#if TSR_CRF_QUICK
    if (__builtin_expect(log_quick_range(bits(x)), 1)) {
        LogReduced l = log_reduce(bits(x));
        double y = __builtin_fma(l.lnc + l.poly(), q::kInvLn2, l.e);
        if (__builtin_expect(settles_by(y, kWideMargin), 1)) return narrow(y);
    }
#endif
    return careful_log2f(x);
}

// log10 x = e log10(2) + ln z/ln 10 (the product e log10(2) one more rounding): below 2^-37.6
// relative.  10^k, k = 0..10, has an exact logarithm that the kernel would flag inexact: the
// careful route first.
inline float cr_log10f(float x) {
#if TSR_CRF_QUICK
    uint32_t e = (bits(x) >> 23) - 127;
    if (__builtin_expect(log_quick_range(bits(x)) && (e >= 34 || bits(x) != kPow10ByExp[e]), 1)) {
        LogReduced l = log_reduce(bits(x));
        double y = __builtin_fma(l.lnc + l.poly(), q::kInvLn10, l.e * q::kLog10_2);
        if (__builtin_expect(settles_by(y, kWideMargin), 1)) return narrow(y);
    }
#endif
    return careful_log10f(x);
}

inline float cr_expm1f(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    // 1/2 <= |x|, x < 88.72284 (overflow), x > -18 (e^x - 1 within 2^-25 of -1)
    float r;
    if (__builtin_expect(a >= 0x3f000000 && a < (s ? 0x41900000u : 0x42b17218u), 1) &&
        quick_try([&] { return quick_expm1(x); }, r))
        return r;
#endif
    return careful_expm1f(x);
}

#if TSR_CRF_QUICK
// 2^x - 1 for 1/2 <= |x|, -26 < x < 128: z = 128 x exact, k next to z, r = (z - k) ln2/128
// (z - k exact, |z - k| <= 1/2; the constant and the product each within 2^-53: 2^-60.5
// absolute), 2^x = 2^(k/128) e^r within 2^-51 (exp_core), then one rounding of the
// difference, which magnifies the relative error by 2^x/|2^x - 1| <= 3.42: below 2^-49
// relative.
inline double quick_exp2m1(double x) {
    int64_t k;
    double kd = nearest_int(x * 128.0, k);
    return exp_core(k, (x * 128.0 - kd) * (q::kLn2 * 0x1p-7)) - 1.0;
}
#endif

inline float cr_exp2m1f(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    float r;
    // the integers (2^n - 1 exact) go to the careful route before the guard, which raises
    // inexact: x's bits below 2^0, shifted to the top, are all zero (1/2 goes there too)
    if (__builtin_expect(a >= 0x3f000000 && a < (s ? 0x41d00000u : 0x43000000u) && (a << ((a >> 23) - 118)) != 0, 1) &&
        quick_try([&] { return quick_exp2m1(x); }, r))
        return r;
#endif
    return careful_exp2m1f(x);
}

inline float cr_coshf(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff;
    float r;  // 2^-12 <= |x| < 90
    if (__builtin_expect(a - 0x39800000u < 0x42b40000u - 0x39800000u, 1) &&
        wide_try([&] { return quick_cosh(f32(a)); }, r))
        return r;
#endif
    return careful_coshf(x);
}

#if TSR_CRF_QUICK
// tanh a for 1/4 <= a < 9.5: e = e^(2a) - 1 (2a exact) within 2^-51 before the subtraction,
// which magnifies it by e^(2a)/e <= 2.55 (2^-49.6 with its rounding), and tanh a = e/(e + 2),
// whose relative sensitivity to e is 2/(e + 2) < 1, with the sum's and the quotient's
// roundings: below 2^-49.3 relative.
inline double quick_tanh(double a) {
    double e = quick_exp(2.0 * a) - 1.0;
    return e / (e + 2.0);
}
#endif

inline float cr_tanhf(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    float r;  // 1/4 <= |x| < 9.5
    if (__builtin_expect(a - 0x3e800000u < 0x41180000u - 0x3e800000u, 1) &&
        quick_try([&] { return with_sign(quick_tanh(f32(a)), s); }, r))
        return r;
#endif
    return careful_tanhf(x);
}

inline float cr_sinhf(float x) {
#if TSR_CRF_QUICK
    uint32_t a = bits(x) & 0x7fffffff, s = bits(x) >> 31;
    float r;  // 1/2 <= |x| < 90
    if (__builtin_expect(a - 0x3f000000u < 0x42b40000u - 0x3f000000u, 1) &&
        quick_try([&] { return with_sign(quick_sinh(f32(a)), s); }, r))
        return r;
#endif
    return careful_sinhf(x);
}

#if TSR_CRF_QUICK
// -1 < x < inf, |x| >= 2^-24.
inline bool log1p_quick_range(uint32_t b) {
    return b - 0x33800000u < 0x7f800000u - 0x33800000u || b - 0xb3800000u < 0xbf800000u - 0xb3800000u;
}
#endif

inline float cr_log1pf(float x) {
#if TSR_CRF_QUICK
    float r;  // ln(1 + x) is inexact for x != 0
    if (__builtin_expect(log1p_quick_range(bits(x)), 1) &&
        quick_try([&] { return quick_log1p(x); }, r))
        return r;
#endif
    return careful_log1pf(x);
}

inline float cr_log2p1f(float x) {
#if TSR_CRF_QUICK
    // 1 + x a power of 2 (x = 2^k - 1) has an exact base-2 logarithm: the careful route.
    float r;
    if (__builtin_expect(log1p_quick_range(bits(x)) && (bits(1.0 + double(x)) << 12) != 0, 1) &&
        quick_try([&] { return quick_log1p(x) * q::kInvLn2; }, r))
        return r;
#endif
    return careful_log2p1f(x);
}

// 2^-12 <= |x| < 2^16.
inline bool quick_trig_range(uint32_t a) { return a - 0x39800000u < 0x47800000u - 0x39800000u; }

inline float cr_sinf(float x) {
#if TSR_CRF_QUICK
    float r;
    if (__builtin_expect(quick_trig_range(bits(x) & 0x7fffffff), 1) &&
        wide_try([&] {
            double sv, cv;
            quick_sincos(x, &sv, &cv);
            return sv;
        }, r))
        return r;
#endif
    return careful_sinf(x);
}

inline float cr_cosf(float x) {
#if TSR_CRF_QUICK
    float r;
    if (__builtin_expect(quick_trig_range(bits(x) & 0x7fffffff), 1) &&
        wide_try([&] {
            double sv, cv;
            quick_sincos(x, &sv, &cv);
            return cv;
        }, r))
        return r;
#endif
    return careful_cosf(x);
}

// tan a = sin a / cos a, each within 2^-47 relative (their bound holds at their zeros as
// everywhere), and one rounding of the quotient (2^-52): below 2^-45.9 relative.
inline float cr_tanf(float x) {
#if TSR_CRF_QUICK
    float r;
    if (__builtin_expect(quick_trig_range(bits(x) & 0x7fffffff), 1) &&
        wide_try([&] {
            double sv, cv;
            quick_sincos(x, &sv, &cv);
            return sv / cv;
        }, r))
        return r;
#endif
    return careful_tanf(x);
}

inline void cr_sincosf(float x, float *ps, float *pc) {
#if TSR_CRF_QUICK
    if (__builtin_expect(quick_trig_range(bits(x) & 0x7fffffff), 1)) {
        double sv, cv;
        quick_sincos(x, &sv, &cv);
        if (__builtin_expect(settles_by(sv, kWideMargin) && settles_by(cv, kWideMargin), 1)) {
            *ps = narrow(sv);
            *pc = narrow(cv);
            return;
        }
    }
#endif
    careful_sincosf(x, ps, pc);
}

}  // namespace

TSR_BODY(float, __libm_cr_expf, (float x)) { return cr_expf(x); }
TSR_BODY(float, __libm_cr_exp2f, (float x)) { return cr_exp2f(x); }
TSR_BODY(float, __libm_cr_exp10f, (float x)) { return cr_exp10f(x); }
TSR_BODY(float, __libm_cr_expm1f, (float x)) { return cr_expm1f(x); }
TSR_BODY(float, __libm_cr_exp2m1f, (float x)) { return cr_exp2m1f(x); }
TSR_BODY(float, __libm_cr_sinhf, (float x)) { return cr_sinhf(x); }
TSR_BODY(float, __libm_cr_coshf, (float x)) { return cr_coshf(x); }
TSR_BODY(float, __libm_cr_tanhf, (float x)) { return cr_tanhf(x); }
TSR_BODY(float, __libm_cr_sinf, (float x)) { return cr_sinf(x); }
TSR_BODY(float, __libm_cr_cosf, (float x)) { return cr_cosf(x); }
TSR_BODY(void, __libm_cr_sincosf, (float x, float *s, float *c)) { cr_sincosf(x, s, c); }
TSR_BODY(float, __libm_cr_tanf, (float x)) { return cr_tanf(x); }
TSR_BODY(float, __libm_cr_asinf, (float x)) { return cr_asinf(x); }
TSR_BODY(float, __libm_cr_acosf, (float x)) { return cr_acosf(x); }
TSR_BODY(float, __libm_cr_atanf, (float x)) { return cr_atanf(x); }
TSR_BODY(float, __libm_cr_logf, (float x)) { return cr_logf(x); }
// log2 and log10 take the address of a 128-bit vector whose lowest lane holds x.
TSR_BODY(float, __libm_cr_log2f, (const float *v)) { return cr_log2f(*v); }
TSR_BODY(float, __libm_cr_log10f, (const float *v)) { return cr_log10f(*v); }
TSR_BODY(float, __libm_cr_log1pf, (float x)) { return cr_log1pf(x); }
TSR_BODY(float, __libm_cr_log2p1f, (float x)) { return cr_log2p1f(x); }
TSR_BODY(float, __libm_cr_cbrtf, (float x)) { return cr_cbrtf(x); }
TSR_BODY(float, __libm_cr_invsqrtf, (float x)) { return cr_invsqrtf(x); }

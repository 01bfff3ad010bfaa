// e^x and e^x in single precision.
//
// Double, tiers ex and e7 (one algorithm): x = (k/64)·ln 2 + r with k rounded by a shifter,
// 2^(k/64) from a 64-row table of cut mantissas with relative tails, a degree-6 Taylor
// polynomial whose linear term takes in the tail, and the exponent set by integer work.
// Results that are not normal doubles go through the careful split of exp_common.h.
// Tiers l9, z0, d1: the same reduction written with fused multiply-adds and a fitted
// degree-5 polynomial; they serve 2^-55 <= |x| < 640, where no scaling question arises, and
// hand everything else to the e7 body.
//
// Single, tiers ex and e7: double arithmetic, N = 256, a degree-2 polynomial, rounded to
// float once.  Tier l9: N = 32, degree 3 with fused multiply-adds.
#include "elementary/exp_common.h"
#if TSR_TIER_L9
#include <immintrin.h>
#endif

using namespace tsr;
using namespace tsr::expd;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
constexpr double S = 0x1.8p52;

inline double exp_body(double x) {
    // approximation of e^r on [-0x1.62fp-8, 0x1.62fp-8], degree 6, max relative error
    // 2^-63.22 (measured by tools/gen/approximations.py)
    const double c2 = 0x1.ffffffffffffep-2, c3 = 0x1.5555555548ba1p-3, c4 = 0x1.55555555b9e25p-5,
                 c5 = 0x1.11115c090cf0fp-7, c6 = 0x1.6c15ce328986p-10;
    return exp64_frame(x, [&](double r, double r2, double t) {
        return (((r + t) + r * r2 * r2 * (c5 + c6 * r)) + r * r2 * (c3 + c4 * r)) + c2 * r2;
    });
}

// Single precision, N = 256, in double.
inline float expf_body(float x) {
    // approximation of 2^(r/256) on [-0x1p-1, 0x1p-1], degree 2, max relative error 2^-31.16
    // (measured by tools/gen/approximations.py)
    const double K = 0x1.71547652b82fep+8, c1 = 0x1.62e42fefa72c5p-9, c2 = 0x1.ebfbdff82c58ep-19;
    return f256_float<RnGuardInexact>(x, [&](double u) { return K * u; }, S, c1, c2, 0x42ad496b, 0x43000000,
                                      code::expf_overflow, code::expf_underflow);
}
#endif

}  // namespace

#if TSR_TIER_EX || TSR_TIER_E7
TSR_BODY(double, exp, (double x)) { return exp_body(x); }
TSR_BODY(float, expf, (float x)) { return expf_body(x); }
#endif
#if TSR_TIER_EX
// The reproducible expf: a copy of the ex body (__bwr_exp has a body of its own).
TSR_DEFINE(float, __bwr_expf, (float x)) { return tsr::body::expf(x); }
#endif

#if TSR_TIER_L9 || TSR_TIER_Z0 || TSR_TIER_D1
// The fused form: s carries k + 1023·64 in its low bits, so the exponent field comes out of
// one mask and shift.  z0 rounds the first step to nearest by the instruction; l9 and d1
// clear the rounding control around the core when the caller's mode is not nearest (a
// separate path, so that the usual one carries no ordering constraints).
namespace {
// The core up to the last fused multiply-add: returns v, with Tb, and the result
// fma(v, Tb, Tb).
inline double exp_fma_core(double x, double &Tb) {
    const double K = 0x1.71547652b82fep+6, S = 0x1.800000000ffcp+52;
#if TSR_TIER_Z0
    double s = avx512::fma_rn(K, x, S);
#else
    double s = __builtin_fma(K, x, S);
#endif
    double kf = s - 0x1.800000000ffcp+52;
    double r = __builtin_fma(kf, -0x1.cf79abc9e3b3ap-46, __builtin_fma(kf, -0x1.62e42fefap-7, x));
    uint32_t sl = uint32_t(bits(s));
    const MT &row = frac64[sl & 63];
    Tb = f64((uint64_t(sl & 0x3ffc0) << 46) | row.m);
    // approximation of e^r on [-0x1.62fp-8, 0x1.62fp-8], degree 5, max relative error
    // 2^-58.65 (measured by tools/gen/approximations.py)
    double A = __builtin_fma(0x1.111126eeb729ap-7, r, 0x1.555570aa70f87p-5);
    double B = __builtin_fma(0x1.55555555541d3p-3, r, 0x1.fffffffffe5bcp-2);
    double r2 = r * r;
    B = __builtin_fma(r2, A, B);
    return __builtin_fma(B, r2, r + row.t);
}

#if !TSR_TIER_Z0
__attribute__((noinline, cold)) double exp_fma_directed(double x) {
    RnGuard g;
    x = opaque(x);
    double Tb;
    double v = g.finish(exp_fma_core(x, Tb));
    return __builtin_fma(v, Tb, Tb);
}
#endif

inline double exp_fma(double x) {
    uint32_t hw = (hi(x) >> 16) & 0x7fff;
    if (hw - 0x3c80u > 0x4083u - 0x3c80u) {
        if (hw < 0x3c80) return x + 1.0;
        return __libm_exp_e7_local(x);
    }
#if !TSR_TIER_Z0
    if (!rn_probe()) return exp_fma_directed(x);
#endif
    double Tb;
    double v = exp_fma_core(x, Tb);
    return __builtin_fma(v, Tb, Tb);
}
}  // namespace
TSR_BODY(double, exp, (double x)) { return exp_fma(x); }
#endif

#if TSR_TIER_L9
// Single precision, N = 32, degree 3 in double with fused multiply-adds.  The tier that
// would be d1 is this same code: the dispatch rows give l9 on those processors.
namespace {
// T·(1 + c1·r + c2·r^2 + c3·r^3), the polynomial of the design (q = c1 + c2·r + c3·r^2 with
// the result T + (r·T)·q) grouped as T·((1 + c1·r) + r^2·(c2 + c3·r)): the two inner
// multiply-adds and r^2 run side by side, so the chain after r is fma, fma, multiply
// rather than fma, fma, fma with r·T waiting on the table.  In double the regrouping moves
// the value by a few units of 2^-53, nothing at the float result's scale.
inline double expf_fma_poly(double r, double T) {
    // approximation of e^r on [-0x1.62fp-7, 0x1.62fp-7], degree 3, max relative error
    // 2^-32.68 (measured by tools/gen/approximations.py)
    double a = __builtin_fma(0x1.55561a20a7574p-3, r, 0x1.0000a3fec6dc4p-1);
    double b = __builtin_fma(0x1.ffffffff81eecp-1, r, 1.0);
    return T * __builtin_fma(r * r, a, b);
}
inline double expf_fma_core(float x) {
    const double S = 0x1.8p52;
    double u = x;
    double s = __builtin_fma(0x1.71547652b82fep+5, u, S);
    double kf = s - S;
    double r = __builtin_fma(kf, -0x1.62e42fefa39efp-6, u);
    uint64_t sb = bits(s);
    double T = f64(bits(d32[sb & 31]) + ((sb >> 5) << 52));
    return expf_fma_poly(r, T);
}
// 32/ln 2 as a memory operand of the multiply-add below.
const double kExpfInvLn2N = 0x1.71547652b82fep+5;
__attribute__((noinline, cold)) float expf_fma_directed(float x) {
    RnGuard g;
    x = opaque(x);
    return float(g.finish(expf_fma_core(x)));
}
// Outside the core's band: below it x + 1, above it the e7 body (extremes, specials).
__attribute__((noinline, cold)) float expf_fma_edge(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    if (b < 0x31800000) return x + 1.0f;
    return __libm_expf_e7_local(x);
}
}  // namespace

// One unsigned compare for the band, the core written out straight, and one test of the
// mode by arithmetic independent of x: both leave the usual path without a taken branch.
TSR_BODY(float, expf, (float x)) {
    // |x| in [0x31800000, 0x42ad496b) as bits, the sign shifted out: one lea and one compare.
    if (__builtin_expect(bits(x) * 2u - 0x63000000u >= 0x855a92d6u - 0x63000000u, 0))
        return expf_fma_edge(x);
    const double S = 0x1.8p52;
    double u = x;
    // s = u·(32/ln 2) + S accumulated into S's register: written as the compiler would,
    // the multiply-add overwrites u's register, and u (still needed for r) is first copied
    // by a merging move that adds a cycle to the chain.
    double s;
    asm("vfmadd231sd %2, %1, %0" : "=x"(s) : "x"(u), "m"(kExpfInvLn2N), "0"(S));
    double kf = s - S;
    double r = __builtin_fma(kf, -0x1.62e42fefa39efp-6, u);
    if (__builtin_expect(!rn_probe(), 0)) return expf_fma_directed(x);
    // T stays in the vector unit: the exponent field from s by two shifts beside the row's
    // load, rather than a round trip of the sum through the integer registers.
    __m128i sv;  // s >> 5 straight from s's register (the upper lane is never used)
    asm("vpsrlq $5, %1, %0" : "=x"(sv) : "x"(s));
    __m128i ev = _mm_slli_epi64(sv, 52);
    __m128i tv = _mm_loadl_epi64(reinterpret_cast<const __m128i *>(&d32[uint32_t(bits(s)) & 31]));
    double T = _mm_cvtsd_f64(_mm_castsi128_pd(_mm_add_epi64(tv, ev)));
    return float(expf_fma_poly(r, T));
}
#endif

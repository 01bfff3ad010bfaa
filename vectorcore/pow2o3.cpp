// x^(2/3) and x^(3/2) in double and single precision: vector-core members
// (include/tsr/vectorcore.h).
//
// pow2o3 (even in x).  Range test: zero, subnormal, infinite and NaN x are flagged and go
// to the rare routine at once.  Core: E the biased exponent,
// q = floor(E/3) = (E·5462) >> 14 (exact for every E of a double), rem = E - 3q;
// x^(2/3) = 2^(2q - 682)·(2^rem c)^(2/3)·(1 + u)^(2/3) with 1023 = 3·341, c = 1 + (i + 1/2)/32
// the centre of the row of x's top five mantissa bits and u = (m - c)/c, |u| <= 1/65: m - c
// is exact (both are words of one binade), the product by -1/c rounds once.  (2^rem c)^(2/3)
// is a table pair hi + lo (tools/gen/expm1_tables.py); (1 + u)^(2/3) = 1 + u P(u) with P of
// degree 6 (error 2^-53.2 of P, 2^-59 of the result).  result = hi·F + (u·(hi·F)·P(u) + lo·F):
// the scaling by F is exact, the correction is below 1/90 of the result, so the sum rounds
// once and the error stays below 0.51 ulp.
// Exact results: x^(2/3) is a double only when |x| = s^3 for a double s whose cube is one
// (s of at most 18 bits, the result s^2 of at most 36 bits).  A result within two ulps of a
// number of 36 bits is checked: c that number, s = sqrt(c) exact, c·s = |x| exact; then c is
// returned with the inexact flag as the caller had it (the control word read on entry).
// Rare routine: zero, infinity and NaN give x·x (+0, +inf, a quiet NaN); a subnormal is
// scaled by 2^99, run through the core and scaled back by 2^-66, exactly.  No report.
// pow2o3f: the double core on the float argument (every float is a normal double or zero),
// rounded to float once more: below 0.5 + 2^-28 ulp, exact cubes exact.
//
// pow3o2 (x >= 0).  Range test: the flag is set unless 2^-600 <= x < 2^682 (high word from
// 0x1a700000 to 0x6a800000, as a signed compare, so negative x is flagged), where x^(3/2)
// and every step (the correction e·s/2 is 2^-54 of the result) are normal, so that no
// underflow is raised for a normal result; a flagged lane runs on 4.  Core: s = sqrt(x) correctly
// rounded, e = x - s^2 exactly (fused in l9, Dekker's product in ex), and
// x^(3/2) = x·s + x·e/(2s) = x·s + e·s/2 + O(e^2/s).  Tier ex: x·s as an exact product
// p + pl, the result p + (pl + e·s/2), one rounding of a sum whose small part is below 2^-52
// of it.  Tiers l9 and d1: fma(x, s, e·(s/2)), the same single rounding with x·s exact inside
// the fused operation (three steps after the root instead of five).
// Exact results come out exact without help: sqrt is exact exactly for a perfect square,
// and then every product is of short numbers.
// Rare routine: NaN: x + 0; +inf: +inf; +-0: +0; x < 0: NaN, invalid, domain code; x from
// 0x1.965fea53d6e3dp+682 on: x·x, overflow code; below 2^-717·1.14 (high word 0x13240000,
// where x^(3/2) is below half the smallest subnormal): x·x, underflow code; below the
// core's range: the core on x·2^120, times 2^-180 (its products stay normal), rounded once
// on the subnormal grid with the underflow code where x < 0x1.965fea53d6e3cp-682 (result
// below 2^-1022); above the core's range, up to the overflow threshold: the core on x/4,
// times 8.
// pow3o2f: tier ex in double, x·sqrt(x) rounded to double then to float (below 0.5 + 2^-28
// ulp), the flag set unless 2^-68 <= x <= 2^84; tiers l9 and d1 the double's l9 scheme in
// float (below), from 2^-51; the rare routine as the double's, with the
// float thresholds 0x1.428a3p+85 (overflow), 2^-101 (x·x underflows) and 2^-84 (subnormal
// result, underflow code).
#include <emmintrin.h>

#include "elementary/expm1_data.h"
#include "tsr/codes.h"
#include "tsr/dd.h"
#include "tsr/format.h"
#include "tsr/lane.h"
#include "tsr/vectorcore.h"

using namespace tsr;
using namespace tsr::vc;
using namespace tsr::em1;

// The rare routines (defined by tier ex, shared by every tier).
extern "C" {
int __libm_dpow2o3_cout_rare(const double *px, double *result) noexcept TSR_HIDDEN;
int __libm_spow2o3_cout_rare(const float *px, float *result) noexcept TSR_HIDDEN;
int __libm_dpow3o2_cout_rare(const double *px, double *result) noexcept TSR_HIDDEN;
int __libm_spow3o2_cout_rare(const float *px, float *result) noexcept TSR_HIDDEN;
}

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr uint32_t kMxcsrInexact = 0x20;

inline double sqrt_rn(double x) { return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_setzero_pd(), _mm_set_sd(x))); }


// ---- pow2o3 ----------------------------------------------------------------------------------
constexpr uint32_t k23Low = 0x00100000u, k23High = 0x7fefffffu;  // |x| normal, finite
constexpr uint32_t k23Shift = range_shift(k23Low), k23Limit = range_limit(k23Low, k23High);

// The core on |x| with high word ha (normal or the stand-in); keep is 0 on a flagged lane.
template <bool Fma>
inline double p23_core(double a, uint64_t keep) {
    uint64_t b = bits(a);
    uint32_t h = uint32_t(b >> 32);
    uint32_t E = h >> 20;
    uint32_t q = (E * 5462u) >> 14, rem = E - 3 * q;
    uint32_t i = (h >> 15) & 31;
    double mneg = f64((b & 0x000fffffffffffffull) | 0xbff0000000000000ull);   // -m
    double cneg = f64(0xbff0400000000000ull + (uint64_t(i) << 47));           // -c
    double u = (mneg - cneg) * p23_rcp[i];                                     // (m - c)/c
    double F = from_words((q << 21) + 0x15500000u, 0);                         // 2^(2q - 682)
    const HiLo &row = p23_rows[32 * rem + i];
    double hF = and_mask(row.hi, keep) * F, lF = and_mask(row.lo, keep) * F;
    // (1 + u)^(2/3) = 1 + u P(u), |u| <= 1/64: P's error 2^-53.24 (tools/gen/expm1_tables.py).
    double p = dd::mul_add<Fma>(0x1.5a6eaa3effaf7p-7, u, -0x1.c69d9bf1d426fp-7);
    p = dd::mul_add<Fma>(p, u, 0x1.3aa50b1954e55p-6);
    p = dd::mul_add<Fma>(p, u, -0x1.d7f791d664b46p-6);
    p = dd::mul_add<Fma>(p, u, 0x1.948b0fcd71f02p-5);
    p = dd::mul_add<Fma>(p, u, -0x1.c71c71c71cd70p-4);
    p = dd::mul_add<Fma>(p, u, 0x1.5555555555555p-1);
    return hF + dd::mul_add<Fma>(u * hF, p, lF);
}

// An exact result: c near r with 36 significant bits, c = s^2 and c·s = |x| exactly.
template <bool Fma>
__attribute__((noinline, cold)) double p23_exact(double a, double r, uint32_t saved) {
    double c = f64((bits(r) + 0x10000u) & ~uint64_t(0x1ffff));
    if (bits(c) - 0x0010000000000000ull >= 0x7fe0000000000000ull - 0x0010000000000000ull) return r;
    double s = sqrt_rn(c);
    dd::DD ss = dd::two_prod<Fma>(s, s), cs = dd::two_prod<Fma>(c, s);
    if (ss.h != c || ss.l != 0 || cs.h != a || cs.l != 0) return r;
    set_mxcsr((get_mxcsr() & ~kMxcsrInexact) | (saved & kMxcsrInexact));
    return c;
}

}  // namespace

#if TSR_TIER_EX
extern "C" int __libm_dpow2o3_cout_rare(const double *px, double *result) noexcept {
    double x = *px;
    uint64_t ax = bits(x) & 0x7fffffffffffffffull;
    if (ax == 0 || ax >= 0x7ff0000000000000ull) {
        *result = x * x;
    } else if (ax < 0x0010000000000000ull) {
        *result = p23_core<false>(f64(ax) * 0x1p99, ~0ull) * 0x1p-66;  // both scalings exact
    } else {
        *result = p23_core<false>(f64(ax), ~0ull);
    }
    return 0;
}
extern "C" int __libm_spow2o3_cout_rare(const float *px, float *result) noexcept {
    float x = *px;
    uint32_t ax = bits(x) & 0x7fffffffu;
    if (ax == 0 || ax >= 0x7f800000u) *result = x * x;
    else *result = float(p23_core<false>(double(f32(ax)), ~0ull));
    return 0;
}
#endif

namespace {

// An exact pow2o3 needs x = s^3: the odd part m of x's significand a cube, and the exponent
// of m's unit a multiple of 3.  The cubic residues mod 15561 = 7 9 13 19 (315 of them) as a
// bitset: a random x passes both tests about once in 150, and only then (or when flagged)
// is the control word read before the core, for the exact-result check (the read costs
// about half the core on this processor).
// Trailing zeros of a non-zero word: tzcnt from l9 on, bsr of the lowest set bit before.
inline uint32_t trailing_zeros(uint64_t v) {
    if constexpr (kFma) return uint32_t(__builtin_ctzll(v));
    else return uint32_t(63 - __builtin_clzll(v & -v));
}
constexpr uint32_t kCubeMod64 = 7 * 9 * 13 * 19;
struct CubeSet64 {
    uint64_t w[(kCubeMod64 + 63) / 64];
};
constexpr CubeSet64 make_cube_set64() {
    CubeSet64 c{};
    for (uint64_t r = 0; r < kCubeMod64; ++r) {
        uint64_t q = r * r % kCubeMod64 * r % kCubeMod64;
        c.w[q >> 6] |= uint64_t(1) << (q & 63);
    }
    return c;
}
constexpr CubeSet64 kCubeSet64 = make_cube_set64();
// False where x (positive normal finite, as bits) is certainly not a cube.
inline bool may_be_cube64(uint64_t ax) {
    uint32_t E = uint32_t(ax >> 52);
    uint64_t M = (ax & 0x000fffffffffffffull) | 0x0010000000000000ull;
    uint32_t tz = trailing_zeros(M);
    uint64_t r = (M >> tz) % kCubeMod64;
    if (!((kCubeSet64.w[r >> 6] >> (r & 63)) & 1)) return false;
    return (E + tz + 2u) % 3u == 0;  // m's unit is 2^(E - 1075 + tz), and 1075 = 1 mod 3
}

template <bool Fma>
__attribute__((noinline, cold)) double pow2o3_checked(double x) {
    uint32_t saved = get_mxcsr();
    uint64_t ax = bits(x) & 0x7fffffffffffffffull;
    uint32_t flag = outside(uint32_t(ax >> 32), k23Shift, k23Limit);
    // The argument's test exits at once: a scalar body gains nothing from running the core
    // on a stand-in (and the exit's frame, kept apart, leaves the usual path without one).
    double r;
    if (__builtin_expect(flag, 0)) r = rare_exit(x, x, __libm_dpow2o3_cout_rare);
    else r = p23_core<Fma>(f64(ax), ~0ull);
    // (A subnormal x = s^3 has its exact result too: the check follows either way.)
    if (__builtin_expect(((bits(r) + 2) & 0x1ffff) <= 4, 0)) return p23_exact<Fma>(f64(ax), r, saved);
    return r;
}

template <bool Fma>
inline double pow2o3_d(double x) {
    uint64_t ax = bits(x) & 0x7fffffffffffffffull;
    uint32_t flag = outside(uint32_t(ax >> 32), k23Shift, k23Limit);
    if (__builtin_expect(flag, 0) || __builtin_expect(may_be_cube64(ax), 0)) return pow2o3_checked<Fma>(x);
    return p23_core<Fma>(f64(ax), ~0ull);
}

// pow2o3f's exact results come from x = s^3 with s^2 a float: s of at most 12 significant
// bits, s^3 of at most 24, so s of at most 8: the odd part m of x's significand is the cube
// of an odd number up to 255 (128 of them), and the exponent of m's unit a multiple of 3.
// The residues of those cubes mod 4093 as a bitset: any other x fails the test about 98.9%
// of the time by integer work off the path, and only the rest reads the control word
// (whose read costs about as much as the whole core on this processor) before the core.
constexpr uint32_t kCubeMod = 4093;
struct CubeSet {
    uint64_t w[(kCubeMod + 63) / 64];
};
constexpr CubeSet make_cube_set() {
    CubeSet c{};
    for (uint64_t s = 1; s <= 255; s += 2) {
        uint64_t r = s * s * s % kCubeMod;
        c.w[r >> 6] |= uint64_t(1) << (r & 63);
    }
    return c;
}
constexpr CubeSet kCubeSet = make_cube_set();
// False where x (positive, finite, non-zero, as bits) is certainly not such a cube.
inline bool may_be_cube(uint32_t ax) {
    uint32_t E = ax >> 23;
    uint32_t M = (ax & 0x007fffffu) | (E ? 0x00800000u : 0u);
    uint32_t tz = trailing_zeros(M);
    uint32_t r = (M >> tz) % kCubeMod;
    if (!((kCubeSet.w[r >> 6] >> (r & 63)) & 1)) return false;
    return (E + (E == 0) + tz) % 3u == 0;  // m's unit is 2^(E - 150 + tz), 150 a multiple of 3
}

template <bool Fma>
__attribute__((noinline, cold)) float pow2o3f_cube(float x) {
    uint32_t saved = get_mxcsr();
    double a = f32(bits(x) & 0x7fffffffu);
    double r = p23_core<Fma>(a, ~0ull);
    if (((bits(r) + 2) & 0x1ffff) <= 4) r = p23_exact<Fma>(a, r, saved);
    return float(r);
}

template <bool Fma>
inline float pow2o3_f(float x) {
    uint32_t ax = bits(x) & 0x7fffffffu;
    // Zeros, infinities and NaNs flagged; the float's subnormals are normal doubles.
    uint32_t flag = uint32_t(ax - 1u >= 0x7f800000u - 1u);
    if (__builtin_expect(flag, 0)) return rare_exit(x, x, __libm_spow2o3_cout_rare);  // as above
    if (__builtin_expect(may_be_cube(ax), 0)) return pow2o3f_cube<Fma>(x);
    return float(p23_core<Fma>(double(f32(ax)), ~0ull));
}

}  // namespace

TSR_BODY(double, pow2o3, (double x)) { return pow2o3_d<kFma>(x); }
TSR_BODY(float, pow2o3f, (float x)) { return pow2o3_f<kFma>(x); }
#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_pow2o3, (double x)) { return pow2o3_d<false>(x); }
TSR_DEFINE(float, __bwr_pow2o3f, (float x)) { return pow2o3_f<false>(x); }
#endif

// ---- pow3o2 ----------------------------------------------------------------------------------
namespace {

constexpr uint32_t k32Low = 0x1a700000u, k32High = 0x6a800000u;
constexpr uint32_t k32Shift = range_shift(k32Low), k32Limit = range_limit(k32Low, k32High);

// x^(3/2) as h + l, h the rounded product x·s.
template <bool Fma>
inline dd::DD p32_parts(double x) {
    double s = sqrt_rn(x);
    double e;
    if constexpr (Fma) {
        e = __builtin_fma(-s, s, x);
    } else {
        dd::DD q = dd::two_prod<false>(s, s);
        e = (x - q.h) - q.l;  // x - q.h exact (Sterbenz), q.l and the rest exact
    }
    // Without fma: x s from truncated halves (no multiplication by the splitter, which would
    // round and raise inexact for an exact square of more than 26 bits); its last partial
    // product rounds only when both low halves are long, far below the result's ulp.
    dd::DD p = Fma ? dd::two_prod<true>(x, s) : dd::two_prod_cut(x, s);
    return {p.h, dd::mul_add<Fma>(0.5 * e, s, p.l)};
}
template <bool Fma>
inline double p32_core(double x) {
    if constexpr (Fma) {
        // x^(3/2) = x s + e s/2 + 3 e^2/(8 s) + ...: the correction e (s/2) (s/2 exact) is
        // below 2^-53 of the result and errs by 2^-52 of itself, the next term is 2^-106 of
        // the result: fma(x, s, e (s/2)) rounds once to within 0.5 + 2^-51 ulp.  A square x
        // has e = 0 and its exact power comes out exact.
        // Written out: the compiler's own choice put two blends (a copy of x into a fresh
        // register for the root, a copy of s for the residual) on the path.
        double r, e;
        __asm__("vsqrtsd %[x], %[x], %[r]" : [r] "=x"(r) : [x] "x"(x));
        __asm__("vmovapd %[x], %[e]\n\tvfnmadd231sd %[r], %[r], %[e]" : [e] "=&x"(e) : [x] "x"(x), [r] "x"(r));
        return __builtin_fma(x, r, e * (0.5 * r));
    } else {
        dd::DD p = p32_parts<Fma>(x);
        return p.h + p.l;
    }
}
// (h + l)·2^-180 rounded once where it is subnormal: the sum is rounded on the grid of the
// subnormals (2^-894 before the scaling) by an offset C = 2^-842 whose ulp that is, the first
// sum's error kept exactly, then the offset taken away and the scaling done, both exact.
inline double p32_subnormal(dd::DD v) {
    const double C = 0x1p-842;
    double s1 = C + v.h;
    double e1 = (C - s1) + v.h;
    double s = s1 + (e1 + v.l);
    // Inexact (then the tiny result underflows) unless the grid point is the whole sum.
    if ((s - s1) - e1 != v.l) raise_underflow();
    return (s - C) * 0x1p-180;
}

// The rare path shared by both formats (T the format, D its double computation).
template <class T, bool Fma>
inline int p32_rare(T x, T *result, int over, int under, int domain) {
    using F = Format<T>;
    auto ux = F::bits(x);
    auto ax = ux & F::abs;
    constexpr bool dbl = sizeof(T) == 8;
    if (ax > F::inf) { *result = x + T(0); return 0; }
    if (ax == 0) { *result = T(0); return 0; }
    if (ux & F::sign) { *result = opaque(T(0)) * opaque(F::from(F::inf)); return domain; }
    if (ux == F::inf) { *result = x; return 0; }
    if constexpr (dbl) {
        if (ux >= 0x6a9965fea53d6e3dull) { *result = x * x; return over; }
        // Below 2^-716.67 the result is under half the smallest subnormal.
        if (ux < 0x1324000000000000ull) { *result = x * x; return under; }
        if (ux < 0x1a70000000000000ull) {  // below the core: on x·2^120, then 2^-180
            if (ux < 0x155965fea53d6e3cull) {
                *result = p32_subnormal(p32_parts<Fma>(x * 0x1p120));
                return under;
            }
            *result = p32_core<Fma>(x * 0x1p120) * 0x1p-180;
            return 0;
        }
        // Above the core: on x/4, then 8, so that no step of the core overflows.
        *result = p32_core<Fma>(x * 0.25) * 8.0;
        return 0;
    } else {
        if (ux >= 0x6a214518u) { *result = x * x; return over; }
        if (ux < 0x0d000000u) { *result = x * x; return under; }
        *result = float(p32_core<Fma>(double(x)));
        return ux <= 0x157fffffu ? under : 0;
    }
}

}  // namespace

#if TSR_TIER_EX
extern "C" int __libm_dpow3o2_cout_rare(const double *px, double *result) noexcept {
    return p32_rare<double, false>(*px, result, code::pow3o2_overflow, code::pow3o2_underflow,
                                   code::pow3o2_domain);
}
extern "C" int __libm_spow3o2_cout_rare(const float *px, float *result) noexcept {
    return p32_rare<float, false>(*px, result, code::pow3o2f_overflow, code::pow3o2f_underflow,
                                  code::pow3o2f_domain);
}
#endif

namespace {

// pow3o2f, tiers l9 and d1: x^(3/2) in float with fused multiply-add, as the double's:
// s = sqrt(x) correctly rounded, d = x - s^2 exact, fma(x, s, d (s/2)) rounded once (the
// correction's own error near 2^-47 of the result); a square x gives d = 0 and its exact
// power exactly.  Both forms keep the correctly rounded square root in place of the
// reciprocal square root estimate and its refinement: on this processor the square root
// instruction is fast (the estimate, one Newton step and the folded correction measured
// 4.7 ticks of throughput and 21 of latency against 3.9 and 18.5 for the square root), and it
// makes every exact power exact without a second path.  Over every float of the range the
// result is the correctly rounded one but at x = 4^k (1 - 2^-24) (all 23 mantissa bits set,
// an even power of two), whose power lies 3/8 2^-48 above a midpoint of the floats: the
// neglected term 3 d^2/(8s) is that distance, and the sum lands on the midpoint itself.
// Those x (a pattern no other x shares) take the double square root, which leaves 2^-52.
template <int = 0>
inline float pow3o2f_fma(float x) {
    __m128 xv = lane(x);
    float s = _mm_cvtss_f32(_mm_sqrt_ss(xv));
    return __builtin_fmaf(x, s, __builtin_fmaf(-s, s, x) * (0.5f * s));
}

template <int = 0>
__attribute__((cold, noinline)) float pow3o2f_short(float x) {
    double d = x;
    return float(d * sqrt_rn(d));
}

template <bool Fma>
inline double pow3o2_d(double x) {
    uint32_t flag = outside(hi(x), k32Shift, k32Limit);
    if constexpr (Fma) {
        // The argument's test exits at once (a scalar body gains nothing from running the
        // core on a stand-in).
        if (__builtin_expect(flag, 0)) return rare_exit(x, x, __libm_dpow3o2_cout_rare);
        return p32_core<Fma>(x);
    } else {
        double r = p32_core<Fma>(select(mask_of(flag), 4.0, x));
        return finish(flag, x, r, __libm_dpow3o2_cout_rare);
    }
}

template <bool Fma>
inline float pow3o2_f(float x) {
    // 2^-68 <= x <= 2^84 (2^-51 with the folded correction, which stays normal only from
    // there: it can be as small as 2^-49 of the result) as bits, a signed compare (negative
    // x flagged).
    constexpr uint32_t lo = Fma ? 0x26000000u : 0x1d800000u;
    uint32_t flag = outside(bits(x), range_shift(lo), range_limit(lo, 0x69800000u));
    if constexpr (Fma) {
        if (__builtin_expect(flag, 0)) return rare_exit(x, x, __libm_spow3o2_cout_rare);
        if (__builtin_expect((bits(x) & 0x7fffffu) == 0x7fffffu, 0)) return pow3o2f_short(x);
        return pow3o2f_fma(x);
    } else {
        double d = select(mask32_of(flag), 4.0f, x);
        return finish(flag, x, float(d * sqrt_rn(d)), __libm_spow3o2_cout_rare);
    }
}

}  // namespace

TSR_BODY(double, pow3o2, (double x)) { return pow3o2_d<kFma>(x); }
TSR_BODY(float, pow3o2f, (float x)) { return pow3o2_f<kFma>(x); }
#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_pow3o2, (double x)) { return pow3o2_d<false>(x); }
TSR_DEFINE(float, __bwr_pow3o2f, (float x)) { return pow3o2_f<false>(x); }
#endif

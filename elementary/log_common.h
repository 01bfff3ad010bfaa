// What the logarithm bodies share: the reciprocal estimate, the error report, the pole and
// domain results, and the frame of the no-FMA double tiers of log, log2 and log10.
#pragma once
#include <immintrin.h>

#include <array>
#include <bit>

#include "elementary/log_data.h"
#include "tsr/common.h"
#include "tsr/lane.h"
#include "tsr/codes.h"
#include "tsr/format.h"
#include "tsr/report.h"

namespace tsr::logk {
namespace {

// The processor's reciprocal estimate of a float (rcpss).  Its last bits depend on the
// processor; every caller rounds it to a few bits and takes R and the table row from the
// same rounded bits, so the reduction stays exact whatever it returns.
inline float rcp(float x) { return _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(x))); }

// Pole: -1/0 with divide-by-zero.  Domain: 0*inf with invalid.  Each stores its default
// result and hands it to the error interpreter with the condition's code.
template <class T>
inline T pole(T x, int code) {
    return report(x, opaque(T(-1)) / opaque(T(0)), code);
}
template <class T>
inline T domain(T x, int code) {
    return report(x, opaque(T(0)) * opaque(T(__builtin_inf())), code);
}

// Domain by 0/0, for the bodies whose default NaN comes from a division.
template <class T>
inline T domain_div(T x, int code) {
    return report(x, opaque(T(0)) / opaque(T(0)), code);
}

// log10 at the powers of ten that are exact: 10^k for k = 1..22 in double, 1..10 in float;
// the answer k is exact and raises nothing.  A binade [2^e, 2^(e+1)) holds at most one power
// of ten, 10^k with k = ceil(e log10 2), which (1233 e + 4095) >> 12 gives for 0 < e < 74.
inline constexpr auto kPow10Bits = [] {
    std::array<uint64_t, 23> t{};
    double p = 1;
    for (int k = 0; k < 23; ++k, p *= 10) t[k] = std::bit_cast<uint64_t>(p);  // exact products
    return t;
}();
inline bool log10_exact(uint64_t b, double *k) {
    int e = int(b >> 52) - 1023;
    if (unsigned(e - 3) > 70u) return false;
    int c = (e * 1233 + 4095) >> 12;
    if (c > 22 || kPow10Bits[c] != b) return false;
    *k = double(c);
    return true;
}
inline bool log10f_exact(uint32_t b, float *k) {
    int n = int(b >> 23) - 127;
    if (unsigned(n) > 34u) return false;
    const uint32_t *p = logtab::log10f_pow10[(n * 0x5556) >> 16];
    if (p[0] != b) return false;
    *k = f32(p[1]);
    return true;
}

// log1p at a non-zero x so small that x^2/2 lies below half an ulp of x: the value is
// x - x^2/2, which rounds to x or to x's neighbour toward -inf as the caller's mode says,
// and is inexact; a subnormal x underflows too.  x is moved 2^200 up, where |x|·2^-80 (far
// below half an ulp, far above the subnormal range) stands for x^2/2 in one subtraction
// that rounds in the caller's mode, and moved back exactly (for a subnormal result, by a
// second rounding in the same direction, which gives the same value).  A subnormal x is
// moved up by integer work, so that denormals-are-zero does not see a zero; with
// flush-to-zero set the rounded value would come back as zero, and x itself, the result
// to nearest, is returned.
inline double log1p_tiny(double x) {
    double X;
    if ((bits(x) & 0x7fffffffffffffffull) < 0x0010000000000000ull) {
        force(opaque(0x1p-1022) * 0x1p-1022);  // underflow and inexact
        if (get_mxcsr() & MXCSR_FTZ) return x;
        X = scale_subnormal(x, 200);
    } else {
        X = x * 0x1p200;
    }
    return (X - __builtin_fabs(X) * 0x1p-80) * 0x1p-200;
}

// The same for float, in double: |x|·2^-60 stands for x^2/2 (|x| < 2^-24), and the double
// result, rounded in the caller's mode, rounds to float in the same direction.
inline float log1pf_tiny(float x) {
    double u;
    if ((bits(x) & 0x7fffffffu) < 0x00800000u) {
        force(opaque(0x1p-126f) * 0x1p-126f);  // underflow and inexact
        if (get_mxcsr() & MXCSR_FTZ) return x;
        u = double(scale_subnormal(x, 64)) * 0x1p-64;
    } else {
        u = x;
    }
    return float(u - __builtin_fabs(u) * 0x1p-60);
}

// What log1pf's ex body and its reproducible form share before the logarithm of 1 + x: NaNs,
// the pole at -1, the domain below it, and |x| < 2^-28, where log(1 + x) = x - x^2/2 to within
// 2^-57 relative (the next term, x^3/3, is below 2^-56 of x).  True with *r set when the
// answer is known; otherwise 1 + x in double is exact (x's last bit is at least 2^-51) or,
// above 2^29, off by far less than the float result's ulp.
inline bool log1pf_front(float x, float *r) {
    double u = x;
    uint32_t b = bits(x);
    if ((b << 1) > 0xff000000u) return *r = x + x, true;
    if (b == 0xbf800000u) return *r = pole(x, code::log1pf_argument_minus_1), true;
    if (b > 0xbf800000u) return *r = domain(x, code::log1pf_argument_below_minus_1), true;
    if ((b & 0x7fffffffu) >= 0x31800000u) return false;  // |x| >= 2^-28
    if ((b << 1) == 0) *r = x;
    else if ((b & 0x7fffffffu) < 0x00800000u) *r = log1pf_tiny(x);
    // approximation of log(1 + x) on [-0x1p-28, 0x1p-28], degree 2, max relative error
    // 2^-57.58 (measured by tools/gen/approximations.py)
    else *r = float(u - u * u * 0.5);
    return true;
}

#ifdef __AVX2__
// The FMA tiers' reduction of a positive normal double's mantissa, kept in the vector unit
// (a round trip through the integer registers would sit on the critical path): the float
// 1.m, its reciprocal estimate (times c) rounded to 7 bits, v = its top 16 bits, R = v << 45
// as a double (R carries 2^-896), and the mantissa under exponent field 0x77f.  The row
// index comes from v in the integer unit, off the path to r.
struct FmaRed {
    double R, w;
    uint32_t v;
};
alignas(16) inline constexpr uint64_t kRedMant[2] = {0x000fffffffffffffull, 0};
alignas(16) inline constexpr uint64_t kRedF[2] = {0x07f0000000000000ull, 0};
alignas(16) inline constexpr uint64_t kRedW[2] = {0x77f0000000000000ull, 0};
alignas(16) inline constexpr uint32_t kRedRound[4] = {0x8000, 0, 0, 0};
// The reductions below read lane 0 alone (tsr::lane) or clear the rest by a mask.

template <bool WithC>
inline FmaRed fma_reduce(double x, float c = 1.0f) {
    auto ld = [](const void *p) { return _mm_load_si128(static_cast<const __m128i *>(p)); };
    __m128i xb = _mm_castpd_si128(tsr::lane(x));
    // the mask clears the upper lanes: from here on only lane 0 is ever non-zero
    __m128i mf0 = or_masked(ld(kRedF), xb, ld(kRedMant));
    __m128i mf = _mm_srli_epi64(mf0, 29);
    __m128 rc = _mm_rcp_ss(_mm_castsi128_ps(mf));
    if constexpr (WithC) rc = _mm_mul_ss(rc, _mm_set_ss(c));
    __m128i vi = _mm_srli_epi32(_mm_add_epi32(_mm_castps_si128(rc), ld(kRedRound)), 16);
    __m128i Ri = _mm_slli_epi64(vi, 45);
    // the mantissa under exponent field 0x77f, from mf before its shift (0x07f's bits lie in 0x77f)
    __m128i wi = _mm_or_si128(mf0, ld(kRedW));
#ifdef __AVX512VL__
    // The row index rounded again in the integer unit: the move out of the vector unit starts
    // from the estimate itself, and an integer add and shift are shorter than the vector ones
    // (z0: 0.2 ticks less latency and throughput in log; the l9 body measured 0.3 ticks more
    // latency this way, so it moves v).
    uint32_t v = (uint32_t(_mm_cvtsi128_si32(_mm_castps_si128(rc))) + kRedRound[0]) >> 16;
#else
    uint32_t v = uint32_t(_mm_cvtsi128_si32(vi));
#endif
    return {_mm_cvtsd_f64(_mm_castsi128_pd(Ri)), _mm_cvtsd_f64(_mm_castsi128_pd(wi)), v};
}

// The (hi, lo) row of a 129-row table for the rounded estimate's top bits v, as two loads
// addressed base + offset (written out: the compiler would otherwise add the offset into
// the base first, one more step before the loads; the tables are constant, so the loads
// need no ordering against stores).  v runs over one contiguous stretch,
// v0 .. v0 + 128 (the estimate's error keeps the rounded value inside it), where the row
// number v & 0xff, or (v + k) & 0xff, equals v - v0: the subtraction folds into the base,
// leaving one shift between the move out of the vector unit and the load.
struct Row {
    double hi, lo;
};
inline Row row16(const double *table, uint32_t v, uint32_t v0) {
    uintptr_t base = reinterpret_cast<uintptr_t>(table) - uintptr_t(v0) * 16;
    asm("" : "+r"(base));  // keep the displacement in the base, not in the index
    uintptr_t off = uintptr_t(v) * 16;
    double hi, lo;
    asm("vmovsd (%1,%2), %0" : "=x"(hi) : "r"(base), "r"(off) : );
    asm("vmovsd 8(%1,%2), %0" : "=x"(lo) : "r"(base), "r"(off) : );
    return {hi, lo};
}

// The same for a table stored as two arrays (Rows129): the index scaled by 8 in the
// address itself, so the shift goes too, and a base register for each array (an address
// of base, scaled index and displacement takes a cycle longer on some processors).
inline Row row8(const logtab::Rows129 &table, uint32_t v, uint32_t v0) {
    uintptr_t bh = reinterpret_cast<uintptr_t>(&table.hi[0]) - uintptr_t(v0) * 8;
    uintptr_t bl = reinterpret_cast<uintptr_t>(&table.lo[0]) - uintptr_t(v0) * 8;
    asm("" : "+r"(bh), "+r"(bl));
    uintptr_t idx = v;
    double hi, lo;
    asm("vmovsd (%1,%2,8), %0" : "=x"(hi) : "r"(bh), "r"(idx));
    asm("vmovsd (%1,%2,8), %0" : "=x"(lo) : "r"(bl), "r"(idx));
    return {hi, lo};
}

// The FMA tiers' polynomial of ln(1 + r) beyond its linear term, with lo added: three levels
// in s = r^2 (log1p passes the square of r corrected for the rounding of 1 + x).
inline double log_fma_poly(double r, double s, double lo) {
    // approximation of log(1 + r) on [-0x1.182p-8, 0x1.182p-8], degree 7, max relative error
    // 2^-62.45 (measured by tools/gen/approximations.py)
    double A = __builtin_fma(0x1.2494ada7861ffp-3, r, -0x1.55576d47e8a7ap-3);
    double B = __builtin_fma(0x1.9999999788658p-3, r, -0x1.fffffffebf6c8p-3);
    double C = __builtin_fma(0x1.555555555555ap-2, r, -0x1.0000000000001p-1);
    return __builtin_fma(__builtin_fma(__builtin_fma(s, A, B), s, C), s, lo);
}
#endif

enum class Base { e, two, ten };

// Double log, log2, log10 without fused multiply-add (tiers ex and e7: one algorithm).
// The mantissa, as a float 1.m, gets the reciprocal estimate (times c, the target of the
// reduction); rounded to 7 bits it is both the multiplier R and the row of -log R.  Its
// bits, moved into a double with a tiny exponent field, make w*R near c with w the
// mantissa under a huge exponent field, so no further scaling is needed; w is split so
// that both partial products are exact.
template <Base B>
inline double frame(double x) {
    constexpr int pole_code = B == Base::e     ? code::log_argument_0
                              : B == Base::two ? code::log2_argument_0
                                               : code::log10_argument_0;
    constexpr int dom_code = B == Base::e     ? code::log_argument_negative
                             : B == Base::two ? code::log2_argument_negative
                                              : code::log10_argument_negative;
    uint64_t b = bits(x);
    uint32_t t = uint32_t(b >> 48);
    int bias = 0x3ff;
    // log(1) is +0 in every rounding mode (the arithmetic gives -0 rounding downward).
    if (b == 0x3ff0000000000000ull) return 0.0;
    if (t - 0x10u >= 0x7fe0u) {
        if (t >= 0x8000) {
            if ((b << 1) > 0xffe0000000000000ull) return x + x;
            if ((b << 1) == 0) return pole(x, pole_code);
            return domain(x, dom_code);
        }
        if (t >= 0x7ff0) return x + x;
        if (b == 0) return pole(x, pole_code);
        x = scale_subnormal(x, 128);
        b = bits(x);
        bias += 128;
    }
    if constexpr (B == Base::ten) {
        double k;
        if (log10_exact(b, &k)) return k;
    }
    float m = f32(uint32_t(uint32_t((b | 0x3ff0000000000000ull) >> 27) >> 2));
    float rc = rcp(m);
    if constexpr (B == Base::two) rc = rc * 0x1.72p+0f;  // 1.4453125
    if constexpr (B == Base::ten) rc = rc * 0x1.bcp-2f;  // 0.43359375
    uint32_t rw = bits(rc) + 0x8000;
    int row = int((rw >> 16) & 0xff) - (B == Base::two ? 57 : B == Base::ten ? 94 : 0);
    double w = f64((b & 0x000fffffffffffffull) | 0x77f0000000000000ull);
    double rd = f64((uint64_t(rw) << 29) & 0xffffe00000000000ull);
    constexpr uint64_t cut = B == Base::e ? 0xffffe00000000000ull : 0xfffffffff8000000ull;
    constexpr double c = B == Base::e ? 1.0 : B == Base::two ? 1.4453125 : 0.43359375;
    double wh = f64(bits(w) & cut), wl = w - wh;
    double r = (wh * rd - c) + wl * rd;
    int n = int(b >> 52) - bias;
    // The row (hi, lo) of log_b(c/R); H = hi plus n log_b 2 (its head: exact), S = H + r and
    // its rounding error e1.
    const auto &rows = B == Base::e     ? logtab::log_neg129_ex
                       : B == Base::two ? logtab::log2_rows_ex
                                        : logtab::log10_rows_ex;
    double hi = rows[row][0], lo = rows[row][1];
    double N = 16.0 * n;
    double H = B == Base::e     ? hi + N * 0x1.62e42fefa38p-5
               : B == Base::two ? hi + double(n)
                                : hi + N * 0x1.34413509f78p-6;
    double S = H + r;
    double e1 = r + (H - S);
    double a0, a1, b0, b1, c0, c1, Z;
    if constexpr (B == Base::e) {
        Z = e1 + (N * 0x1.ef35793c7673p-49 + lo);
        // approximation of log(1 + r) on [-0x1.182p-8, 0x1.182p-8], degree 7, max
        // relative error 2^-58.98 (measured by tools/gen/approximations.py)
        a0 = 0x1.2492492492492p-3, a1 = -0x1p-2;
        b0 = -0x1.5555e3d6fb175p-3, b1 = 0x1.5555555555555p-2;
        c0 = 0x1.999999999999ap-3, c1 = -0x1p-1;
    } else if constexpr (B == Base::two) {
        // log2(e)/c - 1: the linear term's correction
        Z = e1 + (lo - 0x1.dabe1161bb241p-10 * r);
        // approximation of log2(1 + r/1.4453125) on [-0x1.94ep-8, 0x1.94ep-8], degree 7,
        // max relative error 2^-58.90 (measured by tools/gen/approximations.py)
        a0 = 0x1.004f2518775e3p-6, a1 = -0x1.528db9f95985ap-4;
        b0 = -0x1.b030cd737db11p-6, b1 = 0x1.4635e486ececcp-3;
        c0 = 0x1.76c9bac8349bbp-5, c1 = -0x1.619b6b3841d2ap-2;
    } else {
        // log10(e)/c - 1
        Z = (e1 + 0x1.a7a6cbf2e4108p-10 * r) + (N * 0x1.fef311f12b358p-50 + lo);
        // approximation of log10(1 + r/0.43359375) on [-0x1.e5dp-10, 0x1.e5dp-10],
        // degree 7, max relative error 2^-58.89
        // (measured by tools/gen/approximations.py)
        a0 = 0x1.58874c1a5f12ep+4, a1 = -0x1.8930964d4ef0dp+1;
        b0 = -0x1.5c917385593b1p+3, b1 = 0x1.c6a02dc963467p+0;
        c0 = 0x1.6ab9f7f9d3aa1p+2, c1 = -0x1.27af2dc77b115p+0;
    }
    double r2 = r * r;
    double P0 = (r2 * r2) * ((b0 * r + c0) * r + a0 * (r2 * r));
    double P1 = r2 * ((b1 * r + c1) + a1 * r2);
    return S + ((Z + P0) + P1);
}

}  // namespace
}  // namespace tsr::logk

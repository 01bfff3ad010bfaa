// What the logarithm bodies share: the reciprocal estimate, the error report, the pole and
// domain results, and the frame of the no-FMA double tiers of log, log2 and log10.
#pragma once
#include <immintrin.h>

#include "elementary/log_data.h"
#include "tsr/common.h"
#include "tsr/codes.h"
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
// A scalar in lane 0 of a vector register, the other lanes left as they are: the reductions
// below only ever read lane 0 (or clear the rest by a mask), and setting the upper lanes to
// zero would cost an instruction on the critical path.
inline __m128d lane0(double x) {
    __m128d v;
    asm("" : "=x"(v) : "0"(x));
    return v;
}
inline __m128 lane0(float x) {
    __m128 v;
    asm("" : "=x"(v) : "0"(x));
    return v;
}

template <bool WithC>
inline FmaRed fma_reduce(double x, float c = 1.0f) {
    __m128i xb = _mm_castpd_si128(lane0(x));
    // the mask clears the upper lanes: from here on only lane 0 is ever non-zero
    __m128i m = _mm_and_si128(xb, _mm_load_si128(reinterpret_cast<const __m128i *>(kRedMant)));
    __m128i mf = _mm_srli_epi64(_mm_or_si128(m, _mm_load_si128(reinterpret_cast<const __m128i *>(kRedF))), 29);
    __m128 rc = _mm_rcp_ss(_mm_castsi128_ps(mf));
    if constexpr (WithC) rc = _mm_mul_ss(rc, _mm_set_ss(c));
    __m128i vi = _mm_srli_epi32(_mm_add_epi32(_mm_castps_si128(rc),
                                              _mm_load_si128(reinterpret_cast<const __m128i *>(kRedRound))), 16);
    __m128i Ri = _mm_slli_epi64(vi, 45);
    __m128i wi = _mm_or_si128(m, _mm_load_si128(reinterpret_cast<const __m128i *>(kRedW)));
    return {_mm_cvtsd_f64(_mm_castsi128_pd(Ri)), _mm_cvtsd_f64(_mm_castsi128_pd(wi)),
            uint32_t(_mm_cvtsi128_si32(vi))};
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
        x *= 0x1p+128;  // 2^128
        b = bits(x);
        bias += 128;
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
    double a0, a1, b0, b1, c0, c1, H, Z, S, e1, hi, lo;
    if constexpr (B == Base::e) {
        hi = logtab::log_neg129_ex[row][0];
        lo = logtab::log_neg129_ex[row][1];
        double N = 16.0 * n;
        H = hi + N * 0x1.62e42fefa38p-5;
        S = H + r;
        e1 = r + (H - S);
        Z = e1 + (N * 0x1.ef35793c7673p-49 + lo);
        // approximation of log(1 + r) on [-0x1.182p-8, 0x1.182p-8], degree 7, max
        // relative error 2^-58.98 (measured by tools/gen/approximations.py)
        a0 = 0x1.2492492492492p-3, a1 = -0x1p-2;
        b0 = -0x1.5555e3d6fb175p-3, b1 = 0x1.5555555555555p-2;
        c0 = 0x1.999999999999ap-3, c1 = -0x1p-1;
    } else if constexpr (B == Base::two) {
        hi = logtab::log2_rows_ex[row][0];
        lo = logtab::log2_rows_ex[row][1];
        H = hi + double(n);
        S = H + r;
        e1 = r + (H - S);
        // log2(e)/c - 1: the linear term's correction
        Z = e1 + (lo - 0x1.dabe1161bb241p-10 * r);
        // approximation of log2(1 + r/1.4453125) on [-0x1.94ep-8, 0x1.94ep-8], degree 7,
        // max relative error 2^-58.90 (measured by tools/gen/approximations.py)
        a0 = 0x1.004f2518775e3p-6, a1 = -0x1.528db9f95985ap-4;
        b0 = -0x1.b030cd737db11p-6, b1 = 0x1.4635e486ececcp-3;
        c0 = 0x1.76c9bac8349bbp-5, c1 = -0x1.619b6b3841d2ap-2;
    } else {
        hi = logtab::log10_rows_ex[row][0];
        lo = logtab::log10_rows_ex[row][1];
        double N = 16.0 * n;
        H = hi + N * 0x1.34413509f78p-6;
        S = H + r;
        e1 = r + (H - S);
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

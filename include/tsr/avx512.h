// The AVX-512-only operations of tiers z0 and d1, each with an exact portable definition.
// The library's z0/d1 objects use the instructions; the test build of those tiers
// (TSR_PORTABLE_AVX512) uses the definitions below, so the tiers' logic is tested on any
// processor with AVX2.  A portable definition gives the instruction's result bits and
// raises no flag where the instruction suppresses exceptions (embedded rounding).
#pragma once
#include <bit>

#include "tsr/common.h"
#include "tsr/lane.h"

#if !defined(TSR_PORTABLE_AVX512) && (TSR_TIER_Z0 || TSR_TIER_D1)
#include <immintrin.h>
#define TSR_AVX512_NATIVE 1
#else
#define TSR_AVX512_NATIVE 0
#endif

namespace tsr::avx512 {

#if TSR_AVX512_NATIVE
using tsr::lane;  // the scalar forms below read and compute lane 0 alone
#endif

#if !TSR_AVX512_NATIVE
// Runs op in round-to-nearest and leaves the caller's control word and flags as they were:
// what an embedded {rn-sae} rounding does.
template <class F>
inline auto rn_sae(F op) {
    uint32_t saved = get_mxcsr();
    set_mxcsr((saved & ~MXCSR_RC_MASK) | 0x1f80);
    auto r = op();
    force(r);
    set_mxcsr(saved);
    return r;
}
#endif

// a + b, a * b, a * b + c rounded to nearest whatever the control word says, no flags.
inline double add_rn(double a, double b) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_add_round_sd(lane(a), lane(b), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
#else
    return rn_sae([&] { return opaque(a) + opaque(b); });
#endif
}
inline double mul_rn(double a, double b) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_mul_round_sd(lane(a), lane(b), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
#else
    return rn_sae([&] { return opaque(a) * opaque(b); });
#endif
}
inline double fma_rn(double a, double b, double c) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_fmadd_round_sd(lane(a), lane(b), lane(c),
                                            _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
#else
    return rn_sae([&] { return __builtin_fma(opaque(a), b, c); });
#endif
}

// a + b in single precision, rounded to nearest whatever the control word says, no flags.
inline float add_rn(float a, float b) {
#if TSR_AVX512_NATIVE
    return _mm_cvtss_f32(_mm_add_round_ss(lane(a), lane(b), _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
#else
    return rn_sae([&] { return opaque(a) + opaque(b); });
#endif
}

// vreducesd/vreducess with M fraction bits, round to nearest, precision exception
// suppressed: x - round(x·2^M)·2^-M, which is exact.  The portable definition rounds by the
// 1.5·2^52 (2^23) shifter and holds for |x|·2^M < 2^51 (2^22) and NaN; the tiers call it
// on arguments far inside that.
template <int M>
inline double reduce_rn(double x) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_reduce_sd(lane(x), lane(x), (M << 4) | 0x8));
#else
    return rn_sae([&] {
        double t = opaque(x * double(1ull << M));
        double k = opaque(t + 0x1.8p52) - 0x1.8p52;
        return x - k * (1.0 / double(1ull << M));
    });
#endif
}
template <int M>
inline float reduce_rn(float x) {
#if TSR_AVX512_NATIVE
    return _mm_cvtss_f32(_mm_reduce_ss(lane(x), lane(x), (M << 4) | 0x8));
#else
    return rn_sae([&] {
        float t = opaque(x * float(1u << M));
        float k = opaque(t + 0x1.8p23f) - 0x1.8p23f;
        return x - k * (1.0f / float(1u << M));
    });
#endif
}

// The unbiased exponent of x as a double (floor(log2|x|)), subnormals normalised;
// -inf for a zero, +inf for an infinity, a quiet NaN for a NaN.
inline double getexp(double x) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_getexp_sd(lane(x), lane(x)));
#else
    uint64_t b = bits(x) & 0x7fffffffffffffffull;
    if (b >= 0x7ff0000000000000ull) return b == 0x7ff0000000000000ull ? f64(0x7ff0000000000000ull) : x + x;
    if (b == 0) return f64(0xfff0000000000000ull);
    int e = int(b >> 52);
    if (e == 0) return double(-1011 - std::countl_zero(b));  // 2^-1074 has 63 leading zeros
    return double(e - 1023);
#endif
}

}  // namespace tsr::avx512

// ---- added for the logarithms (log2p1 z0) ------------------------------------------------
namespace tsr::avx512 {
// The 14-bit reciprocal estimate of a double (vrcp14sd), for positive normal x whose
// reciprocal is normal.  Its bits differ between processor makers; the portable model is
// 1/x cut to 14 mantissa bits, relative error below 2^-14 as the instruction guarantees, no
// flags.  Callers must stay exact for any estimate within that bound.
inline double rcp14(double x) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_rcp14_sd(lane(x), lane(x)));
#else
    double r = rn_sae([&] { return 1.0 / opaque(x); });
    return f64(bits(r) & 0xffffffc000000000ull);
#endif
}
}  // namespace tsr::avx512

// ---- added for the remainders (fmod, remainder z0/d1) --------------------------------------
namespace tsr::avx512 {
#if !TSR_AVX512_NATIVE
// Runs op rounding toward zero and leaves the caller's control word and flags as they were:
// what an embedded {rz-sae} rounding does.
template <class F>
inline auto rz_sae(F op) {
    uint32_t saved = get_mxcsr();
    set_mxcsr(saved | 0x7f80);  // round toward zero, every exception masked
    auto r = op();
    force(r);
    set_mxcsr(saved);
    return r;
}
#endif
// a / b and a * b + c rounded toward zero whatever the control word says, no flags.
inline double div_rz(double a, double b) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_div_round_sd(lane(a), lane(b), _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC));
#else
    return rz_sae([&] { return opaque(a) / opaque(b); });
#endif
}
inline double fma_rz(double a, double b, double c) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_fmadd_round_sd(lane(a), lane(b), lane(c), _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC));
#else
    return rz_sae([&] { return __builtin_fma(opaque(a), b, c); });
#endif
}
// x truncated to an integer (vrndscalesd, imm 3: toward zero, precision exception
// suppressed); the portable form truncates by the pattern.
inline double trunc_sae(double x) {
#if TSR_AVX512_NATIVE
    return _mm_cvtsd_f64(_mm_roundscale_sd(lane(x), lane(x), _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC));
#else
    uint64_t b = bits(x);
    int k = int((b >> 52) & 0x7ff) - 1023;
    if (k >= 52) return x;
    if (k < 0) return f64(b & 0x8000000000000000ull);
    return f64(b & ~((uint64_t(1) << (52 - k)) - 1));
#endif
}
}  // namespace tsr::avx512

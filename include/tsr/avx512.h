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
// The rounding additions and products, the reductions, the rounding-toward-zero division
// and the reduction's fused step are written as the instruction itself on the scalars'
// registers: through the intrinsics each operand passes a vector lane whose register the
// result then takes, so the compiler copied a scalar still needed later (vmovsd reg,reg,reg,
// which on the AMD cores measured is a two-cycle merge, not an eliminated move) in front of
// the instruction on the critical path.  They read their operands alone and depend on
// nothing else (fixed rounding, flags suppressed), so the statements are left free to be
// scheduled and shared.  The exponent extraction and the reciprocal estimate stay
// intrinsics: there the compiler's own placement of the copy was off the critical path.
#define TSR_AVX512_OP2(insn, r, a, b) asm(insn " %2, %1, %0" : "=v"(r) : "v"(a), "v"(b))

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
    double r;
    TSR_AVX512_OP2("vaddsd %{rn-sae%},", r, a, b);
    return r;
#else
    return rn_sae([&] { return opaque(a) + opaque(b); });
#endif
}
inline double mul_rn(double a, double b) {
#if TSR_AVX512_NATIVE
    double r;
    TSR_AVX512_OP2("vmulsd %{rn-sae%},", r, a, b);
    return r;
#else
    return rn_sae([&] { return opaque(a) * opaque(b); });
#endif
}
inline double fma_rn(double a, double b, double c) {
#if TSR_AVX512_NATIVE
    // The addend's register is the result's (the 231 form): the callers' addend is a
    // shifter constant loaded for this alone, so nothing is copied.
    asm("vfmadd231sd %{rn-sae%}, %3, %2, %0" : "=v"(c) : "0"(c), "v"(a), "v"(b));
    return c;
#else
    return rn_sae([&] { return __builtin_fma(opaque(a), b, c); });
#endif
}

// a + b in single precision, rounded to nearest whatever the control word says, no flags.
inline float add_rn(float a, float b) {
#if TSR_AVX512_NATIVE
    float r;
    TSR_AVX512_OP2("vaddss %{rn-sae%},", r, a, b);
    return r;
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
    double r;
    asm("vreducesd %2, %1, %1, %0" : "=v"(r) : "v"(x), "i"((M << 4) | 0x8));
    return r;
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
    float r;
    asm("vreducess %2, %1, %1, %0" : "=v"(r) : "v"(x), "i"((M << 4) | 0x8));
    return r;
#else
    return rn_sae([&] {
        float t = opaque(x * float(1u << M));
        float k = opaque(t + 0x1.8p23f) - 0x1.8p23f;
        return x - k * (1.0f / float(1u << M));
    });
#endif
}

// x rounded to the nearest multiple of 2^-M, ties to even (vrndscalesd/vrndscaless with M
// fraction bits, precision exception suppressed), whatever the control word says.  x minus
// it is the same exact reduction reduce_rn gives, one subtraction later but shorter: on the
// AMD cores measured (docs/performance/avx512.md) vreducesd takes six cycles, this
// instruction three and the subtraction two.  The two differ only in the sign of a zero
// difference rounding downward (x - x is -0 there, reduce_rn gives +0).  The portable
// definition rounds by the 1.5·2^52 (2^23) shifter and holds for |x|·2^M < 2^51 (2^22).
template <int M>
inline double round_rn(double x) {
#if TSR_AVX512_NATIVE
    double r;
    asm("vrndscalesd %2, %1, %1, %0" : "=v"(r) : "v"(x), "i"((M << 4) | 0x8));
    return r;
#else
    return rn_sae([&] {
        double k = opaque(opaque(x * double(1ull << M)) + 0x1.8p52) - 0x1.8p52;
        return k * (1.0 / double(1ull << M));
    });
#endif
}
template <int M>
inline float round_rn(float x) {
#if TSR_AVX512_NATIVE
    float r;
    asm("vrndscaless %2, %1, %1, %0" : "=v"(r) : "v"(x), "i"((M << 4) | 0x8));
    return r;
#else
    return rn_sae([&] {
        float k = opaque(opaque(x * float(1u << M)) + 0x1.8p23f) - 0x1.8p23f;
        return k * (1.0f / float(1u << M));
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
    double r;
    asm("vdivsd %{rz-sae%}, %2, %1, %0" : "=v"(r) : "v"(a), "v"(b));
    return r;
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
// c - a * b rounded toward zero, no flags: fma_rz(-a, b, c) in one instruction
// (vfnmadd..sd), without the sign flip in front of it.
inline double fnma_rz(double a, double b, double c) {
#if TSR_AVX512_NATIVE
    // The sum's register is the result's (the 231 form): a remainder reduced in a loop stays in
    // one register rather than being copied back each round.
    asm("vfnmadd231sd %{rz-sae%}, %3, %2, %0" : "=v"(c) : "0"(c), "v"(a), "v"(b));
    return c;
#else
    return rz_sae([&] { return __builtin_fma(-opaque(a), b, c); });
#endif
}
// x truncated to an integer (vrndscalesd, imm 3: toward zero, precision exception
// suppressed); the portable form truncates by the pattern.
inline double trunc_sae(double x) {
#if TSR_AVX512_NATIVE
    double r;
    asm("vrndscalesd $0xb, %1, %1, %0" : "=v"(r) : "v"(x));
    return r;
#else
    uint64_t b = bits(x);
    int k = int((b >> 52) & 0x7ff) - 1023;
    if (k >= 52) return x;
    if (k < 0) return f64(b & 0x8000000000000000ull);
    return f64(b & ~((uint64_t(1) << (52 - k)) - 1));
#endif
}
}  // namespace tsr::avx512

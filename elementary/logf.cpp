// logf, log2f, log10f.  ex: table by mantissa bits (log_rcp256) and a short polynomial, with
// exact answers for powers of two (log2f) and of ten (log10f).  e7: the reciprocal estimate
// rounded to 8 bits reduces x exactly in double, its bits index -log R.  l9: the estimate
// rounded to 9 bits, with log2 R composed from its exponent and a 512-row table, and one
// fused operation for the reduced argument; special values go to the e7 body.
#include "elementary/log_common.h"

using namespace tsr;
using logk::Base;

namespace {
constexpr double kLn2 = tsr_d(0x3fe62e42fefa39efull);
constexpr double kLog2e = tsr_d(0x3ff71547652b82feull);
constexpr double kLog10e = tsr_d(0x3fdbcb7b1526e50eull);
template <Base B>
constexpr int kPole = B == Base::e     ? code::logf_argument_0
                      : B == Base::two ? code::log2f_argument_0
                                       : code::log10f_argument_0;
template <Base B>
constexpr int kDomain = B == Base::e     ? code::logf_argument_negative
                        : B == Base::two ? code::log2f_argument_negative
                                         : code::log10f_argument_negative;
}  // namespace

#if TSR_TIER_EX
namespace {
template <Base B>
inline float logf_ex(float x) {
    uint32_t b = bits(x);
    if (b > 0x7f7fffffu) {
        if ((b << 1) > 0xff000000u) return x * 1.0f;
        if (b == 0x7f800000u) return x;
        if ((b << 1) == 0) return logk::pole(x, kPole<B>);
        return logk::domain(x, kDomain<B>);
    }
    constexpr uint32_t lo1 = B == Base::e ? 0x3f7c0000u : 0x3f7e0000u;
    constexpr uint32_t hi1 = B == Base::e ? 0x3f83ffffu : 0x3f80ffffu;
    if (b - lo1 <= hi1 - lo1) {
        if (b == 0x3f800000u) return 0.0f;
        double t = double(x) - 1.0, s = t * t;
        double r;
        // approximation of log(1 + t) on [-0x1p-6, 0x1p-5], degree 6, max relative error
        // 2^-34.43 (measured by tools/gen/approximations.py)
        if constexpr (B == Base::e)
            r = (((-0x1.4ea033ecbaf05p-3 * s - 0x1.0000131103c07p-2) * s +
                  (0x1.999822c96ef82p-3 * s + 0x1.555555607defbp-2) * t) -
                 0x1.ffffffffe7cd8p-2) * s + t;
        // approximation of log2(1 + t) on [-0x1p-7, 0x1p-7], degree 6, max relative
        // error 2^-45.80 (measured by tools/gen/approximations.py)
        else if constexpr (B == Base::two)
            r = ((0x1.2775b6b01e41p-2 * s + 0x1.ec709dd3b974dp-2) * s + kLog2e) * t +
                ((-0x1.e2c352133b234p-3 * s - 0x1.715491d488fd8p-2) * s - 0x1.71547652a6bb8p-1) * s;
        // approximation of log10(1 + t) on [-0x1p-7, 0x1p-7], degree 6, max relative
        // error 2^-45.80 (measured by tools/gen/approximations.py)
        else
            r = ((0x1.63c4e1e626defp-4 * s + 0x1.287a7640a56cbp-3) * s + kLog10e) * t +
                ((-0x1.22a6fb2e1aee3p-4 * s - 0x1.bcb7d2719f314p-4) * s - 0x1.bcb7b152594c6p-3) * s;
        return float(r);
    }
    uint32_t m = b;
    int n;
    if (b < 0x00800000u) {
        if (b == 0) return logk::pole(x, kPole<B>);
        m = bits(scale_subnormal(f32(b), 25));
        n = int(m >> 23) - 152;
    } else {
        n = int(b >> 23) - 127;
    }
    if constexpr (B == Base::two)
        if ((m & 0x7fffff) == 0) return float(n);
    if constexpr (B == Base::ten) {
        // 10^1 .. 10^10 are exact floats: a bit-for-bit match gives k exactly.
        if (uint32_t(n) <= 34) {
            const uint32_t *p = logtab::log10f_pow10[(n * 0x5556) >> 16];
            if (p[0] == b) return f32(p[1]);
        }
    }
    uint32_t i = (m >> 15) & 0xff;
    double mm = double(f32((m & 0x7fffff) | 0x3f800000u));
    double u = double(logtab::log_rcp256_r[i]) * mm - 1.0;
    double L = logtab::log_rcp256_l[i];
    // approximation of log(1 + u) on [-0x1.76p-9, 0x1.7p-9], degree 3, max relative error
    // 2^-28.21 (measured by tools/gen/approximations.py)
    if constexpr (B == Base::e) {
        double q = u * u * (0x1.5555a6890dd1p-2 * u - 0x1.00001e7362febp-1);
        return float((n * kLn2 + L) + (q + u));
    // approximation of log2(1 + u) on [-0x1.76p-9, 0x1.7p-9], degree 3, max relative error
    // 2^-28.21 (measured by tools/gen/approximations.py)
    } else if constexpr (B == Base::two) {
        double q = u * u * (0x1.ec7112e9f7aabp-2 * u - 0x1.7154a24115d08p-1);
        return float(n + ((u + L) * kLog2e + q));
    // approximation of log10(1 + u) on [-0x1.76p-9, 0x1.7p-9], degree 3, max relative error
    // 2^-28.21 (measured by tools/gen/approximations.py)
    } else {
        double q = u * u * (0x1.287abcbef04d1p-3 * u - 0x1.bcb7e6386795fp-3);
        return float(n * 0x1.34413509f79ffp-2 + ((u + L) * kLog10e + q));
    }
}
}  // namespace
TSR_BODY(float, logf, (float x)) { return logf_ex<Base::e>(x); }
TSR_BODY(float, log2f, (float x)) { return logf_ex<Base::two>(x); }
TSR_BODY(float, log10f, (float x)) { return logf_ex<Base::ten>(x); }
// The reproducible forms: copies of the ex bodies (a table by mantissa bits, no estimate).
TSR_DEFINE(float, __bwr_logf, (float x)) { return logf_ex<Base::e>(x); }
TSR_DEFINE(float, __bwr_log2f, (float x)) { return logf_ex<Base::two>(x); }
TSR_DEFINE(float, __bwr_log10f, (float x)) { return logf_ex<Base::ten>(x); }
#endif

#if TSR_TIER_E7
namespace {
template <Base B>
inline float logf_e7(float x) {
    uint32_t b = bits(x);
    double z = 0, zn = 0;
    if (b == 0x3f800000u) return 0.0f;  // +0 in every rounding mode
    if constexpr (B == Base::ten) {
        float k;
        if (logk::log10f_exact(b, &k)) return k;
    }
    // Out of range: specials leave; a subnormal or a value at or above 2^126 (whose
    // reciprocal would be subnormal) is scaled by 2^+-64 once, with z compensating.
    if (b - 0x800000u >= 0x7e000000u) {
        if (b >> 31) {
            if ((b << 1) > 0xff000000u) return x + x;
            if ((b << 1) == 0) return logk::pole(x, kPole<B>);
            return logk::domain_div(x, kDomain<B>);
        }
        if (b >= 0x7f800000u) return x + x;
        if (b == 0) return logk::pole(x, kPole<B>);
        if (b < 0x800000u) {
            x = scale_subnormal(x, 64);
            z = -0x1.62e42fefa39efp+5;
            zn = -64;
        } else {
            x *= 0x1p-64f;  // 2^-64
            z = 0x1.62e42fefa39efp+5;
            zn = 64;
        }
        b = bits(x);
    }
    float R = f32((bits(logk::rcp(x)) + 0x4000) & 0xffff8000u);
    double u = double(x) * double(R) - 1.0;
    int32_t Ni = int32_t((b - 0x800000u) & 0xff800000u) - 0x3f000000;
    double N = double(Ni);
    uint32_t idx = (bits(R) + uint32_t(Ni) - 0x3f000000u) >> 15;
    // approximation of log(1 + u) on [-0x1.302p-9, 0x1.302p-9], degree 3, max relative error
    // 2^-29.10 (measured by tools/gen/approximations.py)
    double q = -0x1.0000141ffcb1p-1 + 0x1.5555555555555p-2 * u;
    double res;
    if constexpr (B == Base::e)
        res = (((z + u) + logtab::log_f257[idx]) + N * 0x1.62e42fefa39efp-24) + u * u * q;
    else if constexpr (B == Base::two)
        // The scaling by 2^+-64 is given back as the integer it is in base 2.
        res = (u * kLog2e + ((double(Ni >> 23) + zn) + logtab::log2_f257[idx])) + u * u * q * kLog2e;
    else
        res = ((z + u) * kLog10e + (N * 0x1.34413509f79ffp-25 + logtab::log10_f257[idx])) + u * u * q * kLog10e;
    return float(res);
}
}  // namespace
TSR_BODY(float, logf, (float x)) { return logf_e7<Base::e>(x); }
TSR_BODY(float, log2f, (float x)) { return logf_e7<Base::two>(x); }
TSR_BODY(float, log10f, (float x)) { return logf_e7<Base::ten>(x); }
#endif

#if TSR_TIER_L9
namespace {
alignas(16) constexpr uint64_t kTopF[2] = {0xf000000000000000ull, 0};
alignas(16) constexpr uint32_t kRound9[4] = {0x2000, 0, 0, 0};
alignas(16) constexpr uint32_t kMask9[4] = {0xffffc000u, 0, 0, 0};
// Sub: x was scaled by 2^32 before entry, which R's exponent gives back (g + 32 << 9).
template <Base B, bool Sub>
inline float logf_l9_main(float x) {
    // W: the mantissa under a huge negative exponent; Rd: the rounded estimate under a tiny
    // one, so that -(W*Rd) is x*R and one fused operation gives u = x*R - 1 exactly.
    // Both formed in the vector unit, off the integer registers; only lane 0 matters (the
    // shift moves the upper lane's bits out or under the constant's ones, the mask clears it).
    __m128i xi = _mm_castps_si128(tsr::lane(x));
    double W = _mm_cvtsd_f64(_mm_castsi128_pd(
        _mm_or_si128(_mm_slli_epi64(xi, 29), _mm_load_si128(reinterpret_cast<const __m128i *>(kTopF)))));
    __m128i Ra = _mm_add_epi32(_mm_castps_si128(_mm_rcp_ss(_mm_castsi128_ps(xi))),
                               _mm_load_si128(reinterpret_cast<const __m128i *>(kRound9)));
    __m128i Rv = _mm_and_si128(Ra, _mm_load_si128(reinterpret_cast<const __m128i *>(kMask9)));
    double Rd = _mm_cvtsd_f64(_mm_castsi128_pd(_mm_slli_epi64(Rv, 29)));
    double u = __builtin_fma(-W, Rd, -1.0);
    // log2 R = its exponent field (converted in the vector unit, beside the table load) plus
    // the row of its 9 mantissa bits, which carries the bias; the row index is taken before
    // the mask (which touches only bits below it).
    double ge = _mm_cvtsd_f64(_mm_cvtepi32_pd(_mm_srli_epi32(Rv, 23)));
    if constexpr (Sub) ge = ge + 32.0;
    uint32_t i = (uint32_t(_mm_cvtsi128_si32(Ra)) >> 14) & 0x1ff;
    double L2 = ge + logtab::log_l2f512[i];
    double res;
    // approximation of log2(1 + u) on [-0x1.602p-10, 0x1.602p-10], degree 3, max relative
    // error 2^-30.99 (measured by tools/gen/approximations.py)
    if constexpr (B == Base::two) {
        double q = __builtin_fma(0x1.ec70e30381c88p-2, u, -0x1.715498f2a807p-1);
        double Y = __builtin_fma(u, kLog2e, -L2);
        res = __builtin_fma(q, u * u, Y);
    // approximation of log(1 + u) on [-0x1.602p-10, 0x1.602p-10], degree 3, max relative
    // error 2^-30.99 (measured by tools/gen/approximations.py)
    } else {
        double q = __builtin_fma(0x1.555585555d331p-2, u, -0x1.00001800034a7p-1);
        double Y = __builtin_fma(L2, -kLn2, u);
        res = __builtin_fma(q, u * u, Y);
        if constexpr (B == Base::ten) res = res * kLog10e;
    }
    return float(res);
}

// Outside the positive normal numbers: a positive subnormal is scaled into them, the rest
// goes to the e7 body.  Out of line so the main path carries none of it.
template <Base B>
__attribute__((cold, noinline)) float logf_l9_cold(float x) {
    if (bits(x) - 1u >= 0x7fffffu) {
        if constexpr (B == Base::e) return __libm_logf_e7_local(x);
        else if constexpr (B == Base::two) return __libm_log2f_e7_local(x);
        else return __libm_log10f_e7_local(x);
    }
    return logf_l9_main<B, true>(scale_subnormal(x, 32));
}

template <Base B>
inline float logf_l9(float x) {
    uint32_t b = bits(x);
    if (b == 0x3f800000u) return 0.0f;  // +0 in every rounding mode
    if constexpr (B == Base::ten) {
        float k;
        if (logk::log10f_exact(b, &k)) return k;
    }
    if (b + 0x81800000u < 0x82000000u) return logf_l9_cold<B>(x);
    return logf_l9_main<B, false>(x);
}
}  // namespace
TSR_BODY(float, logf, (float x)) { return logf_l9<Base::e>(x); }
TSR_BODY(float, log2f, (float x)) { return logf_l9<Base::two>(x); }
TSR_BODY(float, log10f, (float x)) { return logf_l9<Base::ten>(x); }
#endif

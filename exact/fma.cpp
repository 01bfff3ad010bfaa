// Fused multiply-add: fma and fmaf (tiers ex, e7, l9) and fmal.
//
// l9 is the processor's instruction, in the form that takes its operands in the order
// x, y, z, so that of several NaN operands the first in that order comes back (quieted),
// as from the other tiers.  __libm_fma_d1 and __libm_fmaf_d1 are further names of the l9
// bodies.
//
// The software forms (ex and e7, and fmal) take the special operands in a fixed order:
//   1. a NaN: the first of x, y, z, quieted; invalid when any of them is signalling (a
//      quiet NaN z does not make inf * 0 invalid, as on the hardware);
//   2. z infinite: x * y + z in hardware when x or y is infinite too (inf - inf and
//      inf * 0 are invalid), else z;
//   3. x or y infinite: x * y + z in hardware;
//   4. x or y zero: the product is an exact zero and the hardware's x * y + z is the
//      result.  For z zero too, the double bodies and __libm_fmaf_ex return the product
//      alone, with the product's sign whatever the sign of z;
//   5. z zero: x * y rounded once, in hardware;
// and everything else goes to the exact integer core of exact/fma_core.h, in the caller's
// rounding mode (MXCSR, or the x87 control word for fmal).  Flags come from hardware
// operations made for them: overflow as (+-2^k) * 2^k with a product past the format's
// range, which also gives the value the mode calls for; underflow as 2^-1022 * 2^-1022;
// inexact as 1 + 2^-100 (in the x87 unit for fmal).  A denormal operand sets the denormal
// flag through a comparison, as the instruction's own operand check would.
#include "exact/fma_core.h"
#include "tsr/common.h"
#include "tsr/format.h"
#include "tsr/x87.h"

#if TSR_TIER_L9
#include <immintrin.h>
#endif

using namespace tsr;
using namespace tsr::fma;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
inline int sse_rc() { return int((get_mxcsr() & MXCSR_RC_MASK) >> 13); }

inline void raise_denormal(double x, double y, double z) {
    asm volatile("ucomisd %1, %0\n\tucomisd %2, %2" : : "x"(x), "x"(y), "x"(z) : "cc");
}
inline void raise_denormal(float x, float y, float z) {
    asm volatile("ucomiss %1, %0\n\tucomiss %2, %2" : : "x"(x), "x"(y), "x"(z) : "cc");
}

// A nonzero finite magnitude pattern as m * 2^e, m's top bit at bit p-1.
template <class T>
inline Op unpack(typename Format<T>::Bits a) {
    using F = Format<T>;
    constexpr int fb = F::precision - 1;
    int f = int(a >> fb);
    uint64_t m = uint64_t(a & F::mantissa);
    if (f) return {m | (uint64_t(1) << fb), f - F::bias - fb};
    int s = fb - (63 - __builtin_clzll(m));
    return {m << s, 1 - F::bias - fb - s};
}

// The overflow of a format: (+-2^k) * 2^k past its largest value, rounded by the mode.
template <class T>
inline T overflow(bool neg) {
    T h = opaque(T(sizeof(T) == 8 ? 0x1p1000 : 0x1p100));
    return (neg ? -h : h) * h;
}

// kProductSign: a zero z leaves the product's sign even when the product is zero.
template <class T, class L, int N, bool kProductSign>
inline T fma_soft(T x, T y, T z) {
    using F = Format<T>;
    using U = typename F::Bits;
    constexpr int fb = F::precision - 1;
    const U bx = F::bits(x), by = F::bits(y), bz = F::bits(z);
    const U ax = bx & F::abs, ay = by & F::abs, az = bz & F::abs;
    if (__builtin_expect(ax > F::inf || ay > F::inf || az > F::inf, 0)) {
        U r = ax > F::inf ? bx : ay > F::inf ? by : bz;
        if (is_snan(x) || is_snan(y) || is_snan(z)) raise_invalid();
        return F::from(r | F::quiet);
    }
    if (__builtin_expect(az == F::inf, 0)) return ax == F::inf || ay == F::inf ? x * y + z : z;
    if (__builtin_expect(ax == F::inf || ay == F::inf, 0)) return x * y + z;
    if (__builtin_expect(ax == 0 || ay == 0, 0)) {
        if (kProductSign && az == 0) return x * y;
        return x * y + z;
    }
    if (__builtin_expect(az == 0, 0)) return x * y;
    raise_denormal(x, y, z);

    const int rc = sse_rc();
    Rounded r = core<F::precision, F::emin, L, N>(((bx ^ by) & F::sign) != 0, unpack<T>(ax),
                                                    unpack<T>(ay), (bz & F::sign) != 0,
                                                    unpack<T>(az), rc);
    if (r.cancel) return rc == kDown ? -T(0) : T(0);
    if (r.er > F::emax) return overflow<T>(r.neg);
    // The field below packs a normal result with its hidden bit added to the exponent (so
    // a carry to 2^p moves to the next binade), and a subnormal one as its bare significand.
    U mag = (U(r.lsb - (F::emin - fb)) << fb) + U(r.M);
    if (mag >= F::inf) return overflow<T>(r.neg);
    if (r.inexact) {
        if (r.tiny) raise_underflow();
        raise_inexact();
    }
    return F::from(mag | (r.neg ? F::sign : U(0)));
}
#endif

}  // namespace

#if TSR_TIER_EX
// 32-bit limbs: the double product in four, the window of 128 bits in four; the float
// window of 64 bits in two.
TSR_BODY(double, fma, (double x, double y, double z)) {
    return fma_soft<double, uint32_t, 4, true>(x, y, z);
}
TSR_BODY(float, fmaf, (float x, float y, float z)) {
    return fma_soft<float, uint32_t, 2, true>(x, y, z);
}
TSR_ALIAS(double, __bwr_fma, (double, double, double), __libm_fma_ex)
TSR_ALIAS(float, __bwr_fmaf, (float, float, float), __libm_fmaf_ex)

// ---- extended ---------------------------------------------------------------------------
namespace {

inline bool nan_l(const Ext &e) { return (e.se & 0x7fff) == 0x7fff && (e.m << 1) != 0; }
inline bool snan_l(const Ext &e) { return nan_l(e) && !(e.m & Format<long double>::quiet); }
inline bool inf_l(const Ext &e) { return (e.se & 0x7fff) == 0x7fff && (e.m << 1) == 0; }
inline bool zero_l(const Ext &e) { return (e.se & 0x7fff) == 0 && e.m == 0; }
// An encoding the x87 unit refuses (integer bit clear above the subnormal range).
inline bool unnormal_l(const Ext &e) {
    uint32_t f = e.se & 0x7fff;
    return f != 0 && f != 0x7fff && !(e.m >> 63);
}

inline Op unpack_l(const Ext &e) {
    uint32_t f = e.se & 0x7fff;
    if (f) return {e.m, int(f) - 16383 - 63};
    int s = __builtin_clzll(e.m);
    return {e.m << s, 1 - 16383 - 63 - s};
}

inline LD fmal_body(LD x, LD y, LD z) {
    using F = Format<LD>;
    const Ext ex = ext(x), ey = ext(y), ez = ext(z);
    if (__builtin_expect(nan_l(ex) || nan_l(ey) || nan_l(ez), 0)) {
        const Ext &r = nan_l(ex) ? ex : nan_l(ey) ? ey : ez;
        if (snan_l(ex) || snan_l(ey) || snan_l(ez)) raise_invalid();
        return from_ext(r.m | F::quiet, r.se);
    }
    X87Frame frame;
    LD a = opaque(x), b = opaque(y), c = opaque(z);
    const bool xy_inf = inf_l(ex) || inf_l(ey);
    if (__builtin_expect(inf_l(ez), 0)) return xy_inf ? frame.finish(a * b + c) : z;
    if (__builtin_expect(xy_inf || unnormal_l(ex) || unnormal_l(ey) || unnormal_l(ez), 0))
        return frame.finish(a * b + c);
    if (__builtin_expect(zero_l(ex) || zero_l(ey), 0)) return frame.finish(a * b + c);
    if (__builtin_expect(zero_l(ez), 0)) return frame.finish(a * b);

    const int rc = int((frame.saved & X87_RC_MASK) >> 10);
    Rounded r = core<64, F::emin, uint32_t, 6>(((ex.se ^ ey.se) & 0x8000) != 0, unpack_l(ex),
                                               unpack_l(ey), (ez.se & 0x8000) != 0, unpack_l(ez), rc);
    if (r.cancel) return rc == kDown ? -0.0L : 0.0L;
    LD huge = opaque(0x1p16000L);
    if (r.er > F::emax) return frame.finish((r.neg ? -huge : huge) * huge);
    unsigned __int128 M = r.M;
    int lsb = r.lsb;
    if (M >> 64) {  // the rounding carried to 2^64: one binade up
        M >>= 1;
        ++lsb;
    }
    uint64_t m = uint64_t(M);
    int se = (m >> 63) ? lsb + 63 + 16383 : 0;  // a subnormal keeps field 0
    if (se >= 0x7fff) return frame.finish((r.neg ? -huge : huge) * huge);
    if (r.inexact) {
        if (r.tiny) force(opaque(0x1p-10000L) * 0x1p-10000L);
        force(opaque(1.0L) + 0x1p-100L);
    }
    return from_ext(m, uint16_t(se | (r.neg ? 0x8000 : 0)));
}

}  // namespace

TSR_DEFINE(long double, fmal, (long double x, long double y, long double z)) { return fmal_body(x, y, z); }
#endif

#if TSR_TIER_E7
// 64-bit words: the double product in two, the window of 128 bits in two; float in one.
TSR_BODY(double, fma, (double x, double y, double z)) {
    return fma_soft<double, uint64_t, 2, true>(x, y, z);
}
TSR_BODY(float, fmaf, (float x, float y, float z)) {
    return fma_soft<float, uint64_t, 1, false>(x, y, z);
}
#endif

#if TSR_TIER_L9
TSR_BODY(double, fma, (double x, double y, double z)) {
    asm("vfmadd231sd %2, %1, %0" : "+x"(z) : "x"(x), "x"(y));
    return z;
}
TSR_BODY(float, fmaf, (float x, float y, float z)) {
    asm("vfmadd231ss %2, %1, %0" : "+x"(z) : "x"(x), "x"(y));
    return z;
}
TSR_ALIAS(double, __libm_fma_d1, (double, double, double), __libm_fma_l9)
TSR_ALIAS(float, __libm_fmaf_d1, (float, float, float), __libm_fmaf_l9)
#endif

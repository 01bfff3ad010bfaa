// maxmag, minmag and their float forms: the operand of larger (smaller) magnitude, written in
// the vector-core scheme (include/tsr/vectorcore.h).
//
// The core compares the magnitudes as integers (the bits without the sign order like the
// magnitudes for every non-NaN) and selects by masks: x where |x| wins, y where |y| wins, and
// for equal magnitudes the processor's maximum (minimum) with y as its first operand, which
// gives the signed order (maxmag(-1, 1) = 1, minmag(-1, 1) = -1) and, for two zeros, x (the
// instruction's second source).  The processor's maximum raises invalid on any NaN, so NaN
// operands meet it as zeros (their lanes are flagged and the rare steps set the result).  An
// infinity or a NaN in either operand sets the flag; the rare routine (inline for the float
// forms) then keeps the core's value unless an operand is
// a NaN: a NaN loses to a number (with no flag, a signalling one included), two NaNs give
// the quiet form of y; multiplying by 1.0 quiets a signalling NaN and raises invalid.  NaNs
// are told by their bits: a compare would raise invalid on a signalling one.  Nothing is ever
// reported.
//
// ex and l9 hold the same steps (the l9 unit in its VEX encoding).
#include <emmintrin.h>
#include <xmmintrin.h>

#include "tsr/vectorcore.h"

using namespace tsr;
using namespace tsr::vc;

namespace {

constexpr uint64_t kAbs = 0x7fffffffffffffffull;
constexpr uint64_t kExp = 0x7ff0000000000000ull;
// The float's bits doubled (the sign shifted out): at or above this, an infinity or NaN.
constexpr uint32_t kFloatTopDoubled = 0xff000000u;

template <bool Max>
inline double extreme(double y, double x) {  // maxsd/minsd with y first: x on ties and NaN
    __m128d a = _mm_set_sd(y), b = _mm_set_sd(x);
    return _mm_cvtsd_f64(Max ? _mm_max_sd(a, b) : _mm_min_sd(a, b));
}
template <bool Max>
inline float extreme(float y, float x) {
    __m128 a = _mm_set_ss(y), b = _mm_set_ss(x);
    return _mm_cvtss_f32(Max ? _mm_max_ss(a, b) : _mm_min_ss(a, b));
}

template <bool Max>
inline double mag_core(double x, double y, uint32_t &flag) {
    uint64_t a = bits(x) & kAbs, b = bits(y) & kAbs;
    flag = uint32_t((a & kExp) == kExp) | uint32_t((b & kExp) == kExp);
    // maxsd raises invalid on any NaN: NaN lanes meet it as zeros (the rare routine replaces
    // their result).
    double m = extreme<Max>(select(mask_of(b > kExp), 0.0, y), select(mask_of(a > kExp), 0.0, x));
    uint64_t take_x = mask_of(Max ? a > b : a < b), take_y = mask_of(Max ? a < b : a > b);
    return select(take_x, x, select(take_y, y, m));
}

template <bool Max>
inline float mag_core(float x, float y) {
    uint32_t a = bits(x) & 0x7fffffffu, b = bits(y) & 0x7fffffffu;
    uint32_t flag = uint32_t((bits(x) << 1) >= kFloatTopDoubled) | uint32_t((bits(y) << 1) >= kFloatTopDoubled);
    float m = extreme<Max>(select(mask32_of(b > 0x7f800000u), 0.0f, y), select(mask32_of(a > 0x7f800000u), 0.0f, x));
    uint32_t take_x = mask32_of(Max ? a > b : a < b), take_y = mask32_of(Max ? a < b : a > b);
    float r = select(take_x, x, select(take_y, y, m));
    if (__builtin_expect(flag, 0)) {  // the rare steps, inline
        if (b > 0x7f800000u) r = x * opaque(1.0f);
        if (a > 0x7f800000u) r = y * opaque(1.0f);
    }
    return r;
}

}  // namespace

#if TSR_TIER_EX
// The rare routine of both double members: the core's value stands unless an operand is a NaN.
extern "C" int __libm_dmaxmag_cout_rare(const double *x, const double *y, double *result) noexcept TSR_HIDDEN;
extern "C" int __libm_dmaxmag_cout_rare(const double *x, const double *y, double *result) noexcept {
    // NaNs told by their bits: a compare would raise invalid on a signalling one
    if ((bits(*y) & kAbs) > kExp) *result = *x * opaque(1.0);
    if ((bits(*x) & kAbs) > kExp) *result = *y * opaque(1.0);
    return 0;
}
extern "C" int __libm_dminmag_cout_rare(const double *x, const double *y, double *result) noexcept
    __attribute__((alias("__libm_dmaxmag_cout_rare"))) TSR_HIDDEN;
#else
extern "C" int __libm_dmaxmag_cout_rare(const double *x, const double *y, double *result) noexcept TSR_HIDDEN;
extern "C" int __libm_dminmag_cout_rare(const double *x, const double *y, double *result) noexcept TSR_HIDDEN;
#endif

#if TSR_TIER_EX || TSR_TIER_L9
TSR_BODY(double, maxmag, (double x, double y)) {
    uint32_t flag;
    double r = mag_core<true>(x, y, flag);
    return finish(flag, x, y, r, __libm_dmaxmag_cout_rare);
}
TSR_BODY(double, minmag, (double x, double y)) {
    uint32_t flag;
    double r = mag_core<false>(x, y, flag);
    return finish(flag, x, y, r, __libm_dminmag_cout_rare);
}
TSR_BODY(float, maxmagf, (float x, float y)) { return mag_core<true>(x, y); }
TSR_BODY(float, minmagf, (float x, float y)) { return mag_core<false>(x, y); }
#endif

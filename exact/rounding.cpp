// tessera-tiers: ex e7 y8
// Rounding to integral values.  Three ways of writing one operation: integer surgery on
// the bit pattern (ex), a magic-constant addition corrected by a comparison so that the
// result does not depend on the rounding mode (e7), and one SSE4.1 rounding instruction
// (y8).
#include "tsr/common.h"
#include "exact/rounding_data.h"

#if TSR_TIER_Y8
#include <smmintrin.h>
#endif

using namespace tsr;

#if TSR_TIER_EX
// Magnitudes in [1, 2^52) are cut at the binary point; a positive value with a non-zero
// cut part moves up by one unit of the cut position, the carry running into the exponent.
TSR_DEFINE(double, __libm_ceil_ex, (double x)) {
    uint32_t h = hi(x), l = lo(x), a = h & 0x7fffffff;
    if (a - 0x3ff00000u > 0x033fffffu) {
        if (a > 0x3fefffff) return x;
        if ((a | l) == 0) return x;
        return kCeilSmall[h >> 31];
    }
    uint32_t e = a >> 20;
    bool pos = (h >> 31) == 0;
    if (a > 0x413fffff) {
        uint32_t n = 0x433 - e;
        uint32_t mask = 0xffffffffu << n;
        uint64_t b = bits(x);
        bool cut = (l & ~mask) != 0;
        b &= ~uint64_t(~mask);
        if (pos && cut) b += uint64_t(1) << n;
        return f64(b);
    }
    uint32_t n = 0x413 - e;
    uint32_t mask = 0xffffffffu << n;
    uint32_t t = h & mask;
    if (pos && (((h & ~mask) | l) != 0)) t += 1u << n;
    return from_words(t, 0);
}
#endif

#if TSR_TIER_E7
TSR_DEFINE(double, __libm_ceil_e7, (double x)) {
    uint32_t top = (hi(x) >> 16) & 0x7ff0;
    if (top > 0x4320) return x + 0.0;
    if (top == 0x4320) return x + ((bits(x) & 1) ? 0.5 : 0.0);
    if (top < 0x3ff0) {
        uint64_t s = bits(x) & 0x8000000000000000ull;
        return f64(x > 0.0 ? s | 0x3ff0000000000000ull : s);
    }
    const double C = f64(0x4338000000000000ull);
    double y = opaque(x + C) - C;
    return x > y ? y + 1.0 : y + 0.0;
}
#endif

#if TSR_TIER_Y8
TSR_DEFINE(double, __libm_ceil_y8, (double x)) {
    return _mm_cvtsd_f64(_mm_round_sd(_mm_setzero_pd(), _mm_set_sd(x), 2));
}
#endif

// Rounding to integral values.  Three ways of writing one operation: integer surgery on
// the bit pattern (ex), a magic-constant addition corrected by a comparison so that the
// result does not depend on the rounding mode (e7), and one SSE4.1 rounding instruction
// (y8).  The tiers differ on purpose in their side effects (which of them raise inexact,
// whether a signalling NaN comes back quieted); tests pin each tier's behaviour down.
//
// The extended forms have a single body each and live with the ex tier.
#include "tsr/common.h"
#include "tsr/guard.h"
#include "tsr/lane.h"
#include "exact/rounding_data.h"

#if TSR_TIER_EX
#include <emmintrin.h>
#endif
#if TSR_TIER_Y8
#include <smmintrin.h>
#endif

using namespace tsr;

namespace {
constexpr uint64_t kSign64 = 0x8000000000000000ull;
constexpr uint32_t kSign32 = 0x80000000u;
// MXCSR and x87 rounding-control values (the two units encode them alike).
constexpr uint32_t kNearest = 0, kDown = 1, kUp = 2;
}  // namespace

#if TSR_TIER_EX
// ---- double, ex: integer surgery ------------------------------------------------------

// ceil and floor share the cut; they differ in which sign moves (the addition to the
// pattern moves the magnitude up: toward +inf for a positive value, toward -inf for a
// negative one) and in the results below 1.  The step goes in by a mask, not under a test:
// the sign and the cut are as good as random over a caller's arguments, and a branch on
// them is mispredicted about every other call.
template <bool kCeil>
static inline double ceil_floor_ex(double x) {
    uint32_t h = hi(x), l = lo(x), a = h & 0x7fffffff, s = h >> 31;
    if (a - 0x3ff00000u > 0x033fffffu) {  // outside [1, 2^52)
        if (a > 0x3fefffff) return x;      // large, infinite or NaN: untouched, no flag
        if ((a | l) == 0) return x;        // a signed zero
        return kCeil ? kCeilSmall[s] : kFloorSmall[s];
    }
    // [1, 2^52): 1..52 bits below the point.  Adding ones to all of them carries into the
    // integer part exactly when the cut is non-zero (out of the mantissa, into the exponent:
    // the next power of two); then the cut is cleared.
    uint64_t low = (uint64_t(1) << (0x433 - (a >> 20))) - 1;
    uint64_t move = uint64_t(0) - uint64_t(kCeil ? s == 0 : s != 0);  // all ones or zero
    return f64((bits(x) + (low & move)) & ~low);
}

TSR_BODY(double, ceil, (double x)) { return ceil_floor_ex<true>(x); }
TSR_BODY(double, floor, (double x)) { return ceil_floor_ex<false>(x); }

TSR_BODY(double, trunc, (double x)) {
    uint32_t h = hi(x), l = lo(x), a = h & 0x7fffffff;
    int k = int(a >> 20) - 0x3ff;
    if (k < 0) return kZeroSmall[h >> 31];
    if (k > 51) return x;  // integral, infinite or NaN: untouched
    if (k <= 20) return from_words(h & uint32_t(int32_t(0xfff00000u) >> k), 0);
    return from_words(h, l & (0xffffffffu << (0x34 - k)));
}

TSR_BODY(double, rint, (double x)) {
    uint64_t b = bits(x);
    if ((b & ~kSign64) >= 0x4330000000000000ull) return x * 1.0;  // |x| >= 2^52, inf, NaN
    // The conversion rounds in the current mode and raises inexact on a non-integer.
    long long n = _mm_cvtsd_si64(_mm_set_sd(x));
    if (n != 0) return double(n);
    return f64(b & kSign64);  // the zero the integer lost its sign in
}

// On the magnitude, in the integer unit, the sign put back at the end: adding one half (the
// bit below the point) to the pattern carries into the integer part exactly when the
// fraction is at least one half, and a carry out of the mantissa lands in the exponent, the
// next power of two.  No branch on the sign or the fraction, which are as good as random
// over a caller's arguments.
TSR_BODY(double, round, (double x)) {
    uint64_t b = bits(x), s = b & kSign64, a = b ^ s;
    uint32_t field = uint32_t(a >> 52);
    if (field < 0x3ff) return f64((field >= 0x3fe ? bits(1.0) : 0) | s);  // below 1: 0 or 1
    if (field > 0x432) return field == 0x7ff && (a << 12) != 0 ? x + x : x;
    uint32_t n = 0x433 - field;  // 1..52 bits below the point
    uint64_t low = (uint64_t(1) << n) - 1;
    return f64(((a + (uint64_t(1) << (n - 1))) & ~low) | s);
}

// Bit surgery in the current mode, read from MXCSR and never written; the one addition it
// does is of an integer to an integer below 2^52, exact, so no flag changes.
TSR_BODY(double, nearbyint, (double x)) {
    uint32_t h = hi(x), l = lo(x), s = h >> 31, e = (h >> 20) & 0x7ff;
    if (e > 0x432) {
        if (e == 0x7ff) return ((h & 0xfffff) | l) != 0 ? x + x : x + (-0.0);
        return x;
    }
    uint32_t mode = (get_mxcsr() & MXCSR_RC_MASK) >> 13;
    if (e < 0x3ff) {
        bool zero = ((h & 0x7fffffff) | l) == 0;
        switch (mode) {
        case kNearest:
            // strictly between 0.5 and 1 rounds away; 0.5 itself goes to the even zero
            return e == 0x3fe && ((h & 0xfffff) | l) != 0 ? kOneSmall[s] : kZeroSmall[s];
        case kDown: return zero ? x : kFloorSmall[s];
        case kUp: return zero ? x : kCeilSmall[s];
        default: return kZeroSmall[s];
        }
    }
    // Truncate: clear the bits below the binary point, noting whether any was set, and
    // find the lowest integer bit (at e == 0x3ff that is the exponent's own low bit, 1,
    // which is right: the integer part is 1).
    uint32_t th, tl, odd;
    bool cut;
    if (e <= 0x413) {
        uint32_t n = 0x413 - e;
        uint32_t mask = 0xffffffffu << n;
        th = h & mask;
        tl = 0;
        cut = ((h & ~mask) | l) != 0;
        odd = (h >> n) & 1;
    } else {
        uint32_t n = 0x433 - e;
        uint32_t mask = 0xffffffffu << n;
        th = h;
        tl = l & mask;
        cut = (l & ~mask) != 0;
        odd = (l >> n) & 1;
    }
    double t = from_words(th, tl);
    switch (mode) {
    case kNearest: {
        // The fraction moved to the top of a word g; `rest` holds what follows it.
        uint32_t g, rest = 0;
        if (e <= 0x412) {
            g = (h & 0xfffff) << ((e + 13) & 31);
            rest = l;
        } else if (e == 0x413) {
            g = l;
        } else {
            g = l << ((e - 0x13) & 31);
        }
        if ((g >> 31) == 0) return t;                          // below one half
        if (((g << 1) | rest) != 0) return t + kOneSmall[s];   // above one half
        return odd ? t + kOneSmall[s] : t;                     // a tie goes to even
    }
    case kDown: return s != 0 && cut ? t + kOneSmall[1] : t;
    case kUp: return s == 0 && cut ? t + kOneSmall[0] : t;
    default: return t;
    }
}

// ---- float, ex ------------------------------------------------------------------------

// Within [2^22, 2^23) one ulp is one half, so a set lowest bit means x + 0.5 or x - 0.5
// is the neighbouring integer, exactly.  From 1 up the magic-constant addition rounds.
template <bool kCeil>
static inline float ceil_floor_f_ex(float x) {
    uint32_t u = bits(x), b = (u >> 23) & 0xff;
    if (b > 0x95) return x * 1.0f;
    if (b == 0x95) return (u & 1) ? x + (kCeil ? 0.5f : -0.5f) : x;
    if (b >= 0x7f) {
        // y: x rounded to an integer in the caller's mode, at least 1 in magnitude.  The
        // step of one goes in by a compare mask, not a branch (which side of y x lies is a
        // coin toss), and all of it stays in the vector unit.
        const __m128 vx = lane(x), c = _mm_set_ss(f32(kMagic23));
        const __m128 vy = _mm_sub_ss(_mm_add_ss(vx, c), c);
        const __m128 step = kCeil ? _mm_cmplt_ss(vy, vx) : _mm_cmplt_ss(vx, vy);  // all ones or zero
        const __m128 one = _mm_and_ps(step, _mm_set_ss(1.0f));
        return _mm_cvtss_f32(kCeil ? _mm_add_ss(vy, one) : _mm_sub_ss(vy, one));  // exact
    }
    if ((u & 0x7fffffff) == 0) return x;  // a subnormal counts as non-zero
    return kCeil ? kCeilSmallF[u >> 31] : kFloorSmallF[u >> 31];
}

TSR_BODY(float, ceilf, (float x)) { return ceil_floor_f_ex<true>(x); }
TSR_BODY(float, floorf, (float x)) { return ceil_floor_f_ex<false>(x); }

TSR_BODY(float, truncf, (float x)) {
    uint32_t u = bits(x), a = u & 0x7fffffff;
    if (a - 0x3f800000u <= 0x0b7fffffu)  // [1, 2^23)
        return f32(u & uint32_t(int32_t(0xff800000u) >> ((a >> 23) - 0x7f)));
    if (a < 0x3f800000) return f32(u & kSign32);
    return x * 1.0f;
}

TSR_BODY(float, rintf, (float x)) {
    uint32_t u = bits(x);
    if ((u & 0x7fffffff) >= 0x4b000000) return x * 1.0f;  // |x| >= 2^23, inf, NaN
    int n = _mm_cvtss_si32(_mm_set_ss(x));
    if (n != 0) return float(n);
    return f32(u & kSign32);
}

// Half away from zero without touching a flag: x + 0.5 is formed in double, where it is
// exact (at most 47 significant bits), and truncated by clearing bits rather than by a
// converting instruction, which would raise inexact.
TSR_BODY(float, roundf, (float x)) {
    uint32_t u = bits(x), m = u & 0x7fffffff;
    if (m < 0x3f000000) return f32(u & kSign32);
    if (m >= 0x4b000000 || m == 0x3f800000)
        return m > 0x7f800000 ? f32(u | 0x400000) : x;  // NaN: quiet bit, no flag
    double y = double(x) + ((u >> 31) ? -0.5 : 0.5);
    uint64_t yb = bits(y);
    uint32_t n = 0x433 - uint32_t((yb >> 52) & 0x7ff);  // bits below the point, 30..52
    yb = (yb >> n) << n;
    return float(f64(yb));  // an integer below 2^24: exact
}

TSR_BODY(float, nearbyintf, (float x)) {
    float y = x * 1.0f;  // a signalling NaN is quieted here, raising invalid
    uint32_t u = bits(y), s = u >> 31, b = (u >> 23) & 0xff;
    if (b > 0x95) return b == 0xff && (u & 0x7fffff) != 0 ? y + y : y + (-0.0f);
    uint32_t mode = (get_mxcsr() & MXCSR_RC_MASK) >> 13;
    if (b < 0x7f) {
        bool zero = (u & 0x7fffffff) == 0;
        switch (mode) {
        case kNearest: return b == 0x7e && (u & 0x7fffff) != 0 ? kOneSmallF[s] : kZeroSmallF[s];
        case kDown: return zero ? y : kFloorSmallF[s];
        case kUp: return zero ? y : kCeilSmallF[s];
        default: return kZeroSmallF[s];
        }
    }
    uint32_t n = 0x96 - b;  // 1..23 bits below the point
    uint32_t mask = 0xffffffffu << n;
    float t = f32(u & mask);
    bool cut = (u & ~mask) != 0;
    switch (mode) {
    case kNearest: {
        uint32_t g = u << (32 - n);
        if ((g >> 31) == 0) return t;
        if ((g << 1) != 0) return t + kOneSmallF[s];
        return (u >> n) & 1 ? t + kOneSmallF[s] : t;
    }
    case kDown: return s != 0 && cut ? t + kOneSmallF[1] : t;
    case kUp: return s == 0 && cut ? t + kOneSmallF[0] : t;
    default: return t;
    }
}

// ---- extended -------------------------------------------------------------------------
// Rounding arithmetic runs with a 64-bit significand whatever precision the caller left
// in the x87 control word (X87Precision); the caller's word comes back afterwards.  The
// values pass through opaque() inside the window, which keeps the arithmetic between the
// two writes.
template <bool kCeil>
static inline long double ceil_floor_l(long double x) {
    Ext v = ext(x);
    uint32_t f = v.se & 0x7fff, s = v.se >> 15;
    if ((f & 0x7ffe) > 0x403d) return x;  // 2^63 and up, infinite or NaN
    if (f < 0x3fff) {
        if (f == 0 && v.m == 0) return x;
        return kCeil ? kCeilSmallL[s] : kFloorSmallL[s];
    }
    X87Precision guard;
    long double xx = opaque(x), r;
    if (f == 0x403d) {  // [2^62, 2^63): one ulp is one half
        r = (v.m & 1) ? xx + (kCeil ? 0.5L : -0.5L) : xx;
    } else {
        const long double C = f32(kMagic63);
        long double y = opaque(xx + C) - C;
        if (kCeil) r = xx > y ? y + 1.0L : y;
        else r = xx < y ? y - 1.0L : y;
    }
    r = opaque(r);
    return r;
}

TSR_DEFINE(long double, ceill, (long double x)) { return ceil_floor_l<true>(x); }
TSR_DEFINE(long double, floorl, (long double x)) { return ceil_floor_l<false>(x); }

TSR_DEFINE(long double, truncl, (long double x)) {
    Ext v = ext(x);
    uint32_t f = v.se & 0x7fff;
    if ((f & 0x7ffe) > 0x403d) return x;
    if (f < 0x3fff) return kZeroSmallL[v.se >> 15];
    uint32_t k = f - 0x3fff;  // 0..62
    uint32_t mh = uint32_t(v.m >> 32), ml = uint32_t(v.m);
    if (f <= 0x401e) {
        mh &= 0xffffffffu << (31 - k);
        ml = 0;
    } else {
        ml &= 0xffffffffu << (63 - k);
    }
    return from_ext((uint64_t(mh) << 32) | ml, v.se);
}

TSR_DEFINE(long double, roundl, (long double x)) {
    Ext v = ext(x);
    uint32_t f = v.se & 0x7fff, s = v.se >> 15;
    if ((f & 0x7ffe) > 0x403d) return x;
    if (f < 0x3fff) return f == 0x3ffe ? kOneSmallL[s] : kZeroSmallL[s];
    uint32_t n = 0x403e - f;  // 1..63 bits below the point
    bool half = (v.m >> (n - 1)) & 1;
    long double t = from_ext((v.m >> n) << n, v.se);
    if (!half) return t;
    X87Precision guard;
    long double r = opaque(opaque(t) + kOneSmallL[s]);  // exact: an integer below 2^63
    return r;
}

TSR_DEFINE(long double, rintl, (long double x)) {
    // The operand goes onto the x87 stack straight from its argument cell before its
    // fields are read: reassembling it from integer registers would stall on a store
    // that the 10-byte load cannot forward from.
    long double xx;
    asm("fldt %1" : "=t"(xx) : "m"(x));
    Ext v = ext(x);
    uint32_t f = v.se & 0x7fff, s = v.se >> 15;
    X87Precision guard;
    long double r;
    if ((f & 0x7ffe) > 0x403d) {
        r = opaque(xx * 1.0L);
    } else {
        // +-2^63 puts the binary point of the sum at the unit, in the caller's mode.
        const long double S = s ? -(long double)f32(kTwo63) : (long double)f32(kTwo63);
        r = opaque(opaque(xx + S) - S);
        // Only a magnitude below 1 can round to zero; the test stays off the usual path.
        if (f < 0x3fff && r == 0.0L) r = kZeroSmallL[s];
    }
    return r;
}

// The four-way switch of nearbyint on the x87 rounding control and the 64-bit
// significand; nothing inexact is computed.
TSR_BODY(long double, nearbyintl, (long double x)) {
    Ext v = ext(x);
    uint32_t f = v.se & 0x7fff, s = v.se >> 15;
    if ((f & 0x7ffe) > 0x403d) return x;
    uint32_t mode = (get_x87_cw() & X87_RC_MASK) >> 10;
    if (f < 0x3fff) {
        bool zero = f == 0 && v.m == 0;
        switch (mode) {
        case kNearest:
            return f == 0x3ffe && (v.m << 1) != 0 ? kOneSmallL[s] : kZeroSmallL[s];
        case kDown: return zero ? x : kFloorSmallL[s];
        case kUp: return zero ? x : kCeilSmallL[s];
        default: return kZeroSmallL[s];
        }
    }
    uint32_t n = 0x403e - f;  // 1..63 bits below the point
    uint64_t below = v.m & ((uint64_t(1) << n) - 1);
    long double t = from_ext(v.m - below, v.se);
    bool up;
    switch (mode) {
    case kNearest: {
        uint64_t halfbit = uint64_t(1) << (n - 1);
        up = below > halfbit || (below == halfbit && ((v.m >> n) & 1));
        break;
    }
    case kDown: up = s != 0 && below != 0; break;
    case kUp: up = s == 0 && below != 0; break;
    default: up = false;
    }
    if (!up) return t;
    X87Precision guard;
    long double r = opaque(opaque(t) + kOneSmallL[s]);  // exact: an integer below 2^63
    return r;
}

// The reproducible forms.  Copies of the ex bodies: the same operations, functions of their
// own.  rint, rintf and nearbyintf are bodies of their own in the reproducible family's
// terms, whose main path is the ex arithmetic; here they are that arithmetic with the same
// special cases, so they share its code as the copies do.  truncf has one entry, bound at
// link time to its ex body: its reproducible name is a second name of that body.
TSR_DEFINE(double, __bwr_ceil, (double x)) { return tsr::body::ceil(x); }
TSR_DEFINE(double, __bwr_floor, (double x)) { return tsr::body::floor(x); }
TSR_DEFINE(double, __bwr_trunc, (double x)) { return tsr::body::trunc(x); }
TSR_DEFINE(double, __bwr_round, (double x)) { return tsr::body::round(x); }
TSR_DEFINE(double, __bwr_rint, (double x)) { return tsr::body::rint(x); }
TSR_DEFINE(double, __bwr_nearbyint, (double x)) { return tsr::body::nearbyint(x); }
TSR_DEFINE(float, __bwr_ceilf, (float x)) { return tsr::body::ceilf(x); }
TSR_DEFINE(float, __bwr_floorf, (float x)) { return tsr::body::floorf(x); }
TSR_DEFINE(float, __bwr_roundf, (float x)) { return tsr::body::roundf(x); }
TSR_DEFINE(float, __bwr_rintf, (float x)) { return tsr::body::rintf(x); }
TSR_DEFINE(float, __bwr_nearbyintf, (float x)) { return tsr::body::nearbyintf(x); }
TSR_ALIAS(float, __bwr_truncf, (float), __libm_truncf_ex)
#endif  // TSR_TIER_EX

#if TSR_TIER_E7
// ---- double, e7: the magic constant --------------------------------------------------
// (x + C) - C with C = 1.5 * 2^52 rounds x to an integer in the current mode; comparing the
// result with x then corrects it into the wanted direction, so the mode does not matter.
template <bool kCeil>
static inline double ceil_floor_e7(double x) {
    uint32_t top = (hi(x) >> 16) & 0x7ff0;
    if (top > 0x4320) return x + 0.0;
    if (top == 0x4320) {  // [2^51, 2^52): one ulp is one half, the step is exact
        double half = (bits(x) & 1) ? 0.5 : 0.0;
        return kCeil ? x + half : x - half;
    }
    if (top < 0x3ff0) {
        uint64_t s = bits(x) & kSign64;
        bool one = kCeil ? x > 0.0 : x < 0.0;
        return f64(one ? s | 0x3ff0000000000000ull : s);
    }
    const double C = f64(kMagic52);
    double y = opaque(x + C) - C;
    if (kCeil) return x > y ? y + 1.0 : y + 0.0;
    return x < y ? y - 1.0 : y + 0.0;
}

TSR_BODY(double, ceil, (double x)) { return ceil_floor_e7<true>(x); }
TSR_BODY(double, floor, (double x)) { return ceil_floor_e7<false>(x); }

TSR_BODY(double, trunc, (double x)) {
    uint64_t b = bits(x);
    uint32_t field = uint32_t(b >> 52) & 0x7ff;
    int k = int(field) - 0x3ff;
    if (k < 0) return f64(b & kSign64);
    if (k >= 0x34) return x * 1.0;
    uint32_t n = 0x433 - field;
    return f64((b >> n) << n);
}

// Nearest-even without branches on the data: the fraction is shifted up against the
// lowest integer bit and two doubles built from it answer "odd and exactly half" and
// "above half" by plain comparisons with 1.5.
TSR_BODY(double, nearbyint, (double x)) {
    uint64_t b = bits(x);
    uint32_t top = uint32_t(b >> 48) & 0x7ff0;
    if (top >= 0x4330) return x + 0.0;
    uint32_t mode = get_mxcsr() & MXCSR_RC_MASK;
    uint64_t s = b & kSign64;
    if (top < 0x3ff0) {
        uint64_t a = b & ~kSign64;
        bool one;
        switch (mode >> 13) {
        case kNearest: one = a > 0x3fe0000000000000ull; break;
        case kDown: one = s != 0 && a != 0; break;
        case kUp: one = s == 0 && a != 0; break;
        default: one = false;
        }
        return f64(one ? s | 0x3ff0000000000000ull : s);
    }
    uint32_t k = (top >> 4) - 0x3ff;  // 0..51
    uint64_t w = b << k;  // bit 52: the lowest integer bit (the exponent's 1 when k == 0)
    double t = f64(b & ~(0x000fffffffffffffull >> k));
    const double one = f64(s | 0x3ff0000000000000ull);
    bool frac = (w & 0x000fffffffffffffull) != 0;
    bool up;
    switch (mode >> 13) {
    case kNearest: {
        double A = f64((w & 0x001fffffffffffffull) | 0x3fe0000000000000ull);
        double B = f64((w & 0x000fffffffffffffull) | 0x3ff0000000000000ull);
        up = (A == 1.5) | (B > 1.5);
        break;
    }
    case kDown: up = s != 0 && frac; break;
    case kUp: up = s == 0 && frac; break;
    default: up = false;
    }
    return up ? t + one : t;
}

// ---- float, e7 ----------------------------------------------------------------------
template <bool kCeil>
static inline float ceil_floor_f_e7(float x) {
    uint32_t u = bits(x), m = u & 0x7f800000;
    if (m > 0x4a800000) return x + 0.0f;
    if (m == 0x4a800000) {
        float half = (u & 1) ? 0.5f : 0.0f;
        return kCeil ? x + half : x - half;
    }
    if (m < 0x3f800000) {
        bool one = kCeil ? x > 0.0f : x < 0.0f;
        return f32(one ? (u & kSign32) | 0x3f800000 : u & kSign32);
    }
    const float C = f32(kMagic23);
    float y = opaque(x + C) - C;
    if (kCeil) return x > y ? y + 1.0f : y + 0.0f;
    return x < y ? y - 1.0f : y + 0.0f;
}

TSR_BODY(float, ceilf, (float x)) { return ceil_floor_f_e7<true>(x); }
TSR_BODY(float, floorf, (float x)) { return ceil_floor_f_e7<false>(x); }

TSR_BODY(float, nearbyintf, (float x)) {
    uint32_t u = bits(x), m = u & 0x7f800000, a = u & 0x7fffffff, s = u & kSign32;
    if (m >= 0x4b000000) return x + 0.0f;
    uint32_t mode = (get_mxcsr() & MXCSR_RC_MASK) >> 13;
    if (m < 0x3f800000) {
        bool one;
        switch (mode) {
        case kNearest: one = a > 0x3f000000; break;
        case kDown: one = s != 0 && a != 0; break;
        case kUp: one = s == 0 && a != 0; break;
        default: one = false;
        }
        return f32(one ? s | 0x3f800000 : s);
    }
    uint32_t k = (m >> 23) - 0x7f;  // 0..22
    uint32_t w = u << k;             // bit 23: the lowest integer bit
    float t = f32(u & ~(0x007fffffu >> k));
    bool frac = (w & 0x007fffff) != 0;
    bool up;
    switch (mode) {
    case kNearest: up = ((w & 0x00ffffff) == 0x00c00000) | ((w & 0x007fffff) > 0x00400000); break;
    case kDown: up = s != 0 && frac; break;
    case kUp: up = s == 0 && frac; break;
    default: up = false;
    }
    return up ? t + f32(s | 0x3f800000) : t;
}
#endif  // TSR_TIER_E7

#if TSR_TIER_Y8
// ---- y8: one SSE4.1 rounding instruction ----------------------------------------------
// Immediates: 0 nearest-even, 1 down, 2 up, 3 toward zero, 4 the MXCSR mode; bit 3 (8)
// suppresses the precision exception.
template <int kImm>
static inline double round_sd(double x) {
    __m128d v = _mm_set_sd(x);
    return _mm_cvtsd_f64(_mm_round_sd(v, v, kImm));
}
template <int kImm>
static inline float round_ss(float x) {
    __m128 v = _mm_set_ss(x);
    return _mm_cvtss_f32(_mm_round_ss(v, v, kImm));
}

TSR_BODY(double, ceil, (double x)) { return round_sd<2>(x); }
TSR_BODY(double, floor, (double x)) { return round_sd<1>(x); }
TSR_BODY(double, trunc, (double x)) { return round_sd<3>(x); }
TSR_BODY(double, rint, (double x)) { return round_sd<4>(x); }
TSR_BODY(double, nearbyint, (double x)) { return round_sd<0xC>(x); }
TSR_BODY(float, ceilf, (float x)) { return round_ss<2>(x); }
TSR_BODY(float, floorf, (float x)) { return round_ss<1>(x); }
TSR_BODY(float, rintf, (float x)) { return round_ss<4>(x); }
TSR_BODY(float, nearbyintf, (float x)) { return round_ss<0xC>(x); }

// The instruction has no half-away mode: round to nearest even, then move a tie that went
// toward zero one further out.  x - r is exact (both lie in one binade or r is 0).
TSR_BODY(double, round, (double x)) {
    __m128d v = _mm_set_sd(x);
    __m128d r = _mm_round_sd(v, v, 0);
    if ((bits(x) & 0x7ff0000000000000ull) == 0x7ff0000000000000ull) return _mm_cvtsd_f64(r);
    // The tie test and its correction stay in the vector unit (d = x - r with the sign of
    // x taken off); the rare tie is a branch, so the usual path is the rounding and the
    // sign alone.
    __m128d sign = _mm_and_pd(v, _mm_castsi128_pd(_mm_cvtsi64_si128(int64_t(kSign64))));
    __m128d d = _mm_xor_pd(_mm_sub_sd(v, r), sign);
    if (__builtin_expect(_mm_ucomieq_sd(d, _mm_set_sd(0.5)), 0))
        r = _mm_add_sd(r, _mm_or_pd(sign, _mm_set_sd(1.0)));
    return _mm_cvtsd_f64(_mm_or_pd(r, sign));
}

TSR_BODY(float, roundf, (float x)) {
    __m128 v = _mm_set_ss(x);
    __m128 r = _mm_round_ss(v, v, 0);
    if ((bits(x) & 0x7f800000) == 0x7f800000) return _mm_cvtss_f32(r);
    __m128 sign = _mm_and_ps(v, _mm_castsi128_ps(_mm_cvtsi32_si128(int32_t(kSign32))));
    __m128 d = _mm_xor_ps(_mm_sub_ss(v, r), sign);
    if (__builtin_expect(_mm_ucomieq_ss(d, _mm_set_ss(0.5f)), 0))
        r = _mm_add_ss(r, _mm_or_ps(sign, _mm_set_ss(1.0f)));
    return _mm_cvtss_f32(_mm_or_ps(r, sign));
}
#endif  // TSR_TIER_Y8

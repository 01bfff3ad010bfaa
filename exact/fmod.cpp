// fmod in every precision.  A remainder is always representable, so every tier gives the
// exact result at any distance between the exponents; the tiers get there differently:
//   ex   the x87 partial remainder, fprem, repeated until it reports completion (each round
//        takes up to 63 bits of the exponent distance), with a quick path for |y| = 1;
//   e7   the integer division of the significands of rem_common.h, no x87;
//   l9   the fused reduction under a control word set to round toward zero, and below an
//        exponent distance of 60 the integer division (one step of it);
//   z0   (and d1, the same code) the fused reduction with embedded round-toward-zero.
// fmodf: ex widens and runs the double ex body (so its zero-divisor report is the double
// one); e7 the integer division on the float significands; l9, z0 and d1 the fused
// reduction on the widened values.  fmodl: fprem on the extended values.
//
// Every result carries the sign of x, a zero included.  A zero y is the one reported
// condition (a NaN x with a zero y is not); an infinite x gives a NaN without a report.
#include "tsr/common.h"
#include "tsr/codes.h"
#include "tsr/format.h"
#include "tsr/report.h"
#include "tsr/x87.h"
#include "exact/rem_common.h"
#include "exact/fused_rem.h"


using namespace tsr;

namespace {

constexpr uint64_t kAbs64 = 0x7fffffffffffffffull, kSign64 = 0x8000000000000000ull;
constexpr uint64_t kInf64 = 0x7ff0000000000000ull, kQNaN64 = 0x7ff8000000000000ull;
constexpr uint32_t kAbs32 = 0x7fffffffu, kSign32 = 0x80000000u, kInf32 = 0x7f800000u;

// The special cases every double tier shares (ex apart: it forms the NaNs differently).
// Returns true with the result in r when one applies.
template <bool kEx>
inline bool fmod_special(double x, double y, double &r) {
    uint64_t ax = bits(x) & kAbs64, ay = bits(y) & kAbs64;
    if (ax > kInf64 || ay > kInf64) {
        r = kEx ? x * y : x + y;
        return true;
    }
    if (ay == 0) {
        r = report(x, y, opaque(y) / y, code::fmod_divisor_0);
        return true;
    }
    if (ax == kInf64) {
        r = kEx ? f64(kQNaN64) : opaque(x) - x;
        return true;
    }
    if (ay == kInf64 || ax < ay) {
        r = x;
        return true;
    }
    if (ax == ay) {
        r = f64(bits(x) & kSign64);
        return true;
    }
    return false;
}

// The same for the float tiers e7, l9, z0, d1.
inline bool fmodf_special(float x, float y, float &r) {
    uint32_t ax = bits(x) & kAbs32, ay = bits(y) & kAbs32;
    if (ax > kInf32 || ay > kInf32) {
        r = x + y;
        return true;
    }
    if (ay == 0) {
        r = report(x, y, opaque(y) / y, code::fmodf_divisor_0);
        return true;
    }
    if (ax == kInf32) {
        r = opaque(x) - x;
        return true;
    }
    if (ay == kInf32 || ax < ay) {
        r = x;
        return true;
    }
    if (ax == ay) {
        r = f32(bits(x) & kSign32);
        return true;
    }
    return false;
}

// The integer division (e7): finite, |x| > |y| > 0.
template <class T>
inline T fmod_int(T x, T y) {
    rem::Sig a = rem::sig(x), b = rem::sig(y);
    uint64_t q;
    uint64_t r = rem::divide(a, b, q);
    return rem::make<T>(r, b.e, (Format<T>::bits(x) & Format<T>::sign) != 0);
}


}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, fmod, (double x, double y)) {
    uint64_t ax = bits(x) & kAbs64;
    if ((bits(y) & kAbs64) == 0x3ff0000000000000ull) {
        // |y| = 1: the fraction of x by clearing its integer bits, no division.
        uint32_t field = uint32_t(ax >> 52);
        if (ax > 0x3ff0000000000000ull) {
            if (field > 0x432) {
                if (ax > kInf64) return x * y;
                if (ax == kInf64) return f64(kQNaN64);
                return f64(bits(x) & kSign64);  // an integer
            }
            uint64_t ip = bits(x) & uint64_t(int64_t(0xfff0000000000000ull) >> (field - 0x3ff));
            double d = x - f64(ip);  // exact; zero only for an integral x
            return f64((bits(d) & kAbs64) | (bits(x) & kSign64));
        }
        if (ax == 0x3ff0000000000000ull) return f64(bits(x) & kSign64);
        return x;
    }
    double r;
    if (fmod_special<true>(x, y, r)) return r;
    return double(rem::x87_remainder<false>(x, y));
}
TSR_BODY(float, fmodf, (float x, float y)) { return float(__libm_fmod_ex_local(x, y)); }

TSR_DEFINE(long double, fmodl, (long double x, long double y)) {
    Ext a = ext(x), b = ext(y);
    bool ynan = (b.se & 0x7fff) == 0x7fff && (b.m << 1) != 0;
    bool xnan = (a.se & 0x7fff) == 0x7fff && (a.m << 1) != 0;
    if ((b.se & 0x7fff) == 0 && b.m == 0 && !ynan) {
        if (xnan) return x;
        return report(x, y, opaque(y) / y, code::fmodl_divisor_0);
    }
    if ((a.se & 0x7fff) == 0x7fff || (b.se & 0x7fff) == 0x7fff) {
        if (xnan || ynan) return x * y;
        if ((a.se & 0x7fff) == 0x7fff) return opaque(x) - x;  // infinite x
        return x;                                             // infinite y
    }
    return rem::x87_remainder<false>(x, y);
}

// The reproducible forms: ex's arithmetic, the special cases tested in the order of the
// other tiers.
TSR_DEFINE(double, __bwr_fmod, (double x, double y)) {
    double r;
    if (fmod_special<true>(x, y, r)) return r;
    return double(rem::x87_remainder<false>(x, y));
}
TSR_DEFINE(float, __bwr_fmodf, (float x, float y)) { return float(__libm_fmod_ex_local(x, y)); }
#endif

#if TSR_TIER_E7
TSR_BODY(double, fmod, (double x, double y)) {
    double r;
    if (fmod_special<false>(x, y, r)) return r;
    return fmod_int(x, y);
}
TSR_BODY(float, fmodf, (float x, float y)) {
    float r;
    if (fmodf_special(x, y, r)) return r;
    return fmod_int(x, y);
}
#endif

#if TSR_TIER_L9
// Exponent fields closer than this: the integer division needs one divq, cheaper than the
// two control-word loads of the fused reduction.
constexpr uint64_t kOneDivision = 60;
TSR_BODY(double, fmod, (double x, double y)) {
    double r;
    if (fmod_special<false>(x, y, r)) return r;
    if ((bits(x) & kAbs64) - (bits(y) & kAbs64) < (kOneDivision << 52))
        return fmod_int(x, y);
    double ax = f64(bits(x) & kAbs64), ay = f64(bits(y) & kAbs64);
    r = rem::under_rz([&] { return rem::fused_mod<rem::OpsL9>(ax, ay); });
    return f64(bits(r) | (bits(x) & kSign64));
}
TSR_BODY(float, fmodf, (float x, float y)) {
    float r;
    if (fmodf_special(x, y, r)) return r;
    double ax = double(f32(bits(x) & kAbs32)), ay = double(f32(bits(y) & kAbs32));
    double m = rem::under_rz([&] { return rem::fused_mod<rem::OpsL9>(ax, ay); });
    return f32(bits(float(m)) | (bits(x) & kSign32));
}
#endif

#if TSR_TIER_Z0 || TSR_TIER_D1
TSR_BODY(double, fmod, (double x, double y)) {
    double r;
    if (fmod_special<false>(x, y, r)) return r;
    // |x|, |y| and the sign put back on the result by masks in the vector unit: the integer
    // copies above only steer the branches (the trip through them and back cost four moves
    // on the path of the division).
    r = rem::fused_mod<rem::OpsZ0>(__builtin_fabs(x), __builtin_fabs(y));
    return __builtin_copysign(r, x);  // r >= 0
}
TSR_BODY(float, fmodf, (float x, float y)) {
    float r;
    if (fmodf_special(x, y, r)) return r;
    // as in fmod: |x|, |y| and the sign by masks in the vector unit (m >= 0)
    double m = rem::fused_mod<rem::OpsZ0>(double(__builtin_fabsf(x)), double(__builtin_fabsf(y)));
    return __builtin_copysignf(float(m), x);
}
#endif

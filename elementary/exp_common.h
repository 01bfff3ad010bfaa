// Pieces the exponential families share: the round-to-nearest guard for the shifter steps,
// powers of two built in the exponent field, and the report call.
#pragma once
#include "tsr/common.h"
#include "tsr/report.h"
#include "elementary/exp_data.h"

namespace tsr::expd {
// Internal linkage: this header is compiled once per tier, with each tier's instruction
// set, and a helper left out of line must not become one shared copy that the linker
// could take from a newer tier's object.
namespace {

// Constants are written as their bit patterns.
constexpr double D(uint64_t b) { return std::bit_cast<double>(b); }
constexpr float F(uint32_t b) { return std::bit_cast<float>(b); }

// The shifter steps need round-to-nearest.  The guard forces it only when the caller's
// mode differs (one store of the control word otherwise) and puts the caller's mode back,
// keeping every flag raised meanwhile, so that the last operation rounds the caller's way.
// The compiler does not see the control word: a core passes its argument through opaque()
// after the guard is set up, and its last values through finish(), so that no arithmetic
// moves across a change of mode.
// What every guard shares: forcing round-to-nearest, and putting the caller's mode back
// while keeping every flag raised meanwhile.
struct RnRestore {
    uint32_t saved = 0;
    bool forced = false;
    void force(uint32_t mxcsr) {
        saved = mxcsr;
        forced = true;
        set_mxcsr(mxcsr & ~MXCSR_RC_MASK);
    }
    void restore() {
        if (forced) {
            set_mxcsr((get_mxcsr() & ~MXCSR_RC_MASK) | (saved & MXCSR_RC_MASK));
            forced = false;
        }
    }
    // Hands v over the restore: v is computed before the caller's mode returns, and what is
    // computed from the result after it (the compiler moves no arithmetic across either).
    template <class T>
    T finish(T v) {
        v = opaque(v);
        restore();
        return opaque(v);
    }
    ~RnRestore() { restore(); }
};

// The guard for cores that must stay exact and flag-free where their result is: it reads
// the control word.
struct RnGuard : RnRestore {
    RnGuard() {
        uint32_t m = get_mxcsr();
        if (m & MXCSR_RC_MASK) force(m);
    }
};

// True in round-to-nearest: 1 + 2^-60 and 1 - 2^-60 both round to 1 only there; every
// other mode leaves the first above the second (upward moves the first, downward and toward
// zero the second), so one ordered compare and one branch tell them apart.  For cores whose
// result is inexact anyway, so that the probe's inexact flag changes nothing.
inline bool rn_probe() {
    double one = opaque(1.0);
    return !(one + 0x1p-60 > one - 0x1p-60);
}

// The probe on the core's own reduced argument, for the usual path of the 2^x cores: t = r^2,
// which the polynomial needs anyway.  C + t and C - t (C a power of two so large that t is
// below half its ulp on either side while the caller's mode is round-to-nearest, where
// |r| <= 1/64) are both C there; in every other mode the first is above the second.  With
// r = 0 (an exact shifter step, so an exact or correctly rounded result in any mode) the
// probe raises nothing and passes; otherwise the result is inexact anyway.  r^2 never
// underflows here (|r| >= 2^-107, or 2^-49 in single precision).  One ordered compare, one
// branch, taken only in a directed mode.
inline bool rn_or_exact_sq(double t) { return !(0x1p44 + t > 0x1p44 - t); }
inline bool rn_or_exact_sq(float t) { return !(0x1p20f + t > 0x1p20f - t); }

// The same guard for cores whose result is inexact anyway (e^x, 10^x of a non-zero
// argument): the mode is told by the probe above instead of a read of the control word,
// which costs more than the whole core on some processors.  The probe's inexact flag falls
// where the core's would.
struct RnGuardInexact : RnRestore {
    RnGuardInexact() {
        if (!rn_probe()) force(get_mxcsr());
    }
};

// 2^e for a normal exponent e (-1022 <= e <= 1023), exactly.
inline double pow2(int e) { return f64(uint64_t(e + 1023) << 52); }
// 2^e for any e: 0 below the normal range, +inf above; only for scale factors whose
// product is known to be 0 or infinite there.
inline double pow2_clamped(int e) {
    if (e < -1022) return 0.0;
    if (e > 1023) return f64(0x7ff0000000000000ull);
    return pow2(e);
}

// Tier e7 hands values to the interpreter's register wrappers; the other tiers hand cells.
inline double report(double x, double result, int code) {
#if TSR_TIER_E7
    return __libm_error_support_wrapper_x64(result, x, x, code);
#else
    double r = result;
    __libm_error_support(&x, &x, &r, code);
    return r;
#endif
}
inline float report(float x, float result, int code) {
#if TSR_TIER_E7
    return __libm_error_support_wrapper_x64f(result, x, x, code);
#else
    float r = result;
    __libm_error_support(&x, &x, &r, code);
    return r;
#endif
}

constexpr double kMax = 0x1.fffffffffffffp1023, kMinNorm = 0x1p-1022;
constexpr float kMaxF = 0x1p127f, kMinNormF = 0x1p-126f;

// A float argument beyond both result bounds: e^-inf = +0, NaN stays NaN, otherwise an
// overflow or an underflow, raised by the product that makes the result and reported.
inline float float_beyond_range(float x, int overflow_code, int underflow_code) {
    if ((bits(x) & 0x7fffffff) >= 0x7f800000) return bits(x) == 0xff800000u ? 0.0f : x + x;
    if (bits(x) >> 31) return report(x, opaque(kMinNormF) * kMinNormF, underflow_code);
    return report(x, opaque(kMaxF) * kMaxF, overflow_code);
}

// The extreme path of the N = 64 and N = 128 schemes: the value p*T + T (or its analogue
// y0 + T) when 2^n is not a normal double.  T is split as 1.M * 2^(n - h) * 2^h with
// h = n >> 1, so both factors are normal.  A subnormal result is built from H, the part of
// the scaled T that lies on the subnormal grid (exact), plus the rest rounded once.
// `rest(Tp)` gives the correction term times Tp (the y0 of the scheme).
struct Extreme {
    double value;
    int kind;  // 0 normal, 1 overflow, 2 underflow (subnormal or zero)
    // The value, reported under the code of its kind.
    double reported(double x, int overflow_code, int underflow_code) const {
        if (kind == 1) return report(x, value, overflow_code);
        if (kind == 2) return report(x, value, underflow_code);
        return value;
    }
};
template <class Rest>
inline Extreme extreme(int n, uint64_t m, Rest rest) {
    int h = n >> 1;
    double tp = f64((uint64_t(n - h + 1023) << 52) | m);
    double s = pow2(h);
    int d = -1022 - n;
    double y0 = rest(tp);
    if (d > 52) return {(y0 + tp) * s, 2};
    double H = d < 0 ? 0.0 : f64(bits(tp) & ~((uint64_t(1) << d) - 1));
    double y = y0 + (tp - H);
    if (n >= 1023) {
        // Overflow in every rounding mode: the unscaled sum reaches 2^(1024 - h) (a mode that
        // rounds toward zero then gives the largest finite value, still an overflow).
        double yh = y + H;
        double z = yh * s;
        bool over = (bits(z) & 0x7ff0000000000000ull) == 0x7ff0000000000000ull || yh >= pow2(1024 - h);
        return {z, over ? 1 : 0};
    }
    if (d == 0 && !(y < 0.0)) return {(y + H) * s, 0};
    double z = (y + H) * s;
    if ((bits(z) & 0x7ff0000000000000ull) != 0) return {z, 0};
    double a = y * s;  // the one rounding
    double b = H * s;  // exact: H lies on the subnormal grid
    uint64_t ab = bits(a) & 0x7fffffffffffffffull;
    bool same = (bits(a) >> 63) == (bits(b) >> 63);
    return {f64(same ? bits(b) + ab : bits(b) - ab), 2};
}

}  // namespace
}  // namespace tsr::expd

// The fused round-toward-zero reduction of tiers l9, z0 and d1 (see rem_common.h for why
// each step is exact).  Ops gives the three operations rounding toward zero: z0 and d1 by
// embedded rounding (the caller's control word untouched, no flags), l9 by running the whole
// reduction under a control word set to round toward zero with every exception masked and
// put back afterwards, flags included.
#pragma once
#include "tsr/common.h"

#if TSR_TIER_L9
#include <immintrin.h>
#endif
#if TSR_TIER_Z0 || TSR_TIER_D1
#include "tsr/avx512.h"
#endif

namespace tsr::rem {
namespace {

constexpr double kMaxFinite = 0x1.fffffffffffffp1023;  // what a saturated quotient reads
constexpr double kTwo1023 = 0x1p1023;
constexpr double kTwo53 = 0x1p53;  // from here on every double is even

#if TSR_TIER_L9
// Tier l9: the plain operations, run under a control word that rounds toward zero.
struct OpsL9 {
    static double div(double a, double b) { return opaque(a) / opaque(b); }
    static double fnma(double q, double b, double a) {
        return _mm_cvtsd_f64(_mm_fnmadd_sd(_mm_set_sd(q), _mm_set_sd(b), _mm_set_sd(a)));
    }
    static double trunc(double x) {
        __m128d v = _mm_set_sd(x);
        return _mm_cvtsd_f64(_mm_round_sd(v, v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC));
    }
};
// Runs f with round-toward-zero and every exception masked; the caller's control and status
// word (its flags as they were) comes back before the result is used.
template <class F>
inline double under_rz(F f) {
    uint32_t saved = get_mxcsr();
    set_mxcsr(saved | 0x7f80);
    double r = opaque(f());
    set_mxcsr(saved);
    return opaque(r);
}
#endif

#if TSR_TIER_Z0 || TSR_TIER_D1
// Tiers z0 and d1: each operation rounds toward zero by its own embedded rounding.
struct OpsZ0 {
    static double div(double a, double b) { return avx512::div_rz(a, b); }
    static double fnma(double q, double b, double a) { return avx512::fnma_rz(q, b, a); }
    static double trunc(double x) { return avx512::trunc_sae(x); }
};
#endif

// r mod w for finite r >= 0, w > 0 with r / w inside the range.
template <class Ops>
inline double reduce(double r, double w) {
    while (r >= w) {
        double q = Ops::trunc(Ops::div(r, w));
        r = Ops::fnma(q, w, r);
    }
    return r;
}

// ax mod ay for finite ax >= 0, finite ay > 0.  A quotient beyond the range reads as the
// largest finite value: ax is then brought below ay * 2^1023 first (itself by way of
// ay * 2^2046 when even that quotient saturates), each reduction exact.
template <class Ops>
inline double fused_mod(double ax, double ay) {
    if (ax < ay) return ax;
    double q = Ops::div(ax, ay);
    if (q == kMaxFinite) {
        double w = ay * kTwo1023;  // exact: a saturated quotient means ay < 1
        if (Ops::div(ax, w) == kMaxFinite) ax = reduce<Ops>(ax, w * kTwo1023);
        ax = reduce<Ops>(ax, w);
    } else {
        // the first step of the reduction with the quotient just tested (one division)
        ax = Ops::fnma(Ops::trunc(q), ay, ax);
    }
    return reduce<Ops>(ax, ay);
}

// The remainder to nearest of finite ax >= 0 by finite ay > 0, as a value whose sign is
// relative to x (negative: the quotient was rounded up).  The quotient's parity is the sum
// of the partial quotients' low bits: a partial quotient of 2^53 or more is even (its last
// place is at least 2), and so are the multiples of ay * 2^1023 taken off a saturated one.
template <class Ops>
inline double fused_nearest(double ax, double ay) {
    double r = ax;
    bool odd = false;
    if (r >= ay) {
        if (Ops::div(r, ay) == kMaxFinite) {
            double w = ay * kTwo1023;
            if (Ops::div(r, w) == kMaxFinite) r = reduce<Ops>(r, w * kTwo1023);
            r = reduce<Ops>(r, w);
        }
        while (r >= ay) {
            double q = Ops::trunc(Ops::div(r, ay));
            r = Ops::fnma(q, ay, r);
            if (q < kTwo53) odd ^= (static_cast<long long>(q) & 1) != 0;  // exact conversion
        }
    }
    if (r == 0) return 0.0;
    // 2r against ay: doubled below the top binade, else against the exact half of ay.
    bool past = ay < kTwo1023 ? (r + r > ay || (r + r == ay && odd)) : (r > ay * 0.5 || (r == ay * 0.5 && odd));
    return past ? r - ay : r;  // exact: ay/2 <= r < ay
}

}  // namespace
}  // namespace tsr::rem

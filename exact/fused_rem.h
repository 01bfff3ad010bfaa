// The fused round-toward-zero reduction of tiers l9, z0 and d1 (see rem_common.h for why
// each step is exact).  Ops gives the three operations rounding toward zero: z0 and d1 by
// embedded rounding (the caller's control word untouched, no flags), l9 by running the whole
// reduction under a control word set to round toward zero with every exception masked and
// put back afterwards, flags included.
#pragma once
#include "tsr/common.h"

namespace tsr::rem {
namespace {

constexpr double kMaxFinite = 0x1.fffffffffffffp1023;  // what a saturated quotient reads
constexpr double kTwo1023 = 0x1p1023;

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
    if (Ops::div(ax, ay) == kMaxFinite) {
        double w = ay * kTwo1023;  // exact: a saturated quotient means ay < 1
        if (Ops::div(ax, w) == kMaxFinite) ax = reduce<Ops>(ax, w * kTwo1023);
        ax = reduce<Ops>(ax, w);
    }
    return reduce<Ops>(ax, ay);
}

// The remainder to nearest of finite ax >= 0 by finite ay > 0, as a value whose sign is
// relative to x (negative: the quotient was rounded up).  The parity of the quotient comes
// from a reduction against 2 ay: a rest of ay or more means an odd quotient.
template <class Ops>
inline double fused_nearest(double ax, double ay) {
    double r;
    bool odd;
    if (ay < kTwo1023) {
        double r2 = fused_mod<Ops>(ax, ay + ay);
        odd = r2 >= ay;
        r = odd ? r2 - ay : r2;  // exact: ay <= r2 < 2 ay
        if (r == 0) return 0.0;  // (r2 - ay is -0 when rounding down)
        if (r + r > ay || (r + r == ay && odd)) r = r - ay;  // exact: ay/2 <= r < ay
        return r;
    }
    // |y| in the top binade: the quotient is 0 or 1, and half of ay is exact.
    odd = ax >= ay;
    r = odd ? ax - ay : ax;
    if (r == 0) return 0.0;
    double h = ay * 0.5;
    if (r > h || (r == h && odd)) r = r - ay;
    return r;
}

}  // namespace
}  // namespace tsr::rem

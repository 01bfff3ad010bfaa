// Square roots in double and single precision: the square-root instruction, correctly
// rounded in every mode, and the report of a domain error around it.  A negative argument
// (below zero in an ordered compare: -0 and NaN do not qualify) gets the instruction's own
// NaN, with the invalid flag it raised, handed to the report.
#include "elementary/roots_common.h"

using namespace tsr;
using namespace tsr::roots;

namespace {

inline double sqrt_body(double x) {
    double r = sqrt_insn(x);
    if (__builtin_isless(x, 0.0)) return report(x, r, code::sqrt_argument_negative);
    return r;
}

inline float sqrtf_body(float x) {
    float r = sqrt_insn(x);
    if (!(bits(x) >> 31)) return r;
    // Sign set: -0 and NaN keep the instruction's result.
    if (!__builtin_isless(x, -0.0f)) return r;
    return report(x, r, code::sqrtf_argument_negative);
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, sqrt, (double x)) { return sqrt_body(x); }
TSR_BODY(float, sqrtf, (float x)) { return sqrtf_body(x); }
// The reproducible forms: copies of the same operations (the instruction is exact).
TSR_DEFINE(double, __bwr_sqrt, (double x)) { return sqrt_body(x); }
TSR_DEFINE(float, __bwr_sqrtf, (float x)) { return sqrtf_body(x); }
#endif

#if TSR_TIER_E7
TSR_BODY(float, sqrtf, (float x)) { return sqrtf_body(x); }
#endif

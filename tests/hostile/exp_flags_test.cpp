// Exponentials at the ends of the range: overflow and underflow follow the rounding
// direction in every tier, and every subnormal inexact result raises underflow.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include "harness/harness.h"
#include "tessera.h"

namespace {

using namespace th;

constexpr double inf = INFINITY;
constexpr float inff = INFINITY;

// Overflow gives infinity or the largest finite number, underflow +0 or the smallest
// subnormal, as the direction says.  Tier ex of exp10 reports no underflow (errno stays
// 0); tier e7 does, with ERANGE for a zero result.
const std::vector<Row<double>> kExp10Extremes = {
    {DBL_MAX, inf, OV, ERANGE, ANY_CODE, RN | RU},
    {DBL_MAX, DBL_MAX, OV, ERANGE, ANY_CODE, RD | RZ},
    {400, inf, OV, ERANGE, ANY_CODE, RN | RU},
    {400, DBL_MAX, OV, ERANGE, ANY_CODE, RD | RZ},
    {-DBL_MAX, 0.0, UN, 0, NO_CODE, RN | RD | RZ, EX},
    {-DBL_MAX, 0x1p-1074, UN, 0, NO_CODE, RU, EX},
    {-400, 0.0, UN, 0, NO_CODE, RN | RD | RZ, EX},
    {-400, 0x1p-1074, UN, 0, NO_CODE, RU, EX},
    {-DBL_MAX, 0.0, UN, ERANGE, ANY_CODE, RN | RD | RZ, E7 | ENTRY},
    {-DBL_MAX, 0x1p-1074, UN, 0, ANY_CODE, RU, E7 | ENTRY},
    {-400, 0.0, UN, ERANGE, ANY_CODE, RN | RD | RZ, E7 | ENTRY},
    {-400, 0x1p-1074, UN, 0, ANY_CODE, RU, E7 | ENTRY},
};

const std::vector<Row<float>> kExp10fExtremes = {
    {FLT_MAX, inff, OV, ANY_ERRNO, ANY_CODE, RN | RU},
    {FLT_MAX, FLT_MAX, OV, ANY_ERRNO, ANY_CODE, RD | RZ},
    {-FLT_MAX, 0.0f, UN, ANY_ERRNO, ANY_CODE, RN | RD | RZ},
    {-FLT_MAX, 0x1p-149f, UN, ANY_ERRNO, ANY_CODE, RU},
};

// e^x for x in the subnormal range of the result: underflow, whatever the mode (the first
// came back without it, its subnormal result built from bit patterns; the value is the
// accuracy tests' concern).
const std::vector<Row<double>> kExpSubnormal = {
    {-0x1.6322e6189ebc6p+9, ANY, UN, ANY_ERRNO, ANY_CODE, ALL_MODES},
    {-0x1.6432bdd7abcd2p+9, ANY, UN, ANY_ERRNO, ANY_CODE, ALL_MODES},
    {-745, ANY, UN, ANY_ERRNO, ANY_CODE, ALL_MODES},
};

}  // namespace

TEST(Flags, Exp10ExtremesFollowTheRoundingDirection) {
    check_rows(func("exp10", mpfr_exp10, tsr_tiers_exp10).entry(::exp10), kExp10Extremes);
    check_rows(func("exp10f", mpfr_exp10, tsr_tiers_exp10f).entry(::exp10f), kExp10fExtremes);
}

TEST(Flags, ExpSubnormalResultsUnderflow) {
    check_rows(func("exp", mpfr_exp, tsr_tiers_exp, tsr_portable_tiers_exp).entry(::exp), kExpSubnormal);
}

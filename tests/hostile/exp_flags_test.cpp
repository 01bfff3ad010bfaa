// Exponentials at the ends of the range: overflow and underflow follow the rounding
// direction, and every subnormal inexact result raises underflow.
#include "hostile.h"

#include <cfloat>

#include "tessera.h"

using hostile::kAllModes;
using hostile::kAnyErrno;
using hostile::kDown;
using hostile::kNear;
using hostile::kUp;
using hostile::kZero;
using hostile::Row;

namespace {

constexpr double inf = std::numeric_limits<double>::infinity();
constexpr float inff = std::numeric_limits<float>::infinity();
constexpr double skip = std::numeric_limits<double>::quiet_NaN();  // value not checked
constexpr int kOvf = FE_OVERFLOW | FE_INEXACT, kUnf = FE_UNDERFLOW | FE_INEXACT;

// Overflow gives infinity or the largest finite number, underflow to nothing +0 or the
// smallest subnormal, as the direction says.  The ex tier of exp10 reports no underflow.
const std::vector<Row<double>> kExp10Extremes = {
    {DBL_MAX, 0, kNear | kUp, inf, kOvf, ERANGE},
    {DBL_MAX, 0, kDown | kZero, DBL_MAX, kOvf, ERANGE},
    {400, 0, kNear | kUp, inf, kOvf, ERANGE},
    {400, 0, kDown | kZero, DBL_MAX, kOvf, ERANGE},
    {-DBL_MAX, 0, kNear | kDown | kZero, 0.0, kUnf, kAnyErrno},
    {-DBL_MAX, 0, kUp, 0x1p-1074, kUnf, kAnyErrno},
    {-400, 0, kNear | kDown | kZero, 0.0, kUnf, kAnyErrno},
    {-400, 0, kUp, 0x1p-1074, kUnf, kAnyErrno},
    {-DBL_MAX, 0, kNear | kDown | kZero, skip, kUnf, ERANGE, "e7"},
    {-330, 0, kNear | kDown | kZero, skip, kUnf, ERANGE, "e7"},
};

const std::vector<Row<float>> kExp10fExtremes = {
    {FLT_MAX, 0, kNear | kUp, inff, kOvf, kAnyErrno},
    {FLT_MAX, 0, kDown | kZero, FLT_MAX, kOvf, kAnyErrno},
    {-FLT_MAX, 0, kNear | kDown | kZero, 0.0f, kUnf, kAnyErrno},
    {-FLT_MAX, 0, kUp, 0x1p-149f, kUnf, kAnyErrno},
};

// e^x for x in the subnormal range of the result: underflow, whatever the mode.
const std::vector<Row<double>> kExpSubnormal = {
    {-0x1.6322e6189ebc6p+9, 0, kAllModes, skip, kUnf, kAnyErrno},
    {-0x1.6232bdd7abcd2p+9 - 2, 0, kAllModes, skip, kUnf, kAnyErrno},
    {-745, 0, kAllModes, skip, kUnf, kAnyErrno},
};

}  // namespace

TEST(Flags, Exp10ExtremesFollowTheRoundingDirection) {
    hostile::run1("exp10", hostile::tiers(tsr_tiers_exp10), kExp10Extremes);
    hostile::run1("exp10f", hostile::tiers(tsr_tiers_exp10f), kExp10fExtremes);
}

TEST(Flags, ExpSubnormalResultsUnderflow) {
    hostile::run1("exp", hostile::tiers(tsr_tiers_exp, tsr_portable_tiers_exp), kExpSubnormal);
}

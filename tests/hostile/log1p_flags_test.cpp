// log1p raises only what its result calls for: no underflow or overflow for a result far
// inside the range, underflow for a subnormal result, inexact for every inexact one; and
// its tiny results round in the caller's direction.
#include "hostile.h"

#include <cfloat>

#include "tessera.h"

using hostile::kAllModes;
using hostile::kDown;
using hostile::kNear;
using hostile::kUp;
using hostile::kZero;
using hostile::Row;

namespace {

constexpr double skip = std::numeric_limits<double>::quiet_NaN();  // value not checked
constexpr float skipf = std::numeric_limits<float>::quiet_NaN();
constexpr int kUnf = FE_UNDERFLOW | FE_INEXACT, kInx = FE_INEXACT;

// log1p far inside the range at huge arguments; subnormal results; tiny arguments.
const std::vector<Row<double>> kLog1p = {
    {0x1p538, 0, kAllModes, skip, kInx},
    {0x1p1000, 0, kAllModes, skip, kInx},
    {DBL_MAX, 0, kAllModes, skip, kInx},
    {0x1p-1074, 0, kNear | kUp, 0x1p-1074, kUnf},
    {0x1p-1074, 0, kDown | kZero, 0.0, kUnf},
    {-0x1p-1074, 0, kNear | kUp | kZero, -0x1p-1074, kUnf},
    {-0x1p-1074, 0, kDown, -0x1p-1073, kUnf},
    {0x1p-1040, 0, kNear | kUp, 0x1p-1040, kUnf},
    {0x1p-1040, 0, kDown | kZero, 0x1p-1040 - 0x1p-1074, kUnf},
    {0x1p-70, 0, kNear | kUp, 0x1p-70, kInx},
    {0x1p-70, 0, kDown | kZero, 0x1.fffffffffffffp-71, kInx},
    {0x1p-60, 0, kNear | kUp, 0x1p-60, kInx},
    {0x1p-60, 0, kDown | kZero, 0x1.fffffffffffffp-61, kInx},
    {-0x1p-60, 0, kNear | kUp | kZero, -0x1p-60, kInx},
    {-0x1p-60, 0, kDown, -0x1.0000000000001p-60, kInx},
};

const std::vector<Row<float>> kLog1pf = {
    {0x1p100f, 0, kAllModes, skipf, kInx},
    {FLT_MAX, 0, kAllModes, skipf, kInx},
    {0x1p-149f, 0, kNear | kUp, 0x1p-149f, kUnf},
    {0x1p-149f, 0, kDown | kZero, 0.0f, kUnf},
    {-0x1p-149f, 0, kNear | kUp | kZero, -0x1p-149f, kUnf},
    {-0x1p-149f, 0, kDown, -0x1p-148f, kUnf},
    {0x1p-130f, 0, kNear | kUp, 0x1p-130f, kUnf},
    {0x1p-130f, 0, kDown | kZero, 0x1p-130f - 0x1p-149f, kUnf},
    {0x1p-30f, 0, kNear | kUp, 0x1p-30f, kInx},
    {0x1p-30f, 0, kDown | kZero, 0x1.fffffep-31f, kInx},
    {-0x1p-30f, 0, kNear | kUp | kZero, -0x1p-30f, kInx},
    {-0x1p-30f, 0, kDown, -0x1.000002p-30f, kInx},
};

}  // namespace

TEST(Flags, Log1pRaisesOnlyWhatItsResultCallsFor) {
    hostile::run1("log1p", hostile::tiers(tsr_tiers_log1p, tsr_portable_tiers_log1p), kLog1p);
    hostile::run1("log1pf", hostile::tiers(tsr_tiers_log1pf), kLog1pf);
}


// log1p raises only what its result calls for: no underflow or overflow for a result far
// inside the range, underflow for a subnormal result, inexact for every inexact one; and
// its tiny results round in the caller's direction.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

#include "harness/harness.h"
#include "tessera.h"

namespace {

using namespace th;

// log1p far inside the range at huge arguments (2^538 gave underflow, the largest value
// overflow rounding upward); subnormal results; tiny arguments, whose true value x - x^2/2
// lies just below x.
const std::vector<Row<double>> kLog1p = {
    {0x1p538, CR, NX, 0, NO_CODE, ALL_MODES},
    {0x1p1000, CR, NX, 0, NO_CODE, ALL_MODES},
    {DBL_MAX, CR, NX, 0, NO_CODE, ALL_MODES},
    {0x1p-1074, 0x1p-1074, UN, 0, NO_CODE, RN | RU},
    {0x1p-1074, 0.0, UN, 0, NO_CODE, RD | RZ},
    {-0x1p-1074, -0x1p-1074, UN, 0, NO_CODE, RN | RU | RZ},
    {-0x1p-1074, -0x1p-1073, UN, 0, NO_CODE, RD},
    {0x1p-1040, 0x1p-1040, UN, 0, NO_CODE, RN | RU},
    {0x1p-1040, 0x1p-1040 - 0x1p-1074, UN, 0, NO_CODE, RD | RZ},
    {0x1p-70, 0x1p-70, NX, 0, NO_CODE, RN | RU},
    {0x1p-70, 0x1.fffffffffffffp-71, NX, 0, NO_CODE, RD | RZ},
    {0x1p-60, 0x1p-60, NX, 0, NO_CODE, RN | RU},
    {0x1p-60, 0x1.fffffffffffffp-61, NX, 0, NO_CODE, RD | RZ},
    {-0x1p-60, -0x1p-60, NX, 0, NO_CODE, RN | RU | RZ},
    {-0x1p-60, -0x1.0000000000001p-60, NX, 0, NO_CODE, RD},
};

const std::vector<Row<float>> kLog1pf = {
    {0x1p100f, CR, NX, 0, NO_CODE, ALL_MODES},
    {FLT_MAX, CR, NX, 0, NO_CODE, ALL_MODES},
    {0x1p-149f, 0x1p-149f, UN, 0, NO_CODE, RN | RU},
    {0x1p-149f, 0.0f, UN, 0, NO_CODE, RD | RZ},
    {-0x1p-149f, -0x1p-149f, UN, 0, NO_CODE, RN | RU | RZ},
    {-0x1p-149f, -0x1p-148f, UN, 0, NO_CODE, RD},
    {0x1p-130f, 0x1p-130f, UN, 0, NO_CODE, RN | RU},
    {0x1p-130f, 0x1p-130f - 0x1p-149f, UN, 0, NO_CODE, RD | RZ},
    {0x1p-30f, 0x1p-30f, NX, 0, NO_CODE, RN | RU},
    {0x1p-30f, 0x1.fffffep-31f, NX, 0, NO_CODE, RD | RZ},
    {-0x1p-30f, -0x1p-30f, NX, 0, NO_CODE, RN | RU | RZ},
    {-0x1p-30f, -0x1.000002p-30f, NX, 0, NO_CODE, RD},
};

}  // namespace

TEST(Flags, Log1pRaisesOnlyWhatItsResultCallsFor) {
    check_rows(func("log1p", mpfr_log1p, tsr_tiers_log1p, tsr_portable_tiers_log1p).entry(::log1p), kLog1p);
    check_rows(func("log1pf", mpfr_log1p, tsr_tiers_log1pf).entry(::log1pf), kLog1pf);
}

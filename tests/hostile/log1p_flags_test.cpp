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
// Rows want the correctly rounded value in all four modes (the tiny ones: x in nearest and
// upward, the float below x downward and toward zero), but the double subnormals spell it
// out: there x^2/2 lies beyond the reference's 256 bits, which round it back to x.
const std::vector<Row<double>> kLog1p = {
    {0x1p538, CR, NX},
    {0x1p1000, CR, NX},
    {DBL_MAX, CR, NX},
    {0x1p-1074, 0x1p-1074, UN, 0, NO_CODE, RN | RU},
    {0x1p-1074, 0.0, UN, 0, NO_CODE, RD | RZ},
    {-0x1p-1074, -0x1p-1074, UN, 0, NO_CODE, RN | RU | RZ},
    {-0x1p-1074, -0x1p-1073, UN, 0, NO_CODE, RD},
    {0x1p-1040, 0x1p-1040, UN, 0, NO_CODE, RN | RU},
    {0x1p-1040, 0x1p-1040 - 0x1p-1074, UN, 0, NO_CODE, RD | RZ},
    crx(0x1p-70),
    crx(0x1p-60),
    crx(-0x1p-60),
};
const std::vector<Row<float>> kLog1pf = {
    {0x1p100f, CR, NX},  {FLT_MAX, CR, NX},      {0x1p-149f, CR, UN}, {-0x1p-149f, CR, UN},
    {0x1p-130f, CR, UN}, crx(0x1p-30f),          crx(-0x1p-30f),
};

}  // namespace

TEST(Flags, Log1pRaisesOnlyWhatItsResultCallsFor) {
    check_rows(func("log1p", mpfr_log1p, tsr_tiers_log1p, tsr_portable_tiers_log1p).entry(::log1p), kLog1p);
    check_rows(func("log1pf", mpfr_log1p, tsr_tiers_log1pf).entry(::log1pf), kLog1pf);
}

// Arcsine and arccosine around the changes of their design, at |x| = 3/8 (the polynomial
// below, the arctangent core above), and 1/2 (the half angle from there on), and near the ends, against MPFR in the four modes: 0.6 ulp in
// round-to-nearest, 2 ulp in the directed modes.
#include <gtest/gtest.h>

#include "ext2_funcs.h"

namespace {

using namespace ext2t;
using th::Dist;

TEST(Ext2Asin, AroundTheBreaks) {
    std::vector<th::Region<LD>> regions = {{20000, {0.365L, 0.385L, Dist::uniform, true}},
                                           {10000, {0.49L, 0.51L, Dist::uniform, true}},
                                           {30000, {0.25L, 0.75L, Dist::uniform, true}},
                                           {10000, {0.375L - 0x1p-40L, 0.375L + 0x1p-40L, Dist::uniform, true}},
                                           {10000, {0.5L - 0x1p-40L, 0.5L + 0x1p-40L, Dist::uniform, true}},
                                           {20000, {1.0L - 0x1p-20L, 1.0L, Dist::uniform, true}}};
    for (const char *f : {"asinl", "acosl", "asindl", "acosdl"}) {
        th::Sweep<LD> s{fn(f), regions};
        s.bound[0] = 0.6;
        s.bound[1] = s.bound[2] = s.bound[3] = 2.0;
        th::sweep(s);
    }
}

}  // namespace

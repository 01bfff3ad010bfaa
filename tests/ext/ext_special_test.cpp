// Special values, thresholds, exact cases and refused encodings of the extended functions as
// rows for the shared runner: result bits (or the correctly rounded value in all four modes),
// flags, errno and the reported code, in the body and through the public entry.
#include <gtest/gtest.h>

#include <limits>

#include "ext_funcs.h"

namespace {

using namespace extt;
using th::ANY;
using th::CR;
using th::DZ;
using th::INV;
using th::NX;
using th::OV;
using th::UN;
using R = th::Row<LD>;
using R2 = th::Row2<LD>;

constexpr LD inf = std::numeric_limits<LD>::infinity();
const LD qnan = std::numeric_limits<LD>::quiet_NaN();
const LD dnan = LD(std::numeric_limits<float>::quiet_NaN());  // the default NaN
const LD snan = th::f80(0x7fff, 0xa000000000000000ull);
const LD unnormal = th::f80(0x3fff, 0x4000000000000000ull);
const LD pseudo_inf = th::f80(0x7fff, 0);
const LD pseudo_denormal = th::f80(0, 0x8000000000000001ull);
const LD max_ = std::numeric_limits<LD>::max();
const LD min_sub = std::numeric_limits<LD>::denorm_min();
constexpr int E = ERANGE, D = EDOM, EZ = th::ERANGE_IF_ZERO, AE = th::ANY_ERRNO;

// Rows every exponential shares: zeros, NaNs, refused encodings.
std::vector<R> exp_common() {
    return {{{0.0L}, {1.0L}}, {{-0.0L}, {1.0L}}, {{inf}, {inf}}, {{qnan}, {qnan}},
            {{snan}, {dnan}, INV}, {{unnormal}, {dnan}, INV}, {{pseudo_inf}, {dnan}, INV}};
}

TEST(ExtRows, Exponentials) {
    std::vector<R> e = exp_common();
    e.insert(e.end(), {
        {{-inf}, {0.0L}},
        {{11356.5234L}, {CR}, NX},
        {{th::f80(0x400c, 0xb17217f7d1cf79abull)}, {CR}, NX},  // the largest x with a finite e^x
        {{th::f80(0x400c, 0xb17217f7d1cf79acull)}, {CR}, OV, E, 12},
        {{11356.53L}, {CR}, OV, E, 12},
        {{20000.0L}, {CR}, OV, E, 12},
        {{-11355.0L}, {CR}, NX},
        {{-11356.0L}, {CR}, UN, EZ, 13},  // subnormal, rounded once
        {{-11399.4L}, {CR}, UN, EZ, 13},
        {{-11400.8L}, {CR}, UN, EZ, 13},
        {{-1e6L}, {CR}, UN, EZ, 13},
        {{0x1p-70L}, {CR}, NX},
        {{-0x1p-16440L}, {1.0L}, NX, 0, th::NO_CODE, th::RN},
        {{pseudo_denormal}, {1.0L}, NX, 0, th::NO_CODE, th::RN},
    });
    th::check_rows(fn("expl"), e);
    std::vector<R> e2 = exp_common();
    e2.insert(e2.end(), {
        {{-inf}, {0.0L}},
        {{3.0L}, {8.0L}},  // integers: exact powers
        {{-16445.0L}, {min_sub}},
        {{-16382.0L}, {0x1p-16382L}},
        {{16383.0L}, {0x1p16383L}},
        {{16384.0L}, {CR}, OV, E, 159},
        {{-16400.5L}, {CR}, UN, EZ, 160},
        {{-16446.5L}, {CR}, UN, EZ, 160},
    });
    th::check_rows(fn("exp2l"), e2);
    std::vector<R> e10 = exp_common();
    e10.insert(e10.end(), {
        {{-inf}, {0.0L}},
        {{4932.07L}, {CR}, NX},
        {{4932.08L}, {CR}, OV, E, 165},
        {{-4940.0L}, {CR}, UN, EZ, 264},
        {{-5000.0L}, {CR}, UN, EZ, 264},
        {{0x1p-70L}, {CR}, NX},
        {{-0x1p-67L}, {CR}, NX},
    });
    th::check_rows(fn("exp10l"), e10);
    th::check_rows(fn("expm1l"), std::vector<R>{
        {{0.0L}, {0.0L}}, {{-0.0L}, {-0.0L}}, {{inf}, {inf}}, {{-inf}, {-1.0L}}, {{qnan}, {qnan}},
        {{snan}, {dnan}, INV}, {{unnormal}, {dnan}, INV},
        {{-50.0L}, {CR}, NX}, {{-45.0L}, {CR}, NX}, {{0x1p-80L}, {CR}, NX},
        {{0x1p-9L}, {CR}, NX}, {{0.003L}, {CR}, NX},  // k = 0 with a table row
        {{11357.0L}, {CR}, OV, E, 39},
    });
}

TEST(ExtRows, Logarithms) {
    th::check_rows(fn("logl"), std::vector<R>{
        {{1.0L}, {0.0L}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{0.0L}, {-inf}, DZ, E, 0}, {{-0.0L}, {-inf}, DZ, E, 0},
        {{-1.0L}, {dnan}, INV, D, 1}, {{-inf}, {dnan}, INV, D, 1}, {{-min_sub}, {dnan}, INV, D, 1},
        {{inf}, {inf}}, {{qnan}, {qnan}}, {{snan}, {dnan}, INV}, {{unnormal}, {dnan}, INV},
        {{min_sub}, {CR}, NX}, {{pseudo_denormal}, {CR}, NX}, {{max_}, {CR}, NX},
        {{th::f80(0x3ffe, 0xffffffffffffffffull)}, {CR}, NX},  // 1 - 2^-64
        {{th::f80(0x3fff, 0x8000000000000001ull)}, {CR}, NX},  // 1 + 2^-63
        {{th::f80(0x3ffe, 0xfe00000000000000ull)}, {CR}, NX},  // 1 -+ 2^-7
        {{th::f80(0x3fff, 0x8100000000000000ull)}, {CR}, NX},
        // the table's rows about 1: the row of 1 ends at 1 + 2^-9, and from 1 - 2^-10 the
        // significand just below 2 takes the row of 2 with the exponent raised (no ln 2
        // cancels); below that, the last row with its ln 2 taken away again
        {{th::f80(0x3fff, 0x803fffffffffffffull)}, {CR}, NX},
        {{th::f80(0x3fff, 0x8040000000000000ull)}, {CR}, NX},
        {{th::f80(0x3ffe, 0xffc0000000000000ull)}, {CR}, NX},
        {{th::f80(0x3ffe, 0xffbfffffffffffffull)}, {CR}, NX},
        {{th::f80(0x3ffe, 0xffffffffff000000ull)}, {CR}, NX},  // 1 - 2^-40
        {{th::f80(0x3fff, 0x8000000000000fffull)}, {CR}, NX},  // u in the lower half only
    });
    th::check_rows(fn("log2l"), std::vector<R>{
        {{0x1p-16445L}, {-16445.0L}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{0x1p100L}, {100.0L}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{1.0L}, {0.0L}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{0.0L}, {-inf}, DZ, E, 168}, {{-2.0L}, {dnan}, INV, D, 169},
        {{max_}, {CR}, NX}, {{1.0L + 0x1p-63L}, {CR}, NX},
    });
    th::check_rows(fn("log10l"), std::vector<R>{
        {{1.0L}, {0.0L}, 0, 0, th::NO_CODE, th::ALL_MODES}, {{10.0L}, {1.0L}, th::ANY_FLAGS},
        {{0.0L}, {-inf}, DZ, E, 6}, {{-2.0L}, {dnan}, INV, D, 7},
        {{min_sub}, {CR}, NX}, {{0.999L}, {CR}, NX},
    });
    th::check_rows(fn("log1pl"), std::vector<R>{
        {{-1.0L}, {-inf}, DZ, E, 138}, {{-2.0L}, {dnan}, INV, D, 139}, {{-inf}, {dnan}, INV, D, 139},
        {{-0.0L}, {-0.0L}}, {{0.0L}, {0.0L}}, {{inf}, {inf}}, {{qnan}, {qnan}},
        {{0x1p-70L}, {CR}, NX}, {{-0x1p-7L}, {CR}, NX}, {{0x1p-7L}, {CR}, NX},
        {{th::f80(0xbffe, 0xffffffffffffffffull)}, {CR}, NX},  // -1 + 2^-64
        {{max_}, {CR}, NX}, {{0x1p64L}, {CR}, NX},
    });
}

TEST(ExtRows, Roots) {
    th::check_rows(fn("sqrtl"), std::vector<R>{
        {{-0.0L}, {-0.0L}}, {{0.0L}, {0.0L}}, {{inf}, {inf}},
        {{-1.0L}, {dnan}, INV, D, 48}, {{-min_sub}, {dnan}, INV, D, 48}, {{-inf}, {dnan}, INV, D, 48},
        {{qnan}, {qnan}}, {{snan}, {ANY}, INV}, {{unnormal}, {ANY}, INV},
        {{min_sub}, {CR}, NX}, {{0x1p-16444L}, {0x1p-8222L}}, {{2.0L}, {CR}, NX}, {{max_}, {CR}, NX},
    });
    th::check_rows(fn("invsqrtl"), std::vector<R>{
        {{0.0L}, {inf}, DZ}, {{-0.0L}, {-inf}, DZ}, {{-4.0L}, {dnan}, INV}, {{inf}, {0.0L}},
        {{4.0L}, {0.5L}, 0, 0, th::NO_CODE, th::ALL_MODES}, {{qnan}, {qnan}},
        {{min_sub}, {CR}, NX}, {{max_}, {CR}, NX}, {{3.0L}, {CR}, NX},
    });
    th::check_rows(fn("cbrtl"), std::vector<R>{
        {{27.0L}, {3.0L}, th::ANY_FLAGS}, {{-0.0L}, {-0.0L}}, {{-inf}, {-inf}}, {{qnan}, {qnan}},
        {{snan}, {dnan}, INV}, {{unnormal}, {dnan}, INV},
        {{-0x1p-16443L}, {CR}, th::ANY_FLAGS}, {{max_}, {CR}, NX}, {{-3.0L}, {CR}, NX},
    });
}

TEST(ExtRows, Hypot) {
    th::check_rows(hypotl_f(), std::vector<R2>{
        {{3.0L, 4.0L}, {5.0L}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{qnan, inf}, {inf}}, {{-inf, snan}, {inf}, th::ANY_FLAGS}, {{qnan, 1.0L}, {qnan}},
        {{-0.0L, -0.0L}, {0.0L}}, {{-5.0L, 0.0L}, {5.0L}},
        {{max_, max_}, {CR}, OV, E, 45}, {{max_, 1.0L}, {max_}, NX},
        {{min_sub, min_sub}, {CR}, UN, AE}, {{1.0L, 0x1p-60L}, {CR}, NX}, {{0x1p-16000L, 0x1p-16001L}, {CR}, NX},
    });
}

TEST(ExtRows, Pow) {
    th::check_rows(powl_f(), std::vector<R2>{
        // the C99 table
        {{qnan, 0.0L}, {1.0L}, 0, AE, 23},
        {{1.0L, qnan}, {1.0L}}, {{1.0L, -inf}, {1.0L}},
        {{-1.0L, inf}, {1.0L}}, {{-1.0L, -inf}, {1.0L}},
        {{0.5L, inf}, {0.0L}}, {{0.5L, -inf}, {inf}}, {{-2.0L, inf}, {inf}}, {{-2.0L, -inf}, {0.0L}},
        {{0.0L, -3.0L}, {inf}, DZ, D, 21}, {{-0.0L, -3.0L}, {-inf}, DZ, D, 21},
        {{-0.0L, -2.0L}, {inf}, DZ, D, 21}, {{-0.0L, -inf}, {inf}, DZ, D, 21},
        {{-0.0L, 3.0L}, {-0.0L}}, {{-0.0L, 0.5L}, {0.0L}}, {{0.0L, 0.0L}, {1.0L}},
        {{-inf, 3.0L}, {-inf}}, {{-inf, -3.0L}, {-0.0L}}, {{-inf, 2.5L}, {inf}}, {{inf, -0.5L}, {0.0L}},
        {{-8.0L, 1.0L / 3.0L}, {dnan}, INV, D, 22},
        {{qnan, 1.0L}, {qnan}}, {{2.0L, snan}, {ANY}, INV}, {{unnormal, 2.0L}, {ANY}, INV},
        // exact cases, the square root, integer powers
        {{-8.0L, 3.0L}, {-512.0L}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{2.0L, -3.0L}, {0.125L}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{10.0L, 19.0L}, {1e19L}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{max_, 1.0L}, {max_}, 0, 0, th::NO_CODE, th::ALL_MODES},
        {{2.0L, 0.5L}, {CR}, NX}, {{0x1p-16445L, 0.5L}, {CR}, NX}, {{3.0L, -0.5L}, {CR}, NX},
        {{3.0L, 45.0L}, {CR}, NX}, {{-1.1L, -45.0L}, {CR}, NX},
        // the range ends
        {{2.0L, 16384.0L}, {CR}, OV, E, 18}, {{-2.0L, 16385.0L}, {CR}, OV, E, 18},
        {{1e300L, 40.0L}, {CR}, OV, E, 18},
        {{2.0L, -16446.0L}, {CR}, UN, EZ, 19}, {{0.5L, 1e8L}, {CR}, UN, EZ, 19},
        {{1.5L, -28100.0L}, {CR}, UN, EZ, 19},
        {{1.0L + 0x1p-63L, 0x1p70L}, {CR}, th::ANY_FLAGS, AE, th::ANY_CODE},
    });
}

}  // namespace

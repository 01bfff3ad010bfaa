// Special values, exact results, poles, domain ends and range ends of the extended
// trigonometric, inverse trigonometric, degree and hyperbolic functions, as rows for the
// shared runner: result bits (exact results in all four modes, with no flag) or the
// correctly rounded value, flags, errno and the reported code, in the body and the entry.
#include <gtest/gtest.h>

#include <limits>

#include "ext2_funcs.h"

namespace {

using namespace ext2t;
using th::CR;
using th::DZ;
using th::INV;
using th::NX;
using th::OV;
using th::UN;
using R = th::Row<LD>;
using R2 = th::Row2<LD>;
using RS = th::RowSC<LD>;

constexpr LD inf = std::numeric_limits<LD>::infinity();
const LD qnan = std::numeric_limits<LD>::quiet_NaN();  // any quiet NaN
const LD snan = th::f80(0x7fff, 0xa000000000000000ull);
const LD unnormal = th::f80(0x3fff, 0x4000000000000000ull);
const LD max_ = std::numeric_limits<LD>::max();
const LD min_sub = std::numeric_limits<LD>::denorm_min();
constexpr int AE = th::ANY_ERRNO, D = EDOM, ALL = th::ALL_MODES, N = th::NONE;

// Rows every function of one operand shares: NaNs pass quietly, signalling and refused
// patterns give a NaN with invalid.
// Rows that want the correctly rounded value hold it in round-to-nearest: the directed modes
// are held to 2 ulp by the sweeps.
template <class Rw>
std::vector<Rw> rn(std::vector<Rw> v) {
    for (auto &r : v)
        if (r.modes == 0) r.modes = th::RN;
    return v;
}

std::vector<R> nans() { return {{{qnan}, {qnan}}, {{snan}, {qnan}, INV}, {{unnormal}, {qnan}, INV}}; }
std::vector<R> with(std::vector<R> a, std::vector<R> b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
// An odd function near 0: the zeros kept, tiny arguments rounded once (subnormal ones with
// underflow); below 2^-128 in round-to-nearest only, where the 256-bit reference cannot
// tell x from x plus its cubic term.
std::vector<R> odd_zero() {
    return {{{0.0L}, {0.0L}, N, 0, th::NO_CODE, ALL}, {{-0.0L}, {-0.0L}, N, 0, th::NO_CODE, ALL},
            {{0x1p-40L}, {CR}, NX}, {{-0x1p-33L}, {CR}, NX}, {{0x1p-16000L}, {CR}, NX, 0, th::NO_CODE, th::RN},
            {{min_sub}, {CR}, UN, 0, th::NO_CODE, th::RN}, {{-min_sub * 5}, {CR}, UN, 0, th::NO_CODE, th::RN}};
}

TEST(Ext2Rows, Trigonometric) {
    // just below and just above pi/4: the direct path and the reduction
    const LD below = th::f80(0x3ffe, 0xc90fdaa22168c234ull), above = th::f80(0x3ffe, 0xc90fdaa22168c236ull);
    std::vector<R> big = {{{below}, {CR}, NX}, {{above}, {CR}, NX}, {{0x1p30L}, {CR}, NX}, {{0x1p30L - 1}, {CR}, NX},
                          {{0x1p17L}, {CR}, NX}, {{max_}, {CR}, NX}, {{-max_}, {CR}, NX}, {{0x1p16000L}, {CR}, NX},
                          {{1e22L}, {CR}, NX}, {{-6381956970095103.0L * 0x1p797L}, {CR}, NX}};
    std::vector<R> notfin = {{{inf}, {qnan}, INV}, {{-inf}, {qnan}, INV}};
    th::check_rows(fn("sinl"), rn(with(with(with(nans(), notfin), odd_zero()), big)));
    th::check_rows(fn("tanl"), rn(with(with(with(nans(), notfin), odd_zero()), big)));
    th::check_rows(fn("cosl"), rn(with(with(with(nans(), notfin), big),
                                    {{{0.0L}, {1.0L}, N, 0, th::NO_CODE, ALL}, {{-0.0L}, {1.0L}, N, 0, th::NO_CODE, ALL},
                                     {{0x1p-40L}, {CR}, NX}, {{min_sub}, {CR}, NX}})));
    th::check_rows(fn("cotl"), rn(with(with(with(nans(), notfin), big),
                                    {{{0.0L}, {inf}, DZ, AE, 225, ALL}, {{-0.0L}, {-inf}, DZ, AE, 225, ALL},
                                     {{0x1p-40L}, {CR}, NX}, {{-0x1p-33L}, {CR}, NX}, {{min_sub}, {CR}, OV},
                                     {{0x1p-16382L}, {CR}, NX}})));
    th::check_rows(sincos_f("sincosl"), rn(std::vector<RS>{{{0.0L}, {0.0L, 1.0L}, N, 0, th::NO_CODE, ALL},
                                                        {{-0.0L}, {-0.0L, 1.0L}, N, 0, th::NO_CODE, ALL},
                                                        {{inf}, {qnan, qnan}, INV},
                                                        {{1e4000L}, {CR, CR}, NX},
                                                        {{0x1p-50L}, {CR, CR}, NX}}));
}

TEST(Ext2Rows, Degrees) {
    auto ex = [](LD x, LD y) { return R{{x}, {y}, N, 0, th::NO_CODE, ALL}; };
    std::vector<R> notfin = {{{inf}, {qnan}, INV}, {{-inf}, {qnan}, INV}};
    std::vector<R> big = {{{1e30L}, {CR}, NX}, {{0x1p63L + 2048}, {CR}, NX}, {{0x1p100L}, {CR}, NX},
                          {{-1e4000L}, {CR}, NX}, {{0x1p62L + 1}, {CR}, NX}, {{89.999L}, {CR}, NX},
                          {{0x1p-40L}, {CR}, NX}};
    th::check_rows(fn("sindl"), rn(with(with(with(nans(), notfin), big),
                                     {ex(30, 0.5L), ex(-30, -0.5L), {{45.0L}, {CR}, NX}, {{max_}, {CR}, NX}, ex(150, 0.5L), ex(210, -0.5L), ex(-330, 0.5L),
                                      ex(0.0L, 0.0L), ex(-0.0L, -0.0L), ex(180, 0.0L), ex(-180, -0.0L),
                                      ex(360, 0.0L), ex(90, 1.0L), ex(270, -1.0L), ex(-90, -1.0L), ex(450, 1.0L),
                                      {{0x1p64L}, {CR}, NX} /* 2^64 = 360 k + 16 */})));
    th::check_rows(fn("cosdl"), rn(with(with(with(nans(), notfin), big),
                                     {ex(60, 0.5L), ex(-60, 0.5L), {{45.0L}, {CR}, NX},
                                      ex(max_, -0.5L) /* the largest value is 240 modulo 360 */, ex(120, -0.5L), ex(300, 0.5L), ex(0.0L, 1.0L),
                                      ex(-0.0L, 1.0L), ex(90, 0.0L), ex(-90, 0.0L), ex(180, -1.0L), ex(360, 1.0L),
                                      ex(0x1p70L * 45, 1.0L), {{min_sub}, {CR}, NX}})));
    th::check_rows(fn("tandl"), rn(with(with(with(nans(), notfin), big),
                                     {ex(45, 1.0L), ex(-45, -1.0L), ex(135, -1.0L), ex(225, 1.0L), ex(0.0L, 0.0L),
                                      {{max_}, {CR}, NX},
                                      ex(-0.0L, -0.0L), ex(180, -0.0L), ex(-180, 0.0L), ex(360, 0.0L),
                                      {{90.0L}, {inf}, DZ, AE, 219, ALL}, {{-90.0L}, {-inf}, DZ, AE, 219, ALL},
                                      {{270.0L}, {-inf}, DZ, AE, 219, ALL}, {{min_sub}, {CR}, UN}})));
    th::check_rows(fn("cotdl"), rn(with(with(with(nans(), notfin), big),
                                     {ex(45, 1.0L), ex(-45, -1.0L), ex(135, -1.0L), ex(90, 0.0L), ex(-90, -0.0L),
                                      {{0.0L}, {inf}, DZ, AE, 222, ALL}, {{-0.0L}, {-inf}, DZ, AE, 222, ALL},
                                      {{180.0L}, {-inf}, DZ, AE, 222, ALL}, {{-360.0L}, {-inf}, DZ, AE, 222, ALL},
                                      ex(270, -0.0L),
                                      {{min_sub}, {CR}, OV}, {{1e-4000L}, {CR}, NX}})));
    th::check_rows(sincos_f("sincosdl"), rn(std::vector<RS>{{{30.0L}, {0.5L, CR}, NX},
                                                         {{60.0L}, {CR, 0.5L}, NX},
                                                         {{90.0L}, {1.0L, 0.0L}, N, 0, th::NO_CODE, ALL},
                                                         {{-180.0L}, {-0.0L, -1.0L}, N, 0, th::NO_CODE, ALL},
                                                         {{inf}, {qnan, qnan}, INV}}));
}

TEST(Ext2Rows, Inverse) {
    auto ex = [](LD x, LD y) { return R{{x}, {y}, N, 0, th::NO_CODE, ALL}; };
    auto dom = [](int code) {
        return std::vector<R>{{{th::f80(0x3fff, 0x8000000000000001ull)}, {qnan}, INV, D, code},
                              {{-2.0L}, {qnan}, INV, D, code}, {{inf}, {qnan}, INV, D, code},
                              {{-inf}, {qnan}, INV, D, code}};
    };
    th::check_rows(fn("asinl"), rn(with(with(with(nans(), dom(60)), odd_zero()),
                                     {{{1.0L}, {CR}, NX}, {{-1.0L}, {CR}, NX}, {{0.5L}, {CR}, NX},
                                      {{th::f80(0x3ffe, 0xffffffffffffffffull)}, {CR}, NX}})));
    th::check_rows(fn("acosl"), rn(with(with(nans(), dom(57)),
                                     {ex(1.0L, 0.0L), {{-1.0L}, {CR}, NX}, {{0.0L}, {CR}, NX}, {{-0.0L}, {CR}, NX},
                                      {{min_sub}, {CR}, NX}, {{-0x1p-70L}, {CR}, NX},
                                      {{th::f80(0x3ffe, 0xffffffffffffffffull)}, {CR}, NX}, {{-0.5L}, {CR}, NX}})));
    th::check_rows(fn("atanl"), rn(with(with(nans(), odd_zero()),
                                     {{{inf}, {CR}, NX}, {{-inf}, {CR}, NX}, {{1.0L}, {CR}, NX}, {{0x1p70L}, {CR}, NX},
                                      {{-max_}, {CR}, NX}, {{0x1p69L}, {CR}, NX}})));
    th::check_rows(fn("asindl"), rn(with(with(nans(), dom(213)),
                                      {ex(1.0L, 90.0L), ex(-1.0L, -90.0L), ex(0.5L, 30.0L), ex(-0.5L, -30.0L),
                                       ex(0.0L, 0.0L), ex(-0.0L, -0.0L), {{min_sub}, {CR}, UN}, {{0.25L}, {CR}, NX}})));
    th::check_rows(fn("acosdl"), rn(with(with(nans(), dom(210)),
                                      {ex(1.0L, 0.0L), ex(-1.0L, 180.0L), ex(0.0L, 90.0L), ex(-0.0L, 90.0L),
                                       ex(0.5L, 60.0L), ex(-0.5L, 120.0L), {{0.25L}, {CR}, NX}, {{min_sub}, {CR}, NX}})));
    th::check_rows(fn("atandl"), rn(with(nans(), {ex(1.0L, 45.0L), ex(-1.0L, -45.0L), ex(inf, 90.0L), ex(-inf, -90.0L),
                                               ex(0.0L, 0.0L), ex(-0.0L, -0.0L), {{min_sub}, {CR}, UN},
                                               {{1e30L}, {CR}, NX}, {{max_}, {CR}, NX}})));
}

TEST(Ext2Rows, Angle) {
    std::vector<R2> a = {
        {{0.0L, 0.0L}, {0.0L}, N, AE, 36, ALL},
        {{-0.0L, 0.0L}, {-0.0L}, N, AE, 36, ALL},
        {{0.0L, -0.0L}, {CR}, NX, AE, 36},
        {{-0.0L, -0.0L}, {CR}, NX, AE, 36},
        {{0.0L, 1.0L}, {0.0L}, N, 0, th::NO_CODE, ALL},
        {{-0.0L, -1.0L}, {CR}, NX},
        {{1.0L, 0.0L}, {CR}, NX},
        {{-1.0L, -0.0L}, {CR}, NX},
        {{inf, inf}, {CR}, NX},
        {{-inf, -inf}, {CR}, NX},
        {{1.0L, inf}, {0.0L}, N, 0, th::NO_CODE, ALL},
        {{1.0L, -inf}, {CR}, NX},
        {{inf, 5.0L}, {CR}, NX},
        {{qnan, 1.0L}, {qnan}},
        {{1.0L, qnan}, {qnan}},
        {{1e-4000L, 1e4000L}, {CR}, UN},
        {{min_sub, 1.0L}, {CR}, UN},
        {{1e-4000L, -1e4000L}, {CR}, NX},
        {{1e4000L, 1e-4000L}, {CR}, NX},
        {{3.0L, 0x1p-70L}, {CR}, NX},
        {{1.0L, 1.0L}, {CR}, NX},
        {{-2.0L, -3.0L}, {CR}, NX},
    };
    th::check_rows(fn2("atan2l"), rn(a));
    auto ex = [](LD y, LD x, LD r) { return R2{{y, x}, {r}, N, 0, th::NO_CODE, ALL}; };
    th::check_rows(fn2("atan2dl"), rn(std::vector<R2>{
        ex(1, 1, 45), ex(-1, -1, -135), ex(5, -5, 135), ex(1, 0, 90), ex(-1, 0, -90), ex(inf, inf, 45),
        ex(-inf, -inf, -135), ex(0.0L, 1, 0.0L), ex(1, -inf, 180),
        {{0.0L, 0.0L}, {0.0L}, N, AE, 216, ALL},
        {{0.0L, -0.0L}, {180.0L}, N, AE, 216, ALL},
        {{-0.0L, -0.0L}, {-180.0L}, N, AE, 216, ALL},
        {{1.0L, 2.0L}, {CR}, NX},
        {{min_sub, 1.0L}, {CR}, UN},
        {{qnan, 1.0L}, {qnan}},
    }));
}

TEST(Ext2Rows, Hyperbolic) {
    auto ex = [](LD x, LD y) { return R{{x}, {y}, N, 0, th::NO_CODE, ALL}; };
    th::check_rows(fn("sinhl"), rn(with(with(nans(), odd_zero()),
                                     {ex(inf, inf), ex(-inf, -inf), {{11356.0L}, {CR}, NX}, {{-11357.2L}, {CR}, NX},
                                      {{11357.3L}, {CR}, OV, AE, 126}, {{-11357.3L}, {CR}, OV, AE, 126},
                                      {{20000.0L}, {CR}, OV, AE, 126}, {{64.0L}, {CR}, NX}, {{63.99L}, {CR}, NX}})));
    th::check_rows(fn("coshl"), rn(with(nans(), {ex(0.0L, 1.0L), ex(-0.0L, 1.0L), ex(inf, inf), ex(-inf, inf),
                                              {{0x1p-40L}, {CR}, NX}, {{min_sub}, {CR}, NX}, {{-11357.2L}, {CR}, NX},
                                              {{11357.3L}, {CR}, OV, AE, 63}, {{-1e6L}, {CR}, OV, AE, 63}})));
    th::check_rows(fn("tanhl"), rn(with(with(nans(), odd_zero()),
                                     {ex(inf, 1.0L), ex(-inf, -1.0L), {{22.9L}, {CR}, NX}, {{23.0L}, {CR}, NX},
                                      {{-1e4000L}, {CR}, NX}})));
    th::check_rows(fn("asinhl"), rn(with(with(nans(), odd_zero()),
                                      {ex(inf, inf), ex(-inf, -inf), {{max_}, {CR}, NX}, {{-0x1p33L}, {CR}, NX},
                                       {{0x1p33L - 1}, {CR}, NX}})));
    th::check_rows(fn("acoshl"), rn(with(nans(), {ex(1.0L, 0.0L), ex(inf, inf), {{max_}, {CR}, NX},
                                               {{1.0L + 0x1p-63L}, {CR}, NX}, {{0x1p32L}, {CR}, NX},
                                               {{0.5L}, {qnan}, INV, D, 135}, {{0.0L}, {qnan}, INV, D, 135},
                                               {{-1.0L}, {qnan}, INV, D, 135}, {{-inf}, {qnan}, INV, D, 135}})));
    th::check_rows(fn("atanhl"), rn(with(with(nans(), odd_zero()),
                                      {{{1.0L}, {inf}, DZ, AE, 130, ALL}, {{-1.0L}, {-inf}, DZ, AE, 130, ALL},
                                       {{2.0L}, {qnan}, INV, D, 129}, {{-inf}, {qnan}, INV, D, 129},
                                       {{th::f80(0x3ffe, 0xffffffffffffffffull)}, {CR}, NX}, {{0.5L}, {CR}, NX}})));
    th::check_rows(sincos_f("sinhcoshl"), rn(std::vector<RS>{{{0.0L}, {0.0L, 1.0L}, N, 0, th::NO_CODE, ALL},
                                                          {{-inf}, {-inf, inf}},
                                                          {{2.5L}, {CR, CR}, NX},
                                                          {{100.0L}, {CR, CR}, NX},
                                                          {{11357.3L}, {CR, CR}, OV, AE, 228}}));
}

}  // namespace

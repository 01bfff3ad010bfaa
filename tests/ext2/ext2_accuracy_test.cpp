// Accuracy of the extended trigonometric, inverse trigonometric, degree and hyperbolic
// functions against MPFR on the shared sweep: 100,000 arguments per function (the whole
// domain log-uniformly, and the regions where the design changes: pi/4 and the Cody-Waite
// limits 2^17 and 2^30, the tangent's breakpoints k/32 below pi/4, the breakpoints of the
// arctangent (ratios 2^-6 to 2^6), 3/8 and 1/2 for arcsine, 1/8 (the odd series), 23 and 64
// for the hyperbolic functions), the extended values nearest a multiple of pi/2
// (tools/gen/ext2_hard_cases.py), four rounding modes, flags checked.  Bounds: 0.6 ulp in
// round-to-nearest, 2 ulp in the directed modes.
#include <gtest/gtest.h>

#include "ext2_funcs.h"

namespace {

using namespace ext2t;
using th::Dist;

template <class P>
P bounded(P s, double scale) {
    s.bounds(0.6);
    s.scale = scale;
    return s;
}
th::Sweep<LD> plan(th::Func<LD> f, std::vector<th::Region<LD>> regions, double scale) {
    return bounded(th::Sweep<LD>{std::move(f), std::move(regions)}, scale);
}

void run_all(double scale) {
    const LD big = 0x1p16383L, tiny = 0x1p-16440L;
    // radians: small, the direct window, the two reduction regimes, the whole range
    std::vector<th::Region<LD>> trig = {{20000, {0x1p-40L, 0.8L, Dist::log_uniform, true}},
                                        {20000, {0.7L, 0x1p17L, Dist::log_uniform, true}},
                                        {20000, {0x1p17L, 0x1p31L, Dist::log_uniform, true}},
                                        {20000, {0x1p31L, big, Dist::log_uniform, true}},
                                        {20000, {-10.0L, 10.0L, Dist::uniform}},
                                        // the tangent's breakpoints k/32 and the switches between them
                                        {20000, {0x1p-6L, 0.79L, Dist::uniform, true}}};
    for (const char *f : {"sinl", "cosl", "tanl", "cotl"}) th::sweep(plan(fn(f), trig, scale));
    th::sweep(bounded(th::Sweep<LD>{sincos_f("sincosl"), trig}, scale));
    // degrees: the one-quotient range, whole numbers beyond 2^63, whole degrees
    std::vector<th::Region<LD>> deg = {{30000, {0x1p-40L, 400.0L, Dist::log_uniform, true}},
                                       {30000, {400.0L, 0x1p63L, Dist::log_uniform, true}},
                                       {20000, {0x1p63L, big, Dist::log_uniform, true}},
                                       {20000, {-1000.0L, 1000.0L, Dist::uniform}}};
    for (const char *f : {"sindl", "cosdl", "tandl", "cotdl"}) th::sweep(plan(fn(f), deg, scale));
    th::sweep(bounded(th::Sweep<LD>{sincos_f("sincosdl"), deg}, scale));
    // inverse functions
    std::vector<th::Region<LD>> unit = {{30000, {0x1p-40L, 1.0L, Dist::log_uniform, true}},
                                        {30000, {-1.0L, 1.0L, Dist::uniform}},
                                        {20000, {0x1p-4L, 0x1p-2L, Dist::log_uniform, true}},
                                        {20000, {0.99L, 1.0L, Dist::uniform, true}}};
    for (const char *f : {"asinl", "acosl", "asindl", "acosdl", "atanhl"}) th::sweep(plan(fn(f), unit, scale));
    std::vector<th::Region<LD>> line = {{40000, {tiny, big, Dist::log_uniform, true}},
                                        {30000, {-40.0L, 40.0L, Dist::uniform}},
                                        {30000, {0x1p-6L, 0x1p6L, Dist::log_uniform, true}}};
    for (const char *f : {"atanl", "atandl", "asinhl"}) th::sweep(plan(fn(f), line, scale));
    th::sweep(plan(fn("acoshl"), {{50000, {1.0L, big}}, {50000, {1.0L, 3.0L, Dist::uniform}}}, scale));
    for (const char *f : {"atan2l", "atan2dl"})
        th::sweep(plan(fn2(f), {{40000, {-4.0L, 4.0L, Dist::uniform}, {-4.0L, 4.0L, Dist::uniform}},
                                {30000, {0x1p-6L, 0x1p6L, Dist::log_uniform, true}, {1.0L, 2.0L, Dist::uniform, true}},
                                {30000, {tiny, big, Dist::log_uniform, true}, {tiny, big, Dist::log_uniform, true}}},
                       scale));
    // hyperbolic
    std::vector<th::Region<LD>> hyp = {{30000, {0x1p-40L, 64.0L, Dist::log_uniform, true}},
                                       {20000, {-30.0L, 30.0L, Dist::uniform}},
                                       {20000, {0x1p-4L, 0x1p-2L, Dist::log_uniform, true}},
                                       {30000, {60.0L, 11357.2L, Dist::log_uniform, true}}};
    for (const char *f : {"sinhl", "coshl", "tanhl"}) th::sweep(plan(fn(f), hyp, scale));
    th::sweep(bounded(th::Sweep<LD>{sincos_f("sinhcoshl"), hyp}, scale));
}

const LD kHard[] = {
#include "hard_reduction.inc"
};

TEST(Ext2Accuracy, Sweep) { run_all(1); }

// Arcsine and arccosine around the changes of their design, at |x| = 3/8 (the polynomial
// below, the arctangent core above), 1/2 (the half angle from there on), and near the ends.
TEST(Ext2Accuracy, AsinAroundTheBreaks) {
    std::vector<th::Region<LD>> regions = {{20000, {0.365L, 0.385L, Dist::uniform, true}},
                                           {10000, {0.49L, 0.51L, Dist::uniform, true}},
                                           {30000, {0.25L, 0.75L, Dist::uniform, true}},
                                           {10000, {0.375L - 0x1p-40L, 0.375L + 0x1p-40L, Dist::uniform, true}},
                                           {10000, {0.5L - 0x1p-40L, 0.5L + 0x1p-40L, Dist::uniform, true}},
                                           {20000, {1.0L - 0x1p-20L, 1.0L, Dist::uniform, true}}};
    for (const char *f : {"asinl", "acosl", "asindl", "acosdl"}) th::sweep(plan(fn(f), regions, 1));
}

// The hardest reductions: sinl, cosl, tanl, cotl at the extended values nearest a multiple
// of pi/2, within the same bounds.
TEST(Ext2Accuracy, HardestReductions) {
    std::vector<std::array<LD, 2>> pts;
    for (LD x : kHard) pts.insert(pts.end(), {{x, 0}, {-x, 0}});
    for (const char *f : {"sinl", "cosl", "tanl", "cotl"}) th::sweep(bounded(th::Sweep<LD>{fn(f), {}, pts}, 1));
}
TEST(Ext2AccuracyLong, Sweep) { run_all(100); }

}  // namespace

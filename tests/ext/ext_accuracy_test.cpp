// Accuracy of the extended-precision functions against MPFR on the shared sweep: 100,000
// arguments per function over its whole domain and its hard regions (range ends, the
// series window of the logarithms, the small arguments of e^x - 1), four rounding modes.
// Bounds: 0.6 ulp in round-to-nearest, 2 ulp in the directed modes; the square root
// correctly rounded (within one ulp in the directed modes, its exact value checked by rows).
#include <gtest/gtest.h>

#include "ext_funcs.h"

namespace {

using namespace extt;
using th::Dist;

th::Sweep<LD> plan(const char *name, std::vector<th::Region<LD>> regions, double scale) {
    th::Sweep<LD> s{fn(name), std::move(regions)};
    s.bound[0] = std::string(name) == "sqrtl" ? 0.5 : 0.6;
    for (int m = 1; m < 4; ++m) s.bound[m] = std::string(name) == "sqrtl" ? 1.0 : 2.0;
    s.scale = scale;
    return s;
}

void run_all(double scale) {
    const LD big = 0x1p16383L, tiny = 0x1p-16440L;
    th::sweep(plan("expl", {{40000, {0x1p-70L, 11356.0L, Dist::log_uniform, true}},
                            {20000, {11350.0L, 11356.52L, Dist::uniform}},
                            {20000, {-11399.0L, -11350.0L, Dist::uniform}},
                            {20000, {0x1p-70L, 0x1p-8L, Dist::log_uniform, true}},
                            // where the scale 2^-16000 hands over to the pair path
                            {10000, {-11095.0L, -11085.0L, Dist::uniform}}}, scale));
    th::sweep(plan("exp2l", {{60000, {0x1p-70L, 16383.0L, Dist::log_uniform, true}},
                             {20000, {-16445.5L, -16370.0L, Dist::uniform}},
                             {20000, {16370.0L, 16383.99L, Dist::uniform}},
                             {10000, {-16005.0L, -15995.0L, Dist::uniform}}}, scale));
    th::sweep(plan("exp10l", {{80000, {0x1p-70L, 4932.0L, Dist::log_uniform, true}},
                              {20000, {-4950.0L, -4920.0L, Dist::uniform}},
                              {10000, {-4820.0L, -4813.0L, Dist::uniform}}}, scale));
    th::sweep(plan("expm1l", {{60000, {0x1p-70L, 11356.0L, Dist::log_uniform, true}},
                              {40000, {0x1p-12L, 1.0L, Dist::log_uniform, true}},
                              // from 8 the short exponential, for scales from 2^12 (and 2^-12)
                              {10000, {7.5L, 9.5L, Dist::uniform, true}}}, scale));
    for (const char *f : {"logl", "log2l", "log10l"})
        th::sweep(plan(f, {{50000, {tiny, big}}, {30000, {0.95L, 1.05L, Dist::uniform}},
                           {20000, {0x1p-20L, 0x1p20L}},
                           {10000, {1.0L - 0x1p-9L, 1.0L + 0x1p-8L, Dist::uniform}}}, scale));
    th::sweep(plan("log1pl", {{50000, {0x1p-80L, big}}, {50000, {0x1p-80L, 0.99L, Dist::log_uniform, true}}}, scale));
    th::sweep(plan("sqrtl", {{100000, {tiny, big}}}, scale));
    th::sweep(plan("invsqrtl", {{100000, {tiny, big}}}, scale));
    th::sweep(plan("cbrtl", {{100000, {tiny, big, Dist::log_uniform, true}}}, scale));

    th::Sweep<LD> p{powl_f(),
                   {{40000, {0.5L, 2.0L, Dist::uniform}, {-64.0L, 64.0L, Dist::uniform}},
                    {30000, {1.0L - 0x1p-10L, 1.0L + 0x1p-10L, Dist::uniform}, {-0x1p20L, 0x1p20L, Dist::uniform}},
                    {30000, {0x1p-100L, 0x1p100L}, {-100.0L, 100.0L, Dist::uniform}}}};
    p.bound[0] = 0.6;
    p.bound[1] = p.bound[2] = p.bound[3] = 2.0;
    p.scale = scale;
    th::sweep(p);
    th::Sweep<LD> h{hypotl_f(),
                   {{50000, {tiny, big, Dist::log_uniform, true}, {tiny, big, Dist::log_uniform, true}},
                    {50000, {0.5L, 2.0L, Dist::uniform}, {0x1p-40L, 2.0L}}}};
    h.bound[0] = 0.6;
    h.bound[1] = h.bound[2] = h.bound[3] = 2.0;
    h.scale = scale;
    th::sweep(h);
}

TEST(ExtAccuracy, Sweep) { run_all(1); }
TEST(ExtAccuracyLong, Sweep) { run_all(100); }

}  // namespace

// The kernels the complex exponentials build on: (out[0] + out[1])·2^scale carries e^x, 2^x
// or 10^x far beyond double precision in every mode (measured in long double, whose ulp is
// 2^-63 relative), and exp_k32 is e^x to about half an ulp.
#include <gtest/gtest.h>

#include <cmath>

#include "elementary/exp_kernels.h"
#include "harness/harness.h"

namespace {

using namespace th;

template <void (*K)(double, int *, double *)> long double pair(long double x) {
    int sc = -99999;
    double o[2];
    K(double(x), &sc, o);
    return std::ldexp((long double)o[0] + o[1], sc);
}

Func<long double> kernel(const char *name, MpFn1 ref, long double (*fn)(long double)) {
    auto f = func<long double>(name, ref);
    f.add("ex", tsr::Tier::ex, fn);
    return f;
}

}  // namespace

TEST(ExpKernel, PairsInEveryMode) {
    struct K { Func<long double> f; long double xmax; } ks[] = {
        {kernel("exp_k64", mpfr_exp, pair<__libm_exp_k64>), 4095},
        {kernel("exp2_k64", mpfr_exp2, pair<__libm_exp2_k64>), 4095},
        {kernel("exp10_k64", mpfr_exp10, pair<__libm_exp10_k64>), 1023}};
    for (auto &k : ks) {
        Sweep<long double> s{k.f, {}};
        s.gen = [&](std::vector<long double> &out, size_t n, uint64_t seed) {  // double arguments
            for (double x : log_uniform<double>(0x1p-70, double(k.xmax), n, seed, true)) out.push_back(x);
        };
        s.gen_n = 40000;
        s.bound[0] = s.bound[1] = s.bound[2] = s.bound[3] = 8;  // 2^-60 relative
        s.check_flags = false;  // the sum in long double raises its own
        sweep(s);
        // Outside the core: fixed results.
        check_rows(k.f, std::vector<Row<long double>>{
                            {INFINITY, INFINITY, ANY_FLAGS}, {-INFINITY, 0.0L, ANY_FLAGS}, {0.0L, 1.0L, ANY_FLAGS},
                            {-0.0L, 1.0L, ANY_FLAGS}, {5000.0L, INFINITY, ANY_FLAGS}, {-5000.0L, 0.0L, ANY_FLAGS},
                            {0x1p1023L, INFINITY, ANY_FLAGS}, {-0x1p1023L, 0.0L, ANY_FLAGS}, {NAN, NAN, ANY_FLAGS}});
    }
}

TEST(ExpKernel, K32) {
    auto f = func<double>("exp_k32", mpfr_exp);
    f.add("ex", tsr::Tier::ex, __libm_exp_k32);
    // Normal results: one rounding of the pair's sum; subnormal ones are rounded a second
    // time by the last scaling: below one ulp.
    Sweep<double> s{f, {{30000, {0x1p-70, 708.0, Dist::log_uniform, true}}}};
    s.bound[0] = 0.51;
    s.modes = RN;
    s.check_flags = false;
    sweep(s);
    s.regions = {{5000, {-745.0, -708.4, Dist::uniform}}};
    s.bound[0] = 1.0;
    sweep(s);
    check_rows(f, std::vector<Row<double>>{{0.0, 1.0, ANY_FLAGS}, {1000.0, INFINITY, ANY_FLAGS},
                                           {-1000.0, 0.0, ANY_FLAGS}});
}

// The x87 control word and symmetry:
//  - a caller at 53- or 24-bit precision, in each rounding mode, gets the same 64-bit results
//    as a caller at 64 bits and finds its word unchanged after every call, and has it back
//    already when a report runs;
//  - odd functions give f(-x) = -f(x) and even ones f(-x) = f(x), bit for bit, in
//    round-to-nearest.
#include <gtest/gtest.h>

#include "ext2_funcs.h"

namespace {

using namespace ext2t;
using A2 = std::array<LD, 2>;

const char *kOne[] = {"sinl", "cosl", "tanl", "cotl", "sindl", "cosdl", "tandl", "cotdl", "asinl", "acosl",
                      "atanl", "asindl", "acosdl", "atandl", "sinhl", "coshl", "tanhl", "asinhl", "acoshl", "atanhl"};

TEST(Ext2Frame, CallerWordKept) {
    std::vector<std::tuple<A2>> one, two = {{A2{0.0L, -0.0L}}};
    for (LD x : {0.1L, -0.7L, 1.0L + 0x1p-60L, 0.0L, -1.0L, 2.0L, 90.0L, 1e30L, -20000.0L, 0x1p-50L}) {
        one.push_back({A2{x, 0}});
        two.push_back({A2{x, -2.5L}});
    }
    for (const char *n : kOne) th::check_x87_precision(n, th::calls(fn(n)), one);
    for (const char *n : {"sincosl", "sincosdl", "sinhcoshl"}) th::check_x87_precision(n, th::calls(sincos_f(n)), one);
    for (const char *n : {"atan2l", "atan2dl"}) th::check_x87_precision(n, th::calls(fn2(n)), two);
}

TEST(Ext2Frame, Symmetry) {
    struct Sym {
        const char *name;
        bool odd;
        LD hi;
    };
    const Sym fs[] = {{"sinl", 1, 1e30L}, {"cosl", 0, 1e30L}, {"tanl", 1, 1e30L}, {"cotl", 1, 1e30L},
                      {"sindl", 1, 1e30L}, {"cosdl", 0, 1e30L}, {"tandl", 1, 1e30L}, {"cotdl", 1, 1e30L},
                      {"asinl", 1, 1.0L}, {"atanl", 1, 1e30L}, {"asindl", 1, 1.0L}, {"atandl", 1, 1e30L},
                      {"sinhl", 1, 11000.0L}, {"coshl", 0, 11000.0L}, {"tanhl", 1, 30.0L},
                      {"asinhl", 1, 1e30L}, {"atanhl", 1, 1.0L}};
    for (const Sym &f : fs) th::check_symmetry(fn(f.name), th::log_uniform<LD>(f.hi * 0x1p-40L, f.hi, 2000, 12345), f.odd);
}

}  // namespace

// The x87 control word: a caller at 53- or 24-bit precision, in each rounding mode, gets the
// same 64-bit results as a caller at 64 bits, finds its word unchanged after every call, and
// has it back already when a report runs.
#include <gtest/gtest.h>

#include "ext_funcs.h"

namespace {

using namespace extt;
using A2 = std::array<LD, 2>;

TEST(ExtFrame, CallerWordKept) {
    std::vector<std::tuple<A2>> one, two;
    for (LD x : {0.1L, -3.3L, 1.0L + 0x1p-60L, 0.0L, -1.0L, 20000.0L, -20000.0L}) one.push_back({A2{x, 0}});
    for (const char *n : {"expl", "exp2l", "exp10l", "expm1l", "logl", "log2l", "log10l", "log1pl", "sqrtl", "invsqrtl", "cbrtl"})
        th::check_x87_precision(n, th::calls(fn(n)), one);
    for (auto [x, y] : {A2{2.5L, 3.3L}, {0.0L, -1.0L}, {-2.0L, 0.5L}, {10.0L, 20000.0L}, {2.5L, 3.3e4000L}, {-2.0L, 5e3999L}, {10.0L, 2e4004L}})
        two.push_back({A2{x, y}});
    th::check_x87_precision("powl", th::calls(powl_f()), two);
    th::check_x87_precision("hypotl", th::calls(hypotl_f()), two);
}

}  // namespace

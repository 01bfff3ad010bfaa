// The tables of expm1 (tier e7), exp2m1 and pow2o3 (generated: tools/gen/expm1_tables.py).
#pragma once
#include <cstdint>

#pragma GCC visibility push(hidden)
namespace tsr::em1 {

struct SplitRow {  // 2^(j/64) = 1.M + t, M cut to 29 fraction bits, t absolute
    double t;
    uint64_t m;
};
struct XorRow {  // 2^(j/16) = head (1 + t); W = head's mantissa bits XOR j << 48
    uint64_t w;
    double t;
};
struct HiLo {
    double hi, lo;
};

extern const SplitRow exp_split64[64];
extern const XorRow exp_xor16[16];
extern const double p23_rcp[32];
extern const HiLo p23_rows[96];

}  // namespace tsr::em1
#pragma GCC visibility pop

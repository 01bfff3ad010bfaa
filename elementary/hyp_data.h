// The tables of the hyperbolic functions (generated: tools/gen/hyp_tables.py).
#pragma once
#include <cstdint>

#pragma GCC visibility push(hidden)
namespace tsr::hyp {

struct Pair {
    double hi, lo;
};

extern const Pair up128[128];     // hi + lo = 2^(j/128)
extern const Pair down128[128];   // hi + lo = 2^(-j/128)
extern const Pair pair32[32];     // (2^(j/32), 2^(-j/32))
extern const Pair half32[32];     // (2^(j/32 - 1), 2^(-j/32 - 1))
extern const Pair down256[256];   // hi + lo = 2^(-j/256)
extern const double down32[32];   // 2^(-j/32)
extern const double tanh_centres[16];
extern const double tanh_pieces[16][20];
extern const double tanhf_pieces[26][8];

}  // namespace tsr::hyp
#pragma GCC visibility pop

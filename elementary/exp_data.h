// The tables of 2^(j/N) that the exponentials share (generated: tools/gen/exp_tables.py).
// Mantissa words M hold the low 52 bits of 1.M, so that or-ing in a biased exponent
// completes the number.
#pragma once
#include <cstdint>

// Hidden, so that every reference is a direct pc-relative address (no load of the address
// from the global offset table on the fast paths).
#pragma GCC visibility push(hidden)
namespace tsr::expd {

struct MT {        // a power of two as mantissa bits and a tail
    uint64_t m;
    double t;
};
struct TH {        // a power of two as tail and short head
    double tail, head;
};

extern const MT frac64[64];      // M cut, relative tail
extern const MT frac64r[64];     // M rounded, relative tail
extern const MT frac128[128];    // M rounded, absolute tail
extern const TH split128[129];   // j = -64..64, head with 31 fraction bits
extern const double d256[256];
extern const double d32[32];
extern const double centred64[64];  // j = -32..31
extern const uint32_t f32_head[32];
extern const float f32_tail[32];
extern const double pow10[23];
extern const float pow10f[11];

}  // namespace tsr::expd
#pragma GCC visibility pop

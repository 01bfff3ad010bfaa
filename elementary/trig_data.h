// The tables of sine, cosine and tangent (generated: tools/gen/trig_tables.py).
#pragma once
#include <cstdint>

#pragma GCC visibility push(hidden)
namespace tsr::trig {

struct SC64 {      // angle j·pi/32: cos = C0 + Chi, sin = Shi + Slo; Chi·r is exact
    double c0, shi, slo, chi;
};
struct SCPair {    // the columns of SC64 at rows j and j + 16
    double c0[2], shi[2], slo[2], chi[2];
};
struct SC128 {     // angle j·pi/64: cos = C + Clo, sin = S + Slo
    double c, s, slo, clo;
};
struct TanRow {    // lane[2i] the low lane (r^(8+i)), lane[2i+1] the high lane (r^i)
    double lane[16];
    double thi, tlo, a, b, mult;
    uint64_t mask;
};

struct ReduceConsts {  // the reduction by a period (pi/2)/c: see trig_reduce.cpp
    double mult;      // 4c/pi
    double below[4];  // an octant (pi/4)/c in signed pieces whose products with a count below
                      // 2^25 are exact (the first) or nearly so
    double above[5];  // the same for a count below 2^32
    double fin[2];    // the octant in two parts, the first short, for the huge path's product
};

extern const uint32_t twoopi_words[46];
extern const uint64_t sinf_period_rows[15][2];
extern const double fouropi_chunks[50];
extern const double foln2_chunks[50];
extern const double foln10_chunks[50];
extern const ReduceConsts reduce_pio2, reduce_ln2, reduce_ln10;
extern const SC64 sincos_rows64[64];
extern const SCPair sincos_pairs64[64];
extern const SC128 sincos_rows128[128];
extern const TanRow tan_rows32[32];
extern const double tan_poly128[128][8];
extern const double tan_scale128[128][4];
extern const double sinf_rows65[65][2];
extern const double cosf_rows65[65][2];
extern const double sincosf_rows65[65][2];
extern const double trigf_rows64[64][2];
extern const double tanf_rows32[32][9];
extern const double tanf_rows32f[32][8];

}  // namespace tsr::trig
#pragma GCC visibility pop

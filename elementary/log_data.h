// Tables of the logarithm family (generated into log_data.cpp by tools/gen/log_tables.py).
#pragma once
#include <bit>
#include <cstdint>

#include "tsr/types.h"

constexpr double tsr_d(uint64_t b) { return std::bit_cast<double>(b); }

namespace tsr::logtab {
// 129 (head, tail) rows stored as two arrays, heads first: one index scaled by 8 addresses
// both words, where interleaved pairs need the index shifted left by 4 before the loads.
struct Rows129 {
    double hi[129], lo[129];
};
// -ln R_i for R_i = (1 + i/128)/2, R_128 = 1: head and tail, in the no-FMA and FMA cuts.
extern const double log_neg129_ex[129][2] TSR_HIDDEN;
extern const Rows129 log_neg129_fma TSR_HIDDEN;
// log2 and log10 of c/R' for the reductions toward c.
extern const double log2_rows_ex[129][2] TSR_HIDDEN;
extern const Rows129 log2_rows_l9 TSR_HIDDEN;
extern const double log10_rows_ex[129][2] TSR_HIDDEN;
extern const double log10_rows_l9[129][2] TSR_HIDDEN;
// -log R_i, R_i = (1 + i/256)/2, in base e, 2 and 10.
extern const double log_f257[257] TSR_HIDDEN;
extern const double log2_f257[257] TSR_HIDDEN;
extern const double log10_f257[257] TSR_HIDDEN;
// log2(1 + i/512) - 127.
extern const double log_l2f512[512] TSR_HIDDEN;
// Short reciprocals of the centres of 256 mantissa intervals and their -ln.
extern const float log_rcp256_r[256] TSR_HIDDEN;
extern const double log_rcp256_l[256] TSR_HIDDEN;
extern const double log_rcp256_t[256] TSR_HIDDEN;
// (R, -ln R head, tail) for the double-double kernel.
extern const double log_k64_rows[65][3] TSR_HIDDEN;
extern const double log2p1_rows[256][2] TSR_HIDDEN;
extern const uint32_t log10f_pow10[12][2] TSR_HIDDEN;
}  // namespace tsr::logtab

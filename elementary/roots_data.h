// Tables of the roots and the inverse hyperbolic functions (generated into roots_data.cpp
// by tools/gen/roots_tables.py).
#pragma once
#include <bit>
#include <cstdint>

#include "elementary/log_data.h"
#include "tsr/types.h"

namespace tsr::roots {
using logtab::Rows129;
// Cube roots, tiers ex and e7: -1/c_i for c_i = 1 + (i + 1/2)/32, and cbrt(2^rem c_i) as a
// head and a tail at row 32 rem + i.
extern const double cbrt_rcp32[32] TSR_HIDDEN;
extern const double cbrt_head96[96] TSR_HIDDEN;
extern const double cbrt_tail96[96] TSR_HIDDEN;
// Cube roots, FMA tiers: (H, t) with H (1 + t) = cbrt(2^rem / R_i), R_i = (1 + i/32)/2, at
// row 32 (2 - rem) + i.
extern const double cbrt_rows97[97][2] TSR_HIDDEN;
// -ln r_i of the logarithm's 256 short reciprocals as (lo, hi), hi with 21 bits.
extern const double log_rcp256d[256][2] TSR_HIDDEN;
// -ln(1 + i/128) as head and tail, and the same less 1022 ln 2.
extern const Rows129 log_mant129 TSR_HIDDEN;
extern const Rows129 log_mant129b TSR_HIDDEN;
}  // namespace tsr::roots

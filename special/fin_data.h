// Tables and polynomials of the double annuity and compound cores (generated into
// fin_data.cpp by tools/gen/fin_tables.py).
#pragma once
#include "tsr/types.h"

namespace tsr::fin {
// -log2(1 + (2i + 1)/256) as (head, tail): the logarithm of the centre of each 1/128 of an
// octave, what the reduction by a short reciprocal leaves to the table.
extern const double fin_log2_rows[128][2] TSR_HIDDEN;
// 2^(j/64) as (head, tail).
extern const double fin_exp2_rows[64][2] TSR_HIDDEN;
// log2(1 + r/4) = c1 r + c2 r^2 + r (a0 + a1 r + ... + a7 r^7).
extern const double fin_log_c1 TSR_HIDDEN, fin_log_c2 TSR_HIDDEN;
extern const double fin_log_a[8] TSR_HIDDEN;
// 2^t - 1 = t (h + l + b2 t + ... + b7 t^6).
extern const double fin_ln2_h TSR_HIDDEN, fin_ln2_l TSR_HIDDEN;
extern const double fin_exp_b[6] TSR_HIDDEN;
}  // namespace tsr::fin

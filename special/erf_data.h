// The tables of the error-function family (special/erf_data.cpp, made by
// tools/gen/erf_tables.py).
#pragma once
#include "tsr/types.h"

namespace tsr::erf {

// A grid row: the function at x0 = k/128 as h + l, its derivative's magnitude
// (2/sqrt(pi)) exp(-x0^2) as dh + dl, dh of 26 significant bits.
struct Row {
    double h, l, dh, dl;
};
extern const Row erf_rows[768] TSR_HIDDEN;    // x0 = 0 .. 5.9921875
extern const Row erfc_rows[3488] TSR_HIDDEN;  // x0 = 0 .. 27.2421875, every word times 2^192
// The Taylor chains of g(u, e) = sum c_mn u^m e^n (chain_u without its constant 1).
extern const double chain_u[13] TSR_HIDDEN, chain_ue[10] TSR_HIDDEN, chain_ue2[6] TSR_HIDDEN, chain_ue3[3] TSR_HIDDEN;

}  // namespace tsr::erf

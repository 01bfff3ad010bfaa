// The tables and coefficients of the reproducible family's own bodies (generated:
// tools/gen/bwr_tables.py).
#pragma once

#pragma GCC visibility push(hidden)
namespace tsr::bwr {

struct LogRow {
    double r, hi, lo;  // the reduction factor, and ln(2r) = hi + lo
};

extern const LogRow bwr_log_rows[257];  // row i: mantissas near 1 + i/256
extern const double bwr_exp_poly[4];    // e^r - 1 - r: c2 .. c5
extern const double bwr_log_poly[4];    // ln(1 + t) - t + t^2/2: c3 .. c6
extern const double bwr_log2e[3];       // log2(e): 26-bit head, 27-bit middle, low
extern const double bwr_log10e[3];      // log10(e), the same way

}  // namespace tsr::bwr
#pragma GCC visibility pop

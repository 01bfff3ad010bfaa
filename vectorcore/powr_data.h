// The tables of the cores of powr and powrf (generated: tools/gen/powr_tables.py).
#pragma once

#pragma GCC visibility push(hidden)
namespace tsr::powr {

struct LogRow {  // c = C/(1 + i/1024) to 24 bits; log2(C/c), less 1 from row 512, as hi + lo
    double c, hi, lo;
};

extern const LogRow powr_log1024[1025];
extern const double powrf_lnr[513];
extern const double powrf_exp2048[2048];

}  // namespace tsr::powr
#pragma GCC visibility pop

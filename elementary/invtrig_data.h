// The tables and polynomials of the inverse trigonometric functions (generated:
// tools/gen/invtrig_tables.py).
#pragma once
#include <cstdint>

#pragma GCC visibility push(hidden)
namespace tsr::invtrig {

struct HiLo {  // a value in two parts, hi + lo
    double hi, lo;
};

struct ArcRow {  // asin(c) and sqrt(1 - c^2) of a grid point c
    double asin_c, cc;
};

extern const HiLo atan16[161];     // atan of the 4-bit grid, row = top 16 bits - 0x3f9f
extern const HiLo atan32[385];     // atan of the 5-bit grid, row = (high word >> 15) - 0x7f20
extern const HiLo atan32_pi[385];  // the same minus pi
extern const double arc_cc[239];    // sqrt(1 - c^2) of the 6-bit grid from 0.0625 (acos, asin ex)
extern const HiLo arc_asin[239];    // asin(c) on that grid
extern const ArcRow arcf_rows[127];  // the float grid of acosf, asinf tier e7
extern const HiLo arc_head46[46];  // asin(j/64)/(j/64)
extern const double arc_poly46[46][8];
extern const double atan16_poly[4];
extern const double atan32_poly[3];
extern const double atan32_tiny;
extern const double asin_small[2];
extern const double asinf_poly_a[4];
extern const double asinf_poly_b[4];
extern const double asinf_q[8];
extern const double atanf_poly[2];
extern const double atan2f_e[4];
extern const double atan2f_f[4];
extern const double atan2f_g[6];
extern const double k64_third[2];
extern const double k64_poly[6];

}  // namespace tsr::invtrig
#pragma GCC visibility pop

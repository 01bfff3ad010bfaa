// The tables and polynomials of the pi-scaled trigonometric functions and of atanpi's vector
// core (generated: tools/gen/pi_tables.py).
#pragma once
#include <cstdint>

#pragma GCC visibility push(hidden)
namespace tsr::pi {

struct PiRow {  // the angle pi j/64
    double s, slo, c, clo, ps, pslo, pc, pclo;  // sin, cos, pi sin, pi cos; heads and rests
};
struct AtanpiRow {
    double c;
    uint64_t mask;  // all ones: z = (a - c)/(1 + a c); 0: z = -1/a
    double t, tlo;  // atan(c)/pi, or 1/2 in the last row
};

extern const double pi_hilo[2];
extern const double inv_pi_hilo[2];
extern const double inv_pi_short[2];
extern const PiRow pi_rows64[64];
extern const double sinpi_poly[4];
extern const double cospi_poly[4];
extern const AtanpiRow atanpi_rows[5];
extern const double atanpi_series[12];
extern const double atanpi_third[2];
extern const double atanpi_third_halves[2];
extern const double asinpi_series[14];
extern const double asinpi_sixth[2];
extern const double asinpif_series[9];
extern const double atanpif_series[8];
extern const double atan2pi_rows[768][2];
extern const double atan2pi_series[5];
extern const double sinpif_poly[3];
extern const double cospif_poly[3];
extern const double tanpi_rows[64][2];
extern const double tanpi_poly[3];

}  // namespace tsr::pi
#pragma GCC visibility pop

// The error of a kernel's pair against an MPFR reference, for the tests of the extended
// kernels.
#pragma once
#include <cmath>

#include "harness/harness.h"

namespace extt {

// log2 of |((h + l) 2^e - ref) / ref|; -300 for an exact pair.
inline double pair_rel_err_log2(long double h, long double l, long e, mpfr_srcptr ref) {
    th::Mp got(400), t(400);
    th::set(got, h);
    th::set(t, l);
    mpfr_add(got, got, t, MPFR_RNDN);
    mpfr_mul_2si(got, got, e, MPFR_RNDN);
    mpfr_sub(got, got, ref, MPFR_RNDN);
    mpfr_div(got, got, ref, MPFR_RNDN);
    double d = std::fabs(mpfr_get_d(got, MPFR_RNDN));
    return d == 0 ? -300 : std::log2(d);
}

}  // namespace extt

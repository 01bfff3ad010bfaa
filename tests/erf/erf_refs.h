// MPFR references of the error functions MPFR lacks (erfcx, cdfnorm and the inverses),
// shared by the double/float and the extended tests, and the shorthands of their rows and
// plans.
#pragma once
#include <mpfr.h>

#include <algorithm>
#include <cmath>

#include "harness/harness.h"

namespace erft {

using namespace th;

template <class T> Row<T> crun(T x) { return {x, CR, UN, ERANGE_IF_ZERO, NO_CODE, RN}; }  // subnormal result

// The bounds of a plan, and its references in two stages (erfc at 256 bits takes
// milliseconds far in its tail, at 2p + 24 microseconds).
template <class T> void bounds(Sweep<T> &s, double rn) {
    s.bound[0] = rn;
    s.bound[1] = s.bound[2] = s.bound[3] = 2.0;
    s.two_stage_refs = true;
}

// cdfnorm(x) = erfc(-x/sqrt(2))/2, at 64 more bits.
inline int mpfr_cdfnorm(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t t, s;
    mpfr_init2(t, mpfr_get_prec(r) + 64);
    mpfr_init2(s, mpfr_get_prec(r) + 64);
    mpfr_sqrt_ui(s, 2, MPFR_RNDN);
    mpfr_div(t, x, s, MPFR_RNDN);
    mpfr_neg(t, t, MPFR_RNDN);
    mpfr_erfc(t, t, MPFR_RNDN);
    int i = mpfr_div_2ui(r, t, 1, rnd);
    mpfr_clear(t);
    mpfr_clear(s);
    return i;
}

// erfcx(x) = exp(x^2) erfc(x) at 64 more bits; from 2^10 on its asymptotic series to the
// x^-8 term (the next is below 2^-95 of it), where exp(x^2) and erfc would soon leave MPFR's
// exponent range.
inline int mpfr_erfcx(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_prec_t p = mpfr_get_prec(r) + 64;
    mpfr_t t, s;
    mpfr_init2(t, p);
    mpfr_init2(s, p);
    int i;
    if (mpfr_cmp_d(x, 0x1p10) >= 0) {
        mpfr_sqr(s, x, MPFR_RNDN);
        mpfr_ui_div(s, 1, s, MPFR_RNDN);
        mpfr_div_2ui(s, s, 1, MPFR_RNDN);                    // w = 1/(2x^2)
        mpfr_mul_ui(t, s, 105, MPFR_RNDN);                   // 1 - w + 3w^2 - 15w^3 + 105w^4
        mpfr_ui_sub(t, 15, t, MPFR_RNDN);
        mpfr_mul(t, t, s, MPFR_RNDN);
        mpfr_ui_sub(t, 3, t, MPFR_RNDN);
        mpfr_mul(t, t, s, MPFR_RNDN);
        mpfr_ui_sub(t, 1, t, MPFR_RNDN);
        mpfr_mul(t, t, s, MPFR_RNDN);
        mpfr_ui_sub(t, 1, t, MPFR_RNDN);
        mpfr_const_pi(s, MPFR_RNDN);
        mpfr_sqrt(s, s, MPFR_RNDN);
        mpfr_mul(s, s, x, MPFR_RNDN);
        i = mpfr_div(r, t, s, rnd);
    } else {
        mpfr_sqr(s, x, MPFR_RNDN);
        mpfr_exp(s, s, MPFR_RNDN);
        mpfr_erfc(t, x, MPFR_RNDN);
        i = mpfr_mul(r, t, s, rnd);
    }
    mpfr_clear(t);
    mpfr_clear(s);
    return i;
}
// Newton's iteration to p bits for the y given (good to a few bits), step(e, y, q) writing
// the step at q bits: at 32 bits until a step is below 2^-28 of y, where the slow first steps
// are cheap (MPFR's erfc costs up to a hundred times more at 80 bits and above than at 32,
// for arguments between about 3 and 10), then one step at each precision, nearly doubling
// up to p (48, 80, 144, ...): the iteration converges quadratically, so a y good to q - 8
// bits is good to about 2q - 16 after one step, and no step is spent confirming the last.
template <class Step> void newton_ladder(mpfr_t y, mpfr_prec_t p, Step step) {
    constexpr mpfr_prec_t kStart = 32;
    mpfr_t e;
    mpfr_init2(e, kStart);
    mpfr_prec_round(y, kStart, MPFR_RNDN);
    for (int it = 0; it < 200; ++it) {
        step(e, y, kStart);
        mpfr_add(y, y, e, MPFR_RNDN);
        if (mpfr_zero_p(e) || mpfr_get_exp(e) < mpfr_get_exp(y) - (kStart - 4)) break;
    }
    for (mpfr_prec_t q = kStart; q < p;) {
        q = std::min(2 * q - 16, p);
        mpfr_prec_round(y, q, MPFR_RNDN);
        mpfr_set_prec(e, q);
        step(e, y, q);
        mpfr_add(y, y, e, MPFR_RNDN);
    }
    mpfr_clear(e);
}
// y = erfcinv(z) for 0 < z <= 1, to p bits: Newton on ln erfc(y) = ln z from sqrt(-ln z) (ln
// erfc is concave: from above the root the iterates close in from one side).
inline void erfcinv_ref(mpfr_t y, mpfr_srcptr z, mpfr_prec_t p) {
    mpfr_t lz, c, d;
    for (mpfr_ptr v : {(mpfr_ptr)lz, (mpfr_ptr)c, (mpfr_ptr)d}) mpfr_init2(v, p);
    mpfr_log(lz, z, MPFR_RNDN);
    mpfr_neg(y, lz, MPFR_RNDN);
    mpfr_sqrt(y, y, MPFR_RNDN);
    mpfr_const_pi(c, MPFR_RNDN);
    mpfr_sqrt(c, c, MPFR_RNDN);
    mpfr_ui_div(c, 2, c, MPFR_RNDN);  // 2/sqrt(pi)
    newton_ladder(y, p, [&](mpfr_ptr e, mpfr_srcptr v, mpfr_prec_t q) {
        mpfr_set_prec(d, q);
        mpfr_erfc(e, v, MPFR_RNDN);
        mpfr_sqr(d, v, MPFR_RNDN);
        mpfr_neg(d, d, MPFR_RNDN);
        mpfr_exp(d, d, MPFR_RNDN);
        mpfr_mul(d, d, c, MPFR_RNDN);
        mpfr_div(d, d, e, MPFR_RNDN);  // -(ln erfc)'
        mpfr_log(e, e, MPFR_RNDN);
        mpfr_sub(e, e, lz, MPFR_RNDN);
        mpfr_div(e, e, d, MPFR_RNDN);
    });
    for (mpfr_ptr v : {(mpfr_ptr)lz, (mpfr_ptr)c, (mpfr_ptr)d}) mpfr_clear(v);
}
// erfcinv(x) for 0 < x < 2 by symmetry, erfinv(x) = erfcinv(1 - x), cdfnorminv(p) =
// -sqrt(2) erfcinv(2p); each at 64 more bits (1 - x exact at that precision for the
// arguments of the tests, which have at most 53 bits from 2^-100 on).
inline int erfcinv_at(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd, bool cdf) {
    mpfr_prec_t p = mpfr_get_prec(r) + 64;
    mpfr_t z, y;
    mpfr_init2(z, 2 * p + 1100);
    mpfr_init2(y, p);
    mpfr_set(z, x, MPFR_RNDN);
    bool neg = mpfr_cmp_ui(z, 1) > 0;
    if (neg) mpfr_ui_sub(z, 2, z, MPFR_RNDN);
    int i;
    if (mpfr_cmp_ui(z, 1) == 0) {
        i = mpfr_set_ui(r, 0, rnd);
    } else {
        erfcinv_ref(y, z, p);
        if (neg) mpfr_neg(y, y, MPFR_RNDN);
        if (cdf) {
            mpfr_sqrt_ui(z, 2, MPFR_RNDN);
            mpfr_mul(y, y, z, MPFR_RNDN);
            mpfr_neg(y, y, MPFR_RNDN);
        }
        i = mpfr_set(r, y, rnd);
    }
    mpfr_clear(z);
    mpfr_clear(y);
    return i;
}
inline int mpfr_erfcinv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) { return erfcinv_at(r, x, rnd, false); }
// erfinv(x) for |x| <= 1/2 to p bits: Newton on erf from x sqrt(pi)/2.
inline int erfinv_small(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_prec_t p = mpfr_get_prec(r) + 64;
    mpfr_t y, d, c;
    for (mpfr_ptr v : {(mpfr_ptr)y, (mpfr_ptr)d, (mpfr_ptr)c}) mpfr_init2(v, p);
    mpfr_const_pi(c, MPFR_RNDN);
    mpfr_sqrt(c, c, MPFR_RNDN);
    mpfr_mul(y, x, c, MPFR_RNDN);
    mpfr_div_2ui(y, y, 1, MPFR_RNDN);
    mpfr_ui_div(c, 2, c, MPFR_RNDN);  // 2/sqrt(pi)
    if (!mpfr_zero_p(y))
        newton_ladder(y, p, [&](mpfr_ptr e, mpfr_srcptr v, mpfr_prec_t q) {
            mpfr_set_prec(d, q);
            mpfr_erf(e, v, MPFR_RNDN);
            mpfr_sub(e, x, e, MPFR_RNDN);
            mpfr_sqr(d, v, MPFR_RNDN);
            mpfr_neg(d, d, MPFR_RNDN);
            mpfr_exp(d, d, MPFR_RNDN);
            mpfr_mul(d, d, c, MPFR_RNDN);
            mpfr_div(e, e, d, MPFR_RNDN);
        });
    int i = mpfr_set(r, y, rnd);
    for (mpfr_ptr v : {(mpfr_ptr)y, (mpfr_ptr)d, (mpfr_ptr)c}) mpfr_clear(v);
    return i;
}
inline int mpfr_erfinv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    if (mpfr_cmpabs_ui(x, 1) < 0 && mpfr_get_exp(x) <= -1) return erfinv_small(r, x, rnd);  // |x| < 1/2
    mpfr_t z;
    mpfr_init2(z, mpfr_get_prec(x) + 1200);
    mpfr_ui_sub(z, 1, x, MPFR_RNDN);  // exact
    int i = erfcinv_at(r, z, rnd, false);
    mpfr_clear(z);
    return i;
}
inline int mpfr_cdfnorminv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd) {
    mpfr_t z;
    mpfr_init2(z, mpfr_get_prec(x) + 1);
    mpfr_mul_2ui(z, x, 1, MPFR_RNDN);  // exact
    int i = erfcinv_at(r, z, rnd, true);
    mpfr_clear(z);
    return i;
}

}  // namespace erft

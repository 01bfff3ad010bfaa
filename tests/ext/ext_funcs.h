// The extended-precision functions under test: each described once for the shared runners
// (its MPFR reference, its body and its public entry).
#pragma once
#include "harness/harness.h"
#include "tessera.h"

extern "C" long double __libm_square_root_x87(long double) noexcept;
extern "C" long double __invsqrtl(long double) noexcept;

namespace extt {

using LD = long double;

inline int mp_invsqrt(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_rec_sqrt(r, x, m); }

inline th::Func<LD> fn(const char *name) {
    std::string n = name;
    if (n == "expl") return th::func<LD>("expl", mpfr_exp, tsr_tiers_expl).entry(expl);
    if (n == "exp2l") return th::func<LD>("exp2l", mpfr_exp2, tsr_tiers_exp2l).entry(exp2l);
    if (n == "exp10l") return th::func<LD>("exp10l", mpfr_exp10, tsr_tiers_exp10l).entry(exp10l);
    if (n == "expm1l") return th::func<LD>("expm1l", mpfr_expm1, expm1l_local, expm1l);
    if (n == "logl") return th::func<LD>("logl", mpfr_log, tsr_tiers_logl).entry(logl);
    if (n == "log2l") return th::func<LD>("log2l", mpfr_log2, log2l_local, log2l);
    if (n == "log10l") return th::func<LD>("log10l", mpfr_log10, log10l_local, log10l);
    if (n == "log1pl") return th::func<LD>("log1pl", mpfr_log1p, tsr_tiers_log1pl).entry(log1pl);
    if (n == "sqrtl")
        return th::func<LD>("sqrtl", mpfr_sqrt, tsr_tiers_sqrtl).entry(sqrtl).add("square_root_x87", tsr::Tier::ex, __libm_square_root_x87);
    if (n == "invsqrtl")
        return th::func<LD>("invsqrtl", mp_invsqrt, tsr_tiers_invsqrtl).entry(invsqrtl).add("__invsqrtl", tsr::Tier::ex, __invsqrtl);
    if (n == "cbrtl") return th::func<LD>("cbrtl", mpfr_cbrt, tsr_tiers_cbrtl).entry(cbrtl);
    return th::func<LD>("logl", mpfr_log, tsr_tiers_logl);
}
inline th::Func<LD> powl_f() { return th::func<LD>("powl", mpfr_pow, tsr_tiers_powl).entry(powl); }
inline th::Func<LD> hypotl_f() { return th::func<LD>("hypotl", mpfr_hypot, tsr_tiers_hypotl).entry(hypotl); }

}  // namespace extt

// The extended-precision trigonometric, inverse trigonometric, degree and hyperbolic functions
// under test, each described once for the shared runners: its MPFR reference (the degree
// forms through MPFR's functions of an angle in units of a turn, the cotangents as the
// reciprocal of the tangent at 64 bits more), its body and its public entry.
#pragma once
#include "harness/harness.h"
#include "tessera.h"

namespace ext2t {

using LD = long double;

// f(x) at 64 bits beyond the target, then rounded: g(t, x) for the wider t.
template <int (*g)(mpfr_ptr, mpfr_srcptr)>
int wider(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) {
    mpfr_t t;
    mpfr_init2(t, mpfr_get_prec(r) + 64);
    g(t, x);
    int i = mpfr_set(r, t, m);
    mpfr_clear(t);
    return i;
}
inline int cot_w(mpfr_ptr t, mpfr_srcptr x) { return mpfr_cot(t, x, MPFR_RNDN); }
inline int cotd_w(mpfr_ptr t, mpfr_srcptr x) {
    mpfr_tanu(t, x, 360, MPFR_RNDN);
    return mpfr_ui_div(t, 1, t, MPFR_RNDN);
}
inline int mp_sind(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_sinu(r, x, 360, m); }
inline int mp_cosd(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_cosu(r, x, 360, m); }
inline int mp_tand(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_tanu(r, x, 360, m); }
inline int mp_asind(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_asinu(r, x, 360, m); }
inline int mp_acosd(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_acosu(r, x, 360, m); }
inline int mp_atand(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_atanu(r, x, 360, m); }
inline int mp_atan2d(mpfr_ptr r, mpfr_srcptr y, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_atan2u(r, y, x, 360, m); }

inline th::Func<LD> fn(const std::string &n) {
    if (n == "sinl") return th::func<LD>("sinl", mpfr_sin, tsr_tiers_sinl).entry(sinl);
    if (n == "cosl") return th::func<LD>("cosl", mpfr_cos, tsr_tiers_cosl).entry(cosl);
    if (n == "tanl") return th::func<LD>("tanl", mpfr_tan, tsr_tiers_tanl).entry(tanl);
    if (n == "cotl") return th::func<LD>("cotl", wider<cot_w>, cotl_local, cotl);
    if (n == "sindl") return th::func<LD>("sindl", mp_sind, tsr_tiers_sindl).entry(sindl);
    if (n == "cosdl") return th::func<LD>("cosdl", mp_cosd, tsr_tiers_cosdl).entry(cosdl);
    if (n == "tandl") return th::func<LD>("tandl", mp_tand, tandl_local, tandl);
    if (n == "cotdl") return th::func<LD>("cotdl", wider<cotd_w>, cotdl_local, cotdl);
    if (n == "asinl") return th::func<LD>("asinl", mpfr_asin, tsr_tiers_asinl).entry(asinl);
    if (n == "acosl") return th::func<LD>("acosl", mpfr_acos, tsr_tiers_acosl).entry(acosl);
    if (n == "atanl") return th::func<LD>("atanl", mpfr_atan, tsr_tiers_atanl).entry(atanl);
    if (n == "asindl") return th::func<LD>("asindl", mp_asind, asindl_local, asindl);
    if (n == "acosdl") return th::func<LD>("acosdl", mp_acosd, acosdl_local, acosdl);
    if (n == "atandl") return th::func<LD>("atandl", mp_atand, atandl_local, atandl);
    if (n == "sinhl") return th::func<LD>("sinhl", mpfr_sinh, tsr_tiers_sinhl).entry(sinhl);
    if (n == "coshl") return th::func<LD>("coshl", mpfr_cosh, tsr_tiers_coshl).entry(coshl);
    if (n == "tanhl") return th::func<LD>("tanhl", mpfr_tanh, tsr_tiers_tanhl).entry(tanhl);
    if (n == "asinhl") return th::func<LD>("asinhl", mpfr_asinh, tsr_tiers_asinhl).entry(asinhl);
    if (n == "acoshl") return th::func<LD>("acoshl", mpfr_acosh, tsr_tiers_acoshl).entry(acoshl);
    if (n == "atanhl") return th::func<LD>("atanhl", mpfr_atanh, tsr_tiers_atanhl).entry(atanhl);
    ADD_FAILURE() << "no function " << n;
    return th::func<LD>("sinl", mpfr_sin, tsr_tiers_sinl);
}
inline th::Func<LD> fn2(const std::string &n) {
    if (n == "atan2l") return th::func<LD>("atan2l", mpfr_atan2, tsr_tiers_atan2l).entry(atan2l);
    if (n == "atan2dl") return th::func<LD>("atan2dl", mp_atan2d, tsr_tiers_atan2dl, tsr_tiers_atand2l).entry(atan2dl).add("__libm_atan2dl", tsr::Tier::ex, __libm_atan2dl);
    ADD_FAILURE() << "no function " << n;
    return th::func<LD>("atan2l", mpfr_atan2, tsr_tiers_atan2l);
}
inline th::Func<LD> sincos_f(const std::string &n) {
    if (n == "sincosl") return th::func2<LD>("sincosl", mpfr_sin, mpfr_cos, tsr_tiers_sincosl).entry(sincosl);
    if (n == "sincosdl") return th::func2<LD>("sincosdl", mp_sind, mp_cosd, tsr_tiers_sincosdl).entry(sincosdl);
    return th::func2<LD>("sinhcoshl", mpfr_sinh, mpfr_cosh, tsr_tiers_sinhcoshl).entry(sinhcoshl);
}

}  // namespace ext2t

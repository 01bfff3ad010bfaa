// The extended-precision functions under test, with their MPFR references.
#pragma once
#include "harness/harness.h"

extern "C" long double __libm_square_root_x87(long double) noexcept;
extern "C" long double __invsqrtl(long double) noexcept;

namespace extt {

using F1 = long double (*)(long double);
using F2 = long double (*)(long double, long double);

inline int mp_invsqrt(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_rec_sqrt(r, x, m); }

struct Fn1 {
    const char *name;
    F1 fn;
    th::MpFn1 ref;
};
inline const Fn1 kFns1[] = {
    {"expl", tsr_tiers_expl[0].fn, mpfr_exp},        {"exp2l", tsr_tiers_exp2l[0].fn, mpfr_exp2},
    {"exp10l", tsr_tiers_exp10l[0].fn, mpfr_exp10},  {"expm1l", expm1l_local, mpfr_expm1},
    {"logl", tsr_tiers_logl[0].fn, mpfr_log},        {"log2l", log2l_local, mpfr_log2},
    {"log10l", log10l_local, mpfr_log10},            {"log1pl", tsr_tiers_log1pl[0].fn, mpfr_log1p},
    {"sqrtl", tsr_tiers_sqrtl[0].fn, mpfr_sqrt},     {"invsqrtl", tsr_tiers_invsqrtl[0].fn, mp_invsqrt},
    {"cbrtl", tsr_tiers_cbrtl[0].fn, mpfr_cbrt},
};
inline const F2 kPowl = tsr_tiers_powl[0].fn;
inline const F2 kHypotl = tsr_tiers_hypotl[0].fn;

inline long double ld(uint64_t m, uint16_t se) {
    long double x = 0;
    __builtin_memcpy(&x, &m, 8);
    __builtin_memcpy(reinterpret_cast<char *>(&x) + 8, &se, 2);
    return x;
}
inline uint16_t x87_cw() {
    uint16_t v;
    asm volatile("fnstcw %0" : "=m"(v));
    return v;
}
inline void set_x87_cw(uint16_t v) { asm volatile("fldcw %0" : : "m"(v)); }

}  // namespace extt

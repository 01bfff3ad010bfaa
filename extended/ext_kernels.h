// The interface of the extended-precision kernels, for the code that calls them from outside
// the extended sources (and their tests): pairs are two 16-byte cells, hi then lo; a scaled
// pair has its binary exponent in a third cell.
#pragma once

extern "C" {
struct tsr_scaled_pair {
    long double hi, lo;
    int e;
};

void __libm_normalizel_k80(tsr_scaled_pair *);
long double *__libm_scalbl_k80(long double *, const long double *, const long double *, int);
int __libm_expl_k80(long double *, const long double *);
int __libm_exp2l_k80(long double *, const long double *, int);
int __libm_exp10l_k80(long double *, const long double *, int);
void __libm_expm1l_k80(long double *, const long double *);
long double __libm_logl_k80(const long double *, const long double *, long double *);
void __libm_log1pl_k80(long double *, const long double *);
void __libm_log_k80(tsr_scaled_pair *, const tsr_scaled_pair *);
void __libm_log1p_k80(tsr_scaled_pair *, const tsr_scaled_pair *);
void __libm_hypot2l_k80(const long double *, const long double *, tsr_scaled_pair *);
int __libm_reduce_pi04l(const long double *, int, double *);
int __libm_reduce_pi04ln2l(const long double *, double *);
int __libm_reduce_pi04ln10l(const long double *, double *);
// sin x = factor (out[0] + out[1]), the factor returned; likewise of x ln2 and x ln10
long double __libm_sinl_k80(const long double *, long double *);
long double __libm_cosl_k80(const long double *, long double *);
long double __libm_sinln2l_k80(const long double *, long double *);
long double __libm_cosln2l_k80(const long double *, long double *);
long double __libm_sinln10l_k80(const long double *, long double *);
long double __libm_cosln10l_k80(const long double *, long double *);
// sinh x = (out[0] + out[1]) 2^k, k returned
int __libm_sinhl_k80(const long double *, long double *);
int __libm_coshl_k80(const long double *, long double *);
// The complex inverse functions' real parts: the prepared pairs of the point (x, y) (|x|, |y|,
// |x - 1|, |x| + 1, y^2, |z + 1|, |z - 1|, their sum), and from them acos and asin of
// 2|x| / (|z + 1| + |z - 1|) (asin with x's sign) and acosh of (|z + 1| + |z - 1|) / 2, each
// rounded once into *res (returned).
void __libm_carctrigprepare_k80(const long double *x, const long double *y, tsr_scaled_pair *X, tsr_scaled_pair *Y,
                                tsr_scaled_pair *M, tsr_scaled_pair *P, tsr_scaled_pair *Y2, tsr_scaled_pair *R,
                                tsr_scaled_pair *S, tsr_scaled_pair *T);
#define TSR_CARCTRIG_READ                                                                                             \
    long double *res, const long double *x, const long double *y, const tsr_scaled_pair *X, const tsr_scaled_pair *Y, \
        const tsr_scaled_pair *M, const tsr_scaled_pair *P, const tsr_scaled_pair *Y2, const tsr_scaled_pair *R,     \
        const tsr_scaled_pair *S, const tsr_scaled_pair *T
long double *__libm_recacosl_k80(TSR_CARCTRIG_READ);
long double *__libm_recasinl_k80(TSR_CARCTRIG_READ);
long double *__libm_recacoshl_k80(TSR_CARCTRIG_READ);
#undef TSR_CARCTRIG_READ
// The real part of catanh(x + i y), rounded once into *res (returned).
long double *recatanhl(long double *res, const long double *x, const long double *y);
// atan2(y, x) of two scaled pairs as a pair in out (returned)
long double *__libm_atan2l_k80(long double *out, const tsr_scaled_pair *y, const tsr_scaled_pair *x);
}

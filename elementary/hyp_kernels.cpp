// The hyperbolic kernels (see hyp_kernels.h), and the reproducible forms of the family,
// which are the tier-ex bodies under a name of their own.
#include "elementary/hyp_kernels.h"
#include "elementary/hyp_common.h"

using namespace tsr;
using namespace tsr::hyp;

namespace {

template <bool Cosh>
inline int kernel(double x, double r[2]) {
    uint32_t hx = hi(x) & 0x7fffffff;
    RnGuard g;
    double a = opaque(__builtin_fabs(x));
    double h, l;
    int m = pair_of_reduced<Cosh>(reduce(a), hx, h, l);
    h = g.finish(h);
    l = opaque(l);
    if (!Cosh && (hi(x) >> 31)) {
        h = -h;
        l = -l;
    }
    r[0] = h;
    r[1] = l;
    return m;
}

}  // namespace

extern "C" int __libm_sinh_k64(double x, double r[2]) noexcept {
    uint32_t hx = hi(x) & 0x7fffffff;
    if (hx >= 0x41500000) {  // |x| >= 2^22
        r[0] = hx >= 0x7ff00000 ? x : with_sign(f64(0x7ff0000000000000ull), x);
        r[1] = 0.0;
        return 0;
    }
    if (hx > 0x3f947ae0) return kernel<false>(x, r);
    r[0] = x;
    if (hx > 0x3c5fffff) {  // the odd series less its first term
        double z = x * x, w = z * z;
        r[1] = ((0x1.71e39b9ff12fp-19 * w + 0x1.11111111111c1p-7) * w +
                (0x1.a01a01940cd88p-13 * w + 0x1.5555555555555p-3) * z) * x;
    } else {
        r[1] = 0.0;
    }
    return 0;
}

extern "C" int __libm_cosh_k64(double x, double r[2]) noexcept {
    uint32_t hx = hi(x) & 0x7fffffff;
    if (hx >= 0x41500000) {
        r[0] = r[1] = 0.0;
        return 0;
    }
    if (hx > 0x3f847ae0) return kernel<true>(x, r);
    r[0] = 1.0;
    if (hx > 0x3c5fffff) {  // the even series less its first term
        double z = x * x, w = z * z;
        r[1] = (0x1.6c1716a3d464ep-10 * w + 0.5) * z + w * 0x1.555555554a6cfp-5;
    } else {
        r[1] = 0.0;
    }
    return 0;
}

// The reproducible forms: the tier-ex algorithms, whatever the processor.
TSR_DEFINE(double, __bwr_sinh, (double x)) { return __libm_sinh_ex_local(x); }
TSR_DEFINE(double, __bwr_cosh, (double x)) { return __libm_cosh_ex_local(x); }
TSR_DEFINE(double, __bwr_tanh, (double x)) { return __libm_tanh_ex_local(x); }
TSR_DEFINE(float, __bwr_sinhf, (float x)) { return __libm_sinhf_ex_local(x); }
TSR_DEFINE(float, __bwr_coshf, (float x)) { return __libm_coshf_ex_local(x); }
TSR_DEFINE(float, __bwr_tanhf, (float x)) { return __libm_tanhf_ex_local(x); }
TSR_DEFINE(void, __bwr_sinhcosh, (double x, double *s, double *c)) { __libm_sinhcosh_ex_local(x, s, c); }
TSR_DEFINE(void, __bwr_sinhcoshf, (float x, float *s, float *c)) { __libm_sinhcoshf_ex_local(x, s, c); }

// The generic exponential scheme as a kernel: k rounded by a shifter with K = 128 per unit
// of the base-2 exponent, 2^(j/128) from the split table (head with 31 fraction bits), a
// short head B of e^r such that head·B is exact, and the correction W; the power of two is
// handed back as an integer, so no result is ever scaled out of range here.
#include "elementary/exp_kernels.h"
#include "elementary/exp_common.h"

#include <type_traits>

using namespace tsr;
using namespace tsr::expd;

namespace {

enum Base { kE, k2, k10 };

template <Base F>
inline void kernel(double x, int *scale, double out[2]) {
    uint32_t E = uint32_t(bits(x) >> 52) & 0x7ff;
    *scale = 0;
    if (E == 2047) {
        out[0] = (bits(x) == 0xfff0000000000000ull) ? 0.0 : x;
        out[1] = 0.0;
        return;
    }
    if (E <= 916) {  // |x| < 2^-106: 1 is e^x to far more than double-double precision
        out[0] = 1.0;
        out[1] = 0.0;
        return;
    }
    if (E < 966) {  // |x| < 2^-57: 1 + y and its rounding error
        double y = F == kE ? x : F == k2 ? x * 0x1.62e42fefa39efp-1 : x * 0x1.26bb1bbb55516p+1;
        double one_y = 1.0 + y;
        out[0] = one_y;
        out[1] = y - (one_y - 1.0);
        return;
    }
    if (F == k10 ? E > 1033 : E >= 1035) {
        out[0] = (bits(x) >> 63) ? 0.0 : f64(0x7ff0000000000000ull);
        out[1] = 0.0;
        return;
    }
    // e^x is inexact for every x != 0, so the base-e kernel's shifter and polynomial raise
    // inexact whatever happens: its guard tells the mode by the probe, which costs less than
    // a read of the control word.  Powers of 2 and 10 can be exact (an integer x) and read it.
    std::conditional_t<F == kE, RnGuardInexact, RnGuard> g;
    x = opaque(x);
    const double S = 0x1.8p52;
    const double K = F == kE ? 0x1.71547652b82fep+7 : F == k2 ? 128.0 : 0x1.a934f0979a371p+8;
    auto [kf, j, n] = split_index(opaque(K * x + S), S);
    double B, Q;
    if constexpr (F == kE) {
        e_split128(x, kf, B, Q);
    } else if constexpr (F == k2) {
        double r = x + kf * -0x1p-7;
        const double L = 0x1.62e42p-1;
        double rt = f64(bits(r) & 0xffffffff00000000ull);
        double a = rt * L;
        B = f64(bits(1.0 + a) & 0xffffffff00000000ull);
        // approximation of 2^r on [-0x1p-8, 0x1p-8], degree 7, max relative error
        // 2^-72.54 (measured by tools/gen/approximations.py)
        double s2 = r * r;
        Q = ((0x1.4308cac59a345p-13 * s2 + 0x1.3b2ab6fba31d1p-7) * s2 + 0x1.ebfbdff82c58fp-3) * s2 +
            (r - rt) * L + (a - (B - 1.0)) +
            (((0x1.0097a00cb0678p-16 * s2 + 0x1.5d87fe87ed439p-10) * s2 + 0x1.c6b08d704a0c3p-5) * s2 +
             0x1.fdf473de6af28p-22) * r;
    } else {
        exp10_split128(x, kf, B, Q);
    }
    const TH &row = split128[j + 64];
    double W = Q * row.head + (B + Q) * row.tail;
    double v = row.head * B;  // exact
    *scale = n;
    double o0 = v, o1 = W;
    if constexpr (F == k10) {
        o0 = v + W;
        o1 = W - (o0 - v);
    }
    out[0] = g.finish(o0);
    out[1] = opaque(o1);
}

}  // namespace

extern "C" void __libm_exp_k64(double x, int *scale, double out[2]) noexcept { kernel<kE>(x, scale, out); }
extern "C" void __libm_exp2_k64(double x, int *scale, double out[2]) noexcept { kernel<k2>(x, scale, out); }
extern "C" void __libm_exp10_k64(double x, int *scale, double out[2]) noexcept { kernel<k10>(x, scale, out); }

// e^x as one double: the kernel's pair summed and scaled in two steps, each factor a
// normal power of two for every scale the kernel gives within range.
extern "C" double __libm_exp_k32(double x) noexcept {
    if ((bits(x) & 0x7fe0000000000000ull) <= 0x3c5fffff00000000ull) return x + 1.0;
    int n;
    double o[2];
    __libm_exp_k64(x, &n, o);
    double v = o[0] + o[1];
    if (bits(x) >> 63) return (v * pow2_clamped(n + 512)) * 0x1p-512;
    return (v * pow2_clamped(n - 512)) * 0x1p512;
}

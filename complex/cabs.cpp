// The complex functions that are one real function or a bit operation: parts, conjugate,
// projection, modulus and argument, and the unit vectors cis and cisd.
#include "complex/cplx_common.h"

#include "tsr/x87.h"

using namespace tsr;
using namespace tsr::cplx;

TSR_DEFINE(double, creal, (CD z)) { return __real__ z; }
TSR_DEFINE(double, cimag, (CD z)) { return __imag__ z; }
TSR_DEFINE(float, crealf, (CF z)) { return __real__ z; }
TSR_DEFINE(float, cimagf, (CF z)) { return __imag__ z; }

// The sign bit flipped by XOR, so that a NaN part changes sign too.
TSR_DEFINE(CD, conj, (CD z)) { return mk(__real__ z, flip(__imag__ z)); }
TSR_DEFINE(CF, conjf, (CF z)) { return mkf(__real__ z, f32(bits(float(__imag__ z)) ^ 0x80000000u)); }

// Every point with an infinite part is the one point at infinity, (+inf, +-0).
TSR_DEFINE(CD, cproj, (CD z)) {
    if (is_inf(__real__ z) || is_inf(__imag__ z)) return mk(f64(INF_BITS), with_sign(0.0, __imag__ z));
    return z;
}
TSR_DEFINE(CF, cprojf, (CF z)) {
    if (is_inf(__real__ z) || is_inf(__imag__ z))
        return mkf(f32(0x7f800000u), f32(bits(float(__imag__ z)) & 0x80000000u));
    return z;
}

// |z| and arg z are hypot and atan2; cargf rounds the double result once more (a double
// result within 0.51 ulp is within 0.5 + 2^-29 float ulp after it).
TSR_DEFINE(double, cabs, (CD z)) { return hypot_local(__real__ z, __imag__ z); }
TSR_DEFINE(double, carg, (CD z)) { return atan2_local(__imag__ z, __real__ z); }
// |z| of finite float parts in double: the squares are exact (48 bits, within the double
// range for every float), their sum rounds once and the root once more, within 0.75 ulp of
// double, so the result rounded to float is within 0.5 + 2^-28 float ulp.  An infinite or
// NaN part takes hypot's rule (an infinity wins over a NaN).
TSR_DEFINE(float, cabsf, (CF z)) {
    double x = __real__ z, y = __imag__ z;
    if (is_finite(x) && is_finite(y)) return float(__builtin_sqrt(x * x + y * y));
    return float(hypot_local(x, y));
}
TSR_DEFINE(float, cargf, (CF z)) { return float(atan2_local(__imag__ z, __real__ z)); }

TSR_DEFINE(CD, cis, (double x)) {
    double s, c;
    sincos_local(x, &s, &c);
    return mk(c, s);
}
TSR_DEFINE(CF, cisf, (float x)) {
    float s, c;
    sincosf_local(x, &s, &c);
    return mkf(c, s);
}

// cos and sin of x degrees: exact at the multiples of 90 (zeros are +0, but the sine of a
// zero keeps its sign); an infinity or a NaN gives NaN parts, invalid for an infinity.
namespace {
inline void cisd_ld(double x, LD &s, LD &c) {
    RnGuard g;
    X87Precision p;
    sincosd_ld(x, 0.0, s, c);
    if (x == 0.0) s = LD(x);
}
}  // namespace
TSR_DEFINE(CD, cisd, (double x)) {
    if (!is_finite(x)) return mk(x - x, x - x);
    LD s, c;
    cisd_ld(x, s, c);
    return mk(double(c), double(s));
}
TSR_DEFINE(CF, cisdf, (float x)) {
    if (!(__builtin_fabsf(x) <= 0x1.fffffep127f)) return mkf(x - x, x - x);
    LD s, c;
    cisd_ld(x, s, c);
    return mkf(float(c), float(s));
}

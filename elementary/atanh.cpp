// atanh in double and single precision: ln((1 + x)/(1 - x))/2.
//
// Double, tiers ex and e7 (and __bwr_atanh): from 1/16 on the quotient (1 + |x|)/(1 - |x|)
// is formed as a head and a tail (a 24-bit head of the reciprocal 1/(1 - |x|) and its
// correction from the exact products of 25-bit heads) and handed to the table logarithm;
// below, the odd series to x^13 (error below 2^-60 relative); next to the underflow
// threshold x nudged outward, for the flags and the directed roundings.  |x| = 1 is a pole (divide-by-zero, reported), beyond
// it a domain error.
//
// Double, tier l9: for 2^-50 <= |x| < 1, two lanes, 1 - |x| and 1 + |x| with their exact
// rounding errors, each through the fused logarithm core on rows that hold -1022 ln 2 (which
// cancels in the difference), and the difference of the two logarithms summed so that every
// rounding error is kept.  Elsewhere tier e7: below 2^-50 the lanes' errors (1 - L) - |x|
// stop being exact in the directed modes, where 1 - |x| rounds away from 1.
//
// Single: in double, rounded once; from 1/2 on the difference of two logarithms of the
// exact 1 + x and 1 - x.
#include "elementary/roots_common.h"

using namespace tsr;
using namespace tsr::roots;

namespace {

#if TSR_TIER_EX || TSR_TIER_E7
constexpr uint64_t kLow28 = (uint64_t(1) << 28) - 1;
inline double cut28(double v) { return f64(bits(v) & ~kLow28); }

inline double atanh_ex(double x) {
    uint32_t hx = hi(x) & 0x7fffffff;
    uint64_t sign = bits(x) & Format<double>::sign;
    if (hx >= 0x3ff00000) {
        if ((bits(x) & Format<double>::abs) == Format<double>::one)
            return report(x, x / opaque(0.0), code::atanh_magnitude_exactly_1);
        if (is_nan(x)) return x + x;
        return report(x, (x - x) / (x - x), code::atanh_magnitude_above_1);
    }
    if (hx >= 0x3fb00000) {
        double a = f64(bits(x) & Format<double>::abs);
        double xh = cut28(a), xl = a - xh;
        double d = -1.0 / ((xh - 1.0) + xl);
        double dh = cut28(d), dl = d - dh, Dd = dl + dh;
        double e = (((xh - 1.0) * dh + 1.0) + ((xh - 1.0) * dl + xl * Dd)) * Dd + dl;
        double head = (xh + 1.0) * dh, tail = (e + dh) * xl + (xh + 1.0) * e;
        return log_pair_ex(head, tail) * f64(sign | 0x3fe0000000000000ull);
    }
    if (hx >= 0x3c600000) {
        double z = x * x, w = z * z;
        return (((0x1.3ed69611f41adp-4 * w + 0x1.c71c75514f583p-4) * w + 0x1.9999999999b41p-3) * z +
                ((0x1.7457e7eeb4b9cp-4 * w + 0x1.24924923f3911p-3) * w + 0x1.5555555555555p-2)) *
                   x * z + x;
    }
    // x + x^3/3 rounded by a nudge of x 2^100 by the smallest normal, then scaled back
    // exactly: one rounding in the caller's direction (x (1 + x) would round twice upward).
    if (hx >= 0x100000) return (x * 0x1p100 + f64(sign | 0x0010000000000000ull)) * 0x1p-100;
    if ((bits(x) & Format<double>::abs) == 0) return x;
    return x + f64(sign | 0x0170000000000000ull) * 0x1p-1000;
}

// ln(p/m)/2 for exact p = 1 + x and m = 1 - x, |x| >= 1/2: two table logarithms side by
// side, their exponents' difference d taken once.
inline double atanhf_logs(double p, double m) {
    uint32_t ip = uint32_t(bits(p) >> 44) & 0xff, im = uint32_t(bits(m) >> 44) & 0xff;
    double mp = f64((bits(p) & Format<double>::mantissa) | Format<double>::one);
    double mm = f64((bits(m) & Format<double>::mantissa) | Format<double>::one);
    double gp = double(logtab::log_rcp256_r[ip]) * mp - 1.0, gm = double(logtab::log_rcp256_r[im]) * mm - 1.0;
    double qp = (0x1.5555a6890dd1p-2 * gp - 0x1.00001e7362febp-1) * gp * gp + gp;
    double qm = (0x1.5555a6890dd1p-2 * gm - 0x1.00001e7362febp-1) * gm * gm + gm;
    double d = double(int(bits(p) >> 52) - int(bits(m) >> 52));
    return (d * 0x1.62e42fefa39efp-1 + (logtab::log_rcp256_l[ip] - logtab::log_rcp256_l[im]) + (qp - qm)) * 0.5;
}

// The e7 form differs in its last band (x^2 + x with the sign put back) and in a
// coefficient of the series; the halving of the two-logarithm band is exact either way.
template <bool E7>
inline float atanhf_ex(float x) {
    uint32_t b = bits(x) & 0x7fffffff, sign = bits(x) & 0x80000000u;
    if (b >= 0x3f800000) {
        if (b == 0x3f800000) return report(x, x / opaque(0.0f), code::atanhf_magnitude_exactly_1);
        if (b > 0x7f800000) return x * 1.0f;
        return report(x, (x - x) / (x - x), code::atanhf_magnitude_above_1);
    }
    double X = x;
    if (b >= 0x3f000000) {
        double p = 1.0 + X, m = 1.0 - X;
        return float(atanhf_logs(p, m));
    }
    if (b >= 0x32000000) {
        double z = X * X, w = z * z;
        double c = E7 ? -0x1.8c8edeff6edccp-9 : -0x1.8c8ed10091234p-9;
        return float(((((0x1.717fd1c66784bp-3 * w + 0x1.8b0dfdc2b5888p-4) * w + 0x1.c84085a00fafp-4) * w +
                        0x1.9999c9016c8e5p-3) * w +
                       (((c * w + 0x1.67c9164e392ecp-4) * w + 0x1.248aeb0fd5c67p-3) * w + 0x1.5555551abeffbp-2) *
                           z) * X + X);
    }
    if (b >= 0x800000) return (x * 0x1p100f + f32(sign | 0x00800000u)) * 0x1p-100f;
    if (b == 0) return x;
    if (E7) return f32(bits(x * x + x) | sign);
    return x + f32(sign | 0x0d800000u) * 0x1p-100f;
}
#endif

}  // namespace

namespace {
#if TSR_TIER_L9
// One lane of the two-lane core: the logarithm of L + t (t the exact rounding error of the
// lane) with the lane's raw exponent field as n, on rows less 1022 ln 2.
struct Lane {
    double H, Lo, u, Rt, Q, z;
};
__attribute__((always_inline)) inline Lane atanh_lane(double L, double t) {
    FmaLog c = log_fma_step(L, t, double(int(bits(L) >> 52)), log_mant129b, 0x1.62e42fefap-1,
                            0x1.cf79abc9ep-40);
    Lane r;
    r.H = c.H;
    r.Lo = c.Lo;
    r.u = c.u;
    r.Rt = c.lR * c.Rd;
    r.z = c.w * c.w;
    r.Q = log_fma_poly(c.w, r.z);
    return r;
}

inline double atanh_l9(double x) {
    uint64_t ab = bits(x) & Format<double>::abs;
    if (ab - 0x3cd0000000000000ull >= 0x3ff0000000000000ull - 0x3cd0000000000000ull)
        return __libm_atanh_e7_local(x);
    double a = f64(ab);
    double L0 = 1.0 - a, L1 = 1.0 + a;
    double t0 = (1.0 - L0) - a, t1 = (1.0 - L1) + a;
    Lane l0 = atanh_lane(L0, t0), l1 = atanh_lane(L1, t1);
    double Dh = l1.H - l0.H, Dl = l1.Lo - l0.Lo;
    double S1 = Dh + l1.u, S2 = S1 - l0.u;
    double e2 = ((S2 - S1) + l0.u) + l0.Rt;
    double e1 = ((S1 - Dh) - l1.u) - l1.Rt;
    double r = S2 + (((Dl + l1.z * l1.Q) - (e1 + l0.z * l0.Q)) - e2);
    // Halved by the exponent field: |r| >= 2^-509, far from the subnormal range.
    return f64((bits(r) - (uint64_t(1) << 52)) | (bits(x) & Format<double>::sign));
}

inline float atanhf_l9(float x) {
    uint32_t b = bits(x) & 0x7fffffff;
    // Below 2^-5 the series of tier e7: the logarithms' polynomial error, 2^-41 absolute,
    // would be a fiftieth of an ulp of results near 2^-12.
    if (b - 0x3d000000u > 0x3f7fffffu - 0x3d000000u) return __libm_atanhf_e7_local(x);
    double X = x, p = 1.0 + X, m = 1.0 - X;
    uint32_t ip = uint32_t(bits(p) >> 44) & 0xff, im = uint32_t(bits(m) >> 44) & 0xff;
    double mp = f64((bits(p) & Format<double>::mantissa) | Format<double>::one);
    double mm = f64((bits(m) & Format<double>::mantissa) | Format<double>::one);
    double gp = fma(double(logtab::log_rcp256_r[ip]), mp, -1.0), gm = fma(double(logtab::log_rcp256_r[im]), mm, -1.0);
    double qp = fma(fma(0x1.5555a6890dd1p-2, gp, -0x1.00001e7362febp-1), gp * gp, gp);
    double qm = fma(fma(0x1.5555a6890dd1p-2, gm, -0x1.00001e7362febp-1), gm * gm, gm);
    double d = double(int(bits(p) >> 52) - int(bits(m) >> 52));
    float r = float(fma(d, 0x1.62e42fefa39efp-1, logtab::log_rcp256_l[ip] - logtab::log_rcp256_l[im]) + (qp - qm));
    return f32(bits(r) + 0xff800000u);  // halved: the exponent field less one
}
#endif
}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, atanh, (double x)) { return atanh_ex(x); }
TSR_BODY(float, atanhf, (float x)) { return atanhf_ex<false>(x); }
TSR_DEFINE(double, __bwr_atanh, (double x)) { return atanh_ex(x); }
TSR_DEFINE(float, __bwr_atanhf, (float x)) { return atanhf_ex<false>(x); }
#endif
#if TSR_TIER_E7
TSR_BODY(double, atanh, (double x)) { return atanh_ex(x); }
TSR_BODY(float, atanhf, (float x)) { return atanhf_ex<true>(x); }
#endif
#if TSR_TIER_L9
TSR_BODY(double, atanh, (double x)) { return atanh_l9(x); }
TSR_BODY(float, atanhf, (float x)) { return atanhf_l9(x); }
#endif

// 2^x - 1 in double: one algorithm and one set of constants in every tier, reached through
// the internal entry __libm_exp2m1 (the float form is the correctly rounded family's).
//
// Core, 2^-57 <= |x| < 64 and 64 <= x < 1023.875: s = x + S rounds 16x to an integer in
// round-to-nearest whatever the caller's mode (tiers ex and l9 set the mode for this one
// addition, z0 rounds by the instruction), with S = 1.5·2^48 + 0x3ff0/16, so that the low 16
// bits of s hold 16(n + 1023) + j; r = x - (s - S) is exact (z0: the reduce instruction),
// |r| <= 1/32.  Moved to the top of a word those bits give the exponent field of 2^n with j
// in the mantissa's top four bits; the table word W holds 2^(j/16)'s head (26 fraction
// bits) XOR j << 48, so T = (s << 48) XOR W is 2^n·head exactly, with the relative tail t.
// 2^r - 1 = Ph + Q: Ph = rh·L exact (rh: r cut to 13 bits, L = ln 2's 12-bit head), Q the
// rest (the tail of ln 2 times r, and the Taylor terms from r^2 on to r^7: truncation below
// 2^-60).  Then 2^x - 1 = (T - 1) + Ph·T + T·V with V = Q + t(1 + Ph + Q): D = T - 1 with its
// exact error err (the larger of T and -1 first), H1 = Ph·T + D and the error e of that
// sum (Ph·T is exact in tier ex: 26 and 27 bits; fused in l9, z0), result
// H1 + ((err + e) + T·V), one rounding of a sum whose small part carries 2^-53 of itself.
// From 1023.875 on the core runs on x - 1 and the result is doubled: 2^x itself would need
// 2^1024.
//
// Outside the core: |x| < 2^-57 gives x·ln 2, formed on |x|·2^512 in two parts (the head's
// product exact) and scaled back; where the result is subnormal the head is first rounded
// to the subnormal grid (a shifter of 2^-510) so that the two scalings round once between
// them.  x <= -64: -1 (inexact); NaN and +inf: x + x; x >= 1024: x·2^1023 overflows.
// Integer arguments give exact results without inexact: r = 0, j = 0 and every step is
// exact.
#include "elementary/exp_common.h"
#include "elementary/expm1_data.h"

using namespace tsr;
using namespace tsr::em1;

namespace {

constexpr double S = 0x1.8000000003ff0p+48;
// ln 2 - L and the Taylor coefficients of 2^r from r^2 on (c6 = ln2^2/2 .. c1 = ln2^7/7!).
constexpr double c1 = 0x1.ffca108f79777p-17, c2 = 0x1.430a495eb4190p-13, c3 = 0x1.5d87fe7ad6885p-10,
                 c4 = 0x1.3b2ab6fb09b60p-7, c5 = 0x1.c6b08d704a0a2p-5, c6 = 0x1.ebfbdff82c594p-3,
                 c7 = 0x1.0bfbe8e7bcd60p-15, L = 0x1.62e0000000000p-1;

template <bool Fma>
inline double core(double x, double s, double r) {
    uint64_t sb = bits(s);
    const XorRow &row = exp_xor16[sb & 15];
    double T = f64((sb << 48) ^ row.w), t = row.t;
    double rh = f64(bits(r) & 0xffffff8000000000ull), rl = r - rh;
    double Ph = rh * L, Pl = rl * L;  // Ph exact
    double big = x < 0 ? -1.0 : T, small = x < 0 ? T : -1.0;
    double D = T - 1.0;
    double err = small - (D - big);
    double r2 = r * r;
    double A = c1 * r + c2, B = c3 * r + c4, C = c5 * r + c6;
    double G = (A * r2 + B) * r2 + C;
    double Q = (G * r + c7) * r + Pl;
    double V = Q + ((t + Ph * t) + Q * t);
    double H1, e;
    if constexpr (Fma) {
        H1 = __builtin_fma(Ph, T, D);
        e = __builtin_fma(Ph, T, -(H1 - D));
    } else {
        double p = Ph * T;  // exact: 26 and 27 significant bits
        H1 = p + D;
        e = p - (H1 - D);
    }
    return H1 + ((err + e) + T * V);
}

// The shifter step in round-to-nearest and the exact remainder.
inline void reduce(double x, double &s, double &r) {
#if TSR_TIER_Z0
    s = avx512::add_rn(x, S);
    r = avx512::reduce_rn<4>(x);
#else
    RnGuard g;
    s = opaque(opaque(x) + S);
    s = g.finish(s);
    r = x - (s - S);
#endif
}

// |x| < 2^-57: x ln 2 on y = |x|·2^512, yh with 27 bits so that yh times ln 2's 28-bit head
// is exact, then back by 2^-512, rounding once even where the result is subnormal.
inline double tiny(double x) {
    if ((bits(x) << 1) == 0) return x + x;
    double y = f64(bits(x) & 0x7fffffffffffffffull) * 0x1p512;
    double yh = f64(bits(y) & 0xfffffffffc000000ull), yl = y - yh;
    double hi = yh * 0x1.62e42f8000000p-1;
    double lo = yl * 0x1.62e42fefa39efp-1 + yh * 0x1.be8e7bcd5e4f2p-27;
    double z = hi + lo, res;
    if (z < 0x1p-510) {
        double w = (0x1p-510 + hi) - 0x1p-510;  // hi on the grid of the subnormal result
        double lo2 = (hi - w) + lo;
        res = lo2 * 0x1p-512 + w * 0x1p-512;
    } else {
        res = z * 0x1p-512;
    }
    return (bits(x) >> 63) ? -res : res;
}

template <bool Fma>
inline double exp2m1_body(double x) {
    uint32_t H = hi(x) & 0x7fffffffu;
    bool twice = false;
    if (H - 0x3c600000u >= 0x40500000u - 0x3c600000u) {
        if (H < 0x3c600000u) return tiny(x);
        if ((bits(x) & 0x7fffffffffffffffull) > 0x7ff0000000000000ull) return x + x;
        if (bits(x) >> 63) return bits(x) == 0xfff0000000000000ull ? -1.0 : -1.0 + 0x1p-70;
        if (H >= 0x408fff00u) {
            if (H >= 0x40900000u) return H >= 0x7ff00000u ? x + x : x * 0x1p1023;
            x -= 1.0;  // 1023.875 <= x < 1024: exact
            twice = true;
        }
    }
    double s, r;
    reduce(x, s, r);
    double v = core<Fma>(x, s, r);
    return twice ? v + v : v;
}

}  // namespace

#if TSR_TIER_EX
TSR_BODY(double, exp2m1, (double x)) { return exp2m1_body<false>(x); }
#else
TSR_BODY(double, exp2m1, (double x)) { return exp2m1_body<true>(x); }
#endif

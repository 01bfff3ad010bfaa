// What annuity and compound share, in every precision: the table of special values, and the
// double core.
//
// The double core carries log2(1 + x) as a pair of doubles and the exponent W = ±y log2(1 + x)
// as a pair, so that neither 1 + x (which loses the rate) nor 1 - (1 + x)^-y (which cancels)
// is ever formed in one double.
//
// log2(1 + x):
// - |x| >= 2^-8, the table form: p = 1 + x as an exact pair; c = 4/p cut to seven fraction
//   bits with the bit below them set (the centre of a 1/128 of an octave), so that r = p c - 4
//   is exact as a pair (the head of p has 44 bits and c 8, their product is exact, and it is
//   within a factor 2 of 4), |r| <= 2^-6.  log2 p = k + row_i + log2(1 + r/4), k and row_i
//   from the exponent and the top fraction bits of c.  log2(1 + r/4) = c1 r + c2 r^2 + P(r),
//   the two leading products exact as pairs, P(r) in double: the series is good to 2^-67
//   relative, and the sum to about 2^-66 of the value.
// - |x| < 2^-8, the series form: no 1 + x at all.  G = log2(1 + x)/x = 4 (c1 + c2 r + P(r)/r)
//   with r = 4x exact, as a pair; log2(1 + x) = G x.  Below 2^-70 G is its constant term:
//   the next is below 2^-71 of it.  G is what annuity needs where W is small.
//
// W = ±y log2(1 + x) is formed on the significands of y and of the logarithm, its exponent
// kept apart: the product of two operands in [1, 2) and [2^-8, 2^11) never leaves the range of
// Dekker's product, whatever y is, and the exponent of the product says at once in which
// region W lies (the estimate of the exponent of W is exact: it is the exponent of the
// computed significand product plus the two exponents).
//
// 2^W for |W| < 4096: n = round(64 W), t = W - n/64 as a pair (the head difference is
// exact: n/64 is within a factor 2 of W's head, or W's head is below 1/128 and n is 0),
// 2^W = 2^(n >> 6) 2^((n & 63)/64) 2^t with the row as a pair and 2^t - 1 by a polynomial
// of degree 7 good to 2^-62 relative on |t| <= 1/64 (so the directed modes, where the shifter
// rounds n their way, keep the same accuracy), the product with the row's head exact.
//
// The result is a pair times 2^s, rounded once (round_scaled): a normal result by the sum of
// the pair then the exact scaling, a subnormal one by cutting the head to the subnormal grid
// so that only the rest is rounded, onto the grid.
#pragma once
#include "elementary/pow_exact.h"
#include "extended/ext_common.h"
#include "special/fin_data.h"
#include "tsr/codes.h"
#include "tsr/dd.h"
#include "tsr/format.h"
#include "tsr/guard.h"
#include "tsr/report.h"

#include <type_traits>

namespace tsr::fin {
namespace {

using dd::DD;

enum class Fn { annuity, compound };

// The codes of one function in one precision.
struct Codes {
    int pole, below, over, under;
};

// ---- the table of special values (every precision) ------------------------------------------
template <class T>
inline bool infinite(T v) {
    if constexpr (std::is_same_v<T, long double>) return x80::is_inf(ext(v));
    else return is_inf(v);
}

// Decided before any arithmetic, in this order: y = ±0; a NaN; x = -inf; x = +inf; x = ±0;
// x = -1 (the pole); x below -1; an infinite y.  Returns true with the result in r and the code
// to report in `code` (0: none).  A table case is reported only when the other operand is
// finite.
template <Fn F, class T>
inline bool special_value(T x, T y, bool x_nan, bool y_nan, T &r, int &code, const Codes &c) {
    const T inf = T(__builtin_inf());
    if (y == T(0)) {
        r = F == Fn::annuity ? T(0) : T(1);
        return true;
    }
    if (x_nan || y_nan) {
        r = x + y;  // quiets a signalling NaN, raising invalid
        return true;
    }
    const bool y_inf = infinite(y);
    if (infinite(x)) {
        if (x < T(0)) {
            r = opaque(x) * T(0);  // invalid: the rate is below -1 by any measure
        } else if (F == Fn::compound) {
            r = y > T(0) ? inf : T(0);
        } else {
            // (1 - inf^-y)/inf: 0 for y > 0; for y < 0 the sign of -inf^(-y - 1).
            r = y > T(0) ? T(0) : y == T(-1) ? T(-1) : y < T(-1) ? -inf : -T(0);
        }
        return true;
    }
    if (x == T(0)) {
        r = F == Fn::annuity ? y : T(1);
        return true;
    }
    if (x == T(-1)) {
        // (1 + x)^y is 0^y: 0 for y > 0, a pole for y < 0.
        bool pole = F == Fn::annuity ? y > T(0) : y < T(0);
        if (pole) {
            r = T(1) / opaque(T(0));  // +inf, divide-by-zero
            code = y_inf ? 0 : c.pole;
        } else {
            r = F == Fn::annuity ? T(-1) : T(0);
        }
        return true;
    }
    if (x < T(-1)) {
        r = opaque(T(0)) / opaque(T(0));  // the default NaN, invalid
        code = y_inf ? 0 : c.below;
        return true;
    }
    if (y_inf) {
        // (1 + x)^y is 0 when 1 + x < 1 and y = +inf or 1 + x > 1 and y = -inf; inf otherwise.
        // annuity holds (1 + x)^-y: where it vanishes the value is 1/x, else -inf/x.
        bool vanishes = (x < T(0)) == (y > T(0));
        if (F == Fn::compound) r = vanishes ? T(0) : inf;
        else r = !vanishes ? T(1) / opaque(x) : x < T(0) ? inf : -inf;
        return true;
    }
    return false;
}

// ---- double pieces ----------------------------------------------------------------------------
// The exponent of a finite non-zero double, subnormals included.
inline int expo(double v) {
    uint64_t b = bits(v) << 1;
    int f = int(b >> 53);
    if (f) return f - 1023;
    return -1012 - __builtin_clzll(b);  // b = m << 1: the leading bit of m is bit 62 - clz
}
// 2^k for -1022 <= k <= 1023.
inline double pow2(int k) { return f64(uint64_t(k + 1023) << 52); }
// v 2^k in two exact steps (k from -2044 to 2046, each power normal) where the result is
// normal.
inline double scale2(double v, int k) { return (v * pow2(k / 2)) * pow2(k - k / 2); }
// v 2^-e for e its exponent: v's significand in [1, 2), exactly.
inline double significand(double v, int e) { return scale2(v, -e); }
inline DD scale_dd(DD v, int k) { return {scale2(v.h, k), scale2(v.l, k)}; }

// log2(1 + x) for -1 < x, x finite and non-zero: the value is m 2^e; g is log2(1 + x)/x where
// the series gave it (`series`), with x = xs 2^e.
struct Log2 {
    DD m;
    int e;
    bool series;
    DD g;
    double xs;
};

inline Log2 log2_1p(double x) {
    const double *a = fin_log_a;
    int ex = expo(x);
    if (ex < -8) {
        double xs = significand(x, ex);
        DD g;
        if (ex < -70) {
            g = dd::fast_two_sum(4 * fin_log_c1, 4 * a[0]);
        } else {
            double r = 4 * x;  // exact
            double q = a[7];
            for (int k = 6; k >= 1; --k) q = q * r + a[k];
            DD p = dd::two_prod(fin_log_c2, r);
            DD s = dd::fast_two_sum(fin_log_c1, p.h);
            g = dd::fast_two_sum(s.h, s.l + (p.l + (a[0] + r * q)));
            g = {4 * g.h, 4 * g.l};
        }
        return {dd::mul(g, xs), ex, true, g, xs};
    }
    DD p = dd::two_sum(1.0, x);
    // From 2^512 on the unit that 1 + x loses is below 2^-512 of x and is left out: carried
    // through the reduction it would be a product as small as 2^-1024 (a false underflow).
    if (ex >= 512) p.l = 0.0;
    double q = 4.0 / p.h;
    uint64_t qb = bits(q);
    double c = f64((qb & 0xffffe00000000000ull) | 0x0000100000000000ull);  // 7 fraction bits, then 1
    uint32_t qh = uint32_t(qb >> 32);
    int i = int(qh >> 13) & 0x7f;
    int k = 0x401 - int(qh >> 20);  // 2 - the exponent of c
    double ph = f64(bits(p.h) & ~0x1ffull);
    double rh = ph * c - 4.0;                 // exact: 44 by 8 bits, within a factor 2 of 4
    double rl = ((p.h - ph) + p.l) * c;
    DD r = dd::two_sum(rh, rl);
    double poly = a[7];
    for (int j = 6; j >= 0; --j) poly = poly * r.h + a[j];
    DD lin = dd::two_prod(r.h, fin_log_c1);
    DD sq = dd::two_prod(r.h, r.h);
    DD quad = dd::two_prod(sq.h, fin_log_c2);
    double tail = fin_log2_rows[i][1] + (r.l * fin_log_c1 + (2.0 * r.h * r.l + sq.l) * fin_log_c2) + r.h * poly;
    DD s = dd::two_sum(double(k), fin_log2_rows[i][0]);
    s = dd::add(s, lin);
    s = dd::add(s, quad);
    s = dd::fast_two_sum(s.h, s.l + tail);
    return {s, 0, false, {0, 0}, 0};
}

// W = sign y log2(1 + x) as significand pair m times 2^e, and the exponent of W.
struct Expo {
    DD m;
    int e;
    int ew;  // the exponent of W
};
inline Expo times_y(const Log2 &L, double y, double sign) {
    int ey = expo(y);
    double ys = significand(y, ey) * sign;
    DD m = dd::mul(L.m, ys);
    int e = ey + L.e;
    return {m, e, expo(m.h) + e};
}

// 2^W = R 2^N for |W| < 4096, R in about [1/1.02, 2.03].
inline DD exp2_pair(DD w, int &N) {
    const double shifter = 0x1.8p52;
    double s = opaque(w.h * 64.0 + shifter);
    double nf = s - shifter;
    int n = int(int32_t(uint32_t(bits(s))));
    double th = w.h - nf * 0x1p-6;
    const double *b = fin_exp_b;
    double q = b[5];
    for (int k = 4; k >= 0; --k) q = q * th + b[k];
    DD f = dd::fast_two_sum(fin_ln2_h, fin_ln2_l + th * q);  // (2^th - 1)/th
    DD e = dd::mul(f, th);                                     // 2^th - 1
    e.l += w.l * fin_ln2_h * (1.0 + e.h);                      // the tail of t, at 2^t's slope
    const double *row = fin_exp2_rows[n & 63];
    DD p = dd::two_prod(row[0], e.h);
    DD r = dd::fast_two_sum(row[0], p.h);
    r.l += p.l + row[1] + (row[0] * e.l + row[1] * e.h);
    N = n >> 6;
    return dd::fast_two_sum(r.h, r.l);
}

// (2^w - 1)/w for |w| < 2^-7, as a pair.
inline DD expm1_ratio(double w) {
    const double *b = fin_exp_b;
    double q = b[5];
    for (int k = 4; k >= 0; --k) q = q * w + b[k];
    return dd::fast_two_sum(fin_ln2_h, fin_ln2_l + w * q);
}

// ---- exact values -----------------------------------------------------------------------------
// The cores carry their result to about 2^-60 of it, so a value that is a double would come
// back one unit off in a directed mode, with a false inexact.  Those values are found first.
// (1 + x)^y with y an integer is a double only when 1 + x is one: a sum with bits below the
// double's last place keeps them in every power, or leaves a factor that is no power of two
// in the reciprocal.  Then the integer check of the power family decides, and builds the power
// exactly.  Non-integer y (roots of an exact power) are not looked for.
//
// A test that needs no arithmetic, before the control word is read: 1 + x can be a double
// only if x has no bit below 2^-53 (1 + x is at least 2^-53 wherever it could be exact, as x
// has no bit below 2^-53 from -1 to -1/2).  Ordinary rates (0.05) fail here at once.
inline bool one_plus_may_be_exact(double x) {
    uint64_t b = bits(x);
    int ef = int(b >> 52) & 0x7ff;
    if (ef == 0) return false;  // subnormal x: 1 + x has bits down to 2^-1074
    uint64_t m = (b & 0x000fffffffffffffull) | 0x0010000000000000ull;
    return ef - 1075 + (63 - __builtin_clzll(m & -m)) >= -53;  // trailing zeros by bsr (no tzcnt in tier ex)
}

// compound: (1 + x)^y when it is exact, under round-to-nearest (g); nothing raised when true.
inline bool exact_compound(double x, double y, double *out) {
    if (!powk::small_integer(bits(y)) || !one_plus_may_be_exact(x)) return false;
    RnGuard g;
    DD p = dd::two_sum(1.0, opaque(x));
    return p.l == 0.0 && powk::exact_power(p.h, y, false, out);
}

// annuity: with P = (1 + x)^-y exact, D = 1 - P is an exact pair and the value D/x is a double
// q exactly when q x, an exact pair, is D (both pairs are the head rounded to nearest and the
// exact rest, so equal values are equal pairs).  The flags raised by the test are taken back
// when it succeeds.
inline bool exact_annuity(double x, double y, double *out) {
    if (!powk::small_integer(bits(y)) || !one_plus_may_be_exact(x)) return false;
    const uint32_t before = get_mxcsr();
    RnGuard g;
    DD p = dd::two_sum(1.0, opaque(x));
    double P;
    if (p.l != 0.0 || !powk::exact_power(p.h, -y, false, &P)) return false;
    // 1 - P spans more than the 106 bits of a product q x where P lies beyond 2^+-106 (this
    // also keeps the splits of the products far from overflow).
    if (P > 0x1p106 || P < 0x1p-106) return false;
    DD D = dd::two_sum(1.0, -P);
    double q = dd::div(D, {x, 0.0}).h;
    DD t = dd::two_prod(q, x);
    if (t.h != D.h || t.l != D.l) return false;
    set_mxcsr((get_mxcsr() & ~MXCSR_FLAGS) | (before & MXCSR_FLAGS));
    *out = q;
    return true;
}

// (v.h + v.l) 2^s rounded once, for a normal non-zero v.h.  The caller's rounding mode is
// put back (g) before the only operations that round.
inline double round_scaled(DD v, int s, RnRestore *g) {
    int ev = expo(v.h);
    int e = ev + s;
    if (e >= -1022) {
        int s1 = s / 2;
        if (g) g->restore();
        double h = opaque(v.h), l = opaque(v.l);
        if (e > 1100) return (h * 0x1p1023) * 0x1p1023;  // overflow in the caller's mode
        return ((h + l) * pow2(s1)) * pow2(s - s1);
    }
    if (e < -1080) {  // below a quarter of the smallest subnormal: 0 or it, by the mode
        if (g) g->restore();
        return opaque(v.h > 0 ? 0x1p-1074 : -0x1p-1074) * 0x1p-8;
    }
    // Subnormal: the head cut to the grid 2^-1074 (its low d bits) is scaled exactly, the rest
    // rounded once onto the grid, and the sum of two grid values is exact.  The rest must have
    // the sign of the value (a head truncated toward zero), or a directed rounding of the rest
    // alone would go the wrong way: where the tail turns it, the head steps down one unit.
    int d = -1022 - e;
    double head = d >= 53 ? 0.0 : f64(bits(v.h) & ~((1ull << d) - 1));
    double rest = (v.h - head) + v.l;
    if (rest != 0.0 && (rest < 0.0) != (v.h < 0.0)) {
        double unit = v.h < 0.0 ? -pow2(-1074 - s) : pow2(-1074 - s);
        head -= unit;  // exact: both on the grid
        rest = (v.h - head) + v.l;
    }
    // v.h - head is exact, the sum with v.l may not be: rest lies within two grid units, so
    // its own unit is 2^-52 of the grid's at most, and a rest that rounded onto a grid point
    // or a midpoint (v.h = 2^-1074 2^-s with a tiny negative v.l) would be scaled without
    // inexact or underflow, and the wrong way in a directed mode.  Moving it one unit of its
    // own toward what the sum lost keeps it on the same side of every grid point and
    // midpoint as the exact rest, and off them.
    double lost = dd::two_sum(v.h - head, v.l).l;
    if (lost != 0.0) rest = f64(bits(rest) + ((lost < 0.0) == (rest < 0.0) ? 1 : -1));
    double up = pow2(s + 200);
    if (g) g->restore();
    head = opaque(head);
    rest = opaque(rest);
    return (head * up) * 0x1p-200 + (rest * up) * 0x1p-200;
}

}  // namespace
}  // namespace tsr::fin

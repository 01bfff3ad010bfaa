// What the degree functions share: the exact reduction of an argument in degrees, the rows
// of the sine and of the arcs in degrees, the float polynomials, the double-double steps of
// the tiny and subnormal cases.
//
// The period is a whole number of degrees, so no part of the reduction rounds:
//   |x| < 2^52: n = trunc|x| (one conversion, inexact only where |x| is not whole, and then
//   the result is inexact anyway), f = |x| - n exactly; n = 90q + m with the integer
//   quotient, and r = (m or m - 90) + f is exact (a multiple of ulp|x| no larger than |x|).
//   |x| >= 2^52: |x| = M·2^e is whole; M mod 360 times 2^e mod 360, where powers of two from
//   2^3 on repeat with period 12 modulo 360 (2^15 = 2^3 mod 360), so e folds into 3 .. 14.
// The float forms take r in [-45, 45] and Q = q mod 4, the quadrant (reduce); the double
// forms the whole degree k nearest the angle in the quadrant and the rest d in [-1/2, 1/2]
// (reduce_whole).  The multiples of 30, 45 and 90 are told apart by r or by k and d alone.
//
// The double forms evaluate their function in degrees from rows of a value and a Taylor
// expansion (expand): the sine at whole degrees for sind, cosd, sincosd, tand, cotd; the
// arcs on a ratio or argument u in [0, 1] (or [0, 1/2]) at a finer step (expand_rows).  Their
// steps are exact or small roundings in any mode, so they run in the caller's mode, which
// only their last addition meets.
#pragma once
#include <emmintrin.h>

#include "elementary/deg_data.h"
#include "tsr/common.h"
#include "tsr/dd.h"
#include "tsr/guard.h"
#include "tsr/report.h"

namespace tsr::deg {
namespace {

constexpr uint64_t kSign = 0x8000000000000000ull;
constexpr uint64_t kAbs = 0x7fffffffffffffffull;
constexpr uint64_t kInfBits = 0x7ff0000000000000ull;
constexpr uint64_t kTwo52 = 0x4330000000000000ull;      // 2^52: every double from here is whole
constexpr uint64_t kSmall = 0x39b0000000000000ull;      // 2^-100: below, first-order terms
constexpr uint64_t kTiny = 0x07b0000000000000ull;       // 2^-900: below, products scaled by 2^200

// Exact sums and products from the shared double-double kit; Dekker's product needs |a|, |b|
// below 2^995 and |a·b| above 2^-968, which the callers keep (mul_small scales first).
using dd::DD;
using dd::div;
using dd::fast_two_sum;
using dd::two_prod;
using dd::two_sum;
// x·(ch + cl) as a double-double, to about 2^-104.
inline DD mul(double x, double ch, double cl) { return dd::mul_raw(x, {ch, cl}); }
// (a.h + a.l)·(ch + cl), to about 2^-104.
inline DD mul(DD a, double ch, double cl) { return dd::mul(a, DD{ch, cl}); }
// Sign flips and the 26-bit head in the vector registers (SSE2, every tier): the mask crosses
// from the integer side once, ahead of the value, instead of the value crossing both ways.
inline double neg_if(double v, uint64_t sign) {
    return _mm_cvtsd_f64(_mm_xor_pd(_mm_set_sd(v), _mm_castsi128_pd(_mm_cvtsi64_si128(int64_t(sign)))));
}
inline DD cut26(double v) {  // v = hi + lo, hi the leading 26 bits kept by truncation
    double hi = _mm_cvtsd_f64(
        _mm_and_pd(_mm_set_sd(v), _mm_castsi128_pd(_mm_cvtsi64_si128(int64_t(0xfffffffff8000000ull)))));
    return {hi, v - hi};
}
// a·b = p + e to about 2^-104 (dd::two_prod_cut with the halves cut in the vector registers).
inline DD two_prod_cut26(double a, double b) {
    double p = a * b;
    DD x = cut26(a), y = cut26(b);
    return {p, ((x.h * y.h - p) + x.h * y.l + x.l * y.h) + x.l * y.l};
}
inline double pow2(int n) { return f64(uint64_t(n + 1023) << 52); }  // -1022 <= n <= 1023

// (h + l)·2^-200 rounded once in the caller's mode where it lies in the subnormal range
// (|h| < 2^-822): the sum is rounded to the grid of 2^-874 (the least subnormal at this
// scale) by adding ±2^-822, whose binade has that spacing, as a double-double, and the
// scaling back is exact; underflow is raised here, since no operation rounds into the range.
inline double subnormal_sum(double h, double l) {
    double S = h < 0 ? -0x1p-822 : 0x1p-822;
    DD w = two_sum(S, h);
    double r = w.h + (w.l + l);
    raise_underflow();
    return f64(bits((r - S) * 0x1p-200) | (bits(h) & kSign));  // a zero keeps h's sign
}

// x·(ch + cl) rounded once in the caller's mode, for |x| < 2^-240 (not zero): below 2^-900
// the operand is scaled up by 2^200 so that no piece of the product underflows, and the sum
// comes back by an exact scaling when it is normal, or through subnormal_sum.
inline double mul_small(double x, double ch, double cl) {
    if ((bits(x) & kAbs) >= kTiny) {
        DD p = mul(x, ch, cl);
        return p.h + p.l;
    }
    DD p = mul(x * 0x1p200, ch, cl);
    double v = p.h + p.l;
    if ((bits(v) & kAbs) >= 0x0c90000000000000ull) return v * 0x1p-200;  // |v| >= 2^-822
    return subnormal_sum(p.h, p.l);
}

// ---- the reduction ----------------------------------------------------------------------------

// |x| = n + f with n whole modulo 360 (n < 360 past 2^52) and 0 <= f < 1 exact, for a = |x|
// finite.
struct Whole {
    uint64_t n;
    double f;
};
inline Whole whole(double a) {
    uint64_t b = bits(a);
    if (b < kTwo52) {
        int64_t t = int64_t(a);           // truncation, whatever the rounding mode
        return {uint64_t(t), a - double(t)};  // exact
    }
    uint64_t m = (b & 0x000fffffffffffffull) | 0x0010000000000000ull;
    unsigned e = unsigned(b >> 52) - 0x433;
    if (e > 14) e = (e - 3) % 12 + 3;  // 2^e mod 360 repeats with period 12 from e = 3
    return {((m % 360) << e) % 360, 0.0};  // below 360·2^14: no overflow
}

// a = |x|, finite: |x| = 90q + k + d modulo 360 with k whole, 0 <= k <= 90, and d exact.
// Below 2^51 the whole number N nearest a comes from the shifter 1.5·2^52 (its low bits) and
// d = a - N, exact in round-to-nearest (Sterbenz, or N = 0); a directed mode's floor or
// ceiling (where a - N may round when N = 1 > 2a) is moved to the nearer whole number and d
// taken again, exactly, so |d| <= 1/2.  Then k = N mod 90: an angle in the quadrant in
// [-1/2, 90), its sine and cosine on rows 0 and 90 being odd and even there.  From 2^51 on,
// the exact residue of whole() with k + d in [0, 90].  The angle in the quadrant is 0
// exactly when k = 0 and d = 0.
struct Quadrant {
    double d;
    int k;
    unsigned q;
};
inline Quadrant reduce_whole(double a) {
    if (bits(a) < 0x4320000000000000ull) {  // 2^51
        constexpr double kShifter = 0x1.8p52;
        double t = a + kShifter;
        uint64_t n = bits(t) & 0x0007ffffffffffffull;  // t = 1.5·2^52 + N
        double d = a - (t - kShifter);
        // A directed mode's floor or ceiling (where a - N may round, to 1/2 at most).
        if (__builtin_expect(d >= 0.5 || d <= -0.5, 0)) {
            n = d > 0 ? n + 1 : n - 1;                      // the nearer whole number
            d = a - double(n);                              // exact (Sterbenz, or n = 0)
        }
        uint64_t q = n / 90;
        return {d, int(n - 90 * q), unsigned(q & 3)};
    }
    Whole w = whole(a);
    uint64_t q = w.n / 90;
    int up = w.f >= 0.5;  // without a branch: the halves come at random
    return {w.f - double(up), int(w.n - 90 * q) + up, unsigned(q & 3)};
}

// f(c + d + ul) from the row w of f at c (deg_data.h: f(c) as A hi + lo, the coefficient P1
// of d as a 26-bit head and a second word, then P2 .. P7), |ul| <= 2^-52 |d|, as a head and a
// tail that the caller adds last; expand_rows picks rows[i] at c = i/Step for
// 0 <= u <= (N - 1)/Step.  The row nearest u leaves
// d = u - c exactly (|d| <= 1/(2 Step), a multiple of ulp u); the head A + P1·d with P1's head
// times d's 26-bit head exact is an exact two-part sum while |A| >= |P1·d| (A = 0 on the
// first row); the tail gathers A's low word, the rest of P1·d, ul·P1 and d^2·(P2 + ... +
// P7 d^5).  Each caller states how small that tail is against its result: its roundings then
// stay far below an ulp.  Every step is exact or such a small rounding in any mode, so the
// rows run in the caller's mode: only the caller's last addition rounds by it.
template <bool Tail = true>
inline DD expand(const double *w, double d, double ul) {
    DD ds = cut26(d);
    double m = ds.h * w[2];  // exact: 26 bits by 26 bits
    DD s = fast_two_sum(w[0], m);
    double d2 = d * d;
    double p = (w[4] + d * w[5]) + d2 * (w[6] + d * w[7]) + (d2 * d2) * (w[8] + d * w[9]);
    double r = Tail ? d * w[3] + ul * w[2] : d * w[3];
    return {s.h, ((w[1] + s.l) + (ds.l * w[2] + r)) + d2 * p};
}
// The row nearest u·Step by the shifter 1.5·2^52 (its low bits; a directed mode's floor or
// ceiling moved to the nearer row, as in reduce_whole), and d = u - i/Step exact (a multiple
// of ulp u no larger than 1/(2 Step)).
struct RowAt {
    int i;
    double d;
};
template <int Step>
inline RowAt row_at(double u) {
    constexpr double kShifter = 0x1.8p52;
    double t = u * double(Step) + kShifter;  // u·Step exact
    RowAt r = {int(bits(t) & 0xffff), u - (t - kShifter) * (1.0 / Step)};
    constexpr double kHalf = 0.5 / Step;
    // A directed mode's floor or ceiling (where u - i/Step may round, to half a step at most).
    if (__builtin_expect(r.d >= kHalf || r.d <= -kHalf, 0)) {
        r.i += r.d > 0 ? 1 : -1;
        r.d = u - double(r.i) * (1.0 / Step);
    }
    return r;
}
template <int Step, unsigned long N>
inline DD expand_rows(const double (&rows)[N][10], double u, double ul) {
    RowAt r = row_at<Step>(u);
    return expand(rows[r.i], r.d, ul);
}

// The float forms: a row cut after d^4 (the bound beside each table: about 2^-34 of the
// value), in double in the caller's mode, P1 by its two words, A by its head: a few roundings
// of double more, far below the half ulp of a float that the last rounding adds.  At d = 0 the
// value alone, without a rounding (exact 0, 1/2, 1).
inline double expand_f(const double *r, double d) {
    double d2 = d * d;
    double p = (r[3] + d * r[4]) + d2 * (r[5] + d * r[6]);
    return r[0] + (d * r[2] + d * p);
}
template <int Step, unsigned long N>
inline double expand_rows_f(const double (&rows)[N][10], double u) {
    RowAt r = row_at<Step>(u);
    return expand_f(rows[r.i], r.d);
}

// sin and cos of the angle k + d in its quadrant (-1/2 <= k + d <= 90) from the rows of the
// sine at whole degrees (kSindRows): sin at row k, cos = sin(90 - k - d) at row 90 - k with
// -d.  On every row the value is at least twice the first-order term P1·d (sin 1° against
// (pi/180)·cos 1°/2, and above), and the terms after the head stay below 2^-14 of the result,
// whose roundings are then near 2^-66 of it.  At d = 0 every term but the value is zero: the
// values 0, 1/2 (30°) and 1 come out exact, without a flag.
// side_rows takes the cosine for an odd side, the sine for an even one, without a branch.
inline DD sin_rows(Quadrant w) { return expand<false>(kSindRows[w.k], w.d, 0.0); }
inline DD cos_rows(Quadrant w) { return expand<false>(kSindRows[90 - w.k], -w.d, 0.0); }
// The float forms: the sine rows cut after d^4, the sine or the cosine (odd side).
inline double side_rows_f(Quadrant w, unsigned side) {
    unsigned odd = side & 1;
    return expand_f(kSindRows[odd ? 90 - w.k : w.k], neg_if(w.d, uint64_t(odd) << 63));
}
inline DD side_rows(Quadrant w, unsigned side) {
    unsigned odd = side & 1;
    int k = odd ? 90 - w.k : w.k;
    return expand<false>(kSindRows[k], neg_if(w.d, uint64_t(odd) << 63), 0.0);
}

// The sum of head and tail in the caller's mode, the guard's mode put back between.
inline double finish(RnGuardInexact &g, DD v) {
    double l = opaque(v.l);  // computed before the mode changes back
    double h = g.finish(v.h);
    return h + l;
}

// (v.h + v.l)·2^n rounded once in the caller's mode, n <= 0, v.h normal and not far from 1
// (its exponent e within +-64).  A normal result is the rounded sum scaled exactly; in the
// subnormal range head and tail are brought exactly to the scale of subnormal_sum; below a
// quarter of the least subnormal the head alone rounds to 0 or the least subnormal by the
// mode.
inline double scaled_sum(DD v, int n) {
    int e = int((bits(v.h) >> 52) & 0x7ff) - 1023;
    if (e + n >= -1022) {  // |v.h|·2^n >= 2^-1022: normal
        double s = v.h + v.l;
        return n >= -1022 ? s * pow2(n) : s * pow2(n / 2) * pow2(n - n / 2);
    }
    if (e + n < -1077) return v.h * 0x1p-600 * 0x1p-600;
    int n1 = n + 200;  // -1077 - e + 200 >= -941: both factors normal, both products exact
    double f1 = pow2(n1 / 2), f2 = pow2(n1 - n1 / 2);
    return subnormal_sum(v.h * f1 * f2, v.l * f1 * f2);
}

// Ordered compare of |v| with a constant, as an integer test on the bits.
inline bool mag_is(double v, double c) { return (bits(v) & kAbs) == bits(c); }

}  // namespace
}  // namespace tsr::deg

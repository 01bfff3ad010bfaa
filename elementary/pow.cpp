//
// pow(x, y) = 2^(y * log2 x), with log2 x carried in more than one double so that the
// product keeps the ~64 bits the exponential needs (|y log2 x| reaches 1075, and a result
// correct to 0.5 ulp wants the product correct to about 2^-62 absolute).  The three tiers
// are three separate algorithms that share only the special-value table
// (elementary/pow_common.h):
//   ex  three multiplicative reduction stages, no reciprocal instruction, 2^(j/128) table;
//   e7  reciprocal-indexed log2 on a 513-row table, 2^(j/256) table, a double-double
//       log2 for x near 1 with |y| >= 4096;
//   l9  fused multiply-add, 128-row log2 table with a two-word evaluation near 1, 2^(j/128)
//       with relative tails; everything special or extreme goes to the e7 body.
//
// powf(x, y) = 2^(y log2 x) in double arithmetic.
//   ex (also bound as the e7 tier: one algorithm, one body): log2 x from a 65-row table of
//      log2(1 + i/64) and log2(e)/(1 + i/64), a degree-5 correction, a 32-row 2^(j/32)
//      table and a degree-4 exponential;
//   l9 fused multiply-add and the reciprocal estimate, 256-row table with the exponent bias
//      built in; anything unusual goes to the ex/e7 body.
// The double result carries about 2^-39 relative error (2^-34 in a directed rounding mode,
// where the exponential's argument reaches 2^-5), so the final conversion to float
// is the only rounding that matters (below 0.5001 ulp in round-to-nearest; in a directed
// mode the double rounding and the float conversion go the same way).
#include <emmintrin.h>
#include <xmmintrin.h>
#if TSR_TIER_L9
#include <immintrin.h>
#endif

#include <bit>
#include <cstdint>
#include <initializer_list>

#include "elementary/exp_data.h"
#include "elementary/pow_common.h"
#include "elementary/pow_data.h"
#include "tsr/common.h"
#include "tsr/lane.h"
#include "tsr/dd.h"

namespace {
using namespace tsr;
using namespace tsr::powk;
namespace tab = tsr::pow_tab;

inline double tbl(const uint64_t *t, int i) { return f64(t[i]); }
constexpr double kLn2 = 0x1.62e42fefa39efp-1;
constexpr double kShift5 = 0x1.8p+47;  // 1.5 2^47: rounds to multiples of 2^-5 (powf)

#if TSR_TIER_EX || TSR_TIER_E7
// What the double tiers ex and e7 share: the last step of the exponential and the mask that
// cuts a double to its leading 26 bits (exact sums and products come from tsr/dd.h).
constexpr uint64_t kMask26 = 0xfffffffff8000000ull;

// approximation of 2^z on [-0x1p-8, 0x1p-8], degree 5, max relative error 2^-60.44
// (measured by tools/gen/approximations.py)
// 2^z = 1 + z ln2 + z^2 B + z^4 A
constexpr double eA0 = 0x1.3b2ab6fba4e77p-7, eA1 = 0x1.5d87fe78a6731p-10,
                 eB0 = 0x1.ebfbdff82c58fp-3, eB1 = 0x1.c6b08d704a0cp-5;

// T * 2^z - T, for |z| <= 2^-8 (about 2^-60 relative).
inline double exp_tail(double z, double T, double t) {
    double A = eA0 + eA1 * z, B = eB0 + eB1 * z;
    double z2 = z * z;
    return ((z2 * z2 * A * T) + (kLn2 * z * T + t)) + z2 * B * T;
}
#endif
}  // namespace

// =====================================================================================
#if TSR_TIER_E7
// Tier e7: log2 x from the reciprocal estimate.
//
// m = 1.f; R ~ 1.4453125/m with 9 fraction bits (rcpss, scaled, rounded by +0x2000 on the
// float's bits) picks a row of log2(1.4453125/R) = hi + lo.  With r = m R - 1.4453125,
//     log2 x = n + hi + lo + log2(1 + r/1.4453125),
// and 1/(1.4453125 ln 2) is within 2^-9 of 1, so the leading term of the log is r itself
// plus a small correction h r.  m is cut into wh + wl with fewer bits in wh as |n| grows,
// so that H = (wh R - 1.4453125 + hi) + n is exact and has at most 35 bits (hi sits on the
// grid 2^-24); L = wl R + lo + the degree-8 polynomial (2^-64.4 relative at x near 1, measured).
//
// v = (exponent field of y) + floor(log2(|n| + 1)) - 0x3e0 bounds the exponent of y log2 x:
//   v < -0x18   1 + or - 2^-60 (|y log2 x| < 2^-55), rounded in the caller's direction;
//   v < 0       1 + y log2 x ln 2;
//   v < 0x27    direct: y cut to 18 bits makes yh H exact; k = y log2 x to 2^-8 by the
//               shifter, z the remainder (|z| <= 2^-8 in every mode); 2^(k/256) from the
//               table with the exponent and sign added to its bits; |y log2 x| < 512;
//   v < 0x2f    careful: S = H + L renormalised and y both cut to 26 bits; the result is
//               scaled with one rounding into the subnormal range (pow_common.h);
//   else        y log2 x beyond 2^15: overflow or underflow at once.
// x in [0.96875, 1.0625) with |y| >= 4096 takes a double-double log2 instead: r exact in
// two words, the coefficients h and d in two words each, every addition to the head a
// two-sum; about 2^-73 relative (the polynomial's measured error), which |y log2 x| < 2^13
// turns into 2^-60 absolute.
// Error: about 2^-60 relative before the last rounding (below 0.51 ulp measured).
namespace {
constexpr double kC = 1.4453125;               // R * m ~ kC, so that 1/(kC ln 2) ~ 1
constexpr double kShift8 = 0x1.8p+44;  // 1.5 * 2^44: rounds to multiples of 2^-8
// approximation of log2(1 + r/1.4453125) on [-0x1.fcfp-10, 0x1.fcfp-10], degree 8, max relative
// error 2^-64.43 (measured by tools/gen/approximations.py)
// log2(1 + r/kC) - r = r*(h + d r) + r^3 (g + c r) + r^5 (f + b r) + r^7 (e + a r)
constexpr double cA = -0x1.365786dc96112p-7, cB = -0x1.b0301ee241472p-6,
                 cC = -0x1.528db9f95985ap-4, cD = -0x1.619b6b3841d2ap-2,
                 cE = 0x1.004f2518775e3p-6, cF = 0x1.76c9bac8349bbp-5,
                 cG = 0x1.4635e486ececcp-3, cH = -0x1.dabe1161bb241p-10;
// approximation of log2(1 + r/1.4453125) on [-0x1.fcfp-10, 0x1.fcfp-10], degree 8, max relative
// error 2^-72.98 (measured by tools/gen/approximations.py)
// The two coefficients whose rounding matters when log2 x is tiny, in two words.
constexpr double cHs = -0x1.dabe1p-10, cHr = -0x1.61bb2412055ccp-34;
constexpr double cDs = -0x1.61ap-2, cDr = 0x1.2531ef8b5787dp-16;
constexpr double cG1 = 0x1.4635e486ececbp-3;


// Row (T, t) of 2^(j/256) for j = k & 0xff, with the sign set and, when `scale_in`, the
// exponent moved by k >> 8, by integer addition on the bit patterns.
inline void exp_row(int k, bool neg, double &T, double &t, bool scale_in) {
    int j = k & 0xff;
    uint64_t add = scale_in ? uint64_t(int64_t(k >> 8)) << 52 : 0;
    uint64_t sg = neg ? 0x8000000000000000ull : 0;
    T = f64((tab::exp256[2 * j] + add) ^ sg);
    t = f64((tab::exp256[2 * j + 1] + add) ^ sg);
}

// The careful product: y * (S + e) = k/256 + z with |z| <= 2^-8, S cut so that the
// leading product is exact; then 2^(k/256) 2^z scaled with one rounding.
inline double careful(double S, double e, double y, bool neg, double x) {
    double Sh = f64(bits(S) & kMask26), Sl = S - Sh;
    double yh = f64(bits(y) & kMask26), yl = y - yh;
    double P = yh * Sh;
    double s = P + kShift8;
    int32_t k = int32_t(tsr::lo(s));
    double kf = s - kShift8;
    double z = (y * (e + Sl) + yl * Sh) + (P - kf);
    if (kf >= 1088.0) return overflow(x, y, neg);
    if (kf <= -1088.0) return underflow(x, y, neg);
    double T, t;
    exp_row(k, neg, T, t, false);
    return scale(T, exp_tail(z, T, t), k >> 8, x, y);
}
}  // namespace

namespace {
inline double pow_e7(double x, double y, uint64_t ub, int n, double m, bool neg) {
    uint64_t uy = bits(y);

    // R ~ kC/m with 9 fraction bits, from the reciprocal estimate: its row in the table.
    float rc = _mm_cvtss_f32(_mm_rcp_ss(_mm_set_ss(float(m)))) * 1.4453125f;
    uint32_t rb = (bits(rc) + 0x2000) & 0xffffc000u;
    double R = double(f32(rb));
    int row = int((rb >> 14) & 0x3ff) - 228;
    double hi = tbl(tab::log513, 2 * row), lo = tbl(tab::log513, 2 * row + 1);

    // As |n| grows, fewer bits of m stay in the high part, so that n + hi + wh*R - kC is
    // exact and still has room for an 18-bit y in an exact product.
    int an = n < 0 ? -n : n;
    int b2 = 31 - __builtin_clz(uint32_t(an + 1));
    int Ey = int((uy >> 52) & 0x7ff);

    bool near1 = ((ub >> 48) == 0x3fef || (ub >> 48) == 0x3ff0) && Ey >= 0x40b;
    uint64_t cut = near1 ? 0xffffffff00000000ull : (0xffffffffull << b2) << 32;
    double wh = f64(bits(m) & cut), wl = m - wh;
    double rh = wh * R - kC;  // exact
    double rl = wl * R;       // exact: wl has at most 33 bits, R 10

    if (near1) {
        // x within [0.96875, 1.0625) and |y| >= 4096: log2 x as a double-double good to
        // about 2^-73 relative.  r = rh + rl exactly; the linear and quadratic
        // coefficients are taken in two words, each addition to the head keeps its error.
        double r1 = rh + rl;
        double r2 = rl - (r1 - rh);
        double A0 = hi + double(n);  // exact: n is 0 or -1 and hi on the grid 2^-24
        auto [q1, q1e] = dd::two_prod_cut(cHs, r1);
        q1e += cHs * r2 + cHr * r1;
        auto [s2, s2e] = dd::two_prod_cut(r1, r1);
        s2e += 2.0 * r1 * r2;
        auto [q2, q2e] = dd::two_prod_cut(cDs, s2);
        q2e += cDs * s2e + cDr * s2;
        double r4 = s2 * s2;
        double t3 = r1 * s2 * ((cG1 + cC * r1) + s2 * (cF + cB * r1) + r4 * (cE + cA * r1));
        double S = A0, tail = 0.0;
        for (double term : {r1, q1, q2}) {  // each addition to the head keeps its error
            dd::DD t = dd::two_sum(S, term);
            S = t.h;
            tail += t.l;
        }
        tail += (((q2e + q1e) + r2) + t3) + lo;
        double Sn = S + tail;
        tail = tail - (Sn - S);
        S = Sn;
        // |y S| >= 2^13: certainly beyond the range.
        int eS = int((bits(S) >> 52) & 0x7ff) - 0x3ff;
        if (Ey + eS >= 0x40c) {
            bool over = (uy >> 63) == (bits(S) >> 63);
            return over ? overflow(x, y, neg) : underflow(x, y, neg);
        }
        return careful(S, tail, y, neg, x);
    }

    double H = (rh + hi) + double(n);  // exact by construction of the cut
    double Lo = rl + lo;
    double r = rh + rl;
    double r2 = r * r, r3 = r2 * r, r5 = r3 * r2, r7 = r5 * r2;
    double L = (r7 * (cE + cA * r) + (r3 * (cG + cC * r) + Lo)) + (r5 * (cF + cB * r) + r * (cH + cD * r));

    // v measures the exponent of y log2 x: |y log2 x| < 2^(v - 29).
    int v = Ey + b2 - 0x3e0;
    if (v >= 0 && v < 0x27) {
        // Direct: y is cut to 18 bits so that yh * H is exact.
        double yh = f64(uy & 0xfffffff800000000ull), yl = y - yh;
        double P = yh * H;
        double s = P + kShift8;
        int32_t k = int32_t(tsr::lo(s));
        double kf = s - kShift8;
        double z = y * L + ((P - kf) + yl * H);
        if (k == 0 && __builtin_fabs(z) < 0x1p-60) {
            // x a few ulps from 1: the 2^-72 that row 0 adds for inexactness would outweigh
            // y log2 x and could push a directed rounding to the wrong side of 1.
            double one = neg ? -1.0 : 1.0;
            return one + one * (z * kLn2);
        }
        double T, t;
        exp_row(k, neg, T, t, true);
        return exp_tail(z, T, t) + T;
    }
    if (v < 0) {
        double one = neg ? -1.0 : 1.0;
        if (v >= -0x18) return one + (y * H + y * L) * (neg ? -kLn2 : kLn2);
        // |y log2 x| < 2^-55: 1 rounded in the caller's direction.
        bool up = (uy >> 63) == ((H + L) < 0.0);
        double tiny = up ? 0x1p-60 : -0x1p-60;
        return one + (neg ? -tiny : tiny);
    }
    if (v < 0x2f) {
        double S = H + L;
        double e = L + (H - S);
        return careful(S, e, y, neg, x);
    }
    bool over = (n >= 0) == !(uy >> 63);
    return over ? overflow(x, y, neg) : underflow(x, y, neg);
}
}  // namespace
TSR_BODY(double, pow, (double x, double y)) { return pow_entry<pow_e7>(x, y); }
#endif  // TSR_TIER_E7

// =====================================================================================
#if TSR_TIER_EX
// Tier ex: log2 x by three multiplicative stages, no reciprocal instruction.
//
// m = 1.f is multiplied by three short constants c1, c2, c3 taken from rows chosen by the
// leading bits of the running product: p1 = m c1 ~ 1 +- 2^-8, p2 = p1 c2 ~ 1 +- 1.5 2^-14,
// p3 = p2 c3 ~ C0 (1 +- 2^-20.4), C0 = log2 e cut to 23 bits.  The rows of a product just
// below 1 are the top rows of the next table (its index bits wrap), so each table serves
// both sides.  Then
//     log2 x = n + log2(1/c1) + log2(1/c2) + log2(C0/c3) + log2(1 + (p3 - e - C0)/C0)
// where e = p3 - c1 c2 c3 m is the rounding error of the three products.  Each product
// rounds once; its error is regained exactly from a 26-bit split of its wide factor
// (the c are at most 23 bits long, so every partial product is exact):
//     e1 = p1 - m c1,  e2 = p2 - p1 c2,  e3 = p3 - p2 c3,  e = c3 (c2 e1 + e2) + e3.
// The table logs have their high parts on the grid 2^-42, so n plus the three of them is
// exact.  With r = p3 - C0 (exact) and r' = r - e (kept in two words: when r is a few
// ulps of 1 the rounding error e is as large as r itself), log2(1 + r'/C0) = r' + Q(r') with
//     Q = k1 r' + k2 r'^2 + k3 r'^3 + k4 r'^4,  k1 = 1/(C0 ln 2) - 1 ~ 9.6e-8,
// whose error (the coefficients as stored) is below 2^-74.7 relative for |r'| <= C0 2^-20.4.
// log2 x = S + Lt, S = A + r' rounded, Lt = its error + the tail of r' + the table tails
// + Q: about 2^-90 absolute and 2^-74 relative when A = 0 (x near 1).
//
// Product: S and y are cut to 26 bits so that t0 = 128 yh Sh is exact; k = t0 rounded to
// the nearest integer (the conversion rounds in the caller's mode; a directed result is
// moved back by one, so that |z| <= 2^-8 in every mode),
//     z = (t0 - k)/128 + yh Sl + yl S + y Lt        (the cross terms of the split),
// each of the last three with an error below 2^-70 |y log2 x|.  The result is
// 2^(k >> 7) * T_j (1 + p(z)), j = k & 127, with p the degree-5 polynomial of 2^z - 1
// (relative error below 2^-60 for |z| <= 2^-8).  In the normal range the
// scaling by 2^(k >> 7) is exact; outside it the shared scaling step rounds once, into the
// subnormal range included.  Total error: the final rounding plus about 2^-58 relative,
// i.e. below 0.52 ulp in round-to-nearest.
namespace {
// approximation of log2(1 + r/C0) on [-0x1.17fp-20, 0x1.17fp-20], degree 4, max relative error
// 2^-74.70 (measured by tools/gen/approximations.py)
constexpr double kC0 = 0x1.715474p+0;
constexpr double kK1 = 0x1.9c3a6966457eep-24, kK2 = -0x1.62e4346694107p-2,
                 kK3 = 0x1.47fd462b3b816p-3, kK4 = -0x1.550472a8bb463p-4;

// p - a*c for a product p = fl(a*c) with c short: exact.
inline double prod_err(double p, double a, double c) {
    double ah = f64(bits(a) & kMask26), al = a - ah;
    return (p - ah * c) - al * c;
}
}  // namespace

namespace {
inline double pow_ex(double x, double y, uint64_t ub, int n, double m, bool neg) {
    uint64_t uy = bits(y);

    int i1 = int(((ub >> 44) & 0xff) + 1) >> 1;
    double c1 = f64(tab::stage1_c[i1]);
    double p1 = m * c1;
    int i2 = int(((bits(p1) >> 38) & 0xff) + 1) >> 1;
    double c2 = f64(tab::stage2_c[i2]);
    double p2 = p1 * c2;
    int i3 = int(((bits(p2) >> 31) & 0x1ff) + 1) >> 1;
    double c3 = f64(tab::stage3_c[i3]);
    double p3 = p2 * c3;
    double e = c3 * (c2 * prod_err(p1, m, c1) + prod_err(p2, p1, c2)) + prod_err(p3, p2, c3);

    double A = ((double(n) + tbl(tab::stage1_log, 2 * i1)) + tbl(tab::stage2_log, 2 * i2)) +
               tbl(tab::stage3_log, 2 * i3);  // exact: all on the grid 2^-42
    double Alo = (tbl(tab::stage1_log, 2 * i1 + 1) + tbl(tab::stage2_log, 2 * i2 + 1)) +
                 tbl(tab::stage3_log, 2 * i3 + 1);
    double r = p3 - kC0;  // exact
    auto [rp, rpe] = dd::two_sum(r, -e);  // r' = rp + rpe exactly
    auto [S, St] = dd::two_sum(A, rp);
    double r2 = rp * rp;
    double Q = r2 * (kK3 * rp + kK4 * r2) + (kK1 * rp + kK2 * r2);
    double Lt = ((St + rpe) + Alo) + Q;
    double S2 = S + Lt;  // renormalise: S may be 0 when p3 lands on C0 exactly
    Lt = Lt - (S2 - S);
    S = S2;

    // Exponent of y log2 x: |y S| < 2^(ey + eS + 2).
    int ey = int((uy >> 52) & 0x7ff) - 0x3ff, eS = int((bits(S) >> 52) & 0x7ff) - 0x3ff;
    int es = ey + eS;
    if (es < -56) {  // |y log2 x| < 2^-54: 1, rounded in the caller's direction
        double one = neg ? -1.0 : 1.0;
        double tiny = ((uy ^ bits(S)) >> 63) ? -0x1p-60 : 0x1p-60;
        return one + (neg ? -tiny : tiny);
    }
    if (es > 10) {
        bool up = !((uy ^ bits(S)) >> 63);  // y log2 x > 0
        if (es > 12) return up ? overflow(x, y, neg) : underflow(x, y, neg);
        // |y S| < 2^15 here, and the exponent sum may be one too high: ask the product.
        double w = y * S;
        int ew = int((bits(w) >> 52) & 0x7ff) - 0x3ff;
        if (ew > 10) return up ? overflow(x, y, neg) : underflow(x, y, neg);
    }
    double Sh = f64(bits(S) & kMask26), Sl = S - Sh;
    double yh = f64(uy & kMask26), yl = y - yh;
    double t0 = (yh * Sh) * 128.0;
    int64_t k = _mm_cvtsd_si64(_mm_set_sd(t0));
    double kf = double(k);
    double d = t0 - kf;  // exact
    // In a directed mode the conversion rounds the same way: bring |d| back to 1/2, so
    // that |z| <= 2^-8 where the polynomial is good to 2^-60.
    if (d > 0.5) {
        k += 1;
        d -= 1.0;
    } else if (d < -0.5) {
        k -= 1;
        d += 1.0;
    }
    double z = d * 0x1p-7 + ((yh * Sl + yl * S) + y * Lt);

    int j = int(k & 127);
    double T = tbl(tab::exp128, 2 * j), t = tbl(tab::exp128, 2 * j + 1);
    if (neg) {
        T = -T;
        t = -t;
    }
    double Y = exp_tail(z, T, t);
    int64_t ek = k >> 7;
    if (k >= -0x1e1ff && k <= 0x1ff7f) return (T + Y) * f64(uint64_t(ek + 1023) << 52);
    return scale(T, Y, int(ek < -2000 ? -2000 : ek > 2000 ? 2000 : ek), x, y);
}
}  // namespace
TSR_BODY(double, pow, (double x, double y)) { return pow_entry<pow_ex>(x, y); }
// The reproducible pow: a copy of the ex body.
TSR_DEFINE(double, __bwr_pow, (double x, double y)) { return pow_entry<pow_ex>(x, y); }
#endif  // TSR_TIER_EX

// =====================================================================================
#if TSR_TIER_L9
// Tier l9: fused multiply-add throughout.  log2 x = S + Lw from a 128-row table of short
// reciprocals R (r = R m - 1 exact in one fma); near 1 (0.75 <= x < 1.0293) the leading
// terms log2(e) r and c2 r^2 are taken with their rounding errors so that log2 x keeps its
// relative accuracy when it is tiny.  The product y (S + Lw) runs in round-to-nearest with
// exceptions masked (and flush-to-zero, where the register has to be written anyway), so
// that its shifter step rounds to nearest; the caller's control and status word is restored
// before the last operation, so no flag of the step escapes.
// Special operands, negative or subnormal x, and results with |y log2 x| >= 992 go to the
// e7 body, which handles the subnormal range and the error reports.
namespace {
constexpr double kL2e = 0x1.71547652b82fep+0, kL2eLo = 0x1.777d1083f2b1p-56;
constexpr double kShift7 = 0x1.800000001ff8p+45;  // 1.5 2^45 + 1023*128 ulps of 2^-7
}  // namespace

namespace {
// x positive and normal, y an integer: x^y when it is exact.
__attribute__((cold, noinline)) bool pow_l9_exact(double x, double y, double *out) {
    return exact_power(x, y, false, out);
}
}  // namespace

TSR_BODY(double, pow, (double x, double y)) {
    uint64_t ux = bits(x), uy = bits(y);
    if ((uy & kAbs) - 1 >= kInf - 1) return __libm_pow_e7_local(x, y);
    int32_t z0 = int32_t(hi(x) - 0x3feff000u);
    int32_t n = z0 >> 20, g = z0 >> 11;
    bool near1 = g >= -254 && g < 259;
    if (!near1 && (g < -0x7fbfe || g > 0x80001)) return __libm_pow_e7_local(x, y);
    if (ux == kOne) return 1.0;
    double exact;
    if (__builtin_expect(small_integer(uy), 0) && pow_l9_exact(x, y, &exact)) return exact;
    double m = f64(ux - (uint64_t(int64_t(n)) << 52));
    const uint64_t *row = &tab::log128[4 * ((z0 >> 13) & 0x7f)];
    double R = f64(row[0]), hi0 = f64(row[2]), lo0t = f64(row[3]);
    double r = __builtin_fma(R, m, -1.0);
    double H0 = double(n) + hi0;
    double r2 = r * r;
    // approximation of log2(1 + r) on [-0x1.69p-8, 0x1.7fp-8], degree 9, max relative error
    // 2^-64.42 (measured by tools/gen/approximations.py)
    double A = __builtin_fma(0x1.48569ebc938ecp-3, r, -0x1.715ed9b489989p-3);
    double B = __builtin_fma(0x1.2776c50ef9e4ap-2, r, -0x1.71547652b8413p-2);
    double C = __builtin_fma(0x1.a617627a8eb1p-3, r, -0x1.ec709da475e58p-3);
    double S, Lw;
    if (!near1) {
        double lo0 = __builtin_fma(kL2eLo, r, lo0t);
        S = __builtin_fma(kL2e, r, H0);
        double e = __builtin_fma(kL2e, r, H0 - S);
        double Dd = __builtin_fma(0x1.ec709dc3a03fdp-2, r, -0x1.71547652b82fep-1);
        C = __builtin_fma(r2, A, C);
        Dd = __builtin_fma(r2, B, Dd);
        double G = __builtin_fma(r2 * r2, C, Dd);
        Lw = __builtin_fma(r2, G, lo0 + e);
    } else {
        // approximation of log2(1 + r) on [-0x1.69p-8, 0x1.7fp-8], degree 9, max
        // relative error 2^-70.61 (measured by tools/gen/approximations.py)
        constexpr double c2 = -0x1.71547652b82fep-1;
        // S1 + e1 = H0 + log2(e) r exactly.  H0 and log2(e) r may nearly cancel (x just
        // below 1 with n = -1), so H0 - S1 need not be exact: take the product in two
        // words and add its head to H0 with a two-sum.
        double ph = kL2e * r;
        double pl = __builtin_fma(kL2e, r, -ph);
        double S1 = H0 + ph;
        double bb = S1 - H0;
        double e1 = ((H0 - (S1 - bb)) + (ph - bb)) + pl;
        double Dd = __builtin_fma(0x1.ec709dc3a03fdp-2, r, -0x1.74e42f9c11c7ep-57);
        S = __builtin_fma(c2, r2, S1);
        double e2 = __builtin_fma(r2, c2, S1 - S);
        double e3 = __builtin_fma(__builtin_fma(r, r, -r2), c2, e1);
        C = __builtin_fma(r2, A, C);
        Dd = __builtin_fma(r2, B, Dd);
        double G = __builtin_fma(__builtin_fma(r2 * r2, C, Dd), r, kL2eLo);
        Lw = __builtin_fma(r, G, (e3 + e2) + lo0t);
    }

    // |y log2 x| < 2^-60: 1, rounded in the caller's direction.  Leaving here also keeps
    // every operation of the product step away from the subnormal range.
    int ep = int((uy >> 52) & 0x7ff) + int((bits(S) >> 52) & 0x7ff) - 2 * 0x3ff;
    if (ep < -62) return 1.0 + (((uy ^ bits(S)) >> 63) ? -0x1p-60 : 0x1p-60);
    // |y log2 x| >= 2^11: the e7 body decides, before the product could overflow.
    if (ep > 10) return __libm_pow_e7_local(x, y);

    // The product step needs round-to-nearest with exceptions masked.  Writing the control
    // register costs more than the rest of the step, so it is written only when the
    // caller's setting differs; flush-to-zero is not needed once the tiny products have
    // left above.
    uint32_t saved = get_mxcsr();
    bool set = (saved & 0x7f80u) != 0x1f80u;
    if (set) set_mxcsr((saved & MXCSR_FLAGS) | 0x8000u | 0x1f80u);  // FTZ, all masked, nearest
    double Sv = opaque(S), Lv = opaque(Lw), yv = opaque(y);
    double p = yv * Sv;
    double e4 = __builtin_fma(Sv, yv, -p);
    double q = __builtin_fma(Lv, yv, p);
    double e5 = __builtin_fma(yv, Lv, p - q);
    double s = q + kShift7;
    double kf = s - kShift7;
    double z = (q - kf) + (e4 + e5);
    q = opaque(q);
    s = opaque(s);
    z = opaque(z);
    if (set) set_mxcsr(saved);

    uint32_t hw = uint32_t(bits(q) >> 48) & 0x7fff;
    if (hw <= 0x3c6f) return q + 1.0;
    if (hw >= 0x408f) return __libm_pow_e7_local(x, y);
    uint64_t sb = bits(s);
    const uint64_t *er = &tab::exp128f[2 * (sb & 0x7f)];
    double Tb = f64(((sb & 0x7ff80) << 45) | er[0]);
    double t = f64(er[1]);
    // approximation of 2^z on [-0x1p-8, 0x1p-8], degree 5, max relative error 2^-62.80
    // (measured by tools/gen/approximations.py)
    double Ae = __builtin_fma(0x1.5d880677c3b3dp-10, z, 0x1.3b2abe8ddb6bap-7);
    double Be = __builtin_fma(0x1.c6b08d7049e6p-5, z, 0x1.ebfbdff82c2b8p-3);
    double z2 = z * z;
    return __builtin_fma(__builtin_fma(__builtin_fma(z2, Ae, Be), z2, __builtin_fma(0x1.62e42fefa39efp-1, z, t)), Tb, Tb);
}
#endif  // TSR_TIER_L9

// =====================================================================================
// powf
#if TSR_TIER_EX || TSR_TIER_E7
namespace {
// approximation of log2(1 + r ln 2) on [-0x1.716p-7, 0x1.716p-7], degree 5, max relative error
// 2^-37.58 (measured by tools/gen/approximations.py)
// log2(1 + r ln2) - r = r^2 P2 + r^4 P1
constexpr double P1a = 0x1.7a3341fac5e29p-5, P1b = -0x1.55046a143789p-4,
                 P2a = 0x1.47fd3ffac83b4p-3, P2b = -0x1.62e42fefa39efp-2;
// approximation of 2^z on [-0x1p-5, 0x1p-5], degree 4, max relative error 2^-34.52
// (measured by tools/gen/approximations.py)
// 2^z = 1 + z (V + z^2 W)
constexpr double W0 = 0x1.c6b08d704a0bfp-5, W1 = 0x1.3b2ab6fba4e77p-7,
                 V1 = 0x1.ebfbdff82c58ep-3;

// 2^w for |w| < 512, with the sign; the result in double, not yet rounded to float.
inline double exp2_direct(double w, bool neg) {
    double s = w + kShift5;
    int32_t k = int32_t(tsr::lo(s));
    double z = w - (s - kShift5);  // exact; |z| <= 2^-6 (< 2^-5 in a directed mode)
    double T = tsr::expd::d32[k & 31];
    double F = f64(uint64_t(int64_t((k >> 5) + 1023)) << 52);
    if (neg) F = -F;
    double W = W0 + W1 * z, V = kLn2 + V1 * z;
    double TF = T * F;
    return TF + (z * TF) * (V + z * z * W);
}
}  // namespace

TSR_BODY(float, powf, (float x, float y)) {
    uint32_t ux = bits(x), uy = bits(y);
    bool neg = false;
    float ax = x;
    if (needs_special(ux, uy)) {
        float out;
        if (special(x, y, &out, &ax, &neg)) return out;
    }
    if (small_integer(uy)) {
        float out;
        if (exact_power(ax, y, neg, &out)) return out;
    }
    uint32_t b = bits(ax);
    int nadj = 0;
    if (b < 0x800000u) {  // subnormal: scale into the normal range
        b = bits(scale_subnormal(ax, 24));
        nadj = -24;
    }
    double m = f64((uint64_t(b & 0x7fffff) << 29) | kOne);
    uint32_t u = (b >> 16) & 0x7f;
    uint32_t i = (u + 1) & 0xfe;  // row i/2: the nearest multiple of 1/64
    double c = f64(tab::powf_log65[i]), L = f64(tab::powf_log65[i + 1]);
    // From mantissas above 63/128 the exponent counts one more and L carries the -1, so
    // that x just below a power of two has no cancellation.
    int n = int(((b >> 16) + 0x41) >> 7) - 0x7f + nadj;
    double r = (m - (1.0 + double(i) * 0x1p-7)) * c;
    double S = (L + r) + double(n);
    double r2 = r * r;
    double Q = r2 * r2 * (P1a * r + P1b) + r2 * (P2a * r + P2b);
    double dy = double(y);

    int an = n < 0 ? -n : n;
    int b2 = an ? 31 - __builtin_clz(uint32_t(an)) : 0;
    int v = b2 - 0x3e1 + int((bits(dy) >> 52) & 0x7ff);
    // w = y log2 x in one product: the correction Q joins S first, so that z stays below
    // 2^-6 even when y is large and x near 1 (|y Q| would reach 1 there).
    double w = (S + Q) * dy;
    if (v >= 0 && v <= 0x22)  // |y log2 x| < 64: no overflow or underflow possible
        return float(exp2_direct(w, neg));
    if (v < 0) {  // |y log2 x| < 2^-29
        double one = neg ? -1.0 : 1.0;
        return float(one + (neg ? -w : w) * kLn2);
    }
    if (v <= 0x25 || __builtin_fabs(w) < 256.0) {
        double d = exp2_direct(w, neg);
        float rf = float(d);
        double ad = __builtin_fabs(d);
        if (ad > 0x1.fffffep127) return report(x, y, rf, code::powf_overflow);
        if (ad < 0x1p-126) return report(x, y, rf, code::powf_underflow);
        return rf;
    }
    if (w > 0) {
        float r0 = opaque(neg ? -0x1.fep127f : 0x1.fep127f) * 2.0f;
        return report(x, y, r0, code::powf_overflow);
    }
    float r0 = opaque(neg ? -0x1p-126f : 0x1p-126f) * 0x1p-126f;
    return report(x, y, r0, code::powf_underflow);
}
#endif  // TSR_TIER_EX || TSR_TIER_E7
#if TSR_TIER_EX
// The reproducible powf: a copy of the ex body.
TSR_DEFINE(float, __bwr_powf, (float x, float y)) { return tsr::body::powf(x, y); }
#endif

#if TSR_TIER_L9
namespace {
// The head works on the vector register x arrives in (tsr::lane; the masks below clear the
// other lanes where it matters), so that x makes no round trip through the general
// registers on the way to the reciprocal estimate.
alignas(16) constexpr uint32_t kMantMask[4] = {0x7fffff, 0, 0, 0};
alignas(16) constexpr uint32_t kMantExp[4] = {0x3b800000, 0, 0, 0};   // 2^-8
// The float's rounding constant 0x8000 and its kept bits 0xffff0000, moved up 29 places,
// with the exponent rebias (1023 - 127) << 52.
alignas(16) constexpr uint64_t kRcpRound[2] = {(0x8000ull << 29) + (896ull << 52), 0};
alignas(16) constexpr uint64_t kRcpKeep[2] = {0xffffe00000000000ull, 0};
constexpr uint64_t kShiftBits = 0x42e8000000000000ull;

// Everything that leaves the usual path goes to the e7 body; kept apart so that the usual
// path carries no spill or register shuffle for it.
__attribute__((cold, noinline)) float powf_l9_other(float x, float y) {
    return __libm_powf_e7_local(x, y);
}
}  // namespace

namespace {
// The evaluation for x positive and normal, y finite.
__attribute__((always_inline)) inline float powf_l9_core(float x, float y) {
    // m' = 1.f * 2^-8; R = its reciprocal estimate rounded to 8 significant bits.  The
    // rcp leaves lanes 1-3 of m' (zeros) above R, so the 64-bit lane holds R's pattern; it is
    // moved up into a double's fields and rounded there (the carry of the rounding runs into
    // the exponent exactly as in the float), and the exponent rebiased, so that R reaches the
    // product as a double with no conversion on its path (m' is converted beside the
    // estimate, where it costs no time).
    __m128 xv = lane(x);
    __m128 mv = _mm_or_ps(_mm_and_ps(xv, _mm_load_ps(reinterpret_cast<const float*>(kMantMask))),
                          _mm_load_ps(reinterpret_cast<const float*>(kMantExp)));
    __m128i rcp = _mm_castps_si128(_mm_rcp_ss(mv));
    __m128i rd = _mm_and_si128(_mm_add_epi64(_mm_slli_epi64(rcp, 29),
                                             _mm_load_si128(reinterpret_cast<const __m128i*>(kRcpRound))),
                               _mm_load_si128(reinterpret_cast<const __m128i*>(kRcpKeep)));
    double md = double(_mm_cvtss_f32(mv));
    // R m' has at most 32 significant bits and lies within 2^-7 of 1: u = R m' - 1 is exact
    // (the same value a float fused multiply-add gives).
    double u = __builtin_fma(_mm_cvtsd_f64(_mm_castsi128_pd(rd)), md, -1.0);
    // The biased exponent, converted in the vector unit (x is positive: no sign bit).
    double E = _mm_cvtsd_f64(_mm_cvtepi32_pd(_mm_srli_epi32(_mm_castps_si128(xv), 23)));
    // Row: the low exponent bit and the 7 fraction bits of R, rounded once more in a general
    // register, so that the table read starts while the vector unit is still forming R.
    uint32_t row = ((uint32_t(_mm_cvtsi128_si32(rcp)) + 0x8000u) >> 16) & 0xff;
    double H = E + f64(tab::powf_l9_log[row]);
    // approximation of log2(1 + u) on [-0x1.182p-8, 0x1.182p-8], degree 4, max relative
    // error 2^-36.79 (measured by tools/gen/approximations.py)
    double L = __builtin_fma(
        __builtin_fma(u * u, __builtin_fma(-0x1.71563027e14e2p-2, u, 0x1.ec71ff3a912b3p-2),
                      __builtin_fma(-0x1.715476526017ep-1, u, 0x1.71547652aaf92p+0)),
        u, H);
    double dy = double(y);
    // s = fma(y, L, shift), kf = s - shift and z = fma(L, y, -kf) are written out so that
    // each product lands on its addend's register and the shift is read from memory twice:
    // left to itself the compiler spends register copies of L and of the shift here, one of
    // them on the path of the result.
    double s;
    __asm__("vfmadd231sd %[y], %[L], %[s]" : [s] "=x"(s) : "0"(kShift5), [L] "x"(L), [y] "x"(dy));
    // s lies in the binade of the shift while |y log2 x| < 2^46, where its pattern less the
    // shift's is k = 32 kf; any s outside that binade gives a pattern difference far out of
    // the ranges tested here, so one unsigned compare tests |kf| < 126.
    uint64_t sb = bits(s);
    uint64_t k = sb - kShiftBits;
    if (__builtin_expect(k + 4031 > 8062, 0))  // |y log2 x| >= 126
        return powf_l9_other(x, y);
    // Rows 0 and 128 (x within 2^-8 of 1) have H = 0, so that the relative error of the
    // fitted linear coefficient (1.2e-11) is the relative error of log2 x; from
    // |y log2 x| >= 32 on it would cost 0.01 ulp: the e7 body takes those.
    if (__builtin_expect((row & 0x7f) == 0, 0) && k + 1023 > 2046) return powf_l9_other(x, y);
    double z;
    __asm__("vsubsd %[K], %[s], %[z]" : [z] "=x"(z) : [s] "x"(s), [K] "m"(kShift5));
    __asm__("vfmsub231sd %[y], %[L], %[z]" : [z] "+x"(z) : [L] "x"(L), [y] "x"(dy));
    // T = 2^(j/32) with k >> 5 added to its exponent field (the shift's pattern has zeros
    // from bit 5 to bit 16, so that s's bits there are those of k >> 5).
    double T = f64(bits(tsr::expd::d32[sb & 31]) + ((sb >> 5) << 52));
    // approximation of 2^z on [-0x1p-5, 0x1p-5], degree 3, max relative error 2^-27.08
    // (measured by tools/gen/approximations.py)
    double q = __builtin_fma(__builtin_fma(0x1.c6b1939683018p-5, z, 0x1.ebfd1b232e085p-3), z,
                             0x1.62e42fef4c3cep-1);
    return float(__builtin_fma(z * T, q, T));
}

// y an integer: x^y may be exact, and is then built exactly.
__attribute__((cold, noinline)) float powf_l9_integer(float x, float y) {
    float out;
    if (exact_power(x, y, false, &out)) return out;
    return powf_l9_core(x, y);
}
}  // namespace

TSR_BODY(float, powf, (float x, float y)) {
    uint32_t ux = bits(x), uy = bits(y);
    // x positive, normal and finite, y finite (2 uy below the pattern of 2 inf); else the
    // e7 body.
    if (__builtin_expect(ux - 0x800000u >= 0x7f000000u, 0) || __builtin_expect(uy * 2u >= 0xff000000u, 0))
        return powf_l9_other(x, y);
    if (__builtin_expect(small_integer(uy), 0)) return powf_l9_integer(x, y);
    return powf_l9_core(x, y);
}
#endif  // TSR_TIER_L9

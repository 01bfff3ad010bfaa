// atanpi: atan(x)/pi, a vector-core member (include/tsr/vectorcore.h), and its float form
// atanpif, a scalar body of its own.
//
// Range test: the high word of |x| plus 0x7ca00000 against 0xfc6fffff flags |x| < 2^-969 and
// |x| >= 2^1022 (infinities and NaNs among them).  A flagged argument runs the core on 1.0, a
// stand-in whose steps are all exact, so that the core raises no flag the rare routine's
// result would not.
//
// Core.  The row is the count of thresholds 0.4375, 0.6875, 1.1875, 2.4375 that the high word
// exceeds (sums of compares, no branch): grid point c = 0, 1/2, 1, 3/2 with
// z = (a - c)/(1 + a c), or for the last row z = -1/a with 1/2 as base.  N = (a & mask) - c is
// exact (Sterbenz: a lies within [c/2, 2c] in rows 1-3); arguments from 2^54 on run as 2^54
// (their results round alike), row 0 takes y = 1 and z below 2^-30 no series (z^2 would
// underflow), so that no step meets a subnormal number.  D = (1 & mask) + a·c is kept as the
// head 1 + ah·c (at most 31 bits: ah is a cut at 27 bits and c has two) and the tail al·c, so
// that the head's product with a 21-bit reciprocal is exact.  The reciprocal y of D's head is
// the processor's estimate (vc::recip_estimate, 12 bits), e = (Dh·y - 1) + Dl·y, |e| < 2^-11,
// and 1/D = y (1 - e + e^2 - ... + e^6), error e^7 < 2^-77; the powers of e are taken on N·y·e,
// so that a zero N gives a zero correction with no rounding (atanpi(1) = 1/4 exactly, without
// inexact).  z = zh + zl, zh cut at 27 bits; z/pi's head is zh times 1/pi's 25-bit head,
// exact; atan(z)/z = 1 - v/3 + v^2 Q(v), v = z^2: the cubic term exact in two parts (it is up
// to 6% of the result, and a rounded one costs 0.1 ulp), Q's twelve coefficients in two chains
// on v^2 (|z| <= 0.4375, error 2^-53.3 of Q, 2^-60 of the result: a degree less, 2^-50.8 of
// Q, cost 0.035 ulp just below tan(pi/8), where the result's ulp halves).  The result is
// T + head + cubic head, summed exactly, then the tails, x's sign put on last.
//
// Rare routine __libm_datanpi_cout_rare: NaN x + x; an infinity ±1/2 exactly; |x| >= 2^54
// ±(1/2 - 2^-60), which rounds as 1/2 - 1/(pi x) does; zero x; |x| < 2^-30 x/pi rounded once,
// subnormal results included; any other argument (the rare routine called directly) the
// double-double arctangent kernel over pi.  No status: atanpi never reports.
//
// Tiers: ex is the core above.  l9 holds the same rows, reduction and series in one lane of a
// vector register, with fused multiply-add in place of the 27-bit cuts (atanpi_core_l9 below
// says how its steps differ).  The reproducible form __bwr_atanpi is the ex body with a true single-precision
// division 1.0f/m in place of the estimate, whose last bits differ between processors.
// atanpif is a scalar body of its own: one quotient on the octant and a short series in
// double (atan2pi_f, within 2^-49 of the result), rounded once to float.
#include "elementary/pi_common.h"
#include "tsr/vectorcore.h"

#include <immintrin.h>

using namespace tsr;
using namespace tsr::pi;
using namespace tsr::vc;

namespace {

constexpr bool kFma = !TSR_TIER_EX;
constexpr uint32_t kLowWord = 0x03600000u;   // 2^-969: below it, x/pi alone (rare)
constexpr uint32_t kHighWord = 0x7fcfffffu;  // below 2^1022: the core's last row
constexpr uint32_t kShift = range_shift(kLowWord), kLimit = range_limit(kLowWord, kHighWord);
static_assert(kShift == 0x7ca00000u && kLimit == 0xfc6fffffu);
constexpr uint32_t kBeyond = 0x43500000u;              // 2^54: high word
constexpr uint64_t kSeriesFloor = 0x3e10000000000000ull;  // 2^-30
constexpr uint64_t kCut27 = 0xfffffffff8000000ull;  // the head of 27 significant bits

template <bool Fma, bool ExactRecip>
inline double atanpi_core(double x, uint32_t &flag) {
    uint64_t sx = bits(x) & kSign;
    double a = f64(bits(x) & kAbs);
    flag = outside(hi(a), kShift, kLimit);
    a = select(mask_of(flag), 1.0, a);  // the stand-in
    // From 2^54 on the result rounds as 1/2 - 2^-54/pi does, in every mode: the core runs on
    // 2^54, and so no step meets a subnormal number.
    a = select(mask_of(hi(a) >= kBeyond), 0x1p54, a);
    uint32_t hw = hi(a);
    unsigned n = unsigned(hw > 0x3fdc0000u) + unsigned(hw > 0x3fe60000u) + unsigned(hw > 0x3ff30000u) +
                 unsigned(hw > 0x40038000u);
    const AtanpiRow &row = atanpi_rows[n];
    double ah = and_mask(a, kCut27), al = a - ah;
    double N = and_mask(a, row.mask) - row.c;
    double Nh = and_mask(N, kCut27), Nl = N - Nh;
    double Dh = and_mask(1.0, row.mask) + ah * row.c, Dl = al * row.c;
    // Row 0 has D = 1 and takes y = 1: e = 0, and the tiny arguments meet no subnormal power.
    double y = select(mask_of(n == 0), 1.0, recip_estimate<ExactRecip>(Dh));
    double e = mul_add<Fma>(Dh, y, -1.0) + Dl * y;
    // N y (-e + e^2 - e^3 + e^4 - e^5 + e^6), on the powers of e times N y.
    double ny = N * y;
    // -(ny e)(1 - e)(1 + e^2 (1 + e^2)): the same six terms, three products deep, not six.
    double e2 = e * e;
    double corr = -((ny * e) * (1.0 - e)) * mul_add<Fma>(e2, 1.0 + e2, 1.0);
    double z0 = Nh * y;  // exact: 27 and 21 bits
    double zr = mul_add<Fma>(Nl, y, corr);
    double zs = z0 + zr;
    double zh = and_mask(zs, kCut27);
    double zl = (z0 - zh) + zr;
    // z/pi: head exact (27 and 25 bits), then the tails.
    double ph = zh * inv_pi_short[0];
    double pl = mul_add<Fma>(zh, inv_pi_short[1], zl * inv_pi_hilo[0]);
    // The series: atan(z)/z = 1 - v/3 + v^2 Q(v).  The cubic term, up to 6% of the result, is
    // formed exact: zh has 26 bits, so zh^2 is exact and zh^3 an exact product, times -1/(3 pi)
    // in two parts; zl enters by 3 zh zl z = 3 zh^2 zl + 3 zh zl^2 (zl is up to 2^-26 of z).  Below 2^-30 the series
    // (z^2/3 of the result at most, 2^-61) is left out: its powers could underflow.
    uint64_t keep = mask_of((bits(zs) & kAbs) >= kSeriesFloor);
    double zhm = and_mask(zh, keep), zlm = and_mask(zl, keep), zm = and_mask(zs, keep);
    double zh2 = zhm * zhm;
    DD z3 = two_prod<Fma>(zh2, zhm);
    DD c3 = two_prod_k<Fma>(z3.h, atanpi_third[0], {atanpi_third_halves[0], atanpi_third_halves[1]});
    double c3l = mul_add<Fma>(atanpi_third[0], z3.l, c3.l) +
                 mul_add<Fma>(atanpi_third[1], z3.h, atanpi_third[0] * (3.0 * zhm * zlm * zm));
    double v = zm * zm;
    double Q = estrin<Fma, 12>(atanpi_series, v);
    double rest = ((ph + pl) * (v * v)) * Q;
    DD h = fast_two_sum(row.t, ph);
    DD g = two_sum(h.h, c3.h);
    double r = g.h + (((g.l + h.l) + (row.tlo + pl)) + (c3l + rest));
    return with_sign(r, sx);
}

constexpr double kTiny = 0x1p-30;

}  // namespace

#if TSR_TIER_L9
namespace {
// The l9 core: the same rows, reduction and series, with every value kept in one lane of a
// vector register.  Written on scalar doubles, gcc moves the masks, the cuts and the
// reciprocal's bit steps to the integer unit, and the chain crosses between the register files
// about twenty times; here only the flag leaves the vector unit (by a mask extraction), and the
// fused multiply-add makes the products exact without the 27-bit cuts.  Lane 0 alone carries
// the value: only scalar arithmetic runs (the logic and the blends act on every lane but raise
// no flags), so what the other lanes hold never matters.
using L = __m128d;
inline L lane(double c) { return _mm_set_sd(c); }
inline L add(L a, L b) { return _mm_add_sd(a, b); }
inline L sub(L a, L b) { return _mm_sub_sd(a, b); }
inline L mul(L a, L b) { return _mm_mul_sd(a, b); }
inline L fma(L a, L b, L c) { return _mm_fmadd_sd(a, b, c); }   // a b + c
inline L fms(L a, L b, L c) { return _mm_fmsub_sd(a, b, c); }   // a b - c
inline L fnma(L a, L b, L c) { return _mm_fnmadd_sd(a, b, c); } // c - a b
inline L pick(L m, L a, L b) { return _mm_blendv_pd(b, a, m); } // m ? a : b
inline L lanes_of(__m128i w, int word) {  // the 32-bit compare mask of one word, as 64 bits
    switch (word) {
    case 0: return _mm_castsi128_pd(_mm_shuffle_epi32(w, 0x00));
    case 1: return _mm_castsi128_pd(_mm_shuffle_epi32(w, 0x55));
    case 2: return _mm_castsi128_pd(_mm_shuffle_epi32(w, 0xaa));
    default: return _mm_castsi128_pd(_mm_shuffle_epi32(w, 0xff));
    }
}
constexpr uint64_t kCut12 = 0xffffff0000000000ull;  // sign, exponent and 12 leading bits

// Steps, after the range test on |x|'s high word (in all four words of a register, so that
// one compare takes the four row thresholds and one the range test with the series' floor):
//  - a flagged argument runs as a = 0 in row 0 (every step exact, no flag); from 2^54 on as
//    2^54 (its result rounds as theirs, 1/2 - 1/(pi x), does in every mode);
//  - c, 1 & mask by blends on the row masks, T by a load; N = (a & mask) - c exact;
//    D = (1 & mask) + a c as Dh = fma(a, c, 1 & mask), Dl = fma(a, c, (1 & mask) - Dh), exact
//    (1 & mask - Dh is exact: Dh is 1 or a multiple of 1's ulp below 2^53);
//  - y: the estimate of 1/Dh (Dh converted to single precision, rcpss, back), cut to 12 bits
//    (|e| < 2^-10.6), 1 in row 0 (D = 1, so z = a with no rounding); e = Dh y - 1;
//  - q0 = N y; r = N - Dh q0 (fma, exact to 2^-53 of itself), and
//    z = q0 + r y (1 - e + e^2 - e^3 + e^4) - q0 (Dl y): the quartic term goes to zl only;
//    what is left is r y e^5, 2^-63 of z.  With the 12-bit y, every step at x = ±1 (N = 0,
//    D = 2, e a few bits) is exact: atanpi(±1) = ±1/4 raises no inexact;
//  - z/pi - z^3/(3 pi) as z G, G = (1 - v/3)/pi in two parts by fused operations (the cubic
//    term is up to 6% of the result: G's head and rest are exact to 2^-100), then T + zh gh
//    rounded once and its exact remainder by a second fused operation, zh gl and zl's share
//    behind: fewer operations and a shorter chain than the cubic term and z/pi apart;
//  - Q(v) by Estrin's scheme on v = zh^2 (v zeroed below 2^-30, where the series is below
//    2^-61 and its powers could underflow), z v^2 Q/pi by the last fused operation.
inline double atanpi_core_l9(double xd, uint32_t &flag) {
    const L x = lane(xd);
    const L sign = _mm_and_pd(x, _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kSign))));
    const L a = _mm_and_pd(x, _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kAbs))));
    const __m128i hw = _mm_shuffle_epi32(_mm_castpd_si128(a), 0x55);  // the high word, 4 times
    // word 0: the range test (flag); word 1: |x| >= 2^-30, where the series is kept
    const __m128i test = _mm_cmpgt_epi32(_mm_add_epi32(hw, _mm_setr_epi32(int32_t(kShift), 0, 0, 0)),
                                         _mm_setr_epi32(int32_t(kLimit), int32_t(kSeriesFloor >> 32) - 1, 0, 0));
    flag = uint32_t(_mm_movemask_ps(_mm_castsi128_ps(test)) & 1);
    const L out = lanes_of(test, 0), keep = lanes_of(test, 1);
    const __m128i rows = _mm_andnot_si128(
        _mm_castpd_si128(out), _mm_cmpgt_epi32(hw, _mm_setr_epi32(0x3fdc0000, 0x3fe60000, 0x3ff30000, 0x40038000)));
    const L m1 = lanes_of(rows, 0), m2 = lanes_of(rows, 1), m3 = lanes_of(rows, 2), m4 = lanes_of(rows, 3);
    // a flagged argument runs as 0 (before the minimum, which a NaN would make raise
    // invalid), and from 2^54 on as 2^54
    const L ai = _mm_min_sd(_mm_andnot_pd(out, a), lane(0x1p54));
    const AtanpiRow *R = atanpi_rows;
    const L c = pick(m3, pick(m4, lane(R[4].c), lane(R[3].c)), pick(m2, lane(R[2].c), _mm_and_pd(m1, lane(R[1].c))));
    // T is needed late: its row comes by a load, off the vector unit's ports
    const AtanpiRow &row = R[32 - _lzcnt_u32(unsigned(_mm_movemask_ps(_mm_castsi128_ps(rows))))];
    const L T = lane(row.t), Tl = lane(row.tlo);
    const L one = _mm_andnot_pd(m4, lane(1.0));
    const L N = sub(_mm_andnot_pd(m4, ai), c);
    const L Dh = fma(ai, c, one);
    const L Dl = fma(ai, c, sub(one, Dh));
    L y = _mm_cvtss_sd(Dh, _mm_rcp_ss(_mm_cvtsd_ss(_mm_castpd_ps(Dh), Dh)));
    y = pick(m1, _mm_and_pd(y, _mm_castsi128_pd(_mm_set1_epi64x(int64_t(kCut12)))), lane(1.0));
    const L e = fms(Dh, y, lane(1.0));
    const L q0 = mul(N, y);
    const L ry = mul(fnma(Dh, q0, N), y);
    const L e2 = mul(e, e), e4 = mul(e2, e2);
    const L P3 = mul(sub(lane(1.0), e), fma(e, e, lane(1.0)));
    // zh = q0 + ry P3 rounded once; zl what that left (q0 - zh is exact), the quartic term
    // and -q0 (Dl y)
    const L zh = fma(ry, P3, q0);
    const L zl = fma(ry, P3, add(sub(q0, zh), fms(ry, e4, mul(mul(Dl, y), q0))));
    // z/pi - z^3/(3 pi) = z G, G = 1/pi - v/(3 pi) on v = zh^2 (vh + vl exact) in two
    // parts: gh = s0 + vh k rounded once (s0 the 25-bit head of 1/pi, k = -1/(3 pi)'s head)
    // and what that left, by a second fused operation on s0 - gh (exact: gh lies within 6% of
    // s0), then 1/pi's rest s1, k's rest times vh, k vl.  Below 2^-30 (zm = 0) gh is s0,
    // so that zh gh's remainder is exact down to zh = 2^-969.  zl's share: zl (1 - v)/pi.
    const L zm = _mm_and_pd(zh, keep);
    const L kh = lane(atanpi_third[0]), ip = lane(inv_pi_hilo[0]), s0 = lane(inv_pi_short[0]);
    const L vh = mul(zm, zm), vl = fms(zm, zm, vh);
    const L gh = fma(vh, kh, s0);
    const L w = fma(kh, vl, fma(lane(atanpi_third[1]), vh, lane(inv_pi_short[1])));
    const L gl = add(fma(vh, kh, sub(s0, gh)), w);
    // zl's share and T's tail
    const L X = fma(zl, fnma(ip, vh, ip), Tl);
    // Q(v), v = vh, by Estrin's scheme (the pairing of the ex body's estrin<12>)
    const double *q = atanpi_series;
    const L v = vh, v2 = mul(v, v), v4 = mul(v2, v2), v8 = mul(v4, v4);
    const L b0 = fma(fma(lane(q[3]), v, lane(q[2])), v2, fma(lane(q[1]), v, lane(q[0])));
    const L b1 = fma(fma(lane(q[7]), v, lane(q[6])), v2, fma(lane(q[5]), v, lane(q[4])));
    const L b2 = fma(fma(lane(q[11]), v, lane(q[10])), v2, fma(lane(q[9]), v, lane(q[8])));
    const L Q = fma(b2, v8, fma(b1, v4, b0));
    // T + zh gh rounded once (s), and what that left, exactly: T - s is exact (s lies within
    // a factor 2 of T in rows 1-4; T = 0 in row 0), so hl = zh gh + (T - s) rounds a value
    // below s's ulp; the series' rest (z v^2 Q/pi) and zh gl by fused operations, the tails
    const L s = fma(zh, gh, T), hl = fma(zh, gh, sub(T, s));
    const L fin = add(fma(mul(mul(zm, ip), v2), Q, X), fma(zh, gl, hl));
    return _mm_cvtsd_f64(_mm_xor_pd(add(s, fin), sign));
}
}  // namespace
#endif

#if TSR_TIER_EX
extern "C" int __libm_datanpi_cout_rare(const double *px, double *result) noexcept TSR_HIDDEN;
extern "C" int __libm_datanpi_cout_rare(const double *px, double *result) noexcept {
    double x = *px;
    uint64_t sx = bits(x) & kSign;
    double a = f64(bits(x) & kAbs);
    if (a != a) {
        *result = x + x;
    } else if (a == __builtin_inf()) {
        *result = with_sign(0.5, sx);
    } else if (a >= 0x1p54) {
        *result = with_sign(0.5, sx) - with_sign(0x1p-60, sx);
    } else if (a == 0) {
        *result = x;
    } else if (a < kTiny) {
        *result = mul_tiny<false>(x, inv_pi_hilo[0], inv_pi_hilo[1]);
    } else {
        *result = with_sign(atan2_over_pi<false>(a, 0.0, 1.0, 0.0), sx);
    }
    return 0;
}
#else
extern "C" int __libm_datanpi_cout_rare(const double *px, double *result) noexcept TSR_HIDDEN;
#endif

namespace {
template <bool Fma, bool ExactRecip>
inline double atanpi_d(double x) {
    uint32_t flag;
#if TSR_TIER_L9
    double r = atanpi_core_l9(x, flag);
#else
    double r = atanpi_core<Fma, ExactRecip>(x, flag);
#endif
    return finish(flag, x, r, __libm_datanpi_cout_rare);
}

// atanpif, a scalar body: NaN x + x, an infinity ±1/2, a zero itself; otherwise the octant's
// quotient and series of atan2pi_f on (|x|, 1), x's sign put on last.
template <bool Fma>
inline float atanpi_f(float xf) {
    double x = xf;
    uint64_t sx = bits(x) & kSign;
    double a = f64(bits(x) & kAbs);
    if (bits(a) >= kInfBits) return bits(a) == kInfBits ? float(with_sign(0.5, sx)) : xf + xf;
    if (a == 0) return xf;
    return float(with_sign(atan2pi_f<Fma>(a, 1.0), sx));
}
}  // namespace

TSR_BODY(double, atanpi, (double x)) { return atanpi_d<kFma, false>(x); }
TSR_BODY(float, atanpif, (float x)) { return atanpi_f<kFma>(x); }

#if TSR_TIER_EX
TSR_DEFINE(double, __bwr_atanpi, (double x)) { return atanpi_d<false, true>(x); }
TSR_DEFINE(float, __bwr_atanpif, (float x)) { return atanpi_f<false>(x); }
#endif

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
// to 6% of the result, and a rounded one costs 0.1 ulp), Q's eleven coefficients in two chains
// on v^2 (|z| <= 0.4375, error 2^-50.8 of Q, 2^-58 of the result).  The result is
// T + head + cubic head, summed exactly, then the tails, x's sign put on last.
//
// Rare routine __libm_datanpi_cout_rare: NaN x + x; an infinity ±1/2 exactly; |x| >= 2^54
// ±(1/2 - 2^-60), which rounds as 1/2 - 1/(pi x) does; zero x; |x| < 2^-30 x/pi rounded once,
// subnormal results included; any other argument (the rare routine called directly) the
// double-double arctangent kernel over pi.  No status: atanpi never reports.
//
// Tiers: ex and l9 hold the same steps, l9 with fused multiply-add in the correction and the
// sums.  The reproducible form __bwr_atanpi is the ex body with a true single-precision
// division 1.0f/m in place of the estimate, whose last bits differ between processors.
// atanpif is a scalar body of its own: one quotient on the octant and a short series in
// double (atan2pi_f, within 2^-49 of the result), rounded once to float.
#include "elementary/pi_common.h"
#include "tsr/vectorcore.h"

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
    double Q = estrin<Fma, 11>(atanpi_series, v);
    double rest = ((ph + pl) * (v * v)) * Q;
    DD h = fast_two_sum(row.t, ph);
    DD g = two_sum(h.h, c3.h);
    double r = g.h + (((g.l + h.l) + (row.tlo + pl)) + (c3l + rest));
    return with_sign(r, sx);
}

constexpr double kTiny = 0x1p-30;

}  // namespace

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
    double r = atanpi_core<Fma, ExactRecip>(x, flag);
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

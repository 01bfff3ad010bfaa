// e^x - 1, 2^x - 1 and the restricted powers: special values, thresholds and their
// neighbours, exact results as rows; accuracy against MPFR over regions dense where a body
// changes method (every tier, four modes, flags); every float and 10 million doubles in the
// Long run.
#include <gtest/gtest.h>

#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

extern "C" double __libm_exp2m1(double) noexcept;
extern "C" double __libm_expm1_k(double) noexcept;

namespace {

using namespace th;
namespace code = tsr::code;

// x^(2/3) = cbrt(x^2) and x^(3/2) = sqrt(x^3): the powers exact at three times the
// precision, then one correctly rounded root.
int mpfr_pow2o3(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) {
    mpfr_t t;
    mpfr_init2(t, 2 * mpfr_get_prec(x) + 8);
    mpfr_sqr(t, x, MPFR_RNDN);
    int i = mpfr_cbrt(r, t, m);
    mpfr_clear(t);
    return i;
}
int mpfr_pow3o2(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) {
    if (mpfr_sgn(x) < 0) {
        mpfr_set_nan(r);
        return 0;
    }
    mpfr_t t;
    mpfr_init2(t, 3 * mpfr_get_prec(x) + 8);
    mpfr_pow_ui(t, x, 3, MPFR_RNDN);
    int i = mpfr_sqrt(r, t, m);
    mpfr_clear(t);
    return i;
}
// powr: e^(y ln x), a NaN for negative x (the sweeps draw positive x).
int mpfr_powr(mpfr_ptr r, mpfr_srcptr x, mpfr_srcptr y, mpfr_rnd_t m) {
    if (mpfr_sgn(x) < 0) {
        mpfr_set_nan(r);
        return 0;
    }
    return mpfr_pow(r, x, y, m);
}

// ---- expm1 ----------------------------------------------------------------------------------
// A subnormal argument is its own result with underflow; tier e7 alone reports it (errno by
// the error mode, not checked here).  The largest finite result is at ln(DBL_MAX).
const std::vector<Row<double>> kExpm1 = with_nans<double>({
    {0.0, 0.0}, {-0.0, -0.0}, {INFINITY, INFINITY}, {-INFINITY, -1.0},
    {0x1p-1074, 0x1p-1074, UN, 0, NO_CODE, RN, EX | L9 | ENTRY},
    {-0x0.fffffffffffffp-1022, -0x0.fffffffffffffp-1022, UN, 0, NO_CODE, RN, EX | L9 | ENTRY},
    {0x1p-1074, 0x1p-1074, UN, ANY_ERRNO, code::expm1_underflow, RN, E7},
    {-0x1p-1030, -0x1p-1030, UN, ANY_ERRNO, code::expm1_underflow, RN, E7},
    {0x1p-1022, CR, NX, 0, NO_CODE, RN}, {-0x1p-600, CR, NX, 0, NO_CODE, RN}, {0x1p-60, CR, NX},
    {-0x1p-55, CR, NX}, {0x1.ffffffffffffp-55, CR, NX, 0, NO_CODE, RN},
    {0x1p-54, CR, NX, 0, NO_CODE, RN}, {0x1.6p-8, CR, NX, 0, NO_CODE, RN}, {-0x1p-8, CR, NX, 0, NO_CODE, RN},
    {0x1p-4, CR, NX, 0, NO_CODE, RN}, {-0x1.fffffffffffffp-5, CR, NX, 0, NO_CODE, RN},
    {0x1.2p+5, CR, NX, 0, NO_CODE, RN}, {0x1.4p+5, CR, NX, 0, NO_CODE, RN},  // 36, 40: the band
    {0x1.58p+5, CR, NX, 0, NO_CODE, RN}, {-0x1.2p+5, CR, NX, 0, NO_CODE, RN},  // 43, -36
    {0x1.3ffffffffffffp+9, CR, NX, 0, NO_CODE, RN}, {0x1.4p+9, CR, NX, 0, NO_CODE, RN},  // 640
    {0x1.62e42fefa39efp+9, CR, NX, 0, NO_CODE, RN},  // ln(DBL_MAX), the last finite result
    {0x1.62e42fefa39f0p+9, INFINITY, OV, ERANGE, code::expm1_overflow, RN},
    {0x1.62e51eb851eb8p+9, INFINITY, OV, ERANGE, code::expm1_overflow, RN},  // 709.79
    {0x1.62e3d70a3d70ap+9, CR, NX, 0, NO_CODE, RN},                          // 709.78
    {1024.0, INFINITY, OV, ERANGE, code::expm1_overflow, RN},
    {0x1.fffffffffffffp+1023, INFINITY, OV, ERANGE, code::expm1_overflow, RN},
    {-1024.0, -1.0, NX, 0, NO_CODE, RN}, {-0x1.fffffffffffffp+1023, -1.0, NX, 0, NO_CODE, RN},
    {-40.0, -1.0, NX, 0, NO_CODE, RN}, {-0x1.3687a9f1af2b1p+5, CR, NX, 0, NO_CODE, RN},  // -38.82
    {-0x1.3687a9f1af2b2p+5, CR, NX, 0, NO_CODE, RN},
    {-700.0, -1.0, NX, 0, NO_CODE, RN},
});

const std::vector<Row<float>> kExpm1f = with_nans<float>({
    {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, INFINITY}, {-INFINITY, -1.0f},
    {0x1p-149f, 0x1p-149f, UN, 0, NO_CODE, RN, EX},
    {0x1p-149f, 0x1p-149f, UN, ANY_ERRNO, code::expm1f_underflow, RN, E7 | ENTRY},
    {-0x1.fffffcp-127f, -0x1.fffffcp-127f, UN, ANY_ERRNO, code::expm1f_underflow, RN, E7 | ENTRY},
    {0x1p-126f, CR, NX, 0, NO_CODE, RN}, {-0x1p-30f, CR, NX}, {0x1p-25f, CR, NX, 0, NO_CODE, RN},
    {0x1p-8f, CR, NX, 0, NO_CODE, RN}, {-0x1.6a09e6p-3f, CR, NX, 0, NO_CODE, RN},  // -0.177
    {0x1.6a09e6p-3f, CR, NX, 0, NO_CODE, RN}, {0.125f, CR, NX, 0, NO_CODE, RN},
    {0x1.62e42ep+6f, CR, NX, 0, NO_CODE, RN},  // 88.72283: the last finite result
    {0x1.62e430p+6f, INFINITY, OV, ERANGE, code::expm1f_overflow, RN},
    {0x1.5a92d6p+6f, CR, NX, 0, NO_CODE, RN},  // 86.64: the e7 bands' edge
    {128.0f, INFINITY, OV, ERANGE, code::expm1f_overflow, RN},
    {-100.0f, -1.0f, NX, 0, NO_CODE, RN}, {-0x1.fffffep+127f, -1.0f, NX, 0, NO_CODE, RN},
});

// ---- exp2m1 (the internal entry) ---------------------------------------------------------------
// Integer arguments give exact results in every mode; x <= -64 gives -1 by the comparison.
const std::vector<Row<double>> kExp2m1 = with_nans<double>({
    {0.0, 0.0}, {-0.0, -0.0}, {INFINITY, INFINITY}, {-INFINITY, -1.0},
    {1.0, 1.0}, {-1.0, -0.5}, {10.0, 1023.0}, {-3.0, -0.875}, {52.0, 0x1.ffffffffffffep+51},
    {1023.0, CR, NX, 0, NO_CODE, RN}, {0x1.fffeb851eb852p+9, CR, NX, 0, NO_CODE, RN},  // 1023.99
    {0x1.fffp+9, CR, NX, 0, NO_CODE, RN}, {0x1.ffeffffffffffp+9, CR, NX, 0, NO_CODE, RN},  // 1023.875
    {0x1.fffffffffffffp+9, CR, NX, 0, NO_CODE, RN},
    {1024.0, INFINITY, OV, 0, NO_CODE, RN}, {0x1.fffffffffffffp+1023, INFINITY, OV, 0, NO_CODE, RN},
    {-64.0, -1.0, NX, 0, NO_CODE, RN}, {-0x1.ff33333333333p+5, -1.0, NX, 0, NO_CODE, RN},  // -63.9
    {-1e300, -1.0, NX, 0, NO_CODE, RN}, {64.0, CR, NX, 0, NO_CODE, RN}, {0.5, CR, NX},
    {0x1p-1074, CR, UN, 0, NO_CODE, RN}, {-0x1.2345p-1050, CR, UN, 0, NO_CODE, RN},
    {0x1.8p-1022, CR, NX, 0, NO_CODE, RN}, {0x1.6p-1022, CR, UN, 0, NO_CODE, RN},
    {0x1p-58, CR, NX, 0, NO_CODE, RN}, {0x1p-57, CR, NX, 0, NO_CODE, RN}, {-0x1.fffffffffffffp-58, CR, NX, 0, NO_CODE, RN},
});

// ---- powr ---------------------------------------------------------------------------------------
// IEEE's powr: no integer special cases, 0^0, inf^0 and 1^inf invalid, negative x a domain error.
const std::vector<Row2<double>> kPowr = {
    {{0.0, 0.0}, NAN, INV}, {{-0.0, -0.0}, NAN, INV}, {{INFINITY, 0.0}, NAN, INV}, {{INFINITY, -0.0}, NAN, INV},
    {{1.0, INFINITY}, NAN, INV}, {{1.0, -INFINITY}, NAN, INV}, {{1.0, NAN}, NAN}, {{1.0, 1e300}, 1.0},
    {{-1.0, 2.0}, NAN, INV, EDOM, code::powr_domain}, {{-INFINITY, 1.0}, NAN, INV, EDOM, code::powr_domain},
    {{-0x1p-1074, 0.5}, NAN, INV, EDOM, code::powr_domain}, {{-2.0, NAN}, NAN},
    {{NAN, 0.0}, NAN}, {{NAN, 1.0}, NAN}, {{2.0, NAN}, NAN},
    {{0.0, -1.0}, INFINITY, DZ}, {{-0.0, -INFINITY}, INFINITY, DZ}, {{0.0, INFINITY}, 0.0}, {{-0.0, 3.0}, 0.0},
    {{2.0, INFINITY}, INFINITY}, {{0.5, -INFINITY}, INFINITY}, {{0.5, INFINITY}, 0.0}, {{2.0, -INFINITY}, 0.0},
    {{INFINITY, 2.0}, INFINITY}, {{INFINITY, -2.0}, 0.0}, {{3.0, 0.0}, 1.0}, {{3.0, -0.0}, 1.0},
    {{2.0, 3.0}, 8.0}, {{0.5, -10.0}, 1024.0}, {{9.0, 0.5}, CR, ANY_FLAGS, 0, NO_CODE, RN},
    {{1.0, 0.5}, 1.0}, {{1.0, -0x1.8p+60}, 1.0},
    // Either side of the core's bounds: |y log2 x| = 1000, |y| = 2^-54 and 2^64.
    {{2.0, 999.9}, CR, NX, 0, NO_CODE, RN}, {{2.0, 1000.1}, CR, NX, 0, NO_CODE, RN},
    {{0.5, 999.9}, CR, NX, 0, NO_CODE, RN}, {{0.5, 1000.1}, CR, NX, 0, NO_CODE, RN},
    {{3.0, 0x1p-54}, CR, NX, 0, NO_CODE, RN}, {{3.0, -0x1p-55}, CR, NX, 0, NO_CODE, RN},
    {{0x1.0000000000001p+0, 0x1p60}, CR, NX, 0, NO_CODE, RN},
    {{0x1.0000000000001p+0, 0x1.fffffffffffffp+63}, INFINITY, OV, ERANGE, code::powr_overflow, RN},
    {{0x1.0000000000001p+0, -0x1p64}, 0.0, UN, ERANGE, code::powr_underflow, RN}, {{3.0, 33.0}, 5559060566555523.0}, {{0x1.0000000000001p+0, 0x1p60}, CR, NX, 0, NO_CODE, RN},
    {{2.0, 1024.0}, INFINITY, OV, ERANGE, code::powr_overflow, RN},
    {{0x1.fffffffffffffp+1023, 1.5}, INFINITY, OV, ERANGE, code::powr_overflow, RN},
    {{2.0, 1023.5}, CR, NX, 0, NO_CODE, RN}, {{0.5, 1075.5}, 0.0, UN, ERANGE, code::powr_underflow, RN},
    {{0x1p-1074, 0.3}, CR, NX, 0, NO_CODE, RN}, {{0x1.8p-1060, 1.0}, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE, RN},
    {{3.0, 600.0}, CR, NX, 0, NO_CODE, RN}, {{3.0, -600.0}, CR, NX, 0, NO_CODE, RN},
    // y with no fraction bits leaves the usual path by one rounding test (as for powrf).
    {{2.0, f64(0x7ff4000000000000)}, NAN, INV}, {{5.0, -0.0}, 1.0}, {{1.5, 4.0}, 5.0625},
    {{0.5, 0x1p60}, 0.0, UN, ERANGE, code::powr_underflow, RN}, {{3.0, 0x1p52}, INFINITY, OV, ERANGE, code::powr_overflow, RN},
    {{0x1.0000000000001p+0, 0x1p52}, CR, NX, 0, NO_CODE, RN}, {{3.0, -2.0}, CR, NX, 0, NO_CODE, RN},
    // Either side of the core's bound |y log2 x| ~ 1000 (the rare routine beyond it).
    {{2.0, 999.5}, CR, NX, 0, NO_CODE, RN}, {{2.0, 1000.5}, CR, NX, 0, NO_CODE, RN},
    {{0.5, 999.5}, CR, NX, 0, NO_CODE, RN}, {{0.5, 1000.5}, CR, NX, 0, NO_CODE, RN},
};
const std::vector<Row2<float>> kPowrf = {
    {{0.0f, 0.0f}, NAN, INV}, {{INFINITY, 0.0f}, NAN, INV}, {{1.0f, INFINITY}, NAN, INV},
    {{-1.0f, 2.0f}, NAN, INV, EDOM, code::powrf_domain}, {{-INFINITY, 1.0f}, NAN, INV, EDOM, code::powrf_domain},
    {{0.0f, -1.0f}, INFINITY, DZ}, {{2.0f, INFINITY}, INFINITY}, {{0.5f, -INFINITY}, INFINITY},
    {{0.5f, INFINITY}, 0.0f}, {{NAN, 0.0f}, NAN}, {{1.0f, 1e30f}, 1.0f}, {{2.0f, 3.0f}, 8.0f}, {{7.0f, 0.0f}, 1.0f},
    // x = 1 with a fractional y runs the core: 1 exactly, no flag; integer powers exact.
    {{1.0f, 0.5f}, 1.0f}, {{1.0f, -37.25f}, 1.0f}, {{3.0f, 15.0f}, 14348907.0f}, {{0.5f, -126.0f}, 0x1p126f},
    {{4.0f, 0.5f}, 2.0f, ANY_FLAGS}, {{0x1.fffffep-1f, 0x1p30f}, CR, NX, 0, NO_CODE, RN},
    // Either side of the core's result range, |y ln x| = 87 (2^125.5 and 2^-125.5 in, their
    // neighbours out, the subnormal side with its code).
    {{2.0f, 125.5f}, CR, NX, 0, NO_CODE, RN}, {{2.0f, 125.6f}, CR, NX, 0, NO_CODE, RN},
    {{0.5f, 125.5f}, CR, NX, 0, NO_CODE, RN}, {{0.5f, 125.6f}, CR, NX, 0, NO_CODE, RN},
    {{0.5f, 126.5f}, CR, UN, 0, code::powrf_underflow, RN},  // ERANGE only for a zero result
    {{2.0f, 128.0f}, INFINITY, OV, ERANGE, code::powrf_overflow, RN},
    {{2.0f, 127.5f}, CR, NX, 0, NO_CODE, RN}, {{0.5f, 150.5f}, 0.0f, UN, ERANGE, code::powrf_underflow, RN},
    {{0x1p-149f, 0.5f}, CR, NX, 0, NO_CODE, RN}, {{3.0f, 80.0f}, CR, NX, 0, NO_CODE, RN},
    // y with no fraction bits leaves the usual path by one rounding test: a signalling NaN
    // (invalid once, a quiet NaN), integers beyond the exact powers, -0, exact powers below 1.
    {{2.0f, f32(0x7fa00000)}, NAN, INV}, {{f32(0x7fa00000), 2.0f}, NAN, INV},
    {{0.5f, 4096.0f}, 0.0f, UN, ERANGE, code::powrf_underflow, RN},
    {{0x1.000002p+0f, 0x1p30f}, INFINITY, OV, ERANGE, code::powrf_overflow, RN},
    {{3.0f, 0x1p20f}, INFINITY, OV, ERANGE, code::powrf_overflow, RN}, {{5.0f, -0.0f}, 1.0f},
    {{1.5f, 4.0f}, 5.0625f}, {{0.75f, 3.0f}, 0.421875f}, {{3.0f, -2.0f}, CR, NX, 0, NO_CODE, RN},
    // The row split at R = 724 (1.m near 1024/724.5, the reciprocal estimate rounding to 724
    // or 725 there), x just either side of 1 with large y.
    {{0x1.69d3d4p+0f, 200.5f}, CR, NX, 0, NO_CODE, RN}, {{0x1.69d3d4p-1f, -200.5f}, CR, NX, 0, NO_CODE, RN},
    {{0x1.69df22p+0f, 0.1f}, CR, NX, 0, NO_CODE, RN}, {{0x1.69c886p+0f, -0.1f}, CR, NX, 0, NO_CODE, RN},
    {{0x1.000002p+0f, 0x1.5p22f}, CR, NX, 0, NO_CODE, RN}, {{0x1.fffffep-1f, -0x1.5p23f}, CR, NX, 0, NO_CODE, RN},
};

// ---- pow2o3, pow3o2 ---------------------------------------------------------------------------
// Cubes and squares give exact results in every mode, with no flag.
const std::vector<Row<double>> kPow2o3 = with_nans<double>({
    {0.0, 0.0}, {-0.0, 0.0}, {INFINITY, INFINITY}, {-INFINITY, INFINITY},
    {-8.0, 4.0}, {27.0, 9.0}, {-1.0, 1.0}, {0x1.f4p+12, 0x1.9p+8}, {-0x1.bp+34, 0x1.2p+23},  // 20^3, 27·2^30
    {0x1p-1074, 0x1p-716}, {-0x1p-1071, 0x1p-714}, {0x1.5p-1068, CR, NX, 0, NO_CODE, RN},
    {0x1.57p-1051, 0x1.88p-701}, {0x1p+1023, 0x1p+682}, {0x1.fffffffffffffp+1023, CR, NX},
    {0x1.fffffffffffffp+1020, CR, NX}, {2.0, CR, NX}, {-0x1.0000000000001p+0, CR, NX},
    {0x1.ffffffffffff8p+35, CR, NX},
});
const std::vector<Row<float>> kPow2o3f = with_nans<float>({
    {0.0f, 0.0f}, {-0.0f, 0.0f}, {INFINITY, INFINITY}, {-INFINITY, INFINITY},
    {-8.0f, 4.0f}, {-0x1.57p+8f, 0x1.88p+5f}, {0x1p-149f, CR, NX}, {0x1p-147f, 0x1p-98f},
    {0x1.fffffep+127f, CR, NX}, {3.0f, CR, NX},
    // Cubes of every odd part up to 255 and exponent (among them subnormal x) come out exact;
    // the others, near them, inexact.
    {27.0f, 9.0f}, {3375.0f, 225.0f}, {16581375.0f, 65025.0f}, {-9261.0f, 441.0f},
    {0x1.bp-143f, 0x1.2p-95f}, {0x1.fa05fep-7f, 0x1.fc02p-5f}, {0x1.bp+3f, CR, NX}, {0x1p+3f, 4.0f},
    {2.0f, CR, NX}, {0x1p+4f, CR, NX}, {16581377.0f, CR, NX}, {29.0f, CR, NX}, {0x1.bp-145f, CR, NX},
});
const std::vector<Row<double>> kPow3o2 = with_nans<double>({
    {0.0, 0.0}, {-0.0, 0.0}, {INFINITY, INFINITY}, {4.0, 8.0}, {0x1.9p+4, 125.0}, {1.0, 1.0},
    {0x1p-646, 0x1p-969}, {0x1p+680, 0x1p+1020}, {0x1.00801p+0, 0x1.00c03004p+0}, {0x1.00020001p+100, 0x1.000300030001p+150},
    {-1.0, NAN, INV, EDOM, code::pow3o2_domain}, {-INFINITY, NAN, INV, EDOM, code::pow3o2_domain},
    {-0x1p-1074, NAN, INV, EDOM, code::pow3o2_domain},
    {0x1.965fea53d6e3cp+682, CR, NX, 0, NO_CODE, RN},
    {0x1.965fea53d6e3dp+682, INFINITY, OV, ERANGE, code::pow3o2_overflow, RN},
    {0x1.fffffffffffffp+1023, INFINITY, OV, ERANGE, code::pow3o2_overflow, RN},
    {0x1p-1074, 0.0, UN, ERANGE, code::pow3o2_underflow, RN},
    {0x1.8p-690, CR, UN, ANY_ERRNO, code::pow3o2_underflow, RN}, {0x1.965fea53d6e3dp-682, CR, NX, 0, NO_CODE, RN},
    {0x1.0000000000001p-646, CR, NX, 0, NO_CODE, RN}, {0x1.0000000000001p+682, CR, NX, 0, NO_CODE, RN},
    {2.0, CR, NX},
});
const std::vector<Row<float>> kPow3o2f = with_nans<float>({
    {0.0f, 0.0f}, {-0.0f, 0.0f}, {INFINITY, INFINITY}, {4.0f, 8.0f}, {0x1.9p+4f, 125.0f},
    {-1.0f, NAN, INV, EDOM, code::pow3o2f_domain}, {-INFINITY, NAN, INV, EDOM, code::pow3o2f_domain},
    {0x1.428a2ep+85f, CR, NX, 0, NO_CODE, RN}, {0x1.428a30p+85f, INFINITY, OV, ERANGE, code::pow3o2f_overflow, RN},
    {0x1p-149f, 0.0f, UN, ERANGE, code::pow3o2f_underflow, RN}, {0x1.8p-90f, CR, UN, ANY_ERRNO, code::pow3o2f_underflow, RN},
    {0x1p-68f, 0x1p-102f}, {0x1.fffffep-69f, CR, NX, 0, NO_CODE, RN}, {0x1.fffffep+83f, CR, NX, 0, NO_CODE, RN}, {2.0f, CR, NX},
    // Squares near 1 and near the core's lower end; 4^k (1 - 2^-24), 2^-48 above a midpoint.
    {0x1.0404p+0f, 0x1.060c08p+0f}, {0x1.0c24p-50f, 0x1.126cd8p-75f}, {0x1.fffffep-1f, CR, NX, 0, NO_CODE, RN},
    {0x1.fffffep-51f, CR, NX, 0, NO_CODE, RN}, {0x1.fffffep-49f, CR, NX, 0, NO_CODE, RN},
});

// ---- plans -------------------------------------------------------------------------------------
template <class T> Sweep<T> plan(Func<T> f, T hi, std::initializer_list<T> edges, double rn, bool neg = true) {
    constexpr bool d = sizeof(T) == 8;
    Sweep<T> s{f, {{100000, {T(d ? 0x1p-30 : 0x1p-20), hi, Dist::log_uniform, neg}},
                  {10000, {T(d ? 0x1p-1074 : 0x1p-149), T(d ? 0x1p-30 : 0x1p-20), Dist::log_uniform, neg}}}};
    for (T e : edges) s.regions.push_back({4000, {e - e / 64, e + e / 64, Dist::uniform}});
    s.bound[0] = rn;
    s.bound[1] = s.bound[2] = s.bound[3] = 2.0;
    return s;
}

Sweep<double> expm1_plan() {
    return plan(func("expm1", mpfr_expm1, tsr_tiers_expm1).entry(::expm1), 709.78,
                {0x1p-8, -0x1p-8, 0x1p-4, -0x1p-4, 0.0054, -0.0054, 0.7, -0.7, 36.0, 40.2, 43.0, -38.8, 640.0, 709.7},
                0.55);
}
Sweep<double> expm1_kernel_plan() {
    Func<double> f{"expm1_k", 1, 1, {mpfr_ref(mpfr_expm1)}, {}};
    return plan(f.entry(__libm_expm1_k), 709.78, {0x1p-8, 40.2}, 0.55);
}
Sweep<float> expm1f_plan() {
    return plan(func("expm1f", mpfr_expm1, tsr_tiers_expm1f).entry(::expm1f), 88.72f,
                {0x1p-8f, 0.125f, -0.125f, 0.1767f, -0.1767f, 0.5f, 86.6f, -88.0f}, 0.51);
}
Sweep<double> exp2m1_plan() {
    return plan(func("exp2m1", mpfr_exp2m1, tsr_tiers_exp2m1, tsr_portable_tiers_exp2m1).entry(__libm_exp2m1),
                1023.99, {0x1p-57, 0.03125, -0.03125, 1.0, -1.0, 63.9, -63.9, 64.0, 1023.9}, 0.55);
}
Sweep<double> pow2o3_plan() {
    return plan(func("pow2o3", mpfr_pow2o3, tsr_tiers_pow2o3).entry(::pow2o3), 0x1.fffffffffffffp+1023,
                {1.0, -1.0, 2.0, 0x1p-1022}, 0.55);
}
Sweep<float> pow2o3f_plan() {
    return plan(func("pow2o3f", mpfr_pow2o3, tsr_tiers_pow2o3f).entry(::pow2o3f), 0x1.fffffep+127f,
                {1.0f, -1.0f, 2.0f, 0x1p-126f}, 0.51);
}
Sweep<double> pow3o2_plan() {
    return plan(func("pow3o2", mpfr_pow3o2, tsr_tiers_pow3o2).entry(::pow3o2), 0x1.fffffffffffffp+1023,
                {1.0, 0x1p-646, 0x1p-680, 0x1.965fea53d6e3dp-682, 0x1.965fea53d6e3dp+682}, 0.55, false);
}
Sweep<float> pow3o2f_plan() {
    return plan(func("pow3o2f", mpfr_pow3o2, tsr_tiers_pow3o2f).entry(::pow3o2f), 0x1.fffffep+127f,
                {1.0f, 0x1p-68f, 0x1p-84f, 0x1.428a3p+85f}, 0.51, false);
}
// powr on positive x: moderate powers, the whole range of x with small y, x near 1 with large
// y, and the bands of overflow and underflow.
template <class T> Sweep<T> powr_plan(Func<T> f, double rn) {
    constexpr bool d = sizeof(T) == 8;
    const T big = d ? T(0x1p1000) : T(0x1p120), tiny = d ? T(0x1p-1074) : T(0x1p-149);
    const T lim = d ? T(1100) : T(160);
    Sweep<T> s{f,
               {{40000, {T(0x1p-20), T(0x1p20)}, {T(-40), T(40), Dist::uniform}},
                {20000, {tiny, big}, {T(-1.5), T(1.5), Dist::uniform}},
                {20000, {T(0.999), T(1.001), Dist::uniform}, {T(-1e5), T(1e5), Dist::uniform}},
                {20000, {T(1.5), T(2.5), Dist::uniform}, {-lim, lim, Dist::uniform}},
                {10000, {T(0x1p-8), T(0x1p8)}, {T(0x1p-60), T(0x1p-10), Dist::log_uniform, true}}}};
    s.bound[0] = rn;
    s.bound[1] = s.bound[2] = s.bound[3] = 2.0;
    return s;
}
Sweep<double> powr_sweep() { return powr_plan(func("powr", mpfr_powr, tsr_tiers_powr).entry(::powr), 0.55); }
Sweep<float> powrf_sweep() { return powr_plan(func("powrf", mpfr_powr, tsr_tiers_powrf).entry(::powrf), 0.51); }

}  // namespace

TEST(Expm1Special, Rows) {
    check_rows(expm1_plan().f, kExpm1);
    check_rows(expm1f_plan().f, kExpm1f);
    check_rows(exp2m1_plan().f, kExp2m1);
    check_rows(powr_sweep().f, kPowr);
    check_rows(powrf_sweep().f, kPowrf);
    check_rows(pow2o3_plan().f, kPow2o3);
    check_rows(pow2o3f_plan().f, kPow2o3f);
    check_rows(pow3o2_plan().f, kPow3o2);
    check_rows(pow3o2f_plan().f, kPow3o2f);
}
// Every exact power of pow2o3f and pow3o2f, exact with no flag in every mode and tier:
// x = s^3 (pow2o3f, either sign) or s^2 (pow3o2f, where s^3 is a float) for every odd s up
// to 255 (beyond it s^3 has more than 24 bits) at every scale that keeps x and the power
// floats, subnormal x among them.
TEST(Expm1Special, ExactPowersf) {
    std::vector<Row<float>> cubes, squares;
    for (int s = 1; s <= 255; s += 2) {
        double c = double(s) * s * s, q = double(s) * s;
        for (int k = -60; k <= 60; ++k) {
            double x3 = std::ldexp(c, 3 * k), r3 = std::ldexp(q, 2 * k);
            if (x3 >= 0x1p-149 && x3 < 0x1p128 && double(float(x3)) == x3)
                cubes.push_back({float(x3), float(r3)}), cubes.push_back({-float(x3), float(r3)});
            double x2 = std::ldexp(q, 2 * k), r2 = std::ldexp(c, 3 * k);
            if (x2 >= 0x1p-149 && r2 >= 0x1p-126 && r2 < 0x1p128)
                squares.push_back({float(x2), float(r2)});
        }
    }
    EXPECT_GT(cubes.size(), 20000u);
    check_rows(pow2o3f_plan().f, cubes);
    check_rows(pow3o2f_plan().f, squares);
}
// The same for pow2o3 and pow3o2: odd s up to 255 and a few up to 2^17 (beyond it s^3 has
// more than 53 bits), every scale of x from the subnormals to the overflow.
TEST(Expm1Special, ExactPowers) {
    std::vector<Row<double>> cubes, squares;
    std::vector<double> odd;
    for (int s = 1; s <= 255; s += 2) odd.push_back(s);
    for (double s : {59049.0, 99999.0, 104729.0, 131069.0, 131071.0}) odd.push_back(s);
    for (double s : odd) {
        double c = s * s * s, q = s * s;
        for (int k = -360; k <= 341; k += (s > 255 ? 7 : 1)) {
            double x3 = std::ldexp(c, 3 * k), r3 = std::ldexp(q, 2 * k);
            if (x3 >= 0x1p-1074 && std::isfinite(x3) && std::ldexp(x3, -3 * k) == c)
                cubes.push_back({x3, r3}), cubes.push_back({-x3, r3});
            double x2 = std::ldexp(q, 2 * k), r2 = std::ldexp(c, 3 * k);
            if (r2 >= 0x1p-1022 && std::isfinite(r2)) squares.push_back({x2, r2});
        }
    }
    EXPECT_GT(cubes.size(), 90000u);
    check_rows(pow2o3_plan().f, cubes);
    check_rows(pow3o2_plan().f, squares);
}

TEST(Expm1Accuracy, Expm1) { sweep(expm1_plan()); }
TEST(Expm1Accuracy, Expm1Kernel) { sweep(expm1_kernel_plan()); }
TEST(Expm1Accuracy, Expm1f) { sweep(expm1f_plan()); }
TEST(Expm1Accuracy, Exp2m1) { sweep(exp2m1_plan()); }
TEST(Expm1Accuracy, Powr) { sweep(powr_sweep()); }
TEST(Expm1Accuracy, Powrf) { sweep(powrf_sweep()); }
TEST(Expm1Accuracy, Pow2o3) { sweep(pow2o3_plan()); }
TEST(Expm1Accuracy, Pow2o3f) { sweep(pow2o3f_plan()); }
TEST(Expm1Accuracy, Pow3o2) { sweep(pow3o2_plan()); }
TEST(Expm1Accuracy, Pow3o2f) { sweep(pow3o2f_plan()); }

// The Long run: every float, and the double functions on 10 million inputs.
TEST(Expm1Long, Floats) {
    for (auto s : {expm1f_plan(), pow2o3f_plan(), pow3o2f_plan()}) every_float(s);
}
TEST(Expm1Long, Doubles) {
    for (auto s : {expm1_plan(), exp2m1_plan(), pow2o3_plan(), pow3o2_plan(), powr_sweep()}) {
        s.scale = 70;
        sweep(s);
    }
    auto f = powrf_sweep();
    f.scale = 70;
    sweep(f);
}

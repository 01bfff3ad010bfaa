// The correctly rounded single-precision family: special values, thresholds and exact results
// as rows (correctly rounded in all four modes, exact flags); a random sample of every member
// checked bit for bit against MPFR in every mode and tier; flags and accuracy over regions;
// and, under the Long label, the completeness of the lists (every argument that reaches the
// rounding test) and every float of a member against MPFR.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <map>
#include <random>
#include <set>

#include "crf/crf_lists.h"
#include "crf/crf_quick_check.h"
#include "harness/harness.h"
#include "tessera.h"
#include "tsr/codes.h"

// Not exported from the shared library (no header declares it); the static library has it.
extern "C" float rsqrtf(float);

namespace {

using namespace th;
namespace code = tsr::code;

int ref_invsqrt(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t m) { return mpfr_rec_sqrt(r, x, m); }

// The functions taking the address of their argument, as functions of a float.
template <size_t N, size_t M>
Func<float> by_address(const char *name, MpFn1 ref, const tsr::TierFn<float (*)(const float *)> (&a)[N],
                       const tsr::TierFn<float (*)(const float *)> (&b)[M], float (*entry)(const float *)) {
    Func<float> f{name, 1, 1, {mpfr_ref(ref)}, {}};
    for (const auto &t : a) f.variants.push_back({t.name, t.tier, [fn = t.fn](const float *in, float *out) { out[0] = fn(in); }});
    for (const auto &t : b) f.variants.push_back({t.name, t.tier, [fn = t.fn](const float *in, float *out) { out[0] = fn(in); }});
    f.variants.push_back({"entry", tsr::Tier::ex, [entry](const float *in, float *out) { out[0] = entry(in); }});
    return f;
}

#define CRF(n, ref) func(#n, ref, tsr_tiers___libm_cr_##n, tsr_portable_tiers___libm_cr_##n).entry(__libm_cr_##n##_local)

Func<float> f_expf() { return CRF(expf, mpfr_exp); }
Func<float> f_exp2f() { return CRF(exp2f, mpfr_exp2); }
Func<float> f_exp10f() { return CRF(exp10f, mpfr_exp10); }
Func<float> f_expm1f() { return CRF(expm1f, mpfr_expm1); }
Func<float> f_exp2m1f() { return CRF(exp2m1f, mpfr_exp2m1).add("entry", tsr::Tier::ex, ::exp2m1f).add("entry", tsr::Tier::ex, ::__bwr_exp2m1f); }
Func<float> f_sinhf() { return CRF(sinhf, mpfr_sinh); }
Func<float> f_coshf() { return CRF(coshf, mpfr_cosh); }
Func<float> f_tanhf() { return CRF(tanhf, mpfr_tanh); }
Func<float> f_sinf() { return CRF(sinf, mpfr_sin); }
Func<float> f_cosf() { return CRF(cosf, mpfr_cos); }
Func<float> f_tanf() { return CRF(tanf, mpfr_tan); }
Func<float> f_asinf() { return CRF(asinf, mpfr_asin); }
Func<float> f_acosf() { return CRF(acosf, mpfr_acos); }
Func<float> f_atanf() { return CRF(atanf, mpfr_atan); }
Func<float> f_logf() { return CRF(logf, mpfr_log); }
Func<float> f_log2f() { return by_address("log2f", mpfr_log2, tsr_tiers___libm_cr_log2f, tsr_portable_tiers___libm_cr_log2f, __libm_cr_log2f_local); }
Func<float> f_log10f() { return by_address("log10f", mpfr_log10, tsr_tiers___libm_cr_log10f, tsr_portable_tiers___libm_cr_log10f, __libm_cr_log10f_local); }
Func<float> f_log1pf() { return CRF(log1pf, mpfr_log1p); }
Func<float> f_log2p1f() { return CRF(log2p1f, mpfr_log2p1).add("entry", tsr::Tier::ex, ::log2p1f).add("entry", tsr::Tier::ex, ::__bwr_log2p1f); }
Func<float> f_cbrtf() { return CRF(cbrtf, mpfr_cbrt); }
Func<float> f_invsqrtf() { return CRF(invsqrtf, ref_invsqrt).add("entry", tsr::Tier::ex, ::rsqrtf); }
Func<float> f_sincosf() {
    return func2("sincosf", mpfr_sin, mpfr_cos, tsr_tiers___libm_cr_sincosf, tsr_portable_tiers___libm_cr_sincosf)
        .entry(__libm_cr_sincosf_local);
}

const float kSNaN = f32(0x7fa00000), kNegSNaN = f32(0xff800001);
// NaNs pass through (quiet), a signalling one raising invalid.
std::vector<Row<float>> nans(std::vector<Row<float>> own) {
    std::vector<Row<float>> r = {{NAN, NAN}, {-NAN, NAN}, {kSNaN, NAN, INV}, {kNegSNaN, NAN, INV}};
    r.insert(r.end(), own.begin(), own.end());
    return r;
}
constexpr int EU = ERANGE_IF_ZERO;

// ---- rows: special values, the edges of every path, exact results ---------------------------
TEST(CrfSpecial, Exponentials) {
    check_rows(f_expf(), nans({
        {0.0f, 1.0f}, {-0.0f, 1.0f}, {INFINITY, INFINITY}, {-INFINITY, 0.0f},
        {0x1p-149f, CR, NX}, {-0x1.fffffep-26f, CR, NX}, {0x1p-25f, CR, NX}, {-0x1p-25f, CR, NX},
        {f32(0x42b17217), CR, NX}, {f32(0x42b17218), CR, OV, ERANGE, code::expf_overflow},  // 88.72283, 88.72284
        {0x1p+100f, CR, OV, ERANGE, code::expf_overflow},
        // e^x crosses 2^-126: underflow in nearest (a directed mode may round up to 2^-126).
        {f32(0xc2aeac4f), CR, NX}, {f32(0xc2aeac50), CR, UN, EU, code::expf_underflow, RN},
        {-103.0f, CR, UN, EU, code::expf_underflow}, {-0x1.9fe368p+6f, CR, UN, EU, code::expf_underflow},
        {-104.0f, CR, UN, EU, code::expf_underflow}, {-0x1p+100f, CR, UN, EU, code::expf_underflow},
    }));
    check_rows(f_exp2f(), nans({
        {0.0f, 1.0f}, {-0.0f, 1.0f}, {INFINITY, INFINITY}, {-INFINITY, 0.0f},
        {3.0f, 8.0f}, {-149.0f, 0x1p-149f}, {127.0f, 0x1p127f}, {-126.0f, 0x1p-126f},  // exact powers
        {-0x1p-26f, CR, NX}, {0x1p-25f, CR, NX}, {0x1.fffffep+6f, CR, NX},
        {128.0f, CR, OV, ERANGE, code::exp2f_overflow}, {-126.5f, CR, UN, EU, code::exp2f_underflow},
        {-150.0f, CR, UN, EU, code::exp2f_underflow}, {-0x1.2dfffep+7f, CR, UN, EU, code::exp2f_underflow},
        {-151.0f, CR, UN, EU, code::exp2f_underflow}, {-161.0f, CR, UN, EU, code::exp2f_underflow},
    }));
    check_rows(f_exp10f(), nans({
        {0.0f, 1.0f}, {-0.0f, 1.0f}, {INFINITY, INFINITY}, {-INFINITY, 0.0f},
        {3.0f, 1000.0f}, {10.0f, 1e10f}, {1.0f, 10.0f}, {-3.0f, CR, NX}, {11.0f, CR, NX},
        {0x1p-28f, CR, NX}, {-0x1p-27f, CR, NX},
        {f32(0x421a209a), CR, NX}, {f32(0x421a209b), CR, OV, ERANGE, code::exp10f_overflow},  // 38.53184
        {f32(0xc217b818), CR, NX}, {f32(0xc217b819), CR, UN, EU, code::exp10f_underflow, RN},  // 10^x at 2^-126
        {f32(0xc235d275), CR, UN, EU, code::exp10f_underflow}, {f32(0xc235d276), CR, UN, EU, code::exp10f_underflow},
    }));
    check_rows(f_expm1f(), nans({
        {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, INFINITY}, {-INFINITY, -1.0f},
        {0x1p-149f, CR, UN}, {-0x1p-127f, CR, UN}, {0x1.fffffep-25f, CR, NX}, {-0x1p-24f, CR, NX},
        {0.109375f, CR, NX}, {-17.9f, CR, NX}, {-18.0f, CR, NX}, {-100.0f, CR, NX},
        {0x1.62e42ep+6f, CR, NX}, {0x1.62e43p+6f, CR, OV, ERANGE, code::expm1f_overflow},
    }));
    check_rows(f_exp2m1f(), nans({
        {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, INFINITY}, {-INFINITY, -1.0f},
        {1.0f, 1.0f}, {10.0f, 1023.0f}, {-1.0f, -0.5f}, {-24.0f, -0x1.fffffep-1f}, {25.0f, CR, NX},
        {0x1p-149f, CR, UN}, {-0x1p-140f, CR, UN}, {0x1p-13f, CR, NX}, {-25.9f, CR, NX}, {-26.0f, CR, NX},
        {0x1.fffffep+6f, CR, NX}, {128.0f, CR, OV},
    }));
}

TEST(CrfSpecial, Hyperbolic) {
    check_rows(f_sinhf(), nans({
        {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, INFINITY}, {-INFINITY, -INFINITY},
        {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {0x1p-100f, CR, NX}, {-0x1.fffffep-13f, CR, NX}, {0x1p-12f, CR, NX},
        {0.021484375f, CR, NX},
        {0x1.65a9f8p+6f, CR, NX}, {-0x1.65a9fap+6f, CR, OV}, {90.0f, CR, OV}, {-0x1p+100f, CR, OV},
    }));
    check_rows(f_coshf(), nans({
        {0.0f, 1.0f}, {-0.0f, 1.0f}, {INFINITY, INFINITY}, {-INFINITY, INFINITY},
        {0x1p-149f, CR, NX, 0, NO_CODE, RN}, {0x1p-100f, CR, NX}, {-0x1.fffffep-13f, CR, NX}, {0x1p-12f, CR, NX},
        {0x1.65a9f8p+6f, CR, NX}, {-0x1.65a9fap+6f, CR, OV}, {0x1p+100f, CR, OV},
    }));
    check_rows(f_tanhf(), nans({
        {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, 1.0f}, {-INFINITY, -1.0f},
        {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {-0x1p-127f, CR, UN, 0, NO_CODE, RN}, {-0x1p-100f, CR, NX},
        {0x1.fffffep-13f, CR, NX}, {0x1p-12f, CR, NX},
        {0.0234375f, CR, NX}, {0x1.2ffffep+3f, CR, NX}, {-9.5f, CR, NX}, {10.0f, CR, NX},
        {0x1p+100f, CR, NX, 0, NO_CODE, RN},
    }));
}

TEST(CrfSpecial, Trigonometric) {
    for (auto f : {f_sinf(), f_tanf()})
        check_rows(f, nans({
            {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, NAN, INV}, {-INFINITY, NAN, INV},
            {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {-0x0.fffffep-126f, CR, UN, 0, NO_CODE, RN}, {0x1p-100f, CR, NX},
            {0x1.fffffep-13f, CR, NX}, {-0x1p-12f, CR, NX},
            {0x1p-14f, CR, NX}, {0x1p+16f, CR, NX}, {0x1p+22f, CR, NX}, {0x1.fffffep+127f, CR, NX},
            {-0x1.fffffep+127f, CR, NX}, {0x1.921fb6p+0f, CR, NX}, {0x1.921fb6p+1f, CR, NX},
        }));
    check_rows(f_cosf(), nans({
        {0.0f, 1.0f}, {-0.0f, 1.0f}, {INFINITY, NAN, INV}, {-INFINITY, NAN, INV},
        {0x1p-149f, CR, NX, 0, NO_CODE, RN}, {0x1p-100f, CR, NX}, {-0x1.fffffep-13f, CR, NX}, {0x1p-12f, CR, NX},
        {0x1p+16f, CR, NX},
        {0x1.fffffep+127f, CR, NX}, {0x1.921fb6p+0f, CR, NX},
    }));
    const std::vector<RowSC<float>> sc = {
        {{0.0f}, {0.0f, 1.0f}}, {{-0.0f}, {-0.0f, 1.0f}}, {{INFINITY}, {NAN, NAN}, INV}, {{NAN}, {NAN, NAN}},
        {{0x1p-149f}, {CR, CR}, UN, 0, NO_CODE, RN}, {{0x1p-100f}, {CR, CR}, NX}, {{-0x1p-13f}, {CR, CR}, NX}, {{0x1.921fb6p+0f}, {CR, CR}, NX},
        {{-0x1.fffffep+127f}, {CR, CR}, NX}, {{0x1p+22f}, {CR, CR}, NX},
    };
    check_rows(f_sincosf(), sc);
}

TEST(CrfSpecial, InverseTrigonometric) {
    check_rows(f_asinf(), nans({
        {0.0f, 0.0f}, {-0.0f, -0.0f}, {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {-0x1p-100f, CR, NX},
        {-0x1.fffffep-13f, CR, NX}, {0x1p-12f, CR, NX},
        {1.0f, CR, NX}, {-1.0f, CR, NX}, {0.5f, CR, NX},
        {0x1.000002p+0f, NAN, INV, EDOM, code::asinf_magnitude_above_1},
        {-INFINITY, NAN, INV, EDOM, code::asinf_magnitude_above_1},
    }));
    check_rows(f_acosf(), nans({
        {1.0f, 0.0f}, {-1.0f, CR, NX}, {0.0f, CR, NX}, {-0.0f, CR, NX}, {0x1p-149f, CR, NX},
        {0x1.10b46p-26f, CR, NX}, {0.5f, CR, NX}, {-0x1.fffffep-1f, CR, NX},
        {-0x1.000002p+0f, NAN, INV, EDOM, code::acosf_magnitude_above_1},
        {INFINITY, NAN, INV, EDOM, code::acosf_magnitude_above_1},
    }));
    check_rows(f_atanf(), nans({
        {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, CR, NX}, {-INFINITY, CR, NX},
        {0x1p-149f, CR, UN, 0, NO_CODE, RN}, {0x1p-100f, CR, NX}, {-0x1.fffffep-13f, CR, NX}, {0x1p-12f, CR, NX},
        {1.0f, CR, NX},
        {0x1p+26f, CR, NX}, {-0x1.fffffep+127f, CR, NX},
    }));
}

TEST(CrfSpecial, Logarithms) {
    std::vector<Row<float>> common = {
        {INFINITY, INFINITY}, {0.0f, -INFINITY, DZ}, {-0.0f, -INFINITY, DZ},
        {-INFINITY, NAN, INV}, {-1.0f, NAN, INV}, {-0x1p-149f, NAN, INV},
        {0x1.8p-148f, CR, NX}, {0x1.fffffep+127f, CR, NX}, {0x1.000002p+0f, CR, NX}, {0x1.fffffep-1f, CR, NX},
    };
    auto with = [&](std::vector<Row<float>> own) {
        own.insert(own.end(), common.begin(), common.end());
        return nans(own);
    };
    check_rows(f_logf(), with({{1.0f, 0.0f}, {2.0f, CR, NX}}));
    check_rows(f_log2f(), with({{1.0f, 0.0f}, {8.0f, 3.0f}, {0x1p-149f, -149.0f}, {0x1p+127f, 127.0f}, {0.5f, -1.0f}}));
    check_rows(f_log10f(), with({{1.0f, 0.0f}, {1000.0f, 3.0f}, {1e10f, 10.0f}, {10.0f, 1.0f}, {1e11f, CR, NX}}));
    std::vector<Row<float>> p1 = {
        {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, INFINITY}, {-1.0f, -INFINITY, DZ},
        {-INFINITY, NAN, INV}, {-0x1.000002p+0f, NAN, INV}, {-0x1.fffffep-1f, CR, NX},
        {0x1p-149f, CR, UN}, {-0x1p-127f, CR, UN}, {0x1.fffffep-25f, CR, NX}, {-0x1p-24f, CR, NX},
        {0x1.fffffep+127f, CR, NX},
    };
    check_rows(f_log1pf(), nans(p1));
    p1[6] = {-0x1.fffffep-1f, -24.0f};  // log2(2^-24): exact
    p1.insert(p1.end(), {{1.0f, 1.0f}, {7.0f, 3.0f}, {-0.5f, -1.0f}, {0x1.fffffep+23f, 24.0f}, {0x1.fffffcp+23f, CR, NX}});
    check_rows(f_log2p1f(), nans(p1));
}

TEST(CrfSpecial, Roots) {
    check_rows(f_cbrtf(), nans({
        {0.0f, 0.0f}, {-0.0f, -0.0f}, {INFINITY, INFINITY}, {-INFINITY, -INFINITY},
        {27.0f, 3.0f}, {-0x1p-147f, -0x1p-49f}, {0x1.bp+13f, 24.0f}, {-0x1p-126f, -0x1p-42f}, {0x1p-149f, CR, NX},
        {2.0f, CR, NX}, {0x1.fffffep+127f, CR, NX}, {-0x1.fffffcp-127f, CR, NX},
    }));
    check_rows(f_invsqrtf(), nans({
        {0.0f, INFINITY, DZ}, {-0.0f, -INFINITY, DZ}, {INFINITY, 0.0f}, {-INFINITY, NAN, INV},
        {-1.0f, NAN, INV}, {4.0f, 0.5f}, {0x1p-148f, 0x1p+74f}, {0x1p+126f, 0x1p-63f},
        {0x1p-149f, CR, NX}, {2.0f, CR, NX}, {0x1.fffffep+127f, CR, NX},
    }));
}

// ---- random sample: bit for bit in every mode and tier ---------------------------------------
struct Member {
    Func<float> (*f)();
    float lo, hi;  // magnitudes drawn log-uniformly, both signs
};
const Member kMembers[] = {
    {f_expf, 0x1p-30f, 110.0f}, {f_exp2f, 0x1p-30f, 160.0f}, {f_exp10f, 0x1p-30f, 46.0f},
    {f_expm1f, 0x1p-30f, 90.0f}, {f_exp2m1f, 0x1p-149f, 130.0f}, {f_sinhf, 0x1p-14f, 95.0f},
    {f_coshf, 0x1p-14f, 95.0f}, {f_tanhf, 0x1p-14f, 12.0f}, {f_sinf, 0x1p-14f, 0x1p+127f},
    {f_cosf, 0x1p-14f, 0x1p+127f}, {f_tanf, 0x1p-14f, 0x1p+127f}, {f_asinf, 0x1p-14f, 1.0f},
    {f_acosf, 0x1p-30f, 1.0f}, {f_atanf, 0x1p-14f, 0x1p+30f}, {f_logf, 0x1p-149f, 0x1p+127f},
    {f_log2f, 0x1p-149f, 0x1p+127f}, {f_log10f, 0x1p-149f, 0x1p+127f}, {f_log1pf, 0x1p-30f, 0x1p+127f},
    {f_log2p1f, 0x1p-149f, 0x1p+127f}, {f_cbrtf, 0x1p-149f, 0x1p+127f}, {f_invsqrtf, 0x1p-149f, 0x1p+127f},
};

std::vector<float> sample(float lo, float hi, size_t n, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u(std::log2(double(lo)), std::log2(double(hi)));
    std::vector<float> v;
    for (size_t i = 0; i < n; ++i) {
        float x = float(std::exp2(u(g)));
        v.push_back(g() & 1 ? -x : x);
    }
    return v;
}

TEST(CrfSample, EveryModeEveryTier) {
    unsigned seed = 23;
    for (const auto &m : kMembers) {
        std::vector<Row<float>> rows;
        for (float x : sample(m.lo, m.hi, 3000, seed++)) rows.push_back({x, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE});
        check_rows(m.f(), rows);
    }
    std::vector<RowSC<float>> rows;
    for (float x : sample(0x1p-14f, 0x1p+127f, 3000, seed)) rows.push_back({{x}, {CR, CR}, ANY_FLAGS, ANY_ERRNO, ANY_CODE});
    check_rows(f_sincosf(), rows);
}

// A member by the name its lists use.
Func<float> member_func(const std::string &name) {
    static const std::map<std::string, Func<float> (*)()> fs = {
        {"expf", f_expf}, {"exp2f", f_exp2f}, {"exp10f", f_exp10f}, {"expm1f", f_expm1f}, {"exp2m1f", f_exp2m1f},
        {"sinhf", f_sinhf}, {"coshf", f_coshf}, {"tanhf", f_tanhf}, {"sinf", f_sinf}, {"cosf", f_cosf},
        {"tanf", f_tanf}, {"asinf", f_asinf}, {"acosf", f_acosf}, {"atanf", f_atanf}, {"logf", f_logf},
        {"log2f", f_log2f}, {"log10f", f_log10f}, {"log1pf", f_log1pf}, {"log2p1f", f_log2p1f},
        {"cbrtf", f_cbrtf}, {"invsqrtf", f_invsqrtf}};
    return fs.at(name)();
}

// The rows of a list of "member key" lines (a float by its bits), each row made by `row`.
template <class Make> std::map<std::string, std::vector<Row<float>>> listed(const char *path, Make row) {
    std::map<std::string, std::vector<Row<float>>> rows;
    FILE *in = std::fopen(path, "r");
    EXPECT_TRUE(in) << path;
    if (!in) return rows;
    char name[32];
    unsigned key;
    while (std::fscanf(in, "%31s %x", name, &key) == 2) row(rows[name], std::string(name), f32(key));
    std::fclose(in);
    return rows;
}

// The arguments the lists hold, each bit for bit in every mode and tier: the hard cases.
TEST(CrfSample, ListedArguments) {
    static const std::set<std::string> symmetric = {"sinhf", "coshf", "tanhf", "sinf", "cosf",
                                                    "tanf", "asinf", "atanf", "cbrtf"};
    auto rows = listed(TSR_SOURCE_DIR "/tools/gen/crf_hard.txt", [](auto &r, const std::string &n, float x) {
        r.push_back({x, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE});
        if (symmetric.count(n)) r.push_back({-x, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE});
    });
    ASSERT_FALSE(rows.empty());
    for (auto &[n, r] : rows) check_rows(member_func(n), r);
}

// The arguments that reach the extended careful phase of the logarithms, log1p, log2p1 and
// exp2m1 (found by CrfLong.CarefulPhaseCases over all their floats), in every mode and tier.
TEST(CrfSample, CarefulPhaseCases) {
    auto rows = listed(TSR_SOURCE_DIR "/tests/crf/careful_cases.txt", [](auto &r, const std::string &, float x) {
        r.push_back({x, CR, std::fabs(x) < 0x1p-100f ? int(ANY_FLAGS) : int(NX), ANY_ERRNO, ANY_CODE});
    });
    EXPECT_EQ(rows.size(), 6u);
    for (auto &[n, r] : rows) check_rows(member_func(n), r);
}

// Flags and accuracy over regions: no flag without its cause, every flag that is due.
TEST(CrfAccuracy, Regions) {
    for (const auto &m : kMembers) {
        Sweep<float> s{m.f(), {{20000, {m.lo, m.hi, Dist::log_uniform, true}}}};
        s.bound[0] = 0.5;
        s.bound[1] = s.bound[2] = s.bound[3] = 1.0;
        sweep(s);
    }
}

// The edges of the quick range and the arguments it hands to the careful route (exact
// results, values on the grid), correctly rounded in every mode and tier.
TEST(CrfSample, QuickRangeEdges) {
    auto at = [](std::initializer_list<uint32_t> keys) {
        std::vector<Row<float>> r;
        for (uint32_t k : keys) r.push_back({f32(k), CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE});
        return r;
    };
    // |x| around 2^-25, around the overflow and underflow ends, integers (exact 2^n)
    check_rows(f_expf(), at({0x32ffffff, 0x33000000, 0x33000001, 0xb3000001, 0x42b17216, 0x42b17217, 0xc2cfffff, 0xc2d00000, 0xc2aeac4f, 0xc2aeac50}));
    check_rows(f_exp2f(), at({0x33000000, 0x42fe0000, 0x42feffff, 0x42ffffff, 0xc2fc0000, 0xc2fc0001, 0xc316ffff, 0xc3160000, 0x3f800001, 0x3f7fffff}));
    // (and the floats of [1, 10] with four significant bits, which the exact powers' test passes on)
    check_rows(f_exp10f(), at({0x31ffffff, 0x32000000, 0x40400000, 0xc0400000, 0x421a209a, 0xc235d275, 0xc217b818, 0xc217b819,
                               0x3f900000, 0x3fc00000, 0x41080000, 0x41200001, 0x411fffff, 0x3f7fffff}));
    // |x| around 1/2 (below it, the careful route), -18, the overflow ends
    check_rows(f_expm1f(), at({0x3effffff, 0x3f000000, 0xbeffffff, 0xbf000000, 0xc18fffff, 0xc1900000, 0x42b17217}));
    check_rows(f_coshf(), at({0x397fffff, 0x39800000, 0x42b3ffff, 0xc2b3ffff, 0x3f000000}));
    check_rows(f_sinhf(), at({0x3effffff, 0x3f000000, 0xbf000000, 0x42b3ffff, 0xc2b3ffff}));
    check_rows(f_tanhf(), at({0x3e7fffff, 0x3e800000, 0xbe800000, 0x4117ffff, 0xc117ffff, 0x41180000}));
    // exp2m1: |x| around 1/2, -26, 128 (the largest below it overflows in the upward modes)
    check_rows(f_exp2m1f(), at({0x3effffff, 0x3f000000, 0xbeffffff, 0xbf000000, 0xc1cfffff, 0xc1d00000, 0x42ffffff, 0x42fe0000}));
    // 1/sqrt x: the least and largest floats, powers of 4 and their neighbours
    check_rows(f_invsqrtf(), at({0x00000001, 0x00000002, 0x007fffff, 0x00800000, 0x7f7fffff, 0x3f800000, 0x3f7fffff,
                                 0x3f800001, 0x40800000, 0x40000000, 0x7e800000, 0x01000000}));
    // the inverse functions: the ends of their quick ranges, 1/64 steps, the largest float
    auto inv = at({0x397fffff, 0x39800000, 0x3f7fffff, 0x3f800000, 0x3c800000, 0x3f7c0000, 0x3f000000,
                   0xbf7fffff, 0xb9800000, 0xbf000000});
    check_rows(f_asinf(), inv);
    check_rows(f_acosf(), inv);
    check_rows(f_atanf(), at({0x39800000, 0x3f800000, 0x3f800001, 0x3f7fffff, 0x7f7fffff, 0xff7fffff, 0x4c800000}));
    // the ends of the polynomial-only range, -1 and 2^k - 1 and their neighbours, the largest
    auto log1ps = at({0x33800000, 0xb3800000, 0x3b7fffff, 0x3b800000, 0xbb000000, 0xbb000001, 0xbf7fffff,
                      0x3f800000, 0x3f7fffff, 0x40400000, 0x4b7fffff, 0x4b800000, 0x5a800000, 0x7f7fffff});
    check_rows(f_log1pf(), log1ps);
    check_rows(f_log2p1f(), log1ps);
    // powers of 2 from 2^23 on: log2(1 + 2^k) just above k, in every mode, inexact
    std::vector<Row<float>> pow2s;
    for (uint32_t k = 23; k < 128; k += 13) pow2s.push_back({f32((k + 127) << 23), CR, NX});
    pow2s.push_back({0x1p127f, CR, NX});
    check_rows(f_log2p1f(), pow2s);
    // the least and largest floats, 1 and its neighbours (the rows where c = 1), their edges
    auto logs = at({0x00000001, 0x007fffff, 0x00800000, 0x7f7fffff, 0x3f7fffff, 0x3f800000, 0x3f800001,
                    0x3f7f8000, 0x3f7f7fff, 0x3f810000, 0x3f80ffff, 0x3f330000, 0x3f32ffff, 0x41200000, 0x42c80000});
    check_rows(f_logf(), logs);
    check_rows(f_log2f(), logs);
    check_rows(f_log10f(), logs);
    // the ends of the quick range of sine and cosine, multiples of pi/256 near and far
    auto trig = at({0x397fffff, 0x39800000, 0x477fffff, 0x47800000, 0xc77fffff, 0x3c490fdb, 0x40490fdb, 0x3fc90fdb, 0x46c90fdb, 0xc0490fdb});
    check_rows(f_sinf(), trig);
    check_rows(f_cosf(), trig);
    check_rows(f_tanf(), trig);
    std::vector<RowSC<float>> rows;
    for (const auto &r : trig) rows.push_back({{r.in[0]}, {CR, CR}, ANY_FLAGS, ANY_ERRNO, ANY_CODE});
    check_rows(f_sincosf(), rows);
}

// Every float whose significand's odd part is an odd cube n^3 (n < 2^8), in every exponent of
// both signs: the perfect cubes (exact, no inexact) at the exponents that are multiples of 3,
// the others inexact; the quick phase of tier l9 must hand all the cubes to the careful route.
TEST(CrfSample, CubesAndOddCubes) {
    std::vector<Row<float>> rows;
    for (uint32_t n = 1; n < 256; n += 2)
        for (int e = -149; e < 128; e += (n % 7 == 1 ? 1 : 5)) {
            float x = std::ldexp(float(n * n * n), e);
            if (x == 0 || std::isinf(x)) continue;
            int flags = (e % 3 + 3) % 3 == 0 ? NONE : NX;  // x = (n 2^(e/3))^3 exactly, or inexact
            rows.push_back({x, CR, flags, ANY_ERRNO, ANY_CODE});
            rows.push_back({-x, CR, flags, ANY_ERRNO, ANY_CODE});
        }
    check_rows(f_cbrtf(), rows);
}

// The quick phase of tier l9 and of the z0 build against tier ex, a spread of the range.
TEST(CrfSample, QuickAgainstCareful) {
    for (bool portable : {false, true})
        for (const auto &p : crf_quick::pairs(portable))
            for (auto &s : crf_quick::differences(p, 2, 4099)) ADD_FAILURE() << (portable ? "z0 " : "l9 ") << s;
}

// ---- Long: the lists are complete; every float against MPFR --------------------------------
TEST(CrfLong, ListsComplete) {
    for (const auto &r : crf_lists::runs()) {
        auto v = crf_lists::unsettled(r, 2);
        for (auto &s : v) ADD_FAILURE() << "unsettled and unlisted: " << s;
        std::printf("[  LISTS   ] %s: %zu unsettled arguments without a row\n", r.what, v.size());
    }
}

// The members that settle what their double kernel leaves open by an extended careful phase:
// every argument that reaches it (collected through the test hook on tier ex's body) against
// MPFR in every mode and tier, inexact raised and nothing else.  CRF_ONLY=name: one member;
// CRF_CAREFUL_OUT=file: the arguments appended to the file ("member key" lines, the form of
// tests/crf/careful_cases.txt).
TEST(CrfLong, CarefulPhaseCases) {
    const char *only = std::getenv("CRF_ONLY");
    const char *save = std::getenv("CRF_CAREFUL_OUT");
    for (const auto &r : crf_lists::careful_runs()) {
        if (only && std::string(only) != r.what) continue;
        std::vector<Row<float>> rows;
        auto lines = crf_lists::unsettled(r, 2);
        std::sort(lines.begin(), lines.end());
        if (FILE *out = save ? std::fopen(save, "a") : nullptr) {
            for (const auto &line : lines) std::fprintf(out, "%s\n", line.c_str());
            std::fclose(out);
        }
        for (const auto &line : lines) {
            float x = f32(uint32_t(std::strtoul(line.c_str() + line.find(' ') + 1, nullptr, 16)));
            // (2^x - 1 of a tiny x may be subnormal: underflow too)
            rows.push_back({x, CR, std::fabs(x) < 0x1p-100f ? int(ANY_FLAGS) : int(NX), ANY_ERRNO, ANY_CODE});
        }
        std::printf("[ CAREFUL  ] %s: %zu arguments reach the careful phase\n", r.what, rows.size());
        check_rows(member_func(r.what), rows);
    }
}

TEST(CrfLong, EveryFloat) {
    // CRF_STRIDE (default 1): every stride-th float; CRF_ONLY=name: one member.
    const char *st = std::getenv("CRF_STRIDE");
    const char *only = std::getenv("CRF_ONLY");
    uint32_t stride = st ? uint32_t(std::strtoul(st, nullptr, 0)) : 1;
    for (const auto &m : kMembers) {
        Sweep<float> s{m.f(), {}};
        if (only && s.f.name != only) continue;
        std::printf("[  EVERY   ] %s: every %u-th float\n", s.f.name.c_str(), stride);
        s.bound[0] = 0.5;
        s.bound[1] = s.bound[2] = s.bound[3] = 1.0;
        if (stride == 1) {
            every_float(s);
            continue;
        }
        // MPFR's 256-bit reference says nothing of the directed roundings where f(x) differs
        // from x, 1 or -1 by less than 2^-256 relative: those rows are checked in nearest.
        const bool saturates = s.f.name == "tanhf" || s.f.name == "expm1f" || s.f.name == "exp2m1f";
        std::vector<Row<float>> rows;
        for (uint64_t b = 0; b <= 0xffffffffu; b += stride) {
            float x = f32(uint32_t(b));
            bool rn = std::fabs(x) < 0x1p-100f || (saturates && std::fabs(x) > 80.0f);
            rows.push_back({x, CR, ANY_FLAGS, ANY_ERRNO, ANY_CODE, rn ? unsigned(RN) : 0u});
        }
        check_rows(s.f, rows);
    }
}

// Every float of the quick range of tier l9 against tier ex (CRF_QUICK_STRIDE: every N-th),
// and of the z0 build every 61st; CRF_QUICK_ONLY restricts the run to one member.
TEST(CrfLong, QuickAgainstCareful) {
    const char *st = std::getenv("CRF_QUICK_STRIDE");
    const char *only = std::getenv("CRF_QUICK_ONLY");
    uint32_t stride = st ? uint32_t(std::strtoul(st, nullptr, 0)) : 1;
    for (bool portable : {false, true})
        for (const auto &p : crf_quick::pairs(portable)) {
            if (only && std::string(only) != p.what) continue;
            uint64_t n = 0;
            auto v = crf_quick::differences(p, 2, portable ? 61 * stride : stride, &n);
            for (auto &s : v) ADD_FAILURE() << (portable ? "z0 " : "l9 ") << s;
            std::printf("[  QUICK   ] %s %s: %llu floats, %zu differences\n", portable ? "z0" : "l9", p.what,
                        (unsigned long long)n, v.size());
        }
}

}  // namespace

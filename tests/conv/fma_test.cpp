// Fused multiply-add: fma and fmaf in every variant against the processor's instruction
// (special operands, and generated hard operands in the four modes); fmal against MPFR.
#include "fma_cases.h"

using namespace fmat;

namespace {

Variants<double> fma_variants() {
    return variants<double>(tsr_tiers_fma, ::fma, __bwr_fma, __libm_fma_d1, true);
}
Variants<float> fmaf_variants() {
    return variants<float>(tsr_tiers_fmaf, ::fmaf, __bwr_fmaf, __libm_fmaf_d1, false);
}

// Every combination of the special operands and a few ordinary ones, as x, y and z.
template <class T>
std::vector<Triple<T>> specials() {
    using L = std::numeric_limits<T>;
    std::vector<T> v = {T(0), -T(0), T(1), -T(1), T(2), T(0.75), L::denorm_min(), -L::denorm_min(),
                        L::min(), -L::min(), L::max(), -L::max(), L::infinity(), -L::infinity(),
                        T(3) * L::denorm_min(), std::nextafter(L::min(), T(0))};
    if constexpr (sizeof(T) == 8) {
        for (uint64_t b : {0x7ff8000000000001ull, 0xfff8000000000002ull, 0x7ff0000000000003ull, 0xfff4000000000004ull})
            v.push_back(from<T>(b));
    } else {
        for (uint32_t b : {0x7fc00001u, 0xffc00002u, 0x7f800003u, 0xffa00004u}) v.push_back(from<T>(b));
    }
    std::vector<Triple<T>> out;
    for (T x : v)
        for (T y : v)
            for (T z : v) out.push_back({x, y, z});
    return out;
}

// The rounding error of a product comes back exactly; a result just under 2^emin that rounds
// up to it raises no underflow; z far below the product decides by the sticky bit alone.
template <class T>
std::vector<Triple<T>> named() {
    using L = std::numeric_limits<T>;
    constexpr int p = L::digits;
    T u = std::ldexp(T(1), -p + 1);  // ulp of 1
    T mn = L::min();
    return {
        {T(0x1.8p-600L), T(0x1.8p-600L), -T(0x1.2p-1199L)},
        {T(1) + u, T(1) - u, -T(1)},
        {T(1) + u, T(1) + u, -(T(1) + 2 * u)},
        {mn * (T(1) - u), T(1) + u / 4, T(0)},             // just below 2^emin, near the carry
        {std::nextafter(mn, T(0)), T(1) + u, -T(0)},
        {mn, T(1) - u / 2, T(0)},
        {T(1), T(1) + u, std::ldexp(T(1), -2 * p)},        // sticky bit past the half
        {T(1), T(1) + u, -std::ldexp(T(1), -2 * p)},
        {T(1) + 2 * u, T(1), std::ldexp(T(1), -p) },       // exactly half-way, even
        {T(1) + u, T(1), std::ldexp(T(1), -p)},            // exactly half-way, odd
        {L::max(), T(1) + u, -L::max()},
        {std::ldexp(T(1), L::max_exponent - 1), T(2), -L::max()},
        {std::ldexp(T(1), L::max_exponent - 1), T(2) - u, std::ldexp(T(1), L::max_exponent - p - 1)},
        {T(0x1p-200L), T(0x1p-200L), -T(0)},
        {-T(0x1p-200L), T(0x1p-200L), T(0)},
    };
}

TEST(Fma, Specials) {
    EXPECT_EQ(check(fma_variants(), specials<double>(), "fma"), 0);
    EXPECT_EQ(check(fmaf_variants(), specials<float>(), "fmaf"), 0);
    EXPECT_EQ(check(fma_variants(), named<double>(), "fma"), 0);
    EXPECT_EQ(check(fmaf_variants(), named<float>(), "fmaf"), 0);
}

TEST(Fma, HardOperands) {
    EXPECT_EQ(check(fma_variants(), generate<double>(11, 100000), "fma"), 0);
    EXPECT_EQ(check(fmaf_variants(), generate<float>(12, 100000), "fmaf"), 0);
}

// A zero z in the double bodies: the product's sign, also for a zero product.
TEST(Fma, ZeroAddendKeepsProductSign) {
    for (auto fn : {__libm_fma_ex, __libm_fma_e7, __bwr_fma}) {
        EXPECT_EQ(bits(fn(-0.0, 1.0, 0.0)), bits(-0.0));
        EXPECT_EQ(bits(fn(0.0, 1.0, -0.0)), bits(0.0));
        EXPECT_EQ(bits(fn(-0x1p-600, 0x1p-600, 0.0)), bits(-0.0));
    }
    EXPECT_EQ(bits(__libm_fmaf_ex(-0.0f, 1.0f, 0.0f)), bits(-0.0f));
    EXPECT_EQ(bits(__libm_fmaf_e7(-0.0f, 1.0f, 0.0f)), bits(0.0f));  // the rule of addition
}

// ---- fmal against MPFR ------------------------------------------------------------------------
// The exact x*y + z (precision enough for any gap), rounded to the extended format in the
// mode with its subnormals; flags: inexact, overflow, and underflow when tiny after rounding
// to 64 bits at unbounded exponent and inexact.
Expect<long double> fmal_ref(long double x, long double y, long double z, int mode) {
    mpfr_rnd_t rnd = kModes[mode].rnd;
    Mp mx(64), my(64), mz(64);
    set(mx, x);
    set(my, y);
    set(mz, z);
    bool xy = mpfr_regular_p(mx) && mpfr_regular_p(my), zr = mpfr_regular_p(mz);
    long ex = xy ? mpfr_get_exp(mx) + mpfr_get_exp(my) : 0;
    long ez = zr ? mpfr_get_exp(mz) : 0;
    if (!xy || !zr) ex = ez = 0;
    Mp exact(std::labs(ex - ez) + 200);
    mpfr_fma(exact, mx, my, mz, rnd);  // exact: the sign of a zero follows the mode
    long double v = round_to<long double>(exact, rnd);
    int flags = NONE;
    if (mpfr_nan_p(exact)) return {qnan<long double>(), INV};  // inf * 0, inf - inf: any quiet NaN
    if (!xy || mpfr_inf_p(mz)) return {v, NONE};  // a zero product, an infinite operand: exact
    if (mpfr_zero_p(exact)) return {v, NONE};
    Mp t(64);
    mpfr_set(t, exact, rnd);
    if (mpfr_cmp(t, exact) != 0) flags |= NX;
    if (mpfr_cmp_ld(t, std::numeric_limits<long double>::max()) > 0 ||
        mpfr_cmp_ld(t, -std::numeric_limits<long double>::max()) < 0)
        flags |= OV;
    Mp a(64);
    mpfr_abs(a, t, MPFR_RNDN);
    bool tiny = mpfr_cmp_ld(a, std::numeric_limits<long double>::min()) < 0;
    set(t, v);
    bool inexact = mpfr_cmp(t, exact) != 0;
    if (inexact) flags |= NX;
    if (tiny && inexact) flags |= UN;
    return {v, flags};
}

long check_fmal(const std::vector<Triple<long double>> &ts) {
    Calls<long double, long double, long double, long double> c;
    add_call(c, "fmal", ::fmal);
    return check_calls("fmal", c, ts, ALL_MODES, [](const auto &, const Triple<long double> &t, int mode) {
        return std::apply([&](auto... a) { return fmal_ref(a..., mode); }, t);
    });
}

// Extended operands from double ones with their low significand bits filled at random, and
// scaled into the extended range's ends.
std::vector<Triple<long double>> extended(uint64_t seed, size_t n) {
    std::mt19937_64 rng(seed);
    auto widen = [&](double d, int shift) {
        long double x = d;
        if (x == 0 || std::isinf(x) || std::isnan(x)) return x;
        if (rng() & 1) x += std::ldexp(x, -53) * (long double)(rng() & 2047) / 2048;
        return std::ldexp(x, shift);
    };
    std::vector<Triple<long double>> out;
    for (const auto &t : generate<double>(seed, n)) {
        int s = int(rng() % 3) == 0 ? (rng() & 1 ? 15000 : -15300) : 0;
        int sx = s / 2, sy = s - s / 2;
        auto [x, y, z] = t;
        long double wx = widen(x, sx), wy = widen(y, sy);
        out.push_back({wx, wy, widen(z, rng() & 1 ? s : s + int(rng() % 140) - 70)});
    }
    return out;
}

TEST(Fmal, AgainstMpfr) {
    EXPECT_EQ(check_fmal(extended(21, 100000)), 0);
    std::vector<Triple<long double>> sp;
    for (const auto &[x, y, z] : specials<double>())
        if (!std::isnan(x) && !std::isnan(y) && !std::isnan(z)) sp.push_back({x, y, z});
    long double mn = std::numeric_limits<long double>::min(), mx = std::numeric_limits<long double>::max();
    for (long double z : {mn, -mn, mx, -mx, 0.0L, -0.0L})
        for (long double x : {std::nextafter(mn, 0.0L), mn, 1.0L + 0x1p-63L, 1.0L - 0x1p-64L, mx, 0x1p-8000L})
            sp.push_back({x, 1.0L + 0x1p-63L, z});
    EXPECT_EQ(check_fmal(sp), 0);
}

// The caller's x87 precision field at 53 bits: fmal still rounds to 64 bits, and leaves the
// field as it found it.
TEST(Fmal, UnderDoublePrecisionControl) {
    const uint16_t cw = x87_cw_now();
    set_x87_cw(uint16_t((cw & ~0x300) | 0x200));
    EXPECT_EQ(check_fmal(extended(22, 5000)), 0);
    set_x87_cw(cw);
}

// NaN operands: a quiet NaN back, invalid only for a signalling one or inf * 0.
TEST(Fmal, Nans) {
    using LD = long double;
    const LD q = qnan<LD>(), s = snan<LD>(), inf = INFINITY;
    Calls<LD, LD, LD, LD> c;
    add_call(c, "fmal", ::fmal);
    std::vector<CallRow<LD, LD, LD, LD>> rows = {
        {{q, 1, 1}, {q}}, {{1, q, 1}, {q}}, {{1, 1, q}, {q}}, {{s, 1, 1}, {q, INV}},
        {{1, 1, s}, {q, INV}}, {{0, inf, q}, {q}}, {{inf, 0, 1}, {q, INV}},
    };
    EXPECT_EQ(check_calls("fmal", c, rows), 0);
}

}  // namespace

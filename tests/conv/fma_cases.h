// Fused multiply-add: the processor's FMA instruction as the reference for fma and fmaf
// (bits, NaN payloads included, and flags), every variant, the four modes; and generators of
// the operands where a software FMA goes wrong.
#pragma once
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "harness/harness.h"
#include "tessera.h"

extern "C" double __libm_fma_d1(double, double, double);
extern "C" float __libm_fmaf_d1(float, float, float);

namespace fmat {
using namespace th;

// The instruction, operands in the order x, y, z (the first NaN of them comes back).
__attribute__((target("fma"), noinline)) inline double hw(double x, double y, double z) {
    asm volatile("vfmadd231sd %2, %1, %0" : "+x"(z) : "x"(x), "x"(y));
    return z;
}
__attribute__((target("fma"), noinline)) inline float hw(float x, float y, float z) {
    asm volatile("vfmadd231ss %2, %1, %0" : "+x"(z) : "x"(x), "x"(y));
    return z;
}

// Every variant: the tiers, the entry, the reproducible form and the d1 body (portable here).
// `product_sign` names those where a zero z leaves the product's sign, even for a zero product.
template <class T>
struct Variants {
    Calls<T, T, T, T> calls;
    std::vector<std::string> product_sign;
};
template <class T, size_t N>
Variants<T> variants(const tsr::TierFn<T (*)(T, T, T)> (&list)[N], T (*entry)(T, T, T), T (*bwr)(T, T, T),
                     T (*d1)(T, T, T), bool e7_product_sign) {
    Variants<T> v;
    add_tiers(v.calls, list);
    add_call(v.calls, "entry", entry);
    add_call(v.calls, "bwr", bwr);
    add_call(v.calls, "d1", d1, tsr::Tier::l9);
    v.product_sign = {"ex", "bwr"};
    if (e7_product_sign) v.product_sign.push_back("e7");
    return v;
}

template <class T>
using Triple = std::tuple<T, T, T>;

template <class T>
using Bits = std::conditional_t<sizeof(T) == 8, uint64_t, uint32_t>;
template <class T>
Bits<T> bits(T x) {
    Bits<T> b;
    std::memcpy(&b, &x, sizeof b);
    return b;
}
template <class T>
T from(Bits<T> b) {
    T x;
    std::memcpy(&x, &b, sizeof b);
    return x;
}

// Generators of hard operands.  Each class aims at one way of going wrong.
template <class T>
class Gen {
    static constexpr int p = std::numeric_limits<T>::digits;
    static constexpr int emin = std::numeric_limits<T>::min_exponent - 1;  // 2^emin: least normal
    static constexpr int emax = std::numeric_limits<T>::max_exponent - 1;
    std::mt19937_64 rng_;
    uint64_t r() { return rng_(); }
    int between(int lo, int hi) { return lo + int(r() % uint64_t(hi - lo + 1)); }
    T sign(T x) { return r() & 1 ? -x : x; }
    // A significand in [1, 2): random, short (few bits set: products come out exact), or
    // with long runs of ones or zeros.
    T sig() {
        uint64_t m = r() >> (64 - (p - 1));
        switch (r() % 4) {
        case 0: m &= ~((uint64_t(1) << between(0, p - 2)) - 1); break;  // short
        case 1: m |= (uint64_t(1) << between(0, p - 1)) - 1; break;    // trailing ones
        default: break;
        }
        return T(1) + T(std::ldexp((long double)m, -(p - 1)));
    }
    T num(int e) { return sign(T(std::ldexp((long double)sig(), e))); }

  public:
    explicit Gen(uint64_t seed) : rng_(seed) {}
    Triple<T> next() {
        const int k = int(r() % 9);
        switch (k) {
        case 0: {  // anything, the subnormals included
            return {num(between(emin - p, emax)), num(between(emin - p, emax)), num(between(emin - p, emax))};
        }
        case 1: {  // z cancels the rounded product: the product's rounding error, or exactly 0
            T x = num(between(-60, 60)), y = num(between(-60, 60));
            return {x, y, -(x * y)};
        }
        case 2: {  // z within a few units of -x*y
            T x = num(between(-60, 60)), y = num(between(-60, 60));
            T z = -(x * y);
            for (int i = between(-3, 3); i; i += i > 0 ? -1 : 1)
                z = std::nextafter(z, i > 0 ? std::numeric_limits<T>::infinity() : -std::numeric_limits<T>::infinity());
            return {x, y, z};
        }
        case 3: {  // x*y an odd multiple of half an ulp of z, or a little off it
            int ez = between(emin + p + 8, emax - 8);
            T z = num(ez);
            T m = T(int(r() % 64) * 2 + 1);
            int j = between(0, 3);
            int ea = between(-20, 20);
            T x = sign(std::ldexp(m, ea));
            T y = sign(std::ldexp(T(1) + (r() % 3 == 0 ? std::ldexp(T(1), -p + 1) : T(0)), ez - p - j - ea - 6));
            return {x, y, z};
        }
        case 4: {  // products and sums in the subnormal range and around 2^emin
            int ex = between(emin / 2 - p, emin / 2 + p);
            T x = num(ex), y = num(emin - ex + between(-p - 2, 2));
            T z = r() % 3 ? num(between(emin - p, emin + 1)) : sign(std::ldexp(T(1), emin));
            return {x, y, z};
        }
        case 5: {  // results at the top of the range: overflow by one unit, or not
            T z = sign(std::numeric_limits<T>::max());
            if (r() & 1) z = std::nextafter(z, T(0));
            T x = num(between(emax - p - 2, emax - p + 2)), y = num(between(-1, 1));
            if (r() & 1) x = std::ldexp(sig(), emax / 2), y = std::ldexp(sig(), emax / 2 + between(-1, 1));
            return {x, y, z};
        }
        case 6: {  // product and z far apart (the sticky bit alone decides)
            int ex = between(-100, 100), ey = between(-100, 100);
            int gap = between(p - 3, 3 * p + 8) * (r() & 1 ? 1 : -1);
            return {num(ex), num(ey), num(ex + ey + gap)};
        }
        case 7: {  // near-total cancellation: z and the product within one binade
            T x = num(between(-30, 30)), y = num(between(-30, 30));
            T z = -(x * y) * (T(1) + sign(std::ldexp(T(1), -between(1, p + 2))));
            return {x, y, z};
        }
        default: {  // exact products of short significands against z of every gap
            T x = sign(T(int(r() % 4096) | 1)), y = sign(T(int(r() % 4096) | 1));
            return {std::ldexp(x, between(-20, 20)), std::ldexp(y, between(-20, 20)), num(between(-40, 60))};
        }
        }
    }
};

// Checks every triple in every variant and mode against the instruction; returns the
// mismatches.  A variant that keeps the product's sign for a zero z is held to that where the
// product is zero.
template <class T>
long check(const Variants<T> &vars, const std::vector<Triple<T>> &ts, const char *fname) {
    return check_calls(fname, vars.calls, ts, ALL_MODES, [&](const auto &v, const Triple<T> &t, int) {
        auto [x, y, z] = t;
        auto [want, wo] = observe([&] { return hw(x, y, z); });
        bool keeps = false;
        for (const auto &n : vars.product_sign) keeps |= v.name == n;
        if (keeps && z == 0 && (x == 0 || y == 0) && std::isfinite(x) && std::isfinite(y)) {
            want = std::signbit(x) != std::signbit(y) ? -T(0) : T(0);
            wo.flags = NONE;
        }
        return Expect<T>{want, wo.flags};
    });
}

template <class T>
std::vector<Triple<T>> generate(uint64_t seed, size_t n) {
    Gen<T> g(seed);
    std::vector<Triple<T>> ts(n);
    for (auto &t : ts) t = g.next();
    return ts;
}

}  // namespace fmat

// `tessera bench [FUNC...]`: cycles per call of tessera's functions and of the system
// libm's functions of the same names, measured side by side in one process.
//
// Both are called through function pointers: tessera through its public entry (which, for a
// dispatched function, jumps through the slot to the tier the slot holds), the system libm
// through the address dlsym gives for the same name in libm.so.6.  Each repetition measures
// both, alternating which goes first; each side's figure is its median over repetitions and
// the ratio the median of the repetitions' own ratios.
//
// Reciprocal throughput: independent calls over an input array, results stored.
// Latency: each call's operand depends on the previous call's result through an and/or pair
// (`x = base | (result & 0)`, two one-cycle vector logic operations; for long double a
// multiply-add by a zero the compiler cannot see), so calls cannot overlap.  The link is the
// same on both sides; it is counted in the latency figures.
//
// Every call shape is timed (see "call shapes"), and the frame takes up to three sides:
// `bench-bwr` times a reproducible form, the dispatched function and its ex body in it.
//
// Cycles are time-stamp-counter ticks (rdtsc, fenced): the processor's constant reference
// rate, which the tool measures against CLOCK_MONOTONIC and prints, together with the core
// clock estimated from a chain of dependent adds.  Where the core runs above or below the
// counter's rate, ticks and core cycles differ by the same factor on both sides, so the
// ratio is unaffected.
#include <dlfcn.h>
#include <gnu/libc-version.h>
#include <x86intrin.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <numbers>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tool.h"
#include "tsr/tiers.h"

namespace tool {

namespace {

using tsr_gen::AnyFn;

// ---- inputs ----------------------------------------------------------------------------
// Where a function is usually called.  Names without an entry take their root's (the name
// without a trailing f or l), then the default (for a complex operand: both parts in [-4, 4]).
constexpr Range kDefault = {"", -10, 10, false, -10, 10, false};
constexpr Range kComplexDefault = {"", -4, 4, false, -4, 4, false};
constexpr Range kRanges[] = {
    {"ceil", -1e6, 1e6, false, 0, 0, false},      {"floor", -1e6, 1e6, false, 0, 0, false},
    {"trunc", -1e6, 1e6, false, 0, 0, false},     {"round", -1e6, 1e6, false, 0, 0, false},
    {"rint", -1e6, 1e6, false, 0, 0, false},      {"nearbyint", -1e6, 1e6, false, 0, 0, false},
    {"roundeven", -1e6, 1e6, false, 0, 0, false}, {"lrint", -1e6, 1e6, false, 0, 0, false},
    {"lround", -1e6, 1e6, false, 0, 0, false},    {"llrint", -1e6, 1e6, false, 0, 0, false},
    {"llround", -1e6, 1e6, false, 0, 0, false},   {"ilogb", 1e-300, 1e300, true, 0, 0, false},
    {"logb", 1e-300, 1e300, true, 0, 0, false},   {"significand", 1e-300, 1e300, true, 0, 0, false},
    {"exp", -700, 700, false, 0, 0, false},       {"expf", -87, 88, false, 0, 0, false},
    {"exp2", -1000, 1000, false, 0, 0, false},    {"exp2f", -125, 127, false, 0, 0, false},
    {"exp10", -300, 300, false, 0, 0, false},     {"exp10f", -37, 38, false, 0, 0, false},
    {"expm1", -700, 700, false, 0, 0, false},     {"expm1f", -87, 88, false, 0, 0, false},
    {"log", 1e-300, 1e300, true, 0, 0, false},    {"logf", 1e-37, 1e37, true, 0, 0, false},
    {"log2", 1e-300, 1e300, true, 0, 0, false},   {"log2f", 1e-37, 1e37, true, 0, 0, false},
    {"log10", 1e-300, 1e300, true, 0, 0, false},  {"log10f", 1e-37, 1e37, true, 0, 0, false},
    {"log1p", -0.9, 100, false, 0, 0, false},     {"sqrt", 1e-300, 1e300, true, 0, 0, false},
    {"sqrtf", 1e-37, 1e37, true, 0, 0, false},    {"cbrt", 1e-300, 1e300, true, 0, 0, false},
    {"cbrtf", 1e-37, 1e37, true, 0, 0, false},    {"pow", 1e-3, 100, false, -50, 50, false},
    {"powf", 1e-3, 100, false, -15, 15, false},   {"sin", -10, 10, false, 0, 0, false},
    {"cos", -10, 10, false, 0, 0, false},         {"tan", -10, 10, false, 0, 0, false},
    {"sinh", -20, 20, false, 0, 0, false},        {"cosh", -20, 20, false, 0, 0, false},
    {"tanh", -20, 20, false, 0, 0, false},        {"asin", -1, 1, false, 0, 0, false},
    {"acos", -1, 1, false, 0, 0, false},          {"atanh", -1, 1, false, 0, 0, false},
    {"atan", -100, 100, false, 0, 0, false},      {"asinh", -100, 100, false, 0, 0, false},
    {"acosh", 1, 100, false, 0, 0, false},        {"atan2", -10, 10, false, -10, 10, false},
    {"hypot", -1e3, 1e3, false, -1e3, 1e3, false}, {"fmod", -1e6, 1e6, false, 0.5, 100, false},
    {"remainder", -1e6, 1e6, false, 0.5, 100, false}, {"ldexp", -10, 10, false, -100, 100, false},
    {"scalbn", -10, 10, false, -100, 100, false}, {"erf", -5, 5, false, 0, 0, false},
    {"erfc", -5, 25, false, 0, 0, false},         {"tgamma", 0.1, 20, false, 0, 0, false},
    {"lgamma", 0.1, 100, false, 0, 0, false},     {"fdim", -1e3, 1e3, false, -1e3, 1e3, false},
    {"fma", -1e3, 1e3, false, -1e3, 1e3, false},
    {"fmax", -1e3, 1e3, false, -1e3, 1e3, false}, {"fmin", -1e3, 1e3, false, -1e3, 1e3, false},
    {"copysign", -1e3, 1e3, false, -1e3, 1e3, false},
    // Restricted domains: operands outside would measure the error path, not the function.
    {"acosd", -1, 1, false, 0, 0, false},         {"asind", -1, 1, false, 0, 0, false},
    {"acospi", -1, 1, false, 0, 0, false},        {"asinpi", -1, 1, false, 0, 0, false},
    // The pi-scaled functions over the same angles as sin, cos, tan on [-10, 10].
    {"sinpi", -3.2, 3.2, false, 0, 0, false},     {"cospi", -3.2, 3.2, false, 0, 0, false},
    {"tanpi", -3.2, 3.2, false, 0, 0, false},     {"atanpi", -100, 100, false, 0, 0, false},
    {"atan2pi", -10, 10, false, -10, 10, false},
    {"erfinv", -0.999, 0.999, false, 0, 0, false}, {"erfcinv", 0.001, 1.999, false, 0, 0, false},
    {"cdfnorminv", 0.001, 0.999, false, 0, 0, false}, {"log2p1", -0.9, 100, false, 0, 0, false},
    {"invsqrt", 1e-300, 1e300, true, 0, 0, false}, {"invsqrtf", 1e-37, 1e37, true, 0, 0, false},
    {"y0", 0.1, 100, false, 0, 0, false},         {"y1", 0.1, 100, false, 0, 0, false},
    {"j0", -100, 100, false, 0, 0, false},        {"j1", -100, 100, false, 0, 0, false},
    {"scalbln", -10, 10, false, -100, 100, false}, {"powr", 1e-3, 100, false, -50, 50, false},
    {"powrf", 1e-3, 100, false, -15, 15, false},  // the operands of powf, its counterpart
    {"pow2o3", -1e10, 1e10, false, 0, 0, false},  {"pow3o2", 1e-10, 1e10, true, 0, 0, false},
    {"exp2m1", -1000, 1000, false, 0, 0, false},  {"exp2m1f", -125, 127, false, 0, 0, false},
    {"sincospi", -3.2, 3.2, false, 0, 0, false},
    // The degree functions over two turns, as their radian counterparts on [-10, 10].
    {"sind", -360, 360, false, 0, 0, false},      {"cosd", -360, 360, false, 0, 0, false},
    {"tand", -360, 360, false, 0, 0, false},      {"cotd", -360, 360, false, 0, 0, false},
    {"sincosd", -360, 360, false, 0, 0, false},   {"atand", -100, 100, false, 0, 0, false},
    {"atan2d", -10, 10, false, -10, 10, false},
    // Rates from 10^-6 to 1 over 1 to 1000 periods.
    {"annuity", 1e-6, 1, true, 1, 1000, false},  {"compound", 1e-6, 1, true, 1, 1000, false},
};

// Functions the system libm lacks, measured against its radian counterpart: sinpi against
// sin(x·pi), sind against sin(x·pi/180), atanpi against atan(x)/pi, cotd against
// 1/tan(x·pi/180) and so on.  The libm side is then a small wrapper that makes that one
// multiplication around its call through the pointer dlsym gave (one more direct call than the
// plain side; the wrapper is what a program without sinpi would write).  Names by root: a
// float or long double form takes the libm function of the same suffix.
enum Factor { kPi, kInvPi, kDegToRad, kRadToDeg };
template <class T>
constexpr T kFactor[] = {std::numbers::pi_v<T>, std::numbers::inv_pi_v<T>, std::numbers::pi_v<T> / 180,
                         180 / std::numbers::pi_v<T>};
enum Wrap { kArg, kArgRecip, kArgPair, kResult, kResult2 };  // where the factor goes
struct Counterpart {
    const char *root, *libm;
    Wrap wrap;
    Factor factor;
};
constexpr Counterpart kCounterparts[] = {
    {"sinpi", "sin", kArg, kPi},          {"cospi", "cos", kArg, kPi},
    {"tanpi", "tan", kArg, kPi},          {"sincospi", "sincos", kArgPair, kPi},
    {"asinpi", "asin", kResult, kInvPi},  {"acospi", "acos", kResult, kInvPi},
    {"atanpi", "atan", kResult, kInvPi},  {"atan2pi", "atan2", kResult2, kInvPi},
    {"sind", "sin", kArg, kDegToRad},     {"cosd", "cos", kArg, kDegToRad},
    {"tand", "tan", kArg, kDegToRad},     {"cotd", "tan", kArgRecip, kDegToRad},
    {"sincosd", "sincos", kArgPair, kDegToRad}, {"asind", "asin", kResult, kRadToDeg},
    {"acosd", "acos", kResult, kRadToDeg}, {"atand", "atan", kResult, kRadToDeg},
    {"atan2d", "atan2", kResult2, kRadToDeg},
};
void *counter_fn;  // the libm function the wrappers call (one function is measured at a time)
template <class Fn> Fn *as(AnyFn f) { return reinterpret_cast<Fn *>(f); }
template <class Fn> Fn *counter() { return reinterpret_cast<Fn *>(counter_fn); }
template <class T, int K> __attribute__((noinline)) T arg_scaled(T x) { return counter<T(T)>()(x * kFactor<T>[K]); }
template <class T, int K> __attribute__((noinline)) T arg_scaled_recip(T x) {
    return 1 / counter<T(T)>()(x * kFactor<T>[K]);
}
template <class T, int K> __attribute__((noinline)) void arg_scaled_pair(T x, T *s, T *c) {
    counter<void(T, T *, T *)>()(x * kFactor<T>[K], s, c);
}
template <class T, int K> __attribute__((noinline)) T result_scaled(T x) { return counter<T(T)>()(x) * kFactor<T>[K]; }
template <class T, int K> __attribute__((noinline)) T result2_scaled(T y, T x) {
    return counter<T(T, T)>()(y, x) * kFactor<T>[K];
}
template <class T, int K> AnyFn wrapper(Wrap w) {
    switch (w) {
    case kArg: return reinterpret_cast<AnyFn>(&arg_scaled<T, K>);
    case kArgRecip: return reinterpret_cast<AnyFn>(&arg_scaled_recip<T, K>);
    case kArgPair: return reinterpret_cast<AnyFn>(&arg_scaled_pair<T, K>);
    case kResult: return reinterpret_cast<AnyFn>(&result_scaled<T, K>);
    default: return reinterpret_cast<AnyFn>(&result2_scaled<T, K>);
    }
}
template <class T> AnyFn wrapper(const Counterpart &c) {
    switch (c.factor) {
    case kPi: return wrapper<T, kPi>(c.wrap);
    case kInvPi: return wrapper<T, kInvPi>(c.wrap);
    case kDegToRad: return wrapper<T, kDegToRad>(c.wrap);
    default: return wrapper<T, kRadToDeg>(c.wrap);
    }
}
// f's counterpart wrapper around the libm function it names (null: none).
AnyFn counterpart_side(void *libm, const tsr_gen::Function &f, std::string *what) {
    std::string root = f.name, suffix;
    if (f.prec != 'd') suffix = root.back(), root.pop_back();
    for (const Counterpart &c : kCounterparts) {
        if (root != c.root) continue;
        std::string libm_name = c.libm + suffix;
        counter_fn = dlsym(libm, libm_name.c_str());
        if (!counter_fn) return nullptr;
        bool degrees = c.factor == kDegToRad || c.factor == kRadToDeg;
        if (what)
            *what = c.wrap == kResult || c.wrap == kResult2 ? (degrees ? "180/pi*" : "") + libm_name + (degrees ? "(...)" : "(...)/pi")
                    : (c.wrap == kArgRecip ? "1/" : "") + libm_name + (degrees ? "(x*pi/180)" : "(x*pi)");
        return f.prec == 'f' ? wrapper<float>(c) : f.prec == 'l' ? wrapper<long double>(c) : wrapper<double>(c);
    }
    return nullptr;
}
// The restricted powers against what a program without them writes: powr against pow,
// pow2o3 against cbrt(x*x) through the libm pointer, pow3o2 against x*sqrt(x) with the
// square root instruction inline (as a compiler emits it).
template <class T> __attribute__((noinline)) T cbrt_of_square(T x) {
    return reinterpret_cast<T (*)(T)>(counter_fn)(x * x);
}
template <class T> __attribute__((noinline)) T times_sqrt(T x) {
    if constexpr (sizeof(T) == 8) return x * _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(x), _mm_set_sd(x)));
    else return x * _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(x)));
}
AnyFn power_side(void *libm, const tsr_gen::Function &f, std::string *what) {
    std::string n = f.name;
    bool flt = f.prec == 'f';
    if (n == "powr" || n == "powrf") {
        if (what) *what = flt ? "powf" : "pow";
        return reinterpret_cast<AnyFn>(dlsym(libm, flt ? "powf" : "pow"));
    }
    if (n == "pow2o3" || n == "pow2o3f") {
        counter_fn = dlsym(libm, flt ? "cbrtf" : "cbrt");
        if (!counter_fn) return nullptr;
        if (what) *what = flt ? "cbrtf(x*x)" : "cbrt(x*x)";
        return flt ? reinterpret_cast<AnyFn>(&cbrt_of_square<float>) : reinterpret_cast<AnyFn>(&cbrt_of_square<double>);
    }
    if (n == "pow3o2" || n == "pow3o2f") {
        if (what) *what = flt ? "x*sqrtf(x)" : "x*sqrt(x)";
        return flt ? reinterpret_cast<AnyFn>(&times_sqrt<float>) : reinterpret_cast<AnyFn>(&times_sqrt<double>);
    }
    return nullptr;
}
// The financial functions, which the system libm lacks, against the expressions a program
// without them would write, through the libm: pow(1 + r, n) and -expm1(-n log1p(r))/r.
void *naive_pow, *naive_expm1, *naive_log1p;
template <class T> __attribute__((noinline)) T naive_compound(T r, T n) {
    return reinterpret_cast<T (*)(T, T)>(naive_pow)(1 + r, n);
}
template <class T> __attribute__((noinline)) T naive_annuity(T r, T n) {
    T l = reinterpret_cast<T (*)(T)>(naive_log1p)(r);
    return -reinterpret_cast<T (*)(T)>(naive_expm1)(-n * l) / r;
}
AnyFn naive_side(void *libm, const char *name, std::string *what) {
    std::string n = name;
    bool flt = n == "annuityf" || n == "compoundf";
    if (n != "annuity" && n != "compound" && !flt) return nullptr;
    naive_pow = dlsym(libm, flt ? "powf" : "pow");
    naive_expm1 = dlsym(libm, flt ? "expm1f" : "expm1");
    naive_log1p = dlsym(libm, flt ? "log1pf" : "log1p");
    if (!naive_pow || !naive_expm1 || !naive_log1p) return nullptr;
    bool comp = n[0] == 'c';
    if (what) *what = comp ? (flt ? "powf(1+r,n)" : "pow(1+r,n)") : (flt ? "-expm1f(-n*log1pf(r))/r" : "-expm1(-n*log1p(r))/r");
    if (comp) return flt ? reinterpret_cast<AnyFn>(&naive_compound<float>) : reinterpret_cast<AnyFn>(&naive_compound<double>);
    return flt ? reinterpret_cast<AnyFn>(&naive_annuity<float>) : reinterpret_cast<AnyFn>(&naive_annuity<double>);
}

// The system libm's function of the same name (a correctly rounded member is compared with
// the ordinary function it rounds correctly).
static const char *libm_name(const char *name) {
    static const char cr[] = "__libm_cr_";
    if (std::strncmp(name, cr, sizeof cr - 1) == 0) return name + sizeof cr - 1;
    return name;
}

// The libm side of f: its own name, or the wrapper around its counterpart (null: neither).
AnyFn libm_side(void *libm, const tsr_gen::Function &f, std::string *what = nullptr) {
    if (void *p = dlsym(libm, libm_name(f.name))) return reinterpret_cast<AnyFn>(p);
    if (AnyFn w = power_side(libm, f, what)) return w;
    if (AnyFn naive = naive_side(libm, f.name, what)) return naive;
    return counterpart_side(libm, f, what);
}

// ---- call shapes -----------------------------------------------------------------------------
// Every shape the catalogue gives a function of one real precision.  A call takes its first
// operand as given (the latency chain links it to the previous result) and the others from the
// operand arrays at its index: a second real operand y[i], a third y[kN-1-i] (the second's
// array read backwards), an integer operand n[i]; a complex operand is x + y[i]·i (a second
// one y[kN-1-i] + x[kN-1-i]·i).  A result through a pointer goes to a local; what the call
// gives back for the chain is the returned value, or both results of a sincos-like form and
// both parts of a complex result.
enum class Shape { r_r, r_rr, r_rrr, r_ri, r_rl, r_rx, i_r, l_r, ll_r, i_rr, r_rip, r_rrp, r_rrip, v_rpp,
                   c_c, c_cc, r_c, c_r, none };
constexpr std::pair<const char *, Shape> kShapes[] = {
    {"R(R)", Shape::r_r},         {"R(R,R)", Shape::r_rr},   {"R(R,R,R)", Shape::r_rrr},
    {"R(R,I)", Shape::r_ri},      {"R(R,L)", Shape::r_rl},   {"R(R,X)", Shape::r_rx},
    {"I(R)", Shape::i_r},         {"L(R)", Shape::l_r},      {"LL(R)", Shape::ll_r},
    {"I(R,R)", Shape::i_rr},      {"R(R,I*)", Shape::r_rip}, {"R(R,R*)", Shape::r_rrp},
    {"R(R,R,I*)", Shape::r_rrip}, {"V(R,R*,R*)", Shape::v_rpp}, {"C(C)", Shape::c_c},
    {"C(C,C)", Shape::c_cc},      {"R(C)", Shape::r_c},      {"C(R)", Shape::c_r},
};
Shape shape_of(const tsr_gen::Function &f) {
    if (f.prec != 'd' && f.prec != 'f' && f.prec != 'l') return Shape::none;
    for (const auto &[text, s] : kShapes)
        if (!std::strcmp(f.shape, text)) return s;
    return Shape::none;
}
bool complex_operand(Shape s) { return s == Shape::c_c || s == Shape::c_cc || s == Shape::r_c; }

template <class T> struct CxOf;
template <> struct CxOf<float> { using type = float _Complex; };
template <> struct CxOf<double> { using type = double _Complex; };
template <> struct CxOf<long double> { using type = long double _Complex; };
template <class T> using Cx = typename CxOf<T>::type;
template <class T> Cx<T> cx(T re, T im) {
    Cx<T> z;
    __real__ z = re;
    __imag__ z = im;
    return z;
}
template <class T> struct Pair {
    T a, b;
};
template <class T> Pair<T> parts(Cx<T> z) { return {__real__ z, __imag__ z}; }

const Range &range_of(const std::string &name, Shape shape) {
    for (const Range &r : kRanges)
        if (name == r.name) return r;
    if (name.size() > 1 && (name.back() == 'f' || name.back() == 'l')) {
        std::string root = name.substr(0, name.size() - 1);
        for (const Range &r : kRanges)
            if (root == r.name) return r;
    }
    return complex_operand(shape) ? kComplexDefault : kDefault;
}

constexpr size_t kN = 1024;  // operands per pass: small enough to stay in the first-level cache

// The operand and result arrays sit at fixed places in one page-aligned arena, each at its
// own offset within a page: a result stored while a nearby operand is loaded never shares
// the low twelve address bits with it (which would stall the load on a false dependency and
// make the figures depend on where the allocator happened to put the arrays).
template <class T> struct Inputs {
    T *x, *y;
    int *n;
    T *out, *out2;
    long long *iout;
};
alignas(4096) unsigned char g_arena[6 << 16];

template <class T> T clampT(double v) {
    double m = double(std::numeric_limits<T>::max());
    return T(std::min(std::max(v, -m), m));
}

template <class T> Inputs<T> make_inputs(const Range &r, uint64_t seed) {
    std::mt19937_64 g(seed);
    std::uniform_real_distribution<double> u(0.0, 1.0);
    auto draw = [&](double lo, double hi, bool lg) {
        if (lg) return clampT<T>(std::exp(std::log(lo) + u(g) * (std::log(hi) - std::log(lo))));
        return clampT<T>(lo + u(g) * (hi - lo));
    };
    static_assert(kN * sizeof(long double) <= (1 << 16) - 3072);
    Inputs<T> in;
    in.x = reinterpret_cast<T *>(g_arena);
    in.y = reinterpret_cast<T *>(g_arena + (1 << 16) + 1024);
    in.n = reinterpret_cast<int *>(g_arena + (2 << 16) + 3072);
    in.out = reinterpret_cast<T *>(g_arena + (3 << 16) + 2048);
    in.iout = reinterpret_cast<long long *>(g_arena + (4 << 16) + 2048);
    in.out2 = reinterpret_cast<T *>(g_arena + (5 << 16) + 2560);
    for (size_t i = 0; i < kN; ++i) {
        in.x[i] = draw(r.lo, r.hi, r.log);
        in.y[i] = draw(r.lo2, r.hi2, r.log2);
        if (r.integral2) in.y[i] = std::trunc(in.y[i]);
        in.n[i] = int(std::lround(r.lo2 + u(g) * (r.hi2 - r.lo2)));
        in.out[i] = in.out2[i] = 0;
        in.iout[i] = 0;
    }
    return in;
}

// One call of shape S on operand i, with first operand x.
template <class T, Shape S> inline auto call(AnyFn fn, const Inputs<T> &in, size_t i, T x) {
    const T y = in.y[i], z = in.y[kN - 1 - i];
    const int n = in.n[i];
    if constexpr (S == Shape::r_r) return as<T(T)>(fn)(x);
    else if constexpr (S == Shape::r_rr) return as<T(T, T)>(fn)(x, y);
    else if constexpr (S == Shape::r_rrr) return as<T(T, T, T)>(fn)(x, y, z);
    else if constexpr (S == Shape::r_ri) return as<T(T, int)>(fn)(x, n);
    else if constexpr (S == Shape::r_rl) return as<T(T, long)>(fn)(x, long(n));
    else if constexpr (S == Shape::r_rx) return as<T(T, long double)>(fn)(x, y);
    else if constexpr (S == Shape::i_r) return (long long)as<int(T)>(fn)(x);
    else if constexpr (S == Shape::l_r) return (long long)as<long(T)>(fn)(x);
    else if constexpr (S == Shape::ll_r) return as<long long(T)>(fn)(x);
    else if constexpr (S == Shape::i_rr) return (long long)as<int(T, T)>(fn)(x, y);
    else if constexpr (S == Shape::r_rip) {
        int e;
        return as<T(T, int *)>(fn)(x, &e);
    } else if constexpr (S == Shape::r_rrp) {
        T whole;
        return as<T(T, T *)>(fn)(x, &whole);
    } else if constexpr (S == Shape::r_rrip) {
        int q;
        return as<T(T, T, int *)>(fn)(x, y, &q);
    } else if constexpr (S == Shape::v_rpp) {
        T s, c;
        as<void(T, T *, T *)>(fn)(x, &s, &c);
        return Pair<T>{s, c};
    } else if constexpr (S == Shape::c_c) return parts<T>(as<Cx<T>(Cx<T>)>(fn)(cx(x, y)));
    else if constexpr (S == Shape::c_cc)
        return parts<T>(as<Cx<T>(Cx<T>, Cx<T>)>(fn)(cx(x, y), cx(z, in.x[kN - 1 - i])));
    else if constexpr (S == Shape::r_c) return as<T(Cx<T>)>(fn)(cx(x, y));
    else return parts<T>(as<Cx<T>(T)>(fn)(x));
}
// A throughput call's result, stored.
template <class T> inline void keep(Inputs<T> &in, size_t i, T r) { in.out[i] = r; }
template <class T> inline void keep(Inputs<T> &in, size_t i, long long r) { in.iout[i] = r; }
template <class T> inline void keep(Inputs<T> &in, size_t i, Pair<T> r) { in.out[i] = r.a, in.out2[i] = r.b; }

// ---- the latency link ---------------------------------------------------------------------
inline double link(double base, double r, double zero) {
    asm("andpd %2, %1\n\torpd %1, %0" : "+x"(base), "+x"(r) : "x"(zero));
    return base;
}
inline float link(float base, float r, float zero) {
    asm("andps %2, %1\n\torps %1, %0" : "+x"(base), "+x"(r) : "x"(zero));
    return base;
}
inline long double link(long double base, long double r, long double zero) { return base + r * zero; }

inline double link_int(double base, long long r, long long zero) {
    double t;
    asm("and %2, %1\n\tmovq %1, %0" : "=x"(t), "+r"(r) : "r"(zero));
    asm("orpd %1, %0" : "+x"(base) : "x"(t));
    return base;
}
inline float link_int(float base, long long r, long long zero) {
    float t;
    asm("and %2, %1\n\tmovd %k1, %0" : "=x"(t), "+r"(r) : "r"(zero));
    asm("orps %1, %0" : "+x"(base) : "x"(t));
    return base;
}
inline long double link_int(long double base, long long r, long long zero) { return base + (long double)(r & zero); }

// The next operand from the previous call's result, whatever the shape returned: a real or an
// integer value, or both results of a pair (one more link).
template <class T> inline T chain(T base, T r, T zero, long long) { return link(base, r, zero); }
template <class T> inline T chain(T base, long long r, T, long long zero) { return link_int(base, r, zero); }
template <class T> inline T chain(T base, Pair<T> r, T zero, long long) { return link(link(base, r.a, zero), r.b, zero); }

// ---- calling as a dynamically linked program does --------------------------------------------
// A program linked against a shared library reaches its functions through the PLT: one
// indirect jump through the global offset table.  These two stubs are that jump, so that
// `--plt` measures both libraries as such a program calls them.
asm(R"(
    .text
    .p2align 4
    .hidden tsr_tool_plt0
    .globl tsr_tool_plt0
tsr_tool_plt0:
    jmp *tsr_tool_got0(%rip)
    .p2align 4
    .hidden tsr_tool_plt1
    .globl tsr_tool_plt1
tsr_tool_plt1:
    jmp *tsr_tool_got1(%rip)
    .data
    .p2align 6
    .hidden tsr_tool_got0
    .globl tsr_tool_got0
tsr_tool_got0:
    .quad 0
    .p2align 6
    .hidden tsr_tool_got1
    .globl tsr_tool_got1
tsr_tool_got1:
    .quad 0
    .text
)");
extern "C" {
void tsr_tool_plt0();
void tsr_tool_plt1();
extern AnyFn tsr_tool_got0, tsr_tool_got1;
}

// ---- timing -------------------------------------------------------------------------------------
inline uint64_t ticks() {
    _mm_lfence();
    uint64_t t = __rdtsc();
    _mm_lfence();
    return t;
}

volatile double g_zero_d = 0;
volatile long long g_zero_i = 0;

template <class T> T zero_of() { return T(g_zero_d); }

// ---- placements ------------------------------------------------------------------------------
// On some processors the cost of a call loop depends on where the loop's call site and
// return address fall within a 64-byte line, by as much as a tenth of a cheap function's
// figure and differently for different callees (a loop placed one way made one libm's
// function look faster, placed another way slower).  Where the tool's code lands shifts
// with every change to the library linked beside it, so a single placement would make the
// figures move between builds of code they do not measure.  Each timing loop starts on a
// line (the file is built with -falign-loops=64) and exists in eight placements: Pad
// bytes of no-operation instructions ahead of the call, 0 to 56 in steps of 8.
// Repetition k measures both sides in placement k mod 8, and the figures average over the
// placements (see measure), as over the places a program might give its call.
constexpr int kPlacements = 8;

// Ticks per call over `passes` passes of the inputs.
template <class T, Shape S, int Pad> double throughput(AnyFn fn, Inputs<T> &in, int passes) {
    const T *x = in.x;
    uint64_t t0 = ticks();
    for (int p = 0; p < passes; ++p) {
        for (size_t i = 0; i < kN; ++i) {
            asm volatile(".nops %c0" ::"i"(Pad));
            keep(in, i, call<T, S>(fn, in, i, x[i]));
        }
    }
    uint64_t t1 = ticks();
    return double(t1 - t0) / double(kN * size_t(passes));
}

template <class T, Shape S, int Pad> double latency(AnyFn fn, Inputs<T> &in, int passes) {
    const T *x = in.x;
    const T z = zero_of<T>();
    const long long zi = g_zero_i;
    decltype(call<T, S>(fn, in, 0, x[0])) r{};
    uint64_t t0 = ticks();
    for (int p = 0; p < passes; ++p) {
        for (size_t i = 0; i < kN; ++i) {
            asm volatile(".nops %c0" ::"i"(Pad));
            r = call<T, S>(fn, in, i, chain(x[i], r, z, zi));
        }
    }
    uint64_t t1 = ticks();
    keep(in, 0, r);
    return double(t1 - t0) / double(kN * size_t(passes));
}

// One timing loop per placement, by index: throughput or latency (Lat).
using TimeFn = double (*)(AnyFn, void *, int);
template <class T, Shape S, int Pad, bool Lat> double time_at(AnyFn fn, void *in, int passes) {
    auto &typed = *static_cast<Inputs<T> *>(in);
    return Lat ? latency<T, S, Pad>(fn, typed, passes) : throughput<T, S, Pad>(fn, typed, passes);
}
template <class T, Shape S, bool Lat, size_t... I>
constexpr std::array<TimeFn, kPlacements> placements(std::index_sequence<I...>) {
    return {&time_at<T, S, int(I) * 8, Lat>...};
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    size_t m = v.size() / 2;
    return v.size() % 2 ? v[m] : 0.5 * (v[m - 1] + v[m]);
}

template <class T, Shape S> Figures measure(const AnyFn *fns, int sides, const Range &r, int reps, int passes) {
    Inputs<T> in = make_inputs<T>(r, 0x7e55e7a);
    constexpr auto thr_fns = placements<T, S, false>(std::make_index_sequence<kPlacements>());
    constexpr auto lat_fns = placements<T, S, true>(std::make_index_sequence<kPlacements>());
    void *any = &in;
    for (int s = 0; s < sides; ++s) {  // warm up: caches, predictors, and the first call's slot settling
        thr_fns[0](fns[s], any, 2);
        lat_fns[0](fns[s], any, 2);
    }
    std::vector<double> thr[kMaxSides], lat[kMaxSides];
    for (int k = 0; k < reps; ++k) {
        int at = k % kPlacements;
        for (int j = 0; j < sides; ++j) {
            int s = (k / kPlacements + j) % sides;  // rotate which side goes first
            thr[s].push_back(thr_fns[at](fns[s], any, passes));
        }
        for (int j = 0; j < sides; ++j) {
            int s = (k / kPlacements + j + 1) % sides;
            lat[s].push_back(lat_fns[at](fns[s], any, passes));
        }
    }
    // Within a placement the median over its repetitions: a repetition measures the sides
    // back to back, so its ratio compares them under the same conditions (the machine's other
    // load, the core's clock), and the median of those ratios is steadier than the ratio of
    // the medians.  Across placements the mean (for the ratio, the geometric mean): each
    // placement is as likely as another for a caller's loop.
    int used = std::min(reps, kPlacements);
    Figures f{};
    double lrt = 0, lrl = 0;
    for (int at = 0; at < used; ++at) {
        std::vector<double> t[kMaxSides], l[kMaxSides], rt, rl;
        for (int k = at; k < reps; k += kPlacements) {
            for (int s = 0; s < sides; ++s) t[s].push_back(thr[s][k]), l[s].push_back(lat[s][k]);
            rt.push_back(thr[0][k] / thr[1][k]);
            rl.push_back(lat[0][k] / lat[1][k]);
        }
        for (int s = 0; s < sides; ++s) f.thr[s] += median(t[s]) / used, f.lat[s] += median(l[s]) / used;
        lrt += std::log(median(rt)) / used;
        lrl += std::log(median(rl)) / used;
    }
    f.thr_ratio = std::exp(lrt);
    f.lat_ratio = std::exp(lrl);
    auto spread = [&](const std::vector<double> (&v)[kMaxSides]) {
        std::vector<double> lr;
        for (int k = 0; k < reps; ++k) lr.push_back(std::log(v[0][k] / v[1][k]));
        std::sort(lr.begin(), lr.end());
        return std::expm1(0.5 * (lr[(3 * lr.size()) / 4] - lr[lr.size() / 4]));
    };
    f.thr_spread = spread(thr);
    f.lat_spread = spread(lat);
    return f;
}

// measure<T, S> for every shape S, by the shape's index.
using MeasureFn = Figures (*)(const AnyFn *, int, const Range &, int, int);
template <class T, size_t... I> constexpr std::array<MeasureFn, sizeof...(I)> measures(std::index_sequence<I...>) {
    return {&measure<T, Shape(I)>...};
}
template <class T> Figures measure_shape(Shape s, const AnyFn *fns, int sides, const Range &r, int reps, int passes) {
    constexpr auto table = measures<T>(std::make_index_sequence<size_t(Shape::none)>());
    return table[size_t(s)](fns, sides, r, reps, passes);
}


// The time-stamp counter's rate, against the monotonic clock over about 50 ms.
double tsc_ghz() {
    timespec a, b;
    clock_gettime(CLOCK_MONOTONIC, &a);
    uint64_t t0 = ticks();
    do clock_gettime(CLOCK_MONOTONIC, &b);
    while ((b.tv_sec - a.tv_sec) * 1e9 + (b.tv_nsec - a.tv_nsec) < 5e7);
    uint64_t t1 = ticks();
    double ns = (b.tv_sec - a.tv_sec) * 1e9 + (b.tv_nsec - a.tv_nsec);
    return double(t1 - t0) / ns;
}

// Time-stamp-counter ticks per core cycle, from a chain of dependent integer adds (one
// cycle each on every x86-64 core): the best of a few runs.
double ticks_per_core_cycle() {
    double best = 1e9;
    for (int k = 0; k < 5; ++k) {
        uint64_t x = 1;
        uint64_t t0 = ticks();
        for (int i = 0; i < 20000; ++i)
            asm volatile("add %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\t"
                         "add %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0"
                         : "+r"(x));
        uint64_t t1 = ticks();
        best = std::min(best, double(t1 - t0) / 200000.0);
    }
    return best;
}

std::string cpu_model() {
    FILE *f = std::fopen("/proc/cpuinfo", "r");
    if (!f) return "unknown";
    char line[512];
    std::string model = "unknown";
    while (std::fgets(line, sizeof line, f)) {
        if (std::strncmp(line, "model name", 10) == 0) {
            const char *c = std::strchr(line, ':');
            if (c) {
                model = c + 1;
                while (!model.empty() && (model.front() == ' ' || model.front() == '\t')) model.erase(0, 1);
                while (!model.empty() && (model.back() == '\n' || model.back() == ' ')) model.pop_back();
            }
            break;
        }
    }
    std::fclose(f);
    return model;
}

}  // namespace

bool timeable(const tsr_gen::Function &f) { return shape_of(f) != Shape::none; }

std::string range_text(const Range &r, const tsr_gen::Function &f) {
    auto span = [](bool lg, double lo, double hi) {
        char buf[64];
        std::snprintf(buf, sizeof buf, "%s[%g, %g]", lg ? "log " : "", lo, hi);
        return std::string(buf);
    };
    std::string first = span(r.log, r.lo, r.hi), second = span(r.log2, r.lo2, r.hi2);
    switch (shape_of(f)) {
    case Shape::c_c:
    case Shape::r_c: return first + " + " + second + "i";
    case Shape::c_cc: return first + " + " + second + "i, twice";
    case Shape::r_rr:
    case Shape::r_ri:
    case Shape::r_rl:
    case Shape::r_rx:
    case Shape::i_rr:
    case Shape::r_rrip: return first + " x " + second;
    case Shape::r_rrr: return first + " x " + second + " x " + second;
    default: return first;
    }
}

Figures time_sides(const tsr_gen::Function &f, const AnyFn *fns, int sides, const Range &r, int reps, int passes) {
    Shape s = shape_of(f);
    return f.prec == 'f'   ? measure_shape<float>(s, fns, sides, r, reps, passes)
           : f.prec == 'l' ? measure_shape<long double>(s, fns, sides, r, reps, passes)
                           : measure_shape<double>(s, fns, sides, r, reps, passes);
}

int cmd_bench(int argc, char **argv) {
    std::vector<std::string> names;
    std::string tier;
    int reps = 64, passes = 16;
    bool markdown = false, table_only = false, plt = false, have_range1 = false, have_range2 = false;
    double range1[2] = {}, range2[2] = {};
    for (int i = 0; i < argc; ++i) {
        std::string a = argv[i];
        std::string v;
        if (a == "--tier") {
            if (!option_value("bench", argc, argv, i, tier)) return 2;
        } else if (a == "--reps" || a == "--passes") {
            if (!option_value("bench", argc, argv, i, v) ||
                !parse_count("bench", a, v, 1, 1 << 20, a == "--reps" ? reps : passes))
                return 2;
        } else if (a == "--range" || a == "--range2") {
            // an operand drawn uniformly from [LO, HI] instead of the function's own range
            if (i + 2 >= argc) {
                std::fprintf(stderr, "tessera bench: option %s needs a value: %s LO HI\n", a.c_str(), a.c_str());
                return 2;
            }
            v = argv[++i];
            std::string hi = argv[++i];
            double(&span)[2] = a == "--range" ? range1 : range2;
            if (!parse_finite("bench", a, v, span[0]) || !parse_finite("bench", a, hi, span[1])) return 2;
            if (!(span[0] < span[1])) {
                std::fprintf(stderr, "tessera bench: %s needs LO below HI, not %s %s\n", a.c_str(), v.c_str(), hi.c_str());
                return 2;
            }
            (a == "--range" ? have_range1 : have_range2) = true;
        }
        else if (a == "--markdown") markdown = true;
        else if (a == "--table-only") table_only = true;
        else if (a == "--plt") plt = true;
        else if (a.rfind("--", 0) == 0) {
            std::fprintf(stderr, "tessera bench: unknown option %s\n", a.c_str());
            return 2;
        } else names.push_back(a);
    }
    void *libm = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
    if (!libm) {
        std::fprintf(stderr, "tessera bench: cannot load the system libm: %s\n", dlerror());
        return 1;
    }

    // What to bench: the named functions, or every built one the system libm also has.
    std::vector<const tsr_gen::Function *> todo;
    int status = 0;
    if (names.empty()) {
        for (const auto &f : tsr_gen::tsr_functions)
            if (timeable(f) && libm_side(libm, f)) todo.push_back(&f);
    } else {
        for (const auto &n : names) {
            const tsr_gen::Function *f = find_function(n);
            if (!f) {
                std::fprintf(stderr, "tessera bench: %s is not a built function\n", n.c_str());
                status = 2;
            } else if (!timeable(*f)) {
                std::fprintf(stderr, "tessera bench: %s has the shape %s (%s), which the tool cannot time\n", f->name,
                             f->shape, prec_name(f->prec));
                status = 2;
            } else if (!libm_side(libm, *f)) {
                std::fprintf(stderr, "tessera bench: the system libm has no %s\n", libm_name(f->name));
                status = 2;
            } else {
                todo.push_back(f);
            }
        }
        // A named function without the named tier is an error too, found before any output.
        if (!tier.empty() && tier != "selected")
            for (const tsr_gen::Function *f : todo)
                if (!find_tier(*f, tier)) {
                    std::fprintf(stderr, "tessera bench: %s has no tier %s\n", f->name, tier.c_str());
                    status = 2;
                }
    }
    if (status) return status;  // nothing measured on a command line with an error in it

    const double ghz = tsc_ghz();
    const double tpc = ticks_per_core_cycle();
    std::string cmd = "tessera bench";
    for (int i = 0; i < argc; ++i) cmd += std::string(" ") + argv[i];
    char method[640];
    std::snprintf(method, sizeof method,
                  "cycles per call in time-stamp-counter ticks (rdtsc, %.3f GHz measured against "
                  "CLOCK_MONOTONIC; the core ran at about %.2f GHz by a chain of dependent adds, so one "
                  "tick is about %.2f core cycles); %d interleaved repetitions of %zu calls each side, spread "
                  "over %d placements of the calling loop: the median within a placement, the mean across "
                  "placements (ratio tessera/libm: the geometric mean of the placements' median ratios)",
                  ghz, ghz / tpc, 1 / tpc, reps, kN * size_t(passes), kPlacements);
    if (plt)
        std::snprintf(method + std::strlen(method), sizeof method - std::strlen(method),
                      "; both sides called through a PLT-style jump, as from a program linked "
                      "against both shared libraries");
    if (markdown && !table_only) {
        char date[64];
        time_t now = time(nullptr);
        strftime(date, sizeof date, "%Y-%m-%d %H:%M UTC", gmtime(&now));
        std::printf("Machine: %s  \nDate: %s  \nCommand: `%s`  \nSystem libm: glibc %s (libm.so.6 through dlopen)  \n"
                    "Method: %s.\n\n",
                    cpu_model().c_str(), date, cmd.c_str(), gnu_get_libc_version(), method);
    }
    if (markdown) {
        std::printf("| function | tessera tier | inputs | throughput tessera | throughput libm | ratio | latency "
                    "tessera | latency libm | ratio |\n|---|---|---|---:|---:|---:|---:|---:|---:|\n");
    } else {
        std::printf("# %s\n# cpu: %s; system libm: glibc %s\n", method, cpu_model().c_str(), gnu_get_libc_version());
        std::printf("%-14s %-10s %-28s %22s %22s\n", "", "", "", "reciprocal throughput", "latency");
        std::printf("%-14s %-10s %-28s %7s %7s %6s %7s %7s %6s\n", "function", "tier", "inputs", "tessera", "libm",
                    "ratio", "tessera", "libm", "ratio");
    }
    std::fflush(stdout);

    for (const tsr_gen::Function *f : todo) {
        AnyFn ours = f->entry;
        std::string label;
        std::string want = tier;
        if (want == "selected") {
            // The body the slot holds, called directly: the entry's cost without its jump.
            if (f->dispatched) settle_slot(f->name);
            want = f->dispatched ? slot_tier(f->name) : f->bound ? "ex" : "";
            if (want.empty()) label = "direct";
        }
        if (!want.empty()) {
            const tsr_gen::TierEntry *t = find_tier(*f, want);
            if (!t) {
                if (!names.empty()) {  // asked for by name: say so; otherwise pass over it
                    std::fprintf(stderr, "tessera bench: %s has no tier %s\n", f->name, want.c_str());
                    status = 2;
                }
                continue;
            }
            if (!tsr::tier_runnable(t->tier)) {
                std::printf("%-14s %-10s not run: this processor lacks the tier's instruction set\n", f->name,
                            t->name);
                continue;
            }
            ours = t->fn;
            label = std::string(t->name) + (tier == "selected" ? " body" : "");
        }
        std::string versus;
        AnyFn theirs = libm_side(libm, *f, &versus);  // sets the wrappers' callee too
        if (plt) {
            tsr_tool_got0 = ours;
            tsr_tool_got1 = theirs;
            ours = tsr_tool_plt0;
            theirs = tsr_tool_plt1;
        }
        Range r = range_of(libm_name(f->name), shape_of(*f));
        if (have_range1) r.lo = range1[0], r.hi = range1[1], r.log = false;
        if (have_range2) r.lo2 = range2[0], r.hi2 = range2[1], r.log2 = false;
        AnyFn sides[2] = {ours, theirs};
        Figures fig = time_sides(*f, sides, 2, r, reps, passes);
        if (label.empty()) label = f->dispatched ? "entry " + slot_tier(f->name) : f->bound ? "ex bound" : "direct";
        double rt = fig.thr_ratio, rl = fig.lat_ratio;
        std::string in = range_text(r, *f);
        if (!versus.empty()) label += " vs libm " + versus;
        if (markdown)
            std::printf("| %s | %s | %s | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f |\n", f->name, label.c_str(),
                        in.c_str(), fig.thr[0], fig.thr[1], rt, fig.lat[0], fig.lat[1], rl);
        else
            std::printf("%-14s %-10s %-28s %7.2f %7.2f %6.2f %7.2f %7.2f %6.2f%s\n", f->name, label.c_str(),
                        in.c_str(), fig.thr[0], fig.thr[1], rt, fig.lat[0], fig.lat[1], rl,
                        (rt > 1 + std::max(0.02, fig.thr_spread) || rl > 1 + std::max(0.02, fig.lat_spread))
                            ? "  (slower than libm beyond the run's spread)" : "");
        std::fflush(stdout);
    }
    if (todo.empty()) std::printf("(nothing to bench)\n");
    return status;
}

}  // namespace tool

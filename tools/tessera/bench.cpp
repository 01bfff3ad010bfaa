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
// without a trailing f or l), then the default.
struct Range {
    const char *name;
    double lo, hi;
    bool log;          // log-uniform (lo > 0) instead of uniform
    double lo2, hi2;   // second operand (for an int operand: its integer range)
    bool log2;
};
constexpr Range kDefault = {"", -10, 10, false, -10, 10, false};
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
    // Rates from 10^-6 to 1 over 1 to 1000 periods.
    {"annuity", 1e-6, 1, true, 1, 1000, false},  {"compound", 1e-6, 1, true, 1, 1000, false},
};

// Functions the system libm lacks, measured against its radian counterpart: sinpi against
// sin(x·pi), atanpi against atan(x)/pi and so on.  The libm side is then a small wrapper that
// makes that one multiplication around its call through the pointer dlsym gave (one more
// direct call than the plain side; the wrapper is what a program without sinpi would write).
struct Counterpart {
    const char *name, *libm;
    bool scale_result;  // the result over pi, else the argument times pi
};
constexpr Counterpart kCounterparts[] = {
    {"sinpi", "sin", false},     {"cospi", "cos", false},     {"tanpi", "tan", false},
    {"sinpif", "sinf", false},   {"cospif", "cosf", false},   {"tanpif", "tanf", false},
    {"asinpi", "asin", true},    {"acospi", "acos", true},    {"atanpi", "atan", true},
    {"atan2pi", "atan2", true},  {"asinpif", "asinf", true},  {"acospif", "acosf", true},
    {"atanpif", "atanf", true},  {"atan2pif", "atan2f", true},
};
const Counterpart *counterpart_of(const char *name) {
    for (const Counterpart &c : kCounterparts)
        if (!std::strcmp(c.name, name)) return &c;
    return nullptr;
}
void *counter_fn;  // the libm function the wrappers call (one function is measured at a time)
template <class T> __attribute__((noinline)) T arg_times_pi(T x) {
    return reinterpret_cast<T (*)(T)>(counter_fn)(x * T(3.14159265358979323846));
}
template <class T> __attribute__((noinline)) T result_over_pi(T x) {
    return reinterpret_cast<T (*)(T)>(counter_fn)(x) * T(0x1.45f306dc9c883p-2) /* 1/pi */;
}
template <class T> __attribute__((noinline)) T result2_over_pi(T y, T x) {
    return reinterpret_cast<T (*)(T, T)>(counter_fn)(y, x) * T(0x1.45f306dc9c883p-2) /* 1/pi */;
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
    const Counterpart *c = counterpart_of(f.name);
    if (!c || !dlsym(libm, c->libm)) return nullptr;
    counter_fn = dlsym(libm, c->libm);
    if (what) *what = std::string(c->libm) + (c->scale_result ? "(...)/pi" : "(x*pi)");
    bool two = form_of(f) == Form::r_rr, flt = f.prec == 'f';
    if (!c->scale_result) return flt ? reinterpret_cast<AnyFn>(&arg_times_pi<float>) : reinterpret_cast<AnyFn>(&arg_times_pi<double>);
    if (two) return flt ? reinterpret_cast<AnyFn>(&result2_over_pi<float>) : reinterpret_cast<AnyFn>(&result2_over_pi<double>);
    return flt ? reinterpret_cast<AnyFn>(&result_over_pi<float>) : reinterpret_cast<AnyFn>(&result_over_pi<double>);
}

const Range &range_of(const std::string &name) {
    for (const Range &r : kRanges)
        if (name == r.name) return r;
    if (name.size() > 1 && (name.back() == 'f' || name.back() == 'l')) {
        std::string root = name.substr(0, name.size() - 1);
        for (const Range &r : kRanges)
            if (root == r.name) return r;
    }
    return kDefault;
}

std::string range_text(const Range &r, Form form) {
    char buf[128];
    int n = std::snprintf(buf, sizeof buf, "%s[%g, %g]", r.log ? "log " : "", r.lo, r.hi);
    if (two_operands(form) || form == Form::r_rrr)
        n += std::snprintf(buf + n, sizeof buf - n, " x %s[%g, %g]", r.log2 ? "log " : "", r.lo2, r.hi2);
    if (form == Form::r_rrr)  // the third operand: the second's array read backwards
        std::snprintf(buf + n, sizeof buf - n, " x %s[%g, %g]", r.log2 ? "log " : "", r.lo2, r.hi2);
    return buf;
}

constexpr size_t kN = 1024;  // operands per pass: small enough to stay in the first-level cache

// The operand and result arrays sit at fixed places in one page-aligned arena, each at its
// own offset within a page: a result stored while a nearby operand is loaded never shares
// the low twelve address bits with it (which would stall the load on a false dependency and
// make the figures depend on where the allocator happened to put the arrays).
template <class T> struct Inputs {
    T *x, *y;
    int *n;
    T *out;
    long long *iout;
};
alignas(4096) unsigned char g_arena[5 << 16];

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
    for (size_t i = 0; i < kN; ++i) {
        in.x[i] = draw(r.lo, r.hi, r.log);
        in.y[i] = draw(r.lo2, r.hi2, r.log2);
        in.n[i] = int(std::lround(r.lo2 + u(g) * (r.hi2 - r.lo2)));
        in.out[i] = 0;
        in.iout[i] = 0;
    }
    return in;
}

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
template <class T, Form F, int Pad> double throughput(AnyFn fn, Inputs<T> &in, int passes) {
    const T *x = in.x, *y = in.y;
    const int *n = in.n;
    T *out = in.out;
    long long *iout = in.iout;
    uint64_t t0 = ticks();
    for (int p = 0; p < passes; ++p) {
        for (size_t i = 0; i < kN; ++i) {
            asm volatile(".nops %c0" ::"i"(Pad));
            if constexpr (F == Form::r_r) out[i] = reinterpret_cast<T (*)(T)>(fn)(x[i]);
            else if constexpr (F == Form::r_rr) out[i] = reinterpret_cast<T (*)(T, T)>(fn)(x[i], y[i]);
            else if constexpr (F == Form::r_ri) out[i] = reinterpret_cast<T (*)(T, int)>(fn)(x[i], n[i]);
            else if constexpr (F == Form::r_rrr)
                out[i] = reinterpret_cast<T (*)(T, T, T)>(fn)(x[i], y[i], y[kN - 1 - i]);
            else if constexpr (F == Form::l_r) iout[i] = reinterpret_cast<long (*)(T)>(fn)(x[i]);
            else if constexpr (F == Form::ll_r) iout[i] = reinterpret_cast<long long (*)(T)>(fn)(x[i]);
            else if constexpr (F == Form::i_rr) iout[i] = reinterpret_cast<int (*)(T, T)>(fn)(x[i], y[i]);
            else iout[i] = reinterpret_cast<int (*)(T)>(fn)(x[i]);
        }
    }
    uint64_t t1 = ticks();
    return double(t1 - t0) / double(kN * size_t(passes));
}

template <class T, Form F, int Pad> double latency(AnyFn fn, Inputs<T> &in, int passes) {
    const T *x = in.x, *y = in.y;
    const int *n = in.n;
    const T z = zero_of<T>();
    const long long zi = g_zero_i;
    T r = 0;
    long long ri = 0;
    uint64_t t0 = ticks();
    for (int p = 0; p < passes; ++p) {
        for (size_t i = 0; i < kN; ++i) {
            asm volatile(".nops %c0" ::"i"(Pad));
            if constexpr (F == Form::r_r) r = reinterpret_cast<T (*)(T)>(fn)(link(x[i], r, z));
            else if constexpr (F == Form::r_rr) r = reinterpret_cast<T (*)(T, T)>(fn)(link(x[i], r, z), y[i]);
            else if constexpr (F == Form::r_ri) r = reinterpret_cast<T (*)(T, int)>(fn)(link(x[i], r, z), n[i]);
            else if constexpr (F == Form::r_rrr)
                r = reinterpret_cast<T (*)(T, T, T)>(fn)(link(x[i], r, z), y[i], y[kN - 1 - i]);
            else if constexpr (F == Form::l_r) ri = reinterpret_cast<long (*)(T)>(fn)(link_int(x[i], ri, zi));
            else if constexpr (F == Form::ll_r) ri = reinterpret_cast<long long (*)(T)>(fn)(link_int(x[i], ri, zi));
            else if constexpr (F == Form::i_rr) ri = reinterpret_cast<int (*)(T, T)>(fn)(link_int(x[i], ri, zi), y[i]);
            else ri = reinterpret_cast<int (*)(T)>(fn)(link_int(x[i], ri, zi));
        }
    }
    uint64_t t1 = ticks();
    in.out[0] = r;
    in.iout[0] = ri;
    return double(t1 - t0) / double(kN * size_t(passes));
}

// One timing loop per placement, by index: throughput or latency (Lat).
using TimeFn = double (*)(AnyFn, void *, int);
template <class T, Form F, int Pad, bool Lat> double time_at(AnyFn fn, void *in, int passes) {
    auto &typed = *static_cast<Inputs<T> *>(in);
    return Lat ? latency<T, F, Pad>(fn, typed, passes) : throughput<T, F, Pad>(fn, typed, passes);
}
template <class T, Form F, bool Lat, size_t... I>
constexpr std::array<TimeFn, kPlacements> placements(std::index_sequence<I...>) {
    return {&time_at<T, F, int(I) * 8, Lat>...};
}

struct Figures {
    double thr[2], lat[2];  // [0] tessera, [1] libm: ticks per call
    double thr_ratio, lat_ratio;  // tessera/libm
    // Run-to-run spread of each ratio: half the interquartile range of the repetitions'
    // log ratios, as a fraction.  A ratio is called slower only beyond it.
    double thr_spread, lat_spread;
};

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    size_t m = v.size() / 2;
    return v.size() % 2 ? v[m] : 0.5 * (v[m - 1] + v[m]);
}

template <class T, Form F> Figures measure(AnyFn ours, AnyFn theirs, const Range &r, int reps, int passes) {
    Inputs<T> in = make_inputs<T>(r, 0x7e55e7a);
    AnyFn fns[2] = {ours, theirs};
    constexpr auto thr_fns = placements<T, F, false>(std::make_index_sequence<kPlacements>());
    constexpr auto lat_fns = placements<T, F, true>(std::make_index_sequence<kPlacements>());
    void *any = &in;
    for (AnyFn fn : fns) {  // warm up: caches, predictors, and the first call's slot settling
        thr_fns[0](fn, any, 2);
        lat_fns[0](fn, any, 2);
    }
    std::vector<double> thr[2], lat[2];
    for (int k = 0; k < reps; ++k) {
        int at = k % kPlacements;
        for (int j = 0; j < 2; ++j) {
            int s = (k / kPlacements + j) & 1;  // alternate which side goes first
            thr[s].push_back(thr_fns[at](fns[s], any, passes));
        }
        for (int j = 0; j < 2; ++j) {
            int s = (k / kPlacements + j + 1) & 1;
            lat[s].push_back(lat_fns[at](fns[s], any, passes));
        }
    }
    // Within a placement the median over its repetitions: a repetition measures both sides
    // back to back, so its ratio compares them under the same conditions (the machine's other
    // load, the core's clock), and the median of those ratios is steadier than the ratio of
    // the medians.  Across placements the mean (for the ratio, the geometric mean): each
    // placement is as likely as another for a caller's loop.
    int used = std::min(reps, kPlacements);
    Figures f{};
    double lrt = 0, lrl = 0;
    for (int at = 0; at < used; ++at) {
        std::vector<double> t[2], l[2], rt, rl;
        for (int k = at; k < reps; k += kPlacements) {
            for (int s = 0; s < 2; ++s) t[s].push_back(thr[s][k]), l[s].push_back(lat[s][k]);
            rt.push_back(thr[0][k] / thr[1][k]);
            rl.push_back(lat[0][k] / lat[1][k]);
        }
        for (int s = 0; s < 2; ++s) f.thr[s] += median(t[s]) / used, f.lat[s] += median(l[s]) / used;
        lrt += std::log(median(rt)) / used;
        lrl += std::log(median(rl)) / used;
    }
    f.thr_ratio = std::exp(lrt);
    f.lat_ratio = std::exp(lrl);
    auto spread = [&](const std::vector<double> (&v)[2]) {
        std::vector<double> lr;
        for (int k = 0; k < reps; ++k) lr.push_back(std::log(v[0][k] / v[1][k]));
        std::sort(lr.begin(), lr.end());
        return std::expm1(0.5 * (lr[(3 * lr.size()) / 4] - lr[lr.size() / 4]));
    };
    f.thr_spread = spread(thr);
    f.lat_spread = spread(lat);
    return f;
}

template <class T> Figures measure_form(Form form, AnyFn a, AnyFn b, const Range &r, int reps, int passes) {
    switch (form) {
    case Form::r_r: return measure<T, Form::r_r>(a, b, r, reps, passes);
    case Form::r_rr: return measure<T, Form::r_rr>(a, b, r, reps, passes);
    case Form::r_ri: return measure<T, Form::r_ri>(a, b, r, reps, passes);
    case Form::r_rrr: return measure<T, Form::r_rrr>(a, b, r, reps, passes);
    case Form::l_r: return measure<T, Form::l_r>(a, b, r, reps, passes);
    case Form::ll_r: return measure<T, Form::ll_r>(a, b, r, reps, passes);
    case Form::i_r: return measure<T, Form::i_r>(a, b, r, reps, passes);
    case Form::i_rr: return measure<T, Form::i_rr>(a, b, r, reps, passes);
    default: return {};
    }
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

// The system libm's name for a function: its own, but the correctly rounded members
// (__libm_cr_expf) are compared with the ordinary function of the same root (expf).

struct Row {
    std::string name, tier, inputs;
    Figures fig;
};

}  // namespace

int cmd_bench(int argc, char **argv) {
    std::vector<std::string> names;
    std::string tier;
    int reps = 64, passes = 16;
    bool markdown = false, table_only = false, plt = false, have_range = false;
    double range_lo = 0, range_hi = 0;
    for (int i = 0; i < argc; ++i) {
        std::string a = argv[i];
        std::string v;
        if (a == "--tier") {
            if (!option_value("bench", argc, argv, i, tier)) return 2;
        } else if (a == "--reps" || a == "--passes") {
            if (!option_value("bench", argc, argv, i, v) ||
                !parse_count("bench", a, v, 1, 1 << 20, a == "--reps" ? reps : passes))
                return 2;
        } else if (a == "--range") {
            // the first operand drawn uniformly from [LO, HI] instead of the function's own range
            if (i + 2 >= argc) {
                std::fprintf(stderr, "tessera bench: option --range needs a value: --range LO HI\n");
                return 2;
            }
            v = argv[++i];
            std::string hi = argv[++i];
            if (!parse_finite("bench", a, v, range_lo) || !parse_finite("bench", a, hi, range_hi)) return 2;
            if (!(range_lo < range_hi)) {
                std::fprintf(stderr, "tessera bench: --range needs LO below HI, not %s %s\n", v.c_str(), hi.c_str());
                return 2;
            }
            have_range = true;
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
            if (form_of(f) != Form::unsupported && libm_side(libm, f)) todo.push_back(&f);
    } else {
        for (const auto &n : names) {
            const tsr_gen::Function *f = find_function(n);
            if (!f) {
                std::fprintf(stderr, "tessera bench: %s is not a built function\n", n.c_str());
                status = 2;
            } else if (form_of(*f) == Form::unsupported) {
                std::fprintf(stderr, "tessera bench: %s has the form %s (%s), which the tool cannot call\n", f->name,
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
        Form form = form_of(*f);
        Range r = range_of(libm_name(f->name));
        if (have_range) r.lo = range_lo, r.hi = range_hi, r.log = false;
        Figures fig = f->prec == 'f'   ? measure_form<float>(form, ours, theirs, r, reps, passes)
                      : f->prec == 'l' ? measure_form<long double>(form, ours, theirs, r, reps, passes)
                                       : measure_form<double>(form, ours, theirs, r, reps, passes);
        if (label.empty()) label = f->dispatched ? "entry " + slot_tier(f->name) : f->bound ? "ex bound" : "direct";
        double rt = fig.thr_ratio, rl = fig.lat_ratio;
        std::string in = range_text(r, form);
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

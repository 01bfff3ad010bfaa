// `tessera bench-bwr [NAME...]`: speed of each reproducible form (or of the named ones)
// against its dispatched function (the tier its slot selects on this processor, called
// through its public entry) and its ex body, side by side in one process: time-stamp-counter
// ticks per call, reciprocal throughput and latency, as the markdown table of
// docs/performance/bwr.md.  Every shape of the family is measured: integer results are
// converted back to the floating type, results through pointers go to a local, and the
// returned value (for sincos-like forms the first result) feeds the latency chain.
#include <x86intrin.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "tool.h"

namespace tool {
namespace {

using tsr_gen::Function;

struct Range {
    const char *root;
    double lo, hi;
    bool log;
    double lo2, hi2;
    bool integral2 = false;  // the second operand an integer value (scalb's count)
};
// Where each function is usually called (the first operand, and the second for two).
constexpr Range kRanges[] = {
    {"log", 1e-300, 1e300, true, 0, 0},   {"log1p", -0.9, 100, false, 0, 0},
    {"exp", -700, 700, false, 0, 0},      {"exp2", -1000, 1000, false, 0, 0},
    {"exp10", -300, 300, false, 0, 0},    {"pow", 0.1, 10, false, -50, 50},
    {"ceil", -1e6, 1e6, false, 0, 0},     {"acosh", 1, 1e6, true, 0, 0},
    {"sqrt", 1e-300, 1e300, true, 0, 0},  {"invsqrt", 1e-300, 1e300, true, 0, 0},
    {"cbrt", -1e6, 1e6, false, 0, 0},     {"hypot", -1e6, 1e6, false, -1e6, 1e6},
    {"acos", -1, 1, false, 0, 0},         {"atanh", -0.99, 0.99, false, 0, 0},
};
Range range_of(std::string name, bool single) {
    name = name.substr(6);  // less __bwr_
    if (single && name.back() == 'f') name.pop_back();
    if (name == "log2" || name == "log10") name = "log";
    if (name == "logb") return {"", -10, 10, false, 0, 0};
    if (name == "scalb") return {"", -10, 10, false, -10, 10, true};
    for (const char *r : {"floor", "trunc", "round", "rint", "nearbyint", "lrint", "llrint", "lround", "llround"})
        if (name == r) return kRanges[6];
    if (name == "asin") return kRanges[12];
    for (const Range &r : kRanges)
        if (name == r.root) {
            Range x = r;
            if (single && x.log) x.lo = std::max(x.lo, 1e-37), x.hi = std::min(x.hi, 1e37);
            if (single && x.root == std::string("exp")) x.lo = -87, x.hi = 88;
            if (single && x.root == std::string("exp2")) x.lo = -126, x.hi = 127;
            if (single && x.root == std::string("exp10")) x.lo = -37, x.hi = 38;
            return x;
        }
    return {"", -10, 10, false, -10, 10};
}

template <class T> std::vector<T> inputs(double lo, double hi, bool log, uint64_t seed) {
    std::vector<T> v(1024);
    uint64_t s = seed;
    for (T &x : v) {
        s = s * 6364136223846793005ull + 1442695040888963407ull;
        double u = double(s >> 11) * 0x1p-53;
        x = T(log ? std::exp(std::log(lo) + (std::log(hi) - std::log(lo)) * u) : lo + (hi - lo) * u);
    }
    return v;
}

struct Figures {
    double thr, lat;
};
struct Pair {
    Figures bwr, disp, ratio, ex;
};
double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}
// Ticks per call of one pass: independent calls (throughput), or calls chained through their
// results (latency: the next operand is the input plus the result times a zero the compiler
// cannot see).
template <class T, int N, class F> double pass(F fn, const std::vector<T> &a, const std::vector<T> &b, bool chain) {
    volatile T zero_v = 0;
    T zero = zero_v, r = 0;
    uint64_t t0 = __rdtsc();
    if (!chain) {
        for (size_t i = 0; i < a.size(); ++i) {
            T v = N == 1 ? fn(a[i], a[i]) : fn(a[i], b[i]);
            asm volatile("" : : "x"(v));
        }
    } else {
        for (size_t i = 0; i < a.size(); ++i) r = N == 1 ? fn(a[i] + r * zero, a[i]) : fn(a[i] + r * zero, b[i]);
    }
    uint64_t t1 = __rdtsc();
    asm volatile("" : : "x"(r));
    return double(t1 - t0) / double(a.size());
}
// The reproducible form, the dispatched entry and the ex body in turn, 63 repetitions: the
// median of each figure and of the ratios reproducible/dispatched.
template <class T, int N, class F, class G, class H>
Pair measure(F fb, G fp, H fe, const std::vector<T> &a, const std::vector<T> &b) {
    std::vector<double> v[8];
    for (int rep = 0; rep < 63; ++rep)
        for (int chain = 0; chain < 2; ++chain) {
            double x = pass<T, N>(fb, a, b, chain), y = pass<T, N>(fp, a, b, chain);
            v[6 + chain].push_back(pass<T, N>(fe, a, b, chain));
            v[chain].push_back(x), v[2 + chain].push_back(y), v[4 + chain].push_back(x / y);
        }
    return {{median(v[0]), median(v[1])}, {median(v[2]), median(v[3])}, {median(v[4]), median(v[5])},
            {median(v[6]), median(v[7])}};
}

// Each shape as a call T(x, y) on the two input arrays: y is the second operand where there
// is one (an integer operand takes it truncated; fma takes it twice, as y and z).
template <class T, class Shape> struct Call {
    tsr_gen::AnyFn f;
    T operator()(T x, T y) const { return Shape::template call<T>(f, x, y); }
};
template <class Fn> Fn *as(tsr_gen::AnyFn f) { return reinterpret_cast<Fn *>(f); }
struct ShapeR { template <class T> static T call(tsr_gen::AnyFn f, T x, T) { return as<T(T)>(f)(x); } };
struct ShapeRR { template <class T> static T call(tsr_gen::AnyFn f, T x, T y) { return as<T(T, T)>(f)(x, y); } };
struct ShapeRRR { template <class T> static T call(tsr_gen::AnyFn f, T x, T y) { return as<T(T, T, T)>(f)(x, y, y); } };
template <class I> struct ShapeI {
    template <class T> static T call(tsr_gen::AnyFn f, T x, T) { return T(as<I(T)>(f)(x)); }
};
template <class I> struct ShapeRI {
    template <class T> static T call(tsr_gen::AnyFn f, T x, T y) { return as<T(T, I)>(f)(x, I(y)); }
};
struct ShapeRX {
    template <class T> static T call(tsr_gen::AnyFn f, T x, T y) { return as<T(T, long double)>(f)(x, y); }
};
template <class P> struct ShapeRP {  // a second result through a pointer (frexp, modf, lgamma_r)
    template <class T> static T call(tsr_gen::AnyFn f, T x, T) {
        using Q = std::conditional_t<std::is_same_v<P, void>, T, P>;
        Q out;
        return as<T(T, Q *)>(f)(x, &out);
    }
};
struct ShapeRRIp {
    template <class T> static T call(tsr_gen::AnyFn f, T x, T y) {
        int q;
        return as<T(T, T, int *)>(f)(x, y, &q);
    }
};
struct ShapeVRR {
    template <class T> static T call(tsr_gen::AnyFn f, T x, T) {
        T a, b;
        as<void(T, T *, T *)>(f)(x, &a, &b);
        asm volatile("" : : "x"(b));
        return a;
    }
};

template <class T, class Shape> void row(const Function &bwr, const Function &plain) {
    Range r = range_of(bwr.name, sizeof(T) == 4);
    auto a = inputs<T>(r.lo, r.hi, r.log, 1), b = inputs<T>(r.lo2, r.hi2, false, 2);
    if (r.integral2)
        for (T &v : b) v = std::trunc(v);
    tsr_gen::AnyFn ex = plain.entry;
    for (int i = 0; i < plain.ntiers; ++i)
        if (std::strcmp(plain.tiers[i].name, "ex") == 0) ex = plain.tiers[i].fn;
    Call<T, Shape> pb{bwr.entry}, pp{plain.entry}, pe{ex};
    pp(a[0], b[0]);  // settle the slot
    Pair m = measure<T, 2>(pb, pp, pe, a, b);
    std::printf("| %s | %s | %.4g .. %.4g | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f |\n", bwr.name,
                (slot_tier(plain.name).empty() ? std::string(plain.bound ? "ex (bound)" : "-") : slot_tier(plain.name)).c_str(), r.lo, r.hi, m.bwr.thr, m.disp.thr, m.ratio.thr, m.bwr.lat,
                m.disp.lat, m.ratio.lat, m.ex.thr, m.ex.lat);
}

// The row of one form in its precision and shape; false for a shape not measured.
template <class T> bool row_of_shape(const Function &bwr, const Function &plain) {
    const std::string s = bwr.shape;
    if (s == "R(R)") row<T, ShapeR>(bwr, plain);
    else if (s == "R(R,R)") row<T, ShapeRR>(bwr, plain);
    else if (s == "R(R,R,R)") row<T, ShapeRRR>(bwr, plain);
    else if (s == "I(R)") row<T, ShapeI<int>>(bwr, plain);
    else if (s == "L(R)") row<T, ShapeI<long>>(bwr, plain);
    else if (s == "LL(R)") row<T, ShapeI<long long>>(bwr, plain);
    else if (s == "R(R,I)") row<T, ShapeRI<int>>(bwr, plain);
    else if (s == "R(R,L)") row<T, ShapeRI<long>>(bwr, plain);
    else if (s == "R(R,X)") row<T, ShapeRX>(bwr, plain);
    else if (s == "R(R,I*)") row<T, ShapeRP<int>>(bwr, plain);
    else if (s == "R(R,R*)") row<T, ShapeRP<void>>(bwr, plain);
    else if (s == "R(R,R,I*)") row<T, ShapeRRIp>(bwr, plain);
    else if (s == "V(R,R*,R*)") row<T, ShapeVRR>(bwr, plain);
    else return false;
    return true;
}

}  // namespace

int cmd_bench_bwr(int argc, char **argv) {
    std::printf("| reproducible form | dispatched tier | inputs | throughput bwr | throughput dispatched | ratio "
                "| latency bwr | latency dispatched | ratio | throughput ex | latency ex |\n"
                "|---|---|---|---:|---:|---:|---:|---:|---:|---:|---:|\n");
    int missed = 0;
    for (const Function &f : tsr_gen::tsr_functions) {
        if (std::strncmp(f.name, "__bwr_", 6) != 0) continue;
        const std::string name = f.name, base = name.substr(6);
        bool wanted = argc == 0;
        for (int i = 0; i < argc; ++i) wanted |= argv[i] == name || argv[i] == base;
        if (!wanted) continue;
        // The plain function, or the merged name it is built under (ldexpf as __quill_ldexpf).
        const Function *p = find_function(base);
        if (!p) p = find_function("__quill_" + base);
        bool done = p && ((f.prec == 'd' && row_of_shape<double>(f, *p)) || (f.prec == 'f' && row_of_shape<float>(f, *p)));
        if (!done) std::fprintf(stderr, "%s (%s): not measured\n", f.name, f.shape), ++missed;
    }
    return missed ? 1 : 0;
}

}  // namespace tool

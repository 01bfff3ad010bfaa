// Sine, cosine and tangent of tessera, tier by tier, beside the system libm's functions of the
// same names, in one run: the one-result functions and the two-result sincos and sincosf, which
// the general tool cannot call.  Time-stamp-counter ticks per call, the minimum over many
// repetitions in which the sides alternate (the least disturbed figure on a shared machine).
// Reciprocal throughput: independent calls over an array, results stored.  Latency: each
// argument depends on the previous results through an and/or pair (`x = base | (result & 0)`,
// one-cycle vector logic; for sincos both results are linked, one more or): the same link on
// both sides, counted in both figures.
//   g++ -O2 -I build/gen -I include tools/bench/trig_bench.cpp build/libtessera.a -ldl -o /tmp/trig_bench
//   /tmp/trig_bench [TIER...]          (default: z0 l9; "-" for the public entries)
#include <dlfcn.h>
#include <x86intrin.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "tessera.h"

namespace {

constexpr size_t kN = 1024;
constexpr int kReps = 400;

template <class T> struct Vec;
template <> struct Vec<double> {
    static __m128d in(double x) { return _mm_set_sd(x); }
    static double out(__m128d v) { return _mm_cvtsd_f64(v); }
    static __m128d cast(__m128d v) { return v; }
};
template <> struct Vec<float> {
    static __m128 in(float x) { return _mm_set_ss(x); }
    static float out(__m128 v) { return _mm_cvtss_f32(v); }
};

// base | (r & zero), zero hidden from the compiler.
inline double link(double base, double r, __m128d zero) {
    return _mm_cvtsd_f64(_mm_or_pd(_mm_set_sd(base), _mm_and_pd(_mm_set_sd(r), zero)));
}
inline float link(float base, float r, __m128d zero) {
    __m128 z = _mm_castpd_ps(zero);
    return _mm_cvtss_f32(_mm_or_ps(_mm_set_ss(base), _mm_and_ps(_mm_set_ss(r), z)));
}

inline uint64_t ticks() {
    _mm_lfence();
    uint64_t t = __rdtsc();
    _mm_lfence();
    return t;
}

template <class T> struct Fn {
    T (*one)(T) = nullptr;
    void (*two)(T, T *, T *) = nullptr;
};

template <class T> double thr(Fn<T> f, const std::vector<T> &x, std::vector<T> &o1, std::vector<T> &o2) {
    uint64_t t0 = ticks();
    if (f.one)
        for (size_t i = 0; i < kN; ++i) o1[i] = f.one(x[i]);
    else
        for (size_t i = 0; i < kN; ++i) f.two(x[i], &o1[i], &o2[i]);
    return double(ticks() - t0) / kN;
}

template <class T> double lat(Fn<T> f, const std::vector<T> &x, std::vector<T> &o1) {
    __m128d zero = _mm_setzero_pd();
    __asm__ volatile("" : "+x"(zero));
    T r = 0, c = 0;
    uint64_t t0 = ticks();
    if (f.one) {
        for (size_t i = 0; i < kN; ++i) r = f.one(link(x[i], r, zero));
    } else {
        for (size_t i = 0; i < kN; ++i) f.two(link(link(x[i], r, zero), c, zero), &r, &c);
    }
    uint64_t t1 = ticks();
    o1[0] = r + c;
    return double(t1 - t0) / kN;
}

struct Fig {
    double thr[2], lat[2], thr_ratio, lat_ratio;
};

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

template <class T> Fig measure(Fn<T> ours, Fn<T> theirs, double lo, double hi) {
    std::mt19937_64 g(7);
    std::uniform_real_distribution<double> u(lo, hi);
    std::vector<T> x(kN), o1(kN), o2(kN);
    for (auto &v : x) v = T(u(g));
    std::vector<double> t[2], l[2], tr, lr;
    for (int rep = 0; rep < kReps; ++rep) {
        double a[2], b[2];
        for (int k = 0; k < 2; ++k) {
            int s = (rep + k) & 1;  // alternate which side goes first
            Fn<T> fn = s ? theirs : ours;
            a[s] = thr(fn, x, o1, o2);
            b[s] = lat(fn, x, o1);
            t[s].push_back(a[s]);
            l[s].push_back(b[s]);
        }
        tr.push_back(a[0] / a[1]);
        lr.push_back(b[0] / b[1]);
    }
    Fig f;
    for (int s = 0; s < 2; ++s) f.thr[s] = median(t[s]), f.lat[s] = median(l[s]);
    f.thr_ratio = median(tr);
    f.lat_ratio = median(lr);
    return f;
}

template <class T> Fn<T> one(T (*p)(T)) { Fn<T> f; f.one = p; return f; }
template <class T> Fn<T> two(void (*p)(T, T *, T *)) { Fn<T> f; f.two = p; return f; }

template <class T> Fn<T> sys(void *m, const char *name, bool pair) {
    Fn<T> f;
    void *p = dlsym(m, name);
    if (pair) f.two = reinterpret_cast<void (*)(T, T *, T *)>(p);
    else f.one = reinterpret_cast<T (*)(T)>(p);
    return f;
}

// Tier variants by name: the public entry for "-".
#define TIERS(name, ...)                                                                 \
    {#name, {{"-", name}, {"ex", __libm_##name##_ex}, {"e7", __libm_##name##_e7},        \
             {"l9", __libm_##name##_l9}, {"z0", __libm_##name##_z0}, {"d1", __libm_##name##_d1}}}

template <class P> struct Named {
    const char *name;
    std::vector<std::pair<std::string, P>> tiers;
};

template <class T, class P>
void row(void *m, const Named<P> &n, const std::vector<std::string> &want, double lo, double hi) {
    constexpr bool pair = std::is_same_v<P, void (*)(T, T *, T *)>;
    Fn<T> theirs = sys<T>(m, n.name, pair);
    for (const auto &w : want)
        for (const auto &[tn, p] : n.tiers) {
            if (tn != w) continue;
            Fn<T> ours;
            if constexpr (pair) ours = two<T>(p);
            else ours = one<T>(p);
            Fig f = measure<T>(ours, theirs, lo, hi);
            std::printf("| %s | %s | [%g, %g] | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f |\n", n.name,
                        tn == "-" ? "entry" : tn.c_str(), lo, hi, f.thr[0], f.thr[1], f.thr_ratio,
                        f.lat[0], f.lat[1], f.lat_ratio);
            std::fflush(stdout);
        }
}

}  // namespace

int main(int argc, char **argv) {
    void *m = dlopen("libm.so.6", RTLD_NOW);
    if (!m) return 1;
    std::vector<std::string> want;
    bool huge = false;
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--huge")) huge = true;
        else want.push_back(argv[i]);
    }
    if (want.empty()) want = {"z0", "l9"};
    using D1 = double (*)(double);
    using F1 = float (*)(float);
    using D2 = void (*)(double, double *, double *);
    using F2 = void (*)(float, float *, float *);
    std::vector<Named<D1>> d1 = {
        {"sin", {{"-", sin}, {"ex", __libm_sin_ex}, {"e7", __libm_sin_e7}, {"y8", __libm_sin_y8},
                 {"l9", __libm_sin_l9}, {"z0", __libm_sin_z0}, {"d1", __libm_sin_d1}}},
        {"cos", {{"-", cos}, {"ex", __libm_cos_ex}, {"e7", __libm_cos_e7}, {"y8", __libm_cos_y8},
                 {"l9", __libm_cos_l9}, {"z0", __libm_cos_z0}, {"d1", __libm_cos_d1}}},
        TIERS(tan)};
    std::vector<Named<D2>> d2 = {TIERS(sincos)};
    std::vector<Named<F1>> f1 = {TIERS(sinf), TIERS(cosf), TIERS(tanf)};
    std::vector<Named<F2>> f2 = {TIERS(sincosf)};
    std::printf("| function | tier | inputs | throughput tessera | throughput libm | ratio | latency tessera "
                "| latency libm | ratio |\n|---|---|---|---:|---:|---:|---:|---:|---:|\n");
    std::vector<std::pair<double, double>> ranges = {{-M_PI, M_PI}, {-1e6, 1e6}};
    if (huge) ranges = {{1e10, 1e12}};
    for (auto [lo, hi] : ranges) {
        for (auto &n : d1) row<double>(m, n, want, lo, hi);
        for (auto &n : d2) row<double>(m, n, want, lo, hi);
        for (auto &n : f1) row<float>(m, n, want, lo, hi);
        for (auto &n : f2) row<float>(m, n, want, lo, hi);
    }
    return 0;
}

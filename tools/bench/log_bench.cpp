// Throughput and latency of the logarithms against the system libm.
//   g++ -O2 -std=c++20 tools/bench/log_bench.cpp -ldl -o /tmp/log_bench
//   /tmp/log_bench build/libtessera.so
// Both libraries are reached through function pointers (dlsym), so each call costs the same
// indirect call; tessera's plain names add their dispatch slot's jump, as in real use.
#include <dlfcn.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

using D = double (*)(double);
using F = float (*)(float);

template <class T, class Fn>
double ns_throughput(Fn f, const std::vector<T> &xs, int reps) {
    volatile T sink = 0;
    auto t0 = std::chrono::steady_clock::now();
    for (int r = 0; r < reps; ++r) {
        T s = 0;
        for (T x : xs) s += f(x);
        sink = s;
    }
    auto t1 = std::chrono::steady_clock::now();
    (void)sink;
    return std::chrono::duration<double, std::nano>(t1 - t0).count() / (double(xs.size()) * reps);
}

// Each argument depends on the previous result (y * 0 keeps the dependency).
template <class T, class Fn>
double ns_latency(Fn f, const std::vector<T> &xs, int reps) {
    volatile T sink = 0;
    T y = 0;
    auto t0 = std::chrono::steady_clock::now();
    for (int r = 0; r < reps; ++r)
        for (T x : xs) y = f(x + y * T(0));
    auto t1 = std::chrono::steady_clock::now();
    sink = y;
    (void)sink;
    return std::chrono::duration<double, std::nano>(t1 - t0).count() / (double(xs.size()) * reps);
}

template <class T>
std::vector<T> inputs(bool log1p) {
    std::mt19937_64 g(7);
    std::vector<T> v(4096);
    for (auto &x : v) {
        double e = std::uniform_real_distribution<double>(-20, 20)(g);
        x = T(std::exp2(e));
        if (log1p && (g() & 1)) x = T(-std::exp2(-std::uniform_real_distribution<double>(1, 30)(g)));
    }
    return v;
}

template <class T>
void row(const char *name, void *sys, void *tsr, int reps = 2000) {
    if (!sys || !tsr) {
        std::printf("%-14s missing\n", name);
        return;
    }
    using P = T (*)(T);
    bool l1p = std::string_view(name).find("log1p") != std::string_view::npos;
    auto xs = inputs<T>(l1p);
    P s = P(sys), t = P(tsr);
    // best of 5 to damp the noise of a shared machine
    double st = 1e9, tt = 1e9, sl = 1e9, tl = 1e9;
    for (int k = 0; k < 5; ++k) {
        st = std::min(st, ns_throughput<T>(s, xs, reps));
        tt = std::min(tt, ns_throughput<T>(t, xs, reps));
        sl = std::min(sl, ns_latency<T>(s, xs, reps));
        tl = std::min(tl, ns_latency<T>(t, xs, reps));
    }
    std::printf("| %-16s | %6.2f | %6.2f | %5.2f | %6.2f | %6.2f | %5.2f |\n", name, st, tt, tt / st, sl, tl, tl / sl);
}

int main(int argc, char **argv) {
    void *lm = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
    void *ts = dlopen(argc > 1 ? argv[1] : "build/libtessera.so", RTLD_NOW | RTLD_LOCAL);
    if (!lm || !ts) {
        std::printf("dlopen failed: %s\n", dlerror());
        return 1;
    }
    std::printf("| function         | libm thr ns | tessera thr ns | ratio | libm lat ns | tessera lat ns | ratio |\n");
    std::printf("|---|---|---|---|---|---|---|\n");
    const char *dn[] = {"log", "log2", "log10", "log1p"};
    for (const char *n : dn) {
        row<double>(n, dlsym(lm, n), dlsym(ts, n));
        for (const char *t : {"ex", "e7", "l9"}) {
            char buf[64];
            std::snprintf(buf, sizeof buf, "__libm_%s_%s", n, t);
            char label[64];
            std::snprintf(label, sizeof label, "%s (%s)", n, t);
            if (void *p = dlsym(ts, buf)) row<double>(label, dlsym(lm, n), p);
        }
    }
    const char *fn[] = {"logf", "log2f", "log10f", "log1pf"};
    for (const char *n : fn) {
        row<float>(n, dlsym(lm, n), dlsym(ts, n));
        for (const char *t : {"ex", "e7", "l9"}) {
            char buf[64];
            std::snprintf(buf, sizeof buf, "__libm_%s_%s", n, t);
            char label[64];
            std::snprintf(label, sizeof label, "%s (%s)", n, t);
            if (void *p = dlsym(ts, buf)) row<float>(label, dlsym(lm, n), p);
        }
    }
    return 0;
}

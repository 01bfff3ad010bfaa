// Throughput and latency of the exponentials, tessera's dispatched names side by side with
// the system libm (reached through dlopen, so the two never share a symbol).  Not part of
// the build; compile and run from the repository root after building:
//   g++ -O2 -std=c++20 -I build/gen -I include tools/bench/exp_bench.cpp build/libtessera.a -ldl -o /tmp/exp_bench && /tmp/exp_bench
#include <dlfcn.h>

#include <chrono>
#include <cstdio>
#include <random>
#include <vector>

#include "tessera.h"

namespace {

template <class T>
struct Fns {
    const char *name;
    T (*ours)(T);
    const char *sys;
    double lo, hi;
};

template <class T>
double now_ns(auto &&f) {
    auto t0 = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - t0).count();
}

template <class T>
void bench(void *libm, const Fns<T> &f) {
    auto sys = reinterpret_cast<T (*)(T)>(dlsym(libm, f.sys));
    std::mt19937_64 g(1);
    std::uniform_real_distribution<double> d(f.lo, f.hi);
    std::vector<T> xs(4096);
    for (auto &x : xs) x = T(d(g));
    volatile T sink = 0;
    auto thr = [&](T (*fn)(T)) {
        double best = 1e30;
        for (int rep = 0; rep < 20; ++rep) {
            double ns = now_ns<T>([&] {
                T acc = 0;
                for (T x : xs) acc += fn(x);
                sink = acc;
            });
            best = std::min(best, ns / xs.size());
        }
        return best;
    };
    // Each argument waits for the previous result (times a zero the compiler cannot see);
    // the ranges keep every result finite.
    static volatile T zero_v = 0;
    T zero = zero_v;
    auto lat = [&](T (*fn)(T)) {
        double best = 1e30;
        for (int rep = 0; rep < 20; ++rep) {
            double ns = now_ns<T>([&] {
                T y = 0;
                for (T x : xs) y = fn(x + y * zero);
                sink = y;
            });
            best = std::min(best, ns / xs.size());
        }
        return best;
    };
    double to = thr(f.ours), ts = thr(sys), lo = lat(f.ours), ls = lat(sys);
    std::printf("| %s | %.2f | %.2f | %.2f | %.2f | %.2f | %.2f |\n", f.name, to, ts, to / ts, lo, ls, lo / ls);
}

}  // namespace

int main() {
    void *libm = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
    if (!libm) return 1;
    std::printf("| function | tessera ns/call (throughput) | libm | ratio | tessera ns/call (latency) | libm | ratio |\n");
    std::printf("|---|---|---|---|---|---|---|\n");
    bench<double>(libm, {"exp", exp, "exp", -700, 700});
    bench<double>(libm, {"exp2", exp2, "exp2", -1000, 1000});
    bench<double>(libm, {"exp10", exp10, "exp10", -300, 300});
    bench<float>(libm, {"expf", expf, "expf", -80, 80});
    bench<float>(libm, {"exp2f", exp2f, "exp2f", -120, 120});
    bench<float>(libm, {"exp10f", exp10f, "exp10f", -35, 35});
}

// The extended-precision trigonometric, inverse trigonometric and hyperbolic functions of
// tessera beside the system libm's of the same names, in one run: throughput (independent
// calls over an array) and latency (each call's argument depends on the previous result),
// nanoseconds of this thread's processor time per call (time the thread spends descheduled
// on a shared machine does not count), the best of many passes, the two libraries' passes
// interleaved.
//   g++ -O2 -I build/gen -I include tools/bench/ext2_bench.cpp build/libtessera.a -ldl -o /tmp/ext2_bench
//   /tmp/ext2_bench [passes] [function ...]
#include <dlfcn.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "tessera.h"

using LD = long double;
using F1 = LD (*)(LD);
using F2 = LD (*)(LD, LD);

namespace {

double now() {
    timespec t;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
    return t.tv_sec * 1e9 + t.tv_nsec;
}

// One pass: ns per call.  The latency chain adds the previous result times 0 (a true
// dependence the compiler cannot drop: 0 * inf is not folded under the library's flags).
template <class Call>
double pass(Call call, size_t n, bool latency) {
    double t0 = now();
    LD acc = 0, r = 0;
    if (latency) {
        for (size_t i = 0; i < n; i++) r = call(i, r * 0.0L);
        acc = r;
    } else {
        for (size_t i = 0; i < n; i++) acc += call(i, 0.0L);
    }
    double t1 = now();
    volatile LD sink = acc;
    (void)sink;
    return (t1 - t0) / n;
}

struct Row {
    const char *name;
    F1 f1;
    F2 f2;
    double lo, hi;
};

}  // namespace

int main(int argc, char **argv) {
    int passes = argc > 1 ? atoi(argv[1]) : 30;
    void *m = dlopen("libm.so.6", RTLD_NOW);
    const Row rows[] = {
        {"sinl", sinl, nullptr, -10, 10},     {"cosl", cosl, nullptr, -10, 10},
        {"tanl", tanl, nullptr, -10, 10},     {"atanl", atanl, nullptr, -100, 100},
        {"asinl", asinl, nullptr, -1, 1},     {"acosl", acosl, nullptr, -1, 1},
        {"atan2l", nullptr, atan2l, -10, 10}, {"sinhl", sinhl, nullptr, -20, 20},
        {"coshl", coshl, nullptr, -20, 20},   {"tanhl", tanhl, nullptr, -20, 20},
        {"asinhl", asinhl, nullptr, -100, 100}, {"acoshl", acoshl, nullptr, 1, 100},
        {"atanhl", atanhl, nullptr, -1, 1},
    };
    const size_t n = 4096;
    std::mt19937_64 g(1);
    printf("| function | inputs | throughput tessera | throughput glibc | ratio | latency tessera | latency glibc | ratio |\n");
    printf("|---|---|---:|---:|---:|---:|---:|---:|\n");
    for (const Row &row : rows) {
        bool want = argc <= 2;
        for (int i = 2; i < argc; i++) want |= strcmp(argv[i], row.name) == 0;
        if (!want) continue;
        std::uniform_real_distribution<double> u(row.lo, row.hi);
        std::vector<LD> a(n), b(n);
        for (size_t i = 0; i < n; i++) a[i] = u(g), b[i] = u(g);
        void *sys = dlsym(m, row.name);
        double best[4] = {1e30, 1e30, 1e30, 1e30};
        for (int p = 0; p < passes; p++) {
            for (int lat = 0; lat < 2; lat++) {
                double t, s;
                if (row.f1) {
                    F1 f = row.f1, h = reinterpret_cast<F1>(sys);
                    t = pass([&](size_t i, LD d) { return f(a[i] + d); }, n, lat);
                    s = pass([&](size_t i, LD d) { return h(a[i] + d); }, n, lat);
                } else {
                    F2 f = row.f2, h = reinterpret_cast<F2>(sys);
                    t = pass([&](size_t i, LD d) { return f(a[i] + d, b[i]); }, n, lat);
                    s = pass([&](size_t i, LD d) { return h(a[i] + d, b[i]); }, n, lat);
                }
                best[2 * lat] = std::min(best[2 * lat], t);
                best[2 * lat + 1] = std::min(best[2 * lat + 1], s);
            }
        }
        printf("| %s | [%g, %g] | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", row.name, row.lo, row.hi, best[0],
               best[1], best[0] / best[1], best[2], best[3], best[2] / best[3]);
    }
}

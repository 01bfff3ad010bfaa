// Speed of the degree functions against the system libm's radian functions on the converted
// argument (sin(x·pi/180), 180/pi·asin(x), ...), side by side in one process.
//
//   g++ -O2 -std=c++20 tools/deg_bench.cpp -o build/deg_bench -ldl && build/deg_bench build/libtessera.so [name ...]
//
// Names after the library keep only those rows.
//
// Both sides are reached through dlsym (tessera's public entry, which jumps through the
// dispatch slot; libm.so.6's radian function) and called through a function pointer; the
// conversion is the caller's own multiplication, as a program would write it.  Reciprocal
// throughput: independent calls over 4096 inputs.  Latency: each operand depends on the
// previous result through an or/and pair with a zero the compiler cannot see.  Ticks of the
// time-stamp counter per call, the median of 31 repetitions, the sides alternating.
#include <dlfcn.h>
#include <x86intrin.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace {

volatile uint64_t g_zero = 0;
constexpr double kD2r = 0x1.1df46a2529d39p-6, kR2d = 0x1.ca5dc1a63c1f8p+5;  // pi/180, 180/pi
constexpr int kN = 4096, kReps = 31;
std::vector<std::string> g_only;  // the rows asked for; all when empty

template <class T> T link(T base, T prev, uint64_t z) {
    if constexpr (sizeof(T) == 8)
        return std::bit_cast<T>(std::bit_cast<uint64_t>(base) | (std::bit_cast<uint64_t>(prev) & z));
    else
        return std::bit_cast<T>(std::bit_cast<uint32_t>(base) | (std::bit_cast<uint32_t>(prev) & uint32_t(z)));
}

// One side: fn(x, y) over the inputs; throughput and latency in ticks per call.
template <class T, class Fn> std::pair<double, double> time_side(Fn fn, const std::vector<T> &x, const std::vector<T> &y) {
    std::vector<T> out(kN);
    uint64_t z = g_zero;
    uint64_t t0 = __rdtsc();
    for (int i = 0; i < kN; ++i) out[i] = fn(x[i], y[i]);
    uint64_t t1 = __rdtsc();
    T prev = 0;
    for (int i = 0; i < kN; ++i) prev = fn(link(x[i], prev, z), y[i]);
    uint64_t t2 = __rdtsc();
    asm volatile("" : : "r"(out.data()), "x"(prev) : "memory");
    return {double(t1 - t0) / kN, double(t2 - t1) / kN};
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

template <class T, class A, class B>
void row(const char *name, const char *theirs, T lo, T hi, bool two, A ours, B sys) {
    if (!g_only.empty() && std::find(g_only.begin(), g_only.end(), name) == g_only.end()) return;
    std::mt19937_64 g(7);
    std::uniform_real_distribution<double> u(lo, hi);
    std::vector<T> x(kN), y(kN);
    for (int i = 0; i < kN; ++i) x[i] = T(u(g)), y[i] = two ? T(u(g)) : T(0);
    std::vector<double> th[2], la[2], rt, rl;
    for (int r = 0; r < kReps; ++r) {
        std::pair<double, double> a, b;
        if (r & 1) {
            b = time_side<T>(sys, x, y);
            a = time_side<T>(ours, x, y);
        } else {
            a = time_side<T>(ours, x, y);
            b = time_side<T>(sys, x, y);
        }
        th[0].push_back(a.first), th[1].push_back(b.first), la[0].push_back(a.second), la[1].push_back(b.second);
        rt.push_back(a.first / b.first), rl.push_back(a.second / b.second);
    }
    std::printf("| %s | %s | [%g, %g]%s | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", name, theirs, double(lo),
                double(hi), two ? "²" : "", median(th[0]), median(th[1]), median(rt), median(la[0]), median(la[1]),
                median(rl));
}

}  // namespace

int main(int argc, char **argv) {
    void *ts = dlopen(argc > 1 ? argv[1] : "build/libtessera.so", RTLD_NOW | RTLD_LOCAL);
    void *lm = dlopen("libm.so.6", RTLD_NOW | RTLD_LOCAL);
    for (int i = 2; i < argc; ++i) g_only.push_back(argv[i]);
    if (!ts || !lm) {
        std::fprintf(stderr, "cannot load: %s\n", dlerror());
        return 1;
    }
    using D1 = double (*)(double);
    using D2 = double (*)(double, double);
    using F1 = float (*)(float);
    using F2 = float (*)(float, float);
    using DS = void (*)(double, double *, double *);
    using FS = void (*)(float, float *, float *);
    auto t = [&](const char *n) { return dlsym(ts, n); };
    auto m = [&](const char *n) { return dlsym(lm, n); };
    std::printf("| function | system counterpart | inputs | throughput tessera | throughput libm | ratio | "
                "latency tessera | latency libm | ratio |\n|---|---|---|---:|---:|---:|---:|---:|---:|\n");
    D1 sind = D1(t("sind")), cosd = D1(t("cosd")), tand = D1(t("tand")), cotd = D1(t("cotd"));
    D1 asind = D1(t("asind")), acosd = D1(t("acosd")), atand = D1(t("atand"));
    D2 atan2d = D2(t("atan2d"));
    DS sincosd = DS(t("sincosd"));
    D1 sin = D1(m("sin")), cos = D1(m("cos")), tan = D1(m("tan")), asin = D1(m("asin")), acos = D1(m("acos")),
       atan = D1(m("atan"));
    D2 atan2 = D2(m("atan2"));
    DS sincos = DS(m("sincos"));
    row<double>("sind", "sin(x·pi/180)", -360, 360, false, [=](double x, double) { return sind(x); },
                [=](double x, double) { return sin(x * kD2r); });
    row<double>("cosd", "cos(x·pi/180)", -360, 360, false, [=](double x, double) { return cosd(x); },
                [=](double x, double) { return cos(x * kD2r); });
    row<double>("tand", "tan(x·pi/180)", -360, 360, false, [=](double x, double) { return tand(x); },
                [=](double x, double) { return tan(x * kD2r); });
    row<double>("cotd", "1/tan(x·pi/180)", -360, 360, false, [=](double x, double) { return cotd(x); },
                [=](double x, double) { return 1.0 / tan(x * kD2r); });
    row<double>("sincosd", "sincos(x·pi/180)", -360, 360, false,
                [=](double x, double) { double s, c; sincosd(x, &s, &c); return s + c; },
                [=](double x, double) { double s, c; sincos(x * kD2r, &s, &c); return s + c; });
    row<double>("asind", "180/pi·asin(x)", -1, 1, false, [=](double x, double) { return asind(x); },
                [=](double x, double) { return kR2d * asin(x); });
    row<double>("acosd", "180/pi·acos(x)", -1, 1, false, [=](double x, double) { return acosd(x); },
                [=](double x, double) { return kR2d * acos(x); });
    row<double>("atand", "180/pi·atan(x)", -100, 100, false, [=](double x, double) { return atand(x); },
                [=](double x, double) { return kR2d * atan(x); });
    row<double>("atan2d", "180/pi·atan2(y, x)", -10, 10, true, [=](double x, double y) { return atan2d(x, y); },
                [=](double x, double y) { return kR2d * atan2(x, y); });

    F1 sindf = F1(t("sindf")), cosdf = F1(t("cosdf")), tandf = F1(t("tandf")), cotdf = F1(t("cotdf"));
    F1 asindf = F1(t("asindf")), acosdf = F1(t("acosdf")), atandf = F1(t("atandf"));
    F2 atan2df = F2(t("atan2df"));
    FS sincosdf = FS(t("sincosdf"));
    F1 sinf = F1(m("sinf")), cosf = F1(m("cosf")), tanf = F1(m("tanf")), asinf = F1(m("asinf")),
       acosf = F1(m("acosf")), atanf = F1(m("atanf"));
    F2 atan2f = F2(m("atan2f"));
    FS sincosf = FS(m("sincosf"));
    const float d2r = float(kD2r), r2d = float(kR2d);
    row<float>("sindf", "sinf(x·pi/180)", -360, 360, false, [=](float x, float) { return sindf(x); },
               [=](float x, float) { return sinf(x * d2r); });
    row<float>("cosdf", "cosf(x·pi/180)", -360, 360, false, [=](float x, float) { return cosdf(x); },
               [=](float x, float) { return cosf(x * d2r); });
    row<float>("tandf", "tanf(x·pi/180)", -360, 360, false, [=](float x, float) { return tandf(x); },
               [=](float x, float) { return tanf(x * d2r); });
    row<float>("cotdf", "1/tanf(x·pi/180)", -360, 360, false, [=](float x, float) { return cotdf(x); },
               [=](float x, float) { return 1.0f / tanf(x * d2r); });
    row<float>("sincosdf", "sincosf(x·pi/180)", -360, 360, false,
               [=](float x, float) { float s, c; sincosdf(x, &s, &c); return s + c; },
               [=](float x, float) { float s, c; sincosf(x * d2r, &s, &c); return s + c; });
    row<float>("asindf", "180/pi·asinf(x)", -1, 1, false, [=](float x, float) { return asindf(x); },
               [=](float x, float) { return r2d * asinf(x); });
    row<float>("acosdf", "180/pi·acosf(x)", -1, 1, false, [=](float x, float) { return acosdf(x); },
               [=](float x, float) { return r2d * acosf(x); });
    row<float>("atandf", "180/pi·atanf(x)", -100, 100, false, [=](float x, float) { return atandf(x); },
               [=](float x, float) { return r2d * atanf(x); });
    row<float>("atan2df", "180/pi·atan2f(y, x)", -10, 10, true, [=](float x, float y) { return atan2df(x, y); },
               [=](float x, float y) { return r2d * atan2f(x, y); });
    return 0;
}

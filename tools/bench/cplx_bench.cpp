// Complex functions of tessera beside the system libm's of the same names, in one run:
// throughput (independent calls over an array) and latency (each call's argument depends on
// the previous result), nanoseconds of this thread's processor time per call (so that time
// the thread spends descheduled on a shared machine does not count), best of 5 passes.
//   g++ -O2 -I build/gen -I include tools/bench/cplx_bench.cpp build/libtessera.a -ldl -o /tmp/cplx_bench
//   /tmp/cplx_bench
#include <dlfcn.h>

#include <time.h>
#include <cstdio>
#include <cstring>
#include <random>
#include <vector>

#include "tessera.h"

using CD = double _Complex;
using CF = float _Complex;

template <class C, class F>
double run(F fn, const std::vector<C> &in, bool latency) {
    double best = 1e30;
    for (int pass = 0; pass < 5; pass++) {
        timespec t0, t1;
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t0);
        C acc = 0;
        if (latency) {
            C r = 0;
            for (const C &z : in) r = fn(z + r * 1e-300);
            acc = r;
        } else {
            for (const C &z : in) acc += fn(z);
        }
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t1);
        volatile double sink = __real__ acc;
        (void)sink;
        best = std::min(best, ((t1.tv_sec - t0.tv_sec) * 1e9 + (t1.tv_nsec - t0.tv_nsec)) / in.size());
    }
    return best;
}

int main() {
    void *m = dlopen("libm.so.6", RTLD_NOW);
    const size_t n = 1 << 16;
    std::mt19937_64 g(1);
    std::uniform_real_distribution<double> u(-4, 4);
    std::vector<CD> zd(n), wd(n);
    std::vector<CF> zf(n);
    for (size_t i = 0; i < n; i++) {
        __real__ zd[i] = u(g);
        __imag__ zd[i] = u(g);
        __real__ zf[i] = float(__real__ zd[i]);
        __imag__ zf[i] = float(__imag__ zd[i]);
    }
    printf("| function | tessera tput | libm tput | ratio | tessera lat | libm lat | ratio |\n|---|---|---|---|---|---|---|\n");
#define D1(name)                                                                                      \
    {                                                                                                 \
        auto sys = reinterpret_cast<CD (*)(CD)>(dlsym(m, #name));                                    \
        double a = run<CD>(name, zd, false), b = run<CD>(sys, zd, false);                              \
        double c = run<CD>(name, zd, true), d = run<CD>(sys, zd, true);                                \
        printf("| %s | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", #name, a, b, a / b, c, d, c / d); \
    }
#define F1(name)                                                                                      \
    {                                                                                                 \
        auto sys = reinterpret_cast<CF (*)(CF)>(dlsym(m, #name));                                    \
        double a = run<CF>(name, zf, false), b = run<CF>(sys, zf, false);                              \
        double c = run<CF>(name, zf, true), d = run<CF>(sys, zf, true);                                \
        printf("| %s | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", #name, a, b, a / b, c, d, c / d); \
    }
    D1(cexp) D1(clog) D1(csqrt) D1(ccos) D1(csin) D1(ccosh) D1(csinh) D1(ctanh) D1(cacos) D1(casinh) D1(catanh)
    F1(cexpf) F1(clogf) F1(csqrtf) F1(ccosf) F1(csinf)
    // cabs, carg, cpow: their own shapes
    {
        auto sa = reinterpret_cast<double (*)(CD)>(dlsym(m, "cabs"));
        auto sg = reinterpret_cast<double (*)(CD)>(dlsym(m, "carg"));
        auto wrap = [](double (*f)(CD)) { return [f](CD z) { CD r = f(z); return r; }; };
        double a = run<CD>(wrap(cabs), zd, false), b = run<CD>(wrap(sa), zd, false);
        double c = run<CD>(wrap(cabs), zd, true), d = run<CD>(wrap(sa), zd, true);
        printf("| cabs | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", a, b, a / b, c, d, c / d);
        a = run<CD>(wrap(carg), zd, false), b = run<CD>(wrap(sg), zd, false);
        c = run<CD>(wrap(carg), zd, true), d = run<CD>(wrap(sg), zd, true);
        printf("| carg | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", a, b, a / b, c, d, c / d);
        auto saf = reinterpret_cast<float (*)(CF)>(dlsym(m, "cabsf"));
        auto sgf = reinterpret_cast<float (*)(CF)>(dlsym(m, "cargf"));
        auto wrapf = [](float (*f)(CF)) { return [f](CF z) { CF r = f(z); return r; }; };
        a = run<CF>(wrapf(cabsf), zf, false), b = run<CF>(wrapf(saf), zf, false);
        c = run<CF>(wrapf(cabsf), zf, true), d = run<CF>(wrapf(saf), zf, true);
        printf("| cabsf | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", a, b, a / b, c, d, c / d);
        a = run<CF>(wrapf(cargf), zf, false), b = run<CF>(wrapf(sgf), zf, false);
        c = run<CF>(wrapf(cargf), zf, true), d = run<CF>(wrapf(sgf), zf, true);
        printf("| cargf | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", a, b, a / b, c, d, c / d);
        auto sp = reinterpret_cast<CD (*)(CD, CD)>(dlsym(m, "cpow"));
        CD w = 2.5 + 0.75i;
        auto p1 = [w](CD z) { return cpow(z, w); };
        auto p2 = [sp, w](CD z) { return sp(z, w); };
        a = run<CD>(p1, zd, false), b = run<CD>(p2, zd, false);
        c = run<CD>(p1, zd, true), d = run<CD>(p2, zd, true);
        printf("| cpow | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", a, b, a / b, c, d, c / d);
        auto spf = reinterpret_cast<CF (*)(CF, CF)>(dlsym(m, "cpowf"));
        CF wf = 2.5f + 0.75if;
        auto q1 = [wf](CF z) { return cpowf(z, wf); };
        auto q2 = [spf, wf](CF z) { return spf(z, wf); };
        a = run<CF>(q1, zf, false), b = run<CF>(q2, zf, false);
        c = run<CF>(q1, zf, true), d = run<CF>(q2, zf, true);
        printf("| cpowf | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", a, b, a / b, c, d, c / d);
    }
    return 0;
}

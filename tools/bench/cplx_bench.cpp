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

// One row of the table: tessera's form and the system's over the same inputs.
template <class C, class F, class G>
void row(const char *name, F ours, G sys, const std::vector<C> &in) {
    double a = run<C>(ours, in, false), b = run<C>(sys, in, false);
    double c = run<C>(ours, in, true), d = run<C>(sys, in, true);
    printf("| %s | %.1f | %.1f | %.2f | %.1f | %.1f | %.2f |\n", name, a, b, a / b, c, d, c / d);
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
#define D1(name) row<CD>(#name, name, reinterpret_cast<CD (*)(CD)>(dlsym(m, #name)), zd);
#define F1(name) row<CF>(#name, name, reinterpret_cast<CF (*)(CF)>(dlsym(m, #name)), zf);
    D1(cexp) D1(clog) D1(csqrt) D1(ccos) D1(csin) D1(ccosh) D1(csinh) D1(ctanh) D1(cacos) D1(casinh) D1(catanh)
    F1(cexpf) F1(clogf) F1(csqrtf) F1(ccosf) F1(csinf)
    // cabs, carg, cpow: their own shapes
    auto wrap = [](auto f) { return [f](auto z) { decltype(z) r = f(z); return r; }; };
    row<CD>("cabs", wrap(cabs), wrap(reinterpret_cast<double (*)(CD)>(dlsym(m, "cabs"))), zd);
    row<CD>("carg", wrap(carg), wrap(reinterpret_cast<double (*)(CD)>(dlsym(m, "carg"))), zd);
    row<CF>("cabsf", wrap(cabsf), wrap(reinterpret_cast<float (*)(CF)>(dlsym(m, "cabsf"))), zf);
    row<CF>("cargf", wrap(cargf), wrap(reinterpret_cast<float (*)(CF)>(dlsym(m, "cargf"))), zf);
    auto sp = reinterpret_cast<CD (*)(CD, CD)>(dlsym(m, "cpow"));
    auto spf = reinterpret_cast<CF (*)(CF, CF)>(dlsym(m, "cpowf"));
    CD w = 2.5 + 0.75i;
    CF wf = 2.5f + 0.75if;
    row<CD>("cpow", [w](CD z) { return cpow(z, w); }, [sp, w](CD z) { return sp(z, w); }, zd);
    row<CF>("cpowf", [wf](CF z) { return cpowf(z, wf); }, [spf, wf](CF z) { return spf(z, wf); }, zf);
    return 0;
}

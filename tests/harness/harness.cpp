// The shared test harness (see harness.h).
#include "harness.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>

extern "C" {
int mpfr_set_float128(mpfr_ptr, __float128, mpfr_rnd_t);
__float128 mpfr_get_float128(mpfr_srcptr, mpfr_rnd_t);
// The error interpreter's test hook; weak, so the harness links before it exists.
extern void (*__libm_error_observer)(int) __attribute__((weak));
}

namespace th {

// ---- conversions --------------------------------------------------------------------------
void set(mpfr_ptr r, double x) { mpfr_set_d(r, x, MPFR_RNDN); }
void set(mpfr_ptr r, float x) { mpfr_set_flt(r, x, MPFR_RNDN); }
void set(mpfr_ptr r, long double x) { mpfr_set_ld(r, x, MPFR_RNDN); }
void set(mpfr_ptr r, __float128 x) { mpfr_set_float128(r, x, MPFR_RNDN); }
void set(mpfr_ptr r, _Float16 x) { mpfr_set_flt(r, float(x), MPFR_RNDN); }

template <class T> static T from_mpfr_exact(mpfr_srcptr r);
template <> double from_mpfr_exact<double>(mpfr_srcptr r) { return mpfr_get_d(r, MPFR_RNDN); }
template <> float from_mpfr_exact<float>(mpfr_srcptr r) { return mpfr_get_flt(r, MPFR_RNDN); }
template <> long double from_mpfr_exact<long double>(mpfr_srcptr r) { return mpfr_get_ld(r, MPFR_RNDN); }
template <> __float128 from_mpfr_exact<__float128>(mpfr_srcptr r) { return mpfr_get_float128(r, MPFR_RNDN); }
template <> _Float16 from_mpfr_exact<_Float16>(mpfr_srcptr r) { return _Float16(mpfr_get_flt(r, MPFR_RNDN)); }

template <class T> T round_to(mpfr_srcptr r, mpfr_rnd_t rnd) {
    using F = Format<T>;
    mpfr_exp_t emin = mpfr_get_emin(), emax = mpfr_get_emax();
    // MPFR writes x = m * 2^e with 1/2 <= m < 1: the format's range shifts by one.
    mpfr_set_emin(F::emin - F::p + 2);
    mpfr_set_emax(F::emax + 1);
    mpfr_t t;
    mpfr_init2(t, F::p);
    int inex = mpfr_set(t, r, rnd);
    inex = mpfr_check_range(t, inex, rnd);
    mpfr_subnormalize(t, inex, rnd);
    mpfr_set_emin(emin);
    mpfr_set_emax(emax);
    T out = from_mpfr_exact<T>(t);
    mpfr_clear(t);
    return out;
}

template <class T> static bool is_nan(T x) { return x != x; }
template <class T> static bool sign_of(T x) {
    Mp m;
    set(m, x);
    return mpfr_signbit(m);
}

template <class T> double ulp_error(T got, mpfr_srcptr exact) {
    using F = Format<T>;
    if (is_nan(got)) return mpfr_nan_p(exact) ? 0.0 : INFINITY;
    if (mpfr_nan_p(exact)) return INFINITY;
    Mp g(512), d(1024);
    set(g, got);
    if (mpfr_inf_p(g)) {
        if (mpfr_inf_p(exact)) return mpfr_signbit(g) == mpfr_signbit(exact) ? 0.0 : INFINITY;
        // An infinity stands for the first value past the largest finite one.
        mpfr_set_si_2exp(g, mpfr_signbit(g) ? -1 : 1, F::emax + 1, MPFR_RNDN);
    } else if (mpfr_inf_p(exact)) {
        return INFINITY;
    }
    if (mpfr_zero_p(g) && mpfr_zero_p(exact))
        return mpfr_signbit(g) == mpfr_signbit(exact) ? 0.0 : INFINITY;
    long e = mpfr_zero_p(exact) ? F::emin : std::max<long>(mpfr_get_exp(exact) - 1, F::emin);
    mpfr_sub(d, g, exact, MPFR_RNDN);
    mpfr_abs(d, d, MPFR_RNDN);
    mpfr_mul_2si(d, d, -(e - F::p + 1), MPFR_RNDN);
    return mpfr_get_d(d, MPFR_RNDU);
}

#define TH_FORMATS(X) X(_Float16) X(float) X(double) X(long double) X(__float128)
#define TH_INST(T) template T round_to<T>(mpfr_srcptr, mpfr_rnd_t); template double ulp_error<T>(T, mpfr_srcptr);
TH_FORMATS(TH_INST)

// ---- rounding modes --------------------------------------------------------------------------
const Mode kModes[4] = {{FE_TONEAREST, "nearest", MPFR_RNDN},
                        {FE_UPWARD, "upward", MPFR_RNDU},
                        {FE_DOWNWARD, "downward", MPFR_RNDD},
                        {FE_TOWARDZERO, "towardzero", MPFR_RNDZ}};

static uint32_t read_mxcsr() { uint32_t v; asm volatile("stmxcsr %0" : "=m"(v)); return v; }
static void write_mxcsr(uint32_t v) { asm volatile("ldmxcsr %0" : : "m"(v)); }
static uint16_t read_cw() { uint16_t v; asm volatile("fnstcw %0" : "=m"(v)); return v; }
static void write_cw(uint16_t v) { asm volatile("fldcw %0" : : "m"(v)); }
static uint16_t read_sw() { uint16_t v; asm volatile("fnstsw %0" : "=a"(v)); return v; }

// glibc's FE_* rounding codes are the x87 RC field (bits 10-11); MXCSR holds them at 13-14.
ModeGuard::ModeGuard(int fe) : mxcsr_(read_mxcsr()), cw_(read_cw()) {
    write_mxcsr((mxcsr_ & ~0x6000u) | (uint32_t(fe) << 3));
    write_cw(uint16_t((cw_ & ~0xc00) | fe));
}
ModeGuard::~ModeGuard() {
    uint32_t flags = read_mxcsr() & 0x3f;
    write_mxcsr((mxcsr_ & ~0x3fu) | flags);
    write_cw(cw_);
}

// ---- flags, errno, code ------------------------------------------------------------------------
int flags_raised() { return int((read_mxcsr() | read_sw()) & FE_ALL_EXCEPT); }
void clear_flags() {
    write_mxcsr(read_mxcsr() & ~0x3fu);
    asm volatile("fnclex");
}

static thread_local int g_code = -1;
static void record_code(int code) { g_code = code; }

void begin_observe() {
    if (&__libm_error_observer) __libm_error_observer = record_code;
    g_code = -1;
    errno = 0;
    clear_flags();
}
Outcome end_observe() {
    Outcome o{flags_raised(), errno, g_code};
    return o;
}

std::string flags_str(int f) {
    std::string s;
    if (f & FE_INVALID) s += "invalid ";
    if (f & FE_DIVBYZERO) s += "divbyzero ";
    if (f & FE_OVERFLOW) s += "overflow ";
    if (f & FE_UNDERFLOW) s += "underflow ";
    if (f & FE_INEXACT) s += "inexact ";
    if (s.empty()) return "none";
    s.pop_back();
    return s;
}

// ---- inputs -----------------------------------------------------------------------------------
// Builds a value of T from a sign, an unbiased binary exponent and random significand bits
// (subnormal when the exponent is below the normal range).
template <class T> static T make(bool neg, int e, uint64_t r1, uint64_t r2) {
    using F = Format<T>;
    Mp m(256);
    // 1.ffff * 2^e with p-1 random fraction bits.
    mpfr_set_ui(m, 1, MPFR_RNDN);
    Mp frac(256);
    mpfr_set_uj_2exp(frac, r1 >> 1, -63, MPFR_RNDN);
    mpfr_add(m, m, frac, MPFR_RNDN);
    mpfr_set_uj_2exp(frac, r2 >> 1, -126, MPFR_RNDN);
    mpfr_add(m, m, frac, MPFR_RNDN);
    mpfr_mul_2si(m, m, e, MPFR_RNDN);
    if (neg) mpfr_neg(m, m, MPFR_RNDN);
    (void)F::p;
    return round_to<T>(m, MPFR_RNDZ);
}

template <class T> std::vector<T> log_uniform(T lo, T hi, size_t n, uint64_t seed, bool both_signs) {
    std::mt19937_64 rng(seed);
    Mp a, b;
    set(a, lo);
    set(b, hi);
    long elo = mpfr_get_exp(a) - 1, ehi = mpfr_get_exp(b) - 1;
    std::uniform_int_distribution<long> de(elo, ehi);
    std::vector<T> out;
    out.reserve(n);
    while (out.size() < n) {
        T x = make<T>(false, int(de(rng)), rng(), rng());
        if (!(x >= lo && x <= hi)) continue;
        if (both_signs && (rng() & 1)) x = -x;
        out.push_back(x);
    }
    return out;
}

template <class T> std::vector<T> uniform(T lo, T hi, size_t n, uint64_t seed) {
    std::mt19937_64 rng(seed);
    Mp a, b, t, u;
    set(a, lo);
    set(b, hi);
    std::vector<T> out;
    out.reserve(n);
    for (size_t i = 0; i < n; ++i) {
        mpfr_set_uj_2exp(u, rng() >> 11, -53, MPFR_RNDN);   // [0, 1)
        mpfr_sub(t, b, a, MPFR_RNDN);
        mpfr_mul(t, t, u, MPFR_RNDN);
        mpfr_add(t, t, a, MPFR_RNDN);
        out.push_back(round_to<T>(t, MPFR_RNDN));
    }
    return out;
}

template <> double snan<double>() { return std::bit_cast<double>(0x7ff4000000000000ull); }
template <> double qnan<double>() { return std::bit_cast<double>(0x7ff8000000000000ull); }
template <> float snan<float>() { return std::bit_cast<float>(0x7fa00000u); }
template <> float qnan<float>() { return std::bit_cast<float>(0x7fc00000u); }
template <> _Float16 snan<_Float16>() { return std::bit_cast<_Float16>(uint16_t(0x7d00)); }
template <> _Float16 qnan<_Float16>() { return std::bit_cast<_Float16>(uint16_t(0x7e00)); }
template <> long double snan<long double>() {
    long double x = 0;
    uint64_t m = 0xa000000000000000ull;
    uint16_t se = 0x7fff;
    std::memcpy(&x, &m, 8);
    std::memcpy(reinterpret_cast<char *>(&x) + 8, &se, 2);
    return x;
}
template <> long double qnan<long double>() { return std::numeric_limits<long double>::quiet_NaN(); }
template <> __float128 snan<__float128>() {
    uint64_t w[2] = {0, 0x7fff400000000000ull};
    return std::bit_cast<__float128>(w);
}
template <> __float128 qnan<__float128>() {
    uint64_t w[2] = {0, 0x7fff800000000000ull};
    return std::bit_cast<__float128>(w);
}

template <class T> std::vector<T> specials() {
    using F = Format<T>;
    Mp m;
    auto pow2 = [&](long e) { mpfr_set_ui_2exp(m, 1, e, MPFR_RNDN); return round_to<T>(m); };
    T one = pow2(0), tiny = pow2(F::emin - F::p + 1), minnorm = pow2(F::emin);
    // largest subnormal and largest finite, from their neighbours
    mpfr_set_ui_2exp(m, 1, F::emin, MPFR_RNDN);
    mpfr_nextbelow(m);
    T maxsub = round_to<T>(m, MPFR_RNDD);
    mpfr_set_ui_2exp(m, 1, F::emax + 1, MPFR_RNDN);
    T maxfin = round_to<T>(m, MPFR_RNDZ);
    T inf = pow2(F::emax + 1);
    T below1 = one - pow2(-F::p), above1 = one + pow2(1 - F::p);
    std::vector<T> v = {T(0), tiny, maxsub, minnorm, below1, one, above1, maxfin, inf};
    size_t n = v.size();
    for (size_t i = 0; i < n; ++i) v.push_back(-v[i]);
    v.push_back(qnan<T>());
    v.push_back(-qnan<T>());
    v.push_back(snan<T>());
    return v;
}

#define TH_INST2(T)                                                                     \
    template std::vector<T> log_uniform<T>(T, T, size_t, uint64_t, bool);               \
    template std::vector<T> uniform<T>(T, T, size_t, uint64_t);                         \
    template std::vector<T> specials<T>();
TH_FORMATS(TH_INST2)

uint64_t bits_of(double x) { return std::bit_cast<uint64_t>(x); }
uint32_t bits_of(float x) { return std::bit_cast<uint32_t>(x); }

// ---- child processes --------------------------------------------------------------------------
ChildResult run_process(const std::vector<std::string> &argv, const std::vector<std::string> &env) {
    int fds[2];
    if (pipe(fds) != 0) return {-1, "pipe failed"};
    fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0) {
        dup2(fds[1], 1);
        dup2(fds[1], 2);
        close(fds[0]);
        close(fds[1]);
        for (const auto &e : env) {
            if (!e.empty() && e[0] == '-') {
                unsetenv(e.c_str() + 1);
            } else {
                auto eq = e.find('=');
                setenv(e.substr(0, eq).c_str(), e.substr(eq + 1).c_str(), 1);
            }
        }
        std::vector<char *> args;
        for (const auto &a : argv) args.push_back(const_cast<char *>(a.c_str()));
        args.push_back(nullptr);
        execv(args[0], args.data());
        _exit(127);
    }
    close(fds[1]);
    ChildResult r{0, ""};
    char buf[4096];
    ssize_t k;
    while ((k = read(fds[0], buf, sizeof buf)) > 0) r.out.append(buf, size_t(k));
    close(fds[0]);
    int st = 0;
    waitpid(pid, &st, 0);
    r.status = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
    return r;
}

ChildResult run_self(const std::string &filter, const std::vector<std::string> &env) {
    char self[4096];
    ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
    if (n <= 0) return {-1, "no /proc/self/exe"};
    self[n] = 0;
    return run_process({self, "--gtest_filter=" + filter, "--gtest_also_run_disabled_tests"}, env);
}

}  // namespace th

// The shared test harness (see harness.h).
#include "harness.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <thread>
#include <type_traits>

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
static thread_local uint64_t g_controls_at_report = 0;
static void record_code(int code) {
    g_code = code;
    g_controls_at_report = rounding_controls();
}

void begin_observe() {
    if (&__libm_error_observer) __libm_error_observer = record_code;
    g_code = -1;
    errno = 0;
    clear_flags();
}
Outcome end_observe() {
    return {flags_raised(), errno, g_code, int((read_mxcsr() | read_sw()) & DE_FLAG), g_controls_at_report};
}

std::string flags_str(int f) {
    std::string s;
    if (f & FE_INVALID) s += "invalid ";
    if (f & FE_DIVBYZERO) s += "divbyzero ";
    if (f & FE_OVERFLOW) s += "overflow ";
    if (f & FE_UNDERFLOW) s += "underflow ";
    if (f & FE_INEXACT) s += "inexact ";
    if (f & DE_FLAG) s += "denormal ";
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

template <> double any_finite<double>(std::mt19937_64 &g) {
    uint64_t b = g(), e = (b >> 52) % 0x7ff;  // never the NaN/infinity field
    return std::bit_cast<double>((b & 0x800fffffffffffffull) | (e << 52));
}
template <> float any_finite<float>(std::mt19937_64 &g) {
    uint32_t b = uint32_t(g()), e = (b >> 23) % 0xff;
    return std::bit_cast<float>((b & 0x807fffffu) | (e << 23));
}
template <> long double any_finite<long double>(std::mt19937_64 &g) {
    uint64_t m = g(), s = g();
    uint16_t e = uint16_t(s % 0x7fff);
    m = e ? m | 0x8000000000000000ull : m & 0x7fffffffffffffffull;  // the explicit integer bit
    uint16_t se = uint16_t(e | ((s >> 20) & 1 ? 0x8000 : 0));
    long double x = 0;
    std::memcpy(&x, &m, 8);
    std::memcpy(reinterpret_cast<char *>(&x) + 8, &se, 2);
    return x;
}

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

// ---- control words ----------------------------------------------------------------------------
namespace th {

uint32_t mxcsr_now() { return read_mxcsr(); }
uint16_t x87_cw_now() { return read_cw(); }
uint16_t x87_sw_now() { return read_sw(); }
void set_mxcsr(uint32_t v) { write_mxcsr(v); }
void set_x87_cw(uint16_t v) { write_cw(v); }
Units units_now() { return {read_cw(), uint16_t(read_sw() & 0x3f), read_mxcsr()}; }
void set_units(const Units &u) {
    struct {
        uint16_t cw, r1, sw, r2, rest[10];
    } e;
    asm volatile("fnstenv %0" : "=m"(e));
    e.cw = u.cw;
    e.sw = uint16_t((e.sw & ~0x80ff) | (u.sw & 0x3f));
    asm volatile("fnclex");
    asm volatile("fldenv %0" : : "m"(e));
    write_mxcsr(u.mxcsr);
}
static std::string text(const Units &u) {
    char b[80];
    std::snprintf(b, sizeof b, "cw %04x flags %02x mxcsr %08x", u.cw, u.sw, u.mxcsr);
    return b;
}
int check_env_rows(const std::vector<EnvRow> &rows) {
    int bad = 0;
    for (const auto &r : rows) {
        Units saved = units_now();
        set_units(r.before);
        long ret = r.call();
        Units got = units_now();
        set_units(saved);
        if (ret != r.ret || !(got == r.after)) {
            ++bad;
            ADD_FAILURE() << r.what << ": returned " << ret << ", left " << text(got) << "; want " << r.ret << ", "
                          << text(r.after);
        }
    }
    return bad;
}

uint64_t rounding_controls() { return (read_mxcsr() & ~0x3fu) | (uint64_t(read_cw()) << 32); }

// ---- the runners ------------------------------------------------------------------------------
unsigned tier_bit(const char *name) {
    static const char *names[] = {"ex", "e7", "y8", "e9", "l9", "z0", "d1"};
    for (unsigned i = 0; i < 7; ++i)
        if (std::strncmp(name, names[i], 2) == 0) return 1u << i;
    return std::strcmp(name, "entry") == 0 ? ENTRY : 0;
}

RefFn mpfr_ref(MpFn1 f) {
    return [f](mpfr_ptr out, const mpfr_srcptr *in) { f(out, in[0], MPFR_RNDN); };
}
RefFn mpfr_ref(MpFn2 f) {
    return [f](mpfr_ptr out, const mpfr_srcptr *in) { f(out, in[0], in[1], MPFR_RNDN); };
}

void parallel_for(size_t n, const std::function<void(size_t)> &body, unsigned threads) {
    if (threads == 0) threads = std::max(1u, std::thread::hardware_concurrency());
    if (threads > n) threads = unsigned(n);
    if (threads <= 1) {
        for (size_t i = 0; i < n; ++i) body(i);
        return;
    }
    std::atomic<size_t> next{0};
    std::vector<std::thread> pool;
    for (unsigned t = 0; t < threads; ++t)
        pool.emplace_back([&] {
            for (size_t i; (i = next.fetch_add(1)) < n;) body(i);
        });
    for (auto &t : pool) t.join();
}

// The bits that make a value (long double: its 80 bits, not the padding).
template <class T> static bool same_bits(T a, T b) {
    constexpr size_t n = sizeof(T) == 16 && std::is_same_v<T, long double> ? 10 : sizeof(T);
    return std::memcmp(&a, &b, n) == 0;
}
template <class T> static bool is_quiet_nan(T x) {
    if (x == x) return false;
    if constexpr (std::is_same_v<T, double>) return bits_of(x) & 0x0008000000000000ull;
    else if constexpr (std::is_same_v<T, float>) return bits_of(x) & 0x00400000u;
    else {
        uint64_t m;
        std::memcpy(&m, &x, 8);
        return m & 0x4000000000000000ull;
    }
}

template <class T> static std::string hex(T x) {
    char b[64];
    if (x != x) {
        if constexpr (sizeof(T) <= 8) {
            std::snprintf(b, sizeof b, "NaN(0x%llx)", (unsigned long long)bits_of(x));
            return b;
        }
    }
    if constexpr (std::is_same_v<T, long double>) std::snprintf(b, sizeof b, "%La", x);
    else std::snprintf(b, sizeof b, "%a", double(x));
    return b;
}
template <class T> static std::string args_str(const T *in, int n) {
    std::string s = "(" + hex(in[0]);
    for (int i = 1; i < n; ++i) s += ", " + hex(in[i]);
    return s + ")";
}

// The correctly rounded value of output o of f at `in`, in MPFR mode rnd.
template <class T> static T correctly_rounded(const Func<T> &f, int o, const T *in, mpfr_rnd_t rnd) {
    Mp a[2], r(256);
    const mpfr_srcptr args[2] = {a[0], a[1]};
    for (int i = 0; i < f.nin; ++i) set(a[i], in[i]);
    mpfr_clear_flags();
    f.ref[o](r, args);
    // Past MPFR's own exponent range: a value far outside every format, of the same sign.
    if (mpfr_overflow_p() && mpfr_inf_p(r)) mpfr_set_si_2exp(r, mpfr_signbit(r) ? -1 : 1, 1 << 20, MPFR_RNDN);
    if (mpfr_underflow_p() && mpfr_zero_p(r)) mpfr_set_si_2exp(r, mpfr_signbit(r) ? -1 : 1, -(1 << 20), MPFR_RNDN);
    return round_to<T>(r, rnd);
}

template <class T, int NI, int NO>
int check_rows(const Func<T> &f, const std::vector<RowN<T, NI, NO>> &rows) {
    int bad = 0;
    if (f.nin != NI || f.nout != NO) {
        ADD_FAILURE() << f.name << ": rows of " << NI << " inputs and " << NO << " outputs for a function of "
                      << f.nin << " and " << f.nout;
        return 1;
    }
    for (const auto &v : f.variants) {
        if (!tsr::tier_runnable(v.tier)) {
            std::printf("[  NOTICE  ] %s %s not run: this processor lacks its instruction set\n", f.name.c_str(),
                        v.name.c_str());
            continue;
        }
        unsigned tb = tier_bit(v.name.c_str());
        for (const auto &r : rows) {
            if (!(r.tiers & tb)) continue;
            bool any_cr = false;
            for (const auto &w : r.want) any_cr |= w.kind == WantKind::cr;
            unsigned modes = r.modes ? r.modes : any_cr ? ALL_MODES : RN;
            for (int m = 0; m < 4; ++m) {
                if (!(modes & (1u << m))) continue;
                T out[NO];
                Outcome o;
                uint64_t rc_before, rc_after;
                {
                    ModeGuard g(kModes[m].fe);
                    rc_before = rounding_controls();
                    begin_observe();
                    v.call(r.in, out);
                    o = end_observe();
                    rc_after = rounding_controls();
                }
                std::string where = f.name + " " + v.name + " " + kModes[m].name + " at " + args_str(r.in, NI);
                int before = bad;
                for (int k = 0; k < NO; ++k) {
                    const Want<T> &w = r.want[k];
                    if (w.kind == WantKind::any) continue;
                    T want = w.kind == WantKind::cr ? correctly_rounded(f, k, r.in, kModes[m].rnd) : w.v;
                    // The default quiet NaN stands for any quiet NaN; another NaN for its own bits.
                    bool any_nan = want != want && (same_bits(want, qnan<T>()) || same_bits(want, T(-qnan<T>())));
                    bool ok = any_nan ? is_quiet_nan(out[k]) : same_bits(out[k], want);
                    if (!ok) {
                        ++bad;
                        ADD_FAILURE() << where << (NO > 1 ? " output " + std::to_string(k) : "") << ": got "
                                      << hex(out[k]) << ", want " << (any_nan ? "a quiet NaN" : hex(want));
                    }
                }
                if (r.flags != ANY_FLAGS && o.flags != r.flags) {
                    ++bad;
                    ADD_FAILURE() << where << ": flags " << flags_str(o.flags) << ", want " << flags_str(r.flags);
                }
                int want_err = r.err;
                if (want_err == ERANGE_IF_ZERO) want_err = NO == 1 && out[0] == T(0) ? ERANGE : 0;
                if (want_err != ANY_ERRNO && o.err != want_err) {
                    ++bad;
                    ADD_FAILURE() << where << ": errno " << o.err << ", want " << want_err;
                }
                if (r.code != ANY_CODE && o.code != r.code) {
                    ++bad;
                    ADD_FAILURE() << where << ": reported code " << o.code << ", want " << r.code;
                }
                if (rc_after != rc_before) {
                    ++bad;
                    ADD_FAILURE() << where << ": the rounding controls changed";
                }
                (void)before;
            }
        }
    }
    return bad;
}

// ---- sweeps -----------------------------------------------------------------------------------
namespace {

// What the flag check needs to know of the exact result.
struct Exact {
    bool nan, inf, zero;
    long exp;  // MPFR exponent: |r| in [2^(exp-1), 2^exp)
};
Exact exact_of(mpfr_srcptr r) {
    Exact e{bool(mpfr_nan_p(r)), bool(mpfr_inf_p(r)), bool(mpfr_zero_p(r)), 0};
    if (mpfr_regular_p(r)) e.exp = mpfr_get_exp(r);
    return e;
}

// The flags a call raised against those its exact result calls for: returns what is wrong,
// or nullptr.  Overflow is due beyond the largest binade and forbidden below it; underflow
// is due for an inexact result below half the smallest normal and forbidden from the
// smallest normal up (tininess is detected after rounding, so the binade below it may go
// either way, and an exact tiny result may or may not raise it).
template <class T> const char *flag_fault(int fl, const Exact &e, bool nan_in, bool inf_in, bool inexact) {
    using F = Format<T>;
    if (nan_in) return (fl & ~FE_INVALID) ? "a flag other than invalid for a NaN input" : nullptr;
    if (e.nan) return (fl & FE_INVALID) ? nullptr : "no invalid for a NaN result";
    if (fl & FE_INVALID) return "invalid for a numeric result";
    if (e.inf) {
        if (inf_in) return fl ? "a flag for an exact infinity from an infinite input" : nullptr;
        return (fl & FE_DIVBYZERO) ? nullptr : "no divide-by-zero for an exact infinity";
    }
    if (fl & FE_DIVBYZERO) return "divide-by-zero for a finite result";
    if (!e.zero) {
        if (e.exp > F::emax + 1 && !(fl & FE_OVERFLOW)) return "no overflow beyond the largest finite value";
        if (e.exp <= F::emax && (fl & FE_OVERFLOW)) return "overflow for a result below the largest binade";
        if (inexact && e.exp < F::emin && !(fl & FE_UNDERFLOW)) return "no underflow for a tiny inexact result";
        if (e.exp > F::emin && (fl & FE_UNDERFLOW)) return "underflow for a normal result";
    }
    if (inexact && !(fl & FE_INEXACT)) return "no inexact for an inexact result";
    return nullptr;
}

template <class T> bool is_inf(T x) { return x == x && x - x != x - x; }

// The references of one sweep: per input tuple, per output, a 256-bit MPFR value.
struct RefSet {
    std::vector<__mpfr_struct> v;
    explicit RefSet(size_t n) : v(n) {
        for (auto &m : v) mpfr_init2(&m, 256);
    }
    ~RefSet() {
        for (auto &m : v) mpfr_clear(&m);
    }
    RefSet(const RefSet &) = delete;
};

template <class T> double bound_for(const Sweep<T> &s, const std::string &variant, int mode) {
    double b = s.bound[mode];
    unsigned tb = tier_bit(variant.c_str());
    for (const auto &t : s.tier_bounds)
        if ((t.tiers & tb) && (t.modes & (1u << mode))) b = t.ulp;
    return b;
}

// Error of a result against its reference in mode m: ulps, except where the result or the
// exact value lies beyond the finite range, where only the correctly rounded value counts.
template <class T> double error_of(T got, double ulps, mpfr_srcptr exact, int m) {
    if (ulps != 0 && mpfr_regular_p(exact) && (is_inf(got) || mpfr_get_exp(exact) > Format<T>::emax + 1)) {
        T cr = round_to<T>(exact, kModes[m].rnd);
        if (same_bits(got, cr)) return 0;
    }
    return ulps;
}

// A reference as a double-double for the fast ulp measure of float and double results
// (MPFR measures the rest: specials, results past the range, deep double subnormals).
struct Fast {
    double hi = 0, lo = 0, ulp = 0;
    bool ok = false;
};
template <class T> Fast fast_of(mpfr_srcptr r) {
    Fast f;
    if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) {
        using F = Format<T>;
        if (!mpfr_regular_p(r)) return f;
        long e = mpfr_get_exp(r);
        // lo must keep 2^-53 of an ulp: double results from 2^-960 up.
        if (e > F::emax + 1 || (std::is_same_v<T, double> && e < -960)) return f;
        Mp t(256);
        f.hi = mpfr_get_d(r, MPFR_RNDN);
        mpfr_sub_d(t, r, f.hi, MPFR_RNDN);
        f.lo = mpfr_get_d(t, MPFR_RNDN);
        f.ulp = std::ldexp(1.0, int(std::max(e - 1, long(F::emin)) - (F::p - 1)));
        f.ok = true;
    }
    return f;
}
// The ulp error of got, exactly as ulp_error measures it (to 2^-50 ulp).
template <class T> double ulps_of(T got, mpfr_srcptr r, const Fast &f) {
    if (f.ok && got == got && !is_inf(got)) {
        double d = (double(got) - f.hi) - f.lo;  // the first difference is exact near hi
        return std::fabs(d) / f.ulp;
    }
    return ulp_error(got, r);
}

// Evaluates a reference, replacing a result MPFR can't hold (past its exponent range) by one
// far outside every format, of the same sign.
template <class T> void eval_ref_at(const Func<T> &f, int o, mpfr_ptr out, const mpfr_srcptr *args, mpfr_prec_t prec) {
    mpfr_set_prec(out, prec);
    mpfr_clear_flags();
    f.ref[o](out, args);
    if (mpfr_overflow_p() && mpfr_inf_p(out))
        mpfr_set_si_2exp(out, mpfr_signbit(out) ? -1 : 1, 1 << 20, MPFR_RNDN);
    else if (mpfr_underflow_p() && mpfr_zero_p(out))
        mpfr_set_si_2exp(out, mpfr_signbit(out) ? -1 : 1, -(1 << 20), MPFR_RNDN);
}
// Whether a reference r of relative error below 2^-(2p + 20) may stand for the exact value:
// where it lies 2^-40 of a half-ulp or more from every representable value and every
// midpoint of the format (every point that rounding, exactness and the binade depend on),
// the exact value rounds, in every mode, as r does, and their ulp errors differ by less
// than 2^-40.  Below the first midpoint (towards 0) and past the largest binade the rounding
// no longer depends on where r lies.
template <class T> bool stands_for_exact(mpfr_srcptr r) {
    using F = Format<T>;
    if (!mpfr_regular_p(r)) return true;
    long e = mpfr_get_exp(r);  // |r| in [2^(e-1), 2^e)
    if (e > F::emax + 1) return true;
    Mp y(2 * F::p + 64), d(64);
    mpfr_abs(y, r, MPFR_RNDN);  // exact: y has room for r
    mpfr_mul_2si(y, y, -(std::max(e - 1, long(F::emin)) - F::p), MPFR_RNDN);  // in half-ulps
    if (mpfr_cmp_d(y, 1 - 0x1p-40) < 0) return true;
    mpfr_frac(d, y, MPFR_RNDN);
    mpfr_abs(d, d, MPFR_RNDN);
    return mpfr_cmp_d(d, 0x1p-40) >= 0 && mpfr_cmp_d(d, 1 - 0x1p-40) <= 0;
}
// Evaluates a reference, replacing a result MPFR can't hold (past its exponent range) by one
// far outside every format, of the same sign; with `two_stage`, first at 2p + 24 bits and at
// 256 only where that value can't stand for the exact one.
template <class T> void eval_ref(const Func<T> &f, int o, mpfr_ptr out, const mpfr_srcptr *args, bool two_stage) {
    if (two_stage) {
        eval_ref_at(f, o, out, args, 2 * Format<T>::p + 24);
        if (stands_for_exact<T>(out)) return;
    }
    eval_ref_at(f, o, out, args, 256);
}

struct Acc {
    double max = 0;
    size_t worst = SIZE_MAX, bad_flags = 0, bad_controls = 0;
    size_t flag_at = SIZE_MAX;
    const char *flag_why = nullptr;
    int flag_got = 0;
    void merge(const Acc &o) {
        if (o.max > max || (worst == SIZE_MAX && o.worst != SIZE_MAX && o.max >= max)) max = o.max, worst = o.worst;
        bad_flags += o.bad_flags;
        bad_controls += o.bad_controls;
        if (flag_at == SIZE_MAX && o.flag_at != SIZE_MAX) flag_at = o.flag_at, flag_why = o.flag_why, flag_got = o.flag_got;
    }
};

// Measures the variants of s.f on inputs xs (nin values per tuple) against refs.
template <class T>
std::vector<SweepResult> measure(const Sweep<T> &s, const std::vector<T> &xs, const RefSet &refs) {
    const Func<T> &f = s.f;
    size_t n = xs.size() / f.nin;
    std::vector<SweepResult> results;
    std::vector<Exact> ex(refs.v.size());
    std::vector<Fast> fast(refs.v.size());
    parallel_for(refs.v.size(), [&](size_t i) {
        ex[i] = exact_of(&refs.v[i]);
        fast[i] = fast_of<T>(&refs.v[i]);
    }, refs.v.size() > 100000 ? 0 : 1);
    for (const auto &v : f.variants) {
        if (!tsr::tier_runnable(v.tier)) {
            std::printf("[  NOTICE  ] %s %s not run: this processor lacks its instruction set\n", f.name.c_str(),
                        v.name.c_str());
            continue;
        }
        unsigned tb = tier_bit(v.name.c_str());
        for (int m = 0; m < 4; ++m) {
            if (!(s.modes & (1u << m))) continue;
            const size_t chunk = 4096, nchunks = (n + chunk - 1) / chunk;
            std::vector<Acc> accs(nchunks);
            parallel_for(nchunks, [&](size_t c) {
                Acc &a = accs[c];
                ModeGuard g(kModes[m].fe);
                uint64_t rc = rounding_controls();
                for (size_t i = c * chunk; i < std::min(n, (c + 1) * chunk); ++i) {
                    const T *in = &xs[i * f.nin];
                    T out[2];
                    clear_flags();
                    v.call(in, out);
                    int fl = flags_raised();
                    if (rounding_controls() != rc) ++a.bad_controls;
                    bool nan_in = false, inf_in = false, inexact = false;
                    for (int k = 0; k < f.nin; ++k) nan_in |= in[k] != in[k], inf_in |= is_inf(in[k]);
                    for (int k = 0; k < f.nout; ++k) {
                        size_t j = i * f.nout + k;
                        double u = ulps_of(out[k], &refs.v[j], fast[j]);
                        double e = error_of(out[k], u, &refs.v[j], m);
                        inexact |= !ex[j].nan && u != 0;
                        if (!(e <= a.max)) a.max = e, a.worst = i;
                    }
                    if (s.check_flags && !(s.flags_excused && s.flags_excused(tb, in))) {
                        // Two outputs: each output's faults, the flags of the pair together.
                        const char *why = nullptr;
                        if (f.nout == 1) why = flag_fault<T>(fl, ex[i], nan_in, inf_in, inexact);
                        else if (inexact && !(fl & FE_INEXACT)) why = "no inexact for an inexact result";
                        if (why) {
                            if (a.flag_at == SIZE_MAX) a.flag_at = i, a.flag_why = why, a.flag_got = fl;
                            ++a.bad_flags;
                        }
                    }
                }
            });
            Acc all;
            for (const auto &a : accs) all.merge(a);
            std::array<double, 2> w{0, 0};
            if (all.worst != SIZE_MAX)
                for (int k = 0; k < f.nin; ++k) w[k] = double(xs[all.worst * f.nin + k]);
            std::string at = all.worst != SIZE_MAX ? args_str(&xs[all.worst * f.nin], f.nin) : "()";
            std::printf("[  ACCURACY] %-8s %-12s %-10s max %.4f ulp at %s (%zu inputs)\n", f.name.c_str(),
                        v.name.c_str(), kModes[m].name, all.max, at.c_str(), n);
            double b = bound_for(s, v.name, m);
            EXPECT_LE(all.max, b) << f.name << " " << v.name << " " << kModes[m].name << " worst input " << at;
            EXPECT_EQ(all.bad_controls, 0u) << f.name << " " << v.name << " " << kModes[m].name
                                            << " changed the rounding controls";
            EXPECT_EQ(all.bad_flags, 0u) << f.name << " " << v.name << " " << kModes[m].name << ": " << all.bad_flags
                                         << " calls with wrong flags, first at "
                                         << args_str(&xs[all.flag_at == SIZE_MAX ? 0 : all.flag_at * f.nin], f.nin)
                                         << ": " << (all.flag_why ? all.flag_why : "") << " (raised "
                                         << flags_str(all.flag_got) << ")";
            results.push_back({v.name, kModes[m].name, all.max, w, n, all.bad_flags, all.bad_controls});
        }
    }
    return results;
}

template <class T> std::vector<T> draw(const Range<T> &r, size_t n, uint64_t seed) {
    std::vector<T> v;
    if (r.dist == Dist::uniform) {
        v = uniform<T>(r.lo, r.hi, n, seed);
    } else {
        bool neg = r.hi < 0;
        v = neg ? log_uniform<T>(-r.hi, -r.lo, n, seed, r.both_signs) : log_uniform<T>(r.lo, r.hi, n, seed, r.both_signs);
        if (neg)
            for (auto &x : v) x = -x;
    }
    return v;
}

}  // namespace

template <class T> std::vector<SweepResult> sweep(const Sweep<T> &s) {
    const Func<T> &f = s.f;
    std::vector<T> xs;
    uint64_t seed = s.seed;
    for (const auto &r : s.regions) {
        size_t n = size_t(double(r.n) * s.scale);
        auto a = draw(r.x, n, seed++);
        std::vector<T> b;
        if (f.nin == 2) b = draw(r.y, n, seed++);
        for (size_t i = 0; i < n; ++i) {
            xs.push_back(a[i]);
            if (f.nin == 2) xs.push_back(b[i]);
        }
    }
    for (const auto &p : s.points)
        for (int k = 0; k < f.nin; ++k) xs.push_back(p[k]);
    if (s.gen) s.gen(xs, size_t(double(s.gen_n) * s.scale), seed++);
    if (s.skip) {
        std::vector<T> kept;
        for (size_t i = 0; i + f.nin <= xs.size(); i += f.nin)
            if (!s.skip(&xs[i])) kept.insert(kept.end(), xs.begin() + long(i), xs.begin() + long(i + f.nin));
        xs.swap(kept);
    }
    size_t n = xs.size() / f.nin;
    RefSet refs(n * f.nout);
    parallel_for((n + 1023) / 1024, [&](size_t c) {
        Mp a[2];
        const mpfr_srcptr args[2] = {a[0], a[1]};
        for (size_t i = c * 1024; i < std::min(n, (c + 1) * 1024); ++i) {
            for (int k = 0; k < f.nin; ++k) set(a[k], xs[i * f.nin + k]);
            for (int o = 0; o < f.nout; ++o) eval_ref(f, o, &refs.v[i * f.nout + o], args, s.two_stage_refs);
        }
    });
    return measure(s, xs, refs);
}

std::vector<SweepResult> every_float(const Sweep<float> &s, uint32_t lo, uint32_t hi, uint32_t step) {
    // Blocks of 2^16 inputs: references for a block, then every variant and mode over it.
    // Input j (counted from 0) has the bits lo + j·step.
    const Func<float> &f = s.f;
    if (step == 0) step = 1;
    const uint64_t block = 1u << 16, count = (uint64_t(hi) - lo) / step + 1;
    auto bits_at = [&](uint64_t j) { return uint32_t(lo + j * step); };
    const size_t nblocks = size_t((count + block - 1) / block);
    size_t nv = f.variants.size();
    std::vector<std::vector<Acc>> accs(nblocks, std::vector<Acc>(nv * 4));
    std::vector<bool> runnable(nv);
    for (size_t v = 0; v < nv; ++v) {
        runnable[v] = tsr::tier_runnable(f.variants[v].tier);
        if (!runnable[v])
            std::printf("[  NOTICE  ] %s %s not run: this processor lacks its instruction set\n", f.name.c_str(),
                        f.variants[v].name.c_str());
    }
    parallel_for(nblocks, [&](size_t b) {
        uint64_t b0 = b * block, b1 = std::min(count, b0 + block);
        size_t n = size_t(b1 - b0);
        std::vector<float> xs(n);
        for (size_t i = 0; i < n; ++i) xs[i] = std::bit_cast<float>(bits_at(b0 + i));
        if (s.skip) {
            for (auto &x : xs)
                if (s.skip(&x)) x = std::bit_cast<float>(0x7fc00000u);  // a quiet NaN stands in
        }
        RefSet refs(n * f.nout);
        std::vector<Exact> ex(n * f.nout);
        std::vector<Fast> fast(n * f.nout);
        {
            Mp a;
            const mpfr_srcptr args[1] = {a};
            for (size_t i = 0; i < n; ++i) {
                set(a, xs[i]);
                for (int o = 0; o < f.nout; ++o) {
                    size_t j = i * f.nout + o;
                    eval_ref(f, o, &refs.v[j], args, s.two_stage_refs);
                    ex[j] = exact_of(&refs.v[j]);
                    fast[j] = fast_of<float>(&refs.v[j]);
                }
            }
        }
        for (size_t v = 0; v < nv; ++v) {
            if (!runnable[v]) continue;
            for (int m = 0; m < 4; ++m) {
                if (!(s.modes & (1u << m))) continue;
                Acc &a = accs[b][v * 4 + m];
                unsigned tb = tier_bit(f.variants[v].name.c_str());
                ModeGuard g(kModes[m].fe);
                uint64_t rc = rounding_controls();
                for (size_t i = 0; i < n; ++i) {
                    float out[2];
                    clear_flags();
                    f.variants[v].call(&xs[i], out);
                    int fl = flags_raised();
                    if (rounding_controls() != rc) ++a.bad_controls;
                    bool inexact = false;
                    for (int k = 0; k < f.nout; ++k) {
                        size_t j = i * f.nout + k;
                        double u = ulps_of(out[k], &refs.v[j], fast[j]);
                        double e = error_of(out[k], u, &refs.v[j], m);
                        inexact |= !ex[j].nan && u != 0;
                        if (!(e <= a.max)) a.max = e, a.worst = size_t(bits_at(b0 + i));
                    }
                    if (s.check_flags && !(s.flags_excused && s.flags_excused(tb, &xs[i]))) {
                        const char *why = f.nout == 1 ? flag_fault<float>(fl, ex[i], xs[i] != xs[i], is_inf(xs[i]), inexact)
                                          : (inexact && !(fl & FE_INEXACT)) ? "no inexact for an inexact result"
                                                                            : nullptr;
                        if (why) {
                            if (a.flag_at == SIZE_MAX) a.flag_at = size_t(bits_at(b0 + i)), a.flag_why = why, a.flag_got = fl;
                            ++a.bad_flags;
                        }
                    }
                }
            }
        }
    });
    std::vector<SweepResult> results;
    for (size_t v = 0; v < nv; ++v) {
        if (!runnable[v]) continue;
        for (int m = 0; m < 4; ++m) {
            if (!(s.modes & (1u << m))) continue;
            Acc all;
            for (size_t b = 0; b < nblocks; ++b) all.merge(accs[b][v * 4 + m]);
            float wx = all.worst == SIZE_MAX ? 0.0f : std::bit_cast<float>(uint32_t(all.worst));
            const std::string &vn = f.variants[v].name;
            std::printf("[  ACCURACY] %-8s %-12s %-10s max %.4f ulp at (%a) (%llu inputs)\n", f.name.c_str(), vn.c_str(),
                        kModes[m].name, all.max, double(wx), (unsigned long long)count);
            EXPECT_LE(all.max, bound_for(s, vn, m)) << f.name << " " << vn << " " << kModes[m].name << " worst input "
                                                    << hex(wx);
            EXPECT_EQ(all.bad_controls, 0u) << f.name << " " << vn << " " << kModes[m].name
                                            << " changed the rounding controls";
            float fx = all.flag_at == SIZE_MAX ? 0.0f : std::bit_cast<float>(uint32_t(all.flag_at));
            EXPECT_EQ(all.bad_flags, 0u) << f.name << " " << vn << " " << kModes[m].name << ": " << all.bad_flags
                                         << " calls with wrong flags, first at " << hex(fx) << ": "
                                         << (all.flag_why ? all.flag_why : "") << " (raised " << flags_str(all.flag_got)
                                         << ")";
            results.push_back({vn, kModes[m].name, all.max, {double(wx), 0}, size_t(count), all.bad_flags,
                               all.bad_controls});
        }
    }
    return results;
}

double pair_err_log2(const Pair &p, mpfr_srcptr exact) {
    const auto [h, l, e] = p;
    if (mpfr_nan_p(exact)) return h != h ? -300 : 1000;
    if (mpfr_inf_p(exact)) return is_inf(h) && std::signbit(h) == bool(mpfr_signbit(exact)) ? -300 : 1000;
    if (h != h || is_inf(h) || l != l || is_inf(l)) return 1000;
    if (mpfr_zero_p(exact)) return h == 0 && l == 0 && std::signbit(h) == bool(mpfr_signbit(exact)) ? -300 : 1000;
    Mp got(400), t(400);
    set(got, h);
    set(t, l);
    mpfr_add(got, got, t, MPFR_RNDN);
    mpfr_mul_2si(got, got, e, MPFR_RNDN);
    mpfr_sub(got, got, exact, MPFR_RNDN);
    mpfr_div(got, got, exact, MPFR_RNDN);
    double d = std::fabs(mpfr_get_d(got, MPFR_RNDN));
    return d == 0 ? -300 : std::log2(d);
}
Expect<Pair> pair_within(mpfr_srcptr exact, double bits) {
    auto ref = std::make_shared<Mp>(mpfr_get_prec(exact));
    mpfr_set(*ref, exact, MPFR_RNDN);
    Expect<Pair> e{{}, ANY_FLAGS, ANY_ERRNO, ANY_CODE};
    e.accept = [ref, bits](const Pair &p) { return pair_err_log2(p, *ref) < bits; };
    char b[96];
    mpfr_snprintf(b, sizeof b, "a pair within 2^%g of %.24Rg", bits, exact);
    e.rule = b;
    return e;
}

namespace detail {
std::string text(__float128 x) {
    Mp m(113);
    set(m, x);
    char b[80];
    mpfr_snprintf(b, sizeof b, "%Ra", (mpfr_srcptr)m);
    return b;
}
std::string text(long double x) {
    char b[64];
    std::snprintf(b, sizeof b, "%La", x);
    return b;
}
std::string text(double x) { return hex(x); }
std::string text(float x) { return hex(x); }
}  // namespace detail

#define TH_RUNNERS(T)                                                                             \
    template int check_rows<T, 1, 1>(const Func<T> &, const std::vector<RowN<T, 1, 1>> &);      \
    template int check_rows<T, 2, 1>(const Func<T> &, const std::vector<RowN<T, 2, 1>> &);      \
    template int check_rows<T, 1, 2>(const Func<T> &, const std::vector<RowN<T, 1, 2>> &);      \
    template std::vector<SweepResult> sweep<T>(const Sweep<T> &);
TH_RUNNERS(float)
TH_RUNNERS(double)
TH_RUNNERS(long double)

}  // namespace th

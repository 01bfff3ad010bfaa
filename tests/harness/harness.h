// The shared test harness: MPFR references and ulp error in every target format, capture
// of flags, errno and the reported error code around a call, rounding-mode control, the
// tier runner driven by the catalogue, input generators, child-process runs, and the
// runners a family's tests hand their rows to (check_rows, sweep, every_float; below).
#pragma once
// <stdint.h> first: MPFR declares its intmax_t functions only after it.
#include <stdint.h>
#include <mpfr.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <array>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "tsr/tiers.h"
#include "tsr/types.h"
#include "tsr_tiers.inc"

namespace th {

// ---- formats ----------------------------------------------------------------------------
// Precision p and minimum normal exponent of each target format (value = m * 2^e, 1 <= m < 2).
template <class T> struct Format;
template <> struct Format<_Float16> { static constexpr int p = 11, emin = -14, emax = 15; };
template <> struct Format<float> { static constexpr int p = 24, emin = -126, emax = 127; };
template <> struct Format<double> { static constexpr int p = 53, emin = -1022, emax = 1023; };
template <> struct Format<long double> { static constexpr int p = 64, emin = -16382, emax = 16383; };
template <> struct Format<__float128> { static constexpr int p = 113, emin = -16382, emax = 16383; };

// ---- MPFR values ----------------------------------------------------------------------------
// An MPFR number with enough precision to hold any value of every target format exactly
// and to carry a reference far past the last place.
struct Mp {
    mpfr_t v;
    explicit Mp(mpfr_prec_t prec = 256) { mpfr_init2(v, prec); }
    ~Mp() { mpfr_clear(v); }
    Mp(const Mp &) = delete;
    Mp &operator=(const Mp &) = delete;
    operator mpfr_ptr() { return v; }
    operator mpfr_srcptr() const { return v; }
};

// Exact conversions between every target format and MPFR.
void set(mpfr_ptr r, double x);
void set(mpfr_ptr r, float x);
void set(mpfr_ptr r, long double x);
void set(mpfr_ptr r, __float128 x);
void set(mpfr_ptr r, _Float16 x);
// Rounds r to the target format in the given MPFR rounding mode, with the format's
// exponent range and subnormals (the correctly rounded result).
template <class T> T round_to(mpfr_srcptr r, mpfr_rnd_t rnd = MPFR_RNDN);

// Error of `got` against the exact value, in units in the last place of the target
// format at the exact value (ulp of its binade, 2^(emin-p+1) in the subnormal range).
// NaN against NaN is 0; a wrong NaN, infinity or sign of a zero gives +inf.
template <class T> double ulp_error(T got, mpfr_srcptr exact);

// Reference functions: evaluate an MPFR function on exact operands at `prec` bits.
using MpFn1 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using MpFn2 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);
template <class T> void ref(mpfr_ptr out, MpFn1 f, T x) {
    Mp a;
    set(a, x);
    f(out, a, MPFR_RNDN);
}
template <class T> void ref(mpfr_ptr out, MpFn2 f, T x, T y) {
    Mp a, b;
    set(a, x);
    set(b, y);
    f(out, a, b, MPFR_RNDN);
}

// ---- rounding modes -----------------------------------------------------------------------
struct Mode {
    int fe;  // FE_TONEAREST ...
    const char *name;
    mpfr_rnd_t rnd;
};
extern const Mode kModes[4];
// Sets the rounding mode of both the SSE and the x87 unit (directly, not through the
// library under test) and restores the previous control words on scope exit.
class ModeGuard {
  public:
    explicit ModeGuard(int fe);
    ~ModeGuard();

  private:
    uint32_t mxcsr_;
    uint16_t cw_;
};

// ---- flags, errno, reported code --------------------------------------------------------
// FE_* bits raised in either unit.
int flags_raised();
void clear_flags();
struct Outcome {
    int flags;  // FE_* bits raised by the call
    int err;    // errno after the call (it is set to 0 before)
    int code;   // the error code reported, or -1
    int denormal = 0;  // the denormal-operand flag (DE_FLAG) where either unit raised it
    uint64_t controls_at_report = 0;  // rounding_controls() when the code was reported
};
void begin_observe();
Outcome end_observe();
// Runs `call` with flags, errno and the reported code cleared, and returns its result with
// what it left behind.
template <class F> auto observe(F &&call) {
    begin_observe();
    auto r = call();
    Outcome o = end_observe();
    return std::make_pair(r, o);
}
std::string flags_str(int flags);

// ---- tiers ---------------------------------------------------------------------------------
// Runs body(tierfn) for every tier of a generated tier list this processor can run; a tier
// it can't run is reported on stdout, never silently passed.
template <class Fn, size_t N, class Body>
void for_each_tier(const tsr::TierFn<Fn> (&tiers)[N], Body &&body) {
    for (const auto &t : tiers) {
        if (!tsr::tier_runnable(t.tier)) {
            std::printf("[  NOTICE  ] tier %s not run: this processor lacks its instruction set\n",
                        t.name);
            continue;
        }
        body(t);
    }
}

// ---- inputs ---------------------------------------------------------------------------------
// n values log-uniform in [lo, hi] (0 < lo < hi), with both signs when `both_signs`.
template <class T> std::vector<T> log_uniform(T lo, T hi, size_t n, uint64_t seed, bool both_signs = false);
// n values uniform in [lo, hi].
template <class T> std::vector<T> uniform(T lo, T hi, size_t n, uint64_t seed);
// Special values of a format: zeros, smallest/largest subnormal, smallest normal, 1 and
// its neighbours, largest finite, infinities, quiet and signalling NaNs.
template <class T> std::vector<T> specials();
template <class T> T snan();
template <class T> T qnan();
// The default quiet NaN as a static value (for comparisons by bits).
template <class T> struct qnan_bits { static inline const T v = qnan<T>(); };
// A value from its bits (signalling NaNs and payloads in rows).
inline double f64(uint64_t b) { double x; std::memcpy(&x, &b, 8); return x; }
inline float f32(uint32_t b) { float x; std::memcpy(&x, &b, 4); return x; }
// An extended value from its sign and exponent field and its 64-bit significand (integer bit
// included), malformed patterns among them.
inline long double f80(uint16_t se, uint64_t m) {
    long double x = 0;
    std::memcpy(&x, &m, 8);
    std::memcpy(reinterpret_cast<char *>(&x) + 8, &se, 2);
    return x;
}
// Bits of a value, for exact comparison including NaN payloads and zero signs.
uint64_t bits_of(double x);
uint32_t bits_of(float x);

// ---- child processes -----------------------------------------------------------------------
struct ChildResult {
    int status;        // exit status, or 128 + signal
    std::string out;   // stdout and stderr together
};
// Runs `argv` with the extra environment entries ("NAME=value"; "NAME=" sets it empty,
// "-NAME" removes it) and captures its output.
ChildResult run_process(const std::vector<std::string> &argv, const std::vector<std::string> &env = {});
// Re-runs this test program in a fresh process, running only the tests matched by
// `filter` (which may name DISABLED_ tests: those run only this way).
ChildResult run_self(const std::string &filter, const std::vector<std::string> &env = {});

// ---- control words -------------------------------------------------------------------------
// The SSE and x87 control/status words as they stand, read directly.
uint32_t mxcsr_now();
uint16_t x87_cw_now();
uint16_t x87_sw_now();
void set_mxcsr(uint32_t v);
void set_x87_cw(uint16_t v);
// Both units' control words less their flag bits (rounding, precision, masks, flush to
// zero): a call under test must leave them as it found them.
uint64_t rounding_controls();

// ---- environment sequences ---------------------------------------------------------------
// Both units as a call finds and leaves them: the x87 control word, the x87 flags (the six
// exception bits of its status word) and MXCSR whole.
struct Units {
    uint16_t cw, sw;
    uint32_t mxcsr;
    bool operator==(const Units &) const = default;
};
Units units_now();
// Installs a state (flags only on masked exceptions, or nothing pending fires).
void set_units(const Units &u);
// A row: the units installed before, a call (or a short sequence of calls) with the value it
// returns, and the units it must leave.
struct EnvRow {
    std::string what;
    Units before;
    std::function<long()> call;
    long ret;
    Units after;
};
// Runs each row from its own state, reads the units before anything else can touch them,
// and puts the caller's units back; returns the number of mismatches.
int check_env_rows(const std::vector<EnvRow> &rows);

// =============================================================================================
// The shared runners.  A family's tests describe each function once (a Func: its name, its
// MPFR reference and its tier variants from tsr_tiers.inc) and hand the runners rows of
// special values (check_rows), regions and bounds (sweep), or a float function's bounds for
// every input (every_float).
// =============================================================================================

// Rounding-mode sets, by kModes index.  For check_calls, PC53 and PC24 make each call of the
// modes named with the x87 precision control lowered to 53 or 24 bits in place of 64 (the
// expectation still formed at 64), and then also require the caller's controls back already
// when the call reports an error.
enum : unsigned { RN = 1, RU = 2, RD = 4, RZ = 8, ALL_MODES = 15, PC53 = 16, PC24 = 32 };
// Tier sets, by tsr::Tier (a portable AVX-512 variant, "z0-portable", counts as its tier).
enum : unsigned {
    EX = 1u << 0, E7 = 1u << 1, Y8 = 1u << 2, E9 = 1u << 3, L9 = 1u << 4, Z0 = 1u << 5, D1 = 1u << 6,
    ALL_TIERS = 0x7f, FMA_TIERS = L9 | Z0 | D1, SSE_TIERS = EX | E7 | Y8 | E9,
    ENTRY = 1u << 7,  // the public entry point, where a Func lists it
};
unsigned tier_bit(const char *variant_name);

// Flag sets as rows write them.
enum : int {
    NONE = 0, NX = FE_INEXACT, OV = FE_OVERFLOW | FE_INEXACT, UN = FE_UNDERFLOW | FE_INEXACT,
    INV = FE_INVALID, DZ = FE_DIVBYZERO,
    ANY_FLAGS = -1,  // flags not checked
    // The denormal-operand flag (x86's own, outside FE_ALL_EXCEPT) is compared only where an
    // expectation of check_calls names CHECK_DE: CHECK_DE alone wants no flag at all, DE the
    // denormal flag alone, INV | CHECK_DE invalid without it.
    DE_FLAG = 0x02, CHECK_DE = 0x1000, DE = DE_FLAG | CHECK_DE,
};
constexpr int ANY_ERRNO = -1;  // errno not checked
constexpr int ERANGE_IF_ZERO = -3;  // ERANGE where the result is zero, else 0 (an underflow)
constexpr int NO_CODE = -1;    // no error reported
constexpr int ANY_CODE = -2;   // reported code not checked

// A reference: out = f(in[0], ...) evaluated at out's precision, rounded to nearest.
using RefFn = std::function<void(mpfr_ptr out, const mpfr_srcptr *in)>;
RefFn mpfr_ref(MpFn1 f);
RefFn mpfr_ref(MpFn2 f);

// One function under test: its inputs and outputs (all of format T) and its variants.
template <class T> struct Func {
    std::string name;
    int nin = 1, nout = 1;
    std::vector<RefFn> ref;  // one per output
    struct Variant {
        std::string name;  // "ex", "z0-portable", "entry"
        tsr::Tier tier;    // the instruction set it needs
        std::function<void(const T *in, T *out)> call;
    };
    std::vector<Variant> variants;

    // Adds a variant: T(T), T(T, T), or void(T, T *, T *) (two outputs, sincos-like).
    Func &add(const char *vname, tsr::Tier tier, T (*fn)(T)) {
        variants.push_back({vname, tier, [fn](const T *in, T *out) { out[0] = fn(in[0]); }});
        return *this;
    }
    Func &add(const char *vname, tsr::Tier tier, T (*fn)(T, T)) {
        variants.push_back({vname, tier, [fn](const T *in, T *out) { out[0] = fn(in[0], in[1]); }});
        return *this;
    }
    Func &add(const char *vname, tsr::Tier tier, void (*fn)(T, T *, T *)) {
        variants.push_back({vname, tier, [fn](const T *in, T *out) { fn(in[0], &out[0], &out[1]); }});
        return *this;
    }
    // The public (dispatched) entry point, checked like a tier.
    template <class Fn> Func &entry(Fn fn) { return add("entry", tsr::Tier::ex, fn); }
};

namespace detail {
template <class T, class Fn, size_t N> void add_list(Func<T> &f, const tsr::TierFn<Fn> (&list)[N]) {
    for (const auto &t : list) f.add(t.name, t.tier, t.fn);
}
}  // namespace detail

// func("exp", mpfr_exp, tsr_tiers_exp, tsr_portable_tiers_exp): every listed variant.
template <class T, size_t... N>
Func<T> func(const char *name, MpFn1 ref, const tsr::TierFn<T (*)(T)> (&...lists)[N]) {
    Func<T> f{name, 1, 1, {mpfr_ref(ref)}, {}};
    (detail::add_list(f, lists), ...);
    return f;
}
template <class T, size_t... N>
Func<T> func(const char *name, MpFn2 ref, const tsr::TierFn<T (*)(T, T)> (&...lists)[N]) {
    Func<T> f{name, 2, 1, {mpfr_ref(ref)}, {}};
    (detail::add_list(f, lists), ...);
    return f;
}
// A function without tiers: its one body (run as tier ex) and its public entry.
template <class T> Func<T> func(const char *name, MpFn1 ref, T (*body)(T), T (*entry)(T)) {
    Func<T> f{name, 1, 1, {mpfr_ref(ref)}, {}};
    return f.add("ex", tsr::Tier::ex, body).entry(entry);
}
// Two outputs (sin and cos of one input): one reference per output.
template <class T, size_t... N>
Func<T> func2(const char *name, MpFn1 ref0, MpFn1 ref1, const tsr::TierFn<void (*)(T, T *, T *)> (&...lists)[N]) {
    Func<T> f{name, 1, 2, {mpfr_ref(ref0), mpfr_ref(ref1)}, {}};
    (detail::add_list(f, lists), ...);
    return f;
}

// The public entry and the reproducible form of a function, by its name:
//   func("sind", mp_sind, tsr_tiers_sind) TH_WITH_BWR(sind)
#define TH_WITH_BWR(name) .entry(::name).add("bwr", tsr::Tier::ex, __bwr_##name)

// ---- special-value rows ------------------------------------------------------------------
// What a row expects of an output: exactly these bits (the default quiet NaN, NAN: any quiet
// NaN; another NaN: its own bits, payload and sign), the
// correctly rounded value in the mode being checked (CR), or anything (ANY).
enum class WantKind { bits, cr, any };
constexpr WantKind CR = WantKind::cr, ANY = WantKind::any;
template <class T> struct Want {
    WantKind kind;
    T v;
    Want(T value) : kind(WantKind::bits), v(value) {}
    Want(WantKind k) : kind(k), v(0) {}
};

// A row: inputs, expected outputs, the exact flag set raised (NX, OV, UN, INV, DZ or
// ANY_FLAGS), errno (0 by default), the reported code (NO_CODE by default), and where it
// holds: `modes` (0: rows wanting CR in all four modes, the others in nearest) and `tiers`.
template <class T, int NI = 1, int NO = 1> struct RowN {
    T in[NI];
    Want<T> want[NO];
    int flags = NONE;
    int err = 0;
    int code = NO_CODE;
    unsigned modes = 0;
    unsigned tiers = ALL_TIERS | ENTRY;
};
template <class T> using Row = RowN<T, 1, 1>;
template <class T> using Row2 = RowN<T, 2, 1>;   // two inputs (pow)

// Shorthands the families' rows share: x correctly rounded with inexact, in nearest only
// (cr) or in every mode (crx); the signalling NaNs of each format.
template <class T> Row<T> cr(T x) { return {x, CR, NX, 0, NO_CODE, RN}; }
template <class T> Row<T> crx(T x) { return {x, CR, NX}; }
inline const double kS = f64(0x7ff4000000000000);
inline const float fS = f32(0x7fa00000);
// The values rows name most: infinity, the default quiet NaN, the largest finite value and
// the least subnormal of each format.
inline constexpr double kInf = __builtin_inf(), kMax = 0x1.fffffffffffffp1023, kTiny = 0x1p-1074;
inline constexpr float fInf = __builtin_inff(), fMax = 0x1.fffffep127f, fTiny = 0x1p-149f;
inline constexpr long double lInf = __builtin_infl();
inline const double kNaN = f64(0x7ff8000000000000);
inline const float fNaN = f32(0x7fc00000);
inline const long double lNaN = __builtin_nanl("");
// The NaN rows every one-argument function shares, put before its own: quiet NaNs of either
// sign pass silently; signalling ones, among them a negative one with its payload in the low
// word only (not to be taken for an infinity), raise invalid.
template <class T> std::vector<Row<T>> with_nans(std::vector<Row<T>> own) {
    constexpr bool d = sizeof(T) == 8;
    std::vector<Row<T>> r = {{T(NAN), T(NAN)}, {-T(NAN), T(NAN)}, {d ? T(kS) : T(fS), T(NAN), INV},
                             {d ? T(f64(0xfff0000000000001)) : f32(0xff800001), T(NAN), INV}};
    r.insert(r.end(), own.begin(), own.end());
    return r;
}
template <class T> using RowSC = RowN<T, 1, 2>;  // two outputs (sincos)

// Checks every row in every variant of f this processor runs and every mode the row names:
// output bits, flags, errno, code, and that the rounding controls come back unchanged.
// Returns the number of mismatches (each also reported as a test failure).
template <class T, int NI, int NO>
int check_rows(const Func<T> &f, const std::vector<RowN<T, NI, NO>> &rows);

// ---- accuracy sweeps ---------------------------------------------------------------------
enum class Dist { log_uniform, uniform };
// Inputs of one operand: log-uniform needs 0 < lo < hi or lo < hi < 0 (both_signs adds the
// mirror image); uniform covers [lo, hi].
template <class T> struct Range {
    T lo, hi;
    Dist dist = Dist::log_uniform;
    bool both_signs = false;
};
template <class T> struct Region {
    size_t n;        // inputs drawn
    Range<T> x;      // first operand
    Range<T> y = {}; // second operand (two-input functions)
};
// A bound that differs for some tiers and modes (a tier that rounds its polynomial once more).
struct TierBound {
    unsigned tiers, modes;
    double ulp;
};
template <class T> struct Sweep {
    Func<T> f;
    std::vector<Region<T>> regions;             // random inputs
    std::vector<std::array<T, 2>> points = {};  // hard inputs, given one by one
    // More inputs: appends n input tuples (nin values each) to `out`.
    std::function<void(std::vector<T> &out, size_t n, uint64_t seed)> gen = nullptr;
    size_t gen_n = 0;
    double bound[4] = {0.5, 1.0, 1.0, 1.0};  // max ulp per mode, in kModes order
    std::vector<TierBound> tier_bounds = {};
    // Inputs left out, each with the reason where the Sweep is written.
    std::function<bool(const T *in)> skip = nullptr;
    uint64_t seed = 1;
    double scale = 1;          // multiplies every region's n (the Long tests' 10 million)
    bool check_flags = true;   // no flag without its cause, and overflow, underflow, invalid,
                               // divide-by-zero and inexact whenever due
    unsigned modes = ALL_MODES;
    // Flag checks left out for a tier (tier_bit of the variant) and input: known faults, each
    // named where the Sweep is written.
    std::function<bool(unsigned tier, const T *in)> flags_excused = nullptr;
    // References formed first at 2p + 24 bits (p the format's) and again at 256 only where
    // that value lies within 2^-40 half-ulp of a representable value or a midpoint: the same
    // roundings, exactness, flags and ulps (to 2^-40) as at 256 bits, for references that are
    // slow at 256 bits (MPFR's erfc far in its tail).  The reference must be good to 2^-(2p+20).
    bool two_stage_refs = false;
    // The usual bounds: `rn` ulps to nearest, `directed` in the three directed modes.
    Sweep &bounds(double rn, double directed = 2.0) {
        bound[0] = rn;
        bound[1] = bound[2] = bound[3] = directed;
        return *this;
    }
};
struct SweepResult {
    std::string variant, mode;
    double max_ulp;
    std::array<double, 2> worst;  // the input where it was reached
    size_t inputs, bad_flags, bad_controls;
};
// Measures every variant of plan.f this processor runs against MPFR on the plan's inputs in
// its modes, prints one "[  ACCURACY]" line per variant and mode, and fails where a maximum
// passes its bound, a call raises a wrong flag, or the rounding controls change.
template <class T> std::vector<SweepResult> sweep(const Sweep<T> &plan);
// Each plan with its inputs scaled by `scale` (the Long run's 10 million).
template <class T> void sweep_all(std::vector<Sweep<T>> plans, double scale) {
    for (auto &s : plans) {
        s.scale = scale;
        sweep(s);
    }
}

// Every float input (bits lo..hi inclusive, all of them by default; with a step, every
// step-th of them from lo) in every variant and the plan's modes, on every core; same bounds
// and lines as sweep (regions and points unused).
std::vector<SweepResult> every_float(const Sweep<float> &plan, uint32_t lo = 0, uint32_t hi = 0xffffffffu,
                                     uint32_t step = 1);

// ---- calls of any shape ------------------------------------------------------------------
// check_rows and sweep take functions whose operands and results share one format; the
// runner below takes any signature: integer results, three operands, an integer operand,
// results through pointers (the variant returns them together as a tuple), calls judged by
// their flags and errno alone.  Every input goes through every variant this processor runs
// in the given modes, and `expect` (a row's own values, or what MPFR or exact integer work
// says) gives the result, compared bit for bit (the default quiet NaN stands for any quiet
// NaN), the exact flag set (or a second one also allowed), errno and the reported code; the
// rounding controls must come back unchanged.  `expect` runs in the mode being checked.
template <class R> struct Expect {
    R v{};
    int flags = NONE;
    int err = 0;
    int code = NO_CODE;
    int flags_or = -2;    // a second flag set that is also right (-2: none)
    bool value = true;    // false: the result is not checked
    // Where set, judges the result in place of the comparison with v (a part whose sign or
    // NaN is left open, a complex result judged part by part), `rule` saying how.
    std::function<bool(const R &)> accept;
    std::string rule = "its rule";
};
template <class R, class... A> struct Call {
    std::string name;
    tsr::Tier tier;
    std::function<R(A...)> fn;
};
template <class R, class... A> using Calls = std::vector<Call<R, A...>>;
// Appends a variant per entry of a generated tier list (its result converted to R).
template <class R, class... A, class Fn, size_t N>
Calls<R, A...> &add_tiers(Calls<R, A...> &c, const tsr::TierFn<Fn> (&list)[N]) {
    for (const auto &t : list) {
        Fn fn = t.fn;
        c.push_back({t.name, t.tier, [fn](A... a) { return R(fn(a...)); }});
    }
    return c;
}
template <class R, class... A, class Fn>
Calls<R, A...> &add_call(Calls<R, A...> &c, const char *name, Fn fn, tsr::Tier tier = tsr::Tier::ex) {
    c.push_back({name, tier, [fn](A... a) { return R(fn(a...)); }});
    return c;
}
// A function that gives a second result through a pointer (frexp, modf, remquo), as a call
// returning both; the pointer's target starts out at `fill`, so that a call that does not
// write it shows.
template <class R, class P, class T> std::function<std::tuple<R, P>(T)> out2(R (*fn)(T, P *), P fill = P(77)) {
    return [fn, fill](T x) { P p = fill; R r = fn(x, &p); return std::tuple<R, P>{r, p}; };
}
template <class R, class P, class T> std::function<std::tuple<R, P>(T, T)> out2(R (*fn)(T, T, P *), P fill = P(77)) {
    return [fn, fill](T x, T y) { P p = fill; R r = fn(x, y, &p); return std::tuple<R, P>{r, p}; };
}
// Every variant of a generated tier list and the named extras (entry, reproducible form), as
// calls; or one named function alone.
template <class R, class... A, size_t N>
Calls<R, A...> calls(const tsr::TierFn<R (*)(A...)> (&tiers)[N],
                     std::initializer_list<std::pair<const char *, R (*)(A...)>> extra = {}) {
    Calls<R, A...> c;
    add_tiers(c, tiers);
    for (const auto &[n, f] : extra) add_call(c, n, f);
    return c;
}
template <class R, class... A> Calls<R, A...> calls(const char *name, R (*fn)(A...)) {
    Calls<R, A...> c;
    return add_call(c, name, fn);
}
namespace detail {
template <class F> struct CallOf;
template <class R, class... A> struct CallOf<std::function<R(A...)>> { using type = Call<R, A...>; };
}  // namespace detail
// The same for a function with a second result through a pointer (out2 above).
template <class Fn, size_t N>
auto calls_out(const tsr::TierFn<Fn> (&tiers)[N], std::initializer_list<std::pair<const char *, Fn>> extra = {}) {
    std::vector<typename detail::CallOf<decltype(out2(Fn()))>::type> c;
    for (const auto &t : tiers) c.push_back({t.name, t.tier, out2(t.fn)});
    for (const auto &[n, f] : extra) c.push_back({n, tsr::Tier::ex, out2(f)});
    return c;
}
template <class Fn> auto calls_out(const char *name, Fn fn) {
    return std::vector<typename detail::CallOf<decltype(out2(Fn()))>::type>{{name, tsr::Tier::ex, out2(fn)}};
}
// An expectation with only the named checks (the others open).
template <class R> Expect<R> is(R v, int code = ANY_CODE, int err = ANY_ERRNO, int flags = ANY_FLAGS) {
    return {v, flags, err, code};
}
// A random finite pattern with every exponent field equally likely (zeros, subnormals and the
// extremes among them): the inputs of exact operations, whose every binade matters alike.
template <class T> T any_finite(std::mt19937_64 &g);

// A row for check_calls: operands, what is expected, and the modes (nearest by default).
template <class R, class... A> struct CallRow {
    std::tuple<A...> in;
    Expect<R> want;
    unsigned modes = RN;
};

namespace detail {
template <class T> bool quiet_nan_bits(T x) {
    if constexpr (std::is_same_v<T, double>) return (bits_of(x) & 0x7ff8000000000000ull) == 0x7ff8000000000000ull;
    else if constexpr (std::is_same_v<T, float>) return (bits_of(x) & 0x7fc00000u) == 0x7fc00000u;
    else {
        uint64_t m;
        std::memcpy(&m, &x, 8);
        return x != x && (m & 0x4000000000000000ull);
    }
}
template <class T> constexpr bool is_complex_v = std::is_same_v<T, _Complex double> || std::is_same_v<T, _Complex float>;
template <class T> bool same_value(const T &got, const T &want) {
    if constexpr (is_complex_v<T>) {
        return same_value(__real__ got, __real__ want) && same_value(__imag__ got, __imag__ want);
    } else if constexpr (std::is_floating_point_v<T> || std::is_same_v<T, __float128> || std::is_same_v<T, _Float16>) {
        constexpr size_t n = std::is_same_v<T, long double> ? 10 : sizeof(T);
        const T neg = -qnan_bits<T>::v;  // the default quiet NaN of either sign: any quiet NaN
        if (want != want && (std::memcmp(&want, &qnan_bits<T>::v, n) == 0 || std::memcmp(&want, &neg, n) == 0))
            return quiet_nan_bits(got);
        return std::memcmp(&got, &want, n) == 0;
    } else if constexpr (requires { std::tuple_size<T>::value; }) {
        return [&]<size_t... I>(std::index_sequence<I...>) {
            return (same_value(std::get<I>(got), std::get<I>(want)) && ...);
        }(std::make_index_sequence<std::tuple_size_v<T>>{});
    } else {
        return got == want;
    }
}
constexpr uint16_t kPC64 = 0x300;  // the x87 precision-control field: 64 bits
inline std::vector<uint16_t> precisions(unsigned modes) {
    std::vector<uint16_t> p;
    if (modes & PC53) p.push_back(0x200);
    if (modes & PC24) p.push_back(0x000);
    if (p.empty()) p.push_back(kPC64);
    return p;
}
inline const char *precision_name(uint16_t pc) { return pc == kPC64 ? "" : pc == 0x200 ? " at 53 bits" : " at 24 bits"; }
std::string text(__float128 x);
std::string text(long double x);
std::string text(double x);
std::string text(float x);
inline std::string text(long long x) { return std::to_string(x); }
inline std::string text(long x) { return std::to_string(x); }
inline std::string text(int x) { return std::to_string(x); }
inline std::string text(unsigned long long x) { return std::to_string(x); }
inline std::string text(unsigned x) { return std::to_string(x); }
inline std::string text(unsigned long x) { return std::to_string(x); }
inline std::string text(bool x) { return x ? "true" : "false"; }
template <class T> std::string text(const T &z) requires is_complex_v<T> {
    return "(" + text(__real__ z) + ", " + text(__imag__ z) + ")";
}
inline std::string text(const char *x) { return x ? '"' + std::string(x) + '"' : "null"; }
inline std::string text(const std::string &x) { return '"' + x + '"'; }
template <class T> std::string text(const T &t) requires requires { std::tuple_size<T>::value; } {
    std::string s = "(";
    std::apply([&](const auto &...e) { ((s += text(e) + ", "), ...); }, t);
    if (s.size() > 1) s.resize(s.size() - 2);
    return s + ")";
}
}  // namespace detail

template <class R, class... A, class Exp>
int check_calls(const std::string &fname, const Calls<R, A...> &calls, const std::vector<std::tuple<A...>> &inputs,
                unsigned modes, Exp &&expect) {
    int bad = 0;
    for (const auto &c : calls) {
        if (!tsr::tier_runnable(c.tier)) {
            std::printf("[  NOTICE  ] %s %s not run: this processor lacks its instruction set\n", fname.c_str(),
                        c.name.c_str());
            continue;
        }
        for (int m = 0; m < 4; ++m) {
            if (!(modes & (1u << m))) continue;
            for (uint16_t pc : detail::precisions(modes))
            for (const auto &in : inputs) {
                Expect<R> e;
                R got{};
                Outcome o;
                uint64_t rc_before, rc_after;
                {
                    ModeGuard g(kModes[m].fe);
                    e = expect(c, in, m);  // in the mode: an expectation may come from the processor
                    if (pc != detail::kPC64) set_x87_cw(uint16_t((x87_cw_now() & ~detail::kPC64) | pc));
                    rc_before = rounding_controls();
                    begin_observe();
                    got = std::apply(c.fn, in);
                    o = end_observe();
                    rc_after = rounding_controls();
                }
                auto flags_of = [&](int want) {
                    return want == ANY_FLAGS || (o.flags | (want & CHECK_DE ? o.denormal : 0)) == (want & ~CHECK_DE);
                };
                bool report_ok = pc == detail::kPC64 || o.code < 0 || o.controls_at_report == rc_before;
                bool ok = (!e.value || (e.accept ? e.accept(got) : detail::same_value(got, e.v))) &&
                          (flags_of(e.flags) || (e.flags_or != -2 && flags_of(e.flags_or))) &&
                          (e.err == ANY_ERRNO || o.err == e.err) && (e.code == ANY_CODE || o.code == e.code) &&
                          rc_after == rc_before && report_ok;
                if (!ok && ++bad <= 20)
                    ADD_FAILURE() << fname << " " << c.name << " " << kModes[m].name << detail::precision_name(pc)
                                  << " at " << detail::text(in) << ": got " << detail::text(got) << " flags "
                                  << flags_str(o.flags | o.denormal) << " errno " << o.err << " code " << o.code
                                  << (rc_after != rc_before ? " (controls changed)" : "")
                                  << (report_ok ? "" : " (controls not the caller's at the report)")
                                  << "; want " << (!e.value ? "any" : e.accept ? e.rule : detail::text(e.v))
                                  << " flags " << (e.flags == ANY_FLAGS ? "any" : flags_str(e.flags))
                                  << " errno " << (e.err == ANY_ERRNO ? "any" : std::to_string(e.err))
                                  << " code " << (e.code == ANY_CODE ? "any" : std::to_string(e.code));
            }
        }
    }
    return bad;
}
// Rows: each with its own expectation and modes.
template <class R, class... A>
int check_calls(const std::string &fname, const Calls<R, A...> &calls, const std::vector<CallRow<R, A...>> &rows) {
    int bad = 0;
    for (const auto &r : rows)
        bad += check_calls(fname, calls, std::vector<std::tuple<A...>>{r.in}, r.modes ? r.modes : RN,
                           [&](const auto &, const auto &, int) { return r.want; });
    return bad;
}

// The variants of a Func as calls (operands and results as arrays of two, the second unused
// where the function has one), for the checks of check_calls: symmetry, the x87 precision.
template <class T> Calls<std::array<T, 2>, std::array<T, 2>> calls(const Func<T> &f) {
    Calls<std::array<T, 2>, std::array<T, 2>> c;
    for (const auto &v : f.variants)
        c.push_back({v.name, v.tier, [call = v.call](std::array<T, 2> in) {
                         std::array<T, 2> out{T(0), T(0)};
                         call(in.data(), out.data());
                         return out;
                     }});
    return c;
}
// f(-x) = -f(x) (odd) or f(x) (even) bit for bit on xs, in every variant and in nearest.
template <class T> int check_symmetry(const Func<T> &f, const std::vector<T> &xs, bool odd) {
    using A = std::array<T, 2>;
    std::vector<std::tuple<A>> in;
    for (T x : xs) in.push_back({A{x, T(0)}});
    return check_calls(f.name, calls(f), in, RN, [odd](const auto &c, const std::tuple<A> &a, int) {
        T m = c.fn(A{-std::get<0>(a)[0], T(0)})[0];
        return Expect<A>{A{odd ? -m : m, T(0)}, ANY_FLAGS, ANY_ERRNO, ANY_CODE};
    });
}
// Every call at 53- and 24-bit x87 precision in every mode gives what it gives at 64 bits,
// leaves the controls as it found them and has them back already when it reports an error.
template <class R, class... A>
int check_x87_precision(const std::string &fname, const Calls<R, A...> &calls, const std::vector<std::tuple<A...>> &inputs) {
    return check_calls(fname, calls, inputs, ALL_MODES | PC53 | PC24, [](const auto &c, const auto &in, int) {
        return Expect<R>{std::apply(c.fn, in), ANY_FLAGS, ANY_ERRNO, ANY_CODE};
    });
}

// ---- kernels' pairs ------------------------------------------------------------------------
// An internal kernel's result: an unevaluated sum scaled by a power of two, (hi + lo) 2^e.
using Pair = std::tuple<long double, long double, long>;
// log2 of |((hi + lo) 2^e - exact) / exact|: -300 for an exact pair (a zero of the exact
// value's sign with a zero tail, the exact infinity, a NaN for a NaN), 1000 for a wrong one.
double pair_err_log2(const Pair &p, mpfr_srcptr exact);
// An expectation of check_calls: the pair within a relative 2^bits of `exact` (flags, errno
// and code left open).
Expect<Pair> pair_within(mpfr_srcptr exact, double bits);

// Runs body(i) for i in [0, n) on `threads` threads (0: every core).
void parallel_for(size_t n, const std::function<void(size_t)> &body, unsigned threads = 0);

}  // namespace th

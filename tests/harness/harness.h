// The shared test harness: MPFR references and ulp error in every target format, capture
// of flags, errno and the reported error code around a call, rounding-mode control, the
// tier runner driven by the catalogue, input generators, and child-process runs.
#pragma once
// <stdint.h> first: MPFR declares its intmax_t functions only after it.
#include <stdint.h>
#include <mpfr.h>

#include <cerrno>
#include <cfenv>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <random>
#include <string>
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

}  // namespace th

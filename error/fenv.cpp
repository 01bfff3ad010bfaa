// The floating-point environment of the calling thread.
//
// An x86-64 thread has two floating-point units with state of their own: the x87 unit
// (control word, status word) and the SSE unit (MXCSR), and a program may run arithmetic
// on both. So every function here that sets something sets it in both units, and every
// function that reads exception flags reads the union of both. Rounding and the
// unmasked set are read from MXCSR alone: that is the unit ordinary double and float
// arithmetic runs on.
//
// Codes, types and sentinels are the system's own (<fenv.h>): the FE_* exception bits
// coincide with the flag bits of the x87 status word and of MXCSR, and with the mask bits
// of the x87 control word (MXCSR keeps its masks 7 bits higher); the FE_* rounding codes
// are the x87 rounding field in place (MXCSR keeps it 3 bits higher). The denormal-operand
// exception (0x02, which FE_ALL_EXCEPT leaves out) is handled like the other five wherever
// a function takes a mask; feraiseexcept has no operation for it.
//
// fenv_t is the system's record: the 28-byte image that fnstenv writes, followed by
// MXCSR. fegetenv fills it verbatim, so the record holds each unit's masks, rounding
// and flags separately, and the x87 precision and infinity control as well. fesetenv
// installs masks, rounding and flags of both units and flush-to-zero and
// denormals-are-zero, but never the x87 precision or infinity control: those belong to
// whoever set up the x87 unit (a program running it at 53 bits keeps 53 bits).
//
// The x87 flags can only be written by storing the whole x87 environment, editing the
// stored status word and loading it back; loading clears nothing by itself, so pending
// exceptions are cleared (fnclex) just before the load.
#include <fenv.h>

#include "tsr/common.h"

namespace {

constexpr unsigned kExcAll = 0x3f;            // the six exceptions, denormal included
constexpr unsigned kRoundAll = 0xc00;         // the rounding codes' field
constexpr uint32_t kMxMaskShift = 7;          // MXCSR mask bits sit 7 above the flags
constexpr uint32_t kMxMasks = kExcAll << kMxMaskShift;
constexpr uint32_t kMxRoundShift = 3;         // MXCSR rounding sits 3 above the x87 field
constexpr uint32_t kMxFtz = 0x8000;
constexpr uint32_t kMxDaz = 0x0040;
constexpr uint32_t kMxDefined = 0xffff;       // the rest of MXCSR is reserved
constexpr uint16_t kSwStackFault = 0x40;
constexpr uint16_t kSwSummary = 0x80;         // ES, pending unmasked exception
constexpr uint16_t kSwBusy = 0x8000;          // mirrors ES

// The first 28 bytes of fenv_t, as fnstenv writes them.
struct X87Env {
    uint16_t cw, r1, sw, r2, tw, r3;
    uint32_t ip;
    uint16_t cs, op;
    uint32_t dp;
    uint16_t ds, r4;
};
static_assert(sizeof(X87Env) == 28);
static_assert(sizeof(fenv_t) >= sizeof(X87Env) + 4, "fenv_t holds the x87 image and MXCSR");
static_assert(__builtin_offsetof(fenv_t, __mxcsr) == 28);

// fnstenv also masks all x87 exceptions: callers that mean to leave the unit as it was
// load the image back.
inline void x87_store(void *p) { asm volatile("fnstenv %0" : "=m"(*static_cast<X87Env *>(p))); }
inline void x87_load(const void *p) {
    asm volatile("fldenv %0" : : "m"(*static_cast<const X87Env *>(p)));
}
inline void x87_clear_pending() { asm volatile("fnclex"); }
inline unsigned x87_flags() { return tsr::get_x87_sw() & kExcAll; }

// The status word with its six flags replaced; the summary bits follow the flags, as the
// unit itself would have set them, and a stack fault stays only with its invalid flag.
inline uint16_t with_flags(uint16_t sw, uint16_t cw, unsigned flags) {
    uint16_t keep = (flags & FE_INVALID) ? kSwStackFault : 0;
    sw = uint16_t((sw & ~(kExcAll | kSwStackFault | kSwSummary | kSwBusy)) | (sw & keep) | flags);
    if (flags & ~cw & kExcAll) sw |= kSwSummary | kSwBusy;
    return sw;
}

// Rewrites the x87 flags named in `which` to their state in `flags`.
inline void x87_put_flags(unsigned which, unsigned flags) {
    X87Env e;
    x87_store(&e);
    unsigned now = e.sw & kExcAll;
    e.sw = with_flags(e.sw, e.cw, (now & ~which) | (flags & which));
    x87_clear_pending();
    x87_load(&e);
}

// The values whose arithmetic raises each exception.
constexpr double kMax = 0x1.fffffffffffffp+1023;
constexpr double kMinNormal = 0x1p-1022;

}  // namespace

extern "C" {

TSR_DEFINE(int, feclearexcept, (int excepts)) {
    unsigned m = unsigned(excepts) & kExcAll;
    if (m == 0) return 0;
    tsr::set_mxcsr(tsr::get_mxcsr() & ~m);
    if (x87_flags() & m) x87_put_flags(m, 0);
    return 0;
}

TSR_BODY(int, fetestexcept, (int excepts)) {
    return int((tsr::get_mxcsr() | x87_flags()) & unsigned(excepts) & kExcAll);
}

// Each exception by an operation that raises it, in a fixed order; overflow and
// underflow bring inexact with them, as their operations do. An unmasked exception traps
// on its operation like any other arithmetic.
TSR_BODY(int, feraiseexcept, (int excepts)) {
    using tsr::force, tsr::opaque;
    unsigned m = unsigned(excepts);
    if (m & FE_INVALID) force(opaque(0.0) / opaque(0.0));
    if (m & FE_DIVBYZERO) force(opaque(1.0) / opaque(0.0));
    // The denormal-operand exception has no operation of its own that would raise it
    // alone in every mode (denormals-are-zero suppresses it): nothing is done for it.
    if (m & FE_OVERFLOW) force(opaque(kMax) * opaque(kMax));
    if (m & FE_UNDERFLOW) force(opaque(kMinNormal) * opaque(kMinNormal));
    if (m & FE_INEXACT) force(opaque(1.0) + opaque(kMinNormal));
    return 0;
}

TSR_DEFINE(int, fegetexceptflag, (fexcept_t * flagp, int excepts)) {
    *flagp = fexcept_t((tsr::get_mxcsr() | x87_flags()) & unsigned(excepts) & kExcAll);
    return 0;
}

// Flags are copied, not raised: no exception fires here, even an unmasked one (the x87
// unit will report an unmasked one at its next waiting instruction, as it does for any
// pending exception).
TSR_DEFINE(int, fesetexceptflag, (const fexcept_t *flagp, int excepts)) {
    unsigned m = unsigned(excepts) & kExcAll;
    if (m == 0) return 0;
    unsigned f = *flagp & m;
    tsr::set_mxcsr((tsr::get_mxcsr() & ~m) | f);
    x87_put_flags(m, f);
    return 0;
}

TSR_BODY(int, fegetround, (void)) {
    return int((tsr::get_mxcsr() & tsr::MXCSR_RC_MASK) >> kMxRoundShift);
}

TSR_BODY(int, fesetround, (int mode)) {
    if (unsigned(mode) & ~kRoundAll) return 1;
    tsr::set_mxcsr((tsr::get_mxcsr() & ~tsr::MXCSR_RC_MASK) | (uint32_t(mode) << kMxRoundShift));
    tsr::set_x87_cw(uint16_t((tsr::get_x87_cw() & ~kRoundAll) | unsigned(mode)));
    return 0;
}

TSR_DEFINE(int, __libm_flt_rounds, (void)) {
    // FLT_ROUNDS numbering by rounding field: nearest, downward, upward, toward zero.
    static constexpr int kFltRounds[4] = {1, 3, 2, 0};
    return kFltRounds[(unsigned(fegetround_local()) >> 10) & 3];
}

TSR_BODY(int, fegetenv, (fenv_t * envp)) {
    x87_store(envp);
    x87_load(envp);
    envp->__mxcsr = tsr::get_mxcsr();
    return 0;
}

// FE_DFL_ENV: every exception masked, rounding to nearest and no flags in both units.
// FE_NOMASK_ENV (a GNU extension of the system header, recognised so that a program
// using it works): the same with the five standard exceptions unmasked. Both keep
// flush-to-zero and denormals-are-zero, which belong to the program's set-up.
TSR_BODY(int, fesetenv, (const fenv_t *envp)) {
    X87Env e;
    x87_store(&e);
    uint16_t cw = uint16_t(e.cw & ~(kExcAll | kRoundAll));
    uint32_t mx = tsr::get_mxcsr();
    unsigned flags = 0;
    const fenv_t *const kNoMask = reinterpret_cast<const fenv_t *>(-2L);
    if (envp == FE_DFL_ENV || envp == kNoMask) {
        unsigned masked = envp == FE_DFL_ENV ? kExcAll : kExcAll & ~unsigned(FE_ALL_EXCEPT);
        cw = uint16_t(cw | masked);
        mx = (mx & (kMxFtz | kMxDaz)) | (masked << kMxMaskShift);
    } else {
        X87Env r;
        __builtin_memcpy(&r, envp, sizeof r);
        cw = uint16_t(cw | (r.cw & (kExcAll | kRoundAll)));
        flags = r.sw & kExcAll;
        mx = envp->__mxcsr & kMxDefined;
    }
    e.cw = cw;
    e.sw = with_flags(e.sw, cw, flags);
    x87_clear_pending();
    x87_load(&e);
    tsr::set_mxcsr(mx);
    return 0;
}

TSR_DEFINE(int, feholdexcept, (fenv_t * envp)) {
    x87_store(envp);  // leaves the x87 exceptions masked
    x87_clear_pending();
    tsr::set_x87_cw(uint16_t(envp->__control_word | kExcAll));
    uint32_t mx = tsr::get_mxcsr();
    envp->__mxcsr = mx;
    tsr::set_mxcsr((mx & ~kExcAll) | kMxMasks);
    return 0;
}

// The exceptions raised so far are raised again, by arithmetic, on top of the installed
// environment: so an unmasked one traps here, a pending denormal-operand flag is not
// carried over, and overflow or underflow carry inexact along.
TSR_DEFINE(int, feupdateenv, (const fenv_t *envp)) {
    int raised = fetestexcept_local(int(kExcAll));
    fesetenv_local(envp);
    feraiseexcept_local(raised);
    return 0;
}

TSR_DEFINE(int, fegetexcept, (void)) {
    return int(~(tsr::get_mxcsr() >> kMxMaskShift) & kExcAll);
}

// Unmasking with a stale x87 flag pending would fire it at the next x87 instruction, so
// the pending x87 exceptions are cleared first: changing the masks loses the x87 flags.
// MXCSR flags stay (the SSE unit never fires a stale flag).
TSR_DEFINE(int, feenableexcept, (int excepts)) {
    int before = fegetexcept_local();
    unsigned m = unsigned(excepts) & kExcAll;
    if (m != 0) {
        tsr::set_mxcsr(tsr::get_mxcsr() & ~(m << kMxMaskShift));
        x87_clear_pending();
        tsr::set_x87_cw(uint16_t(tsr::get_x87_cw() & ~m));
    }
    return before;
}

TSR_DEFINE(int, fedisableexcept, (int excepts)) {
    int before = fegetexcept_local();
    unsigned m = unsigned(excepts) & kExcAll;
    if (m != 0) {
        tsr::set_mxcsr(tsr::get_mxcsr() | (m << kMxMaskShift));
        x87_clear_pending();
        tsr::set_x87_cw(uint16_t(tsr::get_x87_cw() | m));
    }
    return before;
}

}  // extern "C"

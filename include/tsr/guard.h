// The control-word guards every family shares.
//
// Cores whose shifter steps need round-to-nearest force it only when the caller's mode
// differs and put the caller's mode back before the last operation, keeping every flag
// raised meanwhile, so that the last rounding is the caller's.  The compiler does not see
// the control word: a core passes its argument through opaque() after the guard is set up
// and its last values through finish(), so that no arithmetic moves across a change of mode.
//
// Extended-precision code needs the x87 precision field at 64 bits: X87Precision sets it
// when it is not so and loads the caller's word back on every exit.
#pragma once
#include "tsr/common.h"

namespace tsr {
// Internal linkage: these helpers are compiled once per tier, with each tier's instruction
// set, and a copy left out of line must not become one shared copy that the linker could
// take from a newer tier's object.
namespace {

// What the round-to-nearest guards share: forcing the mode, and putting the caller's mode
// back while keeping every flag raised meanwhile.
struct RnRestore {
    uint32_t saved = 0;
    bool forced = false;
    void force(uint32_t mxcsr) {
        saved = mxcsr;
        forced = true;
        set_mxcsr(mxcsr & ~MXCSR_RC_MASK);
    }
    void restore() {
        if (forced) {
            set_mxcsr((get_mxcsr() & ~MXCSR_RC_MASK) | (saved & MXCSR_RC_MASK));
            forced = false;
        }
    }
    // Hands v over the restore: v is computed before the caller's mode returns, and what is
    // computed from the result after it (the compiler moves no arithmetic across either).
    template <class T>
    T finish(T v) {
        v = opaque(v);
        restore();
        return opaque(v);
    }
    ~RnRestore() { restore(); }
};

// The guard for cores that must stay exact and flag-free where their result is: it reads
// the control word.
struct RnGuard : RnRestore {
    RnGuard() {
        uint32_t m = get_mxcsr();
        if (m & MXCSR_RC_MASK) force(m);
    }
};

// True in round-to-nearest: 1 + 2^-60 and 1 - 2^-60 both round to 1 only there; every
// other mode leaves the first above the second (upward moves the first, downward and toward
// zero the second), so one ordered compare and one branch tell them apart.  For cores whose
// result is inexact anyway, so that the probe's inexact flag changes nothing.
inline bool rn_probe() {
    double one = opaque(1.0);
    return !(one + 0x1p-60 > one - 0x1p-60);
}

// The same guard for cores whose result is inexact anyway: the mode is told by the probe
// instead of a read of the control word, which costs more than a whole core on some
// processors.  The probe's inexact flag falls where the core's would.
struct RnGuardInexact : RnRestore {
    RnGuardInexact() {
        if (!rn_probe()) force(get_mxcsr());
    }
};

// The x87 precision field at 64 bits for the guard's lifetime; the caller's word (its
// rounding field included) comes back on every exit.  Writes the word only when the field
// differs.
struct X87Precision {
    uint16_t saved;
    X87Precision() : saved(get_x87_cw()) {
        if ((saved & X87_PC_MASK) != X87_PC_MASK) set_x87_cw(saved | X87_PC_MASK);
    }
    ~X87Precision() {
        if ((saved & X87_PC_MASK) != X87_PC_MASK) set_x87_cw(saved);
    }
    X87Precision(const X87Precision &) = delete;
    X87Precision &operator=(const X87Precision &) = delete;
};

}  // namespace
}  // namespace tsr

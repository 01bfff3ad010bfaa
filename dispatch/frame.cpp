// The dispatch frame: the process's dispatch level, chosen once, and the settling of a
// function's slot at its first call.  Nothing here runs at load; a slot starts out
// holding its first-call stub, and the stub comes here.
#include "frame.h"

#include <sys/syscall.h>

#include "features.h"

extern "C" {
int32_t __libm_feature_flag TSR_HIDDEN = 0;
uint64_t __libm_feature_claim TSR_HIDDEN = 0;
}

namespace {

// A system call without arguments that cannot fail, made directly: the library takes
// nothing from the C library beyond its runtime binding.
long plain_syscall(long nr) {
    long r;
    asm volatile("syscall" : "=a"(r) : "a"(nr) : "rcx", "r11", "memory");
    return r;
}

// Who is calling: the process id in the high half, the thread id in the low half.  Never
// 0, and no two live threads of the system share it.
uint64_t caller_identity() {
    return (uint64_t(uint32_t(plain_syscall(SYS_getpid))) << 32) | uint32_t(plain_syscall(SYS_gettid));
}

// Whether the thread that holds the claim can still publish a level this caller will
// see.  It cannot when it is the caller itself (a signal handler running inside its own
// thread's first call: the interrupted choice resumes only after the handler returns),
// or when it lives in another process (the claim was taken before a fork, by a thread
// the child does not have).
bool claimer_reachable(uint64_t claimer, uint64_t me) {
    return claimer != me && (claimer >> 32) == (me >> 32);
}

// Detection is a pure computation on the processor and the environment: whoever runs
// it gets the same level, so every chooser publishes by a compare-and-swap from 0 and
// the level keeps the first value that landed.
void choose_level() {
    if (__atomic_load_n(&__libm_feature_flag, __ATOMIC_ACQUIRE) != 0) return;
    while (__atomic_load_n(&__libm_cpu_features[0], __ATOMIC_ACQUIRE) == 0) __libm_cpu_features_init();
    uint64_t w[2] = {__atomic_load_n(&__libm_cpu_features[0], __ATOMIC_ACQUIRE),
                     __atomic_load_n(&__libm_cpu_features[1], __ATOMIC_ACQUIRE)};
    int32_t zero = 0;
    __atomic_compare_exchange_n(&__libm_feature_flag, &zero, tsr::level_from_features(w), false,
                                __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
}

}  // namespace

extern "C" {

// Called by stubs while the level is 0.  One thread wins the claim and chooses; the
// others return at once and keep waiting in their stubs, except a caller that could
// never see the claimer's choice land, which makes the choice itself.
void __libm_feature_flag_zeb_init(void) {
    uint64_t me = caller_identity();
    uint64_t claimer = 0;
    if (!__atomic_compare_exchange_n(&__libm_feature_claim, &claimer, me, false, __ATOMIC_SEQ_CST,
                                     __ATOMIC_SEQ_CST) &&
        claimer_reachable(claimer, me))
        return;
    choose_level();
}

// The stubs' common work: wait for the level, then move the slot from unset or from this
// function's stub to the variant of the level's row.  A slot holding anything else has
// been settled already and is left alone, so it moves at most once.
void __libm_dispatch_settle(void *const *table, void **slot) {
    int32_t level;
    while ((level = __atomic_load_n(&__libm_feature_flag, __ATOMIC_ACQUIRE)) == 0)
        __libm_feature_flag_zeb_init();
    void *target = table[tsr::dispatch_row(level)];
    void *expected = nullptr;
    __atomic_compare_exchange_n(slot, &expected, target, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
    expected = table[0];
    __atomic_compare_exchange_n(slot, &expected, target, false, __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
}
}

// The dispatch frame: the process's dispatch level, chosen once, and the settling of a
// function's slot at its first call.  Nothing here runs at load; a slot starts out
// holding its first-call stub, and the stub comes here.
#include "frame.h"

#include "features.h"

extern "C" {
int32_t __libm_feature_flag TSR_HIDDEN = 0;
int32_t __libm_feature_claim TSR_HIDDEN = 0;

// Called by stubs while the level is 0.  Exactly one thread wins the claim and chooses;
// the others return at once and keep waiting in their stubs.
void __libm_feature_flag_zeb_init(void) {
    int32_t expected = 0;
    if (!__atomic_compare_exchange_n(&__libm_feature_claim, &expected, 1, false, __ATOMIC_SEQ_CST,
                                     __ATOMIC_SEQ_CST))
        return;
    if (__atomic_load_n(&__libm_feature_flag, __ATOMIC_ACQUIRE) != 0) return;
    while (__atomic_load_n(&__libm_cpu_features[0], __ATOMIC_ACQUIRE) == 0) __libm_cpu_features_init();
    uint64_t w[2] = {__atomic_load_n(&__libm_cpu_features[0], __ATOMIC_ACQUIRE),
                     __atomic_load_n(&__libm_cpu_features[1], __ATOMIC_ACQUIRE)};
    int32_t zero = 0;
    __atomic_compare_exchange_n(&__libm_feature_flag, &zero, tsr::level_from_features(w), false,
                                __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
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

// The dispatch frame's state and its first-call work.
#pragma once
#include <cstdint>
#include "tsr/types.h"

extern "C" {
extern int32_t __libm_feature_flag TSR_HIDDEN;   // 0 until chosen, then 1..12
// 0 until a thread takes the choice, then that thread's process and thread ids
// (pid << 32 | tid)
extern uint64_t __libm_feature_claim TSR_HIDDEN;
void __libm_feature_flag_zeb_init(void) TSR_HIDDEN;
void __libm_dispatch_settle(void *const *table, void **slot) TSR_HIDDEN;
}

namespace tsr {
// The table row a level selects: the level itself, at most 12 (a signed comparison).
constexpr int dispatch_row(int32_t level) { return level < 12 ? level : 12; }
}  // namespace tsr

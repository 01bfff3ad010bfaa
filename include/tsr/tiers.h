// What tests and the tool need to know of tiers: names, and whether this processor can
// run a tier's code.
#pragma once
#include "tsr/types.h"

namespace tsr {
const char *tier_name(Tier t);
// True when the processor (and the operating system's saved register state) can run the
// tier's instruction set.  Ignores QUILL_ISA_DISABLE: that reaches only the dispatch.
bool tier_runnable(Tier t);
}  // namespace tsr

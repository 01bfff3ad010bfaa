// Types shared by the library, its generated tables, its tests and its tool.
#pragma once
#include <cstdint>

#define TSR_HIDDEN __attribute__((visibility("hidden")))
#define TSR_PUBLIC __attribute__((visibility("default")))

// The binary128 complex type, as the public header names it.
#ifndef TESSERA_COMPLEX128_DEFINED
#define TESSERA_COMPLEX128_DEFINED
typedef _Complex float __attribute__((mode(TC))) tessera_complex128;
#endif

namespace tsr {

// Tiers, by the suffix of their variants' names.  Each is compiled for its own
// instruction set; a tier's code runs only where the processor has that set.
enum class Tier : int { ex, e7, y8, e9, l9, z0, d1 };

template <class Fn>
struct TierFn {
    const char *name;
    Tier tier;
    Fn fn;
};

// One dispatched function as `tessera info` sees it: its table, its slot and the tier
// names of rows 1..12.
struct DispatchInfo {
    const char *name;
    void *const *table;
    void **slot;
    const char *rows[12];
};

}  // namespace tsr

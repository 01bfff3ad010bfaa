// Processor feature detection, split so that tests can run it on synthetic CPUID and
// XCR0 answers and environment strings.
#pragma once
#include <cstdint>
#include "tsr/types.h"

extern "C" {
extern uint64_t __libm_cpu_features[2] TSR_HIDDEN;
int __libm_cpu_feature_set(uint64_t *word, int row) TSR_HIDDEN;
int __libm_cpu_features_detect(void) TSR_HIDDEN;
void __libm_cpu_features_init(void) TSR_HIDDEN;
}

namespace tsr {

constexpr int kFeatureRows = 107;

struct CpuidRegs {
    uint32_t r[4];  // EAX EBX ECX EDX
};

// Where detection gets its answers: the hardware, or a test's fake processor.
struct CpuProbe {
    CpuidRegs (*cpuid)(uint32_t leaf, uint32_t sub, void *ctx);
    uint64_t (*xgetbv)(void *ctx);
    void *ctx;
};

const CpuProbe &hardware_probe() TSR_HIDDEN;
// Fills out[2] with the feature word; returns 0, or the failing __libm_cpu_feature_set code.
int detect_features(const CpuProbe &probe, const char *env, uint64_t out[2]) TSR_HIDDEN;
// The bits that QUILL_ISA_DISABLE's words name; returns how many words were accepted.
int feature_disable_mask(const char *env, uint64_t mask[2]) TSR_HIDDEN;
// The dispatch level (1..12) of a feature word: tests from 12 down, each on its own bits.
int level_from_features(const uint64_t w[2]) TSR_HIDDEN;
// The feature bits level `level` needs (all of them), up to five; returns their count
// (0 for level 1, which needs nothing).
int level_requirements(int level, int bits[5]) TSR_HIDDEN;
const char *feature_row_name(int row) TSR_HIDDEN;
const char *feature_row_word(int row) TSR_HIDDEN;
int feature_row_bit(int row) TSR_HIDDEN;

inline bool has_feature(const uint64_t w[2], int bit) { return (w[bit >> 6] >> (bit & 63)) & 1; }

}  // namespace tsr

// Processor feature detection: one 128-bit word of feature bits per process, taken
// from CPUID and XCR0 alone (never vendor, family or model), less what the user names
// in QUILL_ISA_DISABLE.
#include "features.h"

#include <cstdlib>

using namespace tsr;

namespace {

enum class Src : uint8_t { always, never, cpuid, avx10_1, avx10_2 };

struct Need {
    uint32_t leaf, sub, reg, mask;
};

// A row's source: CPUID (leaf, sub-leaf, register, bits that must all be set), the XCR0
// state bits the operating system must have enabled (which also requires OSXSAVE), the
// FXSAVE condition, and one further CPUID bit that must be set.
struct Row {
    const char *name;
    int32_t bit;
    const char *word;
    Src src;
    uint32_t leaf, sub, reg, mask;
    uint32_t xcr0;
    uint8_t fxsave;
    Need need;
};

// Rows 1..107 (index = row - 1).
constexpr Row kRows[kFeatureRows] = {
    {"GENERIC_X86", 0, nullptr, Src::always, 0x0, 0, 0, 0x0, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"X87", 1, nullptr, Src::cpuid, 0x1, 0, 3, 0x1, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"CMOV", 2, nullptr, Src::cpuid, 0x1, 0, 3, 0x8000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"MMX", 3, "mmx", Src::cpuid, 0x1, 0, 3, 0x800000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"FXSAVE", 4, nullptr, Src::cpuid, 0x1, 0, 3, 0x1000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"SSE", 5, "sse", Src::cpuid, 0x1, 0, 3, 0x2000000, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"SSE2", 6, "sse2", Src::cpuid, 0x1, 0, 3, 0x4000000, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"SSE3", 7, "sse3", Src::cpuid, 0x1, 0, 2, 0x1, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"SSSE3", 8, "ssse3", Src::cpuid, 0x1, 0, 2, 0x200, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"SSE4_1", 9, "sse4.1", Src::cpuid, 0x1, 0, 2, 0x80000, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"SSE4_2", 10, "sse4", Src::cpuid, 0x1, 0, 2, 0x100000, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"MOVBE", 11, "movbe", Src::cpuid, 0x1, 0, 2, 0x400000, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"POPCNT", 12, "popcnt", Src::cpuid, 0x1, 0, 2, 0x800000, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"PCLMULQDQ", 13, "pclmul", Src::cpuid, 0x1, 0, 2, 0x2, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"AES", 14, "aes", Src::cpuid, 0x1, 0, 2, 0x2000000, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"AVX", 16, "avx", Src::cpuid, 0x1, 0, 2, 0x10000000, 0x6, 0, {0x0, 0, 0, 0x0}},
    {"F16C", 15, "f16c", Src::cpuid, 0x1, 0, 2, 0x20000000, 0x6, 0, {0x0, 0, 0, 0x0}},
    {"RDRND", 17, "rdrnd", Src::cpuid, 0x1, 0, 2, 0x40000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"FMA", 18, "fma", Src::cpuid, 0x1, 0, 2, 0x1000, 0x6, 0, {0x0, 0, 0, 0x0}},
    {"BMI", 19, "bmi", Src::cpuid, 0x7, 0, 1, 0x108, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"LZCNT", 20, "lzcnt", Src::cpuid, 0x80000001, 0, 2, 0x20, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"HLE", 21, "hle", Src::cpuid, 0x7, 0, 1, 0x10, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"RTM", 22, "rtm", Src::cpuid, 0x7, 0, 1, 0x800, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX2", 23, "avx2", Src::cpuid, 0x7, 0, 1, 0x20, 0x6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512F", 27, "avx512f", Src::cpuid, 0x7, 0, 1, 0x10000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512DQ", 24, "avx512dq", Src::cpuid, 0x7, 0, 1, 0x20000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"PTWRITE", 25, "ptwrite", Src::cpuid, 0x14, 0, 1, 0x10, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"VPUNI", 26, nullptr, Src::never, 0x0, 0, 0, 0x0, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"ADX", 28, "adx", Src::cpuid, 0x7, 0, 1, 0x80000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"RDSEED", 29, "rdseed", Src::cpuid, 0x7, 0, 1, 0x40000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX512IFMA52", 30, "avx512ifma", Src::cpuid, 0x7, 0, 1, 0x200000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"unassigned", -1, nullptr, Src::never, 0x0, 0, 0, 0x0, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX512ER", 32, "avx512er", Src::cpuid, 0x7, 0, 1, 0x8000000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512PF", 33, "avx512pf", Src::cpuid, 0x7, 0, 1, 0x4000000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512CD", 34, "avx512cd", Src::cpuid, 0x7, 0, 1, 0x10000000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"SHA", 35, "sha", Src::cpuid, 0x7, 0, 1, 0x20000000, 0x0, 1, {0x0, 0, 0, 0x0}},
    {"MPX", 36, "mpx", Src::cpuid, 0x7, 0, 1, 0x4000, 0x1e, 0, {0x0, 0, 0, 0x0}},
    {"AVX512BW", 37, "avx512bw", Src::cpuid, 0x7, 0, 1, 0x40000000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512VL", 38, "avx512vl", Src::cpuid, 0x7, 0, 1, 0x80000000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512VBMI", 39, "avx512vbmi", Src::cpuid, 0x7, 0, 2, 0x2, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512_4FMAPS", 40, "avx5124fmaps", Src::cpuid, 0x7, 0, 3, 0x8, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512_4VNNIW", 41, "avx5124vnniw", Src::cpuid, 0x7, 0, 3, 0x4, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512_VPOPCNTDQ", 42, "avx512vpopcntdq", Src::cpuid, 0x7, 0, 2, 0x4000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512_BITALG", 43, "avx512bitalg", Src::cpuid, 0x7, 0, 2, 0x1000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512_VBMI2", 44, "avx512vbmi2", Src::cpuid, 0x7, 0, 2, 0x40, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"GFNI", 45, "gfni", Src::cpuid, 0x7, 0, 2, 0x100, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"VAES", 46, "vaes", Src::cpuid, 0x7, 0, 2, 0x200, 0x6, 0, {0x1, 0, 2, 0x10000000}},
    {"VPCLMULQDQ", 47, "vpclmulqdq", Src::cpuid, 0x7, 0, 2, 0x400, 0x6, 0, {0x1, 0, 2, 0x10000000}},
    {"AVX512_VNNI", 48, "avx512vnni", Src::cpuid, 0x7, 0, 2, 0x800, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"CLWB", 49, "clwb", Src::cpuid, 0x7, 0, 1, 0x1000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"RDPID", 50, "rdpid", Src::cpuid, 0x7, 0, 2, 0x400000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"IBT", 51, "ibt", Src::cpuid, 0x7, 0, 3, 0x100000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"SHSTK", 52, "shstk", Src::cpuid, 0x7, 0, 2, 0x80, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"SGX", 53, "sgx", Src::cpuid, 0x7, 0, 1, 0x4, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"WBNOINVD", 54, "wbnoinvd", Src::cpuid, 0x80000008, 0, 1, 0x200, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"PCONFIG", 55, "pconfig", Src::cpuid, 0x7, 0, 3, 0x40000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX512_VP2INTERSECT", 56, "avx512vp2intersect", Src::cpuid, 0x7, 0, 3, 0x100, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"AVX512_FP16", 60, "avx512fp16", Src::cpuid, 0x7, 0, 3, 0x800000, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"CLDEMOTE", 64, "cldemote", Src::cpuid, 0x7, 0, 2, 0x2000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"MOVDIRI", 65, "movdiri", Src::cpuid, 0x7, 0, 2, 0x8000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"MOVDIR64B", 66, "movdir64b", Src::cpuid, 0x7, 0, 2, 0x10000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"WAITPKG", 67, "waitpkg", Src::cpuid, 0x7, 0, 2, 0x20, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX512_BF16", 68, "avx512bf16", Src::cpuid, 0x7, 1, 0, 0x20, 0xe6, 0, {0x0, 0, 0, 0x0}},
    {"ENQCMD", 69, "enqcmd", Src::cpuid, 0x7, 0, 2, 0x20000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX_VNNI", 70, "avxvnni", Src::cpuid, 0x7, 1, 0, 0x10, 0x6, 0, {0x0, 0, 0, 0x0}},
    {"AMX-TILE", 71, "amx-tile", Src::cpuid, 0x7, 0, 3, 0x1000000, 0x60000, 0, {0x0, 0, 0, 0x0}},
    {"AMX-INT8", 72, "amx-int8", Src::cpuid, 0x7, 0, 3, 0x2000000, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"AMX-BF16", 73, "amx-bf16", Src::cpuid, 0x7, 0, 3, 0x400000, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"KL", 74, "kl", Src::cpuid, 0x19, 0, 1, 0x1, 0x0, 0, {0x7, 0, 2, 0x800000}},
    {"WIDE-KL", 75, "wide-kl", Src::cpuid, 0x19, 0, 1, 0x4, 0x0, 0, {0x7, 0, 2, 0x800000}},
    {"HRESET", 76, "hreset", Src::cpuid, 0x7, 1, 0, 0x400000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"UINTR", 77, "uintr", Src::cpuid, 0x7, 0, 3, 0x20, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"PREFETCHI", 78, "prefetchi", Src::cpuid, 0x7, 1, 3, 0x4000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX_VNNI_INT8", 79, "avxvnniint8", Src::cpuid, 0x7, 1, 3, 0x10, 0x6, 0, {0x7, 0, 1, 0x20}},
    {"CMPCCXADD", 80, "cmpccxadd", Src::cpuid, 0x7, 1, 0, 0x80, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX_IFMA", 81, "avxifma", Src::cpuid, 0x7, 1, 0, 0x800000, 0x6, 0, {0x7, 0, 1, 0x20}},
    {"AVX_NE_CONVERT", 82, "avxneconvert", Src::cpuid, 0x7, 1, 3, 0x20, 0x6, 0, {0x7, 0, 1, 0x20}},
    {"RAO_INT", 83, "raoint", Src::cpuid, 0x7, 1, 0, 0x8, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AMX-FP16", 84, "amx-fp16", Src::cpuid, 0x7, 1, 0, 0x200000, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"AMX-COMPLEX", 85, "amx-complex", Src::cpuid, 0x7, 1, 3, 0x100, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"SHA512", 86, "sha512", Src::cpuid, 0x7, 1, 0, 0x1, 0x6, 0, {0x7, 0, 1, 0x20}},
    {"SM3", 87, "sm3", Src::cpuid, 0x7, 1, 0, 0x2, 0x6, 0, {0x1, 0, 2, 0x10000000}},
    {"SM4", 88, "sm4", Src::cpuid, 0x7, 1, 0, 0x4, 0x6, 0, {0x7, 0, 1, 0x20}},
    {"AVX_VNNI_INT16", 89, "avxvnniint16", Src::cpuid, 0x7, 1, 3, 0x400, 0x6, 0, {0x7, 0, 1, 0x20}},
    {"USER_MSR", 90, "usermsr", Src::cpuid, 0x7, 1, 3, 0x8000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AVX_10_1", 91, "avx10.1", Src::avx10_1, 0x24, 0, 0, 0x0, 0x0, 0, {0x7, 1, 3, 0x80000}},
    {"AVX_10_2", 92, "avx10.2", Src::avx10_2, 0x24, 0, 0, 0x0, 0x0, 0, {0x7, 1, 3, 0x80000}},
    {"APXF", 93, "apxf", Src::cpuid, 0x7, 1, 3, 0x200000, 0x80000, 0, {0x0, 0, 0, 0x0}},
    {"MSRLIST", 94, "msrlist", Src::cpuid, 0x7, 1, 0, 0x8000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"WRMSRNS", 95, "wrmsrns", Src::cpuid, 0x7, 1, 0, 0x80000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"PBNDKB", 96, "pbndkb", Src::cpuid, 0x7, 1, 1, 0x2, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"AMX-FP8", 97, "amx-fp8", Src::cpuid, 0x1e, 1, 0, 0x10, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"AMX-TF32", 98, "amx-tf32", Src::cpuid, 0x1e, 1, 0, 0x40, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"AMX-TRANSPOSE", 99, "amx-transpose", Src::cpuid, 0x1e, 1, 0, 0x20, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"AMX-MOVRS", 100, "amx-movrs", Src::cpuid, 0x1e, 1, 0, 0x100, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"AMX-AVX512", 101, "amx-avx512", Src::cpuid, 0x1e, 1, 0, 0x80, 0x60000, 0, {0x7, 0, 3, 0x1000000}},
    {"MOVRS", 102, "movrs", Src::cpuid, 0x7, 1, 0, 0x80000000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"INVPCID", 103, "invpcid", Src::cpuid, 0x7, 0, 1, 0x400, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"PKU", 104, "pku", Src::cpuid, 0x7, 0, 2, 0x8, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"PREFETCHW", 105, "prefetchw", Src::cpuid, 0x80000001, 0, 2, 0x100, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"CLFLUSHOPT", 106, "clflushopt", Src::cpuid, 0x7, 0, 1, 0x800000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"LAHFSAHF64", 107, "lahfsahf64", Src::cpuid, 0x80000001, 0, 2, 0x1, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"SERIALIZE", 108, "serialize", Src::cpuid, 0x7, 0, 3, 0x4000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"TSXLDTRK", 109, "tsxldtrk", Src::cpuid, 0x7, 0, 3, 0x10000, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"FSRM", 110, "fsrm", Src::cpuid, 0x7, 0, 3, 0x10, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"ERMSB", 111, "ermsb", Src::cpuid, 0x7, 0, 1, 0x200, 0x0, 0, {0x0, 0, 0, 0x0}},
    {"MWAIT", 112, "mwait", Src::cpuid, 0x1, 0, 2, 0x8, 0x0, 0, {0x0, 0, 0, 0x0}},
};

constexpr uint32_t kOsxsave = 1u << 27;  // leaf 1 ECX
constexpr uint32_t kFxsr = 1u << 24;     // leaf 1 EDX

// The CPUID answers detection reads, by leaf.
struct Leaves {
    CpuidRegs l1, l7_0, l7_1, l14, l19, l1e_1, l24, e1, e8;
    const CpuidRegs *of(uint32_t leaf, uint32_t sub) const {
        switch (leaf) {
        case 1: return &l1;
        case 7: return sub ? &l7_1 : &l7_0;
        case 0x14: return &l14;
        case 0x19: return &l19;
        case 0x1e: return &l1e_1;
        case 0x24: return &l24;
        case 0x80000001: return &e1;
        case 0x80000008: return &e8;
        }
        return nullptr;
    }
};

bool bits_set(const Leaves &lv, uint32_t leaf, uint32_t sub, uint32_t reg, uint32_t mask) {
    const CpuidRegs *r = lv.of(leaf, sub);
    return r && (r->r[reg] & mask) == mask;
}

bool row_present(const Row &row, const Leaves &lv, bool osxsave, uint64_t xcr0) {
    if (row.need.mask && !bits_set(lv, row.need.leaf, row.need.sub, row.need.reg, row.need.mask))
        return false;
    switch (row.src) {
    case Src::always: return true;
    case Src::never: return false;
    case Src::avx10_1: return (lv.l24.r[1] & 0xff) != 0;
    case Src::avx10_2: return (lv.l24.r[1] & 0xff) > 1;
    case Src::cpuid: break;
    }
    if (!bits_set(lv, row.leaf, row.sub, row.reg, row.mask)) return false;
    if (row.fxsave && !(lv.l1.r[3] & kFxsr)) return false;
    if (row.xcr0 && !(osxsave && (xcr0 & row.xcr0) == row.xcr0)) return false;
    return true;
}

}  // namespace

extern "C" {
uint64_t __libm_cpu_features[2] TSR_HIDDEN = {0, 0};
// The row table is constant data here, so it stands ready from the start.
extern const uint8_t __libm_cpu_feature_rows_ready TSR_HIDDEN;
const uint8_t __libm_cpu_feature_rows_ready = 1;

int __libm_cpu_feature_set(uint64_t *word, int row) {
    int32_t n = kRows[row - 1].bit;
    if (n == -1) return -1;
    if (n < 0 || n > 127) return -3;
    word[n >> 6] |= uint64_t(1) << (n & 63);
    return 0;
}
}

namespace tsr {

const char *feature_row_name(int row) { return kRows[row - 1].name; }
const char *feature_row_word(int row) { return kRows[row - 1].word; }
int feature_row_bit(int row) { return kRows[row - 1].bit; }

// Exact match of a disable word with the `len` bytes at w: same length, same bytes.
static bool same_word(const char *dw, const char *w, size_t len) {
    size_t i = 0;
    for (; i < len; ++i)
        if (dw[i] != w[i]) return false;
    return dw[i] == 0;
}

int feature_disable_mask(const char *env, uint64_t mask[2]) {
    mask[0] = mask[1] = 0;
    int accepted = 0;
    if (!env) return 0;
    const char *p = env;
    for (;;) {
        while (*p == ',') ++p;
        if (!*p) break;
        const char *w = p;
        while (*p && *p != ',') ++p;
        size_t len = size_t(p - w);
        for (int row = 1; row <= kFeatureRows; ++row) {
            const char *dw = kRows[row - 1].word;
            if (!dw || !same_word(dw, w, len)) continue;
            if (row >= 2) {
                int rc = __libm_cpu_feature_set(mask, row);
                if (rc != 0) return rc;
                ++accepted;
            }
            break;
        }
    }
    return accepted;
}

int detect_features(const CpuProbe &probe, const char *env, uint64_t out[2]) {
    uint64_t w[2] = {0, 0};
    int rc = __libm_cpu_feature_set(w, 1);
    if (rc) return rc;
    CpuidRegs l0 = probe.cpuid(0, 0, probe.ctx);
    if (l0.r[0] != 0) {
        Leaves lv{};
        // Every leaf is asked for whatever the maximum leaf says; only 0x19 and 0x24 wait
        // for the bits that announce them.
        lv.l1 = probe.cpuid(1, 0, probe.ctx);
        lv.l7_0 = probe.cpuid(7, 0, probe.ctx);
        lv.e1 = probe.cpuid(0x80000001, 0, probe.ctx);
        lv.e8 = probe.cpuid(0x80000008, 0, probe.ctx);
        lv.l14 = probe.cpuid(0x14, 0, probe.ctx);
        if (lv.l7_0.r[2] & (1u << 23)) lv.l19 = probe.cpuid(0x19, 0, probe.ctx);
        lv.l7_1 = probe.cpuid(7, 1, probe.ctx);
        if (lv.l7_1.r[3] & (1u << 19)) lv.l24 = probe.cpuid(0x24, 0, probe.ctx);
        lv.l1e_1 = probe.cpuid(0x1e, 1, probe.ctx);
        bool osxsave = (lv.l1.r[2] & kOsxsave) != 0;
        uint64_t xcr0 = osxsave ? probe.xgetbv(probe.ctx) : 0;
        for (int row = 2; row <= kFeatureRows; ++row) {
            if (!row_present(kRows[row - 1], lv, osxsave, xcr0)) continue;
            rc = __libm_cpu_feature_set(w, row);
            if (rc) return rc;
        }
        uint64_t mask[2];
        int n = feature_disable_mask(env, mask);
        if (n < 0) return n;
        if (n > 0) {
            w[0] &= ~mask[0];
            w[1] &= ~mask[1];
        }
    }
    out[0] = w[0];
    out[1] = w[1];
    return 0;
}

// What each level needs, highest first: every listed feature bit present.  Levels 9 to 2
// each need one feature; level 1 needs nothing.
struct LevelNeed {
    int level;
    int n;
    int bits[5];
};
constexpr LevelNeed kLevelNeeds[] = {
    {12, 1, {92}},          {11, 3, {43, 44, 48}}, {10, 5, {13, 18, 19, 20, 23}}, {9, 1, {16}},
    {8, 1, {10}},           {7, 1, {9}},           {6, 1, {8}},                   {5, 1, {7}},
    {4, 1, {6}},            {3, 1, {5}},           {2, 1, {1}},
};

int level_from_features(const uint64_t w[2]) {
    for (const LevelNeed &l : kLevelNeeds) {
        bool all = true;
        for (int i = 0; i < l.n; ++i) all = all && has_feature(w, l.bits[i]);
        if (all) return l.level;
    }
    return 1;
}

int level_requirements(int level, int bits[5]) {
    for (const LevelNeed &l : kLevelNeeds)
        if (l.level == level) {
            for (int i = 0; i < l.n; ++i) bits[i] = l.bits[i];
            return l.n;
        }
    return 0;
}

static CpuidRegs hw_cpuid(uint32_t leaf, uint32_t sub, void *) {
    CpuidRegs r;
    asm volatile("cpuid" : "=a"(r.r[0]), "=b"(r.r[1]), "=c"(r.r[2]), "=d"(r.r[3]) : "a"(leaf), "c"(sub));
    return r;
}

static uint64_t hw_xgetbv(void *) {
    uint32_t a, d;
    asm volatile("xgetbv" : "=a"(a), "=d"(d) : "c"(0));
    return (uint64_t(d) << 32) | a;
}

const CpuProbe &hardware_probe() {
    static const CpuProbe p{hw_cpuid, hw_xgetbv, nullptr};
    return p;
}

}  // namespace tsr

extern "C" int __libm_cpu_features_detect(void) {
    uint64_t w[2];
    int rc = tsr::detect_features(tsr::hardware_probe(), std::getenv("QUILL_ISA_DISABLE"), w);
    if (rc) return rc;
    // The low half is what readers test, so it goes last.
    __atomic_store_n(&__libm_cpu_features[1], w[1], __ATOMIC_RELEASE);
    __atomic_store_n(&__libm_cpu_features[0], w[0], __ATOMIC_RELEASE);
    return 0;
}

extern "C" void __libm_cpu_features_init(void) { (void)__libm_cpu_features_detect(); }

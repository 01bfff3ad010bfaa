// The quiet-NaN makers and the reader of their tags.
//
// __quill_nan, __quill_nanf and __quill_nanl put the tag's value into the payload of the
// default quiet NaN (as many low bits as the format's payload holds).  The plain nan, nanf
// and nanl take their argument and ignore it: they return the default quiet NaN.
//
// __libm_conv_strtoull reads a tag as a decimal, hexadecimal (0x...) or octal (0...)
// integer modulo 2^64, and gives 0 for anything outside that grammar, a string only partly
// valid included.  Decimal digits are summed from a table of d * 10^p mod 2^64 (no
// multiplication); hexadecimal and octal digits shift in, which keeps the last 16 and 22
// digits by itself.
#include "tsr/common.h"
#include "exact/nan_data.h"

#include <cstddef>

using namespace tsr;

namespace {
constexpr uint64_t kQNaN64 = 0x7ff8000000000000ull, kPayload64 = 0x0007ffffffffffffull;
constexpr uint32_t kQNaN32 = 0x7fc00000u, kPayload32 = 0x003fffffu;
constexpr uint64_t kQNaNSig80 = 0xc000000000000000ull;  // integer and quiet bits
constexpr uint16_t kNaNExp80 = 0x7fff;

inline int hex_digit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
}  // namespace

TSR_DEFINE(unsigned long long, __libm_conv_strtoull, (const char *s)) {
    if (s == nullptr || s[0] < '0' || s[0] > '9') return 0;
    if (s[0] != '0') {
        std::size_t n = 0;
        while (s[n] != 0) {
            if (s[n] < '0' || s[n] > '9') return 0;
            ++n;
        }
        uint64_t v = 0;
        for (std::size_t p = 0; p < n && p < 64; ++p) v += kDecimalDigit[p][s[n - 1 - p] - '0'];
        return v;
    }
    uint64_t v = 0;
    if ((s[1] == 'x' || s[1] == 'X') && s[2] != 0) {
        for (const char *c = s + 2; *c != 0; ++c) {
            int d = hex_digit(*c);
            if (d < 0) return 0;
            v = (v << 4) | uint64_t(d);
        }
        return v;
    }
    for (const char *c = s + 1; *c != 0; ++c) {
        if (*c < '0' || *c > '7') return 0;
        v = (v << 3) | uint64_t(*c - '0');
    }
    return v;
}

TSR_DEFINE(double, __quill_nan, (const char *tag)) {
    return f64(kQNaN64 | (__libm_conv_strtoull_local(tag) & kPayload64));
}
TSR_DEFINE(float, __quill_nanf, (const char *tag)) {
    return f32(kQNaN32 | (uint32_t(__libm_conv_strtoull_local(tag)) & kPayload32));
}
TSR_DEFINE(long double, __quill_nanl, (const char *tag)) {
    return from_ext(kQNaNSig80 | __libm_conv_strtoull_local(tag), kNaNExp80);
}

TSR_DEFINE(double, nan, (const char *)) { return f64(kQNaN64); }
TSR_DEFINE(float, nanf, (const char *)) { return f32(kQNaN32); }
TSR_DEFINE(long double, nanl, (const char *)) { return from_ext(kQNaNSig80, kNaNExp80); }

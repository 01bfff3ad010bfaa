// The packed error-policy tables (generated into report_data.cpp) and the row type of
// the precision table.
#pragma once
#include <cstdint>
#include "tsr/types.h"

// One precision as the interpreter handles it: a value is `words` 16-bit words; the
// eight values of the precision lie `stride` words apart from word `first` of
// __libm_error_values; `shift` is the zero test's left shift of the cell's first eight
// bytes; the sign bit is the top bit of word `sign_word`.
struct ErrorPrecision {
    const char *suffix;
    uint8_t words, stride, first, shift, sign_word;
};

extern "C" {
extern const uint32_t __libm_error_records[404] TSR_HIDDEN;
extern const uint32_t __libm_error_classes[42] TSR_HIDDEN;
extern const uint32_t __libm_error_actions[39] TSR_HIDDEN;
extern const uint64_t __libm_error_programs[19] TSR_HIDDEN;
extern const uint16_t __libm_error_values[176] TSR_HIDDEN;
extern const ErrorPrecision __libm_error_precisions[4] TSR_HIDDEN;
extern const int __libm_error_errno[2] TSR_HIDDEN;
extern const char *const __libm_error_types[7] TSR_HIDDEN;
extern const char *const __libm_error_formats[5] TSR_HIDDEN;
extern const char *const __libm_error_names[119] TSR_HIDDEN;
}

namespace tsr::err {
constexpr int kCodes = 404;
// Step numbers of the programs.
enum Step : unsigned {
    SET_ERRNO = 1, ERRNO_IF_ZERO, SET_RESULT, COPY_ARG1, SOURCE_ARG1, SOURCE_RESULT,
    APPLY_SIGN, SIGNED_BY_ARG1, SIGNED_NONPOSITIVE_ARG1, SIGNED_BY_RESULT, WRITE_MESSAGE,
    CALL_HANDLER
};
}  // namespace tsr::err

// Writing one System V style message to standard error.
#pragma once
#include "tsr/types.h"

// Message `message` (a format with three %s: name, suffix, exception text), from the
// catalogue when it can be opened, from the built-in formats otherwise.
extern "C" void __libm_write_message(int message, const char *name, const char *suffix,
                                     const char *exception) TSR_HIDDEN;

// The error mode, an exported data word the user writes: -1 silent, 0 System V with
// largest finite values and messages, 1 System V with infinities, 2 infinities and errno,
// 3 (the default) errno alone.  It lives in a file of its own so that the interpreter
// reads it through the exported symbol: a program that links against the shared library
// may hold the word in its own data (copy relocation), and the library must see that
// copy.
#include "tsr/types.h"

extern "C" {
int _LIB_VERSIONQVT_local TSR_HIDDEN = 3;
extern int _LIB_VERSIONQVT TSR_PUBLIC __attribute__((alias("_LIB_VERSIONQVT_local")));
}

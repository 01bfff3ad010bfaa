// signgam, the exported sign word of lgamma, gamma and their float and extended forms: the
// sign of Gamma at the argument of the last call of one of them (1 before any call).  It
// lives in a file of its own and the functions write it through its exported symbol, so a
// program that holds the word in its own data (copy relocation) sees the writes.
#include "tsr/types.h"

extern "C" {
int signgam_local TSR_HIDDEN = 1;
extern int signgam TSR_PUBLIC __attribute__((alias("signgam_local")));
}

// The test hook of the correctly rounded double exp and log (correct/crd.cpp), defined once
// for every tier's object: not exported, read by the first phase's rounding test only.
#include "tsr/common.h"

extern "C" {
int __libm_crd_test TSR_HIDDEN = 0;
double __libm_crd_trace[2] TSR_HIDDEN = {0, 0};
}

// The front doors of three correctly rounded members, and the family's test hook.
//
// exp2m1f, log2p1f and rsqrtf (with the second names __bwr_exp2m1f and __bwr_log2p1f) are
// the dispatching entries of __libm_cr_exp2m1f, __libm_cr_log2p1f and __libm_cr_invsqrtf
// under plain names: each passes its argument on unchanged.  exp2m1f and log2p1f are
// exported; rsqrtf is the library's own name (and the static library's) but not exported.
#include "correct/crf_common.h"

void (*__libm_crf_observer)(int member, uint32_t key) = nullptr;

TSR_DEFINE(float, exp2m1f, (float x)) { return __libm_cr_exp2m1f_local(x); }
TSR_DEFINE(float, log2p1f, (float x)) { return __libm_cr_log2p1f_local(x); }
TSR_DEFINE(float, rsqrtf, (float x)) { return __libm_cr_invsqrtf_local(x); }
TSR_ALIAS(float, __bwr_exp2m1f, (float x), exp2m1f)
TSR_ALIAS(float, __bwr_log2p1f, (float x), log2p1f)

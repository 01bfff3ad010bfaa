// Internal inverse trigonometric kernels for other families (not exported, not dispatched).
#pragma once
#include "tsr/types.h"

extern "C" {
// The angle of (x[0] + x[1], y[0] + y[1]) with atan2's quadrant rule, as out[0] + out[1].
void __libm_atan2_k64(double out[2], double y[2], double x[2]) noexcept TSR_HIDDEN;
}

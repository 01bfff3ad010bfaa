// Two-entry tables by sign bit (index 0 for a positive argument).
#pragma once

namespace tsr {
extern const double kCeilSmall[2] TSR_HIDDEN;  // ceil of a non-zero |x| below 1
}

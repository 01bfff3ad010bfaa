// The rounding family's constant tables.
#include "tsr/common.h"
#include "exact/rounding_data.h"

namespace tsr {
const double kCeilSmall[2] = {1.0, -0.0};
}

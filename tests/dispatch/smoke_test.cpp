#include <gtest/gtest.h>
#include "tessera.h"
TEST(Smoke, CeilThroughSlot) { EXPECT_EQ(ceil(1.5), 2.0); }

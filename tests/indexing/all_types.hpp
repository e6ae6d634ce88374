#pragma once

#include <gtest/gtest.h>
#include <vector_types.h>

namespace gpuruntime::testing {

/// The element types of the families that move data.
using AllTypes = ::testing::Types<bool, signed char, unsigned char, short, unsigned short, int, unsigned int,
                                  long, unsigned long, float, double, char2, uchar2, short2, ushort2, int2,
                                  uint2, long2, ulong2, float2, double2>;

}  // namespace gpuruntime::testing

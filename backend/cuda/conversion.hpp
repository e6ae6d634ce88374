#pragma once

#include "device.hpp"

/// Conversions of floating values to integers by the GPU's instructions: toward zero, saturating at the range
/// of the target. The value must not be NaN.
namespace gpuruntime::backend {

GPU_DEVICE int toInt32(double value) { return __double2int_rz(value); }

GPU_DEVICE unsigned int toUint32(double value) { return __double2uint_rz(value); }

GPU_DEVICE long toInt64(double value) { return __double2ll_rz(value); }

GPU_DEVICE unsigned long toUint64(double value) { return __double2ull_rz(value); }

}  // namespace gpuruntime::backend

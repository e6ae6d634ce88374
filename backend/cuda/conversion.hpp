#pragma once

#include "device.hpp"

/// Conversions between floating values and integers. To integers they go by the GPU's instructions: toward
/// zero, saturating at the range of the target; the value must not be NaN.
namespace gpuruntime::backend {

GPU_DEVICE double fromUint32(unsigned int value) { return value; }

GPU_DEVICE int toInt32(double value) { return __double2int_rz(value); }

GPU_DEVICE unsigned int toUint32(double value) { return __double2uint_rz(value); }

GPU_DEVICE long toInt64(double value) { return __double2ll_rz(value); }

GPU_DEVICE unsigned long toUint64(double value) { return __double2ull_rz(value); }

}  // namespace gpuruntime::backend

#pragma once

#include "device.hpp"

/// Conversions between floating values and integers. To integers they go by the GPU's instructions: toward
/// zero, saturating at the range of the target; the value must not be NaN. From integers they round to
/// nearest even.
namespace gpuruntime::backend {

GPU_DEVICE double fromUint32(unsigned int value) { return value; }

template <class To, class From>
GPU_DEVICE To fromInteger(From value) {
    return static_cast<To>(value);
}

GPU_DEVICE int toInt32(double value) { return __double2int_rz(value); }
GPU_DEVICE int toInt32(float value) { return __float2int_rz(value); }

GPU_DEVICE unsigned int toUint32(double value) { return __double2uint_rz(value); }
GPU_DEVICE unsigned int toUint32(float value) { return __float2uint_rz(value); }

GPU_DEVICE long toInt64(double value) { return __double2ll_rz(value); }
GPU_DEVICE long toInt64(float value) { return __float2ll_rz(value); }

GPU_DEVICE unsigned long toUint64(double value) { return __double2ull_rz(value); }
GPU_DEVICE unsigned long toUint64(float value) { return __float2ull_rz(value); }

template <class Integer, class Number>
GPU_DEVICE Integer toIntegerInside(Number value) {
    return static_cast<Integer>(value);
}

}  // namespace gpuruntime::backend

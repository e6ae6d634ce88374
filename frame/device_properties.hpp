#pragma once

#include <gpuruntime/device_properties.hpp>

namespace gpuruntime::internal {

/// The record of the last store, valid until the next one; null before the first.
gpucommon::CUDADeviceProperties const* getCurrentDeviceProperties();

}  // namespace gpuruntime::internal

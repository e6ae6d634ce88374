#pragma once

#include <cuda_runtime.h>
#include <gpuruntime/device_properties.hpp>

namespace gpuruntime::testing {

/// What an engine on this device would store.
inline gpucommon::CUDADeviceProperties currentProperties() {
    cudaDeviceProp device{};
    cudaGetDeviceProperties(&device, 0);
    gpucommon::CUDADeviceProperties properties{};
    properties.maxBlockDimY = static_cast<unsigned long>(device.maxThreadsDim[1]);
    properties.maxBlockDimZ = static_cast<unsigned long>(device.maxThreadsDim[2]);
    properties.maxGridDimX = static_cast<unsigned long>(device.maxGridSize[0]);
    properties.maxGridDimY = static_cast<unsigned long>(device.maxGridSize[1]);
    properties.maxGridDimZ = static_cast<unsigned long>(device.maxGridSize[2]);
    properties.multiProcessorCount = static_cast<unsigned long>(device.multiProcessorCount);
    properties.computeCapabilityMajor = static_cast<unsigned long>(device.major);
    return properties;
}

inline void storeCurrentProperties() { internal::storeCurrentDeviceProperties(currentProperties()); }

/// While it lives, the library believes that a grid can be only this large, so that small arrays fold, step
/// and page. Before and after it, the device's own properties are stored.
class GridLimits {
  public:
    explicit GridLimits(unsigned long x, unsigned long y = 65535, unsigned long z = 65535) {
        gpucommon::CUDADeviceProperties properties = currentProperties();
        properties.maxGridDimX = x;
        properties.maxGridDimY = y;
        properties.maxGridDimZ = z;
        internal::storeCurrentDeviceProperties(properties);
    }
    ~GridLimits() { storeCurrentProperties(); }
    GridLimits(GridLimits const&) = delete;
    GridLimits& operator=(GridLimits const&) = delete;
};

}  // namespace gpuruntime::testing

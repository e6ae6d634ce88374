#pragma once

#include <gpuruntime/current_device.hpp>

namespace gpuruntime::testing {

/// What an engine on this device would store.
inline gpucommon::CUDADeviceProperties currentProperties() {
    gpucommon::CUDADeviceProperties properties{};
    propertiesOfCurrentDevice(properties);
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

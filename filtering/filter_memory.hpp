#pragma once

#include "device.hpp"

/// Filters in constant memory: symbols of a source unit, `GPU_CONSTANT_VARIABLE(FilterMemory, filter)`, which
/// the host fills before a launch.
namespace gpuruntime::convolutioncommon {

struct FilterMemory {
    alignas(16) unsigned char bytes[20736];

    template <class T>
    GPU_DEVICE T const* taps() const {
        return reinterpret_cast<T const*>(bytes);
    }
};
static_assert(sizeof(FilterMemory) == 20736);

}  // namespace gpuruntime::convolutioncommon

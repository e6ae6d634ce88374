#pragma once

#include "device.hpp"
#include "kernel.hpp"

namespace gpuruntime::backend {

/// Whether memory that a caller may leave out can be read. If not, the launch ends in a device fault, and the
/// process lives on.
template <class T>
GPU_DEVICE bool isReadable(T const* memory) {
    if (memory != nullptr) return true;
    hostdevice::reportFault();
    return false;
}

}  // namespace gpuruntime::backend

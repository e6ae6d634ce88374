#pragma once

#include "device.hpp"
#include "kernel.hpp"

namespace gpuruntime::backend {

/// As on the host.
template <class T>
GPU_DEVICE bool isReadable(T const* memory) {
    if (memory != nullptr) return true;
    hostdevice::reportFault();
    return false;
}

}  // namespace gpuruntime::backend

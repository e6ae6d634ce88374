#pragma once

#include "device.hpp"

namespace gpuruntime::backend {

/// Whether memory that a caller may leave out can be read. If not, the launch ends in a device fault: here by
/// the access itself.
template <class T>
GPU_DEVICE bool isReadable(T const* /*memory*/) {
    return true;
}

}  // namespace gpuruntime::backend

#pragma once

#include "device.hpp"

namespace gpuruntime::backend {

/// An element of memory that nothing writes while the kernel runs, through the read-only path.
template <class T>
GPU_DEVICE T loadReadOnly(T const* from) {
    return __ldg(from);
}

}  // namespace gpuruntime::backend

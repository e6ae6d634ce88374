#pragma once

#include "device.hpp"

namespace gpuruntime::backend {

/// An element of memory that nothing writes while the kernel runs.
template <class T>
GPU_DEVICE T loadReadOnly(T const* from) {
    return *from;
}

}  // namespace gpuruntime::backend

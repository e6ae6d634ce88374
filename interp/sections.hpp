#pragma once

#include "device.hpp"

namespace gpuruntime::interp {

/// Places that the bins of a dimension with `n` queries take.
template <class T>
GPU_HOST_DEVICE T roundUp16(T n) {
    return n == 0 ? 16 : (n + 15) / 16 * 16;
}

}  // namespace gpuruntime::interp

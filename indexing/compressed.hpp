#pragma once

#include "device.hpp"

namespace gpuruntime::internal {

/// The row (or column) of a sparse matrix in compressed rows (columns) in which stored element `i` of `n` is,
/// from where the `count` of them start: the search begins where it would be if all were equally full.
GPU_DEVICE int compressedIndexOf(int const* starts, unsigned int count, unsigned int i, unsigned int n) {
    unsigned int low = 0, high = count;
    auto index = static_cast<unsigned int>(1ul * i * count / n);
    for (;;) {
        if (static_cast<unsigned int>(starts[index]) > i) {
            high = index;
        } else if (static_cast<unsigned int>(starts[index + 1]) > i) {
            return static_cast<int>(index);
        } else {
            low = index + 1;
        }
        index = static_cast<unsigned int>((1ul * low + high) / 2);
    }
}

}  // namespace gpuruntime::internal

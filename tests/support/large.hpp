#pragma once

#include <cmath>

namespace gpuruntime::testing {

/// From this many elements on the host device writes an array past the caches, in whole lines.
template <class T>
constexpr unsigned long largeCount() {
    return KVGPURUNTIME_STREAMED_SIZE / sizeof(T);
}

/// The side of a square of so many elements.
template <class T>
unsigned long largeSide() {
    return static_cast<unsigned long>(std::sqrt(static_cast<double>(largeCount<T>())));
}

}  // namespace gpuruntime::testing

#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace gpuruntime::hostdevice {

/// The blocks that `cudaMalloc` gave and `cudaFree` has not taken back: address and size in bytes, by
/// address.
std::vector<std::pair<std::uintptr_t, std::size_t>> deviceMemory();

}  // namespace gpuruntime::hostdevice

#pragma once

#include <cuda_runtime.h>

#include <iostream>

/// Extents in constant memory: symbols of a source unit, `GPU_CONSTANT_VARIABLE(interp::Sizes, ...)`, which
/// the host fills on the caller's stream before a launch.
namespace gpuruntime::interp {

inline constexpr unsigned int maxDims = 5;

using Sizes = unsigned long[maxDims];

/// Copies `numDims` extents, which stay the caller's until the stream has passed the copy. Where that fails,
/// `message` is printed as a line.
inline bool copySizes(Sizes const& symbol, unsigned long const* sizes, unsigned long numDims,
                      CUstream_st* stream, char const* message) {
    if (cudaMemcpyToSymbolAsync(symbol, sizes, numDims * sizeof *sizes, 0, cudaMemcpyHostToDevice, stream) ==
        cudaSuccess) {
        return true;
    }
    std::cout << message << std::endl;
    return false;
}

}  // namespace gpuruntime::interp

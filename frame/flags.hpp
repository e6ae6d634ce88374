#pragma once

#include <cuda_runtime.h>

#include <array>
#include <optional>

/// Flags: device words of a source unit, `GPU_DEVICE_VARIABLE(unsigned int, ...)`, that the host sets before
/// a launch and reads after it. Kernels move a flag only away from what it was reset to, atomically, so that
/// a thread may read an old value: it works on for nothing, and the outcome is the same.
namespace gpuruntime::internal {

/// Sets the flags to `resetValue`, calls `launch()`, whose failure shows in no flag, waits for the stream and
/// returns the flags; nothing if one cannot be set or read.
template <std::size_t N, class Launch>
std::optional<std::array<unsigned int, N>> flagsAfter(std::array<unsigned int*, N> const& flags,
                                                      unsigned int const& resetValue, CUstream_st* stream,
                                                      Launch launch) {
    for (unsigned int const* flag : flags) {
        if (cudaMemcpyToSymbolAsync(*flag, &resetValue, sizeof resetValue, 0, cudaMemcpyHostToDevice,
                                    stream) != cudaSuccess) {
            return std::nullopt;
        }
    }
    launch();
    std::array<unsigned int, N> values;
    for (std::size_t i = 0; i < N; ++i) {
        if (cudaMemcpyFromSymbolAsync(&values[i], *flags[i], sizeof values[i], 0, cudaMemcpyDeviceToHost,
                                      stream) != cudaSuccess) {
            return std::nullopt;
        }
    }
    if (cudaStreamSynchronize(stream) != cudaSuccess) return std::nullopt;
    return values;
}

// The runtime may read these after the call has returned.
inline constexpr unsigned int clearFlag = 0, setFlag = 1;

}  // namespace gpuruntime::internal

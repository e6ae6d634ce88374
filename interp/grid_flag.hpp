#pragma once

#include <cuda_runtime.h>

#include <optional>

/// The flag of a check: a device word of a source unit, `GPU_DEVICE_VARIABLE(unsigned int, ...)`, which
/// threads move away from what it was reset to, atomically.
namespace gpuruntime::interp {

/// Sets the flag to `resetValue`, calls `launch()` and returns the flag, for which the caller waits; nothing
/// if it cannot be set or read.
template <class Launch>
std::optional<unsigned int> flagAfter(unsigned int* flag, unsigned int resetValue, Launch launch) {
    unsigned int value = resetValue;
    if (cudaMemcpyToSymbol(*flag, &value, sizeof value) != cudaSuccess) return std::nullopt;
    launch();
    if (cudaMemcpyFromSymbol(&value, *flag, sizeof value) != cudaSuccess) return std::nullopt;
    return value;
}

}  // namespace gpuruntime::interp

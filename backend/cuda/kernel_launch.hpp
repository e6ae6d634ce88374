#pragma once

#include <cuda_runtime_api.h>

namespace gpuruntime::backend {

/// The handle by which the runtime knows a kernel.
template <auto kernel>
void const* kernelHandle() {
    return reinterpret_cast<void const*>(kernel);
}

/// Launches the kernel; `work`, about how many elements it goes over, means nothing to this device.
template <auto kernel>
cudaError launch(dim3 grid, dim3 block, void** arguments, CUstream_st* stream, unsigned long /*work*/) {
    return cudaLaunchKernel(reinterpret_cast<void const*>(kernel), grid, block, arguments, 0, stream);
}

}  // namespace gpuruntime::backend

#pragma once

#include <cuda_runtime_api.h>

#include "blocks.hpp"
#include "kernel.hpp"

namespace gpuruntime::backend {

/// What the runtime knows of a kernel.
template <auto kernel>
inline constexpr hostdevice::Kernel const& kernelOf = hostdevice::kernelOf<kernel, BlocksInTurn>;

/// The handle by which the runtime knows a kernel.
template <auto kernel>
void const* kernelHandle() {
    return &kernelOf<kernel>;
}

/// Launches the kernel; `work` is about how many elements it goes over.
template <auto kernel>
cudaError launch(dim3 grid, dim3 block, void** arguments, CUstream_st* stream, unsigned long work) {
    return hostdevice::launch(kernelOf<kernel>, grid, block, arguments, stream, work);
}

}  // namespace gpuruntime::backend

#pragma once

#include <cuda_runtime_api.h>

#include "block.hpp"
#include "kernel.hpp"

namespace gpuruntime::fibers {

/// Runs a grid's blocks one after another, each thread on a fiber.
struct BlocksOfFibers {
    static constexpr bool isSerial = true;

    template <auto kernelFunction, class... Parameters>
    static void run(dim3 grid, dim3 block, std::uint64_t /*first*/, std::uint64_t /*last*/,
                    Parameters... parameters) {
        // The calls themselves are not checked: what the parameters are copied from is no memory of the
        // device.
        auto const call = [&]() __attribute__((no_sanitize("thread"))) { kernelFunction(parameters...); };
        auto const thread = [](void const* self) __attribute__((no_sanitize("thread"))) {
            (*static_cast<decltype(call)*>(self))();
        };
        runGrid({hostdevice::detail::kernelName<kernelFunction>.data(), grid, block, thread, &call});
    }
};

}  // namespace gpuruntime::fibers

namespace gpuruntime::backend {

/// What the runtime knows of a kernel.
template <auto kernel>
inline constexpr hostdevice::Kernel const& kernelOf = hostdevice::kernelOf<kernel, fibers::BlocksOfFibers>;

/// The handle by which the runtime knows a kernel.
template <auto kernel>
void const* kernelHandle() {
    return &kernelOf<kernel>;
}

/// Launches the kernel; `work`, about how many elements it goes over, means nothing to this device.
template <auto kernel>
cudaError launch(dim3 grid, dim3 block, void** arguments, CUstream_st* stream, unsigned long work) {
    return hostdevice::launch(kernelOf<kernel>, grid, block, arguments, stream, work);
}

}  // namespace gpuruntime::backend

#pragma once

#define THRUST_DEVICE_SYSTEM THRUST_DEVICE_SYSTEM_TBB

#include <cuda_runtime_api.h>
#include <thrust/iterator/zip_iterator.h>
#include <thrust/partition.h>
#include <thrust/sort.h>
#include <thrust/system/detail/bad_alloc.h>
#include <thrust/system/tbb/execution_policy.h>
#include <thrust/tuple.h>

#include <cstddef>

/// Thrust on this device's memory, in parallel through oneTBB.
namespace gpuruntime::backend {

/// Device memory; throws `thrust::system::detail::bad_alloc` where there is none, and leaves no last error then.
inline void* allocateTemporary(std::size_t bytes) {
    void* memory = nullptr;
    cudaError const status = cudaMalloc(&memory, bytes);
    if (status != cudaSuccess) {
        cudaGetLastError();
        throw thrust::system::detail::bad_alloc(cudaGetErrorString(status));
    }
    return memory;
}

/// Lets Thrust take its temporary memory from the device.
struct TemporaryAllocator {
    using value_type = char;

    char* allocate(std::ptrdiff_t bytes) {
        return static_cast<char*>(allocateTemporary(static_cast<std::size_t>(bytes)));
    }
    void deallocate(char* memory, std::size_t /*bytes*/) { cudaFree(memory); }
};

/// The policy under which the families call Thrust: the default stream, and temporary memory for the call only.
inline auto thrustPolicy() {
    static TemporaryAllocator allocator;
    return thrust::tbb::par(allocator);
}

}  // namespace gpuruntime::backend

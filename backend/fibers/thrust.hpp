#pragma once

#include <cuda_runtime_api.h>
#include <thrust/execution_policy.h>
#include <thrust/iterator/zip_iterator.h>
#include <thrust/partition.h>
#include <thrust/sort.h>
#include <thrust/system/cpp/execution_policy.h>
#include <thrust/system/detail/bad_alloc.h>
#include <thrust/system/system_error.h>
#include <thrust/transform.h>
#include <thrust/tuple.h>

/// Thrust on its serial system. It throws `thrust::system::detail::bad_alloc` where there is no temporary
/// memory.
namespace gpuruntime::backend {

/// Temporary memory from the runtime, where it can fail as on a GPU.
struct RuntimeMemory {
    using value_type = char;

    char* allocate(std::ptrdiff_t size) {
        void* memory = nullptr;
        cudaError const status = cudaMalloc(&memory, static_cast<std::size_t>(size));
        if (status != cudaSuccess) {
            cudaGetLastError();
            throw thrust::system::detail::bad_alloc(cudaGetErrorString(status));
        }
        return static_cast<char*>(memory);
    }
    void deallocate(char* memory, std::size_t /*size*/) { cudaFree(memory); }
};

inline auto thrustPolicy() {
    static RuntimeMemory memory;
    return thrust::cpp::par(memory);
}

}  // namespace gpuruntime::backend

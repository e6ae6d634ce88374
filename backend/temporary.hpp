#pragma once

#include <cuda_runtime_api.h>

#include <type_traits>
#include <utility>

#include "thrust.hpp"

namespace gpuruntime::backend {

/// `n` elements of device memory for the length of a call, with unspecified contents. Where there is no
/// memory it throws `thrust::system::detail::bad_alloc`; the last error stays for the host to read.
template <class T>
class Temporary {
  public:
    static_assert(std::is_trivially_copyable_v<T>);

    explicit Temporary(unsigned long n) {
        void* memory = nullptr;
        cudaError const status = cudaMalloc(&memory, n * sizeof(T));
        if (status != cudaSuccess) throw thrust::system::detail::bad_alloc(cudaGetErrorString(status));
        elements = static_cast<T*>(memory);
    }
    ~Temporary() { cudaFree(elements); }
    Temporary(Temporary const&) = delete;
    Temporary& operator=(Temporary const&) = delete;
    void swap(Temporary& other) { std::swap(elements, other.elements); }

    T* data() { return elements; }
    T const* data() const { return elements; }
    T& operator[](unsigned long i) { return elements[i]; }
    T const& operator[](unsigned long i) const { return elements[i]; }

  private:
    T* elements;
};

}  // namespace gpuruntime::backend

#pragma once

#include <cuda_runtime.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <type_traits>
#include <vector>

/// Ends the program where a call of the runtime has failed.
inline void check(cudaError status, char const* step) {
    if (status == cudaSuccess) return;
    std::fprintf(stderr, "%s: %s\n", step, cudaGetErrorString(status));
    std::exit(1);
}

/// Ends the program where something is not as it must be.
inline void require(bool holds, char const* what) {
    if (holds) return;
    std::fprintf(stderr, "wrong: %s\n", what);
    std::exit(1);
}

/// An array in device memory, owned by the engine. On the host logicals are bytes.
template <class T>
class DeviceVector {
    using OnHost = std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>;

  public:
    /// Zeros.
    explicit DeviceVector(std::size_t size) : count(size) {
        std::size_t const bytes = std::max<std::size_t>(size, 1) * sizeof(T);
        check(cudaMalloc(&memory, bytes), "allocating");
        check(cudaMemset(memory, 0, bytes), "clearing");
    }
    explicit DeviceVector(std::vector<OnHost> const& values) : DeviceVector(values.size()) {
        check(cudaMemcpy(memory, values.data(), count * sizeof(T), cudaMemcpyHostToDevice), "copying in");
    }
    ~DeviceVector() { cudaFree(memory); }
    DeviceVector(DeviceVector const&) = delete;
    DeviceVector& operator=(DeviceVector const&) = delete;

    T* data() { return memory; }
    std::size_t size() const { return count; }

    /// What families that return nothing have failed at, the runtime tells.
    std::vector<OnHost> values() const {
        check(cudaGetLastError(), "launching");
        std::vector<OnHost> result(count);
        check(cudaMemcpy(result.data(), memory, count * sizeof(T), cudaMemcpyDeviceToHost), "copying out");
        return result;
    }

  private:
    T* memory = nullptr;
    std::size_t count;
};

#pragma once

#include <cuda_runtime.h>
#include <gpuruntime/current_device.hpp>

#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

/// What every benchmark needs of the device.
namespace gpuruntime::bench {

inline void check(cudaError status) {
    if (status == cudaSuccess) return;
    std::fprintf(stderr, "%s\n", cudaGetErrorString(status));
    std::exit(1);
}

/// Waits for the device, and ends the program if anything failed.
inline void finish() {
    check(cudaDeviceSynchronize());
    check(cudaGetLastError());
}

/// Stores the device's properties before the first benchmark runs.
struct StoredProperties {
    StoredProperties() { check(useCurrentDevice()); }
};
inline StoredProperties const storedProperties;

/// Runs `f(part, parts)` on all cores.
template <class F>
void onAllCores(F f) {
    unsigned long const parts = std::thread::hardware_concurrency();
    std::vector<std::thread> threads;
    for (unsigned long part = 0; part < parts; ++part) threads.emplace_back([=] { f(part, parts); });
    for (std::thread& thread : threads) thread.join();
}

/// Device memory whose pages have been touched.
template <class T>
class DeviceMemory {
  public:
    explicit DeviceMemory(std::size_t size) {
        check(cudaMalloc(&memory, size * sizeof(T)));
        check(cudaMemset(memory, 0, size * sizeof(T)));
    }
    explicit DeviceMemory(std::vector<T> const& values) {
        check(cudaMalloc(&memory, values.size() * sizeof(T)));
        check(cudaMemcpy(memory, values.data(), values.size() * sizeof(T), cudaMemcpyHostToDevice));
    }
    ~DeviceMemory() { cudaFree(memory); }
    DeviceMemory(DeviceMemory const&) = delete;
    DeviceMemory& operator=(DeviceMemory const&) = delete;

    T* data() { return memory; }

  private:
    T* memory = nullptr;
};

}  // namespace gpuruntime::bench

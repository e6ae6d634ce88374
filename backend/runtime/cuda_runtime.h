#pragma once

// The C++ side of the runtime interface: typed forms of the calls in cuda_runtime_api.h, which take a symbol
// or a kernel itself in place of its address.

#include "cuda_runtime_api.h"
#include "vector_functions.h"

template <typename T>
cudaError_t cudaMalloc(T** pointer, size_t size) {
    void* memory = nullptr;
    cudaError_t const status = cudaMalloc(pointer == nullptr ? nullptr : &memory, size);
    if (status == cudaSuccess) {
        *pointer = static_cast<T*>(memory);
    }
    return status;
}

template <typename T>
cudaError_t cudaMemcpyToSymbol(T const& symbol, void const* source, size_t count, size_t offset = 0,
                               cudaMemcpyKind kind = cudaMemcpyHostToDevice) {
    return cudaMemcpyToSymbol(static_cast<void const*>(&symbol), source, count, offset, kind);
}

template <typename T>
cudaError_t cudaMemcpyToSymbolAsync(T const& symbol, void const* source, size_t count, size_t offset = 0,
                                    cudaMemcpyKind kind = cudaMemcpyHostToDevice,
                                    cudaStream_t stream = nullptr) {
    return cudaMemcpyToSymbolAsync(static_cast<void const*>(&symbol), source, count, offset, kind, stream);
}

template <typename T>
cudaError_t cudaMemcpyFromSymbol(void* destination, T const& symbol, size_t count, size_t offset = 0,
                                 cudaMemcpyKind kind = cudaMemcpyDeviceToHost) {
    return cudaMemcpyFromSymbol(destination, static_cast<void const*>(&symbol), count, offset, kind);
}

template <typename T>
cudaError_t cudaMemcpyFromSymbolAsync(void* destination, T const& symbol, size_t count, size_t offset = 0,
                                      cudaMemcpyKind kind = cudaMemcpyDeviceToHost,
                                      cudaStream_t stream = nullptr) {
    return cudaMemcpyFromSymbolAsync(destination, static_cast<void const*>(&symbol), count, offset, kind,
                                     stream);
}

template <typename T>
cudaError_t cudaGetSymbolAddress(void** pointer, T const& symbol) {
    return cudaGetSymbolAddress(pointer, static_cast<void const*>(&symbol));
}

template <typename T>
cudaError_t cudaGetSymbolSize(size_t* size, T const& symbol) {
    return cudaGetSymbolSize(size, static_cast<void const*>(&symbol));
}

template <typename T>
cudaError_t cudaFuncGetAttributes(cudaFuncAttributes* attributes, T* function) {
    return cudaFuncGetAttributes(attributes, reinterpret_cast<void const*>(function));
}

template <typename T>
cudaError_t cudaLaunchKernel(T* function, dim3 grid, dim3 block, void** arguments, size_t sharedMemory = 0,
                             cudaStream_t stream = nullptr) {
    return cudaLaunchKernel(reinterpret_cast<void const*>(function), grid, block, arguments, sharedMemory,
                            stream);
}

#pragma once

#include <cuda_runtime.h>

#include "atomics.hpp"
#include "device.hpp"

/// The error word: a device word of a source unit, `GPU_DEVICE_VARIABLE(unsigned int, __KVX_PTX_ERROR_CODE)`,
/// through which kernels report. The host resets it before a launch; the first report wins and later ones
/// change nothing. Reporting stops no thread.
namespace gpuruntime::internal {

inline constexpr unsigned int noErrorCode = 1000;
/// What a failed read gives.
inline constexpr unsigned int unreadableErrorCode = 1063;

/// Reports `code` if nothing was reported since the last reset. A word never reset takes no report.
GPU_DEVICE void reportError(unsigned int& word, unsigned int code) {
    backend::atomicCompareAndSwap(word, noErrorCode, code);
}

/// Queues the reset on the stream.
inline cudaError resetErrorWord(unsigned int const& word, CUstream_st* stream) {
    // The runtime may read the source after the call has returned.
    static unsigned int const source = noErrorCode;
    return cudaMemcpyToSymbolAsync(word, &source, sizeof(source), 0, cudaMemcpyHostToDevice, stream);
}

/// Waits for the stream and reads the word; `unreadableErrorCode` if either step fails.
inline unsigned int readErrorWord(unsigned int const& word, CUstream_st* stream) {
    unsigned int code = 0;
    cudaError const copied =
        cudaMemcpyFromSymbolAsync(&code, word, sizeof(code), 0, cudaMemcpyDeviceToHost, stream);
    cudaError const waited = cudaStreamSynchronize(stream);
    return copied == cudaSuccess && waited == cudaSuccess ? code : unreadableErrorCode;
}

}  // namespace gpuruntime::internal

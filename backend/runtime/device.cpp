// Errors, the device and its streams.

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <utility>

#include "call.hpp"
#include "cuda_runtime_api.h"

/// A stream has no work of its own, since every call is finished when it returns: its address is all there is
/// to it.
struct CUstream_st {};

namespace gpuruntime::hostdevice::detail {
namespace {

thread_local cudaError lastError = cudaSuccess;

// The shapes of blocks and grids that kernels rely on are those of this generation of devices.
constexpr int warpSize = 32;
constexpr int computeCapabilityMajor = 6;
constexpr int computeCapabilityMinor = 0;

struct ErrorText {
    cudaError error;
    char const* name;
    char const* description;
};

constexpr ErrorText errorTexts[] = {
    {cudaSuccess, "cudaSuccess", "no error"},
    {cudaErrorInvalidValue, "cudaErrorInvalidValue", "invalid argument"},
    {cudaErrorMemoryAllocation, "cudaErrorMemoryAllocation", "out of memory"},
    {cudaErrorInitializationError, "cudaErrorInitializationError", "initialization error"},
    {cudaErrorCudartUnloading, "cudaErrorCudartUnloading", "driver shutting down"},
    {cudaErrorInvalidConfiguration, "cudaErrorInvalidConfiguration", "invalid configuration argument"},
    {cudaErrorInvalidPitchValue, "cudaErrorInvalidPitchValue", "invalid pitch argument"},
    {cudaErrorInvalidSymbol, "cudaErrorInvalidSymbol", "invalid device symbol"},
    {cudaErrorInvalidHostPointer, "cudaErrorInvalidHostPointer", "invalid host pointer"},
    {cudaErrorInvalidDevicePointer, "cudaErrorInvalidDevicePointer", "invalid device pointer"},
    {cudaErrorInvalidTexture, "cudaErrorInvalidTexture", "invalid texture reference"},
    {cudaErrorInvalidTextureBinding, "cudaErrorInvalidTextureBinding", "texture is not bound to a pointer"},
    {cudaErrorInvalidChannelDescriptor, "cudaErrorInvalidChannelDescriptor", "invalid channel descriptor"},
    {cudaErrorInvalidMemcpyDirection, "cudaErrorInvalidMemcpyDirection", "invalid copy direction for memcpy"},
    {cudaErrorInsufficientDriver, "cudaErrorInsufficientDriver",
     "CUDA driver version is insufficient for CUDA runtime version"},
    {cudaErrorDevicesUnavailable, "cudaErrorDevicesUnavailable",
     "CUDA-capable device(s) is/are busy or unavailable"},
    {cudaErrorMissingConfiguration, "cudaErrorMissingConfiguration",
     "__global__ function call is not configured"},
    {cudaErrorInvalidDeviceFunction, "cudaErrorInvalidDeviceFunction", "invalid device function"},
    {cudaErrorNoDevice, "cudaErrorNoDevice", "no CUDA-capable device is detected"},
    {cudaErrorInvalidDevice, "cudaErrorInvalidDevice", "invalid device ordinal"},
    {cudaErrorInvalidKernelImage, "cudaErrorInvalidKernelImage", "device kernel image is invalid"},
    {cudaErrorDeviceUninitialized, "cudaErrorDeviceUninitialized", "invalid device context"},
    {cudaErrorNoKernelImageForDevice, "cudaErrorNoKernelImageForDevice",
     "no kernel image is available for execution on the device"},
    {cudaErrorECCUncorrectable, "cudaErrorECCUncorrectable", "uncorrectable ECC error encountered"},
    {cudaErrorInvalidPtx, "cudaErrorInvalidPtx", "a PTX JIT compilation failed"},
    {cudaErrorSharedObjectInitFailed, "cudaErrorSharedObjectInitFailed",
     "shared object initialization failed"},
    {cudaErrorOperatingSystem, "cudaErrorOperatingSystem",
     "OS call failed or operation not supported on this OS"},
    {cudaErrorInvalidResourceHandle, "cudaErrorInvalidResourceHandle", "invalid resource handle"},
    {cudaErrorIllegalState, "cudaErrorIllegalState",
     "the operation cannot be performed in the present state"},
    {cudaErrorSymbolNotFound, "cudaErrorSymbolNotFound", "named symbol not found"},
    {cudaErrorNotReady, "cudaErrorNotReady", "device not ready"},
    {cudaErrorIllegalAddress, "cudaErrorIllegalAddress", "an illegal memory access was encountered"},
    {cudaErrorLaunchOutOfResources, "cudaErrorLaunchOutOfResources",
     "too many resources requested for launch"},
    {cudaErrorLaunchTimeout, "cudaErrorLaunchTimeout", "the launch timed out and was terminated"},
    {cudaErrorContextIsDestroyed, "cudaErrorContextIsDestroyed", "context is destroyed"},
    {cudaErrorAssert, "cudaErrorAssert", "device-side assert triggered"},
    {cudaErrorHardwareStackError, "cudaErrorHardwareStackError", "hardware stack error"},
    {cudaErrorIllegalInstruction, "cudaErrorIllegalInstruction", "an illegal instruction was encountered"},
    {cudaErrorMisalignedAddress, "cudaErrorMisalignedAddress", "misaligned address"},
    {cudaErrorInvalidAddressSpace, "cudaErrorInvalidAddressSpace",
     "operation not supported on global/shared address space"},
    {cudaErrorInvalidPc, "cudaErrorInvalidPc", "invalid program counter"},
    {cudaErrorLaunchFailure, "cudaErrorLaunchFailure", "unspecified launch failure"},
    {cudaErrorNotPermitted, "cudaErrorNotPermitted", "operation not permitted"},
    {cudaErrorNotSupported, "cudaErrorNotSupported", "operation not supported"},
    {cudaErrorStreamCaptureUnsupported, "cudaErrorStreamCaptureUnsupported",
     "operation not permitted when stream is capturing"},
    {cudaErrorStreamCaptureInvalidated, "cudaErrorStreamCaptureInvalidated",
     "operation failed due to a previous error during capture"},
    {cudaErrorTimeout, "cudaErrorTimeout", "wait operation timed out"},
    {cudaErrorUnknown, "cudaErrorUnknown", "unknown error"},
};

/// Name and description, also for a number that has none.
ErrorText errorText(cudaError error) {
    auto const* const found = std::find_if(std::begin(errorTexts), std::end(errorTexts),
                                           [error](ErrorText const& text) { return text.error == error; });
    if (found == std::end(errorTexts)) {
        return {error, "unrecognized error code", "unrecognized error code"};
    }
    return *found;
}

struct Streams {
    std::shared_mutex mutex;
    std::unordered_map<cudaStream_t, std::unique_ptr<CUstream_st>> created;

    static Streams& instance() {
        static Streams streams;
        return streams;
    }
};

void copyExtents(dim3 from, int (&to)[3]) {
    to[0] = static_cast<int>(from.x);
    to[1] = static_cast<int>(from.y);
    to[2] = static_cast<int>(from.z);
}

cudaError createStream(cudaStream_t* stream, unsigned int flags) {
    if (stream == nullptr || (flags != cudaStreamDefault && flags != cudaStreamNonBlocking)) {
        return cudaErrorInvalidValue;
    }
    auto created = std::make_unique<CUstream_st>();
    Streams& streams = Streams::instance();
    std::lock_guard const lock(streams.mutex);
    cudaStream_t const address = created.get();
    streams.created.emplace(address, std::move(created));
    *stream = address;
    return cudaSuccess;
}

cudaError destroyStream(cudaStream_t stream) {
    Streams& streams = Streams::instance();
    std::lock_guard const lock(streams.mutex);
    return streams.created.erase(stream) == 1 ? cudaSuccess : cudaErrorInvalidResourceHandle;
}

cudaError checkStream(cudaStream_t stream) {
    return isStream(stream) ? cudaSuccess : cudaErrorInvalidResourceHandle;
}

cudaError describeDevice(cudaDeviceProp* properties, int device) {
    if (properties == nullptr) {
        return cudaErrorInvalidValue;
    }
    if (device != 0) {
        return cudaErrorInvalidDevice;
    }
    Limits const& limits = currentLimits();
    cudaDeviceProp described{};
    std::strcpy(described.name, "host");
    described.totalGlobalMem = limits.totalGlobalMem;
    described.sharedMemPerBlock = limits.sharedMemPerBlock;
    described.warpSize = warpSize;
    described.maxThreadsPerBlock = static_cast<int>(limits.maxThreadsPerBlock);
    copyExtents(limits.maxBlockDim, described.maxThreadsDim);
    copyExtents(limits.maxGridDim, described.maxGridSize);
    described.major = computeCapabilityMajor;
    described.minor = computeCapabilityMinor;
    described.multiProcessorCount = static_cast<int>(limits.multiProcessorCount);
    *properties = described;
    return cudaSuccess;
}

/// Records the reading of the last error, which neither fails nor is an error of its own.
cudaError reportError(char const* callName, cudaError status) {
    if (observers.load(std::memory_order_relaxed) != 0) {
        recordCall(callName, {}, status);
    }
    return status;
}

}  // namespace

void setLastError(cudaError status) { lastError = status; }

cudaError takeLastError() { return std::exchange(lastError, cudaSuccess); }

bool isStream(cudaStream_t stream) {
    if (stream == nullptr || stream == cudaStreamLegacy || stream == cudaStreamPerThread) {
        return true;
    }
    Streams& streams = Streams::instance();
    std::shared_lock const lock(streams.mutex);
    return streams.created.count(stream) != 0;
}

}  // namespace gpuruntime::hostdevice::detail

using namespace gpuruntime::hostdevice::detail;

cudaError_t cudaGetLastError() { return reportError("cudaGetLastError", takeLastError()); }

cudaError_t cudaPeekAtLastError() { return reportError("cudaPeekAtLastError", lastError); }

char const* cudaGetErrorName(cudaError_t error) { return errorText(error).name; }

char const* cudaGetErrorString(cudaError_t error) { return errorText(error).description; }

cudaError_t cudaGetDeviceCount(int* count) {
    return runCall("cudaGetDeviceCount", {}, [=] {
        if (count == nullptr) {
            return cudaErrorInvalidValue;
        }
        *count = 1;
        return cudaSuccess;
    });
}

cudaError_t cudaGetDevice(int* device) {
    return runCall("cudaGetDevice", {}, [=] {
        if (device == nullptr) {
            return cudaErrorInvalidValue;
        }
        *device = 0;
        return cudaSuccess;
    });
}

cudaError_t cudaSetDevice(int device) {
    return runCall("cudaSetDevice", {}, [=] { return device == 0 ? cudaSuccess : cudaErrorInvalidDevice; });
}

cudaError_t cudaGetDeviceProperties(cudaDeviceProp* properties, int device) {
    return runCall("cudaGetDeviceProperties", {}, [=] { return describeDevice(properties, device); });
}

cudaError_t cudaDeviceSynchronize() {
    return runCall("cudaDeviceSynchronize", {}, [] { return cudaSuccess; });
}

cudaError_t cudaStreamCreate(cudaStream_t* stream) {
    return runCall("cudaStreamCreate", {}, [=] { return createStream(stream, cudaStreamDefault); });
}

cudaError_t cudaStreamCreateWithFlags(cudaStream_t* stream, unsigned int flags) {
    return runCall("cudaStreamCreateWithFlags", {}, [=] { return createStream(stream, flags); });
}

cudaError_t cudaStreamDestroy(cudaStream_t stream) {
    return runCall("cudaStreamDestroy", {stream}, [=] { return destroyStream(stream); });
}

cudaError_t cudaStreamSynchronize(cudaStream_t stream) {
    return runCall("cudaStreamSynchronize", {stream}, [=] { return checkStream(stream); });
}

cudaError_t cudaStreamQuery(cudaStream_t stream) {
    return runCall("cudaStreamQuery", {stream}, [=] { return checkStream(stream); });
}

#pragma once

#include <cuda_runtime_api.h>
#include <gpuruntime/device_properties.hpp>

namespace gpuruntime {

/// What the runtime tells about its current device, as the library reads it; the fields that the library
/// leaves to the engine are 0. Returns the runtime's status; at an error `properties` is as it was.
inline cudaError propertiesOfCurrentDevice(gpucommon::CUDADeviceProperties& properties) {
    int number = 0;
    cudaDeviceProp device{};
    cudaError status = cudaGetDevice(&number);
    if (status == cudaSuccess) status = cudaGetDeviceProperties(&device, number);
    if (status != cudaSuccess) return status;
    properties = {};
    properties.maxBlockDimY = static_cast<unsigned long>(device.maxThreadsDim[1]);
    properties.maxBlockDimZ = static_cast<unsigned long>(device.maxThreadsDim[2]);
    properties.maxGridDimX = static_cast<unsigned long>(device.maxGridSize[0]);
    properties.maxGridDimY = static_cast<unsigned long>(device.maxGridSize[1]);
    properties.maxGridDimZ = static_cast<unsigned long>(device.maxGridSize[2]);
    properties.multiProcessorCount = static_cast<unsigned long>(device.multiProcessorCount);
    properties.computeCapabilityMajor = static_cast<unsigned long>(device.major);
    return cudaSuccess;
}

/// Tells the library about the runtime's current device, as an engine does before the first family and again
/// whenever the current device changes, never while another thread is inside a family's call. Returns the
/// runtime's status; at an error nothing is stored. \throws std::bad_alloc; then too nothing is stored.
inline cudaError useCurrentDevice() {
    gpucommon::CUDADeviceProperties properties;
    cudaError const status = propertiesOfCurrentDevice(properties);
    if (status == cudaSuccess) internal::storeCurrentDeviceProperties(properties);
    return status;
}

}  // namespace gpuruntime

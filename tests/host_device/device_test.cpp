// Last error, the device and its streams.

#include <thread>

#include "host_device_fixture.hpp"

namespace {

using gpuruntime::hostdevice::Limits;
using gpuruntime::hostdevice::setLimits;

class LastError : public HostDevice {};
class Device : public HostDevice {};
class Streams : public HostDevice {};

TEST_F(LastError, isSuccessAtFirst) {
    EXPECT_EQ(cudaPeekAtLastError(), cudaSuccess);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(LastError, isKeptByPeekAndResetByGet) {
    EXPECT_EQ(cudaSetDevice(3), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaPeekAtLastError(), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaPeekAtLastError(), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(LastError, outlivesCallsThatSucceed) {
    EXPECT_EQ(cudaSetDevice(3), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
    EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidDevice);
}

TEST_F(LastError, isThatOfTheLatestFailure) {
    EXPECT_EQ(cudaSetDevice(3), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaGetDevice(nullptr), cudaErrorInvalidValue);
    EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidValue);
}

TEST_F(LastError, isEachThreadsOwn) {
    EXPECT_EQ(cudaSetDevice(3), cudaErrorInvalidDevice);
    std::thread([] {
        EXPECT_EQ(cudaPeekAtLastError(), cudaSuccess);
        EXPECT_EQ(cudaGetDevice(nullptr), cudaErrorInvalidValue);
        EXPECT_EQ(cudaPeekAtLastError(), cudaErrorInvalidValue);
    }).join();
    EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidDevice);
}

TEST_F(LastError, hasNameAndDescription) {
    EXPECT_STREQ(cudaGetErrorName(cudaSuccess), "cudaSuccess");
    EXPECT_STREQ(cudaGetErrorString(cudaSuccess), "no error");
    EXPECT_STREQ(cudaGetErrorName(cudaErrorInvalidConfiguration), "cudaErrorInvalidConfiguration");
    EXPECT_STREQ(cudaGetErrorString(cudaErrorInvalidConfiguration), "invalid configuration argument");
    EXPECT_STREQ(cudaGetErrorString(cudaErrorMemoryAllocation), "out of memory");
    EXPECT_STREQ(cudaGetErrorName(static_cast<cudaError_t>(998)), "unrecognized error code");
    EXPECT_STREQ(cudaGetErrorString(static_cast<cudaError_t>(998)), "unrecognized error code");
}

TEST_F(Device, isOneAndNumberedZero) {
    int count = -1;
    int device = -1;
    EXPECT_EQ(cudaGetDeviceCount(&count), cudaSuccess);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(cudaSetDevice(0), cudaSuccess);
    EXPECT_EQ(cudaGetDevice(&device), cudaSuccess);
    EXPECT_EQ(device, 0);
}

TEST_F(Device, otherNumberIsInvalid) {
    cudaDeviceProp properties;
    EXPECT_EQ(cudaSetDevice(1), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaSetDevice(-1), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaGetDeviceProperties(&properties, 1), cudaErrorInvalidDevice);
}

TEST_F(Device, nullResultIsInvalid) {
    EXPECT_EQ(cudaGetDeviceCount(nullptr), cudaErrorInvalidValue);
    EXPECT_EQ(cudaGetDevice(nullptr), cudaErrorInvalidValue);
    EXPECT_EQ(cudaGetDeviceProperties(nullptr, 0), cudaErrorInvalidValue);
}

TEST_F(Device, reportsDefaultLimits) {
    cudaDeviceProp properties;
    ASSERT_EQ(cudaGetDeviceProperties(&properties, 0), cudaSuccess);
    EXPECT_STREQ(properties.name, "host");
    EXPECT_EQ(properties.warpSize, 32);
    EXPECT_EQ(properties.maxThreadsPerBlock, 1024);
    EXPECT_EQ(properties.maxThreadsDim[0], 1024);
    EXPECT_EQ(properties.maxThreadsDim[1], 1024);
    EXPECT_EQ(properties.maxThreadsDim[2], 64);
    EXPECT_EQ(properties.maxGridSize[0], 2147483647);
    EXPECT_EQ(properties.maxGridSize[1], 65535);
    EXPECT_EQ(properties.maxGridSize[2], 65535);
    EXPECT_EQ(properties.sharedMemPerBlock, 49152U);
    EXPECT_GE(properties.multiProcessorCount, 1);
    EXPECT_GT(properties.totalGlobalMem, 0U);
}

TEST_F(Device, reportsLimitsThatAreSet) {
    Limits limits;
    limits.maxBlockDim = dim3(512, 256, 8);
    limits.maxThreadsPerBlock = 512;
    limits.maxGridDim = dim3(65535, 1000, 10);
    limits.multiProcessorCount = 13;
    limits.totalGlobalMem = 1 << 20;
    setLimits(limits);
    cudaDeviceProp properties;
    ASSERT_EQ(cudaGetDeviceProperties(&properties, 0), cudaSuccess);
    EXPECT_EQ(properties.maxThreadsDim[0], 512);
    EXPECT_EQ(properties.maxThreadsDim[1], 256);
    EXPECT_EQ(properties.maxThreadsDim[2], 8);
    EXPECT_EQ(properties.maxThreadsPerBlock, 512);
    EXPECT_EQ(properties.maxGridSize[0], 65535);
    EXPECT_EQ(properties.maxGridSize[1], 1000);
    EXPECT_EQ(properties.maxGridSize[2], 10);
    EXPECT_EQ(properties.multiProcessorCount, 13);
    EXPECT_EQ(properties.totalGlobalMem, 1U << 20);
    EXPECT_EQ(gpuruntime::hostdevice::limits().multiProcessorCount, 13U);
}

TEST_F(Streams, builtInOnesAreValid) {
    for (cudaStream_t stream : {cudaStream_t{nullptr}, cudaStreamLegacy, cudaStreamPerThread}) {
        EXPECT_EQ(cudaStreamSynchronize(stream), cudaSuccess);
        EXPECT_EQ(cudaStreamQuery(stream), cudaSuccess);
    }
}

TEST_F(Streams, createdOneIsValidUntilDestroyed) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    EXPECT_NE(stream, nullptr);
    EXPECT_EQ(cudaStreamSynchronize(stream), cudaSuccess);
    EXPECT_EQ(cudaStreamQuery(stream), cudaSuccess);
    EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
    EXPECT_EQ(cudaStreamSynchronize(stream), cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaStreamQuery(stream), cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaStreamDestroy(stream), cudaErrorInvalidResourceHandle);
}

TEST_F(Streams, twoAreDistinct) {
    cudaStream_t first = nullptr;
    cudaStream_t second = nullptr;
    ASSERT_EQ(cudaStreamCreateWithFlags(&first, cudaStreamDefault), cudaSuccess);
    ASSERT_EQ(cudaStreamCreateWithFlags(&second, cudaStreamNonBlocking), cudaSuccess);
    EXPECT_NE(first, second);
    EXPECT_EQ(cudaStreamDestroy(first), cudaSuccess);
    EXPECT_EQ(cudaStreamDestroy(second), cudaSuccess);
}

TEST_F(Streams, badArgumentsAreInvalid) {
    cudaStream_t stream = nullptr;
    EXPECT_EQ(cudaStreamCreate(nullptr), cudaErrorInvalidValue);
    EXPECT_EQ(cudaStreamCreateWithFlags(nullptr, cudaStreamNonBlocking), cudaErrorInvalidValue);
    EXPECT_EQ(cudaStreamCreateWithFlags(&stream, 2), cudaErrorInvalidValue);
    EXPECT_EQ(stream, nullptr);
}

TEST_F(Streams, builtInOnesCannotBeDestroyed) {
    EXPECT_EQ(cudaStreamDestroy(nullptr), cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaStreamDestroy(cudaStreamLegacy), cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaStreamDestroy(cudaStreamPerThread), cudaErrorInvalidResourceHandle);
}

}  // namespace

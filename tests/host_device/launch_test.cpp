// Kernels: names, attributes, launches and their errors.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "host_device_fixture.hpp"
#include "kernel_launch.hpp"

namespace {

using gpuruntime::backend::currentBlock;
using gpuruntime::backend::kernelOf;
using gpuruntime::hostdevice::Limits;
using gpuruntime::hostdevice::setLimits;

int notAStream;
cudaStream_t const unknownStream = reinterpret_cast<cudaStream_t>(&notAStream);

/// Counts its visits in the cell of its block.
void visit(unsigned int* visits) {
    auto const& [index, size, grid] = currentBlock;
    ++visits[(std::size_t{index.z} * grid.y + index.y) * grid.x + index.x];
}

/// As `visit`, and slow.
void visitSlowly(unsigned int* visits) {
    auto const end = std::chrono::steady_clock::now() + std::chrono::microseconds(30);
    while (std::chrono::steady_clock::now() < end) {
    }
    visit(visits);
}

/// Stores how the block was set up.
void storePosition(dim3* size, dim3* grid) {
    *size = currentBlock.size;
    *grid = currentBlock.grid;
}

std::atomic<int> numRuns{0};
void countRun() { ++numRuns; }

/// Changes its parameters, which are each block's own copies.
void storeSum(double2* out, double2 value, short addend) {
    value.x += addend;
    value.y -= addend;
    addend = 100;
    out[currentBlock.index.x] = value;
}

template <typename Function, typename... Parameters>
void functorKernel(unsigned int, Parameters...) {}
struct Negate {};

class Kernels : public HostDevice {};
class Launches : public HostDevice {
  protected:
    Launches() { numRuns = 0; }
};

TEST_F(Kernels, areNamedWithTheirTemplateArguments) {
    std::string const name = kernelOf<functorKernel<Negate, double*, float2>>.name;
    EXPECT_NE(name.find("functorKernel<"), std::string::npos) << name;
    EXPECT_NE(name.find("Negate, double*, float2>"), std::string::npos) << name;
    EXPECT_EQ(name.back(), '>');
    EXPECT_EQ(kernelOf<(functorKernel<Negate, double*, float2>)>.numParameters, 3U);
    EXPECT_EQ(kernelOf<countRun>.numParameters, 0U);
}

TEST_F(Kernels, allowTheDevicesThreadsPerBlock) {
    cudaFuncAttributes attributes;
    EXPECT_EQ(cudaFuncGetAttributes(&attributes, &kernelOf<countRun>), cudaSuccess);
    EXPECT_EQ(attributes.maxThreadsPerBlock, 1024);
}

TEST_F(Kernels, canHaveAnOwnLimitByName) {
    Limits limits;
    limits.kernelMaxThreadsPerBlock = 768;
    limits.kernels = {{"functorKernel", 256}, {"Kernel", 128}};
    setLimits(limits);
    cudaFuncAttributes attributes;
    EXPECT_EQ(cudaFuncGetAttributes(&attributes, &kernelOf<countRun>), cudaSuccess);
    EXPECT_EQ(attributes.maxThreadsPerBlock, 768);
    EXPECT_EQ(cudaFuncGetAttributes(&attributes, &kernelOf<functorKernel<Negate>>), cudaSuccess);
    EXPECT_EQ(attributes.maxThreadsPerBlock, 256);
}

TEST_F(Kernels, attributesOfAnythingElseAreInvalidAndNotWritten) {
    cudaFuncAttributes attributes;
    attributes.maxThreadsPerBlock = -7;
    std::uint64_t const notAKernel[2] = {0, 0};
    EXPECT_EQ(cudaFuncGetAttributes(&attributes, static_cast<void const*>(nullptr)),
              cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(cudaFuncGetAttributes(&attributes, &notAKernel[0]), cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(cudaFuncGetAttributes(&attributes, reinterpret_cast<char const*>(&kernelOf<countRun>) + 1),
              cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(cudaFuncGetAttributes(nullptr, &kernelOf<countRun>), cudaErrorInvalidValue);
    EXPECT_EQ(attributes.maxThreadsPerBlock, -7);
}

/// Launches over `grid` and expects every block to have run once.
template <auto kernel>
void expectEveryBlockOnce(dim3 grid, std::uint64_t work) {
    std::vector<unsigned int> visits(std::size_t{grid.x} * grid.y * grid.z, 0);
    unsigned int* cells = visits.data();
    void* arguments[] = {&cells};
    ASSERT_EQ(gpuruntime::hostdevice::launch(kernelOf<kernel>, grid, dim3(32), arguments, nullptr, work),
              cudaSuccess);
    EXPECT_EQ(std::count(visits.begin(), visits.end(), 1U), static_cast<std::ptrdiff_t>(visits.size()))
        << grid.x << " x " << grid.y << " x " << grid.z << ", work " << work;
}

TEST_F(Launches, runEveryBlockOnce) {
    for (dim3 grid : {dim3(1), dim3(2), dim3(1000), dim3(100000), dim3(1, 7), dim3(13, 70), dim3(1, 1, 5),
                      dim3(3, 5, 7), dim3(40, 30, 20), dim3(1, 65535), dim3(2, 1, 65535), dim3(64, 33),
                      dim3(65, 128, 3), dim3(63, 64, 2)}) {
        for (std::uint64_t work : {0, 1000, 32767, 32768, 1000000000}) {
            expectEveryBlockOnce<visit>(grid, work);
        }
    }
}

TEST_F(Launches, runEveryBlockOnceWhenSmallWorkTurnsOutLong) {
    expectEveryBlockOnce<visitSlowly>(dim3(50), 100);
    expectEveryBlockOnce<visitSlowly>(dim3(3, 5, 7), 100);
}

TEST_F(Launches, runEveryBlockOnceFromSeveralThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (std::uint64_t work : {100, 100000}) {
                expectEveryBlockOnce<visit>(dim3(40, 30, 20), work);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(Launches, tellBlocksTheirExtents) {
    dim3 size(0, 0, 0);
    dim3 grid(0, 0, 0);
    dim3* sizeOut = &size;
    dim3* gridOut = &grid;
    void* arguments[] = {&sizeOut, &gridOut};
    ASSERT_EQ(cudaLaunchKernel(&kernelOf<storePosition>, dim3(1, 1, 1), dim3(8, 4, 2), arguments),
              cudaSuccess);
    EXPECT_EQ(size.x, 8U);
    EXPECT_EQ(size.y, 4U);
    EXPECT_EQ(size.z, 2U);
    EXPECT_EQ(grid.x, 1U);
    EXPECT_EQ(grid.y, 1U);
    EXPECT_EQ(grid.z, 1U);
}

TEST_F(Launches, giveEveryBlockItsOwnCopyOfTheArguments) {
    std::vector<double2> out(5000);
    double2* pointer = out.data();
    double2 value = make_double2(1.5, 2.5);
    short addend = 2;
    void* arguments[] = {&pointer, &value, &addend};
    ASSERT_EQ(cudaLaunchKernel(&kernelOf<storeSum>, dim3(5000), dim3(64), arguments), cudaSuccess);
    for (double2 const& stored : out) {
        ASSERT_EQ(stored.x, 3.5);
        ASSERT_EQ(stored.y, 0.5);
    }
    EXPECT_EQ(value.x, 1.5);
    EXPECT_EQ(addend, 2);
}

TEST_F(Launches, withoutParametersNeedNoArguments) {
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(3, 2), dim3(1), nullptr), cudaSuccess);
    EXPECT_EQ(numRuns, 6);
}

TEST_F(Launches, acceptCreatedAndBuiltInStreams) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    for (cudaStream_t valid : {cudaStream_t{nullptr}, cudaStreamLegacy, cudaStreamPerThread, stream}) {
        EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(1), nullptr, 0, valid), cudaSuccess);
    }
    EXPECT_EQ(numRuns, 4);
    EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(1), nullptr, 0, stream),
              cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(1), nullptr, 0, unknownStream),
              cudaErrorInvalidResourceHandle);
    EXPECT_EQ(numRuns, 4);
}

TEST_F(Launches, ofAnythingButAKernelAreInvalid) {
    std::uint64_t const notAKernel[2] = {0, 0};
    EXPECT_EQ(cudaLaunchKernel(static_cast<void const*>(nullptr), dim3(1), dim3(1), nullptr, 0, nullptr),
              cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(cudaLaunchKernel(&notAKernel[0], dim3(1), dim3(1), nullptr), cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidDeviceFunction);
}

/// Expects a launch to fail with `status`, to leave it as the last error, and to run nothing.
void expectRefused(dim3 grid, dim3 block, cudaError status, std::size_t sharedMemory = 0) {
    numRuns = 0;
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, grid, block, nullptr, sharedMemory), status);
    EXPECT_EQ(cudaGetLastError(), status);
    EXPECT_EQ(numRuns, 0);
}

TEST_F(Launches, withAnExtentOfZeroAreInvalid) {
    expectRefused(dim3(0, 1, 1), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1, 0, 1), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1, 1, 0), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(0, 1, 1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(1, 0, 1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(1, 1, 0), cudaErrorInvalidConfiguration);
}

TEST_F(Launches, beyondTheDevicesLimitsAreInvalid) {
    expectRefused(dim3(2147483648U), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1, 65536), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1, 1, 65536), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(1025), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(1, 1025), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(1, 1, 65), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(32, 33), cudaErrorInvalidConfiguration);
    expectRefused(dim3(4294967295U, 4294967295U, 4294967295U), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(4294967295U, 4294967295U, 4294967295U), cudaErrorInvalidConfiguration);
}

TEST_F(Launches, atTheDevicesLimitsRun) {
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(1024), nullptr), cudaSuccess);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(1, 1024), nullptr), cudaSuccess);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(4, 4, 64), nullptr), cudaSuccess);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1, 65535), dim3(1), nullptr, 49152), cudaSuccess);
    EXPECT_EQ(numRuns, 3 + 65535);
}

TEST_F(Launches, followLimitsThatAreSet) {
    Limits limits;
    limits.maxGridDim = dim3(10, 20, 30);
    limits.maxBlockDim = dim3(64, 32, 2);
    limits.maxThreadsPerBlock = 128;
    setLimits(limits);
    expectRefused(dim3(11), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1, 21), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1, 1, 31), dim3(1), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(65), cudaErrorInvalidConfiguration);
    expectRefused(dim3(1), dim3(64, 4), cudaErrorInvalidConfiguration);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(10, 20, 30), dim3(64, 2), nullptr), cudaSuccess);
    EXPECT_EQ(numRuns, 6000);
}

TEST_F(Launches, withMoreThreadsThanTheKernelAllowsLackResources) {
    Limits limits;
    limits.kernels = {{"countRun", 256}};
    setLimits(limits);
    expectRefused(dim3(1), dim3(257), cudaErrorLaunchOutOfResources);
    expectRefused(dim3(1), dim3(1025), cudaErrorInvalidConfiguration);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(256), nullptr), cudaSuccess);
    EXPECT_EQ(numRuns, 1);
}

TEST_F(Launches, withMoreSharedMemoryThanABlockHasAreInvalid) {
    expectRefused(dim3(1), dim3(1), cudaErrorInvalidValue, 49153);
}

TEST_F(Launches, withoutTheArgumentsOfTheirParametersAreInvalid) {
    double2 out = make_double2(0, 0);
    double2* pointer = &out;
    short addend = 1;
    void* arguments[] = {&pointer, nullptr, &addend};
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<storeSum>, dim3(1), dim3(1), nullptr), cudaErrorInvalidValue);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<storeSum>, dim3(1), dim3(1), arguments), cudaErrorInvalidValue);
    EXPECT_EQ(out.x, 0);
}

}  // namespace

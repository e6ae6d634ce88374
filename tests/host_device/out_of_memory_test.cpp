// Runtime calls that find no memory for their own work.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "device_memory.hpp"
#include "host_device_fixture.hpp"
#include "kernel_launch.hpp"
#include "tests/support/failing_new.hpp"

namespace gpuruntime {
namespace {

using testing::failEachNew;

class OutOfMemory : public HostDevice {};

void doNothing(int*) {}

TEST_F(OutOfMemory, AnAllocationFailsAndLeavesNothingBehind) {
    auto const before = hostdevice::deviceMemory();
    int numFailures = 0;
    void* memory = &numFailures;
    cudaError status = cudaSuccess;
    failEachNew([&] { status = cudaMalloc(&memory, 1000); },
                [&](bool thrown) {
                    ++numFailures;
                    EXPECT_FALSE(thrown);
                    EXPECT_EQ(cudaErrorMemoryAllocation, status);
                    EXPECT_EQ(cudaErrorMemoryAllocation, cudaGetLastError());
                    EXPECT_EQ(&numFailures, memory);
                    EXPECT_EQ(before, hostdevice::deviceMemory());
                });
    EXPECT_GT(numFailures, 0);
    EXPECT_EQ(cudaSuccess, status);
    EXPECT_EQ(cudaSuccess, cudaFree(memory));
}

TEST_F(OutOfMemory, AStreamThatIsNotCreatedIsNoStream) {
    int numFailures = 0;
    cudaStream_t stream = nullptr;
    cudaError status = cudaSuccess;
    failEachNew([&] { status = cudaStreamCreate(&stream); },
                [&](bool thrown) {
                    ++numFailures;
                    EXPECT_FALSE(thrown);
                    EXPECT_EQ(cudaErrorMemoryAllocation, status);
                    EXPECT_EQ(nullptr, stream);
                });
    EXPECT_GT(numFailures, 0);
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_F(OutOfMemory, NoCallThrows) {
    std::vector<unsigned char> from(1u << 22), to(1u << 22);
    int argument = 0, *pointer = &argument;
    void* arguments[] = {&pointer};
    cudaDeviceProp properties;
    cudaFuncAttributes attributes;
    int number = 0;
    std::vector<std::pair<std::string, std::function<cudaError()>>> const calls{
        {"copy", [&] { return cudaMemcpy(to.data(), from.data(), to.size(), cudaMemcpyHostToDevice); }},
        {"fill", [&] { return cudaMemset(to.data(), 1, to.size()); }},
        {"launch",
         [&] {
             return cudaLaunchKernel(&backend::kernelOf<doNothing>, {10000, 1, 1}, {64, 1, 1}, arguments, 0,
                                     nullptr);
         }},
        {"attributes", [&] { return cudaFuncGetAttributes(&attributes, &backend::kernelOf<doNothing>); }},
        {"properties", [&] { return cudaGetDeviceProperties(&properties, 0); }},
        {"device", [&] { return cudaGetDevice(&number); }},
        {"count", [&] { return cudaGetDeviceCount(&number); }},
        {"synchronize", [&] { return cudaDeviceSynchronize(); }},
        {"free", [&] { return cudaFree(nullptr); }},
    };
    for (auto const& [name, call] : calls) {
        SCOPED_TRACE(name);
        for (bool isRecorded : {false, true}) {
            std::unique_ptr<hostdevice::Recording> recording;
            if (isRecorded) recording = std::make_unique<hostdevice::Recording>();
            cudaError status = cudaSuccess;
            failEachNew([&] { status = call(); },
                        [&](bool thrown) {
                            EXPECT_FALSE(thrown);
                            EXPECT_TRUE(status == cudaSuccess || status == cudaErrorMemoryAllocation);
                        });
            EXPECT_EQ(cudaSuccess, status);
        }
    }
}

TEST_F(OutOfMemory, AnAllocationThatCannotBeRecordedIsMadeAndToldOfByItsStatus) {
    hostdevice::Recording const recording;
    auto const before = hostdevice::deviceMemory();
    void* memory = nullptr;
    cudaError status = cudaSuccess;
    failEachNew([&] { status = cudaMalloc(&memory, 1000); },
                [&](bool thrown) {
                    EXPECT_FALSE(thrown);
                    if (status == cudaSuccess) {
                        EXPECT_EQ(cudaSuccess, cudaFree(memory));
                    }
                    EXPECT_EQ(before, hostdevice::deviceMemory());
                });
    EXPECT_EQ(cudaSuccess, cudaFree(memory));
}

}  // namespace
}  // namespace gpuruntime

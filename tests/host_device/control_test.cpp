// Failures on purpose, and recordings.

#include <string>
#include <thread>
#include <vector>

#include "host_device_fixture.hpp"
#include "kernel_launch.hpp"

namespace {

using gpuruntime::backend::kernelOf;
using gpuruntime::hostdevice::Call;
using gpuruntime::hostdevice::clearFailures;
using gpuruntime::hostdevice::failNextCall;
using gpuruntime::hostdevice::Launch;
using gpuruntime::hostdevice::Recording;
using gpuruntime::hostdevice::SymbolRegistration;

int runs = 0;
void countRun() { ++runs; }

int flag = 0;
SymbolRegistration const flagRegistration(&flag, sizeof flag, "flag");

class Failures : public HostDevice {
  protected:
    Failures() {
        runs = 0;
        flag = 0;
    }
};
class Recordings : public Failures {};

TEST_F(Failures, happenOnceAndLeaveTheLastError) {
    failNextCall("cudaDeviceSynchronize", cudaErrorLaunchFailure);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorLaunchFailure);
    EXPECT_EQ(cudaPeekAtLastError(), cudaErrorLaunchFailure);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
    EXPECT_EQ(cudaGetLastError(), cudaErrorLaunchFailure);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(Failures, passOverCallsOfOtherNames) {
    failNextCall("cudaStreamSynchronize", cudaErrorUnknown);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
    EXPECT_EQ(cudaStreamQuery(nullptr), cudaSuccess);
    EXPECT_EQ(cudaStreamSynchronize(nullptr), cudaErrorUnknown);
}

TEST_F(Failures, countCallsOfTheirName) {
    failNextCall("cudaDeviceSynchronize", cudaErrorUnknown, 2);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
    EXPECT_EQ(cudaStreamQuery(nullptr), cudaSuccess);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorUnknown);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
}

TEST_F(Failures, ofAnyNameCountEveryCall) {
    failNextCall("*", cudaErrorNoDevice, 2);
    int device = -1;
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
    EXPECT_EQ(cudaStreamQuery(nullptr), cudaSuccess);
    EXPECT_EQ(cudaGetDevice(&device), cudaErrorNoDevice);
    EXPECT_EQ(device, -1);
    EXPECT_EQ(cudaGetDevice(&device), cudaSuccess);
}

TEST_F(Failures, canFollowOneAnother) {
    failNextCall("cudaDeviceSynchronize", cudaErrorUnknown, 0);
    failNextCall("cudaDeviceSynchronize", cudaErrorLaunchTimeout, 1);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorUnknown);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorLaunchTimeout);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
}

TEST_F(Failures, thatMeetInOneCallGiveTheFirstSetStatus) {
    failNextCall("*", cudaErrorUnknown);
    failNextCall("cudaDeviceSynchronize", cudaErrorLaunchTimeout);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorUnknown);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
}

TEST_F(Failures, tellWhetherTheyHappenedWhenCleared) {
    failNextCall("cudaDeviceSynchronize", cudaErrorUnknown);
    failNextCall("cudaDeviceSynchronize", cudaErrorUnknown, 1);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorUnknown);
    EXPECT_EQ(clearFailures(), 1U);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
    EXPECT_EQ(clearFailures(), 0U);
}

TEST_F(Failures, doNotTouchTheReadingOfTheLastError) {
    failNextCall("*", cudaErrorUnknown);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
    EXPECT_EQ(cudaPeekAtLastError(), cudaSuccess);
    EXPECT_STREQ(cudaGetErrorName(cudaErrorUnknown), "cudaErrorUnknown");
    EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorUnknown);
}

TEST_F(Failures, countCallsOfAllThreads) {
    failNextCall("cudaDeviceSynchronize", cudaErrorUnknown, 1);
    EXPECT_EQ(cudaDeviceSynchronize(), cudaSuccess);
    std::thread([] { EXPECT_EQ(cudaDeviceSynchronize(), cudaErrorUnknown); }).join();
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(Failures, ofALaunchRunNothing) {
    failNextCall("cudaLaunchKernel", cudaErrorLaunchFailure);
    EXPECT_EQ(cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(1), nullptr), cudaErrorLaunchFailure);
    EXPECT_EQ(runs, 0);
    EXPECT_EQ(gpuruntime::hostdevice::launch(kernelOf<countRun>, 1, 1, nullptr, nullptr, 1), cudaSuccess);
    EXPECT_EQ(runs, 1);
}

TEST_F(Failures, ofAllocationCopyAndAttributesChangeNothing) {
    int const one = 1;
    int target = 0;
    void* memory = &target;
    cudaFuncAttributes attributes;
    attributes.maxThreadsPerBlock = -7;
    failNextCall("cudaMalloc", cudaErrorMemoryAllocation);
    failNextCall("cudaMemcpy", cudaErrorIllegalAddress);
    failNextCall("cudaMemset", cudaErrorIllegalAddress);
    failNextCall("cudaMemcpyToSymbolAsync", cudaErrorIllegalAddress);
    failNextCall("cudaMemcpyFromSymbolAsync", cudaErrorIllegalAddress);
    failNextCall("cudaFuncGetAttributes", cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(cudaMalloc(&memory, 8), cudaErrorMemoryAllocation);
    EXPECT_EQ(cudaMemcpy(&target, &one, sizeof one, cudaMemcpyHostToDevice), cudaErrorIllegalAddress);
    EXPECT_EQ(cudaMemset(&target, 1, sizeof target), cudaErrorIllegalAddress);
    EXPECT_EQ(cudaMemcpyToSymbolAsync(flag, &one, sizeof one), cudaErrorIllegalAddress);
    EXPECT_EQ(cudaMemcpyFromSymbolAsync(&target, flag, sizeof target), cudaErrorIllegalAddress);
    EXPECT_EQ(cudaFuncGetAttributes(&attributes, &kernelOf<countRun>), cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(memory, &target);
    EXPECT_EQ(target, 0);
    EXPECT_EQ(flag, 0);
    EXPECT_EQ(attributes.maxThreadsPerBlock, -7);
    EXPECT_EQ(clearFailures(), 0U);
}

std::vector<std::string> names(std::vector<Call> const& calls) {
    std::vector<std::string> result;
    for (Call const& call : calls) {
        result.push_back(call.name);
    }
    return result;
}

TEST_F(Recordings, keepCallsInOrder) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    int const one = 1;
    int target = 0;
    Recording const recording;
    cudaMemcpyToSymbolAsync(flag, &one, sizeof one, 0, cudaMemcpyHostToDevice, stream);
    cudaLaunchKernel(&kernelOf<countRun>, dim3(2, 3), dim3(32), nullptr, 0, stream);
    cudaMemcpyFromSymbolAsync(&target, flag, sizeof target, 0, cudaMemcpyDeviceToHost, stream);
    cudaStreamSynchronize(stream);
    cudaMemcpy(&target, nullptr, 12, cudaMemcpyHostToDevice);
    cudaGetLastError();

    std::vector<Call> const calls = recording.calls();
    EXPECT_EQ(names(calls), (std::vector<std::string>{"cudaMemcpyToSymbolAsync", "cudaLaunchKernel",
                                                      "cudaMemcpyFromSymbolAsync", "cudaStreamSynchronize",
                                                      "cudaMemcpy", "cudaGetLastError"}));
    ASSERT_EQ(calls.size(), 6U);
    EXPECT_EQ(calls[0].status, cudaSuccess);
    EXPECT_EQ(calls[0].stream, stream);
    EXPECT_EQ(calls[0].bytes, 4U);
    EXPECT_EQ(calls[0].symbol, "flag");
    EXPECT_EQ(calls[1].stream, stream);
    EXPECT_EQ(calls[1].bytes, 0U);
    EXPECT_NE(calls[1].symbol.find("countRun"), std::string::npos);
    EXPECT_EQ(calls[2].symbol, "flag");
    EXPECT_EQ(calls[3].stream, stream);
    EXPECT_EQ(calls[3].symbol, "");
    EXPECT_EQ(calls[4].status, cudaErrorInvalidValue);
    EXPECT_EQ(calls[4].stream, nullptr);
    EXPECT_EQ(calls[4].bytes, 12U);
    EXPECT_EQ(calls[5].status, cudaErrorInvalidValue);
    EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
}

TEST_F(Recordings, keepLaunchesWithTheirShape) {
    Recording const recording;
    cudaLaunchKernel(&kernelOf<countRun>, dim3(2, 3, 4), dim3(32, 16, 2), nullptr, 0, cudaStreamPerThread);
    cudaLaunchKernel(&kernelOf<countRun>, dim3(0), dim3(32), nullptr);

    std::vector<Launch> const launches = recording.launches();
    ASSERT_EQ(launches.size(), 2U);
    EXPECT_NE(launches[0].kernel.find("countRun"), std::string::npos);
    EXPECT_EQ(launches[0].grid.x, 2U);
    EXPECT_EQ(launches[0].grid.y, 3U);
    EXPECT_EQ(launches[0].grid.z, 4U);
    EXPECT_EQ(launches[0].block.x, 32U);
    EXPECT_EQ(launches[0].block.y, 16U);
    EXPECT_EQ(launches[0].block.z, 2U);
    EXPECT_EQ(launches[0].stream, cudaStreamPerThread);
    EXPECT_EQ(launches[0].status, cudaSuccess);
    EXPECT_EQ(launches[1].grid.x, 0U);
    EXPECT_EQ(launches[1].status, cudaErrorInvalidConfiguration);
}

TEST_F(Recordings, keepInjectedFailures) {
    Recording const recording;
    failNextCall("cudaLaunchKernel", cudaErrorLaunchFailure);
    cudaLaunchKernel(&kernelOf<countRun>, dim3(1), dim3(1), nullptr);
    ASSERT_EQ(recording.calls().size(), 1U);
    EXPECT_EQ(recording.calls()[0].status, cudaErrorLaunchFailure);
    ASSERT_EQ(recording.launches().size(), 1U);
    EXPECT_EQ(recording.launches()[0].status, cudaErrorLaunchFailure);
}

TEST_F(Recordings, holdOnlyWhatHappensWhileTheyLive) {
    cudaDeviceSynchronize();
    Recording const outer;
    EXPECT_TRUE(outer.calls().empty());
    cudaStreamQuery(nullptr);
    {
        Recording const inner;
        cudaDeviceSynchronize();
        EXPECT_EQ(names(inner.calls()), (std::vector<std::string>{"cudaDeviceSynchronize"}));
    }
    cudaStreamSynchronize(nullptr);
    EXPECT_EQ(names(outer.calls()), (std::vector<std::string>{"cudaStreamQuery", "cudaDeviceSynchronize",
                                                              "cudaStreamSynchronize"}));
}

TEST_F(Recordings, holdCallsOfAllThreads) {
    Recording const recording;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int j = 0; j < 50; ++j) {
                cudaStreamQuery(nullptr);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(recording.calls().size(), 200U);
}

}  // namespace

// What grouping asks of the runtime, and what is left when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/grouping.hpp>
#include <host_device.hpp>

#include <string>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class GroupingCalls : public ::testing::Test {
  protected:
    GroupingCalls() : data({0, 1, 2}), starts({1}), flags(3) {
        EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream));
        reset();
    }
    ~GroupingCalls() override {
        reset();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    cudaError find(unsigned long n) {
        return FindGroupsUniquetol::Invoker<float>()(stream, n, flags.data(), data.data(), 0.5);
    }
    cudaError refine(unsigned long numGroups) {
        return RefineGroupsUniquetol::Invoker<float>()(stream, numGroups, 3, flags.data(), starts.data(),
                                                       data.data(), 0.5);
    }

    DeviceArray<float> data;
    DeviceArray<double> starts;
    DeviceArray<bool> flags;
    cudaStream_t stream = nullptr;

  private:
    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
};

TEST_F(GroupingCalls, EachStepIsOneLaunchOnTheStream) {
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, find(3));
    EXPECT_EQ(cudaSuccess, refine(1));
    auto const launches = recording.launches();
    ASSERT_EQ(2u, launches.size());
    EXPECT_NE(std::string::npos, launches[0].kernel.find("FindGroupsKernel<float>"));
    EXPECT_NE(std::string::npos, launches[1].kernel.find("RefineGroupsKernel<float>"));
    for (auto const& launch : launches) EXPECT_EQ(stream, launch.stream);
    EXPECT_EQ(4u, recording.calls().size());  // and the attributes of both
}

TEST_F(GroupingCalls, NothingIsCalledForNothing) {
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, find(0));
    EXPECT_EQ(cudaSuccess, refine(0));
    EXPECT_TRUE(recording.calls().empty());
}

TEST_F(GroupingCalls, AFailedLaunchIsTheStatusAndWritesNothing) {
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, find(3));
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, refine(1));
    EXPECT_TRUE(flags.untouched());
}

}  // namespace
}  // namespace gpuruntime

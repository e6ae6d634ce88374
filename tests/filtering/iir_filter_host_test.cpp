// What IIRFilter asks of the runtime, and what it leaves undone when it fails.

#include <gtest/gtest.h>
#include <host_device.hpp>

#include <string>

#include "tests/filtering/iir_filter_call.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::filter;
using testing::FilterCall;

class IIRFilterCalls : public ::testing::Test {
  protected:
    ~IIRFilterCalls() override {
        EXPECT_EQ(0u, hostdevice::clearFailures());
        cudaGetLastError();
    }

    /// Signals of two samples.
    cudaError call(unsigned int numSignals, unsigned int numPages) {
        return filter(2, FilterCall<double>{out.data(), final.data(), one.data(), one.data(), in.data(),
                                            nullptr, 1, 1, 2, numSignals, numSignals, numPages, 0});
    }

    DeviceArray<double> one{1}, in = DeviceArray<double>(2 * 65 * 3), out = DeviceArray<double>(2 * 65 * 3),
                                final = DeviceArray<double>(2 * 65 * 3);
};

TEST_F(IIRFilterCalls, HaveABlockFor64SignalsOfAPage) {
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, call(65, 3));
    ASSERT_EQ(1u, recording.calls().size());
    auto const launch = recording.launches().at(0);
    EXPECT_NE(std::string::npos, launch.kernel.find("IIRFilterKernel<double, 2>")) << launch.kernel;
    EXPECT_EQ(2u, launch.grid.x);
    EXPECT_EQ(3u, launch.grid.y);
    EXPECT_EQ(64u, launch.block.x);
    EXPECT_EQ(1u, launch.block.y);
}

TEST_F(IIRFilterCalls, WithoutSignalsDoNothing) {
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, call(0, 3));
    EXPECT_EQ(cudaSuccess, call(65, 0));
    EXPECT_TRUE(recording.calls().empty());
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(final.untouched());
}

TEST_F(IIRFilterCalls, ReturnTheStatusOfALaunchThatFails) {
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, call(65, 3));
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(final.untouched());
}

}  // namespace
}  // namespace gpuruntime

// What ranges and fills ask of the runtime, and what they leave behind when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/fills.hpp>
#include <gpuruntime/ranges.hpp>
#include <host_device.hpp>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

struct Family {
    std::string name;
    std::function<void(unsigned long n, double* out, CUstream_st* stream)> call;
};

// One element more than a block has threads.
constexpr unsigned long size = 257;

DeviceArray<double>& positions() {
    static DeviceArray<double> array(std::vector<double>(size, 1));
    return array;
}

std::vector<Family> const families{
    {"ColonKernel",
     [](auto n, auto* out, auto* stream) { Colon::Invoker<double>()(stream, n, out, 0, 1, 3); }},
    {"IntColonKernel",
     [](auto n, auto* out, auto* stream) { IntColon::Invoker<double>()(stream, n, out, 0, 1); }},
    {"LinlogspaceKernel",
     [](auto n, auto* out, auto* stream) { Linspace::Invoker<double>()(stream, n, out, 0, 1); }},
    {"LinlogspaceKernel",
     [](auto n, auto* out, auto* stream) { Logspace::Invoker<double>()(stream, n, out, 0, 1); }},
    {"EyeKernel", [](auto n, auto* out, auto* stream) { Eye::Invoker<double>()(stream, n, out, 0); }},
    {"GenericOnesKernel",
     [](auto n, auto* out, auto* stream) {
         GenericOnes::Invoker<unsigned long>()(stream, n, reinterpret_cast<unsigned long*>(out), 1);
     }},
    {"FillArrayWithRunningIndexKernel",
     [](auto n, auto* out, auto* stream) {
         FillArrayWithRunningIndex::Invoker<double>()(stream, n, out, 1, 2, 0);
     }},
    {"FillMovVectorKernel", [](auto n, auto* out, auto* stream) {
         movfun::FillMovVector::Invoker<double>()(stream, n, out, positions().data(), 5, 2, 1, 1);
     }}};

class RangesAndFills : public ::testing::TestWithParam<Family> {
  protected:
    RangesAndFills() { reset(); }
    ~RangesAndFills() override { reset(); }

    static void expectExtents(dim3 expected, dim3 actual) {
        EXPECT_EQ(expected.x, actual.x);
        EXPECT_EQ(expected.y, actual.y);
        EXPECT_EQ(expected.z, actual.z);
    }

  private:
    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
};

TEST_P(RangesAndFills, LaunchTheirKernelOnceOnTheCallersStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    DeviceArray<double> out(size);
    positions();
    {
        hostdevice::Recording const recording;
        GetParam().call(size, out.data(), stream);
        auto const calls = recording.calls();
        ASSERT_EQ(2u, calls.size());
        EXPECT_EQ("cudaFuncGetAttributes", calls[0].name);
        EXPECT_EQ("cudaLaunchKernel", calls[1].name);
        EXPECT_EQ(stream, calls[1].stream);
        auto const launch = recording.launches().at(0);
        EXPECT_NE(std::string::npos, launch.kernel.find("elementwisedetail::singleStepKernel<"));
        EXPECT_NE(std::string::npos, launch.kernel.find(GetParam().name));
        expectExtents({2, 1, 1}, launch.grid);
        expectExtents({256, 1, 1}, launch.block);
    }
    EXPECT_FALSE(out.untouched());
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_P(RangesAndFills, CallNothingWithoutElements) {
    DeviceArray<double> out(4);
    positions();
    hostdevice::Recording const recording;
    GetParam().call(0, out.data(), nullptr);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_P(RangesAndFills, LeaveAFailedLaunchToTheRuntimesLastError) {
    DeviceArray<double> out(4);
    positions();
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchFailure);
    GetParam().call(4, out.data(), nullptr);
    EXPECT_EQ(cudaErrorLaunchFailure, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

TEST_P(RangesAndFills, LeaveFailedAttributesToTheRuntimesLastError) {
    DeviceArray<double> out(4);
    positions();
    hostdevice::failNextCall("cudaFuncGetAttributes", cudaErrorUnknown);
    GetParam().call(4, out.data(), nullptr);
    EXPECT_NE(cudaSuccess, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
}

TEST(RangesAndFillsDeathTest, AnArrayThatTheDeviceCannotReachIsAnAccessFault) {
    EXPECT_DEATH(Colon::Invoker<double>()(nullptr, 4, nullptr, 0, 1, 3), "");
}

INSTANTIATE_TEST_SUITE_P(All, RangesAndFills, ::testing::ValuesIn(families),
                         [](auto const& info) { return info.param.name + std::to_string(info.index); });

}  // namespace
}  // namespace gpuruntime

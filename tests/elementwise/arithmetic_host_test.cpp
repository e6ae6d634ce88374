// What the arithmetic families ask of the runtime, and what they leave behind when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/arithmetic.hpp>
#include <host_device.hpp>

#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

// One element more than a block has threads.
constexpr unsigned long size = 257;

struct Family {
    std::string kernel;
    std::function<void(unsigned long n, double* data, double const* in, CUstream_st* stream)> call;
};

template <class InPlace>
auto withScalar() {
    return [](unsigned long n, double* data, double const*, CUstream_st* stream) {
        typename InPlace::template Invoker<double>()(stream, data, 3, n);
    };
}

std::vector<Family> const families{
    {"TimesInplaceKernel<double>", withScalar<TimesInplace>()},
    {"ReciprocalTimesInplaceKernel<double>", withScalar<ReciprocalTimesInplace>()},
    {"ScaleInplaceKernel<double>", withScalar<ScaleInplace>()},
    {"NormalizeInplaceKernel<double>", withScalar<ScaleByDoubleInplace>()},
    {"NormalizeInplaceKernel<double>",
     [](auto n, auto* data, auto*, auto* stream) {
         NormalizeInplace::Invoker<double>()(stream, data, 1, 2, n);
     }},
    {"MulAddInplaceKernel<double>",
     [](auto n, auto* data, auto*, auto* stream) {
         MulAddByDoubleInplace::Invoker<double>()(stream, data, 1, 2, n);
     }},
    {"NanToZeroInplaceKernel<double>",
     [](auto n, auto* data, auto*, auto* stream) { NanToZeroInplace::Invoker<double>()(stream, data, n); }},
    {"AbsKernel<double>",
     [](auto n, auto* data, auto* in, auto* stream) { Abs::Invoker<double>()(stream, data, in, n); }},
    {"AbsPowerKernel<double>",
     [](auto n, auto* data, auto* in, auto* stream) { AbsPower::Invoker<double>()(stream, data, in, 2, n); }},
    {"DiffKernel<double>",
     [](auto n, auto* data, auto* in, auto* stream) { Diff::Invoker<double>()(stream, data, in, 1, n, n); }}};

class ArithmeticCalls : public ::testing::TestWithParam<Family> {
  protected:
    ArithmeticCalls() : in(std::vector<double>(size + 1, 5)), data(std::vector<double>(size, nan)) {}
    ~ArithmeticCalls() override {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
    void expectUntouched() {
        testing::expectSameBits(std::vector<double>(size + 1, 5), in.values());
        testing::expectSameBits(std::vector<double>(size, nan), data.values());
    }

    static constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    DeviceArray<double> in, data;
};

TEST_P(ArithmeticCalls, LaunchTheirKernelOnceOnTheCallersStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    {
        hostdevice::Recording const recording;
        GetParam().call(size, data.data(), in.data(), stream);
        auto const calls = recording.calls();
        ASSERT_EQ(2u, calls.size());
        EXPECT_EQ("cudaFuncGetAttributes", calls[0].name);
        EXPECT_EQ("cudaLaunchKernel", calls[1].name);
        EXPECT_EQ(stream, calls[1].stream);
        auto const launch = recording.launches().at(0);
        EXPECT_NE(std::string::npos, launch.kernel.find("elementwisedetail::singleStepKernel<"));
        EXPECT_NE(std::string::npos, launch.kernel.find("}::" + GetParam().kernel)) << launch.kernel;
        EXPECT_EQ(2u, launch.grid.x);
    }
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_P(ArithmeticCalls, CallNothingWithoutElements) {
    hostdevice::Recording const recording;
    GetParam().call(0, data.data(), in.data(), nullptr);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_P(ArithmeticCalls, LeaveEveryFailureToTheRuntimesLastError) {
    for (char const* call : {"cudaFuncGetAttributes", "cudaLaunchKernel"}) {
        hostdevice::failNextCall(call, cudaErrorUnknown);
        GetParam().call(size, data.data(), in.data(), nullptr);
        EXPECT_EQ(0u, hostdevice::clearFailures());
        EXPECT_NE(cudaSuccess, cudaGetLastError());
        expectUntouched();
    }
}

INSTANTIATE_TEST_SUITE_P(All, ArithmeticCalls, ::testing::ValuesIn(families),
                         [](auto const& info) { return "Family" + std::to_string(info.index); });

class NormCorrection : public ::testing::Test {
  protected:
    ~NormCorrection() override {
        hostdevice::clearFailures();
        cudaGetLastError();
    }

    static constexpr double infinity = std::numeric_limits<double>::infinity();
    DeviceArray<double> in{std::vector<double>(size, std::numeric_limits<double>::quiet_NaN())},
        norm{infinity};
};

TEST_F(NormCorrection, CopiesTheNormToTheSymbolAndLaunches) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    {
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess, NormCorrectInfNaN::Invoker<double>()(stream, norm.data(), in.data(), size));
        auto const calls = recording.calls();
        ASSERT_EQ(3u, calls.size());
        EXPECT_EQ("cudaMemcpyToSymbolAsync", calls[0].name);
        EXPECT_EQ("C_NORM_RESULT", calls[0].symbol);
        EXPECT_EQ(sizeof(double), calls[0].bytes);
        EXPECT_EQ(stream, calls[0].stream);
        EXPECT_EQ("cudaFuncGetAttributes", calls[1].name);
        EXPECT_EQ("cudaLaunchKernel", calls[2].name);
        EXPECT_EQ(stream, calls[2].stream);
        EXPECT_NE(std::string::npos,
                  recording.launches().at(0).kernel.find("NormCorrectInfToNaNKernel<double>"));
    }
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_F(NormCorrection, WithoutElementsIsTheCopyAlone) {
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, NormCorrectInfNaN::Invoker<double>()(nullptr, norm.data(), in.data(), 0));
    ASSERT_EQ(1u, recording.calls().size());
    hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown);
    EXPECT_EQ(cudaErrorUnknown, NormCorrectInfNaN::Invoker<double>()(nullptr, norm.data(), in.data(), 0));
}

TEST_F(NormCorrection, ReturnsTheStatusOfAFailure) {
    hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown);
    {
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaErrorUnknown,
                  NormCorrectInfNaN::Invoker<double>()(nullptr, norm.data(), in.data(), size));
        EXPECT_TRUE(recording.launches().empty());
    }
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    EXPECT_EQ(cudaErrorLaunchOutOfResources,
              NormCorrectInfNaN::Invoker<double>()(nullptr, norm.data(), in.data(), size));
    testing::expectSameBits({infinity}, norm.values());
}

template <class Family>
void expectMatrixPowerCalls(std::string const& kernel) {
    unsigned long const n = 3;
    DeviceArray<double> vectors(std::vector<double>(n * n, 2)), values(std::vector<double>(n, 3)), out(n * n);
    auto const call = [&](unsigned long columns) {
        typename Family::template Invoker<double>()(nullptr, out.data(), vectors.data(), values.data(), 2,
                                                    columns);
    };
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorUnknown);
    call(n);
    EXPECT_EQ(cudaErrorUnknown, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
    hostdevice::Recording const recording;
    call(n);
    call(0);
    auto const calls = recording.calls();
    ASSERT_EQ(2u, calls.size());
    EXPECT_EQ("cudaFuncGetAttributes", calls[0].name);
    EXPECT_EQ("cudaLaunchKernel", calls[1].name);
    auto const launch = recording.launches().at(0);
    EXPECT_NE(std::string::npos, launch.kernel.find("fixednumblocksdetail::singleStepKernel<"))
        << launch.kernel;
    EXPECT_NE(std::string::npos, launch.kernel.find(kernel)) << launch.kernel;
    EXPECT_EQ(n, launch.grid.x);
    EXPECT_EQ(256u, launch.block.x);
}

TEST(MatrixPowerCalls, AreOneLaunchOfABlockForEachColumn) {
    expectMatrixPowerCalls<MPowerMatrixScalar>("MPowerMatrixScalarKernel<double>");
    expectMatrixPowerCalls<MPowerScalarMatrix>("MPowerScalarMatrixKernel<double>");
}

}  // namespace
}  // namespace gpuruntime

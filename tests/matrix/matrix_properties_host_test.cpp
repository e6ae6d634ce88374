// What the tests of a matrix ask of the runtime, and what they answer when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/matrix_properties.hpp>
#include <host_device.hpp>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

struct Property {
    std::string kernel;
    std::vector<std::string> flags;
    unsigned int ofFull, onFailure;
    std::function<unsigned int(double const* in, unsigned long n, CUstream_st* stream)> ask;
};

/// The columns and rows of a full matrix of 3 by 3 in compressed columns.
struct Compressed {
    DeviceArray<int> starts{0, 3, 6, 9}, rows{0, 1, 2, 0, 1, 2, 0, 1, 2};
};

std::vector<Property> const properties{
    {"IsBandedKernel<double>",
     {"D_ISBANDED_FLAG"},
     0,
     1,
     [](auto* in, auto n, auto* stream) { return IsBanded::Invoker<double>()(stream, in, n, n, 1, 1); }},
    {"IsTrilKernel<double>",
     {"D_INT_FLAG"},
     0,
     1,
     [](auto* in, auto n, auto* stream) { return IsTril::Invoker<double>()(stream, in, n, n); }},
    {"IsTriuKernel<double>",
     {"D_INT_FLAG"},
     0,
     1,
     [](auto* in, auto n, auto* stream) { return IsTriu::Invoker<double>()(stream, in, n, n); }},
    {"IsSymmetricKernel<double>",
     {"D_NOSYMMETRIC_FLAG"},
     0,
     1,
     [](auto* in, auto n, auto* stream) {
         return IsSymmetric::Invoker<double>()(stream, in, n, n, false, true);
     }},
    {"FillPatternKernel<double>",
     {"UPPER_IS_ALL_ZERO_FLAG", "LOWER_IS_ALL_ZERO_FLAG"},
     0,
     0,
     [](auto* in, auto n, auto* stream) { return GetFillPattern::Invoker<double>()(stream, in, n, n); }},
    {"SparseFillPatternKernel<double>",
     {"UPPER_IS_ALL_ZERO_FLAG", "LOWER_IS_ALL_ZERO_FLAG"},
     0,
     0,
     [](auto* in, auto n, auto* stream) {
         static Compressed compressed;
         return GetSparseFillPattern::Invoker<double>()(stream, compressed.starts.data(),
                                                        compressed.rows.data(), in, n, n * n);
     }}};

class MatrixCalls : public ::testing::TestWithParam<Property> {
  protected:
    ~MatrixCalls() override {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
    unsigned int ask(unsigned long n = 3) { return GetParam().ask(full.data(), n, nullptr); }
    unsigned int ofNothing() const { return GetParam().flags.size() == 2 ? 3 : 1; }

    DeviceArray<double> full{std::vector<double>(9, 1)};
};

TEST_P(MatrixCalls, SetTheFlagsLaunchAndReadThem) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    GetParam().ask(full.data(), 3, stream);  // what is made once is made
    {
        hostdevice::Recording const recording;
        EXPECT_EQ(GetParam().ofFull, GetParam().ask(full.data(), 3, stream));
        auto const calls = recording.calls();
        std::vector<std::string> expected, actual;
        for (auto const& flag : GetParam().flags) expected.push_back("cudaMemcpyToSymbolAsync " + flag);
        for (auto const& flag : GetParam().flags) expected.push_back("cudaMemcpyFromSymbolAsync " + flag);
        expected.push_back("cudaStreamSynchronize ");
        for (auto const& call : calls) {
            if (call.name == "cudaFuncGetAttributes" || call.name == "cudaLaunchKernel") continue;
            actual.push_back(call.name + " " + call.symbol);
            EXPECT_EQ(stream, call.stream);
        }
        EXPECT_EQ(expected, actual);
        ASSERT_EQ(1u, recording.launches().size());
        auto const launch = recording.launches()[0];
        EXPECT_NE(std::string::npos, launch.kernel.find(GetParam().kernel)) << launch.kernel;
        EXPECT_EQ(stream, launch.stream);
    }
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_P(MatrixCalls, LaunchNothingWithoutElements) {
    hostdevice::Recording const recording;
    EXPECT_EQ(ofNothing(), ask(0));
    EXPECT_TRUE(recording.launches().empty());
    EXPECT_EQ(2 * GetParam().flags.size() + 1, recording.calls().size());
}

TEST_P(MatrixCalls, AnswerForAFailureWhereAFlagCannotBeSet) {
    for (unsigned int passing = 0; passing < GetParam().flags.size(); ++passing) {
        hostdevice::Recording const recording;
        hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown, passing);
        EXPECT_EQ(GetParam().onFailure, ask());
        EXPECT_TRUE(recording.launches().empty());
        EXPECT_EQ(passing + 1, recording.calls().size());
    }
}

TEST_P(MatrixCalls, AnswerForAFailureWhereAFlagCannotBeRead) {
    // On nothing the answer would be another, but for those that are the same.
    for (unsigned int passing = 0; passing < GetParam().flags.size(); ++passing) {
        hostdevice::failNextCall("cudaMemcpyFromSymbolAsync", cudaErrorUnknown, passing);
        EXPECT_EQ(GetParam().onFailure, ask(GetParam().onFailure == 0 ? 0 : 3));
    }
    hostdevice::failNextCall("cudaStreamSynchronize", cudaErrorUnknown);
    EXPECT_EQ(GetParam().onFailure, ask(GetParam().onFailure == 0 ? 0 : 3));
}

TEST_P(MatrixCalls, KeepThePropertyWhereTheLaunchFails) {
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorUnknown);
    EXPECT_EQ(ofNothing(), ask());
    EXPECT_EQ(cudaErrorUnknown, cudaGetLastError());
}

INSTANTIATE_TEST_SUITE_P(All, MatrixCalls, ::testing::ValuesIn(properties), [](auto const& info) {
    return info.param.kernel.substr(0, info.param.kernel.find('<'));
});

class BandwidthCalls : public ::testing::Test {
  protected:
    ~BandwidthCalls() override {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
    void call() { Bandwidth::Invoker<double>()(nullptr, lower.data(), upper.data(), full.data(), 3, 3); }

    DeviceArray<double> full{std::vector<double>(9, 1)};
    DeviceArray<unsigned int> lower{7}, upper{7};
};

TEST_F(BandwidthCalls, ClearTheResultsAndLaunch) {
    hostdevice::Recording const recording;
    call();
    auto const calls = recording.calls();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ("cudaMemcpyAsync", calls[0].name);
    EXPECT_EQ("cudaMemcpyAsync", calls[1].name);
    EXPECT_EQ(4u, calls[0].bytes);
    ASSERT_EQ(1u, recording.launches().size());
    EXPECT_NE(std::string::npos, recording.launches()[0].kernel.find("BandwidthKernel<double>"));
}

TEST_F(BandwidthCalls, StopAtAResultThatCannotBeCleared) {
    hostdevice::failNextCall("cudaMemcpyAsync", cudaErrorUnknown);
    hostdevice::Recording const recording;
    call();
    EXPECT_EQ(1u, recording.calls().size());
    testing::expectSameBits({7u}, upper.values());
}

TEST_F(BandwidthCalls, StopAtTheSecondResultToo) {
    hostdevice::failNextCall("cudaMemcpyAsync", cudaErrorUnknown, 1);
    hostdevice::Recording const recording;
    call();
    EXPECT_EQ(2u, recording.calls().size());
    EXPECT_TRUE(recording.launches().empty());
}

TEST_F(BandwidthCalls, ClearOnlyTheResultsThatAreAskedFor) {
    hostdevice::Recording const recording;
    Bandwidth::Invoker<double>()(nullptr, nullptr, nullptr, full.data(), 0, 3);
    EXPECT_TRUE(recording.calls().empty());
    Bandwidth::Invoker<double>()(nullptr, nullptr, upper.data(), full.data(), 0, 3);
    EXPECT_EQ(1u, recording.calls().size());
}

TEST_F(BandwidthCalls, AFailedLaunchLeavesZeros) {
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorUnknown);
    call();
    EXPECT_EQ(cudaErrorUnknown, cudaGetLastError());
    testing::expectSameBits({0u}, lower.values());
    testing::expectSameBits({0u}, upper.values());
}

}  // namespace
}  // namespace gpuruntime

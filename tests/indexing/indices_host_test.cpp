// What index conversion, selection and addition of a block ask of the runtime, and what is left when it
// fails.

#include <gtest/gtest.h>
#include <gpuruntime/indices.hpp>
#include <host_device.hpp>

#include <functional>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class IndexCalls : public ::testing::Test {
  protected:
    IndexCalls() : ones(testing::Elements<double>(16, 1.0)), out(16), more(16), valid(16) {
        EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream));
        reset();
    }
    ~IndexCalls() override {
        reset();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    struct Call {
        std::string kernel;
        std::function<void(unsigned long n)> run;
    };

    /// One call on the stream of each family that returns nothing, with the kernel that it launches.
    std::vector<Call> calls() {
        CUstream_st* const on = stream;
        double *o = out.data(), *m = more.data(), *i = ones.data();
        bool* v = valid.data();
        return {
            {"Sub2Ind2DKernel<double>",
             [=](unsigned long n) { Sub2Ind2D::Invoker<double>()(on, n, o, i, i, 1); }},
            {"Sub2Ind3DKernel<double>",
             [=](unsigned long n) { Sub2Ind3D::Invoker<double>()(on, n, o, i, i, i, 1, 1); }},
            {"Ind2Sub2DKernel<double>",
             [=](unsigned long n) { Ind2Sub2D::Invoker<double>()(on, n, o, m, i, 1); }},
            {"Ind2Sub3DKernel<double>",
             [=](unsigned long n) { Ind2Sub3D::Invoker<double>()(on, n, o, m, m, i, 1, 1); }},
            {"SelectFromColumnsKernel<long unsigned int>",
             [=](unsigned long n) { SelectFromColumns::Invoker<double>()(on, n, o, i, i, 1); }},
            {"SelectFromRowsKernel<long unsigned int>",
             [=](unsigned long n) { SelectFromRows::Invoker<double>()(on, n, o, i, i, 1); }},
            {"IndexValidationKernel",
             [=](unsigned long n) { IndexValidation::Invoker<double>()(on, n, v, i); }},
        };
    }

    int checked2D(unsigned long n) {
        return Sub2Ind2DChecked::Invoker<double>()(stream, n, out.data(), ones.data(), ones.data(), 1, 1);
    }
    int checked3D(unsigned long n) {
        return Sub2Ind3DChecked::Invoker<double>()(stream, n, out.data(), ones.data(), ones.data(),
                                                   ones.data(), 1, 1, 1);
    }
    int add() {
        std::vector<unsigned long> const sizes{4, 4}, inSizes{3, 4};
        return AddSubarrayInPlace::Invoker<double>()(stream, out.data(), sizes.data(), 2, ones.data(),
                                                     inSizes.data(), 2);
    }

    DeviceArray<double> ones, out, more;
    DeviceArray<bool> valid;
    cudaStream_t stream = nullptr;

  private:
    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
};

TEST_F(IndexCalls, EachIsOneLaunchOnTheStream) {
    for (Call const& call : calls()) {
        SCOPED_TRACE(call.kernel);
        hostdevice::Recording const recording;
        call.run(16);
        ASSERT_EQ(2u, recording.calls().size());
        EXPECT_EQ("cudaFuncGetAttributes", recording.calls()[0].name);
        ASSERT_EQ(1u, recording.launches().size());
        EXPECT_EQ(stream, recording.launches()[0].stream);
        std::string const launched = recording.launches()[0].kernel;
        EXPECT_NE(std::string::npos, launched.find(call.kernel)) << launched;
    }
}

TEST_F(IndexCalls, NothingIsCalledWithoutElements) {
    hostdevice::Recording const recording;
    for (Call const& call : calls()) call.run(0);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_F(IndexCalls, AFailedLaunchWritesNothingAndLeavesItsError) {
    for (Call const& call : calls()) {
        SCOPED_TRACE(call.kernel);
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
        call.run(16);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
        EXPECT_EQ(0u, hostdevice::clearFailures());
    }
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(more.untouched());
    EXPECT_TRUE(valid.untouched());
}

TEST_F(IndexCalls, CheckedFormsResetTheWordAndLaunchOnTheStream) {
    for (bool const inSpace : {false, true}) {
        hostdevice::Recording const recording;
        EXPECT_EQ(0, inSpace ? checked3D(16) : checked2D(16));
        auto const calls = recording.calls();
        ASSERT_EQ(3u, calls.size());
        EXPECT_EQ("cudaMemcpyToSymbolAsync", calls[0].name);
        EXPECT_EQ("__KVX_PTX_ERROR_CODE", calls[0].symbol);
        EXPECT_EQ(4u, calls[0].bytes);
        EXPECT_EQ(stream, calls[0].stream);
        EXPECT_EQ("cudaLaunchKernel", calls[2].name);
        EXPECT_EQ(stream, calls[2].stream);
    }
}

TEST_F(IndexCalls, TheErrorFlagIsReadOnItsStream) {
    hostdevice::Recording const recording;
    Sub2Ind2DChecked().getErrorFlag(stream);
    Sub2Ind3DChecked().getErrorFlag(stream);
    auto const calls = recording.calls();
    ASSERT_EQ(4u, calls.size());
    for (unsigned long i = 0; i < 4; ++i) {
        EXPECT_EQ(i % 2 == 0 ? "cudaMemcpyFromSymbolAsync" : "cudaStreamSynchronize", calls[i].name);
        EXPECT_EQ(i % 2 == 0 ? 4u : 0u, calls[i].bytes);
        EXPECT_EQ(stream, calls[i].stream);
    }
}

TEST_F(IndexCalls, CheckedFormsOnlyResetTheWordWithoutElements) {
    hostdevice::Recording const recording;
    EXPECT_EQ(0, checked2D(0));
    EXPECT_EQ(0, checked3D(0));
    ASSERT_EQ(2u, recording.calls().size());
    EXPECT_TRUE(recording.launches().empty());
}

TEST_F(IndexCalls, CheckedFormsReturnWhatFailed) {
    for (bool const inSpace : {false, true}) {
        for (unsigned long const n : {0ul, 16ul}) {
            hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorInvalidSymbol);
            hostdevice::Recording const recording;
            EXPECT_EQ(cudaErrorInvalidSymbol, inSpace ? checked3D(n) : checked2D(n));
            EXPECT_TRUE(recording.launches().empty());
        }
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, inSpace ? checked3D(16) : checked2D(16));
        EXPECT_TRUE(out.untouched());
        // An ignored failure: without attributes there is no block, which the launch refuses.
        hostdevice::failNextCall("cudaFuncGetAttributes", cudaErrorUnknown);
        EXPECT_EQ(cudaErrorInvalidConfiguration, inSpace ? checked3D(16) : checked2D(16));
    }
}

TEST_F(IndexCalls, AnUnreadableWordHasItsOwnCode) {
    ASSERT_EQ(0, checked2D(16));
    for (char const* step : {"cudaMemcpyFromSymbolAsync", "cudaStreamSynchronize"}) {
        hostdevice::failNextCall(step, cudaErrorUnknown);
        EXPECT_EQ(1063u, Sub2Ind2DChecked().getErrorFlag(nullptr));
        hostdevice::failNextCall(step, cudaErrorUnknown);
        EXPECT_EQ(1063u, Sub2Ind3DChecked().getErrorFlag(nullptr));
    }
    EXPECT_EQ(1000u, Sub2Ind2DChecked().getErrorFlag(nullptr));
}

TEST_F(IndexCalls, AddSubarrayInPlaceReturnsAFailedLaunch) {
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, add());
    EXPECT_TRUE(out.untouched());
    hostdevice::Recording const recording;
    EXPECT_EQ(0, add());
    ASSERT_EQ(1u, recording.launches().size());
    hostdevice::Launch const launch = recording.launches()[0];
    EXPECT_NE(std::string::npos, launch.kernel.find("AddSubarrayKernel<double>")) << launch.kernel;
    EXPECT_EQ(stream, launch.stream);
    // Extents 3 by 4: 85 rows of 3 fit into a block.
    EXPECT_EQ(3u, launch.block.x);
    EXPECT_EQ(85u, launch.block.y);
}

}  // namespace
}  // namespace gpuruntime

// What accumulation by keys asks of the runtime, and what is left when it fails.

#include <gtest/gtest.h>

#include <gpuruntime/accumarray.hpp>
#include <host_device.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using testing::expectSameBits;
using Keys = std::vector<int>;

class AccumArrayCalls : public ::testing::Test {
  protected:
    AccumArrayCalls() {
        EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream));
        reset();
    }
    ~AccumArrayCalls() override {
        reset();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    /// The sum, in bin 1, of `n` ones; `out` must have an element.
    int accumulate(unsigned long n, double* out, AccumArrayFunction function = AccumArrayFunctionSum,
                   AccumArrayMode mode = AccumArrayModeFull) {
        unsigned long const room = getNumElementsWorkingMemoryNeededForAccumarray(n);
        DeviceArray<int> keys(Keys(n, 1)), scratchKeys(Keys(room, 1));
        DeviceArray<double> values(std::vector<double>(n, 1.0)), scratch(std::vector<double>(room, 1.0));
        return AccumArray::Invoker<double>()(stream, out, keys.data(), values.data(), scratchKeys.data(),
                                             scratch.data(), 1, n, function, mode);
    }

    cudaError keysOf(DeviceArray<int>& keys, DeviceArray<double>& subscripts) {
        unsigned long const extent = 9, number = 0;
        return Sub2IndCastInt<int>::Invoker<double>()(stream, keys.data(), subscripts.data(), &extent,
                                                      &number, keys.size(), 1, 1,
                                                      AccumArrayStorageColumnMajor);
    }

    static void expectKernel(std::string const& expected, hostdevice::Recording const& recording,
                             unsigned long which = 0) {
        auto const launches = recording.launches();
        ASSERT_GT(launches.size(), which);
        EXPECT_NE(std::string::npos, launches[which].kernel.find(expected)) << launches[which].kernel;
    }

    /// The names of the recorded calls.
    static std::vector<std::string> names(hostdevice::Recording const& recording) {
        std::vector<std::string> names;
        for (auto const& call : recording.calls()) names.push_back(call.name);
        return names;
    }

    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }

    cudaStream_t stream = nullptr;
};

TEST_F(AccumArrayCalls, EachLevelIsALaunchOnTheStream) {
    DeviceArray<double> out(1);
    auto const launches = [&](unsigned long n, AccumArrayMode mode) {
        hostdevice::Recording const recording;
        EXPECT_EQ(0, accumulate(n, out.data(), AccumArrayFunctionSum, mode));
        std::vector<std::pair<unsigned int, unsigned int>> shapes;
        for (auto const& launch : recording.launches()) {
            EXPECT_EQ(stream, launch.stream);
            EXPECT_NE(std::string::npos, launch.kernel.find("AccumArrayKernel<1024, "));
            shapes.emplace_back(launch.grid.x, launch.block.x);
        }
        return shapes;
    };
    using Shapes = std::vector<std::pair<unsigned int, unsigned int>>;
    EXPECT_EQ((Shapes{}), launches(0, AccumArrayModeFull));
    EXPECT_EQ((Shapes{{1, 1}}), launches(1, AccumArrayModeFull));
    EXPECT_EQ((Shapes{{1, 200}}), launches(200, AccumArrayModeFull));
    EXPECT_EQ((Shapes{{1, 256}}), launches(8192, AccumArrayModeFull));
    EXPECT_EQ((Shapes{{2, 256}, {1, 4}}), launches(8193, AccumArrayModeFull));
    EXPECT_EQ((Shapes{{3, 256}, {1, 6}}), launches(20000, AccumArrayModeFull));
    EXPECT_EQ((Shapes{}), launches(8192, AccumArrayModeBoundariesOnly));
    EXPECT_EQ((Shapes{{1, 4}}), launches(8193, AccumArrayModeBoundariesOnly));
}

TEST_F(AccumArrayCalls, AFunctionWithoutKernelIsReturnedAndLaunchesNothing) {
    DeviceArray<double> out(1);
    for (int const function : {4, 5, 6, -1, 77}) {
        hostdevice::Recording const recording;
        EXPECT_EQ(function, accumulate(9, out.data(), static_cast<AccumArrayFunction>(function)));
        EXPECT_TRUE(recording.launches().empty());
    }
    EXPECT_EQ(6, AccumArray::Invoker<bool>()(stream, nullptr, nullptr, nullptr, nullptr, nullptr, 1, 1,
                                             static_cast<AccumArrayFunction>(6), AccumArrayModeFull));
    EXPECT_TRUE(out.untouched());
}

TEST_F(AccumArrayCalls, AFailedLevelIsSkippedAndTheNextStillRuns) {
    DeviceArray<double> out(1);
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    hostdevice::Recording const recording;
    EXPECT_EQ(0, accumulate(8193, out.data()));
    EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    EXPECT_EQ(2u, recording.launches().size());
    expectSameBits({4.0}, out.values());  // of the four ones in the scratch array
}

TEST_F(AccumArrayCalls, KeysCopyTheirTablesThenResetTheWordThenLaunch) {
    DeviceArray<double> subscripts({1, 2, 3});
    DeviceArray<int> keys(3);
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, keysOf(keys, subscripts));
    auto const calls = recording.calls();
    ASSERT_EQ(5u, calls.size());
    EXPECT_NE(std::string::npos, calls[0].symbol.find("accumarrayOutputDims"));
    EXPECT_NE(std::string::npos, calls[1].symbol.find("accumarrayNonUnityDims"));
    EXPECT_EQ(8u, calls[0].bytes);
    EXPECT_EQ(8u, calls[1].bytes);
    EXPECT_NE(std::string::npos, calls[2].symbol.find("__KVX_PTX_ERROR_CODE"));
    EXPECT_EQ(4u, calls[2].bytes);
    EXPECT_EQ("cudaFuncGetAttributes", calls[3].name);
    for (unsigned long const c : {0ul, 1ul, 2ul, 4ul}) EXPECT_EQ(stream, calls[c].stream);
    expectKernel("Sub2IndCastIntKernel<double, int>", recording);
}

TEST_F(AccumArrayCalls, KeysOfNothingOnlyResetTheWord) {
    DeviceArray<double> subscripts(0);
    DeviceArray<int> keys(0);
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess, keysOf(keys, subscripts));
    EXPECT_EQ(std::vector<std::string>(3, "cudaMemcpyToSymbolAsync"), names(recording));
}

TEST_F(AccumArrayCalls, AFailedCopyOfATableIsSuccessWithoutALaunch) {
    DeviceArray<double> subscripts({1, 2, 3});
    DeviceArray<int> keys(3);
    for (unsigned int failing : {0u, 1u}) {
        hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown, failing);
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess, keysOf(keys, subscripts));
        EXPECT_EQ(failing + 1, recording.calls().size());
        EXPECT_EQ(0u, hostdevice::clearFailures());
    }
    EXPECT_TRUE(keys.untouched());
}

TEST_F(AccumArrayCalls, AFailedResetIsTheStatusAndAFailedLaunchIsNot) {
    DeviceArray<double> subscripts({1, 2, 3});
    DeviceArray<int> keys(3);
    hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown, 2);
    EXPECT_EQ(cudaErrorUnknown, keysOf(keys, subscripts));
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    EXPECT_EQ(cudaSuccess, keysOf(keys, subscripts));
    EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    EXPECT_TRUE(keys.untouched());
}

TEST_F(AccumArrayCalls, MoreDimensionsThanTheTablesHoldLaunchNothing) {
    std::vector<unsigned long> const dims(33, 2);
    DeviceArray<double> subscripts(std::vector<double>(33, 1.0));
    DeviceArray<int> keys(1);
    hostdevice::Recording const recording;
    EXPECT_EQ(cudaSuccess,
              (Sub2IndCastInt<int>::Invoker<double>()(stream, keys.data(), subscripts.data(), dims.data(),
                                                      dims.data(), 1, 33, 33, AccumArrayStorageColumnMajor)));
    EXPECT_TRUE(recording.launches().empty());
}

TEST_F(AccumArrayCalls, AWordThatCannotBeReadIs1063) {
    for (char const* const call : {"cudaMemcpyFromSymbolAsync", "cudaStreamSynchronize"}) {
        hostdevice::failNextCall(call, cudaErrorUnknown);
        EXPECT_EQ(1063u, Sub2IndCastInt<int>().getErrorFlag(stream));
        hostdevice::failNextCall(call, cudaErrorUnknown);
        EXPECT_EQ(1063u, Sub2IndCastInt<long>().getErrorFlag(stream));
    }
}

TEST_F(AccumArrayCalls, TheOthersAreOneLaunchEachOnTheStream) {
    DeviceArray<int> keys({1, 1, 2}), counts({0, 0}), flags(3), rows(3), columns(3);
    DeviceArray<double> out(2);
    auto const callAll = [&](unsigned long n) {
        AccumArrayGetBinCounts::Invoker()(stream, counts.data(), keys.data(), 2, n);
        for (int function = 0; function < 7; ++function) {
            EXPECT_EQ(cudaSuccess, (AccumArrayScalar::Invoker<double>()(
                                       stream, out.data(), keys.data(), keys.data(), counts.data(), 3.0, n,
                                       static_cast<AccumArrayFunction>(function))));
        }
        AccumArraySparseIndexSequencerHelper<int>::Invoker()(stream, flags.data(), keys.data(), n);
        AccumArraySparseInd2Coo<int>::Invoker()(stream, rows.data(), columns.data(), keys.data(), keys.data(),
                                                1, 2, 2, n);
    };
    {
        hostdevice::Recording const recording;
        callAll(0);
        EXPECT_TRUE(recording.calls().empty());
    }
    hostdevice::Recording const recording;
    callAll(3);
    auto const launches = recording.launches();
    ASSERT_EQ(9u, launches.size());  // of the functions the last is none
    for (auto const& launch : launches) EXPECT_EQ(stream, launch.stream);
    expectKernel("AccumArrayGetBinCountsKernel", recording, 0);
    expectKernel("AccumArrayKernelScalarSum<double>", recording, 1);
    expectKernel("AccumArrayKernelScalarProd<double>", recording, 2);
    for (unsigned long k = 3; k <= 6; ++k) expectKernel("AccumArrayKernelScalarOther<double>", recording, k);
    expectKernel("AccumArraySparseIndexSequencerHelperKernel<int>", recording, 7);
    expectKernel("AccumArraySparseInd2CooKernel<int>", recording, 8);
}

TEST_F(AccumArrayCalls, AFailedLaunchOfTheOthersWritesNothing) {
    DeviceArray<int> keys({1, 1, 2}), counts(2), flags(3), rows(3), columns(3);
    DeviceArray<double> out(2);
    auto const fail = [] { hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources); };
    fail();
    AccumArrayGetBinCounts::Invoker()(stream, counts.data(), keys.data(), 2, 3);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    fail();
    EXPECT_EQ(cudaErrorLaunchOutOfResources,
              (AccumArrayScalar::Invoker<double>()(stream, out.data(), keys.data(), keys.data(),
                                                   counts.data(), 3.0, 3, AccumArrayFunctionProd)));
    fail();
    AccumArraySparseIndexSequencerHelper<int>::Invoker()(stream, flags.data(), keys.data(), 3);
    fail();
    AccumArraySparseInd2Coo<int>::Invoker()(stream, rows.data(), columns.data(), keys.data(), keys.data(), 1,
                                            2, 2, 3);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    EXPECT_TRUE(counts.untouched());
    EXPECT_TRUE(out.untouched());
    EXPECT_TRUE(flags.untouched());
    EXPECT_TRUE(rows.untouched());
    EXPECT_TRUE(columns.untouched());
}

}  // namespace
}  // namespace gpuruntime

#include "frame/error_word.hpp"

#include <gtest/gtest.h>

#include "frame/elementwise.hpp"
#include "tests/frame/other_error_word.hpp"
#include "tests/support/device_array.hpp"

namespace gpuruntime {

// A family like those that report through the error word: it flags values below 0 and above 100.
struct CheckRange {
    unsigned int getErrorFlag(CUstream_st* stream) const;
    struct Invoker {
        cudaError operator()(CUstream_st* stream, unsigned long n, int const* in) const;
    };
};

namespace {

GPU_DEVICE_VARIABLE(unsigned int, __KVX_PTX_ERROR_CODE);

struct CheckRangeKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, int const* in) {
        if (in[at.i] < 0) internal::reportError(__KVX_PTX_ERROR_CODE, 1001);
        if (in[at.i] > 100) internal::reportError(__KVX_PTX_ERROR_CODE, 1002);
    }
};

}  // namespace

unsigned int CheckRange::getErrorFlag(CUstream_st* stream) const {
    return internal::readErrorWord(__KVX_PTX_ERROR_CODE, stream);
}

cudaError CheckRange::Invoker::operator()(CUstream_st* stream, unsigned long n, int const* in) const {
    cudaError const reset = internal::resetErrorWord(__KVX_PTX_ERROR_CODE, stream);
    if (reset != cudaSuccess) return reset;
    return elementwisedetail::launch<CheckRangeKernel>(stream, n, in);
}

namespace {

// A second family of this unit, which reports through the same word.
struct FlagZeroKernel {
    static GPU_DEVICE void apply(elementwisedetail::Position at, int const* in) {
        if (in[at.i] == 0) internal::reportError(__KVX_PTX_ERROR_CODE, 1057);
    }
};

using testing::DeviceArray;

// The first test to run sees the word as the library was loaded.
TEST(ErrorWord, StartsAtZeroAndTakesNoReportBeforeAReset) {
    EXPECT_EQ(0u, CheckRange().getErrorFlag(nullptr));
    DeviceArray<int> bad({-1});
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<CheckRangeKernel>(nullptr, 1, bad.data()));
    EXPECT_EQ(0u, CheckRange().getErrorFlag(nullptr));
}

TEST(ErrorWord, IsNoErrorAfterACleanRun) {
    DeviceArray<int> good({0, 100, 50});
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 3, good.data()));
    EXPECT_EQ(1000u, CheckRange().getErrorFlag(nullptr));
}

TEST(ErrorWord, HoldsTheFirstReportUntilTheNextReset) {
    DeviceArray<int> below({0, -5}), above({101, 7}), good({1});
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 2, below.data()));
    EXPECT_EQ(1001u, CheckRange().getErrorFlag(nullptr));
    // A launch without a reset cannot change it.
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<CheckRangeKernel>(nullptr, 2, above.data()));
    EXPECT_EQ(1001u, CheckRange().getErrorFlag(nullptr));
    // A reset loses a flag that was not read in time.
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 2, above.data()));
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 1, good.data()));
    EXPECT_EQ(1000u, CheckRange().getErrorFlag(nullptr));
}

TEST(ErrorWord, OneOfSeveralReportsWins) {
    testing::Elements<int> values(3000, 1);
    for (std::size_t i = 0; i < values.size(); i += 7) values[i] = i % 2 == 0 ? -1 : 200;
    DeviceArray<int> mixed(values);
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, values.size(), mixed.data()));
    unsigned int const code = CheckRange().getErrorFlag(nullptr);
    EXPECT_TRUE(code == 1001u || code == 1002u) << code;
}

TEST(ErrorWord, IsOneForTheFamiliesOfAUnit) {
    DeviceArray<int> zero({0});
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 1, zero.data()));
    EXPECT_EQ(cudaSuccess, elementwisedetail::launch<FlagZeroKernel>(nullptr, 1, zero.data()));
    EXPECT_EQ(1057u, CheckRange().getErrorFlag(nullptr));
}

TEST(ErrorWord, IsAnotherInEachUnit) {
    DeviceArray<int> good({1}), bad({-5});
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 1, bad.data()));
    testing::reportInAnotherUnit(1002);
    EXPECT_EQ(1001u, CheckRange().getErrorFlag(nullptr));
    EXPECT_EQ(1002u, testing::errorFlagOfAnotherUnit());
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 1, good.data()));
    EXPECT_EQ(1002u, testing::errorFlagOfAnotherUnit());
}

TEST(ErrorWord, IsResetWithoutElementsToo) {
    DeviceArray<int> bad({-1});
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 1, bad.data()));
    EXPECT_EQ(cudaSuccess, CheckRange::Invoker()(nullptr, 0, bad.data()));
    EXPECT_EQ(1000u, CheckRange().getErrorFlag(nullptr));
}

}  // namespace
}  // namespace gpuruntime

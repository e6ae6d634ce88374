// What histograms ask of the runtime, and what is left when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/histograms.hpp>
#include <host_device.hpp>

#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class HistogramCalls : public ::testing::Test {
  protected:
    HistogramCalls() {
        EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream));
        reset();
    }
    ~HistogramCalls() override {
        reset();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    template <class Family, class T>
    static cudaError call(CUstream_st* on, unsigned long numBins, unsigned long columns, unsigned long rows,
                          unsigned long pages) {
        DeviceArray<T> data(std::vector<T>(columns * rows * pages, T(0)));
        DeviceArray<T> edges(std::vector<T>(numBins, T(0)));
        DeviceArray<unsigned int> counts(std::vector<unsigned int>(numBins * columns * pages, 0u));
        T const ends[] = {0, 1};
        T const* const given = std::is_same_v<Family, HistCGeneralForm> ? edges.data() : ends;
        return typename Family::template Invoker<T>()(on, counts.data(), nullptr, data.data(), given, numBins,
                                                      columns, rows, pages);
    }

    template <class Family, class T>
    void expectLaunch(unsigned long numBins, unsigned long columns, unsigned long rows, unsigned long pages,
                      std::string const& kernel, dim3 grid, dim3 block) {
        SCOPED_TRACE(kernel);
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess, (call<Family, T>(stream, numBins, columns, rows, pages)));
        ASSERT_EQ(1u, recording.launches().size());
        auto const launch = recording.launches()[0];
        EXPECT_NE(std::string::npos, launch.kernel.find(kernel)) << launch.kernel;
        EXPECT_EQ(stream, launch.stream);
        EXPECT_EQ(grid.x, launch.grid.x);
        EXPECT_EQ(grid.y, launch.grid.y);
        EXPECT_EQ(grid.z, launch.grid.z);
        EXPECT_EQ(block.x, launch.block.x);
        EXPECT_EQ(block.y, launch.block.y);
        EXPECT_EQ(block.z, launch.block.z);
    }

    cudaStream_t stream = nullptr;

  private:
    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
};

/// The policies of counts and edges as the compiler writes them.
std::string const shared = "gpuruntime::<unnamed>::sharedMemory",
                  global = "gpuruntime::<unnamed>::globalMemory";

TEST_F(HistogramCalls, TheNumberOfBinsPicksTheKernelByList) {
    auto const expectPolicies = [&](unsigned long numBins, std::string const& policies) {
        expectLaunch<HistCGeneralForm, double>(numBins, 16, 16, 1,
                                               "HistCGeneralFormKernel<double, " + policies + ">",
                                               dim3(1, 1, 1), dim3(16, 16, 1));
    };
    expectPolicies(24, shared + ", " + shared);
    expectPolicies(25, global + ", " + shared);
    expectPolicies(56, global + ", " + shared);
    expectPolicies(224, global + ", " + shared);
    expectPolicies(225, global + ", " + global);
    auto const expectPoliciesOfOneColumn = [&](unsigned long numBins, std::string const& policies) {
        expectLaunch<HistCGeneralForm, float>(numBins, 1, 1, 1,
                                              "HistCGeneralFormKernel<float, " + policies + ">",
                                              dim3(1, 1, 1), dim3(1, 256, 1));
    };
    expectPoliciesOfOneColumn(224, shared + ", " + shared);
    expectPoliciesOfOneColumn(225, global + ", " + shared);
    expectPoliciesOfOneColumn(448, global + ", " + shared);
    expectPoliciesOfOneColumn(449, global + ", " + global);
}

TEST_F(HistogramCalls, TheNumberOfBinsPicksTheKernelByRange) {
    auto const expectPolicy = [&](unsigned long numBins, unsigned int columns, std::string const& policy) {
        expectLaunch<HistCColonForm, double>(numBins, columns, 1, 1,
                                             "HistCColonFormKernel<double, " + policy + ">", dim3(1, 1, 1),
                                             dim3(columns, 256 / columns, 1));
    };
    expectPolicy(28, 16, shared);
    expectPolicy(29, 16, global);
    expectPolicy(448, 1, shared);
    expectPolicy(449, 1, global);
    expectPolicy(149, 3, shared);
    expectPolicy(150, 3, global);
}

TEST_F(HistogramCalls, TheBlockIsAsWideAsTheColumnsUpToSixteen) {
    std::string const kernel = "HistCColonFormKernel";
    expectLaunch<HistCColonForm, double>(4, 1, 300, 1, kernel, dim3(1, 2, 1), dim3(1, 256, 1));
    expectLaunch<HistCColonForm, double>(4, 3, 300, 2, kernel, dim3(1, 4, 2), dim3(3, 85, 1));
    expectLaunch<HistCColonForm, double>(4, 17, 300, 3, kernel, dim3(2, 19, 3), dim3(16, 16, 1));
}

TEST_F(HistogramCalls, AtMostFiveHundredBlocksWorkAlongAColumn) {
    std::string const kernel = "HistCColonFormKernel";
    expectLaunch<HistCColonForm, float>(4, 16, 8000, 1, kernel, dim3(1, 500, 1), dim3(16, 16, 1));
    expectLaunch<HistCColonForm, float>(4, 16, 8001, 1, kernel, dim3(1, 500, 1), dim3(16, 16, 1));
    expectLaunch<HistCColonForm, float>(4, 1, 1000000, 1, kernel, dim3(1, 500, 1), dim3(1, 256, 1));
}

TEST_F(HistogramCalls, NothingIsCalledWithoutRowsOrColumns) {
    hostdevice::Recording const recording;
    double const edges[] = {0, 1};
    EXPECT_EQ(cudaSuccess,
              HistCGeneralForm::Invoker<double>()(stream, nullptr, nullptr, nullptr, nullptr, 2, 0, 5, 1));
    EXPECT_EQ(cudaSuccess,
              HistCGeneralForm::Invoker<double>()(stream, nullptr, nullptr, nullptr, nullptr, 2, 5, 0, 1));
    EXPECT_EQ(cudaSuccess,
              HistCColonForm::Invoker<double>()(stream, nullptr, nullptr, nullptr, edges, 2, 0, 5, 1));
    EXPECT_EQ(cudaSuccess,
              HistCColonForm::Invoker<double>()(stream, nullptr, nullptr, nullptr, edges, 2, 5, 0, 1));
    EXPECT_TRUE(recording.calls().empty());
}

TEST_F(HistogramCalls, AFailedLaunchIsTheStatusAndCountsNothing) {
    DeviceArray<double> data({1, 2, 3}), edges({0, 5}), indices(3);
    DeviceArray<unsigned int> counts(2);
    double const ends[] = {0, 5};
    for (bool const byList : {true, false}) {
        hostdevice::failNextCall("*", cudaErrorLaunchOutOfResources);
        cudaError const status =
            byList ? HistCGeneralForm::Invoker<double>()(stream, counts.data(), indices.data(), data.data(),
                                                         edges.data(), 2, 1, 3, 1)
                   : HistCColonForm::Invoker<double>()(stream, counts.data(), indices.data(), data.data(),
                                                       ends, 2, 1, 3, 1);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, status);
        EXPECT_EQ(0u, hostdevice::clearFailures());
    }
    EXPECT_TRUE(counts.untouched());
    EXPECT_TRUE(indices.untouched());
}

}  // namespace
}  // namespace gpuruntime

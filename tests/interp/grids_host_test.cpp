// What searches and checks of grids ask of the runtime, and what they answer when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/grids.hpp>
#include <host_device.hpp>

#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class GridCalls : public ::testing::Test {
  protected:
    ~GridCalls() override {
        EXPECT_EQ(0u, hostdevice::clearFailures());
        cudaGetLastError();
    }

    GridFaults faults() {
        return CheckInfNaNAndStrictlyIncreasing::Invoker<double>()(nullptr, grid.data(), 4);
    }
    bool isUniform() { return CheckUniformIncreasing::Invoker<double>()(nullptr, grid.data(), 4); }
    bool isCartesian(std::vector<unsigned long> const& dims) {
        return VerifyNDCartesianGrid::Invoker<double>()(nullptr, grid.data(), grid.data(), 0, dims.data(),
                                                        dims.size());
    }
    void copyToVector(unsigned long whichDim, std::vector<unsigned long> const& dims,
                      CUstream_st* stream = nullptr) {
        CopyToVector::Invoker<double>()(stream, out.data(), grid.data(), whichDim, dims.data(), dims.size(),
                                        4);
    }

    /// Names of the calls and their symbols, and of the kernels, in their order.
    static std::vector<std::string> namesOf(hostdevice::Recording const& recording) {
        std::vector<std::string> names;
        for (auto const& call : recording.calls()) {
            if (call.name == "cudaFuncGetAttributes") continue;
            names.push_back(call.name == "cudaLaunchKernel" ? call.name : call.name + " " + call.symbol);
        }
        return names;
    }

    std::vector<std::vector<unsigned long>> const gridShapes{{4}, {4, 1}, {4, 1, 1}, {4, 1, 1, 1}};
    DeviceArray<double> grid{1, 2, 3, 4}, out{0, 0, 0, 0};
};

TEST_F(GridCalls, SearchInBlocksOf192) {
    struct {
        unsigned long numQueries;
        unsigned int blocks;
    } const cases[] = {{0, 1}, {1, 1}, {1152, 1}, {1153, 2}, {10 * 1152, 10}};
    for (auto const& [numQueries, blocks] : cases) {
        DeviceArray<double> queries(std::vector<double>(numQueries, 2));
        DeviceArray<long> bins(numQueries);
        hostdevice::Recording const recording;
        IndexSearch::Invoker<double>()(nullptr, bins.data(), 0, grid.data(), queries.data(), 4, numQueries);
        ASSERT_EQ(1u, recording.launches().size());
        auto const launch = recording.launches()[0];
        EXPECT_NE(std::string::npos, launch.kernel.find("FindQueryInSingleDim<double>")) << launch.kernel;
        EXPECT_EQ(192u, launch.block.x);
        EXPECT_EQ(blocks, launch.grid.x);
    }
}

TEST_F(GridCalls, SearchColonGridsOnlyForQueries) {
    hostdevice::Recording const recording;
    DeviceArray<long> bins(4);
    IndexSearch_ColonGrid::Invoker<double>()(nullptr, bins.data(), 0, grid.data(), 4, 0);
    EXPECT_TRUE(recording.launches().empty());
    IndexSearch_ColonGrid::Invoker<double>()(nullptr, bins.data(), 0, grid.data(), 4, 4);
    ASSERT_EQ(1u, recording.launches().size());
    EXPECT_NE(std::string::npos,
              recording.launches()[0].kernel.find("FindQueryInSingleDimColonGrid<double>"));
}

TEST_F(GridCalls, SearchesThatCannotBeLaunchedWriteNothing) {
    DeviceArray<long> bins(4);
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorUnknown);
    IndexSearch::Invoker<double>()(nullptr, bins.data(), 0, grid.data(), grid.data(), 4, 4);
    EXPECT_EQ(cudaErrorUnknown, cudaGetLastError());
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorUnknown);
    IndexSearch_ColonGrid::Invoker<double>()(nullptr, bins.data(), 0, grid.data(), 4, 4);
    EXPECT_EQ(cudaErrorUnknown, cudaGetLastError());
    EXPECT_TRUE(bins.untouched());
}

TEST_F(GridCalls, CopyTheExtentsToConstantMemoryFirst) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    {
        hostdevice::Recording const recording;
        copyToVector(0, {4, 1}, stream);
        EXPECT_EQ((std::vector<std::string>{"cudaMemcpyToSymbolAsync interpDataSz", "cudaLaunchKernel"}),
                  namesOf(recording));
        EXPECT_EQ(16u, recording.calls()[0].bytes);
        EXPECT_EQ(stream, recording.calls()[0].stream);
        EXPECT_EQ(stream, recording.launches()[0].stream);
    }
    EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
}

TEST_F(GridCalls, CopyNothingAlongAnEmptyDimension) {
    hostdevice::Recording const recording;
    copyToVector(1, {4, 0});
    EXPECT_EQ(std::vector<std::string>{"cudaMemcpyToSymbolAsync interpDataSz"}, namesOf(recording));
}

TEST_F(GridCalls, SayThatTheExtentsCouldNotBeCopied) {
    hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown);
    hostdevice::Recording const recording;
    ::testing::internal::CaptureStdout();
    copyToVector(0, {4});
    EXPECT_EQ("Failed to copy to constant memory\n", ::testing::internal::GetCapturedStdout());
    EXPECT_TRUE(recording.launches().empty());
}

TEST_F(GridCalls, SixDimensionsAreTooMany) {
    ::testing::internal::CaptureStdout();
    copyToVector(0, {4, 1, 1, 1, 1, 1});
    EXPECT_EQ("Failed to copy to constant memory\n", ::testing::internal::GetCapturedStdout());
    EXPECT_FALSE(isCartesian({4, 1, 1, 1, 1, 1}));
}

TEST_F(GridCalls, VerifySetTheFlagLaunchAndReadIt) {
    auto const expected = [](std::string const& flag, std::vector<std::string> copies) {
        std::vector<std::string> names{"cudaMemcpyToSymbol " + flag};
        names.insert(names.end(), copies.begin(), copies.end());
        names.insert(names.end(), {"cudaLaunchKernel", "cudaMemcpyFromSymbol " + flag});
        return names;
    };
    std::vector<std::string> const copyOfSizes{"cudaMemcpyToSymbolAsync inDataSz"};
    struct {
        char const *flag, *kernel;
        std::vector<std::string> copies;
    } const cases[] = {{"dCartesianNDGrid", "VerifyNDCartesianGrid<double>", copyOfSizes},
                       {"dCartesian2DGrid", "Verify2DCartesianGrid<double>", {}},
                       {"dCartesian3DGrid", "Verify3DCartesianGrid<double>", {}},
                       {"dCartesianNDGrid", "VerifyNDCartesianGrid<double>", copyOfSizes}};
    for (unsigned long numDims = 1; numDims <= 4; ++numDims) {
        auto const& [flag, kernel, copies] = cases[numDims - 1];
        hostdevice::Recording const recording;
        EXPECT_TRUE(isCartesian(gridShapes[numDims - 1]));
        EXPECT_EQ(expected(flag, copies), namesOf(recording));
        EXPECT_NE(std::string::npos, recording.launches()[0].kernel.find(kernel));
    }
}

TEST_F(GridCalls, VerifyNothingWhereAnyCallFails) {
    for (auto const& dims : gridShapes) {
        for (std::string const call : {"cudaMemcpyToSymbol", "cudaLaunchKernel", "cudaMemcpyFromSymbol"}) {
            hostdevice::failNextCall(call, cudaErrorUnknown);
            EXPECT_FALSE(isCartesian(dims)) << call << " of " << dims.size();
        }
    }
    hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown);
    hostdevice::Recording const recording;
    EXPECT_FALSE(isCartesian({4}));
    EXPECT_TRUE(recording.launches().empty());
}

TEST_F(GridCalls, VerifyWithoutALaunchWhatHasNoElements) {
    hostdevice::Recording const recording;
    for (std::vector<unsigned long> const& dims :
         {std::vector<unsigned long>{0}, {4, 0}, {0, 4}, {4, 0, 1}, {1, 4, 0}, {4, 1, 1, 0}}) {
        EXPECT_TRUE(isCartesian(dims));
    }
    EXPECT_TRUE(recording.launches().empty());
}

TEST_F(GridCalls, CheckSetTheFlagLaunchAndReadIt) {
    {
        hostdevice::Recording const recording;
        GridFaults const found = faults();
        EXPECT_FALSE(found.hasInfOrNaN || found.isNotStrictlyIncreasing);
        EXPECT_EQ((std::vector<std::string>{"cudaMemcpyToSymbol dHasInfNaNOrNotStrictlyIncreasing",
                                            "cudaLaunchKernel",
                                            "cudaMemcpyFromSymbol dHasInfNaNOrNotStrictlyIncreasing"}),
                  namesOf(recording));
    }
    hostdevice::Recording const recording;
    EXPECT_TRUE(isUniform());
    EXPECT_EQ((std::vector<std::string>{"cudaMemcpyToSymbol dNotUniformIncreasing", "cudaLaunchKernel",
                                        "cudaMemcpyFromSymbol dNotUniformIncreasing"}),
              namesOf(recording));
}

TEST_F(GridCalls, CheckFindAllFaultsWhereTheFlagFails) {
    for (std::string const call : {"cudaMemcpyToSymbol", "cudaMemcpyFromSymbol"}) {
        hostdevice::failNextCall(call, cudaErrorUnknown);
        GridFaults const found = faults();
        EXPECT_TRUE(found.hasInfOrNaN && found.isNotStrictlyIncreasing) << call;
        hostdevice::failNextCall(call, cudaErrorUnknown);
        EXPECT_FALSE(isUniform()) << call;
    }
    hostdevice::failNextCall("cudaMemcpyToSymbol", cudaErrorUnknown);
    hostdevice::Recording const recording;
    faults();
    EXPECT_TRUE(recording.launches().empty());
}

}  // namespace
}  // namespace gpuruntime

// What finding asks of the runtime, and what is left when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/find.hpp>
#include <host_device.hpp>

#include <string>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class FindCalls : public ::testing::Test {
  protected:
    FindCalls()
        : in({0, 1, 2, 3, 0, 4}), scan({0, 1, 2, 3, 3, 4}), rows(4), columns(4), values(4), indices(4) {
        EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream));
        reset();
    }
    ~FindCalls() override {
        reset();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    int find1D(FindFirstLast mode) {
        return Find1D::Invoker<double>()(stream, rows.data(), in.data(), scan.data(), 4, 6, mode);
    }
    void find2D(FindFirstLast mode) {
        Find2D::Invoker<double>()(stream, rows.data(), columns.data(), in.data(), scan.data(), 4, 3, 2, mode);
    }
    void find2DWithValue(FindFirstLast mode) {
        Find2DWithValue::Invoker<double>()(stream, rows.data(), columns.data(), values.data(), in.data(),
                                           scan.data(), 4, 3, 2, mode);
    }
    void sparse(unsigned long nnz) {
        FindSparse1DConvertCoordsHelper::Invoker()(stream, rows.data(), indices.data(), indices.data(), nnz,
                                                   3);
        FindSparse2DRectifyCoordsHelper::Invoker()(stream, rows.data(), columns.data(), indices.data(),
                                                   indices.data(), nnz);
    }

    static void expectKernel(std::string const& expected, std::string const& launched) {
        EXPECT_NE(std::string::npos, launched.find(expected)) << launched;
    }

    DeviceArray<double> in, scan, rows, columns, values;
    DeviceArray<int> indices;
    cudaStream_t stream = nullptr;

  private:
    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
};

TEST_F(FindCalls, TheModePicksTheKernel) {
    for (bool const first : {true, false}) {
        std::string const end = first ? "true>" : "false>";
        FindFirstLast const mode = first ? FindFirst : FindLast;
        hostdevice::Recording const recording;
        EXPECT_EQ(0, find1D(mode));
        find2D(mode);
        find2DWithValue(mode);
        ASSERT_EQ(3u, recording.launches().size());
        expectKernel("Find1DKernel<double, " + end, recording.launches()[0].kernel);
        expectKernel("Find2DDevice<double, " + end, recording.launches()[1].kernel);
        expectKernel("Find2DWithValueDevice<double, " + end, recording.launches()[2].kernel);
        for (auto const& launch : recording.launches()) EXPECT_EQ(stream, launch.stream);
        // The attributes of one kernel, and of both steps of the others.
        EXPECT_EQ(2u + 3u + 3u, recording.calls().size());
    }
}

TEST_F(FindCalls, NothingIsCalledForAnotherModeOrWithoutElements) {
    hostdevice::Recording const recording;
    auto const none = static_cast<FindFirstLast>(7);
    EXPECT_EQ(7, find1D(none));
    find2D(none);
    find2DWithValue(none);
    sparse(0);
    EXPECT_TRUE(recording.calls().empty());
}

TEST_F(FindCalls, AFailedLaunchWritesNothingAndIsReturnedByFind1D) {
    auto const fail = [] { hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources); };
    for (FindFirstLast const mode : {FindFirst, FindLast}) {
        fail();
        EXPECT_EQ(cudaErrorLaunchOutOfResources, find1D(mode));
        fail();
        find2D(mode);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
        fail();
        find2DWithValue(mode);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    }
    EXPECT_TRUE(rows.untouched());
    EXPECT_TRUE(columns.untouched());
    EXPECT_TRUE(values.untouched());
}

TEST_F(FindCalls, SparseHelpersAreOneLaunchEach) {
    hostdevice::Recording const recording;
    indices.set({0, 1, 2, 3});
    sparse(4);
    ASSERT_EQ(2u, recording.launches().size());
    expectKernel("FindSparse1DHelperKernel", recording.launches()[0].kernel);
    expectKernel("FindSparse2DHelperKernel", recording.launches()[1].kernel);
    for (auto const& launch : recording.launches()) EXPECT_EQ(stream, launch.stream);
}

}  // namespace
}  // namespace gpuruntime

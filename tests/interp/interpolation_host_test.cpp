// What interpolation asks of the runtime, and what it leaves undone when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/interpolation.hpp>
#include <host_device.hpp>

#include <string>
#include <vector>

#include "tests/support/device_array.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;

class InterpolationCalls : public ::testing::Test {
  protected:
    ~InterpolationCalls() override {
        EXPECT_EQ(0u, hostdevice::clearFailures());
        cudaGetLastError();
    }

    static void expectLaunch(hostdevice::Recording const& recording, std::string const& kernel, dim3 grid,
                             dim3 block) {
        ASSERT_EQ(1u, recording.launches().size());
        auto const launch = recording.launches()[0];
        EXPECT_NE(std::string::npos, launch.kernel.find(kernel)) << launch.kernel;
        EXPECT_EQ(grid.x, launch.grid.x) << kernel;
        EXPECT_EQ(grid.y, launch.grid.y) << kernel;
        EXPECT_EQ(block.x, launch.block.x) << kernel;
        EXPECT_EQ(block.y, launch.block.y) << kernel;
    }

    DeviceArray<double> grid{1, 2, 3, 4}, queries{1, 2, 3, 4}, values{10, 20, 30, 40};
    DeviceArray<long> bins{0, 1, 2, 2};
};

template <class G, class V>
void callInterp1dFull(DeviceArray<G>& grid, unsigned long numQueries, InterpType method) {
    DeviceArray<V> values(std::vector<V>(4)), out(numQueries);
    DeviceArray<G> queries(std::vector<G>(numQueries, 2));
    Interp1dFull::Invoker<G, V>()(nullptr, out.data(), grid.data(), values.data(), queries.data(), 4,
                                  numQueries, method, InterpType::Nearest, V{});
}

TEST_F(InterpolationCalls, OfVectorsHaveTilesByType) {
    DeviceArray<float> floats{1, 2, 3, 4};
    for (unsigned long const n : {0ul, 1ul}) {
        hostdevice::Recording const recording;
        callInterp1dFull<float, float>(floats, n, InterpType::Linear);
        expectLaunch(recording, "Interp1DKernel<float, float, 1", 1, 256);
    }
    {
        hostdevice::Recording const recording;
        callInterp1dFull<float, float>(floats, 7 * 256 + 1, InterpType::Cubic);
        expectLaunch(recording, "Interp1DKernel<float, float, 2", 2, 256);
    }
    {
        hostdevice::Recording const recording;
        callInterp1dFull<double, double>(grid, 2 * 5 * 192, InterpType::Nearest);
        expectLaunch(recording, "Interp1DKernel<double, double, 1", 2, 192);
    }
    {
        hostdevice::Recording const recording;
        callInterp1dFull<double, float>(grid, 5 * 192 + 1, InterpType::Nearest);
        expectLaunch(recording, "Interp1DKernel<float, double, 1", 2, 192);
    }
    {
        hostdevice::Recording const recording;
        callInterp1dFull<float, double>(floats, 5 * 192, InterpType::Nearest);
        expectLaunch(recording, "Interp1DKernel<double, float, 1", 1, 192);
    }
    {
        hostdevice::Recording const recording;
        callInterp1dFull<float, float2>(floats, 5 * 192, InterpType::Nearest);
        expectLaunch(recording, "Interp1DKernel<float2, float, 1", 1, 192);
    }
    {
        hostdevice::Recording const recording;
        callInterp1dFull<double, double2>(grid, 3 * 160 + 1, InterpType::Cubic);
        expectLaunch(recording, "Interp1DKernel<double2, double, 2", 2, 160);
    }
}

TEST_F(InterpolationCalls, OfVectorsOnColonGridsLaunchOnlyForQueries) {
    DeviceArray<double> out(4);
    for (auto const& [method, kernel] : {std::pair{InterpType::Linear, "<double, double, 1"},
                                         std::pair{InterpType::Cubic, "<double, double, 2"}}) {
        hostdevice::Recording const recording;
        Interp1d_ColonGrid::Invoker<double, double> const interpolate;
        interpolate(nullptr, out.data(), values.data(), queries.data(), 4, 0, method, method, 0);
        EXPECT_TRUE(recording.launches().empty());
        interpolate(nullptr, out.data(), values.data(), queries.data(), 4, 4, method, method, 0);
        ASSERT_EQ(1u, recording.launches().size());
        EXPECT_NE(std::string::npos,
                  recording.launches()[0].kernel.find(std::string("Interp1DKernel_ColonGrid") + kernel));
    }
}

TEST_F(InterpolationCalls, OfColumnsHaveTilesOf64By4) {
    DeviceArray<double> out(4);
    Interp1dNdValFull::Invoker<double, double> const interpolate;
    auto const call = [&](unsigned long numQueries, unsigned long numValues, InterpType method) {
        interpolate(nullptr, out.data(), grid.data(), values.data(), queries.data(), bins.data(), numQueries,
                    4ul, numValues, method, InterpType::Nearest, 0.0);
    };
    {
        hostdevice::Recording const recording;
        call(0, 4, InterpType::Linear);
        EXPECT_TRUE(recording.launches().empty());
        call(4, 4, InterpType::Linear);
        expectLaunch(recording, "Interp1DKernel_NdValue<double, double, 1", 1, dim3(64, 4));
    }
    {
        hostdevice::Recording const recording;
        call(4, 3, InterpType::Cubic);
        expectLaunch(recording, "Interp1DKernel_NdValue<double, double, 2", 1, dim3(64, 4));
    }
    unsigned long const numQueries = 130, numColumns = 81;
    DeviceArray<double> manyQueries(std::vector<double>(numQueries, 2)),
        manyValues(std::vector<double>(4 * numColumns)), manyResults(numQueries * numColumns);
    DeviceArray<long> manyBins(std::vector<long>(numQueries, 1));
    hostdevice::Recording const recording;
    interpolate(nullptr, manyResults.data(), grid.data(), manyValues.data(), manyQueries.data(),
                manyBins.data(), numQueries, 4ul, 4 * numColumns, InterpType::Linear, InterpType::Linear,
                0.0);
    expectLaunch(recording, "Interp1DKernel_NdValue<double, double, 1", dim3(3, 3), dim3(64, 4));
}

TEST_F(InterpolationCalls, ThatCannotBeLaunchedWriteNothing) {
    DeviceArray<double> out(4);
    auto const fail = [&](auto call) {
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorUnknown);
        call();
        EXPECT_EQ(cudaErrorUnknown, cudaGetLastError());
    };
    fail([&] {
        Interp1dFull::Invoker<double, double>()(nullptr, out.data(), grid.data(), values.data(),
                                                queries.data(), 4, 4, InterpType::Linear, InterpType::Linear,
                                                0);
    });
    fail([&] {
        Interp1d_ColonGrid::Invoker<double, double>()(nullptr, out.data(), values.data(), queries.data(), 4,
                                                      4, InterpType::Linear, InterpType::Linear, 0);
    });
    fail([&] {
        Interp1dNdValFull::Invoker<double, double>()(nullptr, out.data(), grid.data(), values.data(),
                                                     queries.data(), bins.data(), 4ul, 4ul, 4ul,
                                                     InterpType::Linear, InterpType::Linear, 0.0);
    });
    EXPECT_TRUE(out.untouched());
}

}  // namespace
}  // namespace gpuruntime

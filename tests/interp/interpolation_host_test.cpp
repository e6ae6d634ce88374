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

/// The fault is an error of the launch, and the process lives on.
TEST_F(InterpolationCalls, OfColumnsWithoutAGridFaultWhereItIsNeeded) {
    DeviceArray<double> out(1), inner{2.5};
    DeviceArray<long> innerBin{1}, below{BIN_BELOW_GRID}, above{BIN_ABOVE_GRID};
    auto const call = [&](long const* bin, InterpType method, InterpType extrap) {
        Interp1dNdVal_ColonGrid::Invoker<double, double>()(nullptr, out.data(), values.data(), inner.data(),
                                                           bin, 1ul, 4ul, 4ul, method, extrap, -1.0);
    };
    for (InterpType const method : {InterpType::Linear, InterpType::Nearest, InterpType::Cubic}) {
        hostdevice::Recording const recording;
        call(innerBin.data(), method, InterpType::Nearest);
        EXPECT_EQ(cudaErrorIllegalAddress, cudaGetLastError());
        EXPECT_EQ(cudaErrorIllegalAddress, recording.launches()[0].status);
        for (auto* const bin : {&below, &above}) {
            call(bin->data(), method, InterpType::Linear);
            EXPECT_EQ(cudaErrorIllegalAddress, cudaGetLastError());
            call(bin->data(), method, InterpType::ExtrapValue);
            EXPECT_EQ(cudaSuccess, cudaGetLastError());
            testing::expectSameBits({-1.0}, out.values());
        }
    }
}

// --- More dimensions ---

/// A call of each family on a grid of 2 points in each dimension, by the numbers of queries.
template <class Call>
void forEachForm(unsigned long numDims, unsigned long const* querySizes, unsigned long numQueries,
                 Call call) {
    static unsigned long const gridSizes[] = {2, 2, 2, 2, 2, 2};
    static double const extrapValue = 0;
    static InterpType const method = InterpType::Linear;
    DeviceArray<double> grid{1, 2}, values(std::vector<double>(64, 1)), query(std::vector<double>(3000, 1.5)),
        out(3000);
    DeviceArray<long> bins(std::vector<long>(6 * 3008, 0));
    double const* grids[] = {grid.data(), grid.data(), grid.data(), grid.data(), grid.data()};
    double const* queries[] = {query.data(), query.data(), query.data(), query.data(), query.data()};
    double *const o = out.data(), *const v = values.data(), *const g = grid.data(), *const q = query.data();
    long* const b = bins.data();
    auto const& x = extrapValue;
    auto const& m = method;
    auto const& s = gridSizes;
    if (numDims == 3) {
        call("Interp3DKernel_CompactQuery<double, double, true>", true, [&] {
            Interp3d_CompactQuery::Invoker<double, double>()(nullptr, o, g, g, g, v, q, q, q, b, querySizes,
                                                             3, s, 3, x, m, m);
        });
        call("Interp3DKernel_CompactQuery<double, double, false>", true, [&] {
            Interp3d_CompactQuery_ColonGrid::Invoker<double, double>()(nullptr, o, v, q, q, q, b, querySizes,
                                                                       3, s, 3, x, m, m);
        });
        call("Interp3DKernel_NonCompactQuery<double, double, true>", false, [&] {
            Interp3d_NonCompactQuery::Invoker<double, double>()(nullptr, o, g, g, g, v, q, q, q, s, 3,
                                                                numQueries, x, m, m);
        });
        call("Interp3DKernel_NonCompactQuery<double, double, false>", false, [&] {
            Interp3d_NonCompactQuery_ColonGrid::Invoker<double, double>()(nullptr, o, v, q, q, q, s, 3,
                                                                          numQueries, x, m, m);
        });
    } else {
        call("InterpNDKernel_CompactQuery<double, double, true>", true, [&] {
            Interpnd_CompactQuery::Invoker<double, double>()(nullptr, o, grids, v, queries, b, querySizes,
                                                             numDims, s, numDims, x, m, m, numDims);
        });
        call("InterpNDKernel_CompactQuery<double, double, false>", true, [&] {
            Interpnd_CompactQuery_ColonGrid::Invoker<double, double>()(nullptr, o, v, queries, b, querySizes,
                                                                       numDims, s, numDims, x, m, m, numDims);
        });
        call("InterpNDKernel_NonCompactQuery<double, double, true>", false, [&] {
            Interpnd_NonCompactQuery::Invoker<double, double>()(nullptr, o, grids, v, queries, s, numDims,
                                                                numQueries, x, m, m, numDims);
        });
        call("InterpNDKernel_NonCompactQuery<double, double, false>", false, [&] {
            Interpnd_NonCompactQuery_ColonGrid::Invoker<double, double>()(nullptr, o, v, queries, s, numDims,
                                                                          numQueries, x, m, m, numDims);
        });
    }
}

std::vector<std::string> symbolsOf(hostdevice::Recording const& recording) {
    std::vector<std::string> symbols;
    for (auto const& call : recording.calls()) {
        if (call.name == "cudaMemcpyToSymbolAsync") symbols.push_back(call.symbol);
    }
    return symbols;
}

TEST_F(InterpolationCalls, CopySizesAndLaunch) {
    using Names = std::vector<std::string>;
    unsigned long const querySizes[] = {2, 3, 1, 2, 2};
    for (unsigned long numDims = 3; numDims <= 5; ++numDims) {
        forEachForm(numDims, querySizes, 1281, [&](std::string const& kernel, bool isCompact, auto call) {
            hostdevice::Recording const recording;
            call();
            Names const ofCompact =
                numDims == 3 ? Names{"interpValueSz"} : Names{"interpQuerySz", "interpValueSz"};
            EXPECT_EQ(isCompact ? ofCompact : Names{"interpValueSzNcpQ"}, symbolsOf(recording));
            EXPECT_EQ(8 * numDims, recording.calls()[0].bytes);
            ASSERT_EQ(1u, recording.launches().size());
            auto const launch = recording.launches()[0];
            EXPECT_NE(std::string::npos, launch.kernel.find(kernel)) << launch.kernel;
            if (isCompact && numDims == 3) return;
            EXPECT_EQ(128u, launch.block.x);
            EXPECT_EQ(isCompact ? 1u : 2u, launch.grid.x);
        });
    }
}

TEST_F(InterpolationCalls, SayWhichSizesCouldNotBeCopied) {
    auto const expectSaid = [](std::string const& text, unsigned int passing, auto call) {
        hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorUnknown, passing);
        hostdevice::Recording const recording;
        ::testing::internal::CaptureStdout();
        call();
        EXPECT_EQ(text + " to constant memory\n", ::testing::internal::GetCapturedStdout());
        EXPECT_TRUE(recording.launches().empty());
    };
    unsigned long const querySizes[] = {1, 1, 1, 1, 1};
    for (unsigned long numDims = 3; numDims <= 5; ++numDims) {
        forEachForm(numDims, querySizes, 1, [&](std::string const&, bool isCompact, auto call) {
            if (numDims == 3) {
                expectSaid(isCompact ? "Interp3d compact query kernel failed to copy valueSz"
                                     : "Interp3d Noncompact query kernel failed to copy valueSz",
                           0, call);
            } else if (isCompact) {
                expectSaid("Interpnd compact query kernel failed to copy querySz", 0, call);
                expectSaid("Interpnd compact query kernel failed to copy valueSz", 1, call);
            } else {
                expectSaid("Interpnd Noncompact query kernel failed to copy valueSz", 0, call);
            }
        });
    }
}

TEST_F(InterpolationCalls, WithoutQueriesLaunchOneBlockOrNothing) {
    for (unsigned long const emptyDim : {0ul, 1ul, 2ul}) {
        unsigned long querySizes[] = {2, 3, 4, 2, 2};
        querySizes[emptyDim] = 0;
        for (unsigned long numDims = 3; numDims <= 5; ++numDims) {
            forEachForm(numDims, querySizes, 0, [&](std::string const& kernel, bool isCompact, auto call) {
                hostdevice::Recording const recording;
                call();
                if (numDims == 3 && isCompact) {
                    EXPECT_TRUE(recording.launches().empty());
                } else {
                    expectLaunch(recording, kernel, 1, 128);
                }
            });
        }
    }
}

TEST_F(InterpolationCalls, OfMatricesLaunchByMethodAndOnlyForQueries) {
    unsigned long const gridSizes[] = {2, 2}, none[] = {3, 0}, noneOfX[] = {0, 3}, some[] = {2, 2};
    DeviceArray<double> out(4);
    DeviceArray<long> allBins(std::vector<long>(32, 0));
    for (InterpType const method : {InterpType::Linear, InterpType::Cubic}) {
        std::string const m = method == InterpType::Cubic ? "2" : "1";
        double const x = 0;
        double *const o = out.data(), *const g = grid.data(), *const v = values.data();
        Interp2d_CompactQuery::Invoker<double, double> const compact;
        Interp2d_NonCompactQuery::Invoker<double, double> const nonCompact;
        Interp2d_NonCompactQuery_ColonGrid::Invoker<double, double> const onColons;
        hostdevice::Recording const recording;
        compact(nullptr, o, g, g, v, g, g, allBins.data(), none, 2, gridSizes, 2, x, method, method);
        compact(nullptr, o, g, g, v, g, g, allBins.data(), noneOfX, 2, gridSizes, 2, x, method, method);
        nonCompact(nullptr, o, g, g, v, g, g, gridSizes, 2, 0ul, x, method, method);
        onColons(nullptr, o, v, g, g, gridSizes, 2, 0ul, x, method, method);
        EXPECT_TRUE(recording.launches().empty());
        if (method == InterpType::Cubic) continue;  // of two points it is not defined
        compact(nullptr, o, g, g, v, g, g, allBins.data(), some, 2, gridSizes, 2, x, method, method);
        nonCompact(nullptr, o, g, g, v, g, g, gridSizes, 2, 4ul, x, method, method);
        onColons(nullptr, o, v, g, g, gridSizes, 2, 4ul, x, method, method);
        auto const launches = recording.launches();
        ASSERT_EQ(3u, launches.size());
        EXPECT_NE(std::string::npos,
                  launches[0].kernel.find("Interp2DKernel_CompactQuery<double, double, " + m));
        EXPECT_NE(std::string::npos,
                  launches[1].kernel.find("Interp2DKernel_NonCompactQuery<double, double, " + m));
        EXPECT_NE(std::string::npos,
                  launches[2].kernel.find("Interp2DKernel_ColonGrid_NonCompactQuery<double, double, " + m));
    }
}

TEST_F(InterpolationCalls, OfSixDimensionsAreTooMany) {
    unsigned long const sizes[] = {2, 2, 2, 2, 2, 2};
    double const* pointers[] = {grid.data(), grid.data(), grid.data(), grid.data(), grid.data()};
    DeviceArray<double> out(1);
    ::testing::internal::CaptureStdout();
    hostdevice::Recording const recording;
    Interpnd_NonCompactQuery::Invoker<double, double>()(nullptr, out.data(), pointers, values.data(),
                                                        pointers, sizes, 6, 1ul, 0.0, InterpType::Linear,
                                                        InterpType::Linear, 6ul);
    EXPECT_EQ("Interpnd Noncompact query kernel failed to copy valueSz to constant memory\n",
              ::testing::internal::GetCapturedStdout());
    EXPECT_TRUE(recording.launches().empty());
    EXPECT_TRUE(out.untouched());
}

}  // namespace
}  // namespace gpuruntime

// What transposition and permutation ask of the runtime, and what they leave behind when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/permute.hpp>
#include <gpuruntime/transpose.hpp>
#include <host_device.hpp>

#include <numeric>
#include <string>
#include <typeinfo>
#include <vector>

#include "frame/complex.hpp"
#include "tests/support/device_array.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime {
namespace {

using testing::DeviceArray;
using Extents = std::vector<unsigned long>;

class Movement : public ::testing::Test {
  protected:
    Movement() { reset(); }
    ~Movement() override { reset(); }

    template <class T>
    static void permute(T* out, T const* in, Extents const& inSizes, Extents const& order,
                        CUstream_st* stream = nullptr) {
        Extents outSizes;
        for (unsigned long dimension : order) outSizes.push_back(inSizes[dimension - 1]);
        typename Permute::Invoker<T>()(stream, out, outSizes.size(), outSizes.data(), in, inSizes.size(),
                                       inSizes.data(), order.size(), order.data());
    }

    static void expectLaunch(hostdevice::Recording const& recording, std::string const& kernel, dim3 grid,
                             dim3 block, cudaError status = cudaSuccess) {
        ASSERT_EQ(1u, recording.launches().size());
        hostdevice::Launch const launch = recording.launches()[0];
        EXPECT_NE(std::string::npos, launch.kernel.find(kernel)) << launch.kernel;
        EXPECT_EQ(grid.x, launch.grid.x);
        EXPECT_EQ(grid.y, launch.grid.y);
        EXPECT_EQ(block.x, launch.block.x);
        EXPECT_EQ(block.y, launch.block.y);
        EXPECT_EQ(status, launch.status);
    }

    static void expectPermuteLaunch(Extents const& inSizes, Extents const& order, std::string const& kernel,
                                    dim3 grid, dim3 block) {
        SCOPED_TRACE(::testing::PrintToString(inSizes) + " in the order " + ::testing::PrintToString(order));
        unsigned long const n = std::accumulate(inSizes.begin(), inSizes.end(), 1ul, std::multiplies<>());
        DeviceArray<char2> in(n), out(n);
        hostdevice::Recording const recording;
        permute(out.data(), in.data(), inSizes, order);
        expectLaunch(recording, kernel, grid, block);
    }

  private:
    static void reset() {
        hostdevice::clearFailures();
        cudaGetLastError();
    }
};

TEST_F(Movement, TransposeLaunchesTheKernelOfTheElementSize) {
    DeviceArray<float> in(40 * 20), out(40 * 20);
    {
        hostdevice::Recording const recording;
        Transpose::Invoker<float>()(nullptr, out.data(), in.data(), 40, 20);
        expectLaunch(recording, "TransposeKernel<unsigned int, 16, false>", dim3(3, 2), dim3(16, 16));
        EXPECT_EQ(1u, recording.calls().size());
    }
    {
        hostdevice::Recording const recording;
        CTranspose::Invoker<float>()(nullptr, out.data(), in.data(), 40, 20);
        expectLaunch(recording, "TransposeKernel<unsigned int, 16, false>", dim3(3, 2), dim3(16, 16));
    }
}

TEST_F(Movement, ConjugateTransposeLaunchesTheKernelOfItsType) {
    DeviceArray<char2> in(40 * 20), out(40 * 20);
    hostdevice::Recording const recording;
    CTranspose::Invoker<char2>()(nullptr, out.data(), in.data(), 40, 20);
    expectLaunch(recording, "TransposeKernel<char2, 16, true>", dim3(3, 2), dim3(16, 16));
}

TEST_F(Movement, OneArrayForBothTakesTheInPlaceKernel) {
    DeviceArray<double> data(20 * 20);
    hostdevice::Recording const recording;
    Transpose::Invoker<double>()(nullptr, data.data(), data.data(), 20, 20);
    expectLaunch(recording, "TransposeInPlaceKernel<long unsigned int, 16, false>", dim3(2, 2), dim3(16, 16));
}

TEST_F(Movement, OnlyThePointersDecideForTheInPlaceKernel) {
    DeviceArray<double> data(20 * 40);
    // The launch is made to fail: outside a square the exchanged tiles overlap.
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    hostdevice::Recording const recording;
    Transpose::Invoker<double>()(nullptr, data.data(), data.data(), 20, 40);
    expectLaunch(recording, "TransposeInPlaceKernel<long unsigned int, 16, false>", dim3(2, 3), dim3(16, 16),
                 cudaErrorLaunchOutOfResources);
}

TEST_F(Movement, TransposeLaunchesOnTheCallersStream) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    DeviceArray<float2> in(20 * 20), out(20 * 20);
    hostdevice::Recording const recording;
    for (float2* to : {out.data(), in.data()}) {
        Transpose::Invoker<float2>()(stream, to, in.data(), 20, 20);
        CTranspose::Invoker<float2>()(stream, to, in.data(), 20, 20);
    }
    auto const launches = recording.launches();
    ASSERT_EQ(4u, launches.size());
    for (hostdevice::Launch const& launch : launches) EXPECT_EQ(stream, launch.stream) << launch.kernel;
    cudaStreamDestroy(stream);
}

template <class T>
class MovementOf : public Movement {
  protected:
    /// The type as which elements of this size are moved, as kernel names spell it.
    static std::string carrier() {
        switch (sizeof(T)) {
            case 1:
                return "unsigned char";
            case 2:
                return "short unsigned int";
            case 4:
                return "unsigned int";
            case 8:
                return "long unsigned int";
            default:
                return "ulonglong2";
        }
    }

    /// How kernels that conjugate spell `T`: the mangled name of a global class is its name after one digit.
    static std::string ownName() { return std::string(typeid(T).name()).substr(1); }
};
TYPED_TEST_SUITE(MovementOf, testing::TestTypes<internal::All>);

TYPED_TEST(MovementOf, EveryTypeMovesAsItsCarrier) {
    DeviceArray<TypeParam> in(5 * 5), out(5 * 5);
    auto const expectKernel = [](std::string const& kernel, dim3 block, auto const& move) {
        hostdevice::Recording const recording;
        move();
        TestFixture::expectLaunch(recording, kernel, dim3(1), block);
    };
    std::string const carrier = TestFixture::carrier(), plain = "<" + carrier + ", 16, false>";
    std::string const conjugating =
        internal::isComplex<TypeParam> ? "<" + TestFixture::ownName() + ", 16, true>" : plain;
    dim3 const tile(16, 16), smallTile(8, 8), run(32);
    expectKernel("TransposeKernel" + plain, tile,
                 [&] { Transpose::Invoker<TypeParam>()(nullptr, out.data(), in.data(), 5, 5); });
    expectKernel("TransposeInPlaceKernel" + plain, tile,
                 [&] { Transpose::Invoker<TypeParam>()(nullptr, in.data(), in.data(), 5, 5); });
    expectKernel("TransposeKernel" + conjugating, tile,
                 [&] { CTranspose::Invoker<TypeParam>()(nullptr, out.data(), in.data(), 5, 5); });
    expectKernel("TransposeInPlaceKernel" + conjugating, tile,
                 [&] { CTranspose::Invoker<TypeParam>()(nullptr, in.data(), in.data(), 5, 5); });
    expectKernel("PermuteKernelVaryDim1<" + carrier + ", 16>", smallTile, [&] {
        TestFixture::permute(out.data(), in.data(), {5, 5}, {2, 1});
    });
    expectKernel("PermuteKernelFixDim1<" + carrier + ">", run, [&] {
        TestFixture::permute(out.data(), in.data(), {5, 5}, {1, 2});
    });
}

TEST_F(Movement, NothingIsCalledWithoutElements) {
    DeviceArray<double> in(4), out(4);
    hostdevice::Recording const recording;
    Transpose::Invoker<double>()(nullptr, out.data(), in.data(), 0, 4);
    CTranspose::Invoker<double>()(nullptr, out.data(), in.data(), 4, 0);
    Transpose::Invoker<double>()(nullptr, in.data(), in.data(), 0, 0);
    permute(out.data(), in.data(), {4, 0, 2}, {3, 2, 1});
    EXPECT_TRUE(recording.calls().empty());
}

TEST_F(Movement, AFailedTransposeLaunchWritesNothingAndLeavesItsError) {
    auto const values = testing::randomValues<double2>(20 * 20);
    DeviceArray<double2> in(values), out(values.size());
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    Transpose::Invoker<double2>()(nullptr, out.data(), in.data(), 20, 20);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    CTranspose::Invoker<double2>()(nullptr, in.data(), in.data(), 20, 20);
    EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    EXPECT_TRUE(out.untouched());
    testing::expectSameBits(values, in.values());
}

TEST_F(Movement, PermuteCopiesItsTablesInOrderAndThenLaunches) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaSuccess, cudaStreamCreate(&stream));
    DeviceArray<float> in(3 * 4 * 5), out(3 * 4 * 5);
    hostdevice::Recording const recording;
    permute(out.data(), in.data(), {3, 4, 5}, {2, 3, 1}, stream);
    auto const calls = recording.calls();
    ASSERT_EQ(5u, calls.size());
    std::vector<std::string> const symbols{"permuteInputSize", "permuteOutputSize", "permuteGridDim",
                                           "permuteOrder"};
    for (unsigned long i = 0; i < 4; ++i) {
        EXPECT_EQ("cudaMemcpyToSymbolAsync", calls[i].name);
        EXPECT_EQ(symbols[i], calls[i].symbol);
        EXPECT_EQ(12u, calls[i].bytes);
        EXPECT_EQ(stream, calls[i].stream);
    }
    EXPECT_EQ("cudaLaunchKernel", calls[4].name);
    EXPECT_EQ(stream, calls[4].stream);
    cudaStreamDestroy(stream);
}

TEST_F(Movement, AFailedTableCopyEndsThePermutationSilently) {
    DeviceArray<float> in(3 * 4 * 5), out(3 * 4 * 5);
    for (unsigned int failing = 0; failing < 4; ++failing) {
        SCOPED_TRACE(failing);
        hostdevice::failNextCall("cudaMemcpyToSymbolAsync", cudaErrorInvalidSymbol, failing);
        hostdevice::Recording const recording;
        permute(out.data(), in.data(), {3, 4, 5}, {2, 3, 1});
        EXPECT_EQ(failing + 1, recording.calls().size());
        EXPECT_TRUE(recording.launches().empty());
        EXPECT_EQ(0u, hostdevice::clearFailures());
        EXPECT_EQ(cudaErrorInvalidSymbol, cudaGetLastError());
    }
    EXPECT_TRUE(out.untouched());
}

TEST_F(Movement, AFailedPermuteLaunchWritesNothingAndLeavesItsError) {
    DeviceArray<float> in(3 * 4 * 5), out(3 * 4 * 5);
    for (Extents const& order : {Extents{2, 3, 1}, Extents{1, 3, 2}}) {
        hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
        permute(out.data(), in.data(), {3, 4, 5}, order);
        EXPECT_EQ(cudaErrorLaunchOutOfResources, cudaGetLastError());
    }
    EXPECT_TRUE(out.untouched());
}

TEST_F(Movement, MoreThan32DimensionsFailAtTheFirstTable) {
    DeviceArray<float> in(4), out(4);
    Extents order(33);
    std::iota(order.begin(), order.end(), 1);
    hostdevice::Recording const recording;
    permute(out.data(), in.data(), Extents(33, 2), order);
    ASSERT_EQ(1u, recording.calls().size());
    EXPECT_EQ(cudaErrorInvalidValue, recording.calls()[0].status);
}

TEST_F(Movement, ThirtyTwoDimensionsFillTheTables) {
    DeviceArray<float> in(4), out(4);
    Extents order(32);
    std::iota(order.rbegin(), order.rend(), 1);
    // Nothing is moved: the arrays are far smaller than their extents say.
    hostdevice::failNextCall("cudaLaunchKernel", cudaErrorLaunchOutOfResources);
    hostdevice::Recording const recording;
    permute(out.data(), in.data(), Extents(32, 2), order);
    auto const calls = recording.calls();
    ASSERT_EQ(5u, calls.size());
    for (unsigned long i = 0; i < 4; ++i) {
        EXPECT_EQ("cudaMemcpyToSymbolAsync", calls[i].name);
        EXPECT_EQ(128u, calls[i].bytes);
        EXPECT_EQ(cudaSuccess, calls[i].status);
    }
    expectLaunch(recording, "PermuteKernelVaryDim1<unsigned int, 16>", dim3(1u << 30), dim3(8, 8),
                 cudaErrorLaunchOutOfResources);
}

TEST_F(Movement, RunsAreCopiedWhereTheFirstDimensionStays) {
    // One dimension, and the identity.
    expectPermuteLaunch({1, 5, 1}, {3, 2, 1}, "PermuteKernelFixDim1<short unsigned int>", dim3(1), dim3(32));
    expectPermuteLaunch({16385}, {1}, "PermuteKernelFixDim1<short unsigned int>", dim3(2), dim3(256));
    // Steps along the run, of which 1000 / 256 counts as much as 3: one block for each run.
    expectPermuteLaunch({1000, 3}, {1, 2}, "PermuteKernelFixDim1<short unsigned int>", dim3(3), dim3(256));
    // Steps along the second dimension: 4 blocks along the run.
    expectPermuteLaunch({1000, 4}, {1, 2}, "PermuteKernelFixDim1<short unsigned int>", dim3(4), dim3(256));
    // 65 runs of 40 in two blocks, for each of 3.
    expectPermuteLaunch({40, 65, 3}, {1, 3, 2}, "PermuteKernelFixDim1<short unsigned int>", dim3(6),
                        dim3(64));
}

TEST_F(Movement, TilesAreTurnedWhereTheFirstDimensionMoves) {
    expectPermuteLaunch({3, 4}, {2, 1}, "PermuteKernelVaryDim1<short unsigned int, 16>", dim3(1, 1),
                        dim3(8, 8));
    expectPermuteLaunch({8, 8}, {2, 1}, "PermuteKernelVaryDim1<short unsigned int, 16>", dim3(1, 1),
                        dim3(8, 8));
    expectPermuteLaunch({9, 8}, {2, 1}, "PermuteKernelVaryDim1<short unsigned int, 16>", dim3(1, 1),
                        dim3(16, 16));
    // The output's first dimension is the longer one: blocks step along it, 3 tiles each.
    expectPermuteLaunch({20, 5, 40}, {3, 2, 1}, "PermuteKernelVaryDim1<short unsigned int, 16>", dim3(5, 2),
                        dim3(16, 16));
    // So they do where both are as long.
    expectPermuteLaunch({33, 3, 33}, {3, 2, 1}, "PermuteKernelVaryDim1<short unsigned int, 16>", dim3(3, 3),
                        dim3(16, 16));
    // The input's first dimension is: 3 tiles to a block, 3 by 5 blocks before it.
    expectPermuteLaunch({40, 5, 33}, {3, 2, 1}, "PermuteKernelVaryDim1<short unsigned int, 16>", dim3(15, 1),
                        dim3(16, 16));
    // 129 tiles: two blocks of 128 steps.
    expectPermuteLaunch({2049, 3}, {2, 1}, "PermuteKernelVaryDim1<short unsigned int, 16>", dim3(1, 2),
                        dim3(16, 16));
}

}  // namespace
}  // namespace gpuruntime

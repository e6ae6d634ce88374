// What convolutions ask of the runtime, and what they leave undone when it fails.

#include <gtest/gtest.h>
#include <gpuruntime/convolution.hpp>
#include <host_device.hpp>

#include <string>
#include <vector>

#include "tests/support/device_array.hpp"
#include "tests/support/device_limits.hpp"

namespace gpuruntime {
namespace {

using convolutioncommon::KernelType;
using testing::DeviceArray;

template <int N>
using Taps = mpl_::integral_c<int, N>;

constexpr unsigned long above32Bits = 1ul << 32;

class ConvolutionCalls : public ::testing::Test {
  protected:
    ConvolutionCalls() { EXPECT_EQ(cudaSuccess, cudaStreamCreate(&stream)); }
    ~ConvolutionCalls() override {
        EXPECT_EQ(0u, hostdevice::clearFailures());
        cudaGetLastError();
        EXPECT_EQ(cudaSuccess, cudaStreamDestroy(stream));
    }

    /// A copy of a filter, then a launch on the stream.
    void expectCalls(hostdevice::Recording const& recording, std::string const& copy, bool copyIsOnStream,
                     unsigned long bytes, std::string const& kernel, dim3 grid, dim3 block) const {
        auto const calls = recording.calls();
        ASSERT_EQ(2u, calls.size());
        EXPECT_EQ(copy, calls[0].name);
        EXPECT_EQ(copyIsOnStream ? stream : nullptr, calls[0].stream);
        EXPECT_EQ(bytes, calls[0].bytes);
        EXPECT_EQ("filter", calls[0].symbol);
        ASSERT_EQ(1u, recording.launches().size());
        auto const launch = recording.launches()[0];
        EXPECT_NE(std::string::npos, launch.kernel.find(kernel)) << launch.kernel;
        EXPECT_EQ(stream, launch.stream);
        EXPECT_EQ(grid.x, launch.grid.x) << kernel;
        EXPECT_EQ(grid.y, launch.grid.y) << kernel;
        EXPECT_EQ(1u, launch.grid.z) << kernel;
        EXPECT_EQ(block.x, launch.block.x) << kernel;
        EXPECT_EQ(block.y, launch.block.y) << kernel;
    }

    /// `call` fails as each of its runtime calls does, and launches and writes nothing.
    template <class T, class Call>
    static void expectFailures(std::string const& copy, DeviceArray<T> const& out, Call call) {
        for (std::string const& name : {copy, std::string("cudaLaunchKernel")}) {
            hostdevice::failNextCall(name, cudaErrorUnknown);
            hostdevice::Recording const recording;
            EXPECT_EQ(cudaErrorUnknown, call()) << name;
            EXPECT_EQ(name == copy ? 1u : 2u, recording.calls().size());
        }
        EXPECT_TRUE(out.untouched());
        EXPECT_EQ(cudaSuccess, call());
        EXPECT_FALSE(out.untouched());
    }

    cudaStream_t stream = nullptr;
};

template <class T>
conv::OffsetsAndSzs vectorSizes(DeviceArray<T> const& out, DeviceArray<T> const& in,
                                unsigned long extraTaps = 0) {
    return {0, out.size(), in.size(), extraTaps, 0, 0, true};
}

template <class T>
convn::OffsetsAndSzs matrixSizes(unsigned long extentDim0, unsigned long extentDim1) {
    convn::OffsetsAndSzs sizes{};
    sizes.extentDim0 = extentDim0;
    sizes.extentDim1 = extentDim1;
    sizes.firstPiece = true;
    return sizes;
}

TEST_F(ConvolutionCalls, OfVectorsCopyAndLaunchOnTheStream) {
    auto const expect = [&](auto zero, auto taps, unsigned long outSize, unsigned long extraTaps,
                            unsigned int blocks, std::string const& kernel) {
        using T = decltype(zero);
        DeviceArray<T> in(std::vector<T>(10)), filter(std::vector<T>(60)), out(outSize);
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess,
                  (ConvolutionVector::Invoker<T, decltype(taps)>()(
                      stream, out.data(), in.data(), filter.data(), vectorSizes(out, in, extraTaps))));
        expectCalls(recording, "cudaMemcpyToSymbolAsync", true, (taps.value + extraTaps) * sizeof(T), kernel,
                    blocks, 128);
    };
    expect(0.0f, Taps<3>(), 0, 2, 1, "ConvolutionVectorKernel<float, 32");
    expect(0.0f, Taps<16>(), 1, 0, 1, "ConvolutionVectorKernel<float, 32");
    expect(0.0f, Taps<32>(), 16 * 128, 4, 1, "ConvolutionVectorKernel<float, 48");
    expect(0.0f, Taps<32>(), 16 * 128 + 1, 0, 2, "ConvolutionVectorKernel<float, 48");
    expect(0.0, Taps<16>(), 4 * 128 * 3 + 1, 0, 4, "ConvolutionVectorKernel<double, 32");
    expect(float2{}, Taps<4>(), 8 * 128, 0, 1, "ConvolutionVectorKernel<float2, 16");
    expect(float2{}, Taps<12>(), 8 * 128 + 1, 0, 2, "ConvolutionVectorKernel<float2, 32");
    expect(float2{}, Taps<36>(), 1, 13, 1, "ConvolutionVectorKernel<float2, 48");
    expect(double2{}, Taps<6>(), 4 * 128, 0, 1, "ConvolutionVectorKernel<double2, 16");
    expect(double2{}, Taps<12>(), 4 * 128 + 1, 0, 2, "ConvolutionVectorKernel<double2, 32");
}

TEST_F(ConvolutionCalls, OfMatricesCopyOnTheNullStream) {
    auto const expect = [&](auto zero, auto taps, unsigned long extentDim0, unsigned long extentDim1,
                            KernelType type, unsigned long numDims, std::string const& kernel, dim3 grid,
                            dim3 block) {
        using T = decltype(zero);
        DeviceArray<T> in(std::vector<T>(10)), filter(std::vector<T>(130)), out(1);
        unsigned long const sizes[] = {1, 1};
        auto at = matrixSizes<T>(extentDim0, extentDim1);
        at.extraTaps = 1;
        hostdevice::Recording const recording;
        EXPECT_EQ(cudaSuccess,
                  (ConvolutionMatrix::Invoker<T, decltype(taps)>()(
                      stream, out.data(), in.data(), filter.data(), sizes, sizes, at, numDims, type)));
        expectCalls(recording, "cudaMemcpyToSymbolAsync", false, (taps.value + 1) * sizeof(T), kernel, grid,
                    block);
    };
    dim3 const columns(32, 4), rows(16, 8);
    expect(0.0f, Taps<3>(), 12 * 32, 4, KernelType::Column, 2,
           "conv2::{anonymous}::ConvolutionColumnKernel<float, 32", 1, columns);
    expect(0.0f, Taps<128>(), 12 * 32 + 1, 5, KernelType::Column, 0, "ConvolutionColumnKernel<float, 144",
           dim3(2, 2), columns);
    expect(0.0f, Taps<3>(), 0, 5, KernelType::Column, 3, "ConvolutionNDColumnKernel<float, 32", dim3(1, 2),
           columns);
    expect(0.0f, Taps<3>(), 16, 12 * 8, KernelType::Row, 2, "ConvolutionRowKernel<float, 32", 1, rows);
    expect(0.0f, Taps<3>(), 17, 12 * 8 + 1, KernelType::Row, 1, "ConvolutionRowKernel<float, 32", dim3(2, 2),
           rows);
    expect(0.0f, Taps<3>(), 17, 0, KernelType(3), 4, "ConvolutionNDRowKernel<float, 32", dim3(2, 1), rows);
    expect(0.0, Taps<64>(), 4 * 32 + 1, 1, KernelType::Column, 2, "ConvolutionColumnKernel<double, 80", 2,
           columns);
    expect(0.0, Taps<64>(), 1, 4 * 8 + 1, KernelType::Row, 2, "ConvolutionRowKernel<double, 80", dim3(1, 2),
           rows);
    expect(float2{}, Taps<36>(), 4 * 32 + 1, 1, KernelType::Column, 3, "ConvolutionNDColumnKernel<float2, 48",
           2, columns);
    expect(float2{}, Taps<5>(), 1, 4 * 8 + 1, KernelType::Row, 3, "ConvolutionNDRowKernel<float2, 32",
           dim3(1, 2), rows);
    expect(double2{}, Taps<6>(), 2 * 32 + 1, 1, KernelType::Column, 2, "ConvolutionColumnKernel<double2, 16",
           2, columns);
    expect(double2{}, Taps<12>(), 1, 2 * 8 + 1, KernelType::Row, 2, "ConvolutionRowKernel<double2, 32",
           dim3(1, 2), rows);
}

TEST_F(ConvolutionCalls, OfMatricesWithoutAnExtentAcrossTheFilterOnlyCopy) {
    DeviceArray<float> in{1}, filter{1, 1, 1}, out(1);
    unsigned long const sizes[] = {1, 1};
    for (unsigned long const numDims : {2ul, 3ul}) {
        for (KernelType const type : {KernelType::Column, KernelType::Row}) {
            auto const at = type == KernelType::Column ? matrixSizes<float>(5, 0) : matrixSizes<float>(0, 5);
            hostdevice::Recording const recording;
            EXPECT_EQ(cudaSuccess,
                      (ConvolutionMatrix::Invoker<float, Taps<3>>()(
                          stream, out.data(), in.data(), filter.data(), sizes, sizes, at, numDims, type)));
            ASSERT_EQ(1u, recording.calls().size());
            EXPECT_EQ("cudaMemcpyToSymbolAsync", recording.calls()[0].name);
        }
    }
    EXPECT_TRUE(out.untouched());
}

TEST_F(ConvolutionCalls, OfSquaresCopyAndWait) {
    DeviceArray<double> in{1}, filter(std::vector<double>(81)), out(17 * 5 * 4);
    auto const call = [&](auto side, unsigned long x, unsigned long y) {
        unsigned long const inSizes[] = {1, 1}, outSizes[] = {x, y}, offsets[] = {0, 0};
        EXPECT_EQ(cudaSuccess,
                  (ConvolutionSquare::Invoker<double, decltype(side)>()(
                      stream, out.data(), in.data(), filter.data(), outSizes, inSizes, 2, offsets, {})));
    };
    auto const expect = [&](auto side, unsigned long x, unsigned long y, std::string const& kernel,
                            dim3 grid) {
        hostdevice::Recording const recording;
        call(side, x, y);
        expectCalls(recording, "cudaMemcpyToSymbol", false, side.value * side.value * 8, kernel, grid,
                    dim3(16, 4));
    };
    expect(mpl_::size_t<3>(), 16, 16, "ConvolutionSquareKernel<double, 3>", 1);
    expect(mpl_::size_t<5>(), 17, 17, "ConvolutionSquareKernel<double, 5>", dim3(2, 2));
    expect(mpl_::size_t<9>(), 17, 0, "ConvolutionSquareKernel<double, 9>", dim3(2, 1));
    hostdevice::Recording const recording;
    call(mpl_::size_t<7>(), 0, 17);
    ASSERT_EQ(1u, recording.calls().size());
    EXPECT_EQ("cudaMemcpyToSymbol", recording.calls()[0].name);
    EXPECT_EQ(49u * 8, recording.calls()[0].bytes);
}

TEST_F(ConvolutionCalls, ThatFailWriteNothing) {
    DeviceArray<float> in{1, 2, 3}, filter(std::vector<float>(81, 1));
    unsigned long const sizes[] = {3, 1}, offsets[] = {0, 0};
    {
        DeviceArray<float> out(3);
        expectFailures("cudaMemcpyToSymbolAsync", out, [&] {
            return ConvolutionVector::Invoker<float, Taps<3>>()(stream, out.data(), in.data(), filter.data(),
                                                                vectorSizes(out, in));
        });
    }
    for (unsigned long const numDims : {2ul, 3ul}) {
        for (KernelType const type : {KernelType::Column, KernelType::Row}) {
            for (unsigned long const limit : {100ul, 1ul}) {
                testing::GridLimits const limits(limit, limit);  // single-step kernels, and stepped ones
                DeviceArray<float> out(3);
                expectFailures("cudaMemcpyToSymbolAsync", out, [&] {
                    return ConvolutionMatrix::Invoker<float, Taps<3>>()(
                        stream, out.data(), in.data(), filter.data(), sizes, sizes,
                        matrixSizes<float>(390, 100), numDims, type);
                });
            }
        }
    }
    DeviceArray<float> out(3);
    expectFailures("cudaMemcpyToSymbol", out, [&] {
        return ConvolutionSquare::Invoker<float, mpl_::size_t<9>>()(
            stream, out.data(), in.data(), filter.data(), sizes, sizes, 2, offsets, {});
    });
}

/// Constant memory has 20,736 bytes.
TEST_F(ConvolutionCalls, WithMoreTapsThanConstantMemoryHoldsFail) {
    unsigned long const capacity = 20736 / sizeof(float);
    DeviceArray<float> in{1}, filter(std::vector<float>(capacity + 1)), out(1);
    unsigned long const sizes[] = {1, 1};
    auto at = matrixSizes<float>(1, 1);
    at.extraTaps = capacity;
    EXPECT_EQ(cudaErrorInvalidValue,
              (ConvolutionVector::Invoker<float, Taps<1>>()(stream, out.data(), in.data(), filter.data(),
                                                            vectorSizes(out, in, capacity))));
    EXPECT_EQ(cudaErrorInvalidValue,
              (ConvolutionMatrix::Invoker<float, Taps<1>>()(stream, out.data(), in.data(), filter.data(),
                                                            sizes, sizes, at, 2ul, KernelType::Row)));
    EXPECT_TRUE(out.untouched());
}

/// The high halves of extents and positions are not seen.
TEST_F(ConvolutionCalls, NarrowTo32Bits) {
    DeviceArray<float> in{1, 2, 3, 4}, filter{1};
    {
        DeviceArray<float> out(2);
        EXPECT_EQ(cudaSuccess, (ConvolutionVector::Invoker<float, Taps<1>>()(
                                   stream, out.data(), in.data(), filter.data(),
                                   {0, 2, above32Bits + 3, 0, above32Bits + 2, above32Bits + 2, true})));
        testing::expectSameBits({3, 0}, out.values());
    }
    for (KernelType const type : {KernelType::Column, KernelType::Row}) {
        DeviceArray<float> out(2);
        unsigned long const inSizes[] = {above32Bits + 2, above32Bits + 2},
                            outSizes[] = {above32Bits + 2, above32Bits + 1};
        convn::OffsetsAndSzs sizes = matrixSizes<float>(1, 1);
        sizes.outShiftAlong = sizes.outShiftAcross = above32Bits;
        sizes.startDim1 = sizes.outTrimDim1 = above32Bits + 1;
        sizes.startDim0 = sizes.outTrimDim0 = sizes.interiorEndDim0 = sizes.interiorEndDim1 = above32Bits;
        EXPECT_EQ(cudaSuccess,
                  (ConvolutionMatrix::Invoker<float, Taps<1>>()(stream, out.data(), in.data(), filter.data(),
                                                                inSizes, outSizes, sizes, 2ul, type)));
        testing::expectSameBits({3, 4}, out.values());
    }
}

}  // namespace
}  // namespace gpuruntime

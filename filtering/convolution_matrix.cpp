#include <gpuruntime/convolution.hpp>

#include "filtering/convolution_tile.hpp"
#include "filtering/filter_memory.hpp"
#include "filtering/tap_counts.hpp"

namespace gpuruntime {
namespace convolutioncommon {
namespace {

GPU_CONSTANT_VARIABLE(FilterMemory, filter);

template <class T>
constexpr unsigned int resultsPerThread = 0;
template <>
constexpr unsigned int resultsPerThread<float> = 12;
template <>
constexpr unsigned int resultsPerThread<double> = 4;
template <>
constexpr unsigned int resultsPerThread<float2> = 4;
template <>
constexpr unsigned int resultsPerThread<double2> = 2;

constexpr dim3 columnBlock(32, 4), rowBlock(16, 8);

template <class T, unsigned int halo>
using ColumnTile = ConvolutionTile<T, 0, columnBlock.x, columnBlock.y, resultsPerThread<T>, halo>;
template <class T, unsigned int halo>
using RowTile = ConvolutionTile<T, 1, rowBlock.x, rowBlock.y, resultsPerThread<T>, halo>;

/// A loop over the taps, of which there are as many as the tile's halo allows: filters of many lengths share
/// a kernel.
template <class Tile, class T>
GPU_STEP void convolve(cuda::Fixed2DBlockIterator const& at, T* out, T const* in, uint2 start,
                       Placement const& to, unsigned int numTaps, bool firstPiece) {
    uint2 const base{at.blockX * Tile::sizeX + start.x, at.blockY * Tile::sizeY + start.y};
    Tile::template convolve<0>(out, in, base, to, filter.taps<T>(), numTaps, firstPiece);
}

unsigned long outputSize(Placement const& to) { return 1ul * to.outSize.x * to.outSize.y; }

template <class Tile, class T>
struct PageKernel {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& at, T* out, T const* in, uint2 start,
                                 Placement to, unsigned int numTaps, bool firstPiece,
                                 unsigned long inPageOffset, unsigned long outPageOffset) {
        convolve<Tile>(at, out + outPageOffset, in + inPageOffset, start, to, numTaps, firstPiece);
    }

    static unsigned long work(T const*, T const*, uint2, Placement const& to, unsigned int, bool,
                              unsigned long, unsigned long) {
        return outputSize(to);
    }
};

template <class Tile, class T>
struct MatrixKernel {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& at, T* out, T const* in, uint2 start,
                                 Placement to, unsigned int numTaps, bool firstPiece) {
        convolve<Tile>(at, out, in, start, to, numTaps, firstPiece);
    }

    static unsigned long work(T const*, T const*, uint2, Placement const& to, unsigned int, bool) {
        return outputSize(to);
    }
};

}  // namespace
}  // namespace convolutioncommon

namespace conv2 {
namespace {

template <class T, unsigned int halo>
struct ConvolutionColumnKernel : convolutioncommon::MatrixKernel<convolutioncommon::ColumnTile<T, halo>, T> {
};
template <class T, unsigned int halo>
struct ConvolutionRowKernel : convolutioncommon::MatrixKernel<convolutioncommon::RowTile<T, halo>, T> {};

}  // namespace
}  // namespace conv2

namespace convn {
namespace {

template <class T, unsigned int halo>
struct ConvolutionNDColumnKernel : convolutioncommon::PageKernel<convolutioncommon::ColumnTile<T, halo>, T> {
};
template <class T, unsigned int halo>
struct ConvolutionNDRowKernel : convolutioncommon::PageKernel<convolutioncommon::RowTile<T, halo>, T> {};

}  // namespace
}  // namespace convn

namespace convolutioncommon {
namespace {

uint2 narrowed(unsigned long x, unsigned long y) {
    return {static_cast<unsigned int>(x), static_cast<unsigned int>(y)};
}

Placement placementOf(convn::OffsetsAndSzs const& sizes, unsigned long const* inSizes,
                      unsigned long const* outSizes, bool isColumn) {
    Placement to{};
    to.inSize = narrowed(inSizes[0], inSizes[1]);
    to.outSize = narrowed(outSizes[0], outSizes[1]);
    to.shift = isColumn ? narrowed(sizes.outShiftAlong, sizes.outShiftAcross)
                        : narrowed(sizes.outShiftAcross, sizes.outShiftAlong);
    to.trim = narrowed(sizes.outTrimDim0, sizes.outTrimDim1);
    to.interiorEnd = narrowed(sizes.interiorEndDim0, sizes.interiorEndDim1);
    return to;
}

/// Threads for `extent` positions, each with several.
template <class T>
unsigned long threadsFor(unsigned long extent) {
    return extent == 0 ? 1 : (extent - 1) / resultsPerThread<T> + 1;
}

}  // namespace
}  // namespace convolutioncommon

template <class T, class Taps>
cudaError ConvolutionMatrix::Invoker<T, Taps>::operator()(
    CUstream_st* stream, T* out, T const* in, T const* filter, unsigned long const* inSizes,
    unsigned long const* outSizes, convn::OffsetsAndSzs const& sizes, unsigned long const& numDims,
    convolutioncommon::KernelType const& kernelType) const {
    using namespace convolutioncommon;
    constexpr unsigned int halo = haloOf<T>(Taps::value);
    unsigned long const numTaps = Taps::value + sizes.extraTaps;
    unsigned long const firstTap = sizes.filterPieceOffset + sizes.filterTapOffset;
    // On the null stream, in order with everything else that is: an engine counts on it.
    cudaError const copied =
        cudaMemcpyToSymbolAsync(convolutioncommon::filter, filter + firstTap, numTaps * sizeof(T), 0,
                                cudaMemcpyDeviceToDevice, nullptr);
    if (copied != cudaSuccess) return copied;

    bool const isColumn = kernelType == KernelType::Column;
    if ((isColumn ? sizes.extentDim1 : sizes.extentDim0) == 0) return cudaSuccess;
    Placement const to = placementOf(sizes, inSizes, outSizes, isColumn);
    uint2 const start = narrowed(sizes.startDim0, sizes.startDim1);
    auto const launch = [&](auto matrixKernel, auto pageKernel, unsigned long nx, unsigned long ny,
                            dim3 block) {
        if (numDims <= 2) {
            return fixed2dblockdetail::launch<decltype(matrixKernel)>(
                stream, nx, ny, block.x, block.y, out, in, start, to, numTaps, sizes.firstPiece);
        }
        return fixed2dblockdetail::launch<decltype(pageKernel)>(stream, nx, ny, block.x, block.y, out, in,
                                                                start, to, numTaps, sizes.firstPiece,
                                                                sizes.inPageOffset, sizes.outPageOffset);
    };
    if (isColumn) {
        return launch(conv2::ConvolutionColumnKernel<T, halo>(), convn::ConvolutionNDColumnKernel<T, halo>(),
                      threadsFor<T>(sizes.extentDim0), sizes.extentDim1, columnBlock);
    }
    return launch(conv2::ConvolutionRowKernel<T, halo>(), convn::ConvolutionNDRowKernel<T, halo>(),
                  sizes.extentDim0, threadsFor<T>(sizes.extentDim1), rowBlock);
}

void _forceInstantiation2_(detail::Opaque& opaque, ConvolutionMatrix*) {
    convolutioncommon::instantiate<ConvolutionMatrix, convolutioncommon::TapCountsOf>(opaque,
                                                                                      internal::Floating{});
}

}  // namespace gpuruntime

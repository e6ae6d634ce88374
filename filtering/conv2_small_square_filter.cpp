#include <gpuruntime/convolution.hpp>

#include "backend/multiply_add.hpp"
#include "filtering/filter_memory.hpp"
#include "filtering/tap_counts.hpp"
#include "frame/fixed_block.hpp"
#include "indexing/prefetch.hpp"
#include "padded.hpp"

namespace gpuruntime {
namespace convolutioncommon {
namespace {

GPU_CONSTANT_VARIABLE(FilterMemory, filter);

constexpr unsigned int blockX = 16, blockY = 4;
constexpr unsigned int rowsPerThread = 4;

/// The lines of a narrow tile, from (`x`, `y`) of a matrix on, come slowly one tile after another: with the
/// first of close tiles those of the ones that follow soon are fetched. Some may lie outside.
template <unsigned int height, class T>
GPU_DEVICE void prefetchCloseTiles(T const* matrix, uint2 size, long x, long y) {
    constexpr unsigned int tilesInRun = internal::fastRun / (blockX * sizeof(T));
    unsigned int const close = backend::closeBlocksX(), count = close < tilesInRun ? close : tilesInRun;
    if (backend::blockIndex().x % count != 0) return;
    internal::prefetchRows<height>(matrix + (y * size.x + x), size.x, count * blockX);
}

/// A thread has a column of four results, whose windows share most of their rows: each row is read once and
/// added to every result that it belongs to.
template <class T, unsigned int S>
struct ConvolutionSquareKernel {
    using Window = backend::PaddedWindow<T, blockX + S - 1, blockY * rowsPerThread + S - 1>;
    using Sums = backend::PerThread<T, blockX * blockY>;

    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& at, T* out, T const* in, uint2 outSize,
                                 uint2 inSize, uint2 offset) {
        uint2 const first{at.blockX * blockX, at.blockY * blockY * rowsPerThread};
        if (first.x >= outSize.x || first.y >= outSize.y) return;
        uint2 const inFirst{first.x + offset.x - (S - 1), first.y + offset.y - (S - 1)};
        prefetchCloseTiles<Window::height>(in, inSize, static_cast<int>(inFirst.x),
                                           static_cast<int>(inFirst.y));
        prefetchCloseTiles<blockY * rowsPerThread>(out, outSize, first.x, first.y);
        Window const window(in, inFirst, inSize);
        Sums sums[rowsPerThread];
        T const* const taps = filter.taps<T>();
        at.threads.template forEachOf<blockX, blockY>([&](backend::Thread t) GPU_INLINE {
            T result[rowsPerThread] = {};
            GPU_UNROLL
            for (unsigned int row = 0; row < S + rowsPerThread - 1; ++row)
                addRow(result, row, window, t, taps);
            GPU_UNROLL
            for (unsigned int r = 0; r < rowsPerThread; ++r) sums[r][1ul * t.y * blockX + t.x] = result[r];
        });
        GPU_UNROLL
        for (unsigned int r = 0; r < rowsPerThread; ++r) {
            if (first.y + r >= outSize.y) continue;
            unsigned int const rows = (outSize.y - first.y - r - 1) / rowsPerThread + 1;
            T* const to = out + (1ul * (first.y + r) * outSize.x + first.x);
            at.threads.forEach(dim3(outSize.x - first.x, rows), [&](backend::Thread t) {
                to[1ul * t.y * rowsPerThread * outSize.x + t.x] = sums[r][1ul * t.y * blockX + t.x];
            });
        }
    }

    static unsigned long work(T const*, T const*, uint2 outSize, uint2, uint2) {
        return 1ul * outSize.x * outSize.y;
    }

  private:
    /// The first element of a window meets the filter's last tap.
    static GPU_DEVICE void addRow(T (&result)[rowsPerThread], unsigned int row, Window const& window,
                                  backend::Thread t, T const* taps) {
        GPU_UNROLL
        for (unsigned int column = 0; column < S; ++column) {
            T const element = window.at(t.x + column, t.y * rowsPerThread + row);
            GPU_UNROLL
            for (unsigned int r = 0; r < rowsPerThread; ++r) {
                if (row < r || row - r >= S) continue;
                T const tap = taps[(S - 1 - column) + S * (S - 1 - (row - r))];
                result[r] = backend::multiplyAdd(tap, element, result[r]);
            }
        }
    }
};

uint2 narrowed(unsigned long const* pair) {
    return {static_cast<unsigned int>(pair[0]), static_cast<unsigned int>(pair[1])};
}

}  // namespace
}  // namespace convolutioncommon

template <class T, class Side>
cudaError ConvolutionSquare::Invoker<T, Side>::operator()(CUstream_st* stream, T* out, T const* in,
                                                          T const* filter, unsigned long const* outSizes,
                                                          unsigned long const* inSizes,
                                                          unsigned long /*numDims*/,
                                                          unsigned long const* offsets,
                                                          convolutioncommon::PageOffsetInfo pages) const {
    using namespace convolutioncommon;
    cudaError const copied =
        cudaMemcpyToSymbol(convolutioncommon::filter, filter, Side::value * Side::value * sizeof(T), 0,
                           cudaMemcpyDeviceToDevice);
    if (copied != cudaSuccess || outSizes[0] == 0) return copied;
    unsigned long const ny = outSizes[1] == 0 ? 1 : (outSizes[1] - 1) / rowsPerThread + 1;
    return fixed2dblockdetail::launch<ConvolutionSquareKernel<T, Side::value>>(
        stream, outSizes[0], ny, blockX, blockY, out + pages.outPageOffset, in + pages.inPageOffset,
        narrowed(outSizes), narrowed(inSizes), narrowed(offsets));
}

void _forceInstantiation2_(detail::Opaque& opaque, ConvolutionSquare*) {
    convolutioncommon::instantiate<ConvolutionSquare, convolutioncommon::SidesOf>(opaque,
                                                                                  internal::Floating{});
}

}  // namespace gpuruntime

#include <gpuruntime/convolution.hpp>

#include "filtering/convolution_tile.hpp"
#include "filtering/filter_memory.hpp"
#include "filtering/tap_counts.hpp"

namespace gpuruntime {
namespace conv {
namespace {

GPU_CONSTANT_VARIABLE(convolutioncommon::FilterMemory, filter);

constexpr unsigned int blockSize = 128;

template <class T>
constexpr unsigned int resultsPerThread = 0;
template <>
constexpr unsigned int resultsPerThread<float> = 16;
template <>
constexpr unsigned int resultsPerThread<double> = 4;
template <>
constexpr unsigned int resultsPerThread<float2> = 8;
template <>
constexpr unsigned int resultsPerThread<double2> = 4;

template <class T, unsigned int halo, unsigned int numUnrolled>
struct ConvolutionVectorKernel {
    using Tile = convolutioncommon::ConvolutionTile<T, 0, blockSize, 1, resultsPerThread<T>, halo>;

    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& at, T* out, T const* in,
                                 unsigned int filterOffset, unsigned int outSize, unsigned int inSize,
                                 unsigned int numTaps, unsigned int inStart, unsigned int outTrim,
                                 bool firstPiece) {
        uint2 const base{at.blockIndex * Tile::sizeX + inStart, 0};
        convolutioncommon::Placement const to{
            {inSize, 1}, {outSize, 1}, {filterOffset, 0}, {outTrim, 0}, {0, 0}};
        Tile::template convolve<numUnrolled>(out, in, base, to, filter.taps<T>(), numTaps, firstPiece);
    }

    static unsigned long work(T const*, T const*, unsigned long, unsigned long outSize, unsigned long,
                              unsigned long, unsigned long, unsigned long, bool) {
        return outSize;
    }
};

}  // namespace
}  // namespace conv

template <class T, class Taps>
cudaError ConvolutionVector::Invoker<T, Taps>::operator()(CUstream_st* stream, T* out, T const* in,
                                                          T const* filter,
                                                          conv::OffsetsAndSzs const& sizes) const {
    constexpr unsigned int taps = Taps::value;
    constexpr unsigned int halo = convolutioncommon::haloOf<T>(taps);
    unsigned long const numTaps = taps + sizes.extraTaps;
    unsigned long const count = sizes.outSize == 0 ? 1 : (sizes.outSize - 1) / conv::resultsPerThread<T> + 1;
    cudaError const copied = cudaMemcpyToSymbolAsync(
        conv::filter, filter + sizes.filterOffset, numTaps * sizeof(T), 0, cudaMemcpyDeviceToDevice, stream);
    if (copied != cudaSuccess) return copied;
    return fixed1dblockdetail::launch<conv::ConvolutionVectorKernel<T, halo, backend::unrolledTaps<taps>>>(
        stream, count, conv::blockSize, out, in, sizes.filterOffset, sizes.outSize, sizes.inSize, numTaps,
        sizes.inStart, sizes.outTrim, sizes.firstPiece);
}

void _forceInstantiation2_(detail::Opaque& opaque, ConvolutionVector*) {
    convolutioncommon::instantiate<ConvolutionVector, convolutioncommon::TapCountsOf>(opaque,
                                                                                      internal::Floating{});
}

}  // namespace gpuruntime

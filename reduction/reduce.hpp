#pragma once

#include <cuda_runtime_api.h>

#include "frame/fixed_block.hpp"
#include "frame/shape.hpp"
#include "reduction/reduction_kernels.hpp"

/// Which kernel reduces an array, and its launch.
namespace gpuruntime::internal {

/// The block of the small kernels: rows of `x` threads, the least power of two that takes in a segment.
struct SmallBlock {
    unsigned long x, y;

    explicit SmallBlock(unsigned long reductionLength) : x(reductionkernels::longestSmallSegment) {
        while (x > 1 && x / 2 >= reductionLength) x /= 2;
        y = reductionkernels::blockSize / x;
    }
};

/// How often a whole `slice` fits; 0 where it is empty.
inline unsigned long numSlices(unsigned long numElements, unsigned long slice) {
    return slice == 0 ? 0 : numElements / slice;
}

/// Reduces contiguous segments of `reductionLength`, of which the last may be short. An empty array takes one
/// block, which finds nothing to do; with a `reductionLength` of 0 nothing is launched.
template <class Transform, class Operator, class TIn, class TOut>
cudaError reduceSegments(CUstream_st* stream, TOut* out, TIn const* in, unsigned long numElements,
                         unsigned long reductionLength) {
    using namespace reductionkernels;
    using Segmented = SegmentedReduceKernel<blockSize, TIn, TOut, Transform, Operator>;
    using Small = SegmentedReduceSmallKernel<blockSize, TIn, TOut, Transform, Operator>;
    if (reductionLength == 0) return cudaSuccess;
    unsigned long const numSegments = divideRoundUp(numElements, reductionLength);
    if (reductionLength > longestSmallSegment) {
        return fixed1dblockand1dgriddetail::launch<Segmented>(stream, blockSize, numSegments, out, in,
                                                              numElements, reductionLength);
    }
    SmallBlock const block(reductionLength);
    return fixed2dblockdetail::launch<Small>(stream, reductionLength, numSegments, block.x, block.y, out, in,
                                             numElements, reductionLength);
}

/// Reduces along the dimension whose neighbours are `stride` apart. With a `stride` other than 1, an empty
/// array launches nothing.
template <class Transform, class Operator, class TIn, class TOut>
cudaError reduce(CUstream_st* stream, TOut* out, TIn const* in, unsigned long numElements,
                 unsigned long reductionLength, unsigned long stride) {
    using namespace reductionkernels;
    using Strided = StridedReduceKernel<TIn, TOut, Transform, Operator>;
    if (stride == 1)
        return reduceSegments<Transform, Operator>(stream, out, in, numElements, reductionLength);
    unsigned long const outer = numSlices(numElements, stride * reductionLength);
    if (outer == 0) return cudaSuccess;
    return fixed2dblockdetail::launch<Strided>(stream, stride, outer, blockSize, 1ul, out, in, numElements,
                                               reductionLength, stride);
}

/// As `reduce`, with the position of each result.
template <class Transform, class Operator, class T>
cudaError reduceWithIndex(CUstream_st* stream, T* out, double* outIndex, T const* in,
                          unsigned long numElements, unsigned long reductionLength,
                          unsigned long segmentsPerGroup, unsigned long stride) {
    using namespace reductionkernels;
    using Segmented = SegmentedIndexReduceKernel<blockSize, T, T, Transform, Operator>;
    using Small = SegmentedIndexReduceSmallKernel<blockSize, T, T, Transform, Operator>;
    using Strided = StridedIndexReduceKernel<T, T, Transform, Operator>;
    InvariantDivisor const group(static_cast<unsigned int>(segmentsPerGroup));
    if (stride != 1) {
        unsigned long const outer = numSlices(numElements, stride * reductionLength);
        if (outer == 0) return cudaSuccess;
        return fixed2dblockdetail::launch<Strided>(stream, stride, outer, blockSize, 1ul, out, outIndex, in,
                                                   numElements, reductionLength, group, stride);
    }
    if (reductionLength == 0) return cudaSuccess;
    unsigned long const numSegments = divideRoundUp(numElements, reductionLength);
    if (reductionLength > longestSmallSegment) {
        return fixed1dblockand1dgriddetail::launch<Segmented>(stream, blockSize, numSegments, out, outIndex,
                                                              in, numElements, reductionLength, group);
    }
    SmallBlock const block(reductionLength);
    return fixed2dblockdetail::launch<Small>(stream, reductionLength, numSegments, block.x, block.y, out,
                                             outIndex, in, numElements, reductionLength);
}

}  // namespace gpuruntime::internal

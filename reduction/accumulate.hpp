#pragma once

#include <cuda_runtime_api.h>

#include "frame/fixed_block.hpp"
#include "frame/shape.hpp"
#include "reduction/accumulation_kernels.hpp"
#include "reduction/reduce.hpp"

/// Which kernel scans or adjusts an array, and its launch.
namespace gpuruntime::internal {

/// An empty array takes one block, which finds nothing to do.
inline unsigned long numScannedSegments(unsigned long numElements, unsigned long reductionLength) {
    return numElements == 0 ? 1 : divideRoundUp(numElements, reductionLength);
}

template <class Operator, class T>
cudaError accumulate(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                     unsigned long reductionLength, unsigned long stride) {
    using namespace accumulationkernels;
    using Segmented = SegmentedAccumulateKernel<blockSize, T, Operator>;
    using Strided = StridedAccumulateKernel<T, Operator>;
    if (stride == 1) {
        return fixed1dblockand1dgriddetail::launch<Segmented>(
            stream, blockSize, numScannedSegments(numElements, reductionLength), totals, data, numElements,
            reductionLength);
    }
    unsigned long const outer = numSlices(numElements, stride * reductionLength);
    if (outer == 0) return cudaSuccess;
    return fixed2dblockdetail::launch<Strided>(stream, stride, outer, blockSize, 1ul, totals, data,
                                               numElements, reductionLength, stride);
}

template <class Operator, class T>
cudaError adjust(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                 unsigned long reductionLength, unsigned long segmentsPerGroup, unsigned long stride) {
    using namespace accumulationkernels;
    using Segmented = SegmentedAdjustKernel<blockSize, T, Operator>;
    using Strided = StridedAdjustKernel<T, Operator>;
    InvariantDivisor const group(static_cast<unsigned int>(segmentsPerGroup));
    if (stride == 1) {
        return fixed1dblockand1dgriddetail::launch<Segmented>(
            stream, blockSize, numScannedSegments(numElements, reductionLength), totals, data, numElements,
            reductionLength, group);
    }
    unsigned long const outer = numSlices(numElements, stride * reductionLength);
    if (outer == 0) return cudaSuccess;
    return fixed2dblockdetail::launch<Strided>(stream, stride, outer, blockSize, 1ul, totals, data,
                                               numElements, reductionLength, group, stride);
}

}  // namespace gpuruntime::internal

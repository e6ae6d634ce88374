#pragma once

#include "indexing/subscript_kernels.hpp"

/// What both families that write a selection launch: `V` is a dense array, `T const*`, or one value, `T`.
namespace gpuruntime::internal {

template <class T, class V, class I1>
struct Subsasgn1DKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, V source,
                                 I1 slot1) {
        forEachSelectedRow(block, ScatterRow<T, V>{out, source, block.isStreamed<T>()}, slot1);
    }
};

template <class T, class V, class I1, class I2>
struct Subsasgn2DKernel {
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, T* out, V source,
                                 unsigned int dim1, I1 slot1, I2 slot2) {
        forEachSelectedRow(block, ScatterRow<T, V>{out, source, block.isStreamed<T>()}, dim1, slot1, slot2);
    }
};

template <class T, class V, class I1, class I2, class I3>
struct Subsasgn3DKernel {
    static GPU_DEVICE void apply(elementwise3ddetail::BlockOfRows const& block, T* out, V source,
                                 unsigned int dim1, I1 slot1, unsigned int dim2, I2 slot2, I3 slot3) {
        forEachSelectedRow(block, ScatterRow<T, V>{out, source, block.isStreamed<T>()}, dim1, slot1, dim2,
                           slot2, slot3);
    }
};

template <class T, class V>
struct SubsasgnKernels {
    template <class I1>
    using Rank1 = Subsasgn1DKernel<T, V, I1>;
    template <class I1, class I2>
    using Rank2 = Subsasgn2DKernel<T, V, I1, I2>;
    template <class I1, class I2, class I3>
    using Rank3 = Subsasgn3DKernel<T, V, I1, I2, I3>;
};

/// One body for all types of a size.
template <class T, class V, class S1, class S2, class S3>
__attribute__((noinline)) void subsasgn(CUstream_st* stream, unsigned long numel, T* out, V source,
                                        Slots<S1, S2, S3> slots) {
    launchSelection<SubsasgnKernels<T, V>>(stream, numel, out, source, slots);
}

}  // namespace gpuruntime::internal

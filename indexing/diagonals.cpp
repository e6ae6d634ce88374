#include <gpuruntime/movement.hpp>

#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/selection.hpp"

namespace gpuruntime {
namespace {

/// The offsets of the elements of the `k`-th diagonal.
GPU_DEVICE internal::Progression diagonal(unsigned int leadingDim, int k) {
    unsigned int const number = static_cast<unsigned int>(k);
    return {k < 1 ? 0 - number : number * leadingDim, leadingDim + 1};
}

template <class T>
struct DiagVecToMatKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* in,
                                 unsigned int leadingDim, int k) {
        internal::scatterRow(block.row(), out, in, 0, diagonal(leadingDim, k), block.isStreamed<T>());
    }
};

template <class T>
struct DiagMatToVecKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T const* in,
                                 unsigned int leadingDim, int k) {
        internal::gatherRow(block.row(), out, in, 0, diagonal(leadingDim, k), block.isStreamed<T>());
    }
};

/// One body for all types of a size.
template <template <class> class Kernel, class T>
__attribute__((noinline)) void moveDiagonal(CUstream_st* stream, T* out, T const* in,
                                            unsigned long leadingDim, long k, unsigned long length) {
    elementwisedetail::launch<Kernel<T>>(stream, length, out, in, leadingDim, k);
}

}  // namespace

template <class T>
void DiagVecToMat::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long leadingDim,
                                          long k, unsigned long length) const {
    moveDiagonal<DiagVecToMatKernel>(stream, internal::carried(out), internal::carried(in), leadingDim, k,
                                     length);
}

template <class T>
void DiagMatToVec::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long leadingDim,
                                          long k, unsigned long length) const {
    moveDiagonal<DiagMatToVecKernel>(stream, internal::carried(out), internal::carried(in), leadingDim, k,
                                     length);
}

void _forceInstantiation_(detail::Opaque& opaque, DiagVecToMat*) {
    internal::instantiate<DiagVecToMat>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, DiagMatToVec*) {
    internal::instantiate<DiagMatToVec>(opaque, internal::All{});
}

}  // namespace gpuruntime

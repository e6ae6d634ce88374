#include <gpuruntime/grids.hpp>

#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "interp/constant_sizes.hpp"

namespace gpuruntime {
namespace interp {
namespace {

GPU_CONSTANT_VARIABLE(Sizes, interpDataSz);

template <class T>
struct CopyToVector {
    static GPU_DEVICE void apply(elementwisedetail::Position at, T* out, T const* data,
                                 unsigned long whichDim, unsigned long numDims, unsigned long total) {
        unsigned long stride = 1;
        for (unsigned long d = 0; d < whichDim && d < numDims; ++d) stride *= interpDataSz[d];
        unsigned long const i = stride * at.i;
        if (i < total && at.i < interpDataSz[whichDim]) out[at.i] = data[i];
    }
};

}  // namespace
}  // namespace interp

template <class T>
void CopyToVector::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* data, unsigned long whichDim,
                                          unsigned long const* dims, unsigned long numDims,
                                          unsigned long total) const {
    if (!interp::copySizes(interp::interpDataSz, dims, numDims, stream,
                           "Failed to copy to constant memory")) {
        return;
    }
    elementwisedetail::launch<interp::CopyToVector<T>>(stream, dims[whichDim], out, data, whichDim, numDims,
                                                       total);
}

void _forceInstantiation_(detail::Opaque& opaque, CopyToVector*) {
    internal::instantiate<CopyToVector>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

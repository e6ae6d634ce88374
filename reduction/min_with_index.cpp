#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError MinWithIndex::Invoker<T>::operator()(CUstream_st* stream, T* out, double* outIndex, T const* in,
                                               unsigned long numElements, unsigned long reductionLength,
                                               unsigned long segmentsPerGroup, unsigned long stride,
                                               bool includeNaN) const {
    using NoOp = reductiontransforms::NoOp<T>;
    using namespace reductionoperators;
    return includeNaN
               ? internal::reduceWithIndex<NoOp, MinWithNaNs<T>>(stream, out, outIndex, in, numElements,
                                                                 reductionLength, segmentsPerGroup, stride)
               : internal::reduceWithIndex<NoOp, reductionoperators::Min<T>>(
                     stream, out, outIndex, in, numElements, reductionLength, segmentsPerGroup, stride);
}

void _forceInstantiation_(detail::Opaque& opaque, MinWithIndex*) {
    internal::instantiate<MinWithIndex>(opaque, internal::Ordered{});
}

}  // namespace gpuruntime

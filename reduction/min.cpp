#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError Min::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long numElements,
                                      unsigned long reductionLength, unsigned long stride,
                                      bool includeNaN) const {
    using NoOp = reductiontransforms::NoOp<T>;
    using namespace reductionoperators;
    return includeNaN
               ? internal::reduce<NoOp, MinWithNaNs<T>>(stream, out, in, numElements, reductionLength, stride)
               : internal::reduce<NoOp, reductionoperators::Min<T>>(stream, out, in, numElements,
                                                                    reductionLength, stride);
}

void _forceInstantiation_(detail::Opaque& opaque, Min*) {
    internal::instantiate<Min>(opaque, internal::Ordered{});
}

}  // namespace gpuruntime

#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError Max::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long numElements,
                                      unsigned long reductionLength, unsigned long stride,
                                      bool includeNaN) const {
    using NoOp = reductiontransforms::NoOp<T>;
    using namespace reductionoperators;
    return includeNaN
               ? internal::reduce<NoOp, MaxWithNaNs<T>>(stream, out, in, numElements, reductionLength, stride)
               : internal::reduce<NoOp, reductionoperators::Max<T>>(stream, out, in, numElements,
                                                                    reductionLength, stride);
}

template <class T>
cudaError MaxUniqueTol::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in,
                                               unsigned long numElements, unsigned long reductionLength,
                                               unsigned long stride, bool /*includeNaN*/) const {
    return internal::reduce<reductiontransforms::NoOp<T>, reductionoperators::MaxUniqueTol<T>>(
        stream, out, in, numElements, reductionLength, stride);
}

void _forceInstantiation_(detail::Opaque& opaque, Max*) {
    internal::instantiate<Max>(opaque, internal::Ordered{});
}

void _forceInstantiation_(detail::Opaque& opaque, MaxUniqueTol*) {
    internal::instantiate<MaxUniqueTol>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

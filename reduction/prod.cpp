#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError ProdNative::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in,
                                             unsigned long numElements, unsigned long reductionLength,
                                             unsigned long stride, bool includeNaN) const {
    using namespace reductiontransforms;
    using Operator = reductionoperators::Prod<T>;
    return includeNaN
               ? internal::reduce<NoOp<T>, Operator>(stream, out, in, numElements, reductionLength, stride)
               : internal::reduce<NaNAsOne<T>, Operator>(stream, out, in, numElements, reductionLength,
                                                         stride);
}

void _forceInstantiation_(detail::Opaque& opaque, ProdNative*) {
    internal::instantiate<ProdNative>(opaque, internal::All{});
}

}  // namespace gpuruntime

#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

// Of the types that need no cast, the native family is the same.
template <class T>
cudaError ProdAsDouble::Invoker<T>::operator()(CUstream_st* stream, detail::AsDouble<T>* out, T const* in,
                                               unsigned long numElements, unsigned long reductionLength,
                                               unsigned long stride, bool includeNaN) const {
    using D = detail::AsDouble<T>;
    using namespace reductiontransforms;
    using Operator = reductionoperators::Prod<D>;
    if constexpr (std::is_same_v<T, D>) {
        return ProdNative::Invoker<T>()(stream, out, in, numElements, reductionLength, stride, includeNaN);
    } else {
        return includeNaN ? internal::reduce<Cast<T, D>, Operator>(stream, out, in, numElements,
                                                                   reductionLength, stride)
                          : internal::reduce<CastWithNaNAsOne<T, D>, Operator>(stream, out, in, numElements,
                                                                               reductionLength, stride);
    }
}

void _forceInstantiation_(detail::Opaque& opaque, ProdAsDouble*) {
    internal::instantiate<ProdAsDouble>(opaque, internal::All{});
}

}  // namespace gpuruntime

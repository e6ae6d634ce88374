#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError HasNaNOrInf::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in,
                                              unsigned long numElements,
                                              unsigned long reductionLength) const {
    return internal::reduceSegments<reductiontransforms::IsNanOrInfTransform<T>, reductionoperators::Or>(
        stream, out, in, numElements, reductionLength);
}

void _forceInstantiation_(detail::Opaque& opaque, HasNaNOrInf*) {
    internal::instantiate<HasNaNOrInf>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError HasInf::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in,
                                         unsigned long numElements, unsigned long reductionLength) const {
    return internal::reduceSegments<reductiontransforms::IsInfTransform<T>, reductionoperators::Or>(
        stream, out, in, numElements, reductionLength);
}

void _forceInstantiation_(detail::Opaque& opaque, HasInf*) {
    internal::instantiate<HasInf>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

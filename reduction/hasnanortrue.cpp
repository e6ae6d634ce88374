#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError HasNaN::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in,
                                         unsigned long numElements, unsigned long reductionLength) const {
    return internal::reduceSegments<reductiontransforms::IsNanTransform<T>, reductionoperators::Or>(
        stream, out, in, numElements, reductionLength);
}

void _forceInstantiation_(detail::Opaque& opaque, HasNaN*) {
    internal::instantiate<HasNaN>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

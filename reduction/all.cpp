#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError All::Invoker<T>::operator()(CUstream_st* stream, bool* out, T const* in, unsigned long numElements,
                                      unsigned long reductionLength, unsigned long stride,
                                      bool /*includeNaN*/) const {
    return internal::reduce<reductiontransforms::IsNotZero<T>, reductionoperators::And>(
        stream, out, in, numElements, reductionLength, stride);
}

void _forceInstantiation_(detail::Opaque& opaque, All*) {
    internal::instantiate<All>(opaque, internal::All{});
}

}  // namespace gpuruntime

#include <gpuruntime/reductions.hpp>

#include "frame/instantiation.hpp"
#include "reduction/operators.hpp"
#include "reduction/reduce.hpp"
#include "reduction/transforms.hpp"

namespace gpuruntime {

template <class T>
cudaError CountNonZero::Invoker<T>::operator()(CUstream_st* stream, double* out, T const* in,
                                               unsigned long numElements,
                                               unsigned long reductionLength) const {
    return internal::reduceSegments<reductiontransforms::FlagNonZero<T>, reductionoperators::Sum<double>>(
        stream, out, in, numElements, reductionLength);
}

void _forceInstantiation_(detail::Opaque& opaque, CountNonZero*) {
    internal::instantiate<CountNonZero>(opaque, internal::All{});
}

}  // namespace gpuruntime

#include <gpuruntime/accumulation.hpp>

#include "frame/instantiation.hpp"
#include "reduction/accumulate.hpp"
#include "reduction/operators.hpp"

namespace gpuruntime {

template <class T>
cudaError CumMin::Invoker<T>::operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                                         unsigned long reductionLength, unsigned long stride) const {
    return internal::accumulate<reductionoperators::Min<T>>(stream, totals, data, numElements,
                                                            reductionLength, stride);
}

template <class T>
cudaError CumMinAdjust::Invoker<T>::operator()(CUstream_st* stream, T* totals, T* data,
                                               unsigned long numElements, unsigned long reductionLength,
                                               unsigned long segmentsPerGroup, unsigned long stride) const {
    return internal::adjust<reductionoperators::Min<T>>(stream, totals, data, numElements, reductionLength,
                                                        segmentsPerGroup, stride);
}

void _forceInstantiation_(detail::Opaque& opaque, CumMin*) {
    internal::instantiate<CumMin>(opaque, internal::Ordered{});
}

void _forceInstantiation_(detail::Opaque& opaque, CumMinAdjust*) {
    internal::instantiate<CumMinAdjust>(opaque, internal::Ordered{});
}

}  // namespace gpuruntime

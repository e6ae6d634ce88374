#include <gpuruntime/accumulation.hpp>

#include "frame/instantiation.hpp"
#include "reduction/accumulate.hpp"
#include "reduction/operators.hpp"

namespace gpuruntime {

template <class T>
cudaError CumMax::Invoker<T>::operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                                         unsigned long reductionLength, unsigned long stride) const {
    return internal::accumulate<reductionoperators::Max<T>>(stream, totals, data, numElements,
                                                            reductionLength, stride);
}

template <class T>
cudaError CumMaxAdjust::Invoker<T>::operator()(CUstream_st* stream, T* totals, T* data,
                                               unsigned long numElements, unsigned long reductionLength,
                                               unsigned long segmentsPerGroup, unsigned long stride) const {
    return internal::adjust<reductionoperators::Max<T>>(stream, totals, data, numElements, reductionLength,
                                                        segmentsPerGroup, stride);
}

void _forceInstantiation_(detail::Opaque& opaque, CumMax*) {
    internal::instantiate<CumMax>(opaque, internal::Ordered{});
}

void _forceInstantiation_(detail::Opaque& opaque, CumMaxAdjust*) {
    internal::instantiate<CumMaxAdjust>(opaque, internal::Ordered{});
}

}  // namespace gpuruntime

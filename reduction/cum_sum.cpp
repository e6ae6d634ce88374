#include <gpuruntime/accumulation.hpp>

#include "frame/instantiation.hpp"
#include "reduction/accumulate.hpp"
#include "reduction/operators.hpp"

namespace gpuruntime {

template <class T>
cudaError CumSum::Invoker<T>::operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                                         unsigned long reductionLength, unsigned long stride) const {
    return internal::accumulate<reductionoperators::Sum<T>>(stream, totals, data, numElements,
                                                            reductionLength, stride);
}

template <class T>
cudaError CumSumAdjust::Invoker<T>::operator()(CUstream_st* stream, T* totals, T* data,
                                               unsigned long numElements, unsigned long reductionLength,
                                               unsigned long segmentsPerGroup, unsigned long stride) const {
    return internal::adjust<reductionoperators::Sum<T>>(stream, totals, data, numElements, reductionLength,
                                                        segmentsPerGroup, stride);
}

void _forceInstantiation_(detail::Opaque& opaque, CumSum*) {
    internal::instantiate<CumSum>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, CumSumAdjust*) {
    internal::instantiate<CumSumAdjust>(opaque, internal::All{});
}

}  // namespace gpuruntime

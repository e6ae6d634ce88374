#include <gpuruntime/accumulation.hpp>

#include "frame/instantiation.hpp"
#include "reduction/accumulate.hpp"
#include "reduction/operators.hpp"

namespace gpuruntime {

template <class T>
cudaError CumProd::Invoker<T>::operator()(CUstream_st* stream, T* totals, T* data, unsigned long numElements,
                                          unsigned long reductionLength, unsigned long stride) const {
    return internal::accumulate<reductionoperators::Prod<T>>(stream, totals, data, numElements,
                                                             reductionLength, stride);
}

template <class T>
cudaError CumProdAdjust::Invoker<T>::operator()(CUstream_st* stream, T* totals, T* data,
                                                unsigned long numElements, unsigned long reductionLength,
                                                unsigned long segmentsPerGroup, unsigned long stride) const {
    return internal::adjust<reductionoperators::Prod<T>>(stream, totals, data, numElements, reductionLength,
                                                         segmentsPerGroup, stride);
}

void _forceInstantiation_(detail::Opaque& opaque, CumProd*) {
    internal::instantiate<CumProd>(opaque, internal::All{});
}

void _forceInstantiation_(detail::Opaque& opaque, CumProdAdjust*) {
    internal::instantiate<CumProdAdjust>(opaque, internal::All{});
}

}  // namespace gpuruntime

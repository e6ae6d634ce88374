#include <gpuruntime/transpose.hpp>

#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/transpose_kernels.hpp"

namespace gpuruntime {

template <class T>
void CTranspose::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long rows,
                                        unsigned long cols) const {
    if constexpr (internal::isComplex<T>) {
        internal::launchTranspose<T, true>(stream, out, in, rows, cols);
    } else {
        internal::transposeCarrier(stream, internal::carried(out), internal::carried(in), rows, cols);
    }
}

void _forceInstantiation_(detail::Opaque& opaque, CTranspose*) {
    internal::instantiate<CTranspose>(opaque, internal::All{});
}

}  // namespace gpuruntime

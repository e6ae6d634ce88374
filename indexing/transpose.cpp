#include <gpuruntime/transpose.hpp>

#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/transpose_kernels.hpp"

namespace gpuruntime {

namespace internal {

template <class T>
void transposeCarrier(CUstream_st* stream, T* out, T const* in, unsigned long rows, unsigned long cols) {
    launchTranspose<T, false>(stream, out, in, rows, cols);
}

template void transposeCarrier(CUstream_st*, unsigned char*, unsigned char const*, unsigned long,
                               unsigned long);
template void transposeCarrier(CUstream_st*, unsigned short*, unsigned short const*, unsigned long,
                               unsigned long);
template void transposeCarrier(CUstream_st*, unsigned int*, unsigned int const*, unsigned long,
                               unsigned long);
template void transposeCarrier(CUstream_st*, unsigned long*, unsigned long const*, unsigned long,
                               unsigned long);
template void transposeCarrier(CUstream_st*, ulonglong2*, ulonglong2 const*, unsigned long, unsigned long);

}  // namespace internal

template <class T>
void Transpose::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long rows,
                                       unsigned long cols) const {
    internal::transposeCarrier(stream, internal::carried(out), internal::carried(in), rows, cols);
}

void _forceInstantiation_(detail::Opaque& opaque, Transpose*) {
    internal::instantiate<Transpose>(opaque, internal::All{});
}

}  // namespace gpuruntime

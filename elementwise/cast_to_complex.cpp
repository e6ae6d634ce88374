#include <gpuruntime/casts.hpp>

#include "elementwise/cast_kernels.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"

namespace gpuruntime {

template <class Target, class Source>
typename CastToComplex::Invoker<Target, Source>::Result CastToComplex::Invoker<Target, Source>::operator()(
    CUstream_st* stream, unsigned long n, Target* out, Source const* in) const {
    return static_cast<Result>(internal::castDense(stream, n, out, in));
}

template <class Target, class Source>
void CastBlockToComplex::Invoker<Target, Source>::operator()(CUstream_st* stream, unsigned long n,
                                                             Target* out, Source const* in,
                                                             unsigned long dstOffset, unsigned long dstStride,
                                                             unsigned long blockLength) const {
    elementwisedetail::launch<internal::CastBlockKernel<Target, Source>>(
        stream, n, out, in, internal::BlockLayout(dstOffset, dstStride, blockLength));
}

void _forceInstantiation2_(detail::Opaque& opaque, CastToComplex*) {
    internal::instantiate2<CastToComplex>(opaque, internal::Complex{}, internal::All{});
}

void _forceInstantiation2_(detail::Opaque& opaque, CastBlockToComplex*) {
    internal::instantiate2<CastBlockToComplex>(opaque, internal::Complex{}, internal::All{});
}

}  // namespace gpuruntime

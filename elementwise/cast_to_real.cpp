#include <gpuruntime/casts.hpp>

#include "elementwise/cast_kernels.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"

namespace gpuruntime {

template <class Target, class Source>
typename CastToReal::Invoker<Target, Source>::Result CastToReal::Invoker<Target, Source>::operator()(
    CUstream_st* stream, unsigned long n, Target* out, Source const* in) const {
    return static_cast<Result>(internal::castDense(stream, n, out, in));
}

template <class Target, class Source>
void CastBlockToReal::Invoker<Target, Source>::operator()(CUstream_st* stream, unsigned long n, Target* out,
                                                          Source const* in, unsigned long dstOffset,
                                                          unsigned long dstStride,
                                                          unsigned long blockLength) const {
    elementwisedetail::launch<internal::CastBlockKernel<Target, Source>>(
        stream, n, out, in, internal::BlockLayout(dstOffset, dstStride, blockLength));
}

void _forceInstantiation2_(detail::Opaque& opaque, CastToReal*) {
    internal::instantiate2<CastToReal>(opaque, internal::RealNumeric{}, internal::Real{});
}

void _forceInstantiation2_(detail::Opaque& opaque, CastBlockToReal*) {
    internal::instantiate2<CastBlockToReal>(opaque, internal::RealNumeric{}, internal::Real{});
}

}  // namespace gpuruntime

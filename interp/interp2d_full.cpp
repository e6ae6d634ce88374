#include <gpuruntime/interpolation.hpp>

#include "frame/instantiation.hpp"
#include "interp/interp2d.hpp"

namespace gpuruntime {

template <class G, class V>
void Interp2d_CompactQuery::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, G const* gridX, G const* gridY, V const* values, G const* queryX,
    G const* queryY, long const* bins, unsigned long const* querySizes, unsigned long /*numQueryDims*/,
    unsigned long const* gridSizes, unsigned long /*numGridDims*/, V const& extrapValue,
    InterpType const& method, InterpType const& extrap) const {
    interp::interpolateCompactQuery2d<true>(stream, out, interp::gridOf<G, true>(gridX, gridSizes[0]),
                                            interp::gridOf<G, true>(gridY, gridSizes[1]), values, queryX,
                                            queryY, bins, querySizes, extrapValue, method, extrap);
}

template <class G, class V>
void Interp2d_NonCompactQuery::Invoker<G, V>::operator()(CUstream_st* stream, V* out, G const* gridX,
                                                         G const* gridY, V const* values, G const* queryX,
                                                         G const* queryY, unsigned long const* gridSizes,
                                                         unsigned long /*numGridDims*/,
                                                         unsigned long const& numQueries,
                                                         V const& extrapValue, InterpType const& method,
                                                         InterpType const& extrap) const {
    interp::byMethod(method, [&](auto m) {
        elementwisedetail::launch<interp::Interp2DKernel_NonCompactQuery<V, G, m>>(
            stream, numQueries, out, interp::gridOf<G, true>(gridX, gridSizes[0]),
            interp::gridOf<G, true>(gridY, gridSizes[1]), values, queryX, queryY, method, extrap,
            extrapValue);
    });
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp2d_CompactQuery*) {
    internal::instantiate2<Interp2d_CompactQuery>(opaque, internal::FloatingReal{}, internal::Floating{});
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp2d_NonCompactQuery*) {
    internal::instantiate2<Interp2d_NonCompactQuery>(opaque, internal::FloatingReal{}, internal::Floating{});
}

}  // namespace gpuruntime

#include <gpuruntime/interpolation.hpp>

#include "frame/instantiation.hpp"
#include "interp/interp2d.hpp"

namespace gpuruntime {

template <class G, class V>
void Interp2d_CompactQuery_ColonGrid::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, V const* values, G const* queryX, G const* queryY, long const* bins,
    unsigned long const* querySizes, unsigned long /*numQueryDims*/, unsigned long const* gridSizes,
    unsigned long /*numGridDims*/, V const& extrapValue, InterpType const& method,
    InterpType const& extrap) const {
    G const* const none = nullptr;
    interp::interpolateCompactQuery2d<false>(stream, out, interp::gridOf<G, false>(none, gridSizes[0]),
                                             interp::gridOf<G, false>(none, gridSizes[1]), values, queryX,
                                             queryY, bins, querySizes, extrapValue, method, extrap);
}

template <class G, class V>
void Interp2d_NonCompactQuery_ColonGrid::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, V const* values, G const* queryX, G const* queryY,
    unsigned long const* gridSizes, unsigned long /*numGridDims*/, unsigned long const& numQueries,
    V const& extrapValue, InterpType const& method, InterpType const& extrap) const {
    G const* const none = nullptr;
    interp::byMethod(method, [&](auto m) {
        elementwisedetail::launch<interp::Interp2DKernel_ColonGrid_NonCompactQuery<V, G, m>>(
            stream, numQueries, out, interp::gridOf<G, false>(none, gridSizes[0]),
            interp::gridOf<G, false>(none, gridSizes[1]), values, queryX, queryY, method, extrap,
            extrapValue);
    });
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp2d_CompactQuery_ColonGrid*) {
    internal::instantiate2<Interp2d_CompactQuery_ColonGrid>(opaque, internal::FloatingReal{},
                                                            internal::Floating{});
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp2d_NonCompactQuery_ColonGrid*) {
    internal::instantiate2<Interp2d_NonCompactQuery_ColonGrid>(opaque, internal::FloatingReal{},
                                                               internal::Floating{});
}

}  // namespace gpuruntime

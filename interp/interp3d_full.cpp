#include <gpuruntime/interpolation.hpp>

#include "frame/instantiation.hpp"
#include "interp/interp3d.hpp"

namespace gpuruntime {

template <class G, class V>
void Interp3d_CompactQuery::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, G const* gridX, G const* gridY, G const* gridZ, V const* values,
    G const* queryX, G const* queryY, G const* queryZ, long const* bins, unsigned long const* querySizes,
    unsigned long /*numQueryDims*/, unsigned long const* gridSizes, unsigned long /*numGridDims*/,
    V const& extrapValue, InterpType const& method, InterpType const& extrap) const {
    interp::interpolateCompactQuery3d<true, G>(stream, out, {gridX, gridY, gridZ}, values,
                                               {queryX, queryY, queryZ}, bins, querySizes, gridSizes,
                                               extrapValue, method, extrap);
}

template <class G, class V>
void Interp3d_NonCompactQuery::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, G const* gridX, G const* gridY, G const* gridZ, V const* values,
    G const* queryX, G const* queryY, G const* queryZ, unsigned long const* gridSizes,
    unsigned long /*numGridDims*/, unsigned long const& numQueries, V const& extrapValue,
    InterpType const& method, InterpType const& extrap) const {
    interp::interpolateNonCompactQuery3d<true, G>(stream, out, {gridX, gridY, gridZ}, values,
                                                  {queryX, queryY, queryZ}, gridSizes, numQueries,
                                                  extrapValue, method, extrap);
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp3d_CompactQuery*) {
    internal::instantiate2<Interp3d_CompactQuery>(opaque, internal::FloatingReal{}, internal::Floating{});
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp3d_NonCompactQuery*) {
    internal::instantiate2<Interp3d_NonCompactQuery>(opaque, internal::FloatingReal{}, internal::Floating{});
}

}  // namespace gpuruntime

#include <gpuruntime/interpolation.hpp>

#include "frame/instantiation.hpp"
#include "interp/interp3d.hpp"

namespace gpuruntime {

template <class G, class V>
void Interp3d_CompactQuery_ColonGrid::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, V const* values, G const* queryX, G const* queryY, G const* queryZ,
    long const* bins, unsigned long const* querySizes, unsigned long /*numQueryDims*/,
    unsigned long const* gridSizes, unsigned long /*numGridDims*/, V const& extrapValue,
    InterpType const& method, InterpType const& extrap) const {
    interp::interpolateCompactQuery3d<false, G>(stream, out, {}, values, {queryX, queryY, queryZ}, bins,
                                                querySizes, gridSizes, extrapValue, method, extrap);
}

template <class G, class V>
void Interp3d_NonCompactQuery_ColonGrid::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, V const* values, G const* queryX, G const* queryY, G const* queryZ,
    unsigned long const* gridSizes, unsigned long /*numGridDims*/, unsigned long const& numQueries,
    V const& extrapValue, InterpType const& method, InterpType const& extrap) const {
    interp::interpolateNonCompactQuery3d<false, G>(stream, out, {}, values, {queryX, queryY, queryZ},
                                                   gridSizes, numQueries, extrapValue, method, extrap);
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp3d_CompactQuery_ColonGrid*) {
    internal::instantiate2<Interp3d_CompactQuery_ColonGrid>(opaque, internal::FloatingReal{},
                                                            internal::Floating{});
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp3d_NonCompactQuery_ColonGrid*) {
    internal::instantiate2<Interp3d_NonCompactQuery_ColonGrid>(opaque, internal::FloatingReal{},
                                                               internal::Floating{});
}

}  // namespace gpuruntime

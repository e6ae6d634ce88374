#include <gpuruntime/interpolation.hpp>

#include "frame/instantiation.hpp"
#include "interp/interpnd_compact_query.hpp"

namespace gpuruntime {

template <class G, class V>
void Interpnd_CompactQuery::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, G const** grids, V const* values, G const** queries, long const* bins,
    unsigned long const* querySizes, unsigned long numQueryDims, unsigned long const* gridSizes,
    unsigned long numGridDims, V const& extrapValue, InterpType const& method, InterpType const& extrap,
    unsigned long const& numDims) const {
    switch (numDims) {
        case 0:
        case 1:
            return Interp1dFull::Invoker<G, V>()(stream, out, grids[0], values, queries[0], gridSizes[0],
                                                 interp::product(querySizes, numQueryDims), method, extrap,
                                                 extrapValue);
        case 2:
            return Interp2d_CompactQuery::Invoker<G, V>()(
                stream, out, grids[0], grids[1], values, queries[0], queries[1], bins, querySizes,
                numQueryDims, gridSizes, numGridDims, extrapValue, method, extrap);
        case 3:
            return Interp3d_CompactQuery::Invoker<G, V>()(
                stream, out, grids[0], grids[1], grids[2], values, queries[0], queries[1], queries[2], bins,
                querySizes, numQueryDims, gridSizes, numGridDims, extrapValue, method, extrap);
        default:
            interp::interpolateCompactQueryNd<true, G>(stream, out, interp::allOf(grids), values, queries,
                                                       bins, querySizes, gridSizes, extrapValue, method,
                                                       extrap, numDims);
    }
}

void _forceInstantiation2_(detail::Opaque& opaque, Interpnd_CompactQuery*) {
    internal::instantiate2<Interpnd_CompactQuery>(opaque, internal::FloatingReal{}, internal::Floating{});
}

}  // namespace gpuruntime

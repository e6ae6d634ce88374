#include <gpuruntime/interpolation.hpp>

#include "frame/instantiation.hpp"
#include "interp/interpnd_non_compact_query.hpp"

namespace gpuruntime {

template <class G, class V>
void Interpnd_NonCompactQuery::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, G const** grids, V const* values, G const** queries,
    unsigned long const* gridSizes, unsigned long numGridDims, unsigned long const& numQueries,
    V const& extrapValue, InterpType const& method, InterpType const& extrap,
    unsigned long const& numDims) const {
    switch (numDims) {
        case 0:
        case 1:
            return Interp1dFull::Invoker<G, V>()(stream, out, grids[0], values, queries[0], gridSizes[0],
                                                 numQueries, method, extrap, extrapValue);
        case 2:
            return Interp2d_NonCompactQuery::Invoker<G, V>()(stream, out, grids[0], grids[1], values,
                                                             queries[0], queries[1], gridSizes, numGridDims,
                                                             numQueries, extrapValue, method, extrap);
        case 3:
            return Interp3d_NonCompactQuery::Invoker<G, V>()(
                stream, out, grids[0], grids[1], grids[2], values, queries[0], queries[1], queries[2],
                gridSizes, numGridDims, numQueries, extrapValue, method, extrap);
        default:
            interp::interpolateNonCompactQueryNd<true, G>(stream, out, interp::allOf(grids), values, queries,
                                                          gridSizes, numQueries, extrapValue, method, extrap,
                                                          numDims);
    }
}

void _forceInstantiation2_(detail::Opaque& opaque, Interpnd_NonCompactQuery*) {
    internal::instantiate2<Interpnd_NonCompactQuery>(opaque, internal::FloatingReal{}, internal::Floating{});
}

}  // namespace gpuruntime

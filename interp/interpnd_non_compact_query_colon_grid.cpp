#include <gpuruntime/interpolation.hpp>

#include "frame/instantiation.hpp"
#include "interp/interpnd_non_compact_query.hpp"

namespace gpuruntime {

template <class G, class V>
void Interpnd_NonCompactQuery_ColonGrid::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, V const* values, G const** queries, unsigned long const* gridSizes,
    unsigned long numGridDims, unsigned long const& numQueries, V const& extrapValue,
    InterpType const& method, InterpType const& extrap, unsigned long const& numDims) const {
    switch (numDims) {
        case 0:
        case 1:
            return Interp1d_ColonGrid::Invoker<G, V>()(stream, out, values, queries[0], gridSizes[0],
                                                       numQueries, method, extrap, extrapValue);
        case 2:
            return Interp2d_NonCompactQuery_ColonGrid::Invoker<G, V>()(
                stream, out, values, queries[0], queries[1], gridSizes, numGridDims, numQueries, extrapValue,
                method, extrap);
        case 3:
            return Interp3d_NonCompactQuery_ColonGrid::Invoker<G, V>()(
                stream, out, values, queries[0], queries[1], queries[2], gridSizes, numGridDims, numQueries,
                extrapValue, method, extrap);
        default:
            interp::interpolateNonCompactQueryNd<false, G>(stream, out, {}, values, queries, gridSizes,
                                                           numQueries, extrapValue, method, extrap, numDims);
    }
}

void _forceInstantiation2_(detail::Opaque& opaque, Interpnd_NonCompactQuery_ColonGrid*) {
    internal::instantiate2<Interpnd_NonCompactQuery_ColonGrid>(opaque, internal::FloatingReal{},
                                                               internal::Floating{});
}

}  // namespace gpuruntime

#include <gpuruntime/interpolation.hpp>

#include "frame/instantiation.hpp"
#include "interp/interpnd_compact_query.hpp"

namespace gpuruntime {

template <class G, class V>
void Interpnd_CompactQuery_ColonGrid::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, V const* values, G const** queries, long const* bins,
    unsigned long const* querySizes, unsigned long numQueryDims, unsigned long const* gridSizes,
    unsigned long numGridDims, V const& extrapValue, InterpType const& method, InterpType const& extrap,
    unsigned long const& numDims) const {
    switch (numDims) {
        case 0:
        case 1:
            return Interp1d_ColonGrid::Invoker<G, V>()(stream, out, values, queries[0], gridSizes[0],
                                                       interp::product(querySizes, numQueryDims), method,
                                                       extrap, extrapValue);
        case 2:
            return Interp2d_CompactQuery_ColonGrid::Invoker<G, V>()(
                stream, out, values, queries[0], queries[1], bins, querySizes, numQueryDims, gridSizes,
                numGridDims, extrapValue, method, extrap);
        case 3:
            return Interp3d_CompactQuery_ColonGrid::Invoker<G, V>()(
                stream, out, values, queries[0], queries[1], queries[2], bins, querySizes, numQueryDims,
                gridSizes, numGridDims, extrapValue, method, extrap);
        default:
            interp::interpolateCompactQueryNd<false, G>(stream, out, {}, values, queries, bins, querySizes,
                                                        gridSizes, extrapValue, method, extrap, numDims);
    }
}

void _forceInstantiation2_(detail::Opaque& opaque, Interpnd_CompactQuery_ColonGrid*) {
    internal::instantiate2<Interpnd_CompactQuery_ColonGrid>(opaque, internal::FloatingReal{},
                                                            internal::Floating{});
}

}  // namespace gpuruntime

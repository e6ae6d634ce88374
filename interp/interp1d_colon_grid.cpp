#include <gpuruntime/interpolation.hpp>

#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "interp/cubic.hpp"
#include "interp/location.hpp"
#include "interp/method.hpp"
#include "interp/stage.hpp"

namespace gpuruntime {
namespace interp {
namespace {

template <class V, class G, unsigned int M>
struct Interp1DKernel_ColonGrid {
    static GPU_DEVICE void apply(elementwisedetail::Position at, V* out, V const* values, G const* query,
                                 unsigned int gridSize, InterpType method, InterpType extrap, V extrapValue) {
        ColonGrid<G> const grid{gridSize};
        G const q = query[at.i];
        out[at.i] = resultAt<M>(grid, values, q, locateInColonGrid(gridSize, q), method, extrap,
                                Constants<V>{extrapValue});
    }
};

}  // namespace
}  // namespace interp

template <class G, class V>
void Interp1d_ColonGrid::Invoker<G, V>::operator()(CUstream_st* stream, V* out, V const* values,
                                                   G const* query, unsigned long gridSize,
                                                   unsigned long numQueries, InterpType method,
                                                   InterpType extrap, V extrapValue) const {
    interp::byMethod(method, [&](auto m) {
        elementwisedetail::launch<interp::Interp1DKernel_ColonGrid<V, G, m>>(
            stream, numQueries, out, values, query, gridSize, method, extrap, extrapValue);
    });
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp1d_ColonGrid*) {
    internal::instantiate2<Interp1d_ColonGrid>(opaque, internal::FloatingReal{}, internal::Floating{});
}

}  // namespace gpuruntime

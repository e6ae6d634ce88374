#include <gpuruntime/interpolation.hpp>

#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "interp/cubic.hpp"
#include "interp/location.hpp"
#include "interp/method.hpp"
#include "interp/stage.hpp"
#include "interp/together.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace interp {
namespace {

template <class V, class G, unsigned int M>
struct Interp1DKernel_ColonGrid {
    static GPU_DEVICE void apply(backend::Run run, V* out, V const* values, G const* query,
                                 unsigned int gridSize, InterpType method, InterpType extrap, V extrapValue) {
        ColonGrid<G> const grid{gridSize};
        Constants<V> const constants{extrapValue};
        if constexpr (goTogether && M == anyMethod) {
            BatchSearch<G> search(grid);
            G const* const queries = query + run.first;
            interpolateEach<1>(&grid, &search, run.size, &queries, values, method, extrap, constants,
                               out + run.first);
        } else {
            backend::forEachOf(run.size, [&](unsigned int k) {
                G const q = query[run.first + k];
                out[run.first + k] =
                    resultAt<M>(grid, values, q, locateInColonGrid(gridSize, q), method, extrap, constants);
            });
        }
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

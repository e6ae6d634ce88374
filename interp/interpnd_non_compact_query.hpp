#pragma once

#include "interp/interpnd.hpp"

/// Interpolation in four and five dimensions at points.
namespace gpuruntime::interp {
namespace {

/// Sizes of the grid.
GPU_CONSTANT_VARIABLE(Sizes, interpValueSzNcpQ);

template <class V, class G, bool F>
struct InterpNDKernel_NonCompactQuery {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& at, V* out, Pointers<G, maxDims> grids,
                                 V const* values, Pointers<G, maxDims> queries, unsigned int numQueries,
                                 InterpType method, InterpType extrap, V extrapValue, unsigned int numDims) {
        Constants<V> const constants{extrapValue};
        Searches<G, maxDims> const searches(grids, interpValueSzNcpQ, numDims);
        forEachThreadOfTile(at, numQueries, [&](auto forEachQuery) GPU_INLINE {
            long hints[maxDims] = {};
            forEachQuery([&](unsigned int i) GPU_INLINE {
                Point<GridOf<G, F>, maxDims> point{};
                for (unsigned int d = 0; d < numDims; ++d) {
                    G const q = queries[d][i];
                    hints[d] = searches.locate(d, q, hints[d]);
                    point.place(d, gridOf<G, F>(grids[d], interpValueSzNcpQ[d]), q, hints[d], method, extrap);
                }
                storeResult(out[i], point, numDims, values, constants);
            });
        });
    }

    template <class... T>
    static unsigned long work(V const*, Pointers<G, maxDims>, V const*, Pointers<G, maxDims>,
                              unsigned long numQueries, T const&...) {
        return numQueries;
    }
};

template <bool F, class G, class V>
void interpolateNonCompactQueryNd(CUstream_st* stream, V* out, Pointers<G, maxDims> grids, V const* values,
                                  G const** queries, unsigned long const* gridSizes, unsigned long numQueries,
                                  V extrapValue, InterpType method, InterpType extrap,
                                  unsigned long numDims) {
    if (!copySizes(interpValueSzNcpQ, gridSizes, numDims, stream,
                   "Interpnd Noncompact query kernel failed to copy valueSz to constant memory")) {
        return;
    }
    fixed1dblockdetail::launch<InterpNDKernel_NonCompactQuery<V, G, F>>(
        stream, threadsFor(numQueries), tileBlockSize, out, grids, values, allOf(queries), numQueries, method,
        extrap, extrapValue, numDims);
}

}  // namespace
}  // namespace gpuruntime::interp

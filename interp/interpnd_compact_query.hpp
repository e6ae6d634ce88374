#pragma once

#include "interp/interpnd.hpp"

/// Interpolation in four and five dimensions on products of vectors.
namespace gpuruntime::interp {
namespace {

/// Sizes of the queries and of the grid.
GPU_CONSTANT_VARIABLE(Sizes, interpQuerySz);
GPU_CONSTANT_VARIABLE(Sizes, interpValueSz);

template <class V, class G, bool F>
struct InterpNDKernel_CompactQuery {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& at, V* out, Pointers<G, maxDims> grids,
                                 V const* values, Pointers<G, maxDims> queries, long const* bins,
                                 unsigned int numQueries, InterpType method, InterpType extrap, V extrapValue,
                                 unsigned int numDims) {
        Constants<V> const constants{extrapValue};
        forEachThreadOfTile(at, numQueries, [&](auto forEachQuery) GPU_INLINE {
            forEachQuery([&](unsigned int i) GPU_INLINE {
                Point<GridOf<G, F>, maxDims> point{};
                unsigned int left = i, section = 0;
                for (unsigned int d = 0; d < numDims; ++d) {
                    auto const querySize = static_cast<unsigned int>(interpQuerySz[d]);
                    unsigned int const s = left % querySize;
                    left /= querySize;
                    point.place(d, gridOf<G, F>(grids[d], interpValueSz[d]), queries[d][s], bins[section + s],
                                method, extrap);
                    section += roundUp16(querySize);
                }
                storeResult(out[i], point, numDims, values, constants);
            });
        });
    }

    template <class... T>
    static unsigned long work(V const*, Pointers<G, maxDims>, V const*, Pointers<G, maxDims>, long const*,
                              unsigned long numQueries, T const&...) {
        return numQueries;
    }
};

template <bool F, class G, class V>
void interpolateCompactQueryNd(CUstream_st* stream, V* out, Pointers<G, maxDims> grids, V const* values,
                               G const** queries, long const* bins, unsigned long const* querySizes,
                               unsigned long const* gridSizes, V extrapValue, InterpType method,
                               InterpType extrap, unsigned long numDims) {
    if (!copySizes(interpQuerySz, querySizes, numDims, stream,
                   "Interpnd compact query kernel failed to copy querySz to constant memory") ||
        !copySizes(interpValueSz, gridSizes, numDims, stream,
                   "Interpnd compact query kernel failed to copy valueSz to constant memory")) {
        return;
    }
    unsigned long const numQueries = product(querySizes, numDims);
    fixed1dblockdetail::launch<InterpNDKernel_CompactQuery<V, G, F>>(
        stream, threadsFor(numQueries), tileBlockSize, out, grids, values, allOf(queries), bins, numQueries,
        method, extrap, extrapValue, numDims);
}

}  // namespace
}  // namespace gpuruntime::interp

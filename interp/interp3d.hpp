#pragma once

#include <gpuruntime/interpolation.hpp>

#include "frame/elementwise.hpp"
#include "frame/fixed_block.hpp"
#include "interp/constant_sizes.hpp"
#include "interp/location.hpp"
#include "interp/nested.hpp"
#include "interp/sections.hpp"
#include "interp/stage.hpp"

/// Interpolation in three dimensions, on grids of either kind.
namespace gpuruntime::interp {
namespace {

/// Sizes of the grid, for compact and for non-compact queries.
GPU_CONSTANT_VARIABLE(Sizes, interpValueSz);
GPU_CONSTANT_VARIABLE(Sizes, interpValueSzNcpQ);

template <class V, class G, bool F>
struct Interp3DKernel_CompactQuery {
    static GPU_DEVICE void apply(elementwise3ddetail::Position at, V* out, Pointers<G, 3> grids,
                                 V const* values, Pointers<G, 3> queries, long const* bins, InterpType method,
                                 InterpType extrap, V extrapValue) {
        unsigned int const subscripts[] = {at.x, at.y, at.z}, querySizes[] = {at.nx, at.ny, at.nz};
        Point<GridOf<G, F>, 3> point;
        unsigned int section = 0;
        for (unsigned int d = 0; d < 3; ++d) {
            unsigned int const s = subscripts[d];
            point.place(d, gridOf<G, F>(grids[d], interpValueSz[d]), queries[d][s], bins[section + s], method,
                        extrap);
            section += roundUp16(querySizes[d]);
        }
        out[(at.z * at.ny + at.y) * at.nx + at.x] =
            interpolate3d(point.places, point.sizes, values, Constants<V>{extrapValue});
    }
};

template <class V, class G, bool F>
struct Interp3DKernel_NonCompactQuery {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& at, V* out, Pointers<G, 3> grids,
                                 V const* values, Pointers<G, 3> queries, unsigned int numQueries,
                                 InterpType method, InterpType extrap, V extrapValue) {
        Constants<V> const constants{extrapValue};
        Searches<G, 3> const searches(grids, interpValueSzNcpQ, 3);
        forEachThreadOfTile(at, numQueries, [&](auto forEachQuery) GPU_INLINE {
            long hints[3] = {};
            forEachQuery([&](unsigned int i) GPU_INLINE {
                Point<GridOf<G, F>, 3> point;
                for (unsigned int d = 0; d < 3; ++d) {
                    G const q = queries[d][i];
                    hints[d] = searches.locate(d, q, hints[d]);
                    point.place(d, gridOf<G, F>(grids[d], interpValueSzNcpQ[d]), q, hints[d], method, extrap);
                }
                out[i] = interpolate3d(point.places, point.sizes, values, constants);
            });
        });
    }

    template <class... T>
    static unsigned long work(V const*, Pointers<G, 3>, V const*, Pointers<G, 3>, unsigned long numQueries,
                              T const&...) {
        return numQueries;
    }
};

constexpr unsigned long numDims3d = 3;

template <bool F, class G, class V>
void interpolateCompactQuery3d(CUstream_st* stream, V* out, Pointers<G, 3> grids, V const* values,
                               Pointers<G, 3> queries, long const* bins, unsigned long const* querySizes,
                               unsigned long const* gridSizes, V extrapValue, InterpType method,
                               InterpType extrap) {
    if (!copySizes(interpValueSz, gridSizes, numDims3d, stream,
                   "Interp3d compact query kernel failed to copy valueSz to constant memory")) {
        return;
    }
    if (querySizes[0] == 0 || querySizes[1] == 0 || querySizes[2] == 0) return;
    elementwise3ddetail::launch<Interp3DKernel_CompactQuery<V, G, F>>(
        stream, querySizes[0], querySizes[1], querySizes[2], out, grids, values, queries, bins, method,
        extrap, extrapValue);
}

template <bool F, class G, class V>
void interpolateNonCompactQuery3d(CUstream_st* stream, V* out, Pointers<G, 3> grids, V const* values,
                                  Pointers<G, 3> queries, unsigned long const* gridSizes,
                                  unsigned long numQueries, V extrapValue, InterpType method,
                                  InterpType extrap) {
    if (!copySizes(interpValueSzNcpQ, gridSizes, numDims3d, stream,
                   "Interp3d Noncompact query kernel failed to copy valueSz to constant memory")) {
        return;
    }
    fixed1dblockdetail::launch<Interp3DKernel_NonCompactQuery<V, G, F>>(
        stream, threadsFor(numQueries), tileBlockSize, out, grids, values, queries, numQueries, method,
        extrap, extrapValue);
}

}  // namespace
}  // namespace gpuruntime::interp

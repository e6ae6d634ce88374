#pragma once

#include <gpuruntime/interpolation.hpp>

#include "frame/elementwise.hpp"
#include "frame/fixed_block.hpp"
#include "interp/constant_sizes.hpp"
#include "interp/location.hpp"
#include "interp/nested.hpp"
#include "interp/sections.hpp"
#include "interp/stage.hpp"
#include "interp/tile.hpp"
#include "interp/together.hpp"
#include "rows.hpp"

/// Interpolation in three dimensions, on grids of either kind.
namespace gpuruntime::interp {
namespace {

/// Sizes of the grid, for compact and for non-compact queries.
GPU_CONSTANT_VARIABLE(Sizes, interpValueSz);
GPU_CONSTANT_VARIABLE(Sizes, interpValueSzNcpQ);

template <class V, class G, bool F>
struct Interp3DKernel_CompactQuery {
    static GPU_DEVICE void apply(elementwise3ddetail::BlockOfRows const& block, V* out, Pointers<G, 3> grids,
                                 V const* values, Pointers<G, 3> queries, long const* bins, InterpType method,
                                 InterpType extrap, V extrapValue) {
        using Grid = GridOf<G, F>;
        Constants<V> const constants{extrapValue};
        long const* const binsOfY = bins + roundUp16(block.nx);
        long const* const binsOfZ = binsOfY + roundUp16(block.ny);
        auto const gridAt = [&](unsigned int d) { return gridOf<G, F>(grids[d], interpValueSz[d]); };
        Grid const gridX = gridAt(0), gridY = gridAt(1), gridZ = gridAt(2);
        unsigned int const sizes[] = {gridX.n, gridY.n, gridZ.n};
        block.forEachRow([&](backend::Row row, unsigned int y, unsigned int z) {
            Place<typename Grid::Position> const others[] = {
                placeOf(gridY, queries[1][y], binsOfY[y], method, extrap),
                placeOf(gridZ, queries[2][z], binsOfZ[z], method, extrap)};
            V* const to = out + (z * block.ny + y) * block.nx;
            if constexpr (goTogether) {
                forEachBatch(row.size(), [&](unsigned int begin, unsigned int size) {
                    unsigned int const x = row.begin() + begin;
                    Places<typename Grid::Position> along;
                    placeEach(gridX, size, queries[0] + x, bins + x, method, extrap, along);
                    lineOver<3>(along, others, size, sizes, values, constants, to + x);
                });
            } else {
                row.forEach([&](unsigned long x) {
                    Place<typename Grid::Position> const places[] = {
                        placeOf(gridX, queries[0][x], bins[x], method, extrap), others[0], others[1]};
                    to[x] = interpolate3d(places, sizes, values, constants);
                });
            }
        });
    }
};

template <class V, class G, bool F>
struct Interp3DKernel_NonCompactQuery {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& at, V* out, Pointers<G, 3> grids,
                                 V const* values, Pointers<G, 3> queries, unsigned int numQueries,
                                 InterpType method, InterpType extrap, V extrapValue) {
        Constants<V> const constants{extrapValue};
        if constexpr (goTogether) {
            interpolateTile(at.blockIndex * tileBlockSize * queriesPerThread, numQueries, out, grids, values,
                            queries, method, extrap, constants);
        } else {
            Searches<G, 3> const searches(grids, interpValueSzNcpQ, 3);
            forEachThreadOfTile(at, numQueries, [&](auto forEachQuery) GPU_INLINE {
                long hints[3] = {};
                forEachQuery([&](unsigned int i) GPU_INLINE {
                    Point<GridOf<G, F>, 3> point;
                    for (unsigned int d = 0; d < 3; ++d) {
                        G const q = queries[d][i];
                        hints[d] = searches.locate(d, q, hints[d]);
                        point.place(d, gridOf<G, F>(grids[d], interpValueSzNcpQ[d]), q, hints[d], method,
                                    extrap);
                    }
                    out[i] = interpolate3d(point.places, point.sizes, values, constants);
                });
            });
        }
    }

    /// A block's queries together.
    static GPU_DEVICE void interpolateTile(unsigned int first, unsigned int numQueries, V* out,
                                           Pointers<G, 3> const& grids, V const* values,
                                           Pointers<G, 3> const& queries, InterpType method,
                                           InterpType extrap, Constants<V> const& constants) {
        using Grid = GridOf<G, F>;
        auto const sizeOf = [](unsigned int d) { return static_cast<unsigned int>(interpValueSzNcpQ[d]); };
        bool const isColon = grids[0] == nullptr && grids[1] == nullptr && grids[2] == nullptr;
        auto const searchOf = [&](unsigned int d) {
            return isColon ? BatchSearch<G>(ColonGrid<G>{sizeOf(d)})
                           : BatchSearch<G>(FullGrid<G>{grids[d], sizeOf(d)});
        };
        auto const gridAt = [&](unsigned int d) { return gridOf<G, F>(grids[d], sizeOf(d)); };
        BatchSearch<G> searches[] = {searchOf(0), searchOf(1), searchOf(2)};
        Grid const gridsAt[] = {gridAt(0), gridAt(1), gridAt(2)};
        G const* const from[] = {queries[0] + first, queries[1] + first, queries[2] + first};
        unsigned int const size = tileSize(first, numQueries, tileBlockSize * queriesPerThread);
        interpolateEach<3>(gridsAt, searches, size, from, values, method, extrap, constants, out + first);
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

#pragma once

#include <gpuruntime/interp_type.hpp>

#include "device.hpp"
#include "frame/fixed_block.hpp"
#include "interp/grid.hpp"
#include "interp/location.hpp"
#include "interp/stage.hpp"

/// What kernels of three dimensions and more share.
namespace gpuruntime::interp {

/// Device pointers, one for each dimension, as an argument of a kernel.
template <class T, unsigned int D>
struct Pointers {
    T const* values[D];

    GPU_HOST_DEVICE T const* operator[](unsigned int d) const { return values[d]; }
};

/// Where a query lies in each dimension, and the sizes of the grid.
template <class Grid, unsigned int D>
struct Point {
    Place<typename Grid::Position> places[D];
    unsigned int sizes[D];

    template <class G>
    GPU_DEVICE void place(unsigned int d, Grid const& grid, G q, long bin, InterpType method,
                          InterpType extrap) {
        places[d] = placeOf(grid, q, bin, method, extrap);
        sizes[d] = grid.n;
    }
};

/// Finds queries in each of `numDims` dimensions, on colon grids where no dimension has points.
template <class G, unsigned int D>
class Searches {
  public:
    template <class Sizes>
    GPU_DEVICE Searches(Pointers<G, D> const& grids, Sizes const& gridSizes, unsigned int numDims)
        : isColon(true), points(grids) {
        for (unsigned int d = 0; d < numDims; ++d) {
            sizes[d] = static_cast<unsigned int>(gridSizes[d]);
            isColon = isColon && grids[d] == nullptr;
        }
        if (isColon) return;
        for (unsigned int d = 0; d < numDims; ++d) reciprocals[d] = GridSearch<G>::reciprocalOf(gridAt(d));
    }

    GPU_DEVICE long locate(unsigned int d, G q, long hint) const {
        if (isColon) return locateInColonGrid(sizes[d], q);
        return GridSearch<G>(gridAt(d), reciprocals[d]).locateInGrid(q, hint);
    }

  private:
    GPU_DEVICE FullGrid<G> gridAt(unsigned int d) const { return {points[d], sizes[d]}; }

    bool isColon;
    Pointers<G, D> points;
    unsigned int sizes[D];
    G reciprocals[D];
};

inline constexpr unsigned int tileBlockSize = 128;
inline constexpr unsigned int queriesPerThread = 10;

/// The threads that queries need, at least one.
constexpr unsigned long threadsFor(unsigned long numQueries) {
    return numQueries == 0 ? 1 : (numQueries - 1) / queriesPerThread + 1;
}

/// Calls `f(forEachQuery)` for each thread of a block; `forEachQuery(g)` calls `g(i)` for the thread's
/// queries i, which are a block apart.
template <class F>
GPU_DEVICE void forEachThreadOfTile(cuda::Fixed1DBlockIterator const& at, unsigned int numQueries, F f) {
    unsigned int const first = at.blockIndex * tileBlockSize * queriesPerThread;
    if (first >= numQueries) return;
    at.threads.forEach(numQueries - first, [&](unsigned int t) {
        f([&](auto g) GPU_INLINE {
            unsigned int i = first + t;
            for (unsigned int k = 0; k < queriesPerThread && i < numQueries; ++k, i += tileBlockSize) g(i);
        });
    });
}

}  // namespace gpuruntime::interp

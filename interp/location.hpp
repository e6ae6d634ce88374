#pragma once

#include <gpuruntime/interp_type.hpp>

#include "conversion.hpp"
#include "device.hpp"
#include "interp/grid.hpp"
#include "math.hpp"

/// Where a query lies in a grid.
namespace gpuruntime::interp {

/// Finds queries on a full grid.
template <class G>
class GridSearch {
  public:
    GPU_DEVICE explicit GridSearch(FullGrid<G> const& grid) : GridSearch(grid, reciprocalOf(grid)) {}
    GPU_DEVICE GridSearch(FullGrid<G> const& grid, G reciprocal) : grid(grid), reciprocal(reciprocal) {}

    /// One over the distance of the first two points.
    GPU_DEVICE static G reciprocalOf(FullGrid<G> const& grid) { return 1 / (grid[1] - grid[0]); }

    /// The bin of `q`, which is looked for in bin `hint` first, then where it would be if all points were as
    /// far apart as the first two, then by halves.
    GPU_DEVICE long locateInGrid(G q, long hint) const {
        if (backend::isNaN(q)) return BIN_NAN_QUERY;
        if (hint >= 0 && isIn(static_cast<unsigned int>(hint), q)) return hint;
        unsigned int const last = grid.n - 2;
        if (grid[0] > q) return BIN_BELOW_GRID;
        if (grid[grid.n - 1] < q) return BIN_ABOVE_GRID;
        G const steps = (q - grid[0]) * reciprocal;
        auto const guess = static_cast<unsigned int>(backend::isNaN(steps) ? 0 : backend::toInt32(steps));
        if (isIn(guess, q)) return guess;
        if (grid[1] > q) return 0;
        if (!(grid[last] > q)) return last;
        unsigned int lower = 1, upper = last;
        auto middle = hint >= 1 && hint <= last ? static_cast<unsigned int>(hint) : last >> 1;
        for (;;) {
            if (!(grid[middle] <= q)) {
                upper = middle;
            } else if (!(grid[middle + 1] <= q)) {
                return middle;
            } else {
                lower = middle + 1;
            }
            middle = (lower + upper) >> 1;
        }
    }

  private:
    /// Whether the interval, if there is one of that number, has the query. A point that is NaN counts as
    /// above it.
    GPU_DEVICE bool isIn(unsigned int bin, G q) const {
        return bin <= grid.n - 2 && grid[bin] <= q && !(grid[bin + 1] <= q);
    }

    FullGrid<G> grid;
    G reciprocal;
};

/// The bin of `q` on the grid 1, 2, ... n. Without branches, so that loops vectorise.
template <class G>
GPU_DEVICE long locateInColonGrid(unsigned int n, G q) {
    G const end = backend::fromInteger<G>(n);
    long const bin = backend::toInt32(backend::isNaN(q) ? G(0) : backend::floor(q) - 1);
    long const inside = q == end ? n - 2l : bin;
    long const belowOrInside = q < 1 ? BIN_BELOW_GRID : inside;
    long const ofNumber = end < q ? BIN_ABOVE_GRID : belowOrInside;
    return backend::isNaN(q) ? BIN_NAN_QUERY : ofNumber;
}

/// Finds queries on a colon grid.
template <class G>
class ColonGridSearch {
  public:
    GPU_DEVICE explicit ColonGridSearch(ColonGrid<G> const& grid) : n(grid.n) {}

    GPU_DEVICE long locateInGrid(G q, long /*hint*/) const { return locateInColonGrid(n, q); }

  private:
    unsigned int n;
};

template <class G>
GPU_DEVICE GridSearch<G> searchOf(FullGrid<G> const& grid) {
    return GridSearch<G>(grid);
}

template <class G>
GPU_DEVICE ColonGridSearch<G> searchOf(ColonGrid<G> const& grid) {
    return ColonGridSearch<G>(grid);
}

}  // namespace gpuruntime::interp

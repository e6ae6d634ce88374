#pragma once

#include <type_traits>

#include "conversion.hpp"
#include "device.hpp"
#include "load.hpp"

/// The two kinds of grids: where a query is between two points.
namespace gpuruntime::interp {

/// `n` points in ascending order, at least two, in device memory.
template <class G>
struct FullGrid {
    using Position = G;

    G const* points;
    unsigned int n;

    GPU_DEVICE G operator[](unsigned long i) const { return backend::loadReadOnly(points + i); }

    /// How far the query is from point `lower` to the next: from 0 to 1, if it is between them.
    GPU_DEVICE Position positionOf(G q, unsigned long lower) const {
        G const low = (*this)[lower];
        return (q - low) * (1 / ((*this)[lower + 1] - low));
    }

    /// The same, if all points are as far apart as the first two.
    GPU_DEVICE G evenPositionOf(G q, unsigned long lower) const {
        return (q - (*this)[lower]) / ((*this)[1] - (*this)[0]);
    }

    GPU_DEVICE bool isNearerToUpper(G q, unsigned long lower) const {
        return (*this)[lower + 1] - q <= q - (*this)[lower];
    }
};

/// The points 1, 2, ... n. Positions are differences in `double`, also of `float` queries.
template <class G>
struct ColonGrid {
    using Position = double;

    unsigned int n;

    GPU_DEVICE static double pointAt(unsigned long i) {
        return backend::fromUint32(static_cast<unsigned int>(i)) + 1;
    }

    GPU_DEVICE Position positionOf(G q, unsigned long lower) const {
        return static_cast<double>(q) - pointAt(lower);
    }

    GPU_DEVICE G evenPositionOf(G q, unsigned long lower) const { return q - static_cast<G>(pointAt(lower)); }

    GPU_DEVICE bool isNearerToUpper(G q, unsigned long lower) const {
        G const low = static_cast<G>(pointAt(lower)), high = static_cast<G>(pointAt(lower) + 1);
        return high - q <= q - low;
    }
};

/// The grid of a dimension by kind.
template <class G, bool F>
using GridOf = std::conditional_t<F, FullGrid<G>, ColonGrid<G>>;

/// A grid that has `points`, if it is a full one.
template <class G, bool F>
GPU_HOST_DEVICE GridOf<G, F> gridOf(G const* points, unsigned long n) {
    if constexpr (F) {
        return {points, static_cast<unsigned int>(n)};
    } else {
        return {static_cast<unsigned int>(n)};
    }
}

}  // namespace gpuruntime::interp

#pragma once

#include <gpuruntime/interpolation.hpp>

#include "frame/fixed_block.hpp"
#include "interp/constant_sizes.hpp"
#include "interp/nested.hpp"
#include "interp/sections.hpp"
#include "interp/stage.hpp"

/// Interpolation in four and five dimensions, on grids of either kind.
namespace gpuruntime::interp {

/// All pointers of host arrays with an entry for each dimension that there can be.
template <class G>
Pointers<G, maxDims> allOf(G const** pointers) {
    Pointers<G, maxDims> all{};
    for (unsigned int d = 0; d < maxDims; ++d) all.values[d] = pointers[d];
    return all;
}

inline unsigned long product(unsigned long const* sizes, unsigned long count) {
    unsigned long result = 1;
    for (unsigned long d = 0; d < count; ++d) result *= sizes[d];
    return result;
}

/// Stores the result at a point of four or five dimensions.
template <class V, class Grid>
GPU_DEVICE void storeResult(V& to, Point<Grid, maxDims> const& point, unsigned int numDims, V const* values,
                            Constants<V> const& constants) {
    if (numDims == 4) to = interpolate4d(point.places, point.sizes, values, constants);
    if (numDims == 5) to = interpolate5d(point.places, point.sizes, values, constants);
}

}  // namespace gpuruntime::interp

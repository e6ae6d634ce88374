#pragma once

#include <gpuruntime/interpolation.hpp>

#include "frame/elementwise.hpp"
#include "interp/cubic.hpp"
#include "interp/location.hpp"
#include "interp/sections.hpp"
#include "interp/stage.hpp"

/// Interpolation in two dimensions, on grids of either kind.
namespace gpuruntime::interp {

GPU_DEVICE bool isBelowOrAbove(long bin) { return bin == BIN_BELOW_GRID || bin == BIN_ABOVE_GRID; }

/// The cubic along a row. It is a function of its own on the host: of a complex value's parts g++ 12 makes
/// one vector, which it would leave unrounded to `float` between two cubics that it sees as one.
template <class V, class G>
GPU_STEP V cubicRow(V const* row, unsigned int bin, unsigned int n, CubicWeights<G> const& weights) {
    return evalCubic1d(neighboursIn(row, bin, n), weights);
}

/// Cubic rows, and a cubic along y through up to four of them.
template <class Grid, class G, class V>
GPU_DEVICE V cubic2d(Grid const& gridX, Grid const& gridY, V const* values, G qx, G qy, long bx, long by,
                     Constants<V> const& constants) {
    if (by == BIN_NAN_QUERY) return constants.nan();
    if (isBelowOrAbove(bx) || isBelowOrAbove(by)) return constants.extrapValue;
    if (bx == BIN_NAN_QUERY) return constants.nan();
    if (!isInside(bx, gridX.n) || !isInside(by, gridY.n)) return constants.zero();
    auto const x = static_cast<unsigned int>(bx), y = static_cast<unsigned int>(by);
    CubicWeights<G> const alongX(gridX.evenPositionOf(qx, x)), alongY(gridY.evenPositionOf(qy, y));
    auto const row = [&](unsigned int j) { return cubicRow(values + j * gridX.n, x, gridX.n, alongX); };
    return evalCubic1d(neighboursOf<V>(y, gridY.n, row), alongY);
}

template <unsigned int M, class Grid, class G, class V>
GPU_DEVICE V resultAt2d(Grid const& gridX, Grid const& gridY, V const* values, G qx, G qy, long bx, long by,
                        InterpType method, InterpType extrap, Constants<V> const& constants) {
    if constexpr (M == cubicMethod) {
        return cubic2d(gridX, gridY, values, qx, qy, bx, by, constants);
    } else {
        Place<typename Grid::Position> const places[] = {placeOf(gridX, qx, bx, method, extrap),
                                                         placeOf(gridY, qy, by, method, extrap)};
        unsigned int const sizes[] = {gridX.n, gridY.n};
        return interpolate2d(places, sizes, values, constants);
    }
}

namespace {

template <class V, class G, unsigned int M, bool F>
struct Interp2DKernel_CompactQuery {
    static GPU_DEVICE void apply(elementwise2ddetail::Position at, V* out, GridOf<G, F> gridX,
                                 GridOf<G, F> gridY, V const* values, G const* queryX, G const* queryY,
                                 long const* bins, unsigned int binsOfY, InterpType method, InterpType extrap,
                                 V extrapValue) {
        out[at.y * at.nx + at.x] =
            resultAt2d<M>(gridX, gridY, values, queryX[at.x], queryY[at.y], bins[at.x], bins[binsOfY + at.y],
                          method, extrap, Constants<V>{extrapValue});
    }
};

template <class V, class G, unsigned int M, class Grid>
struct NonCompactQuery2D {
    static GPU_DEVICE void apply(elementwisedetail::Position at, V* out, Grid gridX, Grid gridY,
                                 V const* values, G const* queryX, G const* queryY, InterpType method,
                                 InterpType extrap, V extrapValue) {
        G const qx = queryX[at.i], qy = queryY[at.i];
        long const bx = searchOf(gridX).locateInGrid(qx, 0), by = searchOf(gridY).locateInGrid(qy, 0);
        out[at.i] =
            resultAt2d<M>(gridX, gridY, values, qx, qy, bx, by, method, extrap, Constants<V>{extrapValue});
    }
};

template <class V, class G, unsigned int M>
struct Interp2DKernel_NonCompactQuery : NonCompactQuery2D<V, G, M, FullGrid<G>> {};
template <class V, class G, unsigned int M>
struct Interp2DKernel_ColonGrid_NonCompactQuery : NonCompactQuery2D<V, G, M, ColonGrid<G>> {};

template <bool F, class G, class V>
void interpolateCompactQuery2d(CUstream_st* stream, V* out, GridOf<G, F> gridX, GridOf<G, F> gridY,
                               V const* values, G const* queryX, G const* queryY, long const* bins,
                               unsigned long const* querySizes, V extrapValue, InterpType method,
                               InterpType extrap) {
    if (querySizes[0] == 0 || querySizes[1] == 0) return;
    byMethod(method, [&](auto m) {
        elementwise2ddetail::launch<Interp2DKernel_CompactQuery<V, G, m, F>>(
            stream, querySizes[0], querySizes[1], out, gridX, gridY, values, queryX, queryY, bins,
            roundUp16(querySizes[0]), method, extrap, extrapValue);
    });
}

}  // namespace
}  // namespace gpuruntime::interp

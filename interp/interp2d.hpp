#pragma once

#include <gpuruntime/interpolation.hpp>

#include "frame/elementwise.hpp"
#include "interp/cubic.hpp"
#include "interp/location.hpp"
#include "interp/sections.hpp"
#include "interp/stage.hpp"
#include "interp/together.hpp"
#include "rows.hpp"
#include "run.hpp"

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
    static GPU_DEVICE void apply(elementwise2ddetail::BlockOfRows const& block, V* out, GridOf<G, F> gridX,
                                 GridOf<G, F> gridY, V const* values, G const* queryX, G const* queryY,
                                 long const* bins, unsigned int binsOfY, InterpType method, InterpType extrap,
                                 V extrapValue) {
        Constants<V> const constants{extrapValue};
        block.forEachRow([&](backend::Row row, unsigned int y) {
            G const qy = queryY[y];
            long const by = bins[binsOfY + y];
            V* const to = out + y * block.nx;
            if constexpr (goTogether && M == anyMethod) {
                unsigned int const sizes[] = {gridX.n, gridY.n};
                auto const placeY = placeOf(gridY, qy, by, method, extrap);
                forEachBatch(row.size(), [&](unsigned int begin, unsigned int size) {
                    unsigned int const x = row.begin() + begin;
                    Places<typename GridOf<G, F>::Position> along;
                    placeEach(gridX, size, queryX + x, bins + x, method, extrap, along);
                    lineOver<2>(along, &placeY, size, sizes, values, constants, to + x);
                });
            } else {
                row.forEach([&](unsigned long x) {
                    to[x] = resultAt2d<M>(gridX, gridY, values, queryX[x], qy, bins[x], by, method, extrap,
                                          constants);
                });
            }
        });
    }
};

template <class V, class G, unsigned int M, class Grid>
struct NonCompactQuery2D {
    static GPU_DEVICE void apply(backend::Run run, V* out, Grid gridX, Grid gridY, V const* values,
                                 G const* queryX, G const* queryY, InterpType method, InterpType extrap,
                                 V extrapValue) {
        Constants<V> const constants{extrapValue};
        G const *const fromX = queryX + run.first, *const fromY = queryY + run.first;
        V* const to = out + run.first;
        if constexpr (goTogether && M == anyMethod) {
            Grid const grids[] = {gridX, gridY};
            BatchSearch<G> searches[] = {BatchSearch<G>(gridX), BatchSearch<G>(gridY)};
            G const* const queries[] = {fromX, fromY};
            interpolateEach<2>(grids, searches, run.size, queries, values, method, extrap, constants, to);
        } else {
            auto const searchX = searchOf(gridX);
            auto const searchY = searchOf(gridY);
            backend::forEachOf(run.size, [&](unsigned int k) {
                G const qx = fromX[k], qy = fromY[k];
                to[k] = resultAt2d<M>(gridX, gridY, values, qx, qy, searchX.locateInGrid(qx, 0),
                                      searchY.locateInGrid(qy, 0), method, extrap, constants);
            });
        }
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

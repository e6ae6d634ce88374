#include <gpuruntime/interpolation.hpp>

#include "fault.hpp"
#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"
#include "interp/cubic.hpp"
#include "interp/method.hpp"
#include "interp/stage.hpp"
#include "interp/tile.hpp"
#include "interp/together.hpp"

namespace gpuruntime {
namespace interp {
namespace {

constexpr unsigned int blockX = 64, blockY = 4;
constexpr unsigned int columnsPerThread = 10;

/// The grid of the columns, which may have been left out: to need it then is a device fault.
template <class G>
struct OptionalGrid {
    using Position = typename FullGrid<G>::Position;

    FullGrid<G> grid;
    unsigned int n;

    GPU_DEVICE Position positionOf(G q, unsigned long lower) const {
        return backend::isReadable(grid.points) ? grid.positionOf(q, lower) : 0;
    }
    GPU_DEVICE G evenPositionOf(G q, unsigned long lower) const {
        return backend::isReadable(grid.points) ? grid.evenPositionOf(q, lower) : 0;
    }
    GPU_DEVICE bool isNearerToUpper(G q, unsigned long lower) const {
        return backend::isReadable(grid.points) && grid.isNearerToUpper(q, lower);
    }
};

template <class V, class G, unsigned int M>
struct Interp1DKernel_NdValue {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& at, V* out, G const* gridPoints,
                                 V const* values, G const* query, long const* bins, unsigned int numQueries,
                                 unsigned int gridSize, unsigned int numColumns, unsigned int steps,
                                 InterpType method, InterpType extrap, V extrapValue) {
        OptionalGrid<G> const grid{{gridPoints, gridSize}, gridSize};
        Constants<V> const constants{extrapValue};
        unsigned int const firstQuery = at.blockX * blockX, firstColumn = at.blockY * blockY * steps;
        if (firstQuery >= numQueries || firstColumn >= numColumns) return;
        if constexpr (goTogether && M == anyMethod) {
            if (gridPoints != nullptr) {
                static_assert(blockX <= batchSize);
                unsigned int const size = tileSize(firstQuery, numQueries, blockX);
                unsigned int const end = firstColumn + tileSize(firstColumn, numColumns, blockY * steps);
                Places<G> places;
                placeEach(FullGrid<G>{gridPoints, gridSize}, size, query + firstQuery, bins + firstQuery,
                          method, extrap, places);
                for (unsigned int column = firstColumn; column < end; ++column) {
                    stageEach(places, size, values + column * gridSize, constants,
                              out + column * numQueries + firstQuery);
                }
                return;
            }
        }
        for (unsigned int step = 0; step < steps; ++step) {
            unsigned int const c = firstColumn + step * blockY;
            if (c >= numColumns) return;
            at.threads.forEach(dim3(numQueries - firstQuery, numColumns - c), [&](backend::Thread t) {
                unsigned int const i = firstQuery + t.x, column = c + t.y;
                out[column * numQueries + i] = resultAt<M>(grid, values + column * gridSize, query[i],
                                                           bins[i], method, extrap, constants);
            });
        }
    }

    static unsigned long work(V const*, G const*, V const*, G const*, long const*, unsigned long numQueries,
                              unsigned long, unsigned long numColumns, unsigned int, InterpType, InterpType,
                              V) {
        return numQueries * numColumns;
    }
};

template <class G, class V>
void interpolateColumns(CUstream_st* stream, V* out, G const* grid, V const* values, G const* query,
                        long const* bins, unsigned long numQueries, unsigned long gridSize,
                        unsigned long numValues, InterpType method, InterpType extrap, V extrapValue) {
    if (numQueries == 0) return;
    unsigned long const numColumns = numValues / gridSize;
    unsigned long const ny = numColumns == 0 ? 1 : (numColumns - 1) / columnsPerThread + 1;
    byMethod(method, [&](auto m) {
        fixed2dblockdetail::launch<Interp1DKernel_NdValue<V, G, m>>(
            stream, numQueries, ny, blockX, blockY, out, grid, values, query, bins, numQueries, gridSize,
            numColumns, columnsPerThread, method, extrap, extrapValue);
    });
}

}  // namespace
}  // namespace interp

template <class G, class V>
void Interp1dNdValFull::Invoker<G, V>::operator()(CUstream_st* stream, V* out, G const* grid, V const* values,
                                                  G const* query, long const* bins,
                                                  unsigned long const& numQueries,
                                                  unsigned long const& gridSize,
                                                  unsigned long const& numValues, InterpType const& method,
                                                  InterpType const& extrap, V const& extrapValue) const {
    interp::interpolateColumns(stream, out, grid, values, query, bins, numQueries, gridSize, numValues,
                               method, extrap, extrapValue);
}

template <class G, class V>
void Interp1dNdVal_ColonGrid::Invoker<G, V>::operator()(
    CUstream_st* stream, V* out, V const* values, G const* query, long const* bins,
    unsigned long const& numQueries, unsigned long const& gridSize, unsigned long const& numValues,
    InterpType const& method, InterpType const& extrap, V const& extrapValue) const {
    G const* const noGrid = nullptr;
    interp::interpolateColumns(stream, out, noGrid, values, query, bins, numQueries, gridSize, numValues,
                               method, extrap, extrapValue);
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp1dNdValFull*) {
    internal::instantiate2<Interp1dNdValFull>(opaque, internal::FloatingReal{}, internal::Floating{});
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp1dNdVal_ColonGrid*) {
    internal::instantiate2<Interp1dNdVal_ColonGrid>(opaque, internal::FloatingReal{}, internal::Floating{});
}

}  // namespace gpuruntime

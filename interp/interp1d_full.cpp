#include <gpuruntime/interpolation.hpp>

#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"
#include "interp/cubic.hpp"
#include "interp/location.hpp"
#include "interp/method.hpp"
#include "interp/stage.hpp"
#include "interp/tile.hpp"
#include "interp/together.hpp"
#include "load.hpp"

namespace gpuruntime {
namespace interp {
namespace {

/// Queries in a row that a thread works on, and threads of a block.
struct Runs {
    unsigned int length, blockSize;
    constexpr unsigned int tile() const { return length * blockSize; }
};

template <class V, class G>
constexpr Runs runs = sizeof(V) == 4 && sizeof(G) == 4 ? Runs{7, 256}
                      : sizeof(V) == 16                ? Runs{3, 160}
                                                       : Runs{5, 192};

/// The results of a thread's run. A value that the last query has used is kept for the next.
template <class V, class G, unsigned int M>
class Run;

template <class V, class G>
class Run<V, G, anyMethod> {
  public:
    GPU_DEVICE V resultAt(FullGrid<G> const& grid, V const* values, G q, long bin, InterpType method,
                          InterpType extrap, Constants<V> const& constants) {
        auto const place = placeOf(grid, q, bin, method, extrap);
        if (place.kind != Place<G>::between) return constantOf(place, constants);
        if (bin != lastBin) {
            low = backend::loadReadOnly(values + place.lower);
            high = backend::loadReadOnly(values + place.lower + 1);
            lastBin = bin;
        }
        return blendLinear(low, high, place.position);
    }

  private:
    long lastBin = noBin;
    V low{}, high{};
};

template <class V, class G>
class Run<V, G, cubicMethod> {
  public:
    GPU_DEVICE V resultAt(FullGrid<G> const& grid, V const* values, G q, long bin, InterpType method,
                          InterpType extrap, Constants<V> const& constants) {
        bool const isLast = bin == lastBin;
        lastBin = bin;
        if (isInside(bin, grid.n)) {
            auto const lower = static_cast<unsigned int>(bin);
            if (!isLast) neighbours = neighboursIn(values, lower, grid.n);
            return evalCubic1d(neighbours, CubicWeights<G>(grid.evenPositionOf(q, lower)));
        }
        // Outside, what is kept is the caller's value, and no line goes on from it.
        if (isLast) return constants.extrapValue;
        return interpStage1d(placeOf(grid, q, bin, method, extrap), values, constants);
    }

  private:
    long lastBin = noBin;
    CubicNeighbours<V> neighbours{};
};

template <class V, class G, unsigned int M>
struct Interp1DKernel {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& at, V* out, G const* gridPoints,
                                 V const* values, G const* query, unsigned int gridSize,
                                 unsigned int numQueries, InterpType method, InterpType extrap,
                                 V extrapValue) {
        constexpr unsigned int tile = runs<V, G>.tile();
        // Results take the places of their queries where these are as large.
        constexpr bool isShared = std::is_same_v<V, G>;
        unsigned int const first = at.blockIndex * tile, size = tileSize(first, numQueries, tile);
        FullGrid<G> const grid{gridPoints, gridSize};
        Constants<V> const constants{extrapValue};
        if constexpr (goTogether && M == anyMethod) {
            BatchSearch<G> search(grid);
            G const* const queries = query + first;
            interpolateEach<1>(&grid, &search, size, &queries, values, method, extrap, constants,
                               out + first);
        } else {
            GPU_SHARED G queryInShm[tile];
            GPU_SHARED V outValInShm[isShared ? 1 : tile];
            V* const results = resultsIn(queryInShm, outValInShm);

            forEachSlot(at.threads, size, [&](unsigned int slot) { queryInShm[slot] = query[first + slot]; });
            GridSearch<G> const search(grid);
            forEachRunOfSlots(at.threads, size, runs<V, G>.length, [&](unsigned int begin, unsigned int end) {
                Run<V, G, M> run;
                long hint = 0;
                for (unsigned int slot = begin; slot < end; ++slot) {
                    G const q = queryInShm[slot];
                    if (backend::isNaN(q)) {
                        results[slot] = constants.nan();
                        continue;
                    }
                    hint = search.locateInGrid(q, hint);
                    results[slot] = run.resultAt(grid, values, q, hint, method, extrap, constants);
                }
            });
            forEachSlot(at.threads, size, [&](unsigned int slot) { out[first + slot] = results[slot]; });
        }
    }

    static unsigned long work(V const*, G const*, V const*, G const*, unsigned long, unsigned long numQueries,
                              InterpType, InterpType, V) {
        return numQueries;
    }

  private:
    static GPU_DEVICE V* resultsIn(V* queries, V*) { return queries; }
    template <class Query>
    static GPU_DEVICE V* resultsIn(Query*, V* others) {
        return others;
    }
};

}  // namespace
}  // namespace interp

template <class G, class V>
void Interp1dFull::Invoker<G, V>::operator()(CUstream_st* stream, V* out, G const* grid, V const* values,
                                             G const* query, unsigned long gridSize, unsigned long numQueries,
                                             InterpType method, InterpType extrap, V extrapValue) const {
    constexpr interp::Runs runs = interp::runs<V, G>;
    unsigned long const count = numQueries == 0 ? 1 : (numQueries - 1) / runs.length + 1;
    interp::byMethod(method, [&](auto m) {
        fixed1dblockdetail::launch<interp::Interp1DKernel<V, G, m>>(stream, count, runs.blockSize, out, grid,
                                                                    values, query, gridSize, numQueries,
                                                                    method, extrap, extrapValue);
    });
}

void _forceInstantiation2_(detail::Opaque& opaque, Interp1dFull*) {
    internal::instantiate2<Interp1dFull>(opaque, internal::FloatingReal{}, internal::Floating{});
}

}  // namespace gpuruntime

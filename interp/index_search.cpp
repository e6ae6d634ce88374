#include <gpuruntime/grids.hpp>

#include "frame/elementwise.hpp"
#include "frame/fixed_block.hpp"
#include "frame/instantiation.hpp"
#include "interp/location.hpp"
#include "interp/tile.hpp"
#include "interp/together.hpp"

namespace gpuruntime {
namespace interp {
namespace {

constexpr unsigned int blockSize = 192;
constexpr unsigned int passesPerBlock = 2;
constexpr unsigned int passSize = 3 * blockSize;  ///< queries of a pass
constexpr unsigned int runLength = 5;             ///< queries in a row that a thread looks for

template <class T>
struct FindQueryInSingleDim {
    static GPU_DEVICE void apply(cuda::Fixed1DBlockIterator const& at, long* bins, T const* gridPoints,
                                 T const* query, unsigned int gridSize, unsigned int numQueries) {
        FullGrid<T> const grid{gridPoints, gridSize};
        if constexpr (goTogether) {
            constexpr unsigned int ofBlock = passesPerBlock * passSize;
            unsigned int const first = at.blockIndex * ofBlock;
            BatchSearch<T> search(grid);
            forEachBatch(tileSize(first, numQueries, ofBlock), [&](unsigned int begin, unsigned int size) {
                search.locate(size, query + first + begin, bins + first + begin);
            });
        } else {
            GPU_SHARED T queryInShm[passSize];
            GPU_SHARED long binIdxInShm[passSize];
            GridSearch<T> const search(grid);
            for (unsigned int pass = 0; pass < passesPerBlock; ++pass) {
                unsigned int const first = (at.blockIndex * passesPerBlock + pass) * passSize;
                unsigned int const size = tileSize(first, numQueries, passSize);
                forEachSlot(at.threads, size,
                            [&](unsigned int slot) { queryInShm[slot] = query[first + slot]; });
                forEachRunOfSlots(at.threads, size, runLength, [&](unsigned int begin, unsigned int end) {
                    long hint = 0;
                    for (unsigned int slot = begin; slot < end; ++slot) {
                        hint = search.locateInGrid(queryInShm[slot], hint);
                        binIdxInShm[slot] = hint;
                    }
                });
                forEachSlot(at.threads, size,
                            [&](unsigned int slot) { bins[first + slot] = binIdxInShm[slot]; });
            }
        }
    }

    static unsigned long work(long const*, T const*, T const*, unsigned long, unsigned long numQueries) {
        return numQueries;
    }
};

template <class T>
struct FindQueryInSingleDimColonGrid {
    static GPU_DEVICE void apply(elementwisedetail::Position at, long* bins, T const* query,
                                 unsigned int gridSize) {
        bins[at.i] = locateInColonGrid(gridSize, query[at.i]);
    }
};

}  // namespace
}  // namespace interp

template <class T>
void IndexSearch::Invoker<T>::operator()(CUstream_st* stream, long* bins, unsigned long binOffset,
                                         T const* grid, T const* query, unsigned long gridSize,
                                         unsigned long numQueries) const {
    constexpr unsigned long queriesPerThread = interp::passesPerBlock * interp::passSize / interp::blockSize;
    unsigned long const count = numQueries == 0 ? 1 : (numQueries - 1) / queriesPerThread + 1;
    fixed1dblockdetail::launch<interp::FindQueryInSingleDim<T>>(
        stream, count, interp::blockSize, bins + binOffset, grid, query, gridSize, numQueries);
}

template <class T>
void IndexSearch_ColonGrid::Invoker<T>::operator()(CUstream_st* stream, long* bins, unsigned long binOffset,
                                                   T const* query, unsigned long gridSize,
                                                   unsigned long numQueries) const {
    elementwisedetail::launch<interp::FindQueryInSingleDimColonGrid<T>>(stream, numQueries, bins + binOffset,
                                                                        query, gridSize);
}

void _forceInstantiation_(detail::Opaque& opaque, IndexSearch*) {
    internal::instantiate<IndexSearch>(opaque, internal::FloatingReal{});
}

void _forceInstantiation_(detail::Opaque& opaque, IndexSearch_ColonGrid*) {
    internal::instantiate<IndexSearch_ColonGrid>(opaque, internal::FloatingReal{});
}

}  // namespace gpuruntime

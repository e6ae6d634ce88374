#pragma once

#include "frame/conjugate.hpp"
#include "frame/fixed_block.hpp"
#include "indexing/prefetch.hpp"
#include "store.hpp"

/// Tiled transposition of a rows by cols matrix, the frame's `nx` by `ny`. A tile is read along its columns
/// and written along the output's, so that both accesses are contiguous; the turn is in the shared tile,
/// whose rows are padded by one element so that a walk down a column meets different banks.
namespace gpuruntime::internal {

template <class T, unsigned int tile>
using PaddedTile = T[tile][tile + 1];

/// How many positions from `begin` on lie within `extent`.
GPU_DEVICE unsigned int extentLeft(unsigned int extent, unsigned int begin) {
    return begin < extent ? extent - begin : 0;
}

/// Reads the tile whose first element is (`x`, `y`) of the input.
template <bool conjugate, class Iterator, class T, unsigned int tile>
GPU_DEVICE void loadTile(Iterator const& at, T (&block)[tile][tile + 1], T const* in, unsigned int x,
                         unsigned int y) {
    unsigned long const rows = at.nx;
    T const* const from = in + (y * at.nx + x);
    at.threads.template forEach<tile, tile>(dim3(extentLeft(at.nx, x), extentLeft(at.ny, y)),
                                            [&](backend::Thread t) {
                                                T const value = from[t.y * rows + t.x];
                                                if constexpr (conjugate) {
                                                    block[t.y][t.x] = conjugated(value);
                                                } else {
                                                    block[t.y][t.x] = value;
                                                }
                                            });
}

/// Writes that tile to where it belongs in the cols by rows output.
template <class T, unsigned int tile>
GPU_DEVICE void storeTurned(cuda::Fixed2DBlockIterator const& at, T* out, T const (&block)[tile][tile + 1],
                            unsigned int x, unsigned int y) {
    backend::storeTile<tile, tile>(at.threads, dim3(extentLeft(at.ny, y), extentLeft(at.nx, x)),
                                   out + (x * at.ny + y), at.ny, 1ul * at.nx * at.ny,
                                   [&](backend::Thread t) { return block[t.x][t.y]; });
}

template <class T, unsigned int tile, bool conjugate>
struct TransposeKernel {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& at, T* out, T const* in) {
        GPU_SHARED PaddedTile<T, tile> block;
        unsigned int const x = at.blockX * tile, y = at.blockY * tile;
        prefetchTiles<tile>(backend::closeBlocksX(), at.blockX, in + (y * at.nx + x), at.nx);
        T* const to = out + (x * at.ny + y);
        if (!backend::isStreamedTile<tile>(to, at.ny, 1ul * at.nx * at.ny))
            prefetchTiles<tile>(backend::closeBlocksY(), at.blockY, to, at.ny);
        loadTile<conjugate>(at, block, in, x, y);
        backend::blockBarrier();
        storeTurned(at, out, block, x, y);
    }
};

/// A block on or above the tile diagonal swaps its tile with the mirror image, both read before either is
/// written, and no other block touches them. The tiles of a vector have no mirror image in the grid but the
/// first: they stay where they are, and a conjugating kernel conjugates each.
template <class T, unsigned int tile, bool conjugate>
struct TransposeInPlaceKernel {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockIterator const& at, T* data) {
        bool const mirrorInGrid = at.blockY < at.totalBlocksX && at.blockX < at.totalBlocksY;
        if (mirrorInGrid && at.blockX < at.blockY) return;
        bool const mirror = mirrorInGrid && at.blockX != at.blockY;

        GPU_SHARED PaddedTile<T, tile> blockB, blockC;
        unsigned int const x = at.blockX * tile, y = at.blockY * tile;
        prefetchTiles<tile>(backend::closeBlocksX(), at.blockX, data + (y * at.nx + x), at.nx);
        if (mirror) prefetchTiles<tile>(backend::closeBlocksY(), at.blockY, data + (x * at.nx + y), at.nx);
        loadTile<conjugate>(at, blockB, data, x, y);
        if (mirror) loadTile<conjugate>(at, blockC, data, y, x);
        backend::blockBarrier();
        storeTurned(at, data, blockB, x, y);
        if (mirror) storeTurned(at, data, blockC, y, x);
    }
};

/// In place if `out` and `in` are one array. A failed launch stays with the runtime, for the caller to read.
template <class T, bool conjugate>
void launchTranspose(CUstream_st* stream, T* out, T const* in, unsigned long rows, unsigned long cols) {
    constexpr unsigned int tile = 16;
    if (rows == 0 || cols == 0) return;
    if (out == in) {
        fixed2dblockdetail::launch<TransposeInPlaceKernel<T, tile, conjugate>>(stream, rows, cols, tile, tile,
                                                                               out);
    } else {
        fixed2dblockdetail::launch<TransposeKernel<T, tile, conjugate>>(stream, rows, cols, tile, tile, out,
                                                                        in);
    }
}

/// The plain transposition of carriers, in one unit for all families.
template <class T>
void transposeCarrier(CUstream_st* stream, T* out, T const* in, unsigned long rows, unsigned long cols);

}  // namespace gpuruntime::internal

#include <gpuruntime/movement.hpp>

#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "indexing/transpose_kernels.hpp"

namespace gpuruntime {
namespace {

/// Every page as a transposition whose tiles come out mirrored, in rows or in columns: a tile that the
/// input's edge cuts off then begins at the output's first row or column.
template <class T, unsigned int tile, bool clockwise>
struct Rot90Kernel {
    static GPU_DEVICE void apply(cuda::Fixed2DBlockWithPagesIterator const& at, T* out, T const* in) {
        unsigned int const x = at.blockX * tile, y = at.blockY * tile;
        // Of the input's tile; 0 for the positions past the extents that rounded-up grids have.
        unsigned int const width = tileExtent(at.nx, x),
                           height = at.page < at.numPages ? tileExtent(at.ny, y) : 0;
        unsigned int const page = at.page * at.nx * at.ny;
        unsigned int const row = clockwise ? y : at.ny - y - height;
        unsigned int const column = clockwise ? at.nx - x - width : x;
        T const* const from = in + page + (y * at.nx + x);
        T* const to = out + page + (column * at.ny + row);
        unsigned long const n = 1ul * at.nx * at.ny * at.numPages;

        GPU_SHARED internal::PaddedTile<T, tile> block;
        if (width > 0 && height > 0) {
            internal::prefetchTiles<tile>(backend::closeBlocksX(), at.blockX, from, at.nx);
            if (backend::isStreamedTile<tile>(to, at.ny, n)) {
                // There is no use in fetching what is overwritten by whole lines.
            } else if (clockwise) {
                internal::prefetchTiles<tile>(backend::closeBlocksY(), at.blockY, to, at.ny);
            } else {
                internal::prefetchTilesBefore<tile>(backend::closeBlocksY(), at.blockY, to, at.ny);
            }
        }
        at.threads.template forEach<tile, tile>(
            dim3(width, height), [&](backend::Thread t) { block[t.y][t.x] = from[1ul * t.y * at.nx + t.x]; });
        backend::blockBarrier();
        backend::storeTile<tile, tile>(at.threads, dim3(height, width), to, at.ny, n, [&](backend::Thread t) {
            return clockwise ? block[t.x][width - 1 - t.y] : block[height - 1 - t.x][t.y];
        });
    }

  private:
    static GPU_DEVICE unsigned int tileExtent(unsigned int extent, unsigned int begin) {
        unsigned int const left = internal::extentLeft(extent, begin);
        return left < tile ? left : tile;
    }
};

/// One body for all types of a size.
template <class T>
__attribute__((noinline)) void rot90(CUstream_st* stream, T* out, T const* in, unsigned long rows,
                                     unsigned long cols, unsigned long pages, bool clockwise) {
    constexpr unsigned int tile = 16;
    if (rows == 0 || cols == 0 || pages == 0) return;
    if (clockwise) {
        fixed2dblockwithpagesdetail::launch<Rot90Kernel<T, tile, true>>(stream, rows, cols, pages, tile, tile,
                                                                        out, in);
    } else {
        fixed2dblockwithpagesdetail::launch<Rot90Kernel<T, tile, false>>(stream, rows, cols, pages, tile,
                                                                         tile, out, in);
    }
}

}  // namespace

template <class T>
void Rot90::Invoker<T>::operator()(CUstream_st* stream, T* out, T const* in, unsigned long rows,
                                   unsigned long cols, unsigned long pages, bool clockwise) const {
    rot90(stream, internal::carried(out), internal::carried(in), rows, cols, pages, clockwise);
}

void _forceInstantiation_(detail::Opaque& opaque, Rot90*) {
    internal::instantiate<Rot90>(opaque, internal::All{});
}

}  // namespace gpuruntime

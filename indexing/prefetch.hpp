#pragma once

#include "device.hpp"

namespace gpuruntime::internal {

/// Bytes in a row at which memory comes about as fast as it can.
inline constexpr unsigned int fastRun = 1024;

/// Fetches a tile's rows ahead, `length` elements of each.
template <unsigned int tile, class T>
GPU_DEVICE void prefetchRows(T const* first, unsigned long stride, unsigned int length) {
    for (unsigned int row = 0; row < tile; ++row) backend::prefetch(first + row * stride, length);
}

/// The same for every so many tiles, by `number`: at once the rows of the tiles that follow along them and
/// are used soon, `closeTiles` at most, a power of two, and as many as make a `fastRun`.
template <unsigned int tile, class T>
GPU_DEVICE void prefetchTiles(unsigned int closeTiles, unsigned int number, T const* first,
                              unsigned long stride) {
    constexpr unsigned int tilesInRun = fastRun / (tile * sizeof(T));
    unsigned int const count = closeTiles < tilesInRun ? closeTiles : tilesInRun;
    if ((number & (count - 1)) == 0) prefetchRows<tile>(first, stride, count * tile);
}

/// The same where tiles are used from the last to the first: those before `first` along the rows.
template <unsigned int tile, class T>
GPU_DEVICE void prefetchTilesBefore(unsigned int closeTiles, unsigned int number, T const* first,
                                    unsigned long stride) {
    constexpr unsigned int tilesInRun = fastRun / (tile * sizeof(T));
    unsigned int const count = closeTiles < tilesInRun ? closeTiles : tilesInRun;
    if ((number & (count - 1)) == 0) prefetchRows<tile>(first - (count - 1) * tile, stride, count * tile);
}

}  // namespace gpuruntime::internal

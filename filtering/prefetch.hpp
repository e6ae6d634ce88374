#pragma once

#include "indexing/prefetch.hpp"

namespace gpuruntime::convolutioncommon {

/// The lines of a narrow tile, from (`x`, `y`) of a matrix on, come slowly one tile after another: with the
/// first of close tiles those of the ones that follow soon are fetched. Some may lie outside.
template <unsigned int width, unsigned int height, class T>
GPU_DEVICE void prefetchCloseTiles(T const* matrix, uint2 size, long x, long y) {
    constexpr unsigned int tilesInRun = internal::fastRun / (width * sizeof(T));
    unsigned int const close = backend::closeBlocksX(), count = close < tilesInRun ? close : tilesInRun;
    if (backend::blockIndex().x % count != 0) return;
    internal::prefetchRows<height>(matrix + (y * size.x + x), size.x, count * width);
}

}  // namespace gpuruntime::convolutioncommon

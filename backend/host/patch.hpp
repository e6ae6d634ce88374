#pragma once

#include <algorithm>

#include "device.hpp"

/// Patches: the elements of a two-dimensional array that one call of a functor handles. On this device
/// they are those of several blocks, so that work which a column shares with its neighbours is done once
/// for all.
namespace gpuruntime::backend {

/// Elements (x, y), x from `x` to before `endX` and y from `y` to before `endY`.
struct Patch {
    unsigned int x, y, endX, endY;
};

/// Calls `f` with the patch of a block that begins at (`x`, `y`), of an array of `nx` by `ny`.
template <class F>
GPU_DEVICE void withPatch(unsigned int x, unsigned int y, unsigned int nx, unsigned int ny, F f) {
    if (x >= nx || y >= ny) return;
    TileThreads const threads;
    f(Patch{x, y, x + std::min(threads.sizeX(), nx - x), y + std::min(threads.sizeY(), ny - y)});
}

/// The same in a grid that covers the array: of every `blocksOfPatch` blocks along y the first takes the
/// work of the others, which have nothing to do.
template <unsigned int blocksOfPatch, class F>
GPU_DEVICE void withPatchOfGrid(unsigned int nx, unsigned int ny, F f) {
    TileThreads const threads;
    unsigned int const x = blockIndex().x * threads.sizeX(), y = blockIndex().y * threads.sizeY();
    if (blockIndex().y % blocksOfPatch != 0 || x >= nx || y >= ny) return;
    f(Patch{x, y, x + std::min(threads.sizeX(), nx - x),
            y + std::min(blocksOfPatch * threads.sizeY(), ny - y)});
}

}  // namespace gpuruntime::backend

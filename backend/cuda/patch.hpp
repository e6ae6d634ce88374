#pragma once

#include "device.hpp"

/// Patches: the elements of a two-dimensional array that one call of a functor handles. On this device it is
/// the one element of the thread.
namespace gpuruntime::backend {

/// Elements (x, y), x from `x` to before `endX` and y from `y` to before `endY`.
struct Patch {
    unsigned int x, y, endX, endY;
};

/// Calls `f` with the patch of a block that begins at (`x`, `y`), of an array of `nx` by `ny`.
template <class F>
GPU_DEVICE void withPatch(unsigned int x, unsigned int y, unsigned int nx, unsigned int ny, F f) {
    if (x >= nx || y >= ny) return;
    TileThreads().forEach(dim3(nx - x, ny - y, 1), [&](Thread t) {
        f(Patch{x + t.x, y + t.y, x + t.x + 1, y + t.y + 1});
    });
}

/// The same in a grid that covers the array. How many blocks could have a patch together means nothing here.
template <unsigned int blocksOfPatch, class F>
GPU_DEVICE void withPatchOfGrid(unsigned int nx, unsigned int ny, F f) {
    TileThreads const threads;
    withPatch(blockIndex().x * threads.sizeX(), blockIndex().y * threads.sizeY(), nx, ny, f);
}

}  // namespace gpuruntime::backend

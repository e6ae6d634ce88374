#pragma once

#include "device.hpp"

/// The threads of a block by the rows of an array that they go over. Here a thread has one position of one
/// row.

/// Before a function that goes over a row: here it goes into its kernel.
#define GPU_ROW GPU_DEVICE

namespace gpuruntime::backend {

/// Whether it pays to find out that what a row reads or writes is a run of memory.
inline constexpr bool rowsMayBeRuns = false;

/// Whether an array of `n` elements is written past the caches, which no store of this device does.
template <class T>
GPU_DEVICE bool isStreamed(unsigned long /*n*/) {
    return false;
}

/// Positions of a row, one for each thread.
class Row {
  public:
    GPU_DEVICE Row(unsigned int own, bool isIn) : own(own), isIn(isIn) {}

    GPU_DEVICE unsigned int begin() const { return own; }
    GPU_DEVICE unsigned int size() const { return 1; }

    /// Those of the positions that are in [`from`, `to`).
    GPU_DEVICE Row within(unsigned int from, unsigned int to) const {
        return {own, isIn && own >= from && own < to};
    }

    /// Calls `f(x)` for the positions `x`.
    template <class F>
    GPU_DEVICE void forEach(F f) const {
        if (isIn) f(own);
    }

    /// Calls `f(t, x)` for the threads with their positions `x`, for threads that keep something.
    template <class F>
    GPU_DEVICE void forEachThread(F f) const {
        if (isIn) f(0u, own);
    }

  private:
    unsigned int own;
    bool isIn;
};

/// Copies `in[x]` to `out[x]` for the positions of the row.
template <class T>
GPU_DEVICE void copyRow(Row row, T* out, T const* in, bool /*streamed*/) {
    row.forEach([&](unsigned int x) { out[x] = in[x]; });
}

/// Stores `value(t, x)` at `out[x]` for the threads `t` of the row with their positions `x`.
template <class T, class Value>
GPU_DEVICE void storeRow(Row row, T* out, bool /*streamed*/, Value value) {
    row.forEachThread([&](unsigned int t, unsigned int x) { out[x] = value(t, x); });
}

/// Stores `value` at `out[x]` for the positions of the row.
template <class T>
GPU_ROW void fillRow(Row row, T* out, T value, bool /*streamed*/) {
    row.forEach([&](unsigned int x) { out[x] = value; });
}

/// The row of a block's threads from element `first` of `n` on.
GPU_DEVICE Row rowOf(Threads const& /*threads*/, unsigned int first, unsigned int n) {
    unsigned int const own = threadIdx.y * blockDim.x + threadIdx.x;
    return {first + own, first < n && own < n - first};
}

/// Stores `value` if `condition` holds, at `to`, which else need not exist.
template <class T>
GPU_DEVICE void storeIf(bool condition, T* to, T value) {
    if (condition) *to = value;
}

/// Calls `f(row, y, z)` for the rows of a block that begins at `first` in an array of this extent.
template <class F>
GPU_DEVICE void forEachRow(TileThreads const& /*threads*/, uint3 first, dim3 extent, F f) {
    if (threadIdx.y >= extent.y - first.y || threadIdx.z >= extent.z - first.z) return;
    Row const row(first.x + threadIdx.x, threadIdx.x < extent.x - first.x);
    f(row, first.y + threadIdx.y, first.z + threadIdx.z);
}

/// Calls `f(t, i)` for the threads of a block within a tile of an array whose rows are `stride` apart: `t` is
/// for values that each thread keeps, and `i` = y * `stride` + x its element.
template <class F>
GPU_DEVICE void forEachOfTile(TileThreads const& /*threads*/, dim3 tile, unsigned int stride, F f) {
    if (threadIdx.x < tile.x && threadIdx.y < tile.y) f(0u, threadIdx.y * stride + threadIdx.x);
}

}  // namespace gpuruntime::backend

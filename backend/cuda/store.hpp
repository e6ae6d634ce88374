#pragma once

#include "device.hpp"

namespace gpuruntime::backend {

/// Stores `value(i)` at `out[i]` for the indices `i` = `first` + `t` in [`begin`, `end`), `t` being the
/// threads, in an array of `n` elements; no barrier follows.
template <class T, class Value>
GPU_DEVICE void storeEach(Threads const& threads, T* out, unsigned int /*n*/, unsigned int first,
                          unsigned int begin, unsigned int end, Value value) {
    threads.forEachIndex(first, begin, end, [&](unsigned int i) { out[i] = value(i); });
}

/// Whether `storeTile` writes whole tiles past the caches, which no store of this device does.
template <unsigned int X, class T>
GPU_DEVICE bool isStreamedTile(T const* /*to*/, unsigned long /*stride*/, unsigned long /*n*/) {
    return false;
}

/// Stores `value(t)` at `to[t.y * stride + t.x]` for the threads `t` of a tile of `X` by `Y` within the
/// limits, in an array of `n` elements; no barrier follows.
template <unsigned int X, unsigned int Y, class T, class Value>
GPU_DEVICE void storeTile(TileThreads const& threads, dim3 limit, T* to, unsigned long stride,
                          unsigned long /*n*/, Value value) {
    threads.template forEach<X, Y>(limit, [&](Thread t) { to[t.y * stride + t.x] = value(t); });
}

}  // namespace gpuruntime::backend

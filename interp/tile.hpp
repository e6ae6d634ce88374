#pragma once

#include "device.hpp"

/// A block's share of the queries, in tiles of shared memory: memory is read and written side by side, while
/// each thread works on queries that follow each other.
namespace gpuruntime::interp {

/// How many of `n` queries a tile of `capacity` has from `first` on.
GPU_DEVICE unsigned int tileSize(unsigned int first, unsigned int n, unsigned int capacity) {
    if (first >= n) return 0;
    return n - first < capacity ? n - first : capacity;
}

/// Calls `f(slot)` for the slots below `size`, those of neighbouring threads side by side; then the block
/// meets at a barrier.
template <class F>
GPU_DEVICE void forEachSlot(backend::Threads const& threads, unsigned int size, F f) {
    for (unsigned int done = 0; done < size; done += threads.size()) {
        threads.forEach(size - done, [&](unsigned int t) { f(done + t); });
    }
    backend::blockBarrier();
}

/// Calls `f(begin, end)` for each thread's run of `length` slots, of those below `size`; then the block meets
/// at a barrier.
template <class F>
GPU_DEVICE void forEachRunOfSlots(backend::Threads const& threads, unsigned int size, unsigned int length,
                                  F f) {
    threads.phase((size + length - 1) / length, [&](unsigned int t) {
        unsigned int const begin = t * length;
        f(begin, size - begin < length ? size : begin + length);
    });
}

}  // namespace gpuruntime::interp

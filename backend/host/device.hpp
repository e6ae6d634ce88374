#pragma once

#include <cuda_runtime.h>

#include <algorithm>

#include "kernel.hpp"

/// Markers of device code, and the threads of the running block. On this device a block's program runs on one
/// thread of the machine: a phase is a loop over the block's threads, and the end of the loop is the barrier.
#define GPU_KERNEL
#define GPU_DEVICE inline __attribute__((always_inline))
#define GPU_HOST_DEVICE inline
#define GPU_SHARED

/// Before a loop of few passes, known at build time: one copy of the body for each.
#define GPU_UNROLL _Pragma("GCC unroll 32")

/// A variable in device memory, or in constant memory that the host fills, which the runtime's symbol calls
/// know by its address. Use it at namespace scope, once per source unit.
#define GPU_DEVICE_VARIABLE(type, name) \
    static type name;                   \
    static ::gpuruntime::hostdevice::SymbolRegistration const name##_registration(&name, sizeof(name), #name)
#define GPU_CONSTANT_VARIABLE(type, name) GPU_DEVICE_VARIABLE(type, name)

/// Constant memory that is filled when the unit is built; registered as the variables above are.
#define GPU_CONSTANT_TABLE(type, name, value) \
    static constexpr type name = value;       \
    static ::gpuruntime::hostdevice::SymbolRegistration const name##_registration(&name, sizeof(name), #name)

namespace gpuruntime::backend {

GPU_DEVICE uint3 blockIndex() { return hostdevice::currentBlock.index; }

GPU_DEVICE dim3 gridSize() { return hostdevice::currentBlock.grid; }

/// The barrier between two programs of one block; phases carry their own.
GPU_DEVICE void blockBarrier() {}

/// A thread's place in a block.
struct Thread {
    unsigned int x, y, z;
};

/// A value that each of the `N` threads of a block keeps across phases.
template <class T, unsigned int N>
class PerThread {
  public:
    GPU_DEVICE T& operator[](unsigned int thread) { return values[thread]; }

  private:
    T values[N];
};

/// The threads of a block by their linear number. Threads of one phase are independent of each other.
class Threads {
  public:
    GPU_DEVICE Threads() : count(hostdevice::currentBlock.size.x * hostdevice::currentBlock.size.y) {}

    GPU_DEVICE unsigned int size() const { return count; }

    /// Calls `f(t)` for the threads `t` below `limit`; no barrier follows.
    template <class F>
    GPU_DEVICE void forEach(unsigned int limit, F f) const {
        unsigned int const end = std::min(limit, count);
#pragma GCC ivdep
        for (unsigned int t = 0; t < end; ++t) f(t);
    }

    template <class F>
    GPU_DEVICE void forEach(F f) const {
        forEach(count, f);
    }

    /// Calls `f(i)` for the indices `i` = `first` + `t` below `end`, `t` being the threads; no barrier
    /// follows. Where arrays are indexed by `first` + `t` themselves, the compiler must fear that the sum
    /// wraps, and does not vectorise.
    template <class F>
    GPU_DEVICE void forEachIndex(unsigned int first, unsigned int end, F f) const {
        if (first >= end) return;
        unsigned int const last = end - first > count ? first + count : end;
#pragma GCC ivdep
        for (unsigned int i = first; i < last; ++i) f(i);
    }

    /// Calls `f(t)` for the threads `t` below `limit`, then the block meets at a barrier.
    template <class F>
    GPU_DEVICE void phase(unsigned int limit, F f) const {
        forEach(limit, f);
    }

    template <class F>
    GPU_DEVICE void phase(F f) const {
        forEach(count, f);
    }

    /// Calls `f(t, i)` for every `i` in [`begin`, `end`), by the thread `t` = (`i` - `begin`) mod `N` and in
    /// ascending order for each thread; `N` is the block's size. No barrier follows.
    template <unsigned int N, class F>
    GPU_DEVICE void walk(unsigned int begin, unsigned int end, F f) const {
        if (begin >= end) return;
        unsigned int left = end - begin;
        for (; left >= N; left -= N, begin += N) {
#pragma GCC ivdep
            for (unsigned int t = 0; t < N; ++t) f(t, begin + t);
        }
#pragma GCC ivdep
        for (unsigned int t = 0; t < left; ++t) f(t, begin + t);
    }

  private:
    unsigned int count;
};

/// The threads of a block by their coordinates.
class TileThreads {
  public:
    GPU_DEVICE TileThreads() : extent(hostdevice::currentBlock.size) {}

    GPU_DEVICE unsigned int sizeX() const { return extent.x; }
    GPU_DEVICE unsigned int sizeY() const { return extent.y; }
    GPU_DEVICE unsigned int sizeZ() const { return extent.z; }

    /// Calls `f(thread)` for the threads within the three limits; no barrier follows.
    template <class F>
    GPU_DEVICE void forEach(dim3 limit, F f) const {
        unsigned int const endX = std::min(limit.x, extent.x);
        unsigned int const endY = std::min(limit.y, extent.y);
        unsigned int const endZ = std::min(limit.z, extent.z);
        for (unsigned int z = 0; z < endZ; ++z) {
            for (unsigned int y = 0; y < endY; ++y) {
#pragma GCC ivdep
                for (unsigned int x = 0; x < endX; ++x) f(Thread{x, y, z});
            }
        }
    }

    template <class F>
    GPU_DEVICE void forEach(F f) const {
        forEach(extent, f);
    }

    /// Calls `f(thread)` for every thread, then the block meets at a barrier.
    template <class F>
    GPU_DEVICE void phase(F f) const {
        forEach(extent, f);
    }

    template <class F>
    GPU_DEVICE void phase(dim3 limit, F f) const {
        forEach(limit, f);
    }

  private:
    dim3 extent;
};

}  // namespace gpuruntime::backend

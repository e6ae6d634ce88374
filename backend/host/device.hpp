#pragma once

#include <cuda_runtime.h>

#include <algorithm>

#include "blocks.hpp"
#include "kernel.hpp"

/// Markers of device code, and the threads of the running block. On this device a block's program runs on one
/// thread of the machine: a phase is a loop over the block's threads, and the end of the loop is the barrier.
#define GPU_KERNEL
#define GPU_DEVICE inline __attribute__((always_inline))
#define GPU_HOST_DEVICE inline
#define GPU_DEVICE_CALL inline
#define GPU_SHARED

/// A step over a run of elements that many kernels share: a function of its own, built once for all of them.
#define GPU_STEP inline __attribute__((noinline))

/// After the parameters of a lambda that several loops call: with it out of line they would not vectorise.
#define GPU_INLINE __attribute__((always_inline))

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

GPU_DEVICE uint3 blockIndex() { return currentBlock.index; }

GPU_DEVICE dim3 gridSize() { return currentBlock.grid; }

/// The barrier between two programs of one block; phases carry their own.
GPU_DEVICE void blockBarrier() {}

/// Neighbouring blocks of a grid that run close to each other in time: memory that a block fetches ahead for
/// this many in a direction is likely to be there when they run.
GPU_DEVICE unsigned int closeBlocksX() { return BlockWalk::groupWidth(currentBlock.grid, currentBlock.size); }
GPU_DEVICE unsigned int closeBlocksY() { return BlockWalk::groupHeight; }

/// Fetches `count` elements from `from` on, which need not exist, ahead of their use. Scattered accesses
/// gain: several lines in a row come much faster than one at a time.
template <class T>
GPU_DEVICE void prefetch(T const* from, unsigned int count) {
    constexpr unsigned long cacheLine = 64;
    constexpr int intoSecondLevel = 2;
    auto const* const bytes = reinterpret_cast<char const*>(from);
    for (unsigned long i = 0; i < count * sizeof(T); i += cacheLine) {
        __builtin_prefetch(bytes + i, 0, intoSecondLevel);
    }
}

/// Fetches what comes some steps after the `count` elements from `from` on, in a walk whose reads the
/// hardware does not foresee well.
template <class T>
GPU_DEVICE void prefetchAfter(T const* from, unsigned int count) {
    constexpr unsigned int bytesAhead = 8192;
    prefetch(from + bytesAhead / sizeof(T), count);
}

/// Words of memory that a block has to itself besides what stands for shared memory: on this device memory is
/// all alike.
inline constexpr unsigned int ownWords = 1u << 14;

/// Applies a functor to a block, out of line: the kernels of a frame that run it share its code.
template <class Functor, class Iterator, class... Args>
__attribute__((noinline)) void applyToBlock(Iterator const& block, Args... args) {
    Functor::apply(block, args...);
}

/// A thread's place in a block.
struct Thread {
    unsigned int x, y, z;
};

/// A value that each of the `N` threads of a block keeps across phases.
template <class T, unsigned int N>
class PerThread {
  public:
    GPU_DEVICE T& operator[](unsigned long thread) { return values[thread]; }

  private:
    T values[N];
};

/// The threads of a block by their linear number. Threads of one phase are independent of each other.
class Threads {
  public:
    GPU_DEVICE Threads() : count(currentBlock.size.x * currentBlock.size.y) {}

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

    /// Calls `f(i)` for the indices `i` = `first` + `t` in [`begin`, `end`), `t` being the threads, where the
    /// sum does not wrap; no barrier follows. Where arrays are indexed by `first` + `t` themselves, the
    /// compiler must fear that the sum wraps, and does not vectorise.
    template <class F>
    GPU_DEVICE void forEachIndex(unsigned int first, unsigned int begin, unsigned int end, F f) const {
        if (first >= end) return;
        unsigned int const last = end - first > count ? first + count : end;
#pragma GCC ivdep
        for (unsigned int i = std::max(first, begin); i < last; ++i) f(i);
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

    /// Goes over the elements in [`begin`, `end`) of an array: calls `f(t, i, row)` for every index `i`, by
    /// the thread `t` = (`i` - `begin`) mod `N` and in ascending order for each thread, whose calls are
    /// counted by `row` from 0; `N` is the block's size. No barrier follows. Take `t` and `i` in 64 bits to
    /// index arrays with them: of numbers of 32 bits the compiler must fear that they wrap, and does not
    /// vectorise. Long walks are shared out among the workers, by threads.
    template <unsigned int N, class T, class F>
    GPU_DEVICE void walkRows(T const* elements, unsigned int begin, unsigned int end, F f) const {
        walkGroups<N, 1>(elements, begin, end, f, f);
    }

    /// The same by groups of so many threads, of which `f` gets the first, as far as they are whole; `single`
    /// gets the threads of the last group.
    template <unsigned int N, unsigned int group, class T, class F, class Single>
    GPU_DEVICE void walkGroups(T const* elements, unsigned int begin, unsigned int end, F f,
                               Single single) const {
        // Four rows at a time, so that what a thread keeps stays in a register. What is fetched ahead is
        // spread over the work: there is room for few lines on the way.
        constexpr unsigned int few = 128 / sizeof(T) < N ? 128 / sizeof(T) : N;
        static_assert(few % group == 0);
        if (begin >= end) return;
        // The same for the threads of some of the few. By value, and copied: memory is known to be no part of
        // it.
        auto const walkThreads = [=](unsigned long fromFew, unsigned long toFew) __attribute__((noinline)) {
            auto const each = f;
            auto const eachSingle = single;
            T const* const array = elements;
            unsigned long const from = fromFew * few, to = toFew * few, stop = end;
            unsigned long i = begin;
            unsigned int row = 0;
            for (; i + 4 * N <= stop; i += 4 * N, row += 4) {
                for (unsigned long first = from; first < to; first += few) {
                    for (unsigned int r = 0; r < 4; ++r) prefetchAfter(array + i + r * N + first, few);
#pragma GCC ivdep
                    for (unsigned long g = 0; g < few; g += group) {
                        unsigned long const t = first + g;
                        each(t, i + t, row);
                        each(t, i + t + N, row + 1);
                        each(t, i + t + 2 * N, row + 2);
                        each(t, i + t + 3 * N, row + 3);
                    }
                }
            }
            for (; i + N <= stop; i += N, ++row) {
                prefetchAfter(array + i + from, to - from);
#pragma GCC ivdep
                for (unsigned long t = from; t < to; t += group) each(t, i + t, row);
            }
            unsigned long const left = i < stop ? std::min(stop - i, to) : 0;
            unsigned long const whole = left - left % group;
#pragma GCC ivdep
            for (unsigned long t = from; t < whole; t += group) each(t, i + t, row);
            if constexpr (group > 1) {
                for (unsigned long t = std::max(from, whole); t < left; ++t) eachSingle(t, i + t, row);
            }
        };
        if (isShared((end - begin) * sizeof(T))) {
            shareOut(N / few, walkThreads);
        } else {
            walkThreads(0, N / few);
        }
    }

    /// The same without the count.
    template <unsigned int N, class T, class F>
    GPU_DEVICE void walk(T const* elements, unsigned int begin, unsigned int end, F f) const {
        walkRows<N>(elements, begin, end, [f](unsigned long t, unsigned long i, unsigned int) { f(t, i); });
    }

  private:
    unsigned int count;
};

/// The threads of a block by their coordinates.
class TileThreads {
  public:
    GPU_DEVICE TileThreads() : extent(currentBlock.size) {}

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

    /// The same within the first two limits, where most blocks are `X` by `Y` threads and whole: known
    /// extents make the loops of those faster.
    template <unsigned int X, unsigned int Y, class F>
    GPU_DEVICE void forEach(dim3 limit, F f) const {
        if (std::min(limit.x, extent.x) != X || std::min(limit.y, extent.y) != Y) {
            forEach(limit, f);
            return;
        }
        for (unsigned int y = 0; y < Y; ++y) {
#pragma GCC ivdep
            for (unsigned int x = 0; x < X; ++x) f(Thread{x, y, 0});
        }
    }

    /// Calls `f(thread)` for every thread of a block that is known to be `X` by `Y`; no barrier follows.
    template <unsigned int X, unsigned int Y, class F>
    GPU_DEVICE void forEachOf(F f) const {
        for (unsigned int y = 0; y < Y; ++y) {
#pragma GCC ivdep
            for (unsigned int x = 0; x < X; ++x) f(Thread{x, y, 0});
        }
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

#pragma once

#include <cuda_runtime.h>

/// Markers of device code, and the threads of the running block. On this device every thread runs the block's
/// program, and a phase is the thread's own call followed by the barrier.
#define GPU_KERNEL __global__
#define GPU_DEVICE __device__ __forceinline__
#define GPU_HOST_DEVICE __host__ __device__ inline
#define GPU_DEVICE_CALL __device__ __noinline__
#define GPU_SHARED __shared__

/// A step over a run of elements that many kernels share; a run is a single element here, and the step is its
/// thread's own code.
#define GPU_STEP __device__ __forceinline__

/// After the parameters of a lambda that must not be called out of line; here none is.
#define GPU_INLINE

/// Before a loop of few passes, known at build time: one copy of the body for each.
#define GPU_UNROLL _Pragma("unroll")

/// A variable in device memory, or in constant memory that the host fills, which the runtime's symbol calls
/// know. Use it at namespace scope, once per source unit.
#define GPU_DEVICE_VARIABLE(type, name) static __device__ type name
#define GPU_CONSTANT_VARIABLE(type, name) static __constant__ type name

/// Constant memory that is filled when the unit is built; registered as the variables above are.
#define GPU_CONSTANT_TABLE(type, name, value) static __constant__ type const name = value

namespace gpuruntime::backend {

GPU_DEVICE uint3 blockIndex() { return blockIdx; }

GPU_DEVICE dim3 gridSize() { return gridDim; }

/// The barrier between two programs of one block; phases carry their own.
GPU_DEVICE void blockBarrier() { __syncthreads(); }

/// Neighbouring blocks of a grid that run close to each other in time: here all do, and nothing needs
/// fetching ahead.
GPU_DEVICE unsigned int closeBlocksX() { return 1; }
GPU_DEVICE unsigned int closeBlocksY() { return 1; }

template <class T>
GPU_DEVICE void prefetch(T const*, unsigned int) {}
template <class T>
GPU_DEVICE void prefetchAfter(T const*, unsigned int) {}

/// Words of memory that a block has to itself besides shared memory: none.
inline constexpr unsigned int ownWords = 0;

/// Applies a functor to a block. A call would cost registers; the code is not shared.
template <class Functor, class Iterator, class... Args>
GPU_DEVICE void applyToBlock(Iterator const& block, Args... args) {
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
    GPU_DEVICE T& operator[](unsigned int) { return value; }

  private:
    T value;
};

/// The threads of a block by their linear number. Threads of one phase are independent of each other.
class Threads {
  public:
    GPU_DEVICE unsigned int size() const { return blockDim.x * blockDim.y; }

    /// Calls `f(t)` for the threads `t` below `limit`; no barrier follows.
    template <class F>
    GPU_DEVICE void forEach(unsigned int limit, F f) const {
        if (own() < limit) f(own());
    }

    template <class F>
    GPU_DEVICE void forEach(F f) const {
        f(own());
    }

    /// Calls `f(i)` for the indices `i` = `first` + `t` in [`begin`, `end`), `t` being the threads, where the
    /// sum does not wrap; no barrier follows.
    template <class F>
    GPU_DEVICE void forEachIndex(unsigned int first, unsigned int begin, unsigned int end, F f) const {
        if (first < end && own() < end - first && first + own() >= begin) f(first + own());
    }

    /// Calls `f(t)` for the threads `t` below `limit`, then the block meets at a barrier.
    template <class F>
    GPU_DEVICE void phase(unsigned int limit, F f) const {
        forEach(limit, f);
        __syncthreads();
    }

    template <class F>
    GPU_DEVICE void phase(F f) const {
        f(own());
        __syncthreads();
    }

    /// Goes over the elements in [`begin`, `end`) of an array: calls `f(t, i, row)` for every index `i`, by
    /// the thread `t` = (`i` - `begin`) mod `N` and in ascending order for each thread, whose calls are
    /// counted by `row` from 0; `N` is the block's size. No barrier follows.
    template <unsigned int N, class T, class F>
    GPU_DEVICE void walkRows(T const* /*elements*/, unsigned int begin, unsigned int end, F f) const {
        if (begin >= end || own() >= end - begin) return;
        unsigned int left = end - begin - own();
        for (unsigned int i = begin + own(), row = 0;; i += N, left -= N, ++row) {
            f(own(), i, row);
            if (left <= N) return;
        }
    }

    /// The same without the count.
    template <unsigned int N, class T, class F>
    GPU_DEVICE void walk(T const* elements, unsigned int begin, unsigned int end, F f) const {
        walkRows<N>(elements, begin, end, [&](unsigned int t, unsigned int i, unsigned int) { f(t, i); });
    }

  private:
    GPU_DEVICE static unsigned int own() { return threadIdx.y * blockDim.x + threadIdx.x; }
};

/// The threads of a block by their coordinates.
class TileThreads {
  public:
    GPU_DEVICE unsigned int sizeX() const { return blockDim.x; }
    GPU_DEVICE unsigned int sizeY() const { return blockDim.y; }
    GPU_DEVICE unsigned int sizeZ() const { return blockDim.z; }

    /// Calls `f(thread)` for the threads within the three limits; no barrier follows.
    template <class F>
    GPU_DEVICE void forEach(dim3 limit, F f) const {
        if (threadIdx.x < limit.x && threadIdx.y < limit.y && threadIdx.z < limit.z) forEach(f);
    }

    template <class F>
    GPU_DEVICE void forEach(F f) const {
        f(Thread{threadIdx.x, threadIdx.y, threadIdx.z});
    }

    /// The same within the first two limits, where most blocks are `X` by `Y` threads and whole.
    template <unsigned int X, unsigned int Y, class F>
    GPU_DEVICE void forEach(dim3 limit, F f) const {
        if (threadIdx.x < limit.x && threadIdx.y < limit.y) forEach(f);
    }

    /// Calls `f(thread)` for every thread of a block that is known to be `X` by `Y`; no barrier follows.
    template <unsigned int X, unsigned int Y, class F>
    GPU_DEVICE void forEachOf(F f) const {
        forEach(f);
    }

    /// Calls `f(thread)` for every thread, then the block meets at a barrier.
    template <class F>
    GPU_DEVICE void phase(F f) const {
        forEach(f);
        __syncthreads();
    }

    template <class F>
    GPU_DEVICE void phase(dim3 limit, F f) const {
        forEach(limit, f);
        __syncthreads();
    }
};

}  // namespace gpuruntime::backend

#pragma once

#include "device.hpp"
#include "store.hpp"

/// Runs: the elements of an array that one call of a functor handles. On this device they are a block's, so
/// that a step over them is a loop that many kernels can share.
namespace gpuruntime::backend {

/// `size` elements from `first` on, of arrays of `n`.
struct Run {
    static constexpr unsigned int capacity = 256;

    unsigned int first, size, n;
};

/// Calls `f` with the run of the block's elements from `first` on, unless there are none.
template <class F>
GPU_DEVICE void withRun(Threads const& threads, unsigned int first, unsigned int n, F f) {
    if (first < n) f(Run{first, std::min(threads.size(), n - first), n});
}

/// Calls `f(k)` for each `k` below `size`, the number of elements in a run or a multiple of it.
template <class F>
GPU_DEVICE void forEachOf(unsigned int size, F f) {
#pragma GCC ivdep
    for (unsigned int k = 0; k < size; ++k) f(k);
}

/// The elements of a run of an array, to be read.
template <class T>
class ElementsOf {
  public:
    GPU_DEVICE ElementsOf(Run run, T const* array) : elements(array + run.first) {}

    GPU_DEVICE T const* data() const { return elements; }

  private:
    T const* elements;
};

GPU_STEP void streamRun(void* to, void const* from, unsigned long numBytes) {
    for (unsigned long i = 0; i < numBytes; i += lineSize) {
        auto* const line = static_cast<char*>(to) + i;
        auto const* const source = static_cast<char const*>(from) + i;
        for (unsigned int part = 0; part < lineSize; part += sizeof(__m256i)) {
            _mm256_stream_si256(reinterpret_cast<__m256i*>(line + part),
                                _mm256_load_si256(reinterpret_cast<__m256i const*>(source + part)));
        }
    }
}

/// Stores a run of `out`: `fill(to)` writes its elements from `to` on. Whole runs of arrays that are larger
/// than the caches are written past them; the launch makes such stores visible.
template <class T, class Fill>
GPU_DEVICE void storeRun(Run run, T* out, Fill fill) {
    alignas(lineSize) T values[Run::capacity];
    T* const to = out + run.first;
    bool const isStreamed = run.n * sizeof(T) >= streamedSize && run.size == Run::capacity &&
                            reinterpret_cast<unsigned long>(to) % lineSize == 0;
    fill(isStreamed ? values : to);
    if (isStreamed) streamRun(to, values, sizeof values);
}

}  // namespace gpuruntime::backend

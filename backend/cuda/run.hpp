#pragma once

#include "device.hpp"

/// Runs: the elements of an array that one call of a functor handles. On this device it is the one element of
/// the thread.
namespace gpuruntime::backend {

/// `size` elements from `first` on.
struct Run {
    static constexpr unsigned int capacity = 1;
    static constexpr unsigned int size = 1;

    unsigned int first;
};

/// Calls `f` with the run of the thread's element, counted from `first` on, if there is such an element.
template <class F>
GPU_DEVICE void withRun(Threads const& threads, unsigned int first, unsigned int n, F f) {
    threads.forEachIndex(first, 0, n, [&](unsigned int i) { f(Run{i}); });
}

/// Calls `f(k)` for each `k` below `size`, the number of elements in a run or a multiple of it.
template <class F>
GPU_DEVICE void forEachOf(unsigned int size, F f) {
    GPU_UNROLL for (unsigned int k = 0; k < size; ++k) f(k);
}

/// The elements of a run of an array, to be read.
template <class T>
class ElementsOf {
  public:
    GPU_DEVICE ElementsOf(Run run, T const* array) : element(array[run.first]) {}

    GPU_DEVICE T const* data() const { return &element; }

  private:
    T element;
};

/// Stores a run of `out`: `fill(to)` writes its elements from `to` on.
template <class T, class Fill>
GPU_DEVICE void storeRun(Run run, T* out, Fill fill) {
    T value;
    fill(&value);
    out[run.first] = value;
}

}  // namespace gpuruntime::backend

#pragma once

#include <algorithm>

#include "device.hpp"

/// How the threads of a block combine their values. Each fold fixes which operands meet, so the result is the
/// same on every device; where the values stand between the steps is the device's own, here such that each
/// step is a loop over neighbouring memory.
namespace gpuruntime::backend {

/// Folds the values of a block of `N` threads, one each, and gives the result to `store`, on one thread:
/// first within each run of 32 threads, neighbours, then neighbouring pairs, and so on; then the results of
/// the runs in their order. A block may do this once.
template <unsigned int N, class T, class Combine, class Store>
GPU_DEVICE void foldBlock(Threads const& /*threads*/, PerThread<T, N>& values, Combine combine, Store store) {
    constexpr unsigned int numRuns = N / 32;
    // The results of each step move together at the front, behind what is still to be read.
    for (unsigned int left = N / 2; left >= numRuns; left /= 2) {
#pragma GCC ivdep
        for (unsigned int i = 0; i < left; ++i) values[i] = combine(values[2 * i], values[2 * i + 1]);
    }
    T result = values[0];
    for (unsigned int run = 1; run < numRuns; ++run) result = combine(result, values[run]);
    store(result);
}

/// Calls `f(into, from)` for the slots of a block of `N` threads, to combine the second into the first, until
/// slot 0 has taken them all: slots `N` / 2 apart first, then half as far, and so on.
template <unsigned int N, class F>
GPU_DEVICE void foldHalves(Threads const& /*threads*/, F f) {
    for (unsigned int distance = N / 2; distance > 0; distance /= 2) {
#pragma GCC ivdep
        for (unsigned int slot = 0; slot < distance; ++slot) f(slot, slot + distance);
    }
}

/// The rows of a tile as segments that lie one behind another, `length` elements each, an element a thread; a
/// row of threads is at least as long as a segment. Each thread has a slot, whose number is the device's own
/// choice: here the slots of a column of threads are neighbours, so that every step of a fold is one run over
/// memory.
class SegmentTile {
  public:
    GPU_DEVICE SegmentTile(TileThreads const& threads, unsigned int length)
        : sizeX(threads.sizeX()), sizeY(threads.sizeY()), length(length) {}

    /// Calls `element(slot, x, i)` for the thread `x` of each row that has an element, the `i`-th of the
    /// `count` that the tile has, and `none(slot)` for the others; a barrier follows.
    template <class Element, class None>
    GPU_DEVICE void load(unsigned int count, Element element, None none) const {
        unsigned int const whole = std::min(sizeY, count / length);
        if (whole < sizeY || length < sizeX) {
#pragma GCC ivdep
            for (unsigned int slot = 0; slot < sizeX * sizeY; ++slot) none(slot);
        }
        if (whole > length) {
            for (unsigned int x = 0; x < length; ++x) {
#pragma GCC ivdep
                for (unsigned int y = 0; y < whole; ++y) element(x * sizeY + y, x, 1ul * y * length + x);
            }
        } else {
            for (unsigned int y = 0; y < whole; ++y) loadRow(y, length, element);
        }
        if (whole < sizeY) loadRow(whole, count - whole * length, element);
    }

    /// Calls `f(into, from)` to combine the slots of each row into its first: threads half a row apart first,
    /// then half as far, and so on; a barrier follows each step.
    template <class F>
    GPU_DEVICE void fold(F f) const {
        for (unsigned int distance = sizeX * sizeY / 2; distance >= sizeY; distance /= 2) {
#pragma GCC ivdep
            for (unsigned int slot = 0; slot < distance; ++slot) f(slot, slot + distance);
        }
    }

    /// Calls `f(y, slot)` with the first slot of each of the first `numRows` rows.
    template <class F>
    GPU_DEVICE void forEachRow(unsigned int numRows, F f) const {
        unsigned int const end = std::min(numRows, sizeY);
#pragma GCC ivdep
        for (unsigned int y = 0; y < end; ++y) f(y, y);
    }

  private:
    template <class Element>
    GPU_DEVICE void loadRow(unsigned int y, unsigned int numElements, Element element) const {
#pragma GCC ivdep
        for (unsigned int x = 0; x < numElements; ++x) element(x * sizeY + y, x, 1ul * y * length + x);
    }

    unsigned int sizeX, sizeY, length;
};

/// A tile of up to `2N` values that the `N` threads of a block scan: a tree of combinations is built up and
/// then walked down. Here the levels of the tree stand one behind another, from the values to the root, so
/// that each step runs over neighbouring memory.
///
/// Source: G. E. Blelloch, Prefix Sums and Their Applications, CMU-CS-90-190, 1990.
template <class T, unsigned int N>
class ScanTile {
  public:
    GPU_DEVICE T& at(unsigned int i) { return nodes[i]; }

    /// Takes `value(i)` for each `i` below `count`, which is at least 1, and the `identity` for the rest; a
    /// barrier follows.
    template <class Value>
    GPU_DEVICE void load(Threads const& /*threads*/, unsigned int count, T identity, Value value) {
        width = 1;
        while (width < count) width *= 2;
#pragma GCC ivdep
        for (unsigned int i = 0; i < count; ++i) nodes[i] = value(i);
        for (unsigned int i = count; i < width; ++i) nodes[i] = identity;
    }

    /// Combines the values in a tree and returns the root, on the first thread. The missing half of each
    /// wider tree would bring in the `identity`; that is done once, because it changes nothing again.
    template <class Combine>
    GPU_DEVICE T buildUp(Threads const& /*threads*/, T identity, Combine combine) {
        T* level = nodes;
        unsigned int left = width / 2;
        for (; left > shortLevel; left /= 2) level = buildLevel(level, left, combine);
        if (left >= 4) level = buildLevel(level, 4, combine);
        if (left >= 2) level = buildLevel(level, 2, combine);
        if (left >= 1) level = buildLevel(level, 1, combine);
        return width < 2 * N ? combine(*level, identity) : *level;
    }

    /// Turns the tree into the exclusive scan of the values, which begins with the `identity`; a barrier
    /// follows.
    template <class Combine>
    GPU_DEVICE void walkDown(Threads const& /*threads*/, T identity, Combine combine) {
        T* level = nodes + 2 * width - 2;
        *level = identity;
        if (width >= 2) level = walkLevel(level, 1, combine);
        if (width >= 4) level = walkLevel(level, 2, combine);
        if (width >= 8) level = walkLevel(level, 4, combine);
        for (unsigned int left = 2 * shortLevel; left < width; left *= 2)
            level = walkLevel(level, left, combine);
    }

  private:
    /// Levels of up to as many pairs are unrolled: what a loop of vectors costs around it would be most of
    /// short scans.
    static constexpr unsigned int shortLevel = 4;

    /// Returns the level above, of `left` nodes.
    template <class Combine>
    GPU_DEVICE static T* buildLevel(T* level, unsigned int left, Combine combine) {
        T* const above = level + 2 * left;
#pragma GCC ivdep
        for (unsigned int i = 0; i < left; ++i) above[i] = combine(level[2 * i], level[2 * i + 1]);
        return above;
    }

    /// Hands down `left` nodes; returns the level below.
    template <class Combine>
    GPU_DEVICE static T* walkLevel(T* above, unsigned int left, Combine combine) {
        T* const level = above - 2 * left;
#pragma GCC ivdep
        for (unsigned int i = 0; i < left; ++i) {
            T const before = above[i];
            T const first = level[2 * i];
            level[2 * i] = before;
            level[2 * i + 1] = combine(first, before);
        }
        return level;
    }

    T nodes[4 * N];
    unsigned int width;  // the least power of two that takes in the values that are there
};

}  // namespace gpuruntime::backend

#pragma once

#include <algorithm>
#include <type_traits>

#include "device.hpp"

/// How the threads of a block combine their values. Each fold fixes which operands meet, so the result is the
/// same on every device; where the values stand between the steps is the device's own, here such that each
/// step is a loop over neighbouring memory.
namespace gpuruntime::backend {

/// A number that is known when this is built.
template <unsigned int n>
using Constant = std::integral_constant<unsigned int, n>;

/// Calls `step(size)` for the powers of two from `first` down to `last`.
template <unsigned int first, unsigned int last, class Step>
GPU_DEVICE void halving(Step step) {
    step(Constant<first>{});
    if constexpr (first > last) halving<first / 2, last>(step);
}

/// Calls `f(i)` for the places below `size` in neighbouring memory. A known size makes short loops fast. They
/// stay loops: unrolled before they are vectorised they would not be vectorised.
template <unsigned int size, class F>
GPU_DEVICE void forEachPlace(Constant<size>, F f) {
    if constexpr (size == 1) {
        f(0u);
    } else {
#pragma GCC ivdep
#pragma GCC unroll 1
        for (unsigned int i = 0; i < size; ++i) f(i);
    }
}

/// Folds the values of a block of `N` threads, one each, and gives the result to `store`, on one thread:
/// first within each run of 32 threads, neighbours, then neighbouring pairs, and so on; then the results of
/// the runs in their order. A block may do this once.
template <unsigned int N, class T, class Combine, class Store>
GPU_DEVICE void foldBlock(Threads const& /*threads*/, PerThread<T, N>& values, Combine combine, Store store) {
    constexpr unsigned int numRuns = N / 32;
    // The results of each step move together at the front, behind what is still to be read.
    halving<N / 2, numRuns>([&](auto left) {
        forEachPlace(left, [&](unsigned int i) { values[i] = combine(values[2 * i], values[2 * i + 1]); });
    });
    T result = values[0];
    for (unsigned int run = 1; run < numRuns; ++run) result = combine(result, values[run]);
    store(result);
}

/// Calls `f(into, from)` for the slots of a block of `N` threads, to combine the second into the first, until
/// slot 0 has taken them all: slots `N` / 2 apart first, then half as far, and so on.
template <unsigned int N, class F>
GPU_DEVICE void foldHalves(Threads const& /*threads*/, F f) {
    halving<N / 2, 1>(
        [&](auto distance) { forEachPlace(distance, [&](unsigned int slot) { f(slot, slot + distance); }); });
}

/// The rows of a tile of `N` threads as segments that lie one behind another, `length` elements each, an
/// element a thread; a row of threads is at least as long as a segment. Each thread has a slot, whose number
/// is the device's own choice: here the slots of a column of threads are neighbours, so that every step of a
/// fold is one run over memory.
template <unsigned int N>
class SegmentTile {
  public:
    GPU_DEVICE SegmentTile(TileThreads const& threads, unsigned int length)
        : sizeY(threads.sizeY()), length(length) {}

    /// Calls `element(slot, x, i)` for the thread `x` of each row that has an element, the `i`-th of the
    /// `count` that the tile has, and `none(slot)` for the others; a barrier follows.
    template <class Element, class None>
    GPU_DEVICE void load(unsigned int count, Element element, None none) const {
        unsigned int const whole = std::min(sizeY, count / length);
        if (whole < sizeY || length * sizeY < N) {
#pragma GCC ivdep
            for (unsigned int slot = 0; slot < N; ++slot) none(slot);
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
        halving<N / 2, 1>([&](auto distance) {
            if (distance < sizeY) return;
            forEachPlace(distance, [&](unsigned int slot) { f(slot, slot + distance); });
        });
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

    unsigned int sizeY, length;
};

/// Whether an operator can also combine values one after another, and tell whether the order matters.
template <class Operator, class = void>
inline constexpr bool hasSequence = false;
template <class Operator>
inline constexpr bool hasSequence<Operator, std::void_t<typename Operator::Sequence>> = true;

/// A tile of up to `2N` values that the `N` threads of a block scan: a tree of combinations is built up and
/// then walked down. Here the levels of the tree stand one behind another, from the values to the root, so
/// that each step runs over neighbouring memory. A tree is as wide as its values need.
///
/// Source: G. E. Blelloch, Prefix Sums and Their Applications, CMU-CS-90-190, 1990.
template <class Operator, unsigned int N>
class ScanTile {
  public:
    using T = decltype(Operator::identity());

    GPU_DEVICE T& at(unsigned int i) { return level(width)[i]; }

    /// Takes `value(i)` for each `i` below `count`, which is at least 1, and the identity for the rest; a
    /// barrier follows.
    template <class Value>
    GPU_DEVICE void load(Threads const& /*threads*/, unsigned int count, Value value) {
        numValues = count;
        width = 1;
        while (width < count) width *= 2;
        T* const values = level(width);
#pragma GCC ivdep
        for (unsigned int i = 0; i < count; ++i) values[i] = value(i);
        for (unsigned int i = count; i < width; ++i) values[i] = Operator::identity();
    }

    /// Turns the values into their exclusive scan, which begins with the identity, and returns the
    /// combination of all, on the first thread; a barrier follows.
    GPU_DEVICE T scan(Threads const& /*threads*/) {
        T total;
        if constexpr (hasSequence<Operator>) {
            if (scanInSequence(total)) return total;
        }
        buildLevels();
        // The missing half of each wider tree would bring in the identity; that is done once, because it
        // changes nothing again.
        T& root = *level(1);
        total = width < 2 * N ? Operator::combine(root, Operator::identity()) : root;
        root = Operator::identity();
        walkLevels<1>();
        return total;
    }

    /// Calls `f(i, value)` with the values in [`begin`, `end`), on one thread each; no barrier follows.
    template <class F>
    GPU_DEVICE void forEach(Threads const& threads, unsigned int begin, unsigned int end, F f) {
        T const* const values = level(width);
        threads.walk<N>(begin, end, [&](unsigned int, unsigned long i) { f(i, values[i]); });
    }

  private:
    /// The level of so many nodes, a power of two.
    GPU_DEVICE T* level(unsigned int numNodes) { return nodes + (4 * N - 2 * numNodes); }

    /// Builds the levels up to the root.
    GPU_DEVICE void buildLevels() {
        halving<N, 1>([&](auto numNodes) {
            if (numNodes >= width) return;
            T* const above = level(numNodes);
            T const* const below = level(2 * numNodes);
            forEachPlace(numNodes, [&](unsigned int i) {
                above[i] = Operator::combine(below[2 * i], below[2 * i + 1]);
            });
        });
    }

    /// Hands down the levels from `numNodes` nodes to the values.
    template <unsigned int numNodes>
    GPU_DEVICE void walkLevels() {
        if (numNodes >= width) return;
        T const* const above = level(numNodes);
        T* const below = level(2 * numNodes);
        forEachPlace(Constant<numNodes>{}, [&](unsigned int i) {
            T const before = above[i];
            T const first = below[2 * i];
            below[2 * i] = before;
            below[2 * i + 1] = Operator::combine(first, before);
        });
        if constexpr (numNodes < N) walkLevels<2 * numNodes>();
    }

    /// Scans the values one after another, which is faster where combining takes branches. False if the tree
    /// might give another result; then the values are as they were.
    GPU_DEVICE bool scanInSequence(T& total) {
        T* const values = level(width);
        T before[2 * N];
        typename Operator::Sequence sequence(values[0]);
        for (unsigned int i = 1; i < numValues; ++i) {
            before[i] = sequence.value();
            if (!sequence.take(values[i])) return false;
        }
        values[0] = Operator::identity();
        std::copy(before + 1, before + numValues, values + 1);
        total = sequence.value();
        return true;
    }

    T nodes[4 * N];
    unsigned int numValues;
    unsigned int width;  // the least power of two that takes in the values that are there
};

}  // namespace gpuruntime::backend

#pragma once

#include <cstring>

#include "device.hpp"

/// How the threads of a block combine their values. Each fold fixes which operands meet, so the result is the
/// same on every device; where the values stand between the steps is the device's own.
namespace gpuruntime::backend {

namespace detail {

inline constexpr unsigned int warpSize = 32;

/// The value of the lane `offset` above; every lane of the warp takes part.
template <class T>
GPU_DEVICE T shuffleDown(T const& value, unsigned int offset) {
    constexpr unsigned int numWords = (sizeof(T) + sizeof(unsigned int) - 1) / sizeof(unsigned int);
    unsigned int words[numWords] = {};
    memcpy(words, &value, sizeof(T));
#pragma unroll
    for (unsigned int i = 0; i < numWords; ++i) words[i] = __shfl_down_sync(~0u, words[i], offset);
    T result;
    memcpy(&result, words, sizeof(T));
    return result;
}

}  // namespace detail

/// Combines the values of a block of `N` threads with what `Transform` makes of the elements in [`begin`,
/// `end`), which the threads take in turns and each in ascending order. No barrier follows. A device that
/// goes along memory on one thread uses `Tally`.
template <class Operator, class Transform, class Tally, class T, unsigned int N, class Element>
GPU_DEVICE void combineWalk(Threads const& threads, PerThread<T, N>& values, Element const* elements,
                            unsigned int begin, unsigned int end) {
    threads.walk<N>(elements, begin, end, [&](unsigned int t, unsigned int i) {
        values[t] = Operator::combine(values[t], Transform::apply(elements[i]));
    });
}

/// Combines the value of each thread `t` in the first row of a tile, as far as `limit` goes, with `value(t)`.
/// No barrier follows.
template <class Operator, class T, unsigned int N, class Value>
GPU_DEVICE void combineEach(TileThreads const& threads, unsigned int limit, PerThread<T, N>& values,
                            Value value) {
    threads.forEach(dim3(limit), [&](Thread t) { values[t.x] = Operator::combine(values[t.x], value(t.x)); });
}

/// Folds the values of a block of `N` threads, one each, and gives the result to `store`, on one thread:
/// first within each run of 32 threads, neighbours, then neighbouring pairs, and so on; then the results of
/// the runs in their order. A block may do this once.
template <unsigned int N, class T, class Combine, class Store>
GPU_DEVICE void foldBlock(Threads const& threads, PerThread<T, N>& values, Combine combine, Store store) {
    __shared__ T runs[N / detail::warpSize];
    threads.phase([&](unsigned int t) {
        T value = values[t];  // the first lane takes none from beyond its run, and only its result counts
#pragma unroll
        for (unsigned int offset = 1; offset < detail::warpSize; offset *= 2) {
            value = combine(value, detail::shuffleDown(value, offset));
        }
        if (t % detail::warpSize == 0) runs[t / detail::warpSize] = value;
    });
    threads.forEach(1, [&](unsigned int) {
        T result = runs[0];
#pragma unroll
        for (unsigned int run = 1; run < N / detail::warpSize; ++run) result = combine(result, runs[run]);
        store(result);
    });
}

/// Holds a position of 32 bits beside a value.
template <class T>
using PositionBeside = unsigned int;

/// Calls `f(into, from)` for the slots of a block of `N` threads, to combine the second into the first, until
/// slot 0 has taken them all: slots `N` / 2 apart first, then half as far, and so on. Slots from `count` on
/// would change nothing; here they take part.
template <unsigned int N, class F>
GPU_DEVICE void foldHalves(Threads const& threads, unsigned int /*count*/, F f) {
#pragma unroll
    for (unsigned int distance = N / 2; distance > 0; distance /= 2) {
        threads.phase(distance, [&](unsigned int t) { f(t, t + distance); });
    }
}

/// The rows of a tile of `N` threads as segments that lie one behind another, `length` elements each, an
/// element a thread; a row of threads is at least as long as a segment. Each thread has a slot, whose number
/// is the device's own choice: here the slots of a row of threads are neighbours.
template <unsigned int N>
class SegmentTile {
  public:
    GPU_DEVICE SegmentTile(TileThreads const& threads, unsigned int length)
        : threads(threads), length(length) {}

    /// Calls `element(slot, x, i)` for the thread `x` of each row that has an element, the `i`-th of the
    /// `count` that the tile has, and `none(slot)` for the others; a barrier follows.
    template <class Element, class None>
    GPU_DEVICE void load(unsigned int count, Element element, None none) const {
        threads.phase([&](Thread t) {
            unsigned int const i = t.y * length + t.x;
            if (t.x < length && i < count) {
                element(slotOf(t), t.x, i);
            } else {
                none(slotOf(t));
            }
        });
    }

    /// Calls `f(into, from)` to combine the slots of each row into its first: threads half a row apart first,
    /// then half as far, and so on; a barrier follows each step.
    template <class F>
    GPU_DEVICE void fold(F f) const {
        for (unsigned int distance = threads.sizeX() / 2; distance > 0; distance /= 2) {
            threads.phase([&](Thread t) {
                if (t.x < distance) f(slotOf(t), slotOf(t) + distance);
            });
        }
    }

    /// Calls `f(y, slot)` with the first slot of each of the first `numRows` rows.
    template <class F>
    GPU_DEVICE void forEachRow(unsigned int numRows, F f) const {
        threads.forEach([&](Thread t) {
            if (t.x == 0 && t.y < numRows) f(t.y, slotOf(t));
        });
    }

  private:
    GPU_DEVICE unsigned int slotOf(Thread t) const { return t.y * threads.sizeX() + t.x; }

    TileThreads threads;
    unsigned int length;
};

/// A tile of up to `2N` values that the `N` threads of a block scan: a tree of combinations is built up and
/// then walked down. Here the tree stands in the place of the values; one slot in 17 is left free, so that
/// its power-of-two steps do not all fall on one memory bank.
///
/// Source: G. E. Blelloch, Prefix Sums and Their Applications, CMU-CS-90-190, 1990.
template <class Operator, unsigned int N>
class ScanTile {
  public:
    using T = decltype(Operator::identity());

    /// Turns the first `count` of the elements, at least 1 and at most `2N`, into their inclusive scan, which
    /// `carry` enters through the first. Where the tile `isFirst` of a segment there is no carry, and the
    /// first of several elements is not written. Returns the combination of all, on the first thread, which
    /// also has the carry; a barrier follows.
    template <class Element>
    GPU_DEVICE T scan(Threads const& threads, Element* elements, unsigned int count, bool isFirst, T carry) {
        threads.phase([&](unsigned int t) {
            at(t) = t < count ? elements[t] : Operator::identity();
            at(t + N) = t + N < count ? elements[t + N] : Operator::identity();
        });
        if (!isFirst) {  // the same thread reads it next
            threads.forEach(1, [&](unsigned int) { at(0) = Operator::combine(carry, at(0)); });
        }
        T const total = scanExclusively(threads);
        // Shifted down by one place the scan is inclusive.
        threads.template walk<N>(elements, isFirst ? 2 : 1, count,
                                 [&](unsigned int, unsigned long i) { elements[i - 1] = at(i); });
        threads.phase(1, [&](unsigned int) { elements[count - 1] = total; });  // the tile has been read
        return total;
    }

  private:
    GPU_DEVICE T& at(unsigned int i) { return values[i + i / 16]; }

    GPU_DEVICE T scanExclusively(Threads const& threads) {
        for (unsigned int d = 1; d <= N; d *= 2) {
            threads.phase(N / d, [&](unsigned int t) {
                T& b = at((2 * t + 2) * d - 1);
                b = Operator::combine(at((2 * t + 1) * d - 1), b);
            });
        }
        T total = Operator::identity();
        threads.forEach(1, [&](unsigned int) {  // the same thread reads the root next
            total = at(2 * N - 1);
            at(2 * N - 1) = Operator::identity();
        });
        for (unsigned int d = N; d > 0; d /= 2) {
            threads.phase(N / d, [&](unsigned int t) {
                T& a = at((2 * t + 1) * d - 1);
                T& b = at((2 * t + 2) * d - 1);
                T const first = a;
                a = b;
                b = Operator::combine(first, b);
            });
        }
        return total;
    }

    T values[2 * N + 2 * N / 16];
};

}  // namespace gpuruntime::backend

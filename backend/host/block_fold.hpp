#pragma once

#include <algorithm>
#include <atomic>
#include <cstring>
#include <type_traits>

#include "backend/operator_traits.hpp"
#include "device.hpp"
#include "lane_rows.hpp"

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

namespace detail {

/// Combines into the values of a group of threads, from thread `t` on, what `value(g)` gives for each.
template <class Operator, class T, unsigned int N, class Value>
GPU_DEVICE void combineGroup(PerThread<T, N>& values, unsigned long t, Value value) {
    using Rows = LaneRows<sizeof(T)>;
    T next[Rows::lanes];
#pragma GCC ivdep
#pragma GCC unroll 1
    for (unsigned int g = 0; g < Rows::lanes; ++g) next[g] = value(g);
    typename Rows::Row row;
    std::memcpy(&row, &values[t], sizeof row);
    row = Rows::template combine<Operator>(row, Rows::rowOf(next));
    std::memcpy(&values[t], &row, sizeof row);
}

/// Combines the values of a block of `N` threads with what `value(i)` gives for the elements in [`begin`,
/// `end`), which the threads take in turns and each in ascending order. No barrier follows.
template <class Operator, class T, unsigned int N, class Element, class Value>
GPU_DEVICE void walkValues(Threads const& threads, PerThread<T, N>& values, Element const* elements,
                           unsigned int begin, unsigned int end, Value value) {
    using Rows = LaneRows<sizeof(T)>;
    auto const single = [&values, value](unsigned long t, unsigned long i, unsigned int) {
        values[t] = Operator::combine(values[t], value(i));
    };
    if constexpr (Rows::template hasInstructions<Operator>) {
        threads.walkGroups<N, Rows::lanes>(
            elements, begin, end,
            [&values, value](unsigned long t, unsigned long i, unsigned int) {
                combineGroup<Operator>(values, t, [&](unsigned int g) { return value(i + g); });
            },
            single);
    } else {
        threads.walkRows<N>(elements, begin, end, single);
    }
}

}  // namespace detail

/// The total of a tally over `n` elements.
template <class Tally>
GPU_STEP long totalOf(typename Tally::Element const* elements, unsigned long n) {
    using Number = typename Tally::Number;
    constexpr unsigned int width = 256 / sizeof(*elements);
    long total = 0;
    unsigned long i = 0;
    while (i + 4 * width <= n) {
        Number numbers[width] = {};
        for (unsigned int rows = 4; rows <= Tally::capacity && i + 4 * width <= n;
             rows += 4, i += 4 * width) {
            auto const* const from = elements + i;
            prefetchAfter(from, 4 * width);
#pragma GCC ivdep
            for (unsigned long t = 0; t < width; ++t) {
                numbers[t] +=
                    static_cast<Number>(Tally::of(from[t]) + Tally::of(from[t + width]) +
                                        Tally::of(from[t + 2 * width]) + Tally::of(from[t + 3 * width]));
            }
        }
        for (Number number : numbers) total += static_cast<long>(number);
    }
    for (; i < n; ++i) total += static_cast<long>(Tally::of(elements[i]));
    return total;
}

/// Combines the values of a block of `N` threads with what `Transform` makes of the elements in [`begin`,
/// `end`), which the threads take in turns and each in ascending order. No barrier follows.
template <class Operator, class Transform, class Tally, class T, unsigned int N, class Element>
GPU_DEVICE void combineWalk(Threads const& threads, PerThread<T, N>& values, Element const* elements,
                            unsigned int begin, unsigned int end) {
    if constexpr (Tally::exists) {
        using Tallied = typename Tally::Element;
        if (begin >= end) return;
        auto const* const tallied = reinterpret_cast<Tallied const*>(elements + begin);
        unsigned long const n = 1ul * (end - begin) * (sizeof(Element) / sizeof(Tallied));
        std::atomic<long> total{0};
        auto const add = [&](unsigned long first, unsigned long last) {
            total += totalOf<Tally>(tallied + first, last - first);
        };
        if (isShared(n * sizeof(Tallied))) {
            shareOut(n, add);
        } else {
            add(0, n);
        }
        values[0] = Operator::combine(values[0], Tally::result(total));
    } else {
        detail::walkValues<Operator>(threads, values, elements, begin, end,
                                     [elements](unsigned long i) { return Transform::apply(elements[i]); });
    }
}

/// Combines the value of each thread `t` in the first row of a tile, as far as `limit` goes, with `value(t)`.
/// No barrier follows.
template <class Operator, class T, unsigned int N, class Value>
GPU_DEVICE void combineEach(TileThreads const& threads, unsigned int limit, PerThread<T, N>& values,
                            Value value) {
    using Rows = LaneRows<sizeof(T)>;
    unsigned long const end = std::min(limit, threads.sizeX());
    unsigned long t = 0;  // of a sum of 32 bits the compiler would have to fear that it wraps
    if constexpr (Rows::template hasInstructions<Operator>) {
        for (; t + Rows::lanes <= end; t += Rows::lanes) {
            detail::combineGroup<Operator>(values, t, [&](unsigned int g) { return value(t + g); });
        }
    }
#pragma GCC ivdep
    for (; t < end; ++t) values[t] = Operator::combine(values[t], value(t));
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

/// Holds a position of 32 bits beside a value: here as wide as the value where that is wider, so that loops
/// over both vectorise well.
template <class T>
using PositionBeside = std::conditional_t<sizeof(T) == 8, long, unsigned int>;

/// Calls `f(into, from)` for the slots of a block of `N` threads, to combine the second into the first, until
/// slot 0 has taken them all: slots `N` / 2 apart first, then half as far, and so on. Slots from `count` on
/// would change nothing.
template <unsigned int N, class F>
GPU_DEVICE void foldHalves(Threads const& /*threads*/, unsigned int count, F f) {
    unsigned int const end = std::min(count, N);
#pragma GCC ivdep
    for (unsigned long from = N / 2; from < end; ++from) f(from - N / 2, from);
    halving<N / 4, 1>(
        [&](auto distance) { forEachPlace(distance, [&](unsigned int slot) { f(slot, slot + distance); }); });
}

/// The rows of a tile of `N` threads as segments that lie one behind another, `length` elements each, an
/// element a thread; a row of threads is at least as long as a segment, and there are at least two. Each
/// thread has a slot, whose number is the device's own choice: here the slots of a column of threads are
/// neighbours, so that every step of a fold is one run over memory, but of two rows, which are long, each
/// stays together.
template <unsigned int N>
class SegmentTile {
  public:
    GPU_DEVICE SegmentTile(TileThreads const& threads, unsigned int length)
        : sizeY(threads.sizeY()), length(length), numRuns(sizeY == 2 ? 2 : 1) {}

    /// Calls `element(slot, x, i)` for the thread `x` of each row that has an element, the `i`-th of the
    /// `count` that the tile has, and `none(slot)` for the others; a barrier follows.
    template <class Element, class None>
    GPU_DEVICE void load(unsigned int count, Element element, None none) const {
        unsigned int const whole = std::min(sizeY, count / length);
        if (whole < sizeY || length * sizeY < N) {
#pragma GCC ivdep
            for (unsigned int slot = 0; slot < N; ++slot) none(slot);
        }
        if (numRuns == 1 && whole > length) {
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
        unsigned int const longest = N / 2 / numRuns, shortest = numRuns == 1 ? sizeY : 1;
        halving<N / 2, 1>([&](auto distance) {
            if (distance > longest || distance < shortest) return;
            for (unsigned int run = 0; run < numRuns; ++run) {
                unsigned long const first = run * (N / 2);  // of 32 bits the sums below might wrap
                forEachPlace(distance, [&](unsigned int slot) { f(first + slot, first + slot + distance); });
            }
        });
    }

    /// Calls `f(y, slot)` with the first slot of each of the first `numRows` rows.
    template <class F>
    GPU_DEVICE void forEachRow(unsigned int numRows, F f) const {
        unsigned int const end = std::min(numRows, sizeY);
        unsigned int const distance = numRuns == 1 ? 1 : N / 2;
#pragma GCC ivdep
        for (unsigned int y = 0; y < end; ++y) f(y, y * distance);
    }

  private:
    template <class Element>
    GPU_DEVICE void loadRow(unsigned int y, unsigned int numElements, Element element) const {
        unsigned long const begin = 1ul * y * length;
        if (numRuns == 2) {
#pragma GCC ivdep
            for (unsigned long x = 0; x < numElements; ++x) element(y * (N / 2) + x, x, begin + x);
        } else {
#pragma GCC ivdep
            for (unsigned int x = 0; x < numElements; ++x) element(x * sizeY + y, x, begin + x);
        }
    }

    unsigned int sizeY, length;
    unsigned int numRuns;  // over which the slots are folded, one behind another
};

/// A tile of up to `2N` elements that the `N` threads of a block scan: a tree of combinations is built up and
/// then walked down. Here the tile is cut into as many runs as a row has lanes. The levels of the tree within
/// the runs combine whole rows, most of them in registers; those above combine the lanes of one row.
///
/// Source: G. E. Blelloch, Prefix Sums and Their Applications, CMU-CS-90-190, 1990.
template <class Operator, unsigned int N>
class ScanTile {
  public:
    using T = decltype(Operator::identity());

    /// Turns the first `count` of the elements, at least 1 and at most `2N`, into their inclusive scan, which
    /// `carry` enters through the first. Where the tile `isFirst` of a segment there is no carry, and the
    /// first of several elements stays as it is. Returns the combination of all.
    template <class Element>
    GPU_DEVICE T scan(Threads const& /*threads*/, Element* elements, unsigned int count, bool isFirst,
                      T carry) {
        static_assert(sizeof(Element) == sizeof(T));
        Element const firstElement = elements[0];
        T const first = isFirst ? T(firstElement) : Operator::combine(carry, firstElement);
        if (count == 1) return elements[0] = withMissing(first);
        T total;
        if (!scanInSequence(elements, count, first, total)) total = scanTree(elements, count, first);
        if (isFirst) elements[0] = firstElement;
        return total;
    }

  private:
    /// A square of single bytes fills half a vector, and there are no more rows to a tile.
    using Rows = LaneRows<sizeof(T), sizeof(T) == 1 ? 16 : 32>;
    using Row = typename Rows::Row;
    static constexpr unsigned int lanes = Rows::lanes;

    /// Rows that are held in registers at a time.
    static constexpr unsigned int height = Rows::side < 8 ? 8 : Rows::side;
    static constexpr unsigned int numBlocks = 2 * N / lanes / height;

    /// So few values are scanned by themselves.
    static constexpr unsigned int few = 8;

    static GPU_DEVICE Row combineRows(Row a, Row b) { return Rows::template combine<Operator>(a, b); }

    /// Builds up the tree over `count` nodes, a power of two, in place.
    template <class Node, class Combine>
    static GPU_DEVICE void buildUp(Node* nodes, unsigned int count, Combine combine) {
        for (unsigned int d = 1; d < count; d *= 2) {
            for (unsigned int i = 2 * d - 1; i < count; i += 2 * d) {
                nodes[i] = combine(nodes[i - d], nodes[i]);
            }
        }
    }

    /// Hands down what comes before each node, from the root on.
    template <class Node, class Combine>
    static GPU_DEVICE void walkDown(Node* nodes, unsigned int count, Combine combine) {
        for (unsigned int d = count / 2; d > 0; d /= 2) {
            for (unsigned int i = 2 * d - 1; i < count; i += 2 * d) {
                Node const left = nodes[i - d];
                nodes[i - d] = nodes[i];
                nodes[i] = combine(left, nodes[i]);
            }
        }
    }

    /// The same in registers.
    template <unsigned int d = 1>
    static GPU_DEVICE void buildUpBlock(Row (&rows)[height]) {
        if constexpr (d < height) {
            unrolled<height / (2 * d)>([&](auto k) {
                constexpr unsigned int i = k * 2 * d + 2 * d - 1;
                rows[i] = combineRows(rows[i - d], rows[i]);
            });
            buildUpBlock<2 * d>(rows);
        }
    }

    template <unsigned int d = height / 2>
    static GPU_DEVICE void walkDownBlock(Row (&rows)[height]) {
        if constexpr (d > 0) {
            unrolled<height / (2 * d)>([&](auto k) {
                constexpr unsigned int i = k * 2 * d + 2 * d - 1;
                Row const left = rows[i - d];
                rows[i - d] = rows[i];
                rows[i] = combineRows(left, rows[i]);
            });
            walkDownBlock<d / 2>(rows);
        }
    }

    /// The missing half of a wider tree would bring in the identity. That changes nothing again.
    static GPU_DEVICE T withMissing(T total) { return Operator::combine(total, Operator::identity()); }

    template <class Element>
    GPU_DEVICE T scanTree(Element* elements, unsigned int count, T first) {
        if (count == 2 * N) return scanRuns(elements, elements, numBlocks, first);
        alignas(32) T values[2 * N];
#pragma GCC ivdep
        for (unsigned int i = 0; i < count; ++i) values[i] = elements[i];
        T const total =
            count <= few ? scanFew(values, count, first) : scanSome(elements, values, count, first);
#pragma GCC ivdep
        for (unsigned int i = 0; i < count; ++i) elements[i] = values[i];
        return total;
    }

    static GPU_DEVICE T scanFew(T* values, unsigned int count, T first) {
        unsigned int width = 1;
        while (width < count) width *= 2;
        for (unsigned int i = count; i < width; ++i) values[i] = Operator::identity();
        values[0] = first;
        auto const combine = [](T a, T b) { return Operator::combine(a, b); };
        buildUp(values, width, combine);
        T const total = withMissing(values[width - 1]);
        values[width - 1] = Operator::identity();
        walkDown(values, width, combine);
        for (unsigned int i = 1; i < count; ++i) values[i - 1] = values[i];
        values[count - 1] = total;
        return total;
    }

    template <class Element>
    GPU_DEVICE T scanSome(Element const* elements, T* values, unsigned int count, T first) {
        unsigned int blocks = 1;
        while (blocks * height * lanes < count) blocks *= 2;
        unsigned int const width = blocks * height * lanes;
        for (unsigned int i = count; i < width; ++i) values[i] = Operator::identity();
        T total = scanRuns(elements, values, blocks, first);
        if (width < 2 * N) total = withMissing(total);
        values[count - 1] = total;
        return total;
    }

    /// Scans the values that fill so many blocks of rows, of which `first` takes the place of the first. They
    /// are the elements or a copy; the reads of elements go along all runs at once, which the hardware does
    /// not foresee.
    template <class Element, class Value>
    GPU_DEVICE T scanRuns(Element const* elements, Value* values, unsigned int blocks, T first) {
        unsigned int const runLength = blocks * height;
        Row rows[numBlocks][height];
        Row prefixes[numBlocks + 1];  // of the runs up to each block
        for (unsigned int b = 0; b < blocks; ++b) {
            Row block[height];
            prefetchAfter(elements + b * height * lanes, height * lanes);
            Rows::load(block, values + b * height, runLength);
            if (b == 0) {
                block[0] = Rows::shuffle(block[0], Rows::all(first),
                                         [](unsigned int g) { return g == 0 ? lanes : g; });
            }
            buildUpBlock(block);
            unrolled<height>([&](auto j) { rows[b][j] = block[j]; });
            prefixes[b] = block[height - 1];
        }
        buildUp(prefixes, blocks, combineRows);
        T total;
        prefixes[blocks - 1] = scanLanes(prefixes[blocks - 1], total);
        walkDown(prefixes, blocks, combineRows);
        // Shifted down by one place the scan is inclusive.
        prefixes[blocks] = Rows::shuffle(prefixes[0], Rows::all(total), [](unsigned int g) { return g + 1; });
        for (unsigned int b = 0; b < blocks; ++b) {
            Row block[height];
            unrolled<height - 1>([&](auto j) { block[j] = rows[b][j]; });
            block[height - 1] = prefixes[b];
            walkDownBlock(block);
            unrolled<height - 1>([&](auto j) { block[j] = block[j + 1]; });
            block[height - 1] = prefixes[b + 1];
            Rows::store(block, values + b * height, runLength);
        }
        return total;
    }

    /// The exclusive scan of the lanes.
    static GPU_DEVICE Row scanLanes(Row row, T& total) {
        row = buildUpLanes<1>(row);
        total = Rows::template lane<T>(row, lanes - 1);
        row = Rows::shuffle(row, Rows::all(Operator::identity()),
                            [](unsigned int g) { return g == lanes - 1 ? g + lanes : g; });
        return walkDownLanes<lanes / 2>(row);
    }

    template <unsigned int d>
    static GPU_DEVICE Row buildUpLanes(Row row) {
        if constexpr (d < lanes) {
            Row const left = Rows::shuffle(row, row, [](unsigned int g) { return g < d ? g : g - d; });
            Row const combined = Rows::template combine<Operator>(left, row);
            return buildUpLanes<2 * d>(Rows::shuffle(
                row, combined, [](unsigned int g) { return g % (2 * d) == 2 * d - 1 ? g + lanes : g; }));
        } else {
            return row;
        }
    }

    template <unsigned int d>
    static GPU_DEVICE Row walkDownLanes(Row row) {
        if constexpr (d > 0) {
            Row const exchanged = Rows::shuffle(row, row, [](unsigned int g) {
                unsigned int const place = g % (2 * d);
                return place == d - 1 ? g + d : place == 2 * d - 1 ? g - d : g;
            });
            Row const combined = Rows::template combine<Operator>(exchanged, row);
            return walkDownLanes<d / 2>(Rows::shuffle(exchanged, combined, [](unsigned int g) {
                return g % (2 * d) == 2 * d - 1 ? g + lanes : g;
            }));
        } else {
            return row;
        }
    }

    /// Scans the values one after another, which is faster where combining takes branches. False if the tree
    /// might give another result; then nothing has been written.
    template <class Element>
    static GPU_DEVICE bool scanInSequence(Element* elements, unsigned int count, T first, T& total) {
        if constexpr (hasSequence<Operator>) {
            T scanned[2 * N];
            scanned[0] = first;
            typename Operator::Sequence sequence(first);
            for (unsigned int i = 1; i < count; ++i) {
                if (!sequence.take(elements[i])) return false;
                scanned[i] = sequence.value();
            }
            std::copy(scanned, scanned + count, elements);
            total = sequence.value();
            return true;
        } else {
            return false;
        }
    }
};

}  // namespace gpuruntime::backend

#pragma once

#include <algorithm>
#include <functional>
#include <numeric>
#include <optional>
#include <vector>

#include "backend/temporary.hpp"
#include "parallel.hpp"

/// Stable partition and sorts. Each call has finished when it returns. A failed allocation throws as Thrust
/// does, and leaves every element in its array, beside those that move with it.
///
/// Every sort goes over 64-bit words, which a vectorised quicksort sorts several times faster than a
/// comparison sort or a radix sort does: the words are ranks, whose unsigned order is the order of the keys,
/// or the leading bits of ranks with a position below them, which makes the sort stable.
namespace gpuruntime::backend {

/// Below this many elements a loop stays on the calling thread: it takes about as long as waking the workers.
inline constexpr unsigned long serialSize = 32768;

constexpr unsigned long numPartsOf(unsigned long n) { return n / serialSize + (n % serialSize != 0); }

/// Calls `f(first, last)` for parts of [0, n), on several threads if that pays.
template <class F>
void forEachPart(unsigned long n, F const& f) {
    if (n < serialSize) {
        f(0ul, n);
    } else {
        inParallel(n, serialSize / 4, f);
    }
}

/// Calls `f(part, first, last)` for parts of `serialSize` elements.
template <class F>
void forEachNumberedPart(unsigned long n, F const& f) {
    eachInParallel(numPartsOf(n), [&](unsigned long part) {
        f(part, part * serialSize, std::min(n, (part + 1) * serialSize));
    });
}

/// The results of `f(first, last)` over parts of [0, n), combined.
template <class Result, class F, class Combine>
Result reduceParts(unsigned long n, Result const& none, F const& f, Combine const& combine) {
    // In a struct each is its own memory, which bits of a vector of `bool` are not.
    struct Partial {
        Result result;
    };
    std::vector<Partial> partials(numPartsOf(n), Partial{none});
    forEachNumberedPart(n, [&](unsigned long part, unsigned long first, unsigned long last) {
        partials[part].result = f(first, last);
    });
    return std::accumulate(partials.begin(), partials.end(), none,
                           [&](Result const& a, Partial const& b) { return combine(a, b.result); });
}

/// Sorts words on the calling thread.
void sortSerially(unsigned long* words, unsigned long n);

/// Two sorted arrays that are being merged, or a part of the work.
struct Merge {
    unsigned long const *a, *endA, *b, *endB;
    unsigned long out;  ///< place of the next word in the result

    /// For how many steps neither array can run out.
    unsigned long safeSteps() const { return static_cast<unsigned long>(std::min(endA - a, endB - b)); }

    template <class Emit>
    void step(Emit const& emit) {
        unsigned long const wordA = *a, wordB = *b;
        bool const takeB = wordB < wordA;
        emit(out++, takeB ? wordB : wordA);
        a += !takeB;
        b += takeB;
    }

    /// The work on the words [first, last) of the result.
    Merge part(unsigned long first, unsigned long last) const;
};

/// Merges, calling `emit(i, word)` for each place of the result. Each step waits for the one before it, so
/// two parts advance in turn.
template <class Emit>
void merge(Merge const& both, unsigned long first, unsigned long last, Emit const emit) {
    unsigned long const middle = first + (last - first) / 2;
    Merge low = both.part(first, middle), high = both.part(middle, last);
    while (unsigned long const steps = std::min(low.safeSteps(), high.safeSteps())) {
        for (unsigned long i = 0; i < steps; ++i) {
            low.step(emit);
            high.step(emit);
        }
    }
    for (Merge* rest : {&low, &high}) {
        while (unsigned long const steps = rest->safeSteps()) {
            for (unsigned long i = 0; i < steps; ++i) rest->step(emit);
        }
        for (; rest->a < rest->endA; ++rest->a) emit(rest->out++, *rest->a);
        for (; rest->b < rest->endB; ++rest->b) emit(rest->out++, *rest->b);
    }
}

/// `n` words, sorted on several threads up to a last merge, whose result can then go where it is wanted.
class SortedHalves {
  public:
    template <class WordAt>
    SortedHalves(unsigned long n, WordAt const wordAt) : n(n), numChunks(numChunksFor(n)), words(n) {
        unsigned long* const filled = words.data();
        forEachChunk([&](unsigned long begin, unsigned long end) {
            fill(filled + begin, begin, end, wordAt);
            sortSerially(filled + begin, end - begin);
        });
        if (numChunks > 2) mergeChunks();
    }

    /// Calls `emit(i, word)` for each word.
    template <class Emit>
    void emitAll(Emit const emit) const {
        if (numChunks == 1) {
            unsigned long const* const sorted = words.data();
            for (unsigned long i = 0, end = n; i < end; ++i) emit(i, sorted[i]);
            return;
        }
        unsigned long const* const halves = merged ? merged->data() : words.data();
        Merge const last{halves, halves + n / 2, halves + n / 2, halves + n, 0};
        forEachPart(n, [&](unsigned long first, unsigned long end) { merge(last, first, end, emit); });
    }

  private:
    /// A power of two, one chunk for each thread if `n` is worth them.
    static unsigned long numChunksFor(unsigned long n);

    unsigned long beginOf(unsigned long chunk) const { return chunk * n / numChunks; }

    template <class F>
    void forEachChunk(F const& f) const {
        if (numChunks == 1) {
            f(0ul, n);
            return;
        }
        eachInParallel(numChunks, [&](unsigned long c) { f(beginOf(c), beginOf(c + 1)); });
    }

    /// By value, so that storing words is known not to change what they are made of, and the loop vectorises.
    template <class WordAt>
    static void fill(unsigned long* to, unsigned long begin, unsigned long end, WordAt const wordAt) {
        for (unsigned long i = begin; i < end; ++i) *to++ = wordAt(i);
    }

    /// Merges neighbours until two chunks are left.
    void mergeChunks();

    unsigned long n;
    unsigned long numChunks;
    Temporary<unsigned long> words;
    std::optional<Temporary<unsigned long>> merged;
};

/// Merge sort by comparisons, halves of long ranges on several threads.
template <class Before>
void stableMergeSort(unsigned long* first, unsigned long* last, Before const& before) {
    if (static_cast<unsigned long>(last - first) < serialSize) {
        std::stable_sort(first, last, before);
        return;
    }
    unsigned long* const middle = first + (last - first) / 2;
    unsigned long* const begins[] = {first, middle, last};
    eachInParallel(2, [&](unsigned long half) { stableMergeSort(begins[half], begins[half + 1], before); });
    std::inplace_merge(first, middle, last, before);
}

/// Sorts positions of `keys` stably by `order`, from the most significant rank on.
template <class Order, class K>
class PositionSort {
  public:
    PositionSort(Order order, K const* keys, unsigned long n)
        : order(order), keys(keys), positionBits(bitWidth(n - 1)), positionMask((1ul << positionBits) - 1) {}

    unsigned long position(unsigned long word) const { return word & positionMask; }

    /// Sorts the `n` positions that `positionAt` gives, which ascend, into the low bits of `words`. It may
    /// give those that stand there already.
    template <class PositionAt>
    void sort(unsigned long level, unsigned long* words, unsigned long n,
              PositionAt const& positionAt) const {
        Range ranks = rangeOfRanks(level, n, positionAt);
        while (ranks.low == ranks.high && level + 1 < order.numRanks()) {
            ranks = rangeOfRanks(++level, n, positionAt);
        }
        int const prefixBits = 64 - positionBits;
        int const dropped = std::max(0, bitWidth(ranks.high - ranks.low) - prefixBits);
        SortedHalves const halves(n, [=, order = order, keys = keys, bits = positionBits](unsigned long i) {
            unsigned long const p = positionAt(i);
            return (order.rank(keys[p], level) - ranks.low) >> dropped << bits | p;
        });
        halves.emitAll([words](unsigned long i, unsigned long word) { words[i] = word; });
        // Without dropped bits equal prefixes are equal ranks.
        unsigned long const nextLevel = dropped == 0 ? level + 1 : level;
        if (Order::ranksDecide && nextLevel == order.numRanks()) return;
        forEachRunPart(words, n, [&](unsigned long first, unsigned long last) {
            settleTies(nextLevel, words, first, last);
        });
    }

  private:
    struct Range {
        unsigned long low, high;
    };

    /// Runs of up to this many words are settled by insertion.
    static constexpr unsigned long shortRun = 32;
    /// From this level on comparisons settle the ties, which bounds the depth of the recursion.
    static constexpr unsigned long deepLevel = 16;

    static int bitWidth(unsigned long x) { return x == 0 ? 0 : 64 - __builtin_clzl(x); }

    template <class PositionAt>
    Range rangeOfRanks(unsigned long level, unsigned long n, PositionAt const& positionAt) const {
        auto const widest = [](Range a, Range b) {
            return Range{std::min(a.low, b.low), std::max(a.high, b.high)};
        };
        auto const rangeOfPart = [&](unsigned long first, unsigned long last) {
            Range range{~0ul, 0};
            for (unsigned long i = first; i < last; ++i) {
                unsigned long const rank = order.rank(keys[positionAt(i)], level);
                range = widest(range, {rank, rank});
            }
            return range;
        };
        return reduceParts(n, Range{~0ul, 0}, rangeOfPart, widest);
    }

    /// As `forEachPart`, and words with equal prefixes come to one part.
    template <class F>
    void forEachRunPart(unsigned long const* words, unsigned long n, F const& f) const {
        std::vector<unsigned long> borders{0};
        for (unsigned long border = serialSize; border < n; border += serialSize) {
            while (border < n && words[border] >> positionBits == words[border - 1] >> positionBits) ++border;
            borders.push_back(border);
        }
        if (borders.back() < n) borders.push_back(n);
        eachInParallel(borders.size() - 1, [&](unsigned long part) { f(borders[part], borders[part + 1]); });
    }

    /// Orders the positions of each run of words with equal prefixes, by the ranks from `level` on.
    void settleTies(unsigned long level, unsigned long* words, unsigned long first,
                    unsigned long last) const {
        for (unsigned long begin = first, end; begin < last; begin = end) {
            unsigned long const prefix = words[begin] >> positionBits;
            for (end = begin + 1; end < last && words[end] >> positionBits == prefix;) ++end;
            if (end - begin > 1) settleRun(level, words + begin, end - begin);
        }
    }

    void settleRun(unsigned long level, unsigned long* words, unsigned long n) const {
        auto const before = [this](unsigned long a, unsigned long b) {
            return order(keys[position(a)], keys[position(b)]);
        };
        if (n <= shortRun) {
            for (unsigned long i = 1; i < n; ++i) {
                unsigned long const word = words[i];
                unsigned long j = i;
                for (; j > 0 && before(word, words[j - 1]); --j) words[j] = words[j - 1];
                words[j] = word;
            }
        } else if (level < std::min(order.numRanks(), deepLevel)) {
            sort(level, words, n, [words, mask = positionMask](unsigned long i) { return words[i] & mask; });
        } else {
            stableMergeSort(words, words + n, before);
        }
    }

    Order order;
    K const* keys;
    int positionBits;
    unsigned long positionMask;
};

/// An array that is to be permuted, and its elements as they were.
template <class T>
class Carried {
  public:
    Carried(T* elements, unsigned long n) : elements(elements), original(n) {
        forEachPart(n, [&](unsigned long first, unsigned long last) {
            std::copy(elements + first, elements + last, original.data() + first);
        });
    }

    T const* before() const { return original.data(); }

    /// Moves the element from `position` to `i`.
    void place(unsigned long i, unsigned long position) const { elements[i] = original[position]; }

  private:
    T* elements;
    Temporary<T> original;
};

template <class Order, class K, class... V>
void sortCarried(Order order, unsigned long n, Carried<K>&& keys, Carried<V>&&... values) {
    Temporary<unsigned long> words(n);
    PositionSort<Order, K> const positions(order, keys.before(), n);
    positions.sort(0, words.data(), n, [](unsigned long i) { return i; });
    // From here on nothing allocates, so that no failure leaves the elements half moved.
    forEachPart(n, [&](unsigned long first, unsigned long last) {
        for (unsigned long i = first; i < last; ++i) {
            unsigned long const from = positions.position(words[i]);
            keys.place(i, from);
            (values.place(i, from), ...);
        }
    });
}

/// Sorts `keys` stably by `order` and permutes `values` alike. An order has ranks, unsigned numbers of which
/// the first that differs tells which key comes first; where all are equal, the keys are equal if
/// `ranksDecide`, and a call of the order compares them if not. A radix order has one rank, from which
/// `value` gives the key back.
template <class Order, class K, class... V>
void stableSort(Order order, unsigned long n, K* keys, V*... values) {
    if (n < 2) return;
    if constexpr (Order::isRadix && sizeof...(V) == 0) {
        SortedHalves const halves(n, [=](unsigned long i) { return Order::rank(keys[i]); });
        halves.emitAll([=](unsigned long i, unsigned long word) { keys[i] = Order::value(word); });
    } else {
        sortCarried(order, n, Carried<K>(keys, n), Carried<V>(values, n)...);
    }
}

template <class Predicate, class T, class... V>
unsigned long partitionCarried(Predicate predicate, unsigned long n, Carried<T>&& data,
                               Carried<V>&&... values) {
    T const* const elements = data.before();
    // How many satisfy in each part, and then in all parts before it.
    std::vector<unsigned long> satisfying(numPartsOf(n));
    forEachNumberedPart(n, [&](unsigned long part, unsigned long first, unsigned long last) {
        satisfying[part] =
            static_cast<unsigned long>(std::count_if(elements + first, elements + last, predicate));
    });
    unsigned long const total = std::accumulate(satisfying.begin(), satisfying.end(), 0ul);
    std::exclusive_scan(satisfying.begin(), satisfying.end(), satisfying.begin(), 0ul);
    forEachNumberedPart(n, [&](unsigned long part, unsigned long first, unsigned long last) {
        unsigned long front = satisfying[part], back = total + first - front;
        for (unsigned long i = first; i < last; ++i) {
            unsigned long const to = predicate(elements[i]) ? front++ : back++;
            data.place(to, i);
            (values.place(to, i), ...);
        }
    });
    return total;
}

/// Moves the elements of `data` that satisfy the predicate before the others, keeping the order on both
/// sides, and permutes `values` alike; returns how many these are. Often there is nothing to move, so what
/// stands in place already is left out.
template <class Predicate, class T, class... V>
unsigned long stablePartition(Predicate predicate, unsigned long n, T* data, V*... values) {
    struct Misplaced {
        unsigned long begin, end;  ///< of the first that does not satisfy, past the last that does
    };
    auto const found = reduceParts(
        n, Misplaced{n, 0},
        [=](unsigned long partBegin, unsigned long partEnd) {
            Misplaced part{n, 0};
            // Mostly all do, and counting them is fast.
            if (std::count_if(data + partBegin, data + partEnd, predicate) ==
                static_cast<long>(partEnd - partBegin)) {
                return Misplaced{n, partEnd};
            }
            for (unsigned long i = partBegin; i < partEnd; ++i) {
                bool const satisfies = predicate(data[i]);
                part = {satisfies ? part.begin : std::min(part.begin, i), satisfies ? i + 1 : part.end};
            }
            return part;
        },
        [](Misplaced a, Misplaced b) {
            return Misplaced{std::min(a.begin, b.begin), std::max(a.end, b.end)};
        });
    if (found.end <= found.begin) return found.end;
    unsigned long const begin = found.begin, size = found.end - begin;
    return begin + partitionCarried(predicate, size, Carried<T>(data + begin, size),
                                    Carried<V>(values + begin, size)...);
}

/// Whether no label is less than the one before it.
inline bool ascend(unsigned long n, int const* labels) {
    return n == 0 || reduceParts(
                         n - 1, true,
                         [=](unsigned long first, unsigned long last) {
                             bool descends = false;
                             for (unsigned long i = first; i < last; ++i)
                                 descends |= labels[i + 1] < labels[i];
                             return !descends;
                         },
                         std::logical_and<>());
}

/// Past the last of the equal labels that start at `begin`, among `n` that ascend: in growing steps, and then
/// by halves.
inline unsigned long endOfRun(int const* labels, unsigned long begin, unsigned long n) {
    unsigned long step = 1;
    while (step < n - begin && labels[begin + step] == labels[begin]) step *= 2;
    int const* const last = labels + std::min(begin + step, n);
    return static_cast<unsigned long>(std::upper_bound(labels + begin, last, labels[begin]) - labels);
}

/// Sorts each group of elements that share a label, groups in ascending order of label. `sort(n, data,
/// values...)` is the stable sort of one group. Groups are brought together first, for which there is mostly
/// nothing to do, and then sorted by themselves, which is less work than to sort all elements at once.
template <class LabelOrder, class Sort, class T, class... V>
void sortGroups(LabelOrder labelOrder, Sort sort, unsigned long n, int* labels, T* data, V*... values) {
    if (!ascend(n, labels)) stableSort(labelOrder, n, labels, data, values...);
    std::vector<unsigned long> begins{0};
    while (begins.back() < n) begins.push_back(endOfRun(labels, begins.back(), n));
    eachInParallel(begins.size() - 1, [&](unsigned long group) {
        unsigned long const begin = begins[group];
        sort(begins[group + 1] - begin, data + begin, (values + begin)...);
    });
}

}  // namespace gpuruntime::backend

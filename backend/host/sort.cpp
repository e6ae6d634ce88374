// The parts of the sorts that no type of key stands in.

#include "sort.hpp"

#include <hwy/contrib/sort/vqsort.h>
#include <tbb/task_arena.h>

namespace gpuruntime::backend {

void sortSerially(unsigned long* words, unsigned long n) { hwy::Sorter()(words, n, hwy::SortAscending()); }

Merge Merge::part(unsigned long first, unsigned long last) const {
    auto const sizeA = static_cast<unsigned long>(endA - a), sizeB = static_cast<unsigned long>(endB - b);
    // How many of the first words of the result come from `a`: those that are at most the word of `b` they
    // compete with.
    auto const fromA = [&](unsigned long count) {
        unsigned long low = count > sizeB ? count - sizeB : 0, high = std::min(count, sizeA);
        while (low < high) {
            unsigned long const middle = low + (high - low) / 2;
            if (a[middle] <= b[count - middle - 1]) {
                low = middle + 1;
            } else {
                high = middle;
            }
        }
        return low;
    };
    unsigned long const beginA = fromA(first), endOfA = fromA(last);
    return {a + beginA, a + endOfA, b + (first - beginA), b + (last - endOfA), out + first};
}

unsigned long SortedHalves::numChunksFor(unsigned long n) {
    if (n < 2 * serialSize) return 1;
    auto const threads = static_cast<unsigned long>(tbb::this_task_arena::max_concurrency());
    unsigned long count = 1;
    while (count < threads && n / (2 * count) >= serialSize) count *= 2;
    return count;
}

void SortedHalves::mergeChunks() {
    merged.emplace(n);
    unsigned long *from = words.data(), *to = merged->data();
    while (numChunks > 2) {
        eachInParallel(numChunks / 2, [&](unsigned long pair) {
            unsigned long const begin = beginOf(2 * pair), middle = beginOf(2 * pair + 1),
                                end = beginOf(2 * pair + 2);
            Merge const both{from + begin, from + middle, from + middle, from + end, begin};
            forEachPart(end - begin, [&](unsigned long first, unsigned long last) {
                merge(both, first, last, [to](unsigned long i, unsigned long word) { to[i] = word; });
            });
        });
        numChunks /= 2;
        std::swap(from, to);
    }
    if (from != merged->data()) words.swap(*merged);
}

}  // namespace gpuruntime::backend

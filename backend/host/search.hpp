#pragma once

#include <algorithm>
#include <numeric>

#include "sort.hpp"

/// Counting, filling and searches in sorted arrays. Each call has finished when it returns. `before(x, y)` is
/// a functor of an element of the array and a query, in either place, by which the array is sorted.
namespace gpuruntime::backend {

template <class T, class Predicate>
unsigned long countIf(T const* data, unsigned long n, Predicate predicate) {
    return reduceParts(
        n, 0ul,
        [=](unsigned long first, unsigned long last) {
            return static_cast<unsigned long>(std::count_if(data + first, data + last, predicate));
        },
        std::plus<>());
}

template <class T>
void fill(T* out, unsigned long n, T value) {
    forEachPart(n,
                [=](unsigned long first, unsigned long last) { std::fill(out + first, out + last, value); });
}

/// 0, 1 and so on.
template <class T>
void sequence(T* out, unsigned long n) {
    forEachPart(n, [=](unsigned long first, unsigned long last) {
        std::iota(out + first, out + last, static_cast<T>(first));
    });
}

/// Copies the elements beside which `stencil` satisfies the predicate.
template <class T, class S, class Predicate>
void copyWhere(T const* in, S const* stencil, T* out, unsigned long n, Predicate predicate) {
    forEachPart(n, [=](unsigned long first, unsigned long last) {
        for (unsigned long i = first; i < last; ++i) {
            T const copied = in[i], kept = out[i];
            out[i] = predicate(stencil[i]) ? copied : kept;
        }
    });
}

/// Calls `found(i, position)` for each query: its position is the number of the elements at the front of the
/// array that satisfy `isInFront(element, query)`. Many searches advance together, a step of each in turn: a
/// single one would wait for memory at each step.
template <class T, class Q, class IsInFront, class Found>
void searchEach(T const* sorted, unsigned long size, Q const* queries, unsigned long n, IsInFront isInFront,
                Found found) {
    constexpr unsigned int numTogether = 32;
    constexpr unsigned long serialQueries =
        serialSize / 16;  // a search takes as long as many steps of a loop
    auto const searchPart = [=](unsigned long begin, unsigned long end) {
        for (unsigned long i = begin; i < end; i += numTogether) {
            auto const count = static_cast<unsigned int>(std::min<unsigned long>(numTogether, end - i));
            unsigned long positions[numTogether];
            Q values[numTogether];
            for (unsigned int k = 0; k < numTogether; ++k) {
                positions[k] = 0;
                values[k] = queries[i + std::min(k, count - 1)];
            }
            // The next element of the front is among `left`.
            for (unsigned long left = size; left > 0;) {
                unsigned long const half = (left + 1) / 2;
                for (unsigned int k = 0; k < numTogether; ++k) {
                    bool const isBeyond = isInFront(sorted[positions[k] + half - 1], values[k]);
                    positions[k] += isBeyond ? half : 0;
                }
                left -= half;
            }
            for (unsigned int k = 0; k < count; ++k) found(i + k, positions[k], values[k]);
        }
    };
    if (n < serialQueries) {
        searchPart(0, n);
    } else {
        inParallel(n, serialQueries, searchPart);
    }
}

/// Of each query the first position in the sorted array that is not before it.
template <class T, class Q, class Before>
void lowerBound(T const* sorted, unsigned long size, Q const* queries, unsigned long n,
                unsigned int* positions, Before before) {
    searchEach(sorted, size, queries, n, before, [=](unsigned long i, unsigned long position, Q) {
        positions[i] = static_cast<unsigned int>(position);
    });
}

/// Of each query the first position in the sorted array that it is before.
template <class T, class Q, class Before>
void upperBound(T const* sorted, unsigned long size, Q const* queries, unsigned long n,
                unsigned int* positions, Before before) {
    searchEach(
        sorted, size, queries, n, [=](T element, Q query) { return !before(query, element); },
        [=](unsigned long i, unsigned long position, Q) {
            positions[i] = static_cast<unsigned int>(position);
        });
}

/// Of each query whether an element of the sorted array is neither before nor after it.
template <class T, class Q, class Before>
void binarySearch(T const* sorted, unsigned long size, Q const* queries, unsigned long n, bool* isFound,
                  Before before) {
    searchEach(sorted, size, queries, n, before, [=](unsigned long i, unsigned long position, Q query) {
        isFound[i] = position < size && !before(query, sorted[position]);
    });
}

}  // namespace gpuruntime::backend

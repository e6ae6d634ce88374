#pragma once

#include "thrust.hpp"

#include <thrust/pair.h>

#include <algorithm>
#include <cstring>
#include <numeric>

#include "backend/temporary.hpp"
#include "device.hpp"
#include "lanes.hpp"
#include "parallel.hpp"

namespace gpuruntime::backend {

namespace detail {

/// Goes over the array in several machine vectors, of which none waits for another.
template <class Transform, class Result, class Combine>
Result transformReduceSerially(double const* data, unsigned long n, Transform transform, Result initial,
                               Combine combine) {
    constexpr unsigned int numVectors = 4, lineSize = 64;
    constexpr unsigned long step = numVectors * laneCount;
    auto const loaded = [&](unsigned long i) {
        prefetchAfter(data + i, i % (lineSize / sizeof(double)) == 0 ? 1 : 0);
        DoubleLanes values;
        std::memcpy(&values, data + i, sizeof values);
        return transform(values);
    };
    unsigned long i = 0;
    if (n >= step) {
        decltype(loaded(0)) results[numVectors];
        GPU_UNROLL for (unsigned int v = 0; v < numVectors; ++v) results[v] = loaded(v * laneCount);
        for (i = step; i + step <= n; i += step) {
            GPU_UNROLL for (unsigned int v = 0; v < numVectors; ++v) {
                results[v] = combine(results[v], loaded(i + v * laneCount));
            }
        }
        for (auto const& lanes : results) {
            for (unsigned int l = 0; l < laneCount; ++l) {
                initial = combine(initial, Result(lanes.first[l] != 0, lanes.second[l]));
            }
        }
    }
    for (; i < n; ++i) initial = combine(initial, transform(data[i]));
    return initial;
}

}  // namespace detail

/// The values of an array, each transformed to a pair of a logical and a value, combined by an operator for
/// which neither order nor grouping matters, beginning with `initial`. The functors take the lanes of a
/// machine vector, too: Thrust's own reduction takes several times as long, because it combines elements one
/// by one. As it does on a GPU, the call needs temporary memory.
template <class Transform, class Result, class Combine>
Result transformReduce(double const* data, unsigned long n, Transform transform, Result initial,
                       Combine combine) {
    constexpr unsigned long chunk = 1ul << 16;
    unsigned long const numChunks = n / chunk + (n % chunk != 0 ? 1 : 0);
    Temporary<Result> results(numChunks);
    eachInParallel(numChunks, [&](unsigned long c) {
        unsigned long const begin = c * chunk, size = std::min(chunk, n - begin);
        results[c] = detail::transformReduceSerially(data + begin, size, transform, initial, combine);
    });
    return std::accumulate(results.data(), results.data() + numChunks, initial, combine);
}

}  // namespace gpuruntime::backend

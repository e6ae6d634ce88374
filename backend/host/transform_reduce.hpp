#pragma once

#include "thrust.hpp"

#include <thrust/pair.h>

#include <algorithm>
#include <vector>

#include "device.hpp"
#include "parallel.hpp"

namespace gpuruntime::backend {

namespace detail {

/// Combines by lanes, so that one combination need not wait for the one before it.
template <class T, class Transform, class Result, class Combine>
Result transformReduceSerially(T const* data, unsigned long n, Transform transform, Result initial,
                               Combine combine) {
    constexpr unsigned long lanes = 8;
    constexpr unsigned int intoAllLevels = 3, ahead = 1024;
    if (n < lanes) {
        for (unsigned long i = 0; i < n; ++i) initial = combine(initial, transform(data[i]));
        return initial;
    }
    Result lane[lanes];
    for (unsigned long l = 0; l < lanes; ++l) lane[l] = transform(data[l]);
    unsigned long i = lanes;
    for (; i + lanes <= n; i += lanes) {
        __builtin_prefetch(data + i + ahead / sizeof(T), 0, intoAllLevels);
        GPU_UNROLL for (unsigned long l = 0; l < lanes; ++l) lane[l] =
            combine(lane[l], transform(data[i + l]));
    }
    for (; i < n; ++i) lane[i % lanes] = combine(lane[i % lanes], transform(data[i]));
    for (Result const& each : lane) initial = combine(initial, each);
    return initial;
}

}  // namespace detail

/// The values of an array, each transformed, combined by an operator for which neither order nor grouping
/// matters, beginning with `initial`.
template <class T, class Transform, class Result, class Combine>
Result transformReduce(T const* data, unsigned long n, Transform transform, Result initial, Combine combine) {
    constexpr unsigned long chunk = 1ul << 16;
    unsigned long const numChunks = n / chunk + (n % chunk != 0 ? 1 : 0);
    if (numChunks <= 1) return detail::transformReduceSerially(data, n, transform, initial, combine);
    std::vector<Result> results(numChunks, initial);
    eachInParallel(numChunks, [&](unsigned long c) {
        unsigned long const begin = c * chunk, size = std::min(chunk, n - begin);
        results[c] = detail::transformReduceSerially(data + begin, size, transform, initial, combine);
    });
    for (Result const& each : results) initial = combine(initial, each);
    return initial;
}

}  // namespace gpuruntime::backend

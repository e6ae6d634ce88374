#pragma once

#include <thrust/iterator/transform_iterator.h>
#include <thrust/pair.h>
#include <thrust/reduce.h>

#include "thrust.hpp"

namespace gpuruntime::backend {

/// The values of an array, each transformed to a pair of a logical and a value, combined by an operator for
/// which neither order nor grouping matters, beginning with `initial`. Runs on the default stream and waits
/// for it.
template <class T, class Transform, class Result, class Combine>
Result transformReduce(T const* data, unsigned long n, Transform transform, Result initial, Combine combine) {
    auto const first = thrust::make_transform_iterator(data, transform);
    return thrust::reduce(thrustPolicy(), first, first + n, initial, combine);
}

}  // namespace gpuruntime::backend

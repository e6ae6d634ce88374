#pragma once

#include <thrust/binary_search.h>
#include <thrust/count.h>
#include <thrust/fill.h>
#include <thrust/sequence.h>
#include <thrust/transform.h>

#include "device.hpp"
#include "thrust.hpp"

/// Counting, filling and searches in sorted arrays, on the default stream; what Thrust throws passes through.
/// `before(x, y)` is a functor of an element of the array and a query, in either place, by which the array is
/// sorted.
namespace gpuruntime::backend {

template <class T, class Predicate>
unsigned long countIf(T const* data, unsigned long n, Predicate predicate) {
    return static_cast<unsigned long>(thrust::count_if(thrustPolicy(), data, data + n, predicate));
}

template <class T>
void fill(T* out, unsigned long n, T value) {
    thrust::fill(thrustPolicy(), out, out + n, value);
}

/// 0, 1 and so on.
template <class T>
void sequence(T* out, unsigned long n) {
    thrust::sequence(thrustPolicy(), out, out + n);
}

template <class T>
struct Unchanged {
    __device__ T operator()(T value) const { return value; }
};

/// Copies the elements beside which `stencil` satisfies the predicate.
template <class T, class S, class Predicate>
void copyWhere(T const* in, S const* stencil, T* out, unsigned long n, Predicate predicate) {
    thrust::transform_if(thrustPolicy(), in, in + n, stencil, out, Unchanged<T>{}, predicate);
}

/// Of each query the first position in the sorted array that is not before it.
template <class T, class Q, class Before>
void lowerBound(T const* sorted, unsigned long size, Q const* queries, unsigned long n,
                unsigned int* positions, Before before) {
    thrust::lower_bound(thrustPolicy(), sorted, sorted + size, queries, queries + n, positions, before);
}

/// Of each query the first position in the sorted array that it is before.
template <class T, class Q, class Before>
void upperBound(T const* sorted, unsigned long size, Q const* queries, unsigned long n,
                unsigned int* positions, Before before) {
    thrust::upper_bound(thrustPolicy(), sorted, sorted + size, queries, queries + n, positions, before);
}

/// Of each query whether an element of the sorted array is neither before nor after it.
template <class T, class Q, class Before>
void binarySearch(T const* sorted, unsigned long size, Q const* queries, unsigned long n, bool* isFound,
                  Before before) {
    thrust::binary_search(thrustPolicy(), sorted, sorted + size, queries, queries + n, isFound, before);
}

}  // namespace gpuruntime::backend

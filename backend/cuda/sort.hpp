#pragma once

#include <type_traits>

#include "device.hpp"
#include "thrust.hpp"

/// Stable partition and sorts on the default stream. Each call has finished when it returns; what Thrust
/// throws passes through. A failed allocation leaves every element in its array, beside those that move with
/// it.
namespace gpuruntime::backend {

/// A predicate of a tuple's first element.
template <class Predicate>
struct OfFirst {
    Predicate predicate;

    template <class Tuple>
    __device__ bool operator()(Tuple const& tuple) const {
        return predicate(thrust::get<0>(tuple));
    }
};

/// Moves the elements of `data` that satisfy the predicate before the others, keeping the order on both
/// sides, and permutes `values` alike; returns how many these are.
template <class Predicate, class T, class... V>
unsigned long stablePartition(Predicate predicate, unsigned long n, T* data, V*... values) {
    if constexpr (sizeof...(V) == 0) {
        return static_cast<unsigned long>(
            thrust::stable_partition(thrustPolicy(), data, data + n, predicate) - data);
    } else {
        auto const first = thrust::make_zip_iterator(data, values...);
        auto const middle =
            thrust::stable_partition(thrustPolicy(), first, first + n, OfFirst<Predicate>{predicate});
        return static_cast<unsigned long>(middle - first);
    }
}

/// Stable sort of `keys`, `values` permuted alike.
template <class T, class Before, class... V>
void thrustSort(Before before, unsigned long n, T* keys, V*... values) {
    if constexpr (sizeof...(V) == 0) {
        thrust::stable_sort(thrustPolicy(), keys, keys + n, before);
    } else {
        thrust::stable_sort_by_key(thrustPolicy(), keys, keys + n, thrust::make_zip_iterator(values...),
                                   before);
    }
}

template <class Order>
struct RankOf {
    __device__ unsigned long operator()(double value) const { return Order::rank(value); }
};

template <class Order>
struct ValueOf {
    __device__ double operator()(unsigned long rank) const { return Order::value(rank); }
};

/// Radix sort of floating keys as their ranks, in place: Thrust's own holds both zeros for equal.
template <class Order, class... V>
void sortRanks(unsigned long n, double* keys, V*... values) {
    static_assert(sizeof(double) == sizeof(unsigned long));
    auto* const ranks = reinterpret_cast<unsigned long*>(keys);
    auto const backToValues = [=] {
        thrust::transform(thrustPolicy(), ranks, ranks + n, keys, ValueOf<Order>{});
    };
    thrust::transform(thrustPolicy(), keys, keys + n, ranks, RankOf<Order>{});
    try {
        thrustSort(thrust::less<unsigned long>{}, n, ranks, values...);
    } catch (...) {
        backToValues();
        throw;
    }
    backToValues();
}

/// Stable sort: radix where ranks can stand for keys, which Thrust takes for integers under its own
/// comparators, else a merge sort with a functor, one for both directions.
template <class Order, class T, class... V>
void stableSort(Order order, unsigned long n, T* keys, V*... values) {
    if constexpr (!Order::ranksAreKeys) {
        thrustSort(order.inEitherDirection(), n, keys, values...);
    } else if constexpr (std::is_floating_point_v<T>) {
        sortRanks<Order>(n, keys, values...);
    } else if constexpr (Order::descending) {
        thrustSort(thrust::greater<T>{}, n, keys, values...);
    } else {
        thrustSort(thrust::less<T>{}, n, keys, values...);
    }
}

/// An array of elements that only move, of which their size alone matters.
template <class T>
auto moved(T* data) {
    if constexpr (sizeof(T) == sizeof(unsigned long)) {
        return reinterpret_cast<unsigned long*>(data);
    } else {
        return data;
    }
}

/// Sorts each group of elements that share a label, groups in ascending order of label. `sort(n, data,
/// values...)` is the stable sort of one group; here it sorts all elements at once, and a second stable pass
/// brings the labels together, so the cost does not depend on the number of groups.
template <class LabelOrder, class Sort, class T, class... V>
void sortGroups(LabelOrder labelOrder, Sort sort, unsigned long n, int* labels, T* data, V*... values) {
    sort(n, data, labels, values...);
    stableSort(labelOrder, n, labels, moved(data), moved(values)...);
}

}  // namespace gpuruntime::backend

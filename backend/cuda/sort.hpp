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

template <class Order, class T>
struct RankOf {
    __device__ unsigned long operator()(T const& value) const { return Order::rank(value); }
};

template <class Order>
struct ValueOf {
    __device__ auto operator()(unsigned long rank) const { return Order::value(rank); }
};

/// Radix sort. Thrust takes radix for plain keys under its own comparators; its sort of floating keys holds
/// both zeros for equal, so these are sorted as their ranks, in place.
template <class Order, class T, class... V>
std::enable_if_t<Order::isRadix> stableSort(Order /*order*/, unsigned long n, T* keys, V*... values) {
    auto const policy = thrustPolicy();
    auto const sort = [&](auto* first, auto before) {
        if constexpr (sizeof...(V) == 0) {
            thrust::stable_sort(policy, first, first + n, before);
        } else {
            thrust::stable_sort_by_key(policy, first, first + n, thrust::make_zip_iterator(values...),
                                       before);
        }
    };
    if constexpr (std::is_floating_point_v<T>) {
        static_assert(sizeof(T) == sizeof(unsigned long));
        auto* const ranks = reinterpret_cast<unsigned long*>(keys);
        auto const backToValues = [=] {
            thrust::transform(policy, ranks, ranks + n, keys, ValueOf<Order>{});
        };
        thrust::transform(policy, keys, keys + n, ranks, RankOf<Order, T>{});
        try {
            sort(ranks, thrust::less<unsigned long>{});
        } catch (...) {
            backToValues();
            throw;
        }
        backToValues();
    } else if constexpr (Order::descending) {
        sort(keys, thrust::greater<T>{});
    } else {
        sort(keys, thrust::less<T>{});
    }
}

/// Merge sort with a functor.
template <class Order, class T, class... V>
std::enable_if_t<!Order::isRadix> stableSort(Order order, unsigned long n, T* keys, V*... values) {
    if constexpr (sizeof...(V) == 0) {
        thrust::stable_sort(thrustPolicy(), keys, keys + n, order);
    } else {
        thrust::stable_sort_by_key(thrustPolicy(), keys, keys + n, thrust::make_zip_iterator(values...),
                                   order);
    }
}

/// Sorts each group of elements that share a label, groups in ascending order of label. `sort(n, data,
/// values...)` is the stable sort of one group; here it sorts all elements at once, and a second stable pass
/// brings the labels together, so the cost does not depend on the number of groups.
template <class LabelOrder, class Sort, class T, class... V>
void sortGroups(LabelOrder labelOrder, Sort sort, unsigned long n, int* labels, T* data, V*... values) {
    sort(n, data, labels, values...);
    stableSort(labelOrder, n, labels, data, values...);
}

}  // namespace gpuruntime::backend

#pragma once

#include "frame/type_lists.hpp"
#include "sort.hpp"
#include "sorting/orders.hpp"

/// The sort that the families share: a place for NaN, then the sort of the rest.
namespace gpuruntime::internal {

using SortedTypes = TypeList<long, unsigned long, double, double2>;

/// Where only values move, real ones go by bit pattern, which allows a radix sort.
template <class T>
struct PlainOrders {
    using Ascending = RadixOrder<T, false>;
    using Descending = RadixOrder<T, true>;
};
template <>
struct PlainOrders<double2> {
    using Ascending = Less<double2>;
    using Descending = Greater<double2>;
};

template <class T>
struct TupleOrders {
    using Ascending = LessTuple<T>;
    using Descending = GreaterTuple<T>;
};

/// Stable sort of `n` values, other arrays permuted alike. NaNs keep their order at the end that `ascending`
/// says.
template <class Orders>
struct ValueSort {
    bool ascending, hasNaN;

    template <class T, class... V>
    void operator()(unsigned long n, T* data, V*... carried) const {
        unsigned long begin = 0, end = n;
        if constexpr (std::is_floating_point_v<Part<T>>) {
            if (hasNaN && ascending) end = backend::stablePartition(IsNumber<T>{}, n, data, carried...);
            if (hasNaN && !ascending) begin = backend::stablePartition(isNanVal<T>{}, n, data, carried...);
        }
        if (ascending) {
            backend::stableSort(typename Orders::Ascending{}, end - begin, data + begin,
                                (carried + begin)...);
        } else {
            backend::stableSort(typename Orders::Descending{}, end - begin, data + begin,
                                (carried + begin)...);
        }
    }
};

}  // namespace gpuruntime::internal

#include <gpuruntime/sorting.hpp>

#include "frame/instantiation.hpp"
#include "sorting/value_sort.hpp"

namespace gpuruntime {

template <class T>
void SortMatrixIndex::Invoker<T>::operator()(T* data, double* indices, int* columnIds, unsigned long n,
                                             bool ascending, bool hasNaN) const {
    internal::ValueSort<internal::TupleOrders<T>> const sort{ascending, hasNaN};
    backend::sortGroups(internal::RadixOrder<int, false>{}, sort, n, columnIds, data, indices);
}

void _forceInstantiation_(detail::Opaque& opaque, SortMatrixIndex*) {
    internal::instantiate<SortMatrixIndex>(opaque, internal::SortedTypes{});
}

}  // namespace gpuruntime

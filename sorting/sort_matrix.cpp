#include <gpuruntime/sorting.hpp>

#include "frame/instantiation.hpp"
#include "sorting/value_sort.hpp"

namespace gpuruntime {

template <class T>
void SortMatrix::Invoker<T>::operator()(T* data, int* columnIds, unsigned long n, bool ascending,
                                        bool hasNaN) const {
    internal::ValueSort<internal::PlainOrders<T>> const sort{ascending, hasNaN};
    backend::sortGroups(internal::RadixOrder<int, false>{}, sort, n, columnIds, data);
}

void _forceInstantiation_(detail::Opaque& opaque, SortMatrix*) {
    internal::instantiate<SortMatrix>(opaque, internal::SortedTypes{});
}

}  // namespace gpuruntime

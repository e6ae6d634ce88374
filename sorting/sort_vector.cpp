#include <gpuruntime/sorting.hpp>

#include "frame/instantiation.hpp"
#include "sorting/value_sort.hpp"

namespace gpuruntime {

template <class T>
void SortVector::Invoker<T>::operator()(T* data, double* indices, unsigned long n, bool ascending,
                                        bool hasNaN) const {
    if (indices == nullptr) {
        internal::ValueSort<internal::PlainOrders<T>>{ascending, hasNaN}(n, data);
    } else {
        internal::ValueSort<internal::TupleOrders<T>>{ascending, hasNaN}(n, data, indices);
    }
}

template <class T>
void SimpleSort::Invoker<T>::operator()(T* data, unsigned long n) const {
    backend::stableSort(internal::RadixOrder<T, false>{}, n, data);
}

void _forceInstantiation_(detail::Opaque& opaque, SortVector*) {
    internal::instantiate<SortVector>(opaque, internal::SortedTypes{});
}

void _forceInstantiation_(detail::Opaque& opaque, SimpleSort*) {
    internal::instantiate<SimpleSort>(opaque, internal::TypeList<double>{});
}

}  // namespace gpuruntime

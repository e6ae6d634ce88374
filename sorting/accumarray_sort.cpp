#include <gpuruntime/accumarray.hpp>

#include "frame/instantiation.hpp"
#include "indexing/carrier.hpp"
#include "sort.hpp"
#include "sorting/orders.hpp"

namespace gpuruntime {
namespace {

/// One body for all values of a size.
template <class I, class V>
__attribute__((noinline)) void sortPairs(I* keys, V* values, unsigned long n) {
    backend::stableSort(internal::RadixOrder<I, false>{}, n, keys, values);
}

}  // namespace

template <class I>
template <class T>
void AccumArrayVectorSortHelper<I>::Invoker<T>::operator()(CUstream_st* /*stream*/, I* keys, T* values,
                                                           unsigned long n) const {
    sortPairs(keys, internal::carried(values), n);
}

template <class I>
void AccumArrayScalarSortHelper<I>::Invoker::operator()(I* keys, unsigned long n) const {
    backend::stableSort(internal::RadixOrder<I, false>{}, n, keys);
}

template struct AccumArrayScalarSortHelper<int>::Invoker;
template struct AccumArrayScalarSortHelper<long>::Invoker;

void _forceInstantiation_(detail::Opaque& opaque, AccumArrayVectorSortHelper<int>*) {
    internal::instantiate<AccumArrayVectorSortHelper<int>>(opaque, internal::FloatingWithBool{});
}

void _forceInstantiation_(detail::Opaque& opaque, AccumArrayVectorSortHelper<long>*) {
    internal::instantiate<AccumArrayVectorSortHelper<long>>(opaque, internal::FloatingWithBool{});
}

}  // namespace gpuruntime

#include <gpuruntime/predicates.hpp>

#include <cmath>
#include <limits>

#include "device.hpp"
#include "frame/instantiation.hpp"
#include "transform_reduce.hpp"

namespace gpuruntime {
namespace {

/// Whether a value is a positive whole number, and the value.
template <class T>
struct validAndValue {
    GPU_HOST_DEVICE thrust::pair<bool, T> operator()(T x) const {
        bool const isValid = (x >= 1) & (x <= std::numeric_limits<T>::max()) & (x == ::floor(x));
        return {isValid, x};
    }
};

template <class T>
struct stillValidAndMax {
    GPU_HOST_DEVICE thrust::pair<bool, T> operator()(thrust::pair<bool, T> const& a,
                                                     thrust::pair<bool, T> const& b) const {
        bool const areValid = a.first & b.first;
        return {areValid, a.second < b.second ? b.second : a.second};
    }
};

}  // namespace

template <class T>
std::pair<bool, double> CheckValidFindMax::Invoker<T>::operator()(T const* in, unsigned long n) const {
    auto const reduced = backend::transformReduce(in, n, validAndValue<T>{}, thrust::pair<bool, T>(true, 0),
                                                  stillValidAndMax<T>{});
    if (!reduced.first) return {false, 0};
    return {true, reduced.second};
}

void _forceInstantiation_(detail::Opaque& opaque, CheckValidFindMax*) {
    internal::instantiate<CheckValidFindMax>(opaque, internal::TypeList<double>{});
}

}  // namespace gpuruntime

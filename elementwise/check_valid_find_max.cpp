#include <gpuruntime/predicates.hpp>

#include <cmath>
#include <limits>

#include "device.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"
#include "transform_reduce.hpp"

namespace gpuruntime {
namespace {

/// Whether a value is a positive whole number, and the value; or the same of each lane of a machine vector.
template <class T>
struct validAndValue {
    template <class X>
    GPU_HOST_DEVICE auto operator()(X x) const {
        using ::floor, backend::floor;
        using Valid = decltype(x >= T(1));
        return thrust::pair<Valid, X>((x >= T(1)) & (x <= std::numeric_limits<T>::max()) & (x == floor(x)),
                                      x);
    }
};

template <class T>
struct stillValidAndMax {
    template <class X>
    GPU_HOST_DEVICE X operator()(X const& a, X const& b) const {
        return X(a.first & b.first, a.second < b.second ? b.second : a.second);
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

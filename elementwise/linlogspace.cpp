#include <gpuruntime/ranges.hpp>

#include "backend/math/power.hpp"
#include "conversion.hpp"
#include "elementwise/powers.hpp"
#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"

namespace gpuruntime {
namespace {

enum LinLogspaceMethod { linear = 0, logarithmic = 1 };

/// Element `i` of `n` evenly spaced values, `i` below `n` - 1. Where the difference of the ends overflows,
/// each end is weighed by itself.
GPU_DEVICE double spaced(unsigned int i, unsigned int n, double first, double last) {
    double const position = backend::fromUint32(i), intervals = n - 1;
    double const difference = last - first;
    if (backend::isInf(difference)) {
        return backend::fma(position, last / intervals, first) - position * (first / intervals);
    }
    return difference * position / intervals + first;
}

/// In `float` only the difference and the final sum are rounded to single precision.
GPU_DEVICE float spaced(unsigned int i, unsigned int n, float first, float last) {
    double const position = backend::fromUint32(i), intervals = n - 1;
    float const difference = last - first;
    if (backend::isInf(difference)) {
        float const ofLast = static_cast<float>(position * (last / intervals));
        float const ofFirst = static_cast<float>(position * (first / intervals));
        return (ofLast + first) - ofFirst;
    }
    return static_cast<float>(difference * position / intervals) + first;
}

template <class T>
GPU_DEVICE T spacedValue(unsigned int i, unsigned int n, T first, T last) {
    if constexpr (internal::isComplex<T>) {
        return {spaced(i, n, first.x, last.x), spaced(i, n, first.y, last.y)};
    } else {
        return spaced(i, n, first, last);
    }
}

template <class T>
GPU_DEVICE T tenToThe(T exponent) {
    if constexpr (internal::isComplex<T>) {
        using P = internal::Part<T>;
        if (exponent.y == 0 && internal::isCountable(exponent.x)) {
            return {internal::powerBySquaring(P(10), exponent.x), 0};
        }
        return internal::complexExp(internal::guardedProduct(exponent, T{P(2.302585092994046), 0}));  // ln 10
    } else {
        return backend::pow(T(10), exponent);
    }
}

// The last element is `last` itself.
template <class T, LinLogspaceMethod method>
struct LinlogspaceKernel {
    static GPU_DEVICE void apply(elementwisedetail::BlockOfElements const& block, T* out, T first, T last) {
        unsigned int const n = block.n;
        block.store(out, 0, n - 1, [=](unsigned int i) { return made(spacedValue(i, n, first, last)); });
        block.store(out, n - 1, n, [=](unsigned int) { return made(last); });
    }

  private:
    static GPU_DEVICE T made(T value) {
        if constexpr (method == logarithmic) {
            return tenToThe(value);
        } else {
            return value;
        }
    }
};

}  // namespace

template <class T>
void Linspace::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T first, T last) const {
    elementwisedetail::launch<LinlogspaceKernel<T, linear>>(stream, n, out, first, last);
}

template <class T>
void Logspace::Invoker<T>::operator()(CUstream_st* stream, unsigned long n, T* out, T first, T last) const {
    elementwisedetail::launch<LinlogspaceKernel<T, logarithmic>>(stream, n, out, first, last);
}

void _forceInstantiation_(detail::Opaque& opaque, Linspace*) {
    internal::instantiate<Linspace>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, Logspace*) {
    internal::instantiate<Logspace>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

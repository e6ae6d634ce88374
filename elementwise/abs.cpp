#include <gpuruntime/arithmetic.hpp>

#include "backend/math/hypotenuse.hpp"
#include "backend/math/power.hpp"
#include "conversion.hpp"
#include "elementwise/powers.hpp"
#include "frame/complex.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "math.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

template <class T>
GPU_DEVICE Magnitude<T> magnitudeOf(T x) {
    if constexpr (internal::isComplex<T>) {
        return backend::hypot(x.x, x.y);
    } else {
        return backend::abs(x);
    }
}

/// Stores `f` of the magnitude of each element.
template <class T, class F>
GPU_DEVICE void storeOfMagnitudes(backend::Run run, Magnitude<T>* out, T const* in, F f) {
    backend::ElementsOf const elements(run, in);
    backend::storeRun(run, out, [&, from = elements.data()](Magnitude<T>* to) {
        backend::forEachOf(run.size, [&](unsigned int k) GPU_INLINE { to[k] = f(magnitudeOf(from[k])); });
    });
}

template <class T>
struct AbsKernel {
    static GPU_DEVICE void apply(backend::Run run, Magnitude<T>* out, T const* in) {
        storeOfMagnitudes(run, out, in, [](Magnitude<T> x) GPU_INLINE { return x; });
    }
};

// A magnitude is not negative, so there is nothing to report.
template <class T>
struct AbsPowerKernel {
    using P = Magnitude<T>;

    static GPU_DEVICE void apply(backend::Run run, P* out, T const* in, double exponent) {
        P const given = static_cast<P>(exponent), held = internal::heldIfIntegral(given);
        storeOfMagnitudes(run, out, in, [=](P x) GPU_INLINE {
            return backend::pow(x, internal::isIntegral(x) ? held : given);
        });
    }
};

}  // namespace

template <class T>
void Abs::Invoker<T>::operator()(CUstream_st* stream, Magnitude<T>* out, T const* in, unsigned long n) const {
    elementwisedetail::launch<AbsKernel<T>>(stream, n, out, in);
}

template <class T>
void AbsPower::Invoker<T>::operator()(CUstream_st* stream, Magnitude<T>* out, T const* in, double exponent,
                                      unsigned long n) const {
    elementwisedetail::launch<AbsPowerKernel<T>>(stream, n, out, in, exponent);
}

void _forceInstantiation_(detail::Opaque& opaque, Abs*) {
    internal::instantiate<Abs>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, AbsPower*) {
    internal::instantiate<AbsPower>(opaque, internal::Floating{});
}

}  // namespace gpuruntime

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

template <class T>
GPU_STEP void takeMagnitudes(unsigned int size, Magnitude<T>* to, T const* from) {
    backend::forEachOf(size, [&](unsigned int k) GPU_INLINE { to[k] = magnitudeOf(from[k]); });
}

template <class T>
struct AbsKernel {
    static GPU_DEVICE void apply(backend::Run run, Magnitude<T>* out, T const* in) {
        backend::ElementsOf const elements(run, in);
        backend::storeRun(run, out, [&](Magnitude<T>* to) { takeMagnitudes(run.size, to, elements.data()); });
    }
};

// A magnitude is not negative, so there is nothing to report.
template <class T>
struct AbsPowerKernel {
    using P = Magnitude<T>;

    static GPU_DEVICE void apply(backend::Run run, P* out, T const* in, double exponent) {
        P const given = static_cast<P>(exponent), held = internal::heldIfIntegral(given);
        backend::ElementsOf const elements(run, in);
        backend::storeRun(run, out, [&](P* to) {
            P magnitudes[backend::Run::capacity];
            takeMagnitudes(run.size, magnitudes, elements.data());
            backend::forEachOf(run.size, [&](unsigned int k) GPU_INLINE {
                P const x = magnitudes[k];
                to[k] = backend::pow(x, internal::isIntegral(x) ? held : given);
            });
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

#include <gpuruntime/arithmetic.hpp>

#include "conversion.hpp"
#include "elementwise/arithmetic_types.hpp"
#include "elementwise/complex_quotient.hpp"
#include "elementwise/guarded_product.hpp"
#include "elementwise/run_steps.hpp"
#include "frame/elementwise.hpp"
#include "frame/instantiation.hpp"
#include "frame/saturation.hpp"
#include "run.hpp"

namespace gpuruntime {
namespace {

/// Replaces each element of a run by `f` of it.
template <class T, class F>
GPU_DEVICE void updateEach(backend::Run run, T* data, F f) {
    T* const elements = data + run.first;
    backend::forEachOf(run.size, [&](unsigned int k) GPU_INLINE { elements[k] = f(elements[k]); });
}

/// Guarded products of a run by one factor: nearly always all are plain ones, which vectorise.
template <class T>
GPU_DEVICE void multiplyComplex(backend::Run run, T* data, T factor) {
    T* const elements = data + run.first;
    T products[backend::Run::capacity];
    bool const hasOthers = internal::holdsForAny<internal::Part<T>>(run.size, [&](unsigned int k) {
        products[k] = internal::plainProduct(elements[k], factor);
        return !internal::isPlainProduct(elements[k], factor);
    });
    if (hasOthers) {
        for (unsigned int k = 0; k < run.size; ++k) {
            products[k] = internal::guardedProduct(elements[k], factor);
        }
    }
    internal::copyEach(run.size, elements, products);
}

template <class T>
struct TimesInplaceKernel {
    static GPU_DEVICE void apply(backend::Run run, T* data, T scalar) {
        if constexpr (internal::isComplex<T>) {
            multiplyComplex(run, data, scalar);
        } else if constexpr (std::is_floating_point_v<T>) {
            updateEach(run, data, [=](T x) GPU_INLINE { return x * scalar; });
        } else {
            updateEach(run, data, [=](T x) GPU_INLINE { return internal::saturatingProduct(x, scalar); });
        }
    }
};

/// The truncated quotient of two integers of at most 32 bits, by a floating division whose rounding cannot
/// reach the next integer. Beyond the range of `T` it wraps, and by 0 all bits are set, as on a GPU.
template <class T>
GPU_DEVICE T integerQuotient(T a, T b) {
    using Floating = std::conditional_t<sizeof(T) == 4, double, float>;
    Floating const quotient =
        backend::fromInteger<Floating>(a) / backend::fromInteger<Floating>(b == 0 ? T(1) : b);
    if constexpr (std::is_same_v<T, unsigned int>) {
        return b == 0 ? ~0u : backend::toUint32(quotient);
    } else {
        // The one quotient that is too large, of the lowest value by -1, wraps to it.
        bool const wraps = sizeof(T) == 4 && quotient == Floating(0x1p31);
        int const truncated = backend::toInt32(quotient);
        return static_cast<T>(b == 0 ? -1 : wraps ? std::numeric_limits<int>::min() : truncated);
    }
}

template <class T>
struct ReciprocalTimesInplaceKernel {
    static GPU_DEVICE void apply(backend::Run run, T* data, T scalar) {
        updateEach(run, data, [=](T x) GPU_INLINE {
            if constexpr (internal::isComplex<T>) {
                return internal::complexQuotient(scalar, x);
            } else if constexpr (std::is_floating_point_v<T>) {
                return scalar / x;
            } else {
                return integerQuotient(scalar, x);
            }
        });
    }
};

/// Quotients of a run by one divisor, which stands in an array: of a divisor known to be one the compiler
/// takes the cases apart, and then no loop vectorises.
template <class T>
GPU_DEVICE void divideComplex(backend::Run run, T* data, T divisor) {
    T* const elements = data + run.first;
    T divisors[backend::Run::capacity];
    backend::forEachOf(run.size, [&](unsigned int k) { divisors[k] = divisor; });
    backend::forEachOf(run.size, [&](unsigned int k) GPU_INLINE {
        elements[k] = internal::complexQuotient(elements[k], divisors[k]);
    });
}

template <class T>
struct ScaleInplaceKernel {
    static GPU_DEVICE void apply(backend::Run run, T* data, T divisor) {
        if constexpr (internal::isComplex<T>) {
            divideComplex(run, data, divisor);
        } else {
            updateEach(run, data, [=](T x) GPU_INLINE { return x / divisor; });
        }
    }
};

/// Replaces each element by functions of its parts in double precision, of which real elements have the
/// first.
template <class T, class Re, class Im>
GPU_DEVICE void updateParts(backend::Run run, T* data, Re re, Im im) {
    using P = internal::Part<T>;
    updateEach(run, data, [=](T x) GPU_INLINE {
        if constexpr (internal::isComplex<T>) {
            return T{static_cast<P>(re(x.x)), static_cast<P>(im(x.y))};
        } else {
            return static_cast<P>(re(x));
        }
    });
}

template <class T>
struct NormalizeInplaceKernel {
    static GPU_DEVICE void apply(backend::Run run, T* data, double offset, double divisor) {
        updateParts(
            run, data, [=](double x) GPU_INLINE { return (x - offset) / divisor; },
            [=](double x) GPU_INLINE { return x / divisor; });
    }
};

template <class T>
struct MulAddInplaceKernel {
    static GPU_DEVICE void apply(backend::Run run, T* data, double factor, double addend) {
        updateParts(
            run, data, [=](double x) GPU_INLINE { return backend::fma(x, factor, addend); },
            [=](double x) GPU_INLINE { return x * factor; });
    }
};

// Elements without a NaN are not stored, so the runs are left alone that have none.
template <class T>
struct NanToZeroInplaceKernel {
    static GPU_DEVICE void apply(backend::Run run, T* data) {
        constexpr unsigned int numParts = sizeof(T) / sizeof(internal::Part<T>);
        T* const elements = data + run.first;
        if (!internal::testAny<internal::IsNotANumber>(numParts * run.size, internal::parts(elements)))
            return;
        for (unsigned int k = 0; k < run.size; ++k) {
            if (internal::testAny<internal::IsNotANumber>(numParts, internal::parts(elements + k))) {
                elements[k] = T{};
            }
        }
    }
};

}  // namespace

template <class T>
void TimesInplace::Invoker<T>::operator()(CUstream_st* stream, T* data, T scalar, unsigned long n) const {
    elementwisedetail::launch<TimesInplaceKernel<T>>(stream, n, data, scalar);
}

template <class T>
void ReciprocalTimesInplace::Invoker<T>::operator()(CUstream_st* stream, T* data, T scalar,
                                                    unsigned long n) const {
    elementwisedetail::launch<ReciprocalTimesInplaceKernel<T>>(stream, n, data, scalar);
}

template <class T>
void ScaleInplace::Invoker<T>::operator()(CUstream_st* stream, T* data, T divisor, unsigned long n) const {
    elementwisedetail::launch<ScaleInplaceKernel<T>>(stream, n, data, divisor);
}

template <class T>
void NormalizeInplace::Invoker<T>::operator()(CUstream_st* stream, T* data, double offset, double divisor,
                                              unsigned long n) const {
    elementwisedetail::launch<NormalizeInplaceKernel<T>>(stream, n, data, offset, divisor);
}

template <class T>
void ScaleByDoubleInplace::Invoker<T>::operator()(CUstream_st* stream, T* data, double divisor,
                                                  unsigned long n) const {
    elementwisedetail::launch<NormalizeInplaceKernel<T>>(stream, n, data, 0.0, divisor);
}

template <class T>
void MulAddByDoubleInplace::Invoker<T>::operator()(CUstream_st* stream, T* data, double factor, double addend,
                                                   unsigned long n) const {
    elementwisedetail::launch<MulAddInplaceKernel<T>>(stream, n, data, factor, addend);
}

template <class T>
void NanToZeroInplace::Invoker<T>::operator()(CUstream_st* stream, T* data, unsigned long n) const {
    elementwisedetail::launch<NanToZeroInplaceKernel<T>>(stream, n, data);
}

void _forceInstantiation_(detail::Opaque& opaque, TimesInplace*) {
    internal::instantiate<TimesInplace>(opaque, internal::Multiplied{});
}

void _forceInstantiation_(detail::Opaque& opaque, ReciprocalTimesInplace*) {
    internal::instantiate<ReciprocalTimesInplace>(opaque, internal::Multiplied{});
}

void _forceInstantiation_(detail::Opaque& opaque, ScaleInplace*) {
    internal::instantiate<ScaleInplace>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, NormalizeInplace*) {
    internal::instantiate<NormalizeInplace>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, ScaleByDoubleInplace*) {
    internal::instantiate<ScaleByDoubleInplace>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, MulAddByDoubleInplace*) {
    internal::instantiate<MulAddByDoubleInplace>(opaque, internal::Floating{});
}

void _forceInstantiation_(detail::Opaque& opaque, NanToZeroInplace*) {
    internal::instantiate<NanToZeroInplace>(opaque, internal::TypeList<double, double2>{});
}

}  // namespace gpuruntime

#pragma once

#include "backend/math/exponential.hpp"
#include "backend/math/trigonometric.hpp"
#include "conversion.hpp"
#include "device.hpp"
#include "elementwise/complex_quotient.hpp"
#include "elementwise/guarded_product.hpp"
#include "frame/complex.hpp"
#include "math.hpp"

namespace gpuruntime::internal {

template <class P>
GPU_DEVICE bool isIntegral(P x) {
    return backend::floor(x) == x;
}

/// An exponent as it is taken with a base of integer value: one of integer value itself is held within 32
/// bits.
template <class P>
GPU_DEVICE P heldIfIntegral(P exponent) {
    bool const isHeld = isIntegral(exponent) && backend::isFinite(exponent);
    return isHeld ? static_cast<P>(backend::toInt32(exponent)) : exponent;
}

/// Whether a real exponent is small enough for a power by squaring.
template <class P>
GPU_DEVICE bool isCountable(P exponent) {
    return isIntegral(exponent) && backend::abs(exponent) < P(0x1p52);
}

template <class T>
GPU_DEVICE T productOf(T a, T b) {
    if constexpr (isComplex<T>) {
        return guardedProduct(a, b);
    } else {
        return a * b;
    }
}

template <class T>
GPU_DEVICE T one() {
    if constexpr (isComplex<T>) {
        return {1, 0};
    } else {
        return 1;
    }
}

template <class T>
GPU_DEVICE T quotientOf(T a, T b) {
    if constexpr (isComplex<T>) {
        return complexQuotient(a, b);
    } else {
        return a / b;
    }
}

/// `base` to a power of countable value, by repeated squaring.
template <class T>
GPU_DEVICE T powerBySquaring(T base, Part<T> exponent) {
    T result = one<T>();
    for (long left = backend::toInt64(backend::abs(exponent)); left != 0; left >>= 1) {
        if (left & 1) result = productOf(result, base);
        base = productOf(base, base);
    }
    return exponent < 0 ? quotientOf(one<T>(), result) : result;
}

/// e to a complex power.
template <class T>
GPU_DEVICE T complexExp(T exponent) {
    Part<T> const magnitude = backend::exp(exponent.x);
    Part<T> sine, cosine;
    backend::sinCos(exponent.y, sine, cosine);
    return {magnitude * cosine, magnitude * sine};
}

}  // namespace gpuruntime::internal

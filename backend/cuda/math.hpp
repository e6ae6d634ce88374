#pragma once

#include <cmath>

#include "device.hpp"

/// The device's math library, and the tests on floating values.
namespace gpuruntime::backend {

template <class T>
GPU_DEVICE T pow(T base, T exponent) {
    return ::pow(base, exponent);
}

template <class T>
GPU_DEVICE T exp(T x) {
    return ::exp(x);
}

template <class T>
GPU_DEVICE T sin(T x) {
    return ::sin(x);
}

template <class T>
GPU_DEVICE T cos(T x) {
    return ::cos(x);
}

/// The angle of the point (`x`, `y`), in [-pi, pi].
template <class T>
GPU_DEVICE T atan2(T y, T x) {
    return ::atan2(y, x);
}

/// The length of (`x`, `y`), without overflow on the way; infinite if either is, even beside a NaN.
template <class T>
GPU_DEVICE T hypot(T x, T y) {
    return ::hypot(x, y);
}

template <class T>
GPU_DEVICE T floor(T x) {
    return ::floor(x);
}

template <class T>
GPU_DEVICE T abs(T x) {
    return ::fabs(x);
}

template <class T>
GPU_DEVICE T copySign(T magnitude, T sign) {
    return ::copysign(magnitude, sign);
}

/// a * b + c in one rounding.
template <class T>
GPU_DEVICE T fma(T a, T b, T c) {
    return ::fma(a, b, c);
}

template <class T>
GPU_DEVICE bool isNaN(T x) {
    return x != x;
}

template <class T>
GPU_DEVICE bool isInf(T x) {
    return abs(x) == static_cast<T>(HUGE_VAL);
}

template <class T>
GPU_DEVICE bool isFinite(T x) {
    return abs(x) < static_cast<T>(HUGE_VAL);
}

/// The larger value: a NaN is ignored unless both are, and +0 is above -0.
template <class T>
GPU_DEVICE T fmax(T a, T b) {
    return ::fmax(a, b);
}

/// The smaller value, by the same rules.
template <class T>
GPU_DEVICE T fmin(T a, T b) {
    return ::fmin(a, b);
}

}  // namespace gpuruntime::backend

#pragma once

#include <cmath>

#include "device.hpp"

/// What the machine does in one rounding or none, and the tests on floating values. Functions that take more
/// are those of backend/math; no device's own library is called for one.
namespace gpuruntime::backend {

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

template <class T>
GPU_DEVICE T sqrt(T x) {
    return ::sqrt(x);
}

/// a * b + c in one rounding.
template <class T>
GPU_DEVICE T fma(T a, T b, T c) {
    return ::fma(a, b, c);
}

/// The same 64 bits as another type.
GPU_DEVICE unsigned long bitsOf(double x) { return static_cast<unsigned long>(__double_as_longlong(x)); }
GPU_DEVICE double withBits(unsigned long bits) { return __longlong_as_double(static_cast<long long>(bits)); }

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

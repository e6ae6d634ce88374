#pragma once

#include <cmath>
#include <cstring>
#include <type_traits>

#include "device.hpp"

/// The device's math library, and the tests on floating values.
namespace gpuruntime::backend {

template <class T>
GPU_DEVICE T pow(T base, T exponent) {
    return std::pow(base, exponent);
}

template <class T>
GPU_DEVICE T exp(T x) {
    return std::exp(x);
}

template <class T>
GPU_DEVICE T sin(T x) {
    return std::sin(x);
}

template <class T>
GPU_DEVICE T cos(T x) {
    return std::cos(x);
}

/// The angle of the point (`x`, `y`), in [-pi, pi].
template <class T>
GPU_DEVICE T atan2(T y, T x) {
    return std::atan2(y, x);
}

/// The length of (`x`, `y`), without overflow on the way; infinite if either is, even beside a NaN.
template <class T>
GPU_DEVICE T hypot(T x, T y) {
    return std::hypot(x, y);
}

template <class T>
GPU_DEVICE T floor(T x) {
    return std::floor(x);
}

template <class T>
GPU_DEVICE T abs(T x) {
    return std::fabs(x);
}

template <class T>
GPU_DEVICE T copySign(T magnitude, T sign) {
    return std::copysign(magnitude, sign);
}

/// a * b + c in one rounding.
template <class T>
GPU_DEVICE T fma(T a, T b, T c) {
    return std::fma(a, b, c);
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

/// What `sign` makes of the bits of equal values, which changes no more than the sign of zeros; `otherwise`
/// for others. Without arithmetic, so that loops vectorise.
template <class T, class Bitwise>
GPU_DEVICE T ofEqual(T a, T b, T otherwise, Bitwise sign) {
    using Bits = std::conditional_t<sizeof(T) == 8, unsigned long, unsigned int>;
    Bits bitsA, bitsB;
    std::memcpy(&bitsA, &a, sizeof(T));
    std::memcpy(&bitsB, &b, sizeof(T));
    Bits const bits = sign(bitsA, bitsB);
    T equal;
    std::memcpy(&equal, &bits, sizeof(T));
    return a == b ? equal : otherwise;
}

/// The larger value: a NaN is ignored unless both are, and +0 is above -0.
template <class T>
GPU_DEVICE T fmax(T a, T b) {
    T const larger = (a > b) | isNaN(b) ? a : b;
    return ofEqual(a, b, larger, [](auto x, auto y) { return x & y; });
}

/// The smaller value, by the same rules.
template <class T>
GPU_DEVICE T fmin(T a, T b) {
    T const smaller = (a < b) | isNaN(b) ? a : b;
    return ofEqual(a, b, smaller, [](auto x, auto y) { return x | y; });
}

}  // namespace gpuruntime::backend

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

/// Of a vector of numbers, lane by lane.
template <class T>
GPU_DEVICE auto isFinite(T x) {
    if constexpr (std::is_floating_point_v<T>) {
        return abs(x) < static_cast<T>(HUGE_VAL);
    } else {
        return x - x == 0;
    }
}

namespace detail {

template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 8, unsigned long, unsigned int>;

template <class T>
GPU_DEVICE BitsOf<T> bits(T x) {
    BitsOf<T> result;
    std::memcpy(&result, &x, sizeof x);
    return result;
}

template <class T>
GPU_DEVICE T fromBits(BitsOf<T> bits) {
    T result;
    std::memcpy(&result, &bits, sizeof result);
    return result;
}

/// All bits if the values differ, or one is NaN, otherwise none.
template <class T>
GPU_DEVICE BitsOf<T> ifDifferent(T a, T b) {
    return a != b ? ~BitsOf<T>(0) : BitsOf<T>(0);
}

}  // namespace detail

/// The larger value: a NaN is ignored unless both are, and +0 is above -0.
template <class T>
GPU_DEVICE T fmax(T a, T b) {
    T const larger = (a > b) | isNaN(b) ? a : b;  // of equal values `b`, whose sign bit `a` may clear
    return detail::fromBits<T>(detail::bits(larger) & (detail::bits(a) | detail::ifDifferent(a, b)));
}

/// The smaller value, by the same rules.
template <class T>
GPU_DEVICE T fmin(T a, T b) {
    T const smaller = (a < b) | isNaN(b) ? a : b;  // of equal values `b`, whose sign bit `a` may set
    return detail::fromBits<T>(detail::bits(smaller) | (detail::bits(a) & ~detail::ifDifferent(a, b)));
}

}  // namespace gpuruntime::backend

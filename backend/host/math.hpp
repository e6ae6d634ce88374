#pragma once

#include <cmath>
#include <cstring>
#include <type_traits>

#include "device.hpp"

/// What the machine does in one rounding or none, and the tests on floating values. Functions that take more
/// are those of backend/math; no device's own library is called for one.
namespace gpuruntime::backend {

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

template <class T>
GPU_DEVICE T sqrt(T x) {
    return std::sqrt(x);
}

/// a * b + c in one rounding.
template <class T>
GPU_DEVICE T fma(T a, T b, T c) {
    return std::fma(a, b, c);
}

/// The same 64 bits as another type.
GPU_DEVICE unsigned long bitsOf(double x) {
    unsigned long bits;
    std::memcpy(&bits, &x, sizeof bits);
    return bits;
}
GPU_DEVICE double withBits(unsigned long bits) {
    double x;
    std::memcpy(&x, &bits, sizeof x);
    return x;
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

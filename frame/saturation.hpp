#pragma once

#include <limits>
#include <type_traits>

#include "device.hpp"

/// Integer arithmetic held at the ends of the range of the type, without branches, so that loops over lanes
/// vectorise.
namespace gpuruntime::internal {

/// `a` + `b`, held at the ends of the range. Where vectors have minima and maxima, `b` is held within what
/// `a` leaves of the range; a wide sum is taken and mended.
template <class T>
GPU_DEVICE T saturatingSum(T a, T b) {
    using U = std::make_unsigned_t<T>;
    using Limits = std::numeric_limits<T>;
    constexpr bool isWide = sizeof(T) == 8, isSigned = std::is_signed_v<T>;
    if constexpr (!isWide && !isSigned) {
        T const most = static_cast<T>(Limits::max() - a);
        return static_cast<T>(a + (b < most ? b : most));
    } else if constexpr (!isWide && isSigned) {
        T const most = static_cast<T>(Limits::max() - (a > 0 ? a : T(0)));
        T const least = static_cast<T>(Limits::min() - (a < 0 ? a : T(0)));
        T const lowered = b < most ? b : most;
        return static_cast<T>(a + (lowered > least ? lowered : least));
    } else if constexpr (isWide && !isSigned) {
        T const sum = a + b;
        return sum < a ? Limits::max() : sum;
    } else {
        // It overflowed if the sum's sign is neither operand's.
        U const sum = static_cast<U>(a) + static_cast<U>(b);
        T const overflow = static_cast<T>((static_cast<U>(a) ^ sum) & (static_cast<U>(b) ^ sum));
        T const bound = a < 0 ? Limits::min() : Limits::max();
        return overflow < 0 ? bound : static_cast<T>(sum);
    }
}

/// An integer that holds every product of two `T` of at most 32 bits, twice as wide.
template <class T>
using Wide = std::conditional_t<
    sizeof(T) == 4, std::conditional_t<std::is_signed_v<T>, long, unsigned long>,
    std::conditional_t<sizeof(T) == 2, std::conditional_t<std::is_signed_v<T>, int, unsigned int>,
                       std::conditional_t<std::is_signed_v<T>, short, unsigned short>>>;

template <class T>
GPU_DEVICE T saturatingProduct(T a, T b) {
    using W = Wide<T>;
    W const product = static_cast<W>(static_cast<W>(a) * static_cast<W>(b));
    W const high = std::numeric_limits<T>::max();
    W const lowered = product > high ? high : product;
    if constexpr (std::is_unsigned_v<T>) {
        return static_cast<T>(lowered);
    } else {
        W const low = std::numeric_limits<T>::min();
        return static_cast<T>(lowered < low ? low : lowered);
    }
}

/// `a` - `b`, held at the ends of the range. Where vectors have minima and maxima, `b` is held within what
/// `a` leaves of the range; a wide difference is taken and mended.
template <class T>
GPU_DEVICE T saturatingDifference(T a, T b) {
    using U = std::make_unsigned_t<T>;
    using Limits = std::numeric_limits<T>;
    constexpr bool isWide = sizeof(T) == 8;
    if constexpr (std::is_unsigned_v<T>) {
        return static_cast<T>(a - (b < a ? b : a));
    } else if constexpr (!isWide) {
        T const most = static_cast<T>((a < 0 ? a : T(-1)) - Limits::min());
        T const least = static_cast<T>((a < 0 ? T(-1) : a) - Limits::max());
        T const lowered = b < most ? b : most;
        return static_cast<T>(a - (lowered > least ? lowered : least));
    } else {
        // It overflowed if the operands' signs differ and the difference has not that of `a`.
        U const difference = static_cast<U>(a) - static_cast<U>(b);
        T const overflow = static_cast<T>(static_cast<U>(a ^ b) & (static_cast<U>(a) ^ difference));
        T const bound = a < 0 ? Limits::min() : Limits::max();
        return overflow < 0 ? bound : static_cast<T>(difference);
    }
}

}  // namespace gpuruntime::internal

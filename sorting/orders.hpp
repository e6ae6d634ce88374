#pragma once

#include <cstring>
#include <type_traits>

#include "device.hpp"
#include "frame/complex_order.hpp"
#include "math.hpp"

/// The orders of the sorts, and what counts as NaN. Besides comparing, an order ranks: an element's rank is
/// an unsigned number, a smaller rank comes first, and where ranks are equal, so are the elements if
/// `ranksDecide`. If `ranksAreKeys`, elements of one rank are the same bits.
namespace gpuruntime {

/// Whether an element is NaN, or holds one.
template <class T>
struct isNanVal {
    GPU_DEVICE bool operator()(T const& value) const {
        if constexpr (internal::isComplex<T>) {
            return backend::isNaN(value.x) || backend::isNaN(value.y);
        } else {
            return backend::isNaN(value);
        }
    }
};

/// Whether an element is a number.
template <class T>
struct IsNumber {
    GPU_DEVICE bool operator()(T const& value) const { return !isNanVal<T>{}(value); }
};

namespace internal {

inline constexpr unsigned long signBit = 0x8000000000000000;

/// All ones if the sign bit is set and else 0, by the arithmetic shift that both compilers make of it.
GPU_DEVICE unsigned long maskOfSign(unsigned long bits) {
    return static_cast<unsigned long>(static_cast<long>(bits) >> 63);
}

/// By bit pattern: -0 comes before +0, and NaN stands beyond the infinity of its sign. Without branches,
/// since signs are hard to predict.
GPU_DEVICE unsigned long rankOf(double value) {
    unsigned long bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits ^ (maskOfSign(bits) | signBit);
}

GPU_DEVICE unsigned long rankOf(long value) { return static_cast<unsigned long>(value) ^ signBit; }
GPU_DEVICE unsigned long rankOf(int value) { return rankOf(static_cast<long>(value)); }
GPU_DEVICE unsigned long rankOf(unsigned long value) { return value; }

template <class T>
GPU_DEVICE T valueOfRank(unsigned long rank) {
    if constexpr (std::is_floating_point_v<T>) {
        unsigned long const bits = rank ^ (maskOfSign(~rank) | signBit);
        T value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    } else {
        return static_cast<T>(std::is_signed_v<T> ? rank ^ signBit : rank);
    }
}

/// Both zeros have one rank.
GPU_DEVICE unsigned long rankOfEqualZeros(double value) { return rankOf(value + 0.0); }

template <class T>
GPU_DEVICE unsigned long rankOfEqualZeros(T value) {
    if constexpr (isComplex<T>) {
        return rankOf(magnitude(value));
    } else {
        return rankOf(value);
    }
}

/// Negative if `x` comes before `y` in the order by magnitude and phase, positive if after, and 0 for a tie.
/// NaN compares as neither. Called rather than inlined: a merge sort compares in many places.
template <class T>
GPU_DEVICE_CALL int compareComplex(T x, T y) {
    int const verdict = compareSquares(x, y);
    if (verdict != 0) return verdict;
    Part<T> const mx = magnitude(x), my = magnitude(y);
    if (mx < my) return -1;
    if (my < mx) return 1;
    return compareEqualMagnitudes(x, y, backend::isInf(my));
}

/// Order by bit pattern, which a radix sort can keep.
template <class T, bool isDescending>
struct RadixOrder {
    static constexpr bool isRadix = true, ranksDecide = true, ranksAreKeys = true, descending = isDescending;

    static GPU_DEVICE unsigned long rank(T const& x, unsigned long /*level*/ = 0) {
        return descending ? ~rankOf(x) : rankOf(x);
    }
    static GPU_DEVICE T value(unsigned long rank) { return valueOfRank<T>(descending ? ~rank : rank); }
    static GPU_DEVICE unsigned long numRanks() { return 1; }
    GPU_DEVICE bool operator()(T const& x, T const& y) const { return rank(x) < rank(y); }
};

template <class T>
struct DirectedOrder;

/// Order by value: zeros are equal, and complex values go by magnitude and then by phase.
template <class T, bool isDescending>
struct ValueOrder {
    static constexpr bool isRadix = false, descending = isDescending;
    /// Complex values of one magnitude may still differ in phase.
    static constexpr bool ranksDecide = !isComplex<T>;
    static constexpr bool ranksAreKeys = std::is_integral_v<T>;

    static GPU_DEVICE unsigned long rank(T const& x, unsigned long /*level*/ = 0) {
        return descending ? ~rankOfEqualZeros(x) : rankOfEqualZeros(x);
    }
    static GPU_DEVICE unsigned long numRanks() { return 1; }

    GPU_DEVICE bool operator()(T const& x, T const& y) const {
        if constexpr (isComplex<T>) {
            return descending ? compareComplex(x, y) > 0 : compareComplex(x, y) < 0;
        } else {
            return descending ? x > y : x < y;
        }
    }

    DirectedOrder<T> inEitherDirection() const { return {descending}; }
};

/// Order by value in a direction that is told at run time, so that a sort is built for both.
template <class T>
struct DirectedOrder {
    bool descending;

    GPU_DEVICE bool operator()(T const& x, T const& y) const {
        return descending ? ValueOrder<T, true>{}(x, y) : ValueOrder<T, false>{}(x, y);
    }
};

}  // namespace internal

template <class T, class = void>
struct Less : internal::ValueOrder<T, false> {};
template <class T, class = void>
struct Greater : internal::ValueOrder<T, true> {};

/// The orders of values that carry others along; these never take part.
template <class T, class = void>
struct LessTuple : internal::ValueOrder<T, false> {};
template <class T, class = void>
struct GreaterTuple : internal::ValueOrder<T, true> {};

}  // namespace gpuruntime

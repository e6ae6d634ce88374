#pragma once

#include <limits>
#include <type_traits>

#include "conversion.hpp"
#include "device.hpp"
#include "math.hpp"

/// How values of one type become values of another. Integers, once a rule has rounded, saturate in the same
/// way everywhere; NaN gives 0.
namespace gpuruntime::internal {

/// A `bool` in memory, of which any byte but 0 is true.
struct LogicalByte {
    unsigned char byte;
};

/// The type as which elements of `T` are read.
template <class T>
using Readable = std::conditional_t<std::is_same_v<T, bool>, LogicalByte, T>;

template <class T>
GPU_DEVICE Readable<T> const* readable(T const* data) {
    return reinterpret_cast<Readable<T> const*>(data);
}

template <class T>
GPU_DEVICE T numberOrZero(T value) {
    return value == value ? value : T(0);
}

/// An integer held at the ends of the range of `To`.
template <class To, class From>
GPU_DEVICE To saturated(From value) {
    using Target = std::numeric_limits<To>;
    using Source = std::numeric_limits<From>;
    if constexpr (Source::is_signed && (!Target::is_signed || Source::digits > Target::digits)) {
        constexpr auto lowest = static_cast<From>(Target::lowest());
        value = value < lowest ? lowest : value;
    }
    if constexpr (Source::digits > Target::digits) {
        constexpr auto highest = static_cast<From>(Target::max());
        value = value > highest ? highest : value;
    }
    return static_cast<To>(value);
}

/// A number truncated toward zero to 32 bits, or to 64 for the 64-bit types, which saturates.
template <class T, class From>
GPU_DEVICE auto truncatedFor(From number) {
    if constexpr (std::is_same_v<T, unsigned long>) {
        return backend::toUint64(number);
    } else if constexpr (std::is_same_v<T, long>) {
        return backend::toInt64(number);
    } else if constexpr (std::is_same_v<T, unsigned int>) {
        return backend::toUint32(number);
    } else {
        return backend::toInt32(number);
    }
}

/// A `double` as the device stores it in a `T`: `float` rounds to nearest even; integers truncate toward zero
/// and saturate at 64 or 32 bits, NaN gives 0, and narrower types keep the low-order bytes of the 32-bit
/// result.
template <class T>
GPU_DEVICE T storedAs(double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        using Stored = std::conditional_t<std::is_unsigned_v<T> && sizeof(T) < 4, unsigned int, T>;
        return static_cast<T>(truncatedFor<Stored>(numberOrZero(value)));
    }
}

/// Whether what lies between two values is stored in a `T` as if by way of `int`, with nothing to saturate.
template <class T>
GPU_DEVICE bool areStoredAsInt(double a, double b) {
    if constexpr (std::is_floating_point_v<T>) {
        return false;
    } else {
        double const low = std::is_unsigned_v<T> ? 0.0 : -0x1p31, high = 0x1p31;
        return a >= low && b >= low && a < high && b < high;
    }
}

/// The number with which truncation rounds to nearest, halves away from zero: the one below a half, because
/// the largest number below a half must not be raised to one by the rounding of the sum. A sum that falls in
/// the middle of two numbers goes to the even one, which is the upper.
template <class T>
inline constexpr T belowHalf = T(0.5) - std::numeric_limits<T>::epsilon() / 4;

/// The number that truncation makes a value rounded to nearest.
template <class T>
GPU_DEVICE T raised(T value) {
    return value + backend::copySign(belowHalf<T>, value);
}

/// A value as one of another type. Floating values become integers rounded to nearest, halves away from zero,
/// and NaN 0; integers saturate at the range of the target. What becomes floating rounds to nearest even.
template <class To, class From>
GPU_DEVICE To cast(From value) {
    if constexpr (std::is_same_v<From, LogicalByte>) {
        return value.byte != 0 ? To(1) : To(0);
    } else if constexpr (std::is_floating_point_v<To> && std::is_floating_point_v<From>) {
        return static_cast<To>(value);
    } else if constexpr (std::is_floating_point_v<To>) {
        return backend::fromInteger<To>(value);
    } else if constexpr (std::is_floating_point_v<From>) {
        return saturated<To>(truncatedFor<To>(numberOrZero(raised(value))));
    } else {
        return saturated<To>(value);
    }
}

/// Whether `castInside` takes a value: it is far within the range of the 64-bit integers by way of which wide
/// ones come, or NaN, or within that of `int` for all others.
template <class To, class From>
GPU_DEVICE bool isInside(From value) {
    if constexpr (sizeof(To) == sizeof(long)) {
        return !(backend::abs(value) > From(0x1p50));
    } else {
        return backend::abs(value) <= From(0x1p30);
    }
}

/// As `cast` of floating values to integers, for such as are often quicker to convert.
template <class To, class From>
GPU_DEVICE To castInside(From value) {
    if constexpr (sizeof(To) == sizeof(long)) {
        return saturated<To>(backend::toIntegerInside<long>(numberOrZero(raised(value))));
    } else {
        return saturated<To>(backend::toIntegerInside<int>(raised(value)));
    }
}

}  // namespace gpuruntime::internal

#pragma once

#include <type_traits>

#include "conversion.hpp"
#include "device.hpp"

namespace gpuruntime::internal {

/// A `double` as the device stores it in a `T`: `float` rounds to nearest even; integers truncate toward zero
/// and saturate at 64 or 32 bits, NaN gives 0, and narrower types keep the low-order bytes of the 32-bit
/// result.
template <class T>
GPU_DEVICE T storedAs(double value) {
    if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(value);
    } else {
        double const number = value == value ? value : 0.0;
        if constexpr (std::is_same_v<T, unsigned long>) {
            return backend::toUint64(number);
        } else if constexpr (std::is_same_v<T, long>) {
            return backend::toInt64(number);
        } else if constexpr (std::is_unsigned_v<T>) {
            return static_cast<T>(backend::toUint32(number));
        } else {
            return static_cast<T>(backend::toInt32(number));
        }
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

}  // namespace gpuruntime::internal

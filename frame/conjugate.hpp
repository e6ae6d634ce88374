#pragma once

#include <cstring>
#include <type_traits>

#include "device.hpp"
#include "frame/complex.hpp"

namespace gpuruntime::internal {

/// -x by its sign bit, so that a NaN keeps its payload: a GPU's floating negation may give another NaN.
template <class T>
GPU_DEVICE T signFlipped(T x) {
    using Bits = std::conditional_t<sizeof(T) == sizeof(unsigned int), unsigned int, unsigned long>;
    Bits bits;
    std::memcpy(&bits, &x, sizeof(T));
    bits ^= Bits(1) << (8 * sizeof(T) - 1);
    std::memcpy(&x, &bits, sizeof(T));
    return x;
}

/// The value with its second part negated: a floating part flips its sign, also that of zero and NaN; an
/// integer part wraps at its width, so that 1 in a `uchar2` becomes 255.
template <class T>
GPU_DEVICE T conjugated(T value) {
    using P = Part<T>;
    if constexpr (std::is_floating_point_v<P>) {
        value.y = signFlipped(value.y);
    } else {
        using Unsigned = std::make_unsigned_t<P>;
        value.y = static_cast<P>(Unsigned(0) - static_cast<Unsigned>(value.y));
    }
    return value;
}

}  // namespace gpuruntime::internal

#pragma once

#include "device.hpp"
#include "elementwise/run_steps.hpp"
#include "frame/complex.hpp"
#include "rows.hpp"

/// What the tests of a matrix ask of a column's elements.
namespace gpuruntime::internal {

/// NaN is other than 0.
template <class T>
GPU_DEVICE bool isNonZero(T value) {
    if constexpr (isComplex<T>) {
        return IsOtherThanZero::holds(value.x) | IsOtherThanZero::holds(value.y);
    } else {
        return IsOtherThanZero::holds(value);
    }
}

/// Whether the test `holds(x)`, of elements of `T`, holds for a position of the row. What is found is kept as
/// wide as the parts, so that machine vectors hold it.
template <class T, class Test>
GPU_DEVICE bool holdsForAny(backend::Row row, Test holds) {
    using P = Part<T>;
    using Found = std::conditional_t<sizeof(P) == 8, unsigned long,
                                     std::conditional_t<sizeof(P) == 4, unsigned int, unsigned char>>;
    Found found = 0;
    row.forEach([&](unsigned long x) GPU_INLINE { found |= holds(x) ? Found(-1) : Found(0); });
    return found != 0;
}

template <class T>
GPU_DEVICE bool hasNonZero(backend::Row row, T const* column) {
    return holdsForAny<T>(row, [=](unsigned long x) GPU_INLINE { return isNonZero(column[x]); });
}

}  // namespace gpuruntime::internal

#pragma once

#include "frame/complex.hpp"
#include "lanes.hpp"
#include "math.hpp"

namespace gpuruntime::backend {

/// a * b + sum of numbers or of vectors of numbers, each product fused with its sum. Of complex values all
/// four products count, whatever they are; those with the real part of `a` come first.
template <class T>
GPU_DEVICE T multiplyAdd(T a, T b, T sum) {
    if constexpr (internal::isComplex<T>) {
        return {fma(-a.y, b.y, fma(a.x, b.x, sum.x)), fma(a.y, b.x, fma(a.x, b.y, sum.y))};
    } else {
        return fma(a, b, sum);
    }
}

}  // namespace gpuruntime::backend

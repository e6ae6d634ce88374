#pragma once

#include "backend/math/arithmetic.hpp"

namespace gpuruntime::backend {

/// The length of (`x`, `y`); largest error seen 0.74 ulp, below the normal numbers, and 0.50 above; infinite
/// if either is, even beside a NaN. The magnitudes are scaled by a power of two so that no square overflows
/// or loses digits, and the root takes a step of Newton's method with the exact error of its square. C. F.
/// Borges, "An improved algorithm for hypot(a, b)" (2019).
template <class D>
GPU_DEVICE D hypot(D x, D y) {
    constexpr double large = 0x1p500, small = 0x1p-500;
    D const ax = abs(x), ay = abs(y);
    D const most = ax > ay ? ax : ay;
    D const scale = most > large ? 0x1p-600 : most < small ? 0x1p600 : 1.0;
    D const inverse = most > large ? 0x1p600 : most < small ? 0x1p-600 : 1.0;
    D const a = most * scale, b = (ax > ay ? ay : ax) * scale;

    D const h = sqrt(fma(a, a, b * b));
    DoubleWord<D> const ofH = exactProduct(h, h), ofA = exactProduct(a, a);
    D const excess = (fma(-b, b, ofH.high - ofA.high) + ofH.low) - ofA.low;
    D const corrected = h - excess / (2.0 * h);
    D const value = (most == 0.0 ? most : corrected) * inverse;
    return (ax == infinity) | (ay == infinity) ? infinity : (x != x) | (y != y) ? notANumber : value;
}

/// The squares of `float` values are exact in `double`.
GPU_DEVICE float hypot(float x, float y) {
    double const a = x, b = y;
    float const value = static_cast<float>(sqrt(fma(a, a, b * b)));
    return isInf(x) || isInf(y) ? static_cast<float>(infinity) : value;
}

}  // namespace gpuruntime::backend

#pragma once

#include "backend/math/arithmetic.hpp"
#include "backend/math/logarithm.hpp"

namespace gpuruntime::backend {

/// The natural logarithm of the length of (`x`, `y`), the real part of a complex logarithm; largest error
/// seen 1.03 ulp; -infinity at the origin, and infinity where `x` or `y` is infinite, even beside a NaN.
///
/// Half the logarithm of the sum of squares, which is held in two words so that the result keeps its digits
/// near length
/// 1. Other lengths are scaled by a power of two.
template <class D>
GPU_DEVICE D logOfLength(D x, D y) {
    using namespace mathdetail;
    D const ax = abs(x), ay = abs(y);
    D const most = ax > ay ? ax : ay, least = ax > ay ? ay : ax;

    Scientific<D> const length = scientific(most);
    auto const isNearOne = (most >= 0.5) & (most < 2.0);
    D const k = isNearOne ? 0.0 : length.exponent;
    D const shiftedHalf = fma(k, -0.5, integerOrigin);
    D const otherHalf = -k - (shiftedHalf - integerOrigin);
    D const a = isNearOne ? most : length.fraction;
    D const b = least * powerOfTwo(shiftedHalf) * powerOfTwo(otherHalf + integerOrigin);

    DoubleWord<D> const ofA = exactProduct(a, a), ofB = exactProduct(b, b);
    DoubleWord<D> const highs = orderedSum(ofA.high, ofB.high);
    DoubleWord<D> const lows = exactSum(ofA.low, ofB.low);
    DoubleWord<D> const middle = exactSum(highs.low, lows.high);
    DoubleWord<D> square = orderedSum(highs.high, middle.high);
    square.low = square.low + (middle.low + lows.low);

    DoubleWord<D> const logarithm = logWords(scientific(square.high));
    DoubleWord<D> const sum = orderedSum(k * ln2High, 0.5 * logarithm.high);
    D const value = sum.high + fma(k, ln2Low, fma(0.5, logarithm.low + square.low / square.high, sum.low));

    D const ofFinite = most == 0.0 ? -infinity : value;
    D const ofNumbers = (x != x) | (y != y) ? notANumber : ofFinite;
    return (ax == infinity) | (ay == infinity) ? infinity : ofNumbers;
}

GPU_DEVICE float logOfLength(float x, float y) {
    return static_cast<float>(logOfLength(static_cast<double>(x), static_cast<double>(y)));
}

}  // namespace gpuruntime::backend

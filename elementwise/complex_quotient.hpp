#pragma once

#include "device.hpp"
#include "frame/complex.hpp"
#include "math.hpp"

namespace gpuruntime::internal {

/// The quotient of two complex values by Smith's method, scaled by the larger part of the denominator. A
/// denominator that is real, is imaginary or has parts of equal magnitude is divided by in its own way, and a
/// zero part of the numerator stays an exact zero in the first two. Without branches, so that loops
/// vectorise; divisions are correctly rounded.
template <class T>
GPU_DEVICE T complexQuotient(T numerator, T denominator) {
    using P = Part<T>;
    P const p = numerator.x, q = numerator.y, c = denominator.x, d = denominator.y;
    P const magnitudeC = backend::abs(c), magnitudeD = backend::abs(d);
    bool const isReal = d == 0, isImaginary = c == 0, areEqual = magnitudeC == magnitudeD;

    // What belongs to the larger part of the denominator, and to the smaller one.
    bool const isRealLarger = magnitudeC > magnitudeD;
    P const larger = isRealLarger ? c : d, smaller = isRealLarger ? d : c;
    P const ofLarger = isRealLarger ? p : q, ofSmaller = isRealLarger ? q : p;
    P const ratio = smaller / larger;
    P const scaled = ratio * ofLarger;
    P re = backend::fma(ratio, ofSmaller, ofLarger);
    P im = isRealLarger ? ofSmaller - scaled : scaled - ofSmaller;
    P divisor = backend::fma(smaller, ratio, larger);

    P const halfC = c > 0 ? P(0.5) : P(-0.5), halfD = d > 0 ? P(0.5) : P(-0.5);
    re = areEqual ? backend::fma(halfC, p, halfD * q) : re;
    im = areEqual ? halfC * q - halfD * p : im;
    divisor = areEqual ? magnitudeD : divisor;

    re = isReal ? p : isImaginary ? q : re;
    im = isReal ? q : isImaginary ? -p : im;
    divisor = isReal ? c : isImaginary ? d : divisor;
    re /= divisor;
    im /= divisor;

    bool const isOnAxis = isReal | isImaginary;
    P const zeroesIm = isReal ? q : p, zeroesRe = isReal ? p : q;
    return {isOnAxis & (zeroesIm != 0) & (zeroesRe == 0) ? P(0) : re, isOnAxis & (zeroesIm == 0) ? P(0) : im};
}

}  // namespace gpuruntime::internal

#pragma once

#include "backend/math/arctangent.hpp"
#include "backend/math/hypotenuse.hpp"
#include "device.hpp"
#include "frame/complex.hpp"
#include "math.hpp"

/// The order of complex values: by magnitude, then by phase angle in [-pi, pi]. What a NaN means is the
/// caller's to say: the steps that compare are told apart, so that a rule for NaN can stand between them.
namespace gpuruntime::internal {

template <class T>
GPU_DEVICE Part<T> magnitude(T value) {
    return backend::hypot(value.x, value.y);
}

/// Whether the magnitude is NaN: an infinite part keeps it from that.
template <class T>
GPU_DEVICE bool hasNaNMagnitude(T value) {
    return (backend::isNaN(value.x) & !backend::isInf(value.y)) |
           (backend::isNaN(value.y) & !backend::isInf(value.x));
}

/// The magnitude of half the value, which does not overflow; NaN if a part is, even beside an infinity.
template <class T>
GPU_DEVICE Part<T> halvedMagnitude(T value) {
    using P = Part<T>;
    P const x = value.x * P(0.5), y = value.y * P(0.5);
    return backend::isNaN(x) || backend::isNaN(y) ? x + y : backend::hypot(x, y);
}

/// Below which squares of parts of type `P` lose digits to underflow, with room to spare.
template <class P>
inline constexpr P safeSquare = P(0x1p-100);
template <>
inline constexpr double safeSquare<double> = 0x1p-900;

/// By how much two sums of squares must differ so that the magnitudes differ whatever the rounding: some
/// hundred times the error of the sums and of `hypot`.
template <class P>
inline constexpr P clearlyMore = P(1 + 0x1p-15);
template <>
inline constexpr double clearlyMore<double> = 1 + 0x1p-44;

/// The outcome of comparing the magnitudes where their squares already tell it: negative if `a` is the
/// smaller, positive if it is the greater, and 0 if only `magnitude` can tell. It saves nearly all calls of
/// `hypot`.
template <class T>
GPU_DEVICE int compareSquares(T a, T b) {
    using P = Part<T>;
    P const squareA = a.x * a.x + a.y * a.y, squareB = b.x * b.x + b.y * b.y;
    if (squareA > squareB * clearlyMore<P> && squareA > safeSquare<P>) return 1;
    return squareB > squareA * clearlyMore<P> && squareB > safeSquare<P> ? -1 : 0;
}

template <class P>
GPU_DEVICE bool sameSign(P a, P b) {
    return backend::copySign(P(1), a) == backend::copySign(P(1), b);
}

/// Whether both parts are the same numbers, zeros by their signs.
template <class T>
GPU_DEVICE bool identical(T a, T b) {
    return (a.x == b.x) & (a.y == b.y) && sameSign(a.x, b.x) && sameSign(a.y, b.y);
}

/// Orders two values neither of whose magnitudes was greater: negative if `a` ranks lower, 0 for an exact
/// tie. `overflowed` tells that the magnitudes are infinite, perhaps only by overflow.
template <class T>
GPU_DEVICE int compareEqualMagnitudes(T a, T b, bool overflowed) {
    using P = Part<T>;
    if (overflowed) {
        P const ma = halvedMagnitude(a), mb = halvedMagnitude(b);
        if (ma < mb) return -1;
        if (mb < ma) return 1;
    }
    // The magnitudes may be equal only by rounding: where the larger parts are the same, the smaller ones
    // tell.
    P const ax = backend::abs(a.x), ay = backend::abs(a.y), bx = backend::abs(b.x), by = backend::abs(b.y);
    P const lowA = backend::fmin(ax, ay), lowB = backend::fmin(bx, by);
    if (backend::fmax(ax, ay) == backend::fmax(bx, by) && lowA != lowB) return lowA < lowB ? -1 : 1;
    if (identical(a, b)) return 0;
    P const angleA = backend::atan2(a.y, a.x), angleB = backend::atan2(b.y, b.x);
    return angleA < angleB ? -1 : angleB < angleA ? 1 : 0;
}

}  // namespace gpuruntime::internal

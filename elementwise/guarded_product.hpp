#pragma once

#include "device.hpp"
#include "frame/complex.hpp"
#include "math.hpp"

namespace gpuruntime::internal {

/// One part of a guarded product, recomputed from parts scaled to magnitude 1: `plain` is the part as first
/// computed, the sum of the products `first` and `second`; `scaledFirst` and `scaledSecond` are the same
/// products of the scaled factors, whose largest absolute parts are `ma` and `mb`. `infinityTimesZero` tells
/// that one factor is infinite and the other has a zero part.
template <class P>
GPU_DEVICE P guardedPart(P plain, P first, P second, P scaledFirst, P scaledSecond, P ma, P mb,
                         bool infinityTimesZero) {
    bool const overflowed = backend::isInf(plain) && backend::isFinite(ma) && backend::isFinite(mb);
    if (!backend::isNaN(plain) && !overflowed) return plain;
    P const scaled = scaledFirst + scaledSecond;
    if (scaled != 0) return mb * (ma * scaled);
    if (!infinityTimesZero) return 0;
    P const f = backend::isNaN(first) ? backend::copySign(P(0), scaledFirst) : first;
    P const s = backend::isNaN(second) ? backend::copySign(P(0), scaledSecond) : second;
    return f + s;
}

/// `part` of a value whose largest absolute part is `magnitude`, scaled by it; exactly 1 for the largest
/// itself.
template <class P>
GPU_DEVICE P scaledPart(P part, P magnitude) {
    return backend::abs(part) == magnitude ? backend::copySign(P(1), part) : part / magnitude;
}

/// Of values whose parts are numbers, or vectors of numbers; so are the next two.
template <class T>
GPU_DEVICE auto areReal(T a, T b) {
    return (a.y == 0) & (b.y == 0);
}

/// The product by the plain formula; of two real values, their product and the first one's zero.
template <class T>
GPU_DEVICE T plainProduct(T a, T b) {
    auto const real = areReal(a, b);
    auto const p = a.x * b.x, q = a.y * b.y, r = a.x * b.y, s = a.y * b.x;
    return {real ? p : p - q, real ? a.y : r + s};
}

/// Whether that is the guarded product.
template <class T>
GPU_DEVICE auto isPlainProduct(T a, T b) {
    T const plain = plainProduct(a, b);
    return areReal(a, b) | (backend::isFinite(plain.x) & backend::isFinite(plain.y));
}

/// The product of two complex values that keeps infinities instead of turning them into NaN. The plain
/// formula serves while both of its parts are finite; otherwise the parts that are NaN, or that overflowed
/// though the factors are finite, are recomputed from scaled factors. Every operation rounds by itself in the
/// part's precision.
template <class T>
GPU_DEVICE T guardedProduct(T a, T b) {
    using P = Part<T>;
    T const plain = plainProduct(a, b);
    if (areReal(a, b)) return plain;
    if (backend::isFinite(plain.x) && backend::isFinite(plain.y)) return plain;

    P const p = a.x * b.x, q = a.y * b.y, r = a.x * b.y, s = a.y * b.x;
    P const ma = backend::fmax(backend::abs(a.x), backend::abs(a.y));
    P const mb = backend::fmax(backend::abs(b.x), backend::abs(b.y));
    T const ua{scaledPart(a.x, ma), scaledPart(a.y, ma)};
    T const ub{scaledPart(b.x, mb), scaledPart(b.y, mb)};
    bool const infinityTimesZero =
        (backend::isInf(ma) && (b.x == 0 || b.y == 0)) || (backend::isInf(mb) && (a.x == 0 || a.y == 0));
    return {guardedPart(plain.x, p, -q, ua.x * ub.x, -(ua.y * ub.y), ma, mb, infinityTimesZero),
            guardedPart(plain.y, r, s, ua.x * ub.y, ua.y * ub.x, ma, mb, infinityTimesZero)};
}

}  // namespace gpuruntime::internal

#pragma once

#include <gpuruntime/interp_type.hpp>

#include "device.hpp"
#include "frame/complex.hpp"
#include "interp/grid.hpp"
#include "load.hpp"
#include "math.hpp"

/// Interpolation along one dimension. Where a query lies is found once, and any two neighbouring values are
/// blended by it, be they those of a vector or what lower dimensions gave.
namespace gpuruntime::interp {

/// Calls `f` with the parts of values, and puts the parts of the result together.
template <class V, class F>
GPU_DEVICE V eachPart(V a, V b, F f) {
    if constexpr (internal::isComplex<V>) {
        return {f(a.x, b.x), f(a.y, b.y)};
    } else {
        return f(a, b);
    }
}

/// What the result is where no values are blended.
template <class V>
struct Constants {
    V extrapValue;

    GPU_DEVICE static V zero() { return V{}; }

    /// The NaN with the sign bit set and no other bit that is not needed.
    GPU_DEVICE static V nan() {
        using P = internal::Part<V>;
        P const nan = static_cast<P>(backend::withBits(0xFFF8000000000000));
        if constexpr (internal::isComplex<V>) {
            return {nan, nan};
        } else {
            return nan;
        }
    }
};

/// Where a query lies along a dimension, for a method and an extrapolation.
template <class T>
struct Place {
    enum Kind : unsigned int { between, atExtrapValue, atZero, atNaN };

    Kind kind;
    unsigned int lower;  ///< the first of the two values to be blended
    T position;          ///< 0 is the lower value, 1 the upper one; beyond both where a line goes on
};

/// The place of `q`, which is in the bin; of the grid only what is needed is read.
template <class Grid, class G>
GPU_DEVICE Place<typename Grid::Position> placeOf(Grid const& grid, G q, long bin, InterpType method,
                                                  InterpType extrap) {
    using T = typename Grid::Position;
    using P = Place<T>;
    unsigned int const last = grid.n - 2;
    bool const isInside = bin >= 0 && bin <= last, isAbove = bin == BIN_ABOVE_GRID;
    if (bin == BIN_NAN_QUERY) return {P::atNaN, 0, 0};
    if (!isInside && !isAbove && bin != BIN_BELOW_GRID) return {P::atZero, 0, 0};
    unsigned int const lower = isInside ? static_cast<unsigned int>(bin) : isAbove ? last : 0;
    switch (isInside ? method : extrap) {
        case InterpType::Linear:
            return {P::between, lower, grid.positionOf(q, lower)};
        case InterpType::Nearest: {
            bool const isUpper = isInside ? grid.isNearerToUpper(q, lower) : isAbove;
            return {P::between, lower, T(isUpper ? 1 : 0)};
        }
        case InterpType::ExtrapValue:
            return {isInside ? P::atZero : P::atExtrapValue, 0, 0};
        default:
            return {P::atZero, 0, 0};
    }
}

/// The blend of two values. At a point it is that point's value, whatever the other is. What is rounded to
/// `float` on the way goes by the type of the position.
template <class V, class T>
GPU_DEVICE V blendLinear(V low, V high, T t) {
    return eachPart(low, high, [=](auto l, auto h) GPU_INLINE {
        using P = decltype(l);
        P blended = static_cast<P>(static_cast<double>(l) * (1 - static_cast<double>(t)));
        if constexpr (sizeof(P) < sizeof(T)) {
            blended = blended + static_cast<P>(static_cast<double>(h) * t);
        } else {
            blended = backend::fma(h, static_cast<P>(t), blended);
        }
        P const orHigh = t == 1 ? h : blended;
        return t == 0 ? l : orHigh;
    });
}

/// The result at a place that blends nothing.
template <class V, class T>
GPU_DEVICE V constantOf(Place<T> const& place, Constants<V> const& constants) {
    switch (place.kind) {
        case Place<T>::atExtrapValue:
            return constants.extrapValue;
        case Place<T>::atNaN:
            return constants.nan();
        default:
            return constants.zero();
    }
}

/// The result along a line of values.
template <class V, class T>
GPU_DEVICE V interpStage1d(Place<T> const& place, V const* values, Constants<V> const& constants) {
    if (place.kind != Place<T>::between) return constantOf(place, constants);
    return blendLinear(backend::loadReadOnly(values + place.lower),
                       backend::loadReadOnly(values + place.lower + 1), place.position);
}

/// The result at a place between blocks of values, `stride` apart, of which `lowerDims(block)` gives the
/// values: of both only where both count.
template <class V, class T, class LowerDims>
GPU_DEVICE V stageOver(Place<T> const& place, V const* values, unsigned int stride,
                       Constants<V> const& constants, LowerDims lowerDims) {
    if (place.kind != Place<T>::between) return constantOf(place, constants);
    V const* const lower = values + place.lower * stride;
    bool const isUpper = place.position == 1;
    V const low = lowerDims(isUpper ? lower + stride : lower);
    if (isUpper || place.position == 0) return low;
    return blendLinear(low, lowerDims(lower + stride), place.position);
}

/// `sizes` are those of the grid, dimension 0 first.
template <class V, class T>
GPU_DEVICE V interpolate2d(Place<T> const* places, unsigned int const* sizes, V const* values,
                           Constants<V> const& constants) {
    return stageOver(places[1], values, sizes[0], constants,
                     [&](V const* line) GPU_INLINE { return interpStage1d(places[0], line, constants); });
}

template <class V, class T>
GPU_DEVICE V interpolate3d(Place<T> const* places, unsigned int const* sizes, V const* values,
                           Constants<V> const& constants) {
    return stageOver(places[2], values, sizes[0] * sizes[1], constants,
                     [&](V const* slab) GPU_INLINE { return interpolate2d(places, sizes, slab, constants); });
}

// Above three dimensions each level is a call, which bounds the registers of a kernel.

template <class V, class T>
GPU_DEVICE_CALL V interpolate3d_noinline(Place<T> const* places, unsigned int const* sizes, V const* values,
                                         Constants<V> const& constants) {
    return interpolate3d(places, sizes, values, constants);
}

template <class V, class T>
GPU_DEVICE_CALL V interpolate4d(Place<T> const* places, unsigned int const* sizes, V const* values,
                                Constants<V> const& constants) {
    unsigned int const stride = sizes[0] * sizes[1] * sizes[2];
    return stageOver(places[3], values, stride, constants,
                     [&](V const* block) { return interpolate3d_noinline(places, sizes, block, constants); });
}

template <class V, class T>
GPU_DEVICE_CALL V interpolate5d(Place<T> const* places, unsigned int const* sizes, V const* values,
                                Constants<V> const& constants) {
    unsigned int const stride = sizes[0] * sizes[1] * sizes[2] * sizes[3];
    return stageOver(places[4], values, stride, constants,
                     [&](V const* block) { return interpolate4d(places, sizes, block, constants); });
}

}  // namespace gpuruntime::interp

#pragma once

#include <type_traits>

#include "device.hpp"
#include "frame/complex.hpp"
#include "math.hpp"

/// What reductions make of each element as they read it. A transform that looks for NaN names as its
/// `Equivalent` what is left of it where there is none, so that kernels share their code. One that holds for
/// a complex value where it holds for either part names the one for `OfPart`.
namespace gpuruntime::reductiontransforms {

namespace detail {

/// `ForFloating` if `T` has NaNs, else `Plain`.
template <class T, class ForFloating, class Plain>
using WhereNaN = std::conditional_t<std::is_floating_point_v<internal::Part<T>>, ForFloating, Plain>;

/// Whether `test` holds for a part of the value.
template <class T, class Test>
GPU_DEVICE bool anyPart(T value, Test test) {
    if constexpr (internal::isComplex<T>) {
        return test(value.x) | test(value.y);
    } else {
        return test(value);
    }
}

}  // namespace detail

template <class T>
struct IsNanTransform {
    using OfPart = IsNanTransform<internal::Part<T>>;

    static GPU_DEVICE bool apply(T value) {
        if constexpr (std::is_floating_point_v<internal::Part<T>>) {
            return detail::anyPart(value, [](auto part) { return backend::isNaN(part); });
        } else {
            return false;
        }
    }
};

template <class T>
struct IsInfTransform {
    using OfPart = IsInfTransform<internal::Part<T>>;

    static GPU_DEVICE bool apply(T value) {
        return detail::anyPart(value, [](auto part) { return backend::isInf(part); });
    }
};

template <class T>
struct IsNanOrInfTransform {
    using OfPart = IsNanOrInfTransform<internal::Part<T>>;

    static GPU_DEVICE bool apply(T value) {
        return detail::anyPart(value, [](auto part) { return !backend::isFinite(part); });
    }
};

/// NaN is not equal to 0, so it counts.
template <class T>
struct IsNotZero {
    using OfPart = IsNotZero<internal::Part<T>>;

    static GPU_DEVICE bool apply(T value) {
        return detail::anyPart(value, [](auto part) { return part != 0; });
    }
};

template <class T>
struct IsNotZeroAndNotNaN {
    using Equivalent = detail::WhereNaN<T, IsNotZeroAndNotNaN, IsNotZero<T>>;

    static GPU_DEVICE bool apply(T value) {
        return IsNotZero<T>::apply(value) & !IsNanTransform<T>::apply(value);
    }
};

/// 1 for an element that `IsNotZero`.
template <class T>
struct FlagNonZero {
    static GPU_DEVICE double apply(T value) { return IsNotZero<T>::apply(value) ? 1.0 : 0.0; }
};

template <class T>
struct NoOp {
    static GPU_DEVICE T apply(T value) { return value; }
};

/// To `double`, or part by part to `double2`.
template <class TIn, class TOut>
struct Cast {
    static GPU_DEVICE TOut apply(TIn value) {
        if constexpr (internal::isComplex<TIn>) {
            return {static_cast<double>(value.x), static_cast<double>(value.y)};
        } else {
            return static_cast<double>(value);
        }
    }
};

namespace detail {

/// The real number `number` where the value, or a part of it, is NaN.
template <class T, int number>
GPU_DEVICE T nanReplaced(T value) {
    if constexpr (!std::is_floating_point_v<internal::Part<T>>) {
        return value;
    } else {
        bool const replaced = IsNanTransform<T>::apply(value);
        if constexpr (internal::isComplex<T>) {
            using P = internal::Part<T>;
            return {replaced ? P(number) : value.x, replaced ? P(0) : value.y};
        } else {
            return replaced ? T(number) : value;
        }
    }
}

}  // namespace detail

template <class T>
struct NaNAsZero {
    using Equivalent = detail::WhereNaN<T, NaNAsZero, NoOp<T>>;

    static GPU_DEVICE T apply(T value) { return detail::nanReplaced<T, 0>(value); }
};

template <class T>
struct NaNAsOne {
    using Equivalent = detail::WhereNaN<T, NaNAsOne, NoOp<T>>;

    static GPU_DEVICE T apply(T value) { return detail::nanReplaced<T, 1>(value); }
};

template <class TIn, class TOut>
struct CastWithNaNAsZero {
    using Equivalent = detail::WhereNaN<TIn, CastWithNaNAsZero, Cast<TIn, TOut>>;

    static GPU_DEVICE TOut apply(TIn value) { return Cast<TIn, TOut>::apply(NaNAsZero<TIn>::apply(value)); }
};

template <class TIn, class TOut>
struct CastWithNaNAsOne {
    using Equivalent = detail::WhereNaN<TIn, CastWithNaNAsOne, Cast<TIn, TOut>>;

    static GPU_DEVICE TOut apply(TIn value) { return Cast<TIn, TOut>::apply(NaNAsOne<TIn>::apply(value)); }
};

}  // namespace gpuruntime::reductiontransforms

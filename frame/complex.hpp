#pragma once

#include <vector_types.h>

#include <type_traits>

namespace gpuruntime::internal {

/// Whether `T` is one of the two-component types that hold complex values.
template <class T, class = void>
inline constexpr bool isComplex = false;
template <class T>
inline constexpr bool isComplex<T, std::void_t<decltype(T::x), decltype(T::y)>> = true;

/// The type of a value's parts: `float` for `float2`, and a real type itself.
template <class T, class = void>
struct PartOf {
    using type = T;
};
template <class T>
struct PartOf<T, std::enable_if_t<isComplex<T>>> {
    using type = decltype(T::x);
};

template <class T>
using Part = typename PartOf<T>::type;

}  // namespace gpuruntime::internal

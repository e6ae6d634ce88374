#pragma once

#include <vector_types.h>

/// The element types that families are instantiated for.
namespace gpuruntime::internal {

template <class... T>
struct TypeList {};

template <class... Lists>
struct Concatenated;
template <class... T>
struct Concatenated<TypeList<T...>> {
    using type = TypeList<T...>;
};
template <class... T, class... U, class... Rest>
struct Concatenated<TypeList<T...>, TypeList<U...>, Rest...> : Concatenated<TypeList<T..., U...>, Rest...> {};

template <class... Lists>
using Concatenate = typename Concatenated<Lists...>::type;

using Boolean = TypeList<bool>;
using Integers =
    TypeList<signed char, unsigned char, short, unsigned short, int, unsigned int, long, unsigned long>;
using FloatingReal = TypeList<float, double>;
using ComplexIntegers = TypeList<char2, uchar2, short2, ushort2, int2, uint2, long2, ulong2>;
using FloatingComplex = TypeList<float2, double2>;

using RealNumeric = Concatenate<Integers, FloatingReal>;
using Floating = Concatenate<FloatingReal, FloatingComplex>;
using FloatingWithBool = Concatenate<Boolean, Floating>;
using Ordered = Concatenate<Boolean, RealNumeric, FloatingComplex>;
using All = Concatenate<Boolean, RealNumeric, ComplexIntegers, FloatingComplex>;

}  // namespace gpuruntime::internal

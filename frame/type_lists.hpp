#pragma once

#include <vector_types.h>

#include <type_traits>

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

template <class T, class... Others>
inline constexpr bool isOneOf = (std::is_same_v<T, Others> || ...);

#ifdef KVGPURUNTIME_SAMPLE_INSTANCES
/// Types of each kind and each size: a logical, narrow, middle and wide integers, the floating ones, real and
/// complex, and an integer pair. Builds that only check the library are made for these.
template <class T>
inline constexpr bool isBuilt =
    isOneOf<T, bool, signed char, int, unsigned long, float, double, char2, float2, double2>;
#else
template <class T>
inline constexpr bool isBuilt = true;
#endif

template <class List, class... Added>
struct Joined;
template <class... T, class... Added>
struct Joined<TypeList<T...>, Added...>
    : Concatenated<TypeList<T...>, std::conditional_t<isOneOf<Added, T...>, TypeList<>, TypeList<Added>>...> {
};

/// A list and those of the given types that it lacks in this build: the types that a family treats apart.
template <class List, class... Added>
using With = typename Joined<List, Added...>::type;

/// Those of the types that families are built for.
template <class... T>
using Built = Concatenate<std::conditional_t<isBuilt<T>, TypeList<T>, TypeList<>>...>;

using Boolean = Built<bool>;
using Integers =
    Built<signed char, unsigned char, short, unsigned short, int, unsigned int, long, unsigned long>;
using FloatingReal = Built<float, double>;
using ComplexIntegers = Built<char2, uchar2, short2, ushort2, int2, uint2, long2, ulong2>;
using FloatingComplex = Built<float2, double2>;

using RealNumeric = Concatenate<Integers, FloatingReal>;
using Real = Concatenate<Boolean, RealNumeric>;
using Complex = Concatenate<ComplexIntegers, FloatingComplex>;
using Floating = Concatenate<FloatingReal, FloatingComplex>;
using FloatingWithBool = Concatenate<Boolean, Floating>;
using Ordered = Concatenate<Real, FloatingComplex>;
using All = Concatenate<Real, Complex>;

/// The real types of families that convert to them from `double`, which each width and sign does in its own
/// way.
using ConvertedReal = With<RealNumeric, unsigned char, short, unsigned short, unsigned int, long>;

}  // namespace gpuruntime::internal

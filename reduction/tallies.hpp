#pragma once

#include <limits>
#include <type_traits>

#include "device.hpp"
#include "frame/complex.hpp"
#include "reduction/operators.hpp"
#include "reduction/transforms.hpp"

/// Reductions that a whole number decides: how many elements raise a flag, or what small integers come to.
/// It is exact, so elements may be tallied in any grouping, and in numbers no wider than they are.
namespace gpuruntime::reductionkernels {

namespace detail {

/// The unsigned integer of so many bytes, of at most eight.
template <unsigned int size>
using UnsignedOf =
    std::conditional_t<size == 1, unsigned char,
                       std::conditional_t<size == 2, unsigned short,
                                          std::conditional_t<size == 4, unsigned int, unsigned long>>>;

/// How many values of a magnitude of at most `most` a `Number` can take in, or a million.
template <class Number>
constexpr unsigned int capacityFor(unsigned long most) {
    unsigned long const count = static_cast<unsigned long>(std::numeric_limits<Number>::max()) / most;
    return count < 1000000 ? static_cast<unsigned int>(count) : 1000000;
}

/// A test of an element, or of either part of a complex one.
template <class Test, class T, class = void>
struct TestOf {
    using Element = T;
    using type = Test;
};
template <class Test, class T>
struct TestOf<Test, T, std::void_t<typename Test::OfPart>> {
    using Element = internal::Part<T>;
    using type = typename Test::OfPart;
};

template <>
struct TestOf<reductiontransforms::IsNotZero<bool>, bool> {
    using Element = unsigned char;  // of `bool` loops do not vectorise
    using type = reductiontransforms::IsNotZero<unsigned char>;
};

/// How many elements, or of complex ones parts, are as `expected`.
template <class Test, class T, bool expected>
struct TestTally {
    static constexpr bool exists = true;
    using Element = T;
    using Number = UnsignedOf<sizeof(T)>;
    static constexpr unsigned int capacity = capacityFor<Number>(1);

    static GPU_DEVICE Number of(T value) { return Test::apply(value) == expected ? 1 : 0; }
};

template <class Test, class T>
using AnyTally = TestTally<typename TestOf<Test, T>::type, typename TestOf<Test, T>::Element, true>;

}  // namespace detail

/// What `Operator` combines of what `Transform` makes of each `T` is `result(total)`, the total being that
/// of `of(element)` for each `Element` of which the array consists. A `Number` takes in `capacity` of them.
template <class Operator, class Transform, class T, class = void>
struct Tally {
    static constexpr bool exists = false;
};

template <class Transform, class T>
struct Tally<reductionoperators::Or, Transform, T,
             std::enable_if_t<std::is_same_v<bool, decltype(Transform::apply(T{}))>>>
    : detail::AnyTally<Transform, T> {
    static GPU_DEVICE unsigned char result(long total) { return total != 0; }
};

template <class Transform, class T>
struct Tally<reductionoperators::And, Transform, T,
             std::enable_if_t<std::is_same_v<bool, decltype(Transform::apply(T{}))>>>
    : detail::TestTally<Transform, T, false> {
    static GPU_DEVICE unsigned char result(long total) { return total == 0; }
};

template <class T>
struct Tally<reductionoperators::Sum<double>, reductiontransforms::FlagNonZero<T>, T>
    : detail::TestTally<reductiontransforms::IsNotZero<T>, T, true> {
    static GPU_DEVICE double result(long total) { return static_cast<double>(total); }
};
template <>
struct Tally<reductionoperators::Sum<double>, reductiontransforms::FlagNonZero<bool>, bool>
    : detail::AnyTally<reductiontransforms::IsNotZero<bool>, bool> {
    static GPU_DEVICE double result(long total) { return static_cast<double>(total); }
};
template <>
struct Tally<reductionoperators::Sum<double>, reductiontransforms::Cast<bool, double>, bool>
    : Tally<reductionoperators::Sum<double>, reductiontransforms::FlagNonZero<bool>, bool> {};

/// Of integers of one and two bytes no sum of 2^32 reaches 2^53.
template <class T>
struct Tally<reductionoperators::Sum<double>, reductiontransforms::Cast<T, double>, T,
             std::enable_if_t<std::is_integral_v<T> && !std::is_same_v<T, bool> && sizeof(T) <= 2>> {
    static constexpr bool exists = true;
    using Element = T;
    using Wider = std::conditional_t<sizeof(T) == 1, short, int>;
    using Number = std::conditional_t<std::is_signed_v<T>, Wider, std::make_unsigned_t<Wider>>;
    static constexpr unsigned int capacity =
        detail::capacityFor<Number>(1ul << (8 * sizeof(T) - (std::is_signed_v<T> ? 1 : 0)));

    static GPU_DEVICE Number of(T value) { return value; }
    static GPU_DEVICE double result(long total) { return static_cast<double>(total); }
};

}  // namespace gpuruntime::reductionkernels

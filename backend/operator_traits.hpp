#pragma once

#include <type_traits>

/// What an operator may offer besides its identity and `combine`.
namespace gpuruntime::backend {

/// Whether it can also combine values one after another, and tell whether the order matters.
template <class Operator, class = void>
inline constexpr bool hasSequence = false;
template <class Operator>
inline constexpr bool hasSequence<Operator, std::void_t<typename Operator::Sequence>> = true;

/// Whether `combine` takes branches that hardly any value needs: `isPlain` tells of two values whether
/// `combinePlainly`, which takes none, does.
template <class Operator, class = void>
inline constexpr bool isGuarded = false;
template <class Operator>
inline constexpr bool isGuarded<Operator, std::enable_if_t<Operator::isGuarded>> = true;

/// Whether `combine` is the sum, or the product, of two integers held at the ends of their range.
template <class Operator, class = void>
inline constexpr bool isSaturatingSum = false;
template <class Operator>
inline constexpr bool isSaturatingSum<Operator, std::enable_if_t<Operator::isSaturatingSum>> = true;

template <class Operator, class = void>
inline constexpr bool isSaturatingProduct = false;
template <class Operator>
inline constexpr bool isSaturatingProduct<Operator, std::enable_if_t<Operator::isSaturatingProduct>> = true;

}  // namespace gpuruntime::backend

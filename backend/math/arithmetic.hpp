#pragma once

#include <cstddef>
#include <iterator>
#include <utility>

#include "lanes.hpp"
#include "math.hpp"

/// What the mathematical functions are made of. They are written over `D`, which is `double` or, a vector on
/// the host, `DoubleLanes`: one fixed sequence of IEEE operations and selects, so that a value is the same
/// bits in every lane and thread of either device. The numbers in them are those that scripts/fit_math.py
/// prints, which also says what each polynomial stands for. Functions of `float` values are those of `double`
/// values, rounded. Special cases are those of the C standard's Annex F. docs/performance.md tells how errors
/// were looked for.
namespace gpuruntime::backend {

template <class D>
using WordOf = decltype(bitsOf(D{}));

inline constexpr double infinity = __builtin_inf();
inline constexpr double notANumber = __builtin_nan("");

/// A sum held in two numbers, `low` being small beside `high`.
template <class D>
struct DoubleWord {
    D high, low;
};

/// a + b exactly. T. J. Dekker, "A floating-point technique for extending the available precision" (1971);
/// `a` is not below `b` in magnitude, or 0.
template <class D, class E>
GPU_DEVICE DoubleWord<E> orderedSum(D a, E b) {
    E const sum = a + b;
    return {sum, b - (sum - a)};
}

/// The same for any `a` and `b`. D. E. Knuth, The Art of Computer Programming, volume 2.
template <class D>
GPU_DEVICE DoubleWord<D> exactSum(D a, D b) {
    D const sum = a + b;
    D const ofB = sum - a;
    return {sum, (a - (sum - ofB)) + (b - ofB)};
}

/// a * b exactly, unless the low part underflows.
template <class D>
GPU_DEVICE DoubleWord<D> exactProduct(D a, D b) {
    D const product = a * b;
    return {product, fma(a, b, -product)};
}

namespace mathdetail {

/// Code of the GPU may use constants of the host by their values only.
template <auto const& list, std::size_t i>
inline constexpr double entry = list[i];

template <auto const& list, class D, std::size_t... i>
GPU_DEVICE D horner(D x, std::index_sequence<i...>) {
    constexpr std::size_t n = sizeof...(i) + 2;
    D value = fma(x, entry<list, n - 1>, entry<list, n - 2>);
    ((value = fma(value, x, entry<list, n - 3 - i>)), ...);
    return value;
}

}  // namespace mathdetail

/// The polynomial with the given coefficients, of which the constant one is the first, by Horner's rule.
template <auto const& coefficients, class D>
GPU_DEVICE D polynomial(D x) {
    return mathdetail::horner<coefficients>(x, std::make_index_sequence<std::size(coefficients) - 2>());
}

/// Added to a number within 2^51 of 0 it leaves the nearest integer in the low bits of the sum.
inline constexpr double integerOrigin = 0x1.8p52;

/// 2 to the integer whose sum with `integerOrigin` is given, from -1022 to 1023.
template <class D>
GPU_DEVICE D powerOfTwo(D shifted) {
    constexpr unsigned long one = 0x3ff0000000000000;
    return withBits((bitsOf(shifted) << 52) + one);
}

}  // namespace gpuruntime::backend

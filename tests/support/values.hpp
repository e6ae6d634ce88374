#pragma once

#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "tests/support/elements.hpp"

namespace gpuruntime::testing {

/// Sizes around those at which warps, blocks and tiles end.
inline std::vector<unsigned long> boundarySizes() {
    return {1,   2,   3,   15,  16,  17,  31,  32,  33,  63,   64,  65,
            127, 128, 129, 255, 256, 257, 511, 512, 513, 1000, 5000};
}

/// The values of `T` at which rules change: for floating types both zeros, denormals, both NaNs, infinities
/// and extremes; for integers the ends of the range.
template <class T>
std::vector<T> specialReals() {
    using Limits = std::numeric_limits<T>;
    if constexpr (std::is_same_v<T, bool>) {
        return {false, true};
    } else if constexpr (std::is_floating_point_v<T>) {
        T const nan = Limits::quiet_NaN();
        return {T(0),
                -T(0),
                T(1),
                T(-1),
                T(0.5),
                T(-2.5),
                T(1e6),
                Limits::max(),
                Limits::lowest(),
                Limits::min(),
                -Limits::min(),
                Limits::denorm_min(),
                -Limits::denorm_min(),
                Limits::infinity(),
                -Limits::infinity(),
                nan,
                std::copysign(nan, T(-1)),
                Limits::epsilon(),
                Limits::max() / 2,
                T(3)};
    } else {
        return {T(0),
                T(1),
                T(-1),
                T(2),
                T(100),
                Limits::max(),
                T(Limits::max() - 1),
                Limits::min(),
                T(Limits::min() + 1)};
    }
}

/// The special values of `T`; for complex types every pair of special parts.
template <class T>
Elements<T> specialValues() {
    using Part = internal::Part<T>;
    auto const reals = specialReals<Part>();
    Elements<T> values;
    if constexpr (internal::isComplex<T>) {
        for (Part re : reals) {
            for (Part im : reals) values.push_back({re, im});
        }
    } else {
        for (Part value : reals) values.push_back(value);
    }
    return values;
}

template <class T, class Engine>
T randomReal(Engine& engine) {
    if constexpr (std::is_same_v<T, bool>) {
        return engine() % 2 == 0;
    } else if constexpr (std::is_floating_point_v<T>) {
        return static_cast<T>(std::uniform_real_distribution<double>(-1000, 1000)(engine));
    } else {
        return static_cast<T>(engine());
    }
}

/// `n` pseudo-random values: floating values in [-1000, 1000), integers over their whole range.
template <class T>
Elements<T> randomValues(std::size_t n, unsigned long seed = 1) {
    using Part = internal::Part<T>;
    std::mt19937_64 engine(seed);
    Elements<T> values;
    values.reserve(n);
    for (std::size_t i = 0; i < n; ++i) {
        if constexpr (internal::isComplex<T>) {
            Part const re = randomReal<Part>(engine);
            values.push_back({re, randomReal<Part>(engine)});
        } else {
            values.push_back(randomReal<Part>(engine));
        }
    }
    return values;
}

/// `n` pseudo-random values among which every `spacing`-th is a special one, in turn.
template <class T>
Elements<T> mixedValues(std::size_t n, std::size_t spacing = 5, unsigned long seed = 1) {
    Elements<T> values = randomValues<T>(n, seed);
    Elements<T> const special = specialValues<T>();
    for (std::size_t i = 0, next = seed; i < n; i += spacing, ++next)
        values[i] = special[next % special.size()];
    return values;
}

}  // namespace gpuruntime::testing

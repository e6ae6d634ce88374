#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "tests/reduction/reference.hpp"
#include "tests/support/sampled.hpp"
#include "tests/support/test_types.hpp"
#include "tests/support/values.hpp"

namespace gpuruntime::testing {

using reference::Shape;

/// Contiguous segments around the lengths at which kernels, rows and tiles change, the last whole or short,
/// and strided arrays around the width of a block.
inline std::vector<Shape> reductionShapes() {
    std::vector<Shape> shapes;
    for (unsigned long length : {1,  2,  3,   4,   5,   8,   9,   16,  17,  31,   32,   33,
                                 64, 65, 127, 128, 129, 255, 256, 257, 513, 1000, 1280, 2600}) {
        shapes.push_back({length, length, 1});
        shapes.push_back({3 * length, length, 1});
        if (length > 1) shapes.push_back({7 * length + 1, length, 1});
        unsigned long const many = length > 128 ? 20 : 300;
        shapes.push_back({many * length + length / 2, length, 1});
    }
    for (unsigned long stride : {2, 3, 127, 128, 129, 255, 256, 257, 600}) {
        for (unsigned long length : {1, 2, 17}) {
            for (unsigned long outer : {1, 5}) shapes.push_back({stride * length * outer, length, stride});
        }
    }
    return sampled(shapes);
}

/// Whether a launch that steps in both dimensions on a grid of 2 by 2 comes by column `x` of slice `y`, with
/// blocks of `width` columns.
inline bool onDiagonal(unsigned long x, unsigned long y, unsigned long width) {
    return x / width / 2 == y / 2;
}

/// Inputs of `n` elements: random ones, random ones among special ones, and small ones.
template <class T>
std::vector<Elements<T>> reductionInputs(unsigned long n) {
    using P = internal::Part<T>;
    std::vector<Elements<T>> inputs{mixedValues<T>(n, 37, n), mixedValues<T>(n, 1, n)};
    Elements<T> small;
    for (unsigned long i = 0; i < n; ++i) {
        P const value = static_cast<P>(i * 2654435761u % 7 % 4);
        if constexpr (internal::isComplex<T>) {
            small.push_back({value, static_cast<P>(i % 3)});
        } else {
            small.push_back(value);
        }
    }
    inputs.push_back(small);
    return inputs;
}

}  // namespace gpuruntime::testing

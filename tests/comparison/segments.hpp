#pragma once

#include "comparison.hpp"

namespace gpuruntime::comparison {

/// Segments of an array, contiguous, the last perhaps short, or strided.
struct Segments {
    unsigned long length, stride, numElements;

    explicit Segments(Case& call) {
        constexpr unsigned long most = 15000;
        stride = call.flag() ? 1 : call.number(2, 600);
        length = call.number(1, most / stride);
        numElements = length * stride * call.number(1, most / (length * stride));
        if (stride == 1) numElements -= call.number(0, length);
    }

    unsigned long count() const { return (numElements + length - 1) / length; }
};

}  // namespace gpuruntime::comparison

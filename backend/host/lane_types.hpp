#pragma once

#include "lanes.hpp"

namespace gpuruntime::backend {

using FloatLanes = float __attribute__((vector_size(32)));

GPU_DEVICE FloatLanes fma(FloatLanes a, FloatLanes b, FloatLanes c) { return _mm256_fmadd_ps(a, b, c); }

/// As many values of a floating type as fit a machine vector.
template <class T>
struct LanesOf;
template <>
struct LanesOf<float> {
    using type = FloatLanes;
    static constexpr unsigned int lanes = 8;
};
template <>
struct LanesOf<double> {
    using type = DoubleLanes;
    static constexpr unsigned int lanes = 4;
};

}  // namespace gpuruntime::backend

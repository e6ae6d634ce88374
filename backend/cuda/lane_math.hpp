#pragma once

#include <cmath>

#include "lanes.hpp"

/// What normal values are made with.
namespace gpuruntime::backend {

/// The natural logarithm of a positive, normal, finite number.
GPU_DEVICE DoubleLanes log(DoubleLanes x) { return ::log(x); }

/// The sine and cosine of an angle in [0, 2 pi].
GPU_DEVICE void sinCos(DoubleLanes angle, DoubleLanes& sine, DoubleLanes& cosine) {
    ::sincos(angle, &sine, &cosine);
}

/// The inverse of the complementary error function on [0, 2), where an argument other than 0 is at least
/// 2^-56; infinity at 0.
GPU_DEVICE DoubleLanes erfcInverse(DoubleLanes y) { return ::erfcinv(y); }

}  // namespace gpuruntime::backend

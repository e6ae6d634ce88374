#pragma once

#include "conversion.hpp"
#include "device.hpp"
#include "math.hpp"

namespace gpuruntime::imresize {

/// Cubic convolution with the parameter -1/2.
GPU_DEVICE float cubicWeight(float x) {
    float const a = backend::abs(x), a2 = a * a, a3 = a2 * a;
    float const inner = 1.5f * a3 - 2.5f * a2 + 1.0f;
    float const outer = -0.5f * a3 + 2.5f * a2 - 4.0f * a + 2.0f;
    return (a <= 1 ? inner : 0.0f) + ((a > 1) & (a <= 2) ? outer : 0.0f);
}

/// One dimension of an image that is resized: which input positions count for an output position, its taps,
/// and how much. Taps are counted from the input position below.
struct Taps {
    double invScale, scale;
    unsigned int size;  ///< of the input
    bool isWidened;     ///< whether the image shrinks

    /// Where an output position is in the input: `below` is whole.
    struct Place {
        double below, fraction;
    };

    GPU_DEVICE Place placeOf(unsigned int i) const {
        double const u = invScale * (i + 0.5) - 0.5;
        double const below = backend::floor(u);
        return {below, u - below};
    }

    GPU_DEVICE float first() const {
        return isWidened ? static_cast<float>(backend::floor(-2 * invScale)) : -1.0f;
    }
    GPU_DEVICE float last() const {
        return isWidened ? static_cast<float>(-backend::floor(-2 * invScale)) : 2.0f;
    }

    GPU_DEVICE float weight(float tap, Place at) const {
        double const distance = tap - at.fraction;
        return cubicWeight(static_cast<float>(isWidened ? scale * distance : distance));
    }

    /// The input position of a tap; beyond the edges theirs.
    GPU_DEVICE unsigned int position(float tap, Place at) const {
        double const position = at.below + tap, last = static_cast<double>(size) - 1;
        double const raised = position > 0 ? position : 0;
        return static_cast<unsigned int>(backend::toIntegerInside<int>(raised < last ? raised : last));
    }
};

}  // namespace gpuruntime::imresize

#pragma once

#include "device.hpp"

namespace gpuruntime::internal {

/// Division by a divisor that is the same for a whole launch, of dividends below 2^21: several times faster
/// than `InvariantDivisor`. In (a + 1/2) / d, as `float`, the half keeps the quotient 1 / (2d) away from
/// every whole number, which is more than it is wrong by: less than 2^-23 of itself, or 1 / (4d).
class SmallInvariantDivisor {
  public:
    static constexpr unsigned int dividendLimit = 1u << 21;

    /// With a `divisor` of 0 or of more than 2^21 quotients mean nothing.
    explicit SmallInvariantDivisor(unsigned int divisor)
        : divisor(static_cast<int>(divisor)), reciprocal(1 / static_cast<float>(divisor)) {}

    GPU_DEVICE int quotient(int dividend) const {
        return static_cast<int>((static_cast<float>(dividend) + 0.5f) * reciprocal);
    }

    GPU_DEVICE int remainder(int dividend) const { return dividend - quotient(dividend) * divisor; }

  private:
    int divisor;
    float reciprocal;
};

}  // namespace gpuruntime::internal

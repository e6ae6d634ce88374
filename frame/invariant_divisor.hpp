#pragma once

#include "device.hpp"

namespace gpuruntime::internal {

/// Unsigned 32-bit division by a divisor that is the same for a whole launch, as a multiplication and two
/// shifts. Division by 0 gives all bits set, as the GPU's own division does.
///
/// Source: T. Granlund, P. L. Montgomery, Division by Invariant Integers using Multiplication, PLDI 1994,
/// figure 4.1.
class InvariantDivisor {
  public:
    explicit InvariantDivisor(unsigned int divisor) : divisor(divisor) {
        if (divisor < 2) return;
        unsigned int const log2 = 32 - static_cast<unsigned int>(__builtin_clz(divisor - 1));
        multiplier = static_cast<unsigned int>(((1ul << 32) * ((1ul << log2) - divisor)) / divisor + 1);
        shift = log2 - 1;
    }

    GPU_DEVICE unsigned int quotient(unsigned int dividend) const {
        if (divisor < 2) return divisor == 0 ? ~0u : dividend;
        unsigned int const high =
            static_cast<unsigned int>((static_cast<unsigned long>(multiplier) * dividend) >> 32);
        return (high + ((dividend - high) >> 1)) >> shift;
    }

    GPU_DEVICE unsigned int remainder(unsigned int dividend) const {
        return dividend - quotient(dividend) * divisor;
    }

  private:
    unsigned int divisor;
    unsigned int multiplier = 0;
    unsigned int shift = 0;
};

}  // namespace gpuruntime::internal

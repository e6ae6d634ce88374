#pragma once

#include "device.hpp"

namespace gpuruntime::internal {

/// Unsigned 32-bit division by a divisor that is the same for a whole launch, as a multiplication and two
/// shifts, without branches. Division by 0 gives all bits set, as the GPU's own division does.
///
/// Source: T. Granlund, P. L. Montgomery, Division by Invariant Integers using Multiplication, PLDI 1994,
/// figure 4.1.
class InvariantDivisor {
  public:
    explicit InvariantDivisor(unsigned int divisor) : divisor(divisor) {
        if (divisor == 0) {
            ifZero = ~0u;
            return;
        }
        unsigned int const log2 =
            divisor == 1 ? 0 : 32 - static_cast<unsigned int>(__builtin_clz(divisor - 1));
        multiplier = static_cast<unsigned int>(((1ul << 32) * ((1ul << log2) - divisor)) / divisor + 1);
        shift1 = log2 == 0 ? 0 : 1;
        shift2 = log2 - shift1;
    }

    GPU_DEVICE unsigned int quotient(unsigned int dividend) const {
        unsigned int const high =
            static_cast<unsigned int>((static_cast<unsigned long>(multiplier) * dividend) >> 32);
        return (high + ((dividend - high) >> shift1)) >> shift2 | ifZero;
    }

    GPU_DEVICE unsigned int remainder(unsigned int dividend) const {
        return dividend - quotient(dividend) * divisor;
    }

  private:
    unsigned int divisor;
    unsigned int multiplier = 0;
    unsigned int shift1 = 0, shift2 = 0;
    unsigned int ifZero = 0;
};

}  // namespace gpuruntime::internal

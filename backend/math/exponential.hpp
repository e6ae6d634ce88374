#pragma once

#include "backend/math/arithmetic.hpp"

namespace gpuruntime::backend {
namespace mathdetail {

/// e^r = 1 + r + r^2 p(r), for |r| up to ln 2 / 2.
inline constexpr double expTerm[] = {
    0x1.0000000000000p-1,  0x1.5555555555557p-3,  0x1.5555555555556p-5,  0x1.11111111100dcp-7,
    0x1.6c16c16c162d4p-10, 0x1.a01a01abe7fe1p-13, 0x1.a01a01a6d889cp-16, 0x1.71de0231960ecp-19,
    0x1.27e4db646b179p-22, 0x1.af4de97ca4167p-26, 0x1.1f7303498710fp-29,
};

inline constexpr double log2e = 0x1.71547652b82fep+0;
inline constexpr double ln2High = 0x1.62e42fefa3800p-1;  // 42 bits: its products with exponents are exact
inline constexpr double ln2Low = 0x1.ef35793c76730p-45;

/// e^(x.high + x.low) for |x.high| up to 800: 2^k e^r, where k is the integer nearest to x / ln 2, and r what
/// k ln 2 leaves of x. The power of two is applied in two steps, of which only the second can round.
template <class D>
GPU_DEVICE D expOfSum(DoubleWord<D> x) {
    D const shifted = fma(x.high, log2e, integerOrigin);
    D const k = shifted - integerOrigin;
    DoubleWord<D> const r = orderedSum(fma(k, -ln2High, x.high), fma(k, -ln2Low, x.low));
    DoubleWord<D> const head = orderedSum(1.0, r.high);
    D const tail = fma(r.high * r.high, polynomial<expTerm>(r.high), fma(r.low, r.high, r.low));
    D const value = head.high + (head.low + tail);

    D const shiftedHalf = fma(k, 0.5, integerOrigin);
    D const otherHalf = k - (shiftedHalf - integerOrigin);
    return value * powerOfTwo(shiftedHalf) * powerOfTwo(otherHalf + integerOrigin);
}

}  // namespace mathdetail

/// e^x; largest error seen 0.75 ulp, below the normal numbers.
template <class D>
GPU_DEVICE D exp(D x) {
    D const raised = x > -750.0 ? x : -750.0;
    D const value = mathdetail::expOfSum<D>({raised < 750.0 ? raised : 750.0, D{}});
    return x == x ? value : notANumber;
}

GPU_DEVICE float exp(float x) { return static_cast<float>(exp(static_cast<double>(x))); }

}  // namespace gpuruntime::backend

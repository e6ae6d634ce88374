#pragma once

#include "backend/math/arithmetic.hpp"

namespace gpuruntime::backend {
namespace mathdetail {

/// arctan q = q + q z p(z) with z = q^2, for |q| up to sqrt(2) - 1.
inline constexpr double atanTerm[] = {
    -0x1.5555555555555p-2, 0x1.9999999999953p-3, -0x1.249249248d7dcp-3, 0x1.c71c71c303dbbp-4,
    -0x1.745d165dc9713p-4, 0x1.3b1392d519db1p-4, -0x1.110e87b4357c8p-4, 0x1.e19a0bfa3ee31p-5,
    -0x1.ac7a5a79b3a12p-5, 0x1.74dccfb93eb36p-5, -0x1.1b311bb4891dap-5, 0x1.0acd9e919f898p-6,
};

}  // namespace mathdetail

/// The angle of the point (`x`, `y`), in [-pi, pi]; largest error seen 0.72 ulp. Special cases are those of
/// the C standard's Annex F.
///
/// Of the smaller magnitude n and the larger d, arctan(n / d) is taken where n / d is below sqrt(2) - 1, and
/// elsewhere pi / 4 + arctan((n - d) / (n + d)); the angle is that, or its difference from a multiple of pi
/// / 2. Quotient and multiple are held in two words.
template <class D>
GPU_DEVICE D atan2(D y, D x) {
    constexpr double eighthHigh = 0x1.921fb54442d18p-1,
                     eighthLow = 0x1.1a62633145c07p-55;  // of a turn: pi / 4
    constexpr double large = 0x1p1000, small = 0x1p-900, rootOfTwoLessOne = 0x1.a827999fcef32p-2;
    D const ax = abs(x), ay = abs(y);
    auto const isSteep = ay > ax;
    D const least = isSteep ? ax : ay, most = isSteep ? ay : ax;

    // Brought to where neither sums overflow nor low parts underflow; two infinities are as two ones.
    D const scale = most > large ? 0x1p-200 : most < small ? 0x1p200 : 1.0;
    D const ofInfinity = least == infinity ? 1.0 : 0.0;
    D const n = most == infinity ? ofInfinity : least * scale;
    D const finite = most == 0.0 ? 1.0 : most * scale;
    D const d = most == infinity ? 1.0 : finite;

    auto const isWide = n > rootOfTwoLessOne * d;
    DoubleWord<D> const difference = orderedSum(d, -n), sum = orderedSum(d, n);
    D const numerator = isWide ? -difference.high : n, numeratorLow = isWide ? -difference.low : 0.0;
    D const denominator = isWide ? sum.high : d, denominatorLow = isWide ? sum.low : 0.0;
    D const q = numerator / denominator;
    D const left = fma(-q, denominator, numerator) + (numeratorLow - q * denominatorLow);
    D const tail = fma(q * q * q, polynomial<mathdetail::atanTerm>(q * q), left / denominator);

    // The angle is `eighths` of a turn more or less.
    auto const isLeft = copySign(D{} + 1.0, x) < 0.0;
    D const ofOctant = isWide ? 1.0 : 0.0;
    D const ofQuadrant = isSteep ? 2.0 - ofOctant : ofOctant;
    D const eighths = isLeft ? 4.0 - ofQuadrant : ofQuadrant;
    auto const isLess = isSteep != isLeft;
    DoubleWord<D> const base = exactProduct(eighths, D{} + eighthHigh);
    DoubleWord<D> const angle = orderedSum(base.high, isLess ? -q : q);
    D const low = fma(eighths, eighthLow, base.low) + (angle.low + (isLess ? -tail : tail));
    D const value = copySign(angle.high + low, y);
    return (x != x) | (y != y) ? notANumber : value;
}

GPU_DEVICE float atan2(float y, float x) {
    return static_cast<float>(atan2(static_cast<double>(y), static_cast<double>(x)));
}

}  // namespace gpuruntime::backend

#pragma once

#include "backend/math/arithmetic.hpp"
#include "backend/math/exponential.hpp"
#include "backend/math/logarithm.hpp"

namespace gpuruntime::backend {
namespace mathdetail {

/// e^x, where x may be of any size.
template <class D>
GPU_DEVICE D expOfAnySum(DoubleWord<D> x) {
    constexpr double far = 800;
    D const raised = x.high > -far ? x.high : -far;
    return expOfSum<D>({raised < far ? raised : far, abs(x.high) < far ? x.low : 0.0});
}

/// x^y from |x|^y, which holds where both are finite and x is not 0: the sign, and the special cases.
template <class D>
GPU_DEVICE D signedPower(D x, D y, D magnitude) {
    D const ax = abs(x), ay = abs(y);
    D const half = y * 0.5;
    auto const isIntegral = floor(y) == y;
    auto const isOdd = isIntegral & (floor(half) != half);  // from 2^53 on all are even
    auto const grows = (ax > 1.0) == (y > 0.0);

    D const limit = grows ? infinity : 0.0;
    D const atEdge = ax == 1.0 ? 1.0 : limit;
    D const ofMagnitude = (ax == 0.0) | (ax == infinity) | (ay == infinity) ? atEdge : magnitude;
    D const ofSign = isOdd ? copySign(ofMagnitude, x) : ofMagnitude;
    auto const isUndefined = (x < 0.0) & (ax < infinity) & (ay < infinity) & (floor(y) != y);
    D const value = isUndefined | (x != x) | (y != y) ? notANumber : ofSign;
    return (x == 1.0) | (y == 0.0) ? 1.0 : value;
}

}  // namespace mathdetail

/// `base` to the power `exponent`; largest error seen 0.78 ulp. It is e^(y ln x) with the logarithm and the
/// product in two words. Special cases are those of the C standard's Annex F.
template <class D>
GPU_DEVICE D pow(D base, D exponent) {
    using namespace mathdetail;
    DoubleWord<D> const logarithm = logWords(scientific(abs(base)));
    DoubleWord<D> product = exactProduct(exponent, logarithm.high);
    product.low = fma(exponent, logarithm.low, product.low);
    return signedPower(base, exponent, expOfAnySum(product));
}

GPU_DEVICE float pow(float base, float exponent) {
    using namespace mathdetail;
    double const x = base, y = exponent;
    double const product = y * logOfParts(scientific(abs(x)));
    return static_cast<float>(signedPower(x, y, expOfAnySum<double>({product, 0.0})));
}

}  // namespace gpuruntime::backend

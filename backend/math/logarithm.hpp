#pragma once

#include "backend/math/arithmetic.hpp"
#include "backend/math/exponential.hpp"

namespace gpuruntime::backend {
namespace mathdetail {

/// ln((1 + s) / (1 - s)) = 2 s + s z p(z) with z = s^2, for |s| up to 3 - 2 sqrt(2).
inline constexpr double atanhTerm[] = {
    0x1.5555555555558p-1, 0x1.99999999952e2p-2, 0x1.2492492df148dp-2, 0x1.c71c62e5800a0p-3,
    0x1.7462b4ab2efa4p-3, 0x1.39fe6065427bep-3, 0x1.2b584aae7ca60p-3,
};

/// The same as 2 s + s z (2/3 + z p(z)).
inline constexpr double atanhRest[] = {
    0x1.999999999999ap-2, 0x1.2492492492521p-2, 0x1.c71c71c6eaa10p-3, 0x1.745d177a96056p-3,
    0x1.3b1395d2190c0p-3, 0x1.1118c7e4b0962p-3, 0x1.df7cc8e5f97f1p-4, 0x1.e02e6fff2f162p-4,
};

inline constexpr double smallestNormal = 0x1p-1022;

/// 2^exponent fraction, with the fraction between sqrt(1/2) and sqrt(2).
template <class D>
struct Scientific {
    D exponent, fraction;
};

/// Of a positive, normal, finite number.
template <class D>
GPU_DEVICE Scientific<D> scientific(D x, D bias) {
    constexpr unsigned long one = 0x3ff0000000000000, rootOfHalf = 0x3fe6a09e667f3bcd;
    constexpr unsigned long ofInteger = 0x4330000000000000;  // 2^52, whose low bits count ones
    WordOf<D> const raised = bitsOf(x) + (one - rootOfHalf);
    return {withBits((raised >> 52) | ofInteger) - (bias + 0x1p52),
            withBits((raised & 0x000fffffffffffff) + rootOfHalf)};
}

inline constexpr double normalBias = 1023;

/// Of a positive, finite number.
template <class D>
GPU_DEVICE Scientific<D> scientific(D x) {
    auto const isDenormal = x < smallestNormal;
    D const scaled = x * 0x1p54;
    D const bias = isDenormal ? normalBias + 54 : normalBias;
    return scientific<D>(isDenormal ? scaled : x, bias);
}

/// The natural logarithm of 2^k (1 + f). ln(1 + f) is taken as f - f^2 / 2 + s (f^2 / 2 + s^2 p(s^2)) with s
/// = f / (2 + f), so that the rounded terms are small beside f.
template <class D>
GPU_DEVICE D logOfParts(Scientific<D> x) {
    constexpr double highPart = 0x1.62e42feep-1, lowPart = 0x1.a39ef35793c76p-33;  // of ln 2
    D const k = x.exponent;
    D const f = x.fraction - 1.0;
    D const s = f / (2.0 + f);
    D const z = s * s;
    D const halfSquare = 0.5 * f * f;
    D const correction = fma(s, fma(z, polynomial<atanhTerm>(z), halfSquare), k * lowPart);
    return k * highPart - ((halfSquare - correction) - f);
}

/// The natural logarithm to 65 bits and more. The quotient s = (m - 1) / (m + 1), the first two terms of the
/// series and their sum with k ln 2 are held in two words.
template <class D>
GPU_DEVICE DoubleWord<D> logWords(Scientific<D> x) {
    constexpr double twoThirds = 0x1.5555555555555p-1, twoThirdsLow = 0x1.5555555555555p-55;
    D const f = x.fraction - 1.0;
    DoubleWord<D> const d = orderedSum(1.0, x.fraction);
    D const reciprocal = 1.0 / d.high;
    D const s = f * reciprocal;
    D const sLow = (fma(-s, d.high, f) - s * d.low) * reciprocal;

    DoubleWord<D> z = exactProduct(s, s);
    z.low = fma(2.0 * s, sLow, z.low);
    D const p = polynomial<atanhRest>(z.high);
    DoubleWord<D> slope = orderedSum(twoThirds, z.high * p);
    slope.low = fma(z.low, p, slope.low + twoThirdsLow);
    DoubleWord<D> cubic = exactProduct(z.high, slope.high);
    cubic.low = fma(z.high, slope.low, fma(z.low, slope.high, cubic.low));
    DoubleWord<D> rest = exactProduct(s, cubic.high);
    rest.low = fma(s, cubic.low, fma(sLow, cubic.high, rest.low));

    DoubleWord<D> const ofFraction = orderedSum(2.0 * s, rest.high);
    DoubleWord<D> const sum = orderedSum(x.exponent * ln2High, ofFraction.high);
    D const low = fma(2.0, sLow, rest.low) + ofFraction.low;
    return {sum.high, sum.low + fma(x.exponent, ln2Low, low)};
}

}  // namespace mathdetail

/// The natural logarithm of a positive, normal, finite number; largest error seen 0.86 ulp.
template <class D>
GPU_DEVICE D logOfNormal(D x) {
    return mathdetail::logOfParts(mathdetail::scientific(x, D{} + mathdetail::normalBias));
}

/// The natural logarithm; largest error seen 0.86 ulp.
template <class D>
GPU_DEVICE D log(D x) {
    D const value = mathdetail::logOfParts(mathdetail::scientific(x));
    D const ofPositive = x < infinity ? value : x;
    D const ofOthers = x == 0.0 ? -infinity : notANumber;
    return x > 0.0 ? ofPositive : ofOthers;
}

GPU_DEVICE float log(float x) { return static_cast<float>(log(static_cast<double>(x))); }

}  // namespace gpuruntime::backend

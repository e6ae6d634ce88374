#pragma once

#include "backend/math/arithmetic.hpp"

namespace gpuruntime::backend {
namespace mathdetail {

/// sin r = r + r z p(z) with z = r^2, for |r| up to pi / 4.
inline constexpr double sinTerm[] = {
    -0x1.5555555555555p-3, 0x1.1111111110bb1p-7,   -0x1.a01a019e8357dp-13,
    0x1.71de37961e4c6p-19, -0x1.ae600a926c899p-26, 0x1.5e0af186af6e1p-33,
};

/// cos r = 1 - z / 2 + z^2 p(z) with z = r^2, for |r| up to pi / 4.
inline constexpr double cosTerm[] = {
    0x1.5555555555555p-5,   -0x1.6c16c16c16966p-10, 0x1.a01a019f4e867p-16,
    -0x1.27e4fa17a41b4p-22, 0x1.1eeb68b109172p-29,  -0x1.907d7aebd5de5p-37,
};

/// pi / 2 in three words.
inline constexpr double halfPiHigh = 0x1.921fb54442d18p+0, halfPiLow = 0x1.1a62633145c07p-54,
                        halfPiLowest = -0x1.f1976b7ed8fbcp-110;
inline constexpr double quartersPerRadian = 0x1.45f306dc9c883p-1;

/// An angle as a number of quarter turns, of which the low bits are of meaning, and the rest, within pi / 4
/// of 0.
template <class D>
struct ReducedAngle {
    WordOf<D> quarters;
    DoubleWord<D> rest;
};

/// Of an angle from 0 to 2 pi. The first product is taken away exactly, and the second is small beside what
/// is left, or nothing is left. It also serves a `float` below `smallAngle`, which needs no low word.
template <class D>
GPU_DEVICE ReducedAngle<D> reducedOfTurn(D angle) {
    D const shifted = fma(angle, quartersPerRadian, integerOrigin);
    D const quarters = shifted - integerOrigin;
    D const left = fma(quarters, -halfPiHigh, angle);
    D const rest = fma(quarters, -halfPiLow, left);
    return {bitsOf(shifted), {rest, fma(quarters, -halfPiLow, left - rest)}};
}

/// Of an angle below `smallAngle`, with pi / 2 in three words. W. J. Cody and W. Waite, Software Manual for
/// the Elementary Functions (1980).
inline constexpr double smallAngle = 0x1p30;

GPU_DEVICE ReducedAngle<double> reducedOfSmall(double angle) {
    double const shifted = fma(angle, quartersPerRadian, integerOrigin);
    double const quarters = shifted - integerOrigin;
    DoubleWord<double> const second = exactProduct(quarters, halfPiLow);
    DoubleWord<double> const rest = exactSum(fma(quarters, -halfPiHigh, angle), -second.high);
    double const low = rest.low - fma(quarters, halfPiLowest, second.low);
    return {bitsOf(shifted), orderedSum(rest.high, low)};
}

/// The high half of the product of 128 bits; the low half is a * b.
GPU_DEVICE unsigned long highProduct(unsigned long a, unsigned long b) {
    unsigned long const aHigh = a >> 32, bHigh = b >> 32, aLow = a & 0xffffffff, bLow = b & 0xffffffff;
    unsigned long const middle = aHigh * bLow + (aLow * bLow >> 32);
    unsigned long const carried = aLow * bHigh + (middle & 0xffffffff);
    return aHigh * bHigh + (middle >> 32) + (carried >> 32);
}

/// An integer below 2^52, times `unit`.
GPU_DEVICE double fractionBits(unsigned long bits, double unit) {
    return (withBits(bits | 0x4330000000000000) - 0x1p52) * unit;
}

/// Of any finite angle from 1 on, or below -1, exactly. M. H. Payne and R. N. Hanek, "Radian reduction for
/// trigonometric functions", SIGNUM Newsletter 18 (1983): of the product with 2 / pi only the bits around the
/// point are computed, from those 192 bits of 2 / pi that make neither multiples of four quarters nor less
/// than 2^-137.
GPU_DEVICE ReducedAngle<double> reducedOfLarge(double angle) {
    // Behind the point, after 64 zeros.
    static constexpr unsigned long bitsOfTwoOverPi[] = {
        0x0000000000000000, 0xa2f9836e4e441529, 0xfc2757d1f534ddc0, 0xdb6295993c439041, 0xfe5163abdebbc561,
        0xb7246e3a424dd2e0, 0x06492eea09d1921c, 0xfe1deb1cb129a73e, 0xe88235f52ebb4484, 0xe99c7026b45f7e41,
        0x3991d639835339f4, 0x9c845f8bbdf9283b, 0x1ff897ffde05980f, 0xef2f118b5a0a6d1f, 0x6d367ecf27cb09b7,
        0x4f463f669e5fea2d, 0x7527bac7ebe5f17b, 0x3d0739f78a5292ea, 0x6bfb5fb11f8d5d08, 0x56033046fc7b6bab,
    };
    unsigned long const bits = bitsOf(angle);
    unsigned long const mantissa = (bits & 0x000fffffffffffff) | 0x0010000000000000;
    // |angle| = mantissa 2^(first - 62), and bit `first` of the table is the first that counts.
    unsigned int const first = static_cast<unsigned int>(bits >> 52 & 0x7ff) - 1075 + 62;
    unsigned long const* const words = bitsOfTwoOverPi + first / 64;
    unsigned int const shift = first % 64;
    auto const window = [=](unsigned int i) {
        return shift == 0 ? words[i] : words[i] << shift | words[i + 1] >> (64 - shift);
    };

    unsigned long const low = mantissa * window(2);
    unsigned long const carry = highProduct(mantissa, window(2));
    unsigned long const ofMiddle = mantissa * window(1);
    unsigned long const middle = ofMiddle + carry;
    unsigned long const high = mantissa * window(0) + highProduct(mantissa, window(1)) + (middle < carry);

    // Two bits count the quarters, to the nearest; the rest is a fraction of a quarter, with a sign.
    unsigned long const quarters = (high + (1ul << 61)) >> 62;
    unsigned long const sign = high << 2 >> 63 != 0 ? ~0ul : 0;
    unsigned long const f0 = (high << 2 | middle >> 62) ^ sign, f1 = (middle << 2 | low >> 62) ^ sign;
    unsigned long const f2 = (low << 2) ^ sign;
    double const parts[] = {fractionBits(f0 >> 12, 0x1p-52),
                            fractionBits((f0 << 40 | f1 >> 24) & 0x000fffffffffffff, 0x1p-104),
                            fractionBits((f1 << 28 | f2 >> 36) & 0x000fffffffffffff, 0x1p-156)};
    DoubleWord<double> fraction = orderedSum(parts[0], parts[1]);
    fraction = orderedSum(fraction.high, fraction.low + parts[2]);

    DoubleWord<double> rest = exactProduct(fraction.high, halfPiHigh);
    rest.low += fma(fraction.high, halfPiLow, fraction.low * halfPiHigh);
    bool const isBelow = angle < 0.0, isNegative = (sign != 0) != isBelow;
    return {isBelow ? -quarters : quarters,
            {isNegative ? -rest.high : rest.high, isNegative ? -rest.low : rest.low}};
}

template <class D>
struct SineAndCosine {
    D sine, cosine;
};

template <class D>
GPU_DEVICE SineAndCosine<D> sineAndCosine(ReducedAngle<D> const& angle) {
    D const r = angle.rest.high, low = angle.rest.low;
    D const z = r * r;
    D const halfSquare = 0.5 * z;
    D const s = r + fma(r * z, polynomial<sinTerm>(z), fma(-halfSquare, low, low));
    D const head = 1.0 - halfSquare;
    D const tail = fma(-r, low, (1.0 - head) - halfSquare);
    D const c = head + fma(z * z, polynomial<cosTerm>(z), tail);

    WordOf<D> const turn = angle.quarters;
    D const sineOfTurn = (turn & 1) == 0 ? s : c;
    D const cosineOfTurn = (turn & 1) == 0 ? c : s;
    return {withBits(bitsOf(sineOfTurn) ^ ((turn & 2) << 62)),
            withBits(bitsOf(cosineOfTurn) ^ (((turn + 1) & 2) << 62))};
}

/// Of any angle; `small` reduces those below `smallAngle`.
template <class Reduction>
GPU_DEVICE SineAndCosine<double> sineAndCosine(double angle, Reduction small) {
    if (!isFinite(angle)) return {notANumber, notANumber};
    auto const both = sineAndCosine(abs(angle) < smallAngle ? small(angle) : reducedOfLarge(angle));
    return {angle == 0.0 ? angle : both.sine, both.cosine};
}

}  // namespace mathdetail

/// The sine and cosine of an angle from 0 to 2 pi; largest error seen 0.80 ulp.
template <class D>
GPU_DEVICE void sinCosOfTurn(D angle, D& sine, D& cosine) {
    auto const both = mathdetail::sineAndCosine(mathdetail::reducedOfTurn(angle));
    sine = both.sine;
    cosine = both.cosine;
}

/// The sine and cosine of any angle; largest error seen 0.77 ulp. Those of an infinite angle are NaN.
GPU_DEVICE void sinCos(double angle, double& sine, double& cosine) {
    using namespace mathdetail;
    auto const both = sineAndCosine(angle, [](double small) { return reducedOfSmall(small); });
    sine = both.sine;
    cosine = both.cosine;
}

GPU_DEVICE void sinCos(float angle, float& sine, float& cosine) {
    using namespace mathdetail;
    auto const both = sineAndCosine(angle, [](double small) { return reducedOfTurn(small); });
    sine = static_cast<float>(both.sine);
    cosine = static_cast<float>(both.cosine);
}

template <class T>
GPU_DEVICE T sin(T angle) {
    T sine, cosine;
    sinCos(angle, sine, cosine);
    return sine;
}

template <class T>
GPU_DEVICE T cos(T angle) {
    T sine, cosine;
    sinCos(angle, sine, cosine);
    return cosine;
}

}  // namespace gpuruntime::backend

#pragma once

#include <cstddef>

#include "lanes.hpp"

/// What normal values are made with. The coefficients are those that scripts/fit_lane_math.py prints, which
/// also says what each polynomial stands for; all are evaluated by Horner's rule without branches.
namespace gpuruntime::backend {
namespace lanemath {

/// ln((1 + s) / (1 - s)) = 2 s + s z p(z) with z = s^2, for |s| up to 3 - 2 sqrt(2).
inline constexpr double atanhTerm[] = {
    0x1.5555555555558p-1, 0x1.99999999952e2p-2, 0x1.2492492df148dp-2, 0x1.c71c62e5800a0p-3,
    0x1.7462b4ab2efa4p-3, 0x1.39fe6065427bep-3, 0x1.2b584aae7ca60p-3,
};

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

/// erfinv(x) / x = p(t) with t = w / 3.125 - 1 and w = -ln(1 - x^2), for w up to 6.25.
inline constexpr double centralInverseError[] = {
    0x1.a755e7c99ae86p+0,   0x1.8040caa12786bp-1,   -0x1.e2b19456a0d5cp-5,  -0x1.7259eca3a0e6ap-6,
    0x1.23c5aee6d7623p-6,   -0x1.0f249df1e0f4cp-8,  -0x1.4d5dd2f601d97p-10, 0x1.4316b4de70ff3p-10,
    -0x1.153c9cea11803p-12, -0x1.ea4472a80be62p-14, 0x1.879bf9b660a90p-14,  -0x1.f83eaa8301e2fp-17,
    -0x1.79ad54de00827p-17, 0x1.de7b6e9c9a48dp-18,  -0x1.712e9bbf5975bp-21, -0x1.1c4e17253da66p-20,
    0x1.24f0792b27f89p-21,  -0x1.65c703ccb827bp-27, -0x1.c39d8ba95df48p-24, 0x1.51b6d83b10caep-25,
    0x1.37b6d2ede04acp-27,  -0x1.286d931b525f7p-27, -0x1.7943526054c85p-34, 0x1.ace756859e33ap-31,
};

/// erfcinv(y) = p(t) with t = (s - 4.4375) / 1.8125 and s = sqrt(-ln y), for s from 2.625 to 6.25.
inline constexpr double tailInverseError[] = {
    0x1.0cedd0204bfb8p+2,   0x1.dd2a73572bd88p+0,   -0x1.8c23f01a96670p-7, 0x1.5189c58faf703p-9,
    -0x1.7522d517f440ep-12, -0x1.20fca6f34d72fp-14, 0x1.8dea4fc3a0c35p-14, -0x1.f1809dd7b99a9p-15,
    0x1.fd34b7b5161c9p-16,  -0x1.d96eb64eab682p-17, 0x1.9f031849a87b0p-18, -0x1.5cf436dce1393p-19,
    0x1.1bf8537344da4p-20,  -0x1.c161e87ebf394p-22, 0x1.5a92c420878d8p-23, -0x1.057403a032c6ep-24,
    0x1.816911983f0f1p-26,  -0x1.0df755b81fb3fp-27, 0x1.68706224782a9p-29, -0x1.0b927ae7a6db1p-30,
    0x1.91bd0bfa7c2dfp-32,  -0x1.45a83ccfedbe9p-34,
};

/// By Horner's rule, one fused operation for each coefficient.
template <std::size_t n>
GPU_DEVICE DoubleLanes polynomial(double const (&coefficients)[n], DoubleLanes x) {
    DoubleLanes value = doubleLanes(coefficients[n - 1]);
    GPU_UNROLL
    for (std::size_t i = n - 1; i > 0; --i) value = fma(value, x, doubleLanes(coefficients[i - 1]));
    return value;
}

}  // namespace lanemath

/// The natural logarithm of a positive, normal, finite number, within 1 ulp. x is 2^k (1 + f) with 1 + f
/// between sqrt(1/2) and sqrt(2); ln(1 + f) is taken as f - f^2 / 2 + s (f^2 / 2 + s^2 p(s^2)) with s = f /
/// (2 + f), so that the rounded terms are small beside f.
GPU_DEVICE DoubleLanes log(DoubleLanes x) {
    constexpr unsigned long one = 0x3ff0000000000000, rootOfHalf = 0x3fe6a09e667f3bcd;
    constexpr double ln2High = 0x1.62e42feep-1, ln2Low = 0x1.a39ef35793c76p-33;
    WordLanes const raised = bitsOf(x) + (one - rootOfHalf);
    DoubleLanes const k = exactDouble(raised >> 52) - 1023.0;
    DoubleLanes const f = withBits((raised & 0x000fffffffffffff) + rootOfHalf) - 1.0;
    DoubleLanes const s = f / (2.0 + f);
    DoubleLanes const z = s * s;
    DoubleLanes const halfSquare = 0.5 * f * f;
    DoubleLanes const correction =
        fma(s, fma(z, lanemath::polynomial(lanemath::atanhTerm, z), halfSquare), k * ln2Low);
    return k * ln2High - ((halfSquare - correction) - f);
}

/// The sine and cosine of an angle in [0, 2 pi], within 2 ulp. The angle less the nearest multiple of pi/2,
/// held in two words, is exact in the first word and rounded once in the second.
GPU_DEVICE void sinCos(DoubleLanes angle, DoubleLanes& sine, DoubleLanes& cosine) {
    constexpr double halfPiHigh = 0x1.921fb54442d18p+0, halfPiLow = 0x1.1a62633145c07p-54;
    DoubleLanes const quarter = floor(fma(angle, doubleLanes(0x1.45f306dc9c883p-1), doubleLanes(0.5)));
    DoubleLanes const r =
        fma(-quarter, doubleLanes(halfPiLow), fma(-quarter, doubleLanes(halfPiHigh), angle));
    DoubleLanes const z = r * r;
    DoubleLanes const s = fma(r * z, lanemath::polynomial(lanemath::sinTerm, z), r);
    DoubleLanes const halfSquare = 0.5 * z;
    DoubleLanes const head = 1.0 - halfSquare;
    DoubleLanes const tail = (1.0 - head) - halfSquare;
    DoubleLanes const c = head + fma(z * z, lanemath::polynomial(lanemath::cosTerm, z), tail);
    WordLanes const turn = bitsOf(quarter + 0x1p52);  // the low bits count quarter turns
    DoubleLanes const sineOfTurn = (turn & 1) == 0 ? s : c;
    DoubleLanes const cosineOfTurn = (turn & 1) == 0 ? c : s;
    sine = withBits(bitsOf(sineOfTurn) ^ ((turn & 2) << 62));
    cosine = withBits(bitsOf(cosineOfTurn) ^ (((turn + 1) & 2) << 62));
}

/// The inverse of the complementary error function on [0, 2), where an argument other than 0 is at least
/// 2^-56; infinity at 0. The form for the middle is that of M. Giles, "Approximating the erfinv function",
/// GPU Computing Gems (2011). The tail is a polynomial in the root of the logarithm of its own probability,
/// which is smoother there.
GPU_DEVICE DoubleLanes erfcInverse(DoubleLanes y) {
    DoubleLanes const mirrored = 2.0 - y;
    DoubleLanes const x = 1.0 - y;
    DoubleLanes const w = -log(y * mirrored);
    DoubleLanes const middle = x * lanemath::polynomial(lanemath::centralInverseError, w * 0.32 - 1.0);

    // -ln q = w + ln(2 - q) for the tail's probability q: ln 2 and a few terms of ln(1 - q / 2), since q is
    // below 1/1000.
    DoubleLanes const q = y < mirrored ? y : mirrored;
    DoubleLanes const h = 0.5 * q;
    DoubleLanes const lnOfRest =
        -h *
        fma(h, fma(h, fma(h, doubleLanes(0.25), doubleLanes(1.0 / 3)), doubleLanes(0.5)), doubleLanes(1.0));
    DoubleLanes const s = sqrt(w + (lnOfRest + 0x1.62e42fefa39efp-1));
    DoubleLanes const t = (s - 4.4375) * (1 / 1.8125);
    DoubleLanes const tail = copySign(lanemath::polynomial(lanemath::tailInverseError, t), x);

    DoubleLanes const value = w < 6.25 ? middle : tail;
    return y > 0.0 ? value : doubleLanes(__builtin_inf());
}

}  // namespace gpuruntime::backend

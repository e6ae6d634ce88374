#pragma once

#include "backend/math/arithmetic.hpp"
#include "backend/math/logarithm.hpp"

namespace gpuruntime::backend {
namespace mathdetail {

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

/// The same with t = (s - 9.75) / 3.5, for s from 6.25 to 13.25.
inline constexpr double farInverseError[] = {
    0x1.334df093409a4p+3,   0x1.c46b1bb519b5bp+1,   -0x1.2cb460a5a2db9p-7,  0x1.4c17ae38af961p-9,
    -0x1.727f999169d04p-11, 0x1.9ad682af66185p-13,  -0x1.be246df7861b1p-15, 0x1.d152395aa202cp-17,
    -0x1.c279721a7091dp-19, 0x1.75210975e5e01p-21,  -0x1.79ace6ae7c876p-24, -0x1.55c96ed70c903p-26,
    0x1.96034f74fcf24p-26,  -0x1.d7ab30b5e7d18p-27, 0x1.bd1b7eff5b07bp-28,  -0x1.88539cc75ccb9p-29,
    0x1.6f76be27b8051p-30,  -0x1.24de04f3840e3p-31, 0x1.b50946f4c8705p-34,  -0x1.61307142c6e5dp-35,
    0x1.0dbb257d8c3ccp-34,  -0x1.8e0e973605d11p-36,
};

/// The same with t = (s - 20.3125) / 7.0625, for s from 13.25 to 27.375.
inline constexpr double farthestInverseError[] = {
    0x1.439636f52cd66p+4,   0x1.c56bce6313341p+2,  -0x1.99c951899231bp-8,  0x1.e165600cddd0bp-10,
    -0x1.20e737c6f75b3p-11, 0x1.5f182e3f8618ap-13, -0x1.add83491d49b1p-15, 0x1.083c06cded5e7p-16,
    -0x1.45780a1f06cf1p-18, 0x1.90e50d38e5b0dp-20, -0x1.ecfba7c0a73f4p-22, 0x1.2e1f3427470f4p-23,
    -0x1.7074d7c826b30p-25, 0x1.be3df433600e7p-27, -0x1.0bd8e314287edp-28, 0x1.3d9f6eee62f13p-30,
    -0x1.6fdd5561550abp-32, 0x1.9f0375962f175p-34, -0x1.e223994ace1c9p-36, 0x1.132e94991930fp-37,
    -0x1.8e173cbc1c054p-40, 0x1.5bb609fabc2b0p-45,
};

/// Of an argument below 2^-55, where s is above 6.17, or outside (0, 2). Called rather than inlined: it is
/// rare.
template <class D>
GPU_DEVICE_CALL D farErfcInverse(D y) {
    D const s = sqrt(-log(y));
    D const far = polynomial<farInverseError>((s - 9.75) * (1 / 3.5));
    D const farthest = polynomial<farthestInverseError>((s - 20.3125) * (1 / 7.0625));
    D const inside = s < 13.25 ? far : farthest;
    D const atEnds = y == 0.0 ? infinity : y == 2.0 ? -infinity : notANumber;
    return (y > 0.0) & (y < 2.0) ? inside : atEnds;
}

}  // namespace mathdetail

/// The inverse of the complementary error function; largest error seen 2.70 ulp. The form for the middle is
/// that of M. Giles, "Approximating the erfinv function", GPU Computing Gems (2011). The tail is a polynomial
/// in the root of the logarithm of its own probability, which is smoother there.
template <class D>
GPU_DEVICE D erfcInverse(D y) {
    D const mirrored = 2.0 - y;
    D const x = 1.0 - y;
    D const w = -logOfNormal(y * mirrored);
    D const middle = x * polynomial<mathdetail::centralInverseError>(w * 0.32 - 1.0);

    // -ln q = w + ln(2 - q) for the tail's probability q: ln 2 and a few terms of ln(1 - q / 2), since q is
    // below 1/1000.
    D const q = y < mirrored ? y : mirrored;
    D const h = 0.5 * q;
    D const lnOfRest = -h * fma(h, fma(h, fma(h, 0.25, 1.0 / 3), 0.5), 1.0);
    D const s = sqrt(w + (lnOfRest + 0x1.62e42fefa39efp-1));
    D const tail = copySign(polynomial<mathdetail::tailInverseError>((s - 4.4375) * (1 / 1.8125)), x);

    D const value = w < 6.25 ? middle : tail;
    auto const isInside = (y >= 0x1p-56) & (mirrored > 0.0);
    if (all(isInside)) return value;
    return isInside ? value : mathdetail::farErfcInverse(y);
}

GPU_DEVICE float erfcInverse(float y) { return static_cast<float>(erfcInverse(static_cast<double>(y))); }

}  // namespace gpuruntime::backend

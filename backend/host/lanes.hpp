#pragma once

#include <immintrin.h>

#include "device.hpp"
#include "math.hpp"

/// Values of neighbouring threads, one per lane of a machine vector, for phases whose arithmetic a compiler
/// does not vectorise by itself. The operators of the element type work lane by lane, a comparison gives a
/// mask for `?:`, and a scalar operand counts for every lane. A phase written with lanes also runs where a
/// lane is a whole thread.
namespace gpuruntime::backend {

inline constexpr unsigned int laneCount = 4;
using WordLanes = unsigned long __attribute__((vector_size(32)));
using DoubleLanes = double __attribute__((vector_size(32)));
using MaskLanes = long __attribute__((vector_size(32)));
using FloatLanes = float __attribute__((vector_size(32)));

/// As many values of a floating type as fit a machine vector.
template <class T>
struct LanesOf;
template <>
struct LanesOf<float> {
    using type = FloatLanes;
    static constexpr unsigned int lanes = 8;
};
template <>
struct LanesOf<double> {
    using type = DoubleLanes;
    static constexpr unsigned int lanes = 4;
};

/// Calls `f(t)` for the first thread `t` of every group of `laneCount`; no barrier follows. The block's size
/// is a multiple of `laneCount`.
template <class F>
GPU_DEVICE void forEachLanes(Threads const& threads, F f) {
    for (unsigned int t = 0; t < threads.size(); t += laneCount) f(t);
}

GPU_DEVICE WordLanes wordLanes(unsigned long value) { return WordLanes{value, value, value, value}; }
GPU_DEVICE DoubleLanes doubleLanes(double value) { return DoubleLanes{value, value, value, value}; }

/// `first`, `first` + 1, and so on.
GPU_DEVICE WordLanes countedFrom(unsigned long first) { return first + WordLanes{0, 1, 2, 3}; }

GPU_DEVICE unsigned long lane(WordLanes values, unsigned int i) { return values[i]; }
GPU_DEVICE double lane(DoubleLanes values, unsigned int i) { return values[i]; }
GPU_DEVICE void setLane(WordLanes& values, unsigned int i, unsigned long value) { values[i] = value; }
GPU_DEVICE void setLane(DoubleLanes& values, unsigned int i, double value) { values[i] = value; }

/// The 64-bit product of the low 32 bits of each factor.
GPU_DEVICE unsigned long wideProduct(unsigned long a, unsigned long b) {
    return static_cast<unsigned long>(static_cast<unsigned int>(a)) * static_cast<unsigned int>(b);
}
GPU_DEVICE WordLanes wideProduct(WordLanes a, WordLanes b) {
    return reinterpret_cast<WordLanes>(
        _mm256_mul_epu32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)));
}

/// Whether a comparison holds in all lanes.
GPU_DEVICE bool all(bool holds) { return holds; }
GPU_DEVICE bool all(MaskLanes holds) { return _mm256_movemask_pd(reinterpret_cast<__m256d>(holds)) == 0xf; }

/// The same 64 bits as another type.
GPU_DEVICE WordLanes bitsOf(DoubleLanes x) { return reinterpret_cast<WordLanes>(x); }
GPU_DEVICE DoubleLanes withBits(WordLanes bits) { return reinterpret_cast<DoubleLanes>(bits); }

GPU_DEVICE FloatLanes fma(FloatLanes a, FloatLanes b, FloatLanes c) { return _mm256_fmadd_ps(a, b, c); }
GPU_DEVICE DoubleLanes fma(DoubleLanes a, DoubleLanes b, DoubleLanes c) { return _mm256_fmadd_pd(a, b, c); }
GPU_DEVICE DoubleLanes fma(DoubleLanes a, DoubleLanes b, double c) { return fma(a, b, doubleLanes(c)); }
GPU_DEVICE DoubleLanes fma(DoubleLanes a, double b, DoubleLanes c) { return fma(a, doubleLanes(b), c); }
GPU_DEVICE DoubleLanes fma(DoubleLanes a, double b, double c) {
    return fma(a, doubleLanes(b), doubleLanes(c));
}
GPU_DEVICE DoubleLanes fma(double a, DoubleLanes b, DoubleLanes c) { return fma(doubleLanes(a), b, c); }
GPU_DEVICE DoubleLanes sqrt(DoubleLanes x) { return _mm256_sqrt_pd(x); }
GPU_DEVICE DoubleLanes floor(DoubleLanes x) { return _mm256_floor_pd(x); }
GPU_DEVICE DoubleLanes abs(DoubleLanes x) { return withBits(bitsOf(x) & 0x7fffffffffffffff); }
GPU_DEVICE DoubleLanes copySign(DoubleLanes magnitude, DoubleLanes sign) {
    return withBits((bitsOf(magnitude) & 0x7fffffffffffffff) | (bitsOf(sign) & 0x8000000000000000));
}

/// The exact value of an integer below 2^53. Each half is put into the low bits of a power of two, which is
/// then taken away.
GPU_DEVICE DoubleLanes exactDouble(WordLanes integer) {
    DoubleLanes const high = withBits((integer >> 32) | bitsOf(doubleLanes(0x1p84)));
    DoubleLanes const low = withBits((integer & 0xffffffff) | bitsOf(doubleLanes(0x1p52)));
    return (high - (0x1p84 + 0x1p52)) + low;
}

/// The low 32 bits of an integer, negative ones in two's complement; the rest of the lane is of no meaning.
/// The integer lies within 2^32 of 0.
GPU_DEVICE WordLanes lowWord(DoubleLanes integer) { return bitsOf(integer + 0x1.8p52); }

/// As `toInt64` and `toUint64` of one value, for values that are integers: saturating, and the value must not
/// be NaN.
GPU_DEVICE WordLanes integerToUint64(DoubleLanes x) {
    DoubleLanes const raised = x > 0.0 ? x : doubleLanes(0.0);
    DoubleLanes const upper = floor(raised * 0x1p-32);
    DoubleLanes const lower = raised - upper * 0x1p32;
    WordLanes const high = bitsOf(upper + 0x1p52) << 32;  // the bits of 2^52 itself are shifted out
    WordLanes const low = bitsOf(lower + 0x1p52) & 0xffffffff;
    return raised >= 0x1p64 ? wordLanes(~0ul) : high | low;
}

GPU_DEVICE WordLanes integerToInt64(DoubleLanes x) {
    WordLanes const magnitude = integerToUint64(abs(x));
    WordLanes const largest = wordLanes(0x7fffffffffffffff);
    WordLanes const value = x < 0.0 ? -magnitude : magnitude;
    WordLanes const saturated = x < 0.0 ? ~largest : largest;
    return abs(x) >= 0x1p63 ? saturated : value;
}

}  // namespace gpuruntime::backend

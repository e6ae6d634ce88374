#pragma once

#include <cmath>
#include <cstring>
#include <type_traits>

#include "device.hpp"
#include "math.hpp"

/// Conversions between floating values and integers. To integers they go as the GPU's instructions make them:
/// toward zero, saturating at the range of the target; the value must not be NaN. From integers they round to
/// nearest even. Written without branches, so that loops vectorise.
namespace gpuruntime::backend {

/// A whole number from -2^51 to 2^51: the sum with 1.5 * 2^52 has it in its mantissa.
GPU_DEVICE long wholeBits(double whole) {
    double const origin = 0x1.8p52;
    double const shifted = whole + origin;
    long bits, originBits;
    std::memcpy(&bits, &shifted, sizeof(bits));
    std::memcpy(&originBits, &origin, sizeof(originBits));
    return bits - originBits;
}

/// The value as the low half of a mantissa: there is no vector instruction for unsigned integers.
GPU_DEVICE double fromUint32(unsigned int value) {
    double const origin = 0x1p52;
    unsigned long bits;
    std::memcpy(&bits, &origin, sizeof(bits));
    bits |= value;
    double shifted;
    std::memcpy(&shifted, &bits, sizeof(shifted));
    return shifted - origin;
}

/// Of 64-bit integers the high and the low half are exact, and their sum is rounded once. On the way from an
/// unsigned one to `float` it is rounded to odd, so that the second rounding sees what the first one lost.
template <class To, class From>
GPU_DEVICE To fromInteger(From value) {
    if constexpr (std::is_same_v<From, unsigned long>) {
        double const high = fromUint32(static_cast<unsigned int>(value >> 32)) * 0x1p32;
        double const low = fromUint32(static_cast<unsigned int>(value));
        double const sum = high + low;
        if constexpr (std::is_same_v<To, double>) {
            return sum;
        } else {
            double const lost = low - (sum - high);
            unsigned long const below = bitsOf(sum) - (lost < 0 ? 1ul : 0ul);
            return static_cast<To>(withBits(below | (lost != 0 ? 1ul : 0ul)));
        }
    } else if constexpr (std::is_same_v<From, long> && std::is_same_v<To, double>) {
        double const high = static_cast<double>(static_cast<int>(value >> 32)) * 0x1p32;
        return high + fromUint32(static_cast<unsigned int>(value));
    } else if constexpr (std::is_same_v<From, unsigned int>) {
        return static_cast<To>(fromUint32(value));
    } else {
        return static_cast<To>(value);
    }
}

template <class T>
GPU_DEVICE T clamped(T value, T low, T high) {
    T const raised = value > low ? value : low;
    return raised < high ? raised : high;
}

GPU_DEVICE int toInt32(double value) { return static_cast<int>(clamped(value, -2147483648.0, 2147483647.0)); }

GPU_DEVICE int toInt32(float value) {
    float const justInside = 0x1.fffffep30f;  // 2^31 itself is one too large
    int const inside = static_cast<int>(clamped(value, -0x1p31f, justInside));
    return value > justInside ? 2147483647 : inside;
}

GPU_DEVICE unsigned int toUint32(double value) {
    return static_cast<unsigned int>(wholeBits(clamped(std::trunc(value), 0.0, 4294967295.0)));
}

GPU_DEVICE unsigned int toUint32(float value) {
    float const justInside = 0x1.fffffep31f;  // 2^32 itself is one too large
    float const inside = clamped(value, 0.0f, justInside);
    bool const isLarge = inside >= 0x1p31f;
    auto const low = static_cast<unsigned int>(static_cast<int>(inside - (isLarge ? 0x1p31f : 0.0f)));
    unsigned int const whole = low | (isLarge ? 1u << 31 : 0u);
    return value > justInside ? ~0u : whole;
}

/// A whole number modulo 2^64, from two halves of 32 bits: the machine has no vector conversion to 64 bits.
GPU_DEVICE unsigned long halvesOf(double whole) {
    double const high = std::floor(whole * 0x1p-32);
    double const low = whole - high * 0x1p32;
    return (static_cast<unsigned long>(wholeBits(high)) << 32) + static_cast<unsigned long>(wholeBits(low));
}

GPU_DEVICE long toInt64(double value) {
    double const inside = clamped(std::trunc(value), -0x1p63, 0x1p63);
    unsigned long const bits = halvesOf(inside);  // 2^63 itself is one too large
    return static_cast<long>(bits - (inside == 0x1p63 ? 1ul : 0ul));
}

GPU_DEVICE unsigned long toUint64(double value) {
    double const inside = clamped(std::trunc(value), 0.0, 0x1p64);
    unsigned long const bits = halvesOf(inside);
    return bits - (inside == 0x1p64 ? 1ul : 0ul);
}

/// A number far within the range of `Integer`, `int` or `long`, truncated toward zero.
template <class Integer, class Number>
GPU_DEVICE Integer toIntegerInside(Number value) {
    if constexpr (sizeof(Integer) == sizeof(long)) {
        return wholeBits(std::trunc(value));
    } else {
        return static_cast<Integer>(value);
    }
}

}  // namespace gpuruntime::backend

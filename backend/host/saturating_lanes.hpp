#pragma once

#include <immintrin.h>

#include <type_traits>

#include "device.hpp"

/// Sums and products of integers held at the ends of their range, in every lane of a machine vector;
/// compilers do not find these instructions by themselves.
namespace gpuruntime::backend {

/// Whether there is a `saturatingSum` of lanes of `T`.
template <class T>
inline constexpr bool hasSaturatingSum = sizeof(T) <= 2;

template <class T>
GPU_DEVICE __m256i saturatingSum(__m256i a, __m256i b) {
    static_assert(hasSaturatingSum<T>);
    if constexpr (sizeof(T) == 1) {
        return std::is_signed_v<T> ? _mm256_adds_epi8(a, b) : _mm256_adds_epu8(a, b);
    } else {
        return std::is_signed_v<T> ? _mm256_adds_epi16(a, b) : _mm256_adds_epu16(a, b);
    }
}

namespace detail {

/// Of bytes, from the upper halves of the products of 256 times the factors.
template <class T>
GPU_DEVICE __m256i saturatingByteProduct(__m256i a, __m256i b) {
    __m256i const zero = _mm256_setzero_si256();
    auto const product = [](__m256i x, __m256i y) {
        if constexpr (std::is_signed_v<T>) {
            return _mm256_mulhi_epi16(x, y);
        } else {
            return _mm256_min_epu16(_mm256_mulhi_epu16(x, y), _mm256_set1_epi16(0xff));
        }
    };
    __m256i const low = product(_mm256_unpacklo_epi8(zero, a), _mm256_unpacklo_epi8(zero, b));
    __m256i const high = product(_mm256_unpackhi_epi8(zero, a), _mm256_unpackhi_epi8(zero, b));
    return std::is_signed_v<T> ? _mm256_packs_epi16(low, high) : _mm256_packus_epi16(low, high);
}

template <class T>
GPU_DEVICE __m256i saturatingShortProduct(__m256i a, __m256i b) {
    __m256i const low = _mm256_mullo_epi16(a, b);
    if constexpr (std::is_signed_v<T>) {
        __m256i const high = _mm256_mulhi_epi16(a, b);
        return _mm256_packs_epi32(_mm256_unpacklo_epi16(low, high), _mm256_unpackhi_epi16(low, high));
    } else {
        __m256i const fits = _mm256_cmpeq_epi16(_mm256_mulhi_epu16(a, b), _mm256_setzero_si256());
        return _mm256_or_si256(low, _mm256_xor_si256(fits, _mm256_set1_epi16(-1)));
    }
}

/// Of words of 32 bits; the 64-bit products are those of every other lane.
template <class T>
GPU_DEVICE __m256i saturatingWordProduct(__m256i a, __m256i b) {
    auto const product = [](__m256i x, __m256i y) {
        return std::is_signed_v<T> ? _mm256_mul_epi32(x, y) : _mm256_mul_epu32(x, y);
    };
    __m256i const even = product(a, b);
    __m256i const odd = product(_mm256_srli_epi64(a, 32), _mm256_srli_epi64(b, 32));
    __m256i const low = _mm256_blend_epi32(even, _mm256_slli_epi64(odd, 32), 0xaa);
    __m256i const high = _mm256_blend_epi32(_mm256_srli_epi64(even, 32), odd, 0xaa);
    if constexpr (std::is_signed_v<T>) {
        __m256i const fits = _mm256_cmpeq_epi32(high, _mm256_srai_epi32(low, 31));
        __m256i const bound =
            _mm256_xor_si256(_mm256_srai_epi32(_mm256_xor_si256(a, b), 31), _mm256_set1_epi32(0x7fffffff));
        return _mm256_blendv_epi8(bound, low, fits);
    } else {
        __m256i const fits = _mm256_cmpeq_epi32(high, _mm256_setzero_si256());
        return _mm256_or_si256(low, _mm256_xor_si256(fits, _mm256_set1_epi32(-1)));
    }
}

}  // namespace detail

/// Of integers of up to 32 bits.
template <class T>
GPU_DEVICE __m256i saturatingProduct(__m256i a, __m256i b) {
    static_assert(sizeof(T) <= 4);
    if constexpr (sizeof(T) == 1) {
        return detail::saturatingByteProduct<T>(a, b);
    } else if constexpr (sizeof(T) == 2) {
        return detail::saturatingShortProduct<T>(a, b);
    } else {
        return detail::saturatingWordProduct<T>(a, b);
    }
}

}  // namespace gpuruntime::backend

#pragma once

#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "device.hpp"
#include "lanes.hpp"

namespace gpuruntime::backend::detail {

/// Neighbouring rows as lanes of a vector.
template <class T>
struct RowLanes {
    static constexpr unsigned int lanes = LanesOf<T>::lanes;
    using Values = typename LanesOf<T>::type;

    static GPU_DEVICE Values load(T const* from) {
        Values values;
        std::memcpy(&values, from, sizeof values);
        return values;
    }
    static GPU_DEVICE void store(T* to, Values values) { std::memcpy(to, &values, sizeof values); }

    /// Weights of rows, times the column's, as `T`.
    static GPU_DEVICE Values weights(float const* rows, float column) {
        if constexpr (sizeof(T) == sizeof(float)) {
            return load(rows) * column;
        } else {
            return _mm256_cvtps_pd(_mm_mul_ps(_mm_loadu_ps(rows), _mm_set1_ps(column)));
        }
    }

    /// `from[positions[g]]` for the lanes g.
    static GPU_DEVICE Values gather(T const* from, int const* positions) {
        Values const none{};
        auto const all = reinterpret_cast<Values>(none == none);
        if constexpr (sizeof(T) == sizeof(float)) {
            auto const at = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(positions));
            return _mm256_mask_i32gather_ps(none, from, at, all, sizeof(T));
        } else {
            auto const at = _mm_loadu_si128(reinterpret_cast<__m128i const*>(positions));
            return _mm256_mask_i32gather_pd(none, from, at, all, sizeof(T));
        }
    }
};

/// What the rows of a tile have by their taps, the same for all columns: weights and positions, by tap
/// and row.
template <class Taps, class T, unsigned int capacity>
struct TappedRows {
    using Lanes = RowLanes<T>;

    unsigned int numTaps;
    unsigned int width;  ///< rows that there is room for, a multiple of 8
    alignas(64) float weights[capacity];

    /// Of `count` rows from `x` on. Room for further rows is filled with the last one's.
    void tabulate(Taps const taps, unsigned int x, unsigned int count) {
        size = taps.size;
        unsigned long const n = width, last = count - 1;
        double below[maxWidth], fraction[maxWidth];
#pragma GCC ivdep
        for (unsigned long i = 0; i < n; ++i) {
            auto const place = taps.placeOf(x + static_cast<unsigned int>(std::min(i, last)));
            below[i] = place.below;
            fraction[i] = place.fraction;
        }
        float tap = taps.first();
        for (unsigned int t = 0; t < numTaps; ++t, tap += 1) {
            float* const weightsOfTap = weights + t * n;
            int* const positionsOfTap = positions + t * n;
#pragma GCC ivdep
            for (unsigned long i = 0; i < n; ++i) weightsOfTap[i] = taps.weight(tap, {below[i], fraction[i]});
#pragma GCC ivdep
            for (unsigned long i = 0; i < n; ++i) {
                positionsOfTap[i] = static_cast<int>(taps.position(tap, {below[i], fraction[i]}));
            }
        }
        begin = static_cast<unsigned int>(std::max(0, std::min(positions[0], positions[n - 1])));
        auto const end = static_cast<unsigned int>(std::max(positions[0], positions[numTaps * n - 1]));
        numRead = end < begin ? 0 : std::min(end - begin + 1, farReach);
        if constexpr (hasShortSpans) findSpans();
    }

    /// Fetches what the rows and taps have of a column, which need not exist, ahead of its use: from
    /// column to column the hardware foresees nothing.
    void prefetchOf(T const* column) const { prefetch(column + begin, numRead); }

    /// What the rows and taps have of a column, by tap and row. Returns whether all of it is finite.
    bool gather(T const* column, T* to) const {
        typename Lanes::Values differences{};
        unsigned long const n = numTaps * width;
        auto const store = [&](unsigned long k, typename Lanes::Values values) GPU_INLINE {
            differences += values - values;
            Lanes::store(to + k, values);
        };
        if (hasShortSpans && areAllShort) {
            for (unsigned long k = 0; k < n; k += Lanes::lanes) store(k, valuesOfSpan(column, k));
        } else {
            for (unsigned long k = 0; k < n; k += Lanes::lanes) store(k, valuesAt(column, k));
        }
        for (unsigned int g = 0; g < Lanes::lanes; ++g) {
            if (differences[g] != 0) return false;
        }
        return true;
    }

  private:
    static constexpr unsigned int maxWidth = 256;

    /// Where rows lie close together, the values of a vector are within one that is read at once.
    static constexpr bool hasShortSpans = sizeof(T) == sizeof(float);
    static constexpr int farApart = -1;

    /// Positions do not turn back from row to row. Those of a short span become relative to its start.
    void findSpans() {
        constexpr unsigned int lanes = Lanes::lanes;
        int const lastStart = static_cast<int>(size) - static_cast<int>(lanes);
        unsigned long const n = numTaps * width;
        areAllShort = true;
        for (unsigned long k = 0; k < n; k += lanes) {
            int const first = positions[k], last = positions[k + lanes - 1],
                      start = std::min(first, lastStart);
            bool const isShort = start >= 0 && first <= last && last - start < static_cast<int>(lanes);
            starts[k / lanes] = isShort ? start : farApart;
            areAllShort &= isShort;
            auto* const at = reinterpret_cast<__m256i*>(positions + k);
            *at = _mm256_sub_epi32(*at, _mm256_set1_epi32(isShort ? start : 0));
        }
    }

    GPU_DEVICE typename Lanes::Values valuesOfSpan(T const* column, unsigned long k) const {
        if constexpr (hasShortSpans) {
            auto const at = _mm256_load_si256(reinterpret_cast<__m256i const*>(positions + k));
            return _mm256_permutevar8x32_ps(Lanes::load(column + starts[k / Lanes::lanes]), at);
        } else {
            return Lanes::gather(column, positions + k);
        }
    }

    GPU_DEVICE typename Lanes::Values valuesAt(T const* column, unsigned long k) const {
        bool const isShort = hasShortSpans && starts[k / Lanes::lanes] != farApart;
        return isShort ? valuesOfSpan(column, k) : Lanes::gather(column, positions + k);
    }

    static constexpr unsigned int farReach = 4096;  ///< more than this is fetched ahead by the hardware

    unsigned int size;
    unsigned int begin, numRead;  ///< what is read of a column, about
    bool areAllShort;
    alignas(64) int positions[capacity];
    int starts[capacity / Lanes::lanes];
};

}  // namespace gpuruntime::backend::detail

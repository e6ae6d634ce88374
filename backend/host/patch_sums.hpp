#pragma once

#include <immintrin.h>

#include <algorithm>
#include <cstring>

#include "backend/tap_sums.hpp"
#include "lane_types.hpp"
#include "patch.hpp"

/// Sums over taps at the positions of a patch. Weights and positions along the rows are the same for all of
/// its columns, and elements of the texture are brought together once for the columns that count them.
namespace gpuruntime::backend {
namespace detail {

/// Neighbouring rows of a patch as lanes of a vector.
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

/// Rows and columns whose sums are made together, and how.
template <class Taps, class T, unsigned int planes, bool skipsZeros>
class Tile {
    using Lanes = RowLanes<T>;
    using Values = typename Lanes::Values;

  public:
    static constexpr unsigned int maxRows = 256, maxColumns = 16;
    static constexpr unsigned int maxTaps = 2048;

    /// So many rows at a time: what is kept for each and for every tap should stay in the first cache.
    static unsigned int rowsFor(unsigned int numTaps) {
        constexpr unsigned int inCache = 2048, multiple = 8;
        return std::clamp(inCache / numTaps / multiple * multiple, multiple, maxRows);
    }

    Tile(TapSource<Taps, T, planes, skipsZeros> const& source, unsigned int numTaps)
        : source(source), numTaps(numTaps) {}

    template <class Store>
    void run(Patch const& patch, Store store) {
        width = rowsFor(numTaps);
        for (unsigned int x = patch.x; x < patch.endX; x += width) {
            numRows = std::min(width, patch.endX - x);
            tabulateRows(x);
            for (unsigned int y = patch.y; y < patch.endY; y += maxColumns) {
                numColumns = std::min(maxColumns, patch.endY - y);
                sumColumns(y);
                for (unsigned int j = 0; j < numColumns; ++j) {
                    for (unsigned int p = 0; p < planes; ++p) {
                        T const *const value = sums[j][p], *const weight = weights[j];
#pragma GCC ivdep
                        for (unsigned long i = 0; i < numRows; ++i)
                            store(p, x + i, y + j, value[i], weight[i]);
                    }
                }
            }
        }
    }

  private:
    static constexpr unsigned int capacity = maxTaps * 8;

    void tabulateRows(unsigned int x) {
        Taps const& rows = source.rows;
        float tap = rows.first();
        for (unsigned int t = 0; t < numTaps; ++t, tap += 1) {
#pragma GCC ivdep
            for (unsigned long i = 0; i < width; ++i) {
                // Lanes past the patch's rows do what its last one does.
                auto const at = rows.placeOf(std::min<unsigned int>(x + i, x + numRows - 1));
                rowWeights[t * width + i] = rows.weight(tap, at);
                positions[t * width + i] = static_cast<int>(rows.position(tap, at));
            }
        }
    }

    /// Goes over the columns of the input, and adds each to the columns of the result that count it, to each
    /// as often as its taps are there.
    void sumColumns(unsigned int y) {
        std::memset(sums, 0, sizeof sums);
        std::memset(weights, 0, sizeof weights);
        Taps const& columns = source.columns;
        typename Taps::Place places[maxColumns];
        float next[maxColumns];
        unsigned int numLeft = numColumns;
        for (unsigned int j = 0; j < numColumns; ++j) {
            places[j] = columns.placeOf(y + j);
            next[j] = columns.first();
            numLeft -= next[j] <= columns.last() ? 0 : 1;
        }
        while (numLeft > 0) {
            unsigned int column = ~0u;
            for (unsigned int j = 0; j < numColumns; ++j) {
                if (next[j] <= columns.last())
                    column = std::min(column, columns.position(next[j], places[j]));
            }
            bool isGathered = false;
            for (unsigned int j = 0; j < numColumns; ++j) {
                while (next[j] <= columns.last() && columns.position(next[j], places[j]) == column) {
                    float const weight = columns.weight(next[j], places[j]);
                    next[j] += 1;
                    numLeft -= next[j] <= columns.last() ? 0 : 1;
                    if (skipsZeros && weight == 0) continue;
                    if (!isGathered) gather(column);
                    isGathered = true;
                    add(j, weight);
                }
            }
        }
    }

    void gather(unsigned int column) {
        for (unsigned int p = 0; p < planes; ++p) {
            T const* const from =
                source.texels.address() + source.first + p * source.planeSize() + column * source.rows.size;
            for (unsigned int k = 0; k < numTaps * width; k += Lanes::lanes) {
                Lanes::store(gathered[p] + k, Lanes::gather(from, positions + k));
            }
        }
    }

    /// The gathered column, weighted, to column `j`.
    void add(unsigned int j, float columnWeight) {
        for (unsigned int i = 0; i < numRows; i += Lanes::lanes) {
            Values values[planes], weight = Lanes::load(weights[j] + i);
            for (unsigned int p = 0; p < planes; ++p) values[p] = Lanes::load(sums[j][p] + i);
            for (unsigned int k = i; k < numTaps * width; k += width) {
                Values const w = Lanes::weights(rowWeights + k, columnWeight);
                for (unsigned int p = 0; p < planes; ++p) {
                    Values const product = w * Lanes::load(gathered[p] + k);
                    // A sum is never -0, so that to add +0 is to leave it.
                    values[p] += skipsZeros ? (w == 0 ? Values{} : product) : product;
                }
                weight += w;
            }
            Lanes::store(weights[j] + i, weight);
            for (unsigned int p = 0; p < planes; ++p) Lanes::store(sums[j][p] + i, values[p]);
        }
    }

    TapSource<Taps, T, planes, skipsZeros> const& source;
    unsigned int const numTaps;
    unsigned int width, numRows, numColumns;

    // By tap and row,
    alignas(64) float rowWeights[capacity];
    alignas(64) int positions[capacity];
    alignas(64) T gathered[planes][capacity];
    // and by column and row.
    alignas(64) T sums[maxColumns][planes][maxRows];
    alignas(64) T weights[maxColumns][maxRows];
};

}  // namespace detail

/// Calls `store(plane, x, y, sum, sumOfWeights)` for the sums at the positions of a patch.
template <class Taps, class T, unsigned int planes, bool skipsZeros, class Store>
GPU_DEVICE void sumTaps(Patch const& patch, TapSource<Taps, T, planes, skipsZeros> const& source,
                        Store store) {
    if (!source.isReadable()) return;
    using Tile = detail::Tile<Taps, T, planes, skipsZeros>;
    unsigned int numTaps = 0;
    for (float tap = source.rows.first(); tap <= source.rows.last() && numTaps <= Tile::maxTaps; tap += 1)
        ++numTaps;
    if (numTaps > 0 && numTaps <= Tile::maxTaps) {
        Tile(source, numTaps).run(patch, store);
        return;
    }
    for (unsigned int y = patch.y; y < patch.endY; ++y) {
        for (unsigned int x = patch.x; x < patch.endX; ++x) {
            auto const sums = tapSumsAt(source, x, y);
            for (unsigned int p = 0; p < planes; ++p) store(p, x, y, sums.values[p], sums.weights);
        }
    }
}

}  // namespace gpuruntime::backend

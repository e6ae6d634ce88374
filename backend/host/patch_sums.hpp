#pragma once

#include <algorithm>
#include <cstring>

#include "backend/tap_sums.hpp"
#include "patch.hpp"
#include "rows.hpp"
#include "tapped_rows.hpp"

/// Sums over taps at the positions of a patch. What rows have by their taps is the same for all columns
/// of the patch; what a column of the texture has for the rows is brought together once for all columns
/// that count it; and what comes of weights alone is shared by columns with the same ones, as they recur
/// where a scale is a ratio of small numbers. A tile of rows is such that all this stays in the first
/// cache, or nearly.
namespace gpuruntime::backend {
namespace detail {

/// With four taps along each dimension: all sixteen at once.
template <class Taps, class T, unsigned int planes>
class FourTapTile {
    using Lanes = RowLanes<T>;
    using Values = typename Lanes::Values;
    using Source = TapSource<Taps, T, planes, false>;

  public:
    FourTapTile(Source const& source, bool isStreamed) : source(source), isStreamed(isStreamed) {
        rows.numTaps = numTaps;
        rows.width = width;
    }

    template <class ColumnOf>
    void run(Patch const& patch, ColumnOf columnOf) {
        Taps const columns = source.columns;
        for (unsigned int x = patch.x; x < patch.endX; x += width) {
            numRows = std::min(width, patch.endX - x);
            rows.tabulate(source.rows, x, numRows);
            std::fill(held, held + numTaps, none);
            numProducts = 0;
            for (unsigned int y = patch.y; y < patch.endY; ++y) {
                auto const place = columns.placeOf(y);
                unsigned int slots[numTaps];
                float tap = columns.first();
                for (unsigned int t = 0; t < numTaps; ++t, tap += 1)
                    slots[t] = slotOf(columns.position(tap, place));
                float const* const products = productsAt(place);
                for (unsigned int p = 0; p < planes; ++p) {
                    T* const to = columnOf(p, y) + x;
                    sum(isStreamed ? results : to, products, gathered[p], slots);
                    if (isStreamed) copyMemory(to, results, numRows * sizeof(T), true);
                }
            }
        }
    }

  private:
    static constexpr unsigned int numTaps = 4, width = 128, none = ~0u;
    static constexpr unsigned int capacity = numTaps * width;

    /// Where the values of a column are held: columns that are taps of one position are neighbours.
    unsigned int slotOf(unsigned int column) {
        unsigned int const slot = column % numTaps;
        if (held[slot] != column) {
            for (unsigned int p = 0; p < planes; ++p) {
                T const* const from = source.columnOf(p, column);
                rows.prefetchOf(from + source.rows.size);
                rows.gather(from, gathered[p][slot]);
            }
            held[slot] = column;
        }
        return slot;
    }

    /// The products of the rows' weights with those of a column there.
    float const* productsAt(typename Taps::Place place) {
        unsigned int const numKept = std::min(numProducts, maxProducts);
        for (unsigned int k = 0; k < numKept; ++k) {
            if (fractions[k] == place.fraction) return products[k];
        }
        float weights[numTaps];
        float tap = source.columns.first();
        for (unsigned int t = 0; t < numTaps; ++t, tap += 1) weights[t] = source.columns.weight(tap, place);
        for (unsigned int k = 0; k < numKept; ++k) {
            if (std::equal(weights, weights + numTaps, columnWeights[k])) return products[k];
        }
        unsigned int const k = numProducts++ % maxProducts;
        fractions[k] = place.fraction;
        std::copy(weights, weights + numTaps, columnWeights[k]);
        for (unsigned int c = 0; c < numTaps; ++c) {
            float* const to = products[k] + c * capacity;
#pragma GCC ivdep
            for (unsigned int i = 0; i < capacity; ++i) to[i] = rows.weights[i] * weights[c];
        }
        return products[k];
    }

    /// Out of line, so that it is built once.
    __attribute__((noinline)) void sum(T* to, float const* product, T const (&values)[numTaps][capacity],
                                       unsigned int const (&slots)[numTaps]) const {
        T const *const v0 = values[slots[0]], *const v1 = values[slots[1]], *const v2 = values[slots[2]],
                       *const v3 = values[slots[3]];
        auto const sumAt = [&](unsigned long i) GPU_INLINE {
            Values result{};
            auto const add = [&](unsigned int c, T const* of) GPU_INLINE {
                for (unsigned int r = 0; r < numTaps; ++r) {
                    result +=
                        weightsAt(product + c * capacity + r * width + i) * Lanes::load(of + r * width + i);
                }
            };
            add(0, v0);
            add(1, v1);
            add(2, v2);
            add(3, v3);
            return result;
        };
        unsigned long const whole = numRows - numRows % Lanes::lanes;
        for (unsigned long i = 0; i < whole; i += Lanes::lanes) Lanes::store(to + i, sumAt(i));
        if (whole < numRows) {
            Values const last = sumAt(whole);
            std::memcpy(to + whole, &last, (numRows - whole) * sizeof(T));
        }
    }

    static GPU_DEVICE Values weightsAt(float const* weights) {
        if constexpr (sizeof(T) == sizeof(float)) {
            return Lanes::load(weights);
        } else {
            return _mm256_cvtps_pd(_mm_loadu_ps(weights));
        }
    }

    static constexpr unsigned int maxProducts = 4;

    Source const& source;
    bool const isStreamed;
    unsigned int numRows, numProducts;
    TappedRows<Taps, T, capacity> rows;
    unsigned int held[numTaps];
    alignas(64) T gathered[planes][numTaps][capacity];
    double fractions[maxProducts];
    float columnWeights[maxProducts][numTaps];
    alignas(64) float products[maxProducts][numTaps * capacity];
    alignas(64) T results[width];
};

/// With any number of taps: column by column of the texture, each added to the columns of the result that
/// count it.
template <class Taps, class T, unsigned int planes>
class ManyTapTile {
    using Lanes = RowLanes<T>;
    using Values = typename Lanes::Values;
    using Source = TapSource<Taps, T, planes, true>;

  public:
    static constexpr unsigned int maxTaps = 2048;

    ManyTapTile(Source const& source, unsigned int numRowTaps, unsigned int numColumnTaps)
        : source(source), numColumnTaps(numColumnTaps) {
        constexpr unsigned int inCache = 2048, multiple = 8;
        rows.numTaps = numRowTaps;
        rows.width = std::clamp(inCache / numRowTaps / multiple * multiple, multiple, maxRows);
    }

    template <class ColumnOf>
    void run(Patch const& patch, ColumnOf columnOf) {
        for (unsigned int x = patch.x; x < patch.endX; x += rows.width) {
            numRows = std::min(rows.width, patch.endX - x);
            rows.tabulate(source.rows, x, numRows);
            for (unsigned int y = patch.y; y < patch.endY; y += maxColumns) {
                numColumns = std::min(maxColumns, patch.endY - y);
                beginColumns(y);
                sumColumns();
                for (unsigned int j = 0; j < numColumns; ++j) {
                    for (unsigned int p = 0; p < planes; ++p)
                        divide(columnOf(p, y + j) + x, sums[j][p], weightsOf[j]);
                }
            }
        }
    }

  private:
    static constexpr unsigned int maxRows = 256, maxColumns = 16, none = ~0u;
    static constexpr unsigned int capacity = maxTaps * 8;

    void beginColumns(unsigned int y) {
        Taps const columns = source.columns;
        for (unsigned int j = 0; j < numColumns; ++j) {
            auto const place = columns.placeOf(y + j);
            float tap = columns.first();
            for (unsigned int t = 0; t < numColumnTaps; ++t, tap += 1) {
                columnWeights[j][t] = columns.weight(tap, place);
                positions[j][t] = columns.position(tap, place);
            }
            positions[j][numColumnTaps] = none;
            next[j] = 0;
            weightsOf[j] = weights[j];
            for (unsigned int same = 0; same < j && weightsOf[j] == weights[j]; ++same) {
                if (std::equal(columnWeights[j], columnWeights[j] + numColumnTaps, columnWeights[same])) {
                    weightsOf[j] = weightsOf[same];
                }
            }
            std::fill(weights[j], weights[j] + rows.width, T(0));
            for (unsigned int p = 0; p < planes; ++p) std::fill(sums[j][p], sums[j][p] + rows.width, T(0));
        }
    }

    void sumColumns() {
        for (;;) {
            unsigned int column = none;
            for (unsigned int j = 0; j < numColumns; ++j) column = std::min(column, positions[j][next[j]]);
            if (column == none) return;
            bool isGathered = false, isFinite = false;
            for (unsigned int j = 0; j < numColumns; ++j) {
                for (; positions[j][next[j]] == column; ++next[j]) {
                    float const weight = columnWeights[j][next[j]];
                    if (weight == 0) continue;
                    if (!isGathered) isFinite = gather(column);
                    isGathered = true;
                    if (weightsOf[j] == weights[j]) addWeights(weights[j], weight);
                    for (unsigned int p = 0; p < planes; ++p) {
                        if (isFinite) {
                            addFinite(sums[j][p], gathered[p], weight);
                        } else {
                            addAny(sums[j][p], gathered[p], weight);
                        }
                    }
                }
            }
        }
    }

    bool gather(unsigned int column) {
        bool isFinite = true;
        for (unsigned int p = 0; p < planes; ++p) {
            T const* const from = source.columnOf(p, column);
            rows.prefetchOf(from + source.rows.size);
            isFinite &= rows.gather(from, gathered[p]);
        }
        return isFinite;
    }

    /// Adds `term(weights, k)` for each tap to the sums of the rows, k being the place of tap and row.
    template <class Term>
    GPU_DEVICE void addTaps(T* to, float columnWeight, Term term) const {
        unsigned long const width = rows.width, end = width * rows.numTaps;
        for (unsigned long i = 0; i < numRows; i += Lanes::lanes) {
            Values sum = Lanes::load(to + i);
            for (unsigned long k = i; k < end; k += width) {
                sum += term(Lanes::weights(rows.weights + k, columnWeight), k);
            }
            Lanes::store(to + i, sum);
        }
    }

    /// Sums are never -0, so that they stay what they are where 0 is added, of whatever sign: weights of
    /// 0 need no care,
    __attribute__((noinline)) void addWeights(T* to, float weight) const {
        addTaps(to, weight, [](Values w, unsigned long) GPU_INLINE { return w; });
    }
    __attribute__((noinline)) void addFinite(T* to, T const* values, float weight) const {
        addTaps(to, weight,
                [=](Values w, unsigned long k) GPU_INLINE { return w * Lanes::load(values + k); });
    }
    /// but with infinities and NaN.
    __attribute__((noinline)) void addAny(T* to, T const* values, float weight) const {
        addTaps(to, weight, [=](Values w, unsigned long k) GPU_INLINE {
            Values const product = w * Lanes::load(values + k);
            return w == 0 ? Values{} : product;
        });
    }

    void divide(T* to, T const* sum, T const* weight) const {
#pragma GCC ivdep
        for (unsigned long i = 0; i < numRows; ++i) to[i] = sum[i] / weight[i];
    }

    Source const& source;
    unsigned int const numColumnTaps;
    unsigned int numRows, numColumns;
    TappedRows<Taps, T, capacity> rows;
    float columnWeights[maxColumns][maxTaps];
    unsigned int positions[maxColumns][maxTaps + 1];  ///< after the last tap none
    unsigned int next[maxColumns];                    ///< the tap that comes next
    T const* weightsOf[maxColumns];  ///< the sums of weights, one's own or those of a column with the same
    alignas(64) T gathered[planes][capacity];
    alignas(64) T sums[maxColumns][planes][maxRows];
    alignas(64) T weights[maxColumns][maxRows];
};

/// How many taps there are, or more than `limit`: there can be no end of them.
template <class Taps>
unsigned int countTaps(Taps const& taps, unsigned int limit) {
    unsigned int n = 0;
    for (float tap = taps.first(); tap <= taps.last() && n <= limit; tap += 1) ++n;
    return n;
}

}  // namespace detail

/// Stores the sums at the positions (x, y) of a patch at `columnOf(plane, y)[x]`, past the caches where
/// `isStreamed` holds.
template <class Taps, class T, unsigned int planes, bool areNormalised, class ColumnOf>
GPU_DEVICE void sumTaps(Patch const& patch, TapSource<Taps, T, planes, areNormalised> const& source,
                        bool isStreamed, ColumnOf columnOf) {
    if (!source.isReadable()) return;
    if constexpr (!areNormalised) {
        detail::FourTapTile<Taps, T, planes>(source, isStreamed).run(patch, columnOf);
    } else {
        using Tile = detail::ManyTapTile<Taps, T, planes>;
        unsigned int const rowTaps = detail::countTaps(source.rows, Tile::maxTaps);
        unsigned int const columnTaps = detail::countTaps(source.columns, Tile::maxTaps);
        if (rowTaps > 0 && rowTaps <= Tile::maxTaps && columnTaps <= Tile::maxTaps) {
            Tile(source, rowTaps, columnTaps).run(patch, columnOf);
            return;
        }
        for (unsigned int y = patch.y; y < patch.endY; ++y) {
            for (unsigned int x = patch.x; x < patch.endX; ++x) {
                source.sumAt(x, y, [&](unsigned int p, T sum) { columnOf(p, y)[x] = sum; });
            }
        }
    }
}

}  // namespace gpuruntime::backend

#pragma once

#include <gpuruntime/interp_type.hpp>

#include <algorithm>
#include <type_traits>

#include "conversion.hpp"
#include "elementwise/run_steps.hpp"
#include "interp/grid.hpp"
#include "interp/location.hpp"
#include "interp/stage.hpp"
#include "interp/tile.hpp"
#include "run.hpp"

/// Queries that are worked on together, in loops that vectorise: what devices do whose runs have more than
/// one element. Results are those of one query at a time, on grids that ascend.
namespace gpuruntime::interp {

inline constexpr bool goTogether = backend::Run::capacity > 1;

/// Queries of a batch: enough to wait for memory once for many of them, few enough for the first cache.
inline constexpr unsigned int batchSize = 64;

/// Calls `f(begin, size)` for the batches of so many queries.
template <class F>
GPU_DEVICE void forEachBatch(unsigned int numQueries, F f) {
    for (unsigned int begin = 0; begin < numQueries; begin += batchSize) {
        f(begin, tileSize(begin, numQueries, batchSize));
    }
}

// --- Search ---

/// Finds batches of queries on a grid of either kind. Where queries ascend, those of the last batch tell
/// where the next ones are.
template <class G>
class BatchSearch {
  public:
    GPU_DEVICE explicit BatchSearch(ColonGrid<G> const& grid)
        : isColon(true), n(grid.n), last(0), points(nullptr), reciprocal(0) {}
    GPU_DEVICE explicit BatchSearch(FullGrid<G> const& grid)
        : isColon(false),
          n(grid.n),
          last(grid.n - 2),
          points(grid.points),
          reciprocal(GridSearch<G>::reciprocalOf(grid)) {}

    /// The bins of at most `batchSize` queries.
    GPU_STEP void locate(unsigned int size, G const* queries, long* bins) {
        if (isColon) {
            locateInColon(size, queries, bins);
            return;
        }
        G const low = points[0], high = points[n - 1];
        bool const ascend = !internal::holdsForAny<G>(
            size - 1, [=](unsigned int k) GPU_INLINE { return !(queries[k] <= queries[k + 1]); });
        Interval intervals[batchSize];
        findIntervals(size, queries, ascend, intervals);
        backend::forEachOf(size, [=, &intervals](unsigned int k) GPU_INLINE { bins[k] = intervals[k]; });
        if (ascend ? low <= queries[0] && queries[size - 1] <= high : areWithin(size, queries, low, high)) {
            return;
        }
        backend::forEachOf(size, [=](unsigned int k) GPU_INLINE {
            G const q = queries[k];
            long const orBelow = q < low ? BIN_BELOW_GRID : bins[k];
            long const orAbove = q > high ? BIN_ABOVE_GRID : orBelow;
            bins[k] = backend::isNaN(q) ? BIN_NAN_QUERY : orAbove;
        });
    }

  private:
    /// As wide as points, so that both are in machine vectors of the same length.
    using Interval = std::conditional_t<sizeof(G) == sizeof(unsigned long), unsigned long, unsigned int>;

    /// Whether all queries are between the ends, and none is at the upper one.
    static GPU_DEVICE bool areWithin(unsigned int size, G const* queries, G low, G high) {
        return !internal::holdsForAny<G>(
            size, [=](unsigned int k) GPU_INLINE { return !((low <= queries[k]) & (queries[k] < high)); });
    }

    GPU_DEVICE void locateInColon(unsigned int size, G const* queries, long* bins) const {
        if (areWithin(size, queries, 1, backend::fromInteger<G>(n))) {
            backend::forEachOf(size, [=](unsigned int k) GPU_INLINE {
                bins[k] = backend::toInt32(backend::floor(queries[k]) - 1);
            });
        } else {
            backend::forEachOf(
                size, [=](unsigned int k) GPU_INLINE { bins[k] = locateInColonGrid(n, queries[k]); });
        }
    }

    /// Queries beyond an end are in the interval there.
    GPU_DEVICE void findIntervals(unsigned int size, G const* queries, bool ascend, Interval* intervals) {
        unsigned int lowest = 0, highest = last;
        bool mayBeEven = true;
        if (ascend) {
            G const first = queries[0], final = queries[size - 1];
            lowest = intervalFrom(points[recent] <= first ? recent : 0, first);
            highest = intervalFrom(lowest, final);
            recent = highest;
            constexpr unsigned int few = 4;
            mayBeEven = highest - lowest >= few && lowest == guessOf(first) && highest == guessOf(final);
        }
        if (!mayBeEven || !areEven(size, queries, intervals)) {
            halve(lowest, highest, size, queries, intervals);
        }
    }

    /// Where `q` is if all points are as far apart as the first two.
    GPU_DEVICE unsigned int guessOf(G q) const {
        G const steps = (q - points[0]) * reciprocal;
        return std::min(backend::toUint32(backend::isNaN(steps) ? G(0) : steps), last);
    }

    /// Whether all queries within the grid are where they are guessed; then `intervals` are these.
    GPU_DEVICE bool areEven(unsigned int size, G const* queries, Interval* intervals) const {
        backend::forEachOf(size, [=](unsigned int k) GPU_INLINE { intervals[k] = guessOf(queries[k]); });
        G const low = points[0], high = points[n - 1];
        return !internal::holdsForAny<G>(size, [=](unsigned int k) GPU_INLINE {
            G const q = queries[k];
            bool const isBelowNext = (q < points[intervals[k] + 1ul]) | (intervals[k] == last);
            return (low <= q) & (q <= high) & !((points[intervals[k]] <= q) & isBelowNext);
        });
    }

    /// The interval of `q`, which is not below interval `from`, by steps of twice the length each.
    GPU_DEVICE unsigned int intervalFrom(unsigned int from, G q) const {
        unsigned long steps = 1;
        for (; steps <= last - from && points[from + steps] <= q; steps *= 2) {
            from += static_cast<unsigned int>(steps);
        }
        Interval interval;
        halve(from, static_cast<unsigned int>(std::min(from + steps - 1, 0ul + last)), 1, &q, &interval);
        return static_cast<unsigned int>(interval);
    }

    /// The intervals of queries that are in those from `lowest` to `highest`.
    GPU_DEVICE void halve(unsigned int lowest, unsigned int highest, unsigned int size, G const* queries,
                          Interval* intervals) const {
        backend::forEachOf(size, [=](unsigned int k) GPU_INLINE { intervals[k] = lowest; });
        for (unsigned int left = highest - lowest + 1; left > 1;) {
            Interval const half = left / 2;
            G const* const middle = points + half;
            backend::forEachOf(size, [=](unsigned int k) GPU_INLINE {
                intervals[k] += middle[intervals[k]] <= queries[k] ? half : 0;
            });
            left -= static_cast<unsigned int>(half);
        }
    }

    bool isColon;
    unsigned int n, last;
    G const* points;
    G reciprocal;
    unsigned int recent = 0;  ///< the interval of the last query
};

// --- Places ---

/// The places of a batch, in arrays of their parts.
template <class T>
struct Places {
    unsigned int lower[batchSize];
    T position[batchSize];
    unsigned int kind[batchSize];  ///< left out where all are between values
    bool areBetween;

    GPU_DEVICE Place<T> operator[](unsigned int k) const {
        using P = Place<T>;
        return {areBetween ? P::between : static_cast<typename P::Kind>(kind[k]), lower[k], position[k]};
    }
};

template <class Grid, class G>
GPU_STEP void placeEach(Grid const& grid, unsigned int size, G const* queries, long const* bins,
                        InterpType method, InterpType extrap, Places<typename Grid::Position>& places) {
    using T = typename Grid::Position;
    using P = Place<T>;
    auto const kindBy = [](InterpType type, unsigned int ofExtrapValue) -> unsigned int {
        if (type == InterpType::Linear || type == InterpType::Nearest) return P::between;
        return type == InterpType::ExtrapValue ? ofExtrapValue : P::atZero;
    };
    unsigned int const inside = kindBy(method, P::atZero), outside = kindBy(extrap, P::atExtrapValue);
    unsigned int const last = grid.n - 2;
    bool const areInside = !internal::holdsForAny<long>(
        size, [=](unsigned int k) GPU_INLINE { return (bins[k] < 0) | (bins[k] > last); });
    places.areBetween = areInside && inside == P::between;
    if (places.areBetween) {
        backend::forEachOf(
            size, [&](unsigned int k) GPU_INLINE { places.lower[k] = static_cast<unsigned int>(bins[k]); });
    } else {
        backend::forEachOf(size, [=, &places](unsigned int k) GPU_INLINE {
            long const bin = bins[k];
            bool const isIn = (bin >= 0) & (bin <= last), isAbove = bin == BIN_ABOVE_GRID;
            unsigned int const ofNone = bin == BIN_NAN_QUERY ? P::atNaN : P::atZero;
            unsigned int const orOutside = isAbove | (bin == BIN_BELOW_GRID) ? outside : ofNone;
            unsigned int const ofEnd = isAbove ? last : 0;
            places.kind[k] = isIn ? inside : orOutside;
            places.lower[k] = isIn ? static_cast<unsigned int>(bin) : ofEnd;
        });
    }

    bool const isLinear = method == InterpType::Linear, goesOn = extrap == InterpType::Linear;
    if (isLinear && extrap != InterpType::Nearest) {
        backend::forEachOf(size, [&](unsigned int k) GPU_INLINE {
            places.position[k] = grid.positionOf(queries[k], places.lower[k]);
        });
    } else {
        backend::forEachOf(size, [&](unsigned int k) GPU_INLINE {
            G const q = queries[k];
            unsigned int const lower = places.lower[k];
            bool const isIn = bins[k] >= 0;
            bool const isUpper = isIn ? grid.isNearerToUpper(q, lower) : bins[k] == BIN_ABOVE_GRID;
            T const position = grid.positionOf(q, lower), end = isUpper ? T(1) : T(0);
            places.position[k] = (isIn ? isLinear : goesOn) ? position : end;
        });
    }
}

// --- Blends ---

template <class V, class T>
GPU_STEP void blendEach(unsigned int size, V const* low, V const* high, T const* positions, V* to) {
    if constexpr (internal::isComplex<V>) {
        T ofParts[2 * batchSize];
        backend::forEachOf(size, [=, &ofParts](unsigned int k)
                                     GPU_INLINE { ofParts[2ul * k] = ofParts[2ul * k + 1] = positions[k]; });
        blendEach(2 * size, internal::parts(low), internal::parts(high), ofParts, internal::parts(to));
    } else {
        backend::forEachOf(
            size, [=](unsigned int k) GPU_INLINE { to[k] = blendLinear(low[k], high[k], positions[k]); });
    }
}

/// Results along a line of values.
template <class T, class V>
GPU_STEP void stageEach(Places<T> const& places, unsigned int size, V const* values,
                        Constants<V> const& constants, V* to) {
    V low[batchSize], high[batchSize];
    backend::forEachOf(size, [&](unsigned int k) GPU_INLINE {
        low[k] = values[places.lower[k]];
        high[k] = values[places.lower[k] + 1ul];
    });
    blendEach(size, low, high, places.position, to);
    if (places.areBetween) return;
    for (unsigned int k = 0; k < size; ++k) {
        if (places.kind[k] != Place<T>::between) to[k] = constantOf(places[k], constants);
    }
}

/// Results along dimension 0 at one place in each of the others, of which there are `D` - 1.
template <unsigned int D, class T, class V>
GPU_DEVICE void lineOver(Places<T> const& along, Place<T> const* others, unsigned int size,
                         unsigned int const* sizes, V const* values, Constants<V> const& constants, V* to) {
    if constexpr (D == 1) {
        stageEach(along, size, values, constants, to);
    } else {
        Place<T> const& place = others[D - 2];
        if (place.kind != Place<T>::between) {
            V const constant = constantOf(place, constants);
            backend::forEachOf(size, [=](unsigned int k) GPU_INLINE { to[k] = constant; });
            return;
        }
        unsigned int stride = sizes[0];
        for (unsigned int d = 1; d < D - 1; ++d) stride *= sizes[d];
        V const* const lower = values + 1ul * place.lower * stride;
        bool const isUpper = place.position == 1;
        lineOver<D - 1>(along, others, size, sizes, isUpper ? lower + stride : lower, constants, to);
        if (isUpper || place.position == 0) return;
        V high[batchSize];
        lineOver<D - 1>(along, others, size, sizes, lower + stride, constants, high);
        backend::forEachOf(
            size, [&](unsigned int k) GPU_INLINE { to[k] = blendLinear(to[k], high[k], place.position); });
    }
}

/// Results of points with places in `D` dimensions.
template <unsigned int D, class T, class V>
GPU_STEP void nestEach(Places<T> const* places, unsigned int size, unsigned int const* sizes, V const* values,
                       Constants<V> const& constants, V* to) {
    unsigned long strides[D];
    for (unsigned int d = 0; d < D; ++d) strides[d] = d == 0 ? 1 : strides[d - 1] * sizes[d - 1];
    constexpr unsigned int numCorners = 1u << D;  // bit d of a corner's number is 1 if it is the upper in d
    V corners[numCorners][batchSize];
    backend::forEachOf(size, [&](unsigned int k) GPU_INLINE {
        V const* at = values;
        GPU_UNROLL for (unsigned int d = 0; d < D; ++d) at += places[d].lower[k] * strides[d];
        GPU_UNROLL for (unsigned int c = 0; c < numCorners; ++c) {
            unsigned long offset = 0;
            GPU_UNROLL for (unsigned int d = 0; d < D; ++d) offset += (c >> d & 1) * strides[d];
            corners[c][k] = at[offset];
        }
    });
    bool areBetween = true;
    for (unsigned int d = 0, numPairs = numCorners / 2; d < D; ++d, numPairs /= 2) {
        areBetween = areBetween && places[d].areBetween;
        for (unsigned int c = 0; c < numPairs; ++c) {
            V* const blended = numPairs == 1 ? to : corners[c];
            blendEach(size, corners[2 * c], corners[2 * c + 1], places[d].position, blended);
        }
    }
    if (areBetween) return;
    for (unsigned int k = 0; k < size; ++k) {
        Place<T> point[D];
        bool isBetween = true;
        for (unsigned int d = 0; d < D; ++d) {
            point[d] = places[d][k];
            isBetween = isBetween && point[d].kind == Place<T>::between;
        }
        if (isBetween) continue;
        if constexpr (D == 1) {
            to[k] = constantOf(*point, constants);
        } else if constexpr (D == 2) {
            to[k] = interpolate2d(point, sizes, values, constants);
        } else {
            to[k] = interpolate3d(point, sizes, values, constants);
        }
    }
}

/// Results of points on `D` grids, where `searches` find them.
template <unsigned int D, class Grid, class G, class V>
GPU_STEP void interpolateEach(Grid const* grids, BatchSearch<G>* searches, unsigned int numQueries,
                              G const* const* queries, V const* values, InterpType method, InterpType extrap,
                              Constants<V> const& constants, V* to) {
    unsigned int sizes[D];
    for (unsigned int d = 0; d < D; ++d) sizes[d] = grids[d].n;
    forEachBatch(numQueries, [&](unsigned int begin, unsigned int size) {
        Places<typename Grid::Position> places[D];
        for (unsigned int d = 0; d < D; ++d) {
            long bins[batchSize];
            searches[d].locate(size, queries[d] + begin, bins);
            placeEach(grids[d], size, queries[d] + begin, bins, method, extrap, places[d]);
        }
        nestEach<D>(places, size, sizes, values, constants, to + begin);
    });
}

}  // namespace gpuruntime::interp

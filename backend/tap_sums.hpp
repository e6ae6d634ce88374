#pragma once

#include "device.hpp"
#include "fault.hpp"
#include "texels.hpp"

/// Weighted sums over a rectangle of a texture's elements, whose weights are products of a row's and a
/// column's.
namespace gpuruntime::backend {

/// Planes of `rows.size` by `columns.size` elements, rows first, and how they are weighted: for each position
/// of a result along a dimension `Taps` tells the place, and for each tap, a whole number in `float`, the
/// weight and the position.
template <class Taps, class T, unsigned int planes, bool skipsZeros>
struct TapSource {
    Taps rows, columns;
    Texels<T> texels;
    unsigned int first;  ///< of the first plane

    GPU_DEVICE unsigned int planeSize() const { return rows.size * columns.size; }

    GPU_DEVICE bool isReadable() const { return backend::isReadable(texels.address()); }
};

template <class T, unsigned int planes>
struct TapSums {
    T values[planes];
    T weights;
};

/// The sums for one position of the result: over the columns, and for each over the rows.
template <class Taps, class T, unsigned int planes, bool skipsZeros>
GPU_DEVICE TapSums<T, planes> tapSumsAt(TapSource<Taps, T, planes, skipsZeros> const& source, unsigned int x,
                                        unsigned int y) {
    Taps const &rows = source.rows, &columns = source.columns;
    auto const row = rows.placeOf(x), column = columns.placeOf(y);
    TapSums<T, planes> sums{};
    for (float c = columns.first(); c <= columns.last(); c += 1) {
        float const columnWeight = columns.weight(c, column);
        unsigned int const start = source.first + columns.position(c, column) * rows.size;
        for (float r = rows.first(); r <= rows.last(); r += 1) {
            float const product = rows.weight(r, row) * columnWeight;
            if (skipsZeros && product == 0) continue;
            T const weight = product;
            unsigned int const element = start + rows.position(r, row);
            GPU_UNROLL for (unsigned int p = 0; p < planes; ++p) {
                sums.values[p] += weight * source.texels[element + p * source.planeSize()];
            }
            sums.weights += weight;
        }
    }
    return sums;
}

}  // namespace gpuruntime::backend

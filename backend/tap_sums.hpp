#pragma once

#include "device.hpp"
#include "fault.hpp"
#include "texels.hpp"

/// Weighted sums over a rectangle of a texture's elements, whose weights are products of a row's and a
/// column's.
namespace gpuruntime::backend {

/// What a position of the result has by four taps.
struct FourTaps {
    float weights[4];
    unsigned int positions[4];

    template <class Taps>
    GPU_DEVICE FourTaps(Taps const& taps, unsigned int i) {
        auto const place = taps.placeOf(i);
        float tap = taps.first();
        GPU_UNROLL for (unsigned int t = 0; t < 4; ++t, tap += 1) {
            weights[t] = taps.weight(tap, place);
            positions[t] = taps.position(tap, place);
        }
    }
};

/// Planes of `rows.size` by `columns.size` elements, rows first, and how they are weighted: for each
/// position of a result along a dimension `Taps` tells the place, and for each tap, a whole number in
/// `float`, the weight and the position. Where sums are normalised, taps of weight 0 are left out, and a
/// sum is divided by that of its weights; where not, there are four taps along each dimension.
template <class Taps, class T, unsigned int numPlanes, bool areNormalised>
struct TapSource {
    static constexpr unsigned int planes = numPlanes;

    Taps rows, columns;
    Texels<T> texels;
    unsigned int first;  ///< of the first plane

    GPU_DEVICE unsigned int planeSize() const { return rows.size * columns.size; }

    /// Where the elements of a column begin, on a device whose textures are plain memory.
    GPU_DEVICE T const* columnOf(unsigned int plane, unsigned int column) const {
        return texels.address() + first + plane * planeSize() + column * rows.size;
    }

    GPU_DEVICE bool isReadable() const { return backend::isReadable(texels.address()); }

    /// Calls `store(plane, sum)` for the position (x, y) of the result: sums go over the columns, and for
    /// each over the rows.
    template <class Store>
    GPU_DEVICE void sumAt(unsigned int x, unsigned int y, Store store) const {
        T sums[planes] = {}, weights = 0;
        auto const add = [&](float product, unsigned int element) GPU_INLINE {
            T const weight = product;
            GPU_UNROLL for (unsigned int p = 0; p < planes; ++p) {
                sums[p] += weight * texels[element + p * planeSize()];
            }
            weights += weight;
        };
        if constexpr (areNormalised) {
            auto const row = rows.placeOf(x), column = columns.placeOf(y);
            for (float c = columns.first(); c <= columns.last(); c += 1) {
                float const columnWeight = columns.weight(c, column);
                unsigned int const start = first + columns.position(c, column) * rows.size;
                for (float r = rows.first(); r <= rows.last(); r += 1) {
                    float const product = rows.weight(r, row) * columnWeight;
                    if (product != 0) add(product, start + rows.position(r, row));
                }
            }
        } else {
            FourTaps const row(rows, x), column(columns, y);
            GPU_UNROLL for (unsigned int c = 0; c < 4; ++c) {
                unsigned int const start = first + column.positions[c] * rows.size;
                GPU_UNROLL for (unsigned int r = 0; r < 4; ++r) {
                    add(row.weights[r] * column.weights[c], start + row.positions[r]);
                }
            }
        }
        GPU_UNROLL for (unsigned int p = 0; p < planes; ++p) {
            store(p, areNormalised ? sums[p] / weights : sums[p]);
        }
    }
};

}  // namespace gpuruntime::backend
